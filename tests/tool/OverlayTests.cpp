// The page-view overlays: the red media-box outline with its Show and Hide
// commands, and the crop region with its four handles, carried from page to
// page.
//
// Device space of the test host: the page's media box turned clockwise by
// its rotation about its top-left corner, times the zoom, plus the offset.
// At zoom 1 and no offset a letter page {0,792,612,0} of rotation 0 maps
// page (x, y) to device (x, 792 - y).
#include "ToolTestSupport.h"

namespace tooltest {
namespace {

using Texts = std::vector<std::string>;

const char kRed[] = "rgb(1,0,0)";

class ToolOverlay : public ToolTest {
protected:
  FVPageView view = nullptr;
  std::string media; // log name of the media-box drawing callback
  std::string crop;  // log name of the crop-region drawing callback

  void SetUp() override
  {
    startUp();
    h.addDocument(1);
    h.setActiveDocument(0);
    view = h.pageView(0);
    media = h.nameOfCallback(pageViewDidChange());
    crop = h.nameOfCallback(cropViewDidChange());
    clearLog();
  }

  void show() { h.executeItem(h.menuItem("QUIL:PSShowMediaBox")); }
  void hide() { h.executeItem(h.menuItem("QUIL:PSHideMediaBox")); }

  // The media-box draw on view0 of a page named `page` whose media box is
  // `box` and shows as device rectangle `device`; the view's colour was
  // `old` before.
  static Texts mediaBoxDraw(const std::string &viewName, const std::string &page, const std::string &box,
                            const std::string &device, const std::string &old)
  {
    return {"FVPageViewGetColor(" + viewName + ")",
            "FVPageViewSetColor(" + viewName + ", " + kRed + ")",
            "FVPageViewGetPage(" + viewName + ")",
            "PDPageGetMediaBox(" + page + ")",
            "FVPageViewRectToDevice(" + viewName + ", " + box + ")",
            "FVPageViewDrawRectOutline(" + viewName + ", " + device + ", 1, null, 0)",
            "FVPageViewDrawNow(" + viewName + ")",
            "FVPageViewSetColor(" + viewName + ", " + old + ")"};
  }

  Texts swap(const std::string &out, const std::string &in) const
  {
    return {"FVAppGetMenubar()",
            "FVMenubarAcquireMenuByName(menubar, \"QUIL:Page Shear\")",
            "FVMenuItemAcquire(item:" + out + ")",
            "FVMenuItemRemove(item:" + out + ")",
            "FVMenuAddMenuItem(menu:QUIL:Page Shear, item:" + in + ", 2)",
            "FVMenuRelease(menu:QUIL:Page Shear)"};
  }

  static Texts concat(Texts a, const Texts &b)
  {
    a.insert(a.end(), b.begin(), b.end());
    return a;
  }

  size_t registrations(FSCallback cb) const
  {
    size_t n = 0;
    for (const testhost::DrawingRegistration &r : h.drawingCallbacks())
      n += r.callback == cb;
    return n;
  }

  // Draws out a region on `v` by a click answered with device rectangle `r`.
  void makeRegion(FVPageView v, FVRect r)
  {
    h.dragOutResults.push_back(r);
    ASSERT_EQ(h.toolDoClick(tool(), v, r.left, r.top), 1);
    ASSERT_EQ(gCropRegion(), 1);
    clearLog();
  }

  // Outlines drawn on a view since `from`.
  static std::vector<testhost::Outline> outlinesSince(const testhost::PageView &v, size_t from)
  {
    return std::vector<testhost::Outline>(v.outlines.begin() + static_cast<long>(from), v.outlines.end());
  }
};

PDColorValueRec cmyk(double c, double m, double y, double k)
{
  PDColorValueRec v{};
  v.space = PDDeviceCMYK;
  v.value[0] = static_cast<Fixed>(c * 65536);
  v.value[1] = static_cast<Fixed>(m * 65536);
  v.value[2] = static_cast<Fixed>(y * 65536);
  v.value[3] = static_cast<Fixed>(k * 65536);
  return v;
}

// ---- media box: the drawing callback ---------------------------------------------

TEST_F(ToolOverlay, MediaBoxRedrawDrawsRedOutlineThenRestoresColour)
{
  show();
  clearLog();
  h.redraw(view);
  EXPECT_EQ(h.log.texts(), concat({"host.redraw(view0)"}, mediaBoxDraw("view0", "page0", "{0,792,612,0}",
                                                                       "{0,0,612,792}", "gray(0)")))
      << dump();
}

TEST_F(ToolOverlay, MediaBoxRedrawLeavesViewColourAsBefore)
{
  show();
  testhost::PageView &v = h.document(0).view;
  v.colour = cmyk(0.25, 0.5, 0.75, 1);
  size_t from = v.outlines.size();
  h.redraw(view);
  EXPECT_EQ(testhost::colour(v.colour), "cmyk(0.25,0.5,0.75,1)");
  std::vector<testhost::Outline> drawn = outlinesSince(v, from);
  ASSERT_EQ(drawn.size(), 1u);
  EXPECT_EQ(testhost::colour(drawn[0].colour), kRed);
  EXPECT_EQ(drawn[0].colour.space, PDDeviceRGB);
  EXPECT_EQ(drawn[0].colour.value[0], 0x00010000);
  EXPECT_EQ(drawn[0].colour.value[1], 0);
  EXPECT_EQ(drawn[0].colour.value[2], 0);
  EXPECT_EQ(drawn[0].lineWidth, 1);
  EXPECT_TRUE(drawn[0].dashArrayNull);
  EXPECT_EQ(drawn[0].dashCount, 0);
  // The colour is put back after the flush, not before.
  long flush = h.log.lastIndexOf("FVPageViewDrawNow(view0)");
  long restore = h.log.lastIndexOf("FVPageViewSetColor(view0, cmyk(0.25,0.5,0.75,1))");
  EXPECT_EQ(restore, flush + 1) << dump();
}

TEST_F(ToolOverlay, MediaBoxOutlineFollowsRotationOfShownPage)
{
  h.page(0, 0).rotate = 90;
  show();
  clearLog();
  h.redraw(view);
  // A quarter turn: the letter page lies 792 wide and 612 high.
  EXPECT_GE(h.log.indexOf("FVPageViewDrawRectOutline(view0, {0,0,792,612}, 1, null, 0)"), 0) << dump();
}

TEST_F(ToolOverlay, MediaBoxCallbackDrawsWithoutLookingAtTheFlag)
{
  ASSERT_EQ(gShowMediaBoxOn(), 0);
  auto proc = reinterpret_cast<FVPageViewDrawProc>(testhost::TestHost::callbackTarget(pageViewDidChange()));
  ASSERT_NE(proc, nullptr);
  FVRect update{0, 0, 10, 10};
  proc(view, &update, nullptr);
  EXPECT_EQ(h.log.texts(), mediaBoxDraw("view0", "page0", "{0,792,612,0}", "{0,0,612,792}", "gray(0)"))
      << dump();
}

// ---- media box: Show and Hide ---------------------------------------------------------

TEST_F(ToolOverlay, ShowOnViewDrawsImmediatelyThenSwapsThenRegisters)
{
  show();
  EXPECT_EQ(h.log.texts(),
            concat(concat({"host.execute(item:QUIL:PSShowMediaBox)", "FVAppGetActiveDoc()",
                           "FVDocGetPageView(fvdoc0)"},
                          mediaBoxDraw("view0", "page0", "{0,792,612,0}", "{0,0,612,792}", "gray(0)")),
                   concat(swap("QUIL:PSShowMediaBox", "QUIL:PSHideMediaBox"),
                          {"FVAppRegisterForPageViewDrawing(" + media + ", null)"})))
      << dump();
  EXPECT_EQ(gShowMediaBoxOn(), 1);
  ASSERT_EQ(h.document(0).view.outlines.size(), 1u);
  EXPECT_EQ(R(h.document(0).view.outlines[0].rect), "{0,0,612,792}");
  ASSERT_EQ(h.drawingCallbacks().size(), 1u);
  EXPECT_EQ(h.drawingCallbacks()[0].callback, pageViewDidChange());
  EXPECT_EQ(h.drawingCallbacks()[0].data, nullptr);
}

TEST_F(ToolOverlay, ShowLeavesViewColourAsBefore)
{
  testhost::PageView &v = h.document(0).view;
  v.colour = cmyk(0, 0.5, 0, 0.125);
  show();
  EXPECT_EQ(testhost::colour(v.colour), "cmyk(0,0.5,0,0.125)");
  ASSERT_EQ(v.outlines.size(), 1u);
  EXPECT_EQ(testhost::colour(v.outlines[0].colour), kRed);
}

TEST_F(ToolOverlay, ShowWithoutDocumentSwapsMenuAndRegisters)
{
  h.setActiveDocument(-1);
  show();
  EXPECT_EQ(h.log.texts(), concat(concat({"host.execute(item:QUIL:PSShowMediaBox)", "FVAppGetActiveDoc()"},
                                         swap("QUIL:PSShowMediaBox", "QUIL:PSHideMediaBox")),
                                  {"FVAppRegisterForPageViewDrawing(" + media + ", null)"}))
      << dump();
  EXPECT_EQ(gShowMediaBoxOn(), 1);
  EXPECT_EQ(h.itemTitles("QUIL:Page Shear"),
            (Texts{"&Crop Page(s) to Bounding Box", "&Reset Page(s) to Media Box", "H&ide Media Box"}));
  EXPECT_EQ(registrations(pageViewDidChange()), 1u);
}

TEST_F(ToolOverlay, ShowWithoutDocumentOutlinesAtFirstRedrawOfDocumentOpenedLater)
{
  h.setActiveDocument(-1);
  show();
  int k = h.addDocument(1);
  h.setActiveDocument(k);
  h.page(k, 0).mediaBox = pts(0, 842, 595, 0);
  testhost::PageView &v = h.document(k).view;
  EXPECT_TRUE(v.outlines.empty());
  h.redraw(h.pageView(k));
  ASSERT_EQ(v.outlines.size(), 1u);
  EXPECT_EQ(R(v.outlines[0].rect), "{0,0,595,842}");
  EXPECT_EQ(testhost::colour(v.outlines[0].colour), kRed);
}

TEST_F(ToolOverlay, HideErasesExactDeviceRectOfShownMediaBox)
{
  testhost::PageView &v = h.document(0).view;
  v.zoom = 0.5;
  v.offsetX = 10;
  v.offsetY = 20;
  show();
  clearLog();
  hide();
  // {0,792,612,0} at half size from (10, 20): {10,20,10+306,20+396}.
  EXPECT_EQ(h.log.texts(),
            concat({"host.execute(item:QUIL:PSHideMediaBox)", "FVAppGetActiveDoc()",
                    "FVAppUnregisterForPageViewDrawing(" + media + ")", "FVDocGetPageView(fvdoc0)",
                    "FVPageViewGetPage(view0)", "PDPageGetMediaBox(page0)",
                    "FVPageViewRectToDevice(view0, {0,792,612,0})",
                    "FVPageViewInvalidateRect(view0, {10,20,316,416})", "FVPageViewDrawNow(view0)"},
                   swap("QUIL:PSHideMediaBox", "QUIL:PSShowMediaBox")))
      << dump();
  EXPECT_EQ(gShowMediaBoxOn(), 0);
  EXPECT_EQ(registrations(pageViewDidChange()), 0u);
}

TEST_F(ToolOverlay, HideWithoutDocumentUnregistersAndSwaps)
{
  show();
  h.setActiveDocument(-1);
  clearLog();
  hide();
  EXPECT_EQ(h.log.texts(), concat({"host.execute(item:QUIL:PSHideMediaBox)", "FVAppGetActiveDoc()",
                                   "FVAppUnregisterForPageViewDrawing(" + media + ")"},
                                  swap("QUIL:PSHideMediaBox", "QUIL:PSShowMediaBox")))
      << dump();
  EXPECT_EQ(gShowMediaBoxOn(), 0);
}

TEST_F(ToolOverlay, HideClearsFlagAfterUnregistering)
{
  show();
  clearLog();
  hide();
  EXPECT_EQ(h.log.indexOf("FVAppGetActiveDoc"), 1);
  EXPECT_EQ(h.log.indexOf("FVAppUnregisterForPageViewDrawing"), 2);
  EXPECT_EQ(gShowMediaBoxOn(), 0);
}

TEST_F(ToolOverlay, AfterHideOtherViewsLoseOutlineAtNextRedraw)
{
  int k = h.addDocument(1);
  show();
  testhost::PageView &other = h.document(k).view;
  h.redraw(h.pageView(k));
  ASSERT_EQ(other.outlines.size(), 1u);
  hide(); // the active document is doc 0
  EXPECT_EQ(other.invalidated.size(), 0u);
  h.redraw(h.pageView(k));
  EXPECT_EQ(other.outlines.size(), 1u);
}

TEST_F(ToolOverlay, ShowHideShowSwapsItemsAtIndexTwo)
{
  const Texts withShow{"&Crop Page(s) to Bounding Box", "&Reset Page(s) to Media Box", "S&how Media Box"};
  const Texts withHide{"&Crop Page(s) to Bounding Box", "&Reset Page(s) to Media Box", "H&ide Media Box"};
  ASSERT_EQ(h.itemTitles("QUIL:Page Shear"), withShow);
  show();
  EXPECT_EQ(h.itemTitles("QUIL:Page Shear"), withHide);
  EXPECT_EQ(h.menuItem("QUIL:PSShowMediaBox")->parent, nullptr);
  hide();
  EXPECT_EQ(h.itemTitles("QUIL:Page Shear"), withShow);
  EXPECT_EQ(h.menuItem("QUIL:PSHideMediaBox")->parent, nullptr);
  show();
  EXPECT_EQ(h.itemTitles("QUIL:Page Shear"), withHide);
  // The item taken out is acquired each time and never released.
  testhost::MenuItem *s = h.menuItem("QUIL:PSShowMediaBox");
  testhost::MenuItem *d = h.menuItem("QUIL:PSHideMediaBox");
  EXPECT_EQ(s->acquires, 2);
  EXPECT_EQ(s->releases, 0);
  EXPECT_EQ(d->acquires, 1);
  EXPECT_EQ(d->releases, 0);
  // Each swap acquires the submenu by name and releases it (start-up
  // released it once more after making it).
  testhost::Menu *m = h.menu("QUIL:Page Shear");
  EXPECT_EQ(m->acquires, 3);
  EXPECT_EQ(m->releases, 4);
  EXPECT_EQ(h.log.count("FVMenuItemRelease"), 0u);
  EXPECT_EQ(registrations(pageViewDidChange()), 1u);
  EXPECT_EQ(gShowMediaBoxOn(), 1);
}

// ---- the crop region ----------------------------------------------------------------

TEST_F(ToolOverlay, CropOverlayCallSequence)
{
  makeRegion(view, dev(100, 100, 300, 200));
  h.redraw(view);
  // Same page, same rotation: the region comes back unchanged; the half
  // extents of both media boxes go through the host's division.
  EXPECT_EQ(
      h.log.texts(),
      (Texts{"host.redraw(view0)", "FVPageViewGetPage(view0)", "PDPageGetMediaBox(page0)",
             "PDPageGetRotate(page0)", "FixedDiv(612, 2)", "FixedDiv(792, 2)", "FixedDiv(612, 2)",
             "FixedDiv(792, 2)", "PDPageGetRotate(page0)", "PDPageGetMediaBox(page0)",
             "FVPageViewRectToDevice(view0, {100,692,300,592})",
             "FVPageViewDrawRectOutline(view0, {100,100,300,200}, 1, null, 0)",
             "FVPageViewDrawRectOutline(view0, {97,97,103,103}, 1, null, 0)",
             "FVPageViewDrawRectOutline(view0, {297,97,303,103}, 1, null, 0)",
             "FVPageViewDrawRectOutline(view0, {297,197,303,203}, 1, null, 0)",
             "FVPageViewDrawRectOutline(view0, {97,197,103,203}, 1, null, 0)", "FVPageViewDrawNow(view0)"}))
      << dump();
}

TEST_F(ToolOverlay, CropOverlayDrawsExactlyFiveOutlinesOfWidthOne)
{
  makeRegion(view, dev(40, 50, 240, 350));
  testhost::PageView &v = h.document(0).view;
  size_t from = v.outlines.size();
  h.redraw(view);
  std::vector<testhost::Outline> drawn = outlinesSince(v, from);
  ASSERT_EQ(drawn.size(), 5u);
  const char *want[] = {"{40,50,240,350}", "{37,47,43,53}", "{237,47,243,53}", "{237,347,243,353}",
                        "{37,347,43,353}"};
  for (size_t i = 0; i < 5; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(R(drawn[i].rect), want[i]);
    EXPECT_EQ(drawn[i].lineWidth, 1);
    EXPECT_TRUE(drawn[i].dashArrayNull);
    EXPECT_EQ(drawn[i].dashCount, 0);
  }
}

TEST_F(ToolOverlay, CropOverlayDrawsInViewsCurrentColourWithoutSettingIt)
{
  makeRegion(view, dev(100, 100, 300, 200));
  testhost::PageView &v = h.document(0).view;
  v.colour = cmyk(1, 0, 0, 0);
  size_t from = v.outlines.size();
  h.redraw(view);
  EXPECT_EQ(h.log.count("FVPageViewGetColor"), 0u);
  EXPECT_EQ(h.log.count("FVPageViewSetColor"), 0u);
  for (const testhost::Outline &o : outlinesSince(v, from))
    EXPECT_EQ(testhost::colour(o.colour), "cmyk(1,0,0,0)");
}

TEST_F(ToolOverlay, CropOverlayIgnoresUpdateRect)
{
  makeRegion(view, dev(100, 100, 300, 200));
  testhost::PageView &v = h.document(0).view;
  size_t from = v.outlines.size();
  FVRect tiny{0, 0, 1, 1};
  h.redraw(view, &tiny);
  EXPECT_EQ(outlinesSince(v, from).size(), 5u);
}

TEST_F(ToolOverlay, RepeatedRedrawsOfOnePageLeaveRegionUnchanged)
{
  makeRegion(view, dev(100, 100, 300, 200));
  for (int i = 0; i < 3; ++i) {
    h.redraw(view);
    EXPECT_EQ(R(gfixRCropRegion()), "{100,692,300,592}") << i;
    EXPECT_EQ(gOrigPageRot(), 0);
    EXPECT_EQ(R(gfixROrigMedBox()), "{0,792,612,0}");
  }
  testhost::PageView &v = h.document(0).view;
  ASSERT_EQ(v.outlines.size(), 15u);
  EXPECT_EQ(R(v.outlines[0].rect), "{100,100,300,200}");
  EXPECT_EQ(R(v.outlines[5].rect), "{100,100,300,200}");
  EXPECT_EQ(R(v.outlines[10].rect), "{100,100,300,200}");
}

TEST_F(ToolOverlay, CropOverlayAndMediaBoxDrawTogether)
{
  show();
  makeRegion(view, dev(100, 100, 300, 200));
  testhost::PageView &v = h.document(0).view;
  size_t from = v.outlines.size();
  h.redraw(view);
  std::vector<testhost::Outline> drawn = outlinesSince(v, from);
  ASSERT_EQ(drawn.size(), 6u);
  EXPECT_EQ(R(drawn[0].rect), "{0,0,612,792}"); // registered first
  EXPECT_EQ(testhost::colour(drawn[0].colour), kRed);
  EXPECT_EQ(R(drawn[1].rect), "{100,100,300,200}");
  EXPECT_EQ(testhost::colour(drawn[1].colour), "gray(0)");
}

// A letter page at rotation 0 with the region {100,692,300,592} (200 x 100
// points), carried to pages of other rotations and sizes. Each step below is
// worked out by hand from the half extents (h, v) of the two media boxes and
// the offsets d = (h, v) - edges of the region:
class ToolCarry : public ToolOverlay {
protected:
  int k = -1;
  void SetUp() override
  {
    ToolOverlay::SetUp();
    k = h.addDocument(6);
    h.page(k, 1).rotate = 90;
    h.page(k, 2).rotate = 180;
    h.page(k, 2).mediaBox = pts(0, 842, 595, 0);     // A4: half extents (297.5, 421)
    h.page(k, 3).mediaBox = pts(100, 900, 712, 108); // letter size, off the origin
    h.page(k, 4).rotate = 270;
    h.page(k, 5).mediaBox = pts(0, 842, 595, 0);
    makeRegion(h.pageView(k), dev(100, 100, 300, 200));
  }
  // Shows page `n` in the document's view and redraws it.
  void redrawPage(int n)
  {
    h.document(k).view.pageNum = n;
    h.redraw(h.pageView(k));
  }
  std::string lastRegionOutline()
  {
    const testhost::PageView &v = h.document(k).view;
    return v.outlines.size() < 5 ? "" : R(v.outlines[v.outlines.size() - 5].rect);
  }
};

TEST_F(ToolCarry, DragOutRecordsLetterPageAtRotationZero)
{
  EXPECT_EQ(R(gfixRCropRegion()), "{100,692,300,592}");
  EXPECT_EQ(gOrigPageRot(), 0);
  EXPECT_EQ(R(gfixROrigMedBox()), "{0,792,612,0}");
}

// 0 -> 90: d = (206, -296, 6, -196) about (306, 396); a quarter turn gives
// left 306 - 296 = 10, top 396 - 6 = 390, right 306 - 196 = 110,
// bottom 396 - 206 = 190.
TEST_F(ToolCarry, QuarterTurnPageReexpressesRegion)
{
  redrawPage(1);
  EXPECT_EQ(R(gfixRCropRegion()), "{10,390,110,190}");
  EXPECT_EQ(gOrigPageRot(), 90);
  EXPECT_EQ(R(gfixROrigMedBox()), "{0,792,612,0}");
  // On the turned page device (x, y) <- page: (y, x) for a letter page.
  EXPECT_EQ(lastRegionOutline(), "{190,10,390,110}");
}

// 0 -> 90 -> 0: back from 90 to 0 the three-quarter case restores the region.
TEST_F(ToolCarry, QuarterTurnAndBackRestoresRegion)
{
  redrawPage(1);
  redrawPage(0);
  EXPECT_EQ(R(gfixRCropRegion()), "{100,692,300,592}");
  EXPECT_EQ(gOrigPageRot(), 0);
  EXPECT_EQ(lastRegionOutline(), "{100,100,300,200}");
}

// 0 -> 90 -> 180 (A4): from {10,390,110,190} about (306, 396),
// d = (296, 6, 196, 206); a quarter turn about (297.5, 421) gives
// left 297.5 + 6, top 421 - 196, right 297.5 + 206, bottom 421 - 296.
TEST_F(ToolCarry, HalfTurnA4PageAfterQuarterTurn)
{
  redrawPage(1);
  redrawPage(2);
  EXPECT_EQ(R(gfixRCropRegion()), "{303.5,225,503.5,125}");
  EXPECT_EQ(gOrigPageRot(), 180);
  EXPECT_EQ(R(gfixROrigMedBox()), "{0,842,595,0}");
}

// ... -> 0 on a letter-sized box off the origin: from 180 the half-turn case;
// d = (-6, 196, -206, 296) about (297.5, 421) gives, about the half extents
// (306, 396) (not the box's centre), left 306 - 206, top 396 + 296,
// right 306 - 6, bottom 396 + 196.
TEST_F(ToolCarry, BackToRotationZeroOnBoxOffOrigin)
{
  redrawPage(1);
  redrawPage(2);
  redrawPage(3);
  EXPECT_EQ(R(gfixRCropRegion()), "{100,692,300,592}");
  EXPECT_EQ(gOrigPageRot(), 0);
  EXPECT_EQ(R(gfixROrigMedBox()), "{100,900,712,108}");
  // Device of that page: x - 100, 900 - y.
  EXPECT_EQ(lastRegionOutline(), "{0,208,200,308}");
}

// 0 -> 270: no case matches that pair: the all-zero rectangle.
TEST_F(ToolCarry, ThreeQuarterTurnPageGivesZeroRegion)
{
  redrawPage(4);
  EXPECT_EQ(R(gfixRCropRegion()), "{0,0,0,0}");
  EXPECT_EQ(gOrigPageRot(), 270);
  EXPECT_EQ(R(gfixROrigMedBox()), "{0,792,612,0}");
}

// 0 -> 270 -> 0: from 270 to 0 is the quarter-turn case on the zero region:
// d = (306, 396, 306, 396), so left = right = 306 + 396 and
// top = bottom = 396 - 306.
TEST_F(ToolCarry, BackFromThreeQuarterTurnKeepsDegenerateRegion)
{
  redrawPage(4);
  redrawPage(0);
  EXPECT_EQ(R(gfixRCropRegion()), "{702,90,702,90}");
  EXPECT_EQ(gOrigPageRot(), 0);
}

// 0 -> 0 on A4: same rotation, other size: the offsets from the half extents
// are kept: left 297.5 - 206, top 421 + 296, right 297.5 - 6, bottom 421 + 196.
TEST_F(ToolCarry, SameRotationOtherSizeKeepsOffsets)
{
  redrawPage(5);
  EXPECT_EQ(R(gfixRCropRegion()), "{91.5,717,291.5,617}");
  EXPECT_EQ(R(gfixROrigMedBox()), "{0,842,595,0}");
  redrawPage(0);
  EXPECT_EQ(R(gfixRCropRegion()), "{100,692,300,592}");
}

TEST_F(ToolCarry, EachRedrawReadsRotationAndMediaBoxTwice)
{
  redrawPage(1);
  EXPECT_EQ(h.log.textsOf("PDPageGetRotate"),
            (Texts{"PDPageGetRotate(doc1.page1)", "PDPageGetRotate(doc1.page1)"}));
  EXPECT_EQ(h.log.textsOf("PDPageGetMediaBox"),
            (Texts{"PDPageGetMediaBox(doc1.page1)", "PDPageGetMediaBox(doc1.page1)"}));
}

} // namespace
} // namespace tooltest
