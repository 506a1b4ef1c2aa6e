// XCursorRecorder.cpp: the recording XCreatePixmapCursor.
#include "XCursorRecorder.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

namespace tooltest {

std::vector<PixmapCursorCall> &pixmapCursorCalls()
{
  static std::vector<PixmapCursorCall> calls;
  return calls;
}

} // namespace tooltest

extern "C" Cursor XCreatePixmapCursor(Display *display, Pixmap source, Pixmap mask, XColor *fg, XColor *bg,
                                      unsigned int x, unsigned int y)
{
  using Real = Cursor (*)(Display *, Pixmap, Pixmap, XColor *, XColor *, unsigned int, unsigned int);
  static Real real = reinterpret_cast<Real>(dlsym(RTLD_NEXT, "XCreatePixmapCursor"));
  if (!real) {
    std::fprintf(stderr, "XCursorRecorder: no XCreatePixmapCursor after the program's own\n");
    std::abort();
  }
  tooltest::PixmapCursorCall call;
  call.display = display;
  call.source = source;
  call.mask = mask;
  if (fg)
    call.fg = *fg;
  if (bg)
    call.bg = *bg;
  call.x = x;
  call.y = y;
  call.result = real(display, source, mask, fg, bg, x, y);
  tooltest::pixmapCursorCalls().push_back(call);
  return call.result;
}
