// Document.cpp: opening, pages, flags, permissions and observers of a
// document (saving is in Save.cpp).
#include "model/Document.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_set>

#include "model/BudgetEngine.h"
#include "model/Engine.h"

namespace folio::model {

namespace {

void quietWarning(void *user, const char *message)
{
  auto *d = static_cast<DocumentImpl *>(user);
  d->lastEngineMessage = message ? message : "";
}

// What the first and last bytes of the file say, before the engine sees it.
struct FileLook {
  bool header = false;  // "%PDF-" in the first 1024 bytes
  bool trailer = false; // "%%EOF" in the last 1024 bytes
};

FileLook lookAt(const std::string &path)
{
  FileLook look;
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0)
    return look;
  char buf[1025];
  ssize_t n = ::pread(fd, buf, 1024, 0);
  if (n > 0) {
    buf[n] = 0;
    look.header = memmem(buf, static_cast<size_t>(n), "%PDF-", 5) != nullptr;
  }
  struct stat st {};
  if (::fstat(fd, &st) == 0) {
    off_t from = st.st_size > 1024 ? st.st_size - 1024 : 0;
    n = ::pread(fd, buf, 1024, from);
    if (n > 0)
      look.trailer = memmem(buf, static_cast<size_t>(n), "%%EOF", 5) != nullptr;
  }
  ::close(fd);
  return look;
}

std::string baseName(const std::string &path)
{
  size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::mutex gEngineMutex[FZ_LOCK_MAX];

void lockEngine(void *, int lock)
{
  gEngineMutex[lock].lock();
}

void unlockEngine(void *, int lock)
{
  gEngineMutex[lock].unlock();
}

const fz_locks_context gEngineLocks = {nullptr, lockEngine, unlockEngine};

// The addresses of the live documents, their pages and files (see
// Document::liveDocument). Never destroyed: documents may outlive static
// destruction at exit.
struct LiveObjects {
  std::mutex mutex;
  std::unordered_set<const void *> documents, pages, files;
};

LiveObjects &liveObjects()
{
  static auto *live = new LiveObjects;
  return *live;
}

void setLive(std::unordered_set<const void *> LiveObjects::*set, const void *address, bool live)
{
  LiveObjects &l = liveObjects();
  std::lock_guard<std::mutex> lock(l.mutex);
  if (live)
    (l.*set).insert(address);
  else
    (l.*set).erase(address);
}

bool isLive(std::unordered_set<const void *> LiveObjects::*set, const void *address)
{
  if (!address)
    return false;
  LiveObjects &l = liveObjects();
  std::lock_guard<std::mutex> lock(l.mutex);
  return (l.*set).count(address) != 0;
}

} // namespace

const fz_locks_context *engineLocks()
{
  return &gEngineLocks;
}

namespace {

DocumentImpl::FileIdentity identityOf(const struct stat &st)
{
  DocumentImpl::FileIdentity id;
  id.dev = st.st_dev;
  id.ino = st.st_ino;
  id.size = st.st_size;
  id.mtimeNs = static_cast<long long>(st.st_mtim.tv_sec) * 1000000000LL + st.st_mtim.tv_nsec;
  return id;
}

} // namespace

DocumentImpl::FileIdentity fileIdentity(int fd)
{
  struct stat st {};
  return ::fstat(fd, &st) == 0 ? identityOf(st) : DocumentImpl::FileIdentity{};
}

DocumentImpl::FileIdentity fileIdentity(const std::string &path)
{
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0 ? identityOf(st) : DocumentImpl::FileIdentity{};
}

Fixed toFixed(double v)
{
  double f = std::nearbyint(v * 65536.0);
  if (f >= 2147483647.0)
    return INT32_MAX;
  if (f <= -2147483648.0)
    return INT32_MIN;
  return static_cast<Fixed>(f);
}

FixedRect toFixedRect(const fz_rect &r)
{
  FixedRect f;
  f.left = toFixed(r.x0);
  f.bottom = toFixed(r.y0);
  f.right = toFixed(r.x1);
  f.top = toFixed(r.y1);
  return f;
}

fz_rect toRect(const FixedRect &r)
{
  double l = r.left / 65536.0, rt = r.right / 65536.0, t = r.top / 65536.0, b = r.bottom / 65536.0;
  return fz_make_rect(static_cast<float>(std::min(l, rt)), static_cast<float>(std::min(b, t)),
                      static_cast<float>(std::max(l, rt)), static_cast<float>(std::max(b, t)));
}

pdf_page *loadEnginePage(DocumentImpl &d, int index)
{
  // The engine finds the page by walking its page tree (its own page map
  // would make that faster but keeps objects it never frees).
  pdf_page *page = nullptr;
  engineCall(d.ctx, ModelErrorKind::Engine, "Cannot load the page",
             [&] { page = pdf_load_page(d.ctx, d.doc, index); });
  return page;
}

fz_rect pageMediaBoxIn(fz_context *ctx, pdf_obj *pageObj)
{
  fz_rect r = pdf_to_rect(ctx, pdf_dict_get_inheritable(ctx, pageObj, PDF_NAME(MediaBox)));
  return fz_is_empty_rect(r) ? fz_make_rect(0, 0, 612, 792) : r;
}

fz_rect pageMediaBox(DocumentImpl &d, pdf_obj *pageObj)
{
  fz_rect r = fz_empty_rect;
  engineCall(d.ctx, ModelErrorKind::Engine, "Cannot read the media box",
             [&] { r = pageMediaBoxIn(d.ctx, pageObj); });
  return r;
}

Document::Document() : impl_(std::make_unique<DocumentImpl>())
{
  setLive(&LiveObjects::documents, this, true);
}

Document::~Document()
{
  setLive(&LiveObjects::documents, this, false);
  if (file_)
    setLive(&LiveObjects::files, file_.get(), false);
  for (auto &p : pages_) {
    if (p)
      setLive(&LiveObjects::pages, p.get(), false);
  }
  DocumentImpl &d = *impl_;
  stopBBoxAhead(d);
  for (auto &p : pages_) {
    if (p && p->impl_) {
      fz_drop_display_list(d.ctx, p->impl_->list);
      fz_drop_page(d.ctx, reinterpret_cast<fz_page *>(p->impl_->page));
      delete p->impl_;
      p->impl_ = nullptr;
    }
  }
  if (d.ctx) {
    if (d.doc) {
      dropPageIndex(d);
      pdf_drop_document(d.ctx, d.doc);
    }
    dropMeteredContext(d.ctx);
  }
}

std::unique_ptr<Document> Document::open(const std::string &path, PasswordPort *passwords, int maxAttempts)
{
  const std::string name = baseName(path);
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0) {
    if (errno == EACCES)
      throw ModelError(ModelErrorKind::PermissionDenied,
                       "You do not have permission to open \"" + name + "\".");
    throw ModelError(ModelErrorKind::MissingFile, "The file \"" + name + "\" does not exist.");
  }
  if (S_ISDIR(st.st_mode))
    throw ModelError(ModelErrorKind::NotPdf, "\"" + name + "\" is a folder, not a PDF file.");
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0)
    throw ModelError(ModelErrorKind::PermissionDenied,
                     "You do not have permission to open \"" + name + "\".");
  ::close(fd);
  if (st.st_size == 0)
    throw ModelError(ModelErrorKind::EmptyFile, "The file \"" + name + "\" is empty.");
  FileLook look = lookAt(path);
  if (!look.header)
    throw ModelError(ModelErrorKind::NotPdf, "The file \"" + name + "\" is not a PDF file.");

  std::unique_ptr<Document> doc(new Document());
  DocumentImpl &d = *doc->impl_;
  d.path = path;
  d.ctx = newMeteredContext();
  if (!d.ctx)
    throw ModelError(ModelErrorKind::Engine, "Not enough memory to open \"" + name + "\".");
  fz_set_warning_callback(d.ctx, quietWarning, &d);
  fz_set_error_callback(d.ctx, quietWarning, &d);

  try {
    engineCall(d.ctx, ModelErrorKind::Damaged, "", [&] { d.doc = openPdfFile(d.ctx, path.c_str()); });
    d.file = fileIdentity(path);
  } catch (const ModelError &) {
    if (!look.trailer)
      throw ModelError(ModelErrorKind::Truncated,
                       "The file \"" + name + "\" is truncated: it ends too early.");
    throw ModelError(ModelErrorKind::Damaged,
                     "The file \"" + name + "\" is damaged and could not be repaired.");
  }

  // Passwords: the engine has already tried the empty one.
  int needs = 0;
  engineCall(d.ctx, ModelErrorKind::Damaged, "Cannot read the encryption", [&] {
    needs = pdf_needs_password(d.ctx, d.doc);
    d.encrypted = d.doc->crypt != nullptr;
  });
  if (needs) {
    int attempt = 1;
    for (;; ++attempt) {
      if (!passwords)
        throw ModelError(ModelErrorKind::PasswordRequired, "\"" + name + "\" is protected by a password.");
      if (attempt > maxAttempts)
        throw ModelError(ModelErrorKind::WrongPassword,
                         "The password for \"" + name + "\" is wrong; the document was not opened.");
      std::optional<std::string> pw = passwords->askPassword(path, attempt);
      if (!pw && attempt > 1) // the user gave a password, and it was wrong
        throw ModelError(ModelErrorKind::WrongPassword,
                         "The password for \"" + name + "\" is wrong; the document was not opened.");
      if (!pw)
        throw ModelError(ModelErrorKind::PasswordRequired,
                         "\"" + name + "\" is protected by a password and none was given.");
      int ok = 0;
      engineCall(d.ctx, ModelErrorKind::Engine, "Cannot check the password",
                 [&] { ok = pdf_authenticate_password(d.ctx, d.doc, pw->c_str()); });
      if (ok) {
        d.password = *pw;
        d.owner = (ok & 4) != 0;
        break;
      }
    }
  } else if (d.encrypted) {
    // Opened with the empty password: owner rights only if it is the owner's.
    int ok = 0;
    engineCall(d.ctx, ModelErrorKind::Engine, "Cannot check the password",
               [&] { ok = pdf_authenticate_password(d.ctx, d.doc, ""); });
    d.owner = (ok & 4) != 0;
    // A password given anyway is the owner's: with it every permission.
    std::optional<std::string> given = !d.owner && passwords ? passwords->givenPassword(path) : std::nullopt;
    if (given && !given->empty()) {
      engineCall(d.ctx, ModelErrorKind::Engine, "Cannot check the password",
                 [&] { ok = pdf_authenticate_password(d.ctx, d.doc, given->c_str()); });
      if (ok & 4) {
        d.owner = true;
        d.password = *given;
      }
    }
  }

  try {
    // The pages are what the page tree holds, not what it claims to hold.
    buildPageIndex(d);
    d.pageCount = static_cast<int>(d.pageObjs.size());
  } catch (const ModelError &) {
    throw ModelError(ModelErrorKind::Damaged,
                     "The file \"" + name + "\" is damaged and could not be repaired.");
  }
  if (d.pageCount <= 0) {
    if (!look.trailer)
      throw ModelError(ModelErrorKind::Truncated,
                       "The file \"" + name + "\" is truncated: it ends too early.");
    throw ModelError(ModelErrorKind::Damaged, "The file \"" + name + "\" has no pages that can be read.");
  }
  if (pdf_was_repaired(d.ctx, d.doc) || d.treeRebuilt)
    doc->flags_ |= PDDocWasRepaired | PDDocRequiresFullSave;
  if (d.skippedPageNodes > 0)
    doc->notes_.push_back("\"" + name + "\": " + std::to_string(d.skippedPageNodes) +
                          " part(s) of the page tree appear more than once or loop back into it and were "
                          "skipped; the " +
                          std::to_string(d.pageCount) +
                          " page(s) that can be reached are "
                          "shown, in order.");
  doc->pages_.resize(static_cast<size_t>(d.pageCount));
  doc->file_ = std::make_unique<File>(path, FileSys::defaultFileSys());
  setLive(&LiveObjects::files, doc->file_.get(), true);
  return doc;
}

const std::string &Document::path() const
{
  return file_->path();
}

int Document::pageCount() const
{
  return impl_->pageCount;
}

Document *Document::liveDocument(const void *address)
{
  return isLive(&LiveObjects::documents, address) ? static_cast<Document *>(const_cast<void *>(address))
                                                  : nullptr;
}

Page *Document::livePage(const void *address)
{
  return isLive(&LiveObjects::pages, address) ? static_cast<Page *>(const_cast<void *>(address)) : nullptr;
}

File *Document::liveFile(const void *address)
{
  return isLive(&LiveObjects::files, address) ? static_cast<File *>(const_cast<void *>(address)) : nullptr;
}

Page *Document::acquirePage(int index)
{
  if (index < 0 || index >= impl_->pageCount)
    throw ModelError(ModelErrorKind::PageOutOfRange,
                     "There is no page " + std::to_string(index + 1) + " in this document.");
  auto &slot = pages_[static_cast<size_t>(index)];
  if (!slot) {
    // Known as live before anyone can be handed it.
    std::unique_ptr<Page> fresh(new Page(*this, index));
    setLive(&LiveObjects::pages, fresh.get(), true);
    slot = std::move(fresh);
  }
  Page *p = slot.get();
  ++p->acquires_;
  return p;
}

void Document::releasePage(Page *page)
{
  if (!page)
    return;
  if (page->acquires_ <= 0) {
    if (!page->overReleaseReported_) {
      page->overReleaseReported_ = true;
      std::fprintf(stderr, "folio: page %d of \"%s\" released more often than acquired\n", page->index_ + 1,
                   baseName(path()).c_str());
    }
    return;
  }
  if (--page->acquires_ == 0 && page->impl_) {
    DocumentImpl &d = *impl_;
    fz_drop_display_list(d.ctx, page->impl_->list);
    fz_drop_page(d.ctx, reinterpret_cast<fz_page *>(page->impl_->page));
    delete page->impl_;
    page->impl_ = nullptr;
  }
}

FSInt32 Document::flags() const
{
  // The engine may repair a damaged file late, when it first reads a broken
  // object; the flags say so from then on.
  FSInt32 f = flags_;
  if (impl_->treeRebuilt || (impl_->doc && pdf_was_repaired(impl_->ctx, impl_->doc)))
    f |= PDDocWasRepaired | PDDocRequiresFullSave;
  return f;
}
void Document::setFlags(FSInt32 bits)
{
  flags_ |= bits;
}
void Document::clearFlags(FSInt32 bits)
{
  flags_ &= ~bits;
}

FSUns32 Document::permissions() const
{
  const DocumentImpl &d = *impl_;
  if (!d.encrypted || d.owner)
    return static_cast<FSUns32>(pdPermAll);
  int p = 0;
  try {
    engineCall(d.ctx, ModelErrorKind::Engine, "", [&] { p = pdf_document_permissions(d.ctx, d.doc); });
  } catch (const ModelError &) {
    p = 0;
  }
  return static_cast<FSUns32>(p);
}

bool Document::isEncrypted() const
{
  return impl_->encrypted;
}
bool Document::openedAsOwner() const
{
  return impl_->owner;
}

File &Document::file()
{
  return *file_;
}

void Document::note(const std::string &message)
{
  if (noteSink_)
    noteSink_(message);
  else
    std::fprintf(stderr, "folio: %s\n", message.c_str());
}

void Document::addObserver(DocumentObserver *o)
{
  if (o && std::find(observers_.begin(), observers_.end(), o) == observers_.end())
    observers_.push_back(o);
}

void Document::removeObserver(DocumentObserver *o)
{
  observers_.erase(std::remove(observers_.begin(), observers_.end(), o), observers_.end());
}

void Document::notifyPageChanged(int index)
{
  flags_ |= PDDocNeedsSave | PDDocIsModified;
  std::vector<DocumentObserver *> copy = observers_; // an observer may unsubscribe while told
  for (DocumentObserver *o : copy)
    if (std::find(observers_.begin(), observers_.end(), o) != observers_.end())
      o->pageChanged(*this, index);
}

} // namespace folio::model
