// TestHost.h: the recording test host. It loads the real plug-in shared object
// exactly as a host does, serves all six function tables from a scripted
// "world", and records every call in one ordered log (Log.h).
//
// One TestHost may exist at a time in a process (the table entries are plain
// C procedures and reach the host through a process-wide pointer). Each
// TestHost loads its own fresh copy of the plug-in (the .so is copied to a
// unique file under /tmp and that copy is opened), so the plug-in's globals
// start at zero in every test. Copies are never closed: the plug-in has no
// unload procedure, and closing it would invalidate callbacks still held.
//
// This header includes only FolioTypes.h: no table macros leak into tests.
//
// Host choices that the plug-in's interface leaves open (all documented here):
//   * Tables: every table is served at every version listed for it
//     (default: "Core", "FolioSupport", "Obj", "PDModel", "FolioView", "Unix"
//     each at 0x00020000, 0x00020001, 0x00020002); the same entry array is
//     handed out at every version. FSExtensionMgrGetHFT answers null for any
//     other name or version. Entries the interface does not describe are
//     recording no-ops logged as "Table#N()" (e.g. "Obj#3()").
//   * Menus: FVMenuAddMenuItem inserts at `index` (0 = first); an index at or
//     past the end (9999 included) appends; a negative index inserts first.
//     Adding an item that is already in a menu first takes it out of that menu.
//     Adding to a null menu, or adding a null item, is recorded and ignored.
//     FVMenuGetMenuItemIndex answers -1 for an item not in the menu (and for
//     null arguments). FVMenubarAcquireMenuByName and
//     FVMenubarAcquireMenuItemByName search the menu bar's menus and, depth
//     first, the submenus carried by their items; they match the name, not
//     the title. Every acquire and release is counted per object; a release
//     of null is recorded and ignored.
//   * Default menu bar: "File" (items Open, Save, SaveAs, Close), "Tools"
//     (Hand, Select, Thread, Zoom), "Extensions" (empty), "AboutExtensions"
//     (empty). Item names equal their titles. Tests may remove menus/items.
//   * Tool bar: buttons "Hand", "Select", then the separator "endToolsGroup".
//     FVToolBarAddButton with an `otherButton` not on the bar (null included)
//     appends at the end. FVToolBarIsRoomFor answers roomOnToolBar (default 1).
//   * Tools: FVAppSetActiveTool calls the old active tool's Deactivate (when
//     the tool changes and the slot is non-null), makes the tool active and
//     then calls its Activate(tool, persistent) when non-null (also when the
//     tool was already active).
//   * Drawing callbacks: registering appends (callback, data), duplicates
//     allowed; unregistering removes every entry of that callback. redraw()
//     calls every registered entry in order, skipping null callbacks.
//     FVPageViewDrawNow only records (it does not call the drawing callbacks:
//     the plug-in calls it from inside them).
//   * Page views: one per document (view<k> for document k). Page to device:
//     the page's media box, rotated clockwise by the page's rotation (legal
//     values 0/90/180/270; anything else counts as 0) about its top-left
//     corner, scaled by zoom and moved by (offsetX, offsetY); results rounded
//     to nearest and clamped to 16 bits. Device to page is the exact inverse,
//     rounded to the nearest 1/65536. Both normalise their results
//     (device: left <= right, top <= bottom; page: left <= right, top >= bottom).
//   * Alerts: FVAlert answers from alertAnswers (front first), then
//     alertDefault (0, "dismissed"); FVAlertConfirm from confirmAnswers, then
//     confirmDefault (0).
//   * Drags: FVPageViewDragOutNewRect answers from dragOutResults, then the
//     empty rectangle at the start point; FVPageViewDragRect from
//     dragRectResults, then the start rectangle unchanged.
//   * Cancel test: polls are counted from 1 for the life of the TestHost; it
//     answers true from poll cancelAtPoll on (0 = never).
//   * FSmalloc: blocks are filled with 0xA5 (so a missing zero-fill shows);
//     it answers null when mallocFails is set or at call number mallocFailAt
//     (counted from 1). FSfree frees only blocks it handed out.
//   * FSRaise unwinds to the innermost frame pushed with FSPushExceptionFrame
//     by calling its restore procedure with its environment (as a host would);
//     with no frame it aborts the test program.
//   * Documents: the first document added becomes the active one. FVDocClose
//     answers docCloseAnswer (default 1) and, when true, marks the document
//     closed and, if it was active, leaves no active document.
//     FVDocOpenFromFile answers the FVDoc of document openFromFileDoc (default
//     -1: null), marks it open and makes it the active document.
//   * Configuration: "CanEdit" is set to (void*)1 by default.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "Log.h"
#include "folio/FolioTypes.h"

namespace testhost {

// The six tables, in the order of their numbers below.
enum class Table { Core = 0, FolioSupport, Obj, PDModel, FolioView, Unix };
constexpr int kTableCount = 6;
const char *tableName(Table t);

// ---- world records (owned by the TestHost; addresses are the handles) --------

// Base of every host object handed to the plug-in: its log name.
struct HostObject {
  std::string name;
};

// A procedure slot of a menu item or button: callback and client data.
struct ProcSlot {
  bool set = false;
  FSCallback callback = nullptr;
  void *data = nullptr;
};

struct Menu;

struct MenuItem : HostObject {
  std::string title;    // as given, '&' included
  std::string itemName; // e.g. "QUIL:PSRevert"
  Menu *submenu = nullptr;
  FSBool longMenusOnly = 0;
  char shortcut = 0;
  FSInt16 flags = 0;
  FVIcon icon = nullptr;
  ExtensionID owner = nullptr;
  ProcSlot execute, computeEnabled, computeMarked;
  Menu *parent = nullptr; // the menu it is in, or null
  int acquires = 0;       // FVMenuItemAcquire and acquiring lookups
  int releases = 0;       // FVMenuItemRelease
  bool createdByPlugin = false;
};

struct Menu : HostObject {
  std::string title;
  std::string menuName;
  std::vector<MenuItem *> items;
  ExtensionID owner = nullptr;
  int acquires = 0; // acquiring lookups
  int releases = 0; // FVMenuRelease
  bool createdByPlugin = false;
};

struct ToolButton : HostObject {
  std::string buttonName;
  FVIcon icon = nullptr;
  FSBool isSeparator = 0;
  FSBool noFlyout = 0;
  ProcSlot execute, computeEnabled, computeMarked;
  std::string helpText;
  bool hasHelpText = false;
  bool onBar = false;
};

struct Document;

struct Page : HostObject {
  Document *doc = nullptr;
  int index = 0;
  FixedRect mediaBox{};
  FixedRect cropBox{};
  FixedRect bbox{};
  PDRotate rotate = 0;
  int acquires = 0;      // PDDocAcquirePage
  int releases = 0;      // PDPageRelease
  int setCropBoxes = 0;  // PDPageSetCropBox
  int notifications = 0; // PDPageNotifyContentsDidChange
};

// An outline drawn with FVPageViewDrawRectOutline, with the view's colour then.
struct Outline {
  FVRect rect{};
  FSInt16 lineWidth = 0;
  std::vector<Fixed> dashes; // empty when the dash array was null
  bool dashArrayNull = true;
  FSInt32 dashCount = 0;
  PDColorValueRec colour{};
};

struct PageView : HostObject {
  Document *doc = nullptr;
  FSInt32 pageNum = 0; // the page shown (zero-based)
  double zoom = 1.0;   // device units per point
  int offsetX = 0;     // device position of the shown page's top-left corner
  int offsetY = 0;
  PDColorValueRec colour{PDDeviceGray, {0, 0, 0, 0}};
  std::vector<Outline> outlines;   // every outline drawn, in order
  std::vector<FVRect> invalidated; // every FVPageViewInvalidateRect area, in order
  int drawNows = 0;                // FVPageViewDrawNow calls
};

struct Document : HostObject { // name: doc<k> (the PDDoc handle)
  int index = 0;
  HostObject fvDoc; // fvdoc<k>: the FVDoc handle
  HostObject file;  // file<k>
  HostObject path;  // path<k>
  std::vector<std::unique_ptr<Page>> pages;
  PageView view; // view<k>
  FSUns32 permissions = 0xFFFFFFFFu;
  FSInt32 flags = 0;
  bool hasFile = true; // PDDocGetFile answers file<k>, else null
  bool hasPath = true; // FSFileAcquirePathName answers path<k>, else null
  bool closed = false;
  int pathAcquires = 0;
};

struct DrawingRegistration {
  FSCallback callback;
  void *data;
};

// ---- the host -------------------------------------------------------------

class TestHost {
public:
  TestHost();
  ~TestHost();
  TestHost(const TestHost &) = delete;
  TestHost &operator=(const TestHost &) = delete;

  // The TestHost alive now (null when none).
  static TestHost *current();

  // ---- loading and start-up (each step separately) ----------------------

  // Copies the shared object at `soPath` to a unique file, opens the copy and
  // finds its exported `main`. False (and error()) on failure.
  bool load(const std::string &soPath);
  const std::string &error() const { return error_; }
  // The opened copy (for dlsym of exported entry points by tests).
  void *handle() const { return handle_; }
  // Address of an exported symbol of the loaded copy, or null.
  void *symbol(const char *name) const;

  // Calls main(appVersion, &mainVersionOut, &setupProc). Logged as
  // host.main(<hex>) -> <result>.
  FSBool callMain(FSInt32 appVersion = 0x00020000);
  FSInt32 mainVersionOut = 0;             // written by main
  PISetupSDKProcType setupProc = nullptr; // written by main

  // Calls the setup procedure with `version` and &sdkData. sdkData is
  // prepared by the constructor (handshakeVersion 0x00020000, extensionID
  // extensionID(), coreHFT the core table, handshakeCallback null); tests may
  // change it before the call. Logged as host.setup(<hex>).
  FSBool callSetup(FSUns32 version = 0x00020000);
  PISDKData_V0200 sdkData{};

  // Calls the handshake through sdkData.handshakeCallback with `version` and
  // &handshakeData (prepared: handshakeVersion 0x00020000, appName the atom
  // of "Folio", everything else zero). Logged as host.handshake(<hex>).
  FSBool callHandshake(FSUns32 version = 0x00020000);
  PIHandshakeData_V0200 handshakeData{};

  // Calls handshakeData.initCallback. Logged as host.init().
  FSBool callInit();

  // load + main + setup + handshake + init with the defaults; true when all
  // of them succeeded.
  bool startUp(const std::string &soPath);

  // The identity handed to the plug-in ("ext0").
  ExtensionID extensionID() const;

  // ---- tables ------------------------------------------------------------

  // The versions at which a table exists (replaces the previous set).
  void setTableVersions(Table t, std::set<FSUns32> versions);
  // The table's entry array as served (entry n is operation n).
  HFT table(Table t);
  // Replaces entry `sel` of a table; the plug-in reaches it at its next call.
  void replaceEntry(Table t, int sel, HFTEntry entry);
  HFTEntry entry(Table t, int sel);
  int entryCount(Table t) const;

  // ---- log --------------------------------------------------------------

  Log log;
  // Adds a marker call "mark(\"text\")" to the log (to split phases).
  void mark(const std::string &text);

  // ---- atoms, callbacks, names -------------------------------------------

  FSAtom atom(const std::string &s);                     // interns without logging
  std::string atomString(FSAtom a) const;                // "" for an unknown atom
  FSCallback makeCallback(ExtensionID ext, FSProc proc); // as FSCallbackCreate, unlogged
  int callbackCount() const { return static_cast<int>(callbacks_.size()); }
  // The N-th callback created (cb:N), or null.
  FSCallback callbackAt(int n) const;
  // The owner and the procedure that a callback wraps (null for null).
  static ExtensionID callbackOwner(FSCallback cb);
  static FSProc callbackTarget(FSCallback cb);
  // The procedure number fn:K of a callback's procedure (-1 for null).
  int procNumber(FSCallback cb) const;
  // The name of a handle (as the log shows it).
  std::string nameOf(const void *handle) const;
  std::string nameOfCallback(FSCallback cb) const;
  std::string nameOfProc(FSProc proc);

  // ---- configuration -----------------------------------------------------

  // Sets a configuration key; a null value unsets it.
  void setConfiguration(const std::string &key, void *value);
  void *configuration(const std::string &key) const;

  // ---- documents and pages ------------------------------------------------

  // Adds a document of `pages` pages, each with media and crop box
  // {0,792,612,0}, bounding box {72,720,540,72}, rotation 0. Answers its index.
  int addDocument(int pages);
  Document &document(int k);
  Page &page(int doc, int index);
  PDDoc pdDoc(int k);
  FVDoc fvDoc(int k);
  FVPageView pageView(int k);
  PDPage pdPage(int doc, int index);
  // Active document: a document index, or -1 for none.
  void setActiveDocument(int k);
  int activeDocument() const { return activeDoc_; }
  int documentCount() const { return static_cast<int>(docs_.size()); }
  Document *documentOf(PDDoc d) const;
  Document *documentOfFV(FVDoc d) const;
  PageView *viewOf(FVPageView v) const;
  Page *pageOf(PDPage p) const;

  FSBool docCloseAnswer = 1;
  int openFromFileDoc = -1;

  // ---- view transforms (the same the tables serve) -----------------------

  FVRect pageRectToDevice(const PageView &v, const FixedRect &r) const;
  FixedRect deviceRectToPage(const PageView &v, const FVRect &r) const;

  // ---- drawing -------------------------------------------------------------

  const std::vector<DrawingRegistration> &drawingCallbacks() const { return drawing_; }
  // Calls every registered drawing callback for the view, in order, with the
  // update rectangle (the whole view when null). Logged as host.redraw(view<k>).
  void redraw(FVPageView view, const FVRect *update = nullptr);

  // ---- scripted answers ----------------------------------------------------

  std::deque<FSInt32> alertAnswers;
  FSInt32 alertDefault = 0;
  std::deque<FSBool> confirmAnswers;
  FSBool confirmDefault = 0;
  std::deque<FVRect> dragOutResults;
  std::deque<FVRect> dragRectResults;
  FSInt32 modifiers = 0;
  void *shellWidget = nullptr; // answered by the "Unix" table's entry 1
  void setShellWidget(void *w) { shellWidget = w; }

  // Progress monitor: the monitor record handed out and which slots it has.
  bool progressMonitorAbsent = false; // FVAppGetDocProgressMonitor answers null
  // Removes one slot of the monitor: "beginOperation", "endOperation",
  // "setDuration", "setCurrValue", "getDuration" or "getCurrValue".
  void removeProgressSlot(const std::string &slot);
  ProgressMonitorRec progressMonitor{};
  FSInt32 progressDuration = 0; // last setDuration
  FSInt32 progressValue = 0;    // last setCurrValue

  // Cancel test.
  int cancelAtPoll = 0;          // 0: never; else true from this poll on
  int cancelPolls = 0;           // polls so far
  bool cancelProcAbsent = false; // FVAppGetCancelProc answers null

  // Memory.
  bool mallocFails = false;
  int mallocFailAt = 0; // 0: never
  int mallocCalls = 0;
  std::map<void *, size_t> liveBlocks; // blocks handed out and not freed

  // ---- menus ---------------------------------------------------------------

  FVMenubar menubar();
  // A menu by name anywhere (on the bar, a submenu, or unattached), or null.
  Menu *menu(const std::string &name);
  // A menu item by name anywhere, or null (the first made when names repeat).
  MenuItem *menuItem(const std::string &name);
  // The top-level menus, in order.
  std::vector<Menu *> &menubarMenus() { return menubarMenus_; }
  // Titles / names of the items of a menu, in order.
  std::vector<std::string> itemTitles(const std::string &menuName);
  std::vector<std::string> itemNames(const std::string &menuName);
  // Adds an empty top-level menu at the end, or an item at the end of a menu.
  Menu *addMenu(const std::string &name);
  MenuItem *addMenuItem(const std::string &menuName, const std::string &itemName);
  // Takes a top-level menu off the bar (so lookups fail), or an item out of
  // its menu.
  void removeMenu(const std::string &name);
  void removeMenuItem(const std::string &itemName);
  // Runs an item's procedures as a host would: execute (nothing without a
  // procedure), compute-enabled (1 without one), compute-marked (0 without).
  // Logged as host.execute(item:...) etc.
  void executeItem(MenuItem *item);
  FSBool computeEnabled(MenuItem *item);
  FSBool computeMarked(MenuItem *item);

  // ---- tool bar ------------------------------------------------------------

  FVToolBar toolBar();
  bool roomOnToolBar = true;
  std::vector<ToolButton *> &toolBarButtons() { return barButtons_; }
  ToolButton *button(const std::string &name); // anywhere, or null
  void removeButton(const std::string &name);  // off the bar
  void executeButton(ToolButton *b);
  FSBool computeEnabled(ToolButton *b);
  FSBool computeMarked(ToolButton *b);

  // ---- tools ----------------------------------------------------------------

  const std::vector<FVTool> &registeredTools() const { return tools_; }
  FVTool activeTool = nullptr; // FVAppGetActiveTool's answer
  // The host's side of FVAppSetActiveTool (logged as host.setActiveTool).
  void setActiveTool(FVTool tool, FSBool persistent);
  // A tool's procedures through the registered record's callbacks (logged as
  // host.doClick etc.). Null slots answer 0 and call nothing.
  FSBool toolDoClick(FVTool tool, FVPageView view, FSInt16 x, FSInt16 y, FSInt16 flags = 0,
                     FSInt16 clickNo = 1);
  FSBool toolAdjustCursor(FVTool tool, FVPageView view, FSInt16 x, FSInt16 y);
  FSAtom toolGetType(FVTool tool);
  FSBool toolIsPersistent(FVTool tool);

  // ---- cursors ----------------------------------------------------------------

  FVCursor standardCursor(FSInt32 id) const; // the handle FVSysGetStandardCursor answers
  FVCursor currentCursor = nullptr;          // last FVSysSetCursor

  // ---- used by the table implementations (not for tests) -------------------
  struct Impl;
  Impl &impl() { return *impl_; }
  std::vector<std::unique_ptr<Document>> docs_;
  int activeDoc_ = -1;
  std::vector<DrawingRegistration> drawing_;
  std::vector<std::unique_ptr<Menu>> menus_;
  std::vector<std::unique_ptr<MenuItem>> items_;
  std::vector<Menu *> menubarMenus_;
  std::vector<std::unique_ptr<ToolButton>> buttons_;
  std::vector<ToolButton *> barButtons_;
  std::vector<FVTool> tools_;
  void nameObject(const void *p, const std::string &name);
  std::string uniqueName(const std::string &base);

private:
  std::unique_ptr<Impl> impl_;
  std::string error_;
  void *handle_ = nullptr;
  PIMainProcType main_ = nullptr;
  std::vector<FSCallback> callbacks_;
};

} // namespace testhost
