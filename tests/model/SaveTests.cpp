// SaveTests.cpp: incremental and full saves, encryption kept, and failures
// that leave the file on disk as it was.
#include "ModelTestSupport.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace folio;
using namespace folio::model;
using namespace folio::modeltest;

namespace {

// Where the cross-reference table or stream that the file's last startxref
// names starts; npos when the file has no startxref.
size_t lastXrefAt(const std::string &bytes)
{
  size_t sx = bytes.rfind("startxref");
  return sx == std::string::npos ? sx : std::stoul(bytes.substr(sx + 9, 24));
}

// The subsections of the cross-reference table that the file's last
// startxref names, as "first count" pairs; empty when it is not a classic
// table (an xref stream).
std::vector<std::pair<long, long>> lastTableSubsections(const std::string &bytes)
{
  std::vector<std::pair<long, long>> out;
  size_t at = lastXrefAt(bytes);
  if (at == std::string::npos || bytes.compare(at, 4, "xref") != 0)
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

// The /Index of the cross-reference stream that the file's last startxref
// names, as "first count" pairs; empty when there is none there (a classic
// table) or its dictionary has no /Index.
std::vector<std::pair<long, long>> lastStreamSubsections(const std::string &bytes)
{
  std::vector<std::pair<long, long>> out;
  size_t at = lastXrefAt(bytes);
  if (at == std::string::npos)
    return out;
  size_t stream = bytes.find("stream", at);
  size_t index = bytes.find("/Index", at);
  if (bytes.compare(at, 4, "xref") == 0 || index == std::string::npos || index > stream)
    return out;
  size_t open = bytes.find('[', index), close = bytes.find(']', index);
  std::istringstream in(bytes.substr(open + 1, close - open - 1));
  long first = 0, count = 0;
  while (in >> first >> count)
    out.emplace_back(first, count);
  return out;
}

// `bytes`, a file with one classic table (as pdfgen writes it), with that
// table and its trailer replaced by a cross-reference stream stating the same
// objects. With `pagesPacked`, the page objects are read from an object
// stream instead (their old bodies stay in the file, unused), as in files
// that pack their small objects.
std::string withXrefStream(const std::string &bytes, bool pagesPacked)
{
  size_t table = bytes.rfind("xref\n0 ");
  std::istringstream in(bytes.substr(table + 5));
  long first = 0, count = 0;
  in >> first >> count;
  std::vector<long> offsets(static_cast<size_t>(count), -1);
  for (long k = 0; k < count; ++k) {
    std::string off, gen, type;
    in >> off >> gen >> type;
    if (type == "n")
      offsets[static_cast<size_t>(k)] = std::stol(off);
  }
  std::string out = bytes.substr(0, table);
  // Entries: type, then two big-endian fields of 4 and 2 bytes.
  std::vector<std::array<long, 3>> entries(static_cast<size_t>(count + 2), {0, 0, 0});
  const long stm = count, xref = count + 1;
  std::string header, bodies;
  int packed = 0;
  for (long num = 1; num < count; ++num) {
    long at = offsets[static_cast<size_t>(num)];
    if (at < 0)
      continue;
    entries[static_cast<size_t>(num)] = {1, at, 0};
    size_t body = bytes.find("obj\n", static_cast<size_t>(at)) + 4;
    if (!pagesPacked || bytes.compare(body, 15, "<< /Type /Page ") != 0)
      continue;
    size_t end = bytes.find("\nendobj", body);
    header += std::to_string(num) + " " + std::to_string(bodies.size()) + " ";
    bodies += bytes.substr(body, end - body) + "\n";
    entries[static_cast<size_t>(num)] = {2, stm, packed++};
  }
  if (packed > 0) {
    entries[static_cast<size_t>(stm)] = {1, static_cast<long>(out.size()), 0};
    out += std::to_string(stm) + " 0 obj\n<< /Type /ObjStm /N " + std::to_string(packed) + " /First " +
           std::to_string(header.size()) + " /Length " + std::to_string(header.size() + bodies.size()) +
           " >>\nstream\n" + header + bodies + "\nendstream\nendobj\n";
  }
  const long xrefAt = static_cast<long>(out.size());
  entries[static_cast<size_t>(xref)] = {1, xrefAt, 0};
  std::string data;
  for (const auto &e : entries) {
    data += static_cast<char>(e[0]);
    for (int k = 3; k >= 0; --k)
      data += static_cast<char>((e[1] >> (8 * k)) & 0xff);
    for (int k = 1; k >= 0; --k)
      data += static_cast<char>((e[2] >> (8 * k)) & 0xff);
  }
  out += std::to_string(xref) + " 0 obj\n<< /Type /XRef /Size " + std::to_string(count + 2) +
         " /W [1 4 2] /Root 1 0 R /Length " + std::to_string(data.size()) + " >>\nstream\n" + data +
         "\nendstream\nendobj\nstartxref\n" + std::to_string(xrefAt) + "\n%%EOF\n";
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

  // After an incremental save of a document of `n` rectangle pages gave the
  // file `after` at `p`: the contents of `pages` are found where they were,
  // and a further crop of page 2 saves by appending to `after`, the file
  // still sound. Returns the boxes qpdf then reads (n pages).
  std::vector<QpdfPage> contentsReadAndFurtherSaveAppends(const std::string &p, const std::string &after,
                                                          int n, std::initializer_list<int> pages)
  {
    auto doc = Document::open(p);
    EXPECT_EQ(doc->pageCount(), n);
    for (int i : pages) {
      Page *page = doc->acquirePage(i);
      EXPECT_RECT_NEAR(page->bbox(), 100, 100, 200, 200, 0.25);
      doc->releasePage(page);
    }
    crop(*doc, 1, fixedRect(30, 40, 400, 600));
    EXPECT_TRUE(doc->save());
    std::string third = readFile(p);
    EXPECT_EQ(third.compare(0, after.size(), after), 0);
    EXPECT_TRUE(qpdfChecks(p));
    auto q = qpdfPages(p);
    EXPECT_EQ(q.size(), static_cast<size_t>(n));
    if (q.size() > 1 && q[1].crop) {
      EXPECT_DOUBLE_EQ(q[1].crop->x0, 30);
    } else {
      ADD_FAILURE() << "page 2 has no crop box after the further save";
    }
    return q;
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
  // The contents between the page objects are found where they were, and a
  // further incremental save appends to the joined update.
  q = contentsReadAndFurtherSaveAppends(p, after, n, {0, n / 2, n - 1});
  ASSERT_EQ(q.size(), static_cast<size_t>(n));
  ASSERT_TRUE(q[2].crop);
  EXPECT_DOUBLE_EQ(q[2].crop->x0, 12);
}

// A file with a cross-reference stream gets its update's table in that form,
// from the engine one subsection per changed page: the save joins them too,
// stating the objects in between where they are (at their offset, or in an
// object stream). Every reader finds the same pages, boxes and contents, and
// a further save appends to it.
class ModelSaveXrefStream : public ModelSave, public ::testing::WithParamInterface<bool> {};

TEST_P(ModelSaveXrefStream, IncrementalSaveOfManyPagesWritesFewSubsections)
{
  const bool packed = GetParam();
  const int n = 120;
  std::vector<pdfgen::PageSpec> pages(n, rectPage());
  std::string p = path("streamed.pdf");
  writeFile(p, withXrefStream(readFile(write("plain.pdf", pages)), packed));
  ASSERT_TRUE(qpdfChecks(p));
  std::string before = readFile(p);
  {
    auto doc = Document::open(p);
    ASSERT_EQ(doc->pageCount(), n);
    // Every other page: the pages between, unchanged, are stated again from
    // where they are, in the object stream when `packed`.
    for (int i = 0; i < n; i += 2)
      crop(*doc, i, fixedRect(10, 20 + i % 3, 500, 700));
    EXPECT_TRUE(doc->save());
  }
  std::string after = readFile(p);
  ASSERT_GT(after.size(), before.size());
  EXPECT_EQ(after.compare(0, before.size(), before), 0);
  auto subsections = lastStreamSubsections(after);
  ASSERT_FALSE(subsections.empty()) << "the update ends in no cross-reference stream";
  EXPECT_LE(subsections.size(), 32u);
  long covered = 0;
  for (auto &s : subsections)
    covered += s.second;
  EXPECT_GE(covered, n); // the cropped pages, their contents and the pages between
  EXPECT_TRUE(qpdfChecks(p));
  auto q = qpdfPages(p);
  ASSERT_EQ(q.size(), static_cast<size_t>(n));
  for (int i = 0; i < n; ++i) {
    if (i % 2 == 0) {
      ASSERT_TRUE(q[i].crop.has_value()) << "page " << i + 1;
      EXPECT_DOUBLE_EQ(q[i].crop->y0, 20 + i % 3) << "page " << i + 1;
    } else {
      EXPECT_FALSE(q[i].crop.has_value()) << "page " << i + 1;
    }
  }
  q = contentsReadAndFurtherSaveAppends(p, after, n, {0, 1, n / 2 + 1, n - 1});
  ASSERT_EQ(q.size(), static_cast<size_t>(n));
  ASSERT_TRUE(q[2].crop);
  EXPECT_DOUBLE_EQ(q[2].crop->y0, 22);
  EXPECT_FALSE(q[3].crop.has_value());
}

INSTANTIATE_TEST_SUITE_P(Packing, ModelSaveXrefStream, ::testing::Values(false, true),
                         [](const ::testing::TestParamInfo<bool> &i) {
                           return i.param ? std::string("PagesInObjectStream")
                                          : std::string("PagesAtOffsets");
                         });

// A file that qpdf packed into object streams (its pages numbered one after
// the other, so the update is one run) is saved and reads back the same.
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

// While a command crops page after page, the engine's parsed copies of the
// original page objects are given back every few thousand pages, and the
// save gives back what it parsed of the file it checks. Nothing of the edits
// goes: every page's box is saved, the history undoes the command, and the
// document saves again.
TEST_F(ModelSave, CropOfEveryPageOfALargeDocumentKeepsEveryEditThroughTheSave)
{
  const int n = 9000; // more than twice the changes between two trims
  std::vector<pdfgen::PageSpec> pages(n, rectPage());
  std::string p = write("large.pdf", pages);
  auto doc = Document::open(p);
  CropHistory::beginAction("Crop Region");
  for (int i = 0; i < n; ++i)
    crop(*doc, i, fixedRect(10 + i % 7, 20, 500, 700 - i % 5));
  CropHistory::endAction();
  for (int i : {0, 4095, 4096, 8191, 8192, n - 1})
    EXPECT_RECT_NEAR(cropOf(*doc, i), 10 + i % 7, 20, 500, 700 - i % 5, 0);
  EXPECT_TRUE(doc->save());
  auto q = qpdfPages(p);
  ASSERT_EQ(q.size(), static_cast<size_t>(n));
  for (int i = 0; i < n; ++i) {
    ASSERT_TRUE(q[i].crop.has_value()) << "page " << i + 1;
    EXPECT_DOUBLE_EQ(q[i].crop->x0, 10 + i % 7) << "page " << i + 1;
    EXPECT_DOUBLE_EQ(q[i].crop->y1, 700 - i % 5) << "page " << i + 1;
  }
  // The document goes on with the file written: the command undoes (the
  // pages had no crop box) and the undo saves.
  ASSERT_TRUE(doc->undo());
  EXPECT_RECT_NEAR(cropOf(*doc, n - 1), 0, 0, 612, 792, 0);
  EXPECT_TRUE(doc->save());
  q = qpdfPages(p);
  ASSERT_EQ(q.size(), static_cast<size_t>(n));
  for (int i = 0; i < n; ++i)
    ASSERT_FALSE(q[i].crop.has_value()) << "page " << i + 1;
  EXPECT_TRUE(qpdfChecks(p));
}

// What the engine gave back is read again from the file the document was
// opened from, through the descriptor it holds: a file put in its place on
// disk meanwhile changes nothing of the document or of what it saves.
TEST_F(ModelSave, FileReplacedOnDiskWhileCroppingDoesNotChangeTheDocument)
{
  const int n = 5000;
  std::vector<pdfgen::PageSpec> pages(n, rectPage());
  std::string p = write("doc.pdf", pages);
  auto doc = Document::open(p);
  // The first trim comes after 4096 pages; the pages after it were parsed at
  // the open and given back, and are read again as they are cropped.
  for (int i = 0; i < 4100; ++i)
    crop(*doc, i, fixedRect(30, 40, 400, 600 + i % 3));
  std::string other = write("other.pdf", {rectPage({0, 0, 300, 300})});
  ASSERT_EQ(::rename(other.c_str(), p.c_str()), 0);
  for (int i = 4100; i < n; ++i)
    crop(*doc, i, fixedRect(30, 40, 400, 600 + i % 3));
  Page *last = doc->acquirePage(n - 1);
  EXPECT_RECT_NEAR(last->mediaBox(), 0, 0, 612, 792, 0);
  EXPECT_RECT_NEAR(last->bbox(), 100, 100, 200, 200, 0.25);
  doc->releasePage(last);
  std::string out = path("out.pdf");
  doc->saveAs(out);
  auto q = qpdfPages(out);
  ASSERT_EQ(q.size(), static_cast<size_t>(n));
  for (int i = 0; i < n; ++i) {
    ASSERT_TRUE(q[i].crop.has_value()) << "page " << i + 1;
    EXPECT_DOUBLE_EQ(q[i].crop->y1, 600 + i % 3) << "page " << i + 1;
    EXPECT_DOUBLE_EQ(q[i].media.x1, 612) << "page " << i + 1;
  }
  EXPECT_TRUE(qpdfChecks(out));
}

// A save that fails after the file was written and checked (the target
// cannot be replaced: it belongs to another user in a sticky folder) leaves
// the document as it was, every edit kept, and it saves elsewhere. The save
// runs in a child that gives up root, as root may replace anything.
TEST_F(ModelSave, SaveThatCannotReplaceTheTargetKeepsEveryEditOfALargeDocument)
{
  if (::getuid() != 0)
    GTEST_SKIP() << "needs a target owned by another user";
  const int n = 9000;
  std::vector<pdfgen::PageSpec> pages(n, rectPage());
  std::string p = write("doc.pdf", pages);
  std::string target = write("target.pdf", {rectPage()});
  std::string before = readFile(target);
  ::chmod(p.c_str(), 0644);
  ::chmod(target.c_str(), 0644);
  ::chmod(dir_.c_str(), 01777);
  std::string again = path("again.pdf");
  pid_t pid = ::fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    if (::setgid(65534) != 0 || ::setuid(65534) != 0)
      ::_exit(3);
    try {
      auto doc = Document::open(p);
      for (int i = 0; i < n; ++i)
        crop(*doc, i, fixedRect(10 + i % 7, 20, 500, 700));
      try {
        doc->saveAs(target);
        ::_exit(4); // replaced after all
      } catch (const ModelError &e) {
        if (e.kind() != ModelErrorKind::SaveFailed ||
            std::string(e.what()).find("cannot replace it") == std::string::npos)
          ::_exit(5);
      }
      if (!(doc->flags() & PDDocNeedsSave) || doc->path() != p)
        ::_exit(6);
      doc->saveAs(again);
    } catch (const ModelError &e) {
      std::fprintf(stderr, "%s\n", e.what());
      ::_exit(7);
    }
    ::_exit(0);
  }
  int status = 0;
  ::waitpid(pid, &status, 0);
  ::chmod(dir_.c_str(), 0755);
  ASSERT_TRUE(WIFEXITED(status));
  ASSERT_EQ(WEXITSTATUS(status), 0);
  EXPECT_EQ(readFile(target), before);
  auto q = qpdfPages(again);
  ASSERT_EQ(q.size(), static_cast<size_t>(n));
  for (int i = 0; i < n; ++i) {
    ASSERT_TRUE(q[i].crop.has_value()) << "page " << i + 1;
    EXPECT_DOUBLE_EQ(q[i].crop->x0, 10 + i % 7) << "page " << i + 1;
  }
}

} // namespace
