// ViewerController.cpp: the viewing policy of the front ends (see
// ViewerController.h).
#include "view/ViewerController.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "core/Configuration.h"
#include "core/Guard.h"
#include "view/DocWindow.h"
#include "view/Menus.h"
#include "view/PageView.h"
#include "view/StatusText.h"

namespace folio::view {

namespace {

// What a refused shortcut says on a document whose permissions forbid
// modifying it (the menus show such commands disabled instead).
const char *const kModifyForbiddenNote =
    "The document does not allow changes (its permissions forbid modifying it).";

bool editForbidden(const DocWindow *doc)
{
  return doc && (doc->document().permissions() & pdPermEdit) == 0;
}

} // namespace

const double ViewerController::kZoomSteps[18] = {10,  25,  33.33, 50,  66.67, 75,   100,  125,  150,
                                                 200, 300, 400,   600, 800,   1200, 1600, 3200, 6400};

double ViewerController::nextZoomStep(double zoom, int direction)
{
  double next = zoom;
  if (direction > 0) {
    for (double s : kZoomSteps)
      if (s > zoom + 0.01)
        return s;
  } else if (direction < 0) {
    for (double s : kZoomSteps)
      if (s < zoom - 0.01)
        next = s;
  }
  return next;
}

double ViewerController::fitWidthZoom(double pageWidth, const ViewportSize &viewport)
{
  if (pageWidth <= 0 || viewport.empty())
    return 0;
  return std::floor((viewport.width - 2 * kPageMargin) / pageWidth * 10000) / 100;
}

double ViewerController::fitPageZoom(double pageWidth, double pageHeight, const ViewportSize &viewport)
{
  if (pageWidth <= 0 || pageHeight <= 0 || viewport.empty())
    return 0;
  double z = std::min((viewport.width - 2 * kPageMargin) / pageWidth,
                      (viewport.height - 2 * kPageMargin) / pageHeight);
  return std::floor(z * 10000) / 100;
}

// ---- construction --------------------------------------------------------------

ViewerController::ViewerController(Application &app, ViewerPort &port, ViewerControllerOptions options)
    : app_(app), port_(port), options_(options), keys_(KeyBindings::viewerDefaults())
{
  if (options_.keepPreferences) {
    if (auto unit = parseUnit(configuration().preference("units")))
      app_.setUnits(*unit);
    app_.setShowCroppedPages(configuration().preference("show-cropped-pages") == "yes");
  }
  viewport_ = port_.viewportSize();
  buildCommands();
  app_.addListener(this);
}

ViewerController::~ViewerController()
{
  app_.removeListener(this);
  // The menu bar outlives the controller: none of our items may call back
  // into it any more.
  std::vector<MenuItem *> items = own_;
  for (const auto &entry : windowItems_)
    items.push_back(entry.second);
  for (MenuItem *item : items) {
    item->setHostExecute([] {});
    item->setHostEnabled([] { return false; });
    item->setHostMarked([] { return false; });
  }
  for (MenuItem *item : own_)
    item->release();
  if (hidden_)
    hidden_->release();
}

MenuItem *ViewerController::addCommand(Menu *menu, const char *title, const char *name, char key,
                                       FSInt16 flags, std::function<void()> fn)
{
  MenuItem *item = MenuItem::create(title, name, nullptr, false, key, flags);
  item->setHostExecute(std::move(fn));
  item->setHostEnabled([this] { return shownView() != nullptr; });
  menu->insert(item, kAppendIndex);
  // The menu holds it; so do we, so that it can be made inert when we go
  // even if someone took it out of its menu.
  own_.push_back(item);
  return item;
}

void ViewerController::buildCommands()
{
  viewMenu_ = Menu::create("&View", "View");
  Menu *m = viewMenu_;
  addCommand(m, "Zoom &In", "ZoomIn", '=', kShortcutCtrl, [this] { zoomStep(+1); });
  addCommand(m, "Zoom &Out", "ZoomOut", '-', kShortcutCtrl, [this] { zoomStep(-1); });
  addCommand(m, "&Actual Size", "ActualSize", '1', kShortcutCtrl, [this] { setZoom(100.0); });
  auto fitEnabled = [this] { return shownView() != nullptr && !viewport_.empty(); };
  addCommand(m, "Fit &Width", "FitWidth", '2', kShortcutCtrl, [this] {
    fitWidth();
  })->setHostEnabled(fitEnabled);
  addCommand(m, "Fit &Page", "FitPage", '0', kShortcutCtrl, [this] {
    fitPage();
  })->setHostEnabled(fitEnabled);
  addCommand(m, "&Next Page", "NextPage", 'N', kShortcutCtrl, [this] {
    if (PageView *v = shownView())
      goToPage(v->pageNumber() + 1);
  });
  addCommand(m, "P&revious Page", "PreviousPage", 'P', kShortcutCtrl, [this] {
    if (PageView *v = shownView())
      goToPage(v->pageNumber() - 1);
  });
  addCommand(m, "&First Page", "FirstPage", 0, 0, [this] { goToPage(0); });
  addCommand(m, "&Last Page", "LastPage", 0, 0, [this] {
    if (PageView *v = shownView())
      goToPage(v->pageCount() - 1);
  });
  addCommand(m, "&Go To Page...", "GoToPage", 'G', kShortcutCtrl, [this] { askGoToPage(); });

  // Show Cropped Pages: a check item; Units: a radio group of three.
  MenuItem *cropped = addCommand(m, "Show &Cropped Pages", "ShowCroppedPages", 0, 0,
                                 [this] { setShowCropped(!app_.showCroppedPages()); });
  cropped->setHostEnabled(nullptr);
  cropped->setHostMarked([this] { return app_.showCroppedPages(); });
  Menu *units = Menu::create("&Units", "Units");
  const std::pair<const char *, Unit> kUnits[] = {
      {"&Points", Unit::Points}, {"&Millimetres", Unit::Millimetres}, {"&Inches", Unit::Inches}};
  for (const auto &[title, unit] : kUnits) {
    Unit u = unit;
    std::string name = std::string("Units:") + unitName(u);
    MenuItem *item = addCommand(units, title, name.c_str(), 0, 0, [this, u] { setUnits(u); });
    item->setHostEnabled(nullptr);
    item->setHostMarked([this, u] { return app_.units() == u; });
  }
  MenuItem *unitsItem = MenuItem::create("&Units", "Units", units);
  units->release(); // the item holds it
  m->insert(unitsItem, kAppendIndex);
  unitsItem->release();

  // The commands of keys and scripts that no menu shows.
  hidden_ = Menu::create("Viewer Commands", "ViewerCommands");
  addCommand(hidden_, "Scroll &Up", "ScrollUp", 0, 0, [this] { scrollBy(0, -kScrollStep); });
  addCommand(hidden_, "Scroll &Down", "ScrollDown", 0, 0, [this] { scrollBy(0, kScrollStep); });
  addCommand(hidden_, "Scroll &Left", "ScrollLeft", 0, 0, [this] { scrollBy(-kScrollStep, 0); });
  addCommand(hidden_, "Scroll &Right", "ScrollRight", 0, 0, [this] { scrollBy(kScrollStep, 0); });

  // After File and Edit.
  const auto &bar = app_.menuBar().menus();
  FSInt32 at = 1;
  for (size_t i = 0; i < bar.size(); i++)
    if (bar[i]->name() == "Edit")
      at = static_cast<FSInt32>(i + 1);
  app_.menuBar().addMenu(viewMenu_, at);
  viewMenu_->release(); // the bar holds it
  buildWindowMenu();
}

// ---- the Window menu --------------------------------------------------------------

void ViewerController::buildWindowMenu()
{
  windowMenu_ = Menu::create("&Window", "Window");
  const auto &bar = app_.menuBar().menus();
  FSInt32 index = kAppendIndex;
  for (size_t i = 0; i < bar.size(); i++)
    if (bar[i]->name() == "Help")
      index = static_cast<FSInt32>(i);
  app_.menuBar().addMenu(windowMenu_, index);
  windowMenu_->release(); // the bar holds it
  // Documents opened before the controller was made.
  for (const auto &doc : app_.documents())
    documentOpened(*doc);
}

MenuItem *ViewerController::addWindowItem(DocWindow &doc, const std::string &name, FSInt32 index)
{
  std::string title;
  for (char ch : doc.title()) {
    if (ch == '&')
      title += '&'; // a literal '&', not a mnemonic
    title += ch;
  }
  DocWindow *d = &doc;
  MenuItem *item = MenuItem::create(title, name, nullptr, false, 0, 0);
  item->setHostExecute([this, d] { app_.setActiveDocument(d); });
  item->setHostMarked([this, d] { return app_.activeDocument() == d; });
  windowMenu_->insert(item, index);
  item->release(); // the menu holds it
  windowItems_[d] = item;
  return item;
}

void ViewerController::documentOpened(DocWindow &doc)
{
  if (windowMenu_ && !windowItems_.count(&doc))
    addWindowItem(doc, "Window:" + std::to_string(++windowSerial_), kAppendIndex);
}

void ViewerController::documentRetitled(DocWindow &doc)
{
  // The item is made again under the new title, in its place.
  auto it = windowItems_.find(&doc);
  if (it == windowItems_.end() || !windowMenu_)
    return;
  FSInt32 index = windowMenu_->indexOf(it->second);
  std::string name = it->second->name();
  MenuItem *old = it->second;
  windowItems_.erase(it);
  old->removeFromMenu(); // frees it: nobody else holds it
  addWindowItem(doc, name, index);
}

MenuItem *ViewerController::command(const std::string &name) const
{
  if (MenuItem *item = app_.menuBar().findItem(name))
    return item;
  return hidden_ ? hidden_->findItem(name) : nullptr;
}

bool ViewerController::runCommand(const std::string &name)
{
  showActiveDocument();
  MenuItem *item = command(name);
  return item && item->runAsUser();
}

// ---- events -----------------------------------------------------------------------

bool ViewerController::keyPress(const ViewerKey &key)
{
  showActiveDocument();
  // Menu shortcuts first: one command table for menus and keys.
  if (MenuItem *item = shortcutItem(key)) {
    guardRun(
        [&] {
          // A shortcut to a command that the document's permissions
          // disable says why nothing happens.
          if (!item->runAsUser() && editForbidden(shown_))
            app_.note(kModifyForbiddenNote);
        },
        [this](const std::string &message) { app_.note(message); });
    app_.endOpenProgress();
    return true;
  }
  std::string name = keys_.lookup(key.name, key.flags);
  MenuItem *item = name.empty() ? nullptr : command(name);
  return item && item->runAsUser();
}

MenuItem *ViewerController::shortcutItem(const ViewerKey &key) const
{
  if (!(key.flags & (kShortcutCtrl | kShortcutAlt)))
    return nullptr;
  return findShortcutItem(app_.menuBar(), key.character ? key.character : keyCharacter(key.name), key.flags);
}

MenuItem *ViewerController::commandForKey(const ViewerKey &key) const
{
  if (MenuItem *item = shortcutItem(key))
    return item;
  std::string name = keys_.lookup(key.name, key.flags);
  return name.empty() ? nullptr : command(name);
}

void ViewerController::wheel(int direction, FSInt16 flags)
{
  showActiveDocument();
  PageView *v = shownView();
  if (!v || direction == 0)
    return;
  int dir = direction < 0 ? -1 : 1;
  if (flags & kShortcutCtrl) {
    zoomStep(-dir);
    return;
  }
  if (flags & kShortcutShift) {
    scrollBy(dir * kWheelStep, 0);
    return;
  }
  int before = v->scrollY();
  scrollBy(0, dir * kWheelStep);
  // At the end of a page the wheel goes on to the next one.
  if (v->scrollY() != before)
    return;
  int n = v->pageNumber() + dir;
  if (n < 0 || n >= v->pageCount())
    return;
  goToPage(n);
  if (dir < 0 && shownView() == v) {
    // Coming back up: the previous page's bottom.
    v->setScroll(v->scrollX(), 1 << 14);
    fitScroll(false);
  }
}

int ViewerController::countClick(int x, int y, unsigned long timeMs)
{
  // A second press close in time and place is a double click.
  if (timeMs - lastClickTime_ < kDoubleClickMs && std::abs(x - lastClickX_) < kClickDistance &&
      std::abs(y - lastClickY_) < kClickDistance)
    clickCount_++;
  else
    clickCount_ = 1;
  lastClickTime_ = timeMs;
  lastClickX_ = x;
  lastClickY_ = y;
  return clickCount_;
}

void ViewerController::click(int x, int y, FSInt16 modifiers, unsigned long timeMs)
{
  showActiveDocument();
  PageView *v = shownView();
  if (!v)
    return;
  int count = countClick(x, y, timeMs);
  guardRun(
      [&] {
        app_.toolClick(*v, static_cast<FSInt16>(x), static_cast<FSInt16>(y), modifiers,
                       static_cast<FSInt16>(count));
      },
      [this](const std::string &message) { app_.note(message); });
  app_.endOpenProgress();
  // The tool may have scrolled (the hand tool): keep the scroll in range.
  if (shownView() == v)
    fitScroll(false);
}

void ViewerController::viewportChanged()
{
  ViewportSize size = port_.viewportSize();
  if (size.width == viewport_.width && size.height == viewport_.height)
    return;
  viewport_ = size;
  if (PageView *v = shownView()) {
    v->setDeviceSize(std::max(0, size.width), std::max(0, size.height));
    fitScroll(false);
    v->invalidateAll();
  }
}

void ViewerController::scrollBarMoved(int x, int y)
{
  PageView *v = shownView();
  if (!v)
    return;
  v->setScroll(x, y);
  port_.requestRedraw(false);
}

void ViewerController::showActiveDocument()
{
  // The active document may have changed behind our back (Revert closes
  // and reopens it; a script opens another).
  if (app_.activeDocument() != shown_)
    showDocument(app_.activeDocument());
}

void ViewerController::sync()
{
  showActiveDocument();
  if (PageView *v = shownView()) {
    // Showing cropped pages, a crop changes the page's size on screen.
    if (v->pageDeviceWidth() != shownPageWidth_ || v->pageDeviceHeight() != shownPageHeight_) {
      shownPageWidth_ = v->pageDeviceWidth();
      shownPageHeight_ = v->pageDeviceHeight();
      fitScroll(false);
      v->invalidateAll();
    }
  }
  port_.scrollTo(scrollState());
  port_.setStatus(statusText());
  port_.setTitle(titleText());
}

void ViewerController::documentClosing(DocWindow &doc)
{
  if (&doc == shown_)
    shown_ = nullptr;
  auto it = windowItems_.find(&doc);
  if (it != windowItems_.end()) {
    MenuItem *item = it->second;
    windowItems_.erase(it);
    item->removeFromMenu(); // frees it: nobody else holds it
  }
}

void ViewerController::showDocument(DocWindow *doc)
{
  shown_ = doc;
  PageView *v = shownView();
  if (!v) {
    // Nothing to show: a plain area.
    port_.requestRedraw(true);
    return;
  }
  v->setDeviceSize(std::max(0, viewport_.width), std::max(0, viewport_.height));
  shownPageWidth_ = v->pageDeviceWidth();
  shownPageHeight_ = v->pageDeviceHeight();
  fitScroll(true);
  v->invalidateAll();
  port_.requestRedraw(true);
}

// ---- navigation ------------------------------------------------------------------

PageView *ViewerController::shownView() const
{
  return shown_ ? &shown_->pageView() : nullptr;
}

void ViewerController::goToPage(int n)
{
  PageView *v = shownView();
  if (!v || n < 0 || n >= v->pageCount() || n == v->pageNumber())
    return;
  v->goToPage(n);
  fitScroll(true);
  v->invalidateAll();
  port_.requestRedraw(true);
}

void ViewerController::askGoToPage()
{
  PageView *v = shownView();
  if (!v)
    return;
  std::optional<int> n = port_.askPageNumber(v->pageCount());
  // The question may have let other things happen: ask the view again.
  v = shownView();
  if (v && n && *n >= 1 && *n <= v->pageCount())
    goToPage(*n - 1);
}

void ViewerController::setZoom(double percent)
{
  PageView *v = shownView();
  if (!v)
    return;
  // Keep the centre of the viewport where it is on the page.
  double cx = (v->scrollX() + viewport_.width / 2.0) / v->scale();
  double cy = (v->scrollY() + viewport_.height / 2.0) / v->scale();
  v->setZoomPercent(percent);
  v->setScroll(static_cast<int>(std::lround(cx * v->scale() - viewport_.width / 2.0)),
               static_cast<int>(std::lround(cy * v->scale() - viewport_.height / 2.0)));
  fitScroll(false);
  v->invalidateAll();
  port_.requestRedraw(true);
}

void ViewerController::zoomStep(int direction)
{
  if (PageView *v = shownView())
    setZoom(nextZoomStep(v->zoomPercent(), direction));
}

void ViewerController::fitWidth()
{
  PageView *v = shownView();
  if (!v || v->scale() <= 0)
    return;
  double z = fitWidthZoom(v->pageDeviceWidth() / v->scale(), viewport_);
  if (z > 0)
    setZoom(z);
}

void ViewerController::fitPage()
{
  PageView *v = shownView();
  if (!v || v->scale() <= 0)
    return;
  double z = fitPageZoom(v->pageDeviceWidth() / v->scale(), v->pageDeviceHeight() / v->scale(), viewport_);
  if (z > 0)
    setZoom(z);
}

void ViewerController::scrollBy(int dx, int dy)
{
  PageView *v = shownView();
  if (!v)
    return;
  v->setScroll(v->scrollX() + dx, v->scrollY() + dy);
  fitScroll(false);
}

void ViewerController::fitScroll(bool centre)
{
  PageView *v = shownView();
  if (!v)
    return;
  if (viewport_.empty()) {
    // No window: the view has the page's own size and is not scrolled.
    v->setScroll(0, 0);
    return;
  }
  int contentW = v->pageDeviceWidth() + 2 * kPageMargin;
  int contentH = v->pageDeviceHeight() + 2 * kPageMargin;
  auto fit = [](int scroll, int content, int window, bool centreIt) {
    if (content <= window)
      return -(window - content) / 2; // centred
    if (centreIt)
      return 0;
    return std::clamp(scroll, 0, content - window);
  };
  v->setScroll(fit(v->scrollX(), contentW, viewport_.width, false),
               fit(v->scrollY(), contentH, viewport_.height, centre));
}

void ViewerController::setUnits(Unit unit)
{
  app_.setUnits(unit);
  if (options_.keepPreferences)
    configuration().storePreference("units", unitName(unit));
  port_.setStatus(statusText());
}

void ViewerController::setShowCropped(bool on)
{
  app_.setShowCroppedPages(on);
  if (options_.keepPreferences)
    configuration().storePreference("show-cropped-pages", on ? "yes" : "no");
  if (PageView *v = shownView()) {
    shownPageWidth_ = v->pageDeviceWidth();
    shownPageHeight_ = v->pageDeviceHeight();
    fitScroll(true);
    v->invalidateAll();
    port_.requestRedraw(true);
  }
}

// ---- text --------------------------------------------------------------------------

std::string ViewerController::statusText() const
{
  PageView *v = shownView();
  if (!v)
    return "No document";
  std::string text =
      pageStatus(v->pageNumber(), v->pageCount(), v->zoomPercent(), v->page().cropBox(), app_.units());
  // Why the crop commands are disabled on such a document.
  if (editForbidden(shown_))
    text += "     Changes not allowed: the document's permissions forbid modifying it";
  return text;
}

std::string ViewerController::titleText() const
{
  if (!shown_)
    return "Folio";
  std::string title = shown_->title();
  if (shown_->document().flags() & PDDocNeedsSave)
    title += " *";
  return title + " - Folio";
}

ScrollState ViewerController::scrollState() const
{
  ScrollState s;
  s.viewportWidth = viewport_.width;
  s.viewportHeight = viewport_.height;
  if (PageView *v = shownView()) {
    s.x = v->scrollX();
    s.y = v->scrollY();
    s.contentWidth = v->pageDeviceWidth() + 2 * kPageMargin;
    s.contentHeight = v->pageDeviceHeight() + 2 * kPageMargin;
  }
  return s;
}

} // namespace folio::view
