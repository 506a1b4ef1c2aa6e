// PageView.h: the view of one document's current page: the page <-> device
// transform, the frame buffer, the cached page raster, invalidation and
// redrawing, outlines drawn by the host and by extensions' drawing callbacks.
//
// Coordinate spaces:
//   page space    PDF user space of the shown page (points, y upwards, the
//                 page's /Rotate not applied), 16.16 Fixed (FixedRect).
//   raster space  the model's rendering of the page's whole media box at the
//                 view's scale, rotation applied (model/PageRaster.h).
//   device space  the view's drawing area and its frame buffer: pixels, x to
//                 the right, y downwards, 16-bit. device = raster + origin,
//                 where origin = (kPageMargin, kPageMargin) - scroll. The
//                 top-left corner of the rotated media box is therefore at
//                 device (8, 8) when not scrolled.
//
// The view box is the page's media box, or, when the view shows cropped
// pages (setShowCropped), the page's shown box (model::Page::shownBox: the
// crop box within the media box). It is what the view lays out: its rotated
// size is the page's device size, and it is placed at device (8, 8).
//
// The transform (the one used by every conversion, hit test and outline):
//   with the view box (x0, y0, x1, y1), W = x1 - x0, H = y1 - y0, s = zoom/100
//   and (u, v) = (x - x0, y1 - y) the unrotated offset from the top-left:
//     rotate   0: raster = s * (u, v)
//     rotate  90: raster = s * (H - v, u)        (the page turned clockwise)
//     rotate 180: raster = s * (W - u, H - v)
//     rotate 270: raster = s * (v, W - u)
//   Any other /Rotate is taken modulo 360 and rounded down to a multiple of 90.
//   The page raster (of the whole media box) is placed so that it lines up
//   with this transform: its top-left pixel at the device position of the
//   rotated media box's top-left corner, rounded to whole pixels.
// Rounding: rectToDevice maps both corners and rounds each coordinate to the
// nearest integer (halves away from zero), saturating to the 16-bit range,
// then normalises (left <= right, top <= bottom). deviceRectToPage maps both
// corners exactly and rounds each to the nearest 1/65536, then normalises
// (left <= right, bottom <= top). So page -> device -> page comes back within
// half a device unit (0.5 / s points) and device -> page -> device exactly.
//
// Device rectangles given to invalidate() and drawRectOutline() are closed:
// (l, t, r, b) covers the pixels l..r x t..b, both edges included, so that an
// outline along a rectangle and the invalidation of that rectangle cover the
// same pixels.
//
// Zoom is in percent, kept so that the whole page fits in 16-bit device
// coordinates: at most kMaxDeviceExtent (16000) device units across the
// larger side of the rotated media box, at most kMaxRasterPixels in the
// page's raster, never above kMaxZoomPercent; at least kMinZoomPercent unless
// the page is too large for that. A page opens at 100% when that is within
// these limits.
//
// Drawing: invalidate() collects a dirty area (the bounding rectangle of what
// was invalidated). drawNow() redraws it into the frame: background, the
// cached page raster, the part of the media box outside the page's shown box
// dimmed (so the user sees what a crop can still take back; when showing
// cropped pages that part is not shown: background grey), then the
// registered drawing callbacks in registration order, with their outlines
// clipped to the redrawn area; then asks the front end to present the area.
// Outlines drawn outside a redraw (an extension drawing at once) land in the
// frame, clipped to it, and are presented at the next drawNow(). drawNow()
// called from inside a drawing callback does nothing (the redraw in progress
// presents what the callbacks drew); it never redraws recursively.
//
// The page raster is rendered by the model and cached; it is rendered again
// only when the page, the zoom or the page's contents change (the view
// observes its document). A changed page that is shown is re-rendered and the
// whole view redrawn at once.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "folio/FolioTypes.h"
#include "model/Document.h"
#include "model/PageRaster.h"

namespace folio::view {

class Application;
class DocWindow;

constexpr int kPageMargin = 8;
constexpr double kMinZoomPercent = 5.0;
constexpr double kMaxZoomPercent = 6400.0;
// The largest rendered page side in pixels: the model renders at most 16384
// pixels across, and device coordinates stay far inside the 16-bit range.
constexpr int kMaxDeviceExtent = 16000;
// The largest page raster in pixels: the whole page is rendered at once and
// cached, so the zoom is also kept to what 120 MB of RGB can hold.
constexpr double kMaxRasterPixels = 40e6;

// The frame buffer: an RGB raster of the view's device size.
struct Frame {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> rgb; // height rows of width RGB triples, top row first
  const uint8_t *pixel(int x, int y) const { return &rgb[(static_cast<size_t>(y) * width + x) * 3]; }
  uint8_t *pixel(int x, int y) { return &rgb[(static_cast<size_t>(y) * width + x) * 3]; }
};

// Colours of the frame outside the page and of the dimmed part of the page.
constexpr uint8_t kBackgroundGrey = 0x80;
// A dimmed pixel is (p + kDimGrey) / 2 per channel (integer division).
constexpr uint8_t kDimGrey = 0x60;

class PageView : public model::DocumentObserver {
public:
  PageView(Application &app, DocWindow &doc);
  ~PageView() override;
  PageView(const PageView &) = delete;
  PageView &operator=(const PageView &) = delete;

  Application &application() const { return *app_; }
  DocWindow &document() const { return *doc_; }

  // ---- page --------------------------------------------------------------
  int pageNumber() const { return pageNum_; } // zero-based
  int pageCount() const;
  // Shows page `n` (zero-based); false, changing nothing, when out of range.
  // The view keeps the page it shows acquired and releases it when it shows
  // another or is destroyed. Invalidates the whole view. Throws (a
  // ModelError), changing nothing, when the page's boxes cannot be read.
  bool goToPage(int n);
  // The shown page (owned by the model; valid while shown).
  model::Page &page() const { return *page_; }
  PDPage pdPage() const;

  // ---- zoom, scrolling, size --------------------------------------------
  double zoomPercent() const { return zoom_; }
  // Clamped as described above; invalidates the whole view. Returns the zoom
  // that was set.
  double setZoomPercent(double percent);
  // The largest zoom that keeps this page within the 16-bit device range
  // (kMaxDeviceExtent across), and the smallest zoom: kMinZoomPercent, or
  // less for a page so large that even that would not fit.
  double maxZoomPercent() const;
  double minZoomPercent() const;
  double scale() const { return zoom_ / 100.0; } // device pixels per point
  int scrollX() const { return scrollX_; }
  int scrollY() const { return scrollY_; }
  void setScroll(int x, int y);
  // View > Show Cropped Pages: lay out the shown box instead of the media
  // box (see the view box above). Invalidates the whole view.
  bool showCropped() const { return showCropped_; }
  void setShowCropped(bool on);
  // The view box in page space.
  FixedRect viewBox() const;
  // The rotated view box's size in device pixels at the current zoom.
  int pageDeviceWidth() const;
  int pageDeviceHeight() const;
  // The device size (and the frame's). By default it follows the page: the
  // page's device size plus kPageMargin on each side. setDeviceSize(w, h)
  // fixes it (a window's size); setDeviceSize(0, 0) makes it follow again.
  void setDeviceSize(int width, int height);
  int deviceWidth() const;
  int deviceHeight() const;

  // ---- the transform -------------------------------------------------------
  // Exact (unrounded) device position of a page-space point, and back.
  void pageToDevice(double x, double y, double &dx, double &dy) const;
  void deviceToPage(double dx, double dy, double &x, double &y) const;
  FVRect rectToDevice(const FixedRect &pageRect) const;
  FixedRect deviceRectToPage(const FVRect &deviceRect) const;
  // The page's rotation as the view applies it (0, 90, 180, 270).
  int rotation() const;

  // ---- drawing --------------------------------------------------------------
  // The current drawing colour (of outlines); black at first.
  const PDColorValueRec &color() const { return color_; }
  void setColor(const PDColorValueRec &color) { color_ = color; }
  void invalidate(const FVRect &area);
  void invalidateAll();
  // The dirty area not yet redrawn; false when there is none.
  bool invalidArea(FVRect &area) const;
  void drawNow();
  // Strokes the closed rectangle's outline in the current colour, `lineWidth`
  // pixels wide inwards from the rectangle's edge (at least 1). dashes (device
  // units as Fixed, on/off alternately along the outline, clockwise from the
  // top-left corner) or null/0 for a solid line. Rectangles given inverted are
  // normalised first.
  void drawRectOutline(const FVRect &rect, int lineWidth, const Fixed *dashes = nullptr, int dashCount = 0);

  const Frame &frame() const { return frame_; }
  // The frame as a PNG file (8-bit RGB). False with a message in *error on
  // failure.
  bool writePng(const std::string &path, std::string *error = nullptr) const;

  // Whether redraws render the page's contents (the default). Off, the page
  // is drawn blank with its dimming and overlays and the engine is not asked
  // for pixels: the batch front end needs pixels only for a snapshot.
  void setShowsContents(bool shows);
  bool showsContents() const { return showsContents_; }

  // Counters (tests and the viewer's statistics).
  unsigned renderCount() const { return renders_; }
  unsigned redrawCount() const { return redraws_; }
  // Why the shown page could not be rendered ("" when it was): such a page
  // is shown blank, with its dimming and overlays.
  const std::string &renderError() const { return renderError_; }
  // True while the drawing callbacks run.
  bool inRedraw() const { return inRedraw_; }
  // While held, drawNow() only keeps collecting the dirty area: the batch
  // front end holds drawing while it runs a pointer action at a zoom of its
  // own (see batch/Runner.h), so that no page is rendered at that zoom.
  void holdDrawing(bool hold) { drawingHeld_ = hold; }
  bool drawingHeld() const { return drawingHeld_; }

  // The shown page changed (model notice).
  void pageChanged(model::Document &doc, int pageIndex) override;

private:
  void ensureRaster();
  void ensureFrame();
  void redrawArea(const FVRect &area);
  void plot(int x, int y, const uint8_t rgb[3]);
  void colorToRgb(uint8_t out[3]) const;
  // The view box's origin and size in points (the transform's x0, y0, W, H).
  void geometry(double &x0, double &y0, double &w, double &h) const;
  // The same for the media box (the raster's extent and the zoom limits).
  void mediaGeometry(double &x0, double &y0, double &w, double &h) const;

  Application *app_;
  DocWindow *doc_;
  int pageNum_ = 0;
  model::Page *page_ = nullptr;
  double zoom_ = 100.0;
  bool showCropped_ = false;
  int scrollX_ = 0, scrollY_ = 0;
  int fixedWidth_ = 0, fixedHeight_ = 0;
  PDColorValueRec color_{};
  std::unique_ptr<model::PageRaster> raster_;
  bool rasterStale_ = true;
  bool showsContents_ = true;
  Frame frame_;
  bool dirty_ = false;
  FVRect dirtyRect_{};
  bool presentPending_ = false;
  FVRect presentRect_{};
  bool inRedraw_ = false;
  bool drawingHeld_ = false;
  bool clipping_ = false;
  FVRect clip_{};
  unsigned renders_ = 0, redraws_ = 0;
  std::string renderError_;
};

} // namespace folio::view
