// InkBox.h: the box of the marks a page's display list paints, for the
// model's own sources (the engine side of Page::bbox).
#pragma once

#include <mupdf/fitz.h>

namespace folio::model {

// The bounding box of the ink `list` paints (page space, points), within
// `media`: the bounds of every painting operation that is not white, each
// edge then placed on the ink by rendering a thin strip along it. Writes the
// box to `box` and answers true; answers false for a list that paints no ink
// inside `media` (`box` then means nothing). Every run of the
// list gets `cookie` (it may abort them). Engine errors propagate by the
// engine's long jump: call it under engineCall. Thread-safe across threads
// with contexts of their own (its pixel buffers are per thread); the list is
// only read.
bool measureInk(fz_context *ctx, fz_display_list *list, fz_rect media, fz_cookie *cookie, fz_rect &box);

} // namespace folio::model
