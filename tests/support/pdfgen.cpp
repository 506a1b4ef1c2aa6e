// pdfgen.cpp: the test PDF writer (see pdfgen.h).
#include "pdfgen.h"

#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace folio::pdfgen {

namespace {

// Glyph widths and outline extents of the sans-serif standard font, in 1/1000
// of the text size. Only letters with straight outlines are offered, so the
// extents do not depend on how a renderer flattens curves.
const GlyphMetrics kSpace{278, 0, 0, 0, 0};
const GlyphMetrics kE{667, 90, 0, 613, 729};
const GlyphMetrics kF{611, 90, 0, 579, 729};
const GlyphMetrics kH{722, 83, 0, 644, 729};
const GlyphMetrics kI{278, 100, 0, 194, 729};
const GlyphMetrics kL{556, 80, 0, 533, 729};
const GlyphMetrics kT{611, 21, 0, 593, 729};

// Extremes of one coordinate of a cubic Bezier over t in [0, 1].
void bezierRange(double a, double b, double c, double d, double &lo, double &hi)
{
  lo = std::min(a, d);
  hi = std::max(a, d);
  // derivative / 3 = qa t^2 + qb t + qc
  double qa = -a + 3 * b - 3 * c + d;
  double qb = 2 * (a - 2 * b + c);
  double qc = b - a;
  double roots[2];
  int n = 0;
  if (std::fabs(qa) < 1e-12) {
    if (std::fabs(qb) > 1e-12)
      roots[n++] = -qc / qb;
  } else {
    double disc = qb * qb - 4 * qa * qc;
    if (disc >= 0) {
      double s = std::sqrt(disc);
      roots[n++] = (-qb + s) / (2 * qa);
      roots[n++] = (-qb - s) / (2 * qa);
    }
  }
  for (int i = 0; i < n; ++i) {
    double t = roots[i];
    if (t <= 0 || t >= 1)
      continue;
    double u = 1 - t;
    double v = u * u * u * a + 3 * u * u * t * b + 3 * u * t * t * c + t * t * t * d;
    lo = std::min(lo, v);
    hi = std::max(hi, v);
  }
}

Box bezierBox(const double p[8])
{
  Box b;
  bezierRange(p[0], p[2], p[4], p[6], b.x0, b.x1);
  bezierRange(p[1], p[3], p[5], p[7], b.y0, b.y1);
  return b;
}

std::string boxArray(const Box &b)
{
  return "[" + num(b.x0) + " " + num(b.y0) + " " + num(b.x1) + " " + num(b.y1) + "]";
}

std::string contentOf(const Mark &m)
{
  std::ostringstream s;
  switch (m.kind) {
  case Mark::FillRect:
    if (m.colour)
      s << "q " << num(m.rgb[0]) << " " << num(m.rgb[1]) << " " << num(m.rgb[2]) << " rg " << num(m.box.x0)
        << " " << num(m.box.y0) << " " << num(m.box.x1 - m.box.x0) << " " << num(m.box.y1 - m.box.y0)
        << " re f Q\n";
    else
      s << "q " << num(m.grey) << " g " << num(m.box.x0) << " " << num(m.box.y0) << " "
        << num(m.box.x1 - m.box.x0) << " " << num(m.box.y1 - m.box.y0) << " re f Q\n";
    break;
  case Mark::StrokeRect:
    s << "q " << num(m.grey) << " G " << num(m.width) << " w 0 J 0 j 10 M " << num(m.box.x0) << " "
      << num(m.box.y0) << " " << num(m.box.x1 - m.box.x0) << " " << num(m.box.y1 - m.box.y0) << " re S Q\n";
    break;
  case Mark::Line:
    s << "q " << num(m.grey) << " G " << num(m.width) << " w " << static_cast<int>(m.cap) << " J "
      << num(m.x0) << " " << num(m.y0) << " m " << num(m.x1) << " " << num(m.y1) << " l S Q\n";
    break;
  case Mark::Curve:
    s << "q " << num(m.grey) << " G " << num(m.width) << " w 1 J 1 j " << num(m.p[0]) << " " << num(m.p[1])
      << " m " << num(m.p[2]) << " " << num(m.p[3]) << " " << num(m.p[4]) << " " << num(m.p[5]) << " "
      << num(m.p[6]) << " " << num(m.p[7]) << " c S Q\n";
    break;
  case Mark::Ellipse: {
    // Four arcs through the ends of the axes, where their tangents are
    // parallel to the axes: the extents are exactly the centre +- radii.
    const double k = 0.5522847498;
    double cx = m.x0, cy = m.y0, rx = m.x1, ry = m.y1;
    auto pt = [&](double x, double y) { return num(x) + " " + num(y) + " "; };
    s << "q " << num(m.grey) << " g " << pt(cx + rx, cy) << "m " << pt(cx + rx, cy + k * ry)
      << pt(cx + k * rx, cy + ry) << pt(cx, cy + ry) << "c " << pt(cx - k * rx, cy + ry)
      << pt(cx - rx, cy + k * ry) << pt(cx - rx, cy) << "c " << pt(cx - rx, cy - k * ry)
      << pt(cx - k * rx, cy - ry) << pt(cx, cy - ry) << "c " << pt(cx + k * rx, cy - ry)
      << pt(cx + rx, cy - k * ry) << pt(cx + rx, cy) << "c h f Q\n";
    break;
  }
  case Mark::ClippedRect:
    s << "q " << num(m.clip.x0) << " " << num(m.clip.y0) << " " << num(m.clip.x1 - m.clip.x0) << " "
      << num(m.clip.y1 - m.clip.y0) << " re W n " << num(m.grey) << " g " << num(m.box.x0) << " "
      << num(m.box.y0) << " " << num(m.box.x1 - m.box.x0) << " " << num(m.box.y1 - m.box.y0) << " re f Q\n";
    break;
  case Mark::Gradient:
    // The unit square carried onto the box; the shading runs along its x.
    s << "q " << num(m.box.x1 - m.box.x0) << " 0 0 " << num(m.box.y1 - m.box.y0) << " " << num(m.box.x0)
      << " " << num(m.box.y0) << " cm 0 0 1 1 re W n /Sh1 sh Q\n";
    break;
  case Mark::Text:
    s << "q " << num(m.grey) << " g BT /F1 " << num(m.size) << " Tf " << num(m.x0) << " " << num(m.y0)
      << " Td (" << m.text << ") Tj ET Q\n";
    break;
  }
  return s.str();
}

// A small deterministic generator for the mixed document.
struct Lcg {
  uint64_t s;
  explicit Lcg(uint64_t seed) : s(seed * 6364136223846793005ULL + 1442695040888963407ULL) { next(); }
  uint32_t next()
  {
    s = s * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<uint32_t>(s >> 33);
  }
  int range(int n) { return static_cast<int>(next() % static_cast<uint32_t>(n)); }
  // A multiple of 0.25 in [lo, hi).
  double quarter(double lo, double hi)
  {
    int steps = static_cast<int>((hi - lo) * 4);
    return lo + (steps > 0 ? range(steps) : 0) * 0.25;
  }
};

} // namespace

std::string num(double v)
{
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.4f", v);
  std::string s = buf;
  while (!s.empty() && s.back() == '0')
    s.pop_back();
  if (!s.empty() && s.back() == '.')
    s.pop_back();
  if (s == "-0" || s.empty())
    s = "0";
  return s;
}

Box unite(const Box &a, const Box &b)
{
  if (a.empty())
    return b;
  if (b.empty())
    return a;
  return {std::min(a.x0, b.x0), std::min(a.y0, b.y0), std::max(a.x1, b.x1), std::max(a.y1, b.y1)};
}

Box intersect(const Box &a, const Box &b)
{
  return {std::max(a.x0, b.x0), std::max(a.y0, b.y0), std::min(a.x1, b.x1), std::min(a.y1, b.y1)};
}

Mark Mark::fillRect(Box b, double grey)
{
  Mark m;
  m.kind = FillRect;
  m.box = b;
  m.grey = grey;
  return m;
}

Mark Mark::fillRectRgb(Box b, double r, double g, double bl)
{
  Mark m = fillRect(b);
  m.colour = true;
  m.rgb[0] = r;
  m.rgb[1] = g;
  m.rgb[2] = bl;
  return m;
}

Mark Mark::gradientRect(Box b)
{
  Mark m;
  m.kind = Gradient;
  m.box = b;
  return m;
}

Mark Mark::strokeRect(Box b, double width)
{
  Mark m;
  m.kind = StrokeRect;
  m.box = b;
  m.width = width;
  return m;
}

Mark Mark::line(double x0, double y0, double x1, double y1, double width, Cap cap)
{
  Mark m;
  m.kind = Line;
  m.x0 = x0;
  m.y0 = y0;
  m.x1 = x1;
  m.y1 = y1;
  m.width = width;
  m.cap = cap;
  return m;
}

Mark Mark::curve(const double p[8], double width)
{
  Mark m;
  m.kind = Curve;
  std::copy(p, p + 8, m.p);
  m.width = width;
  m.cap = Cap::Round;
  return m;
}

Mark Mark::ellipse(double cx, double cy, double rx, double ry)
{
  Mark m;
  m.kind = Ellipse;
  m.x0 = cx;
  m.y0 = cy;
  m.x1 = rx;
  m.y1 = ry;
  return m;
}

Mark Mark::textAt(double x, double y, double size, const std::string &text)
{
  Mark m;
  m.kind = Text;
  m.x0 = x;
  m.y0 = y;
  m.size = size;
  m.text = text;
  return m;
}

Mark Mark::clippedRect(Box b, Box clip)
{
  Mark m;
  m.kind = ClippedRect;
  m.box = b;
  m.clip = clip;
  return m;
}

const GlyphMetrics *helveticaGlyph(char c)
{
  switch (c) {
  case ' ':
    return &kSpace;
  case 'E':
    return &kE;
  case 'F':
    return &kF;
  case 'H':
    return &kH;
  case 'I':
    return &kI;
  case 'L':
    return &kL;
  case 'T':
    return &kT;
  default:
    return nullptr;
  }
}

Box markExtent(const Mark &m)
{
  switch (m.kind) {
  case Mark::FillRect:
  case Mark::Gradient:
    return m.box;
  case Mark::StrokeRect: {
    double h = m.width / 2;
    return {m.box.x0 - h, m.box.y0 - h, m.box.x1 + h, m.box.y1 + h};
  }
  case Mark::Line: {
    double h = m.width / 2;
    double dx = m.x1 - m.x0, dy = m.y1 - m.y0;
    double len = std::hypot(dx, dy);
    if (len == 0)
      return {};
    double ux = dx / len, uy = dy / len; // along the line
    if (m.cap == Cap::Round)
      return {std::min(m.x0, m.x1) - h, std::min(m.y0, m.y1) - h, std::max(m.x0, m.x1) + h,
              std::max(m.y0, m.y1) + h};
    double ax = m.x0, ay = m.y0, bx = m.x1, by = m.y1;
    if (m.cap == Cap::Square) {
      ax -= ux * h;
      ay -= uy * h;
      bx += ux * h;
      by += uy * h;
    }
    double nx = -uy * h, ny = ux * h; // across the line
    double xs[4] = {ax + nx, ax - nx, bx + nx, bx - nx};
    double ys[4] = {ay + ny, ay - ny, by + ny, by - ny};
    return {*std::min_element(xs, xs + 4), *std::min_element(ys, ys + 4), *std::max_element(xs, xs + 4),
            *std::max_element(ys, ys + 4)};
  }
  case Mark::Curve: {
    Box b = bezierBox(m.p);
    double h = m.width / 2;
    return {b.x0 - h, b.y0 - h, b.x1 + h, b.y1 + h};
  }
  case Mark::Ellipse:
    return {m.x0 - m.x1, m.y0 - m.y1, m.x0 + m.x1, m.y0 + m.y1};
  case Mark::ClippedRect:
    return intersect(m.box, m.clip);
  case Mark::Text: {
    Box b;
    bool any = false;
    double x = m.x0;
    for (char c : m.text) {
      const GlyphMetrics *g = helveticaGlyph(c);
      if (!g)
        throw std::runtime_error(std::string("pdfgen: letter not offered in text marks: ") + c);
      if (c != ' ') {
        Box gb{x + g->llx * m.size / 1000, m.y0 + g->lly * m.size / 1000, x + g->urx * m.size / 1000,
               m.y0 + g->ury * m.size / 1000};
        b = any ? unite(b, gb) : gb;
        any = true;
      }
      x += g->advance * m.size / 1000;
    }
    return any ? b : Box{};
  }
  }
  return {};
}

bool isInk(const Mark &m)
{
  if (m.colour ? m.rgb[0] >= 1 && m.rgb[1] >= 1 && m.rgb[2] >= 1 : m.grey >= 1 && m.kind != Mark::Gradient)
    return false;
  if (m.kind == Mark::Text) {
    bool letters = false;
    for (char c : m.text)
      letters = letters || c != ' ';
    return letters;
  }
  return !markExtent(m).empty() || m.kind == Mark::Line;
}

PageInk pageInk(const PageSpec &layout)
{
  PageInk ink;
  for (const Mark &m : layout.marks) {
    if (!isInk(m))
      continue;
    Box e = markExtent(m);
    ink.ink = ink.blank ? e : unite(ink.ink, e);
    ink.blank = false;
  }
  return ink;
}

std::optional<Box> PageInk::within(const Box &b) const
{
  if (blank)
    return std::nullopt;
  Box r = intersect(ink, b);
  if (r.empty())
    return std::nullopt;
  return r;
}

// ---- Writer -----------------------------------------------------------------

namespace {
constexpr int kCatalog = 1, kRoot = 2, kFont = 3, kResources = 4;
constexpr size_t kNodeKids = 32;
} // namespace

Writer::Writer(const std::string &path) : path_(path)
{
  f_ = std::fopen(path.c_str(), "wb");
  if (!f_)
    throw std::runtime_error("pdfgen: cannot write " + path);
  offsets_.assign(kResources + 1, 0);
  write("%PDF-1.7\n%\xE2\xE3\xCF\xD3\n");
  beginObject(kFont);
  write("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>\nendobj\n");
  beginObject(kResources);
  // Sh1: the grey axial shading of Gradient marks, along x of the unit square.
  write(
      "<< /Font << /F1 3 0 R >> /Shading << /Sh1 << /ShadingType 2 /ColorSpace /DeviceGray /Coords [0 0 1 0] "
      "/Function << /FunctionType 2 /Domain [0 1] /C0 [0.05] /C1 [0.97] /N 1 >> /Extend [true true] >> >> "
      "/ProcSet [/PDF /Text] >>\nendobj\n");
}

Writer::~Writer()
{
  if (!finished_) {
    try {
      finish();
    } catch (...) {
    }
  }
}

void Writer::write(const std::string &s)
{
  if (std::fwrite(s.data(), 1, s.size(), f_) != s.size())
    throw std::runtime_error("pdfgen: write failed on " + path_);
  pos_ += s.size();
}

int Writer::newObject()
{
  offsets_.push_back(0);
  return static_cast<int>(offsets_.size() - 1);
}

void Writer::beginObject(int n)
{
  offsets_[n] = pos_;
  write(std::to_string(n) + " 0 obj\n");
}

int Writer::topParent()
{
  size_t index = topKids_.size();
  if (index < kNodeKids)
    return kRoot;
  size_t chunk = (index - kNodeKids) / kNodeKids;
  if (chunk == chunks_.size())
    chunks_.push_back(newObject());
  return chunks_[chunk];
}

void Writer::closeNode()
{
  if (!nodeOuter_)
    return;
  std::string kids;
  for (int k : nodeKids_)
    kids += std::to_string(k) + " 0 R ";
  std::string count = std::to_string(nodeKids_.size());
  beginObject(nodeInner_);
  write("<< /Type /Pages /Parent " + std::to_string(nodeOuter_) + " 0 R /Kids [" + kids + "] /Count " +
        count + " >>\nendobj\n");
  int parent = topParent();
  beginObject(nodeOuter_);
  write("<< /Type /Pages /Parent " + std::to_string(parent) + " 0 R /Kids [" + std::to_string(nodeInner_) +
        " 0 R] /Count " + count + " " + nodeAttrs_ + ">>\nendobj\n");
  topKids_.emplace_back(nodeOuter_, static_cast<int>(nodeKids_.size()));
  nodeOuter_ = nodeInner_ = 0;
  nodeKids_.clear();
  nodeAttrs_.clear();
}

PageInk Writer::addPage(const PageSpec &layout)
{
  if (finished_)
    throw std::runtime_error("pdfgen: addPage after finish");
  std::string pageAttrs, nodeAttrs;
  auto place = [&](Place where, const std::string &attr) {
    if (where == Place::Page)
      pageAttrs += attr;
    else if (where == Place::Node)
      nodeAttrs += attr;
  };
  place(layout.mediaAt, "/MediaBox " + boxArray(layout.media) + " ");
  if (layout.crop)
    place(layout.cropAt, "/CropBox " + boxArray(*layout.crop) + " ");
  if (layout.rotate != 0 || layout.writeRotate || layout.rotateAt != Place::Page)
    place(layout.rotateAt, "/Rotate " + std::to_string(layout.rotate) + " ");

  // Root attributes: fixed by the first page that places them there.
  if (layout.mediaAt == Place::Root) {
    if (rootMediaSet_ && !(rootMedia_ == layout.media))
      throw std::runtime_error("pdfgen: pages disagree on the root media box");
    rootMedia_ = layout.media;
    rootMediaSet_ = true;
  }
  if (layout.crop && layout.cropAt == Place::Root) {
    if (rootCropSet_ && !(rootCrop_ == *layout.crop))
      throw std::runtime_error("pdfgen: pages disagree on the root crop box");
    rootCrop_ = *layout.crop;
    rootCropSet_ = true;
  }
  if (layout.rotateAt == Place::Root) {
    if (rootRotateSet_ && rootRotate_ != layout.rotate)
      throw std::runtime_error("pdfgen: pages disagree on the root rotation");
    rootRotate_ = layout.rotate;
    rootRotateSet_ = true;
  }

  int parent = 0;
  if (nodeAttrs.empty()) {
    closeNode();
    parent = topParent();
  } else {
    if (nodeOuter_ && (nodeAttrs != nodeAttrs_ || nodeKids_.size() >= kNodeKids))
      closeNode();
    if (!nodeOuter_) {
      nodeOuter_ = newObject();
      nodeInner_ = newObject();
      nodeAttrs_ = nodeAttrs;
    }
    parent = nodeInner_;
  }

  std::string content;
  for (const Mark &m : layout.marks)
    content += contentOf(m);
  int contents = newObject();
  beginObject(contents);
  write("<< /Length " + std::to_string(content.size()) + " >>\nstream\n" + content + "\nendstream\nendobj\n");
  int page = newObject();
  beginObject(page);
  write("<< /Type /Page /Parent " + std::to_string(parent) + " 0 R /Resources 4 0 R /Contents " +
        std::to_string(contents) + " 0 R " + pageAttrs + ">>\nendobj\n");
  if (nodeAttrs.empty())
    topKids_.emplace_back(page, 1);
  else
    nodeKids_.push_back(page);
  ++pages_;
  return pageInk(layout);
}

void Writer::finish()
{
  if (finished_)
    return;
  finished_ = true;
  closeNode();
  // The chunk nodes, and above them nodes of up to kNodeKids nodes until a
  // level has few enough to hang from the root.
  struct Node {
    int num;
    int count;
    std::vector<int> kids;
  };
  std::vector<Node> level;
  for (size_t c = 0; c < chunks_.size(); ++c) {
    Node n{chunks_[c], 0, {}};
    for (size_t k = kNodeKids + c * kNodeKids; k < topKids_.size() && k < kNodeKids + (c + 1) * kNodeKids;
         ++k) {
      n.kids.push_back(topKids_[k].first);
      n.count += topKids_[k].second;
    }
    level.push_back(n);
  }
  auto writeNode = [&](const Node &n, int parent) {
    std::string kids;
    for (int k : n.kids)
      kids += std::to_string(k) + " 0 R ";
    beginObject(n.num);
    write("<< /Type /Pages /Parent " + std::to_string(parent) + " 0 R /Kids [" + kids + "] /Count " +
          std::to_string(n.count) + " >>\nendobj\n");
  };
  while (level.size() > kNodeKids) {
    std::vector<Node> up;
    for (size_t i = 0; i < level.size(); i += kNodeKids) {
      Node n{newObject(), 0, {}};
      for (size_t k = i; k < level.size() && k < i + kNodeKids; ++k) {
        n.kids.push_back(level[k].num);
        n.count += level[k].count;
      }
      for (size_t k = i; k < level.size() && k < i + kNodeKids; ++k)
        writeNode(level[k], n.num);
      up.push_back(n);
    }
    level = up;
  }
  for (const Node &n : level)
    writeNode(n, kRoot);
  std::string root = "<< /Type /Pages /Kids [";
  for (size_t k = 0; k < topKids_.size() && k < kNodeKids; ++k)
    root += std::to_string(topKids_[k].first) + " 0 R ";
  for (const Node &n : level)
    root += std::to_string(n.num) + " 0 R ";
  root += "] /Count " + std::to_string(pages_) + " ";
  if (rootMediaSet_)
    root += "/MediaBox " + boxArray(rootMedia_) + " ";
  if (rootCropSet_)
    root += "/CropBox " + boxArray(rootCrop_) + " ";
  if (rootRotateSet_)
    root += "/Rotate " + std::to_string(rootRotate_) + " ";
  root += ">>\nendobj\n";
  beginObject(kRoot);
  write(root);
  beginObject(kCatalog);
  write("<< /Type /Catalog /Pages 2 0 R >>\nendobj\n");

  uint64_t xref = pos_;
  std::string table = "xref\n0 " + std::to_string(offsets_.size()) + "\n0000000000 65535 f\r\n";
  char entry[32];
  for (size_t i = 1; i < offsets_.size(); ++i) {
    std::snprintf(entry, sizeof entry, "%010llu 00000 n\r\n", static_cast<unsigned long long>(offsets_[i]));
    table += entry;
    if (table.size() > (1u << 20)) {
      write(table);
      table.clear();
    }
  }
  write(table);
  write("trailer\n<< /Size " + std::to_string(offsets_.size()) + " /Root 1 0 R >>\nstartxref\n" +
        std::to_string(xref) + "\n%%EOF\n");
  int rc = std::fclose(f_);
  f_ = nullptr;
  if (rc != 0)
    throw std::runtime_error("pdfgen: cannot close " + path_);
}

std::vector<PageInk> writeDocument(const std::string &path, const std::vector<PageSpec> &pages)
{
  Writer w(path);
  std::vector<PageInk> inks;
  inks.reserve(pages.size());
  for (const PageSpec &p : pages)
    inks.push_back(w.addPage(p));
  w.finish();
  return inks;
}

// ---- the mixed document -------------------------------------------------------

PageSpec mixedPage(int index, uint32_t seed)
{
  Lcg r(static_cast<uint64_t>(seed) * 1000003ULL + static_cast<uint64_t>(index));
  PageSpec p;
  static const Box medias[] = {
      {0, 0, 612, 792},      // letter
      {0, 0, 595, 842},      // A4
      {0, 0, 792, 612},      // landscape letter
      {100, 200, 712, 992},  // off the origin
      {-300, -400, 312, 392} // negative
  };
  p.media = medias[r.range(5)];
  static const int rotations[] = {0, 0, 90, 180, 270};
  p.rotate = rotations[r.range(5)];
  const Box &m = p.media;
  double w = m.x1 - m.x0, h = m.y1 - m.y0;
  if (r.range(4) == 0)
    p.crop = Box{m.x0 + 18, m.y0 + 18, m.x1 - 18, m.y1 - 18};

  // Page kinds, in the proportions of an ordinary mixed document: mostly
  // text, then figures, slides and drawings, some pages on a white
  // background, a few blank ones.
  int kind = r.range(20);
  if (kind == 0)
    return p; // blank
  if (kind == 1) {
    p.marks.push_back(Mark::fillRect(m, 1)); // white paint only
    return p;
  }
  if (kind == 2 || kind == 3 || kind == 17)
    p.marks.push_back(Mark::fillRect(m, 1)); // a white background under the marks

  // Marks stay 36 pt inside the media box (inside any crop box too).
  auto x = [&](double lo, double hi) {
    return r.quarter(m.x0 + 36 + lo * (w - 72), m.x0 + 36 + hi * (w - 72));
  };
  auto y = [&](double lo, double hi) {
    return r.quarter(m.y0 + 36 + lo * (h - 72), m.y0 + 36 + hi * (h - 72));
  };
  auto textWidth = [](const std::string &t, double size) {
    double adv = 0;
    for (char c : t)
      adv += helveticaGlyph(c)->advance;
    return adv * size / 1000;
  };
  // A line of words of the offered letters, at most `room` points long.
  auto words = [&](double size, double room) {
    static const char letters[] = "EFHILT";
    std::string line;
    for (;;) {
      std::string word;
      int len = 1 + r.range(9);
      for (int k = 0; k < len; ++k)
        word += letters[r.range(6)];
      std::string next = line.empty() ? word : line + " " + word;
      if (textWidth(next, size) > room)
        return line.empty() ? std::string("E") : line;
      line = next;
    }
  };
  // Lines of text from (left, top) downwards, down to `bottom`.
  auto paragraph = [&](double left, double top, double bottom, double right, double size, int maxLines) {
    double lead = size * 1.25;
    double yy = top;
    for (int k = 0; k < maxLines && yy > bottom; ++k, yy -= lead) {
      double indent = (k == 0) ? 18 : 0;
      double room = right - left - indent;
      if (r.range(8) == 0)
        room *= 0.3 + r.range(6) * 0.1; // the last line of a paragraph
      p.marks.push_back(Mark::textAt(left + indent, r.quarter(yy, yy + 0.25), size, words(size, room)));
    }
    return yy;
  };
  auto shape = [&]() {
    switch (r.range(5)) {
    case 0: {
      double x0 = x(0, 0.6), y0 = y(0, 0.6);
      p.marks.push_back(
          Mark::fillRect({x0, y0, x0 + r.quarter(2, 0.3 * (w - 72)), y0 + r.quarter(2, 0.3 * (h - 72))},
                         r.range(3) == 0 ? 0.5 : 0));
      break;
    }
    case 1: {
      double x0 = x(0, 0.6), y0 = y(0, 0.6);
      p.marks.push_back(
          Mark::strokeRect({x0, y0, x0 + r.quarter(10, 0.4 * (w - 72)), y0 + r.quarter(10, 0.4 * (h - 72))},
                           r.quarter(0.5, 4)));
      break;
    }
    case 2:
      p.marks.push_back(
          Mark::line(x(0, 1), y(0, 1), x(0, 1), y(0, 1), r.quarter(0.5, 6), static_cast<Cap>(r.range(3))));
      break;
    case 3: {
      double c[8] = {x(0, 1), y(0, 1), x(0.1, 0.9), y(0.1, 0.9), x(0.1, 0.9), y(0.1, 0.9), x(0, 1), y(0, 1)};
      p.marks.push_back(Mark::curve(c, r.quarter(0.5, 5)));
      break;
    }
    default: {
      double rx = r.quarter(2, 0.15 * (w - 72)), ry = r.quarter(2, 0.15 * (h - 72));
      p.marks.push_back(Mark::ellipse(x(0.15, 0.85), y(0.15, 0.85), rx, ry));
      break;
    }
    }
  };

  double left = m.x0 + 54 + r.range(40), right = m.x1 - 54 - r.range(40);
  double top = m.y1 - 60 - r.range(30), bottom = m.y0 + 60;
  if (kind < 12) {
    // A page of text: sometimes a heading, paragraphs, a page number.
    double size = 9 + r.range(4);
    double yy = top;
    if (r.range(3) == 0) {
      double hs = 16 + r.range(5);
      p.marks.push_back(Mark::textAt(left, yy, hs, words(hs, (right - left) * 0.7)));
      yy -= hs * 2;
    }
    while (yy > bottom + 40)
      yy = paragraph(left, yy, bottom + 30, right, size, 4 + r.range(10)) - size;
    double mid = (m.x0 + m.x1) / 2;
    p.marks.push_back(Mark::textAt(r.quarter(mid - 5, mid), m.y0 + 40, 9, words(9, 20)));
  } else if (kind < 15) {
    // A figure with some text above it.
    double size = 10;
    double yy = paragraph(left, top, (m.y0 + m.y1) / 2 + 40, right, size, 5 + r.range(10));
    (void)yy;
    int shapes = 1 + r.range(3);
    for (int k = 0; k < shapes; ++k)
      shape();
  } else if (kind < 17) {
    // A slide: a large title, a few large lines, a shape.
    double ts = 28 + r.range(9);
    p.marks.push_back(Mark::textAt(left, top - ts, ts, words(ts, (right - left) * 0.8)));
    paragraph(left + 20, top - ts * 2.5, bottom + 60, right, 18, 3 + r.range(4));
    shape();
  } else {
    // A drawing: one to six shapes, sometimes a label.
    int n = 1 + r.range(6);
    for (int k = 0; k < n; ++k)
      shape();
    if (r.range(2) == 0) {
      double size = 6 + r.range(30);
      p.marks.push_back(Mark::textAt(x(0, 0.5), y(0, 0.9), size, words(size, 0.4 * (w - 72))));
    }
  }
  return p;
}

// ---- encryption and damage --------------------------------------------------------

bool encryptWithQpdf(const std::string &in, const std::string &out, const std::string &user,
                     const std::string &owner, bool allowModify, std::string *error)
{
  std::vector<std::string> args = {"qpdf", "--encrypt", user, owner, "256"};
  if (!allowModify)
    args.push_back("--modify=none");
  args.insert(args.end(), {"--", in, out});
  std::vector<char *> argv;
  for (std::string &a : args)
    argv.push_back(a.data());
  argv.push_back(nullptr);
  pid_t pid = fork();
  if (pid < 0) {
    if (error)
      *error = "fork failed";
    return false;
  }
  if (pid == 0) {
    execvp("qpdf", argv.data());
    _exit(127);
  }
  int status = 0;
  if (waitpid(pid, &status, 0) < 0 || !WIFEXITED(status)) {
    if (error)
      *error = "qpdf did not finish";
    return false;
  }
  int rc = WEXITSTATUS(status);
  if (rc != 0 && rc != 3) { // 3: succeeded with warnings
    if (error)
      *error = rc == 127 ? "qpdf is not installed" : "qpdf failed with status " + std::to_string(rc);
    return false;
  }
  return true;
}

bool damageXrefOffsets(const std::string &path, int shift)
{
  std::string data;
  {
    std::ifstream f(path, std::ios::binary);
    if (!f)
      return false;
    std::ostringstream s;
    s << f.rdbuf();
    data = s.str();
  }
  size_t sx = data.rfind("startxref");
  if (sx == std::string::npos)
    return false;
  size_t xref = std::strtoull(data.c_str() + sx + 9, nullptr, 10);
  if (xref >= data.size() || data.compare(xref, 4, "xref") != 0)
    return false;
  size_t pos = data.find('\n', xref) + 1;
  // one subsection: "first count"
  unsigned long first = 0, count = 0;
  if (std::sscanf(data.c_str() + pos, "%lu %lu", &first, &count) != 2)
    return false;
  pos = data.find('\n', pos) + 1;
  for (unsigned long i = 0; i < count; ++i, pos += 20) {
    if (pos + 20 > data.size())
      return false;
    if (data[pos + 17] != 'n')
      continue;
    unsigned long long off = std::strtoull(data.c_str() + pos, nullptr, 10);
    char digits[16];
    std::snprintf(digits, sizeof digits, "%010llu", off + static_cast<unsigned long long>(shift));
    data.replace(pos, 10, digits, 10);
  }
  std::ofstream f(path, std::ios::binary | std::ios::trunc);
  f.write(data.data(), static_cast<std::streamsize>(data.size()));
  return static_cast<bool>(f);
}

std::string rawPdf(const std::vector<std::string> &objects, const std::string &trailer,
                   const std::string &header)
{
  std::string out = header;
  std::vector<size_t> offsets;
  for (size_t i = 0; i < objects.size(); ++i) {
    offsets.push_back(out.size());
    out += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
  }
  size_t xref = out.size();
  out += "xref\n0 " + std::to_string(objects.size() + 1) + "\n0000000000 65535 f \n";
  char line[32];
  for (size_t o : offsets) {
    std::snprintf(line, sizeof line, "%010zu 00000 n \n", o);
    out += line;
  }
  out += "trailer\n<< /Size " + std::to_string(objects.size() + 1) + " " + trailer + " >>\nstartxref\n" +
         std::to_string(xref) + "\n%%EOF\n";
  return out;
}

std::string flateStream(const std::string &dict, const std::string &unit, size_t times)
{
  z_stream z{};
  if (deflateInit(&z, Z_BEST_COMPRESSION) != Z_OK)
    throw std::runtime_error("zlib cannot start");
  std::string chunk;
  while (chunk.size() < (1u << 16) && times > 0) {
    chunk += unit;
    --times;
  }
  size_t per = std::max<size_t>(1, chunk.size() / std::max<size_t>(1, unit.size()));
  std::string packed;
  std::vector<unsigned char> buf(1 << 16);
  auto pump = [&](const std::string &in, int flush) {
    z.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(in.data()));
    z.avail_in = static_cast<uInt>(in.size());
    do {
      z.next_out = buf.data();
      z.avail_out = static_cast<uInt>(buf.size());
      deflate(&z, flush);
      packed.append(reinterpret_cast<char *>(buf.data()), buf.size() - z.avail_out);
    } while (z.avail_out == 0);
  };
  pump(chunk, Z_NO_FLUSH);
  std::string whole = chunk;
  while (times >= per) {
    pump(whole, Z_NO_FLUSH);
    times -= per;
  }
  std::string rest;
  for (; times > 0; --times)
    rest += unit;
  pump(rest, Z_FINISH);
  deflateEnd(&z);
  return "<< " + dict + " /Length " + std::to_string(packed.size()) + " /Filter /FlateDecode >>\nstream\n" +
         packed + "\nendstream";
}

} // namespace folio::pdfgen
