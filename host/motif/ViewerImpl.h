// ViewerImpl.h: the inside of the Motif viewer (MotifViewer.h), shared by
// its source files: ViewerMain.cpp (window, page area, event forwarding, main
// loop), ViewerMenus.cpp (menu bar and tool bar mirrored from the view
// layer's models) and ViewerPorts.cpp (the view layer's ports). What to show
// and how to navigate is the view layer's ViewerController: the widgets here
// forward their events to it and show what it asks for.
//
// Device space of the shown page view is the drawing area's window space:
// the view's frame has the area's size, so a pixel (x, y) of the frame is
// the window's pixel (x, y).
#pragma once

#include "core/Guard.h"
#include "motif/DragLoops.h"
#include "motif/FramePresenter.h"
#include "motif/MotifViewer.h"
#include "motif/ProgressDialog.h"
#include "view/Application.h"
#include "view/Ports.h"
#include "view/ViewerController.h"

#include <Xm/Xm.h>

#include <chrono>
#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace folio::platform {
class XSession;
}

namespace folio::motif {

// Times of redraws, for the --redraw-stats report.
struct RedrawStats {
  std::vector<double> redrawMs;     // redraws of a page already rendered
  std::vector<double> frameMs;      // of which the view layer's drawing into the frame
  std::vector<double> pageChangeMs; // showing another page (render included)
  std::vector<double> presentMs;    // copying the frame to the window
  // The viewer's own processor time for the same redraws and page changes
  // (steadier than wall time on a loaded machine; the X server's share is
  // not in it).
  std::vector<double> redrawCpuMs;
  std::vector<double> pageChangeCpuMs;
  std::string report(bool sharedMemory) const;
};

// One menu widget mirrored from a view::Menu.
struct MenuWidgets {
  view::Menu *menu = nullptr;
  Widget pulldown = nullptr;
  std::vector<std::pair<view::MenuItem *, Widget>> items; // leaf and cascade items
  Widget placeholder = nullptr;                           // the disabled "(no extensions)" of an empty menu
};

struct ToolWidget {
  view::ToolButton *button = nullptr;
  Widget widget = nullptr;
  bool marked = false;
  bool enabled = true;
};

class ViewerPorts;

struct Viewer::Impl {
  Impl(view::Application &app, platform::XSession &session, const ViewerOptions &options);
  ~Impl();

  // ---- ViewerMain.cpp ----------------------------------------------------
  void buildWindow();
  int run(const std::vector<std::string> &files);
  // Brings widgets up to date with the model after each event.
  void sync();
  // The page view in the page area (the controller's), or null.
  view::PageView *shownView() const;
  // Redraws what the shown view has invalid, timing it.
  void redrawPending();
  void presentArea(view::PageView &view, const FVRect &area);
  // Shows the controller's scroll in the scroll bars.
  void updateScrollBars(const view::ScrollState &state);
  // Shows `text` on the status line now (also while a drag loop runs); its
  // window carries "status: TEXT" as its name.
  void showStatus(const std::string &text);
  void showTitle(const std::string &title);
  // Forwards a key to the controller, then to the active tool; true when
  // the key was taken.
  bool handleKey(XEvent &ev);
  std::optional<int> askPageNumber(int pageCount);
  void askPreferences();
  void openFile();
  void saveAs();
  void quit();
  std::string askFileName(const std::string &title, bool forSave);

  static void onExpose(Widget, XtPointer, XtPointer);
  static void onResize(Widget, XtPointer, XtPointer);
  static void onInput(Widget, XtPointer, XEvent *, Boolean *);
  static void onScroll(Widget, XtPointer, XtPointer);

  // ---- ViewerMenus.cpp -----------------------------------------------------
  void addPreferences();
  void rebuildMenus();
  void buildPulldown(MenuWidgets &mw, view::Menu *menu, Widget parent);
  void refreshMenu(Widget pulldown);
  void rebuildToolBar();
  void refreshToolBar();
  void nameMenuWindows();
  static void onCascading(Widget, XtPointer, XtPointer);
  static void onMenuItem(Widget, XtPointer, XtPointer);
  static void onToolButton(Widget, XtPointer, XtPointer);

  view::Application &app;
  platform::XSession &session;
  ViewerOptions options;
  XtAppContext appContext = nullptr;
  Display *display = nullptr;
  Widget shell = nullptr;
  Widget mainWindow = nullptr;
  Widget menuBar = nullptr;
  Widget toolBar = nullptr;
  Widget area = nullptr;
  Widget hScroll = nullptr;
  Widget vScroll = nullptr;
  Widget status = nullptr;

  std::unique_ptr<FramePresenter> presenter;
  std::unique_ptr<ProgressDialog> progress;
  std::unique_ptr<ViewerPorts> ports;
  // The viewing policy: zoom, pages, scrolling, keys, status and title.
  std::unique_ptr<view::ViewerController> controller;

  std::vector<std::unique_ptr<MenuWidgets>> menus;
  std::map<Widget, MenuWidgets *> pulldowns;
  std::vector<Widget> menuTitles;
  std::vector<ToolWidget> tools;
  std::vector<Pixmap> toolPixmaps; // icons of the tool bar's buttons
  std::vector<Pixmap> menuPixmaps; // icons of menu items
  int menuListener = 0;
  int toolListener = 0;
  bool menusDirty = true;
  bool toolBarDirty = true;

  bool quitting = false;
  bool inScrollUpdate = false;
  std::string lastStatus;
  std::string lastTitle;
  // The key state of the press being handled: what the tool asks for is the
  // modifiers held at the click, not whatever is held when it gets to ask.
  bool inClick = false;
  unsigned int clickState = 0;
  RedrawStats stats;
  double presentTotalMs = 0; // sum of presentMs, to split a redraw's time
  bool pageChangePending = false;
  std::string lastSyncFailure; // the message of the last failed sync(), shown once
};

// The view layer's ports, implemented with the viewer's widgets.
class ViewerPorts : public view::ViewerPort,
                    public view::AlertPort,
                    public view::ProgressPort,
                    public view::CancelPort,
                    public view::DragPort,
                    public view::ModifierPort,
                    public view::CursorPort,
                    public view::PresentPort,
                    public view::PasswordPort {
public:
  explicit ViewerPorts(Viewer::Impl &viewer) : v_(viewer) {}
  view::Ports ports();

  int ask(const view::Question &question) override;
  void note(const std::string &message) override;
  bool confirm(const std::string &message) override;
  void begin() override;
  void end() override;
  void setDuration(FSInt32 duration) override;
  void setValue(FSInt32 value) override;
  bool cancelRequested() override;
  FVRect dragOutNewRect(view::PageView &view, FSInt16 x, FSInt16 y) override;
  FVRect dragRect(view::PageView &view, FSInt16 x, FSInt16 y, const FVRect &start, FSInt16 dragType,
                  const FVRect *extrema) override;
  FSInt32 modifiers() override;
  void setCursor(FVCursor cursor) override;
  FVCursor standardCursor(FSInt32 cursorID) override;
  void present(view::PageView &view, const FVRect &area) override;
  std::optional<std::string> askPassword(const std::string &path, int attempt) override;
  // The controller's port.
  view::ViewportSize viewportSize() override;
  void scrollTo(const view::ScrollState &state) override;
  void requestRedraw(bool pageChange) override;
  void setStatus(const std::string &text) override;
  void setTitle(const std::string &title) override;
  std::optional<int> askPageNumber(int pageCount) override;

private:
  DragContext dragContext(view::PageView &view, const FVRect *extrema);
  // The model's cancel poll while the progress window is up (see begin()).
  static bool cancelPendingInPage(void *self);
  Viewer::Impl &v_;
  int progressDepth_ = 0;
};

// Runs a user action from an Xt callback. Nothing may unwind through the
// toolkit's C frames: an exception is shown to the user as an alert instead
// (the document stays as the action left it). True when fn() returned.
template <class Fn> bool guarded(view::Application &app, Fn &&fn)
{
  return guardRun(std::forward<Fn>(fn), [&app](const std::string &message) { app.note(message); });
}

// The modifier word of the view layer from an X key/button state.
FSInt32 modifierWord(unsigned int state);
// The shortcut flags of the view layer from an X key state.
FSInt16 shortcutFlags(unsigned int state);

} // namespace folio::motif
