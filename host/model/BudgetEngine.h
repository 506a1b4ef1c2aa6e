// BudgetEngine.h: the engine side of the page budget (see Budget.h), for
// the model's own sources.
#pragma once

extern "C" {
#include <mupdf/fitz.h>
}

#include "model/Budget.h"

namespace folio::model {

// A new engine context whose allocations are counted; null when out of
// memory. Freed with dropMeteredContext. Its clones count through it too.
fz_context *newMeteredContext();
// The same for one thread alone: no locks (it cannot be cloned), and a
// resource store of at most `storeBytes`.
fz_context *newSingleThreadMeteredContext(size_t storeBytes);
void dropMeteredContext(fz_context *ctx);
// Bytes the engine holds through `ctx` and its clones now (0 when not metered).
size_t meteredBytes(fz_context *ctx);

// The cookie of the page work current on the calling thread when `ctx` is
// metered; null when none runs (the engine accepts a null cookie).
fz_cookie *pageWorkCookie(fz_context *ctx);

struct PageWorkState;

class PageWork {
public:
  enum class Stop { None, Time, Memory, Cancelled };

  // A work of its own on the calling thread even inside another: its own
  // deadline and allowance, its own cookie (`cookie`, when given, is aborted
  // at a stop instead of one of its own), `spent` seconds of its time already
  // used elsewhere (a display list built for it on another thread). The
  // outer work's clock stops meanwhile: it is not charged for this one.
  struct Own {
    fz_cookie *cookie = nullptr;
    double spent = 0;
  };

  // Joins the work current on this thread, or starts one when there is none.
  // Inert (no budget) when `ctx` is not metered.
  explicit PageWork(fz_context *ctx);
  PageWork(fz_context *ctx, const Own &own);
  ~PageWork();
  PageWork(const PageWork &) = delete;
  PageWork &operator=(const PageWork &) = delete;

  fz_cookie *cookie();
  // Why the work was stopped early (None while it runs within its budget).
  Stop stopped() const;
  // Seconds the work has run (not counting time an inner work of its own ran).
  double elapsed() const;
  // Engine bytes allocated and not freed on this thread while it ran, as the
  // allocator gave them (malloc_usable_size: a little more than asked).
  long long heldBytes() const;

private:
  void start(const Own &own);

  PageWorkState *state_;
  bool owner_;
};

// Asks the calling thread's cancel poll (see setCancelPoll) now, as
// allocations do, for a thread that waits without allocating. Stops the
// thread's works as cancelled when it says so.
void pollCancelHere();

// Stops the page work current on the calling thread, for `why` (a stop seen
// by a work done for it on another thread). Nothing when none runs.
void stopPageWorkHere(PageWork::Stop why);

} // namespace folio::model
