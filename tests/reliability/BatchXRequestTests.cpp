// A batch run has no event loop to flush its X connection: what the plug-in
// asks of the X server during a run (the crop tool's cursor and its bitmap)
// must reach the server when it is asked for, not only when the display is
// closed at the end of the run.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "RelSupport.h"
#include "pdfgen.h"

namespace gen = folio::pdfgen;

namespace {

const char *const kFolio = FOLIO_EXE;

// Runs `actions`, then writes the snapshot `mark`, then keeps the program
// busy with zoom changes (each renders the page anew). Returns the X resources the program holds in the
// first samples taken once the snapshot exists (well before the run ends
// and its display is closed).
rel::ResourceCounts heldAfter(const rel::Xvfb &x, const std::string &folder, const std::string &pdf,
                              const std::string &actions, const std::string &mark, size_t &samplesAfterMark)
{
  std::string script = "open " + pdf + "\n" + actions + "snapshot " + mark + "\n";
  for (int i = 0; i < 1000; ++i)
    script += i % 2 ? "zoom 400\n" : "zoom 100\n";
  rel::XResWatch watch(x.display());
  rel::ResourceCounts held;
  samplesAfterMark = 0;
  rel::RunResult r = rel::runBatchSampling(kFolio, folder, x.display(), script, [&](pid_t pid) {
    rel::ResourceCounts now;
    if (watch.ok() && watch.countsOf(pid, now) && rel::fileExists(mark)) {
      ++samplesAfterMark;
      for (const auto &[type, count] : now)
        held[type] = std::max(held[type], count);
    }
    return samplesAfterMark < 5;
  });
  EXPECT_EQ(r.exitCode, 0) << r.describe();
  return held;
}

} // namespace

// The same run with and without a pointer action of the crop tool: only the
// one with it holds the crop tool's cursor (and the bitmap it is made from)
// while the run goes on.
TEST(ReliabilityBatchX, CursorsThePluginMakesReachTheServerDuringTheRun)
{
  rel::TempDir dir;
  rel::Xvfb x;
  ASSERT_TRUE(x.ok()) << "no private X server";
  std::vector<gen::PageSpec> pages(2);
  for (auto &p : pages)
    p.marks.push_back(gen::Mark::fillRect({72, 72, 300, 400}));
  gen::writeDocument(dir.file("doc.pdf"), pages);

  size_t plainSamples = 0, toolSamples = 0;
  rel::ResourceCounts plain =
      heldAfter(x, dir.path(), dir.file("doc.pdf"), "", dir.file("plain.png"), plainSamples);
  rel::ResourceCounts tool = heldAfter(x, dir.path(), dir.file("doc.pdf"),
                                       "button QUIL:PageShear\ndrag 100 500 400 150\nclick 30 30\n",
                                       dir.file("tool.png"), toolSamples);
  ASSERT_EQ(plainSamples, 5u) << "the run without the tool ended before it was sampled";
  ASSERT_EQ(toolSamples, 5u) << "the run with the tool ended before it was sampled";
  EXPECT_GT(tool["CURSOR"], plain["CURSOR"]);
  EXPECT_GT(tool["PIXMAP"], plain["PIXMAP"]);
}
