/*
 * test_plugin.c: a small plug-in for the loader tests, built several times
 * with different behaviours chosen by macros:
 *   PLUGIN_NAME        registered name (a string)
 *   NO_MAIN            export no `main`
 *   AGREE_VERSION      version that `main` agrees (default: min(host, 2.0))
 *   SETUP_REFUSES      setup returns false
 *   SETUP_RAISES       setup raises exception 42 through the core table
 *   HANDSHAKE_REFUSES  handshake returns false
 *   INIT_FAILS         init returns false
 * Each stage it reaches is written to the host's "CoreTestLog" table (entry
 * 1: void log(const char *)) when the host has that table at version 1.0.
 */
#include <stdio.h>

#include "folio/CoreHFT.h"
#include "folio/FolioTypes.h"

HFT gCoreHFT;
FSUns32 gCoreVersion;

static ExtensionID gId;
static HFT gLogHFT;

#define TEST_EXPORT __attribute__((visibility("default")))

typedef void (*LogProc)(const char *text);

static void Log(const char *stage)
{
  char line[128];
  if (!gLogHFT)
    return;
  snprintf(line, sizeof line, "%s %s", stage, PLUGIN_NAME);
  ((LogProc)gLogHFT[1])(line);
}

static FSBool TestInit(void)
{
  Log("init");
#ifdef INIT_FAILS
  return 0;
#else
  return 1;
#endif
}

static FSBool TestUnload(void)
{
  Log("unload");
  return 1;
}

static FSBool TestHandshake(FSUns32 version, PIHandshakeData_V0200 *data)
{
  (void)version;
  Log("handshake");
#ifdef HANDSHAKE_REFUSES
  return 0;
#endif
  data->extensionName = FSAtomFromString(PLUGIN_NAME);
  data->initCallback = FSCallbackCreate(gId, TestInit);
  data->unloadCallback = FSCallbackCreate(gId, TestUnload);
  return 1;
}

/* Unused in the build without `main`. */
__attribute__((unused)) static FSBool TestSetup(FSUns32 version, PISDKData_V0200 *sdk)
{
  (void)version;
  gId = sdk->extensionID;
  gCoreHFT = sdk->coreHFT;
  gLogHFT = FSExtensionMgrGetHFT(FSAtomFromString("CoreTestLog"), 0x00010000);
  Log("setup");
#ifdef SETUP_RAISES
  FSRaise(42);
#endif
#ifdef SETUP_REFUSES
  return 0;
#endif
  sdk->handshakeCallback = FSCallbackCreate(gId, TestHandshake);
  return 1;
}

#ifndef NO_MAIN
TEST_EXPORT FSBool TestMain(FSInt32 appVersion, FSInt32 *agreed, PISetupSDKProcType *setup) __asm__("main");
FSBool TestMain(FSInt32 appVersion, FSInt32 *agreed, PISetupSDKProcType *setup)
{
#ifdef AGREE_VERSION
  (void)appVersion;
  *agreed = AGREE_VERSION;
#else
  *agreed = (FSUns32)appVersion > HANDSHAKE_V0200 ? (FSInt32)HANDSHAKE_V0200 : appVersion;
#endif
  *setup = TestSetup;
  return 1;
}
#else
/* Something exported all the same, so the object is a normal plug-in file. */
TEST_EXPORT int TestNotMain(void)
{
  return 7;
}
#endif
