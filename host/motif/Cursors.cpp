#include "Cursors.h"

#include <X11/cursorfont.h>

#include <map>
#include <utility>

namespace folio::motif {

Cursor standardCursor(Display *display, StandardCursor which)
{
  static std::map<std::pair<Display *, int>, Cursor> cache;
  auto key = std::make_pair(display, static_cast<int>(which));
  auto it = cache.find(key);
  if (it != cache.end())
    return it->second;
  unsigned int shape = XC_left_ptr;
  switch (which) {
  case StandardCursor::Arrow:
    shape = XC_left_ptr;
    break;
  case StandardCursor::Hand:
    shape = XC_hand2;
    break;
  case StandardCursor::Grab:
    shape = XC_fleur;
    break;
  case StandardCursor::Cross:
    shape = XC_crosshair;
    break;
  case StandardCursor::Watch:
    shape = XC_watch;
    break;
  case StandardCursor::IBeam:
    shape = XC_xterm;
    break;
  }
  Cursor c = XCreateFontCursor(display, shape);
  cache.emplace(key, c);
  return c;
}

} // namespace folio::motif
