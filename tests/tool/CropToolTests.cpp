// The crop tool: drag-out, resize, move, apply and drop by clicks, its state
// table, and activation.
//
// The world: one document of one page, media box {0,792,612,0}, rotation 0,
// shown at zoom 1 with no offset, so device (x, y) is page (x, 792 - y).
// The usual region has device corners (100, 100) and (300, 200), that is
// page {100,692,300,592}: 200 x 100 points, more than an inch each way.
#include "ToolTestSupport.h"

namespace tooltest {
namespace {

using Texts = std::vector<std::string>;

class ToolClick : public ToolTest {
protected:
  FVPageView view = nullptr;
  std::string crop; // log name of the crop-region drawing callback

  void SetUp() override
  {
    startUp();
    h.addDocument(1);
    h.setActiveDocument(0);
    view = h.pageView(0);
    crop = h.nameOfCallback(cropViewDidChange());
    clearLog();
  }

  // Draws out a region by a click whose drag the host answers with `r`.
  void makeRegion(FVRect r)
  {
    h.dragOutResults.push_back(r);
    ASSERT_EQ(h.toolDoClick(tool(), view, r.left, r.top), 1);
    ASSERT_EQ(gCropRegion(), 1);
    clearLog();
  }

  FSBool click(int x, int y, FSInt16 flags = 0, FSInt16 clickNo = 1)
  {
    return h.toolDoClick(tool(), view, static_cast<FSInt16>(x), static_cast<FSInt16>(y), flags, clickNo);
  }

  // The calls every click begins with, after the host's own record.
  Texts clickStart(int x, int y, const std::string &region, FSInt16 flags = 0, FSInt16 clickNo = 1) const
  {
    return {"host.doClick(tool0, view0, " + std::to_string(x) + ", " + std::to_string(y) + ", " +
                std::to_string(flags) + ", " + std::to_string(clickNo) + ")",
            "FVPageViewGetPage(view0)", "FVAppGetActiveDoc()", "FVDocGetPDDoc(fvdoc0)",
            "FVPageViewRectToDevice(view0, " + region + ")"};
  }

  // The calls of a handle click from the second conversion to the end.
  Texts handleClick(const std::string &region, const std::string &beg, int x, int y, int dragType,
                    const std::string &grownBeg, const std::string &res, const std::string &grownRes) const
  {
    return {"FVPageViewRectToDevice(view0, " + region + ")",
            "FVSysGetModifiers()",
            "FVAppUnregisterForPageViewDrawing(" + crop + ")",
            "FVPageViewInvalidateRect(view0, " + grownBeg + ")",
            "FVPageViewDrawNow(view0)",
            "FVPageViewDragRect(view0, " + std::to_string(x) + ", " + std::to_string(y) + ", " + beg + ", " +
                std::to_string(dragType) + ", null)",
            "FVPageViewInvalidateRect(view0, " + grownRes + ")",
            "FVPageViewDeviceRectToPage(view0, " + res + ")",
            "FVAppRegisterForPageViewDrawing(" + crop + ", null)",
            "FVPageViewDrawNow(view0)"};
  }

  static Texts concat(Texts a, const Texts &b)
  {
    a.insert(a.end(), b.begin(), b.end());
    return a;
  }

  bool cropRegistered() const
  {
    for (const testhost::DrawingRegistration &r : h.drawingCallbacks())
      if (r.callback == cropViewDidChange())
        return true;
    return false;
  }
  size_t cropRegistrations() const
  {
    size_t n = 0;
    for (const testhost::DrawingRegistration &r : h.drawingCallbacks())
      n += r.callback == cropViewDidChange();
    return n;
  }
};

// ---- the state table, one event a test ------------------------------------------

TEST_F(ToolClick, StateNoRegionDragWithoutMovementStaysWithoutRegion)
{
  EXPECT_EQ(click(150, 160), 1);
  // The host answers the start point: the click point itself is redrawn.
  EXPECT_EQ(h.log.texts(),
            concat(clickStart(150, 160, "{0,0,0,0}"),
                   {"FVPageViewDragOutNewRect(view0, 150, 160)",
                    "FVPageViewInvalidateRect(view0, {150,160,150,160})", "FVPageViewDrawNow(view0)"}))
      << dump();
  EXPECT_EQ(gCropRegion(), 0);
  EXPECT_FALSE(cropRegistered());
  EXPECT_EQ(h.log.count("FVAppRegisterForPageViewDrawing"), 0u);
}

TEST_F(ToolClick, StateNoRegionDragOutShowsRegion)
{
  h.dragOutResults.push_back(dev(100, 100, 300, 200));
  EXPECT_EQ(click(100, 100), 1);
  EXPECT_EQ(h.log.texts(),
            concat(clickStart(100, 100, "{0,0,0,0}"),
                   {"FVPageViewDragOutNewRect(view0, 100, 100)", "PDPageGetRotate(page0)",
                    "PDPageGetMediaBox(page0)", "FVPageViewDeviceRectToPage(view0, {100,100,300,200})",
                    "FVAppRegisterForPageViewDrawing(" + crop + ", null)",
                    "FVPageViewInvalidateRect(view0, {97,97,303,203})", "FVPageViewDrawNow(view0)"}))
      << dump();
  EXPECT_EQ(gCropRegion(), 1);
  EXPECT_EQ(R(gfixRCropRegion()), "{100,692,300,592}");
  EXPECT_EQ(gOrigPageRot(), 0);
  EXPECT_EQ(R(gfixROrigMedBox()), "{0,792,612,0}");
  ASSERT_EQ(h.drawingCallbacks().size(), 1u);
  EXPECT_EQ(h.drawingCallbacks()[0].callback, cropViewDidChange());
  EXPECT_EQ(h.drawingCallbacks()[0].data, nullptr);
}

TEST_F(ToolClick, StateRegionHandleClickKeepsRegionShown)
{
  makeRegion(dev(100, 100, 300, 200));
  h.dragRectResults.push_back(dev(90, 95, 300, 200));
  EXPECT_EQ(click(103, 97), 1);
  EXPECT_EQ(h.log.texts(), concat(clickStart(103, 97, "{100,692,300,592}"),
                                  handleClick("{100,692,300,592}", "{100,100,300,200}", 103, 97, 1,
                                              "{97,97,303,203}", "{90,95,300,200}", "{87,92,303,203}")))
      << dump();
  EXPECT_EQ(gCropRegion(), 1);
  EXPECT_EQ(R(gfixRCropRegion()), "{90,697,300,592}");
  EXPECT_EQ(cropRegistrations(), 1u);
}

TEST_F(ToolClick, StateRegionInsideRefusedStaysUnchanged)
{
  // 50 x 50 points: under an inch, so the region is refused.
  makeRegion(dev(100, 100, 150, 150));
  EXPECT_EQ(click(125, 125), 1);
  Texts got = h.log.texts();
  Texts start = clickStart(125, 125, "{100,692,150,642}");
  ASSERT_GE(got.size(), start.size());
  EXPECT_EQ(Texts(got.begin(), got.begin() + static_cast<long>(start.size())), start) << dump();
  EXPECT_EQ(h.log.count("FVAppGetCancelProc"), 1u) << "the region was not handed to be applied" << dump();
  // Nothing of the tool's own after the refusal.
  EXPECT_EQ(h.log.count("FVAppUnregisterForPageViewDrawing"), 0u);
  EXPECT_EQ(h.log.count("FVPageViewInvalidateRect"), 0u);
  EXPECT_EQ(h.log.count("FVPageViewDrawNow"), 0u);
  EXPECT_EQ(gCropRegion(), 1);
  EXPECT_EQ(R(gfixRCropRegion()), "{100,692,150,642}");
  EXPECT_TRUE(cropRegistered());
}

TEST_F(ToolClick, StateRegionInsideUsedUpRemovesRegion)
{
  makeRegion(dev(100, 100, 300, 200));
  EXPECT_EQ(click(200, 150), 1);
  Texts got = h.log.texts();
  Texts start = clickStart(200, 150, "{100,692,300,592}");
  ASSERT_GE(got.size(), start.size() + 3) << dump();
  EXPECT_EQ(Texts(got.begin(), got.begin() + static_cast<long>(start.size())), start) << dump();
  EXPECT_EQ(h.log.count("FVAppGetCancelProc"), 1u) << dump();
  EXPECT_EQ(Texts(got.end() - 3, got.end()),
            (Texts{"FVAppUnregisterForPageViewDrawing(" + crop + ")",
                   "FVPageViewInvalidateRect(view0, {97,97,303,203})", "FVPageViewDrawNow(view0)"}))
      << dump();
  EXPECT_EQ(gCropRegion(), 0);
  EXPECT_FALSE(cropRegistered());
}

TEST_F(ToolClick, StateRegionOutsideClickRemovesRegion)
{
  makeRegion(dev(100, 100, 300, 200));
  EXPECT_EQ(click(96, 150), 1);
  EXPECT_EQ(h.log.texts(),
            concat(clickStart(96, 150, "{100,692,300,592}"),
                   {"FVAppUnregisterForPageViewDrawing(" + crop + ")",
                    "FVPageViewInvalidateRect(view0, {97,97,303,203})", "FVPageViewDrawNow(view0)"}))
      << dump();
  EXPECT_EQ(gCropRegion(), 0);
  EXPECT_FALSE(cropRegistered());
  EXPECT_EQ(h.log.count("FVAppGetCancelProc"), 0u);
}

// ---- drag-out -----------------------------------------------------------------------

TEST_F(ToolClick, DragOutOfWidthZeroMakesRegion)
{
  h.dragOutResults.push_back(dev(100, 100, 100, 150));
  EXPECT_EQ(click(100, 100), 1);
  EXPECT_EQ(gCropRegion(), 1);
  EXPECT_EQ(R(gfixRCropRegion()), "{100,692,100,642}");
  EXPECT_GE(h.log.indexOf("FVPageViewInvalidateRect(view0, {97,97,103,153})"), 0) << dump();
  EXPECT_TRUE(cropRegistered());
}

TEST_F(ToolClick, DragOutOfHeightZeroMakesRegion)
{
  h.dragOutResults.push_back(dev(100, 100, 200, 100));
  EXPECT_EQ(click(100, 100), 1);
  EXPECT_EQ(gCropRegion(), 1);
  EXPECT_EQ(R(gfixRCropRegion()), "{100,692,200,692}");
  EXPECT_GE(h.log.indexOf("FVPageViewInvalidateRect(view0, {97,97,203,103})"), 0) << dump();
}

TEST_F(ToolClick, DragOutRecordsRotationAndMediaBoxOfClickedPage)
{
  testhost::Page &p = h.page(0, 0);
  p.rotate = 90;
  p.mediaBox = pts(0, 842, 595, 0);
  h.dragOutResults.push_back(dev(100, 100, 300, 200));
  EXPECT_EQ(click(100, 100), 1);
  EXPECT_EQ(gOrigPageRot(), 90);
  EXPECT_EQ(R(gfixROrigMedBox()), "{0,842,595,0}");
  // Rotation 90: device x = 842 - (842 - y) ... the inverse of the host's
  // quarter turn: device (px, py) is page (py, px).
  EXPECT_EQ(R(gfixRCropRegion()), "{100,300,200,100}");
}

TEST_F(ToolClick, ClickCountAndFlagsDoNotMatter)
{
  h.dragOutResults.push_back(dev(100, 100, 300, 200));
  EXPECT_EQ(click(100, 100, 7, 2), 1);
  EXPECT_EQ(gCropRegion(), 1);
  EXPECT_EQ(h.log.calls().size(), clickStart(100, 100, "{0,0,0,0}", 7, 2).size() + 7) << dump();
  clearLog();
  EXPECT_EQ(click(96, 150, 3, 2), 1);
  EXPECT_EQ(h.log.texts(),
            concat(clickStart(96, 150, "{100,692,300,592}", 3, 2),
                   {"FVAppUnregisterForPageViewDrawing(" + crop + ")",
                    "FVPageViewInvalidateRect(view0, {97,97,303,203})", "FVPageViewDrawNow(view0)"}))
      << dump();
}

// ---- handles ----------------------------------------------------------------------------

TEST_F(ToolClick, LeftTopHandleResizesWithCode1)
{
  makeRegion(dev(100, 100, 300, 200));
  click(103, 97);
  EXPECT_GE(h.log.indexOf("FVPageViewDragRect(view0, 103, 97, {100,100,300,200}, 1, null)"), 0) << dump();
}

TEST_F(ToolClick, Modifier4MovesWholeRegionWithCode0)
{
  makeRegion(dev(100, 100, 300, 200));
  h.modifiers = 4;
  h.dragRectResults.push_back(dev(150, 120, 350, 220));
  EXPECT_EQ(click(103, 97), 1);
  EXPECT_EQ(h.log.texts(), concat(clickStart(103, 97, "{100,692,300,592}"),
                                  handleClick("{100,692,300,592}", "{100,100,300,200}", 103, 97, 0,
                                              "{97,97,303,203}", "{150,120,350,220}", "{147,117,353,223}")))
      << dump();
  EXPECT_EQ(R(gfixRCropRegion()), "{150,672,350,572}");
}

TEST_F(ToolClick, Modifier5ResizesWithCode1)
{
  makeRegion(dev(100, 100, 300, 200));
  h.modifiers = 5;
  click(103, 97);
  EXPECT_EQ(h.log.textsOf("FVPageViewDragRect"),
            (Texts{"FVPageViewDragRect(view0, 103, 97, {100,100,300,200}, 1, null)"}))
      << dump();
}

TEST_F(ToolClick, RightTopHandleResizesWithCode2)
{
  makeRegion(dev(100, 100, 300, 200));
  click(300, 100);
  EXPECT_EQ(h.log.textsOf("FVPageViewDragRect"),
            (Texts{"FVPageViewDragRect(view0, 300, 100, {100,100,300,200}, 2, null)"}));
}

TEST_F(ToolClick, RightBottomHandleResizesWithCode3)
{
  makeRegion(dev(100, 100, 300, 200));
  click(297, 203);
  EXPECT_EQ(h.log.textsOf("FVPageViewDragRect"),
            (Texts{"FVPageViewDragRect(view0, 297, 203, {100,100,300,200}, 3, null)"}));
}

TEST_F(ToolClick, LeftBottomHandleResizesWithCode4)
{
  makeRegion(dev(100, 100, 300, 200));
  click(97, 197);
  EXPECT_EQ(h.log.textsOf("FVPageViewDragRect"),
            (Texts{"FVPageViewDragRect(view0, 97, 197, {100,100,300,200}, 4, null)"}));
}

// Four units off the corner is no longer on the handle.
TEST_F(ToolClick, FourUnitsFromCornerIsNotOnHandle)
{
  makeRegion(dev(100, 100, 300, 200));
  click(104, 104); // inside, not on a handle: applied
  EXPECT_EQ(h.log.count("FVPageViewDragRect"), 0u);
  EXPECT_EQ(h.log.count("FVSysGetModifiers"), 0u);
  EXPECT_EQ(h.log.count("FVAppGetCancelProc"), 1u) << dump();
}

TEST_F(ToolClick, OverlappingHandlesResizeRightBottomFirst)
{
  makeRegion(dev(100, 100, 104, 104));
  click(102, 102);
  EXPECT_EQ(h.log.textsOf("FVPageViewDragRect"),
            (Texts{"FVPageViewDragRect(view0, 102, 102, {100,100,104,104}, 3, null)"}))
      << dump();
}

// On (100, 104) of the region (100,100)-(104,104) both left handles accept;
// left-bottom is tried before left-top.
TEST_F(ToolClick, OverlappingLeftHandlesResizeLeftBottom)
{
  makeRegion(dev(100, 100, 104, 104));
  click(97, 101);
  EXPECT_EQ(h.log.textsOf("FVPageViewDragRect"),
            (Texts{"FVPageViewDragRect(view0, 97, 101, {100,100,104,104}, 4, null)"}))
      << dump();
}

TEST_F(ToolClick, ResizeMakesNoSizeCheck)
{
  makeRegion(dev(100, 100, 300, 200));
  h.dragRectResults.push_back(dev(299, 199, 300, 200));
  click(103, 97);
  EXPECT_EQ(gCropRegion(), 1);
  EXPECT_EQ(R(gfixRCropRegion()), "{299,593,300,592}");
  EXPECT_EQ(h.log.count("FVAlertNote"), 0u);
}

TEST_F(ToolClick, ResizeOnAnotherPageKeepsDragOutReference)
{
  makeRegion(dev(100, 100, 300, 200));
  // A second document whose page is turned a quarter and A4 sized; the
  // adjusting click comes from its view.
  int k = h.addDocument(1);
  h.page(k, 0).rotate = 90;
  h.page(k, 0).mediaBox = pts(0, 842, 595, 0);
  // Page {100,692,300,592} there: (u, w) = (x, 842 - y) goes to device
  // (842 - w, u), so the corners are (692, 100) and (592, 300).
  h.dragRectResults.push_back(dev(580, 100, 692, 300));
  EXPECT_EQ(h.toolDoClick(tool(), h.pageView(k), 592, 100), 1);
  EXPECT_EQ(h.log.textsOf("FVPageViewDragRect"),
            (Texts{"FVPageViewDragRect(view1, 592, 100, {592,100,692,300}, 1, null)"}))
      << dump();
  // Back: device (580, 100) is (u, w) = (100, 262), page (100, 580).
  EXPECT_EQ(R(gfixRCropRegion()), "{100,692,300,580}");
  // The reference stays the drag-out's page.
  EXPECT_EQ(gOrigPageRot(), 0);
  EXPECT_EQ(R(gfixROrigMedBox()), "{0,792,612,0}");
  EXPECT_EQ(h.log.count("PDPageGetRotate"), 0u);
  EXPECT_EQ(h.log.count("PDPageGetMediaBox"), 0u);
}

// A host whose second conversion puts the region elsewhere: the corner is
// not found again, and the click leaves everything as it was.
FVRect gSecondConversion{500, 500, 600, 600};
int gConversions = 0;
void shiftingRectToDevice(FVPageView, FixedRect *, FVRect *dst)
{
  *dst = gConversions++ == 0 ? FVRect{100, 100, 300, 200} : gSecondConversion;
}

TEST_F(ToolClick, HandleNotFoundAgainLeavesStateUntouched)
{
  makeRegion(dev(100, 100, 300, 200));
  FixedRect before = gfixRCropRegion();
  gConversions = 0;
  h.replaceEntry(testhost::Table::FolioView, 154, reinterpret_cast<HFTEntry>(&shiftingRectToDevice));
  EXPECT_EQ(click(100, 100), 1);
  EXPECT_EQ(gConversions, 2);
  EXPECT_EQ(h.log.texts(), (Texts{"host.doClick(tool0, view0, 100, 100, 0, 1)", "FVPageViewGetPage(view0)",
                                  "FVAppGetActiveDoc()", "FVDocGetPDDoc(fvdoc0)", "FVSysGetModifiers()"}))
      << dump();
  EXPECT_EQ(gCropRegion(), 1);
  EXPECT_EQ(R(gfixRCropRegion()), R(before));
  EXPECT_TRUE(cropRegistered());
}

// ---- inside and outside ---------------------------------------------------------------

TEST_F(ToolClick, ClickAt104104InsideIsApplied)
{
  makeRegion(dev(100, 100, 300, 200));
  click(104, 104);
  EXPECT_EQ(h.log.count("FVAppGetCancelProc"), 1u) << dump();
  EXPECT_EQ(gCropRegion(), 0);
}

TEST_F(ToolClick, ClickOnTopBorderAwayFromCornersCountsAsInside)
{
  makeRegion(dev(100, 100, 300, 200));
  click(200, 100);
  EXPECT_EQ(h.log.count("FVAppGetCancelProc"), 1u) << dump();
  EXPECT_EQ(h.log.count("FVPageViewDragRect"), 0u);
}

TEST_F(ToolClick, ClickOnLeftBorderFourFromCornerCountsAsInside)
{
  makeRegion(dev(100, 100, 300, 200));
  click(100, 104);
  EXPECT_EQ(h.log.count("FVAppGetCancelProc"), 1u) << dump();
  EXPECT_EQ(h.log.count("FVPageViewDragRect"), 0u);
}

TEST_F(ToolClick, ClickOnRightAndBottomBordersCountsAsInside)
{
  makeRegion(dev(100, 100, 300, 200));
  click(300, 150); // right border
  EXPECT_EQ(h.log.count("FVAppGetCancelProc"), 1u) << dump();
  // The region was used up; draw it again for the bottom border.
  h.dragOutResults.push_back(dev(100, 100, 300, 200));
  click(10, 10);
  clearLog();
  click(200, 200);
  EXPECT_EQ(h.log.count("FVAppGetCancelProc"), 1u) << dump();
}

TEST_F(ToolClick, ClickOneUnitAboveTopBorderIsOutside)
{
  makeRegion(dev(100, 100, 300, 200));
  click(200, 99);
  EXPECT_EQ(h.log.count("FVAppGetCancelProc"), 0u);
  EXPECT_EQ(gCropRegion(), 0);
}

TEST_F(ToolClick, ClickAt96150OutsideDiscardsWithoutNewDrag)
{
  makeRegion(dev(100, 100, 300, 200));
  click(96, 150);
  EXPECT_EQ(gCropRegion(), 0);
  EXPECT_EQ(h.log.count("FVPageViewDragOutNewRect"), 0u);
  // The next click drags out anew.
  clearLog();
  h.dragOutResults.push_back(dev(10, 10, 200, 200));
  click(10, 10);
  EXPECT_EQ(h.log.count("FVPageViewDragOutNewRect"), 1u);
  EXPECT_EQ(gCropRegion(), 1);
}

// Without a region the conversion of the stale region is still made.
TEST_F(ToolClick, StaleRegionConvertedEvenWithoutRegion)
{
  makeRegion(dev(100, 100, 300, 200));
  click(96, 150); // discard
  clearLog();
  click(150, 150);
  EXPECT_GE(h.log.indexOf("FVPageViewRectToDevice(view0, {100,692,300,592})"), 0) << dump();
  EXPECT_EQ(h.log.count("FVPageViewDragOutNewRect"), 1u);
}

// ---- activation ---------------------------------------------------------------------

TEST_F(ToolClick, ActivationTurnsMediaBoxOnThroughShowItem)
{
  h.setActiveTool(tool(), 1);
  Texts got = h.log.texts();
  ASSERT_GE(got.size(), 2u);
  EXPECT_EQ(got[0], "host.setActiveTool(tool0, 1)");
  EXPECT_EQ(got[1], "FVMenuItemExecute(item:QUIL:PSShowMediaBox)");
  EXPECT_EQ(gShowMediaBoxOn(), 1);
  EXPECT_EQ(h.itemNames("QUIL:Page Shear")[2], "QUIL:PSHideMediaBox");
}

TEST_F(ToolClick, ActivationWhileMediaBoxOnExecutesNothing)
{
  h.executeItem(h.menuItem("QUIL:PSShowMediaBox"));
  ASSERT_EQ(gShowMediaBoxOn(), 1);
  clearLog();
  h.setActiveTool(tool(), 1);
  EXPECT_EQ(h.log.texts(), (Texts{"host.setActiveTool(tool0, 1)"})) << dump();
}

TEST_F(ToolClick, ActivationIgnoresPersistentFlag)
{
  h.setActiveTool(tool(), 0);
  EXPECT_EQ(h.log.count("FVMenuItemExecute"), 1u);
  EXPECT_EQ(gShowMediaBoxOn(), 1);
}

TEST_F(ToolClick, ToolButtonActivatesToolAndShowsMediaBox)
{
  h.executeButton(h.button("QUIL:PageShear"));
  EXPECT_EQ(h.activeTool, tool());
  EXPECT_EQ(h.log.textsOf("FVMenuItemExecute"), (Texts{"FVMenuItemExecute(item:QUIL:PSShowMediaBox)"}));
  EXPECT_EQ(gShowMediaBoxOn(), 1);
}

TEST_F(ToolClick, RegionSurvivesSwitchToAnotherToolAndBack)
{
  h.setActiveTool(tool(), 1);
  makeRegion(dev(100, 100, 300, 200));
  static FVToolRec other{};
  other.size = sizeof(FVToolRec);
  h.setActiveTool(&other, 1);
  EXPECT_EQ(gCropRegion(), 1);
  EXPECT_TRUE(cropRegistered());
  clearLog();
  h.setActiveTool(tool(), 1);
  EXPECT_EQ(h.log.texts(), (Texts{"host.setActiveTool(tool0, 1)"})) << dump();
  EXPECT_EQ(gCropRegion(), 1);
  EXPECT_TRUE(cropRegistered());
  EXPECT_EQ(R(gfixRCropRegion()), "{100,692,300,592}");
}

} // namespace
} // namespace tooltest

namespace tooltest {
namespace {

// A host without an "Extensions" menu: the menus, the Show item and the two
// drawing callbacks are never made, so the tool passes null handles on.
class ToolWithoutMenus : public ToolTest {
protected:
  void SetUp() override
  {
    h.removeMenu("Extensions");
    prepare();
    ASSERT_EQ(init(), 1);
    h.addDocument(1);
    h.setActiveDocument(0);
    clearLog();
  }
};

TEST_F(ToolWithoutMenus, ActivationExecutesTheNullShowItem)
{
  h.setActiveTool(tool(), 1);
  EXPECT_EQ(h.log.texts(),
            (std::vector<std::string>{"host.setActiveTool(tool0, 1)", "FVMenuItemExecute(null)"}))
      << dump();
  EXPECT_EQ(gShowMediaBoxOn(), 0);
}

TEST_F(ToolWithoutMenus, DragOutRegistersTheNullCallback)
{
  h.dragOutResults.push_back(dev(100, 100, 300, 200));
  EXPECT_EQ(h.toolDoClick(tool(), h.pageView(0), 100, 100), 1);
  EXPECT_EQ(h.log.textsOf("FVAppRegisterForPageViewDrawing"),
            (std::vector<std::string>{"FVAppRegisterForPageViewDrawing(null, null)"}));
  EXPECT_EQ(gCropRegion(), 1);
  // A redraw calls nothing of the plug-in's.
  clearLog();
  h.redraw(h.pageView(0));
  EXPECT_EQ(h.log.texts(), (std::vector<std::string>{"host.redraw(view0)"}));
}

} // namespace
} // namespace tooltest
