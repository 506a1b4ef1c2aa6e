// Which cursor the crop tool sets where: the crop cursor without a region
// and outside it, the host's standard cursor 0 on a handle, the scissors
// inside the region, its border included. The cursors are told apart by the
// image they were made from, read back from the X server.
//
// The region has device corners (100, 100) and (300, 200) on a letter page
// at rotation 0 (page {100,692,300,592}).
#include "XToolTest.h"

namespace tooltest {
namespace {

using Texts = std::vector<std::string>;

class ToolCursor : public XToolTest {
protected:
  FSBool adjust(int x, int y)
  {
    return h.toolAdjustCursor(tool(), view, static_cast<FSInt16>(x), static_cast<FSInt16>(y));
  }
  std::string at(int x, int y)
  {
    EXPECT_EQ(adjust(x, y), 1);
    if (h.currentCursor == h.standardCursor(0))
      return "standard 0";
    return kindOf(currentCursor());
  }
};

TEST_F(ToolCursor, WithoutRegionCropCursorWithItsCalls)
{
  EXPECT_EQ(adjust(150, 150), 1);
  Cursor c = currentCursor();
  EXPECT_EQ(h.log.texts(),
            (Texts{"host.adjustCursor(tool0, view0, 150, 150)", "FVPageViewRectToDevice(view0, {0,0,0,0})",
                   "UnixAppGetShellWidget()", "FVSysSetCursor(" + handleName(c) + ")"}))
      << dump();
  EXPECT_EQ(kindOf(c), "crop");
}

TEST_F(ToolCursor, WithoutRegionCropCursorEvenInsideStaleRegion)
{
  makeRegion();
  h.toolDoClick(tool(), view, 96, 150); // outside: the region is dropped
  ASSERT_EQ(gCropRegion(), 0);
  clearLog();
  EXPECT_EQ(at(200, 150), "crop");
  EXPECT_EQ(at(100, 100), "crop");
  // The stale region is still converted.
  EXPECT_GE(h.log.indexOf("FVPageViewRectToDevice(view0, {100,692,300,592})"), 0) << dump();
}

TEST_F(ToolCursor, OnHandleStandardCursorZeroWithItsCalls)
{
  makeRegion();
  EXPECT_EQ(adjust(103, 97), 1);
  EXPECT_EQ(h.log.texts(), (Texts{"host.adjustCursor(tool0, view0, 103, 97)",
                                  "FVPageViewRectToDevice(view0, {100,692,300,592})",
                                  "FVSysGetStandardCursor(0)", "FVSysSetCursor(stdcursor:0)"}))
      << dump();
}

TEST_F(ToolCursor, EveryCornerWithinThreeUnitsGivesStandardCursor)
{
  makeRegion();
  EXPECT_EQ(at(97, 97), "standard 0");
  EXPECT_EQ(at(303, 103), "standard 0");
  EXPECT_EQ(at(303, 203), "standard 0");
  EXPECT_EQ(at(97, 203), "standard 0");
  EXPECT_EQ(at(100, 200), "standard 0");
}

TEST_F(ToolCursor, FourUnitsFromCornerInsideGivesScissors)
{
  makeRegion();
  EXPECT_EQ(at(104, 104), "scissors");
}

TEST_F(ToolCursor, FourUnitsFromCornerOutsideGivesCrop)
{
  makeRegion();
  EXPECT_EQ(at(96, 96), "crop");
  EXPECT_EQ(at(304, 100), "crop");
}

TEST_F(ToolCursor, MoveModifierDoesNotChangeHandleCursor)
{
  makeRegion();
  h.modifiers = 4;
  EXPECT_EQ(at(103, 97), "standard 0");
  EXPECT_EQ(h.log.count("FVSysGetModifiers"), 0u);
}

TEST_F(ToolCursor, InsideGivesScissorsWithItsCalls)
{
  makeRegion();
  EXPECT_EQ(adjust(200, 150), 1);
  Cursor c = currentCursor();
  EXPECT_EQ(h.log.texts(), (Texts{"host.adjustCursor(tool0, view0, 200, 150)",
                                  "FVPageViewRectToDevice(view0, {100,692,300,592})",
                                  "UnixAppGetShellWidget()", "FVSysSetCursor(" + handleName(c) + ")"}))
      << dump();
  EXPECT_EQ(kindOf(c), "scissors");
}

TEST_F(ToolCursor, BorderAwayFromCornersGivesScissors)
{
  makeRegion();
  EXPECT_EQ(at(200, 100), "scissors");
  EXPECT_EQ(at(200, 200), "scissors");
  EXPECT_EQ(at(100, 150), "scissors");
  EXPECT_EQ(at(300, 150), "scissors");
}

TEST_F(ToolCursor, OutsideGivesCropCursor)
{
  makeRegion();
  EXPECT_EQ(at(96, 150), "crop");
  EXPECT_EQ(at(200, 99), "crop");
  EXPECT_EQ(at(200, 201), "crop");
  EXPECT_EQ(at(301, 150), "crop");
}

TEST_F(ToolCursor, CropAndScissorsAreDistinctCursors)
{
  makeRegion();
  adjust(200, 150);
  Cursor scissors = currentCursor();
  adjust(10, 10);
  Cursor crop = currentCursor();
  EXPECT_NE(scissors, crop);
  EXPECT_NE(scissors, 0u);
  EXPECT_NE(crop, 0u);
}

} // namespace
} // namespace tooltest
