// The viewer's toolkit-free pieces: how X key states become the view
// layer's modifier word and shortcut flags, and the redraw report.
#include <gtest/gtest.h>

#include "motif/ViewerImpl.h"

#include <X11/X.h>

using namespace folio::motif;

TEST(GuiViewerKeys, ControlAloneIsTheMoveModifierFour)
{
  EXPECT_EQ(modifierWord(ControlMask), 4);
}

TEST(GuiViewerKeys, ControlWithShiftIsFive)
{
  EXPECT_EQ(modifierWord(ControlMask | ShiftMask), 5);
}

TEST(GuiViewerKeys, AltIsTwoAndButtonsAndLocksCountNothing)
{
  EXPECT_EQ(modifierWord(Mod1Mask), 2);
  EXPECT_EQ(modifierWord(Button1Mask | LockMask | Mod2Mask), 0);
}

TEST(GuiViewerKeys, ShortcutFlagsUseEightForControl)
{
  EXPECT_EQ(shortcutFlags(ControlMask), 8);
  EXPECT_EQ(shortcutFlags(ControlMask | ShiftMask), 9);
  EXPECT_EQ(shortcutFlags(Mod1Mask), 2);
  EXPECT_EQ(shortcutFlags(Mod2Mask | LockMask), 0);
}

TEST(GuiViewerStats, ReportGivesNearestRankPercentiles)
{
  RedrawStats s;
  for (int i = 1; i <= 20; i++)
    s.redrawMs.push_back(i);
  std::string text = s.report(true);
  EXPECT_NE(text.find("(MIT-SHM)"), std::string::npos) << text;
  // Nearest rank: the 10th of 20 for the median, the 19th for p95.
  EXPECT_NE(text.find("redraw        n=20    median=10.000 ms  p95=19.000 ms  max=20.000 ms"),
            std::string::npos)
      << text;
}

TEST(GuiViewerStats, EmptySeriesReportZeros)
{
  RedrawStats s;
  std::string text = s.report(false);
  EXPECT_NE(text.find("(XPutImage)"), std::string::npos) << text;
  EXPECT_NE(text.find("page change   n=0     median=0.000 ms  p95=0.000 ms  max=0.000 ms"), std::string::npos)
      << text;
}
