// DocumentUndo.cpp: undo and redo of crop-box changes on a document, and the
// page's own crop box as the history records and restores it.
#include "model/Document.h"
#include "model/Engine.h"

namespace folio::model {

CropState Page::ownCropState() const
{
  DocumentImpl &d = doc_->impl();
  auto set = d.cropSet.find(index_);
  if (set != d.cropSet.end())
    return CropState{true, set->second};
  pdf_obj *obj = pageObject(d, index_, impl_);
  CropState state;
  fz_rect box = fz_empty_rect;
  engineCall(d.ctx, ModelErrorKind::Engine, "Cannot read the crop box", [&] {
    pdf_obj *own = pdf_dict_get(d.ctx, obj, PDF_NAME(CropBox));
    state.own = pdf_is_array(d.ctx, own);
    if (state.own)
      box = pdf_to_rect(d.ctx, own);
  });
  if (state.own)
    state.box = toFixedRect(box);
  return state;
}

void Page::restoreCropState(const CropState &state)
{
  CropHistory::Applying quiet(doc_->history());
  if (state.own) {
    setCropBox(state.box);
    return;
  }
  // The page had no crop box of its own: take away the one written since, so
  // that it inherits one or shows its media box again.
  DocumentImpl &d = doc_->impl();
  pdf_obj *obj = pageObject(d, index_, impl_);
  engineCall(d.ctx, ModelErrorKind::Engine, "Cannot set the crop box",
             [&] { pdf_dict_del(d.ctx, obj, PDF_NAME(CropBox)); });
  d.cropSet.erase(index_);
}

bool Document::applyStep(bool undo)
{
  Document &doc = *this;
  std::vector<CropChange> changes;
  std::string label;
  CropHistory &h = doc.history();
  if (!(undo ? h.takeUndo(changes, label) : h.takeRedo(changes, label)))
    return false;
  // Every box first, then the notices: observers see the whole step done.
  for (const CropChange &c : changes) {
    Page *page = doc.acquirePage(c.page);
    try {
      page->restoreCropState(c.after);
    } catch (...) {
      doc.releasePage(page);
      throw;
    }
    doc.releasePage(page);
  }
  for (const CropChange &c : changes) {
    Page *page = doc.acquirePage(c.page);
    page->notifyContentsDidChange();
    doc.releasePage(page);
  }
  return true;
}

bool Document::undo()
{
  return applyStep(true);
}

bool Document::redo()
{
  return applyStep(false);
}

} // namespace folio::model
