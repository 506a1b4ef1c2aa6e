// CommandProcTests.cpp: the tool bar button's and the menu items' execute,
// compute-enabled and compute-marked procedures, About and Revert, run through
// the host's button and items with the client data the plug-in attached.
#include "CommandsSupport.h"

#include <cstdint>
#include <functional>

namespace cmdtest {
namespace {

// The tool-related elements (enabled with permission 8) and the always
// available ones.
const char *const kToolItems[] = {"QUIL:PageShearSelTool", "QUIL:PageShearBBox", "QUIL:PageShearMediaBox"};
const char *const kFreeItems[] = {"QUIL:PageShearAbout", "QUIL:PSShowMediaBox", "QUIL:PSHideMediaBox"};

class CommandsProcs : public CommandsTest {
protected:
  testhost::MenuItem *item(const std::string &name)
  {
    testhost::MenuItem *i = host.menuItem(name);
    EXPECT_NE(i, nullptr) << name;
    return i;
  }
  testhost::ToolButton *button()
  {
    testhost::ToolButton *b = host.button("QUIL:PageShear");
    EXPECT_NE(b, nullptr);
    return b;
  }
  // The plug-in's calls made by one host query (the query's own log entry
  // excluded).
  std::vector<std::string> callsOf(const std::function<void()> &query)
  {
    mark("query");
    size_t from = host.log.size() + 1;
    query();
    std::vector<std::string> out;
    for (size_t i = from; i < host.log.size(); ++i)
      out.push_back(host.log.calls()[i].text());
    return out;
  }
};

// ---- compute-enabled and compute-marked ----------------------------------------------------------

TEST_F(CommandsProcs, NoDocumentDisablesTheToolCommandsAndRevert)
{
  EXPECT_EQ(host.computeEnabled(button()), 0);
  for (const char *name : kToolItems)
    EXPECT_EQ(host.computeEnabled(item(name)), 0) << name;
  EXPECT_EQ(host.computeEnabled(item("QUIL:PSRevert")), 0);
}

TEST_F(CommandsProcs, NoDocumentKeepsAboutAndTheMediaBoxItemsEnabled)
{
  for (const char *name : kFreeItems)
    EXPECT_EQ(host.computeEnabled(item(name)), 1) << name;
}

TEST_F(CommandsProcs, NoDocumentMarksNothing)
{
  host.activeTool = tool();
  EXPECT_EQ(host.computeMarked(button()), 0);
  host.activeTool = nullptr;
  for (const char *name : kToolItems)
    EXPECT_EQ(host.computeMarked(item(name)), 0) << name;
  for (const char *name : kFreeItems)
    EXPECT_EQ(host.computeMarked(item(name)), 0) << name;
  EXPECT_EQ(host.computeMarked(item("QUIL:PSRevert")), 0);
}

TEST_F(CommandsProcs, NoDocumentEnabledQueryAsksOnlyForTheActiveDocument)
{
  EXPECT_EQ(callsOf([&] { host.computeEnabled(button()); }), std::vector<std::string>{"FVAppGetActiveDoc()"});
  EXPECT_EQ(callsOf([&] { host.computeMarked(button()); }), std::vector<std::string>{"FVAppGetActiveDoc()"});
  EXPECT_EQ(callsOf([&] { host.computeEnabled(item("QUIL:PSRevert")); }),
            std::vector<std::string>{"FVAppGetActiveDoc()"});
}

TEST_F(CommandsProcs, DocumentWithoutModifyPermissionDisablesAndUnmarksTheToolCommands)
{
  makeDoc(1);
  host.document(0).permissions = 0xFFFFFFF7u; // everything but bit 8
  host.activeTool = tool();
  EXPECT_EQ(host.computeEnabled(button()), 0);
  EXPECT_EQ(host.computeMarked(button()), 0);
  host.activeTool = nullptr;
  for (const char *name : kToolItems) {
    EXPECT_EQ(host.computeEnabled(item(name)), 0) << name;
    EXPECT_EQ(host.computeMarked(item(name)), 0) << name;
  }
}

TEST_F(CommandsProcs, DocumentWithOnlyTheModifyPermissionEnablesTheToolCommands)
{
  makeDoc(1);
  host.document(0).permissions = 8;
  EXPECT_EQ(host.computeEnabled(button()), 1);
  for (const char *name : kToolItems)
    EXPECT_EQ(host.computeEnabled(item(name)), 1) << name;
}

TEST_F(CommandsProcs, EnabledQueryReadsThePermissionsOfTheActiveDocument)
{
  makeDoc(1);
  EXPECT_EQ(callsOf([&] { host.computeEnabled(button()); }),
            (std::vector<std::string>{"FVAppGetActiveDoc()", "FVDocGetPDDoc(fvdoc0)",
                                      "PDDocGetPermissions(doc0)"}));
}

TEST_F(CommandsProcs, EnabledWithRequiredPermissionZeroIgnoresThePermissions)
{
  makeDoc(1);
  host.document(0).permissions = 0;
  testhost::MenuItem *sel = item("QUIL:PageShearSelTool");
  EXPECT_EQ(host.computeEnabled(sel), 0);
  sel->computeEnabled.data = nullptr;
  EXPECT_EQ(host.computeEnabled(sel), 1);
  host.setActiveDocument(-1);
  EXPECT_EQ(host.computeEnabled(sel), 0) << "still false without a document";
}

TEST_F(CommandsProcs, EnabledWithAnotherRequiredPermissionTestsThatBit)
{
  makeDoc(1);
  host.document(0).permissions = 8;
  testhost::MenuItem *sel = item("QUIL:PageShearSelTool");
  sel->computeEnabled.data = reinterpret_cast<void *>(static_cast<uintptr_t>(4));
  EXPECT_EQ(host.computeEnabled(sel), 0);
  host.document(0).permissions = 4;
  EXPECT_EQ(host.computeEnabled(sel), 1);
}

TEST_F(CommandsProcs, ButtonIsPressedWhileTheCropToolIsActive)
{
  makeDoc(1);
  host.activeTool = tool();
  EXPECT_EQ(host.computeMarked(button()), 1);
  EXPECT_EQ(callsOf([&] { host.computeMarked(button()); }),
            (std::vector<std::string>{"FVAppGetActiveDoc()", "FVDocGetPDDoc(fvdoc0)",
                                      "PDDocGetPermissions(doc0)", "FVAppGetActiveTool()"}));
}

TEST_F(CommandsProcs, ButtonIsNotPressedWhileAnotherToolIsActive)
{
  makeDoc(1);
  static FVToolRec otherTool;
  host.activeTool = &otherTool;
  EXPECT_EQ(host.computeMarked(button()), 0);
}

TEST_F(CommandsProcs, ToolsItemNeverShowsACheckWhileSomeToolIsActive)
{
  makeDoc(1);
  static FVToolRec otherTool;
  host.activeTool = tool();
  EXPECT_EQ(host.computeMarked(item("QUIL:PageShearSelTool")), 0);
  host.activeTool = &otherTool;
  EXPECT_EQ(host.computeMarked(item("QUIL:PageShearSelTool")), 0);
}

TEST_F(CommandsProcs, ToolItemsAreMarkedWhenTheHostReportsNoActiveTool)
{
  makeDoc(1);
  host.activeTool = nullptr;
  for (const char *name : kToolItems)
    EXPECT_EQ(host.computeMarked(item(name)), 1) << name;
  EXPECT_EQ(host.computeMarked(button()), 0);
}

TEST_F(CommandsProcs, AboutAndMediaBoxItemsAskTheHostNothing)
{
  makeDoc(1);
  for (const char *name : kFreeItems) {
    EXPECT_TRUE(callsOf([&] { host.computeEnabled(item(name)); }).empty()) << name;
    EXPECT_TRUE(callsOf([&] { host.computeMarked(item(name)); }).empty()) << name;
  }
  EXPECT_TRUE(callsOf([&] { host.computeMarked(item("QUIL:PSRevert")); }).empty());
}

TEST_F(CommandsProcs, RevertIsDisabledForAFreshUnchangedDocument)
{
  makeDoc(1);
  host.document(0).flags = 0;
  EXPECT_EQ(host.computeEnabled(item("QUIL:PSRevert")), 0);
  EXPECT_EQ(
      callsOf([&] { host.computeEnabled(item("QUIL:PSRevert")); }),
      (std::vector<std::string>{"FVAppGetActiveDoc()", "FVDocGetPDDoc(fvdoc0)", "PDDocGetFlags(doc0)"}));
}

TEST_F(CommandsProcs, RevertIsEnabledOnceTheDocumentNeedsSaving)
{
  makeDoc(1);
  host.document(0).flags = 1;
  EXPECT_EQ(host.computeEnabled(item("QUIL:PSRevert")), 1);
  EXPECT_EQ(callsOf([&] { host.computeEnabled(item("QUIL:PSRevert")); }),
            (std::vector<std::string>{"FVAppGetActiveDoc()", "FVDocGetPDDoc(fvdoc0)", "PDDocGetFlags(doc0)",
                                      "FVDocGetPDDoc(fvdoc0)", "PDDocGetFile(doc0)"}));
}

TEST_F(CommandsProcs, RevertIsDisabledForADocumentWithoutAFile)
{
  makeDoc(1);
  host.document(0).flags = 1;
  host.document(0).hasFile = false;
  EXPECT_EQ(host.computeEnabled(item("QUIL:PSRevert")), 0);
}

TEST_F(CommandsProcs, RevertIgnoresEveryFlagButNeedsSave)
{
  makeDoc(1);
  host.document(0).flags = 0x7FE; // every other flag of the host
  EXPECT_EQ(host.computeEnabled(item("QUIL:PSRevert")), 0);
  host.document(0).flags = 0x7FF;
  EXPECT_EQ(host.computeEnabled(item("QUIL:PSRevert")), 1);
}

TEST_F(CommandsProcs, RevertEnabledIgnoresThePermissions)
{
  makeDoc(1);
  host.document(0).flags = 1;
  host.document(0).permissions = 0;
  EXPECT_EQ(host.computeEnabled(item("QUIL:PSRevert")), 1);
}

// ---- execute procedures -----------------------------------------------------------------------------

TEST_F(CommandsProcs, ButtonMakesTheCropToolActiveAndPersistent)
{
  makeDoc(1);
  mark("button");
  host.executeButton(button());
  std::vector<std::string> calls = afterLog();
  ASSERT_GE(calls.size(), 2u) << dump();
  EXPECT_EQ(calls[1], "FVAppSetActiveTool(tool0, 1)");
  EXPECT_EQ(host.activeTool, tool());
}

TEST_F(CommandsProcs, ToolsItemMakesTheSameToolActiveDespiteItsClientDataZero)
{
  makeDoc(1);
  runItem("QUIL:PageShearSelTool");
  std::vector<std::string> calls = afterLog();
  ASSERT_GE(calls.size(), 1u) << dump();
  EXPECT_EQ(calls[0], "FVAppSetActiveTool(tool0, 1)");
  EXPECT_EQ(host.activeTool, tool());
}

TEST_F(CommandsProcs, AboutShowsItsNote)
{
  runItem("QUIL:PageShearAbout");
  EXPECT_EQ(afterLog(),
            std::vector<std::string>{"FVAlertNote(\"Page Shear 1.1 is part of a suite of Folio utility "
                                     "plug-ins brought to you by Lee Marlow.\")"})
      << dump();
}

const char *const kRevertQuestion =
    "FVAlertConfirm(\"Are you sure you want to revert to last saved version?\")";

TEST_F(CommandsProcs, RevertDeclinedChangesNothing)
{
  makeDoc(1);
  host.document(0).flags = 1;
  host.confirmAnswers = {0};
  runItem("QUIL:PSRevert");
  EXPECT_EQ(afterLog(), std::vector<std::string>{kRevertQuestion}) << dump();
  EXPECT_FALSE(host.document(0).closed);
}

TEST_F(CommandsProcs, RevertClosesWithoutSavingAndReopensFromTheSamePath)
{
  makeDoc(1);
  host.document(0).flags = 1;
  host.confirmAnswers = {1};
  host.openFromFileDoc = 0;
  runItem("QUIL:PSRevert");
  EXPECT_EQ(afterLog(), (std::vector<std::string>{
                            kRevertQuestion, "FVAppGetActiveDoc()", "FVDocGetPDDoc(fvdoc0)",
                            "PDDocGetFile(doc0)", "FSFileAcquirePathName(file0)", "FVDocClose(fvdoc0, 1)",
                            "FSGetDefaultFileSys()", "FVDocOpenFromFile(path0, filesys, null)"}))
      << dump();
  EXPECT_FALSE(host.document(0).closed);
  EXPECT_EQ(host.document(0).pathAcquires, 1);
}

TEST_F(CommandsProcs, RevertWithABadPathLeavesTheDocumentOpen)
{
  makeDoc(1);
  host.document(0).flags = 1;
  host.document(0).hasPath = false;
  host.confirmAnswers = {1};
  runItem("QUIL:PSRevert");
  EXPECT_EQ(afterLog(),
            (std::vector<std::string>{kRevertQuestion, "FVAppGetActiveDoc()", "FVDocGetPDDoc(fvdoc0)",
                                      "PDDocGetFile(doc0)", "FSFileAcquirePathName(file0)",
                                      "FVAlertNote(\"Unable to revert since path to file is bad.\")"}))
      << dump();
  EXPECT_FALSE(host.document(0).closed);
}

TEST_F(CommandsProcs, RevertRefusedCloseKeepsTheDocumentAndThePathAcquired)
{
  makeDoc(1);
  host.document(0).flags = 1;
  host.docCloseAnswer = 0;
  host.confirmAnswers = {1};
  runItem("QUIL:PSRevert");
  EXPECT_EQ(afterLog(),
            (std::vector<std::string>{kRevertQuestion, "FVAppGetActiveDoc()", "FVDocGetPDDoc(fvdoc0)",
                                      "PDDocGetFile(doc0)", "FSFileAcquirePathName(file0)",
                                      "FVDocClose(fvdoc0, 1)", "FVAlertNote(\"Unable to close the file.\")"}))
      << dump();
  EXPECT_FALSE(host.document(0).closed);
  EXPECT_EQ(host.document(0).pathAcquires, 1);
}

TEST_F(CommandsProcs, RevertWhoseReopenFailsLeavesTheDocumentClosedWithoutANote)
{
  makeDoc(1);
  host.document(0).flags = 1;
  host.confirmAnswers = {1};
  host.openFromFileDoc = -1;
  runItem("QUIL:PSRevert");
  std::vector<std::string> calls = afterLog();
  ASSERT_FALSE(calls.empty());
  EXPECT_EQ(calls.back(), "FVDocOpenFromFile(path0, filesys, null)") << dump();
  EXPECT_EQ(afterCount("FVAlertNote"), 0u);
  EXPECT_TRUE(host.document(0).closed);
  EXPECT_EQ(host.activeDocument(), -1);
}

TEST_F(CommandsProcs, RevertAnyNonZeroAnswerConfirms)
{
  makeDoc(1);
  host.document(0).flags = 1;
  host.confirmAnswers = {2};
  host.openFromFileDoc = 0;
  runItem("QUIL:PSRevert");
  EXPECT_EQ(afterCount("FVDocClose"), 1u) << dump();
}

} // namespace
} // namespace cmdtest
