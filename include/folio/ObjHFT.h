/*
 * ObjHFT.h: table "Obj", version 2.2: low-level document objects.
 *
 * Bound by extensions at start-up; the host serves it with ObjNUMSELECTORS
 * entries. No operation of it is part of this interface yet, so it carries
 * only its name, version and size.
 */
#ifndef FOLIO_OBJ_HFT_H
#define FOLIO_OBJ_HFT_H

#include "FolioTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

#define ObjHFT_NAME "Obj"
#define ObjHFT_VERSION FOLIO_VERSION_2_2
#define ObjNUMSELECTORS 32

#ifndef FOLIO_HOST_SIDE
extern HFT gObjHFT;
extern FSUns32 gObjVersion;
#endif

#ifdef __cplusplus
}
#endif

#endif /* FOLIO_OBJ_HFT_H */
