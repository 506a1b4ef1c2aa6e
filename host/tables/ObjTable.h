// ObjTable.h: the "Obj" table: low-level document objects. No operation of it
// is part of the interface yet, so every entry is a defined no-op that
// records nothing and answers zero (null), and a stray call is harmless.
#pragma once

#include <cstddef>

#include "folio/FolioTypes.h"

namespace folio {

// ObjNUMSELECTORS entries, entry 0 null, every other entry the no-op.
// The array is static; TableRegistry::add copies it.
const FSProc *objTableEntries();
std::size_t objTableEntryCount();

} // namespace folio
