// PDModelTable.h: the "PDModel" table (documents and pages), version
// PDModelHFT_VERSION, over folio::model.
//
// Handles are the model's objects (see host/model/ModelHandles.h). Each entry is a
// thin adapter that catches every exception and gives the entry's failure
// result: 0 / null / an all-zero FixedRect, or nothing. A null handle is a
// failure, not a crash. Page changes reach the views through the document's
// observers (DocumentObserver), which the view layer subscribes.
#pragma once

#include <vector>

#include "folio/FolioTypes.h"

namespace folio::tables {

// A new table of PDModelNUMSELECTORS entries: entry 0 unused (null), entries
// without an operation null. The caller keeps the vector alive for as long as
// the table is registered.
std::vector<HFTEntry> makePDModelTable();

} // namespace folio::tables
