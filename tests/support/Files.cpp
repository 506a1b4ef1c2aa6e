// Files.cpp: temporary folders and whole-file reads and writes.
#include "support/Files.h"

#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace testsupport {

namespace fs = std::filesystem;

std::string makeTempDir(const std::string &prefix)
{
  std::string tmpl = "/tmp/" + prefix + "-XXXXXX";
  if (!mkdtemp(tmpl.data()))
    throw std::runtime_error("cannot make a folder like " + tmpl);
  return tmpl;
}

void removeAll(const std::string &path)
{
  std::error_code ec;
  fs::remove_all(path, ec);
}

TempDir::TempDir(const std::string &prefix) : path_(makeTempDir(prefix)) {}

TempDir::~TempDir()
{
  removeAll(path_);
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

std::vector<std::string> linesStartingWith(const std::string &text, const std::string &prefix)
{
  std::vector<std::string> lines;
  std::istringstream in(text);
  std::string line;
  while (std::getline(in, line))
    if (line.rfind(prefix, 0) == 0)
      lines.push_back(line);
  return lines;
}

} // namespace testsupport
