// PluginLoader.h: finds plug-ins, loads them and drives their start-up.
//
// For each source (a folder: its *.so files in name order; or one file) the
// loader dlopens the file (RTLD_NOW | RTLD_LOCAL), finds `main` with dlsym and
// calls main(appVersion, &agreed, &setup). The agreed version must be 2.0 up
// to appVersion. It then makes the ExtensionID, calls setup with a
// PISDKData_V0200 carrying the core table, and calls the handshake through the
// callback that setup stored. When every plug-in is through its handshake it
// calls, in load order, each one's export-tables callback, then each one's
// import-replace-and-register callback, then each one's init callback (the
// optional ones only when set). Every call into a plug-in runs inside a host
// exception frame, so a raise there fails only that plug-in.
//
// Failures are reported, never fatal: each gives one line naming the file in
// the load report. A plug-in that fails before init has its callbacks
// destroyed and is dlclosed; one whose init (or an earlier-phase callback)
// fails is left loaded but inert (it may already have registered things with
// the host). The same file (by real path) is loaded once; later sightings are
// skipped quietly.
//
// Messages, each "<path>: <text>":
//   not found                                 (a named file or folder is missing)
//   not a loadable shared object: <dlerror>
//   no entry point `main`
//   main refused
//   agrees interface version <maj>.<min>, older than 2.0
//   agrees interface version <maj>.<min>, newer than the host's <maj>.<min>
//   setup refused
//   setup gave no handshake callback
//   handshake refused
//   handshake gave no init callback
//   export of tables refused
//   import, replace and register refused
//   init failed
//   main gave no setup procedure
//   exception <code> raised in <main|setup|handshake|export|import|init>
//   loaded as <registered name>               (ok)
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/Configuration.h"
#include "core/Extension.h"
#include "folio/FolioTypes.h"

namespace folio {

enum class LoadStage { Find, Open, Entry, Version, Setup, Handshake, Export, Import, Init, Loaded };

// "find", "open", "entry", "version", "setup", "handshake", "export",
// "import", "init", "loaded".
const char *loadStageName(LoadStage stage);

// One line of the load report: the stage reached (where it failed, or
// Loaded), the message, and whether the plug-in is running.
struct LoadRecord {
  std::string path;
  LoadStage stage;
  std::string message;
  bool ok;
};
using LoadReport = std::vector<LoadRecord>;

struct LoaderOptions {
  FSUns32 appHandshakeVersion = HANDSHAKE_V0200; // passed to main
  const char *appName = "Folio";                 // handshake's appName atom
};

class PluginLoader {
public:
  // `coreTable` is handed to every plug-in in its setup record; it must
  // outlive the loaded plug-ins.
  explicit PluginLoader(HFT coreTable, LoaderOptions options = {});
  // Calls nothing in the plug-ins and closes none that are active (their
  // code may still be referenced by the host); see unloadAll().
  ~PluginLoader();
  PluginLoader(const PluginLoader &) = delete;
  PluginLoader &operator=(const PluginLoader &) = delete;

  // Loads every plug-in of `sources` (see Configuration::pluginSources) and
  // runs the start-up phases. May be called once.
  void loadAll(const std::vector<PluginSource> &sources);

  // Calls the unload callbacks of active plug-ins in reverse load order;
  // they become inactive. The shared objects stay mapped.
  void unloadAll();

  // One record per file tried (and per missing source), in load order.
  const LoadReport &report() const { return report_; }
  // The report as text, one line a record, each ending in '\n'.
  std::string reportText() const;
  // The active extensions, in load order.
  std::vector<ExtensionID> extensions() const;

private:
  struct Candidate;
  void loadOne(const std::string &path);
  void fail(size_t index, LoadStage stage, const std::string &text, bool unload);

  HFT core_;
  LoaderOptions options_;
  bool loaded_ = false;
  std::vector<std::unique_ptr<_t_ExtensionID>> extensions_;
  std::vector<size_t> reportIndex_; // extension i -> its report record
  LoadReport report_;
  std::vector<std::string> seen_; // real paths already tried
};

// Expands sources into plug-in files in load order: a folder gives its *.so
// files (regular files, name order); a file gives itself. A missing source
// that must be reported gives a record in `missing` (stage Find).
std::vector<std::string> expandPluginSources(const std::vector<PluginSource> &sources, LoadReport *missing);

} // namespace folio
