/*
 * pgshear_tool.cpp: the crop tool (click, drag, cursor), the two page-view
 * overlays (media-box outline, crop region with its handles) and the
 * commands that switch the media-box outline on and off.
 *
 * Device rectangles are in the page view's device space (y downwards);
 * the crop region is kept in page space (y upwards) in gfixRCropRegion.
 */
#include <string.h>

#include "pgshear.h"
#include "pgshearu.h"
#include "pgsutils.h"

/* Half side of a corner handle, in device units: used for the hit test, for
 * the handle boxes and for growing every invalidated area. */
#define kHandleSize 3

/* The modifier word that turns a handle click into a move. */
#define kMoveModifiers 4

/* The host's standard cursor shown over a handle. */
#define kHandleCursor 0

/* ---- the tool's callbacks -------------------------------------------------- */

FSAtom PageShearToolGetType(FVTool tool)
{
  (void)tool;
  return FSAtomFromString("QUIL:Page Shear");
}

/* Picking the tool turns the media-box outline on (through the menu item, so
 * the items swap as well); it never turns it off. */
void PageShearActivate(FVTool tool, FSBool persistent)
{
  (void)tool;
  (void)persistent;
  if (gShowMediaBoxOn == 0)
    FVMenuItemExecute(ShowMediaBox);
}

FSBool PageShearIsPersistent(FVTool tool)
{
  (void)tool;
  return 1;
}

/* True when (x, y) is on one of the four handles of rect, tried in the order
 * left-top, left-bottom, right-bottom, right-top. */
static FSBool OnAnyHandle(FSInt16 x, FSInt16 y, const FVRect *rect)
{
  return FVInCorner(x, y, rect->left, rect->top, kHandleSize) ||
         FVInCorner(x, y, rect->left, rect->bottom, kHandleSize) ||
         FVInCorner(x, y, rect->right, rect->bottom, kHandleSize) ||
         FVInCorner(x, y, rect->right, rect->top, kHandleSize);
}

/* Edges included. */
static FSBool InsideRect(FSInt16 x, FSInt16 y, const FVRect *rect)
{
  if (x < rect->left || x > rect->right || y < rect->top || y > rect->bottom)
    return 0;
  return 1;
}

/* Marks rect grown by the handle size for redrawing, so the handles drawn
 * around its corners are covered too. */
static void InvalidateGrown(FVPageView pageView, FVRect rect)
{
  FVRect tempFVRect = FVExpandRegion(rect, kHandleSize);
  FVPageViewInvalidateRect(pageView, &tempFVRect);
}

/* Drops the region from the screen: stop drawing it and redraw its area. */
static void WithdrawRegion(FVPageView pageView, FVRect begFVRect)
{
  FVAppUnregisterForPageViewDrawing(cropViewDidChange);
  InvalidateGrown(pageView, begFVRect);
  FVPageViewDrawNow(pageView);
}

/* Click count and flags do not matter: a double click is two single clicks.
 * Always answers 1: the tool has handled the click. */
FSBool PageShearDoClick(FVTool tool, FVPageView pageView, FSInt16 xHit, FSInt16 yHit, FSInt16 flags,
                        FSInt16 clickNo)
{
  (void)tool;
  (void)flags;
  (void)clickNo;

  FVRect begFVRect, resFVRect;
  FSInt16 dragType = -1;
  memset(&begFVRect, 0, sizeof begFVRect);
  memset(&resFVRect, 0, sizeof resFVRect);

  PDPage pdpage = FVPageViewGetPage(pageView);
  PDDoc pdoc = FVDocGetPDDoc(FVAppGetActiveDoc()); /* fetched, not used further */
  (void)pdoc;

  /* Converted even when no region exists. */
  FVPageViewRectToDevice(pageView, &gfixRCropRegion, &begFVRect);

  if (gCropRegion == 0) {
    /* No region yet: drag out a new one. */
    FVPageViewDragOutNewRect(pageView, xHit, yHit, &resFVRect);
    if (resFVRect.left == resFVRect.right && resFVRect.top == resFVRect.bottom) {
      /* The mouse did not move: redraw the point, make no region. A
       * rectangle flat in one direction only is a region; its size is
       * judged when it is applied. */
      FVPageViewInvalidateRect(pageView, &resFVRect);
      FVPageViewDrawNow(pageView);
      return 1;
    }
    gCropRegion = 1;
    /* Only the drag-out records the page the region refers to. */
    gOrigPageRot = PDPageGetRotate(pdpage);
    PDPageGetMediaBox(pdpage, &gfixROrigMedBox);
    FVPageViewDeviceRectToPage(pageView, &resFVRect, &gfixRCropRegion);
    FVAppRegisterForPageViewDrawing(cropViewDidChange, NULL);
    InvalidateGrown(pageView, resFVRect);
    FVPageViewDrawNow(pageView);
    return 1;
  }

  if (OnAnyHandle(xHit, yHit, &begFVRect)) {
    /* A handle: move or resize. */
    FVPageViewRectToDevice(pageView, &gfixRCropRegion, &begFVRect);

    /* The whole word must equal the move modifier: another key held with
     * it makes the click a resize. */
    if (FVSysGetModifiers() == kMoveModifiers) {
      dragType = fvDragMove;
    } else if (FVInCorner(xHit, yHit, begFVRect.right, begFVRect.bottom, kHandleSize)) {
      /* This order, unlike the hit test above, picks the corner when the
       * handles of a small region overlap. */
      dragType = fvDragRightBottom;
    } else if (FVInCorner(xHit, yHit, begFVRect.left, begFVRect.bottom, kHandleSize)) {
      dragType = fvDragLeftBottom;
    } else if (FVInCorner(xHit, yHit, begFVRect.left, begFVRect.top, kHandleSize)) {
      dragType = fvDragLeftTop;
    } else if (FVInCorner(xHit, yHit, begFVRect.right, begFVRect.top, kHandleSize)) {
      dragType = fvDragRightTop;
    }
    if (dragType < fvDragMove || dragType > fvDragLeftBottom)
      return 1;

    /* The region is not drawn while the host tracks the mouse. */
    WithdrawRegion(pageView, begFVRect);

    FVPageViewDragRect(pageView, xHit, yHit, &begFVRect, &resFVRect, dragType, NULL);
    InvalidateGrown(pageView, resFVRect);
    /* The page the region refers to stays the one of the drag-out, even when
     * this view shows another page. */
    FVPageViewDeviceRectToPage(pageView, &resFVRect, &gfixRCropRegion);
    FVAppRegisterForPageViewDrawing(cropViewDidChange, NULL);
    FVPageViewDrawNow(pageView);
    return 1;
  }

  if (InsideRect(xHit, yHit, &begFVRect)) {
    /* Inside: apply. A refused region stays on screen as it is. */
    if (!CheckCropRegion())
      return 1;
    gCropRegion = 0;
    WithdrawRegion(pageView, begFVRect);
    return 1;
  }

  /* Outside: the click only discards the region. */
  gCropRegion = 0;
  WithdrawRegion(pageView, begFVRect);
  return 1;
}

/* The host's standard cursor over a handle (also with the move modifier
 * held), the scissors inside the region, the crop cursor elsewhere and
 * whenever there is no region. Always answers 1. */
FSBool PageShearAdjustCursor(FVTool tool, FVPageView pageView, FSInt16 x, FSInt16 y)
{
  (void)tool;
  FVRect begFVRect;
  memset(&begFVRect, 0, sizeof begFVRect);

  FVPageViewRectToDevice(pageView, &gfixRCropRegion, &begFVRect);

  if (gCropRegion == 0)
    FVSysSetCursor(GetPageShearCursor());
  else if (OnAnyHandle(x, y, &begFVRect))
    FVSysSetCursor(FVSysGetStandardCursor(kHandleCursor));
  else if (InsideRect(x, y, &begFVRect))
    FVSysSetCursor(GetPageShearScissorCursor());
  else
    FVSysSetCursor(GetPageShearCursor());
  return 1;
}

/* ---- overlays --------------------------------------------------------------- */

/* Solid one-pixel outline of a device rectangle in the view's current colour. */
static void DrawOutline(FVPageView pageView, FVRect *rect)
{
  FVPageViewDrawRectOutline(pageView, rect, 1, NULL, 0);
}

/* Outlines the media box of the page shown, in red, and flushes. The view's
 * colour is saved before and put back after the flush, so the host's own
 * drawing colour is unchanged afterwards. */
static void DrawMediaBoxOutline(FVPageView pageView)
{
  PDColorValueRec oldValue, red;
  FixedRect medBoxRect;
  FVRect deviceRect;
  memset(&oldValue, 0, sizeof oldValue);
  memset(&red, 0, sizeof red); /* value[3] is unused for RGB */
  memset(&medBoxRect, 0, sizeof medBoxRect);
  memset(&deviceRect, 0, sizeof deviceRect);

  FVPageViewGetColor(pageView, &oldValue);
  red.space = PDDeviceRGB;
  red.value[0] = fixedOne;
  red.value[1] = 0;
  red.value[2] = 0;
  FVPageViewSetColor(pageView, &red);

  PDPage page = FVPageViewGetPage(pageView);
  PDPageGetMediaBox(page, &medBoxRect);
  FVPageViewRectToDevice(pageView, &medBoxRect, &deviceRect);
  DrawOutline(pageView, &deviceRect);
  FVPageViewDrawNow(pageView);

  FVPageViewSetColor(pageView, &oldValue);
}

/* Drawn after every redraw while registered (the flag is not consulted);
 * the redrawn area is ignored and the whole outline drawn. */
void FVPageViewDidChangefunc(FVPageView pageView, FVRect *updateRect, void *data)
{
  (void)updateRect;
  (void)data;
  DrawMediaBoxOutline(pageView);
}

/* Draws the crop region and its four corner handles on whatever page the
 * view shows, carrying the region over from the page it was last drawn on;
 * afterwards the region refers to this page. Drawn in the view's current
 * colour. */
void FVPageViewCropDidChangefunc(FVPageView pageView, FVRect *updateRect, void *data)
{
  (void)updateRect;
  (void)data;
  FixedRect currMedBoxRect;
  FVRect deviceRect, box;
  memset(&currMedBoxRect, 0, sizeof currMedBoxRect);
  memset(&deviceRect, 0, sizeof deviceRect);

  PDPage page = FVPageViewGetPage(pageView);
  PDPageGetMediaBox(page, &currMedBoxRect);
  FSInt16 pageRotFactor = PDPageGetRotate(page);

  /* Same rotation and media box give the region back unchanged, so repeated
   * redraws of one page leave it in place. */
  gfixRCropRegion =
      FixedCheckRotVal(currMedBoxRect, gfixRCropRegion, gfixROrigMedBox, pageRotFactor, gOrigPageRot);

  /* This page becomes the region's reference. */
  gOrigPageRot = PDPageGetRotate(page);
  PDPageGetMediaBox(page, &gfixROrigMedBox);

  FVPageViewRectToDevice(pageView, &gfixRCropRegion, &deviceRect);
  DrawOutline(pageView, &deviceRect);

  box = FVDrawBoxes(deviceRect.left, deviceRect.top, kHandleSize);
  DrawOutline(pageView, &box);
  box = FVDrawBoxes(deviceRect.right, deviceRect.top, kHandleSize);
  DrawOutline(pageView, &box);
  box = FVDrawBoxes(deviceRect.right, deviceRect.bottom, kHandleSize);
  DrawOutline(pageView, &box);
  box = FVDrawBoxes(deviceRect.left, deviceRect.bottom, kHandleSize);
  DrawOutline(pageView, &box);

  FVPageViewDrawNow(pageView);
}

/* Puts `in` into the "QUIL:Page Shear" submenu at index 2 in place of `out`.
 * The removed item is acquired and never released: that reference keeps it
 * alive for the other command to insert again. */
static void SwapMediaBoxItems(FVMenuItem out, FVMenuItem in)
{
  FVMenubar menubar = FVAppGetMenubar();
  FVMenu menu = FVMenubarAcquireMenuByName(menubar, "QUIL:Page Shear");
  FVMenuItem item = FVMenuItemAcquire(out);
  FVMenuItemRemove(item);
  FVMenuAddMenuItem(menu, in, 2);
  FVMenuRelease(menu);
}

/* Turns the outline on: the flag first, an immediate draw on the active
 * document's view, the menu swap, and the registration last. */
void ShowMediaBoxExecute(void *rock)
{
  (void)rock;
  FVDoc doc = FVAppGetActiveDoc();
  gShowMediaBoxOn = 1;
  if (doc != NULL)
    DrawMediaBoxOutline(FVDocGetPageView(doc));
  SwapMediaBoxItems(ShowMediaBox, HideMediaBox);
  FVAppRegisterForPageViewDrawing(pageViewDidChange, NULL);
}

/* Turns the outline off: unregister first, then the flag, then erase the
 * outline on the active document's view by redrawing the media box's area.
 * Other views lose it at their next redraw. */
void HideMediaBoxExecute(void *rock)
{
  (void)rock;
  FVDoc doc = FVAppGetActiveDoc();
  FVAppUnregisterForPageViewDrawing(pageViewDidChange);
  gShowMediaBoxOn = 0;
  if (doc != NULL) {
    FixedRect medBoxRect;
    FVRect deviceRect;
    memset(&medBoxRect, 0, sizeof medBoxRect);
    memset(&deviceRect, 0, sizeof deviceRect);
    FVPageView pageView = FVDocGetPageView(doc);
    PDPage page = FVPageViewGetPage(pageView);
    PDPageGetMediaBox(page, &medBoxRect);
    FVPageViewRectToDevice(pageView, &medBoxRect, &deviceRect);
    FVPageViewInvalidateRect(pageView, &deviceRect);
    FVPageViewDrawNow(pageView);
  }
  SwapMediaBoxItems(HideMediaBox, ShowMediaBox);
}
