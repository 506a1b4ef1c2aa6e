// The viewer's widgets under a private Xvfb, driven by xdotool with the real
// pointer and keyboard: dialogs, the progress window and the drag loops.
#include <gtest/gtest.h>

#include "GuiSupport.h"

#include "motif/Dialogs.h"
#include "motif/DragLoops.h"
#include "motif/FramePresenter.h"
#include "motif/ProgressDialog.h"
#include "motif/WindowNames.h"

#include <Xm/DrawingA.h>
#include <Xm/Xm.h>

#include <chrono>
#include <thread>

using namespace folio::motif;

namespace {

constexpr int kAreaW = 400;
constexpr int kAreaH = 300;

// One server and one toolkit connection for the whole program (Motif keeps
// caches per display); each test gets its own shell on it.
struct SharedDisplay {
  testsupport::XServer *xvfb = nullptr;
  XtAppContext app = nullptr;
  Display *dpy = nullptr;
};
SharedDisplay &shared()
{
  static SharedDisplay s;
  if (!s.xvfb) {
    s.xvfb = new testsupport::XServer(); // lives until the program ends
    if (s.xvfb->ok()) {
      XtToolkitInitialize();
      s.app = XtCreateApplicationContext();
      int argc = 0;
      s.dpy =
          XtOpenDisplay(s.app, s.xvfb->display().c_str(), "guitest", "GuiTest", nullptr, 0, &argc, nullptr);
    }
  }
  return s;
}

class GuiWidgets : public ::testing::Test {
protected:
  void SetUp() override
  {
    SharedDisplay &s = shared();
    ASSERT_TRUE(s.xvfb->ok()) << "Xvfb did not start";
    ASSERT_NE(s.dpy, nullptr);
    display = s.xvfb->display();
    app = s.app;
    dpy = s.dpy;
    shell = XtVaAppCreateShell("guitest", "GuiTest", applicationShellWidgetClass, dpy, XmNwidth, kAreaW,
                               XmNheight, kAreaH, XmNx, 100, XmNy, 100, NULL);
    area = XtVaCreateManagedWidget("area", xmDrawingAreaWidgetClass, shell, XmNwidth, kAreaW, XmNheight,
                                   kAreaH, NULL);
    XtRealizeWidget(shell);
    XSync(dpy, False);
    // A test that goes wrong must fail, not hang in a modal loop.
    timer = XtAppAddTimeOut(
        app, 30000, [](XtPointer, XtIntervalId *) { _exit(3); }, nullptr);
  }
  void TearDown() override
  {
    if (helper)
      helper->wait(5000);
    if (timer)
      XtRemoveTimeOut(timer);
    if (shell) {
      XtDestroyWidget(shell);
      // Let the destruction happen and reach the server before the next test.
      while (XtAppPending(app))
        XtAppProcessEvent(app, XtIMAll);
      XSync(dpy, False);
    }
  }

  // Runs xdotool in the background with these arguments.
  void drive(const std::vector<std::string> &args)
  {
    std::vector<std::string> argv{"xdotool"};
    argv.insert(argv.end(), args.begin(), args.end());
    helper = guitest::start(argv, display);
  }
  int helperResult()
  {
    if (!helper)
      return -1;
    int rc = helper->wait(10000).exitCode;
    helper.reset();
    return rc;
  }

  std::string display;
  XtIntervalId timer = 0;
  XtAppContext app = nullptr;
  Display *dpy = nullptr;
  Widget shell = nullptr;
  Widget area = nullptr;
  std::unique_ptr<testsupport::ChildProcess> helper;
};

TEST_F(GuiWidgets, QuestionAnswersTheButtonClickedWithThePointer)
{
  drive({"search", "--sync", "--onlyvisible", "--name", "^All$", "mousemove", "--window", "%1", "6", "6",
         "click", "1"});
  int answer = askQuestion(shell, "Folio", "Pages to crop?", {"Current", "All", "Cancel"},
                           DialogIcon::Question, false);
  EXPECT_EQ(answer, 2);
  EXPECT_EQ(helperResult(), 0);
}

TEST_F(GuiWidgets, QuestionThirdButtonAnswersThree)
{
  drive({"search", "--sync", "--onlyvisible", "--name", "^Cancel$", "mousemove", "--window", "%1", "6", "6",
         "click", "1"});
  EXPECT_EQ(askQuestion(shell, "Folio", "Pages to crop?", {"Current", "All", "Cancel"}, DialogIcon::Question,
                        false),
            3);
}

TEST_F(GuiWidgets, QuestionEscapeAnswersTheLastOfThreeButtons)
{
  // The pointer stays outside the dialog: the focus must have been set on it.
  drive({"mousemove", "1", "1", "search", "--sync", "--onlyvisible", "--name", "^Cancel$", "sleep", "0.2",
         "key", "Escape"});
  EXPECT_EQ(askQuestion(shell, "Folio", "Pages to crop?", {"Current", "All", "Cancel"}, DialogIcon::Question,
                        false),
            3);
}

TEST_F(GuiWidgets, QuestionEscapeAnswersTheLastOfTwoButtons)
{
  drive({"mousemove", "1", "1", "search", "--sync", "--onlyvisible", "--name", "^Crop$", "sleep", "0.2",
         "key", "Escape"});
  EXPECT_EQ(askQuestion(shell, "Folio", "Some pages do not have same orientation - Crop or Skip them?",
                        {"Skip", "Crop"}, DialogIcon::Question, false),
            2);
}

TEST_F(GuiWidgets, QuestionReturnAnswersTheFirstButton)
{
  drive({"mousemove", "1", "1", "search", "--sync", "--onlyvisible", "--name", "^Current$", "sleep", "0.2",
         "key", "Return"});
  EXPECT_EQ(askQuestion(shell, "Folio", "Pages to crop?", {"Current", "All", "Cancel"}, DialogIcon::Question,
                        false),
            1);
}

TEST_F(GuiWidgets, QuestionLeavesOutEmptyLabels)
{
  drive({"search", "--sync", "--onlyvisible", "--name", "^Cancel$", "mousemove", "--window", "%1", "6", "6",
         "click", "1"});
  EXPECT_EQ(
      askQuestion(shell, "Folio", "Crop this page?", {"Current", "Cancel", ""}, DialogIcon::Question, false),
      2);
}

TEST_F(GuiWidgets, ConfirmAnswersTrueForOk)
{
  drive({"search", "--sync", "--onlyvisible", "--name", "^OK$", "mousemove", "--window", "%1", "6", "6",
         "click", "1"});
  EXPECT_TRUE(askConfirm(shell, "Folio", "Are you sure you want to revert to last saved version?"));
}

TEST_F(GuiWidgets, ConfirmAnswersFalseForEscape)
{
  drive({"mousemove", "1", "1", "search", "--sync", "--onlyvisible", "--name", "^OK$", "sleep", "0.2", "key",
         "Escape"});
  EXPECT_FALSE(askConfirm(shell, "Folio", "Are you sure you want to revert to last saved version?"));
}

TEST_F(GuiWidgets, NoteReturnsWhenOkIsPressed)
{
  drive({"search", "--sync", "--onlyvisible", "--name", "^OK$", "mousemove", "--window", "%1", "6", "6",
         "click", "1"});
  showNote(shell, "Folio", "Cancelled.");
  EXPECT_EQ(helperResult(), 0);
}

// Polls like a long operation does, until the cancel test answers true.
int pollUntilCancelled(ProgressDialog &progress, int32_t pages)
{
  progress.setDuration(pages);
  for (int32_t i = 0; i < pages; i++) {
    progress.setValue(i);
    if (progress.poll())
      return i;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return -1;
}

TEST_F(GuiWidgets, ProgressCancelButtonStopsTheOperation)
{
  drive({"search", "--sync", "--onlyvisible", "--name", "^Cancel$", "mousemove", "--window", "%1", "6", "6",
         "click", "1"});
  ProgressDialog progress(shell);
  progress.begin("Cropping pages");
  int stoppedAt = pollUntilCancelled(progress, 1500);
  progress.end();
  EXPECT_GE(stoppedAt, 0);
  EXPECT_TRUE(progress.cancelRequested());
  EXPECT_FALSE(progress.isUp());
}

TEST_F(GuiWidgets, ProgressEscapeStopsTheOperation)
{
  drive({"mousemove", "1", "1", "search", "--sync", "--onlyvisible", "--name", "^Progress$", "sleep", "0.2",
         "key", "Escape"});
  ProgressDialog progress(shell);
  progress.begin("Cropping pages");
  int stoppedAt = pollUntilCancelled(progress, 1500);
  progress.end();
  EXPECT_GE(stoppedAt, 0);
}

TEST_F(GuiWidgets, ProgressBeginClearsAnEarlierCancel)
{
  drive({"search", "--sync", "--onlyvisible", "--name", "^Cancel$", "mousemove", "--window", "%1", "6", "6",
         "click", "1"});
  ProgressDialog progress(shell);
  progress.begin("Cropping pages");
  ASSERT_GE(pollUntilCancelled(progress, 1500), 0);
  progress.end();
  EXPECT_TRUE(progress.cancelRequested());
  progress.begin("Cropping pages");
  EXPECT_FALSE(progress.poll());
  progress.end();
}

// A frame of stripes, so that any pixel left over by a drag shows.
std::vector<uint8_t> stripedFrame()
{
  std::vector<uint8_t> rgb(static_cast<size_t>(kAreaW) * kAreaH * 3);
  for (int y = 0; y < kAreaH; y++)
    for (int x = 0; x < kAreaW; x++) {
      uint8_t *p = &rgb[(static_cast<size_t>(y) * kAreaW + x) * 3];
      p[0] = static_cast<uint8_t>(x * 255 / kAreaW);
      p[1] = (y / 8) % 2 ? 220 : 40;
      p[2] = 128;
    }
  return rgb;
}

struct DragRun {
  DragContext ctx;
  int dragType = -1; // -1: drag out a new rectangle
  DeviceRect start;
  DeviceRect result;
  bool done = false;
};

class GuiDrag : public GuiWidgets {
protected:
  void SetUp() override
  {
    GuiWidgets::SetUp();
    frame = stripedFrame();
    raster = {frame.data(), kAreaW, kAreaH, kAreaW * 3};
    Visual *visual = DefaultVisual(dpy, DefaultScreen(dpy));
    presenter =
        std::make_unique<FramePresenter>(dpy, XtWindow(area), visual, DefaultDepth(dpy, DefaultScreen(dpy)));
    presenter->present(raster, 0, 0, kAreaW, kAreaH);
    XSync(dpy, False);
    nameWindow(area, "area");
    run.ctx.area = area;
    run.ctx.repaint = [this](const DeviceRect &r) {
      presenter->present(raster, r.left, r.top, r.right - r.left, r.bottom - r.top);
    };
    XtAddEventHandler(area, ButtonPressMask, False, onPress, &run);
  }
  void TearDown() override
  {
    presenter.reset(); // before the display goes
    GuiWidgets::TearDown();
  }
  static void onPress(Widget, XtPointer client, XEvent *ev, Boolean *)
  {
    auto *r = static_cast<DragRun *>(client);
    if (r->dragType < 0)
      r->result = dragOutRect(r->ctx, ev->xbutton.x, ev->xbutton.y);
    else
      r->result = dragRect(r->ctx, ev->xbutton.x, ev->xbutton.y, r->start, r->dragType);
    r->done = true;
  }
  void loopUntilDone()
  {
    while (!run.done)
      XtAppProcessEvent(app, XtIMAll);
  }
  // The window shows exactly the frame again: the XOR outline is gone.
  void expectFrameIntact()
  {
    XSync(dpy, False);
    guitest::Snapshot shot(dpy, XtWindow(area));
    ASSERT_TRUE(shot.ok());
    int wrong = 0;
    for (int y = 0; y < kAreaH; y++)
      for (int x = 0; x < kAreaW; x++) {
        const uint8_t *p = &frame[(static_cast<size_t>(y) * kAreaW + x) * 3];
        if (!(shot.at(x, y) == guitest::Rgb{p[0], p[1], p[2]}))
          wrong++;
      }
    EXPECT_EQ(wrong, 0);
  }
  void dragWith(const std::vector<std::pair<int, int>> &points)
  {
    std::vector<std::string> args{"search", "--sync", "--onlyvisible", "--name", "^area$"};
    for (size_t i = 0; i < points.size(); i++) {
      args.insert(args.end(), {"mousemove", "--window", "%1", std::to_string(points[i].first),
                               std::to_string(points[i].second)});
      if (i == 0)
        args.insert(args.end(), {"mousedown", "1"});
      args.insert(args.end(), {"sleep", "0.05"});
    }
    args.insert(args.end(), {"mouseup", "1"});
    drive(args);
  }

  std::vector<uint8_t> frame;
  RgbRaster raster;
  std::unique_ptr<FramePresenter> presenter;
  DragRun run;
};

TEST_F(GuiDrag, DragOutGivesTheRectangleFromPressToRelease)
{
  dragWith({{50, 60}, {120, 100}, {200, 150}});
  loopUntilDone();
  EXPECT_EQ(run.result, (DeviceRect{50, 60, 200, 150}));
  expectFrameIntact();
}

TEST_F(GuiDrag, DragOutUpwardsIsNormalised)
{
  dragWith({{300, 250}, {250, 200}, {100, 40}});
  loopUntilDone();
  EXPECT_EQ(run.result, (DeviceRect{100, 40, 300, 250}));
  expectFrameIntact();
}

TEST_F(GuiDrag, DragOutStopsAtTheBounds)
{
  run.ctx.bounds = {20, 20, 380, 280};
  dragWith({{50, 60}, {399, 299}});
  loopUntilDone();
  EXPECT_EQ(run.result, (DeviceRect{50, 60, 380, 280}));
}

TEST_F(GuiDrag, DragOutWithoutMovementIsEmpty)
{
  dragWith({{70, 80}});
  loopUntilDone();
  EXPECT_EQ(run.result, (DeviceRect{70, 80, 70, 80}));
  expectFrameIntact();
}

TEST_F(GuiDrag, ResizeByTheRightBottomCornerMovesOnlyThatCorner)
{
  run.dragType = 3;
  run.start = {100, 100, 300, 200};
  dragWith({{300, 200}, {320, 230}, {340, 250}});
  loopUntilDone();
  EXPECT_EQ(run.result, (DeviceRect{100, 100, 340, 250}));
  expectFrameIntact();
}

TEST_F(GuiDrag, ResizeByTheLeftTopCornerMovesOnlyThatCorner)
{
  run.dragType = 1;
  run.start = {100, 100, 300, 200};
  dragWith({{101, 99}, {80, 70}, {61, 49}});
  loopUntilDone();
  EXPECT_EQ(run.result, (DeviceRect{60, 50, 300, 200}));
}

TEST_F(GuiDrag, ResizePastTheOppositeCornerIsNormalised)
{
  run.dragType = 2; // right, top
  run.start = {100, 100, 300, 200};
  dragWith({{300, 100}, {200, 150}, {50, 250}});
  loopUntilDone();
  EXPECT_EQ(run.result, (DeviceRect{50, 200, 100, 250}));
}

TEST_F(GuiDrag, MoveKeepsTheSizeAndFollowsThePointer)
{
  run.dragType = 0;
  run.start = {100, 100, 300, 200};
  dragWith({{150, 150}, {170, 160}, {180, 190}});
  loopUntilDone();
  EXPECT_EQ(run.result, (DeviceRect{130, 140, 330, 240}));
  expectFrameIntact();
}

TEST_F(GuiDrag, MoveStaysInsideTheBounds)
{
  run.dragType = 0;
  run.start = {100, 100, 300, 200};
  run.ctx.bounds = {0, 0, 400, 300};
  dragWith({{150, 150}, {300, 280}});
  loopUntilDone();
  EXPECT_EQ(run.result, (DeviceRect{200, 200, 400, 300}));
}

TEST(GuiDragGeometry, DragResultOfEachType)
{
  DeviceRect s{10, 20, 30, 40};
  EXPECT_EQ(dragResult(s, 0, 5, -5), (DeviceRect{15, 15, 35, 35}));
  EXPECT_EQ(dragResult(s, 1, 5, -5), (DeviceRect{15, 15, 30, 40}));
  EXPECT_EQ(dragResult(s, 2, 5, -5), (DeviceRect{10, 15, 35, 40}));
  EXPECT_EQ(dragResult(s, 3, 5, -5), (DeviceRect{10, 20, 35, 35}));
  EXPECT_EQ(dragResult(s, 4, 5, -5), (DeviceRect{15, 20, 30, 35}));
  EXPECT_EQ(dragResult(s, 7, 5, -5), s);
}

} // namespace
