// XToolTest.h: the fixture of the tests that need a real X server: the test
// host's "Unix" table hands out a realised shell widget on the test process's
// display (DISPLAY, or a private Xvfb), so the plug-in's icon and cursors are
// real X resources that the tests read back.
#pragma once

// gtest first: Xlib's macros (None, Bool, ...) must not precede it.
#include "ToolTestSupport.h"

#include <X11/Xlib.h>

#include <string>
#include <vector>

#include "XCursorRecorder.h"
#include "XDisplay.h"

namespace tooltest {

// The three images as drawn ('#' a set pixel), row by row, from the table of
// the tool's bitmaps: the picture columns, not the bytes.
inline const std::vector<std::string> &cropImage()
{
  static const std::vector<std::string> rows{
      "#..........##...", ".#.........##...", "..#........##...", "...#############",
      "...#############", "...###.....##...", "...##.#....##...", "...##..#...##...",
      "...##...#..##...", "...##....#.##...", "...##.....###...", "#############...",
      "#############...", "...##...........", "...##...........", "...##..........."};
  return rows;
}

inline const std::vector<std::string> &scissorImage()
{
  static const std::vector<std::string> rows{
      "................", "................", "............##..", "...........#..#.",
      ".###.......#..#.", "...###....####..", ".....###.##.....", ".......###......",
      ".....###.##.....", "...###....####..", ".###.......#..#.", "...........#..#.",
      "............##..", "................", "................", "................"};
  return rows;
}

class XToolTest : public ToolTest {
protected:
  Display *dpy = nullptr;
  FVPageView view = nullptr;

  void SetUp() override
  {
    const testhost::XDisplayInfo &x = testhost::testXDisplay();
    ASSERT_NE(x.display, nullptr) << x.error;
    dpy = x.display;
    ASSERT_TRUE(testhost::attachTestXDisplay(h));
    pixmapCursorCalls().clear();
    startUp();
    h.addDocument(1);
    h.setActiveDocument(0);
    view = h.pageView(0);
    clearLog();
  }

  // A depth-1 drawable read back as rows of '#' and '.'; "" rows when the
  // drawable is not 16 x 16 of depth 1.
  std::vector<std::string> readBitmap(Drawable d)
  {
    Window root;
    int x, y;
    unsigned int w = 0, hgt = 0, border, depth = 0;
    if (!XGetGeometry(dpy, d, &root, &x, &y, &w, &hgt, &border, &depth) || w != 16 || hgt != 16 || depth != 1)
      return {"size " + std::to_string(w) + "x" + std::to_string(hgt) + " depth " + std::to_string(depth)};
    XImage *img = XGetImage(dpy, d, 0, 0, 16, 16, 1, XYPixmap);
    if (!img)
      return {"no image"};
    std::vector<std::string> rows;
    for (int r = 0; r < 16; ++r) {
      std::string row;
      for (int c = 0; c < 16; ++c)
        row += XGetPixel(img, c, r) ? '#' : '.';
      rows.push_back(row);
    }
    XDestroyImage(img);
    return rows;
  }

  // Draws out the region (100,100)-(300,200) on view0.
  void makeRegion()
  {
    h.dragOutResults.push_back(dev(100, 100, 300, 200));
    ASSERT_EQ(h.toolDoClick(tool(), view, 100, 100), 1);
    ASSERT_EQ(gCropRegion(), 1);
    clearLog();
  }

  // The X cursor the last cursor update set.
  Cursor currentCursor() const { return static_cast<Cursor>(reinterpret_cast<uintptr_t>(h.currentCursor)); }

  // The recorded creation of a cursor, or null.
  const PixmapCursorCall *creationOf(Cursor c) const
  {
    for (const PixmapCursorCall &call : pixmapCursorCalls())
      if (call.result == c)
        return &call;
    return nullptr;
  }

  // "crop", "scissors" or what else the cursor's source image is.
  std::string kindOf(Cursor c)
  {
    const PixmapCursorCall *call = creationOf(c);
    if (!call)
      return "not made by XCreatePixmapCursor";
    std::vector<std::string> rows = readBitmap(call->source);
    if (rows == cropImage())
      return "crop";
    if (rows == scissorImage())
      return "scissors";
    return "other image";
  }

  // The log name of a cursor handle.
  static std::string handleName(Cursor c)
  {
    char buf[32];
    std::snprintf(buf, sizeof buf, "0x%lx", static_cast<unsigned long>(c));
    return buf;
  }
};

} // namespace tooltest
