// FolioViewTable.cpp: the "FolioView" table: one thin adapter per entry into
// the view layer. Each catches everything and answers the failure result.
#include "tables/FolioViewTable.h"

#include "folio/FolioViewHFT.h"

#include <cstring>

#include "model/ModelHandles.h"
#include "view/Application.h"
#include "view/ViewHandles.h"

using namespace folio::view;

namespace {

Application *gApp = nullptr;

// The page view behind a handle, only when it belongs to an open document.
PageView *viewOf(FVPageView handle)
{
  if (!gApp || !handle)
    return nullptr;
  for (const auto &doc : gApp->documents()) {
    if (&doc->pageView() == fromFVPageView(handle))
      return &doc->pageView();
  }
  return nullptr;
}

DocWindow *docOf(FVDoc handle)
{
  return gApp && handle ? gApp->findDocument(fromFVDoc(handle)) : nullptr;
}

const FVRect kZeroRect{0, 0, 0, 0};
const FixedRect kZeroFixedRect{0, 0, 0, 0};

// ---- alerts ------------------------------------------------------------------

FSInt32 FVAlertImpl(FSInt32 iconType, const char *msg, const char *button1, const char *button2,
                    const char *button3, FSBool beep)
{
  try {
    Question q;
    q.iconType = iconType;
    q.message = msg ? msg : "";
    q.buttons.push_back(button1 ? button1 : "OK");
    if (button2) {
      q.buttons.push_back(button2);
      if (button3)
        q.buttons.push_back(button3);
    }
    q.beep = beep != 0;
    int answer = gApp->ask(q);
    return answer >= 1 && answer <= static_cast<int>(q.buttons.size()) ? answer : 0;
  } catch (...) {
    return 0;
  }
}

void FVAlertNoteImpl(const char *msg)
{
  try {
    gApp->note(msg ? msg : "");
  } catch (...) {
  }
}

FSBool FVAlertConfirmImpl(const char *msg)
{
  try {
    return gApp->confirm(msg ? msg : "") ? 1 : 0;
  } catch (...) {
    return 0;
  }
}

// ---- application ------------------------------------------------------------------

CancelProc FVAppGetCancelProcImpl(void **clientData)
{
  try {
    return gApp->cancelProc(clientData);
  } catch (...) {
    return nullptr;
  }
}

FVDoc FVAppGetActiveDocImpl()
{
  try {
    return toFVDoc(gApp->activeDocument());
  } catch (...) {
    return nullptr;
  }
}

ProgressMonitor FVAppGetDocProgressMonitorImpl(void **clientData)
{
  try {
    return gApp->progressMonitor(clientData);
  } catch (...) {
    return nullptr;
  }
}

FVMenubar FVAppGetMenubarImpl()
{
  try {
    return toFVMenubar(&gApp->menuBar());
  } catch (...) {
    return nullptr;
  }
}

FVToolBar FVAppGetToolBarImpl()
{
  try {
    return toFVToolBar(&gApp->toolBar());
  } catch (...) {
    return nullptr;
  }
}

FVTool FVAppGetActiveToolImpl()
{
  try {
    return gApp->activeTool();
  } catch (...) {
    return nullptr;
  }
}

void FVAppSetActiveToolImpl(FVTool tool, FSBool persistent)
{
  try {
    gApp->setActiveTool(tool, persistent != 0);
  } catch (...) {
  }
}

void FVAppRegisterToolImpl(FVTool tool)
{
  try {
    gApp->registerTool(tool);
  } catch (...) {
  }
}

void FVAppRegisterForPageViewDrawingImpl(FSCallback proc, void *data)
{
  try {
    gApp->registerDrawing(proc, data);
  } catch (...) {
  }
}

void FVAppUnregisterForPageViewDrawingImpl(FSCallback proc)
{
  try {
    gApp->unregisterDrawing(proc);
  } catch (...) {
  }
}

// ---- documents ---------------------------------------------------------------------

FVDoc FVDocOpenFromFileImpl(FSPathName pathName, FSFileSys, const char *title)
{
  try {
    if (!pathName)
      return nullptr;
    std::string path = folio::model::pathNameString(pathName);
    if (path.empty())
      return nullptr;
    return toFVDoc(gApp->openDocumentReporting(path, title ? title : ""));
  } catch (...) {
    return nullptr;
  }
}

FSBool FVDocCloseImpl(FVDoc doc, FSBool noSave)
{
  try {
    DocWindow *d = docOf(doc);
    return d && gApp->closeDocument(d, noSave != 0) ? 1 : 0;
  } catch (...) {
    return 0;
  }
}

PDDoc FVDocGetPDDocImpl(FVDoc doc)
{
  try {
    DocWindow *d = docOf(doc);
    return d ? d->pdDoc() : nullptr;
  } catch (...) {
    return nullptr;
  }
}

FVPageView FVDocGetPageViewImpl(FVDoc doc)
{
  try {
    DocWindow *d = docOf(doc);
    return d ? toFVPageView(&d->pageView()) : nullptr;
  } catch (...) {
    return nullptr;
  }
}

// ---- menus ---------------------------------------------------------------------------

FVMenu FVMenubarAcquireMenuByNameImpl(FVMenubar menubar, const char *name)
{
  try {
    if (!menubar || !name)
      return nullptr;
    return toFVMenu(fromFVMenubar(menubar)->acquireMenuByName(name));
  } catch (...) {
    return nullptr;
  }
}

FVMenuItem FVMenubarAcquireMenuItemByNameImpl(FVMenubar menubar, const char *name)
{
  try {
    if (!menubar || !name)
      return nullptr;
    return toFVMenuItem(fromFVMenubar(menubar)->acquireItemByName(name));
  } catch (...) {
    return nullptr;
  }
}

FVMenu FVMenuNewImpl(const char *title, const char *name, ExtensionID owner)
{
  try {
    return toFVMenu(Menu::create(title ? title : "", name ? name : "", owner));
  } catch (...) {
    return nullptr;
  }
}

void FVMenuReleaseImpl(FVMenu menu)
{
  try {
    if (menu)
      fromFVMenu(menu)->release();
  } catch (...) {
  }
}

FSInt32 FVMenuGetMenuItemIndexImpl(FVMenu menu, FVMenuItem item)
{
  try {
    if (!menu || !item)
      return -1;
    return fromFVMenu(menu)->indexOf(fromFVMenuItem(item));
  } catch (...) {
    return -1;
  }
}

void FVMenuAddMenuItemImpl(FVMenu menu, FVMenuItem item, FSInt32 index)
{
  try {
    if (menu && item)
      fromFVMenu(menu)->insert(fromFVMenuItem(item), index);
  } catch (...) {
  }
}

FVMenuItem FVMenuItemNewImpl(const char *title, const char *name, FVMenu submenu, FSBool longMenusOnly,
                             char shortcut, FSInt16 flags, FVIcon icon, ExtensionID owner)
{
  try {
    return toFVMenuItem(MenuItem::create(title ? title : "", name ? name : "", fromFVMenu(submenu),
                                         longMenusOnly != 0, shortcut, flags, icon, owner));
  } catch (...) {
    return nullptr;
  }
}

FVMenuItem FVMenuItemAcquireImpl(FVMenuItem item)
{
  try {
    return item ? toFVMenuItem(fromFVMenuItem(item)->acquire()) : nullptr;
  } catch (...) {
    return nullptr;
  }
}

void FVMenuItemReleaseImpl(FVMenuItem item)
{
  try {
    if (item)
      fromFVMenuItem(item)->release();
  } catch (...) {
  }
}

void FVMenuItemRemoveImpl(FVMenuItem item)
{
  try {
    if (item)
      fromFVMenuItem(item)->removeFromMenu();
  } catch (...) {
  }
}

void FVMenuItemSetExecuteProcImpl(FVMenuItem item, FSCallback proc, void *data)
{
  try {
    if (item)
      fromFVMenuItem(item)->setExecuteProc(proc, data);
  } catch (...) {
  }
}

void FVMenuItemSetComputeEnabledProcImpl(FVMenuItem item, FSCallback proc, void *data)
{
  try {
    if (item)
      fromFVMenuItem(item)->setComputeEnabledProc(proc, data);
  } catch (...) {
  }
}

void FVMenuItemSetComputeMarkedProcImpl(FVMenuItem item, FSCallback proc, void *data)
{
  try {
    if (item)
      fromFVMenuItem(item)->setComputeMarkedProc(proc, data);
  } catch (...) {
  }
}

// As the user chooses it: only an enabled item runs.
void FVMenuItemExecuteImpl(FVMenuItem item)
{
  try {
    if (item)
      fromFVMenuItem(item)->runAsUser();
  } catch (...) {
  }
}

// ---- page views ----------------------------------------------------------------------

PDPage FVPageViewGetPageImpl(FVPageView pageView)
{
  try {
    PageView *v = viewOf(pageView);
    return v ? v->pdPage() : nullptr;
  } catch (...) {
    return nullptr;
  }
}

FSInt32 FVPageViewGetPageNumImpl(FVPageView pageView)
{
  try {
    PageView *v = viewOf(pageView);
    return v ? v->pageNumber() : -1;
  } catch (...) {
    return -1;
  }
}

void FVPageViewGetColorImpl(FVPageView pageView, PDColorValue color)
{
  try {
    if (!color)
      return;
    PageView *v = viewOf(pageView);
    if (v)
      *color = v->color();
    else
      std::memset(color, 0, sizeof *color);
  } catch (...) {
  }
}

void FVPageViewSetColorImpl(FVPageView pageView, PDColorValue color)
{
  try {
    PageView *v = viewOf(pageView);
    if (v && color)
      v->setColor(*color);
  } catch (...) {
  }
}

void FVPageViewInvalidateRectImpl(FVPageView pageView, FVRect *area)
{
  try {
    PageView *v = viewOf(pageView);
    if (!v)
      return;
    if (area)
      v->invalidate(*area);
    else
      v->invalidateAll();
  } catch (...) {
  }
}

void FVPageViewDrawNowImpl(FVPageView pageView)
{
  try {
    if (PageView *v = viewOf(pageView))
      v->drawNow();
  } catch (...) {
  }
}

void FVPageViewDrawRectOutlineImpl(FVPageView pageView, FVRect *rect, FSInt16 lineWidth, Fixed *dashArray,
                                   FSInt32 arrayLen)
{
  try {
    PageView *v = viewOf(pageView);
    if (v && rect)
      v->drawRectOutline(*rect, lineWidth, dashArray, dashArray ? arrayLen : 0);
  } catch (...) {
  }
}

void FVPageViewDragOutNewRectImpl(FVPageView pageView, FSInt16 xStart, FSInt16 yStart, FVRect *resultRect)
{
  try {
    if (!resultRect)
      return;
    PageView *v = viewOf(pageView);
    *resultRect = v ? gApp->dragOutNewRect(*v, xStart, yStart) : FVRect{xStart, yStart, xStart, yStart};
  } catch (...) {
    if (resultRect)
      *resultRect = FVRect{xStart, yStart, xStart, yStart};
  }
}

void FVPageViewDragRectImpl(FVPageView pageView, FSInt16 xStart, FSInt16 yStart, FVRect *startRect,
                            FVRect *resultRect, FSInt16 dragType, FVRect *extrema)
{
  try {
    if (!resultRect)
      return;
    FVRect start = startRect ? *startRect : FVRect{xStart, yStart, xStart, yStart};
    PageView *v = viewOf(pageView);
    *resultRect = v ? gApp->dragRect(*v, xStart, yStart, start, dragType, extrema) : start;
  } catch (...) {
    if (resultRect)
      *resultRect = startRect ? *startRect : kZeroRect;
  }
}

void FVPageViewRectToDeviceImpl(FVPageView pageView, FixedRect *src, FVRect *dst)
{
  try {
    if (!dst)
      return;
    PageView *v = viewOf(pageView);
    *dst = v && src ? v->rectToDevice(*src) : kZeroRect;
  } catch (...) {
    if (dst)
      *dst = kZeroRect;
  }
}

void FVPageViewDeviceRectToPageImpl(FVPageView pageView, FVRect *src, FixedRect *dst)
{
  try {
    if (!dst)
      return;
    PageView *v = viewOf(pageView);
    *dst = v && src ? v->deviceRectToPage(*src) : kZeroFixedRect;
  } catch (...) {
    if (dst)
      *dst = kZeroFixedRect;
  }
}

// ---- system ------------------------------------------------------------------------------

FSInt32 FVSysGetModifiersImpl()
{
  try {
    return gApp->modifiers();
  } catch (...) {
    return 0;
  }
}

FVCursor FVSysGetStandardCursorImpl(FSInt32 cursorID)
{
  try {
    return gApp->standardCursor(cursorID);
  } catch (...) {
    return nullptr;
  }
}

void FVSysSetCursorImpl(FVCursor cursor)
{
  try {
    gApp->setCursor(cursor);
  } catch (...) {
  }
}

// ---- tool bar ------------------------------------------------------------------------------

FVToolButton FVToolBarGetButtonByNameImpl(FVToolBar toolBar, FSAtom buttonName)
{
  try {
    return toolBar ? toFVToolButton(fromFVToolBar(toolBar)->buttonByName(buttonName)) : nullptr;
  } catch (...) {
    return nullptr;
  }
}

void FVToolBarAddButtonImpl(FVToolBar toolBar, FVToolButton button, FSBool before, FVToolButton otherButton)
{
  try {
    if (toolBar && button)
      fromFVToolBar(toolBar)->addButton(fromFVToolButton(button), before != 0, fromFVToolButton(otherButton));
  } catch (...) {
  }
}

FSBool FVToolBarIsRoomForImpl(FVToolBar toolBar, FSUns16 nButtons, FSUns16 nSeparators)
{
  try {
    return toolBar && fromFVToolBar(toolBar)->isRoomFor(nButtons, nSeparators) ? 1 : 0;
  } catch (...) {
    return 0;
  }
}

FVToolButton FVToolButtonNewImpl(FSAtom name, FVIcon icon, FSBool isSeparator, FSBool noFlyout)
{
  try {
    return toFVToolButton(ToolButton::create(name, icon, isSeparator != 0, noFlyout != 0));
  } catch (...) {
    return nullptr;
  }
}

void FVToolButtonSetExecuteProcImpl(FVToolButton button, FSCallback proc, void *data)
{
  try {
    if (button)
      fromFVToolButton(button)->setExecuteProc(proc, data);
  } catch (...) {
  }
}

void FVToolButtonSetComputeEnabledProcImpl(FVToolButton button, FSCallback proc, void *data)
{
  try {
    if (button)
      fromFVToolButton(button)->setComputeEnabledProc(proc, data);
  } catch (...) {
  }
}

void FVToolButtonSetComputeMarkedProcImpl(FVToolButton button, FSCallback proc, void *data)
{
  try {
    if (button)
      fromFVToolButton(button)->setComputeMarkedProc(proc, data);
  } catch (...) {
  }
}

void FVToolButtonSetHelpTextImpl(FVToolButton button, const char *text)
{
  try {
    if (button)
      fromFVToolButton(button)->setHelpText(text ? text : "");
  } catch (...) {
  }
}

// Checks each adapter against the entry's prototype, then stores it.
#define ENTRY(op) table[op##SEL] = reinterpret_cast<FSProc>(static_cast<op##SELPROTO>(&op##Impl))

} // namespace

namespace folio::tables {

std::vector<FSProc> buildFolioViewTable(view::Application &app)
{
  gApp = &app;
  std::vector<FSProc> table(FolioViewNUMSELECTORS, nullptr);
  ENTRY(FVAlert);
  ENTRY(FVAlertNote);
  ENTRY(FVAlertConfirm);
  ENTRY(FVAppGetCancelProc);
  ENTRY(FVAppGetActiveDoc);
  ENTRY(FVAppGetDocProgressMonitor);
  ENTRY(FVAppGetMenubar);
  ENTRY(FVAppGetToolBar);
  ENTRY(FVAppGetActiveTool);
  ENTRY(FVAppSetActiveTool);
  ENTRY(FVAppRegisterTool);
  ENTRY(FVDocOpenFromFile);
  ENTRY(FVDocClose);
  ENTRY(FVDocGetPDDoc);
  ENTRY(FVDocGetPageView);
  ENTRY(FVMenubarAcquireMenuByName);
  ENTRY(FVMenubarAcquireMenuItemByName);
  ENTRY(FVMenuNew);
  ENTRY(FVMenuRelease);
  ENTRY(FVMenuGetMenuItemIndex);
  ENTRY(FVMenuAddMenuItem);
  ENTRY(FVMenuItemNew);
  ENTRY(FVMenuItemAcquire);
  ENTRY(FVMenuItemRelease);
  ENTRY(FVMenuItemRemove);
  ENTRY(FVMenuItemSetExecuteProc);
  ENTRY(FVMenuItemSetComputeEnabledProc);
  ENTRY(FVMenuItemSetComputeMarkedProc);
  ENTRY(FVMenuItemExecute);
  ENTRY(FVPageViewGetPage);
  ENTRY(FVPageViewGetPageNum);
  ENTRY(FVPageViewGetColor);
  ENTRY(FVPageViewSetColor);
  ENTRY(FVPageViewInvalidateRect);
  ENTRY(FVPageViewDrawNow);
  ENTRY(FVPageViewDrawRectOutline);
  ENTRY(FVPageViewDragOutNewRect);
  ENTRY(FVPageViewDragRect);
  ENTRY(FVAppRegisterForPageViewDrawing);
  ENTRY(FVAppUnregisterForPageViewDrawing);
  ENTRY(FVPageViewRectToDevice);
  ENTRY(FVPageViewDeviceRectToPage);
  ENTRY(FVSysGetModifiers);
  ENTRY(FVSysGetStandardCursor);
  ENTRY(FVSysSetCursor);
  ENTRY(FVToolBarGetButtonByName);
  ENTRY(FVToolBarAddButton);
  ENTRY(FVToolBarIsRoomFor);
  ENTRY(FVToolButtonNew);
  ENTRY(FVToolButtonSetExecuteProc);
  ENTRY(FVToolButtonSetComputeEnabledProc);
  ENTRY(FVToolButtonSetComputeMarkedProc);
  ENTRY(FVToolButtonSetHelpText);
  return table;
}

} // namespace folio::tables
