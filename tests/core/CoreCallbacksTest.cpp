// Callbacks: creation, typed procedure, destruction, ownership by extension.
#include <gtest/gtest.h>

#include "core/Callback.h"

using namespace folio;

namespace {
int timesTwo(int x)
{
  return 2 * x;
}
void nothing() {}
ExtensionID fakeExtension(int n)
{
  return reinterpret_cast<ExtensionID>(static_cast<intptr_t>(0x1000 * n));
}
} // namespace

TEST(CoreCallbacks, CreateKeepsExtensionAndProcedure)
{
  FSCallback cb = callbackCreate(fakeExtension(1), reinterpret_cast<FSProc>(timesTwo));
  ASSERT_NE(cb, nullptr);
  EXPECT_EQ(cb->extension, fakeExtension(1));
  EXPECT_EQ(cb->proc, reinterpret_cast<FSProc>(timesTwo));
  EXPECT_EQ(callbackProc<int (*)(int)>(cb)(21), 42);
  callbackDestroy(cb);
}

TEST(CoreCallbacks, EachCreateMakesANewCallback)
{
  FSCallback a = callbackCreate(fakeExtension(1), nothing);
  FSCallback b = callbackCreate(fakeExtension(1), nothing);
  EXPECT_NE(a, b);
  callbackDestroy(a);
  callbackDestroy(b);
}

TEST(CoreCallbacks, NullProcedureGivesNullCallback)
{
  std::size_t before = callbackCount();
  EXPECT_EQ(callbackCreate(fakeExtension(1), nullptr), nullptr);
  EXPECT_EQ(callbackCount(), before);
}

TEST(CoreCallbacks, NullCallbackHasNullProcedure)
{
  EXPECT_EQ(callbackProc<void (*)()>(nullptr), nullptr);
}

TEST(CoreCallbacks, NullExtensionIsAllowed)
{
  FSCallback cb = callbackCreate(nullptr, nothing);
  ASSERT_NE(cb, nullptr);
  EXPECT_EQ(cb->extension, nullptr);
  callbackDestroy(cb);
}

TEST(CoreCallbacks, DestroyFreesAndCounts)
{
  std::size_t before = callbackCount();
  FSCallback cb = callbackCreate(fakeExtension(2), nothing);
  EXPECT_EQ(callbackCount(), before + 1);
  callbackDestroy(cb);
  EXPECT_EQ(callbackCount(), before);
}

TEST(CoreCallbacks, DestroyTwiceIsIgnored)
{
  std::size_t before = callbackCount();
  FSCallback cb = callbackCreate(fakeExtension(2), nothing);
  callbackDestroy(cb);
  callbackDestroy(cb);
  EXPECT_EQ(callbackCount(), before);
}

TEST(CoreCallbacks, DestroyOfForeignPointerIsIgnored)
{
  _t_FSCallback notOurs{fakeExtension(3), nothing};
  std::size_t before = callbackCount();
  callbackDestroy(&notOurs);
  callbackDestroy(nullptr);
  EXPECT_EQ(callbackCount(), before);
  EXPECT_EQ(notOurs.proc, nothing);
}

TEST(CoreCallbacks, DestroyAllOfRemovesOnlyThatExtension)
{
  std::size_t before = callbackCount();
  FSCallback mine1 = callbackCreate(fakeExtension(4), nothing);
  FSCallback mine2 = callbackCreate(fakeExtension(4), reinterpret_cast<FSProc>(timesTwo));
  FSCallback other = callbackCreate(fakeExtension(5), reinterpret_cast<FSProc>(timesTwo));
  (void)mine1;
  (void)mine2;
  EXPECT_EQ(callbackCount(), before + 3);
  callbackDestroyAllOf(fakeExtension(4));
  EXPECT_EQ(callbackCount(), before + 1);
  EXPECT_EQ(callbackProc<int (*)(int)>(other)(5), 10);
  callbackDestroy(other);
  EXPECT_EQ(callbackCount(), before);
}
