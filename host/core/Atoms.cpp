// Atoms.cpp: interned strings. Strings live in a deque (stable addresses);
// the index maps a view of each stored string to its atom.
#include "core/Atoms.h"

#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

namespace folio {
namespace {

constexpr unsigned kMaxAtoms = 0xFFFF; // atoms 1 .. 65535

struct AtomTable {
  std::mutex mutex;
  std::deque<std::string> strings; // atom n is strings[n - 1]
  std::unordered_map<std::string_view, FSAtom> index;
};

AtomTable &table()
{
  // Never destroyed: atom strings must stay valid during static destruction.
  static AtomTable *t = new AtomTable;
  return *t;
}

} // namespace

FSAtom atomFromString(const char *name)
{
  if (!name)
    return FSAtomNull;
  AtomTable &t = table();
  std::lock_guard<std::mutex> lock(t.mutex);
  auto found = t.index.find(std::string_view(name));
  if (found != t.index.end())
    return found->second;
  if (t.strings.size() >= kMaxAtoms)
    return FSAtomNull;
  t.strings.emplace_back(name);
  auto atom = static_cast<FSAtom>(t.strings.size());
  t.index.emplace(std::string_view(t.strings.back()), atom);
  return atom;
}

bool atomExistsForString(const char *name, FSAtom *atom)
{
  if (!name)
    return false;
  AtomTable &t = table();
  std::lock_guard<std::mutex> lock(t.mutex);
  auto found = t.index.find(std::string_view(name));
  if (found == t.index.end())
    return false;
  if (atom)
    *atom = found->second;
  return true;
}

const char *atomString(FSAtom atom)
{
  AtomTable &t = table();
  std::lock_guard<std::mutex> lock(t.mutex);
  if (atom == FSAtomNull || atom > t.strings.size())
    return nullptr;
  return t.strings[atom - 1].c_str();
}

unsigned atomCount()
{
  AtomTable &t = table();
  std::lock_guard<std::mutex> lock(t.mutex);
  return static_cast<unsigned>(t.strings.size());
}

} // namespace folio
