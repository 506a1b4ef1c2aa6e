// The status line's, the progress window's and the counts' wording.
#include <gtest/gtest.h>

#include "view/StatusText.h"

namespace folio::view {
namespace {

Fixed fx(double v)
{
  return static_cast<Fixed>(v * 65536.0);
}

FixedRect rect(double l, double b, double r, double t)
{
  return FixedRect{fx(l), fx(t), fx(r), fx(b)};
}

TEST(ViewStatusText, UnitsHaveConfigWordsAndSymbols)
{
  for (Unit u : {Unit::Points, Unit::Millimetres, Unit::Inches}) {
    EXPECT_EQ(parseUnit(unitName(u)), u);
    EXPECT_EQ(parseUnit(unitSymbol(u)), u);
  }
  EXPECT_EQ(std::string(unitName(Unit::Millimetres)), "millimetres");
  EXPECT_FALSE(parseUnit("furlongs").has_value());
  EXPECT_FALSE(parseUnit("").has_value());
}

TEST(ViewStatusText, LengthsAreConvertedAndTrimmed)
{
  EXPECT_EQ(formatLength(72, Unit::Points), "72");
  EXPECT_EQ(formatLength(50.3, Unit::Points), "50.3");
  EXPECT_EQ(formatLength(609.714, Unit::Points), "609.71");
  EXPECT_EQ(formatLength(72, Unit::Inches), "1");
  EXPECT_EQ(formatLength(612, Unit::Inches), "8.5");
  EXPECT_EQ(formatLength(72, Unit::Millimetres), "25.4");
  EXPECT_EQ(formatLength(595.276, Unit::Millimetres), "210"); // A4 width
  EXPECT_EQ(formatLength(-0.001, Unit::Points), "0");
}

TEST(ViewStatusText, CountsUseTheSingularForOne)
{
  EXPECT_EQ(countOf(1, "page"), "1 page");
  EXPECT_EQ(countOf(0, "page"), "0 pages");
  EXPECT_EQ(countOf(2, "page"), "2 pages");
  EXPECT_EQ(countOf(3, "box", "boxes"), "3 boxes");
  EXPECT_EQ(countOf(1, "box", "boxes"), "1 box");
}

TEST(ViewStatusText, RectangleIsLeftBottomWidthHeight)
{
  EXPECT_EQ(rectangleText(rect(72, 144, 540, 720), Unit::Points),
            "left 72  bottom 144  width 468  height 576 pt");
  // Swapped edges are normalised.
  EXPECT_EQ(rectangleText(rect(540, 720, 72, 144), Unit::Points),
            "left 72  bottom 144  width 468  height 576 pt");
  EXPECT_EQ(rectangleText(rect(72, 144, 540, 720), Unit::Inches), "left 1  bottom 2  width 6.5  height 8 in");
  EXPECT_EQ(rectangleText(rect(0, 0, 72, 36), Unit::Millimetres),
            "left 0  bottom 0  width 25.4  height 12.7 mm");
}

TEST(ViewStatusText, StatusLines)
{
  EXPECT_EQ(regionStatus(rect(100, 300, 400, 700), Unit::Points),
            "Region: left 100  bottom 300  width 300  height 400 pt");
  EXPECT_EQ(pageStatus(1, 5, 66.666666, rect(0, 0, 612, 792), Unit::Inches),
            "Page 2 of 5     Zoom 66.67%     Crop box: left 0  bottom 0  width 8.5  height 11 in");
}

TEST(ViewStatusText, ProgressNamesThePageUnderWayAndTheBarMatchesIt)
{
  // The plug-ins set the zero-based index of the page they start on.
  EXPECT_EQ(progressLabel(0, 3), "Page 1 of 3");
  EXPECT_EQ(progressLabel(1, 3), "Page 2 of 3");
  EXPECT_NEAR(progressFraction(1, 3), 2.0 / 3.0, 1e-12);
  EXPECT_EQ(progressLabel(2, 3), "Page 3 of 3");
  EXPECT_DOUBLE_EQ(progressFraction(2, 3), 1.0);
  // Out of range values are clamped; no duration yet: nothing to show.
  EXPECT_EQ(progressLabel(7, 3), "Page 3 of 3");
  EXPECT_EQ(progressLabel(-1, 3), "Page 1 of 3");
  EXPECT_EQ(progressLabel(0, 0), "");
  EXPECT_DOUBLE_EQ(progressFraction(0, 0), 0.0);
}

} // namespace
} // namespace folio::view

namespace folio::view {
namespace {

TEST(ViewStatusText, EmptyMenusSayWhy)
{
  EXPECT_EQ(emptyMenuLabel("Extensions"), "(no extensions)");
  EXPECT_EQ(emptyMenuLabel("Window"), "(no documents)");
  EXPECT_EQ(emptyMenuLabel("Tools"), "(empty)");
}

} // namespace
} // namespace folio::view
