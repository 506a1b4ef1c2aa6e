// InkBox.cpp: the bounding box of the marks painted on a page.
//
// Two steps, both on the page's display list (page space):
//  1. bounds: the bounds of every painting operation whose colour is not
//     white (white paint is not content), each clipped by the clips in force.
//     Paths are bounded by the true extremes of their segments, widened for
//     strokes by half the line width (more for square caps and mitred joins);
//     text by its glyph boxes. These bound the ink but are not exact;
//  2. each edge of their union is moved onto the ink by rendering, in grey at
//     kFine pixels per point, a thin strip along it that spans only the marks
//     reaching into it, and finding the outermost pixel that is not white.
//     The coverage of that pixel, against the colour of the ink next to it
//     (so that grey, coloured and pale inks are placed as well as black),
//     places the edge inside it; a corner or point (a short run of ink), a
//     line too thin to show its colour, a pale ink and an edge painted over
//     whole pixels are looked at again, finer. A strip that
//     stays white (white paint over ink, or generous bounds) moves the search
//     inwards with a deeper strip.
// The result is clipped to the media box.

#include "model/InkBox.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "model/Engine.h"
#include "model/PageEngine.h"

namespace folio::model {

namespace {

constexpr double kFine = 4.0;  // pixels per point of the edge strips
constexpr double kStrip = 4.0; // points: width of the first strip along an edge

// ---- step 1: the loose box of the non-white paint ------------------------------

constexpr int kMaxClips = 256;
constexpr int kMaxTiles = 16;

struct InkDevice {
  fz_device super;
  fz_rect ink;
  std::vector<fz_rect> *marks;   // the clipped bounds of each painting operation
  std::vector<fz_rect> *snapped; // those of them the renderer may paint over whole pixels
  int marksLost;                 // some bounds could not be kept: every strip spans the whole box
  fz_rect clip[kMaxClips];
  int depth;
  int overflow; // clips beyond kMaxClips: not narrowed, only counted
  int inMask;   // painting inside a soft mask's definition is not ink
  fz_rect tileArea[kMaxTiles];
  int tileInk[kMaxTiles];
  int tiles;
};

fz_rect currentClip(InkDevice *d)
{
  return d->depth ? d->clip[d->depth - 1] : fz_infinite_rect;
}

void pushClip(InkDevice *d, fz_rect r)
{
  if (d->depth < kMaxClips)
    d->clip[d->depth++] = fz_intersect_rect(currentClip(d), r);
  else
    d->overflow++;
}

// `snapped`: images and shadings, which the renderer paints over whole
// pixels; so it does with anything cut by a clip (a rectangular clip is a
// scissor rounded outwards to whole pixels).
void addInk(InkDevice *d, fz_rect r, bool snapped = false)
{
  if (d->inMask)
    return;
  if (d->tiles) {
    d->tileInk[d->tiles - 1] = 1;
    return;
  }
  fz_rect in = fz_intersect_rect(r, currentClip(d));
  if (fz_is_empty_rect(in))
    return;
  snapped = snapped || in.x0 != r.x0 || in.y0 != r.y0 || in.x1 != r.x1 || in.y1 != r.y1;
  d->ink = fz_union_rect(d->ink, in);
  try {
    d->marks->push_back(in);
    if (snapped)
      d->snapped->push_back(in);
  } catch (...) {
    d->marksLost = 1;
  }
}

// A colour that leaves the page white: white in any space, or invisible.
bool isWhite(fz_context *ctx, fz_colorspace *cs, const float *color, float alpha, fz_color_params params)
{
  if (alpha <= 0)
    return true;
  if (!cs || !color)
    return false;
  float grey = 0;
  fz_convert_color(ctx, cs, color, fz_device_gray(ctx), &grey, nullptr, params);
  return grey * 255.0f >= 254.5f;
}

InkDevice *ink(fz_device *dev)
{
  return reinterpret_cast<InkDevice *>(dev);
}

// Tight bounds of a path under `ctm`: the extremes of every segment (curves
// by their true extremes, not their control points), and whether some
// subpath has a join (two segments, or a closed one).
struct PathBounds {
  fz_matrix ctm;
  fz_rect r;
  fz_point cur, start;
  int segments;
  int joins;
};

void addPoint(PathBounds *b, fz_point p)
{
  b->r.x0 = std::min(b->r.x0, p.x);
  b->r.y0 = std::min(b->r.y0, p.y);
  b->r.x1 = std::max(b->r.x1, p.x);
  b->r.y1 = std::max(b->r.y1, p.y);
}

// Extremes of one coordinate of a cubic Bezier.
void cubicRange(double a, double b, double c, double d, float &lo, float &hi)
{
  double qa = -a + 3 * b - 3 * c + d, qb = 2 * (a - 2 * b + c), qc = b - a;
  double roots[2];
  int n = 0;
  if (std::fabs(qa) < 1e-9) {
    if (std::fabs(qb) > 1e-12)
      roots[n++] = -qc / qb;
  } else {
    double disc = qb * qb - 4 * qa * qc;
    if (disc >= 0) {
      double sq = std::sqrt(disc);
      roots[n++] = (-qb + sq) / (2 * qa);
      roots[n++] = (-qb - sq) / (2 * qa);
    }
  }
  for (int i = 0; i < n; ++i) {
    double t = roots[i];
    if (!(t > 0 && t < 1))
      continue;
    double u = 1 - t;
    double v = u * u * u * a + 3 * u * u * t * b + 3 * u * t * t * c + t * t * t * d;
    lo = std::min(lo, static_cast<float>(v));
    hi = std::max(hi, static_cast<float>(v));
  }
}

void pbMoveTo(fz_context *, void *arg, float x, float y)
{
  auto *b = static_cast<PathBounds *>(arg);
  b->cur = b->start = fz_transform_point_xy(x, y, b->ctm);
  b->segments = 0;
  addPoint(b, b->cur);
}

void pbLineTo(fz_context *, void *arg, float x, float y)
{
  auto *b = static_cast<PathBounds *>(arg);
  b->cur = fz_transform_point_xy(x, y, b->ctm);
  addPoint(b, b->cur);
  if (++b->segments > 1)
    b->joins = 1;
}

void pbCurveTo(fz_context *, void *arg, float x1, float y1, float x2, float y2, float x3, float y3)
{
  auto *b = static_cast<PathBounds *>(arg);
  fz_point p0 = b->cur, p1 = fz_transform_point_xy(x1, y1, b->ctm),
           p2 = fz_transform_point_xy(x2, y2, b->ctm), p3 = fz_transform_point_xy(x3, y3, b->ctm);
  addPoint(b, p3);
  cubicRange(p0.x, p1.x, p2.x, p3.x, b->r.x0, b->r.x1);
  cubicRange(p0.y, p1.y, p2.y, p3.y, b->r.y0, b->r.y1);
  b->cur = p3;
  if (++b->segments > 1)
    b->joins = 1;
}

void pbClose(fz_context *, void *arg)
{
  auto *b = static_cast<PathBounds *>(arg);
  b->cur = b->start;
  b->joins = 1;
}

// The largest factor by which `m` stretches a length.
double maxStretch(fz_matrix m)
{
  double s = double(m.a) * m.a + double(m.b) * m.b + double(m.c) * m.c + double(m.d) * m.d;
  double det = double(m.a) * m.d - double(m.b) * m.c;
  double disc = std::max(0.0, s * s - 4 * det * det);
  return std::sqrt((s + std::sqrt(disc)) / 2);
}

fz_rect tightPathBounds(fz_context *ctx, const fz_path *path, const fz_stroke_state *stroke, fz_matrix ctm)
{
  static const fz_path_walker walker = {pbMoveTo, pbLineTo, pbCurveTo, pbClose,
                                        nullptr,  nullptr,  nullptr,   nullptr};
  PathBounds b;
  b.ctm = ctm;
  b.r = fz_make_rect(FLT_MAX, FLT_MAX, -FLT_MAX, -FLT_MAX);
  b.cur = b.start = fz_make_point(0, 0);
  b.segments = 0;
  b.joins = 0;
  fz_walk_path(ctx, path, &walker, &b);
  if (b.r.x0 > b.r.x1)
    return fz_empty_rect;
  if (stroke) {
    // Half the width, at least half a point for hairlines (drawn a pixel
    // wide), stretched by the transform; square caps reach sqrt 2 further and
    // mitred joins up to the miter limit.
    double half = std::max<double>(stroke->linewidth, 0.5) / 2 * maxStretch(ctm);
    double factor = 1;
    if (stroke->start_cap == FZ_LINECAP_SQUARE || stroke->end_cap == FZ_LINECAP_SQUARE ||
        stroke->dash_cap == FZ_LINECAP_SQUARE)
      factor = std::sqrt(2.0);
    if (b.joins && (stroke->linejoin == FZ_LINEJOIN_MITER || stroke->linejoin == FZ_LINEJOIN_MITER_XPS))
      factor = std::max<double>(factor, std::max<double>(stroke->miterlimit, std::sqrt(2.0)));
    float e = static_cast<float>(half * factor);
    b.r = fz_make_rect(b.r.x0 - e, b.r.y0 - e, b.r.x1 + e, b.r.y1 + e);
  }
  return b.r;
}

void fillPath(fz_context *ctx, fz_device *dev, const fz_path *path, int, fz_matrix ctm, fz_colorspace *cs,
              const float *color, float alpha, fz_color_params params)
{
  if (!isWhite(ctx, cs, color, alpha, params))
    addInk(ink(dev), tightPathBounds(ctx, path, nullptr, ctm));
}

void strokePath(fz_context *ctx, fz_device *dev, const fz_path *path, const fz_stroke_state *stroke,
                fz_matrix ctm, fz_colorspace *cs, const float *color, float alpha, fz_color_params params)
{
  if (!isWhite(ctx, cs, color, alpha, params))
    addInk(ink(dev), tightPathBounds(ctx, path, stroke, ctm));
}

void clipPath(fz_context *ctx, fz_device *dev, const fz_path *path, int, fz_matrix ctm, fz_rect)
{
  pushClip(ink(dev), fz_bound_path(ctx, path, nullptr, ctm));
}

void clipStrokePath(fz_context *ctx, fz_device *dev, const fz_path *path, const fz_stroke_state *stroke,
                    fz_matrix ctm, fz_rect)
{
  pushClip(ink(dev), fz_bound_path(ctx, path, stroke, ctm));
}

void fillText(fz_context *ctx, fz_device *dev, const fz_text *text, fz_matrix ctm, fz_colorspace *cs,
              const float *color, float alpha, fz_color_params params)
{
  if (!isWhite(ctx, cs, color, alpha, params))
    addInk(ink(dev), fz_bound_text(ctx, text, nullptr, ctm));
}

void strokeText(fz_context *ctx, fz_device *dev, const fz_text *text, const fz_stroke_state *stroke,
                fz_matrix ctm, fz_colorspace *cs, const float *color, float alpha, fz_color_params params)
{
  if (!isWhite(ctx, cs, color, alpha, params))
    addInk(ink(dev), fz_bound_text(ctx, text, stroke, ctm));
}

void clipText(fz_context *ctx, fz_device *dev, const fz_text *text, fz_matrix ctm, fz_rect)
{
  pushClip(ink(dev), fz_bound_text(ctx, text, nullptr, ctm));
}

void clipStrokeText(fz_context *ctx, fz_device *dev, const fz_text *text, const fz_stroke_state *stroke,
                    fz_matrix ctm, fz_rect)
{
  pushClip(ink(dev), fz_bound_text(ctx, text, stroke, ctm));
}

void fillShade(fz_context *ctx, fz_device *dev, fz_shade *shade, fz_matrix ctm, float alpha, fz_color_params)
{
  if (alpha > 0)
    addInk(ink(dev), fz_bound_shade(ctx, shade, ctm), true);
}

void fillImage(fz_context *, fz_device *dev, fz_image *, fz_matrix ctm, float alpha, fz_color_params)
{
  if (alpha > 0)
    addInk(ink(dev), fz_transform_rect(fz_unit_rect, ctm), true);
}

void fillImageMask(fz_context *ctx, fz_device *dev, fz_image *, fz_matrix ctm, fz_colorspace *cs,
                   const float *color, float alpha, fz_color_params params)
{
  if (!isWhite(ctx, cs, color, alpha, params))
    addInk(ink(dev), fz_transform_rect(fz_unit_rect, ctm), true);
}

void clipImageMask(fz_context *, fz_device *dev, fz_image *, fz_matrix ctm, fz_rect)
{
  pushClip(ink(dev), fz_transform_rect(fz_unit_rect, ctm));
}

void popClip(fz_context *, fz_device *dev)
{
  InkDevice *d = ink(dev);
  if (d->overflow)
    d->overflow--;
  else if (d->depth)
    d->depth--;
}

void beginMask(fz_context *, fz_device *dev, fz_rect area, int, fz_colorspace *, const float *,
               fz_color_params)
{
  InkDevice *d = ink(dev);
  d->inMask++;
  // The mask acts as a clip from its end to the matching pop_clip.
  pushClip(d, area);
}

void endMask(fz_context *, fz_device *dev)
{
  InkDevice *d = ink(dev);
  if (d->inMask)
    d->inMask--;
}

int beginTile(fz_context *, fz_device *dev, fz_rect area, fz_rect, float, float, fz_matrix ctm, int)
{
  InkDevice *d = ink(dev);
  if (d->tiles < kMaxTiles) {
    d->tileArea[d->tiles] = fz_transform_rect(area, ctm);
    d->tileInk[d->tiles] = 0;
  }
  d->tiles++;
  return 0;
}

void endTile(fz_context *, fz_device *dev)
{
  InkDevice *d = ink(dev);
  if (!d->tiles)
    return;
  d->tiles--;
  if (d->tiles < kMaxTiles && d->tileInk[d->tiles]) {
    fz_rect area = d->tileArea[d->tiles];
    addInk(d, area);
  }
}

fz_rect looseInk(fz_context *ctx, fz_display_list *list, fz_cookie *cookie, std::vector<fz_rect> &marks,
                 std::vector<fz_rect> &snapped, int &marksLost)
{
  marks.clear();
  snapped.clear();
  marksLost = 0;
  fz_rect out = fz_empty_rect;
  fz_device *dev = nullptr;
  fz_var(dev);
  fz_try(ctx)
  {
    InkDevice *d = fz_new_derived_device(ctx, InkDevice);
    dev = &d->super;
    d->ink = fz_empty_rect;
    d->marks = &marks;
    d->snapped = &snapped;
    d->marksLost = 0;
    d->depth = d->overflow = d->inMask = d->tiles = 0;
    dev->fill_path = fillPath;
    dev->stroke_path = strokePath;
    dev->clip_path = clipPath;
    dev->clip_stroke_path = clipStrokePath;
    dev->fill_text = fillText;
    dev->stroke_text = strokeText;
    dev->clip_text = clipText;
    dev->clip_stroke_text = clipStrokeText;
    dev->fill_shade = fillShade;
    dev->fill_image = fillImage;
    dev->fill_image_mask = fillImageMask;
    dev->clip_image_mask = clipImageMask;
    dev->pop_clip = popClip;
    dev->begin_mask = beginMask;
    dev->end_mask = endMask;
    dev->begin_tile = beginTile;
    dev->end_tile = endTile;
    fz_run_display_list(ctx, list, dev, fz_identity, fz_infinite_rect, cookie);
    fz_close_device(ctx, dev);
    out = d->ink;
  }
  fz_always(ctx)
  {
    fz_drop_device(ctx, dev);
  }
  fz_catch(ctx)
  {
    fz_rethrow(ctx);
  }
  return out;
}

// ---- step 2: edges from grey renders -------------------------------------------

// A grey render of page-space area [x0, x1] x [y0, y1], at `s` pixels per
// point, on a grid aligned to multiples of 1/s: pixel (i, j) covers
// x in [gx + i/s, gx + (i+1)/s) and y in (gy - (j+1)/s, gy - j/s]. The
// pixels live in a buffer reused from render to render.
struct Grey {
  double gx = 0, gy = 0, s = 1;
  int w = 0, h = 0;
  std::vector<unsigned char> px;
  unsigned char at(int i, int j) const { return px[static_cast<size_t>(j) * w + i]; }
};

void renderGrey(fz_context *ctx, fz_display_list *list, fz_cookie *cookie, double x0, double y0, double x1,
                double y1, double s, Grey &g)
{
  double i0 = std::floor(x0 * s + 1e-6), i1 = std::ceil(x1 * s - 1e-6);
  double j0 = std::floor(y0 * s + 1e-6), j1 = std::ceil(y1 * s - 1e-6);
  g.s = s;
  g.gx = i0 / s;
  g.gy = j1 / s;
  g.w = std::max(1, static_cast<int>(i1 - i0));
  g.h = std::max(1, static_cast<int>(j1 - j0));
  size_t n = static_cast<size_t>(g.w) * g.h;
  if (g.px.size() < n)
    g.px.resize(n);
  std::fill(g.px.begin(), g.px.begin() + static_cast<std::ptrdiff_t>(n), 255);
  fz_matrix ctm = fz_make_matrix(static_cast<float>(s), 0, 0, static_cast<float>(-s), static_cast<float>(-i0),
                                 static_cast<float>(j1));
  drawList(ctx, list, ctm, fz_device_gray(ctx), g.px.data(), g.w, g.h, g.w, cookie, true);
}

enum Edge { Left, Right, Bottom, Top };

// The close look at an edge pixel is this much finer; kZoomFine for an edge
// painted over whole pixels, which is placed only to a pixel, and for a very
// pale ink. (Finer looks
// are costly: glyphs then exceed the engine's glyph cache and are drawn
// from their outlines, every glyph of a line, on every look.)
constexpr double kZoom = 4;
constexpr double kZoomFine = 8;
constexpr int kCloseRun = 4; // pixels: longer runs of ink along an edge are placed by coverage

struct Scratch {
  Grey strip, close;
  std::vector<fz_rect> marks, snapped; // from step 1
  bool marksLost = false;
};

// Whether the pixel at line `at`, position `k` of `g` may be painted over
// whole pixels (see addInk).
bool maySnap(const Scratch &sc, const Grey &g, Edge e, int at, int k)
{
  if (sc.marksLost)
    return true;
  int i = (e == Left || e == Right) ? at : k, j = (e == Left || e == Right) ? k : at;
  fz_rect px = fz_make_rect(static_cast<float>(g.gx + i / g.s), static_cast<float>(g.gy - (j + 1) / g.s),
                            static_cast<float>(g.gx + (i + 1) / g.s), static_cast<float>(g.gy - j / g.s));
  for (const fz_rect &m : sc.snapped)
    if (!fz_is_empty_rect(fz_intersect_rect(m, px)))
      return true;
  return false;
}

inline bool allWhite(const unsigned char *p, int n)
{
  int k = 0;
  for (; k + 8 <= n; k += 8) {
    uint64_t v;
    std::memcpy(&v, p + k, 8);
    if (v != ~uint64_t(0))
      return false;
  }
  for (; k < n; ++k)
    if (p[k] != 255)
      return false;
  return true;
}

// The outermost line (column for Left/Right, row for Bottom/Top) of `g` that
// is not white: its index and the run [first, last] of non-white pixels along it.
bool outermost(const Grey &g, Edge e, int &at, int &first, int &last)
{
  at = -1;
  if (e == Left || e == Right) {
    // the extreme column over all rows that are not white
    for (int j = 0; j < g.h; ++j) {
      const unsigned char *row = &g.px[static_cast<size_t>(j) * g.w];
      if (allWhite(row, g.w))
        continue;
      if (e == Left) {
        int lim = at < 0 ? g.w : at;
        for (int i = 0; i < lim; ++i)
          if (row[i] != 255) {
            at = i;
            break;
          }
      } else {
        for (int i = g.w - 1; i > at; --i)
          if (row[i] != 255) {
            at = i;
            break;
          }
      }
    }
    if (at < 0)
      return false;
    first = last = -1;
    for (int j = 0; j < g.h; ++j)
      if (g.at(at, j) != 255) {
        if (first < 0)
          first = j;
        last = j;
      }
    return true;
  }
  for (int k = 0; k < g.h; ++k) {
    int j = e == Top ? k : g.h - 1 - k;
    const unsigned char *row = &g.px[static_cast<size_t>(j) * g.w];
    if (allWhite(row, g.w))
      continue;
    at = j;
    first = last = -1;
    for (int i = 0; i < g.w; ++i)
      if (row[i] != 255) {
        if (first < 0)
          first = i;
        last = i;
      }
    return true;
  }
  return false;
}

// Pixel `k` along line `at` of `g`, `d` lines inwards from it (towards the
// inside of the ink); -1 outside the render.
int inward(const Grey &g, Edge e, int at, int k, int d)
{
  int line = (e == Left || e == Top) ? at + d : at - d;
  if (e == Left || e == Right)
    return line >= 0 && line < g.w ? g.at(line, k) : -1;
  return line >= 0 && line < g.h ? g.at(k, line) : -1;
}

constexpr int kPlateau = 3; // grey levels: two inner pixels this close show the ink's own colour
// Ink lighter than 255 - kPale gives few grey levels to place an edge by:
// it is looked at closely; lighter than 255 - kVeryPale, at kZoomFine.
constexpr int kPale = 64;
constexpr int kVeryPale = 12;
constexpr double kSlack = 1.0 / 16; // of a pixel: coverages this close show the same edge
constexpr double kFull = 0.98;      // coverage from which an edge pixel counts as wholly covered

// How much of the edge pixel `v` the ink covers. Its colour is the ink's
// next to it: the two pixels inwards, when they agree (a plateau: the ink is
// at least two pixels deep there). Without a plateau (a line or stem thinner
// than two pixels) the ink is taken as black, which places the edge inside
// the pixel and is marked unsure; so is a pale ink, whose few grey levels
// place it coarsely.
double coverage(const Grey &g, Edge e, int at, int k, bool &sure, bool &pale)
{
  int v = inward(g, e, at, k, 0);
  int v1 = inward(g, e, at, k, 1), v2 = inward(g, e, at, k, 2);
  sure = pale = false;
  if (v1 >= 0 && v2 >= 0 && v1 < 255 && v2 < 255 && std::abs(v1 - v2) <= kPlateau) {
    int ink = std::min(v1, v2);
    sure = 255 - ink >= kPale;
    pale = 255 - ink < kVeryPale;
    return std::min(1.0, (255.0 - v) / (255.0 - ink));
  }
  return (255.0 - v) / 255.0;
}

// The covered fraction of the outermost line `at` of `g` (the largest among
// its pixels in [first, last]) and the pixel it was found at. `sure` when it
// comes from an ink whose colour and depth are known; otherwise the darkest
// pixel is chosen, to be looked at more closely. `pale` when some pixel's ink
// is very pale.
double lineCoverage(const Grey &g, Edge e, int at, int first, int last, int &where, bool &sure, bool &pale)
{
  double best = -1, darkCover = -1;
  int dark = first;
  bool darkPale = false;
  for (int k = first; k <= last; ++k) {
    bool s, p;
    double c = coverage(g, e, at, k, s, p);
    if (s && c > best) {
      best = c;
      where = k;
    }
    if (!s && c > darkCover) {
      darkCover = c;
      dark = k;
      darkPale = p;
    }
  }
  // An unsure pixel's coverage is a lower bound: one that already covers
  // more than the sure ones may lie further out, and is looked at closely.
  // A pale one must cover clearly more: a row that the ink only grazes, pale
  // for that, shows the same edge as the rows it covers, give or take a grey
  // level.
  sure = best >= 0 && best + (darkPale ? kSlack : 0) >= darkCover;
  pale = !sure && darkPale;
  if (!sure) {
    where = dark;
    return darkCover;
  }
  return best;
}

// The page-space position of the ink edge within line `at` of `g`, placed
// inside the line by the covered fraction `cover` of its pixel (exact for
// straight edges, never off by a whole pixel).
double placeEdge(const Grey &g, Edge e, int at, double cover)
{
  switch (e) {
  case Left:
    return g.gx + (at + 1 - cover) / g.s;
  case Right:
    return g.gx + (at + cover) / g.s;
  case Top:
    return g.gy - (at + 1 - cover) / g.s;
  default:
    return g.gy - (at + cover) / g.s;
  }
}

// The ink edge inside a grey render, in page space; false when all white.
// A short run of ink along the edge (a corner, a point) covers its pixels
// only partly, and an ink too thin or too pale to show its own colour gives
// no sure coverage: that stretch is rendered again kZoom times finer to place
// the edge within a fraction of a pixel, with two pixels inwards (for the
// ink's colour) and one outwards (a pale ink covering little of a pixel
// leaves it white).
bool edgeIn(fz_context *ctx, fz_display_list *list, fz_cookie *cookie, Scratch &sc, const Grey &g, Edge e,
            double &out)
{
  int at, first, last, where = 0;
  bool sure, pale;
  if (!outermost(g, e, at, first, last))
    return false;
  double cover = lineCoverage(g, e, at, first, last, where, sure, pale);
  out = placeEdge(g, e, at, cover);
  // A wholly covered edge pixel of a mark painted over whole pixels (see
  // addInk) may lie past its true edge.
  bool snapped = cover >= kFull && maySnap(sc, g, e, at, where);
  if (sure && !snapped && last - first + 1 > kCloseRun)
    return true;
  if (last - first + 1 > kCloseRun) {
    // a long edge without a sure pixel: around the pixel chosen
    first = std::max(first, where - 2);
    last = std::min(last, where + 2);
  }
  double x0, x1, y0, y1;
  switch (e) {
  case Left:
  case Right:
    x0 = g.gx + (e == Left ? at - 1 : at - 2) / g.s;
    x1 = g.gx + (e == Left ? at + 3 : at + 2) / g.s;
    y1 = g.gy - first / g.s;
    y0 = g.gy - (last + 1) / g.s;
    break;
  default:
    y1 = g.gy - (e == Top ? at - 1 : at - 2) / g.s;
    y0 = g.gy - (e == Top ? at + 3 : at + 2) / g.s;
    x0 = g.gx + first / g.s;
    x1 = g.gx + (last + 1) / g.s;
    break;
  }
  renderGrey(ctx, list, cookie, x0, y0, x1, y1, g.s * (snapped || pale ? kZoomFine : kZoom), sc.close);
  int cat, cfirst, clast, cwhere;
  bool csure, cpale;
  if (outermost(sc.close, e, cat, cfirst, clast))
    out = placeEdge(sc.close, e, cat, lineCoverage(sc.close, e, cat, cfirst, clast, cwhere, csure, cpale));
  return true;
}

// Searches edge `e` of the area `a` from its side inwards. Each step renders
// a strip `width` points deep along that side, spanning (across the edge)
// only the bounds of the marks that reach into it; when it is white (white
// paint over ink, or bounds wider than the ink) the search moves on inwards
// with a strip twice as deep.
bool findEdge(fz_context *ctx, fz_display_list *list, fz_cookie *cookie, Scratch &sc, bool useMarks,
              fz_rect a, Edge e, double &at)
{
  double width = kStrip;
  double pixel = 1 / kFine;
  bool across = e == Left || e == Right; // the strip is a column band
  for (;;) {
    if (fz_is_empty_rect(a))
      return false;
    fz_rect strip = a;
    switch (e) {
    case Left:
      strip.x1 = static_cast<float>(std::min<double>(a.x0 + width, a.x1));
      break;
    case Right:
      strip.x0 = static_cast<float>(std::max<double>(a.x1 - width, a.x0));
      break;
    case Bottom:
      strip.y1 = static_cast<float>(std::min<double>(a.y0 + width, a.y1));
      break;
    case Top:
      strip.y0 = static_cast<float>(std::max<double>(a.y1 - width, a.y0));
      break;
    }
    bool last = strip.x0 <= a.x0 && strip.x1 >= a.x1 && strip.y0 <= a.y0 && strip.y1 >= a.y1;
    fz_rect span = strip;
    if (useMarks) {
      // Only the marks that reach into the strip can put ink in it.
      fz_rect reach = fz_empty_rect;
      for (const fz_rect &m : sc.marks) {
        fz_rect r = fz_intersect_rect(m, strip);
        if (!fz_is_empty_rect(r))
          reach = fz_union_rect(reach, r);
      }
      span = reach;
    }
    if (!fz_is_empty_rect(span)) {
      if (across) {
        span.x0 = strip.x0;
        span.x1 = strip.x1;
      } else {
        span.y0 = strip.y0;
        span.y1 = strip.y1;
      }
      renderGrey(ctx, list, cookie, span.x0, span.y0, span.x1, span.y1, kFine, sc.strip);
      if (edgeIn(ctx, list, cookie, sc, sc.strip, e, at))
        return true;
    }
    if (last)
      return false;
    // Move inwards: the next strip starts a pixel before this one ended.
    switch (e) {
    case Left:
      a.x0 = static_cast<float>(strip.x1 - pixel);
      break;
    case Right:
      a.x1 = static_cast<float>(strip.x0 + pixel);
      break;
    case Bottom:
      a.y0 = static_cast<float>(strip.y1 - pixel);
      break;
    case Top:
      a.y1 = static_cast<float>(strip.y0 + pixel);
      break;
    }
    width *= 2;
  }
}

// Edges of the ink inside `a`; false when there is none.
bool findEdges(fz_context *ctx, fz_display_list *list, fz_cookie *cookie, Scratch &sc, bool useMarks,
               const fz_rect &a, fz_rect &out)
{
  double l, r, b, t;
  if (!findEdge(ctx, list, cookie, sc, useMarks, a, Left, l) ||
      !findEdge(ctx, list, cookie, sc, useMarks, a, Right, r))
    return false;
  // Top and bottom are searched only between the ink's left and right edges
  // (one pixel wider, for the pixels those edges lie in).
  double pixel = 1 / kFine;
  fz_rect band = a;
  band.x0 = static_cast<float>(std::max<double>(a.x0, l - pixel));
  band.x1 = static_cast<float>(std::min<double>(a.x1, r + pixel));
  if (!findEdge(ctx, list, cookie, sc, useMarks, band, Bottom, b) ||
      !findEdge(ctx, list, cookie, sc, useMarks, band, Top, t))
    return false;
  out = fz_make_rect(static_cast<float>(l), static_cast<float>(b), static_cast<float>(r),
                     static_cast<float>(t));
  return true;
}

} // namespace

// The ink of `list` within `media`, by the two steps above; false for a page
// without marks. Engine errors propagate; every run of the list gets `cookie`.
bool measureInk(fz_context *ctx, fz_display_list *list, fz_rect media, fz_cookie *cookie, fz_rect &box)
{
  static thread_local Scratch sc; // pixel buffers reused from page to page
  int marksLost = 0;
  fz_rect loose = fz_intersect_rect(looseInk(ctx, list, cookie, sc.marks, sc.snapped, marksLost), media);
  sc.marksLost = marksLost != 0;
  if (fz_is_empty_rect(loose) || !findEdges(ctx, list, cookie, sc, !marksLost, loose, box))
    return false;
  box = fz_intersect_rect(box, media);
  return !fz_is_empty_rect(box);
}

} // namespace folio::model
