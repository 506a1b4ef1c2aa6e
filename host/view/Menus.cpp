// Menus.cpp: the menu model (see Menus.h for ownership and index rules).
#include "view/Menus.h"

#include <algorithm>
#include <unordered_set>

#include "model/CropHistory.h"
#include "view/Ports.h"

namespace folio::view {

std::string shortcutLabel(char shortcut, FSInt16 flags)
{
  if (shortcut == 0)
    return {};
  std::string label;
  if (flags & kShortcutCtrl)
    label += "Ctrl+";
  if (flags & kShortcutAlt)
    label += "Alt+";
  if (flags & kShortcutShift)
    label += "Shift+";
  char c = shortcut;
  if (c >= 'a' && c <= 'z')
    c = static_cast<char>(c - 'a' + 'A');
  label += c;
  return label;
}

std::string actionLabel(const std::string &title)
{
  std::string t = titleWithoutMnemonic(title);
  while (!t.empty() && (t.back() == '.' || t.back() == ' '))
    t.pop_back();
  for (const char *word : {" Page(s)", " Pages", " Page"}) {
    std::string w = word;
    for (size_t at = t.find(w); at != std::string::npos; at = t.find(w, at)) {
      size_t end = at + w.size();
      if (end == t.size() || t[end] == ' ')
        t.erase(at, w.size());
      else
        at = end;
    }
  }
  return t;
}

std::string titleWithoutMnemonic(const std::string &title)
{
  std::string out;
  for (size_t i = 0; i < title.size(); ++i) {
    if (title[i] == '&') {
      if (i + 1 < title.size() && title[i + 1] == '&') {
        out += '&';
        ++i;
      }
      continue;
    }
    out += title[i];
  }
  return out;
}

char titleMnemonic(const std::string &title)
{
  for (size_t i = 0; i + 1 < title.size(); ++i) {
    if (title[i] == '&') {
      if (title[i + 1] == '&') {
        ++i;
        continue;
      }
      return title[i + 1];
    }
  }
  return 0;
}

// ---- procedures -------------------------------------------------------------

// ---- every live object, for the teardown at exit --------------------------------

namespace {
std::unordered_set<MenuItem *> &liveItems()
{
  static std::unordered_set<MenuItem *> items;
  return items;
}
std::unordered_set<Menu *> &liveMenus()
{
  static std::unordered_set<Menu *> menus;
  return menus;
}
} // namespace

bool isLiveMenu(const Menu *menu)
{
  return menu && liveMenus().count(const_cast<Menu *>(menu)) != 0;
}

bool isLiveMenuItem(const MenuItem *item)
{
  return item && liveItems().count(const_cast<MenuItem *>(item)) != 0;
}

void destroyAllMenuObjects()
{
  std::vector<Menu *> menus(liveMenus().begin(), liveMenus().end());
  std::vector<MenuItem *> items(liveItems().begin(), liveItems().end());
  // Cut every link first, so that no destructor releases an object freed here.
  for (Menu *m : menus) {
    m->items_.clear();
    m->bar_ = nullptr;
    m->carrier_ = nullptr;
  }
  for (MenuItem *i : items) {
    i->submenu_ = nullptr;
    i->parent_ = nullptr;
  }
  for (Menu *m : menus)
    delete m;
  for (MenuItem *i : items)
    delete i;
}

// ---- MenuItem ---------------------------------------------------------------

MenuItem::MenuItem()
{
  liveItems().insert(this);
}

MenuItem *MenuItem::create(const std::string &title, const std::string &name, Menu *submenu,
                           bool longMenusOnly, char shortcut, FSInt16 flags, FVIcon icon, ExtensionID owner)
{
  auto *item = new MenuItem();
  item->title_ = title;
  item->name_ = name;
  item->longMenusOnly_ = longMenusOnly;
  item->shortcut_ = shortcut;
  item->flags_ = flags;
  item->icon_ = icon;
  item->owner_ = owner;
  if (submenu) {
    item->submenu_ = submenu->acquire();
    submenu->carrier_ = item;
  }
  return item;
}

MenuItem::~MenuItem()
{
  liveItems().erase(this);
  if (submenu_) {
    if (submenu_->carrier_ == this)
      submenu_->carrier_ = nullptr;
    submenu_->release();
  }
}

MenuItem *MenuItem::acquire()
{
  ++refs_;
  return this;
}

void MenuItem::release()
{
  if (--refs_ <= 0)
    delete this;
}

void MenuItem::removeFromMenu()
{
  if (parent_)
    parent_->remove(this);
}

bool MenuItem::isEnabled() const
{
  return procs_.isEnabled();
}
bool MenuItem::isMarked() const
{
  return procs_.isMarked();
}

void MenuItem::execute()
{
  // The procedure may remove this item from its menu (a command that swaps
  // itself for another); hold it for the length of the call.
  acquire();
  {
    model::CropHistory::Action action(actionLabel(title_));
    procs_.execute();
  }
  release();
}

bool MenuItem::runAsUser()
{
  if (!isEnabled())
    return false;
  execute();
  return true;
}

// ---- Menu -------------------------------------------------------------------

Menu *Menu::create(const std::string &title, const std::string &name, ExtensionID owner)
{
  auto *menu = new Menu();
  menu->title_ = title;
  menu->name_ = name;
  menu->owner_ = owner;
  return menu;
}

Menu::Menu()
{
  liveMenus().insert(this);
}

Menu::~Menu()
{
  liveMenus().erase(this);
  auto items = items_;
  items_.clear();
  for (MenuItem *item : items) {
    item->parent_ = nullptr;
    item->release();
  }
}

Menu *Menu::acquire()
{
  ++refs_;
  return this;
}

void Menu::release()
{
  if (--refs_ <= 0)
    delete this;
}

MenuBar *Menu::menuBar() const
{
  const Menu *m = this;
  for (int depth = 0; m && depth < 64; ++depth) {
    if (m->bar_)
      return m->bar_;
    m = (m->carrier_ && m->carrier_->parent_) ? m->carrier_->parent_ : nullptr;
  }
  return nullptr;
}

void Menu::insert(MenuItem *item, FSInt32 index)
{
  if (!item)
    return;
  item->acquire(); // the menu's reference (taken before a possible removal)
  if (item->parent_)
    item->parent_->remove(item);
  FSInt32 n = count();
  if (index < 0 || index > n)
    index = n;
  items_.insert(items_.begin() + index, item);
  item->parent_ = this;
  if (MenuBar *bar = menuBar())
    bar->notifyChanged();
}

FSInt32 Menu::indexOf(const MenuItem *item) const
{
  auto it = std::find(items_.begin(), items_.end(), item);
  return it == items_.end() ? -1 : static_cast<FSInt32>(it - items_.begin());
}

void Menu::remove(MenuItem *item)
{
  auto it = std::find(items_.begin(), items_.end(), item);
  if (it == items_.end())
    return;
  items_.erase(it);
  item->parent_ = nullptr;
  MenuBar *bar = menuBar();
  item->release();
  if (bar)
    bar->notifyChanged();
}

Menu *Menu::findMenu(const std::string &name)
{
  if (name_ == name)
    return this;
  for (MenuItem *item : items_) {
    if (item->submenu_) {
      if (Menu *found = item->submenu_->findMenu(name))
        return found;
    }
  }
  return nullptr;
}

MenuItem *Menu::findItem(const std::string &name)
{
  for (MenuItem *item : items_) {
    if (item->name_ == name)
      return item;
  }
  for (MenuItem *item : items_) {
    if (item->submenu_) {
      if (MenuItem *found = item->submenu_->findItem(name))
        return found;
    }
  }
  return nullptr;
}

// ---- MenuBar ----------------------------------------------------------------

MenuBar::MenuBar() = default;

MenuBar::~MenuBar()
{
  listeners_.clear();
  auto menus = menus_;
  menus_.clear();
  for (Menu *menu : menus) {
    menu->bar_ = nullptr;
    menu->release();
  }
}

void MenuBar::addMenu(Menu *menu, FSInt32 index)
{
  if (!menu)
    return;
  FSInt32 n = static_cast<FSInt32>(menus_.size());
  if (index < 0 || index > n)
    index = n;
  menus_.insert(menus_.begin() + index, menu->acquire());
  menu->bar_ = this;
  notifyChanged();
}

Menu *MenuBar::findMenu(const std::string &name)
{
  for (Menu *menu : menus_) {
    if (Menu *found = menu->findMenu(name))
      return found;
  }
  return nullptr;
}

MenuItem *MenuBar::findItem(const std::string &name)
{
  for (Menu *menu : menus_) {
    if (MenuItem *found = menu->findItem(name))
      return found;
  }
  return nullptr;
}

Menu *MenuBar::acquireMenuByName(const std::string &name)
{
  Menu *menu = findMenu(name);
  return menu ? menu->acquire() : nullptr;
}

MenuItem *MenuBar::acquireItemByName(const std::string &name)
{
  MenuItem *item = findItem(name);
  return item ? item->acquire() : nullptr;
}

int MenuBar::addListener(std::function<void()> fn)
{
  int id = nextListener_++;
  listeners_.emplace_back(id, std::move(fn));
  return id;
}

void MenuBar::removeListener(int id)
{
  listeners_.erase(std::remove_if(listeners_.begin(), listeners_.end(),
                                  [id](const auto &entry) { return entry.first == id; }),
                   listeners_.end());
}

void MenuBar::notifyChanged()
{
  ++revision_;
  auto listeners = listeners_;
  for (auto &entry : listeners)
    entry.second();
}

} // namespace folio::view
