// Budget.h: bounds on the engine's work for one page, in time and memory.
//
// Every engine context of the model is made by newMeteredContext: its
// allocations go through a counting allocator. A PageWork, made on the stack
// around the work for one page (building its display list, measuring its
// marks, drawing it), gives that work a deadline and a memory allowance. The
// budget belongs to the thread that runs the work: each thread has at most
// one current page work, allocations made on a thread are charged to the
// work current there (whatever context they go through, clones included),
// and each work has its own deadline. Past either, or when cancelPageWork()
// is called (from a signal handler too), the work's cookie is aborted, which
// the engine's interpreters and devices look at between operations, and
// further allocations on its thread are refused, which stops work that never
// looks at a cookie (decoding an image, say). A watchdog thread (started
// with the first PageWork) keeps the list of live works and looks at their
// deadlines and the cancel request every 20 ms, so work that does not
// allocate is stopped too. The caller then asks stopped() and treats the
// page as one whose contents cannot be measured or drawn.
//
// PageWorks on one thread nest: an inner one joins the outer one (same
// deadline, same allowance), unless it is made as a work of its own (see
// PageWork::Own in BudgetEngine.h). This header is free of the engine, for
// the front ends; the engine side is in BudgetEngine.h, for the model's own
// sources.
#pragma once

#include <cstddef>

namespace folio::model {

struct PageBudget {
  double seconds = 20.0;             // wall-clock time for one page's work
  size_t bytes = size_t(1024) << 20; // engine memory for one page's work
};

// The budget every page's work gets. Defaults as above; the environment
// variable FOLIO_PAGE_BUDGET="SECONDS,MEGABYTES" (read once) replaces them.
// A work takes the budget when it starts.
PageBudget pageBudget();
void setPageBudget(const PageBudget &budget);

// Stops every page work running now, on every thread, at the engine's next
// look at its cookie or its next allocation. Async-signal-safe. The request
// holds (and stops new works at once) until clearCancelPageWork().
void cancelPageWork();
void clearCancelPageWork();

// A front end's test for a user's request to stop (a Cancel button, say),
// for work that runs on the thread that owns the user interface. While a
// poll is installed on a thread, the page works running on that thread call
// it about every 50 ms from inside the engine (at the engine's allocations),
// on that thread only. It must not re-enter the model or the engine and must
// not dispatch user-interface callbacks; it may look at pending input. When
// it answers true, the page works of that thread are stopped as cancelled
// (stopped() == Cancelled); the request is not kept past them, so the front
// end's own cancel path decides what happens next. `user` is passed back.
using CancelPoll = bool (*)(void *user);
// Installs `poll` for the calling thread (null removes it); returns the one
// it replaces, with its user pointer in `*previousUser` when not null.
CancelPoll setCancelPoll(CancelPoll poll, void *user, void **previousUser = nullptr);

} // namespace folio::model
