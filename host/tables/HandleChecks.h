// HandleChecks.h: the one check per handle kind that every table entry runs
// on the handles it is given, before it uses one.
//
// A handle comes from an extension, which may hand back null, a handle whose
// object is gone (a closed document's page) or an address that was never a
// handle. Each check answers the object behind the handle, or null when the
// handle is not a live object of its kind; the entry then answers its
// documented failure result. A check never dereferences a handle it has not
// found among the live objects.
//
//   PDDoc, PDPage, FSFile   the model's live documents, their pages and files
//   FSPathName              path names created and not yet released
//   FSFileSys               the one local file system
//   FVDoc, FVPageView       the application's open documents and their views
//   FVMenubar, FVToolBar    the application's one menu bar and tool bar
//   FVMenu, FVMenuItem,     the menus, items and tool buttons alive now
//   FVToolButton            (made and not yet freed, whoever holds them)
//
// Header only: each table file uses the checks of its own layer.
#pragma once

#include "model/Document.h"
#include "model/FileSys.h"
#include "model/ModelHandles.h"
#include "view/Application.h"
#include "view/ViewHandles.h"

namespace folio::tables {

// ---- model handles ----------------------------------------------------------

inline model::Document *checkDoc(PDDoc doc)
{
  return model::Document::liveDocument(doc);
}

inline model::Page *checkPage(PDPage page)
{
  return model::Document::livePage(page);
}

inline model::File *checkFile(FSFile file)
{
  return model::Document::liveFile(file);
}

inline model::PathName *checkPathName(FSPathName pathName)
{
  return model::PathName::live(pathName);
}

inline model::FileSys *checkFileSys(FSFileSys fileSys)
{
  return model::FileSys::live(fileSys);
}

// ---- view handles (against the application the table serves) ---------------

// The document window behind the handle, only while it is open in `app`.
inline view::DocWindow *checkFVDoc(view::Application *app, FVDoc doc)
{
  return app && doc ? app->findDocument(view::fromFVDoc(doc)) : nullptr;
}

// The page view behind the handle, only when it belongs to a document open in
// `app`.
inline view::PageView *checkFVPageView(view::Application *app, FVPageView pageView)
{
  if (!app || !pageView)
    return nullptr;
  for (const auto &doc : app->documents()) {
    if (view::toFVPageView(&doc->pageView()) == pageView)
      return &doc->pageView();
  }
  return nullptr;
}

inline view::MenuBar *checkFVMenubar(view::Application *app, FVMenubar menubar)
{
  return app && menubar && menubar == view::toFVMenubar(&app->menuBar()) ? &app->menuBar() : nullptr;
}

inline view::ToolBar *checkFVToolBar(view::Application *app, FVToolBar toolBar)
{
  return app && toolBar && toolBar == view::toFVToolBar(&app->toolBar()) ? &app->toolBar() : nullptr;
}

inline view::Menu *checkFVMenu(FVMenu menu)
{
  view::Menu *m = view::fromFVMenu(menu);
  return view::isLiveMenu(m) ? m : nullptr;
}

inline view::MenuItem *checkFVMenuItem(FVMenuItem item)
{
  view::MenuItem *i = view::fromFVMenuItem(item);
  return view::isLiveMenuItem(i) ? i : nullptr;
}

inline view::ToolButton *checkFVToolButton(FVToolButton button)
{
  view::ToolButton *b = view::fromFVToolButton(button);
  return view::ToolButton::isLive(b) ? b : nullptr;
}

} // namespace folio::tables
