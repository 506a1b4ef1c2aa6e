// Extension.h: the record behind the opaque ExtensionID of the interface: one
// loaded (or failed) plug-in.
//
// Made and owned by the plug-in loader; valid for the life of the loader (the
// loader keeps failed records too, so an ExtensionID handed out is never left
// dangling). Only the loader writes it.
#pragma once

#include <string>

#include "folio/FolioTypes.h"

struct _t_ExtensionID {
  std::string path;         // the shared object's file, as found
  FSAtom name = FSAtomNull; // registered name, from the handshake
  void *handle = nullptr;   // dlopen handle; null once unloaded
  FSUns32 agreedVersion = 0;
  PIHandshakeData_V0200 handshake{}; // as the extension filled it
  bool active = false;               // through init; its callbacks may be called
};

namespace folio {

// The extension's registered name ("" before the handshake).
const char *extensionName(ExtensionID extension);
// The extension's file.
const char *extensionPath(ExtensionID extension);

} // namespace folio
