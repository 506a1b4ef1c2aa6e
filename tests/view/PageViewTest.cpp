// Page views: the page <-> device transform for every rotation, zoom and
// media-box origin; the frame buffer: the page, the dimmed area outside the
// crop box, outlines of drawing callbacks, invalidation and drawNow.
#include <gtest/gtest.h>
#include <png.h>

#include <cmath>
#include <cstring>

#include "ViewTestSupport.h"
#include "model/Page.h"
#include "view/Application.h"
#include "view/ViewHandles.h"

using namespace folio::view;
using viewtest::fx;
using viewtest::RecordingPorts;
using viewtest::unfx;

namespace {

struct Rgb {
  int r, g, b;
  bool operator==(const Rgb &o) const { return r == o.r && g == o.g && b == o.b; }
};
std::ostream &operator<<(std::ostream &os, const Rgb &c)
{
  return os << "(" << c.r << "," << c.g << "," << c.b << ")";
}

Rgb at(const PageView &view, int x, int y)
{
  const uint8_t *p = view.frame().pixel(x, y);
  return Rgb{p[0], p[1], p[2]};
}

const Rgb kWhite{255, 255, 255};
const Rgb kRed{255, 0, 0};
const Rgb kBlue{0, 0, 255};
const Rgb kGrey{kBackgroundGrey, kBackgroundGrey, kBackgroundGrey};
const Rgb kDimmedWhite{(255 + kDimGrey) / 2, (255 + kDimGrey) / 2, (255 + kDimGrey) / 2};

PDColorValueRec rgb(double r, double g, double b)
{
  PDColorValueRec c{};
  c.space = PDDeviceRGB;
  c.value[0] = fx(r);
  c.value[1] = fx(g);
  c.value[2] = fx(b);
  return c;
}

FixedRect frect(double l, double t, double r, double b)
{
  return FixedRect{fx(l), fx(t), fx(r), fx(b)};
}

struct ViewFixture : ::testing::Test {
  Application app;
  RecordingPorts ports;
  DocWindow *doc = nullptr;
  void open(const std::vector<viewtest::Sheet> &pages)
  {
    app.setPorts(ports.ports());
    doc = &app.openDocument(viewtest::makePdf("v.pdf", pages));
  }
  PageView &view() { return doc->pageView(); }
};

struct ViewTransform : ViewFixture {};
struct ViewFrame : ViewFixture {};

void expectRect(const FVRect &r, int l, int t, int rt, int b)
{
  EXPECT_EQ(r.left, l);
  EXPECT_EQ(r.top, t);
  EXPECT_EQ(r.right, rt);
  EXPECT_EQ(r.bottom, b);
}

} // namespace

// Media box 100 200 400 700 (300 x 500 points), at 100%: the rotated media
// box's top-left corner is at device (8, 8).
TEST_F(ViewTransform, Rotation0MapsTheMediaBoxFromTheMargin)
{
  open({viewtest::page(100, 200, 400, 700, 0)});
  expectRect(view().rectToDevice(frect(100, 700, 400, 200)), 8, 8, 308, 508);
  expectRect(view().rectToDevice(frect(150, 650, 150, 650)), 58, 58, 58, 58);
  EXPECT_EQ(view().pageDeviceWidth(), 300);
  EXPECT_EQ(view().pageDeviceHeight(), 500);
}

TEST_F(ViewTransform, Rotation90TurnsThePageClockwise)
{
  open({viewtest::page(100, 200, 400, 700, 90)});
  // The page's top-left corner goes to the top-right, its bottom-left to the top-left.
  expectRect(view().rectToDevice(frect(100, 700, 100, 700)), 508, 8, 508, 8);
  expectRect(view().rectToDevice(frect(100, 200, 100, 200)), 8, 8, 8, 8);
  expectRect(view().rectToDevice(frect(400, 700, 400, 700)), 508, 308, 508, 308);
  expectRect(view().rectToDevice(frect(100, 700, 400, 200)), 8, 8, 508, 308);
  EXPECT_EQ(view().pageDeviceWidth(), 500);
  EXPECT_EQ(view().pageDeviceHeight(), 300);
}

TEST_F(ViewTransform, Rotation180TurnsThePageUpsideDown)
{
  open({viewtest::page(100, 200, 400, 700, 180)});
  expectRect(view().rectToDevice(frect(100, 700, 100, 700)), 308, 508, 308, 508);
  expectRect(view().rectToDevice(frect(400, 200, 400, 200)), 8, 8, 8, 8);
  expectRect(view().rectToDevice(frect(110, 690, 120, 650)), 288, 458, 298, 498);
}

TEST_F(ViewTransform, Rotation270TurnsThePageCounterClockwise)
{
  open({viewtest::page(100, 200, 400, 700, 270)});
  expectRect(view().rectToDevice(frect(100, 700, 100, 700)), 8, 308, 8, 308);
  expectRect(view().rectToDevice(frect(400, 700, 400, 700)), 8, 8, 8, 8);
  expectRect(view().rectToDevice(frect(100, 200, 100, 200)), 508, 308, 508, 308);
}

TEST_F(ViewTransform, ZoomScalesFromTheMediaBoxCorner)
{
  open({viewtest::page(100, 200, 400, 700, 0)});
  EXPECT_EQ(view().setZoomPercent(200), 200.0);
  expectRect(view().rectToDevice(frect(100, 700, 400, 200)), 8, 8, 608, 1008);
  view().setZoomPercent(50);
  expectRect(view().rectToDevice(frect(101, 699, 399, 201)), 9, 9, 158,
             258); // 8.5 and 157.5 round away from 0
}

TEST_F(ViewTransform, NegativeMediaBoxOrigin)
{
  open({viewtest::page(-300, -400, 0, 0, 90)});
  expectRect(view().rectToDevice(frect(-300, 0, -300, 0)), 408, 8, 408, 8);
  FixedRect back = view().deviceRectToPage(FVRect{8, 8, 408, 308});
  EXPECT_EQ(back.left, fx(-300));
  EXPECT_EQ(back.right, fx(0));
  EXPECT_EQ(back.bottom, fx(-400));
  EXPECT_EQ(back.top, fx(0));
}

TEST_F(ViewTransform, ScrollingMovesTheDeviceOrigin)
{
  open({viewtest::page(0, 0, 612, 792)});
  view().setScroll(50, -20);
  expectRect(view().rectToDevice(frect(0, 792, 0, 792)), -42, 28, -42, 28);
  FixedRect p = view().deviceRectToPage(FVRect{-42, 28, -42, 28});
  EXPECT_EQ(p.left, 0);
  EXPECT_EQ(p.top, fx(792));
}

TEST_F(ViewTransform, RectToDeviceNormalisesAnInvertedRect)
{
  open({viewtest::page(0, 0, 612, 792)});
  expectRect(view().rectToDevice(frect(200, 100, 100, 300)), 108, 500, 208, 700);
}

TEST_F(ViewTransform, DeviceRectToPageNormalises)
{
  open({viewtest::page(0, 0, 612, 792)});
  FixedRect p = view().deviceRectToPage(FVRect{208, 700, 108, 500});
  EXPECT_EQ(p.left, fx(100));
  EXPECT_EQ(p.right, fx(200));
  EXPECT_EQ(p.top, fx(300));
  EXPECT_EQ(p.bottom, fx(100));
}

TEST_F(ViewTransform, PageToDeviceToPageWithinADeviceUnit)
{
  const int rotations[] = {0, 90, 180, 270};
  const double zooms[] = {100, 37, 250, 5};
  for (int rot : rotations) {
    Application local;
    DocWindow &d = local.openDocument(viewtest::makePdf("r" + std::to_string(rot) + ".pdf",
                                                        {viewtest::page(-50.5, 20.25, 561.5, 812, rot)}));
    for (double z : zooms) {
      d.pageView().setZoomPercent(z);
      double unit = 1.0 / d.pageView().scale();
      for (double l = -50; l < 500; l += 61.37) {
        for (double b = 21; b < 700; b += 93.11) {
          FixedRect r = frect(l, b + 100.3, l + 47.9, b);
          FixedRect back = d.pageView().deviceRectToPage(d.pageView().rectToDevice(r));
          SCOPED_TRACE("rotation " + std::to_string(rot) + " zoom " + std::to_string(z));
          EXPECT_LE(std::fabs(unfx(back.left) - unfx(r.left)), unit);
          EXPECT_LE(std::fabs(unfx(back.right) - unfx(r.right)), unit);
          EXPECT_LE(std::fabs(unfx(back.top) - unfx(r.top)), unit);
          EXPECT_LE(std::fabs(unfx(back.bottom) - unfx(r.bottom)), unit);
        }
      }
    }
  }
}

TEST_F(ViewTransform, DeviceToPageToDeviceIsExact)
{
  const int rotations[] = {0, 90, 180, 270};
  for (int rot : rotations) {
    Application local;
    DocWindow &d = local.openDocument(
        viewtest::makePdf("e" + std::to_string(rot) + ".pdf", {viewtest::page(17, -33, 629, 759, rot)}));
    for (double z : {100.0, 33.0, 175.0}) {
      d.pageView().setZoomPercent(z);
      FVRect dev{10, 20, 110, 220};
      FVRect back = d.pageView().rectToDevice(d.pageView().deviceRectToPage(dev));
      SCOPED_TRACE("rotation " + std::to_string(rot) + " zoom " + std::to_string(z));
      expectRect(back, 10, 20, 110, 220);
    }
  }
}

TEST_F(ViewTransform, MatchesTheModelsRasterTransform)
{
  const int rotations[] = {0, 90, 180, 270};
  for (int rot : rotations) {
    Application local;
    DocWindow &d = local.openDocument(
        viewtest::makePdf("m" + std::to_string(rot) + ".pdf", {viewtest::page(-20, 40, 280, 440, rot)}));
    d.pageView().setZoomPercent(150);
    folio::model::PageRaster raster = d.pageView().page().render(d.pageView().scale());
    EXPECT_EQ(raster.width, d.pageView().pageDeviceWidth());
    EXPECT_EQ(raster.height, d.pageView().pageDeviceHeight());
    for (auto [x, y] : {std::pair<double, double>{-20, 40}, {280, 440}, {100, 100}, {-20, 440}}) {
      double rx, ry, dx, dy;
      raster.pageToRaster.apply(x, y, rx, ry);
      d.pageView().pageToDevice(x, y, dx, dy);
      SCOPED_TRACE("rotation " + std::to_string(rot));
      EXPECT_NEAR(dx - kPageMargin, rx, 1e-6);
      EXPECT_NEAR(dy - kPageMargin, ry, 1e-6);
    }
  }
}

TEST_F(ViewTransform, ZoomIsKeptWithinSixteenBitDevices)
{
  open({viewtest::page(0, 0, 14400, 100)});
  double max = view().maxZoomPercent();
  EXPECT_NEAR(max, 100.0 * kMaxDeviceExtent / 14400.0, 1e-9);
  EXPECT_EQ(view().setZoomPercent(400), max);
  EXPECT_EQ(view().pageDeviceWidth(), kMaxDeviceExtent);
  FVRect r = view().rectToDevice(frect(0, 100, 14400, 0));
  EXPECT_EQ(r.right, 8 + kMaxDeviceExtent);
  EXPECT_EQ(view().setZoomPercent(1), kMinZoomPercent);
}

TEST_F(ViewTransform, ZoomIsKeptWithinTheRasterSize)
{
  open({viewtest::page(0, 0, 14400, 14400)});
  double max = view().maxZoomPercent();
  EXPECT_NEAR(max, 100.0 * std::sqrt(kMaxRasterPixels / (14400.0 * 14400.0)), 1e-9);
  EXPECT_EQ(view().zoomPercent(), max); // 100% would not fit: it opens at the largest zoom that does
  EXPECT_LE(double(view().pageDeviceWidth()) * view().pageDeviceHeight(), kMaxRasterPixels * 1.001);
}

TEST_F(ViewTransform, AVeryWidePageOpensAtTheLargestZoomThatFits)
{
  open({viewtest::page(0, 0, 30000, 100)});
  EXPECT_NEAR(view().maxZoomPercent(), 100.0 * kMaxDeviceExtent / 30000.0, 1e-9);
  EXPECT_EQ(view().zoomPercent(), view().maxZoomPercent());
  view().drawNow();
  EXPECT_EQ(view().frame().width, kMaxDeviceExtent + 16);
  EXPECT_EQ(view().renderError(), "");
}

TEST_F(ViewTransform, ALetterPageZoomsToMoreThanNineHundredPercent)
{
  open({viewtest::page(0, 0, 612, 792)});
  EXPECT_EQ(view().zoomPercent(), 100.0);
  EXPECT_NEAR(view().maxZoomPercent(), 100.0 * std::sqrt(kMaxRasterPixels / (612.0 * 792.0)), 1e-9);
  EXPECT_GT(view().maxZoomPercent(), 900.0);
}

TEST_F(ViewTransform, FarAwayRectanglesSaturate)
{
  open({viewtest::page(0, 0, 612, 792)});
  view().setZoomPercent(900);
  FVRect r = view().rectToDevice(frect(-20000, 30000, 20000, -30000));
  EXPECT_EQ(r.left, -32768);
  EXPECT_EQ(r.top, -32768);
  EXPECT_EQ(r.right, 32767);
  EXPECT_EQ(r.bottom, 32767);
}

// ---- the frame -----------------------------------------------------------------

TEST_F(ViewFrame, FrameIsThePageWithAMargin)
{
  open({viewtest::page(0, 0, 300, 200)});
  view().drawNow();
  EXPECT_EQ(view().frame().width, 316);
  EXPECT_EQ(view().frame().height, 216);
  EXPECT_EQ(at(view(), 3, 3), kGrey);
  EXPECT_EQ(at(view(), 8, 8), kWhite);
  EXPECT_EQ(at(view(), 307, 207), kWhite);
  EXPECT_EQ(at(view(), 308, 207), kGrey);
}

TEST_F(ViewFrame, FixedDeviceSize)
{
  open({viewtest::page(0, 0, 300, 200)});
  view().setDeviceSize(100, 50);
  view().drawNow();
  EXPECT_EQ(view().frame().width, 100);
  EXPECT_EQ(view().frame().height, 50);
}

TEST_F(ViewFrame, OutsideTheCropBoxIsDimmed)
{
  auto sheet = viewtest::page(0, 0, 400, 500);
  sheet.crop = folio::pdfgen::Box{100, 100, 300, 400};
  open({sheet});
  view().drawNow();
  // Crop box in device space: x 108..307, y 108..407 (pixel centres inside).
  EXPECT_EQ(at(view(), 200, 200), kWhite);
  EXPECT_EQ(at(view(), 108, 108), kWhite);
  EXPECT_EQ(at(view(), 307, 407), kWhite);
  EXPECT_EQ(at(view(), 107, 200), kDimmedWhite);
  EXPECT_EQ(at(view(), 308, 200), kDimmedWhite);
  EXPECT_EQ(at(view(), 200, 107), kDimmedWhite);
  EXPECT_EQ(at(view(), 200, 408), kDimmedWhite);
  EXPECT_EQ(at(view(), 20, 20), kDimmedWhite);
  EXPECT_EQ(at(view(), 2, 2), kGrey);
}

TEST_F(ViewFrame, ScrolledAndClippedFrameKeepsTheBoundaries)
{
  auto sheet = viewtest::page(0, 0, 400, 500);
  sheet.crop = folio::pdfgen::Box{100, 100, 300, 400};
  open({sheet});
  view().setDeviceSize(200, 150);
  view().setScroll(50, 60); // the page starts 42, 52 pixels up-left of the frame
  view().drawNow();
  // The crop box's left edge is now at device x 58, its top at y 48.
  EXPECT_EQ(at(view(), 0, 0), kDimmedWhite);
  EXPECT_EQ(at(view(), 57, 60), kDimmedWhite);
  EXPECT_EQ(at(view(), 58, 60), kWhite);
  EXPECT_EQ(at(view(), 70, 47), kDimmedWhite);
  EXPECT_EQ(at(view(), 70, 48), kWhite);
  EXPECT_EQ(at(view(), 199, 149), kWhite);
}

TEST_F(ViewFrame, ScrolledPastThePageShowsTheBackground)
{
  open({viewtest::page(0, 0, 100, 100)});
  view().setDeviceSize(300, 300);
  view().setScroll(-100, -50); // the page starts at 108, 58
  view().drawNow();
  EXPECT_EQ(at(view(), 107, 100), kGrey);
  EXPECT_EQ(at(view(), 108, 100), kWhite);
  EXPECT_EQ(at(view(), 207, 157), kWhite);
  EXPECT_EQ(at(view(), 208, 157), kGrey);
  EXPECT_EQ(at(view(), 150, 158), kGrey);
  EXPECT_EQ(at(view(), 150, 57), kGrey);
}

TEST_F(ViewFrame, DimmingFollowsTheRotation)
{
  auto sheet = viewtest::page(0, 0, 400, 500, 90);
  sheet.crop = folio::pdfgen::Box{0, 0, 400, 250}; // the lower half of the page
  open({sheet});
  view().drawNow();
  // Turned clockwise, the page's lower half is the left half of the view.
  EXPECT_EQ(at(view(), 100, 100), kWhite);
  EXPECT_EQ(at(view(), 400, 100), kDimmedWhite);
}

TEST_F(ViewFrame, AllZeroCropBoxShowsTheWholeMediaBox)
{
  auto sheet = viewtest::page(0, 0, 400, 500);
  sheet.crop = folio::pdfgen::Box{0, 0, 0, 0};
  open({sheet});
  view().drawNow();
  EXPECT_EQ(at(view(), 8, 8), kWhite);
  EXPECT_EQ(at(view(), 200, 200), kWhite);
  EXPECT_EQ(at(view(), 407, 507), kWhite);
}

TEST_F(ViewFrame, PaintedMarksAppearInTheFrame)
{
  auto sheet = viewtest::page(0, 0, 400, 500);
  sheet.marks.push_back(folio::pdfgen::Mark::fillRect({100, 100, 200, 200}));
  open({sheet});
  view().drawNow();
  EXPECT_EQ(at(view(), 158, 358), (Rgb{0, 0, 0}));
  EXPECT_EQ(at(view(), 50, 50), kWhite);
}

namespace {

PageView *gSeenView = nullptr;
std::vector<FVRect> gUpdates;
int gCallbackCalls = 0;

void DrawRedBox(FVPageView pv, FVRect *update, void *)
{
  ++gCallbackCalls;
  PageView *view = fromFVPageView(pv);
  gSeenView = view;
  gUpdates.push_back(*update);
  view->setColor(rgb(1, 0, 0));
  view->drawRectOutline(FVRect{50, 60, 150, 160}, 1);
}

void DrawBlueBoxAndDrawNow(FVPageView pv, FVRect *, void *)
{
  ++gCallbackCalls;
  PageView *view = fromFVPageView(pv);
  view->setColor(rgb(0, 0, 1));
  view->drawRectOutline(FVRect{52, 62, 148, 158}, 1);
  view->drawNow(); // as extensions do: must not redraw again
}

} // namespace

TEST_F(ViewFrame, DrawingCallbackOutlinesLandInTheFrame)
{
  open({viewtest::page(0, 0, 400, 500)});
  gUpdates.clear();
  app.registerDrawing(viewtest::callbackOf(&DrawRedBox), nullptr);
  view().drawNow();
  EXPECT_EQ(gSeenView, &view());
  ASSERT_EQ(gUpdates.size(), 1u);
  expectRect(gUpdates[0], 0, 0, 415, 515);
  EXPECT_EQ(at(view(), 50, 60), kRed);
  EXPECT_EQ(at(view(), 150, 160), kRed);
  EXPECT_EQ(at(view(), 100, 60), kRed);
  EXPECT_EQ(at(view(), 50, 110), kRed);
  EXPECT_EQ(at(view(), 150, 110), kRed);
  EXPECT_EQ(at(view(), 100, 160), kRed);
  EXPECT_EQ(at(view(), 100, 110), kWhite); // not filled
  EXPECT_EQ(at(view(), 49, 110), kWhite);
  EXPECT_EQ(at(view(), 151, 110), kWhite);
}

TEST_F(ViewFrame, CallbacksDrawInRegistrationOrder)
{
  open({viewtest::page(0, 0, 400, 500)});
  app.registerDrawing(viewtest::callbackOf(&DrawRedBox), nullptr);
  app.registerDrawing(viewtest::callbackOf(&DrawBlueBoxAndDrawNow), nullptr);
  gCallbackCalls = 0;
  view().drawNow();
  EXPECT_EQ(gCallbackCalls, 2); // drawNow inside a callback did not redraw
  EXPECT_EQ(at(view(), 50, 60), kRed);
  EXPECT_EQ(at(view(), 52, 100), kBlue);
}

TEST_F(ViewFrame, NoRedrawWithoutInvalidation)
{
  open({viewtest::page(0, 0, 400, 500)});
  view().drawNow();
  app.registerDrawing(viewtest::callbackOf(&DrawRedBox), nullptr);
  gCallbackCalls = 0;
  view().drawNow();
  EXPECT_EQ(gCallbackCalls, 0);
  EXPECT_EQ(view().redrawCount(), 1u);
}

TEST_F(ViewFrame, InvalidateAndDrawNowRedrawOnlyThatArea)
{
  open({viewtest::page(0, 0, 400, 500)});
  view().drawNow();
  ports.presented.clear();
  // Drawn at once, outside any redraw: lands in the frame and is shown at the next drawNow.
  view().setColor(rgb(0, 0, 1));
  view().drawRectOutline(FVRect{20, 20, 40, 40}, 1);
  EXPECT_EQ(at(view(), 20, 30), kBlue);
  view().invalidate(FVRect{10, 10, 30, 50});
  FVRect dirty;
  ASSERT_TRUE(view().invalidArea(dirty));
  expectRect(dirty, 10, 10, 30, 50);
  gUpdates.clear();
  app.registerDrawing(viewtest::callbackOf(&DrawRedBox), nullptr);
  view().drawNow();
  EXPECT_FALSE(view().invalidArea(dirty));
  EXPECT_EQ(at(view(), 20, 30), kWhite); // redrawn
  EXPECT_EQ(at(view(), 40, 30), kBlue);  // outside the area: kept
  ASSERT_EQ(gUpdates.size(), 1u);
  expectRect(gUpdates[0], 10, 10, 30, 50);
  // The callback's box lies outside the redrawn area: clipped away.
  EXPECT_EQ(at(view(), 100, 60), kWhite);
  ASSERT_EQ(ports.presented.size(), 1u);
  expectRect(ports.presented[0], 10, 10, 40, 50); // the redraw and the blue outline
}

TEST_F(ViewFrame, CallbackOutlinesAreClippedToTheRedrawnArea)
{
  open({viewtest::page(0, 0, 400, 500)});
  view().drawNow();
  app.registerDrawing(viewtest::callbackOf(&DrawRedBox), nullptr);
  view().invalidate(FVRect{140, 100, 200, 200});
  view().drawNow();
  EXPECT_EQ(at(view(), 150, 110), kRed);
  EXPECT_EQ(at(view(), 50, 110), kWhite);
  EXPECT_EQ(at(view(), 100, 60), kWhite);
}

TEST_F(ViewFrame, PresentGetsTheWholeFrameAfterAFullRedraw)
{
  open({viewtest::page(0, 0, 400, 500)});
  ports.presented.clear();
  view().drawNow();
  ASSERT_EQ(ports.presented.size(), 1u);
  expectRect(ports.presented[0], 0, 0, 415, 515);
}

TEST_F(ViewFrame, AnInvalidAreaOutsideTheFrameDrawsNothing)
{
  open({viewtest::page(0, 0, 400, 500)});
  view().drawNow();
  unsigned redraws = view().redrawCount();
  view().invalidate(FVRect{-50, -50, -10, -10});
  view().drawNow();
  EXPECT_EQ(view().redrawCount(), redraws);
}

TEST_F(ViewFrame, LineWidthGrowsInwards)
{
  open({viewtest::page(0, 0, 400, 500)});
  view().drawNow();
  view().setColor(rgb(1, 0, 0));
  view().drawRectOutline(FVRect{50, 50, 100, 100}, 2);
  EXPECT_EQ(at(view(), 50, 75), kRed);
  EXPECT_EQ(at(view(), 51, 75), kRed);
  EXPECT_EQ(at(view(), 52, 75), kWhite);
  EXPECT_EQ(at(view(), 49, 75), kWhite);
  EXPECT_EQ(at(view(), 99, 75), kRed);
}

TEST_F(ViewFrame, HandleSizedBoxesAreSevenPixelsSquare)
{
  open({viewtest::page(0, 0, 400, 500)});
  view().drawNow();
  view().setColor(rgb(1, 0, 0));
  view().drawRectOutline(FVRect{97, 97, 103, 103}, 1); // a corner handle of 3 units around (100, 100)
  EXPECT_EQ(at(view(), 97, 97), kRed);
  EXPECT_EQ(at(view(), 103, 103), kRed);
  EXPECT_EQ(at(view(), 100, 100), kWhite);
  EXPECT_EQ(at(view(), 104, 100), kWhite);
}

TEST_F(ViewFrame, DashedOutline)
{
  open({viewtest::page(0, 0, 400, 500)});
  view().drawNow();
  view().setColor(rgb(1, 0, 0));
  Fixed dashes[2] = {fx(2), fx(2)};
  view().drawRectOutline(FVRect{50, 50, 100, 100}, 1, dashes, 2);
  EXPECT_EQ(at(view(), 50, 50), kRed);
  EXPECT_EQ(at(view(), 51, 50), kRed);
  EXPECT_EQ(at(view(), 52, 50), kWhite);
  EXPECT_EQ(at(view(), 53, 50), kWhite);
  EXPECT_EQ(at(view(), 54, 50), kRed);
}

TEST_F(ViewFrame, GreyAndCmykColours)
{
  open({viewtest::page(0, 0, 400, 500)});
  view().drawNow();
  PDColorValueRec grey{};
  grey.space = PDDeviceGray;
  grey.value[0] = fx(0.5);
  view().setColor(grey);
  view().drawRectOutline(FVRect{10, 10, 20, 20}, 1);
  EXPECT_EQ(at(view(), 10, 15), (Rgb{128, 128, 128}));
  PDColorValueRec cmyk{};
  cmyk.space = PDDeviceCMYK;
  cmyk.value[1] = fx(1);
  cmyk.value[2] = fx(1);
  view().setColor(cmyk);
  view().drawRectOutline(FVRect{30, 30, 40, 40}, 1);
  EXPECT_EQ(at(view(), 30, 35), kRed);
}

TEST_F(ViewFrame, ColourStartsBlackAndIsKept)
{
  open({viewtest::page(0, 0, 400, 500)});
  EXPECT_EQ(view().color().space, PDDeviceRGB);
  EXPECT_EQ(view().color().value[0], 0);
  view().setColor(rgb(1, 0, 0));
  EXPECT_EQ(view().color().value[0], fx(1));
}

TEST_F(ViewFrame, RasterIsCachedAcrossRedraws)
{
  open({viewtest::page(0, 0, 400, 500)});
  view().drawNow();
  view().invalidateAll();
  view().drawNow();
  view().invalidate(FVRect{1, 1, 5, 5});
  view().drawNow();
  EXPECT_EQ(view().renderCount(), 1u);
  EXPECT_EQ(view().redrawCount(), 3u);
}

TEST_F(ViewFrame, ZoomAndPageChangesRenderAgain)
{
  open({viewtest::page(0, 0, 400, 500), viewtest::page(0, 0, 200, 300)});
  view().drawNow();
  view().setZoomPercent(50);
  view().drawNow();
  EXPECT_EQ(view().renderCount(), 2u);
  EXPECT_EQ(view().frame().width, 216);
  EXPECT_TRUE(view().goToPage(1));
  view().drawNow();
  EXPECT_EQ(view().renderCount(), 3u);
  EXPECT_EQ(view().frame().width, 116);
}

TEST_F(ViewFrame, AChangedPageIsRenderedAndRedrawnAtOnce)
{
  open({viewtest::page(0, 0, 400, 500)});
  view().drawNow();
  ports.presented.clear();
  folio::model::Page &page = view().page();
  page.setCropBox(frect(100, 400, 300, 100));
  page.notifyContentsDidChange();
  EXPECT_EQ(view().renderCount(), 2u);
  EXPECT_EQ(at(view(), 20, 20), kDimmedWhite);
  EXPECT_EQ(at(view(), 200, 200), kWhite);
  EXPECT_EQ(ports.presented.size(), 1u);
}

TEST_F(ViewFrame, AChangeToAnotherPageLeavesTheViewAlone)
{
  open({viewtest::page(0, 0, 400, 500), viewtest::page(0, 0, 400, 500)});
  view().drawNow();
  folio::model::Page *other = doc->document().acquirePage(1);
  other->setCropBox(frect(100, 400, 300, 100));
  other->notifyContentsDidChange();
  doc->document().releasePage(other);
  EXPECT_EQ(view().renderCount(), 1u);
  EXPECT_EQ(view().redrawCount(), 1u);
}

TEST_F(ViewFrame, TheShownPageStaysAcquired)
{
  open({viewtest::page(0, 0, 400, 500), viewtest::page(0, 0, 400, 500)});
  folio::model::Page &first = view().page();
  EXPECT_EQ(first.acquireCount(), 1);
  EXPECT_TRUE(view().goToPage(1));
  EXPECT_EQ(first.acquireCount(), 0);
  EXPECT_EQ(view().page().acquireCount(), 1);
  EXPECT_EQ(view().pageNumber(), 1);
  EXPECT_FALSE(view().goToPage(2));
  EXPECT_FALSE(view().goToPage(-1));
  EXPECT_EQ(view().pageNumber(), 1);
}

TEST_F(ViewFrame, WritesTheFrameAsPng)
{
  open({viewtest::page(0, 0, 100, 80)});
  app.registerDrawing(viewtest::callbackOf(&DrawRedBox), nullptr);
  view().drawNow();
  std::string path = viewtest::tempPath("frame.png");
  std::string error;
  ASSERT_TRUE(view().writePng(path, &error)) << error;

  png_image image;
  std::memset(&image, 0, sizeof image);
  image.version = PNG_IMAGE_VERSION;
  ASSERT_TRUE(png_image_begin_read_from_file(&image, path.c_str()));
  image.format = PNG_FORMAT_RGB;
  std::vector<uint8_t> pixels(PNG_IMAGE_SIZE(image));
  ASSERT_TRUE(png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr));
  EXPECT_EQ(image.width, 116u);
  EXPECT_EQ(image.height, 96u);
  EXPECT_EQ(pixels, view().frame().rgb);
  const uint8_t *p = &pixels[(60 * 116 + 50) * 3];
  EXPECT_EQ((Rgb{p[0], p[1], p[2]}), kRed);
}

TEST_F(ViewFrame, WritingToAMissingFolderFails)
{
  open({viewtest::page(0, 0, 100, 80)});
  view().drawNow();
  std::string error;
  EXPECT_FALSE(view().writePng(viewtest::tempPath("no/such/folder/frame.png"), &error));
  EXPECT_FALSE(error.empty());
}

// ---- showing cropped pages -------------------------------------------------------

namespace {

struct ViewCropped : ViewFixture {};

TEST_F(ViewCropped, TheCropBoxIsLaidOutFromTheMargin)
{
  auto sheet = viewtest::page(0, 0, 400, 500);
  sheet.crop = folio::pdfgen::Box{100, 100, 300, 400};
  open({sheet});
  view().setShowCropped(true);
  EXPECT_EQ(view().pageDeviceWidth(), 200);
  EXPECT_EQ(view().pageDeviceHeight(), 300);
  expectRect(view().rectToDevice(frect(100, 400, 300, 100)), 8, 8, 208, 308);
  // A region dragged in the cropped view is the same page rectangle as the
  // conversions give back: device -> page is exact.
  FixedRect back = view().deviceRectToPage(FVRect{58, 108, 158, 208});
  EXPECT_EQ(back.left, fx(150));
  EXPECT_EQ(back.top, fx(300));
  EXPECT_EQ(back.right, fx(250));
  EXPECT_EQ(back.bottom, fx(200));
  // Off again: the media box, as before.
  view().setShowCropped(false);
  EXPECT_EQ(view().pageDeviceWidth(), 400);
  expectRect(view().rectToDevice(frect(100, 400, 300, 100)), 108, 108, 308, 408);
}

TEST_F(ViewCropped, RotationTurnsTheCropBox)
{
  auto sheet = viewtest::page(0, 0, 400, 500, 90);
  sheet.crop = folio::pdfgen::Box{0, 0, 400, 250}; // the lower half of the page
  open({sheet});
  view().setShowCropped(true);
  // Turned clockwise: 250 wide, 400 high; the crop box's top-left corner
  // goes to the top-right, its bottom-left to the top-left.
  EXPECT_EQ(view().pageDeviceWidth(), 250);
  EXPECT_EQ(view().pageDeviceHeight(), 400);
  expectRect(view().rectToDevice(frect(0, 250, 0, 250)), 258, 8, 258, 8);
  expectRect(view().rectToDevice(frect(0, 0, 0, 0)), 8, 8, 8, 8);
  expectRect(view().rectToDevice(frect(400, 250, 400, 250)), 258, 408, 258, 408);
}

TEST_F(ViewCropped, OnlyTheCropBoxIsShownAndThePaintLinesUp)
{
  auto sheet = viewtest::page(0, 0, 400, 500);
  sheet.crop = folio::pdfgen::Box{100, 100, 300, 400};
  sheet.marks.push_back(folio::pdfgen::Mark::fillRect({150, 150, 200, 200}));
  open({sheet});
  view().setShowCropped(true);
  view().drawNow();
  EXPECT_EQ(view().frame().width, 216);
  EXPECT_EQ(view().frame().height, 316);
  // The mark (150..200 x 150..200) is at device x 58..108, y 208..258.
  auto [l, t] = std::pair{58, 208};
  EXPECT_EQ(at(view(), l + 1, t + 1), (Rgb{0, 0, 0}));
  EXPECT_EQ(at(view(), l + 48, t + 48), (Rgb{0, 0, 0}));
  EXPECT_EQ(at(view(), l - 2, t + 20), kWhite);
  EXPECT_EQ(at(view(), l + 20, t - 2), kWhite);
  // Inside the crop box the paper is shown as rendered, nothing is dimmed;
  // outside it there is only the background.
  EXPECT_EQ(at(view(), 8, 8), kWhite);
  EXPECT_EQ(at(view(), 207, 307), kWhite);
  EXPECT_EQ(at(view(), 7, 100), kGrey);
  EXPECT_EQ(at(view(), 208, 100), kGrey);
  EXPECT_EQ(at(view(), 100, 308), kGrey);
}

TEST_F(ViewCropped, TheApplicationSettingReachesEveryView)
{
  auto sheet = viewtest::page(0, 0, 400, 500);
  sheet.crop = folio::pdfgen::Box{100, 100, 300, 400};
  open({sheet});
  app.setShowCroppedPages(true);
  EXPECT_TRUE(view().showCropped());
  DocWindow &second = app.openDocument(viewtest::makePdf("w.pdf", {sheet}));
  EXPECT_TRUE(second.pageView().showCropped());
  EXPECT_EQ(second.pageView().pageDeviceWidth(), 200);
  app.setShowCroppedPages(false);
  EXPECT_FALSE(view().showCropped());
  EXPECT_FALSE(second.pageView().showCropped());
}

TEST_F(ViewCropped, ACropChangesTheLayout)
{
  auto sheet = viewtest::page(0, 0, 400, 500);
  open({sheet});
  view().setShowCropped(true);
  EXPECT_EQ(view().pageDeviceWidth(), 400);
  view().page().setCropBox(frect(50, 450, 250, 50));
  view().page().notifyContentsDidChange();
  EXPECT_EQ(view().pageDeviceWidth(), 200);
  EXPECT_EQ(view().pageDeviceHeight(), 400);
  expectRect(view().rectToDevice(frect(50, 450, 50, 450)), 8, 8, 8, 8);
}

} // namespace
