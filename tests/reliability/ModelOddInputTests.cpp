// Odd input as properties of the document model: what it answers for
// illegal rotations, inverted or empty media boxes, crop boxes off the page,
// repaired and page-less files, and how it refuses to save a document whose
// repair lost its catalog.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "RelSupport.h"
#include "model/Document.h"
#include "model/ModelError.h"
#include "model/Page.h"
#include "pdfgen.h"

namespace gen = folio::pdfgen;
using folio::model::Document;
using folio::model::ModelError;
using folio::model::ModelErrorKind;
using folio::model::Page;

namespace {

constexpr Fixed F(int points)
{
  return static_cast<Fixed>(points * 65536);
}

std::string show(const FixedRect &r)
{
  return std::to_string(r.left / 65536.0) + " " + std::to_string(r.bottom / 65536.0) + " " +
         std::to_string(r.right / 65536.0) + " " + std::to_string(r.top / 65536.0);
}

bool sameBox(const FixedRect &r, int l, int b, int rt, int t)
{
  return r.left == F(l) && r.bottom == F(b) && r.right == F(rt) && r.top == F(t);
}

class ReliabilityModel : public ::testing::Test {
protected:
  rel::TempDir dir;
  std::string path(const std::string &name) const { return dir.file(name); }

  static gen::PageSpec page(gen::Box media = {0, 0, 612, 792}, int rotate = 0)
  {
    gen::PageSpec p;
    p.media = media;
    p.rotate = rotate;
    p.writeRotate = rotate != 0;
    return p;
  }

  // The rotation of the only page of a document written with `rotate`.
  PDRotate rotationWritten(int rotate)
  {
    gen::writeDocument(path("r.pdf"), {page({0, 0, 612, 792}, rotate)});
    std::unique_ptr<Document> d = Document::open(path("r.pdf"));
    Page *p = d->acquirePage(0);
    PDRotate r = p->rotate();
    d->releasePage(p);
    return r;
  }

  // The kind of the error that opening `file` gives; Engine when it opens.
  static ModelErrorKind openError(const std::string &file, std::string *message = nullptr)
  {
    try {
      Document::open(file);
    } catch (const ModelError &e) {
      if (message)
        *message = e.what();
      return e.kind();
    }
    return ModelErrorKind::Engine;
  }
};

} // namespace

TEST_F(ReliabilityModel, Rotate45IsAnsweredAsStored)
{
  EXPECT_EQ(rotationWritten(45), 45);
}

TEST_F(ReliabilityModel, Rotate450IsAQuarterTurn)
{
  EXPECT_EQ(rotationWritten(450), 90);
}

TEST_F(ReliabilityModel, RotateMinus90IsThreeQuarterTurns)
{
  EXPECT_EQ(rotationWritten(-90), 270);
}

TEST_F(ReliabilityModel, Rotate720IsNone)
{
  EXPECT_EQ(rotationWritten(720), 0);
}

TEST_F(ReliabilityModel, InvertedMediaBoxIsNormalised)
{
  gen::writeDocument(path("in.pdf"), {page()});
  std::string bytes = rel::readFile(path("in.pdf"));
  size_t at = bytes.find("/MediaBox [0 0 612 792]");
  ASSERT_NE(at, std::string::npos);
  bytes.replace(at, 23, "/MediaBox [612 792 0 0]");
  rel::writeFile(path("in.pdf"), bytes);
  std::unique_ptr<Document> d = Document::open(path("in.pdf"));
  Page *p = d->acquirePage(0);
  FixedRect m = p->mediaBox();
  d->releasePage(p);
  EXPECT_TRUE(sameBox(m, 0, 0, 612, 792)) << show(m);
}

TEST_F(ReliabilityModel, ZeroExtentMediaBoxIsLetter)
{
  gen::writeDocument(path("in.pdf"), {page({0, 0, 0, 0}), page({100, 100, 100, 500})});
  std::unique_ptr<Document> d = Document::open(path("in.pdf"));
  for (int i = 0; i < 2; ++i) {
    Page *p = d->acquirePage(i);
    FixedRect m = p->mediaBox(), c = p->cropBox(), s = p->shownBox();
    d->releasePage(p);
    EXPECT_TRUE(sameBox(m, 0, 0, 612, 792)) << "page " << i + 1 << ": " << show(m);
    EXPECT_TRUE(sameBox(c, 0, 0, 612, 792)) << "page " << i + 1 << ": " << show(c);
    EXPECT_TRUE(sameBox(s, 0, 0, 612, 792)) << "page " << i + 1 << ": " << show(s);
  }
}

TEST_F(ReliabilityModel, CropBoxOutsideTheMediaBoxIsStoredButTheWholeMediaBoxIsShown)
{
  gen::PageSpec p = page();
  p.crop = gen::Box{1000, 1000, 1200, 1200};
  gen::writeDocument(path("in.pdf"), {p});
  std::unique_ptr<Document> d = Document::open(path("in.pdf"));
  Page *pg = d->acquirePage(0);
  FixedRect c = pg->cropBox(), s = pg->shownBox();
  d->releasePage(pg);
  EXPECT_TRUE(sameBox(c, 1000, 1000, 1200, 1200)) << show(c);
  EXPECT_TRUE(sameBox(s, 0, 0, 612, 792)) << show(s);
}

TEST_F(ReliabilityModel, BrokenXrefIsRepairedAndNeedsAFullSave)
{
  gen::writeDocument(path("in.pdf"), {page(), page({0, 0, 792, 612})});
  ASSERT_TRUE(gen::damageXrefOffsets(path("in.pdf")));
  std::unique_ptr<Document> d = Document::open(path("in.pdf"));
  EXPECT_EQ(d->pageCount(), 2);
  EXPECT_EQ(d->flags() & (PDDocWasRepaired | PDDocRequiresFullSave),
            PDDocWasRepaired | PDDocRequiresFullSave);
  Page *p = d->acquirePage(1);
  FixedRect m = p->mediaBox();
  d->releasePage(p);
  EXPECT_TRUE(sameBox(m, 0, 0, 792, 612)) << show(m);
  EXPECT_FALSE(d->saveAs(path("out.pdf"))); // a full save
  std::unique_ptr<Document> again = Document::open(path("out.pdf"));
  EXPECT_EQ(again->pageCount(), 2);
  EXPECT_EQ(again->flags() & PDDocWasRepaired, 0);
}

TEST_F(ReliabilityModel, EmptyFileIsRefusedAsEmpty)
{
  rel::writeFile(path("e.pdf"), "");
  EXPECT_EQ(openError(path("e.pdf")), ModelErrorKind::EmptyFile);
}

TEST_F(ReliabilityModel, TextFileIsRefusedAsNotPdf)
{
  rel::writeFile(path("t.pdf"), "plain words\n");
  EXPECT_EQ(openError(path("t.pdf")), ModelErrorKind::NotPdf);
}

TEST_F(ReliabilityModel, HeaderOnlyFileIsRefusedAsTruncated)
{
  rel::writeFile(path("h.pdf"), "%PDF-1.7\n%\xe2\xe3\xcf\xd3\n1 0 obj\n<< /Type /Catalog");
  EXPECT_EQ(openError(path("h.pdf")), ModelErrorKind::Truncated);
}

TEST_F(ReliabilityModel, PageTreeWithoutPagesIsRefusedAsDamaged)
{
  std::string body = "%PDF-1.4\n1 0 obj\n<< /Type /Catalog /Pages 2 0 R >>\nendobj\n"
                     "2 0 obj\n<< /Type /Pages /Kids [] /Count 0 >>\nendobj\n"
                     "trailer\n<< /Size 3 /Root 1 0 R >>\n%%EOF\n";
  rel::writeFile(path("z.pdf"), body);
  std::string message;
  EXPECT_EQ(openError(path("z.pdf"), &message), ModelErrorKind::Damaged);
  EXPECT_EQ(message, "The file \"z.pdf\" has no pages that can be read.");
}

TEST_F(ReliabilityModel, HundredThousandPagesAreCountedAndTheLastOneRead)
{
  {
    gen::Writer w(path("big.pdf"));
    for (int i = 0; i < 100000; ++i)
      w.addPage(page(i == 99999 ? gen::Box{0, 0, 300, 400} : gen::Box{0, 0, 612, 792}));
    w.finish();
  }
  std::unique_ptr<Document> d = Document::open(path("big.pdf"));
  ASSERT_EQ(d->pageCount(), 100000);
  Page *p = d->acquirePage(99999);
  FixedRect m = p->mediaBox();
  d->releasePage(p);
  EXPECT_TRUE(sameBox(m, 0, 0, 300, 400)) << show(m);
}

// A damaged file that opens, but whose repair (done by the engine when a
// page's contents are first read) takes the catalog with it: the document the
// engine holds then writes a file without pages, which the read-back refuses.
// Only crop boxes changed, so the save makes the same change on the file as
// it is on disk and appends it: the file is saved, never replaced with one
// without pages. Found by the fuzz target (it used to replace the file; then
// it was refused although only a crop box had changed).
TEST_F(ReliabilityModel, SaveAfterARepairThatLostTheCatalogWritesTheCropOnTheFileOnDisk)
{
  std::string original =
      rel::readFile(std::string(FUZZ_CRASHERS_DIR) + "/repair-while-reading-contents-loses-catalog.pdf");
  ASSERT_FALSE(original.empty());
  rel::writeFile(path("victim.pdf"), original);
  std::unique_ptr<Document> d = Document::open(path("victim.pdf"));
  ASSERT_EQ(d->pageCount(), 1);
  Page *p = d->acquirePage(0);
  FixedRect m = p->mediaBox();
  FixedRect set = m;
  set.left += F(1);
  set.top -= F(1);
  try {
    p->bbox(); // reads the contents: the engine repairs the file here
  } catch (const ModelError &e) {
    EXPECT_EQ(e.kind(), ModelErrorKind::Engine) << e.what();
  }
  bool cropped = true;
  try {
    p->setCropBox(set);
    p->notifyContentsDidChange();
  } catch (const ModelError &e) {
    // After that repair the page may no longer be found.
    cropped = false;
    EXPECT_EQ(e.kind(), ModelErrorKind::Engine) << e.what();
  }
  d->releasePage(p);
  ASSERT_NO_THROW(d->save());
  EXPECT_EQ(rel::readFile(path("victim.pdf")).compare(0, original.size(), original), 0)
      << "the original bytes are kept as the start of the file";
  std::unique_ptr<Document> again = Document::open(path("victim.pdf"));
  ASSERT_EQ(again->pageCount(), 1);
  Page *q = again->acquirePage(0);
  FixedRect c = q->cropBox();
  again->releasePage(q);
  if (cropped) {
    EXPECT_TRUE(c.left == set.left && c.bottom == set.bottom && c.right == set.right && c.top == set.top)
        << show(c) << " instead of " << show(set);
  }
  EXPECT_EQ(rel::listDir(dir.path()), std::vector<std::string>{"victim.pdf"});
}

// A damaged file that the engine repairs only when the page's contents are
// first read: a crop box set before that repair, and one set after it, are
// both in the saved file. Found by the fuzz target (the crop box was lost
// without a word).
TEST_F(ReliabilityModel, CropBoxSetBeforeALazyRepairIsSaved)
{
  rel::writeFile(path("in.pdf"), rel::readFile(std::string(FUZZ_CRASHERS_DIR) +
                                               "/repair-while-reading-contents-drops-crop-box.pdf"));
  std::unique_ptr<Document> d = Document::open(path("in.pdf"));
  Page *p = d->acquirePage(0);
  p->setCropBox({F(10), F(300), F(300), F(20)});
  p->notifyContentsDidChange();
  p->bbox(); // the engine repairs the file here
  d->releasePage(p);
  d->saveAs(path("out.pdf"));
  std::unique_ptr<Document> again = Document::open(path("out.pdf"));
  Page *q = again->acquirePage(0);
  FixedRect c = q->cropBox();
  again->releasePage(q);
  EXPECT_TRUE(sameBox(c, 10, 20, 300, 300)) << show(c);
}

TEST_F(ReliabilityModel, CropBoxSetAfterALazyRepairIsSaved)
{
  rel::writeFile(path("in.pdf"), rel::readFile(std::string(FUZZ_CRASHERS_DIR) +
                                               "/repair-while-reading-contents-drops-crop-box.pdf"));
  std::unique_ptr<Document> d = Document::open(path("in.pdf"));
  Page *p = d->acquirePage(0);
  p->bbox(); // the engine repairs the file here
  p->setCropBox({F(10), F(300), F(300), F(20)});
  p->notifyContentsDidChange();
  d->releasePage(p);
  d->saveAs(path("out.pdf"));
  std::unique_ptr<Document> again = Document::open(path("out.pdf"));
  Page *q = again->acquirePage(0);
  FixedRect c = q->cropBox();
  again->releasePage(q);
  EXPECT_TRUE(sameBox(c, 10, 20, 300, 300)) << show(c);
}

// An encrypted file that opens with the empty password, damaged so that the
// engine repairs it: a full save wrote a file that the empty password no
// longer opened. The save must be refused and the file kept. Found by the
// fuzz target.
TEST_F(ReliabilityModel, SaveThatWouldLockTheFileIsRefusedAndTheFileKept)
{
  std::string original =
      rel::readFile(std::string(FUZZ_CRASHERS_DIR) + "/repaired-encryption-saved-without-its-password.pdf");
  ASSERT_FALSE(original.empty());
  rel::writeFile(path("locked.pdf"), original);
  std::unique_ptr<Document> d = Document::open(path("locked.pdf"));
  Page *p = d->acquirePage(0);
  p->setCropBox(p->mediaBox());
  p->notifyContentsDidChange();
  d->releasePage(p);
  try {
    d->save();
    std::unique_ptr<Document> again = Document::open(path("locked.pdf"));
    EXPECT_EQ(again->pageCount(), d->pageCount()); // saved: then it must open as before
  } catch (const ModelError &e) {
    EXPECT_EQ(e.kind(), ModelErrorKind::SaveFailed) << e.what();
    EXPECT_EQ(rel::readFile(path("locked.pdf")), original);
  }
  EXPECT_EQ(rel::listDir(dir.path()), std::vector<std::string>{"locked.pdf"});
}
