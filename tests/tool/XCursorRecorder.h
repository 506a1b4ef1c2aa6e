// XCursorRecorder.h: records every XCreatePixmapCursor call made in the test
// program (the plug-in's included) with its arguments, then makes the
// cursor with the real Xlib procedure.
//
// How: the test program exports its own XCreatePixmapCursor (it is linked
// with ENABLE_EXPORTS), and symbol lookup for the dlopen'ed plug-in searches
// the program before libX11, so the plug-in's call lands here; this wrapper
// forwards to the next definition (libX11's) with dlsym(RTLD_NEXT).
#pragma once

#include <X11/Xlib.h>

#include <vector>

namespace tooltest {

struct PixmapCursorCall {
  Display *display = nullptr;
  Pixmap source = 0;
  Pixmap mask = 0;
  XColor fg{};
  XColor bg{};
  unsigned int x = 0;
  unsigned int y = 0;
  Cursor result = 0;
};

// Every call so far, in order.
std::vector<PixmapCursorCall> &pixmapCursorCalls();

} // namespace tooltest
