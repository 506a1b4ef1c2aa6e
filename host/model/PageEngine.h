// PageEngine.h: the engine side of a Page, for the model's own sources.
#pragma once

#include "model/Engine.h"
#include "model/Page.h"

namespace folio::model {

// The page's engine data slot (null while not loaded).
PageImpl *&pageImplSlot(Page &page);
// The page loaded in the engine (loaded on demand, kept until released).
PageImpl &loadedPage(Page &page);
// The page's contents and annotations as a display list in page space
// (built on first use, kept while the page is loaded).
fz_display_list *pageDisplayList(Page &page);
// A new display list of `page`'s contents and annotations in page space,
// owned by the caller. Engine errors propagate (call it under engineCall).
fz_display_list *buildDisplayList(DocumentImpl &d, pdf_page *page, fz_cookie *cookie);
// Draws `list` under `ctm` into the caller's pixels: `w` x `h` pixels of
// colour space `cs` (no alpha), `stride` bytes a row, clipped to them; what
// is there already is painted over. Engine errors propagate (call it under
// engineCall); `cookie` may abort the run. With `cullGlyphs`, glyphs that
// cannot reach the pixels are not looked at (see CullDevice.h): for small
// areas of a page.
void drawList(fz_context *ctx, fz_display_list *list, fz_matrix ctm, fz_colorspace *cs,
              unsigned char *samples, int w, int h, int stride, fz_cookie *cookie, bool cullGlyphs = false);

} // namespace folio::model
