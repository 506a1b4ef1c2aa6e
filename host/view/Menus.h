// Menus.h: the host's menu model: a menu bar of menus, menus of items, items
// that may carry a submenu. Toolkit-free; the Motif viewer builds its widgets
// from it, the batch runner runs items by name.
//
// Ownership (reference counts, as the FolioView table exposes them):
//  - Menu::create and MenuItem::create give one reference to the caller;
//    acquire() adds one, release() drops one; an object is freed when its
//    count reaches zero.
//  - A menu holds one reference to each of its items, taken on insertion and
//    dropped on removal; an item holds one reference to its submenu; the menu
//    bar holds one reference to each of its menus.
//  - Lookups by name (MenuBar::acquireMenuByName/acquireItemByName) return
//    acquired objects.
// So an item that a plug-in made, added and never released lives as long as
// its menu; one taken out of its menu lives while someone holds a reference.
//
// Host choices on indices:
//  - insert(item, index): 0 is first; kAppendIndex (9999), any index past the
//    end and any negative index put the item last. An item already in a menu
//    is taken out of it first.
//  - indexOf(item) of an item that is not in the menu is -1.
//
// Procedures: an item's execute / compute-enabled / compute-marked procedures
// are either an extension's (an FSCallback of FVExecuteProc /
// FVComputeEnabledProc / FVComputeMarkedProc with its client data) or the
// host's own (std::function). No compute-enabled procedure: always enabled;
// no compute-marked procedure: never marked.
//
// At exit the host frees every menu and item still alive, whatever their
// counts (destroyAllMenuObjects, called when the last Application goes):
// extensions keep items out of any menu on purpose and never release them.
//
// Not thread-safe: the user-interface thread only.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "folio/FolioTypes.h"
#include "view/CommandProcs.h"

namespace folio::view {

class Menu;
class MenuItem;
class MenuBar;

// Index meaning "at the end" (FVMenuAppendIndex).
constexpr FSInt32 kAppendIndex = 9999;

// The shortcut as a user reads it: "Ctrl+9", "Ctrl+Shift+S", "F" (flags 0);
// "" when `shortcut` is 0. Modifiers in the order Ctrl, Alt, Shift.
std::string shortcutLabel(char shortcut, FSInt16 flags);
// The title without its '&' mnemonic marker ("&&" stands for a literal '&').
std::string titleWithoutMnemonic(const std::string &title);
// The mnemonic character (the one after a single '&'), or 0.
char titleMnemonic(const std::string &title);
// The name of the undo step a command makes, from its title: without the
// mnemonic marker, a trailing "...", and the words "Page(s)", "Pages" and
// "Page" ("&Crop Page(s) to Bounding Box" -> "Crop to Bounding Box").
std::string actionLabel(const std::string &title);

// Frees every Menu and MenuItem still alive, ignoring reference counts. Only
// for the end of the run: every handle to them becomes invalid.
void destroyAllMenuObjects();

// True when `menu` / `item` is a Menu / MenuItem that is alive now. The
// address is only looked up, never dereferenced, so any value may be asked
// about (the tables check an extension's handles with it).
bool isLiveMenu(const Menu *menu);
bool isLiveMenuItem(const MenuItem *item);

class MenuItem {
public:
  // title: '&' marks the mnemonic; name: the item's unique name (may be "");
  // submenu: null or a menu the item will hold a reference to.
  static MenuItem *create(const std::string &title, const std::string &name, Menu *submenu = nullptr,
                          bool longMenusOnly = false, char shortcut = 0, FSInt16 flags = 0,
                          FVIcon icon = nullptr, ExtensionID owner = nullptr);

  MenuItem *acquire();
  void release();
  int refCount() const { return refs_; }

  const std::string &title() const { return title_; }
  const std::string &name() const { return name_; }
  Menu *submenu() const { return submenu_; }
  bool longMenusOnly() const { return longMenusOnly_; }
  char shortcut() const { return shortcut_; }
  FSInt16 shortcutFlags() const { return flags_; }
  FVIcon icon() const { return icon_; }
  ExtensionID owner() const { return owner_; }
  // The menu the item is in, or null.
  Menu *parent() const { return parent_; }

  // A title that changes with the state ("Undo Crop Region"): front ends show
  // currentTitle() each time the menu opens. Without a host title function it
  // is title().
  void setHostTitle(std::function<std::string()> fn) { hostTitle_ = std::move(fn); }
  std::string currentTitle() const { return hostTitle_ ? hostTitle_() : title_; }
  // A second key for the same item (Ctrl+Y beside Ctrl+Shift+Z); 0 for none.
  // Front ends show only the first one.
  void setAltShortcut(char shortcut, FSInt16 flags)
  {
    altShortcut_ = shortcut;
    altFlags_ = flags;
  }
  char altShortcut() const { return altShortcut_; }
  FSInt16 altShortcutFlags() const { return altFlags_; }

  // Takes the item out of its menu (nothing when it is in none). The menu's
  // reference is dropped: the item may be freed here if nobody else holds it.
  void removeFromMenu();

  // The item's procedures (see CommandProcs.h).
  void setExecuteProc(FSCallback proc, void *data) { procs_.setExecuteProc(proc, data); }
  void setComputeEnabledProc(FSCallback proc, void *data) { procs_.setComputeEnabledProc(proc, data); }
  void setComputeMarkedProc(FSCallback proc, void *data) { procs_.setComputeMarkedProc(proc, data); }
  void setHostExecute(std::function<void()> fn) { procs_.setHostExecute(std::move(fn)); }
  void setHostEnabled(std::function<bool()> fn) { procs_.setHostEnabled(std::move(fn)); }
  void setHostMarked(std::function<bool()> fn) { procs_.setHostMarked(std::move(fn)); }
  const ProcBinding &executeProc() const { return procs_.executeProc(); }
  const ProcBinding &enabledProc() const { return procs_.enabledProc(); }
  const ProcBinding &markedProc() const { return procs_.markedProc(); }

  // Asks the procedures (true when there is none / false when there is none).
  bool isEnabled() const;
  bool isMarked() const;
  // Runs the execute procedure, whatever the enabled state (nothing when it
  // has none), as one user action: the crop-box changes it makes form one
  // undo step named actionLabel(title()).
  void execute();
  // As the user chooses it: asks isEnabled() first and runs it only when
  // enabled. True when it ran.
  bool runAsUser();

private:
  friend class Menu;
  friend void destroyAllMenuObjects();
  MenuItem();
  ~MenuItem();
  std::string title_, name_;
  Menu *submenu_ = nullptr;
  bool longMenusOnly_ = false;
  char shortcut_ = 0;
  FSInt16 flags_ = 0;
  char altShortcut_ = 0;
  FSInt16 altFlags_ = 0;
  std::function<std::string()> hostTitle_;
  FVIcon icon_ = nullptr;
  ExtensionID owner_ = nullptr;
  Menu *parent_ = nullptr;
  int refs_ = 1;
  CommandProcs procs_;
};

class Menu {
public:
  static Menu *create(const std::string &title, const std::string &name, ExtensionID owner = nullptr);

  Menu *acquire();
  void release();
  int refCount() const { return refs_; }

  const std::string &title() const { return title_; }
  const std::string &name() const { return name_; }
  ExtensionID owner() const { return owner_; }

  const std::vector<MenuItem *> &items() const { return items_; }
  int count() const { return static_cast<int>(items_.size()); }
  // See the index rules at the top.
  void insert(MenuItem *item, FSInt32 index);
  FSInt32 indexOf(const MenuItem *item) const;
  // Takes the item out (nothing when it is not here).
  void remove(MenuItem *item);

  // This menu or a menu below it (through items' submenus) named `name`, not
  // acquired; null when none.
  Menu *findMenu(const std::string &name);
  // An item named `name` in this menu or below it, not acquired.
  MenuItem *findItem(const std::string &name);

  // The menu bar this menu (or the menu above it) belongs to, for change
  // notices; set by MenuBar.
  MenuBar *menuBar() const;

private:
  friend class MenuBar;
  friend class MenuItem;
  friend void destroyAllMenuObjects();
  Menu();
  ~Menu();
  std::string title_, name_;
  ExtensionID owner_ = nullptr;
  std::vector<MenuItem *> items_;
  int refs_ = 1;
  MenuBar *bar_ = nullptr;      // set on top-level menus
  MenuItem *carrier_ = nullptr; // the item whose submenu this is
};

// The application's menu bar. Owns one reference to each top-level menu.
class MenuBar {
public:
  MenuBar();
  ~MenuBar();
  MenuBar(const MenuBar &) = delete;
  MenuBar &operator=(const MenuBar &) = delete;

  const std::vector<Menu *> &menus() const { return menus_; }
  // Adds a top-level menu (taking a reference) at `index` (index rules above).
  void addMenu(Menu *menu, FSInt32 index = kAppendIndex);
  // Any menu (top-level or submenu) named `name`, acquired; null when none.
  Menu *acquireMenuByName(const std::string &name);
  // Any item named `name` in the whole menu bar, acquired; null when none.
  MenuItem *acquireItemByName(const std::string &name);
  // Not acquired (for the host's own use).
  Menu *findMenu(const std::string &name);
  MenuItem *findItem(const std::string &name);

  // Change notices for front ends that mirror the model in widgets: called
  // after any item is inserted into or removed from any menu of the bar, and
  // after a menu is added. Returns an id for removeListener.
  int addListener(std::function<void()> fn);
  void removeListener(int id);
  // Incremented on every change (cheap "has it changed?" test).
  unsigned revision() const { return revision_; }
  void notifyChanged();

private:
  std::vector<Menu *> menus_;
  std::vector<std::pair<int, std::function<void()>>> listeners_;
  int nextListener_ = 1;
  unsigned revision_ = 0;
};

} // namespace folio::view
