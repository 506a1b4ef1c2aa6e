// StartupTests.cpp: the plug-in's entry point, setup and handshake, driven by
// the recording test host on a fresh copy of the real shared object.
#include <csetjmp>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TestHost.h"

#define FOLIO_HOST_SIDE
#include "folio/CoreHFT.h"
#include "folio/FolioViewHFT.h"

using testhost::Call;
using testhost::Table;
using testhost::TestHost;

namespace {

class FoundationStartup : public ::testing::Test {
protected:
  void SetUp() override { ASSERT_TRUE(host.load(PGSHEAR_SO)) << host.error(); }

  // The GetHFT requests of the log, as text.
  std::vector<std::string> hftRequests() const { return host.log.textsOf("FSExtensionMgrGetHFT"); }

  TestHost host;
};

// A core table of the test's own: a copy of the host's whose atom entry logs
// that it was used, so that a test can see which core table the plug-in holds.
std::vector<HFTEntry> gOtherCore;

FSAtom otherCoreAtom(const char *s)
{
  TestHost::current()->log.add(Call{"otherCore.FSAtomFromString", {testhost::quoted(s)}, ""});
  return TestHost::current()->atom(s);
}

HFT makeOtherCore(TestHost &h)
{
  HFT core = h.table(Table::Core);
  gOtherCore.assign(core, core + h.entryCount(Table::Core));
  gOtherCore[FSAtomFromStringSEL] = reinterpret_cast<HFTEntry>(&otherCoreAtom);
  return gOtherCore.data();
}

int gOtherIdentity;

} // namespace

// ---- main ---------------------------------------------------------------------

TEST_F(FoundationStartup, MainAnswers20ToANewerHost)
{
  EXPECT_EQ(host.callMain(0x00030000), 1);
  EXPECT_EQ(host.mainVersionOut, 0x00020000);
  EXPECT_NE(host.setupProc, nullptr);
}

TEST_F(FoundationStartup, MainAnswers20ToAllOnesReadAsUnsigned)
{
  EXPECT_EQ(host.callMain(static_cast<FSInt32>(0xFFFFFFFFu)), 1);
  EXPECT_EQ(host.mainVersionOut, 0x00020000);
}

TEST_F(FoundationStartup, MainAnswers20ToANegativeVersion)
{
  EXPECT_EQ(host.callMain(static_cast<FSInt32>(0x80000000u)), 1);
  EXPECT_EQ(host.mainVersionOut, 0x00020000);
}

TEST_F(FoundationStartup, MainEchoes20Itself)
{
  EXPECT_EQ(host.callMain(0x00020000), 1);
  EXPECT_EQ(host.mainVersionOut, 0x00020000);
}

TEST_F(FoundationStartup, MainAnswers20To21)
{
  EXPECT_EQ(host.callMain(0x00020001), 1);
  EXPECT_EQ(host.mainVersionOut, 0x00020000);
}

TEST_F(FoundationStartup, MainEchoesTheLargestOlderVersion)
{
  EXPECT_EQ(host.callMain(0x0001FFFF), 1);
  EXPECT_EQ(host.mainVersionOut, 0x0001FFFF);
}

TEST_F(FoundationStartup, MainEchoesVersionZero)
{
  host.mainVersionOut = 77;
  EXPECT_EQ(host.callMain(0), 1);
  EXPECT_EQ(host.mainVersionOut, 0);
}

TEST_F(FoundationStartup, MainNamesTheExportedSetupProcedure)
{
  host.callMain();
  EXPECT_EQ(reinterpret_cast<void *>(host.setupProc), host.symbol("PISetupSDK"));
}

TEST_F(FoundationStartup, MainMakesNoHostCall)
{
  host.callMain(0x00030000);
  ASSERT_EQ(host.log.size(), 1u) << host.log.dump();
  EXPECT_EQ(host.log.calls()[0].text(), "host.main(0x00030000)");
}

TEST_F(FoundationStartup, OlderVersionIsEchoedAndItsSetupRefused)
{
  EXPECT_EQ(host.callMain(0x00010000), 1);
  EXPECT_EQ(host.mainVersionOut, 0x00010000);
  EXPECT_EQ(host.callSetup(0x00010000), 0);
  EXPECT_EQ(host.sdkData.handshakeCallback, nullptr);
  EXPECT_EQ(host.log.count("FSExtensionMgrGetHFT"), 0u);
  EXPECT_EQ(host.log.count("FSCallbackCreate"), 0u);
}

// ---- setup ---------------------------------------------------------------------

TEST_F(FoundationStartup, SetupBindsTheFiveTablesInOrderAtVersion22)
{
  host.callMain();
  ASSERT_EQ(host.callSetup(), 1);
  std::vector<std::string> expected = {
      "FSAtomFromString(\"FolioSupport\")", "FSExtensionMgrGetHFT(atom:FolioSupport, 0x00020002)",
      "FSAtomFromString(\"Obj\")",          "FSExtensionMgrGetHFT(atom:Obj, 0x00020002)",
      "FSAtomFromString(\"PDModel\")",      "FSExtensionMgrGetHFT(atom:PDModel, 0x00020002)",
      "FSAtomFromString(\"FolioView\")",    "FSExtensionMgrGetHFT(atom:FolioView, 0x00020002)",
      "FSAtomFromString(\"Unix\")",         "FSExtensionMgrGetHFT(atom:Unix, 0x00020002)",
      "FSCallbackCreate(ext0, fn:0)"};
  std::vector<std::string> got = host.log.texts();
  ASSERT_GE(got.size(), 2u);
  EXPECT_EQ(std::vector<std::string>(got.begin() + 2, got.end()), expected) << host.log.dump();
  for (const Call &c : host.log.callsTo("FSExtensionMgrGetHFT"))
    EXPECT_EQ(c.result.substr(0, 4), "hft:") << c.textWithResult();
}

TEST_F(FoundationStartup, SetupStoresTheHandshakeCallbackOfPIHandshake)
{
  host.callMain();
  ASSERT_EQ(host.callSetup(), 1);
  ASSERT_NE(host.sdkData.handshakeCallback, nullptr);
  EXPECT_EQ(host.sdkData.handshakeCallback, host.callbackAt(0));
  EXPECT_EQ(TestHost::callbackOwner(host.sdkData.handshakeCallback), host.extensionID());
  EXPECT_EQ(reinterpret_cast<void *>(TestHost::callbackTarget(host.sdkData.handshakeCallback)),
            host.symbol("PIHandshake"));
}

TEST_F(FoundationStartup, SetupRefusesAWrongArgumentVersionBeforeTouchingAnything)
{
  host.callMain();
  EXPECT_EQ(host.callSetup(0x00020001), 0);
  ASSERT_EQ(host.log.size(), 2u) << host.log.dump();
  EXPECT_EQ(host.sdkData.handshakeCallback, nullptr);
  EXPECT_EQ(host.sdkData.handshakeVersion, 0x00020000u);
}

TEST_F(FoundationStartup, SetupRefusesARecordOfVersion21)
{
  host.callMain();
  host.sdkData.handshakeVersion = 0x00020001;
  EXPECT_EQ(host.callSetup(), 0);
  ASSERT_EQ(host.log.size(), 2u) << host.log.dump();
  EXPECT_EQ(host.sdkData.handshakeCallback, nullptr);
}

// A refused setup leaves identity and core table as they were: after a good
// setup, a refused one with another identity and another core table changes
// nothing that the handshake then uses.
TEST_F(FoundationStartup, RefusedRecordLeavesIdentityAndCoreTableUntouched)
{
  host.callMain();
  ASSERT_EQ(host.callSetup(), 1);
  FSCallback handshake = host.sdkData.handshakeCallback;

  host.sdkData.handshakeVersion = 0x00020001;
  host.sdkData.extensionID = reinterpret_cast<ExtensionID>(&gOtherIdentity);
  host.sdkData.coreHFT = makeOtherCore(host);
  host.sdkData.handshakeCallback = nullptr;
  EXPECT_EQ(host.callSetup(), 0);
  EXPECT_EQ(host.sdkData.handshakeCallback, nullptr);

  host.sdkData.handshakeCallback = handshake;
  host.log.clear();
  ASSERT_EQ(host.callHandshake(), 1);
  EXPECT_EQ(host.log.count("otherCore.FSAtomFromString"), 0u) << host.log.dump();
  EXPECT_EQ(host.log.textsOf("FSAtomFromString"),
            std::vector<std::string>{"FSAtomFromString(\"QUIL_PageShear\")"});
  EXPECT_EQ(host.log.textsOf("FSCallbackCreate"), std::vector<std::string>{"FSCallbackCreate(ext0, fn:1)"});
}

TEST_F(FoundationStartup, RefusedArgumentVersionLeavesIdentityAndCoreTableUntouched)
{
  host.callMain();
  ASSERT_EQ(host.callSetup(), 1);
  FSCallback handshake = host.sdkData.handshakeCallback;

  host.sdkData.extensionID = reinterpret_cast<ExtensionID>(&gOtherIdentity);
  host.sdkData.coreHFT = makeOtherCore(host);
  host.sdkData.handshakeCallback = nullptr;
  EXPECT_EQ(host.callSetup(0x00010000), 0);

  host.log.clear();
  host.sdkData.handshakeCallback = handshake;
  ASSERT_EQ(host.callHandshake(), 1);
  EXPECT_EQ(host.log.count("otherCore.FSAtomFromString"), 0u) << host.log.dump();
  EXPECT_EQ(host.log.textsOf("FSCallbackCreate"), std::vector<std::string>{"FSCallbackCreate(ext0, fn:1)"});
}

TEST_F(FoundationStartup, SetupTakesTheCoreTableFromTheRecord)
{
  host.callMain();
  host.sdkData.coreHFT = makeOtherCore(host);
  ASSERT_EQ(host.callSetup(), 1);
  EXPECT_EQ(host.log.count("otherCore.FSAtomFromString"), 5u) << host.log.dump();
  EXPECT_EQ(host.log.count("FSAtomFromString"), 0u);
}

TEST_F(FoundationStartup, UnixOnlyAt20IsRequestedThreeTimesNewestFirst)
{
  host.setTableVersions(Table::Unix, {0x00020000});
  host.callMain();
  ASSERT_EQ(host.callSetup(), 1);
  std::vector<Call> req = host.log.callsTo("FSExtensionMgrGetHFT");
  ASSERT_EQ(req.size(), 7u) << host.log.dump();
  EXPECT_EQ(req[4].textWithResult(), "FSExtensionMgrGetHFT(atom:Unix, 0x00020002) -> null");
  EXPECT_EQ(req[5].textWithResult(), "FSExtensionMgrGetHFT(atom:Unix, 0x00020001) -> null");
  EXPECT_EQ(req[6].textWithResult(), "FSExtensionMgrGetHFT(atom:Unix, 0x00020000) -> hft:Unix");
  // The atom is made afresh before every request.
  long last = host.log.lastIndexOf("FSExtensionMgrGetHFT");
  EXPECT_EQ(host.log.calls()[static_cast<size_t>(last - 1)].text(), "FSAtomFromString(\"Unix\")");
  EXPECT_EQ(host.log.count("FSAtomFromString"), 7u);
  EXPECT_NE(host.sdkData.handshakeCallback, nullptr);
}

TEST_F(FoundationStartup, UnixOnlyAt21IsBoundAtTheSecondRequest)
{
  host.setTableVersions(Table::Unix, {0x00020001});
  host.callMain();
  ASSERT_EQ(host.callSetup(), 1);
  std::vector<std::string> req = host.log.textsOf("FSExtensionMgrGetHFT");
  ASSERT_EQ(req.size(), 6u) << host.log.dump();
  EXPECT_EQ(req[5], "FSExtensionMgrGetHFT(atom:Unix, 0x00020001)");
}

TEST_F(FoundationStartup, UnixMissingEverywhereIsRefusedAfterThreeRequests)
{
  host.setTableVersions(Table::Unix, {});
  host.callMain();
  EXPECT_EQ(host.callSetup(), 0);
  std::vector<std::string> req = host.log.textsOf("FSExtensionMgrGetHFT");
  ASSERT_EQ(req.size(), 7u) << host.log.dump();
  EXPECT_EQ(req[4], "FSExtensionMgrGetHFT(atom:Unix, 0x00020002)");
  EXPECT_EQ(req[5], "FSExtensionMgrGetHFT(atom:Unix, 0x00020001)");
  EXPECT_EQ(req[6], "FSExtensionMgrGetHFT(atom:Unix, 0x00020000)");
  EXPECT_EQ(host.log.count("FSCallbackCreate"), 0u);
  EXPECT_EQ(host.sdkData.handshakeCallback, nullptr);
}

TEST_F(FoundationStartup, UnixOnlyAtAnOlderVersionIsNotAccepted)
{
  host.setTableVersions(Table::Unix, {0x0001FFFF, 0x00010000});
  host.callMain();
  EXPECT_EQ(host.callSetup(), 0);
  EXPECT_EQ(host.log.count("FSExtensionMgrGetHFT"), 7u) << host.log.dump();
  EXPECT_EQ(host.log.indexOf("FSExtensionMgrGetHFT(atom:Unix, 0x0001ffff)"), -1);
}

TEST_F(FoundationStartup, FolioViewOnlyAt21IsRequestedOnceAndRefused)
{
  host.setTableVersions(Table::FolioView, {0x00020001});
  host.callMain();
  EXPECT_EQ(host.callSetup(), 0);
  std::vector<Call> req = host.log.callsTo("FSExtensionMgrGetHFT");
  ASSERT_EQ(req.size(), 4u) << host.log.dump();
  EXPECT_EQ(req[0].textWithResult(),
            "FSExtensionMgrGetHFT(atom:FolioSupport, 0x00020002) -> hft:FolioSupport");
  EXPECT_EQ(req[1].textWithResult(), "FSExtensionMgrGetHFT(atom:Obj, 0x00020002) -> hft:Obj");
  EXPECT_EQ(req[2].textWithResult(), "FSExtensionMgrGetHFT(atom:PDModel, 0x00020002) -> hft:PDModel");
  EXPECT_EQ(req[3].textWithResult(), "FSExtensionMgrGetHFT(atom:FolioView, 0x00020002) -> null");
  EXPECT_EQ(host.log.indexOf("FSAtomFromString(\"Unix\")"), -1);
  EXPECT_EQ(host.log.count("FSCallbackCreate"), 0u);
  EXPECT_EQ(host.sdkData.handshakeCallback, nullptr);
}

TEST_F(FoundationStartup, FolioSupportMissingStopsAtTheFirstRequest)
{
  host.setTableVersions(Table::FolioSupport, {});
  host.callMain();
  EXPECT_EQ(host.callSetup(), 0);
  EXPECT_EQ(host.log.textsOf("FSExtensionMgrGetHFT"),
            std::vector<std::string>{"FSExtensionMgrGetHFT(atom:FolioSupport, 0x00020002)"});
}

TEST_F(FoundationStartup, ObjOnlyAt20IsNotAccepted)
{
  host.setTableVersions(Table::Obj, {0x00020000, 0x00020001});
  host.callMain();
  EXPECT_EQ(host.callSetup(), 0);
  EXPECT_EQ(host.log.textsOf("FSExtensionMgrGetHFT"),
            (std::vector<std::string>{"FSExtensionMgrGetHFT(atom:FolioSupport, 0x00020002)",
                                      "FSExtensionMgrGetHFT(atom:Obj, 0x00020002)"}));
}

TEST_F(FoundationStartup, PDModelMissingStopsAfterThreeRequests)
{
  host.setTableVersions(Table::PDModel, {});
  host.callMain();
  EXPECT_EQ(host.callSetup(), 0);
  EXPECT_EQ(host.log.count("FSExtensionMgrGetHFT"), 3u);
  EXPECT_EQ(host.log.indexOf("FSAtomFromString(\"FolioView\")"), -1);
}

// ---- handshake -------------------------------------------------------------------

TEST_F(FoundationStartup, HandshakeNamesThePlugInAndHandsOverOnlyTheInitCallback)
{
  host.callMain();
  ASSERT_EQ(host.callSetup(), 1);
  FSCallback junk = host.makeCallback(host.extensionID(), nullptr);
  host.handshakeData.handshakeVersion = 0x12345678;
  host.handshakeData.appName = host.atom("Folio Quire");
  host.handshakeData.exportHFTsCallback = junk;
  host.handshakeData.importReplaceAndRegisterCallback = junk;
  host.handshakeData.unloadCallback = junk;
  host.log.clear();

  ASSERT_EQ(host.callHandshake(), 1);
  EXPECT_EQ(host.handshakeData.handshakeVersion, 0x12345678u);
  EXPECT_EQ(host.handshakeData.appName, host.atom("Folio Quire"));
  EXPECT_EQ(host.handshakeData.extensionName, host.atom("QUIL_PageShear"));
  EXPECT_EQ(host.handshakeData.exportHFTsCallback, nullptr);
  EXPECT_EQ(host.handshakeData.importReplaceAndRegisterCallback, nullptr);
  EXPECT_EQ(host.handshakeData.unloadCallback, nullptr);
  ASSERT_NE(host.handshakeData.initCallback, nullptr);
  EXPECT_EQ(TestHost::callbackOwner(host.handshakeData.initCallback), host.extensionID());
  EXPECT_NE(TestHost::callbackTarget(host.handshakeData.initCallback), nullptr);
  EXPECT_EQ(host.log.texts(),
            (std::vector<std::string>{"host.handshake(0x00020000)", "FSAtomFromString(\"QUIL_PageShear\")",
                                      "FSCallbackCreate(ext0, fn:1)"}))
      << host.log.dump();
}

TEST_F(FoundationStartup, HandshakeRefusesAnotherVersionAndChangesNothing)
{
  host.callMain();
  ASSERT_EQ(host.callSetup(), 1);
  PIHandshakeData_V0200 before = host.handshakeData;
  host.log.clear();
  EXPECT_EQ(host.callHandshake(0x00020001), 0);
  EXPECT_EQ(host.log.size(), 1u) << host.log.dump();
  EXPECT_EQ(host.handshakeData.extensionName, before.extensionName);
  EXPECT_EQ(host.handshakeData.initCallback, nullptr);
}

TEST_F(FoundationStartup, InitCallbackIsAFunctionOfThePlugInOtherThanTheEntryPoints)
{
  ASSERT_TRUE(host.callMain());
  ASSERT_TRUE(host.callSetup());
  ASSERT_TRUE(host.callHandshake());
  void *init = reinterpret_cast<void *>(TestHost::callbackTarget(host.handshakeData.initCallback));
  EXPECT_NE(init, host.symbol("PIHandshake"));
  EXPECT_NE(init, host.symbol("PISetupSDK"));
  EXPECT_NE(init, host.symbol("main"));
}

TEST_F(FoundationStartup, InitOnAHostThatCannotEditShowsTheNoteOnly)
{
  host.setConfiguration("CanEdit", nullptr);
  ASSERT_TRUE(host.callMain());
  ASSERT_TRUE(host.callSetup());
  ASSERT_TRUE(host.callHandshake());
  host.log.clear();
  EXPECT_EQ(host.callInit(), 1);
  EXPECT_EQ(host.log.texts(),
            (std::vector<std::string>{
                "host.init()", "FSAtomFromString(\"CanEdit\")", "FSGetConfiguration(atom:CanEdit)",
                "FVAlertNote(\"Page Shear only works with the Folio Quire program.  It will "
                "not run under Quire LE.\")"}))
      << host.log.dump();
}

// ---- replacing an entry after binding -----------------------------------------------

namespace {

FSAtom replacedAtom(const char *s)
{
  TestHost::current()->log.add(Call{"replaced.FSAtomFromString", {testhost::quoted(s)}, ""});
  return TestHost::current()->atom(s);
}

void replacedNote(const char *msg)
{
  TestHost::current()->log.add(Call{"replaced.FVAlertNote", {testhost::quoted(msg)}, ""});
}

} // namespace

TEST_F(FoundationStartup, ReplacedCoreEntryIsReachedAtTheNextCall)
{
  host.callMain();
  ASSERT_EQ(host.callSetup(), 1);
  host.replaceEntry(Table::Core, FSAtomFromStringSEL, reinterpret_cast<HFTEntry>(&replacedAtom));
  host.log.clear();
  ASSERT_EQ(host.callHandshake(), 1);
  EXPECT_EQ(host.log.textsOf("replaced.FSAtomFromString"),
            std::vector<std::string>{"replaced.FSAtomFromString(\"QUIL_PageShear\")"});
  EXPECT_EQ(host.log.count("FSAtomFromString"), 0u);
  EXPECT_EQ(host.handshakeData.extensionName, host.atom("QUIL_PageShear"));
}

TEST_F(FoundationStartup, ReplacedViewEntryIsReachedAtTheNextCall)
{
  host.setConfiguration("CanEdit", nullptr);
  host.callMain();
  ASSERT_EQ(host.callSetup(), 1);
  ASSERT_EQ(host.callHandshake(), 1);
  host.replaceEntry(Table::FolioView, FVAlertNoteSEL, reinterpret_cast<HFTEntry>(&replacedNote));
  host.log.clear();
  ASSERT_EQ(host.callInit(), 1);
  EXPECT_EQ(host.log.count("replaced.FVAlertNote"), 1u) << host.log.dump();
  EXPECT_EQ(host.log.count("FVAlertNote"), 0u);
}

TEST_F(FoundationStartup, ReplacingBackRestoresTheOriginalEntry)
{
  host.callMain();
  ASSERT_EQ(host.callSetup(), 1);
  HFTEntry original = host.entry(Table::Core, FSAtomFromStringSEL);
  host.replaceEntry(Table::Core, FSAtomFromStringSEL, reinterpret_cast<HFTEntry>(&replacedAtom));
  host.replaceEntry(Table::Core, FSAtomFromStringSEL, original);
  host.log.clear();
  ASSERT_EQ(host.callHandshake(), 1);
  EXPECT_EQ(host.log.count("replaced.FSAtomFromString"), 0u);
  EXPECT_EQ(host.log.count("FSAtomFromString"), 1u);
}

// ---- RestorePlugInFrame ----------------------------------------------------------------

namespace {
using RestoreProc = void (*)(void *);
std::jmp_buf gEnv;
} // namespace

TEST_F(FoundationStartup, RestorePlugInFrameResumesTheContextWithOne)
{
  auto restore = reinterpret_cast<RestoreProc>(host.symbol("RestorePlugInFrame"));
  ASSERT_NE(restore, nullptr);
  volatile int resumed = -1;
  int r = setjmp(gEnv);
  if (r == 0) {
    restore(&gEnv);
    FAIL() << "RestorePlugInFrame returned";
  } else {
    resumed = r;
  }
  EXPECT_EQ(resumed, 1);
}

TEST_F(FoundationStartup, RestorePlugInFrameCarriesARaiseBackThroughTheHost)
{
  ASSERT_TRUE(host.callMain());
  auto restore = reinterpret_cast<RestoreProc>(host.symbol("RestorePlugInFrame"));
  auto push =
      reinterpret_cast<FSPushExceptionFrameSELPROTO>(host.entry(Table::Core, FSPushExceptionFrameSEL));
  auto raise = reinterpret_cast<FSRaiseSELPROTO>(host.entry(Table::Core, FSRaiseSEL));
  volatile int resumed = -1;
  int r = setjmp(gEnv);
  if (r == 0) {
    push(&gEnv, restore);
    raise(42);
    FAIL() << "FSRaise returned";
  } else {
    resumed = r;
  }
  EXPECT_EQ(resumed, 1);
  EXPECT_EQ(host.log.count("FSRaise"), 1u);
}

TEST_F(FoundationStartup, StartUpRunsAllFourSteps)
{
  host.setConfiguration("CanEdit", nullptr);
  // load() already ran in SetUp; startUp loads another fresh copy.
  ASSERT_TRUE(host.startUp(PGSHEAR_SO)) << host.error();
  EXPECT_NE(host.log.indexOf("host.main"), -1);
  EXPECT_LT(host.log.indexOf("host.main"), host.log.indexOf("host.setup"));
  EXPECT_LT(host.log.indexOf("host.setup"), host.log.indexOf("host.handshake"));
  EXPECT_LT(host.log.indexOf("host.handshake"), host.log.indexOf("host.init"));
}
