// ObjTable.h: the "Obj" table (version ObjHFT_VERSION): low-level document
// objects. No operation of it is part of the interface yet, so every entry is
// a defined no-op that takes no handle, records nothing and answers zero
// (null), and a stray call is harmless.
#pragma once

#include <vector>

#include "folio/FolioTypes.h"

namespace folio::tables {

// A new table of ObjNUMSELECTORS entries: entry 0 null, every other entry the
// no-op (see TableBuilder.h for the shape every table builder shares).
std::vector<HFTEntry> makeObjTable();

} // namespace folio::tables
