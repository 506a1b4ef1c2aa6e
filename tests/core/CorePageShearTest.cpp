// The real plug-in (pgshear.so) through main, setup and handshake in the host's
// loader. The tables other than "Core" and "Obj" are placeholders of the
// right sizes here: each entry raises (so a stray call is reported, not a
// crash), except FVAlertNote, which records the note. Each test has its own
// registry: the Core table's FSExtensionMgrGetHFT entry is replaced by one
// that records each request and looks in that registry.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/Atoms.h"
#include "core/Callback.h"
#include "core/Configuration.h"
#include "core/ExceptionFrames.h"
#include "core/PluginLoader.h"
#include "core/TableRegistry.h"
#include "tables/CoreTable.h"

#define FOLIO_HOST_SIDE
#include "folio/CoreHFT.h"
#include "folio/FolioSupportHFT.h"
#include "folio/FolioViewHFT.h"
#include "folio/PDModelHFT.h"
#include "folio/UnixHFT.h"

using namespace folio;
using namespace folio::tables;

namespace {

const std::string kPlugin = PGSHEAR_SO;
const FSInt32 kPlaceholderError = 999;
const char kReadOnlyNote[] =
    "Page Shear only works with the Folio Quire program.  It will not run under Quire LE.";

TableRegistry *gRegistry;
std::vector<std::string> gRequests;
std::vector<std::string> gNotes;

std::string request(const char *name, FSUns32 version)
{
  return std::string(name ? name : "?") + " " + std::to_string(version >> 16) + "." +
         std::to_string(version & 0xFFFF);
}

extern "C" HFT recordingGetHFT(FSAtom name, FSUns32 version)
{
  gRequests.push_back(request(atomString(name), version));
  return gRegistry->find(name, version);
}

extern "C" void placeholderEntry(void)
{
  raiseException(kPlaceholderError);
}

extern "C" void recordNote(const char *text)
{
  gNotes.push_back(text);
}

void addPlaceholder(const char *name, FSUns32 version, std::size_t count)
{
  std::vector<FSProc> entries(count, reinterpret_cast<FSProc>(placeholderEntry));
  if (std::string(name) == FolioViewHFT_NAME)
    entries[FVAlertNoteSEL] = reinterpret_cast<FSProc>(recordNote);
  gRegistry->add(name, version, entries.data(), count);
}

class CorePageShear : public ::testing::Test {
protected:
  void SetUp() override
  {
    gRegistry = &registry_;
    gRequests.clear();
    gNotes.clear();
    core_ = registerCoreTables(registry_);
    registry_.replaceEntry("Core", kCoreTableVersion, FSExtensionMgrGetHFTSEL,
                           reinterpret_cast<FSProc>(recordingGetHFT));
  }
  void TearDown() override { configuration().setEdition(Edition::Editing); }

  void addAllTables(FSUns32 viewVersion = FOLIO_VERSION_2_2, FSUns32 unixVersion = FOLIO_VERSION_2_2)
  {
    addPlaceholder(FolioSupportHFT_NAME, FOLIO_VERSION_2_2, FolioSupportNUMSELECTORS);
    addPlaceholder(PDModelHFT_NAME, FOLIO_VERSION_2_2, PDModelNUMSELECTORS);
    addPlaceholder(FolioViewHFT_NAME, viewVersion, FolioViewNUMSELECTORS);
    addPlaceholder(UnixHFT_NAME, unixVersion, UnixNUMSELECTORS);
  }

  const LoadRecord &load(Edition edition, LoaderOptions options = {})
  {
    configuration().setEdition(edition);
    loader_ = std::make_unique<PluginLoader>(core_, options);
    loader_->loadAll({{kPlugin, SourceOrigin::CommandLine}});
    EXPECT_EQ(loader_->report().size(), 1u);
    return loader_->report().at(0);
  }

  TableRegistry registry_;
  HFT core_ = nullptr;
  std::unique_ptr<PluginLoader> loader_;
};

const std::vector<std::string> kAllAtTwoTwo = {"FolioSupport 2.2", "Obj 2.2", "PDModel 2.2", "FolioView 2.2",
                                               "Unix 2.2"};

} // namespace

TEST_F(CorePageShear, ReadOnlyEditionLoadsAndShowsTheNote)
{
  addAllTables();
  const LoadRecord &r = load(Edition::ReadOnly);
  EXPECT_EQ(r.message, kPlugin + ": loaded as QUIL_PageShear");
  EXPECT_EQ(r.stage, LoadStage::Loaded);
  EXPECT_TRUE(r.ok);
  EXPECT_EQ(gNotes, std::vector<std::string>{kReadOnlyNote});
}

TEST_F(CorePageShear, SetupBindsTheFiveTablesInOrderAtTwoTwo)
{
  addAllTables();
  load(Edition::ReadOnly);
  EXPECT_EQ(gRequests, kAllAtTwoTwo);
}

TEST_F(CorePageShear, HandshakeNamesThePluginAndSetsOnlyInit)
{
  addAllTables();
  load(Edition::ReadOnly);
  auto exts = loader_->extensions();
  ASSERT_EQ(exts.size(), 1u);
  const PIHandshakeData_V0200 &hs = exts[0]->handshake;
  EXPECT_STREQ(extensionName(exts[0]), "QUIL_PageShear");
  EXPECT_EQ(hs.handshakeVersion, HANDSHAKE_V0200); // left as the host set it
  EXPECT_STREQ(atomString(hs.appName), "Folio");
  EXPECT_EQ(hs.exportHFTsCallback, nullptr);
  EXPECT_EQ(hs.importReplaceAndRegisterCallback, nullptr);
  EXPECT_EQ(hs.unloadCallback, nullptr);
  ASSERT_NE(hs.initCallback, nullptr);
  EXPECT_EQ(hs.initCallback->extension, exts[0]);
}

// In the editing edition init goes on to register its tool, which here is a
// placeholder that raises: the loader reports it and goes on.
TEST_F(CorePageShear, EditingEditionInitReachesTheViewTables)
{
  addAllTables();
  const LoadRecord &r = load(Edition::Editing);
  EXPECT_EQ(r.stage, LoadStage::Init);
  EXPECT_EQ(r.message, kPlugin + ": exception 999 raised in init");
  EXPECT_FALSE(r.ok);
  EXPECT_TRUE(gNotes.empty());
  EXPECT_EQ(exceptionFrameDepth(), 0u);
}

TEST_F(CorePageShear, UnixOnlyAtTwoZeroIsReachedOnTheThirdRequest)
{
  addAllTables(FOLIO_VERSION_2_2, FOLIO_VERSION_2_0);
  const LoadRecord &r = load(Edition::ReadOnly);
  EXPECT_TRUE(r.ok);
  EXPECT_EQ(gRequests, (std::vector<std::string>{"FolioSupport 2.2", "Obj 2.2", "PDModel 2.2",
                                                 "FolioView 2.2", "Unix 2.2", "Unix 2.1", "Unix 2.0"}));
}

TEST_F(CorePageShear, ViewOnlyAtTwoOneRefusesSetupAndStopsRequesting)
{
  addAllTables(FOLIO_VERSION_2_1, FOLIO_VERSION_2_2);
  const LoadRecord &r = load(Edition::ReadOnly);
  EXPECT_EQ(r.stage, LoadStage::Setup);
  EXPECT_EQ(r.message, kPlugin + ": setup refused");
  EXPECT_EQ(gRequests,
            (std::vector<std::string>{"FolioSupport 2.2", "Obj 2.2", "PDModel 2.2", "FolioView 2.2"}));
  EXPECT_TRUE(gNotes.empty());
}

TEST_F(CorePageShear, MissingSupportTableRefusesSetupAtTheFirstRequest)
{
  // Only "Core" and "Obj".
  const LoadRecord &r = load(Edition::ReadOnly);
  EXPECT_EQ(r.message, kPlugin + ": setup refused");
  EXPECT_EQ(gRequests, std::vector<std::string>{"FolioSupport 2.2"});
}

TEST_F(CorePageShear, HostVersionThreeIsAnsweredWithTwo)
{
  addAllTables();
  LoaderOptions options;
  options.appHandshakeVersion = 0x00030000;
  const LoadRecord &r = load(Edition::ReadOnly, options);
  EXPECT_TRUE(r.ok);
  EXPECT_EQ(loader_->extensions().at(0)->agreedVersion, HANDSHAKE_V0200);
}

TEST_F(CorePageShear, HostVersionOneIsEchoedAndReported)
{
  addAllTables();
  LoaderOptions options;
  options.appHandshakeVersion = 0x00010000;
  const LoadRecord &r = load(Edition::ReadOnly, options);
  EXPECT_EQ(r.stage, LoadStage::Version);
  EXPECT_EQ(r.message, kPlugin + ": agrees interface version 1.0, older than 2.0");
  EXPECT_TRUE(gRequests.empty());
}
