// Runner.h: replays a script of user actions against the view application,
// answering its questions from the script. It implements the view layer's
// ports for the batch front end (alerts, passwords, progress, cancel, drag
// loops, modifiers), and runs the viewer's commands (View menu, keys) through
// a view::ViewerController of its own, as the viewer does. It has no window:
// the page view keeps the page's own size and is not scrolled, so Fit Width
// and Fit Page are disabled; Go To Page takes its number from the next
// queued answer.
//
// Output (the stable format tests and shell pipelines read), on `out`:
//   note: TEXT                                   a note (FVAlertNote)
//   question: TEXT [B1|B2|B3] -> LABEL           a question and the answer taken
//   question: Go to page (1 - N) -> N            Go To Page's question and its answer
//   confirm: TEXT -> yes|no                      a confirmation and its answer
//   cancel: poll N answers true                  a cancel-at (or Ctrl-C) firing
//   unused answer: LABEL (line N)                queued answers an action did not take
//   page N: media L B R T crop L B R T rotate R  show-boxes, points, one page a line
//   opened: PATH (N pages)                       a document opened
//   saved: PATH / snapshot: PATH / reverted: PATH  a save, snapshot or revert done
//   undone: LABEL / redone: LABEL                 an undo or redo step taken
//   unchanged: page N: REASON                     see reportUnchanged
// Errors go to `err` as "folio: NAME:LINE: message". The first error stops
// the run: later steps do not run and nothing more is saved. A question with
// no queued answer is such an error; while it is pending the question is
// declined (answer 0) and the cancel test answers true, so that the plug-in
// winds its operation down without touching the file.
//
// Ctrl-C (requestCancelFromSignal) makes the next cancel poll answer true, so
// that the running command undoes what it did as a user's cancel would; the
// run then stops after that step, like any error, and saves nothing more.
//
// Lifetime: the runner installs its ports on the application when made
// (keeping the application's other ports) and removes them when destroyed.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "batch/Script.h"
#include "view/Application.h"
#include "view/ViewerController.h"

namespace folio::batch {

class Runner : private view::AlertPort,
               private view::ProgressPort,
               private view::CancelPort,
               private view::DragPort,
               private view::ModifierPort,
               private view::PasswordPort,
               private view::ViewerPort {
public:
  // `name` is what error messages call the script ("script.txt", "-",
  // "--run"). `progressBar`: draw a progress bar on `err` (a terminal).
  Runner(view::Application &app, std::ostream &out, std::ostream &err, std::string name,
         bool progressBar = false);
  ~Runner() override;
  Runner(const Runner &) = delete;
  Runner &operator=(const Runner &) = delete;

  // Runs every step; stops at the first error. 0 when all ran, 1 otherwise.
  int run(const Script &script);

  // Called after every step, whether it succeeded or not (the front end
  // flushes its X connection there: the runner has no event loop).
  void setAfterStep(std::function<void()> fn) { afterStep_ = std::move(fn); }

  // True once a step failed (also from a port while a step ran).
  bool failed() const { return failed_; }

  // Pages (1-based) to account for: when a run that went through ends, each
  // of them whose crop box is what it was when the script first went to it
  // (`page N`) gets one line "unchanged: page N: REASON": the last note the
  // plug-in gave while that page was shown, else what `reason` says of the
  // page as it is at the end. For the shortcuts that run page by page.
  void reportUnchanged(std::vector<long> pages, std::function<std::string(model::Page &)> reason);

  // Makes the next cancel poll answer true (what Ctrl-C does). Safe to call
  // from a signal handler.
  static void requestCancelFromSignal();
  // Installs a SIGINT handler that calls requestCancelFromSignal(); a second
  // Ctrl-C before the flag is taken ends the process as usual.
  static void installInterruptHandler();

private:
  // Steps.
  bool step(const Step &s);
  bool perform(const Step &s);
  bool open(const Step &s);
  bool goToPage(const Step &s);
  bool zoom(const Step &s);
  bool menu(const Step &s);
  bool key(const Step &s);
  bool button(const Step &s);
  bool pointer(const Step &s);
  bool save(const Step &s);
  bool revert(const Step &s);
  bool undoRedo(const Step &s);
  bool snapshot(const Step &s);
  bool showBoxes(const Step &s);
  void dropUnusedAnswers();
  view::DocWindow *activeDoc(const Step &s);
  bool error(int line, const std::string &message);

  // AlertPort
  int ask(const view::Question &question) override;
  void note(const std::string &message) override;
  bool confirm(const std::string &message) override;
  // ProgressPort
  void begin() override;
  void end() override;
  void setDuration(FSInt32 duration) override;
  void setValue(FSInt32 value) override;
  // CancelPort
  bool cancelRequested() override;
  // DragPort
  FVRect dragOutNewRect(view::PageView &view, FSInt16 x, FSInt16 y) override;
  FVRect dragRect(view::PageView &view, FSInt16 x, FSInt16 y, const FVRect &start, FSInt16 dragType,
                  const FVRect *extrema) override;
  // ModifierPort
  FSInt32 modifiers() override;
  // PasswordPort
  std::optional<std::string> askPassword(const std::string &path, int attempt) override;
  std::optional<std::string> givenPassword(const std::string &path) override;
  // ViewerPort: no window, nothing to show; the page number from the answers.
  view::ViewportSize viewportSize() override { return {}; }
  void scrollTo(const view::ScrollState &) override {}
  void requestRedraw(bool) override {}
  void setStatus(const std::string &) override {}
  void setTitle(const std::string &) override {}
  std::optional<int> askPageNumber(int pageCount) override;
  // ": why" when a disabled command is disabled by the document's
  // permissions; empty otherwise.
  std::string whyDisabled();

  void drawProgress(bool final);

  struct Answer {
    std::string label; // one or more labels separated by '|'
    int line;
  };
  struct Confirmation {
    bool yes;
    int line;
  };

  view::Application &app_;
  view::Ports savedPorts_;
  std::unique_ptr<view::ViewerController> controller_;
  std::ostream &out_;
  std::ostream &err_;
  std::string name_;
  bool progressBar_;

  bool failed_ = false;
  std::function<void()> afterStep_;
  bool interrupted_ = false; // Ctrl-C answered a cancel poll during this step
  int currentLine_ = 0;
  std::deque<Answer> answers_;
  std::deque<Confirmation> confirmations_;
  long cancelAt_ = 0; // polls until the cancel test answers true; 0: off
  long polls_ = 0;    // polls since the last cancel-at
  std::string password_;
  bool havePassword_ = false;
  bool passwordAsked_ = false; // the open needed a password (not only the owner's)

  // The pointer while a drag or click runs: release point, modifier word.
  bool pointerActive_ = false;
  FSInt16 releaseX_ = 0, releaseY_ = 0;
  FSInt32 modifierWord_ = 0;

  FSInt32 progDuration_ = 0, progValue_ = 0;
  int progShown_ = -1;

  struct Watched {
    bool seen = false; // the script went to it
    FixedRect crop{};  // its crop box then
    std::string note;  // the last note while it was shown
  };
  std::map<long, Watched> watched_;
  std::function<std::string(model::Page &)> unchangedReason_;
  void printUnchanged();
};

// The reason given when a command is refused because the document's
// permissions forbid modifying it.
extern const char *const kModifyForbidden;

// "612" / "10.5" / "-3.25": a Fixed in points with at most four decimals.
std::string formatFixed(Fixed value);

} // namespace folio::batch
