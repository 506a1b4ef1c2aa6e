// FolioViewTable.h: the "FolioView" table (version 2.2), one thin adapter per
// entry of folio/FolioViewHFT.h into the view layer.
//
// Every adapter catches every exception and answers the entry's failure
// result: null handles, 0 / false, an all-zero rectangle written to an out
// parameter. Null handles passed in are ignored the same way.
#pragma once

#include <cstddef>
#include <vector>

#include "folio/FolioTypes.h"

namespace folio::view {
class Application;
}

namespace folio::tables {

// The entries of the table (FolioViewNUMSELECTORS of them, entry 0 and the
// operations the host does not offer null), ready for TableRegistry::add.
// The adapters reach `app`, which must outlive every call through the table;
// calling this again points them at another application.
std::vector<FSProc> buildFolioViewTable(view::Application &app);

} // namespace folio::tables
