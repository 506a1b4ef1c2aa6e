// CropFuzz.cpp: the crop commands of the folio program over arbitrary bytes
// (see CropFuzz.h).
#include "CropFuzz.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <memory>
#include <sstream>
#include <vector>

#include "app/Session.h"
#include "batch/CommandLine.h"
#include "batch/Runner.h"
#include "batch/Script.h"
#include "model/Budget.h"
#include "model/Document.h"
#include "model/Page.h"

namespace folio::fuzz {

namespace {

std::string gFolder;
std::unique_ptr<app::Session> gSession;

void cleanUp()
{
  gSession.reset();
  if (gFolder.empty())
    return;
  for (const char *name : {"in.pdf", "bbox.pdf", "region.pdf", "media.pdf"})
    ::unlink((gFolder + "/" + name).c_str());
  ::rmdir(gFolder.c_str());
}

const std::string &folder()
{
  if (!gFolder.empty())
    return gFolder;
  for (const char *base : {"/dev/shm", "/tmp"}) {
    std::string tmpl = std::string(base) + "/folio-cropfuzz-XXXXXX";
    std::vector<char> buf(tmpl.begin(), tmpl.end());
    buf.push_back(0);
    if (::mkdtemp(buf.data())) {
      gFolder = buf.data();
      break;
    }
  }
  return gFolder;
}

app::Session &session(const std::string &pluginDir)
{
  if (!gSession) {
    app::SessionOptions so;
    if (!pluginDir.empty())
      so.pluginDirs = {pluginDir};
    gSession = std::make_unique<app::Session>(so);
    std::ostringstream report;
    gSession->loadPlugins(report);
    std::atexit(cleanUp);
    // Small budgets: a page that needs more is a finding of its own kind
    // (taken as blank), not a reason to stall the fuzzer.
    model::PageBudget b;
    b.seconds = 2;
    b.bytes = size_t(256) << 20;
    model::setPageBudget(b);
  }
  return *gSession;
}

bool writeAll(const std::string &path, const uint8_t *data, size_t size)
{
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char *>(data), static_cast<std::streamsize>(size));
  return out.good();
}

std::string readAll(const std::string &path)
{
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

bool exists(const std::string &path)
{
  struct stat st {};
  return ::lstat(path.c_str(), &st) == 0;
}

struct Broken {
  std::string what;
};

// The pages of the input, or -1 when the model does not open it.
int inputPages(const std::string &path)
{
  try {
    return model::Document::open(path)->pageCount();
  } catch (const std::exception &) {
    return -1;
  }
}

// Runs one command line as the folio program runs a shortcut; true when the
// run went through.
bool runShortcut(app::Session &s, std::vector<std::string> args, int pages)
{
  std::vector<const char *> argv{"folio"};
  for (const std::string &a : args)
    argv.push_back(a.c_str());
  batch::Options o;
  std::string why;
  if (!batch::parseCommandLine(static_cast<int>(argv.size()), argv.data(), o, why))
    throw Broken{"command line refused: " + why};
  if (batch::runsPageByPage(o) && !batch::selectedPages(o.selection, pages, o.pageList, why))
    throw Broken{"page selection refused: " + why};
  batch::Script script;
  batch::ParseError pe;
  if (!batch::parseScript(batch::shortcutScript(o), script, pe))
    throw Broken{"generated script refused: " + pe.message};
  std::ostringstream out, err;
  int code = 1;
  {
    batch::Runner runner(s.app(), out, err, "fuzz");
    runner.setAfterStep([&s] { s.flushDisplay(); });
    code = runner.run(script);
  }
  s.closeAll();
  return code == 0;
}

// A saved output: it opens, has the input's page count, and every page's
// crop box has an area.
void checkOutput(const std::string &path, int pages)
{
  std::unique_ptr<model::Document> doc;
  try {
    doc = model::Document::open(path);
  } catch (const std::exception &e) {
    throw Broken{"a saved output does not open: " + std::string(e.what())};
  }
  if (doc->pageCount() != pages)
    throw Broken{"a saved output has " + std::to_string(doc->pageCount()) + " pages, the input " +
                 std::to_string(pages)};
  for (int i = 0; i < pages && i < 64; ++i) {
    model::Page *p = doc->acquirePage(i);
    FixedRect c{};
    try {
      c = p->cropBox();
    } catch (const std::exception &) {
      doc->releasePage(p);
      continue; // a page the input could not show either
    }
    doc->releasePage(p);
    if (c.left == c.right || c.bottom == c.top)
      throw Broken{"page " + std::to_string(i + 1) + " of a saved output has an empty crop box"};
  }
}

} // namespace

CropOutcome runCropCommands(const uint8_t *data, size_t size, const std::string &pluginDir)
{
  CropOutcome outcome;
  try {
    const std::string &dir = folder();
    if (dir.empty())
      throw Broken{"no temporary folder"};
    app::Session &s = session(pluginDir);
    std::string in = dir + "/in.pdf";
    if (!writeAll(in, data, size))
      throw Broken{"cannot write the input"};
    std::string original(reinterpret_cast<const char *>(data), size);
    int pages = inputPages(in);
    if (pages <= 0)
      return outcome; // refused: the commands stop at the open
    std::string range = pages > kMaxCropPages ? "1-" + std::to_string(kMaxCropPages) : "all";
    struct Command {
      std::string out;
      std::vector<std::string> args;
    };
    std::vector<Command> commands = {
        {dir + "/bbox.pdf", {"--crop-bbox", "each", in, "-o", dir + "/bbox.pdf"}},
        {dir + "/region.pdf",
         {"--crop-region", "36 48 300 400", "--pages", range, "--orientation", "crop", in, "-o",
          dir + "/region.pdf"}},
        {dir + "/media.pdf", {"--reset-media-box", "all", in, "-o", dir + "/media.pdf"}}};
    for (const Command &c : commands) {
      ::unlink(c.out.c_str());
      if (runShortcut(s, c.args, pages))
        ++outcome.commandsRun;
      if (readAll(in) != original)
        throw Broken{"the input changed (" + c.args[0] + ")"};
      if (exists(c.out)) {
        checkOutput(c.out, pages);
        ++outcome.saved;
        ::unlink(c.out.c_str());
      }
    }
  } catch (const Broken &b) {
    outcome.ok = false;
    outcome.failure = b.what;
  } catch (const std::exception &e) {
    outcome.ok = false;
    outcome.failure = std::string("exception: ") + e.what();
  }
  return outcome;
}

} // namespace folio::fuzz
