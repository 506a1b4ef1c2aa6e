// Page.cpp: boxes, rotation, the crop-box write, change notification and
// rendering of a page (the bounding box is in BBox.cpp and InkBox.cpp).
#include "model/Page.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "model/BudgetEngine.h"
#include "model/CullDevice.h"
#include "model/Document.h"
#include "model/Engine.h"
#include "model/PageEngine.h"

namespace folio::model {

Page::Page(Document &doc, int index) : doc_(&doc), index_(index) {}

Page::~Page() = default; // the document drops the engine data

void dropEmptyNameKeys(fz_context *ctx, pdf_obj *obj, int depth)
{
  // The object itself may be given by reference; the objects it holds by
  // reference are other objects, left alone.
  if (depth == 0)
    obj = pdf_resolve_indirect(ctx, obj);
  else if (depth > 32 || pdf_is_indirect(ctx, obj))
    return;
  if (pdf_is_dict(ctx, obj)) {
    for (int i = pdf_dict_len(ctx, obj) - 1; i >= 0; --i) {
      pdf_obj *key = pdf_dict_get_key(ctx, obj, i);
      if (pdf_is_name(ctx, key) && pdf_to_name(ctx, key)[0] == 0)
        pdf_dict_del(ctx, obj, key);
      else
        dropEmptyNameKeys(ctx, pdf_dict_get_val(ctx, obj, i), depth + 1);
    }
  } else if (pdf_is_array(ctx, obj)) {
    for (int i = 0; i < pdf_array_len(ctx, obj); ++i)
      dropEmptyNameKeys(ctx, pdf_array_get(ctx, obj, i), depth + 1);
  }
}

PageImpl *&pageImplSlot(Page &page)
{
  return page.impl_;
}

PageImpl &loadedPage(Page &page)
{
  Document &doc = page.document();
  DocumentImpl &d = doc.impl();
  PageImpl *&pi = pageImplSlot(page);
  if (!pi) {
    auto *fresh = new PageImpl();
    try {
      fresh->page = loadEnginePage(d, page.index());
    } catch (...) {
      delete fresh;
      throw;
    }
    pi = fresh;
  }
  return *pi;
}

std::string overBudgetMessage(const Page &page, PageWork::Stop stop)
{
  std::string n = std::to_string(page.index() + 1);
  switch (stop) {
  case PageWork::Stop::Cancelled:
    return "Work on page " + n + " was cancelled.";
  case PageWork::Stop::Time: {
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%g", pageBudget().seconds);
    return "Page " + n + " takes more than " + seconds +
           " seconds to read; its contents are not measured or drawn.";
  }
  default:
    return "Page " + n + " needs more than " + std::to_string(pageBudget().bytes >> 20) +
           " MB to read; its contents are not measured or drawn.";
  }
}

fz_display_list *buildDisplayList(DocumentImpl &d, pdf_page *page, fz_cookie *cookie)
{
  fz_context *ctx = d.ctx;
  fz_rect bounds;
  fz_matrix pageCtm;
  pdf_page_transform(ctx, page, &bounds, &pageCtm);
  // Undo the engine's own page transform: the list is in page space.
  fz_matrix toPageSpace = fz_invert_matrix(pageCtm);
  fz_rect media = pageMediaBoxIn(ctx, page->obj);
  fz_display_list *list = fz_new_display_list(ctx, media);
  fz_device *dev = nullptr;
  fz_var(dev);
  fz_try(ctx)
  {
    dev = fz_new_list_device(ctx, list);
    pdf_run_page_contents(ctx, page, dev, toPageSpace, cookie);
    pdf_run_page_annots(ctx, page, dev, toPageSpace, cookie);
    pdf_run_page_widgets(ctx, page, dev, toPageSpace, cookie);
    fz_close_device(ctx, dev);
  }
  fz_always(ctx)
  {
    fz_drop_device(ctx, dev);
  }
  fz_catch(ctx)
  {
    fz_drop_display_list(ctx, list);
    fz_rethrow(ctx);
  }
  return list;
}

fz_display_list *pageDisplayList(Page &page)
{
  PageImpl &pi = loadedPage(page);
  if (pi.list)
    return pi.list;
  DocumentImpl &d = page.document().impl();
  fz_context *ctx = d.ctx;
  fz_display_list *list = nullptr;
  PageWork work(ctx);
  fz_cookie *cookie = work.cookie();
  try {
    engineCall(ctx, ModelErrorKind::Engine, "Cannot read the page contents",
               [&] { list = buildDisplayList(d, pi.page, cookie); });
  } catch (const ModelError &) {
    if (work.stopped() == PageWork::Stop::None)
      throw;
  }
  // An aborted run leaves a partial list: it must not pass for the page.
  if (PageWork::Stop stop = work.stopped(); stop != PageWork::Stop::None) {
    fz_drop_display_list(ctx, list);
    throw ModelError(ModelErrorKind::Engine, overBudgetMessage(page, stop));
  }
  pi.list = list;
  return list;
}

void drawList(fz_context *ctx, fz_display_list *list, fz_matrix ctm, fz_colorspace *cs,
              unsigned char *samples, int w, int h, int stride, fz_cookie *cookie, bool cullGlyphs)
{
  fz_pixmap *pix = nullptr;
  fz_device *dev = nullptr, *cull = nullptr;
  fz_var(pix);
  fz_var(dev);
  fz_var(cull);
  fz_try(ctx)
  {
    fz_rect area = fz_make_rect(0, 0, static_cast<float>(w), static_cast<float>(h));
    pix = fz_new_pixmap_with_data(ctx, cs, w, h, nullptr, 0, stride, samples);
    dev = fz_new_draw_device(ctx, fz_identity, pix);
    if (cullGlyphs)
      cull = newCullDevice(ctx, dev, area);
    fz_run_display_list(ctx, list, cull ? cull : dev, ctm, area, cookie);
    if (cull)
      fz_close_device(ctx, cull);
    fz_close_device(ctx, dev);
  }
  fz_always(ctx)
  {
    fz_drop_device(ctx, cull);
    fz_drop_device(ctx, dev);
    fz_drop_pixmap(ctx, pix);
  }
  fz_catch(ctx)
  {
    fz_rethrow(ctx);
  }
}

FixedRect Page::mediaBox() const
{
  DocumentImpl &d = doc_->impl();
  return toFixedRect(pageMediaBox(d, pageObject(d, index_, impl_)));
}

FixedRect Page::cropBox() const
{
  DocumentImpl &d = doc_->impl();
  auto set = d.cropSet.find(index_);
  if (set != d.cropSet.end())
    return set->second;
  pdf_obj *obj = pageObject(d, index_, impl_);
  fz_rect crop = fz_empty_rect;
  bool present = false;
  engineCall(d.ctx, ModelErrorKind::Engine, "Cannot read the crop box", [&] {
    pdf_obj *box = pdf_dict_get_inheritable(d.ctx, obj, PDF_NAME(CropBox));
    present = pdf_is_array(d.ctx, box);
    if (present)
      crop = pdf_to_rect(d.ctx, box);
  });
  if (!present)
    return mediaBox();
  return toFixedRect(crop);
}

PDRotate Page::rotate() const
{
  DocumentImpl &d = doc_->impl();
  pdf_obj *obj = pageObject(d, index_, impl_);
  int r = 0;
  engineCall(d.ctx, ModelErrorKind::Engine, "Cannot read the rotation",
             [&] { r = pdf_to_int(d.ctx, pdf_dict_get_inheritable(d.ctx, obj, PDF_NAME(Rotate))); });
  r %= 360;
  if (r < 0)
    r += 360;
  return static_cast<PDRotate>(r);
}

void Page::setCropBox(const FixedRect &given)
{
  // A box that would leave nothing of the page visible is never written:
  // normalised, it must overlap the media box with a width and a height.
  FixedRect n;
  n.left = std::min(given.left, given.right);
  n.right = std::max(given.left, given.right);
  n.bottom = std::min(given.bottom, given.top);
  n.top = std::max(given.bottom, given.top);
  FixedRect media = mediaBox();
  if (std::max(n.left, media.left) >= std::min(n.right, media.right) ||
      std::max(n.bottom, media.bottom) >= std::min(n.top, media.top))
    return;
  const FixedRect &r = given;
  DocumentImpl &d = doc_->impl();
  pdf_obj *obj = pageObject(d, index_, impl_);
  doc_->history().record(index_, ownCropState(), CropState{true, r});
  engineCall(d.ctx, ModelErrorKind::Engine, "Cannot set the crop box", [&] {
    dropEmptyNameKeys(d.ctx, obj);
    pdf_obj *box = pdf_dict_put_array(d.ctx, obj, PDF_NAME(CropBox), 4);
    pdf_array_push_real(d.ctx, box, r.left / 65536.0);
    pdf_array_push_real(d.ctx, box, r.bottom / 65536.0);
    pdf_array_push_real(d.ctx, box, r.right / 65536.0);
    pdf_array_push_real(d.ctx, box, r.top / 65536.0);
  });
  d.cropSet[index_] = r;
  // The engine moves a changed page object into the document's update and
  // keeps a parsed copy of the original beside it: give those copies back as
  // a command goes through the pages, so that cropping every page of a large
  // document does not hold each page object twice.
  if (++d.changesSinceTrim >= kChangesBetweenTrims) {
    d.changesSinceTrim = 0;
    trimObjectCache(d.ctx, d.doc);
  }
}

FixedRect Page::bbox()
{
  PageWork work(doc_->impl().ctx);
  try {
    FixedRect box = measureBBox();
    if (work.stopped() == PageWork::Stop::None)
      return box;
  } catch (const ModelError &) {
    if (work.stopped() == PageWork::Stop::None)
      throw;
  }
  PageWork::Stop stop = work.stopped();
  if (stop == PageWork::Stop::Cancelled)
    throw ModelError(ModelErrorKind::Engine, overBudgetMessage(*this, stop));
  // Over budget: no measurable marks. The engine's memory is back to what it
  // was once the partial work is dropped.
  PageImpl *&pi = pageImplSlot(*this);
  if (pi && pi->list) {
    fz_drop_display_list(doc_->impl().ctx, pi->list);
    pi->list = nullptr;
  }
  doc_->note(overBudgetMessage(*this, stop) + " It is taken as having no marks.");
  return cropBox();
}

FixedRect Page::shownBox() const
{
  FixedRect media = mediaBox();
  FixedRect crop = cropBox();
  // Normalise the crop box as readers do, then clip it to the media box.
  FixedRect c;
  c.left = std::max(std::min(crop.left, crop.right), media.left);
  c.right = std::min(std::max(crop.left, crop.right), media.right);
  c.bottom = std::max(std::min(crop.bottom, crop.top), media.bottom);
  c.top = std::min(std::max(crop.bottom, crop.top), media.top);
  if (c.left >= c.right || c.bottom >= c.top)
    return media;
  return c;
}

void Page::notifyContentsDidChange()
{
  doc_->notifyPageChanged(index_);
}

Affine Affine::inverted() const
{
  double det = a * d - b * c;
  if (det == 0)
    return Affine{};
  Affine r;
  r.a = d / det;
  r.b = -b / det;
  r.c = -c / det;
  r.d = a / det;
  r.e = -(e * r.a + f * r.c);
  r.f = -(e * r.b + f * r.d);
  return r;
}

Affine Affine::then(const Affine &n) const
{
  Affine r;
  r.a = a * n.a + b * n.c;
  r.b = a * n.b + b * n.d;
  r.c = c * n.a + d * n.c;
  r.d = c * n.b + d * n.d;
  r.e = e * n.a + f * n.c + n.e;
  r.f = e * n.b + f * n.d + n.f;
  return r;
}

PageRaster Page::render(double zoom)
{
  if (!(zoom > 0) || !std::isfinite(zoom))
    throw ModelError(ModelErrorKind::Engine, "The zoom must be a positive number.");
  fz_display_list *list = pageDisplayList(*this);
  DocumentImpl &d = doc_->impl();
  FixedRect mf = mediaBox();
  double mx0 = mf.left / 65536.0, my0 = mf.bottom / 65536.0, mx1 = mf.right / 65536.0, my1 = mf.top / 65536.0;
  double W = (mx1 - mx0) * zoom, H = (my1 - my0) * zoom;
  int rot = rotate();
  if (rot % 90 != 0)
    rot = 0;

  PageRaster out;
  out.zoom = zoom;
  out.rotate = rot;
  // Unrotated: the media box's top-left corner at the origin, y downwards.
  Affine base{zoom, 0, 0, -zoom, -mx0 * zoom, my1 * zoom};
  Affine turn; // then turned clockwise by the page's rotation
  switch (rot) {
  case 90:
    turn = Affine{0, 1, -1, 0, H, 0};
    break;
  case 180:
    turn = Affine{-1, 0, 0, -1, W, H};
    break;
  case 270:
    turn = Affine{0, -1, 1, 0, 0, W};
    break;
  default:
    break;
  }
  out.pageToRaster = base.then(turn);
  out.rasterToPage = out.pageToRaster.inverted();
  double rw = (rot == 90 || rot == 270) ? H : W, rh = (rot == 90 || rot == 270) ? W : H;
  if (rw > 16384 || rh > 16384)
    throw ModelError(ModelErrorKind::Engine, "The page is too large to show at this zoom.");
  out.width = std::max(1, static_cast<int>(std::ceil(rw - 1e-6)));
  out.height = std::max(1, static_cast<int>(std::ceil(rh - 1e-6)));
  out.stride = out.width * 3;
  out.rgb.assign(static_cast<size_t>(out.stride) * static_cast<size_t>(out.height), 255);

  const Affine &t = out.pageToRaster;
  fz_matrix ctm = fz_make_matrix(static_cast<float>(t.a), static_cast<float>(t.b), static_cast<float>(t.c),
                                 static_cast<float>(t.d), static_cast<float>(t.e), static_cast<float>(t.f));
  fz_context *ctx = d.ctx;
  unsigned char *samples = out.rgb.data();
  PageWork work(ctx);
  fz_cookie *cookie = work.cookie();
  int w = out.width, h = out.height, stride = out.stride;
  try {
    engineCall(ctx, ModelErrorKind::Engine, "Cannot draw the page",
               [&] { drawList(ctx, list, ctm, fz_device_rgb(ctx), samples, w, h, stride, cookie); });
  } catch (const ModelError &) {
    if (work.stopped() == PageWork::Stop::None)
      throw;
  }
  if (PageWork::Stop stop = work.stopped(); stop != PageWork::Stop::None)
    throw ModelError(ModelErrorKind::Engine, overBudgetMessage(*this, stop));
  return out;
}

} // namespace folio::model
