// ToolBar.h: the host's tool bar model: named buttons with icons, help text
// and procedures, and separators. Toolkit-free; the Motif viewer builds its
// buttons from it, the batch runner presses them by name.
//
// The tool bar owns the buttons added to it (freed with the tool bar). A
// button made with ToolButton::create and never added is the creator's.
//
// The host's own layout: the buttons of the host's tools ("Hand", "Thread"),
// then the separator "endToolsGroup" that ends the tools group. Extensions add
// their tool buttons before "endToolsGroup" so they join the group.
//
// Room: the tool bar has a capacity (maxButtons, default 40, configurable);
// separators count as half a button. isRoomFor() compares with what is left.
//
// Not thread-safe: the user-interface thread only.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "folio/FolioTypes.h"
#include "view/Menus.h"

namespace folio::view {

class ToolBar;

class ToolButton {
public:
  // True when `button` is a ToolButton alive now (made and not yet freed).
  // The address is only looked up, never dereferenced.
  static bool isLive(const ToolButton *button);

  // `name` is an atom (FSAtomFromString); `nameString` its text, for front
  // ends (looked up from the atom table when empty).
  static ToolButton *create(FSAtom name, FVIcon icon, bool isSeparator, bool noFlyout);

  FSAtom name() const { return name_; }
  const std::string &nameString() const { return nameString_; }
  FVIcon icon() const { return icon_; }
  bool isSeparator() const { return separator_; }
  bool noFlyout() const { return noFlyout_; }
  const std::string &helpText() const { return help_; }
  void setHelpText(const std::string &text) { help_ = text; }
  ToolBar *toolBar() const { return bar_; }

  // The button's procedures (see CommandProcs.h).
  void setExecuteProc(FSCallback proc, void *data) { procs_.setExecuteProc(proc, data); }
  void setComputeEnabledProc(FSCallback proc, void *data) { procs_.setComputeEnabledProc(proc, data); }
  void setComputeMarkedProc(FSCallback proc, void *data) { procs_.setComputeMarkedProc(proc, data); }
  void setHostExecute(std::function<void()> fn) { procs_.setHostExecute(std::move(fn)); }
  void setHostEnabled(std::function<bool()> fn) { procs_.setHostEnabled(std::move(fn)); }
  void setHostMarked(std::function<bool()> fn) { procs_.setHostMarked(std::move(fn)); }
  const ProcBinding &executeProc() const { return procs_.executeProc(); }
  const ProcBinding &enabledProc() const { return procs_.enabledProc(); }
  const ProcBinding &markedProc() const { return procs_.markedProc(); }

  // As for menu items: no enabled procedure: enabled; no marked one: not
  // marked. A separator is never enabled.
  bool isEnabled() const;
  bool isMarked() const;
  void execute();
  // Asks isEnabled() first; true when it ran.
  bool runAsUser();

private:
  friend class ToolBar;
  ToolButton();
  ~ToolButton();
  ToolButton(const ToolButton &) = delete;
  ToolButton &operator=(const ToolButton &) = delete;
  FSAtom name_ = FSAtomNull;
  std::string nameString_;
  FVIcon icon_ = nullptr;
  bool separator_ = false, noFlyout_ = false;
  std::string help_;
  ToolBar *bar_ = nullptr;
  CommandProcs procs_;
};

class ToolBar {
public:
  explicit ToolBar(int maxButtons = 40);
  ~ToolBar();
  ToolBar(const ToolBar &) = delete;
  ToolBar &operator=(const ToolBar &) = delete;

  const std::vector<ToolButton *> &buttons() const { return buttons_; }
  int maxButtons() const { return maxButtons_; }
  void setMaxButtons(int n) { maxButtons_ = n; }
  // Room used: buttons count 1, separators 1/2 (rounded up in total).
  int used() const;
  // True when nButtons more buttons and nSeparators more separators fit.
  bool isRoomFor(int nButtons, int nSeparators) const;

  // Adds `button` (taking ownership) before (`before` true) or after `other`.
  // With `other` null or not on this tool bar: at the end when `before` is
  // true, at the start when it is false. A button already on the tool bar is
  // moved. Adding works even with no room left: isRoomFor is advisory, as for
  // the extensions that ask it.
  void addButton(ToolButton *button, bool before, ToolButton *other);
  // Takes the button out and frees it.
  void removeButton(ToolButton *button);
  // The first button named `name`, or null.
  ToolButton *buttonByName(FSAtom name) const;
  ToolButton *buttonByName(const std::string &name) const;
  int indexOf(const ToolButton *button) const;

  // Change notices, as for the menu bar.
  int addListener(std::function<void()> fn);
  void removeListener(int id);
  unsigned revision() const { return revision_; }

private:
  void changed();
  std::vector<ToolButton *> buttons_;
  int maxButtons_;
  std::vector<std::pair<int, std::function<void()>>> listeners_;
  int nextListener_ = 1;
  unsigned revision_ = 0;
};

} // namespace folio::view
