// The fuzz targets' inputs, run in the normal build: the document path's
// entry on every committed corpus seed and on every input a fuzzer found
// (fuzz/crashers), and the three crop commands through the real folio with
// the real plug-in on every such input. Each file is its own test, named
// after the file.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

#include "DocumentFuzz.h"
#include "RelSupport.h"
#include "model/Document.h"
#include "model/Page.h"

namespace {

std::vector<std::string> filesIn(const std::string &dir)
{
  std::vector<std::string> names;
  for (const std::string &n : rel::listDir(dir))
    if (n[0] != '.')
      names.push_back(dir + "/" + n);
  return names;
}

// A test name from a file name: letters and digits, the rest as '_'.
std::string testName(const ::testing::TestParamInfo<std::string> &info)
{
  std::string base = info.param.substr(info.param.find_last_of('/') + 1);
  for (char &c : base)
    if (!std::isalnum(static_cast<unsigned char>(c)))
      c = '_';
  return base;
}

folio::fuzz::FuzzOutcome runFile(const std::string &path)
{
  std::string bytes = rel::readFile(path);
  return folio::fuzz::runDocumentPath(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
}

class ReliabilityFuzzSeed : public ::testing::TestWithParam<std::string> {};
class ReliabilityFuzzCrasher : public ::testing::TestWithParam<std::string> {};
class ReliabilityFuzzCropCommands : public ::testing::TestWithParam<std::string> {};

// The pages of `path` as the model reads it, -1 when it does not open.
int pagesOf(const std::string &path)
{
  try {
    return folio::model::Document::open(path)->pageCount();
  } catch (const std::exception &) {
    return -1;
  }
}

} // namespace

// Every seed is a well-formed generated PDF: it opens, keeps its invariants,
// saves and reads back.
TEST_P(ReliabilityFuzzSeed, OpensKeepsInvariantsAndSaves)
{
  folio::fuzz::FuzzOutcome out = runFile(GetParam());
  EXPECT_TRUE(out.ok) << out.failure;
  EXPECT_TRUE(out.opened) << out.refusal;
  EXPECT_TRUE(out.saved);
  EXPECT_GT(out.pageCount, 0);
}

// A crasher is any input once found to break the document path; it must now
// go through without breaking an invariant (opened or refused, both fine).
TEST_P(ReliabilityFuzzCrasher, NoLongerBreaksTheDocumentPath)
{
  folio::fuzz::FuzzOutcome out = runFile(GetParam());
  EXPECT_TRUE(out.ok) << out.failure;
}

// What the crop fuzz target (fuzz/CropFuzz.h) checks, through the folio
// program: each of the three crop commands ends with exit status 0 or 1 (a
// message, never a signal), leaves the input as it was, and a saved output
// opens with the input's page count and no page without area.
TEST_P(ReliabilityFuzzCropCommands, EndWithAnAnswerAndAReadableOutput)
{
  rel::TempDir dir;
  std::string in = dir.file("in.pdf");
  std::string original = rel::readFile(GetParam());
  rel::writeFile(in, original);
  int pages = pagesOf(in);
  std::string range = pages > 16 ? "1-16" : "all";
  const std::vector<std::vector<std::string>> commands = {
      {"--crop-bbox", "each", in, "-o", dir.file("bbox.pdf")},
      {"--crop-region", "36 48 300 400", "--pages", range, "--orientation", "crop", in, "-o",
       dir.file("region.pdf")},
      {"--reset-media-box", "all", in, "-o", dir.file("media.pdf")}};
  rel::RunOptions options;
  options.env = {"FOLIO_PAGE_BUDGET=5,256"};
  for (const auto &args : commands) {
    SCOPED_TRACE(args[0]);
    rel::RunResult r = rel::runProgram(FOLIO_EXE, args, dir.file("config"), options);
    EXPECT_TRUE(r.exitCode == 0 || r.exitCode == 1) << r.describe();
    EXPECT_EQ(rel::readFile(in), original) << "the input changed";
    const std::string &out = args.back();
    if (r.exitCode != 0 || !rel::fileExists(out))
      continue;
    auto doc = folio::model::Document::open(out);
    ASSERT_EQ(doc->pageCount(), pages);
    for (int i = 0; i < pages && i < 64; ++i) {
      folio::model::Page *p = doc->acquirePage(i);
      FixedRect c = p->cropBox();
      doc->releasePage(p);
      EXPECT_TRUE(c.left != c.right && c.bottom != c.top) << "page " << i + 1 << " has an empty crop box";
    }
  }
}

INSTANTIATE_TEST_SUITE_P(ReliabilityCorpus, ReliabilityFuzzSeed,
                         ::testing::ValuesIn(filesIn(FUZZ_CORPUS_DIR)), testName);
INSTANTIATE_TEST_SUITE_P(ReliabilityFound, ReliabilityFuzzCrasher,
                         ::testing::ValuesIn(filesIn(FUZZ_CRASHERS_DIR)), testName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ReliabilityFuzzCrasher);
INSTANTIATE_TEST_SUITE_P(ReliabilityFound, ReliabilityFuzzCropCommands,
                         ::testing::ValuesIn(filesIn(FUZZ_CRASHERS_DIR)), testName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ReliabilityFuzzCropCommands);
