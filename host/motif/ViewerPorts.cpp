// The view layer's ports, implemented with the Motif viewer's widgets.
#include "motif/ViewerImpl.h"

#include "model/Budget.h"
#include "motif/Dialogs.h"
#include "platform/XSession.h"
#include "view/PageView.h"
#include "view/StatusText.h"

#include <X11/Xlib.h>

#include <algorithm>
#include <chrono>

namespace folio::motif {

namespace {
const char *const kDialogTitle = "Folio";

double msSince(std::chrono::steady_clock::time_point t0)
{
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
}
} // namespace

FSInt32 modifierWord(unsigned int state)
{
  FSInt32 word = 0;
  if (state & ShiftMask)
    word |= view::kModShift;
  if (state & Mod1Mask)
    word |= view::kModAlt;
  if (state & ControlMask)
    word |= view::kModCtrl;
  return word;
}

FSInt16 shortcutFlags(unsigned int state)
{
  FSInt16 flags = 0;
  if (state & ShiftMask)
    flags |= view::kShortcutShift;
  if (state & Mod1Mask)
    flags |= view::kShortcutAlt;
  if (state & ControlMask)
    flags |= view::kShortcutCtrl;
  return flags;
}

view::Ports ViewerPorts::ports()
{
  view::Ports p;
  p.alerts = this;
  p.progress = this;
  p.cancel = this;
  p.drag = this;
  p.modifiers = this;
  p.cursors = this;
  p.present = this;
  p.password = this;
  return p;
}

// ---- alerts -------------------------------------------------------------------

int ViewerPorts::ask(const view::Question &question)
{
  int answer =
      askQuestion(v_.shell, kDialogTitle, question.message, question.buttons,
                  static_cast<DialogIcon>(std::clamp<FSInt32>(question.iconType, 0, 3)), question.beep);
  v_.redrawPending();
  return answer;
}

void ViewerPorts::note(const std::string &message)
{
  showNote(v_.shell, kDialogTitle, message);
  v_.redrawPending();
}

bool ViewerPorts::confirm(const std::string &message)
{
  bool yes = askConfirm(v_.shell, kDialogTitle, message);
  v_.redrawPending();
  return yes;
}

// ---- passwords --------------------------------------------------------------------

std::optional<std::string> ViewerPorts::askPassword(const std::string &path, int attempt)
{
  size_t slash = path.find_last_of('/');
  const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  // The model asks again after a wrong answer, up to its number of attempts.
  std::string message = attempt > 1 ? "The password was wrong. Try again.\n" : std::string();
  message += "\"" + name + "\" is protected by a password.\nPassword:";
  std::string password;
  bool ok = motif::askPassword(v_.shell, "Password", message, password);
  v_.redrawPending();
  if (!ok)
    return std::nullopt;
  return password;
}

// ---- progress and cancel ----------------------------------------------------------

void ViewerPorts::begin()
{
  // Nested operations share one window.
  if (progressDepth_++ == 0) {
    v_.progress->begin("Working on the document...");
    // The operation polls for cancel between pages; inside one slow page
    // the engine runs on this thread for long, so the page's work looks for
    // the user's Cancel itself and stops early. The click is then processed
    // at the operation's next poll, which cancels it the usual way.
    model::setCancelPoll(&ViewerPorts::cancelPendingInPage, this);
  }
}

void ViewerPorts::end()
{
  if (progressDepth_ > 0 && --progressDepth_ == 0) {
    model::setCancelPoll(nullptr, nullptr);
    v_.progress->end();
  }
}

bool ViewerPorts::cancelPendingInPage(void *self)
{
  return static_cast<ViewerPorts *>(self)->v_.progress->cancelPending();
}

// The bar and its "Page n of N" follow the view layer's reading of the
// monitor's counts (view/StatusText.h).
void ViewerPorts::setDuration(FSInt32 duration)
{
  v_.progress->setDuration(duration);
  FSInt32 value = v_.app.progressValue();
  v_.progress->setProgress(view::progressFraction(value, duration), view::progressLabel(value, duration));
}

void ViewerPorts::setValue(FSInt32 value)
{
  v_.progress->setValue(value);
  FSInt32 duration = v_.app.progressDuration();
  v_.progress->setProgress(view::progressFraction(value, duration), view::progressLabel(value, duration));
}

bool ViewerPorts::cancelRequested()
{
  // With the progress window up, pending events are processed (its bar is
  // drawn, its Cancel button can be pressed; the rest of the application
  // takes no input while it is up). Without it there is nothing the user
  // could have pressed.
  if (v_.progress->isUp())
    return v_.progress->poll();
  return v_.progress->cancelRequested() && progressDepth_ > 0;
}

// ---- drag loops -------------------------------------------------------------------

DragContext ViewerPorts::dragContext(view::PageView &view, const FVRect *extrema)
{
  DragContext ctx;
  ctx.area = v_.area;
  if (extrema)
    ctx.bounds = {extrema->left, extrema->top, extrema->right, extrema->bottom};
  else
    ctx.bounds = {0, 0, view.deviceWidth() - 1, view.deviceHeight() - 1};
  view::PageView *pv = &view;
  // The rectangle in page space, in the user's unit, on the status line
  // while the pointer moves it.
  ctx.moved = [this, pv](const DeviceRect &r) {
    FVRect d{static_cast<FSInt16>(r.left), static_cast<FSInt16>(r.top), static_cast<FSInt16>(r.right),
             static_cast<FSInt16>(r.bottom)};
    v_.showStatus(view::regionStatus(pv->deviceRectToPage(d), v_.app.units()));
  };
  ctx.repaint = [this, pv](const DeviceRect &r) {
    FVRect a{static_cast<FSInt16>(r.left), static_cast<FSInt16>(r.top), static_cast<FSInt16>(r.right),
             static_cast<FSInt16>(r.bottom)};
    v_.presentArea(*pv, a);
  };
  return ctx;
}

namespace {
FVRect toFV(const DeviceRect &r)
{
  auto c = [](int v) { return static_cast<FSInt16>(std::clamp(v, -32768, 32767)); };
  return {c(r.left), c(r.top), c(r.right), c(r.bottom)};
}
} // namespace

FVRect ViewerPorts::dragOutNewRect(view::PageView &view, FSInt16 x, FSInt16 y)
{
  if (&view != v_.shownView() || !XtIsRealized(v_.area))
    return {x, y, x, y};
  // Whatever was drawn but not shown yet must be on screen under the band.
  view.drawNow();
  return toFV(dragOutRect(dragContext(view, nullptr), x, y));
}

FVRect ViewerPorts::dragRect(view::PageView &view, FSInt16 x, FSInt16 y, const FVRect &start,
                             FSInt16 dragType, const FVRect *extrema)
{
  if (&view != v_.shownView() || !XtIsRealized(v_.area))
    return start;
  view.drawNow();
  DeviceRect s{start.left, start.top, start.right, start.bottom};
  return toFV(motif::dragRect(dragContext(view, extrema), x, y, s, dragType));
}

// ---- keyboard and cursors -------------------------------------------------------------

FSInt32 ViewerPorts::modifiers()
{
  if (v_.inClick)
    return modifierWord(v_.clickState);
  Window root, child;
  int rx, ry, wx, wy;
  unsigned int mask = 0;
  XQueryPointer(v_.display, DefaultRootWindow(v_.display), &root, &child, &rx, &ry, &wx, &wy, &mask);
  return modifierWord(mask);
}

void ViewerPorts::setCursor(FVCursor cursor)
{
  if (!XtIsRealized(v_.area))
    return;
  Cursor c = static_cast<Cursor>(reinterpret_cast<uintptr_t>(cursor));
  if (c)
    XDefineCursor(v_.display, XtWindow(v_.area), c);
  else
    XUndefineCursor(v_.display, XtWindow(v_.area));
}

FVCursor ViewerPorts::standardCursor(FSInt32 cursorID)
{
  Cursor c = v_.session.standardCursor(cursorID);
  return reinterpret_cast<FVCursor>(static_cast<uintptr_t>(c));
}

// ---- presentation ----------------------------------------------------------------------

void ViewerPorts::present(view::PageView &view, const FVRect &area)
{
  v_.presentArea(view, area);
}

void Viewer::Impl::presentArea(view::PageView &view, const FVRect &a)
{
  if (&view != shownView() || !presenter)
    return;
  const view::Frame &f = view.frame();
  if (f.width <= 0 || f.height <= 0)
    return;
  auto t0 = std::chrono::steady_clock::now();
  RgbRaster raster{f.rgb.data(), f.width, f.height, f.width * 3};
  // Device rectangles are closed: right and bottom edges included.
  presenter->present(raster, a.left, a.top, a.right - a.left + 1, a.bottom - a.top + 1);
  XFlush(display);
  if (options.redrawStats) {
    double ms = msSince(t0);
    stats.presentMs.push_back(ms);
    presentTotalMs += ms;
  }
}

} // namespace folio::motif

namespace folio::motif {

// ---- the controller's port -------------------------------------------------------------

view::ViewportSize ViewerPorts::viewportSize()
{
  if (!v_.area)
    return {};
  Dimension width = 0, height = 0;
  XtVaGetValues(v_.area, XmNwidth, &width, XmNheight, &height, NULL);
  return {width, height};
}

void ViewerPorts::scrollTo(const view::ScrollState &state)
{
  v_.updateScrollBars(state);
}

void ViewerPorts::requestRedraw(bool pageChange)
{
  if (!v_.shownView()) {
    // Nothing to show: a plain grey area.
    if (v_.area && XtIsRealized(v_.area))
      XClearWindow(v_.display, XtWindow(v_.area));
    return;
  }
  if (pageChange)
    v_.pageChangePending = true;
  v_.redrawPending();
}

void ViewerPorts::setStatus(const std::string &text)
{
  v_.showStatus(text);
}

void ViewerPorts::setTitle(const std::string &title)
{
  v_.showTitle(title);
}

std::optional<int> ViewerPorts::askPageNumber(int pageCount)
{
  return v_.askPageNumber(pageCount);
}

} // namespace folio::motif
