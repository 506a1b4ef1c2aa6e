// XSession.cpp: the X display (a private Xvfb when there is none) and the
// application shell.
#include "platform/XSession.h"

#include <X11/Shell.h>
#include <X11/StringDefs.h>
#include <X11/cursorfont.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace folio::platform {

namespace {

// Private servers still running, stopped at exit when their session was not
// destroyed (exit() from anywhere, including the toolkit).
std::mutex gServersMutex;
std::vector<int> gServers;

void stopServerPid(int pid)
{
  if (pid <= 0)
    return;
  kill(pid, SIGTERM);
  for (int i = 0; i < 200; ++i) {
    int status = 0;
    pid_t r = waitpid(pid, &status, WNOHANG);
    if (r == pid || (r < 0 && errno == ECHILD))
      return;
    usleep(10000);
  }
  kill(pid, SIGKILL);
  waitpid(pid, nullptr, 0);
}

void stopAllServersAtExit()
{
  std::vector<int> pids;
  {
    std::lock_guard<std::mutex> lock(gServersMutex);
    pids.swap(gServers);
  }
  for (int pid : pids)
    stopServerPid(pid);
}

void trackServer(int pid)
{
  static bool registered = false;
  std::lock_guard<std::mutex> lock(gServersMutex);
  if (!registered) {
    std::atexit(stopAllServersAtExit);
    registered = true;
  }
  gServers.push_back(pid);
}

void untrackServer(int pid)
{
  std::lock_guard<std::mutex> lock(gServersMutex);
  for (auto it = gServers.begin(); it != gServers.end(); ++it) {
    if (*it == pid) {
      gServers.erase(it);
      return;
    }
  }
}

// Starts Xvfb on a display of its choice; answers its pid and writes the
// display name. Throws PlatformError.
int startXvfb(const std::string &program, std::string &displayName)
{
  std::string path = findProgram(program);
  if (path.empty())
    throw PlatformError(
        "folio needs an X display: DISPLAY is not set and no " + program +
        " program was found to start a private one (install the xvfb package or set DISPLAY)");
  int fds[2];
  if (pipe2(fds, O_CLOEXEC) != 0)
    throw PlatformError(std::string("cannot start ") + program + ": " + std::strerror(errno));
  pid_t parent = getpid();
  pid_t pid = fork();
  if (pid < 0) {
    int err = errno;
    close(fds[0]);
    close(fds[1]);
    throw PlatformError(std::string("cannot start ") + program + ": " + std::strerror(err));
  }
  if (pid == 0) {
    // The server ends with the host, however the host ends.
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent)
      _exit(127);
    int fd = dup(fds[1]); // without close-on-exec
    int devnull = open("/dev/null", O_RDWR);
    if (devnull >= 0) {
      dup2(devnull, 0);
      dup2(devnull, 1);
      dup2(devnull, 2);
    }
    std::string fdArg = std::to_string(fd);
    // Without GLX: the host draws with core requests only, and loading the
    // server's OpenGL renderer is half of its start-up time (80 of 160 ms).
    // A server built without it only notes the unknown name.
    execl(path.c_str(), path.c_str(), "-displayfd", fdArg.c_str(), "-screen", "0", "1280x1024x24",
          "-nolisten", "tcp", "-extension", "GLX", static_cast<char *>(nullptr));
    _exit(127);
  }
  close(fds[1]);
  std::string number;
  bool done = false;
  while (!done) {
    pollfd p{fds[0], POLLIN, 0};
    int r = poll(&p, 1, 15000);
    if (r <= 0)
      break;
    char buf[32];
    ssize_t n = read(fds[0], buf, sizeof buf);
    if (n <= 0)
      break;
    for (ssize_t i = 0; i < n; ++i) {
      if (buf[i] == '\n') {
        done = true;
        break;
      }
      number += buf[i];
    }
  }
  close(fds[0]);
  if (!done || number.empty()) {
    stopServerPid(pid);
    throw PlatformError("the private X server (" + path + ") did not start");
  }
  trackServer(pid);
  displayName = ":" + number;
  return pid;
}

std::once_flag gToolkitOnce;

} // namespace

std::string findProgram(const std::string &program)
{
  if (program.empty())
    return {};
  if (program.find('/') != std::string::npos)
    return access(program.c_str(), X_OK) == 0 ? program : std::string();
  const char *path = std::getenv("PATH");
  std::string dirs = path && *path ? path : "/usr/local/bin:/usr/bin:/bin";
  size_t start = 0;
  while (start <= dirs.size()) {
    size_t end = dirs.find(':', start);
    if (end == std::string::npos)
      end = dirs.size();
    std::string dir = dirs.substr(start, end - start);
    if (dir.empty())
      dir = ".";
    std::string candidate = dir + "/" + program;
    struct stat st;
    if (stat(candidate.c_str(), &st) == 0 && S_ISREG(st.st_mode) && access(candidate.c_str(), X_OK) == 0)
      return candidate;
    start = end + 1;
  }
  return {};
}

std::unique_ptr<XSession> XSession::open(const Options &options)
{
  std::unique_ptr<XSession> s(new XSession());
  const char *env = std::getenv("DISPLAY");
  std::string name = env ? env : "";
  if (name.empty() || options.forcePrivateServer)
    s->xvfbPid_ = startXvfb(options.xvfbProgram, name);
  s->displayName_ = name;

  std::call_once(gToolkitOnce, [] { XtToolkitInitialize(); });
  s->app_ = XtCreateApplicationContext();
  if (!options.fallbackResources.empty()) {
    s->resourceStore_ = options.fallbackResources;
    for (std::string &r : s->resourceStore_)
      s->resourcePtrs_.push_back(&r[0]);
    s->resourcePtrs_.push_back(nullptr);
    XtAppSetFallbackResources(s->app_, s->resourcePtrs_.data());
  }
  int argc = 1;
  std::string arg0 = options.appName;
  char *argv[2] = {&arg0[0], nullptr};
  // Opened with Xlib first (it answers null where the toolkit's own opening
  // would keep the name it was given), then handed to the toolkit.
  s->display_ = XOpenDisplay(name.c_str());
  if (!s->display_)
    throw PlatformError("cannot open the X display \"" + name + "\"");
  XtDisplayInitialize(s->app_, s->display_, options.appName.c_str(), options.appClass.c_str(), nullptr, 0,
                      &argc, argv);

  Arg args[4];
  Cardinal n = 0;
  XtSetArg(args[n], XtNmappedWhenManaged, options.mapped ? True : False);
  ++n;
  XtSetArg(args[n], XtNwidth, static_cast<Dimension>(options.width > 0 ? options.width : 1));
  ++n;
  XtSetArg(args[n], XtNheight, static_cast<Dimension>(options.height > 0 ? options.height : 1));
  ++n;
  s->shell_ = XtAppCreateShell(options.appName.c_str(), options.appClass.c_str(), applicationShellWidgetClass,
                               s->display_, args, n);
  if (!s->shell_)
    throw PlatformError("cannot create the application shell");
  XtRealizeWidget(s->shell_);
  XSync(s->display_, False);
  return s;
}

XSession::~XSession()
{
  if (display_) {
    for (Cursor &c : cursors_) {
      if (c)
        XFreeCursor(display_, c);
      c = 0;
    }
  }
  if (shell_)
    XtDestroyWidget(shell_);
  if (display_)
    XtCloseDisplay(display_);
  if (app_)
    XtDestroyApplicationContext(app_);
  stopServer();
}

void XSession::stopServer()
{
  if (xvfbPid_ > 0) {
    untrackServer(xvfbPid_);
    stopServerPid(xvfbPid_);
    xvfbPid_ = 0;
  }
}

void XSession::flush()
{
  if (display_)
    XFlush(display_);
}

Cursor XSession::standardCursor(int id)
{
  static const unsigned shapes[6] = {XC_left_ptr, XC_xterm, XC_crosshair, XC_watch, XC_hand2, XC_fleur};
  if (id < 0 || id >= 6 || !display_)
    return None;
  if (!cursors_[id])
    cursors_[id] = XCreateFontCursor(display_, shapes[id]);
  return cursors_[id];
}

} // namespace folio::platform
