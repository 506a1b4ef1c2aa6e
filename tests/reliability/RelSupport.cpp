// RelSupport.cpp: processes, folders, a private X server, X-Resource counts.
#include "RelSupport.h"

#include <X11/Xlib.h>
#include <X11/extensions/XRes.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

extern char **environ;

namespace rel {

namespace fs = std::filesystem;

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
} // namespace

std::string RunResult::describe() const
{
  std::ostringstream s;
  s << "exit " << exitCode;
  if (signal)
    s << " (signal " << signal << ")";
  s << ", peak RSS " << peakRssKb << " kB\n--- stdout (" << out.size() << " bytes)\n"
    << printable(out, 4000) << "\n--- stderr (" << err.size() << " bytes)\n"
    << printable(err, 4000);
  return s.str();
}

Child::Child(const std::string &program, const std::vector<std::string> &args, const std::string &configHome,
             const RunOptions &options)
{
  char tmpl[] = "/tmp/folio-rel-io-XXXXXX";
  if (!mkdtemp(tmpl))
    throw std::runtime_error("mkdtemp failed");
  io_ = tmpl;
  const std::string inPath = io_ + "/stdin", outPath = io_ + "/stdout", errPath = io_ + "/stderr";
  writeFile(inPath, options.input);

  std::vector<std::string> env;
  for (char **e = environ; *e; ++e) {
    std::string kv = *e;
    if (kv.rfind("DISPLAY=", 0) == 0 || kv.rfind("FOLIO_", 0) == 0 || kv.rfind("XDG_CONFIG_HOME=", 0) == 0)
      continue;
    env.push_back(kv);
  }
  env.push_back("XDG_CONFIG_HOME=" + configHome);
  if (!options.display.empty())
    env.push_back("DISPLAY=" + options.display);
  for (const std::string &kv : options.env)
    env.push_back(kv);

  std::vector<std::string> command = options.wrap;
  command.push_back(program);
  command.insert(command.end(), args.begin(), args.end());
  std::vector<char *> argv, envp;
  for (std::string &a : command)
    argv.push_back(a.data());
  argv.push_back(nullptr);
  for (std::string &kv : env)
    envp.push_back(kv.data());
  envp.push_back(nullptr);

  posix_spawn_file_actions_t fa;
  posix_spawn_file_actions_init(&fa);
  posix_spawn_file_actions_addopen(&fa, 0, inPath.c_str(), O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&fa, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_addopen(&fa, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (!options.cwd.empty())
    posix_spawn_file_actions_addchdir_np(&fa, options.cwd.c_str());
  pid_t pid = 0;
  int rc = posix_spawnp(&pid, argv[0], &fa, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&fa);
  if (rc != 0)
    startError_ = "cannot start " + command[0] + ": " + std::strerror(rc);
  else
    pid_ = pid;
}

Child::~Child()
{
  if (pid_ > 0 && !reaped_) {
    ::kill(pid_, SIGKILL);
    reap(true);
  }
  std::error_code ec;
  fs::remove_all(io_, ec);
}

void Child::reap(bool block)
{
  if (pid_ <= 0 || reaped_)
    return;
  struct rusage ru {};
  int status = 0;
  for (;;) {
    pid_t r = ::wait4(pid_, &status, block ? 0 : WNOHANG, &ru);
    if (r < 0 && errno == EINTR)
      continue;
    if (r == pid_) {
      reaped_ = true;
      status_ = status;
      peakRssKb_ = ru.ru_maxrss;
    }
    return;
  }
}

bool Child::finished()
{
  reap(false);
  return reaped_ || pid_ <= 0;
}

void Child::kill(int sig)
{
  if (pid_ > 0 && !reaped_)
    ::kill(pid_, sig);
}

RunResult Child::wait()
{
  RunResult r;
  if (pid_ <= 0) {
    r.err = startError_;
    return r;
  }
  reap(true);
  if (WIFEXITED(status_))
    r.exitCode = WEXITSTATUS(status_);
  if (WIFSIGNALED(status_))
    r.signal = WTERMSIG(status_);
  r.peakRssKb = peakRssKb_;
  r.out = readFile(io_ + "/stdout");
  r.err = readFile(io_ + "/stderr");
  return r;
}

RunResult runProgram(const std::string &program, const std::vector<std::string> &args,
                     const std::string &configHome, const RunOptions &options)
{
  Child c(program, args, configHome, options);
  return c.wait();
}

TempDir::TempDir()
{
  char tmpl[] = "/tmp/folio-rel-XXXXXX";
  if (!mkdtemp(tmpl))
    throw std::runtime_error("mkdtemp failed");
  path_ = tmpl;
}

TempDir::~TempDir()
{
  std::error_code ec;
  fs::remove_all(path_, ec);
}

bool fileExists(const std::string &path)
{
  struct stat st;
  return ::stat(path.c_str(), &st) == 0;
}

std::string readFile(const std::string &path)
{
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

void writeFile(const std::string &path, const std::string &bytes)
{
  std::ofstream out(path, std::ios::binary);
  out << bytes;
}

bool copyFile(const std::string &from, const std::string &to)
{
  std::error_code ec;
  return fs::copy_file(from, to, fs::copy_options::overwrite_existing, ec);
}

std::vector<std::string> listDir(const std::string &dir)
{
  std::vector<std::string> names;
  std::error_code ec;
  for (const auto &e : fs::directory_iterator(dir, ec))
    names.push_back(e.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

bool contains(const std::string &text, const std::string &part)
{
  return text.find(part) != std::string::npos;
}

long selfPeakRssKb()
{
  std::ifstream in("/proc/self/status");
  std::string line;
  while (std::getline(in, line))
    if (line.rfind("VmHWM:", 0) == 0)
      return std::stol(line.substr(6));
  return 0;
}

long rssKbOf(pid_t pid)
{
  std::ifstream in("/proc/" + std::to_string(pid) + "/status");
  std::string line;
  while (std::getline(in, line))
    if (line.rfind("VmRSS:", 0) == 0)
      return std::stol(line.substr(6));
  return 0;
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

Xvfb::Xvfb()
{
  int fds[2];
  if (pipe2(fds, O_CLOEXEC) != 0)
    return;
  std::string fd = std::to_string(fds[1]);
  std::vector<std::string> args = {"Xvfb", "-displayfd", fd, "-screen", "0", "1280x1024x24", "-nolisten",
                                   "tcp",
                                   // keep the server (and its numbering of clients) between runs
                                   "-noreset"};
  std::vector<char *> argv;
  for (std::string &a : args)
    argv.push_back(a.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t fa;
  posix_spawn_file_actions_init(&fa);
  // The write end must survive the exec in the child; the read end must not.
  posix_spawn_file_actions_adddup2(&fa, fds[1], fds[1]);
  posix_spawn_file_actions_addopen(&fa, 2, "/dev/null", O_WRONLY, 0);
  pid_t pid = 0;
  int rc = posix_spawnp(&pid, "Xvfb", &fa, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&fa);
  ::close(fds[1]);
  if (rc != 0) {
    ::close(fds[0]);
    return;
  }
  pid_ = pid;
  std::string number;
  struct pollfd p {
    fds[0], POLLIN, 0
  };
  double until = now() + 20;
  while (now() < until) {
    if (::poll(&p, 1, 200) > 0) {
      char c;
      ssize_t n = ::read(fds[0], &c, 1);
      if (n <= 0 || c == '\n')
        break;
      number += c;
    }
  }
  ::close(fds[0]);
  if (!number.empty())
    display_ = ":" + number;
}

Xvfb::~Xvfb()
{
  if (pid_ > 0) {
    ::kill(pid_, SIGTERM);
    int status;
    while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
  }
}

namespace {
// A client that goes away between two requests makes the server answer with
// an error; the counts are then simply not available.
int ignoreXError(Display *, XErrorEvent *)
{
  return 0;
}
} // namespace

XResWatch::XResWatch(const std::string &display)
{
  XSetErrorHandler(ignoreXError);
  Display *d = XOpenDisplay(display.c_str());
  if (!d)
    return;
  int event, error, major = 0, minor = 0;
  if (!XResQueryExtension(d, &event, &error) || !XResQueryVersion(d, &major, &minor) ||
      (major == 1 && minor < 2)) {
    XCloseDisplay(d);
    return;
  }
  display_ = d;
}

XResWatch::~XResWatch()
{
  if (display_)
    XCloseDisplay(static_cast<Display *>(display_));
}

bool XResWatch::countsOf(pid_t pid, ResourceCounts &counts)
{
  counts.clear();
  if (!display_)
    return false;
  Display *d = static_cast<Display *>(display_);
  XResClientIdSpec wanted{0, XRES_CLIENT_ID_PID_MASK};
  long numIds = 0;
  XResClientIdValue *ids = nullptr;
  if (XResQueryClientIds(d, 1, &wanted, &numIds, &ids) != Success)
    return false;
  XID base = 0;
  bool found = false;
  for (long i = 0; i < numIds; ++i) {
    if (XResGetClientIdType(&ids[i]) == XRES_CLIENT_ID_PID && XResGetClientPid(&ids[i]) == pid) {
      // The client's id is the first member of the value.
      base = reinterpret_cast<const XResClientIdSpec *>(&ids[i])->client;
      found = true;
      break;
    }
  }
  XResClientIdsDestroy(numIds, ids);
  if (!found)
    return false;
  int numTypes = 0;
  XResType *types = nullptr;
  if (!XResQueryClientResources(d, base, &numTypes, &types))
    return false;
  for (int i = 0; i < numTypes; ++i) {
    char *name = XGetAtomName(d, types[i].resource_type);
    counts[name ? name : "?"] = static_cast<int>(types[i].count);
    if (name)
      XFree(name);
  }
  if (types)
    XFree(types);
  return true;
}

int XResWatch::total(const ResourceCounts &counts)
{
  int t = 0;
  for (const auto &kv : counts)
    t += kv.second;
  return t;
}

} // namespace rel
