// BBoxMargin.cpp: the bounding-box margin (see BBoxMargin.h).
#include "model/BBoxMargin.h"

#include <cmath>
#include <cstdint>

namespace folio::model {

namespace {

double gMarginPoints = 0;

Fixed add(Fixed v, std::int64_t delta)
{
  std::int64_t r = static_cast<std::int64_t>(v) + delta;
  if (r > INT32_MAX)
    r = INT32_MAX;
  if (r < INT32_MIN)
    r = INT32_MIN;
  return static_cast<Fixed>(r);
}

} // namespace

void setBBoxMargin(double points)
{
  gMarginPoints = std::isfinite(points) && points > 0 ? points : 0;
}

double bboxMargin()
{
  return gMarginPoints;
}

FixedRect widenByMargin(const FixedRect &box)
{
  auto m = static_cast<std::int64_t>(std::llround(gMarginPoints * 65536.0));
  if (m == 0)
    return box;
  FixedRect r;
  r.left = add(box.left, -m);
  r.bottom = add(box.bottom, -m);
  r.right = add(box.right, m);
  r.top = add(box.top, m);
  return r;
}

FixedRect bboxWithMargin(Page &page)
{
  return widenByMargin(page.bbox());
}

} // namespace folio::model
