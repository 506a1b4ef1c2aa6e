// Document.h: a PDF document of the host (the host's PDDoc), on the PDF
// engine.
//
// Ownership: Document::open returns the only owner; destroying the document
// closes it (its Page objects, its File and every PDPage handle of it become
// invalid). Documents are independent of one another; each one is used from
// one thread at a time. Errors are thrown as ModelError with a message for
// the user; nothing here prints except the over-release report of a page.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "folio/FolioTypes.h"
#include "model/CropHistory.h"
#include "model/DocumentObserver.h"
#include "model/FileSys.h"
#include "model/Page.h"
#include "model/PasswordPort.h"

namespace folio::model {

struct DocumentImpl;

class Document {
public:
  // Opens the PDF at `path`. An encrypted file that does not open with the
  // empty password asks `passwords` (attempt 1, 2, ... up to `maxAttempts`);
  // without a port, or when the port gives up at once, the open fails with
  // PasswordRequired; when it gives up after a wrong answer, or after
  // `maxAttempts` wrong answers, with WrongPassword.
  // A damaged file is repaired when possible (flags() then has
  // PDDocWasRepaired and PDDocRequiresFullSave). Other failures: MissingFile,
  // PermissionDenied, EmptyFile, NotPdf, Truncated, Damaged.
  static std::unique_ptr<Document> open(const std::string &path, PasswordPort *passwords = nullptr,
                                        int maxAttempts = 3);
  ~Document();

  const std::string &path() const;
  int pageCount() const;

  // Page `index` (zero-based), acquired for the caller; throws PageOutOfRange.
  Page *acquirePage(int index);
  // Matches one acquirePage. Over-release is reported on stderr once per
  // page, never fatal.
  void releasePage(Page *page);

  // PDDocFlags bits: PDDocNeedsSave and PDDocIsModified after a change (until
  // the next save), PDDocWasRepaired and PDDocRequiresFullSave for a repaired
  // file.
  FSInt32 flags() const;
  void setFlags(FSInt32 bitsToSet);
  void clearFlags(FSInt32 bitsToClear);

  // The host's permission word: every bit (pdPermAll) for an unencrypted
  // document or one opened with its owner password, else the document's /P
  // value. The engine does not enforce permissions; the host does, with this
  // word.
  FSUns32 permissions() const;
  bool isEncrypted() const;
  // True when the password that opened it was the owner password.
  bool openedAsOwner() const;

  // What the user should know about how the file was read (pages of the
  // page tree skipped, say), one sentence each; empty for a sound file.
  const std::vector<std::string> &openNotes() const { return notes_; }

  // Where notes about the document's pages go while it is worked on (a page
  // over its budget, say): to `sink` when one is set, else to standard error.
  void setNoteSink(std::function<void(const std::string &)> sink) { noteSink_ = std::move(sink); }
  void note(const std::string &message);

  // The document's file (owned by the document).
  File &file();

  // Writes the document to its own path (Save) or to `path` (Save As; the
  // document then lives there). Incremental (the original bytes kept as a
  // prefix, the changed objects appended) when the engine allows it,
  // otherwise a full rewrite; `forceFull` asks for a full rewrite. The new
  // file is written beside the target, flushed with fsync and renamed over it,
  // so the target is untouched on any failure (ModelError SaveFailed).
  // Encryption is kept. A symbolic link is followed: the file it names is
  // replaced, the link stays. Clears PDDocNeedsSave and PDDocIsModified.
  // Returns true when the save was incremental.
  bool save(bool forceFull = false);
  bool saveAs(const std::string &path, bool forceFull = false);

  // The history of crop-box changes (see CropHistory.h). undo() and redo()
  // take the newest step back / do it again: every page of the step gets its
  // box back (a page that had no crop box of its own loses the one written
  // since), then each is notified as changed, as a crop is (the document
  // becomes modified, views redraw). False when there is nothing to undo /
  // redo. Saving keeps the history; a reopened (reverted) document starts
  // with an empty one.
  CropHistory &history() { return history_; }
  bool undo();
  bool redo();
  // Stops work the model does ahead of the caller (page bounding boxes
  // measured by worker threads) at once; for a cancelled command.
  void stopBackgroundWork();
  // Page bounding boxes answered from work done ahead by worker threads so
  // far (for tests and benchmarks: the answers are the same either way).
  int pagesMeasuredAhead() const;

  // Observers are not owned; adding one twice registers it once.
  void addObserver(DocumentObserver *observer);
  void removeObserver(DocumentObserver *observer);

  // Whether an address handed back through the C interface is a live object
  // of the model: a document not yet destroyed, or a page or the file of one.
  // The function tables check every PDDoc, PDPage and FSFile they are given
  // with these (tables/HandleChecks.h), so a null, stale or foreign handle
  // gives the entry's failure result instead of a crash. Null when it is not.
  // Thread-safe.
  static Document *liveDocument(const void *address);
  static Page *livePage(const void *address);
  static File *liveFile(const void *address);

  // Engine internals for the model's own sources.
  DocumentImpl &impl() { return *impl_; }

  Document(const Document &) = delete;
  Document &operator=(const Document &) = delete;

private:
  friend class Page;
  Document();
  void notifyPageChanged(int index);
  bool applyStep(bool undo);
  std::unique_ptr<DocumentImpl> impl_;
  std::vector<std::unique_ptr<Page>> pages_; // sparse: created on first acquire
  std::vector<DocumentObserver *> observers_;
  FSInt32 flags_ = 0;
  std::unique_ptr<File> file_;
  std::vector<std::string> notes_;
  std::function<void(const std::string &)> noteSink_;
  CropHistory history_;
};

} // namespace folio::model
