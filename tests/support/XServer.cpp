// XServer.cpp: Xvfb -displayfd, a first connection, SIGTERM and reaping.
#include "support/XServer.h"

#include <X11/Xlib.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "support/ChildProcess.h"

namespace testsupport {

namespace {

// Waits up to `ms` for `pid` to end; answers whether it was reaped.
bool reapWithin(pid_t pid, int ms)
{
  const double until = now() + ms / 1000.0;
  for (;;) {
    int status = 0;
    pid_t r = ::waitpid(pid, &status, WNOHANG);
    if (r == pid || (r < 0 && errno != EINTR))
      return true;
    if (now() > until)
      return false;
    sleepSeconds(0.005);
  }
}

} // namespace

XServer::XServer(const Options &options)
{
  int fds[2];
  if (::pipe2(fds, O_CLOEXEC) != 0) {
    error_ = std::string("pipe: ") + std::strerror(errno);
    return;
  }
  // Everything the child needs is made before the fork: it only calls
  // async-signal-safe functions until the exec.
  const std::string screen = std::to_string(options.width) + "x" + std::to_string(options.height) + "x24";
  const std::string fd = std::to_string(fds[1]);
  pid_t pid = ::fork();
  if (pid < 0) {
    error_ = std::string("fork: ") + std::strerror(errno);
    ::close(fds[0]);
    ::close(fds[1]);
    return;
  }
  if (pid == 0) {
    // The server must not outlive a test that crashes or is killed.
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    // The write end must survive the exec (the read end closes with it).
    ::fcntl(fds[1], F_SETFD, 0);
    int devnull = ::open("/dev/null", O_RDWR);
    if (devnull >= 0) {
      ::dup2(devnull, 0);
      ::dup2(devnull, 1);
      ::dup2(devnull, 2);
    }
    ::execlp(options.program.c_str(), options.program.c_str(), "-displayfd", fd.c_str(), "-screen", "0",
             screen.c_str(), "-nolisten", "tcp", "-noreset", static_cast<char *>(nullptr));
    ::_exit(127);
  }
  ::close(fds[1]);
  pid_ = pid;

  // The server writes its display number and a newline once it is ready.
  std::string number;
  const double until = now() + options.timeoutMs / 1000.0;
  for (;;) {
    const int left = static_cast<int>((until - now()) * 1000);
    if (left <= 0) {
      error_ =
          options.program + " did not report a display within " + std::to_string(options.timeoutMs) + " ms";
      break;
    }
    struct pollfd p {
      fds[0], POLLIN, 0
    };
    int r = ::poll(&p, 1, left);
    if (r < 0 && errno == EINTR)
      continue;
    if (r <= 0)
      continue;
    char c;
    ssize_t n = ::read(fds[0], &c, 1);
    if (n < 0 && errno == EINTR)
      continue;
    if (n <= 0) {
      error_ = options.program + " ended before reporting a display (is it installed?)";
      break;
    }
    if (c == '\n')
      break;
    number += c;
  }
  ::close(fds[0]);
  if (error_.empty() && number.empty())
    error_ = options.program + " reported no display number";
  if (error_.empty()) {
    // Ready means a client can connect: open and close one connection.
    const std::string name = ":" + number;
    Display *d = nullptr;
    while (!(d = XOpenDisplay(name.c_str())) && now() < until)
      sleepSeconds(0.02);
    if (d) {
      XCloseDisplay(d);
      display_ = name;
    } else {
      error_ = "cannot open the display " + name + " of " + options.program;
    }
  }
  if (!ok())
    stop();
}

XServer::~XServer()
{
  stop();
}

void XServer::stop()
{
  display_.clear();
  if (pid_ <= 0)
    return;
  ::kill(pid_, SIGTERM);
  if (!reapWithin(pid_, 3000)) {
    ::kill(pid_, SIGKILL);
    reapWithin(pid_, 3000);
  }
  pid_ = -1;
}

} // namespace testsupport
