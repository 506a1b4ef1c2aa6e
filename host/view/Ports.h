// Ports.h: what the view layer asks of a front end.
//
// The view layer holds no toolkit code. Everything that needs a user or a
// screen goes through these small interfaces, which each front end (the Motif
// viewer, the batch runner, tests) implements. The application holds them by
// plain pointer in a Ports record: the front end owns them and keeps them alive
// while the application uses them. Any port may be absent (null); each says
// what the host does then.
//
// All calls come on the host's user-interface thread, synchronously; a port
// call may run a nested event loop (modal dialogs, drag loops) but must not
// destroy the page view or document it was called about.
#pragma once

#include <string>
#include <vector>

#include "folio/FolioTypes.h"
#include "model/PasswordPort.h"

namespace folio::view {

class PageView;

// ---- the host's encodings -------------------------------------------------

// The modifier word of FVSysGetModifiers: one bit per key held, nothing else.
// So Ctrl alone gives exactly 4 and Ctrl with Shift gives 5.
enum ModifierBits : FSInt32 {
  kModShift = fvModifierShift,
  kModAlt = fvModifierAlt,
  kModCtrl = fvModifierCtrl
};

// Shortcut modifier flags of FVMenuItemNew: 8 is Ctrl, 1 Shift, 2 Alt; any
// other bits are ignored. Flags 0 with a shortcut character mean the plain key.
// So '9' with flags 8 is Ctrl+9 (see shortcutLabel() in Menus.h).
enum ShortcutFlags : FSInt16 {
  kShortcutShift = fvShortcutShift,
  kShortcutAlt = fvShortcutAlt,
  kShortcutCtrl = fvShortcutCtrl
};

// The host's standard cursors (FVSysGetStandardCursor): 0 is the arrow.
enum StandardCursor : FSInt32 {
  kCursorArrow = fvCursorArrow,
  kCursorIBeam = fvCursorIBeam,
  kCursorCross = fvCursorCross,
  kCursorWait = fvCursorWait,
  kCursorHand = fvCursorHand,
  kCursorGrab = fvCursorGrab,
  kStandardCursorCount = 6
};

// ---- alerts -----------------------------------------------------------------

// A modal question (FVAlert). iconType is the interface's fvAlert... value
// (0 stop, 1 note, 2 caution, 3 question); buttons holds one to three labels,
// absent ones left out (a null button2 also drops button3).
struct Question {
  FSInt32 iconType = 3;
  std::string message;
  std::vector<std::string> buttons;
  bool beep = false;
};

class AlertPort {
public:
  virtual ~AlertPort() = default;
  // The number of the button pressed, 1 .. buttons.size(); 0 when the user
  // dismissed the question without a button (window closed, Escape with no
  // button to take it).
  virtual int ask(const Question &question) = 0;
  // A note with one OK button; returns when the user has seen it.
  virtual void note(const std::string &message) = 0;
  // An OK/Cancel confirmation: true when the user confirmed.
  virtual bool confirm(const std::string &message) = 0;
};
// Absent: a question answers 0, a note is written to stderr, a confirmation
// answers false.

// Passwords of encrypted documents: the model's port (model/PasswordPort.h).
// Absent: only the empty password is tried.
using PasswordPort = model::PasswordPort;

// ---- progress and cancel ----------------------------------------------------

// Follows the host's progress monitor (FVAppGetDocProgressMonitor). Values
// are counts as the caller gives them (a duration, then the zero-based index
// of the item being worked on).
class ProgressPort {
public:
  virtual ~ProgressPort() = default;
  virtual void begin() = 0;
  virtual void end() = 0;
  virtual void setDuration(FSInt32 duration) = 0;
  virtual void setValue(FSInt32 value) = 0;
};
// Absent: the monitor still keeps its duration and value; nothing is shown.

// The host's cancel test (FVAppGetCancelProc), polled by long operations.
class CancelPort {
public:
  virtual ~CancelPort() = default;
  // True when the user asked to stop. Called once per poll; a front end may
  // process pending events here.
  virtual bool cancelRequested() = 0;
};
// Absent: never cancelled.

// ---- pointer and keyboard -----------------------------------------------------

// The host's drag loops. Both run from the press at (x, y) in the view's
// device space until the button is released and return a device rectangle.
class DragPort {
public:
  virtual ~DragPort() = default;
  // A rubber band from the press point to the release point, normalised
  // (left <= right, top <= bottom). A press without movement gives the
  // degenerate rectangle (x, y, x, y).
  virtual FVRect dragOutNewRect(PageView &view, FSInt16 x, FSInt16 y) = 0;
  // Moves (dragType fvDragMove, 0) or resizes by one corner (1 left-top,
  // 2 right-top, 3 right-bottom, 4 left-bottom) the rectangle `start` by the
  // pointer's offset from the press point, and returns it normalised. When
  // `extrema` is non-null the result is kept inside it.
  virtual FVRect dragRect(PageView &view, FSInt16 x, FSInt16 y, const FVRect &start, FSInt16 dragType,
                          const FVRect *extrema) = 0;
};
// Absent: dragOutNewRect gives (x, y, x, y); dragRect gives `start` unchanged.

// The keys held now, as a modifier word (ModifierBits).
class ModifierPort {
public:
  virtual ~ModifierPort() = default;
  virtual FSInt32 modifiers() = 0;
};
// Absent: 0.

// Cursors: FVCursor values are X cursors carried in a pointer-sized value.
class CursorPort {
public:
  virtual ~CursorPort() = default;
  // Shows `cursor` over the page views from now on (null: the default one).
  virtual void setCursor(FVCursor cursor) = 0;
  // The X cursor of a StandardCursor number; null when there is none. The
  // front end owns the cursor and keeps it for the life of the run.
  virtual FVCursor standardCursor(FSInt32 cursorID) = 0;
};
// Absent: setCursor only records the cursor (Application::currentCursor());
// standardCursor gives null.

// ---- presentation ---------------------------------------------------------------

// The page view's frame buffer has new pixels in `area` (device space,
// clipped to the frame): the front end shows them (the Motif viewer copies
// that part of the frame to its window; the batch runner has nothing to do).
class PresentPort {
public:
  virtual ~PresentPort() = default;
  virtual void present(PageView &view, const FVRect &area) = 0;
};
// Absent: nothing is shown; the frame still holds the pixels.

// The ports of one front end. Plain pointers, owned by the front end.
struct Ports {
  AlertPort *alerts = nullptr;
  PasswordPort *password = nullptr;
  ProgressPort *progress = nullptr;
  CancelPort *cancel = nullptr;
  DragPort *drag = nullptr;
  ModifierPort *modifiers = nullptr;
  CursorPort *cursors = nullptr;
  PresentPort *present = nullptr;
};

} // namespace folio::view
