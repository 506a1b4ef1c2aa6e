// MotifViewer.h: the interactive X11/Motif front end of folio.
//
// What the folio program calls, in this order:
//
//   folio::motif::Viewer viewer(session.app(), session.x(), ViewerOptions::fromEnvironment());
//   session.loadPlugins(std::cerr);   // after the viewer: plug-ins' notes reach its dialogs
//   return viewer.run({file});        // empty list: start without a document
//
// and Viewer::fallbackResources() as the session's Xt fallback resources
// (fonts and tool tips), given when the session is created.
//
// The constructor builds the main window inside the session's (realised)
// application shell: the menu bar mirrors the view layer's menu model, the
// tool bar its tool bar model, a drawing area shows the active document's
// page view, and a status line shows page, zoom and crop box. It installs
// its ports (alerts, progress, cancel test, drag loops, modifiers, cursors,
// presentation) on the application. The menus and the tool bar follow later
// changes of their models (plug-ins add items after the viewer is built).
//
// run() opens the given files, maps the window and processes events until
// the user quits (File > Quit, which asks before closing documents with
// unsaved changes). It answers the program's exit code: 0.
//
// The application and the session must outlive the viewer. The viewer takes
// its ports off the application when it is destroyed.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace folio::view {
class Application;
}
namespace folio::platform {
class XSession;
}

namespace folio::motif {

struct ViewerOptions {
  // Print redraw figures (95th percentile of redraws, page-change times) at
  // exit, to statsPath or, when that is empty, to stderr.
  bool redrawStats = false;
  std::string statsPath;
  // The main window's initial size in pixels.
  int width = 760;
  int height = 940;
  // FOLIO_REDRAW_STATS: "1" (stderr) or a file path; FOLIO_VIEWER_SIZE:
  // the window's size as WIDTHxHEIGHT.
  static ViewerOptions fromEnvironment();
};

class Viewer {
public:
  Viewer(view::Application &app, platform::XSession &session, const ViewerOptions &options = {});
  ~Viewer();
  Viewer(const Viewer &) = delete;
  Viewer &operator=(const Viewer &) = delete;

  // Opens `files` (a failure is shown as a note), then runs until Quit.
  int run(const std::vector<std::string> &files);

  // The Xt fallback resources of the viewer's look (anti-aliased fonts,
  // tool tips on).
  static std::vector<std::string> fallbackResources();

  struct Impl;

private:
  std::unique_ptr<Impl> impl_;
};

} // namespace folio::motif
