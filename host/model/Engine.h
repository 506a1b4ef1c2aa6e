// Engine.h: the model's private link to the PDF engine. Included only by the
// model's own sources; nothing outside host/model sees the engine's headers.
//
// Engine calls report failure by a long jump (fz_try / fz_catch). They are
// made only through engineCall(), whose body holds no C++ objects with
// destructors, and whose failure is turned into a ModelError after the jump.
#pragma once

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
  int lastBBoxPage = -2; // the page whose bounding box was asked for last
  pdf_document *doc = nullptr;
  std::string path;     // the file the engine reads
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

// Real mutexes for the engine's locks, shared by every context of the
// process: a context made with them can be cloned for other threads.
const fz_locks_context *engineLocks();
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

} // namespace folio::model
