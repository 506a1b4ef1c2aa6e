// FixedMath.h: the host's 16.16 fixed-point arithmetic, as served by the
// "FolioSupport" table (FixedMul, FixedDiv). Header-only so that the host and
// the recording test host round exactly alike.
//
// Rounding: to nearest, ties away from zero. Results outside the Fixed range
// saturate to 0x7FFFFFFF / 0x80000000. A division by zero saturates by the
// sign of the numerator (a zero numerator counts as positive).
#pragma once

#include <cstdint>

#include "folio/FolioTypes.h"

namespace folio {

inline Fixed saturateFixed(int64_t v)
{
  if (v > INT32_MAX)
    return INT32_MAX;
  if (v < INT32_MIN)
    return INT32_MIN;
  return static_cast<Fixed>(v);
}

// Rounds num / den to nearest, ties away from zero; den != 0.
inline int64_t roundedQuotient(int64_t num, int64_t den)
{
  int64_t q = num / den;
  int64_t r = num % den;
  int64_t absR = r < 0 ? -r : r;
  int64_t absD = den < 0 ? -den : den;
  if (2 * absR >= absD)
    q += ((num < 0) != (den < 0)) ? -1 : 1;
  return q;
}

inline Fixed fixedDiv(Fixed a, Fixed b)
{
  if (b == 0)
    return a < 0 ? INT32_MIN : INT32_MAX;
  return saturateFixed(roundedQuotient(static_cast<int64_t>(a) * 65536, b));
}

inline Fixed fixedMul(Fixed a, Fixed b)
{
  return saturateFixed(roundedQuotient(static_cast<int64_t>(a) * b, 65536));
}

} // namespace folio
