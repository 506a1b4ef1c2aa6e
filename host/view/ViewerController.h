// ViewerController.h: the viewing policy of a front end, without a toolkit:
// which document is shown in the page area, zoom steps, fit width and fit
// page, scrolling, the mouse wheel (which goes on to the next page at the end
// of one), click counting, going to a page, the keys, the status line and the
// window title. A front end keeps its widgets and forwards its events here
// (a key as its name and shortcut flags, a wheel step as a direction, a
// click as a position and a time); the controller asks the widgets for what
// it needs through a ViewerPort.
//
// The commands are named items of the view's command table, so a menu, a
// key and a script reach the same procedure by the same name:
//   the "View" menu, added to the menu bar after "Edit" (title "&View"):
//     "ZoomIn" (Ctrl+=), "ZoomOut" (Ctrl+-), "ActualSize" (Ctrl+1),
//     "FitWidth" (Ctrl+2), "FitPage" (Ctrl+0), "NextPage" (Ctrl+N),
//     "PreviousPage" (Ctrl+P), "FirstPage", "LastPage", "GoToPage" (Ctrl+G),
//     "ShowCroppedPages" (a check item), and the submenu "Units" with the
//     radio items "Units:points", "Units:millimetres", "Units:inches";
//   the "Window" menu, added before "Help" (title "&Window"): one item per
//     open document, "Window:1", "Window:2", ... in the order they were
//     opened, titled with the document's title and marked while it is the
//     active one; choosing one makes that document active;
//   commands outside the menus (keys and scripts only): "ScrollUp",
//     "ScrollDown", "ScrollLeft", "ScrollRight" (kScrollStep pixels).
// Each is enabled while a document is shown, except the units and Show
// Cropped Pages (always); the fit commands also need a viewport. command()
// finds these and every other item of the menu bar by name.
//
// Device space is the shown page view's (PageView.h): its size is the
// viewport's, pixels, y downwards. The content is the page's device size
// plus kPageMargin on each side; a content smaller than the viewport is
// centred in it (a negative scroll).
//
// Lifetime: the application must outlive the controller; the port must
// outlive it too. When the controller goes, its commands stay in the menu
// bar (plug-ins may hold them) but do nothing and are disabled.
// Not thread-safe: the user-interface thread only.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "folio/FolioTypes.h"
#include "view/Application.h"
#include "view/KeyBindings.h"

namespace folio::view {

class Menu;
class MenuItem;

struct ViewportSize {
  int width = 0; // pixels
  int height = 0;
  bool empty() const { return width <= 0 || height <= 0; }
};

// Where the shown view is scrolled to, for the front end's scroll bars:
// (x, y) of the viewport's top-left corner over content of contentWidth x
// contentHeight device pixels; all 0 when no document is shown.
struct ScrollState {
  int x = 0, y = 0;
  int contentWidth = 0, contentHeight = 0;
  int viewportWidth = 0, viewportHeight = 0;
};

// What the controller asks of the front end's widgets.
class ViewerPort {
public:
  virtual ~ViewerPort() = default;
  // The page area's size now. Empty (0 x 0) when the front end has no
  // window (the batch runner): the page view then keeps the page's own size,
  // stays unscrolled, and the fit commands are disabled.
  virtual ViewportSize viewportSize() = 0;
  // The shown view's scroll changed (or may have): show it in the scroll
  // bars.
  virtual void scrollTo(const ScrollState &state) = 0;
  // The shown view has invalid areas: redraw them now. pageChange: another
  // page, zoom or document is shown (a front end that times redraws counts
  // it apart). Called with no document shown: clear the page area.
  virtual void requestRedraw(bool pageChange) = 0;
  // The status line's and the window title's text (called after every
  // sync(), whether changed or not).
  virtual void setStatus(const std::string &text) = 0;
  virtual void setTitle(const std::string &title) = 0;
  // Asks the user for a page number (1 .. pageCount, but any answer may
  // come); nullopt when the user cancelled.
  virtual std::optional<int> askPageNumber(int pageCount) = 0;
};

struct ViewerControllerOptions {
  // Read the units and Show Cropped Pages from the config file at start and
  // keep them there when they change (the interactive viewer); a script
  // leaves the user's settings alone.
  bool keepPreferences = false;
};

// A key press as a front end forwards it.
struct ViewerKey {
  std::string name;   // the key's name (KeyBindings.h)
  char character = 0; // its character for menu shortcuts; 0: from the name
  FSInt16 flags = 0;  // shortcut flags held
};

class ViewerController : private ApplicationListener {
public:
  // Pixels scrolled by a scroll command (an arrow key) and by a wheel step.
  static constexpr int kScrollStep = 40;
  static constexpr int kWheelStep = 48;
  // Two presses closer than this in time (ms) and kClickDistance pixels in
  // each direction are one double click.
  static constexpr unsigned long kDoubleClickMs = 400;
  static constexpr int kClickDistance = 4;

  ViewerController(Application &app, ViewerPort &port, ViewerControllerOptions options = {});
  ~ViewerController() override;
  ViewerController(const ViewerController &) = delete;
  ViewerController &operator=(const ViewerController &) = delete;

  // ---- the command table ---------------------------------------------------
  // The command named `name`: the controller's own (above) or any item of
  // the menu bar; null when none.
  MenuItem *command(const std::string &name) const;
  // Runs it as a user chooses it (only when enabled). False when there is
  // no such command or it is disabled.
  bool runCommand(const std::string &name);
  Menu *viewMenu() const { return viewMenu_; }
  Menu *windowMenu() const { return windowMenu_; }
  KeyBindings &keyBindings() { return keys_; }

  // ---- events --------------------------------------------------------------
  // A key: a menu shortcut first (with Ctrl or Alt), else the key's binding.
  // True when a command took it (even one that changed nothing); false when
  // the key means nothing here (the front end gives it to the active tool).
  // A shortcut of a command the document's permissions disable says why in
  // a note.
  bool keyPress(const ViewerKey &key);
  // The command keyPress() would run for `key` (a menu shortcut, else the
  // key's binding); null when none. It may be disabled.
  MenuItem *commandForKey(const ViewerKey &key) const;
  // A wheel step: direction -1 up, +1 down. With Ctrl it zooms (up: in),
  // with Shift it scrolls sideways, else it scrolls down or up, and at the
  // end of the page goes on to the next page (its top) or the previous
  // page (its bottom).
  void wheel(int direction, FSInt16 flags);
  // A press of the first button at (x, y) at `timeMs` (the event's time):
  // counts clicks, then gives it to the active tool with `modifiers` (a
  // modifier word) and keeps the scroll in range (a tool may scroll). An
  // exception from the tool is shown as a note.
  void click(int x, int y, FSInt16 modifiers, unsigned long timeMs);
  // The click count a press would get (1, 2 for a double click, ...), and
  // remembers it. click() calls it.
  int countClick(int x, int y, unsigned long timeMs);
  // The page area changed size (asks the port).
  void viewportChanged();
  // The user moved a scroll bar: scroll there and redraw.
  void scrollBarMoved(int x, int y);
  // Catches up with the application after an event: shows the active
  // document if it changed, fits the scroll when the page's size changed
  // (a crop while showing cropped pages), and gives the port the scroll, the
  // status and the title.
  void sync();
  // Only the first part of sync(): shows the active document if it changed
  // (commands, keys, the wheel and clicks do this first).
  void showActiveDocument();

  // ---- navigation (on the shown document; nothing without one) ------------
  DocWindow *shownDocument() const { return shown_; }
  PageView *shownView() const;
  ViewportSize viewport() const { return viewport_; }
  // Page n (zero-based); nothing when out of range or already shown.
  void goToPage(int n);
  // Asks for a page number (1-based) and goes there when it is in range.
  void askGoToPage();
  // Keeps the centre of the viewport at the same place of the page (within
  // the page margin: the centre is reckoned in the content without it).
  void setZoom(double percent);
  // To the next step of kZoomSteps above (direction > 0) or below the zoom.
  void zoomStep(int direction);
  void fitWidth();
  void fitPage();
  void scrollBy(int dx, int dy);
  // Brings the scroll in range: a content smaller than the viewport is
  // centred; otherwise the scroll is clamped, and with centre the vertical
  // scroll goes to the top.
  void fitScroll(bool centre);
  // View > Units and View > Show Cropped Pages.
  void setUnits(Unit unit);
  void setShowCropped(bool on);

  // ---- text ----------------------------------------------------------------
  // "No document", or the page, zoom and crop box (pageStatus), followed by
  // why changes are refused when the document's permissions forbid them.
  std::string statusText() const;
  // "Folio", or "TITLE - Folio", with " *" after the title when the document
  // has unsaved changes.
  std::string titleText() const;
  ScrollState scrollState() const;

  // ---- the policy, as plain functions ---------------------------------------
  // The zoom steps: 10, 25, 33.33, 50, 66.67, 75, 100, 125, 150, 200, 300,
  // 400, 600, 800, 1200, 1600, 3200, 6400 percent.
  static const double kZoomSteps[18];
  // The next step above (direction > 0) or below `zoom`; `zoom` itself when
  // there is none.
  static double nextZoomStep(double zoom, int direction);
  // The zoom (percent, rounded down to 1/100) at which a page of
  // pageWidth x pageHeight points (rotated as shown) fills the viewport less
  // the margins: across (fit width) or wholly (fit page). 0 when the page or
  // the viewport has no area.
  static double fitWidthZoom(double pageWidth, const ViewportSize &viewport);
  static double fitPageZoom(double pageWidth, double pageHeight, const ViewportSize &viewport);

private:
  MenuItem *shortcutItem(const ViewerKey &key) const;
  void documentOpened(DocWindow &doc) override;
  void documentClosing(DocWindow &doc) override;
  void documentRetitled(DocWindow &doc) override;
  void buildCommands();
  void buildWindowMenu();
  // A Window menu item for `doc` named `name`, inserted at `index`.
  MenuItem *addWindowItem(DocWindow &doc, const std::string &name, FSInt32 index);
  void showDocument(DocWindow *doc);
  MenuItem *addCommand(Menu *menu, const char *title, const char *name, char key, FSInt16 flags,
                       std::function<void()> fn);

  Application &app_;
  ViewerPort &port_;
  ViewerControllerOptions options_;
  KeyBindings keys_;
  Menu *viewMenu_ = nullptr;                      // held by the menu bar
  Menu *hidden_ = nullptr;                        // the commands outside the menus; ours
  std::vector<MenuItem *> own_;                   // our commands, each holding a reference of ours
  Menu *windowMenu_ = nullptr;                    // held by the menu bar
  std::map<DocWindow *, MenuItem *> windowItems_; // one per open document
  int windowSerial_ = 0;
  DocWindow *shown_ = nullptr;
  ViewportSize viewport_;
  int shownPageWidth_ = 0, shownPageHeight_ = 0;
  unsigned long lastClickTime_ = 0;
  int lastClickX_ = -100, lastClickY_ = -100, clickCount_ = 0;
};

} // namespace folio::view
