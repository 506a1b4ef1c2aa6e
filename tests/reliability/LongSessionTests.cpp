// Long sessions: a batch script of 10,000 user actions (page changes, zooms,
// drags, clicks inside and outside the crop region, questions answered,
// Show and Hide Media Box) runs in the memory of a 1,000-action one, and
// holds no more X resources at its end than at its start.
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
// pages.
std::string sessionScript(const std::string &pdf, int actions)
{
  std::ostringstream s;
  s << "open " << pdf << "\nbutton QUIL:PageShear\n";
  int n = 0, cycle = 0;
  auto line = [&](const std::string &l) {
    if (n < actions) {
      s << l << "\n";
      ++n;
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

struct SessionRun {
  RunResult run;
  std::vector<rel::ResourceCounts> samples; // X resources of the program, in time order
};

// Runs a session on the private X server `x`, sampling the program's X
// resources every 20 ms while it runs.
SessionRun runSession(const rel::Xvfb &x, const std::string &folder, const std::string &script)
{
  SessionRun s;
  rel::RunOptions o;
  o.display = x.display();
  o.input = script;
  rel::XResWatch watch(x.display());
  rel::Child c(kFolio, {"--batch", "-"}, folder, o);
  while (!c.finished()) {
    rel::ResourceCounts counts;
    if (watch.ok() && watch.countsOf(c.pid(), counts))
      s.samples.push_back(counts);
    rel::sleepSeconds(0.02);
  }
  s.run = c.wait();
  return s;
}

// The greatest count of each resource type over `samples`.
rel::ResourceCounts peaks(const std::vector<rel::ResourceCounts> &samples)
{
  rel::ResourceCounts p;
  for (const auto &s : samples)
    for (const auto &[type, count] : s)
      p[type] = std::max(p[type], count);
  return p;
}

std::string show(const rel::ResourceCounts &c)
{
  std::string s;
  for (const auto &[type, count] : c)
    s += type + "=" + std::to_string(count) + " ";
  return s;
}

} // namespace

TEST(ReliabilityLongSession, TenThousandActionsInConstantMemoryAndXResources)
{
  rel::TempDir dir;
  rel::Xvfb x;
  ASSERT_TRUE(x.ok()) << "no private X server";
  writeSessionDocument(dir.file("doc.pdf"));

  SessionRun small = runSession(x, dir.path(), sessionScript(dir.file("doc.pdf"), 1000));
  ASSERT_EQ(small.run.exitCode, 0) << small.run.describe();
  SessionRun big = runSession(x, dir.path(), sessionScript(dir.file("doc.pdf"), 10000));
  ASSERT_EQ(big.run.exitCode, 0) << big.run.describe();

  // The actions did what they should: questions asked and answered, the
  // outline shown and hidden, nothing left unanswered.
  size_t questions = 0;
  for (size_t at = 0; (at = big.run.out.find("question: ", at)) != std::string::npos; ++at)
    ++questions;
  EXPECT_EQ(questions, 10000u / 12u + (10000 % 12 >= 7 ? 1 : 0)) << big.run.describe();
  EXPECT_FALSE(rel::contains(big.run.out, "unused answer")) << big.run.describe();

  std::printf("peak RSS: 1,000 actions %ld kB, 10,000 actions %ld kB\n", small.run.peakRssKb,
              big.run.peakRssKb);
  EXPECT_LE(big.run.peakRssKb, small.run.peakRssKb + small.run.peakRssKb / 20 + 2048)
      << "1,000 actions: " << small.run.peakRssKb << " kB; 10,000 actions: " << big.run.peakRssKb << " kB";

  // X resources: sampled while each run went on; the 10,000-action run never
  // holds more of any kind than the 1,000-action run did, and at its end no
  // more than the short run at its end.
  ASSERT_GE(small.samples.size(), 3u) << "the X-Resource extension gave no counts";
  ASSERT_GE(big.samples.size(), 10u);
  rel::ResourceCounts smallPeak = peaks(small.samples), bigPeak = peaks(big.samples);
  std::printf("X resources, peak of 1,000 actions: %s\nX resources, peak of 10,000 actions: %s\n",
              show(smallPeak).c_str(), show(bigPeak).c_str());
  for (const auto &[type, count] : bigPeak)
    EXPECT_LE(count, smallPeak[type])
        << type << ": 1,000 actions " << smallPeak[type] << ", 10,000 actions " << count;
  // After 1,000 actions (the end of the short run) and after 10,000 (the
  // end of the long one): the same resources, none more.
  rel::ResourceCounts after1000 =
      peaks({small.samples.end() - small.samples.size() / 10 - 1, small.samples.end()});
  rel::ResourceCounts after10000 =
      peaks({big.samples.end() - big.samples.size() / 10 - 1, big.samples.end()});
  std::printf("X resources after 1,000 actions: %s\nX resources after 10,000 actions: %s\n",
              show(after1000).c_str(), show(after10000).c_str());
  for (const auto &[type, count] : after10000)
    EXPECT_LE(count, after1000[type])
        << type << " after 1,000 actions " << after1000[type] << ", after 10,000 " << count;
}
