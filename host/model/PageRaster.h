// PageRaster.h: a rendered page and the transform between page space and its
// pixels.
//
// Coordinate spaces:
//   page space    PDF user space of the page: points, y upwards, the origin
//                 where the page's content stream puts it (media boxes may lie
//                 off the origin, even at negative coordinates). The /Rotate of
//                 the page is NOT applied in page space.
//   raster space  pixels of the raster: x to the right, y downwards, origin at
//                 the top-left corner of pixel (0, 0); pixel (i, j) covers
//                 [i, i+1) x [j, j+1). The page's rotation IS applied (the
//                 raster shows the page upright, as a reader sees it) and one
//                 point of page space is `zoom` pixels.
#pragma once

#include <cstdint>
#include <vector>

namespace folio::model {

// An affine map in the PDF convention: (x, y) -> (a x + c y + e, b x + d y + f).
struct Affine {
  double a = 1, b = 0, c = 0, d = 1, e = 0, f = 0;

  void apply(double x, double y, double &outX, double &outY) const
  {
    outX = a * x + c * y + e;
    outY = b * x + d * y + f;
  }
  // The inverse map; the identity for a singular map (never produced here).
  Affine inverted() const;
  // This map followed by `next`.
  Affine then(const Affine &next) const;
};

// The page's whole media box, rendered: the crop box plays no part, so the
// viewer can show (dimmed) what lies outside it. White where nothing is
// painted. Annotations are drawn; form widgets are drawn.
struct PageRaster {
  int width = 0;            // pixels
  int height = 0;           // pixels
  int stride = 0;           // bytes per row (3 * width)
  std::vector<uint8_t> rgb; // height rows of width RGB triples, top row first
  double zoom = 1.0;        // pixels per point
  int rotate = 0;           // the page rotation applied: 0, 90, 180 or 270
  Affine pageToRaster;      // page space -> raster space
  Affine rasterToPage;      // raster space -> page space
};

} // namespace folio::model
