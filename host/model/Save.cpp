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
#include <sys/stat.h>
#include <unistd.h>

#include "Document.h"
#include "Engine.h"

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
      fresh = pdf_open_document(ctx, path);
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

  // The engine repairs a damaged file lazily, when it first meets a broken
  // object (a page's contents, say), and then reads every object again from
  // the file: crop boxes written before are gone, and those written after
  // went to page objects it no longer uses. Put each crop box set this
  // session on the page object the engine has now, where it is not there.
  auto putBackCropBoxes = [&] {
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
        // read-back below refuses a file that lost pages.
      }
    }
  };

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
  std::string temp = dir + "/." + baseName(target) + ".saving-XXXXXX";
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

  pdf_document *fresh = nullptr;
  try {
    if (incremental)
      copyOriginal(d, fd);
    if (::close(fd) != 0) {
      fd = -1;
      throw ModelError(ModelErrorKind::SaveFailed, std::strerror(errno));
    }
    fd = -1;
    pdf_write_options opts = pdf_default_write_options;
    if (incremental) {
      opts.do_incremental = 1;
    } else {
      opts.do_garbage = 1;
      opts.do_compress = 1;
    }
    opts.do_encrypt = PDF_ENCRYPT_KEEP;
    const char *tempPath = temp.c_str();
    engineCall(ctx, ModelErrorKind::SaveFailed, "cannot write",
               [&] { pdf_save_document(ctx, d.doc, tempPath, &opts); });
    if (!syncPath(temp, false))
      throw ModelError(ModelErrorKind::SaveFailed,
                       std::string("cannot flush (") + std::strerror(errno) + ")");
    // Read the new file back before it replaces anything. The engine repairs
    // a damaged file lazily, when a page's contents are first read, and such
    // a repair can take the catalog with it; the file written then has no
    // pages, and must not take the place of a good one.
    fresh = reopen(ctx, tempPath, d.password.c_str());
    int freshPages = 0;
    if (fresh) {
      try {
        engineCall(ctx, ModelErrorKind::Engine, "", [&] { freshPages = pdf_count_pages(ctx, fresh); });
      } catch (const ModelError &) {
        freshPages = 0;
      }
    }
    if (freshPages != d.pageCount)
      throw ModelError(ModelErrorKind::SaveFailed,
                       "the written file does not read back as the same document");
    if (::rename(temp.c_str(), target.c_str()) != 0)
      throw ModelError(ModelErrorKind::SaveFailed,
                       std::string("cannot replace it (") + std::strerror(errno) + ")");
  } catch (const ModelError &e) {
    if (fd >= 0)
      ::close(fd);
    if (fresh)
      pdf_drop_document(ctx, fresh);
    ::unlink(temp.c_str());
    saveFailed(target, e.what());
  }
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
