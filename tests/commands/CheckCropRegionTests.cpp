// CheckCropRegionTests.cpp: the one-inch rules, the page-range questions and
// the single-page crop of the drawn region, reached through the crop tool's
// click inside the region.
#include "CommandsSupport.h"

namespace cmdtest {
namespace {

// What every application of the region starts with: the document, its view
// and page, the cancel test and progress monitor fetched afresh, the region
// converted to device space.
std::vector<std::string> prologue(const std::string &region)
{
  return {"FVAppGetActiveDoc()",
          "FVDocGetPDDoc(fvdoc0)",
          "FVDocGetPageView(fvdoc0)",
          "FVPageViewGetPage(view0)",
          "FVAppGetCancelProc(ptr)",
          "FVAppGetDocProgressMonitor(ptr)",
          "FVPageViewRectToDevice(view0, " + region + ")"};
}

const char *const kOverlapNote =
    "FVAlertNote(\"Crop region must include at least 1 inch by 1 inch of media box region.\")";
const char *const kSizeNote = "FVAlertNote(\"Minimum crop region is 1 inch by 1 inch.\")";
const char *const kOnePageQuestion = "FVAlert(3, \"Crop this page?\", \"Current\", \"Cancel\", null, 0)";
const char *const kPagesQuestion = "FVAlert(3, \"Pages to crop?\", \"Current\", \"All\", \"Cancel\", 0)";

class CommandsCheckCropRegion : public CommandsTest {};

// ---- the one-inch rules ------------------------------------------------------------

TEST_F(CommandsCheckCropRegion, RegionOverlappingMediaBoxByLessThanAnInchIsRefused)
{
  makeDoc(3);
  FixedRect region = pts(-100, 700, 50, 500); // 50 points over the left edge
  applyRegion(region);
  std::vector<std::string> want = prologue(R(region));
  want.push_back(kOverlapNote);
  EXPECT_EQ(cropLog(), want) << dump();
  EXPECT_FALSE(regionDropped()) << "a refused region stays on screen";
  EXPECT_EQ(host.log.count("PDPageSetCropBox"), 0u);
}

TEST_F(CommandsCheckCropRegion, RegionOverlappingMediaBoxByExactlyAnInchPasses)
{
  makeDoc(3);
  host.alertAnswers = {3}; // "Cancel"
  FixedRect region = pts(-100, 700, 72, 500);
  applyRegion(region);
  std::vector<std::string> want = prologue(R(region));
  append(want, {"PDDocGetNumPages(doc0)", kPagesQuestion});
  EXPECT_EQ(cropLog(), want) << dump();
  EXPECT_TRUE(regionDropped());
}

TEST_F(CommandsCheckCropRegion, RegionOverlappingTopEdgeByOneUnitUnderAnInchIsRefused)
{
  makeDoc(3);
  // Bottom at 720 + 1/65536: one unit less than an inch inside the top edge.
  FixedRect region{100 << 16, 900 << 16, 300 << 16, (720 << 16) + 1};
  applyRegion(region);
  std::vector<std::string> want = prologue(R(region));
  want.push_back(kOverlapNote);
  EXPECT_EQ(cropLog(), want) << dump();
  EXPECT_FALSE(regionDropped());
}

TEST_F(CommandsCheckCropRegion, RegionOfExactlyOneInchSquareIsAcceptedAndCropped)
{
  makeDoc(1);
  host.alertAnswers = {1}; // "Current"
  FixedRect region = pts(100, 700, 172, 628);
  applyRegion(region);
  std::vector<std::string> want = prologue(R(region));
  append(want, {"PDDocGetNumPages(doc0)", kOnePageQuestion, "CancelProc(canceldata)",
                "FVPageViewGetPageNum(view0)"});
  append(want, regionPageCalls(0, "{100,700,172,628}"));
  EXPECT_EQ(cropLog(), want) << dump();
  EXPECT_TRUE(regionDropped());
  EXPECT_EQ(R(page(0).cropBox), "{100,700,172,628}");
}

TEST_F(CommandsCheckCropRegion, RegionOneUnitNarrowerThanAnInchGetsTheSizeNote)
{
  makeDoc(1);
  FixedRect region{100 << 16, 700 << 16, (100 << 16) + kJustUnderOneInch, 600 << 16};
  applyRegion(region);
  std::vector<std::string> want = prologue("{100,700,171.9999847412109375,600}");
  want.push_back(kSizeNote);
  EXPECT_EQ(cropLog(), want) << dump();
  EXPECT_FALSE(regionDropped());
  EXPECT_EQ(host.log.count("FVAlert"), 0u);
}

TEST_F(CommandsCheckCropRegion, RegionOneUnitLowerThanAnInchGetsTheSizeNote)
{
  makeDoc(1);
  FixedRect region{100 << 16, (600 << 16) + kJustUnderOneInch, 300 << 16, 600 << 16};
  applyRegion(region);
  std::vector<std::string> want = prologue("{100,671.9999847412109375,300,600}");
  want.push_back(kSizeNote);
  EXPECT_EQ(cropLog(), want) << dump();
  EXPECT_FALSE(regionDropped());
}

TEST_F(CommandsCheckCropRegion, RegionTooNarrowAndTooLowGetsTheSizeNoteOnce)
{
  makeDoc(1);
  FixedRect region = pts(100, 700, 150, 650);
  applyRegion(region);
  std::vector<std::string> want = prologue(R(region));
  want.push_back(kSizeNote);
  EXPECT_EQ(cropLog(), want) << dump();
}

TEST_F(CommandsCheckCropRegion, RegionWhollyOutsideMediaBoxGetsTheOverlapNoteNotTheSizeNote)
{
  makeDoc(1);
  FixedRect region = pts(700, 100, 710, 90); // 10 x 10, right of the page
  applyRegion(region);
  std::vector<std::string> want = prologue(R(region));
  want.push_back(kOverlapNote);
  EXPECT_EQ(cropLog(), want) << dump();
}

TEST_F(CommandsCheckCropRegion, RefusedRegionIsRefusedAgainOnTheNextClick)
{
  makeDoc(1);
  FixedRect region = pts(100, 700, 150, 600);
  applyRegion(region);
  clickInsideRegion();
  std::vector<std::string> want = prologue(R(region));
  want.push_back(kSizeNote);
  EXPECT_EQ(cropLog(), want) << dump();
  EXPECT_EQ(host.log.count("FVAlertNote"), 2u);
}

// ---- one-page documents ------------------------------------------------------------

TEST_F(CommandsCheckCropRegion, OnePageDocumentAnsweredCancelCropsNothingAndDropsRegion)
{
  makeDoc(1);
  host.alertAnswers = {2};
  FixedRect region = pts(100, 700, 300, 500);
  applyRegion(region);
  std::vector<std::string> want = prologue(R(region));
  append(want, {"PDDocGetNumPages(doc0)", kOnePageQuestion});
  EXPECT_EQ(cropLog(), want) << dump();
  EXPECT_TRUE(regionDropped());
  EXPECT_EQ(host.cancelPolls, 0);
}

TEST_F(CommandsCheckCropRegion, OnePageDocumentQuestionDismissedCropsNothingAndDropsRegion)
{
  makeDoc(1);
  host.alertAnswers = {0};
  FixedRect region = pts(100, 700, 300, 500);
  applyRegion(region);
  std::vector<std::string> want = prologue(R(region));
  append(want, {"PDDocGetNumPages(doc0)", kOnePageQuestion});
  EXPECT_EQ(cropLog(), want) << dump();
  EXPECT_TRUE(regionDropped());
}

TEST_F(CommandsCheckCropRegion, OnePageDocumentCancelledBeforeTheCropShowsCancelled)
{
  makeDoc(1);
  host.alertAnswers = {1};
  cancelAtNextPoll(1);
  FixedRect region = pts(100, 700, 300, 500);
  applyRegion(region);
  std::vector<std::string> want = prologue(R(region));
  append(want, {"PDDocGetNumPages(doc0)", kOnePageQuestion, "CancelProc(canceldata)",
                "FVAlertNote(\"Cancelled.\")"});
  EXPECT_EQ(cropLog(), want) << dump();
  EXPECT_TRUE(regionDropped());
  EXPECT_EQ(R(page(0).cropBox), "{0,792,612,0}");
}

TEST_F(CommandsCheckCropRegion, OnePageDocumentCurrentCropsWithFullHostCallSequence)
{
  makeDoc(1);
  host.alertAnswers = {1};
  FixedRect region = pts(100, 700, 300, 500);
  applyRegion(region);
  // Including the host's divisions: half extents of the drawn page's media
  // box and of the page's, then again inside the carry-over of the region.
  std::vector<std::string> want = prologue(R(region));
  append(want, {"PDDocGetNumPages(doc0)",
                kOnePageQuestion,
                "CancelProc(canceldata)",
                "FVPageViewGetPageNum(view0)",
                "FVAppGetActiveDoc()",
                "FVDocGetPDDoc(fvdoc0)",
                "PDDocAcquirePage(doc0, 0)",
                "PDPageGetMediaBox(page0)",
                "PDPageGetRotate(page0)",
                "FixedDiv(612, 2)",
                "FixedDiv(792, 2)",
                "FixedDiv(612, 2)",
                "FixedDiv(792, 2)",
                "FixedDiv(612, 2)",
                "FixedDiv(792, 2)",
                "FixedDiv(612, 2)",
                "FixedDiv(792, 2)",
                "PDPageSetCropBox(page0, {100,700,300,500})",
                "PDPageNotifyContentsDidChange(page0)",
                "PDPageRelease(page0)"});
  EXPECT_EQ(cropLog(true), want) << dump();
  EXPECT_EQ(page(0).setCropBoxes, 1);
  EXPECT_EQ(page(0).notifications, 1);
}

TEST_F(CommandsCheckCropRegion, OnePageDocumentPageThatFailsIsLeftWithoutAnyNote)
{
  makeDoc(1);
  FixedRect region = pts(100, 700, 300, 500);
  drawRegion(region);
  // The page turns to 270 after the region was drawn at 0: no case carries
  // the region over; a single page gets no summary.
  page(0).rotate = 270;
  host.alertAnswers = {1};
  clickInsideRegion();
  std::vector<std::string> want = prologue(R(region));
  append(want, {"PDDocGetNumPages(doc0)", kOnePageQuestion, "CancelProc(canceldata)",
                "FVPageViewGetPageNum(view0)"});
  append(want, regionPageCalls(0, ""));
  EXPECT_EQ(cropLog(), want) << dump();
  EXPECT_TRUE(regionDropped());
}

// ---- documents of several pages --------------------------------------------------------

TEST_F(CommandsCheckCropRegion, SeveralPagesAnsweredCancelCropsNothingAndDropsRegion)
{
  makeDoc(3);
  host.alertAnswers = {3};
  FixedRect region = pts(100, 700, 300, 500);
  applyRegion(region);
  std::vector<std::string> want = prologue(R(region));
  append(want, {"PDDocGetNumPages(doc0)", kPagesQuestion});
  EXPECT_EQ(cropLog(), want) << dump();
  EXPECT_TRUE(regionDropped());
  EXPECT_EQ(host.cancelPolls, 0);
}

TEST_F(CommandsCheckCropRegion, SeveralPagesQuestionDismissedCropsNothingAndDropsRegion)
{
  makeDoc(3);
  host.alertAnswers = {0};
  FixedRect region = pts(100, 700, 300, 500);
  applyRegion(region);
  std::vector<std::string> want = prologue(R(region));
  append(want, {"PDDocGetNumPages(doc0)", kPagesQuestion});
  EXPECT_EQ(cropLog(), want) << dump();
  EXPECT_TRUE(regionDropped());
}

TEST_F(CommandsCheckCropRegion, SeveralPagesCurrentCropsOnlyThePageShownInTheView)
{
  makeDoc(4);
  FixedRect region = pts(100, 700, 300, 500);
  drawRegion(region);
  host.viewOf(host.pageView(0))->pageNum = 2;
  host.alertAnswers = {1};
  clickInsideRegion();
  std::vector<std::string> want = prologue(R(region));
  append(want,
         {"PDDocGetNumPages(doc0)", kPagesQuestion, "CancelProc(canceldata)", "FVPageViewGetPageNum(view0)"});
  append(want, regionPageCalls(2, "{100,700,300,500}"));
  EXPECT_EQ(cropLog(), want) << dump();
  EXPECT_EQ(R(page(2).cropBox), "{100,700,300,500}");
  EXPECT_EQ(page(0).setCropBoxes + page(1).setCropBoxes + page(3).setCropBoxes, 0);
  EXPECT_EQ(host.log.count("PM.beginOperation"), 0u);
  EXPECT_EQ(host.log.count("FSmalloc"), 0u);
}

TEST_F(CommandsCheckCropRegion, SeveralPagesCurrentCancelledShowsCancelled)
{
  makeDoc(3);
  host.alertAnswers = {1};
  cancelAtNextPoll(1);
  FixedRect region = pts(100, 700, 300, 500);
  applyRegion(region);
  std::vector<std::string> want = prologue(R(region));
  append(want,
         {"PDDocGetNumPages(doc0)", kPagesQuestion, "CancelProc(canceldata)", "FVAlertNote(\"Cancelled.\")"});
  EXPECT_EQ(cropLog(), want) << dump();
  EXPECT_TRUE(regionDropped());
}

TEST_F(CommandsCheckCropRegion, CurrentCropOfMismatchedPageBeforeAnyAllPagesRunAsksNothing)
{
  makeDoc(2);
  page(1).mediaBox = pts(0, 612, 792, 0); // landscape
  FixedRect region = pts(100, 700, 300, 500);
  drawRegion(region);
  host.viewOf(host.pageView(0))->pageNum = 1;
  host.alertAnswers = {1};
  clickInsideRegion();
  std::vector<std::string> want = prologue(R(region));
  append(want,
         {"PDDocGetNumPages(doc0)", kPagesQuestion, "CancelProc(canceldata)", "FVPageViewGetPageNum(view0)"});
  append(want, regionPageCalls(1, ""));
  EXPECT_EQ(cropLog(), want) << dump();
  EXPECT_EQ(host.log.count("FVAlertNote"), 0u);
}

TEST_F(CommandsCheckCropRegion, MissingCancelTestReadsAsGoOn)
{
  makeDoc(1);
  host.cancelProcAbsent = true;
  host.alertAnswers = {1};
  FixedRect region = pts(100, 700, 300, 500);
  applyRegion(region);
  EXPECT_EQ(R(page(0).cropBox), "{100,700,300,500}") << dump();
}

} // namespace
} // namespace cmdtest
