// CropHistory.cpp: recording, grouping and taking back crop-box changes (see
// CropHistory.h).
#include "CropHistory.h"

#include <algorithm>

namespace folio::model {

namespace {

// The user action in progress: one per process, as the user does one thing
// at a time. `serial` tells one action's changes from the next one's.
struct ActionState {
  int depth = 0;
  std::string label;
  std::uint64_t serial = 0;
};

ActionState &action()
{
  static ActionState state;
  return state;
}

bool sameBox(const FixedRect &a, const FixedRect &b)
{
  return a.left == b.left && a.bottom == b.bottom && a.right == b.right && a.top == b.top;
}

} // namespace

const char *const CropHistory::kDefaultLabel = "Crop";

bool operator==(const CropState &a, const CropState &b)
{
  return a.own == b.own && (!a.own || sameBox(a.box, b.box));
}

void CropHistory::beginAction(const std::string &label)
{
  ActionState &a = action();
  if (a.depth++ == 0) {
    ++a.serial;
    a.label = label;
  } else if (a.label.empty()) {
    a.label = label;
  }
}

void CropHistory::endAction()
{
  ActionState &a = action();
  if (a.depth > 0)
    --a.depth;
}

bool CropHistory::actionOpen()
{
  return action().depth > 0;
}

void CropHistory::record(int page, const CropState &before, const CropState &after)
{
  if (applying_ > 0 || before == after || page < 0)
    return;
  const ActionState &a = action();
  if (!pending_.empty() && (a.depth == 0 || pendingAction_ != a.serial))
    commit(pendingLabel_);
  redo_.clear();
  pending_.push_back(CropChange{page, before, after});
  if (a.depth == 0) {
    commit(kDefaultLabel);
    return;
  }
  pendingAction_ = a.serial;
  pendingLabel_ = a.label;
}

void CropHistory::flush()
{
  const ActionState &a = action();
  if (!pending_.empty() && (a.depth == 0 || pendingAction_ != a.serial))
    commit(pendingLabel_.empty() ? std::string(kDefaultLabel) : pendingLabel_);
}

void CropHistory::commit(const std::string &label)
{
  // One change a page: the box before the first write and after the last.
  std::stable_sort(pending_.begin(), pending_.end(),
                   [](const CropChange &x, const CropChange &y) { return x.page < y.page; });
  Step step;
  step.label = label.empty() ? kDefaultLabel : label;
  for (size_t i = 0; i < pending_.size();) {
    size_t j = i;
    while (j + 1 < pending_.size() && pending_[j + 1].page == pending_[i].page)
      ++j;
    const CropState &before = pending_[i].before, &after = pending_[j].after;
    auto page = static_cast<std::uint32_t>(pending_[i].page);
    i = j + 1;
    if (before == after)
      continue; // written and put back (a cancelled run)
    std::uint32_t b = boxId(before), f = boxId(after);
    if (!step.runs.empty()) {
      Run &last = step.runs.back();
      if (last.first + last.count == page && last.before == b && last.after == f) {
        ++last.count;
        continue;
      }
    }
    step.runs.push_back(Run{page, 1, b, f});
  }
  pending_.clear();
  pending_.shrink_to_fit();
  pendingLabel_.clear();
  if (step.runs.empty())
    return;
  step.runs.shrink_to_fit();
  boxes_.shrink_to_fit();
  undo_.push_back(std::move(step));
}

std::uint32_t CropHistory::boxId(const CropState &state)
{
  if (!state.own)
    return 0;
  // Boxes repeat in a row (the same media box, the same region): look back a
  // little before adding one.
  size_t n = boxes_.size();
  for (size_t k = 0; k < 4 && k < n; ++k)
    if (sameBox(boxes_[n - 1 - k], state.box))
      return static_cast<std::uint32_t>(n - k);
  boxes_.push_back(state.box);
  return static_cast<std::uint32_t>(boxes_.size());
}

CropState CropHistory::stateOf(std::uint32_t id) const
{
  CropState s;
  if (id == 0 || id > boxes_.size())
    return s;
  s.own = true;
  s.box = boxes_[id - 1];
  return s;
}

bool CropHistory::canUndo()
{
  flush();
  return !undo_.empty();
}

bool CropHistory::canRedo()
{
  flush();
  return !redo_.empty();
}

std::string CropHistory::undoLabel()
{
  flush();
  return undo_.empty() ? std::string() : undo_.back().label;
}

std::string CropHistory::redoLabel()
{
  flush();
  return redo_.empty() ? std::string() : redo_.back().label;
}

bool CropHistory::take(std::vector<Step> &from, std::vector<Step> &to, std::vector<CropChange> &changes,
                       std::string &label, bool undo)
{
  flush();
  changes.clear();
  if (from.empty())
    return false;
  Step step = std::move(from.back());
  from.pop_back();
  for (const Run &r : step.runs) {
    CropState before = stateOf(r.before), after = stateOf(r.after);
    for (std::uint32_t k = 0; k < r.count; ++k) {
      CropChange c;
      c.page = static_cast<int>(r.first + k);
      c.before = undo ? after : before;
      c.after = undo ? before : after;
      changes.push_back(c);
    }
  }
  label = step.label;
  to.push_back(std::move(step));
  return true;
}

bool CropHistory::takeUndo(std::vector<CropChange> &changes, std::string &label)
{
  return take(undo_, redo_, changes, label, true);
}

bool CropHistory::takeRedo(std::vector<CropChange> &changes, std::string &label)
{
  return take(redo_, undo_, changes, label, false);
}

void CropHistory::clear()
{
  undo_.clear();
  redo_.clear();
  boxes_.clear();
  boxes_.shrink_to_fit();
  pending_.clear();
  pendingLabel_.clear();
}

size_t CropHistory::undoCount()
{
  flush();
  return undo_.size();
}

size_t CropHistory::redoCount()
{
  flush();
  return redo_.size();
}

size_t CropHistory::memoryBytes() const
{
  size_t bytes = sizeof(*this);
  for (const auto *side : {&undo_, &redo_}) {
    bytes += side->capacity() * sizeof(Step);
    for (const Step &s : *side)
      bytes += s.runs.capacity() * sizeof(Run) + (s.label.capacity() > 15 ? s.label.capacity() + 1 : 0);
  }
  bytes += boxes_.capacity() * sizeof(FixedRect);
  bytes += pending_.capacity() * sizeof(CropChange);
  return bytes;
}

} // namespace folio::model
