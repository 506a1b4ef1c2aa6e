// ObjTable.cpp: the "Obj" table, every entry a harmless no-op.
#include "tables/ObjTable.h"

#include <cstdint>

#include "folio/ObjHFT.h"

namespace folio {
namespace {

// Takes nothing it is given, changes nothing, answers 0: a caller that expects
// a pointer gets null, one that expects an integer or boolean gets 0/false.
extern "C" std::intptr_t objNoOp(void)
{
  return 0;
}

struct ObjEntries {
  FSProc entries[ObjNUMSELECTORS];
  ObjEntries()
  {
    entries[0] = nullptr;
    for (int i = 1; i < ObjNUMSELECTORS; ++i)
      entries[i] = reinterpret_cast<FSProc>(objNoOp);
  }
};

} // namespace

const FSProc *objTableEntries()
{
  static const ObjEntries table;
  return table.entries;
}

std::size_t objTableEntryCount()
{
  return ObjNUMSELECTORS;
}

} // namespace folio
