// DocumentFuzz.h: one pass of the host's document path over arbitrary bytes.
//
// The bytes are written to a file in a private temporary folder of the
// process and go through what the host does with a document: open (with a
// repair when needed), page count, every page's media box, crop box and
// rotation (the first kMaxPages pages), the content bounding box of the first
// kMaxBBoxPages pages, a crop box written on each visited page, a save to a
// second file, and a reopen of what was saved.
//
// Input that the model refuses with a ModelError (not a PDF, damaged beyond
// repair, a password) is a normal outcome. What is not: a crash, a sanitizer
// report, an exception of another type, a broken invariant (a box that is not
// normalised, a rotation outside 0..359, a crop box that does not read back as
// written, a saved file that does not open again or has another page count,
// temporary files left beside a save). Those give ok == false with a message.
//
// Used by the libFuzzer target (which aborts on ok == false) and by the
// regression tests of the normal build, which run every corpus seed and every
// saved crasher through the same function.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace folio::fuzz {

constexpr int kMaxPages = 64;
constexpr int kMaxBBoxPages = 2;

struct FuzzOutcome {
  bool ok = true;      // false: an invariant broke (see `failure`)
  bool opened = false; // the model opened the document
  bool saved = false;  // the save went through and was reopened
  int pageCount = 0;   // pages of the opened document
  std::string refusal; // the ModelError message when the model refused the input
  std::string failure; // what broke when !ok
};

// Runs the document path over `data`. Not thread-safe (one temporary folder a
// process); removes its files before returning.
FuzzOutcome runDocumentPath(const uint8_t *data, size_t size);

} // namespace folio::fuzz
