// PluginSymbols.cpp: reads .symtab (and .dynsym) of an ELF64 shared object.
#include "PluginSymbols.h"

#include <dlfcn.h>
#include <elf.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <vector>

namespace tooltest {

PluginSymbols::PluginSymbols(const std::string &soPath, const void *exported)
{
  std::ifstream in(soPath, std::ios::binary);
  if (!in) {
    error_ = "cannot read " + soPath;
    return;
  }
  std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (bytes.size() < sizeof(Elf64_Ehdr) || std::memcmp(bytes.data(), ELFMAG, SELFMAG) != 0 ||
      bytes[EI_CLASS] != ELFCLASS64) {
    error_ = soPath + " is not an ELF64 file";
    return;
  }
  Elf64_Ehdr eh;
  std::memcpy(&eh, bytes.data(), sizeof eh);
  auto section = [&](size_t i) {
    Elf64_Shdr sh;
    std::memcpy(&sh, bytes.data() + eh.e_shoff + i * eh.e_shentsize, sizeof sh);
    return sh;
  };
  if (eh.e_shoff == 0 || eh.e_shoff + size_t(eh.e_shnum) * eh.e_shentsize > bytes.size()) {
    error_ = soPath + " has no section table";
    return;
  }
  for (size_t i = 0; i < eh.e_shnum; ++i) {
    Elf64_Shdr sh = section(i);
    if (sh.sh_type != SHT_SYMTAB && sh.sh_type != SHT_DYNSYM)
      continue;
    Elf64_Shdr strs = section(sh.sh_link);
    size_t n = sh.sh_size / sizeof(Elf64_Sym);
    for (size_t k = 0; k < n; ++k) {
      Elf64_Sym sym;
      std::memcpy(&sym, bytes.data() + sh.sh_offset + k * sizeof(Elf64_Sym), sizeof sym);
      int type = ELF64_ST_TYPE(sym.st_info);
      if ((type != STT_FUNC && type != STT_OBJECT) || sym.st_shndx == SHN_UNDEF || sym.st_value == 0)
        continue;
      std::string name(bytes.data() + strs.sh_offset + sym.st_name);
      byName_.emplace(name, sym.st_value);
      if (type == STT_FUNC) {
        // Identical procedures may be folded into one: keep every name.
        std::string &names = byAddr_[sym.st_value];
        if (("|" + names + "|").find("|" + name + "|") == std::string::npos)
          names += (names.empty() ? "" : "|") + name;
      }
    }
  }
  if (byName_.empty()) {
    error_ = soPath + " has no symbol table";
    return;
  }
  Dl_info info;
  if (!exported || dladdr(exported, &info) == 0 || !info.dli_fbase) {
    error_ = "cannot find the load base of the plug-in";
    return;
  }
  base_ = reinterpret_cast<uintptr_t>(info.dli_fbase);
}

void *PluginSymbols::address(const std::string &name) const
{
  auto it = byName_.find(name);
  return it == byName_.end() ? nullptr : reinterpret_cast<void *>(base_ + it->second);
}

std::string PluginSymbols::nameAt(const void *addr) const
{
  if (!addr)
    return "null";
  uintptr_t a = reinterpret_cast<uintptr_t>(addr);
  if (a < base_)
    return "";
  auto it = byAddr_.find(a - base_);
  return it == byAddr_.end() ? "" : it->second;
}

void *PluginSymbols::required(const std::string &name) const
{
  void *p = address(name);
  if (!p) {
    std::fprintf(stderr, "PluginSymbols: the plug-in has no symbol %s\n", name.c_str());
    std::abort();
  }
  return p;
}

} // namespace tooltest
