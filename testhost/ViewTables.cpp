// ViewTables.cpp: the "FolioView" table of the test host: alerts, application
// state, documents' views, menus, page views, cursors, the tool bar and tools.
#include "Internal.h"

#include <algorithm>

namespace testhost {

namespace {

std::string charText(char c)
{
  if (!c)
    return "0";
  return std::string("'") + c + "'";
}

std::string atomText(FSAtom a)
{
  if (!a)
    return "0";
  std::string s = H().atomString(a);
  return s.empty() ? "atom#" + I(a) : "atom:" + s;
}

Menu *menuOf(FVMenu m)
{
  for (auto &p : H().menus_)
    if (reinterpret_cast<FVMenu>(p.get()) == m)
      return p.get();
  return nullptr;
}

MenuItem *itemOf(FVMenuItem i)
{
  for (auto &p : H().items_)
    if (reinterpret_cast<FVMenuItem>(p.get()) == i)
      return p.get();
  return nullptr;
}

ToolButton *buttonOf(FVToolButton b)
{
  for (auto &p : H().buttons_)
    if (reinterpret_cast<FVToolButton>(p.get()) == b)
      return p.get();
  return nullptr;
}

PageView *viewOf(FVPageView v)
{
  return H().viewOf(v);
}

// ---- alerts -------------------------------------------------------------------------

FSInt32 tFVAlert(FSInt32 iconType, const char *msg, const char *b1, const char *b2, const char *b3,
                 FSBool beep)
{
  TestHost &h = H();
  size_t i = rec("FVAlert", {I(iconType), quoted(msg), quoted(b1), quoted(b2), quoted(b3), I(beep)});
  FSInt32 r = h.alertDefault;
  if (!h.alertAnswers.empty()) {
    r = h.alertAnswers.front();
    h.alertAnswers.pop_front();
  }
  res(i, I(r));
  return r;
}

void tFVAlertNote(const char *msg)
{
  rec("FVAlertNote", {quoted(msg)});
}

FSBool tFVAlertConfirm(const char *msg)
{
  TestHost &h = H();
  size_t i = rec("FVAlertConfirm", {quoted(msg)});
  FSBool r = h.confirmDefault;
  if (!h.confirmAnswers.empty()) {
    r = h.confirmAnswers.front();
    h.confirmAnswers.pop_front();
  }
  res(i, I(r));
  return r;
}

// ---- application ------------------------------------------------------------------------

CancelProc tFVAppGetCancelProc(void **data)
{
  TestHost &h = H();
  size_t i = rec("FVAppGetCancelProc", {data ? "ptr" : "null"});
  if (h.cancelProcAbsent) {
    if (data)
      *data = nullptr;
    res(i, "null");
    return nullptr;
  }
  if (data)
    *data = &h.impl().cancelData;
  res(i, "cancelproc canceldata");
  return hostCancelProc;
}

FVDoc tFVAppGetActiveDoc(void)
{
  TestHost &h = H();
  size_t i = rec("FVAppGetActiveDoc");
  FVDoc r = nullptr;
  if (h.activeDocument() >= 0 && h.activeDocument() < h.documentCount())
    r = h.fvDoc(h.activeDocument());
  res(i, N(r));
  return r;
}

ProgressMonitor tFVAppGetDocProgressMonitor(void **data)
{
  TestHost &h = H();
  size_t i = rec("FVAppGetDocProgressMonitor", {data ? "ptr" : "null"});
  if (h.progressMonitorAbsent) {
    if (data)
      *data = nullptr;
    res(i, "null");
    return nullptr;
  }
  if (data)
    *data = &h.impl().progressData;
  res(i, "progmon pmdata");
  return &h.progressMonitor;
}

FVMenubar tFVAppGetMenubar(void)
{
  size_t i = rec("FVAppGetMenubar");
  FVMenubar r = H().menubar();
  res(i, N(r));
  return r;
}

FVToolBar tFVAppGetToolBar(void)
{
  size_t i = rec("FVAppGetToolBar");
  FVToolBar r = H().toolBar();
  res(i, N(r));
  return r;
}

FVTool tFVAppGetActiveTool(void)
{
  size_t i = rec("FVAppGetActiveTool");
  FVTool r = H().activeTool;
  res(i, N(r));
  return r;
}

void tFVAppSetActiveTool(FVTool tool, FSBool persistent)
{
  TestHost &h = H();
  rec("FVAppSetActiveTool", {N(tool), I(persistent)});
  FVTool old = h.activeTool;
  if (old && old != tool)
    if (auto proc = folio::callbackProc<FVToolDeactivateProcType>(old->Deactivate))
      proc(old);
  h.activeTool = tool;
  if (tool)
    if (auto proc = folio::callbackProc<FVToolActivateProcType>(tool->Activate))
      proc(tool, persistent);
}

void tFVAppRegisterTool(FVTool tool)
{
  TestHost &h = H();
  std::string name = h.nameOf(tool);
  if (tool && std::find(h.tools_.begin(), h.tools_.end(), tool) == h.tools_.end()) {
    name = "tool" + I(static_cast<long long>(h.tools_.size()));
    h.tools_.push_back(tool);
    h.nameObject(tool, name);
  }
  rec("FVAppRegisterTool", {name});
}

void tFVAppRegisterForPageViewDrawing(FSCallback proc, void *data)
{
  rec("FVAppRegisterForPageViewDrawing", {cbName(proc), N(data)});
  H().drawing_.push_back({proc, data});
}

void tFVAppUnregisterForPageViewDrawing(FSCallback proc)
{
  rec("FVAppUnregisterForPageViewDrawing", {cbName(proc)});
  auto &d = H().drawing_;
  d.erase(
      std::remove_if(d.begin(), d.end(), [&](const DrawingRegistration &r) { return r.callback == proc; }),
      d.end());
}

// ---- documents ----------------------------------------------------------------------------

FVDoc tFVDocOpenFromFile(FSPathName path, FSFileSys fs, const char *title)
{
  TestHost &h = H();
  size_t i = rec("FVDocOpenFromFile", {N(path), N(fs), quoted(title)});
  FVDoc r = nullptr;
  if (h.openFromFileDoc >= 0 && h.openFromFileDoc < h.documentCount()) {
    r = h.fvDoc(h.openFromFileDoc);
    h.document(h.openFromFileDoc).closed = false;
    h.setActiveDocument(h.openFromFileDoc); // a newly opened document comes to the front
  }
  res(i, N(r));
  return r;
}

FSBool tFVDocClose(FVDoc doc, FSBool noSave)
{
  TestHost &h = H();
  size_t i = rec("FVDocClose", {N(doc), I(noSave)});
  FSBool r = h.docCloseAnswer;
  if (r) {
    if (Document *d = h.documentOfFV(doc)) {
      d->closed = true;
      if (h.activeDocument() == d->index)
        h.setActiveDocument(-1);
    }
  }
  res(i, I(r));
  return r;
}

PDDoc tFVDocGetPDDoc(FVDoc doc)
{
  size_t i = rec("FVDocGetPDDoc", {N(doc)});
  Document *d = H().documentOfFV(doc);
  PDDoc r = d ? reinterpret_cast<PDDoc>(d) : nullptr;
  res(i, N(r));
  return r;
}

FVPageView tFVDocGetPageView(FVDoc doc)
{
  size_t i = rec("FVDocGetPageView", {N(doc)});
  Document *d = H().documentOfFV(doc);
  FVPageView r = d ? reinterpret_cast<FVPageView>(&d->view) : nullptr;
  res(i, N(r));
  return r;
}

// ---- menus ------------------------------------------------------------------------------------

Menu *findMenu(Menu *m, const std::string &name, int depth)
{
  if (!m || depth > 16)
    return nullptr;
  if (m->menuName == name)
    return m;
  for (MenuItem *it : m->items)
    if (Menu *f = findMenu(it->submenu, name, depth + 1))
      return f;
  return nullptr;
}

MenuItem *findItem(Menu *m, const std::string &name, int depth)
{
  if (!m || depth > 16)
    return nullptr;
  for (MenuItem *it : m->items) {
    if (it->itemName == name)
      return it;
    if (MenuItem *f = findItem(it->submenu, name, depth + 1))
      return f;
  }
  return nullptr;
}

FVMenu tFVMenubarAcquireMenuByName(FVMenubar bar, const char *name)
{
  TestHost &h = H();
  size_t i = rec("FVMenubarAcquireMenuByName", {N(bar), quoted(name)});
  Menu *found = nullptr;
  if (name && bar == h.menubar())
    for (Menu *m : h.menubarMenus_)
      if ((found = findMenu(m, name, 0)))
        break;
  if (found)
    ++found->acquires;
  res(i, N(found));
  return reinterpret_cast<FVMenu>(found);
}

FVMenuItem tFVMenubarAcquireMenuItemByName(FVMenubar bar, const char *name)
{
  TestHost &h = H();
  size_t i = rec("FVMenubarAcquireMenuItemByName", {N(bar), quoted(name)});
  MenuItem *found = nullptr;
  if (name && bar == h.menubar())
    for (Menu *m : h.menubarMenus_)
      if ((found = findItem(m, name, 0)))
        break;
  if (found)
    ++found->acquires;
  res(i, N(found));
  return reinterpret_cast<FVMenuItem>(found);
}

FVMenu tFVMenuNew(const char *title, const char *name, ExtensionID owner)
{
  TestHost &h = H();
  size_t i = rec("FVMenuNew", {quoted(title), quoted(name), N(owner)});
  auto m = std::make_unique<Menu>();
  m->title = title ? title : "";
  m->menuName = name ? name : "";
  m->owner = owner;
  m->createdByPlugin = true;
  m->name = h.uniqueName("menu:" + m->menuName);
  h.nameObject(m.get(), m->name);
  Menu *p = m.get();
  h.menus_.push_back(std::move(m));
  res(i, N(p));
  return reinterpret_cast<FVMenu>(p);
}

void tFVMenuRelease(FVMenu menu)
{
  rec("FVMenuRelease", {N(menu)});
  if (Menu *m = menuOf(menu))
    ++m->releases;
}

FSInt32 tFVMenuGetMenuItemIndex(FVMenu menu, FVMenuItem item)
{
  size_t i = rec("FVMenuGetMenuItemIndex", {N(menu), N(item)});
  Menu *m = menuOf(menu);
  MenuItem *it = itemOf(item);
  FSInt32 r = -1;
  if (m && it) {
    auto pos = std::find(m->items.begin(), m->items.end(), it);
    if (pos != m->items.end())
      r = static_cast<FSInt32>(pos - m->items.begin());
  }
  res(i, I(r));
  return r;
}

void takeOut(MenuItem *it)
{
  if (it && it->parent) {
    auto &v = it->parent->items;
    v.erase(std::remove(v.begin(), v.end(), it), v.end());
    it->parent = nullptr;
  }
}

void tFVMenuAddMenuItem(FVMenu menu, FVMenuItem item, FSInt32 index)
{
  rec("FVMenuAddMenuItem", {N(menu), N(item), I(index)});
  Menu *m = menuOf(menu);
  MenuItem *it = itemOf(item);
  if (!m || !it)
    return;
  takeOut(it);
  size_t pos = index < 0 ? 0 : std::min(static_cast<size_t>(index), m->items.size());
  m->items.insert(m->items.begin() + static_cast<long>(pos), it);
  it->parent = m;
}

FVMenuItem tFVMenuItemNew(const char *title, const char *name, FVMenu submenu, FSBool longOnly, char shortcut,
                          FSInt16 flags, FVIcon icon, ExtensionID owner)
{
  TestHost &h = H();
  size_t i = rec("FVMenuItemNew", {quoted(title), quoted(name), N(submenu), I(longOnly), charText(shortcut),
                                   I(flags), N(icon), N(owner)});
  auto it = std::make_unique<MenuItem>();
  it->title = title ? title : "";
  it->itemName = name ? name : "";
  it->submenu = menuOf(submenu);
  it->longMenusOnly = longOnly;
  it->shortcut = shortcut;
  it->flags = flags;
  it->icon = icon;
  it->owner = owner;
  it->createdByPlugin = true;
  it->name = h.uniqueName("item:" + it->itemName);
  h.nameObject(it.get(), it->name);
  MenuItem *p = it.get();
  h.items_.push_back(std::move(it));
  res(i, N(p));
  return reinterpret_cast<FVMenuItem>(p);
}

FVMenuItem tFVMenuItemAcquire(FVMenuItem item)
{
  size_t i = rec("FVMenuItemAcquire", {N(item)});
  if (MenuItem *it = itemOf(item))
    ++it->acquires;
  res(i, N(item));
  return item;
}

void tFVMenuItemRelease(FVMenuItem item)
{
  rec("FVMenuItemRelease", {N(item)});
  if (MenuItem *it = itemOf(item))
    ++it->releases;
}

void tFVMenuItemRemove(FVMenuItem item)
{
  rec("FVMenuItemRemove", {N(item)});
  takeOut(itemOf(item));
}

void setSlot(const char *op, FVMenuItem item, FSCallback cb, void *data, ProcSlot MenuItem::*slot)
{
  rec(op, {N(item), cbName(cb), N(data)});
  if (MenuItem *it = itemOf(item))
    it->*slot = ProcSlot{true, cb, data};
}

void tFVMenuItemSetExecuteProc(FVMenuItem item, FSCallback cb, void *data)
{
  setSlot("FVMenuItemSetExecuteProc", item, cb, data, &MenuItem::execute);
}

void tFVMenuItemSetComputeEnabledProc(FVMenuItem item, FSCallback cb, void *data)
{
  setSlot("FVMenuItemSetComputeEnabledProc", item, cb, data, &MenuItem::computeEnabled);
}

void tFVMenuItemSetComputeMarkedProc(FVMenuItem item, FSCallback cb, void *data)
{
  setSlot("FVMenuItemSetComputeMarkedProc", item, cb, data, &MenuItem::computeMarked);
}

void tFVMenuItemExecute(FVMenuItem item)
{
  rec("FVMenuItemExecute", {N(item)});
  MenuItem *it = itemOf(item);
  if (it && it->execute.set)
    if (auto proc = folio::callbackProc<FVExecuteProc>(it->execute.callback))
      proc(it->execute.data);
}

// ---- page views -----------------------------------------------------------------------------

PDPage tFVPageViewGetPage(FVPageView view)
{
  size_t i = rec("FVPageViewGetPage", {N(view)});
  PageView *v = viewOf(view);
  PDPage r = nullptr;
  if (v && v->pageNum >= 0 && static_cast<size_t>(v->pageNum) < v->doc->pages.size())
    r = reinterpret_cast<PDPage>(v->doc->pages[static_cast<size_t>(v->pageNum)].get());
  res(i, N(r));
  return r;
}

FSInt32 tFVPageViewGetPageNum(FVPageView view)
{
  size_t i = rec("FVPageViewGetPageNum", {N(view)});
  PageView *v = viewOf(view);
  FSInt32 r = v ? v->pageNum : 0;
  res(i, I(r));
  return r;
}

void tFVPageViewGetColor(FVPageView view, PDColorValue colour)
{
  size_t i = rec("FVPageViewGetColor", {N(view)});
  PageView *v = viewOf(view);
  if (v && colour)
    *colour = v->colour;
  res(i, v && colour ? testhost::colour(v->colour) : "null-out");
}

void tFVPageViewSetColor(FVPageView view, PDColorValue colour)
{
  rec("FVPageViewSetColor", {N(view), colour ? testhost::colour(*colour) : "null"});
  PageView *v = viewOf(view);
  if (v && colour)
    v->colour = *colour;
}

void tFVPageViewInvalidateRect(FVPageView view, FVRect *area)
{
  rec("FVPageViewInvalidateRect", {N(view), area ? fvRect(*area) : "null"});
  PageView *v = viewOf(view);
  if (v && area)
    v->invalidated.push_back(*area);
}

void tFVPageViewDrawNow(FVPageView view)
{
  rec("FVPageViewDrawNow", {N(view)});
  if (PageView *v = viewOf(view))
    ++v->drawNows;
}

void tFVPageViewDrawRectOutline(FVPageView view, FVRect *rect, FSInt16 lineWidth, Fixed *dashes,
                                FSInt32 count)
{
  std::string dashText = "null";
  std::vector<Fixed> d;
  if (dashes) {
    dashText = "[";
    for (FSInt32 k = 0; k < count && k < 64; ++k) {
      d.push_back(dashes[k]);
      dashText += (k ? "," : "") + fx(dashes[k]);
    }
    dashText += "]";
  }
  rec("FVPageViewDrawRectOutline",
      {N(view), rect ? fvRect(*rect) : "null", I(lineWidth), dashText, I(count)});
  PageView *v = viewOf(view);
  if (v && rect) {
    Outline o;
    o.rect = *rect;
    o.lineWidth = lineWidth;
    o.dashes = d;
    o.dashArrayNull = dashes == nullptr;
    o.dashCount = count;
    o.colour = v->colour;
    v->outlines.push_back(o);
  }
}

void tFVPageViewDragOutNewRect(FVPageView view, FSInt16 x, FSInt16 y, FVRect *result)
{
  TestHost &h = H();
  size_t i = rec("FVPageViewDragOutNewRect", {N(view), I(x), I(y)});
  FVRect r{x, y, x, y};
  if (!h.dragOutResults.empty()) {
    r = h.dragOutResults.front();
    h.dragOutResults.pop_front();
  }
  if (result)
    *result = r;
  res(i, result ? fvRect(r) : "null-out");
}

void tFVPageViewDragRect(FVPageView view, FSInt16 x, FSInt16 y, FVRect *start, FVRect *result,
                         FSInt16 dragType, FVRect *extrema)
{
  TestHost &h = H();
  size_t i = rec("FVPageViewDragRect", {N(view), I(x), I(y), start ? fvRect(*start) : "null", I(dragType),
                                        extrema ? fvRect(*extrema) : "null"});
  FVRect r = start ? *start : FVRect{0, 0, 0, 0};
  if (!h.dragRectResults.empty()) {
    r = h.dragRectResults.front();
    h.dragRectResults.pop_front();
  }
  if (result)
    *result = r;
  res(i, result ? fvRect(r) : "null-out");
}

void tFVPageViewRectToDevice(FVPageView view, FixedRect *src, FVRect *dst)
{
  TestHost &h = H();
  size_t i = rec("FVPageViewRectToDevice", {N(view), src ? fxRect(*src) : "null"});
  PageView *v = viewOf(view);
  FVRect r{0, 0, 0, 0};
  if (v && src)
    r = h.pageRectToDevice(*v, *src);
  if (dst)
    *dst = r;
  res(i, dst ? fvRect(r) : "null-out");
}

void tFVPageViewDeviceRectToPage(FVPageView view, FVRect *src, FixedRect *dst)
{
  TestHost &h = H();
  size_t i = rec("FVPageViewDeviceRectToPage", {N(view), src ? fvRect(*src) : "null"});
  PageView *v = viewOf(view);
  FixedRect r{0, 0, 0, 0};
  if (v && src)
    r = h.deviceRectToPage(*v, *src);
  if (dst)
    *dst = r;
  res(i, dst ? fxRect(r) : "null-out");
}

// ---- system -----------------------------------------------------------------------------------

FSInt32 tFVSysGetModifiers(void)
{
  size_t i = rec("FVSysGetModifiers");
  FSInt32 r = H().modifiers;
  res(i, I(r));
  return r;
}

FVCursor tFVSysGetStandardCursor(FSInt32 id)
{
  size_t i = rec("FVSysGetStandardCursor", {I(id)});
  FVCursor r = H().standardCursor(id);
  res(i, N(r));
  return r;
}

void tFVSysSetCursor(FVCursor c)
{
  rec("FVSysSetCursor", {N(c)});
  H().currentCursor = c;
}

// ---- tool bar ---------------------------------------------------------------------------------

FVToolButton tFVToolBarGetButtonByName(FVToolBar bar, FSAtom name)
{
  TestHost &h = H();
  size_t i = rec("FVToolBarGetButtonByName", {N(bar), atomText(name)});
  ToolButton *r = nullptr;
  if (bar == h.toolBar())
    for (ToolButton *b : h.barButtons_)
      if (b->buttonName == h.atomString(name)) {
        r = b;
        break;
      }
  res(i, N(r));
  return reinterpret_cast<FVToolButton>(r);
}

void tFVToolBarAddButton(FVToolBar bar, FVToolButton button, FSBool before, FVToolButton other)
{
  TestHost &h = H();
  rec("FVToolBarAddButton", {N(bar), N(button), I(before), N(other)});
  ToolButton *b = buttonOf(button);
  if (!b || bar != h.toolBar())
    return;
  auto &v = h.barButtons_;
  v.erase(std::remove(v.begin(), v.end(), b), v.end());
  ToolButton *o = buttonOf(other);
  auto pos = std::find(v.begin(), v.end(), o);
  if (!o || pos == v.end())
    v.push_back(b);
  else
    v.insert(before ? pos : pos + 1, b);
  b->onBar = true;
}

FSBool tFVToolBarIsRoomFor(FVToolBar bar, FSUns16 nButtons, FSUns16 nSeparators)
{
  size_t i = rec("FVToolBarIsRoomFor", {N(bar), I(nButtons), I(nSeparators)});
  FSBool r = H().roomOnToolBar ? 1 : 0;
  res(i, I(r));
  return r;
}

FVToolButton tFVToolButtonNew(FSAtom name, FVIcon icon, FSBool isSeparator, FSBool noFlyout)
{
  TestHost &h = H();
  size_t i = rec("FVToolButtonNew", {atomText(name), N(icon), I(isSeparator), I(noFlyout)});
  auto b = std::make_unique<ToolButton>();
  b->buttonName = h.atomString(name);
  b->icon = icon;
  b->isSeparator = isSeparator;
  b->noFlyout = noFlyout;
  b->name = h.uniqueName("button:" + b->buttonName);
  h.nameObject(b.get(), b->name);
  ToolButton *p = b.get();
  h.buttons_.push_back(std::move(b));
  res(i, N(p));
  return reinterpret_cast<FVToolButton>(p);
}

void setButtonSlot(const char *op, FVToolButton button, FSCallback cb, void *data, ProcSlot ToolButton::*slot)
{
  rec(op, {N(button), cbName(cb), N(data)});
  if (ToolButton *b = buttonOf(button))
    b->*slot = ProcSlot{true, cb, data};
}

void tFVToolButtonSetExecuteProc(FVToolButton b, FSCallback cb, void *data)
{
  setButtonSlot("FVToolButtonSetExecuteProc", b, cb, data, &ToolButton::execute);
}

void tFVToolButtonSetComputeEnabledProc(FVToolButton b, FSCallback cb, void *data)
{
  setButtonSlot("FVToolButtonSetComputeEnabledProc", b, cb, data, &ToolButton::computeEnabled);
}

void tFVToolButtonSetComputeMarkedProc(FVToolButton b, FSCallback cb, void *data)
{
  setButtonSlot("FVToolButtonSetComputeMarkedProc", b, cb, data, &ToolButton::computeMarked);
}

void tFVToolButtonSetHelpText(FVToolButton button, const char *text)
{
  rec("FVToolButtonSetHelpText", {N(button), quoted(text)});
  if (ToolButton *b = buttonOf(button)) {
    b->helpText = text ? text : "";
    b->hasHelpText = text != nullptr;
  }
}

} // namespace

#define SET(op) t[op##SEL] = reinterpret_cast<HFTEntry>(&t##op)

void fillViewTable(TestHost &h)
{
  auto &t = h.impl().tables[static_cast<int>(Table::FolioView)];
  SET(FVAlert);
  SET(FVAlertNote);
  SET(FVAlertConfirm);
  SET(FVAppGetCancelProc);
  SET(FVAppGetActiveDoc);
  SET(FVAppGetDocProgressMonitor);
  SET(FVAppGetMenubar);
  SET(FVAppGetToolBar);
  SET(FVAppGetActiveTool);
  SET(FVAppSetActiveTool);
  SET(FVAppRegisterTool);
  SET(FVDocOpenFromFile);
  SET(FVDocClose);
  SET(FVDocGetPDDoc);
  SET(FVDocGetPageView);
  SET(FVMenubarAcquireMenuByName);
  SET(FVMenubarAcquireMenuItemByName);
  SET(FVMenuNew);
  SET(FVMenuRelease);
  SET(FVMenuGetMenuItemIndex);
  SET(FVMenuAddMenuItem);
  SET(FVMenuItemNew);
  SET(FVMenuItemAcquire);
  SET(FVMenuItemRelease);
  SET(FVMenuItemRemove);
  SET(FVMenuItemSetExecuteProc);
  SET(FVMenuItemSetComputeEnabledProc);
  SET(FVMenuItemSetComputeMarkedProc);
  SET(FVMenuItemExecute);
  SET(FVPageViewGetPage);
  SET(FVPageViewGetPageNum);
  SET(FVPageViewGetColor);
  SET(FVPageViewSetColor);
  SET(FVPageViewInvalidateRect);
  SET(FVPageViewDrawNow);
  SET(FVPageViewDrawRectOutline);
  SET(FVPageViewDragOutNewRect);
  SET(FVPageViewDragRect);
  SET(FVAppRegisterForPageViewDrawing);
  SET(FVAppUnregisterForPageViewDrawing);
  SET(FVPageViewRectToDevice);
  SET(FVPageViewDeviceRectToPage);
  SET(FVSysGetModifiers);
  SET(FVSysGetStandardCursor);
  SET(FVSysSetCursor);
  SET(FVToolBarGetButtonByName);
  SET(FVToolBarAddButton);
  SET(FVToolBarIsRoomFor);
  SET(FVToolButtonNew);
  SET(FVToolButtonSetExecuteProc);
  SET(FVToolButtonSetComputeEnabledProc);
  SET(FVToolButtonSetComputeMarkedProc);
  SET(FVToolButtonSetHelpText);
}

#undef SET

} // namespace testhost
