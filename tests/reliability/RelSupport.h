// RelSupport.h: what the reliability tests share: running the folio program
// (to its end, or in the background to be killed), its peak memory, private
// temporary folders, file helpers, a private X server and the X-Resource
// counts of a client.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace rel {

// How a run of a program ended.
struct RunResult {
  int exitCode = -1;            // exit status; -1 when it did not exit normally
  int signal = 0;               // the signal that ended it, 0 when it exited
  long peakRssKb = 0;           // its peak resident set (its own, not its children's)
  std::string out;              // standard output
  std::string err;              // standard error
  std::string describe() const; // exit, signal, peak memory and both outputs, for failure messages
};

struct RunOptions {
  std::string input;             // standard input
  std::string display;           // DISPLAY for the program; empty: none (the host starts its own X server)
  std::vector<std::string> env;  // more NAME=VALUE entries
  std::vector<std::string> wrap; // a command to run the program under (valgrind ...)
  std::string cwd;               // working folder; empty: the test's own
};

// A program started in the background with its outputs going to files of a
// private folder. The destructor kills it (SIGKILL) if it still runs.
class Child {
public:
  Child(const std::string &program, const std::vector<std::string> &args, const std::string &configHome,
        const RunOptions &options = {});
  ~Child();
  Child(const Child &) = delete;
  Child &operator=(const Child &) = delete;

  pid_t pid() const { return pid_; }
  bool started() const { return pid_ > 0; }
  // True once the program has ended (reaps it; wait() then returns at once).
  bool finished();
  void kill(int sig);
  // Waits for the end and collects outputs and peak memory.
  RunResult wait();

private:
  void reap(bool block);
  pid_t pid_ = -1;
  bool reaped_ = false;
  int status_ = 0;
  long peakRssKb_ = 0;
  std::string io_; // folder of stdin/stdout/stderr
  std::string startError_;
};

// Runs the program to its end. The environment is the test's own without
// DISPLAY (unless options.display), FOLIO_* and XDG_CONFIG_HOME, which is set
// to `configHome` so that no user configuration is read.
RunResult runProgram(const std::string &program, const std::vector<std::string> &args,
                     const std::string &configHome, const RunOptions &options = {});

// A folder under /tmp, removed with everything in it on destruction.
class TempDir {
public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir &) = delete;
  TempDir &operator=(const TempDir &) = delete;
  const std::string &path() const { return path_; }
  std::string file(const std::string &name) const { return path_ + "/" + name; }

private:
  std::string path_;
};

bool fileExists(const std::string &path);
std::string readFile(const std::string &path);
void writeFile(const std::string &path, const std::string &bytes);
bool copyFile(const std::string &from, const std::string &to);
// Names in `dir` (without "." and ".."), sorted.
std::vector<std::string> listDir(const std::string &dir);
bool contains(const std::string &text, const std::string &part);
// The peak resident set of this process so far, in kB (VmHWM).
long selfPeakRssKb();
// The resident set of process `pid` now, in kB (VmRSS); 0 when it is gone.
long rssKbOf(pid_t pid);
// Monotonic seconds.
double now();
void sleepSeconds(double s);

// A private X server (Xvfb -displayfd) for the length of a test.
class Xvfb {
public:
  Xvfb();
  ~Xvfb();
  Xvfb(const Xvfb &) = delete;
  Xvfb &operator=(const Xvfb &) = delete;
  bool ok() const { return !display_.empty(); }
  const std::string &display() const { return display_; } // ":N"

private:
  pid_t pid_ = -1;
  std::string display_;
};

// Resource counts of one client of an X server, by resource type name
// ("PIXMAP", "GC", "WINDOW", "CURSOR", ...), from the X-Resource extension.
using ResourceCounts = std::map<std::string, int>;

// Watches the clients of an X server. Opened on `display`; not ok() when the
// server has no X-Resource extension.
class XResWatch {
public:
  explicit XResWatch(const std::string &display);
  ~XResWatch();
  XResWatch(const XResWatch &) = delete;
  XResWatch &operator=(const XResWatch &) = delete;
  bool ok() const { return display_ != nullptr; }
  // The resource counts of the client whose process is `pid` (found by the
  // client's process id); false when no such client is connected now.
  bool countsOf(pid_t pid, ResourceCounts &counts);
  // The total of every resource type in `counts`.
  static int total(const ResourceCounts &counts);

private:
  void *display_ = nullptr; // Display*
};

} // namespace rel
