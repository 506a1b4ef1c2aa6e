/*
 * FolioSupportHFT.h: table "FolioSupport", version 2.2: memory, fixed-point
 * arithmetic and the file system.
 *
 * Entry n is operation n; the host fills FolioSupportNUMSELECTORS entries
 * (index 0 unused; entries not listed here are the host's and may be null).
 * Calls go through the macros, which read gFolioSupportHFT and the entry at
 * the moment of each call. Define FOLIO_HOST_SIDE to get only numbers and
 * prototypes.
 *
 * Each prototype's comment ends with its Failure result: what the entry
 * answers for a null or stale handle (or an address that was never a handle)
 * or when the host cannot carry it out. No entry raises or lets anything
 * escape into the caller.
 */
#ifndef FOLIO_SUPPORT_HFT_H
#define FOLIO_SUPPORT_HFT_H

#include "FolioTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

#define FolioSupportHFT_NAME "FolioSupport"
#define FolioSupportHFT_VERSION FOLIO_VERSION_2_2

#define FSmallocSEL 1
#define FSreallocSEL 2
#define FSfreeSEL 3
#define FixedMulSEL 12
#define FixedDivSEL 13
#define FSGetDefaultFileSysSEL 21
#define FSFileAcquirePathNameSEL 37
#define FolioSupportNUMSELECTORS 64

/* A block of `size` bytes, owned by the caller until FSfree; null on failure. Failure: null. */
typedef void *(*FSmallocSELPROTO)(size_t size);
/* Failure: null (the old block stays valid). */
typedef void *(*FSreallocSELPROTO)(void *ptr, size_t size);
/* Frees a block from FSmalloc; null is ignored. Failure: none: it never fails. */
typedef void (*FSfreeSELPROTO)(void *ptr);
/* 16.16 product, rounded to nearest (ties away from zero), saturating. Failure: none: the result saturates.
 */
typedef Fixed (*FixedMulSELPROTO)(Fixed a, Fixed b);
/* 16.16 quotient a / b, rounded to nearest with ties away from zero and
 * saturated to the Fixed range; a division by zero saturates by the sign of
 * the numerator (0x7FFFFFFF, or 0x80000000 when it is negative). Failure: none: the result saturates. */
typedef Fixed (*FixedDivSELPROTO)(Fixed a, Fixed b);
/* The host's default file system (owned by the host). Failure: none: it never fails. */
typedef FSFileSys (*FSGetDefaultFileSysSELPROTO)(void);
/* The path name of an open file, acquired for the caller (null when the file
 * has none). Failure: null. */
typedef FSPathName (*FSFileAcquirePathNameSELPROTO)(FSFile file);

#ifndef FOLIO_HOST_SIDE
extern HFT gFolioSupportHFT;
extern FSUns32 gFolioSupportVersion;

#define FSmalloc (*((FSmallocSELPROTO)(gFolioSupportHFT[FSmallocSEL])))
#define FSrealloc (*((FSreallocSELPROTO)(gFolioSupportHFT[FSreallocSEL])))
#define FSfree (*((FSfreeSELPROTO)(gFolioSupportHFT[FSfreeSEL])))
#define FixedMul (*((FixedMulSELPROTO)(gFolioSupportHFT[FixedMulSEL])))
#define FixedDiv (*((FixedDivSELPROTO)(gFolioSupportHFT[FixedDivSEL])))
#define FSGetDefaultFileSys (*((FSGetDefaultFileSysSELPROTO)(gFolioSupportHFT[FSGetDefaultFileSysSEL])))
#define FSFileAcquirePathName (*((FSFileAcquirePathNameSELPROTO)(gFolioSupportHFT[FSFileAcquirePathNameSEL])))
#endif /* FOLIO_HOST_SIDE */

#ifdef __cplusplus
}
#endif

#endif /* FOLIO_SUPPORT_HFT_H */
