// GuiSupport.h: what the GUI tests need to drive real X programs beyond the
// support library (tests/support: the private X server, child processes):
// children run on the test's display (xdotool, the viewer), windows found by
// name, pixel reads straight from the server, and screenshots kept as PNG
// files in the test's output folder.
#pragma once

#include <X11/Xlib.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/XServer.h"

namespace guitest {

// The options of a child on `display` (DISPLAY set, the rest of the
// environment the test's own) with the extra NAME=VALUE entries of `env`.
testsupport::RunOptions onDisplay(const std::string &display, const std::vector<std::string> &env = {});
// Starts `argv` on `display` in the background; stdout and stderr are
// appended to `logPath` (discarded when it is empty). The caller owns the
// process (see testsupport::ChildProcess).
std::unique_ptr<testsupport::ChildProcess> start(const std::vector<std::string> &argv,
                                                 const std::string &display,
                                                 const std::vector<std::string> &env = {},
                                                 const std::string &logPath = {});
// Runs `argv` on `display` to its end, at most `timeoutMs` (then it is
// killed); answers its exit code, -1 when it did not exit by itself.
int run(const std::vector<std::string> &argv, const std::string &display, int timeoutMs = 20000);
// The same, answering its standard output with trailing blanks removed.
std::string capture(const std::vector<std::string> &argv, const std::string &display, int timeoutMs = 20000);

// xdotool with these arguments on `display`; answers its exit code.
int xdo(const std::string &display, const std::vector<std::string> &args, int timeoutMs = 20000);
// The id of the first window whose WM_NAME matches `regex` exactly,
// waiting up to `timeoutMs` for it to appear and be viewable; 0 if none.
unsigned long findWindow(const std::string &display, const std::string &name, int timeoutMs = 10000);
// Presses and releases button 1 at (x, y) within the window.
bool clickInWindow(const std::string &display, unsigned long window, int x, int y);

struct Rgb {
  uint8_t r = 0, g = 0, b = 0;
  bool operator==(const Rgb &o) const { return r == o.r && g == o.g && b == o.b; }
};

// A snapshot of a window's pixels (or of the root window).
class Snapshot {
public:
  Snapshot() = default;
  Snapshot(Display *dpy, Window window);
  bool ok() const { return width_ > 0; }
  int width() const { return width_; }
  int height() const { return height_; }
  Rgb at(int x, int y) const;
  // Number of pixels of `colour` in the rectangle (clipped).
  int count(int x, int y, int w, int h, Rgb colour) const;

private:
  int width_ = 0;
  int height_ = 0;
  std::vector<Rgb> pixels_;
};

// Writes a PNG of the whole screen (xwd | convert). Answers success.
bool screenshot(const std::string &display, const std::string &pngPath);

// A folder for this test's output (screenshots, logs, generated files),
// made under the current directory; kept after the test.
std::string outputDir(const std::string &testName);

} // namespace guitest
