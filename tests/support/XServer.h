// XServer.h: a private X server (Xvfb) for a test, a test program or a
// benchmark.
//
// The server picks a free display number itself (-displayfd) and is ready
// once the constructor returns ok(): it has reported its number and a client
// connection to it has been opened. The object owns the server: stop() or
// the destructor ends it (SIGTERM, then SIGKILL after 3 s) and reaps it. The
// server also dies with the process that started it, even one that is killed
// (the parent-death signal), so no server outlives a crashed test. It runs
// with -noreset: it keeps its state (and its numbering of clients) when its
// last client goes. Nothing here is thread-safe.
#pragma once

#include <sys/types.h>

#include <string>

namespace testsupport {

class XServer {
public:
  struct Options {
    int width = 1280; // screen 0, in pixels, depth 24
    int height = 1024;
    std::string program = "Xvfb"; // found on PATH unless it has a slash
    int timeoutMs = 20000;        // how long starting may take
  };

  XServer() : XServer(Options{}) {}
  explicit XServer(const Options &options);
  ~XServer();
  XServer(const XServer &) = delete;
  XServer &operator=(const XServer &) = delete;

  // True when the server runs and accepts connections.
  bool ok() const { return !display_.empty(); }
  // The display name ":N"; empty when not ok().
  const std::string &display() const { return display_; }
  pid_t pid() const { return pid_; }
  // Why there is no server, when not ok().
  const std::string &error() const { return error_; }
  // Ends and reaps the server (also done by the destructor).
  void stop();

private:
  pid_t pid_ = -1;
  std::string display_;
  std::string error_;
};

} // namespace testsupport
