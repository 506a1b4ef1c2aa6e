// DocumentFuzz.cpp: the document path of the host over arbitrary bytes.
#include "DocumentFuzz.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <sstream>
#include <vector>

#include "model/Document.h"
#include "model/ModelError.h"
#include "model/Page.h"

namespace folio::fuzz {

namespace {

using model::Document;
using model::ModelError;
using model::Page;

std::string gFolder; // the process's temporary folder, made on first use

void removeFolder()
{
  if (gFolder.empty())
    return;
  if (DIR *d = ::opendir(gFolder.c_str())) {
    while (dirent *e = ::readdir(d)) {
      std::string name = e->d_name;
      if (name != "." && name != "..")
        ::unlink((gFolder + "/" + name).c_str());
    }
    ::closedir(d);
  }
  ::rmdir(gFolder.c_str());
  gFolder.clear();
}

// A folder on a memory file system when there is one: every input is written
// and saved once, and the save flushes with fsync.
const std::string &folder()
{
  if (!gFolder.empty())
    return gFolder;
  std::vector<std::string> bases;
  if (const char *t = std::getenv("TMPDIR"))
    bases.push_back(t);
  bases.push_back("/dev/shm");
  bases.push_back("/tmp");
  for (const std::string &base : bases) {
    std::string tmpl = base + "/folio-fuzz-XXXXXX";
    std::vector<char> buf(tmpl.begin(), tmpl.end());
    buf.push_back(0);
    if (::mkdtemp(buf.data())) {
      gFolder = buf.data();
      std::atexit(removeFolder);
      break;
    }
  }
  return gFolder;
}

bool writeAll(const std::string &path, const uint8_t *data, size_t size)
{
  int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (fd < 0)
    return false;
  size_t done = 0;
  while (done < size) {
    ssize_t n = ::write(fd, data + done, size - done);
    if (n < 0 && errno == EINTR)
      continue;
    if (n <= 0) {
      ::close(fd);
      return false;
    }
    done += static_cast<size_t>(n);
  }
  return ::close(fd) == 0;
}

std::vector<std::string> folderEntries(const std::string &dir)
{
  std::vector<std::string> names;
  if (DIR *d = ::opendir(dir.c_str())) {
    while (dirent *e = ::readdir(d)) {
      std::string name = e->d_name;
      if (name != "." && name != "..")
        names.push_back(name);
    }
    ::closedir(d);
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string show(const FixedRect &r)
{
  std::ostringstream s;
  s << r.left << ' ' << r.bottom << ' ' << r.right << ' ' << r.top;
  return s.str();
}

Fixed clampFixed(int64_t v)
{
  return static_cast<Fixed>(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX));
}

// A crop box inside `media` (an eighth of each extent in from every side).
FixedRect insetBox(const FixedRect &media)
{
  int64_t w = int64_t(media.right) - media.left, h = int64_t(media.top) - media.bottom;
  FixedRect r;
  r.left = clampFixed(media.left + w / 8);
  r.right = clampFixed(media.right - w / 8);
  r.bottom = clampFixed(media.bottom + h / 8);
  r.top = clampFixed(media.top - h / 8);
  return r;
}

// The engine keeps reals as single floats: a crop box read back from a saved
// file is the written one to float precision.
bool nearFixed(Fixed a, Fixed b)
{
  int64_t d = std::llabs(int64_t(a) - b);
  int64_t mag = std::max(std::llabs(a), std::llabs(b));
  return d <= std::max<int64_t>(2, mag >> 22);
}

bool nearBox(const FixedRect &a, const FixedRect &b)
{
  return nearFixed(a.left, b.left) && nearFixed(a.bottom, b.bottom) && nearFixed(a.right, b.right) &&
         nearFixed(a.top, b.top);
}

struct Broken {
  std::string what;
};

void require(bool condition, const std::string &what)
{
  if (!condition)
    throw Broken{what};
}

// Reads and checks the boxes and rotation of page `i`.
void visitPage(Document &doc, int i, bool withBBox, FixedRect &written)
{
  Page *page = doc.acquirePage(i);
  struct Release {
    Document &doc;
    Page *page;
    ~Release() { doc.releasePage(page); }
  } release{doc, page};
  std::string where = "page " + std::to_string(i + 1) + ": ";
  FixedRect media = page->mediaBox();
  require(media.left <= media.right && media.bottom <= media.top,
          where + "media box not normalised: " + show(media));
  FixedRect crop = page->cropBox();
  (void)crop;
  PDRotate rot = page->rotate();
  require(rot >= 0 && rot < 360, where + "rotation outside 0..359: " + std::to_string(rot));
  FixedRect shown = page->shownBox();
  (void)shown;
  if (withBBox) {
    FixedRect b = page->bbox();
    (void)b;
  }
  written = insetBox(media);
  page->setCropBox(written);
  page->notifyContentsDidChange();
  FixedRect back = page->cropBox();
  require(std::memcmp(&back, &written, sizeof back) == 0,
          where + "crop box " + show(written) + " reads back as " + show(back));
}

} // namespace

FuzzOutcome runDocumentPath(const uint8_t *data, size_t size)
{
  FuzzOutcome out;
  const std::string &dir = folder();
  if (dir.empty()) {
    out.ok = false;
    out.failure = "no temporary folder";
    return out;
  }
  const std::string in = dir + "/in.pdf", saved = dir + "/out.pdf";
  ::unlink(saved.c_str());
  if (!writeAll(in, data, size)) {
    out.ok = false;
    out.failure = std::string("cannot write the input: ") + std::strerror(errno);
    return out;
  }

  try {
    std::unique_ptr<Document> doc;
    try {
      doc = Document::open(in);
    } catch (const ModelError &e) {
      out.refusal = e.what();
    }
    if (doc) {
      out.opened = true;
      out.pageCount = doc->pageCount();
      require(out.pageCount > 0, "opened with " + std::to_string(out.pageCount) + " pages");
      int visit = std::min(out.pageCount, kMaxPages);
      std::vector<FixedRect> written(static_cast<size_t>(visit));
      std::vector<bool> visited(static_cast<size_t>(visit), false);
      for (int i = 0; i < visit; ++i) {
        try {
          visitPage(*doc, i, i < kMaxBBoxPages, written[static_cast<size_t>(i)]);
          visited[static_cast<size_t>(i)] = true;
        } catch (const ModelError &) {
          // A page the engine cannot read is skipped, as the host skips it.
        }
      }
      bool savedOk = false;
      try {
        doc->saveAs(saved);
        savedOk = true;
      } catch (const ModelError &e) {
        require(e.kind() == model::ModelErrorKind::SaveFailed,
                std::string("save failed with a message of another kind: ") + e.what());
        struct stat st {};
        require(::stat(saved.c_str(), &st) != 0, "a failed save left the target behind");
      }
      doc.reset();
      std::vector<std::string> left = folderEntries(dir);
      std::vector<std::string> expect =
          savedOk ? std::vector<std::string>{"in.pdf", "out.pdf"} : std::vector<std::string>{"in.pdf"};
      require(left == expect, "temporary files left beside the save (" + std::to_string(left.size()) +
                                  " entries in the folder)");
      if (savedOk) {
        std::unique_ptr<Document> again;
        try {
          again = Document::open(saved);
        } catch (const ModelError &e) {
          require(false, std::string("the saved file does not open again: ") + e.what());
        }
        require(again->pageCount() == out.pageCount, "the saved file has " +
                                                         std::to_string(again->pageCount()) + " pages, not " +
                                                         std::to_string(out.pageCount));
        for (int i = 0; i < visit; ++i) {
          if (!visited[static_cast<size_t>(i)])
            continue;
          Page *p = again->acquirePage(i);
          FixedRect back = p->cropBox();
          again->releasePage(p);
          require(nearBox(back, written[static_cast<size_t>(i)]),
                  "page " + std::to_string(i + 1) + ": saved crop box " + show(written[size_t(i)]) +
                      " reads back as " + show(back));
        }
        out.saved = true;
      }
    }
  } catch (const Broken &b) {
    out.ok = false;
    out.failure = b.what;
  } catch (const ModelError &e) {
    out.ok = false;
    out.failure = std::string("unexpected model error: ") + e.what();
  } catch (const std::exception &e) {
    out.ok = false;
    out.failure = std::string("exception: ") + e.what();
  } catch (...) {
    out.ok = false;
    out.failure = "unknown exception";
  }
  ::unlink(in.c_str());
  ::unlink(saved.c_str());
  return out;
}

} // namespace folio::fuzz
