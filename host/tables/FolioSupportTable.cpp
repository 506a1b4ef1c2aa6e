// FolioSupportTable.cpp: the "FolioSupport" table, one thin adapter per entry.
#include "tables/FolioSupportTable.h"

#include <cstdlib>

#include "core/FixedMath.h"
#include "core/Guard.h"
#include "folio/FolioSupportHFT.h"
#include "tables/HandleChecks.h"
#include "tables/TableBuilder.h"

namespace folio::tables {
namespace {

// The C allocator cannot throw; a zero-byte request still gets a distinct
// block, as callers may free it.
void *FSmallocImpl(size_t size)
{
  return std::malloc(size ? size : 1);
}

void *FSreallocImpl(void *ptr, size_t size)
{
  return std::realloc(ptr, size ? size : 1);
}

void FSfreeImpl(void *ptr)
{
  std::free(ptr);
}

// Pure arithmetic that saturates: nothing to fail.
Fixed FixedMulImpl(Fixed a, Fixed b)
{
  return fixedMul(a, b);
}

Fixed FixedDivImpl(Fixed a, Fixed b)
{
  return fixedDiv(a, b);
}

FSFileSys FSGetDefaultFileSysImpl()
{
  return model::toFSFileSys(&model::FileSys::defaultFileSys());
}

FSPathName FSFileAcquirePathNameImpl(FSFile file)
{
  return guardCall(FSPathName(nullptr), [&]() -> FSPathName {
    model::File *f = checkFile(file);
    if (!f || f->path().empty())
      return nullptr;
    return model::toFSPathName(f->acquirePathName());
  });
}

} // namespace

std::vector<HFTEntry> makeFolioSupportTable()
{
  TableBuilder table(FolioSupportNUMSELECTORS);
  FOLIO_TABLE_ENTRY(table, FSmalloc);
  FOLIO_TABLE_ENTRY(table, FSrealloc);
  FOLIO_TABLE_ENTRY(table, FSfree);
  FOLIO_TABLE_ENTRY(table, FixedMul);
  FOLIO_TABLE_ENTRY(table, FixedDiv);
  FOLIO_TABLE_ENTRY(table, FSGetDefaultFileSys);
  FOLIO_TABLE_ENTRY(table, FSFileAcquirePathName);
  return table.take();
}

} // namespace folio::tables
