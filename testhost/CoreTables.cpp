// CoreTables.cpp: the "Core", "FolioSupport", "Obj" and "Unix" tables of the
// test host, the recording no-ops of undescribed entries, the progress monitor
// and the cancel test.
#include "Internal.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "core/FixedMath.h"

namespace testhost {

// ---- undescribed entries: recording no-ops "Table#N()" -----------------------------

namespace {

template <int T, int N> void unknownEntry()
{
  rec(std::string(tableName(static_cast<Table>(T))) + "#" + std::to_string(N));
}

template <int T, int... Ns> void fillUnknown(std::vector<HFTEntry> &tab, std::integer_sequence<int, Ns...>)
{
  ((static_cast<size_t>(Ns) < tab.size() && Ns > 0 ? (tab[static_cast<size_t>(Ns)] = &unknownEntry<T, Ns>)
                                                   : nullptr),
   ...);
}

} // namespace

void fillUnknownEntries(TestHost &h)
{
  auto &t = h.impl().tables;
  fillUnknown<0>(t[0], std::make_integer_sequence<int, CoreNUMSELECTORS>());
  fillUnknown<1>(t[1], std::make_integer_sequence<int, FolioSupportNUMSELECTORS>());
  fillUnknown<2>(t[2], std::make_integer_sequence<int, ObjNUMSELECTORS>());
  fillUnknown<3>(t[3], std::make_integer_sequence<int, PDModelNUMSELECTORS>());
  fillUnknown<4>(t[4], std::make_integer_sequence<int, FolioViewNUMSELECTORS>());
  fillUnknown<5>(t[5], std::make_integer_sequence<int, UnixNUMSELECTORS>());
}

// ---- Core ----------------------------------------------------------------------------------

namespace {

std::string atomText(FSAtom a)
{
  if (!a)
    return "0";
  std::string s = H().atomString(a);
  return s.empty() ? "atom#" + I(a) : "atom:" + s;
}

void tFSRaise(FSInt32 error)
{
  rec("FSRaise", {I(error)});
  auto &frames = H().impl().frames;
  H().impl().lastError = error;
  if (frames.empty()) {
    std::fprintf(stderr, "testhost: FSRaise(%d) with no exception frame\n", static_cast<int>(error));
    std::abort();
  }
  TestHost::Impl::Frame f = frames.back();
  frames.pop_back();
  f.restore(f.environ);
  std::fprintf(stderr, "testhost: a restore procedure returned\n");
  std::abort();
}

void tFSPushExceptionFrame(void *environ, restoreEnvironProc restore)
{
  rec("FSPushExceptionFrame", {N(environ), H().nameOfProc(reinterpret_cast<FSProc>(restore))});
  H().impl().frames.push_back({environ, restore});
}

void tFSPopExceptionFrame(void)
{
  rec("FSPopExceptionFrame");
  auto &frames = H().impl().frames;
  if (!frames.empty())
    frames.pop_back();
}

FSInt32 tFSGetExceptionErrorCode(void)
{
  size_t i = rec("FSGetExceptionErrorCode");
  res(i, I(H().impl().lastError));
  return H().impl().lastError;
}

FSAtom tFSAtomFromString(const char *s)
{
  size_t i = rec("FSAtomFromString", {quoted(s)});
  FSAtom a = s ? H().atom(s) : 0;
  res(i, atomText(a));
  return a;
}

FSBool tFSAtomExistsForString(const char *s, FSAtom *atom)
{
  size_t i = rec("FSAtomExistsForString", {quoted(s)});
  auto &atoms = H().impl().atoms;
  auto it = s ? atoms.find(s) : atoms.end();
  FSBool r = it != atoms.end();
  if (r && atom)
    *atom = it->second;
  res(i, r ? "1 " + atomText(it->second) : "0");
  return r;
}

const char *tFSAtomGetString(FSAtom a)
{
  size_t i = rec("FSAtomGetString", {atomText(a)});
  auto &strs = H().impl().atomStrings;
  const char *r = (a && a < strs.size()) ? strs[a].c_str() : nullptr;
  res(i, quoted(r));
  return r;
}

FSCallback tFSCallbackCreate(ExtensionID ext, FSProc proc)
{
  size_t i = rec("FSCallbackCreate", {N(ext), H().nameOfProc(proc)});
  FSCallback cb = H().makeCallback(ext, proc);
  res(i, cbName(cb));
  return cb;
}

void tFSCallbackDestroy(FSCallback cb)
{
  // Recorded only: the record stays valid so a test can still inspect it.
  rec("FSCallbackDestroy", {cbName(cb)});
}

HFT tFSExtensionMgrGetHFT(FSAtom name, FSUns32 version)
{
  size_t i = rec("FSExtensionMgrGetHFT", {atomText(name), hex32(version)});
  TestHost &h = H();
  std::string s = h.atomString(name);
  HFT r = nullptr;
  for (int t = 0; t < kTableCount; ++t)
    if (s == tableName(static_cast<Table>(t)) && h.impl().versions[t].count(version))
      r = h.table(static_cast<Table>(t));
  res(i, N(r));
  return r;
}

void *tFSGetConfiguration(FSAtom key)
{
  size_t i = rec("FSGetConfiguration", {atomText(key)});
  void *r = H().configuration(H().atomString(key));
  res(i, N(r));
  return r;
}

} // namespace

void fillCoreTable(TestHost &h)
{
  auto &t = h.impl().tables[static_cast<int>(Table::Core)];
  t[FSRaiseSEL] = reinterpret_cast<HFTEntry>(&tFSRaise);
  t[FSPushExceptionFrameSEL] = reinterpret_cast<HFTEntry>(&tFSPushExceptionFrame);
  t[FSPopExceptionFrameSEL] = reinterpret_cast<HFTEntry>(&tFSPopExceptionFrame);
  t[FSGetExceptionErrorCodeSEL] = reinterpret_cast<HFTEntry>(&tFSGetExceptionErrorCode);
  t[FSAtomFromStringSEL] = reinterpret_cast<HFTEntry>(&tFSAtomFromString);
  t[FSAtomExistsForStringSEL] = reinterpret_cast<HFTEntry>(&tFSAtomExistsForString);
  t[FSAtomGetStringSEL] = reinterpret_cast<HFTEntry>(&tFSAtomGetString);
  t[FSCallbackCreateSEL] = reinterpret_cast<HFTEntry>(&tFSCallbackCreate);
  t[FSCallbackDestroySEL] = reinterpret_cast<HFTEntry>(&tFSCallbackDestroy);
  t[FSExtensionMgrGetHFTSEL] = reinterpret_cast<HFTEntry>(&tFSExtensionMgrGetHFT);
  t[FSGetConfigurationSEL] = reinterpret_cast<HFTEntry>(&tFSGetConfiguration);
}

// ---- FolioSupport --------------------------------------------------------------------------

namespace {

void *tFSmalloc(size_t size)
{
  TestHost &h = H();
  size_t i = rec("FSmalloc", {I(static_cast<long long>(size))});
  ++h.mallocCalls;
  if (h.mallocFails || (h.mallocFailAt && h.mallocCalls == h.mallocFailAt)) {
    res(i, "null");
    return nullptr;
  }
  void *p = std::malloc(size ? size : 1);
  if (!p) {
    res(i, "null");
    return nullptr;
  }
  std::memset(p, 0xA5, size);
  h.liveBlocks[p] = size;
  h.nameObject(p, "block" + I(h.mallocCalls - 1));
  res(i, N(p));
  return p;
}

void *tFSrealloc(void *ptr, size_t size)
{
  TestHost &h = H();
  size_t i = rec("FSrealloc", {N(ptr), I(static_cast<long long>(size))});
  if (ptr && !h.liveBlocks.count(ptr)) {
    res(i, "null");
    return nullptr;
  }
  std::string name = ptr ? N(ptr) : "block-r" + I(h.mallocCalls);
  size_t oldSize = ptr ? h.liveBlocks[ptr] : 0;
  h.liveBlocks.erase(ptr);
  void *p = std::realloc(ptr, size ? size : 1);
  if (!p) {
    if (ptr)
      h.liveBlocks[ptr] = oldSize;
    res(i, "null");
    return nullptr;
  }
  h.liveBlocks[p] = size;
  h.nameObject(p, name);
  res(i, N(p));
  return p;
}

void tFSfree(void *ptr)
{
  TestHost &h = H();
  rec("FSfree", {N(ptr)});
  auto it = h.liveBlocks.find(ptr);
  if (it != h.liveBlocks.end()) {
    std::free(ptr);
    h.liveBlocks.erase(it);
  }
}

Fixed tFixedMul(Fixed a, Fixed b)
{
  size_t i = rec("FixedMul", {fx(a), fx(b)});
  Fixed r = folio::fixedMul(a, b);
  res(i, fx(r));
  return r;
}

Fixed tFixedDiv(Fixed a, Fixed b)
{
  size_t i = rec("FixedDiv", {fx(a), fx(b)});
  Fixed r = folio::fixedDiv(a, b);
  res(i, fx(r));
  return r;
}

FSFileSys tFSGetDefaultFileSys(void)
{
  size_t i = rec("FSGetDefaultFileSys");
  FSFileSys r = reinterpret_cast<FSFileSys>(&H().impl().fileSys);
  res(i, N(r));
  return r;
}

FSPathName tFSFileAcquirePathName(FSFile file)
{
  TestHost &h = H();
  size_t i = rec("FSFileAcquirePathName", {N(file)});
  FSPathName r = nullptr;
  for (int k = 0; k < h.documentCount(); ++k) {
    Document &d = h.document(k);
    if (reinterpret_cast<FSFile>(&d.file) == file && d.hasPath) {
      r = reinterpret_cast<FSPathName>(&d.path);
      ++d.pathAcquires;
    }
  }
  res(i, N(r));
  return r;
}

} // namespace

void fillSupportTable(TestHost &h)
{
  auto &t = h.impl().tables[static_cast<int>(Table::FolioSupport)];
  t[FSmallocSEL] = reinterpret_cast<HFTEntry>(&tFSmalloc);
  t[FSreallocSEL] = reinterpret_cast<HFTEntry>(&tFSrealloc);
  t[FSfreeSEL] = reinterpret_cast<HFTEntry>(&tFSfree);
  t[FixedMulSEL] = reinterpret_cast<HFTEntry>(&tFixedMul);
  t[FixedDivSEL] = reinterpret_cast<HFTEntry>(&tFixedDiv);
  t[FSGetDefaultFileSysSEL] = reinterpret_cast<HFTEntry>(&tFSGetDefaultFileSys);
  t[FSFileAcquirePathNameSEL] = reinterpret_cast<HFTEntry>(&tFSFileAcquirePathName);
}

// ---- Unix ----------------------------------------------------------------------------------

namespace {

void *tUnixAppGetShellWidget(void)
{
  size_t i = rec("UnixAppGetShellWidget");
  void *w = H().shellWidget;
  res(i, N(w));
  return w;
}

} // namespace

void fillUnixTable(TestHost &h)
{
  auto &t = h.impl().tables[static_cast<int>(Table::Unix)];
  t[UnixAppGetShellWidgetSEL] = reinterpret_cast<HFTEntry>(&tUnixAppGetShellWidget);
}

// ---- progress monitor and cancel test ----------------------------------------------------

namespace {

void pmBegin(void *cd)
{
  rec("PM.beginOperation", {N(cd)});
}

void pmEnd(void *cd)
{
  rec("PM.endOperation", {N(cd)});
}

void pmSetDuration(FSInt32 d, void *cd)
{
  rec("PM.setDuration", {I(d), N(cd)});
  H().progressDuration = d;
}

void pmSetCurrValue(FSInt32 v, void *cd)
{
  rec("PM.setCurrValue", {I(v), N(cd)});
  H().progressValue = v;
}

FSInt32 pmGetDuration(void *cd)
{
  size_t i = rec("PM.getDuration", {N(cd)});
  res(i, I(H().progressDuration));
  return H().progressDuration;
}

FSInt32 pmGetCurrValue(void *cd)
{
  size_t i = rec("PM.getCurrValue", {N(cd)});
  res(i, I(H().progressValue));
  return H().progressValue;
}

} // namespace

void installProgressMonitor(TestHost &h)
{
  ProgressMonitorRec &m = h.progressMonitor;
  m.size = sizeof(ProgressMonitorRec);
  m.beginOperation = pmBegin;
  m.endOperation = pmEnd;
  m.setDuration = pmSetDuration;
  m.setCurrValue = pmSetCurrValue;
  m.getDuration = pmGetDuration;
  m.getCurrValue = pmGetCurrValue;
  h.nameObject(&m, "progmon");
}

FSBool hostCancelProc(void *clientData)
{
  TestHost &h = H();
  size_t i = rec("CancelProc", {N(clientData)});
  ++h.cancelPolls;
  FSBool r = (h.cancelAtPoll > 0 && h.cancelPolls >= h.cancelAtPoll) ? 1 : 0;
  res(i, I(r));
  return r;
}

} // namespace testhost
