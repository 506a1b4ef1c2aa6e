// UpdateXref.h: the cross-reference table of an incremental update, in few
// subsections.
//
// The engine writes the table of an update as one subsection per run of
// consecutive changed objects. A crop of every page changes every page
// object, and page objects usually alternate with their contents, so the
// update of a 100,000-page document holds 100,000 subsections. The engine
// reads such a table, and finds an object in it, by walking the list of its
// subsections: reading the file back costs time in the square of the page
// count. Here the runs are joined, restating the objects between them where
// they already are (their offset in the unchanged bytes, or free), so that
// the table holds at most a few dozen subsections. The objects written, the
// trailer and the offset of the table stay as they were.
//
// Engine-private (includes the engine's headers through Engine.h).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "model/Engine.h"

namespace folio::model {

// Where an object of the document lives before the update: the entry a
// table may state again for an object the update leaves as it is.
struct PriorEntry {
  char type = 0;      // 'n' in use at `offset`, 'f' free, 'o' in object stream `offset` at index
                      // `gen`; 0: no entry can say it (never defined, or changed in memory)
  int64_t offset = 0; // file offset ('n'), next free object ('f'), object stream number ('o')
  int gen = 0;        // generation ('n', 'f'), index in the object stream ('o')
};

// The entries of every object of `doc` into `out`, taken just before its
// incremental save. Engine errors propagate (as the engine's own, by a long
// jump: `out` is the caller's, so nothing here is left undestroyed).
void priorEntries(fz_context *ctx, pdf_document *doc, std::vector<PriorEntry> &out);

// Rewrites in place the cross-reference table of the update the engine has
// just appended to the file at `path`, joining its runs (see above). `doc`
// is the document saved (its parser reads a cross-reference stream's
// dictionary; nothing in it changes). False, with the file untouched, when
// the update does not end in a table of a form written by the engine (a
// compressed stream, say) or no run can be joined to the next (an object
// between them with no entry to state); true when it was rewritten or needed
// no change. Throws ModelError(SaveFailed) when the file cannot be read or
// written.
bool joinUpdateRuns(fz_context *ctx, pdf_document *doc, const std::string &path,
                    const std::vector<PriorEntry> &prior);

} // namespace folio::model
