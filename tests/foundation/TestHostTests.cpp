// TestHostTests.cpp: the recording test host's own behaviour that plug-in
// tests rely on: text forms, transforms, menus, scripted answers.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TestHost.h"

#define FOLIO_HOST_SIDE
#include "folio/CoreHFT.h"
#include "folio/FolioSupportHFT.h"
#include "folio/FolioViewHFT.h"
#include "folio/PDModelHFT.h"

using testhost::dev;
using testhost::fvRect;
using testhost::fx;
using testhost::fxRect;
using testhost::pts;
using testhost::Table;
using testhost::TestHost;

namespace {

template <class Proto> Proto entryOf(TestHost &h, Table t, int sel)
{
  return reinterpret_cast<Proto>(h.entry(t, sel));
}

} // namespace

TEST(FoundationTestHost, FixedTextIsExactDecimal)
{
  EXPECT_EQ(fx(0), "0");
  EXPECT_EQ(fx(0x00480000), "72");
  EXPECT_EQ(fx(-0x00480000), "-72");
  EXPECT_EQ(fx(0x00008000), "0.5");
  EXPECT_EQ(fx(1), "0.0000152587890625");
  EXPECT_EQ(fx(-0x00018000), "-1.5");
  EXPECT_EQ(fx(INT32_MIN), "-32768");
  EXPECT_EQ(fx(INT32_MAX), "32767.9999847412109375");
}

TEST(FoundationTestHost, RectanglesPrintWithoutBlanks)
{
  EXPECT_EQ(fxRect(pts(0, 792, 612, 0)), "{0,792,612,0}");
  EXPECT_EQ(fvRect(dev(-3, 4, 5, -6)), "{-3,4,5,-6}");
}
