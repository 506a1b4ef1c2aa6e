// The "FolioView" table called as an extension calls it: through the table
// global and the call macros of folio/FolioViewHFT.h (no FOLIO_HOST_SIDE here).
#include <gtest/gtest.h>

#include <cstring>

#include "FailingAllocations.h"

#include "TableHost.h"
#include "folio/FolioViewHFT.h"

HFT gFolioViewHFT = nullptr;
FSUns32 gFolioViewVersion = 0;

namespace {

using testsupport::FailingAllocations;

struct ViewTable : ::testing::Test {
  void SetUp() override
  {
    gFolioViewHFT = tablehost::start();
    gFolioViewVersion = FolioViewHFT_VERSION;
  }
  void TearDown() override
  {
    tablehost::stop();
    gFolioViewHFT = nullptr;
  }
};

int gExecutes = 0;
void *gExecuteData = nullptr;
void CountExecute(void *data)
{
  ++gExecutes;
  gExecuteData = data;
}
FSBool AlwaysTrue(void *)
{
  return 1;
}
FSBool AlwaysFalse(void *)
{
  return 0;
}

void RedOutline(FVPageView pageView, FVRect *, void *)
{
  PDColorValueRec oldValue, red;
  FVPageViewGetColor(pageView, &oldValue);
  std::memset(&red, 0, sizeof red);
  red.space = PDDeviceRGB;
  red.value[0] = fixedOne;
  FVPageViewSetColor(pageView, &red);
  FixedRect media = {0, FSInt32ToFixed(200), FSInt32ToFixed(300), 0};
  FVRect device;
  FVPageViewRectToDevice(pageView, &media, &device);
  FVPageViewDrawRectOutline(pageView, &device, 1, nullptr, 0);
  FVPageViewDrawNow(pageView);
  FVPageViewSetColor(pageView, &oldValue);
}

} // namespace

TEST_F(ViewTable, EveryOperationOfTheHeaderHasAnEntry)
{
  const int selectors[] = {FVAlertSEL,
                           FVAlertNoteSEL,
                           FVAlertConfirmSEL,
                           FVAppGetCancelProcSEL,
                           FVAppGetActiveDocSEL,
                           FVAppGetDocProgressMonitorSEL,
                           FVAppGetMenubarSEL,
                           FVAppGetToolBarSEL,
                           FVAppGetActiveToolSEL,
                           FVAppSetActiveToolSEL,
                           FVAppRegisterToolSEL,
                           FVDocOpenFromFileSEL,
                           FVDocCloseSEL,
                           FVDocGetPDDocSEL,
                           FVDocGetPageViewSEL,
                           FVMenubarAcquireMenuByNameSEL,
                           FVMenubarAcquireMenuItemByNameSEL,
                           FVMenuNewSEL,
                           FVMenuReleaseSEL,
                           FVMenuGetMenuItemIndexSEL,
                           FVMenuAddMenuItemSEL,
                           FVMenuItemNewSEL,
                           FVMenuItemAcquireSEL,
                           FVMenuItemReleaseSEL,
                           FVMenuItemRemoveSEL,
                           FVMenuItemSetExecuteProcSEL,
                           FVMenuItemSetComputeEnabledProcSEL,
                           FVMenuItemSetComputeMarkedProcSEL,
                           FVMenuItemExecuteSEL,
                           FVPageViewGetPageSEL,
                           FVPageViewGetPageNumSEL,
                           FVPageViewGetColorSEL,
                           FVPageViewSetColorSEL,
                           FVPageViewInvalidateRectSEL,
                           FVPageViewDrawNowSEL,
                           FVPageViewDrawRectOutlineSEL,
                           FVPageViewDragOutNewRectSEL,
                           FVPageViewDragRectSEL,
                           FVAppRegisterForPageViewDrawingSEL,
                           FVAppUnregisterForPageViewDrawingSEL,
                           FVPageViewRectToDeviceSEL,
                           FVPageViewDeviceRectToPageSEL,
                           FVSysGetModifiersSEL,
                           FVSysGetStandardCursorSEL,
                           FVSysSetCursorSEL,
                           FVToolBarGetButtonByNameSEL,
                           FVToolBarAddButtonSEL,
                           FVToolBarIsRoomForSEL,
                           FVToolButtonNewSEL,
                           FVToolButtonSetExecuteProcSEL,
                           FVToolButtonSetComputeEnabledProcSEL,
                           FVToolButtonSetComputeMarkedProcSEL,
                           FVToolButtonSetHelpTextSEL};
  EXPECT_EQ(gFolioViewHFT[0], nullptr);
  for (int sel : selectors)
    EXPECT_NE(gFolioViewHFT[sel], nullptr) << "entry " << sel;
  EXPECT_EQ(gFolioViewHFT[1], nullptr); // an operation the host does not offer
}

TEST_F(ViewTable, QuestionsAnswerTheButtonPressed)
{
  tablehost::setAnswers({2});
  EXPECT_EQ(FVAlert(3, "Pages to crop?", "Current", "All", "Cancel", 0), 2);
  EXPECT_EQ(tablehost::log().back(), "ask 3 Pages to crop? [Current] [All] [Cancel]");
}

TEST_F(ViewTable, ADismissedQuestionAnswersZero)
{
  tablehost::setAnswers({});
  EXPECT_EQ(FVAlert(3, "Crop this page?", "Current", "Cancel", nullptr, 0), 0);
  EXPECT_EQ(tablehost::log().back(), "ask 3 Crop this page? [Current] [Cancel]");
}

TEST_F(ViewTable, AnAnswerBeyondTheButtonsCountsAsDismissed)
{
  tablehost::setAnswers({3});
  EXPECT_EQ(
      FVAlert(3, "Some pages do not have same orientation - Crop or Skip them?", "Skip", "Crop", nullptr, 0),
      0);
}

TEST_F(ViewTable, NotesAndConfirmations)
{
  FVAlertNote("Cancelled.");
  tablehost::setConfirm(false);
  EXPECT_EQ(FVAlertConfirm("Are you sure you want to revert to last saved version?"), 0);
  tablehost::setConfirm(true);
  EXPECT_EQ(FVAlertConfirm("Sure?"), 1);
  EXPECT_EQ(tablehost::log()[0], "note Cancelled.");
  EXPECT_EQ(tablehost::log()[1], "confirm Are you sure you want to revert to last saved version?");
}

TEST_F(ViewTable, NoActiveDocumentAtStart)
{
  EXPECT_EQ(FVAppGetActiveDoc(), nullptr);
  EXPECT_EQ(FVDocGetPDDoc(nullptr), nullptr);
  EXPECT_EQ(FVDocGetPageView(nullptr), nullptr);
}

TEST_F(ViewTable, MenusBuiltAsAnExtensionBuildsThem)
{
  FVMenubar menubar = FVAppGetMenubar();
  FVMenu toolsmenu = FVMenubarAcquireMenuByName(menubar, "Tools");
  FVMenu extensionsmenu = FVMenubarAcquireMenuByName(menubar, "Extensions");
  ASSERT_NE(toolsmenu, nullptr);
  ASSERT_NE(extensionsmenu, nullptr);
  FVMenuItem thread = FVMenubarAcquireMenuItemByName(menubar, "Thread");
  FSInt32 indx = FVMenuGetMenuItemIndex(toolsmenu, thread) + 1;
  EXPECT_EQ(indx, 2);
  FVMenu sub = FVMenuNew("Page Shear", "QUIL:Page Shear", nullptr);
  FVMenuItem carrier = FVMenuItemNew("Page Shear", "QUIL:Page Shear", sub, 0, 0, 0, nullptr, nullptr);
  FVMenuAddMenuItem(extensionsmenu, carrier, FVMenuAppendIndex);
  FVMenuItem sel = FVMenuItemNew("Page Shear", "QUIL:PageShearSelTool", nullptr, 0, '9', 8, nullptr, nullptr);
  FVMenuAddMenuItem(toolsmenu, sel, indx);
  FVMenuItem show =
      FVMenuItemNew("S&how Media Box", "QUIL:PSShowMediaBox", nullptr, 0, 0, 0, nullptr, nullptr);
  FVMenuAddMenuItem(sub, show, 2); // past the end of an empty menu: last
  FVMenuItemRelease(thread);
  FVMenuRelease(sub);
  FVMenuRelease(nullptr); // tolerated
  FVMenuRelease(toolsmenu);

  EXPECT_EQ(tablehost::menuNames("Tools"),
            (std::vector<std::string>{"Hand", "Thread", "QUIL:PageShearSelTool"}));
  EXPECT_EQ(tablehost::menuNames("Extensions"), (std::vector<std::string>{"QUIL:Page Shear"}));
  EXPECT_EQ(tablehost::menuNames("QUIL:Page Shear"), (std::vector<std::string>{"QUIL:PSShowMediaBox"}));
  FVMenu found = FVMenubarAcquireMenuByName(menubar, "QUIL:Page Shear");
  EXPECT_EQ(found, sub);
  EXPECT_EQ(FVMenuGetMenuItemIndex(found, show), 0);
  FVMenuRelease(found);
}

TEST_F(ViewTable, IndexOfAnItemThatIsNotThereIsMinusOne)
{
  FVMenubar menubar = FVAppGetMenubar();
  FVMenu tools = FVMenubarAcquireMenuByName(menubar, "Tools");
  EXPECT_EQ(FVMenubarAcquireMenuItemByName(menubar, "NoSuchItem"), nullptr);
  EXPECT_EQ(FVMenuGetMenuItemIndex(tools, nullptr), -1);
  FVMenuItem loose = FVMenuItemNew("x", "x", nullptr, 0, 0, 0, nullptr, nullptr);
  EXPECT_EQ(FVMenuGetMenuItemIndex(tools, loose), -1);
  FVMenuItemRelease(loose);
  FVMenuRelease(tools);
}

TEST_F(ViewTable, SwappingItemsKeepsTheRemovedOneAlive)
{
  FVMenubar menubar = FVAppGetMenubar();
  FVMenu ext = FVMenubarAcquireMenuByName(menubar, "Extensions");
  FVMenuItem show = FVMenuItemNew("S&how", "Show", nullptr, 0, 0, 0, nullptr, nullptr);
  FVMenuItem hide = FVMenuItemNew("H&ide", "Hide", nullptr, 0, 0, 0, nullptr, nullptr);
  FVMenuAddMenuItem(ext, show, 0);
  EXPECT_EQ(tablehost::itemRefCount(show), 2);
  FVMenuItem item = FVMenuItemAcquire(show);
  EXPECT_EQ(item, show);
  FVMenuItemRemove(item);
  FVMenuAddMenuItem(ext, hide, 2);
  EXPECT_EQ(tablehost::menuNames("Extensions"), (std::vector<std::string>{"Hide"}));
  EXPECT_EQ(tablehost::itemRefCount(show), 2); // creator's and the acquire
  item = FVMenuItemAcquire(hide);
  FVMenuItemRemove(item);
  FVMenuAddMenuItem(ext, show, 2);
  EXPECT_EQ(tablehost::menuNames("Extensions"), (std::vector<std::string>{"Show"}));
  FVMenuRelease(ext);
}

TEST_F(ViewTable, ExecuteRunsAnEnabledItemWithItsData)
{
  gExecutes = 0;
  FVMenuItem item = FVMenuItemNew("A", "A", nullptr, 0, 0, 0, nullptr, nullptr);
  int token = 0;
  FVMenuItemSetExecuteProc(item, tablehost::callback(reinterpret_cast<FSProc>(&CountExecute)), &token);
  FVMenuItemSetComputeEnabledProc(item, tablehost::callback(reinterpret_cast<FSProc>(&AlwaysTrue)), nullptr);
  FVMenuItemSetComputeMarkedProc(item, tablehost::callback(reinterpret_cast<FSProc>(&AlwaysFalse)), nullptr);
  FVMenuItemExecute(item);
  EXPECT_EQ(gExecutes, 1);
  EXPECT_EQ(gExecuteData, &token);
  FVMenuItemSetComputeEnabledProc(item, tablehost::callback(reinterpret_cast<FSProc>(&AlwaysFalse)), nullptr);
  FVMenuItemExecute(item);
  EXPECT_EQ(gExecutes, 1); // a disabled item does not run
  FVMenuItemRelease(item);
}

TEST_F(ViewTable, ToolBarButtonGoesBeforeEndToolsGroup)
{
  FVToolBar toolBar = FVAppGetToolBar();
  FVToolButton sep = FVToolBarGetButtonByName(toolBar, tablehost::atom("endToolsGroup"));
  ASSERT_NE(sep, nullptr);
  EXPECT_EQ(FVToolBarIsRoomFor(toolBar, 1, 0), 1);
  FVToolButton b = FVToolButtonNew(tablehost::atom("QUIL:PageShear"), nullptr, 0, 0);
  FVToolBarAddButton(toolBar, b, 1, sep);
  FVToolButtonSetHelpText(b, "Page Shear - used to crop pages");
  EXPECT_EQ(tablehost::toolBarNames(),
            (std::vector<std::string>{"Hand", "Thread", "QUIL:PageShear", "endToolsGroup"}));
  EXPECT_EQ(FVToolBarGetButtonByName(toolBar, tablehost::atom("QUIL:PageShear")), b);
}

TEST_F(ViewTable, ActiveToolAndRegistration)
{
  FVTool hand = FVAppGetActiveTool();
  ASSERT_NE(hand, nullptr);
  static FVToolRec tool;
  std::memset(&tool, 0, sizeof tool);
  tool.size = sizeof tool;
  FVAppRegisterTool(&tool);
  FVAppSetActiveTool(&tool, 1);
  EXPECT_EQ(FVAppGetActiveTool(), &tool);
  FVAppSetActiveTool(nullptr, 1);
  EXPECT_EQ(FVAppGetActiveTool(), hand);
}

TEST_F(ViewTable, CancelProcAndProgressMonitorAreServed)
{
  void *cancelData = nullptr, *monData = nullptr;
  CancelProc cancel = FVAppGetCancelProc(&cancelData);
  ProgressMonitor mon = FVAppGetDocProgressMonitor(&monData);
  ASSERT_NE(cancel, nullptr);
  ASSERT_NE(mon, nullptr);
  EXPECT_EQ(cancel(cancelData), 0);
  mon->beginOperation(monData);
  mon->setDuration(2, monData);
  mon->setCurrValue(1, monData);
  mon->endOperation(monData);
  EXPECT_EQ(tablehost::log(), (std::vector<std::string>{"poll", "begin", "duration 2", "value 1", "end"}));
}

TEST_F(ViewTable, PageViewConversionsThroughTheTable)
{
  FVDoc doc = tablehost::openPage(300, 200, 90);
  EXPECT_EQ(FVAppGetActiveDoc(), doc);
  FVPageView pv = FVDocGetPageView(doc);
  ASSERT_NE(pv, nullptr);
  EXPECT_NE(FVDocGetPDDoc(doc), nullptr);
  EXPECT_NE(FVPageViewGetPage(pv), nullptr);
  EXPECT_EQ(FVPageViewGetPageNum(pv), 0);
  FixedRect media = {0, FSInt32ToFixed(200), FSInt32ToFixed(300), 0};
  FVRect device;
  FVPageViewRectToDevice(pv, &media, &device);
  EXPECT_EQ(device.left, 8);
  EXPECT_EQ(device.top, 8);
  EXPECT_EQ(device.right, 208);
  EXPECT_EQ(device.bottom, 308);
  FixedRect back;
  FVPageViewDeviceRectToPage(pv, &device, &back);
  EXPECT_EQ(back.left, 0);
  EXPECT_EQ(back.top, FSInt32ToFixed(200));
  EXPECT_EQ(back.right, FSInt32ToFixed(300));
  EXPECT_EQ(back.bottom, 0);
}

TEST_F(ViewTable, DrawingCallbackDrawsThroughTheTable)
{
  FVDoc doc = tablehost::openPage(300, 200, 0);
  FVPageView pv = FVDocGetPageView(doc);
  FSCallback cb = tablehost::callback(reinterpret_cast<FSProc>(&RedOutline));
  FVAppRegisterForPageViewDrawing(cb, nullptr);
  EXPECT_EQ(tablehost::drawingCount(), 1);
  FVRect all = {0, 0, 400, 400};
  FVPageViewInvalidateRect(pv, &all);
  FVPageViewDrawNow(pv);
  EXPECT_EQ(tablehost::pixel(8, 100), 0xFF0000u);   // left edge of the media box
  EXPECT_EQ(tablehost::pixel(308, 100), 0xFF0000u); // right edge
  EXPECT_EQ(tablehost::pixel(100, 100), 0xFFFFFFu);
  PDColorValueRec after;
  FVPageViewGetColor(pv, &after);
  EXPECT_EQ(after.value[0], 0); // the callback put the colour back
  FVAppUnregisterForPageViewDrawing(cb);
  EXPECT_EQ(tablehost::drawingCount(), 0);
  FVPageViewInvalidateRect(pv, &all);
  FVPageViewDrawNow(pv);
  EXPECT_EQ(tablehost::pixel(8, 100), 0xFFFFFFu); // erased by the redraw
}

TEST_F(ViewTable, DragLoopsAndModifiersComeFromTheFrontEnd)
{
  FVDoc doc = tablehost::openPage(300, 200, 0);
  FVPageView pv = FVDocGetPageView(doc);
  tablehost::setDragResult(FVRect{10, 20, 30, 40});
  FVRect res;
  FVPageViewDragOutNewRect(pv, 10, 20, &res);
  EXPECT_EQ(res.right, 30);
  FVRect start = {1, 2, 3, 4};
  FVPageViewDragRect(pv, 1, 2, &start, &res, fvDragRightBottom, nullptr);
  EXPECT_EQ(res.bottom, 40);
  EXPECT_EQ(tablehost::log(), (std::vector<std::string>{"dragout 10 20", "drag 1 2 3"}));
  tablehost::setModifiers(4);
  EXPECT_EQ(FVSysGetModifiers(), 4);
}

TEST_F(ViewTable, CursorsComeFromTheFrontEnd)
{
  FVCursor arrow = FVSysGetStandardCursor(0);
  EXPECT_EQ(arrow, reinterpret_cast<FVCursor>(100));
  FVSysSetCursor(arrow);
  EXPECT_EQ(tablehost::log().back(), "cursor 100");
}

TEST_F(ViewTable, CloseThroughTheTable)
{
  FVDoc doc = tablehost::openPage(300, 200, 0);
  EXPECT_EQ(FVDocClose(doc, 1), 1);
  EXPECT_EQ(FVAppGetActiveDoc(), nullptr);
  EXPECT_EQ(FVDocClose(doc, 1), 0); // no longer open
}

TEST_F(ViewTable, OpenFromFileByPathName)
{
  FVDoc doc = FVDocOpenFromFile(tablehost::pathOfNewPdf(false), nullptr, nullptr);
  ASSERT_NE(doc, nullptr);
  EXPECT_EQ(FVAppGetActiveDoc(), doc);
  EXPECT_EQ(tablehost::activeTitle(), "opened.pdf");
  FVDoc titled = FVDocOpenFromFile(tablehost::pathOfNewPdf(false), nullptr, "Reopened");
  ASSERT_NE(titled, nullptr);
  EXPECT_EQ(tablehost::activeTitle(), "Reopened");
}

TEST_F(ViewTable, OpenFromFileOfAMissingFileAnswersNullAndSaysWhy)
{
  EXPECT_EQ(FVDocOpenFromFile(tablehost::pathOfNewPdf(true), nullptr, nullptr), nullptr);
  ASSERT_EQ(tablehost::log().size(), 1u);
  EXPECT_EQ(tablehost::log()[0].rfind("note ", 0), 0u);
  EXPECT_EQ(FVAppGetActiveDoc(), nullptr);
}

TEST_F(ViewTable, ToolButtonProceduresGetTheirClientData)
{
  gExecutes = 0;
  static FVToolRec tool;
  FVToolBar toolBar = FVAppGetToolBar();
  FVToolButton b = FVToolButtonNew(tablehost::atom("QUIL:PageShear"), nullptr, 0, 0);
  FVToolBarAddButton(toolBar, b, 1, FVToolBarGetButtonByName(toolBar, tablehost::atom("endToolsGroup")));
  FVToolButtonSetExecuteProc(b, tablehost::callback(reinterpret_cast<FSProc>(&CountExecute)), &tool);
  FVToolButtonSetComputeMarkedProc(b, tablehost::callback(reinterpret_cast<FSProc>(&AlwaysFalse)), &tool);
  FVToolButtonSetComputeEnabledProc(b, tablehost::callback(reinterpret_cast<FSProc>(&AlwaysTrue)),
                                    reinterpret_cast<void *>(8));
  EXPECT_TRUE(tablehost::buttonEnabled(b));
  EXPECT_FALSE(tablehost::buttonMarked(b));
  tablehost::pressButton(b);
  EXPECT_EQ(gExecutes, 1);
  EXPECT_EQ(gExecuteData, &tool);
}

// Every FolioView entry that takes a handle, given handles none of which is
// a live object of its kind, answers the failure result written beside its
// prototype.
static void expectBarFailureResults(FVMenubar menubar, FVToolBar toolBar)
{
  EXPECT_EQ(FVMenubarAcquireMenuByName(menubar, "Tools"), nullptr);
  EXPECT_EQ(FVMenubarAcquireMenuItemByName(menubar, "Hand"), nullptr);
  EXPECT_EQ(FVToolBarGetButtonByName(toolBar, tablehost::atom("Hand")), nullptr);
  EXPECT_EQ(FVToolBarIsRoomFor(toolBar, 1, 0), 0);
  FVToolButton b = FVToolButtonNew(tablehost::atom("Orphan"), nullptr, 0, 0);
  FVToolBarAddButton(toolBar, b, 1, nullptr); // the button is not added
  EXPECT_EQ(FVToolBarGetButtonByName(FVAppGetToolBar(), tablehost::atom("Orphan")), nullptr);
  FVToolBarAddButton(FVAppGetToolBar(), b, 1, nullptr); // now the tool bar owns it, and frees it
}

static void expectFailureResults(FVDoc doc, FVPageView pv)
{
  EXPECT_EQ(FVDocClose(doc, 1), 0);
  EXPECT_EQ(FVDocGetPDDoc(doc), nullptr);
  EXPECT_EQ(FVDocGetPageView(doc), nullptr);
  EXPECT_EQ(FVPageViewGetPage(pv), nullptr);
  EXPECT_EQ(FVPageViewGetPageNum(pv), -1);
  PDColorValueRec color;
  std::memset(&color, 0x5A, sizeof color);
  FVPageViewGetColor(pv, &color); // all zero for a view that is not there
  PDColorValueRec zeroColor;
  std::memset(&zeroColor, 0, sizeof zeroColor);
  EXPECT_EQ(std::memcmp(&color, &zeroColor, sizeof color), 0);
  FVRect r = {1, 2, 3, 4};
  FixedRect f = {1, 2, 3, 4};
  FVPageViewRectToDevice(pv, &f, &r);
  EXPECT_EQ(r.left, 0);
  EXPECT_EQ(r.top, 0);
  EXPECT_EQ(r.right, 0);
  EXPECT_EQ(r.bottom, 0);
  r = {1, 2, 3, 4};
  FVPageViewDeviceRectToPage(pv, &r, &f);
  EXPECT_EQ(f.left, 0);
  EXPECT_EQ(f.top, 0);
  EXPECT_EQ(f.right, 0);
  EXPECT_EQ(f.bottom, 0);
  FVRect res = {9, 9, 9, 9};
  FVPageViewDragOutNewRect(pv, 10, 20, &res); // the empty rectangle at the press point
  EXPECT_EQ(res.left, 10);
  EXPECT_EQ(res.top, 20);
  EXPECT_EQ(res.right, 10);
  EXPECT_EQ(res.bottom, 20);
  FVRect start = {5, 6, 7, 8};
  FVPageViewDragRect(pv, 6, 7, &start, &res, 0, nullptr); // the start rectangle
  EXPECT_EQ(res.left, 5);
  EXPECT_EQ(res.top, 6);
  EXPECT_EQ(res.right, 7);
  EXPECT_EQ(res.bottom, 8);
  // Entries without a result: nothing happens, and nothing crashes.
  PDColorValueRec red = zeroColor;
  red.value[0] = fixedOne;
  FVPageViewSetColor(pv, &red);
  FVPageViewInvalidateRect(pv, &r);
  FVPageViewInvalidateRect(pv, nullptr);
  FVPageViewDrawNow(pv);
  FVPageViewDrawRectOutline(pv, &r, 1, nullptr, 0);
}

// Every menu, item and tool-button entry given handles that are not live
// ones: the entries with a result answer their failure result, the others do
// nothing (and never touch what the handles point at).
static void expectMenuFailureResults(FVMenu menu, FVMenuItem item, FVToolButton button)
{
  EXPECT_EQ(FVMenuGetMenuItemIndex(menu, item), -1);
  EXPECT_EQ(FVMenuItemAcquire(item), nullptr);
  FVMenuRelease(menu);
  FVMenuAddMenuItem(menu, item, 0);
  FVMenuItemRelease(item);
  FVMenuItemRemove(item);
  FVMenuItemSetExecuteProc(item, nullptr, nullptr);
  FVMenuItemSetComputeEnabledProc(item, nullptr, nullptr);
  FVMenuItemSetComputeMarkedProc(item, nullptr, nullptr);
  FVMenuItemExecute(item);
  FVToolButtonSetExecuteProc(button, nullptr, nullptr);
  FVToolButtonSetComputeEnabledProc(button, nullptr, nullptr);
  FVToolButtonSetComputeMarkedProc(button, nullptr, nullptr);
  FVToolButtonSetHelpText(button, "help");
}

TEST_F(ViewTable, NullHandlesGiveTheFailureResults)
{
  expectFailureResults(nullptr, nullptr);
  expectBarFailureResults(nullptr, nullptr);
  expectMenuFailureResults(nullptr, nullptr, nullptr);
  FVAppRegisterForPageViewDrawing(nullptr, nullptr);
  EXPECT_EQ(tablehost::drawingCount(), 0);
  EXPECT_EQ(FVDocOpenFromFile(nullptr, nullptr, nullptr), nullptr);
}

TEST_F(ViewTable, HandlesThatWereNeverHandedOutGiveTheFailureResults)
{
  // Addresses of something else entirely: never dereferenced as the
  // application's objects (the sanitizer build would see it).
  struct Junk {
    char bytes[256] = {};
  } doc, pv, menubar, toolBar, pathName;
  expectFailureResults(reinterpret_cast<FVDoc>(&doc), reinterpret_cast<FVPageView>(&pv));
  expectBarFailureResults(reinterpret_cast<FVMenubar>(&menubar), reinterpret_cast<FVToolBar>(&toolBar));
  EXPECT_EQ(FVDocOpenFromFile(reinterpret_cast<FSPathName>(&pathName), nullptr, nullptr), nullptr);
}

TEST_F(ViewTable, MenuItemAndButtonHandlesThatAreNotAliveGiveTheFailureResults)
{
  // Addresses that were never a menu, an item or a button: looked up among
  // the live ones, never dereferenced (the sanitizer build would see it).
  struct Junk {
    char bytes[256] = {};
  } menuJunk, itemJunk, buttonJunk;
  auto menu = reinterpret_cast<FVMenu>(&menuJunk);
  auto item = reinterpret_cast<FVMenuItem>(&itemJunk);
  auto button = reinterpret_cast<FVToolButton>(&buttonJunk);
  expectMenuFailureResults(menu, item, button);
  // Nothing was written into them.
  for (const Junk *j : {&menuJunk, &itemJunk, &buttonJunk})
    for (char c : j->bytes)
      ASSERT_EQ(c, 0);

  // A real item, once freed, is no longer alive: its handle is refused too.
  FVMenuItem made = FVMenuItemNew("Gone", "Gone", nullptr, 0, 0, 0, nullptr, nullptr);
  ASSERT_NE(made, nullptr);
  FVMenuItem held = FVMenuItemAcquire(made);
  EXPECT_EQ(held, made);
  FVMenuItemRelease(held);
  FVMenuItemRelease(made); // the last reference: freed
  EXPECT_EQ(FVMenuItemAcquire(made), nullptr);
}

TEST_F(ViewTable, HandlesOfAClosedDocumentGiveTheFailureResults)
{
  FVDoc doc = tablehost::openPage(300, 200, 0);
  FVPageView pv = FVDocGetPageView(doc);
  ASSERT_NE(pv, nullptr);
  ASSERT_EQ(FVDocClose(doc, 1), 1);
  expectFailureResults(doc, pv);
}

TEST_F(ViewTable, EntriesAnswerTheirFailureResultWhenTheFrontEndThrows)
{
  FVDoc doc = tablehost::openPage(300, 200, 0);
  FVPageView pv = FVDocGetPageView(doc);
  tablehost::useThrowingPorts();
  // No exception reaches the caller (a C plug-in): each entry answers as
  // documented for a failure.
  EXPECT_EQ(FVAlert(3, "Pages to crop?", "Current", "All", "Cancel", 0), 0); // dismissed
  EXPECT_EQ(FVAlertConfirm("Sure?"), 0);
  FVAlertNote("Cancelled.");
  FVRect res = {9, 9, 9, 9};
  FVPageViewDragOutNewRect(pv, 10, 20, &res);
  EXPECT_EQ(res.left, 10);
  EXPECT_EQ(res.top, 20);
  EXPECT_EQ(res.right, 10);
  EXPECT_EQ(res.bottom, 20);
  EXPECT_EQ(FVSysGetModifiers(), 0);
  void *cancelData = nullptr, *monData = nullptr;
  CancelProc cancel = FVAppGetCancelProc(&cancelData);
  ProgressMonitor mon = FVAppGetDocProgressMonitor(&monData);
  ASSERT_NE(cancel, nullptr);
  ASSERT_NE(mon, nullptr);
  cancel(cancelData);
  mon->beginOperation(monData);
  mon->setDuration(2, monData);
  mon->setCurrValue(1, monData);
  mon->endOperation(monData);
}

TEST_F(ViewTable, DragRectAnswersTheStartRectangleWhenTheFrontEndThrows)
{
  FVDoc doc = tablehost::openPage(300, 200, 0);
  FVPageView pv = FVDocGetPageView(doc);
  tablehost::useThrowingPorts();
  FVRect start = {5, 6, 70, 80};
  FVRect res = {9, 9, 9, 9};
  FVPageViewDragRect(pv, 6, 7, &start, &res, 0, nullptr);
  EXPECT_EQ(res.left, 5);
  EXPECT_EQ(res.top, 6);
  EXPECT_EQ(res.right, 70);
  EXPECT_EQ(res.bottom, 80);
  FVPageViewDragRect(pv, 6, 7, nullptr, &res, 0, nullptr); // all zero when none was given
  EXPECT_EQ(res.left, 0);
  EXPECT_EQ(res.top, 0);
  EXPECT_EQ(res.right, 0);
  EXPECT_EQ(res.bottom, 0);
}

TEST_F(ViewTable, EntriesWhoseWorkThrowsGiveTheFailureResults)
{
  FVMenubar menubar = FVAppGetMenubar();
  FVMenu tools = FVMenubarAcquireMenuByName(menubar, "Tools");
  ASSERT_NE(tools, nullptr);
  FVMenuItem item = FVMenuItemNew("Item", "Item", nullptr, 0, 0, 0, nullptr, nullptr);
  FSPathName path = tablehost::pathOfNewPdf(false);
  FSCallback draw = tablehost::callback(reinterpret_cast<FSProc>(&RedOutline));
  const std::vector<std::string> menuBefore = tablehost::menuNames("Tools");
  FVMenu newMenu = reinterpret_cast<FVMenu>(1);
  FVMenuItem newItem = reinterpret_cast<FVMenuItem>(1);
  FVToolButton newButton = reinterpret_cast<FVToolButton>(1);
  FVDoc opened = reinterpret_cast<FVDoc>(1);
  const FSAtom newName = tablehost::atom("New"); // made before allocations fail
  {
    FailingAllocations failing;
    newMenu = FVMenuNew("Menu", "Menu", nullptr);                              // null
    newItem = FVMenuItemNew("New", "New", nullptr, 0, 0, 0, nullptr, nullptr); // null
    newButton = FVToolButtonNew(newName, nullptr, 0, 0);                       // null
    FVMenuAddMenuItem(tools, item, FVMenuAppendIndex);                         // not added
    FVAppRegisterForPageViewDrawing(draw, nullptr);                            // not registered
    opened = FVDocOpenFromFile(path, nullptr, nullptr);                        // null
  }
  EXPECT_EQ(newMenu, nullptr);
  EXPECT_EQ(newItem, nullptr);
  EXPECT_EQ(newButton, nullptr);
  EXPECT_EQ(opened, nullptr);
  EXPECT_EQ(tablehost::menuNames("Tools"), menuBefore);
  EXPECT_EQ(tablehost::drawingCount(), 0);
  EXPECT_EQ(FVAppGetActiveDoc(), nullptr);
  FVMenuItemRelease(item);
  FVMenuRelease(tools);
}
