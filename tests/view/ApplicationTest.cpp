// The application: tools and their activation, the cancel test, the progress
// monitor, drawing-callback registration, documents.
#include <gtest/gtest.h>

#include "ViewTestSupport.h"
#include "core/Atoms.h"
#include "core/ExceptionFrames.h"
#include "model/Document.h"
#include "model/ModelHandles.h"
#include "model/Page.h"
#include "view/Application.h"
#include "view/ViewHandles.h"

using namespace folio::view;
using viewtest::callbackOf;
using viewtest::RecordingPorts;

namespace {

std::vector<std::string> gToolLog;

void ToolAActivate(FVTool, FSBool persistent)
{
  gToolLog.push_back("A activate " + std::to_string(persistent));
}
void ToolADeactivate(FVTool)
{
  gToolLog.push_back("A deactivate");
}
void ToolBActivate(FVTool, FSBool persistent)
{
  gToolLog.push_back("B activate " + std::to_string(persistent));
}
FSAtom ToolAType(FVTool)
{
  return folio::atomFromString("ToolA");
}
FSAtom ToolBType(FVTool)
{
  return folio::atomFromString("ToolB");
}
FSBool ToolAClick(FVTool, FVPageView, FSInt16 x, FSInt16 y, FSInt16 flags, FSInt16 clickNo)
{
  gToolLog.push_back("A click " + std::to_string(x) + " " + std::to_string(y) + " " + std::to_string(flags) +
                     " " + std::to_string(clickNo));
  return 1;
}

struct TestTools {
  FVToolRec a{};
  FVToolRec b{};
  TestTools()
  {
    gToolLog.clear();
    a.size = sizeof(FVToolRec);
    a.Activate = callbackOf(&ToolAActivate);
    a.Deactivate = callbackOf(&ToolADeactivate);
    a.GetType = callbackOf(&ToolAType);
    a.DoClick = callbackOf(&ToolAClick);
    b.size = sizeof(FVToolRec);
    b.Activate = callbackOf(&ToolBActivate);
    b.GetType = callbackOf(&ToolBType);
  }
};

} // namespace

TEST(ViewApp, HandToolIsActiveAtStart)
{
  Application app;
  EXPECT_EQ(app.activeTool(), app.handTool());
  EXPECT_EQ(app.toolType(app.handTool()), "Hand");
  EXPECT_EQ(app.toolType(app.articleTool()), "Thread");
  EXPECT_EQ(app.tools().size(), 2u);
}

TEST(ViewApp, SettingAToolDeactivatesThePreviousOne)
{
  Application app;
  TestTools t;
  app.registerTool(&t.a);
  app.registerTool(&t.b);
  app.setActiveTool(&t.a, true);
  app.setActiveTool(&t.b, false);
  EXPECT_EQ(app.activeTool(), &t.b);
  EXPECT_EQ(gToolLog, (std::vector<std::string>{"A activate 1", "A deactivate", "B activate 0"}));
}

TEST(ViewApp, SettingTheActiveToolAgainDeactivatesAndActivates)
{
  Application app;
  TestTools t;
  app.setActiveTool(&t.a, true);
  app.setActiveTool(&t.a, true);
  EXPECT_EQ(gToolLog, (std::vector<std::string>{"A activate 1", "A deactivate", "A activate 1"}));
}

TEST(ViewApp, ToolWithoutDeactivateIsSwitchedOffQuietly)
{
  Application app;
  TestTools t;
  app.setActiveTool(&t.b, true);
  app.setActiveTool(&t.a, true);
  EXPECT_EQ(gToolLog, (std::vector<std::string>{"B activate 1", "A activate 1"}));
}

TEST(ViewApp, NullToolSelectsTheHandTool)
{
  Application app;
  TestTools t;
  app.setActiveTool(&t.a, true);
  app.setActiveTool(nullptr, true);
  EXPECT_EQ(app.activeTool(), app.handTool());
  EXPECT_EQ(gToolLog.back(), "A deactivate");
}

TEST(ViewApp, ToolsAreFoundByType)
{
  Application app;
  TestTools t;
  app.registerTool(&t.a);
  app.registerTool(&t.a);
  EXPECT_EQ(app.tools().size(), 3u);
  EXPECT_EQ(app.toolByType("ToolA"), &t.a);
  EXPECT_EQ(app.toolByType("Hand"), app.handTool());
  EXPECT_EQ(app.toolByType("Nothing"), nullptr);
}

TEST(ViewApp, ShortToolRecordHidesSlotsPastItsSize)
{
  Application app;
  TestTools t;
  t.a.size = offsetof(FVToolRec, DoClick); // Activate and Deactivate only
  EXPECT_EQ(app.toolType(&t.a), "");
  app.setActiveTool(&t.a, true);
  EXPECT_EQ(gToolLog, (std::vector<std::string>{"A activate 1"}));
}

TEST(ViewApp, ActiveToolListenerHearsTheChange)
{
  struct L : ApplicationListener {
    FVTool last = nullptr;
    void activeToolChanged(FVTool t) override { last = t; }
  } listener;
  Application app;
  app.addListener(&listener);
  app.setActiveTool(app.articleTool(), true);
  EXPECT_EQ(listener.last, app.articleTool());
  app.removeListener(&listener);
}

TEST(ViewApp, CancelTestPollsThePort)
{
  Application app;
  RecordingPorts ports;
  app.setPorts(ports.ports());
  void *data = nullptr;
  CancelProc proc = app.cancelProc(&data);
  ASSERT_NE(proc, nullptr);
  EXPECT_EQ(data, &app);
  EXPECT_EQ(proc(data), 0);
  ports.cancelAnswer = true;
  EXPECT_EQ(proc(data), 1);
  EXPECT_EQ(ports.log, (std::vector<std::string>{"poll", "poll"}));
}

TEST(ViewApp, CancelTestWithoutPortNeverCancels)
{
  Application app;
  void *data = nullptr;
  CancelProc proc = app.cancelProc(&data);
  EXPECT_EQ(proc(data), 0);
}

TEST(ViewApp, ProgressMonitorIsAFullRecord)
{
  Application app;
  void *data = nullptr;
  ProgressMonitor mon = app.progressMonitor(&data);
  ASSERT_NE(mon, nullptr);
  EXPECT_EQ(data, &app);
  EXPECT_EQ(mon->size, sizeof(ProgressMonitorRec));
  EXPECT_NE(mon->beginOperation, nullptr);
  EXPECT_NE(mon->endOperation, nullptr);
  EXPECT_NE(mon->setDuration, nullptr);
  EXPECT_NE(mon->setCurrValue, nullptr);
  EXPECT_NE(mon->getDuration, nullptr);
  EXPECT_NE(mon->getCurrValue, nullptr);
}

TEST(ViewApp, ProgressMonitorForwardsToThePort)
{
  Application app;
  RecordingPorts ports;
  app.setPorts(ports.ports());
  void *data = nullptr;
  ProgressMonitor mon = app.progressMonitor(&data);
  mon->beginOperation(data);
  mon->setDuration(3, data);
  mon->setCurrValue(0, data);
  mon->setCurrValue(2, data);
  EXPECT_TRUE(app.progressActive());
  EXPECT_EQ(mon->getDuration(data), 3);
  EXPECT_EQ(mon->getCurrValue(data), 2);
  mon->endOperation(data);
  EXPECT_FALSE(app.progressActive());
  EXPECT_EQ(ports.log, (std::vector<std::string>{"begin", "duration 3", "value 0", "value 2", "end"}));
}

TEST(ViewApp, AProgressOperationLeftOpenEndsWithTheUserAction)
{
  Application app;
  RecordingPorts ports;
  app.setPorts(ports.ports());
  void *data = nullptr;
  ProgressMonitor mon = app.progressMonitor(&data);
  app.endOpenProgress(); // nothing open: nothing to end
  EXPECT_TRUE(ports.log.empty());
  mon->beginOperation(data);
  mon->setDuration(3, data);
  app.endOpenProgress();
  EXPECT_FALSE(app.progressActive());
  app.endOpenProgress();
  EXPECT_EQ(ports.log, (std::vector<std::string>{"begin", "duration 3", "end"}));
}

TEST(ViewApp, ProgressMonitorWithoutPortKeepsItsValues)
{
  Application app;
  void *data = nullptr;
  ProgressMonitor mon = app.progressMonitor(&data);
  mon->beginOperation(data);
  mon->setDuration(7, data);
  mon->setCurrValue(5, data);
  EXPECT_EQ(mon->getDuration(data), 7);
  EXPECT_EQ(mon->getCurrValue(data), 5);
  mon->endOperation(data);
  EXPECT_FALSE(app.progressActive());
}

TEST(ViewApp, ProgressMonitorWithOnlyOtherPortsPresent)
{
  Application app;
  RecordingPorts ports;
  Ports p = ports.ports();
  p.progress = nullptr;
  app.setPorts(p);
  void *data = nullptr;
  ProgressMonitor mon = app.progressMonitor(&data);
  mon->beginOperation(data);
  mon->setCurrValue(4, data);
  mon->endOperation(data);
  EXPECT_EQ(mon->getCurrValue(data), 4);
  EXPECT_TRUE(ports.log.empty());
}

TEST(ViewApp, AbsentAlertPortAnswersDismissedAndDeclined)
{
  Application app;
  Question q;
  q.message = "Pages to crop?";
  q.buttons = {"Current", "All", "Cancel"};
  EXPECT_EQ(app.ask(q), 0);
  EXPECT_FALSE(app.confirm("Sure?"));
  EXPECT_EQ(app.modifiers(), 0);
  EXPECT_EQ(app.standardCursor(kCursorArrow), nullptr);
}

TEST(ViewApp, CursorIsRecordedAndForwarded)
{
  Application app;
  RecordingPorts ports;
  app.setPorts(ports.ports());
  FVCursor arrow = app.standardCursor(kCursorArrow);
  EXPECT_EQ(arrow, reinterpret_cast<FVCursor>(100));
  app.setCursor(arrow);
  EXPECT_EQ(app.currentCursor(), arrow);
  EXPECT_EQ(ports.log, (std::vector<std::string>{"cursor 100"}));
}

TEST(ViewApp, AbsentDragPortGivesThePressPointAndTheStartRect)
{
  Application app;
  std::string path = viewtest::makePdf("a.pdf", {viewtest::page(0, 0, 612, 792)});
  DocWindow &doc = app.openDocument(path);
  FVRect r = app.dragOutNewRect(doc.pageView(), 10, 20);
  EXPECT_EQ(r.left, 10);
  EXPECT_EQ(r.top, 20);
  EXPECT_EQ(r.right, 10);
  EXPECT_EQ(r.bottom, 20);
  FVRect start{1, 2, 3, 4};
  FVRect moved = app.dragRect(doc.pageView(), 10, 20, start, fvDragMove, nullptr);
  EXPECT_EQ(moved.left, 1);
  EXPECT_EQ(moved.bottom, 4);
}

// A document read before the session (to count its pages for a page
// selection) is the one the open of its path shows, not a second reading;
// an open of another path reads that file and lets the adopted one go.
TEST(ViewApp, AdoptedDocumentIsTheOneTheOpenOfItsPathShows)
{
  Application app;
  std::string a = viewtest::makePdf("adopted-a.pdf", {viewtest::page(0, 0, 612, 792)});
  std::string b =
      viewtest::makePdf("adopted-b.pdf", {viewtest::page(0, 0, 300, 400), viewtest::page(0, 0, 300, 400)});
  auto doc = folio::model::Document::open(a);
  folio::model::Document *read = doc.get();
  app.adoptForOpen(std::move(doc));
  DocWindow &first = app.openDocument(a);
  EXPECT_EQ(&first.document(), read);
  DocWindow &again = app.openDocument(a); // taken once: read anew
  EXPECT_NE(&again.document(), read);
  EXPECT_EQ(again.document().pageCount(), 1);

  // A reading with a crop in memory: were it kept past the other open, the
  // next open of its path would show that crop.
  auto stale = folio::model::Document::open(a);
  folio::model::Page *p = stale->acquirePage(0);
  p->setCropBox(FixedRect{10 << 16, 20 << 16, 300 << 16, 400 << 16});
  stale->releasePage(p);
  app.adoptForOpen(std::move(stale));
  DocWindow &other = app.openDocument(b);
  EXPECT_EQ(other.document().path(), b);
  EXPECT_EQ(other.document().pageCount(), 2);
  DocWindow &third = app.openDocument(a);
  folio::model::Page *q = third.document().acquirePage(0);
  EXPECT_EQ(q->cropBox().right, 612 << 16); // the file's page, not the stale reading's
  third.document().releasePage(q);
}

// ---- drawing callbacks ------------------------------------------------------

namespace {
std::vector<std::string> gDrawLog;
void DrawA(FVPageView, FVRect *r, void *data)
{
  gDrawLog.push_back("A " + std::to_string(reinterpret_cast<intptr_t>(data)) + " " + std::to_string(r->left));
}
void DrawRaise(FVPageView, FVRect *, void *)
{
  folio::raiseException(5);
}
void DrawB(FVPageView, FVRect *, void *data)
{
  gDrawLog.push_back("B " + std::to_string(reinterpret_cast<intptr_t>(data)));
}
} // namespace

TEST(ViewApp, DrawingCallbacksRunInRegistrationOrder)
{
  Application app;
  std::string path = viewtest::makePdf("a.pdf", {viewtest::page(0, 0, 612, 792)});
  DocWindow &doc = app.openDocument(path);
  gDrawLog.clear();
  FSCallback b = callbackOf(&DrawB), a = callbackOf(&DrawA);
  app.registerDrawing(b, reinterpret_cast<void *>(2));
  app.registerDrawing(a, reinterpret_cast<void *>(1));
  app.runDrawingCallbacks(doc.pageView(), FVRect{5, 6, 7, 8});
  EXPECT_EQ(gDrawLog, (std::vector<std::string>{"B 2", "A 1 5"}));
}

TEST(ViewApp, RegisteringAgainKeepsThePlaceAndTakesTheNewData)
{
  Application app;
  std::string path = viewtest::makePdf("a.pdf", {viewtest::page(0, 0, 612, 792)});
  DocWindow &doc = app.openDocument(path);
  gDrawLog.clear();
  FSCallback a = callbackOf(&DrawA), b = callbackOf(&DrawB);
  app.registerDrawing(a, reinterpret_cast<void *>(1));
  app.registerDrawing(b, reinterpret_cast<void *>(2));
  app.registerDrawing(a, reinterpret_cast<void *>(3));
  EXPECT_EQ(app.drawingCount(), 2u);
  app.runDrawingCallbacks(doc.pageView(), FVRect{0, 0, 1, 1});
  EXPECT_EQ(gDrawLog, (std::vector<std::string>{"A 3 0", "B 2"}));
}

TEST(ViewApp, UnregisteredCallbackIsNotCalled)
{
  Application app;
  std::string path = viewtest::makePdf("a.pdf", {viewtest::page(0, 0, 612, 792)});
  DocWindow &doc = app.openDocument(path);
  gDrawLog.clear();
  FSCallback a = callbackOf(&DrawA), b = callbackOf(&DrawB);
  app.registerDrawing(a, nullptr);
  app.registerDrawing(b, nullptr);
  app.unregisterDrawing(a);
  app.unregisterDrawing(a); // twice: nothing more
  app.registerDrawing(nullptr, nullptr);
  EXPECT_EQ(app.drawingCount(), 1u);
  app.runDrawingCallbacks(doc.pageView(), FVRect{0, 0, 1, 1});
  EXPECT_EQ(gDrawLog, (std::vector<std::string>{"B 0"}));
}

TEST(ViewApp, ARaisingDrawingCallbackDoesNotStopTheOthers)
{
  Application app;
  std::string path = viewtest::makePdf("a.pdf", {viewtest::page(0, 0, 612, 792)});
  DocWindow &doc = app.openDocument(path);
  gDrawLog.clear();
  app.registerDrawing(callbackOf(&DrawRaise), nullptr);
  app.registerDrawing(callbackOf(&DrawB), nullptr);
  app.runDrawingCallbacks(doc.pageView(), FVRect{0, 0, 1, 1});
  EXPECT_EQ(gDrawLog, (std::vector<std::string>{"B 0"}));
  EXPECT_EQ(folio::exceptionErrorCode(), 5);
}

// ---- documents -----------------------------------------------------------------

TEST(ViewApp, OpenMakesTheDocumentActiveOnItsFirstPage)
{
  Application app;
  std::string path =
      viewtest::makePdf("two.pdf", {viewtest::page(0, 0, 612, 792), viewtest::page(0, 0, 300, 400)});
  DocWindow &doc = app.openDocument(path);
  EXPECT_EQ(app.activeDocument(), &doc);
  EXPECT_EQ(doc.title(), "two.pdf");
  EXPECT_EQ(doc.pageView().pageNumber(), 0);
  EXPECT_EQ(doc.pageView().pageCount(), 2);
  EXPECT_EQ(doc.pageView().zoomPercent(), 100.0);
  EXPECT_EQ(folio::model::fromPDDoc(doc.pdDoc()), &doc.document());
}

TEST(ViewApp, OpenWithATitle)
{
  Application app;
  std::string path = viewtest::makePdf("t.pdf", {viewtest::page(0, 0, 612, 792)});
  EXPECT_EQ(app.openDocument(path, "My Title").title(), "My Title");
}

TEST(ViewApp, OpeningAMissingFileThrowsAModelError)
{
  Application app;
  EXPECT_THROW(app.openDocument(viewtest::tempPath("missing.pdf")), std::exception);
  EXPECT_EQ(app.activeDocument(), nullptr);
}

TEST(ViewApp, OpenReportingShowsTheErrorAsANote)
{
  Application app;
  RecordingPorts ports;
  app.setPorts(ports.ports());
  EXPECT_EQ(app.openDocumentReporting(viewtest::tempPath("missing.pdf")), nullptr);
  ASSERT_EQ(ports.log.size(), 1u);
  EXPECT_EQ(ports.log[0].rfind("note ", 0), 0u);
}

TEST(ViewApp, EncryptedDocumentOpensWithThePasswordPort)
{
  std::string plain = viewtest::makePdf("plain.pdf", {viewtest::page(0, 0, 612, 792)});
  std::string locked = viewtest::tempPath("locked.pdf");
  std::string why;
  if (!folio::pdfgen::encryptWithQpdf(plain, locked, "user", "owner", true, &why))
    GTEST_SKIP() << "cannot encrypt: " << why;
  Application app;
  EXPECT_THROW(app.openDocument(locked), std::exception); // no port: only the empty password
  folio::model::FixedPasswordPort password("user");
  Ports p;
  p.password = &password;
  app.setPorts(p);
  DocWindow &doc = app.openDocument(locked);
  EXPECT_TRUE(doc.document().isEncrypted());
  EXPECT_EQ(doc.pageView().pageCount(), 1);
}

TEST(ViewApp, CloseMakesTheLastRemainingDocumentActive)
{
  Application app;
  std::string p1 = viewtest::makePdf("1.pdf", {viewtest::page(0, 0, 612, 792)});
  std::string p2 = viewtest::makePdf("2.pdf", {viewtest::page(0, 0, 612, 792)});
  DocWindow &d1 = app.openDocument(p1);
  DocWindow &d2 = app.openDocument(p2);
  EXPECT_EQ(app.activeDocument(), &d2);
  EXPECT_TRUE(app.closeDocument(&d2, false));
  EXPECT_EQ(app.activeDocument(), &d1);
  EXPECT_TRUE(app.closeDocument(&d1, false));
  EXPECT_EQ(app.activeDocument(), nullptr);
  EXPECT_FALSE(app.closeDocument(&d1, false)); // no longer open
}

struct RetitleListener : ApplicationListener {
  std::vector<std::string> titles;
  void documentRetitled(DocWindow &doc) override { titles.push_back(doc.title()); }
};

TEST(ViewApp, SaveAsMakesTheNewFileTheDocumentsFileAndTitle)
{
  Application app;
  RetitleListener listener;
  app.addListener(&listener);
  std::string path = viewtest::makePdf("first.pdf", {viewtest::page(0, 0, 612, 792)});
  std::string other = viewtest::tempPath("second.pdf");
  DocWindow &doc = app.openDocument(path);
  ASSERT_TRUE(app.saveDocument(doc, other));
  EXPECT_EQ(doc.title(), "second.pdf");
  EXPECT_EQ(listener.titles, std::vector<std::string>{"second.pdf"});
  // A later Save goes to the new file, and the title says so.
  FixedRect crop{viewtest::fx(10), viewtest::fx(700), viewtest::fx(600), viewtest::fx(20)};
  doc.pageView().page().setCropBox(crop);
  doc.pageView().page().notifyContentsDidChange();
  ASSERT_TRUE(app.saveDocument(doc));
  EXPECT_EQ(listener.titles.size(), 1u) << "a plain Save keeps the title";
  Application reader;
  EXPECT_EQ(reader.openDocument(other).pageView().page().cropBox().left, viewtest::fx(10));
  EXPECT_EQ(reader.openDocument(path).pageView().page().cropBox().left, 0) << "the first file was written";
  app.removeListener(&listener);
}

TEST(ViewApp, SaveAsKeepsATitleGivenAtOpen)
{
  Application app;
  RetitleListener listener;
  app.addListener(&listener);
  std::string path = viewtest::makePdf("t.pdf", {viewtest::page(0, 0, 612, 792)});
  DocWindow &doc = app.openDocument(path, "My Title");
  ASSERT_TRUE(app.saveDocument(doc, viewtest::tempPath("u.pdf")));
  EXPECT_EQ(doc.title(), "My Title");
  EXPECT_TRUE(listener.titles.empty());
  app.removeListener(&listener);
}

TEST(ViewApp, ClosingAChangedDocumentAsksFirst)
{
  Application app;
  RecordingPorts ports;
  app.setPorts(ports.ports());
  std::string path = viewtest::makePdf("c.pdf", {viewtest::page(0, 0, 612, 792)});
  DocWindow &doc = app.openDocument(path);
  doc.document().setFlags(PDDocNeedsSave);
  ports.answers = {3};
  EXPECT_FALSE(app.closeDocument(&doc, false));
  EXPECT_EQ(app.activeDocument(), &doc);
  ASSERT_EQ(ports.log.size(), 1u);
  EXPECT_EQ(ports.log[0], "ask 2 Save changes to \"c.pdf\" before closing? [Save] [Don't Save] [Cancel]");
  ports.answers = {0};
  EXPECT_FALSE(app.closeDocument(&doc, false));
  ports.answers = {2};
  EXPECT_TRUE(app.closeDocument(&doc, false));
  EXPECT_EQ(app.activeDocument(), nullptr);
}

TEST(ViewApp, CloseWithoutSavingDoesNotAsk)
{
  Application app;
  RecordingPorts ports;
  app.setPorts(ports.ports());
  std::string path = viewtest::makePdf("c.pdf", {viewtest::page(0, 0, 612, 792)});
  DocWindow &doc = app.openDocument(path);
  doc.document().setFlags(PDDocNeedsSave);
  EXPECT_TRUE(app.closeDocument(&doc, true));
  EXPECT_TRUE(ports.log.empty());
}

TEST(ViewApp, HandToolScrollsByTheDragOffset)
{
  Application app;
  RecordingPorts ports;
  app.setPorts(ports.ports());
  std::string path = viewtest::makePdf("h.pdf", {viewtest::page(0, 0, 612, 792)});
  DocWindow &doc = app.openDocument(path);
  ports.dragResult = FVRect{90, 80, 90, 80}; // pressed at (100, 100)
  EXPECT_TRUE(app.toolClick(doc.pageView(), 100, 100, 0, 1));
  EXPECT_EQ(doc.pageView().scrollX(), 10);
  EXPECT_EQ(doc.pageView().scrollY(), 20);
}

TEST(ViewApp, ToolClickReachesTheActiveTool)
{
  Application app;
  TestTools t;
  std::string path = viewtest::makePdf("k.pdf", {viewtest::page(0, 0, 612, 792)});
  DocWindow &doc = app.openDocument(path);
  app.setActiveTool(&t.a, true);
  EXPECT_TRUE(app.toolClick(doc.pageView(), 12, 34, 4, 2));
  EXPECT_EQ(gToolLog.back(), "A click 12 34 4 2");
  EXPECT_FALSE(app.toolAdjustCursor(doc.pageView(), 1, 1)); // it has none
}
