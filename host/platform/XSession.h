// XSession.h: the host's X display and application shell.
//
// open() connects to the X server named by $DISPLAY; with DISPLAY unset or
// empty it starts a private Xvfb for the run (Xvfb -displayfd FD -screen 0
// 1280x1024x24 -nolisten tcp -extension GLX; the server picks a free display
// number) and stops it when the session is destroyed, at process exit, and when the host
// dies (the server is told to end with its parent). With DISPLAY unset and no
// Xvfb program on PATH, open() fails with a message saying so. It never exits
// the process (the display is opened with XOpenDisplay, which answers null,
// then initialised for the toolkit with XtDisplayInitialize).
//
// The session then creates the application's top-level shell (an
// applicationShell; with Motif linked in it is Motif's vendor shell, so the
// Motif viewer builds its main window inside it) and realises it, unmapped
// unless Options::mapped is set, so that extensions can make pixmaps and
// cursors on its window from their initialisation on. The shell, the display
// and the app context belong to the session and live until it is destroyed.
//
// One session at a time per process (the Xt toolkit is initialised once).
#pragma once

#include <X11/Intrinsic.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace folio::platform {

class PlatformError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

class XSession {
public:
  struct Options {
    std::string appName = "folio";
    std::string appClass = "Folio";
    // Xt fallback resources ("*renderTable: xft", ...), set before the display
    // is opened. Copied.
    std::vector<std::string> fallbackResources;
    // Map the shell when realised (interactive use). Batch runs leave it
    // unmapped.
    bool mapped = false;
    // The shell's initial size (Xt refuses to realise a 0x0 shell).
    int width = 1, height = 1;
    // Start a private server even when DISPLAY is set (tests).
    bool forcePrivateServer = false;
    // The Xvfb program (looked up on PATH when it has no '/').
    std::string xvfbProgram = "Xvfb";
  };

  // Throws PlatformError with a message for the user.
  static std::unique_ptr<XSession> open(const Options &options);
  static std::unique_ptr<XSession> open() { return open(Options()); }
  ~XSession();
  XSession(const XSession &) = delete;
  XSession &operator=(const XSession &) = delete;

  Display *display() const { return display_; }
  XtAppContext appContext() const { return app_; }
  // The realised application shell.
  Widget shell() const { return shell_; }
  // The display's name (":3" for a private server).
  const std::string &displayName() const { return displayName_; }
  // True when the session started its own Xvfb.
  bool privateServer() const { return xvfbPid_ > 0; }
  // The private server's process id (0 when none).
  int serverPid() const { return xvfbPid_; }

  // One of the host's standard cursors (StandardCursor numbers of the view
  // layer: 0 arrow, 1 I-beam, 2 cross, 3 watch, 4 hand, 5 grab), made once on
  // this display and kept for the session; None for an unknown number.
  Cursor standardCursor(int id);

  // Sends the requests waiting in Xlib's output buffer to the server. Only
  // an event loop flushes on its own: a front end without one calls this
  // after each action, so that what the action (or an extension) asked of
  // the server, such as a cursor or pixmap, exists on the server when asked
  // for and not only when the display is closed.
  void flush();

private:
  XSession() = default;
  void stopServer();

  XtAppContext app_ = nullptr;
  Display *display_ = nullptr;
  Widget shell_ = nullptr;
  std::string displayName_;
  int xvfbPid_ = 0;
  std::vector<std::string> resourceStore_;
  std::vector<char *> resourcePtrs_;
  Cursor cursors_[6] = {0, 0, 0, 0, 0, 0};
};

// The Xvfb program found on PATH (or `program` itself when it has a '/' and
// is executable); "" when there is none.
std::string findProgram(const std::string &program);

} // namespace folio::platform
