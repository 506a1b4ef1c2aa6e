// ViewerEntry.cpp: the folio program's interactive mode, on the Motif viewer.
//
// The viewer is built (and its ports installed) before the plug-ins load, so
// that a plug-in's start-up note appears in the viewer's own dialog.
#include "app/ViewerEntry.h"

#include "motif/MotifViewer.h"

#include <iostream>
#include <string>
#include <vector>

namespace folio::app {

int runViewer(Session &session, const batch::Options &options)
{
  // The environment's settings first; the command line's --redraw-stats wins.
  motif::ViewerOptions viewerOptions = motif::ViewerOptions::fromEnvironment();
  if (options.redrawStats) {
    viewerOptions.redrawStats = true;
    viewerOptions.statsPath = options.redrawStatsPath;
  }
  motif::Viewer viewer(session.app(), session.x(), viewerOptions);
  session.loadPlugins(std::cerr);
  std::vector<std::string> files;
  if (!options.file.empty())
    files.push_back(options.file);
  return viewer.run(files);
}

std::vector<std::string> viewerFallbackResources()
{
  return motif::Viewer::fallbackResources();
}

} // namespace folio::app
