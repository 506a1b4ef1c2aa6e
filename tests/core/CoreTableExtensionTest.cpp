// The Core table as an extension sees it: the interface headers without
// FOLIO_HOST_SIDE, a gCoreHFT of this file's own, every call through the
// headers' macros.
#include <gtest/gtest.h>

#include <csetjmp>
#include <cstring>

#include "FailingAllocations.h"

#include "folio/CoreHFT.h"
#include "folio/ObjHFT.h"

#include "core/Configuration.h"
#include "core/ExceptionFrames.h"
#include "core/TableRegistry.h"
#include "tables/CoreTable.h"

HFT gCoreHFT;
FSUns32 gCoreVersion;

namespace {

using testsupport::FailingAllocations;

void NoOp() {}

ExtensionID gTestExtension = reinterpret_cast<ExtensionID>(static_cast<intptr_t>(0x5150));

// The extension's restore procedure, as plug-ins write it.
extern "C" void RestoreTestExtensionFrame(void *environ)
{
  longjmp(*static_cast<jmp_buf *>(environ), 1);
}

class CoreTable : public ::testing::Test {
protected:
  void SetUp() override
  {
    gCoreHFT = folio::tables::coreTable();
    gCoreVersion = HANDSHAKE_V0200;
  }
};

int gSteps = 0;

// An extension's guarded operation: push a frame, do work that raises,
// handle the exception in the code that pushed the frame. Answers the code
// seen in the handler, or -1 when nothing was raised.
FSInt32 GuardedWork(FSInt32 codeToRaise)
{
  jmp_buf env;
  FSPushExceptionFrame(&env, RestoreTestExtensionFrame);
  if (setjmp(env) == 0) {
    gSteps = 1;
    if (codeToRaise != 0)
      FSRaise(codeToRaise);
    gSteps = 2;
    FSPopExceptionFrame();
    return -1;
  }
  return FSGetExceptionErrorCode();
}

FSInt32 OuterWork(FSInt32 *innerCode)
{
  jmp_buf env;
  FSPushExceptionFrame(&env, RestoreTestExtensionFrame);
  if (setjmp(env) == 0) {
    *innerCode = GuardedWork(11);
    FSRaise(*innerCode + 1); // the inner frame is gone: this reaches ours
    return -1;
  }
  return FSGetExceptionErrorCode();
}

FSAtom ReplacementAtomFromString(const char *)
{
  return 4242;
}

int gHandshakeCalls = 0;
FSBool TestHandshake(FSUns32, PIHandshakeData_V0200 *)
{
  ++gHandshakeCalls;
  return 1;
}

} // namespace

TEST_F(CoreTable, AtomFromStringInternsThroughTheTable)
{
  FSAtom a = FSAtomFromString("CoreTable.atom");
  EXPECT_NE(a, FSAtomNull);
  EXPECT_EQ(FSAtomFromString("CoreTable.atom"), a);
  EXPECT_STREQ(FSAtomGetString(a), "CoreTable.atom");
}

TEST_F(CoreTable, AtomExistsForStringAnswersOneOrZero)
{
  FSAtom made = FSAtomFromString("CoreTable.exists");
  FSAtom found = FSAtomNull;
  EXPECT_EQ(FSAtomExistsForString("CoreTable.exists", &found), 1);
  EXPECT_EQ(found, made);
  EXPECT_EQ(FSAtomExistsForString("CoreTable.absent", &found), 0);
  EXPECT_EQ(found, made);
}

TEST_F(CoreTable, AtomGetStringOfNullAtomIsNull)
{
  EXPECT_EQ(FSAtomGetString(FSAtomNull), nullptr);
}

TEST_F(CoreTable, CallbackCreateWrapsProcedureForTheHost)
{
  FSCallback cb = FSCallbackCreate(gTestExtension, TestHandshake);
  ASSERT_NE(cb, nullptr);
  // The host's side of the record.
  auto *rec = reinterpret_cast<void *const *>(cb);
  EXPECT_EQ(rec[0], static_cast<void *>(gTestExtension));
  auto proc = reinterpret_cast<PIHandshakeProcType>(reinterpret_cast<FSProc const *>(cb)[1]);
  gHandshakeCalls = 0;
  EXPECT_EQ(proc(HANDSHAKE_V0200, nullptr), 1);
  EXPECT_EQ(gHandshakeCalls, 1);
  FSCallbackDestroy(cb);
}

TEST_F(CoreTable, CallbackCreateOfNullProcedureIsNull)
{
  EXPECT_EQ(FSCallbackCreate(gTestExtension, static_cast<FSProc>(nullptr)), nullptr);
}

TEST_F(CoreTable, CallbackDestroyOfNullIsHarmless)
{
  FSCallbackDestroy(nullptr);
  SUCCEED();
}

TEST_F(CoreTable, GetHFTFindsObjAtExactVersionOnly)
{
  HFT obj = FSExtensionMgrGetHFT(FSAtomFromString(ObjHFT_NAME), ObjHFT_VERSION);
  ASSERT_NE(obj, nullptr);
  EXPECT_EQ(FSExtensionMgrGetHFT(FSAtomFromString(ObjHFT_NAME), FOLIO_VERSION_2_1), nullptr);
  EXPECT_EQ(FSExtensionMgrGetHFT(FSAtomFromString(ObjHFT_NAME), 0x00030002), nullptr);
  // A stray call into "Obj" is harmless.
  EXPECT_EQ(reinterpret_cast<void *(*)(void)>(obj[1])(), nullptr);
}

TEST_F(CoreTable, GetHFTFindsTheCoreTableItself)
{
  EXPECT_EQ(FSExtensionMgrGetHFT(FSAtomFromString("Core"), HANDSHAKE_V0200), gCoreHFT);
}

TEST_F(CoreTable, GetHFTOfUnknownTableIsNull)
{
  EXPECT_EQ(FSExtensionMgrGetHFT(FSAtomFromString("CoreTable.NoSuchTable"), FOLIO_VERSION_2_2), nullptr);
  EXPECT_EQ(FSExtensionMgrGetHFT(FSAtomNull, FOLIO_VERSION_2_2), nullptr);
}

TEST_F(CoreTable, GetHFTFindsTableRegisteredLater)
{
  FSProc entries[2] = {nullptr, reinterpret_cast<FSProc>(ReplacementAtomFromString)};
  HFT t = folio::tableRegistry().add("CoreTable.Late", 0x00010000, entries, 2);
  EXPECT_EQ(FSExtensionMgrGetHFT(FSAtomFromString("CoreTable.Late"), 0x00010000), t);
}

TEST_F(CoreTable, ConfigurationCanEditInEditingEdition)
{
  folio::configuration().setEdition(folio::Edition::Editing);
  EXPECT_NE(FSGetConfiguration(FSAtomFromString("CanEdit")), nullptr);
}

TEST_F(CoreTable, ConfigurationCanEditIsNullInReadOnlyEdition)
{
  folio::configuration().setEdition(folio::Edition::ReadOnly);
  EXPECT_EQ(FSGetConfiguration(FSAtomFromString("CanEdit")), nullptr);
  folio::configuration().setEdition(folio::Edition::Editing);
}

TEST_F(CoreTable, ConfigurationOfUnsetKeyIsNull)
{
  EXPECT_EQ(FSGetConfiguration(FSAtomFromString("CoreTable.unset")), nullptr);
}

TEST_F(CoreTable, RaiseReturnsIntoTheExtensionsFrame)
{
  gSteps = 0;
  EXPECT_EQ(GuardedWork(77), 77);
  EXPECT_EQ(gSteps, 1); // the code after FSRaise never ran
  EXPECT_EQ(FSGetExceptionErrorCode(), 77);
}

TEST_F(CoreTable, FrameWithoutRaiseEndsNormally)
{
  gSteps = 0;
  EXPECT_EQ(GuardedWork(0), -1);
  EXPECT_EQ(gSteps, 2);
  EXPECT_EQ(folio::exceptionFrameDepth(), 0u);
}

TEST_F(CoreTable, RaiseAfterInnerHandlerReachesOuterFrame)
{
  FSInt32 inner = 0;
  EXPECT_EQ(OuterWork(&inner), 12);
  EXPECT_EQ(inner, 11);
  EXPECT_EQ(folio::exceptionFrameDepth(), 0u);
}

TEST_F(CoreTable, RaiseWithoutFrameAborts)
{
  EXPECT_DEATH(FSRaise(3), "folio: exception 3 raised outside any exception frame");
}

TEST_F(CoreTable, ReplacedEntryIsReachedAtTheNextCall)
{
  auto original = gCoreHFT[FSAtomFromStringSEL];
  ASSERT_TRUE(folio::tableRegistry().replaceEntry("Core", HANDSHAKE_V0200, FSAtomFromStringSEL,
                                                  reinterpret_cast<FSProc>(ReplacementAtomFromString)));
  EXPECT_EQ(FSAtomFromString("anything"), 4242);
  ASSERT_TRUE(folio::tableRegistry().replaceEntry("Core", HANDSHAKE_V0200, FSAtomFromStringSEL, original));
  EXPECT_NE(FSAtomFromString("anything"), 4242);
}

TEST_F(CoreTable, EntriesGivenNothingUsableAnswerTheirFailureResults)
{
  FSAtom atom = 77;
  EXPECT_EQ(FSAtomFromString(nullptr), FSAtomNull);
  EXPECT_EQ(FSAtomExistsForString(nullptr, &atom), 0);
  EXPECT_EQ(FSAtomExistsForString("CoreTable.never interned", &atom), 0);
  EXPECT_EQ(FSAtomGetString(FSAtomNull), nullptr);
  EXPECT_EQ(FSAtomGetString(static_cast<FSAtom>(65535)), nullptr);
  EXPECT_EQ(FSCallbackCreate(gTestExtension, nullptr), nullptr);
  FSCallbackDestroy(nullptr); // nothing happens
  int notACallback = 0;
  FSCallbackDestroy(reinterpret_cast<FSCallback>(&notACallback)); // nothing happens
  EXPECT_EQ(FSExtensionMgrGetHFT(FSAtomNull, HANDSHAKE_V0200), nullptr);
  EXPECT_EQ(FSGetConfiguration(FSAtomNull), nullptr);
  const std::size_t depth = folio::exceptionFrameDepth();
  FSPopExceptionFrame(); // with no frame of ours: ignored
  EXPECT_EQ(folio::exceptionFrameDepth(), depth);
}

TEST_F(CoreTable, EntriesWhoseWorkThrowsGiveTheFailureResults)
{
  const char *name = "CoreTable.interned while allocations fail";
  FSAtom atom = 1;
  FSCallback callback = reinterpret_cast<FSCallback>(1);
  {
    FailingAllocations failing;
    atom = FSAtomFromString(name);                                                // FSAtomNull
    callback = FSCallbackCreate(gTestExtension, reinterpret_cast<FSProc>(&NoOp)); // null
  }
  EXPECT_EQ(atom, FSAtomNull);
  EXPECT_EQ(callback, nullptr);
  FSAtom found = 0;
  EXPECT_EQ(FSAtomExistsForString(name, &found), 0); // nothing half made
}
