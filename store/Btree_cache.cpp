// Btree: the page cache.  A tree in memory keeps page nr in slot nr; a file
// tree keeps page 0 in slot 0 and up to 399 more pages in the other slots,
// replaced by the clock, and reads a data page that it only looks at where
// it lies in the view of the file.
#include <cerrno>
#include <cstring>

#include "store/Btree.h"
#include "store/Btree_impl.h"

using namespace btree_impl;
namespace bf = btree_file;

Btree_page* Btree::alloc_page() {
  Btree_page* p = new Btree_page();
  p->nr = -1;
  return p;
}

void Btree::touch(const Btree_page* p) {
  if (memory_) return;
  if (p->nr >= 0 && (size_t)p->nr < slot_of_.size()) {
    int s = slot_of_[p->nr];
    if (s >= 0) ref_[s] = p->t ? 3 : 1;
  }
}

// A page on the current path or made by the running insertion stays.
bool Btree::pinned(const Btree_page* q) const {
  int top = max_deepest + 1 < L_Bp - 1 ? max_deepest + 1 : L_Bp - 1;
  for (int i = 0; i <= top; i++)
    if (page[i] == q) return true;
  if (page[L_Bp - 1] == q) return true;
  for (int j = 0; j < e_extra; j++)
    if (extra[j] == q) return true;
  return false;
}

// Frees one cache slot for reuse, by the clock: a slot used since the hand
// passed it last gets another round (index pages three), unless it is pinned.
int Btree::evict(int i) {
  int best = -1;
  for (int round = 0; round < 4 * L_Cp + 4; round++) {
    int s = hand_;
    if (++hand_ >= e_cache) hand_ = 1;
    if (s < 1 || s >= e_cache || pinned(cache[s])) continue;
    if (ref_[s]) {
      ref_[s]--;
      continue;
    }
    best = s;
    break;
  }
  if (best < 0) {
    exut.show_int("e_cache", e_cache);
    exut.show_int("i", i);
    exut.fail(__LINE__, SRC, "System: no more space in the Cache");
  }
  Btree_page* p = cache[best];
  if (p->nr >= 0) {
    if (p->dirty) to_Disk(best, false);
    if ((size_t)p->nr < slot_of_.size()) slot_of_[p->nr] = -1;
  }
  p->nr = -1;
  return best;
}

// The cache slot of page nr in a file tree, or -1.
int Btree::slot_of(uint32_t nr) const { return nr < slot_of_.size() ? slot_of_[nr] : -1; }

// Makes page[i] the page nr, from the cache or, for a file tree, from the
// file into a slot.
void Btree::get_page(int i, uint32_t nr) {
  if (nr < 1 || nr > descr->last) {
    exut.show_int("descr -> last", (long)descr->last);
    exut.show_int("nr", (long)nr);
    errno = err::corrupted_data;
    exut.fail(__LINE__, SRC, "System: Btree %s: page number %u out of range\n", name, nr);
  }
  if (i >= L_Bp) {
    errno = err::stack_too_deep;
    exut.fail(__LINE__, SRC, "Btree too deep - augment L_Bp (2) = %i", L_Bp);
  }
  if (i <= 0) {
    exut.show_int("i", i);
    exut.fail(__LINE__, SRC, "System: Btree %s: get_page() at level %i\n", name, i);
  }
  Btree_page* p;
  if (memory_) {
    p = cache[nr];
  } else if (int s = slot_of(nr); s >= 0) {
    p = cache[s];
    ref_[s] = p->t ? 3 : 1;
  } else {
    p = load_page(i, nr);
  }
  if (!p || p->nr != (int32_t)nr) {
    exut.show_int("nr", (long)nr);
    exut.fail(__LINE__, SRC, "System: Btree %s: cache does not hold page %u\n", name, nr);
  }
  page[i] = p;
}

// Reads page nr of the file into a free or freed slot.  A page that was
// neither written nor checked in this run is checked before it is used.
Btree_page* Btree::load_page(int i, uint32_t nr) {
  if ((long)nr * page_size + page_size > file_len_) {
    exut.show_int("Bf", Bf);
    exut.show_int("nr", (long)nr);
    exut.show_int("file length", file_len_);
    errno = err::corrupted_data;
    exut.fail(__LINE__, SRC,
              "System: Btree %s: page %u lies behind the end of the file (%ld bytes): "
              "truncated file?\n",
              name, nr, file_len_);
  }
  int s = e_cache < L_Cp ? e_cache++ : evict(i);
  if (!cache[s]) cache[s] = alloc_page();
  Btree_page* p = cache[s];
  p->nr = -1;
  read_page(nr, p);
  if (p->nr != (int32_t)nr) {
    exut.show_int("Bf", Bf);
    exut.show_int("i", i);
    exut.show_int("e_cache", e_cache);
    exut.show_int("page[ i ] -> nr", p->nr);
    exut.show_int("nr", (long)nr);
    p->nr = -1;
    errno = err::corrupted_data;
    exut.fail(__LINE__, SRC, "System: Btree %s: page %u holds page number %i\n", name, nr,
              (int)p->nr);
  }
  p->dirty = 0;
  try {
    check_once(p);
  } catch (const char*) {
    p->nr = -1;
    throw;
  }
  if (slot_of_.size() <= nr) slot_of_.resize((size_t)nr + 1, -1);
  slot_of_[nr] = s;
  ref_[s] = 1;
  return p;
}

// Checks page p, read from the file, unless it was written or checked
// before in this run.
void Btree::check_once(const Btree_page* p) {
  uint32_t nr = (uint32_t)p->nr;
  if (nr < sound_.size() && sound_[nr]) return;
  validate_loaded(p);
  if (sound_.size() <= nr) sound_.resize((size_t)nr + 1, false);
  sound_[nr] = true;
}

bool Btree::in_view(const Btree_page* q) const {
  auto u = reinterpret_cast<const unsigned char*>(q);
  return map_ && u >= map_ && u < map_ + map_len_;
}

// q is page nr as it stands now: a cached page, or the page in the view of
// the file while the cache holds no newer copy of it.
bool Btree::holds(const Btree_page* q, uint32_t nr) const {
  if (!q || q->nr != (int32_t)nr) return false;
  return !in_view(q) || slot_of(nr) < 0;
}

// Makes page[i] the page nr for reading.  A data page that is not cached is
// read where it lies in the view of the file, without a copy: a lookup costs
// no cache slot and no eviction.  Anything else comes through get_page.
void Btree::visit(int i, uint32_t nr) {
  long end = ((long)nr + 1) * page_size;
  if (map_ && slot_of(nr) < 0 && nr >= 1 && nr <= descr->last && end <= file_len_ &&
      end <= map_len_) {
    unsigned char* at = map_ + (long)nr * page_size;
    // The search jumps about the page: ask for all of it at once rather than
    // wait for each line in turn.
    for (int o = 0; o < page_size; o += 64) __builtin_prefetch(at + o);
    Btree_page* q = reinterpret_cast<Btree_page*>(at);
    if (q->t == 0 && q->nr == (int32_t)nr) {
      check_once(q);
      page[i] = q;
      return;
    }
  }
  get_page(i, nr);
}

// Before page[i] is changed: a page seen in the view comes into the cache.
void Btree::own(int i) {
  if (in_view(page[i])) get_page(i, (uint32_t)page[i]->nr);
}

// A new, empty page with the next page number; the tree moves to a
// temporary file when a tree in memory has filled its cache.
Btree_page* Btree::new_page() {
  call_nr++;
  if (e_cache >= L_Cp && memory_) to_memory_overflow();
  if (descr->last >= bf::max_page_nr)
    exut.fail(__LINE__, SRC, "System: Btree %s has too many pages\n", name);
  int s;
  if (memory_)
    s = e_cache++;
  else
    s = e_cache < L_Cp ? e_cache++ : evict(-1);
  if (!cache[s]) cache[s] = alloc_page();
  Btree_page* p = cache[s];
  memset(static_cast<void*>(p), 0, sizeof *p);
  descr->last++;
  p->nr = (int32_t)descr->last;
  p->h = spare_pos;
  p->dirty = 1;
  cache[0]->dirty = 1;
  if (!memory_) {
    if (slot_of_.size() <= descr->last) slot_of_.resize((size_t)descr->last + 1, -1);
    slot_of_[descr->last] = s;
    ref_[s] = 1;
  }
  if (cache[0]->nr != 0 || descr != &cache[0]->p0.d) {
    exut.show_int("call_nr", call_nr);
    exut.fail(__LINE__, SRC, "System: Btree %s: cache[0] is no longer page 0\n", name);
  }
  return p;
}

void Btree::to_extra(Btree_page* p) {
  if (e_extra >= L_extra) {
    exut.show_int("e_extra", e_extra);
    exut.fail(__LINE__, SRC, "System: Btree %s: more than %i pages in one insertion\n", name,
              L_extra);
  }
  extra[e_extra++] = p;
}
