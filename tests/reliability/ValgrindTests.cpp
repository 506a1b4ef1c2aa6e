// A batch run of every command over a 50-page document under valgrind's
// memcheck: no invalid access, no use of uninitialised values, and nothing
// definitely lost, apart from the third-party leaks listed with their reasons
// in valgrind.supp.
#include <gtest/gtest.h>

#include <cstdio>
#include <regex>
#include <string>

#include "RelSupport.h"
#include "pdfgen.h"

namespace gen = folio::pdfgen;
using rel::RunResult;

namespace {

const char *const kFolio = FOLIO_EXE;

// Every script command and every menu command of the plug-in, with the
// answers its questions need.
std::string everyCommand(const std::string &dir)
{
  return "open " + dir +
         "/doc.pdf\n"
         "page 2\n"
         "zoom 150\n"
         "show-boxes\n"
         "menu QUIL:PageShearAbout\n"
         "menu QUIL:PSShowMediaBox\n"
         "snapshot " +
         dir +
         "/shown.png\n"
         "menu QUIL:PSHideMediaBox\n"
         "button QUIL:PageShear\n"
         "drag 100 700 500 100\n"
         "click 30 30\n"
         "drag 100 700 500 100\n"
         "answer Current\n"
         "click 300 400\n"
         "menu QUIL:PageShearSelTool\n"
         "drag 100 700 500 100 ctrl\n"
         "answer All\n"
         "answer Crop\n"
         "click 300 400\n"
         "answer All\n"
         "answer Each\n"
         "menu QUIL:PageShearBBox\n"
         "answer All\n"
         "answer Biggest\n"
         "menu QUIL:PageShearBBox\n"
         "cancel-at 3\n"
         "answer All\n"
         "menu QUIL:PageShearMediaBox\n"
         "answer All\n"
         "menu QUIL:PageShearMediaBox\n"
         "save " +
         dir +
         "/out.pdf\n"
         "answer All\n"
         "answer Each\n"
         "menu QUIL:PageShearBBox\n"
         "confirm yes\n"
         "menu QUIL:PSRevert\n"
         "revert\n"
         "snapshot " +
         dir +
         "/end.png\n"
         "show-boxes\n";
}

// The number after `label` in valgrind's summary ("definitely lost: 1,024
// bytes"), or -1.
long summaryNumber(const std::string &log, const std::string &label)
{
  std::smatch m;
  std::regex re(label + ":? +([0-9,]+)");
  if (!std::regex_search(log, m, re))
    return -1;
  std::string digits;
  for (char c : m[1].str())
    if (c != ',')
      digits += c;
  return std::stol(digits);
}

} // namespace

TEST(ReliabilityValgrind, EveryCommandOverFiftyPagesIsMemcheckClean)
{
  rel::TempDir dir;
  {
    gen::Writer w(dir.file("doc.pdf"));
    for (int i = 0; i < 50; ++i)
      w.addPage(gen::mixedPage(i, 21));
    w.finish();
  }
  rel::RunOptions o;
  o.input = everyCommand(dir.path());
  const std::string log = dir.file("memcheck.log");
  o.wrap = {"valgrind",
            "--tool=memcheck",
            "--leak-check=full",
            "--show-leak-kinds=definite",
            "--errors-for-leak-kinds=definite",
            "--num-callers=40",
            "--suppressions=" + std::string(RELIABILITY_DIR) + "/valgrind.supp",
            "--log-file=" + log};
  RunResult r = rel::runProgram(kFolio, {"--batch", "-"}, dir.path(), o);
  std::string report = rel::readFile(log);
  ASSERT_EQ(r.exitCode, 0) << r.describe() << "\n--- valgrind\n" << report.substr(0, 20000);
  // The script did its work.
  EXPECT_TRUE(rel::contains(r.out, "question: Pages to crop?")) << r.describe();
  EXPECT_TRUE(rel::contains(r.out, "saved: " + dir.file("out.pdf"))) << r.describe();
  EXPECT_TRUE(rel::fileExists(dir.file("end.png")));

  long errors = summaryNumber(report, "ERROR SUMMARY");
  long definite = summaryNumber(report, "definitely lost");
  long indirect = summaryNumber(report, "indirectly lost");
  std::printf(
      "memcheck: %ld errors; definitely lost %ld bytes, indirectly lost %ld bytes (after suppressions)\n",
      errors, definite, indirect);
  EXPECT_EQ(errors, 0) << report.substr(0, 30000);
  // No leak summary at all means nothing leaked in any kind.
  EXPECT_TRUE(definite == 0 || definite == -1) << report.substr(0, 30000);
}
