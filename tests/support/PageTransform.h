// PageTransform.h: where a page point shows in a page view, computed apart
// from the host so that tests can check the host's pixels and place the
// pointer on page points.
//
// Page space is PDF user space: points, y up, the page's /Rotate not applied.
// Device space is the view's pixels: y down, (0, 0) the view's top-left
// corner. The shown box (media or crop box) is turned clockwise by the
// page's rotation, scaled by the zoom (1 = 100%: one point is one pixel) and
// its top-left corner put at `origin`. Header only.
#pragma once

#include <cmath>
#include <utility>

namespace testsupport {

struct PageTransform {
  double left = 0, bottom = 0, right = 612, top = 792; // the shown box, points
  int rotation = 0;                                    // 0, 90, 180 or 270, clockwise
  double zoom = 1;
  double originX = 0, originY = 0; // device position of the turned box's top-left corner

  // The device position of page point (x, y), unrounded.
  std::pair<double, double> toDevice(double x, double y) const
  {
    const double u = x - left, w = top - y; // from the box's top-left corner, y down
    const double width = right - left, height = top - bottom;
    double px = u, py = w;
    switch (rotation) {
    case 90:
      px = height - w;
      py = u;
      break;
    case 180:
      px = width - u;
      py = height - w;
      break;
    case 270:
      px = w;
      py = width - u;
      break;
    default:
      break;
    }
    return {originX + zoom * px, originY + zoom * py};
  }

  // The device pixel of page point (x, y): toDevice rounded to the nearest
  // pixel.
  std::pair<int, int> pixel(double x, double y) const
  {
    auto [dx, dy] = toDevice(x, y);
    return {static_cast<int>(std::lround(dx)), static_cast<int>(std::lround(dy))};
  }

  // The device size of the turned box, in pixels (unrounded).
  double deviceWidth() const { return zoom * (rotation % 180 ? top - bottom : right - left); }
  double deviceHeight() const { return zoom * (rotation % 180 ? right - left : top - bottom); }
};

} // namespace testsupport
