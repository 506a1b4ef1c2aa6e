#include "motif/DragLoops.h"

#include <X11/Xlib.h>

#include <algorithm>

namespace folio::motif {

DeviceRect normalised(DeviceRect r)
{
  if (r.left > r.right)
    std::swap(r.left, r.right);
  if (r.top > r.bottom)
    std::swap(r.top, r.bottom);
  return r;
}

DeviceRect dragResult(DeviceRect start, int dragType, int dx, int dy)
{
  DeviceRect r = start;
  switch (dragType) {
  case 0:
    r.left += dx;
    r.right += dx;
    r.top += dy;
    r.bottom += dy;
    break;
  case 1:
    r.left += dx;
    r.top += dy;
    break;
  case 2:
    r.right += dx;
    r.top += dy;
    break;
  case 3:
    r.right += dx;
    r.bottom += dy;
    break;
  case 4:
    r.left += dx;
    r.bottom += dy;
    break;
  default:
    break;
  }
  return r;
}

namespace {

int clampTo(int v, int lo, int hi)
{
  return v < lo ? lo : (v > hi ? hi : v);
}

class XorLoop {
public:
  explicit XorLoop(const DragContext &ctx) : ctx_(ctx)
  {
    dpy_ = XtDisplay(ctx.area);
    win_ = XtWindow(ctx.area);
    XGCValues v;
    int screen = DefaultScreen(dpy_);
    v.function = GXxor;
    v.foreground = BlackPixel(dpy_, screen) ^ WhitePixel(dpy_, screen);
    v.line_width = 0;
    v.line_style = LineSolid;
    v.subwindow_mode = IncludeInferiors;
    gc_ = XCreateGC(dpy_, win_, GCFunction | GCForeground | GCLineWidth | GCLineStyle | GCSubwindowMode, &v);
  }
  ~XorLoop() { XFreeGC(dpy_, gc_); }

  // The pointer in device space, limited to the bounds.
  void clampPoint(int &x, int &y) const
  {
    if (ctx_.bounds.empty())
      return;
    x = clampTo(x, ctx_.bounds.left, ctx_.bounds.right);
    y = clampTo(y, ctx_.bounds.top, ctx_.bounds.bottom);
  }

  void show(const DeviceRect &r)
  {
    if (drawn_ && r == shown_)
      return;
    if (ctx_.moved && !(told_ && r == toldRect_)) {
      told_ = true;
      toldRect_ = r;
      ctx_.moved(r);
    }
    hide();
    shown_ = r;
    draw(r);
    drawn_ = true;
  }
  void hide()
  {
    if (drawn_)
      draw(shown_);
    drawn_ = false;
  }

  // Runs until the button is released; `update` gets each pointer position
  // in device space and answers the rectangle to show.
  template <class Update> void run(Update update)
  {
    XGrabPointer(dpy_, win_, False, ButtonReleaseMask | PointerMotionMask | ButtonMotionMask, GrabModeAsync,
                 GrabModeAsync, None, None, CurrentTime);
    // The release may have happened before we got here (a quick click):
    // then it is already queued, or no button is down at all any more.
    Window rootRet, childRet;
    int rx, ry, wx, wy;
    unsigned int mask = 0;
    XQueryPointer(dpy_, win_, &rootRet, &childRet, &rx, &ry, &wx, &wy, &mask);
    bool buttonDown = mask & (Button1Mask | Button2Mask | Button3Mask);
    XEvent ev;
    if (!buttonDown && !XCheckTypedWindowEvent(dpy_, win_, ButtonRelease, &ev)) {
      XUngrabPointer(dpy_, CurrentTime);
      return;
    }
    if (!buttonDown) {
      int x = ev.xbutton.x - ctx_.originX, y = ev.xbutton.y - ctx_.originY;
      update(x, y);
      XUngrabPointer(dpy_, CurrentTime);
      return;
    }
    for (;;) {
      XNextEvent(dpy_, &ev);
      if (ev.type == MotionNotify && ev.xmotion.window == win_) {
        // Only the latest position matters.
        while (XCheckTypedWindowEvent(dpy_, win_, MotionNotify, &ev)) {
        }
        show(update(ev.xmotion.x - ctx_.originX, ev.xmotion.y - ctx_.originY));
      } else if (ev.type == ButtonRelease) {
        int x = ev.xbutton.x, y = ev.xbutton.y;
        if (ev.xbutton.window != win_) {
          Window child;
          XTranslateCoordinates(dpy_, ev.xbutton.window, win_, ev.xbutton.x, ev.xbutton.y, &x, &y, &child);
        }
        update(x - ctx_.originX, y - ctx_.originY);
        break;
      } else if (ev.type == Expose && ev.xexpose.window == win_) {
        bool was = drawn_;
        DeviceRect r = shown_;
        drawn_ = false; // the exposed area lost whatever XOR was on it
        if (ctx_.repaint) {
          // Repaint the whole outline's area so the XOR state is known.
          hideAll(r);
          ctx_.repaint({ev.xexpose.x - ctx_.originX, ev.xexpose.y - ctx_.originY,
                        ev.xexpose.x + ev.xexpose.width - ctx_.originX,
                        ev.xexpose.y + ev.xexpose.height - ctx_.originY});
        }
        if (was)
          show(r);
      } else if (ev.type != ButtonPress && ev.type != KeyPress && ev.type != KeyRelease &&
                 ev.type != MotionNotify) {
        XtDispatchEvent(&ev);
      }
    }
    hide();
    XUngrabPointer(dpy_, CurrentTime);
    XFlush(dpy_);
  }

private:
  void hideAll(const DeviceRect &r)
  {
    if (ctx_.repaint)
      ctx_.repaint({r.left - 1, r.top - 1, r.right + 2, r.bottom + 2});
  }
  void draw(const DeviceRect &r)
  {
    DeviceRect n = normalised(r);
    XDrawRectangle(dpy_, win_, gc_, n.left + ctx_.originX, n.top + ctx_.originY,
                   static_cast<unsigned>(n.right - n.left), static_cast<unsigned>(n.bottom - n.top));
    XFlush(dpy_);
  }

  const DragContext &ctx_;
  Display *dpy_;
  Window win_;
  GC gc_;
  DeviceRect shown_;
  bool drawn_ = false;
  DeviceRect toldRect_;
  bool told_ = false;
};

} // namespace

DeviceRect dragOutRect(const DragContext &ctx, int xStart, int yStart)
{
  XorLoop loop(ctx);
  loop.clampPoint(xStart, yStart);
  DeviceRect result{xStart, yStart, xStart, yStart};
  if (ctx.moved)
    ctx.moved(result);
  loop.run([&](int x, int y) {
    loop.clampPoint(x, y);
    result = normalised({xStart, yStart, x, y});
    return result;
  });
  return result;
}

DeviceRect dragRect(const DragContext &ctx, int xStart, int yStart, DeviceRect start, int dragType)
{
  if (dragType < 0 || dragType > 4)
    return start;
  XorLoop loop(ctx);
  DeviceRect result = normalised(start);
  if (ctx.moved)
    ctx.moved(result);
  loop.run([&](int x, int y) {
    int dx = x - xStart, dy = y - yStart;
    if (dragType == 0 && !ctx.bounds.empty()) {
      // Keep a moved rectangle inside the bounds when it fits there.
      DeviceRect s = normalised(start);
      if (s.right - s.left <= ctx.bounds.right - ctx.bounds.left)
        dx = clampTo(dx, ctx.bounds.left - s.left, ctx.bounds.right - s.right);
      if (s.bottom - s.top <= ctx.bounds.bottom - ctx.bounds.top)
        dy = clampTo(dy, ctx.bounds.top - s.top, ctx.bounds.bottom - s.bottom);
    } else if (dragType != 0) {
      int px = xStart + dx, py = yStart + dy;
      loop.clampPoint(px, py);
      dx = px - xStart;
      dy = py - yStart;
    }
    result = normalised(dragResult(start, dragType, dx, dy));
    return result;
  });
  return result;
}

} // namespace folio::motif
