/*
 * PIMain.h: the entry glue of a Folio plug-in: the exported entry points and
 * the table globals through which every host call goes.
 *
 * The globals are written once, during start-up, and read at every host call
 * (the table headers' macros read them at the moment of the call).
 */
#ifndef PIMAIN_H
#define PIMAIN_H

#include "folio/CoreHFT.h"
#include "folio/FolioSupportHFT.h"
#include "folio/FolioTypes.h"
#include "folio/FolioViewHFT.h"
#include "folio/ObjHFT.h"
#include "folio/PDModelHFT.h"
#include "folio/UnixHFT.h"

#ifdef __cplusplus
extern "C" {
#endif

#define PI_EXPORT __attribute__((visibility("default")))

/* The plug-in's identity, from the setup record. */
extern ExtensionID gExtensionID;

/* Setup procedure named by `main`: checks the handshake version, takes the
 * identity and the core table, binds the five tables in order. */
PI_EXPORT FSBool PISetupSDK(FSUns32 handshakeVersion, PISDKData_V0200 *sdkData);

/* The plug-in's handshake (module pgshear); reached by the host only through
 * the callback that PISetupSDK stores. */
PI_EXPORT FSBool PIHandshake(FSUns32 handshakeVersion, PIHandshakeData_V0200 *handshakeData);

/* Resumes the saved execution context `environ` (a jmp_buf) with the value 1;
 * never returns. */
PI_EXPORT void RestorePlugInFrame(void *environ);

/* The exported entry point, `main` in the shared object's symbol table (see
 * PIMain.c): writes min(appHandshakeVersion, 2.0) and PISetupSDK; always true. */

#ifdef __cplusplus
}
#endif

#endif /* PIMAIN_H */
