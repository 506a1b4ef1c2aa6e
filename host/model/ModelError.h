// ModelError.h: the one exception type of the document model.
//
// Thrown inside the host only (never across the C interface: every table
// adapter catches it and returns the entry's documented failure result).
// what() is a complete sentence fit to show to the user as it stands.
#pragma once

#include <stdexcept>
#include <string>

namespace folio::model {

enum class ModelErrorKind {
  MissingFile,      // the path does not name an existing file
  PermissionDenied, // the file exists but cannot be read (or the target written)
  EmptyFile,        // zero bytes
  NotPdf,           // no PDF header and nothing a PDF reader can recover
  Truncated,        // a PDF header but the file ends before its first page
  Damaged,          // a PDF that could not be repaired
  PasswordRequired, // encrypted and no password was given (or the user gave up)
  WrongPassword,    // encrypted and every password offered was wrong
  PageOutOfRange,   // a page index outside 0 .. pageCount-1
  SaveFailed,       // the document could not be written; the original is untouched
  Engine            // any other failure of the PDF engine
};

class ModelError : public std::runtime_error {
public:
  ModelError(ModelErrorKind kind, const std::string &userMessage)
      : std::runtime_error(userMessage), kind_(kind)
  {
  }
  ModelErrorKind kind() const noexcept { return kind_; }

private:
  ModelErrorKind kind_;
};

} // namespace folio::model
