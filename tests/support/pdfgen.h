// pdfgen.h: a small PDF writer for tests and benchmarks.
//
// Writes raw PDF 1.7 (uncompressed content streams, a classic xref table with
// exact offsets) one page at a time, so documents of 100,000 pages take only
// a few bytes of memory per page. Every mark it paints has extents that are
// known exactly, and addPage returns the ink extents of the page, so tests
// can compare a bounding box computation with the truth.
//
// Coordinates are PDF user space of the page: points, y upwards, the page's
// /Rotate not applied. All numbers are written with at most four decimals;
// pass values that are multiples of 1/16 to have them written exactly.
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace folio::pdfgen {

struct Box {
  double x0 = 0, y0 = 0, x1 = 0, y1 = 0; // x0 <= x1, y0 <= y1
  bool operator==(const Box &o) const { return x0 == o.x0 && y0 == o.y0 && x1 == o.x1 && y1 == o.y1; }
  bool empty() const { return !(x0 < x1 && y0 < y1); }
};

// Union of two boxes (an empty box is neutral).
Box unite(const Box &a, const Box &b);
// Intersection; may be empty.
Box intersect(const Box &a, const Box &b);

enum class Cap { Butt = 0, Round = 1, Square = 2 };

// One thing painted on a page. Grey is 0 (black) to 1 (white); white paint is
// not ink.
struct Mark {
  enum Kind {
    FillRect,    // filled rectangle box
    StrokeRect,  // rectangle box stroked with `width`, mitred corners
    Line,        // segment (x0,y0)-(x1,y1) stroked with `width` and `cap`
    Curve,       // cubic Bezier p0 p1 p2 p3 stroked with `width`, round caps
    Ellipse,     // filled ellipse of centre (x0, y0) and radii (x1, y1), four Bezier arcs
    Text,        // `text` in Helvetica at `size` points, baseline origin (x0, y0)
    ClippedRect, // filled rectangle `box` seen through the clip rectangle `clip`
    Gradient // rectangle `box` filled with an axial shading, grey 0.05 at its left side to 0.97 at its right
  } kind = FillRect;
  Box box;                               // FillRect, StrokeRect, ClippedRect
  Box clip;                              // ClippedRect
  double x0 = 0, y0 = 0, x1 = 0, y1 = 0; // Line; Text origin in x0, y0
  double p[8] = {0};                     // Curve: x0 y0 x1 y1 x2 y2 x3 y3
  double width = 1;                      // stroke width
  Cap cap = Cap::Butt;
  double grey = 0;     // 0 black, 1 white
  bool colour = false; // FillRect: painted in `rgb` (DeviceRGB) instead of `grey`
  double rgb[3] = {0}; // 0 to 1 each; all 1 is white
  std::string text;    // letters of "EFHILT" and spaces only
  double size = 12;    // text size

  static Mark fillRect(Box b, double grey = 0);
  static Mark strokeRect(Box b, double width);
  static Mark line(double x0, double y0, double x1, double y1, double width, Cap cap);
  static Mark curve(const double p[8], double width);
  static Mark ellipse(double cx, double cy, double rx, double ry);
  static Mark textAt(double x, double y, double size, const std::string &text);
  static Mark clippedRect(Box b, Box clip);
  static Mark fillRectRgb(Box b, double r, double g, double bl);
  static Mark gradientRect(Box b);
};

// Exact extents of what a mark paints (white marks included; see isInk).
Box markExtent(const Mark &m);
bool isInk(const Mark &m);

// Where an inheritable page attribute is written: on the page object, on
// the page's intermediate page-tree node (two levels above the page: the
// page's parent node is a plain node without attributes, so the value is
// inherited through an intermediate node), or on the root of the page tree.
enum class Place { Page, Node, Root };

struct PageSpec {
  Box media{0, 0, 612, 792};
  std::optional<Box> crop;
  int rotate = 0;           // written as given (0 is written only when not on the page)
  bool writeRotate = false; // write /Rotate even when it is 0
  Place mediaAt = Place::Page;
  Place cropAt = Place::Page;
  Place rotateAt = Place::Page;
  std::vector<Mark> marks; // painted in order
};

// What addPage reports: the exact extents of the page's ink (black or grey
// paint; white paint excluded), not clipped to any box.
struct PageInk {
  bool blank = true; // no ink at all
  Box ink;           // valid when !blank
  // The ink clipped to `b`; blank when nothing lies inside.
  std::optional<Box> within(const Box &b) const;
};

PageInk pageInk(const PageSpec &layout);

// Widths and glyph extents of Helvetica for the letters that Text marks may
// use, in 1/1000 of the text size.
struct GlyphMetrics {
  int advance;
  int llx, lly, urx, ury; // 0 0 0 0 for a space
};
const GlyphMetrics *helveticaGlyph(char c);

class Writer {
public:
  // Opens `path` for writing; throws std::runtime_error on failure.
  explicit Writer(const std::string &path);
  ~Writer(); // finishes if finish() was not called (errors then ignored)

  // Writes one page and returns its ink. Pages that inherit an attribute from
  // a node share the node with the previous page when the node values agree
  // (at most 32 pages a node); values placed on the root must agree for all
  // pages that place them there (std::runtime_error otherwise).
  PageInk addPage(const PageSpec &layout);
  int pageCount() const { return pages_; }

  // Writes the page tree, xref and trailer and closes the file.
  void finish();

private:
  int newObject();
  void beginObject(int num);
  void closeNode();
  void write(const std::string &s);

  std::FILE *f_ = nullptr;
  std::string path_;
  uint64_t pos_ = 0;
  std::vector<uint64_t> offsets_; // by object number; 0 = not yet written
  // Kids of the root and their page counts: the first kNodeKids directly,
  // the rest in chunk nodes of kNodeKids (and nodes of chunks when there are
  // many), so that finding a page never reads a long list of kids.
  std::vector<std::pair<int, int>> topKids_;
  std::vector<int> chunks_; // object numbers of the chunk nodes
  int topParent();          // the parent of the next kid of the top level
  int pages_ = 0;
  bool finished_ = false;
  // the open intermediate node
  int nodeOuter_ = 0, nodeInner_ = 0;
  std::vector<int> nodeKids_;
  std::string nodeAttrs_;
  // attributes on the root
  std::string rootAttrs_;
  bool rootMediaSet_ = false, rootCropSet_ = false, rootRotateSet_ = false;
  Box rootMedia_, rootCrop_;
  int rootRotate_ = 0;
};

// Writes a whole document; returns the ink of each page.
std::vector<PageInk> writeDocument(const std::string &path, const std::vector<PageSpec> &pages);

// The page of a deterministic mixed document (sizes, origins, rotations, crop
// boxes, text, rectangles, lines, curves, white backgrounds, blank pages),
// chosen by the page index and a seed.
PageSpec mixedPage(int index, uint32_t seed = 1);

// Encrypts `in` into `out` with the qpdf command-line tool (AES-256): opening
// with `user` gives the /P permissions below, `owner` gives everything.
// allowModify=false clears the modify-contents bit. Returns false (with a
// message in *error) when qpdf fails or is missing.
bool encryptWithQpdf(const std::string &in, const std::string &out, const std::string &user,
                     const std::string &owner, bool allowModify, std::string *error = nullptr);

// Damages the xref table of a file written by Writer: every in-use offset is
// moved by `shift` bytes, so a reader must rebuild the table. Returns false
// when the file has no classic xref table.
bool damageXrefOffsets(const std::string &path, int shift = 7);

// ---- hand-built files, for hostile input -------------------------------------

// A whole PDF file of the objects given: object i + 1 is objects[i] (its body,
// without "N 0 obj" and "endobj"), a classic xref table with exact offsets,
// and a trailer dictionary of `trailer` (its entries, e.g. "/Root 1 0 R")
// plus /Size. `header` starts the file.
std::string rawPdf(const std::vector<std::string> &objects, const std::string &trailer,
                   const std::string &header = "%PDF-1.7\n");

// A stream object body: `dict` (entries without << >>) with /Length and
// /Filter /FlateDecode added, and the bytes of `unit` repeated `times` times,
// compressed. Compressed as it is produced, so a stream that expands to
// gigabytes takes only its compressed size in memory.
std::string flateStream(const std::string &dict, const std::string &unit, size_t times);

// Number formatting used in the files (at most four decimals, no trailing
// zeros, "-0" never written).
std::string num(double v);

} // namespace folio::pdfgen
