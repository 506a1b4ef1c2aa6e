// TableHost.cpp: the application behind the table tests (host side).
#include "TableHost.h"

#include <memory>
#include <stdexcept>

#include "ViewTestSupport.h"
#include "core/Atoms.h"
#include "model/ModelHandles.h"
#include "tables/FolioViewTable.h"
#include "view/Application.h"
#include "view/ViewHandles.h"

using namespace folio::view;

namespace tablehost {

namespace {

struct ThrowingPorts : AlertPort, ProgressPort, CancelPort, DragPort, ModifierPort {
  [[noreturn]] static void fail() { throw std::runtime_error("the front end failed"); }
  int ask(const Question &) override { fail(); }
  void note(const std::string &) override { fail(); }
  bool confirm(const std::string &) override { fail(); }
  void begin() override { fail(); }
  void end() override { fail(); }
  void setDuration(FSInt32) override { fail(); }
  void setValue(FSInt32) override { fail(); }
  bool cancelRequested() override { fail(); }
  FVRect dragOutNewRect(PageView &, FSInt16, FSInt16) override { fail(); }
  FVRect dragRect(PageView &, FSInt16, FSInt16, const FVRect &, FSInt16, const FVRect *) override { fail(); }
  FSInt32 modifiers() override { fail(); }
};

std::unique_ptr<ThrowingPorts> gThrowing;
std::unique_ptr<viewtest::RecordingPorts> gPorts;
std::unique_ptr<Application> gApp;
std::vector<FSProc> gTable;
std::vector<folio::model::PathName *> gPathNames; // released at stop()
} // namespace

HFT start()
{
  gPorts = std::make_unique<viewtest::RecordingPorts>();
  gApp = std::make_unique<Application>();
  gApp->setPorts(gPorts->ports());
  gTable = folio::tables::makeFolioViewTable(*gApp);
  return gTable.data();
}

void useThrowingPorts()
{
  gThrowing = std::make_unique<ThrowingPorts>();
  Ports p = gApp->ports();
  p.alerts = gThrowing.get();
  p.progress = gThrowing.get();
  p.cancel = gThrowing.get();
  p.drag = gThrowing.get();
  p.modifiers = gThrowing.get();
  gApp->setPorts(p);
}

void stop()
{
  gApp.reset();
  gPorts.reset();
  gThrowing.reset();
  for (folio::model::PathName *p : gPathNames)
    folio::model::PathName::release(p);
  gPathNames.clear();
}

FVDoc openPage(double w, double h, int rotate)
{
  std::string path = viewtest::makePdf("t" + std::to_string(gApp->documents().size()) + ".pdf",
                                       {viewtest::page(0, 0, w, h, rotate)});
  return toFVDoc(&gApp->openDocument(path));
}

std::vector<std::string> &log()
{
  return gPorts->log;
}
void setAnswers(const std::vector<int> &answers)
{
  gPorts->answers = answers;
}
void setConfirm(bool answer)
{
  gPorts->confirmAnswer = answer;
}
void setDragResult(FVRect r)
{
  gPorts->dragResult = r;
}
void setModifiers(FSInt32 word)
{
  gPorts->modifierWord = word;
}

unsigned pixel(int x, int y)
{
  const uint8_t *p = gApp->activeDocument()->pageView().frame().pixel(x, y);
  return (unsigned(p[0]) << 16) | (unsigned(p[1]) << 8) | p[2];
}

std::vector<std::string> toolBarNames()
{
  std::vector<std::string> out;
  for (ToolButton *b : gApp->toolBar().buttons())
    out.push_back(b->nameString());
  return out;
}

std::vector<std::string> menuNames(const char *menuName)
{
  std::vector<std::string> out;
  if (Menu *m = gApp->menuBar().findMenu(menuName))
    for (MenuItem *i : m->items())
      out.push_back(i->name());
  return out;
}

int drawingCount()
{
  return static_cast<int>(gApp->drawingCount());
}

int itemRefCount(FVMenuItem item)
{
  return fromFVMenuItem(item)->refCount();
}

FSCallback callback(FSProc proc)
{
  return folio::callbackCreate(nullptr, proc);
}
FSAtom atom(const char *name)
{
  return folio::atomFromString(name);
}

FSPathName pathOfNewPdf(bool missing)
{
  std::string path = missing ? viewtest::tempPath("missing.pdf")
                             : viewtest::makePdf("opened.pdf", {viewtest::page(0, 0, 612, 792)});
  gPathNames.push_back(folio::model::PathName::create(path));
  return folio::model::toFSPathName(gPathNames.back());
}

std::string activeTitle()
{
  return gApp->activeDocument() ? gApp->activeDocument()->title() : "";
}

bool buttonEnabled(FVToolButton b)
{
  return fromFVToolButton(b)->isEnabled();
}
bool buttonMarked(FVToolButton b)
{
  return fromFVToolButton(b)->isMarked();
}
void pressButton(FVToolButton b)
{
  fromFVToolButton(b)->runAsUser();
}

} // namespace tablehost
