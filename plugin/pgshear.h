/*
 * pgshear.h: the plug-in's main module: handshake, initialisation, menus, the
 * crop tool, the overlays, the cropping commands and the command procedures.
 *
 * The module is split over several source files (pgshear.cpp: handshake,
 * start-up and menus; pgshear_tool.cpp: the crop tool and overlays;
 * pgshear_crop.cpp: the cropping commands; pgshear_cmds.cpp: the command
 * procedures). The shared state below is plain globals, all zero at load,
 * hidden from the shared object's exports.
 */
#ifndef PGSHEAR_H
#define PGSHEAR_H

#include "PIMain.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- shared crop state ------------------------------------------------- */

extern FSBool gCropRegion;        /* a crop region exists */
extern FixedRect gfixRCropRegion; /* the region, page space of the page it is expressed for */
extern FSInt16 gOrigPageRot;      /* rotation of that page */
extern FixedRect gfixROrigMedBox; /* media box of that page */
extern FSBool gShowMediaBoxOn;    /* the media-box outline is shown */
extern FSInt32 gSkipPages;        /* answer to the orientation question: 0 load, 1 run, 2 Skip, 3 Crop */

extern ProgressMonitor progMon; /* fetched anew by each batch command */
extern void *monClientData;
extern CancelProc cancelProc; /* fetched anew by each batch command */
extern void *cancelProcData;

extern FVToolRec PageShearTool; /* the tool record; its address is the tool handle */
extern FVMenuItem ShowMediaBox; /* exactly one of the two is in the submenu */
extern FVMenuItem HideMediaBox;
extern FSCallback pageViewDidChange; /* callback of FVPageViewDidChangefunc */
extern FSCallback cropViewDidChange; /* callback of FVPageViewCropDidChangefunc */

/* ---- start-up (pgshear.cpp) -------------------------------------------- */

FSBool initPageShear(void);
void SetUpTool(void);
void SetUpToolButton(void);
void SetUpMenuItem(void);

/* ---- crop tool and overlays (pgshear_tool.cpp) ------------------------- */

FSAtom PageShearToolGetType(FVTool tool);
void PageShearActivate(FVTool tool, FSBool persistent);
FSBool PageShearIsPersistent(FVTool tool);
FSBool PageShearDoClick(FVTool tool, FVPageView pageView, FSInt16 xHit, FSInt16 yHit, FSInt16 flags,
                        FSInt16 clickNo);
FSBool PageShearAdjustCursor(FVTool tool, FVPageView pageView, FSInt16 x, FSInt16 y);

void FVPageViewDidChangefunc(FVPageView pageView, FVRect *updateRect, void *data);
void FVPageViewCropDidChangefunc(FVPageView pageView, FVRect *updateRect, void *data);
void ShowMediaBoxExecute(void *rock);
void HideMediaBoxExecute(void *rock);

/* ---- cropping commands (pgshear_crop.cpp) ------------------------------ */

/* Status codes of DoPageShear. */
enum {
  kPageCropped = 1,       /* crop box replaced */
  kPageOrientation = 2,   /* orientation differs and gSkipPages is not 3 */
  kPageBadRotation = 3,   /* rotation has no legal relation to gOrigPageRot */
  kPageNoIntersection = 4 /* misses the media box or under an inch after clipping */
};

FSBool CheckCropRegion(void);
FSInt32 DoPageShear(FSInt32 pageNum);
void PageShearToolBBoxExecute(void *rock);
void PageShearToolMediaBoxExecute(void *rock);

/* ---- command procedures (pgshear_cmds.cpp) ----------------------------- */

void PageShearToolButtonExecute(void *rock);
void PageShearAboutExecute(void *rock);
void PageShearRevertExecute(void *rock);
FSBool PageShearToolButtonComputeEnabled(void *permRequired);
FSBool PageShearToolButtonComputeMarked(void *rock);
FSBool PageShearAboutBoxComputeEnabled(void *rock);
FSBool PageShearAboutBoxComputeMarked(void *rock);
FSBool PageShearRevertComputeEnabled(void *rock);
FSBool PageShearRevertComputeMarked(void *rock);

#ifdef __cplusplus
}
#endif

#endif /* PGSHEAR_H */
