// FolioSupportTable.h: the "FolioSupport" table (memory, fixed-point
// arithmetic, file system), version FolioSupportHFT_VERSION, over the model.
//
// Each entry is a thin adapter under the guard of core/Guard.h that checks
// its handles (tables/HandleChecks.h): a failure, a null or an unknown handle
// gives the result documented beside the prototype (null, or nothing).
#pragma once

#include <vector>

#include "folio/FolioTypes.h"

namespace folio::tables {

// A new table of FolioSupportNUMSELECTORS entries (see TableBuilder.h).
std::vector<HFTEntry> makeFolioSupportTable();

} // namespace folio::tables
