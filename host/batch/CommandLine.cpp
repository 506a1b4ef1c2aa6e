// CommandLine.cpp: the folio command line and its shortcut scripts.
#include "batch/CommandLine.h"

#include "batch/Script.h"
#include "core/Configuration.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <sstream>
#include <sys/stat.h>

namespace folio::batch {

namespace {

bool fail(std::string &error, std::string message)
{
  error = std::move(message);
  return false;
}

bool wholeNumber(const std::string &s, double &v)
{
  if (s.empty())
    return false;
  errno = 0;
  char *end = nullptr;
  v = std::strtod(s.c_str(), &end);
  return errno == 0 && end != s.c_str() && *end == '\0' && std::isfinite(v);
}

// "L B R T" as four numbers separated by blanks (or commas).
bool parseRegion(const std::string &text, double out[4])
{
  std::string s = text;
  for (char &c : s)
    if (c == ',')
      c = ' ';
  std::istringstream in(s);
  std::string word;
  int n = 0;
  while (in >> word) {
    if (n == 4 || !wholeNumber(word, out[n]))
      return false;
    ++n;
  }
  return n == 4;
}

// Shortest decimal form of a page coordinate for a script line.
std::string number(double v)
{
  std::ostringstream out;
  out.precision(10);
  out << v;
  return out.str();
}

} // namespace

std::string usageText()
{
  return "usage: folio [OPTIONS] [FILE.pdf]\n"
         "       folio [OPTIONS] --batch SCRIPT|-\n"
         "       folio [OPTIONS] --run \"LINE; LINE...\"\n"
         "       folio [OPTIONS] --crop-bbox each|biggest|current [--pages SEL] IN.pdf -o OUT.pdf\n"
         "       folio [OPTIONS] --crop-region \"L B R T\" [--pages SEL] IN.pdf -o OUT.pdf\n"
         "       folio [OPTIONS] --reset-media-box all|current [--pages SEL] IN.pdf -o OUT.pdf\n"
         "\n"
         "Without --batch, --run or a shortcut, folio opens the interactive viewer.\n"
         "\n"
         "Options:\n"
         "  --batch SCRIPT      run the user actions in SCRIPT, one a line ('-': standard input)\n"
         "  --run \"LINES\"       run actions given inline, separated by ';'\n"
         "  --read-only         run the read-only edition (documents cannot be edited)\n"
         "  --plugins DIR       also load the plug-ins in DIR (may be repeated)\n"
         "  --bbox-margin POINTS  widen every page's bounding box by POINTS on each side\n"
         "                      (0 to 1000; default the config file's bbox-margin, or 0)\n"
         "  --redraw-stats[=FILE]  viewer: print redraw and page-change times at exit\n"
         "                      (median, 95th percentile) to standard error or FILE\n"
         "  -h, --help          show this help\n"
         "\n"
         "Shortcuts (each generates a script and runs it in batch mode):\n"
         "  --crop-bbox MODE        crop to the bounding box: each page to its own (each), all\n"
         "                          pages to the union of all (biggest), or the current page\n"
         "  --crop-region \"L B R T\" crop to a region given in points in the space of the\n"
         "                          current page (left bottom right top)\n"
         "  --pages SEL             the pages a shortcut applies to: all (default), current,\n"
         "                          odd, even, or pages and ranges such as 1-4,7,10- (done\n"
         "                          page by page, as a user would, with \"Current\")\n"
         "  --reset-media-box MODE  reset all pages or the current page to the media box\n"
         "  --page N                the current page, counted from 1 (default 1)\n"
         "  --orientation skip|crop how to answer \"Some pages do not have same orientation\"\n"
         "                          (without it such a question stops the run)\n"
         "  -o OUT.pdf              where to write the result (the input is only\n"
         "                          overwritten when OUT is the same path)\n"
         "  --print-script          print the generated script instead of running it\n"
         "  --password PW           the input's password ('-': read it from the first line of\n"
         "                          standard input); an owner password grants every permission\n"
         "\n"
         "Script lines: open PATH [PASSWORD] | page N | zoom PERCENT | menu NAME | button NAME |\n"
         "  drag X1 Y1 X2 Y2 [ctrl|shift|alt...] | click X Y [MODS] | answer LABEL[|LABEL...] |\n"
         "  confirm yes|no | cancel-at N | save [PATH] | revert | undo | redo |\n"
         "  snapshot PATH.png | show-boxes | key [ctrl+|shift+|alt+]NAME\n"
         "  Points are in the current page's space (PDF points, y upwards); '#' starts a comment.\n"
         "  menu also runs the viewer's commands: NextPage, PreviousPage, FirstPage, LastPage,\n"
         "  GoToPage (the page from the next answer), ZoomIn, ZoomOut, ActualSize,\n"
         "  ShowCroppedPages, Units:points|millimetres|inches, ScrollUp/Down/Left/Right (FitWidth\n"
         "  and FitPage need the viewer's window); key presses a viewer key (Next, Prior, Home,\n"
         "  End, plus, minus, ctrl+minus, ...): the command bound to it runs.\n"
         "\n"
         "Configuration: $XDG_CONFIG_HOME/folio/folio.conf, or ~/.config/folio/folio.conf when\n"
         "  XDG_CONFIG_HOME is unset, empty or relative (a relative value is ignored, as the XDG\n"
         "  base-directory rules say); lines \"edition = editing|read-only\" and\n"
         "  \"plugin-path = DIR:DIR\". FOLIO_EDITION beats the file's edition, --read-only\n"
         "  beats both; FOLIO_PLUGIN_PATH and --plugins add folders after the file's.\n"
         "\n"
         "Exit status: 0 success, 1 the run stopped (error or unanswered question; nothing is\n"
         "saved after that), 2 bad command line.\n";
}

bool parseCommandLine(int argc, const char *const *argv, Options &options, std::string &error)
{
  Options o;
  std::vector<std::string> positional;
  std::string pages;      // --pages, checked against the shortcut after the loop
  bool pageGiven = false; // --page
  bool passwordGiven = false;
  int frontEnds = 0; // --batch, --run and the shortcuts exclude each other

  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    auto value = [&](std::string &into) {
      if (i + 1 >= argc)
        return fail(error, "option " + a + " needs a value");
      into = argv[++i];
      return true;
    };
    if (a == "-h" || a == "--help") {
      options = Options();
      options.mode = Mode::Help;
      return true;
    } else if (a == "--batch") {
      if (!value(o.scriptPath))
        return false;
      if (o.scriptPath.empty())
        return fail(error, "--batch needs a script file, or - for standard input");
      o.mode = Mode::Batch;
      ++frontEnds;
    } else if (a == "--run") {
      if (!value(o.runList))
        return false;
      o.mode = Mode::Run;
      ++frontEnds;
    } else if (a == "--redraw-stats" || a.rfind("--redraw-stats=", 0) == 0) {
      o.redrawStats = true;
      if (a.size() > 14) {
        o.redrawStatsPath = a.substr(15);
        if (o.redrawStatsPath.empty())
          return fail(error, "--redraw-stats= needs a file name");
      }
    } else if (a == "--bbox-margin") {
      std::string v;
      if (!value(v))
        return false;
      auto m = parseBBoxMargin(v);
      if (!m)
        return fail(error, "--bbox-margin takes points from 0 to 1000, not \"" + v + "\"");
      o.bboxMargin = *m;
    } else if (a == "--read-only") {
      o.readOnly = true;
    } else if (a == "--plugins") {
      std::string dir;
      if (!value(dir))
        return false;
      if (dir.empty())
        return fail(error, "--plugins needs a folder");
      o.pluginDirs.push_back(dir);
    } else if (a == "--crop-bbox") {
      if (!value(o.variant))
        return false;
      if (o.variant != "each" && o.variant != "biggest" && o.variant != "current")
        return fail(error, "--crop-bbox takes each, biggest or current, not \"" + o.variant + "\"");
      o.mode = Mode::Shortcut;
      o.shortcut = Shortcut::CropBBox;
      ++frontEnds;
    } else if (a == "--crop-region") {
      std::string text;
      if (!value(text))
        return false;
      if (!parseRegion(text, o.region))
        return fail(error, "--crop-region takes four numbers \"L B R T\", not \"" + text + "\"");
      o.mode = Mode::Shortcut;
      o.shortcut = Shortcut::CropRegion;
      ++frontEnds;
    } else if (a == "--reset-media-box") {
      if (!value(o.variant))
        return false;
      if (o.variant != "all" && o.variant != "current")
        return fail(error, "--reset-media-box takes all or current, not \"" + o.variant + "\"");
      o.mode = Mode::Shortcut;
      o.shortcut = Shortcut::ResetMediaBox;
      ++frontEnds;
    } else if (a == "--pages") {
      if (!value(pages))
        return false;
      std::string why;
      if (!parsePageSelection(pages, o.selection, why))
        return fail(error, why);
    } else if (a == "--page") {
      std::string v;
      if (!value(v))
        return false;
      char *end = nullptr;
      errno = 0;
      long n = std::strtol(v.c_str(), &end, 10);
      if (v.empty() || errno != 0 || *end != '\0' || n < 1)
        return fail(error, "--page takes a page number counted from 1, not \"" + v + "\"");
      o.page = n;
      pageGiven = true;
    } else if (a == "--orientation") {
      if (!value(o.orientation))
        return false;
      if (o.orientation != "skip" && o.orientation != "crop")
        return fail(error, "--orientation takes skip or crop, not \"" + o.orientation + "\"");
    } else if (a == "-o" || a == "--output") {
      if (!value(o.output))
        return false;
      if (o.output.empty())
        return fail(error, "-o needs a file name");
    } else if (a == "--password") {
      if (!value(o.password))
        return false;
      o.passwordFromStdin = o.password == "-";
      passwordGiven = true;
    } else if (a == "--print-script") {
      o.printScript = true;
    } else if (a == "--") {
      for (++i; i < argc; ++i)
        positional.push_back(argv[i]);
    } else if (a.size() > 1 && a[0] == '-') {
      return fail(error, "unknown option " + a + " (see folio --help)");
    } else {
      positional.push_back(a);
    }
  }

  if (frontEnds > 1)
    return fail(error, "choose only one of --batch, --run, --crop-bbox, --crop-region and --reset-media-box");

  const bool shortcut = o.mode == Mode::Shortcut;
  if (!shortcut) {
    if (!o.output.empty())
      return fail(error, "-o goes with a shortcut (--crop-bbox, --crop-region, --reset-media-box)");
    if (!pages.empty() || pageGiven || !o.orientation.empty() || o.printScript)
      return fail(error, "--pages, --page, --orientation and --print-script go with a shortcut");
    if (passwordGiven)
      return fail(error, "--password goes with a shortcut (a script gives it as \"open FILE PASSWORD\")");
  }
  // The shortcut's own word and --pages must agree.
  using Kind = PageSelection::Kind;
  const Kind sel = o.selection.kind;
  if (!pages.empty() && o.shortcut == Shortcut::CropBBox) {
    if (o.variant == "biggest" && sel != Kind::All)
      return fail(error, "--crop-bbox biggest crops all pages to the biggest bounding box; it does not take "
                         "--pages " +
                             pages);
    if (o.variant == "current" && sel != Kind::Current)
      return fail(error, "--crop-bbox current and --pages " + pages + " disagree");
    if (sel == Kind::Current)
      o.variant = "current";
  }
  if (!pages.empty() && o.shortcut == Shortcut::ResetMediaBox) {
    if (o.variant == "current" && sel != Kind::Current)
      return fail(error, "--reset-media-box current and --pages " + pages + " disagree");
    if (sel == Kind::Current)
      o.variant = "current";
  }
  if (!o.orientation.empty() && o.shortcut != Shortcut::CropRegion)
    return fail(error, "--orientation goes with --crop-region");

  if (o.redrawStats && o.mode != Mode::Interactive)
    return fail(error, "--redraw-stats goes with the interactive viewer");

  switch (o.mode) {
  case Mode::Interactive:
    if (positional.size() > 1)
      return fail(error, "the viewer opens one file; got " + std::to_string(positional.size()));
    if (!positional.empty())
      o.file = positional[0];
    break;
  case Mode::Batch:
  case Mode::Run:
    if (!positional.empty())
      return fail(error, "unexpected argument \"" + positional[0] + "\": a script opens its files itself");
    break;
  case Mode::Shortcut:
    if (positional.size() != 1)
      return fail(error, positional.empty()
                             ? "the shortcut needs an input file IN.pdf"
                             : "the shortcut takes one input file, not " + std::to_string(positional.size()));
    o.input = positional[0];
    if (o.output.empty())
      return fail(error, "the shortcut needs -o OUT.pdf (give the input's own path to overwrite it)");
    if (o.shortcut == Shortcut::CropRegion)
      o.variant = sel == Kind::Current ? "current" : "all";
    break;
  case Mode::Help:
    break;
  }
  options = o;
  return true;
}

bool outputIsInputInDisguise(const Options &o, std::string &why)
{
  struct stat in {
  }, out{}, outLink{};
  if (o.output == o.input || ::stat(o.input.c_str(), &in) != 0 || ::stat(o.output.c_str(), &out) != 0)
    return false;
  if (in.st_dev != out.st_dev || in.st_ino != out.st_ino)
    return false;
  // The same file: named by another spelling of its own path, that is the
  // input; through a link, it is not.
  bool viaLink = ::lstat(o.output.c_str(), &outLink) == 0 && S_ISLNK(outLink.st_mode);
  char *a = ::realpath(o.input.c_str(), nullptr), *b = ::realpath(o.output.c_str(), nullptr);
  bool samePath = a && b && std::string(a) == b;
  std::free(a);
  std::free(b);
  if (samePath && !viaLink)
    return false;
  why = "the output " + quoteForMessage(o.output) + " is the input " + quoteForMessage(o.input) +
        " through a link; nothing was written (give the input's own path to -o to overwrite it)";
  return true;
}

bool readPasswordLine(std::istream &in, Options &options)
{
  std::string line;
  if (!std::getline(in, line) && line.empty())
    return false;
  if (!line.empty() && line.back() == '\r')
    line.pop_back();
  options.password = line;
  options.passwordFromStdin = false;
  return true;
}

namespace {

bool toPage(const std::string &t, long &n)
{
  if (t.empty() || t.size() > 9)
    return false;
  for (char c : t)
    if (c < '0' || c > '9')
      return false;
  n = std::strtol(t.c_str(), nullptr, 10);
  return n >= 1;
}

} // namespace

bool parsePageSelection(const std::string &text, PageSelection &selection, std::string &error)
{
  PageSelection out;
  out.text = text;
  using Kind = PageSelection::Kind;
  if (text == "all" || text == "current" || text == "odd" || text == "even") {
    out.kind = text == "all"       ? Kind::All
               : text == "current" ? Kind::Current
               : text == "odd"     ? Kind::Odd
                                   : Kind::Even;
    selection = out;
    return true;
  }
  auto bad = [&](const std::string &why) {
    return fail(error, "--pages takes all, current, odd, even or pages and ranges counted from 1 such as "
                       "1-4,7,10- (" +
                           why + "), not \"" + text + "\"");
  };
  if (text.empty())
    return bad("nothing given");
  out.kind = Kind::List;
  size_t start = 0;
  while (start <= text.size()) {
    size_t comma = text.find(',', start);
    std::string item = text.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
    if (item.empty())
      return bad("an empty item");
    size_t dash = item.find('-');
    long first = 0, last = 0;
    if (dash == std::string::npos) {
      if (!toPage(item, first))
        return bad("\"" + item + "\" is not a page number");
      last = first;
    } else {
      if (!toPage(item.substr(0, dash), first))
        return bad("\"" + item + "\" does not start with a page number");
      std::string rest = item.substr(dash + 1);
      if (!rest.empty() && !toPage(rest, last))
        return bad("\"" + item + "\" does not end with a page number");
      if (!rest.empty() && last < first)
        return bad("the range " + item + " runs backwards");
    }
    out.ranges.emplace_back(first, last);
    if (comma == std::string::npos)
      break;
    start = comma + 1;
  }
  selection = out;
  return true;
}

bool selectedPages(const PageSelection &selection, long pageCount, std::vector<long> &pages,
                   std::string &error)
{
  using Kind = PageSelection::Kind;
  std::vector<bool> chosen(static_cast<size_t>(std::max(pageCount, 0L)) + 1, false);
  for (long n = 1; n <= pageCount; ++n)
    chosen[n] = selection.kind == Kind::All || (selection.kind == Kind::Odd && n % 2 == 1) ||
                (selection.kind == Kind::Even && n % 2 == 0);
  const std::string count = std::to_string(pageCount) + (pageCount == 1 ? " page" : " pages");
  for (const auto &[first, last] : selection.ranges) {
    long end = last == 0 ? pageCount : last;
    if (first > pageCount || end > pageCount)
      return fail(error, "--pages " + selection.text + ": page " + std::to_string(std::max(first, end)) +
                             " is past the end (the document has " + count + ")");
    for (long n = first; n <= end; ++n)
      chosen[n] = true;
  }
  pages.clear();
  for (long n = 1; n <= pageCount; ++n)
    if (chosen[n])
      pages.push_back(n);
  if (pages.empty())
    return fail(error, "--pages " + selection.text + " selects no page (the document has " + count + ")");
  return true;
}

bool runsPageByPage(const Options &o)
{
  using Kind = PageSelection::Kind;
  const Kind k = o.selection.kind;
  return o.mode == Mode::Shortcut && (k == Kind::List || k == Kind::Odd || k == Kind::Even);
}

namespace {

// The lines that apply the region of --crop-region: drag it out from its
// top-left to its bottom-right corner, answer the plug-in's pages question
// with `pagesAnswer` (and its orientation question as --orientation says),
// then click inside the region to apply it.
void writeRegionApply(std::ostream &s, const Options &o, const std::string &pagesAnswer)
{
  const double l = o.region[0], b = o.region[1], r = o.region[2], t = o.region[3];
  s << "drag " << number(l) << " " << number(t) << " " << number(r) << " " << number(b) << "\n";
  s << "answer " << pagesAnswer << "\n";
  if (o.orientation == "skip")
    s << "answer Skip\n";
  else if (o.orientation == "crop")
    s << "answer Crop\n";
  s << "click " << number((l + r) / 2) << " " << number((b + t) / 2) << "\n";
}

} // namespace

std::string shortcutScript(const Options &o)
{
  std::ostringstream s;
  s << "# generated by folio for the command line shortcut\n";
  s << "open " << quoteWord(o.input);
  if (!o.password.empty())
    s << " " << quoteWord(o.password);
  s << "\n";
  if (runsPageByPage(o)) {
    // Page by page, as a user does it: go to the page, apply to "Current".
    const double l = o.region[0], b = o.region[1];
    if (o.shortcut == Shortcut::CropRegion)
      s << "button QUIL:PageShear\n";
    bool first = true;
    for (long n : o.pageList) {
      s << "page " << n << "\n";
      switch (o.shortcut) {
      case Shortcut::CropBBox:
        s << "answer Current\nmenu QUIL:PageShearBBox\n";
        break;
      case Shortcut::ResetMediaBox:
        s << "answer Current\nmenu QUIL:PageShearMediaBox\n";
        break;
      case Shortcut::CropRegion:
        // A region the plug-in refused on the page before stays on screen:
        // a click well outside it drops it (with none, it does nothing).
        if (!first)
          s << "click " << number(l - 24) << " " << number(b - 24) << "\n";
        writeRegionApply(s, o, "Current");
        break;
      case Shortcut::None:
        break;
      }
      first = false;
    }
    s << "save " << quoteWord(o.output) << "\n";
    return s.str();
  }
  s << "page " << o.page << "\n";
  switch (o.shortcut) {
  case Shortcut::CropBBox:
    // A one-page document is not asked; answers left over are dropped.
    if (o.variant == "current") {
      s << "answer Current\n";
    } else {
      s << "answer All\n";
      s << (o.variant == "each" ? "answer Each\n" : "answer Biggest\n");
    }
    s << "menu QUIL:PageShearBBox\n";
    break;
  case Shortcut::ResetMediaBox:
    s << (o.variant == "current" ? "answer Current\n" : "answer All\n");
    s << "menu QUIL:PageShearMediaBox\n";
    break;
  case Shortcut::CropRegion:
    // Select the crop tool and apply the region; a one-page document offers
    // "Current" and "Cancel" only.
    s << "button QUIL:PageShear\n";
    writeRegionApply(s, o, o.variant == "current" ? "Current" : "All|Current");
    break;
  case Shortcut::None:
    break;
  }
  s << "save " << quoteWord(o.output) << "\n";
  return s.str();
}

} // namespace folio::batch
