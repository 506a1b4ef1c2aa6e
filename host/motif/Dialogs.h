// Dialogs.h: the viewer's modal dialogs (questions, notes, confirmations).
//
// Every dialog is application-modal: it runs its own event loop until the
// user answers, and while it is up clicks and keys elsewhere in the
// application are not delivered. Keyboard focus is put on the dialog
// explicitly (there may be no window manager to do it); Return presses the
// first button, Escape the last one. Each button's X window is named after
// its label (see WindowNames.h).
#pragma once

#include <Xm/Xm.h>

#include <string>
#include <vector>

namespace folio::motif {

// The symbol shown beside a dialog's message, in the order of the host's
// alert icon types (stop 0, note 1, caution 2, question 3).
enum class DialogIcon { Stop = 0, Note = 1, Caution = 2, Question = 3 };

// Asks `message` with one to three buttons, labelled as given (empty
// labels are left out). Answers the 1-based number of the button pressed,
// or 0 when the dialog was closed without a button.
int askQuestion(Widget parent, const std::string &title, const std::string &message,
                const std::vector<std::string> &buttons, DialogIcon icon, bool beep);

// Shows `message` with one "OK" button and waits until it is pressed.
void showNote(Widget parent, const std::string &title, const std::string &message);

// Asks `message` with "OK" and "Cancel"; true when OK was pressed.
bool askConfirm(Widget parent, const std::string &title, const std::string &message);

// Asks for a password: `message` above a text field that shows a '*' for
// every character typed, with "OK" and "Cancel". True with the text typed
// in `password` when OK (or Return) was pressed; false on Cancel, Escape or
// closing. The shell's window is named `title`, the field's "password"
// (the buttons are gadgets, without windows of their own).
bool askPassword(Widget parent, const std::string &title, const std::string &message, std::string &password);

// Asks for one line of text (`prompt` above a text field holding `value`)
// with "OK" and "Cancel". True with the text in `value` when OK was pressed
// (or Return typed); the dialog's shell window is named `title`.
bool askText(Widget parent, const std::string &title, const std::string &prompt, std::string &value);

// Waits (processing events) until the widget's window is viewable, then
// gives it the keyboard focus. Used by every modal window the viewer puts up.
void focusWhenViewable(Widget shell, Widget initial);

} // namespace folio::motif
