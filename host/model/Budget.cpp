// Budget.cpp: counted engine allocations, deadlines and cancellation of the
// work for one page (see Budget.h).
#include "model/BudgetEngine.h"

#include "model/Engine.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

namespace folio::model {

namespace {

std::atomic<bool> gCancel{false};

PageBudget &budgetSlot()
{
  static PageBudget b = [] {
    PageBudget d;
    if (const char *env = std::getenv("FOLIO_PAGE_BUDGET")) {
      double s = 0, mb = 0;
      if (std::sscanf(env, "%lf,%lf", &s, &mb) == 2 && s > 0 && mb > 0) {
        d.seconds = s;
        d.bytes = static_cast<size_t>(mb * 1024 * 1024);
      }
    }
    return d;
  }();
  return b;
}

double nowSeconds()
{
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

// Each block starts with a header that holds its size, aligned as malloc is.
constexpr size_t kHeader = alignof(std::max_align_t) > sizeof(size_t) ? alignof(std::max_align_t)
                                                                      : sizeof(size_t);

} // namespace

// Shared by a context and its clones (the bounding-box workers allocate
// through it from their own threads), so every field is atomic.
struct Meter {
  std::atomic<size_t> used{0};     // bytes the engine holds now
  std::atomic<int> depth{0};       // PageWorks running (nested)
  std::atomic<size_t> limit{0};    // while one runs: used may not pass this
  std::atomic<double> deadline{0}; // while one runs: monotonic seconds
  std::atomic<unsigned> ticks{0};  // allocations since the last look at the clock
  // Set by the engine's thread and by the watchdog.
  std::atomic<PageWork::Stop> stop{PageWork::Stop::None};
  fz_cookie cookie{};

  void halt(PageWork::Stop why)
  {
    PageWork::Stop none = PageWork::Stop::None;
    stop.compare_exchange_strong(none, why);
    cookie.abort = 1;
  }

  // True when the running work may go on; otherwise stops it.
  bool mayGoOn(size_t more)
  {
    if (depth == 0)
      return true;
    if (stop.load() == PageWork::Stop::None) {
      if (gCancel.load(std::memory_order_relaxed))
        halt(PageWork::Stop::Cancelled);
      else if (size_t l = limit.load(), u = used.load(); more > l || u > l - more)
        halt(PageWork::Stop::Memory);
      else if ((++ticks & 63) == 0 && nowSeconds() > deadline)
        halt(PageWork::Stop::Time);
    }
    return stop.load() == PageWork::Stop::None;
  }
};

namespace {

// The watchdog: work that neither allocates nor finishes (an interpreter
// running through millions of operators that draw nothing) is stopped by a
// thread that looks at the running works' deadlines and at the cancel
// request every 20 ms and aborts their cookies, which the engine checks
// between operators.
// Never destroyed: the detached watchdog may wake while the process exits.
std::mutex &gWatchMutex = *new std::mutex;
std::vector<Meter *> &gWatched = *new std::vector<Meter *>; // meters with a PageWork running

void watch()
{
  for (;;) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    std::lock_guard<std::mutex> lock(gWatchMutex);
    double now = nowSeconds();
    bool cancel = gCancel.load(std::memory_order_relaxed);
    for (Meter *m : gWatched) {
      if (cancel)
        m->halt(PageWork::Stop::Cancelled);
      else if (now > m->deadline)
        m->halt(PageWork::Stop::Time);
    }
  }
}

void startWatching(Meter *m)
{
  static std::once_flag started;
  std::call_once(started, [] {
    try {
      std::thread(watch).detach();
    } catch (const std::exception &) {
      // Without the thread, deadlines are still seen at allocations.
    }
  });
  std::lock_guard<std::mutex> lock(gWatchMutex);
  gWatched.push_back(m);
}

void stopWatching(Meter *m)
{
  std::lock_guard<std::mutex> lock(gWatchMutex);
  for (size_t i = 0; i < gWatched.size(); ++i)
    if (gWatched[i] == m) {
      gWatched.erase(gWatched.begin() + static_cast<std::ptrdiff_t>(i));
      break;
    }
}

} // namespace

namespace {

void *meteredMalloc(void *user, size_t size)
{
  auto *m = static_cast<Meter *>(user);
  if (size > SIZE_MAX - kHeader || !m->mayGoOn(size))
    return nullptr;
  auto *p = static_cast<unsigned char *>(std::malloc(size + kHeader));
  if (!p)
    return nullptr;
  std::memcpy(p, &size, sizeof size);
  m->used += size;
  return p + kHeader;
}

void meteredFree(void *user, void *ptr)
{
  if (!ptr)
    return;
  auto *m = static_cast<Meter *>(user);
  unsigned char *p = static_cast<unsigned char *>(ptr) - kHeader;
  size_t size;
  std::memcpy(&size, p, sizeof size);
  m->used -= size;
  std::free(p);
}

void *meteredRealloc(void *user, void *ptr, size_t size)
{
  if (!ptr)
    return meteredMalloc(user, size);
  if (size == 0) {
    meteredFree(user, ptr);
    return nullptr;
  }
  auto *m = static_cast<Meter *>(user);
  unsigned char *p = static_cast<unsigned char *>(ptr) - kHeader;
  size_t old;
  std::memcpy(&old, p, sizeof old);
  if (size > SIZE_MAX - kHeader || (size > old && !m->mayGoOn(size - old)))
    return nullptr;
  auto *q = static_cast<unsigned char *>(std::realloc(p, size + kHeader));
  if (!q)
    return nullptr;
  std::memcpy(q, &size, sizeof size);
  if (size >= old)
    m->used += size - old;
  else
    m->used -= old - size;
  return q + kHeader;
}

Meter *meterOf(fz_context *ctx)
{
  return ctx && ctx->alloc.malloc == meteredMalloc ? static_cast<Meter *>(ctx->alloc.user) : nullptr;
}

} // namespace

PageBudget pageBudget()
{
  return budgetSlot();
}

void setPageBudget(const PageBudget &budget)
{
  budgetSlot() = budget;
}

fz_context *newMeteredContext()
{
  auto *m = new (std::nothrow) Meter();
  if (!m)
    return nullptr;
  fz_alloc_context alloc{m, meteredMalloc, meteredRealloc, meteredFree};
  // With the engine's locks, so that the context can be cloned for threads.
  fz_context *ctx = fz_new_context(&alloc, engineLocks(), FZ_STORE_DEFAULT);
  if (!ctx)
    delete m;
  return ctx;
}

void dropMeteredContext(fz_context *ctx)
{
  if (!ctx)
    return;
  Meter *m = meterOf(ctx);
  fz_drop_context(ctx);
  delete m;
}

void cancelPageWork()
{
  gCancel.store(true, std::memory_order_relaxed);
}

void clearCancelPageWork()
{
  gCancel.store(false, std::memory_order_relaxed);
}

fz_cookie *pageWorkCookie(fz_context *ctx)
{
  Meter *m = meterOf(ctx);
  return m && m->depth > 0 ? &m->cookie : nullptr;
}

PageWork::PageWork(fz_context *ctx) : meter_(meterOf(ctx)), outer_(meter_ && meter_->depth == 0)
{
  if (!meter_)
    return;
  if (outer_) {
    PageBudget b = pageBudget();
    meter_->cookie = fz_cookie{};
    meter_->stop = Stop::None;
    meter_->ticks = 0;
    meter_->limit = meter_->used + b.bytes;
    meter_->deadline = nowSeconds() + b.seconds;
    startWatching(meter_);
  }
  ++meter_->depth;
}

PageWork::~PageWork()
{
  if (!meter_)
    return;
  if (outer_)
    stopWatching(meter_);
  --meter_->depth;
}

fz_cookie *PageWork::cookie()
{
  return meter_ ? &meter_->cookie : nullptr;
}

PageWork::Stop PageWork::stopped() const
{
  if (!meter_)
    return Stop::None;
  Stop stop = meter_->stop.load();
  // A deadline passed since the last look is seen here too.
  if (stop == Stop::None && gCancel.load(std::memory_order_relaxed))
    return Stop::Cancelled;
  if (stop == Stop::None && nowSeconds() > meter_->deadline)
    return Stop::Time;
  return stop;
}

} // namespace folio::model
