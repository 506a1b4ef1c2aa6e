// Application.cpp: documents, tools, the cancel test, the progress monitor,
// drawing callbacks, and the host's own menus, tool bar and tools.
#include "view/Application.h"

#include <algorithm>
#include <cstdio>

#include "core/Atoms.h"
#include "core/Callback.h"
#include "core/ExceptionFrames.h"
#include "core/Guard.h"
#include "model/CropHistory.h"
#include "model/ModelError.h"
#include "view/ViewHandles.h"

namespace folio::view {

namespace {

// The undo step of a tool click or key: a tool changes crop boxes by applying
// the region drawn with it.
const char *const kToolActionLabel = "Crop Region";

// ---- the host's own tools ---------------------------------------------------

// A host tool: the interface's record first, so that the FVTool handle (the
// record's address) leads back to the application.
struct HostToolRec {
  FVToolRec rec;
  Application *app;
  const char *type;
};

Application &appOf(FVTool tool)
{
  return *reinterpret_cast<HostToolRec *>(tool)->app;
}

FSAtom HostToolGetType(FVTool tool)
{
  return guardCall(FSAtom(0),
                   [&]() -> FSAtom { return atomFromString(reinterpret_cast<HostToolRec *>(tool)->type); });
}

FSBool HostToolIsPersistent(FVTool)
{
  return 1;
}

// The hand tool scrolls the view by the distance the pointer was dragged.
FSBool HandDoClick(FVTool tool, FVPageView pageView, FSInt16 xHit, FSInt16 yHit, FSInt16, FSInt16)
{
  return guardCall(FSBool(0), [&]() -> FSBool {
    PageView *view = fromFVPageView(pageView);
    if (!view)
      return 0;
    Application &app = appOf(tool);
    app.setCursor(app.standardCursor(kCursorGrab));
    FVRect start{xHit, yHit, xHit, yHit};
    FVRect end = app.dragRect(*view, xHit, yHit, start, fvDragMove, nullptr);
    int dx = end.left - xHit, dy = end.top - yHit;
    if (dx || dy) {
      view->setScroll(view->scrollX() - dx, view->scrollY() - dy);
      view->drawNow();
    }
    app.setCursor(app.standardCursor(kCursorHand));
    return 1;
  });
}

FSBool HandAdjustCursor(FVTool tool, FVPageView, FSInt16, FSInt16)
{
  return guardCall(FSBool(0), [&]() -> FSBool {
    Application &app = appOf(tool);
    app.setCursor(app.standardCursor(kCursorHand));
    return 1;
  });
}

// The article tool takes clicks without doing anything with them.
FSBool ArticleDoClick(FVTool, FVPageView, FSInt16, FSInt16, FSInt16, FSInt16)
{
  return 1;
}

FSBool ArticleAdjustCursor(FVTool tool, FVPageView, FSInt16, FSInt16)
{
  return guardCall(FSBool(0), [&]() -> FSBool {
    Application &app = appOf(tool);
    app.setCursor(app.standardCursor(kCursorCross));
    return 1;
  });
}

// ---- the progress monitor and the cancel test ------------------------------------
// Their client data is the application. Like the tools' procedures above, the
// plug-in calls them directly: each runs under the guard. A cancel test that
// fails answers "cancel", so that the command puts back what it changed.

void PMBegin(void *cd)
{
  guardRun([&] { static_cast<Application *>(cd)->progressBegin(); });
}
void PMEnd(void *cd)
{
  guardRun([&] { static_cast<Application *>(cd)->progressEnd(); });
}
void PMSetDuration(FSInt32 duration, void *cd)
{
  guardRun([&] { static_cast<Application *>(cd)->progressSetDuration(duration); });
}
void PMSetCurrValue(FSInt32 value, void *cd)
{
  guardRun([&] { static_cast<Application *>(cd)->progressSetValue(value); });
}
FSInt32 PMGetDuration(void *cd)
{
  return guardCall(FSInt32(0),
                   [&]() -> FSInt32 { return static_cast<Application *>(cd)->progressDuration(); });
}
FSInt32 PMGetCurrValue(void *cd)
{
  return guardCall(FSInt32(0), [&]() -> FSInt32 { return static_cast<Application *>(cd)->progressValue(); });
}
FSBool HostCancelProc(void *cd)
{
  return guardCall(FSBool(1),
                   [&]() -> FSBool { return static_cast<Application *>(cd)->pollCancel() ? 1 : 0; });
}

// Whether a tool record is long enough to hold the slot at `offset`.
bool hasSlot(FVTool tool, size_t offset, size_t width)
{
  return tool && tool->size >= offset + width;
}

#define TOOL_SLOT(tool, field)                                                                               \
  (hasSlot(tool, offsetof(FVToolRec, field), sizeof(tool->field)) ? tool->field : nullptr)

} // namespace

struct Application::HostTools {
  _t_FSCallback getType{nullptr, reinterpret_cast<FSProc>(&HostToolGetType)};
  _t_FSCallback isPersistent{nullptr, reinterpret_cast<FSProc>(&HostToolIsPersistent)};
  _t_FSCallback handClick{nullptr, reinterpret_cast<FSProc>(&HandDoClick)};
  _t_FSCallback handCursor{nullptr, reinterpret_cast<FSProc>(&HandAdjustCursor)};
  _t_FSCallback articleClick{nullptr, reinterpret_cast<FSProc>(&ArticleDoClick)};
  _t_FSCallback articleCursor{nullptr, reinterpret_cast<FSProc>(&ArticleAdjustCursor)};
  HostToolRec hand{};
  HostToolRec article{};
};

namespace {
int gLiveApplications = 0;
}

Application::Application(ApplicationOptions options)
    : options_(options), hostTools_(std::make_unique<HostTools>()), menuBar_(std::make_unique<MenuBar>()),
      toolBar_(std::make_unique<ToolBar>(options.toolBarRoom))
{
  HostTools &t = *hostTools_;
  for (HostToolRec *rec : {&t.hand, &t.article}) {
    rec->rec.size = sizeof(FVToolRec);
    rec->rec.GetType = &t.getType;
    rec->rec.IsPersistent = &t.isPersistent;
    rec->app = this;
  }
  t.hand.rec.DoClick = &t.handClick;
  t.hand.rec.AdjustCursor = &t.handCursor;
  t.hand.type = "Hand";
  t.article.rec.DoClick = &t.articleClick;
  t.article.rec.AdjustCursor = &t.articleCursor;
  t.article.type = "Thread";
  tools_.push_back(handTool());
  tools_.push_back(articleTool());
  activeTool_ = handTool();

  monitor_.size = sizeof(ProgressMonitorRec);
  monitor_.beginOperation = &PMBegin;
  monitor_.endOperation = &PMEnd;
  monitor_.setDuration = &PMSetDuration;
  monitor_.setCurrValue = &PMSetCurrValue;
  monitor_.getDuration = &PMGetDuration;
  monitor_.getCurrValue = &PMGetCurrValue;

  buildHostMenus();
  buildHostToolBar();
  ++gLiveApplications;
}

Application::~Application()
{
  // Documents first: their views call back into the application.
  while (!docs_.empty())
    docs_.pop_back();
  active_ = nullptr;
  toolBar_.reset();
  menuBar_.reset();
  // Extensions keep menu items beyond any menu and never release them: the
  // last application frees what is left.
  if (--gLiveApplications == 0)
    destroyAllMenuObjects();
}

// ---- ports ------------------------------------------------------------------

int Application::ask(const Question &question)
{
  if (!ports_.alerts)
    return 0;
  return ports_.alerts->ask(question);
}

void Application::note(const std::string &message)
{
  if (ports_.alerts)
    ports_.alerts->note(message);
  else
    std::fprintf(stderr, "folio: %s\n", message.c_str());
}

bool Application::confirm(const std::string &message)
{
  return ports_.alerts ? ports_.alerts->confirm(message) : false;
}

FSInt32 Application::modifiers()
{
  return ports_.modifiers ? ports_.modifiers->modifiers() : 0;
}

bool Application::pollCancel()
{
  bool cancel = ports_.cancel ? ports_.cancel->cancelRequested() : false;
  if (cancel) {
    // Work the model does ahead for the cancelled command stops now.
    for (const auto &doc : docs_)
      doc->document().stopBackgroundWork();
  }
  return cancel;
}

void Application::setCursor(FVCursor cursor)
{
  cursor_ = cursor;
  if (ports_.cursors)
    ports_.cursors->setCursor(cursor);
}

FVCursor Application::standardCursor(FSInt32 cursorID)
{
  return ports_.cursors ? ports_.cursors->standardCursor(cursorID) : nullptr;
}

FVRect Application::dragOutNewRect(PageView &view, FSInt16 x, FSInt16 y)
{
  if (!ports_.drag)
    return FVRect{x, y, x, y};
  return ports_.drag->dragOutNewRect(view, x, y);
}

FVRect Application::dragRect(PageView &view, FSInt16 x, FSInt16 y, const FVRect &start, FSInt16 dragType,
                             const FVRect *extrema)
{
  if (!ports_.drag)
    return start;
  return ports_.drag->dragRect(view, x, y, start, dragType, extrema);
}

void Application::present(PageView &view, const FVRect &area)
{
  if (ports_.present)
    ports_.present->present(view, area);
}

// ---- documents -------------------------------------------------------------------

void Application::adoptForOpen(std::unique_ptr<model::Document> doc)
{
  adopted_ = std::move(doc);
}

DocWindow &Application::openDocument(const std::string &path, const std::string &title)
{
  std::unique_ptr<model::Document> doc = std::move(adopted_);
  if (!doc || doc->path() != path)
    doc = model::Document::open(path, ports_.password, options_.passwordAttempts);
  docs_.push_back(std::make_unique<DocWindow>(*this, std::move(doc), title));
  DocWindow &win = *docs_.back();
  win.pageView().setShowCropped(showCropped_);
  for (ApplicationListener *l : std::vector<ApplicationListener *>(listeners_))
    l->documentOpened(win);
  setActiveDocument(&win);
  win.document().setNoteSink([this](const std::string &n) { note(n); });
  // How the file was read (pages skipped in a broken page tree, say).
  for (const std::string &n : win.document().openNotes())
    note(n);
  return win;
}

DocWindow *Application::openDocumentReporting(const std::string &path, const std::string &title)
{
  try {
    return &openDocument(path, title);
  } catch (const std::exception &e) {
    note(e.what());
  }
  return nullptr;
}

bool Application::saveDocument(DocWindow &doc, const std::string &path, std::string *why)
{
  try {
    if (path.empty()) {
      doc.document().save();
      return true;
    }
    doc.document().saveAs(path);
    if (doc.followFile())
      for (ApplicationListener *l : std::vector<ApplicationListener *>(listeners_))
        l->documentRetitled(doc);
    return true;
  } catch (const std::exception &e) {
    if (why)
      *why = e.what();
    else
      note(e.what());
  }
  return false;
}

bool Application::closeDocument(DocWindow *doc, bool noSave)
{
  auto it = std::find_if(docs_.begin(), docs_.end(), [doc](const auto &d) { return d.get() == doc; });
  if (!doc || it == docs_.end())
    return false;
  if (!noSave && (doc->document().flags() & PDDocNeedsSave)) {
    Question q;
    q.iconType = fvAlertCaution;
    q.message = "Save changes to \"" + doc->title() + "\" before closing?";
    q.buttons = {"Save", "Don't Save", "Cancel"};
    int answer = ask(q);
    if (answer == 1) {
      if (!saveDocument(*doc))
        return false;
    } else if (answer != 2) {
      return false;
    }
  }
  for (ApplicationListener *l : std::vector<ApplicationListener *>(listeners_))
    l->documentClosing(*doc);
  std::unique_ptr<DocWindow> owned = std::move(*it);
  docs_.erase(it);
  if (active_ == doc) {
    active_ = nullptr;
    setActiveDocument(docs_.empty() ? nullptr : docs_.back().get());
  }
  owned.reset();
  return true;
}

void Application::setShowCroppedPages(bool on)
{
  showCropped_ = on;
  for (auto &d : docs_)
    d->pageView().setShowCropped(on);
}

void Application::setActiveDocument(DocWindow *doc)
{
  if (doc && !findDocument(doc))
    return;
  if (doc == active_)
    return;
  active_ = doc;
  for (ApplicationListener *l : std::vector<ApplicationListener *>(listeners_))
    l->activeDocumentChanged(doc);
}

DocWindow *Application::findDocument(const void *docWindow) const
{
  for (const auto &d : docs_) {
    if (d.get() == docWindow)
      return d.get();
  }
  return nullptr;
}

// ---- tools -------------------------------------------------------------------------

FVTool Application::handTool() const
{
  return &hostTools_->hand.rec;
}
FVTool Application::articleTool() const
{
  return &hostTools_->article.rec;
}

void Application::registerTool(FVTool tool)
{
  if (!tool || std::find(tools_.begin(), tools_.end(), tool) != tools_.end())
    return;
  tools_.push_back(tool);
}

std::string Application::toolType(FVTool tool) const
{
  auto fn = callbackProc<FVToolGetTypeProcType>(TOOL_SLOT(tool, GetType));
  if (!fn)
    return {};
  FSAtom type = FSAtomNull;
  auto call = [&] { type = fn(tool); };
  if (!callGuarded(call))
    return {};
  const char *s = atomString(type);
  return s ? s : "";
}

FVTool Application::toolByType(const std::string &type) const
{
  for (FVTool tool : tools_) {
    if (toolType(tool) == type)
      return tool;
  }
  return nullptr;
}

void Application::setActiveTool(FVTool tool, bool persistent)
{
  if (!tool)
    tool = handTool();
  FVTool previous = activeTool_;
  if (previous) {
    auto deactivate = callbackProc<FVToolDeactivateProcType>(TOOL_SLOT(previous, Deactivate));
    if (deactivate) {
      auto call = [&] { deactivate(previous); };
      callGuarded(call);
    }
  }
  activeTool_ = tool;
  auto activate = callbackProc<FVToolActivateProcType>(TOOL_SLOT(tool, Activate));
  if (activate) {
    FSBool p = persistent ? 1 : 0;
    auto call = [&] { activate(tool, p); };
    callGuarded(call);
  }
  for (ApplicationListener *l : std::vector<ApplicationListener *>(listeners_))
    l->activeToolChanged(tool);
}

bool Application::toolClick(PageView &view, FSInt16 x, FSInt16 y, FSInt16 flags, FSInt16 clickNo)
{
  FVTool tool = activeTool_;
  auto fn = callbackProc<FVToolDoClickProcType>(TOOL_SLOT(tool, DoClick));
  if (!fn)
    return false;
  FVPageView pv = toFVPageView(&view);
  bool handled = false;
  model::CropHistory::Action action(kToolActionLabel);
  auto call = [&] { handled = fn(tool, pv, x, y, flags, clickNo) != 0; };
  return callGuarded(call) && handled;
}

bool Application::toolAdjustCursor(PageView &view, FSInt16 x, FSInt16 y)
{
  FVTool tool = activeTool_;
  auto fn = callbackProc<FVToolAdjustCursorProcType>(TOOL_SLOT(tool, AdjustCursor));
  if (!fn)
    return false;
  FVPageView pv = toFVPageView(&view);
  bool handled = false;
  auto call = [&] { handled = fn(tool, pv, x, y) != 0; };
  return callGuarded(call) && handled;
}

bool Application::toolKeyDown(FSUns16 key, FSInt16 flags)
{
  FVTool tool = activeTool_;
  auto fn = callbackProc<FVToolDoKeyDownProcType>(TOOL_SLOT(tool, DoKeyDown));
  if (!fn)
    return false;
  bool handled = false;
  model::CropHistory::Action action(kToolActionLabel);
  auto call = [&] { handled = fn(tool, key, flags) != 0; };
  return callGuarded(call) && handled;
}

// ---- undo and redo -----------------------------------------------------------------

std::string Application::undoLabel() const
{
  return active_ ? active_->document().history().undoLabel() : std::string();
}

std::string Application::redoLabel() const
{
  return active_ ? active_->document().history().redoLabel() : std::string();
}

bool Application::undo()
{
  return active_ && active_->document().undo();
}

bool Application::redo()
{
  return active_ && active_->document().redo();
}

// ---- cancel and progress -----------------------------------------------------------

CancelProc Application::cancelProc(void **clientData)
{
  if (clientData)
    *clientData = this;
  return &HostCancelProc;
}

ProgressMonitor Application::progressMonitor(void **clientData)
{
  if (clientData)
    *clientData = this;
  return &monitor_;
}

void Application::progressBegin()
{
  progActive_ = true;
  progDuration_ = 0;
  progValue_ = 0;
  if (ports_.progress)
    ports_.progress->begin();
}

void Application::endOpenProgress()
{
  if (progActive_)
    progressEnd();
}

void Application::progressEnd()
{
  progActive_ = false;
  if (ports_.progress)
    ports_.progress->end();
}

void Application::progressSetDuration(FSInt32 duration)
{
  progDuration_ = duration;
  if (ports_.progress)
    ports_.progress->setDuration(duration);
}

void Application::progressSetValue(FSInt32 value)
{
  progValue_ = value;
  if (ports_.progress)
    ports_.progress->setValue(value);
}

// ---- drawing callbacks ----------------------------------------------------------------

void Application::registerDrawing(FSCallback proc, void *data)
{
  if (!proc)
    return;
  for (auto &entry : drawing_) {
    if (entry.first == proc) {
      entry.second = data;
      return;
    }
  }
  drawing_.emplace_back(proc, data);
}

void Application::unregisterDrawing(FSCallback proc)
{
  drawing_.erase(std::remove_if(drawing_.begin(), drawing_.end(),
                                [proc](const auto &entry) { return entry.first == proc; }),
                 drawing_.end());
}

bool Application::isDrawingRegistered(FSCallback proc) const
{
  return std::any_of(drawing_.begin(), drawing_.end(), [proc](const auto &e) { return e.first == proc; });
}

void Application::runDrawingCallbacks(PageView &view, const FVRect &updateRect)
{
  // A callback may register or unregister callbacks: run over a copy, and
  // skip those unregistered meanwhile.
  auto callbacks = drawing_;
  for (const auto &entry : callbacks) {
    if (!isDrawingRegistered(entry.first))
      continue;
    auto fn = callbackProc<FVPageViewDrawProc>(entry.first);
    if (!fn)
      continue;
    FVRect area = updateRect;
    FVPageView pv = toFVPageView(&view);
    void *data = entry.second;
    auto call = [&] { fn(pv, &area, data); };
    callGuarded(call);
  }
}

// ---- listeners -------------------------------------------------------------------------

void Application::addListener(ApplicationListener *listener)
{
  if (listener && std::find(listeners_.begin(), listeners_.end(), listener) == listeners_.end())
    listeners_.push_back(listener);
}

void Application::removeListener(ApplicationListener *listener)
{
  listeners_.erase(std::remove(listeners_.begin(), listeners_.end(), listener), listeners_.end());
}

// ---- the host's own menus and tool bar ----------------------------------------------------

namespace {

MenuItem *addHostItem(Menu *menu, const char *title, const char *name, char shortcut = 0, FSInt16 flags = 0)
{
  MenuItem *item = MenuItem::create(title, name, nullptr, false, shortcut, flags);
  menu->insert(item, kAppendIndex);
  item->release(); // the menu holds it
  return item;
}

} // namespace

void Application::buildHostMenus()
{
  MenuBar &bar = *menuBar_;
  Menu *file = Menu::create("&File", "File");
  Menu *edit = Menu::create("&Edit", "Edit");
  Menu *tools = Menu::create("&Tools", "Tools");
  Menu *extensions = Menu::create("E&xtensions", "Extensions");
  Menu *help = Menu::create("&Help", "Help");
  for (Menu *m : {file, edit, tools, extensions, help}) {
    bar.addMenu(m);
    m->release(); // the bar holds it
  }

  addHostItem(file, "&Open...", "Open", 'O', kShortcutCtrl);
  MenuItem *close = addHostItem(file, "&Close", "Close", 'W', kShortcutCtrl);
  MenuItem *save = addHostItem(file, "&Save", "Save", 'S', kShortcutCtrl);
  MenuItem *saveAs = addHostItem(file, "Save &As...", "SaveAs", 'S', kShortcutCtrl | kShortcutShift);
  MenuItem *quit = addHostItem(file, "&Quit", "Quit", 'Q', kShortcutCtrl);
  auto haveDoc = [this] { return active_ != nullptr; };
  close->setHostExecute([this] {
    if (active_)
      closeDocument(active_, false);
  });
  close->setHostEnabled(haveDoc);
  save->setHostExecute([this] {
    if (active_)
      saveDocument(*active_);
  });
  save->setHostEnabled(haveDoc);
  saveAs->setHostEnabled(haveDoc);
  quit->setHostExecute([this] { requestQuit(); });

  MenuItem *undo = addHostItem(edit, "&Undo", "Undo", 'Z', kShortcutCtrl);
  MenuItem *redo = addHostItem(edit, "&Redo", "Redo", 'Z', kShortcutCtrl | kShortcutShift);
  redo->setAltShortcut('Y', kShortcutCtrl);
  undo->setHostExecute([this] { this->undo(); });
  undo->setHostEnabled([this] { return !undoLabel().empty(); });
  undo->setHostTitle([this] {
    std::string label = undoLabel();
    return label.empty() ? std::string("&Undo") : "&Undo " + label;
  });
  redo->setHostExecute([this] { this->redo(); });
  redo->setHostEnabled([this] { return !redoLabel().empty(); });
  redo->setHostTitle([this] {
    std::string label = redoLabel();
    return label.empty() ? std::string("&Redo") : "&Redo " + label;
  });

  MenuItem *hand = addHostItem(tools, "&Hand", "Hand");
  MenuItem *thread = addHostItem(tools, "&Article", "Thread");
  hand->setHostExecute([this] { setActiveTool(handTool(), true); });
  hand->setHostMarked([this] { return activeTool_ == handTool(); });
  thread->setHostExecute([this] { setActiveTool(articleTool(), true); });
  thread->setHostMarked([this] { return activeTool_ == articleTool(); });

  Menu *about = Menu::create("About E&xtensions", "AboutExtensions");
  MenuItem *aboutItem = MenuItem::create("About E&xtensions", "AboutExtensions", about);
  about->release(); // the item holds it
  help->insert(aboutItem, kAppendIndex);
  aboutItem->release();
}

void Application::buildHostToolBar()
{
  ToolBar &bar = *toolBar_;
  ToolButton *hand = ToolButton::create(atomFromString("Hand"), nullptr, false, false);
  hand->setHelpText("Hand tool - used to scroll the page");
  hand->setHostExecute([this] { setActiveTool(handTool(), true); });
  hand->setHostMarked([this] { return activeTool_ == handTool(); });
  bar.addButton(hand, true, nullptr);
  ToolButton *thread = ToolButton::create(atomFromString("Thread"), nullptr, false, false);
  thread->setHelpText("Article tool");
  thread->setHostExecute([this] { setActiveTool(articleTool(), true); });
  thread->setHostMarked([this] { return activeTool_ == articleTool(); });
  bar.addButton(thread, true, nullptr);
  bar.addButton(ToolButton::create(atomFromString("endToolsGroup"), nullptr, true, false), true, nullptr);
}

} // namespace folio::view
