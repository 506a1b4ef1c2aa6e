// End-to-end tests of what users rely on beyond the plug-in's commands: undo
// and redo of crop-box changes, exact region crops, bounding-box margins and
// page selections of the shortcuts. The real plug-in in the real folio, in
// batch mode; boxes read back with qpdf.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cmath>
#include <sstream>

#include "FolioTest.h"

using e2e::Box;
using e2e::contains;
using e2e::expectBoxNear;
using e2e::kLetter;
using e2e::PageBoxes;
using e2e::RunResult;
namespace gen = folio::pdfgen;

namespace {

class E2EUsers : public e2e::FolioTest {};

} // namespace

// ---- undo and redo ------------------------------------------------------------------

TEST_F(E2EUsers, UndoAndRedoOfARegionCropAndABoundingBoxCrop)
{
  write("in.pdf", {withRect(page(), {100, 200, 300, 400}),
                   withRect(withCrop(page(), {10, 10, 602, 782}), {150, 150, 250, 250})});
  RunResult r = script("open " + path("in.pdf") +
                       "\n"
                       "button QUIL:PageShear\n"
                       "drag 72 720 540 72\n"
                       "answer All\n"
                       "click 306 396\n"
                       "answer All\nanswer Each\n"
                       "menu QUIL:PageShearBBox\n"
                       "undo\n"
                       "save " +
                       path("region.pdf") +
                       "\n"
                       "undo\n"
                       "save " +
                       path("original.pdf") +
                       "\n"
                       "redo\n"
                       "save " +
                       path("redone.pdf") + "\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "undone: Crop to Bounding Box\n")) << lastRun;
  EXPECT_TRUE(contains(r.out, "undone: Crop Region\n")) << lastRun;
  EXPECT_TRUE(contains(r.out, "redone: Crop Region\n")) << lastRun;

  auto region = boxes(path("region.pdf"), 2);
  for (const PageBoxes &p : region)
    expectBoxNear(p.crop, {72, 72, 540, 720}, 1e-9, lastRun);
  // Back to the file as it was: no crop box where there was none, the old
  // one where there was one.
  auto original = boxes(path("original.pdf"), 2);
  EXPECT_FALSE(original[0].hasCropBox) << lastRun;
  ASSERT_TRUE(original[1].hasCropBox) << lastRun;
  expectBoxNear(original[1].crop, {10, 10, 602, 782}, 1e-9, lastRun);
  auto redone = boxes(path("redone.pdf"), 2);
  for (const PageBoxes &p : redone)
    expectBoxNear(p.crop, {72, 72, 540, 720}, 1e-9, lastRun);
}

TEST_F(E2EUsers, UndoOfResetToMediaBoxAfterASaveWorksOnTheDocumentInMemory)
{
  write("in.pdf", {withCrop(page(), {10, 20, 500, 700}), withCrop(page(), {30, 40, 550, 750})});
  RunResult r = script("open " + path("in.pdf") + "\nanswer All\nmenu QUIL:PageShearMediaBox\nsave " +
                       path("reset.pdf") + "\nundo\nsave " + path("back.pdf") + "\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "undone: Reset to Media Box\n")) << lastRun;
  auto reset = boxes(path("reset.pdf"), 2);
  expectBoxNear(reset[0].crop, kLetter, 1e-9, lastRun);
  auto back = boxes(path("back.pdf"), 2);
  expectBoxNear(back[0].crop, {10, 20, 500, 700}, 1e-9, lastRun);
  expectBoxNear(back[1].crop, {30, 40, 550, 750}, 1e-9, lastRun);
}

TEST_F(E2EUsers, NothingToUndoOrRedoStopsTheRunWithItsLine)
{
  write("in.pdf", {page()});
  RunResult r = script("open " + path("in.pdf") + "\nundo\n");
  EXPECT_EQ(r.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(r.err, ":2: undo: nothing to undo")) << lastRun;
  r = script("open " + path("in.pdf") + "\nredo\n");
  EXPECT_EQ(r.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(r.err, ":2: redo: nothing to redo")) << lastRun;
}

TEST_F(E2EUsers, RevertClearsTheHistory)
{
  write("in.pdf", {withRect(page(), {100, 200, 300, 400}), withRect(page(), {10, 20, 30, 40})});
  RunResult r =
      script("open " + path("in.pdf") +
             "\nanswer All\nanswer Each\nmenu QUIL:PageShearBBox\nconfirm yes\nmenu QUIL:PSRevert\nundo\n");
  EXPECT_EQ(r.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(r.err, ":7: undo: nothing to undo")) << lastRun;
}

// ---- exact region crops ---------------------------------------------------------------

// Pages of fractional size at every rotation: the region given in points is
// written within 1/16 pt (the view's 100% would snap it to whole device units
// and shift it by the fraction of the page's height).
TEST_F(E2EUsers, RegionCropIsExactOnPagesOfFractionalSizeAtEveryRotation)
{
  const Box sizes[] = {{0, 0, 609.714, 789.041}, {0, 0, 839.055, 629.291}};
  const Box region{50.3, 60.7, 400.45, 500.123};
  for (const Box &media : sizes) {
    for (int rotate : {0, 90, 180, 270}) {
      const std::string tag = std::to_string(int(media.right)) + "-" + std::to_string(rotate);
      write(tag + ".pdf", {page(media, rotate), page(media, rotate)});
      RunResult r = folio(
          {"--crop-region", "50.3 60.7 400.45 500.123", path(tag + ".pdf"), "-o", path(tag + "-out.pdf")});
      ASSERT_EQ(r.exitCode, 0) << tag << "\n" << lastRun;
      for (const PageBoxes &p : boxes(path(tag + "-out.pdf"), 2))
        expectBoxNear(p.crop, region, 1.0 / 16, tag + "\n" + lastRun);
    }
  }
}

TEST_F(E2EUsers, ScriptDragAndClickNamePagePointsExactly)
{
  write("in.pdf", {page({0, 0, 609.714, 789.041}, 90)});
  // At the script's own zoom of 50% too: snapshots keep that zoom.
  RunResult r = script("open " + path("in.pdf") +
                       "\nzoom 50\nbutton QUIL:PageShear\ndrag 33.33 700.7 500.05 90.9\nanswer Current\n"
                       "click 200 400\nsnapshot " +
                       path("half.png") + "\nsave " + path("out.pdf") + "\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  expectBoxNear(boxes(path("out.pdf"))[0].crop, {33.33, 90.9, 500.05, 700.7}, 1.0 / 16, lastRun);
  e2e::Image shot;
  ASSERT_TRUE(e2e::readPng(path("half.png"), shot)) << lastRun;
  // The rotated page at 50%: 789.041 / 2 pt across, plus the view's margins.
  EXPECT_NEAR(shot.width, 789.041 / 2 + 16, 1.0);
}

// ---- bounding-box margins ---------------------------------------------------------------

TEST_F(E2EUsers, BBoxMarginWidensEveryBoundingBoxAndTheMediaBoxStillClips)
{
  write("in.pdf", {withRect(page(), {100, 200, 300, 400}), withRect(page(), {5, 10, 600, 785})});
  RunResult r =
      folio({"--bbox-margin", "12.5", "--crop-bbox", "each", path("in.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  auto b = boxes(path("out.pdf"), 2);
  expectBoxNear(b[0].crop, {87.5, 187.5, 312.5, 412.5}, 0.25, lastRun);
  expectBoxNear(b[1].crop, kLetter, 0.25, lastRun);
}

TEST_F(E2EUsers, BBoxMarginFromTheConfigFileAndTheCommandLineBeatsIt)
{
  write("in.pdf", {withRect(page(), {100, 200, 300, 400})});
  ::mkdir(dir.file("folio").c_str(), 0755); // the config folder (XDG_CONFIG_HOME is the test's)
  e2e::writeFile(dir.file("folio/folio.conf"), "bbox-margin = 20\n");
  RunResult r = folio({"--crop-bbox", "each", path("in.pdf"), "-o", path("conf.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  expectBoxNear(boxes(path("conf.pdf"))[0].crop, {80, 180, 320, 420}, 0.25, lastRun);
  r = folio({"--bbox-margin", "0", "--crop-bbox", "each", path("in.pdf"), "-o", path("zero.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  expectBoxNear(boxes(path("zero.pdf"))[0].crop, {100, 200, 300, 400}, 0.25, lastRun);
}

TEST_F(E2EUsers, BadBBoxMarginIsACommandLineError)
{
  RunResult r = folio({"--bbox-margin", "-3", "--crop-bbox", "each", "in.pdf", "-o", "out.pdf"});
  EXPECT_EQ(r.exitCode, 2) << lastRun;
  EXPECT_TRUE(contains(r.err, "--bbox-margin takes points from 0 to 1000, not \"-3\"")) << lastRun;
}

// ---- page selections --------------------------------------------------------------------

TEST_F(E2EUsers, BBoxCropOfAListOfPagesGoesPageByPage)
{
  std::vector<gen::PageSpec> pages;
  for (int i = 0; i < 5; ++i)
    pages.push_back(withRect(page(), {100.0 + i, 200, 300, 400}));
  write("in.pdf", pages);
  RunResult r = folio({"--crop-bbox", "each", "--pages", "1,3-", path("in.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  auto b = boxes(path("out.pdf"), 5);
  for (int i = 0; i < 5; ++i) {
    if (i == 1)
      EXPECT_FALSE(b[i].hasCropBox) << lastRun;
    else
      expectBoxNear(b[i].crop, {100.0 + i, 200, 300, 400}, 0.25, lastRun);
  }
  EXPECT_FALSE(contains(r.out, "unchanged:")) << lastRun;
  EXPECT_EQ(e2e::linesStartingWith(r.out, "question: Crop which pages").size(), 4u) << lastRun;
}

TEST_F(E2EUsers, ResetOfEvenPagesAndTheUnchangedOnesAreReported)
{
  write("in.pdf", {withCrop(page(), {10, 10, 600, 780}), withCrop(page(), {20, 20, 590, 770}),
                   withCrop(page(), {30, 30, 580, 760}), page()});
  RunResult r = folio({"--reset-media-box", "all", "--pages", "even", path("in.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  auto b = boxes(path("out.pdf"), 4);
  expectBoxNear(b[0].crop, {10, 10, 600, 780}, 1e-9, lastRun);
  expectBoxNear(b[1].crop, kLetter, 1e-9, lastRun);
  expectBoxNear(b[2].crop, {30, 30, 580, 760}, 1e-9, lastRun);
  EXPECT_TRUE(contains(r.out, "unchanged: page 4: its crop box is its media box already\n")) << lastRun;
  EXPECT_FALSE(contains(r.out, "unchanged: page 2")) << lastRun;
}

TEST_F(E2EUsers, RegionCropOfOddPagesReportsThePageThePlugInRefused)
{
  // The region lies wholly off the third page's media box.
  write("in.pdf", {page(), page(), page({1000, 1000, 1612, 1792}), page()});
  RunResult r =
      folio({"--crop-region", "72 72 540 720", "--pages", "odd", path("in.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  auto b = boxes(path("out.pdf"), 4);
  expectBoxNear(b[0].crop, {72, 72, 540, 720}, 1.0 / 16, lastRun);
  EXPECT_FALSE(b[1].hasCropBox) << lastRun;
  EXPECT_FALSE(b[2].hasCropBox) << lastRun;
  EXPECT_FALSE(b[3].hasCropBox) << lastRun;
  auto lines = e2e::linesStartingWith(r.out, "unchanged: ");
  ASSERT_EQ(lines.size(), 1u) << lastRun;
  EXPECT_EQ(lines[0].rfind("unchanged: page 3: ", 0), 0u) << lastRun;
  // The reason is what the plug-in said on that page.
  auto notes = e2e::linesStartingWith(r.out, "note: ");
  ASSERT_FALSE(notes.empty()) << lastRun;
  EXPECT_EQ(lines[0].substr(19), notes.back().substr(6)) << lastRun;
}

TEST_F(E2EUsers, PrintScriptShowsThePageByPageScript)
{
  write("in.pdf", {page(), page(), page()});
  RunResult r = folio({"--reset-media-box", "all", "--pages", "2-3", "--print-script", path("in.pdf"), "-o",
                       path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "page 2\nanswer Current\nmenu QUIL:PageShearMediaBox\npage 3\nanswer "
                              "Current\nmenu QUIL:PageShearMediaBox\nsave "))
      << lastRun;
  EXPECT_FALSE(contains(r.out, "page 1\n")) << lastRun;
}

TEST_F(E2EUsers, BadPageSelectionsAreClearErrors)
{
  write("in.pdf", {page(), page(), page()});
  struct Case {
    std::vector<std::string> pages;
    const char *message;
  } cases[] = {
      {{"--pages", "3-1"}, "the range 3-1 runs backwards"},
      {{"--pages", "1,,2"}, "an empty item"},
      {{"--pages", "x"}, "\"x\" is not a page number"},
      {{"--pages", "0"}, "\"0\" is not a page number"},
      {{"--pages", "2,9"}, "--pages 2,9: page 9 is past the end (the document has 3 pages)"},
  };
  for (const Case &c : cases) {
    std::vector<std::string> args{"--crop-bbox", "each"};
    args.insert(args.end(), c.pages.begin(), c.pages.end());
    args.insert(args.end(), {path("in.pdf"), "-o", path("out.pdf")});
    RunResult r = folio(args);
    EXPECT_EQ(r.exitCode, 2) << c.pages[1] << "\n" << lastRun;
    EXPECT_TRUE(contains(r.err, c.message)) << c.pages[1] << "\n" << lastRun;
  }
  RunResult r = folio({"--crop-bbox", "biggest", "--pages", "1-2", path("in.pdf"), "-o", path("out.pdf")});
  EXPECT_EQ(r.exitCode, 2) << lastRun;
  EXPECT_TRUE(contains(r.err, "--crop-bbox biggest crops all pages to the biggest bounding box")) << lastRun;
  EXPECT_FALSE(e2e::fileExists(path("out.pdf")));
}

// A selection other than all or current is resolved against the input's
// page count before the run begins; the document read for that is the one
// the run crops, so the input is read no more often than for a run on the
// current page alone (counted with strace: the opens of the input's path).
TEST_F(E2EUsers, PageSelectionReadsTheInputOnce)
{
#if defined(__SANITIZE_ADDRESS__)
  // The leak check at exit stops the program's threads by tracing them,
  // which it cannot do while strace traces the program.
  GTEST_SKIP() << "strace and the leak checker cannot both trace the program";
#endif
  const std::string strace = "/usr/bin/strace";
  if (!e2e::fileExists(strace) ||
      e2e::runProgram(strace, {"-o", "/dev/null", "/bin/true"}, dir.path()).exitCode != 0)
    GTEST_SKIP() << "strace cannot trace programs here";
  write("in.pdf", {page(), page(), page(), page()});
  auto opensOfInput = [&](const std::string &pages, const std::string &out) {
    std::string log = path(out + ".trace");
    RunResult r = e2e::runProgram(strace,
                                  {"-f", "-e", "trace=open,openat", "-o", log, e2e::kFolio, "--crop-region",
                                   "72 72 540 720", "--pages", pages, path("in.pdf"), "-o", path(out)},
                                  dir.path());
    EXPECT_EQ(r.exitCode, 0) << pages << "\n" << r.out << r.err;
    std::istringstream trace(e2e::readFile(log));
    int opens = 0;
    for (std::string line; std::getline(trace, line);)
      opens += contains(line, "\"" + path("in.pdf") + "\"") ? 1 : 0;
    return opens;
  };
  int current = opensOfInput("current", "current.pdf");
  int list = opensOfInput("2-3", "list.pdf");
  EXPECT_GT(current, 0);
  EXPECT_EQ(list, current);
  auto b = boxes(path("list.pdf"), 4);
  ASSERT_EQ(b.size(), 4u);
  EXPECT_FALSE(b[0].hasCropBox);
  expectBoxNear(b[1].crop, {72, 72, 540, 720}, 0.0625, "page 2");
  expectBoxNear(b[2].crop, {72, 72, 540, 720}, 0.0625, "page 3");
  EXPECT_FALSE(b[3].hasCropBox);
}

// An encrypted input: the reading that resolved the selection, opened with
// the password given, is the one the run crops, and it is saved as such.
TEST_F(E2EUsers, PageSelectionOfAnEncryptedInputCropsWithItsPassword)
{
  write("plain.pdf", {page(), page(), page()});
  std::string why;
  ASSERT_TRUE(gen::encryptWithQpdf(path("plain.pdf"), path("locked.pdf"), "user", "owner", false, &why))
      << why;
  RunResult r = folio({"--crop-region", "72 72 540 720", "--pages", "2-3", "--password", "owner",
                       path("locked.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  auto b = boxes(path("out.pdf"), 3, "owner");
  ASSERT_EQ(b.size(), 3u) << lastRun;
  EXPECT_FALSE(b[0].hasCropBox) << lastRun;
  expectBoxNear(b[1].crop, {72, 72, 540, 720}, 0.0625, lastRun);
  expectBoxNear(b[2].crop, {72, 72, 540, 720}, 0.0625, lastRun);
}
