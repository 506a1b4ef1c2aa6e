// GeometryGlobals.cpp: the table globals that plugin/pgsutils.cpp reads when
// it is compiled into the test program (the plug-in's own are hidden in the
// shared object). Tests point them at the test host's tables.
#include "PIMain.h"

ExtensionID gExtensionID;
HFT gCoreHFT;
FSUns32 gCoreVersion;
HFT gFolioSupportHFT;
FSUns32 gFolioSupportVersion;
HFT gObjHFT;
FSUns32 gObjVersion;
HFT gPDModelHFT;
FSUns32 gPDModelVersion;
HFT gFolioViewHFT;
FSUns32 gFolioViewVersion;
HFT gUnixHFT;
FSUns32 gUnixVersion;
