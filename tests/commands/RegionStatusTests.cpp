// RegionStatusTests.cpp: what happens to one page when the drawn region is
// applied to all pages, for every pair of rotations (the page the region was
// drawn on, the page being cropped), portrait and landscape media boxes, media
// boxes off the origin, and the one-inch limits after clipping.
//
// The region {100,700,300,500} is drawn on page 0, a portrait page
// {0,792,612,0} whose half extents are (306,396); its offsets from them are
// left 206, top -304, right 6, bottom -104. Carried over to a page with half
// extents (h,v) it becomes, by case:
//   A (same rotation)       {h-206, v+304, h-6,   v+104}
//   B (quarter turn)        {h-304, v-6,   h-104, v-206}
//   C (half turn)           {h+6,   v-104, h+206, v-304}
//   D (three quarters)      {h+104, v+206, h+304, v+6}
//   E (no case)             {0,0,0,0}: status 3
// Which case a pair of rotations takes (drawn on \ cropped):
//     0: A B C E    90: D A B E    180: C D A E    270: B C E A
// A page passes the orientation test when its half extents and rotation are
// the same, or when its half extents are swapped and its rotation is the
// drawn rotation +90 (or +270) reduced by the IEEE remainder: from 0 only 90,
// from 90 180 or 0, from 180 only 90, from 270 only 0.
#include "CommandsSupport.h"

#include <algorithm>
#include <deque>

namespace cmdtest {
namespace {

const FixedRect kRegion = pts(100, 700, 300, 500);
const char *const kOrientationQuestion = "FVAlert(3, \"Some pages do not have same orientation - Crop or "
                                         "Skip them?\", \"Skip\", \"Crop\", null, 0)";
const char *const kRotationNote = "FVAlertNote(\"Some page(s) were not cropped since page(s) had an illegal "
                                  "rotation value (not 0, 90, 180, or 270).\")";
const char *const kIntersectNote =
    "FVAlertNote(\"Some page(s) were not cropped since page media box(es) did not intersect crop region.\")";

const int kRotations[4] = {0, 90, 180, 270};

enum class Media { PortraitSame, PortraitShifted, PortraitFar, Landscape, LandscapeFar };

const char *mediaName(Media m)
{
  switch (m) {
  case Media::PortraitSame:
    return "PortraitSame";
  case Media::PortraitShifted:
    return "PortraitShifted";
  case Media::PortraitFar:
    return "PortraitFar";
  case Media::Landscape:
    return "Landscape";
  case Media::LandscapeFar:
    return "LandscapeFar";
  }
  return "?";
}

// Page 1's media box in each variant: the same size as page 0 (half extents
// (306,396)) or turned (half extents (396,306)), at or off the origin.
FixedRect mediaBox(Media m)
{
  switch (m) {
  case Media::PortraitSame:
    return pts(0, 792, 612, 0);
  case Media::PortraitShifted:
    return pts(-200, 592, 412, -200);
  case Media::PortraitFar:
    return pts(-300, 492, 312, -300);
  case Media::Landscape:
    return pts(0, 612, 792, 0);
  case Media::LandscapeFar:
    return pts(-300, 312, 492, -300);
  }
  return pts(0, 0, 0, 0);
}

// Expected outcome for page 1 when the orientation question is answered
// "Skip": the status, and for status 1 the crop box. Worked out by hand from
// the rules in the file comment; rows: drawn rotation 0, 90, 180, 270;
// columns: page 1's rotation 0, 90, 180, 270.
struct Outcome {
  int status;
  const char *box;
};

Outcome expected(Media m, int r0, int r1)
{
  // Portrait pages pass only with the same rotation. Case A on (306,396)
  // gives the region itself; off the origin it is clipped to the media box
  // ({-200,592,412,-200}: top cut to 592) or misses it ({-300,492,312,-300}:
  // its bottom 500 lies above the top 492).
  static const int portrait[4][4] = {{1, 2, 2, 3}, {2, 1, 2, 3}, {2, 2, 1, 3}, {2, 2, 3, 1}};
  // Landscape pages pass only when turned: (0,90), (90,180), (270,0) are
  // case B, {92,300,292,100} on (396,306); (90,0), (180,90) are case D,
  // {500,512,700,312}, which misses {-300,312,492,-300} (left 500 > 492).
  static const char *const landscape[4][4] = {
      {"2", "B", "2", "3"}, {"D", "2", "B", "3"}, {"2", "D", "2", "3"}, {"B", "2", "3", "2"}};
  if (m == Media::Landscape || m == Media::LandscapeFar) {
    std::string c = landscape[r0][r1];
    if (c == "B")
      return {1, "{92,300,292,100}"};
    if (c == "D")
      return m == Media::Landscape ? Outcome{1, "{500,512,700,312}"} : Outcome{4, ""};
    return {c == "2" ? 2 : 3, ""};
  }
  int s = portrait[r0][r1];
  if (s != 1)
    return {s, ""};
  if (m == Media::PortraitSame)
    return {1, "{100,700,300,500}"};
  if (m == Media::PortraitShifted)
    return {1, "{100,592,300,500}"};
  return {4, ""};
}

// Expected crop box of page 1 when the question is answered "Crop" (the
// orientation test is then bypassed), for the variants at the origin:
// the case's rectangle, by hand from the file comment.
const char *expectedAfterCrop(Media m, int r0, int r1)
{
  static const char cases[4][4] = {
      {'A', 'B', 'C', 'E'}, {'D', 'A', 'B', 'E'}, {'C', 'D', 'A', 'E'}, {'B', 'C', 'E', 'A'}};
  char c = cases[r0][r1];
  if (c == 'E')
    return nullptr;
  if (m == Media::PortraitSame) { // half extents (306,396)
    switch (c) {
    case 'A':
      return "{100,700,300,500}";
    case 'B':
      return "{2,390,202,190}";
    case 'C':
      return "{312,292,512,92}";
    default:
      return "{410,602,610,402}";
    }
  }
  switch (c) { // Landscape, half extents (396,306)
  case 'A':
    return "{190,610,390,410}";
  case 'B':
    return "{92,300,292,100}";
  case 'C':
    return "{402,202,602,2}";
  default:
    return "{500,512,700,312}";
  }
}

struct Pair {
  int r0; // index into kRotations: the page the region is drawn on
  int r1; // the page being cropped
  Media media;
};

std::string pairName(const ::testing::TestParamInfo<Pair> &info)
{
  return std::string("Drawn") + std::to_string(kRotations[info.param.r0]) + "Page" +
         std::to_string(kRotations[info.param.r1]) + "_" + mediaName(info.param.media);
}

std::vector<Pair> allPairs(std::initializer_list<Media> medias)
{
  std::vector<Pair> out;
  for (Media m : medias)
    for (int a = 0; a < 4; ++a)
      for (int b = 0; b < 4; ++b)
        out.push_back({a, b, m});
  return out;
}

class CommandsRegionStatus : public CommandsTest, public ::testing::WithParamInterface<Pair> {
protected:
  // Two pages: page 0 portrait at rotation r0 (the region is drawn there),
  // page 1 with the variant's media box at rotation r1; "All" is answered,
  // then `orientationAnswer` to the orientation question.
  void runAll(const Pair &p, FSInt32 orientationAnswer)
  {
    makeDoc(2);
    page(0).rotate = static_cast<PDRotate>(kRotations[p.r0]);
    page(1).rotate = static_cast<PDRotate>(kRotations[p.r1]);
    page(1).mediaBox = mediaBox(p.media);
    page(1).cropBox = pts(1, 2, 3, 4);
    drawRegion(kRegion);
    host.alertAnswers = {2, orientationAnswer};
    clickInsideRegion();
  }
};

class CommandsRegionStatusCrop : public CommandsRegionStatus {};

TEST_P(CommandsRegionStatus, PageOneGetsTheStatusOfItsRotationsAndMediaBox)
{
  const Pair &p = GetParam();
  runAll(p, 1);
  Outcome want = expected(p.media, p.r0, p.r1);

  // Page 0 is the page the region was drawn on: cropped to the region.
  EXPECT_EQ(R(page(0).cropBox), "{100,700,300,500}") << dump();

  std::vector<std::string> questions = afterOf("FVAlert");
  std::vector<std::string> notes = afterOf("FVAlertNote");
  std::vector<std::string> wantQuestions = {
      "FVAlert(3, \"Pages to crop?\", \"Current\", \"All\", \"Cancel\", 0)"};
  std::vector<std::string> wantNotes;
  switch (want.status) {
  case 1:
    EXPECT_EQ(R(page(1).cropBox), want.box) << dump();
    EXPECT_EQ(page(1).setCropBoxes, 1);
    EXPECT_EQ(page(1).notifications, 1);
    break;
  case 2:
    wantQuestions.push_back(kOrientationQuestion);
    break;
  case 3:
    wantNotes.push_back(kRotationNote);
    break;
  case 4:
    wantNotes.push_back(kIntersectNote);
    break;
  }
  if (want.status != 1) {
    EXPECT_EQ(R(page(1).cropBox), "{1,2,3,4}") << dump();
    EXPECT_EQ(page(1).setCropBoxes, 0);
    EXPECT_EQ(page(1).notifications, 0);
  }
  EXPECT_EQ(questions, wantQuestions) << dump();
  EXPECT_EQ(notes, wantNotes) << dump();
}

INSTANTIATE_TEST_SUITE_P(CommandsAllRotationPairs, CommandsRegionStatus,
                         ::testing::ValuesIn(allPairs({Media::PortraitSame, Media::PortraitShifted,
                                                       Media::PortraitFar, Media::Landscape,
                                                       Media::LandscapeFar})),
                         pairName);

TEST_P(CommandsRegionStatusCrop, CropAnswerCarriesTheRegionOverWithoutTheOrientationTest)
{
  const Pair &p = GetParam();
  runAll(p, 2);
  const char *box = expectedAfterCrop(p.media, p.r0, p.r1);
  if (box == nullptr) {
    // No case: the rotation test comes first, "Crop" does not rescue it.
    EXPECT_EQ(R(page(1).cropBox), "{1,2,3,4}") << dump();
    EXPECT_EQ(afterOf("FVAlertNote"), std::vector<std::string>{kRotationNote}) << dump();
    return;
  }
  EXPECT_EQ(R(page(1).cropBox), box) << dump();
  EXPECT_EQ(page(1).setCropBoxes, 1);
  EXPECT_EQ(afterCount("FVAlertNote"), 0u) << dump();
}

INSTANTIATE_TEST_SUITE_P(CommandsAllRotationPairs, CommandsRegionStatusCrop,
                         ::testing::ValuesIn(allPairs({Media::PortraitSame, Media::Landscape})), pairName);

// ---- single named cases ------------------------------------------------------------------

class CommandsRegionPage : public CommandsTest {
protected:
  // Pages with the given media boxes and rotations; the region drawn on
  // page 0; "All" answered, then the given answers.
  void runAll(const std::vector<FixedRect> &media, const std::vector<int> &rot, const FixedRect &region,
              std::deque<FSInt32> answers)
  {
    makeDoc(static_cast<int>(media.size()));
    for (size_t i = 0; i < media.size(); ++i) {
      page(static_cast<int>(i)).mediaBox = media[i];
      page(static_cast<int>(i)).cropBox = media[i];
      page(static_cast<int>(i)).rotate = static_cast<PDRotate>(rot[i]);
    }
    drawRegion(region);
    answers.push_front(2);
    host.alertAnswers = answers;
    clickInsideRegion();
  }
};

TEST_F(CommandsRegionPage, SameSizePageWithMediaBoxOffTheOriginPassesTheOrientationTest)
{
  // Only half extents are compared: {100,892,712,100} has (306,396) too, and
  // case A puts the region at the same offsets from them, {100,700,300,500}.
  runAll({pts(0, 792, 612, 0), pts(100, 892, 712, 100)}, {0, 0}, kRegion, {});
  EXPECT_EQ(afterCount("FVAlert"), 1u) << dump();
  EXPECT_EQ(R(page(1).cropBox), "{100,700,300,500}") << dump();
}

TEST_F(CommandsRegionPage, Rotation270AgainstRegionDrawnAt0IsAnIllegalRotation)
{
  runAll({pts(0, 792, 612, 0), pts(0, 792, 612, 0), pts(0, 792, 612, 0)}, {0, 270, 0}, kRegion, {});
  std::vector<std::string> want;
  append(want, {"PM.setCurrValue(1, pmdata)", "CancelProc(canceldata)", "PDDocAcquirePage(doc0, 1)",
                "PDPageGetCropBox(page1)", "PDPageRelease(page1)"});
  append(want, regionPageCalls(1, ""));
  std::vector<std::string> log = afterLog();
  auto at = std::find(log.begin(), log.end(), "PM.setCurrValue(1, pmdata)");
  ASSERT_NE(at, log.end()) << dump();
  EXPECT_EQ(std::vector<std::string>(at, at + static_cast<long>(want.size())), want) << dump();
  EXPECT_EQ(afterOf("FVAlertNote"), std::vector<std::string>{kRotationNote}) << dump();
  EXPECT_EQ(R(page(2).cropBox), "{100,700,300,500}");
}

TEST_F(CommandsRegionPage, RotationOf45IsAnIllegalRotation)
{
  runAll({pts(0, 792, 612, 0), pts(0, 792, 612, 0)}, {0, 45}, kRegion, {});
  EXPECT_EQ(afterOf("FVAlertNote"), std::vector<std::string>{kRotationNote}) << dump();
  EXPECT_EQ(page(1).setCropBoxes, 0);
}

TEST_F(CommandsRegionPage, RotationMinus90OnALandscapePageIsTheTurnOf270FromZero)
{
  // -90 equals the remainder of 0 + 270: case D and the turned test both match.
  runAll({pts(0, 792, 612, 0), pts(0, 612, 792, 0)}, {0, -90}, kRegion, {});
  EXPECT_EQ(afterCount("FVAlert"), 1u) << dump();
  EXPECT_EQ(afterCount("FVAlertNote"), 0u) << dump();
  EXPECT_EQ(R(page(1).cropBox), "{500,512,700,312}") << dump();
}

TEST_F(CommandsRegionPage, RegionOverlappingThePageByLessThanAnInchIsStatus4)
{
  // {-250,542,362,-250}: same half extents; the region's bottom 500 lies 42
  // points under the top 542, which the one-inch margin refuses.
  runAll({pts(0, 792, 612, 0), pts(-250, 542, 362, -250)}, {0, 0}, kRegion, {});
  EXPECT_EQ(afterOf("FVAlertNote"), std::vector<std::string>{kIntersectNote}) << dump();
  EXPECT_EQ(page(1).setCropBoxes, 0);
}

TEST_F(CommandsRegionPage, RegionOverlappingThePageByExactlyAnInchIsCroppedToThatInch)
{
  // {-220,572,392,-220}: the region's bottom 500 is exactly 72 under the top.
  runAll({pts(0, 792, 612, 0), pts(-220, 572, 392, -220)}, {0, 0}, kRegion, {});
  EXPECT_EQ(afterCount("FVAlertNote"), 0u) << dump();
  EXPECT_EQ(R(page(1).cropBox), "{100,572,300,500}") << dump();
}

TEST_F(CommandsRegionPage, PagesExactlyOneInchWideAreCroppedToOneInch)
{
  // Pages 72 wide; the region reaches past both sides and is clipped to
  // exactly 72.0, which passes.
  FixedRect narrow = pts(0, 792, 72, 0);
  runAll({narrow, narrow}, {0, 0}, pts(-10, 700, 82, 500), {});
  EXPECT_EQ(afterCount("FVAlertNote"), 0u) << dump();
  EXPECT_EQ(R(page(0).cropBox), "{0,700,72,500}");
  EXPECT_EQ(R(page(1).cropBox), "{0,700,72,500}");
}

TEST_F(CommandsRegionPage, PagesOneUnitNarrowerThanAnInchAreStatus4)
{
  FixedRect narrow{0, 792 << 16, kJustUnderOneInch, 0};
  runAll({narrow, narrow}, {0, 0}, pts(-10, 700, 82, 500), {});
  EXPECT_EQ(afterOf("FVAlertNote"), std::vector<std::string>{kIntersectNote}) << dump();
  EXPECT_EQ(page(0).setCropBoxes, 0);
  EXPECT_EQ(page(1).setCropBoxes, 0);
}

TEST_F(CommandsRegionPage, PagesExactlyOneInchHighAreCroppedToOneInch)
{
  FixedRect low = pts(0, 72, 612, 0);
  runAll({low, low}, {0, 0}, pts(100, 82, 300, -10), {});
  EXPECT_EQ(afterCount("FVAlertNote"), 0u) << dump();
  EXPECT_EQ(R(page(1).cropBox), "{100,72,300,0}");
}

TEST_F(CommandsRegionPage, PagesOneUnitLowerThanAnInchAreStatus4)
{
  FixedRect low{0, kJustUnderOneInch, 612 << 16, 0};
  runAll({low, low}, {0, 0}, pts(100, 82, 300, -10), {});
  EXPECT_EQ(afterOf("FVAlertNote"), std::vector<std::string>{kIntersectNote}) << dump();
  EXPECT_EQ(page(1).setCropBoxes, 0);
}

TEST_F(CommandsRegionPage, IllegalRotationSummaryComesBeforeTheIntersectionSummary)
{
  runAll({pts(0, 792, 612, 0), pts(-300, 492, 312, -300), pts(0, 792, 612, 0)}, {0, 0, 270}, kRegion, {});
  EXPECT_EQ(afterOf("FVAlertNote"), (std::vector<std::string>{kRotationNote, kIntersectNote})) << dump();
}

} // namespace
} // namespace cmdtest
