// ViewerEntry.cpp: the interactive branch of the folio program: the Motif
// viewer on the host session. Built only when the viewer is in the tree.
#include <iostream>
#include <string>
#include <vector>

#include "Session.h"
#include "motif/MotifViewer.h"

namespace folio::app {

std::vector<std::string> viewerFallbackResources()
{
  return motif::Viewer::fallbackResources();
}

int runViewer(Session &session, const std::string &file)
{
  motif::Viewer viewer(session.app(), session.x(), motif::ViewerOptions::fromEnvironment());
  // After the viewer: what a plug-in says while it starts reaches its dialogs.
  session.loadPlugins(std::cerr);
  std::vector<std::string> files;
  if (!file.empty())
    files.push_back(file);
  return viewer.run(files);
}

} // namespace folio::app
