// ViewerEntry.h: the folio program's interactive mode, on the Motif viewer.
#pragma once

#include <string>
#include <vector>

#include "app/Session.h"
#include "batch/CommandLine.h"

namespace folio::app {

// Runs the viewer on `session` (its plug-ins are loaded here, once the viewer
// can show their notes) with the file and options of the command line.
// Returns the program's exit status.
int runViewer(Session &session, const batch::Options &options);

// The Motif fallback resources of the viewer (fonts, colours), for the
// session's shell.
std::vector<std::string> viewerFallbackResources();

} // namespace folio::app
