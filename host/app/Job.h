// Job.h: one run of the folio program: the command line, then the front end
// it asks for (the interactive viewer, a script, or a shortcut's script) on
// a host session. main() is a thin shell over it.
#pragma once

#include <iosfwd>
#include <string>

namespace folio::app {

// Exit codes of the program.
enum ExitCode { kExitOk = 0, kExitRunFailed = 1, kExitUsage = 2 };

class Job {
public:
  Job(int argc, const char *const *argv);
  // Runs the job; the process's exit code. Never throws: an exception
  // from any layer is reported on standard error and gives kExitRunFailed.
  int run();

private:
  int runUnguarded();
  int argc_;
  const char *const *argv_;
};

// The interactive viewer's entry, when this build has one: opens `file`
// (may be empty) in a viewer on the session; returns the exit code. Defined
// by the viewer glue (ViewerEntry.cpp).

// Writes "folio: MESSAGE" to standard error (after flushing standard
// output): how a failure that stopped the program is reported.
void reportFailure(const std::string &message);
} // namespace folio::app
