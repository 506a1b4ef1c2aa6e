// FuzzMain.cpp: the libFuzzer entry over the host's document path. A broken
// invariant is printed and aborts, so that libFuzzer keeps the input.
#include <cstdio>
#include <cstdlib>

#include "DocumentFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
  folio::fuzz::FuzzOutcome out = folio::fuzz::runDocumentPath(data, size);
  if (!out.ok) {
    std::fprintf(stderr, "document path: %s\n", out.failure.c_str());
    std::abort();
  }
  return 0;
}
