// SupportTable.cpp: the "FolioSupport" table, one thin adapter per entry.
#include "tables/SupportTable.h"

#include <cstdlib>

#include "core/FixedMath.h"
#include "folio/FolioSupportHFT.h"
#include "model/ModelHandles.h"

namespace folio::tables {

namespace {

using namespace folio::model;

// A zero-byte request still gets a distinct block, as callers may free it.
void *supportMalloc(size_t size)
{
  return std::malloc(size ? size : 1);
}

void *supportRealloc(void *ptr, size_t size)
{
  return std::realloc(ptr, size ? size : 1);
}

void supportFree(void *ptr)
{
  std::free(ptr);
}

Fixed supportFixedMul(Fixed a, Fixed b)
{
  return folio::fixedMul(a, b);
}

Fixed supportFixedDiv(Fixed a, Fixed b)
{
  return folio::fixedDiv(a, b);
}

FSFileSys supportGetDefaultFileSys()
{
  return toFSFileSys(&FileSys::defaultFileSys());
}

FSPathName supportFileAcquirePathName(FSFile file)
{
  try {
    File *f = fromFSFile(file);
    if (!f || f->path().empty())
      return nullptr;
    return toFSPathName(f->acquirePathName());
  } catch (...) {
    return nullptr;
  }
}

template <class Fn> FSProc entry(Fn fn)
{
  return reinterpret_cast<FSProc>(fn);
}

} // namespace

std::vector<HFTEntry> makeFolioSupportTable()
{
  std::vector<HFTEntry> t(FolioSupportNUMSELECTORS, nullptr);
  t[FSmallocSEL] = entry(static_cast<FSmallocSELPROTO>(supportMalloc));
  t[FSreallocSEL] = entry(static_cast<FSreallocSELPROTO>(supportRealloc));
  t[FSfreeSEL] = entry(static_cast<FSfreeSELPROTO>(supportFree));
  t[FixedMulSEL] = entry(static_cast<FixedMulSELPROTO>(supportFixedMul));
  t[FixedDivSEL] = entry(static_cast<FixedDivSELPROTO>(supportFixedDiv));
  t[FSGetDefaultFileSysSEL] = entry(static_cast<FSGetDefaultFileSysSELPROTO>(supportGetDefaultFileSys));
  t[FSFileAcquirePathNameSEL] = entry(static_cast<FSFileAcquirePathNameSELPROTO>(supportFileAcquirePathName));
  return t;
}

} // namespace folio::tables
