// Btree: pages, cache and file; insertion and splitting; retrieval and
// iteration.  Relations and reports are in Btree_rel.cpp.
#include "store/Btree.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

namespace {

const char* const SRC = "Btree";
int trees_made = 0;

// Byte order of keys: unsigned bytes, a prefix before its extensions.  Eight
// bytes at a time: keys differ mostly early, and a call of memcmp costs more
// than the comparison of a short key itself.
inline int cmp_bytes(const unsigned char* a, int aL, const unsigned char* b, int bL) {
  int n = aL < bL ? aL : bL, i = 0;
  for (; i + 8 <= n; i += 8) {
    uint64_t x, y;
    memcpy(&x, a + i, 8);
    memcpy(&y, b + i, 8);
    if (x != y) {
      x = __builtin_bswap64(x);
      y = __builtin_bswap64(y);
      return x < y ? -1 : 1;
    }
  }
  for (; i < n; i++)
    if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
  return aL > bL ? 1 : (aL < bL ? -1 : 0);
}

inline int common_len(const unsigned char* a, int aL, const unsigned char* b, int bL) {
  int n = aL < bL ? aL : bL, i = 0;
  while (i < n && a[i] == b[i]) i++;
  return i;
}

inline const unsigned char* key_at(const Btree_page* p, int i) { return p->c + p->cell[i].ak; }

// Where the prefix shared by all keys of a page stands.
inline const unsigned char* spare_At(const Btree_page* p) {
  int sp = p->c[Btree::spare_pos];
  if (p->t) return p->c + Btree::spare_pos - sp;
  return p->c + p->cell[0].ak - sp;
}

// The whole key of cell i (prefix and key item) into out; returns its length.
inline int full_key(const Btree_page* p, int i, unsigned char* out) {
  int sp = p->nr == 0 ? 0 : p->c[Btree::spare_pos];
  memcpy(out, spare_At(p), sp);
  const unsigned char* k = key_at(p, i);
  memcpy(out + sp, k + 1, k[0]);
  return sp + k[0];
}

// The last cell from `first` on whose key is not above k, or first - 1 when
// there is none; r is 0 when its key equals k and 1 otherwise.  Only the
// bytes behind the page's shared prefix are compared.
int last_not_above(const Btree_page* p, int first, const unsigned char* k, int kL, int& r) {
  int e = p->e;
  r = 1;
  if (e <= first) return first - 1;
  int sp = p->nr == 0 ? 0 : p->c[Btree::spare_pos];
  if (sp) {
    const unsigned char* pre = spare_At(p);
    int n = kL < sp ? kL : sp;
    int c = memcmp(k, pre, n);
    if (!c && kL < sp) c = -1;
    if (c < 0) return first - 1;
    if (c > 0) return e - 1;
    k += sp;
    kL -= sp;
  }
  int lo = first, hi = e - 1, m = first - 1;
  while (lo <= hi) {
    int mid = (lo + hi) >> 1;
    const unsigned char* q = p->c + p->cell[mid].ak;
    int c = cmp_bytes(k, kL, q + 1, q[0]);
    if (c == 0) {
      r = 0;
      return mid;
    }
    if (c > 0) {
      m = mid;
      lo = mid + 1;
    } else {
      hi = mid - 1;
    }
  }
  return m;
}

const unsigned char* U(const char* s) { return reinterpret_cast<const unsigned char*>(s); }

// True when two items of page p share a byte: key items, data items and the
// stored prefix of sp bytes.  Each of them must already be known to lie
// inside the page.  Items that are apart also fit into the page together,
// which is what reorganize relies on when it rewrites them.
bool items_overlap(const Btree_page* p, int sp) {
  static thread_local std::pair<int, int> item[2 * 511 + 1];
  int n = 0;
  for (int i = 0; i < p->e; i++) {
    const Btree_cell& c = p->cell[i];
    item[n++] = {c.ak, c.ak + 1 + p->c[c.ak]};
    if (!p->t) item[n++] = {c.ad, c.ad + 2 + p->c[c.ad]};
  }
  if (sp) {
    int end = p->t ? Btree::spare_pos : p->cell[0].ak;
    item[n++] = {end - sp, end};
  }
  std::sort(item, item + n);
  for (int i = 1; i < n; i++)
    if (item[i].first < item[i - 1].second) return true;
  return false;
}

}  // namespace

#define ENTER(m)                                                   \
  do {                                                             \
    if ((long)call_nr > (long)show_from) enter(m);                 \
  } while (0)

void Btree::enter(const char* method) {
  char b[200];
  snprintf(b, sizeof b, "\n-> Btree.%s", method);
  exut.trace_text(b);
}

void Btree::broken(const Btree_page* p, int line, const char* format, ...) {
  if (p) trac1_page(p, stdout);
  char b[1000];
  va_list ap;
  va_start(ap, format);
  vsnprintf(b, sizeof b, format, ap);
  va_end(ap);
  exut.show_int("treeID", treeID);
  exut.add("%s", b);
  exut.throw_error(line, SRC);
}

// ======================================================================
// Construction, files, cache
// ======================================================================

Btree::Btree() {
  treeID = ++trees_made;
  name = checkpoint ? checkpoint : "";
  init(nullptr, 0);
  created();
}

Btree::Btree(const char* nm, int do_what) {
  treeID = ++trees_made;
  name = checkpoint ? checkpoint : "";
  temporary = do_what < 1;
  init(nm, do_what < 0 ? -do_what : do_what);
  created();
}

Btree_page* Btree::alloc_page() {
  Btree_page* p = new Btree_page();
  p->nr = -1;
  return p;
}

void Btree::clear_all() {
  for (int i = 0; i < L_Cp; i++) {
    delete cache[i];
    cache[i] = nullptr;
  }
  for (auto& p : page) p = nullptr;
  for (auto& p : extra) p = nullptr;
  for (auto& r : pos_m) r = pos_rec();
  e_cache = e_extra = deepest = max_deepest = 0;
  descr = nullptr;
  slot_of_.clear();
  sound_.clear();
  for (auto& u : ref_) u = 0;
  hand_ = 1;
  file_len_ = 0;
  memory_ = true;
  damaged_ = false;
  read_only = 0;
  surr = 0;
  max_k_L = 252;
}

// Gives up pages and file; with `write`, dirty pages go to the file first.
void Btree::close_file(bool write) {
  int saved = errno;
  try {
    if (write && cache[0] && !memory_ && !temporary && !read_only && !damaged_ && Bf > 0) {
      cache[0]->dirty = 1;
      write_dirty();
    }
  } catch (const char*) {
    exut.reset_after_failure();
  }
  unmap();
  if (Bf > 0) {
    errno = 0;
    try {
      safe_ut.close_fd(&Bf, SRC, __LINE__);
    } catch (const char*) {
      exut.reset_after_failure();
    }
  }
  Bf = 0;
  clear_all();
  errno = saved;
}

Btree::~Btree() {
  close_file(true);
  if (temporary && Bfn[0]) {
    try {
      if (safe_ut.exists(Bfn)) safe_ut.remove_file(Bfn);
    } catch (const char*) {
      exut.reset_after_failure();
    }
    errno = 0;
  }
  if (LData || LDataNr) exut.show_int("LDataNr", LDataNr);
  delete LData;
  LData = nullptr;
}

void Btree::build_fresh() {
  Btree_page* p0 = cache[0] = alloc_page();
  Btree_page* p1 = cache[1] = alloc_page();
  p0->nr = 0;
  p0->dirty = 1;
  p0->e = 1;
  p0->t = 1;
  p0->h = pos_descr - 1;
  p0->cell[0] = Btree_cell{(uint16_t)(pos_descr - 1), 0, 1};
  p0->c[pos_descr - 1] = 0;
  Btree_descr& d = p0->p0.d;
  d.last = 1;
  d.next = 1;
  d.surr = 0;
  d.anz = 0;
  d.maxkeylen = 0;
  d.icell_size = 8;
  d.dcell_size = 8;
  d.page_size = page_size;
  d.descr_pos = pos_descr;
  p1->nr = 1;
  p1->dirty = 1;
  p1->e = 1;
  p1->t = 0;
  p1->h = 4081;
  p1->cell[0] = Btree_cell{4083, 4081, 0};
  e_cache = 2;
}

void Btree::check_descr() {
  Btree_descr* d = descr;
  if (d->icell_size == 8 && d->dcell_size == 8 && d->page_size == (uint32_t)page_size &&
      d->descr_pos == (uint32_t)pos_descr)
    return;
  exut.show_int("index cell size", (long)d->icell_size);
  exut.show_int("data cell size", (long)d->dcell_size);
  exut.show_int("page size", (long)d->page_size);
  exut.show_int("pos_descr", (long)d->descr_pos);
  char what[300] = "";
  if (d->icell_size != 8) snprintf(what + strlen(what), 80, " index cell size %u (not 8)", d->icell_size);
  if (d->dcell_size != 8) snprintf(what + strlen(what), 80, " data cell size %u (not 8)", d->dcell_size);
  if (d->page_size != (uint32_t)page_size)
    snprintf(what + strlen(what), 80, " page size %u (not 4100)", d->page_size);
  if (d->descr_pos != (uint32_t)pos_descr)
    snprintf(what + strlen(what), 80, " descriptor position %u (not 4052)", d->descr_pos);
  errno = err::corrupted_data;
  exut.fail(__LINE__, SRC, "System: %s is not a Btree file of this format:%s\n", Bfn, what);
}

void Btree::init(const char* nm, int do_what) {
  ENTER("init");
  if (do_what < 0 || do_what > 5) {
    exut.show_int("do_what", do_what);
    exut.fail(__LINE__, SRC, "System: Btree.init() with do_what = %i, must lie from 0 to 5\n", do_what);
  }
  close_file(false);
  delete LData;
  LData = nullptr;
  LDataNr = 0;
  Bfn[0] = 0;
  if (do_what > 0) {
    if (!nm || !*nm) {
      exut.show_int("do_what", do_what);
      exut.fail(__LINE__, SRC, "System: Btree.init() needs a file name for do_what = %i\n", do_what);
    }
    if (strlen(nm) >= sizeof Bfn - 10)
      exut.fail(__LINE__, SRC, "System: Btree file name too long: %.200s ...\n", nm);
    snprintf(Bfn, sizeof Bfn, "%s", nm);
    for (char* q = Bfn; *q; q++)
      if (*q == '\\') *q = '/';
  }
  try {
    if (do_what == 5)
      do_what = safe_ut.exists(Bfn) && safe_ut.ok_file_len(Bfn) >= page_size ? 4 : 1;
    if (do_what == 3 || do_what == 4) {
      long len = safe_ut.ok_file_len(Bfn);
      exut.show_int("safe_ut.ok_file_len(Bf)", len);
      if (len < page_size) {
        errno = err::corrupted_data;
        exut.fail(__LINE__, SRC,
                  "System: %s is not a Btree file: %ld bytes, less than one page of 4100\n", Bfn,
                  len);
      }
      file_len_ = len;
      Bf = safe_ut.open_fd(Bfn, do_what == 3 ? 'r' : 'u', 'B');
      read_only = do_what == 3;
      Btree_page* p0 = cache[0] = alloc_page();
      safe_ut.read_at(Bf, 0, 0, page_size, p0);
      e_cache = 1;
      memory_ = false;
      descr = &p0->p0.d;
      check_descr();
      if (p0->nr != 0 || p0->t != 1 || p0->c[spare_pos] != 0 || descr->last < 1 ||
          descr->last > 0x7ffffff0u) {
        exut.show_int("page[0]->nr", p0->nr);
        exut.show_int("t", p0->t);
        exut.show_int("descr->last", (long)descr->last);
        errno = err::corrupted_data;
        exut.fail(__LINE__, SRC, "System: %s: page 0 is not the root of a Btree\n", Bfn);
      }
      p0->dirty = 0;
      validate_loaded(p0);
      slot_of_.assign(1, 0);
    } else {
      if (do_what == 1 || do_what == 2) {
        if (safe_ut.exists(Bfn)) {
          if (do_what == 2) exut.fail(__LINE__, SRC, "AppError: %s exists\n", Bfn);
          safe_ut.remove_file(Bfn);
        }
        std::string ln = ldata_name();
        if (safe_ut.exists(ln.c_str())) safe_ut.remove_file(ln.c_str());
        errno = 0;
        create_file();
        printf("\nBf = %i = %s", Bf, Bfn);
        memory_ = false;
        slot_of_.assign(2, 0);
        slot_of_[1] = 1;
      }
      build_fresh();
      descr = &cache[0]->p0.d;
      check_descr();
      Btree_st s;
      if (GetFirst(s) || GetLast(s) || contains(""))
        exut.fail(__LINE__, SRC, "System: a new Btree is not empty\n");
    }
  } catch (const char*) {
    close_file(false);
    throw;
  }
  if (Bf > 0) name = Bfn;
  mod_++;
}

void Btree::commit() {
  ENTER("commit");
  if (!cache[0]) return;
  cache[0]->dirty = 1;
  if (memory_ || read_only || Bf <= 0) return;
  not_read_only("commit");
  write_dirty();
  if (LData) LData->commit();
}

void Btree::write_dirty() {
  for (int s = 0; s < e_cache; s++)
    if (cache[s] && cache[s]->dirty && cache[s]->nr >= 0) to_Disk(s);
}

// Opens Bfn as a new, empty file, making its folder when it is missing.
void Btree::create_file() {
  const char* slash = strrchr(Bfn, '/');
  if (slash && slash != Bfn) {
    std::string dir(Bfn, slash - Bfn);
    if (!safe_ut.exists(dir.c_str())) safe_ut.ensure_dir(dir.c_str());
  }
  Bf = safe_ut.open_fd(Bfn, 'c', 'B');
}

void Btree::to_Disk(int slot) {
  Btree_page* p = cache[slot];
  if (!p || p->nr < 0) {
    exut.show_int("slot", slot);
    exut.fail(__LINE__, SRC, "System: Btree %s: to_Disk() of a buffer without a page\n", name);
  }
  long end = ((long)p->nr + 1) * page_size;
  // A tree that reads through a view of its file writes through it too; a
  // small tree, whose pages all stay in the cache, writes them one by one.
  if (map_ && view(end)) {
    // A page that was never in the file needs its space first: a full disk
    // is then a failure here, not a fault while the view is written.
    if ((size_t)p->nr >= sound_.size() || !sound_[p->nr])
      safe_ut.reserve_fd(Bf, (long)p->nr * page_size, page_size);
    memcpy(map_ + (long)p->nr * page_size, p, page_size);
  } else {
    safe_ut.write_at(Bf, 0, p->nr, page_size, p);
  }
  if (sound_.size() <= (size_t)p->nr) sound_.resize((size_t)p->nr + 1, false);
  sound_[p->nr] = true;
  if (end > file_len_) file_len_ = end;
  p->dirty = 0;
}

void Btree::unmap() {
  safe_ut.unmap_fd(map_, map_len_);
  map_ = nullptr;
  map_len_ = 0;
  map_off_ = false;
}

// Makes the view of the file cover `end` bytes; false when the file cannot
// be mapped.  The view grows ahead of the file, so that a growing tree maps
// its file again only now and then.
bool Btree::view(long end) {
  if (end <= map_len_) return true;
  if (map_off_ || no_view) return false;
  if (map_) {
    // The pages seen through the old view go with it, and so does a position.
    for (auto& q : page)
      if (in_view(q)) q = nullptr;
    mod_++;
  }
  safe_ut.unmap_fd(map_, map_len_);
  long want = 2 * (end > file_len_ ? end : file_len_);
  if (want < (4L << 20)) want = 4L << 20;
  map_ = static_cast<unsigned char*>(safe_ut.map_fd(Bf, want, !read_only));
  map_len_ = map_ ? want : 0;
  map_off_ = !map_;
  return map_ != nullptr;
}

// Reads page nr, which lies inside the file, into p: a copy from the view.
void Btree::read_page(uint32_t nr, Btree_page* p) {
  long end = ((long)nr + 1) * page_size;
  if (end <= file_len_ && view(end))
    memcpy(static_cast<void*>(p), map_ + (long)nr * page_size, page_size);
  else
    safe_ut.read_at(Bf, 0, nr, page_size, p);
}

// A page read from a file is checked before anything trusts its offsets.
void Btree::validate_loaded(const Btree_page* p) {
  const char* what = nullptr;
  int top = p->nr == 0 ? pos_descr : spare_pos;
  int sp = p->c[spare_pos];
  if (p->t > 1)
    what = "page type";
  else if (p->e < 1 || p->e > 511)
    what = "number of cells";
  else if (p->h < 8 * p->e || p->h > top)
    what = "heap start";
  else if (sp > max_k_L || (p->nr == 0 && sp))
    what = "shared prefix length";
  else {
    if (p->t) top -= sp;
    for (int i = 0; i < p->e && !what; i++) {
      const Btree_cell& c = p->cell[i];
      if (c.ak < p->h || c.ak >= top || c.ak + 1 + p->c[c.ak] > top || sp + p->c[c.ak] > max_k_L)
        what = "key offset";
      else if (p->t) {
        if (c.surr > descr->last) what = "son";
      } else if (c.ad < p->h || c.ad + 1 >= top || c.ad + 2 + p->c[c.ad] > top)
        what = "data offset";
    }
    if (!what && !p->t && p->cell[0].ak - sp < p->h) what = "shared prefix position";
    if (!what && items_overlap(p, sp)) what = "overlapping items";
  }
  if (!what) return;
  // Nothing of a damaged file is written any more, not even on destruction.
  damaged_ = true;
  exut.show_int("nr", p->nr);
  exut.show_int("e", p->e);
  exut.show_int("h", p->h);
  errno = err::corrupted_data;
  broken(p, __LINE__, "System: Btree %s: page %i is damaged (%s)\n", Bfn, p->nr, what);
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
    if (p->dirty) to_Disk(best);
    if ((size_t)p->nr < slot_of_.size()) slot_of_[p->nr] = -1;
  }
  p->nr = -1;
  return best;
}

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
  } else {
    int s = nr < slot_of_.size() ? slot_of_[nr] : -1;
    if (s >= 0) {
      p = cache[s];
      ref_[s] = p->t ? 3 : 1;
    } else {
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
      s = e_cache < L_Cp ? e_cache++ : evict(i);
      if (!cache[s]) cache[s] = alloc_page();
      p = cache[s];
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
      if (nr >= sound_.size() || !sound_[nr]) {
        try {
          validate_loaded(p);
        } catch (const char*) {
          p->nr = -1;
          throw;
        }
        if (sound_.size() <= nr) sound_.resize((size_t)nr + 1, false);
        sound_[nr] = true;
      }
      if (slot_of_.size() <= nr) slot_of_.resize((size_t)nr + 1, -1);
      slot_of_[nr] = s;
      ref_[s] = 1;
    }
  }
  if (!p || p->nr != (int32_t)nr) {
    exut.show_int("nr", (long)nr);
    exut.fail(__LINE__, SRC, "System: Btree %s: cache does not hold page %u\n", name, nr);
  }
  page[i] = p;
}

bool Btree::in_view(const Btree_page* q) const {
  auto u = reinterpret_cast<const unsigned char*>(q);
  return map_ && u >= map_ && u < map_ + map_len_;
}

// q is page nr as it stands now: a cached page, or the page in the view of
// the file while the cache holds no newer copy of it.
bool Btree::holds(const Btree_page* q, uint32_t nr) const {
  if (!q || q->nr != (int32_t)nr) return false;
  return !in_view(q) || nr >= slot_of_.size() || slot_of_[nr] < 0;
}

// Makes page[i] the page nr for reading.  A data page that is not cached is
// read where it lies in the view of the file, without a copy: a lookup costs
// no cache slot and no eviction.  Anything else comes through get_page.
void Btree::visit(int i, uint32_t nr) {
  if (map_ && (nr >= slot_of_.size() || slot_of_[nr] < 0) && nr >= 1 && nr <= descr->last &&
      ((long)nr + 1) * page_size <= file_len_ && ((long)nr + 1) * page_size <= map_len_) {
    unsigned char* at = map_ + (long)nr * page_size;
    // The search jumps about the page: ask for all of it at once rather than
    // wait for each line in turn.
    for (int o = 0; o < page_size; o += 64) __builtin_prefetch(at + o);
    Btree_page* q = reinterpret_cast<Btree_page*>(at);
    if (q->t == 0 && q->nr == (int32_t)nr) {
      if (nr >= sound_.size() || !sound_[nr]) {
        validate_loaded(q);
        if (sound_.size() <= nr) sound_.resize((size_t)nr + 1, false);
        sound_[nr] = true;
      }
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

// The 401st page of a tree in memory: from now on the tree lives in a
// temporary file, with the cache as its window.
void Btree::to_memory_overflow() {
  printf("\n\ncreate cache for Btree %s", name);
  if (!Bfn[0]) {
    const char* dir = safe_ut.tmp_dir();
    unsigned n = safe_ut.next_free_nr(dir);
    snprintf(Bfn, sizeof Bfn, "%s/%u", dir, n);
  }
  create_file();
  temporary = 1;
  memory_ = false;
  slot_of_.assign(e_cache, -1);
  for (int s = 0; s < e_cache; s++) {
    Btree_page* p = cache[s];
    if (!p || p->nr != s || (s > 0 && !p->dirty)) {
      exut.show_int("slot", s);
      exut.fail(__LINE__, SRC, "System: Btree %s: page %i in memory is not as expected\n", name, s);
    }
    slot_of_[s] = s;
    ref_[s] = 0;
    if (s > 0) to_Disk(s);
  }
  name = Bfn;
}

Btree_page* Btree::new_page() {
  call_nr++;
  if (e_cache >= L_Cp && memory_) to_memory_overflow();
  if (descr->last >= 0x7ffffff0u)
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

void Btree::not_read_only(const char* what) {
  if (read_only) exut.fail(__LINE__, SRC, "AppError: %s on Btree %s, opened read-only\n", what, name);
  if (damaged_) {
    errno = err::corrupted_data;
    exut.fail(__LINE__, SRC, "System: %s on Btree %s, whose file is damaged\n", what, Bfn);
  }
}

// ======================================================================
// Search
// ======================================================================

// Index page: m is the last cell whose key is not above k; r the comparison
// there (0 equal, 1 above).  r < 0 when k lies below the first cell.
void Btree::ipos(const Btree_page* p, const unsigned char* k, int kL, int& m, int& r) {
  if (p->e <= 0) broken(p, __LINE__, "System: Btree %s: index page %i without cells\n", name, p->nr);
  m = last_not_above(p, 0, k, kL, r);
  if (m < 0) {
    m = 0;
    r = -1;
  }
}

// Data page: m is the last real cell (from 1) not above k, or 0 (the
// sentinel) when there is none; r is 0 on a hit and 1 otherwise.
void Btree::dpos(const Btree_page* p, const unsigned char* k, int kL, int& m, int& r) {
  m = last_not_above(p, 1, k, kL, r);
}

bool Btree::locate(const char* kc, int kL) { return seek(kc, kL, false); }

// The search down the tree.  A search that precedes a change brings the data
// page into the cache at once; a lookup reads it where it lies.
bool Btree::seek(const char* kc, int kL, bool to_write) {
  const unsigned char* k = U(kc);
  deepest = 0;
  Btree_page* p = cache[0];
  page[0] = p;
  int m, r, back = 0;
  while (p->t == 1) {
    ipos(p, k, kL, m, r);
    if (r < 0) {
      if (m != 0) broken(p, __LINE__, "System: Btree %s: search below cell %i\n", name, m);
      if (deepest > 0) {
        // Below the first separator of this page: continue in the left
        // neighbour's subtree, one level up.
        if (++back > L_Bp) broken(p, __LINE__, "System: Btree %s: search does not end\n", name);
        deepest--;
        p = page[deepest];
        m = pos_m[deepest].m - 1;
        if (m < 0) {
          safe_ut.show_text("k", kc, kL);
          broken(p, __LINE__, "System: Btree %s: no page for the key\n", name);
        }
      } else {
        m = 0;
      }
      r = 1;
    }
    pos_m[deepest].m = m;
    pos_m[deepest].r = r;
    uint32_t son = p->cell[m].surr;
    if (!son) son = 1;
    if (son > descr->last) {
      exut.show_int("son", (long)son);
      exut.show_int("descr->last", (long)descr->last);
      exut.show_int("p", p->nr);
      exut.show_int("m", m);
      broken(p, __LINE__, "System: Btree %s: son %u behind the last page\n", name, son);
    }
    if (deepest + 1 >= L_Bp) {
      exut.show_int("40", L_Bp);
      exut.show_int("i", deepest);
      too_deep();
    }
    Btree_page* q = page[deepest + 1];
    if (holds(q, son))
      touch(q);
    else if (to_write)
      get_page(deepest + 1, son);
    else
      visit(deepest + 1, son);
    deepest++;
    p = page[deepest];
  }
  if (deepest > max_deepest) max_deepest = deepest;
  dpos(p, k, kL, m, r);
  pos_m[deepest].m = m;
  pos_m[deepest].r = r;
  pos_mod_ = mod_;
  if (r == 0) surr = p->cell[m].surr;
  return r == 0;
}

void Btree::too_deep() {
  errno = err::stack_too_deep;
  exut.fail(__LINE__, SRC, "Btree too deep - augment L_Bp (1) = %i", L_Bp);
}

// Down from page[l] (an index page at its pos_m) to a data page, along the
// first cells, or with `to_last` the last ones.  True when that page holds a
// real key.
bool Btree::descend(int l, bool to_last) {
  while (page[l]->t == 1) {
    uint32_t son = page[l]->cell[pos_m[l].m].surr;
    if (!son) son = 1;
    if (l + 1 >= L_Bp) too_deep();
    if (!holds(page[l + 1], son)) visit(l + 1, son);
    l++;
    pos_m[l].m = to_last ? page[l]->e - 1 : 0;
    pos_m[l].r = 1;
  }
  deepest = l;
  return page[l]->e >= 2;
}

// Moves the position to the next real key, or with `back` to the previous
// one; from a miss, back is the key below the one searched.  False at the
// end.
bool Btree::pos_step(bool back) {
  int L = deepest;
  if (L < 1 || L >= L_Bp) return false;
  if (!back && pos_m[L].r < 0) broken(page[L], __LINE__, "System: Btree %s: Next of r < 0\n", name);
  int m = pos_m[L].m;
  int target = !back ? m + 1 : pos_m[L].r == 0 ? m - 1 : m;
  if (back ? target >= 1 : target < page[L]->e) {
    pos_m[L].m = target;
    pos_m[L].r = 0;
    return true;
  }
  long visited = 0;
  for (;;) {
    int l = L - 1;
    while (l >= 0 && (back ? pos_m[l].m <= 0 : pos_m[l].m + 1 >= page[l]->e)) l--;
    if (l < 0) return false;
    pos_m[l].m += back ? -1 : 1;
    if (descend(l, back)) {
      pos_m[deepest].m = back ? page[deepest]->e - 1 : 1;
      pos_m[deepest].r = 0;
      pos_mod_ = mod_;
      return true;
    }
    L = deepest;  // a page that holds only its sentinel: pass it
    if (++visited > (long)descr->last + 1)
      broken(page[L], __LINE__, "System: Btree %s: %s does not end\n", name, back ? "Prev" : "Next");
  }
}

// Reads the cell at the position into st.
unsigned Btree::located_key_and_data(Btree_st& s, int line) {
  Btree_page* p = page[deepest];
  int m = pos_m[deepest].m;
  if (m < 1 || m >= p->e) {
    exut.show_int("m", m);
    exut.show_int("p -> e", p->e);
    exut.show_int("line", line);
    broken(p, __LINE__, "System: Btree %s: BBB no key at the position\n", name);
  }
  if (p->t != 0 || pos_m[deepest].r != 0)
    broken(p, __LINE__, "System: Btree %s: the position is no hit in a data page\n", name);
  const Btree_cell& c = p->cell[m];
  int sp = p->c[spare_pos];
  const unsigned char* kp = p->c + c.ak;
  memcpy(s.k, spare_At(p), sp);
  memcpy(s.k + sp, kp + 1, kp[0]);
  s.k_L = (uint16_t)(sp + kp[0]);
  s.k[s.k_L] = 0;
  if (c.ad == 0) {
    if (descr->surr == 0) return 0;
    exut.add("deepest.m = %i.%i\n", deepest, m);
    exut.fail(__LINE__, SRC, "System: Btree %s: cell without data\n", name);
  }
  const unsigned char* dp = p->c + c.ad;
  s.c_L = dp[0];
  s.c_T = dp[1];
  memcpy(s.c, dp + 2, dp[0]);
  s.c[dp[0]] = 0;
  if (s.c_L > 4 && s.c[s.c_L - 1] == ':' && (LData || !memory_)) expand_long(s);
  surr = s.surr = c.surr;
  return surr;
}

void Btree::miss_into(Btree_st& s, const char* k, int kL) {
  s.surr = 0;
  s.c_L = 0;
  s.c_T = 0;
  s.c[0] = 0;
  if (k && kL >= 0 && kL < (int)sizeof s.k) {
    if (k != s.k) memmove(s.k, k, kL);
    s.k[kL] = 0;
    s.k_L = (uint16_t)kL;
  }
}

// The position stands on the key of st, and nothing changed since.
bool Btree::position_ok(const Btree_st& s) const {
  if (pos_mod_ != mod_ || deepest < 1 || deepest >= L_Bp) return false;
  const Btree_page* p = page[deepest];
  int m = pos_m[deepest].m;
  if (!p || p->t != 0 || pos_m[deepest].r != 0 || m < 1 || m >= p->e) return false;
  int sp = p->c[spare_pos];
  const unsigned char* kp = p->c + p->cell[m].ak;
  return s.k_L == sp + kp[0] && memcmp(s.k, spare_At(p), sp) == 0 &&
         memcmp(s.k + sp, kp + 1, kp[0]) == 0;
}

// ======================================================================
// Retrieval
// ======================================================================

int Btree::key_len(const char* k, const char* op) {
  if (!k) exut.fail(__LINE__, SRC, "System: Btree %s: %s() of a null key\n", name, op);
  return (int)strlen(k);
}

void Btree::need_key(const char* k, int kL, const char* op) {
  if (!k || kL < 0) exut.fail(__LINE__, SRC, "System: Btree %s: %s() of a null key\n", name, op);
}

// The key k, or the key next to it: above it, or with `back` below it.
// With `or_k`, k itself when it is a key.
unsigned Btree::near(Btree_st& s, const char* k, int kL, bool back, bool or_k) {
  if (kL > max_k_L) kL = max_k_L;
  if (locate(k, kL) && or_k) return located_key_and_data(s, __LINE__);
  if (!pos_step(back)) return 0;
  return located_key_and_data(s, __LINE__);
}

unsigned Btree::Get(const char* k, Btree_st& s) { return Get(k, key_len(k, "Get"), s); }

unsigned Btree::Get(const char* k, int kL, Btree_st& s) {
  ENTER("Get");
  need_key(k, kL, "Get");
  if (kL > max_k_L)
    exut.fail(__LINE__, SRC, "System: Btree.Get(): no such long keys in Btree: %.280s ...", k);
  if (!locate(k, kL)) {
    miss_into(s, k, kL);
    return 0;
  }
  return located_key_and_data(s, __LINE__);
}

unsigned Btree::Get(int nr, Btree_st& s) {
  char b[20];
  int n = snprintf(b, sizeof b, "%i", nr);
  return Get(b, n, s);
}

unsigned Btree::contains(const char* k) { return contains(k, key_len(k, "contains")); }

unsigned Btree::contains(const char* k, int kL) {
  ENTER("contains");
  need_key(k, kL, "contains");
  if (kL > max_k_L) return 0;
  return locate(k, kL) ? surr : 0;
}

unsigned Btree::contains(const Btree_st& s) { return contains(s.k, s.k_L); }

unsigned Btree::GetFirst(Btree_st& s) {
  ENTER("GetFirst");
  locate("", 0);
  if (!pos_step(false)) return 0;
  return located_key_and_data(s, __LINE__);
}

unsigned Btree::GetLast(Btree_st& s) {
  ENTER("GetLast");
  deepest = 0;
  page[0] = cache[0];
  pos_m[0].m = cache[0]->e - 1;
  pos_m[0].r = 1;
  pos_mod_ = mod_;
  if (descend(0, true)) {
    pos_m[deepest].m = page[deepest]->e - 1;
    pos_m[deepest].r = 0;
    return located_key_and_data(s, __LINE__);
  }
  pos_m[deepest].m = 0;
  pos_m[deepest].r = 1;
  if (!pos_step(true)) return 0;
  return located_key_and_data(s, __LINE__);
}

unsigned Btree::Next(Btree_st& s) {
  ENTER("Next");
  if (!position_ok(s)) return GetNext(s, s.k, s.k_L);
  if (!pos_step(false)) return 0;
  return located_key_and_data(s, __LINE__);
}

unsigned Btree::GetNext(Btree_st& s) { return GetNext(s, s.k, s.k_L); }

unsigned Btree::GetNext(Btree_st& s, const char* k) { return GetNext(s, k, k ? (int)strlen(k) : 0); }

unsigned Btree::GetNext(Btree_st& s, const char* k, int kL) {
  ENTER("GetNext");
  if (!k || kL < 1) {
    printf("\nPlease make sure that the Btree was not updated immediately\nbefore this call of "
           "Next():");
    exut.show_int("kL", kL);
    exut.show_str("k", k);
    exut.fail(__LINE__, SRC, "System: precodition for Next() not established by the Btree App");
  }
  return near(s, k, kL, false, false);
}

unsigned Btree::Prev(Btree_st& s) {
  ENTER("Prev");
  if (position_ok(s)) {
    if (!pos_step(true)) return 0;
    return located_key_and_data(s, __LINE__);
  }
  // The position is gone: the key in s says where to go on from.
  if (s.k_L < 1 || s.k_L > max_k_L)
    exut.fail(__LINE__, SRC, "System: precodition for Prev() not established by the Btree App");
  return near(s, s.k, s.k_L, true, false);
}

unsigned Btree::GetPrev(Btree_st& s) { return GetPrev(s, s.k, s.k_L); }

unsigned Btree::GetPrev(Btree_st& s, const char* k) { return GetPrev(s, k, k ? (int)strlen(k) : 0); }

unsigned Btree::GetPrev(Btree_st& s, const char* k, int kL) {
  ENTER("GetPrev");
  if (!k || kL < 1) exut.fail(__LINE__, SRC, "System: Btree %s: GetPrev() without a key\n", name);
  if (kL > max_k_L) kL = max_k_L;
  if (!locate(k, kL)) {
    printf("\nGetPREV of x, not found: x = %.*s", kL, k);
    return 0;
  }
  if (!pos_step(true)) return 0;
  return located_key_and_data(s, __LINE__);
}

unsigned Btree::Getmin_GE(Btree_st& s, const char* k) {
  return Getmin_GE(s, k, key_len(k, "Getmin_GE"));
}

unsigned Btree::Getmin_GE(Btree_st& s, const char* k, int kL) {
  ENTER("Getmin_GE");
  need_key(k, kL, "Getmin_GE");
  return near(s, k, kL, false, true);
}

unsigned Btree::Getmin_GR(Btree_st& s, const char* k) {
  return Getmin_GR(s, k, key_len(k, "Getmin_GR"));
}

unsigned Btree::Getmin_GR(Btree_st& s, const char* k, int kL) {
  ENTER("Getmin_GR");
  need_key(k, kL, "Getmin_GR");
  return near(s, k, kL, false, false);
}

unsigned Btree::Getmax_LE(Btree_st& s, const char* k) {
  return Getmax_LE(s, k, key_len(k, "Getmax_LE"));
}

unsigned Btree::Getmax_LE(Btree_st& s, const char* k, int kL) {
  ENTER("Getmax_LE");
  need_key(k, kL, "Getmax_LE");
  if (kL > max_k_L) kL = max_k_L;
  unsigned x = near(s, k, kL, true, true);
  if (x && cmp_bytes(U(s.k), s.k_L, U(k), kL) > 0) {
    trace("Btree", stdout);
    exut.fail(__LINE__, SRC, "System: Btree %s: Getmax_LE() found a greater key\n", name);
  }
  return x;
}

unsigned Btree::Getmax_LS(Btree_st& s, const char* k) {
  return Getmax_LS(s, k, key_len(k, "Getmax_LS"));
}

unsigned Btree::Getmax_LS(Btree_st& s, const char* k, int kL) {
  ENTER("Getmax_LS");
  need_key(k, kL, "Getmax_LS");
  return near(s, k, kL, true, false);
}

unsigned Btree::Getmin_At(Btree_st& s, const char* prefix) {
  ENTER("Getmin_At");
  if (!prefix) exut.fail(__LINE__, SRC, "System: Btree %s: Getmin_At() of a null prefix\n", name);
  int n = (int)strlen(prefix);
  if (!Getmin_GE(s, prefix, n)) return 0;
  if (s.k_L < n || memcmp(s.k, prefix, n)) return 0;
  return s.surr;
}

unsigned Btree::Getmax_At(Btree_st& s, const char* prefix) {
  ENTER("Getmax_At");
  if (!prefix) exut.fail(__LINE__, SRC, "System: Btree %s: Getmax_At() of a null prefix\n", name);
  int n = (int)strlen(prefix);
  if (n > max_k_L) return 0;
  // The last key with the prefix is the last one below the smallest text
  // above all texts that begin with it.
  unsigned char up[256];
  memcpy(up, prefix, n);
  int L = n;
  while (L > 0 && up[L - 1] == 0xFF) L--;
  unsigned x;
  if (L == 0) {
    x = GetLast(s);
  } else {
    up[L - 1]++;
    x = Getmax_LS(s, reinterpret_cast<const char*>(up), L);
  }
  if (!x || s.k_L < n || memcmp(s.k, prefix, n)) return 0;
  return x;
}

unsigned Btree::Getmax_prefix(Btree_st& s, const char* k) {
  ENTER("Getmax_prefix");
  if (!k) exut.fail(__LINE__, SRC, "System: Btree %s: Getmax_prefix() of a null key\n", name);
  int n = (int)strlen(k);
  if (n > max_k_L) n = max_k_L;
  for (int L = n; L > 0; L--)
    if (locate(k, L)) return located_key_and_data(s, __LINE__);
  return 0;
}

int Btree::number_of_elements() {
  ENTER("number_of_elements");
  Btree_st s;
  int n = 0;
  for (unsigned x = GetFirst(s); x; x = Next(s)) n++;
  return n;
}

unsigned Btree::retNr(int must_exist, const char* k) {
  ENTER("retNr");
  if (!k || !*k) return 0;
  unsigned x = contains(k);
  if (x) return x;
  if (must_exist) {
    exut.show_str("str", k);
    errno = err::not_found;
    exut.fail(__LINE__, SRC, "System: Btree %s: no such key: %.250s\n", name, k);
  }
  StrIns('e', k);
  return surr;
}

const char* Btree::retAlias(const char* k) {
  ENTER("retAlias");
  if (k && Get(k, st) && st.c[0]) return st.c;
  printf("\nno Alias for [%s]\n", k ? k : "( null )");
  return k;
}

// ======================================================================
// Insertion
// ======================================================================

char Btree::StrIns(const char* k) { return StrIns('i', k); }

char Btree::StrIns(char do_this, const char* k) {
  ENTER("StrIns");
  if (!k || !*k) {
    exut.show_str("k", k);
    exut.fail(__LINE__, SRC, "System: Btree %s: StrIns() of an empty key\n", name);
  }
  int kL = (int)strlen(k);
  if (kL >= 255) {
    exut.show_str("k", k);
    exut.fail(__LINE__, SRC, "System: key (see above) too long for Btree %s\n", name);
  }
  if (!strchr("ie?", do_this) || !strchr("ie", do_this)) {
    exut.show_int("do_this", do_this);
    exut.fail(__LINE__, SRC, "System: Btree %s: StrIns( do_this = %c ) of a key only\n", name,
              do_this ? do_this : '0');
  }
  return Ins(do_this, k, kL, k, 0, 0);
}

char Btree::StrIns(char do_this, const char* k, const char* d) {
  ENTER("StrIns");
  if (!k || !d) {
    exut.show_str("k", k);
    exut.show_str("d", d);
    exut.fail(__LINE__, SRC, "System: Btree %s: StrIns() with a null text\n", name);
  }
  int kL = (int)strlen(k), dL = (int)strlen(d);
  if (dL > max_k_L) return long_ins(do_this, k, kL, d, dL);
  return Ins(do_this, k, kL, d, dL, 2);
}

char Btree::StrIns(char do_this, const char* k, int n) {
  char b[20];
  snprintf(b, sizeof b, "%i", n);
  return StrIns(do_this, k, b);
}

char Btree::StrIns(char do_this, const char* k, int kL, const char* d, int dL) {
  return Ins(do_this, k, kL, d, dL, 2);
}

unsigned Btree::ensure(const char* k, int kL) {
  ENTER("ensure");
  if (!Ins('e', k, kL, nullptr, 0, 0)) return 0;
  return surr;
}

char Btree::Update(Btree_st& s) {
  ENTER("Update");
  int dL = s.c_L;
  if (dL == 255 || s.c[dL]) dL = (int)strnlen(s.c, sizeof s.c - 1);
  if (dL > max_k_L) return long_ins('u', s.k, s.k_L, s.c, dL);
  return Ins('u', s.k, s.k_L, s.c, dL, s.c_T);
}

bool Btree::NoUpd(const char* d, int dL) {
  const Btree_page* p = page[deepest];
  if (!p || p->t != 0 || pos_m[deepest].r != 0 || pos_m[deepest].m < 1)
    exut.fail(__LINE__, SRC, "System: Btree %s: NoUpd() without a located key\n", name);
  const Btree_cell& c = p->cell[pos_m[deepest].m];
  if (c.surr != surr) {
    exut.show_int("da->surr", (long)c.surr);
    exut.show_int("descr->surr", (long)descr->surr);
    exut.fail(__LINE__, SRC, "System: Btree %s: NoUpd() on another key\n", name);
  }
  if (dL > max_k_L) return false;
  if (!c.ad) return dL == 0;
  const unsigned char* dp = p->c + c.ad;
  return dp[0] == dL && (dL == 0 || memcmp(dp + 2, d, dL) == 0);
}

char Btree::Ins(char do_this, const char* k, int kL, const char* d, int dL, int d_T) {
  ENTER("Ins");
  call_nr++;
  if (kL > max_k_L || dL > max_k_L || max_k_L != 252) {
    exut.show_int("kL", kL);
    exut.show_int("dL", dL);
    if (dL > max_k_L && d_T != 0) {
      exut.fail(__LINE__, SRC, "\nBtree: Data truncated: %.300s", d ? d : "( null )");
    }
    exut.fail(__LINE__, SRC, "System: key (see above) too long for Btree %s\n", name);
  }
  e_extra = 0;
  if (kL == 0) {
    printf("\nW a r n i n g :  Btree ignored empty key - d_L = %i, do_this = %c, Btree = %s\n", dL,
           do_this ? do_this : '0', name);
    return 0;
  }
  if (kL < 0) {
    exut.show_int("kL", kL);
    exut.fail(__LINE__, SRC, "System: Btree %s: negative key length\n", name);
  }
  if (d_T == 0) {
    dL = 0;
    d = k;
  }
  if (dL < 0) {
    exut.show_int("dL", dL);
    exut.fail(__LINE__, SRC, "System: Btree %s: negative data length\n", name);
  }
  if (!k || !d) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: Btree %s: Ins() with a null text\n", name);
  }
  if (!do_this || !strchr("iue?", do_this)) {
    exut.show_int("do_this", do_this);
    exut.fail(__LINE__, SRC, "System: Btree %s: Ins() mode must be one of \"iue?\"\n", name);
  }
  not_read_only("Ins");
  return ins_core(do_this, U(k), kL, U(d), dL, d_T);
}

char Btree::ins_core(char do_this, const unsigned char* k, int kL, const unsigned char* d, int dL,
                     int d_T) {
  const char* kc = reinterpret_cast<const char*>(k);
  for (int round = 0;; round++) {
    if (round > 60) {
      exut.show_int("kL", kL);
      exut.show_int("dL", dL);
      exut.fail(__LINE__, SRC, "System: Btree %s: no room for the key after %i splits\n", name,
                round);
    }
    e_extra = 0;
    bool found = seek(kc, kL, true);
    int L = deepest;
    Btree_page* p = page[L];
    int m = pos_m[L].m;
    if (round == 0 && found && (do_this == 'e' || do_this == 'u') &&
        NoUpd(reinterpret_cast<const char*>(d), dL))
      return 'u';
    if (kL > descr->maxkeylen) {
      descr->maxkeylen = (uint16_t)kL;
      cache[0]->dirty = 1;
    }
    if (p->t != 0) broken(p, __LINE__, "System: Btree %s: insertion into an index page\n", name);
    char mode = do_this;
    if (mode == 'e' || mode == '?') {
      if (found && mode == '?' && round == 0) safe_ut.show_text("in Btree already:", kc, kL);
      mode = found ? 'u' : 'i';
    }
    if (mode == 'u' && !found) {
      errno = err::not_found;
      if (!quiet) safe_ut.show_text("not found: k=", kc, kL);
      return 0;
    }
    if (mode == 'i' && found) {
      errno = err::exists;
      if (!quiet) safe_ut.show_text("exists in Btree", kc, kL);
      return 0;
    }
    if (mode == 'u' && d_T == 1) return 'u';
    own(L);
    p = page[L];
    bool insert = mode == 'i';
    int dl = d_T == 1 ? 0 : dL;
    int dt = d_T == 1 ? 0 : d_T;
    bool reuse = false;
    if (!insert) {
      uint16_t ad = p->cell[m].ad;
      reuse = ad && dl <= p->c[ad];
    }
    if (!reuse) {
      int need = insert ? kL + dl + 11 + 8 * p->e : dl + 10 + 8 * p->e;
      if (p->h < need && L >= 1) {
        // Compaction first: it drops garbage and may move more of the
        // bytes that all keys of the page share into its prefix.
        Btree_page* f = page[L - 1];
        int j = pos_m[L - 1].m + 1;
        int sp = p->c[spare_pos];
        int uspar = 0;
        if (j < f->e) {
          unsigned char lo[512], hi[512];
          int loL = full_key(p, 0, lo), hiL = full_key(f, j, hi);
          int same = common_len(lo, loL, hi, hiL);
          if (same < sp) {
            trac1_page(f, stdout);
            exut.show_int("spareA", sp);
            exut.show_int("spareB", same);
            broken(p, __LINE__, "System: Btree %s: page bounds do not share its prefix\n", name);
          }
          uspar = same - sp;
        }
        reorganize(p, p->e, uspar);
        mod_++;
      }
      if (p->h < need) {
        if (L == 0) broken(p, __LINE__, "System: Btree %s: split at level 0\n", name);
        ins_level_ = L;
        Btree_page* neu = new_page();
        to_extra(neu);
        split_data(L, p, neu);
        mod_++;
        continue;
      }
    }
    put_cell(p, m, insert, k, kL, d, dl, dt);
    mod_++;
    return mode;
  }
}

void Btree::put_cell(Btree_page* p, int m, bool insert, const unsigned char* k, int kL,
                     const unsigned char* d, int dL, int dt) {
  if (insert) {
    int pos = m + 1;
    int sp = p->c[spare_pos];
    if (kL < sp || (sp && memcmp(k, spare_At(p), sp)))
      broken(p, __LINE__, "System: Btree %s: key does not share the page's prefix\n", name);
    memmove(&p->cell[pos + 1], &p->cell[pos], (size_t)(p->e - pos) * sizeof(Btree_cell));
    int kl = kL - sp;
    int h = p->h - (kl + 1);
    p->c[h] = (unsigned char)kl;
    memcpy(p->c + h + 1, k + sp, kl);
    Btree_cell& c = p->cell[pos];
    c.ak = (uint16_t)h;
    descr->surr++;
    c.surr = descr->surr;
    surr = descr->surr;
    descr->anz++;
    p->e++;
    h -= dL + 2;
    p->c[h] = (unsigned char)dL;
    p->c[h + 1] = (unsigned char)dt;
    if (dL) memcpy(p->c + h + 2, d, dL);
    c.ad = (uint16_t)h;
    p->h = (int16_t)h;
    if (h < 8 * p->e) broken(p, __LINE__, "System: Btree %s: heap runs into the cells\n", name);
    cache[0]->dirty = 1;
  } else {
    Btree_cell& c = p->cell[m];
    if (c.ad && dL <= p->c[c.ad]) {
      p->c[c.ad] = (unsigned char)dL;
      p->c[c.ad + 1] = (unsigned char)dt;
      if (dL) memcpy(p->c + c.ad + 2, d, dL);
    } else {
      int h = p->h - (dL + 2);
      if (h < 8 * p->e) broken(p, __LINE__, "System: Btree %s: heap runs into the cells\n", name);
      p->c[h] = (unsigned char)dL;
      p->c[h + 1] = (unsigned char)dt;
      if (dL) memcpy(p->c + h + 2, d, dL);
      c.ad = (uint16_t)h;
      p->h = (int16_t)h;
    }
    surr = c.surr;
  }
  p->dirty = 1;
}

// Rewrites a page in place, keeping its first e_neu cells and moving uspar
// more bytes of every key into the shared prefix; garbage is dropped.
void Btree::reorganize(Btree_page* p, int e_neu, int uspar) {
  if (!p) exut.fail(__LINE__, SRC, "System: Btree %s: reorganize() of no page\n", name);
  if (p->e < e_neu || p->e <= 0 || e_neu <= 0) {
    exut.add("p->e = %i < %i = e_neu \n", p->e, e_neu);
    broken(p, __LINE__, "System: Btree %s: reorganize() of too few cells\n", name);
  }
  static thread_local Btree_page cp;
  memcpy(static_cast<void*>(&cp), p, sizeof cp);
  bool root = p->nr == 0;
  int sp = root ? 0 : cp.c[spare_pos];
  const unsigned char* first = key_at(&cp, 0);
  const unsigned char* last = key_at(&cp, e_neu - 1);
  int lim = common_len(first + 1, first[0], last + 1, last[0]);
  if (uspar > lim) {
    if (p->t) broken(p, __LINE__, "System: Btree %s: index keys do not share %i bytes\n", name, uspar);
    if (first[0]) {
      printf("\nEs sollte  *( co.c + xu->ak ) == Len(XY)-spare  sein:");
      trac1_page(p, stdout);
    }
    uspar = lim;
  }
  if (uspar < 0) uspar = 0;
  if (root && uspar) broken(p, __LINE__, "System: Btree %s: prefix in page 0\n", name);
  unsigned char pre[512];
  memcpy(pre, spare_At(&cp), sp);
  memcpy(pre + sp, first + 1, uspar);
  int nsp = sp + uspar;
  if (nsp > max_k_L) broken(p, __LINE__, "System: Btree %s: prefix too long\n", name);
  int h = root ? pos_descr : spare_pos;
  // Lowers h by n bytes, never into the cells.
  auto take = [&](int n) {
    h -= n;
    if (h < 8 * e_neu) broken(p, __LINE__, "System: Btree %s: reorganize() overflows\n", name);
  };
  if (!root) p->c[spare_pos] = (unsigned char)nsp;
  if (p->t) {
    take(nsp);
    memcpy(p->c + h, pre, nsp);
  }
  for (int i = 0; i < e_neu; i++) {
    const unsigned char* k = key_at(&cp, i);
    int kl = k[0] - uspar;
    if (kl < 0) broken(p, __LINE__, "System: Btree %s: key shorter than the new prefix\n", name);
    take(kl + 1);
    p->c[h] = (unsigned char)kl;
    memcpy(p->c + h + 1, k + 1 + uspar, kl);
    p->cell[i].ak = (uint16_t)h;
    if (p->t) continue;
    if (i == 0) {
      take(nsp);
      memcpy(p->c + h, pre, nsp);
    }
    uint16_t ad = cp.cell[i].ad;
    if (ad) {
      int dl = cp.c[ad];
      take(dl + 2);
      memcpy(p->c + h, cp.c + ad, dl + 2);
      p->cell[i].ad = (uint16_t)h;
    }
  }
  p->e = (int16_t)e_neu;
  p->h = (int16_t)h;
  p->dirty = 1;
}

// Splits the full data page p (at `level`) with the new page neu: the upper
// part moves to neu, whose sentinel becomes the shortest separator between
// the two halves; the separator goes to the father.
void Btree::split_data(int level, Btree_page* p, Btree_page* neu) {
  int e = p->e;
  if (e < 3) broken(p, __LINE__, "System: Btree %s: split_data() of %i cells\n", name, e);
  // Split point: the middle by bytes, at least one key on each side.
  int total = 0;
  for (int i = 1; i < e; i++) {
    const Btree_cell& c = p->cell[i];
    total += 11 + p->c[c.ak] + (c.ad ? p->c[c.ad] : 0);
  }
  int mid = 1, acc = 0;
  while (mid < e - 1) {
    const Btree_cell& c = p->cell[mid];
    acc += 11 + p->c[c.ak] + (c.ad ? p->c[c.ad] : 0);
    mid++;
    if (2 * acc >= total) break;
  }
  if (mid < 2) mid = 2;
  if (mid > e - 1) mid = e - 1;
  int sp = p->c[spare_pos];
  unsigned char pre[256];
  memcpy(pre, spare_At(p), sp);
  const unsigned char* B = key_at(p, mid);
  const unsigned char* A = key_at(p, mid - 1);
  const unsigned char* K0 = key_at(p, 0);
  // The separator, without the prefix: the shortest text above A and not above B.
  int n = common_len(A + 1, A[0], B + 1, B[0]);
  if (n >= B[0] || (n < A[0] && A[1 + n] >= B[1 + n]))
    broken(p, __LINE__, "System: Btree %s: keys out of order at cell %i\n", name, mid);
  unsigned char sep[256];
  memcpy(sep, B + 1, n);
  sep[n] = n == A[0] ? B[1 + n] : (unsigned char)(A[1 + n] + 1);
  int sepL = n + 1;
  int uspar = common_len(K0 + 1, K0[0], B + 1, B[0]);

  memset(static_cast<void*>(neu->c), 0, sizeof neu->c);
  neu->t = 0;
  neu->c[spare_pos] = (unsigned char)sp;
  int h = spare_pos;
  h -= sepL + 1;
  neu->c[h] = (unsigned char)sepL;
  memcpy(neu->c + h + 1, sep, sepL);
  neu->cell[0].ak = (uint16_t)h;
  h -= sp;
  memcpy(neu->c + h, pre, sp);
  h -= 2;
  neu->c[h] = 0;
  neu->c[h + 1] = 0;
  neu->cell[0].ad = (uint16_t)h;
  neu->cell[0].surr = 0;
  int j = 1;
  for (int i = mid; i < e; i++, j++) {
    const Btree_cell& c = p->cell[i];
    int kl = p->c[c.ak];
    h -= kl + 1;
    memcpy(neu->c + h, p->c + c.ak, kl + 1);
    neu->cell[j].ak = (uint16_t)h;
    if (c.ad) {
      int dl = p->c[c.ad];
      h -= dl + 2;
      memcpy(neu->c + h, p->c + c.ad, dl + 2);
      neu->cell[j].ad = (uint16_t)h;
    } else {
      neu->cell[j].ad = 0;
    }
    neu->cell[j].surr = c.surr;
  }
  if (h < 8 * j) broken(neu, __LINE__, "System: Btree %s: split_data() overflows\n", name);
  neu->e = (int16_t)j;
  neu->h = (int16_t)h;
  neu->dirty = 1;
  reorganize(p, mid, uspar);
  unsigned char full[512];
  memcpy(full, pre, sp);
  memcpy(full + sp, sep, sepL);
  into_father(level - 1, full, sp + sepL, (uint32_t)neu->nr);
}

void Btree::insert_icell(Btree_page* p, int pos, const unsigned char* key, int L, uint32_t son) {
  int sp = p->nr == 0 ? 0 : p->c[spare_pos];
  if (L < sp) {
    exut.show_int("keylen", L);
    exut.show_int("spare", sp);
    exut.show_int("p->nr", p->nr);
    broken(p, __LINE__, "System: Btree %s: separator shorter than the prefix\n", name);
  }
  int kl = L - sp;
  int h = p->h - (kl + 1);
  if (h < 8 * (p->e + 1)) broken(p, __LINE__, "System: Btree %s: index page overflows\n", name);
  p->c[h] = (unsigned char)kl;
  memcpy(p->c + h + 1, key + sp, kl);
  memmove(&p->cell[pos + 1], &p->cell[pos], (size_t)(p->e - pos) * sizeof(Btree_cell));
  p->cell[pos] = Btree_cell{(uint16_t)h, 0, son};
  p->e++;
  p->h = (int16_t)h;
  p->dirty = 1;
}

void Btree::into_father(int level, const unsigned char* key, int L, uint32_t son) {
  if (son > descr->last) {
    exut.show_int("son", (long)son);
    exut.show_int("descr->last", (long)descr->last);
    exut.fail(__LINE__, SRC, "System: Btree %s: son behind the last page\n", name);
  }
  if (level < 0) exut.fail(__LINE__, SRC, "System: Btree %s: into_father() above the root\n", name);
  Btree_page* f = page[level];
  if (!f || f->t != 1) broken(f, __LINE__, "System: Btree %s: father is no index page\n", name);
  if (level == 0) printf("\nINTO_Root: son = %u", son);
  int sp = f->nr == 0 ? 0 : f->c[spare_pos];
  if (L < sp || (sp && memcmp(key, f->c + spare_pos - sp, sp))) {
    exut.show_int("keylen", L);
    exut.show_int("spare", sp);
    exut.show_int("p->nr", f->nr);
    broken(f, __LINE__, "System: Btree %s: separator outside the father's prefix\n", name);
  }
  if (f->h - 8 * f->e >= L + 9)
    put_separator(f, key, L, son);
  else
    split_index(level, key, L, son);
}

// Puts the separator of page `son` in its place in the index page f, which
// has room for it.
void Btree::put_separator(Btree_page* f, const unsigned char* key, int L, uint32_t son) {
  int m, r;
  ipos(f, key, L, m, r);
  if (m >= f->e) {
    exut.show_int("p->e", f->e);
    exut.show_int("m", m);
    broken(f, __LINE__, "System: Btree %s: into_father() behind the last cell\n", name);
  }
  if (r == 0) {
    printf("\nEintrag existiert schon - arbeiten wir mit der alten\nVersion einer per split_data() "
           "reduzierten Seite? Wenn\nja, ist der Eintrag im Vater schon da: son = %u, m = %i\n",
           son, m);
    trac1_page(f, stdout);
  }
  insert_icell(f, r < 0 ? 0 : m + 1, key, L, son);
}

// Splits the full index page at `level` and inserts the pending separator.
void Btree::split_index(int level, const unsigned char* key, int L, uint32_t son) {
  if (level == 0) {
    split_root(key, L, son);
    return;
  }
  Btree_page* P = page[level];
  Btree_page* neu = new_page();
  to_extra(neu);
  int e = P->e;
  if (e < 2) broken(P, __LINE__, "System: Btree %s: split_index() of %i cells\n", name, e);
  int total = 0;
  for (int i = 0; i < e; i++) total += 9 + P->c[P->cell[i].ak];
  int mid = 0, acc = 0;
  while (mid < e - 1) {
    acc += 9 + P->c[P->cell[mid].ak];
    mid++;
    if (2 * acc >= total) break;
  }
  if (mid < 1) mid = 1;
  int sp = P->c[spare_pos];
  memset(static_cast<void*>(neu->c), 0, sizeof neu->c);
  neu->t = 1;
  neu->c[spare_pos] = (unsigned char)sp;
  int h = spare_pos - sp;
  memcpy(neu->c + h, P->c + h, sp);
  int j = 0;
  for (int i = mid; i < e; i++, j++) {
    const Btree_cell& c = P->cell[i];
    int kl = P->c[c.ak];
    h -= kl + 1;
    memcpy(neu->c + h, P->c + c.ak, kl + 1);
    neu->cell[j] = Btree_cell{(uint16_t)h, 0, c.surr};
  }
  neu->e = (int16_t)j;
  neu->h = (int16_t)h;
  neu->dirty = 1;
  unsigned char first[512];
  int firstL = full_key(neu, 0, first);
  const unsigned char* k0 = key_at(P, 0);
  const unsigned char* km = key_at(P, mid);
  reorganize(P, mid, common_len(k0 + 1, k0[0], km + 1, km[0]));
  Btree_page* target = cmp_bytes(key, L, first, firstL) >= 0 ? neu : P;
  put_separator(target, key, L, son);
  into_father(level - 1, first, firstL, (uint32_t)neu->nr);
}

// Page 0 stays the root: its content moves to a new page one level down.
void Btree::split_root(const unsigned char* key, int L, uint32_t son) {
  int height = ins_level_;
  if (height + 1 >= L_Bp) too_deep();
  Btree_page* q = new_page();
  int32_t qnr = q->nr;
  memcpy(static_cast<void*>(q), cache[0], sizeof *q);
  q->nr = qnr;
  q->dirty = 1;
  q->c[spare_pos] = 0;
  for (int i = L_Bp - 1; i >= 1; i--) {
    page[i] = page[i - 1];
    pos_m[i] = pos_m[i - 1];
  }
  page[1] = q;
  to_extra(cache[0]);
  to_extra(q);
  Btree_page* p0 = cache[0];
  p0->e = 1;
  p0->h = pos_descr - 1;
  p0->c[pos_descr - 1] = 0;
  p0->cell[0] = Btree_cell{(uint16_t)(pos_descr - 1), 0, (uint32_t)qnr};
  p0->dirty = 1;
  page[0] = p0;
  pos_m[0].m = 0;
  pos_m[0].r = 1;
  ins_level_++;
  split_index(1, key, L, son);
}

// ======================================================================
// Removal
// ======================================================================

unsigned Btree::Rem(const char* k) { return Rem(k, key_len(k, "Rem")); }

unsigned Btree::Rem(int nr) {
  char b[20];
  int n = snprintf(b, sizeof b, "%i", nr);
  return Rem(b, n);
}

unsigned Btree::Rem(const Btree_st& s) { return Rem(s.k, s.k_L); }

unsigned Btree::Rem(const char* k, int kL) {
  ENTER("Rem");
  need_key(k, kL, "Rem");
  if (kL > max_k_L) return 0;
  not_read_only("Rem");
  e_extra = 0;
  if (!seek(k, kL, true)) return 0;
  int L = deepest;
  own(L);
  Btree_page* p = page[L];
  int m = pos_m[L].m;
  unsigned res = p->cell[m].surr;
  memmove(&p->cell[m], &p->cell[m + 1], (size_t)(p->e - m - 1) * sizeof(Btree_cell));
  p->e--;
  p->dirty = 1;
  mod_++;
  if (p->e == 1 && L >= 1) {
    // An empty page takes over half of its left neighbour, when the
    // neighbour's prefix fits the range of both.
    Btree_page* f = page[L - 1];
    int fm = pos_m[L - 1].m;
    if (f->e < 1) broken(f, __LINE__, "System: Btree %s: father without cells\n", name);
    if (fm >= 1) {
      uint32_t nson = f->cell[fm - 1].surr;
      if (!nson) nson = 1;
      get_page(L_Bp - 1, nson);
      Btree_page* nb = page[L_Bp - 1];
      if (nb->t == 0 && nb->c[spare_pos] <= p->c[spare_pos] && nb->e >= 4) {
        memmove(&f->cell[fm], &f->cell[fm + 1], (size_t)(f->e - fm - 1) * sizeof(Btree_cell));
        f->e--;
        f->dirty = 1;
        ins_level_ = L;
        split_data(L, nb, p);
      }
      page[L_Bp - 1] = nullptr;
    }
  }
  surr = res;
  return res;
}

int Btree::Rem_GE_LE(const char* from, const char* to) {
  ENTER("Rem_GE_LE");
  if (!from || !*from || !to || !*to) {
    exut.show_str("from", from);
    exut.show_str("to", to);
    exut.fail(__LINE__, SRC, "System: Btree %s: Rem_GE_LE() of an empty bound\n", name);
  }
  int toL = (int)strlen(to), n = 0;
  Btree_st s;
  for (unsigned x = Getmin_GE(s, from); x && cmp_bytes(U(s.k), s.k_L, U(to), toL) <= 0;) {
    char key[256];
    int kl = s.k_L;
    memcpy(key, s.k, kl);
    x = GetNext(s, key, kl);
    if (!Rem(key, kl)) {
      safe_ut.show_text("key", key, kl);
      exut.fail(__LINE__, SRC, "System: Btree %s: Rem_GE_LE() cannot remove a key\n", name);
    }
    n++;
  }
  return n;
}

unsigned Btree::postfix(const char* k, const char* text) {
  ENTER("postfix");
  if (!k || !text) exut.fail(__LINE__, SRC, "System: Btree %s: postfix() of a null text\n", name);
  if (!Get(k, st)) return 0;
  if (strstr(st.c, text)) return st.surr;
  if (strlen(st.c) + strlen(text) > 250) {
    exut.show_str("st.c", st.c);
    exut.show_str("postfix", text);
    exut.fail(__LINE__, SRC, "System: Btree %s: postfix() makes the value too long\n", name);
  }
  strcat(st.c, text);
  StrIns('e', k, st.c);
  return surr;
}

// ======================================================================
// Long values
// ======================================================================

std::string Btree::ldata_name() const { return std::string(Bfn) + "_LData"; }

Btree* Btree::ldata(bool create) {
  if (LData) return LData;
  if (!memory_ && !temporary && Bfn[0]) {
    std::string ln = ldata_name();
    if (safe_ut.exists(ln.c_str())) {
      LData = new Btree(ln.c_str(), read_only ? 3 : 4);
      LDataNr = (int)LData->descr->surr;
      return LData;
    }
    if (!create) return nullptr;
    not_read_only("long data");
    LData = new Btree(ln.c_str(), 1);
    LDataNr = 0;
    return LData;
  }
  if (!create) return nullptr;
  LData = new Btree();
  LDataNr = 0;
  return LData;
}

char Btree::long_ins(char do_this, const char* k, int kL, const char* d, int dL) {
  if (dL > max_data) {
    exut.show_int("dL", dL);
    exut.show_str("d", d);
    exut.fail(__LINE__, SRC, "System: Btree %s: data of %i characters, more than %i\n", name, dL,
              max_data);
  }
  if (kL < 1 || kL > max_k_L) return Ins(do_this, k, kL, "", 0, 2);
  Btree_st old;
  bool found = Get(k, kL, old) != 0;
  if (do_this == 'u' && !found) return Ins('u', k, kL, "", 0, 2);
  if (do_this == 'i' && found) return Ins('i', k, kL, "", 0, 2);
  if (found && (do_this == 'e' || do_this == 'u') && (int)strlen(old.c) == dL &&
      !memcmp(old.c, d, dL))
    return 'u';
  Btree* L = ldata(true);
  int n = 0;
  for (int rest = dL; rest > 220; rest -= 252) n++;
  int r0 = dL - 252 * n;
  if (r0 < 0) r0 = 0;
  int first = LDataNr;
  for (int at = r0; at < dL; at += 252) {
    int cl = dL - at < 252 ? dL - at : 252;
    char num[20];
    int nl = snprintf(num, sizeof num, "%i", ++LDataNr);
    if (!L->Ins('i', num, nl, d + at, cl, 2)) {
      exut.show_int("LDataNr", LDataNr);
      exut.fail(__LINE__, SRC, "System: Btree %s: chunk %i of long data exists already\n", name,
                LDataNr);
    }
  }
  char v[300];
  int vl = snprintf(v, sizeof v, "%.*s:%i/%i:", r0, d, first, LDataNr);
  return Ins(do_this, k, kL, v, vl, 2);
}

// A value of the form "<rest>:<n1>/<n2>:" is the rest of a long text whose
// other parts are chunks n1 + 1 to n2 of LData.
void Btree::expand_long(Btree_st& s) {
  int len = s.c_L;
  int i = len - 2;
  long n2 = 0, n1 = 0, f = 1;
  if (i < 0 || !(s.c[i] >= '0' && s.c[i] <= '9')) return;
  while (i >= 0 && s.c[i] >= '0' && s.c[i] <= '9') {
    n2 += (s.c[i] - '0') * f;
    f *= 10;
    i--;
    if (f > 1000000000L) return;
  }
  if (i < 1 || s.c[i] != '/') return;
  i--;
  f = 1;
  if (!(s.c[i] >= '0' && s.c[i] <= '9')) return;
  while (i >= 0 && s.c[i] >= '0' && s.c[i] <= '9') {
    n1 += (s.c[i] - '0') * f;
    f *= 10;
    i--;
    if (f > 1000000000L) return;
  }
  if (i < 0 || s.c[i] != ':' || n2 <= n1) return;
  Btree* L = ldata(false);
  if (!L) return;
  int at = i;
  for (long nr = n1 + 1; nr <= n2; nr++) {
    Btree_st ch;
    if (!L->Get((int)nr, ch)) {
      exut.show_int("n1", n1);
      exut.show_int("n2", n2);
      exut.fail(__LINE__, SRC, "System: Btree %s: chunk %li of a long value is missing\n", name, nr);
    }
    int cl = ch.c_L;
    if (at + cl >= (int)sizeof s.c) {
      exut.show_str("d.c", s.c);
      exut.fail(__LINE__, SRC, "System: Btree %s: long value too long\n", name);
    }
    memcpy(s.c + at, ch.c, cl);
    at += cl;
  }
  s.c[at] = 0;
  s.c_L = at > 255 ? 255 : (uint8_t)at;
}

// ======================================================================
// Paths and surrogates
// ======================================================================

void Btree::check_path(const char* path, int L, unsigned root) {
  if (!path || L < 1 || path[0] != '/' || memchr(path, 0, L) || root > descr->surr) {
    safe_ut.show_text("path", path ? path : "( null )", L > 0 ? L : 0);
    exut.show_int("root", (long)root);
    errno = err::not_a_path;
    exut.fail(__LINE__, SRC, "System: Btree %s: not a path\n", name);
  }
}

int Btree::step_key(unsigned char* out, unsigned parent, const char* step, int n) {
  out[0] = '!';
  out[1] = '/';
  uint32_t p = parent;
  for (int i = 0; i < 4; i++) out[2 + i] = (unsigned char)(p >> (8 * i));
  if (n > max_k_L - 6) {
    safe_ut.show_text("step", step, n);
    exut.fail(__LINE__, SRC, "System: key (see above) too long for Btree %s\n", name);
  }
  memcpy(out + 6, step, n);
  return 6 + n;
}

unsigned Btree::InsPath(char do_this, const char* path, const char* d, unsigned root) {
  if (!d) d = "";
  return InsPath(do_this, path, path ? (int)strlen(path) : 0, d, (int)strlen(d), 2, root);
}

// Walks a path to its last step: the steps before it are looked up, or with
// `make` ensured.  Gives the last step's key, and false when a step is missing.
bool Btree::path_to_last(const char* path, int L, unsigned root, bool make, unsigned char* key,
                         int& kl) {
  check_path(path, L, root);
  unsigned parent = root;
  int at = 1;
  for (;;) {
    const char* slash = static_cast<const char*>(memchr(path + at, '/', L - at));
    int end = slash ? (int)(slash - path) : L;
    kl = step_key(key, parent, path + at, end - at);
    if (!slash) return true;
    const char* kc = reinterpret_cast<const char*>(key);
    if (make) {
      if (!Ins('e', kc, kl, nullptr, 0, 0)) return false;
      parent = surr;
    } else if (!(parent = contains(kc, kl))) {
      return false;
    }
    at = end + 1;
  }
}

unsigned Btree::InsPath(char do_this, const char* path, int L, const char* d, int dL, int d_T,
                        unsigned root) {
  ENTER("InsPath");
  unsigned char key[300];
  int kl;
  if (!path_to_last(path, L, root, true, key, kl)) return 0;
  return Ins(do_this, reinterpret_cast<const char*>(key), kl, d, dL, d_T) ? surr : 0;
}

unsigned Btree::GetPath(const char* path, Btree_st& s, unsigned root) {
  return GetPath(path, path ? (int)strlen(path) : 0, s, root);
}

unsigned Btree::GetPath(const char* path, int L, Btree_st& s, unsigned root) {
  ENTER("GetPath");
  unsigned char key[300];
  int kl;
  if (!path_to_last(path, L, root, false, key, kl)) {
    miss_into(s, nullptr, 0);
    return 0;
  }
  return Get(reinterpret_cast<const char*>(key), kl, s);
}

unsigned Btree::containsPath(const char* path, unsigned root) {
  ENTER("containsPath");
  Btree_st s;
  return GetPath(path, s, root);
}

unsigned Btree::RemPath(const char* path, unsigned root) {
  ENTER("RemPath");
  unsigned char key[300];
  int kl;
  if (!path_to_last(path, path ? (int)strlen(path) : 0, root, false, key, kl)) return 0;
  return Rem(reinterpret_cast<const char*>(key), kl);
}

char Btree::InsAtSurr(unsigned s, char do_this, const char* d, int dL, int d_T) {
  ENTER("InsAtSurr");
  char key[6] = {'!', '!'};
  for (int i = 0; i < 4; i++) key[2 + i] = (char)(unsigned char)(s >> (8 * i));
  if (d && dL > max_k_L) return long_ins(do_this, key, 6, d, dL);
  return Ins(do_this, key, 6, d, dL, d_T);
}

unsigned Btree::GetAtSurr(unsigned s, Btree_st& r) {
  char key[6] = {'!', '!'};
  for (int i = 0; i < 4; i++) key[2 + i] = (char)(unsigned char)(s >> (8 * i));
  return Get(key, 6, r);
}
