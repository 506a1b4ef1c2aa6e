// MediaBoxTests.cpp: "&Reset Page(s) to Media Box": the current page or every
// page gets its media box as its crop box, with progress, cancel and undo.
// Reached through the menu item, as the host does.
#include "CommandsSupport.h"

namespace cmdtest {
namespace {

const char *const kItem = "QUIL:PageShearMediaBox";
// The bounding-box command's question, reused word for word.
const char *const kPagesQuestion =
    "FVAlert(3, \"Crop which pages to page bounding box?\", \"Current\", \"All\", \"Cancel\", 0)";
const char *const kCancelled = "FVAlertNote(\"Cancelled.\")";
const char *const kZero = "{0,0,0,0}";

std::string oldBox(int i)
{
  return "{" + std::to_string(10 + i) + ",780," + std::to_string(600 - i) + ",12}";
}
std::string n(int i)
{
  return std::to_string(i);
}

class CommandsMediaBox : public CommandsTest {
protected:
  // Pages with distinct crop boxes inside distinct media boxes.
  void makePages(int count)
  {
    makeDoc(count);
    for (int i = 0; i < count; ++i) {
      page(i).mediaBox = pts(-i, 792 + i, 612 + i, -i);
      page(i).cropBox = pts(10 + i, 780, 600 - i, 12);
    }
  }
  static std::string media(int i)
  {
    return "{" + n(-i) + "," + n(792 + i) + "," + n(612 + i) + "," + n(-i) + "}";
  }

  std::vector<std::string> prologue() const
  {
    return {"FVAppGetActiveDoc()", "FVDocGetPDDoc(fvdoc0)", "FVAppGetCancelProc(ptr)",
            "FVAppGetDocProgressMonitor(ptr)", "PDDocGetNumPages(doc0)"};
  }
  std::vector<std::string> allStart(int count, bool withMonitor = true) const
  {
    std::vector<std::string> v = prologue();
    append(v, {kPagesQuestion, "PDDocGetNumPages(doc0)"});
    if (withMonitor)
      append(v, {"PM.beginOperation(pmdata)", "PM.setDuration(" + n(count) + ", pmdata)",
                 "PM.setCurrValue(0, pmdata)"});
    v.push_back("FSmalloc(" + n(count * 16) + ")");
    return v;
  }
  std::vector<std::string> resetPage(int i, bool saved = true, bool withMonitor = true) const
  {
    std::string p = pageName(i);
    std::vector<std::string> v;
    if (withMonitor)
      v.push_back("PM.setCurrValue(" + n(i) + ", pmdata)");
    append(v, {"CancelProc(canceldata)", "PDDocAcquirePage(doc0, " + n(i) + ")"});
    if (saved)
      v.push_back("PDPageGetCropBox(" + p + ")");
    append(v, {"PDPageGetMediaBox(" + p + ")", "PDPageSetCropBox(" + p + ", " + media(i) + ")",
               "PDPageNotifyContentsDidChange(" + p + ")", "PDPageRelease(" + p + ")"});
    return v;
  }
  std::string block() const
  {
    for (const testhost::Call &c : host.log.calls())
      if (c.op == "FSmalloc")
        return c.result;
    return "none";
  }
};

TEST_F(CommandsMediaBox, OnePageDocumentIsResetAfterOnePollWithoutQuestionOrProgress)
{
  makePages(1);
  runItem(kItem);
  std::vector<std::string> want = prologue();
  append(want,
         {"CancelProc(canceldata)", "FVDocGetPageView(fvdoc0)", "FVPageViewGetPageNum(view0)",
          "PDDocAcquirePage(doc0, 0)", "PDPageGetMediaBox(page0)", "PDPageSetCropBox(page0, {0,792,612,0})",
          "PDPageNotifyContentsDidChange(page0)", "PDPageRelease(page0)"});
  EXPECT_EQ(afterLog(), want) << dump();
  EXPECT_EQ(R(page(0).cropBox), "{0,792,612,0}");
}

TEST_F(CommandsMediaBox, OnePageDocumentCancelledShowsCancelledAndChangesNothing)
{
  makePages(1);
  cancelAtNextPoll(1);
  runItem(kItem);
  std::vector<std::string> want = prologue();
  append(want, {"CancelProc(canceldata)", kCancelled});
  EXPECT_EQ(afterLog(), want) << dump();
  EXPECT_EQ(R(page(0).cropBox), oldBox(0));
}

TEST_F(CommandsMediaBox, CurrentResetsOnlyThePageShownInTheView)
{
  makePages(3);
  host.viewOf(host.pageView(0))->pageNum = 1;
  host.alertAnswers = {1};
  runItem(kItem);
  std::vector<std::string> want = prologue();
  append(want, {kPagesQuestion, "CancelProc(canceldata)", "FVDocGetPageView(fvdoc0)",
                "FVPageViewGetPageNum(view0)", "PDDocAcquirePage(doc0, 1)", "PDPageGetMediaBox(page1)",
                "PDPageSetCropBox(page1, " + media(1) + ")", "PDPageNotifyContentsDidChange(page1)",
                "PDPageRelease(page1)"});
  EXPECT_EQ(afterLog(), want) << dump();
  EXPECT_EQ(R(page(0).cropBox), oldBox(0));
  EXPECT_EQ(R(page(2).cropBox), oldBox(2));
}

TEST_F(CommandsMediaBox, CurrentCancelledShowsCancelled)
{
  makePages(3);
  host.alertAnswers = {1};
  cancelAtNextPoll(1);
  runItem(kItem);
  std::vector<std::string> want = prologue();
  append(want, {kPagesQuestion, "CancelProc(canceldata)", kCancelled});
  EXPECT_EQ(afterLog(), want) << dump();
}

TEST_F(CommandsMediaBox, AnsweredCancelDoesNothing)
{
  makePages(3);
  host.alertAnswers = {3};
  runItem(kItem);
  std::vector<std::string> want = prologue();
  want.push_back(kPagesQuestion);
  EXPECT_EQ(afterLog(), want) << dump();
}

TEST_F(CommandsMediaBox, DismissedQuestionDoesNothing)
{
  makePages(3);
  host.alertAnswers = {0};
  runItem(kItem);
  std::vector<std::string> want = prologue();
  want.push_back(kPagesQuestion);
  EXPECT_EQ(afterLog(), want) << dump();
}

TEST_F(CommandsMediaBox, AllGivesTheFullProgressAndResetSequence)
{
  makePages(3);
  host.alertAnswers = {2};
  runItem(kItem);
  std::vector<std::string> want = allStart(3);
  for (int i = 0; i < 3; ++i)
    append(want, resetPage(i));
  append(want, {"FSfree(" + block() + ")", "PM.endOperation(pmdata)"});
  EXPECT_EQ(afterLog(), want) << dump();
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(R(page(i).cropBox), media(i));
  EXPECT_TRUE(host.liveBlocks.empty());
}

TEST_F(CommandsMediaBox, AllProgressValuesAreZeroTwiceThenEachIndex)
{
  makePages(4);
  host.alertAnswers = {2};
  runItem(kItem);
  EXPECT_EQ(afterOf("PM.setDuration"), std::vector<std::string>{"PM.setDuration(4, pmdata)"});
  EXPECT_EQ(afterOf("PM.setCurrValue"),
            (std::vector<std::string>{"PM.setCurrValue(0, pmdata)", "PM.setCurrValue(0, pmdata)",
                                      "PM.setCurrValue(1, pmdata)", "PM.setCurrValue(2, pmdata)",
                                      "PM.setCurrValue(3, pmdata)"}));
}

TEST_F(CommandsMediaBox, CancelBeforeTheFirstPageGivesItTheAllZeroBox)
{
  makePages(3);
  host.alertAnswers = {2};
  cancelAtNextPoll(1);
  runItem(kItem);
  std::vector<std::string> want = allStart(3);
  append(want, {"PM.setCurrValue(0, pmdata)", "CancelProc(canceldata)"});
  append(want, setPageCalls(0, kZero));
  append(want, {kCancelled, "FSfree(" + block() + ")", "PM.endOperation(pmdata)"});
  EXPECT_EQ(afterLog(), want) << dump();
  EXPECT_EQ(R(page(0).cropBox), kZero);
  EXPECT_EQ(R(page(1).cropBox), oldBox(1));
}

TEST_F(CommandsMediaBox, CancelAtIndex2RestoresPages0And1AndZeroesPage2)
{
  makePages(4);
  host.alertAnswers = {2};
  cancelAtNextPoll(3);
  runItem(kItem);
  std::vector<std::string> want = allStart(4);
  append(want, resetPage(0));
  append(want, resetPage(1));
  append(want, {"PM.setCurrValue(2, pmdata)", "CancelProc(canceldata)"});
  append(want, setPageCalls(0, oldBox(0)));
  append(want, setPageCalls(1, oldBox(1)));
  append(want, setPageCalls(2, kZero));
  append(want, {kCancelled, "FSfree(" + block() + ")", "PM.endOperation(pmdata)"});
  EXPECT_EQ(afterLog(), want) << dump();
  EXPECT_EQ(R(page(3).cropBox), oldBox(3));
}

TEST_F(CommandsMediaBox, CancelAtTheLastPageRestoresAllBeforeIt)
{
  makePages(3);
  host.alertAnswers = {2};
  cancelAtNextPoll(3);
  runItem(kItem);
  EXPECT_EQ(R(page(0).cropBox), oldBox(0)) << dump();
  EXPECT_EQ(R(page(1).cropBox), oldBox(1));
  EXPECT_EQ(R(page(2).cropBox), kZero);
  EXPECT_EQ(afterOf("FVAlertNote"), std::vector<std::string>{kCancelled});
}

TEST_F(CommandsMediaBox, FailedAllocationResetsWithoutSaving)
{
  makePages(2);
  host.mallocFails = true;
  host.alertAnswers = {2};
  runItem(kItem);
  std::vector<std::string> want = allStart(2);
  append(want, resetPage(0, false));
  append(want, resetPage(1, false));
  want.push_back("PM.endOperation(pmdata)");
  EXPECT_EQ(afterLog(), want) << dump();
}

TEST_F(CommandsMediaBox, FailedAllocationThenCancelRestoresNothingAndShowsOnlyCancelled)
{
  makePages(3);
  host.mallocFails = true;
  host.alertAnswers = {2};
  cancelAtNextPoll(2);
  runItem(kItem);
  std::vector<std::string> want = allStart(3);
  append(want, resetPage(0, false));
  append(want,
         {"PM.setCurrValue(1, pmdata)", "CancelProc(canceldata)", kCancelled, "PM.endOperation(pmdata)"});
  EXPECT_EQ(afterLog(), want) << dump();
  EXPECT_EQ(R(page(0).cropBox), media(0));
  EXPECT_EQ(R(page(1).cropBox), oldBox(1));
}

TEST_F(CommandsMediaBox, PageWhoseCropBoxIsItsMediaBoxIsWrittenAndNotifiedAllTheSame)
{
  makePages(2);
  page(1).cropBox = page(1).mediaBox;
  host.alertAnswers = {2};
  runItem(kItem);
  EXPECT_EQ(page(1).setCropBoxes, 1) << dump();
  EXPECT_EQ(page(1).notifications, 1);
  EXPECT_EQ(R(page(1).cropBox), media(1));
}

TEST_F(CommandsMediaBox, OnePageWhoseCropBoxIsItsMediaBoxIsWrittenAllTheSame)
{
  makePages(1);
  page(0).cropBox = page(0).mediaBox;
  runItem(kItem);
  EXPECT_EQ(page(0).setCropBoxes, 1) << dump();
  EXPECT_EQ(page(0).notifications, 1);
}

TEST_F(CommandsMediaBox, MediaBoxIsCopiedAsItIsWithoutAnyRule)
{
  makePages(1);
  page(0).mediaBox = pts(5, 20, 40, 3); // under an inch, off the origin
  runItem(kItem);
  EXPECT_EQ(R(page(0).cropBox), "{5,20,40,3}") << dump();
}

TEST_F(CommandsMediaBox, WithoutAProgressMonitorMakesNoProgressCalls)
{
  makePages(2);
  host.progressMonitorAbsent = true;
  host.alertAnswers = {2};
  runItem(kItem);
  std::vector<std::string> want = allStart(2, false);
  append(want, resetPage(0, true, false));
  append(want, resetPage(1, true, false));
  want.push_back("FSfree(" + block() + ")");
  EXPECT_EQ(afterLog(), want) << dump();
}

TEST_F(CommandsMediaBox, LeavesTheCropToolsRegionAlone)
{
  makePages(2);
  drawRegion(pts(100, 700, 300, 500));
  host.alertAnswers = {2};
  runItem(kItem);
  EXPECT_EQ(afterCount("FVAppUnregisterForPageViewDrawing"), 0u) << dump();
  EXPECT_EQ(afterCount("FVPageViewRectToDevice"), 0u);
}

} // namespace
} // namespace cmdtest
