// crop_bench: the cropping commands on a large generated document, through
// the folio program's batch front end, each against a plain rewrite of the
// same file by qpdf, in the same run. Prints wall time, CPU time and peak
// memory of every child; asserts nothing.
//
//   crop_bench [PAGES] [WORKDIR]      (defaults: 10000, a fresh folder in /tmp)
#include <sys/stat.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "pdfgen.h"
#include "support/ChildProcess.h"

namespace {

using testsupport::RunResult;
using testsupport::timeProgram;

void print(const char *what, const RunResult &f, const RunResult *baseline)
{
  std::printf("%-34s wall %7.2f s  cpu %7.2f s  peak %7.1f MB  exit %d", what, f.wallSeconds, f.cpuSeconds,
              f.peakRssKb / 1024.0, f.exitCode);
  if (baseline && baseline->wallSeconds > 0)
    std::printf("  (%.2fx the rewrite)", f.wallSeconds / baseline->wallSeconds);
  std::printf("\n");
  std::fflush(stdout);
}

} // namespace

int main(int argc, char **argv)
{
  const int pages = argc > 1 ? std::atoi(argv[1]) : 10000;
  std::string dir;
  if (argc > 2) {
    dir = argv[2];
    mkdir(dir.c_str(), 0755);
  } else {
    char tmpl[] = "/tmp/folio-crop-bench-XXXXXX";
    dir = mkdtemp(tmpl);
  }
  const std::string in = dir + "/bench.pdf";

  // Letter pages, each with text, a frame and a filled rectangle, so that
  // the engine has real contents to measure and to copy.
  auto t0 = std::chrono::steady_clock::now();
  {
    namespace gen = folio::pdfgen;
    gen::Writer w(in);
    for (int i = 0; i < pages; ++i) {
      gen::PageSpec p;
      double d = (i % 7) * 4;
      p.marks.push_back(gen::Mark::textAt(72 + d, 700, 24, "TITLE FILE"));
      p.marks.push_back(gen::Mark::strokeRect({60 + d, 80, 552 - d, 720}, 2));
      p.marks.push_back(gen::Mark::fillRect({100, 100 + d, 300, 300 + d}, 0.5));
      w.addPage(p);
    }
    w.finish();
  }
  struct stat st {};
  stat(in.c_str(), &st);
  std::printf("document: %d letter pages, %.1f MB, written in %.2f s (%s)\n", pages, st.st_size / 1048576.0,
              std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count(), in.c_str());

  const std::string folio = FOLIO_EXE;
  RunResult rewrite = timeProgram({"qpdf", in, dir + "/rewrite.pdf"});
  print("qpdf IN OUT (plain rewrite)", rewrite, nullptr);
  RunResult region = timeProgram({folio, "--crop-region", "72 72 540 720", in, "-o", dir + "/region.pdf"});
  print("folio --crop-region (all pages)", region, &rewrite);
  RunResult rewrite2 = timeProgram({"qpdf", in, dir + "/rewrite2.pdf"});
  print("qpdf IN OUT (again)", rewrite2, nullptr);
  RunResult bbox = timeProgram({folio, "--crop-bbox", "each", in, "-o", dir + "/bbox.pdf"});
  print("folio --crop-bbox each", bbox, &rewrite2);
  RunResult reset =
      timeProgram({folio, "--reset-media-box", "all", dir + "/region.pdf", "-o", dir + "/reset.pdf"});
  print("folio --reset-media-box all", reset, &rewrite);
  std::printf("files left in %s\n", dir.c_str());
  return 0;
}
