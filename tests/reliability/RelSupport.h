// RelSupport.h: what the reliability tests share beyond the support library
// (tests/support: processes, folders, files, private X servers): running the
// folio program (to its end, or in the background to be killed) in a clean
// environment, memory figures of processes and the X-Resource counts of a
// client.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/Files.h"
#include "support/XServer.h"

namespace rel {

using testsupport::contains;
using testsupport::copyFile;
using testsupport::fileExists;
using testsupport::listDir;
using testsupport::now;
using testsupport::readFile;
using testsupport::RunResult;
using testsupport::sleepSeconds;
using testsupport::writeFile;
// A private X server (Xvfb) for the length of a test.
using Xvfb = testsupport::XServer;

// A folder under /tmp, removed with everything in it on destruction.
class TempDir : public testsupport::TempDir {
public:
  TempDir() : testsupport::TempDir("folio-rel") {}
};

// How a run of the folio program is set up.
struct RunOptions {
  std::string input;             // standard input
  std::string display;           // DISPLAY for the program; empty: none (the host starts its own X server)
  std::vector<std::string> env;  // more NAME=VALUE entries
  std::vector<std::string> wrap; // a command to run the program under (valgrind ...)
  std::string cwd;               // working folder; empty: the test's own
};

// A program started in the background, its outputs captured. The
// destructor kills it (SIGKILL) if it still runs. The environment is the
// test's own without DISPLAY (unless options.display), FOLIO_* and
// XDG_CONFIG_HOME, which is set to `configHome` so that no user
// configuration is read.
class Child : public testsupport::ChildProcess {
public:
  Child(const std::string &program, const std::vector<std::string> &args, const std::string &configHome,
        const RunOptions &options = {});
  // True once the program has ended (reaps it; wait() then returns at once).
  bool finished() { return !running(); }
  void kill(int sig) { signal(sig); }
};

// Runs the program to its end (see Child).
RunResult runProgram(const std::string &program, const std::vector<std::string> &args,
                     const std::string &configHome, const RunOptions &options = {});

// Runs `program --batch -` with `script` on standard input, on the X
// server `display`, and calls `sample(pid)` every 20 ms while it runs until
// `sample` answers false; then waits for its end.
RunResult runBatchSampling(const std::string &program, const std::string &configHome,
                           const std::string &display, const std::string &script,
                           const std::function<bool(pid_t)> &sample);

// The peak resident set of this process so far, in kB (VmHWM).
long selfPeakRssKb();
// The resident set of process `pid` now, in kB (VmRSS); 0 when it is gone.
long rssKbOf(pid_t pid);

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
