// ExceptionFrames.h: the host's exception frames (core entries 1 to 4).
//
// A frame is (address of a jmp_buf of the caller, restore procedure). Frames
// form a stack per thread. raise(code) records the code, pops the top frame
// and calls its restore procedure with its jmp_buf address; an extension's
// restore procedure longjmps back into the code that pushed the frame, which
// then runs its handler outside that frame (a second raise reaches the next
// frame down). popExceptionFrame() is the normal end of a frame.
//
// With no frame on the stack, raise() calls the no-frame handler: by default it
// prints "folio: exception <code> raised outside any exception frame" to
// stderr and aborts the process (std::abort). The host never lets that happen
// for calls it makes into extensions: it wraps each of them in
// callWithExceptionFrame(), so a raise there aborts only that call.
// A restore procedure that returns is treated like a missing frame.
#pragma once

#include <cstddef>

#include "folio/FolioTypes.h"

namespace folio {

void pushExceptionFrame(void *environ, restoreEnvironProc restoreProc);
// Pops the top frame; does nothing on an empty stack.
void popExceptionFrame();
// Never returns (see above).
[[noreturn]] void raiseException(FSInt32 error);
// The code of the last raise on this thread; 0 before any.
FSInt32 exceptionErrorCode();
// Frames on this thread's stack.
std::size_t exceptionFrameDepth();

// Called by raiseException() when there is no frame; must not return (if it
// does, the process aborts). Null restores the default.
using NoFrameHandler = void (*)(FSInt32 error);
void setNoFrameHandler(NoFrameHandler handler);

// Calls proc(data) inside a host frame. True when it returned normally; false
// when an exception was raised inside (its code goes to `*error` when non-null).
// Frames that `proc` left pushed are dropped either way. `proc` reaches the
// caller by longjmp on a raise, so every frame between here and the raise
// must be plain C or C++ without destructors to run (true of extensions and of
// the table adapters).
bool callWithExceptionFrame(void (*proc)(void *data), void *data, FSInt32 *error);

// The same for a callable, typically a lambda that calls one extension
// procedure: `fn` itself must hold nothing with a destructor that matters
// (capture by reference; keep results in the caller's variables).
template <class Fn> bool callGuarded(Fn &fn, FSInt32 *error = nullptr)
{
  return callWithExceptionFrame([](void *data) { (*static_cast<Fn *>(data))(); }, &fn, error);
}

} // namespace folio
