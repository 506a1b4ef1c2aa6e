// A corpus of hostile files, built here by the test PDF writer and by hand,
// run through the real folio program with the real plug-in in batch mode:
// broken page trees, cross-reference chains that loop, leading junk, claimed
// page counts far beyond the file, decompression bombs, and saves to places
// that are not regular files. Every run ends with exit 0 or 1 and a message,
// never a signal; the input is never changed unless -o names it; every output
// reopens with all its pages reachable and its crop boxes set.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "QpdfBoxes.h"
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

// A page object body: a 612 x 792 page of parent `parent` painting a black
// rectangle at 100 200 300 400 through content object `contents`.
std::string pageObj(int parent, int contents)
{
  return "<< /Type /Page /Parent " + std::to_string(parent) + " 0 R /MediaBox [0 0 612 792] /Contents " +
         std::to_string(contents) + " 0 R >>";
}

const std::string kInk = "<< /Length 22 >>\nstream\n100 200 200 200 re f\n\nendstream";

class ReliabilityHostileCorpus : public ::testing::Test {
protected:
  rel::TempDir dir;
  std::string lastRun;

  std::string path(const std::string &name) const { return dir.file(name); }

  RunResult folio(const std::vector<std::string> &args, const std::vector<std::string> &env = {})
  {
    rel::RunOptions o;
    o.env = env;
    RunResult r = rel::runProgram(kFolio, args, dir.path(), o);
    lastRun = r.describe();
    return r;
  }

  // The three modes, with -o another file and with -o the input: never a
  // signal, exit 0 or 1 with a message on standard error when 1, the input
  // unchanged unless it was named, every output readable by qpdf with its
  // `pages` pages, each with a crop box that is not empty. Returns the
  // standard outputs of the runs, for the callers' own checks.
  std::string allModes(const std::string &name, size_t pages, const std::vector<std::string> &env = {})
  {
    const std::string in = path(name);
    const std::string original = rel::readFile(in);
    std::string outs;
    const std::vector<std::vector<std::string>> modes = {
        {"--crop-bbox", "each"}, {"--crop-region", "72 72 540 720", "--pages", "all"}};
    RunResult shown = folio({"--run", "open " + in + "; show-boxes"}, env);
    EXPECT_EQ(shown.signal, 0) << lastRun;
    EXPECT_TRUE(shown.exitCode == 0 || (shown.exitCode == 1 && !shown.err.empty())) << lastRun;
    outs += shown.out;
    for (bool toInput : {false, true}) {
      for (const auto &mode : modes) {
        if (toInput)
          rel::writeFile(in, original);
        const std::string out = toInput ? in : path("out.pdf");
        ::unlink(path("out.pdf").c_str());
        std::vector<std::string> args = mode;
        args.push_back(in);
        args.push_back("-o");
        args.push_back(out);
        RunResult r = folio(args, env);
        outs += r.out;
        EXPECT_EQ(r.signal, 0) << lastRun;
        EXPECT_TRUE(r.exitCode == 0 || (r.exitCode == 1 && !r.err.empty())) << lastRun;
        if (!toInput) {
          EXPECT_EQ(rel::readFile(in), original) << "the input changed: " << lastRun;
        }
        if (r.exitCode != 0) {
          if (toInput) {
            EXPECT_EQ(rel::readFile(in), original) << "a failed run changed the input: " << lastRun;
          }
          continue;
        }
        std::string why;
        std::vector<e2e::PageBoxes> boxes = e2e::readBoxes(out, &why);
        EXPECT_EQ(boxes.size(), pages) << why << "\n" << lastRun;
        for (size_t i = 0; i < boxes.size(); ++i)
          EXPECT_TRUE(boxes[i].crop.left < boxes[i].crop.right && boxes[i].crop.bottom < boxes[i].crop.top)
              << "page " << i + 1 << " crop " << e2e::toString(boxes[i].crop) << "\n"
              << lastRun;
        // The model reaches every page of what was written.
        std::unique_ptr<Document> again = Document::open(out);
        EXPECT_EQ(static_cast<size_t>(again->pageCount()), pages);
        for (int i = 0; i < again->pageCount(); ++i) {
          folio::model::Page *p = again->acquirePage(i);
          EXPECT_NO_THROW(p->cropBox());
          again->releasePage(p);
        }
      }
    }
    rel::writeFile(in, original);
    return outs;
  }
};

// Three pages under a root whose second kid is the root itself.
std::vector<std::string> cyclicTree()
{
  return {"<< /Type /Catalog /Pages 2 0 R >>",
          "<< /Type /Pages /Kids [3 0 R 2 0 R 4 0 R 5 0 R] /Count 3 >>",
          pageObj(2, 6),
          pageObj(2, 6),
          pageObj(2, 6),
          kInk};
}

} // namespace

TEST_F(ReliabilityHostileCorpus, PageTreeThatPointsBackUpKeepsItsReachablePages)
{
  rel::writeFile(path("cycle.pdf"), gen::rawPdf(cyclicTree(), "/Root 1 0 R"));
  std::string outs = allModes("cycle.pdf", 3);
  EXPECT_TRUE(contains(outs, "opened: " + path("cycle.pdf") + " (3 pages)")) << outs;
  EXPECT_TRUE(contains(outs, "note: \"cycle.pdf\": 1 part(s) of the page tree appear more than once"))
      << outs;
}

TEST_F(ReliabilityHostileCorpus, PageListedTwiceIsTakenOnce)
{
  std::vector<std::string> o = {"<< /Type /Catalog /Pages 2 0 R >>",
                                "<< /Type /Pages /Kids [3 0 R 4 0 R 3 0 R] /Count 3 >>", pageObj(2, 5),
                                pageObj(2, 5), kInk};
  rel::writeFile(path("twice.pdf"), gen::rawPdf(o, "/Root 1 0 R"));
  std::string outs = allModes("twice.pdf", 2);
  EXPECT_TRUE(contains(outs, "opened: " + path("twice.pdf") + " (2 pages)")) << outs;
}

TEST_F(ReliabilityHostileCorpus, DeepPageTreeOpensWithEveryPage)
{
  // 200 nested nodes, one page at the bottom and one beside each node.
  const int depth = 200;
  std::vector<std::string> o = {"<< /Type /Catalog /Pages 2 0 R >>"};
  // Objects: 2 .. depth+1 nodes, depth+2 .. 2*depth+1 pages, 2*depth+2 ink.
  const int ink = 2 * depth + 2;
  for (int i = 0; i < depth; ++i) {
    int node = 2 + i, page = depth + 2 + i;
    std::string kids = std::to_string(page) + " 0 R";
    if (i + 1 < depth)
      kids += " " + std::to_string(node + 1) + " 0 R";
    std::string parent = i ? " /Parent " + std::to_string(node - 1) + " 0 R" : "";
    o.push_back("<< /Type /Pages" + parent + " /Kids [" + kids + "] /Count " + std::to_string(depth - i) +
                " >>");
  }
  for (int i = 0; i < depth; ++i)
    o.push_back(pageObj(2 + i, ink));
  o.push_back(kInk);
  rel::writeFile(path("deep.pdf"), gen::rawPdf(o, "/Root 1 0 R"));
  std::string outs = allModes("deep.pdf", depth);
  EXPECT_TRUE(contains(outs, "opened: " + path("deep.pdf") + " (200 pages)")) << outs;
}

TEST_F(ReliabilityHostileCorpus, ClaimedPageCountIsNotTrusted)
{
  std::vector<std::string> o = {"<< /Type /Catalog /Pages 2 0 R >>",
                                "<< /Type /Pages /Kids [3 0 R] /Count 1410065407 >>", pageObj(2, 4), kInk};
  rel::writeFile(path("claims.pdf"), gen::rawPdf(o, "/Root 1 0 R"));
  RunResult r = folio({"--run", "open " + path("claims.pdf") + "; show-boxes"});
  EXPECT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "(1 page)")) << lastRun;
  std::printf("peak RSS opening a file that claims 1,410,065,407 pages: %ld kB\n", r.peakRssKb);
  EXPECT_LT(r.peakRssKb, 512 * 1024) << lastRun; // far below the gigabytes the claim would take
  allModes("claims.pdf", 1);
}

TEST_F(ReliabilityHostileCorpus, LeadingJunkBeforeTheHeader)
{
  std::vector<std::string> o = {"<< /Type /Catalog /Pages 2 0 R >>",
                                "<< /Type /Pages /Kids [3 0 R] /Count 1 >>", pageObj(2, 4), kInk};
  rel::writeFile(path("junk.pdf"), gen::rawPdf(o, "/Root 1 0 R", "GARBAGE\r\n%PDF-1.7\n"));
  allModes("junk.pdf", 1);
}

TEST_F(ReliabilityHostileCorpus, CrossReferenceChainThatLoops)
{
  std::vector<std::string> o = {"<< /Type /Catalog /Pages 2 0 R >>",
                                "<< /Type /Pages /Kids [3 0 R] /Count 1 >>", pageObj(2, 4), kInk};
  std::string bytes = gen::rawPdf(o, "/Root 1 0 R");
  // The trailer's /Prev names its own xref table.
  size_t xref = bytes.find("xref\n");
  size_t at = bytes.find("/Root 1 0 R");
  bytes.insert(at, "/Prev " + std::to_string(xref) + " ");
  rel::writeFile(path("loop.pdf"), bytes);
  allModes("loop.pdf", 1);
}

TEST_F(ReliabilityHostileCorpus, TruncatedAndMissingObjects)
{
  std::vector<std::string> o = {"<< /Type /Catalog /Pages 2 0 R >>",
                                "<< /Type /Pages /Kids [3 0 R 4 0 R 9 0 R] /Count 3 >>", pageObj(2, 5),
                                pageObj(2, 8), kInk};
  std::string bytes = gen::rawPdf(o, "/Root 1 0 R");
  rel::writeFile(path("missing.pdf"), bytes);
  allModes("missing.pdf", 2);
  rel::writeFile(path("cut.pdf"), bytes.substr(0, bytes.size() - 60));
  allModes("cut.pdf", 2);
}

// A content stream that expands to some 250 MB of drawing operators from a
// file of a few hundred kilobytes: the page's work is stopped at its budget
// (lowered here, so that the test is quick), the page is taken as having no
// marks and the run says so; show-boxes never reads the contents at all.
TEST_F(ReliabilityHostileCorpus, DecompressionBombStopsAtTheBudget)
{
  std::vector<std::string> o = {"<< /Type /Catalog /Pages 2 0 R >>",
                                "<< /Type /Pages /Kids [3 0 R 5 0 R] /Count 2 >>",
                                pageObj(2, 4),
                                gen::flateStream("", "10 20 30 40 re f\n", 15000000),
                                pageObj(2, 6),
                                kInk};
  rel::writeFile(path("bomb.pdf"), gen::rawPdf(o, "/Root 1 0 R"));
  const std::vector<std::string> env = {"FOLIO_PAGE_BUDGET=5,64"};
  RunResult shown = folio({"--run", "open " + path("bomb.pdf") + "; show-boxes"}, env);
  EXPECT_EQ(shown.exitCode, 0) << lastRun;
  EXPECT_FALSE(contains(shown.out, "note:")) << lastRun;
  RunResult r = folio({"--crop-bbox", "each", path("bomb.pdf"), "-o", path("out.pdf")}, env);
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "note: Page 1 ")) << lastRun;
  EXPECT_TRUE(contains(r.out, "It is taken as having no marks.")) << lastRun;
  std::string why;
  std::vector<e2e::PageBoxes> boxes = e2e::readBoxes(path("out.pdf"), &why);
  ASSERT_EQ(boxes.size(), 2u) << why;
  EXPECT_EQ(boxes[0].crop, (e2e::Box{0, 0, 612, 792})) << e2e::toString(boxes[0].crop);
  EXPECT_EQ(boxes[1].crop, (e2e::Box{100, 200, 300, 400})) << e2e::toString(boxes[1].crop);
  std::printf("decompression bomb: peak RSS %ld kB with a 64 MB page budget\n", r.peakRssKb);
}

// Five pages cropped to content with two workers measuring ahead; the third
// holds five million filled rectangles, more than its budget (3 s, 256 MB)
// allows. Its own work is stopped wherever it runs (the display list on the
// calling thread or the measuring on a worker): it is taken as blank with
// one note, and the pages around it, measured meanwhile, are cropped exactly.
TEST_F(ReliabilityHostileCorpus, SlowPageMeasuredAheadIsStoppedByItsOwnBudget)
{
  std::vector<std::string> o = {"<< /Type /Catalog /Pages 2 0 R >>",
                                "<< /Type /Pages /Kids [3 0 R 4 0 R 5 0 R 6 0 R 7 0 R] /Count 5 >>",
                                pageObj(2, 8),
                                pageObj(2, 8),
                                pageObj(2, 9),
                                pageObj(2, 8),
                                pageObj(2, 8),
                                kInk,
                                gen::flateStream("", "10 20 30 40 re f\n", 5000000)};
  rel::writeFile(path("slow-third.pdf"), gen::rawPdf(o, "/Root 1 0 R"));
  RunResult r = folio({"--crop-bbox", "each", path("slow-third.pdf"), "-o", path("out.pdf")},
                      {"FOLIO_PAGE_BUDGET=3,256", "FOLIO_BBOX_THREADS=2"});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out, "note: Page 3 ")) << lastRun;
  EXPECT_TRUE(contains(r.out, "It is taken as having no marks.")) << lastRun;
  for (int page : {1, 2, 4, 5})
    EXPECT_FALSE(contains(r.out, "note: Page " + std::to_string(page) + " ")) << lastRun;
  std::string why;
  std::vector<e2e::PageBoxes> boxes = e2e::readBoxes(path("out.pdf"), &why);
  ASSERT_EQ(boxes.size(), 5u) << why;
  for (int i : {0, 1, 3, 4})
    EXPECT_EQ(boxes[i].crop, (e2e::Box{100, 200, 300, 400})) << i << ": " << e2e::toString(boxes[i].crop);
  EXPECT_EQ(boxes[2].crop, (e2e::Box{0, 0, 612, 792})) << e2e::toString(boxes[2].crop);
}

// ---- where a save may write -------------------------------------------------------

TEST_F(ReliabilityHostileCorpus, SaveRefusesWhatIsNotARegularFile)
{
  gen::writeDocument(path("in.pdf"), {gen::mixedPage(0)});
  ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
  ASSERT_EQ(::mkdir(path("folder").c_str(), 0700), 0);
  for (const std::string &target : {path("pipe"), path("folder"), std::string("/dev/null")}) {
    RunResult r = folio({"--crop-bbox", "each", path("in.pdf"), "-o", target});
    EXPECT_EQ(r.exitCode, 1) << lastRun;
    EXPECT_TRUE(contains(r.err, "could not be saved")) << lastRun;
    EXPECT_TRUE(contains(r.err, "is not a regular file") || contains(r.err, "it is a folder")) << lastRun;
  }
  struct stat st {};
  ASSERT_EQ(::lstat(path("pipe").c_str(), &st), 0);
  EXPECT_TRUE(S_ISFIFO(st.st_mode));
  ASSERT_EQ(::lstat("/dev/null", &st), 0);
  EXPECT_TRUE(S_ISCHR(st.st_mode));
  EXPECT_EQ(rel::listDir(path("folder")), std::vector<std::string>{});
  EXPECT_EQ(rel::listDir(dir.path()), (std::vector<std::string>{"folder", "in.pdf", "pipe"}));
}

TEST_F(ReliabilityHostileCorpus, OutputThatLinksToTheInputIsRefused)
{
  gen::writeDocument(path("in.pdf"), {gen::mixedPage(0)});
  const std::string original = rel::readFile(path("in.pdf"));
  ASSERT_EQ(::symlink(path("in.pdf").c_str(), path("link.pdf").c_str()), 0);
  ASSERT_EQ(::link(path("in.pdf").c_str(), path("hard.pdf").c_str()), 0);
  for (const std::string &out : {path("link.pdf"), path("hard.pdf")}) {
    RunResult r = folio({"--crop-region", "72 72 540 720", path("in.pdf"), "-o", out});
    EXPECT_EQ(r.exitCode, 1) << lastRun;
    EXPECT_TRUE(contains(r.err, "is the input")) << lastRun;
    EXPECT_EQ(rel::readFile(path("in.pdf")), original);
  }
  // Named as itself, the input is overwritten, as asked.
  RunResult r = folio({"--crop-region", "72 72 540 720", path("in.pdf"), "-o", path("in.pdf")});
  EXPECT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_NE(rel::readFile(path("in.pdf")), original);
}

TEST_F(ReliabilityHostileCorpus, LongestLegalFileNameSaves)
{
  gen::writeDocument(path("in.pdf"), {gen::mixedPage(0)});
  for (size_t len : {241u, 250u, 255u}) {
    std::string name = std::string(len - 4, 'n') + ".pdf";
    RunResult r = folio({"--crop-region", "72 72 540 720", path("in.pdf"), "-o", path(name)});
    EXPECT_EQ(r.exitCode, 0) << lastRun;
    std::string why;
    EXPECT_EQ(e2e::readBoxes(path(name), &why).size(), 1u) << why;
  }
}

// ---- cancelled runs never leave an empty crop box ------------------------------------

// A cancelled all-pages run of each command puts back the boxes it changed;
// by the plug-in's design the page it had reached receives the all-zero box,
// which the model does not write. Every page keeps the box it had.
TEST_F(ReliabilityHostileCorpus, CancelledAllPagesRunsLeaveEveryCropBoxAsItWas)
{
  std::vector<gen::PageSpec> pages;
  for (int i = 0; i < 6; ++i) {
    gen::PageSpec p = gen::mixedPage(i, 7);
    p.rotate = 0;
    p.writeRotate = false;
    p.media = {0, 0, 612, 792};
    p.crop = gen::Box{10.0 + i, 20, 500, 700.0 - i};
    p.marks = {gen::Mark::fillRect({100, 200, 300, 400})};
    pages.push_back(p);
  }
  gen::writeDocument(path("in.pdf"), pages);
  const std::vector<std::vector<std::string>> commands = {
      {"--crop-bbox", "each"},
      {"--crop-bbox", "biggest"},
      {"--reset-media-box", "all"},
      {"--crop-region", "72 72 540 720", "--pages", "all"}};
  for (const auto &command : commands) {
    for (int cancelAt : {1, 3}) {
      std::vector<std::string> args = command;
      args.insert(args.end(), {path("in.pdf"), "-o", path("out.pdf"), "--print-script"});
      RunResult printed = folio(args);
      ASSERT_EQ(printed.exitCode, 0) << lastRun;
      std::string text = printed.out;
      size_t at = text.find("\nmenu ");
      if (at == std::string::npos)
        at = text.find("\nclick ");
      ASSERT_NE(at, std::string::npos) << text;
      text.insert(at + 1, "cancel-at " + std::to_string(cancelAt) + "\n");
      rel::writeFile(path("run.txt"), text);
      ::unlink(path("out.pdf").c_str());
      RunResult r = folio({"--batch", path("run.txt")});
      ASSERT_EQ(r.exitCode, 0) << lastRun;
      EXPECT_TRUE(contains(r.out, "cancel: poll")) << lastRun;
      std::string why;
      std::vector<e2e::PageBoxes> boxes = e2e::readBoxes(path("out.pdf"), &why);
      ASSERT_EQ(boxes.size(), pages.size()) << why << "\n" << lastRun;
      for (size_t i = 0; i < boxes.size(); ++i) {
        e2e::Box want{10.0 + i, 20, 500, 700.0 - i};
        EXPECT_EQ(boxes[i].crop, want) << command[0] << " cancel-at " << cancelAt << ", page " << i + 1
                                       << ": " << e2e::toString(boxes[i].crop) << "\n"
                                       << lastRun;
      }
    }
  }
}

// ---- contents, lengths and permissions -----------------------------------------------

// Forms that draw each other in a ring, a chain of 300 forms, and 100,000
// nested save-state operators: the engine refuses the ring, the rest is
// measured; nothing recurses without bound.
TEST_F(ReliabilityHostileCorpus, DeeplyNestedFormsAndContents)
{
  const int chain = 300;
  std::vector<std::string> o = {"<< /Type /Catalog /Pages 2 0 R >>",
                                "<< /Type /Pages /Kids [3 0 R 4 0 R 5 0 R] /Count 3 >>"};
  auto page = [](int contents, int form) {
    return "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Contents " + std::to_string(contents) +
           " 0 R /Resources << /XObject << /F " + std::to_string(form) + " 0 R >> >> >>";
  };
  auto form = [](int next, const std::string &body) {
    return "<< /Type /XObject /Subtype /Form /BBox [0 0 612 792] /Resources << /XObject << /F " +
           std::to_string(next) + " 0 R >> >> /Length " + std::to_string(body.size()) + " >>\nstream\n" +
           body + "\nendstream";
  };
  const int ring = 9, first = 11;
  o.push_back(page(6, ring));  // 3: the ring
  o.push_back(page(7, first)); // 4: the chain
  o.push_back(page(8, first)); // 5: nested q
  const std::string draw = "/F Do";
  o.push_back("<< /Length 5 >>\nstream\n" + draw + "\nendstream"); // 6
  o.push_back("<< /Length 5 >>\nstream\n" + draw + "\nendstream"); // 7
  o.push_back(gen::flateStream("", "q ", 100000));                 // 8: 100,000 unbalanced q
  o.push_back(form(10, draw));                                     // 9: ring 9 -> 10 -> 9
  o.push_back(form(9, "10 10 50 50 re f " + draw));                // 10
  for (int i = 0; i < chain; ++i) {
    int num = first + i;
    bool last = i + 1 == chain;
    o.push_back(form(last ? num : num + 1, last ? std::string("100 200 200 200 re f") : draw));
  }
  rel::writeFile(path("nested.pdf"), gen::rawPdf(o, "/Root 1 0 R"));
  allModes("nested.pdf", 3);
}

TEST_F(ReliabilityHostileCorpus, WrongStreamLengths)
{
  std::vector<std::string> o = {"<< /Type /Catalog /Pages 2 0 R >>",
                                "<< /Type /Pages /Kids [3 0 R 5 0 R] /Count 2 >>",
                                pageObj(2, 4),
                                "<< /Length 99999 >>\nstream\n100 200 200 200 re f\n\nendstream",
                                pageObj(2, 6),
                                "<< /Length 3 >>\nstream\n100 200 200 200 re f\n\nendstream"};
  rel::writeFile(path("lengths.pdf"), gen::rawPdf(o, "/Root 1 0 R"));
  allModes("lengths.pdf", 2);
}

// Encrypted with an empty user password and an owner password, modifying
// not allowed: the commands are refused with a message or run, never more.
TEST_F(ReliabilityHostileCorpus, EncryptedWithRestrictedPermissions)
{
  gen::writeDocument(path("plain.pdf"), {gen::mixedPage(0), gen::mixedPage(1)});
  std::string why;
  ASSERT_TRUE(gen::encryptWithQpdf(path("plain.pdf"), path("locked.pdf"), "", "owner", false, &why)) << why;
  allModes("locked.pdf", 2);
}

// Some 40 million operators that draw nothing (no allocation to look at the
// clock): the watchdog stops the page at its deadline, here a millisecond,
// which no such page can meet; the page is taken as having no marks, with
// its note, and its crop box stays.
TEST_F(ReliabilityHostileCorpus, PageOverItsTimeIsStoppedAndTakenAsBlank)
{
  std::vector<std::string> o = {"<< /Type /Catalog /Pages 2 0 R >>",
                                "<< /Type /Pages /Kids [3 0 R] /Count 1 >>", pageObj(2, 4),
                                gen::flateStream("", "0 g 1 w\n", 40000000 / 2)};
  rel::writeFile(path("slow.pdf"), gen::rawPdf(o, "/Root 1 0 R"));
  RunResult r = folio({"--crop-bbox", "each", path("slow.pdf"), "-o", path("out.pdf")},
                      {"FOLIO_PAGE_BUDGET=0.001,1024"});
  ASSERT_EQ(r.exitCode, 0) << lastRun;
  EXPECT_TRUE(contains(r.out,
                       "note: Page 1 takes more than 0.001 seconds to read; its contents are not measured "
                       "or drawn. It is taken as having no marks.\n"))
      << lastRun;
  std::string why;
  std::vector<e2e::PageBoxes> boxes = e2e::readBoxes(path("out.pdf"), &why);
  ASSERT_EQ(boxes.size(), 1u) << why;
  EXPECT_EQ(boxes[0].crop, (e2e::Box{0, 0, 612, 792})) << e2e::toString(boxes[0].crop);
}
