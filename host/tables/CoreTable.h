// CoreTable.h: the "Core" table (entries 1 to 11 of CoreHFT.h) and the "Obj"
// table, served from the core layer.
//
// Each entry is a thin adapter: it catches every exception and answers the
// documented failure result (FSAtomNull, false, null) instead of letting it
// cross into an extension. FSRaise never returns (see ExceptionFrames.h).
#pragma once

#include "folio/FolioTypes.h"

namespace folio {
class TableRegistry;

// The version under which the Core table is registered.
constexpr FSUns32 kCoreTableVersion = HANDSHAKE_V0200;

// Registers "Core" (version 2.0, CoreNUMSELECTORS entries) and "Obj" (version
// 2.2, ObjNUMSELECTORS entries) in `registry`; returns the Core HFT to hand to
// extensions in their setup record. Calling it again on the same registry
// returns the table already registered.
HFT registerCoreTables(TableRegistry &registry);

// The Core table of the process-wide registry (registered on first use).
HFT coreTable();

} // namespace folio
