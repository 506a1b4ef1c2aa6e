// history_bench: how much memory the crop-box history keeps for the changes
// users make to every page of a large document, and how long undo and redo
// take. Writes a document of PAGES letter pages (default 100,000), then:
//   1. one region on every page (one action), 2. a different box on every
//   page (one action, as a crop of each page to its own bounding box),
// printing the history's bytes after each, per changed page, then undoes and
// redoes both. Figures only; nothing is asserted.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "model/Document.h"
#include "pdfgen.h"

using namespace folio;
using namespace folio::model;

namespace {

double seconds(std::chrono::steady_clock::time_point since)
{
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

FixedRect rect(double l, double b, double r, double t)
{
  auto fx = [](double v) { return static_cast<Fixed>(v * 65536.0); };
  return FixedRect{fx(l), fx(t), fx(r), fx(b)};
}

} // namespace

int main(int argc, char **argv)
{
  const int pages = argc > 1 ? std::atoi(argv[1]) : 100000;
  const std::string dir = argc > 2 ? argv[2] : "/tmp";
  const std::string path = dir + "/history_bench.pdf";
  std::vector<pdfgen::PageSpec> layouts(static_cast<size_t>(pages));
  pdfgen::writeDocument(path, layouts);
  auto doc = Document::open(path);
  CropHistory &h = doc->history();
  const size_t empty = h.memoryBytes();
  std::printf("document: %d pages\n", doc->pageCount());

  auto applyAll = [&](const char *label, auto box) {
    auto t0 = std::chrono::steady_clock::now();
    CropHistory::Action action(label);
    for (int i = 0; i < pages; ++i) {
      Page *p = doc->acquirePage(i);
      p->setCropBox(box(i));
      doc->releasePage(p);
    }
    return seconds(t0);
  };
  double t = applyAll("Crop Region", [](int) { return rect(72, 72, 540, 720); });
  h.canUndo(); // the step is folded once the action is over
  size_t afterRegion = h.memoryBytes();
  std::printf("one region on every page:      %9zu bytes (%.3f a page), set in %.2f s\n", afterRegion - empty,
              double(afterRegion - empty) / pages, t);
  t = applyAll("Crop to Bounding Box",
               [](int i) { return rect(50 + i % 97 * 0.25, 60, 500, 700 - i % 89 * 0.5); });
  h.canUndo();
  size_t afterEach = h.memoryBytes();
  std::printf("a different box on every page: %9zu bytes (%.1f a page)\n", afterEach - afterRegion,
              double(afterEach - afterRegion) / pages);

  auto t0 = std::chrono::steady_clock::now();
  doc->undo();
  doc->undo();
  std::printf("undo of both: %.2f s; redo of both: ", seconds(t0));
  t0 = std::chrono::steady_clock::now();
  doc->redo();
  doc->redo();
  std::printf("%.2f s; history now %zu bytes\n", seconds(t0), h.memoryBytes() - empty);
  std::remove(path.c_str());
  return 0;
}
