/*
 * CoreHFT.h: the core table, handed to an extension in its setup record.
 *
 * Entry n is operation n. The host fills a table of CoreNUMSELECTORS entries
 * (index 0 unused). An extension calls an operation through the macros below,
 * which read gCoreHFT and the entry at the moment of each call (nothing is
 * cached, so a replaced entry is reached at once). Define FOLIO_HOST_SIDE
 * before including to get only the numbers and prototypes (host and test host).
 *
 * Each prototype's comment ends with its Failure result: what the entry
 * answers for a null or stale handle (or an address that was never a handle)
 * or when the host cannot carry it out. No entry raises or lets anything
 * escape into the caller.
 */
#ifndef FOLIO_CORE_HFT_H
#define FOLIO_CORE_HFT_H

#include "FolioTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

#define FSRaiseSEL 1
#define FSPushExceptionFrameSEL 2
#define FSPopExceptionFrameSEL 3
#define FSGetExceptionErrorCodeSEL 4
#define FSAtomFromStringSEL 5
#define FSAtomExistsForStringSEL 6
#define FSAtomGetStringSEL 7
#define FSCallbackCreateSEL 8
#define FSCallbackDestroySEL 9
#define FSExtensionMgrGetHFTSEL 10
#define FSGetConfigurationSEL 11
#define CoreNUMSELECTORS 12

/* Raises an exception with the error code; never returns to the caller. Failure: none: it never fails. */
typedef void (*FSRaiseSELPROTO)(FSInt32 error);
/* Pushes an exception frame: `environ` is a jmp_buf of the caller, resumed by
 * `restoreProc` when an exception is raised inside the frame. Failure: no frame is pushed. */
typedef void (*FSPushExceptionFrameSELPROTO)(void *environ, restoreEnvironProc restoreProc);
/* Failure: nothing happens (popping with no frame is ignored). */
typedef void (*FSPopExceptionFrameSELPROTO)(void);
/* Failure: 0. */
typedef FSInt32 (*FSGetExceptionErrorCodeSELPROTO)(void);
/* Interns a zero-terminated string; the same string always gives the same atom. Failure: FSAtomNull. */
typedef FSAtom (*FSAtomFromStringSELPROTO)(const char *nameStr);
/* Failure: false. */
typedef FSBool (*FSAtomExistsForStringSELPROTO)(const char *nameStr, FSAtom *atom);
/* The atom's string, owned by the host, valid for the host's life. Failure: null. */
typedef const char *(*FSAtomGetStringSELPROTO)(FSAtom atm);
/* Wraps an extension's procedure; the result is owned by the host. Failure: null. */
typedef FSCallback (*FSCallbackCreateSELPROTO)(ExtensionID extension, FSProc proc);
/* Failure: nothing happens. */
typedef void (*FSCallbackDestroySELPROTO)(FSCallback callback);
/* The named table at exactly that version, or null when the host has none. Failure: null. */
typedef HFT (*FSExtensionMgrGetHFTSELPROTO)(FSAtom name, FSUns32 version);
/* The configuration value of the key, or null when the key is not set. Failure: null. */
typedef void *(*FSGetConfigurationSELPROTO)(FSAtom key);

#ifndef FOLIO_HOST_SIDE
extern HFT gCoreHFT;
extern FSUns32 gCoreVersion;

#define FSRaise (*((FSRaiseSELPROTO)(gCoreHFT[FSRaiseSEL])))
#define FSPushExceptionFrame (*((FSPushExceptionFrameSELPROTO)(gCoreHFT[FSPushExceptionFrameSEL])))
#define FSPopExceptionFrame (*((FSPopExceptionFrameSELPROTO)(gCoreHFT[FSPopExceptionFrameSEL])))
#define FSGetExceptionErrorCode (*((FSGetExceptionErrorCodeSELPROTO)(gCoreHFT[FSGetExceptionErrorCodeSEL])))
#define FSAtomFromString (*((FSAtomFromStringSELPROTO)(gCoreHFT[FSAtomFromStringSEL])))
#define FSAtomExistsForString (*((FSAtomExistsForStringSELPROTO)(gCoreHFT[FSAtomExistsForStringSEL])))
#define FSAtomGetString (*((FSAtomGetStringSELPROTO)(gCoreHFT[FSAtomGetStringSEL])))
/* Takes a procedure of any type. */
#define FSCallbackCreate(extension, proc)                                                                    \
  ((*((FSCallbackCreateSELPROTO)(gCoreHFT[FSCallbackCreateSEL])))((extension), (FSProc)(proc)))
#define FSCallbackDestroy (*((FSCallbackDestroySELPROTO)(gCoreHFT[FSCallbackDestroySEL])))
#define FSExtensionMgrGetHFT (*((FSExtensionMgrGetHFTSELPROTO)(gCoreHFT[FSExtensionMgrGetHFTSEL])))
#define FSGetConfiguration (*((FSGetConfigurationSELPROTO)(gCoreHFT[FSGetConfigurationSEL])))
#endif /* FOLIO_HOST_SIDE */

#ifdef __cplusplus
}
#endif

#endif /* FOLIO_CORE_HFT_H */
