// CropHistory.h: the undo and redo history of a document's crop-box changes.
//
// Every crop box the host writes (Page::setCropBox) is recorded here: page
// index, the page's own crop box before and after. The changes of one user
// action (a menu item, a tool click with everything it triggers, a batch
// command) form one step, named after the action: the front ends open an
// Action around each; changes made outside any action form a step of their
// own ("Crop"). Undo and redo are Document::undo() and Document::redo(),
// which put the boxes back through the page and notify, so views redraw and
// the document becomes modified.
//
// Memory: only pages whose box really changed are kept. A step is one byte
// stream of runs of consecutive pages with the same before and after boxes:
// the gap to the run and its length as variable-length numbers, then each
// box as the difference from the box before it in its place, before or
// after (a box equal to that one is a single byte). A region applied to all pages of a
// 100,000-page document of one size costs a few dozen bytes; a crop of
// every page to its own bounding box a dozen or two bytes a page. While an
// action runs, its changes are kept as they come (40 bytes a write) and
// folded into the step when it ends.
//
// Not thread-safe: the user-interface thread only (the action state is
// process-wide, as user actions are).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "folio/FolioTypes.h"

namespace folio::model {

// A page's crop box as the page object itself holds it: `own` false when
// the page has no /CropBox of its own (it inherits one or shows its media
// box); then `box` is unused.
struct CropState {
  bool own = false;
  FixedRect box{};
};
bool operator==(const CropState &a, const CropState &b);
inline bool operator!=(const CropState &a, const CropState &b)
{
  return !(a == b);
}

// One page's change inside a step.
struct CropChange {
  int page = 0; // zero-based
  CropState before, after;
};

class CropHistory {
public:
  // ---- user actions (process-wide) ------------------------------------------
  // Opens an action; actions nest, and the outermost one names the step (an
  // empty label lets the next inner action name it). Every beginAction is
  // matched by one endAction; an unmatched endAction is ignored.
  static void beginAction(const std::string &label);
  static void endAction();
  static bool actionOpen();
  // Opens an action for the length of a scope.
  class Action {
  public:
    explicit Action(const std::string &label) { beginAction(label); }
    ~Action() { endAction(); }
    Action(const Action &) = delete;
    Action &operator=(const Action &) = delete;
  };
  // The label of a step recorded outside any action.
  static const char *const kDefaultLabel;

  // ---- recording ------------------------------------------------------------
  // Records that `page`'s own crop box goes from `before` to `after`. Drops
  // the redo steps. Nothing is recorded while the history applies an undo or
  // redo (see Applying) or when the two are equal.
  void record(int page, const CropState &before, const CropState &after);

  // ---- undo and redo --------------------------------------------------------
  bool canUndo();
  bool canRedo();
  // The label of the step that undo / redo would take ("" when none).
  std::string undoLabel();
  std::string redoLabel();
  // Takes the newest undo step out and moves it to the redo side; `changes`
  // receives its changes (one a page, in page order). False when none.
  bool takeUndo(std::vector<CropChange> &changes, std::string &label);
  bool takeRedo(std::vector<CropChange> &changes, std::string &label);
  // Forgets everything (Revert, and a fresh document, start empty).
  void clear();

  // While one exists, record() ignores what it is told: the history's own
  // undo and redo write boxes through the page without recording them.
  class Applying {
  public:
    explicit Applying(CropHistory &h) : h_(h) { ++h_.applying_; }
    ~Applying() { --h_.applying_; }
    Applying(const Applying &) = delete;
    Applying &operator=(const Applying &) = delete;

  private:
    CropHistory &h_;
  };

  // For tests and the memory benchmark.
  size_t undoCount();
  size_t redoCount();
  // Bytes held by the steps and the pending changes
  // (capacities, not sizes; containers' own headers included).
  size_t memoryBytes() const;

private:
  struct Step {
    std::string label;
    std::vector<std::uint8_t> data; // the runs, encoded (see CropHistory.cpp)
  };
  void flush(); // folds the pending changes into a step once their action ended
  void commit(const std::string &label);
  bool take(std::vector<Step> &from, std::vector<Step> &to, std::vector<CropChange> &changes,
            std::string &label, bool undo);

  std::vector<Step> undo_, redo_;
  std::vector<CropChange> pending_;
  std::string pendingLabel_;
  std::uint64_t pendingAction_ = 0;
  int applying_ = 0;
};

} // namespace folio::model
