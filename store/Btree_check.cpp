// Btree: what the tree trusts in a file only after a check, the descriptor
// of page 0 and each page when it is first read, and the report of a broken
// tree.  A page that passes can be searched, compacted and split without any
// offset leaving the page.
#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

#include "store/Btree.h"
#include "store/Btree_impl.h"

using namespace btree_impl;
namespace bf = btree_file;

namespace {

// True when two items of page p share a byte: key items, data items and the
// stored prefix of sp bytes.  Each of them must already be known to lie
// inside the page.  Items that are apart also fit into the page together,
// which is what compaction relies on when it rewrites them.
bool items_overlap(const Btree_page* p, int sp) {
  static thread_local std::pair<int, int> item[2 * bf::max_cells + 1];
  int n = 0;
  for (int i = 0; i < p->e; i++) {
    const Btree_cell& c = p->cell[i];
    item[n++] = {c.ak, c.ak + bf::key_item_size(p->c, c.ak)};
    if (!p->t) item[n++] = {c.ad, c.ad + bf::data_item_size(p->c, c.ad)};
  }
  if (sp) {
    int end = p->t ? bf::spare_pos : p->cell[0].ak;
    item[n++] = {end - sp, end};
  }
  std::sort(item, item + n);
  for (int i = 1; i < n; i++)
    if (item[i].first < item[i - 1].second) return true;
  return false;
}

// True when the keys of page p do not ascend, which every search relies on:
// strictly on a data page (from cell 1, behind the sentinel), never
// downwards on an index page.  The keys are the page's own parts behind its
// shared prefix, so they compare as the whole keys do.
bool keys_out_of_order(const Btree_page* p) {
  for (int i = p->t ? 1 : 2; i < p->e; i++) {
    int a = p->cell[i - 1].ak, b = p->cell[i].ak;
    int c = cmp_bytes(p->c + a + bf::key_head, p->c[a], p->c + b + bf::key_head, p->c[b]);
    if (c > 0 || (c == 0 && !p->t)) return true;
  }
  return false;
}

// The order of the whole keys of cell i of page a and cell j of page b.
int cmp_cells(const Btree_page* a, int i, const Btree_page* b, int j) {
  unsigned char x[2 * bf::max_key], y[2 * bf::max_key];
  int xL = full_key(a, i, x), yL = full_key(b, j, y);
  return cmp_bytes(x, xL, y, yL);
}

}  // namespace

void Btree::broken(const Btree_page* p, int line, const char* format, ...) {
  if (p) trac1_page(p, stdout);
  exut.show_int("treeID", treeID);
  va_list ap;
  va_start(ap, format);
  add_to_report(format, ap);
  va_end(ap);
  exut.throw_error(line, SRC);
}

// The four constants of the descriptor say whether the file has this format.
void Btree::check_descr() {
  Btree_descr* d = descr;
  if (d->icell_size == bf::cell_size && d->dcell_size == bf::cell_size &&
      d->page_size == (uint32_t)page_size && d->descr_pos == (uint32_t)pos_descr)
    return;
  exut.show_int("index cell size", (long)d->icell_size);
  exut.show_int("data cell size", (long)d->dcell_size);
  exut.show_int("page size", (long)d->page_size);
  exut.show_int("pos_descr", (long)d->descr_pos);
  char what[300] = "";
  if (d->icell_size != bf::cell_size)
    snprintf(what + strlen(what), 80, " index cell size %u (not 8)", d->icell_size);
  if (d->dcell_size != bf::cell_size)
    snprintf(what + strlen(what), 80, " data cell size %u (not 8)", d->dcell_size);
  if (d->page_size != (uint32_t)page_size)
    snprintf(what + strlen(what), 80, " page size %u (not 4100)", d->page_size);
  if (d->descr_pos != (uint32_t)pos_descr)
    snprintf(what + strlen(what), 80, " descriptor position %u (not 4052)", d->descr_pos);
  errno = err::corrupted_data;
  exut.fail(__LINE__, SRC, "System: %s is not a Btree file of this format:%s\n", Bfn, what);
}

// What is wrong with page p as read from the file, or null when nothing is.
const char* Btree::page_fault(const Btree_page* p) const {
  int top = bf::heap_top(p);
  int sp = p->c[spare_pos];
  if (p->t > 1) return "page type";
  if (p->e < 1 || p->e > bf::max_cells) return "number of cells";
  if (p->h < bf::cell_size * p->e || p->h > top) return "heap start";
  if (sp > max_k_L || (p->nr == 0 && sp)) return "shared prefix length";
  if (p->t) top -= sp;
  for (int i = 0; i < p->e; i++) {
    const Btree_cell& c = p->cell[i];
    if (c.ak < p->h || c.ak >= top || c.ak + bf::key_item_size(p->c, c.ak) > top ||
        sp + p->c[c.ak] > max_k_L)
      return "key offset";
    if (p->t) {
      if (c.surr > descr->last) return "son";
    } else if (c.ad < p->h || c.ad + bf::data_head > top || c.ad + bf::data_item_size(p->c, c.ad) > top) {
      return "data offset";
    }
  }
  if (!p->t && p->cell[0].ak - sp < p->h) return "shared prefix position";
  if (items_overlap(p, sp)) return "overlapping items";
  if (keys_out_of_order(p)) return "keys out of order";
  if (!p->t && p->e >= 2 && cmp_cells(p, 1, p, 0) < 0) return "key below the page's lower bound";
  return nullptr;
}

// A page read from a file is checked before anything trusts its offsets.
void Btree::validate_loaded(const Btree_page* p) {
  const char* what = page_fault(p);
  if (!what) return;
  // Nothing of a damaged file is written any more, not even on destruction.
  damaged_ = true;
  exut.show_int("nr", p->nr);
  exut.show_int("e", p->e);
  exut.show_int("h", p->h);
  errno = err::corrupted_data;
  broken(p, __LINE__, "System: Btree %s: page %i is damaged (%s)\n", Bfn, p->nr, what);
}

// Page l + 1 was reached through cell pos_m[l].m of page l.  What the check
// of a single page cannot see, the descent can: the son begins with the
// separator it was reached through (the sentinel of a data page, the first
// separator of an index page), and its last key lies below the next
// separator of the nearest page above that has one.  With that, every page
// on a path holds only keys of its own range, and no page hangs below two
// separators.  A file that breaks it is refused as damaged before a change
// could put a key where no search finds it.  A tree in memory, or in the
// overflow file it made itself, holds only pages this process wrote: the
// check is left out there, where it cost a fifth of a large closure.
void Btree::check_son(int l) {
  if (memory_ || spilled_) return;
  const Btree_page* f = page[l];
  const Btree_page* s = page[l + 1];
  const char* what = nullptr;
  if (cmp_cells(s, 0, f, pos_m[l].m) != 0) {
    what = "first key is not its separator";
  } else {
    for (int j = l; j >= 0; j--) {
      int next = pos_m[j].m + 1;
      if (next >= page[j]->e) continue;
      int c = cmp_cells(s, s->e - 1, page[j], next);
      if (c > 0 || (c == 0 && !s->t)) what = "keys above the next separator";
      break;
    }
  }
  if (!what) return;
  damaged_ = true;
  exut.show_int("father", f->nr);
  exut.show_int("cell", pos_m[l].m);
  errno = err::corrupted_data;
  broken(s, __LINE__, "System: Btree %s: page %i is damaged (%s)\n", Bfn, s->nr, what);
}
