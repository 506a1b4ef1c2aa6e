// PluginLoader.cpp: dlopen, the entry point, setup, handshake, init.
//
// Every call into a plug-in goes through a small trampoline run by
// callWithExceptionFrame(): the trampolines use only plain records, so a
// longjmp out of a raising plug-in skips no destructor.
#include "core/PluginLoader.h"

#include <dlfcn.h>
#include <link.h>
#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <dirent.h>

#include "core/Atoms.h"
#include "core/Callback.h"
#include "core/ExceptionFrames.h"

namespace folio {
namespace {

std::string versionText(FSUns32 v)
{
  return std::to_string(v >> 16) + "." + std::to_string(v & 0xFFFF);
}

std::string realPath(const std::string &path)
{
  char buf[PATH_MAX];
  return realpath(path.c_str(), buf) ? std::string(buf) : path;
}

bool isDirectory(const std::string &path)
{
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool exists(const std::string &path)
{
  struct stat st;
  return stat(path.c_str(), &st) == 0;
}

// The *.so regular files of a folder (symbolic links followed), name order.
std::vector<std::string> sharedObjectsIn(const std::string &folder)
{
  std::vector<std::string> names;
  if (DIR *dir = opendir(folder.c_str())) {
    while (dirent *e = readdir(dir)) {
      std::string name = e->d_name;
      if (name.size() <= 3 || name.compare(name.size() - 3, 3, ".so") != 0)
        continue;
      struct stat st;
      std::string full = folder + "/" + name;
      if (stat(full.c_str(), &st) == 0 && S_ISREG(st.st_mode))
        names.push_back(name);
    }
    closedir(dir);
  }
  std::sort(names.begin(), names.end());
  std::vector<std::string> paths;
  std::string prefix = folder.empty() || folder.back() == '/' ? folder : folder + "/";
  for (const auto &name : names)
    paths.push_back(prefix + name);
  return paths;
}

// True when `symbol` lies in the object of `handle` itself, not in one of the
// libraries it pulled in.
bool definedInObject(void *handle, void *symbol)
{
  link_map *map = nullptr;
  Dl_info info;
  if (dlinfo(handle, RTLD_DI_LINKMAP, &map) != 0 || !map || !dladdr(symbol, &info))
    return true; // cannot tell: take the symbol
  std::string ours = map->l_name ? realPath(map->l_name) : "";
  std::string theirs = info.dli_fname ? realPath(info.dli_fname) : "";
  return ours == theirs;
}

// ---- trampolines ----------------------------------------------------------

struct MainCall {
  PIMainProcType main;
  FSInt32 appVersion;
  FSInt32 agreed;
  PISetupSDKProcType setup;
  FSBool result;
};
void callMain(void *data)
{
  auto *c = static_cast<MainCall *>(data);
  c->result = c->main(c->appVersion, &c->agreed, &c->setup);
}

struct SetupCall {
  PISetupSDKProcType setup;
  FSUns32 version;
  PISDKData_V0200 *sdk;
  FSBool result;
};
void callSetup(void *data)
{
  auto *c = static_cast<SetupCall *>(data);
  c->result = c->setup(c->version, c->sdk);
}

struct HandshakeCall {
  PIHandshakeProcType handshake;
  FSUns32 version;
  PIHandshakeData_V0200 *data;
  FSBool result;
};
void callHandshake(void *data)
{
  auto *c = static_cast<HandshakeCall *>(data);
  c->result = c->handshake(c->version, c->data);
}

struct BoolCall {
  FSBool (*proc)(void);
  FSBool result;
};
void callBool(void *data)
{
  auto *c = static_cast<BoolCall *>(data);
  c->result = c->proc();
}

} // namespace

const char *loadStageName(LoadStage stage)
{
  switch (stage) {
  case LoadStage::Find:
    return "find";
  case LoadStage::Open:
    return "open";
  case LoadStage::Entry:
    return "entry";
  case LoadStage::Version:
    return "version";
  case LoadStage::Setup:
    return "setup";
  case LoadStage::Handshake:
    return "handshake";
  case LoadStage::Export:
    return "export";
  case LoadStage::Import:
    return "import";
  case LoadStage::Init:
    return "init";
  case LoadStage::Loaded:
    return "loaded";
  }
  return "?";
}

const char *extensionName(ExtensionID extension)
{
  const char *name = extension ? atomString(extension->name) : nullptr;
  return name ? name : "";
}

const char *extensionPath(ExtensionID extension)
{
  return extension ? extension->path.c_str() : "";
}

std::vector<std::string> expandPluginSources(const std::vector<PluginSource> &sources, LoadReport *missing)
{
  std::vector<std::string> files;
  for (const auto &source : sources) {
    if (!exists(source.path)) {
      if (source.origin != SourceOrigin::DefaultFolder && missing)
        missing->push_back({source.path, LoadStage::Find, source.path + ": not found", false});
      continue;
    }
    if (isDirectory(source.path)) {
      auto inFolder = sharedObjectsIn(source.path);
      files.insert(files.end(), inFolder.begin(), inFolder.end());
    } else {
      files.push_back(source.path);
    }
  }
  return files;
}

PluginLoader::PluginLoader(HFT coreTable, LoaderOptions options) : core_(coreTable), options_(options) {}

PluginLoader::~PluginLoader() = default;

void PluginLoader::fail(size_t index, LoadStage stage, const std::string &text, bool unload)
{
  _t_ExtensionID *ext = extensions_[index].get();
  LoadRecord &record = report_[reportIndex_[index]];
  record.stage = stage;
  record.message = ext->path + ": " + text;
  record.ok = false;
  ext->active = false;
  if (unload && ext->handle) {
    callbackDestroyAllOf(ext);
    dlclose(ext->handle);
    ext->handle = nullptr;
  }
}

void PluginLoader::loadOne(const std::string &path)
{
  std::string real = realPath(path);
  if (std::find(seen_.begin(), seen_.end(), real) != seen_.end())
    return;
  seen_.push_back(real);

  report_.push_back({path, LoadStage::Open, "", false});
  size_t recordIndex = report_.size() - 1;
  auto failEarly = [&](LoadStage stage, const std::string &text) {
    report_[recordIndex].stage = stage;
    report_[recordIndex].message = path + ": " + text;
  };

  // A name without a slash would be searched for in the library path.
  std::string openName = path.find('/') == std::string::npos ? "./" + path : path;
  dlerror();
  void *handle = dlopen(openName.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    const char *err = dlerror();
    std::string why = err ? err : "unknown error";
    // dlerror() starts with the file name; the line names it once already.
    if (why.compare(0, openName.size() + 2, openName + ": ") == 0)
      why = why.substr(openName.size() + 2);
    failEarly(LoadStage::Open, "not a loadable shared object: " + why);
    return;
  }
  void *entry = dlsym(handle, "main");
  if (!entry || !definedInObject(handle, entry)) {
    failEarly(LoadStage::Entry, "no entry point `main`");
    dlclose(handle);
    return;
  }

  extensions_.push_back(std::make_unique<_t_ExtensionID>());
  reportIndex_.push_back(recordIndex);
  size_t index = extensions_.size() - 1;
  _t_ExtensionID *ext = extensions_.back().get();
  ext->path = path;
  ext->handle = handle;

  FSInt32 code = 0;
  MainCall mainCall{reinterpret_cast<PIMainProcType>(entry),
                    static_cast<FSInt32>(options_.appHandshakeVersion), 0, nullptr, 0};
  if (!callWithExceptionFrame(callMain, &mainCall, &code))
    return fail(index, LoadStage::Entry, "exception " + std::to_string(code) + " raised in main", true);
  if (!mainCall.result)
    return fail(index, LoadStage::Entry, "main refused", true);

  FSUns32 agreed = static_cast<FSUns32>(mainCall.agreed);
  ext->agreedVersion = agreed;
  if (agreed < HANDSHAKE_V0200)
    return fail(index, LoadStage::Version,
                "agrees interface version " + versionText(agreed) + ", older than " +
                    versionText(HANDSHAKE_V0200),
                true);
  if (agreed > options_.appHandshakeVersion)
    return fail(index, LoadStage::Version,
                "agrees interface version " + versionText(agreed) + ", newer than the host's " +
                    versionText(options_.appHandshakeVersion),
                true);
  if (!mainCall.setup)
    return fail(index, LoadStage::Entry, "main gave no setup procedure", true);

  PISDKData_V0200 sdk{agreed, ext, core_, nullptr};
  SetupCall setupCall{mainCall.setup, agreed, &sdk, 0};
  if (!callWithExceptionFrame(callSetup, &setupCall, &code))
    return fail(index, LoadStage::Setup, "exception " + std::to_string(code) + " raised in setup", true);
  if (!setupCall.result)
    return fail(index, LoadStage::Setup, "setup refused", true);
  if (!sdk.handshakeCallback)
    return fail(index, LoadStage::Setup, "setup gave no handshake callback", true);

  PIHandshakeData_V0200 &hs = ext->handshake;
  hs = PIHandshakeData_V0200{};
  hs.handshakeVersion = agreed;
  hs.appName = atomFromString(options_.appName);
  HandshakeCall handshakeCall{callbackProc<PIHandshakeProcType>(sdk.handshakeCallback), agreed, &hs, 0};
  if (!callWithExceptionFrame(callHandshake, &handshakeCall, &code))
    return fail(index, LoadStage::Handshake, "exception " + std::to_string(code) + " raised in handshake",
                true);
  if (!handshakeCall.result)
    return fail(index, LoadStage::Handshake, "handshake refused", true);
  ext->name = hs.extensionName;
  if (!hs.initCallback)
    return fail(index, LoadStage::Handshake, "handshake gave no init callback", true);
  report_[recordIndex].stage = LoadStage::Handshake;
  report_[recordIndex].message = path + ": handshake done";
}

void PluginLoader::loadAll(const std::vector<PluginSource> &sources)
{
  if (loaded_)
    return;
  loaded_ = true;
  for (const auto &source : sources) {
    LoadReport missing;
    auto files = expandPluginSources({source}, &missing);
    report_.insert(report_.end(), missing.begin(), missing.end());
    for (const auto &file : files)
      loadOne(file);
  }

  // Plug-ins through their handshake, in load order.
  auto pending = [&](size_t i) {
    return extensions_[i]->handle && report_[reportIndex_[i]].stage == LoadStage::Handshake;
  };
  struct Phase {
    FSCallback PIHandshakeData_V0200::*slot;
    LoadStage stage;
    const char *word;
    const char *refused;
    bool required;
  };
  const Phase phases[] = {
      {&PIHandshakeData_V0200::exportHFTsCallback, LoadStage::Export, "export", "export of tables refused",
       false},
      {&PIHandshakeData_V0200::importReplaceAndRegisterCallback, LoadStage::Import, "import",
       "import, replace and register refused", false},
      {&PIHandshakeData_V0200::initCallback, LoadStage::Init, "init", "init failed", true},
  };
  std::vector<bool> failed(extensions_.size(), false);
  for (const Phase &phase : phases) {
    for (size_t i = 0; i < extensions_.size(); ++i) {
      if (!pending(i) || failed[i])
        continue;
      FSCallback cb = extensions_[i]->handshake.*phase.slot;
      if (!cb)
        continue;
      FSInt32 code = 0;
      BoolCall call{callbackProc<FSBool (*)(void)>(cb), 0};
      if (!callWithExceptionFrame(callBool, &call, &code)) {
        failed[i] = true;
        fail(i, phase.stage, "exception " + std::to_string(code) + " raised in " + phase.word, false);
      } else if (!call.result) {
        failed[i] = true;
        fail(i, phase.stage, phase.refused, false);
      }
    }
  }
  for (size_t i = 0; i < extensions_.size(); ++i) {
    if (!pending(i) || failed[i])
      continue;
    _t_ExtensionID *ext = extensions_[i].get();
    ext->active = true;
    LoadRecord &record = report_[reportIndex_[i]];
    record.stage = LoadStage::Loaded;
    const char *name = extensionName(ext);
    record.message = ext->path + ": loaded as " + (*name ? name : "(unnamed)");
    record.ok = true;
  }
}

void PluginLoader::unloadAll()
{
  for (size_t i = extensions_.size(); i-- > 0;) {
    _t_ExtensionID *ext = extensions_[i].get();
    if (!ext->active)
      continue;
    ext->active = false;
    if (FSCallback cb = ext->handshake.unloadCallback) {
      BoolCall call{callbackProc<FSBool (*)(void)>(cb), 0};
      callWithExceptionFrame(callBool, &call, nullptr);
    }
  }
}

std::string PluginLoader::reportText() const
{
  std::string text;
  for (const auto &record : report_)
    text += record.message + "\n";
  return text;
}

std::vector<ExtensionID> PluginLoader::extensions() const
{
  std::vector<ExtensionID> active;
  for (const auto &ext : extensions_)
    if (ext->active)
      active.push_back(ext.get());
  return active;
}

} // namespace folio
