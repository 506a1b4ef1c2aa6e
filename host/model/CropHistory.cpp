// CropHistory.cpp: recording, grouping and taking back crop-box changes (see
// CropHistory.h).
#include "model/CropHistory.h"

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

namespace {

// The step's byte stream. Numbers are unsigned variable-length (7 bits a
// byte, low first); signed ones zigzag-coded first. Each run:
//   gap (first page - end of the run before), count,
//   before box, after box
// and each box: 0 (no box of its own), 1 (the same as the last box written
// in its place, before or after, in this stream), or 2 and its four edges
// as differences from that box.
class Writer {
public:
  explicit Writer(std::vector<std::uint8_t> &out) : out_(out) {}
  void number(std::uint64_t v)
  {
    while (v >= 0x80) {
      out_.push_back(static_cast<std::uint8_t>(v | 0x80));
      v >>= 7;
    }
    out_.push_back(static_cast<std::uint8_t>(v));
  }
  void box(const CropState &s, int place)
  {
    FixedRect &last_ = last[place];
    if (!s.own) {
      out_.push_back(0);
      return;
    }
    if (sameBox(s.box, last_)) {
      out_.push_back(1);
      return;
    }
    out_.push_back(2);
    for (auto [now, was] : {std::pair{s.box.left, last_.left}, std::pair{s.box.bottom, last_.bottom},
                            std::pair{s.box.right, last_.right}, std::pair{s.box.top, last_.top}}) {
      std::int64_t d = static_cast<std::int64_t>(now) - was;
      number(d < 0 ? ((static_cast<std::uint64_t>(-(d + 1))) << 1) | 1 : static_cast<std::uint64_t>(d) << 1);
    }
    last_ = s.box;
  }

private:
  std::vector<std::uint8_t> &out_;
  FixedRect last[2]{};
};

class Reader {
public:
  explicit Reader(const std::vector<std::uint8_t> &in) : in_(in) {}
  bool done() const { return at_ >= in_.size(); }
  std::uint64_t number()
  {
    std::uint64_t v = 0;
    for (int shift = 0; at_ < in_.size() && shift < 64; shift += 7) {
      std::uint8_t b = in_[at_++];
      v |= static_cast<std::uint64_t>(b & 0x7f) << shift;
      if (!(b & 0x80))
        break;
    }
    return v;
  }
  CropState box(int place)
  {
    FixedRect &last_ = last[place];
    CropState s;
    std::uint8_t tag = at_ < in_.size() ? in_[at_++] : 0;
    if (tag == 0)
      return s;
    if (tag == 2) {
      for (Fixed *edge : {&last_.left, &last_.bottom, &last_.right, &last_.top}) {
        std::uint64_t z = number();
        std::int64_t d = (z & 1) ? -static_cast<std::int64_t>(z >> 1) - 1 : static_cast<std::int64_t>(z >> 1);
        *edge = static_cast<Fixed>(static_cast<std::int64_t>(*edge) + d);
      }
    }
    s.own = true;
    s.box = last_;
    return s;
  }

private:
  const std::vector<std::uint8_t> &in_;
  size_t at_ = 0;
  FixedRect last[2]{};
};

} // namespace

void CropHistory::commit(const std::string &label)
{
  // One change a page: the box before the first write and after the last.
  std::stable_sort(pending_.begin(), pending_.end(),
                   [](const CropChange &x, const CropChange &y) { return x.page < y.page; });
  Step step;
  step.label = label.empty() ? kDefaultLabel : label;
  Writer out(step.data);
  std::int64_t end = 0; // the page after the last run written
  bool open = false;
  CropChange run; // the run being gathered: first page, before, after
  std::int64_t count = 0;
  auto writeRun = [&] {
    if (!open)
      return;
    out.number(static_cast<std::uint64_t>(run.page - end));
    out.number(static_cast<std::uint64_t>(count));
    out.box(run.before, 0);
    out.box(run.after, 1);
    end = run.page + count;
  };
  for (size_t i = 0; i < pending_.size();) {
    size_t j = i;
    while (j + 1 < pending_.size() && pending_[j + 1].page == pending_[i].page)
      ++j;
    CropChange c{pending_[i].page, pending_[i].before, pending_[j].after};
    i = j + 1;
    if (c.before == c.after)
      continue; // written and put back (a cancelled run)
    if (open && run.page + count == c.page && run.before == c.before && run.after == c.after) {
      ++count;
      continue;
    }
    writeRun();
    run = c;
    count = 1;
    open = true;
  }
  writeRun();
  pending_.clear();
  pending_.shrink_to_fit();
  pendingLabel_.clear();
  if (step.data.empty())
    return;
  step.data.shrink_to_fit();
  undo_.push_back(std::move(step));
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
  Reader in(step.data);
  std::int64_t page = 0;
  while (!in.done()) {
    page += static_cast<std::int64_t>(in.number());
    std::int64_t count = static_cast<std::int64_t>(in.number());
    CropState before = in.box(0);
    CropState after = in.box(1);
    for (std::int64_t k = 0; k < count; ++k) {
      CropChange c;
      c.page = static_cast<int>(page + k);
      c.before = undo ? after : before;
      c.after = undo ? before : after;
      changes.push_back(c);
    }
    page += count;
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
      bytes += s.data.capacity() + (s.label.capacity() > 15 ? s.label.capacity() + 1 : 0);
  }
  bytes += pending_.capacity() * sizeof(CropChange);
  return bytes;
}

} // namespace folio::model
