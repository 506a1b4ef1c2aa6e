// CommandLine.h: the folio program's command line, and the scripts that its
// shortcut flags stand for.
//
//   folio [--read-only] [--plugins DIR] [--redraw-stats[=FILE]] [FILE.pdf]
//                                                          the interactive viewer
//   folio [...] --batch SCRIPT|-                           run a script (- = stdin)
//   folio [...] --run "LINE; LINE"                        run a one-line script
//   folio [...] --crop-bbox each|biggest|current [--pages SEL] IN.pdf -o OUT.pdf
//   folio [...] --crop-region "L B R T" [--pages SEL] IN.pdf -o OUT.pdf
//   folio [...] --reset-media-box all|current [--pages SEL] IN.pdf -o OUT.pdf
//
// Every mode takes --bbox-margin POINTS (the margin around every page's
// bounding box; beats the config file's bbox-margin).
// Shortcuts take --password PW (the input's password; "-" reads it from the
// first line of standard input), --page N (the current page, 1-based; default 1),
// --orientation skip|crop (the answer to the orientation question of a region
// crop) and --print-script (print the script instead of running it).
#pragma once

#include <istream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace folio::batch {

enum class Mode { Help, Interactive, Batch, Run, Shortcut };

// --pages SEL: "all", "current", "odd", "even", or a list of pages and
// ranges counted from 1 ("1-4,7,10-": 10- runs to the last page).
struct PageSelection {
  enum class Kind { All, Current, Odd, Even, List };
  Kind kind = Kind::All;
  std::vector<std::pair<long, long>> ranges; // List: first..last; last 0 = to the end
  std::string text;                          // as given
};
// False with a one-line message on a bad selection.
bool parsePageSelection(const std::string &text, PageSelection &selection, std::string &error);
// The pages (1-based, ascending, each once) a selection other than Current
// names in a document of `pageCount` pages. False with a message when a page
// lies past the end or nothing is selected.
bool selectedPages(const PageSelection &selection, long pageCount, std::vector<long> &pages,
                   std::string &error);
enum class Shortcut { None, CropBBox, CropRegion, ResetMediaBox };

struct Options {
  Mode mode = Mode::Interactive;
  bool readOnly = false;               // --read-only: the edition that cannot edit
  std::vector<std::string> pluginDirs; // --plugins DIR, in the order given
  std::string file;                    // interactive: document to open (may be empty)
  bool redrawStats = false;            // --redraw-stats[=FILE]: print redraw times at exit
  std::string redrawStatsPath;         // ... to FILE; empty: to standard error
  std::string scriptPath;              // --batch: path, or "-" for standard input
  std::string runList;                 // --run: "LINE; LINE"
  std::optional<double> bboxMargin;    // --bbox-margin POINTS (any mode)

  Shortcut shortcut = Shortcut::None;
  std::string variant;             // crop-bbox: each|biggest|current; reset/region pages: all|current
  PageSelection selection;         // --pages; kind List/Odd/Even: run page by page
  std::vector<long> pageList;      // the pages of such a selection (filled by the caller, 1-based)
  double region[4] = {0, 0, 0, 0}; // crop-region: left bottom right top, page points
  long page = 1;                   // --page N, 1-based
  std::string orientation;         // --orientation: "", "skip" or "crop"
  std::string input;               // IN.pdf
  std::string output;              // -o OUT.pdf
  bool printScript = false;        // --print-script
  std::string password;            // --password PW (after readPasswordFromStdin: the password itself)
  bool passwordFromStdin = false;  // --password -
};

// Reads the password of `--password -` from the first line of `in` (without
// its line end) into options.password. False when nothing could be read.
bool readPasswordLine(std::istream &in, Options &options);

// Parses argv. False with a one-line message (without the program name) on
// bad input; --help gives true with mode Help.
bool parseCommandLine(int argc, const char *const *argv, Options &options, std::string &error);

// The --help text.
std::string usageText();

// True (with a one-line message in `why`) when a shortcut's output is its
// input reached another way: a symbolic link to it, or another (hard) link
// of the same file. The input is only replaced when -o names it.
bool outputIsInputInDisguise(const Options &options, std::string &why);

// True when the shortcut runs page by page (a --pages list, odd or even):
// the caller opens the input to resolve the selection into pageList first.
bool runsPageByPage(const Options &options);

// The script that a shortcut stands for (mode Shortcut only). A shortcut
// that runs page by page does on each page of pageList what a user does:
// go to the page, apply the command to the current page.
std::string shortcutScript(const Options &options);

} // namespace folio::batch
