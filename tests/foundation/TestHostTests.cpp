// TestHostTests.cpp: the recording test host's own behaviour that plug-in
// tests rely on: text forms, transforms, menus, scripted answers.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TestHost.h"

#define FOLIO_HOST_SIDE
#include "folio/CoreHFT.h"
#include "folio/FolioSupportHFT.h"
#include "folio/FolioViewHFT.h"
#include "folio/PDModelHFT.h"

using testhost::dev;
using testhost::fvRect;
using testhost::fx;
using testhost::fxRect;
using testhost::pts;
using testhost::Table;
using testhost::TestHost;

namespace {

template <class Proto> Proto entryOf(TestHost &h, Table t, int sel)
{
  return reinterpret_cast<Proto>(h.entry(t, sel));
}

} // namespace

TEST(FoundationTestHost, FixedTextIsExactDecimal)
{
  EXPECT_EQ(fx(0), "0");
  EXPECT_EQ(fx(0x00480000), "72");
  EXPECT_EQ(fx(-0x00480000), "-72");
  EXPECT_EQ(fx(0x00008000), "0.5");
  EXPECT_EQ(fx(1), "0.0000152587890625");
  EXPECT_EQ(fx(-0x00018000), "-1.5");
  EXPECT_EQ(fx(INT32_MIN), "-32768");
  EXPECT_EQ(fx(INT32_MAX), "32767.9999847412109375");
}

TEST(FoundationTestHost, RectanglesPrintWithoutBlanks)
{
  EXPECT_EQ(fxRect(pts(0, 792, 612, 0)), "{0,792,612,0}");
  EXPECT_EQ(fvRect(dev(-3, 4, 5, -6)), "{-3,4,5,-6}");
}

// ---- tables --------------------------------------------------------------------

TEST(FoundationTestHost, UnknownTableNameIsNotServed)
{
  TestHost host;
  auto get = entryOf<FSExtensionMgrGetHFTSELPROTO>(host, Table::Core, FSExtensionMgrGetHFTSEL);
  EXPECT_EQ(get(host.atom("Nonesuch"), 0x00020002), nullptr);
  EXPECT_EQ(get(host.atom("PDModel"), 0x00020003), nullptr);
  EXPECT_EQ(get(host.atom("PDModel"), 0x00020002), host.table(Table::PDModel));
  EXPECT_EQ(host.log.textsWithResults(),
            (std::vector<std::string>{"FSExtensionMgrGetHFT(atom:Nonesuch, 0x00020002) -> null",
                                      "FSExtensionMgrGetHFT(atom:PDModel, 0x00020003) -> null",
                                      "FSExtensionMgrGetHFT(atom:PDModel, 0x00020002) -> hft:PDModel"}));
}

TEST(FoundationTestHost, UndescribedEntriesAreRecordingNoOps)
{
  TestHost host;
  host.entry(Table::FolioView, 7)();
  host.entry(Table::Obj, 1)();
  host.entry(Table::Unix, 2)();
  EXPECT_EQ(host.log.texts(), (std::vector<std::string>{"FolioView#7()", "Obj#1()", "Unix#2()"}));
}

TEST(FoundationTestHost, EveryEntryOfEveryTableIsServed)
{
  TestHost host;
  for (int t = 0; t < testhost::kTableCount; ++t)
    for (int n = 1; n < host.entryCount(static_cast<Table>(t)); ++n)
      EXPECT_NE(host.entry(static_cast<Table>(t), n), nullptr)
          << testhost::tableName(static_cast<Table>(t)) << n;
  EXPECT_EQ(host.entryCount(Table::FolioView), FolioViewNUMSELECTORS);
  EXPECT_EQ(host.entryCount(Table::PDModel), PDModelNUMSELECTORS);
}

TEST(FoundationTestHost, AtomsAreStableAndLogged)
{
  TestHost host;
  auto atom = entryOf<FSAtomFromStringSELPROTO>(host, Table::Core, FSAtomFromStringSEL);
  FSAtom a = atom("CanEdit");
  EXPECT_EQ(atom("CanEdit"), a);
  EXPECT_NE(atom("Other"), a);
  EXPECT_EQ(host.log.textsWithResults()[0], "FSAtomFromString(\"CanEdit\") -> atom:CanEdit");
}

TEST(FoundationTestHost, ConfigurationAnswersPerKey)
{
  TestHost host;
  auto get = entryOf<FSGetConfigurationSELPROTO>(host, Table::Core, FSGetConfigurationSEL);
  EXPECT_EQ(get(host.atom("CanEdit")), reinterpret_cast<void *>(1));
  host.setConfiguration("CanEdit", nullptr);
  EXPECT_EQ(get(host.atom("CanEdit")), nullptr);
  EXPECT_EQ(host.log.textsWithResults()[1], "FSGetConfiguration(atom:CanEdit) -> null");
}

// ---- memory ----------------------------------------------------------------------

TEST(FoundationTestHost, MallocFillsWithA5AndFreeIsRecorded)
{
  TestHost host;
  auto alloc = entryOf<FSmallocSELPROTO>(host, Table::FolioSupport, FSmallocSEL);
  auto release = entryOf<FSfreeSELPROTO>(host, Table::FolioSupport, FSfreeSEL);
  auto *p = static_cast<unsigned char *>(alloc(32));
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p[0], 0xA5);
  EXPECT_EQ(p[31], 0xA5);
  EXPECT_EQ(host.liveBlocks.size(), 1u);
  release(p);
  release(nullptr);
  EXPECT_TRUE(host.liveBlocks.empty());
  EXPECT_EQ(host.log.textsWithResults(),
            (std::vector<std::string>{"FSmalloc(32) -> block0", "FSfree(block0)", "FSfree(null)"}));
}

TEST(FoundationTestHost, MallocFailsOnRequest)
{
  TestHost host;
  auto alloc = entryOf<FSmallocSELPROTO>(host, Table::FolioSupport, FSmallocSEL);
  host.mallocFailAt = 2;
  void *a = alloc(8);
  EXPECT_NE(a, nullptr);
  EXPECT_EQ(alloc(8), nullptr);
  host.mallocFails = true;
  EXPECT_EQ(alloc(8), nullptr);
  EXPECT_EQ(host.log.textsWithResults()[1], "FSmalloc(8) -> null");
}

// ---- documents and pages ------------------------------------------------------------

TEST(FoundationTestHost, SetCropBoxChangesThePage)
{
  TestHost host;
  host.addDocument(2);
  auto acquire = entryOf<PDDocAcquirePageSELPROTO>(host, Table::PDModel, PDDocAcquirePageSEL);
  auto set = entryOf<PDPageSetCropBoxSELPROTO>(host, Table::PDModel, PDPageSetCropBoxSEL);
  auto get = entryOf<PDPageGetCropBoxSELPROTO>(host, Table::PDModel, PDPageGetCropBoxSEL);
  auto release = entryOf<PDPageReleaseSELPROTO>(host, Table::PDModel, PDPageReleaseSEL);
  PDPage p = acquire(host.pdDoc(0), 1);
  set(p, pts(10, 700, 600, 20));
  FixedRect r{};
  get(p, &r);
  release(p);
  EXPECT_EQ(fxRect(host.page(0, 1).cropBox), "{10,700,600,20}");
  EXPECT_EQ(host.page(0, 1).acquires, 1);
  EXPECT_EQ(host.page(0, 1).releases, 1);
  EXPECT_EQ(host.log.textsWithResults(),
            (std::vector<std::string>{"PDDocAcquirePage(doc0, 1) -> page1",
                                      "PDPageSetCropBox(page1, {10,700,600,20})",
                                      "PDPageGetCropBox(page1) -> {10,700,600,20}", "PDPageRelease(page1)"}));
}

TEST(FoundationTestHost, PagesOfLaterDocumentsAreNamedByDocument)
{
  TestHost host;
  host.addDocument(1);
  host.addDocument(3);
  EXPECT_EQ(host.nameOf(host.pdPage(1, 2)), "doc1.page2");
  EXPECT_EQ(host.nameOf(host.pageView(1)), "view1");
  EXPECT_EQ(host.activeDocument(), 0);
}

TEST(FoundationTestHost, AcquiringAPageOutOfRangeAnswersNull)
{
  TestHost host;
  host.addDocument(2);
  auto acquire = entryOf<PDDocAcquirePageSELPROTO>(host, Table::PDModel, PDDocAcquirePageSEL);
  EXPECT_EQ(acquire(host.pdDoc(0), 2), nullptr);
  EXPECT_EQ(acquire(host.pdDoc(0), -1), nullptr);
}

// ---- view transforms -------------------------------------------------------------------

namespace {

struct TransformCase {
  PDRotate rotate;
  const char *device;
};

} // namespace

TEST(FoundationTestHost, PageToDeviceFollowsTheRotation)
{
  TestHost host;
  host.addDocument(1);
  testhost::PageView &v = host.document(0).view;
  const FixedRect region = pts(100, 700, 300, 500);
  const TransformCase cases[] = {{0, "{100,92,300,292}"},
                                 {90, "{500,100,700,300}"},
                                 {180, "{312,500,512,700}"},
                                 {270, "{92,312,292,512}"}};
  for (const TransformCase &c : cases) {
    host.page(0, 0).rotate = c.rotate;
    EXPECT_EQ(fvRect(host.pageRectToDevice(v, region)), c.device) << c.rotate;
  }
}

TEST(FoundationTestHost, DeviceToPageIsTheInverseAtEveryRotationZoomAndOffset)
{
  TestHost host;
  host.addDocument(1);
  host.page(0, 0).mediaBox = pts(-50, 800, 562, 8);
  testhost::PageView &v = host.document(0).view;
  v.zoom = 2.0;
  v.offsetX = 15;
  v.offsetY = -40;
  const FixedRect region = pts(100, 700, 300, 500);
  for (PDRotate rot : {0, 90, 180, 270}) {
    host.page(0, 0).rotate = rot;
    FVRect d = host.pageRectToDevice(v, region);
    EXPECT_LE(d.left, d.right);
    EXPECT_LE(d.top, d.bottom);
    EXPECT_EQ(fxRect(host.deviceRectToPage(v, d)), "{100,700,300,500}") << rot;
  }
}

TEST(FoundationTestHost, TransformEntriesNormaliseTheirResults)
{
  TestHost host;
  host.addDocument(1);
  auto toDev = entryOf<FVPageViewRectToDeviceSELPROTO>(host, Table::FolioView, FVPageViewRectToDeviceSEL);
  auto toPage =
      entryOf<FVPageViewDeviceRectToPageSELPROTO>(host, Table::FolioView, FVPageViewDeviceRectToPageSEL);
  FixedRect inverted = pts(300, 500, 100, 700);
  FVRect d{};
  toDev(host.pageView(0), &inverted, &d);
  EXPECT_EQ(fvRect(d), "{100,92,300,292}");
  FVRect dInverted = dev(300, 292, 100, 92);
  FixedRect p{};
  toPage(host.pageView(0), &dInverted, &p);
  EXPECT_EQ(fxRect(p), "{100,700,300,500}");
  EXPECT_EQ(host.log.textsWithResults()[0],
            "FVPageViewRectToDevice(view0, {300,500,100,700}) -> {100,92,300,292}");
}

TEST(FoundationTestHost, DeviceToPageAtAFractionalZoomIsExactToTheUnit)
{
  TestHost host;
  host.addDocument(1);
  testhost::PageView &v = host.document(0).view;
  v.zoom = 1.5;
  FixedRect p = host.deviceRectToPage(v, dev(3, 0, 4, 0));
  EXPECT_EQ(fx(p.left), "2");
  EXPECT_EQ(p.right, 174763); // 4 / 1.5 = 2.6667 points, to the nearest 1/65536
}

// ---- menus --------------------------------------------------------------------------------

TEST(FoundationTestHost, DefaultMenusAndToolBar)
{
  TestHost host;
  EXPECT_EQ(host.itemNames("File"), (std::vector<std::string>{"Open", "Save", "SaveAs", "Close"}));
  EXPECT_EQ(host.itemNames("Tools"), (std::vector<std::string>{"Hand", "Select", "Thread", "Zoom"}));
  EXPECT_TRUE(host.itemNames("Extensions").empty());
  EXPECT_TRUE(host.itemNames("AboutExtensions").empty());
  ASSERT_EQ(host.toolBarButtons().size(), 3u);
  EXPECT_EQ(host.toolBarButtons()[2]->buttonName, "endToolsGroup");
  EXPECT_EQ(host.toolBarButtons()[2]->isSeparator, 1);
}

TEST(FoundationTestHost, AddMenuItemIndexRules)
{
  TestHost host;
  auto newItem = entryOf<FVMenuItemNewSELPROTO>(host, Table::FolioView, FVMenuItemNewSEL);
  auto add = entryOf<FVMenuAddMenuItemSELPROTO>(host, Table::FolioView, FVMenuAddMenuItemSEL);
  FVMenu file = reinterpret_cast<FVMenu>(host.menu("File"));
  FVMenuItem a = newItem("A", "A", nullptr, 0, 0, 0, nullptr, nullptr);
  FVMenuItem b = newItem("B", "B", nullptr, 0, 0, 0, nullptr, nullptr);
  FVMenuItem c = newItem("C", "C", nullptr, 0, 0, 0, nullptr, nullptr);
  FVMenuItem d = newItem("D", "D", nullptr, 0, 0, 0, nullptr, nullptr);
  add(file, a, 9999);
  add(file, b, 2);
  add(file, c, -5);
  add(file, d, 100);
  EXPECT_EQ(host.itemNames("File"),
            (std::vector<std::string>{"C", "Open", "Save", "B", "SaveAs", "Close", "A", "D"}));
  add(file, b, 0); // already in the menu: moved
  EXPECT_EQ(host.itemNames("File"),
            (std::vector<std::string>{"B", "C", "Open", "Save", "SaveAs", "Close", "A", "D"}));
}

TEST(FoundationTestHost, MenuItemIndexOfAMissingItemIsMinusOne)
{
  TestHost host;
  auto index = entryOf<FVMenuGetMenuItemIndexSELPROTO>(host, Table::FolioView, FVMenuGetMenuItemIndexSEL);
  FVMenu tools = reinterpret_cast<FVMenu>(host.menu("Tools"));
  EXPECT_EQ(index(tools, reinterpret_cast<FVMenuItem>(host.menuItem("Thread"))), 2);
  EXPECT_EQ(index(tools, reinterpret_cast<FVMenuItem>(host.menuItem("SaveAs"))), -1);
  EXPECT_EQ(index(tools, nullptr), -1);
}

TEST(FoundationTestHost, LookupsByNameAcquireAndSearchSubmenus)
{
  TestHost host;
  auto newMenu = entryOf<FVMenuNewSELPROTO>(host, Table::FolioView, FVMenuNewSEL);
  auto newItem = entryOf<FVMenuItemNewSELPROTO>(host, Table::FolioView, FVMenuItemNewSEL);
  auto add = entryOf<FVMenuAddMenuItemSELPROTO>(host, Table::FolioView, FVMenuAddMenuItemSEL);
  auto menuByName =
      entryOf<FVMenubarAcquireMenuByNameSELPROTO>(host, Table::FolioView, FVMenubarAcquireMenuByNameSEL);
  auto itemByName = entryOf<FVMenubarAcquireMenuItemByNameSELPROTO>(host, Table::FolioView,
                                                                    FVMenubarAcquireMenuItemByNameSEL);
  auto release = entryOf<FVMenuReleaseSELPROTO>(host, Table::FolioView, FVMenuReleaseSEL);
  FVMenu sub = newMenu("Page Shear", "QUIL:Page Shear", host.extensionID());
  FVMenuItem carrier = newItem("Page Shear", "QUIL:Page Shear", sub, 0, 0, 0, nullptr, host.extensionID());
  FVMenuItem inner = newItem("Inner", "Inner", nullptr, 0, 0, 0, nullptr, host.extensionID());
  EXPECT_EQ(menuByName(host.menubar(), "QUIL:Page Shear"), nullptr); // not attached yet
  add(reinterpret_cast<FVMenu>(host.menu("Extensions")), carrier, 9999);
  add(sub, inner, 0);
  EXPECT_EQ(menuByName(host.menubar(), "QUIL:Page Shear"), sub);
  EXPECT_EQ(itemByName(host.menubar(), "Inner"), inner);
  EXPECT_EQ(menuByName(host.menubar(), "Nonesuch"), nullptr);
  release(sub);
  release(nullptr);
  EXPECT_EQ(host.menu("QUIL:Page Shear")->acquires, 1);
  EXPECT_EQ(host.menu("QUIL:Page Shear")->releases, 1);
  EXPECT_EQ(host.menuItem("Inner")->acquires, 1);
  EXPECT_EQ(host.log.textsOf("FVMenuRelease"),
            (std::vector<std::string>{"FVMenuRelease(menu:QUIL:Page Shear)", "FVMenuRelease(null)"}));
  EXPECT_EQ(host.nameOf(carrier), "item:QUIL:Page Shear");
}

TEST(FoundationTestHost, RemovedMenuIsNotFound)
{
  TestHost host;
  host.removeMenu("Extensions");
  auto menuByName =
      entryOf<FVMenubarAcquireMenuByNameSELPROTO>(host, Table::FolioView, FVMenubarAcquireMenuByNameSEL);
  EXPECT_EQ(menuByName(host.menubar(), "Extensions"), nullptr);
  EXPECT_NE(menuByName(host.menubar(), "Tools"), nullptr);
}

TEST(FoundationTestHost, ItemRemoveKeepsTheItemAlive)
{
  TestHost host;
  auto remove = entryOf<FVMenuItemRemoveSELPROTO>(host, Table::FolioView, FVMenuItemRemoveSEL);
  remove(reinterpret_cast<FVMenuItem>(host.menuItem("Save")));
  EXPECT_EQ(host.itemNames("File"), (std::vector<std::string>{"Open", "SaveAs", "Close"}));
  ASSERT_NE(host.menuItem("Save"), nullptr);
  EXPECT_EQ(host.menuItem("Save")->parent, nullptr);
}

// ---- procedures run through callbacks ------------------------------------------------------

namespace {
std::vector<std::string> gCalls;
void recordExecute(void *data)
{
  gCalls.push_back("execute " + std::to_string(reinterpret_cast<uintptr_t>(data)));
}
FSBool answerEnabled(void *data)
{
  return reinterpret_cast<uintptr_t>(data) == 8;
}
void drawA(FVPageView, FVRect *, void *)
{
  gCalls.push_back("drawA");
}
void drawB(FVPageView, FVRect *, void *data)
{
  gCalls.push_back("drawB " + std::to_string(reinterpret_cast<uintptr_t>(data)));
}
} // namespace

TEST(FoundationTestHost, ItemProceduresRunWithTheirClientData)
{
  TestHost host;
  gCalls.clear();
  auto setExec =
      entryOf<FVMenuItemSetExecuteProcSELPROTO>(host, Table::FolioView, FVMenuItemSetExecuteProcSEL);
  auto setEnabled = entryOf<FVMenuItemSetComputeEnabledProcSELPROTO>(host, Table::FolioView,
                                                                     FVMenuItemSetComputeEnabledProcSEL);
  auto execute = entryOf<FVMenuItemExecuteSELPROTO>(host, Table::FolioView, FVMenuItemExecuteSEL);
  testhost::MenuItem *item = host.menuItem("Zoom");
  FVMenuItem h = reinterpret_cast<FVMenuItem>(item);
  setExec(h, host.makeCallback(host.extensionID(), reinterpret_cast<FSProc>(&recordExecute)),
          reinterpret_cast<void *>(5));
  setEnabled(h, host.makeCallback(host.extensionID(), reinterpret_cast<FSProc>(&answerEnabled)),
             reinterpret_cast<void *>(8));
  host.executeItem(item);
  execute(h);
  EXPECT_EQ(host.computeEnabled(item), 1);
  EXPECT_EQ(host.computeMarked(item), 0);
  EXPECT_EQ(gCalls, (std::vector<std::string>{"execute 5", "execute 5"}));
  EXPECT_EQ(host.log.textsOf("FVMenuItemSetExecuteProc"),
            std::vector<std::string>{"FVMenuItemSetExecuteProc(item:Zoom, cb:0, 0x5)"});
}

TEST(FoundationTestHost, RedrawCallsRegisteredCallbacksInOrder)
{
  TestHost host;
  host.addDocument(1);
  gCalls.clear();
  auto reg = entryOf<FVAppRegisterForPageViewDrawingSELPROTO>(host, Table::FolioView,
                                                              FVAppRegisterForPageViewDrawingSEL);
  auto unreg = entryOf<FVAppUnregisterForPageViewDrawingSELPROTO>(host, Table::FolioView,
                                                                  FVAppUnregisterForPageViewDrawingSEL);
  FSCallback a = host.makeCallback(host.extensionID(), reinterpret_cast<FSProc>(&drawA));
  FSCallback b = host.makeCallback(host.extensionID(), reinterpret_cast<FSProc>(&drawB));
  reg(b, reinterpret_cast<void *>(3));
  reg(nullptr, nullptr);
  reg(a, nullptr);
  host.redraw(host.pageView(0));
  unreg(b);
  host.redraw(host.pageView(0));
  EXPECT_EQ(gCalls, (std::vector<std::string>{"drawB 3", "drawA", "drawA"}));
  EXPECT_EQ(host.log.textsOf("FVAppRegisterForPageViewDrawing")[1],
            "FVAppRegisterForPageViewDrawing(null, null)");
  EXPECT_EQ(host.drawingCallbacks().size(), 2u);
}

// ---- alerts, progress, cancel --------------------------------------------------------------

TEST(FoundationTestHost, AlertsAnswerFromTheQueueThenTheDefault)
{
  TestHost host;
  auto alert = entryOf<FVAlertSELPROTO>(host, Table::FolioView, FVAlertSEL);
  auto confirm = entryOf<FVAlertConfirmSELPROTO>(host, Table::FolioView, FVAlertConfirmSEL);
  host.alertAnswers = {2, 1};
  host.confirmAnswers = {1};
  EXPECT_EQ(alert(3, "Pages to crop?", "Current", "All", "Cancel", 0), 2);
  EXPECT_EQ(alert(3, "Crop this page?", "Current", "Cancel", nullptr, 0), 1);
  EXPECT_EQ(alert(3, "Again?", "Yes", "No", nullptr, 0), 0);
  EXPECT_EQ(confirm("Sure?"), 1);
  EXPECT_EQ(confirm("Sure?"), 0);
  EXPECT_EQ(host.log.textsWithResults()[1],
            "FVAlert(3, \"Crop this page?\", \"Current\", \"Cancel\", null, 0) -> 1");
}

TEST(FoundationTestHost, ProgressMonitorRecordsAndSlotsCanBeRemoved)
{
  TestHost host;
  auto get =
      entryOf<FVAppGetDocProgressMonitorSELPROTO>(host, Table::FolioView, FVAppGetDocProgressMonitorSEL);
  void *data = nullptr;
  host.removeProgressSlot("endOperation");
  ProgressMonitor pm = get(&data);
  ASSERT_NE(pm, nullptr);
  EXPECT_EQ(pm->size, sizeof(ProgressMonitorRec));
  EXPECT_EQ(pm->endOperation, nullptr);
  pm->beginOperation(data);
  pm->setDuration(4, data);
  pm->setCurrValue(0, data);
  EXPECT_EQ(host.log.texts(),
            (std::vector<std::string>{"FVAppGetDocProgressMonitor(ptr)", "PM.beginOperation(pmdata)",
                                      "PM.setDuration(4, pmdata)", "PM.setCurrValue(0, pmdata)"}));
  host.progressMonitorAbsent = true;
  EXPECT_EQ(get(&data), nullptr);
  EXPECT_EQ(data, nullptr);
}

TEST(FoundationTestHost, CancelTestAnswersTrueFromTheChosenPoll)
{
  TestHost host;
  auto get = entryOf<FVAppGetCancelProcSELPROTO>(host, Table::FolioView, FVAppGetCancelProcSEL);
  void *data = nullptr;
  CancelProc cancel = get(&data);
  host.cancelAtPoll = 3;
  EXPECT_EQ(cancel(data), 0);
  EXPECT_EQ(cancel(data), 0);
  EXPECT_EQ(cancel(data), 1);
  EXPECT_EQ(cancel(data), 1);
  EXPECT_EQ(host.cancelPolls, 4);
  EXPECT_EQ(host.log.textsWithResults()[3], "CancelProc(canceldata) -> 1");
}

// ---- tools and tool bar -------------------------------------------------------------------

namespace {
void activate(FVTool, FSBool persistent)
{
  gCalls.push_back("activate " + std::to_string(persistent));
}
void deactivate(FVTool)
{
  gCalls.push_back("deactivate");
}
} // namespace

TEST(FoundationTestHost, SetActiveToolDeactivatesTheOldAndActivatesTheNew)
{
  TestHost host;
  gCalls.clear();
  static FVToolRec first{}, second{};
  first.size = second.size = sizeof(FVToolRec);
  first.Activate = host.makeCallback(host.extensionID(), reinterpret_cast<FSProc>(&activate));
  first.Deactivate = host.makeCallback(host.extensionID(), reinterpret_cast<FSProc>(&deactivate));
  second.Activate = first.Activate;
  auto reg = entryOf<FVAppRegisterToolSELPROTO>(host, Table::FolioView, FVAppRegisterToolSEL);
  auto set = entryOf<FVAppSetActiveToolSELPROTO>(host, Table::FolioView, FVAppSetActiveToolSEL);
  reg(&first);
  reg(&second);
  set(&first, 1);
  set(&second, 0);
  EXPECT_EQ(gCalls, (std::vector<std::string>{"activate 1", "deactivate", "activate 0"}));
  EXPECT_EQ(host.activeTool, &second);
  EXPECT_EQ(host.log.textsOf("FVAppSetActiveTool"),
            (std::vector<std::string>{"FVAppSetActiveTool(tool0, 1)", "FVAppSetActiveTool(tool1, 0)"}));
}

TEST(FoundationTestHost, ToolBarAddsBeforeTheOtherButtonOrAtTheEnd)
{
  TestHost host;
  auto newButton = entryOf<FVToolButtonNewSELPROTO>(host, Table::FolioView, FVToolButtonNewSEL);
  auto add = entryOf<FVToolBarAddButtonSELPROTO>(host, Table::FolioView, FVToolBarAddButtonSEL);
  auto byName =
      entryOf<FVToolBarGetButtonByNameSELPROTO>(host, Table::FolioView, FVToolBarGetButtonByNameSEL);
  FVToolButton sep = byName(host.toolBar(), host.atom("endToolsGroup"));
  ASSERT_NE(sep, nullptr);
  EXPECT_EQ(byName(host.toolBar(), host.atom("Nonesuch")), nullptr);
  FVToolButton a = newButton(host.atom("A"), nullptr, 0, 0);
  FVToolButton b = newButton(host.atom("B"), nullptr, 0, 0);
  add(host.toolBar(), a, 1, sep);
  add(host.toolBar(), b, 1, nullptr);
  std::vector<std::string> names;
  for (testhost::ToolButton *x : host.toolBarButtons())
    names.push_back(x->buttonName);
  EXPECT_EQ(names, (std::vector<std::string>{"Hand", "Select", "A", "endToolsGroup", "B"}));
}

TEST(FoundationTestHost, StandardCursorsAreRecognisable)
{
  TestHost host;
  auto get = entryOf<FVSysGetStandardCursorSELPROTO>(host, Table::FolioView, FVSysGetStandardCursorSEL);
  auto set = entryOf<FVSysSetCursorSELPROTO>(host, Table::FolioView, FVSysSetCursorSEL);
  set(get(0));
  EXPECT_EQ(host.currentCursor, host.standardCursor(0));
  EXPECT_EQ(host.log.textsWithResults(), (std::vector<std::string>{"FVSysGetStandardCursor(0) -> stdcursor:0",
                                                                   "FVSysSetCursor(stdcursor:0)"}));
}

TEST(FoundationTestHost, DragsAnswerFromTheirQueues)
{
  TestHost host;
  host.addDocument(1);
  auto dragOut =
      entryOf<FVPageViewDragOutNewRectSELPROTO>(host, Table::FolioView, FVPageViewDragOutNewRectSEL);
  auto drag = entryOf<FVPageViewDragRectSELPROTO>(host, Table::FolioView, FVPageViewDragRectSEL);
  host.dragOutResults = {dev(100, 100, 300, 200)};
  FVRect r{};
  dragOut(host.pageView(0), 100, 100, &r);
  EXPECT_EQ(fvRect(r), "{100,100,300,200}");
  dragOut(host.pageView(0), 7, 9, &r);
  EXPECT_EQ(fvRect(r), "{7,9,7,9}");
  FVRect start = dev(1, 2, 3, 4);
  drag(host.pageView(0), 1, 2, &start, &r, 1, nullptr);
  EXPECT_EQ(fvRect(r), "{1,2,3,4}");
  EXPECT_EQ(host.log.texts()[2], "FVPageViewDragRect(view0, 1, 2, {1,2,3,4}, 1, null)");
}

// ---- closing and reopening ---------------------------------------------------------------

TEST(FoundationTestHost, CloseAndReopenFollowTheScript)
{
  TestHost host;
  host.addDocument(1);
  int reopened = host.addDocument(1);
  auto close = entryOf<FVDocCloseSELPROTO>(host, Table::FolioView, FVDocCloseSEL);
  auto open = entryOf<FVDocOpenFromFileSELPROTO>(host, Table::FolioView, FVDocOpenFromFileSEL);
  auto pathOf = entryOf<FSFileAcquirePathNameSELPROTO>(host, Table::FolioSupport, FSFileAcquirePathNameSEL);
  auto fileOf = entryOf<PDDocGetFileSELPROTO>(host, Table::PDModel, PDDocGetFileSEL);
  FSPathName path = pathOf(fileOf(host.pdDoc(0)));
  EXPECT_EQ(host.nameOf(path), "path0");
  EXPECT_EQ(close(host.fvDoc(0), 1), 1);
  EXPECT_TRUE(host.document(0).closed);
  EXPECT_EQ(host.activeDocument(), -1);
  EXPECT_EQ(open(path, nullptr, nullptr), nullptr);
  host.openFromFileDoc = reopened;
  EXPECT_EQ(open(path, nullptr, nullptr), host.fvDoc(reopened));
  EXPECT_EQ(host.activeDocument(), reopened);
  host.docCloseAnswer = 0;
  EXPECT_EQ(close(host.fvDoc(reopened), 1), 0);
  EXPECT_FALSE(host.document(reopened).closed);
  EXPECT_EQ(host.log.textsOf("FVDocOpenFromFile")[0], "FVDocOpenFromFile(path0, null, null)");
}

TEST(FoundationTestHost, DocumentWithoutFileOrPathAnswersNull)
{
  TestHost host;
  host.addDocument(1);
  host.document(0).hasPath = false;
  auto pathOf = entryOf<FSFileAcquirePathNameSELPROTO>(host, Table::FolioSupport, FSFileAcquirePathNameSEL);
  auto fileOf = entryOf<PDDocGetFileSELPROTO>(host, Table::PDModel, PDDocGetFileSEL);
  EXPECT_EQ(pathOf(fileOf(host.pdDoc(0))), nullptr);
  host.document(0).hasFile = false;
  EXPECT_EQ(fileOf(host.pdDoc(0)), nullptr);
  EXPECT_EQ(host.log.textsWithResults().back(), "PDDocGetFile(doc0) -> null");
}
