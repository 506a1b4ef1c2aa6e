// CullDevice.h: a device that passes a display list on to another device,
// leaving out the glyphs that cannot reach the area being drawn.
//
// The engine's draw device looks up every glyph of a text line in its glyph
// cache (under a lock) before it clips it, even when the area drawn is a
// thin strip that only a glyph or two of the line reach: the bounding box's
// strips along the left and right edges cross every line of a page. Here
// each glyph's box is bounded from its font's box (widened by a whole em on
// every side, so a glyph reaching beyond a font box that understates it is
// still drawn), and only the glyphs whose box meets the area are passed on;
// the rest of the page is passed on as it is. Type 3 glyphs (drawn by
// content streams, with no reliable box) are always passed on.
//
// Engine-private (includes the engine's headers through Engine.h).
#pragma once

#include "model/Engine.h"

namespace folio::model {

// A new device drawing into `target` (not owned; closed and dropped by the
// caller) that leaves out the glyphs whose box lies outside `area` (device
// space). Engine errors propagate.
fz_device *newCullDevice(fz_context *ctx, fz_device *target, fz_rect area);

} // namespace folio::model
