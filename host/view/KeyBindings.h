// KeyBindings.h: which key runs which named command. Toolkit-free: a front
// end turns its key event into a key name and shortcut flags, and the viewer
// controller (ViewerController.h) looks the name up here and runs the command
// of that name from its command table.
//
// Key names are the X keysym names ("Next", "Prior", "Home", "equal",
// "minus", "KP_Add", "a", "1"): the batch front end's `key` word uses the same
// names. Flags are the shortcut flags of Ports.h (kShortcutCtrl, ...Alt,
// ...Shift).
//
// Two kinds of key lookups, in this order:
//  1. Menu shortcuts (with Ctrl or Alt held): the key's character against
//     the shortcut and second shortcut of every item in the menu bar
//     (findShortcutItem), so that menus and keys are one command table.
//  2. The binding table (KeyBindings): a key name with its Ctrl and Alt state
//     gives a command name. Shift is ignored unless the binding names it, so
//     that Shift+Down scrolls as Down does and "plus" (Shift+equal on most
//     keyboards) zooms as "equal" does.
#pragma once

#include <string>
#include <vector>

#include "folio/FolioTypes.h"

namespace folio::view {

class MenuBar;
class MenuItem;

struct KeyBinding {
  std::string key;     // a key name
  FSInt16 flags = 0;   // shortcut flags that must be held
  std::string command; // the name of a command
};

class KeyBindings {
public:
  // The viewer's keys: Next / Prior (and the keypad's) turn pages, Home and
  // End go to the first and last page, the arrows scroll, equal / plus /
  // KP_Add zoom in, minus / KP_Subtract zoom out.
  static KeyBindings viewerDefaults();

  // Binds `key` with `flags` to `command`, replacing an earlier binding of
  // the same key and flags.
  void bind(const std::string &key, FSInt16 flags, const std::string &command);
  // The command bound to `key` pressed with `flags` held; "" when none.
  std::string lookup(const std::string &key, FSInt16 flags) const;
  const std::vector<KeyBinding> &bindings() const { return bindings_; }

private:
  std::vector<KeyBinding> bindings_;
};

// The character a key name stands for in a menu shortcut: the name itself
// when it is one printable character ("a", "9"), the character of the
// punctuation names ("equal" '=', "minus" '-', "plus" '+', "comma",
// "period", "slash", ...); 0 for any other key.
char keyCharacter(const std::string &key);

// The menu item whose shortcut (or second shortcut) is `character` with
// exactly the Ctrl, Alt and Shift state of `flags` (letters compared without
// case), searching the menus of the bar and their submenus in order; null
// when none.
MenuItem *findShortcutItem(MenuBar &bar, char character, FSInt16 flags);

} // namespace folio::view
