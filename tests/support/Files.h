// Files.h: private temporary folders and whole-file reads and writes for
// tests and benchmarks. Paths are plain file-system paths; nothing throws
// except where said.
#pragma once

#include <string>
#include <vector>

namespace testsupport {

// Makes a new folder /tmp/PREFIX-XXXXXX and answers its path; throws
// std::runtime_error when it cannot.
std::string makeTempDir(const std::string &prefix);
// Removes `path` with everything in it; quiet when it is not there.
void removeAll(const std::string &path);

// A folder under /tmp owned by the object: removed with everything in it on
// destruction.
class TempDir {
public:
  explicit TempDir(const std::string &prefix = "folio-test");
  ~TempDir();
  TempDir(const TempDir &) = delete;
  TempDir &operator=(const TempDir &) = delete;
  const std::string &path() const { return path_; }
  std::string file(const std::string &name) const { return path_ + "/" + name; }

private:
  std::string path_;
};

bool fileExists(const std::string &path);
// The bytes of the file; empty when it cannot be read.
std::string readFile(const std::string &path);
void writeFile(const std::string &path, const std::string &bytes);
// Copies, replacing `to`; answers success.
bool copyFile(const std::string &from, const std::string &to);
// Names in `dir` (without "." and ".."), sorted; empty when it cannot be read.
std::vector<std::string> listDir(const std::string &dir);

// Whether `text` contains `part`.
bool contains(const std::string &text, const std::string &part);
// The lines of `text` that start with `prefix`, without their newlines.
std::vector<std::string> linesStartingWith(const std::string &text, const std::string &prefix);

} // namespace testsupport
