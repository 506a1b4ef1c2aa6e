#include "GuiSupport.h"

#include <X11/Xutil.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

#ifndef GUI_XVFB
#define GUI_XVFB "Xvfb"
#endif
#ifndef GUI_XDOTOOL
#define GUI_XDOTOOL "xdotool"
#endif

namespace guitest {

namespace {

std::vector<char *> cArgs(const std::vector<std::string> &argv)
{
  std::vector<char *> out;
  for (const auto &a : argv)
    out.push_back(const_cast<char *>(a.c_str()));
  out.push_back(nullptr);
  return out;
}

} // namespace

Xvfb::Xvfb(int width, int height)
{
  int fds[2];
  if (pipe(fds) != 0)
    return;
  pid_ = fork();
  if (pid_ == 0) {
    // The server must not outlive a test that crashes or is killed.
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    close(fds[0]);
    int devnull = open("/dev/null", O_RDWR);
    dup2(devnull, 0);
    dup2(devnull, 1);
    dup2(devnull, 2);
    std::string fd = std::to_string(fds[1]);
    std::string screen = std::to_string(width) + "x" + std::to_string(height) + "x24";
    execlp(GUI_XVFB, GUI_XVFB, "-displayfd", fd.c_str(), "-screen", "0", screen.c_str(), "-nolisten", "tcp",
           "-noreset", static_cast<char *>(nullptr));
    _exit(127);
  }
  close(fds[1]);
  if (pid_ < 0) {
    close(fds[0]);
    return;
  }
  std::string number;
  pollfd p{fds[0], POLLIN, 0};
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (std::chrono::steady_clock::now() < deadline) {
    if (poll(&p, 1, 100) > 0) {
      char c;
      ssize_t n = read(fds[0], &c, 1);
      if (n <= 0)
        break;
      if (c == '\n')
        break;
      number.push_back(c);
    }
  }
  close(fds[0]);
  if (!number.empty())
    display_ = ":" + number;
}

Xvfb::~Xvfb()
{
  if (pid_ > 0) {
    kill(pid_, SIGTERM);
    if (waitFor(pid_, 3000) == -1)
      kill(pid_, SIGKILL);
  }
}

pid_t spawn(const std::vector<std::string> &argv, const std::string &display,
            const std::vector<std::string> &env, const std::string &logPath)
{
  pid_t pid = fork();
  if (pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    setenv("DISPLAY", display.c_str(), 1);
    for (const auto &e : env) {
      auto eq = e.find('=');
      if (eq != std::string::npos)
        setenv(e.substr(0, eq).c_str(), e.substr(eq + 1).c_str(), 1);
    }
    if (!logPath.empty()) {
      int fd = open(logPath.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
      if (fd >= 0) {
        dup2(fd, 1);
        dup2(fd, 2);
      }
    }
    auto args = cArgs(argv);
    execvp(args[0], args.data());
    _exit(127);
  }
  return pid;
}

int waitFor(pid_t pid, int timeoutMs)
{
  auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  for (;;) {
    int status = 0;
    pid_t r = waitpid(pid, &status, WNOHANG);
    if (r == pid)
      return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    if (r < 0)
      return -1;
    if (std::chrono::steady_clock::now() > deadline) {
      kill(pid, SIGKILL);
      waitpid(pid, &status, 0);
      return -1;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

bool running(pid_t pid)
{
  int status = 0;
  return waitpid(pid, &status, WNOHANG) == 0;
}

int run(const std::vector<std::string> &argv, const std::string &display, int timeoutMs)
{
  pid_t pid = spawn(argv, display);
  if (pid < 0)
    return -1;
  return waitFor(pid, timeoutMs);
}

std::string capture(const std::vector<std::string> &argv, const std::string &display, int timeoutMs)
{
  int fds[2];
  if (pipe(fds) != 0)
    return {};
  pid_t pid = fork();
  if (pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    close(fds[0]);
    dup2(fds[1], 1);
    setenv("DISPLAY", display.c_str(), 1);
    auto args = cArgs(argv);
    execvp(args[0], args.data());
    _exit(127);
  }
  close(fds[1]);
  std::string out;
  pollfd p{fds[0], POLLIN, 0};
  auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  while (std::chrono::steady_clock::now() < deadline) {
    if (poll(&p, 1, 50) > 0) {
      char buf[512];
      ssize_t n = read(fds[0], buf, sizeof buf);
      if (n <= 0)
        break;
      out.append(buf, static_cast<size_t>(n));
    }
  }
  close(fds[0]);
  waitFor(pid, 1000);
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
