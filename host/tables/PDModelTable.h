// PDModelTable.h: the "PDModel" table (documents and pages), version
// PDModelHFT_VERSION, over folio::model.
//
// Handles are the model's objects (see host/model/ModelHandles.h). Each entry
// is a thin adapter under the guard of core/Guard.h that checks its handles
// (tables/HandleChecks.h): a failure, a null handle or one that is not a live
// document or page gives the result documented beside the prototype (0, null,
// an all-zero FixedRect, or nothing), never a crash. Page changes reach the
// views through the document's observers (DocumentObserver), which the view
// layer subscribes.
#pragma once

#include <vector>

#include "folio/FolioTypes.h"

namespace folio::tables {

// A new table of PDModelNUMSELECTORS entries (see TableBuilder.h).
std::vector<HFTEntry> makePDModelTable();

} // namespace folio::tables
