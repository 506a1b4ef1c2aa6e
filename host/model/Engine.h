// Engine.h: the model's private link to the PDF engine. Included only by the
// model's own sources; nothing outside host/model sees the engine's headers.
//
// Engine calls report failure by a long jump (fz_try / fz_catch). They are
// made only through engineCall(), whose body holds no C++ objects with
// destructors, and whose failure is turned into a ModelError after the jump.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

extern "C" {
#include <mupdf/fitz.h>
#include <mupdf/pdf.h>
}

#include "folio/FolioTypes.h"
#include "model/ModelError.h"

namespace folio::model {

class BBoxAhead;

struct DocumentImpl {
  fz_context *ctx = nullptr; // created with the engine's locks (engineLocks), so it can be cloned
  // Page bounding boxes measured ahead of the plug-in's calls by worker
  // threads (BBox.cpp); null while none run. Stopped by stopBBoxAhead.
  BBoxAhead *ahead = nullptr;
  int lastBBoxPage = -2;        // the page whose bounding box was asked for last
  int measuredAhead = 0;        // bounding boxes answered from the workers' work
  bool aheadUnreadable = false; // workers could not open the file (until it is saved)
  pdf_document *doc = nullptr;
  std::string path; // the file the engine reads
  // That file as it was when the engine opened it: bounding-box workers open
  // it again and must find the same bytes (a file replaced or rewritten
  // since does not match).
  struct FileIdentity {
    dev_t dev = 0;
    ino_t ino = 0;
    off_t size = -1;
    long long mtimeNs = 0;
    bool operator==(const FileIdentity &o) const
    {
      return dev == o.dev && ino == o.ino && size == o.size && mtimeNs == o.mtimeNs;
    }
  } file;
  std::string password; // the password that opened it ("" for none)
  bool encrypted = false;
  bool owner = false; // opened with the owner password
  int pageCount = 0;
  // Page objects by index, kept (the engine's own page map keeps references
  // it never gives back): the leaves of the page tree reachable once, in
  // order (PageTree.cpp). Built at open; built again when the engine has
  // repaired the file since, as a repair reads every object anew.
  std::vector<pdf_obj *> pageObjs;
  bool indexRepaired = false;
  int skippedPageNodes = 0; // page-tree references skipped (met before) by the last walk
  bool treeRebuilt = false; // the page tree was rebuilt flat in memory
  // Crop boxes exactly as the host set them this session: the engine keeps
  // reals as single floats, which cannot hold every 16.16 value.
  std::unordered_map<int, FixedRect> cropSet;
  int changesSinceTrim = 0; // crop boxes set since the engine's cache was last trimmed
  std::string lastEngineMessage;
};

struct PageImpl {
  pdf_page *page = nullptr;
  fz_display_list *list = nullptr; // contents and annotations in page space
};

// Runs `body` under the engine's error frame; on an engine error throws
// ModelError(kind, what + ": " + engine message). An engine error leaves
// `body` by a long jump, so `body` keeps no objects with destructors of its
// own (containers it fills are declared outside it).
template <class Body> void engineCall(fz_context *ctx, ModelErrorKind kind, const char *what, Body &&body)
{
  char message[256];
  message[0] = 0;
  volatile bool failed = false;
  volatile bool cppFailed = false;
  fz_try(ctx)
  {
    // A C++ exception must not leave the engine's error frame unpopped.
    try {
      body();
    } catch (...) {
      cppFailed = true;
    }
  }
  fz_catch(ctx)
  {
    failed = true;
    fz_strlcpy(message, fz_caught_message(ctx), sizeof message);
  }
  if (failed)
    throw ModelError(kind, std::string(what) + ": " + message);
  if (cppFailed)
    throw ModelError(kind, std::string(what) + ": out of memory");
}

// Opens the PDF file at `path` through a stream that serves seeks into the
// bytes it read last from memory (FileStream.cpp); engine errors propagate by
// the engine's long jump, as pdf_open_document's do.
pdf_document *openPdfFile(fz_context *ctx, const char *path);
fz_stream *openFileStream(fz_context *ctx, const char *path);

// Real mutexes for the engine's locks, shared by every context of the
// process: a context made with them can be cloned for other threads.
const fz_locks_context *engineLocks();

// The identity of the file open as `fd` (size -1 when it cannot be read).
DocumentImpl::FileIdentity fileIdentity(int fd);
// The identity of the file at `path` (size -1 when there is none).
DocumentImpl::FileIdentity fileIdentity(const std::string &path);
// Stops the bounding-box workers of `d` at once (their engine runs are
// aborted) and frees what they hold. Before the document or its context go.
void stopBBoxAhead(DocumentImpl &d) noexcept;

// Page-space rectangles between the engine (floats) and the interface (16.16).
Fixed toFixed(double v);
FixedRect toFixedRect(const fz_rect &r);
fz_rect toRect(const FixedRect &r); // normalised

// Builds (again) the index of page objects, rebuilding a page tree that is
// not sound; engine errors propagate as ModelError.
void buildPageIndex(DocumentImpl &d);
// Drops the index and its references.
void dropPageIndex(DocumentImpl &d);
// What a walk of the page tree found (see visitPages).
struct PageWalk {
  size_t pages = 0;  // leaves reached, each once
  int skipped = 0;   // page-tree references skipped (met before)
  bool sound = true; // no skipped nodes, every /Count right, not too deep
};
// Walks the page tree of `doc` as buildPageIndex does, without keeping the
// pages: `visit(index, page)` is given each page in order, borrowed for the
// call only. It runs under the engine's error frame (it may call the engine,
// and must keep no objects with destructors of its own) and may empty the
// engine's cache (trimObjectCache): the nodes on the walked path are kept.
// Changes nothing in `doc`; engine errors propagate as ModelError.
PageWalk visitPages(fz_context *ctx, pdf_document *doc, const std::function<void(size_t, pdf_obj *)> &visit);
// Drops the objects the engine parsed from the file of `doc` and keeps in
// its cache that nothing else holds; the engine reads them again from the
// file when they are asked for. Objects changed this session (in the
// document's incremental section), objects with a stream in memory, and
// everything of a document the engine has repaired are kept. Returns how
// many were dropped. Never calls the engine's error frame.
size_t trimObjectCache(fz_context *ctx, pdf_document *doc) noexcept;
// Crop boxes set between two trims of the engine's cache (a trim reads the
// whole cross-reference table, so it is not done on every change).
constexpr int kChangesBetweenTrims = 4096;
// Loads page `index` in the engine (throws ModelError).
pdf_page *loadEnginePage(DocumentImpl &d, int index);
// The page's dictionary, current even after a repair by the engine; throws
// ModelError(Engine) for a page that can no longer be reached.
pdf_obj *pageObject(DocumentImpl &d, int index, PageImpl *impl);
// Removes the keys with an empty name from `obj` and the dictionaries and
// arrays held directly in it. The engine writes an empty name followed by a
// number as one name ("/" "15" becomes "/15"), which shifts every later key
// of the dictionary when the file is read again; such keys mean nothing to a
// reader, so they are dropped before the object is written. Engine errors
// propagate.
void dropEmptyNameKeys(fz_context *ctx, pdf_obj *obj, int depth = 0);
// Media box, normalised; US Letter when missing or empty.
fz_rect pageMediaBox(DocumentImpl &d, pdf_obj *pageObj);
// The same inside an engine call of the caller's (engine errors propagate by
// the engine's long jump).
fz_rect pageMediaBoxIn(fz_context *ctx, pdf_obj *pageObj);

} // namespace folio::model
