// Session.h: the host session that assembles folio: the X display (a private
// Xvfb when DISPLAY is unset), the view application, the table registry with
// every table an extension binds, the configuration (edition and plug-in
// folders) and the plug-ins, loaded with their load report.
//
// Order of use: construct (X, application, tables), let the front end install
// its ports on app(), then loadPlugins() so that anything a plug-in says
// while it starts (a note from its initialisation) reaches the front end.
// One session per process. Throws std::runtime_error with a message for the
// user when the display cannot be had.
#pragma once

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "folio/FolioTypes.h"

namespace folio {
class PluginLoader;
namespace platform {
class XSession;
}
namespace view {
class Application;
}
} // namespace folio

namespace folio::app {

struct SessionOptions {
  bool readOnly = false;               // the edition that cannot edit
  std::vector<std::string> pluginDirs; // extra plug-in folders, after the configured ones
  bool mapped = false;                 // interactive: map the shell
  std::optional<double> bboxMargin;    // --bbox-margin: beats the config file
  std::vector<std::string> fallbackResources;
};

class Session {
public:
  explicit Session(const SessionOptions &options);
  ~Session();
  Session(const Session &) = delete;
  Session &operator=(const Session &) = delete;

  view::Application &app() const { return *app_; }
  platform::XSession &x() const { return *x_; }
  // Sends the X requests made so far to the server (XSession::flush).
  void flushDisplay();

  // Loads every configured plug-in and writes the load report to `report`,
  // one line a plug-in ("load: PATH: loaded as NAME", "load: PATH: init
  // failed", ...), after any configuration warnings ("config: ...").
  // True when no plug-in failed.
  bool loadPlugins(std::ostream &report);

  // Closes every document without saving (the end of a batch run).
  void closeAll();

private:
  void registerTables();

  std::unique_ptr<platform::XSession> x_;
  std::unique_ptr<view::Application> app_;
  std::unique_ptr<PluginLoader> loader_;
  // The entries handed to the registry, kept for as long as it serves them.
  std::vector<std::vector<FSProc>> tables_;
};

} // namespace folio::app
