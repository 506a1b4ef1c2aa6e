// PageTree.cpp: the index of a document's pages, from a walk of its page
// tree that trusts nothing the file claims.
//
// The pages are the leaves of the tree that can be reached from the catalog,
// each once, in order. A node met a second time (a node listed twice, or a
// kid that points back up the tree) is skipped, never followed again, so the
// walk ends on any file and visits each object at most once. Counts the file
// claims (/Count) are compared with what was found, never used to size
// anything. When the tree is not sound (skipped nodes, wrong counts, or
// deeper than the engine walks), it is rebuilt in memory as one flat node
// holding the reachable pages, with what each page inherited copied onto it,
// so that the engine finds every page by its index too.
#include <functional>
#include <unordered_set>
#include <vector>

#include "model/Engine.h"

namespace folio::model {

namespace {

// Deeper trees are rebuilt flat: the engine's own lookup of a page by its
// number walks the tree and refuses very deep ones.
constexpr size_t kMaxSoundDepth = 32;

struct Walk {
  std::vector<pdf_obj *> leaves; // borrowed from the document; empty when visited
  size_t count = 0;              // leaves found
  int skipped = 0;               // references to nodes met before
  bool sound = true;
  // When set, each leaf is given to it in order instead of being kept (the
  // leaf is borrowed for the call only).
  const std::function<void(size_t, pdf_obj *)> *visit = nullptr;
};

// The inheritable page attributes.
pdf_obj *const kInherited[] = {PDF_NAME(Resources), PDF_NAME(MediaBox), PDF_NAME(CropBox), PDF_NAME(Rotate)};

struct Frame {
  pdf_obj *node;   // kept while on the stack (a visitor may empty the engine's cache)
  int next;        // the next kid to visit
  size_t leavesAt; // leaves found before this node
};

// Gives back the nodes still on the stack (after an engine error).
void dropStack(fz_context *ctx, std::vector<Frame> &stack)
{
  for (Frame &f : stack)
    pdf_drop_obj(ctx, f.node);
  stack.clear();
}

// Depth first, kids in order, without recursion. With `flatten`, every leaf
// receives the inheritable attributes of its ancestors on the path walked
// (not through /Parent, which may point anywhere). Engine errors propagate;
// `w` and `stack` are filled in place (they live outside the error frame).
void walkTree(fz_context *ctx, pdf_document *doc, bool flatten, Walk &w, std::vector<Frame> &stack,
              std::unordered_set<int> &seen)
{
  pdf_obj *root = pdf_dict_getp(ctx, pdf_trailer(ctx, doc), "Root/Pages");
  if (!pdf_is_dict(ctx, root))
    return;
  if (int num = pdf_to_num(ctx, root))
    seen.insert(num);
  stack.push_back({pdf_keep_obj(ctx, root), 0, 0});
  while (!stack.empty()) {
    Frame &top = stack.back();
    pdf_obj *kids = pdf_dict_get(ctx, top.node, PDF_NAME(Kids));
    int n = pdf_array_len(ctx, kids);
    if (top.next >= n) {
      // The node's claimed count must be what it holds.
      pdf_obj *count = pdf_dict_get(ctx, top.node, PDF_NAME(Count));
      if (!pdf_is_int(ctx, count) || static_cast<size_t>(pdf_to_int(ctx, count)) != w.count - top.leavesAt)
        w.sound = false;
      pdf_drop_obj(ctx, top.node);
      stack.pop_back();
      continue;
    }
    pdf_obj *kid = pdf_array_get(ctx, kids, top.next++);
    if (!pdf_is_dict(ctx, kid)) {
      w.sound = false;
      continue;
    }
    int num = pdf_to_num(ctx, kid);
    if (num && !seen.insert(num).second) {
      ++w.skipped;
      w.sound = false;
      continue;
    }
    if (pdf_is_array(ctx, pdf_dict_get(ctx, kid, PDF_NAME(Kids)))) {
      stack.push_back({pdf_keep_obj(ctx, kid), 0, w.count});
      if (stack.size() > kMaxSoundDepth)
        w.sound = false;
      continue;
    }
    if (flatten) {
      for (pdf_obj *key : kInherited) {
        if (pdf_dict_get(ctx, kid, key))
          continue;
        for (size_t i = stack.size(); i-- > 0;) {
          if (pdf_obj *v = pdf_dict_get(ctx, stack[i].node, key)) {
            pdf_dict_put(ctx, kid, key, v);
            break;
          }
        }
      }
    }
    if (w.visit)
      (*w.visit)(w.count, kid);
    else
      w.leaves.push_back(kid);
    ++w.count;
  }
}

// Makes the root node hold the leaves directly.
void rebuildFlat(fz_context *ctx, pdf_document *doc, const std::vector<pdf_obj *> &leaves)
{
  pdf_obj *root = pdf_dict_getp(ctx, pdf_trailer(ctx, doc), "Root/Pages");
  pdf_obj *kids = pdf_new_array(ctx, doc, static_cast<int>(leaves.size()));
  fz_try(ctx)
  {
    for (pdf_obj *leaf : leaves) {
      pdf_array_push(ctx, kids, leaf);
      pdf_dict_put(ctx, leaf, PDF_NAME(Parent), pdf_dict_getp(ctx, pdf_trailer(ctx, doc), "Root/Pages"));
    }
    pdf_dict_put(ctx, root, PDF_NAME(Kids), kids);
    pdf_dict_put_int(ctx, root, PDF_NAME(Count), static_cast<int64_t>(leaves.size()));
    pdf_dict_del(ctx, root, PDF_NAME(Parent));
  }
  fz_always(ctx)
  {
    pdf_drop_obj(ctx, kids);
  }
  fz_catch(ctx)
  {
    fz_rethrow(ctx);
  }
}

} // namespace

void dropPageIndex(DocumentImpl &d)
{
  for (pdf_obj *o : d.pageObjs)
    pdf_drop_obj(d.ctx, o);
  d.pageObjs.clear();
}

void buildPageIndex(DocumentImpl &d)
{
  dropPageIndex(d);
  fz_context *ctx = d.ctx;
  Walk w;
  std::vector<Frame> stack;
  std::unordered_set<int> seen;
  try {
    engineCall(ctx, ModelErrorKind::Engine, "Cannot read the page tree", [&] {
      d.indexRepaired = pdf_was_repaired(ctx, d.doc) != 0;
      walkTree(ctx, d.doc, false, w, stack, seen);
    });
  } catch (const ModelError &) {
    dropStack(ctx, stack);
    throw;
  }
  d.skippedPageNodes = w.skipped;
  if (!w.sound && !w.leaves.empty()) {
    // Walk again, copying inherited attributes onto the pages, then hang
    // them all from the root.
    Walk again;
    stack.clear();
    seen.clear();
    try {
      engineCall(ctx, ModelErrorKind::Engine, "Cannot repair the page tree", [&] {
        walkTree(ctx, d.doc, true, again, stack, seen);
        rebuildFlat(ctx, d.doc, again.leaves);
      });
    } catch (const ModelError &) {
      dropStack(ctx, stack);
      throw;
    }
    d.treeRebuilt = true;
    w.leaves.swap(again.leaves);
  }
  d.pageObjs.reserve(w.leaves.size());
  for (pdf_obj *o : w.leaves)
    d.pageObjs.push_back(pdf_keep_obj(ctx, o));
}

PageWalk visitPages(fz_context *ctx, pdf_document *doc, const std::function<void(size_t, pdf_obj *)> &visit)
{
  Walk w;
  w.visit = &visit;
  std::vector<Frame> stack;
  std::unordered_set<int> seen;
  try {
    engineCall(ctx, ModelErrorKind::Engine, "Cannot read the page tree",
               [&] { walkTree(ctx, doc, false, w, stack, seen); });
  } catch (const ModelError &) {
    dropStack(ctx, stack);
    throw;
  }
  return PageWalk{w.count, w.skipped, w.sound};
}

pdf_obj *pageObject(DocumentImpl &d, int index, PageImpl *)
{
  if ((pdf_was_repaired(d.ctx, d.doc) != 0) != d.indexRepaired)
    buildPageIndex(d);
  if (index < 0 || static_cast<size_t>(index) >= d.pageObjs.size())
    throw ModelError(ModelErrorKind::Engine,
                     "Cannot find the page: page " + std::to_string(index + 1) + " can no longer be reached");
  return d.pageObjs[static_cast<size_t>(index)];
}

} // namespace folio::model
