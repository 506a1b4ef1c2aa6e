// HistoryTests.cpp: the crop-box history: grouping by user action, undo and
// redo on documents (boxes back, inheritance back, notices, flags), and the
// compact storage.
#include "ModelTestSupport.h"

using namespace folio;
using namespace folio::model;
using namespace folio::modeltest;

namespace {

CropState own(double x0, double y0, double x1, double y1)
{
  return CropState{true, fixedRect(x0, y0, x1, y1)};
}

TEST(ModelCropHistory, ChangesOutsideAnActionAreOneStepEach)
{
  CropHistory h;
  h.record(0, CropState{}, own(0, 0, 10, 10));
  h.record(1, CropState{}, own(0, 0, 20, 20));
  EXPECT_EQ(h.undoCount(), 2u);
  EXPECT_EQ(h.undoLabel(), CropHistory::kDefaultLabel);
}

TEST(ModelCropHistory, OneActionIsOneStepNamedByTheOutermostLabel)
{
  CropHistory h;
  {
    CropHistory::Action outer("");
    CropHistory::Action a("Crop to Bounding Box");
    {
      CropHistory::Action inner("Something Inside");
      h.record(0, CropState{}, own(1, 2, 3, 4));
    }
    h.record(1, CropState{}, own(5, 6, 7, 8));
    EXPECT_TRUE(CropHistory::actionOpen());
  }
  EXPECT_FALSE(CropHistory::actionOpen());
  EXPECT_EQ(h.undoCount(), 1u);
  EXPECT_EQ(h.undoLabel(), "Crop to Bounding Box");
  {
    CropHistory::Action b("Crop Region");
    h.record(0, own(1, 2, 3, 4), own(9, 9, 19, 19));
  }
  EXPECT_EQ(h.undoCount(), 2u);
  EXPECT_EQ(h.undoLabel(), "Crop Region");

  std::vector<CropChange> changes;
  std::string label;
  ASSERT_TRUE(h.takeUndo(changes, label));
  EXPECT_EQ(label, "Crop Region");
  ASSERT_EQ(changes.size(), 1u);
  EXPECT_EQ(changes[0].page, 0);
  EXPECT_EQ(changes[0].after, own(1, 2, 3, 4));
  EXPECT_EQ(h.redoLabel(), "Crop Region");
  EXPECT_EQ(h.undoLabel(), "Crop to Bounding Box");

  ASSERT_TRUE(h.takeUndo(changes, label));
  ASSERT_EQ(changes.size(), 2u);
  EXPECT_EQ(changes[0].page, 0);
  EXPECT_EQ(changes[0].after, CropState{});
  EXPECT_EQ(changes[1].page, 1);
  EXPECT_FALSE(h.canUndo());
  EXPECT_FALSE(h.takeUndo(changes, label));

  ASSERT_TRUE(h.takeRedo(changes, label));
  EXPECT_EQ(label, "Crop to Bounding Box");
  ASSERT_EQ(changes.size(), 2u);
  EXPECT_EQ(changes[1].after, own(5, 6, 7, 8));
  EXPECT_EQ(h.redoCount(), 1u);
}

TEST(ModelCropHistory, ANewChangeDropsTheRedoSide)
{
  CropHistory h;
  h.record(0, CropState{}, own(0, 0, 1, 1));
  std::vector<CropChange> changes;
  std::string label;
  ASSERT_TRUE(h.takeUndo(changes, label));
  EXPECT_TRUE(h.canRedo());
  h.record(3, CropState{}, own(0, 0, 2, 2));
  EXPECT_FALSE(h.canRedo());
  EXPECT_EQ(h.undoCount(), 1u);
}

TEST(ModelCropHistory, RepeatedWritesOfAPageFoldIntoOneChangeAndAPutBackIsNone)
{
  CropHistory h;
  {
    CropHistory::Action a("Crop Region");
    h.record(2, own(0, 0, 100, 100), own(10, 10, 90, 90));
    h.record(2, own(10, 10, 90, 90), own(20, 20, 80, 80));
    // A cancelled run writes the old box back on this page.
    h.record(5, own(0, 0, 100, 100), own(10, 10, 90, 90));
    h.record(5, own(10, 10, 90, 90), own(0, 0, 100, 100));
  }
  std::vector<CropChange> changes;
  std::string label;
  ASSERT_TRUE(h.takeUndo(changes, label));
  ASSERT_EQ(changes.size(), 1u);
  EXPECT_EQ(changes[0].page, 2);
  EXPECT_EQ(changes[0].before, own(20, 20, 80, 80));
  EXPECT_EQ(changes[0].after, own(0, 0, 100, 100));
}

TEST(ModelCropHistory, AnActionThatPutsEverythingBackLeavesNoStep)
{
  CropHistory h;
  {
    CropHistory::Action a("Crop to Bounding Box");
    h.record(0, CropState{}, own(1, 1, 2, 2));
    h.record(0, own(1, 1, 2, 2), CropState{});
  }
  EXPECT_FALSE(h.canUndo());
}

TEST(ModelCropHistory, NothingIsRecordedWhileApplyingOrForAnEqualBox)
{
  CropHistory h;
  {
    CropHistory::Applying quiet(h);
    h.record(0, CropState{}, own(1, 1, 2, 2));
  }
  h.record(0, own(1, 1, 2, 2), own(1, 1, 2, 2));
  EXPECT_FALSE(h.canUndo());
}

TEST(ModelCropHistory, AnUnmatchedEndIsIgnored)
{
  CropHistory::endAction();
  EXPECT_FALSE(CropHistory::actionOpen());
}

TEST(ModelCropHistory, ARegionOnManyPagesIsStoredInAFewBytes)
{
  CropHistory h;
  const size_t empty = h.memoryBytes();
  {
    CropHistory::Action a("Crop Region");
    for (int i = 0; i < 100000; ++i)
      h.record(i, own(0, 0, 612, 792), own(50, 60, 500, 700));
  }
  ASSERT_TRUE(h.canUndo());
  // One run, two boxes, one step: independent of the page count.
  EXPECT_LT(h.memoryBytes() - empty, 512u);
  std::vector<CropChange> changes;
  std::string label;
  ASSERT_TRUE(h.takeUndo(changes, label));
  ASSERT_EQ(changes.size(), 100000u);
  EXPECT_EQ(changes[99999].page, 99999);
  EXPECT_EQ(changes[99999].after, own(0, 0, 612, 792));
}

TEST(ModelCropHistory, DistinctBoxesCostADozenOrTwoBytesAPage)
{
  CropHistory h;
  const size_t empty = h.memoryBytes();
  {
    CropHistory::Action a("Crop to Bounding Box");
    for (int i = 0; i < 10000; ++i)
      h.record(i, CropState{}, own(i % 97, 10, 500, 700 - i % 89));
  }
  ASSERT_TRUE(h.canUndo());
  EXPECT_LE(h.memoryBytes() - empty, 10000u * 20u);
}

TEST(ModelCropHistory, EveryBoxComesBackExactly)
{
  // Boxes of every kind: negative and huge edges, fractions of 1/65536,
  // pages without a box of their own, gaps between pages, repeats.
  std::vector<CropChange> want;
  unsigned seed = 12345;
  auto next = [&] {
    seed = seed * 1103515245u + 12345u;
    return static_cast<int>(seed >> 1);
  };
  int page = 0;
  for (int i = 0; i < 3000; ++i) {
    page += 1 + (next() % 4 == 0 ? next() % 1000 : 0);
    CropChange c;
    c.page = page;
    c.before.own = next() % 5 != 0;
    c.after.own = next() % 7 != 0;
    for (CropState *st : {&c.before, &c.after})
      if (st->own)
        st->box = FixedRect{next() - (1 << 30), next(), next() % 3 == 0 ? INT32_MIN : next(),
                            next() % 3 == 0 ? INT32_MAX : -next()};
    if (i % 10 == 3 && !want.empty()) { // the same boxes as the page before
      c.before = want.back().before;
      c.after = want.back().after;
    }
    if (c.before == c.after)
      c.after = CropState{true, FixedRect{1, 2, 3, 4}};
    if (c.before == c.after)
      c.after = CropState{};
    want.push_back(c);
  }
  CropHistory h;
  {
    CropHistory::Action a("Crop");
    for (const CropChange &c : want)
      h.record(c.page, c.before, c.after);
  }
  std::vector<CropChange> got;
  std::string label;
  ASSERT_TRUE(h.takeUndo(got, label));
  ASSERT_EQ(got.size(), want.size());
  for (size_t i = 0; i < want.size(); ++i) {
    EXPECT_EQ(got[i].page, want[i].page) << i;
    EXPECT_EQ(got[i].before, want[i].after) << i;
    EXPECT_EQ(got[i].after, want[i].before) << i;
  }
  ASSERT_TRUE(h.takeRedo(got, label));
  ASSERT_EQ(got.size(), want.size());
  for (size_t i = 0; i < want.size(); ++i) {
    EXPECT_EQ(got[i].before, want[i].before) << i;
    EXPECT_EQ(got[i].after, want[i].after) << i;
  }
}

class ModelHistory : public ModelTest {};

struct Recorder : DocumentObserver {
  std::vector<int> changes;
  void pageChanged(Document &, int index) override { changes.push_back(index); }
};

TEST_F(ModelHistory, UndoPutsTheBoxesBackAndRedoDoesItAgain)
{
  pdfgen::PageSpec withCrop = rectPage();
  withCrop.crop = pdfgen::Box{10, 20, 600, 780};
  auto doc = Document::open(write("h.pdf", {rectPage(), withCrop, rectPage()}));
  Recorder rec;
  doc->addObserver(&rec);
  {
    CropHistory::Action a("Crop Region");
    for (int i = 0; i < 3; ++i) {
      Page *p = doc->acquirePage(i);
      p->setCropBox(fixedRect(50.25, 60.5, 500.125, 700.0625));
      p->notifyContentsDidChange();
      doc->releasePage(p);
    }
  }
  doc->clearFlags(PDDocNeedsSave | PDDocIsModified);
  rec.changes.clear();
  EXPECT_EQ(doc->history().undoLabel(), "Crop Region");

  ASSERT_TRUE(doc->undo());
  EXPECT_EQ(rec.changes, (std::vector<int>{0, 1, 2}));
  EXPECT_TRUE(doc->flags() & PDDocNeedsSave);
  Page *p0 = doc->acquirePage(0), *p1 = doc->acquirePage(1);
  EXPECT_RECT_NEAR(p0->cropBox(), 0, 0, 612, 792, 0);
  EXPECT_RECT_NEAR(p1->cropBox(), 10, 20, 600, 780, 0);
  EXPECT_FALSE(doc->undo());
  EXPECT_EQ(doc->history().redoLabel(), "Crop Region");

  ASSERT_TRUE(doc->redo());
  EXPECT_RECT_EQ(p0->cropBox(), fixedRect(50.25, 60.5, 500.125, 700.0625));
  EXPECT_RECT_EQ(p1->cropBox(), fixedRect(50.25, 60.5, 500.125, 700.0625));
  doc->releasePage(p0);
  doc->releasePage(p1);
  doc->removeObserver(&rec);
}

TEST_F(ModelHistory, UndoGivesBackAnInheritedCropBoxAndSavesWithoutOne)
{
  pdfgen::PageSpec inherits = rectPage();
  inherits.crop = pdfgen::Box{30, 40, 580, 760};
  inherits.cropAt = pdfgen::Place::Node;
  auto doc = Document::open(write("inh.pdf", {inherits, rectPage()}));
  for (int i = 0; i < 2; ++i) {
    Page *p = doc->acquirePage(i);
    p->setCropBox(fixedRect(100, 100, 300, 300));
    doc->releasePage(p);
  }
  ASSERT_EQ(doc->history().undoCount(), 2u); // outside any action: a step each
  ASSERT_TRUE(doc->undo());
  ASSERT_TRUE(doc->undo());
  Page *p = doc->acquirePage(0);
  EXPECT_RECT_NEAR(p->cropBox(), 30, 40, 580, 760, 0);
  doc->releasePage(p);
  const std::string out = path("out.pdf");
  doc->saveAs(out, true);
  auto pages = qpdfPages(out);
  ASSERT_EQ(pages.size(), 2u);
  ASSERT_TRUE(pages[0].crop.has_value());
  EXPECT_NEAR(pages[0].crop->x0, 30, 1e-9);
  EXPECT_NEAR(pages[0].crop->y1, 760, 1e-9);
  // The second page never had a crop box: after the undo it has none again.
  EXPECT_FALSE(pages[1].crop.has_value());
  // Redo after a save works on the document in memory and modifies it.
  EXPECT_FALSE(doc->flags() & PDDocNeedsSave);
  EXPECT_TRUE(doc->redo());
  EXPECT_TRUE(doc->flags() & PDDocNeedsSave);
  p = doc->acquirePage(0);
  EXPECT_RECT_NEAR(p->cropBox(), 100, 100, 300, 300, 0);
  doc->releasePage(p);
}

} // namespace
