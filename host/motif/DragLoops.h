// DragLoops.h: the pointer loops that draw a rectangle while the user drags.
//
// A loop starts inside a button-press handler, grabs the pointer, follows it
// until the button is released and answers the final rectangle. The moving
// outline is drawn with XOR straight on the window, so the frame beneath is
// never changed: drawing it a second time erases it exactly. All rectangles
// are in the page view's device space (y downwards); `originX/originY` is
// where device (0, 0) lies in the window.
#pragma once

#include <Xm/Xm.h>

#include <functional>

namespace folio::motif {

struct DeviceRect {
  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;
  bool empty() const { return right <= left || bottom <= top; }
  bool operator==(const DeviceRect &o) const
  {
    return left == o.left && top == o.top && right == o.right && bottom == o.bottom;
  }
};

// left <= right and top <= bottom.
DeviceRect normalised(DeviceRect r);

struct DragContext {
  Widget area = nullptr; // the widget whose window the drag runs in
  int originX = 0;
  int originY = 0;
  // Where the pointer may take the rectangle, in device space; an empty
  // rectangle sets no limit.
  DeviceRect bounds;
  // Repaints a device area from the frame (after an expose during the drag).
  std::function<void(const DeviceRect &)> repaint;
  // Told the rectangle (normalised, device space) when the drag starts and
  // each time the pointer changes it; may be empty.
  std::function<void(const DeviceRect &)> moved;
};

// Rubber band from the press point (xStart, yStart) to the pointer; answers
// the normalised rectangle spanned when the button is released.
DeviceRect dragOutRect(const DragContext &ctx, int xStart, int yStart);

// Moves (dragType 0) or resizes by a corner the rectangle `start`, from the
// press point until release. Corners: 1 (left, top), 2 (right, top),
// 3 (right, bottom), 4 (left, bottom): that corner follows the pointer and
// the opposite one stays. Answers the normalised result; an unknown
// dragType answers `start` without tracking.
DeviceRect dragRect(const DragContext &ctx, int xStart, int yStart, DeviceRect start, int dragType);

// The rectangle that a drag of `dragType` gives when the pointer moved by
// (dx, dy) from the press point, before clamping and normalising.
DeviceRect dragResult(DeviceRect start, int dragType, int dx, int dy);

} // namespace folio::motif
