// PluginSymbols.h: the addresses of the loaded plug-in's own procedures and
// globals, hidden from its exports, found through the symbol table of the
// shared object's file.
//
// The tests use it to tell which procedure a host callback wraps and to read
// the plug-in's shared state (gCropRegion, gfixRCropRegion, ...) directly,
// instead of inferring them from later behaviour.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace tooltest {

class PluginSymbols {
public:
  // Reads the ELF symbol tables of `soPath`; `exported` is the address of an
  // exported symbol of the loaded copy (e.g. its `main`), from which the load
  // base is found. ok() is false (and error() says why) on failure.
  PluginSymbols(const std::string &soPath, const void *exported);

  bool ok() const { return error_.empty(); }
  const std::string &error() const { return error_; }

  // The run-time address of a named procedure or object, or null.
  void *address(const std::string &name) const;
  // The name of the procedure at a run-time address ("A|B" when identical
  // procedures were folded into one), or "" when none starts there (null
  // gives "null").
  std::string nameAt(const void *addr) const;

  // A global of the plug-in, by name; aborts the test program when absent.
  template <class T> T &global(const std::string &name) const { return *static_cast<T *>(required(name)); }

private:
  void *required(const std::string &name) const;
  std::string error_;
  uintptr_t base_ = 0;
  std::map<std::string, uintptr_t> byName_; // name -> offset
  std::map<uintptr_t, std::string> byAddr_; // offset -> names (functions)
};

} // namespace tooltest
