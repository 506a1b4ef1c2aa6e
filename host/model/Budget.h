// Budget.h: bounds on the engine's work for one page, in time and memory.
//
// Every engine context of the model is made by newMeteredContext: its
// allocations are counted. A PageWork, made on the stack around the work for
// one page (building its display list, measuring its marks, drawing it),
// gives that work a deadline and a memory allowance on top of what the
// context holds when it starts. Past either, or when cancelPageWork() is
// called (from a signal handler too), the work's cookie is aborted, which the
// engine's interpreters and devices look at between operations, and further
// allocations are refused, which stops work that never looks at a cookie
// (decoding an image, say). A watchdog thread (started with the first
// PageWork) looks at the deadlines and the cancel request every 20 ms, so
// work that does not allocate is stopped too. The caller then asks stopped() and treats the
// page as one whose contents cannot be measured or drawn.
//
// One thread uses a context at a time. PageWorks on one context nest: an
// inner one shares the outer one's deadline and allowance. This header is
// free of the engine, for the front ends; the engine side is in
// BudgetEngine.h, for the model's own sources.
#pragma once

#include <cstddef>

namespace folio::model {

struct PageBudget {
  double seconds = 20.0;             // wall-clock time for one page's work
  size_t bytes = size_t(1024) << 20; // engine memory for one page's work
};

// The budget every page's work gets. Defaults as above; the environment
// variable FOLIO_PAGE_BUDGET="SECONDS,MEGABYTES" (read once) replaces them.
PageBudget pageBudget();
void setPageBudget(const PageBudget &budget);

// Stops the page work running now, if any, at the engine's next look at its
// cookie or its next allocation. Async-signal-safe. The request holds until
// clearCancelPageWork().
void cancelPageWork();
void clearCancelPageWork();

} // namespace folio::model
