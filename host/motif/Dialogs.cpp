#include "Dialogs.h"

#include "WindowNames.h"

#include <X11/Xlib.h>
#include <Xm/MessageB.h>
#include <Xm/Protocols.h>

#include <chrono>

namespace folio::motif {

namespace {

struct DialogState {
  int answer = -1; // -1 while the dialog is up
};

void onButton(Widget, XtPointer client, XtPointer call)
{
  auto *state = static_cast<DialogState *>(client);
  auto *cbs = static_cast<XmAnyCallbackStruct *>(call);
  switch (cbs->reason) {
  case XmCR_OK:
    state->answer = 1;
    break;
  case XmCR_CANCEL:
    state->answer = 2;
    break;
  case XmCR_HELP:
    state->answer = 3;
    break;
  default:
    state->answer = 0;
  }
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

} // namespace

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

  XmString msg = makeString(message);
  XmString ttl = makeString(title);
  Arg args[12];
  int n = 0;
  XtSetArg(args[n], XmNmessageString, msg);
  n++;
  XtSetArg(args[n], XmNdialogTitle, ttl);
  n++;
  XtSetArg(args[n], XmNdialogStyle, XmDIALOG_FULL_APPLICATION_MODAL);
  n++;
  XtSetArg(args[n], XmNdeleteResponse, XmDO_NOTHING);
  n++;
  XtSetArg(args[n], XmNautoUnmanage, False);
  n++;
  XtSetArg(args[n], XmNdefaultButtonType, XmDIALOG_OK_BUTTON);
  n++;
  XtSetArg(args[n], XmNnoResize, True);
  n++;
  static const unsigned char types[4] = {XmDIALOG_ERROR, XmDIALOG_INFORMATION, XmDIALOG_WARNING,
                                         XmDIALOG_QUESTION};
  int kind = static_cast<int>(icon);
  XtSetArg(args[n], XmNdialogType, types[kind >= 0 && kind < 4 ? kind : 3]);
  n++;
  Widget box = XmCreateMessageDialog(parent, const_cast<char *>("question"), args, n);
  XmStringFree(msg);
  XmStringFree(ttl);

  static const unsigned char kinds[3] = {XmDIALOG_OK_BUTTON, XmDIALOG_CANCEL_BUTTON, XmDIALOG_HELP_BUTTON};
  Widget used[3] = {nullptr, nullptr, nullptr};
  for (int i = 0; i < 3; i++) {
    Widget b = XmMessageBoxGetChild(box, kinds[i]);
    if (i < static_cast<int>(labels.size())) {
      XmString s = makeString(labels[i]);
      XtVaSetValues(b, XmNlabelString, s, NULL);
      XmStringFree(s);
      used[i] = b;
    } else {
      XtUnmanageChild(b);
    }
  }

  DialogState state;
  XtAddCallback(box, XmNokCallback, onButton, &state);
  XtAddCallback(box, XmNcancelCallback, onButton, &state);
  XtAddCallback(box, XmNhelpCallback, onButton, &state);
  Widget shell = XtParent(box);
  Atom wmDelete = XmInternAtom(XtDisplay(shell), const_cast<char *>("WM_DELETE_WINDOW"), False);
  XmAddWMProtocolCallback(shell, wmDelete, onClose, &state);

  // Escape presses the last button: the one that declines.
  Widget last = used[labels.size() - 1];
  XtVaSetValues(box, XmNcancelButton, last, NULL);

  if (beep)
    XBell(XtDisplay(parent), 0);
  XtManageChild(box);
  for (size_t i = 0; i < labels.size(); i++)
    nameWindow(used[i], labels[i].c_str());
  nameWindow(shell, title.c_str());
  focusWhenViewable(shell, used[0]);

  XtAppContext app = XtWidgetToApplicationContext(box);
  while (state.answer < 0)
    XtAppProcessEvent(app, XtIMAll);

  XtUnmanageChild(box);
  XtDestroyWidget(shell);
  // Let the destruction and the unmapping reach the server before the
  // caller redraws what lay beneath.
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

} // namespace folio::motif
