// The viewer's commands in a batch run: the View menu's items, the scroll
// commands and the keys reach the same view::ViewerController as in the
// viewer, by name, on real (generated) documents.
#include "batch/Runner.h"
#include "batch/Script.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>

#include "pdfgen.h"
#include "view/Application.h"

using namespace folio;
using namespace folio::batch;

namespace {

class BatchViewerCommands : public ::testing::Test {
protected:
  view::Application app;
  std::ostringstream out, err;
  std::string pdf;

  void SetUp() override
  {
    const ::testing::TestInfo *info = ::testing::UnitTest::GetInstance()->current_test_info();
    pdf = ::testing::TempDir() + "folio-batch-" + std::to_string(getpid()) + "-" + info->name() + ".pdf";
    std::vector<pdfgen::PageSpec> pages(5);
    pdfgen::writeDocument(pdf, pages);
  }
  void TearDown() override { std::remove(pdf.c_str()); }

  int run(const std::string &text)
  {
    Script s;
    ParseError e;
    EXPECT_TRUE(parseScript("open " + quoteWord(pdf) + "\n" + text, s, e)) << e.message;
    Runner r(app, out, err, "t");
    return r.run(s);
  }
  view::PageView &view() { return app.activeDocument()->pageView(); }
};

} // namespace

TEST_F(BatchViewerCommands, PageCommandsRunThroughMenu)
{
  ASSERT_EQ(run("menu NextPage\nmenu NextPage\n"), 0) << err.str();
  EXPECT_EQ(view().pageNumber(), 2);
  ASSERT_EQ(run("menu LastPage\n"), 0) << err.str();
  EXPECT_EQ(view().pageNumber(), 4);
  ASSERT_EQ(run("page 3\nmenu PreviousPage\n"), 0) << err.str();
  EXPECT_EQ(view().pageNumber(), 1);
  ASSERT_EQ(run("menu LastPage\nmenu FirstPage\n"), 0) << err.str();
  EXPECT_EQ(view().pageNumber(), 0);
}

TEST_F(BatchViewerCommands, ZoomCommandsStepTheZoom)
{
  ASSERT_EQ(run("menu ZoomIn\nmenu ZoomIn\n"), 0) << err.str();
  EXPECT_EQ(view().zoomPercent(), 150);
  ASSERT_EQ(run("zoom 80\nmenu ZoomOut\n"), 0) << err.str();
  EXPECT_EQ(view().zoomPercent(), 75);
  ASSERT_EQ(run("zoom 300\nmenu ActualSize\n"), 0) << err.str();
  EXPECT_EQ(view().zoomPercent(), 100);
  // Without a window the view keeps the page's own size and no scroll.
  EXPECT_EQ(view().deviceWidth(), view().pageDeviceWidth() + 2 * view::kPageMargin);
  EXPECT_EQ(view().scrollX(), 0);
  EXPECT_EQ(view().scrollY(), 0);
}

TEST_F(BatchViewerCommands, GoToPageTakesItsNumberFromTheAnswers)
{
  ASSERT_EQ(run("answer 4\nmenu GoToPage\n"), 0) << err.str();
  EXPECT_EQ(view().pageNumber(), 3);
  EXPECT_NE(out.str().find("question: Go to page (1 - 5) -> 4\n"), std::string::npos) << out.str();
}

TEST_F(BatchViewerCommands, GoToPageWithoutAnAnswerOrWithABadOneStops)
{
  EXPECT_EQ(run("menu GoToPage\n"), 1);
  EXPECT_EQ(
      err.str(),
      "folio: t:2: unanswered question \"Go to page\"; queue the page number with \"answer N\" before it\n");
  err.str("");
  EXPECT_EQ(run("answer 9\nmenu GoToPage\n"), 1);
  EXPECT_EQ(err.str(), "folio: t:2: answer \"9\" is not a page number from 1 to 5\n");
  EXPECT_EQ(view().pageNumber(), 0);
}

TEST_F(BatchViewerCommands, FitCommandsNeedAWindow)
{
  EXPECT_EQ(run("menu FitWidth\n"), 1);
  EXPECT_EQ(err.str(), "folio: t:2: menu item \"FitWidth\" is disabled\n");
}

TEST_F(BatchViewerCommands, KeysRunTheirBoundCommandsAndMenuShortcuts)
{
  ASSERT_EQ(run("key Next\nkey Next\nkey Prior\n"), 0) << err.str();
  EXPECT_EQ(view().pageNumber(), 1);
  ASSERT_EQ(run("key End\n"), 0) << err.str();
  EXPECT_EQ(view().pageNumber(), 4);
  ASSERT_EQ(run("key ctrl+minus\nkey minus\n"), 0) << err.str();
  EXPECT_EQ(view().zoomPercent(), 66.67);
  // Each run opens the document afresh, at 100%.
  ASSERT_EQ(run("key ctrl+equal\nkey plus\n"), 0) << err.str();
  EXPECT_EQ(view().zoomPercent(), 150);
}

TEST_F(BatchViewerCommands, AKeyWithoutACommandStops)
{
  EXPECT_EQ(run("key F13\n"), 1);
  EXPECT_EQ(err.str(), "folio: t:2: no command is bound to the key \"F13\"\n");
}

TEST_F(BatchViewerCommands, ViewCommandsWithoutADocumentAreDisabled)
{
  Script s;
  ParseError e;
  ASSERT_TRUE(parseScript("key Next\n", s, e));
  Runner r(app, out, err, "t");
  EXPECT_EQ(r.run(s), 1);
  EXPECT_EQ(err.str(), "folio: t:1: the key \"Next\" runs \"NextPage\", which is disabled\n");
}

TEST_F(BatchViewerCommands, UnitsAndShowCroppedPagesAreCommandsToo)
{
  ASSERT_EQ(run("menu Units:inches\nmenu ShowCroppedPages\n"), 0) << err.str();
  EXPECT_EQ(app.units(), view::Unit::Inches);
  EXPECT_TRUE(app.showCroppedPages());
}
