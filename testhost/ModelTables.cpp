// ModelTables.cpp: the "PDModel" table of the test host: documents and pages
// answered from the scripted world; PDPageSetCropBox really changes the page.
#include "Internal.h"

namespace testhost {

namespace {

Document *docOf(PDDoc d)
{
  return H().documentOf(d);
}

Page *pageOf(PDPage p)
{
  return H().pageOf(p);
}

FSInt32 tPDDocGetFlags(PDDoc doc)
{
  size_t i = rec("PDDocGetFlags", {N(doc)});
  Document *d = docOf(doc);
  FSInt32 r = d ? d->flags : 0;
  res(i, I(r));
  return r;
}

FSFile tPDDocGetFile(PDDoc doc)
{
  size_t i = rec("PDDocGetFile", {N(doc)});
  Document *d = docOf(doc);
  FSFile r = (d && d->hasFile) ? reinterpret_cast<FSFile>(&d->file) : nullptr;
  res(i, N(r));
  return r;
}

FSInt32 tPDDocGetNumPages(PDDoc doc)
{
  size_t i = rec("PDDocGetNumPages", {N(doc)});
  Document *d = docOf(doc);
  FSInt32 r = d ? static_cast<FSInt32>(d->pages.size()) : 0;
  res(i, I(r));
  return r;
}

PDPage tPDDocAcquirePage(PDDoc doc, FSInt32 n)
{
  size_t i = rec("PDDocAcquirePage", {N(doc), I(n)});
  Document *d = docOf(doc);
  PDPage r = nullptr;
  if (d && n >= 0 && static_cast<size_t>(n) < d->pages.size()) {
    Page *p = d->pages[static_cast<size_t>(n)].get();
    ++p->acquires;
    r = reinterpret_cast<PDPage>(p);
  }
  res(i, N(r));
  return r;
}

FSUns32 tPDDocGetPermissions(PDDoc doc)
{
  size_t i = rec("PDDocGetPermissions", {N(doc)});
  Document *d = docOf(doc);
  FSUns32 r = d ? d->permissions : 0;
  res(i, hex32(r));
  return r;
}

void tPDPageNotifyContentsDidChange(PDPage page)
{
  rec("PDPageNotifyContentsDidChange", {N(page)});
  if (Page *p = pageOf(page))
    ++p->notifications;
}

void tPDPageRelease(PDPage page)
{
  rec("PDPageRelease", {N(page)});
  if (Page *p = pageOf(page))
    ++p->releases;
}

PDRotate tPDPageGetRotate(PDPage page)
{
  size_t i = rec("PDPageGetRotate", {N(page)});
  Page *p = pageOf(page);
  PDRotate r = p ? p->rotate : 0;
  res(i, I(r));
  return r;
}

void getBox(const char *op, PDPage page, FixedRect *out, FixedRect Page::*box)
{
  size_t i = rec(op, {N(page)});
  Page *p = pageOf(page);
  FixedRect r = p ? p->*box : FixedRect{0, 0, 0, 0};
  if (out)
    *out = r;
  res(i, out ? fxRect(r) : "null-out");
}

void tPDPageGetMediaBox(PDPage page, FixedRect *box)
{
  getBox("PDPageGetMediaBox", page, box, &Page::mediaBox);
}

void tPDPageGetCropBox(PDPage page, FixedRect *box)
{
  getBox("PDPageGetCropBox", page, box, &Page::cropBox);
}

void tPDPageGetBBox(PDPage page, FixedRect *box)
{
  getBox("PDPageGetBBox", page, box, &Page::bbox);
}

void tPDPageSetCropBox(PDPage page, FixedRect box)
{
  rec("PDPageSetCropBox", {N(page), fxRect(box)});
  if (Page *p = pageOf(page)) {
    p->cropBox = box;
    ++p->setCropBoxes;
  }
}

} // namespace

void fillModelTable(TestHost &h)
{
  auto &t = h.impl().tables[static_cast<int>(Table::PDModel)];
  t[PDDocGetFlagsSEL] = reinterpret_cast<HFTEntry>(&tPDDocGetFlags);
  t[PDDocGetFileSEL] = reinterpret_cast<HFTEntry>(&tPDDocGetFile);
  t[PDDocGetNumPagesSEL] = reinterpret_cast<HFTEntry>(&tPDDocGetNumPages);
  t[PDDocAcquirePageSEL] = reinterpret_cast<HFTEntry>(&tPDDocAcquirePage);
  t[PDDocGetPermissionsSEL] = reinterpret_cast<HFTEntry>(&tPDDocGetPermissions);
  t[PDPageNotifyContentsDidChangeSEL] = reinterpret_cast<HFTEntry>(&tPDPageNotifyContentsDidChange);
  t[PDPageReleaseSEL] = reinterpret_cast<HFTEntry>(&tPDPageRelease);
  t[PDPageGetRotateSEL] = reinterpret_cast<HFTEntry>(&tPDPageGetRotate);
  t[PDPageGetMediaBoxSEL] = reinterpret_cast<HFTEntry>(&tPDPageGetMediaBox);
  t[PDPageGetCropBoxSEL] = reinterpret_cast<HFTEntry>(&tPDPageGetCropBox);
  t[PDPageSetCropBoxSEL] = reinterpret_cast<HFTEntry>(&tPDPageSetCropBox);
  t[PDPageGetBBoxSEL] = reinterpret_cast<HFTEntry>(&tPDPageGetBBox);
}

} // namespace testhost
