// GuiSupport.h: what the GUI tests need to drive real X programs.
//
// A private Xvfb per test (started with -displayfd, so it picks a free
// display), child processes run with that DISPLAY (xdotool, the viewer),
// pixel reads straight from the server, and screenshots kept as PNG files
// in the test's output folder.
#pragma once

#include <X11/Xlib.h>
#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace guitest {

// A private X server for the life of the object.
class Xvfb {
public:
  explicit Xvfb(int width = 1280, int height = 1024);
  ~Xvfb();
  Xvfb(const Xvfb &) = delete;
  Xvfb &operator=(const Xvfb &) = delete;

  bool ok() const { return !display_.empty(); }
  // ":N"
  const std::string &display() const { return display_; }

private:
  pid_t pid_ = -1;
  std::string display_;
};

// Starts `argv` with DISPLAY set to `display` (and the extra NAME=VALUE
// entries of `env`); stdout and stderr go to `logPath` when it is not empty.
pid_t spawn(const std::vector<std::string> &argv, const std::string &display,
            const std::vector<std::string> &env = {}, const std::string &logPath = {});
// Waits for the child to end; answers its exit code, or -1 after
// `timeoutMs` (the child is then killed) or when it died of a signal.
int waitFor(pid_t pid, int timeoutMs);
// Whether the child is still running (reaps it when it ended).
bool running(pid_t pid);
// spawn + waitFor.
int run(const std::vector<std::string> &argv, const std::string &display, int timeoutMs = 20000);
// Runs and answers stdout (trailing blanks removed); empty on failure.
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
