// RenderTests.cpp: rendering the whole media box with the page's rotation,
// and the transform between page space and raster pixels.
#include "ModelTestSupport.h"

using namespace folio;
using namespace folio::model;
using namespace folio::modeltest;
using pdfgen::Box;
using pdfgen::Mark;
using pdfgen::PageSpec;

namespace {

class ModelRender : public ModelTest {
protected:
  PageRaster render(const PageSpec &s, double zoom)
  {
    auto doc = Document::open(write("r.pdf", {s}));
    Page *p = doc->acquirePage(0);
    PageRaster r = p->render(zoom);
    doc->releasePage(p);
    return r;
  }

  static const uint8_t *px(const PageRaster &r, int x, int y)
  {
    return &r.rgb[static_cast<size_t>(y) * r.stride + static_cast<size_t>(x) * 3];
  }

  static bool isBlack(const PageRaster &r, int x, int y) { return px(r, x, y)[0] < 16; }
  static bool isWhite(const PageRaster &r, int x, int y)
  {
    const uint8_t *p = px(r, x, y);
    return p[0] == 255 && p[1] == 255 && p[2] == 255;
  }

  // A page with a black square in its lower-left quarter and a crop box
  // that leaves it out.
  static PageSpec marked(int rotate, Box media = {0, 0, 200, 100})
  {
    PageSpec s;
    s.media = media;
    s.rotate = rotate;
    s.marks.push_back(Mark::fillRect({media.x0 + 10, media.y0 + 10, media.x0 + 30, media.y0 + 30}));
    s.crop = Box{media.x0 + 50, media.y0 + 50, media.x1, media.y1};
    return s;
  }

  // Checks the mark's centre lands on a black pixel and the opposite corner on white.
  static void expectMarkAt(const PageRaster &r, double px0, double py0)
  {
    double x, y;
    r.pageToRaster.apply(px0 + 20, py0 + 20, x, y);
    EXPECT_TRUE(isBlack(r, static_cast<int>(x), static_cast<int>(y))) << "mark centre at " << x << "," << y;
    r.pageToRaster.apply(px0 + 190, py0 + 90, x, y);
    EXPECT_TRUE(isWhite(r, static_cast<int>(x), static_cast<int>(y)));
  }
};

TEST_F(ModelRender, UnrotatedRasterCoversTheMediaBox)
{
  PageRaster r = render(marked(0), 2);
  EXPECT_EQ(r.width, 400);
  EXPECT_EQ(r.height, 200);
  EXPECT_EQ(r.stride, 1200);
  EXPECT_EQ(r.rgb.size(), 240000u);
  double x, y;
  r.pageToRaster.apply(0, 100, x, y); // top-left corner of the media box
  EXPECT_DOUBLE_EQ(x, 0);
  EXPECT_DOUBLE_EQ(y, 0);
  r.pageToRaster.apply(200, 0, x, y);
  EXPECT_DOUBLE_EQ(x, 400);
  EXPECT_DOUBLE_EQ(y, 200);
  // The mark lies outside the crop box and is drawn all the same.
  expectMarkAt(r, 0, 0);
}

TEST_F(ModelRender, Rotation90TurnsThePageClockwise)
{
  PageRaster r = render(marked(90), 1);
  EXPECT_EQ(r.width, 100);
  EXPECT_EQ(r.height, 200);
  EXPECT_EQ(r.rotate, 90);
  double x, y;
  r.pageToRaster.apply(0, 100, x, y); // the page's top-left corner goes to the top-right
  EXPECT_NEAR(x, 100, 1e-9);
  EXPECT_NEAR(y, 0, 1e-9);
  expectMarkAt(r, 0, 0);
}

TEST_F(ModelRender, Rotation180TurnsThePageOver)
{
  PageRaster r = render(marked(180), 1);
  EXPECT_EQ(r.width, 200);
  EXPECT_EQ(r.height, 100);
  double x, y;
  r.pageToRaster.apply(0, 100, x, y);
  EXPECT_NEAR(x, 200, 1e-9);
  EXPECT_NEAR(y, 100, 1e-9);
  expectMarkAt(r, 0, 0);
}

TEST_F(ModelRender, Rotation270TurnsThePageAnticlockwise)
{
  PageRaster r = render(marked(270), 1);
  EXPECT_EQ(r.width, 100);
  EXPECT_EQ(r.height, 200);
  double x, y;
  r.pageToRaster.apply(0, 100, x, y);
  EXPECT_NEAR(x, 0, 1e-9);
  EXPECT_NEAR(y, 200, 1e-9);
  expectMarkAt(r, 0, 0);
}

TEST_F(ModelRender, MediaBoxOffTheOriginWithRotation)
{
  for (int rot : {0, 90, 180, 270}) {
    SCOPED_TRACE("rotation " + std::to_string(rot));
    PageRaster r = render(marked(rot, {-300, 400, -100, 500}), 1.5);
    expectMarkAt(r, -300, 400);
  }
}

TEST_F(ModelRender, RasterToPageIsTheInverse)
{
  PageRaster r = render(marked(90, {100, 200, 300, 300}), 1.25);
  double x, y, bx, by;
  r.pageToRaster.apply(123.5, 234.25, x, y);
  r.rasterToPage.apply(x, y, bx, by);
  EXPECT_NEAR(bx, 123.5, 1e-9);
  EXPECT_NEAR(by, 234.25, 1e-9);
}

TEST_F(ModelRender, FractionalZoomRoundsTheRasterUp)
{
  PageRaster r = render(marked(0), 0.333);
  EXPECT_EQ(r.width, 67);  // 200 * 0.333 = 66.6
  EXPECT_EQ(r.height, 34); // 100 * 0.333 = 33.3
}

TEST_F(ModelRender, BadZoomIsAnError)
{
  auto doc = Document::open(write("z.pdf", {marked(0)}));
  Page *p = doc->acquirePage(0);
  EXPECT_THROW(p->render(0), ModelError);
  EXPECT_THROW(p->render(-1), ModelError);
  EXPECT_THROW(p->render(1000), ModelError); // 200000 pixels wide
  doc->releasePage(p);
}

TEST_F(ModelRender, RenderingAgainGivesTheSamePixels)
{
  auto doc = Document::open(write("again.pdf", {marked(90)}));
  Page *p = doc->acquirePage(0);
  PageRaster a = p->render(1);
  PageRaster b = p->render(1);
  EXPECT_EQ(a.rgb, b.rgb);
  doc->releasePage(p);
}

} // namespace
