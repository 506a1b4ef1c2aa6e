// BBox.cpp: a page's bounding box (Page::measureBBox), and the workers that
// measure the following pages ahead. The measuring itself is InkBox.cpp.
//
// Measuring ahead: when the boxes of consecutive pages are asked for (a
// bounding-box command going through a document), the following pages are
// measured ahead by worker threads, one per core. Each opens the document's
// file again in an engine context of its own (no locks, nothing shared with
// the calling thread), and loads, draws and measures whole pages; the
// calling thread queues page numbers with the page object and geometry it
// holds, and a worker measures a page only when its own reading agrees. At
// most kWindow pages are ahead. The answers are the same as measuring on the
// calling thread: the same list, the same steps; a page without marks
// answers its crop box at the time of the call; a page whose measuring
// failed ahead, or whose reading did not agree, is measured again on the
// calling thread, so its error is reported as before. A call out of order, a
// save, the document's end or a cancel (Document::stopBackgroundWork) stop
// the workers at once: their engine runs are aborted through their fz_cookie.

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <thread>
#include <unistd.h>
#include <vector>

#include "model/BudgetEngine.h"
#include "model/Document.h"
#include "model/Engine.h"
#include "model/InkBox.h"
#include "model/PageEngine.h"

namespace folio::model {

namespace {

// ---- measuring ahead -------------------------------------------------------------

constexpr int kWindow = 6;                 // pages queued ahead at most
constexpr size_t kWorkerStore = 16u << 20; // each worker's resource store
// What a worker's reading may hold before it lets go of the objects it read
// (and reads them again when asked). A long document's pages accumulate and
// are worth letting go; a shorter one holds mostly what every page needs
// again (fonts, name trees, object streams), costly to read anew.
size_t workerHeldBound(int pageCount)
{
  return pageCount > 20000 ? size_t(24) << 20 : size_t(48) << 20;
}

// What the calling thread knows of a page when it queues it: the object the
// engine finds for it and the geometry its display list is built with. A
// worker measures the page only when its own reading of the file agrees.
struct PageKey {
  int num = 0;
  fz_rect media = fz_empty_rect;
  fz_rect bounds = fz_empty_rect;
  fz_matrix ctm = fz_identity;
  bool operator==(const PageKey &o) const
  {
    return num == o.num && std::memcmp(&media, &o.media, sizeof media) == 0 &&
           std::memcmp(&bounds, &o.bounds, sizeof bounds) == 0 && std::memcmp(&ctm, &o.ctm, sizeof ctm) == 0;
  }
};

// The key of page object `obj`, inside an engine call (engine errors
// propagate by its long jump).
PageKey pageKey(fz_context *ctx, pdf_obj *obj)
{
  PageKey k;
  k.num = pdf_to_num(ctx, obj);
  k.media = pageMediaBoxIn(ctx, obj);
  pdf_page_obj_transform(ctx, obj, &k.bounds, &k.ctm);
  return k;
}

struct AheadJob {
  int page = 0;
  PageKey key;
  fz_cookie cookie{};
  enum State { Queued, Running, Done } state = Queued;
  bool found = false, failed = false;
  fz_rect box = fz_empty_rect;
  PageWork::Stop stop = PageWork::Stop::None; // why the page's own work was stopped over budget
};

// Workers: how many threads measure ahead (0: none). One per core; the
// environment variable FOLIO_BBOX_THREADS overrides it.
int workerCount()
{
  if (const char *env = std::getenv("FOLIO_BBOX_THREADS"))
    return std::max(0, std::min(16, std::atoi(env)));
  unsigned n = std::thread::hardware_concurrency();
  return n ? static_cast<int>(std::min(n, 16u)) : 1;
}

// Whether workers can read `d` as the calling thread does: the file is the
// one the engine opened, and the engine finds pages by the tree as it is on
// disk (not repaired, not rebuilt in memory, nothing in it skipped).
bool readableAgain(DocumentImpl &d, int fd)
{
  return fd >= 0 && d.file.size >= 0 && fileIdentity(fd) == d.file && !d.treeRebuilt && !d.indexRepaired &&
         d.skippedPageNodes == 0 && !pdf_was_repaired(d.ctx, d.doc);
}

} // namespace

// Worker threads, each with an engine context and a reading of the document
// of its own (the file opened again), so that they share nothing with the
// calling thread or each other: no locks to contend for, and the pages'
// contents are read side by side. The calling thread only queues page
// numbers with their keys and waits for the answers.
class BBoxAhead {
public:
  BBoxAhead(DocumentImpl &d, int workers)
      : ctx_(d.ctx), password_(d.password), heldBound_(workerHeldBound(d.pageCount))
  {
    fd_ = ::open(d.path.c_str(), O_RDONLY | O_CLOEXEC);
    if (!readableAgain(d, fd_))
      return;
    // Each worker opens the very file the engine holds, through its own
    // descriptor (a name that stays with the file if it is renamed).
    source_ = "/proc/self/fd/" + std::to_string(fd_);
    for (int i = 0; i < workers; ++i) {
      try {
        threads_.emplace_back([this] { work(); });
      } catch (...) {
        break;
      }
    }
  }

  ~BBoxAhead()
  {
    {
      std::lock_guard<std::mutex> lock(m_);
      stop_ = true;
      for (auto &j : jobs_)
        j->cookie.abort = 1;
    }
    cv_.notify_all();
    for (std::thread &t : threads_)
      t.join();
    if (fd_ >= 0)
      ::close(fd_);
  }

  bool running() const { return !threads_.empty(); }
  // True when no worker could read the document (every page is then left to
  // the calling thread).
  bool unreadable()
  {
    std::lock_guard<std::mutex> lock(m_);
    return unreadable_ == static_cast<int>(threads_.size());
  }
  // The next page this expects to be asked for.
  int expected() const { return expected_; }
  bool has(int page)
  {
    std::lock_guard<std::mutex> lock(m_);
    return std::any_of(jobs_.begin(), jobs_.end(), [&](const auto &j) { return j->page == page; });
  }

  // Queues page `page` with its key.
  void add(int page, const PageKey &key)
  {
    auto job = std::make_unique<AheadJob>();
    job->page = page;
    job->key = key;
    {
      std::lock_guard<std::mutex> lock(m_);
      jobs_.push_back(std::move(job));
      next_ = page + 1;
    }
    cv_.notify_all();
  }

  int next() const { return next_; }
  void setNext(int page) { next_ = page; }
  // Starts with page `page`: the next to queue and to be asked for.
  void startAt(int page) { next_ = expected_ = page; }

  // Waits for page `page` (queued) while `topUp` queues more pages; returns
  // its result and forgets it. False when it was not measured ahead (it
  // failed there, its key did not match, or no worker could read the file);
  // `stop` tells a page whose own work went over its budget.
  template <class TopUp> bool take(int page, TopUp &&topUp, bool &found, fz_rect &box, PageWork::Stop &stop)
  {
    expected_ = page + 1;
    for (;;) {
      {
        std::unique_lock<std::mutex> lock(m_);
        auto it = std::find_if(jobs_.begin(), jobs_.end(), [&](const auto &j) { return j->page == page; });
        if (it == jobs_.end())
          return false;
        if ((*it)->state == AheadJob::Done) {
          stop = (*it)->stop;
          bool ok = !(*it)->failed || stop != PageWork::Stop::None;
          found = (*it)->found;
          box = (*it)->box;
          jobs_.erase(it);
          return ok;
        }
        if (unreadable_ == static_cast<int>(threads_.size())) {
          jobs_.erase(it);
          return false;
        }
        if (static_cast<int>(jobs_.size()) >= kWindow || !topUp.more()) {
          // The caller's own page work may be stopped meanwhile (its budget
          // or the user's cancel): then it stops waiting, and the workers too.
          cv_.wait_for(lock, std::chrono::milliseconds(20));
          pollCancelHere(); // the user's cancel, while the caller allocates nothing
          if (fz_cookie *mine = pageWorkCookie(ctx_); mine && mine->abort) {
            for (auto &j : jobs_)
              j->cookie.abort = 1;
            return false;
          }
          continue;
        }
      }
      topUp.one(); // reads the next page's key on this thread, outside the lock
    }
  }

private:
  // The next queued job, marked running; null when the workers stop.
  AheadJob *nextJob()
  {
    std::unique_lock<std::mutex> lock(m_);
    for (;;) {
      if (stop_)
        return nullptr;
      auto it = std::find_if(jobs_.begin(), jobs_.end(),
                             [](const auto &j) { return j->state == AheadJob::Queued; });
      if (it != jobs_.end()) {
        (*it)->state = AheadJob::Running;
        return it->get();
      }
      cv_.wait(lock);
    }
  }

  void finish(AheadJob *job, bool found, bool failed, fz_rect box, PageWork::Stop stop)
  {
    {
      std::lock_guard<std::mutex> lock(m_);
      job->stop = stop;
      job->found = found;
      job->failed = failed || job->cookie.abort; // an aborted run leaves a partial answer
      job->box = box;
      job->state = AheadJob::Done;
    }
    cv_.notify_all();
  }

  // Measures page `job->page` of `w` as the calling thread would: the same
  // page object and geometry (else it fails, and is measured there), its
  // display list, the same steps.
  static bool measureJob(DocumentImpl &w, AheadJob *job, bool &found, fz_rect &box)
  {
    fz_context *ctx = w.ctx;
    bool same = false;
    engineCall(ctx, ModelErrorKind::Engine, "", [&] {
      pdf_page *page = pdf_load_page(ctx, w.doc, job->page);
      fz_display_list *list = nullptr;
      fz_var(list);
      fz_try(ctx)
      {
        same = pageKey(ctx, page->obj) == job->key;
        if (same) {
          list = buildDisplayList(w, page, &job->cookie);
          // Within the media box as the calling thread holds it (in 16.16).
          found = measureInk(ctx, list, toRect(toFixedRect(job->key.media)), &job->cookie, box);
        }
      }
      fz_always(ctx)
      {
        fz_drop_display_list(ctx, list);
        fz_drop_page(ctx, reinterpret_cast<fz_page *>(page));
      }
      fz_catch(ctx)
      {
        fz_rethrow(ctx);
      }
    });
    return same;
  }

  // Opens the document again in a context of this thread's own; false when
  // it cannot, or does not read as the calling thread's does.
  bool openOwn(DocumentImpl &w)
  {
    w.ctx = newSingleThreadMeteredContext(kWorkerStore);
    if (!w.ctx)
      return false;
    // Warnings were given once, by the calling thread's reading.
    fz_set_warning_callback(w.ctx, nullptr, nullptr);
    fz_set_error_callback(w.ctx, nullptr, nullptr);
    bool ok = false;
    const char *source = source_.c_str();
    const char *password = password_.c_str();
    try {
      engineCall(w.ctx, ModelErrorKind::Engine, "", [&] {
        w.doc = openPdfFile(w.ctx, source);
        // Asked once: asking again tries the empty password anew.
        ok = !pdf_needs_password(w.ctx, w.doc) || pdf_authenticate_password(w.ctx, w.doc, password);
        ok = ok && !pdf_was_repaired(w.ctx, w.doc);
      });
    } catch (const ModelError &) {
      ok = false;
    }
    return ok;
  }

  void work()
  {
    DocumentImpl w;
    if (!openOwn(w)) {
      {
        std::lock_guard<std::mutex> lock(m_);
        ++unreadable_;
      }
      cv_.notify_all();
    } else {
      while (AheadJob *job = nextJob()) {
        bool found = false, failed = false;
        fz_rect box = fz_empty_rect;
        PageWork::Stop stop = PageWork::Stop::None;
        {
          // The page's own budget, on this thread; its cookie is the job's,
          // which a cancel aborts too.
          PageWork work(w.ctx, PageWork::Own{&job->cookie, 0});
          try {
            failed = !measureJob(w, job, found, box);
          } catch (const ModelError &) {
            failed = true;
          }
          stop = work.stopped();
        }
        finish(job, found, failed, box, stop);
        // The engine keeps every object it has read (a long document's pages
        // would all stay): past a bound, let go of those nothing holds. Not
        // sooner: reading them again, object streams whole, costs more than
        // it saves.
        if (meteredBytes(w.ctx) > heldBound_)
          trimObjectCache(w.ctx, w.doc);
      }
    }
    if (w.ctx) {
      pdf_drop_document(w.ctx, w.doc);
      w.doc = nullptr;
      dropMeteredContext(w.ctx);
      w.ctx = nullptr;
    }
  }

  fz_context *ctx_; // the calling thread's
  std::string password_;
  size_t heldBound_; // bytes a worker's reading holds before it lets go
  int fd_ = -1;
  std::string source_;
  std::vector<std::thread> threads_;
  std::mutex m_;
  std::condition_variable cv_;
  std::deque<std::unique_ptr<AheadJob>> jobs_; // in page order; at most kWindow
  bool stop_ = false;
  int unreadable_ = 0; // workers that could not read the document
  int next_ = 0;       // the next page to queue
  int expected_ = 0;   // the page after the last one asked for
};

void stopBBoxAhead(DocumentImpl &d) noexcept
{
  delete d.ahead;
  d.ahead = nullptr;
}

void Document::stopBackgroundWork()
{
  stopBBoxAhead(*impl_);
}

int Document::pagesMeasuredAhead() const
{
  return impl_->measuredAhead;
}

namespace {

// Queues the pages after those already ahead, one at a time; a page whose
// key cannot be read is left to the calling thread.
struct TopUp {
  DocumentImpl &d;
  BBoxAhead &ahead;
  bool more() const { return ahead.next() < d.pageCount; }
  void one()
  {
    int page = ahead.next();
    PageKey key;
    try {
      pdf_obj *obj = pageObject(d, page, nullptr);
      engineCall(d.ctx, ModelErrorKind::Engine, "", [&] { key = pageKey(d.ctx, obj); });
    } catch (const ModelError &) {
      ahead.setNext(page + 1); // measured on the calling thread when asked for
      return;
    }
    ahead.add(page, key);
  }
};

} // namespace

FixedRect Page::measureBBox()
{
  DocumentImpl &d = doc_->impl();
  fz_context *ctx = d.ctx;
  // Measuring ahead starts with the second call in a row for consecutive
  // pages; any other call stops it.
  if (d.ahead && d.ahead->expected() != index_)
    stopBBoxAhead(d);
  bool started = false;
  if (!d.ahead && !d.aheadUnreadable && d.lastBBoxPage == index_ - 1 && index_ + 1 < d.pageCount) {
    int workers = workerCount();
    if (workers > 0) {
      d.ahead = new BBoxAhead(d, workers);
      if (!d.ahead->running()) {
        stopBBoxAhead(d);
      } else {
        // The workers open the file and start on the pages after this one,
        // which is measured here meanwhile.
        d.ahead->startAt(index_ + 1);
        TopUp topUp{d, *d.ahead};
        for (int k = 0; k < kWindow && topUp.more(); ++k)
          topUp.one();
        started = true;
      }
    }
  }
  d.lastBBoxPage = index_;
  if (d.ahead && !started) {
    TopUp topUp{d, *d.ahead};
    if (!d.ahead->has(index_) && d.ahead->next() == index_)
      topUp.one();
    bool found = false;
    fz_rect box = fz_empty_rect;
    PageWork::Stop stop = PageWork::Stop::None;
    bool ok = d.ahead->take(index_, topUp, found, box, stop);
    if (d.ahead->unreadable())
      d.aheadUnreadable = true; // not tried again for this reading of the file
    if (index_ + 1 >= d.pageCount || d.aheadUnreadable)
      stopBBoxAhead(d); // the last page: nothing left to measure ahead
    if (ok)
      ++d.measuredAhead;
    if (ok && stop != PageWork::Stop::None) {
      stopPageWorkHere(stop); // bbox() gives the verdict of the page's own work
      return cropBox();
    }
    if (ok)
      return found ? toFixedRect(box) : cropBox(); // a page without marks: its crop box as it is now
    // not measured ahead (its key did not match, measuring failed, or the
    // file could not be read again): measured here, as without workers
  }
  fz_display_list *list = pageDisplayList(*this);
  fz_rect media = toRect(mediaBox());
  bool found = false;
  fz_rect box = fz_empty_rect;
  engineCall(ctx, ModelErrorKind::Engine, "Cannot measure the page contents",
             [&] { found = measureInk(ctx, list, media, pageWorkCookie(ctx), box); });
  // A page without marks answers its crop box as it is now.
  return found ? toFixedRect(box) : cropBox();
}

} // namespace folio::model
