// WindowNames.h: names on the X windows of the viewer's controls.
//
// Every control that a user can press (menu titles and items, tool bar
// buttons, dialog buttons) carries its command name or label as the WM_NAME
// of its X window, so that accessibility tools and the GUI tests can find a
// control by what it is called and press it with the real pointer.
#pragma once

#include <Xm/Xm.h>

namespace folio::motif {

// Stores `name` as the WM_NAME of the widget's window. Realises nothing: a
// widget that has no window yet is left alone (call again once realised).
void nameWindow(Widget widget, const char *name);

} // namespace folio::motif
