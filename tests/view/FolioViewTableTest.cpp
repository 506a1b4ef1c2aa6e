// The "FolioView" table called as an extension calls it: through the table
// global and the call macros of folio/FolioViewHFT.h (no FOLIO_HOST_SIDE here).
#include <gtest/gtest.h>

#include <cstring>

#include "TableHost.h"
#include "folio/FolioViewHFT.h"

HFT gFolioViewHFT = nullptr;
FSUns32 gFolioViewVersion = 0;

namespace {

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

TEST_F(ViewTable, NullAndStaleHandlesAreHarmless)
{
  FVRect r = {1, 2, 3, 4};
  FixedRect f = {1, 2, 3, 4};
  FVPageViewRectToDevice(nullptr, &f, &r);
  EXPECT_EQ(r.left, 0);
  EXPECT_EQ(r.bottom, 0);
  FVPageViewDeviceRectToPage(nullptr, &r, &f);
  EXPECT_EQ(f.top, 0);
  FVPageViewInvalidateRect(nullptr, &r);
  FVPageViewDrawNow(nullptr);
  FVPageViewDrawRectOutline(nullptr, &r, 1, nullptr, 0);
  EXPECT_EQ(FVPageViewGetPage(nullptr), nullptr);
  EXPECT_EQ(FVPageViewGetPageNum(nullptr), -1);
  EXPECT_EQ(FVMenubarAcquireMenuByName(nullptr, "Tools"), nullptr);
  FVMenuItemRelease(nullptr);
  FVMenuItemRemove(nullptr);
  FVMenuItemExecute(nullptr);
  FVMenuAddMenuItem(nullptr, nullptr, 0);
  EXPECT_EQ(FVToolBarIsRoomFor(nullptr, 1, 0), 0);
  FVAppRegisterForPageViewDrawing(nullptr, nullptr);
  EXPECT_EQ(tablehost::drawingCount(), 0);
  EXPECT_EQ(FVDocOpenFromFile(nullptr, nullptr, nullptr), nullptr);
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
