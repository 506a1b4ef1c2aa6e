// ViewerEntry.cpp: the folio program's interactive mode, on the Motif viewer.
//
// The viewer is built (and its ports installed) before the plug-ins load, so
// that a plug-in's start-up note appears in the viewer's own dialog.
#include "Session.h"

#include "motif/MotifViewer.h"

#include <iostream>
#include <string>
#include <vector>

namespace folio::app {

int runViewer(Session &session, const std::string &file)
{
  motif::Viewer viewer(session.app(), session.x(), motif::ViewerOptions::fromEnvironment());
  session.loadPlugins(std::cerr);
  std::vector<std::string> files;
  if (!file.empty())
    files.push_back(file);
  return viewer.run(files);
}

std::vector<std::string> viewerFallbackResources()
{
  return motif::Viewer::fallbackResources();
}

} // namespace folio::app
