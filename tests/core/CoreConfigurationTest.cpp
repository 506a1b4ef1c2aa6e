// Configuration: editions from defaults, file, environment and command line;
// plug-in sources; values served by FSGetConfiguration.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>

#include <sys/stat.h>
#include <unistd.h>

#include "CoreTestSupport.h"
#include "core/Atoms.h"
#include "core/Configuration.h"

using namespace folio;
using coretest::TempDir;
using coretest::writeFile;

namespace {

ConfigInputs noInputs()
{
  return ConfigInputs{};
}

ConfigInputs withFile(const TempDir &dir, const std::string &text)
{
  writeFile(dir.file("folio.conf"), text);
  ConfigInputs in;
  in.configFile = dir.file("folio.conf");
  return in;
}

// Sets an environment variable for one test and puts it back afterwards.
class ScopedEnv {
public:
  ScopedEnv(const char *name, const char *value) : name_(name)
  {
    if (const char *old = std::getenv(name))
      old_ = old;
    if (value)
      setenv(name, value, 1);
    else
      unsetenv(name);
  }
  ~ScopedEnv()
  {
    if (old_)
      setenv(name_, old_->c_str(), 1);
    else
      unsetenv(name_);
  }

private:
  const char *name_;
  std::optional<std::string> old_;
};

} // namespace

TEST(CoreConfiguration, DefaultEditionIsEditing)
{
  Configuration config{noInputs()};
  EXPECT_EQ(config.edition(), Edition::Editing);
  EXPECT_TRUE(config.canEdit());
  EXPECT_NE(config.get("CanEdit"), nullptr);
}

TEST(CoreConfiguration, ReadOnlyOptionRemovesCanEdit)
{
  Configuration config{noInputs()};
  config.setEdition(Edition::ReadOnly);
  EXPECT_FALSE(config.canEdit());
  EXPECT_EQ(config.get("CanEdit"), nullptr);
}

TEST(CoreConfiguration, EnvironmentSelectsReadOnly)
{
  ConfigInputs in;
  in.edition = "read-only";
  Configuration config{in};
  EXPECT_EQ(config.edition(), Edition::ReadOnly);
  EXPECT_EQ(config.get("CanEdit"), nullptr);
}

TEST(CoreConfiguration, EnvironmentSelectsEditing)
{
  ConfigInputs in;
  in.edition = "editing";
  Configuration config{in};
  EXPECT_EQ(config.edition(), Edition::Editing);
}

TEST(CoreConfiguration, ConfigFileSelectsReadOnly)
{
  TempDir dir;
  Configuration config{withFile(dir, "# folio settings\n\nedition = read-only\n")};
  EXPECT_EQ(config.edition(), Edition::ReadOnly);
  EXPECT_EQ(config.get("CanEdit"), nullptr);
  EXPECT_TRUE(config.warnings().empty());
}

TEST(CoreConfiguration, ConfigFileToleratesBlanksAroundKeyAndValue)
{
  TempDir dir;
  Configuration config{withFile(dir, "   edition\t=   read-only   \r\n")};
  EXPECT_EQ(config.edition(), Edition::ReadOnly);
}

TEST(CoreConfiguration, EnvironmentOverridesConfigFile)
{
  TempDir dir;
  ConfigInputs in = withFile(dir, "edition = read-only\n");
  in.edition = "editing";
  Configuration config{in};
  EXPECT_EQ(config.edition(), Edition::Editing);
}

TEST(CoreConfiguration, CommandLineOverridesEnvironment)
{
  ConfigInputs in;
  in.edition = "editing";
  Configuration config{in};
  config.setEdition(Edition::ReadOnly);
  EXPECT_EQ(config.edition(), Edition::ReadOnly);
}

TEST(CoreConfiguration, UnknownEditionInEnvironmentIsIgnoredWithWarning)
{
  ConfigInputs in;
  in.edition = "readonly";
  Configuration config{in};
  EXPECT_EQ(config.edition(), Edition::Editing);
  ASSERT_EQ(config.warnings().size(), 1u);
  EXPECT_EQ(config.warnings()[0], "FOLIO_EDITION: unknown edition \"readonly\" (ignored)");
}

TEST(CoreConfiguration, UnknownKeyAndBadLineInFileAreIgnoredWithWarnings)
{
  TempDir dir;
  Configuration config{withFile(dir, "colour = red\nedition read-only\nedition = sometimes\n")};
  EXPECT_EQ(config.edition(), Edition::Editing);
  ASSERT_EQ(config.warnings().size(), 3u);
  std::string f = dir.file("folio.conf");
  EXPECT_EQ(config.warnings()[0], f + ":1: unknown key \"colour\" (ignored)");
  EXPECT_EQ(config.warnings()[1], f + ":2: not a \"key = value\" line (ignored)");
  EXPECT_EQ(config.warnings()[2], f + ":3: unknown edition \"sometimes\" (ignored)");
}

TEST(CoreConfiguration, MissingConfigFileIsNotAnError)
{
  ConfigInputs in;
  in.configFile = "/tmp/folio-core-test-no-such-dir/folio.conf";
  Configuration config{in};
  EXPECT_EQ(config.edition(), Edition::Editing);
  EXPECT_TRUE(config.warnings().empty());
}

TEST(CoreConfiguration, FromProcessReadsXdgConfigFile)
{
  TempDir dir;
  ASSERT_EQ(mkdir(dir.file("folio").c_str(), 0700), 0);
  writeFile(dir.file("folio/folio.conf"), "edition = read-only\n");
  ScopedEnv xdg("XDG_CONFIG_HOME", dir.path().c_str());
  ScopedEnv edition("FOLIO_EDITION", nullptr);
  ConfigInputs in = ConfigInputs::fromProcess();
  ASSERT_TRUE(in.configFile.has_value());
  EXPECT_EQ(*in.configFile, dir.file("folio/folio.conf"));
  EXPECT_EQ(Configuration{in}.edition(), Edition::ReadOnly);
}

TEST(CoreConfiguration, FromProcessFallsBackToHomeConfig)
{
  ScopedEnv xdg("XDG_CONFIG_HOME", "");
  ScopedEnv home("HOME", "/tmp/folio-core-test-home");
  ConfigInputs in = ConfigInputs::fromProcess();
  ASSERT_TRUE(in.configFile.has_value());
  EXPECT_EQ(*in.configFile, "/tmp/folio-core-test-home/.config/folio/folio.conf");
}

TEST(CoreConfiguration, ARelativeXdgConfigHomeIsIgnored)
{
  // Started in a folder that holds folio/folio.conf, with a relative
  // XDG_CONFIG_HOME naming it: that file is not read.
  TempDir dir;
  ASSERT_EQ(mkdir(dir.file("folio").c_str(), 0700), 0);
  writeFile(dir.file("folio/folio.conf"), "edition = read-only\nplugin-path = /evil\n");
  char *cwd = getcwd(nullptr, 0);
  ASSERT_NE(cwd, nullptr);
  ASSERT_EQ(chdir(dir.path().c_str()), 0);
  for (const char *relative : {".", "./", "folio/..", "sub/dir"}) {
    ScopedEnv xdg("XDG_CONFIG_HOME", relative);
    ScopedEnv home("HOME", "/tmp/folio-core-test-home");
    ScopedEnv edition("FOLIO_EDITION", nullptr);
    ConfigInputs in = ConfigInputs::fromProcess();
    ASSERT_TRUE(in.configFile.has_value()) << relative;
    EXPECT_EQ(*in.configFile, "/tmp/folio-core-test-home/.config/folio/folio.conf") << relative;
    EXPECT_EQ(Configuration{in}.edition(), Edition::Editing) << relative;
  }
  EXPECT_EQ(chdir(cwd), 0);
  std::free(cwd);
}

TEST(CoreConfiguration, FromProcessReadsEditionAndPluginPathVariables)
{
  ScopedEnv edition("FOLIO_EDITION", "read-only");
  ScopedEnv path("FOLIO_PLUGIN_PATH", "/a:/b");
  ConfigInputs in = ConfigInputs::fromProcess();
  EXPECT_EQ(in.edition.value_or(""), "read-only");
  EXPECT_EQ(in.pluginPath.value_or(""), "/a:/b");
  ASSERT_TRUE(in.executableDir.has_value());
  EXPECT_EQ(*in.executableDir, executableDir());
}

TEST(CoreConfiguration, ExecutableDirIsTheTestProgramsFolder)
{
  std::string dir = executableDir();
  ASSERT_FALSE(dir.empty());
  EXPECT_EQ(dir.substr(dir.size() - 4), "/bin");
}

TEST(CoreConfiguration, DefaultPluginFolderIsBesideTheExecutable)
{
  ConfigInputs in;
  in.executableDir = "/opt/folio/bin";
  Configuration config{in};
  EXPECT_EQ(config.defaultPluginFolder(), "/opt/folio/bin/plug_ins");
  auto sources = config.pluginSources();
  ASSERT_EQ(sources.size(), 1u);
  EXPECT_EQ(sources[0].path, "/opt/folio/bin/plug_ins");
  EXPECT_EQ(sources[0].origin, SourceOrigin::DefaultFolder);
}

TEST(CoreConfiguration, DefaultPluginFolderCanBeTurnedOff)
{
  ConfigInputs in;
  in.executableDir = "/opt/folio/bin";
  Configuration config{in};
  config.setUseDefaultPluginFolder(false);
  EXPECT_TRUE(config.pluginSources().empty());
}

TEST(CoreConfiguration, PluginSourcesComeInOrderDefaultFileEnvironmentCommandLine)
{
  TempDir dir;
  ConfigInputs in = withFile(dir, "plugin-path = /f1:relative/f2\n");
  in.executableDir = "/opt/folio/bin";
  in.pluginPath = "/e1::/e2:";
  Configuration config{in};
  config.addPluginSource("/c1");
  auto s = config.pluginSources();
  ASSERT_EQ(s.size(), 6u);
  EXPECT_EQ(s[0].path, "/opt/folio/bin/plug_ins");
  EXPECT_EQ(s[1].path, "/f1");
  EXPECT_EQ(s[1].origin, SourceOrigin::ConfigFile);
  EXPECT_EQ(s[2].path, dir.path() + "/relative/f2");
  EXPECT_EQ(s[3].path, "/e1");
  EXPECT_EQ(s[3].origin, SourceOrigin::Environment);
  EXPECT_EQ(s[4].path, "/e2");
  EXPECT_EQ(s[5].path, "/c1");
  EXPECT_EQ(s[5].origin, SourceOrigin::CommandLine);
}

TEST(CoreConfiguration, SplitPathListDropsEmptyItems)
{
  EXPECT_EQ(splitPathList(""), std::vector<std::string>{});
  EXPECT_EQ(splitPathList(":::"), std::vector<std::string>{});
  EXPECT_EQ(splitPathList("a"), std::vector<std::string>{"a"});
  EXPECT_EQ(splitPathList(":a: b :c:"), (std::vector<std::string>{"a", "b", "c"}));
}

TEST(CoreConfiguration, EditionNamesRoundTrip)
{
  EXPECT_STREQ(editionName(Edition::Editing), "editing");
  EXPECT_STREQ(editionName(Edition::ReadOnly), "read-only");
  EXPECT_EQ(parseEdition("editing"), Edition::Editing);
  EXPECT_EQ(parseEdition("read-only"), Edition::ReadOnly);
  EXPECT_EQ(parseEdition("Read-Only"), std::nullopt);
  EXPECT_EQ(parseEdition(""), std::nullopt);
}

TEST(CoreConfiguration, GetByAtomMatchesGetByName)
{
  Configuration config{noInputs()};
  EXPECT_EQ(config.get(atomFromString("CanEdit")), config.get("CanEdit"));
  config.setEdition(Edition::ReadOnly);
  EXPECT_EQ(config.get(atomFromString("CanEdit")), nullptr);
}

TEST(CoreConfiguration, UnsetKeyIsNull)
{
  Configuration config{noInputs()};
  EXPECT_EQ(config.get("CoreConfiguration.unset"), nullptr);
  EXPECT_EQ(config.get(atomFromString("CoreConfiguration.unset")), nullptr);
  EXPECT_EQ(config.get(FSAtomNull), nullptr);
  EXPECT_EQ(config.get(static_cast<const char *>(nullptr)), nullptr);
}

TEST(CoreConfiguration, SetValueIsServedAndNullUnsetsIt)
{
  Configuration config{noInputs()};
  int marker = 0;
  config.set("CoreConfiguration.key", &marker);
  EXPECT_EQ(config.get("CoreConfiguration.key"), &marker);
  config.set("CoreConfiguration.key", nullptr);
  EXPECT_EQ(config.get("CoreConfiguration.key"), nullptr);
}

TEST(CoreConfiguration, SettingCanEditChangesTheEdition)
{
  Configuration config{noInputs()};
  config.set("CanEdit", nullptr);
  EXPECT_EQ(config.edition(), Edition::ReadOnly);
  int any = 0;
  config.set("CanEdit", &any);
  EXPECT_EQ(config.edition(), Edition::Editing);
}

TEST(CoreConfiguration, ViewerPreferencesAreReadFromTheFile)
{
  TempDir dir;
  Configuration config{withFile(dir, "units = millimetres\nshow-cropped-pages = yes\n")};
  EXPECT_EQ(config.preference("units"), "millimetres");
  EXPECT_EQ(config.preference("show-cropped-pages"), "yes");
  EXPECT_EQ(config.preference("edition"), "");
  EXPECT_TRUE(config.warnings().empty());
}

TEST(CoreConfiguration, StoringAPreferenceRewritesOnlyItsLine)
{
  TempDir dir;
  std::string text = "# my settings\nedition = read-only\nunits = points\nplugin-path = extra\n";
  Configuration config{withFile(dir, text)};
  ASSERT_TRUE(config.storePreference("units", "inches"));
  ASSERT_TRUE(config.storePreference("show-cropped-pages", "yes"));
  std::ifstream in(dir.file("folio.conf"));
  std::stringstream s;
  s << in.rdbuf();
  EXPECT_EQ(
      s.str(),
      "# my settings\nedition = read-only\nunits = inches\nplugin-path = extra\nshow-cropped-pages = yes\n");
  // Read again, the file gives what was stored.
  ConfigInputs again;
  again.configFile = dir.file("folio.conf");
  Configuration reread{again};
  EXPECT_EQ(reread.preference("units"), "inches");
  EXPECT_EQ(reread.preference("show-cropped-pages"), "yes");
  EXPECT_EQ(reread.edition(), Edition::ReadOnly);
}

TEST(CoreConfiguration, StoringAPreferenceMakesAMissingFile)
{
  TempDir dir;
  ConfigInputs in;
  in.configFile = dir.file("sub/folder/folio.conf");
  Configuration config{in};
  ASSERT_TRUE(config.storePreference("units", "millimetres"));
  Configuration reread{in};
  EXPECT_EQ(reread.preference("units"), "millimetres");
}

TEST(CoreConfiguration, WithoutAConfigFileAPreferenceLastsForTheRun)
{
  Configuration config{noInputs()};
  EXPECT_FALSE(config.storePreference("units", "inches"));
  EXPECT_EQ(config.preference("units"), "inches");
}
