// The fuzz target's entry, run in the normal build on every committed corpus
// seed and on every input the fuzzer found to break the document path
// (fuzz/crashers). Each file is its own test, named after the file.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

#include "DocumentFuzz.h"
#include "RelSupport.h"

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

INSTANTIATE_TEST_SUITE_P(ReliabilityCorpus, ReliabilityFuzzSeed,
                         ::testing::ValuesIn(filesIn(FUZZ_CORPUS_DIR)), testName);
INSTANTIATE_TEST_SUITE_P(ReliabilityFound, ReliabilityFuzzCrasher,
                         ::testing::ValuesIn(filesIn(FUZZ_CRASHERS_DIR)), testName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ReliabilityFuzzCrasher);
