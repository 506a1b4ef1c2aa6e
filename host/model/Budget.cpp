// Budget.cpp: counted engine allocations, deadlines and cancellation of the
// work for one page, one budget per thread (see Budget.h).
#include "model/BudgetEngine.h"

#include "model/Engine.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
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

std::mutex &budgetMutex()
{
  static std::mutex m;
  return m;
}

double nowSeconds()
{
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

constexpr double kPollInterval = 0.05; // seconds between calls of a thread's cancel poll

} // namespace

// What a context and its clones share: the bytes the engine holds through
// them now, from every thread (for the record; budgets are per work).
struct Meter {
  std::atomic<size_t> used{0};
};

// One page's work on one thread. Owned by the PageWork that started it;
// read by the watchdog (under gWatchMutex) while it is listed there.
struct PageWorkState {
  PageWorkState *outer = nullptr;  // the work this one interrupted on its thread
  int joined = 0;                  // PageWorks that joined this one
  long long held = 0;              // net bytes allocated on the thread (that thread only)
  long long limit = 0;             // held may not pass this
  double started = 0;              // monotonic seconds
  double pausedAt = 0;             // while an inner work of its own runs
  double pausedFor = 0;            // seconds the clock stood still
  unsigned ticks = 0;              // allocations since the last look at the clock
  std::atomic<double> deadline{0}; // monotonic seconds
  std::atomic<bool> paused{false};
  std::atomic<PageWork::Stop> stop{PageWork::Stop::None};
  fz_cookie own{};
  fz_cookie *cookie = &own;

  void halt(PageWork::Stop why)
  {
    PageWork::Stop none = PageWork::Stop::None;
    stop.compare_exchange_strong(none, why);
    // The engine reads the flag without synchronisation between operations;
    // an int store is what it expects.
    __atomic_store_n(&cookie->abort, 1, __ATOMIC_RELAXED);
  }
};

namespace {

thread_local PageWorkState *tWork = nullptr; // the work current on this thread
thread_local CancelPoll tPoll = nullptr;
thread_local void *tPollUser = nullptr;
thread_local double tLastPoll = 0;

// The watchdog: work that neither allocates nor finishes (an interpreter
// running through millions of operators that draw nothing) is stopped by a
// thread that looks at every live work's deadline and at the cancel request
// every 20 ms and aborts their cookies, which the engine checks between
// operators. Never destroyed: the detached watchdog may wake while the
// process exits.
std::mutex &gWatchMutex = *new std::mutex;
std::vector<PageWorkState *> &gWatched = *new std::vector<PageWorkState *>;

void watch()
{
  for (;;) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    std::lock_guard<std::mutex> lock(gWatchMutex);
    double now = nowSeconds();
    bool cancel = gCancel.load(std::memory_order_relaxed);
    for (PageWorkState *w : gWatched) {
      if (cancel)
        w->halt(PageWork::Stop::Cancelled);
      else if (!w->paused.load() && now > w->deadline.load())
        w->halt(PageWork::Stop::Time);
    }
  }
}

void startWatching(PageWorkState *w)
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
  gWatched.push_back(w);
}

void stopWatching(PageWorkState *w)
{
  std::lock_guard<std::mutex> lock(gWatchMutex);
  for (size_t i = 0; i < gWatched.size(); ++i)
    if (gWatched[i] == w) {
      gWatched.erase(gWatched.begin() + static_cast<std::ptrdiff_t>(i));
      break;
    }
}

// Stops every work of this thread as cancelled (the front end's poll said so).
void cancelThisThread()
{
  for (PageWorkState *w = tWork; w; w = w->outer)
    w->halt(PageWork::Stop::Cancelled);
}

// Asks the thread's cancel poll, when one is installed, a work runs and the
// last call is long enough ago.
void pollAt(double now)
{
  if (!tPoll || !tWork || now - tLastPoll < kPollInterval)
    return;
  tLastPoll = now;
  if (tPoll(tPollUser))
    cancelThisThread();
}

// True when the work current on this thread may take `more` bytes; otherwise
// stops it. Without a current work, always true.
bool mayGoOn(size_t more)
{
  PageWorkState *w = tWork;
  if (!w)
    return true;
  if (w->stop.load() == PageWork::Stop::None) {
    if (gCancel.load(std::memory_order_relaxed)) {
      w->halt(PageWork::Stop::Cancelled);
    } else if (more > static_cast<size_t>(INT64_MAX / 2) ||
               w->held + static_cast<long long>(more) > w->limit) {
      w->halt(PageWork::Stop::Memory);
    } else if ((++w->ticks & 63) == 0) {
      double now = nowSeconds();
      if (now > w->deadline.load())
        w->halt(PageWork::Stop::Time);
      else
        pollAt(now);
    }
  }
  return w->stop.load() == PageWork::Stop::None;
}

void charge(long long bytes)
{
  if (PageWorkState *w = tWork)
    w->held += bytes;
}

// A block is counted by the size the allocator gives it (malloc_usable_size),
// which free and realloc read back from the allocator too: no header of our
// own, which cost 16 bytes on each of the engine's many small objects (a
// tenth of a large document's page objects).
void *meteredMalloc(void *user, size_t size)
{
  auto *m = static_cast<Meter *>(user);
  if (!mayGoOn(size))
    return nullptr;
  void *p = std::malloc(size);
  if (!p)
    return nullptr;
  size_t got = ::malloc_usable_size(p);
  m->used += got;
  charge(static_cast<long long>(got));
  return p;
}

void meteredFree(void *user, void *ptr)
{
  if (!ptr)
    return;
  auto *m = static_cast<Meter *>(user);
  size_t got = ::malloc_usable_size(ptr);
  m->used -= got;
  charge(-static_cast<long long>(got));
  std::free(ptr);
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
  size_t old = ::malloc_usable_size(ptr);
  if (size > old && !mayGoOn(size - old))
    return nullptr;
  void *q = std::realloc(ptr, size);
  if (!q)
    return nullptr;
  size_t got = ::malloc_usable_size(q);
  if (got >= old) {
    m->used += got - old;
    charge(static_cast<long long>(got - old));
  } else {
    m->used -= old - got;
    charge(-static_cast<long long>(old - got));
  }
  return q;
}

Meter *meterOf(fz_context *ctx)
{
  return ctx && ctx->alloc.malloc == meteredMalloc ? static_cast<Meter *>(ctx->alloc.user) : nullptr;
}

} // namespace

PageBudget pageBudget()
{
  std::lock_guard<std::mutex> lock(budgetMutex());
  return budgetSlot();
}

void setPageBudget(const PageBudget &budget)
{
  std::lock_guard<std::mutex> lock(budgetMutex());
  budgetSlot() = budget;
}

namespace {

fz_context *newContext(const fz_locks_context *locks, size_t storeBytes)
{
  auto *m = new (std::nothrow) Meter();
  if (!m)
    return nullptr;
  fz_alloc_context alloc{m, meteredMalloc, meteredRealloc, meteredFree};
  fz_context *ctx = fz_new_context(&alloc, locks, storeBytes);
  if (!ctx)
    delete m;
  return ctx;
}

} // namespace

fz_context *newMeteredContext()
{
  // With the engine's locks, so that the context can be cloned for threads.
  return newContext(engineLocks(), FZ_STORE_DEFAULT);
}

fz_context *newSingleThreadMeteredContext(size_t storeBytes)
{
  // The engine's default locks do nothing: every allocation and reference
  // count of a shared context takes a lock, which threads working side by
  // side would otherwise contend for.
  return newContext(nullptr, storeBytes);
}

size_t meteredBytes(fz_context *ctx)
{
  Meter *m = meterOf(ctx);
  return m ? m->used.load() : 0;
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

CancelPoll setCancelPoll(CancelPoll poll, void *user, void **previousUser)
{
  CancelPoll previous = tPoll;
  if (previousUser)
    *previousUser = tPollUser;
  tPoll = poll;
  tPollUser = user;
  tLastPoll = 0;
  return previous;
}

fz_cookie *pageWorkCookie(fz_context *ctx)
{
  return meterOf(ctx) && tWork ? tWork->cookie : nullptr;
}

PageWork::PageWork(fz_context *ctx) : state_(nullptr), owner_(false)
{
  if (!meterOf(ctx))
    return;
  if (tWork) {
    state_ = tWork;
    ++state_->joined;
    return;
  }
  start(Own{});
}

PageWork::PageWork(fz_context *ctx, const Own &own) : state_(nullptr), owner_(false)
{
  if (meterOf(ctx))
    start(own);
}

void PageWork::start(const Own &own)
{
  PageBudget b = pageBudget();
  auto *w = new PageWorkState();
  if (own.cookie)
    w->cookie = own.cookie;
  double now = nowSeconds();
  w->started = now - own.spent;
  w->limit = static_cast<long long>(std::min<size_t>(b.bytes, INT64_MAX / 2));
  w->deadline = w->started + b.seconds;
  w->outer = tWork;
  if (PageWorkState *outer = w->outer) {
    outer->pausedAt = now;
    outer->paused = true;
  }
  if (gCancel.load(std::memory_order_relaxed))
    w->halt(Stop::Cancelled);
  tWork = w;
  state_ = w;
  owner_ = true;
  startWatching(w);
}

PageWork::~PageWork()
{
  if (!state_)
    return;
  if (!owner_) {
    --state_->joined;
    return;
  }
  stopWatching(state_);
  tWork = state_->outer;
  if (PageWorkState *outer = state_->outer) {
    double stood = nowSeconds() - outer->pausedAt;
    outer->pausedFor += stood;
    outer->deadline = outer->deadline.load() + stood;
    outer->paused = false;
  }
  delete state_;
}

fz_cookie *PageWork::cookie()
{
  return state_ ? state_->cookie : nullptr;
}

PageWork::Stop PageWork::stopped() const
{
  if (!state_)
    return Stop::None;
  Stop stop = state_->stop.load();
  // A deadline passed since the last look is seen here too.
  if (stop == Stop::None && gCancel.load(std::memory_order_relaxed))
    return Stop::Cancelled;
  if (stop == Stop::None && !state_->paused.load() && nowSeconds() > state_->deadline.load())
    return Stop::Time;
  return stop;
}

double PageWork::elapsed() const
{
  if (!state_)
    return 0;
  return nowSeconds() - state_->started - state_->pausedFor;
}

long long PageWork::heldBytes() const
{
  return state_ ? state_->held : 0;
}

void pollCancelHere()
{
  pollAt(nowSeconds());
}

void stopPageWorkHere(PageWork::Stop why)
{
  if (PageWorkState *w = tWork; w && why != PageWork::Stop::None)
    w->halt(why);
}

} // namespace folio::model
