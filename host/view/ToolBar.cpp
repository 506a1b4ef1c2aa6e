// ToolBar.cpp: the tool bar model (see ToolBar.h).
#include "view/ToolBar.h"

#include <algorithm>
#include <unordered_set>

#include "core/Atoms.h"
#include "model/CropHistory.h"
#include "view/Menus.h"

namespace folio::view {

namespace {
// Every button alive, so that a handle an extension passes can be checked
// without being dereferenced.
std::unordered_set<const ToolButton *> &liveButtons()
{
  static std::unordered_set<const ToolButton *> buttons;
  return buttons;
}
} // namespace

ToolButton::ToolButton()
{
  liveButtons().insert(this);
}

ToolButton::~ToolButton()
{
  liveButtons().erase(this);
}

bool ToolButton::isLive(const ToolButton *button)
{
  return button && liveButtons().count(button) != 0;
}

ToolButton *ToolButton::create(FSAtom name, FVIcon icon, bool isSeparator, bool noFlyout)
{
  auto *button = new ToolButton();
  button->name_ = name;
  if (const char *s = atomString(name))
    button->nameString_ = s;
  button->icon_ = icon;
  button->separator_ = isSeparator;
  button->noFlyout_ = noFlyout;
  return button;
}

bool ToolButton::isEnabled() const
{
  if (separator_)
    return false;
  return procs_.isEnabled();
}

bool ToolButton::isMarked() const
{
  if (separator_)
    return false;
  return procs_.isMarked();
}

void ToolButton::execute()
{
  // One user action; a button that changes crop boxes names its step by its
  // help text (its name when it has none).
  model::CropHistory::Action action(actionLabel(help_.empty() ? nameString_ : help_));
  procs_.execute();
}

bool ToolButton::runAsUser()
{
  if (!isEnabled())
    return false;
  execute();
  return true;
}

ToolBar::ToolBar(int maxButtons) : maxButtons_(maxButtons) {}

ToolBar::~ToolBar()
{
  for (ToolButton *b : buttons_)
    delete b;
}

int ToolBar::used() const
{
  int buttons = 0, separators = 0;
  for (const ToolButton *b : buttons_)
    (b->isSeparator() ? separators : buttons) += 1;
  return buttons + (separators + 1) / 2;
}

bool ToolBar::isRoomFor(int nButtons, int nSeparators) const
{
  int buttons = 0, separators = 0;
  for (const ToolButton *b : buttons_)
    (b->isSeparator() ? separators : buttons) += 1;
  buttons += std::max(0, nButtons);
  separators += std::max(0, nSeparators);
  return buttons + (separators + 1) / 2 <= maxButtons_;
}

void ToolBar::addButton(ToolButton *button, bool before, ToolButton *other)
{
  if (!button)
    return;
  auto self = std::find(buttons_.begin(), buttons_.end(), button);
  if (self != buttons_.end())
    buttons_.erase(self);
  auto it = std::find(buttons_.begin(), buttons_.end(), other);
  if (!other || it == buttons_.end())
    buttons_.insert(before ? buttons_.end() : buttons_.begin(), button);
  else
    buttons_.insert(before ? it : it + 1, button);
  button->bar_ = this;
  changed();
}

void ToolBar::removeButton(ToolButton *button)
{
  auto it = std::find(buttons_.begin(), buttons_.end(), button);
  if (it == buttons_.end())
    return;
  buttons_.erase(it);
  delete button;
  changed();
}

ToolButton *ToolBar::buttonByName(FSAtom name) const
{
  if (name == FSAtomNull)
    return nullptr;
  for (ToolButton *b : buttons_) {
    if (b->name() == name)
      return b;
  }
  return nullptr;
}

ToolButton *ToolBar::buttonByName(const std::string &name) const
{
  for (ToolButton *b : buttons_) {
    if (b->nameString() == name)
      return b;
  }
  return nullptr;
}

int ToolBar::indexOf(const ToolButton *button) const
{
  auto it = std::find(buttons_.begin(), buttons_.end(), button);
  return it == buttons_.end() ? -1 : static_cast<int>(it - buttons_.begin());
}

int ToolBar::addListener(std::function<void()> fn)
{
  int id = nextListener_++;
  listeners_.emplace_back(id, std::move(fn));
  return id;
}

void ToolBar::removeListener(int id)
{
  listeners_.erase(std::remove_if(listeners_.begin(), listeners_.end(),
                                  [id](const auto &entry) { return entry.first == id; }),
                   listeners_.end());
}

void ToolBar::changed()
{
  ++revision_;
  auto listeners = listeners_;
  for (auto &entry : listeners)
    entry.second();
}

} // namespace folio::view
