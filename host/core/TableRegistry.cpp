// TableRegistry.cpp: tables keyed by (name, version), each in storage of its
// own that never moves, so handed-out HFTs stay valid.
#include "core/TableRegistry.h"

#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "core/Atoms.h"

namespace folio {

struct TableRegistry::Impl {
  struct Table {
    std::unique_ptr<FSProc[]> entries;
    std::size_t count;
  };
  mutable std::mutex mutex;
  std::map<std::pair<std::string, FSUns32>, Table> tables;

  const Table *lookup(const char *name, FSUns32 version) const
  {
    auto it = tables.find({name, version});
    return it == tables.end() ? nullptr : &it->second;
  }
};

TableRegistry::TableRegistry() : impl_(new Impl) {}

TableRegistry::~TableRegistry()
{
  delete impl_;
}

HFT TableRegistry::add(const char *name, FSUns32 version, const FSProc *entries, std::size_t entryCount)
{
  if (!name || !*name || entryCount == 0)
    return nullptr;
  std::lock_guard<std::mutex> lock(impl_->mutex);
  auto key = std::make_pair(std::string(name), version);
  if (impl_->tables.count(key))
    return nullptr;
  Impl::Table table{std::make_unique<FSProc[]>(entryCount), entryCount};
  for (std::size_t i = 1; entries && i < entryCount; ++i)
    table.entries[i] = entries[i];
  table.entries[0] = nullptr;
  HFT hft = table.entries.get();
  impl_->tables.emplace(std::move(key), std::move(table));
  // Make the name's atom now, so a lookup by atom never races its creation.
  atomFromString(name);
  return hft;
}

HFT TableRegistry::find(FSAtom name, FSUns32 version) const
{
  const char *text = atomString(name);
  return text ? find(text, version) : nullptr;
}

HFT TableRegistry::find(const char *name, FSUns32 version) const
{
  if (!name)
    return nullptr;
  std::lock_guard<std::mutex> lock(impl_->mutex);
  const Impl::Table *t = impl_->lookup(name, version);
  return t ? t->entries.get() : nullptr;
}

std::size_t TableRegistry::entryCount(const char *name, FSUns32 version) const
{
  if (!name)
    return 0;
  std::lock_guard<std::mutex> lock(impl_->mutex);
  const Impl::Table *t = impl_->lookup(name, version);
  return t ? t->count : 0;
}

bool TableRegistry::replaceEntry(const char *name, FSUns32 version, FSUns32 selector, FSProc proc)
{
  if (!name)
    return false;
  std::lock_guard<std::mutex> lock(impl_->mutex);
  const Impl::Table *t = impl_->lookup(name, version);
  if (!t || selector == 0 || selector >= t->count)
    return false;
  t->entries[selector] = proc;
  return true;
}

std::vector<FSUns32> TableRegistry::versions(const char *name) const
{
  std::vector<FSUns32> result;
  if (!name)
    return result;
  std::lock_guard<std::mutex> lock(impl_->mutex);
  for (const auto &entry : impl_->tables)
    if (entry.first.first == name)
      result.push_back(entry.first.second);
  return result;
}

TableRegistry &tableRegistry()
{
  // Never destroyed: extensions may hold its tables until the very end.
  static TableRegistry *registry = new TableRegistry;
  return *registry;
}

} // namespace folio
