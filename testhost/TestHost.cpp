// TestHost.cpp: loading the plug-in, start-up, names, atoms, callbacks, the
// table registry and the scripted world (documents, menus, tool bar, tools).
#include "Internal.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

namespace testhost {

namespace {
TestHost *gCurrent = nullptr;

const char *const kTableNames[kTableCount] = {"Core", "FolioSupport", "Obj", "PDModel", "FolioView", "Unix"};
const int kTableSizes[kTableCount] = {CoreNUMSELECTORS,    FolioSupportNUMSELECTORS, ObjNUMSELECTORS,
                                      PDModelNUMSELECTORS, FolioViewNUMSELECTORS,    UnixNUMSELECTORS};
} // namespace

const char *tableName(Table t)
{
  return kTableNames[static_cast<int>(t)];
}

TestHost &H()
{
  if (!gCurrent) {
    std::fprintf(stderr, "testhost: a table entry was called with no TestHost alive\n");
    std::abort();
  }
  return *gCurrent;
}

size_t rec(const std::string &op, std::initializer_list<std::string> args)
{
  return H().log.add(Call{op, std::vector<std::string>(args), ""});
}

void res(size_t index, const std::string &result)
{
  H().log.setResult(index, result);
}

std::string N(const void *handle)
{
  return H().nameOf(handle);
}

std::string I(long long v)
{
  return std::to_string(v);
}

std::string cbName(FSCallback cb)
{
  return H().nameOfCallback(cb);
}

TestHost *TestHost::current()
{
  return gCurrent;
}

// ---- construction: the default world ----------------------------------------

TestHost::TestHost() : impl_(new Impl)
{
  if (gCurrent) {
    std::fprintf(stderr, "testhost: only one TestHost may exist at a time\n");
    std::abort();
  }
  gCurrent = this;
  Impl &m = *impl_;
  nameObject(&m.ext, m.ext.name);
  nameObject(&m.menubar, m.menubar.name);
  nameObject(&m.toolbar, m.toolbar.name);
  nameObject(&m.fileSys, m.fileSys.name);
  nameObject(&m.progressData, m.progressData.name);
  nameObject(&m.cancelData, m.cancelData.name);
  for (int i = 0; i < 16; ++i) {
    m.standardCursors[i].name = "stdcursor:" + std::to_string(i);
    nameObject(&m.standardCursors[i], m.standardCursors[i].name);
  }
  for (int i = 0; i < kTableCount; ++i) {
    m.tables[i].assign(static_cast<size_t>(kTableSizes[i]), nullptr);
    m.versions[i] = {FOLIO_VERSION_2_0, FOLIO_VERSION_2_1, FOLIO_VERSION_2_2};
    m.tableObjects[i].name = std::string("hft:") + kTableNames[i];
    nameObject(m.tables[i].data(), m.tableObjects[i].name);
  }
  fillUnknownEntries(*this);
  fillCoreTable(*this);
  fillSupportTable(*this);
  fillUnixTable(*this);
  fillModelTable(*this);
  fillViewTable(*this);
  installProgressMonitor(*this);

  m.config["CanEdit"] = reinterpret_cast<void *>(1);

  const char *menus[][5] = {{"File", "Open", "Save", "SaveAs", "Close"},
                            {"Tools", "Hand", "Select", "Thread", "Zoom"},
                            {"Extensions", nullptr, nullptr, nullptr, nullptr},
                            {"AboutExtensions", nullptr, nullptr, nullptr, nullptr}};
  for (auto &row : menus) {
    addMenu(row[0]);
    for (int i = 1; i < 5; ++i)
      if (row[i])
        addMenuItem(row[0], row[i]);
  }
  const char *buttons[][2] = {{"Hand", "0"}, {"Select", "0"}, {"endToolsGroup", "1"}};
  for (auto &b : buttons) {
    auto btn = std::make_unique<ToolButton>();
    btn->buttonName = b[0];
    btn->isSeparator = b[1][0] == '1';
    btn->onBar = true;
    btn->name = uniqueName(std::string("button:") + b[0]);
    nameObject(btn.get(), btn->name);
    barButtons_.push_back(btn.get());
    buttons_.push_back(std::move(btn));
  }

  sdkData.handshakeVersion = HANDSHAKE_V0200;
  sdkData.extensionID = extensionID();
  sdkData.coreHFT = table(Table::Core);
  sdkData.handshakeCallback = nullptr;
  handshakeData.handshakeVersion = HANDSHAKE_V0200;
  handshakeData.appName = atom("Folio");
}

TestHost::~TestHost()
{
  for (auto &b : liveBlocks)
    std::free(b.first);
  liveBlocks.clear();
  gCurrent = nullptr;
}

// ---- loading and start-up ---------------------------------------------------

bool TestHost::load(const std::string &soPath)
{
  std::ifstream in(soPath, std::ios::binary);
  if (!in) {
    error_ = "cannot read " + soPath;
    return false;
  }
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  char tmpl[] = "/tmp/pgshear-test-XXXXXX.so";
  int fd = mkstemps(tmpl, 3);
  if (fd < 0) {
    error_ = "cannot make a temporary copy";
    return false;
  }
  size_t done = 0;
  while (done < bytes.size()) {
    ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (n <= 0)
      break;
    done += static_cast<size_t>(n);
  }
  ::close(fd);
  if (done != bytes.size()) {
    ::unlink(tmpl);
    error_ = "cannot write the temporary copy";
    return false;
  }
  // A fresh path is a fresh object for the loader: its globals start at zero.
  handle_ = dlopen(tmpl, RTLD_NOW | RTLD_LOCAL);
  ::unlink(tmpl);
  if (!handle_) {
    const char *e = dlerror();
    error_ = std::string("dlopen failed: ") + (e ? e : "?");
    return false;
  }
  main_ = reinterpret_cast<PIMainProcType>(dlsym(handle_, "main"));
  if (!main_) {
    error_ = "the plug-in exports no main";
    return false;
  }
  return true;
}

void *TestHost::symbol(const char *name) const
{
  return handle_ ? dlsym(handle_, name) : nullptr;
}

FSBool TestHost::callMain(FSInt32 appVersion)
{
  size_t i = log.add(Call{"host.main", {hex32(static_cast<FSUns32>(appVersion))}, ""});
  FSBool r = main_ ? main_(appVersion, &mainVersionOut, &setupProc) : 0;
  log.setResult(i, I(r));
  return r;
}

FSBool TestHost::callSetup(FSUns32 version)
{
  size_t i = log.add(Call{"host.setup", {hex32(version)}, ""});
  FSBool r = setupProc ? setupProc(version, &sdkData) : 0;
  log.setResult(i, I(r));
  return r;
}

FSBool TestHost::callHandshake(FSUns32 version)
{
  size_t i = log.add(Call{"host.handshake", {hex32(version)}, ""});
  auto proc = folio::callbackProc<PIHandshakeProcType>(sdkData.handshakeCallback);
  FSBool r = proc ? proc(version, &handshakeData) : 0;
  log.setResult(i, I(r));
  return r;
}

FSBool TestHost::callInit()
{
  size_t i = log.add(Call{"host.init", {}, ""});
  auto proc = folio::callbackProc<PIInitProcType>(handshakeData.initCallback);
  FSBool r = proc ? proc() : 0;
  log.setResult(i, I(r));
  return r;
}

bool TestHost::startUp(const std::string &soPath)
{
  return load(soPath) && callMain() && callSetup() && callHandshake() && callInit();
}

ExtensionID TestHost::extensionID() const
{
  return reinterpret_cast<ExtensionID>(&impl_->ext);
}

// ---- tables ------------------------------------------------------------------

void TestHost::setTableVersions(Table t, std::set<FSUns32> versions)
{
  impl_->versions[static_cast<int>(t)] = std::move(versions);
}

HFT TestHost::table(Table t)
{
  return impl_->tables[static_cast<int>(t)].data();
}

void TestHost::replaceEntry(Table t, int sel, HFTEntry e)
{
  auto &tab = impl_->tables[static_cast<int>(t)];
  if (sel > 0 && static_cast<size_t>(sel) < tab.size())
    tab[static_cast<size_t>(sel)] = e;
}

HFTEntry TestHost::entry(Table t, int sel)
{
  auto &tab = impl_->tables[static_cast<int>(t)];
  return sel > 0 && static_cast<size_t>(sel) < tab.size() ? tab[static_cast<size_t>(sel)] : nullptr;
}

int TestHost::entryCount(Table t) const
{
  return static_cast<int>(impl_->tables[static_cast<int>(t)].size());
}

void TestHost::mark(const std::string &text)
{
  log.add(Call{"mark", {quoted(text.c_str())}, ""});
}

// ---- atoms, callbacks, names ----------------------------------------------------

FSAtom TestHost::atom(const std::string &s)
{
  auto it = impl_->atoms.find(s);
  if (it != impl_->atoms.end())
    return it->second;
  FSAtom a = static_cast<FSAtom>(impl_->atomStrings.size());
  impl_->atomStrings.push_back(s);
  impl_->atoms[s] = a;
  return a;
}

std::string TestHost::atomString(FSAtom a) const
{
  return a < impl_->atomStrings.size() ? impl_->atomStrings[a] : std::string();
}

FSCallback TestHost::makeCallback(ExtensionID ext, FSProc proc)
{
  auto cb = std::make_unique<_t_FSCallback>();
  cb->extension = ext;
  cb->proc = proc;
  FSCallback h = cb.get();
  nameObject(h, "cb:" + std::to_string(callbacks_.size()));
  impl_->callbackStore.push_back(std::move(cb));
  callbacks_.push_back(h);
  nameOfProc(proc);
  return h;
}

FSCallback TestHost::callbackAt(int n) const
{
  return n >= 0 && n < static_cast<int>(callbacks_.size()) ? callbacks_[static_cast<size_t>(n)] : nullptr;
}

ExtensionID TestHost::callbackOwner(FSCallback cb)
{
  return cb ? cb->extension : nullptr;
}

FSProc TestHost::callbackTarget(FSCallback cb)
{
  return cb ? cb->proc : nullptr;
}

int TestHost::procNumber(FSCallback cb) const
{
  if (!cb)
    return -1;
  auto it = impl_->procs.find(cb->proc);
  return it == impl_->procs.end() ? -1 : it->second;
}

std::string TestHost::nameOfProc(FSProc proc)
{
  if (!proc)
    return "null";
  auto it = impl_->procs.find(proc);
  if (it == impl_->procs.end())
    it = impl_->procs.emplace(proc, static_cast<int>(impl_->procs.size())).first;
  return "fn:" + std::to_string(it->second);
}

void TestHost::nameObject(const void *p, const std::string &name)
{
  impl_->names[p] = name;
  impl_->usedNames.insert(name);
}

std::string TestHost::uniqueName(const std::string &base)
{
  if (!impl_->usedNames.count(base))
    return base;
  for (int i = 2;; ++i) {
    std::string n = base + "#" + std::to_string(i);
    if (!impl_->usedNames.count(n))
      return n;
  }
}

std::string TestHost::nameOf(const void *handle) const
{
  if (!handle)
    return "null";
  auto it = impl_->names.find(handle);
  if (it != impl_->names.end())
    return it->second;
  char buf[32];
  std::snprintf(buf, sizeof buf, "0x%llx",
                static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(handle)));
  return buf;
}

std::string TestHost::nameOfCallback(FSCallback cb) const
{
  return nameOf(cb);
}

// ---- configuration ------------------------------------------------------------

void TestHost::setConfiguration(const std::string &key, void *value)
{
  if (value)
    impl_->config[key] = value;
  else
    impl_->config.erase(key);
}

void *TestHost::configuration(const std::string &key) const
{
  auto it = impl_->config.find(key);
  return it == impl_->config.end() ? nullptr : it->second;
}

// ---- documents ------------------------------------------------------------------

int TestHost::addDocument(int pages)
{
  int k = static_cast<int>(docs_.size());
  auto d = std::make_unique<Document>();
  d->index = k;
  std::string ks = std::to_string(k);
  d->name = "doc" + ks;
  d->fvDoc.name = "fvdoc" + ks;
  d->file.name = "file" + ks;
  d->path.name = "path" + ks;
  d->view.name = "view" + ks;
  d->view.doc = d.get();
  nameObject(d.get(), d->name);
  nameObject(&d->fvDoc, d->fvDoc.name);
  nameObject(&d->file, d->file.name);
  nameObject(&d->path, d->path.name);
  nameObject(&d->view, d->view.name);
  for (int i = 0; i < pages; ++i) {
    auto p = std::make_unique<Page>();
    p->doc = d.get();
    p->index = i;
    p->mediaBox = pts(0, 792, 612, 0);
    p->cropBox = p->mediaBox;
    p->bbox = pts(72, 720, 540, 72);
    p->name = (k == 0 ? "page" : "doc" + ks + ".page") + std::to_string(i);
    nameObject(p.get(), p->name);
    d->pages.push_back(std::move(p));
  }
  docs_.push_back(std::move(d));
  if (activeDoc_ < 0)
    activeDoc_ = k;
  return k;
}

Document &TestHost::document(int k)
{
  return *docs_.at(static_cast<size_t>(k));
}

Page &TestHost::page(int doc, int index)
{
  return *document(doc).pages.at(static_cast<size_t>(index));
}

PDDoc TestHost::pdDoc(int k)
{
  return reinterpret_cast<PDDoc>(&document(k));
}

FVDoc TestHost::fvDoc(int k)
{
  return reinterpret_cast<FVDoc>(&document(k).fvDoc);
}

FVPageView TestHost::pageView(int k)
{
  return reinterpret_cast<FVPageView>(&document(k).view);
}

PDPage TestHost::pdPage(int doc, int index)
{
  return reinterpret_cast<PDPage>(&page(doc, index));
}

void TestHost::setActiveDocument(int k)
{
  activeDoc_ = k;
}

Document *TestHost::documentOf(PDDoc d) const
{
  for (auto &doc : docs_)
    if (reinterpret_cast<PDDoc>(doc.get()) == d)
      return doc.get();
  return nullptr;
}

Document *TestHost::documentOfFV(FVDoc d) const
{
  for (auto &doc : docs_)
    if (reinterpret_cast<FVDoc>(&doc->fvDoc) == d)
      return doc.get();
  return nullptr;
}

PageView *TestHost::viewOf(FVPageView v) const
{
  for (auto &doc : docs_)
    if (reinterpret_cast<FVPageView>(&doc->view) == v)
      return &doc->view;
  return nullptr;
}

Page *TestHost::pageOf(PDPage p) const
{
  for (auto &doc : docs_)
    for (auto &pg : doc->pages)
      if (reinterpret_cast<PDPage>(pg.get()) == p)
        return pg.get();
  return nullptr;
}

// ---- view transforms ------------------------------------------------------------

namespace {

struct PageGeometry {
  double left, top, width, height;
  int rot;
};

PageGeometry geometryOf(const PageView &v)
{
  PageGeometry g{0, 0, 0, 0, 0};
  if (!v.doc || v.pageNum < 0 || static_cast<size_t>(v.pageNum) >= v.doc->pages.size())
    return g;
  const Page &p = *v.doc->pages[static_cast<size_t>(v.pageNum)];
  g.left = p.mediaBox.left / 65536.0;
  g.top = p.mediaBox.top / 65536.0;
  g.width = (static_cast<double>(p.mediaBox.right) - p.mediaBox.left) / 65536.0;
  g.height = (static_cast<double>(p.mediaBox.top) - p.mediaBox.bottom) / 65536.0;
  g.rot = (p.rotate == 90 || p.rotate == 180 || p.rotate == 270) ? p.rotate : 0;
  return g;
}

FSInt16 toDevice(double d)
{
  double r = std::round(d);
  if (r > 32767)
    return 32767;
  if (r < -32768)
    return -32768;
  return static_cast<FSInt16>(r);
}

Fixed toFixed(double d)
{
  double r = std::round(d * 65536.0);
  if (r > 2147483647.0)
    return INT32_MAX;
  if (r < -2147483648.0)
    return INT32_MIN;
  return static_cast<Fixed>(r);
}

void pointToDevice(const PageView &v, const PageGeometry &g, Fixed x, Fixed y, FSInt16 &dx, FSInt16 &dy)
{
  double u = x / 65536.0 - g.left, w = g.top - y / 65536.0;
  double px = u, py = w;
  switch (g.rot) {
  case 90:
    px = g.height - w;
    py = u;
    break;
  case 180:
    px = g.width - u;
    py = g.height - w;
    break;
  case 270:
    px = w;
    py = g.width - u;
    break;
  }
  dx = toDevice(v.offsetX + v.zoom * px);
  dy = toDevice(v.offsetY + v.zoom * py);
}

void pointToPage(const PageView &v, const PageGeometry &g, FSInt16 dx, FSInt16 dy, Fixed &x, Fixed &y)
{
  double px = (dx - v.offsetX) / v.zoom, py = (dy - v.offsetY) / v.zoom;
  double u = px, w = py;
  switch (g.rot) {
  case 90:
    w = g.height - px;
    u = py;
    break;
  case 180:
    u = g.width - px;
    w = g.height - py;
    break;
  case 270:
    w = px;
    u = g.width - py;
    break;
  }
  x = toFixed(g.left + u);
  y = toFixed(g.top - w);
}

} // namespace

FVRect TestHost::pageRectToDevice(const PageView &v, const FixedRect &r) const
{
  PageGeometry g = geometryOf(v);
  FSInt16 x1, y1, x2, y2;
  pointToDevice(v, g, r.left, r.top, x1, y1);
  pointToDevice(v, g, r.right, r.bottom, x2, y2);
  return FVRect{std::min(x1, x2), std::min(y1, y2), std::max(x1, x2), std::max(y1, y2)};
}

FixedRect TestHost::deviceRectToPage(const PageView &v, const FVRect &r) const
{
  PageGeometry g = geometryOf(v);
  Fixed x1, y1, x2, y2;
  pointToPage(v, g, r.left, r.top, x1, y1);
  pointToPage(v, g, r.right, r.bottom, x2, y2);
  return FixedRect{std::min(x1, x2), std::max(y1, y2), std::max(x1, x2), std::min(y1, y2)};
}

// ---- drawing ----------------------------------------------------------------------

void TestHost::redraw(FVPageView view, const FVRect *update)
{
  log.add(Call{"host.redraw", {nameOf(view)}, ""});
  FVRect area{0, 0, 32767, 32767};
  if (update)
    area = *update;
  std::vector<DrawingRegistration> regs = drawing_; // callbacks may change the list
  for (const DrawingRegistration &r : regs) {
    auto proc = folio::callbackProc<FVPageViewDrawProc>(r.callback);
    if (proc) {
      FVRect a = area;
      proc(view, &a, r.data);
    }
  }
}

// ---- progress monitor slots -------------------------------------------------------

void TestHost::removeProgressSlot(const std::string &slot)
{
  ProgressMonitorRec &m = progressMonitor;
  if (slot == "beginOperation")
    m.beginOperation = nullptr;
  else if (slot == "endOperation")
    m.endOperation = nullptr;
  else if (slot == "setDuration")
    m.setDuration = nullptr;
  else if (slot == "setCurrValue")
    m.setCurrValue = nullptr;
  else if (slot == "getDuration")
    m.getDuration = nullptr;
  else if (slot == "getCurrValue")
    m.getCurrValue = nullptr;
}

// ---- menus ---------------------------------------------------------------------------

FVMenubar TestHost::menubar()
{
  return reinterpret_cast<FVMenubar>(&impl_->menubar);
}

Menu *TestHost::menu(const std::string &name)
{
  for (auto &m : menus_)
    if (m->menuName == name)
      return m.get();
  return nullptr;
}

MenuItem *TestHost::menuItem(const std::string &name)
{
  for (auto &i : items_)
    if (i->itemName == name)
      return i.get();
  return nullptr;
}

std::vector<std::string> TestHost::itemTitles(const std::string &menuName)
{
  std::vector<std::string> out;
  if (Menu *m = menu(menuName))
    for (MenuItem *i : m->items)
      out.push_back(i->title);
  return out;
}

std::vector<std::string> TestHost::itemNames(const std::string &menuName)
{
  std::vector<std::string> out;
  if (Menu *m = menu(menuName))
    for (MenuItem *i : m->items)
      out.push_back(i->itemName);
  return out;
}

Menu *TestHost::addMenu(const std::string &name)
{
  auto m = std::make_unique<Menu>();
  m->title = name;
  m->menuName = name;
  m->name = uniqueName("menu:" + name);
  nameObject(m.get(), m->name);
  Menu *p = m.get();
  menus_.push_back(std::move(m));
  menubarMenus_.push_back(p);
  return p;
}

MenuItem *TestHost::addMenuItem(const std::string &menuName, const std::string &itemName)
{
  Menu *m = menu(menuName);
  auto i = std::make_unique<MenuItem>();
  i->title = itemName;
  i->itemName = itemName;
  i->name = uniqueName("item:" + itemName);
  nameObject(i.get(), i->name);
  MenuItem *p = i.get();
  items_.push_back(std::move(i));
  if (m) {
    p->parent = m;
    m->items.push_back(p);
  }
  return p;
}

void TestHost::removeMenu(const std::string &name)
{
  Menu *m = menu(name);
  menubarMenus_.erase(std::remove(menubarMenus_.begin(), menubarMenus_.end(), m), menubarMenus_.end());
}

void TestHost::removeMenuItem(const std::string &itemName)
{
  MenuItem *i = menuItem(itemName);
  if (i && i->parent) {
    auto &v = i->parent->items;
    v.erase(std::remove(v.begin(), v.end(), i), v.end());
    i->parent = nullptr;
  }
}

void TestHost::executeItem(MenuItem *item)
{
  log.add(Call{"host.execute", {nameOf(item)}, ""});
  if (item && item->execute.set)
    if (auto proc = folio::callbackProc<FVExecuteProc>(item->execute.callback))
      proc(item->execute.data);
}

FSBool TestHost::computeEnabled(MenuItem *item)
{
  size_t i = log.add(Call{"host.computeEnabled", {nameOf(item)}, ""});
  FSBool r = 1;
  if (item && item->computeEnabled.set)
    if (auto proc = folio::callbackProc<FVComputeEnabledProc>(item->computeEnabled.callback))
      r = proc(item->computeEnabled.data);
  log.setResult(i, I(r));
  return r;
}

FSBool TestHost::computeMarked(MenuItem *item)
{
  size_t i = log.add(Call{"host.computeMarked", {nameOf(item)}, ""});
  FSBool r = 0;
  if (item && item->computeMarked.set)
    if (auto proc = folio::callbackProc<FVComputeMarkedProc>(item->computeMarked.callback))
      r = proc(item->computeMarked.data);
  log.setResult(i, I(r));
  return r;
}

// ---- tool bar ---------------------------------------------------------------------------

FVToolBar TestHost::toolBar()
{
  return reinterpret_cast<FVToolBar>(&impl_->toolbar);
}

ToolButton *TestHost::button(const std::string &name)
{
  for (auto &b : buttons_)
    if (b->buttonName == name)
      return b.get();
  return nullptr;
}

void TestHost::removeButton(const std::string &name)
{
  ToolButton *b = button(name);
  if (!b)
    return;
  barButtons_.erase(std::remove(barButtons_.begin(), barButtons_.end(), b), barButtons_.end());
  b->onBar = false;
}

void TestHost::executeButton(ToolButton *b)
{
  log.add(Call{"host.execute", {nameOf(b)}, ""});
  if (b && b->execute.set)
    if (auto proc = folio::callbackProc<FVExecuteProc>(b->execute.callback))
      proc(b->execute.data);
}

FSBool TestHost::computeEnabled(ToolButton *b)
{
  size_t i = log.add(Call{"host.computeEnabled", {nameOf(b)}, ""});
  FSBool r = 1;
  if (b && b->computeEnabled.set)
    if (auto proc = folio::callbackProc<FVComputeEnabledProc>(b->computeEnabled.callback))
      r = proc(b->computeEnabled.data);
  log.setResult(i, I(r));
  return r;
}

FSBool TestHost::computeMarked(ToolButton *b)
{
  size_t i = log.add(Call{"host.computeMarked", {nameOf(b)}, ""});
  FSBool r = 0;
  if (b && b->computeMarked.set)
    if (auto proc = folio::callbackProc<FVComputeMarkedProc>(b->computeMarked.callback))
      r = proc(b->computeMarked.data);
  log.setResult(i, I(r));
  return r;
}

// ---- tools ---------------------------------------------------------------------------------

void TestHost::setActiveTool(FVTool tool, FSBool persistent)
{
  log.add(Call{"host.setActiveTool", {nameOf(tool), I(persistent)}, ""});
  FVTool old = activeTool;
  if (old && old != tool)
    if (auto proc = folio::callbackProc<FVToolDeactivateProcType>(old->Deactivate))
      proc(old);
  activeTool = tool;
  if (tool)
    if (auto proc = folio::callbackProc<FVToolActivateProcType>(tool->Activate))
      proc(tool, persistent);
}

FSBool TestHost::toolDoClick(FVTool tool, FVPageView view, FSInt16 x, FSInt16 y, FSInt16 flags,
                             FSInt16 clickNo)
{
  size_t i =
      log.add(Call{"host.doClick", {nameOf(tool), nameOf(view), I(x), I(y), I(flags), I(clickNo)}, ""});
  FSBool r = 0;
  if (tool)
    if (auto proc = folio::callbackProc<FVToolDoClickProcType>(tool->DoClick))
      r = proc(tool, view, x, y, flags, clickNo);
  log.setResult(i, I(r));
  return r;
}

FSBool TestHost::toolAdjustCursor(FVTool tool, FVPageView view, FSInt16 x, FSInt16 y)
{
  size_t i = log.add(Call{"host.adjustCursor", {nameOf(tool), nameOf(view), I(x), I(y)}, ""});
  FSBool r = 0;
  if (tool)
    if (auto proc = folio::callbackProc<FVToolAdjustCursorProcType>(tool->AdjustCursor))
      r = proc(tool, view, x, y);
  log.setResult(i, I(r));
  return r;
}

FSAtom TestHost::toolGetType(FVTool tool)
{
  size_t i = log.add(Call{"host.getType", {nameOf(tool)}, ""});
  FSAtom r = 0;
  if (tool)
    if (auto proc = folio::callbackProc<FVToolGetTypeProcType>(tool->GetType))
      r = proc(tool);
  log.setResult(i, r ? "atom:" + atomString(r) : "0");
  return r;
}

FSBool TestHost::toolIsPersistent(FVTool tool)
{
  size_t i = log.add(Call{"host.isPersistent", {nameOf(tool)}, ""});
  FSBool r = 0;
  if (tool)
    if (auto proc = folio::callbackProc<FVToolIsPersistentProcType>(tool->IsPersistent))
      r = proc(tool);
  log.setResult(i, I(r));
  return r;
}

// ---- cursors ----------------------------------------------------------------------------------

FVCursor TestHost::standardCursor(FSInt32 id) const
{
  if (id < 0 || id >= 16)
    return nullptr;
  return const_cast<HostObject *>(&impl_->standardCursors[id]);
}

} // namespace testhost
