// CropFuzz.h: the three crop commands through the real plug-in in the real
// host session, over arbitrary bytes.
//
// The bytes are written to a file in a private temporary folder and go
// through what the shortcuts of the folio program do, in this process, on
// one host session with the plug-ins loaded (made at the first call, kept for
// the process): --crop-bbox each, --crop-region with --pages all (page by
// page, as a user does it, the first kMaxCropPages pages) and
// --reset-media-box all, each saved with -o to a file of its own. A command
// that stops with an error is a normal outcome (an input the model refuses,
// a question the plug-in asks). What is not: a crash, a sanitizer report, an
// exception out of the runner, an input that changed, a saved output that
// does not open again, has another page count than the input or holds a
// crop box without area. Those give ok == false with a message.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace folio::fuzz {

constexpr int kMaxCropPages = 16;

struct CropOutcome {
  bool ok = true;      // false: an invariant broke (see `failure`)
  int commandsRun = 0; // commands whose run went through
  int saved = 0;       // outputs written (and read back)
  std::string failure;
};

// Runs the three commands over `data`. Not thread-safe; needs an X display
// (DISPLAY, or the session's own private server). The plug-ins are those the
// session finds (the folder beside the program) and those of `pluginDir`
// when not empty (given at the first call; later calls use that session).
CropOutcome runCropCommands(const uint8_t *data, size_t size, const std::string &pluginDir);

} // namespace folio::fuzz
