// FolioViewTable.cpp: the "FolioView" table: one thin adapter per entry into
// the view layer, each under the guard with its documented failure result.
#include "tables/FolioViewTable.h"

#include <cstring>
#include <stdexcept>

#include "core/Guard.h"
#include "folio/FolioViewHFT.h"
#include "tables/HandleChecks.h"
#include "tables/TableBuilder.h"
#include "view/AlertRules.h"

namespace folio::tables {
namespace {

using namespace folio::view;

// The application the entries serve (set by makeFolioViewTable); C entries
// carry no context of their own. Null before: every entry then gives its
// failure result.
Application *gApp = nullptr;

// The application, or an exception (turned into the failure result by the
// guard) when no table has been made yet.
Application &app()
{
  if (!gApp)
    throw std::logic_error("the FolioView table serves no application");
  return *gApp;
}

DocWindow *docOf(FVDoc doc)
{
  return checkFVDoc(gApp, doc);
}

PageView *viewOf(FVPageView pageView)
{
  return checkFVPageView(gApp, pageView);
}

const FVRect kZeroRect{0, 0, 0, 0};
const FixedRect kZeroFixedRect{0, 0, 0, 0};

// ---- alerts ------------------------------------------------------------------

FSInt32 FVAlertImpl(FSInt32 iconType, const char *msg, const char *button1, const char *button2,
                    const char *button3, FSBool beep)
{
  return guardCall(FSInt32(0), [&] {
    Question q = alertQuestion(iconType, msg, button1, button2, button3, beep != 0);
    return FSInt32(alertAnswer(q, app().ask(q)));
  });
}

void FVAlertNoteImpl(const char *msg)
{
  guardRun([&] { app().note(msg ? msg : ""); });
}

FSBool FVAlertConfirmImpl(const char *msg)
{
  return guardCall(FSBool(0), [&] { return FSBool(app().confirm(msg ? msg : "") ? 1 : 0); });
}

// ---- application ------------------------------------------------------------------

CancelProc FVAppGetCancelProcImpl(void **clientData)
{
  return guardCall(CancelProc(nullptr), [&] { return app().cancelProc(clientData); });
}

FVDoc FVAppGetActiveDocImpl()
{
  return guardCall(FVDoc(nullptr), [] { return toFVDoc(app().activeDocument()); });
}

ProgressMonitor FVAppGetDocProgressMonitorImpl(void **clientData)
{
  return guardCall(ProgressMonitor(nullptr), [&] { return app().progressMonitor(clientData); });
}

FVMenubar FVAppGetMenubarImpl()
{
  return guardCall(FVMenubar(nullptr), [] { return toFVMenubar(&app().menuBar()); });
}

FVToolBar FVAppGetToolBarImpl()
{
  return guardCall(FVToolBar(nullptr), [] { return toFVToolBar(&app().toolBar()); });
}

FVTool FVAppGetActiveToolImpl()
{
  return guardCall(FVTool(nullptr), [] { return app().activeTool(); });
}

void FVAppSetActiveToolImpl(FVTool tool, FSBool persistent)
{
  guardRun([&] { app().setActiveTool(tool, persistent != 0); });
}

void FVAppRegisterToolImpl(FVTool tool)
{
  guardRun([&] { app().registerTool(tool); });
}

void FVAppRegisterForPageViewDrawingImpl(FSCallback proc, void *data)
{
  guardRun([&] { app().registerDrawing(proc, data); });
}

void FVAppUnregisterForPageViewDrawingImpl(FSCallback proc)
{
  guardRun([&] { app().unregisterDrawing(proc); });
}

// ---- documents ---------------------------------------------------------------------

// The file system argument names the one local file system; the path name
// says everything.
FVDoc FVDocOpenFromFileImpl(FSPathName pathName, FSFileSys, const char *title)
{
  return guardCall(FVDoc(nullptr), [&]() -> FVDoc {
    model::PathName *p = checkPathName(pathName);
    if (!p || p->path().empty())
      return nullptr;
    return toFVDoc(app().openDocumentReporting(p->path(), title ? title : ""));
  });
}

FSBool FVDocCloseImpl(FVDoc doc, FSBool noSave)
{
  return guardCall(FSBool(0), [&] {
    DocWindow *d = docOf(doc);
    return FSBool(d && app().closeDocument(d, noSave != 0) ? 1 : 0);
  });
}

PDDoc FVDocGetPDDocImpl(FVDoc doc)
{
  return guardCall(PDDoc(nullptr), [&] {
    DocWindow *d = docOf(doc);
    return d ? d->pdDoc() : nullptr;
  });
}

FVPageView FVDocGetPageViewImpl(FVDoc doc)
{
  return guardCall(FVPageView(nullptr), [&] {
    DocWindow *d = docOf(doc);
    return d ? toFVPageView(&d->pageView()) : nullptr;
  });
}

// ---- menus ---------------------------------------------------------------------------

FVMenu FVMenubarAcquireMenuByNameImpl(FVMenubar menubar, const char *name)
{
  return guardCall(FVMenu(nullptr), [&] {
    MenuBar *m = checkFVMenubar(gApp, menubar);
    return m && name ? toFVMenu(m->acquireMenuByName(name)) : nullptr;
  });
}

FVMenuItem FVMenubarAcquireMenuItemByNameImpl(FVMenubar menubar, const char *name)
{
  return guardCall(FVMenuItem(nullptr), [&] {
    MenuBar *m = checkFVMenubar(gApp, menubar);
    return m && name ? toFVMenuItem(m->acquireItemByName(name)) : nullptr;
  });
}

FVMenu FVMenuNewImpl(const char *title, const char *name, ExtensionID owner)
{
  return guardCall(FVMenu(nullptr),
                   [&] { return toFVMenu(Menu::create(title ? title : "", name ? name : "", owner)); });
}

void FVMenuReleaseImpl(FVMenu menu)
{
  guardRun([&] {
    if (Menu *m = checkFVMenu(menu))
      m->release();
  });
}

FSInt32 FVMenuGetMenuItemIndexImpl(FVMenu menu, FVMenuItem item)
{
  return guardCall(FSInt32(-1), [&] {
    Menu *m = checkFVMenu(menu);
    MenuItem *i = checkFVMenuItem(item);
    return m && i ? FSInt32(m->indexOf(i)) : FSInt32(-1);
  });
}

void FVMenuAddMenuItemImpl(FVMenu menu, FVMenuItem item, FSInt32 index)
{
  guardRun([&] {
    Menu *m = checkFVMenu(menu);
    MenuItem *i = checkFVMenuItem(item);
    if (m && i)
      m->insert(i, index);
  });
}

// A null submenu is allowed (an item without one); a non-null one is checked.
FVMenuItem FVMenuItemNewImpl(const char *title, const char *name, FVMenu submenu, FSBool longMenusOnly,
                             char shortcut, FSInt16 flags, FVIcon icon, ExtensionID owner)
{
  return guardCall(FVMenuItem(nullptr), [&] {
    return toFVMenuItem(MenuItem::create(title ? title : "", name ? name : "", checkFVMenu(submenu),
                                         longMenusOnly != 0, shortcut, flags, icon, owner));
  });
}

FVMenuItem FVMenuItemAcquireImpl(FVMenuItem item)
{
  return guardCall(FVMenuItem(nullptr), [&] {
    MenuItem *i = checkFVMenuItem(item);
    return i ? toFVMenuItem(i->acquire()) : nullptr;
  });
}

void FVMenuItemReleaseImpl(FVMenuItem item)
{
  guardRun([&] {
    if (MenuItem *i = checkFVMenuItem(item))
      i->release();
  });
}

void FVMenuItemRemoveImpl(FVMenuItem item)
{
  guardRun([&] {
    if (MenuItem *i = checkFVMenuItem(item))
      i->removeFromMenu();
  });
}

void FVMenuItemSetExecuteProcImpl(FVMenuItem item, FSCallback proc, void *data)
{
  guardRun([&] {
    if (MenuItem *i = checkFVMenuItem(item))
      i->setExecuteProc(proc, data);
  });
}

void FVMenuItemSetComputeEnabledProcImpl(FVMenuItem item, FSCallback proc, void *data)
{
  guardRun([&] {
    if (MenuItem *i = checkFVMenuItem(item))
      i->setComputeEnabledProc(proc, data);
  });
}

void FVMenuItemSetComputeMarkedProcImpl(FVMenuItem item, FSCallback proc, void *data)
{
  guardRun([&] {
    if (MenuItem *i = checkFVMenuItem(item))
      i->setComputeMarkedProc(proc, data);
  });
}

// As the user chooses it: only an enabled item runs.
void FVMenuItemExecuteImpl(FVMenuItem item)
{
  guardRun([&] {
    if (MenuItem *i = checkFVMenuItem(item))
      i->runAsUser();
  });
}

// ---- page views ----------------------------------------------------------------------

PDPage FVPageViewGetPageImpl(FVPageView pageView)
{
  return guardCall(PDPage(nullptr), [&] {
    PageView *v = viewOf(pageView);
    return v ? v->pdPage() : nullptr;
  });
}

FSInt32 FVPageViewGetPageNumImpl(FVPageView pageView)
{
  return guardCall(FSInt32(-1), [&] {
    PageView *v = viewOf(pageView);
    return v ? FSInt32(v->pageNumber()) : FSInt32(-1);
  });
}

// An unknown view gives all zero; a failure leaves the colour as it was.
void FVPageViewGetColorImpl(FVPageView pageView, PDColorValue color)
{
  guardRun([&] {
    if (!color)
      return;
    if (PageView *v = viewOf(pageView))
      *color = v->color();
    else
      std::memset(color, 0, sizeof *color);
  });
}

void FVPageViewSetColorImpl(FVPageView pageView, PDColorValue color)
{
  guardRun([&] {
    PageView *v = viewOf(pageView);
    if (v && color)
      v->setColor(*color);
  });
}

// A null area marks the whole view.
void FVPageViewInvalidateRectImpl(FVPageView pageView, FVRect *area)
{
  guardRun([&] {
    PageView *v = viewOf(pageView);
    if (v && area)
      v->invalidate(*area);
    else if (v)
      v->invalidateAll();
  });
}

void FVPageViewDrawNowImpl(FVPageView pageView)
{
  guardRun([&] {
    if (PageView *v = viewOf(pageView))
      v->drawNow();
  });
}

void FVPageViewDrawRectOutlineImpl(FVPageView pageView, FVRect *rect, FSInt16 lineWidth, Fixed *dashArray,
                                   FSInt32 arrayLen)
{
  guardRun([&] {
    PageView *v = viewOf(pageView);
    if (v && rect)
      v->drawRectOutline(*rect, lineWidth, dashArray, dashArray ? arrayLen : 0);
  });
}

void FVPageViewDragOutNewRectImpl(FVPageView pageView, FSInt16 xStart, FSInt16 yStart, FVRect *resultRect)
{
  const FVRect atPress{xStart, yStart, xStart, yStart};
  guardOut(resultRect, atPress, [&] {
    PageView *v = viewOf(pageView);
    return v ? app().dragOutNewRect(*v, xStart, yStart) : atPress;
  });
}

void FVPageViewDragRectImpl(FVPageView pageView, FSInt16 xStart, FSInt16 yStart, FVRect *startRect,
                            FVRect *resultRect, FSInt16 dragType, FVRect *extrema)
{
  // The documented failure is the start rectangle, all zero when none was
  // given; an unknown view leaves the rectangle where it started (at the press
  // point when none was given).
  guardOut(resultRect, startRect ? *startRect : kZeroRect, [&] {
    FVRect start = startRect ? *startRect : FVRect{xStart, yStart, xStart, yStart};
    PageView *v = viewOf(pageView);
    return v ? app().dragRect(*v, xStart, yStart, start, dragType, extrema) : start;
  });
}

void FVPageViewRectToDeviceImpl(FVPageView pageView, FixedRect *src, FVRect *dst)
{
  guardOut(dst, kZeroRect, [&] {
    PageView *v = viewOf(pageView);
    return v && src ? v->rectToDevice(*src) : kZeroRect;
  });
}

void FVPageViewDeviceRectToPageImpl(FVPageView pageView, FVRect *src, FixedRect *dst)
{
  guardOut(dst, kZeroFixedRect, [&] {
    PageView *v = viewOf(pageView);
    return v && src ? v->deviceRectToPage(*src) : kZeroFixedRect;
  });
}

// ---- system ------------------------------------------------------------------------------

FSInt32 FVSysGetModifiersImpl()
{
  return guardCall(FSInt32(0), [] { return FSInt32(app().modifiers()); });
}

FVCursor FVSysGetStandardCursorImpl(FSInt32 cursorID)
{
  return guardCall(FVCursor(nullptr), [&] { return app().standardCursor(cursorID); });
}

void FVSysSetCursorImpl(FVCursor cursor)
{
  guardRun([&] { app().setCursor(cursor); });
}

// ---- tool bar ------------------------------------------------------------------------------

FVToolButton FVToolBarGetButtonByNameImpl(FVToolBar toolBar, FSAtom buttonName)
{
  return guardCall(FVToolButton(nullptr), [&] {
    ToolBar *t = checkFVToolBar(gApp, toolBar);
    return t ? toFVToolButton(t->buttonByName(buttonName)) : nullptr;
  });
}

// A null otherButton is allowed (the tool bar's own place); a non-null one is
// checked.
void FVToolBarAddButtonImpl(FVToolBar toolBar, FVToolButton button, FSBool before, FVToolButton otherButton)
{
  guardRun([&] {
    ToolBar *t = checkFVToolBar(gApp, toolBar);
    ToolButton *b = checkFVToolButton(button);
    if (t && b)
      t->addButton(b, before != 0, checkFVToolButton(otherButton));
  });
}

FSBool FVToolBarIsRoomForImpl(FVToolBar toolBar, FSUns16 nButtons, FSUns16 nSeparators)
{
  return guardCall(FSBool(0), [&] {
    ToolBar *t = checkFVToolBar(gApp, toolBar);
    return FSBool(t && t->isRoomFor(nButtons, nSeparators) ? 1 : 0);
  });
}

FVToolButton FVToolButtonNewImpl(FSAtom name, FVIcon icon, FSBool isSeparator, FSBool noFlyout)
{
  return guardCall(FVToolButton(nullptr), [&] {
    return toFVToolButton(ToolButton::create(name, icon, isSeparator != 0, noFlyout != 0));
  });
}

void FVToolButtonSetExecuteProcImpl(FVToolButton button, FSCallback proc, void *data)
{
  guardRun([&] {
    if (ToolButton *b = checkFVToolButton(button))
      b->setExecuteProc(proc, data);
  });
}

void FVToolButtonSetComputeEnabledProcImpl(FVToolButton button, FSCallback proc, void *data)
{
  guardRun([&] {
    if (ToolButton *b = checkFVToolButton(button))
      b->setComputeEnabledProc(proc, data);
  });
}

void FVToolButtonSetComputeMarkedProcImpl(FVToolButton button, FSCallback proc, void *data)
{
  guardRun([&] {
    if (ToolButton *b = checkFVToolButton(button))
      b->setComputeMarkedProc(proc, data);
  });
}

void FVToolButtonSetHelpTextImpl(FVToolButton button, const char *text)
{
  guardRun([&] {
    if (ToolButton *b = checkFVToolButton(button))
      b->setHelpText(text ? text : "");
  });
}

} // namespace

std::vector<HFTEntry> makeFolioViewTable(view::Application &application)
{
  gApp = &application;
  TableBuilder table(FolioViewNUMSELECTORS);
  FOLIO_TABLE_ENTRY(table, FVAlert);
  FOLIO_TABLE_ENTRY(table, FVAlertNote);
  FOLIO_TABLE_ENTRY(table, FVAlertConfirm);
  FOLIO_TABLE_ENTRY(table, FVAppGetCancelProc);
  FOLIO_TABLE_ENTRY(table, FVAppGetActiveDoc);
  FOLIO_TABLE_ENTRY(table, FVAppGetDocProgressMonitor);
  FOLIO_TABLE_ENTRY(table, FVAppGetMenubar);
  FOLIO_TABLE_ENTRY(table, FVAppGetToolBar);
  FOLIO_TABLE_ENTRY(table, FVAppGetActiveTool);
  FOLIO_TABLE_ENTRY(table, FVAppSetActiveTool);
  FOLIO_TABLE_ENTRY(table, FVAppRegisterTool);
  FOLIO_TABLE_ENTRY(table, FVDocOpenFromFile);
  FOLIO_TABLE_ENTRY(table, FVDocClose);
  FOLIO_TABLE_ENTRY(table, FVDocGetPDDoc);
  FOLIO_TABLE_ENTRY(table, FVDocGetPageView);
  FOLIO_TABLE_ENTRY(table, FVMenubarAcquireMenuByName);
  FOLIO_TABLE_ENTRY(table, FVMenubarAcquireMenuItemByName);
  FOLIO_TABLE_ENTRY(table, FVMenuNew);
  FOLIO_TABLE_ENTRY(table, FVMenuRelease);
  FOLIO_TABLE_ENTRY(table, FVMenuGetMenuItemIndex);
  FOLIO_TABLE_ENTRY(table, FVMenuAddMenuItem);
  FOLIO_TABLE_ENTRY(table, FVMenuItemNew);
  FOLIO_TABLE_ENTRY(table, FVMenuItemAcquire);
  FOLIO_TABLE_ENTRY(table, FVMenuItemRelease);
  FOLIO_TABLE_ENTRY(table, FVMenuItemRemove);
  FOLIO_TABLE_ENTRY(table, FVMenuItemSetExecuteProc);
  FOLIO_TABLE_ENTRY(table, FVMenuItemSetComputeEnabledProc);
  FOLIO_TABLE_ENTRY(table, FVMenuItemSetComputeMarkedProc);
  FOLIO_TABLE_ENTRY(table, FVMenuItemExecute);
  FOLIO_TABLE_ENTRY(table, FVPageViewGetPage);
  FOLIO_TABLE_ENTRY(table, FVPageViewGetPageNum);
  FOLIO_TABLE_ENTRY(table, FVPageViewGetColor);
  FOLIO_TABLE_ENTRY(table, FVPageViewSetColor);
  FOLIO_TABLE_ENTRY(table, FVPageViewInvalidateRect);
  FOLIO_TABLE_ENTRY(table, FVPageViewDrawNow);
  FOLIO_TABLE_ENTRY(table, FVPageViewDrawRectOutline);
  FOLIO_TABLE_ENTRY(table, FVPageViewDragOutNewRect);
  FOLIO_TABLE_ENTRY(table, FVPageViewDragRect);
  FOLIO_TABLE_ENTRY(table, FVAppRegisterForPageViewDrawing);
  FOLIO_TABLE_ENTRY(table, FVAppUnregisterForPageViewDrawing);
  FOLIO_TABLE_ENTRY(table, FVPageViewRectToDevice);
  FOLIO_TABLE_ENTRY(table, FVPageViewDeviceRectToPage);
  FOLIO_TABLE_ENTRY(table, FVSysGetModifiers);
  FOLIO_TABLE_ENTRY(table, FVSysGetStandardCursor);
  FOLIO_TABLE_ENTRY(table, FVSysSetCursor);
  FOLIO_TABLE_ENTRY(table, FVToolBarGetButtonByName);
  FOLIO_TABLE_ENTRY(table, FVToolBarAddButton);
  FOLIO_TABLE_ENTRY(table, FVToolBarIsRoomFor);
  FOLIO_TABLE_ENTRY(table, FVToolButtonNew);
  FOLIO_TABLE_ENTRY(table, FVToolButtonSetExecuteProc);
  FOLIO_TABLE_ENTRY(table, FVToolButtonSetComputeEnabledProc);
  FOLIO_TABLE_ENTRY(table, FVToolButtonSetComputeMarkedProc);
  FOLIO_TABLE_ENTRY(table, FVToolButtonSetHelpText);
  return table.take();
}

} // namespace folio::tables
