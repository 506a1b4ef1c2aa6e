// FolioViewTable.h: the "FolioView" table (version FolioViewHFT_VERSION), one
// thin adapter per entry of folio/FolioViewHFT.h into the view layer.
//
// Every adapter runs under the guard of core/Guard.h and checks its handles
// (tables/HandleChecks.h): a failure, a null handle or one that is not the
// application's gives the result documented beside the prototype (null
// handles, 0 / false, -1 for an index, an all-zero rectangle written to an out
// parameter). What an entry means beyond forwarding (an alert's buttons)
// lives in the view layer (view/AlertRules.h).
#pragma once

#include <vector>

#include "folio/FolioTypes.h"

namespace folio::view {
class Application;
}

namespace folio::tables {

// A new table of FolioViewNUMSELECTORS entries (see TableBuilder.h). The
// adapters reach `app`, which must outlive every call through the table;
// calling this again points them at another application.
std::vector<HFTEntry> makeFolioViewTable(view::Application &app);

} // namespace folio::tables
