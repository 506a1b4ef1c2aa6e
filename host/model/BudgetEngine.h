// BudgetEngine.h: the engine side of the page budget (see Budget.h), for
// the model's own sources.
#pragma once

extern "C" {
#include <mupdf/fitz.h>
}

#include "model/Budget.h"

namespace folio::model {

// A new engine context whose allocations are counted; null when out of
// memory. Freed with dropMeteredContext.
fz_context *newMeteredContext();
void dropMeteredContext(fz_context *ctx);

// The cookie of the page work running on `ctx`; null when none runs (the
// engine accepts a null cookie).
fz_cookie *pageWorkCookie(fz_context *ctx);

class PageWork {
public:
  enum class Stop { None, Time, Memory, Cancelled };

  explicit PageWork(fz_context *ctx);
  ~PageWork();
  PageWork(const PageWork &) = delete;
  PageWork &operator=(const PageWork &) = delete;

  fz_cookie *cookie();
  // Why the work was stopped early (None while it runs within its budget).
  Stop stopped() const;

private:
  struct Meter *meter_;
  bool outer_;
};

} // namespace folio::model
