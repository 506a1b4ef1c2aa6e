// DocWindow.cpp: one open document and its page view.
#include "view/DocWindow.h"

#include "model/ModelHandles.h"
#include "view/Application.h"

namespace folio::view {

static std::string fileTitle(const std::string &path)
{
  size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

DocWindow::DocWindow(Application &app, std::unique_ptr<model::Document> doc, std::string title)
    : app_(&app), doc_(std::move(doc)), title_(title.empty() ? fileTitle(doc_->path()) : std::move(title)),
      titleFromFile_(title_ == fileTitle(doc_->path()))
{
  view_ = std::make_unique<PageView>(app, *this);
}

DocWindow::~DocWindow()
{
  view_.reset();
}

bool DocWindow::followFile()
{
  if (!titleFromFile_)
    return false;
  std::string next = fileTitle(doc_->path());
  if (next == title_)
    return false;
  title_ = next;
  return true;
}

PDDoc DocWindow::pdDoc() const
{
  return model::toPDDoc(doc_.get());
}

} // namespace folio::view
