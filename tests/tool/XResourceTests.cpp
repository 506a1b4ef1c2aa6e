// The tool's icon and cursors as X resources: their pixels read back from the
// server, the cursors' mask, colours and hot spot, and that cursor updates do
// not make new server resources.
#include "XToolTest.h"

#include <X11/Shell.h>
#include <X11/StringDefs.h>
#include <X11/extensions/XRes.h>
#include <X11/extensions/Xfixes.h>

#include <map>

namespace tooltest {
namespace {

using Rows = std::vector<std::string>;

class ToolXIcon : public XToolTest {};
class ToolXCursor : public XToolTest {
protected:
  // Makes both cursors once (no region: crop; inside a region: scissors).
  void warmUp()
  {
    h.toolAdjustCursor(tool(), view, 10, 10);
    makeRegion();
    h.toolAdjustCursor(tool(), view, 200, 150);
  }
};

// ---- the icon ------------------------------------------------------------------

TEST_F(ToolXIcon, ButtonIconIsDepthOnePixmapOfTheTableImage)
{
  testhost::ToolButton *b = h.button("QUIL:PageShear");
  ASSERT_NE(b, nullptr);
  ASSERT_NE(b->icon, nullptr);
  Pixmap icon = static_cast<Pixmap>(reinterpret_cast<uintptr_t>(b->icon));
  EXPECT_EQ(readBitmap(icon), cropImage());
}

TEST_F(ToolXIcon, ToolMenuItemCarriesTheSameIcon)
{
  testhost::MenuItem *it = h.menuItem("QUIL:PageShearSelTool");
  ASSERT_NE(it, nullptr);
  ASSERT_NE(it->icon, nullptr);
  // Made once per display, so the button and the item share the pixmap.
  EXPECT_EQ(it->icon, h.button("QUIL:PageShear")->icon);
  EXPECT_EQ(readBitmap(static_cast<Pixmap>(reinterpret_cast<uintptr_t>(it->icon))), cropImage());
}

TEST_F(ToolXIcon, IconMadeOnTheShellWidgetsDisplayAndWindow)
{
  // The shell is asked for twice at start-up (button and menu item) and the
  // answer is the realised shell of this display.
  EXPECT_EQ(h.shellWidget, static_cast<void *>(testhost::testShellWidget()));
  EXPECT_NE(XtWindow(testhost::testShellWidget()), 0u);
  EXPECT_NE(h.button("QUIL:PageShear")->icon, nullptr);
}

TEST_F(ToolXIcon, IconAndCropCursorShowTheSamePicture)
{
  h.toolAdjustCursor(tool(), view, 10, 10);
  ASSERT_EQ(pixmapCursorCalls().size(), 1u);
  Pixmap icon = static_cast<Pixmap>(reinterpret_cast<uintptr_t>(h.button("QUIL:PageShear")->icon));
  EXPECT_EQ(readBitmap(pixmapCursorCalls()[0].source), readBitmap(icon));
}

// ---- the cursors as made -----------------------------------------------------------

TEST_F(ToolXCursor, CropCursorSourceIsTheTableImage)
{
  h.toolAdjustCursor(tool(), view, 10, 10);
  ASSERT_EQ(pixmapCursorCalls().size(), 1u);
  EXPECT_EQ(readBitmap(pixmapCursorCalls()[0].source), cropImage());
}

TEST_F(ToolXCursor, ScissorCursorSourceIsTheTableImage)
{
  makeRegion();
  h.toolAdjustCursor(tool(), view, 200, 150);
  ASSERT_EQ(pixmapCursorCalls().size(), 1u);
  EXPECT_EQ(readBitmap(pixmapCursorCalls()[0].source), scissorImage());
}

TEST_F(ToolXCursor, BothCursorsUseImageAsOwnMaskHotSpotOneOne)
{
  warmUp();
  ASSERT_EQ(pixmapCursorCalls().size(), 2u);
  for (const PixmapCursorCall &c : pixmapCursorCalls()) {
    EXPECT_EQ(c.mask, c.source);
    EXPECT_EQ(c.x, 1u);
    EXPECT_EQ(c.y, 1u);
    EXPECT_EQ(c.display, dpy);
  }
}

// Red 255 of 65535, no green, no blue, for both colours: a nearly black red.
TEST_F(ToolXCursor, BothColoursAreRed255GreenZeroBlueZero)
{
  warmUp();
  ASSERT_EQ(pixmapCursorCalls().size(), 2u);
  for (const PixmapCursorCall &c : pixmapCursorCalls()) {
    EXPECT_EQ(c.fg.red, 255);
    EXPECT_EQ(c.fg.green, 0);
    EXPECT_EQ(c.fg.blue, 0);
    EXPECT_EQ(c.bg.red, 255);
    EXPECT_EQ(c.bg.green, 0);
    EXPECT_EQ(c.bg.blue, 0);
  }
}

TEST_F(ToolXCursor, CropImageTopLeftPixelIsDrawn)
{
  h.toolAdjustCursor(tool(), view, 10, 10);
  ASSERT_EQ(pixmapCursorCalls().size(), 1u);
  Rows rows = readBitmap(pixmapCursorCalls()[0].source);
  ASSERT_EQ(rows.size(), 16u);
  EXPECT_EQ(rows[0][0], '#');
  EXPECT_EQ(pixmapCursorCalls()[0].x, 1u); // one right of it
  EXPECT_EQ(pixmapCursorCalls()[0].y, 1u); // one below it
}

TEST_F(ToolXCursor, ScissorsHotSpotFallsOnEmptyPixel)
{
  makeRegion();
  h.toolAdjustCursor(tool(), view, 200, 150);
  ASSERT_EQ(pixmapCursorCalls().size(), 1u);
  const PixmapCursorCall &c = pixmapCursorCalls()[0];
  Rows rows = readBitmap(c.source);
  ASSERT_EQ(rows.size(), 16u);
  EXPECT_EQ(rows[c.y][c.x], '.');
}

// ---- the cursors as the server shows them -----------------------------------------

// Method: the cursor is defined on a mapped, override-redirect window that
// covers the screen, the pointer is warped into it, and XFixes reports the
// cursor the server is showing there: its size, hot spot and ARGB pixels. An
// image used as its own mask shows only its drawn pixels, so the alpha of
// each pixel must be opaque exactly where the table has a drawn pixel.
class ToolXServerCursor : public ToolXCursor {
protected:
  Window win = 0;

  void TearDown() override
  {
    if (win)
      XDestroyWindow(dpy, win);
    XSync(dpy, False);
  }

  XFixesCursorImage *shownImageOf(Cursor c)
  {
    int eventBase, errorBase;
    if (!XFixesQueryExtension(dpy, &eventBase, &errorBase))
      return nullptr;
    int screen = DefaultScreen(dpy);
    XSetWindowAttributes a{};
    a.override_redirect = True;
    a.background_pixel = WhitePixel(dpy, screen);
    win = XCreateWindow(dpy, RootWindow(dpy, screen), 0, 0, static_cast<unsigned>(DisplayWidth(dpy, screen)),
                        static_cast<unsigned>(DisplayHeight(dpy, screen)), 0, CopyFromParent, InputOutput,
                        CopyFromParent, CWOverrideRedirect | CWBackPixel, &a);
    XDefineCursor(dpy, win, c);
    XMapRaised(dpy, win);
    XSync(dpy, False);
    XWarpPointer(dpy, None, win, 0, 0, 0, 0, 200, 200);
    XSync(dpy, False);
    return XFixesGetCursorImage(dpy);
  }

  void expectShown(Cursor c, const Rows &want)
  {
    XFixesCursorImage *img = shownImageOf(c);
    ASSERT_NE(img, nullptr) << "no XFixes on this display";
    EXPECT_EQ(img->width, 16);
    EXPECT_EQ(img->height, 16);
    EXPECT_EQ(img->xhot, 1);
    EXPECT_EQ(img->yhot, 1);
    if (img->width == 16 && img->height == 16) {
      Rows shown;
      for (int r = 0; r < 16; ++r) {
        std::string row;
        for (int col = 0; col < 16; ++col) {
          unsigned long argb = img->pixels[r * 16 + col];
          unsigned alpha = static_cast<unsigned>((argb >> 24) & 0xff);
          row += alpha == 0xff ? '#' : alpha == 0 ? '.' : '?';
          // Drawn pixels in the foreground colour: red 255 of 65535 is 0 in
          // eight bits, so opaque black.
          if (alpha == 0xff) {
            EXPECT_EQ(argb & 0xffffffffUL, 0xff000000UL) << r << "," << col;
          }
        }
        shown.push_back(row);
      }
      EXPECT_EQ(shown, want);
    }
    XFree(img);
  }
};

TEST_F(ToolXServerCursor, CropCursorShownWithHotSpotOneOneAndOwnShapeAsMask)
{
  h.toolAdjustCursor(tool(), view, 10, 10);
  ASSERT_NE(currentCursor(), 0u);
  expectShown(currentCursor(), cropImage());
}

TEST_F(ToolXServerCursor, ScissorCursorShownWithHotSpotOneOneAndOwnShapeAsMask)
{
  makeRegion();
  h.toolAdjustCursor(tool(), view, 200, 150);
  ASSERT_NE(currentCursor(), 0u);
  expectShown(currentCursor(), scissorImage());
}

// ---- no new resources from cursor updates ------------------------------------------------

// The X-Resource extension counts the resources of one client by type; the
// client is ours, found by our shell's window.
std::map<std::string, unsigned> resourcesOfClient(Display *dpy, XID anyOfItsIds)
{
  std::map<std::string, unsigned> counts;
  int n = 0;
  XResType *types = nullptr;
  if (!XResQueryClientResources(dpy, anyOfItsIds, &n, &types))
    return counts;
  for (int i = 0; i < n; ++i) {
    char *name = XGetAtomName(dpy, types[i].resource_type);
    counts[name ? name : "?"] = types[i].count;
    if (name)
      XFree(name);
  }
  XFree(types);
  return counts;
}

TEST_F(ToolXCursor, TenThousandCursorUpdatesCreateNoNewXResources)
{
  int eventBase, errorBase;
  ASSERT_TRUE(XResQueryExtension(dpy, &eventBase, &errorBase)) << "no X-Resource extension";
  XID client = XtWindow(testhost::testShellWidget());
  warmUp();
  h.toolAdjustCursor(tool(), view, 103, 97); // the handle cursor (the host's)
  XSync(dpy, False);
  std::map<std::string, unsigned> before = resourcesOfClient(dpy, client);
  ASSERT_FALSE(before.empty());
  ASSERT_GT(before["CURSOR"], 0u);
  ASSERT_GT(before["PIXMAP"], 0u);

  // Crop cursor outside, scissors inside, the host's cursor on a handle.
  clearLog();
  const int points[][2] = {{10, 10}, {200, 150}, {103, 97}, {350, 150}, {300, 200}, {150, 100}};
  for (int i = 0; i < 10000; ++i)
    EXPECT_EQ(h.toolAdjustCursor(tool(), view, static_cast<FSInt16>(points[i % 6][0]),
                                 static_cast<FSInt16>(points[i % 6][1])),
              1);
  XSync(dpy, False);
  std::map<std::string, unsigned> after = resourcesOfClient(dpy, client);
  EXPECT_EQ(after, before);
  EXPECT_EQ(pixmapCursorCalls().size(), 2u);
  EXPECT_EQ(h.log.count("FVSysSetCursor"), 10000u);
}

// The first updates make two pixmaps and two cursors; nothing else is made.
TEST_F(ToolXCursor, FirstUpdatesMakeTwoPixmapsAndTwoCursorsOnce)
{
  int eventBase, errorBase;
  ASSERT_TRUE(XResQueryExtension(dpy, &eventBase, &errorBase)) << "no X-Resource extension";
  XID client = XtWindow(testhost::testShellWidget());
  XSync(dpy, False);
  std::map<std::string, unsigned> before = resourcesOfClient(dpy, client);
  warmUp();
  for (int i = 0; i < 100; ++i) {
    h.toolAdjustCursor(tool(), view, 10, 10);
    h.toolAdjustCursor(tool(), view, 200, 150);
  }
  XSync(dpy, False);
  std::map<std::string, unsigned> after = resourcesOfClient(dpy, client);
  EXPECT_EQ(after["PIXMAP"], before["PIXMAP"] + 2);
  EXPECT_EQ(after["CURSOR"], before["CURSOR"] + 2);
  std::map<std::string, unsigned> rest = after, restBefore = before;
  rest.erase("PIXMAP");
  rest.erase("CURSOR");
  restBefore.erase("PIXMAP");
  restBefore.erase("CURSOR");
  EXPECT_EQ(rest, restBefore);
}

// A second connection to the same server with a realised shell of its own.
struct ExtraDisplay {
  XtAppContext app = nullptr;
  Display *display = nullptr;
  Widget shell = nullptr;
  explicit ExtraDisplay(const std::string &name)
  {
    app = XtCreateApplicationContext();
    int argc = 0;
    display = XtOpenDisplay(app, name.c_str(), "pgsheartest2", "PgShearTest2", nullptr, 0, &argc, nullptr);
    if (!display)
      return;
    shell = XtVaAppCreateShell("pgsheartest2", "PgShearTest2", applicationShellWidgetClass, display, XtNwidth,
                               8, XtNheight, 8, XtNmappedWhenManaged, False, static_cast<void *>(nullptr));
    XtRealizeWidget(shell);
  }
  void close()
  {
    if (shell)
      XtDestroyWidget(shell);
    if (display)
      XtCloseDisplay(display);
    if (app)
      XtDestroyApplicationContext(app);
    shell = nullptr;
    display = nullptr;
    app = nullptr;
  }
  ~ExtraDisplay() { close(); }
};

// Cursors are made once per display; a display that is closed is forgotten,
// so the next display (often at the very same address) gets its own.
TEST_F(ToolXCursor, ClosedDisplayIsForgottenAndNextDisplayGetsOwnCursor)
{
  const std::string name = testhost::testXDisplay().name;
  {
    ExtraDisplay first(name);
    ASSERT_NE(first.display, nullptr);
    h.setShellWidget(first.shell);
    h.toolAdjustCursor(tool(), view, 10, 10);
    h.toolAdjustCursor(tool(), view, 10, 10);
    ASSERT_EQ(pixmapCursorCalls().size(), 1u);
    EXPECT_EQ(pixmapCursorCalls()[0].display, first.display);
    first.close();
  }
  ExtraDisplay second(name);
  ASSERT_NE(second.display, nullptr);
  h.setShellWidget(second.shell);
  h.toolAdjustCursor(tool(), view, 10, 10);
  ASSERT_EQ(pixmapCursorCalls().size(), 2u);
  EXPECT_EQ(pixmapCursorCalls()[1].display, second.display);
  EXPECT_EQ(currentCursor(), pixmapCursorCalls()[1].result);
  // The new cursor is a live resource of the new connection.
  XSync(second.display, False);
  h.toolAdjustCursor(tool(), view, 10, 10);
  EXPECT_EQ(pixmapCursorCalls().size(), 2u);
}

TEST_F(ToolXCursor, SameCursorHandedOutOnEveryUpdate)
{
  h.toolAdjustCursor(tool(), view, 10, 10);
  Cursor first = currentCursor();
  h.toolAdjustCursor(tool(), view, 20, 20);
  EXPECT_EQ(currentCursor(), first);
  EXPECT_NE(first, 0u);
}

} // namespace
} // namespace tooltest
