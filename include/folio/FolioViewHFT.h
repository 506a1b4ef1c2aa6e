/*
 * FolioViewHFT.h: table "FolioView", version 2.2: the application, documents'
 * views, menus, tools, the tool bar, alerts, progress and cursors.
 *
 * Device rectangles (FVRect) are in the page view's device space, y downwards;
 * page rectangles (FixedRect) in page space, y upwards. Handles are owned by
 * the host; "acquired" ones are released by the caller. Entry n is operation
 * n; the host fills FolioViewNUMSELECTORS entries (index 0 unused). Calls go
 * through the macros, which read gFolioViewHFT and the entry at the moment of
 * each call. Define FOLIO_HOST_SIDE to get only numbers and prototypes.
 *
 * Each prototype's comment ends with its Failure result: what the entry
 * answers for a null or stale handle (or an address that was never a handle)
 * or when the host cannot carry it out. No entry raises or lets anything
 * escape into the caller.
 */
#ifndef FOLIO_VIEW_HFT_H
#define FOLIO_VIEW_HFT_H

#include "FolioTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

#define FolioViewHFT_NAME "FolioView"
#define FolioViewHFT_VERSION FOLIO_VERSION_2_2

#define FVAlertSEL 4
#define FVAlertNoteSEL 5
#define FVAlertConfirmSEL 6
#define FVAppGetCancelProcSEL 10
#define FVAppGetActiveDocSEL 12
#define FVAppGetDocProgressMonitorSEL 15
#define FVAppGetMenubarSEL 16
#define FVAppGetToolBarSEL 17
#define FVAppGetActiveToolSEL 18
#define FVAppSetActiveToolSEL 21
#define FVAppRegisterToolSEL 24
#define FVDocOpenFromFileSEL 43
#define FVDocCloseSEL 47
#define FVDocGetPDDocSEL 48
#define FVDocGetPageViewSEL 49
#define FVMenubarAcquireMenuByNameSEL 71
#define FVMenubarAcquireMenuItemByNameSEL 74
#define FVMenuNewSEL 78
#define FVMenuReleaseSEL 80
#define FVMenuGetMenuItemIndexSEL 86
#define FVMenuAddMenuItemSEL 89
#define FVMenuItemNewSEL 90
#define FVMenuItemAcquireSEL 91
#define FVMenuItemReleaseSEL 92
#define FVMenuItemRemoveSEL 93
#define FVMenuItemSetExecuteProcSEL 99
#define FVMenuItemSetComputeEnabledProcSEL 100
#define FVMenuItemSetComputeMarkedProcSEL 101
#define FVMenuItemExecuteSEL 105
#define FVPageViewGetPageSEL 109
#define FVPageViewGetPageNumSEL 112
#define FVPageViewGetColorSEL 113
#define FVPageViewSetColorSEL 114
#define FVPageViewInvalidateRectSEL 126
#define FVPageViewDrawNowSEL 127
#define FVPageViewDrawRectOutlineSEL 130
#define FVPageViewDragOutNewRectSEL 133
#define FVPageViewDragRectSEL 134
#define FVAppRegisterForPageViewDrawingSEL 135
#define FVAppUnregisterForPageViewDrawingSEL 136
#define FVPageViewRectToDeviceSEL 154
#define FVPageViewDeviceRectToPageSEL 155
#define FVSysGetModifiersSEL 156
#define FVSysGetStandardCursorSEL 159
#define FVSysSetCursorSEL 160
#define FVToolBarGetButtonByNameSEL 163
#define FVToolBarAddButtonSEL 165
#define FVToolBarIsRoomForSEL 167
#define FVToolButtonNewSEL 169
#define FVToolButtonSetExecuteProcSEL 175
#define FVToolButtonSetComputeEnabledProcSEL 176
#define FVToolButtonSetComputeMarkedProcSEL 177
#define FVToolButtonSetHelpTextSEL 214
#define FolioViewNUMSELECTORS 220

/* Index meaning "at the end" for FVMenuAddMenuItem. */
#define FVMenuAppendIndex 9999

/* ---- alerts --------------------------------------------------------------- */

/* A modal question: icon type (fvAlert...), message, up to three button
 * labels (button3 may be null; button2 too), beep flag. Answers the number
 * of the button pressed (1 to 3); 0 when the question was dismissed. Failure: 0, as a dismissed question. */
typedef FSInt32 (*FVAlertSELPROTO)(FSInt32 iconType, const char *msg, const char *button1,
                                   const char *button2, const char *button3, FSBool beep);
/* A modal note with one OK button. Failure: nothing is shown. */
typedef void (*FVAlertNoteSELPROTO)(const char *msg);
/* A modal OK/Cancel confirmation: true when the user confirmed. Failure: false. */
typedef FSBool (*FVAlertConfirmSELPROTO)(const char *msg);

/* ---- application ---------------------------------------------------------- */

/* The host's cancel test; its client data is written to *cancelProcClientDataP. Failure: null. */
typedef CancelProc (*FVAppGetCancelProcSELPROTO)(void **cancelProcClientDataP);
/* The active document, or null when none is open. Failure: null. */
typedef FVDoc (*FVAppGetActiveDocSELPROTO)(void);
/* The progress monitor for document operations (owned by the host); its client
 * data is written to *progMonClientData. Failure: null. */
typedef ProgressMonitor (*FVAppGetDocProgressMonitorSELPROTO)(void **progMonClientData);
/* Failure: null. */
typedef FVMenubar (*FVAppGetMenubarSELPROTO)(void);
/* Failure: null. */
typedef FVToolBar (*FVAppGetToolBarSELPROTO)(void);
/* The active tool, or null when the host reports none. Failure: null. */
typedef FVTool (*FVAppGetActiveToolSELPROTO)(void);
/* Failure: the active tool stays. */
typedef void (*FVAppSetActiveToolSELPROTO)(FVTool tool, FSBool persistent);
/* Registers a tool record; the record must outlive the host's use of it. Failure: the tool is not registered.
 */
typedef void (*FVAppRegisterToolSELPROTO)(FVTool tool);
/* Registers a page-view drawing callback (an FVPageViewDrawProc), called after
 * every redraw of every page view with `data`. Failure: nothing is registered. */
typedef void (*FVAppRegisterForPageViewDrawingSELPROTO)(FSCallback proc, void *data);
/* Failure: nothing happens. */
typedef void (*FVAppUnregisterForPageViewDrawingSELPROTO)(FSCallback proc);

/* ---- documents ------------------------------------------------------------ */

/* Opens a document in a new window; title null means the file's own name.
 * Null on failure. Failure: null. */
typedef FVDoc (*FVDocOpenFromFileSELPROTO)(FSPathName pathName, FSFileSys fileSys, const char *title);
/* Closes the document; noSave true discards unsaved changes. True when closed. Failure: false (the document
 * stays open). */
typedef FSBool (*FVDocCloseSELPROTO)(FVDoc doc, FSBool noSave);
/* Failure: null. */
typedef PDDoc (*FVDocGetPDDocSELPROTO)(FVDoc doc);
/* Failure: null. */
typedef FVPageView (*FVDocGetPageViewSELPROTO)(FVDoc doc);

/* ---- menus ---------------------------------------------------------------- */

/* The menu of that name, acquired (release with FVMenuRelease), or null. Failure: null. */
typedef FVMenu (*FVMenubarAcquireMenuByNameSELPROTO)(FVMenubar menubar, const char *name);
/* The item of that name anywhere in the menu bar, acquired, or null. Failure: null. */
typedef FVMenuItem (*FVMenubarAcquireMenuItemByNameSELPROTO)(FVMenubar menubar, const char *name);
/* A new menu; title may carry an '&' before its mnemonic. Failure: null. */
typedef FVMenu (*FVMenuNewSELPROTO)(const char *title, const char *name, ExtensionID owner);
/* Failure: nothing happens. */
typedef void (*FVMenuReleaseSELPROTO)(FVMenu menu);
/* The item's zero-based index in the menu (the host documents the answer for
 * an item that is not in it). Failure: -1. */
typedef FSInt32 (*FVMenuGetMenuItemIndexSELPROTO)(FVMenu menu, FVMenuItem item);
/* Inserts the item at `index` (0 first; FVMenuAppendIndex or past the end: last). Failure: the item is not
 * added. */
typedef void (*FVMenuAddMenuItemSELPROTO)(FVMenu menu, FVMenuItem item, FSInt32 index);
/* A new item: title ('&' marks the mnemonic), name, submenu or null,
 * longMenusOnly, shortcut character (0 none), shortcut modifier flags in the
 * host's encoding, icon or null, owner. Failure: null. */
typedef FVMenuItem (*FVMenuItemNewSELPROTO)(const char *title, const char *name, FVMenu submenu,
                                            FSBool longMenusOnly, char shortcut, FSInt16 flags, FVIcon icon,
                                            ExtensionID owner);
/* Acquires one more reference to the item and returns it. Failure: null. */
typedef FVMenuItem (*FVMenuItemAcquireSELPROTO)(FVMenuItem item);
/* Failure: nothing happens. */
typedef void (*FVMenuItemReleaseSELPROTO)(FVMenuItem item);
/* Takes the item out of its menu; the item stays alive while referenced. Failure: nothing happens. */
typedef void (*FVMenuItemRemoveSELPROTO)(FVMenuItem item);
/* Procedures of an item: callbacks of FVExecuteProc / FVComputeEnabledProc /
 * FVComputeMarkedProc, called with `data`. Failure: the procedure is not set. */
typedef void (*FVMenuItemSetExecuteProcSELPROTO)(FVMenuItem item, FSCallback proc, void *data);
/* Failure: the procedure is not set. */
typedef void (*FVMenuItemSetComputeEnabledProcSELPROTO)(FVMenuItem item, FSCallback proc, void *data);
/* Failure: the procedure is not set. */
typedef void (*FVMenuItemSetComputeMarkedProcSELPROTO)(FVMenuItem item, FSCallback proc, void *data);
/* Runs the item's execute procedure, as if the user chose it. Failure: nothing runs. */
typedef void (*FVMenuItemExecuteSELPROTO)(FVMenuItem item);

/* ---- page views ----------------------------------------------------------- */

/* The page shown (not acquired: do not release it). Failure: null. */
typedef PDPage (*FVPageViewGetPageSELPROTO)(FVPageView pageView);
/* The zero-based number of the page shown. Failure: -1. */
typedef FSInt32 (*FVPageViewGetPageNumSELPROTO)(FVPageView pageView);
/* Failure: the colour is left as it was (all zero for a null or unknown view). */
typedef void (*FVPageViewGetColorSELPROTO)(FVPageView pageView, PDColorValue color);
/* Sets the colour in which outlines are drawn. Failure: the colour stays. */
typedef void (*FVPageViewSetColorSELPROTO)(FVPageView pageView, PDColorValue color);
/* Marks a device area for redrawing. Failure: nothing is marked. */
typedef void (*FVPageViewInvalidateRectSELPROTO)(FVPageView pageView, FVRect *area);
/* Redraws the marked areas at once (drawing callbacks included) and shows them. Failure: nothing is drawn. */
typedef void (*FVPageViewDrawNowSELPROTO)(FVPageView pageView);
/* Strokes a device rectangle's outline in the current colour, lineWidth device
 * units wide; dashArray/arrayLen null/0 for a solid line. Failure: nothing is drawn. */
typedef void (*FVPageViewDrawRectOutlineSELPROTO)(FVPageView pageView, FVRect *rect, FSInt16 lineWidth,
                                                  Fixed *dashArray, FSInt32 arrayLen);
/* Runs a rubber band from the press point until release; the result is the
 * device rectangle spanned (normalised: left <= right, top <= bottom). Failure: the empty rectangle at the
 * press point. */
typedef void (*FVPageViewDragOutNewRectSELPROTO)(FVPageView pageView, FSInt16 xStart, FSInt16 yStart,
                                                 FVRect *resultRect);
/* Moves (dragType fvDragMove) or resizes by a corner (1 to 4) a device
 * rectangle from the press point until release; extrema may be null. Failure: the start rectangle (all zero
 * when none was given). */
typedef void (*FVPageViewDragRectSELPROTO)(FVPageView pageView, FSInt16 xStart, FSInt16 yStart,
                                           FVRect *startRect, FVRect *resultRect, FSInt16 dragType,
                                           FVRect *extrema);
/* Page space to device space through the view's transform (rotation, zoom,
 * scrolling); the result is normalised. Failure: the all-zero rectangle. */
typedef void (*FVPageViewRectToDeviceSELPROTO)(FVPageView pageView, FixedRect *src, FVRect *dst);
/* Device space to page space; the result is normalised (top >= bottom). Failure: the all-zero rectangle. */
typedef void (*FVPageViewDeviceRectToPageSELPROTO)(FVPageView pageView, FVRect *src, FixedRect *dst);

/* ---- system ------------------------------------------------------------- */

/* The modifier keys held now, as the host encodes them (see the host's view
 * layer for which key gives which bit). Failure: 0 (no key held). */
typedef FSInt32 (*FVSysGetModifiersSELPROTO)(void);
/* One of the host's standard cursors, by number. Failure: null. */
typedef FVCursor (*FVSysGetStandardCursorSELPROTO)(FSInt32 cursorID);
/* Failure: the cursor stays. */
typedef void (*FVSysSetCursorSELPROTO)(FVCursor cursor);

/* ---- tool bar ------------------------------------------------------------- */

/* Failure: null. */
typedef FVToolButton (*FVToolBarGetButtonByNameSELPROTO)(FVToolBar toolBar, FSAtom buttonName);
/* Adds a button before (before true) or after `otherButton`; the tool bar owns it. Failure: the button is not
 * added. */
typedef void (*FVToolBarAddButtonSELPROTO)(FVToolBar toolBar, FVToolButton button, FSBool before,
                                           FVToolButton otherButton);
/* Failure: false. */
typedef FSBool (*FVToolBarIsRoomForSELPROTO)(FVToolBar toolBar, FSUns16 nButtons, FSUns16 nSeparators);
/* A new button; isSeparator and noFlyout are the host's two flags. Failure: null. */
typedef FVToolButton (*FVToolButtonNewSELPROTO)(FSAtom name, FVIcon icon, FSBool isSeparator,
                                                FSBool noFlyout);
/* Failure: the procedure is not set. */
typedef void (*FVToolButtonSetExecuteProcSELPROTO)(FVToolButton button, FSCallback proc, void *data);
/* Failure: the procedure is not set. */
typedef void (*FVToolButtonSetComputeEnabledProcSELPROTO)(FVToolButton button, FSCallback proc, void *data);
/* Failure: the procedure is not set. */
typedef void (*FVToolButtonSetComputeMarkedProcSELPROTO)(FVToolButton button, FSCallback proc, void *data);
/* The button's help text (copied by the host). Failure: the help text stays. */
typedef void (*FVToolButtonSetHelpTextSELPROTO)(FVToolButton button, const char *text);

#ifndef FOLIO_HOST_SIDE
extern HFT gFolioViewHFT;
extern FSUns32 gFolioViewVersion;

#define FOLIOVIEW_CALL(op) (*((op##SELPROTO)(gFolioViewHFT[op##SEL])))
#define FVAlert FOLIOVIEW_CALL(FVAlert)
#define FVAlertNote FOLIOVIEW_CALL(FVAlertNote)
#define FVAlertConfirm FOLIOVIEW_CALL(FVAlertConfirm)
#define FVAppGetCancelProc FOLIOVIEW_CALL(FVAppGetCancelProc)
#define FVAppGetActiveDoc FOLIOVIEW_CALL(FVAppGetActiveDoc)
#define FVAppGetDocProgressMonitor FOLIOVIEW_CALL(FVAppGetDocProgressMonitor)
#define FVAppGetMenubar FOLIOVIEW_CALL(FVAppGetMenubar)
#define FVAppGetToolBar FOLIOVIEW_CALL(FVAppGetToolBar)
#define FVAppGetActiveTool FOLIOVIEW_CALL(FVAppGetActiveTool)
#define FVAppSetActiveTool FOLIOVIEW_CALL(FVAppSetActiveTool)
#define FVAppRegisterTool FOLIOVIEW_CALL(FVAppRegisterTool)
#define FVAppRegisterForPageViewDrawing FOLIOVIEW_CALL(FVAppRegisterForPageViewDrawing)
#define FVAppUnregisterForPageViewDrawing FOLIOVIEW_CALL(FVAppUnregisterForPageViewDrawing)
#define FVDocOpenFromFile FOLIOVIEW_CALL(FVDocOpenFromFile)
#define FVDocClose FOLIOVIEW_CALL(FVDocClose)
#define FVDocGetPDDoc FOLIOVIEW_CALL(FVDocGetPDDoc)
#define FVDocGetPageView FOLIOVIEW_CALL(FVDocGetPageView)
#define FVMenubarAcquireMenuByName FOLIOVIEW_CALL(FVMenubarAcquireMenuByName)
#define FVMenubarAcquireMenuItemByName FOLIOVIEW_CALL(FVMenubarAcquireMenuItemByName)
#define FVMenuNew FOLIOVIEW_CALL(FVMenuNew)
#define FVMenuRelease FOLIOVIEW_CALL(FVMenuRelease)
#define FVMenuGetMenuItemIndex FOLIOVIEW_CALL(FVMenuGetMenuItemIndex)
#define FVMenuAddMenuItem FOLIOVIEW_CALL(FVMenuAddMenuItem)
#define FVMenuItemNew FOLIOVIEW_CALL(FVMenuItemNew)
#define FVMenuItemAcquire FOLIOVIEW_CALL(FVMenuItemAcquire)
#define FVMenuItemRelease FOLIOVIEW_CALL(FVMenuItemRelease)
#define FVMenuItemRemove FOLIOVIEW_CALL(FVMenuItemRemove)
#define FVMenuItemSetExecuteProc FOLIOVIEW_CALL(FVMenuItemSetExecuteProc)
#define FVMenuItemSetComputeEnabledProc FOLIOVIEW_CALL(FVMenuItemSetComputeEnabledProc)
#define FVMenuItemSetComputeMarkedProc FOLIOVIEW_CALL(FVMenuItemSetComputeMarkedProc)
#define FVMenuItemExecute FOLIOVIEW_CALL(FVMenuItemExecute)
#define FVPageViewGetPage FOLIOVIEW_CALL(FVPageViewGetPage)
#define FVPageViewGetPageNum FOLIOVIEW_CALL(FVPageViewGetPageNum)
#define FVPageViewGetColor FOLIOVIEW_CALL(FVPageViewGetColor)
#define FVPageViewSetColor FOLIOVIEW_CALL(FVPageViewSetColor)
#define FVPageViewInvalidateRect FOLIOVIEW_CALL(FVPageViewInvalidateRect)
#define FVPageViewDrawNow FOLIOVIEW_CALL(FVPageViewDrawNow)
#define FVPageViewDrawRectOutline FOLIOVIEW_CALL(FVPageViewDrawRectOutline)
#define FVPageViewDragOutNewRect FOLIOVIEW_CALL(FVPageViewDragOutNewRect)
#define FVPageViewDragRect FOLIOVIEW_CALL(FVPageViewDragRect)
#define FVPageViewRectToDevice FOLIOVIEW_CALL(FVPageViewRectToDevice)
#define FVPageViewDeviceRectToPage FOLIOVIEW_CALL(FVPageViewDeviceRectToPage)
#define FVSysGetModifiers FOLIOVIEW_CALL(FVSysGetModifiers)
#define FVSysGetStandardCursor FOLIOVIEW_CALL(FVSysGetStandardCursor)
#define FVSysSetCursor FOLIOVIEW_CALL(FVSysSetCursor)
#define FVToolBarGetButtonByName FOLIOVIEW_CALL(FVToolBarGetButtonByName)
#define FVToolBarAddButton FOLIOVIEW_CALL(FVToolBarAddButton)
#define FVToolBarIsRoomFor FOLIOVIEW_CALL(FVToolBarIsRoomFor)
#define FVToolButtonNew FOLIOVIEW_CALL(FVToolButtonNew)
#define FVToolButtonSetExecuteProc FOLIOVIEW_CALL(FVToolButtonSetExecuteProc)
#define FVToolButtonSetComputeEnabledProc FOLIOVIEW_CALL(FVToolButtonSetComputeEnabledProc)
#define FVToolButtonSetComputeMarkedProc FOLIOVIEW_CALL(FVToolButtonSetComputeMarkedProc)
#define FVToolButtonSetHelpText FOLIOVIEW_CALL(FVToolButtonSetHelpText)
#endif /* FOLIO_HOST_SIDE */

#ifdef __cplusplus
}
#endif

#endif /* FOLIO_VIEW_HFT_H */
