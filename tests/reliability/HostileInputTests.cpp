// Hostile and odd input through the real folio program in batch mode, with
// the real plug-in: each run that cannot go on ends with a non-zero exit, one
// clear message and nothing written; odd but readable documents are worked
// on as the plug-in's rules say.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cctype>
#include <string>
#include <vector>

#include "RelSupport.h"
#include "model/Document.h"
#include "model/ModelError.h"
#include "model/Page.h"
#include "pdfgen.h"

namespace gen = folio::pdfgen;
using folio::model::Document;
using rel::contains;
using rel::RunResult;

namespace {

const char *const kFolio = FOLIO_EXE;

const char *const kIllegalRotation =
    "note: Some page(s) were not cropped since page(s) had an illegal rotation value "
    "(not 0, 90, 180, or 270).";

class ReliabilityHostile : public ::testing::Test {
protected:
  rel::TempDir dir;
  std::string lastRun;
  std::string display; // the X server the runs use (empty: each run starts its own)

  std::string path(const std::string &name) const { return dir.file(name); }

  RunResult folio(const std::vector<std::string> &args, const std::string &input = {})
  {
    rel::RunOptions o;
    o.input = input;
    o.display = display;
    RunResult r = rel::runProgram(kFolio, args, dir.path(), o);
    lastRun = r.describe();
    return r;
  }
  RunResult script(const std::string &text) { return folio({"--batch", "-"}, text); }

  static gen::PageSpec page(gen::Box media = {0, 0, 612, 792}, int rotate = 0)
  {
    gen::PageSpec p;
    p.media = media;
    p.rotate = rotate;
    p.writeRotate = rotate != 0;
    return p;
  }
  static gen::PageSpec withRect(gen::PageSpec p, gen::Box r)
  {
    p.marks.push_back(gen::Mark::fillRect(r));
    return p;
  }
  // Writes `prefix`1000.pdf and `prefix`100000.pdf, letter pages with one
  // rectangle each, for the memory tests.
  void writeSizedDocuments(const std::string &prefix) const
  {
    for (int n : {1000, 100000}) {
      gen::Writer w(path(prefix + std::to_string(n) + ".pdf"));
      for (int i = 0; i < n; ++i)
        w.addPage(withRect(page(), {72, 72, 540, 720}));
      w.finish();
    }
  }

  // The names in the test folder other than the ones given.
  std::vector<std::string> othersThan(const std::vector<std::string> &known) const
  {
    std::vector<std::string> rest;
    for (const std::string &n : rel::listDir(dir.path()))
      if (std::find(known.begin(), known.end(), n) == known.end())
        rest.push_back(n);
    return rest;
  }

  // The crop box of page `index` of `pdf`, read with the model.
  static FixedRect cropOf(const std::string &pdf, int index)
  {
    std::unique_ptr<Document> d = Document::open(pdf);
    folio::model::Page *p = d->acquirePage(index);
    FixedRect r = p->cropBox();
    d->releasePage(p);
    return r;
  }

  // A crop of every page to its bounding box, saved to out.pdf.
  RunResult cropEachToBBox(const std::string &in)
  {
    return folio({"--crop-bbox", "each", in, "-o", path("out.pdf")});
  }
};

constexpr Fixed F(int points)
{
  return static_cast<Fixed>(points * 65536);
}

bool sameBox(const FixedRect &r, int l, int b, int rt, int t)
{
  return r.left == F(l) && r.bottom == F(b) && r.right == F(rt) && r.top == F(t);
}

std::string show(const FixedRect &r)
{
  return std::to_string(r.left / 65536.0) + " " + std::to_string(r.bottom / 65536.0) + " " +
         std::to_string(r.right / 65536.0) + " " + std::to_string(r.top / 65536.0);
}

// True when `text` holds a byte that is a control character other than a
// line feed or tab (what would reach a terminal as an escape or a NUL).
bool hasControlBytes(const std::string &text)
{
  for (unsigned char c : text)
    if ((c < 0x20 && c != '\n' && c != '\t') || c == 0x7f)
      return true;
  return false;
}

} // namespace

// ---- files that are not a usable PDF ---------------------------------------------

TEST_F(ReliabilityHostile, EmptyFileStopsWithItsMessageAndWritesNothing)
{
  rel::writeFile(path("empty.pdf"), "");
  RunResult r = cropEachToBBox(path("empty.pdf"));
  EXPECT_EQ(r.exitCode, 1) << lastRun;
  EXPECT_TRUE(
      contains(r.err, "cannot open \"" + path("empty.pdf") + "\": The file \"empty.pdf\" is empty.\n"))
      << lastRun;
  EXPECT_EQ(othersThan({"empty.pdf"}), std::vector<std::string>{}) << lastRun;
}

TEST_F(ReliabilityHostile, NonPdfFileStopsWithItsMessageAndWritesNothing)
{
  rel::writeFile(path("notes.pdf"), "These are my notes, not a PDF.\n");
  RunResult r = cropEachToBBox(path("notes.pdf"));
  EXPECT_EQ(r.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(r.err, "The file \"notes.pdf\" is not a PDF file.\n")) << lastRun;
  EXPECT_EQ(othersThan({"notes.pdf"}), std::vector<std::string>{}) << lastRun;
}

TEST_F(ReliabilityHostile, TruncatedPdfStopsWithItsMessageAndWritesNothing)
{
  gen::writeDocument(path("whole.pdf"), {page(), page(), page()});
  std::string bytes = rel::readFile(path("whole.pdf"));
  rel::writeFile(path("cut.pdf"), bytes.substr(0, bytes.size() / 3));
  RunResult r = cropEachToBBox(path("cut.pdf"));
  EXPECT_EQ(r.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(r.err, "The file \"cut.pdf\" is truncated: it ends too early.\n")) << lastRun;
  EXPECT_EQ(othersThan({"whole.pdf", "cut.pdf"}), std::vector<std::string>{}) << lastRun;
}

TEST_F(ReliabilityHostile, BrokenXrefIsRepairedAndCropped)
{
  gen::writeDocument(path("broken.pdf"),
                     {withRect(page(), {100, 200, 300, 400}), withRect(page(), {50, 60, 70, 80})});
  ASSERT_TRUE(gen::damageXrefOffsets(path("broken.pdf")));
  std::string before = rel::readFile(path("broken.pdf"));
  RunResult r = cropEachToBBox(path("broken.pdf"));
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_EQ(rel::readFile(path("broken.pdf")), before); // the input is left as it was
  FixedRect c0 = cropOf(path("out.pdf"), 0), c1 = cropOf(path("out.pdf"), 1);
  EXPECT_TRUE(sameBox(c0, 100, 200, 300, 400)) << show(c0);
  EXPECT_TRUE(sameBox(c1, 50, 60, 70, 80)) << show(c1);
}

TEST_F(ReliabilityHostile, EncryptedWithoutPasswordStopsAndWritesNothing)
{
  gen::writeDocument(path("plain.pdf"), {page(), page()});
  std::string why;
  ASSERT_TRUE(gen::encryptWithQpdf(path("plain.pdf"), path("locked.pdf"), "user", "owner", true, &why))
      << why;
  RunResult r = script("open " + path("locked.pdf") + "\nshow-boxes\nsave " + path("out.pdf") + "\n");
  EXPECT_EQ(r.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(r.err, "folio: -:1: cannot open \"" + path("locked.pdf") +
                                  "\": \"locked.pdf\" is protected by a password and none was given.\n"))
      << lastRun;
  EXPECT_FALSE(contains(r.out, "page 1:")) << lastRun;
  EXPECT_FALSE(rel::fileExists(path("out.pdf")));
}

// A wrong password must be reported as wrong, not as a missing one: the user
// gave one.
TEST_F(ReliabilityHostile, EncryptedWithWrongPasswordStopsSayingItIsWrong)
{
  gen::writeDocument(path("plain.pdf"), {page(), page()});
  std::string why;
  ASSERT_TRUE(gen::encryptWithQpdf(path("plain.pdf"), path("locked.pdf"), "user", "owner", true, &why))
      << why;
  RunResult r = script("open " + path("locked.pdf") + " guess\nshow-boxes\nsave " + path("out.pdf") + "\n");
  EXPECT_EQ(r.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(r.err, "The password for \"locked.pdf\" is wrong; the document was not opened.\n"))
      << lastRun;
  EXPECT_FALSE(contains(r.err, "none was given")) << lastRun;
  EXPECT_FALSE(rel::fileExists(path("out.pdf")));
}

TEST_F(ReliabilityHostile, EncryptedWithItsPasswordOpens)
{
  gen::writeDocument(path("plain.pdf"), {page(), page()});
  std::string why;
  ASSERT_TRUE(gen::encryptWithQpdf(path("plain.pdf"), path("locked.pdf"), "user", "owner", true, &why))
      << why;
  RunResult r = script("open " + path("locked.pdf") + " user\nshow-boxes\n");
  EXPECT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "page 2: media 0 0 612 792 crop 0 0 612 792 rotate 0\n")) << lastRun;
}

TEST_F(ReliabilityHostile, DocumentWithZeroPagesStopsWithItsMessage)
{
  // A complete file whose page tree has no kids.
  std::string body = "%PDF-1.4\n";
  size_t o1 = body.size();
  body += "1 0 obj\n<< /Type /Catalog /Pages 2 0 R >>\nendobj\n";
  size_t o2 = body.size();
  body += "2 0 obj\n<< /Type /Pages /Kids [] /Count 0 >>\nendobj\n";
  size_t xref = body.size();
  char line[32];
  body += "xref\n0 3\n0000000000 65535 f \n";
  std::snprintf(line, sizeof line, "%010zu 00000 n \n", o1);
  body += line;
  std::snprintf(line, sizeof line, "%010zu 00000 n \n", o2);
  body += line;
  body += "trailer\n<< /Size 3 /Root 1 0 R >>\nstartxref\n" + std::to_string(xref) + "\n%%EOF\n";
  rel::writeFile(path("nopages.pdf"), body);
  RunResult r = cropEachToBBox(path("nopages.pdf"));
  EXPECT_EQ(r.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(r.err, "The file \"nopages.pdf\" has no pages that can be read.\n")) << lastRun;
  EXPECT_EQ(othersThan({"nopages.pdf"}), std::vector<std::string>{}) << lastRun;
}

// ---- odd page attributes -----------------------------------------------------------

TEST_F(ReliabilityHostile, Rotate45IsIllegalAndItsPageIsNotCropped)
{
  gen::writeDocument(path("in.pdf"), {page(), page({0, 0, 612, 792}, 45)});
  RunResult r =
      folio({"--crop-region", "72 72 540 720", "--pages", "all", path("in.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, kIllegalRotation)) << lastRun;
  FixedRect c0 = cropOf(path("out.pdf"), 0), c1 = cropOf(path("out.pdf"), 1);
  EXPECT_TRUE(sameBox(c0, 72, 72, 540, 720)) << show(c0);
  EXPECT_TRUE(sameBox(c1, 0, 0, 612, 792)) << show(c1); // no crop box: the media box
}

TEST_F(ReliabilityHostile, Rotate450And270FromMinus90AreShownReduced)
{
  gen::writeDocument(path("in.pdf"), {page({0, 0, 612, 792}, 450), page({0, 0, 612, 792}, -90)});
  RunResult r = script("open " + path("in.pdf") + "\nshow-boxes\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "page 1: media 0 0 612 792 crop 0 0 612 792 rotate 90\n")) << lastRun;
  EXPECT_TRUE(contains(r.out, "page 2: media 0 0 612 792 crop 0 0 612 792 rotate 270\n")) << lastRun;
}

TEST_F(ReliabilityHostile, Rotate450PageIsCroppedAsAQuarterTurn)
{
  gen::writeDocument(path("in.pdf"), {withRect(page({0, 0, 612, 792}, 450), {100, 200, 300, 400})});
  RunResult r = cropEachToBBox(path("in.pdf"));
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_FALSE(contains(r.out, kIllegalRotation)) << lastRun;
  FixedRect c = cropOf(path("out.pdf"), 0);
  EXPECT_TRUE(sameBox(c, 100, 200, 300, 400)) << show(c);
}

TEST_F(ReliabilityHostile, InvertedMediaBoxIsShownNormalised)
{
  gen::writeDocument(path("in.pdf"), {page()});
  // The writer keeps boxes ordered; turn the media box round by hand.
  std::string bytes = rel::readFile(path("in.pdf"));
  size_t at = bytes.find("/MediaBox [0 0 612 792]");
  ASSERT_NE(at, std::string::npos);
  bytes.replace(at, 23, "/MediaBox [612 792 0 0]");
  rel::writeFile(path("in.pdf"), bytes);
  RunResult r = script("open " + path("in.pdf") + "\nshow-boxes\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "page 1: media 0 0 612 792 crop 0 0 612 792 rotate 0\n")) << lastRun;
}

TEST_F(ReliabilityHostile, ZeroExtentMediaBoxIsTakenAsLetter)
{
  gen::writeDocument(path("in.pdf"), {page({0, 0, 0, 0}), page({100, 100, 100, 500})});
  RunResult r = script("open " + path("in.pdf") + "\nshow-boxes\n");
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "page 1: media 0 0 612 792 crop 0 0 612 792 rotate 0\n")) << lastRun;
  EXPECT_TRUE(contains(r.out, "page 2: media 0 0 612 792 crop 0 0 612 792 rotate 0\n")) << lastRun;
}

TEST_F(ReliabilityHostile, CropBoxOutsideTheMediaBoxIsShownAsStoredAndCroppedToContent)
{
  gen::PageSpec p = withRect(page(), {100, 200, 300, 400});
  p.crop = gen::Box{1000, 1000, 1200, 1200};
  gen::writeDocument(path("in.pdf"), {p});
  RunResult shown = script("open " + path("in.pdf") + "\nshow-boxes\n");
  ASSERT_EQ(shown.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(shown.out, "page 1: media 0 0 612 792 crop 1000 1000 1200 1200 rotate 0\n"))
      << lastRun;
  RunResult r = cropEachToBBox(path("in.pdf"));
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  FixedRect c = cropOf(path("out.pdf"), 0);
  EXPECT_TRUE(sameBox(c, 100, 200, 300, 400)) << show(c);
}

// ---- size ------------------------------------------------------------------------------

// Memory with the page count: 100 times the pages, all of them read (every
// page's boxes printed, the last page shown). What grows is the engine's
// cross-reference table and page map, a fixed cost per page; nothing is kept
// per page read. The runs use a private X server of the test, so that the
// peak is the program's own (a server the host starts is its child and would
// count). Under AddressSanitizer resident memory is mostly shadow and
// quarantine, so the test does not measure there.
TEST_F(ReliabilityHostile, HundredThousandPagesInFlatMemory)
{
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "resident memory under AddressSanitizer is not the program's own";
#endif
  writeSizedDocuments("p");
  rel::Xvfb x; // one server for all runs, outside their peaks
  ASSERT_TRUE(x.ok()) << "no private X server";
  display = x.display();
  RunResult small = script("open " + path("p1000.pdf") + "\npage 1000\nshow-boxes\n");
  ASSERT_EQ(small.exitCode, 0) << lastRun;
  RunResult opened = script("open " + path("p100000.pdf") + "\npage 100000\n");
  ASSERT_EQ(opened.exitCode, 0) << lastRun;
  RunResult big = script("open " + path("p100000.pdf") + "\npage 100000\nshow-boxes\n");
  ASSERT_EQ(big.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(big.out, "opened: " + path("p100000.pdf") + " (100000 pages)\n"));
  EXPECT_TRUE(contains(big.out, "page 100000: media 0 0 612 792 crop 0 0 612 792 rotate 0\n"));
  ASSERT_GT(small.peakRssKb, 0);
  double ratio = double(big.peakRssKb) / double(small.peakRssKb);
  double perPage = (big.peakRssKb - small.peakRssKb) * 1024.0 / 99000.0;
  std::printf(
      "peak RSS: 1,000 pages %ld kB; 100,000 pages opened %ld kB, every page read %ld kB; ratio %.2f, "
      "%.0f bytes a page\n",
      small.peakRssKb, opened.peakRssKb, big.peakRssKb, ratio, perPage);
  EXPECT_LE(ratio, 8.0);
  EXPECT_LE(perPage, 1024.0);
  // Reading every page's boxes keeps nothing per page: within a tenth of the
  // memory of opening the document and showing its last page.
  EXPECT_LE(big.peakRssKb, opened.peakRssKb + opened.peakRssKb / 10);
}

// Cropping every page and saving writes the file, reads it back page by page
// and goes on with the file written: none of it may hold the page objects of
// the document twice. The peak of a crop of every page of 100,000 pages,
// with its save, stays within two and a half times the peak of opening the
// document and showing its last page, and grows by less than 2.5 KB a page
// over a 1,000-page crop (1.9 times and 1.5 KB a page now; 3.1 times and
// 3.1 KB a page when the read-back kept every written page beside the
// document's own).
TEST_F(ReliabilityHostile, HundredThousandPageCropAndSaveInFlatMemory)
{
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "resident memory under AddressSanitizer is not the program's own";
#endif
  writeSizedDocuments("c");
  rel::Xvfb x; // one server for all runs, outside their peaks
  ASSERT_TRUE(x.ok()) << "no private X server";
  display = x.display();
  RunResult opened = script("open " + path("c100000.pdf") + "\npage 100000\n");
  ASSERT_EQ(opened.exitCode, 0) << lastRun;
  RunResult small =
      folio({"--crop-region", "100 110 500 700", path("c1000.pdf"), "-o", path("c1000-out.pdf")});
  ASSERT_EQ(small.exitCode, 0) << lastRun;
  RunResult big =
      folio({"--crop-region", "100 110 500 700", path("c100000.pdf"), "-o", path("c100000-out.pdf")});
  ASSERT_EQ(big.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(big.out, "saved: " + path("c100000-out.pdf"))) << lastRun;
  // The file written holds the crop on its pages.
  RunResult check = script("open " + path("c100000-out.pdf") + "\nshow-boxes\n");
  ASSERT_EQ(check.exitCode, 0) << lastRun;
  for (const char *n : {"1", "50000", "100000"})
    EXPECT_TRUE(
        contains(check.out, std::string("page ") + n + ": media 0 0 612 792 crop 100 110 500 700 rotate 0\n"))
        << check.out;
  ASSERT_GT(small.peakRssKb, 0);
  ASSERT_GT(opened.peakRssKb, 0);
  double perPage = (big.peakRssKb - small.peakRssKb) * 1024.0 / 99000.0;
  std::printf("peak RSS: crop and save of 1,000 pages %ld kB, of 100,000 pages %ld kB (%.0f bytes a page); "
              "opening 100,000 pages %ld kB, ratio %.2f\n",
              small.peakRssKb, big.peakRssKb, perPage, opened.peakRssKb,
              double(big.peakRssKb) / double(opened.peakRssKb));
  EXPECT_LE(perPage, 2560.0);
  EXPECT_LE(2 * big.peakRssKb, 5 * opened.peakRssKb);
}

// ---- plug-in folders -----------------------------------------------------------------

TEST_F(ReliabilityHostile, PluginFolderWithNonElfFileAndLibraryWithoutMain)
{
  std::string plugins = path("plugins");
  ::mkdir(plugins.c_str(), 0755);
  rel::writeFile(plugins + "/notes.so", "not a shared object at all\n");
  // A real shared library that has no entry point.
  ASSERT_TRUE(rel::copyFile(NOMAIN_LIBRARY, plugins + "/nomain.so"));
  gen::writeDocument(path("in.pdf"), {withRect(page(), {100, 200, 300, 400})});
  RunResult r = folio({"--plugins", plugins, "--crop-bbox", "each", path("in.pdf"), "-o", path("out.pdf")});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.err, plugins + "/notes.so: not a loadable shared object")) << lastRun;
  EXPECT_TRUE(contains(r.err, plugins + "/nomain.so: no entry point `main`")) << lastRun;
  EXPECT_TRUE(contains(r.err, "pgshear.so: loaded as QUIL_PageShear")) << lastRun;
  FixedRect c = cropOf(path("out.pdf"), 0);
  EXPECT_TRUE(sameBox(c, 100, 200, 300, 400)) << show(c);
}

// ---- scripts -----------------------------------------------------------------------------

// A two-megabyte line stops the run before anything is done, with a message
// that names the line and stays short enough to read.
TEST_F(ReliabilityHostile, ScriptWithAVeryLongLineStopsWithAShortMessage)
{
  gen::writeDocument(path("in.pdf"), {page()});
  std::string text =
      "open " + path("in.pdf") + "\n" + std::string(2000000, 'x') + "\nsave " + path("out.pdf") + "\n";
  rel::writeFile(path("long.txt"), text);
  RunResult r = folio({"--batch", path("long.txt")});
  EXPECT_EQ(r.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(r.err, "folio: " + path("long.txt") + ":2: ")) << lastRun;
  EXPECT_LT(r.err.size(), 1000u) << "the message repeats the whole line";
  EXPECT_FALSE(rel::fileExists(path("out.pdf")));
}

TEST_F(ReliabilityHostile, ScriptWithAVeryLongCommentRuns)
{
  gen::writeDocument(path("in.pdf"), {page()});
  std::string text = "open " + path("in.pdf") + "\nshow-boxes" + std::string(1000000, ' ') + "# " +
                     std::string(1000000, 'y') + "\n";
  RunResult r = script(text);
  EXPECT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "page 1: media 0 0 612 792 crop 0 0 612 792 rotate 0\n")) << lastRun;
}

// Binary garbage stops at its first line; the message shows no raw control
// bytes (an escape sequence or a NUL must not reach the user's terminal).
TEST_F(ReliabilityHostile, ScriptOfBinaryGarbageStopsWithAPrintableMessage)
{
  std::string garbage;
  uint32_t x = 12345;
  for (int i = 0; i < 4096; ++i) {
    x = x * 1103515245u + 12345u;
    garbage += static_cast<char>(x >> 24);
  }
  garbage[0] = '\x1b'; // an escape first, then whatever follows
  garbage[1] = '[';
  garbage[2] = '2';
  garbage[3] = 'J';
  rel::writeFile(path("garbage.txt"), garbage);
  RunResult r = folio({"--batch", path("garbage.txt")});
  EXPECT_EQ(r.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(r.err, "folio: " + path("garbage.txt") + ":1: ")) << lastRun;
  EXPECT_FALSE(hasControlBytes(r.err)) << lastRun;
  EXPECT_EQ(othersThan({"garbage.txt"}), std::vector<std::string>{}) << lastRun;
}

TEST_F(ReliabilityHostile, ScriptWithANulByteStopsAtItsLine)
{
  gen::writeDocument(path("in.pdf"), {page()});
  std::string text =
      "open " + path("in.pdf") + "\nshow-boxes\nsave" + std::string(1, '\0') + " " + path("out.pdf") + "\n";
  RunResult r = script(text);
  EXPECT_EQ(r.exitCode, 1) << lastRun;
  EXPECT_TRUE(contains(r.err, "folio: -:3: ")) << lastRun;
  EXPECT_FALSE(rel::fileExists(path("out.pdf")));
}
