// Atoms.h: the process-wide table of interned strings behind FSAtom.
//
// An atom is a 16-bit handle of a string; the same string always gives the
// same atom for the life of the process. Atom 0 (FSAtomNull) is never valid.
// Strings are copied in; the table owns them and never frees them while the
// process runs, so atomString() results stay valid. Thread-safe.
#pragma once

#include "folio/FolioTypes.h"

namespace folio {

// The atom of `name`, made on first use. A null `name`, or a new string when
// all 65535 atoms are taken, gives FSAtomNull.
FSAtom atomFromString(const char *name);

// True when `name` already has an atom; then writes it to `*atom` (when
// `atom` is non-null). Makes no atom. A null `name` gives false.
bool atomExistsForString(const char *name, FSAtom *atom);

// The string of `atom`, owned by the table; null for FSAtomNull or an atom
// that was never made.
const char *atomString(FSAtom atom);

// Number of atoms made so far (diagnostics and tests).
unsigned atomCount();

} // namespace folio
