// Unit tests of the folio command line and its shortcut scripts.
#include "batch/CommandLine.h"
#include "batch/Script.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

using namespace folio::batch;

namespace {

bool parse(std::vector<const char *> args, Options &o, std::string &err)
{
  args.insert(args.begin(), "folio");
  return parseCommandLine(int(args.size()), args.data(), o, err);
}

Options ok(std::vector<const char *> args)
{
  Options o;
  std::string err;
  EXPECT_TRUE(parse(args, o, err)) << err;
  return o;
}

std::string bad(std::vector<const char *> args)
{
  Options o;
  std::string err;
  EXPECT_FALSE(parse(args, o, err));
  return err;
}

} // namespace

TEST(BatchCommandLine, NoArgumentsIsInteractive)
{
  Options o = ok({});
  EXPECT_EQ(o.mode, Mode::Interactive);
  EXPECT_EQ(o.file, "");
}

TEST(BatchCommandLine, FileOpensInteractive)
{
  Options o = ok({"doc.pdf", "--read-only"});
  EXPECT_EQ(o.mode, Mode::Interactive);
  EXPECT_EQ(o.file, "doc.pdf");
  EXPECT_TRUE(o.readOnly);
}

TEST(BatchCommandLine, Help)
{
  EXPECT_EQ(ok({"--help"}).mode, Mode::Help);
  EXPECT_EQ(ok({"-h", "--bogus"}).mode, Mode::Help);
  EXPECT_NE(usageText().find("--crop-region"), std::string::npos);
}

TEST(BatchCommandLine, BatchScriptAndStdin)
{
  EXPECT_EQ(ok({"--batch", "s.txt"}).scriptPath, "s.txt");
  Options o = ok({"--batch", "-"});
  EXPECT_EQ(o.mode, Mode::Batch);
  EXPECT_EQ(o.scriptPath, "-");
}

TEST(BatchCommandLine, RunList)
{
  Options o = ok({"--run", "open a.pdf; show-boxes"});
  EXPECT_EQ(o.mode, Mode::Run);
  EXPECT_EQ(o.runList, "open a.pdf; show-boxes");
}

TEST(BatchCommandLine, PluginFoldersInOrder)
{
  Options o = ok({"--plugins", "/a", "--plugins", "/b", "--run", "show-boxes"});
  ASSERT_EQ(o.pluginDirs.size(), 2u);
  EXPECT_EQ(o.pluginDirs[0], "/a");
  EXPECT_EQ(o.pluginDirs[1], "/b");
}

TEST(BatchCommandLine, MissingValue)
{
  EXPECT_EQ(bad({"--batch"}), "option --batch needs a value");
}

TEST(BatchCommandLine, UnknownOption)
{
  EXPECT_EQ(bad({"--frob"}), "unknown option --frob (see folio --help)");
}

TEST(BatchCommandLine, TwoFrontEndsRefused)
{
  EXPECT_EQ(bad({"--batch", "a", "--run", "b"}),
            "choose only one of --batch, --run, --crop-bbox, --crop-region and --reset-media-box");
}

TEST(BatchCommandLine, BatchRefusesPositionalFile)
{
  EXPECT_EQ(bad({"--batch", "s.txt", "x.pdf"}),
            "unexpected argument \"x.pdf\": a script opens its files itself");
}

TEST(BatchCommandLine, InteractiveTakesOneFile)
{
  EXPECT_EQ(bad({"a.pdf", "b.pdf"}), "the viewer opens one file; got 2");
}

TEST(BatchCommandLine, CropBBoxModes)
{
  Options o = ok({"--crop-bbox", "biggest", "in.pdf", "-o", "out.pdf"});
  EXPECT_EQ(o.mode, Mode::Shortcut);
  EXPECT_EQ(o.shortcut, Shortcut::CropBBox);
  EXPECT_EQ(o.variant, "biggest");
  EXPECT_EQ(o.input, "in.pdf");
  EXPECT_EQ(o.output, "out.pdf");
  EXPECT_EQ(bad({"--crop-bbox", "most", "in.pdf", "-o", "o.pdf"}),
            "--crop-bbox takes each, biggest or current, not \"most\"");
}

TEST(BatchCommandLine, ShortcutNeedsOutput)
{
  EXPECT_EQ(bad({"--crop-bbox", "each", "in.pdf"}),
            "the shortcut needs -o OUT.pdf (give the input's own path to overwrite it)");
}

TEST(BatchCommandLine, ShortcutNeedsInput)
{
  EXPECT_EQ(bad({"--reset-media-box", "all", "-o", "o.pdf"}), "the shortcut needs an input file IN.pdf");
}

TEST(BatchCommandLine, OutputWithoutShortcutRefused)
{
  EXPECT_EQ(bad({"a.pdf", "-o", "b.pdf"}),
            "-o goes with a shortcut (--crop-bbox, --crop-region, --reset-media-box)");
}

TEST(BatchCommandLine, CropRegionParsesFourNumbers)
{
  Options o = ok({"--crop-region", "36 72.5 576 756", "in.pdf", "-o", "out.pdf"});
  EXPECT_EQ(o.shortcut, Shortcut::CropRegion);
  EXPECT_DOUBLE_EQ(o.region[0], 36);
  EXPECT_DOUBLE_EQ(o.region[1], 72.5);
  EXPECT_DOUBLE_EQ(o.region[2], 576);
  EXPECT_DOUBLE_EQ(o.region[3], 756);
  EXPECT_EQ(o.variant, "all");
  EXPECT_EQ(o.page, 1);
}

TEST(BatchCommandLine, CropRegionBadNumbers)
{
  EXPECT_EQ(bad({"--crop-region", "1 2 3", "in.pdf", "-o", "o.pdf"}),
            "--crop-region takes four numbers \"L B R T\", not \"1 2 3\"");
  EXPECT_EQ(bad({"--crop-region", "1 2 3 x", "in.pdf", "-o", "o.pdf"}),
            "--crop-region takes four numbers \"L B R T\", not \"1 2 3 x\"");
}

TEST(BatchCommandLine, PagesGoWithEveryShortcutAndMustAgreeWithItsWord)
{
  EXPECT_EQ(ok({"--pages", "current", "--crop-region", "0 0 100 100", "i.pdf", "-o", "o.pdf"}).variant,
            "current");
  EXPECT_EQ(ok({"--crop-bbox", "each", "--pages", "current", "in.pdf", "-o", "o.pdf"}).variant, "current");
  EXPECT_EQ(ok({"--reset-media-box", "all", "--pages", "current", "in.pdf", "-o", "o.pdf"}).variant,
            "current");
  Options o = ok({"--crop-bbox", "each", "--pages", "1-4,7,10-", "in.pdf", "-o", "o.pdf"});
  EXPECT_TRUE(runsPageByPage(o));
  EXPECT_FALSE(runsPageByPage(ok({"--crop-bbox", "each", "--pages", "all", "in.pdf", "-o", "o.pdf"})));
  EXPECT_TRUE(runsPageByPage(ok({"--reset-media-box", "all", "--pages", "odd", "in.pdf", "-o", "o.pdf"})));
  EXPECT_EQ(bad({"--crop-bbox", "biggest", "--pages", "even", "in.pdf", "-o", "o.pdf"}),
            "--crop-bbox biggest crops all pages to the biggest bounding box; it does not take --pages even");
  EXPECT_EQ(bad({"--reset-media-box", "current", "--pages", "2", "in.pdf", "-o", "o.pdf"}),
            "--reset-media-box current and --pages 2 disagree");
}

TEST(BatchCommandLine, PageSelectionsResolveAgainstThePageCount)
{
  PageSelection sel;
  std::string why;
  std::vector<long> pages;
  ASSERT_TRUE(parsePageSelection("1-4,7,10-", sel, why)) << why;
  ASSERT_TRUE(selectedPages(sel, 12, pages, why)) << why;
  EXPECT_EQ(pages, (std::vector<long>{1, 2, 3, 4, 7, 10, 11, 12}));
  ASSERT_TRUE(parsePageSelection("odd", sel, why));
  ASSERT_TRUE(selectedPages(sel, 5, pages, why));
  EXPECT_EQ(pages, (std::vector<long>{1, 3, 5}));
  ASSERT_TRUE(parsePageSelection("even", sel, why));
  ASSERT_TRUE(selectedPages(sel, 5, pages, why));
  EXPECT_EQ(pages, (std::vector<long>{2, 4}));
  EXPECT_FALSE(selectedPages(sel, 1, pages, why));
  EXPECT_EQ(why, "--pages even selects no page (the document has 1 page)");
  ASSERT_TRUE(parsePageSelection("3,1-2,2", sel, why));
  ASSERT_TRUE(selectedPages(sel, 3, pages, why));
  EXPECT_EQ(pages, (std::vector<long>{1, 2, 3}));
  ASSERT_TRUE(parsePageSelection("4-", sel, why));
  EXPECT_FALSE(selectedPages(sel, 3, pages, why));
  EXPECT_EQ(why, "--pages 4-: page 4 is past the end (the document has 3 pages)");
  for (const char *badText : {"", "-3", "1-2-3", "a", "1,", "5-2", "1 2"})
    EXPECT_FALSE(parsePageSelection(badText, sel, why)) << badText;
}

TEST(BatchCommandLine, PageNumberChecked)
{
  EXPECT_EQ(bad({"--reset-media-box", "current", "--page", "0", "i.pdf", "-o", "o.pdf"}),
            "--page takes a page number counted from 1, not \"0\"");
  EXPECT_EQ(ok({"--reset-media-box", "current", "--page", "4", "i.pdf", "-o", "o.pdf"}).page, 4);
}

TEST(BatchCommandLine, OrientationChecked)
{
  EXPECT_EQ(bad({"--crop-region", "0 0 99 99", "--orientation", "turn", "i.pdf", "-o", "o.pdf"}),
            "--orientation takes skip or crop, not \"turn\"");
  EXPECT_EQ(bad({"--crop-bbox", "each", "--orientation", "skip", "i.pdf", "-o", "o.pdf"}),
            "--orientation goes with --crop-region");
}

TEST(BatchCommandLine, ShortcutFlagsNeedShortcut)
{
  EXPECT_EQ(bad({"--run", "show-boxes", "--print-script"}),
            "--pages, --page, --orientation and --print-script go with a shortcut");
}

TEST(BatchShortcut, CropBBoxEachScript)
{
  Options o = ok({"--crop-bbox", "each", "in.pdf", "-o", "out.pdf"});
  EXPECT_EQ(shortcutScript(o), "# generated by folio for the command line shortcut\n"
                               "open in.pdf\n"
                               "page 1\n"
                               "answer All\n"
                               "answer Each\n"
                               "menu QUIL:PageShearBBox\n"
                               "save out.pdf\n");
}

TEST(BatchShortcut, CropBBoxBiggestScript)
{
  Options o = ok({"--crop-bbox", "biggest", "in.pdf", "-o", "out.pdf"});
  std::string s = shortcutScript(o);
  EXPECT_NE(s.find("answer All\nanswer Biggest\nmenu QUIL:PageShearBBox\n"), std::string::npos);
}

TEST(BatchShortcut, CropBBoxCurrentUsesPage)
{
  Options o = ok({"--crop-bbox", "current", "--page", "3", "in.pdf", "-o", "out.pdf"});
  EXPECT_EQ(shortcutScript(o), "# generated by folio for the command line shortcut\n"
                               "open in.pdf\n"
                               "page 3\n"
                               "answer Current\n"
                               "menu QUIL:PageShearBBox\n"
                               "save out.pdf\n");
}

TEST(BatchShortcut, ResetMediaBoxAll)
{
  Options o = ok({"--reset-media-box", "all", "in.pdf", "-o", "out.pdf"});
  std::string s = shortcutScript(o);
  EXPECT_NE(s.find("answer All\nmenu QUIL:PageShearMediaBox\nsave out.pdf\n"), std::string::npos);
}

TEST(BatchShortcut, CropRegionDragsAndClicksInside)
{
  Options o = ok({"--crop-region", "36 72 576 756", "--orientation", "crop", "in.pdf", "-o", "out.pdf"});
  EXPECT_EQ(shortcutScript(o), "# generated by folio for the command line shortcut\n"
                               "open in.pdf\n"
                               "page 1\n"
                               "button QUIL:PageShear\n"
                               "drag 36 756 576 72\n"
                               "answer All|Current\n"
                               "answer Crop\n"
                               "click 306 414\n"
                               "save out.pdf\n");
}

TEST(BatchShortcut, CropRegionCurrentSkip)
{
  Options o = ok({"--crop-region", "0 0 100.5 100", "--pages", "current", "--orientation", "skip", "in.pdf",
                  "-o", "out.pdf"});
  std::string s = shortcutScript(o);
  EXPECT_NE(s.find("drag 0 100 100.5 0\nanswer Current\nanswer Skip\nclick 50.25 50\n"), std::string::npos);
}

TEST(BatchShortcut, PathsWithBlanksAreQuoted)
{
  Options o = ok({"--crop-bbox", "each", "my in.pdf", "-o", "my out.pdf"});
  std::string s = shortcutScript(o);
  EXPECT_NE(s.find("open \"my in.pdf\"\n"), std::string::npos);
  EXPECT_NE(s.find("save \"my out.pdf\"\n"), std::string::npos);
}

TEST(BatchShortcut, GeneratedScriptsParse)
{
  for (auto args : std::vector<std::vector<const char *>>{
           {"--crop-bbox", "each", "a b.pdf", "-o", "o.pdf"},
           {"--crop-region", "-10 -20 300 400", "--orientation", "skip", "a.pdf", "-o", "o.pdf"},
           {"--reset-media-box", "current", "--page", "2", "a.pdf", "-o", "o.pdf"}}) {
    Options o = ok(args);
    Script s;
    ParseError e;
    EXPECT_TRUE(parseScript(shortcutScript(o), s, e)) << e.message;
    EXPECT_EQ(s.steps.front().op, Op::Open);
    EXPECT_EQ(s.steps.back().op, Op::Save);
  }
}

TEST(BatchCommandLine, RedrawStatsToStandardErrorOrAFile)
{
  Options plain = ok({"--redraw-stats", "doc.pdf"});
  EXPECT_EQ(plain.mode, Mode::Interactive);
  EXPECT_TRUE(plain.redrawStats);
  EXPECT_EQ(plain.redrawStatsPath, "");
  EXPECT_EQ(plain.file, "doc.pdf");

  Options toFile = ok({"--redraw-stats=/tmp/stats.txt"});
  EXPECT_TRUE(toFile.redrawStats);
  EXPECT_EQ(toFile.redrawStatsPath, "/tmp/stats.txt");

  EXPECT_FALSE(ok({}).redrawStats);
}

TEST(BatchCommandLine, RedrawStatsRefusedOutsideTheViewer)
{
  EXPECT_EQ(bad({"--redraw-stats", "--run", "show-boxes"}),
            "--redraw-stats goes with the interactive viewer");
  EXPECT_EQ(bad({"--redraw-stats="}), "--redraw-stats= needs a file name");
}

TEST(BatchCommandLine, PasswordOpensTheShortcutsInputWithIt)
{
  Options o = ok({"--crop-bbox", "each", "--password", "pass word", "in.pdf", "-o", "out.pdf"});
  EXPECT_EQ(o.password, "pass word");
  EXPECT_FALSE(o.passwordFromStdin);
  std::string script = shortcutScript(o);
  EXPECT_NE(script.find("open in.pdf \"pass word\"\n"), std::string::npos) << script;
  // The generated line gives the password back unchanged.
  Script parsed;
  ParseError e;
  ASSERT_TRUE(parseScript(script, parsed, e)) << e.message;
  ASSERT_FALSE(parsed.steps.empty());
  EXPECT_EQ(parsed.steps[0].password, "pass word");
}

TEST(BatchCommandLine, PasswordDashIsReadFromTheFirstLineOfStandardInput)
{
  Options o = ok({"--reset-media-box", "all", "--password", "-", "in.pdf", "-o", "out.pdf"});
  EXPECT_TRUE(o.passwordFromStdin);
  std::istringstream in("s3cret #1\r\nsecond line\n");
  ASSERT_TRUE(readPasswordLine(in, o));
  EXPECT_EQ(o.password, "s3cret #1");
  EXPECT_FALSE(o.passwordFromStdin);
  Script parsed;
  ParseError e;
  ASSERT_TRUE(parseScript(shortcutScript(o), parsed, e)) << e.message;
  EXPECT_EQ(parsed.steps[0].password, "s3cret #1");
  std::istringstream empty("");
  Options p = o;
  EXPECT_FALSE(readPasswordLine(empty, p));
}

TEST(BatchCommandLine, PasswordGoesWithAShortcut)
{
  EXPECT_NE(bad({"--run", "show-boxes", "--password", "x"}).find("--password goes with a shortcut"),
            std::string::npos);
  EXPECT_NE(bad({"--crop-bbox", "each", "in.pdf", "-o", "o.pdf", "--password"}).find("needs a value"),
            std::string::npos);
}

TEST(BatchCommandLine, HelpSaysARelativeConfigHomeIsIgnored)
{
  EXPECT_NE(usageText().find("a relative value is ignored"), std::string::npos);
  EXPECT_NE(usageText().find("--password PW"), std::string::npos);
}
