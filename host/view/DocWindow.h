// DocWindow.h: one open document of the application (the host's FVDoc): the
// model's document, its title and its page view.
//
// Owned by the Application (made by openDocument, destroyed by
// closeDocument or with the application). The page view lives exactly as
// long as its DocWindow.
#pragma once

#include <memory>
#include <string>

#include "folio/FolioTypes.h"
#include "model/Document.h"
#include "view/PageView.h"

namespace folio::view {

class Application;

class DocWindow {
public:
  DocWindow(Application &app, std::unique_ptr<model::Document> doc, std::string title);
  ~DocWindow();
  DocWindow(const DocWindow &) = delete;
  DocWindow &operator=(const DocWindow &) = delete;

  Application &application() const { return *app_; }
  model::Document &document() const { return *doc_; }
  PDDoc pdDoc() const;
  // The window title: as given at open, or the file's own name.
  const std::string &title() const { return title_; }
  // After the document was saved under another name: a title that was the
  // file's name becomes the new file's name. True when the title changed.
  bool followFile();
  PageView &pageView() const { return *view_; }

private:
  Application *app_;
  std::unique_ptr<model::Document> doc_;
  std::string title_;
  bool titleFromFile_;
  std::unique_ptr<PageView> view_;
};

} // namespace folio::view
