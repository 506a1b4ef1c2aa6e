// CommandsSupport.h: the fixture of the commands suite. A recording test host
// with the real plug-in started up, a document world to crop, and helpers
// that reach the cropping commands the way the host does: the crop tool's
// clicks for the drawn region, the menu items and the tool bar button for the
// rest. Expected values in the tests are written out by hand from the rules;
// the helpers here only drive the host and slice its call log.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Log.h"
#include "TestHost.h"

namespace cmdtest {

using testhost::pts;

// A Fixed from whole points, and the one-unit steps around the inch.
constexpr Fixed kOneInch = 0x00480000;
constexpr Fixed kJustUnderOneInch = 0x0047FFFF;

// Text form of a FixedRect, as the log writes it.
inline std::string R(const FixedRect &r)
{
  return testhost::fxRect(r);
}

// The calls of one page handed to the region-applying procedure, without the
// host's fixed-point divisions: the page is found, acquired, its media box
// and rotation read; then either the crop box is set (setBox non-empty) or
// the page is only released.
std::vector<std::string> regionPageCalls(int page, const std::string &setBox);

// The calls that reset or restore one page's crop box to `box`: acquire, set,
// notify, release.
std::vector<std::string> setPageCalls(int page, const std::string &box);

// Appends b to a.
void append(std::vector<std::string> &a, const std::vector<std::string> &b);

// Page handle names as the log writes them (document 0).
std::string pageName(int page);

class CommandsTest : public ::testing::Test {
protected:
  void SetUp() override;
  // Every page acquired by the plug-in has been released, in every test.
  void TearDown() override;

  testhost::TestHost host;

  // Adds document 0 with `pages` pages (media and crop box {0,792,612,0},
  // bounding box {72,720,540,72}, rotation 0): the active document.
  void makeDoc(int pages);
  testhost::Page &page(int i) { return host.page(0, i); }

  // The registered crop tool.
  FVTool tool() const;

  // The crop tool's drag-out on the page shown in view 0: the host's drag
  // answers a device rectangle and its conversion to page space answers
  // `region`, so that the region, the page's rotation and its media box are
  // exactly the test's.
  void drawRegion(const FixedRect &region);
  // A click inside the drawn region (its device centre on the page shown in
  // view 0): the tool hands the region to the applying procedure. Answers
  // the click's result; cropLog() then gives the applying procedure's calls.
  void clickInsideRegion();
  // drawRegion + clickInsideRegion.
  void applyRegion(const FixedRect &region);
  // The calls made inside the last clickInsideRegion by the applying
  // procedure (the tool's own calls before and after it removed), without
  // the host's fixed-point divisions unless asked for.
  std::vector<std::string> cropLog(bool withFixedDiv = false) const;
  // True when the tool dropped the region after the last click (the applying
  // procedure answered true).
  bool regionDropped() const;

  // Runs a menu item's execute procedure as the host does; afterLog() then
  // gives the plug-in's calls.
  void runItem(const std::string &itemName);
  // Calls logged since the last runItem / clickInsideRegion / mark(),
  // without the host's fixed-point divisions unless asked for.
  std::vector<std::string> afterLog(bool withFixedDiv = false) const;
  // Starts a new slice of the log.
  void mark(const std::string &what);

  // The cancel test answers true from the n-th poll (1-based) counted from now.
  void cancelAtNextPoll(int n);

  // Calls of one operation since the slice began.
  std::vector<std::string> afterOf(const std::string &op) const;
  size_t afterCount(const std::string &op) const { return afterOf(op).size(); }

  std::string dump() const { return "\n--- log ---\n" + host.log.dump(); }

private:
  size_t start_ = 0;      // first call of the current slice
  size_t clickStart_ = 0; // the host.doClick of the last apply click
};

} // namespace cmdtest
