// ProgressDialog.h: the progress window of long document operations.
//
// A modal window with a message, a bar with a label beside it ("Page 3 of
// 40") and a "Cancel" button. Their windows are named "Progress" (the
// window), "progress bar", the label's text, and "Cancel". It is put up
// when an operation begins and taken down when it ends. Pressing Cancel (or
// Escape while the window has focus) records a request to stop, which the
// host's cancel test reports at its next poll. poll() processes the X events
// that are pending, so that the bar is redrawn and the button can be
// pressed while the operation runs; input to the rest of the application is
// held off by the window's modality.
//
// cancelPending() looks for the user's Cancel without processing anything:
// for work that runs long on this thread between two polls (one slow page),
// which may then stop early; the press itself is processed at the next
// poll(), as usual.
#pragma once

#include <Xm/Xm.h>

#include <cstdint>
#include <string>

namespace folio::motif {

class ProgressDialog {
public:
  explicit ProgressDialog(Widget parent);
  ~ProgressDialog();
  ProgressDialog(const ProgressDialog &) = delete;
  ProgressDialog &operator=(const ProgressDialog &) = delete;

  // Puts the window up (if it is not up yet) with an empty bar and clears
  // any earlier cancel request.
  void begin(const std::string &message);
  // Takes the window down; a cancel request stays recorded until begin().
  void end();
  // The monitor's counts. On their own they fill the bar to value/duration
  // with no label; a front end with its own wording calls setProgress after
  // them.
  void setDuration(int32_t duration);
  void setValue(int32_t value);
  // Fills the bar to `fraction` (0..1) and shows `label` beside it; the
  // label's window carries the label as its name (empty: "progress label").
  void setProgress(double fraction, const std::string &label);
  int32_t duration() const { return duration_; }
  int32_t value() const { return value_; }

  bool isUp() const { return shell_ != nullptr; }
  // Processes pending events and answers whether the user asked to stop.
  bool poll();
  bool cancelRequested() const { return cancelled_; }
  // True when a release of the Cancel button, or Escape in the window, is
  // among the X events received and not yet processed. Reads what the server
  // has sent without waiting and removes nothing from the queue, so the
  // events reach the widgets at the next poll(); dispatches nothing. False
  // while the window is not up.
  bool cancelPending();
  void clearCancel() { cancelled_ = false; }

private:
  static void onCancel(Widget, XtPointer, XtPointer);
  static Bool isCancelEvent(Display *, XEvent *event, XPointer self);
  static void onExpose(Widget, XtPointer, XtPointer);
  void drawBar();
  int filledWidth() const;
  void setLabel(const std::string &label);
  void pump();

  Widget parent_;
  Widget shell_ = nullptr;
  Widget form_ = nullptr;
  Widget bar_ = nullptr;
  Widget count_ = nullptr; // the label beside the bar
  std::string label_;
  double fraction_ = -1; // from setProgress; negative: value/duration
  Widget cancel_ = nullptr;
  int32_t duration_ = 0;
  int32_t value_ = 0;
  bool cancelled_ = false;
  bool sawCancel_ = false; // set by isCancelEvent during cancelPending()
};

} // namespace folio::motif
