// CoreTable.cpp: the "Core" table: entry n -> one thin adapter into the core
// layer. No exception leaves an adapter; each answers its failure result.
#include "tables/CoreTable.h"

#include <cstdio>
#include <mutex>

#include "core/Atoms.h"
#include "core/Callback.h"
#include "core/Configuration.h"
#include "core/ExceptionFrames.h"
#include "core/TableRegistry.h"
#include "folio/CoreHFT.h"
#include "folio/ObjHFT.h"
#include "tables/ObjTable.h"

namespace folio {
namespace {

// FSRaise does no work that could throw before it leaves by longjmp (or
// aborts); see ExceptionFrames.h for the case with no frame.
void coreRaise(FSInt32 error)
{
  raiseException(error);
}

void corePushExceptionFrame(void *environ, restoreEnvironProc restoreProc)
{
  try {
    pushExceptionFrame(environ, restoreProc);
  } catch (...) {
    // Out of memory: the frame is not pushed; a raise then reaches the frame
    // below it.
  }
}

void corePopExceptionFrame(void)
{
  popExceptionFrame();
}

FSInt32 coreGetExceptionErrorCode(void)
{
  return exceptionErrorCode();
}

FSAtom coreAtomFromString(const char *nameStr)
{
  try {
    return atomFromString(nameStr);
  } catch (...) {
    return FSAtomNull;
  }
}

FSBool coreAtomExistsForString(const char *nameStr, FSAtom *atom)
{
  try {
    return atomExistsForString(nameStr, atom) ? 1 : 0;
  } catch (...) {
    return 0;
  }
}

const char *coreAtomGetString(FSAtom atm)
{
  try {
    return atomString(atm);
  } catch (...) {
    return nullptr;
  }
}

FSCallback coreCallbackCreate(ExtensionID extension, FSProc proc)
{
  try {
    return callbackCreate(extension, proc);
  } catch (...) {
    return nullptr;
  }
}

void coreCallbackDestroy(FSCallback callback)
{
  try {
    callbackDestroy(callback);
  } catch (...) {
  }
}

HFT coreExtensionMgrGetHFT(FSAtom name, FSUns32 version)
{
  try {
    return tableRegistry().find(name, version);
  } catch (...) {
    return nullptr;
  }
}

void *coreGetConfiguration(FSAtom key)
{
  try {
    return configuration().get(key);
  } catch (...) {
    return nullptr;
  }
}

// Checks each adapter against the prototype of its entry, then erases it.
template <class Proto> FSProc entry(Proto proc)
{
  return reinterpret_cast<FSProc>(proc);
}

} // namespace

HFT registerCoreTables(TableRegistry &registry)
{
  FSProc core[CoreNUMSELECTORS] = {};
  core[FSRaiseSEL] = entry<FSRaiseSELPROTO>(coreRaise);
  core[FSPushExceptionFrameSEL] = entry<FSPushExceptionFrameSELPROTO>(corePushExceptionFrame);
  core[FSPopExceptionFrameSEL] = entry<FSPopExceptionFrameSELPROTO>(corePopExceptionFrame);
  core[FSGetExceptionErrorCodeSEL] = entry<FSGetExceptionErrorCodeSELPROTO>(coreGetExceptionErrorCode);
  core[FSAtomFromStringSEL] = entry<FSAtomFromStringSELPROTO>(coreAtomFromString);
  core[FSAtomExistsForStringSEL] = entry<FSAtomExistsForStringSELPROTO>(coreAtomExistsForString);
  core[FSAtomGetStringSEL] = entry<FSAtomGetStringSELPROTO>(coreAtomGetString);
  core[FSCallbackCreateSEL] = entry<FSCallbackCreateSELPROTO>(coreCallbackCreate);
  core[FSCallbackDestroySEL] = entry<FSCallbackDestroySELPROTO>(coreCallbackDestroy);
  core[FSExtensionMgrGetHFTSEL] = entry<FSExtensionMgrGetHFTSELPROTO>(coreExtensionMgrGetHFT);
  core[FSGetConfigurationSEL] = entry<FSGetConfigurationSELPROTO>(coreGetConfiguration);

  HFT coreHFT = registry.add("Core", kCoreTableVersion, core, CoreNUMSELECTORS);
  if (!coreHFT)
    coreHFT = registry.find("Core", kCoreTableVersion);
  registry.add(ObjHFT_NAME, ObjHFT_VERSION, objTableEntries(), objTableEntryCount());
  return coreHFT;
}

HFT coreTable()
{
  static HFT table = registerCoreTables(tableRegistry());
  return table;
}

} // namespace folio
