// KeyBindings.cpp: key names to command names (see KeyBindings.h).
#include "view/KeyBindings.h"

#include <cctype>

#include "view/Menus.h"
#include "view/Ports.h"

namespace folio::view {

namespace {

constexpr FSInt16 kCtrlAlt = kShortcutCtrl | kShortcutAlt;

bool shortcutMatches(char shortcut, FSInt16 shortcutFlags, char character, FSInt16 flags)
{
  const FSInt16 mods = kShortcutCtrl | kShortcutAlt | kShortcutShift;
  return shortcut &&
         std::toupper(static_cast<unsigned char>(shortcut)) ==
             std::toupper(static_cast<unsigned char>(character)) &&
         (shortcutFlags & mods) == (flags & mods);
}

MenuItem *findIn(Menu *menu, char character, FSInt16 flags)
{
  for (MenuItem *item : menu->items()) {
    if (item->submenu()) {
      if (MenuItem *found = findIn(item->submenu(), character, flags))
        return found;
      continue;
    }
    if (shortcutMatches(item->shortcut(), item->shortcutFlags(), character, flags) ||
        shortcutMatches(item->altShortcut(), item->altShortcutFlags(), character, flags))
      return item;
  }
  return nullptr;
}

} // namespace

KeyBindings KeyBindings::viewerDefaults()
{
  KeyBindings k;
  for (const char *key : {"Next", "KP_Next"})
    k.bind(key, 0, "NextPage");
  for (const char *key : {"Prior", "KP_Prior"})
    k.bind(key, 0, "PreviousPage");
  k.bind("Home", 0, "FirstPage");
  k.bind("End", 0, "LastPage");
  k.bind("Down", 0, "ScrollDown");
  k.bind("Up", 0, "ScrollUp");
  k.bind("Right", 0, "ScrollRight");
  k.bind("Left", 0, "ScrollLeft");
  for (const char *key : {"plus", "equal", "KP_Add"})
    k.bind(key, 0, "ZoomIn");
  for (const char *key : {"minus", "KP_Subtract"})
    k.bind(key, 0, "ZoomOut");
  return k;
}

void KeyBindings::bind(const std::string &key, FSInt16 flags, const std::string &command)
{
  for (KeyBinding &b : bindings_)
    if (b.key == key && b.flags == flags) {
      b.command = command;
      return;
    }
  bindings_.push_back({key, flags, command});
}

std::string KeyBindings::lookup(const std::string &key, FSInt16 flags) const
{
  for (const KeyBinding &b : bindings_) {
    if (b.key != key || (b.flags & kCtrlAlt) != (flags & kCtrlAlt))
      continue;
    if ((b.flags & kShortcutShift) && !(flags & kShortcutShift))
      continue;
    return b.command;
  }
  return {};
}

char keyCharacter(const std::string &key)
{
  if (key.size() == 1 && std::isprint(static_cast<unsigned char>(key[0])) && key[0] != ' ')
    return key[0];
  static const struct {
    const char *name;
    char character;
  } kNames[] = {{"equal", '='},       {"minus", '-'},     {"plus", '+'},        {"comma", ','},
                {"period", '.'},      {"slash", '/'},     {"backslash", '\\'},  {"semicolon", ';'},
                {"apostrophe", '\''}, {"grave", '`'},     {"bracketleft", '['}, {"bracketright", ']'},
                {"asterisk", '*'},    {"question", '?'},  {"exclam", '!'},      {"at", '@'},
                {"numbersign", '#'},  {"dollar", '$'},    {"percent", '%'},     {"asciicircum", '^'},
                {"ampersand", '&'},   {"parenleft", '('}, {"parenright", ')'},  {"underscore", '_'},
                {"colon", ':'},       {"less", '<'},      {"greater", '>'},     {"quotedbl", '"'},
                {"bar", '|'},         {"braceleft", '{'}, {"braceright", '}'},  {"asciitilde", '~'}};
  for (const auto &n : kNames)
    if (key == n.name)
      return n.character;
  return 0;
}

MenuItem *findShortcutItem(MenuBar &bar, char character, FSInt16 flags)
{
  if (!character)
    return nullptr;
  for (Menu *menu : bar.menus())
    if (MenuItem *found = findIn(menu, character, flags))
      return found;
  return nullptr;
}

} // namespace folio::view
