// TableRegistry.h: the host's function tables by (name, version).
//
// A table is an array of FSProc; entry n is operation n, entry 0 is unused
// (null). The registry copies the entries it is given into storage it owns and
// never frees or moves while it lives, and hands out that storage as the HFT:
// extensions keep the pointer and read an entry at every call, so
// replaceEntry() takes effect at an extension's next call. Lookups are by the
// exact version only. Thread-safe.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "folio/FolioTypes.h"

namespace folio {

class TableRegistry {
public:
  TableRegistry();
  ~TableRegistry();
  TableRegistry(const TableRegistry &) = delete;
  TableRegistry &operator=(const TableRegistry &) = delete;

  // Registers table `name` at `version` with `entryCount` entries copied from
  // `entries` (entries[0] is ignored and stored as null; `entries` may be null
  // for an all-null table). Returns the registered HFT, or null when that name
  // and version are already registered, the name is null or empty, or
  // entryCount is 0.
  HFT add(const char *name, FSUns32 version, const FSProc *entries, std::size_t entryCount);

  // The table registered under exactly (name, version), or null.
  HFT find(FSAtom name, FSUns32 version) const;
  HFT find(const char *name, FSUns32 version) const;

  // Number of entries of the table (entry 0 included), 0 when unknown.
  std::size_t entryCount(const char *name, FSUns32 version) const;

  // Replaces entry `selector` (1 .. entryCount-1) of a registered table.
  // False, changing nothing, for an unknown table or a selector out of range.
  bool replaceEntry(const char *name, FSUns32 version, FSUns32 selector, FSProc proc);

  // The versions registered for `name`, ascending (diagnostics).
  std::vector<FSUns32> versions(const char *name) const;

private:
  struct Impl;
  Impl *impl_;
};

// The host's process-wide registry, served by FSExtensionMgrGetHFT.
TableRegistry &tableRegistry();

} // namespace folio
