// Callback.h: the host's side of FSCallback, the wrapping of an extension's
// procedure that the host calls through (FSCallbackCreate).
//
// A callback is owned by the host (made by callbackCreate, freed by
// callbackDestroy or at exit). The host never calls a bare procedure of an
// extension: it fetches it from the callback with callbackProc<Type>().
#pragma once

#include <cstddef>

#include "folio/FolioTypes.h"

// The record behind the opaque FSCallback handle of the interface.
struct _t_FSCallback {
  ExtensionID extension; // the owner, as passed to FSCallbackCreate
  FSProc proc;           // the procedure, of the type its use implies
};

namespace folio {

// A new callback of (extension, proc); null when `proc` is null. The host
// owns it: callbackDestroy() frees it, and whatever is left is freed when the
// process exits (so never call one from a static destructor).
FSCallback callbackCreate(ExtensionID extension, FSProc proc);
// Frees a callback; null, or one not made here (or already freed), is ignored.
void callbackDestroy(FSCallback callback);
// Frees every callback owned by `extension` (a plug-in that failed to load).
void callbackDestroyAllOf(ExtensionID extension);
// Callbacks alive now (diagnostics and tests).
std::size_t callbackCount();

// The procedure of a callback as the type `Fn`; null for a null callback.
template <class Fn> Fn callbackProc(FSCallback callback)
{
  return callback ? reinterpret_cast<Fn>(callback->proc) : nullptr;
}

} // namespace folio
