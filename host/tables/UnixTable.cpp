// UnixTable.cpp: the "Unix" table: the application's shell widget.
#include "tables/UnixTable.h"

#define FOLIO_HOST_SIDE
#include "folio/UnixHFT.h"

#include "platform/XSession.h"

namespace {

folio::platform::XSession *gSession = nullptr;

void *UnixAppGetShellWidgetImpl()
{
  try {
    return gSession ? static_cast<void *>(gSession->shell()) : nullptr;
  } catch (...) {
    return nullptr;
  }
}

} // namespace

namespace folio::tables {

std::vector<FSProc> buildUnixTable(platform::XSession *session)
{
  gSession = session;
  std::vector<FSProc> table(UnixNUMSELECTORS, nullptr);
  table[UnixAppGetShellWidgetSEL] =
      reinterpret_cast<FSProc>(static_cast<UnixAppGetShellWidgetSELPROTO>(&UnixAppGetShellWidgetImpl));
  return table;
}

} // namespace folio::tables
