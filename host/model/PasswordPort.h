// PasswordPort.h: how the model asks a front end for a document's password.
//
// The Motif viewer implements it with a dialog, the batch runner from its
// script or command line. Document::open calls it only for an encrypted file
// that does not open with the empty password.
#pragma once

#include <optional>
#include <string>

namespace folio::model {

class PasswordPort {
public:
  virtual ~PasswordPort() = default;

  // The password to try for the document at `path`. `attempt` counts from 1;
  // an attempt above 1 means that the previous answer was wrong. Return
  // nullopt to give up (the open then fails with PasswordRequired).
  virtual std::optional<std::string> askPassword(const std::string &path, int attempt) = 0;

  // A password the user gave beforehand (a script's `open F PASSWORD`, the
  // command line's --password), for a file that opens without one: it is
  // tried as the owner password, which grants every permission. Nothing by
  // default: an interactive front end does not ask when it need not.
  virtual std::optional<std::string> givenPassword(const std::string &) { return std::nullopt; }
};

// A port that offers the same fixed password once (scripts, tests).
class FixedPasswordPort : public PasswordPort {
public:
  explicit FixedPasswordPort(std::string password) : password_(std::move(password)) {}
  std::optional<std::string> askPassword(const std::string &, int attempt) override
  {
    if (attempt > 1)
      return std::nullopt;
    return password_;
  }
  std::optional<std::string> givenPassword(const std::string &) override { return password_; }

private:
  std::string password_;
};

} // namespace folio::model
