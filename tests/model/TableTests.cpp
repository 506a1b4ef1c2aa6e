// TableTests.cpp: the "FolioSupport" and "PDModel" tables called through
// their HFTs exactly as an extension calls them: this file is compiled
// without FOLIO_HOST_SIDE, so the call macros read the table globals that
// it defines below.
#include "ModelTestSupport.h"

#include <cstring>

#include "FailingAllocations.h"
#include <stdexcept>

#include "folio/FolioSupportHFT.h"
#include "folio/PDModelHFT.h"
#include "model/ModelHandles.h"
#include "tables/FolioSupportTable.h"
#include "tables/PDModelTable.h"

HFT gFolioSupportHFT = nullptr;
FSUns32 gFolioSupportVersion = 0;
HFT gPDModelHFT = nullptr;
FSUns32 gPDModelVersion = 0;

using namespace folio;
using namespace folio::model;
using namespace folio::modeltest;

namespace {

using testsupport::FailingAllocations;

class ModelTables : public ModelTest {
protected:
  void SetUp() override
  {
    ModelTest::SetUp();
    support_ = tables::makeFolioSupportTable();
    pdmodel_ = tables::makePDModelTable();
    gFolioSupportHFT = support_.data();
    gFolioSupportVersion = FolioSupportHFT_VERSION;
    gPDModelHFT = pdmodel_.data();
    gPDModelVersion = PDModelHFT_VERSION;
  }
  void TearDown() override
  {
    gFolioSupportHFT = nullptr;
    gPDModelHFT = nullptr;
    ModelTest::TearDown();
  }
  std::vector<HFTEntry> support_, pdmodel_;
};

TEST_F(ModelTables, TablesHaveTheirSizesAndAnUnusedEntryZero)
{
  EXPECT_EQ(support_.size(), static_cast<size_t>(FolioSupportNUMSELECTORS));
  EXPECT_EQ(pdmodel_.size(), static_cast<size_t>(PDModelNUMSELECTORS));
  EXPECT_EQ(support_[0], nullptr);
  EXPECT_EQ(pdmodel_[0], nullptr);
}

TEST_F(ModelTables, EveryListedEntryIsFilledAndTheOthersAreNull)
{
  const int supportSel[] = {FSmallocSEL,
                            FSreallocSEL,
                            FSfreeSEL,
                            FixedMulSEL,
                            FixedDivSEL,
                            FSGetDefaultFileSysSEL,
                            FSFileAcquirePathNameSEL};
  const int modelSel[] = {PDDocGetFlagsSEL,    PDDocGetFileSEL,        PDDocGetNumPagesSEL,
                          PDDocAcquirePageSEL, PDDocGetPermissionsSEL, PDPageNotifyContentsDidChangeSEL,
                          PDPageReleaseSEL,    PDPageGetRotateSEL,     PDPageGetMediaBoxSEL,
                          PDPageGetCropBoxSEL, PDPageSetCropBoxSEL,    PDPageGetBBoxSEL};
  int filled = 0;
  for (HFTEntry e : support_)
    filled += e != nullptr;
  EXPECT_EQ(filled, 7);
  for (int s : supportSel)
    EXPECT_NE(support_[static_cast<size_t>(s)], nullptr) << s;
  filled = 0;
  for (HFTEntry e : pdmodel_)
    filled += e != nullptr;
  EXPECT_EQ(filled, 12);
  for (int s : modelSel)
    EXPECT_NE(pdmodel_[static_cast<size_t>(s)], nullptr) << s;
}

TEST_F(ModelTables, MemoryEntriesAllocateReallocateAndFree)
{
  auto *block = static_cast<unsigned char *>(FSmalloc(64));
  ASSERT_NE(block, nullptr);
  std::memset(block, 0xAB, 64);
  block = static_cast<unsigned char *>(FSrealloc(block, 4096));
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(block[63], 0xAB);
  FSfree(block);
  FSfree(nullptr); // ignored
  void *empty = FSmalloc(0);
  EXPECT_NE(empty, nullptr);
  FSfree(empty);
}

TEST_F(ModelTables, FixedDivRoundsToNearest)
{
  EXPECT_EQ(FixedDiv(fixedSeventyTwo, fixedTwo), 0x00240000);
  EXPECT_EQ(FixedDiv(fixedOne, 0x00030000), 0x00005555); // 1/3 = 0x5555.55
  EXPECT_EQ(FixedDiv(fixedTwo, 0x00030000), 0x0000AAAB); // 2/3 = 0xAAAA.AB
  EXPECT_EQ(FixedDiv(-fixedTwo, 0x00030000), -0x0000AAAB);
}

TEST_F(ModelTables, FixedDivByZeroSaturatesByTheNumeratorsSign)
{
  EXPECT_EQ(FixedDiv(fixedOne, 0), 0x7FFFFFFF);
  EXPECT_EQ(FixedDiv(-fixedOne, 0), static_cast<Fixed>(0x80000000));
  EXPECT_EQ(FixedDiv(0, 0), 0x7FFFFFFF);
}

TEST_F(ModelTables, FixedMulRoundsTiesAwayFromZeroAndSaturates)
{
  EXPECT_EQ(FixedMul(fixedSeventyTwo, 0x00008000), 0x00240000); // 72 * 0.5
  EXPECT_EQ(FixedMul(0x00008000, 0x00000001), 1);               // half a unit rounds away
  EXPECT_EQ(FixedMul(-0x00008000, 0x00000001), -1);
  EXPECT_EQ(FixedMul(0x7FFF0000, fixedTwo), 0x7FFFFFFF);
}

TEST_F(ModelTables, DefaultFileSystemIsAlwaysTheSame)
{
  FSFileSys fs = FSGetDefaultFileSys();
  EXPECT_NE(fs, nullptr);
  EXPECT_EQ(fs, FSGetDefaultFileSys());
  EXPECT_EQ(fs, toFSFileSys(&FileSys::defaultFileSys()));
}

TEST_F(ModelTables, PathNameOfTheDocumentsFile)
{
  std::string p = write("named.pdf", {rectPage()});
  auto doc = Document::open(p);
  FSFile file = PDDocGetFile(toPDDoc(doc.get()));
  ASSERT_NE(file, nullptr);
  FSPathName name = FSFileAcquirePathName(file);
  ASSERT_NE(name, nullptr);
  EXPECT_STREQ(pathNameString(name), p.c_str());
  EXPECT_EQ(&fromFSPathName(name)->fileSys(), &FileSys::defaultFileSys());
  PathName::release(fromFSPathName(name));
  EXPECT_EQ(FSFileAcquirePathName(nullptr), nullptr);
  EXPECT_STREQ(pathNameString(nullptr), "");
}

TEST_F(ModelTables, AFileHandleThatIsNoLiveFileGivesNull)
{
  // FSFileAcquirePathName documents null for a null or stale handle.
  EXPECT_EQ(FSFileAcquirePathName(nullptr), nullptr);
  int notAFile = 0;
  EXPECT_EQ(FSFileAcquirePathName(reinterpret_cast<FSFile>(&notAFile)), nullptr);
  auto doc = Document::open(write("doc.pdf", {rectPage()}));
  FSFile file = PDDocGetFile(toPDDoc(doc.get()));
  ASSERT_NE(file, nullptr);
  doc.reset(); // the file goes with its document
  EXPECT_EQ(FSFileAcquirePathName(file), nullptr);
}

TEST_F(ModelTables, AcquiringAPathNameThatCannotBeMadeGivesNull)
{
  auto doc = Document::open(write("doc.pdf", {rectPage()}));
  FSFile file = PDDocGetFile(toPDDoc(doc.get()));
  FSPathName name = nullptr;
  {
    FailingAllocations failing; // the path name's allocation throws
    name = FSFileAcquirePathName(file);
  }
  EXPECT_EQ(name, nullptr);
}

TEST_F(ModelTables, DocumentAndPageEntriesAnswerAsTheModel)
{
  pdfgen::PageSpec rotated = rectPage({0, 0, 792, 612}, {300, 200, 400, 260});
  rotated.rotate = 90;
  auto doc = Document::open(write("doc.pdf", {rectPage(), rotated}));
  PDDoc pd = toPDDoc(doc.get());
  EXPECT_EQ(PDDocGetNumPages(pd), 2);
  EXPECT_EQ(PDDocGetFlags(pd), 0);
  EXPECT_EQ(PDDocGetPermissions(pd), 0xFFFFFFFFu);

  PDPage page = PDDocAcquirePage(pd, 1);
  ASSERT_NE(page, nullptr);
  EXPECT_EQ(PDPageGetRotate(page), 90);
  FixedRect media, cropBox, bbox;
  PDPageGetMediaBox(page, &media);
  PDPageGetCropBox(page, &cropBox);
  PDPageGetBBox(page, &bbox);
  EXPECT_RECT_NEAR(media, 0, 0, 792, 612, 0);
  EXPECT_RECT_EQ(cropBox, media);
  EXPECT_RECT_NEAR(bbox, 300, 200, 400, 260, 0.25);
  PDPageRelease(page);
}

TEST_F(ModelTables, SetCropBoxAndNotifyMarkTheDocumentAndTellObservers)
{
  auto doc = Document::open(write("doc.pdf", {rectPage(), rectPage()}));
  struct Recorder : DocumentObserver {
    std::vector<int> pages;
    void pageChanged(Document &, int index) override { pages.push_back(index); }
  } recorder;
  doc->addObserver(&recorder);
  PDDoc pd = toPDDoc(doc.get());
  PDPage page = PDDocAcquirePage(pd, 1);
  FixedRect r = fixedRect(72, 72, 300.5, 400.25);
  PDPageSetCropBox(page, r);
  PDPageNotifyContentsDidChange(page);
  FixedRect back;
  PDPageGetCropBox(page, &back);
  EXPECT_RECT_EQ(back, r);
  EXPECT_EQ(PDDocGetFlags(pd), PDDocNeedsSave | PDDocIsModified);
  EXPECT_EQ(recorder.pages, std::vector<int>{1});
  PDPageRelease(page);
  doc->removeObserver(&recorder);
}

TEST_F(ModelTables, EntriesAnswerTheirFailureResultWhenTheModelThrows)
{
  auto doc = Document::open(write("doc.pdf", {rectPage(), rectPage()}));
  // An observer (the view, in the host) that fails while a change is told.
  struct Failing : DocumentObserver {
    int calls = 0;
    void pageChanged(Document &, int) override
    {
      ++calls;
      throw std::runtime_error("the view failed");
    }
  } failing;
  doc->addObserver(&failing);
  PDDoc pd = toPDDoc(doc.get());
  PDPage page = PDDocAcquirePage(pd, 0);
  ASSERT_NE(page, nullptr);
  FixedRect r = fixedRect(72, 72, 300, 400);
  PDPageSetCropBox(page, r); // returns: nothing crosses the entry
  PDPageNotifyContentsDidChange(page);
  EXPECT_GE(failing.calls, 1);
  FixedRect back;
  PDPageGetCropBox(page, &back);
  EXPECT_RECT_EQ(back, r);
  PDPageRelease(page);
  // The model's own refusal (a page that is not there) is an exception too.
  EXPECT_EQ(PDDocAcquirePage(pd, 2), nullptr);
  doc->removeObserver(&failing);
}

TEST_F(ModelTables, PermissionWordOfAModifyForbiddenDocument)
{
  std::string plain = write("plain.pdf", {rectPage()});
  ASSERT_TRUE(pdfgen::encryptWithQpdf(plain, path("locked.pdf"), "user", "owner", false));
  FixedPasswordPort port("user");
  auto doc = Document::open(path("locked.pdf"), &port);
  FSUns32 perms = PDDocGetPermissions(toPDDoc(doc.get()));
  EXPECT_EQ(perms & pdPermEdit, 0u);
  EXPECT_EQ(perms & pdPermPrint, static_cast<FSUns32>(pdPermPrint));
}

TEST_F(ModelTables, AnOwnerPasswordGivenForAFileThatOpensWithoutOneGrantsEveryPermission)
{
  std::string plain = write("plain.pdf", {rectPage()});
  ASSERT_TRUE(pdfgen::encryptWithQpdf(plain, path("locked.pdf"), "", "owner", false));
  auto restricted = Document::open(path("locked.pdf"));
  EXPECT_EQ(PDDocGetPermissions(toPDDoc(restricted.get())) & pdPermEdit, 0u);
  FixedPasswordPort wrong("guess");
  auto stillRestricted = Document::open(path("locked.pdf"), &wrong);
  EXPECT_FALSE(stillRestricted->openedAsOwner());
  EXPECT_EQ(PDDocGetPermissions(toPDDoc(stillRestricted.get())) & pdPermEdit, 0u);
  FixedPasswordPort owner("owner");
  auto full = Document::open(path("locked.pdf"), &owner);
  EXPECT_TRUE(full->openedAsOwner());
  EXPECT_EQ(PDDocGetPermissions(toPDDoc(full.get())), static_cast<FSUns32>(pdPermAll));
}

// Every PDModel entry, given handles that are no live document and page,
// answers the failure result written beside its prototype.
void expectFailureResults(PDDoc doc, PDPage page)
{
  const FixedRect zero{0, 0, 0, 0};
  EXPECT_EQ(PDDocGetFlags(doc), 0);
  EXPECT_EQ(PDDocGetFile(doc), nullptr);
  EXPECT_EQ(PDDocGetNumPages(doc), 0);
  EXPECT_EQ(PDDocAcquirePage(doc, 0), nullptr);
  EXPECT_EQ(PDDocGetPermissions(doc), 0u);
  EXPECT_EQ(PDPageGetRotate(page), 0);
  FixedRect r = fixedRect(1, 2, 3, 4);
  PDPageGetMediaBox(page, &r);
  EXPECT_RECT_EQ(r, zero);
  r = fixedRect(1, 2, 3, 4);
  PDPageGetCropBox(page, &r);
  EXPECT_RECT_EQ(r, zero);
  r = fixedRect(1, 2, 3, 4);
  PDPageGetBBox(page, &r);
  EXPECT_RECT_EQ(r, zero);
  // Entries without a result: nothing happens, and nothing crashes.
  PDPageSetCropBox(page, fixedRect(1, 2, 3, 4));
  PDPageNotifyContentsDidChange(page);
  PDPageRelease(page);
}

TEST_F(ModelTables, NullHandlesGiveTheFailureResults)
{
  expectFailureResults(nullptr, nullptr);
}

TEST_F(ModelTables, HandlesThatWereNeverHandedOutGiveTheFailureResults)
{
  // Addresses of something else entirely: never dereferenced as a document
  // or page (the sanitizer build would see it).
  struct {
    char bytes[64] = {};
  } notADocument, notAPage;
  expectFailureResults(reinterpret_cast<PDDoc>(&notADocument), reinterpret_cast<PDPage>(&notAPage));
}

TEST_F(ModelTables, HandlesOfAClosedDocumentGiveTheFailureResults)
{
  auto doc = Document::open(write("doc.pdf", {rectPage(), rectPage()}));
  PDDoc pd = toPDDoc(doc.get());
  PDPage page = PDDocAcquirePage(pd, 0);
  ASSERT_NE(page, nullptr);
  ASSERT_EQ(PDDocGetNumPages(pd), 2);
  doc.reset();
  expectFailureResults(pd, page);
}

TEST_F(ModelTables, EntriesWhoseWorkThrowsGiveTheFailureResults)
{
  auto doc = Document::open(write("doc.pdf", {rectPage(), rectPage()}));
  PDDoc pd = toPDDoc(doc.get());
  PDPage page = PDDocAcquirePage(pd, 0);
  ASSERT_NE(page, nullptr);
  FixedRect before;
  PDPageGetCropBox(page, &before);
  const FixedRect zero{0, 0, 0, 0};
  FixedRect bbox = fixedRect(1, 2, 3, 4);
  PDPage second = nullptr;
  {
    FailingAllocations failing;
    second = PDDocAcquirePage(pd, 1);                // the page object cannot be made: null
    PDPageSetCropBox(page, fixedRect(9, 9, 99, 99)); // the crop box stays as it was
    PDPageGetBBox(page, &bbox);                      // the all-zero rectangle
  }
  EXPECT_EQ(second, nullptr);
  FixedRect after;
  PDPageGetCropBox(page, &after);
  EXPECT_RECT_EQ(after, before);
  EXPECT_RECT_EQ(bbox, zero);
  PDPageRelease(page);
}

TEST_F(ModelTables, AcquiringAPageOutOfRangeGivesNull)
{
  auto doc = Document::open(write("doc.pdf", {rectPage()}));
  EXPECT_EQ(PDDocAcquirePage(toPDDoc(doc.get()), 1), nullptr);
  EXPECT_EQ(PDDocAcquirePage(toPDDoc(doc.get()), -1), nullptr);
}

TEST_F(ModelTables, OverReleaseThroughTheTableIsReportedOnce)
{
  auto doc = Document::open(write("doc.pdf", {rectPage()}));
  PDPage page = PDDocAcquirePage(toPDDoc(doc.get()), 0);
  PDPageRelease(page);
  testing::internal::CaptureStderr();
  PDPageRelease(page);
  PDPageRelease(page);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "folio: page 1 of \"doc.pdf\" released more often than acquired\n");
}

TEST_F(ModelTables, EntryReadAtTheMomentOfTheCall)
{
  // Replacing an entry after binding takes effect at the next call.
  auto doc = Document::open(write("doc.pdf", {rectPage(), rectPage()}));
  EXPECT_EQ(PDDocGetNumPages(toPDDoc(doc.get())), 2);
  pdmodel_[PDDocGetNumPagesSEL] = reinterpret_cast<FSProc>(+[](PDDoc) -> FSInt32 { return 77; });
  EXPECT_EQ(PDDocGetNumPages(toPDDoc(doc.get())), 77);
}

} // namespace
