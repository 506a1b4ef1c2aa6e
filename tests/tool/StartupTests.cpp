// Start-up of the plug-in: the editing check, the tool record and the tool
// bar button, as the host sees them through its tables.
#include <algorithm>

#include "ToolTestSupport.h"

namespace tooltest {
namespace {

using Texts = std::vector<std::string>;

const char kCannotEditNote[] =
    "FVAlertNote(\"Page Shear only works with the Folio Quire program.  It will not run under Quire LE.\")";

class ToolStartup : public ToolTest {};

// ---- the editing check ---------------------------------------------------

TEST_F(ToolStartup, HostThatCannotEditGetsOneNoteAndNothingRegistered)
{
  h.setConfiguration("CanEdit", nullptr);
  prepare();
  EXPECT_EQ(init(), 1);
  EXPECT_EQ(initLog(), (Texts{"host.init()", "FSAtomFromString(\"CanEdit\")",
                              "FSGetConfiguration(atom:CanEdit)", kCannotEditNote}))
      << dump();
  EXPECT_EQ(h.log.count("FVAlertNote"), 1u);
  EXPECT_EQ(h.log.count("FVAppRegisterTool"), 0u);
  EXPECT_EQ(h.log.count("FVToolButtonNew"), 0u);
  EXPECT_EQ(h.log.count("FVAppGetMenubar"), 0u);
  EXPECT_EQ(h.log.count("FVMenuNew"), 0u);
  EXPECT_EQ(h.log.count("FVMenuItemNew"), 0u);
  EXPECT_TRUE(h.registeredTools().empty());
}

TEST_F(ToolStartup, HostThatCannotEditKeepsToolRecordEmpty)
{
  h.setConfiguration("CanEdit", nullptr);
  prepare();
  ASSERT_EQ(init(), 1);
  const FVToolRec &t = PageShearTool();
  EXPECT_EQ(t.size, 0u);
  EXPECT_EQ(t.Activate, nullptr);
  EXPECT_EQ(t.DoClick, nullptr);
  EXPECT_EQ(t.GetType, nullptr);
  EXPECT_EQ(ShowMediaBox(), nullptr);
  EXPECT_EQ(HideMediaBox(), nullptr);
}

TEST_F(ToolStartup, HostThatCanEditShowsNoNoteAndReturnsTrue)
{
  prepare();
  EXPECT_EQ(init(), 1);
  EXPECT_EQ(h.log.count("FVAlertNote"), 0u);
  EXPECT_EQ(h.log.count("FVAlert"), 0u);
}

// Any non-null configuration value counts as "can edit".
TEST_F(ToolStartup, AnyNonNullCanEditValueSetsUp)
{
  static int someValue = 0;
  h.setConfiguration("CanEdit", &someValue);
  prepare();
  EXPECT_EQ(init(), 1);
  EXPECT_EQ(h.registeredTools().size(), 1u);
}

TEST_F(ToolStartup, ToolThenButtonThenMenusInThatOrder)
{
  startUp();
  long tool = h.log.indexOf("FVAppRegisterTool");
  long bar = h.log.indexOf("FVAppGetToolBar");
  long menus = h.log.indexOf("FVAppGetMenubar");
  ASSERT_GE(tool, 0);
  EXPECT_LT(tool, bar);
  EXPECT_LT(bar, menus);
}

// ---- the tool record -------------------------------------------------------

TEST_F(ToolStartup, ToolRecordRegisteredByItsAddress)
{
  startUp();
  ASSERT_EQ(h.registeredTools().size(), 1u);
  EXPECT_EQ(h.registeredTools()[0], tool());
  EXPECT_EQ(h.log.textsOf("FVAppRegisterTool"), (Texts{"FVAppRegisterTool(tool0)"}));
}

TEST_F(ToolStartup, ToolRecordSizeIsItsSizeOnThisAbi)
{
  startUp();
  // Eleven fields: a 32-bit size (padded to 8), seven callbacks, a 32-bit
  // cursorID (padded to 8), a callback and a pointer: 8 + 56 + 8 + 16.
  EXPECT_EQ(PageShearTool().size, sizeof(FVToolRec));
  EXPECT_EQ(PageShearTool().size, 88u);
}

TEST_F(ToolStartup, ToolRecordSlotsWrapTheToolProcedures)
{
  startUp();
  const FVToolRec &t = PageShearTool();
  EXPECT_TRUE(wraps(t.Activate, "PageShearActivate")) << procOf(t.Activate);
  EXPECT_TRUE(wraps(t.DoClick, "PageShearDoClick")) << procOf(t.DoClick);
  EXPECT_TRUE(wraps(t.AdjustCursor, "PageShearAdjustCursor")) << procOf(t.AdjustCursor);
  EXPECT_TRUE(wraps(t.GetType, "PageShearToolGetType")) << procOf(t.GetType);
  EXPECT_TRUE(wraps(t.IsPersistent, "PageShearIsPersistent")) << procOf(t.IsPersistent);
  for (FSCallback cb : {t.Activate, t.DoClick, t.AdjustCursor, t.GetType, t.IsPersistent})
    EXPECT_EQ(testhost::TestHost::callbackOwner(cb), h.extensionID());
}

TEST_F(ToolStartup, ToolRecordUnsetFieldsStayZero)
{
  startUp();
  const FVToolRec &t = PageShearTool();
  EXPECT_EQ(t.Deactivate, nullptr);
  EXPECT_EQ(t.DoKeyDown, nullptr);
  EXPECT_EQ(t.cursorID, 0);
  EXPECT_EQ(t.ComputeEnabled, nullptr);
  EXPECT_EQ(t.computeEnabledData, nullptr);
}

// Deactivate is stored as null explicitly, even over an earlier value.
TEST_F(ToolStartup, DeactivateIsStoredAsNull)
{
  prepare();
  PageShearTool().Deactivate = reinterpret_cast<FSCallback>(&h);
  ASSERT_EQ(init(), 1);
  EXPECT_EQ(PageShearTool().Deactivate, nullptr);
}

TEST_F(ToolStartup, ToolCallbacksMadeInRecordOrderBeforeRegistration)
{
  startUp();
  // Activate, GetType, DoClick, AdjustCursor, IsPersistent, then register.
  Texts want{"host.init()",
             "FSAtomFromString(\"CanEdit\")",
             "FSGetConfiguration(atom:CanEdit)",
             "FSCallbackCreate(ext0, fn:2)",
             "FSCallbackCreate(ext0, fn:3)",
             "FSCallbackCreate(ext0, fn:4)",
             "FSCallbackCreate(ext0, fn:5)",
             "FSCallbackCreate(ext0, fn:6)",
             "FVAppRegisterTool(tool0)"};
  Texts got = initLog();
  got.resize(want.size());
  EXPECT_EQ(got, want) << dump();
  // The five callbacks made, in order, wrap these procedures.
  const char *order[] = {"PageShearActivate", "PageShearToolGetType", "PageShearDoClick",
                         "PageShearAdjustCursor", "PageShearIsPersistent"};
  for (int k = 0; k < 5; ++k)
    EXPECT_TRUE(wraps(h.callbackAt(2 + k), order[k])) << k << ": " << procOf(h.callbackAt(2 + k));
}

TEST_F(ToolStartup, ToolGetTypeAnswersItsAtomFromAFreshLookup)
{
  startUp();
  clearLog();
  FSAtom first = h.toolGetType(tool());
  FSAtom second = h.toolGetType(tool());
  EXPECT_EQ(first, h.atom("QUIL:Page Shear"));
  EXPECT_EQ(second, first);
  EXPECT_EQ(h.log.textsOf("FSAtomFromString"),
            (Texts{"FSAtomFromString(\"QUIL:Page Shear\")", "FSAtomFromString(\"QUIL:Page Shear\")"}));
}

TEST_F(ToolStartup, ToolIsPersistent)
{
  startUp();
  clearLog();
  EXPECT_EQ(h.toolIsPersistent(tool()), 1);
  // A query without host calls.
  EXPECT_EQ(h.log.size(), 1u) << dump();
}

// ---- the tool bar button --------------------------------------------------

TEST_F(ToolStartup, ButtonSetUpCallsInOrder)
{
  startUp();
  long from = h.log.indexOf("FVAppGetToolBar");
  long to = h.log.indexOf("FVAppGetMenubar");
  ASSERT_GE(from, 0);
  Texts got = textsFrom(static_cast<size_t>(from));
  got.resize(static_cast<size_t>(to - from));
  // Without an X display the icon is null.
  EXPECT_EQ(
      got,
      (Texts{"FVAppGetToolBar()", "FSAtomFromString(\"endToolsGroup\")",
             "FVToolBarGetButtonByName(toolbar, atom:endToolsGroup)", "FVToolBarIsRoomFor(toolbar, 1, 0)",
             "UnixAppGetShellWidget()", "FSAtomFromString(\"QUIL:PageShear\")",
             "FVToolButtonNew(atom:QUIL:PageShear, null, 0, 0)",
             "FVToolBarAddButton(toolbar, button:QUIL:PageShear, 1, button:endToolsGroup)",
             "FSCallbackCreate(ext0, fn:7)", "FVToolButtonSetExecuteProc(button:QUIL:PageShear, cb:7, tool0)",
             "FSCallbackCreate(ext0, fn:8)",
             "FVToolButtonSetComputeMarkedProc(button:QUIL:PageShear, cb:8, tool0)",
             "FSCallbackCreate(ext0, fn:9)",
             "FVToolButtonSetComputeEnabledProc(button:QUIL:PageShear, cb:9, 0x8)",
             "FVToolButtonSetHelpText(button:QUIL:PageShear, \"Page Shear - used to crop pages\")"}))
      << dump();
}

TEST_F(ToolStartup, ButtonIsLastOfToolsGroup)
{
  startUp();
  std::vector<std::string> names;
  for (testhost::ToolButton *b : h.toolBarButtons())
    names.push_back(b->buttonName);
  EXPECT_EQ(names, (Texts{"Hand", "Select", "QUIL:PageShear", "endToolsGroup"}));
  testhost::ToolButton *b = h.button("QUIL:PageShear");
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(b->isSeparator, 0);
  EXPECT_EQ(b->noFlyout, 0);
  EXPECT_TRUE(b->hasHelpText);
  EXPECT_EQ(b->helpText, "Page Shear - used to crop pages");
}

TEST_F(ToolStartup, ButtonExecuteAndMarkedGetToolAddressEnabledGetsEight)
{
  startUp();
  testhost::ToolButton *b = h.button("QUIL:PageShear");
  ASSERT_NE(b, nullptr);
  ASSERT_TRUE(b->execute.set);
  ASSERT_TRUE(b->computeMarked.set);
  ASSERT_TRUE(b->computeEnabled.set);
  EXPECT_TRUE(wraps(b->execute.callback, "PageShearToolButtonExecute")) << procOf(b->execute.callback);
  EXPECT_EQ(b->execute.data, static_cast<void *>(tool()));
  EXPECT_TRUE(wraps(b->computeMarked.callback, "PageShearToolButtonComputeMarked"))
      << procOf(b->computeMarked.callback);
  EXPECT_EQ(b->computeMarked.data, static_cast<void *>(tool()));
  EXPECT_TRUE(wraps(b->computeEnabled.callback, "PageShearToolButtonComputeEnabled"))
      << procOf(b->computeEnabled.callback);
  EXPECT_EQ(b->computeEnabled.data, reinterpret_cast<void *>(8));
}

TEST_F(ToolStartup, ButtonMarkedProcedureSetBeforeEnabled)
{
  startUp();
  long exec = h.log.indexOf("FVToolButtonSetExecuteProc");
  long marked = h.log.indexOf("FVToolButtonSetComputeMarkedProc");
  long enabled = h.log.indexOf("FVToolButtonSetComputeEnabledProc");
  long help = h.log.indexOf("FVToolButtonSetHelpText");
  ASSERT_GE(exec, 0);
  EXPECT_LT(exec, marked);
  EXPECT_LT(marked, enabled);
  EXPECT_LT(enabled, help);
}

TEST_F(ToolStartup, NoRoomOnToolBarMakesNoIconAndNoButtonButMenus)
{
  h.roomOnToolBar = false;
  prepare();
  ASSERT_EQ(init(), 1);
  long room = h.log.indexOf("FVToolBarIsRoomFor(toolbar, 1, 0)");
  long menubar = h.log.indexOf("FVAppGetMenubar()");
  ASSERT_GE(room, 0);
  // Straight from the room test to the menus: no icon, no button, no message.
  EXPECT_EQ(menubar, room + 1) << dump();
  EXPECT_EQ(h.log.count("FVToolButtonNew"), 0u);
  EXPECT_EQ(h.log.count("FVToolBarAddButton"), 0u);
  EXPECT_EQ(h.log.count("FVAlertNote"), 0u);
  // The only icon made is the menu item's, after the menu bar lookup.
  EXPECT_EQ(h.log.count("UnixAppGetShellWidget"), 1u);
  EXPECT_GT(h.log.indexOf("UnixAppGetShellWidget"), menubar);
  // The tool and the menus are still set up.
  EXPECT_EQ(h.registeredTools().size(), 1u);
  EXPECT_EQ(h.log.count("FVMenuNew"), 1u);
  EXPECT_NE(h.menuItem("QUIL:PageShearSelTool"), nullptr);
  EXPECT_EQ(h.button("QUIL:PageShear"), nullptr);
}

TEST_F(ToolStartup, NoEndToolsGroupButtonPassesNullToAddButton)
{
  h.removeButton("endToolsGroup");
  prepare();
  ASSERT_EQ(init(), 1);
  EXPECT_EQ(h.log.textsOf("FVToolBarGetButtonByName"),
            (Texts{"FVToolBarGetButtonByName(toolbar, atom:endToolsGroup)"}));
  EXPECT_EQ(h.log.textsOf("FVToolBarAddButton"),
            (Texts{"FVToolBarAddButton(toolbar, button:QUIL:PageShear, 1, null)"}));
}

TEST_F(ToolStartup, IconMadeTwiceWithRoomOnceForButtonOnceForMenu)
{
  startUp();
  EXPECT_EQ(h.log.count("UnixAppGetShellWidget"), 2u);
  long first = h.log.indexOf("UnixAppGetShellWidget");
  EXPECT_LT(first, h.log.indexOf("FVToolButtonNew"));
  long second = h.log.indexOf("UnixAppGetShellWidget", static_cast<size_t>(first) + 1);
  EXPECT_EQ(second, h.log.indexOf("FVAppGetMenubar") + 1);
}

} // namespace
} // namespace tooltest
