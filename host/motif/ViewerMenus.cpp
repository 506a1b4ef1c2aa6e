// The Motif viewer's menu bar and tool bar, mirrored from the view layer's
// menu and tool bar models. Widgets are rebuilt when a model changes (the
// change notices only mark them stale; the main loop rebuilds before the
// next event), and their enabled and marked states are asked of the items'
// procedures each time a menu opens and after every event for the tool bar.
#include "motif/ViewerImpl.h"

#include "core/Configuration.h"
#include "model/BBoxMargin.h"
#include "motif/Dialogs.h"
#include "motif/WindowNames.h"
#include "view/DocWindow.h"
#include "view/Menus.h"
#include "view/StatusText.h"
#include "view/ToolBar.h"

#include <X11/Xlib.h>
#include <Xm/CascadeB.h>
#include <Xm/Label.h>
#include <Xm/RowColumn.h>
#include <Xm/Separator.h>
#include <Xm/ToggleB.h>

#include <algorithm>
#include <cstdio>

namespace folio::motif {

namespace {

XmString xmString(const std::string &s)
{
  return XmStringCreateLocalized(const_cast<char *>(s.c_str()));
}

// A depth-1 icon turned into a pixmap of the widget's depth, drawn in its
// foreground on its background.
Pixmap iconPixmap(Widget w, FVIcon icon)
{
  Pixmap bitmap = static_cast<Pixmap>(reinterpret_cast<uintptr_t>(icon));
  if (!bitmap)
    return 0;
  Display *dpy = XtDisplay(w);
  Window root;
  int x, y;
  unsigned int width = 0, height = 0, border, depth = 0;
  if (!XGetGeometry(dpy, bitmap, &root, &x, &y, &width, &height, &border, &depth))
    return 0;
  int screenDepth = DefaultDepthOfScreen(XtScreen(w));
  Pixel fg = BlackPixelOfScreen(XtScreen(w)), bg = WhitePixelOfScreen(XtScreen(w));
  XtVaGetValues(w, XmNforeground, &fg, XmNbackground, &bg, NULL);
  Pixmap out = XCreatePixmap(dpy, root, width, height, screenDepth);
  GC gc = XCreateGC(dpy, out, 0, nullptr);
  XSetForeground(dpy, gc, fg);
  XSetBackground(dpy, gc, bg);
  if (depth == 1)
    XCopyPlane(dpy, bitmap, out, gc, 0, 0, width, height, 0, 0, 1);
  else
    XCopyArea(dpy, bitmap, out, gc, 0, 0, width, height, 0, 0);
  XFreeGC(dpy, gc);
  return out;
}

// The icon greyed for a disabled button: the same pixmap with every other
// pixel (a 50% checkerboard) painted over in the background, so the button
// keeps its size and its icon stays recognisable.
Pixmap greyedPixmap(Widget w, Pixmap icon)
{
  Display *dpy = XtDisplay(w);
  Window root;
  int x, y;
  unsigned int width = 0, height = 0, border, depth = 0;
  if (!icon || !XGetGeometry(dpy, icon, &root, &x, &y, &width, &height, &border, &depth))
    return 0;
  Pixel bg = WhitePixelOfScreen(XtScreen(w));
  XtVaGetValues(w, XmNbackground, &bg, NULL);
  static const char kChecker[] = {0x01, 0x02};
  Pixmap stipple = XCreateBitmapFromData(dpy, root, kChecker, 2, 2);
  Pixmap out = XCreatePixmap(dpy, root, width, height, depth);
  GC gc = XCreateGC(dpy, out, 0, nullptr);
  XCopyArea(dpy, icon, out, gc, 0, 0, width, height, 0, 0);
  XSetForeground(dpy, gc, bg);
  XSetStipple(dpy, gc, stipple);
  XSetFillStyle(dpy, gc, FillStippled);
  XFillRectangle(dpy, out, gc, 0, 0, width, height);
  XFreeGC(dpy, gc);
  XFreePixmap(dpy, stipple);
  return out;
}

struct ItemRef {
  Viewer::Impl *viewer;
  view::MenuItem *item;
};
struct ButtonRef {
  Viewer::Impl *viewer;
  size_t index;
};

// Client data of the widgets' callbacks; kept until the next rebuild.
std::vector<std::unique_ptr<ItemRef>> gItemRefs;
std::vector<std::unique_ptr<ButtonRef>> gButtonRefs;

} // namespace

// ---- the viewer's additions to the menus --------------------------------------------

// View > Preferences... after the controller's View commands: it needs a
// dialog of its own.
void Viewer::Impl::addPreferences()
{
  view::MenuItem *prefs = view::MenuItem::create("Pr&eferences...", "Preferences");
  prefs->setHostExecute([this] { askPreferences(); });
  controller->viewMenu()->insert(prefs, view::kAppendIndex);
  prefs->release(); // the menu holds it
}

// View > Preferences...: the margin around bounding boxes, kept in the config
// file.
void Viewer::Impl::askPreferences()
{
  char current[32];
  std::snprintf(current, sizeof current, "%g", configuration().bboxMargin());
  std::string value = current;
  for (;;) {
    if (!askText(shell, "Preferences", "Bounding-box margin (points on each side, 0 - 1000):", value))
      return;
    if (auto m = parseBBoxMargin(value)) {
      configuration().setBBoxMargin(*m);
      model::setBBoxMargin(*m);
      char text[32];
      std::snprintf(text, sizeof text, "%g", *m);
      configuration().storePreference("bbox-margin", text);
      return;
    }
    showNote(shell, "Preferences", "The margin is a number of points from 0 to 1000, not \"" + value + "\".");
  }
}

// ---- menus -----------------------------------------------------------------------------

void Viewer::Impl::buildPulldown(MenuWidgets &mw, view::Menu *menu, Widget parent)
{
  mw.menu = menu;
  std::string pdName = menu->name().empty() ? "menu" : menu->name();
  // A submenu's pane is a child of the pane that holds its cascade button, as
  // Motif's menu system expects.
  mw.pulldown = XmCreatePulldownMenu(parent, const_cast<char *>(pdName.c_str()), nullptr, 0);
  pulldowns[mw.pulldown] = &mw;
  for (view::MenuItem *item : menu->items()) {
    std::string label = view::titleWithoutMnemonic(item->title());
    std::string wname = item->name().empty() ? label : item->name();
    XmString text = xmString(label);
    char mnemonic = view::titleMnemonic(item->title());
    Widget w;
    if (item->submenu()) {
      auto sub = std::make_unique<MenuWidgets>();
      buildPulldown(*sub, item->submenu(), mw.pulldown);
      w = XtVaCreateManagedWidget(wname.c_str(), xmCascadeButtonWidgetClass, mw.pulldown, XmNlabelString,
                                  text, XmNsubMenuId, sub->pulldown, NULL);
      XtAddCallback(w, XmNcascadingCallback, onCascading, this);
      menus.push_back(std::move(sub));
    } else {
      std::string accel = view::shortcutLabel(item->shortcut(), item->shortcutFlags());
      XmString accelText = xmString(accel);
      // The items of a radio group show a diamond, the others a check box.
      view::MenuItem *units = controller->viewMenu()->findItem("Units");
      bool radio = units && menu == units->submenu();
      w = XtVaCreateManagedWidget(wname.c_str(), xmToggleButtonWidgetClass, mw.pulldown, XmNlabelString, text,
                                  XmNacceleratorText, accelText, XmNvisibleWhenOff, radio ? True : False,
                                  XmNindicatorType, radio ? XmONE_OF_MANY : XmN_OF_MANY, NULL);
      XmStringFree(accelText);
      if (item->icon()) {
        Pixmap p = iconPixmap(w, item->icon());
        if (p) {
          menuPixmaps.push_back(p);
          XtVaSetValues(w, XmNlabelType, XmPIXMAP_AND_STRING, XmNlabelPixmap, p, NULL);
        }
      }
      gItemRefs.push_back(std::make_unique<ItemRef>(ItemRef{this, item}));
      XtAddCallback(w, XmNvalueChangedCallback, onMenuItem, gItemRefs.back().get());
    }
    if (mnemonic)
      XtVaSetValues(w, XmNmnemonic, static_cast<KeySym>(static_cast<unsigned char>(mnemonic)), NULL);
    XmStringFree(text);
    mw.items.emplace_back(item, w);
  }
  if (menu->items().empty()) {
    // An empty pane would open as a bare grey square: say why it is empty.
    std::string placeholder = view::emptyMenuLabel(menu->name());
    XmString text = xmString(placeholder);
    Widget w = XtVaCreateManagedWidget("placeholder", xmLabelWidgetClass, mw.pulldown, XmNlabelString, text,
                                       XmNsensitive, False, NULL);
    XmStringFree(text);
    mw.placeholder = w;
  }
}

void Viewer::Impl::rebuildMenus()
{
  menusDirty = false;
  for (Widget w : menuTitles)
    XtDestroyWidget(w);
  menuTitles.clear();
  // Destroying a top-level pane takes its submenus' panes with it.
  for (auto &mw : menus)
    if (XtParent(XtParent(mw->pulldown)) == menuBar)
      XtDestroyWidget(mw->pulldown);
  menus.clear();
  pulldowns.clear();
  gItemRefs.clear();
  // The widgets that showed them are gone (destroyed at once: this runs
  // outside event dispatch).
  for (Pixmap p : menuPixmaps)
    XFreePixmap(display, p);
  menuPixmaps.clear();

  for (view::Menu *menu : app.menuBar().menus()) {
    auto mw = std::make_unique<MenuWidgets>();
    buildPulldown(*mw, menu, menuBar);
    XmString text = xmString(view::titleWithoutMnemonic(menu->title()));
    std::string wname = menu->name().empty() ? "menu" : menu->name();
    Widget title = XtVaCreateManagedWidget(wname.c_str(), xmCascadeButtonWidgetClass, menuBar, XmNlabelString,
                                           text, XmNsubMenuId, mw->pulldown, NULL);
    XmStringFree(text);
    char mnemonic = view::titleMnemonic(menu->title());
    if (mnemonic)
      XtVaSetValues(title, XmNmnemonic, static_cast<KeySym>(static_cast<unsigned char>(mnemonic)), NULL);
    XtAddCallback(title, XmNcascadingCallback, onCascading, this);
    if (menu->name() == "Help")
      XtVaSetValues(menuBar, XmNmenuHelpWidget, title, NULL);
    menuTitles.push_back(title);
    menus.push_back(std::move(mw));
  }
  nameMenuWindows();
}

// Names the X windows of the titles and items (realising the menus' shells,
// unmapped, so that their items have windows before they are first posted).
void Viewer::Impl::nameMenuWindows()
{
  if (!XtIsRealized(menuBar))
    return;
  for (size_t i = 0; i < menuTitles.size(); i++)
    nameWindow(menuTitles[i], XtName(menuTitles[i]));
  for (auto &mw : menus) {
    Widget menuShell = XtParent(mw->pulldown);
    if (!XtIsRealized(menuShell))
      XtRealizeWidget(menuShell);
    for (auto &[item, w] : mw->items)
      nameWindow(w, XtName(w));
    if (mw->placeholder) {
      XmString text = nullptr;
      XtVaGetValues(mw->placeholder, XmNlabelString, &text, NULL);
      char *label = text ? static_cast<char *>(XmStringUnparse(text, nullptr, XmCHARSET_TEXT, XmCHARSET_TEXT,
                                                               nullptr, 0, XmOUTPUT_ALL))
                         : nullptr;
      nameWindow(mw->placeholder, label ? label : "placeholder");
      XtFree(label);
      XmStringFree(text);
    }
  }
}

void Viewer::Impl::refreshMenu(Widget pulldown)
{
  auto it = pulldowns.find(pulldown);
  if (it == pulldowns.end())
    return;
  for (auto &[item, w] : it->second->items) {
    XtSetSensitive(w, item->isEnabled());
    // Titles that follow the state ("Undo Crop Region"); the label shown is
    // also the window's icon name, for accessibility tools and tests.
    if (!item->submenu()) {
      std::string label = view::titleWithoutMnemonic(item->currentTitle());
      XmString text = xmString(label);
      XtVaSetValues(w, XmNlabelString, text, NULL);
      XmStringFree(text);
      if (XtIsRealized(w))
        XSetIconName(display, XtWindow(w), label.c_str());
    }
    if (!item->submenu())
      XmToggleButtonSetState(w, item->isMarked(), False);
  }
  nameMenuWindows();
}

void Viewer::Impl::onCascading(Widget w, XtPointer client, XtPointer)
{
  auto *self = static_cast<Viewer::Impl *>(client);
  Widget pulldown = nullptr;
  XtVaGetValues(w, XmNsubMenuId, &pulldown, NULL);
  if (pulldown)
    guarded(self->app, [&] { self->refreshMenu(pulldown); });
}

void Viewer::Impl::onMenuItem(Widget, XtPointer client, XtPointer)
{
  auto *ref = static_cast<ItemRef *>(client);
  Viewer::Impl *self = ref->viewer;
  guarded(self->app, [&] {
    ref->item->runAsUser();
    self->app.endOpenProgress();
    self->refreshToolBar();
  });
}

// ---- tool bar -----------------------------------------------------------------------------

void Viewer::Impl::rebuildToolBar()
{
  toolBarDirty = false;
  for (auto &t : tools)
    XtDestroyWidget(t.widget);
  tools.clear();
  for (Pixmap p : toolPixmaps)
    XFreePixmap(display, p);
  toolPixmaps.clear();
  gButtonRefs.clear();
  const auto &buttons = app.toolBar().buttons();
  for (size_t i = 0; i < buttons.size(); i++) {
    view::ToolButton *b = buttons[i];
    ToolWidget tw;
    tw.button = b;
    std::string name = b->nameString().empty() ? "button" : b->nameString();
    if (b->isSeparator()) {
      tw.widget = XtVaCreateManagedWidget(name.c_str(), xmSeparatorWidgetClass, toolBar, XmNorientation,
                                          XmVERTICAL, XmNwidth, 12, NULL);
      tools.push_back(tw);
      continue;
    }
    // Not in keyboard traversal: a pressed look must mean "this tool is on",
    // never "this button has the focus".
    tw.widget =
        XtVaCreateManagedWidget(name.c_str(), xmToggleButtonWidgetClass, toolBar, XmNindicatorOn, False,
                                XmNshadowThickness, 2, XmNfillOnSelect, True, XmNmarginWidth, 4,
                                XmNmarginHeight, 4, XmNtraversalOn, False, XmNhighlightThickness, 0, NULL);
    Pixmap p = iconPixmap(tw.widget, b->icon());
    if (p) {
      toolPixmaps.push_back(p);
      XtVaSetValues(tw.widget, XmNlabelType, XmPIXMAP, XmNlabelPixmap, p, NULL);
      if (Pixmap grey = greyedPixmap(tw.widget, p)) {
        toolPixmaps.push_back(grey);
        XtVaSetValues(tw.widget, XmNlabelInsensitivePixmap, grey, NULL);
      }
    } else {
      XmString s = xmString(name == "Thread" ? "Article" : name);
      XtVaSetValues(tw.widget, XmNlabelString, s, NULL);
      XmStringFree(s);
    }
    if (!b->helpText().empty()) {
      XmString tip = xmString(b->helpText());
      XtVaSetValues(tw.widget, XmNtoolTipString, tip, NULL);
      XmStringFree(tip);
    }
    gButtonRefs.push_back(std::make_unique<ButtonRef>(ButtonRef{this, tools.size()}));
    XtAddCallback(tw.widget, XmNvalueChangedCallback, onToolButton, gButtonRefs.back().get());
    nameWindow(tw.widget, name.c_str());
    tw.marked = !b->isMarked(); // forces the first refresh to set both
    tw.enabled = !b->isEnabled();
    tools.push_back(tw);
  }
  refreshToolBar();
}

void Viewer::Impl::refreshToolBar()
{
  for (auto &t : tools) {
    if (t.button->isSeparator())
      continue;
    bool enabled = t.button->isEnabled();
    bool marked = t.button->isMarked();
    if (enabled != t.enabled) {
      XtSetSensitive(t.widget, enabled);
      t.enabled = enabled;
    }
    if (marked != t.marked || XmToggleButtonGetState(t.widget) != marked) {
      XmToggleButtonSetState(t.widget, marked, False);
      t.marked = marked;
    }
    nameWindow(t.widget, XtName(t.widget));
  }
}

void Viewer::Impl::onToolButton(Widget, XtPointer client, XtPointer)
{
  auto *ref = static_cast<ButtonRef *>(client);
  Viewer::Impl *self = ref->viewer;
  if (ref->index >= self->tools.size())
    return;
  guarded(self->app, [&] {
    self->tools[ref->index].button->runAsUser();
    self->app.endOpenProgress();
    // The pressed look follows the button's marked state, not the click.
    self->refreshToolBar();
  });
}

} // namespace folio::motif
