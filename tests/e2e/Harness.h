// Harness.h: running the real folio program on files in a private temporary
// folder, and reading what it wrote (output, PNG snapshots).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace e2e {

struct RunResult {
  int exitCode = -1; // the program's exit status; -1 when it did not exit normally
  std::string out;   // standard output
  std::string err;   // standard error
};

// Runs `program` with `args`, feeding `input` on standard input, in an
// environment without DISPLAY (the host starts its own Xvfb), without the
// user's folio configuration (XDG_CONFIG_HOME is `configHome`) and without
// FOLIO_* variables. With `stderrTerminal` its standard error is a pseudo
// terminal (what a user at a terminal gives it), read into `err`.
RunResult runProgram(const std::string &program, const std::vector<std::string> &args,
                     const std::string &configHome, const std::string &input = {},
                     bool stderrTerminal = false);

// A temporary folder under /tmp, removed with everything in it on destruction.
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
void writeFile(const std::string &path, const std::string &text);
bool copyFile(const std::string &from, const std::string &to);

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

// Lines of `text` that start with `prefix`.
std::vector<std::string> linesStartingWith(const std::string &text, const std::string &prefix);

} // namespace e2e
