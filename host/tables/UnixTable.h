// UnixTable.h: the "Unix" table (version 2.2): entry 1 answers the
// application's realised shell widget (folio/UnixHFT.h).
#pragma once

#include <vector>

#include "folio/FolioTypes.h"

namespace folio::platform {
class XSession;
}

namespace folio::tables {

// The entries of the table (UnixNUMSELECTORS of them, unused ones null), ready
// for TableRegistry::add. Entry 1 answers session.shell() (null when `session`
// is null: a host without X). The session must outlive every call.
std::vector<FSProc> buildUnixTable(platform::XSession *session);

} // namespace folio::tables
