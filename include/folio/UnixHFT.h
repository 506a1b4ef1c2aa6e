/*
 * UnixHFT.h: table "Unix", version 2.2: the platform (X Window System).
 *
 * Entry 1 returns the application's top-level shell widget (an Xt Widget,
 * realised, owned by the host), the source of the X display and window.
 * Calls go through the macros, which read gUnixHFT and the entry at the
 * moment of each call. Define FOLIO_HOST_SIDE to get only numbers and
 * prototypes.
 *
 * Each prototype's comment ends with its Failure result: what the entry
 * answers for a null or stale handle (or an address that was never a handle)
 * or when the host cannot carry it out. No entry raises or lets anything
 * escape into the caller.
 */
#ifndef FOLIO_UNIX_HFT_H
#define FOLIO_UNIX_HFT_H

#include "FolioTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

#define UnixHFT_NAME "Unix"
#define UnixHFT_VERSION FOLIO_VERSION_2_2

#define UnixAppGetShellWidgetSEL 1
#define UnixNUMSELECTORS 8

/* The application's realised shell widget (an Xt Widget). Failure: null. */
typedef void *(*UnixAppGetShellWidgetSELPROTO)(void);

#ifndef FOLIO_HOST_SIDE
extern HFT gUnixHFT;
extern FSUns32 gUnixVersion;

#define UnixAppGetShellWidget (*((UnixAppGetShellWidgetSELPROTO)(gUnixHFT[UnixAppGetShellWidgetSEL])))
#endif /* FOLIO_HOST_SIDE */

#ifdef __cplusplus
}
#endif

#endif /* FOLIO_UNIX_HFT_H */
