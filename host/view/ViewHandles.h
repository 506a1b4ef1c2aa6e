// ViewHandles.h: conversions between the view layer's objects and the opaque
// handles of the C interface (FVDoc, FVPageView, FVMenubar, FVMenu,
// FVMenuItem, FVToolBar, FVToolButton).
//
// A handle is the object's address, cast; the interface's struct _t_FV...
// types are never defined and nobody dereferences a handle. A handle is valid
// as long as its object (see each class for its lifetime). Null maps to null.
#pragma once

#include "folio/FolioTypes.h"
#include "view/Application.h"

namespace folio::view {

inline FVDoc toFVDoc(DocWindow *d)
{
  return reinterpret_cast<FVDoc>(d);
}
inline DocWindow *fromFVDoc(FVDoc d)
{
  return reinterpret_cast<DocWindow *>(d);
}
inline FVPageView toFVPageView(PageView *v)
{
  return reinterpret_cast<FVPageView>(v);
}
inline PageView *fromFVPageView(FVPageView v)
{
  return reinterpret_cast<PageView *>(v);
}
inline FVMenubar toFVMenubar(MenuBar *m)
{
  return reinterpret_cast<FVMenubar>(m);
}
inline MenuBar *fromFVMenubar(FVMenubar m)
{
  return reinterpret_cast<MenuBar *>(m);
}
inline FVMenu toFVMenu(Menu *m)
{
  return reinterpret_cast<FVMenu>(m);
}
inline Menu *fromFVMenu(FVMenu m)
{
  return reinterpret_cast<Menu *>(m);
}
inline FVMenuItem toFVMenuItem(MenuItem *i)
{
  return reinterpret_cast<FVMenuItem>(i);
}
inline MenuItem *fromFVMenuItem(FVMenuItem i)
{
  return reinterpret_cast<MenuItem *>(i);
}
inline FVToolBar toFVToolBar(ToolBar *t)
{
  return reinterpret_cast<FVToolBar>(t);
}
inline ToolBar *fromFVToolBar(FVToolBar t)
{
  return reinterpret_cast<ToolBar *>(t);
}
inline FVToolButton toFVToolButton(ToolButton *b)
{
  return reinterpret_cast<FVToolButton>(b);
}
inline ToolButton *fromFVToolButton(FVToolButton b)
{
  return reinterpret_cast<ToolButton *>(b);
}

} // namespace folio::view
