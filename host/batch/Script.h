// Script.h: the batch front end's script of user actions, and its parser.
//
// A script is what a user would do in the viewer, one action a line:
//
//   open PATH [PASSWORD]     open a document (it becomes the active one)
//   page N                   go to page N (1-based)
//   zoom PERCENT             set the zoom of the page view
//   menu NAME                execute a menu item or viewer command by its name
//                            (FitWidth, NextPage, GoToPage, ScrollDown, ...)
//   key [MODS+]NAME          press a key of the viewer: "Next", "Home",
//                            "ctrl+minus" (the command bound to it runs)
//   button NAME              execute a tool bar button by its name
//   drag X1 Y1 X2 Y2 [MODS]  press at (X1,Y1), release at (X2,Y2), page points
//   click X Y [MODS]         press and release at one point, page points
//   answer LABEL             queue the answer to the next question
//   confirm yes|no           queue the answer to the next confirmation
//   cancel-at N              the cancel test answers true at its N-th poll
//   save [PATH]              save in place, or to PATH
//   revert                   throw away unsaved changes (reopen from file)
//   undo                     take back the last crop-box change (Edit > Undo)
//   redo                     do it again (Edit > Redo)
//   snapshot PATH.png        write the page view's frame as a PNG
//   show-boxes               print every page's boxes and rotation
//
// MODS are any of ctrl, shift, alt (joined to a key's name by '+'). Words are separated by blanks; a word
// may be written in double quotes to hold blanks ("QUIL:Page Shear"), with
// \" and \\ inside. A '#' outside quotes starts a comment. Blank lines and
// comment lines are skipped. Line numbers are 1-based, as a user counts.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace folio::batch {

enum class Op {
  Open,
  Page,
  Zoom,
  Menu,
  Button,
  Drag,
  Click,
  Answer,
  Confirm,
  CancelAt,
  Save,
  Revert,
  Snapshot,
  ShowBoxes,
  Undo,
  Redo,
  Key,
};

// Modifier keys held during a drag or click (a set of these bits).
enum Modifier : unsigned { ModShift = 1u, ModCtrl = 2u, ModAlt = 4u };

// One action of a script. Only the fields of its Op are meaningful.
struct Step {
  int line = 0; // 1-based line of the script (or item of a --run list)
  Op op = Op::ShowBoxes;
  std::string text;                      // open/save/snapshot: path; menu/button/key: name; answer: label
  std::string password;                  // open: optional password
  bool hasText = false;                  // save: a path was given
  long number = 0;                       // page (1-based), zoom (percent), cancel-at (poll count)
  double x1 = 0, y1 = 0, x2 = 0, y2 = 0; // drag: both points; click: the first, in page points
  unsigned modifiers = 0;                // drag/click/key: Modifier bits
  bool yes = false;                      // confirm: yes
};

struct Script {
  std::vector<Step> steps;
};

// What went wrong while parsing; line 0 means the script as a whole.
struct ParseError {
  int line = 0;
  std::string message;
};

// Parses a whole script. On success returns true and fills `out`; on the
// first bad line returns false with `error` naming the line and the problem.
bool parseScript(std::string_view text, Script &out, ParseError &error);

// Parses one line as line number `line`. A blank or comment line gives true
// with `hasStep` false.
bool parseLine(std::string_view text, int line, Step &out, bool &hasStep, ParseError &error);

// Splits the argument of --run ("LINE; LINE") into script lines at every ';'
// outside double quotes, so that the n-th item is line n of the script.
std::string runListToScript(std::string_view list);

// Splits a line into words: blanks separate, double quotes group, '#' outside
// quotes ends the line. False (with a message) on an unterminated quote.
bool splitWords(std::string_view line, std::vector<std::string> &words, std::string &message);

// Quotes a word for a script line when it needs it (blanks, quotes, '#',
// backslashes or empty), so that splitWords gives it back unchanged.
std::string quoteWord(std::string_view word);

// Text as it may reach a terminal: every control byte (below 0x20, and
// 0x7f: escape, carriage return, line feed, ...) written as \xNN, the rest
// unchanged. Everything folio prints that comes from outside (file names,
// script words, engine messages that name a file) goes through it.
std::string escapeControlBytes(std::string_view text);

// A word as an error message shows it: in double quotes, control bytes
// written as \xNN (nothing from a script may drive the user's terminal),
// and cut after 64 bytes with "..." (a message names a word, it does not
// repeat a whole line).
std::string quoteForMessage(std::string_view word);

// The name of an op as written in a script ("cancel-at").
const char *opName(Op op);

} // namespace folio::batch
