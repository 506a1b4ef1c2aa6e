// Saves killed half way: the folio program is killed with SIGKILL at moments
// spread over its save, many times. The original is always intact and
// byte-identical; the target is always either its old bytes or the complete
// new file (byte-identical to the file an undisturbed run writes), never a
// torn one; what a killed save leaves behind is only its own hidden
// temporary file beside the target, which no later run mistakes for anything.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include "RelSupport.h"
#include "pdfgen.h"

namespace gen = folio::pdfgen;
using rel::RunResult;

namespace {

const char *const kFolio = FOLIO_EXE;
// Under AddressSanitizer (a debug build with the slow unwinder) one run takes
// ten times as long: fewer kills on a smaller document there, the same
// checks.
#if defined(__SANITIZE_ADDRESS__)
constexpr int kKills = 10;
constexpr int kPages = 500;
#else
constexpr int kKills = 30;
constexpr int kPages = 2000;
#endif

// The temporary file a save of `target` writes beside it.
bool isSaveTemp(const std::string &name, const std::string &target)
{
  std::string prefix = "." + target + ".saving-";
  return name.rfind(prefix, 0) == 0 && name.size() == prefix.size() + 6;
}

class ReliabilityCrashSave : public ::testing::Test {
protected:
  rel::TempDir dir;
  std::string path(const std::string &name) const { return dir.file(name); }
  // Runs in the test folder, so that scripts name files as a user would.
  rel::RunOptions here() const
  {
    rel::RunOptions o;
    o.cwd = dir.path();
    return o;
  }

  // Starts folio on `script` and waits until its save's temporary file for
  // `target` appears; the time it appeared, or a negative value when the
  // run ended first.
  static double waitForSaveStart(rel::Child &c, const std::string &folder, const std::string &target)
  {
    double until = rel::now() + 120;
    while (rel::now() < until) {
      for (const std::string &n : rel::listDir(folder))
        if (isSaveTemp(n, target))
          return rel::now();
      if (c.finished())
        return -1;
      rel::sleepSeconds(0.0005);
    }
    return -1;
  }

  // How long the save of an undisturbed run takes: from its temporary file's
  // appearance to its disappearance (the rename).
  double measureSave(const std::string &script, const std::string &target)
  {
    rel::Child c(kFolio, {"--run", script}, dir.path(), here());
    double start = waitForSaveStart(c, dir.path(), target);
    EXPECT_GT(start, 0) << "the save never started";
    double end = start;
    for (;;) {
      bool tempThere = false;
      for (const std::string &n : rel::listDir(dir.path()))
        tempThere = tempThere || isSaveTemp(n, target);
      end = rel::now();
      if (!tempThere || c.finished())
        break;
      rel::sleepSeconds(0.0005);
    }
    RunResult r = c.wait();
    EXPECT_EQ(r.exitCode, 0) << r.describe();
    return end - start;
  }

  struct Tally {
    int oldTarget = 0, newTarget = 0, torn = 0, tempsLeft = 0, notStarted = 0;
  };

  // Runs `script` kKills times, killing it at delays spread over 1.2 times
  // the save's duration after the save began. Before each run the target is
  // reset to `oldBytes` (absent when empty) by `reset`.
  Tally killRepeatedly(const std::string &script, const std::string &target, double saveSeconds,
                       const std::string &oldBytes, const std::string &newBytes,
                       const std::vector<std::pair<std::string, std::string>> &intact)
  {
    Tally t;
    for (int i = 0; i < kKills; ++i) {
      // Clean slate: the target as it was, no temporary files of earlier runs.
      for (const std::string &n : rel::listDir(dir.path()))
        if (isSaveTemp(n, target))
          std::remove(path(n).c_str());
      if (oldBytes.empty())
        std::remove(path(target).c_str());
      else
        rel::writeFile(path(target), oldBytes);

      rel::Child c(kFolio, {"--run", script}, dir.path(), here());
      double start = waitForSaveStart(c, dir.path(), target);
      if (start < 0) {
        ++t.notStarted;
        continue;
      }
      double delay = saveSeconds * 1.2 * i / (kKills - 1);
      rel::sleepSeconds(start + delay - rel::now());
      c.kill(SIGKILL);
      c.wait();

      for (const auto &[name, bytes] : intact)
        EXPECT_EQ(rel::readFile(path(name)), bytes) << name << " changed (run " << i << ")";
      std::string now = rel::fileExists(path(target)) ? rel::readFile(path(target)) : std::string();
      if (now == oldBytes)
        ++t.oldTarget;
      else if (now == newBytes)
        ++t.newTarget;
      else
        ++t.torn;
      for (const std::string &n : rel::listDir(dir.path())) {
        if (isSaveTemp(n, target)) {
          ++t.tempsLeft;
          continue;
        }
        bool known = n == target;
        for (const auto &kv : intact)
          known = known || n == kv.first;
        EXPECT_TRUE(known) << "unexpected file " << n << " after run " << i;
      }
    }
    return t;
  }
};

void writeMixed(const std::string &file, int pages, uint32_t seed)
{
  gen::Writer w(file);
  for (int i = 0; i < pages; ++i)
    w.addPage(gen::mixedPage(i, seed));
  w.finish();
}

} // namespace

// Save As over an existing older file, the full rewrite of a repaired
// document (the slowest kind of save).
TEST_F(ReliabilityCrashSave, KilledFullSaveAsKeepsTheInputAndLeavesTheTargetOldOrComplete)
{
  writeMixed(path("in.pdf"), kPages, 5);
  ASSERT_TRUE(gen::damageXrefOffsets(path("in.pdf")));
  writeMixed(path("older.pdf"), 3, 9);
  const std::string input = rel::readFile(path("in.pdf")), older = rel::readFile(path("older.pdf"));
  const std::string script = "open in.pdf; save out.pdf";

  // An undisturbed run gives the complete new file and the save's duration.
  rel::writeFile(path("out.pdf"), older);
  double saveSeconds = measureSave(script, "out.pdf");
  const std::string complete = rel::readFile(path("out.pdf"));
  ASSERT_NE(complete, older);
  ASSERT_GT(complete.size(), 10000u);
  ASSERT_EQ(rel::readFile(path("in.pdf")), input);

  Tally t = killRepeatedly(script, "out.pdf", saveSeconds, older, complete,
                           {{"in.pdf", input}, {"older.pdf", older}});
  std::printf("full save of %d pages: %.3f s; %d kills: target old %d, complete new %d, torn %d; "
              "temporary files left %d; runs that ended before the save %d\n",
              kPages, saveSeconds, kKills, t.oldTarget, t.newTarget, t.torn, t.tempsLeft, t.notStarted);
  EXPECT_EQ(t.torn, 0);
  EXPECT_EQ(t.notStarted, 0);
  EXPECT_EQ(t.oldTarget + t.newTarget, kKills);
  EXPECT_GT(t.oldTarget, 0); // the kills did land inside the save
}

// Save in place, incremental (the original bytes kept, changed pages
// appended): the target is the original itself.
TEST_F(ReliabilityCrashSave, KilledIncrementalSaveInPlaceLeavesTheOriginalOrTheCompleteNewFile)
{
  writeMixed(path("pristine.pdf"), kPages, 7);
  const std::string original = rel::readFile(path("pristine.pdf"));
  const std::string script = "open doc.pdf; answer All; menu QUIL:PageShearMediaBox; save";

  rel::writeFile(path("doc.pdf"), original);
  double saveSeconds = measureSave(script, "doc.pdf");
  const std::string complete = rel::readFile(path("doc.pdf"));
  ASSERT_GT(complete.size(), original.size());
  ASSERT_EQ(complete.substr(0, original.size()), original); // incremental: the original is a prefix

  Tally t = killRepeatedly(script, "doc.pdf", saveSeconds, original, complete, {{"pristine.pdf", original}});
  std::printf("incremental save of %d pages: %.3f s; %d kills: original %d, complete new %d, torn %d; "
              "temporary files left %d; runs that ended before the save %d\n",
              kPages, saveSeconds, kKills, t.oldTarget, t.newTarget, t.torn, t.tempsLeft, t.notStarted);
  EXPECT_EQ(t.torn, 0);
  EXPECT_EQ(t.notStarted, 0);
  EXPECT_EQ(t.oldTarget + t.newTarget, kKills);
  EXPECT_GT(t.oldTarget, 0);
}

// What a killed save leaves (its hidden temporary file) does not disturb the
// next save of the same target, which writes the complete file.
TEST_F(ReliabilityCrashSave, LeftoverTemporaryFileDoesNotDisturbTheNextSave)
{
  writeMixed(path("doc.pdf"), 3, 4);
  rel::writeFile(path(".out.pdf.saving-AbC123"), "half a file");
  RunResult r = rel::runProgram(kFolio, {"--run", "open doc.pdf; save out.pdf"}, dir.path(), here());
  ASSERT_EQ(r.exitCode, 0) << r.describe();
  RunResult check = rel::runProgram(kFolio, {"--run", "open out.pdf; show-boxes"}, dir.path(), here());
  EXPECT_EQ(check.exitCode, 0) << check.describe();
  EXPECT_TRUE(rel::contains(check.out, "opened: out.pdf (3 pages)")) << check.describe();
  EXPECT_EQ(rel::readFile(path(".out.pdf.saving-AbC123")), "half a file");
}
