// XDisplay.cpp: the test process's X display: DISPLAY when it can be opened,
// else a private Xvfb, and a realised shell widget on it.
#include "XDisplay.h"

#include "TestHost.h"

#include <X11/Shell.h>
#include <X11/StringDefs.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

namespace testhost {
namespace {

pid_t gXvfbPid = -1;

// Stops the private server at process exit.
void stopXvfb()
{
  if (gXvfbPid <= 0)
    return;
  kill(gXvfbPid, SIGTERM);
  int status = 0;
  while (waitpid(gXvfbPid, &status, 0) < 0 && errno == EINTR) {
  }
  gXvfbPid = -1;
}

// Starts `Xvfb -displayfd FD` and reads the display number it picked.
// Returns ":N", or an empty string with `error` set.
std::string startXvfb(std::string &error)
{
  int fds[2];
  if (pipe2(fds, O_CLOEXEC) != 0) {
    error = std::string("pipe: ") + std::strerror(errno);
    return {};
  }
  pid_t pid = fork();
  if (pid < 0) {
    error = std::string("fork: ") + std::strerror(errno);
    close(fds[0]);
    close(fds[1]);
    return {};
  }
  if (pid == 0) {
    // The server goes when the test process goes, even if it is killed.
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    close(fds[0]);
    // The write end must survive exec: dup it without close-on-exec.
    int wfd = dup(fds[1]);
    int devnull = open("/dev/null", O_RDWR);
    if (devnull >= 0) {
      dup2(devnull, 0);
      dup2(devnull, 1);
      dup2(devnull, 2);
    }
    std::string fdArg = std::to_string(wfd);
    execlp("Xvfb", "Xvfb", "-displayfd", fdArg.c_str(), "-screen", "0", "1280x1024x24", "-nolisten", "tcp",
           static_cast<char *>(nullptr));
    _exit(127);
  }
  close(fds[1]);
  gXvfbPid = pid;
  std::atexit(stopXvfb);

  // The server writes its display number and a newline once it is ready.
  std::string number;
  for (;;) {
    pollfd p{fds[0], POLLIN, 0};
    int r = poll(&p, 1, 20000);
    if (r < 0 && errno == EINTR)
      continue;
    if (r <= 0) {
      error = "Xvfb did not report a display within 20 s";
      break;
    }
    char c;
    ssize_t n = read(fds[0], &c, 1);
    if (n < 0 && errno == EINTR)
      continue;
    if (n <= 0) {
      error = "Xvfb exited before reporting a display (is it installed?)";
      break;
    }
    if (c == '\n')
      break;
    number += c;
  }
  close(fds[0]);
  if (!error.empty() || number.empty()) {
    if (error.empty())
      error = "Xvfb reported no display number";
    stopXvfb();
    return {};
  }
  return ":" + number;
}

XDisplayInfo openDisplay()
{
  XDisplayInfo info;
  XtToolkitInitialize();
  XtAppContext app = XtCreateApplicationContext();
  int argc = 0;

  // XtOpenDisplay answers null on failure; XtOpenApplication would exit.
  const char *env = std::getenv("DISPLAY");
  if (env != nullptr && *env != '\0') {
    info.display = XtOpenDisplay(app, env, "pgsheartest", "PgShearTest", nullptr, 0, &argc, nullptr);
    if (info.display != nullptr)
      info.name = env;
  }
  if (info.display == nullptr) {
    std::string name = startXvfb(info.error);
    if (name.empty())
      return info;
    info.display = XtOpenDisplay(app, name.c_str(), "pgsheartest", "PgShearTest", nullptr, 0, &argc, nullptr);
    if (info.display == nullptr) {
      info.error = "cannot open the private display " + name;
      return info;
    }
    info.name = name;
    info.privateServer = true;
  }

  // A small shell that is realised (it has a window) but never mapped.
  info.shell =
      XtVaAppCreateShell("pgsheartest", "PgShearTest", applicationShellWidgetClass, info.display, XtNwidth,
                         64, XtNheight, 64, XtNmappedWhenManaged, False, static_cast<void *>(nullptr));
  XtRealizeWidget(info.shell);
  XSync(info.display, False);
  info.error.clear();
  return info;
}

} // namespace

const XDisplayInfo &testXDisplay()
{
  static const XDisplayInfo info = openDisplay();
  return info;
}

Widget testShellWidget()
{
  return testXDisplay().shell;
}

bool attachTestXDisplay(TestHost &host)
{
  Widget shell = testShellWidget();
  if (shell == nullptr)
    return false;
  host.setShellWidget(shell);
  return true;
}

} // namespace testhost
