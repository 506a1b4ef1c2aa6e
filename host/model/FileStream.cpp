// FileStream.cpp: the stream the engine reads a document's file through.
//
// The engine reads an object by seeking to its offset and parsing from
// there. Its own file stream gives every seek to the system and drops what
// it had read, so each object parsed cost a seek and one or two reads of the
// file, even when the object lay in the bytes just read; parsing the pages of
// a large document (opening it, checking a saved file) spent a third of its
// time in those calls. This stream keeps the last 64 KiB read and serves a
// seek that lands inside them from memory; it reads with pread, so it keeps
// no file position of its own.
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "model/Engine.h"

namespace folio::model {

namespace {

constexpr size_t kBufferSize = 64 * 1024;

struct FileState {
  int fd = -1;
  int64_t start = 0; // file offset of buffer[0]
  size_t len = 0;    // bytes of the file in buffer
  unsigned char buffer[kBufferSize];
};

int nextFile(fz_context *ctx, fz_stream *stm, size_t)
{
  auto *st = static_cast<FileState *>(stm->state);
  ssize_t n;
  do {
    n = ::pread(st->fd, st->buffer, kBufferSize, stm->pos);
  } while (n < 0 && errno == EINTR);
  if (n < 0) {
    st->len = 0;
    stm->rp = stm->wp = st->buffer;
    fz_throw(ctx, FZ_ERROR_GENERIC, "read error: %s", std::strerror(errno));
  }
  st->start = stm->pos;
  st->len = static_cast<size_t>(n);
  stm->rp = st->buffer;
  stm->wp = st->buffer + n;
  stm->pos += n;
  if (n == 0)
    return EOF;
  return *stm->rp++;
}

void seekFile(fz_context *ctx, fz_stream *stm, int64_t offset, int whence)
{
  auto *st = static_cast<FileState *>(stm->state);
  int64_t target = offset;
  if (whence == SEEK_CUR) {
    target = stm->pos - (stm->wp - stm->rp) + offset;
  } else if (whence == SEEK_END) {
    struct stat info {};
    if (::fstat(st->fd, &info) != 0)
      fz_throw(ctx, FZ_ERROR_GENERIC, "cannot seek: %s", std::strerror(errno));
    target = static_cast<int64_t>(info.st_size) + offset;
  }
  if (target < 0)
    fz_throw(ctx, FZ_ERROR_GENERIC, "cannot seek before the start of the file");
  if (st->len > 0 && target >= st->start && target <= st->start + static_cast<int64_t>(st->len)) {
    // Inside what was read last: no call to the system.
    stm->rp = st->buffer + (target - st->start);
    stm->wp = st->buffer + st->len;
    stm->pos = st->start + static_cast<int64_t>(st->len);
    return;
  }
  st->len = 0;
  stm->rp = stm->wp = st->buffer;
  stm->pos = target;
}

void dropFile(fz_context *ctx, void *state)
{
  auto *st = static_cast<FileState *>(state);
  ::close(st->fd);
  fz_free(ctx, st);
}

} // namespace

fz_stream *openFileStream(fz_context *ctx, const char *path)
{
  int fd = ::open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0)
    fz_throw(ctx, FZ_ERROR_GENERIC, "cannot open %s: %s", path, std::strerror(errno));
  FileState *st = nullptr;
  fz_try(ctx)
  {
    st = static_cast<FileState *>(fz_malloc(ctx, sizeof(FileState)));
    st->fd = fd;
    st->start = 0;
    st->len = 0;
  }
  fz_catch(ctx)
  {
    ::close(fd);
    fz_rethrow(ctx);
  }
  // fz_new_stream drops the state when it fails.
  fz_stream *stm = fz_new_stream(ctx, st, nextFile, dropFile);
  stm->seek = seekFile;
  return stm;
}

pdf_document *openPdfFile(fz_context *ctx, const char *path)
{
  fz_stream *file = openFileStream(ctx, path);
  pdf_document *doc = nullptr;
  fz_try(ctx)
  {
    doc = pdf_open_document_with_stream(ctx, file);
  }
  fz_always(ctx)
  {
    fz_drop_stream(ctx, file);
  }
  fz_catch(ctx)
  {
    fz_rethrow(ctx);
  }
  return doc;
}

} // namespace folio::model
