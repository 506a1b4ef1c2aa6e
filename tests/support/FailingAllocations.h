// FailingAllocations.h: make operator new throw std::bad_alloc on demand, so
// a test can make the work under a C table entry fail and check the entry's
// failure result.
//
// Include in exactly ONE source file of a test program: it defines that
// program's replacement operator new, which throws while a FailingAllocations
// lives on the calling thread and otherwise forwards to the next definition
// (the C++ runtime's, or the sanitizer's), so every block is still freed by
// the operator delete it pairs with.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <dlfcn.h>
#include <new>

namespace testsupport {

inline thread_local bool tFailAllocations = false;

// While one lives, every operator new on this thread throws std::bad_alloc.
struct FailingAllocations {
  FailingAllocations() { tFailAllocations = true; }
  ~FailingAllocations() { tFailAllocations = false; }
  FailingAllocations(const FailingAllocations &) = delete;
  FailingAllocations &operator=(const FailingAllocations &) = delete;
};

} // namespace testsupport

void *operator new(std::size_t size)
{
  using NewFn = void *(*)(std::size_t);
  static const NewFn next = reinterpret_cast<NewFn>(dlsym(RTLD_NEXT, "_Znwm"));
  if (testsupport::tFailAllocations || !next)
    throw std::bad_alloc();
  return next(size);
}
