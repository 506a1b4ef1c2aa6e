/*
 * PDModelHFT.h: table "PDModel", version 2.2: documents and pages.
 *
 * All rectangles are in page space (PDF user space, y upwards, 16.16 points).
 * Entry n is operation n; the host fills PDModelNUMSELECTORS entries (index 0
 * unused). Calls go through the macros, which read gPDModelHFT and the entry
 * at the moment of each call. Define FOLIO_HOST_SIDE to get only numbers and
 * prototypes.
 *
 * Each prototype's comment ends with its Failure result: what the entry
 * answers for a null or stale handle (or an address that was never a handle)
 * or when the host cannot carry it out. No entry raises or lets anything
 * escape into the caller.
 */
#ifndef FOLIO_PDMODEL_HFT_H
#define FOLIO_PDMODEL_HFT_H

#include "FolioTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

#define PDModelHFT_NAME "PDModel"
#define PDModelHFT_VERSION FOLIO_VERSION_2_2

#define PDDocGetFlagsSEL 74
#define PDDocGetFileSEL 79
#define PDDocGetNumPagesSEL 83
#define PDDocAcquirePageSEL 84
#define PDDocGetPermissionsSEL 114
#define PDPageNotifyContentsDidChangeSEL 136
#define PDPageReleaseSEL 138
#define PDPageGetRotateSEL 142
#define PDPageGetMediaBoxSEL 144
#define PDPageGetCropBoxSEL 146
#define PDPageSetCropBoxSEL 147
#define PDPageGetBBoxSEL 148
#define PDModelNUMSELECTORS 160

/* The document's PDDocFlags bits. Failure: 0. */
typedef FSInt32 (*PDDocGetFlagsSELPROTO)(PDDoc doc);
/* The document's file (owned by the document), or null for one without a file. Failure: null. */
typedef FSFile (*PDDocGetFileSELPROTO)(PDDoc doc);
/* Failure: 0. */
typedef FSInt32 (*PDDocGetNumPagesSELPROTO)(PDDoc doc);
/* Page `pageNum` (zero-based), acquired: the caller releases it with PDPageRelease. Failure: null (nothing to
 * release). */
typedef PDPage (*PDDocAcquirePageSELPROTO)(PDDoc doc, FSInt32 pageNum);
/* The host's permission word (pdPerm... bits) for this document as opened. Failure: 0 (no permission). */
typedef FSUns32 (*PDDocGetPermissionsSELPROTO)(PDDoc doc);
/* Tells the host that the page changed: marks the document changed and
 * redraws the views that show the page. Failure: nothing happens. */
typedef void (*PDPageNotifyContentsDidChangeSELPROTO)(PDPage page);
/* Failure: nothing happens. */
typedef void (*PDPageReleaseSELPROTO)(PDPage page);
/* The page's rotation in degrees (inherited through the page tree). Failure: 0. */
typedef PDRotate (*PDPageGetRotateSELPROTO)(PDPage page);
/* The page's media box (inherited through the page tree). Failure: the all-zero rectangle. */
typedef void (*PDPageGetMediaBoxSELPROTO)(PDPage page, FixedRect *mediaBox);
/* The page's crop box (inherited; the media box when none is set). Failure: the all-zero rectangle. */
typedef void (*PDPageGetCropBoxSELPROTO)(PDPage page, FixedRect *cropBox);
/* Sets the page's crop box, stored as given. Failure: the crop box stays as it was. */
typedef void (*PDPageSetCropBoxSELPROTO)(PDPage page, FixedRect cropBox);
/* The bounding box of the marks painted on the page (the host's rules for
 * blank pages and white paint are documented with its model). Failure: the all-zero rectangle. */
typedef void (*PDPageGetBBoxSELPROTO)(PDPage page, FixedRect *bbox);

#ifndef FOLIO_HOST_SIDE
extern HFT gPDModelHFT;
extern FSUns32 gPDModelVersion;

#define PDDocGetFlags (*((PDDocGetFlagsSELPROTO)(gPDModelHFT[PDDocGetFlagsSEL])))
#define PDDocGetFile (*((PDDocGetFileSELPROTO)(gPDModelHFT[PDDocGetFileSEL])))
#define PDDocGetNumPages (*((PDDocGetNumPagesSELPROTO)(gPDModelHFT[PDDocGetNumPagesSEL])))
#define PDDocAcquirePage (*((PDDocAcquirePageSELPROTO)(gPDModelHFT[PDDocAcquirePageSEL])))
#define PDDocGetPermissions (*((PDDocGetPermissionsSELPROTO)(gPDModelHFT[PDDocGetPermissionsSEL])))
#define PDPageNotifyContentsDidChange                                                                        \
  (*((PDPageNotifyContentsDidChangeSELPROTO)(gPDModelHFT[PDPageNotifyContentsDidChangeSEL])))
#define PDPageRelease (*((PDPageReleaseSELPROTO)(gPDModelHFT[PDPageReleaseSEL])))
#define PDPageGetRotate (*((PDPageGetRotateSELPROTO)(gPDModelHFT[PDPageGetRotateSEL])))
#define PDPageGetMediaBox (*((PDPageGetMediaBoxSELPROTO)(gPDModelHFT[PDPageGetMediaBoxSEL])))
#define PDPageGetCropBox (*((PDPageGetCropBoxSELPROTO)(gPDModelHFT[PDPageGetCropBoxSEL])))
#define PDPageSetCropBox (*((PDPageSetCropBoxSELPROTO)(gPDModelHFT[PDPageSetCropBoxSEL])))
#define PDPageGetBBox (*((PDPageGetBBoxSELPROTO)(gPDModelHFT[PDPageGetBBoxSEL])))
#endif /* FOLIO_HOST_SIDE */

#ifdef __cplusplus
}
#endif

#endif /* FOLIO_PDMODEL_HFT_H */
