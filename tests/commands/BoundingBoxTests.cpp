// BoundingBoxTests.cpp: "&Crop Page(s) to Bounding Box": the current page,
// every page to its own bounding box ("Each"), or every page to the union of
// all bounding boxes ("Biggest"), each clipped to the page's media box; with
// progress, cancel and undo. Reached through the menu item, as the host does.
#include "CommandsSupport.h"

namespace cmdtest {
namespace {

const char *const kItem = "QUIL:PageShearBBox";
const char *const kPagesQuestion =
    "FVAlert(3, \"Crop which pages to page bounding box?\", \"Current\", \"All\", \"Cancel\", 0)";
const char *const kModeQuestion =
    "FVAlert(3, \"Crop pages to individual bounding boxes or all pages to biggest "
    "bounding box?\", \"Each\", \"Biggest\", null, 0)";
const char *const kCancelled = "FVAlertNote(\"Cancelled.\")";
const char *const kZero = "{0,0,0,0}";
// The default page: media box {0,792,612,0}, bounding box {72,720,540,72}.
const char *const kDefaultBBox = "{72,720,540,72}";

std::string oldBox(int i)
{
  return "{" + std::to_string(10 + i) + ",780," + std::to_string(600 - i) + ",12}";
}
std::string n(int i)
{
  return std::to_string(i);
}

class CommandsBBox : public CommandsTest {
protected:
  void makePages(int count)
  {
    makeDoc(count);
    for (int i = 0; i < count; ++i)
      page(i).cropBox = pts(10 + i, 780, 600 - i, 12);
  }

  std::vector<std::string> prologue() const
  {
    return {"FVAppGetActiveDoc()", "FVDocGetPDDoc(fvdoc0)", "FVAppGetCancelProc(ptr)",
            "FVAppGetDocProgressMonitor(ptr)", "PDDocGetNumPages(doc0)"};
  }

  // The all-pages start: the question, the count asked again, the mode
  // question, the progress start and the allocation.
  std::vector<std::string> allStart(int count) const
  {
    std::vector<std::string> v = prologue();
    append(v, {kPagesQuestion, "PDDocGetNumPages(doc0)", kModeQuestion, "PM.beginOperation(pmdata)",
               "PM.setDuration(" + n(count) + ", pmdata)", "PM.setCurrValue(0, pmdata)",
               "FSmalloc(" + n(count * 16) + ")"});
    return v;
  }

  // One page of "Each" or of the second "Biggest" pass.
  std::vector<std::string> eachPage(int i, const std::string &box, bool saved = true) const
  {
    std::string p = pageName(i);
    std::vector<std::string> v = {"PM.setCurrValue(" + n(i) + ", pmdata)", "CancelProc(canceldata)",
                                  "PDDocAcquirePage(doc0, " + n(i) + ")"};
    if (saved)
      v.push_back("PDPageGetCropBox(" + p + ")");
    v.push_back("PDPageGetBBox(" + p + ")");
    append(v, {"PDPageGetMediaBox(" + p + ")", "PDPageSetCropBox(" + p + ", " + box + ")",
               "PDPageNotifyContentsDidChange(" + p + ")", "PDPageRelease(" + p + ")"});
    return v;
  }
  std::vector<std::string> biggestPage(int i, const std::string &box, bool saved = true) const
  {
    std::string p = pageName(i);
    std::vector<std::string> v = {"PM.setCurrValue(" + n(i) + ", pmdata)", "CancelProc(canceldata)",
                                  "PDDocAcquirePage(doc0, " + n(i) + ")"};
    if (saved)
      v.push_back("PDPageGetCropBox(" + p + ")");
    append(v, {"PDPageGetMediaBox(" + p + ")", "PDPageSetCropBox(" + p + ", " + box + ")",
               "PDPageNotifyContentsDidChange(" + p + ")", "PDPageRelease(" + p + ")"});
    return v;
  }
  // The measuring pass of "Biggest" over `count` pages, up to (not
  // including) the poll at index `cancelAt` (count for no cancel).
  std::vector<std::string> measure(int count, int cancelAt) const
  {
    std::vector<std::string> v = {"PDDocAcquirePage(doc0, 0)", "PDPageGetBBox(page0)",
                                  "PDPageRelease(page0)"};
    for (int i = 1; i < count && i < cancelAt; ++i)
      append(v, {"PM.setCurrValue(" + n(i) + ", pmdata)", "CancelProc(canceldata)",
                 "PDDocAcquirePage(doc0, " + n(i) + ")", "PDPageGetBBox(" + pageName(i) + ")",
                 "PDPageRelease(" + pageName(i) + ")"});
    return v;
  }
  std::vector<std::string> secondStart(int count) const
  {
    return {"PM.endOperation(pmdata)", "PM.beginOperation(pmdata)",
            "PM.setDuration(" + n(count) + ", pmdata)", "PM.setCurrValue(0, pmdata)"};
  }

  std::string block() const
  {
    for (const testhost::Call &c : host.log.calls())
      if (c.op == "FSmalloc")
        return c.result;
    return "none";
  }
};

// ---- current page --------------------------------------------------------------------------

TEST_F(CommandsBBox, OnePageDocumentIsCroppedWithoutAnyQuestion)
{
  makePages(1);
  runItem(kItem);
  std::vector<std::string> want = prologue();
  append(want, {"CancelProc(canceldata)", "FVDocGetPageView(fvdoc0)", "FVPageViewGetPageNum(view0)",
                "PDDocAcquirePage(doc0, 0)", "PDPageGetBBox(page0)", "PDPageGetMediaBox(page0)",
                "PDPageSetCropBox(page0, {72,720,540,72})", "PDPageNotifyContentsDidChange(page0)",
                "PDPageRelease(page0)"});
  EXPECT_EQ(afterLog(), want) << dump();
  EXPECT_EQ(R(page(0).cropBox), kDefaultBBox);
}

TEST_F(CommandsBBox, OnePageDocumentCancelledStopsSilently)
{
  makePages(1);
  cancelAtNextPoll(1);
  runItem(kItem);
  std::vector<std::string> want = prologue();
  want.push_back("CancelProc(canceldata)");
  EXPECT_EQ(afterLog(), want) << dump();
  EXPECT_EQ(R(page(0).cropBox), oldBox(0));
}

TEST_F(CommandsBBox, CurrentCropsOnlyThePageShownInTheView)
{
  makePages(3);
  host.viewOf(host.pageView(0))->pageNum = 2;
  page(2).bbox = pts(30, 600, 400, 40);
  host.alertAnswers = {1};
  runItem(kItem);
  std::vector<std::string> want = prologue();
  append(want, {kPagesQuestion, "CancelProc(canceldata)", "FVDocGetPageView(fvdoc0)",
                "FVPageViewGetPageNum(view0)", "PDDocAcquirePage(doc0, 2)", "PDPageGetBBox(page2)",
                "PDPageGetMediaBox(page2)", "PDPageSetCropBox(page2, {30,600,400,40})",
                "PDPageNotifyContentsDidChange(page2)", "PDPageRelease(page2)"});
  EXPECT_EQ(afterLog(), want) << dump();
  EXPECT_EQ(R(page(0).cropBox), oldBox(0));
}

TEST_F(CommandsBBox, CurrentCancelledShowsNoCancelledNote)
{
  makePages(3);
  host.alertAnswers = {1};
  cancelAtNextPoll(1);
  runItem(kItem);
  std::vector<std::string> want = prologue();
  append(want, {kPagesQuestion, "CancelProc(canceldata)"});
  EXPECT_EQ(afterLog(), want) << dump();
}

TEST_F(CommandsBBox, AnsweredCancelDoesNothing)
{
  makePages(3);
  host.alertAnswers = {3};
  runItem(kItem);
  std::vector<std::string> want = prologue();
  want.push_back(kPagesQuestion);
  EXPECT_EQ(afterLog(), want) << dump();
}

TEST_F(CommandsBBox, DismissedQuestionDoesNothing)
{
  makePages(3);
  host.alertAnswers = {0};
  runItem(kItem);
  std::vector<std::string> want = prologue();
  want.push_back(kPagesQuestion);
  EXPECT_EQ(afterLog(), want) << dump();
}

TEST_F(CommandsBBox, BoundingBoxPastTheMediaBoxTakesTheMediaBoxOnThoseSides)
{
  makePages(1);
  page(0).bbox = pts(-20, 700, 300, -5); // past the left and bottom edges
  runItem(kItem);
  EXPECT_EQ(R(page(0).cropBox), "{0,700,300,0}") << dump();
}

TEST_F(CommandsBBox, BoundingBoxPastEverySideBecomesTheMediaBox)
{
  makePages(1);
  page(0).bbox = pts(-20, 800, 700, -5);
  runItem(kItem);
  EXPECT_EQ(R(page(0).cropBox), "{0,792,612,0}") << dump();
}

TEST_F(CommandsBBox, EmptyBoundingBoxIsSetAsItIs)
{
  makePages(1);
  page(0).bbox = pts(0, 0, 0, 0);
  runItem(kItem);
  EXPECT_EQ(R(page(0).cropBox), kZero) << dump();
  EXPECT_EQ(page(0).setCropBoxes, 1);
}

TEST_F(CommandsBBox, BoundingBoxAboveThePageIsClippedAndSetInverted)
{
  makePages(1);
  page(0).bbox = pts(700, 900, 800, 850); // wholly above and right of the page
  runItem(kItem);
  // Top and right are cut to the media box; nothing else is tested.
  EXPECT_EQ(R(page(0).cropBox), "{700,792,612,850}") << dump();
  EXPECT_EQ(afterCount("FVAlertNote"), 0u);
}

TEST_F(CommandsBBox, CropBoxMayGrowBeyondThePreviousCropBox)
{
  makePages(1);
  page(0).cropBox = pts(200, 500, 300, 400);
  runItem(kItem);
  EXPECT_EQ(R(page(0).cropBox), kDefaultBBox) << dump();
}

// ---- "Each" -------------------------------------------------------------------------------

TEST_F(CommandsBBox, EachGivesTheFullProgressAndCropSequence)
{
  makePages(3);
  page(1).bbox = pts(-20, 700, 300, 100);
  host.alertAnswers = {2, 1};
  runItem(kItem);
  std::vector<std::string> want = allStart(3);
  append(want, eachPage(0, kDefaultBBox));
  append(want, eachPage(1, "{0,700,300,100}"));
  append(want, eachPage(2, kDefaultBBox));
  append(want, {"PM.endOperation(pmdata)", "FSfree(" + block() + ")"});
  EXPECT_EQ(afterLog(), want) << dump();
  EXPECT_TRUE(host.liveBlocks.empty());
}

TEST_F(CommandsBBox, EachCancelAtTheFirstPageGivesItTheAllZeroBox)
{
  makePages(3);
  host.alertAnswers = {2, 1};
  cancelAtNextPoll(1);
  runItem(kItem);
  std::vector<std::string> want = allStart(3);
  append(want, {"PM.setCurrValue(0, pmdata)", "CancelProc(canceldata)"});
  append(want, setPageCalls(0, kZero));
  append(want, {kCancelled, "PM.endOperation(pmdata)", "FSfree(" + block() + ")"});
  EXPECT_EQ(afterLog(), want) << dump();
  EXPECT_EQ(R(page(1).cropBox), oldBox(1));
}

TEST_F(CommandsBBox, EachCancelAtIndex2RestoresPages0And1AndZeroesPage2)
{
  makePages(4);
  host.alertAnswers = {2, 1};
  cancelAtNextPoll(3);
  runItem(kItem);
  std::vector<std::string> want = allStart(4);
  append(want, eachPage(0, kDefaultBBox));
  append(want, eachPage(1, kDefaultBBox));
  append(want, {"PM.setCurrValue(2, pmdata)", "CancelProc(canceldata)"});
  append(want, setPageCalls(0, oldBox(0)));
  append(want, setPageCalls(1, oldBox(1)));
  append(want, setPageCalls(2, kZero));
  append(want, {kCancelled, "PM.endOperation(pmdata)", "FSfree(" + block() + ")"});
  EXPECT_EQ(afterLog(), want) << dump();
  EXPECT_EQ(R(page(0).cropBox), oldBox(0));
  EXPECT_EQ(R(page(1).cropBox), oldBox(1));
  EXPECT_EQ(R(page(2).cropBox), kZero);
  EXPECT_EQ(R(page(3).cropBox), oldBox(3));
}

TEST_F(CommandsBBox, EachCancelAtTheLastPageRestoresAllBeforeIt)
{
  makePages(3);
  host.alertAnswers = {2, 1};
  cancelAtNextPoll(3);
  runItem(kItem);
  EXPECT_EQ(R(page(0).cropBox), oldBox(0)) << dump();
  EXPECT_EQ(R(page(1).cropBox), oldBox(1));
  EXPECT_EQ(R(page(2).cropBox), kZero);
  EXPECT_EQ(afterOf("FVAlertNote"), std::vector<std::string>{kCancelled});
  EXPECT_EQ(afterCount("PM.endOperation"), 1u);
}

TEST_F(CommandsBBox, EachFailedAllocationCropsWithoutSaving)
{
  makePages(2);
  host.mallocFails = true;
  host.alertAnswers = {2, 1};
  runItem(kItem);
  std::vector<std::string> want = allStart(2);
  append(want, eachPage(0, kDefaultBBox, false));
  append(want, eachPage(1, kDefaultBBox, false));
  want.push_back("PM.endOperation(pmdata)");
  EXPECT_EQ(afterLog(), want) << dump();
}

TEST_F(CommandsBBox, EachFailedAllocationThenCancelVisitsThePagesWithoutChangingThem)
{
  // The restoration runs over the missing array: pages 0 and 1 are
  // acquired, notified and released, and keep the boxes they have.
  makePages(3);
  host.mallocFails = true;
  host.alertAnswers = {2, 1};
  cancelAtNextPoll(2);
  runItem(kItem);
  std::vector<std::string> want = allStart(3);
  append(want, eachPage(0, kDefaultBBox, false));
  append(want, {"PM.setCurrValue(1, pmdata)", "CancelProc(canceldata)", "PDDocAcquirePage(doc0, 0)",
                "PDPageNotifyContentsDidChange(page0)", "PDPageRelease(page0)", "PDDocAcquirePage(doc0, 1)",
                "PDPageNotifyContentsDidChange(page1)", "PDPageRelease(page1)", kCancelled,
                "PM.endOperation(pmdata)"});
  EXPECT_EQ(afterLog(), want) << dump();
  EXPECT_EQ(R(page(0).cropBox), kDefaultBBox);
  EXPECT_EQ(R(page(1).cropBox), oldBox(1));
}

TEST_F(CommandsBBox, EachWithoutAProgressMonitorMakesNoProgressCalls)
{
  makePages(2);
  host.progressMonitorAbsent = true;
  host.alertAnswers = {2, 1};
  runItem(kItem);
  EXPECT_EQ(afterCount("PM.beginOperation") + afterCount("PM.setCurrValue") + afterCount("PM.endOperation"),
            0u);
  EXPECT_EQ(R(page(1).cropBox), kDefaultBBox) << dump();
}

// ---- "Biggest" ---------------------------------------------------------------------------------

class CommandsBBoxBiggest : public CommandsBBox {
protected:
  // Page 1 is small ({0,400,300,0}); the union of {72,720,540,72},
  // {20,380,280,10} and {50,700,560,100} is {20,720,560,10}.
  void makeMixed()
  {
    makePages(3);
    page(1).mediaBox = pts(0, 400, 300, 0);
    page(1).bbox = pts(20, 380, 280, 10);
    page(2).bbox = pts(50, 700, 560, 100);
  }
};

TEST_F(CommandsBBoxBiggest, PagesGetTheUnionClippedToTheirOwnMediaBoxes)
{
  makeMixed();
  host.alertAnswers = {2, 2};
  runItem(kItem);
  std::vector<std::string> want = allStart(3);
  append(want, measure(3, 3));
  append(want, secondStart(3));
  append(want, biggestPage(0, "{20,720,560,10}"));
  append(want, biggestPage(1, "{20,400,300,10}"));
  append(want, biggestPage(2, "{20,720,560,10}"));
  append(want, {"PM.endOperation(pmdata)", "FSfree(" + block() + ")"});
  EXPECT_EQ(afterLog(), want) << dump();
  EXPECT_EQ(R(page(1).cropBox), "{20,400,300,10}");
}

TEST_F(CommandsBBoxBiggest, ProgressRunsTwice)
{
  makeMixed();
  host.alertAnswers = {2, 2};
  runItem(kItem);
  EXPECT_EQ(afterOf("PM.setCurrValue"),
            (std::vector<std::string>{"PM.setCurrValue(0, pmdata)", "PM.setCurrValue(1, pmdata)",
                                      "PM.setCurrValue(2, pmdata)", "PM.setCurrValue(0, pmdata)",
                                      "PM.setCurrValue(0, pmdata)", "PM.setCurrValue(1, pmdata)",
                                      "PM.setCurrValue(2, pmdata)"}))
      << dump();
  EXPECT_EQ(afterCount("PM.beginOperation"), 2u);
  EXPECT_EQ(afterOf("PM.setDuration"),
            (std::vector<std::string>{"PM.setDuration(3, pmdata)", "PM.setDuration(3, pmdata)"}));
  EXPECT_EQ(afterCount("PM.endOperation"), 2u);
}

TEST_F(CommandsBBoxBiggest, PageZeroSeedsTheUnionWhateverItIs)
{
  makePages(3);
  page(0).bbox = pts(0, 0, 0, 0);
  host.alertAnswers = {2, 2};
  runItem(kItem);
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(R(page(i).cropBox), "{0,720,540,0}") << dump();
}

TEST_F(CommandsBBoxBiggest, UnionPastTheMediaBoxIsTheMediaBoxOnThoseSides)
{
  makePages(2);
  page(0).bbox = pts(-50, 900, 100, 50);
  page(1).bbox = pts(500, 300, 700, -20);
  host.alertAnswers = {2, 2};
  runItem(kItem);
  EXPECT_EQ(R(page(0).cropBox), "{0,792,612,0}") << dump();
  EXPECT_EQ(R(page(1).cropBox), "{0,792,612,0}");
}

TEST_F(CommandsBBoxBiggest, CancelAtTheFirstMeasuredPageChangesNothing)
{
  makeMixed();
  host.alertAnswers = {2, 2};
  cancelAtNextPoll(1);
  runItem(kItem);
  std::vector<std::string> want = allStart(3);
  append(want, measure(3, 1));
  append(want, {"PM.setCurrValue(1, pmdata)", "CancelProc(canceldata)", kCancelled, "PM.endOperation(pmdata)",
                "FSfree(" + block() + ")"});
  EXPECT_EQ(afterLog(), want) << dump();
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(page(i).setCropBoxes, 0);
}

TEST_F(CommandsBBoxBiggest, CancelAtAMiddleMeasuredPageChangesNothing)
{
  makePages(4);
  host.alertAnswers = {2, 2};
  cancelAtNextPoll(2);
  runItem(kItem);
  std::vector<std::string> want = allStart(4);
  append(want, measure(4, 2));
  append(want, {"PM.setCurrValue(2, pmdata)", "CancelProc(canceldata)", kCancelled, "PM.endOperation(pmdata)",
                "FSfree(" + block() + ")"});
  EXPECT_EQ(afterLog(), want) << dump();
}

TEST_F(CommandsBBoxBiggest, CancelAtTheLastMeasuredPageChangesNothing)
{
  makePages(3);
  host.alertAnswers = {2, 2};
  cancelAtNextPoll(2);
  runItem(kItem);
  std::vector<std::string> want = allStart(3);
  append(want, measure(3, 2));
  append(want, {"PM.setCurrValue(2, pmdata)", "CancelProc(canceldata)", kCancelled, "PM.endOperation(pmdata)",
                "FSfree(" + block() + ")"});
  EXPECT_EQ(afterLog(), want) << dump();
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(R(page(i).cropBox), oldBox(i));
}

TEST_F(CommandsBBoxBiggest, CancelAtTheFirstAppliedPageGivesItTheAllZeroBox)
{
  makeMixed();
  host.alertAnswers = {2, 2};
  cancelAtNextPoll(3); // two measuring polls, then page 0 of the second pass
  runItem(kItem);
  std::vector<std::string> want = allStart(3);
  append(want, measure(3, 3));
  append(want, secondStart(3));
  append(want, {"PM.setCurrValue(0, pmdata)", "CancelProc(canceldata)"});
  append(want, setPageCalls(0, kZero));
  append(want, {kCancelled, "PM.endOperation(pmdata)", "FSfree(" + block() + ")"});
  EXPECT_EQ(afterLog(), want) << dump();
}

TEST_F(CommandsBBoxBiggest, CancelAtAMiddleAppliedPageRestoresThePagesBeforeIt)
{
  makeMixed();
  host.alertAnswers = {2, 2};
  cancelAtNextPoll(4);
  runItem(kItem);
  std::vector<std::string> want = allStart(3);
  append(want, measure(3, 3));
  append(want, secondStart(3));
  append(want, biggestPage(0, "{20,720,560,10}"));
  append(want, {"PM.setCurrValue(1, pmdata)", "CancelProc(canceldata)"});
  append(want, setPageCalls(0, oldBox(0)));
  append(want, setPageCalls(1, kZero));
  append(want, {kCancelled, "PM.endOperation(pmdata)", "FSfree(" + block() + ")"});
  EXPECT_EQ(afterLog(), want) << dump();
  EXPECT_EQ(R(page(2).cropBox), oldBox(2));
}

TEST_F(CommandsBBoxBiggest, CancelAtTheLastAppliedPageRestoresAllBeforeIt)
{
  makeMixed();
  host.alertAnswers = {2, 2};
  cancelAtNextPoll(5);
  runItem(kItem);
  EXPECT_EQ(R(page(0).cropBox), oldBox(0)) << dump();
  EXPECT_EQ(R(page(1).cropBox), oldBox(1));
  EXPECT_EQ(R(page(2).cropBox), kZero);
  EXPECT_EQ(afterOf("FVAlertNote"), std::vector<std::string>{kCancelled});
}

TEST_F(CommandsBBoxBiggest, FailedAllocationThenCancelRestoresNothing)
{
  makeMixed();
  host.mallocFails = true;
  host.alertAnswers = {2, 2};
  cancelAtNextPoll(4);
  runItem(kItem);
  std::vector<std::string> want = allStart(3);
  append(want, measure(3, 3));
  append(want, secondStart(3));
  append(want, biggestPage(0, "{20,720,560,10}", false));
  append(want,
         {"PM.setCurrValue(1, pmdata)", "CancelProc(canceldata)", kCancelled, "PM.endOperation(pmdata)"});
  EXPECT_EQ(afterLog(), want) << dump();
  EXPECT_EQ(R(page(0).cropBox), "{20,720,560,10}");
}

TEST_F(CommandsBBoxBiggest, FailedAllocationCropsEveryPageWithoutSaving)
{
  makeMixed();
  host.mallocFails = true;
  host.alertAnswers = {2, 2};
  runItem(kItem);
  EXPECT_EQ(afterCount("PDPageGetCropBox"), 0u) << dump();
  EXPECT_EQ(afterCount("FSfree"), 0u);
  EXPECT_EQ(R(page(1).cropBox), "{20,400,300,10}");
}

TEST_F(CommandsBBoxBiggest, WithoutAProgressMonitorBothPassesMakeNoProgressCalls)
{
  makeMixed();
  host.progressMonitorAbsent = true;
  host.alertAnswers = {2, 2};
  runItem(kItem);
  EXPECT_EQ(afterCount("PM.beginOperation") + afterCount("PM.setCurrValue") + afterCount("PM.endOperation"),
            0u);
  EXPECT_EQ(R(page(2).cropBox), "{20,720,560,10}") << dump();
}

TEST_F(CommandsBBox, DismissedModeQuestionLeavesTheProgressOperationUnended)
{
  makePages(3);
  host.alertAnswers = {2, 0};
  runItem(kItem);
  std::vector<std::string> want = allStart(3);
  want.push_back("FSfree(" + block() + ")");
  EXPECT_EQ(afterLog(), want) << dump();
  EXPECT_EQ(afterCount("PM.endOperation"), 0u);
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(page(i).acquires, 0);
}

TEST_F(CommandsBBox, ModeQuestionAnsweredWithAThirdButtonLeavesTheOperationUnended)
{
  makePages(2);
  host.alertAnswers = {2, 3};
  runItem(kItem);
  EXPECT_EQ(afterCount("PM.beginOperation"), 1u) << dump();
  EXPECT_EQ(afterCount("PM.endOperation"), 0u);
  EXPECT_EQ(afterCount("FSfree"), 1u);
}

} // namespace
} // namespace cmdtest
