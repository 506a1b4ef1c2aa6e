// FolioTest.h: the fixture of the end-to-end tests: a private folder, runs
// of the real folio program on files in it (the last run kept for failure
// messages), generated pages and the boxes read back with qpdf.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Harness.h"
#include "QpdfBoxes.h"
#include "pdfgen.h"

namespace e2e {

namespace gen = folio::pdfgen;

inline const char *const kFolio = FOLIO_EXE;
inline const Box kLetter{0, 0, 612, 792};

// Expects every side of `actual` within `tol` points of `want`; `context`
// goes into the failure message.
inline void expectBoxNear(const Box &actual, const Box &want, double tol, const std::string &context)
{
  EXPECT_NEAR(actual.left, want.left, tol) << context;
  EXPECT_NEAR(actual.bottom, want.bottom, tol) << context;
  EXPECT_NEAR(actual.right, want.right, tol) << context;
  EXPECT_NEAR(actual.top, want.top, tol) << context;
}

class FolioTest : public ::testing::Test {
protected:
  TempDir dir{"folio-e2e"};
  std::string lastRun; // exit status and outputs of the last run, for failure messages

  std::string path(const std::string &name) const { return dir.file(name); }

  // folio with `args` and `input` on standard input; its configuration
  // folder is the test's own.
  RunResult folio(const std::vector<std::string> &args, const std::string &input = {})
  {
    RunResult r = runProgram(kFolio, args, dir.path(), input);
    lastRun = "exit " + std::to_string(r.exitCode) + "\n--- stdout\n" + r.out + "--- stderr\n" + r.err;
    return r;
  }
  RunResult script(const std::string &text) { return folio({"--batch", "-"}, text); }

  // The boxes of `pdf`; the test fails (and gets empty boxes) when they
  // cannot be read or there are fewer than `pages`.
  std::vector<PageBoxes> boxes(const std::string &pdf, size_t pages = 1, const std::string &password = {})
  {
    std::string why;
    std::vector<PageBoxes> b = readBoxes(pdf, &why, password);
    if (b.size() < pages) {
      ADD_FAILURE() << "cannot read " << pages << " pages of " << pdf << ": " << why << "\n" << lastRun;
      b.resize(pages);
    }
    return b;
  }

  static gen::PageSpec page(Box media = kLetter, int rotate = 0)
  {
    gen::PageSpec p;
    p.media = {media.left, media.bottom, media.right, media.top};
    p.rotate = rotate;
    p.writeRotate = rotate != 0;
    return p;
  }
  static gen::PageSpec withCrop(gen::PageSpec p, Box crop)
  {
    p.crop = gen::Box{crop.left, crop.bottom, crop.right, crop.top};
    return p;
  }
  static gen::PageSpec withRect(gen::PageSpec p, Box r)
  {
    p.marks.push_back(gen::Mark::fillRect({r.left, r.bottom, r.right, r.top}));
    return p;
  }
  // Writes `pages` to `name` in the private folder; answers their ink.
  std::vector<gen::PageInk> write(const std::string &name, const std::vector<gen::PageSpec> &pages)
  {
    return gen::writeDocument(path(name), pages);
  }
};

} // namespace e2e
