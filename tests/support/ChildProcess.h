// ChildProcess.h: running a program from a test or a benchmark and
// collecting how it ended: exit status or signal, standard output and error,
// peak memory, wall and CPU time.
//
// The program is started with posix_spawnp (found on PATH unless the name
// has a slash) in the caller's environment, changed as RunOptions says. Its
// standard input is `input` (end of file after it); its outputs are captured
// (through files of a private folder, so a large output never blocks it),
// discarded, or appended to a log file. Nothing here is thread-safe.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace testsupport {

// How a run ended and what it wrote.
struct RunResult {
  int exitCode = -1;      // exit status; -1 when it did not exit normally (signal, timeout, not started)
  int signal = 0;         // the signal that ended it, 0 when it exited
  bool timedOut = false;  // killed (SIGKILL) because the timeout ran out
  long peakRssKb = 0;     // its peak resident set in kB (its own, not its children's)
  double wallSeconds = 0; // from the start to the end
  double cpuSeconds = 0;  // user + system time of the program and the children it waited for
  std::string out;        // standard output (Output::Capture only)
  std::string err;        // standard error (Output::Capture or stderrTerminal); why, when it did not start
  std::string describe() const; // exit, signal, peak memory and both outputs, for failure messages
};

enum class Output {
  Capture, // into RunResult::out and ::err
  Discard, // to /dev/null (benchmarks)
  Log,     // both appended to RunOptions::logPath
};

struct RunOptions {
  std::string input;                 // standard input
  std::vector<std::string> unsetEnv; // names taken out of the inherited environment; "FOLIO_*" takes every
                                     // name that starts with FOLIO_
  std::vector<std::string> env;      // NAME=VALUE entries set on top (they replace an inherited one)
  std::string cwd;                   // working folder; empty: the caller's
  Output output = Output::Capture;
  std::string logPath;         // with Output::Log
  bool stderrTerminal = false; // standard error is a pseudo terminal (what a user at a terminal gives
                               // it), read into RunResult::err
};

// The options of a run of the folio program in a test: no DISPLAY (the host
// starts its own X server unless `display` is given), no FOLIO_* variables,
// and XDG_CONFIG_HOME set to `configHome` so that no user configuration is
// read or written.
RunOptions folioRunOptions(const std::string &configHome, const std::string &display = {});

// A program started in the background. The object owns the process: the
// destructor kills it (SIGKILL) if it still runs and reaps it, and removes
// the captured outputs.
class ChildProcess {
public:
  ChildProcess(const std::vector<std::string> &argv, const RunOptions &options = {});
  ~ChildProcess();
  ChildProcess(const ChildProcess &) = delete;
  ChildProcess &operator=(const ChildProcess &) = delete;

  bool started() const { return pid_ > 0; }
  pid_t pid() const { return pid_; }
  // True while the program runs (reaps it once it has ended).
  bool running();
  // Sends `sig` while the program runs.
  void signal(int sig);
  // Waits for the end, at most `timeoutMs` (negative: as long as it takes);
  // when the time runs out the program is killed with SIGKILL and the result
  // says timedOut. Later calls answer the same result.
  const RunResult &wait(int timeoutMs = -1);

private:
  bool reap(bool block);
  void drainTerminal(int waitMs);
  void finish();

  pid_t pid_ = -1;
  bool reaped_ = false;
  bool finished_ = false;
  int status_ = 0;
  int terminal_ = -1; // master side of stderr's pseudo terminal
  double startedAt_ = 0;
  std::string io_; // private folder of the captured outputs
  Output output_ = Output::Capture;
  RunResult result_;
};

// Starts `argv` and waits for its end (see ChildProcess::wait for the timeout).
RunResult runProgram(const std::vector<std::string> &argv, const RunOptions &options = {},
                     int timeoutMs = -1);

// Runs `argv` to its end with its outputs discarded: what a benchmark
// times (wallSeconds, cpuSeconds, peakRssKb, exitCode).
RunResult timeProgram(const std::vector<std::string> &argv);

// Monotonic seconds.
double now();
void sleepSeconds(double s);

} // namespace testsupport
