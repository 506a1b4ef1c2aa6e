// CoreTable.cpp: the "Core" table: entry n -> one thin adapter into the core
// layer, each under the guard with its documented failure result.
#include "tables/CoreTable.h"

#include "core/Atoms.h"
#include "core/Callback.h"
#include "core/Configuration.h"
#include "core/ExceptionFrames.h"
#include "core/Guard.h"
#include "core/TableRegistry.h"
#include "folio/CoreHFT.h"
#include "folio/ObjHFT.h"
#include "tables/ObjTable.h"
#include "tables/TableBuilder.h"

namespace folio::tables {
namespace {

// FSRaise does no work that could throw before it leaves by longjmp (or
// aborts; see ExceptionFrames.h for the case with no frame). A guard here
// would be skipped by the longjmp anyway.
void FSRaiseImpl(FSInt32 error)
{
  raiseException(error);
}

// Out of memory: the frame is not pushed; a raise then reaches the frame
// below it.
void FSPushExceptionFrameImpl(void *environ, restoreEnvironProc restoreProc)
{
  guardRun([&] { pushExceptionFrame(environ, restoreProc); });
}

void FSPopExceptionFrameImpl(void)
{
  guardRun([] { popExceptionFrame(); });
}

FSInt32 FSGetExceptionErrorCodeImpl(void)
{
  return guardCall(FSInt32(0), [] { return exceptionErrorCode(); });
}

FSAtom FSAtomFromStringImpl(const char *nameStr)
{
  return guardCall(FSAtomNull, [&] { return atomFromString(nameStr); });
}

FSBool FSAtomExistsForStringImpl(const char *nameStr, FSAtom *atom)
{
  return guardCall(FSBool(0), [&] { return FSBool(atomExistsForString(nameStr, atom) ? 1 : 0); });
}

const char *FSAtomGetStringImpl(FSAtom atm)
{
  return guardCall(static_cast<const char *>(nullptr), [&] { return atomString(atm); });
}

FSCallback FSCallbackCreateImpl(ExtensionID extension, FSProc proc)
{
  return guardCall(FSCallback(nullptr), [&] { return callbackCreate(extension, proc); });
}

void FSCallbackDestroyImpl(FSCallback callback)
{
  guardRun([&] { callbackDestroy(callback); });
}

HFT FSExtensionMgrGetHFTImpl(FSAtom name, FSUns32 version)
{
  return guardCall(HFT(nullptr), [&] { return tableRegistry().find(name, version); });
}

void *FSGetConfigurationImpl(FSAtom key)
{
  return guardCall(static_cast<void *>(nullptr), [&] { return configuration().get(key); });
}

} // namespace

std::vector<HFTEntry> makeCoreTable()
{
  TableBuilder table(CoreNUMSELECTORS);
  FOLIO_TABLE_ENTRY(table, FSRaise);
  FOLIO_TABLE_ENTRY(table, FSPushExceptionFrame);
  FOLIO_TABLE_ENTRY(table, FSPopExceptionFrame);
  FOLIO_TABLE_ENTRY(table, FSGetExceptionErrorCode);
  FOLIO_TABLE_ENTRY(table, FSAtomFromString);
  FOLIO_TABLE_ENTRY(table, FSAtomExistsForString);
  FOLIO_TABLE_ENTRY(table, FSAtomGetString);
  FOLIO_TABLE_ENTRY(table, FSCallbackCreate);
  FOLIO_TABLE_ENTRY(table, FSCallbackDestroy);
  FOLIO_TABLE_ENTRY(table, FSExtensionMgrGetHFT);
  FOLIO_TABLE_ENTRY(table, FSGetConfiguration);
  return table.take();
}

HFT registerCoreTables(TableRegistry &registry)
{
  std::vector<HFTEntry> core = makeCoreTable();
  HFT coreHFT = registry.add("Core", kCoreTableVersion, core.data(), core.size());
  if (!coreHFT)
    coreHFT = registry.find("Core", kCoreTableVersion);
  std::vector<HFTEntry> obj = makeObjTable();
  registry.add(ObjHFT_NAME, ObjHFT_VERSION, obj.data(), obj.size());
  return coreHFT;
}

HFT coreTable()
{
  static HFT table = registerCoreTables(tableRegistry());
  return table;
}

} // namespace folio::tables
