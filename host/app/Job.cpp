// Job.cpp: the folio program's job: command line, session, front end.
#include "app/Job.h"

#include <unistd.h>

#include <cmath>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <sstream>

#include "app/Session.h"
#include "app/ViewerEntry.h"
#include "batch/CommandLine.h"
#include "batch/Runner.h"
#include "batch/Script.h"
#include "core/Guard.h"
#include "model/Document.h"

namespace folio::app {

namespace {

bool readAll(std::istream &in, std::string &text)
{
  std::ostringstream s;
  s << in.rdbuf();
  text = s.str();
  return !in.bad();
}

const char *shortcutFlag(batch::Shortcut s)
{
  switch (s) {
  case batch::Shortcut::CropBBox:
    return "--crop-bbox";
  case batch::Shortcut::CropRegion:
    return "--crop-region";
  case batch::Shortcut::ResetMediaBox:
    return "--reset-media-box";
  case batch::Shortcut::None:
    break;
  }
  return "shortcut";
}

bool sameBox(const FixedRect &a, const FixedRect &b, Fixed tolerance = 0)
{
  auto near = [&](Fixed x, Fixed y) { return (x > y ? x - y : y - x) <= tolerance; };
  return near(a.left, b.left) && near(a.bottom, b.bottom) && near(a.right, b.right) && near(a.top, b.top);
}

// Why a page of a page-by-page shortcut was left as it was, when the plug-in
// said nothing about it: what the host can tell from the page.
std::function<std::string(model::Page &)> unchangedReason(const batch::Options &o)
{
  switch (o.shortcut) {
  case batch::Shortcut::CropBBox:
    return [](model::Page &) {
      return std::string("its crop box is its bounding box already, or it has no marks");
    };
  case batch::Shortcut::ResetMediaBox:
    return [](model::Page &) { return std::string("its crop box is its media box already"); };
  case batch::Shortcut::CropRegion: {
    auto fx = [](double v) { return static_cast<Fixed>(std::lround(v * 65536.0)); };
    FixedRect region{fx(o.region[0]), fx(o.region[3]), fx(o.region[2]), fx(o.region[1])};
    return [region](model::Page &p) {
      if (sameBox(p.cropBox(), region, 65536 / 16))
        return std::string("its crop box is the region already");
      return std::string("the region could not be applied to it");
    };
  }
  case batch::Shortcut::None:
    break;
  }
  return nullptr;
}

// Resolves a --pages list (or odd/even) against the input's page count:
// kExitOk, kExitRunFailed (the input does not open) or kExitUsage (the
// selection names pages the document does not have). The document read to
// count them is left in `opened`, for the run's own open of the input.
int resolvePages(batch::Options &o, std::unique_ptr<model::Document> &opened)
{
  long count = 0;
  try {
    model::FixedPasswordPort password(o.password);
    opened = model::Document::open(o.input, o.password.empty() ? nullptr : &password);
    count = opened->pageCount();
  } catch (const std::exception &e) {
    std::cerr << "folio: cannot open " << batch::quoteForMessage(o.input) << ": "
              << batch::escapeControlBytes(e.what()) << std::endl;
    return kExitRunFailed;
  }
  std::string why;
  if (!batch::selectedPages(o.selection, count, o.pageList, why)) {
    std::cerr << "folio: " << why << std::endl;
    return kExitUsage;
  }
  return kExitOk;
}

// Runs `script` in a new session; `opened`, when given, is the input read
// already, taken by the script's open of it.
int runBatch(const batch::Options &o, const batch::Script &script, const std::string &name,
             std::unique_ptr<model::Document> opened = nullptr)
{
  SessionOptions so;
  so.readOnly = o.readOnly;
  so.pluginDirs = o.pluginDirs;
  so.bboxMargin = o.bboxMargin;
  std::unique_ptr<Session> session;
  try {
    session = std::make_unique<Session>(so);
  } catch (const std::exception &e) {
    std::cerr << "folio: " << e.what() << std::endl;
    return kExitRunFailed;
  }
  int code;
  {
    batch::Runner runner(session->app(), std::cout, std::cerr, name, isatty(STDERR_FILENO) == 1);
    batch::Runner::installInterruptHandler();
    if (batch::runsPageByPage(o))
      runner.reportUnchanged(o.pageList, unchangedReason(o));
    // No event loop flushes the X connection in a batch run: each step
    // does, so that the cursors and pixmaps the plug-ins make (at load and
    // on every pointer action) reach the server when they are made, not all
    // at once when the display closes.
    Session &ses = *session;
    runner.setAfterStep([&ses] { ses.flushDisplay(); });
    session->loadPlugins(std::cerr);
    session->flushDisplay();
    if (opened)
      session->app().adoptForOpen(std::move(opened));
    code = runner.run(script) == 0 ? kExitOk : kExitRunFailed;
    std::cout.flush();
    session->closeAll();
  }
  return code;
}

} // namespace

Job::Job(int argc, const char *const *argv) : argc_(argc), argv_(argv) {}

int Job::run()
{
  // Whatever escapes the front end ends the run with a message and exit
  // status 1, never an abort.
  return guardCall(
      int(kExitRunFailed), [&] { return runUnguarded(); }, reportFailure);
}

void reportFailure(const std::string &message)
{
  std::cout.flush();
  std::cerr << "folio: " << batch::escapeControlBytes(message) << std::endl;
}

int Job::runUnguarded()
{
  batch::Options o;
  std::string why;
  if (!batch::parseCommandLine(argc_, argv_, o, why)) {
    std::cerr << "folio: " << batch::escapeControlBytes(why) << "\n"
              << "Try 'folio --help' for more information." << std::endl;
    return kExitUsage;
  }

  std::string text, name;
  std::unique_ptr<model::Document> opened; // the input, when it was read to resolve --pages
  switch (o.mode) {
  case batch::Mode::Help:
    std::cout << batch::usageText();
    return kExitOk;
  case batch::Mode::Interactive: {
    SessionOptions so;
    so.readOnly = o.readOnly;
    so.pluginDirs = o.pluginDirs;
    so.bboxMargin = o.bboxMargin;
    so.fallbackResources = viewerFallbackResources();
    try {
      Session session(so);
      return runViewer(session, o);
    } catch (const std::exception &e) {
      std::cerr << "folio: " << e.what() << std::endl;
      return kExitRunFailed;
    }
  }
  case batch::Mode::Batch:
    name = o.scriptPath;
    if (o.scriptPath == "-") {
      readAll(std::cin, text);
    } else {
      std::ifstream in(o.scriptPath, std::ios::binary);
      if (!in || !readAll(in, text)) {
        std::cerr << "folio: cannot read the script " << batch::escapeControlBytes(o.scriptPath) << std::endl;
        return kExitRunFailed;
      }
    }
    break;
  case batch::Mode::Run:
    name = "--run";
    text = batch::runListToScript(o.runList);
    break;
  case batch::Mode::Shortcut:
    name = shortcutFlag(o.shortcut);
    if (o.passwordFromStdin && !batch::readPasswordLine(std::cin, o)) {
      std::cerr << "folio: --password -: no password on standard input" << std::endl;
      return kExitRunFailed;
    }
    if (batch::runsPageByPage(o)) {
      int code = resolvePages(o, opened);
      if (code != kExitOk)
        return code;
    }
    text = batch::shortcutScript(o);
    if (o.printScript) {
      std::cout << text;
      return kExitOk;
    }
    if (batch::outputIsInputInDisguise(o, why)) {
      std::cerr << "folio: " << why << std::endl;
      return kExitRunFailed;
    }
    break;
  }

  batch::Script script;
  batch::ParseError pe;
  if (!batch::parseScript(text, script, pe)) {
    std::cerr << "folio: " << batch::escapeControlBytes(name) << ":" << pe.line << ": "
              << batch::escapeControlBytes(pe.message) << std::endl;
    return kExitRunFailed;
  }
  return runBatch(o, script, name, std::move(opened));
}

} // namespace folio::app
