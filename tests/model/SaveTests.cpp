// SaveTests.cpp: incremental and full saves, encryption kept, and failures
// that leave the file on disk as it was.
#include "ModelTestSupport.h"

#include <algorithm>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace folio;
using namespace folio::model;
using namespace folio::modeltest;

namespace {

// The subsections of the cross-reference table that the file's last
// startxref names, as "first count" pairs; empty when it is not a classic
// table (an xref stream).
std::vector<std::pair<long, long>> lastTableSubsections(const std::string &bytes)
{
  std::vector<std::pair<long, long>> out;
  size_t sx = bytes.rfind("startxref");
  if (sx == std::string::npos)
    return out;
  size_t at = std::stoul(bytes.substr(sx + 9, 24));
  if (bytes.compare(at, 4, "xref") != 0)
    return out;
  std::istringstream in(bytes.substr(at + 4));
  std::string word;
  while (in >> word && word != "trailer") {
    long first = std::stol(word), count = 0;
    in >> count;
    out.emplace_back(first, count);
    for (long k = 0; k < count * 3; ++k)
      in >> word;
  }
  return out;
}

class ModelSave : public ModelTest {
protected:
  // Sets page `index`'s crop box to `r` and notifies, as the plug-in does.
  static void crop(Document &doc, int index, FixedRect r)
  {
    Page *p = doc.acquirePage(index);
    p->setCropBox(r);
    p->notifyContentsDidChange();
    doc.releasePage(p);
  }

  static FixedRect cropOf(Document &doc, int index)
  {
    Page *p = doc.acquirePage(index);
    FixedRect r = p->cropBox();
    doc.releasePage(p);
    return r;
  }

  static bool qpdfChecks(const std::string &p, const std::string &password = "")
  {
    std::vector<std::string> argv{"qpdf", "--check", p};
    if (!password.empty())
      argv.insert(argv.begin() + 2, "--password=" + password);
    return run(argv) == 0;
  }

  static bool encryptedOnDisk(const std::string &p)
  {
    // Without a password qpdf can only read an encrypted file's structure.
    return run({"qpdf", "--requires-password", p}) == 0;
  }

  std::string encrypted(bool allowModify)
  {
    std::string plain = write("plain.pdf", {rectPage(), rectPage()});
    std::string out = path("locked.pdf");
    EXPECT_TRUE(pdfgen::encryptWithQpdf(plain, out, "user", "owner", allowModify));
    return out;
  }

  // Expects a save to fail with SaveFailed and returns its message.
  static std::string saveFailure(Document &doc, const std::string &target)
  {
    try {
      doc.saveAs(target);
    } catch (const ModelError &e) {
      EXPECT_EQ(e.kind(), ModelErrorKind::SaveFailed);
      return e.what();
    }
    ADD_FAILURE() << "the save to " << target << " succeeded";
    return "";
  }
};

TEST_F(ModelSave, IncrementalSaveKeepsTheOriginalBytesAsAPrefix)
{
  std::string p = write("doc.pdf", {rectPage(), rectPage(), rectPage()});
  std::string before = readFile(p);
  {
    auto doc = Document::open(p);
    crop(*doc, 1, fixedRect(50, 60, 400, 500));
    EXPECT_TRUE(doc->save());
  }
  std::string after = readFile(p);
  ASSERT_GT(after.size(), before.size());
  EXPECT_EQ(after.compare(0, before.size(), before), 0);
  EXPECT_TRUE(qpdfChecks(p));
  auto q = qpdfPages(p);
  ASSERT_EQ(q.size(), 3u);
  ASSERT_TRUE(q[1].crop.has_value());
  EXPECT_DOUBLE_EQ(q[1].crop->x0, 50);
  EXPECT_DOUBLE_EQ(q[1].crop->y1, 500);
  EXPECT_FALSE(q[0].crop.has_value());
}

TEST_F(ModelSave, SecondIncrementalSaveAppendsToTheFirst)
{
  std::string p = write("doc.pdf", {rectPage(), rectPage()});
  auto doc = Document::open(p);
  crop(*doc, 0, fixedRect(10, 20, 300, 400));
  EXPECT_TRUE(doc->save());
  std::string first = readFile(p);
  crop(*doc, 1, fixedRect(30, 40, 500, 600));
  EXPECT_TRUE(doc->save());
  std::string second = readFile(p);
  EXPECT_EQ(second.compare(0, first.size(), first), 0);
  auto q = qpdfPages(p);
  ASSERT_EQ(q.size(), 2u);
  ASSERT_TRUE(q[0].crop && q[1].crop);
  EXPECT_DOUBLE_EQ(q[0].crop->x1, 300);
  EXPECT_DOUBLE_EQ(q[1].crop->x1, 500);
}

TEST_F(ModelSave, RepairedFileIsSavedInFull)
{
  std::string p = write("damaged.pdf", {rectPage(), rectPage()});
  ASSERT_TRUE(pdfgen::damageXrefOffsets(p));
  std::string before = readFile(p);
  {
    auto doc = Document::open(p);
    ASSERT_EQ(doc->flags() & PDDocWasRepaired, PDDocWasRepaired);
    crop(*doc, 0, fixedRect(20, 30, 200, 300));
    EXPECT_FALSE(doc->save()); // not incremental
  }
  std::string after = readFile(p);
  EXPECT_NE(after.compare(0, before.size(), before), 0);
  EXPECT_TRUE(qpdfChecks(p));
  auto doc = Document::open(p);
  EXPECT_EQ(doc->flags() & PDDocWasRepaired, 0); // the rewritten file is sound
  EXPECT_RECT_NEAR(cropOf(*doc, 0), 20, 30, 200, 300, 0);
}

TEST_F(ModelSave, ForcedFullSaveRewritesTheFile)
{
  std::string p = write("doc.pdf", {rectPage()});
  auto doc = Document::open(p);
  crop(*doc, 0, fixedRect(20, 30, 200, 300));
  EXPECT_FALSE(doc->save(true));
  EXPECT_TRUE(qpdfChecks(p));
  EXPECT_RECT_NEAR(cropOf(*doc, 0), 20, 30, 200, 300, 0);
}

TEST_F(ModelSave, SaveAsLeavesTheOriginalAndMovesTheDocument)
{
  std::string p = write("doc.pdf", {rectPage()});
  std::string before = readFile(p);
  auto doc = Document::open(p);
  crop(*doc, 0, fixedRect(20, 30, 200, 300));
  EXPECT_TRUE(doc->saveAs(path("copy.pdf")));
  EXPECT_EQ(readFile(p), before);
  EXPECT_EQ(doc->path(), path("copy.pdf"));
  std::string copy = readFile(path("copy.pdf"));
  EXPECT_EQ(copy.compare(0, before.size(), before), 0);
  EXPECT_TRUE(qpdfChecks(path("copy.pdf")));
}

TEST_F(ModelSave, SaveThroughASymbolicLinkReplacesTheFileItNames)
{
  std::string real = write("real.pdf", {rectPage()});
  ASSERT_EQ(::symlink(real.c_str(), path("link.pdf").c_str()), 0);
  auto doc = Document::open(path("link.pdf"));
  crop(*doc, 0, fixedRect(20, 30, 200, 300));
  doc->save();
  struct stat st {};
  ASSERT_EQ(::lstat(path("link.pdf").c_str(), &st), 0);
  EXPECT_TRUE(S_ISLNK(st.st_mode));
  EXPECT_EQ(doc->path(), path("link.pdf"));
  auto q = qpdfPages(real);
  ASSERT_EQ(q.size(), 1u);
  ASSERT_TRUE(q[0].crop.has_value());
  EXPECT_DOUBLE_EQ(q[0].crop->x1, 200);
}

TEST_F(ModelSave, EmptyNameKeyDoesNotSwallowTheCropBoxInAFullSave)
{
  // A page dictionary with an empty name as a key, followed by a number:
  // written back as one name, it would shift the keys after it.
  std::string p = write("doc.pdf", {rectPage()});
  std::string bytes = readFile(p);
  // Same length, so that the xref offsets stay right.
  const std::string plain =
      "<< /Type /Page /Parent 2 0 R /Resources 4 0 R /Contents 5 0 R /MediaBox [0 0 612 792] >>";
  std::string odd = "<</Type/Page/Parent 2 0 R/Resources 4 0 R/Contents 5 0 R/MediaBox[0 0 612 792]/ 15>>";
  odd.insert(odd.size() - 2, plain.size() - odd.size(), ' ');
  size_t at = bytes.find(plain);
  ASSERT_NE(at, std::string::npos);
  bytes.replace(at, plain.size(), odd);
  writeFile(p, bytes);
  {
    auto doc = Document::open(p);
    crop(*doc, 0, fixedRect(20, 30, 200, 300));
    EXPECT_FALSE(doc->save(true));
  }
  auto q = qpdfPages(p);
  ASSERT_EQ(q.size(), 1u);
  ASSERT_TRUE(q[0].crop.has_value());
  EXPECT_DOUBLE_EQ(q[0].crop->x0, 20);
  EXPECT_DOUBLE_EQ(q[0].crop->y1, 300);
  auto doc = Document::open(p);
  EXPECT_RECT_NEAR(cropOf(*doc, 0), 20, 30, 200, 300, 0);
}

TEST_F(ModelSave, EmptyNameKeyDoesNotSwallowTheCropBoxInAnIncrementalSave)
{
  // A page dictionary with an empty name as a key, followed by a number:
  // written back as one name, it would shift the keys after it.
  std::string p = write("doc.pdf", {rectPage()});
  std::string bytes = readFile(p);
  // Same length, so that the xref offsets stay right.
  const std::string plain =
      "<< /Type /Page /Parent 2 0 R /Resources 4 0 R /Contents 5 0 R /MediaBox [0 0 612 792] >>";
  std::string odd = "<</Type/Page/Parent 2 0 R/Resources 4 0 R/Contents 5 0 R/MediaBox[0 0 612 792]/ 15>>";
  odd.insert(odd.size() - 2, plain.size() - odd.size(), ' ');
  size_t at = bytes.find(plain);
  ASSERT_NE(at, std::string::npos);
  bytes.replace(at, plain.size(), odd);
  writeFile(p, bytes);
  {
    auto doc = Document::open(p);
    crop(*doc, 0, fixedRect(20, 30, 200, 300));
    EXPECT_TRUE(doc->save());
  }
  auto q = qpdfPages(p);
  ASSERT_EQ(q.size(), 1u);
  ASSERT_TRUE(q[0].crop.has_value());
  EXPECT_DOUBLE_EQ(q[0].crop->x0, 20);
  EXPECT_DOUBLE_EQ(q[0].crop->y1, 300);
  auto doc = Document::open(p);
  EXPECT_RECT_NEAR(cropOf(*doc, 0), 20, 30, 200, 300, 0);
}

TEST_F(ModelSave, SaveKeepsTheFilesPermissionBits)
{
  std::string p = write("doc.pdf", {rectPage()});
  ::chmod(p.c_str(), 0640);
  auto doc = Document::open(p);
  crop(*doc, 0, fixedRect(20, 30, 200, 300));
  doc->save();
  struct stat st {};
  ASSERT_EQ(::stat(p.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0640u);
}

TEST_F(ModelSave, EncryptionIsKeptByAnIncrementalSave)
{
  std::string p = encrypted(false);
  {
    FixedPasswordPort port("user");
    auto doc = Document::open(p, &port);
    crop(*doc, 1, fixedRect(40, 50, 300, 400));
    EXPECT_TRUE(doc->save());
  }
  EXPECT_TRUE(encryptedOnDisk(p));
  EXPECT_TRUE(qpdfChecks(p, "user"));
  EXPECT_THROW(Document::open(p), ModelError); // still needs the password
  FixedPasswordPort port("user");
  auto doc = Document::open(p, &port);
  EXPECT_RECT_NEAR(cropOf(*doc, 1), 40, 50, 300, 400, 0);
  EXPECT_EQ(doc->permissions() & pdPermEdit, 0u);
}

TEST_F(ModelSave, EncryptionIsKeptByAFullSave)
{
  std::string p = encrypted(true);
  {
    FixedPasswordPort port("owner");
    auto doc = Document::open(p, &port);
    crop(*doc, 0, fixedRect(40, 50, 300, 400));
    EXPECT_FALSE(doc->save(true));
  }
  EXPECT_TRUE(encryptedOnDisk(p));
  EXPECT_TRUE(qpdfChecks(p, "owner"));
  FixedPasswordPort port("user");
  auto doc = Document::open(p, &port);
  EXPECT_RECT_NEAR(cropOf(*doc, 0), 40, 50, 300, 400, 0);
}

TEST_F(ModelSave, SaveIntoAMissingFolderFails)
{
  auto doc = Document::open(write("doc.pdf", {rectPage()}));
  crop(*doc, 0, fixedRect(20, 30, 200, 300));
  EXPECT_EQ(saveFailure(*doc, path("no-such-folder/out.pdf")),
            "The document could not be saved to \"out.pdf\": its folder does not exist. The file on disk was "
            "not changed.");
  EXPECT_EQ(doc->flags() & PDDocNeedsSave, PDDocNeedsSave); // still unsaved
}

TEST_F(ModelSave, SaveUnderAPathWhoseParentIsAFileFails)
{
  std::string p = write("doc.pdf", {rectPage()});
  std::string before = readFile(p);
  auto doc = Document::open(p);
  crop(*doc, 0, fixedRect(20, 30, 200, 300));
  saveFailure(*doc, p + "/inside.pdf");
  EXPECT_EQ(readFile(p), before);
  EXPECT_EQ(listDir(dir_), std::vector<std::string>{"doc.pdf"});
}

TEST_F(ModelSave, FailedReplaceLeavesTheTargetAndNoTemporaryFile)
{
  // The target is a folder: it is refused before anything is written; the
  // folder and the document's own file stay.
  std::string p = write("doc.pdf", {rectPage()});
  std::string before = readFile(p);
  ::mkdir(path("target.pdf").c_str(), 0755);
  auto doc = Document::open(p);
  crop(*doc, 0, fixedRect(20, 30, 200, 300));
  std::string msg = saveFailure(*doc, path("target.pdf"));
  EXPECT_NE(msg.find("it is a folder"), std::string::npos) << msg;
  EXPECT_EQ(readFile(p), before);
  auto names = listDir(dir_);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"doc.pdf", "target.pdf"}));
  EXPECT_EQ(doc->path(), p);
}

TEST_F(ModelSave, SaveIntoAReadOnlyFolderFailsForAnOrdinaryUser)
{
  // Permission bits do not stop root, so the save runs in a child that gives
  // up root (when it has it) before opening and saving.
  std::string p = write("doc.pdf", {rectPage()});
  std::string before = readFile(p);
  ::chmod(p.c_str(), 0644);
  ::chmod(dir_.c_str(), 0555);
  pid_t pid = ::fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    if (::getuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0))
      ::_exit(3);
    try {
      auto doc = Document::open(p);
      crop(*doc, 0, fixedRect(20, 30, 200, 300));
      doc->save();
    } catch (const ModelError &e) {
      bool clean = e.kind() == ModelErrorKind::SaveFailed &&
                   std::string(e.what()).find("cannot write in its folder") != std::string::npos;
      ::_exit(clean ? 0 : 1);
    }
    ::_exit(2); // saved: the folder was writable after all
  }
  int status = 0;
  ::waitpid(pid, &status, 0);
  ::chmod(dir_.c_str(), 0755);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_EQ(readFile(p), before);
  EXPECT_EQ(listDir(dir_), std::vector<std::string>{"doc.pdf"});
}

TEST_F(ModelSave, UnchangedDocumentSavesIncrementallyAndStaysReadable)
{
  std::string p = write("doc.pdf", {rectPage()});
  std::string before = readFile(p);
  auto doc = Document::open(p);
  EXPECT_TRUE(doc->save());
  std::string after = readFile(p);
  EXPECT_EQ(after.compare(0, before.size(), before), 0);
  EXPECT_TRUE(qpdfChecks(p));
}

// The engine writes one subsection per run of changed objects: a crop of
// every page of a document whose page objects alternate with their contents
// gives one a page, which the engine reads back in time growing with the
// square of their number. The save joins them; the file keeps its original
// bytes, and every reader finds the same pages, boxes and contents.
TEST_F(ModelSave, IncrementalSaveOfEveryPageWritesFewSubsections)
{
  const int n = 300;
  std::vector<pdfgen::PageSpec> pages(n, rectPage());
  std::string p = write("many.pdf", pages);
  std::string before = readFile(p);
  std::vector<FixedRect> bboxes;
  {
    auto doc = Document::open(p);
    for (int i = 0; i < n; ++i)
      crop(*doc, i, fixedRect(10 + i % 7, 20, 500, 700 - i % 5));
    EXPECT_TRUE(doc->save());
  }
  std::string after = readFile(p);
  ASSERT_GT(after.size(), before.size());
  EXPECT_EQ(after.compare(0, before.size(), before), 0);
  auto subsections = lastTableSubsections(after);
  ASSERT_FALSE(subsections.empty());
  EXPECT_LE(subsections.size(), 32u);
  long covered = 0;
  for (auto &s : subsections)
    covered += s.second;
  EXPECT_GE(covered, n); // every page object is stated
  EXPECT_TRUE(qpdfChecks(p));
  auto q = qpdfPages(p);
  ASSERT_EQ(q.size(), static_cast<size_t>(n));
  for (int i = 0; i < n; ++i) {
    ASSERT_TRUE(q[i].crop.has_value()) << "page " << i + 1;
    EXPECT_DOUBLE_EQ(q[i].crop->x0, 10 + i % 7) << "page " << i + 1;
    EXPECT_DOUBLE_EQ(q[i].crop->y1, 700 - i % 5) << "page " << i + 1;
  }
  // The contents between the page objects are found where they were.
  auto doc = Document::open(p);
  ASSERT_EQ(doc->pageCount(), n);
  for (int i : {0, n / 2, n - 1}) {
    Page *page = doc->acquirePage(i);
    EXPECT_RECT_NEAR(page->bbox(), 100, 100, 200, 200, 0.25);
    doc->releasePage(page);
  }
  // And a further incremental save appends to the joined update.
  crop(*doc, 1, fixedRect(30, 40, 400, 600));
  EXPECT_TRUE(doc->save());
  std::string third = readFile(p);
  EXPECT_EQ(third.compare(0, after.size(), after), 0);
  EXPECT_TRUE(qpdfChecks(p));
  q = qpdfPages(p);
  ASSERT_EQ(q.size(), static_cast<size_t>(n));
  ASSERT_TRUE(q[1].crop && q[2].crop);
  EXPECT_DOUBLE_EQ(q[1].crop->x0, 30);
  EXPECT_DOUBLE_EQ(q[2].crop->x0, 12);
}

// A file with object streams gets its update's table from the engine as it
// is (a cross-reference stream, which cannot state the objects in between):
// it is saved and reads back the same.
TEST_F(ModelSave, IncrementalSaveOfEveryPageOfAFileWithObjectStreams)
{
  const int n = 120;
  std::vector<pdfgen::PageSpec> pages(n, rectPage());
  std::string plain = write("plain.pdf", pages);
  std::string p = path("packed.pdf");
  ASSERT_EQ(run({"qpdf", "--object-streams=generate", plain, p}), 0);
  std::string before = readFile(p);
  {
    auto doc = Document::open(p);
    for (int i = 0; i < n; ++i)
      crop(*doc, i, fixedRect(10, 20 + i % 3, 500, 700));
    EXPECT_TRUE(doc->save());
  }
  std::string after = readFile(p);
  EXPECT_EQ(after.compare(0, before.size(), before), 0);
  EXPECT_TRUE(qpdfChecks(p));
  auto q = qpdfPages(p);
  ASSERT_EQ(q.size(), static_cast<size_t>(n));
  for (int i = 0; i < n; ++i) {
    ASSERT_TRUE(q[i].crop.has_value()) << "page " << i + 1;
    EXPECT_DOUBLE_EQ(q[i].crop->y0, 20 + i % 3) << "page " << i + 1;
  }
  auto doc = Document::open(p);
  EXPECT_EQ(doc->pageCount(), n);
}

} // namespace
