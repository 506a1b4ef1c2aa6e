// ObjTable.cpp: the "Obj" table, every entry a harmless no-op.
#include "tables/ObjTable.h"

#include <cstdint>

#include "folio/ObjHFT.h"
#include "tables/TableBuilder.h"

namespace folio::tables {
namespace {

// Takes nothing it is given, changes nothing, answers 0: a caller that expects
// a pointer gets null, one that expects an integer or boolean gets 0/false.
// It cannot throw, so it needs no guard.
std::intptr_t ObjNoOpImpl(void)
{
  return 0;
}

} // namespace

std::vector<HFTEntry> makeObjTable()
{
  TableBuilder table(ObjNUMSELECTORS);
  for (int selector = 1; selector < ObjNUMSELECTORS; ++selector)
    table.set<std::intptr_t (*)(void)>(selector, &ObjNoOpImpl);
  return table.take();
}

} // namespace folio::tables
