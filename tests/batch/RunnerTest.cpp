// Unit tests of the batch runner's ports: questions answered from the
// script, confirmations, notes, the cancel test, progress, menu items and
// tool bar buttons by name. Host menu items stand in for a plug-in's
// commands, so no document or plug-in is needed.
#include "batch/Runner.h"
#include "batch/Script.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

using namespace folio;
using namespace folio::batch;

namespace {

class BatchRunner : public ::testing::Test {
protected:
  view::Application app;
  std::ostringstream out, err;
  std::vector<int> answers;
  std::vector<bool> confirmations;
  std::vector<bool> polls;

  void SetUp() override
  {
    view::Menu *menu = view::Menu::create("Test", "Test");
    app.menuBar().addMenu(menu);
    menu->release();
    addItem("Test:Ask3", [this] {
      answers.push_back(app.ask({3, "Pages to crop?", {"Current", "All", "Cancel"}, false}));
    });
    addItem("Test:Ask2", [this] {
      answers.push_back(app.ask(
          {3, "Some pages do not have same orientation - Crop or Skip them?", {"Skip", "Crop"}, false}));
    });
    addItem("Test:AskTwice", [this] {
      answers.push_back(app.ask({3, "First?", {"Current", "All", "Cancel"}, false}));
      answers.push_back(app.ask({3, "Second?", {"Each", "Biggest"}, false}));
    });
    addItem("Test:Confirm", [this] { confirmations.push_back(app.confirm("Are you sure?")); });
    addItem("Test:Note", [this] { app.note("Cancelled."); });
    addItem("Test:Poll5", [this] {
      for (int i = 0; i < 5; ++i)
        polls.push_back(app.pollCancel());
    });
    addItem("Test:Progress", [this] {
      void *data = nullptr;
      ProgressMonitor m = app.progressMonitor(&data);
      m->beginOperation(data);
      m->setDuration(4, data);
      for (int i = 0; i < 4; ++i)
        m->setCurrValue(i, data);
      m->endOperation(data);
    });
    addItem("Test:ThrowStd", [] { throw std::runtime_error("Cannot find the page: cycle in page tree"); });
    addItem("Test:ThrowOther", [] { throw 42; });
    view::MenuItem *off = addItem("Test:Disabled", [] {});
    off->setHostEnabled([] { return false; });
  }

  view::MenuItem *addItem(const std::string &name, std::function<void()> fn)
  {
    view::MenuItem *item = view::MenuItem::create(name, name);
    item->setHostExecute(std::move(fn));
    app.menuBar().findMenu("Test")->insert(item, view::kAppendIndex);
    item->release();
    return item;
  }

  int run(const std::string &text)
  {
    Script s;
    ParseError e;
    EXPECT_TRUE(parseScript(text, s, e)) << e.message;
    Runner r(app, out, err, "t");
    return r.run(s);
  }
};

} // namespace

TEST_F(BatchRunner, AnswerPressesTheButtonByLabel)
{
  EXPECT_EQ(run("answer All\nmenu Test:Ask3\n"), 0) << err.str();
  ASSERT_EQ(answers.size(), 1u);
  EXPECT_EQ(answers[0], 2);
  EXPECT_EQ(out.str(), "question: Pages to crop? [Current|All|Cancel] -> All\n");
}

TEST_F(BatchRunner, AnswersAreTakenInOrder)
{
  EXPECT_EQ(run("answer Cancel\nanswer Biggest\nmenu Test:AskTwice\n"), 0) << err.str();
  ASSERT_EQ(answers.size(), 2u);
  EXPECT_EQ(answers[0], 3);
  EXPECT_EQ(answers[1], 2);
}

TEST_F(BatchRunner, AlternativeLabelsTakeTheFirstOffered)
{
  EXPECT_EQ(run("answer All|Current\nmenu Test:Ask3\nanswer All|Crop\nmenu Test:Ask2\n"), 0) << err.str();
  ASSERT_EQ(answers.size(), 2u);
  EXPECT_EQ(answers[0], 2);
  EXPECT_EQ(answers[1], 2);
}

TEST_F(BatchRunner, UnansweredQuestionFailsWithTheActionsLine)
{
  EXPECT_EQ(run("# nothing queued\nmenu Test:Ask3\nmenu Test:Note\n"), 1);
  ASSERT_EQ(answers.size(), 1u);
  EXPECT_EQ(answers[0], 0);
  EXPECT_EQ(err.str(),
            "folio: t:2: unanswered question \"Pages to crop?\" [Current|All|Cancel]; queue its answer with "
            "\"answer LABEL\" before the action\n");
  // The run stopped: the note of line 3 never came.
  EXPECT_EQ(out.str(), "question: Pages to crop? [Current|All|Cancel] -> (no answer)\n");
}

TEST_F(BatchRunner, AnswerThatIsNoButtonFailsWithTheAnswersLine)
{
  EXPECT_EQ(run("answer Skip\nmenu Test:Ask3\n"), 1);
  EXPECT_EQ(answers[0], 0);
  EXPECT_EQ(err.str(), "folio: t:1: answer \"Skip\" is not a button of the question \"Pages to crop?\" "
                       "[Current|All|Cancel]\n");
}

TEST_F(BatchRunner, LeftoverAnswersAreDroppedAfterTheAction)
{
  EXPECT_EQ(run("answer All\nanswer Each\nmenu Test:Ask3\nmenu Test:Ask3\n"), 1);
  EXPECT_EQ(out.str(), "question: Pages to crop? [Current|All|Cancel] -> All\n"
                       "unused answer: Each (line 2)\n"
                       "question: Pages to crop? [Current|All|Cancel] -> (no answer)\n");
}

TEST_F(BatchRunner, ConfirmYesAndNo)
{
  EXPECT_EQ(run("confirm yes\nmenu Test:Confirm\nconfirm no\nmenu Test:Confirm\n"), 0) << err.str();
  ASSERT_EQ(confirmations.size(), 2u);
  EXPECT_TRUE(confirmations[0]);
  EXPECT_FALSE(confirmations[1]);
  EXPECT_EQ(out.str(), "confirm: Are you sure? -> yes\nconfirm: Are you sure? -> no\n");
}

TEST_F(BatchRunner, UnansweredConfirmationFails)
{
  EXPECT_EQ(run("menu Test:Confirm\n"), 1);
  EXPECT_FALSE(confirmations.at(0));
  EXPECT_NE(err.str().find("folio: t:1: unanswered confirmation \"Are you sure?\""), std::string::npos);
}

TEST_F(BatchRunner, NotesArePrinted)
{
  EXPECT_EQ(run("menu Test:Note\n"), 0);
  EXPECT_EQ(out.str(), "note: Cancelled.\n");
}

TEST_F(BatchRunner, CancelAtAnswersTrueAtTheNthPollOnly)
{
  EXPECT_EQ(run("cancel-at 3\nmenu Test:Poll5\n"), 0);
  EXPECT_EQ(polls, (std::vector<bool>{false, false, true, false, false}));
  EXPECT_EQ(out.str(), "cancel: poll 3 answers true\n");
}

TEST_F(BatchRunner, CancelAtCountsAcrossActions)
{
  EXPECT_EQ(run("cancel-at 7\nmenu Test:Poll5\nmenu Test:Poll5\n"), 0);
  ASSERT_EQ(polls.size(), 10u);
  for (size_t i = 0; i < polls.size(); ++i)
    EXPECT_EQ(polls[i], i == 6) << i;
}

TEST_F(BatchRunner, NoCancelWithoutCancelAt)
{
  EXPECT_EQ(run("menu Test:Poll5\n"), 0);
  EXPECT_EQ(polls, (std::vector<bool>(5, false)));
}

TEST_F(BatchRunner, SignalRequestCancelsTheNextPollAndStopsTheRun)
{
  Runner::requestCancelFromSignal();
  EXPECT_EQ(run("menu Test:Poll5\nmenu Test:Note\n"), 1);
  EXPECT_EQ(polls, (std::vector<bool>{true, false, false, false, false}));
  // The interrupted command ends as a cancel does; then the run stops.
  EXPECT_EQ(out.str(), "cancel: interrupted at poll 1\n");
  EXPECT_EQ(err.str(),
            "folio: t:1: interrupted: the command was cancelled and the run stops; nothing more is saved\n");
}

TEST_F(BatchRunner, ProgressWithoutTerminalPrintsNothing)
{
  EXPECT_EQ(run("menu Test:Progress\n"), 0);
  EXPECT_EQ(out.str(), "");
  EXPECT_EQ(err.str(), "");
  EXPECT_EQ(app.progressDuration(), 4);
  EXPECT_EQ(app.progressValue(), 3);
}

TEST_F(BatchRunner, ProgressBarDrawnOnRequest)
{
  Script s;
  ParseError e;
  ASSERT_TRUE(parseScript("menu Test:Progress\n", s, e));
  {
    Runner r(app, out, err, "t", true);
    EXPECT_EQ(r.run(s), 0);
  }
  const std::string bar = err.str();
  EXPECT_NE(bar.find("] 0/4"), std::string::npos) << bar;
  EXPECT_NE(bar.find("] 3/4"), std::string::npos) << bar;
  EXPECT_EQ(bar.substr(bar.size() - 4), "\r\033[K");
}

TEST_F(BatchRunner, UnknownMenuItem)
{
  EXPECT_EQ(run("menu Test:Nothing\n"), 1);
  EXPECT_EQ(err.str(), "folio: t:1: no menu item named \"Test:Nothing\"\n");
}

TEST_F(BatchRunner, DisabledMenuItem)
{
  EXPECT_EQ(run("menu Test:Disabled\n"), 1);
  EXPECT_EQ(err.str(), "folio: t:1: menu item \"Test:Disabled\" is disabled\n");
}

TEST_F(BatchRunner, UnknownButton)
{
  EXPECT_EQ(run("button Nothing\n"), 1);
  EXPECT_EQ(err.str(), "folio: t:1: no tool bar button named \"Nothing\"\n");
}

TEST_F(BatchRunner, SeparatorButtonIsDisabled)
{
  EXPECT_EQ(run("button endToolsGroup\n"), 1);
  EXPECT_EQ(err.str(), "folio: t:1: tool bar button \"endToolsGroup\" is disabled\n");
}

TEST_F(BatchRunner, StepsNeedingADocumentFailWithoutOne)
{
  EXPECT_EQ(run("show-boxes\n"), 1);
  EXPECT_EQ(err.str(), "folio: t:1: show-boxes: no document is open\n");
}

TEST_F(BatchRunner, MissingFileFailsWithItsLine)
{
  EXPECT_EQ(run("\nopen /nonexistent/folio-test.pdf\nmenu Test:Note\n"), 1);
  EXPECT_EQ(err.str().rfind("folio: t:2: cannot open \"/nonexistent/folio-test.pdf\": ", 0), 0u) << err.str();
  EXPECT_EQ(out.str(), "");
}

TEST_F(BatchRunner, PortsAreRemovedWithTheRunner)
{
  {
    Runner r(app, out, err, "t");
    EXPECT_NE(app.ports().alerts, nullptr);
  }
  EXPECT_EQ(app.ports().alerts, nullptr);
  EXPECT_EQ(app.ports().cancel, nullptr);
}

TEST(BatchFormatFixed, Points)
{
  EXPECT_EQ(formatFixed(0x00480000), "72");
  EXPECT_EQ(formatFixed(0x00008000), "0.5");
  EXPECT_EQ(formatFixed(-0x00028000), "-2.5");
  EXPECT_EQ(formatFixed(0), "0");
  EXPECT_EQ(formatFixed(1), "0"); // 1/65536 pt rounds to 0 at four decimals
  EXPECT_EQ(formatFixed(0x00004000), "0.25");
}

TEST_F(BatchRunner, AnExceptionFromAnActionStopsTheRunWithItsMessage)
{
  EXPECT_EQ(run("menu Test:ThrowStd\nmenu Test:Note\n"), 1);
  EXPECT_EQ(err.str(), "folio: t:1: Cannot find the page: cycle in page tree\n");
  EXPECT_EQ(out.str(), ""); // line 2 never ran
}

TEST_F(BatchRunner, AnythingElseThrownStopsTheRunToo)
{
  // Not a std::exception: it used to pass the runner and abort the program.
  EXPECT_EQ(run("menu Test:Note\nmenu Test:ThrowOther\nmenu Test:Note\n"), 1);
  EXPECT_EQ(err.str(), "folio: t:2: An internal error stopped the command.\n");
  EXPECT_EQ(out.str(), "note: Cancelled.\n");
}
