// The Motif viewer: main window, page area, keys, status line, main loop.
#include "motif/ViewerImpl.h"

#include "motif/Dialogs.h"
#include "motif/WindowNames.h"
#include "platform/XSession.h"
#include "view/DocWindow.h"
#include "view/PageView.h"

#include <X11/Xlib.h>
#include <Xm/DrawingA.h>
#include <Xm/FileSB.h>
#include <Xm/Label.h>
#include <Xm/MainW.h>
#include <Xm/Protocols.h>
#include <Xm/RowColumn.h>
#include <Xm/ScrollBar.h>
#include <Xm/SelectioB.h>
#include <Xm/TextF.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iostream>
#include <sstream>

namespace folio::motif {

namespace {

using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point t0)
{
  return std::chrono::duration<double, std::milli>(Clock::now() - t0).count();
}

double cpuMs()
{
  timespec ts{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
  return ts.tv_sec * 1e3 + ts.tv_nsec / 1e6;
}

double percentile(std::vector<double> v, double p)
{
  if (v.empty())
    return 0;
  std::sort(v.begin(), v.end());
  // Nearest rank.
  size_t rank = static_cast<size_t>(std::ceil(p / 100.0 * v.size()));
  return v[std::clamp<size_t>(rank, 1, v.size()) - 1];
}

} // namespace

std::string RedrawStats::report(bool sharedMemory) const
{
  std::ostringstream out;
  char line[200];
  auto row = [&](const char *what, const std::vector<double> &v) {
    std::snprintf(line, sizeof line, "%-13s n=%-5zu median=%.3f ms  p95=%.3f ms  max=%.3f ms\n", what,
                  v.size(), percentile(v, 50), percentile(v, 95),
                  v.empty() ? 0.0 : *std::max_element(v.begin(), v.end()));
    out << line;
  };
  out << "folio redraw statistics (" << (sharedMemory ? "MIT-SHM" : "XPutImage") << ")\n";
  row("redraw", redrawMs);
  row("  frame", frameMs);
  row("page change", pageChangeMs);
  row("redraw cpu", redrawCpuMs);
  row("page chg cpu", pageChangeCpuMs);
  row("present", presentMs);
  return out.str();
}

ViewerOptions ViewerOptions::fromEnvironment()
{
  ViewerOptions o;
  if (const char *s = std::getenv("FOLIO_REDRAW_STATS"); s && *s && std::string(s) != "0") {
    o.redrawStats = true;
    if (std::string(s) != "1")
      o.statsPath = s;
  }
  if (const char *g = std::getenv("FOLIO_VIEWER_SIZE")) {
    int w = 0, h = 0;
    if (std::sscanf(g, "%dx%d", &w, &h) == 2 && w >= 200 && h >= 200) {
      o.width = w;
      o.height = h;
    }
  }
  return o;
}

std::vector<std::string> Viewer::fallbackResources()
{
  return {
      "*renderTable: xft",
      "*xft.fontType: FONT_IS_XFT",
      "*xft.fontName: DejaVu Sans",
      "*xft.fontSize: 10",
      "*toolTipEnable: True",
      "*toolTipPostDelay: 600",
      "*TipShell*background: #ffffe0",
      "*background: #d8d8d8",
      "*toolbar*selectColor: #a8b8d0",
      "*Units*selectColor: #2a5db0", // the chosen unit's diamond stands out
      "*area.background: #808080",
  };
}

Viewer::Viewer(view::Application &app, platform::XSession &session, const ViewerOptions &options)
    : impl_(std::make_unique<Impl>(app, session, options))
{
}

Viewer::~Viewer() = default;

int Viewer::run(const std::vector<std::string> &files)
{
  return impl_->run(files);
}

// ---- construction ---------------------------------------------------------------------

Viewer::Impl::Impl(view::Application &a, platform::XSession &s, const ViewerOptions &o)
    : app(a), session(s), options(o)
{
  appContext = session.appContext();
  display = session.display();
  shell = session.shell();
  progress = std::make_unique<ProgressDialog>(shell);
  ports = std::make_unique<ViewerPorts>(*this);
  app.setPorts(ports->ports());
  // The viewing preferences are kept in the config file.
  view::ViewerControllerOptions controllerOptions;
  controllerOptions.keepPreferences = true;
  controller = std::make_unique<view::ViewerController>(app, *ports, controllerOptions);
  addPreferences();
  buildWindow();
  menuListener = app.menuBar().addListener([this] { menusDirty = true; });
  toolListener = app.toolBar().addListener([this] { toolBarDirty = true; });

  // The host's file commands need a file name: the viewer asks for one.
  if (view::MenuItem *open = app.menuBar().findItem("Open"))
    open->setHostExecute([this] { openFile(); });
  if (view::MenuItem *saveAsItem = app.menuBar().findItem("SaveAs"))
    saveAsItem->setHostExecute([this] { saveAs(); });
  if (view::MenuItem *quitItem = app.menuBar().findItem("Quit"))
    quitItem->setHostExecute([this] { quit(); });
}

Viewer::Impl::~Impl()
{
  app.menuBar().removeListener(menuListener);
  app.toolBar().removeListener(toolListener);
  // The application outlives the viewer: none of its items may call back
  // into it any more (the controller's own are made inert as it goes).
  controller.reset();
  app.setPorts({});
  if (view::MenuItem *prefs = app.menuBar().findItem("Preferences")) {
    prefs->setHostExecute([] {});
    prefs->setHostEnabled([] { return false; });
  }
  if (view::MenuItem *open = app.menuBar().findItem("Open"))
    open->setHostExecute([] {});
  if (view::MenuItem *saveAsItem = app.menuBar().findItem("SaveAs"))
    saveAsItem->setHostExecute([] {});
  if (view::MenuItem *quitItem = app.menuBar().findItem("Quit"))
    quitItem->setHostExecute([a = &app] { a->requestQuit(); });
  if (options.redrawStats) {
    std::string text = stats.report(presenter && presenter->usesSharedMemory());
    if (options.statsPath.empty()) {
      std::cerr << text;
    } else {
      std::ofstream out(options.statsPath);
      out << text;
    }
  }
  presenter.reset();
  progress.reset();
  // The icon pixmaps stay: the widgets that show them live on in the
  // session's shell; the server frees them with the connection.
}

void Viewer::Impl::buildWindow()
{
  XtVaSetValues(shell, XmNwidth, options.width, XmNheight, options.height, XmNtitle, "Folio", XmNiconName,
                "Folio", XmNallowShellResize, False, XmNdeleteResponse, XmDO_NOTHING, NULL);
  mainWindow = XtVaCreateWidget("main", xmMainWindowWidgetClass, shell, XmNscrollingPolicy,
                                XmAPPLICATION_DEFINED, XmNshowSeparator, True, NULL);
  menuBar = XmCreateMenuBar(mainWindow, const_cast<char *>("menubar"), nullptr, 0);
  XtManageChild(menuBar);
  toolBar =
      XtVaCreateManagedWidget("toolbar", xmRowColumnWidgetClass, mainWindow, XmNorientation, XmHORIZONTAL,
                              XmNpacking, XmPACK_TIGHT, XmNspacing, 2, XmNmarginHeight, 2, NULL);
  area = XtVaCreateManagedWidget("area", xmDrawingAreaWidgetClass, mainWindow, XmNresizePolicy, XmRESIZE_NONE,
                                 XmNtraversalOn, False, XmNmarginWidth, 0, XmNmarginHeight, 0, NULL);
  hScroll = XtVaCreateManagedWidget("hscroll", xmScrollBarWidgetClass, mainWindow, XmNorientation,
                                    XmHORIZONTAL, NULL);
  vScroll = XtVaCreateManagedWidget("vscroll", xmScrollBarWidgetClass, mainWindow, XmNorientation, XmVERTICAL,
                                    NULL);
  XmString empty = XmStringCreateLocalized(const_cast<char *>(" "));
  // Its size is the main window's business: new text never asks for a
  // relayout (it changes with every pointer motion while a region is drawn).
  status =
      XtVaCreateManagedWidget("status", xmLabelWidgetClass, mainWindow, XmNlabelString, empty, XmNalignment,
                              XmALIGNMENT_BEGINNING, XmNmarginWidth, 6, XmNrecomputeSize, False, NULL);
  XmStringFree(empty);
  XtVaSetValues(mainWindow, XmNmenuBar, menuBar, XmNcommandWindow, toolBar, XmNworkWindow, area,
                XmNhorizontalScrollBar, hScroll, XmNverticalScrollBar, vScroll, XmNmessageWindow, status,
                NULL);
  for (Widget sb : {hScroll, vScroll}) {
    XtAddCallback(sb, XmNvalueChangedCallback, onScroll, this);
    XtAddCallback(sb, XmNdragCallback, onScroll, this);
  }
  XtAddCallback(area, XmNexposeCallback, onExpose, this);
  XtAddCallback(area, XmNresizeCallback, onResize, this);
  XtAddEventHandler(area, ButtonPressMask | PointerMotionMask | EnterWindowMask, False, onInput, this);
  XtManageChild(mainWindow);

  Atom wmDelete = XmInternAtom(display, const_cast<char *>("WM_DELETE_WINDOW"), False);
  XmAddWMProtocolCallback(
      shell, wmDelete,
      [](Widget, XtPointer c, XtPointer) {
        auto *self = static_cast<Impl *>(c);
        guarded(self->app, [self] { self->quit(); });
      },
      this);
  rebuildMenus();
  rebuildToolBar();
  XtRealizeWidget(shell); // realises the new children of the realised shell

  XWindowAttributes attrs;
  XGetWindowAttributes(display, XtWindow(area), &attrs);
  presenter = std::make_unique<FramePresenter>(display, XtWindow(area), attrs.visual, attrs.depth);
  nameWindow(area, "page view");
  nameMenuWindows();
  refreshToolBar();
  controller->viewportChanged();
}

// ---- the main loop ------------------------------------------------------------------------

int Viewer::Impl::run(const std::vector<std::string> &files)
{
  XtPopup(shell, XtGrabNone);
  XtMapWidget(shell);
  focusWhenViewable(shell, nullptr);
  for (const auto &f : files)
    if (!f.empty())
      guarded(app, [&] { app.openDocumentReporting(f); });
  while (!quitting) {
    // sync() runs after every event: a failure that repeats (a page whose
    // boxes cannot be read) is shown once, not once an event.
    bool synced = guardRun([&] { sync(); },
                           [&](const std::string &message) {
                             if (message != lastSyncFailure) {
                               lastSyncFailure = message;
                               app.note(message);
                             }
                           });
    if (synced)
      lastSyncFailure.clear();
    XEvent ev;
    XtAppNextEvent(appContext, &ev);
    bool handled = false;
    if (ev.type == KeyPress)
      guarded(app, [&] { handled = handleKey(ev); });
    if (handled)
      continue;
    // Only the latest pointer position matters for the cursor.
    if (ev.type == MotionNotify)
      while (XCheckTypedWindowEvent(display, ev.xmotion.window, MotionNotify, &ev)) {
      }
    XtDispatchEvent(&ev);
  }
  XtUnmapWidget(shell);
  XSync(display, False);
  return 0;
}

void Viewer::Impl::sync()
{
  bool relayout = menusDirty || toolBarDirty;
  if (menusDirty)
    rebuildMenus();
  if (toolBarDirty)
    rebuildToolBar();
  if (relayout && XtIsRealized(mainWindow)) {
    // The main window does not place its rows again when only their
    // children changed: the tool bar could be left over the menu bar.
    XtUnmanageChild(toolBar);
    XtManageChild(toolBar);
  }
  // The controller catches up with the application (the active document,
  // the page's size) and gives the scroll, status and title to show.
  controller->sync();
  redrawPending();
  refreshToolBar();
  redrawPending();
  refreshToolBar();
  XFlush(display);
}

view::PageView *Viewer::Impl::shownView() const
{
  return controller ? controller->shownView() : nullptr;
}

void Viewer::Impl::redrawPending()
{
  view::PageView *v = shownView();
  if (!v || controller->viewport().empty())
    return;
  FVRect dirty;
  if (!v->invalidArea(dirty))
    return;
  unsigned rendersBefore = v->renderCount();
  double presentBefore = presentTotalMs;
  double cpu0 = cpuMs();
  auto t0 = Clock::now();
  v->drawNow();
  // When measuring, wait until the pixels are on the server: the time a
  // user waits. Otherwise the flush at the end of the loop step suffices.
  if (options.redrawStats)
    XSync(display, False);
  double ms = msSince(t0);
  double cpu = cpuMs() - cpu0;
  if (options.redrawStats) {
    if (pageChangePending || v->renderCount() != rendersBefore) {
      stats.pageChangeMs.push_back(ms);
      stats.pageChangeCpuMs.push_back(cpu);
    } else {
      stats.redrawMs.push_back(ms);
      stats.redrawCpuMs.push_back(cpu);
      stats.frameMs.push_back(ms - (presentTotalMs - presentBefore));
    }
  }
  pageChangePending = false;
}

// ---- what the controller asks for ------------------------------------------------------

void Viewer::Impl::updateScrollBars(const view::ScrollState &state)
{
  bool shown = shownView() != nullptr;
  inScrollUpdate = true;
  auto set = [&](Widget sb, int content, int window, int scroll) {
    if (!shown || content <= window) {
      XtVaSetValues(sb, XmNminimum, 0, XmNmaximum, 1, XmNsliderSize, 1, XmNvalue, 0, NULL);
      XtSetSensitive(sb, False);
      return;
    }
    int value = std::clamp(scroll, 0, content - window);
    int cur = -1, max = -1, size = -1;
    XtVaGetValues(sb, XmNvalue, &cur, XmNmaximum, &max, XmNsliderSize, &size, NULL);
    if (cur != value || max != content || size != window) {
      XtVaSetValues(sb, XmNminimum, 0, XmNmaximum, content, XmNsliderSize, window, XmNvalue, value,
                    XmNincrement, 40, XmNpageIncrement, std::max(1, window - 40), NULL);
    }
    XtSetSensitive(sb, True);
  };
  set(hScroll, state.contentWidth, state.viewportWidth, state.x);
  set(vScroll, state.contentHeight, state.viewportHeight, state.y);
  inScrollUpdate = false;
}

void Viewer::Impl::showStatus(const std::string &text)
{
  if (text == lastStatus)
    return;
  lastStatus = text;
  XmString s = XmStringCreateLocalized(const_cast<char *>(text.c_str()));
  XtVaSetValues(status, XmNlabelString, s, NULL);
  XmStringFree(s);
  nameWindow(status, ("status: " + text).c_str());
}

void Viewer::Impl::showTitle(const std::string &title)
{
  if (title == lastTitle)
    return;
  lastTitle = title;
  XtVaSetValues(shell, XmNtitle, title.c_str(), NULL);
}

std::optional<int> Viewer::Impl::askPageNumber(int pageCount)
{
  Widget dialog = XmCreatePromptDialog(shell, const_cast<char *>("goto"), nullptr, 0);
  char prompt[64];
  std::snprintf(prompt, sizeof prompt, "Go to page (1 - %d):", pageCount);
  XmString p = XmStringCreateLocalized(prompt);
  XmString t = XmStringCreateLocalized(const_cast<char *>("Go To Page"));
  XtVaSetValues(dialog, XmNselectionLabelString, p, XmNdialogTitle, t, XmNdialogStyle,
                XmDIALOG_FULL_APPLICATION_MODAL, NULL);
  XmStringFree(p);
  XmStringFree(t);
  XtUnmanageChild(XmSelectionBoxGetChild(dialog, XmDIALOG_HELP_BUTTON));
  struct State {
    int done = 0; // 1 ok, 2 cancel
  } state;
  XtAddCallback(
      dialog, XmNokCallback, [](Widget, XtPointer c, XtPointer) { static_cast<State *>(c)->done = 1; },
      &state);
  XtAddCallback(
      dialog, XmNcancelCallback, [](Widget, XtPointer c, XtPointer) { static_cast<State *>(c)->done = 2; },
      &state);
  XtManageChild(dialog);
  Widget text = XmSelectionBoxGetChild(dialog, XmDIALOG_TEXT);
  nameWindow(XtParent(dialog), "Go To Page");
  focusWhenViewable(XtParent(dialog), text);
  while (!state.done)
    XtAppProcessEvent(appContext, XtIMAll);
  std::string value;
  if (char *s = XmTextFieldGetString(text)) {
    value = s;
    XtFree(s);
  }
  XtDestroyWidget(XtParent(dialog));
  if (state.done != 1)
    return std::nullopt;
  return std::atoi(value.c_str());
}

// ---- files ------------------------------------------------------------------------------------

std::string Viewer::Impl::askFileName(const std::string &title, bool forSave)
{
  Widget dialog =
      XmCreateFileSelectionDialog(shell, const_cast<char *>(forSave ? "saveas" : "open"), nullptr, 0);
  XmString t = XmStringCreateLocalized(const_cast<char *>(title.c_str()));
  XmString pattern = XmStringCreateLocalized(const_cast<char *>("*.pdf"));
  XtVaSetValues(dialog, XmNdialogTitle, t, XmNpattern, pattern, XmNdialogStyle,
                XmDIALOG_FULL_APPLICATION_MODAL, NULL);
  XmStringFree(t);
  XmStringFree(pattern);
  XtUnmanageChild(XmFileSelectionBoxGetChild(dialog, XmDIALOG_HELP_BUTTON));
  if (view::DocWindow *shown = controller->shownDocument(); forSave && shown) {
    XmString sel = XmStringCreateLocalized(const_cast<char *>(shown->document().path().c_str()));
    XtVaSetValues(dialog, XmNdirSpec, sel, NULL);
    XmStringFree(sel);
  }
  struct State {
    int done = 0;
    std::string file;
  } state;
  XtAddCallback(
      dialog, XmNokCallback,
      [](Widget, XtPointer c, XtPointer call) {
        auto *s = static_cast<State *>(c);
        auto *cbs = static_cast<XmFileSelectionBoxCallbackStruct *>(call);
        char *text = nullptr;
        if (cbs && cbs->value)
          text = static_cast<char *>(
              XmStringUnparse(cbs->value, nullptr, XmCHARSET_TEXT, XmCHARSET_TEXT, nullptr, 0, XmOUTPUT_ALL));
        if (text) {
          s->file = text;
          XtFree(text);
        }
        s->done = 1;
      },
      &state);
  XtAddCallback(
      dialog, XmNcancelCallback, [](Widget, XtPointer c, XtPointer) { static_cast<State *>(c)->done = 2; },
      &state);
  XtManageChild(dialog);
  nameWindow(XtParent(dialog), title.c_str());
  focusWhenViewable(XtParent(dialog), XmFileSelectionBoxGetChild(dialog, XmDIALOG_TEXT));
  while (!state.done)
    XtAppProcessEvent(appContext, XtIMAll);
  XtDestroyWidget(XtParent(dialog));
  XSync(display, False);
  if (state.done != 1 || state.file.empty() || state.file.back() == '/')
    return {};
  return state.file;
}

void Viewer::Impl::openFile()
{
  std::string path = askFileName("Open", false);
  if (!path.empty())
    app.openDocumentReporting(path);
}

void Viewer::Impl::saveAs()
{
  view::DocWindow *doc = app.activeDocument();
  if (!doc)
    return;
  std::string path = askFileName("Save As", true);
  if (!path.empty())
    app.saveDocument(*doc, path);
}

void Viewer::Impl::quit()
{
  // Close every document, asking about unsaved changes; a "Cancel" keeps
  // the application running.
  while (!app.documents().empty()) {
    view::DocWindow *doc = app.activeDocument();
    if (!doc)
      doc = app.documents().back().get();
    if (!app.closeDocument(doc, false))
      return;
  }
  quitting = true;
}

// ---- input ---------------------------------------------------------------------------------------

bool Viewer::Impl::handleKey(XEvent &ev)
{
  // Keys meant for a dialog or a posted menu go there.
  Widget target = XtWindowToWidget(display, ev.xkey.window);
  if (target) {
    Widget w = target;
    while (w && w != shell)
      w = XtParent(w);
    if (!w)
      return false;
    for (Widget s = target; s; s = XtParent(s))
      if (XtIsShell(s) && s != shell)
        return false;
  }
  KeySym sym = XLookupKeysym(&ev.xkey, 0);
  FSInt16 flags = shortcutFlags(ev.xkey.state);
  // The controller's table: menu shortcuts (with Ctrl or Alt), then the
  // keys bound to commands.
  view::ViewerKey key;
  if (const char *name = XKeysymToString(sym))
    key.name = name;
  key.character = sym > 0x20 && sym < 0x100 ? static_cast<char>(sym) : 0;
  key.flags = flags;
  if (controller->keyPress(key))
    return true;
  if (!shownView() || (flags & (view::kShortcutCtrl | view::kShortcutAlt)))
    return false;
  if (ev.xkey.window == XtWindow(area)) {
    guarded(app, [&] {
      app.toolKeyDown(static_cast<FSUns16>(sym), static_cast<FSInt16>(modifierWord(ev.xkey.state)));
    });
    app.endOpenProgress();
  }
  return false;
}

void Viewer::Impl::onInput(Widget, XtPointer client, XEvent *ev, Boolean *)
{
  auto *self = static_cast<Impl *>(client);
  // Nothing may unwind into the toolkit.
  guarded(self->app, [&] {
    view::PageView *v = self->shownView();
    if (!v)
      return;
    if (ev->type == ButtonPress) {
      unsigned int b = ev->xbutton.button;
      if (b == Button4 || b == Button5) {
        self->controller->wheel(b == Button4 ? -1 : 1, shortcutFlags(ev->xbutton.state));
        return;
      }
      if (b != Button1)
        return;
      self->inClick = true;
      self->clickState = ev->xbutton.state;
      self->controller->click(ev->xbutton.x, ev->xbutton.y,
                              static_cast<FSInt16>(modifierWord(ev->xbutton.state)), ev->xbutton.time);
      self->inClick = false;
      return;
    }
    if (ev->type == MotionNotify || ev->type == EnterNotify) {
      int x = ev->type == MotionNotify ? ev->xmotion.x : ev->xcrossing.x;
      int y = ev->type == MotionNotify ? ev->xmotion.y : ev->xcrossing.y;
      guarded(self->app,
              [&] { self->app.toolAdjustCursor(*v, static_cast<FSInt16>(x), static_cast<FSInt16>(y)); });
    }
  });
}

void Viewer::Impl::onExpose(Widget, XtPointer client, XtPointer call)
{
  auto *self = static_cast<Impl *>(client);
  // Nothing may unwind into the toolkit.
  guarded(self->app, [&] {
    auto *cbs = static_cast<XmDrawingAreaCallbackStruct *>(call);
    view::PageView *v = self->shownView();
    if (!v || !cbs || !cbs->event)
      return;
    const XExposeEvent &e = cbs->event->xexpose;
    const view::Frame &f = v->frame();
    view::ViewportSize size = self->controller->viewport();
    if (f.width != size.width || f.height != size.height) {
      v->invalidateAll();
      self->redrawPending();
      return;
    }
    // The frame still holds the pixels: only show them again.
    FVRect a{static_cast<FSInt16>(e.x), static_cast<FSInt16>(e.y), static_cast<FSInt16>(e.x + e.width - 1),
             static_cast<FSInt16>(e.y + e.height - 1)};
    self->presentArea(*v, a);
  });
}

void Viewer::Impl::onResize(Widget, XtPointer client, XtPointer)
{
  auto *self = static_cast<Impl *>(client);
  // Nothing may unwind into the toolkit.
  guarded(self->app, [&] { self->controller->viewportChanged(); });
}

void Viewer::Impl::onScroll(Widget w, XtPointer client, XtPointer call)
{
  auto *self = static_cast<Impl *>(client);
  // Nothing may unwind into the toolkit.
  guarded(self->app, [&] {
    if (self->inScrollUpdate)
      return;
    view::PageView *v = self->shownView();
    if (!v)
      return;
    auto *cbs = static_cast<XmScrollBarCallbackStruct *>(call);
    if (w == self->hScroll)
      self->controller->scrollBarMoved(cbs->value, v->scrollY());
    else
      self->controller->scrollBarMoved(v->scrollX(), cbs->value);
  });
}

} // namespace folio::motif
