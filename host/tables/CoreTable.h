// CoreTable.h: the "Core" table (entries 1 to 11 of CoreHFT.h), served from
// the core layer, and the registration of the two core tables ("Core" and
// "Obj", see ObjTable.h).
//
// Each entry is a thin adapter under the guard of core/Guard.h: it answers the
// failure result written beside its prototype (FSAtomNull, false, null)
// instead of letting an exception cross into an extension. FSRaise never
// returns (see ExceptionFrames.h).
#pragma once

#include <vector>

#include "folio/FolioTypes.h"

namespace folio {
class TableRegistry;
}

namespace folio::tables {

// The version under which the Core table is registered.
constexpr FSUns32 kCoreTableVersion = HANDSHAKE_V0200;

// A new table of CoreNUMSELECTORS entries (see TableBuilder.h).
std::vector<HFTEntry> makeCoreTable();

// Registers "Core" (version 2.0, makeCoreTable()) and "Obj" (version 2.2,
// makeObjTable()) in `registry`, which copies them; returns the Core HFT to
// hand to extensions in their setup record. Calling it again on the same
// registry returns the table already registered.
HFT registerCoreTables(TableRegistry &registry);

// The Core table of the process-wide registry (registered on first use).
HFT coreTable();

} // namespace folio::tables
