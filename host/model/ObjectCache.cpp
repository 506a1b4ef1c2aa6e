// ObjectCache.cpp: emptying the engine's cache of objects read from the file.
//
// The engine keeps every object it has parsed in its cross-reference table
// until the document is dropped. An object changed in this session lives in
// the document's incremental section and is the only copy of the change; an
// object in an older section is what the file holds, parsed, and the engine
// parses it again from the file when it is asked for it next. Dropping the
// older sections' objects that nothing else holds frees their memory and
// changes nothing the document says.
#include "model/Engine.h"

namespace folio::model {

size_t trimObjectCache(fz_context *ctx, pdf_document *doc) noexcept
{
  if (!doc || doc->repair_in_progress || doc->save_in_progress ||
      (doc->local_xref && doc->local_xref_nesting > 0))
    return 0;
  // A repair may have made objects that are in no file; keep everything.
  if (pdf_was_repaired(ctx, doc))
    return 0;
  size_t dropped = 0;
  // Sections [0, num_incremental_sections) hold this session's changes.
  for (int x = doc->num_incremental_sections; x < doc->num_xref_sections; ++x) {
    for (pdf_xref_subsec *sub = doc->xref_sections[x].subsec; sub; sub = sub->next) {
      for (int e = 0; e < sub->len; ++e) {
        pdf_xref_entry &entry = sub->table[e];
        // Only objects the file holds (in use or in an object stream), with
        // their stream still on disk, not marked to stay, and held by no one
        // but the table.
        if (!entry.obj || entry.stm_buf || entry.marked || (entry.type != 'n' && entry.type != 'o'))
          continue;
        if (entry.type == 'n' && entry.ofs <= 0)
          continue;
        if (pdf_obj_refs(ctx, entry.obj) != 1 || pdf_obj_is_dirty(ctx, entry.obj))
          continue;
        // Nodes of the page tree stay: every page reaches them for what it
        // inherits, and a node may list many thousands of pages.
        if (pdf_is_dict(ctx, entry.obj) && pdf_dict_get(ctx, entry.obj, PDF_NAME(Kids)))
          continue;
        pdf_drop_obj(ctx, entry.obj);
        entry.obj = nullptr;
        ++dropped;
      }
    }
  }
  return dropped;
}

} // namespace folio::model
