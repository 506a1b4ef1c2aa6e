// Cursors.h: the viewer's standard X cursors.
//
// Made once per display from the X cursor font and kept for the life of the
// connection; callers never free them.
#pragma once

#include <X11/Xlib.h>

namespace folio::motif {

enum class StandardCursor { Arrow, Hand, Grab, Cross, Watch, IBeam };

Cursor standardCursor(Display *display, StandardCursor which);

} // namespace folio::motif
