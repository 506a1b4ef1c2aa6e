// Harness.h: running the real folio program on files in a private temporary
// folder, and reading what it wrote (output, PNG snapshots). Processes,
// folders and files come from the support library (tests/support).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/Files.h"

namespace e2e {

using testsupport::contains;
using testsupport::copyFile;
using testsupport::fileExists;
using testsupport::linesStartingWith;
using testsupport::readFile;
using testsupport::RunResult;
using testsupport::TempDir;
using testsupport::writeFile;

// Runs `program` with `args`, feeding `input` on standard input, in an
// environment without DISPLAY (the host starts its own Xvfb), without the
// user's folio configuration (XDG_CONFIG_HOME is `configHome`) and without
// FOLIO_* variables (testsupport::folioRunOptions). With `stderrTerminal`
// its standard error is a pseudo terminal (what a user at a terminal gives
// it), read into `err`. Under the sanitizer build the program gets this
// suite's leak suppressions.
RunResult runProgram(const std::string &program, const std::vector<std::string> &args,
                     const std::string &configHome, const std::string &input = {},
                     bool stderrTerminal = false);

// An 8-bit RGB image read from a PNG (8-bit RGB or RGBA, not interlaced, as
// the host writes them).
struct Image {
  int width = 0, height = 0;
  std::vector<uint8_t> rgb;
  const uint8_t *at(int x, int y) const { return &rgb[(size_t(y) * width + x) * 3]; }
  bool is(int x, int y, uint8_t r, uint8_t g, uint8_t b) const
  {
    const uint8_t *p = at(x, y);
    return p[0] == r && p[1] == g && p[2] == b;
  }
};
bool readPng(const std::string &path, Image &image, std::string *error = nullptr);

} // namespace e2e
