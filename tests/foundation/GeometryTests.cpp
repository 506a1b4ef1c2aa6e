// GeometryTests.cpp: the plug-in's geometry helpers (plugin/pgsutils.cpp,
// compiled into this program) against the test host's FolioSupport table.
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TestHost.h"
// After TestHost.h: the plug-in's headers define call macros named like the
// host operations.
#include "pgsutils.h"

using testhost::fx;
using testhost::fxRect;
using testhost::pts;
using testhost::Table;
using testhost::TestHost;

namespace {

class FoundationGeometry : public ::testing::Test {
protected:
  void SetUp() override { gFolioSupportHFT = host.table(Table::FolioSupport); }
  void TearDown() override { gFolioSupportHFT = nullptr; }
  TestHost host;
};

constexpr Fixed P(int points)
{
  return static_cast<Fixed>(points * 65536);
}

std::string pointText(FixedPoint p)
{
  return "(" + fx(p.h) + "," + fx(p.v) + ")";
}

FixedRect raw(Fixed l, Fixed t, Fixed r, Fixed b)
{
  return FixedRect{l, t, r, b};
}

bool sameRect(const FixedRect &a, const FixedRect &b)
{
  return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

bool sameRect(const FVRect &a, const FVRect &b)
{
  return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

} // namespace

// ---- FixedCP -------------------------------------------------------------------

TEST_F(FoundationGeometry, FixedCPOfALetterMediaBoxIsItsCentre)
{
  FixedPoint cp = FixedCP(pts(0, 792, 612, 0));
  EXPECT_EQ(cp.h, P(306));
  EXPECT_EQ(cp.v, P(396));
}

TEST_F(FoundationGeometry, FixedCPOfABoxOffTheOriginIsHalfItsExtents)
{
  FixedPoint cp = FixedCP(pts(100, 300, 300, 100));
  EXPECT_EQ(pointText(cp), "(100,100)");
}

TEST_F(FoundationGeometry, FixedCPDividesWidthThenHeightByTwoThroughTheHost)
{
  FixedCP(pts(10, 800, 622, 8));
  EXPECT_EQ(host.log.textsWithResults(),
            (std::vector<std::string>{"FixedDiv(612, 2) -> 306", "FixedDiv(792, 2) -> 396"}));
}

TEST_F(FoundationGeometry, FixedCPRoundsAnOddUnitAwayFromZero)
{
  // Half of one 1/65536 unit is a tie: the host rounds it away from zero.
  FixedPoint cp = FixedCP(raw(0, 3, 1, 0));
  EXPECT_EQ(cp.h, 1);
  EXPECT_EQ(cp.v, 2);
  FixedPoint neg = FixedCP(raw(1, 0, 0, 3));
  EXPECT_EQ(neg.h, -1);
  EXPECT_EQ(neg.v, -2);
}

TEST_F(FoundationGeometry, FixedCPWidthWrapsAroundIn32Bits)
{
  // right - left = 0x7FFFFFFF - (-1) wraps to 0x80000000.
  FixedPoint cp = FixedCP(raw(-1, 0, INT32_MAX, 0));
  EXPECT_EQ(host.log.calls()[0].text(), "FixedDiv(-32768, 2)");
  EXPECT_EQ(cp.h, static_cast<Fixed>(0xC0000000u));
}

TEST_F(FoundationGeometry, FixedCPOfAnInvertedBoxIsNegative)
{
  FixedPoint cp = FixedCP(pts(612, 0, 0, 792));
  EXPECT_EQ(pointText(cp), "(-306,-396)");
}

// ---- FixedInRegion -------------------------------------------------------------

TEST_F(FoundationGeometry, FixedInRegionSharedVerticalEdgeTouches)
{
  EXPECT_EQ(FixedInRegion(pts(0, 100, 50, 0), pts(50, 100, 100, 0), 0), 0);
}

TEST_F(FoundationGeometry, FixedInRegionSharedHorizontalEdgeTouches)
{
  EXPECT_EQ(FixedInRegion(pts(0, 200, 100, 100), pts(0, 100, 100, 0), 0), 0);
}

TEST_F(FoundationGeometry, FixedInRegionOneUnitApartHorizontallyMisses)
{
  EXPECT_EQ(FixedInRegion(raw(0, P(100), P(50) - 1, 0), pts(50, 100, 100, 0), 0), 1);
}

TEST_F(FoundationGeometry, FixedInRegionOneUnitApartVerticallyMisses)
{
  EXPECT_EQ(FixedInRegion(raw(0, P(200), P(100), P(100) + 1), pts(0, 100, 100, 0), 0), 1);
}

TEST_F(FoundationGeometry, FixedInRegionOnePointApartMisses)
{
  EXPECT_EQ(FixedInRegion(pts(101, 100, 200, 0), pts(0, 100, 100, 0), 0), 1);
}

TEST_F(FoundationGeometry, FixedInRegionSmallSquareInTheMiddleIsInside)
{
  EXPECT_EQ(FixedInRegion(pts(300, 400, 310, 390), pts(0, 792, 612, 0), P(72)), 0);
}

TEST_F(FoundationGeometry, FixedInRegionSquareNearTheCornerMissesTheShrunkBox)
{
  EXPECT_EQ(FixedInRegion(pts(10, 20, 20, 10), pts(0, 792, 612, 0), P(72)), 1);
}

TEST_F(FoundationGeometry, FixedInRegionEachTestAloneRefuses)
{
  FixedRect box = pts(0, 792, 612, 0);
  EXPECT_EQ(FixedInRegion(pts(100, 800, 200, 721), box, P(72)), 1); // bottom above top - 72
  EXPECT_EQ(FixedInRegion(pts(100, 71, 200, 0), box, P(72)), 1);    // top below bottom + 72
  EXPECT_EQ(FixedInRegion(pts(541, 400, 600, 300), box, P(72)), 1); // left beyond right - 72
  EXPECT_EQ(FixedInRegion(pts(0, 400, 71, 300), box, P(72)), 1);    // right before left + 72
}

TEST_F(FoundationGeometry, FixedInRegionEdgesExactlyOneInchInTouch)
{
  FixedRect box = pts(0, 792, 612, 0);
  EXPECT_EQ(FixedInRegion(pts(100, 800, 200, 720), box, P(72)), 0);
  EXPECT_EQ(FixedInRegion(pts(0, 400, 72, 300), box, P(72)), 0);
}

TEST_F(FoundationGeometry, FixedInRegionMarginWrapsAroundIn32Bits)
{
  // second.top - val wraps to the largest value: nothing lies above it.
  EXPECT_EQ(FixedInRegion(raw(0, 0, 0, INT32_MAX), raw(-10, INT32_MIN, 10, -10), 1), 0);
  // Without the margin the same bottom lies above the top.
  EXPECT_EQ(FixedInRegion(raw(0, 0, 0, INT32_MAX), raw(-10, INT32_MIN, 10, -10), 0), 1);
}

TEST_F(FoundationGeometry, FixedInRegionCallsNoHostOperation)
{
  FixedInRegion(pts(1, 2, 3, 4), pts(5, 6, 7, 8), P(72));
  EXPECT_EQ(host.log.size(), 0u);
}

// ---- FixedCheckRotVal ------------------------------------------------------------

namespace {

const FixedRect kLetter = pts(0, 792, 612, 0);
const FixedRect kRegion = pts(100, 700, 300, 500);

// The case letter of a rotation pair, told from the result on a region whose
// four edge offsets all differ.
char caseOf(FixedRect curr, FixedRect reg, FixedRect init, FSInt16 currRot, FSInt16 origRot)
{
  FixedRect r = FixedCheckRotVal(curr, reg, init, currRot, origRot);
  FixedPoint ci = FixedCP(init), cc = FixedCP(curr);
  int64_t dl = int64_t(ci.h) - reg.left, dr = int64_t(ci.h) - reg.right;
  int64_t dt = int64_t(ci.v) - reg.top, db = int64_t(ci.v) - reg.bottom;
  auto is = [&](int64_t l, int64_t t, int64_t rr, int64_t b) {
    return r.left == l && r.top == t && r.right == rr && r.bottom == b;
  };
  if (is(cc.h - dl, cc.v - dt, cc.h - dr, cc.v - db))
    return 'A';
  if (is(cc.h + dt, cc.v - dr, cc.h + db, cc.v - dl))
    return 'B';
  if (is(cc.h + dr, cc.v + db, cc.h + dl, cc.v + dt))
    return 'C';
  if (is(cc.h - db, cc.v + dl, cc.h - dt, cc.v + dr))
    return 'D';
  if (is(0, 0, 0, 0))
    return 'E';
  return '?';
}

} // namespace

TEST_F(FoundationGeometry, FixedCheckRotValEqualRotationsAndBoxesReturnTheRegion)
{
  FixedRect r = FixedCheckRotVal(kLetter, kRegion, kLetter, 0, 0);
  EXPECT_EQ(fxRect(r), "{100,700,300,500}");
}

TEST_F(FoundationGeometry, FixedCheckRotValQuarterTurnExample)
{
  FixedRect r = FixedCheckRotVal(kLetter, kRegion, kLetter, 90, 0);
  EXPECT_EQ(fxRect(r), "{2,390,202,190}");
}

TEST_F(FoundationGeometry, FixedCheckRotValHalfTurnExample)
{
  FixedRect r = FixedCheckRotVal(kLetter, kRegion, kLetter, 180, 0);
  EXPECT_EQ(fxRect(r), "{312,292,512,92}");
}

TEST_F(FoundationGeometry, FixedCheckRotValThreeQuarterTurnExample)
{
  // From 90 to 0 is case D.
  FixedRect r = FixedCheckRotVal(kLetter, kRegion, kLetter, 0, 90);
  EXPECT_EQ(fxRect(r), "{410,602,610,402}");
}

TEST_F(FoundationGeometry, FixedCheckRotValFrom0To270IsAllZero)
{
  EXPECT_EQ(fxRect(FixedCheckRotVal(kLetter, kRegion, kLetter, 270, 0)), "{0,0,0,0}");
}

TEST_F(FoundationGeometry, FixedCheckRotValFrom90To270IsAllZero)
{
  EXPECT_EQ(fxRect(FixedCheckRotVal(kLetter, kRegion, kLetter, 270, 90)), "{0,0,0,0}");
}

TEST_F(FoundationGeometry, FixedCheckRotValFrom180To270IsAllZero)
{
  EXPECT_EQ(fxRect(FixedCheckRotVal(kLetter, kRegion, kLetter, 270, 180)), "{0,0,0,0}");
}

TEST_F(FoundationGeometry, FixedCheckRotValFrom270To180IsAllZero)
{
  EXPECT_EQ(fxRect(FixedCheckRotVal(kLetter, kRegion, kLetter, 180, 270)), "{0,0,0,0}");
}

TEST_F(FoundationGeometry, FixedCheckRotValFullRotationTable)
{
  const FSInt16 rots[4] = {0, 90, 180, 270};
  // Rows: origRotFact; columns: currRotFact.
  const char *table[4] = {"ABCE", "DABE", "CDAE", "BCEA"};
  // A media box off the origin and of another size than the first, so that
  // every case moves the region differently.
  const FixedRect curr = pts(20, 640, 500, 30);
  for (int o = 0; o < 4; ++o)
    for (int c = 0; c < 4; ++c)
      EXPECT_EQ(caseOf(curr, kRegion, kLetter, rots[c], rots[o]), table[o][c])
          << "orig " << rots[o] << " curr " << rots[c];
}

TEST_F(FoundationGeometry, FixedCheckRotValWellFormedRegionStaysWellFormed)
{
  const FSInt16 rots[4] = {0, 90, 180, 270};
  for (FSInt16 o : rots)
    for (FSInt16 c : rots) {
      FixedRect r = FixedCheckRotVal(kLetter, kRegion, kLetter, c, o);
      EXPECT_LE(r.left, r.right) << o << "->" << c;
      EXPECT_GE(r.top, r.bottom) << o << "->" << c;
    }
}

TEST_F(FoundationGeometry, FixedCheckRotValNegativeQuarterMatchesCaseD)
{
  EXPECT_EQ(caseOf(kLetter, kRegion, kLetter, -90, 0), 'D');
}

TEST_F(FoundationGeometry, FixedCheckRotValMinus180From270MatchesCaseD)
{
  // 270 + 270 = 540, whose IEEE remainder is -180 (the quotient 1.5 rounds to 2).
  EXPECT_EQ(caseOf(kLetter, kRegion, kLetter, -180, 270), 'D');
}

TEST_F(FoundationGeometry, FixedCheckRotValMinus90From180MatchesCaseB)
{
  EXPECT_EQ(caseOf(kLetter, kRegion, kLetter, -90, 180), 'B');
}

TEST_F(FoundationGeometry, FixedCheckRotValZeroFrom270MatchesCaseB)
{
  EXPECT_EQ(caseOf(kLetter, kRegion, kLetter, 0, 270), 'B');
}

TEST_F(FoundationGeometry, FixedCheckRotValIllegalFactorAgainstZeroIsAllZero)
{
  EXPECT_EQ(fxRect(FixedCheckRotVal(kLetter, kRegion, kLetter, 45, 0)), "{0,0,0,0}");
}

TEST_F(FoundationGeometry, FixedCheckRotValIllegalFactorsAQuarterApartMatchCaseB)
{
  EXPECT_EQ(caseOf(kLetter, kRegion, kLetter, 135, 45), 'B');
}

TEST_F(FoundationGeometry, FixedCheckRotVal360IsNotZero)
{
  // 360 equals none of 0 + 90, 0 + 180, remainder(270) = -90, nor 0 itself.
  EXPECT_EQ(caseOf(kLetter, kRegion, kLetter, 360, 0), 'E');
}

TEST_F(FoundationGeometry, FixedCheckRotValEqualIllegalFactorsAreCaseA)
{
  EXPECT_EQ(caseOf(kLetter, kRegion, kLetter, 45, 45), 'A');
  EXPECT_EQ(caseOf(kLetter, kRegion, kLetter, -32768, -32768), 'A');
}

TEST_F(FoundationGeometry, FixedCheckRotValExtremeFactorsNarrowTo16Bits)
{
  // 32767 + 90 = 32857: remainder(32857, 360) = 97 (quotient 91.27 -> 91).
  EXPECT_EQ(caseOf(kLetter, kRegion, kLetter, 97, 32767), 'B');
  // -32768 + 180 = -32588: remainder = -188 + 360 = 172 (quotient -90.52 -> -91).
  EXPECT_EQ(caseOf(kLetter, kRegion, kLetter, 172, -32768), 'C');
}

TEST_F(FoundationGeometry, FixedCheckRotValMovesTheRegionOntoAnotherMediaBox)
{
  // Case A onto a box twice as large: the offsets from the half-extent point
  // are kept, so the region moves by the difference of the half extents.
  FixedRect r = FixedCheckRotVal(pts(0, 1584, 1224, 0), kRegion, kLetter, 90, 90);
  EXPECT_EQ(fxRect(r), "{406,1096,606,896}");
}

TEST_F(FoundationGeometry, FixedCheckRotValUsesHalfExtentsForABoxOffTheOrigin)
{
  // A media box at {100,892,712,100} has the half extents (306,396) like a
  // letter box at the origin: case A leaves the region where it was.
  FixedRect r = FixedCheckRotVal(pts(100, 892, 712, 100), kRegion, kLetter, 0, 0);
  EXPECT_EQ(fxRect(r), "{100,700,300,500}");
}

TEST_F(FoundationGeometry, FixedCheckRotValCaseAKeepsTenThousandRandomRegions)
{
  std::mt19937 rng(20261121);
  std::uniform_int_distribution<uint32_t> any;
  std::uniform_int_distribution<int> rot(-32768, 32767);
  for (int i = 0; i < 10000; ++i) {
    FixedRect box = raw(static_cast<Fixed>(any(rng)), static_cast<Fixed>(any(rng)),
                        static_cast<Fixed>(any(rng)), static_cast<Fixed>(any(rng)));
    FixedRect reg = raw(static_cast<Fixed>(any(rng)), static_cast<Fixed>(any(rng)),
                        static_cast<Fixed>(any(rng)), static_cast<Fixed>(any(rng)));
    FSInt16 r = static_cast<FSInt16>(rot(rng));
    FixedRect out = FixedCheckRotVal(box, reg, box, r, r);
    ASSERT_TRUE(sameRect(out, reg)) << i << ": " << fxRect(reg) << " on " << fxRect(box) << " gave "
                                    << fxRect(out);
  }
}

TEST_F(FoundationGeometry, FixedCheckRotValAskesTheHostForBothHalfExtents)
{
  FixedCheckRotVal(pts(0, 1584, 1224, 0), kRegion, kLetter, 0, 0);
  EXPECT_EQ(host.log.texts(), (std::vector<std::string>{"FixedDiv(612, 2)", "FixedDiv(792, 2)",
                                                        "FixedDiv(1224, 2)", "FixedDiv(1584, 2)"}));
}

TEST_F(FoundationGeometry, FixedCheckRotValWrapsAroundIn32Bits)
{
  // A region edge at the bottom of the range: centre minus edge wraps, and
  // case A wraps back to the same edge.
  FixedRect reg = raw(INT32_MIN, INT32_MAX, INT32_MAX, INT32_MIN);
  FixedRect out = FixedCheckRotVal(kLetter, reg, kLetter, 0, 0);
  EXPECT_TRUE(sameRect(out, reg)) << fxRect(out);
}

// ---- FixedDiv rounding (the host's, as the helpers see it) -------------------------

namespace {
Fixed hostDiv(TestHost &h, Fixed a, Fixed b)
{
  using DivProc = Fixed (*)(Fixed, Fixed);
  return reinterpret_cast<DivProc>(h.entry(Table::FolioSupport, 13))(a, b);
}
} // namespace

TEST_F(FoundationGeometry, FixedDivRoundsAThirdDown)
{
  EXPECT_EQ(hostDiv(host, P(1), P(3)), 21845); // 21845.33
}

TEST_F(FoundationGeometry, FixedDivRoundsTwoThirdsUp)
{
  EXPECT_EQ(hostDiv(host, P(2), P(3)), 43691); // 43690.67
}

TEST_F(FoundationGeometry, FixedDivRoundsNegativeTwoThirdsAwayFromZero)
{
  EXPECT_EQ(hostDiv(host, P(-2), P(3)), -43691);
  EXPECT_EQ(hostDiv(host, P(2), P(-3)), -43691);
}

TEST_F(FoundationGeometry, FixedDivRoundsTiesAwayFromZero)
{
  EXPECT_EQ(hostDiv(host, 1, P(2)), 1);
  EXPECT_EQ(hostDiv(host, -1, P(2)), -1);
  EXPECT_EQ(hostDiv(host, 3, P(2)), 2);
  EXPECT_EQ(hostDiv(host, -3, P(2)), -2);
}

TEST_F(FoundationGeometry, FixedDivIsExactForEvenHalves)
{
  EXPECT_EQ(hostDiv(host, P(612), P(2)), P(306));
  EXPECT_EQ(hostDiv(host, -P(612), P(2)), -P(306));
}

TEST_F(FoundationGeometry, FixedDivByZeroSaturatesBySign)
{
  EXPECT_EQ(hostDiv(host, P(5), 0), INT32_MAX);
  EXPECT_EQ(hostDiv(host, -P(5), 0), INT32_MIN);
  EXPECT_EQ(hostDiv(host, 0, 0), INT32_MAX);
}

TEST_F(FoundationGeometry, FixedDivSaturatesOnOverflow)
{
  EXPECT_EQ(hostDiv(host, INT32_MAX, P(1) / 2), INT32_MAX);
  EXPECT_EQ(hostDiv(host, INT32_MIN, P(1) / 2), INT32_MIN);
  EXPECT_EQ(hostDiv(host, INT32_MIN, -P(1)), INT32_MAX);
}

// ---- FVInCorner ----------------------------------------------------------------------

TEST_F(FoundationGeometry, FVInCornerAcceptsTheSquaresEdges)
{
  EXPECT_EQ(FVInCorner(103, 97, 100, 100, 3), 1);
}

TEST_F(FoundationGeometry, FVInCornerRefusesOneBeyondRight)
{
  EXPECT_EQ(FVInCorner(104, 100, 100, 100, 3), 0);
}

TEST_F(FoundationGeometry, FVInCornerRefusesOneBeyondTop)
{
  EXPECT_EQ(FVInCorner(100, 96, 100, 100, 3), 0);
}

TEST_F(FoundationGeometry, FVInCornerRefusesOneBeyondLeftAndBottom)
{
  EXPECT_EQ(FVInCorner(96, 100, 100, 100, 3), 0);
  EXPECT_EQ(FVInCorner(100, 104, 100, 100, 3), 0);
  EXPECT_EQ(FVInCorner(97, 103, 100, 100, 3), 1);
}

TEST_F(FoundationGeometry, FVInCornerWithZeroToleranceOnlyAtTheCorner)
{
  EXPECT_EQ(FVInCorner(100, 100, 100, 100, 0), 1);
  EXPECT_EQ(FVInCorner(101, 100, 100, 100, 0), 0);
  EXPECT_EQ(FVInCorner(99, 100, 100, 100, 0), 0);
  EXPECT_EQ(FVInCorner(100, 101, 100, 100, 0), 0);
  EXPECT_EQ(FVInCorner(100, 99, 100, 100, 0), 0);
}

TEST_F(FoundationGeometry, FVInCornerAcceptsSevenBySevenSquare)
{
  int inside = 0;
  for (int x = 90; x <= 110; ++x)
    for (int y = 90; y <= 110; ++y)
      inside += FVInCorner(static_cast<FSInt16>(x), static_cast<FSInt16>(y), 100, 100, 3);
  EXPECT_EQ(inside, 49);
}

TEST_F(FoundationGeometry, FVInCornerAtTheUpper16BitLimit)
{
  // 32767 + 3 narrowed to 16 bits would be -32766 and refuse the corner itself.
  EXPECT_EQ(FVInCorner(32767, 32767, 32767, 32767, 3), 1);
  EXPECT_EQ(FVInCorner(32764, 32764, 32767, 32767, 3), 1);
  EXPECT_EQ(FVInCorner(32763, 32767, 32767, 32767, 3), 0);
  EXPECT_EQ(FVInCorner(32767, 32763, 32767, 32767, 3), 0);
}

TEST_F(FoundationGeometry, FVInCornerAtTheLower16BitLimit)
{
  // -32768 - 3 narrowed would be 32765 and refuse the corner itself.
  EXPECT_EQ(FVInCorner(-32768, -32768, -32768, -32768, 3), 1);
  EXPECT_EQ(FVInCorner(-32765, -32765, -32768, -32768, 3), 1);
  EXPECT_EQ(FVInCorner(-32764, -32768, -32768, -32768, 3), 0);
  EXPECT_EQ(FVInCorner(-32768, -32764, -32768, -32768, 3), 0);
}

TEST_F(FoundationGeometry, FVInCornerWithTheLargestTolerance)
{
  EXPECT_EQ(FVInCorner(-32768, 32767, 0, 0, 32767), 0);
  EXPECT_EQ(FVInCorner(-32767, 32767, 0, 0, 32767), 1);
}

TEST_F(FoundationGeometry, FVInCornerWithANegativeToleranceAcceptsNothing)
{
  EXPECT_EQ(FVInCorner(100, 100, 100, 100, -1), 0);
}

// ---- FVExpandRegion and FVDrawBoxes ----------------------------------------------------

TEST_F(FoundationGeometry, FVExpandRegionGrowsEverySideByTheMargin)
{
  FVRect r = FVExpandRegion(testhost::dev(10, 20, 110, 220), 3);
  EXPECT_EQ(testhost::fvRect(r), "{7,17,113,223}");
}

TEST_F(FoundationGeometry, FVExpandRegionDoesNotNormalise)
{
  FVRect r = FVExpandRegion(testhost::dev(110, 220, 10, 20), 3);
  EXPECT_EQ(testhost::fvRect(r), "{107,217,13,23}");
}

TEST_F(FoundationGeometry, FVExpandRegionTruncatesTo16Bits)
{
  FVRect r = FVExpandRegion(testhost::dev(-32767, -32768, 32766, 32767), 3);
  EXPECT_EQ(testhost::fvRect(r), "{32766,32765,-32767,-32766}");
}

TEST_F(FoundationGeometry, FVDrawBoxesMakesTheHandleSquare)
{
  FVRect r = FVDrawBoxes(50, 60, 3);
  EXPECT_EQ(testhost::fvRect(r), "{47,57,53,63}");
}

TEST_F(FoundationGeometry, FVDrawBoxesTruncatesTo16Bits)
{
  FVRect r = FVDrawBoxes(-32768, 32767, 1);
  EXPECT_TRUE(sameRect(r, testhost::dev(32767, 32766, -32767, -32768))) << testhost::fvRect(r);
}

TEST_F(FoundationGeometry, FVDrawBoxesWithZeroIsAPoint)
{
  EXPECT_EQ(testhost::fvRect(FVDrawBoxes(5, -7, 0)), "{5,-7,5,-7}");
}

TEST_F(FoundationGeometry, DeviceHelpersCallNoHostOperation)
{
  FVInCorner(1, 2, 3, 4, 3);
  FVExpandRegion(testhost::dev(1, 2, 3, 4), 3);
  FVDrawBoxes(1, 2, 3);
  EXPECT_EQ(host.log.size(), 0u);
}
