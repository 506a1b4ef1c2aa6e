// CommandLine.h: the folio program's command line, and the scripts that its
// shortcut flags stand for.
//
//   folio [--read-only] [--plugins DIR] [--redraw-stats[=FILE]] [FILE.pdf]
//                                                          the interactive viewer
//   folio [...] --batch SCRIPT|-                           run a script (- = stdin)
//   folio [...] --run "LINE; LINE"                        run a one-line script
//   folio [...] --crop-bbox each|biggest|current IN.pdf -o OUT.pdf
//   folio [...] --crop-region "L B R T" [--pages all|current] IN.pdf -o OUT.pdf
//   folio [...] --reset-media-box all|current IN.pdf -o OUT.pdf
//
// Shortcuts take --password PW (the input's password; "-" reads it from the
// first line of standard input), --page N (the current page, 1-based; default 1),
// --orientation skip|crop (the answer to the orientation question of a region
// crop) and --print-script (print the script instead of running it).
#pragma once

#include <istream>
#include <string>
#include <vector>

namespace folio::batch {

enum class Mode { Help, Interactive, Batch, Run, Shortcut };
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

  Shortcut shortcut = Shortcut::None;
  std::string variant;             // crop-bbox: each|biggest|current; reset/region pages: all|current
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

// The script that a shortcut stands for (mode Shortcut only).
std::string shortcutScript(const Options &options);

} // namespace folio::batch
