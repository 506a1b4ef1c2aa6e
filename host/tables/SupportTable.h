// SupportTable.h: the "FolioSupport" table (memory, fixed-point arithmetic,
// file system), version FolioSupportHFT_VERSION.
//
// Each entry is a thin adapter into the model; none lets an exception out
// (a failure gives the entry's documented result: null, or nothing).
#pragma once

#include <vector>

#include "folio/FolioTypes.h"

namespace folio::tables {

// A new table of FolioSupportNUMSELECTORS entries: entry 0 unused (null),
// entries without an operation null. The caller keeps the vector alive for
// as long as the table is registered.
std::vector<HFTEntry> makeFolioSupportTable();

} // namespace folio::tables
