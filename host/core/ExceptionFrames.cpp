// ExceptionFrames.cpp: the per-thread stack of exception frames.
#include "core/ExceptionFrames.h"

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace folio {
namespace {

struct Frame {
  void *environ;
  restoreEnvironProc restore;
};

// Frames of this thread, bottom first. The UI thread is the only one that
// calls extensions, but a stack per thread keeps others from mixing in.
thread_local std::vector<Frame> tFrames;
thread_local FSInt32 tErrorCode = 0;

void defaultNoFrame(FSInt32 error)
{
  std::fprintf(stderr, "folio: exception %d raised outside any exception frame\n", static_cast<int>(error));
  std::fflush(stderr);
  std::abort();
}

NoFrameHandler gNoFrame = defaultNoFrame;

extern "C" void hostRestore(void *environ)
{
  std::longjmp(*static_cast<std::jmp_buf *>(environ), 1);
}

} // namespace

void pushExceptionFrame(void *environ, restoreEnvironProc restoreProc)
{
  tFrames.push_back(Frame{environ, restoreProc});
}

void popExceptionFrame()
{
  if (!tFrames.empty())
    tFrames.pop_back();
}

void raiseException(FSInt32 error)
{
  tErrorCode = error;
  if (!tFrames.empty()) {
    Frame top = tFrames.back();
    tFrames.pop_back();
    if (top.restore)
      top.restore(top.environ);
  }
  gNoFrame(error);
  std::abort(); // a handler that returned
}

FSInt32 exceptionErrorCode()
{
  return tErrorCode;
}

std::size_t exceptionFrameDepth()
{
  return tFrames.size();
}

void setNoFrameHandler(NoFrameHandler handler)
{
  gNoFrame = handler ? handler : defaultNoFrame;
}

bool callWithExceptionFrame(void (*proc)(void *data), void *data, FSInt32 *error)
{
  // Locals that must survive the longjmp are volatile; nothing here has a
  // destructor.
  std::jmp_buf env;
  volatile std::size_t depth = tFrames.size();
  pushExceptionFrame(&env, hostRestore);
  if (setjmp(env) == 0) {
    proc(data);
    if (tFrames.size() > depth)
      tFrames.resize(depth);
    return true;
  }
  // Raised: our frame was popped by the raise; drop anything above our level.
  if (tFrames.size() > depth)
    tFrames.resize(depth);
  if (error)
    *error = tErrorCode;
  return false;
}

} // namespace folio
