// BBoxMargin.h: the margin the host adds around every page's bounding box as
// extensions read it (PDPageGetBBox).
//
// One process-wide setting, in points (0 by default): the configuration sets
// it at start and the viewer's preferences change it. The margin widens the
// bounding box Page::bbox() gives by that much on each side, in page space;
// it is not clipped (the crop commands clip to the media box themselves).
// The user-interface thread only.
#pragma once

#include "model/Page.h"

namespace folio::model {

void setBBoxMargin(double points);
double bboxMargin();

// `box` widened by the margin on each side, saturating at the Fixed range.
FixedRect widenByMargin(const FixedRect &box);
// page.bbox() widened by the margin.
FixedRect bboxWithMargin(Page &page);

} // namespace folio::model
