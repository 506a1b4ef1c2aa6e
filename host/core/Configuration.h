// Configuration.h: the host's configuration: edition, plug-in folders, and
// the values served by FSGetConfiguration.
//
// Editions: the editing edition (the default) can change documents; the
// read-only edition cannot. Sources, weakest first, each overriding the one
// before: the config file ($XDG_CONFIG_HOME/folio/folio.conf, or
// $HOME/.config/folio/folio.conf when XDG_CONFIG_HOME is unset or empty), the
// environment (FOLIO_EDITION), the program's command line (setEdition).
//
// Config file: one "key = value" a line; blank lines and lines starting with
// '#' are ignored; keys: "edition" ("editing" or "read-only"), "plugin-path"
// (colon-separated folders or files), "bbox-margin" (points, see below), and
// the viewer's preferences "units" and "show-cropped-pages" (kept as text;
// the viewer reads and stores them with preference() and storePreference()).
// Environment: FOLIO_EDITION (same
// values), FOLIO_PLUGIN_PATH (colon-separated). Unknown keys and values are
// ignored and noted in warnings().
//
// Plug-in sources, in the order they are loaded: the default folder plug_ins/
// beside the executable (skipped quietly when it does not exist, or when
// turned off), then the config file's plugin-path, then FOLIO_PLUGIN_PATH,
// then what the command line adds (addPluginSource).
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "folio/FolioTypes.h"

namespace folio {

enum class Edition { Editing, ReadOnly };

// "editing" / "read-only".
const char *editionName(Edition edition);
std::optional<Edition> parseEdition(const std::string &text);

// Where a plug-in source came from; only the default folder may be missing
// without a report.
enum class SourceOrigin { DefaultFolder, ConfigFile, Environment, CommandLine };

struct PluginSource {
  std::string path; // a folder (its *.so files) or one file
  SourceOrigin origin;
};

// What the configuration reads from the process; fromProcess() takes the real
// environment. Tests fill it by hand.
struct ConfigInputs {
  std::optional<std::string> edition;       // FOLIO_EDITION
  std::optional<std::string> pluginPath;    // FOLIO_PLUGIN_PATH
  std::optional<std::string> configFile;    // the config file's path, if any
  std::optional<std::string> executableDir; // folder of /proc/self/exe

  static ConfigInputs fromProcess();
};

class Configuration {
public:
  // The defaults: editing edition, default folder beside the executable.
  Configuration();
  explicit Configuration(const ConfigInputs &inputs);

  Edition edition() const { return edition_; }
  bool canEdit() const { return edition_ == Edition::Editing; }
  // The command line's choice (--read-only), stronger than file and environment.
  void setEdition(Edition edition) { edition_ = edition; }

  // Plug-in folders and files, in load order (see above).
  std::vector<PluginSource> pluginSources() const;
  void addPluginSource(const std::string &path, SourceOrigin origin = SourceOrigin::CommandLine);
  void setUseDefaultPluginFolder(bool use) { useDefaultFolder_ = use; }
  // The default folder, "<executable dir>/plug_ins"; empty when unknown.
  const std::string &defaultPluginFolder() const { return defaultFolder_; }

  // FSGetConfiguration: "CanEdit" answers a non-null value in the editing
  // edition and null in the read-only one; other keys answer what set() gave
  // them, null when unset. The value is opaque to the host.
  void *get(FSAtom key) const;
  void *get(const char *key) const;
  void set(const char *key, void *value);

  // A viewer preference from the config file ("units", "show-cropped-pages");
  // empty when unset.
  std::string preference(const std::string &key) const;
  // Sets a viewer preference and writes it to the config file: the key's
  // line is replaced (or a line added), every other line kept as it was;
  // the file and its folder are made when missing. Written to a temporary
  // file beside it and renamed. False (the value still set for this run)
  // when there is no config file path or it cannot be written.
  bool storePreference(const std::string &key, const std::string &value);
  // The margin, in points (0 by default), by which every page's bounding box
  // is widened on each side as PDPageGetBBox reports it (the config file's
  // "bbox-margin", the command line's --bbox-margin, View > Preferences).
  double bboxMargin() const { return bboxMargin_; }
  void setBBoxMargin(double points) { bboxMargin_ = points; }

  // Notes about what was ignored while reading the sources, one line each.
  const std::vector<std::string> &warnings() const { return warnings_; }

private:
  void readFile(const std::string &path);

  Edition edition_ = Edition::Editing;
  bool useDefaultFolder_ = true;
  std::string defaultFolder_;
  std::vector<PluginSource> sources_;
  std::map<std::string, void *> values_;
  std::map<std::string, std::string> preferences_;
  std::string configFile_;
  std::vector<std::string> warnings_;
  double bboxMargin_ = 0;
};

// The process-wide configuration served by FSGetConfiguration; made from
// ConfigInputs::fromProcess() on first use. The program adjusts it (command
// line) before loading plug-ins.
Configuration &configuration();

// A bounding-box margin as written in the config file or on the command line:
// a decimal number of points from 0 to kMaxBBoxMargin; nothing otherwise.
constexpr double kMaxBBoxMargin = 1000.0;
std::optional<double> parseBBoxMargin(const std::string &text);

// Splits a colon-separated list, dropping empty items.
std::vector<std::string> splitPathList(const std::string &list);

// The folder of the running executable (/proc/self/exe), empty when unknown.
std::string executableDir();

} // namespace folio
