// bbox_bench: speed and agreement of the host's page bounding box.
//
// Writes a mixed document (default 1000 pages), computes every page's
// bounding box with the model (PDPageGetBBox's implementation), runs
// Ghostscript's bbox device on the same file, and prints pages per second of
// each, their ratio, and the largest difference between the two boxes of any
// page. Prints figures only; asserts nothing.
//
// Comparing like with like: Ghostscript clips to the crop box, reports its
// boxes relative to the lower-left corner of the media box with the page's
// rotation applied, and reports a page without marks as 0 0 0 0. So the
// model's box is clipped to the box the page shows and carried into that
// space; pages for which Ghostscript reports 0 0 0 0 are counted apart (the
// model answers their crop box, by design), and so are pages whose ink the
// model misses or finds where Ghostscript does not.
//
// usage: bbox_bench [PAGES] [FILE]
//
// A second mode measures real documents, one after the other in this
// process tree:
//
// usage: bbox_bench --files [--gs-pages N] [--no-gs] FILE.pdf...
//
// For each file it prints the wall and CPU time of `folio --crop-bbox each
// FILE -o OUT` (the whole program: start, open, every page's box through the
// plug-in, save), of the engine's own loose bounding-box device
// (`mutool draw -F bbox -o /dev/null FILE`) and of Ghostscript's bbox device
// (`gs -sDEVICE=bbox`; on at most N pages with --gs-pages, its time then
// scaled to the whole file by pages, and left out with --no-gs), then the
// ratios; then the totals.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "model/Document.h"
#include "model/ModelError.h"
#include "pdfgen.h"
#include "support/ChildProcess.h"

using namespace folio;
using Clock = std::chrono::steady_clock;

namespace {

struct B {
  double x0, y0, x1, y1;
};

double fx(Fixed f)
{
  return f / 65536.0;
}

// A page-space box in Ghostscript's space: relative to the media box's
// lower-left corner, turned by the page's rotation.
B toGsSpace(B b, const B &media, int rot)
{
  double W = media.x1 - media.x0, H = media.y1 - media.y0;
  double x0 = b.x0 - media.x0, x1 = b.x1 - media.x0, y0 = b.y0 - media.y0, y1 = b.y1 - media.y0;
  switch (rot) {
  case 90:
    return {y0, W - x1, y1, W - x0};
  case 180:
    return {W - x1, H - y1, W - x0, H - y0};
  case 270:
    return {H - y1, x0, H - y0, x1};
  default:
    return {x0, y0, x1, y1};
  }
}

double diff(const B &a, const B &b)
{
  return std::max(
      {std::fabs(a.x0 - b.x0), std::fabs(a.y0 - b.y0), std::fabs(a.x1 - b.x1), std::fabs(a.y1 - b.y1)});
}

// ---- real documents, through the programs --------------------------------------

// A child's figures: wall and CPU seconds (of the child and the children it
// waited for), peak resident set, exit status.
using Run = testsupport::RunResult;
using testsupport::timeProgram;

int countPages(const std::string &path)
{
  try {
    return model::Document::open(path)->pageCount();
  } catch (const model::ModelError &) {
    return 0;
  }
}

std::string baseName(const std::string &path)
{
  size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

void printRun(const char *what, const Run &r, const Run *loose)
{
  std::printf("  %-24s wall %8.2f s  cpu %8.2f s  peak %6.1f MB  exit %d", what, r.wallSeconds, r.cpuSeconds,
              r.peakRssKb / 1024.0, r.exitCode);
  if (loose && loose->wallSeconds > 0)
    std::printf("  %6.2fx wall  %6.2fx cpu (of the loose device)", r.wallSeconds / loose->wallSeconds,
                loose->cpuSeconds > 0 ? r.cpuSeconds / loose->cpuSeconds : 0.0);
  std::printf("\n");
  std::fflush(stdout);
}

int filesMode(int argc, char **argv)
{
  int gsPages = 0; // 0: every page
  bool gs = true;
  std::vector<std::string> files;
  for (int i = 2; i < argc; ++i) {
    std::string a = argv[i];
    if (a == "--no-gs")
      gs = false;
    else if (a == "--gs-pages" && i + 1 < argc)
      gsPages = std::atoi(argv[++i]);
    else
      files.push_back(a);
  }
  if (files.empty()) {
    std::fprintf(stderr, "usage: bbox_bench --files [--gs-pages N] [--no-gs] FILE.pdf...\n");
    return 2;
  }
  char tmpl[] = "/tmp/folio-bbox-bench-XXXXXX";
  const char *dir = mkdtemp(tmpl);
  if (!dir) {
    std::perror("bbox_bench: mkdtemp");
    return 1;
  }
  const std::string out = std::string(dir) + "/out.pdf";
  Run total, totalLoose, totalGs;
  total.exitCode = totalLoose.exitCode = totalGs.exitCode = 0; // the first failure's status, else 0
  int totalPages = 0;
  for (const std::string &f : files) {
    int pages = countPages(f);
    std::printf("%s: %d pages\n", baseName(f).c_str(), pages);
    Run ours = timeProgram({FOLIO_EXE, "--crop-bbox", "each", f, "-o", out});
    Run loose = timeProgram({"mutool", "draw", "-F", "bbox", "-o", "/dev/null", f});
    printRun("folio --crop-bbox each", ours, &loose);
    printRun("mutool draw -F bbox", loose, nullptr);
    Run ghost;
    if (gs) {
      int n = gsPages > 0 ? std::min(gsPages, pages) : pages;
      std::vector<std::string> args{"gs", "-q", "-dNOPAUSE", "-dBATCH", "-dSAFER", "-sDEVICE=bbox"};
      if (n < pages)
        args.push_back("-dLastPage=" + std::to_string(n));
      args.push_back(f);
      ghost = timeProgram(args);
      if (n < pages && n > 0) {
        // Scaled to the whole file, as if every page cost as much.
        ghost.wallSeconds *= double(pages) / n;
        ghost.cpuSeconds *= double(pages) / n;
      }
      std::string what = n < pages ? "gs bbox (" + std::to_string(n) + " p, scaled)" : "gs -sDEVICE=bbox";
      printRun(what.c_str(), ghost, &loose);
      if (!totalGs.exitCode)
        totalGs.exitCode = ghost.exitCode;
      totalGs.wallSeconds += ghost.wallSeconds;
      totalGs.cpuSeconds += ghost.cpuSeconds;
    }
    if (!total.exitCode)
      total.exitCode = ours.exitCode;
    if (!totalLoose.exitCode)
      totalLoose.exitCode = loose.exitCode;
    total.wallSeconds += ours.wallSeconds;
    total.cpuSeconds += ours.cpuSeconds;
    total.peakRssKb = std::max(total.peakRssKb, ours.peakRssKb);
    totalLoose.wallSeconds += loose.wallSeconds;
    totalLoose.cpuSeconds += loose.cpuSeconds;
    totalLoose.peakRssKb = std::max(totalLoose.peakRssKb, loose.peakRssKb);
    totalPages += pages;
  }
  std::printf("total: %zu files, %d pages\n", files.size(), totalPages);
  printRun("folio --crop-bbox each", total, &totalLoose);
  printRun("mutool draw -F bbox", totalLoose, nullptr);
  if (gs)
    printRun("gs -sDEVICE=bbox", totalGs, &totalLoose);
  unlink(out.c_str());
  rmdir(dir);
  return 0;
}

} // namespace

int main(int argc, char **argv)
{
  if (argc > 1 && std::strcmp(argv[1], "--files") == 0)
    return filesMode(argc, argv);
  int pages = argc > 1 ? std::atoi(argv[1]) : 1000;
  std::string path = argc > 2 ? argv[2] : "/tmp/bbox_bench_mixed.pdf";

  std::vector<pdfgen::PageInk> inks;
  {
    pdfgen::Writer w(path);
    for (int i = 0; i < pages; ++i)
      inks.push_back(w.addPage(pdfgen::mixedPage(i)));
    w.finish();
  }

  // The model.
  std::vector<B> mine(pages), media(pages), shown(pages), crop(pages);
  std::vector<int> rot(pages);
  auto t0 = Clock::now();
  try {
    auto doc = model::Document::open(path);
    for (int i = 0; i < pages; ++i) {
      model::Page *p = doc->acquirePage(i);
      FixedRect r = p->bbox();
      mine[i] = {fx(r.left), fx(r.bottom), fx(r.right), fx(r.top)};
      doc->releasePage(p);
    }
  } catch (const model::ModelError &e) {
    std::fprintf(stderr, "bbox_bench: %s\n", e.what());
    return 1;
  }
  double ours = std::chrono::duration<double>(Clock::now() - t0).count();
  {
    auto doc = model::Document::open(path);
    for (int i = 0; i < pages; ++i) {
      model::Page *p = doc->acquirePage(i);
      FixedRect m = p->mediaBox(), s = p->shownBox(), c = p->cropBox();
      media[i] = {fx(m.left), fx(m.bottom), fx(m.right), fx(m.top)};
      shown[i] = {fx(s.left), fx(s.bottom), fx(s.right), fx(s.top)};
      crop[i] = {fx(c.left), fx(c.bottom), fx(c.right), fx(c.top)};
      rot[i] = p->rotate();
      doc->releasePage(p);
    }
  }

  // Ghostscript, on the same file in the same run; its bbox device writes
  // the boxes to standard error.
  const testsupport::RunResult gs =
      testsupport::runProgram({"gs", "-q", "-dNOPAUSE", "-dBATCH", "-dSAFER", "-sDEVICE=bbox", path});
  std::vector<B> theirs;
  std::istringstream lines(gs.out + gs.err);
  std::string line;
  while (std::getline(lines, line)) {
    B b;
    if (std::sscanf(line.c_str(), "%%%%HiResBoundingBox: %lf %lf %lf %lf", &b.x0, &b.y0, &b.x1, &b.y1) == 4)
      theirs.push_back(b);
  }
  const double ghost = gs.wallSeconds;
  if (gs.exitCode != 0 || static_cast<int>(theirs.size()) != pages) {
    std::fprintf(stderr, "bbox_bench: gs gave %zu boxes for %d pages (exit %d)\n", theirs.size(), pages,
                 gs.exitCode);
    return 1;
  }

  int compared = 0, gsEmpty = 0, emptyAnsweredCrop = 0, disagree = 0, within = 0;
  double worst = 0, worstTruth = 0;
  int worstPage = -1;
  for (int i = 0; i < pages; ++i) {
    const B &g = theirs[i];
    bool gEmpty = g.x0 == 0 && g.y0 == 0 && g.x1 == 0 && g.y1 == 0;
    // The truth from the writer, clipped as Ghostscript clips.
    auto truth = inks[i].within({shown[i].x0, shown[i].y0, shown[i].x1, shown[i].y1});
    if (gEmpty) {
      ++gsEmpty;
      if (!truth && diff(mine[i], crop[i]) == 0)
        ++emptyAnsweredCrop;
      continue;
    }
    B clipped{std::max(mine[i].x0, shown[i].x0), std::max(mine[i].y0, shown[i].y0),
              std::min(mine[i].x1, shown[i].x1), std::min(mine[i].y1, shown[i].y1)};
    if (!truth || clipped.x0 >= clipped.x1 || clipped.y0 >= clipped.y1) {
      ++disagree;
      continue;
    }
    ++compared;
    B ours = toGsSpace(clipped, media[i], rot[i]);
    double d = diff(ours, g);
    if (d <= 0.25)
      ++within;
    if (d > worst) {
      worst = d;
      worstPage = i;
    }
    B t = toGsSpace({truth->x0, truth->y0, truth->x1, truth->y1}, media[i], rot[i]);
    worstTruth = std::max(worstTruth, diff(ours, t));
  }

  std::printf("pages                      %d (mixed set, %s)\n", pages, path.c_str());
  std::printf("model bbox                 %.3f s  %.0f pages/s\n", ours, pages / ours);
  std::printf("ghostscript bbox device    %.3f s  %.0f pages/s\n", ghost, pages / ghost);
  std::printf("speed ratio                %.1f x\n", ghost / ours);
  std::printf("pages compared             %d (boxes within 0.25 pt: %d)\n", compared, within);
  std::printf("largest difference         %.4f pt (page %d)\n", worst, worstPage + 1);
  std::printf("largest difference, truth  %.4f pt (model against the writer's exact ink)\n", worstTruth);
  std::printf("pages gs reports 0 0 0 0   %d (model answered the crop box on %d of them)\n", gsEmpty,
              emptyAnsweredCrop);
  std::printf("pages in disagreement      %d (ink found by only one of the two)\n", disagree);
  return 0;
}
