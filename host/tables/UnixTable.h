// UnixTable.h: the "Unix" table (version UnixHFT_VERSION): entry 1 answers
// the application's realised shell widget (folio/UnixHFT.h).
#pragma once

#include <vector>

#include "folio/FolioTypes.h"

namespace folio::platform {
class XSession;
}

namespace folio::tables {

// A new table of UnixNUMSELECTORS entries (see TableBuilder.h). Entry 1
// answers session->shell() (null when `session` is null: a host without X).
// The session must outlive every call; calling this again points the entry
// at another session.
std::vector<HFTEntry> makeUnixTable(platform::XSession *session);

} // namespace folio::tables
