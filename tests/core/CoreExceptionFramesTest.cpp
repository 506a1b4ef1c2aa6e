// Exception frames on the host side: push, pop, raise, the no-frame case and
// the host's guarded call.
#include <gtest/gtest.h>

#include <csetjmp>
#include <cstdlib>
#include <thread>

#include "core/ExceptionFrames.h"

using namespace folio;

namespace {

// The restore procedure of these tests, as an extension would write it.
extern "C" void restoreTestFrame(void *environ)
{
  std::longjmp(*static_cast<std::jmp_buf *>(environ), 1);
}

int gAfterRaise = 0;

void raiseWith(FSInt32 code)
{
  raiseException(code);
  gAfterRaise = 1; // never reached
}

// Runs `body` inside a frame of its own; answers 0 when it returned, 1 when
// the frame's restore procedure brought control back. Plain data only, as
// longjmp requires.
int runInFrame(void (*body)(void *), void *data, std::size_t *depthInHandler)
{
  std::jmp_buf env;
  pushExceptionFrame(&env, restoreTestFrame);
  if (setjmp(env) == 0) {
    body(data);
    popExceptionFrame();
    return 0;
  }
  *depthInHandler = exceptionFrameDepth();
  return 1;
}

void raise7(void *)
{
  raiseWith(7);
}
void raiseGiven(void *data)
{
  raiseWith(*static_cast<FSInt32 *>(data));
}
void returnNormally(void *) {}

// A frame inside a frame: the inner raise lands in the inner handler, which
// re-raises into the outer one.
void nestedReraise(void *data)
{
  std::size_t depth = 0;
  if (runInFrame(raise7, nullptr, &depth) == 1) {
    *static_cast<std::size_t *>(data) = depth;
    raiseWith(exceptionErrorCode() + 100);
  }
}

jmp_buf gNoFrameEnv;
FSInt32 gNoFrameCode = 0;
void noFrameToTest(FSInt32 error)
{
  gNoFrameCode = error;
  std::longjmp(gNoFrameEnv, 1);
}

void returningHandler(FSInt32) {}

} // namespace

TEST(CoreExceptionFrames, RaiseReturnsIntoTopFrame)
{
  std::size_t depth = 99;
  gAfterRaise = 0;
  EXPECT_EQ(runInFrame(raise7, nullptr, &depth), 1);
  EXPECT_EQ(gAfterRaise, 0);
  EXPECT_EQ(exceptionErrorCode(), 7);
}

TEST(CoreExceptionFrames, RaisePopsTheFrameItUses)
{
  std::size_t depth = 99;
  runInFrame(raise7, nullptr, &depth);
  EXPECT_EQ(depth, 0u);
  EXPECT_EQ(exceptionFrameDepth(), 0u);
}

TEST(CoreExceptionFrames, NormalReturnPopsTheFrame)
{
  std::size_t depth = 99;
  EXPECT_EQ(runInFrame(returnNormally, nullptr, &depth), 0);
  EXPECT_EQ(depth, 99u);
  EXPECT_EQ(exceptionFrameDepth(), 0u);
}

// Frames and codes belong to a thread: a new thread starts with neither.
TEST(CoreExceptionFrames, ErrorCodeIsZeroOnAThreadThatNeverRaised)
{
  std::size_t depth = 0;
  runInFrame(raise7, nullptr, &depth);
  std::jmp_buf env;
  pushExceptionFrame(&env, restoreTestFrame);
  FSInt32 otherCode = -1;
  std::size_t otherDepth = 99;
  std::thread other([&] {
    otherCode = exceptionErrorCode();
    otherDepth = exceptionFrameDepth();
  });
  other.join();
  popExceptionFrame();
  EXPECT_EQ(otherCode, 0);
  EXPECT_EQ(otherDepth, 0u);
  EXPECT_EQ(exceptionErrorCode(), 7);
}

TEST(CoreExceptionFrames, NegativeCodeIsKept)
{
  std::size_t depth = 0;
  FSInt32 code = -2147483647 - 1;
  runInFrame(raiseGiven, &code, &depth);
  EXPECT_EQ(exceptionErrorCode(), code);
}

TEST(CoreExceptionFrames, ReraiseInHandlerReachesOuterFrame)
{
  std::size_t innerDepth = 99, outerDepth = 99;
  EXPECT_EQ(runInFrame(nestedReraise, &innerDepth, &outerDepth), 1);
  EXPECT_EQ(innerDepth, 1u); // the outer frame was still pushed
  EXPECT_EQ(outerDepth, 0u);
  EXPECT_EQ(exceptionErrorCode(), 107);
}

TEST(CoreExceptionFrames, PushAndPopCountFrames)
{
  std::jmp_buf a, b;
  pushExceptionFrame(&a, restoreTestFrame);
  pushExceptionFrame(&b, restoreTestFrame);
  EXPECT_EQ(exceptionFrameDepth(), 2u);
  popExceptionFrame();
  EXPECT_EQ(exceptionFrameDepth(), 1u);
  popExceptionFrame();
  EXPECT_EQ(exceptionFrameDepth(), 0u);
}

TEST(CoreExceptionFrames, PopOnEmptyStackDoesNothing)
{
  popExceptionFrame();
  EXPECT_EQ(exceptionFrameDepth(), 0u);
}

TEST(CoreExceptionFrames, RaiseWithoutFrameReportsAndAborts)
{
  EXPECT_DEATH(raiseException(5), "folio: exception 5 raised outside any exception frame");
}

TEST(CoreExceptionFrames, RestoreProcedureThatReturnsAborts)
{
  EXPECT_DEATH(
      {
        static int env;
        pushExceptionFrame(&env, [](void *) {});
        raiseException(6);
      },
      "folio: exception 6 raised outside any exception frame");
}

TEST(CoreExceptionFrames, NoFrameHandlerIsCalledWithTheCode)
{
  setNoFrameHandler(noFrameToTest);
  gNoFrameCode = 0;
  if (setjmp(gNoFrameEnv) == 0)
    raiseException(31);
  setNoFrameHandler(nullptr);
  EXPECT_EQ(gNoFrameCode, 31);
  EXPECT_EQ(exceptionErrorCode(), 31);
}

TEST(CoreExceptionFrames, NoFrameHandlerThatReturnsStillAborts)
{
  EXPECT_DEATH(
      {
        setNoFrameHandler(returningHandler);
        raiseException(8);
      },
      "");
}

TEST(CoreExceptionFrames, GuardedCallReturningNormallyIsTrue)
{
  FSInt32 code = 55;
  EXPECT_TRUE(callWithExceptionFrame(returnNormally, nullptr, &code));
  EXPECT_EQ(code, 55); // untouched
  EXPECT_EQ(exceptionFrameDepth(), 0u);
}

TEST(CoreExceptionFrames, GuardedCallThatRaisesIsFalseWithCode)
{
  FSInt32 code = 0;
  FSInt32 raised = 1234;
  EXPECT_FALSE(callWithExceptionFrame(raiseGiven, &raised, &code));
  EXPECT_EQ(code, 1234);
  EXPECT_EQ(exceptionFrameDepth(), 0u);
}

TEST(CoreExceptionFrames, GuardedCallAcceptsNullCodeOutput)
{
  FSInt32 raised = 3;
  EXPECT_FALSE(callWithExceptionFrame(raiseGiven, &raised, nullptr));
}

TEST(CoreExceptionFrames, GuardedCallDropsFramesLeftPushed)
{
  static std::jmp_buf leftover;
  auto leaveFrame = [](void *) { pushExceptionFrame(&leftover, restoreTestFrame); };
  EXPECT_TRUE(callWithExceptionFrame(leaveFrame, nullptr, nullptr));
  EXPECT_EQ(exceptionFrameDepth(), 0u);
}

TEST(CoreExceptionFrames, GuardedCallInsideOuterFrameKeepsOuterFrame)
{
  std::jmp_buf outer;
  pushExceptionFrame(&outer, restoreTestFrame);
  FSInt32 raised = 9, code = 0;
  EXPECT_FALSE(callWithExceptionFrame(raiseGiven, &raised, &code));
  EXPECT_EQ(code, 9);
  EXPECT_EQ(exceptionFrameDepth(), 1u);
  popExceptionFrame();
}

TEST(CoreExceptionFrames, GuardedLambdaReturnsItsResultThroughCaptures)
{
  int result = 0;
  auto call = [&] { result = 42; };
  FSInt32 code = 0;
  EXPECT_TRUE(callGuarded(call, &code));
  EXPECT_EQ(result, 42);
  EXPECT_EQ(code, 0);
}

TEST(CoreExceptionFrames, GuardedLambdaThatRaisesIsFalseWithCode)
{
  int reached = 0;
  auto call = [&] {
    raiseWith(17);
    reached = 1;
  };
  FSInt32 code = 0;
  EXPECT_FALSE(callGuarded(call, &code));
  EXPECT_EQ(code, 17);
  EXPECT_EQ(reached, 0);
  EXPECT_EQ(exceptionFrameDepth(), 0u);
}
