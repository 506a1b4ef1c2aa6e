/*
 * pgshear_crop.cpp: the cropping commands: applying the drawn crop region to
 * one page or all pages, cropping to bounding boxes and resetting to media
 * boxes, each with its page-range question, progress, cancel and undo.
 *
 * Every page acquired here is released on every path; every crop-box change
 * is followed by PDPageNotifyContentsDidChange.
 */
#include <math.h>
#include <stdint.h>
#include <string.h>

#include "pgshear.h"
#include "pgsutils.h"

/* Alert icon type of every question, and no beep. */
static const FSInt32 kQuestionIcon = 3;
static const FSBool kNoBeep = 0;

/* Below one inch: sizes are refused when at most this (72.0 less one unit). */
static const Fixed kUnderOneInch = (Fixed)0x0047FFFF;
/* Below one point: a carried-over region this narrow could not be carried. */
static const Fixed kUnderOnePoint = (Fixed)0x0000FFFF;

/* ---- small helpers ------------------------------------------------------ */

/* Plain 32-bit two's-complement difference, wrapping like the host's own. */
static inline Fixed FixedSub(Fixed a, Fixed b)
{
  return (Fixed)((FSUns32)a - (FSUns32)b);
}

/* The rotation target origRot + add reduced by the IEEE remainder modulo 360.0
 * (quotient rounded to nearest, ties to even, so 270 comes out as -90),
 * truncated to an integer and narrowed to 16 bits. */
static inline FSInt16 RotTarget(FSInt16 origRot, FSInt32 add)
{
  return (FSInt16)(FSInt32)remainder((double)((FSInt32)origRot + add), 360.0);
}

/* Polls the host's cancel test once; only its 16-bit answer counts. A host
 * that gives no cancel test cannot be asked, which reads as "go on". */
static FSBool PollCancel(void)
{
  if (cancelProc == NULL)
    return 0;
  return cancelProc(cancelProcData) != 0;
}

/* Progress monitor calls, each made only when its slot is present. The
 * callers decide whether the monitor pointer itself is tested first; a null
 * monitor has no slots, so the per-page and end calls never go through it. */
static void ProgBegin(void)
{
  if (progMon != NULL && progMon->beginOperation != NULL)
    progMon->beginOperation(monClientData);
}

static void ProgEnd(void)
{
  if (progMon != NULL && progMon->endOperation != NULL)
    progMon->endOperation(monClientData);
}

static void ProgSetDuration(FSInt32 duration)
{
  if (progMon != NULL && progMon->setDuration != NULL)
    progMon->setDuration(duration, monClientData);
}

static void ProgSetCurrValue(FSInt32 value)
{
  if (progMon != NULL && progMon->setCurrValue != NULL)
    progMon->setCurrValue(value, monClientData);
}

/* Start of a batch run: begin, duration = page count, current value 0. */
static void ProgStart(FSInt32 num)
{
  if (progMon == NULL)
    return;
  ProgBegin();
  ProgSetDuration(num);
  ProgSetCurrValue(0);
}

/* The saved crop boxes of an all-pages run: one zero-filled FixedRect per
 * page, or null when the host had no memory (the run then goes on unsaved). */
static FixedRect *AllocSavedBoxes(FSInt32 num)
{
  size_t bytes = (size_t)(FSUns32)num * sizeof(FixedRect);
  FixedRect *rectPtr = (FixedRect *)FSmalloc(bytes);
  if (rectPtr != NULL)
    memset(rectPtr, 0, bytes);
  return rectPtr;
}

/* Puts the saved crop boxes of pages 0 through last back. The bound includes
 * the page at which the run was cancelled, whose entry has not been filled
 * in this pass: that page receives the all-zero box, as intended. */
static void RestoreSavedBoxes(PDDoc pdoc, const FixedRect *rectPtr, FSInt32 last)
{
  for (FSInt32 j = 0; j < last + 1; j++) {
    PDPage page = PDDocAcquirePage(pdoc, j);
    PDPageSetCropBox(page, rectPtr[j]);
    PDPageNotifyContentsDidChange(page);
    PDPageRelease(page);
  }
}

/* Reads page i's crop box into entry i of the saved boxes. */
static void SaveCropBox(PDPage page, FixedRect *rectPtr, FSInt32 i)
{
  FixedRect rect;
  PDPageGetCropBox(page, &rect);
  rectPtr[i] = rect;
}

/* ---- applying the crop region ------------------------------------------ */

FSInt32 DoPageShear(FSInt32 pageNum)
{
  PDDoc pdoc = FVDocGetPDDoc(FVAppGetActiveDoc());
  PDPage page = PDDocAcquirePage(pdoc, pageNum);
  FixedRect currMedBoxRect;
  PDPageGetMediaBox(page, &currMedBoxRect);
  FSInt16 pageRotFactor = (FSInt16)PDPageGetRotate(page);

  FixedPoint cptinit = FixedCP(gfixROrigMedBox);
  FixedPoint cptcurr = FixedCP(currMedBoxRect);
  FixedRect rotRect =
      FixedCheckRotVal(currMedBoxRect, gfixRCropRegion, gfixROrigMedBox, pageRotFactor, gOrigPageRot);

  /* No case carried the region over (the all-zero answer): before the
   * orientation test, so "Crop" does not rescue such a page. */
  if (FixedSub(rotRect.right, rotRect.left) <= kUnderOnePoint) {
    PDPageRelease(page);
    return kPageBadRotation;
  }

  /* Only half extents are compared, so a media box off the origin of the
   * same size still counts as the same page. */
  if (gSkipPages != 3) {
    FSBool same = cptinit.h == cptcurr.h && cptinit.v == cptcurr.v && pageRotFactor == gOrigPageRot;
    FSBool turned =
        cptinit.h == cptcurr.v && cptinit.v == cptcurr.h &&
        (pageRotFactor == RotTarget(gOrigPageRot, 90) || pageRotFactor == RotTarget(gOrigPageRot, 270));
    if (!same && !turned) {
      PDPageRelease(page);
      return kPageOrientation;
    }
  }

  if (FixedInRegion(rotRect, currMedBoxRect, fixedZero) == 1) {
    PDPageRelease(page);
    return kPageNoIntersection;
  }
  if (FixedInRegion(rotRect, currMedBoxRect, fixedSeventyTwo) == 1) {
    PDPageRelease(page);
    return kPageNoIntersection;
  }

  FixedRect clip = rotRect;
  if (rotRect.left < currMedBoxRect.left)
    clip.left = currMedBoxRect.left;
  if (rotRect.bottom < currMedBoxRect.bottom)
    clip.bottom = currMedBoxRect.bottom;
  if (rotRect.right > currMedBoxRect.right)
    clip.right = currMedBoxRect.right;
  if (rotRect.top > currMedBoxRect.top)
    clip.top = currMedBoxRect.top;

  if (FixedSub(clip.right, clip.left) > kUnderOneInch && FixedSub(clip.top, clip.bottom) > kUnderOneInch) {
    PDPageSetCropBox(page, clip);
    PDPageNotifyContentsDidChange(page);
    PDPageRelease(page);
    return kPageCropped;
  }
  PDPageRelease(page);
  return kPageNoIntersection;
}

/* One cancel poll, then the region on the view's current page. The status is
 * not reported for a single page. */
static void CropCurrentPage(FVPageView pageView)
{
  if (PollCancel()) {
    FVAlertNote("Cancelled.");
    return;
  }
  DoPageShear(FVPageViewGetPageNum(pageView));
}

/* The region on every page, with the orientation question, progress, cancel
 * with undo, and the summaries of pages that were not cropped. */
static void CropAllPages(PDDoc pdoc)
{
  gSkipPages = 1;
  FSBool croppages = 1;
  FSBool badrot = 0;
  FSInt32 num = PDDocGetNumPages(pdoc);

  ProgStart(num);
  FixedRect *rectPtr = AllocSavedBoxes(num);

  for (FSInt32 i = 0; i < num; i++) {
    ProgSetCurrValue(i);

    if (PollCancel()) {
      if (rectPtr != NULL)
        RestoreSavedBoxes(pdoc, rectPtr, i);
      FVAlertNote("Cancelled.");
      break;
    }

    if (rectPtr != NULL) {
      PDPage page = PDDocAcquirePage(pdoc, i);
      SaveCropBox(page, rectPtr, i);
      PDPageRelease(page);
    }

    FSInt32 retval = DoPageShear(i);
    if (retval == kPageOrientation && gSkipPages == 1) {
      FSInt32 choice = FVAlert(kQuestionIcon, "Some pages do not have same orientation - Crop or Skip them?",
                               "Skip", "Crop", NULL, kNoBeep);
      if (choice == 1) {
        gSkipPages = 2; /* this page and later mismatched ones stay as they are */
      } else if (choice == 2) {
        gSkipPages = 3; /* run this page again, without the orientation test */
        i--;
      }
      /* A dismissed question leaves gSkipPages at 1: the next mismatched
       * page asks again. */
    } else if (retval == kPageBadRotation) {
      badrot = 1;
    } else if (retval == kPageNoIntersection) {
      croppages = 0;
    }
  }

  if (rectPtr != NULL)
    FSfree(rectPtr);
  ProgEnd();

  if (badrot)
    FVAlertNote(
        "Some page(s) were not cropped since page(s) had an illegal rotation value (not 0, 90, 180, or "
        "270).");
  if (!croppages)
    FVAlertNote("Some page(s) were not cropped since page media box(es) did not intersect crop region.");
}

FSBool CheckCropRegion(void)
{
  FVDoc adoc = FVAppGetActiveDoc();
  PDDoc pdoc = FVDocGetPDDoc(adoc);
  FVPageView pageView = FVDocGetPageView(adoc);
  (void)FVPageViewGetPage(pageView);
  cancelProc = FVAppGetCancelProc(&cancelProcData);
  progMon = FVAppGetDocProgressMonitor(&monClientData);
  FixedRect region = gfixRCropRegion;
  FVRect devRect;
  FVPageViewRectToDevice(pageView, &region, &devRect);

  /* Refusals keep the region on screen for the user to adjust. */
  if (FixedInRegion(gfixRCropRegion, gfixROrigMedBox, fixedSeventyTwo) == 1) {
    FVAlertNote("Crop region must include at least 1 inch by 1 inch of media box region.");
    return 0;
  }
  if (FixedSub(gfixRCropRegion.right, gfixRCropRegion.left) <= kUnderOneInch) {
    FVAlertNote("Minimum crop region is 1 inch by 1 inch.");
    return 0;
  }
  if (FixedSub(gfixRCropRegion.top, gfixRCropRegion.bottom) <= kUnderOneInch) {
    FVAlertNote("Minimum crop region is 1 inch by 1 inch.");
    return 0;
  }

  if (PDDocGetNumPages(pdoc) == 1) {
    FSInt32 choice = FVAlert(kQuestionIcon, "Crop this page?", "Current", "Cancel", NULL, kNoBeep);
    if (choice == 1)
      CropCurrentPage(pageView);
    return 1;
  }

  FSInt32 choice = FVAlert(kQuestionIcon, "Pages to crop?", "Current", "All", "Cancel", kNoBeep);
  if (choice == 1)
    CropCurrentPage(pageView);
  else if (choice == 2)
    CropAllPages(pdoc);
  return 1;
}

/* ---- crop to bounding box ---------------------------------------------- */

/* The source box clipped to the media box on the sides where it exceeds it;
 * no size or emptiness test. */
static FixedRect ClipToMediaBox(FixedRect src, FixedRect med)
{
  FixedRect out = src;
  if (med.top < src.top)
    out.top = med.top;
  if (med.bottom > src.bottom)
    out.bottom = med.bottom;
  if (med.right < src.right)
    out.right = med.right;
  if (med.left > src.left)
    out.left = med.left;
  return out;
}

/* Sets the page's crop box to `box` clipped to its media box, then notifies
 * and releases the page. */
static void SetClippedCropBox(PDPage page, FixedRect box)
{
  FixedRect MedBoxRect;
  PDPageGetMediaBox(page, &MedBoxRect);
  PDPageSetCropBox(page, ClipToMediaBox(box, MedBoxRect));
  PDPageNotifyContentsDidChange(page);
  PDPageRelease(page);
}

/* "Each": every page to its own bounding box. The cancel restoration runs
 * even without saved boxes; a null array then has nothing to read, so the
 * pages are visited (acquired, notified, released) and keep the crop boxes
 * they have. */
static void BBoxEach(PDDoc pdoc, FSInt32 num, FixedRect *rectPtr)
{
  for (FSInt32 i = 0; i < num; i++) {
    ProgSetCurrValue(i);
    if (PollCancel()) {
      for (FSInt32 j = 0; j < i + 1; j++) {
        PDPage page = PDDocAcquirePage(pdoc, j);
        if (rectPtr != NULL)
          PDPageSetCropBox(page, rectPtr[j]);
        PDPageNotifyContentsDidChange(page);
        PDPageRelease(page);
      }
      FVAlertNote("Cancelled.");
      break;
    }
    PDPage page = PDDocAcquirePage(pdoc, i);
    if (rectPtr != NULL)
      SaveCropBox(page, rectPtr, i);
    FixedRect BBoxrect;
    PDPageGetBBox(page, &BBoxrect);
    SetClippedCropBox(page, BBoxrect);
  }
  ProgEnd();
}

/* "Biggest": a measuring pass builds the union of all bounding boxes (page
 * 0's seeds it), then an applying pass sets it on every page, clipped to
 * each page's media box. */
static void BBoxBiggest(PDDoc pdoc, FSInt32 num, FixedRect *rectPtr)
{
  FSBool canc = 0;
  FixedRect biggestBBox;
  PDPage page = PDDocAcquirePage(pdoc, 0);
  PDPageGetBBox(page, &biggestBBox);
  PDPageRelease(page);

  for (FSInt32 i = 1; i < num; i++) {
    ProgSetCurrValue(i);
    if (PollCancel()) {
      /* Nothing has been changed yet, so there is nothing to restore. */
      FVAlertNote("Cancelled.");
      canc = 1;
      break;
    }
    page = PDDocAcquirePage(pdoc, i);
    FixedRect BBoxrect;
    PDPageGetBBox(page, &BBoxrect);
    if (biggestBBox.top < BBoxrect.top)
      biggestBBox.top = BBoxrect.top;
    if (biggestBBox.bottom > BBoxrect.bottom)
      biggestBBox.bottom = BBoxrect.bottom;
    if (biggestBBox.left > BBoxrect.left)
      biggestBBox.left = BBoxrect.left;
    if (biggestBBox.right < BBoxrect.right)
      biggestBBox.right = BBoxrect.right;
    PDPageRelease(page);
  }
  ProgEnd();
  if (canc)
    return;

  /* The progress display runs a second time for the applying pass. */
  ProgStart(num);
  for (FSInt32 i = 0; i < num; i++) {
    ProgSetCurrValue(i);
    if (PollCancel()) {
      if (rectPtr != NULL)
        RestoreSavedBoxes(pdoc, rectPtr, i);
      FVAlertNote("Cancelled.");
      break;
    }
    page = PDDocAcquirePage(pdoc, i);
    if (rectPtr != NULL)
      SaveCropBox(page, rectPtr, i);
    SetClippedCropBox(page, biggestBBox);
  }
  ProgEnd();
}

void PageShearToolBBoxExecute(void *rock)
{
  (void)rock;
  FVDoc adoc = FVAppGetActiveDoc();
  PDDoc pdoc = FVDocGetPDDoc(adoc);
  cancelProc = FVAppGetCancelProc(&cancelProcData);
  progMon = FVAppGetDocProgressMonitor(&monClientData);

  FSInt32 choice;
  if (PDDocGetNumPages(pdoc) == 1)
    choice = 1;
  else
    choice =
        FVAlert(kQuestionIcon, "Crop which pages to page bounding box?", "Current", "All", "Cancel", kNoBeep);

  if (choice == 1) {
    /* No "Cancelled." for the single page of this command. */
    if (PollCancel())
      return;
    FVPageView pageView = FVDocGetPageView(adoc);
    PDPage page = PDDocAcquirePage(pdoc, FVPageViewGetPageNum(pageView));
    FixedRect BBoxrect;
    PDPageGetBBox(page, &BBoxrect);
    SetClippedCropBox(page, BBoxrect);
    return;
  }
  if (choice != 2)
    return;

  FSInt32 num = PDDocGetNumPages(pdoc);
  FSInt32 ans =
      FVAlert(kQuestionIcon, "Crop pages to individual bounding boxes or all pages to biggest bounding box?",
              "Each", "Biggest", NULL, kNoBeep);
  ProgStart(num);
  FixedRect *rectPtr = AllocSavedBoxes(num);

  if (ans == 1)
    BBoxEach(pdoc, num, rectPtr);
  else if (ans == 2)
    BBoxBiggest(pdoc, num, rectPtr);
  /* Any other answer leaves the progress operation begun above unended, as
   * intended. */

  if (rectPtr != NULL)
    FSfree(rectPtr);
}

/* ---- reset to media box ------------------------------------------------ */

/* Sets the page's crop box to its media box as it is, notifies, releases. */
static void ResetToMediaBox(PDPage page)
{
  FixedRect MediaBoxRect;
  PDPageGetMediaBox(page, &MediaBoxRect);
  PDPageSetCropBox(page, MediaBoxRect);
  PDPageNotifyContentsDidChange(page);
  PDPageRelease(page);
}

void PageShearToolMediaBoxExecute(void *rock)
{
  (void)rock;
  FVDoc adoc = FVAppGetActiveDoc();
  PDDoc pdoc = FVDocGetPDDoc(adoc);
  cancelProc = FVAppGetCancelProc(&cancelProcData);
  progMon = FVAppGetDocProgressMonitor(&monClientData);

  /* The bounding-box command's question, reused word for word. */
  FSInt32 choice;
  if (PDDocGetNumPages(pdoc) == 1)
    choice = 1;
  else
    choice =
        FVAlert(kQuestionIcon, "Crop which pages to page bounding box?", "Current", "All", "Cancel", kNoBeep);

  if (choice == 1) {
    if (PollCancel()) {
      FVAlertNote("Cancelled.");
      return;
    }
    FVPageView pageView = FVDocGetPageView(adoc);
    FSInt32 num = FVPageViewGetPageNum(pageView);
    ResetToMediaBox(PDDocAcquirePage(pdoc, num));
    return;
  }
  if (choice != 2)
    return;

  FSInt32 num = PDDocGetNumPages(pdoc);
  ProgStart(num);
  FixedRect *rectPtr = AllocSavedBoxes(num);

  for (FSInt32 i = 0; i < num; i++) {
    ProgSetCurrValue(i);
    if (PollCancel()) {
      if (rectPtr != NULL)
        RestoreSavedBoxes(pdoc, rectPtr, i);
      FVAlertNote("Cancelled.");
      break;
    }
    PDPage page = PDDocAcquirePage(pdoc, i);
    if (rectPtr != NULL)
      SaveCropBox(page, rectPtr, i);
    ResetToMediaBox(page);
  }

  if (rectPtr != NULL)
    FSfree(rectPtr);
  ProgEnd();
}
