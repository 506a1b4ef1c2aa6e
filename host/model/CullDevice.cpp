// CullDevice.cpp: passing a display list on without the glyphs that cannot
// reach the area drawn (see CullDevice.h).
#include "model/CullDevice.h"

#include <algorithm>
#include <vector>

namespace folio::model {

namespace {

struct Cull {
  fz_device super;
  fz_device *target;
  fz_rect area;
};

fz_device *to(fz_device *dev)
{
  return reinterpret_cast<Cull *>(dev)->target;
}

// The glyph box of `font` in its own units (an em is 1), widened by an em on
// every side; empty when the font's glyphs have no reliable box.
fz_rect glyphReach(fz_context *ctx, fz_font *font)
{
  if (font->t3procs)
    return fz_empty_rect;
  fz_rect b = fz_font_bbox(ctx, font);
  if (fz_is_infinite_rect(b) || !(b.x0 > -100 && b.y0 > -100 && b.x1 < 100 && b.y1 < 100))
    return fz_empty_rect;
  b = fz_union_rect(b, fz_unit_rect);
  return fz_make_rect(b.x0 - 1, b.y0 - 1, b.x1 + 1, b.y1 + 1);
}

bool meets(const fz_rect &a, const fz_rect &b)
{
  return a.x0 <= b.x1 && b.x0 <= a.x1 && a.y0 <= b.y1 && b.y0 <= a.y1;
}

// The spans of `text` cut to the glyphs that may reach `area` under `ctm`,
// widened by `widen` device units (half a stroke). The cut spans share the
// glyph arrays of `text`; `keep` holds them. False when nothing is left out
// (draw `text` itself).
bool cutText(fz_context *ctx, const fz_text *text, fz_matrix ctm, fz_rect area, float widen,
             std::vector<fz_text_span> &keep)
{
  keep.clear();
  bool cut = false;
  for (const fz_text_span *span = text->head; span; span = span->next) {
    fz_rect reach = glyphReach(ctx, span->font);
    int first = 0, last = span->len - 1;
    if (!fz_is_empty_rect(reach) && span->len > 0) {
      // The box around a glyph's origin is the same for every glyph of the
      // span: only the origin moves.
      fz_matrix m = fz_concat(span->trm, ctm);
      m.e = m.f = 0;
      fz_rect box = fz_transform_rect(reach, m);
      box = fz_make_rect(box.x0 - widen, box.y0 - widen, box.x1 + widen, box.y1 + widen);
      auto inside = [&](const fz_text_item &it) {
        if (it.gid < 0)
          return false; // no glyph: nothing drawn
        fz_point o = fz_transform_point_xy(it.x, it.y, ctm);
        return meets(fz_make_rect(box.x0 + o.x, box.y0 + o.y, box.x1 + o.x, box.y1 + o.y), area);
      };
      while (first <= last && !inside(span->items[first]))
        ++first;
      while (last >= first && !inside(span->items[last]))
        --last;
    }
    if (first > 0 || last < span->len - 1)
      cut = true;
    if (first <= last) {
      fz_text_span s = *span;
      s.items = span->items + first;
      s.len = s.cap = last - first + 1;
      s.next = nullptr;
      keep.push_back(s);
    }
  }
  for (size_t i = 0; i + 1 < keep.size(); ++i)
    keep[i].next = &keep[i + 1];
  return cut;
}

// Runs `draw` with `text`, or with the glyphs of it that may reach the area.
template <class Draw>
void withCutText(fz_context *ctx, fz_device *dev, const fz_text *text, fz_matrix ctm, float widen,
                 Draw &&draw)
{
  thread_local std::vector<fz_text_span> spans;
  if (!cutText(ctx, text, ctm, reinterpret_cast<Cull *>(dev)->area, widen, spans)) {
    draw(text);
    return;
  }
  if (spans.empty())
    return;
  fz_text cut;
  cut.refs = 1;
  cut.head = &spans.front();
  cut.tail = &spans.back();
  draw(&cut);
}

float halfStroke(const fz_stroke_state *stroke, fz_matrix ctm)
{
  float w = stroke ? std::max(stroke->linewidth, 1.0f) : 1.0f;
  return w * fz_matrix_expansion(ctm) * (stroke ? std::max(stroke->miterlimit, 2.0f) : 2.0f);
}

void fillPath(fz_context *ctx, fz_device *dev, const fz_path *path, int eo, fz_matrix ctm, fz_colorspace *cs,
              const float *color, float alpha, fz_color_params cp)
{
  fz_fill_path(ctx, to(dev), path, eo, ctm, cs, color, alpha, cp);
}
void strokePath(fz_context *ctx, fz_device *dev, const fz_path *path, const fz_stroke_state *st,
                fz_matrix ctm, fz_colorspace *cs, const float *color, float alpha, fz_color_params cp)
{
  fz_stroke_path(ctx, to(dev), path, st, ctm, cs, color, alpha, cp);
}
void clipPath(fz_context *ctx, fz_device *dev, const fz_path *path, int eo, fz_matrix ctm, fz_rect sc)
{
  fz_clip_path(ctx, to(dev), path, eo, ctm, sc);
}
void clipStrokePath(fz_context *ctx, fz_device *dev, const fz_path *path, const fz_stroke_state *st,
                    fz_matrix ctm, fz_rect sc)
{
  fz_clip_stroke_path(ctx, to(dev), path, st, ctm, sc);
}
void fillText(fz_context *ctx, fz_device *dev, const fz_text *text, fz_matrix ctm, fz_colorspace *cs,
              const float *color, float alpha, fz_color_params cp)
{
  withCutText(ctx, dev, text, ctm, 1.0f,
              [&](const fz_text *t) { fz_fill_text(ctx, to(dev), t, ctm, cs, color, alpha, cp); });
}
void strokeText(fz_context *ctx, fz_device *dev, const fz_text *text, const fz_stroke_state *st,
                fz_matrix ctm, fz_colorspace *cs, const float *color, float alpha, fz_color_params cp)
{
  withCutText(ctx, dev, text, ctm, halfStroke(st, ctm),
              [&](const fz_text *t) { fz_stroke_text(ctx, to(dev), t, st, ctm, cs, color, alpha, cp); });
}
// Clips keep every glyph: what a clip leaves out outside the area does not
// matter, but a clip that is all outside must still clip everything away.
void clipText(fz_context *ctx, fz_device *dev, const fz_text *text, fz_matrix ctm, fz_rect sc)
{
  fz_clip_text(ctx, to(dev), text, ctm, sc);
}
void clipStrokeText(fz_context *ctx, fz_device *dev, const fz_text *text, const fz_stroke_state *st,
                    fz_matrix ctm, fz_rect sc)
{
  fz_clip_stroke_text(ctx, to(dev), text, st, ctm, sc);
}
void ignoreText(fz_context *ctx, fz_device *dev, const fz_text *text, fz_matrix ctm)
{
  fz_ignore_text(ctx, to(dev), text, ctm);
}
void fillShade(fz_context *ctx, fz_device *dev, fz_shade *shd, fz_matrix ctm, float alpha, fz_color_params cp)
{
  fz_fill_shade(ctx, to(dev), shd, ctm, alpha, cp);
}
void fillImage(fz_context *ctx, fz_device *dev, fz_image *img, fz_matrix ctm, float alpha, fz_color_params cp)
{
  fz_fill_image(ctx, to(dev), img, ctm, alpha, cp);
}
void fillImageMask(fz_context *ctx, fz_device *dev, fz_image *img, fz_matrix ctm, fz_colorspace *cs,
                   const float *color, float alpha, fz_color_params cp)
{
  fz_fill_image_mask(ctx, to(dev), img, ctm, cs, color, alpha, cp);
}
void clipImageMask(fz_context *ctx, fz_device *dev, fz_image *img, fz_matrix ctm, fz_rect sc)
{
  fz_clip_image_mask(ctx, to(dev), img, ctm, sc);
}
void popClip(fz_context *ctx, fz_device *dev)
{
  fz_pop_clip(ctx, to(dev));
}
void beginMask(fz_context *ctx, fz_device *dev, fz_rect area, int lum, fz_colorspace *cs, const float *bc,
               fz_color_params cp)
{
  fz_begin_mask(ctx, to(dev), area, lum, cs, bc, cp);
}
void endMask(fz_context *ctx, fz_device *dev)
{
  fz_end_mask(ctx, to(dev));
}
void beginGroup(fz_context *ctx, fz_device *dev, fz_rect area, fz_colorspace *cs, int isolated, int knockout,
                int blend, float alpha)
{
  fz_begin_group(ctx, to(dev), area, cs, isolated, knockout, blend, alpha);
}
void endGroup(fz_context *ctx, fz_device *dev)
{
  fz_end_group(ctx, to(dev));
}
int beginTile(fz_context *ctx, fz_device *dev, fz_rect area, fz_rect view, float xstep, float ystep,
              fz_matrix ctm, int id)
{
  return fz_begin_tile_id(ctx, to(dev), area, view, xstep, ystep, ctm, id);
}
void endTile(fz_context *ctx, fz_device *dev)
{
  fz_end_tile(ctx, to(dev));
}
void renderFlags(fz_context *ctx, fz_device *dev, int set, int clear)
{
  fz_render_flags(ctx, to(dev), set, clear);
}
void setDefaultColorspaces(fz_context *ctx, fz_device *dev, fz_default_colorspaces *dcs)
{
  fz_set_default_colorspaces(ctx, to(dev), dcs);
}
void beginLayer(fz_context *ctx, fz_device *dev, const char *name)
{
  fz_begin_layer(ctx, to(dev), name);
}
void endLayer(fz_context *ctx, fz_device *dev)
{
  fz_end_layer(ctx, to(dev));
}

} // namespace

fz_device *newCullDevice(fz_context *ctx, fz_device *target, fz_rect area)
{
  Cull *d = fz_new_derived_device(ctx, Cull);
  d->target = target;
  d->area = area;
  fz_device *dev = &d->super;
  dev->hints = target->hints;
  dev->flags = target->flags;
  dev->fill_path = fillPath;
  dev->stroke_path = strokePath;
  dev->clip_path = clipPath;
  dev->clip_stroke_path = clipStrokePath;
  dev->fill_text = fillText;
  dev->stroke_text = strokeText;
  dev->clip_text = clipText;
  dev->clip_stroke_text = clipStrokeText;
  dev->ignore_text = ignoreText;
  dev->fill_shade = fillShade;
  dev->fill_image = fillImage;
  dev->fill_image_mask = fillImageMask;
  dev->clip_image_mask = clipImageMask;
  dev->pop_clip = popClip;
  dev->begin_mask = beginMask;
  dev->end_mask = endMask;
  dev->begin_group = beginGroup;
  dev->end_group = endGroup;
  dev->begin_tile = beginTile;
  dev->end_tile = endTile;
  dev->render_flags = renderFlags;
  dev->set_default_colorspaces = setDefaultColorspaces;
  dev->begin_layer = beginLayer;
  dev->end_layer = endLayer;
  return dev;
}

} // namespace folio::model
