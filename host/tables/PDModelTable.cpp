// PDModelTable.cpp: the "PDModel" table, one thin adapter per entry.
#include "tables/PDModelTable.h"

#include "core/Guard.h"
#include "folio/PDModelHFT.h"
#include "model/BBoxMargin.h"
#include "tables/HandleChecks.h"
#include "tables/TableBuilder.h"

namespace folio::tables {
namespace {

using model::Document;
using model::Page;

const FixedRect kNoRect = {0, 0, 0, 0};

FSInt32 PDDocGetFlagsImpl(PDDoc doc)
{
  return guardCall(FSInt32(0), [&] {
    Document *d = checkDoc(doc);
    return d ? d->flags() : 0;
  });
}

FSFile PDDocGetFileImpl(PDDoc doc)
{
  return guardCall(FSFile(nullptr), [&] {
    Document *d = checkDoc(doc);
    return d ? model::toFSFile(&d->file()) : nullptr;
  });
}

FSInt32 PDDocGetNumPagesImpl(PDDoc doc)
{
  return guardCall(FSInt32(0), [&] {
    Document *d = checkDoc(doc);
    return d ? d->pageCount() : 0;
  });
}

PDPage PDDocAcquirePageImpl(PDDoc doc, FSInt32 pageNum)
{
  return guardCall(PDPage(nullptr), [&] {
    Document *d = checkDoc(doc);
    return d ? model::toPDPage(d->acquirePage(pageNum)) : nullptr;
  });
}

FSUns32 PDDocGetPermissionsImpl(PDDoc doc)
{
  return guardCall(FSUns32(0), [&] {
    Document *d = checkDoc(doc);
    return d ? d->permissions() : 0u;
  });
}

void PDPageNotifyContentsDidChangeImpl(PDPage page)
{
  guardRun([&] {
    if (Page *p = checkPage(page))
      p->notifyContentsDidChange();
  });
}

void PDPageReleaseImpl(PDPage page)
{
  guardRun([&] {
    if (Page *p = checkPage(page))
      p->document().releasePage(p);
  });
}

PDRotate PDPageGetRotateImpl(PDPage page)
{
  return guardCall(PDRotate(0), [&] {
    Page *p = checkPage(page);
    return p ? p->rotate() : PDRotate(0);
  });
}

void PDPageGetMediaBoxImpl(PDPage page, FixedRect *box)
{
  guardOut(box, kNoRect, [&] {
    Page *p = checkPage(page);
    return p ? p->mediaBox() : kNoRect;
  });
}

void PDPageGetCropBoxImpl(PDPage page, FixedRect *box)
{
  guardOut(box, kNoRect, [&] {
    Page *p = checkPage(page);
    return p ? p->cropBox() : kNoRect;
  });
}

void PDPageSetCropBoxImpl(PDPage page, FixedRect box)
{
  guardRun([&] {
    if (Page *p = checkPage(page))
      p->setCropBox(box);
  });
}

// The bounding box with the user's margin (bbox-margin) around it.
void PDPageGetBBoxImpl(PDPage page, FixedRect *box)
{
  guardOut(box, kNoRect, [&] {
    Page *p = checkPage(page);
    return p ? model::bboxWithMargin(*p) : kNoRect;
  });
}

} // namespace

std::vector<HFTEntry> makePDModelTable()
{
  TableBuilder table(PDModelNUMSELECTORS);
  FOLIO_TABLE_ENTRY(table, PDDocGetFlags);
  FOLIO_TABLE_ENTRY(table, PDDocGetFile);
  FOLIO_TABLE_ENTRY(table, PDDocGetNumPages);
  FOLIO_TABLE_ENTRY(table, PDDocAcquirePage);
  FOLIO_TABLE_ENTRY(table, PDDocGetPermissions);
  FOLIO_TABLE_ENTRY(table, PDPageNotifyContentsDidChange);
  FOLIO_TABLE_ENTRY(table, PDPageRelease);
  FOLIO_TABLE_ENTRY(table, PDPageGetRotate);
  FOLIO_TABLE_ENTRY(table, PDPageGetMediaBox);
  FOLIO_TABLE_ENTRY(table, PDPageGetCropBox);
  FOLIO_TABLE_ENTRY(table, PDPageSetCropBox);
  FOLIO_TABLE_ENTRY(table, PDPageGetBBox);
  return table.take();
}

} // namespace folio::tables
