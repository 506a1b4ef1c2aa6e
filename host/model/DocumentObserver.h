// DocumentObserver.h: how the rest of the host hears that a document changed.
//
// The view layer implements it to redraw the views that show a changed page.
// Observers are not owned by the document: remove one before destroying it.
// Calls happen synchronously on the thread that made the change (the host's
// user-interface thread).
#pragma once

namespace folio::model {

class Document;

class DocumentObserver {
public:
  virtual ~DocumentObserver() = default;

  // Page `pageIndex` (zero-based) of `doc` changed: its boxes or contents.
  // Sent by Page::notifyContentsDidChange (PDPageNotifyContentsDidChange),
  // after the document's flags were updated.
  virtual void pageChanged(Document &doc, int pageIndex) = 0;

  // The document was written to `path` (its flags were cleared first).
  virtual void documentSaved(Document &, const char * /*path*/) {}
};

} // namespace folio::model
