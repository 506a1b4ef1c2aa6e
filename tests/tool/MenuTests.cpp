// Menu construction: the items, their places, procedures and client data,
// the releases, and the hosts that lack one of the menus.
#include "ToolTestSupport.h"

namespace tooltest {
namespace {

using Texts = std::vector<std::string>;

class ToolMenus : public ToolTest {
protected:
  // The calls of SetUpMenuItem: from the menu bar lookup to the end of init.
  Texts menuLog() const
  {
    long from = h.log.indexOf("FVAppGetMenubar");
    return from < 0 ? Texts{} : textsFrom(static_cast<size_t>(from));
  }

  // Checks an item's three procedures and their client data.
  void expectProcs(const std::string &itemName, const char *exec, void *execData, const char *enabled,
                   void *enabledData, const char *marked, void *markedData)
  {
    SCOPED_TRACE(itemName);
    testhost::MenuItem *it = h.menuItem(itemName);
    ASSERT_NE(it, nullptr);
    ASSERT_TRUE(it->execute.set);
    ASSERT_TRUE(it->computeEnabled.set);
    ASSERT_TRUE(it->computeMarked.set);
    EXPECT_TRUE(wraps(it->execute.callback, exec)) << procOf(it->execute.callback);
    EXPECT_EQ(it->execute.data, execData);
    EXPECT_TRUE(wraps(it->computeEnabled.callback, enabled)) << procOf(it->computeEnabled.callback);
    EXPECT_EQ(it->computeEnabled.data, enabledData);
    EXPECT_TRUE(wraps(it->computeMarked.callback, marked)) << procOf(it->computeMarked.callback);
    EXPECT_EQ(it->computeMarked.data, markedData);
    EXPECT_EQ(testhost::TestHost::callbackOwner(it->execute.callback), h.extensionID());
  }
};

void *const kEight = reinterpret_cast<void *>(8);

// ---- the full path ------------------------------------------------------

TEST_F(ToolMenus, ExtensionsEndsWithPageShearSubmenu)
{
  startUp();
  EXPECT_EQ(h.itemTitles("Extensions"), (Texts{"Page Shear"}));
  EXPECT_EQ(h.itemNames("Extensions"), (Texts{"QUIL:Page Shear"}));
  testhost::MenuItem *carrier = h.menuItem("QUIL:Page Shear");
  ASSERT_NE(carrier, nullptr);
  ASSERT_NE(carrier->submenu, nullptr);
  EXPECT_EQ(carrier->submenu->title, "Page Shear");
  EXPECT_EQ(carrier->submenu->menuName, "QUIL:Page Shear");
  EXPECT_EQ(carrier->submenu->owner, h.extensionID());
}

TEST_F(ToolMenus, ExtensionsItemGoesAfterExistingItems)
{
  prepare();
  h.addMenuItem("Extensions", "Other");
  ASSERT_EQ(init(), 1);
  EXPECT_EQ(h.itemNames("Extensions"), (Texts{"Other", "QUIL:Page Shear"}));
}

TEST_F(ToolMenus, SubmenuReadsBoundingBoxResetShowInOrder)
{
  startUp();
  EXPECT_EQ(h.itemTitles("QUIL:Page Shear"),
            (Texts{"&Crop Page(s) to Bounding Box", "&Reset Page(s) to Media Box", "S&how Media Box"}));
  EXPECT_EQ(h.itemNames("QUIL:Page Shear"),
            (Texts{"QUIL:PageShearBBox", "QUIL:PageShearMediaBox", "QUIL:PSShowMediaBox"}));
}

TEST_F(ToolMenus, ToolsHasPageShearRightAfterThread)
{
  startUp();
  EXPECT_EQ(h.itemNames("Tools"), (Texts{"Hand", "Select", "Thread", "QUIL:PageShearSelTool", "Zoom"}));
  EXPECT_EQ(h.menuItem("QUIL:PageShearSelTool")->title, "Page Shear");
}

TEST_F(ToolMenus, AboutExtensionsEndsWithAboutItem)
{
  prepare();
  h.addMenuItem("AboutExtensions", "OtherAbout");
  ASSERT_EQ(init(), 1);
  EXPECT_EQ(h.itemNames("AboutExtensions"), (Texts{"OtherAbout", "QUIL:PageShearAbout"}));
  EXPECT_EQ(h.menuItem("QUIL:PageShearAbout")->title, "Page Shear...");
}

TEST_F(ToolMenus, FileHasRevertRightAfterSaveAs)
{
  startUp();
  EXPECT_EQ(h.itemNames("File"), (Texts{"Open", "Save", "SaveAs", "QUIL:PSRevert", "Close"}));
  EXPECT_EQ(h.menuItem("QUIL:PSRevert")->title, "R&evert File...");
}

TEST_F(ToolMenus, HideItemExistsInNoMenu)
{
  startUp();
  testhost::MenuItem *hide = h.menuItem("QUIL:PSHideMediaBox");
  ASSERT_NE(hide, nullptr);
  EXPECT_EQ(hide->parent, nullptr);
  EXPECT_EQ(hide->title, "H&ide Media Box");
  ASSERT_NE(ShowMediaBox(), nullptr);
  ASSERT_NE(HideMediaBox(), nullptr);
  EXPECT_EQ(reinterpret_cast<void *>(ShowMediaBox()), static_cast<void *>(h.menuItem("QUIL:PSShowMediaBox")));
  EXPECT_EQ(reinterpret_cast<void *>(HideMediaBox()), static_cast<void *>(hide));
}

TEST_F(ToolMenus, ItemsCreatedWithExactArguments)
{
  startUp();
  EXPECT_EQ(h.log.textsOf("FVMenuNew"), (Texts{"FVMenuNew(\"Page Shear\", \"QUIL:Page Shear\", ext0)"}));
  // No X display here, so the tool item's icon is the null icon.
  EXPECT_EQ(
      h.log.textsOf("FVMenuItemNew"),
      (Texts{
          "FVMenuItemNew(\"Page Shear\", \"QUIL:Page Shear\", menu:QUIL:Page Shear, 0, 0, 0, null, ext0)",
          "FVMenuItemNew(\"Page Shear\", \"QUIL:PageShearSelTool\", null, 0, '9', 8, null, ext0)",
          "FVMenuItemNew(\"&Crop Page(s) to Bounding Box\", \"QUIL:PageShearBBox\", null, 0, 0, 0, null, "
          "ext0)",
          "FVMenuItemNew(\"&Reset Page(s) to Media Box\", \"QUIL:PageShearMediaBox\", null, 0, 0, 0, null, "
          "ext0)",
          "FVMenuItemNew(\"S&how Media Box\", \"QUIL:PSShowMediaBox\", null, 0, 0, 0, null, ext0)",
          "FVMenuItemNew(\"H&ide Media Box\", \"QUIL:PSHideMediaBox\", null, 0, 0, 0, null, ext0)",
          "FVMenuItemNew(\"Page Shear...\", \"QUIL:PageShearAbout\", null, 0, 0, 0, null, ext0)",
          "FVMenuItemNew(\"R&evert File...\", \"QUIL:PSRevert\", null, 0, 0, 0, null, ext0)"}))
      << dump();
}

TEST_F(ToolMenus, ItemsAddedAtTheirIndices)
{
  startUp();
  // "Thread" is at 2 in Tools and "SaveAs" at 2 in File: both +1.
  EXPECT_EQ(h.log.textsOf("FVMenuAddMenuItem"),
            (Texts{"FVMenuAddMenuItem(menu:Extensions, item:QUIL:Page Shear, 9999)",
                   "FVMenuAddMenuItem(menu:Tools, item:QUIL:PageShearSelTool, 3)",
                   "FVMenuAddMenuItem(menu:QUIL:Page Shear, item:QUIL:PageShearBBox, 0)",
                   "FVMenuAddMenuItem(menu:QUIL:Page Shear, item:QUIL:PageShearMediaBox, 1)",
                   "FVMenuAddMenuItem(menu:QUIL:Page Shear, item:QUIL:PSShowMediaBox, 2)",
                   "FVMenuAddMenuItem(menu:AboutExtensions, item:QUIL:PageShearAbout, 9999)",
                   "FVMenuAddMenuItem(menu:File, item:QUIL:PSRevert, 3)"}))
      << dump();
}

TEST_F(ToolMenus, SubmenuCarrierHasNoProcedures)
{
  startUp();
  testhost::MenuItem *carrier = h.menuItem("QUIL:Page Shear");
  ASSERT_NE(carrier, nullptr);
  EXPECT_FALSE(carrier->execute.set);
  EXPECT_FALSE(carrier->computeEnabled.set);
  EXPECT_FALSE(carrier->computeMarked.set);
}

TEST_F(ToolMenus, ToolItemProceduresAndClientData)
{
  startUp();
  expectProcs("QUIL:PageShearSelTool", "PageShearToolButtonExecute", nullptr,
              "PageShearToolButtonComputeEnabled", kEight, "PageShearToolButtonComputeMarked", nullptr);
}

TEST_F(ToolMenus, BoundingBoxItemProceduresAndClientData)
{
  startUp();
  expectProcs("QUIL:PageShearBBox", "PageShearToolBBoxExecute", nullptr, "PageShearToolButtonComputeEnabled",
              kEight, "PageShearToolButtonComputeMarked", nullptr);
}

TEST_F(ToolMenus, MediaBoxItemProceduresAndClientData)
{
  startUp();
  expectProcs("QUIL:PageShearMediaBox", "PageShearToolMediaBoxExecute", nullptr,
              "PageShearToolButtonComputeEnabled", kEight, "PageShearToolButtonComputeMarked", nullptr);
}

TEST_F(ToolMenus, ShowItemProceduresAndClientData)
{
  startUp();
  expectProcs("QUIL:PSShowMediaBox", "ShowMediaBoxExecute", nullptr, "PageShearAboutBoxComputeEnabled",
              kEight, "PageShearAboutBoxComputeMarked", nullptr);
}

TEST_F(ToolMenus, HideItemProceduresAndClientData)
{
  startUp();
  expectProcs("QUIL:PSHideMediaBox", "HideMediaBoxExecute", nullptr, "PageShearAboutBoxComputeEnabled",
              kEight, "PageShearAboutBoxComputeMarked", nullptr);
}

TEST_F(ToolMenus, AboutItemProceduresAndClientData)
{
  startUp();
  expectProcs("QUIL:PageShearAbout", "PageShearAboutExecute", nullptr, "PageShearAboutBoxComputeEnabled",
              nullptr, "PageShearAboutBoxComputeMarked", nullptr);
}

TEST_F(ToolMenus, RevertItemProceduresAndClientData)
{
  startUp();
  expectProcs("QUIL:PSRevert", "PageShearRevertExecute", nullptr, "PageShearRevertComputeEnabled", kEight,
              "PageShearRevertComputeMarked", nullptr);
}

TEST_F(ToolMenus, EachItemGetsExecuteThenEnabledThenMarked)
{
  startUp();
  for (const char *name :
       {"QUIL:PageShearSelTool", "QUIL:PageShearBBox", "QUIL:PageShearMediaBox", "QUIL:PSShowMediaBox",
        "QUIL:PSHideMediaBox", "QUIL:PageShearAbout", "QUIL:PSRevert"}) {
    SCOPED_TRACE(name);
    std::string item = std::string("item:") + name;
    long e = -1, en = -1, m = -1;
    for (size_t i = 0; i < h.log.size(); ++i) {
      const testhost::Call &c = h.log.calls()[i];
      if (c.args.empty() || c.args[0] != item)
        continue;
      if (c.op == "FVMenuItemSetExecuteProc")
        e = static_cast<long>(i);
      else if (c.op == "FVMenuItemSetComputeEnabledProc")
        en = static_cast<long>(i);
      else if (c.op == "FVMenuItemSetComputeMarkedProc")
        m = static_cast<long>(i);
    }
    ASSERT_GE(e, 0);
    EXPECT_LT(e, en);
    EXPECT_LT(en, m);
  }
}

TEST_F(ToolMenus, DrawingCallbacksMadeButNotRegistered)
{
  startUp();
  ASSERT_NE(pageViewDidChange(), nullptr);
  ASSERT_NE(cropViewDidChange(), nullptr);
  EXPECT_TRUE(wraps(pageViewDidChange(), "FVPageViewDidChangefunc")) << procOf(pageViewDidChange());
  EXPECT_TRUE(wraps(cropViewDidChange(), "FVPageViewCropDidChangefunc")) << procOf(cropViewDidChange());
  EXPECT_EQ(h.log.count("FVAppRegisterForPageViewDrawing"), 0u);
  EXPECT_TRUE(h.drawingCallbacks().empty());
  // Made right after the Hide item, media box first.
  long hideMarked = h.log.indexOf("FVMenuItemSetComputeMarkedProc(item:QUIL:PSHideMediaBox, cb:24, null)");
  ASSERT_GE(hideMarked, 0) << dump();
  EXPECT_EQ(h.log.calls()[static_cast<size_t>(hideMarked) + 1].result, "cb:25");
  EXPECT_EQ(h.log.calls()[static_cast<size_t>(hideMarked) + 2].result, "cb:26");
  EXPECT_EQ(pageViewDidChange(), h.callbackAt(25));
  EXPECT_EQ(cropViewDidChange(), h.callbackAt(26));
}

TEST_F(ToolMenus, FlagsSetToZero)
{
  prepare();
  gShowMediaBoxOn() = 1;
  gCropRegion() = 1;
  ASSERT_EQ(init(), 1);
  EXPECT_EQ(gShowMediaBoxOn(), 0);
  EXPECT_EQ(gCropRegion(), 0);
}

TEST_F(ToolMenus, OneItemReleaseAndFourMenuReleasesOnFullPath)
{
  startUp();
  EXPECT_EQ(h.log.textsOf("FVMenuItemRelease"), (Texts{"FVMenuItemRelease(item:Thread)"}));
  EXPECT_EQ(h.log.textsOf("FVMenuRelease"),
            (Texts{"FVMenuRelease(menu:QUIL:Page Shear)", "FVMenuRelease(menu:AboutExtensions)",
                   "FVMenuRelease(menu:File)", "FVMenuRelease(menu:Tools)"}));
}

TEST_F(ToolMenus, ExtensionsMenuAndSaveAsItemStayAcquired)
{
  startUp();
  testhost::Menu *ext = h.menu("Extensions");
  ASSERT_NE(ext, nullptr);
  EXPECT_EQ(ext->acquires, 1);
  EXPECT_EQ(ext->releases, 0);
  testhost::MenuItem *saveAs = h.menuItem("SaveAs");
  ASSERT_NE(saveAs, nullptr);
  EXPECT_EQ(saveAs->acquires, 1);
  EXPECT_EQ(saveAs->releases, 0);
  testhost::MenuItem *thread = h.menuItem("Thread");
  EXPECT_EQ(thread->acquires, 1);
  EXPECT_EQ(thread->releases, 1);
  testhost::Menu *tools = h.menu("Tools");
  EXPECT_EQ(tools->acquires, 1);
  EXPECT_EQ(tools->releases, 1);
  // The plug-in's own items are never released.
  for (const char *name :
       {"QUIL:Page Shear", "QUIL:PageShearSelTool", "QUIL:PageShearBBox", "QUIL:PageShearMediaBox",
        "QUIL:PSShowMediaBox", "QUIL:PSHideMediaBox", "QUIL:PageShearAbout", "QUIL:PSRevert"})
    EXPECT_EQ(h.menuItem(name)->releases, 0) << name;
}

TEST_F(ToolMenus, FullPathCallSequence)
{
  startUp();
  Texts got = menuLog();
  // From FVAppGetMenubar up to the first item's creation, and the tail.
  ASSERT_GE(got.size(), 8u) << dump();
  EXPECT_EQ(
      Texts(got.begin(), got.begin() + 8),
      (Texts{
          "FVAppGetMenubar()", "UnixAppGetShellWidget()", "FVMenubarAcquireMenuByName(menubar, \"Tools\")",
          "FVMenubarAcquireMenuByName(menubar, \"Extensions\")",
          "FVMenubarAcquireMenuItemByName(menubar, \"Thread\")",
          "FVMenuGetMenuItemIndex(menu:Tools, item:Thread)",
          "FVMenuNew(\"Page Shear\", \"QUIL:Page Shear\", ext0)",
          "FVMenuItemNew(\"Page Shear\", \"QUIL:Page Shear\", menu:QUIL:Page Shear, 0, 0, 0, null, ext0)"}));
  long release = h.log.indexOf("FVMenuItemRelease(item:Thread)");
  ASSERT_GE(release, 0);
  Texts tail = textsFrom(static_cast<size_t>(release));
  ASSERT_GE(tail.size(), 4u);
  EXPECT_EQ(Texts(tail.begin(), tail.begin() + 3),
            (Texts{"FVMenuItemRelease(item:Thread)", "FVMenuRelease(menu:QUIL:Page Shear)",
                   "FVMenubarAcquireMenuByName(menubar, \"AboutExtensions\")"}));
  long aboutRelease = h.log.indexOf("FVMenuRelease(menu:AboutExtensions)");
  ASSERT_GE(aboutRelease, 0);
  Texts fileStep = textsFrom(static_cast<size_t>(aboutRelease));
  EXPECT_EQ(
      fileStep,
      (Texts{
          "FVMenuRelease(menu:AboutExtensions)", "FVMenubarAcquireMenuByName(menubar, \"File\")",
          "FVMenubarAcquireMenuItemByName(menubar, \"SaveAs\")",
          "FVMenuGetMenuItemIndex(menu:File, item:SaveAs)",
          "FVMenuItemNew(\"R&evert File...\", \"QUIL:PSRevert\", null, 0, 0, 0, null, ext0)",
          "FSCallbackCreate(ext0, fn:19)", "FVMenuItemSetExecuteProc(item:QUIL:PSRevert, cb:30, null)",
          "FSCallbackCreate(ext0, fn:20)", "FVMenuItemSetComputeEnabledProc(item:QUIL:PSRevert, cb:31, 0x8)",
          "FSCallbackCreate(ext0, fn:21)", "FVMenuItemSetComputeMarkedProc(item:QUIL:PSRevert, cb:32, null)",
          "FVMenuAddMenuItem(menu:File, item:QUIL:PSRevert, 3)", "FVMenuRelease(menu:File)",
          "FVMenuRelease(menu:Tools)"}))
      << dump();
}

// ---- hosts that lack a menu ------------------------------------------------

TEST_F(ToolMenus, WithoutExtensionsNothingIsBuilt)
{
  h.removeMenu("Extensions");
  prepare();
  gShowMediaBoxOn() = 1; // to see that the flags are not written
  gCropRegion() = 1;
  ASSERT_EQ(init(), 1);
  EXPECT_EQ(
      menuLog(),
      (Texts{"FVAppGetMenubar()", "UnixAppGetShellWidget()", "FVMenubarAcquireMenuByName(menubar, \"Tools\")",
             "FVMenubarAcquireMenuByName(menubar, \"Extensions\")", "FVMenuRelease(menu:Tools)"}))
      << dump();
  EXPECT_EQ(h.log.count("FVMenuNew"), 0u);
  EXPECT_EQ(h.log.count("FVMenuItemNew"), 0u);
  EXPECT_EQ(h.log.textsOf("FVMenuRelease"), (Texts{"FVMenuRelease(menu:Tools)"}));
  EXPECT_EQ(pageViewDidChange(), nullptr);
  EXPECT_EQ(cropViewDidChange(), nullptr);
  EXPECT_EQ(ShowMediaBox(), nullptr);
  EXPECT_EQ(HideMediaBox(), nullptr);
  EXPECT_EQ(gShowMediaBoxOn(), 1);
  EXPECT_EQ(gCropRegion(), 1);
  // The tool and its button exist all the same.
  EXPECT_EQ(h.registeredTools().size(), 1u);
  EXPECT_NE(h.button("QUIL:PageShear"), nullptr);
}

TEST_F(ToolMenus, WithoutExtensionsNoCallbackMadeInMenuStep)
{
  h.removeMenu("Extensions");
  prepare();
  ASSERT_EQ(init(), 1);
  long from = h.log.indexOf("FVAppGetMenubar");
  ASSERT_GE(from, 0);
  for (const std::string &t : textsFrom(static_cast<size_t>(from)))
    EXPECT_EQ(t.rfind("FSCallbackCreate", 0), std::string::npos) << t;
  // The icon is still asked for once in this step.
  size_t icons = 0;
  for (const std::string &t : textsFrom(static_cast<size_t>(from)))
    icons += t == "UnixAppGetShellWidget()";
  EXPECT_EQ(icons, 1u);
}

TEST_F(ToolMenus, WithoutToolsReleasesNullAndBuildsNothing)
{
  h.removeMenu("Tools");
  prepare();
  ASSERT_EQ(init(), 1);
  EXPECT_EQ(menuLog(), (Texts{"FVAppGetMenubar()", "UnixAppGetShellWidget()",
                              "FVMenubarAcquireMenuByName(menubar, \"Tools\")",
                              "FVMenubarAcquireMenuByName(menubar, \"Extensions\")", "FVMenuRelease(null)"}))
      << dump();
  EXPECT_EQ(h.log.count("FVMenuItemNew"), 0u);
  // The Extensions menu found is not released.
  EXPECT_EQ(h.menu("Extensions")->acquires, 1);
  EXPECT_EQ(h.menu("Extensions")->releases, 0);
}

TEST_F(ToolMenus, WithoutFileReleasesNullAfterAboutAndMakesNoRevert)
{
  h.removeMenu("File");
  prepare();
  ASSERT_EQ(init(), 1);
  long aboutRelease = h.log.indexOf("FVMenuRelease(menu:AboutExtensions)");
  ASSERT_GE(aboutRelease, 0) << dump();
  EXPECT_EQ(textsFrom(static_cast<size_t>(aboutRelease)),
            (Texts{"FVMenuRelease(menu:AboutExtensions)", "FVMenubarAcquireMenuByName(menubar, \"File\")",
                   "FVMenuRelease(null)", "FVMenuRelease(menu:Tools)"}));
  EXPECT_EQ(h.menuItem("QUIL:PSRevert"), nullptr);
  EXPECT_EQ(h.log.count("FVMenubarAcquireMenuItemByName"), 1u); // only "Thread"
  // The rest is built.
  EXPECT_NE(h.menuItem("QUIL:PageShearAbout"), nullptr);
  EXPECT_EQ(h.itemNames("QUIL:Page Shear").size(), 3u);
}

TEST_F(ToolMenus, WithoutAboutExtensionsReleasesNullAndMakesNoAbout)
{
  h.removeMenu("AboutExtensions");
  prepare();
  ASSERT_EQ(init(), 1);
  long lookup = h.log.indexOf("FVMenubarAcquireMenuByName(menubar, \"AboutExtensions\")");
  ASSERT_GE(lookup, 0) << dump();
  Texts after = textsFrom(static_cast<size_t>(lookup));
  ASSERT_GE(after.size(), 3u);
  EXPECT_EQ(Texts(after.begin(), after.begin() + 3),
            (Texts{"FVMenubarAcquireMenuByName(menubar, \"AboutExtensions\")", "FVMenuRelease(null)",
                   "FVMenubarAcquireMenuByName(menubar, \"File\")"}));
  EXPECT_EQ(h.menuItem("QUIL:PageShearAbout"), nullptr);
  EXPECT_NE(h.menuItem("QUIL:PSRevert"), nullptr);
  EXPECT_EQ(h.log.count("FVAlertNote"), 0u);
}

// Whether "Thread" exists is not checked: the host's answer (-1 here) + 1.
TEST_F(ToolMenus, WithoutThreadUsesHostIndexPlusOne)
{
  h.removeMenuItem("Thread");
  prepare();
  ASSERT_EQ(init(), 1);
  EXPECT_EQ(h.log.indexOf("FVMenuGetMenuItemIndex(menu:Tools, null)") >= 0, true) << dump();
  EXPECT_GE(h.log.indexOf("FVMenuAddMenuItem(menu:Tools, item:QUIL:PageShearSelTool, 0)"), 0) << dump();
  EXPECT_EQ(h.log.textsOf("FVMenuItemRelease"), (Texts{"FVMenuItemRelease(null)"}));
  EXPECT_EQ(h.itemNames("Tools"), (Texts{"QUIL:PageShearSelTool", "Hand", "Select", "Zoom"}));
}

// Without "SaveAs" the host's -1 + 1 puts Revert first in File.
TEST_F(ToolMenus, WithoutSaveAsUsesHostIndexPlusOne)
{
  h.removeMenuItem("SaveAs");
  prepare();
  ASSERT_EQ(init(), 1);
  EXPECT_GE(h.log.indexOf("FVMenuAddMenuItem(menu:File, item:QUIL:PSRevert, 0)"), 0) << dump();
  EXPECT_EQ(h.itemNames("File"), (Texts{"QUIL:PSRevert", "Open", "Save", "Close"}));
}

} // namespace
} // namespace tooltest
