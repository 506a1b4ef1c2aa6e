// BudgetTests.cpp: the page budget belongs to the thread that runs the
// work: each page work has its own deadline and byte count, cancel stops
// every live one, and a page measured ahead by a worker thread is stopped
// by its own budget.
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <malloc.h>
#include <mutex>
#include <thread>

#include "ModelTestSupport.h"
#include "model/BudgetEngine.h"
#include "model/Page.h"

namespace folio::model {
namespace {

namespace gen = folio::pdfgen;

// Sets the budget for the life of the object and puts the old one back.
class BudgetScope {
public:
  BudgetScope(double seconds, size_t bytes) : old_(pageBudget())
  {
    PageBudget b;
    b.seconds = seconds;
    b.bytes = bytes;
    setPageBudget(b);
  }
  ~BudgetScope() { setPageBudget(old_); }

private:
  PageBudget old_;
};

// A metered context, dropped at the end of the test.
struct Metered {
  fz_context *ctx = newMeteredContext();
  ~Metered() { dropMeteredContext(ctx); }
  // The engine's allocator of the context, called as the engine calls it.
  void *alloc(size_t n) { return ctx->alloc.malloc(ctx->alloc.user, n); }
  void release(void *p) { ctx->alloc.free(ctx->alloc.user, p); }
};

// Waits (without a clock: the watchdog's verdict is what counts) until the
// work's cookie is aborted; false if that takes more than ten minutes,
// which only a missing stop can.
bool waitForAbort(PageWork &work)
{
  for (int i = 0; i < 600 * 200; ++i) {
    if (__atomic_load_n(&work.cookie()->abort, __ATOMIC_RELAXED))
      return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return false;
}

// Lets `n` threads meet.
class Meeting {
public:
  explicit Meeting(int n) : left_(n) {}
  void arrive()
  {
    std::unique_lock<std::mutex> lock(m_);
    if (--left_ == 0)
      cv_.notify_all();
    else
      cv_.wait(lock, [&] { return left_ == 0; });
  }

private:
  std::mutex m_;
  std::condition_variable cv_;
  int left_;
};

TEST(ModelBudget, WorkOnAnotherThreadStopsAtItsOwnDeadlineWhileThisThreadIsIdle)
{
  Metered m;
  ASSERT_NE(m.ctx, nullptr);
  BudgetScope budget(0.05, size_t(64) << 20);
  PageWork::Stop stop = PageWork::Stop::None;
  bool aborted = false;
  std::thread worker([&] {
    PageWork work(m.ctx);
    aborted = waitForAbort(work);
    stop = work.stopped();
  });
  // This thread runs no page work meanwhile.
  EXPECT_EQ(pageWorkCookie(m.ctx), nullptr);
  worker.join();
  EXPECT_TRUE(aborted);
  EXPECT_EQ(stop, PageWork::Stop::Time);
}

TEST(ModelBudget, TwoWorksOnTwoThreadsCountTheirOwnBytes)
{
  Metered m;
  ASSERT_NE(m.ctx, nullptr);
  // A block counts what the allocator gives it (a little more than asked);
  // the budget leaves room for two blocks of 1 MB and their rounding.
  BudgetScope budget(1000, (size_t(2) << 20) + (size_t(64) << 10));
  Meeting allocated(2), counted(2);
  long long heldA = -1, heldB = -1;
  long long givenA = 0, givenB = 0; // bytes the allocator gave the blocks
  PageWork::Stop stopA = PageWork::Stop::None, stopB = PageWork::Stop::None;
  bool gotA = false, gotB = true;
  std::thread a([&] {
    PageWork work(m.ctx);
    void *p = m.alloc(size_t(1) << 20);
    gotA = p != nullptr;
    givenA = p ? static_cast<long long>(malloc_usable_size(p)) : 0;
    allocated.arrive(); // both hold their blocks now
    heldA = work.heldBytes();
    stopA = work.stopped();
    counted.arrive();
    m.release(p);
  });
  std::thread b([&] {
    PageWork work(m.ctx);
    void *p1 = m.alloc(size_t(1) << 20);
    void *p2 = m.alloc(size_t(1) << 20); // over this work's 2 MB with p1 and the next
    void *p3 = p1 && p2 ? m.alloc(size_t(1) << 20) : nullptr;
    gotB = p3 != nullptr;
    for (void *q : {p1, p2})
      givenB += q ? static_cast<long long>(malloc_usable_size(q)) : 0;
    allocated.arrive();
    heldB = work.heldBytes();
    stopB = work.stopped();
    counted.arrive();
    m.release(p1);
    m.release(p2);
  });
  a.join();
  b.join();
  EXPECT_TRUE(gotA);
  EXPECT_FALSE(gotB);
  EXPECT_GE(givenA, 1 << 20);
  EXPECT_GE(givenB, 2 << 20);
  EXPECT_EQ(heldA, givenA);
  EXPECT_EQ(heldB, givenB);
  EXPECT_EQ(stopA, PageWork::Stop::None); // the other thread's bytes are not this one's
  EXPECT_EQ(stopB, PageWork::Stop::Memory);
}

TEST(ModelBudget, CancelStopsEveryLiveWorkAtOnce)
{
  Metered m;
  ASSERT_NE(m.ctx, nullptr);
  BudgetScope budget(1000, size_t(64) << 20);
  Meeting started(3);
  PageWork::Stop stops[2] = {PageWork::Stop::None, PageWork::Stop::None};
  bool aborted[2] = {false, false};
  std::thread threads[2];
  for (int i = 0; i < 2; ++i)
    threads[i] = std::thread([&, i] {
      PageWork work(m.ctx);
      started.arrive();
      aborted[i] = waitForAbort(work);
      stops[i] = work.stopped();
    });
  started.arrive();
  cancelPageWork();
  for (auto &t : threads)
    t.join();
  clearCancelPageWork();
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(aborted[i]) << i;
    EXPECT_EQ(stops[i], PageWork::Stop::Cancelled) << i;
  }
  // Once cleared, a new work runs.
  PageWork after(m.ctx);
  EXPECT_EQ(after.stopped(), PageWork::Stop::None);
}

TEST(ModelBudget, WorkOfItsOwnInsideAnotherIsNotChargedToIt)
{
  Metered m;
  ASSERT_NE(m.ctx, nullptr);
  BudgetScope budget(1000, size_t(64) << 20);
  PageWork outer(m.ctx);
  void *kept = nullptr;
  {
    PageWork own(m.ctx, PageWork::Own{});
    EXPECT_NE(own.cookie(), outer.cookie());
    kept = m.alloc(size_t(3) << 20);
    ASSERT_NE(kept, nullptr);
    EXPECT_GE(malloc_usable_size(kept), size_t(3) << 20);
    EXPECT_EQ(own.heldBytes(), static_cast<long long>(malloc_usable_size(kept)));
    {
      PageWork joined(m.ctx); // joins the current work: the own one
      EXPECT_EQ(joined.cookie(), own.cookie());
    }
  }
  EXPECT_EQ(outer.heldBytes(), 0);
  EXPECT_EQ(pageWorkCookie(m.ctx), outer.cookie());
  long long given = static_cast<long long>(malloc_usable_size(kept));
  m.release(kept); // freed under the outer work: it holds less than at its start
  EXPECT_EQ(outer.heldBytes(), -given);
  EXPECT_EQ(outer.stopped(), PageWork::Stop::None);
}

struct PollState {
  std::atomic<int> calls{0};
  std::thread::id thread;
  std::atomic<bool> otherThread{false};
};

bool pollSaysStop(void *user)
{
  auto *s = static_cast<PollState *>(user);
  if (std::this_thread::get_id() != s->thread)
    s->otherThread = true;
  return ++s->calls >= 2;
}

TEST(ModelBudget, CancelPollStopsTheWorkOfItsThreadOnly)
{
  Metered m;
  ASSERT_NE(m.ctx, nullptr);
  BudgetScope budget(1000, size_t(64) << 20);
  PollState state;
  Meeting started(2), done(2);
  PageWork::Stop otherStop = PageWork::Stop::Cancelled;
  std::thread other([&] {
    PageWork work(m.ctx);
    started.arrive();
    done.arrive();
    for (int i = 0; i < 1000; ++i) // allocates as the polled thread does
      m.release(m.alloc(64));
    otherStop = work.stopped();
  });
  started.arrive();
  state.thread = std::this_thread::get_id();
  void *previousUser = &state;
  CancelPoll previous = setCancelPoll(pollSaysStop, &state, &previousUser);
  EXPECT_EQ(previous, nullptr);
  PageWork::Stop stop = PageWork::Stop::None;
  {
    PageWork work(m.ctx);
    // The engine allocates as it goes; the poll is asked between
    // allocations until it says stop, and then allocations are refused.
    for (long i = 0; i < 100000000L; ++i) {
      void *p = m.alloc(64);
      if (!p)
        break;
      m.release(p);
    }
    stop = work.stopped();
  }
  done.arrive();
  other.join();
  setCancelPoll(nullptr, nullptr);
  EXPECT_EQ(stop, PageWork::Stop::Cancelled);
  EXPECT_GE(state.calls.load(), 2);
  EXPECT_FALSE(state.otherThread.load());
  EXPECT_EQ(otherStop, PageWork::Stop::None);
  // The request is not kept past the works it stopped.
  PageWork next(m.ctx);
  EXPECT_EQ(next.stopped(), PageWork::Stop::None);
}

// ---- a page measured ahead by a worker thread ------------------------------------

class ModelBudgetAhead : public modeltest::ModelTest {};

TEST_F(ModelBudgetAhead, PageMeasuredAheadIsStoppedByItsOwnBudget)
{
  // Pages 1, 2, 4, 5: one rectangle. Page 3: five million filled
  // rectangles, more than its budget allows in time or in memory.
  const std::string ink = "<< /Length 22 >>\nstream\n100 200 200 200 re f\n\nendstream";
  auto pageObj = [](int contents) {
    return "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Contents " + std::to_string(contents) +
           " 0 R >>";
  };
  std::vector<std::string> o = {"<< /Type /Catalog /Pages 2 0 R >>",
                                "<< /Type /Pages /Kids [3 0 R 4 0 R 5 0 R 6 0 R 7 0 R] /Count 5 >>",
                                pageObj(8),
                                pageObj(8),
                                pageObj(9),
                                pageObj(8),
                                pageObj(8),
                                ink,
                                gen::flateStream("", "10 20 30 40 re f\n", 5000000)};
  std::string file = path("slow-third.pdf");
  modeltest::writeFile(file, gen::rawPdf(o, "/Root 1 0 R"));
  setenv("FOLIO_BBOX_THREADS", "2", 1);
  auto doc = Document::open(file);
  unsetenv("FOLIO_BBOX_THREADS");
  std::vector<std::string> notes;
  doc->setNoteSink([&](const std::string &n) { notes.push_back(n); });
  auto box = [&](int i) {
    Page *p = doc->acquirePage(i);
    FixedRect r = p->bbox();
    doc->releasePage(p);
    return r;
  };
  // Pages 1 and 2 start the workers; page 3 is taken up while page 2 is
  // asked for, or when it is asked for itself, in a work of its own, and is
  // stopped there or in its worker. No other page is charged for it.
  BudgetScope budget(5, size_t(256) << 20);
  EXPECT_RECT_NEAR(box(0), 100, 200, 300, 400, 0.5);
  EXPECT_RECT_NEAR(box(1), 100, 200, 300, 400, 0.5);
  EXPECT_TRUE(notes.empty()) << notes.front();
  FixedRect third = box(2);
  EXPECT_RECT_NEAR(third, 0, 0, 612, 792, 0);
  ASSERT_EQ(notes.size(), 1u);
  EXPECT_EQ(notes[0].rfind("Page 3 ", 0), 0u) << notes[0];
  EXPECT_NE(notes[0].find("It is taken as having no marks."), std::string::npos) << notes[0];
  EXPECT_RECT_NEAR(box(3), 100, 200, 300, 400, 0.5);
  EXPECT_RECT_NEAR(box(4), 100, 200, 300, 400, 0.5);
  EXPECT_EQ(notes.size(), 1u);
}

} // namespace
} // namespace folio::model
