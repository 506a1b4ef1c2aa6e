// Unit tests of the batch script parser.
#include "batch/Script.h"

#include <gtest/gtest.h>

using namespace folio::batch;

namespace {

Step one(const std::string &line)
{
  Step s;
  bool has = false;
  ParseError e;
  EXPECT_TRUE(parseLine(line, 7, s, has, e)) << e.message;
  EXPECT_TRUE(has);
  return s;
}

ParseError bad(const std::string &text)
{
  Script s;
  ParseError e;
  EXPECT_FALSE(parseScript(text, s, e));
  return e;
}

} // namespace

TEST(BatchScript, OpenWithPathOnly)
{
  Step s = one("open /tmp/a.pdf");
  EXPECT_EQ(s.op, Op::Open);
  EXPECT_EQ(s.text, "/tmp/a.pdf");
  EXPECT_EQ(s.password, "");
  EXPECT_EQ(s.line, 7);
}

TEST(BatchScript, OpenWithPassword)
{
  Step s = one("open a.pdf secret");
  EXPECT_EQ(s.text, "a.pdf");
  EXPECT_EQ(s.password, "secret");
}

TEST(BatchScript, QuotedPathKeepsBlanksAndEscapes)
{
  Step s = one(R"(open "my dir/a \"b\" \\.pdf")");
  EXPECT_EQ(s.text, R"(my dir/a "b" \.pdf)");
}

TEST(BatchScript, MenuNameInQuotesWithBlank)
{
  Step s = one("menu \"QUIL:Page Shear\"");
  EXPECT_EQ(s.op, Op::Menu);
  EXPECT_EQ(s.text, "QUIL:Page Shear");
}

TEST(BatchScript, ButtonName)
{
  Step s = one("button QUIL:PageShear");
  EXPECT_EQ(s.op, Op::Button);
  EXPECT_EQ(s.text, "QUIL:PageShear");
}

TEST(BatchScript, PageIsOneBased)
{
  EXPECT_EQ(one("page 1").number, 1);
  EXPECT_EQ(bad("page 0").message, "bad page number \"0\" (pages count from 1)");
}

TEST(BatchScript, PageRejectsTrailingGarbage)
{
  ParseError e = bad("page 3x");
  EXPECT_EQ(e.line, 1);
  EXPECT_EQ(e.message, "bad page number \"3x\" (pages count from 1)");
}

TEST(BatchScript, ZoomPercent)
{
  Step s = one("zoom 150");
  EXPECT_EQ(s.op, Op::Zoom);
  EXPECT_EQ(s.number, 150);
  EXPECT_EQ(bad("zoom -5").message, "bad zoom \"-5\" (a whole percentage above 0)");
}

TEST(BatchScript, DragFourPointsNoModifiers)
{
  Step s = one("drag 72 720 540.5 -3");
  EXPECT_EQ(s.op, Op::Drag);
  EXPECT_DOUBLE_EQ(s.x1, 72);
  EXPECT_DOUBLE_EQ(s.y1, 720);
  EXPECT_DOUBLE_EQ(s.x2, 540.5);
  EXPECT_DOUBLE_EQ(s.y2, -3);
  EXPECT_EQ(s.modifiers, 0u);
}

TEST(BatchScript, DragWithModifiers)
{
  Step s = one("drag 1 2 3 4 ctrl shift");
  EXPECT_EQ(s.modifiers, unsigned(ModCtrl | ModShift));
  EXPECT_EQ(one("drag 1 2 3 4 alt").modifiers, unsigned(ModAlt));
}

TEST(BatchScript, DragWithTooFewNumbers)
{
  EXPECT_EQ(bad("drag 1 2 3").message, "usage: drag X1 Y1 X2 Y2 [ctrl|shift|alt...]");
}

TEST(BatchScript, DragUnknownModifier)
{
  EXPECT_EQ(bad("drag 1 2 3 4 hyper").message, "unknown modifier \"hyper\" (expected ctrl, shift or alt)");
}

TEST(BatchScript, ClickIsOnePoint)
{
  Step s = one("click 100 200 ctrl");
  EXPECT_EQ(s.op, Op::Click);
  EXPECT_DOUBLE_EQ(s.x1, 100);
  EXPECT_DOUBLE_EQ(s.y1, 200);
  EXPECT_DOUBLE_EQ(s.x2, 100);
  EXPECT_DOUBLE_EQ(s.y2, 200);
  EXPECT_EQ(s.modifiers, unsigned(ModCtrl));
}

TEST(BatchScript, ClickBadNumber)
{
  EXPECT_EQ(bad("click 1e 2").message, "bad number \"1e\" for click");
  EXPECT_EQ(bad("click 0x10 2").message, "bad number \"0x10\" for click");
  EXPECT_EQ(bad("click nan 2").message, "bad number \"nan\" for click");
}

TEST(BatchScript, AnswerLabel)
{
  Step s = one("answer All|Current");
  EXPECT_EQ(s.op, Op::Answer);
  EXPECT_EQ(s.text, "All|Current");
}

TEST(BatchScript, ConfirmYesNo)
{
  EXPECT_TRUE(one("confirm yes").yes);
  EXPECT_FALSE(one("confirm no").yes);
  EXPECT_EQ(bad("confirm maybe").message, "confirm takes yes or no, not \"maybe\"");
}

TEST(BatchScript, CancelAtCountsFromOne)
{
  EXPECT_EQ(one("cancel-at 3").number, 3);
  EXPECT_EQ(one("cancel-at 3").op, Op::CancelAt);
  EXPECT_EQ(bad("cancel-at 0").message, "bad poll count \"0\" (1 is the next poll)");
}

TEST(BatchScript, SaveWithAndWithoutPath)
{
  Step a = one("save");
  EXPECT_EQ(a.op, Op::Save);
  EXPECT_FALSE(a.hasText);
  Step b = one("save out.pdf");
  EXPECT_TRUE(b.hasText);
  EXPECT_EQ(b.text, "out.pdf");
}

TEST(BatchScript, RevertShowBoxesSnapshot)
{
  EXPECT_EQ(one("revert").op, Op::Revert);
  EXPECT_EQ(one("show-boxes").op, Op::ShowBoxes);
  Step s = one("snapshot /tmp/v.png");
  EXPECT_EQ(s.op, Op::Snapshot);
  EXPECT_EQ(s.text, "/tmp/v.png");
  EXPECT_EQ(bad("revert now").message, "usage: revert");
}

TEST(BatchScript, UndoAndRedoTakeNoArguments)
{
  EXPECT_EQ(one("undo").op, Op::Undo);
  EXPECT_EQ(one("redo").op, Op::Redo);
  EXPECT_EQ(bad("undo 2").message, "usage: undo");
  EXPECT_EQ(bad("redo all").message, "usage: redo");
}

TEST(BatchScript, CommentsAndBlankLinesAreSkippedButCounted)
{
  Script s;
  ParseError e;
  ASSERT_TRUE(parseScript("# header\n\n   \nopen a.pdf # trailing\n\tshow-boxes\n", s, e));
  ASSERT_EQ(s.steps.size(), 2u);
  EXPECT_EQ(s.steps[0].line, 4);
  EXPECT_EQ(s.steps[0].text, "a.pdf");
  EXPECT_EQ(s.steps[1].line, 5);
}

TEST(BatchScript, HashInsideQuotesIsNotAComment)
{
  EXPECT_EQ(one("open \"a#b.pdf\"").text, "a#b.pdf");
}

TEST(BatchScript, UnknownCommandNamesLine)
{
  ParseError e = bad("open a.pdf\nfrobnicate 3\n");
  EXPECT_EQ(e.line, 2);
  EXPECT_EQ(e.message, "unknown command \"frobnicate\"");
}

TEST(BatchScript, UnterminatedQuote)
{
  ParseError e = bad("open \"a.pdf");
  EXPECT_EQ(e.line, 1);
  EXPECT_EQ(e.message, "unterminated quote");
}

TEST(BatchScript, CarriageReturnLineEndings)
{
  Script s;
  ParseError e;
  ASSERT_TRUE(parseScript("open a.pdf\r\npage 2\r\n", s, e));
  ASSERT_EQ(s.steps.size(), 2u);
  EXPECT_EQ(s.steps[1].number, 2);
}

TEST(BatchScript, EmptyScriptHasNoSteps)
{
  Script s;
  ParseError e;
  ASSERT_TRUE(parseScript("", s, e));
  EXPECT_TRUE(s.steps.empty());
}

TEST(BatchScript, RunListSplitsAtSemicolons)
{
  EXPECT_EQ(runListToScript("open a.pdf; page 2;show-boxes"), "open a.pdf\n page 2\nshow-boxes");
}

TEST(BatchScript, RunListKeepsSemicolonInQuotes)
{
  Script s;
  ParseError e;
  ASSERT_TRUE(parseScript(runListToScript("open \"a;b.pdf\"; show-boxes"), s, e));
  ASSERT_EQ(s.steps.size(), 2u);
  EXPECT_EQ(s.steps[0].text, "a;b.pdf");
  EXPECT_EQ(s.steps[1].line, 2);
}

TEST(BatchScript, RunListErrorLineIsItemNumber)
{
  ParseError e = bad(runListToScript("open a.pdf; page x"));
  EXPECT_EQ(e.line, 2);
}

TEST(BatchScript, QuoteWordRoundTrips)
{
  for (std::string w : {"plain", "with blank", "a\"b", "back\\slash", "#x", ""}) {
    std::vector<std::string> words;
    std::string msg;
    ASSERT_TRUE(splitWords(quoteWord(w), words, msg)) << w;
    ASSERT_EQ(words.size(), 1u) << w;
    EXPECT_EQ(words[0], w);
  }
  EXPECT_EQ(quoteWord("plain"), "plain");
}

TEST(BatchScript, OpNames)
{
  EXPECT_STREQ(opName(Op::CancelAt), "cancel-at");
  EXPECT_STREQ(opName(Op::ShowBoxes), "show-boxes");
}

TEST(BatchScript, MessagesEscapeControlBytes)
{
  EXPECT_EQ(quoteForMessage("a\x1b[2Jb"), "\"a\\x1b[2Jb\"");
  EXPECT_EQ(quoteForMessage(std::string("n\0l", 3)), "\"n\\x00l\"");
  EXPECT_EQ(quoteForMessage("caf\xc3\xa9"), "\"caf\xc3\xa9\"");
}

TEST(BatchScript, MessagesCutLongWords)
{
  EXPECT_EQ(quoteForMessage(std::string(64, 'x')), "\"" + std::string(64, 'x') + "\"");
  EXPECT_EQ(quoteForMessage(std::string(65, 'x')), "\"" + std::string(64, 'x') + "...\"");
  // Never in the middle of a UTF-8 sequence.
  EXPECT_EQ(quoteForMessage(std::string(63, 'x') + "\xc3\xa9" + "yz"), "\"" + std::string(63, 'x') + "...\"");
}

TEST(BatchScript, UnknownLongCommandGivesAShortMessage)
{
  ParseError e = bad(std::string(100000, 'q'));
  EXPECT_EQ(e.message, "unknown command \"" + std::string(64, 'q') + "...\"");
}

TEST(BatchScript, KeyTakesANameWithItsModifiers)
{
  Step s = one("key Next");
  EXPECT_EQ(s.op, Op::Key);
  EXPECT_EQ(s.text, "Next");
  EXPECT_EQ(s.modifiers, 0u);
  s = one("key ctrl+shift+minus");
  EXPECT_EQ(s.text, "minus");
  EXPECT_EQ(s.modifiers, unsigned(ModCtrl | ModShift));
  s = one("key alt+a");
  EXPECT_EQ(s.text, "a");
  EXPECT_EQ(s.modifiers, unsigned(ModAlt));
  EXPECT_EQ(bad("key").message, "usage: key [ctrl+|shift+|alt+...]NAME");
  EXPECT_EQ(bad("key Next Prior").message, "usage: key [ctrl+|shift+|alt+...]NAME");
  EXPECT_EQ(bad("key meta+x").message, "bad modifier \"meta\" in \"meta+x\" (ctrl, shift or alt)");
  EXPECT_EQ(bad("key ctrl+").message, "bad key \"ctrl+\" (a key name such as Next, Home or minus)");
}
