#include "motif/ProgressDialog.h"

#include "motif/Dialogs.h"
#include "motif/WindowNames.h"

#include <X11/Xlib.h>
#include <X11/keysym.h>
#include <Xm/DialogS.h>
#include <Xm/DrawingA.h>
#include <Xm/Form.h>
#include <Xm/Label.h>
#include <Xm/PushB.h>

namespace folio::motif {

namespace {
constexpr Dimension kBarWidth = 320;
constexpr Dimension kBarHeight = 18;
constexpr Dimension kCountWidth = 150;
} // namespace

ProgressDialog::ProgressDialog(Widget parent) : parent_(parent) {}

ProgressDialog::~ProgressDialog()
{
  end();
}

void ProgressDialog::begin(const std::string &message)
{
  cancelled_ = false;
  duration_ = 0;
  value_ = 0;
  fraction_ = -1;
  if (shell_) {
    setLabel("");
    drawBar();
    return;
  }
  XmString title = XmStringCreateLocalized(const_cast<char *>("Progress"));
  form_ = XmCreateFormDialog(parent_, const_cast<char *>("progress"), nullptr, 0);
  shell_ = XtParent(form_);
  XtVaSetValues(form_, XmNdialogStyle, XmDIALOG_FULL_APPLICATION_MODAL, XmNdialogTitle, title,
                XmNautoUnmanage, False, XmNnoResize, True, XmNmarginWidth, 12, XmNmarginHeight, 12,
                XmNfractionBase, 3, NULL);
  XmStringFree(title);

  XmString text = XmStringCreateLocalized(const_cast<char *>(message.c_str()));
  Widget label = XtVaCreateManagedWidget("message", xmLabelWidgetClass, form_, XmNlabelString, text,
                                         XmNtopAttachment, XmATTACH_FORM, XmNleftAttachment, XmATTACH_FORM,
                                         XmNrightAttachment, XmATTACH_FORM, NULL);
  XmStringFree(text);
  // The count beside the bar, wide enough for "Page 99999 of 99999" so that
  // the bar keeps its width while the numbers grow.
  XmString blank = XmStringCreateLocalized(const_cast<char *>(" "));
  count_ = XtVaCreateManagedWidget("count", xmLabelWidgetClass, form_, XmNlabelString, blank, XmNwidth,
                                   kCountWidth, XmNrecomputeSize, False, XmNalignment, XmALIGNMENT_END,
                                   XmNtopAttachment, XmATTACH_WIDGET, XmNtopWidget, label, XmNtopOffset, 8,
                                   XmNrightAttachment, XmATTACH_FORM, NULL);
  XmStringFree(blank);
  bar_ = XtVaCreateManagedWidget("bar", xmDrawingAreaWidgetClass, form_, XmNwidth, kBarWidth, XmNheight,
                                 kBarHeight, XmNtopAttachment, XmATTACH_WIDGET, XmNtopWidget, label,
                                 XmNtopOffset, 8, XmNleftAttachment, XmATTACH_FORM, XmNrightAttachment,
                                 XmATTACH_WIDGET, XmNrightWidget, count_, XmNrightOffset, 8, XmNresizePolicy,
                                 XmRESIZE_NONE, NULL);
  XtAddCallback(bar_, XmNexposeCallback, onExpose, this);
  XmString cancelText = XmStringCreateLocalized(const_cast<char *>("Cancel"));
  cancel_ = XtVaCreateManagedWidget(
      "Cancel", xmPushButtonWidgetClass, form_, XmNlabelString, cancelText, XmNtopAttachment, XmATTACH_WIDGET,
      XmNtopWidget, bar_, XmNtopOffset, 10, XmNleftAttachment, XmATTACH_POSITION, XmNleftPosition, 1,
      XmNrightAttachment, XmATTACH_POSITION, XmNrightPosition, 2, XmNbottomAttachment, XmATTACH_FORM, NULL);
  XmStringFree(cancelText);
  XtAddCallback(cancel_, XmNactivateCallback, onCancel, this);
  // Escape (and the window's close box) ask to stop, like the button.
  XtVaSetValues(form_, XmNcancelButton, cancel_, XmNdefaultButton, cancel_, NULL);

  XtManageChild(form_);
  nameWindow(shell_, "Progress");
  nameWindow(cancel_, "Cancel");
  nameWindow(bar_, "progress bar");
  label_ = "-";
  setLabel("");
  focusWhenViewable(shell_, cancel_);
  pump();
}

void ProgressDialog::end()
{
  if (!shell_)
    return;
  Display *dpy = XtDisplay(shell_);
  XtUnmanageChild(form_);
  XtDestroyWidget(shell_);
  shell_ = form_ = bar_ = cancel_ = count_ = nullptr;
  XSync(dpy, False);
}

void ProgressDialog::setDuration(int32_t duration)
{
  duration_ = duration;
  drawBar();
}

void ProgressDialog::setValue(int32_t value)
{
  int before = filledWidth();
  value_ = value;
  // Long runs set a value per page: draw only when the bar grows visibly.
  if (filledWidth() != before)
    drawBar();
}

void ProgressDialog::setProgress(double fraction, const std::string &label)
{
  int before = filledWidth();
  fraction_ = fraction < 0 ? 0 : (fraction > 1 ? 1 : fraction);
  setLabel(label);
  if (filledWidth() != before)
    drawBar();
}

void ProgressDialog::setLabel(const std::string &label)
{
  if (!count_ || label == label_)
    return;
  label_ = label;
  XmString s = XmStringCreateLocalized(const_cast<char *>(label.empty() ? " " : label.c_str()));
  XtVaSetValues(count_, XmNlabelString, s, NULL);
  XmStringFree(s);
  nameWindow(count_, label.empty() ? "progress label" : label.c_str());
}

int ProgressDialog::filledWidth() const
{
  if (!bar_)
    return 0;
  Dimension w = 0;
  XtVaGetValues(bar_, XmNwidth, &w, NULL);
  if (w < 2)
    return 0;
  if (fraction_ >= 0)
    return static_cast<int>(fraction_ * (w - 2) + 0.5);
  if (duration_ <= 0)
    return 0;
  long long v = value_ < 0 ? 0 : value_;
  if (v > duration_)
    v = duration_;
  return static_cast<int>(v * (w - 2) / duration_);
}

bool ProgressDialog::poll()
{
  pump();
  return cancelled_;
}

void ProgressDialog::pump()
{
  if (!shell_)
    return;
  XtAppContext app = XtWidgetToApplicationContext(shell_);
  XFlush(XtDisplay(shell_));
  // Only what is already queued: the operation must not wait for input.
  while (shell_ && (XtAppPending(app) & XtIMXEvent))
    XtAppProcessEvent(app, XtIMXEvent);
}

bool ProgressDialog::cancelPending()
{
  if (!shell_ || !XtIsRealized(cancel_))
    return false;
  sawCancel_ = false;
  XEvent event;
  // The predicate sees every queued event, those read from the connection
  // now included, and accepts none: nothing is taken from the queue.
  XCheckIfEvent(XtDisplay(shell_), &event, &ProgressDialog::isCancelEvent, reinterpret_cast<XPointer>(this));
  return sawCancel_;
}

Bool ProgressDialog::isCancelEvent(Display *, XEvent *event, XPointer self)
{
  auto *d = reinterpret_cast<ProgressDialog *>(self);
  if (event->type == ButtonRelease && event->xbutton.window == XtWindow(d->cancel_)) {
    d->sawCancel_ = true;
  } else if (event->type == KeyPress && XLookupKeysym(&event->xkey, 0) == XK_Escape) {
    Window w = event->xkey.window;
    if (w == XtWindow(d->shell_) || w == XtWindow(d->form_) || w == XtWindow(d->cancel_) ||
        w == XtWindow(d->bar_) || w == XtWindow(d->count_))
      d->sawCancel_ = true;
  }
  return False;
}

void ProgressDialog::onCancel(Widget, XtPointer client, XtPointer)
{
  static_cast<ProgressDialog *>(client)->cancelled_ = true;
}

void ProgressDialog::onExpose(Widget, XtPointer client, XtPointer)
{
  static_cast<ProgressDialog *>(client)->drawBar();
}

void ProgressDialog::drawBar()
{
  if (!bar_ || !XtIsRealized(bar_))
    return;
  Display *dpy = XtDisplay(bar_);
  Window win = XtWindow(bar_);
  Dimension w = 0, h = 0;
  XtVaGetValues(bar_, XmNwidth, &w, XmNheight, &h, NULL);
  int filled = filledWidth();
  GC gc = XCreateGC(dpy, win, 0, nullptr);
  int screen = DefaultScreen(dpy);
  XSetForeground(dpy, gc, WhitePixel(dpy, screen));
  XFillRectangle(dpy, win, gc, 0, 0, w, h);
  XSetForeground(dpy, gc, 0x2a5db0);
  if (filled > 0)
    XFillRectangle(dpy, win, gc, 1, 1, filled, h - 2);
  XSetForeground(dpy, gc, BlackPixel(dpy, screen));
  XDrawRectangle(dpy, win, gc, 0, 0, w - 1, h - 1);
  XFreeGC(dpy, gc);
}

} // namespace folio::motif
