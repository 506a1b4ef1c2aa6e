// Page.h: one page of a Document, as the host's PDPage.
//
// Pages are handed out by Document::acquirePage and counted: every acquire is
// matched by one Document::releasePage (PDPageRelease). A Page object stays
// valid for the life of its document, even at count zero (the engine's page
// data is dropped at count zero and reloaded on demand), so a page released
// more often than it was acquired is reported on stderr once and otherwise
// ignored. All rectangles are in page space (see PageRaster.h): PDF user
// space, y upwards, points as 16.16 Fixed, the page's /Rotate not applied.
//
// Not thread-safe: a document and its pages are used from one thread.
#pragma once

#include "folio/FolioTypes.h"
#include "model/CropHistory.h"
#include "model/PageRaster.h"

namespace folio::model {

class Document;
struct PageImpl;

class Page {
public:
  Document &document() const { return *doc_; }
  int index() const { return index_; } // zero-based

  // /MediaBox, inherited through the page-tree nodes; normalised so that
  // left <= right and bottom <= top. A page without any gets US Letter
  // (0 0 612 792), as readers do.
  FixedRect mediaBox() const;
  // /CropBox as stored (inherited through the page-tree nodes, normalised),
  // or the media box when none is set. It is NOT clipped to the media box, and
  // an all-zero crop box is answered as it is.
  FixedRect cropBox() const;
  // /Rotate, inherited, reduced to 0, 90, 180 or 270 (a value that is not a
  // multiple of 90 is answered as stored, so callers can refuse it).
  PDRotate rotate() const;

  // Writes /CropBox on the page object itself exactly as given (no clipping,
  // no normalisation). A box that would show nothing of the page is not
  // written and the page keeps the crop box it has: one whose intersection
  // with the media box (after swapping inverted corners) is empty or has no
  // width or no height, the all-zero box included. Does not notify: callers
  // follow it with notifyContentsDidChange, as the plug-in does (a refused
  // box is still followed by its notification). The
  // change is recorded in the document's history (CropHistory.h).
  void setCropBox(const FixedRect &cropBox);

  // The box the page shows: the crop box clipped to the media box. When that
  // is empty (an all-zero crop box, as the plug-in's cancel restoration
  // writes, or a crop box wholly outside the media box), the page shows its
  // whole media box.
  FixedRect shownBox() const;

  // Sets PDDocNeedsSave and PDDocIsModified on the document and tells its
  // observers that this page changed.
  void notifyContentsDidChange();

  // The bounding box of the marks painted on the page (contents and
  // annotations), in page space:
  //  - tight: strokes with their real width and caps, curves by their drawn
  //    outline, text by its glyph outlines; exact to 0.25 pt;
  //  - clipped to the media box: marks outside the crop box but on the media
  //    box count (a user cropping to content wants to see them); marks off
  //    the media box do not;
  //  - white paint does not count (a white background is not content): a
  //    mark counts where it leaves a pixel that is not pure white;
  //  - a page with no marks answers its current crop box, so cropping a blank
  //    page to its content leaves it as it is;
  //  - a page whose contents take more than the page budget (Budget.h) of
  //    time or memory to interpret or measure is taken as one without
  //    measurable marks (its crop box), and the document's note sink is told
  //    so, naming the page. Cancelled by cancelPageWork(), it throws
  //    ModelError(Engine).
  FixedRect bbox();

  // The page's whole media box rendered at `zoom` pixels per point with its
  // rotation applied (see PageRaster.h). Throws ModelError(Engine) on failure,
  // when the raster would exceed 16384 pixels in either direction, or when
  // the drawing takes more than the page budget (Budget.h).
  PageRaster render(double zoom);

  // The current acquire count (for tests and diagnostics).
  int acquireCount() const { return acquires_; }

  Page(const Page &) = delete;
  Page &operator=(const Page &) = delete;
  ~Page();

private:
  friend class Document;
  friend PageImpl *&pageImplSlot(Page &page);
  // The crop box the page object itself holds, and putting one back (no
  // record); for the history.
  CropState ownCropState() const;
  void restoreCropState(const CropState &state);
  Page(Document &doc, int index);
  FixedRect measureBBox(); // bbox() without the budget's verdict (BBox.cpp)
  Document *doc_;
  int index_;
  int acquires_ = 0;
  bool overReleaseReported_ = false;
  PageImpl *impl_ = nullptr; // engine data, loaded when the page is drawn or measured
};

} // namespace folio::model
