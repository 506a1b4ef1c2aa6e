// CropFuzzMain.cpp: the libFuzzer entry over the crop commands of the host
// session with the real plug-in. A broken invariant is printed and aborts,
// so that libFuzzer keeps the input. The plug-ins are the build's (bin/plug_ins
// beside this program, the host's default folder).
#include <cstdio>
#include <cstdlib>

#include "CropFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
  folio::fuzz::CropOutcome out = folio::fuzz::runCropCommands(data, size, "");
  if (!out.ok) {
    std::fprintf(stderr, "crop commands: %s\n", out.failure.c_str());
    std::abort();
  }
  return 0;
}
