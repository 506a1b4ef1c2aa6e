#include "motif/WindowNames.h"

#include <X11/Xlib.h>

namespace folio::motif {

void nameWindow(Widget widget, const char *name)
{
  if (!widget || !name || !XtIsWidget(widget) || !XtIsRealized(widget))
    return;
  XStoreName(XtDisplay(widget), XtWindow(widget), name);
}

} // namespace folio::motif
