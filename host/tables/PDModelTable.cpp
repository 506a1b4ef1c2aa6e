// PDModelTable.cpp: the "PDModel" table, one thin adapter per entry. Every
// adapter catches everything: a failure answers 0, null or an all-zero
// rectangle, never an exception across the interface.
#include "tables/PDModelTable.h"

#include "folio/PDModelHFT.h"
#include "model/BBoxMargin.h"
#include "model/ModelHandles.h"

namespace folio::tables {

namespace {

using namespace folio::model;

const FixedRect kNoRect = {0, 0, 0, 0};

FSInt32 docGetFlags(PDDoc doc)
{
  try {
    Document *d = fromPDDoc(doc);
    return d ? d->flags() : 0;
  } catch (...) {
    return 0;
  }
}

FSFile docGetFile(PDDoc doc)
{
  try {
    Document *d = fromPDDoc(doc);
    return d ? toFSFile(&d->file()) : nullptr;
  } catch (...) {
    return nullptr;
  }
}

FSInt32 docGetNumPages(PDDoc doc)
{
  try {
    Document *d = fromPDDoc(doc);
    return d ? d->pageCount() : 0;
  } catch (...) {
    return 0;
  }
}

PDPage docAcquirePage(PDDoc doc, FSInt32 pageNum)
{
  try {
    Document *d = fromPDDoc(doc);
    return d ? toPDPage(d->acquirePage(pageNum)) : nullptr;
  } catch (...) {
    return nullptr;
  }
}

FSUns32 docGetPermissions(PDDoc doc)
{
  try {
    Document *d = fromPDDoc(doc);
    return d ? d->permissions() : 0;
  } catch (...) {
    return 0;
  }
}

void pageNotifyContentsDidChange(PDPage page)
{
  try {
    if (Page *p = fromPDPage(page))
      p->notifyContentsDidChange();
  } catch (...) {
  }
}

void pageRelease(PDPage page)
{
  try {
    if (Page *p = fromPDPage(page))
      p->document().releasePage(p);
  } catch (...) {
  }
}

PDRotate pageGetRotate(PDPage page)
{
  try {
    Page *p = fromPDPage(page);
    return p ? p->rotate() : 0;
  } catch (...) {
    return 0;
  }
}

// Writes `get(page)` to `out`, or the all-zero rectangle on any failure.
template <class Get> void answerRect(PDPage page, FixedRect *out, Get get)
{
  if (!out)
    return;
  try {
    Page *p = fromPDPage(page);
    *out = p ? get(*p) : kNoRect;
  } catch (...) {
    *out = kNoRect;
  }
}

void pageGetMediaBox(PDPage page, FixedRect *box)
{
  answerRect(page, box, [](Page &p) { return p.mediaBox(); });
}

void pageGetCropBox(PDPage page, FixedRect *box)
{
  answerRect(page, box, [](Page &p) { return p.cropBox(); });
}

void pageSetCropBox(PDPage page, FixedRect box)
{
  try {
    if (Page *p = fromPDPage(page))
      p->setCropBox(box);
  } catch (...) {
  }
}

void pageGetBBox(PDPage page, FixedRect *box)
{
  // The bounding box with the user's margin (bbox-margin) around it.
  answerRect(page, box, [](Page &p) { return bboxWithMargin(p); });
}

template <class Fn> FSProc entry(Fn fn)
{
  return reinterpret_cast<FSProc>(fn);
}

} // namespace

std::vector<HFTEntry> makePDModelTable()
{
  std::vector<HFTEntry> t(PDModelNUMSELECTORS, nullptr);
  t[PDDocGetFlagsSEL] = entry(static_cast<PDDocGetFlagsSELPROTO>(docGetFlags));
  t[PDDocGetFileSEL] = entry(static_cast<PDDocGetFileSELPROTO>(docGetFile));
  t[PDDocGetNumPagesSEL] = entry(static_cast<PDDocGetNumPagesSELPROTO>(docGetNumPages));
  t[PDDocAcquirePageSEL] = entry(static_cast<PDDocAcquirePageSELPROTO>(docAcquirePage));
  t[PDDocGetPermissionsSEL] = entry(static_cast<PDDocGetPermissionsSELPROTO>(docGetPermissions));
  t[PDPageNotifyContentsDidChangeSEL] =
      entry(static_cast<PDPageNotifyContentsDidChangeSELPROTO>(pageNotifyContentsDidChange));
  t[PDPageReleaseSEL] = entry(static_cast<PDPageReleaseSELPROTO>(pageRelease));
  t[PDPageGetRotateSEL] = entry(static_cast<PDPageGetRotateSELPROTO>(pageGetRotate));
  t[PDPageGetMediaBoxSEL] = entry(static_cast<PDPageGetMediaBoxSELPROTO>(pageGetMediaBox));
  t[PDPageGetCropBoxSEL] = entry(static_cast<PDPageGetCropBoxSELPROTO>(pageGetCropBox));
  t[PDPageSetCropBoxSEL] = entry(static_cast<PDPageSetCropBoxSELPROTO>(pageSetCropBox));
  t[PDPageGetBBoxSEL] = entry(static_cast<PDPageGetBBoxSELPROTO>(pageGetBBox));
  return t;
}

} // namespace folio::tables
