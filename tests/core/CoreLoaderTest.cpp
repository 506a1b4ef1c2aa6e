// Plug-in loader: every start-up stage and every failure, with the exact
// line of the load report, using the small test plug-ins built beside this
// test (see test_plugin.c).
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "CoreTestSupport.h"
#include "core/Atoms.h"
#include "core/Callback.h"
#include "core/ExceptionFrames.h"
#include "core/PluginLoader.h"
#include "core/TableRegistry.h"
#include "tables/CoreTable.h"

using namespace folio;
using namespace folio::tables;
using coretest::TempDir;

namespace {

const std::string kDir = CORE_TEST_PLUGIN_DIR;
const std::string kAlpha = kDir + "/pair/alpha.so";
const std::string kBeta = kDir + "/pair/beta.so";

std::vector<std::string> gLog;

extern "C" void testLog(const char *line)
{
  gLog.push_back(line);
}

// The test plug-ins write what they do into the "CoreTestLog" table.
void registerLogTable()
{
  FSProc entries[2] = {nullptr, reinterpret_cast<FSProc>(testLog)};
  tableRegistry().add("CoreTestLog", 0x00010000, entries, 2);
}

class CoreLoader : public ::testing::Test {
protected:
  void SetUp() override
  {
    registerLogTable();
    gLog.clear();
  }

  // Loads the given files (as named on the command line) with a fresh loader.
  const LoadReport &load(const std::vector<std::string> &files, LoaderOptions options = {})
  {
    std::vector<PluginSource> sources;
    for (const auto &f : files)
      sources.push_back({f, SourceOrigin::CommandLine});
    loader_ = std::make_unique<PluginLoader>(coreTable(), options);
    loader_->loadAll(sources);
    return loader_->report();
  }

  std::unique_ptr<PluginLoader> loader_;
};

} // namespace

TEST_F(CoreLoader, GoodPluginGoesThroughMainSetupHandshakeInit)
{
  const LoadReport &r = load({kAlpha});
  ASSERT_EQ(r.size(), 1u);
  EXPECT_EQ(r[0].path, kAlpha);
  EXPECT_EQ(r[0].stage, LoadStage::Loaded);
  EXPECT_EQ(r[0].message, kAlpha + ": loaded as TEST_Alpha");
  EXPECT_TRUE(r[0].ok);
  EXPECT_EQ(gLog, (std::vector<std::string>{"setup TEST_Alpha", "handshake TEST_Alpha", "init TEST_Alpha"}));
}

TEST_F(CoreLoader, LoadedExtensionCarriesPathNameAndHandshake)
{
  load({kAlpha});
  auto exts = loader_->extensions();
  ASSERT_EQ(exts.size(), 1u);
  EXPECT_STREQ(extensionName(exts[0]), "TEST_Alpha");
  EXPECT_STREQ(extensionPath(exts[0]), kAlpha.c_str());
  EXPECT_EQ(exts[0]->agreedVersion, HANDSHAKE_V0200);
  EXPECT_EQ(exts[0]->handshake.handshakeVersion, HANDSHAKE_V0200);
  EXPECT_STREQ(atomString(exts[0]->handshake.appName), "Folio");
  EXPECT_NE(exts[0]->handshake.initCallback, nullptr);
  EXPECT_EQ(exts[0]->handshake.initCallback->extension, exts[0]);
  EXPECT_TRUE(exts[0]->active);
}

TEST_F(CoreLoader, FolderLoadsInNameOrderAndInitsAfterEveryHandshake)
{
  const LoadReport &r = load({kDir + "/pair"});
  ASSERT_EQ(r.size(), 2u);
  EXPECT_EQ(r[0].message, kAlpha + ": loaded as TEST_Alpha");
  EXPECT_EQ(r[1].message, kBeta + ": loaded as TEST_Beta");
  EXPECT_EQ(gLog, (std::vector<std::string>{"setup TEST_Alpha", "handshake TEST_Alpha", "setup TEST_Beta",
                                            "handshake TEST_Beta", "init TEST_Alpha", "init TEST_Beta"}));
}

TEST_F(CoreLoader, FolderPathWithTrailingSlashGivesCleanPaths)
{
  const LoadReport &r = load({kDir + "/pair/"});
  ASSERT_EQ(r.size(), 2u);
  EXPECT_EQ(r[0].path, kAlpha);
}

TEST_F(CoreLoader, MissingFileIsReported)
{
  std::string missing = kDir + "/no-such-plugin.so";
  const LoadReport &r = load({missing});
  ASSERT_EQ(r.size(), 1u);
  EXPECT_EQ(r[0].stage, LoadStage::Find);
  EXPECT_EQ(r[0].message, missing + ": not found");
  EXPECT_FALSE(r[0].ok);
}

TEST_F(CoreLoader, MissingFolderFromEnvironmentIsReported)
{
  PluginLoader loader(coreTable());
  loader.loadAll({{"/tmp/folio-core-test-no-such-folder", SourceOrigin::Environment}});
  ASSERT_EQ(loader.report().size(), 1u);
  EXPECT_EQ(loader.report()[0].message, "/tmp/folio-core-test-no-such-folder: not found");
}

TEST_F(CoreLoader, MissingDefaultFolderIsQuiet)
{
  PluginLoader loader(coreTable());
  loader.loadAll({{"/tmp/folio-core-test-no-such-folder/plug_ins", SourceOrigin::DefaultFolder}});
  EXPECT_TRUE(loader.report().empty());
}

TEST_F(CoreLoader, NonElfFileIsReportedWithTheLinkersText)
{
  TempDir dir;
  std::string path = dir.file("notes.so");
  coretest::writeFile(path, std::string(200, 'x'));
  const LoadReport &r = load({path});
  ASSERT_EQ(r.size(), 1u);
  EXPECT_EQ(r[0].stage, LoadStage::Open);
  EXPECT_EQ(r[0].message, path + ": not a loadable shared object: invalid ELF header");
  EXPECT_FALSE(r[0].ok);
}

TEST_F(CoreLoader, EmptyFileIsReportedAsNotLoadable)
{
  TempDir dir;
  std::string path = dir.file("empty.so");
  coretest::writeFile(path, "");
  const LoadReport &r = load({path});
  ASSERT_EQ(r.size(), 1u);
  EXPECT_EQ(r[0].stage, LoadStage::Open);
  EXPECT_EQ(r[0].message, path + ": not a loadable shared object: file too short");
}

TEST_F(CoreLoader, PluginWithoutMainIsReported)
{
  std::string path = kDir + "/nomain.so";
  const LoadReport &r = load({path});
  ASSERT_EQ(r.size(), 1u);
  EXPECT_EQ(r[0].stage, LoadStage::Entry);
  EXPECT_EQ(r[0].message, path + ": no entry point `main`");
  EXPECT_TRUE(gLog.empty());
}

TEST_F(CoreLoader, OlderAgreedVersionIsReportedAndSetupNotCalled)
{
  std::string path = kDir + "/oldversion.so";
  const LoadReport &r = load({path});
  ASSERT_EQ(r.size(), 1u);
  EXPECT_EQ(r[0].stage, LoadStage::Version);
  EXPECT_EQ(r[0].message, path + ": agrees interface version 1.0, older than 2.0");
  EXPECT_TRUE(gLog.empty());
}

TEST_F(CoreLoader, NewerAgreedVersionThanTheHostsIsReported)
{
  std::string path = kDir + "/newversion.so";
  const LoadReport &r = load({path});
  ASSERT_EQ(r.size(), 1u);
  EXPECT_EQ(r[0].stage, LoadStage::Version);
  EXPECT_EQ(r[0].message, path + ": agrees interface version 3.0, newer than the host's 2.0");
}

TEST_F(CoreLoader, SetupThatRefusesIsReportedAndItsCallbacksFreed)
{
  std::string path = kDir + "/setuprefuses.so";
  std::size_t before = callbackCount();
  const LoadReport &r = load({path});
  ASSERT_EQ(r.size(), 1u);
  EXPECT_EQ(r[0].stage, LoadStage::Setup);
  EXPECT_EQ(r[0].message, path + ": setup refused");
  EXPECT_EQ(gLog, std::vector<std::string>{"setup TEST_SetupNo"});
  EXPECT_EQ(callbackCount(), before);
  EXPECT_TRUE(loader_->extensions().empty());
}

TEST_F(CoreLoader, SetupThatRaisesIsReportedWithTheCode)
{
  std::string path = kDir + "/setupraises.so";
  const LoadReport &r = load({path});
  ASSERT_EQ(r.size(), 1u);
  EXPECT_EQ(r[0].stage, LoadStage::Setup);
  EXPECT_EQ(r[0].message, path + ": exception 42 raised in setup");
  EXPECT_EQ(exceptionFrameDepth(), 0u);
}

TEST_F(CoreLoader, HandshakeThatRefusesIsReported)
{
  std::string path = kDir + "/handshakerefuses.so";
  std::size_t before = callbackCount();
  const LoadReport &r = load({path});
  ASSERT_EQ(r.size(), 1u);
  EXPECT_EQ(r[0].stage, LoadStage::Handshake);
  EXPECT_EQ(r[0].message, path + ": handshake refused");
  EXPECT_EQ(gLog, (std::vector<std::string>{"setup TEST_HandshakeNo", "handshake TEST_HandshakeNo"}));
  EXPECT_EQ(callbackCount(), before); // the handshake callback went with it
}

TEST_F(CoreLoader, InitThatFailsIsReportedAndLeftInert)
{
  std::string path = kDir + "/initfails.so";
  const LoadReport &r = load({path});
  ASSERT_EQ(r.size(), 1u);
  EXPECT_EQ(r[0].stage, LoadStage::Init);
  EXPECT_EQ(r[0].message, path + ": init failed");
  EXPECT_FALSE(r[0].ok);
  EXPECT_TRUE(loader_->extensions().empty());
  loader_->unloadAll(); // an inert plug-in gets no unload call
  EXPECT_EQ(gLog,
            (std::vector<std::string>{"setup TEST_InitNo", "handshake TEST_InitNo", "init TEST_InitNo"}));
}

TEST_F(CoreLoader, FailuresDoNotStopTheOthers)
{
  TempDir dir;
  std::string text = dir.file("text.so");
  coretest::writeFile(text, std::string(100, 'y'));
  std::string missing = dir.file("missing.so");
  const LoadReport &r =
      load({missing, text, kDir + "/nomain.so", kDir + "/oldversion.so", kDir + "/setuprefuses.so",
            kDir + "/handshakerefuses.so", kDir + "/initfails.so", kAlpha});
  ASSERT_EQ(r.size(), 8u);
  EXPECT_EQ(loader_->reportText(),
            missing + ": not found\n" + text + ": not a loadable shared object: invalid ELF header\n" + kDir +
                "/nomain.so: no entry point `main`\n" + kDir +
                "/oldversion.so: agrees interface version 1.0, older than 2.0\n" + kDir +
                "/setuprefuses.so: setup refused\n" + kDir + "/handshakerefuses.so: handshake refused\n" +
                kDir + "/initfails.so: init failed\n" + kAlpha + ": loaded as TEST_Alpha\n");
  for (std::size_t i = 0; i + 1 < r.size(); ++i)
    EXPECT_FALSE(r[i].ok) << i;
  EXPECT_TRUE(r[7].ok);
  ASSERT_EQ(loader_->extensions().size(), 1u);
  EXPECT_STREQ(extensionName(loader_->extensions()[0]), "TEST_Alpha");
}

TEST_F(CoreLoader, SameFileIsLoadedOnce)
{
  const LoadReport &r = load({kAlpha, kDir + "/pair", kDir + "/pair/../pair/alpha.so"});
  ASSERT_EQ(r.size(), 2u);
  EXPECT_EQ(r[0].message, kAlpha + ": loaded as TEST_Alpha");
  EXPECT_EQ(r[1].message, kBeta + ": loaded as TEST_Beta");
}

TEST_F(CoreLoader, FolderIgnoresOtherFilesAndFollowsLinks)
{
  TempDir dir;
  coretest::writeFile(dir.file("readme.txt"), "not a plug-in\n");
  coretest::writeFile(dir.file("so"), "");
  ASSERT_EQ(mkdir(dir.file("sub.so").c_str(), 0700), 0);
  ASSERT_EQ(symlink(kBeta.c_str(), dir.file("linked.so").c_str()), 0);
  const LoadReport &r = load({dir.path()});
  ASSERT_EQ(r.size(), 1u);
  EXPECT_EQ(r[0].message, dir.file("linked.so") + ": loaded as TEST_Beta");
}

TEST_F(CoreLoader, EmptyFolderLoadsNothing)
{
  TempDir dir;
  EXPECT_TRUE(load({dir.path()}).empty());
}

TEST_F(CoreLoader, HostVersionNewerThanTwoStillAgreesTwo)
{
  LoaderOptions options;
  options.appHandshakeVersion = 0x00030000;
  const LoadReport &r = load({kAlpha}, options);
  ASSERT_EQ(r.size(), 1u);
  EXPECT_TRUE(r[0].ok);
  EXPECT_EQ(loader_->extensions()[0]->agreedVersion, HANDSHAKE_V0200);
}

TEST_F(CoreLoader, HostVersionOlderThanTwoMakesPluginsAgreeOlder)
{
  LoaderOptions options;
  options.appHandshakeVersion = 0x00010000;
  const LoadReport &r = load({kAlpha}, options);
  ASSERT_EQ(r.size(), 1u);
  EXPECT_EQ(r[0].message, kAlpha + ": agrees interface version 1.0, older than 2.0");
}

TEST_F(CoreLoader, UnloadCallsUnloadCallbacksInReverseOrder)
{
  load({kDir + "/pair"});
  gLog.clear();
  loader_->unloadAll();
  EXPECT_EQ(gLog, (std::vector<std::string>{"unload TEST_Beta", "unload TEST_Alpha"}));
  EXPECT_TRUE(loader_->extensions().empty());
  loader_->unloadAll(); // a second time calls nothing
  EXPECT_EQ(gLog.size(), 2u);
}

TEST_F(CoreLoader, LoadAllRunsOnce)
{
  load({kAlpha});
  loader_->loadAll({{kBeta, SourceOrigin::CommandLine}});
  EXPECT_EQ(loader_->report().size(), 1u);
}

TEST_F(CoreLoader, StageNames)
{
  EXPECT_STREQ(loadStageName(LoadStage::Find), "find");
  EXPECT_STREQ(loadStageName(LoadStage::Open), "open");
  EXPECT_STREQ(loadStageName(LoadStage::Entry), "entry");
  EXPECT_STREQ(loadStageName(LoadStage::Version), "version");
  EXPECT_STREQ(loadStageName(LoadStage::Setup), "setup");
  EXPECT_STREQ(loadStageName(LoadStage::Handshake), "handshake");
  EXPECT_STREQ(loadStageName(LoadStage::Export), "export");
  EXPECT_STREQ(loadStageName(LoadStage::Import), "import");
  EXPECT_STREQ(loadStageName(LoadStage::Init), "init");
  EXPECT_STREQ(loadStageName(LoadStage::Loaded), "loaded");
}

TEST_F(CoreLoader, ExpandSourcesListsFilesAndMissingOnes)
{
  LoadReport missing;
  auto files = expandPluginSources({{kDir + "/pair", SourceOrigin::ConfigFile},
                                    {"/tmp/folio-core-test-none", SourceOrigin::ConfigFile},
                                    {"/tmp/folio-core-test-none2", SourceOrigin::DefaultFolder},
                                    {kDir + "/nomain.so", SourceOrigin::CommandLine}},
                                   &missing);
  EXPECT_EQ(files, (std::vector<std::string>{kAlpha, kBeta, kDir + "/nomain.so"}));
  ASSERT_EQ(missing.size(), 1u);
  EXPECT_EQ(missing[0].message, "/tmp/folio-core-test-none: not found");
}
