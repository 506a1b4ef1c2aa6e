/*
 * pgshear.cpp: the plug-in's handshake, its start-up and the shared state of
 * the main module.
 */
#include "pgshear.h"

#include "pgshearu.h"

/* ---- shared state: plain globals, zero at load ------------------------- */

FSBool gCropRegion;
FixedRect gfixRCropRegion;
FSInt16 gOrigPageRot;
FixedRect gfixROrigMedBox;
FSBool gShowMediaBoxOn;
FSInt32 gSkipPages;

ProgressMonitor progMon;
void *monClientData;
CancelProc cancelProc;
void *cancelProcData;

FVToolRec PageShearTool;
FVMenuItem ShowMediaBox;
FVMenuItem HideMediaBox;
FSCallback pageViewDidChange;
FSCallback cropViewDidChange;

/* ---- handshake ---------------------------------------------------------- */

FSBool PIHandshake(FSUns32 handshakeVersion, PIHandshakeData_V0200 *handshakeData)
{
  if (handshakeVersion != HANDSHAKE_V0200)
    return 0;
  handshakeData->extensionName = FSAtomFromString("QUIL_PageShear");
  handshakeData->exportHFTsCallback = NULL;
  handshakeData->importReplaceAndRegisterCallback = NULL;
  handshakeData->initCallback = FSCallbackCreate(gExtensionID, initPageShear);
  handshakeData->unloadCallback = NULL;
  return 1;
}

/* ---- start-up ------------------------------------------------------------ */

/* Registers nothing yet: tool, button and menus are added by the start-up
 * procedures as they are built. */
FSBool initPageShear(void)
{
  return 1;
}
