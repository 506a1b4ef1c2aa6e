// ModelTestSupport.cpp: helpers of the model tests.
#include "ModelTestSupport.h"

#include <dirent.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace folio::modeltest {

std::vector<QpdfPage> qpdfPages(const std::string &path, const std::string &password)
{
  std::string cmd = std::string("python3 '") + QPDF_BOXES_SCRIPT + "' '" + path + "'";
  if (!password.empty())
    cmd += " '" + password + "'";
  std::vector<QpdfPage> pages;
  FILE *p = popen(cmd.c_str(), "r");
  if (!p)
    return pages;
  char line[512];
  while (std::fgets(line, sizeof line, p)) {
    std::istringstream in(line);
    int index;
    std::string word;
    QpdfPage page;
    in >> index >> word >> page.media.x0 >> page.media.y0 >> page.media.x1 >> page.media.y1 >> word;
    std::string first;
    in >> first;
    if (first != "none") {
      pdfgen::Box c;
      c.x0 = std::stod(first);
      in >> c.y0 >> c.x1 >> c.y1;
      page.crop = c;
    }
    in >> word >> page.rotate;
    pages.push_back(page);
  }
  pclose(p);
  return pages;
}

std::string readFile(const std::string &path)
{
  std::ifstream f(path, std::ios::binary);
  std::ostringstream s;
  s << f.rdbuf();
  return s.str();
}

void writeFile(const std::string &path, const std::string &bytes)
{
  std::ofstream f(path, std::ios::binary | std::ios::trunc);
  f.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

bool fileExists(const std::string &path)
{
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0;
}

std::vector<std::string> listDir(const std::string &dir)
{
  std::vector<std::string> names;
  if (DIR *d = ::opendir(dir.c_str())) {
    while (dirent *e = ::readdir(d)) {
      std::string n = e->d_name;
      if (n != "." && n != "..")
        names.push_back(n);
    }
    ::closedir(d);
  }
  return names;
}

int run(const std::string &command)
{
  int status = std::system(command.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void ModelTest::SetUp()
{
  char tmpl[] = "/tmp/folio-model-test-XXXXXX";
  char *d = ::mkdtemp(tmpl);
  ASSERT_NE(d, nullptr);
  dir_ = d;
}

void ModelTest::TearDown()
{
  if (!dir_.empty())
    run("chmod -R u+w '" + dir_ + "' 2>/dev/null; rm -rf '" + dir_ + "'");
}

std::string ModelTest::write(const std::string &name, const std::vector<pdfgen::PageSpec> &pages,
                             std::vector<pdfgen::PageInk> *inks)
{
  std::string p = path(name);
  auto written = pdfgen::writeDocument(p, pages);
  if (inks)
    *inks = written;
  return p;
}

pdfgen::PageSpec ModelTest::rectPage(pdfgen::Box media, pdfgen::Box ink)
{
  pdfgen::PageSpec s;
  s.media = media;
  s.marks.push_back(pdfgen::Mark::fillRect(ink));
  return s;
}

} // namespace folio::modeltest
