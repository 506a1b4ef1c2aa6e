// Session.cpp: assembling the host (see Session.h).
#include "app/Session.h"

#include <stdexcept>

#define FOLIO_HOST_SIDE
#include "batch/Script.h"
#include "core/Configuration.h"
#include "core/PluginLoader.h"
#include "core/TableRegistry.h"
#include "folio/FolioSupportHFT.h"
#include "folio/FolioViewHFT.h"
#include "folio/ObjHFT.h"
#include "folio/PDModelHFT.h"
#include "folio/UnixHFT.h"
#include "model/BBoxMargin.h"
#include "platform/XSession.h"
#include "tables/CoreTable.h"
#include "tables/FolioSupportTable.h"
#include "tables/FolioViewTable.h"
#include "tables/PDModelTable.h"
#include "tables/UnixTable.h"
#include "view/Application.h"

namespace folio::app {

Session::Session(const SessionOptions &options)
{
  Configuration &config = configuration();
  if (options.readOnly)
    config.setEdition(Edition::ReadOnly);
  for (const std::string &dir : options.pluginDirs)
    config.addPluginSource(dir, SourceOrigin::CommandLine);
  if (options.bboxMargin)
    config.setBBoxMargin(*options.bboxMargin);
  model::setBBoxMargin(config.bboxMargin());

  platform::XSession::Options xo;
  xo.mapped = options.mapped;
  xo.fallbackResources = options.fallbackResources;
  if (options.mapped) {
    xo.width = 900;
    xo.height = 700;
  }
  try {
    x_ = platform::XSession::open(xo);
  } catch (const platform::PlatformError &e) {
    throw std::runtime_error(e.what());
  }
  app_ = std::make_unique<view::Application>();
  registerTables();
}

Session::~Session()
{
  if (loader_)
    loader_->unloadAll();
  closeAll();
  // The plug-ins stay mapped (the loader never closes an active one), so the
  // application may go before them; the X session goes last.
  app_.reset();
  x_.reset();
}

void Session::flushDisplay()
{
  if (x_)
    x_->flush();
}

void Session::registerTables()
{
  TableRegistry &registry = tableRegistry();
  tables::coreTable(); // "Core" and "Obj", in the process-wide registry
  auto add = [&](const char *name, FSUns32 version, std::vector<FSProc> entries) {
    tables_.push_back(std::move(entries));
    const std::vector<FSProc> &t = tables_.back();
    if (!registry.find(name, version) && !registry.add(name, version, t.data(), t.size()))
      throw std::runtime_error(std::string("cannot register the host table ") + name);
  };
  add(FolioSupportHFT_NAME, FolioSupportHFT_VERSION, tables::makeFolioSupportTable());
  add(PDModelHFT_NAME, PDModelHFT_VERSION, tables::makePDModelTable());
  add(FolioViewHFT_NAME, FolioViewHFT_VERSION, tables::makeFolioViewTable(*app_));
  add(UnixHFT_NAME, UnixHFT_VERSION, tables::makeUnixTable(x_.get()));
}

bool Session::loadPlugins(std::ostream &report)
{
  Configuration &config = configuration();
  for (const std::string &w : config.warnings())
    report << "config: " << batch::escapeControlBytes(w) << "\n";
  loader_ = std::make_unique<PluginLoader>(tables::coreTable());
  loader_->loadAll(config.pluginSources());
  bool allOk = true;
  for (const LoadRecord &r : loader_->report()) {
    report << "load: " << batch::escapeControlBytes(r.message) << "\n";
    allOk = allOk && r.ok;
  }
  report.flush();
  return allOk;
}

void Session::closeAll()
{
  if (!app_)
    return;
  while (!app_->documents().empty()) {
    if (!app_->closeDocument(app_->documents().back().get(), true))
      break;
  }
}

} // namespace folio::app
