// ModelTestSupport.h: what the model tests share: a private folder under
// /tmp, documents written with the test PDF writer, and an independent
// reading of the boxes by qpdf.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "model/Document.h"
#include "model/ModelError.h"
#include "pdfgen.h"
#include "support/Files.h"

namespace folio::modeltest {

inline double fx(Fixed f)
{
  return f / 65536.0;
}

inline Fixed toFx(double v)
{
  return static_cast<Fixed>(v * 65536.0 + (v < 0 ? -0.5 : 0.5));
}

inline FixedRect fixedRect(double x0, double y0, double x1, double y1)
{
  FixedRect r;
  r.left = toFx(x0);
  r.bottom = toFx(y0);
  r.right = toFx(x1);
  r.top = toFx(y1);
  return r;
}

// The page boxes as qpdf reads them (inheritance resolved).
struct QpdfPage {
  pdfgen::Box media;
  std::optional<pdfgen::Box> crop;
  int rotate = 0;
};

std::vector<QpdfPage> qpdfPages(const std::string &path, const std::string &password = "");

using testsupport::fileExists;
using testsupport::listDir;
using testsupport::readFile;
using testsupport::writeFile;

// Runs `argv` with its output discarded; its exit status (-1 when it did
// not exit normally).
int run(const std::vector<std::string> &argv);

class ModelTest : public ::testing::Test {
protected:
  void SetUp() override;
  void TearDown() override;

  // A path in this test's private folder.
  std::string path(const std::string &name) const { return dir_ + "/" + name; }
  // Writes `pages` to `name` in the private folder; returns the path.
  std::string write(const std::string &name, const std::vector<pdfgen::PageSpec> &pages,
                    std::vector<pdfgen::PageInk> *inks = nullptr);
  // A page with one black rectangle.
  static pdfgen::PageSpec rectPage(pdfgen::Box media = {0, 0, 612, 792},
                                   pdfgen::Box ink = {100, 100, 200, 200});

  std::string dir_;
};

// Expects a FixedRect to equal (x0, y0, x1, y1) within `tol` points.
#define EXPECT_RECT_NEAR(r, x0, y0, x1, y1, tol)                                                             \
  do {                                                                                                       \
    EXPECT_NEAR(::folio::modeltest::fx((r).left), (x0), (tol));                                              \
    EXPECT_NEAR(::folio::modeltest::fx((r).bottom), (y0), (tol));                                            \
    EXPECT_NEAR(::folio::modeltest::fx((r).right), (x1), (tol));                                             \
    EXPECT_NEAR(::folio::modeltest::fx((r).top), (y1), (tol));                                               \
  } while (0)

#define EXPECT_RECT_EQ(a, b)                                                                                 \
  do {                                                                                                       \
    EXPECT_EQ((a).left, (b).left);                                                                           \
    EXPECT_EQ((a).top, (b).top);                                                                             \
    EXPECT_EQ((a).right, (b).right);                                                                         \
    EXPECT_EQ((a).bottom, (b).bottom);                                                                       \
  } while (0)

} // namespace folio::modeltest
