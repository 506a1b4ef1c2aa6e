// Long sessions: a batch script of 10,000 user actions (page changes, zooms,
// drags, clicks inside and outside the crop region, questions answered,
// Show and Hide Media Box) holds the same memory and the same X resources
// after 10,000 actions as after the first 1,000.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "RelSupport.h"
#include "pdfgen.h"

namespace gen = folio::pdfgen;
using rel::RunResult;

namespace {

const char *const kFolio = FOLIO_EXE;

// A 12-page document: letter and landscape pages in every rotation.
void writeSessionDocument(const std::string &file)
{
  std::vector<gen::PageSpec> pages;
  for (int i = 0; i < 12; ++i) {
    gen::PageSpec p;
    p.media = (i % 3 == 2) ? gen::Box{0, 0, 792, 612} : gen::Box{0, 0, 612, 792};
    p.rotate = 90 * (i % 4);
    p.writeRotate = p.rotate != 0;
    p.marks.push_back(gen::Mark::fillRect({72, 72, 300, 400}));
    p.marks.push_back(gen::Mark::textAt(80, 500, 14, "FILE TITLE"));
    pages.push_back(p);
  }
  gen::writeDocument(file, pages);
}

// `actions` script lines after the opening two (open, choose the tool, which
// also shows the media-box outline): a cycle of twelve user actions over the
// pages. After the 1,000th a snapshot is written to `markAt1000`: its
// appearance tells the sampler when 1,000 actions are done.
std::string sessionScript(const std::string &pdf, int actions, const std::string &markAt1000)
{
  std::ostringstream s;
  s << "open " << pdf << "\nbutton QUIL:PageShear\n";
  int n = 0, cycle = 0;
  auto line = [&](const std::string &l) {
    if (n < actions) {
      s << l << "\n";
      ++n;
      if (n == 1000)
        s << "snapshot " << markAt1000 << "\n";
    }
  };
  while (n < actions) {
    int page = cycle % 12 + 1;
    int d = cycle % 7; // vary the regions a little
    line("page " + std::to_string(page));
    line("drag " + std::to_string(100 + d) + " 500 400 " + std::to_string(150 + d));
    line("click 30 30");
    line("menu QUIL:PSHideMediaBox");
    line("drag 120 480 " + std::to_string(380 - d) + " 170");
    line("answer Cancel");
    line("click 250 300");
    line("click 30 30");
    line("menu QUIL:PSShowMediaBox");
    line(cycle % 2 ? "zoom 75" : "zoom 125");
    line("drag 110 490 390 160");
    line("click 30 30");
    ++cycle;
  }
  return s.str();
}

// What the program holds at one moment of its run.
struct Sample {
  double at = 0;         // seconds since the start
  long rssKb = 0;        // resident set
  rel::ResourceCounts x; // X resources by type
};

// Runs a session on the private X server `x`, sampling the program's
// resident set and X resources every 20 ms while it runs.
rel::RunResult runSession(const rel::Xvfb &x, const std::string &folder, const std::string &script,
                          const std::string &mark, std::vector<Sample> &samples, size_t &markedAt)
{
  markedAt = 0;
  rel::XResWatch watch(x.display());
  double start = rel::now();
  return rel::runBatchSampling(kFolio, folder, x.display(), script, [&](pid_t pid) {
    Sample s;
    s.at = rel::now() - start;
    s.rssKb = rel::rssKbOf(pid);
    if (watch.ok() && watch.countsOf(pid, s.x) && s.rssKb > 0) {
      samples.push_back(s);
      if (markedAt == 0 && rel::fileExists(mark))
        markedAt = samples.size() - 1;
    }
    return true;
  });
}

// The greatest resident set and the greatest count of each X resource type
// over samples [from, to).
void peaks(const std::vector<Sample> &samples, size_t from, size_t to, long &rssKb, rel::ResourceCounts &x)
{
  rssKb = 0;
  x.clear();
  for (size_t i = from; i < to && i < samples.size(); ++i) {
    rssKb = std::max(rssKb, samples[i].rssKb);
    for (const auto &[type, count] : samples[i].x)
      x[type] = std::max(x[type], count);
  }
}

std::string show(const rel::ResourceCounts &c)
{
  std::string s;
  for (const auto &[type, count] : c)
    s += type + "=" + std::to_string(count) + " ";
  return s;
}

} // namespace

// The samples taken just after the snapshot written after the 1,000th action
// appeared, against the greatest of all samples from there to the end of the
// run (after 10,000): nothing grows after the first 1,000 actions. The script
// itself, parsed before the first action, is part of the memory from the
// start.
TEST(ReliabilityLongSession, TenThousandActionsInConstantMemoryAndXResources)
{
  rel::TempDir dir;
  rel::Xvfb x;
  ASSERT_TRUE(x.ok()) << "no private X server";
  writeSessionDocument(dir.file("doc.pdf"));

  std::vector<Sample> samples;
  size_t markedAt = 0;
  rel::RunResult r =
      runSession(x, dir.path(), sessionScript(dir.file("doc.pdf"), 10000, dir.file("at1000.png")),
                 dir.file("at1000.png"), samples, markedAt);
  ASSERT_EQ(r.exitCode, 0) << r.describe();

  // The actions did what they should: one question a cycle, each answered.
  size_t questions = 0;
  for (size_t at = 0; (at = r.out.find("question: Pages to crop?", at)) != std::string::npos; ++at)
    ++questions;
  EXPECT_EQ(questions, 10000u / 12u) << r.describe();
  EXPECT_FALSE(rel::contains(r.out, "unused answer")) << r.describe();

  ASSERT_GE(samples.size(), 50u) << "too few samples (the X-Resource extension gave no counts?)";
  size_t n = samples.size();
  long rss1000 = 0, rssEnd = 0;
  rel::ResourceCounts x1000, xEnd;
  ASSERT_GT(markedAt, 0u) << "the snapshot after 1,000 actions was never seen";
  peaks(samples, markedAt, markedAt + std::max<size_t>(1, n / 50), rss1000, x1000);
  peaks(samples, markedAt, n, rssEnd, xEnd); // everything from 1,000 actions to the end
  std::printf("run of 10,000 actions: %.1f s, %zu samples, peak RSS %ld kB\n"
              "after 1,000 actions: RSS %ld kB, X %s\nup to 10,000 actions, at most: RSS %ld kB, X %s\n",
              samples.back().at, n, r.peakRssKb, rss1000, show(x1000).c_str(), rssEnd, show(xEnd).c_str());
  EXPECT_LE(rssEnd, rss1000 + rss1000 / 100 + 512)
      << "resident set after 1,000 actions " << rss1000 << " kB, after 10,000 " << rssEnd << " kB";
  for (const auto &[type, count] : xEnd)
    EXPECT_LE(count, x1000[type]) << type << " after 1,000 actions " << x1000[type] << ", after 10,000 "
                                  << count;
}
