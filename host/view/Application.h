// Application.h: the host's application state, without any toolkit: open
// documents and the active one, tools and the active tool, the menu bar, the
// tool bar, page-view drawing callbacks, the cancel test and the document
// progress monitor. Front ends (Motif viewer, batch runner) drive it and
// implement its ports (Ports.h); the "FolioView" table adapts it for
// extensions.
//
// One Application per process is the normal case (the table adapters reach
// the one given to makeFolioViewTable). Not thread-safe: everything runs on
// the user-interface thread.
//
// The host's own menus, built at construction:
//   "File"        (title "&File"):  "Open", "Close", "Save", "SaveAs", "Quit"
//   "Edit"        (title "&Edit"):  "Undo" (Ctrl+Z), "Redo" (Ctrl+Shift+Z and
//                 Ctrl+Y) of the active document's crop-box changes; their
//                 titles name the step ("Undo Crop Region"), and they are
//                 disabled with nothing to undo / redo
//   "Tools"       (title "&Tools"): "Hand", "Thread"
//   "Extensions"  (title "E&xtensions"): empty, for extensions
//   "Help"        (title "&Help"):  the item "AboutExtensions" carrying the
//                 submenu "AboutExtensions" (title "About E&xtensions")
// Names are the strings in quotes (the lookups are by name). "Close", "Save"
// and "Quit" work here (Quit only sets quitRequested(); the front end ends
// its loop); "Open" and "SaveAs" need a file name, which only a front end can
// ask for: it installs them with MenuItem::setHostExecute. Until then they
// do nothing.
// The host's own tool bar: "Hand", "Thread", then the separator
// "endToolsGroup".
//
// The host's own tools: the hand tool (type "Hand", the default tool: active
// at start, and whenever setActiveTool(null) is asked), which scrolls the
// view by a drag; and the article tool (type "Thread"), which does nothing on
// a click. Both are FVToolRec records owned by the application.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "folio/FolioTypes.h"
#include "view/DocWindow.h"
#include "view/Menus.h"
#include "view/PageView.h"
#include "view/Ports.h"
#include "view/StatusText.h"
#include "view/ToolBar.h"

namespace folio::view {

struct ApplicationOptions {
  int toolBarRoom = 40; // ToolBar capacity
  int passwordAttempts = 3;
};

// Notices for front ends; every method has an empty default.
class ApplicationListener {
public:
  virtual ~ApplicationListener() = default;
  virtual void documentOpened(DocWindow &) {}
  // Called before the document is destroyed.
  virtual void documentClosing(DocWindow &) {}
  virtual void activeDocumentChanged(DocWindow *) {}
  // The document's title changed (it was saved under another name).
  virtual void documentRetitled(DocWindow &) {}
  virtual void activeToolChanged(FVTool) {}
};

class Application {
public:
  explicit Application(ApplicationOptions options = {});
  ~Application();
  Application(const Application &) = delete;
  Application &operator=(const Application &) = delete;

  // ---- ports (absent ones behave as Ports.h says) --------------------------
  void setPorts(const Ports &ports) { ports_ = ports; }
  const Ports &ports() const { return ports_; }
  int ask(const Question &question);
  void note(const std::string &message);
  bool confirm(const std::string &message);
  FSInt32 modifiers();
  bool pollCancel();
  void setCursor(FVCursor cursor);
  FVCursor standardCursor(FSInt32 cursorID);
  // The cursor last set (null at first).
  FVCursor currentCursor() const { return cursor_; }
  FVRect dragOutNewRect(PageView &view, FSInt16 x, FSInt16 y);
  FVRect dragRect(PageView &view, FSInt16 x, FSInt16 y, const FVRect &start, FSInt16 dragType,
                  const FVRect *extrema);
  void present(PageView &view, const FVRect &area);

  // ---- documents -------------------------------------------------------------
  // Opens the PDF at `path` (passwords through the password port) and makes
  // it the active document, showing its first page at 100%. `title` empty:
  // the file's own name. Throws model::ModelError with a message for the user.
  DocWindow &openDocument(const std::string &path, const std::string &title = {});
  // The same, but a failure is shown as a note and answers null.
  DocWindow *openDocumentReporting(const std::string &path, const std::string &title = {});
  // Takes `doc`, already read from its file (a front end that had to read
  // it before the session began): the next openDocument of the path it was
  // opened with uses it instead of reading the file again. Any other open
  // drops it. Only one is held; null clears it.
  void adoptForOpen(std::unique_ptr<model::Document> doc);
  // Closes `doc`. With noSave false and unsaved changes (PDDocNeedsSave), asks
  // "Save changes to \"TITLE\" before closing?" with "Save", "Don't Save",
  // "Cancel": 1 saves first (a failed save keeps it open), 2 closes, anything
  // else keeps it open. True when closed. The last document opened among the
  // remaining ones becomes active (null when none).
  bool closeDocument(DocWindow *doc, bool noSave);
  // Saves to its own file (path empty) or to `path`; a failure is shown as a
  // note, or given in *why when `why` is not null. True when saved. Saved to
  // another file, the document is that file from now on (a later Save writes
  // there): a title taken from the file name follows it, and listeners hear
  // documentRetitled.
  bool saveDocument(DocWindow &doc, const std::string &path = {}, std::string *why = nullptr);
  const std::vector<std::unique_ptr<DocWindow>> &documents() const { return docs_; }
  DocWindow *activeDocument() const { return active_; }
  void setActiveDocument(DocWindow *doc);
  // The DocWindow of a model document or of an FVDoc-like pointer; null when
  // it is not open here.
  DocWindow *findDocument(const void *docWindow) const;

  // ---- tools ---------------------------------------------------------------
  // Registers an extension's tool record (kept by address; the record must
  // outlive the application's use). Registering a record twice keeps one.
  void registerTool(FVTool tool);
  const std::vector<FVTool> &tools() const { return tools_; }
  // The tool whose GetType answers the atom of `type`; null when none.
  FVTool toolByType(const std::string &type) const;
  // The type string of a tool ("" when it has no GetType).
  std::string toolType(FVTool tool) const;
  FVTool activeTool() const { return activeTool_; }
  // Calls the previous tool's Deactivate (when it has one), makes `tool`
  // active and calls its Activate(tool, persistent). Setting the tool that is
  // already active does the same (deactivate, then activate again). Null
  // selects the default tool (the hand tool).
  void setActiveTool(FVTool tool, bool persistent = true);
  FVTool handTool() const;
  FVTool articleTool() const;
  // The active tool's procedures, as the front ends call them on user input.
  // Each answers the tool's answer, false when the tool has no such procedure.
  // A click or a key is one user action: the crop-box changes it makes (a
  // region applied) form one undo step, "Crop Region".
  bool toolClick(PageView &view, FSInt16 x, FSInt16 y, FSInt16 flags, FSInt16 clickNo);
  bool toolAdjustCursor(PageView &view, FSInt16 x, FSInt16 y);
  bool toolKeyDown(FSUns16 key, FSInt16 flags);

  // ---- cancel test and progress monitor -------------------------------------
  // The host's cancel test (polls the cancel port); client data written to
  // *clientData.
  CancelProc cancelProc(void **clientData);
  // The document progress monitor: a ProgressMonitorRec owned by the
  // application whose callbacks forward to the progress port and remember the
  // duration and current value (getDuration/getCurrValue answer them).
  ProgressMonitor progressMonitor(void **clientData);
  // What the monitor's callbacks do: remember, then tell the progress port.
  void progressBegin();
  void progressEnd();
  void progressSetDuration(FSInt32 duration);
  void progressSetValue(FSInt32 value);
  // Ends a progress operation still open when a user action is over (an
  // extension that began one and never ended it would otherwise leave the
  // front end's progress window up, holding off all input). Front ends call
  // it after every menu item, button, shortcut and tool click they run.
  void endOpenProgress();
  FSInt32 progressDuration() const { return progDuration_; }
  FSInt32 progressValue() const { return progValue_; }
  bool progressActive() const { return progActive_; }

  // ---- page-view drawing callbacks -----------------------------------------
  // `proc` is an FSCallback of FVPageViewDrawProc. Registering one that is
  // already registered changes its client data and keeps its place; a null
  // callback is ignored. Called after every redraw in registration order.
  void registerDrawing(FSCallback proc, void *data);
  // Removes it (nothing when it is not registered).
  void unregisterDrawing(FSCallback proc);
  size_t drawingCount() const { return drawing_.size(); }
  bool isDrawingRegistered(FSCallback proc) const;
  // Calls every drawing callback for `view` with `updateRect` (the view does
  // this at each redraw).
  void runDrawingCallbacks(PageView &view, const FVRect &updateRect);

  // ---- viewing preferences (the front end keeps them in the config file) ---
  // The unit of lengths in the status line (View > Units); points at first.
  Unit units() const { return units_; }
  void setUnits(Unit unit) { units_ = unit; }
  // View > Show Cropped Pages: every page view, open now or later, shows
  // only the page's shown box (PageView::setShowCropped); off at first.
  bool showCroppedPages() const { return showCropped_; }
  void setShowCroppedPages(bool on);

  // ---- undo and redo of crop-box changes (the active document's) -------------
  // The label of the step undo / redo would take; "" when there is none (or
  // no active document).
  std::string undoLabel() const;
  std::string redoLabel() const;
  // Takes the step back / does it again (see model::Document::undo); false
  // when there is nothing to do.
  bool undo();
  bool redo();

  MenuBar &menuBar() { return *menuBar_; }
  ToolBar &toolBar() { return *toolBar_; }

  // The Quit item asks for this; front ends end their loop when it is set.
  void requestQuit() { quit_ = true; }
  bool quitRequested() const { return quit_; }

  void addListener(ApplicationListener *listener);
  void removeListener(ApplicationListener *listener);

private:
  struct HostTools;
  void buildHostMenus();
  void buildHostToolBar();

  ApplicationOptions options_;
  Ports ports_;
  std::vector<std::unique_ptr<DocWindow>> docs_;
  std::unique_ptr<model::Document> adopted_; // see adoptForOpen
  DocWindow *active_ = nullptr;
  std::vector<FVTool> tools_;
  FVTool activeTool_ = nullptr;
  std::unique_ptr<HostTools> hostTools_;
  std::vector<std::pair<FSCallback, void *>> drawing_;
  std::unique_ptr<MenuBar> menuBar_;
  std::unique_ptr<ToolBar> toolBar_;
  ProgressMonitorRec monitor_{};
  FSInt32 progDuration_ = 0, progValue_ = 0;
  bool progActive_ = false;
  FVCursor cursor_ = nullptr;
  bool quit_ = false;
  Unit units_ = Unit::Points;
  bool showCropped_ = false;
  std::vector<ApplicationListener *> listeners_;
};

} // namespace folio::view
