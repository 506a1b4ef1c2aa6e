// AllPagesRunTests.cpp: the all-pages run of the drawn region: progress,
// cancel with undo of the saved crop boxes, a failed allocation, the
// orientation question and the persistence of its answer.
#include "CommandsSupport.h"

#include <algorithm>

namespace cmdtest {
namespace {

const FixedRect kRegion = pts(100, 700, 300, 500);
const char *const kPagesQuestion = "FVAlert(3, \"Pages to crop?\", \"Current\", \"All\", \"Cancel\", 0)";
const char *const kOrientationQuestion = "FVAlert(3, \"Some pages do not have same orientation - Crop or "
                                         "Skip them?\", \"Skip\", \"Crop\", null, 0)";
const char *const kRotationNote = "FVAlertNote(\"Some page(s) were not cropped since page(s) had an illegal "
                                  "rotation value (not 0, 90, 180, or 270).\")";
const char *const kCancelled = "FVAlertNote(\"Cancelled.\")";
const char *const kZero = "{0,0,0,0}";

// Distinct crop boxes before the run, so that a restoration shows.
std::string oldBox(int i)
{
  return "{" + std::to_string(10 + i) + ",780," + std::to_string(600 - i) + ",12}";
}

class CommandsAllPages : public CommandsTest {
protected:
  void makePages(int n)
  {
    makeDoc(n);
    for (int i = 0; i < n; ++i)
      page(i).cropBox = pts(10 + i, 780, 600 - i, 12);
  }

  // The calls of the run after the "Pages to crop?" answer: the page count,
  // the progress start, the allocation.
  std::vector<std::string> runStart(int n, bool withMonitor = true)
  {
    std::vector<std::string> v = {"PDDocGetNumPages(doc0)"};
    if (withMonitor)
      append(v, {"PM.beginOperation(pmdata)", "PM.setDuration(" + std::to_string(n) + ", pmdata)",
                 "PM.setCurrValue(0, pmdata)"});
    v.push_back("FSmalloc(" + std::to_string(n * 16) + ")");
    return v;
  }

  // One page of the run: progress, poll, save (when the array exists), crop.
  std::vector<std::string> runPage(int i, const std::string &box, bool saved = true)
  {
    std::vector<std::string> v = {"PM.setCurrValue(" + std::to_string(i) + ", pmdata)",
                                  "CancelProc(canceldata)"};
    if (saved)
      append(v, {"PDDocAcquirePage(doc0, " + std::to_string(i) + ")", "PDPageGetCropBox(" + pageName(i) + ")",
                 "PDPageRelease(" + pageName(i) + ")"});
    append(v, regionPageCalls(i, box));
    return v;
  }

  // The name the host gave the block of the run's allocation.
  std::string block() const
  {
    for (const testhost::Call &c : host.log.calls())
      if (c.op == "FSmalloc")
        return c.result;
    return "none";
  }

  // Everything of the run after the question, as cropLog() shows it.
  std::vector<std::string> runLog() const
  {
    std::vector<std::string> log = cropLog();
    auto at = std::find(log.begin(), log.end(), kPagesQuestion);
    if (at == log.end())
      return {};
    return std::vector<std::string>(at + 1, log.end());
  }

  std::vector<std::string> progressValues() const { return afterOf("PM.setCurrValue"); }
};

// ---- progress ---------------------------------------------------------------------------

TEST_F(CommandsAllPages, ThreePagesGiveTheFullProgressAndCropSequence)
{
  makePages(3);
  host.alertAnswers = {2};
  applyRegion(kRegion);
  std::vector<std::string> want = runStart(3);
  for (int i = 0; i < 3; ++i)
    append(want, runPage(i, "{100,700,300,500}"));
  append(want, {"FSfree(" + block() + ")", "PM.endOperation(pmdata)"});
  EXPECT_EQ(runLog(), want) << dump();
  EXPECT_TRUE(regionDropped());
  EXPECT_TRUE(host.liveBlocks.empty());
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(R(page(i).cropBox), "{100,700,300,500}");
}

TEST_F(CommandsAllPages, ProgressValuesAreZeroThenEveryIndexBelowTheCount)
{
  makePages(5);
  host.alertAnswers = {2};
  applyRegion(kRegion);
  EXPECT_EQ(afterOf("PM.setDuration"), std::vector<std::string>{"PM.setDuration(5, pmdata)"});
  EXPECT_EQ(progressValues(),
            (std::vector<std::string>{"PM.setCurrValue(0, pmdata)", "PM.setCurrValue(0, pmdata)",
                                      "PM.setCurrValue(1, pmdata)", "PM.setCurrValue(2, pmdata)",
                                      "PM.setCurrValue(3, pmdata)", "PM.setCurrValue(4, pmdata)"}));
  EXPECT_EQ(afterCount("PM.beginOperation"), 1u);
  EXPECT_EQ(afterCount("PM.endOperation"), 1u);
}

TEST_F(CommandsAllPages, WithoutAProgressMonitorTheRunMakesNoProgressCalls)
{
  makePages(2);
  host.progressMonitorAbsent = true;
  host.alertAnswers = {2};
  applyRegion(kRegion);
  std::vector<std::string> want = runStart(2, false);
  for (int i = 0; i < 2; ++i) {
    std::vector<std::string> p = runPage(i, "{100,700,300,500}");
    append(want, std::vector<std::string>(p.begin() + 1, p.end()));
  }
  want.push_back("FSfree(" + block() + ")");
  EXPECT_EQ(runLog(), want) << dump();
}

TEST_F(CommandsAllPages, MonitorWithoutCurrentValueSlotStillBeginsAndEnds)
{
  makePages(2);
  host.removeProgressSlot("setCurrValue");
  host.alertAnswers = {2};
  applyRegion(kRegion);
  EXPECT_EQ(afterCount("PM.setCurrValue"), 0u);
  EXPECT_EQ(afterOf("PM.beginOperation"), std::vector<std::string>{"PM.beginOperation(pmdata)"});
  EXPECT_EQ(afterOf("PM.setDuration"), std::vector<std::string>{"PM.setDuration(2, pmdata)"});
  EXPECT_EQ(afterOf("PM.endOperation"), std::vector<std::string>{"PM.endOperation(pmdata)"});
}

TEST_F(CommandsAllPages, MonitorWithoutBeginOrEndSlotsStillCountsPages)
{
  makePages(2);
  host.removeProgressSlot("beginOperation");
  host.removeProgressSlot("endOperation");
  host.alertAnswers = {2};
  applyRegion(kRegion);
  EXPECT_EQ(afterCount("PM.beginOperation"), 0u);
  EXPECT_EQ(afterCount("PM.endOperation"), 0u);
  EXPECT_EQ(progressValues().size(), 3u) << dump();
}

// ---- cancel -----------------------------------------------------------------------------

TEST_F(CommandsAllPages, CancelAtTheFirstPageGivesItTheAllZeroBox)
{
  makePages(3);
  host.alertAnswers = {2};
  cancelAtNextPoll(1);
  applyRegion(kRegion);
  std::vector<std::string> want = runStart(3);
  append(want, {"PM.setCurrValue(0, pmdata)", "CancelProc(canceldata)"});
  append(want, setPageCalls(0, kZero));
  append(want, {kCancelled, "FSfree(" + block() + ")", "PM.endOperation(pmdata)"});
  EXPECT_EQ(runLog(), want) << dump();
  EXPECT_EQ(R(page(0).cropBox), kZero);
  EXPECT_EQ(R(page(1).cropBox), oldBox(1));
  EXPECT_EQ(R(page(2).cropBox), oldBox(2));
  EXPECT_TRUE(regionDropped());
}

TEST_F(CommandsAllPages, CancelAtAMiddlePageRestoresThePagesBeforeIt)
{
  makePages(3);
  host.alertAnswers = {2};
  cancelAtNextPoll(2);
  applyRegion(kRegion);
  std::vector<std::string> want = runStart(3);
  append(want, runPage(0, "{100,700,300,500}"));
  append(want, {"PM.setCurrValue(1, pmdata)", "CancelProc(canceldata)"});
  append(want, setPageCalls(0, oldBox(0)));
  append(want, setPageCalls(1, kZero));
  append(want, {kCancelled, "FSfree(" + block() + ")", "PM.endOperation(pmdata)"});
  EXPECT_EQ(runLog(), want) << dump();
  EXPECT_EQ(R(page(0).cropBox), oldBox(0));
  EXPECT_EQ(R(page(1).cropBox), kZero);
  EXPECT_EQ(R(page(2).cropBox), oldBox(2));
}

TEST_F(CommandsAllPages, CancelAtTheThirdPageRestoresTheFirstTwoAndZeroesTheThird)
{
  makePages(3);
  host.alertAnswers = {2};
  cancelAtNextPoll(3);
  applyRegion(kRegion);
  std::vector<std::string> want = runStart(3);
  append(want, runPage(0, "{100,700,300,500}"));
  append(want, runPage(1, "{100,700,300,500}"));
  append(want, {"PM.setCurrValue(2, pmdata)", "CancelProc(canceldata)"});
  append(want, setPageCalls(0, oldBox(0)));
  append(want, setPageCalls(1, oldBox(1)));
  append(want, setPageCalls(2, kZero));
  append(want, {kCancelled, "FSfree(" + block() + ")", "PM.endOperation(pmdata)"});
  EXPECT_EQ(runLog(), want) << dump();
  EXPECT_EQ(R(page(0).cropBox), oldBox(0));
  EXPECT_EQ(R(page(1).cropBox), oldBox(1));
  EXPECT_EQ(R(page(2).cropBox), kZero);
}

TEST_F(CommandsAllPages, CancelAtAPageRunAgainAfterCropRestoresItsSavedBox)
{
  // Page 1 is landscape: "Crop" runs it again, and the cancel comes at its
  // second poll, when its entry already holds its old crop box.
  makePages(3);
  page(1).mediaBox = pts(0, 612, 792, 0);
  host.alertAnswers = {2, 2};
  cancelAtNextPoll(3);
  applyRegion(kRegion);
  std::vector<std::string> want = runStart(3);
  append(want, runPage(0, "{100,700,300,500}"));
  append(want, runPage(1, ""));
  want.push_back(kOrientationQuestion);
  append(want, {"PM.setCurrValue(1, pmdata)", "CancelProc(canceldata)"});
  append(want, setPageCalls(0, oldBox(0)));
  append(want, setPageCalls(1, oldBox(1)));
  append(want, {kCancelled, "FSfree(" + block() + ")", "PM.endOperation(pmdata)"});
  EXPECT_EQ(runLog(), want) << dump();
  EXPECT_EQ(R(page(1).cropBox), oldBox(1));
  EXPECT_EQ(R(page(2).cropBox), oldBox(2));
}

TEST_F(CommandsAllPages, SummariesStillFollowACancel)
{
  makePages(3);
  page(1).rotate = 270;
  host.alertAnswers = {2};
  cancelAtNextPoll(3);
  applyRegion(kRegion);
  std::vector<std::string> log = runLog();
  std::vector<std::string> tail(log.end() - 4, log.end());
  EXPECT_EQ(tail, (std::vector<std::string>{kCancelled, "FSfree(" + block() + ")", "PM.endOperation(pmdata)",
                                            kRotationNote}))
      << dump();
  EXPECT_EQ(R(page(2).cropBox), kZero);
}

// ---- allocation failure ---------------------------------------------------------------------

TEST_F(CommandsAllPages, FailedAllocationRunsWithoutSavingOrFreeing)
{
  makePages(3);
  host.mallocFails = true;
  host.alertAnswers = {2};
  applyRegion(kRegion);
  std::vector<std::string> want = runStart(3);
  for (int i = 0; i < 3; ++i)
    append(want, runPage(i, "{100,700,300,500}", false));
  want.push_back("PM.endOperation(pmdata)");
  EXPECT_EQ(runLog(), want) << dump();
}

TEST_F(CommandsAllPages, FailedAllocationThenCancelRestoresNothingAndShowsCancelled)
{
  makePages(3);
  host.mallocFails = true;
  host.alertAnswers = {2};
  cancelAtNextPoll(2);
  applyRegion(kRegion);
  std::vector<std::string> want = runStart(3);
  append(want, runPage(0, "{100,700,300,500}", false));
  append(want,
         {"PM.setCurrValue(1, pmdata)", "CancelProc(canceldata)", kCancelled, "PM.endOperation(pmdata)"});
  EXPECT_EQ(runLog(), want) << dump();
  EXPECT_EQ(R(page(0).cropBox), "{100,700,300,500}");
  EXPECT_EQ(R(page(1).cropBox), oldBox(1));
}

// ---- the orientation question ------------------------------------------------------------------

class CommandsOrientation : public CommandsAllPages {
protected:
  // Four pages at rotation 0: portrait, landscape, portrait, landscape.
  void makeAlternating()
  {
    makePages(4);
    page(1).mediaBox = pts(0, 612, 792, 0);
    page(3).mediaBox = pts(0, 612, 792, 0);
  }
  // Case A on the landscape half extents (396,306).
  const std::string kLandscapeBox = "{190,610,390,410}";
};

TEST_F(CommandsOrientation, SkipLeavesEveryLandscapePageWithoutFurtherQuestions)
{
  makeAlternating();
  host.alertAnswers = {2, 1};
  applyRegion(kRegion);
  EXPECT_EQ(afterOf("FVAlert"), (std::vector<std::string>{kPagesQuestion, kOrientationQuestion})) << dump();
  EXPECT_EQ(R(page(0).cropBox), "{100,700,300,500}");
  EXPECT_EQ(R(page(1).cropBox), oldBox(1));
  EXPECT_EQ(R(page(2).cropBox), "{100,700,300,500}");
  EXPECT_EQ(R(page(3).cropBox), oldBox(3));
  EXPECT_EQ(afterCount("FVAlertNote"), 0u);
  EXPECT_EQ(progressValues().size(), 5u);
}

TEST_F(CommandsOrientation, QuestionComesRightAfterTheFirstMismatchedPage)
{
  makeAlternating();
  host.alertAnswers = {2, 1};
  applyRegion(kRegion);
  std::vector<std::string> want = runStart(4);
  append(want, runPage(0, "{100,700,300,500}"));
  append(want, runPage(1, ""));
  want.push_back(kOrientationQuestion);
  append(want, runPage(2, "{100,700,300,500}"));
  append(want, runPage(3, ""));
  append(want, {"FSfree(" + block() + ")", "PM.endOperation(pmdata)"});
  EXPECT_EQ(runLog(), want) << dump();
}

TEST_F(CommandsOrientation, CropRunsTheMismatchedPageAgainAndCropsLaterOnesWithoutAsking)
{
  makeAlternating();
  host.alertAnswers = {2, 2};
  applyRegion(kRegion);
  std::vector<std::string> want = runStart(4);
  append(want, runPage(0, "{100,700,300,500}"));
  append(want, runPage(1, ""));
  want.push_back(kOrientationQuestion);
  append(want, runPage(1, kLandscapeBox));
  append(want, runPage(2, "{100,700,300,500}"));
  append(want, runPage(3, kLandscapeBox));
  append(want, {"FSfree(" + block() + ")", "PM.endOperation(pmdata)"});
  EXPECT_EQ(runLog(), want) << dump();
  EXPECT_EQ(R(page(1).cropBox), kLandscapeBox);
  EXPECT_EQ(R(page(3).cropBox), kLandscapeBox);
  EXPECT_EQ(host.cancelPolls, 5);
}

TEST_F(CommandsOrientation, DismissedQuestionIsAskedAgainAtTheNextMismatchedPage)
{
  makeAlternating();
  host.alertAnswers = {2, 0, 1};
  applyRegion(kRegion);
  EXPECT_EQ(afterOf("FVAlert"),
            (std::vector<std::string>{kPagesQuestion, kOrientationQuestion, kOrientationQuestion}))
      << dump();
  EXPECT_EQ(R(page(1).cropBox), oldBox(1));
  EXPECT_EQ(R(page(3).cropBox), oldBox(3));
  EXPECT_EQ(progressValues().size(), 5u) << "a dismissed question does not run the page again";
}

TEST_F(CommandsOrientation, DismissedThenCropCropsOnlyTheLaterPage)
{
  makeAlternating();
  host.alertAnswers = {2, 0, 2};
  applyRegion(kRegion);
  EXPECT_EQ(R(page(1).cropBox), oldBox(1)) << dump();
  EXPECT_EQ(R(page(3).cropBox), kLandscapeBox);
  EXPECT_EQ(host.cancelPolls, 5);
}

// ---- persistence of the answer -------------------------------------------------------------------

class CommandsSkipPersistence : public CommandsOrientation {
protected:
  // After an all-pages run answered `answer`, the region drawn again on
  // page 0 and applied with "Current" to landscape page 1.
  void currentOnLandscapeAfter(FSInt32 answer)
  {
    makeAlternating();
    host.alertAnswers = {2, answer};
    applyRegion(kRegion);
    page(1).cropBox = pts(11, 780, 599, 12);
    page(1).setCropBoxes = 0;
    drawRegion(kRegion);
    host.viewOf(host.pageView(0))->pageNum = 1;
    host.alertAnswers = {1};
    clickInsideRegion();
  }
};

TEST_F(CommandsSkipPersistence, CurrentCropAfterARunAnsweredCropCropsAMismatchedPage)
{
  currentOnLandscapeAfter(2);
  std::vector<std::string> want = {"FVPageViewGetPageNum(view0)"};
  append(want, regionPageCalls(1, kLandscapeBox));
  std::vector<std::string> log = cropLog();
  ASSERT_GE(log.size(), want.size());
  std::vector<std::string> tail(log.end() - static_cast<long>(want.size()), log.end());
  EXPECT_EQ(tail, want) << dump();
  EXPECT_EQ(R(page(1).cropBox), kLandscapeBox);
}

TEST_F(CommandsSkipPersistence, CurrentCropAfterARunAnsweredSkipSilentlyDoesNothing)
{
  currentOnLandscapeAfter(1);
  std::vector<std::string> want = {"FVPageViewGetPageNum(view0)"};
  append(want, regionPageCalls(1, ""));
  std::vector<std::string> log = cropLog();
  ASSERT_GE(log.size(), want.size());
  std::vector<std::string> tail(log.end() - static_cast<long>(want.size()), log.end());
  EXPECT_EQ(tail, want) << dump();
  EXPECT_EQ(page(1).setCropBoxes, 0);
  EXPECT_EQ(afterCount("FVAlertNote"), 0u);
}

TEST_F(CommandsSkipPersistence, CurrentCropAfterADismissedQuestionAsksNothing)
{
  // The run's dismissed questions leave the answer at 1; a single page is
  // never asked, and the mismatched page is left alone.
  makeAlternating();
  host.alertAnswers = {2, 0, 0};
  applyRegion(kRegion);
  drawRegion(kRegion);
  host.viewOf(host.pageView(0))->pageNum = 3;
  host.alertAnswers = {1};
  clickInsideRegion();
  EXPECT_EQ(afterOf("FVAlert"), std::vector<std::string>{kPagesQuestion}) << dump();
  EXPECT_EQ(R(page(3).cropBox), oldBox(3));
}

TEST_F(CommandsSkipPersistence, EveryAllPagesRunAsksAfreshAfterAnEarlierSkip)
{
  makeAlternating();
  host.alertAnswers = {2, 1};
  applyRegion(kRegion);
  host.alertAnswers = {2, 2};
  applyRegion(kRegion);
  EXPECT_EQ(afterOf("FVAlert"), (std::vector<std::string>{kPagesQuestion, kOrientationQuestion})) << dump();
  EXPECT_EQ(R(page(1).cropBox), kLandscapeBox);
}

TEST_F(CommandsSkipPersistence, EveryAllPagesRunAsksAfreshAfterAnEarlierCrop)
{
  makeAlternating();
  host.alertAnswers = {2, 2};
  applyRegion(kRegion);
  for (int i : {1, 3})
    page(i).cropBox = pts(10 + i, 780, 600 - i, 12);
  host.alertAnswers = {2, 1};
  applyRegion(kRegion);
  EXPECT_EQ(afterOf("FVAlert"), (std::vector<std::string>{kPagesQuestion, kOrientationQuestion})) << dump();
  EXPECT_EQ(R(page(1).cropBox), oldBox(1));
  EXPECT_EQ(R(page(3).cropBox), oldBox(3));
}

} // namespace
} // namespace cmdtest
