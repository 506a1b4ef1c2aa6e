// PageView.cpp: the page view's transform, frame buffer and redrawing (see
// PageView.h for the coordinate spaces and the rounding).
#include "view/PageView.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>

#include "model/ModelHandles.h"
#include "view/Application.h"
#include "view/DocWindow.h"

namespace folio::view {

namespace {

// The page's media box; a page the model can no longer find (a file the
// engine repaired badly) is laid out as US Letter and drawn blank, never an
// abort of the redraw.
FixedRect safeMediaBox(const model::Page &page)
{
  try {
    return page.mediaBox();
  } catch (const std::exception &) {
    FixedRect letter;
    letter.left = 0;
    letter.bottom = 0;
    letter.right = 612 * 65536;
    letter.top = 792 * 65536;
    return letter;
  }
}

FSInt16 saturate16(double v)
{
  double r = std::round(v); // halves away from zero
  if (r > 32767.0)
    return 32767;
  if (r < -32768.0)
    return -32768;
  return static_cast<FSInt16>(r);
}

Fixed toFixed(double v)
{
  double r = std::round(v * 65536.0);
  if (r > 2147483647.0)
    return static_cast<Fixed>(0x7FFFFFFF);
  if (r < -2147483648.0)
    return static_cast<Fixed>(0x80000000);
  return static_cast<Fixed>(r);
}

double fromFixed(Fixed f)
{
  return static_cast<double>(f) / 65536.0;
}

FVRect normalised(const FVRect &r)
{
  FVRect n = r;
  if (n.left > n.right)
    std::swap(n.left, n.right);
  if (n.top > n.bottom)
    std::swap(n.top, n.bottom);
  return n;
}

FVRect unite(const FVRect &a, const FVRect &b)
{
  return FVRect{std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
                std::max(a.bottom, b.bottom)};
}

uint8_t fixedToByte(Fixed f)
{
  double v = fromFixed(f);
  v = std::clamp(v, 0.0, 1.0);
  return static_cast<uint8_t>(std::lround(v * 255.0));
}

} // namespace

PageView::PageView(Application &app, DocWindow &doc) : app_(&app), doc_(&doc)
{
  color_.space = PDDeviceRGB; // black
  page_ = doc_->document().acquirePage(0);
  doc_->document().addObserver(this);
  zoom_ = std::clamp(zoom_, minZoomPercent(), maxZoomPercent());
  invalidateAll();
}

PageView::~PageView()
{
  doc_->document().removeObserver(this);
  if (page_)
    doc_->document().releasePage(page_);
}

int PageView::pageCount() const
{
  return doc_->document().pageCount();
}

PDPage PageView::pdPage() const
{
  return model::toPDPage(page_);
}

bool PageView::goToPage(int n)
{
  if (n < 0 || n >= pageCount())
    return false;
  if (n == pageNum_)
    return true;
  model::Page *next = doc_->document().acquirePage(n);
  try {
    // A page whose boxes cannot be read is not shown: the view stays on the
    // page it has (else every later redraw would fail on it).
    next->mediaBox();
    next->rotate();
  } catch (...) {
    doc_->document().releasePage(next);
    throw;
  }
  model::Page *old = page_;
  page_ = next;
  pageNum_ = n;
  if (old)
    doc_->document().releasePage(old);
  // Keep the zoom within range for the new page's size.
  zoom_ = std::clamp(zoom_, minZoomPercent(), maxZoomPercent());
  rasterStale_ = true;
  invalidateAll();
  return true;
}

FixedRect PageView::viewBox() const
{
  if (!showCropped_)
    return safeMediaBox(*page_);
  try {
    return page_->shownBox();
  } catch (const std::exception &) {
    return safeMediaBox(*page_);
  }
}

void PageView::setShowCropped(bool on)
{
  if (on == showCropped_)
    return;
  showCropped_ = on;
  invalidateAll();
}

void PageView::geometry(double &x0, double &y0, double &w, double &h) const
{
  FixedRect m = viewBox();
  x0 = fromFixed(m.left);
  y0 = fromFixed(m.bottom);
  w = fromFixed(m.right) - x0;
  h = fromFixed(m.top) - y0;
}

void PageView::mediaGeometry(double &x0, double &y0, double &w, double &h) const
{
  FixedRect m = safeMediaBox(*page_);
  x0 = fromFixed(m.left);
  y0 = fromFixed(m.bottom);
  w = fromFixed(m.right) - x0;
  h = fromFixed(m.top) - y0;
}

int PageView::rotation() const
{
  int r = 0;
  try {
    r = page_->rotate();
  } catch (const std::exception &) {
  }
  r = ((r % 360) + 360) % 360;
  return r - r % 90;
}

double PageView::maxZoomPercent() const
{
  // The whole media box is rendered, whatever the view box.
  double x0, y0, w, h;
  mediaGeometry(x0, y0, w, h);
  double side = std::max(w, h);
  if (side <= 0)
    return kMaxZoomPercent;
  double bySide = 100.0 * kMaxDeviceExtent / side;
  double byArea = 100.0 * std::sqrt(kMaxRasterPixels / std::max(w * h, 1.0));
  return std::min({bySide, byArea, kMaxZoomPercent});
}

double PageView::minZoomPercent() const
{
  return std::min(kMinZoomPercent, maxZoomPercent());
}

double PageView::setZoomPercent(double percent)
{
  if (!std::isfinite(percent))
    percent = 100.0;
  double z = std::clamp(percent, minZoomPercent(), maxZoomPercent());
  if (z != zoom_) {
    zoom_ = z;
    rasterStale_ = true;
    invalidateAll();
  }
  return zoom_;
}

void PageView::setScroll(int x, int y)
{
  x = std::clamp(x, -kMaxDeviceExtent, kMaxDeviceExtent);
  y = std::clamp(y, -kMaxDeviceExtent, kMaxDeviceExtent);
  if (x == scrollX_ && y == scrollY_)
    return;
  scrollX_ = x;
  scrollY_ = y;
  invalidateAll();
}

int PageView::pageDeviceWidth() const
{
  double x0, y0, w, h;
  geometry(x0, y0, w, h);
  int r = rotation();
  return static_cast<int>(std::lround((r == 90 || r == 270 ? h : w) * scale()));
}

int PageView::pageDeviceHeight() const
{
  double x0, y0, w, h;
  geometry(x0, y0, w, h);
  int r = rotation();
  return static_cast<int>(std::lround((r == 90 || r == 270 ? w : h) * scale()));
}

void PageView::setDeviceSize(int width, int height)
{
  fixedWidth_ = std::clamp(width, 0, kMaxDeviceExtent * 2);
  fixedHeight_ = std::clamp(height, 0, kMaxDeviceExtent * 2);
  invalidateAll();
}

int PageView::deviceWidth() const
{
  return fixedWidth_ > 0 ? fixedWidth_ : pageDeviceWidth() + 2 * kPageMargin;
}

int PageView::deviceHeight() const
{
  return fixedHeight_ > 0 ? fixedHeight_ : pageDeviceHeight() + 2 * kPageMargin;
}

// ---- the transform ------------------------------------------------------------

void PageView::pageToDevice(double x, double y, double &dx, double &dy) const
{
  double x0, y0, w, h;
  geometry(x0, y0, w, h);
  double u = x - x0, v = (y0 + h) - y, rx, ry;
  switch (rotation()) {
  case 90:
    rx = h - v;
    ry = u;
    break;
  case 180:
    rx = w - u;
    ry = h - v;
    break;
  case 270:
    rx = v;
    ry = w - u;
    break;
  default:
    rx = u;
    ry = v;
    break;
  }
  double s = scale();
  dx = rx * s + (kPageMargin - scrollX_);
  dy = ry * s + (kPageMargin - scrollY_);
}

void PageView::deviceToPage(double dx, double dy, double &x, double &y) const
{
  double x0, y0, w, h;
  geometry(x0, y0, w, h);
  double s = scale();
  double rx = (dx - (kPageMargin - scrollX_)) / s, ry = (dy - (kPageMargin - scrollY_)) / s, u, v;
  switch (rotation()) {
  case 90:
    u = ry;
    v = h - rx;
    break;
  case 180:
    u = w - rx;
    v = h - ry;
    break;
  case 270:
    v = rx;
    u = w - ry;
    break;
  default:
    u = rx;
    v = ry;
    break;
  }
  x = x0 + u;
  y = (y0 + h) - v;
}

FVRect PageView::rectToDevice(const FixedRect &r) const
{
  double ax, ay, bx, by;
  pageToDevice(fromFixed(r.left), fromFixed(r.top), ax, ay);
  pageToDevice(fromFixed(r.right), fromFixed(r.bottom), bx, by);
  return normalised(FVRect{saturate16(ax), saturate16(ay), saturate16(bx), saturate16(by)});
}

FixedRect PageView::deviceRectToPage(const FVRect &r) const
{
  double ax, ay, bx, by;
  deviceToPage(r.left, r.top, ax, ay);
  deviceToPage(r.right, r.bottom, bx, by);
  FixedRect p{toFixed(std::min(ax, bx)), toFixed(std::max(ay, by)), toFixed(std::max(ax, bx)),
              toFixed(std::min(ay, by))};
  return p;
}

// ---- invalidation and redrawing ----------------------------------------------

void PageView::invalidate(const FVRect &area)
{
  FVRect a = normalised(area);
  dirtyRect_ = dirty_ ? unite(dirtyRect_, a) : a;
  dirty_ = true;
}

void PageView::invalidateAll()
{
  invalidate(FVRect{0, 0, static_cast<FSInt16>(std::min(deviceWidth(), 32767)),
                    static_cast<FSInt16>(std::min(deviceHeight(), 32767))});
}

bool PageView::invalidArea(FVRect &area) const
{
  if (dirty_)
    area = dirtyRect_;
  return dirty_;
}

void PageView::setShowsContents(bool shows)
{
  if (shows == showsContents_)
    return;
  showsContents_ = shows;
  rasterStale_ = true;
  invalidateAll();
}

void PageView::ensureRaster()
{
  if (raster_ && !rasterStale_)
    return;
  rasterStale_ = false;
  try {
    if (!showsContents_)
      throw std::runtime_error("");
    ++renders_;
    raster_ = std::make_unique<model::PageRaster>(page_->render(scale()));
    renderError_.clear();
  } catch (const std::exception &e) {
    // A page the engine cannot draw (or is not asked to) is shown blank (the
    // boxes and overlays still work); the reason is kept for the front end.
    renderError_ = e.what();
    auto blank = std::make_unique<model::PageRaster>();
    double x0, y0, w, h;
    mediaGeometry(x0, y0, w, h);
    bool turned = rotation() == 90 || rotation() == 270;
    blank->width = static_cast<int>(std::lround((turned ? h : w) * scale()));
    blank->height = static_cast<int>(std::lround((turned ? w : h) * scale()));
    blank->stride = blank->width * 3;
    blank->rgb.assign(static_cast<size_t>(blank->stride) * blank->height, 0xFF);
    blank->zoom = scale();
    blank->rotate = rotation();
    raster_ = std::move(blank);
  }
}

void PageView::ensureFrame()
{
  int w = deviceWidth(), h = deviceHeight();
  if (frame_.width == w && frame_.height == h)
    return;
  frame_.width = w;
  frame_.height = h;
  frame_.rgb.assign(static_cast<size_t>(w) * h * 3, kBackgroundGrey);
  invalidateAll();
}

void PageView::drawNow()
{
  if (inRedraw_)
    return; // the redraw in progress presents what the callbacks drew
  if (drawingHeld_)
    return; // the dirty area waits for the next drawNow after the hold
  ensureFrame();
  if (dirty_) {
    FVRect area = dirtyRect_;
    dirty_ = false;
    redrawArea(area);
  }
  if (presentPending_) {
    presentPending_ = false;
    app_->present(*this, presentRect_);
  }
}

void PageView::redrawArea(const FVRect &requested)
{
  // Clip to the frame; nothing to do for an area wholly outside it.
  int l = std::max<int>(requested.left, 0), t = std::max<int>(requested.top, 0);
  int r = std::min<int>(requested.right, frame_.width - 1),
      b = std::min<int>(requested.bottom, frame_.height - 1);
  if (l > r || t > b)
    return;
  ensureRaster();
  ++redraws_;

  // The raster's top-left pixel: the rotated media box's top-left corner.
  int ox = kPageMargin - scrollX_, oy = kPageMargin - scrollY_;
  if (showCropped_) {
    FixedRect m = safeMediaBox(*page_);
    double mx0, my0, mx1, my1;
    pageToDevice(fromFixed(m.left), fromFixed(m.top), mx0, my0);
    pageToDevice(fromFixed(m.right), fromFixed(m.bottom), mx1, my1);
    ox = static_cast<int>(std::lround(std::min(mx0, mx1)));
    oy = static_cast<int>(std::lround(std::min(my0, my1)));
  }
  // The page's shown box in device space: pixels whose centres lie inside it
  // are shown as rendered, the rest of the media box dimmed.
  FixedRect shown;
  try {
    shown = page_->shownBox();
  } catch (const std::exception &) {
    double x0, y0, w, h; // a page that cannot be found is shown whole (blank)
    geometry(x0, y0, w, h);
    shown.left = toFixed(x0);
    shown.bottom = toFixed(y0);
    shown.right = toFixed(x0 + w);
    shown.top = toFixed(y0 + h);
  }
  double ax, ay, bx, by;
  pageToDevice(fromFixed(shown.left), fromFixed(shown.top), ax, ay);
  pageToDevice(fromFixed(shown.right), fromFixed(shown.bottom), bx, by);
  const double sx0 = std::min(ax, bx), sx1 = std::max(ax, bx), sy0 = std::min(ay, by), sy1 = std::max(ay, by);

  // Pixel x of a row is shown as rendered when its centre lies inside the
  // shown box: x in [showL, showR); the raster covers x in [ox, ox + width).
  const model::PageRaster &ras = *raster_;
  const int showL = static_cast<int>(std::ceil(sx0 - 0.5)), showR = static_cast<int>(std::ceil(sx1 - 0.5));
  const int rasL = ox, rasR = ox + ras.width;
  auto fillGrey = [](uint8_t *out, int n) { std::memset(out, kBackgroundGrey, static_cast<size_t>(n) * 3); };
  const bool hideOutside = showCropped_;
  auto dim = [hideOutside](uint8_t *out, const uint8_t *in, int n) {
    if (hideOutside) {
      std::memset(out, kBackgroundGrey, static_cast<size_t>(std::max(n, 0)) * 3);
      return;
    }
    for (int i = 0; i < n * 3; ++i)
      out[i] = static_cast<uint8_t>((in[i] + kDimGrey) / 2);
  };
  for (int y = t; y <= b; ++y) {
    uint8_t *row = frame_.pixel(0, y);
    int ry = y - oy;
    if (ry < 0 || ry >= ras.height) {
      fillGrey(row + l * 3, r - l + 1);
      continue;
    }
    const uint8_t *src = &ras.rgb[static_cast<size_t>(ry) * ras.stride] - static_cast<ptrdiff_t>(ox) * 3;
    bool rowShown = (y + 0.5) > sy0 && (y + 0.5) < sy1;
    // Runs: grey left of the raster, dimmed, shown, dimmed, grey right of it.
    int a = std::clamp(rasL, l, r + 1), e = std::clamp(rasR, l, r + 1);
    fillGrey(row + l * 3, a - l);
    fillGrey(row + e * 3, r + 1 - e);
    int s0 = rowShown ? std::clamp(showL, a, e) : e, s1 = rowShown ? std::clamp(showR, s0, e) : e;
    dim(row + a * 3, src + a * 3, s0 - a);
    std::memcpy(row + s0 * 3, src + s0 * 3, static_cast<size_t>(s1 - s0) * 3);
    dim(row + s1 * 3, src + s1 * 3, e - s1);
  }

  FVRect area{static_cast<FSInt16>(l), static_cast<FSInt16>(t), static_cast<FSInt16>(r),
              static_cast<FSInt16>(b)};
  presentRect_ = presentPending_ ? unite(presentRect_, area) : area;
  presentPending_ = true;

  // Extensions draw over the page, clipped to the redrawn area.
  inRedraw_ = true;
  clipping_ = true;
  clip_ = area;
  app_->runDrawingCallbacks(*this, area);
  clipping_ = false;
  inRedraw_ = false;
}

void PageView::colorToRgb(uint8_t out[3]) const
{
  switch (color_.space) {
  case PDDeviceGray:
    out[0] = out[1] = out[2] = fixedToByte(color_.value[0]);
    break;
  case PDDeviceCMYK: {
    double k = std::clamp(fromFixed(color_.value[3]), 0.0, 1.0);
    for (int i = 0; i < 3; ++i) {
      double c = std::clamp(fromFixed(color_.value[i]), 0.0, 1.0);
      out[i] = static_cast<uint8_t>(std::lround((1.0 - c) * (1.0 - k) * 255.0));
    }
    break;
  }
  default:
    for (int i = 0; i < 3; ++i)
      out[i] = fixedToByte(color_.value[i]);
    break;
  }
}

void PageView::plot(int x, int y, const uint8_t rgb[3])
{
  if (x < 0 || y < 0 || x >= frame_.width || y >= frame_.height)
    return;
  if (clipping_ && (x < clip_.left || x > clip_.right || y < clip_.top || y > clip_.bottom))
    return;
  uint8_t *p = frame_.pixel(x, y);
  p[0] = rgb[0];
  p[1] = rgb[1];
  p[2] = rgb[2];
  if (!inRedraw_) {
    FVRect dot{static_cast<FSInt16>(x), static_cast<FSInt16>(y), static_cast<FSInt16>(x),
               static_cast<FSInt16>(y)};
    presentRect_ = presentPending_ ? unite(presentRect_, dot) : dot;
    presentPending_ = true;
  }
}

void PageView::drawRectOutline(const FVRect &rect, int lineWidth, const Fixed *dashes, int dashCount)
{
  ensureFrame();
  FVRect n = normalised(rect);
  uint8_t rgb[3];
  colorToRgb(rgb);
  if (lineWidth < 1)
    lineWidth = 1;

  // Dash pattern in device units; an all-zero pattern draws solid.
  std::vector<double> pattern;
  double period = 0;
  if (dashes && dashCount > 0) {
    for (int i = 0; i < dashCount; ++i) {
      double d = std::max(0.0, fromFixed(dashes[i]));
      pattern.push_back(d);
      period += d;
    }
    if (pattern.size() % 2)
      pattern.insert(pattern.end(), pattern.begin(), pattern.end()), period *= 2;
  }
  auto on = [&](long along) {
    if (period <= 0)
      return true;
    double p = std::fmod(static_cast<double>(along) + 0.5, period);
    for (size_t i = 0; i < pattern.size(); ++i) {
      if (p < pattern[i])
        return i % 2 == 0;
      p -= pattern[i];
    }
    return false;
  };

  for (int k = 0; k < lineWidth; ++k) {
    int l = n.left + k, t = n.top + k, r = n.right - k, b = n.bottom - k;
    if (l > r || t > b)
      break;
    // Clockwise from the top-left corner: top, right, bottom, left.
    long along = 0;
    for (int x = l; x <= r; ++x, ++along)
      if (on(along))
        plot(x, t, rgb);
    for (int y = t + 1; y <= b; ++y, ++along)
      if (on(along))
        plot(r, y, rgb);
    if (b > t)
      for (int x = r - 1; x >= l; --x, ++along)
        if (on(along))
          plot(x, b, rgb);
    if (r > l)
      for (int y = b - 1; y > t; --y, ++along)
        if (on(along))
          plot(l, y, rgb);
  }
}

void PageView::pageChanged(model::Document &, int pageIndex)
{
  if (pageIndex != pageNum_)
    return;
  rasterStale_ = true;
  invalidateAll();
  if (!inRedraw_)
    drawNow();
}

bool PageView::writePng(const std::string &path, std::string *error) const
{
  if (frame_.width <= 0 || frame_.height <= 0) {
    if (error)
      *error = "the view has not been drawn yet";
    return false;
  }
  png_image image;
  std::memset(&image, 0, sizeof image);
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(frame_.width);
  image.height = static_cast<png_uint_32>(frame_.height);
  image.format = PNG_FORMAT_RGB;
  if (!png_image_write_to_file(&image, path.c_str(), 0, frame_.rgb.data(), frame_.width * 3, nullptr)) {
    if (error)
      *error = std::string("cannot write ") + path + ": " + image.message;
    png_image_free(&image);
    return false;
  }
  return true;
}

} // namespace folio::view
