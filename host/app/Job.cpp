// Job.cpp: the folio program's job: command line, session, front end.
#include "Job.h"

#include <unistd.h>

#include <fstream>
#include <iostream>
#include <sstream>

#include "Session.h"
#include "ViewerEntry.h"
#include "batch/CommandLine.h"
#include "batch/Runner.h"
#include "batch/Script.h"
#include "core/Guard.h"

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

int runBatch(const batch::Options &o, const batch::Script &script, const std::string &name)
{
  SessionOptions so;
  so.readOnly = o.readOnly;
  so.pluginDirs = o.pluginDirs;
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
    // No event loop flushes the X connection in a batch run: each step
    // does, so that the cursors and pixmaps the plug-ins make (at load and
    // on every pointer action) reach the server when they are made, not all
    // at once when the display closes.
    Session &ses = *session;
    runner.setAfterStep([&ses] { ses.flushDisplay(); });
    session->loadPlugins(std::cerr);
    session->flushDisplay();
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
  switch (o.mode) {
  case batch::Mode::Help:
    std::cout << batch::usageText();
    return kExitOk;
  case batch::Mode::Interactive: {
    SessionOptions so;
    so.readOnly = o.readOnly;
    so.pluginDirs = o.pluginDirs;
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
  return runBatch(o, script, name);
}

} // namespace folio::app
