#include "motif/Dialogs.h"

#include "motif/WindowNames.h"

#include <X11/Xlib.h>
#include <Xm/Form.h>
#include <Xm/Label.h>
#include <Xm/Protocols.h>
#include <Xm/PushB.h>
#include <Xm/SelectioB.h>
#include <Xm/TextF.h>

#include <algorithm>
#include <chrono>

namespace folio::motif {

namespace {

struct DialogState {
  int answer = -1; // -1 while the dialog is up
};

struct ButtonRef {
  DialogState *state;
  int number;
};

void onButton(Widget, XtPointer client, XtPointer)
{
  auto *ref = static_cast<ButtonRef *>(client);
  ref->state->answer = ref->number;
}

void onClose(Widget, XtPointer client, XtPointer)
{
  auto *state = static_cast<DialogState *>(client);
  if (state->answer < 0)
    state->answer = 0;
}

XmString makeString(const std::string &text)
{
  return XmStringCreateLocalized(const_cast<char *>(text.c_str()));
}

// Motif's built-in symbols for the four kinds of message.
Pixmap symbolFor(Widget w, DialogIcon icon)
{
  static const char *const names[4] = {"xm_error", "xm_information", "xm_warning", "xm_question"};
  int kind = static_cast<int>(icon);
  Pixel fg = 0, bg = 0;
  XtVaGetValues(w, XmNforeground, &fg, XmNbackground, &bg, NULL);
  Pixmap p = XmGetPixmap(XtScreen(w), const_cast<char *>(names[kind >= 0 && kind < 4 ? kind : 3]), fg, bg);
  return p == XmUNSPECIFIED_PIXMAP ? 0 : p;
}

struct PasswordState {
  int done = 0;      // 1 OK, 2 Cancel or closed
  std::string typed; // what was typed; the field shows only '*'
};

// Keeps the typed text aside and lets the field show a '*' for each
// character. Positions are the field's; a pasted or typed run replaces the
// selected range.
void onPasswordModify(Widget, XtPointer client, XtPointer call)
{
  auto *state = static_cast<PasswordState *>(client);
  auto *cbs = static_cast<XmTextVerifyCallbackStruct *>(call);
  if (!cbs || !cbs->text)
    return;
  size_t size = state->typed.size();
  size_t start = std::min(static_cast<size_t>(std::max<long>(cbs->startPos, 0)), size);
  size_t end = std::min(static_cast<size_t>(std::max<long>(cbs->endPos, 0)), size);
  if (end < start)
    end = start;
  const int length = std::max(cbs->text->length, 0);
  std::string inserted(cbs->text->ptr ? cbs->text->ptr : "", static_cast<size_t>(length));
  state->typed.replace(start, end - start, inserted);
  for (int i = 0; i < length; ++i)
    cbs->text->ptr[i] = '*';
}

} // namespace

bool askPassword(Widget parent, const std::string &title, const std::string &message, std::string &password)
{
  Widget dialog = XmCreatePromptDialog(parent, const_cast<char *>("password"), nullptr, 0);
  Widget shell = XtParent(dialog);
  XmString m = makeString(message);
  XmString t = makeString(title);
  XtVaSetValues(dialog, XmNselectionLabelString, m, XmNdialogTitle, t, XmNdialogStyle,
                XmDIALOG_FULL_APPLICATION_MODAL, XmNautoUnmanage, False, NULL);
  XmStringFree(m);
  XmStringFree(t);
  XtUnmanageChild(XmSelectionBoxGetChild(dialog, XmDIALOG_HELP_BUTTON));
  PasswordState state;
  XtAddCallback(
      dialog, XmNokCallback,
      [](Widget, XtPointer c, XtPointer) { static_cast<PasswordState *>(c)->done = 1; }, &state);
  XtAddCallback(
      dialog, XmNcancelCallback,
      [](Widget, XtPointer c, XtPointer) { static_cast<PasswordState *>(c)->done = 2; }, &state);
  XtVaSetValues(shell, XmNdeleteResponse, XmDO_NOTHING, NULL);
  Atom wmDelete = XmInternAtom(XtDisplay(shell), const_cast<char *>("WM_DELETE_WINDOW"), False);
  XmAddWMProtocolCallback(
      shell, wmDelete, [](Widget, XtPointer c, XtPointer) { static_cast<PasswordState *>(c)->done = 2; },
      &state);
  Widget text = XmSelectionBoxGetChild(dialog, XmDIALOG_TEXT);
  XtVaSetValues(text, XmNcolumns, 24, NULL);
  XtAddCallback(text, XmNmodifyVerifyCallback, onPasswordModify, &state);
  XtManageChild(dialog);
  nameWindow(shell, title.c_str());
  nameWindow(text, "password");
  focusWhenViewable(shell, text);
  XtAppContext app = XtWidgetToApplicationContext(dialog);
  while (!state.done)
    XtAppProcessEvent(app, XtIMAll);
  XtUnmanageChild(dialog);
  XtDestroyWidget(shell);
  XSync(XtDisplay(parent), False);
  if (state.done != 1) {
    std::fill(state.typed.begin(), state.typed.end(), '\0');
    return false;
  }
  password = state.typed;
  std::fill(state.typed.begin(), state.typed.end(), '\0');
  return true;
}

void focusWhenViewable(Widget shell, Widget initial)
{
  XtAppContext app = XtWidgetToApplicationContext(shell);
  Display *dpy = XtDisplay(shell);
  // Without a window manager the shell maps itself at once; with one it
  // may take a round trip. Give up after two seconds rather than hang.
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
  for (;;) {
    if (XtIsRealized(shell)) {
      XWindowAttributes attrs;
      if (XGetWindowAttributes(dpy, XtWindow(shell), &attrs) && attrs.map_state == IsViewable)
        break;
    }
    if (std::chrono::steady_clock::now() > deadline)
      return;
    if (XtAppPending(app))
      XtAppProcessEvent(app, XtIMAll);
    else
      XSync(dpy, False);
  }
  XSetInputFocus(dpy, XtWindow(shell), RevertToPointerRoot, CurrentTime);
  if (initial)
    XmProcessTraversal(initial, XmTRAVERSE_CURRENT);
}

int askQuestion(Widget parent, const std::string &title, const std::string &message,
                const std::vector<std::string> &buttons, DialogIcon icon, bool beep)
{
  std::vector<std::string> labels;
  for (const auto &label : buttons)
    if (!label.empty())
      labels.push_back(label);
  if (labels.empty())
    labels.push_back("OK");
  if (labels.size() > 3)
    labels.resize(3);
  const int count = static_cast<int>(labels.size());

  XmString ttl = makeString(title);
  Widget form = XmCreateFormDialog(parent, const_cast<char *>("question"), nullptr, 0);
  Widget shell = XtParent(form);
  XtVaSetValues(form, XmNdialogStyle, XmDIALOG_FULL_APPLICATION_MODAL, XmNdialogTitle, ttl, XmNautoUnmanage,
                False, XmNnoResize, True, XmNmarginWidth, 14, XmNmarginHeight, 12, XmNfractionBase,
                count * 10, NULL);
  XtVaSetValues(shell, XmNdeleteResponse, XmDO_NOTHING, NULL);
  XmStringFree(ttl);

  Widget symbol = nullptr;
  Pixmap pixmap = symbolFor(form, icon);
  if (pixmap)
    symbol = XtVaCreateManagedWidget("symbol", xmLabelWidgetClass, form, XmNlabelType, XmPIXMAP,
                                     XmNlabelPixmap, pixmap, XmNtopAttachment, XmATTACH_FORM,
                                     XmNleftAttachment, XmATTACH_FORM, NULL);
  XmString msg = makeString(message);
  Widget text = XtVaCreateManagedWidget(
      "message", xmLabelWidgetClass, form, XmNlabelString, msg, XmNalignment, XmALIGNMENT_BEGINNING,
      XmNtopAttachment, XmATTACH_FORM, XmNtopOffset, 6, XmNleftAttachment,
      symbol ? XmATTACH_WIDGET : XmATTACH_FORM, XmNleftWidget, symbol, XmNleftOffset, symbol ? 12 : 0,
      XmNrightAttachment, XmATTACH_FORM, NULL);
  XmStringFree(msg);
  Widget above = text;
  if (symbol) {
    Dimension hs = 0, ht = 0;
    XtVaGetValues(symbol, XmNheight, &hs, NULL);
    XtVaGetValues(text, XmNheight, &ht, NULL);
    if (hs > ht)
      above = symbol;
  }

  DialogState state;
  std::vector<ButtonRef> refs(labels.size());
  std::vector<Widget> used(labels.size());
  for (int i = 0; i < count; i++) {
    refs[i] = {&state, i + 1};
    XmString s = makeString(labels[i]);
    used[i] = XtVaCreateManagedWidget(labels[i].c_str(), xmPushButtonWidgetClass, form, XmNlabelString, s,
                                      XmNtopAttachment, XmATTACH_WIDGET, XmNtopWidget, above, XmNtopOffset,
                                      16, XmNbottomAttachment, XmATTACH_FORM, XmNleftAttachment,
                                      XmATTACH_POSITION, XmNleftPosition, i * 10 + 1, XmNrightAttachment,
                                      XmATTACH_POSITION, XmNrightPosition, i * 10 + 9, XmNshowAsDefault,
                                      i == 0 ? 1 : 0, XmNdefaultButtonShadowThickness, 1, NULL);
    XmStringFree(s);
    XtAddCallback(used[i], XmNactivateCallback, onButton, &refs[i]);
  }
  // Return presses the first button; Escape the last one, which declines.
  XtVaSetValues(form, XmNdefaultButton, used[0], XmNcancelButton, used[count - 1], NULL);

  Atom wmDelete = XmInternAtom(XtDisplay(shell), const_cast<char *>("WM_DELETE_WINDOW"), False);
  XmAddWMProtocolCallback(shell, wmDelete, onClose, &state);

  if (beep)
    XBell(XtDisplay(parent), 0);
  XtManageChild(form);
  for (int i = 0; i < count; i++)
    nameWindow(used[i], labels[i].c_str());
  nameWindow(shell, title.c_str());
  focusWhenViewable(shell, used[0]);

  XtAppContext app = XtWidgetToApplicationContext(form);
  while (state.answer < 0)
    XtAppProcessEvent(app, XtIMAll);

  XtUnmanageChild(form);
  XtDestroyWidget(shell);
  // Let the unmapping reach the server before the caller redraws what lay
  // beneath.
  XSync(XtDisplay(parent), False);
  return state.answer;
}

void showNote(Widget parent, const std::string &title, const std::string &message)
{
  askQuestion(parent, title, message, {"OK"}, DialogIcon::Note, false);
}

bool askConfirm(Widget parent, const std::string &title, const std::string &message)
{
  return askQuestion(parent, title, message, {"OK", "Cancel"}, DialogIcon::Question, false) == 1;
}

bool askText(Widget parent, const std::string &title, const std::string &prompt, std::string &value)
{
  Widget dialog = XmCreatePromptDialog(parent, const_cast<char *>("prompt"), nullptr, 0);
  XmString p = XmStringCreateLocalized(const_cast<char *>(prompt.c_str()));
  XmString t = XmStringCreateLocalized(const_cast<char *>(title.c_str()));
  XmString v = XmStringCreateLocalized(const_cast<char *>(value.c_str()));
  XtVaSetValues(dialog, XmNselectionLabelString, p, XmNdialogTitle, t, XmNtextString, v, XmNdialogStyle,
                XmDIALOG_FULL_APPLICATION_MODAL, NULL);
  XmStringFree(p);
  XmStringFree(t);
  XmStringFree(v);
  XtUnmanageChild(XmSelectionBoxGetChild(dialog, XmDIALOG_HELP_BUTTON));
  int done = 0; // 1 OK, 2 Cancel
  XtAddCallback(
      dialog, XmNokCallback, [](Widget, XtPointer c, XtPointer) { *static_cast<int *>(c) = 1; }, &done);
  XtAddCallback(
      dialog, XmNcancelCallback, [](Widget, XtPointer c, XtPointer) { *static_cast<int *>(c) = 2; }, &done);
  XtManageChild(dialog);
  Widget text = XmSelectionBoxGetChild(dialog, XmDIALOG_TEXT);
  nameWindow(XtParent(dialog), title.c_str());
  nameWindow(XmSelectionBoxGetChild(dialog, XmDIALOG_OK_BUTTON), "OK");
  nameWindow(XmSelectionBoxGetChild(dialog, XmDIALOG_CANCEL_BUTTON), "Cancel");
  focusWhenViewable(XtParent(dialog), text);
  XtAppContext context = XtWidgetToApplicationContext(dialog);
  while (!done)
    XtAppProcessEvent(context, XtIMAll);
  if (char *s = XmTextFieldGetString(text)) {
    value = s;
    XtFree(s);
  }
  XtDestroyWidget(XtParent(dialog));
  return done == 1;
}

} // namespace folio::motif
