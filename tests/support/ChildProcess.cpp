// ChildProcess.cpp: posix_spawn, wait4 and captured outputs.
#include "support/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <stdexcept>

#include "support/Files.h"

extern char **environ;

namespace testsupport {

namespace {

// `text` cut to `limit` bytes with control bytes written as \xNN, fit for a
// failure message.
std::string printable(const std::string &text, size_t limit)
{
  std::string s;
  for (size_t i = 0; i < text.size() && i < limit; ++i) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    if ((c < 0x20 && c != '\n' && c != '\t') || c == 0x7f) {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\x%02x", c);
      s += buf;
    } else {
      s += static_cast<char>(c);
    }
  }
  return s;
}

// Whether the environment entry `kv` ("NAME=VALUE") is named by `pattern`
// ("NAME", or "PREFIX*").
bool names(const std::string &pattern, const std::string &kv)
{
  if (!pattern.empty() && pattern.back() == '*')
    return kv.compare(0, pattern.size() - 1, pattern, 0, pattern.size() - 1) == 0;
  return kv.size() > pattern.size() && kv.compare(0, pattern.size(), pattern) == 0 &&
         kv[pattern.size()] == '=';
}

std::vector<std::string> environmentFor(const RunOptions &options)
{
  std::vector<std::string> env;
  for (char **e = environ; *e; ++e) {
    std::string kv = *e;
    bool drop = false;
    for (const std::string &p : options.unsetEnv)
      drop = drop || names(p, kv);
    for (const std::string &set : options.env)
      drop = drop || names(set.substr(0, set.find('=')), kv);
    if (!drop)
      env.push_back(kv);
  }
  env.insert(env.end(), options.env.begin(), options.env.end());
  return env;
}

std::vector<char *> cStrings(std::vector<std::string> &strings)
{
  std::vector<char *> out;
  for (std::string &s : strings)
    out.push_back(s.data());
  out.push_back(nullptr);
  return out;
}

} // namespace

std::string RunResult::describe() const
{
  std::ostringstream s;
  s << "exit " << exitCode;
  if (signal)
    s << " (signal " << signal << ")";
  if (timedOut)
    s << " (timed out)";
  s << ", peak RSS " << peakRssKb << " kB\n--- stdout (" << out.size() << " bytes)\n"
    << printable(out, 4000) << "\n--- stderr (" << err.size() << " bytes)\n"
    << printable(err, 4000);
  return s.str();
}

RunOptions folioRunOptions(const std::string &configHome, const std::string &display)
{
  RunOptions o;
  o.unsetEnv = {"DISPLAY", "FOLIO_*", "XDG_CONFIG_HOME"};
  o.env = {"XDG_CONFIG_HOME=" + configHome};
  if (!display.empty())
    o.env.push_back("DISPLAY=" + display);
  return o;
}

ChildProcess::ChildProcess(const std::vector<std::string> &argvIn, const RunOptions &options)
    : output_(options.output)
{
  if (argvIn.empty()) {
    result_.err = "no program to start";
    return;
  }
  io_ = makeTempDir("folio-io");
  const std::string inPath = io_ + "/stdin";
  writeFile(inPath, options.input);

  std::vector<std::string> argv = argvIn, env = environmentFor(options);
  std::vector<char *> cargv = cStrings(argv), cenv = cStrings(env);

  posix_spawn_file_actions_t fa;
  posix_spawn_file_actions_init(&fa);
  posix_spawn_file_actions_addopen(&fa, 0, inPath.c_str(), O_RDONLY, 0);
  switch (output_) {
  case Output::Capture:
    posix_spawn_file_actions_addopen(&fa, 1, (io_ + "/stdout").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&fa, 2, (io_ + "/stderr").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    break;
  case Output::Discard:
    posix_spawn_file_actions_addopen(&fa, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&fa, 2, "/dev/null", O_WRONLY, 0);
    break;
  case Output::Log:
    posix_spawn_file_actions_addopen(&fa, 1, options.logPath.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    posix_spawn_file_actions_adddup2(&fa, 1, 2);
    break;
  }
  if (options.stderrTerminal) {
    terminal_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal_ < 0 || grantpt(terminal_) != 0 || unlockpt(terminal_) != 0)
      throw std::runtime_error("no pseudo terminal");
    posix_spawn_file_actions_addopen(&fa, 2, ptsname(terminal_), O_WRONLY | O_NOCTTY, 0);
  }
  if (!options.cwd.empty())
    posix_spawn_file_actions_addchdir_np(&fa, options.cwd.c_str());
  startedAt_ = now();
  pid_t pid = 0;
  int rc = posix_spawnp(&pid, cargv[0], &fa, nullptr, cargv.data(), cenv.data());
  posix_spawn_file_actions_destroy(&fa);
  if (rc != 0) {
    result_.err = "cannot start " + argv[0] + ": " + std::strerror(rc);
    finished_ = true;
    return;
  }
  pid_ = pid;
}

ChildProcess::~ChildProcess()
{
  if (pid_ > 0 && !reaped_) {
    ::kill(pid_, SIGKILL);
    reap(true);
  }
  if (terminal_ >= 0)
    ::close(terminal_);
  if (!io_.empty())
    removeAll(io_);
}

bool ChildProcess::reap(bool block)
{
  if (pid_ <= 0 || reaped_)
    return reaped_;
  struct rusage ru {};
  int status = 0;
  for (;;) {
    pid_t r = ::wait4(pid_, &status, block ? 0 : WNOHANG, &ru);
    if (r < 0 && errno == EINTR)
      continue;
    if (r == pid_) {
      reaped_ = true;
      status_ = status;
      result_.wallSeconds = now() - startedAt_;
      result_.peakRssKb = ru.ru_maxrss;
      result_.cpuSeconds = double(ru.ru_utime.tv_sec + ru.ru_stime.tv_sec) +
                           double(ru.ru_utime.tv_usec + ru.ru_stime.tv_usec) / 1e6;
    } else if (r < 0) {
      reaped_ = true; // not our child any more: nothing to wait for
    }
    return reaped_;
  }
}

bool ChildProcess::running()
{
  return pid_ > 0 && !reap(false);
}

void ChildProcess::signal(int sig)
{
  if (pid_ > 0 && !reaped_)
    ::kill(pid_, sig);
}

// Reads what the program wrote to its terminal, waiting up to `waitMs` for
// the first bytes (a full terminal would block the program).
void ChildProcess::drainTerminal(int waitMs)
{
  char buf[4096];
  struct pollfd p {
    terminal_, POLLIN, 0
  };
  while (::poll(&p, 1, waitMs) > 0 && (p.revents & POLLIN)) {
    ssize_t n = ::read(terminal_, buf, sizeof buf);
    if (n <= 0)
      break;
    result_.err.append(buf, size_t(n));
    waitMs = 0;
  }
}

const RunResult &ChildProcess::wait(int timeoutMs)
{
  if (finished_ || pid_ <= 0)
    return result_;
  if (timeoutMs < 0 && terminal_ < 0) {
    reap(true);
  } else {
    const double until = now() + timeoutMs / 1000.0;
    while (!reap(false)) {
      if (timeoutMs >= 0 && now() > until) {
        ::kill(pid_, SIGKILL);
        reap(true);
        result_.timedOut = true;
        break;
      }
      if (terminal_ >= 0)
        drainTerminal(20);
      else
        sleepSeconds(0.002);
    }
  }
  finish();
  return result_;
}

void ChildProcess::finish()
{
  finished_ = true;
  if (terminal_ >= 0) {
    drainTerminal(0);
    ::close(terminal_);
    terminal_ = -1;
  }
  if (WIFEXITED(status_) && !result_.timedOut)
    result_.exitCode = WEXITSTATUS(status_);
  if (WIFSIGNALED(status_))
    result_.signal = WTERMSIG(status_);
  if (output_ == Output::Capture) {
    result_.out = readFile(io_ + "/stdout");
    if (result_.err.empty())
      result_.err = readFile(io_ + "/stderr");
  }
}

RunResult runProgram(const std::vector<std::string> &argv, const RunOptions &options, int timeoutMs)
{
  ChildProcess child(argv, options);
  return child.wait(timeoutMs);
}

RunResult timeProgram(const std::vector<std::string> &argv)
{
  RunOptions o;
  o.output = Output::Discard;
  return runProgram(argv, o);
}

double now()
{
  struct timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return ts.tv_sec + ts.tv_nsec / 1e9;
}

void sleepSeconds(double s)
{
  if (s <= 0)
    return;
  struct timespec ts;
  ts.tv_sec = static_cast<time_t>(s);
  ts.tv_nsec = static_cast<long>((s - ts.tv_sec) * 1e9);
  while (nanosleep(&ts, &ts) != 0 && errno == EINTR) {
  }
}

} // namespace testsupport
