// Save.cpp: writing a document, safely.
//
// The new file is written beside the target under a temporary name, flushed
// with fsync and renamed over the target, so the target keeps its old bytes
// on any failure. An incremental save starts the temporary file with the
// bytes the engine read the document from and lets the engine append the
// changed objects. After a save the document is read again from the new file,
// so that the next incremental save appends to what is on disk now.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <sys/stat.h>
#include <unistd.h>

#include <system_error>
#include <thread>

#include "model/Document.h"
#include "model/Engine.h"
#include "model/UpdateXref.h"

namespace folio::model {

namespace {

std::string dirName(const std::string &path)
{
  size_t slash = path.find_last_of('/');
  if (slash == std::string::npos)
    return ".";
  if (slash == 0)
    return "/";
  return path.substr(0, slash);
}

std::string baseName(const std::string &path)
{
  size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

[[noreturn]] void saveFailed(const std::string &target, const std::string &why)
{
  throw ModelError(ModelErrorKind::SaveFailed, "The document could not be saved to \"" + baseName(target) +
                                                   "\": " + why + ". The file on disk was not changed.");
}

bool syncPath(const std::string &path, bool directory)
{
  int fd = ::open(path.c_str(), (directory ? O_RDONLY | O_DIRECTORY : O_RDWR) | O_CLOEXEC);
  if (fd < 0)
    return false;
  bool ok = ::fsync(fd) == 0 || (directory && errno == EINVAL);
  ::close(fd);
  return ok;
}

// fsync of a file on a thread of its own, from construction to wait() (or
// destruction): the caller goes on meanwhile.
class Flush {
public:
  explicit Flush(const std::string &path) : path_(path)
  {
    try {
      thread_ = std::thread([this] { err_ = syncPath(path_, false) ? 0 : (errno ? errno : EIO); });
    } catch (const std::system_error &) {
      err_ = syncPath(path_, false) ? 0 : (errno ? errno : EIO); // no thread: here and now
    }
  }
  ~Flush() { wait(); }
  Flush(const Flush &) = delete;
  Flush &operator=(const Flush &) = delete;
  // 0 when the file is on disk, else the error.
  int wait()
  {
    if (thread_.joinable())
      thread_.join();
    return err_;
  }

private:
  std::string path_;
  std::thread thread_;
  int err_ = 0;
};

// Copies the bytes the engine reads the document from into `fd`.
void copyOriginal(DocumentImpl &d, int fd)
{
  std::vector<unsigned char> buf(1 << 16);
  int64_t size = 0;
  fz_context *ctx = d.ctx;
  fz_stream *in = d.doc->file;
  engineCall(ctx, ModelErrorKind::SaveFailed, "cannot read the original", [&] {
    size = d.doc->file_size;
    fz_seek(ctx, in, 0, SEEK_SET);
  });
  int64_t done = 0;
  while (done < size) {
    size_t want = static_cast<size_t>(std::min<int64_t>(static_cast<int64_t>(buf.size()), size - done));
    size_t got = 0;
    unsigned char *p = buf.data();
    engineCall(ctx, ModelErrorKind::SaveFailed, "cannot read the original",
               [&] { got = fz_read(ctx, in, p, want); });
    if (got == 0)
      throw ModelError(ModelErrorKind::SaveFailed, "the original ends early");
    size_t off = 0;
    while (off < got) {
      ssize_t n = ::write(fd, p + off, got - off);
      if (n < 0) {
        if (errno == EINTR)
          continue;
        throw ModelError(ModelErrorKind::SaveFailed, std::strerror(errno));
      }
      off += static_cast<size_t>(n);
    }
    done += static_cast<int64_t>(got);
  }
}

// dropEmptyNameKeys on every object of the document; an object that cannot
// be read is left to the writer.
void dropEveryEmptyNameKey(DocumentImpl &d)
{
  fz_context *ctx = d.ctx;
  int count = 0;
  try {
    engineCall(ctx, ModelErrorKind::Engine, "", [&] { count = pdf_xref_len(ctx, d.doc); });
  } catch (const ModelError &) {
    return;
  }
  for (int num = 1; num < count; ++num) {
    try {
      engineCall(ctx, ModelErrorKind::Engine, "", [&] {
        pdf_obj *obj = pdf_load_object(ctx, d.doc, num);
        fz_try(ctx)
        {
          dropEmptyNameKeys(ctx, obj);
        }
        fz_always(ctx)
        {
          pdf_drop_obj(ctx, obj);
        }
        fz_catch(ctx)
        {
          fz_rethrow(ctx);
        }
      });
    } catch (const ModelError &) {
    }
  }
}

// The document read again from `path` with `password`; null on failure.
pdf_document *reopen(fz_context *ctx, const char *path, const char *password)
{
  pdf_document *fresh = nullptr;
  try {
    engineCall(ctx, ModelErrorKind::Engine, "", [&] {
      fresh = openPdfFile(ctx, path);
      // The file must open with the password that opened the document.
      if (pdf_needs_password(ctx, fresh) && !pdf_authenticate_password(ctx, fresh, password))
        fz_throw(ctx, FZ_ERROR_GENERIC, "the password no longer opens it");
    });
  } catch (const ModelError &) {
    pdf_drop_document(ctx, fresh);
    return nullptr;
  }
  return fresh;
}

// The crop box stored for a page (inherited), as the engine's floats; false
// when there is none.
bool storedCropBox(fz_context *ctx, pdf_obj *page, float out[4])
{
  pdf_obj *box = pdf_dict_get_inheritable(ctx, page, PDF_NAME(CropBox));
  if (!pdf_is_array(ctx, box))
    return false;
  for (int k = 0; k < 4; ++k)
    out[k] = pdf_to_real(ctx, pdf_array_get(ctx, box, k));
  return true;
}

// Reads the written document `fresh` back page by page: its page tree must be
// sound and hold the document's pages, each with a media box, a rotation and
// the crop box the document has. Returns why it is not, or "" when it reads
// back as the same document. Each page is checked as the walk meets it and
// not kept: the engine's cache of the written file is emptied as the walk
// goes, so that the check never holds a second copy of every page object
// beside the document's own.
std::string readBack(DocumentImpl &d, pdf_document *fresh)
{
  constexpr size_t kTrimEvery = 4096; // pages between two trims of the cache
  fz_context *ctx = d.ctx;
  std::string why;
  try {
    if (d.pageCount > 0)
      pageObject(d, 0, nullptr); // the index of the document is current
    const bool repaired = d.indexRepaired;
    const size_t count = static_cast<size_t>(d.pageCount);
    long firstBad = -1;     // the first page whose crop box differs
    int ends[2] = {-1, -1}; // object numbers of the first and the last page
    std::function<void(size_t, pdf_obj *)> visit = [&](size_t i, pdf_obj *theirs) {
      pdf_to_rect(ctx, pdf_dict_get_inheritable(ctx, theirs, PDF_NAME(MediaBox)));
      pdf_to_int(ctx, pdf_dict_get_inheritable(ctx, theirs, PDF_NAME(Rotate)));
      if (i < count && i < d.pageObjs.size()) {
        float want[4] = {0, 0, 0, 0}, have[4] = {0, 0, 0, 0};
        bool wantSet = false;
        auto set = d.cropSet.find(static_cast<int>(i));
        if (set != d.cropSet.end()) {
          const FixedRect &r = set->second;
          const double v[4] = {r.left / 65536.0, r.bottom / 65536.0, r.right / 65536.0, r.top / 65536.0};
          for (int k = 0; k < 4; ++k)
            want[k] = static_cast<float>(v[k]);
          wantSet = true;
        } else {
          wantSet = storedCropBox(ctx, d.pageObjs[i], want);
        }
        bool haveSet = storedCropBox(ctx, theirs, have);
        bool same = wantSet == haveSet;
        for (int k = 0; same && wantSet && k < 4; ++k)
          same = want[k] == have[k];
        if (!same && firstBad < 0)
          firstBad = static_cast<long>(i);
        if (i == 0)
          ends[0] = pdf_to_num(ctx, theirs);
        if (i + 1 == count)
          ends[1] = pdf_to_num(ctx, theirs);
      }
      if (i % kTrimEvery == kTrimEvery - 1)
        trimObjectCache(ctx, fresh);
    };
    PageWalk walk = visitPages(ctx, fresh, visit);
    if (!walk.sound && walk.pages > 0)
      why = "its page tree cannot be walked";
    else if (walk.pages != count)
      why = "it holds " + std::to_string(walk.pages) + " page(s) instead of " + std::to_string(d.pageCount);
    else if ((pdf_was_repaired(ctx, d.doc) != 0) != repaired)
      why = "the document was repaired while it was compared";
    else if (firstBad >= 0)
      why = "the crop box of page " + std::to_string(firstBad + 1) + " does not read back as it was set";
    // The engine finds pages by their number through the tree's counts:
    // the first and the last page must be the ones walked.
    if (why.empty() && d.pageCount > 0) {
      const int at[2] = {0, d.pageCount - 1};
      for (int k = 0; why.empty() && k < 2; ++k) {
        int found = 0;
        engineCall(ctx, ModelErrorKind::Engine, "",
                   [&] { found = pdf_to_num(ctx, pdf_lookup_page_obj(ctx, fresh, at[k])); });
        if (found != ends[k])
          why = "page " + std::to_string(at[k] + 1) + " cannot be found in it";
      }
    }
  } catch (const ModelError &e) {
    why = std::string("it cannot be read (") + e.what() + ")";
  }
  trimObjectCache(ctx, fresh);
  return why;
}

// The engine repairs a damaged file lazily, when it first meets a broken
// object (a page's contents, say), and then reads every object again from
// the file: crop boxes written before are gone, and those written after went
// to page objects it no longer uses. Puts each crop box set this session on
// the page object the engine has now, where it is not there.
void putCropBoxes(DocumentImpl &d)
{
  fz_context *ctx = d.ctx;
  for (const auto &entry : d.cropSet) {
    int index = entry.first;
    const FixedRect &r = entry.second;
    try {
      pdf_obj *obj = pageObject(d, index, nullptr);
      engineCall(ctx, ModelErrorKind::Engine, "", [&] {
        dropEmptyNameKeys(ctx, obj);
        pdf_obj *have = pdf_dict_get(ctx, obj, PDF_NAME(CropBox));
        const double want[4] = {r.left / 65536.0, r.bottom / 65536.0, r.right / 65536.0, r.top / 65536.0};
        bool same = pdf_array_len(ctx, have) == 4;
        for (int k = 0; same && k < 4; ++k)
          same = pdf_to_real(ctx, pdf_array_get(ctx, have, k)) == static_cast<float>(want[k]);
        if (!same) {
          pdf_obj *box = pdf_dict_put_array(ctx, obj, PDF_NAME(CropBox), 4);
          for (int k = 0; k < 4; ++k)
            pdf_array_push_real(ctx, box, want[k]);
        }
      });
    } catch (const ModelError &) {
      // A page the engine cannot find any more is left as it is; the
      // read-back refuses a file that lost pages.
    }
  }
}

// Writes `src` to `temp` (`fd` is open on it and is closed here, -1 after),
// incrementally (the original bytes, then the changed objects) or in full,
// then reads the written file back. Returns the written document, read
// again; throws ModelError(SaveFailed), with *readBackFailed set when the
// file was written but does not read back as the same document.
pdf_document *writeChecked(DocumentImpl &src, bool incremental, int &fd, const std::string &temp,
                           bool *readBackFailed)
{
  fz_context *ctx = src.ctx;
  if (incremental)
    copyOriginal(src, fd);
  int closed = ::close(fd);
  fd = -1;
  if (closed != 0)
    throw ModelError(ModelErrorKind::SaveFailed, std::strerror(errno));
  pdf_write_options opts = pdf_default_write_options;
  if (incremental) {
    opts.do_incremental = 1;
  } else {
    opts.do_garbage = 1;
    opts.do_compress = 1;
  }
  opts.do_encrypt = PDF_ENCRYPT_KEEP;
  const char *tempPath = temp.c_str();
  std::vector<PriorEntry> prior;
  if (incremental)
    engineCall(ctx, ModelErrorKind::SaveFailed, "cannot read the cross-reference table",
               [&] { priorEntries(ctx, src.doc, prior); });
  engineCall(ctx, ModelErrorKind::SaveFailed, "cannot write",
             [&] { pdf_save_document(ctx, src.doc, tempPath, &opts); });
  // What the update did not change is read from the original again when it
  // is needed: the read-back below does not come on top of it.
  if (incremental)
    trimObjectCache(ctx, src.doc);
  // The engine's table of an update that changed many pages would make
  // every later read of the file slow (see UpdateXref.h).
  if (incremental)
    joinUpdateRuns(ctx, src.doc, temp, prior);
  std::vector<PriorEntry>().swap(prior);
  // Flushed to disk while it is read back (the read-back reads what the
  // system holds of it already); both are done before it replaces anything.
  Flush flush(temp);
  // Read the new file back before it replaces anything. The engine repairs a
  // damaged file lazily, when a page's contents are first read, and such a
  // repair can take the catalog with it; the file written then has no pages,
  // and must not take the place of a good one.
  pdf_document *fresh = reopen(ctx, tempPath, src.password.c_str());
  std::string why = fresh ? readBack(src, fresh) : std::string("it does not open");
  if (int err = flush.wait(); err != 0) {
    if (fresh)
      pdf_drop_document(ctx, fresh);
    throw ModelError(ModelErrorKind::SaveFailed, std::string("cannot flush (") + std::strerror(err) + ")");
  }
  if (!why.empty()) {
    if (fresh)
      pdf_drop_document(ctx, fresh);
    *readBackFailed = true;
    throw ModelError(ModelErrorKind::SaveFailed,
                     "the written file does not read back as the same document (" + why + ")");
  }
  return fresh;
}

// A temporary name beside `target` that keeps within the folder's limit on
// the length of a name.
std::string temporaryTemplate(const std::string &dir, const std::string &target)
{
  static const std::string suffix = ".saving-XXXXXX";
  long max = ::pathconf(dir.c_str(), _PC_NAME_MAX);
  if (max <= 0)
    max = 255;
  std::string base = baseName(target);
  size_t room = static_cast<size_t>(max) - 1 - suffix.size();
  if (base.size() > room)
    base.resize(room);
  return dir + "/." + base + suffix;
}

} // namespace

bool Document::save(bool forceFull)
{
  return saveAs(path(), forceFull);
}

bool Document::saveAs(const std::string &requested, bool forceFull)
{
  DocumentImpl &d = *impl_;
  fz_context *ctx = d.ctx;
  stopBBoxAhead(d); // its display lists hold resources of the document the save replaces

  // Saving through a symbolic link replaces the file it points to, not the
  // link.
  std::string target = requested;
  struct stat link {};
  if (::lstat(requested.c_str(), &link) == 0 && S_ISLNK(link.st_mode)) {
    if (char *real = ::realpath(requested.c_str(), nullptr)) {
      target = real;
      std::free(real);
    }
  }

  auto canSaveIncrementally = [&] {
    if (forceFull || (flags() & PDDocRequiresFullSave))
      return false;
    int can = 0;
    try {
      engineCall(ctx, ModelErrorKind::Engine, "",
                 [&] { can = pdf_can_be_saved_incrementally(ctx, d.doc) && !pdf_was_repaired(ctx, d.doc); });
    } catch (const ModelError &) {
      can = 0;
    }
    return can != 0;
  };

  auto putBackCropBoxes = [&] { putCropBoxes(d); };

  // A full save writes every object, so none may keep an empty-name key;
  // reading them all may make the engine repair the file, so the crop boxes
  // are put back after it. When putting them back made it repair the file,
  // the save becomes a full one.
  bool incremental = canSaveIncrementally();
  if (!incremental)
    dropEveryEmptyNameKey(d);
  putBackCropBoxes();
  if (incremental && !canSaveIncrementally()) {
    incremental = false;
    dropEveryEmptyNameKey(d);
    putBackCropBoxes();
  }

  std::string dir = dirName(target);
  struct stat st {};
  if (::stat(dir.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
    saveFailed(target, "its folder does not exist");
  // Only a regular file is ever replaced: a device, a pipe, a socket or a
  // folder keeps its place.
  struct stat existing {};
  if (::stat(target.c_str(), &existing) == 0 && !S_ISREG(existing.st_mode))
    saveFailed(target, S_ISDIR(existing.st_mode) ? "it is a folder"
                                                 : "it is not a regular file (a device, a pipe or a socket)");
  std::string temp = temporaryTemplate(dir, target);
  std::vector<char> tempName(temp.begin(), temp.end());
  tempName.push_back(0);
  int fd = ::mkstemp(tempName.data());
  if (fd < 0)
    saveFailed(target, std::string("cannot write in its folder (") + std::strerror(errno) + ")");
  temp = tempName.data();
  // Keep the target's permission bits when it exists (mkstemp makes 0600).
  struct stat old {};
  if (::stat(target.c_str(), &old) == 0)
    ::fchmod(fd, old.st_mode & 07777);
  else
    ::fchmod(
        fd, 0644 & ~[] {
          mode_t m = ::umask(0);
          ::umask(m);
          return m;
        }());

  // An incremental write makes the engine take the written file's table as
  // the one the next update follows; the document stays on its own file
  // when this save fails, so it must follow that file's table again.
  const int64_t startxref = d.doc->startxref;
  pdf_document *fresh = nullptr;
  DocumentImpl retry; // the document read again from its file, for a second try
  retry.ctx = ctx;
  try {
    bool readBackFailed = false;
    try {
      fresh = writeChecked(d, incremental, fd, temp, &readBackFailed);
    } catch (const ModelError &) {
      // Only crop boxes change in this host. When the engine's repair of a
      // damaged file spoiled what it holds, the same changes made on the file
      // as it is on disk, appended to its bytes, may still give a document
      // that reads back: try that once.
      if (!readBackFailed || !pdf_was_repaired(ctx, d.doc))
        throw;
      retry.path = d.path;
      retry.password = d.password;
      retry.cropSet = d.cropSet;
      retry.doc = reopen(ctx, d.path.c_str(), d.password.c_str());
      if (!retry.doc)
        throw;
      buildPageIndex(retry);
      if (static_cast<int>(retry.pageObjs.size()) != d.pageCount || pdf_was_repaired(ctx, retry.doc) ||
          retry.treeRebuilt)
        throw;
      retry.pageCount = d.pageCount;
      putCropBoxes(retry);
      fd = ::open(temp.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
      if (fd < 0)
        throw;
      readBackFailed = false;
      fresh = writeChecked(retry, true, fd, temp, &readBackFailed);
    }
    if (::rename(temp.c_str(), target.c_str()) != 0)
      throw ModelError(ModelErrorKind::SaveFailed,
                       std::string("cannot replace it (") + std::strerror(errno) + ")");
  } catch (const ModelError &e) {
    d.doc->startxref = startxref;
    if (fd >= 0)
      ::close(fd);
    if (fresh)
      pdf_drop_document(ctx, fresh);
    dropPageIndex(retry);
    pdf_drop_document(ctx, retry.doc);
    ::unlink(temp.c_str());
    saveFailed(target, e.what());
  }
  dropPageIndex(retry);
  pdf_drop_document(ctx, retry.doc);
  syncPath(dir, true);

  // Read the document again from what is now on disk. Pages keep their
  // objects and acquire counts; their engine data is loaded again on demand.
  for (auto &p : pages_) {
    if (p && p->impl_) {
      fz_drop_display_list(ctx, p->impl_->list);
      fz_drop_page(ctx, reinterpret_cast<fz_page *>(p->impl_->page));
      delete p->impl_;
      p->impl_ = nullptr;
    }
  }
  // The document read back above reads the renamed file (it holds it open).
  bool reopened = fresh != nullptr;
  if (reopened) {
    dropPageIndex(d);
    pdf_drop_document(ctx, d.doc);
    d.doc = fresh;
    d.path = target;
    d.file = fileIdentity(target);
    d.aheadUnreadable = false;
    buildPageIndex(d);
  }
  file_->setPath(requested);
  flags_ &= ~(PDDocNeedsSave | PDDocIsModified);
  if (!reopened)
    flags_ |= PDDocRequiresFullSave;
  std::vector<DocumentObserver *> copy = observers_;
  for (DocumentObserver *o : copy)
    o->documentSaved(*this, requested.c_str());
  return incremental;
}

} // namespace folio::model
