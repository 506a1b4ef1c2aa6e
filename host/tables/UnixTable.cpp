// UnixTable.cpp: the "Unix" table: the application's shell widget.
#include "tables/UnixTable.h"

#include "core/Guard.h"
#include "folio/UnixHFT.h"
#include "platform/XSession.h"
#include "tables/TableBuilder.h"

namespace folio::tables {
namespace {

// The session the entry serves (set by makeUnixTable); C entries carry no
// context of their own.
platform::XSession *gSession = nullptr;

void *UnixAppGetShellWidgetImpl()
{
  return guardCall(static_cast<void *>(nullptr),
                   [] { return gSession ? static_cast<void *>(gSession->shell()) : nullptr; });
}

} // namespace

std::vector<HFTEntry> makeUnixTable(platform::XSession *session)
{
  gSession = session;
  TableBuilder table(UnixNUMSELECTORS);
  FOLIO_TABLE_ENTRY(table, UnixAppGetShellWidget);
  return table.take();
}

} // namespace folio::tables
