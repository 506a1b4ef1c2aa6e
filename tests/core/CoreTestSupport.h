// CoreTestSupport.h: a private temporary folder for a test, and file helpers.
#pragma once

#include <cstdlib>
#include <fstream>
#include <string>

#include <ftw.h>
#include <unistd.h>

namespace coretest {

class TempDir {
public:
  TempDir()
  {
    char pattern[] = "/tmp/folio-core-test-XXXXXX";
    const char *made = mkdtemp(pattern);
    path_ = made ? made : "";
  }
  ~TempDir()
  {
    if (!path_.empty())
      nftw(
          path_.c_str(), [](const char *p, const struct stat *, int, struct FTW *) { return std::remove(p); },
          16, FTW_DEPTH | FTW_PHYS);
  }
  const std::string &path() const { return path_; }
  std::string file(const std::string &name) const { return path_ + "/" + name; }

private:
  std::string path_;
};

inline void writeFile(const std::string &path, const std::string &text)
{
  std::ofstream out(path);
  out << text;
}

} // namespace coretest
