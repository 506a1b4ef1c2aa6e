// BBoxTests.cpp: the bounding box of the marks on a page against the exact
// ink extents the test PDF writer reports (all within 0.25 pt).
#include "ModelTestSupport.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>

using namespace folio;
using namespace folio::model;
using namespace folio::modeltest;
using pdfgen::Box;
using pdfgen::Cap;
using pdfgen::Mark;
using pdfgen::PageSpec;

namespace {

constexpr double kTol = 0.25;

class ModelBBox : public ModelTest {
protected:
  // The page's bounding box, for a one-page document of `s`.
  FixedRect bboxOf(const PageSpec &s, pdfgen::PageInk *ink = nullptr)
  {
    std::vector<pdfgen::PageInk> inks;
    auto doc = Document::open(write("page.pdf", {s}, &inks));
    if (ink)
      *ink = inks[0];
    Page *page = doc->acquirePage(0);
    FixedRect r = page->bbox();
    doc->releasePage(page);
    return r;
  }

  // Expects the bounding box of `s` to be its ink clipped to the media box.
  void expectInk(const PageSpec &s)
  {
    pdfgen::PageInk ink;
    FixedRect r = bboxOf(s, &ink);
    auto want = ink.within(s.media);
    ASSERT_TRUE(want.has_value());
    EXPECT_RECT_NEAR(r, want->x0, want->y0, want->x1, want->y1, kTol);
  }

  static PageSpec page(std::vector<Mark> marks, Box media = {0, 0, 612, 792})
  {
    PageSpec s;
    s.media = media;
    s.marks = std::move(marks);
    return s;
  }
};

TEST_F(ModelBBox, FilledRectangle)
{
  expectInk(page({Mark::fillRect({100, 150, 300, 420})}));
}

TEST_F(ModelBBox, FilledRectangleOnFractionalCoordinates)
{
  expectInk(page({Mark::fillRect({100.3, 150.7, 300.1, 420.9})}));
}

TEST_F(ModelBBox, GreyRectangleCounts)
{
  expectInk(page({Mark::fillRect({200, 200, 260, 230}, 0.5)}));
}

TEST_F(ModelBBox, ThickLineWithButtCaps)
{
  expectInk(page({Mark::line(100, 300, 400, 300, 10, Cap::Butt)}));
}

TEST_F(ModelBBox, ThickLineWithRoundCaps)
{
  expectInk(page({Mark::line(100, 300, 400, 300, 10, Cap::Round)}));
}

TEST_F(ModelBBox, ThickLineWithSquareCaps)
{
  expectInk(page({Mark::line(100, 300, 400, 300, 10, Cap::Square)}));
}

TEST_F(ModelBBox, DiagonalLineWithButtCapsHasCornerExtents)
{
  expectInk(page({Mark::line(100, 100, 400, 500, 12, Cap::Butt)}));
}

TEST_F(ModelBBox, DiagonalLineWithSquareCaps)
{
  expectInk(page({Mark::line(150, 500, 450, 200, 8, Cap::Square)}));
}

TEST_F(ModelBBox, StrokedRectangleWithMitredCorners)
{
  expectInk(page({Mark::strokeRect({120, 130, 480, 620}, 6)}));
}

TEST_F(ModelBBox, BezierCurveIsTightNotItsControlPoints)
{
  // The control points reach far beyond the curve: a loose bound would be
  // about 150 pt too wide on top.
  const double c[8] = {100, 300, 200, 600, 400, 600, 500, 300};
  pdfgen::PageInk ink;
  FixedRect r = bboxOf(page({Mark::curve(c, 3)}), &ink);
  EXPECT_RECT_NEAR(r, ink.ink.x0, ink.ink.y0, ink.ink.x1, ink.ink.y1, kTol);
  EXPECT_NEAR(ink.ink.y1, 526.5, 1e-9); // 300 + 0.75 * 300 + 1.5
}

TEST_F(ModelBBox, SCurveWithInnerExtremes)
{
  const double c[8] = {100, 100, 500, 300, 50, 500, 450, 700};
  expectInk(page({Mark::curve(c, 2)}));
}

TEST_F(ModelBBox, FilledEllipse)
{
  expectInk(page({Mark::ellipse(300, 400, 120.5, 60.25)}));
}

TEST_F(ModelBBox, TextInAStandardFont)
{
  expectInk(page({Mark::textAt(100, 500, 24, "THE FILE")}));
}

TEST_F(ModelBBox, SmallText)
{
  expectInk(page({Mark::textAt(72, 72, 6, "HILL")}));
}

TEST_F(ModelBBox, LargeText)
{
  expectInk(page({Mark::textAt(50, 300, 96, "LIFT")}));
}

TEST_F(ModelBBox, SeveralMarksUnite)
{
  const double c[8] = {300, 100, 350, 50, 450, 50, 500, 100};
  expectInk(page({Mark::fillRect({100, 600, 150, 650}), Mark::textAt(200, 700, 12, "TITLE"),
                  Mark::curve(c, 4), Mark::line(520, 200, 560, 400, 3, Cap::Round)}));
}

TEST_F(ModelBBox, WhitePaintDoesNotCount)
{
  pdfgen::PageInk ink;
  FixedRect r = bboxOf(page({Mark::fillRect({0, 0, 612, 792}, 1), Mark::fillRect({250, 300, 350, 380}),
                             Mark::fillRect({20, 20, 60, 60}, 1)}),
                       &ink);
  EXPECT_RECT_NEAR(r, 250, 300, 350, 380, kTol);
}

TEST_F(ModelBBox, WhitePaintOverInkHidesIt)
{
  // The left half of the black rectangle is painted over in white.
  FixedRect r = bboxOf(page({Mark::fillRect({100, 100, 300, 200}), Mark::fillRect({90, 90, 200, 210}, 1)}));
  EXPECT_RECT_NEAR(r, 200, 100, 300, 200, kTol);
}

TEST_F(ModelBBox, ClipPathLimitsTheInk)
{
  // The clip's edges are off the pixel grid, so anti-aliasing of the clip
  // leaves partly covered pixels at the edges of the ink.
  expectInk(page({Mark::clippedRect({100, 100, 400, 400}, {150.3, 120.7, 330.45, 380.15})}));
}

TEST_F(ModelBBox, InkWhollyClippedAwayDoesNotCount)
{
  FixedRect r = bboxOf(page(
      {Mark::clippedRect({100, 100, 200, 200}, {300, 300, 400, 400}), Mark::fillRect({250, 260, 270, 280})}));
  EXPECT_RECT_NEAR(r, 250, 260, 270, 280, kTol);
}

TEST_F(ModelBBox, BlankPageAnswersItsCropBox)
{
  PageSpec s = page({});
  s.crop = Box{36, 48, 500, 700};
  FixedRect r = bboxOf(s);
  EXPECT_RECT_NEAR(r, 36, 48, 500, 700, 0);
}

TEST_F(ModelBBox, BlankPageWithoutCropBoxAnswersItsMediaBox)
{
  FixedRect r = bboxOf(page({}, {10, 20, 300, 400}));
  EXPECT_RECT_NEAR(r, 10, 20, 300, 400, 0);
}

TEST_F(ModelBBox, WhiteOnlyPageAnswersItsCropBox)
{
  PageSpec s = page({Mark::fillRect({0, 0, 612, 792}, 1)});
  s.crop = Box{20, 20, 592, 772};
  FixedRect r = bboxOf(s);
  EXPECT_RECT_NEAR(r, 20, 20, 592, 772, 0);
}

TEST_F(ModelBBox, BlankPageAnswersTheCropBoxAsSet)
{
  auto doc = Document::open(write("blank.pdf", {page({})}));
  Page *p = doc->acquirePage(0);
  FixedRect set = fixedRect(10, 20, 300, 400);
  p->setCropBox(set);
  EXPECT_RECT_EQ(p->bbox(), set);
  doc->releasePage(p);
}

TEST_F(ModelBBox, MarksPartlyOutsideTheMediaBoxAreClippedToIt)
{
  FixedRect r = bboxOf(page({Mark::fillRect({-50, 300, 100, 400}), Mark::fillRect({500, 700, 700, 900})}));
  EXPECT_RECT_NEAR(r, 0, 300, 612, 792, kTol);
}

TEST_F(ModelBBox, MarksWhollyOutsideTheMediaBoxDoNotCount)
{
  PageSpec s = page({Mark::fillRect({700, 100, 800, 200}), Mark::fillRect({100, 100, 200, 150})});
  FixedRect r = bboxOf(s);
  EXPECT_RECT_NEAR(r, 100, 100, 200, 150, kTol);
}

TEST_F(ModelBBox, MarksOutsideTheCropBoxCount)
{
  PageSpec s = page({Mark::fillRect({30, 30, 80, 80}), Mark::fillRect({300, 300, 350, 350})});
  s.crop = Box{200, 200, 612, 792};
  FixedRect r = bboxOf(s);
  EXPECT_RECT_NEAR(r, 30, 30, 350, 350, kTol);
}

TEST_F(ModelBBox, MediaBoxOffTheOrigin)
{
  expectInk(
      page({Mark::fillRect({150, 260, 400, 500}), Mark::textAt(200, 800, 14, "FILE")}, {100, 200, 712, 992}));
}

TEST_F(ModelBBox, NegativeMediaBox)
{
  const double c[8] = {-250, -300, -100, 200, 50, -350, 250, 300};
  expectInk(page({Mark::curve(c, 5), Mark::fillRect({-290, 350, -200, 380})}, {-300, -400, 312, 392}));
}

TEST_F(ModelBBox, RotationDoesNotChangeThePageSpaceBox)
{
  for (int rot : {0, 90, 180, 270}) {
    SCOPED_TRACE("rotation " + std::to_string(rot));
    PageSpec s = page({Mark::fillRect({100, 150, 300, 420}), Mark::line(350, 500, 500, 700, 4, Cap::Square)});
    s.rotate = rot;
    expectInk(s);
  }
}

TEST_F(ModelBBox, LandscapePage)
{
  expectInk(page({Mark::ellipse(396, 306, 300, 200)}, {0, 0, 792, 612}));
}

TEST_F(ModelBBox, HairThinLineIsFound)
{
  FixedRect r = bboxOf(page({Mark::line(100, 400, 500, 400, 0.25, Cap::Butt)}));
  EXPECT_RECT_NEAR(r, 100, 399.875, 500, 400.125, kTol);
}

// Any ink that is not white is found to within 0.05 pt, however pale: the
// edge pixel's coverage is measured against the colour of the ink next to
// it, not against black. Squares of several inks, on edges at several
// fractions of a pixel, at every rotation.
TEST_F(ModelBBox, EveryInkIsFoundWithinAHundredthOfAnInchAndLess)
{
  constexpr double kPaleTol = 0.05;
  struct Ink {
    const char *name;
    Mark (*make)(Box);
  };
  const Ink inks[] = {
      {"black", [](Box b) { return Mark::fillRect(b, 0); }},
      {"50% grey", [](Box b) { return Mark::fillRect(b, 0.5); }},
      {"99% grey", [](Box b) { return Mark::fillRect(b, 0.99); }},
      {"pale yellow", [](Box b) { return Mark::fillRectRgb(b, 1, 1, 0.8); }},
      {"gradient", [](Box b) { return Mark::gradientRect(b); }},
  };
  std::vector<PageSpec> pages;
  std::vector<std::string> names;
  const double offsets[] = {0.0, 0.03, 0.09, 0.13, 0.17, 0.22};
  for (const Ink &ink : inks)
    for (int rot : {0, 90, 180, 270})
      for (double o : offsets) {
        PageSpec s = page({ink.make({100 + o, 150 + 2 * o, 300 + 3 * o, 420 - o})});
        s.rotate = rot;
        pages.push_back(s);
        names.push_back(std::string(ink.name) + ", rotation " + std::to_string(rot) + ", offset " +
                        std::to_string(o));
      }
  std::vector<pdfgen::PageInk> truth;
  auto doc = Document::open(write("inks.pdf", pages, &truth));
  for (size_t i = 0; i < pages.size(); ++i) {
    SCOPED_TRACE(names[i]);
    Page *p = doc->acquirePage(static_cast<int>(i));
    FixedRect r = p->bbox();
    const Box &b = truth[i].ink;
    EXPECT_RECT_NEAR(r, b.x0, b.y0, b.x1, b.y1, kPaleTol);
    doc->releasePage(p);
  }
}

TEST_F(ModelBBox, EveryPageOfTheMixedSetWithinAQuarterPoint)
{
  std::vector<PageSpec> pages;
  for (int i = 0; i < 120; ++i)
    pages.push_back(pdfgen::mixedPage(i));
  std::vector<pdfgen::PageInk> inks;
  auto doc = Document::open(write("mixed.pdf", pages, &inks));
  int inked = 0;
  for (int i = 0; i < 120; ++i) {
    SCOPED_TRACE("page " + std::to_string(i));
    Page *p = doc->acquirePage(i);
    FixedRect r = p->bbox();
    auto want = inks[static_cast<size_t>(i)].within(pages[static_cast<size_t>(i)].media);
    if (want) {
      ++inked;
      EXPECT_RECT_NEAR(r, want->x0, want->y0, want->x1, want->y1, kTol);
    } else {
      EXPECT_RECT_EQ(r, p->cropBox());
    }
    doc->releasePage(p);
  }
  EXPECT_GT(inked, 100);
}

TEST_F(ModelBBox, OneThousandPagesEachWithItsOwnBox)
{
  std::vector<PageSpec> pages;
  for (int i = 0; i < 1000; ++i) {
    double x = 50 + (i % 37) * 10, y = 60 + (i % 53) * 9;
    pages.push_back(page({Mark::fillRect({x, y, x + 25.5, y + 40.25})}));
  }
  std::vector<pdfgen::PageInk> inks;
  auto doc = Document::open(write("thousand.pdf", pages, &inks));
  double worst = 0;
  for (int i = 0; i < 1000; ++i) {
    Page *p = doc->acquirePage(i);
    FixedRect r = p->bbox();
    const Box &b = inks[static_cast<size_t>(i)].ink;
    worst = std::max({worst, std::fabs(fx(r.left) - b.x0), std::fabs(fx(r.bottom) - b.y0),
                      std::fabs(fx(r.right) - b.x1), std::fabs(fx(r.top) - b.y1)});
    doc->releasePage(p);
  }
  EXPECT_LE(worst, kTol);
}

} // namespace

// ---- pages measured ahead by worker threads ----------------------------------------

// Sets FOLIO_BBOX_THREADS for the life of the object.
class Workers {
public:
  explicit Workers(int n) { setenv("FOLIO_BBOX_THREADS", std::to_string(n).c_str(), 1); }
  ~Workers() { unsetenv("FOLIO_BBOX_THREADS"); }
};

class ModelBBoxAhead : public ModelBBox {
protected:
  static FixedRect boxOf(Document &doc, int i)
  {
    Page *p = doc.acquirePage(i);
    FixedRect r = p->bbox();
    doc.releasePage(p);
    return r;
  }

  // The boxes of `order` with `workers` worker threads.
  std::vector<FixedRect> boxes(const std::string &file, int workers, const std::vector<int> &order)
  {
    Workers w(workers);
    auto doc = Document::open(file);
    std::vector<FixedRect> out;
    for (int i : order)
      out.push_back(boxOf(*doc, i));
    return out;
  }
};

TEST_F(ModelBBoxAhead, SameBoxesWithAndWithoutWorkers)
{
  std::vector<PageSpec> pages;
  for (int i = 0; i < 80; ++i)
    pages.push_back(pdfgen::mixedPage(i));
  std::string file = write("ahead.pdf", pages);
  std::vector<int> inOrder;
  for (int i = 0; i < 80; ++i)
    inOrder.push_back(i);
  // In order, and with jumps that stop and restart the workers.
  std::vector<int> jumping = {0, 1, 2, 3, 40, 41, 42, 10, 11, 12, 13, 14, 79, 5, 6, 7};
  for (const auto &order : {inOrder, jumping}) {
    std::vector<FixedRect> alone = boxes(file, 0, order);
    for (int workers : {1, 2, 4}) {
      SCOPED_TRACE(std::to_string(workers) + " workers");
      std::vector<FixedRect> ahead = boxes(file, workers, order);
      ASSERT_EQ(ahead.size(), alone.size());
      for (size_t i = 0; i < alone.size(); ++i) {
        SCOPED_TRACE("call " + std::to_string(i) + ", page " + std::to_string(order[i]));
        EXPECT_RECT_EQ(ahead[i], alone[i]);
      }
    }
  }
}

TEST_F(ModelBBoxAhead, BlankPageMeasuredAheadAnswersTheCropBoxSetSince)
{
  std::vector<PageSpec> pages;
  for (int i = 0; i < 12; ++i)
    pages.push_back(i == 4 ? page({}) : page({Mark::fillRect({100, 100.0 + i, 200, 300})}));
  Workers w(2);
  auto doc = Document::open(write("blank-ahead.pdf", pages));
  boxOf(*doc, 0);
  boxOf(*doc, 1); // the workers start on the pages after
  FixedRect set = fixedRect(10, 20, 300, 400);
  Page *blank = doc->acquirePage(4);
  blank->setCropBox(set);
  doc->releasePage(blank);
  for (int i = 2; i < 4; ++i)
    boxOf(*doc, i);
  EXPECT_RECT_EQ(boxOf(*doc, 4), set);
  EXPECT_RECT_NEAR(boxOf(*doc, 5), 100, 105, 200, 300, kTol);
}

TEST_F(ModelBBoxAhead, StoppedWorkersLeaveEveryAnswerRight)
{
  std::vector<PageSpec> pages;
  for (int i = 0; i < 40; ++i)
    pages.push_back(pdfgen::mixedPage(i));
  std::string file = write("stop-ahead.pdf", pages);
  std::vector<int> order;
  for (int i = 0; i < 40; ++i)
    order.push_back(i);
  std::vector<FixedRect> alone = boxes(file, 0, order);
  Workers w(2);
  auto doc = Document::open(file);
  for (int i = 0; i < 40; ++i) {
    if (i % 7 == 3)
      doc->stopBackgroundWork(); // as a cancelled command does, between two calls
    SCOPED_TRACE("page " + std::to_string(i));
    EXPECT_RECT_EQ(boxOf(*doc, i), alone[static_cast<size_t>(i)]);
  }
}

TEST_F(ModelBBoxAhead, ClosingOrSavingWhileWorkersRun)
{
  std::vector<PageSpec> pages;
  for (int i = 0; i < 30; ++i)
    pages.push_back(pdfgen::mixedPage(i));
  std::string file = write("close-ahead.pdf", pages);
  Workers w(2);
  {
    auto doc = Document::open(file);
    boxOf(*doc, 0);
    boxOf(*doc, 1);
  } // closed with the workers busy
  auto doc = Document::open(file);
  boxOf(*doc, 0);
  FixedRect before = boxOf(*doc, 1);
  doc->saveAs(path("saved-ahead.pdf"), true); // the save replaces the engine's document
  EXPECT_RECT_EQ(boxOf(*doc, 1), before);
  EXPECT_EQ(doc->pageCount(), 30);
  for (int i = 2; i < 30; ++i)
    boxOf(*doc, i);
}

// The workers read the file again, each on its own: they must find the pages
// the document holds. A plain document in order is measured ahead.
TEST_F(ModelBBoxAhead, PagesInOrderAreMeasuredAhead)
{
  std::vector<PageSpec> pages;
  for (int i = 0; i < 30; ++i)
    pages.push_back(pdfgen::mixedPage(i));
  Workers w(2);
  auto doc = Document::open(write("in-order.pdf", pages));
  for (int i = 0; i < 30; ++i)
    boxOf(*doc, i);
  EXPECT_GE(doc->pagesMeasuredAhead(), 20);
}

// Boxes changed in memory (not saved) change the geometry a page is read
// with: such pages are measured by the calling thread, with the same answers.
TEST_F(ModelBBoxAhead, PagesWhoseBoxesChangedInMemoryGiveTheSameAnswers)
{
  std::vector<PageSpec> pages;
  for (int i = 0; i < 24; ++i)
    pages.push_back(pdfgen::mixedPage(i));
  std::string file = write("changed.pdf", pages);
  auto measureAll = [&](int workers, int *ahead) {
    Workers w(workers);
    auto doc = Document::open(file);
    for (int i = 0; i < 24; i += 2) {
      Page *p = doc->acquirePage(i);
      FixedRect c = p->cropBox();
      p->setCropBox(fixedRect(fx(c.left) + 3.3, fx(c.bottom) + 1.7, fx(c.right) - 2.1, fx(c.top) - 0.9));
      doc->releasePage(p);
    }
    std::vector<FixedRect> out;
    for (int i = 0; i < 24; ++i)
      out.push_back(boxOf(*doc, i));
    *ahead = doc->pagesMeasuredAhead();
    return out;
  };
  int aheadAlone = 0, aheadWorkers = 0;
  std::vector<FixedRect> alone = measureAll(0, &aheadAlone);
  std::vector<FixedRect> ahead = measureAll(2, &aheadWorkers);
  EXPECT_EQ(aheadAlone, 0);
  EXPECT_GT(aheadWorkers, 0); // the pages left as they were
  for (size_t i = 0; i < alone.size(); ++i) {
    SCOPED_TRACE("page " + std::to_string(i));
    EXPECT_RECT_EQ(ahead[i], alone[i]);
  }
}

// A file replaced on disk after the document was opened is not what the
// document holds: no worker reads it, and the answers are those of the
// document's own bytes.
TEST_F(ModelBBoxAhead, FileReplacedOnDiskIsNotReadAgain)
{
  std::vector<PageSpec> pages, others;
  for (int i = 0; i < 12; ++i) {
    pages.push_back(page({Mark::fillRect({100, 100.0 + i, 200, 300})}));
    others.push_back(page({Mark::fillRect({10, 20, 500, 600})}));
  }
  std::string file = write("replaced.pdf", pages);
  std::string other = write("other.pdf", others);
  Workers w(2);
  auto doc = Document::open(file);
  ASSERT_EQ(::rename(other.c_str(), file.c_str()), 0);
  for (int i = 0; i < 12; ++i) {
    SCOPED_TRACE("page " + std::to_string(i));
    FixedRect box = boxOf(*doc, i);
    EXPECT_RECT_NEAR(box, 100, 100 + i, 200, 300, kTol);
  }
  EXPECT_EQ(doc->pagesMeasuredAhead(), 0);
}

// An encrypted document is read again with the password that opened it.
TEST_F(ModelBBoxAhead, EncryptedDocumentIsMeasuredAheadWithItsPassword)
{
  std::vector<PageSpec> pages;
  for (int i = 0; i < 12; ++i)
    pages.push_back(page({Mark::fillRect({100, 100.0 + i, 200, 300})}));
  std::string plain = write("plain.pdf", pages);
  std::string locked = path("locked.pdf");
  ASSERT_TRUE(pdfgen::encryptWithQpdf(plain, locked, "user", "owner", true));
  struct Answer : PasswordPort {
    std::optional<std::string> askPassword(const std::string &, int attempt) override
    {
      return attempt == 1 ? std::optional<std::string>("user") : std::nullopt;
    }
  } answer;
  Workers w(2);
  auto doc = Document::open(locked, &answer);
  for (int i = 0; i < 12; ++i) {
    SCOPED_TRACE("page " + std::to_string(i));
    FixedRect box = boxOf(*doc, i); // once: a second call for the same page stops the workers
    EXPECT_RECT_NEAR(box, 100, 100 + i, 200, 300, kTol);
  }
  EXPECT_GT(doc->pagesMeasuredAhead(), 0);
}
