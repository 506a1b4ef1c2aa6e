// TableBuilder.h: the one way the host fills a function table, and the rules
// every table file of host/tables follows.
//
// Naming rule (the same in all six tables):
//   - The table "Name" lives in host/tables/NameTable.{h,cpp} (CoreTable,
//     ObjTable, FolioSupportTable, PDModelTable, FolioViewTable, UnixTable),
//     in namespace folio::tables.
//   - Its builder is `std::vector<HFTEntry> makeNameTable(...)`: a new table
//     of NameNUMSELECTORS entries, entry 0 and entries without an operation
//     null. The caller keeps the vector alive while the table is registered.
//   - The adapter of operation Op (its selector OpSEL, its prototype
//     OpSELPROTO in include/folio) is the function OpImpl, file-local (an
//     unnamed namespace inside folio::tables), and the builder stores it with
//     FOLIO_TABLE_ENTRY(table, Op), which checks it against the prototype.
//   - Every adapter's body runs under the guard of core/Guard.h (guardCall,
//     guardRun, guardOut) with the failure result written beside the
//     prototype; no table file has a try/catch of its own.
//   - Every handle an adapter is given goes through the check of its kind in
//     tables/HandleChecks.h before it is used.
//   - The adapters hold no policy: what an entry means (an alert's buttons,
//     say) lives in the layer it adapts, where it is unit-tested.
//
// The table files are compiled with FOLIO_HOST_SIDE (see the *.cmake files),
// so the interface headers give only numbers and prototypes there.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <utility>
#include <vector>

#include "folio/FolioTypes.h"

namespace folio::tables {

class TableBuilder {
public:
  // A table of `selectors` entries, all null.
  explicit TableBuilder(int selectors) : entries_(static_cast<std::size_t>(selectors), nullptr) {}

  // Stores `adapter` at `selector`. Called as set<OpSELPROTO>(OpSEL, &OpImpl)
  // (FOLIO_TABLE_ENTRY): the explicit prototype makes an adapter whose type
  // differs from the entry's fail to compile. Selector 0 is never filled.
  template <class Proto> void set(int selector, Proto adapter)
  {
    if (selector <= 0 || static_cast<std::size_t>(selector) >= entries_.size())
      throw std::out_of_range("table selector out of range");
    entries_[static_cast<std::size_t>(selector)] = reinterpret_cast<HFTEntry>(adapter);
  }

  // The finished table.
  std::vector<HFTEntry> take() { return std::move(entries_); }

private:
  std::vector<HFTEntry> entries_;
};

// Stores the adapter OpImpl of operation Op at OpSEL, typed as OpSELPROTO.
#define FOLIO_TABLE_ENTRY(table, Op) (table).set<Op##SELPROTO>(Op##SEL, &Op##Impl)

} // namespace folio::tables
