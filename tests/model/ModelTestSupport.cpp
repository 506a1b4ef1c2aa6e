// ModelTestSupport.cpp: helpers of the model tests.
#include "ModelTestSupport.h"

#include <filesystem>

#include "support/ChildProcess.h"

namespace folio::modeltest {

std::vector<QpdfPage> qpdfPages(const std::string &path, const std::string &password)
{
  std::vector<std::string> argv{"python3", QPDF_BOXES_SCRIPT, path};
  if (!password.empty())
    argv.push_back(password);
  std::vector<QpdfPage> pages;
  std::istringstream lines(testsupport::runProgram(argv).out);
  std::string line;
  while (std::getline(lines, line)) {
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
  return pages;
}

int run(const std::vector<std::string> &argv)
{
  testsupport::RunOptions o;
  o.output = testsupport::Output::Discard;
  return testsupport::runProgram(argv, o).exitCode;
}

void ModelTest::SetUp()
{
  dir_ = testsupport::makeTempDir("folio-model-test");
}

void ModelTest::TearDown()
{
  if (dir_.empty())
    return;
  // Tests take write permission away; give it back so that all can go.
  namespace fs = std::filesystem;
  std::error_code ec;
  fs::permissions(dir_, fs::perms::owner_all, fs::perm_options::add, ec);
  for (auto it = fs::recursive_directory_iterator(dir_, ec); !ec && it != fs::recursive_directory_iterator();
       it.increment(ec))
    fs::permissions(it->path(), fs::perms::owner_read | fs::perms::owner_write, fs::perm_options::add, ec);
  testsupport::removeAll(dir_);
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
