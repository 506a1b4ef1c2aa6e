/*
 * pgsutils.h: geometry helpers of the plug-in. Page-space helpers work on
 * 16.16 FixedRects (y upwards); device-space helpers on 16-bit FVRects
 * (y downwards). None keeps state; rectangles go in and out by value.
 */
#ifndef PGSUTILS_H
#define PGSUTILS_H

#include "PIMain.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Half the width and half the height of the rectangle (its centre only when
 * its lower-left corner is at the origin; kept so on purpose). */
FixedPoint FixedCP(FixedRect fixRect);

/* 1 when fixFirstRect misses fixSecondRect shrunk by val on every side (a
 * shared edge counts as touching, 0); callers refuse on 1. */
FSInt16 FixedInRegion(FixedRect fixFirstRect, FixedRect fixSecondRect, Fixed val);

/* initCropReg, drawn on a page of rotation origRotFact and media box
 * initMedBox, carried over to a page of rotation currRotFact and media box
 * currMedBox; the all-zero rectangle for rotation pairs with no case. */
FixedRect FixedCheckRotVal(FixedRect currMedBox, FixedRect initCropReg, FixedRect initMedBox,
                           FSInt16 currRotFact, FSInt16 origRotFact);

/* 1 when (xHit, yHit) lies in the closed square of half side val around the
 * corner (xCP, yCP); sums are formed in full width. */
FSInt16 FVInCorner(FSInt16 xHit, FSInt16 yHit, FSInt16 xCP, FSInt16 yCP, FSInt16 val);

/* The rectangle grown by val on every side, truncated to 16 bits. */
FVRect FVExpandRegion(FVRect initialRect, FSInt16 val);

/* The square of half side val around (xCP, yCP), truncated to 16 bits. */
FVRect FVDrawBoxes(FSInt16 xCP, FSInt16 yCP, FSInt16 val);

#ifdef __cplusplus
}
#endif

#endif /* PGSUTILS_H */
