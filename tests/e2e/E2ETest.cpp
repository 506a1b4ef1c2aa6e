// End-to-end tests: the real Page Shear plug-in in the real folio host, in
// batch mode, on generated PDFs; the boxes written are read back with qpdf.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cmath>
#include <cstdio>
#include <sstream>

#include "FolioTest.h"
#include "support/PageTransform.h"

using e2e::Box;
using e2e::contains;
using e2e::expectBoxNear;
using e2e::kFolio;
using e2e::kLetter;
using e2e::PageBoxes;
using e2e::RunResult;
namespace gen = folio::pdfgen;

namespace {

const char *const kBrokenPlugin = BROKEN_PLUGIN;

class E2E : public e2e::FolioTest {
protected:
  // Five letter pages, each with the crop box 10 10 602 782 and a mark.
  void writeFiveCropped(const std::string &name)
  {
    std::vector<gen::PageSpec> pages;
    for (int i = 0; i < 5; ++i)
      pages.push_back(
          withRect(withCrop(page(), {10, 10, 602, 782}), {100 + 10.0 * i, 200, 300, 400 + 10.0 * i}));
    write(name, pages);
  }

  // The mixed document of the orientation tests: letter r0; letter r90;
  // landscape r0; letter r270; letter r0 off the origin; letter r0 far away.
  void writeMixed(const std::string &name)
  {
    write(name, {page(), page(kLetter, 90), page({0, 0, 792, 612}), page(kLetter, 270),
                 page({100, 100, 712, 892}), page({1000, 1000, 1612, 1792})});
  }
};

#define EXPECT_BOX(actual, l, b, r, t)                                                                       \
  EXPECT_EQ(e2e::toString(actual), e2e::toString(Box{l, b, r, t})) << lastRun

const char *const kPagesToCrop = "question: Pages to crop? [Current|All|Cancel]";
const char *const kOrientation =
    "question: Some pages do not have same orientation - Crop or Skip them? [Skip|Crop]";
const char *const kIllegalRotation =
    "note: Some page(s) were not cropped since page(s) had an illegal rotation value "
    "(not 0, 90, 180, or 270).";
const char *const kNoIntersection =
    "note: Some page(s) were not cropped since page media box(es) did not intersect crop region.";

} // namespace

// ---- the command line ----------------------------------------------------------

TEST_F(E2E, HelpExitsZero)
{
  RunResult r = folio({"--help"});
  EXPECT_EQ(r.exitCode, 0);
  EXPECT_TRUE(contains(r.out, "usage: folio")) << lastRun;
}

TEST_F(E2E, BadOptionExitsTwo)
{
  RunResult r = folio({"--crop-bbox", "sideways", "a.pdf", "-o", "b.pdf"});
  EXPECT_EQ(r.exitCode, 2);
  EXPECT_TRUE(contains(r.err, "folio: --crop-bbox takes each, biggest or current, not \"sideways\""))
      << lastRun;
}

TEST_F(E2E, PrintScriptRunsNothing)
{
  RunResult r = folio({"--crop-bbox", "each", "--print-script", path("in.pdf"), "-o", path("out.pdf")});
  EXPECT_EQ(r.exitCode, 0);
  EXPECT_TRUE(contains(r.out, "menu QUIL:PageShearBBox\n")) << lastRun;
  EXPECT_FALSE(e2e::fileExists(path("out.pdf")));
}

TEST_F(E2E, LoadReportNamesThePlugIn)
{
  write("a.pdf", {page()});
  RunResult r = folio({"--run", "open " + path("a.pdf") + "; show-boxes"});
  EXPECT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.err, "pgshear.so: loaded as QUIL_PageShear")) << lastRun;
  EXPECT_TRUE(contains(r.out, "page 1: media 0 0 612 792 crop 0 0 612 792 rotate 0\n")) << lastRun;
}

TEST_F(E2E, MissingInputStopsWithLineNumber)
{
  RunResult r = folio({"--crop-bbox", "each", path("nothere.pdf"), "-o", path("out.pdf")});
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_TRUE(contains(r.err, "folio: --crop-bbox:2: cannot open")) << lastRun;
  EXPECT_FALSE(e2e::fileExists(path("out.pdf")));
}

TEST_F(E2E, UnknownScriptCommandStopsBeforeRunning)
{
  write("a.pdf", {page()});
  RunResult r = script("open " + path("a.pdf") + "\nfrobnicate\nsave " + path("b.pdf") + "\n");
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_TRUE(contains(r.err, "folio: -:2: unknown command \"frobnicate\"")) << lastRun;
  EXPECT_FALSE(e2e::fileExists(path("b.pdf")));
}

TEST_F(E2E, PageOutOfRangeStops)
{
  write("a.pdf", {page(), page()});
  RunResult r = script("open " + path("a.pdf") + "\npage 3\n");
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_TRUE(contains(r.err, "folio: -:2: page 3 is out of range (the document has 2 pages)")) << lastRun;
}

TEST_F(E2E, OnePageIsCountedInTheSingular)
{
  write("one.pdf", {page()});
  RunResult r = script("open " + path("one.pdf") + "\npage 2\n");
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_TRUE(contains(r.out, "(1 page)\n")) << lastRun;
  EXPECT_TRUE(contains(r.err, "folio: -:2: page 2 is out of range (the document has 1 page)")) << lastRun;
}

// ---- applying a drawn region --------------------------------------------------

TEST_F(E2E, RegionCropCurrentPage)
{
  write("in.pdf", {page(), page(), page()});
  RunResult r = folio({"--crop-region", "72 72 540 720", "--pages", "current", "--page", "2", path("in.pdf"),
                       "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, std::string(kPagesToCrop) + " -> Current\n")) << lastRun;
  auto b = boxes(path("out.pdf"), 3);
  ASSERT_EQ(b.size(), 3u);
  EXPECT_FALSE(b[0].hasCropBox);
  EXPECT_BOX(b[1].crop, 72, 72, 540, 720);
  EXPECT_FALSE(b[2].hasCropBox);
  // The input is left as it was.
  EXPECT_FALSE(boxes(path("in.pdf"), 3)[1].hasCropBox);
}

TEST_F(E2E, RegionCropAllPagesSameSize)
{
  write("in.pdf", {page(), page(), page()});
  RunResult r = folio({"--crop-region", "72 72 540 720", path("in.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, std::string(kPagesToCrop) + " -> All\n")) << lastRun;
  auto b = boxes(path("out.pdf"), 3);
  ASSERT_EQ(b.size(), 3u);
  for (const PageBoxes &p : b)
    EXPECT_BOX(p.crop, 72, 72, 540, 720);
}

TEST_F(E2E, RegionCropOnePageDocumentAsksCropThisPage)
{
  write("in.pdf", {page()});
  RunResult r = folio({"--crop-region", "100 100 400 500", path("in.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "question: Crop this page? [Current|Cancel] -> Current\n")) << lastRun;
  EXPECT_BOX(boxes(path("out.pdf"))[0].crop, 100, 100, 400, 500);
}

TEST_F(E2E, RegionCropMixedAnswerSkip)
{
  writeMixed("in.pdf");
  RunResult r = folio(
      {"--crop-region", "72 72 540 720", "--orientation", "skip", path("in.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, std::string(kOrientation) + " -> Skip\n")) << lastRun;
  EXPECT_EQ(e2e::linesStartingWith(r.out, "question: Some pages").size(), 1u) << lastRun;
  auto b = boxes(path("out.pdf"), 6);
  ASSERT_EQ(b.size(), 6u);
  EXPECT_BOX(b[0].crop, 72, 72, 540, 720);
  EXPECT_FALSE(b[1].hasCropBox);             // turned: skipped
  EXPECT_FALSE(b[2].hasCropBox);             // landscape: skipped
  EXPECT_FALSE(b[3].hasCropBox);             // 270 from 0: no carry-over, illegal rotation
  EXPECT_BOX(b[4].crop, 100, 100, 540, 720); // same half extents, clipped to its media box
  EXPECT_FALSE(b[5].hasCropBox);             // misses the media box
  EXPECT_EQ(b[1].rotate, 90);
  EXPECT_EQ(b[3].rotate, 270);
}

TEST_F(E2E, RegionCropMixedAnswerCrop)
{
  writeMixed("in.pdf");
  RunResult r = folio(
      {"--crop-region", "72 72 540 720", "--orientation", "crop", path("in.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, std::string(kOrientation) + " -> Crop\n")) << lastRun;
  auto b = boxes(path("out.pdf"), 6);
  ASSERT_EQ(b.size(), 6u);
  EXPECT_BOX(b[0].crop, 72, 72, 540, 720);
  EXPECT_BOX(b[1].crop, 0, 162, 612, 630); // turned a quarter about the centre, clipped
  EXPECT_BOX(b[2].crop, 162, 0, 630, 612); // moved onto the landscape centre, clipped
  EXPECT_FALSE(b[3].hasCropBox);
  EXPECT_BOX(b[4].crop, 100, 100, 540, 720);
  EXPECT_FALSE(b[5].hasCropBox);
}

TEST_F(E2E, RegionCropSummariesIllegalRotationThenNoIntersection)
{
  writeMixed("in.pdf");
  RunResult r = folio(
      {"--crop-region", "72 72 540 720", "--orientation", "skip", path("in.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  size_t rot = r.out.find(kIllegalRotation), miss = r.out.find(kNoIntersection);
  ASSERT_NE(rot, std::string::npos) << lastRun;
  ASSERT_NE(miss, std::string::npos) << lastRun;
  EXPECT_LT(rot, miss);
}

TEST_F(E2E, RegionCropSecondRunAsksOrientationAgain)
{
  writeMixed("in.pdf");
  const std::string in = path("in.pdf");
  RunResult r = script("open " + in +
                       "\n"
                       "button QUIL:PageShear\n"
                       "drag 72 720 540 72\nanswer All\nanswer Skip\nclick 306 396\n"
                       "page 1\n"
                       "drag 72 720 540 72\nanswer All\nanswer Crop\nclick 306 396\n"
                       "save " +
                       path("out.pdf") + "\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_EQ(e2e::linesStartingWith(r.out, kOrientation).size(), 2u) << lastRun;
  auto b = boxes(path("out.pdf"), 6);
  EXPECT_BOX(b[1].crop, 0, 162, 612, 630);
  EXPECT_BOX(b[2].crop, 162, 0, 630, 612);
}

TEST_F(E2E, UnansweredOrientationQuestionStopsAndSavesNothing)
{
  writeMixed("in.pdf");
  RunResult r = folio({"--crop-region", "72 72 540 720", path("in.pdf"), "-o", path("out.pdf")});
  EXPECT_EQ(r.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(r.out, std::string(kOrientation) + " -> (no answer)\n")) << lastRun;
  EXPECT_TRUE(
      contains(r.err, "unanswered question \"Some pages do not have same orientation - Crop or Skip them?\""))
      << lastRun;
  EXPECT_FALSE(e2e::fileExists(path("out.pdf")));
}

TEST_F(E2E, UnansweredPageQuestionStopsAndSavesNothing)
{
  write("in.pdf", {page(), page()});
  RunResult r =
      script("open " + path("in.pdf") + "\nbutton QUIL:PageShear\ndrag 72 720 540 72\nclick 300 400\nsave " +
             path("out.pdf") + "\n");
  EXPECT_EQ(r.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(r.err, "folio: -:4: unanswered question \"Pages to crop?\" [Current|All|Cancel]"))
      << lastRun;
  EXPECT_FALSE(e2e::fileExists(path("out.pdf")));
}

TEST_F(E2E, AnswerThatIsNoButtonStops)
{
  write("in.pdf", {page(), page()});
  RunResult r = script("open " + path("in.pdf") +
                       "\nbutton QUIL:PageShear\ndrag 72 720 540 72\nanswer Everything\nclick 300 400\n");
  EXPECT_EQ(r.exitCode, 1) << lastRun;
  EXPECT_TRUE(
      contains(r.err, "folio: -:4: answer \"Everything\" is not a button of the question \"Pages to crop?\""))
      << lastRun;
}

TEST_F(E2E, RefusalNarrowerThanOneInch)
{
  write("in.pdf", {page(), page()});
  RunResult r = script("open " + path("in.pdf") +
                       "\nbutton QUIL:PageShear\n"
                       "drag 100 700 171 600\nanswer All\nclick 135 650\n"
                       "show-boxes\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "note: Minimum crop region is 1 inch by 1 inch.\n")) << lastRun;
  EXPECT_FALSE(contains(r.out, "question: Pages to crop?")) << lastRun;
  EXPECT_TRUE(contains(r.out, "unused answer: All (line 4)\n")) << lastRun;
  EXPECT_TRUE(contains(r.out, "page 1: media 0 0 612 792 crop 0 0 612 792 rotate 0\n")) << lastRun;
}

TEST_F(E2E, RefusalLowerThanOneInch)
{
  write("in.pdf", {page()});
  RunResult r =
      script("open " + path("in.pdf") + "\nbutton QUIL:PageShear\ndrag 100 700 400 629\nclick 250 660\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "note: Minimum crop region is 1 inch by 1 inch.\n")) << lastRun;
}

TEST_F(E2E, ExactlyOneInchIsAccepted)
{
  write("in.pdf", {page()});
  RunResult r = script("open " + path("in.pdf") +
                       "\nbutton QUIL:PageShear\ndrag 100 700 172 628\nanswer Current\nclick 136 664\nsave " +
                       path("out.pdf") + "\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_BOX(boxes(path("out.pdf"))[0].crop, 100, 628, 172, 700);
}

TEST_F(E2E, RefusalOutsideTheMediaBox)
{
  write("in.pdf", {page()});
  RunResult r = script("open " + path("in.pdf") +
                       "\nbutton QUIL:PageShear\ndrag -300 -100 -100 -300\nclick -200 -200\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(
      contains(r.out, "note: Crop region must include at least 1 inch by 1 inch of media box region.\n"))
      << lastRun;
  EXPECT_FALSE(contains(r.out, "note: Minimum crop region")) << lastRun;
}

TEST_F(E2E, RefusedRegionStaysAndCanBeResized)
{
  write("in.pdf", {page()});
  // A 50 pt wide region is refused; pulling its right-bottom handle 100 pt
  // further makes it 150 pt wide, and the next click applies it.
  RunResult r = script("open " + path("in.pdf") +
                       "\nbutton QUIL:PageShear\ndrag 100 700 150 500\nclick 125 600\n"
                       "drag 150 500 250 500\nanswer Current\nclick 125 600\nsave " +
                       path("out.pdf") + "\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "note: Minimum crop region is 1 inch by 1 inch.\n")) << lastRun;
  EXPECT_BOX(boxes(path("out.pdf"))[0].crop, 100, 500, 250, 700);
}

TEST_F(E2E, CtrlOnAHandleMovesTheRegion)
{
  write("in.pdf", {page()});
  RunResult r = script("open " + path("in.pdf") +
                       "\nbutton QUIL:PageShear\ndrag 100 700 300 500\n"
                       "drag 100 700 150 650 ctrl\nanswer Current\nclick 250 550\nsave " +
                       path("out.pdf") + "\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_BOX(boxes(path("out.pdf"))[0].crop, 150, 450, 350, 650);
}

TEST_F(E2E, ClickOutsideDiscardsTheRegion)
{
  write("in.pdf", {page()});
  RunResult r = script("open " + path("in.pdf") +
                       "\nbutton QUIL:PageShear\ndrag 100 700 300 500\nclick 400 100\nanswer Current\n"
                       "click 200 600\nsave " +
                       path("out.pdf") + "\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  // The second click only starts (and drops) a new drag-out: nothing asked.
  EXPECT_FALSE(contains(r.out, "question:")) << lastRun;
  EXPECT_FALSE(boxes(path("out.pdf"))[0].hasCropBox);
}

// ---- crop to bounding box ------------------------------------------------------

TEST_F(E2E, BBoxEachPageToItsOwn)
{
  auto ink = write("in.pdf", {withRect(page(), {100, 200, 300, 400}),
                              withRect(page({0, 0, 842, 595}), {50, 60, 700, 500}),
                              withRect(page(kLetter, 90), {-50, 100, 200, 300})});
  RunResult r = folio({"--crop-bbox", "each", path("in.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(
      contains(r.out, "question: Crop which pages to page bounding box? [Current|All|Cancel] -> All\n"))
      << lastRun;
  EXPECT_TRUE(contains(
      r.out, "question: Crop pages to individual bounding boxes or all pages to biggest bounding box? "
             "[Each|Biggest] -> Each\n"))
      << lastRun;
  auto b = boxes(path("out.pdf"), 3);
  ASSERT_EQ(b.size(), 3u);
  // The model's bounding box is exact to 0.25 pt.
  expectBoxNear(b[0].crop, {100, 200, 300, 400}, 0.25, lastRun);
  expectBoxNear(b[1].crop, {50, 60, 700, 500}, 0.25, lastRun);
  // Ink off the media box is not counted: the box ends at the media box.
  expectBoxNear(b[2].crop, {0, 100, 200, 300}, 0.25, lastRun);
}

// Enough pages for the worker threads that measure pages ahead (one per
// core) to take part: every box is right, and the run says nothing on the
// error stream beyond the plug-in's load line.
TEST_F(E2E, BBoxEachOfManyPagesMeasuredAheadQuietly)
{
  std::vector<gen::PageSpec> pages;
  for (int i = 0; i < 30; ++i)
    pages.push_back(withRect(page(), {100.0 + i, 200, 300, 400.0 + i}));
  write("in.pdf", pages);
  RunResult r = folio({"--crop-bbox", "each", path("in.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  std::istringstream err(r.err);
  for (std::string line; std::getline(err, line);)
    EXPECT_EQ(line.rfind("load: ", 0), 0u) << "unexpected on the error stream: " << line << "\n" << lastRun;
  auto b = boxes(path("out.pdf"), 30);
  ASSERT_EQ(b.size(), 30u);
  for (int i = 0; i < 30; ++i)
    expectBoxNear(b[i].crop, {100.0 + i, 200, 300, 400.0 + i}, 0.25, lastRun);
}

TEST_F(E2E, BBoxBiggestIsTheUnionClippedToEachMediaBox)
{
  write("in.pdf",
        {withRect(page(), {100, 200, 300, 400}), withRect(page({0, 0, 842, 595}), {50, 60, 700, 500}),
         withRect(page({0, 0, 300, 300}), {20, 20, 40, 40})});
  RunResult r = folio({"--crop-bbox", "biggest", path("in.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  auto b = boxes(path("out.pdf"), 3);
  ASSERT_EQ(b.size(), 3u);
  expectBoxNear(b[0].crop, {20, 20, 612, 500}, 0.25, lastRun);
  expectBoxNear(b[1].crop, {20, 20, 700, 500}, 0.25, lastRun);
  expectBoxNear(b[2].crop, {20, 20, 300, 300}, 0.25, lastRun);
}

TEST_F(E2E, BBoxCurrentPageOnly)
{
  write("in.pdf", {withRect(page(), {100, 200, 300, 400}), withRect(page(), {10, 20, 30, 40}),
                   withRect(page(), {150, 150, 160, 160})});
  RunResult r = folio({"--crop-bbox", "current", "--page", "2", path("in.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  auto b = boxes(path("out.pdf"), 3);
  EXPECT_FALSE(b[0].hasCropBox);
  expectBoxNear(b[1].crop, {10, 20, 30, 40}, 0.25, lastRun);
  EXPECT_FALSE(b[2].hasCropBox);
}

TEST_F(E2E, BBoxOnePageDocumentIsNotAsked)
{
  write("in.pdf", {withRect(page(), {100, 200, 300, 400})});
  RunResult r = folio({"--crop-bbox", "each", path("in.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_FALSE(contains(r.out, "question:")) << lastRun;
  EXPECT_TRUE(contains(r.out, "unused answer: All (line 4)\nunused answer: Each (line 5)\n")) << lastRun;
  expectBoxNear(boxes(path("out.pdf"))[0].crop, {100, 200, 300, 400}, 0.25, lastRun);
}

// ---- reset to media box -----------------------------------------------------------

TEST_F(E2E, ResetAllPagesToMediaBox)
{
  writeFiveCropped("in.pdf");
  RunResult r = folio({"--reset-media-box", "all", path("in.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(
      contains(r.out, "question: Crop which pages to page bounding box? [Current|All|Cancel] -> All\n"))
      << lastRun;
  for (const PageBoxes &p : boxes(path("out.pdf")))
    EXPECT_BOX(p.crop, 0, 0, 612, 792);
}

TEST_F(E2E, ResetCurrentPageToMediaBox)
{
  writeFiveCropped("in.pdf");
  RunResult r = folio({"--reset-media-box", "current", "--page", "4", path("in.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  auto b = boxes(path("out.pdf"), 5);
  ASSERT_EQ(b.size(), 5u);
  for (int i = 0; i < 5; ++i) {
    if (i == 3)
      EXPECT_BOX(b[i].crop, 0, 0, 612, 792);
    else
      EXPECT_BOX(b[i].crop, 10, 10, 602, 782);
  }
}

TEST_F(E2E, OverwritesInputOnlyWhenAsked)
{
  writeFiveCropped("in.pdf");
  RunResult r = folio({"--reset-media-box", "all", path("in.pdf"), "-o", path("in.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_BOX(boxes(path("in.pdf"), 5)[2].crop, 0, 0, 612, 792);
}

// ---- cancel at the third page ----------------------------------------------------

namespace {
// Pages 1-2 restored, page 3 keeping its box (the restoration's all-zero
// box is not written), pages 4-5 untouched.
void expectCancelledAtThird(const std::vector<PageBoxes> &b, const std::string &ctx)
{
  ASSERT_EQ(b.size(), 5u) << ctx;
  EXPECT_EQ(e2e::toString(b[0].crop), "10 10 602 782") << ctx;
  EXPECT_EQ(e2e::toString(b[1].crop), "10 10 602 782") << ctx;
  // The plug-in puts the all-zero box on the page it had reached; the host
  // does not write a box that shows nothing, so the page keeps its own.
  EXPECT_EQ(e2e::toString(b[2].crop), "10 10 602 782") << ctx;
  EXPECT_EQ(e2e::toString(b[3].crop), "10 10 602 782") << ctx;
  EXPECT_EQ(e2e::toString(b[4].crop), "10 10 602 782") << ctx;
}
} // namespace

TEST_F(E2E, CancelAtPageThreeOfRegionCrop)
{
  writeFiveCropped("in.pdf");
  RunResult r = script(
      "open " + path("in.pdf") +
      "\nbutton QUIL:PageShear\ndrag 72 720 540 72\nanswer All\ncancel-at 3\nclick 300 400\nshow-boxes\n"
      "save " +
      path("out.pdf") + "\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "cancel: poll 3 answers true\nnote: Cancelled.\n")) << lastRun;
  EXPECT_TRUE(contains(r.out, "page 3: media 0 0 612 792 crop 10 10 602 782 rotate 0\n")) << lastRun;
  expectCancelledAtThird(boxes(path("out.pdf"), 5), lastRun);
}

TEST_F(E2E, CancelAtPageThreeOfBBoxEach)
{
  writeFiveCropped("in.pdf");
  RunResult r = script("open " + path("in.pdf") +
                       "\nanswer All\nanswer Each\ncancel-at 3\nmenu QUIL:PageShearBBox\nsave " +
                       path("out.pdf") + "\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "note: Cancelled.\n")) << lastRun;
  expectCancelledAtThird(boxes(path("out.pdf"), 5), lastRun);
}

TEST_F(E2E, CancelAtPageThreeOfBBoxBiggestSecondPass)
{
  writeFiveCropped("in.pdf");
  // The first pass polls for pages 2 to 5 (four polls); the second pass's
  // third poll is the seventh.
  RunResult r = script("open " + path("in.pdf") +
                       "\nanswer All\nanswer Biggest\ncancel-at 7\nmenu QUIL:PageShearBBox\nsave " +
                       path("out.pdf") + "\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "cancel: poll 7 answers true\nnote: Cancelled.\n")) << lastRun;
  expectCancelledAtThird(boxes(path("out.pdf"), 5), lastRun);
}

TEST_F(E2E, CancelDuringBBoxBiggestFirstPassChangesNothing)
{
  writeFiveCropped("in.pdf");
  RunResult r = script("open " + path("in.pdf") +
                       "\nanswer All\nanswer Biggest\ncancel-at 2\nmenu QUIL:PageShearBBox\nsave " +
                       path("out.pdf") + "\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "note: Cancelled.\n")) << lastRun;
  for (const PageBoxes &p : boxes(path("out.pdf")))
    EXPECT_BOX(p.crop, 10, 10, 602, 782);
}

TEST_F(E2E, CancelAtPageThreeOfResetToMediaBox)
{
  writeFiveCropped("in.pdf");
  RunResult r =
      script("open " + path("in.pdf") + "\nanswer All\ncancel-at 3\nmenu QUIL:PageShearMediaBox\nsave " +
             path("out.pdf") + "\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "note: Cancelled.\n")) << lastRun;
  expectCancelledAtThird(boxes(path("out.pdf"), 5), lastRun);
}

// ---- snapshots: the media-box outline and the crop region -------------------------

namespace {
using testsupport::PageTransform;

// How the batch front end shows a page whose shown box is `box`: turned by
// `rotation`, at `zoom`, with a margin of 8 pixels around it.
PageTransform shownAt(const Box &box, int rotation = 0, double zoom = 1)
{
  PageTransform t{box.left, box.bottom, box.right, box.top, rotation, zoom};
  t.originX = t.originY = 8;
  return t;
}
bool isRed(const e2e::Image &im, int x, int y)
{
  return im.is(x, y, 255, 0, 0);
}
bool isBlack(const e2e::Image &im, int x, int y)
{
  return im.is(x, y, 0, 0, 0);
}
} // namespace

TEST_F(E2E, ShowMediaBoxDrawsRedOutlineOnSnapshot)
{
  write("in.pdf", {page()});
  RunResult r = script("open " + path("in.pdf") + "\nmenu QUIL:PSShowMediaBox\nsnapshot " + path("on.png") +
                       "\nmenu QUIL:PSHideMediaBox\nsnapshot " + path("off.png") + "\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  e2e::Image on, off;
  std::string why;
  ASSERT_TRUE(e2e::readPng(path("on.png"), on, &why)) << why;
  ASSERT_TRUE(e2e::readPng(path("off.png"), off, &why)) << why;
  // At 100% the letter page's media box is the device rectangle 8,8 .. 620,800.
  const PageTransform letter = shownAt(kLetter);
  ASSERT_EQ(on.width, letter.deviceWidth() + 16);
  ASSERT_EQ(on.height, letter.deviceHeight() + 16);
  ASSERT_EQ(letter.pixel(0, 792), std::make_pair(8, 8));
  ASSERT_EQ(letter.pixel(612, 0), std::make_pair(620, 800));
  for (int y : {8, 100, 400, 800}) {
    EXPECT_TRUE(isRed(on, 8, y)) << y;
    EXPECT_TRUE(isRed(on, 620, y)) << y;
    EXPECT_FALSE(isRed(off, 8, y)) << y;
  }
  for (int x : {8, 300, 620}) {
    EXPECT_TRUE(isRed(on, x, 8)) << x;
    EXPECT_TRUE(isRed(on, x, 800)) << x;
    EXPECT_FALSE(isRed(off, x, 800)) << x;
  }
  EXPECT_FALSE(isRed(on, 9, 400));
  EXPECT_FALSE(isRed(on, 7, 400));
  EXPECT_TRUE(on.is(300, 400, 255, 255, 255)); // the blank page inside
}

TEST_F(E2E, ShowMediaBoxFollowsRotationAndZoom)
{
  write("in.pdf", {page(), page({0, 0, 200, 100}, 90)});
  RunResult r = script("open " + path("in.pdf") + "\npage 2\nzoom 200\nmenu QUIL:PSShowMediaBox\nsnapshot " +
                       path("rot.png") + "\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  e2e::Image im;
  ASSERT_TRUE(e2e::readPng(path("rot.png"), im));
  // Turned a quarter: 100 x 200 points at 200% is 200 x 400 pixels.
  const PageTransform turned = shownAt({0, 0, 200, 100}, 90, 2);
  ASSERT_EQ(im.width, turned.deviceWidth() + 16);
  ASSERT_EQ(im.height, turned.deviceHeight() + 16);
  // The page's top-left corner shows at the top right, its bottom-right
  // corner at the bottom left.
  EXPECT_EQ(turned.pixel(0, 100), std::make_pair(208, 8));
  EXPECT_EQ(turned.pixel(200, 0), std::make_pair(8, 408));
  EXPECT_TRUE(isRed(im, 8, 200));
  EXPECT_TRUE(isRed(im, 208, 200));
  EXPECT_TRUE(isRed(im, 100, 8));
  EXPECT_TRUE(isRed(im, 100, 408));
}

TEST_F(E2E, CropRegionOutlineWithFourCornerHandles)
{
  write("in.pdf", {page()});
  RunResult r = script("open " + path("in.pdf") + "\nbutton QUIL:PageShear\ndrag 72 720 540 72\nsnapshot " +
                       path("region.png") + "\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  e2e::Image im;
  ASSERT_TRUE(e2e::readPng(path("region.png"), im));
  // The region 72..540 x 72..720 is the device rectangle 80,80 .. 548,728.
  const auto [l, t] = shownAt(kLetter).pixel(72, 720);
  const auto [rt, b] = shownAt(kLetter).pixel(540, 72);
  for (int x : {150, 300, 500}) {
    EXPECT_TRUE(isBlack(im, x, t)) << x;
    EXPECT_TRUE(isBlack(im, x, b)) << x;
  }
  for (int y : {150, 400, 700}) {
    EXPECT_TRUE(isBlack(im, l, y)) << y;
    EXPECT_TRUE(isBlack(im, rt, y)) << y;
  }
  // A handle is the square 3 units to each side of its corner.
  for (auto [cx, cy] : {std::pair{l, t}, std::pair{rt, t}, std::pair{rt, b}, std::pair{l, b}}) {
    EXPECT_TRUE(isBlack(im, cx - 3, cy - 3)) << cx << "," << cy;
    EXPECT_TRUE(isBlack(im, cx + 3, cy + 3)) << cx << "," << cy;
    EXPECT_TRUE(isBlack(im, cx - 3, cy + 3)) << cx << "," << cy;
    EXPECT_TRUE(isBlack(im, cx + 3, cy)) << cx << "," << cy;
    EXPECT_FALSE(isBlack(im, cx - 4, cy - 4)) << cx << "," << cy;
  }
  // No handles at the middles of the edges.
  EXPECT_FALSE(isBlack(im, l - 3, (t + b) / 2));
  EXPECT_FALSE(isBlack(im, (l + rt) / 2, t - 3));
  // Selecting the tool turned the media-box outline on.
  EXPECT_TRUE(isRed(im, 8, 400));
}

// ---- editions, permissions, revert, plug-in folders ----------------------------------

TEST_F(E2E, ReadOnlyEditionShowsTheNoteAndHasNoCommands)
{
  write("in.pdf", {page()});
  RunResult r = folio({"--read-only", "--run", "open " + path("in.pdf") + "; menu QUIL:PageShearBBox"});
  EXPECT_EQ(r.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(r.out,
                       "note: Page Shear only works with the Folio Quire program.  It will not run under "
                       "Quire LE.\n"))
      << lastRun;
  EXPECT_TRUE(contains(r.err, "folio: --run:2: no menu item named \"QUIL:PageShearBBox\"")) << lastRun;
}

TEST_F(E2E, NoModifyPermissionDisablesTheCommands)
{
  write("plain.pdf", {withRect(page(), {100, 100, 200, 200}), page()});
  std::string why;
  ASSERT_TRUE(gen::encryptWithQpdf(path("plain.pdf"), path("locked.pdf"), "user", "owner", false, &why))
      << why;
  RunResult r =
      script("open " + path("locked.pdf") + " user\nanswer All\nanswer Each\nmenu QUIL:PageShearBBox\n");
  EXPECT_EQ(r.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(r.err, "folio: -:4: menu item \"QUIL:PageShearBBox\" is disabled")) << lastRun;
  RunResult t = script("open " + path("locked.pdf") + " user\nbutton QUIL:PageShear\n");
  EXPECT_EQ(t.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(t.err, "folio: -:2: tool bar button \"QUIL:PageShear\" is disabled")) << lastRun;
  RunResult m = script("open " + path("locked.pdf") + " user\nanswer All\nmenu QUIL:PageShearMediaBox\n");
  EXPECT_EQ(m.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(m.err, "folio: -:3: menu item \"QUIL:PageShearMediaBox\" is disabled")) << lastRun;
}

TEST_F(E2E, OwnerPasswordEnablesTheCommands)
{
  write("plain.pdf", {withRect(page(), {100, 100, 200, 200}), page()});
  std::string why;
  ASSERT_TRUE(gen::encryptWithQpdf(path("plain.pdf"), path("locked.pdf"), "user", "owner", false, &why))
      << why;
  RunResult r = script("open " + path("locked.pdf") +
                       " owner\nanswer All\nanswer Each\nmenu QUIL:PageShearBBox\n"
                       "save " +
                       path("out.pdf") + "\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  expectBoxNear(boxes(path("out.pdf"), 2, "owner")[0].crop, {100, 100, 200, 200}, 0.25, lastRun);
}

TEST_F(E2E, EncryptedDocumentWithWrongPasswordSaysItIsWrong)
{
  write("plain.pdf", {page()});
  std::string why;
  ASSERT_TRUE(gen::encryptWithQpdf(path("plain.pdf"), path("locked.pdf"), "user", "owner", false, &why))
      << why;
  RunResult r = script("open " + path("locked.pdf") + " guess\n");
  EXPECT_EQ(r.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(r.err, "folio: -:1: cannot open")) << lastRun;
  EXPECT_TRUE(contains(r.err, "is wrong")) << lastRun;
}

TEST_F(E2E, EncryptedDocumentWithoutPasswordStops)
{
  write("plain.pdf", {page()});
  std::string why;
  ASSERT_TRUE(gen::encryptWithQpdf(path("plain.pdf"), path("locked.pdf"), "user", "owner", false, &why))
      << why;
  RunResult r = script("open " + path("locked.pdf") + "\n");
  EXPECT_EQ(r.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(r.err, "folio: -:1: cannot open")) << lastRun;
}

TEST_F(E2E, RevertRestoresTheSavedBoxes)
{
  writeFiveCropped("doc.pdf");
  const std::string doc = path("doc.pdf");
  RunResult r =
      script("open " + doc +
             "\nanswer All\nmenu QUIL:PageShearMediaBox\nsave\n"              // saved: media boxes
             "answer All\nanswer Each\nmenu QUIL:PageShearBBox\nshow-boxes\n" // unsaved: bounding boxes
             "confirm yes\nmenu QUIL:PSRevert\nshow-boxes\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "confirm: Are you sure you want to revert to last saved version? -> yes\n"))
      << lastRun;
  auto lines = e2e::linesStartingWith(r.out, "page 1:");
  ASSERT_EQ(lines.size(), 2u) << lastRun;
  EXPECT_NE(lines[0], "page 1: media 0 0 612 792 crop 0 0 612 792 rotate 0") << lastRun;
  EXPECT_EQ(lines[1], "page 1: media 0 0 612 792 crop 0 0 612 792 rotate 0") << lastRun;
  for (const PageBoxes &p : boxes(doc))
    EXPECT_BOX(p.crop, 0, 0, 612, 792);
}

TEST_F(E2E, RevertIsDisabledOnAnUnchangedDocument)
{
  writeFiveCropped("doc.pdf");
  RunResult r = script("open " + path("doc.pdf") + "\nconfirm yes\nmenu QUIL:PSRevert\n");
  EXPECT_EQ(r.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(r.err, "menu item \"QUIL:PSRevert\" is disabled")) << lastRun;
}

TEST_F(E2E, BrokenPlugInIsReportedAndTheRealOneWorks)
{
  const std::string plugins = path("plugins");
  ASSERT_EQ(mkdir(plugins.c_str(), 0755), 0);
  ASSERT_TRUE(e2e::copyFile(kBrokenPlugin, plugins + "/aa_noentry.so"));
  e2e::writeFile(plugins + "/bb_garbage.so", "this is not a shared object\n");
  write("in.pdf", {page(), page()});
  RunResult r =
      folio({"--plugins", plugins, "--reset-media-box", "all", path("in.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.err, "aa_noentry.so: no entry point `main`")) << lastRun;
  EXPECT_TRUE(contains(r.err, "bb_garbage.so: not a loadable shared object")) << lastRun;
  EXPECT_TRUE(contains(r.err, "pgshear.so: loaded as QUIL_PageShear")) << lastRun;
  EXPECT_EQ(boxes(path("out.pdf")).size(), 2u);
  EXPECT_TRUE(boxes(path("out.pdf"))[0].hasCropBox);
}

TEST_F(E2E, AboutNote)
{
  RunResult r = folio({"--run", "menu QUIL:PageShearAbout"});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(
      r.out, "note: Page Shear 1.1 is part of a suite of Folio utility plug-ins brought to you by Lee "
             "Marlow.\n"))
      << lastRun;
}

TEST_F(E2E, RevertStepThrowsAwayUnsavedChanges)
{
  writeFiveCropped("doc.pdf");
  RunResult r = script("open " + path("doc.pdf") +
                       "\npage 4\nanswer All\nmenu QUIL:PageShearMediaBox\nrevert\nshow-boxes\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "reverted: " + path("doc.pdf") + "\n")) << lastRun;
  EXPECT_TRUE(contains(r.out, "page 1: media 0 0 612 792 crop 10 10 602 782 rotate 0\n")) << lastRun;
  EXPECT_TRUE(contains(r.out, "page 5: media 0 0 612 792 crop 10 10 602 782 rotate 0\n")) << lastRun;
}

TEST_F(E2E, BatchScriptFromFile)
{
  write("in.pdf", {page(), page()});
  e2e::writeFile(path("crop.txt"), "# reset page 2\nopen " + path("in.pdf") +
                                       "\npage 2\nanswer Current\nmenu QUIL:PageShearMediaBox\nsave " +
                                       path("out.pdf") + "\n");
  RunResult r = folio({"--batch", path("crop.txt")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  auto b = boxes(path("out.pdf"), 2);
  EXPECT_FALSE(b[0].hasCropBox);
  EXPECT_TRUE(b[1].hasCropBox);
  EXPECT_BOX(b[1].crop, 0, 0, 612, 792);
}

TEST_F(E2E, MissingScriptFile)
{
  RunResult r = folio({"--batch", path("none.txt")});
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_TRUE(contains(r.err, "folio: cannot read the script " + path("none.txt"))) << lastRun;
}

TEST_F(E2E, ProgressBarOnATerminal)
{
  writeFiveCropped("in.pdf");
  RunResult r = e2e::runProgram(kFolio, {"--reset-media-box", "all", path("in.pdf"), "-o", path("out.pdf")},
                                dir.path(), {}, true);
  ASSERT_EQ(r.exitCode, 0) << r.err;
  // One redraw a step: the index of the page being worked on, of five.
  EXPECT_TRUE(contains(r.err, "\r[                                        ] 0/5")) << r.err;
  EXPECT_TRUE(contains(r.err, "\r[################################        ] 4/5")) << r.err;
  EXPECT_TRUE(contains(r.err, "\r\033[K")) << r.err; // cleared at the end
}

TEST_F(E2E, NoProgressBarWithoutATerminal)
{
  writeFiveCropped("in.pdf");
  RunResult r = folio({"--reset-media-box", "all", path("in.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_FALSE(contains(r.err, "0/5")) << lastRun;
}

// ---- passwords, permissions, names, failures --------------------------------------

TEST_F(E2E, PasswordOptionOpensTheInputOfAShortcut)
{
  write("plain.pdf", {withRect(page(), {100, 100, 200, 200})});
  std::string why;
  ASSERT_TRUE(gen::encryptWithQpdf(path("plain.pdf"), path("locked.pdf"), "user", "owner", true, &why))
      << why;
  RunResult none = folio({"--crop-bbox", "each", path("locked.pdf"), "-o", path("out.pdf")});
  EXPECT_EQ(none.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(none.err, "is protected by a password and none was given")) << lastRun;
  RunResult r =
      folio({"--crop-bbox", "each", "--password", "user", path("locked.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  expectBoxNear(boxes(path("out.pdf"), 1, "user")[0].crop, {100, 100, 200, 200}, 0.25, lastRun);
}

TEST_F(E2E, PasswordOptionReadsStandardInputForADash)
{
  write("plain.pdf", {withRect(page(), {100, 100, 200, 200})});
  std::string why;
  ASSERT_TRUE(gen::encryptWithQpdf(path("plain.pdf"), path("locked.pdf"), "pass word", "owner", true, &why))
      << why;
  RunResult r =
      folio({"--crop-region", "72 72 400 500", "--password", "-", path("locked.pdf"), "-o", path("out.pdf")},
            "pass word\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_BOX(boxes(path("out.pdf"), 1, "pass word")[0].crop, 72, 72, 400, 500);
  // The password is not printed.
  EXPECT_FALSE(contains(r.out + r.err, "pass word")) << lastRun;
  RunResult wrong =
      folio({"--crop-region", "72 72 400 500", "--password", "-", path("locked.pdf"), "-o", path("out2.pdf")},
            "guess\r\n");
  EXPECT_EQ(wrong.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(wrong.err, "is wrong")) << lastRun;
  EXPECT_FALSE(e2e::fileExists(path("out2.pdf")));
  RunResult empty =
      folio({"--crop-bbox", "each", "--password", "-", path("locked.pdf"), "-o", path("o3.pdf")});
  EXPECT_EQ(empty.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(empty.err, "folio: --password -: no password on standard input")) << lastRun;
}

TEST_F(E2E, PasswordOptionGoesWithAShortcutOnly)
{
  RunResult r = folio({"--run", "show-boxes", "--password", "x"});
  EXPECT_EQ(r.exitCode, 2) << lastRun;
  EXPECT_TRUE(contains(r.err, "--password goes with a shortcut")) << lastRun;
}

TEST_F(E2E, OwnerPasswordOfAFileWithAnEmptyUserPasswordGrantsChanges)
{
  write("plain.pdf", {withRect(page(), {100, 100, 200, 200})});
  std::string why;
  ASSERT_TRUE(gen::encryptWithQpdf(path("plain.pdf"), path("locked.pdf"), "", "owner", false, &why)) << why;
  // Without the owner password the file opens, but may not be changed: the
  // refusal says why.
  RunResult plain = script("open " + path("locked.pdf") + "\nbutton QUIL:PageShear\n");
  EXPECT_EQ(plain.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(plain.err, "folio: -:2: tool bar button \"QUIL:PageShear\" is disabled: the document "
                                  "does not allow changes (its permissions forbid modifying it)"))
      << lastRun;
  // A password that is not the owner's: opened with the restricted rights, and told so.
  RunResult other = script("open " + path("locked.pdf") + " guess\nshow-boxes\n");
  EXPECT_EQ(other.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(other.out, "note: the password given is not the owner password")) << lastRun;
  // With it, in a script and on the command line, the crop is made.
  RunResult r = script("open " + path("locked.pdf") +
                       " owner\nanswer All|Current\nmenu QUIL:PageShearBBox\nsave " + path("out.pdf") + "\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  expectBoxNear(boxes(path("out.pdf"), 1)[0].crop, {100, 100, 200, 200}, 0.25, lastRun);
  RunResult c =
      folio({"--crop-bbox", "each", "--password", "owner", path("locked.pdf"), "-o", path("out2.pdf")});
  ASSERT_EQ(c.exitCode, 0) << lastRun;
  expectBoxNear(boxes(path("out2.pdf"), 1)[0].crop, {100, 100, 200, 200}, 0.25, lastRun);
}

TEST_F(E2E, AModifyForbiddenDocumentSaysWhyACommandIsRefused)
{
  write("plain.pdf", {page(), page()});
  std::string why;
  ASSERT_TRUE(gen::encryptWithQpdf(path("plain.pdf"), path("locked.pdf"), "user", "owner", false, &why))
      << why;
  const std::string reason = ": the document does not allow changes (its permissions forbid modifying it)";
  RunResult m = script("open " + path("locked.pdf") + " user\nanswer All\nmenu QUIL:PageShearMediaBox\n");
  EXPECT_EQ(m.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(m.err, "folio: -:3: menu item \"QUIL:PageShearMediaBox\" is disabled" + reason))
      << lastRun;
  RunResult s = folio({"--crop-bbox", "each", "--password", "user", path("locked.pdf"), "-o", path("o.pdf")});
  EXPECT_EQ(s.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(s.err, reason)) << lastRun;
  EXPECT_FALSE(e2e::fileExists(path("o.pdf")));
}

TEST_F(E2E, AnAes256FileWithAnEmptyUserPasswordOpensWithoutOne)
{
  write("plain.pdf", {withRect(page(), {100, 100, 200, 200}), page()});
  std::string why;
  ASSERT_TRUE(gen::encryptWithQpdf(path("plain.pdf"), path("aes.pdf"), "", "owner", true, &why)) << why;
  RunResult r = folio({"--crop-bbox", "each", path("aes.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "(2 pages)")) << lastRun;
  expectBoxNear(boxes(path("out.pdf"), 2)[0].crop, {100, 100, 200, 200}, 0.25, lastRun);
}

TEST_F(E2E, ControlBytesOfFileNamesNeverReachTheTerminal)
{
  // ESC [ 2 J clears a terminal; CR rewrites the line.
  const std::string name = "a\x1b[2Jb\rc.pdf";
  write(name, {page()});
  RunResult r = script("open \"" + path(name) + "\"\nsave \"" + path("o\x1b]0;x\a.pdf") + "\"\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "opened: " + path("a\\x1b[2Jb\\x0dc.pdf") + " (1 page)\n")) << lastRun;
  EXPECT_TRUE(contains(r.out, "saved: " + path("o\\x1b]0;x\\x07.pdf") + "\n")) << lastRun;
  RunResult missing = folio({"--crop-bbox", "each", path("no\x1b[2Jsuch\r.pdf"), "-o", path("x.pdf")});
  EXPECT_EQ(missing.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(missing.err, "The file \"no\\x1b[2Jsuch\\x0d.pdf\" does not exist.")) << lastRun;
  for (const RunResult *x : {&r, &missing})
    for (char c : x->out + x->err)
      EXPECT_FALSE(c == '\x1b' || c == '\r' || c == '\a') << lastRun;
}

TEST_F(E2E, ADamagedPageTreeEndsWithAMessageNeverAnAbort)
{
  // Page 1 is a page; the tree's second kid is a node whose only kid is
  // itself, and the root claims three pages.
  const std::vector<std::string> objects = {"<< /Type /Catalog /Pages 2 0 R >>",
                                            "<< /Type /Pages /Kids [3 0 R 4 0 R] /Count 3 >>",
                                            "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] >>",
                                            "<< /Type /Pages /Parent 2 0 R /Kids [4 0 R] /Count 2 >>"};
  std::string pdf = "%PDF-1.7\n";
  std::vector<size_t> offsets;
  for (size_t i = 0; i < objects.size(); ++i) {
    offsets.push_back(pdf.size());
    pdf += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
  }
  const size_t xref = pdf.size();
  pdf += "xref\n0 " + std::to_string(objects.size() + 1) + "\n0000000000 65535 f \n";
  for (size_t o : offsets) {
    char line[32];
    std::snprintf(line, sizeof line, "%010zu 00000 n \n", o);
    pdf += line;
  }
  pdf += "trailer\n<< /Size " + std::to_string(objects.size() + 1) + " /Root 1 0 R >>\nstartxref\n" +
         std::to_string(xref) + "\n%%EOF\n";
  e2e::writeFile(path("cycle.pdf"), pdf);
  for (const std::string &run : {"open " + path("cycle.pdf") + "; page 2; show-boxes",
                                 "open " + path("cycle.pdf") + "; page 3; zoom 200; show-boxes"}) {
    RunResult r = folio({"--run", run});
    // Exit status 1 and one message naming the step: never a signal.
    EXPECT_EQ(r.exitCode, 1) << lastRun;
    EXPECT_TRUE(contains(r.err, "folio: --run:2: ")) << lastRun;
    EXPECT_FALSE(contains(r.out, "page 1: media")) << lastRun; // the run stopped there
  }
  RunResult s =
      folio({"--reset-media-box", "current", "--page", "2", path("cycle.pdf"), "-o", path("o.pdf")});
  EXPECT_EQ(s.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(s.err, "folio: --reset-media-box:")) << lastRun;
  EXPECT_EQ(e2e::readFile(path("cycle.pdf")), pdf); // the input is as it was
}

// The viewer's navigation commands in a script: Go To Page takes its number
// from an answer, a key turns back a page, and the plug-in's crop of the
// current page lands on the page they went to.
TEST_F(E2E, ViewerCommandsAndKeysChooseThePageTheCropGoesTo)
{
  write("in.pdf", {page(), page(), page(), page()});
  RunResult r = script("open " + path("in.pdf") +
                       "\nanswer 3\nmenu GoToPage\nkey Prior\nbutton QUIL:PageShear\ndrag 72 720 540 72\n"
                       "answer Current\nclick 306 396\nsave " +
                       path("out.pdf") + "\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "question: Go to page (1 - 4) -> 3\n")) << lastRun;
  auto b = boxes(path("out.pdf"), 4);
  ASSERT_EQ(b.size(), 4u);
  EXPECT_FALSE(b[0].hasCropBox);
  EXPECT_BOX(b[1].crop, 72, 72, 540, 720);
  EXPECT_FALSE(b[2].hasCropBox);
  EXPECT_FALSE(b[3].hasCropBox);
}
