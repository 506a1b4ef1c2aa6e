/*
 * pgsutils.cpp: geometry helpers of the plug-in: half extents, containment
 * with a margin and the re-expression of a crop region for another page
 * rotation in page space; handle hit test, grown rectangle and handle square
 * in device space.
 *
 * Fixed addition and subtraction wrap around as 32-bit two's complement. They
 * are done on unsigned values so that the wrap is defined behaviour; the
 * conversion back to Fixed keeps the bit pattern.
 */
#include "pgsutils.h"

#include <math.h>

/* a + b and a - b with 32-bit wrap-around. */
static Fixed FixedAddWrap(Fixed a, Fixed b)
{
  return (Fixed)((FSUns32)a + (FSUns32)b);
}

static Fixed FixedSubWrap(Fixed a, Fixed b)
{
  return (Fixed)((FSUns32)a - (FSUns32)b);
}

FixedPoint FixedCP(FixedRect fixRect)
{
  FixedPoint cp;

  /* Half the extents, not the centre of a box off the origin: the rotation
     helper below measures offsets from this point on both media boxes. */
  cp.h = FixedDiv(FixedSubWrap(fixRect.right, fixRect.left), fixedTwo);
  cp.v = FixedDiv(FixedSubWrap(fixRect.top, fixRect.bottom), fixedTwo);
  return cp;
}

FSInt16 FixedInRegion(FixedRect fixFirstRect, FixedRect fixSecondRect, Fixed val)
{
  /* Opposite edges are compared, so touching counts as inside. */
  if (fixFirstRect.bottom > FixedSubWrap(fixSecondRect.top, val))
    return 1;
  if (fixFirstRect.top < FixedAddWrap(fixSecondRect.bottom, val))
    return 1;
  if (fixFirstRect.left > FixedSubWrap(fixSecondRect.right, val))
    return 1;
  if (fixFirstRect.right < FixedAddWrap(fixSecondRect.left, val))
    return 1;
  return 0;
}

/* remainder(rot + quarterTurns, 360) as the rotation cases compare it: the
   IEEE remainder of the sum as a double, truncated to an integer and narrowed
   to 16 bits. 270 comes out as -90 and 540 as -180. */
static FSInt16 RotTarget(FSInt16 rot, int degrees)
{
  double r = remainder((double)((int)rot + degrees), 360.0);
  return (FSInt16)(int)r;
}

FixedRect FixedCheckRotVal(FixedRect currMedBox, FixedRect initCropReg, FixedRect initMedBox,
                           FSInt16 currRotFact, FSInt16 origRotFact)
{
  FixedPoint cptinit, cptcurr;
  FixedRect dRect, result;

  cptinit = FixedCP(initMedBox);
  cptcurr = FixedCP(currMedBox);

  /* Offsets of the region's edges, measured as centre minus edge. */
  dRect.left = FixedSubWrap(cptinit.h, initCropReg.left);
  dRect.right = FixedSubWrap(cptinit.h, initCropReg.right);
  dRect.top = FixedSubWrap(cptinit.v, initCropReg.top);
  dRect.bottom = FixedSubWrap(cptinit.v, initCropReg.bottom);

  if (currRotFact == origRotFact) {
    /* Same rotation: same offsets about the current centre. */
    result.left = FixedSubWrap(cptcurr.h, dRect.left);
    result.top = FixedSubWrap(cptcurr.v, dRect.top);
    result.right = FixedSubWrap(cptcurr.h, dRect.right);
    result.bottom = FixedSubWrap(cptcurr.v, dRect.bottom);
  } else if (currRotFact == RotTarget(origRotFact, 90)) {
    /* A quarter turn counter-clockwise about the centre. */
    result.left = FixedAddWrap(cptcurr.h, dRect.top);
    result.top = FixedSubWrap(cptcurr.v, dRect.right);
    result.right = FixedAddWrap(cptcurr.h, dRect.bottom);
    result.bottom = FixedSubWrap(cptcurr.v, dRect.left);
  } else if (currRotFact == RotTarget(origRotFact, 180)) {
    /* A half turn. */
    result.left = FixedAddWrap(cptcurr.h, dRect.right);
    result.top = FixedAddWrap(cptcurr.v, dRect.bottom);
    result.right = FixedAddWrap(cptcurr.h, dRect.left);
    result.bottom = FixedAddWrap(cptcurr.v, dRect.top);
  } else if (currRotFact == RotTarget(origRotFact, 270)) {
    /* Three quarters. */
    result.left = FixedSubWrap(cptcurr.h, dRect.bottom);
    result.top = FixedAddWrap(cptcurr.v, dRect.left);
    result.right = FixedSubWrap(cptcurr.h, dRect.top);
    result.bottom = FixedAddWrap(cptcurr.v, dRect.right);
  } else {
    /* No case for this pair of rotations: the all-zero rectangle. */
    result.left = 0;
    result.top = 0;
    result.right = 0;
    result.bottom = 0;
  }
  return result;
}

FSInt16 FVInCorner(FSInt16 xHit, FSInt16 yHit, FSInt16 xCP, FSInt16 yCP, FSInt16 val)
{
  /* Sums in int width: a corner near the 16-bit limits does not wrap. */
  if ((int)xHit < (int)xCP - (int)val)
    return 0;
  if ((int)xHit > (int)xCP + (int)val)
    return 0;
  if ((int)yHit < (int)yCP - (int)val)
    return 0;
  if ((int)yHit > (int)yCP + (int)val)
    return 0;
  return 1;
}

FVRect FVExpandRegion(FVRect initialRect, FSInt16 val)
{
  FVRect finalRect;

  finalRect.left = (FSInt16)(initialRect.left - val);
  finalRect.top = (FSInt16)(initialRect.top - val);
  finalRect.right = (FSInt16)(initialRect.right + val);
  finalRect.bottom = (FSInt16)(initialRect.bottom + val);
  return finalRect;
}

FVRect FVDrawBoxes(FSInt16 xCP, FSInt16 yCP, FSInt16 val)
{
  FVRect finalRect;

  finalRect.left = (FSInt16)(xCP - val);
  finalRect.top = (FSInt16)(yCP - val);
  finalRect.right = (FSInt16)(xCP + val);
  finalRect.bottom = (FSInt16)(yCP + val);
  return finalRect;
}
