// CommandsSupport.cpp: the commands suite's fixture and log helpers.
#include "CommandsSupport.h"

#include <map>

#define FOLIO_HOST_SIDE
#include "folio/FolioViewHFT.h"

namespace cmdtest {

namespace {

// The page-space answer of the scripted device-to-page conversion.
FixedRect gScriptedRegion;

// Stands in for the host's device-to-page conversion during a drag-out, so
// that the region is exactly the test's (fractional edges included).
void scriptedDeviceRectToPage(FVPageView view, FVRect *src, FixedRect *dst)
{
  testhost::TestHost *h = testhost::TestHost::current();
  size_t i = h->log.add(testhost::Call{
      "FVPageViewDeviceRectToPage", {h->nameOf(view), src ? testhost::fvRect(*src) : "null"}, ""});
  if (dst)
    *dst = gScriptedRegion;
  h->log.setResult(i, testhost::fxRect(gScriptedRegion));
}

std::vector<std::string> withoutFixedDiv(const std::vector<testhost::Call> &calls, size_t from, size_t to)
{
  std::vector<std::string> out;
  for (size_t i = from; i < to && i < calls.size(); ++i)
    if (calls[i].op != "FixedDiv")
      out.push_back(calls[i].text());
  return out;
}

std::vector<std::string> allCalls(const std::vector<testhost::Call> &calls, size_t from, size_t to)
{
  std::vector<std::string> out;
  for (size_t i = from; i < to && i < calls.size(); ++i)
    out.push_back(calls[i].text());
  return out;
}

} // namespace

std::string pageName(int page)
{
  return "page" + std::to_string(page);
}

std::vector<std::string> regionPageCalls(int page, const std::string &setBox)
{
  std::string p = pageName(page);
  std::vector<std::string> out = {"FVAppGetActiveDoc()", "FVDocGetPDDoc(fvdoc0)",
                                  "PDDocAcquirePage(doc0, " + std::to_string(page) + ")",
                                  "PDPageGetMediaBox(" + p + ")", "PDPageGetRotate(" + p + ")"};
  if (!setBox.empty()) {
    out.push_back("PDPageSetCropBox(" + p + ", " + setBox + ")");
    out.push_back("PDPageNotifyContentsDidChange(" + p + ")");
  }
  out.push_back("PDPageRelease(" + p + ")");
  return out;
}

std::vector<std::string> setPageCalls(int page, const std::string &box)
{
  std::string p = pageName(page);
  return {"PDDocAcquirePage(doc0, " + std::to_string(page) + ")", "PDPageSetCropBox(" + p + ", " + box + ")",
          "PDPageNotifyContentsDidChange(" + p + ")", "PDPageRelease(" + p + ")"};
}

void append(std::vector<std::string> &a, const std::vector<std::string> &b)
{
  a.insert(a.end(), b.begin(), b.end());
}

void CommandsTest::SetUp()
{
  // No X display is needed: the plug-in's icon and cursors are then null.
  ASSERT_TRUE(host.startUp(PGSHEAR_SO)) << host.error();
  ASSERT_EQ(host.registeredTools().size(), 1u);
  start_ = host.log.size();
}

void CommandsTest::TearDown()
{
  // In the log: every page handed out is released once, by its name.
  std::map<std::string, int> held;
  for (const testhost::Call &c : host.log.calls()) {
    if (c.op == "PDDocAcquirePage" && c.result != "null")
      ++held[c.result];
    else if (c.op == "PDPageRelease" && !c.args.empty())
      --held[c.args[0]];
  }
  for (const auto &h : held)
    EXPECT_EQ(h.second, 0) << "acquires less releases of " << h.first << dump();
  for (int k = 0; k < host.documentCount(); ++k) {
    testhost::Document &d = host.document(k);
    for (auto &p : d.pages)
      EXPECT_EQ(p->acquires, p->releases) << "acquires and releases of " << p->name << dump();
  }
}

void CommandsTest::makeDoc(int pages)
{
  ASSERT_EQ(host.addDocument(pages), 0);
  host.setActiveDocument(0);
}

FVTool CommandsTest::tool() const
{
  return host.registeredTools().at(0);
}

void CommandsTest::drawRegion(const FixedRect &region)
{
  gScriptedRegion = region;
  HFTEntry original = host.entry(testhost::Table::FolioView, FVPageViewDeviceRectToPageSEL);
  host.replaceEntry(testhost::Table::FolioView, FVPageViewDeviceRectToPageSEL,
                    reinterpret_cast<HFTEntry>(&scriptedDeviceRectToPage));
  host.dragOutResults.push_back(testhost::dev(10, 10, 50, 50));
  host.mark("drag out");
  host.toolDoClick(tool(), host.pageView(0), 10, 10);
  host.replaceEntry(testhost::Table::FolioView, FVPageViewDeviceRectToPageSEL, original);
  start_ = host.log.size();
}

void CommandsTest::clickInsideRegion()
{
  testhost::PageView *view = host.viewOf(host.pageView(0));
  ASSERT_NE(view, nullptr);
  FVRect r = host.pageRectToDevice(*view, gScriptedRegion);
  // The centre must be clear of the corner handles (3 device units).
  ASSERT_GE(r.right - r.left, 8) << testhost::fvRect(r);
  ASSERT_GE(r.bottom - r.top, 8) << testhost::fvRect(r);
  auto x = static_cast<FSInt16>((r.left + r.right) / 2);
  auto y = static_cast<FSInt16>((r.top + r.bottom) / 2);
  host.mark("apply");
  clickStart_ = host.log.size();
  start_ = clickStart_;
  EXPECT_EQ(host.toolDoClick(tool(), host.pageView(0), x, y), 1);
}

void CommandsTest::applyRegion(const FixedRect &region)
{
  drawRegion(region);
  clickInsideRegion();
}

std::vector<std::string> CommandsTest::cropLog(bool withFixedDiv) const
{
  const auto &calls = host.log.calls();
  // The click, then the tool's own calls before it hands the region over:
  // the view's page, the active document's PDDoc, the region in device space.
  size_t from = clickStart_ + 5;
  EXPECT_LE(from, calls.size());
  if (from > calls.size())
    return {};
  EXPECT_EQ(calls[clickStart_].op, "host.doClick");
  EXPECT_EQ(calls[clickStart_ + 1].op, "FVPageViewGetPage");
  EXPECT_EQ(calls[clickStart_ + 4].op, "FVPageViewRectToDevice");
  size_t to = from;
  while (to < calls.size() && calls[to].op != "FVAppUnregisterForPageViewDrawing")
    ++to;
  return withFixedDiv ? allCalls(calls, from, to) : withoutFixedDiv(calls, from, to);
}

bool CommandsTest::regionDropped() const
{
  const auto &calls = host.log.calls();
  for (size_t i = clickStart_; i < calls.size(); ++i)
    if (calls[i].op == "FVAppUnregisterForPageViewDrawing")
      return true;
  return false;
}

void CommandsTest::runItem(const std::string &itemName)
{
  testhost::MenuItem *item = host.menuItem(itemName);
  ASSERT_NE(item, nullptr) << itemName;
  start_ = host.log.size() + 1; // after the host.execute entry
  host.executeItem(item);
}

std::vector<std::string> CommandsTest::afterLog(bool withFixedDiv) const
{
  const auto &calls = host.log.calls();
  return withFixedDiv ? allCalls(calls, start_, calls.size()) : withoutFixedDiv(calls, start_, calls.size());
}

void CommandsTest::mark(const std::string &what)
{
  host.mark(what);
  start_ = host.log.size();
}

void CommandsTest::cancelAtNextPoll(int n)
{
  host.cancelAtPoll = host.cancelPolls + n;
}

std::vector<std::string> CommandsTest::afterOf(const std::string &op) const
{
  std::vector<std::string> out;
  const auto &calls = host.log.calls();
  for (size_t i = start_; i < calls.size(); ++i)
    if (calls[i].op == op)
      out.push_back(calls[i].text());
  return out;
}

} // namespace cmdtest
