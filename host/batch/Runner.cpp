// Runner.cpp: the batch front end's replay of a script (see Runner.h).
#include "batch/Runner.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "core/Guard.h"
#include "model/Budget.h"
#include "model/CropHistory.h"
#include "model/ModelError.h"
#include "view/Menus.h"
#include "view/StatusText.h"

namespace folio::batch {

namespace {

volatile std::sig_atomic_t gInterrupted = 0;

void onInterrupt(int)
{
  if (gInterrupted) {
    // A second Ctrl-C before the first was taken: stop the usual way.
    std::signal(SIGINT, SIG_DFL);
    std::raise(SIGINT);
    return;
  }
  gInterrupted = 1;
  // A run inside one slow page stops there too.
  model::cancelPageWork();
}

std::string quoted(const std::string &s)
{
  return quoteForMessage(s);
}

std::string joinButtons(const std::vector<std::string> &buttons)
{
  std::string s;
  for (size_t i = 0; i < buttons.size(); ++i) {
    if (i)
      s += '|';
    s += buttons[i];
  }
  return s;
}

FSInt16 clamp16(long v)
{
  if (v < -32768)
    return -32768;
  if (v > 32767)
    return 32767;
  return FSInt16(v);
}

FVRect normalised(long l, long t, long r, long b)
{
  FVRect out;
  out.left = clamp16(std::min(l, r));
  out.right = clamp16(std::max(l, r));
  out.top = clamp16(std::min(t, b));
  out.bottom = clamp16(std::max(t, b));
  return out;
}

} // namespace

const char *const kModifyForbidden =
    "the document does not allow changes (its permissions forbid modifying it)";

std::string formatFixed(Fixed value)
{
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.4f", double(value) / 65536.0);
  std::string s = buf;
  while (!s.empty() && s.back() == '0')
    s.pop_back();
  if (!s.empty() && s.back() == '.')
    s.pop_back();
  if (s == "-0")
    s = "0";
  return s;
}

void Runner::requestCancelFromSignal()
{
  gInterrupted = 1;
  model::cancelPageWork();
}

void Runner::installInterruptHandler()
{
  struct sigaction sa {};
  sa.sa_handler = onInterrupt;
  sigemptyset(&sa.sa_mask);
  sa.sa_flags = SA_RESTART;
  sigaction(SIGINT, &sa, nullptr);
}

Runner::Runner(view::Application &app, std::ostream &out, std::ostream &err, std::string name,
               bool progressBar)
    : app_(app), savedPorts_(app.ports()), out_(out), err_(err), name_(std::move(name)),
      progressBar_(progressBar)
{
  view::Ports p = savedPorts_;
  p.alerts = this;
  p.password = this;
  p.progress = this;
  p.cancel = this;
  p.drag = this;
  p.modifiers = this;
  app_.setPorts(p);
  view::ViewerPort &port = *this;
  controller_ = std::make_unique<view::ViewerController>(app_, port);
}

Runner::~Runner()
{
  controller_.reset();
  app_.setPorts(savedPorts_);
}

bool Runner::error(int line, const std::string &message)
{
  if (!failed_) {
    failed_ = true;
    out_.flush();
    // Messages name files (the engine's and the model's too): nothing in
    // them may drive the terminal.
    err_ << "folio: " << escapeControlBytes(name_) << ":" << line << ": " << escapeControlBytes(message)
         << std::endl;
  }
  return false;
}

int Runner::run(const Script &script)
{
  for (const Step &s : script.steps) {
    currentLine_ = s.line;
    bool ok = step(s);
    out_.flush();
    if (afterStep_)
      afterStep_();
    if (!ok || failed_)
      return 1;
  }
  if (!answers_.empty() || !confirmations_.empty())
    dropUnusedAnswers();
  printUnchanged();
  return 0;
}

void Runner::reportUnchanged(std::vector<long> pages, std::function<std::string(model::Page &)> reason)
{
  watched_.clear();
  for (long n : pages)
    watched_[n] = Watched{};
  unchangedReason_ = std::move(reason);
}

void Runner::printUnchanged()
{
  view::DocWindow *doc = app_.activeDocument();
  if (!doc || watched_.empty())
    return;
  model::Document &d = doc->document();
  for (const auto &[n, w] : watched_) {
    if (!w.seen || n > d.pageCount())
      continue;
    model::Page *p = d.acquirePage(int(n - 1));
    FixedRect now = p->cropBox();
    if (now.left == w.crop.left && now.bottom == w.crop.bottom && now.right == w.crop.right &&
        now.top == w.crop.top) {
      std::string why = w.note;
      if (why.empty())
        why = unchangedReason_ ? unchangedReason_(*p) : std::string("nothing changed");
      out_ << "unchanged: page " << n << ": " << why << "\n";
    }
    d.releasePage(p);
  }
}

view::DocWindow *Runner::activeDoc(const Step &s)
{
  view::DocWindow *doc = app_.activeDocument();
  if (!doc)
    error(s.line, std::string(opName(s.op)) + ": no document is open");
  return doc;
}

bool Runner::step(const Step &s)
{
  bool ok = true;
  // One script command is one user action: its crop-box changes form one
  // undo step, named by the menu item or tool that made them.
  model::CropHistory::Action action("");
  // Whatever a step throws stops the run with a message; nothing unwinds
  // past the runner.
  auto stop = [&](const std::string &message) { error(s.line, message); };
  if (!guardRun([&] { ok = perform(s); }, stop))
    return false;
  if (!ok || failed_)
    return false;
  if (gInterrupted) {
    // Ctrl-C during a step that polls for no cancel: the run stops after it.
    gInterrupted = 0;
    model::clearCancelPageWork();
    interrupted_ = true;
  }
  if (interrupted_)
    return error(s.line, "interrupted: the command was cancelled and the run stops; nothing more is saved");
  // As the viewer repaints after every user action, so the page-view drawing
  // callbacks run between actions here too.
  if (!guardRun(
          [&] {
            if (view::DocWindow *doc = app_.activeDocument())
              doc->pageView().drawNow();
          },
          [&](const std::string &message) { error(s.line, "cannot show the page: " + message); }))
    return false;
  // Queued answers belong to the action that follows them.
  if (s.op == Op::Menu || s.op == Op::Key || s.op == Op::Button || s.op == Op::Drag || s.op == Op::Click ||
      s.op == Op::Revert)
    dropUnusedAnswers();
  return !failed_;
}

bool Runner::perform(const Step &s)
{
  switch (s.op) {
  case Op::Open:
    return open(s);
  case Op::Page:
    return goToPage(s);
  case Op::Zoom:
    return zoom(s);
  case Op::Menu:
    return menu(s);
  case Op::Key:
    return key(s);
  case Op::Button:
    return button(s);
  case Op::Drag:
  case Op::Click:
    return pointer(s);
  case Op::Answer:
    answers_.push_back({s.text, s.line});
    return true;
  case Op::Confirm:
    confirmations_.push_back({s.yes, s.line});
    return true;
  case Op::CancelAt:
    cancelAt_ = s.number;
    polls_ = 0;
    return true;
  case Op::Save:
    return save(s);
  case Op::Revert:
    return revert(s);
  case Op::Snapshot:
    return snapshot(s);
  case Op::ShowBoxes:
    return showBoxes(s);
  case Op::Undo:
  case Op::Redo:
    return undoRedo(s);
  }
  return true;
}

void Runner::dropUnusedAnswers()
{
  for (const Answer &a : answers_)
    out_ << "unused answer: " << a.label << " (line " << a.line << ")\n";
  for (const Confirmation &c : confirmations_)
    out_ << "unused answer: " << (c.yes ? "yes" : "no") << " (line " << c.line << ")\n";
  answers_.clear();
  confirmations_.clear();
}

bool Runner::open(const Step &s)
{
  password_ = s.password;
  havePassword_ = !s.password.empty();
  passwordAsked_ = false;
  try {
    view::DocWindow &doc = app_.openDocument(s.text);
    // Nothing here needs the page's pixels until a snapshot.
    doc.pageView().setShowsContents(false);
    out_ << "opened: " << escapeControlBytes(s.text) << " ("
         << view::countOf(doc.pageView().pageCount(), "page") << ")\n";
    const model::Document &d = doc.document();
    if (havePassword_ && !passwordAsked_ && d.isEncrypted() && !d.openedAsOwner())
      note("the password given is not the owner password of " + quoted(s.text) +
           "; the document has the permissions it grants without one");
  } catch (const model::ModelError &e) {
    havePassword_ = false;
    return error(s.line, "cannot open " + quoted(s.text) + ": " + e.what());
  }
  havePassword_ = false;
  return true;
}

bool Runner::goToPage(const Step &s)
{
  view::DocWindow *doc = activeDoc(s);
  if (!doc)
    return false;
  view::PageView &v = doc->pageView();
  if (s.number > v.pageCount() || !v.goToPage(int(s.number - 1)))
    return error(s.line, "page " + std::to_string(s.number) + " is out of range (the document has " +
                             view::countOf(v.pageCount(), "page") + ")");
  auto w = watched_.find(s.number);
  if (w != watched_.end() && !w->second.seen) {
    w->second.seen = true;
    w->second.crop = v.page().cropBox();
  }
  return true;
}

bool Runner::zoom(const Step &s)
{
  view::DocWindow *doc = activeDoc(s);
  if (!doc)
    return false;
  doc->pageView().setZoomPercent(double(s.number));
  return true;
}

bool Runner::menu(const Step &s)
{
  // The viewer's commands (View menu, keys) and every menu item, by name.
  controller_->showActiveDocument();
  view::MenuItem *item = controller_->command(s.text);
  if (!item)
    return error(s.line, "no menu item named " + quoted(s.text));
  if (!item->isEnabled())
    return error(s.line, "menu item " + quoted(s.text) + " is disabled" + whyDisabled());
  item->execute();
  return !failed_;
}

bool Runner::key(const Step &s)
{
  controller_->showActiveDocument();
  view::ViewerKey k;
  k.name = s.text;
  if (s.modifiers & ModShift)
    k.flags |= view::kShortcutShift;
  if (s.modifiers & ModAlt)
    k.flags |= view::kShortcutAlt;
  if (s.modifiers & ModCtrl)
    k.flags |= view::kShortcutCtrl;
  view::MenuItem *item = controller_->commandForKey(k);
  if (!item)
    return error(s.line, "no command is bound to the key " + quoted(s.text));
  if (!item->isEnabled())
    return error(s.line, "the key " + quoted(s.text) + " runs " + quoted(item->name()) +
                             ", which is disabled" + whyDisabled());
  controller_->keyPress(k);
  return !failed_;
}

bool Runner::button(const Step &s)
{
  view::ToolButton *b = app_.toolBar().buttonByName(s.text);
  if (!b)
    return error(s.line, "no tool bar button named " + quoted(s.text));
  if (!b->isEnabled())
    return error(s.line, "tool bar button " + quoted(s.text) + " is disabled" + whyDisabled());
  b->execute();
  return !failed_;
}

std::string Runner::whyDisabled()
{
  // A command that changes pages is disabled on a document whose
  // permissions forbid modifying it: say so, not only that it is disabled.
  view::DocWindow *doc = app_.activeDocument();
  if (doc && (doc->document().permissions() & pdPermEdit) == 0)
    return ": " + std::string(kModifyForbidden);
  return std::string();
}

static double exactZoom(view::PageView &v, const std::vector<std::pair<double, double>> &points)
{
  const double top = v.maxZoomPercent();
  double best = top, bestError = -1;
  auto errorAt = [&](double zoom) {
    v.setZoomPercent(zoom);
    double worst = 0;
    for (const auto &[x, y] : points) {
      double dx, dy, px, py;
      v.pageToDevice(x, y, dx, dy);
      v.deviceToPage(std::round(dx), std::round(dy), px, py);
      worst = std::max({worst, std::fabs(px - x), std::fabs(py - y)});
    }
    return worst;
  };
  // The largest zoom first, then whole percents down to half of it.
  for (double zoom = top, step = 0; zoom >= top / 2 && zoom >= v.minZoomPercent(); step += 1) {
    double e = errorAt(zoom);
    if (bestError < 0 || e < bestError - 1e-9) {
      best = zoom;
      bestError = e;
    }
    zoom = std::floor(top) - step;
  }
  return best;
}

bool Runner::pointer(const Step &s)
{
  view::DocWindow *doc = activeDoc(s);
  if (!doc)
    return false;
  view::PageView &v = doc->pageView();
  // Page points are meant exactly: the action runs at the zoom, between the
  // largest one the view accepts for this page and half of it, at which the
  // step's points come back from whole device units closest to themselves
  // (the larger zoom on a tie). The largest zoom alone bounds the error by
  // half a device unit (under 1/16 pt on pages up to about 700 x 700 pt);
  // the choice among the others keeps whole-point coordinates on whole-point
  // pages exact. The script's own zoom and scroll (snapshots) are put back
  // afterwards; nothing is drawn at the exact zoom.
  const double userZoom = v.zoomPercent();
  const int userScrollX = v.scrollX(), userScrollY = v.scrollY();
  struct ZoomBack {
    view::PageView &v;
    double zoom;
    int sx, sy;
    ~ZoomBack()
    {
      v.holdDrawing(false);
      v.setZoomPercent(zoom);
      v.setScroll(sx, sy);
    }
  } zoomBack{v, userZoom, userScrollX, userScrollY};
  v.holdDrawing(true);
  v.setScroll(0, 0);
  v.setZoomPercent(exactZoom(v, {{s.x1, s.y1}, {s.x2, s.y2}}));
  double dx1, dy1, dx2, dy2;
  v.pageToDevice(s.x1, s.y1, dx1, dy1);
  v.pageToDevice(s.x2, s.y2, dx2, dy2);
  auto device = [&](double d, FSInt16 &out) {
    double r = std::round(d); // halves away from zero, as the view rounds
    if (r < -32768 || r > 32767)
      return false;
    out = FSInt16(r);
    return true;
  };
  FSInt16 px, py;
  if (!device(dx1, px) || !device(dy1, py) || !device(dx2, releaseX_) || !device(dy2, releaseY_))
    return error(s.line, std::string(opName(s.op)) + ": point outside the view's device range");

  modifierWord_ = 0;
  if (s.modifiers & ModShift)
    modifierWord_ |= view::kModShift;
  if (s.modifiers & ModAlt)
    modifierWord_ |= view::kModAlt;
  if (s.modifiers & ModCtrl)
    modifierWord_ |= view::kModCtrl;
  pointerActive_ = true;
  app_.toolAdjustCursor(v, px, py);
  app_.toolClick(v, px, py, FSInt16(modifierWord_), 1);
  pointerActive_ = false;
  modifierWord_ = 0;
  return !failed_;
}

bool Runner::save(const Step &s)
{
  view::DocWindow *doc = activeDoc(s);
  if (!doc)
    return false;
  std::string why;
  if (!app_.saveDocument(*doc, s.hasText ? s.text : std::string(), &why))
    return error(s.line, why.empty() ? std::string("the document was not saved") : why);
  out_ << "saved: " << escapeControlBytes(s.hasText ? s.text : doc->document().path()) << "\n";
  return true;
}

bool Runner::undoRedo(const Step &s)
{
  view::DocWindow *doc = activeDoc(s);
  if (!doc)
    return false;
  const bool undo = s.op == Op::Undo;
  const std::string label = undo ? app_.undoLabel() : app_.redoLabel();
  if (label.empty())
    return error(s.line, undo ? "undo: nothing to undo" : "redo: nothing to redo");
  // Through the Edit menu's item, as a user chooses it.
  view::MenuItem *item = app_.menuBar().findItem(undo ? "Undo" : "Redo");
  if (item)
    item->execute();
  else if (!(undo ? app_.undo() : app_.redo()))
    return error(s.line, std::string(opName(s.op)) + ": nothing was changed");
  out_ << (undo ? "undone: " : "redone: ") << label << "\n";
  return !failed_;
}

bool Runner::revert(const Step &s)
{
  view::DocWindow *doc = activeDoc(s);
  if (!doc)
    return false;
  const std::string path = doc->document().path();
  const int page = doc->pageView().pageNumber();
  const double zoom = doc->pageView().zoomPercent();
  if (!app_.closeDocument(doc, true))
    return error(s.line, "revert: the document could not be closed");
  try {
    view::DocWindow &again = app_.openDocument(path);
    again.pageView().setShowsContents(false);
    again.pageView().setZoomPercent(zoom);
    again.pageView().goToPage(page);
  } catch (const model::ModelError &e) {
    return error(s.line, "revert: cannot open " + quoted(path) + " again: " + e.what());
  }
  out_ << "reverted: " << escapeControlBytes(path) << "\n";
  return true;
}

bool Runner::snapshot(const Step &s)
{
  view::DocWindow *doc = activeDoc(s);
  if (!doc)
    return false;
  view::PageView &v = doc->pageView();
  v.setShowsContents(true);
  v.drawNow();
  v.setShowsContents(false);
  if (!v.renderError().empty())
    out_ << "note: " << v.renderError() << "\n";
  std::string why;
  if (!v.writePng(s.text, &why))
    return error(s.line, "snapshot: " + why);
  out_ << "snapshot: " << escapeControlBytes(s.text) << "\n";
  return true;
}

bool Runner::showBoxes(const Step &s)
{
  view::DocWindow *doc = activeDoc(s);
  if (!doc)
    return false;
  model::Document &d = doc->document();
  const int n = d.pageCount();
  for (int i = 0; i < n; ++i) {
    model::Page *p = d.acquirePage(i);
    FixedRect m = p->mediaBox(), c = p->cropBox();
    PDRotate r = p->rotate();
    d.releasePage(p);
    out_ << "page " << (i + 1) << ": media " << formatFixed(m.left) << " " << formatFixed(m.bottom) << " "
         << formatFixed(m.right) << " " << formatFixed(m.top) << " crop " << formatFixed(c.left) << " "
         << formatFixed(c.bottom) << " " << formatFixed(c.right) << " " << formatFixed(c.top) << " rotate "
         << r << "\n";
  }
  return true;
}

// ---- ports ---------------------------------------------------------------------

int Runner::ask(const view::Question &q)
{
  const std::string shown =
      "question: " + escapeControlBytes(q.message) + " [" + joinButtons(q.buttons) + "]";
  if (failed_)
    return 0;
  if (answers_.empty()) {
    out_ << shown << " -> (no answer)\n";
    error(currentLine_, "unanswered question " + quoted(q.message) + " [" + joinButtons(q.buttons) +
                            "]; queue its answer with \"answer LABEL\" before the action");
    return 0;
  }
  Answer a = answers_.front();
  answers_.pop_front();
  // The answer may list alternatives ("All|Current"): the first that is a
  // button of this question is pressed.
  std::stringstream alternatives(a.label);
  std::string label;
  while (std::getline(alternatives, label, '|')) {
    for (size_t i = 0; i < q.buttons.size(); ++i) {
      if (q.buttons[i] == label) {
        out_ << shown << " -> " << label << "\n";
        return int(i) + 1;
      }
    }
  }
  out_ << shown << " -> (no such button)\n";
  error(a.line, "answer " + quoted(a.label) + " is not a button of the question " + quoted(q.message) + " [" +
                    joinButtons(q.buttons) + "]");
  return 0;
}

void Runner::note(const std::string &message)
{
  if (failed_)
    return;
  if (progShown_ >= 0 && progressBar_) {
    err_ << "\r\033[K";
    progShown_ = -1;
  }
  out_ << "note: " << escapeControlBytes(message) << "\n";
  if (view::DocWindow *doc = app_.activeDocument()) {
    auto w = watched_.find(doc->pageView().pageNumber() + 1L);
    if (w != watched_.end())
      w->second.note = message;
  }
  out_.flush();
}

bool Runner::confirm(const std::string &message)
{
  if (failed_)
    return false;
  if (confirmations_.empty()) {
    out_ << "confirm: " << escapeControlBytes(message) << " -> (no answer)\n";
    error(currentLine_, "unanswered confirmation " + quoted(message) +
                            "; queue its answer with \"confirm yes|no\" before the action");
    return false;
  }
  Confirmation c = confirmations_.front();
  confirmations_.pop_front();
  out_ << "confirm: " << escapeControlBytes(message) << " -> " << (c.yes ? "yes" : "no") << "\n";
  return c.yes;
}

void Runner::begin()
{
  progDuration_ = 0;
  progValue_ = 0;
  progShown_ = -1;
}

void Runner::end()
{
  if (progressBar_ && progShown_ >= 0)
    drawProgress(true);
  progShown_ = -1;
}

void Runner::setDuration(FSInt32 duration)
{
  progDuration_ = duration;
  if (progressBar_)
    drawProgress(false);
}

void Runner::setValue(FSInt32 value)
{
  progValue_ = value;
  if (progressBar_)
    drawProgress(false);
}

void Runner::drawProgress(bool final)
{
  if (final) {
    err_ << "\r\033[K" << std::flush;
    return;
  }
  if (progDuration_ <= 0)
    return;
  int percent = int(std::lround(100.0 * std::max(0, std::min(progValue_, progDuration_)) / progDuration_));
  if (percent == progShown_)
    return;
  progShown_ = percent;
  const int width = 40;
  int filled = percent * width / 100;
  err_ << "\r[" << std::string(size_t(filled), '#') << std::string(size_t(width - filled), ' ') << "] "
       << progValue_ << "/" << progDuration_ << std::flush;
}

bool Runner::cancelRequested()
{
  ++polls_;
  if (failed_)
    return true;
  if (gInterrupted) {
    gInterrupted = 0;
    model::clearCancelPageWork();
    interrupted_ = true;
    out_ << "cancel: interrupted at poll " << polls_ << "\n";
    return true;
  }
  if (cancelAt_ > 0 && polls_ >= cancelAt_) {
    out_ << "cancel: poll " << polls_ << " answers true\n";
    cancelAt_ = 0;
    return true;
  }
  return false;
}

FVRect Runner::dragOutNewRect(view::PageView &, FSInt16 x, FSInt16 y)
{
  if (!pointerActive_)
    return normalised(x, y, x, y);
  return normalised(x, y, releaseX_, releaseY_);
}

FVRect Runner::dragRect(view::PageView &, FSInt16 x, FSInt16 y, const FVRect &start, FSInt16 dragType,
                        const FVRect *extrema)
{
  long dx = pointerActive_ ? long(releaseX_) - x : 0;
  long dy = pointerActive_ ? long(releaseY_) - y : 0;
  long l = start.left, t = start.top, r = start.right, b = start.bottom;
  switch (dragType) {
  case fvDragMove:
    l += dx, r += dx, t += dy, b += dy;
    break;
  case fvDragLeftTop:
    l += dx, t += dy;
    break;
  case fvDragRightTop:
    r += dx, t += dy;
    break;
  case fvDragRightBottom:
    r += dx, b += dy;
    break;
  case fvDragLeftBottom:
    l += dx, b += dy;
    break;
  default:
    break;
  }
  if (extrema) {
    if (dragType == fvDragMove) {
      // A moved rectangle keeps its size and is pushed back inside.
      if (l < extrema->left)
        r += extrema->left - l, l = extrema->left;
      if (r > extrema->right)
        l -= r - extrema->right, r = extrema->right;
      if (t < extrema->top)
        b += extrema->top - t, t = extrema->top;
      if (b > extrema->bottom)
        t -= b - extrema->bottom, b = extrema->bottom;
    } else {
      l = std::max<long>(l, extrema->left);
      r = std::min<long>(r, extrema->right);
      t = std::max<long>(t, extrema->top);
      b = std::min<long>(b, extrema->bottom);
    }
  }
  return normalised(l, t, r, b);
}

FSInt32 Runner::modifiers()
{
  return pointerActive_ ? modifierWord_ : 0;
}

std::optional<std::string> Runner::askPassword(const std::string &, int attempt)
{
  // The same password on every attempt: when it is wrong, the model tries it
  // up to its limit and then says that it is wrong (not that none was given).
  (void)attempt;
  passwordAsked_ = true;
  if (!havePassword_)
    return std::nullopt;
  return password_;
}

std::optional<int> Runner::askPageNumber(int pageCount)
{
  const std::string shown = "question: Go to page (1 - " + std::to_string(pageCount) + ")";
  if (failed_)
    return std::nullopt;
  if (answers_.empty()) {
    out_ << shown << " -> (no answer)\n";
    error(currentLine_,
          "unanswered question \"Go to page\"; queue the page number with \"answer N\" before it");
    return std::nullopt;
  }
  Answer a = answers_.front();
  answers_.pop_front();
  char *end = nullptr;
  long n = std::strtol(a.label.c_str(), &end, 10);
  if (a.label.empty() || *end != '\0' || n < 1 || n > pageCount) {
    out_ << shown << " -> (no such page)\n";
    error(a.line,
          "answer " + quoted(a.label) + " is not a page number from 1 to " + std::to_string(pageCount));
    return std::nullopt;
  }
  out_ << shown << " -> " << n << "\n";
  return int(n);
}

std::optional<std::string> Runner::givenPassword(const std::string &)
{
  if (!havePassword_)
    return std::nullopt;
  return password_;
}

} // namespace folio::batch
