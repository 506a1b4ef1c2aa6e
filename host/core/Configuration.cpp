// Configuration.cpp: reading the edition, the plug-in folders and the
// viewer's preferences from the config file and the environment; storing
// the preferences back.
#include "core/Configuration.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "core/Atoms.h"

namespace folio {
namespace {

const char kCanEditKey[] = "CanEdit";
// The value served for "CanEdit" in the editing edition: any non-null
// pointer would do; this one points at a true boolean.
const FSBool kCanEditValue = 1;

std::string trim(const std::string &s)
{
  const char *blanks = " \t\r\n";
  auto first = s.find_first_not_of(blanks);
  if (first == std::string::npos)
    return "";
  auto last = s.find_last_not_of(blanks);
  return s.substr(first, last - first + 1);
}

std::optional<std::string> env(const char *name)
{
  const char *value = std::getenv(name);
  if (!value)
    return std::nullopt;
  return std::string(value);
}

std::string folderOf(const std::string &path)
{
  auto slash = path.rfind('/');
  if (slash == std::string::npos)
    return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

// Makes `folder` and its missing parents; true when it exists afterwards.
bool makeFolders(const std::string &folder)
{
  struct stat st {};
  if (::stat(folder.c_str(), &st) == 0)
    return S_ISDIR(st.st_mode);
  std::string parent = folderOf(folder);
  if (parent != folder && !makeFolders(parent))
    return false;
  return ::mkdir(folder.c_str(), 0755) == 0 || errno == EEXIST;
}

bool isPreferenceKey(const std::string &key)
{
  return key == "units" || key == "show-cropped-pages";
}

} // namespace

const char *editionName(Edition edition)
{
  return edition == Edition::ReadOnly ? "read-only" : "editing";
}

std::optional<Edition> parseEdition(const std::string &text)
{
  std::string t = trim(text);
  if (t == "editing")
    return Edition::Editing;
  if (t == "read-only")
    return Edition::ReadOnly;
  return std::nullopt;
}

std::optional<double> parseBBoxMargin(const std::string &text)
{
  if (text.empty() || text.size() > 32)
    return std::nullopt;
  for (char c : text)
    if (!((c >= '0' && c <= '9') || c == '.'))
      return std::nullopt;
  char *end = nullptr;
  double v = std::strtod(text.c_str(), &end);
  if (end == text.c_str() || *end != '\0' || !(v >= 0) || v > kMaxBBoxMargin)
    return std::nullopt;
  return v;
}

std::vector<std::string> splitPathList(const std::string &list)
{
  std::vector<std::string> items;
  std::string::size_type start = 0;
  while (start <= list.size()) {
    auto colon = list.find(':', start);
    if (colon == std::string::npos)
      colon = list.size();
    std::string item = trim(list.substr(start, colon - start));
    if (!item.empty())
      items.push_back(item);
    start = colon + 1;
  }
  return items;
}

std::string executableDir()
{
  char buf[4096];
  ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
  if (n <= 0)
    return "";
  buf[n] = '\0';
  return folderOf(buf);
}

ConfigInputs ConfigInputs::fromProcess()
{
  ConfigInputs in;
  in.edition = env("FOLIO_EDITION");
  in.pluginPath = env("FOLIO_PLUGIN_PATH");
  auto xdg = env("XDG_CONFIG_HOME");
  auto home = env("HOME");
  // The XDG base-directory rules: a relative value is invalid and ignored
  // (else a folio started in a folder holding folio/folio.conf would load
  // the plug-ins that file names).
  if (xdg && !xdg->empty() && (*xdg)[0] == '/')
    in.configFile = *xdg + "/folio/folio.conf";
  else if (home && !home->empty())
    in.configFile = *home + "/.config/folio/folio.conf";
  std::string exe = folio::executableDir();
  if (!exe.empty())
    in.executableDir = exe;
  return in;
}

Configuration::Configuration()
{
  std::string exe = executableDir();
  if (!exe.empty())
    defaultFolder_ = exe + "/plug_ins";
}

Configuration::Configuration(const ConfigInputs &inputs)
{
  if (inputs.executableDir && !inputs.executableDir->empty())
    defaultFolder_ = *inputs.executableDir + "/plug_ins";
  if (inputs.configFile) {
    configFile_ = *inputs.configFile;
    readFile(*inputs.configFile);
  }
  if (inputs.edition) {
    if (auto e = parseEdition(*inputs.edition))
      edition_ = *e;
    else
      warnings_.push_back("FOLIO_EDITION: unknown edition \"" + *inputs.edition + "\" (ignored)");
  }
  if (inputs.pluginPath)
    for (const auto &item : splitPathList(*inputs.pluginPath))
      sources_.push_back({item, SourceOrigin::Environment});
}

void Configuration::readFile(const std::string &path)
{
  std::ifstream in(path);
  if (!in)
    return; // no config file: nothing to read
  std::string line;
  int number = 0;
  while (std::getline(in, line)) {
    ++number;
    std::string text = trim(line);
    if (text.empty() || text[0] == '#')
      continue;
    std::string where = path + ":" + std::to_string(number);
    auto eq = text.find('=');
    if (eq == std::string::npos) {
      warnings_.push_back(where + ": not a \"key = value\" line (ignored)");
      continue;
    }
    std::string key = trim(text.substr(0, eq));
    std::string value = trim(text.substr(eq + 1));
    if (key == "edition") {
      if (auto e = parseEdition(value))
        edition_ = *e;
      else
        warnings_.push_back(where + ": unknown edition \"" + value + "\" (ignored)");
    } else if (key == "bbox-margin") {
      if (auto m = parseBBoxMargin(value))
        bboxMargin_ = *m;
      else
        warnings_.push_back(where + ": bbox-margin takes points from 0 to 1000, not \"" + value +
                            "\" (ignored)");
    } else if (key == "plugin-path") {
      // Relative entries are relative to the file's own folder.
      for (auto &item : splitPathList(value))
        sources_.push_back({item[0] == '/' ? item : folderOf(path) + "/" + item, SourceOrigin::ConfigFile});
    } else if (isPreferenceKey(key)) {
      preferences_[key] = value;
    } else {
      warnings_.push_back(where + ": unknown key \"" + key + "\" (ignored)");
    }
  }
}

std::vector<PluginSource> Configuration::pluginSources() const
{
  std::vector<PluginSource> all;
  if (useDefaultFolder_ && !defaultFolder_.empty())
    all.push_back({defaultFolder_, SourceOrigin::DefaultFolder});
  all.insert(all.end(), sources_.begin(), sources_.end());
  return all;
}

void Configuration::addPluginSource(const std::string &path, SourceOrigin origin)
{
  sources_.push_back({path, origin});
}

void *Configuration::get(FSAtom key) const
{
  const char *text = atomString(key);
  return text ? get(text) : nullptr;
}

void *Configuration::get(const char *key) const
{
  if (!key)
    return nullptr;
  if (std::string(key) == kCanEditKey)
    return canEdit() ? const_cast<FSBool *>(&kCanEditValue) : nullptr;
  auto it = values_.find(key);
  return it == values_.end() ? nullptr : it->second;
}

void Configuration::set(const char *key, void *value)
{
  if (!key)
    return;
  // "CanEdit" is the edition itself.
  if (std::string(key) == kCanEditKey) {
    edition_ = value ? Edition::Editing : Edition::ReadOnly;
    return;
  }
  if (value)
    values_[key] = value;
  else
    values_.erase(key);
}

std::string Configuration::preference(const std::string &key) const
{
  auto it = preferences_.find(key);
  return it == preferences_.end() ? std::string() : it->second;
}

bool Configuration::storePreference(const std::string &key, const std::string &value)
{
  preferences_[key] = value;
  if (configFile_.empty())
    return false;
  std::ostringstream out;
  bool replaced = false;
  {
    std::ifstream in(configFile_);
    std::string line;
    while (std::getline(in, line)) {
      std::string text = trim(line);
      auto eq = text.find('=');
      if (!text.empty() && text[0] != '#' && eq != std::string::npos && trim(text.substr(0, eq)) == key) {
        if (!replaced)
          out << key << " = " << value << "\n";
        replaced = true;
        continue;
      }
      out << line << "\n";
    }
  }
  if (!replaced)
    out << key << " = " << value << "\n";
  if (!makeFolders(folderOf(configFile_)))
    return false;
  std::string temp = configFile_ + ".new";
  {
    std::ofstream file(temp, std::ios::trunc);
    file << out.str();
    file.flush();
    if (!file)
      return false;
  }
  return std::rename(temp.c_str(), configFile_.c_str()) == 0;
}

Configuration &configuration()
{
  // Never destroyed: extensions may ask for values until the very end.
  static Configuration *config = new Configuration(ConfigInputs::fromProcess());
  return *config;
}

} // namespace folio
