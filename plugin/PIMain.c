/*
 * PIMain.c: the entry glue of the plug-in: `main`, PISetupSDK,
 * RestorePlugInFrame and the table globals.
 *
 * Kept in C: the host finds the plug-in by the exported name `main`, whose
 * signature here is not that of a program's main.
 */
#include "PIMain.h"

#include <setjmp.h>

/* All zero at load; written once during start-up. */
ExtensionID gExtensionID;
HFT gCoreHFT;
FSUns32 gCoreVersion;
HFT gFolioSupportHFT;
FSUns32 gFolioSupportVersion;
HFT gObjHFT;
FSUns32 gObjVersion;
HFT gPDModelHFT;
FSUns32 gPDModelVersion;
HFT gFolioViewHFT;
FSUns32 gFolioViewVersion;
HFT gUnixHFT;
FSUns32 gUnixVersion;

/* The symbol is `main`; the C name differs so the compiler does not take it
 * for a program entry. */
PI_EXPORT FSBool PIMainEntry(FSInt32 appHandshakeVersion, FSInt32 *handshakeVersion,
                             PISetupSDKProcType *setupProc) __asm__("main");

FSBool PIMainEntry(FSInt32 appHandshakeVersion, FSInt32 *handshakeVersion, PISetupSDKProcType *setupProc)
{
  /* The smaller of the host's version and 2.0, compared unsigned. */
  if ((FSUns32)appHandshakeVersion > HANDSHAKE_V0200)
    *handshakeVersion = (FSInt32)HANDSHAKE_V0200;
  else
    *handshakeVersion = appHandshakeVersion;
  *setupProc = PISetupSDK;
  return 1;
}

/* One table by name, newest version first, down to the lowest accepted. The
 * atom is made afresh on every try. True when bound. */
static FSBool AcquireHFT(const char *name, HFT *table, FSUns32 *version, FSUns32 firstVersion,
                         FSUns32 lowestVersion)
{
  for (*version = firstVersion; *version >= lowestVersion; (*version)--) {
    *table = FSExtensionMgrGetHFT(FSAtomFromString(name), *version);
    if (*table != NULL)
      return 1;
  }
  return 0;
}

FSBool PISetupSDK(FSUns32 handshakeVersion, PISDKData_V0200 *sdkData)
{
  if (handshakeVersion != HANDSHAKE_V0200)
    return 0;
  if (sdkData->handshakeVersion != HANDSHAKE_V0200)
    return 0;

  gExtensionID = sdkData->extensionID;
  gCoreHFT = sdkData->coreHFT;
  gCoreVersion = HANDSHAKE_V0200;

  if (!AcquireHFT(FolioSupportHFT_NAME, &gFolioSupportHFT, &gFolioSupportVersion, FOLIO_VERSION_2_2,
                  FOLIO_VERSION_2_2))
    return 0;
  if (!AcquireHFT(ObjHFT_NAME, &gObjHFT, &gObjVersion, FOLIO_VERSION_2_2, FOLIO_VERSION_2_2))
    return 0;
  if (!AcquireHFT(PDModelHFT_NAME, &gPDModelHFT, &gPDModelVersion, FOLIO_VERSION_2_2, FOLIO_VERSION_2_2))
    return 0;
  if (!AcquireHFT(FolioViewHFT_NAME, &gFolioViewHFT, &gFolioViewVersion, FOLIO_VERSION_2_2,
                  FOLIO_VERSION_2_2))
    return 0;
  if (!AcquireHFT(UnixHFT_NAME, &gUnixHFT, &gUnixVersion, FOLIO_VERSION_2_2, FOLIO_VERSION_2_0))
    return 0;

  sdkData->handshakeCallback = FSCallbackCreate(gExtensionID, PIHandshake);
  return 1;
}

void RestorePlugInFrame(void *environ)
{
  longjmp(*(jmp_buf *)environ, 1);
}
