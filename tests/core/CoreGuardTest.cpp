// The guard that stops exceptions at the host's C and toolkit boundaries.
#include "core/Guard.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

using folio::guardCall;
using folio::guardRun;

TEST(CoreGuard, ReturnsTheBodysResultWhenNothingIsThrown)
{
  int reports = 0;
  EXPECT_EQ(guardCall(
                -1, [] { return 7; }, [&](const std::string &) { ++reports; }),
            7);
  EXPECT_EQ(reports, 0);
  EXPECT_TRUE(guardRun([] {}));
}

TEST(CoreGuard, AStandardExceptionGivesTheFailureResultAndItsMessage)
{
  std::string seen;
  int r = guardCall(
      -1, []() -> int { throw std::runtime_error("Cannot find the page"); },
      [&](const std::string &m) { seen = m; });
  EXPECT_EQ(r, -1);
  EXPECT_EQ(seen, "Cannot find the page");
}

TEST(CoreGuard, AnythingElseThrownGivesTheFailureResultAndAFixedMessage)
{
  std::string seen;
  EXPECT_FALSE(guardRun([] { throw 42; }, [&](const std::string &m) { seen = m; }));
  EXPECT_EQ(seen, "An internal error stopped the command.");
  const char *none = guardCall(static_cast<const char *>(nullptr), []() -> const char * { throw "x"; });
  EXPECT_EQ(none, nullptr);
}

TEST(CoreGuard, AReporterThatThrowsIsDropped)
{
  // The guard is noexcept: an exception from the reporter would terminate.
  auto body = [] {};
  auto report = [](const std::string &) {};
  static_assert(noexcept(guardRun(body, report)), "the guard never throws");
  EXPECT_FALSE(guardRun([] { throw std::logic_error("first"); },
                        [](const std::string &) { throw std::runtime_error("second"); }));
}

TEST(CoreGuard, ResultsOfClassTypePassThrough)
{
  struct Rect {
    int l, b, r, t;
  };
  Rect failure{0, 0, 0, 0};
  Rect got = guardCall(failure, [] { return Rect{1, 2, 3, 4}; });
  EXPECT_EQ(got.r, 3);
  got = guardCall(failure, []() -> Rect { throw std::bad_alloc(); });
  EXPECT_EQ(got.r, 0);
}

TEST(CoreGuard, AnOutParameterGetsTheResultOrTheFailure)
{
  using folio::guardOut;
  int out = 5;
  guardOut(&out, -1, [] { return 7; });
  EXPECT_EQ(out, 7);
  guardOut(&out, -1, []() -> int { throw std::runtime_error("no"); });
  EXPECT_EQ(out, -1);
  // No out parameter: nowhere to answer, so the body is not run.
  bool ran = false;
  guardOut(static_cast<int *>(nullptr), -1, [&] {
    ran = true;
    return 7;
  });
  EXPECT_FALSE(ran);
}
