/*
 * pgshear.cpp: the plug-in's handshake, its start-up and the shared state of
 * the main module.
 */
#include "pgshear.h"

#include "pgshearu.h"

#include <stdint.h>

/* ---- shared state: plain globals, zero at load ------------------------- */

FSBool gCropRegion;
FixedRect gfixRCropRegion;
FSInt16 gOrigPageRot;
FixedRect gfixROrigMedBox;
FSBool gShowMediaBoxOn;
FSInt32 gSkipPages;

ProgressMonitor progMon;
void *monClientData;
CancelProc cancelProc;
void *cancelProcData;

FVToolRec PageShearTool;
FVMenuItem ShowMediaBox;
FVMenuItem HideMediaBox;
FSCallback pageViewDidChange;
FSCallback cropViewDidChange;

/* ---- handshake ---------------------------------------------------------- */

FSBool PIHandshake(FSUns32 handshakeVersion, PIHandshakeData_V0200 *handshakeData)
{
  if (handshakeVersion != HANDSHAKE_V0200)
    return 0;
  handshakeData->extensionName = FSAtomFromString("QUIL_PageShear");
  handshakeData->exportHFTsCallback = NULL;
  handshakeData->importReplaceAndRegisterCallback = NULL;
  handshakeData->initCallback = FSCallbackCreate(gExtensionID, initPageShear);
  handshakeData->unloadCallback = NULL;
  return 1;
}

/* ---- start-up ------------------------------------------------------------ */

/* The initialisation callback: sets the plug-in up only on a host that can
 * edit documents (cropping changes them). Always true, so the plug-in stays
 * loaded even where it declined to set itself up. */
FSBool initPageShear(void)
{
  if (FSGetConfiguration(FSAtomFromString("CanEdit")) != NULL) {
    SetUpTool();
    SetUpToolButton();
    SetUpMenuItem();
  } else {
    FVAlertNote("Page Shear only works with the Folio Quire program.  It will not run under Quire LE.");
  }
  return 1;
}

/* Fills and registers the tool record. Deactivate is stored as null on
 * purpose; DoKeyDown, cursorID, ComputeEnabled and computeEnabledData are
 * left as they were at load (zero): the tool takes no keys and sets its
 * cursors itself. */
void SetUpTool(void)
{
  PageShearTool.size = sizeof(FVToolRec);
  PageShearTool.Activate = FSCallbackCreate(gExtensionID, PageShearActivate);
  PageShearTool.Deactivate = NULL;
  PageShearTool.GetType = FSCallbackCreate(gExtensionID, PageShearToolGetType);
  PageShearTool.DoClick = FSCallbackCreate(gExtensionID, PageShearDoClick);
  PageShearTool.AdjustCursor = FSCallbackCreate(gExtensionID, PageShearAdjustCursor);
  PageShearTool.IsPersistent = FSCallbackCreate(gExtensionID, PageShearIsPersistent);
  FVAppRegisterTool(&PageShearTool);
}

/* Adds the tool's button as the last of the host's tools group, before the
 * "endToolsGroup" separator. Without room on the tool bar nothing is made and
 * nothing is said: the Tools menu item reaches the same procedures. */
void SetUpToolButton(void)
{
  FVToolBar toolBar = FVAppGetToolBar();
  /* Not checked: a missing separator is passed on and the host decides. */
  FVToolButton toolsSeparator = FVToolBarGetButtonByName(toolBar, FSAtomFromString("endToolsGroup"));

  if (!FVToolBarIsRoomFor(toolBar, 1, 0))
    return;

  FVIcon PageShearIcon = GetPageShearIcon();
  FVToolButton PageShearToolButton = FVToolButtonNew(FSAtomFromString("QUIL:PageShear"), PageShearIcon, 0, 0);
  FVToolBarAddButton(toolBar, PageShearToolButton, 1, toolsSeparator);

  /* Execute and marked get the tool record, so the button shows pressed
   * while this tool is active; enabled gets the permission bit it needs.
   * Marked is set before enabled. */
  FVToolButtonSetExecuteProc(PageShearToolButton, FSCallbackCreate(gExtensionID, PageShearToolButtonExecute),
                             &PageShearTool);
  FVToolButtonSetComputeMarkedProc(
      PageShearToolButton, FSCallbackCreate(gExtensionID, PageShearToolButtonComputeMarked), &PageShearTool);
  FVToolButtonSetComputeEnabledProc(PageShearToolButton,
                                    FSCallbackCreate(gExtensionID, PageShearToolButtonComputeEnabled),
                                    (void *)(intptr_t)pdPermEdit);
  FVToolButtonSetHelpText(PageShearToolButton, "Page Shear - used to crop pages");
}

/* The execute, compute-enabled and compute-marked procedures of a menu item,
 * in that order, each wrapped as a callback. */
static void SetItemProcs(FVMenuItem item, FSProc execProc, void *execData, FSProc enabledProc,
                         void *enabledData, FSProc markedProc, void *markedData)
{
  FVMenuItemSetExecuteProc(item, FSCallbackCreate(gExtensionID, execProc), execData);
  FVMenuItemSetComputeEnabledProc(item, FSCallbackCreate(gExtensionID, enabledProc), enabledData);
  FVMenuItemSetComputeMarkedProc(item, FSCallbackCreate(gExtensionID, markedProc), markedData);
}

#define PERM_EDIT_DATA ((void *)(intptr_t)pdPermEdit)

/* Builds the menus: the "Page Shear" submenu at the end of "Extensions", the
 * tool item after "Thread" in "Tools", the About item in "AboutExtensions"
 * and the Revert item after "SaveAs" in "File"; makes the two page-view
 * drawing callbacks. Which handles are released is deliberate: the
 * "Extensions" menu and the "SaveAs" item stay acquired, the new items
 * belong to their menus, and HideMediaBox is kept by its global. */
void SetUpMenuItem(void)
{
  FVMenubar menubar = FVAppGetMenubar();
  /* Made before any lookup, so it exists even when no item is created. */
  FVIcon PageShearIcon = GetPageShearIcon();
  FVMenu toolsmenu = FVMenubarAcquireMenuByName(menubar, "Tools");
  FVMenu extensionsmenu = FVMenubarAcquireMenuByName(menubar, "Extensions");

  if (toolsmenu != NULL && extensionsmenu != NULL) {
    /* Whether "Thread" exists is not checked: the host's index is used. */
    FVMenuItem mItem = FVMenubarAcquireMenuItemByName(menubar, "Thread");
    FSInt32 indx = FVMenuGetMenuItemIndex(toolsmenu, mItem) + 1;

    /* The submenu and the item that carries it share title and name; the
     * media-box commands find the submenu by that name. */
    FVMenu PageShearMenu = FVMenuNew("Page Shear", "QUIL:Page Shear", gExtensionID);
    FVMenuItem PageShearMenuItem =
        FVMenuItemNew("Page Shear", "QUIL:Page Shear", PageShearMenu, 0, 0, 0, NULL, gExtensionID);
    FVMenuAddMenuItem(extensionsmenu, PageShearMenuItem, FVMenuAppendIndex);

    FVMenuItem SelPageShearTool =
        FVMenuItemNew("Page Shear", "QUIL:PageShearSelTool", NULL, 0, '9', 8, PageShearIcon, gExtensionID);
    /* Marked data 0, not the tool: the items are marked only when the host
     * reports no active tool. */
    SetItemProcs(SelPageShearTool, (FSProc)PageShearToolButtonExecute, NULL,
                 (FSProc)PageShearToolButtonComputeEnabled, PERM_EDIT_DATA,
                 (FSProc)PageShearToolButtonComputeMarked, NULL);
    FVMenuAddMenuItem(toolsmenu, SelPageShearTool, indx);

    FVMenuItem CropPagesBBox = FVMenuItemNew("&Crop Page(s) to Bounding Box", "QUIL:PageShearBBox", NULL, 0,
                                             0, 0, NULL, gExtensionID);
    SetItemProcs(CropPagesBBox, (FSProc)PageShearToolBBoxExecute, NULL,
                 (FSProc)PageShearToolButtonComputeEnabled, PERM_EDIT_DATA,
                 (FSProc)PageShearToolButtonComputeMarked, NULL);
    FVMenuAddMenuItem(PageShearMenu, CropPagesBBox, 0);

    FVMenuItem CropPagesMediaBox = FVMenuItemNew("&Reset Page(s) to Media Box", "QUIL:PageShearMediaBox",
                                                 NULL, 0, 0, 0, NULL, gExtensionID);
    SetItemProcs(CropPagesMediaBox, (FSProc)PageShearToolMediaBoxExecute, NULL,
                 (FSProc)PageShearToolButtonComputeEnabled, PERM_EDIT_DATA,
                 (FSProc)PageShearToolButtonComputeMarked, NULL);
    FVMenuAddMenuItem(PageShearMenu, CropPagesMediaBox, 1);

    /* Show and Hide use the always-enabled, never-marked procedures. */
    ShowMediaBox = FVMenuItemNew("S&how Media Box", "QUIL:PSShowMediaBox", NULL, 0, 0, 0, NULL, gExtensionID);
    SetItemProcs(ShowMediaBox, (FSProc)ShowMediaBoxExecute, NULL, (FSProc)PageShearAboutBoxComputeEnabled,
                 PERM_EDIT_DATA, (FSProc)PageShearAboutBoxComputeMarked, NULL);
    FVMenuAddMenuItem(PageShearMenu, ShowMediaBox, 2);

    /* Made now, put in the submenu only when Show swaps it in. */
    HideMediaBox = FVMenuItemNew("H&ide Media Box", "QUIL:PSHideMediaBox", NULL, 0, 0, 0, NULL, gExtensionID);
    SetItemProcs(HideMediaBox, (FSProc)HideMediaBoxExecute, NULL, (FSProc)PageShearAboutBoxComputeEnabled,
                 PERM_EDIT_DATA, (FSProc)PageShearAboutBoxComputeMarked, NULL);

    /* Only made here; the overlay commands and the tool register them. */
    pageViewDidChange = FSCallbackCreate(gExtensionID, FVPageViewDidChangefunc);
    cropViewDidChange = FSCallbackCreate(gExtensionID, FVPageViewCropDidChangefunc);

    gShowMediaBoxOn = 0;
    gCropRegion = 0;

    FVMenuItemRelease(mItem);
    /* The submenu lives on through the item that carries it. */
    FVMenuRelease(PageShearMenu);

    FVMenu menu = FVMenubarAcquireMenuByName(menubar, "AboutExtensions");
    if (menu != NULL) {
      FVMenuItem PageShearAboutMenuItem =
          FVMenuItemNew("Page Shear...", "QUIL:PageShearAbout", NULL, 0, 0, 0, NULL, gExtensionID);
      SetItemProcs(PageShearAboutMenuItem, (FSProc)PageShearAboutExecute, NULL,
                   (FSProc)PageShearAboutBoxComputeEnabled, NULL, (FSProc)PageShearAboutBoxComputeMarked,
                   NULL);
      FVMenuAddMenuItem(menu, PageShearAboutMenuItem, FVMenuAppendIndex);
    }
    FVMenuRelease(menu); /* also when null */

    menu = FVMenubarAcquireMenuByName(menubar, "File");
    if (menu != NULL) {
      /* The "SaveAs" item stays acquired. */
      mItem = FVMenubarAcquireMenuItemByName(menubar, "SaveAs");
      indx = FVMenuGetMenuItemIndex(menu, mItem) + 1;
      FVMenuItem RevertMenuItem =
          FVMenuItemNew("R&evert File...", "QUIL:PSRevert", NULL, 0, 0, 0, NULL, gExtensionID);
      SetItemProcs(RevertMenuItem, (FSProc)PageShearRevertExecute, NULL,
                   (FSProc)PageShearRevertComputeEnabled, PERM_EDIT_DATA,
                   (FSProc)PageShearRevertComputeMarked, NULL);
      FVMenuAddMenuItem(menu, RevertMenuItem, indx);
    }
    FVMenuRelease(menu); /* also when null */
  }

  FVMenuRelease(toolsmenu); /* also when null */
}
