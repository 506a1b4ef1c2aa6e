// BoxTests.cpp: media box, crop box and rotation (own and inherited through
// page-tree nodes), checked against qpdf's reading of the same files; crop
// box writes; the box a page shows.
#include "ModelTestSupport.h"

using namespace folio;
using namespace folio::model;
using namespace folio::modeltest;
using pdfgen::Box;
using pdfgen::PageSpec;
using pdfgen::Place;

namespace {

class ModelBoxes : public ModelTest {
protected:
  // Opens the document and compares every page's boxes and rotation with
  // qpdf's reading; returns the number of pages compared.
  size_t compareWithQpdf(const std::string &p)
  {
    auto theirs = qpdfPages(p);
    auto doc = Document::open(p);
    EXPECT_EQ(static_cast<size_t>(doc->pageCount()), theirs.size());
    for (size_t i = 0; i < theirs.size(); ++i) {
      SCOPED_TRACE("page " + std::to_string(i));
      Page *page = doc->acquirePage(static_cast<int>(i));
      const QpdfPage &q = theirs[i];
      EXPECT_RECT_NEAR(page->mediaBox(), q.media.x0, q.media.y0, q.media.x1, q.media.y1, 0);
      Box crop = q.crop ? *q.crop : q.media;
      EXPECT_RECT_NEAR(page->cropBox(), crop.x0, crop.y0, crop.x1, crop.y1, 0);
      EXPECT_EQ(page->rotate(), ((q.rotate % 360) + 360) % 360);
      doc->releasePage(page);
    }
    return theirs.size();
  }

  static PageSpec layout(Box media, int rotate, Place mediaAt = Place::Page, Place rotateAt = Place::Page)
  {
    PageSpec s = rectPage(media, {media.x0 + 50, media.y0 + 50, media.x0 + 100, media.y0 + 100});
    s.rotate = rotate;
    s.mediaAt = mediaAt;
    s.rotateAt = rotateAt;
    return s;
  }
};

TEST_F(ModelBoxes, OwnRotationsMatchQpdf)
{
  std::vector<PageSpec> pages;
  for (int r : {0, 90, 180, 270})
    pages.push_back(layout({0, 0, 612, 792}, r));
  EXPECT_EQ(compareWithQpdf(write("rotations.pdf", pages)), 4u);
}

TEST_F(ModelBoxes, RotationsInheritedThroughIntermediateNodesMatchQpdf)
{
  std::vector<PageSpec> pages;
  for (int r : {0, 90, 180, 270})
    for (int k = 0; k < 2; ++k)
      pages.push_back(layout({0, 0, 612, 792}, r, Place::Page, Place::Node));
  std::string p = write("inherited-rotations.pdf", pages);
  EXPECT_EQ(compareWithQpdf(p), 8u);
  auto doc = Document::open(p);
  Page *page = doc->acquirePage(5);
  EXPECT_EQ(page->rotate(), 180);
  doc->releasePage(page);
}

TEST_F(ModelBoxes, RotationInheritedFromTheRootMatchesQpdf)
{
  std::vector<PageSpec> pages(3, layout({0, 0, 612, 792}, 270, Place::Page, Place::Root));
  EXPECT_EQ(compareWithQpdf(write("root-rotation.pdf", pages)), 3u);
}

TEST_F(ModelBoxes, MediaBoxInheritedThroughIntermediateNodeMatchesQpdf)
{
  std::vector<PageSpec> pages = {layout({0, 0, 595, 842}, 0, Place::Node),
                                 layout({0, 0, 595, 842}, 90, Place::Node),
                                 layout({0, 0, 792, 612}, 0, Place::Node)};
  EXPECT_EQ(compareWithQpdf(write("inherited-media.pdf", pages)), 3u);
}

TEST_F(ModelBoxes, MediaAndCropInheritedFromTheRootMatchQpdf)
{
  std::vector<PageSpec> pages(2, layout({0, 0, 612, 792}, 0, Place::Root));
  for (auto &p : pages) {
    p.crop = Box{36, 36, 576, 756};
    p.cropAt = Place::Root;
  }
  std::string p = write("root-boxes.pdf", pages);
  EXPECT_EQ(compareWithQpdf(p), 2u);
  auto doc = Document::open(p);
  Page *page = doc->acquirePage(1);
  EXPECT_RECT_NEAR(page->cropBox(), 36, 36, 576, 756, 0);
  doc->releasePage(page);
}

TEST_F(ModelBoxes, CropBoxInheritedThroughIntermediateNodeMatchesQpdf)
{
  PageSpec s = layout({0, 0, 612, 792}, 90);
  s.crop = Box{10.5, 20.25, 600.75, 780};
  s.cropAt = Place::Node;
  EXPECT_EQ(compareWithQpdf(write("inherited-crop.pdf", {s, s})), 2u);
}

TEST_F(ModelBoxes, MediaBoxOffTheOriginMatchesQpdf)
{
  std::vector<PageSpec> pages = {layout({100, 200, 712, 992}, 0), layout({100, 200, 712, 992}, 90)};
  EXPECT_EQ(compareWithQpdf(write("off-origin.pdf", pages)), 2u);
}

TEST_F(ModelBoxes, NegativeMediaBoxMatchesQpdf)
{
  std::vector<PageSpec> pages = {layout({-300, -400, 312, 392}, 0), layout({-300, -400, 312, 392}, 270)};
  std::string p = write("negative.pdf", pages);
  EXPECT_EQ(compareWithQpdf(p), 2u);
  auto doc = Document::open(p);
  Page *page = doc->acquirePage(0);
  EXPECT_EQ(page->mediaBox().left, -300 * 65536);
  EXPECT_EQ(page->mediaBox().bottom, -400 * 65536);
  doc->releasePage(page);
}

TEST_F(ModelBoxes, LandscapeMediaBoxMatchesQpdf)
{
  EXPECT_EQ(compareWithQpdf(write("landscape.pdf", {layout({0, 0, 792, 612}, 0)})), 1u);
}

TEST_F(ModelBoxes, FractionalBoxesMatchQpdf)
{
  PageSpec s = layout({0.5, 0.25, 611.75, 791.5}, 0);
  s.crop = Box{12.0625, 13.125, 500.5, 600.875};
  EXPECT_EQ(compareWithQpdf(write("fractions.pdf", {s})), 1u);
}

TEST_F(ModelBoxes, InvertedMediaBoxIsNormalised)
{
  // Written as [612 792 0 0]: readers take the corners, not the order.
  PageSpec s = rectPage();
  s.media = {0, 0, 612, 792};
  std::string p = write("plain.pdf", {s});
  std::string bytes = readFile(p);
  size_t at = bytes.find("/MediaBox [0 0 612 792]");
  ASSERT_NE(at, std::string::npos);
  bytes.replace(at, 23, "/MediaBox [612 792 0 0]");
  writeFile(path("inverted.pdf"), bytes);
  auto doc = Document::open(path("inverted.pdf"));
  Page *page = doc->acquirePage(0);
  EXPECT_RECT_NEAR(page->mediaBox(), 0, 0, 612, 792, 0);
  doc->releasePage(page);
}

TEST_F(ModelBoxes, CropBoxDefaultsToTheMediaBox)
{
  auto doc = Document::open(write("nocrop.pdf", {rectPage({10, 20, 300, 400})}));
  Page *page = doc->acquirePage(0);
  EXPECT_RECT_EQ(page->cropBox(), page->mediaBox());
  doc->releasePage(page);
}

TEST_F(ModelBoxes, SetCropBoxIsStoredExactlyAsGiven)
{
  auto doc = Document::open(write("set.pdf", {rectPage()}));
  Page *page = doc->acquirePage(0);
  FixedRect odd{0x00123457, 0x02FFFFFF, 0x01ABCDEF, 0x00000001}; // left, top, right, bottom
  page->setCropBox(odd);
  EXPECT_RECT_EQ(page->cropBox(), odd);
  doc->releasePage(page);
  // Also when the page is acquired again.
  page = doc->acquirePage(0);
  EXPECT_RECT_EQ(page->cropBox(), odd);
  doc->releasePage(page);
}

// A box that would show nothing of the page is not written: the page keeps
// the crop box it had.
TEST_F(ModelBoxes, SetCropBoxLeavesTheBoxForOneThatShowsNothing)
{
  PageSpec s = rectPage();
  s.crop = Box{36, 36, 576, 756};
  auto doc = Document::open(write("zero.pdf", {s}));
  Page *page = doc->acquirePage(0);
  const FixedRect nothing[] = {
      FixedRect{0, 0, 0, 0},          // all zero
      fixedRect(700, 800, 900, 1000), // wholly outside the media box
      fixedRect(100, 100, 100, 500),  // no width
      fixedRect(100, 300, 400, 300),  // no height
      fixedRect(-200, -200, 0, 100),  // touches the media box at its edge only
  };
  for (const FixedRect &r : nothing) {
    page->setCropBox(r);
    EXPECT_RECT_NEAR(page->cropBox(), 36, 36, 576, 756, 0);
  }
  EXPECT_EQ(doc->flags(), 0);
  doc->releasePage(page);
}

// An inverted box is judged normalised, and written as given when it shows
// part of the page; so is one that reaches past the media box.
TEST_F(ModelBoxes, SetCropBoxWritesAnInvertedOrOverhangingBoxAsGiven)
{
  auto doc = Document::open(write("inverted.pdf", {rectPage()}));
  Page *page = doc->acquirePage(0);
  FixedRect inverted = fixedRect(300, 400, 100, 200);
  page->setCropBox(inverted);
  EXPECT_RECT_EQ(page->cropBox(), inverted);
  page->setCropBox(fixedRect(-50, 100, 500, 900));
  EXPECT_RECT_NEAR(page->cropBox(), -50, 100, 500, 900, 0);
  doc->releasePage(page);
}

TEST_F(ModelBoxes, SetCropBoxWithoutNotifyLeavesFlagsAlone)
{
  auto doc = Document::open(write("quiet.pdf", {rectPage()}));
  Page *page = doc->acquirePage(0);
  page->setCropBox(fixedRect(10, 10, 100, 100));
  EXPECT_EQ(doc->flags(), 0);
  doc->releasePage(page);
}

TEST_F(ModelBoxes, SetCropBoxOverridesAnInheritedOne)
{
  PageSpec s = rectPage();
  s.crop = Box{36, 36, 576, 756};
  s.cropAt = Place::Node;
  auto doc = Document::open(write("override.pdf", {s, s}));
  Page *first = doc->acquirePage(0);
  first->setCropBox(fixedRect(50, 60, 70, 80));
  Page *second = doc->acquirePage(1);
  EXPECT_RECT_NEAR(first->cropBox(), 50, 60, 70, 80, 0);
  EXPECT_RECT_NEAR(second->cropBox(), 36, 36, 576, 756, 0); // the node keeps its box
  doc->releasePage(first);
  doc->releasePage(second);
}

TEST_F(ModelBoxes, ShownBoxIsTheCropBoxClippedToTheMediaBox)
{
  PageSpec s = rectPage({0, 0, 612, 792});
  s.crop = Box{-50, 100, 500, 900};
  auto doc = Document::open(write("clip.pdf", {s}));
  Page *page = doc->acquirePage(0);
  EXPECT_RECT_NEAR(page->shownBox(), 0, 100, 500, 792, 0);
  doc->releasePage(page);
}

TEST_F(ModelBoxes, ShownBoxOfAnAllZeroCropBoxIsTheMediaBox)
{
  PageSpec s = rectPage({10, 20, 300, 400});
  s.crop = Box{0, 0, 0, 0}; // as other programs may have written it
  auto doc = Document::open(write("zero-shown.pdf", {s}));
  Page *page = doc->acquirePage(0);
  EXPECT_RECT_NEAR(page->shownBox(), 10, 20, 300, 400, 0);
  doc->releasePage(page);
}

TEST_F(ModelBoxes, ShownBoxOfACropBoxOutsideTheMediaBoxIsTheMediaBox)
{
  PageSpec s = rectPage();
  s.crop = Box{700, 800, 900, 1000};
  auto doc = Document::open(write("outside.pdf", {s}));
  Page *page = doc->acquirePage(0);
  EXPECT_RECT_NEAR(page->shownBox(), 0, 0, 612, 792, 0);
  doc->releasePage(page);
}

TEST_F(ModelBoxes, ShownBoxOfAnInvertedCropBoxIsNormalised)
{
  auto doc = Document::open(write("inverted-crop.pdf", {rectPage()}));
  Page *page = doc->acquirePage(0);
  page->setCropBox(fixedRect(300, 400, 100, 200)); // right < left, top < bottom
  EXPECT_RECT_NEAR(page->shownBox(), 100, 200, 300, 400, 0);
  doc->releasePage(page);
}

TEST_F(ModelBoxes, IllegalRotationIsAnsweredAsStored)
{
  PageSpec s = rectPage();
  s.rotate = 45;
  auto doc = Document::open(write("odd-rotation.pdf", {s}));
  Page *page = doc->acquirePage(0);
  EXPECT_EQ(page->rotate(), 45);
  doc->releasePage(page);
}

TEST_F(ModelBoxes, NegativeRotationIsReducedToItsTurn)
{
  PageSpec s = rectPage();
  s.rotate = -90;
  auto doc = Document::open(write("minus90.pdf", {s}));
  Page *page = doc->acquirePage(0);
  EXPECT_EQ(page->rotate(), 270);
  doc->releasePage(page);
}

TEST_F(ModelBoxes, CropBoxWrittenIsReadBackByQpdfAfterSave)
{
  std::string p = write("saved.pdf", {rectPage(), rectPage()});
  {
    auto doc = Document::open(p);
    Page *page = doc->acquirePage(1);
    page->setCropBox(fixedRect(72.5, 100.25, 400, 600.75));
    page->notifyContentsDidChange();
    doc->releasePage(page);
    doc->save();
  }
  auto q = qpdfPages(p);
  ASSERT_EQ(q.size(), 2u);
  EXPECT_FALSE(q[0].crop.has_value());
  ASSERT_TRUE(q[1].crop.has_value());
  EXPECT_NEAR(q[1].crop->x0, 72.5, 1e-4);
  EXPECT_NEAR(q[1].crop->y0, 100.25, 1e-4);
  EXPECT_NEAR(q[1].crop->x1, 400, 1e-4);
  EXPECT_NEAR(q[1].crop->y1, 600.75, 1e-4);
}

} // namespace
