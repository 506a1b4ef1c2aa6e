// Guard.h: the one way host code stops an exception at a boundary that must
// not let one through: a C table entry, an Xt/Motif callback, a port called
// from the plug-in, main(). Unwinding through C frames (the plug-in, the
// toolkit) is undefined behaviour, and an exception that reaches the end of
// main() aborts the process, so every such boundary runs its body under
// guardCall() and turns any exception into the boundary's documented
// failure result.
//
// The C function tables (host/tables) use exactly these three forms, so that
// no table file has a try/catch of its own: guardCall(failure, body) for an
// entry with a result, guardRun(body) for one without, guardOut(out, failure,
// body) for one that answers through an out parameter. `failure` is the
// result written beside the entry's prototype in include/folio ("Failure:").
//
// Header only, no dependencies beyond the standard library.
#pragma once

#include <exception>
#include <string>
#include <utility>

namespace folio {

// The message of the exception being handled: what() of a std::exception,
// a fixed text for anything else. Call only inside a catch block.
inline std::string currentExceptionMessage() noexcept
{
  try {
    throw;
  } catch (const std::exception &e) {
    try {
      return e.what();
    } catch (...) {
      return {};
    }
  } catch (...) {
    try {
      return "An internal error stopped the command.";
    } catch (...) {
      return {};
    }
  }
}

// Runs body() and returns its result; if it throws anything, calls
// onError(message) and returns `failure`. An exception thrown by onError is
// dropped: the guard itself never throws.
template <class R, class Body, class OnError> R guardCall(R failure, Body &&body, OnError &&onError) noexcept
{
  try {
    return std::forward<Body>(body)();
  } catch (...) {
    try {
      std::forward<OnError>(onError)(currentExceptionMessage());
    } catch (...) {
    }
  }
  return failure;
}

// The same without a report: the failure result is the whole answer (a
// table entry's 0, null or empty rectangle).
template <class R, class Body> R guardCall(R failure, Body &&body) noexcept
{
  return guardCall(std::move(failure), std::forward<Body>(body), [](const std::string &) {});
}

// For bodies without a result: true when body() returned normally, false
// when it threw (after onError(message)).
template <class Body, class OnError> bool guardRun(Body &&body, OnError &&onError) noexcept
{
  return guardCall(
      false,
      [&] {
        std::forward<Body>(body)();
        return true;
      },
      std::forward<OnError>(onError));
}

template <class Body> bool guardRun(Body &&body) noexcept
{
  return guardRun(std::forward<Body>(body), [](const std::string &) {});
}

// For a C table entry that answers through an out parameter (a rectangle, a
// colour): writes body()'s result to *out, or `failure` when body() throws.
// A null `out` has nowhere to take an answer: body() is not run and nothing
// is written.
template <class T, class Body> void guardOut(T *out, T failure, Body &&body) noexcept
{
  if (out)
    *out = guardCall(std::move(failure), std::forward<Body>(body));
}

} // namespace folio
