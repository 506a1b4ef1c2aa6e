// PageTests.cpp: acquire and release counting, the over-release report,
// change notification, flags and observers.
#include "ModelTestSupport.h"

using namespace folio;
using namespace folio::model;
using namespace folio::modeltest;

namespace {

class ModelPages : public ModelTest {};

struct Recorder : DocumentObserver {
  std::vector<std::pair<Document *, int>> changes;
  std::vector<std::string> saves;
  void pageChanged(Document &doc, int index) override { changes.emplace_back(&doc, index); }
  void documentSaved(Document &, const char *path) override { saves.push_back(path); }
};

TEST_F(ModelPages, AcquireTwiceGivesTheSamePageCountedTwice)
{
  auto doc = Document::open(write("two.pdf", {rectPage(), rectPage()}));
  Page *a = doc->acquirePage(1);
  Page *b = doc->acquirePage(1);
  EXPECT_EQ(a, b);
  EXPECT_EQ(a->acquireCount(), 2);
  doc->releasePage(a);
  EXPECT_EQ(a->acquireCount(), 1);
  doc->releasePage(b);
  EXPECT_EQ(a->acquireCount(), 0);
}

TEST_F(ModelPages, PageStaysUsableAfterItsLastRelease)
{
  auto doc = Document::open(write("one.pdf", {rectPage({0, 0, 300, 400})}));
  Page *p = doc->acquirePage(0);
  doc->releasePage(p);
  EXPECT_RECT_NEAR(p->mediaBox(), 0, 0, 300, 400, 0);
  EXPECT_RECT_NEAR(p->bbox(), 100, 100, 200, 200, 0.25);
}

TEST_F(ModelPages, OverReleaseIsReportedOnceOnStderr)
{
  auto doc = Document::open(write("over.pdf", {rectPage(), rectPage()}));
  Page *p = doc->acquirePage(1);
  doc->releasePage(p);
  testing::internal::CaptureStderr();
  doc->releasePage(p);
  doc->releasePage(p);
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(err, "folio: page 2 of \"over.pdf\" released more often than acquired\n");
  EXPECT_EQ(p->acquireCount(), 0);
  // Acquiring again works and counts from zero.
  EXPECT_EQ(doc->acquirePage(1), p);
  EXPECT_EQ(p->acquireCount(), 1);
  doc->releasePage(p);
}

TEST_F(ModelPages, ReleasingNullIsIgnored)
{
  auto doc = Document::open(write("one.pdf", {rectPage()}));
  testing::internal::CaptureStderr();
  doc->releasePage(nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(ModelPages, NotifyMarksTheDocumentChanged)
{
  auto doc = Document::open(write("one.pdf", {rectPage()}));
  Page *p = doc->acquirePage(0);
  p->notifyContentsDidChange();
  EXPECT_EQ(doc->flags(), PDDocNeedsSave | PDDocIsModified);
  doc->releasePage(p);
}

TEST_F(ModelPages, NotifyTellsEveryObserverThePage)
{
  auto doc = Document::open(write("three.pdf", {rectPage(), rectPage(), rectPage()}));
  Recorder a, b;
  doc->addObserver(&a);
  doc->addObserver(&b);
  doc->addObserver(&a); // once only
  Page *p = doc->acquirePage(2);
  p->setCropBox(fixedRect(10, 10, 300, 300));
  p->notifyContentsDidChange();
  doc->releasePage(p);
  ASSERT_EQ(a.changes.size(), 1u);
  EXPECT_EQ(a.changes[0].first, doc.get());
  EXPECT_EQ(a.changes[0].second, 2);
  EXPECT_EQ(b.changes.size(), 1u);
}

TEST_F(ModelPages, RemovedObserverHearsNothing)
{
  auto doc = Document::open(write("one.pdf", {rectPage()}));
  Recorder a;
  doc->addObserver(&a);
  doc->removeObserver(&a);
  Page *p = doc->acquirePage(0);
  p->notifyContentsDidChange();
  doc->releasePage(p);
  EXPECT_TRUE(a.changes.empty());
}

TEST_F(ModelPages, ObserverMayUnsubscribeWhileTold)
{
  auto doc = Document::open(write("one.pdf", {rectPage()}));
  struct Leaver : DocumentObserver {
    Document *doc = nullptr;
    int told = 0;
    void pageChanged(Document &, int) override
    {
      ++told;
      doc->removeObserver(this);
    }
  } leaver;
  Recorder after;
  leaver.doc = doc.get();
  doc->addObserver(&leaver);
  doc->addObserver(&after);
  Page *p = doc->acquirePage(0);
  p->notifyContentsDidChange();
  p->notifyContentsDidChange();
  doc->releasePage(p);
  EXPECT_EQ(leaver.told, 1);
  EXPECT_EQ(after.changes.size(), 2u);
}

TEST_F(ModelPages, FlagsCanBeSetAndCleared)
{
  auto doc = Document::open(write("one.pdf", {rectPage()}));
  doc->setFlags(PDDocSuppressErrors | PDDocIsModified);
  EXPECT_EQ(doc->flags(), PDDocSuppressErrors | PDDocIsModified);
  doc->clearFlags(PDDocIsModified);
  EXPECT_EQ(doc->flags(), PDDocSuppressErrors);
}

TEST_F(ModelPages, RepairWhileReadingAPageShowsInTheFlags)
{
  // The xref is sound but the second page's contents object is not where
  // it says: the engine finds out, and repairs, only when it reads them.
  std::string p = write("late.pdf", {rectPage(), rectPage()});
  std::string bytes = readFile(p);
  size_t at = bytes.find("\n7 0 obj");
  ASSERT_NE(at, std::string::npos);
  bytes.replace(at, 8, "\n7 0 jbo");
  writeFile(p, bytes);
  auto doc = Document::open(p);
  EXPECT_EQ(doc->flags(), 0);
  Page *page = doc->acquirePage(1);
  page->bbox();
  doc->releasePage(page);
  EXPECT_EQ(doc->flags(), PDDocWasRepaired | PDDocRequiresFullSave);
}

TEST_F(ModelPages, CropBoxSetBeforeALateRepairIsSaved)
{
  std::string p = write("late.pdf", {rectPage(), rectPage()});
  std::string bytes = readFile(p);
  size_t at = bytes.find("\n7 0 obj");
  ASSERT_NE(at, std::string::npos);
  bytes.replace(at, 8, "\n7 0 jbo");
  writeFile(p, bytes);
  {
    auto doc = Document::open(p);
    Page *first = doc->acquirePage(0);
    first->setCropBox(fixedRect(50, 60, 300, 400));
    first->notifyContentsDidChange();
    doc->releasePage(first);
    Page *second = doc->acquirePage(1);
    second->bbox(); // the repair happens here
    doc->releasePage(second);
    EXPECT_FALSE(doc->save()); // in full: the file was repaired
  }
  auto q = qpdfPages(p);
  ASSERT_EQ(q.size(), 2u);
  ASSERT_TRUE(q[0].crop.has_value());
  EXPECT_DOUBLE_EQ(q[0].crop->x0, 50);
  EXPECT_DOUBLE_EQ(q[0].crop->y1, 400);
}

TEST_F(ModelPages, SaveClearsTheChangeFlagsAndTellsObservers)
{
  std::string p = write("one.pdf", {rectPage()});
  auto doc = Document::open(p);
  Recorder r;
  doc->addObserver(&r);
  Page *page = doc->acquirePage(0);
  page->setCropBox(fixedRect(10, 10, 300, 300));
  page->notifyContentsDidChange();
  doc->save();
  EXPECT_EQ(doc->flags() & (PDDocNeedsSave | PDDocIsModified), 0);
  EXPECT_EQ(r.saves, std::vector<std::string>{p});
  // The acquired page survives the save and still answers.
  EXPECT_RECT_NEAR(page->cropBox(), 10, 10, 300, 300, 0);
  EXPECT_RECT_NEAR(page->bbox(), 100, 100, 200, 200, 0.25);
  doc->releasePage(page);
}

} // namespace
