// mkpdf: the test PDF writer on the command line (options in README.md).
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "pdfgen.h"

using namespace folio::pdfgen;

namespace {

const char kUsage[] =
    "usage: mkpdf [options] OUT.pdf\n"
    "  --pages N              number of pages (default 1)\n"
    "  --mixed [SEED]         every page from the mixed set (sizes, origins, rotations,\n"
    "                         crop boxes, marks, white backgrounds, blank pages)\n"
    "  --media X0,Y0,X1,Y1    media box of every page (default 0,0,612,792)\n"
    "  --crop X0,Y0,X1,Y1     crop box of every page (default none)\n"
    "  --rotate R             /Rotate of every page (default 0)\n"
    "  --inherit WHAT         WHAT is a comma list of media, crop, rotate: written on an\n"
    "                         intermediate page-tree node instead of the page\n"
    "  --inherit-root WHAT    the same, written on the root of the page tree\n"
    "  --rect X0,Y0,X1,Y1     a black filled rectangle on every page (repeatable)\n"
    "  --white X0,Y0,X1,Y1    a white filled rectangle (not ink)\n"
    "  --frame X0,Y0,X1,Y1,W  a rectangle stroked W wide\n"
    "  --line X0,Y0,X1,Y1,W,CAP  a stroked segment; CAP 0 butt, 1 round, 2 square\n"
    "  --curve X0,Y0,X1,Y1,X2,Y2,X3,Y3,W  a stroked Bezier curve, round caps\n"
    "  --ellipse CX,CY,RX,RY  a black filled ellipse\n"
    "  --text X,Y,SIZE,WORDS  Helvetica text (letters E F H I L T and spaces)\n"
    "  --ink FILE             write each page's exact ink: 'INDEX X0 Y0 X1 Y1' or 'INDEX blank'\n"
    "  --encrypt USER,OWNER   encrypt (AES-256, with qpdf), modifying forbidden\n"
    "  --encrypt-modify USER,OWNER  the same with modifying allowed\n"
    "  --damage-xref          move every xref offset so that readers must repair the file\n";

[[noreturn]] void fail(const std::string &msg)
{
  std::fprintf(stderr, "mkpdf: %s\n", msg.c_str());
  std::exit(2);
}

std::vector<double> numbers(const char *arg, size_t want, const char *opt)
{
  std::vector<double> v;
  const char *s = arg;
  while (*s) {
    char *end = nullptr;
    double d = std::strtod(s, &end);
    if (end == s)
      fail(std::string("bad number list for ") + opt + ": " + arg);
    v.push_back(d);
    s = end;
    if (*s == ',')
      ++s;
  }
  if (v.size() != want)
    fail(std::string(opt) + " wants " + std::to_string(want) + " numbers");
  return v;
}

Box boxOf(const char *arg, const char *opt)
{
  auto v = numbers(arg, 4, opt);
  return {v[0], v[1], v[2], v[3]};
}

} // namespace

int main(int argc, char **argv)
{
  PageSpec layout;
  int pages = 1;
  bool mixed = false;
  uint32_t seed = 1;
  std::string out, inkFile, user, owner;
  bool encrypt = false, allowModify = false, damage = false;

  for (int i = 1; i < argc; ++i) {
    std::string a = argv[i];
    auto next = [&]() -> const char * {
      if (i + 1 >= argc)
        fail("missing value for " + a);
      return argv[++i];
    };
    if (a == "--help" || a == "-h") {
      std::fputs(kUsage, stdout);
      return 0;
    } else if (a == "--pages") {
      pages = std::atoi(next());
      if (pages < 1)
        fail("--pages wants a count of at least 1");
    } else if (a == "--mixed") {
      mixed = true;
      if (i + 1 < argc && argv[i + 1][0] >= '0' && argv[i + 1][0] <= '9')
        seed = static_cast<uint32_t>(std::strtoul(argv[++i], nullptr, 10));
    } else if (a == "--media") {
      layout.media = boxOf(next(), "--media");
    } else if (a == "--crop") {
      layout.crop = boxOf(next(), "--crop");
    } else if (a == "--rotate") {
      layout.rotate = std::atoi(next());
    } else if (a == "--inherit" || a == "--inherit-root") {
      Place where = a == "--inherit" ? Place::Node : Place::Root;
      std::string what = next();
      if (what.find("media") != std::string::npos)
        layout.mediaAt = where;
      if (what.find("crop") != std::string::npos)
        layout.cropAt = where;
      if (what.find("rotate") != std::string::npos)
        layout.rotateAt = where;
    } else if (a == "--rect") {
      layout.marks.push_back(Mark::fillRect(boxOf(next(), "--rect")));
    } else if (a == "--white") {
      layout.marks.push_back(Mark::fillRect(boxOf(next(), "--white"), 1));
    } else if (a == "--frame") {
      auto v = numbers(next(), 5, "--frame");
      layout.marks.push_back(Mark::strokeRect({v[0], v[1], v[2], v[3]}, v[4]));
    } else if (a == "--line") {
      auto v = numbers(next(), 6, "--line");
      layout.marks.push_back(
          Mark::line(v[0], v[1], v[2], v[3], v[4], static_cast<Cap>(static_cast<int>(v[5]) % 3)));
    } else if (a == "--curve") {
      auto v = numbers(next(), 9, "--curve");
      layout.marks.push_back(Mark::curve(v.data(), v[8]));
    } else if (a == "--ellipse") {
      auto v = numbers(next(), 4, "--ellipse");
      layout.marks.push_back(Mark::ellipse(v[0], v[1], v[2], v[3]));
    } else if (a == "--text") {
      std::string t = next();
      size_t c1 = t.find(','), c2 = t.find(',', c1 + 1), c3 = t.find(',', c2 + 1);
      if (c1 == std::string::npos || c2 == std::string::npos || c3 == std::string::npos)
        fail("--text wants X,Y,SIZE,WORDS");
      std::string words = t.substr(c3 + 1);
      for (char c : words)
        if (!helveticaGlyph(c))
          fail("--text offers only the letters E F H I L T and spaces");
      layout.marks.push_back(Mark::textAt(std::atof(t.substr(0, c1).c_str()),
                                          std::atof(t.substr(c1 + 1).c_str()),
                                          std::atof(t.substr(c2 + 1).c_str()), words));
    } else if (a == "--ink") {
      inkFile = next();
    } else if (a == "--encrypt" || a == "--encrypt-modify") {
      std::string v = next();
      size_t c = v.find(',');
      if (c == std::string::npos)
        fail(a + " wants USER,OWNER");
      user = v.substr(0, c);
      owner = v.substr(c + 1);
      encrypt = true;
      allowModify = a == "--encrypt-modify";
    } else if (a == "--damage-xref") {
      damage = true;
    } else if (!a.empty() && a[0] == '-') {
      fail("unknown option " + a + " (see --help)");
    } else {
      if (!out.empty())
        fail("more than one output file");
      out = a;
    }
  }
  if (out.empty()) {
    std::fputs(kUsage, stderr);
    return 2;
  }

  std::string target = encrypt ? out + ".plain.tmp" : out;
  std::FILE *ink = nullptr;
  if (!inkFile.empty() && !(ink = std::fopen(inkFile.c_str(), "w")))
    fail("cannot write " + inkFile);
  try {
    Writer w(target);
    for (int i = 0; i < pages; ++i) {
      PageInk pi = w.addPage(mixed ? mixedPage(i, seed) : layout);
      if (ink) {
        if (pi.blank)
          std::fprintf(ink, "%d blank\n", i);
        else
          std::fprintf(ink, "%d %s %s %s %s\n", i, num(pi.ink.x0).c_str(), num(pi.ink.y0).c_str(),
                       num(pi.ink.x1).c_str(), num(pi.ink.y1).c_str());
      }
    }
    w.finish();
  } catch (const std::exception &e) {
    fail(e.what());
  }
  if (ink)
    std::fclose(ink);
  if (damage && !damageXrefOffsets(target))
    fail("could not damage the xref of " + target);
  if (encrypt) {
    std::string err;
    bool ok = encryptWithQpdf(target, out, user, owner, allowModify, &err);
    std::remove(target.c_str());
    if (!ok)
      fail(err);
  }
  return 0;
}
