// The viewer controller without an X server: a fake port records what the
// controller asks of the widgets. Zoom steps, fit width and fit page at each
// rotation, scrolling and wheel paging at the page ends, click counting, the
// keys' bindings to command names, go to page, the status line and the title.
#include <gtest/gtest.h>

#include <cmath>

#include "ViewTestSupport.h"
#include "model/Page.h"
#include "view/Application.h"
#include "view/KeyBindings.h"
#include "view/Menus.h"
#include "view/ViewerController.h"

using namespace folio::view;

namespace {

// Records every request; answers the viewport and the page number it is given.
struct FakePort : ViewerPort {
  ViewportSize size{800, 600};
  std::optional<int> pageAnswer;
  std::vector<std::string> log;
  ScrollState lastScroll;
  std::string status, title;
  int redraws = 0, pageChanges = 0, pageQuestions = 0;

  ViewportSize viewportSize() override { return size; }
  void scrollTo(const ScrollState &s) override
  {
    lastScroll = s;
    log.push_back("scroll " + std::to_string(s.x) + " " + std::to_string(s.y));
  }
  void requestRedraw(bool pageChange) override
  {
    redraws++;
    pageChanges += pageChange;
    log.push_back(pageChange ? "redraw page" : "redraw");
  }
  void setStatus(const std::string &text) override { status = text; }
  void setTitle(const std::string &text) override { title = text; }
  std::optional<int> askPageNumber(int pageCount) override
  {
    pageQuestions++;
    log.push_back("ask page 1-" + std::to_string(pageCount));
    return pageAnswer;
  }
};

struct ViewController : ::testing::Test {
  Application app;
  viewtest::RecordingPorts ports;
  FakePort port;
  std::unique_ptr<ViewerController> ctl;

  void start(ViewportSize size = {800, 600})
  {
    port.size = size;
    app.setPorts(ports.ports());
    ctl = std::make_unique<ViewerController>(app, port);
  }
  DocWindow &open(const std::vector<viewtest::Sheet> &pages, const std::string &name = "doc.pdf")
  {
    DocWindow &doc = app.openDocument(viewtest::makePdf(name, pages));
    ctl->sync();
    return doc;
  }
  PageView &view() { return *ctl->shownView(); }
  int contentHeight() { return view().pageDeviceHeight() + 2 * kPageMargin; }
  int contentWidth() { return view().pageDeviceWidth() + 2 * kPageMargin; }
};

std::vector<viewtest::Sheet> letters(int n, int rotate = 0)
{
  return std::vector<viewtest::Sheet>(n, viewtest::page(0, 0, 612, 792, rotate));
}

} // namespace

// ---- the policy as plain functions -------------------------------------------------

TEST(ViewViewerPolicy, ZoomStepsGoToTheNeighbouringStepAndStopAtTheEnds)
{
  const auto &steps = ViewerController::kZoomSteps;
  const size_t n = sizeof steps / sizeof steps[0];
  for (size_t i = 0; i + 1 < n; i++) {
    EXPECT_EQ(ViewerController::nextZoomStep(steps[i], +1), steps[i + 1]);
    EXPECT_EQ(ViewerController::nextZoomStep(steps[i + 1], -1), steps[i]);
    // Between two steps: the one above or below.
    double between = (steps[i] + steps[i + 1]) / 2;
    EXPECT_EQ(ViewerController::nextZoomStep(between, +1), steps[i + 1]);
    EXPECT_EQ(ViewerController::nextZoomStep(between, -1), steps[i]);
  }
  EXPECT_EQ(ViewerController::nextZoomStep(steps[n - 1], +1), steps[n - 1]);
  EXPECT_EQ(ViewerController::nextZoomStep(steps[0], -1), steps[0]);
  // A fitted zoom just off a step (66.666...) counts as that step.
  EXPECT_EQ(ViewerController::nextZoomStep(66.666, +1), 75);
}

TEST(ViewViewerPolicy, FitZoomsFillTheViewportLessTheMargins)
{
  ViewportSize vp{800, 600};
  double w = ViewerController::fitWidthZoom(612, vp);
  EXPECT_LE(612 * w / 100, 800 - 2 * kPageMargin);
  EXPECT_GT(612 * (w + 0.01) / 100, 800 - 2 * kPageMargin);
  double p = ViewerController::fitPageZoom(612, 792, vp);
  EXPECT_LE(792 * p / 100, 600 - 2 * kPageMargin); // the height limits a letter page here
  EXPECT_LE(612 * p / 100, 800 - 2 * kPageMargin);
  EXPECT_GT(792 * (p + 0.01) / 100, 600 - 2 * kPageMargin);
  EXPECT_EQ(ViewerController::fitWidthZoom(612, {}), 0);
  EXPECT_EQ(ViewerController::fitPageZoom(0, 792, vp), 0);
}

// ---- keys ------------------------------------------------------------------------------

TEST(ViewKeyBindings, TheViewersKeysResolveToCommandNames)
{
  KeyBindings k = KeyBindings::viewerDefaults();
  EXPECT_EQ(k.lookup("Next", 0), "NextPage");
  EXPECT_EQ(k.lookup("KP_Next", 0), "NextPage");
  EXPECT_EQ(k.lookup("Prior", 0), "PreviousPage");
  EXPECT_EQ(k.lookup("Home", 0), "FirstPage");
  EXPECT_EQ(k.lookup("End", 0), "LastPage");
  EXPECT_EQ(k.lookup("Down", 0), "ScrollDown");
  EXPECT_EQ(k.lookup("Left", 0), "ScrollLeft");
  EXPECT_EQ(k.lookup("equal", 0), "ZoomIn");
  EXPECT_EQ(k.lookup("KP_Subtract", 0), "ZoomOut");
  // Shift does not matter; Ctrl and Alt do (those are menu shortcuts).
  EXPECT_EQ(k.lookup("Down", kShortcutShift), "ScrollDown");
  EXPECT_EQ(k.lookup("plus", kShortcutShift), "ZoomIn");
  EXPECT_EQ(k.lookup("Next", kShortcutCtrl), "");
  EXPECT_EQ(k.lookup("Down", kShortcutAlt), "");
  EXPECT_EQ(k.lookup("F13", 0), "");
}

TEST(ViewKeyBindings, BindingAgainReplacesAndShiftBindingsNeedShift)
{
  KeyBindings k;
  k.bind("space", 0, "ScrollDown");
  k.bind("space", 0, "NextPage");
  k.bind("space", kShortcutShift, "PreviousPage");
  ASSERT_EQ(k.bindings().size(), 2u);
  EXPECT_EQ(k.lookup("space", 0), "NextPage");
  EXPECT_EQ(k.lookup("space", kShortcutShift), "NextPage") << "the first binding that matches wins";
  KeyBindings s;
  s.bind("space", kShortcutShift, "PreviousPage");
  EXPECT_EQ(s.lookup("space", 0), "");
  EXPECT_EQ(s.lookup("space", kShortcutShift), "PreviousPage");
}

TEST(ViewKeyBindings, KeyNamesGiveTheirShortcutCharacters)
{
  EXPECT_EQ(keyCharacter("a"), 'a');
  EXPECT_EQ(keyCharacter("9"), '9');
  EXPECT_EQ(keyCharacter("equal"), '=');
  EXPECT_EQ(keyCharacter("minus"), '-');
  EXPECT_EQ(keyCharacter("Next"), 0);
  EXPECT_EQ(keyCharacter(""), 0);
}

TEST(ViewKeyBindings, MenuShortcutsAreFoundWithTheirExactModifiers)
{
  MenuBar bar;
  Menu *m = Menu::create("&Test", "Test");
  MenuItem *a = MenuItem::create("A", "A", nullptr, false, 'a', kShortcutCtrl);
  MenuItem *b = MenuItem::create("B", "B", nullptr, false, 'z', kShortcutCtrl | kShortcutShift);
  b->setAltShortcut('y', kShortcutCtrl);
  m->insert(a, kAppendIndex);
  m->insert(b, kAppendIndex);
  a->release();
  b->release();
  bar.addMenu(m);
  m->release();
  EXPECT_EQ(findShortcutItem(bar, 'A', kShortcutCtrl), a) << "letters are compared without case";
  EXPECT_EQ(findShortcutItem(bar, 'a', kShortcutCtrl | kShortcutShift), nullptr);
  EXPECT_EQ(findShortcutItem(bar, 'z', kShortcutCtrl | kShortcutShift), b);
  EXPECT_EQ(findShortcutItem(bar, 'y', kShortcutCtrl), b);
  EXPECT_EQ(findShortcutItem(bar, 0, kShortcutCtrl), nullptr);
}

// ---- the command table ---------------------------------------------------------------

TEST_F(ViewController, TheViewCommandsAreNamedItemsAndTheScrollCommandsStayOutOfTheMenus)
{
  start();
  ASSERT_NE(app.menuBar().findMenu("View"), nullptr);
  for (const char *name :
       {"ZoomIn", "ZoomOut", "ActualSize", "FitWidth", "FitPage", "NextPage", "PreviousPage", "FirstPage",
        "LastPage", "GoToPage", "ShowCroppedPages", "Units:points", "Units:millimetres", "Units:inches"}) {
    EXPECT_NE(app.menuBar().findItem(name), nullptr) << name;
    EXPECT_EQ(ctl->command(name), app.menuBar().findItem(name)) << name;
  }
  for (const char *name : {"ScrollUp", "ScrollDown", "ScrollLeft", "ScrollRight"}) {
    EXPECT_EQ(app.menuBar().findItem(name), nullptr) << name;
    EXPECT_NE(ctl->command(name), nullptr) << name;
  }
  // The menu bar's other items are commands too.
  EXPECT_EQ(ctl->command("Undo"), app.menuBar().findItem("Undo"));
  EXPECT_EQ(ctl->command("NoSuchCommand"), nullptr);
  // The View menu comes right after Edit.
  const auto &menus = app.menuBar().menus();
  for (size_t i = 0; i < menus.size(); i++)
    if (menus[i]->name() == "View") {
      ASSERT_GT(i, 0u);
      EXPECT_EQ(menus[i - 1]->name(), "Edit");
    }
}

TEST_F(ViewController, WithoutADocumentThePageCommandsAreDisabledAndTheTextSaysSo)
{
  start();
  EXPECT_FALSE(ctl->command("NextPage")->isEnabled());
  EXPECT_FALSE(ctl->runCommand("ZoomIn"));
  EXPECT_TRUE(ctl->command("Units:inches")->isEnabled());
  ctl->sync();
  EXPECT_EQ(port.status, "No document");
  EXPECT_EQ(port.title, "Folio");
}

TEST_F(ViewController, ItsCommandsDoNothingOnceItIsGone)
{
  start();
  open(letters(2));
  MenuItem *next = ctl->command("NextPage");
  ctl.reset();
  EXPECT_FALSE(next->isEnabled());
  next->execute();
  EXPECT_EQ(app.activeDocument()->pageView().pageNumber(), 0);
}

// ---- zoom and fitting ------------------------------------------------------------------

TEST_F(ViewController, ZoomCommandsStepAndKeepTheCentre)
{
  start({400, 300});
  open(letters(1));
  EXPECT_EQ(view().zoomPercent(), 100);
  ASSERT_TRUE(ctl->runCommand("ZoomIn"));
  EXPECT_EQ(view().zoomPercent(), 125);
  ASSERT_TRUE(ctl->runCommand("ZoomOut"));
  ASSERT_TRUE(ctl->runCommand("ZoomOut"));
  EXPECT_EQ(view().zoomPercent(), 75);
  ASSERT_TRUE(ctl->runCommand("ActualSize"));
  EXPECT_EQ(view().zoomPercent(), 100);
  // The page point at the viewport's centre stays there across a zoom
  // (within the page margin, which the centre is reckoned without).
  ctl->scrollBy(100, 200);
  double px, py, qx, qy;
  view().deviceToPage(200, 150, px, py);
  ctl->runCommand("ZoomIn");
  view().deviceToPage(200, 150, qx, qy);
  EXPECT_NEAR(qx, px, kPageMargin / view().scale());
  EXPECT_NEAR(qy, py, kPageMargin / view().scale());
  EXPECT_GT(port.pageChanges, 0) << "a zoom is redrawn as a new page";
}

TEST_F(ViewController, FitWidthAndFitPageFillTheViewportAtEachRotation)
{
  for (int rotate : {0, 90, 180, 270}) {
    SCOPED_TRACE(rotate);
    ctl.reset();
    start({700, 500});
    open(letters(1, rotate), "r" + std::to_string(rotate) + ".pdf");
    ASSERT_TRUE(ctl->runCommand("FitWidth"));
    // The rotated page spans the viewport less the margins, to the pixel.
    EXPECT_NEAR(view().pageDeviceWidth(), 700 - 2 * kPageMargin, 1);
    EXPECT_LE(view().pageDeviceWidth(), 700 - 2 * kPageMargin);
    EXPECT_EQ(view().deviceWidth(), 700);
    ASSERT_TRUE(ctl->runCommand("FitPage"));
    EXPECT_LE(view().pageDeviceWidth(), 700 - 2 * kPageMargin);
    EXPECT_LE(view().pageDeviceHeight(), 500 - 2 * kPageMargin);
    // One side touches the margins: the height of an upright letter page,
    // the width of a turned one... both against this wide viewport: height.
    EXPECT_NEAR(view().pageDeviceHeight(), 500 - 2 * kPageMargin, 1);
    // All of it in sight: centred, not scrolled into.
    EXPECT_LE(view().scrollX(), 0);
    EXPECT_LE(view().scrollY(), 0);
    app.closeDocument(app.activeDocument(), true);
  }
}

TEST_F(ViewController, FitPageOfATurnedPageInATallViewportIsLimitedByItsWidth)
{
  start({500, 900});
  open(letters(1, 90));
  ASSERT_TRUE(ctl->runCommand("FitPage"));
  // Turned, the letter page is 792 wide: the width limits it.
  EXPECT_NEAR(view().pageDeviceWidth(), 500 - 2 * kPageMargin, 1);
  EXPECT_LT(view().pageDeviceHeight(), 900 - 2 * kPageMargin);
}

TEST_F(ViewController, WithoutAViewportTheFitCommandsAreDisabledAndTheViewKeepsThePageSize)
{
  start({0, 0});
  open(letters(2));
  EXPECT_FALSE(ctl->command("FitWidth")->isEnabled());
  EXPECT_FALSE(ctl->runCommand("FitPage"));
  EXPECT_EQ(view().deviceWidth(), 612 + 2 * kPageMargin);
  ASSERT_TRUE(ctl->runCommand("NextPage"));
  EXPECT_EQ(view().pageNumber(), 1);
  EXPECT_EQ(view().scrollX(), 0);
  EXPECT_EQ(view().scrollY(), 0);
}

// ---- pages, scrolling and the wheel ------------------------------------------------------

TEST_F(ViewController, PageCommandsStayWithinTheDocument)
{
  start();
  open(letters(3));
  ctl->runCommand("LastPage");
  EXPECT_EQ(view().pageNumber(), 2);
  int changes = port.pageChanges;
  ctl->runCommand("NextPage"); // already on the last page
  EXPECT_EQ(view().pageNumber(), 2);
  EXPECT_EQ(port.pageChanges, changes) << "nothing to redraw";
  ctl->runCommand("PreviousPage");
  EXPECT_EQ(view().pageNumber(), 1);
  ctl->runCommand("FirstPage");
  EXPECT_EQ(view().pageNumber(), 0);
  ctl->runCommand("PreviousPage");
  EXPECT_EQ(view().pageNumber(), 0);
}

TEST_F(ViewController, ScrollingIsKeptInRangeAndASmallPageIsCentred)
{
  start({400, 300});
  open(letters(1));
  const int maxY = contentHeight() - 300;
  EXPECT_EQ(view().scrollY(), 0) << "a new page starts at its top";
  ctl->runCommand("ScrollDown");
  EXPECT_EQ(view().scrollY(), ViewerController::kScrollStep);
  ctl->scrollBy(0, 100000);
  EXPECT_EQ(view().scrollY(), maxY);
  ctl->scrollBy(-100000, 0);
  EXPECT_EQ(view().scrollX(), 0);
  ctl->sync();
  EXPECT_EQ(port.lastScroll.y, maxY);
  EXPECT_EQ(port.lastScroll.contentHeight, contentHeight());
  EXPECT_EQ(port.lastScroll.viewportHeight, 300);
  // A page smaller than the viewport is centred in it.
  ctl->setZoom(25);
  EXPECT_EQ(view().scrollX(), -(400 - contentWidth()) / 2);
  EXPECT_EQ(view().scrollY(), -(300 - contentHeight()) / 2);
}

TEST_F(ViewController, TheWheelScrollsThenTurnsThePageAtItsEnds)
{
  start({400, 300});
  open(letters(3));
  const int maxY = contentHeight() - 300;
  const int steps = (maxY + ViewerController::kWheelStep - 1) / ViewerController::kWheelStep;
  for (int i = 0; i < steps; i++)
    ctl->wheel(+1, 0);
  EXPECT_EQ(view().pageNumber(), 0);
  EXPECT_EQ(view().scrollY(), maxY);
  ctl->wheel(+1, 0); // at the bottom: the next page, from its top
  EXPECT_EQ(view().pageNumber(), 1);
  EXPECT_EQ(view().scrollY(), 0);
  ctl->wheel(-1, 0); // at the top: the previous page, at its bottom
  EXPECT_EQ(view().pageNumber(), 0);
  EXPECT_EQ(view().scrollY(), maxY);
  ctl->runCommand("LastPage");
  ctl->scrollBy(0, 100000);
  ctl->wheel(+1, 0); // the end of the document: nothing more
  EXPECT_EQ(view().pageNumber(), 2);
  EXPECT_EQ(view().scrollY(), maxY);
  ctl->runCommand("FirstPage");
  ctl->wheel(-1, 0);
  EXPECT_EQ(view().pageNumber(), 0);
  EXPECT_EQ(view().scrollY(), 0);
}

TEST_F(ViewController, TheWheelWithShiftScrollsSidewaysAndWithCtrlZooms)
{
  start({400, 300});
  open(letters(1));
  ctl->wheel(+1, kShortcutShift);
  EXPECT_EQ(view().scrollX(), ViewerController::kWheelStep);
  EXPECT_EQ(view().scrollY(), 0);
  ctl->wheel(-1, kShortcutCtrl); // up: in
  EXPECT_EQ(view().zoomPercent(), 125);
  ctl->wheel(+1, kShortcutCtrl);
  EXPECT_EQ(view().zoomPercent(), 100);
}

TEST_F(ViewController, AWholePageInSightTurnsAtEachWheelStep)
{
  start({800, 900});
  open(letters(3));
  ctl->wheel(+1, 0);
  EXPECT_EQ(view().pageNumber(), 1);
  ctl->wheel(+1, 0);
  EXPECT_EQ(view().pageNumber(), 2);
  ctl->wheel(+1, 0);
  EXPECT_EQ(view().pageNumber(), 2);
}

TEST_F(ViewController, KeysRunTheirBoundCommandsAndShortcutsTheMenuItems)
{
  start({400, 300});
  open(letters(3));
  EXPECT_TRUE(ctl->keyPress({"Next", 0, 0}));
  EXPECT_EQ(view().pageNumber(), 1);
  EXPECT_TRUE(ctl->keyPress({"End", 0, 0}));
  EXPECT_EQ(view().pageNumber(), 2);
  EXPECT_TRUE(ctl->keyPress({"Home", 0, kShortcutShift}));
  EXPECT_EQ(view().pageNumber(), 0);
  EXPECT_TRUE(ctl->keyPress({"Down", 0, 0}));
  EXPECT_EQ(view().scrollY(), ViewerController::kScrollStep);
  // Ctrl+minus is Zoom Out's shortcut; the character comes from the name.
  EXPECT_TRUE(ctl->keyPress({"minus", 0, kShortcutCtrl}));
  EXPECT_EQ(view().zoomPercent(), 75);
  EXPECT_TRUE(ctl->keyPress({"plus", '=', kShortcutCtrl}));
  EXPECT_EQ(view().zoomPercent(), 100);
  // What a key would run, without running it.
  EXPECT_EQ(ctl->commandForKey({"KP_Next", 0, 0}), ctl->command("NextPage"));
  EXPECT_EQ(ctl->commandForKey({"g", 0, kShortcutCtrl}), ctl->command("GoToPage"));
  EXPECT_EQ(ctl->commandForKey({"F13", 0, 0}), nullptr);
  EXPECT_EQ(view().zoomPercent(), 100);
  // Keys that mean nothing here go on to the tool.
  EXPECT_FALSE(ctl->keyPress({"x", 0, 0}));
  EXPECT_FALSE(ctl->keyPress({"Next", 0, kShortcutCtrl}));
  // Rebinding a key changes what it runs.
  ctl->keyBindings().bind("space", 0, "NextPage");
  EXPECT_TRUE(ctl->keyPress({"space", 0, 0}));
  EXPECT_EQ(view().pageNumber(), 1);
}

TEST_F(ViewController, PageKeysWithoutADocumentAreNotTaken)
{
  start();
  EXPECT_FALSE(ctl->keyPress({"Next", 0, 0}));
  EXPECT_FALSE(ctl->keyPress({"equal", 0, 0}));
}

TEST_F(ViewController, GoToPageAsksAndGoesOnlyToAPageThatExists)
{
  start();
  open(letters(5));
  port.pageAnswer = 4;
  ASSERT_TRUE(ctl->runCommand("GoToPage"));
  EXPECT_EQ(view().pageNumber(), 3);
  EXPECT_EQ(port.log.back(), "redraw page");
  port.pageAnswer = 9;
  ctl->runCommand("GoToPage");
  EXPECT_EQ(view().pageNumber(), 3);
  port.pageAnswer = std::nullopt; // cancelled
  ctl->runCommand("GoToPage");
  EXPECT_EQ(view().pageNumber(), 3);
  EXPECT_EQ(port.pageQuestions, 3);
  EXPECT_NE(std::find(port.log.begin(), port.log.end(), "ask page 1-5"), port.log.end());
}

TEST_F(ViewController, ClicksCloseInTimeAndPlaceAreCounted)
{
  start();
  EXPECT_EQ(ctl->countClick(100, 100, 10000), 1);
  EXPECT_EQ(ctl->countClick(102, 101, 10200), 2);
  EXPECT_EQ(ctl->countClick(101, 103, 10400), 3);
  // Too late, too far: a new first click.
  EXPECT_EQ(ctl->countClick(101, 103, 10400 + ViewerController::kDoubleClickMs), 1);
  EXPECT_EQ(ctl->countClick(101 + ViewerController::kClickDistance, 103, 10500), 1);
}

TEST_F(ViewController, AResizeGivesTheViewTheNewSizeAndKeepsTheScrollInRange)
{
  start({400, 300});
  open(letters(1));
  ctl->scrollBy(0, 100000);
  port.size = {500, 700};
  ctl->viewportChanged();
  EXPECT_EQ(view().deviceWidth(), 500);
  EXPECT_EQ(view().deviceHeight(), 700);
  EXPECT_EQ(view().scrollY(), contentHeight() - 700);
  ctl->scrollBarMoved(10, 20);
  EXPECT_EQ(view().scrollX(), 10);
  EXPECT_EQ(port.log.back(), "redraw");
}

// ---- text ---------------------------------------------------------------------------------

TEST_F(ViewController, StatusAndTitleFollowThePageTheZoomAndTheDocumentsState)
{
  start();
  DocWindow &doc = open(letters(3), "status.pdf");
  EXPECT_EQ(port.title, "status.pdf - Folio");
  EXPECT_EQ(
      port.status.find("Page 1 of 3     Zoom 100%     Crop box: left 0  bottom 0  width 612  height 792 pt"),
      0u)
      << port.status;
  ctl->runCommand("NextPage");
  ctl->runCommand("ZoomOut");
  ASSERT_TRUE(ctl->runCommand("Units:inches"));
  EXPECT_EQ(port.status, "Page 2 of 3     Zoom 75%     Crop box: left 0  bottom 0  width 8.5  height 11 in");
  EXPECT_EQ(app.units(), Unit::Inches);
  EXPECT_TRUE(ctl->command("Units:inches")->isMarked());
  EXPECT_FALSE(ctl->command("Units:points")->isMarked());
  // A change not saved yet: a star after the title.
  view().page().setCropBox(
      FixedRect{viewtest::fx(10), viewtest::fx(700), viewtest::fx(600), viewtest::fx(20)});
  doc.document().setFlags(PDDocNeedsSave);
  ctl->sync();
  EXPECT_EQ(port.title, "status.pdf * - Folio");
  EXPECT_EQ(port.status.find("Page 2 of 3     Zoom 75%     Crop box: left 0.139  bottom 0.278"), 0u)
      << port.status;
  app.closeDocument(&doc, true);
  ctl->sync();
  EXPECT_EQ(port.status, "No document");
  EXPECT_EQ(port.title, "Folio");
}

TEST_F(ViewController, ShowCroppedPagesIsACheckCommandThatRefitsThePage)
{
  start({400, 300});
  open(letters(1));
  view().page().setCropBox(FixedRect{viewtest::fx(0), viewtest::fx(400), viewtest::fx(306), viewtest::fx(0)});
  EXPECT_FALSE(ctl->command("ShowCroppedPages")->isMarked());
  ASSERT_TRUE(ctl->runCommand("ShowCroppedPages"));
  EXPECT_TRUE(app.showCroppedPages());
  EXPECT_TRUE(ctl->command("ShowCroppedPages")->isMarked());
  EXPECT_EQ(view().pageDeviceWidth(), 306);
  EXPECT_EQ(view().scrollY(), 0);
  ASSERT_TRUE(ctl->runCommand("ShowCroppedPages"));
  EXPECT_FALSE(app.showCroppedPages());
  EXPECT_EQ(view().pageDeviceWidth(), 612);
}

TEST_F(ViewController, ShowingAnotherDocumentGivesItTheViewportAndRedrawsIt)
{
  start({400, 300});
  open(letters(1), "a.pdf");
  int changes = port.pageChanges;
  DocWindow &b = open(letters(2), "b.pdf");
  EXPECT_EQ(ctl->shownDocument(), &b);
  EXPECT_EQ(b.pageView().deviceWidth(), 400);
  EXPECT_GT(port.pageChanges, changes);
  EXPECT_EQ(port.title, "b.pdf - Folio");
}

// ---- the Window menu ------------------------------------------------------------------------

TEST_F(ViewController, TheWindowMenuListsTheOpenDocumentsAndShowsTheOneChosen)
{
  start();
  Menu *window = app.menuBar().findMenu("Window");
  ASSERT_NE(window, nullptr);
  ASSERT_EQ(window, ctl->windowMenu());
  const auto &menus = app.menuBar().menus();
  ASSERT_GE(menus.size(), 2u);
  EXPECT_EQ(menus[menus.size() - 2], window) << "just before Help";
  EXPECT_EQ(menus.back()->name(), "Help");
  EXPECT_EQ(window->count(), 0);

  DocWindow &a = open(letters(1), "a&b.pdf");
  DocWindow &b = open(letters(2), "c.pdf");
  ASSERT_EQ(window->count(), 2);
  EXPECT_EQ(window->items()[0]->name(), "Window:1");
  EXPECT_EQ(window->items()[0]->title(), "a&&b.pdf") << "a literal '&', not a mnemonic";
  EXPECT_EQ(window->items()[1]->name(), "Window:2");
  EXPECT_TRUE(ctl->command("Window:2")->isMarked());
  EXPECT_FALSE(ctl->command("Window:1")->isMarked());

  ASSERT_TRUE(ctl->runCommand("Window:1"));
  EXPECT_EQ(app.activeDocument(), &a);
  ctl->sync();
  EXPECT_EQ(ctl->shownDocument(), &a);
  EXPECT_EQ(port.title, "a&b.pdf - Folio");

  // Saved under another name: the item follows, in its place.
  std::string renamed = viewtest::tempPath("renamed.pdf");
  ASSERT_TRUE(app.saveDocument(a, renamed));
  ASSERT_EQ(window->count(), 2);
  EXPECT_EQ(window->items()[0]->name(), "Window:1");
  EXPECT_EQ(window->items()[0]->title(), "renamed.pdf");

  app.closeDocument(&a, true);
  ASSERT_EQ(window->count(), 1);
  EXPECT_EQ(window->items()[0]->name(), "Window:2");
  open(letters(1), "d.pdf");
  EXPECT_EQ(window->items()[1]->name(), "Window:3") << "names are not used again";
  (void)b;
}

TEST_F(ViewController, DocumentsOpenBeforeTheControllerAreListed)
{
  app.setPorts(ports.ports());
  app.openDocument(viewtest::makePdf("early.pdf", letters(1)));
  ctl = std::make_unique<ViewerController>(app, port);
  Menu *window = ctl->windowMenu();
  ASSERT_EQ(window->count(), 1);
  EXPECT_EQ(window->items()[0]->title(), "early.pdf");
  ctl->sync();
  EXPECT_EQ(port.title, "early.pdf - Folio");
}
