/*
 * pgshear_cmds.cpp: the command procedures: selecting the crop tool, the
 * About note, Revert, and every compute-enabled and compute-marked query of
 * the plug-in's button and menu items.
 *
 * The compute procedures are queries without side effects; each gets the
 * client data fixed when it was attached (the tool's address, 8 or 0).
 */
#include <stdint.h>

#include "pgshear.h"

/* The permission the tool's commands need: modify the document's contents. */
static const FSUns32 kPermModify = 8;

void PageShearToolButtonExecute(void *rock)
{
  /* The global tool record, not rock: the menu item (0) and the button (the
   * tool) act alike. The tool stays active after use. */
  (void)rock;
  FVAppSetActiveTool(&PageShearTool, 1);
}

void PageShearAboutExecute(void *rock)
{
  (void)rock;
  FVAlertNote("Page Shear 1.1 is part of a suite of Folio utility plug-ins brought to you by Lee Marlow.");
}

void PageShearRevertExecute(void *rock)
{
  (void)rock;
  if (!FVAlertConfirm("Are you sure you want to revert to last saved version?"))
    return;

  /* The command is enabled only with an active document. */
  FVDoc adoc = FVAppGetActiveDoc();
  FSFile file = PDDocGetFile(FVDocGetPDDoc(adoc));
  FSPathName path = FSFileAcquirePathName(file);
  if (path == NULL) {
    FVAlertNote("Unable to revert since path to file is bad.");
    return;
  }
  /* The acquired path name is deliberately never released, on any path. */
  if (!FVDocClose(adoc, 1)) {
    FVAlertNote("Unable to close the file.");
    return;
  }
  /* The default file system is fetched only after the close; the reopened
   * document is not looked at. */
  FSFileSys fileSys = FSGetDefaultFileSys();
  FVDocOpenFromFile(path, fileSys, NULL);
}

FSBool PageShearToolButtonComputeEnabled(void *permRequired)
{
  FVDoc adoc = FVAppGetActiveDoc();
  if (adoc == NULL)
    return 0;
  FSUns32 docPerms = PDDocGetPermissions(FVDocGetPDDoc(adoc));
  FSUns32 perm = (FSUns32)(uintptr_t)permRequired;
  if (perm == 0)
    return 1;
  return (perm & docPerms) != 0 ? 1 : 0;
}

FSBool PageShearToolButtonComputeMarked(void *rock)
{
  FVDoc adoc = FVAppGetActiveDoc();
  if (adoc == NULL)
    return 0;
  /* The modify permission is fixed here; rock is the tool to compare with
   * (0 for the menu items, which are then marked only when there is no
   * active tool at all). */
  FSUns32 perms = PDDocGetPermissions(FVDocGetPDDoc(adoc));
  if ((perms & kPermModify) == 0)
    return 0;
  return FVAppGetActiveTool() == (FVTool)rock ? 1 : 0;
}

FSBool PageShearAboutBoxComputeEnabled(void *rock)
{
  (void)rock;
  return 1;
}

FSBool PageShearAboutBoxComputeMarked(void *rock)
{
  (void)rock;
  return 0;
}

FSBool PageShearRevertComputeEnabled(void *rock)
{
  (void)rock;
  FVDoc adoc = FVAppGetActiveDoc();
  if (adoc == NULL)
    return 0;
  FSInt32 flags = PDDocGetFlags(FVDocGetPDDoc(adoc));
  if ((flags & PDDocNeedsSave) == 0)
    return 0;
  /* Only a document with unsaved changes and a file behind it can revert. */
  if (PDDocGetFile(FVDocGetPDDoc(adoc)) == NULL)
    return 0;
  return 1;
}

FSBool PageShearRevertComputeMarked(void *rock)
{
  (void)rock;
  return 0;
}
