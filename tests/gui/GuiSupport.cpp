// GuiSupport.cpp: children on the test display, xdotool, window pixels.
#include "GuiSupport.h"

#include <X11/Xutil.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <thread>

#ifndef GUI_XDOTOOL
#define GUI_XDOTOOL "xdotool"
#endif

namespace guitest {

testsupport::RunOptions onDisplay(const std::string &display, const std::vector<std::string> &env)
{
  testsupport::RunOptions o;
  o.env = env;
  if (!display.empty())
    o.env.push_back("DISPLAY=" + display);
  return o;
}

std::unique_ptr<testsupport::ChildProcess> start(const std::vector<std::string> &argv,
                                                 const std::string &display,
                                                 const std::vector<std::string> &env,
                                                 const std::string &logPath)
{
  testsupport::RunOptions o = onDisplay(display, env);
  o.output = logPath.empty() ? testsupport::Output::Discard : testsupport::Output::Log;
  o.logPath = logPath;
  return std::make_unique<testsupport::ChildProcess>(argv, o);
}

int run(const std::vector<std::string> &argv, const std::string &display, int timeoutMs)
{
  testsupport::RunOptions o = onDisplay(display);
  o.output = testsupport::Output::Discard;
  return testsupport::runProgram(argv, o, timeoutMs).exitCode;
}

std::string capture(const std::vector<std::string> &argv, const std::string &display, int timeoutMs)
{
  std::string out = testsupport::runProgram(argv, onDisplay(display), timeoutMs).out;
  while (!out.empty() && (out.back() == '\n' || out.back() == ' '))
    out.pop_back();
  return out;
}

int xdo(const std::string &display, const std::vector<std::string> &args, int timeoutMs)
{
  std::vector<std::string> argv{GUI_XDOTOOL};
  argv.insert(argv.end(), args.begin(), args.end());
  return run(argv, display, timeoutMs);
}

unsigned long findWindow(const std::string &display, const std::string &name, int timeoutMs)
{
  std::string regex = "^";
  for (char c : name) {
    if (std::strchr(".^$*+?()[]{}|\\", c))
      regex.push_back('\\');
    regex.push_back(c);
  }
  regex.push_back('$');
  auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  do {
    std::string out = capture({GUI_XDOTOOL, "search", "--onlyvisible", "--name", regex}, display, 5000);
    if (!out.empty()) {
      std::istringstream in(out);
      unsigned long id = 0;
      in >> id;
      if (id)
        return id;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  } while (std::chrono::steady_clock::now() < deadline);
  return 0;
}

bool clickInWindow(const std::string &display, unsigned long window, int x, int y)
{
  std::string w = std::to_string(window);
  return xdo(display, {"mousemove", "--window", w, std::to_string(x), std::to_string(y), "click", "1"}) == 0;
}

Snapshot::Snapshot(Display *dpy, Window window)
{
  XWindowAttributes attrs;
  if (!XGetWindowAttributes(dpy, window, &attrs))
    return;
  XImage *img = XGetImage(dpy, window, 0, 0, attrs.width, attrs.height, AllPlanes, ZPixmap);
  if (!img)
    return;
  width_ = attrs.width;
  height_ = attrs.height;
  pixels_.resize(static_cast<size_t>(width_) * height_);
  for (int y = 0; y < height_; y++)
    for (int x = 0; x < width_; x++) {
      unsigned long p = XGetPixel(img, x, y);
      pixels_[static_cast<size_t>(y) * width_ + x] =
          Rgb{static_cast<uint8_t>((p >> 16) & 0xff), static_cast<uint8_t>((p >> 8) & 0xff),
              static_cast<uint8_t>(p & 0xff)};
    }
  XDestroyImage(img);
}

Rgb Snapshot::at(int x, int y) const
{
  if (x < 0 || y < 0 || x >= width_ || y >= height_)
    return {};
  return pixels_[static_cast<size_t>(y) * width_ + x];
}

int Snapshot::count(int x, int y, int w, int h, Rgb colour) const
{
  int n = 0;
  for (int yy = std::max(0, y); yy < std::min(height_, y + h); yy++)
    for (int xx = std::max(0, x); xx < std::min(width_, x + w); xx++)
      if (pixels_[static_cast<size_t>(yy) * width_ + xx] == colour)
        n++;
  return n;
}

bool screenshot(const std::string &display, const std::string &pngPath)
{
  std::string cmd = "DISPLAY=" + display + " xwd -root -silent | convert xwd:- '" + pngPath + "' 2>/dev/null";
  return std::system(cmd.c_str()) == 0;
}

std::string outputDir(const std::string &testName)
{
  std::string dir = "gui-output";
  mkdir(dir.c_str(), 0755);
  dir += "/" + testName;
  mkdir(dir.c_str(), 0755);
  return dir;
}

} // namespace guitest
