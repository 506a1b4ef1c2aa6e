// Menus and tool bar models: indices, insertion, removal, lookups, reference
// counts, procedures, the host's own menus and buttons.
#include <gtest/gtest.h>

#include "ViewTestSupport.h"
#include "core/Atoms.h"
#include "core/ExceptionFrames.h"
#include "view/Application.h"

using namespace folio::view;
using viewtest::callbackOf;

namespace {

std::vector<std::string> names(const Menu *menu)
{
  std::vector<std::string> out;
  for (const MenuItem *item : menu->items())
    out.push_back(item->name());
  return out;
}

int gExecuted = 0;
void *gExecutedData = nullptr;
void CountExecute(void *data)
{
  ++gExecuted;
  gExecutedData = data;
}
FSBool AnswerData(void *data)
{
  return data ? 1 : 0;
}
void RaiseInExecute(void *)
{
  folio::raiseException(77);
}
FSBool RaiseInQuery(void *)
{
  folio::raiseException(78);
}

} // namespace

TEST(ViewMenus, HostMenusInOrderWithTheirItems)
{
  Application app;
  MenuBar &bar = app.menuBar();
  ASSERT_EQ(bar.menus().size(), 5u);
  EXPECT_EQ(bar.menus()[0]->name(), "File");
  EXPECT_EQ(bar.menus()[1]->name(), "Edit");
  EXPECT_EQ(bar.menus()[2]->name(), "Tools");
  EXPECT_EQ(bar.menus()[3]->name(), "Extensions");
  EXPECT_EQ(bar.menus()[4]->name(), "Help");
  EXPECT_EQ(names(bar.menus()[0]), (std::vector<std::string>{"Open", "Close", "Save", "SaveAs", "Quit"}));
  EXPECT_EQ(names(bar.menus()[1]), (std::vector<std::string>{"Undo", "Redo"}));
  EXPECT_EQ(names(bar.menus()[2]), (std::vector<std::string>{"Hand", "Thread"}));
  EXPECT_EQ(bar.menus()[3]->count(), 0);
  ASSERT_EQ(bar.menus()[4]->count(), 1);
  EXPECT_EQ(bar.menus()[4]->items()[0]->submenu()->name(), "AboutExtensions");
}

TEST(ViewMenus, UndoAndRedoAreDisabledWithoutADocumentAndKeepTheirKeys)
{
  Application app;
  MenuItem *undo = app.menuBar().findItem("Undo");
  MenuItem *redo = app.menuBar().findItem("Redo");
  ASSERT_NE(undo, nullptr);
  ASSERT_NE(redo, nullptr);
  EXPECT_FALSE(undo->isEnabled());
  EXPECT_FALSE(redo->isEnabled());
  EXPECT_EQ(undo->currentTitle(), "&Undo");
  EXPECT_EQ(shortcutLabel(undo->shortcut(), undo->shortcutFlags()), "Ctrl+Z");
  EXPECT_EQ(shortcutLabel(redo->shortcut(), redo->shortcutFlags()), "Ctrl+Shift+Z");
  EXPECT_EQ(shortcutLabel(redo->altShortcut(), redo->altShortcutFlags()), "Ctrl+Y");
}

TEST(ViewMenus, ActionLabelsComeFromTheCommandTitles)
{
  EXPECT_EQ(actionLabel("&Crop Page(s) to Bounding Box"), "Crop to Bounding Box");
  EXPECT_EQ(actionLabel("&Reset Page(s) to Media Box"), "Reset to Media Box");
  EXPECT_EQ(actionLabel("R&evert File..."), "Revert File");
  EXPECT_EQ(actionLabel("Crop Pages"), "Crop");
  EXPECT_EQ(actionLabel("Pagesetter"), "Pagesetter");
}

TEST(ViewMenus, AboutExtensionsIsFoundAsAMenu)
{
  Application app;
  Menu *about = app.menuBar().acquireMenuByName("AboutExtensions");
  ASSERT_NE(about, nullptr);
  EXPECT_EQ(about->count(), 0);
  EXPECT_EQ(about->refCount(), 2); // the item carrying it, and this lookup
  about->release();
}

TEST(ViewMenus, InsertAtAppendIndexGoesLast)
{
  Application app;
  Menu *file = app.menuBar().findMenu("File");
  MenuItem *item = MenuItem::create("R&evert", "Revert");
  file->insert(item, kAppendIndex);
  EXPECT_EQ(file->indexOf(item), 5);
  EXPECT_EQ(file->count(), 6);
  item->release();
}

TEST(ViewMenus, InsertPastTheEndGoesLast)
{
  Application app;
  Menu *tools = app.menuBar().findMenu("Tools");
  MenuItem *item = MenuItem::create("X", "X");
  tools->insert(item, 3); // two items: 3 is past the end
  EXPECT_EQ(tools->indexOf(item), 2);
  item->release();
}

TEST(ViewMenus, InsertAtTheEndIndexExactly)
{
  Application app;
  Menu *tools = app.menuBar().findMenu("Tools");
  MenuItem *item = MenuItem::create("X", "X");
  tools->insert(item, 2);
  EXPECT_EQ(names(tools), (std::vector<std::string>{"Hand", "Thread", "X"}));
  item->release();
}

TEST(ViewMenus, InsertNegativeIndexGoesLast)
{
  Application app;
  Menu *tools = app.menuBar().findMenu("Tools");
  MenuItem *item = MenuItem::create("X", "X");
  tools->insert(item, -1);
  EXPECT_EQ(tools->indexOf(item), 2);
  item->release();
}

TEST(ViewMenus, InsertAtZeroGoesFirst)
{
  Application app;
  Menu *tools = app.menuBar().findMenu("Tools");
  MenuItem *item = MenuItem::create("X", "X");
  tools->insert(item, 0);
  EXPECT_EQ(names(tools), (std::vector<std::string>{"X", "Hand", "Thread"}));
  item->release();
}

TEST(ViewMenus, InsertAfterThreadLikeAnExtension)
{
  Application app;
  Menu *tools = app.menuBar().acquireMenuByName("Tools");
  MenuItem *thread = app.menuBar().acquireItemByName("Thread");
  MenuItem *item = MenuItem::create("Page Shear", "QUIL:PageShearSelTool", nullptr, false, '9', 8);
  tools->insert(item, tools->indexOf(thread) + 1);
  EXPECT_EQ(names(tools), (std::vector<std::string>{"Hand", "Thread", "QUIL:PageShearSelTool"}));
  item->release();
  thread->release();
  tools->release();
}

TEST(ViewMenus, IndexOfAnUnknownItemIsMinusOne)
{
  Application app;
  Menu *tools = app.menuBar().findMenu("Tools");
  MenuItem *loose = MenuItem::create("Loose", "Loose");
  EXPECT_EQ(tools->indexOf(loose), -1);
  EXPECT_EQ(tools->indexOf(nullptr), -1);
  loose->release();
}

TEST(ViewMenus, IndexOfAnItemOfAnotherMenuIsMinusOne)
{
  Application app;
  Menu *tools = app.menuBar().findMenu("Tools");
  EXPECT_EQ(tools->indexOf(app.menuBar().findItem("SaveAs")), -1);
  EXPECT_EQ(app.menuBar().findMenu("File")->indexOf(app.menuBar().findItem("SaveAs")), 3);
}

TEST(ViewMenus, NewItemHasOneReferenceAndMenuAddsOne)
{
  Application app;
  MenuItem *item = MenuItem::create("A", "A");
  EXPECT_EQ(item->refCount(), 1);
  app.menuBar().findMenu("Extensions")->insert(item, kAppendIndex);
  EXPECT_EQ(item->refCount(), 2);
  EXPECT_EQ(item->acquire(), item);
  EXPECT_EQ(item->refCount(), 3);
  item->release();
  item->release();
  EXPECT_EQ(item->refCount(), 1); // the menu's
}

TEST(ViewMenus, RemovedItemStaysAliveWhileAcquired)
{
  Application app;
  Menu *ext = app.menuBar().findMenu("Extensions");
  MenuItem *item = MenuItem::create("A", "A");
  ext->insert(item, 0);
  item->release(); // only the menu holds it now
  EXPECT_EQ(item->refCount(), 1);
  item->acquire();
  item->removeFromMenu();
  EXPECT_EQ(ext->count(), 0);
  EXPECT_EQ(item->parent(), nullptr);
  EXPECT_EQ(item->refCount(), 1);
  ext->insert(item, 0); // back in, as a command that swaps items does
  EXPECT_EQ(ext->indexOf(item), 0);
  EXPECT_EQ(item->refCount(), 2);
  item->release();
}

TEST(ViewMenus, RemovingAnItemThatIsInNoMenuChangesNothing)
{
  MenuItem *item = MenuItem::create("A", "A");
  item->removeFromMenu();
  EXPECT_EQ(item->refCount(), 1);
  item->release();
}

TEST(ViewMenus, InsertingAnItemOfAnotherMenuMovesIt)
{
  Application app;
  Menu *ext = app.menuBar().findMenu("Extensions");
  Menu *tools = app.menuBar().findMenu("Tools");
  MenuItem *item = MenuItem::create("A", "A");
  ext->insert(item, 0);
  tools->insert(item, 0);
  EXPECT_EQ(ext->count(), 0);
  EXPECT_EQ(tools->indexOf(item), 0);
  EXPECT_EQ(item->refCount(), 2);
  item->release();
}

TEST(ViewMenus, SubmenuLivesThroughTheItemThatCarriesIt)
{
  Application app;
  Menu *sub = Menu::create("Page Shear", "QUIL:Page Shear");
  MenuItem *carrier = MenuItem::create("Page Shear", "QUIL:Page Shear", sub);
  app.menuBar().findMenu("Extensions")->insert(carrier, kAppendIndex);
  EXPECT_EQ(sub->refCount(), 2);
  sub->release();
  EXPECT_EQ(sub->refCount(), 1);
  Menu *found = app.menuBar().acquireMenuByName("QUIL:Page Shear");
  EXPECT_EQ(found, sub);
  found->release();
  carrier->release();
}

TEST(ViewMenus, LookupFindsItemsInSubmenus)
{
  Application app;
  Menu *sub = Menu::create("Sub", "Sub");
  MenuItem *carrier = MenuItem::create("Sub", "SubItem", sub);
  MenuItem *deep = MenuItem::create("Deep", "Deep");
  sub->insert(deep, 0);
  app.menuBar().findMenu("Extensions")->insert(carrier, 0);
  MenuItem *found = app.menuBar().acquireItemByName("Deep");
  EXPECT_EQ(found, deep);
  EXPECT_EQ(deep->refCount(), 3);
  found->release();
  deep->release();
  carrier->release();
  sub->release();
}

TEST(ViewMenus, LookupOfAnUnknownNameIsNull)
{
  Application app;
  EXPECT_EQ(app.menuBar().acquireMenuByName("NoSuchMenu"), nullptr);
  EXPECT_EQ(app.menuBar().acquireItemByName("NoSuchItem"), nullptr);
}

TEST(ViewMenus, ExecuteCallsTheCallbackWithItsClientData)
{
  gExecuted = 0;
  MenuItem *item = MenuItem::create("A", "A");
  int token = 0;
  item->setExecuteProc(callbackOf(&CountExecute), &token);
  item->execute();
  EXPECT_EQ(gExecuted, 1);
  EXPECT_EQ(gExecutedData, &token);
  item->release();
}

TEST(ViewMenus, RunAsUserAsksEnabledFirst)
{
  gExecuted = 0;
  MenuItem *item = MenuItem::create("A", "A");
  item->setExecuteProc(callbackOf(&CountExecute), nullptr);
  item->setComputeEnabledProc(callbackOf(&AnswerData), nullptr); // answers false
  EXPECT_FALSE(item->isEnabled());
  EXPECT_FALSE(item->runAsUser());
  EXPECT_EQ(gExecuted, 0);
  int token = 0;
  item->setComputeEnabledProc(callbackOf(&AnswerData), &token); // answers true
  EXPECT_TRUE(item->runAsUser());
  EXPECT_EQ(gExecuted, 1);
  item->release();
}

TEST(ViewMenus, ARaiseInAnExtensionsProcedureEndsOnlyThatCall)
{
  MenuItem *item = MenuItem::create("A", "A");
  item->setExecuteProc(callbackOf(&RaiseInExecute), nullptr);
  item->setComputeEnabledProc(callbackOf(&RaiseInQuery), nullptr);
  item->setComputeMarkedProc(callbackOf(&RaiseInQuery), nullptr);
  item->execute();
  EXPECT_EQ(folio::exceptionErrorCode(), 77);
  EXPECT_TRUE(item->isEnabled()); // the default answer
  EXPECT_FALSE(item->isMarked());
  EXPECT_EQ(folio::exceptionFrameDepth(), 0u);
  item->release();
}

TEST(ViewMenus, ItemWithoutProceduresIsEnabledAndUnmarked)
{
  MenuItem *item = MenuItem::create("A", "A");
  EXPECT_TRUE(item->isEnabled());
  EXPECT_FALSE(item->isMarked());
  item->execute(); // nothing to run
  item->release();
}

TEST(ViewMenus, MarkedProcedureGetsItsClientData)
{
  MenuItem *item = MenuItem::create("A", "A");
  int token = 0;
  item->setComputeMarkedProc(callbackOf(&AnswerData), &token);
  EXPECT_TRUE(item->isMarked());
  item->setComputeMarkedProc(callbackOf(&AnswerData), nullptr);
  EXPECT_FALSE(item->isMarked());
  item->release();
}

TEST(ViewMenus, ShortcutFlagEightIsCtrl)
{
  EXPECT_EQ(shortcutLabel('9', 8), "Ctrl+9");
  EXPECT_EQ(shortcutLabel('s', 8 | 1), "Ctrl+Shift+S");
  EXPECT_EQ(shortcutLabel('F', 0), "F");
  EXPECT_EQ(shortcutLabel(0, 8), "");
}

TEST(ViewMenus, TitleMnemonic)
{
  EXPECT_EQ(titleWithoutMnemonic("R&evert File..."), "Revert File...");
  EXPECT_EQ(titleMnemonic("R&evert File..."), 'e');
  EXPECT_EQ(titleMnemonic("Page Shear"), 0);
  EXPECT_EQ(titleWithoutMnemonic("A&&B"), "A&B");
  EXPECT_EQ(titleMnemonic("A&&B &C"), 'C');
}

TEST(ViewMenus, TheLastApplicationFreesItemsKeptOutOfAnyMenu)
{
  {
    Application app;
    MenuItem *kept = MenuItem::create("H&ide", "Hide"); // never released, as extensions do
    Menu *loose = Menu::create("Loose", "Loose");
    EXPECT_EQ(kept->refCount(), 1);
    EXPECT_EQ(loose->refCount(), 1);
  }
  // Nothing to observe but the absence of a leak (the sanitizer build checks
  // it); a new application starts from a clean slate.
  Application again;
  EXPECT_EQ(again.menuBar().findItem("Hide"), nullptr);
}

TEST(ViewMenus, ListenersHearInsertionAndRemoval)
{
  Application app;
  int calls = 0;
  int id = app.menuBar().addListener([&] { ++calls; });
  unsigned rev = app.menuBar().revision();
  MenuItem *item = MenuItem::create("A", "A");
  app.menuBar().findMenu("Tools")->insert(item, 0);
  item->removeFromMenu();
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(app.menuBar().revision(), rev + 2);
  app.menuBar().removeListener(id);
  app.menuBar().findMenu("Tools")->insert(item, 0);
  EXPECT_EQ(calls, 2);
  item->release();
}

TEST(ViewMenus, ListenersHearChangesInSubmenus)
{
  Application app;
  int calls = 0;
  Menu *sub = Menu::create("Sub", "Sub");
  MenuItem *carrier = MenuItem::create("Sub", "Sub", sub);
  app.menuBar().findMenu("Extensions")->insert(carrier, 0);
  app.menuBar().addListener([&] { ++calls; });
  MenuItem *item = MenuItem::create("A", "A");
  sub->insert(item, 0);
  EXPECT_EQ(calls, 1);
  item->release();
  carrier->release();
  sub->release();
}

TEST(ViewMenus, HostToolItemsSwitchTools)
{
  Application app;
  app.menuBar().findItem("Thread")->runAsUser();
  EXPECT_EQ(app.activeTool(), app.articleTool());
  EXPECT_TRUE(app.menuBar().findItem("Thread")->isMarked());
  EXPECT_FALSE(app.menuBar().findItem("Hand")->isMarked());
  app.menuBar().findItem("Hand")->runAsUser();
  EXPECT_EQ(app.activeTool(), app.handTool());
}

TEST(ViewMenus, CloseAndSaveDisabledWithoutDocument)
{
  Application app;
  EXPECT_FALSE(app.menuBar().findItem("Close")->isEnabled());
  EXPECT_FALSE(app.menuBar().findItem("Save")->isEnabled());
  EXPECT_TRUE(app.menuBar().findItem("Quit")->isEnabled());
  app.menuBar().findItem("Quit")->runAsUser();
  EXPECT_TRUE(app.quitRequested());
}

// ---- tool bar ---------------------------------------------------------------

TEST(ViewToolBar, HostButtonsEndWithEndToolsGroup)
{
  Application app;
  const auto &buttons = app.toolBar().buttons();
  ASSERT_EQ(buttons.size(), 3u);
  EXPECT_EQ(buttons[0]->nameString(), "Hand");
  EXPECT_EQ(buttons[1]->nameString(), "Thread");
  EXPECT_EQ(buttons[2]->nameString(), "endToolsGroup");
  EXPECT_TRUE(buttons[2]->isSeparator());
  EXPECT_EQ(app.toolBar().buttonByName(folio::atomFromString("endToolsGroup")), buttons[2]);
}

TEST(ViewToolBar, AddBeforeEndToolsGroupJoinsTheToolsGroup)
{
  Application app;
  ToolBar &bar = app.toolBar();
  ToolButton *sep = bar.buttonByName(folio::atomFromString("endToolsGroup"));
  ToolButton *b = ToolButton::create(folio::atomFromString("QUIL:PageShear"), nullptr, false, false);
  bar.addButton(b, true, sep);
  EXPECT_EQ(bar.indexOf(b), 2);
  EXPECT_EQ(bar.indexOf(sep), 3);
  EXPECT_EQ(b->toolBar(), &bar);
}

TEST(ViewToolBar, AddAfterAButton)
{
  Application app;
  ToolBar &bar = app.toolBar();
  ToolButton *hand = bar.buttonByName("Hand");
  ToolButton *b = ToolButton::create(folio::atomFromString("X"), nullptr, false, false);
  bar.addButton(b, false, hand);
  EXPECT_EQ(bar.indexOf(b), 1);
}

TEST(ViewToolBar, AddBeforeNullGoesLastAfterNullGoesFirst)
{
  Application app;
  ToolBar &bar = app.toolBar();
  ToolButton *a = ToolButton::create(folio::atomFromString("A"), nullptr, false, false);
  ToolButton *b = ToolButton::create(folio::atomFromString("B"), nullptr, false, false);
  bar.addButton(a, true, nullptr);
  bar.addButton(b, false, nullptr);
  EXPECT_EQ(bar.indexOf(a), 4);
  EXPECT_EQ(bar.indexOf(b), 0);
}

TEST(ViewToolBar, UnknownNameIsNull)
{
  Application app;
  EXPECT_EQ(app.toolBar().buttonByName(folio::atomFromString("NoSuchButton")), nullptr);
  EXPECT_EQ(app.toolBar().buttonByName(FSAtomNull), nullptr);
}

TEST(ViewToolBar, DefaultHasRoom)
{
  Application app;
  EXPECT_TRUE(app.toolBar().isRoomFor(1, 0));
  EXPECT_EQ(app.toolBar().maxButtons(), 40);
  EXPECT_EQ(app.toolBar().used(), 3); // two buttons and one separator
}

TEST(ViewToolBar, NoRoomWhenFull)
{
  ApplicationOptions options;
  options.toolBarRoom = 3;
  Application app(options);
  EXPECT_FALSE(app.toolBar().isRoomFor(1, 0));
  EXPECT_TRUE(app.toolBar().isRoomFor(0, 1)); // two separators take one place
  EXPECT_FALSE(app.toolBar().isRoomFor(0, 2));
}

TEST(ViewToolBar, RoomLimitIsConfigurable)
{
  Application app;
  app.toolBar().setMaxButtons(4);
  EXPECT_TRUE(app.toolBar().isRoomFor(1, 0));
  EXPECT_FALSE(app.toolBar().isRoomFor(2, 0));
}

TEST(ViewToolBar, ProceduresGetTheirClientData)
{
  gExecuted = 0;
  Application app;
  ToolButton *b = ToolButton::create(folio::atomFromString("B"), nullptr, false, false);
  app.toolBar().addButton(b, true, nullptr);
  int token = 0;
  b->setExecuteProc(callbackOf(&CountExecute), &token);
  b->setComputeMarkedProc(callbackOf(&AnswerData), &token);
  b->setComputeEnabledProc(callbackOf(&AnswerData), reinterpret_cast<void *>(8));
  b->setHelpText("Page Shear - used to crop pages");
  EXPECT_TRUE(b->isMarked());
  EXPECT_TRUE(b->isEnabled());
  EXPECT_TRUE(b->runAsUser());
  EXPECT_EQ(gExecuted, 1);
  EXPECT_EQ(gExecutedData, &token);
  EXPECT_EQ(b->helpText(), "Page Shear - used to crop pages");
}

TEST(ViewToolBar, SeparatorIsNeverEnabled)
{
  Application app;
  EXPECT_FALSE(app.toolBar().buttonByName("endToolsGroup")->isEnabled());
  EXPECT_FALSE(app.toolBar().buttonByName("endToolsGroup")->runAsUser());
}
