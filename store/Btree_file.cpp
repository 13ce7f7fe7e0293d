// Btree: construction, opening and creating the page file, the view of the
// file in memory, writing pages back, and closing.
#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "runtime/safe_uts.h"
#include "store/Btree.h"
#include "store/Btree_impl.h"

using namespace btree_impl;
namespace bf = btree_file;

namespace {

int trees_made = 0;

// Words that the failure report of a call made in its scope shows first,
// saying what the store was doing; they go again when the scope ends
// without a failure.
class report_context {
 public:
  report_context(const char* format, ...) __attribute__((format(printf, 2, 3))) {
    va_list ap;
    va_start(ap, format);
    add_to_report(format, ap);
    va_end(ap);
  }
  ~report_context() {
    if (exut.msg_len() > at_) exut.msg[at_] = 0;
  }
  report_context(const report_context&) = delete;
  report_context& operator=(const report_context&) = delete;

 private:
  int at_ = exut.msg_len();
};

}  // namespace

void Btree::enter(const char* method) {
  char b[200];
  snprintf(b, sizeof b, "\n-> Btree.%s", method);
  exut.trace_text(b);
}

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

Btree::~Btree() {
  // The companion first: the values of this tree name its chunks.
  if (LData || LDataNr) exut.show_int("LDataNr", LDataNr);
  delete LData;
  LData = nullptr;
  close_file(true);
  if (temporary && Bfn[0]) {
    try {
      if (safe_ut.exists(Bfn)) safe_ut.remove_file(Bfn);
    } catch (const char*) {
      exut.reset_after_failure();
    }
    errno = 0;
  }
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
  spilled_ = false;
  read_only = 0;
  surr = 0;
  max_k_L = bf::max_key;
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

// ======================================================================
// Opening
// ======================================================================

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
  take_name(nm, do_what);
  try {
    if (do_what == 5)
      do_what = safe_ut.exists(Bfn) && safe_ut.ok_file_len(Bfn) >= page_size ? 4 : 1;
    if (do_what == 3 || do_what == 4)
      open_existing(do_what == 3);
    else
      start_fresh(do_what);
  } catch (const char*) {
    close_file(false);
    throw;
  }
  if (Bf > 0) name = Bfn;
  mod_++;
}

// Bfn for the modes that name a file: the name given, with "/" for "\".
void Btree::take_name(const char* nm, int do_what) {
  Bfn[0] = 0;
  if (do_what <= 0) return;
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

// Modes 3 and 4: reads page 0 of an existing file and checks it; the other
// pages come when they are needed.
void Btree::open_existing(bool ro) {
  long len = safe_ut.ok_file_len(Bfn);
  exut.show_int("safe_ut.ok_file_len(Bf)", len);
  if (len < page_size) {
    errno = err::corrupted_data;
    exut.fail(__LINE__, SRC, "System: %s is not a Btree file: %ld bytes, less than one page of 4100\n",
              Bfn, len);
  }
  file_len_ = len;
  Bf = safe_ut.open_fd(Bfn, ro ? 'r' : 'u', 'B');
  read_only = ro;
  Btree_page* p0 = cache[0] = alloc_page();
  safe_ut.read_at(Bf, 0, 0, page_size, p0);
  e_cache = 1;
  memory_ = false;
  descr = &p0->p0.d;
  check_descr();
  if (p0->nr != 0 || p0->t != 1 || p0->c[spare_pos] != 0 || descr->last < 1 ||
      descr->last > bf::max_page_nr) {
    exut.show_int("page[0]->nr", p0->nr);
    exut.show_int("t", p0->t);
    exut.show_int("descr->last", (long)descr->last);
    errno = err::corrupted_data;
    exut.fail(__LINE__, SRC, "System: %s: page 0 is not the root of a Btree\n", Bfn);
  }
  p0->dirty = 0;
  validate_loaded(p0);
  slot_of_.assign(1, 0);
  sound_.assign(1, true);
}

// Modes 0, 1 and 2: a fresh tree of two pages, in memory or in a new file.
void Btree::start_fresh(int do_what) {
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

// The two pages of a fresh tree: the root with one cell of the empty key,
// and one data page that holds only its sentinel.
void Btree::build_fresh() {
  Btree_page* p0 = cache[0] = alloc_page();
  Btree_page* p1 = cache[1] = alloc_page();
  const int k0 = pos_descr - bf::key_head;  // the root's empty key
  p0->nr = 0;
  p0->dirty = 1;
  p0->e = 1;
  p0->t = 1;
  p0->h = (int16_t)k0;
  p0->cell[0] = Btree_cell{(uint16_t)k0, 0, 1};
  p0->c[k0] = 0;
  Btree_descr& d = p0->p0.d;
  d.last = 1;
  d.next = 1;
  d.surr = 0;
  d.anz = 0;
  d.maxkeylen = 0;
  d.icell_size = bf::cell_size;
  d.dcell_size = bf::cell_size;
  d.page_size = page_size;
  d.descr_pos = pos_descr;
  // Page 1: the empty key just below the unused byte, the empty data below it.
  const int k1 = spare_pos - 1 - bf::key_head, d1 = k1 - bf::data_head;
  p1->nr = 1;
  p1->dirty = 1;
  p1->e = 1;
  p1->t = 0;
  p1->h = (int16_t)d1;
  p1->cell[0] = Btree_cell{(uint16_t)k1, (uint16_t)d1, 0};
  e_cache = 2;
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
  no_view = 1;
  memory_ = false;
  spilled_ = true;
  slot_of_.assign(e_cache, -1);
  for (int s = 0; s < e_cache; s++) {
    Btree_page* p = cache[s];
    if (!p || p->nr != s || (s > 0 && !p->dirty)) {
      exut.show_int("slot", s);
      exut.fail(__LINE__, SRC, "System: Btree %s: page %i in memory is not as expected\n", name, s);
    }
    slot_of_[s] = s;
    ref_[s] = 0;
    if (s > 0) to_Disk(s, false);
  }
  name = Bfn;
}

// ======================================================================
// The view of the file
// ======================================================================

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

// ======================================================================
// Writing back
// ======================================================================

void Btree::commit() {
  ENTER("commit");
  if (!cache[0]) return;
  cache[0]->dirty = 1;
  if (memory_ || read_only || Bf <= 0) return;
  not_read_only("commit");
  // The companion first: the values of this tree name its chunks.
  if (LData) LData->commit();
  write_dirty();
}

// Writes every dirty page of the cache.  The disk space of the pages that
// were never in the file is taken for all of them first, so that a full
// disk fails here, before any page of the file changes, and never as a
// fault while the view is written.  Then the pages go out in the order of
// their numbers, and page 0 last: its descriptor counts the others.
void Btree::write_dirty() {
  std::vector<int> slots;
  long from = -1, to = -1;
  for (int s = 0; s < e_cache; s++) {
    const Btree_page* p = cache[s];
    if (!p || !p->dirty || p->nr < 0) continue;
    slots.push_back(s);
    if (in_file(p->nr)) continue;
    long at = (long)p->nr * page_size;
    if (from < 0 || at < from) from = at;
    if (at + page_size > to) to = at + page_size;
  }
  if (slots.empty()) return;
  if (from >= 0) {
    report_context why("Btree %s: taking the disk space of pages %ld to %ld before writing\n", Bfn,
                       from / page_size, to / page_size - 1);
    safe_ut.reserve_fd(Bf, from, to - from);
  }
  auto order = [this](int a, int b) {
    uint32_t x = (uint32_t)cache[a]->nr - 1, y = (uint32_t)cache[b]->nr - 1;  // 0 goes last
    return x < y;
  };
  std::sort(slots.begin(), slots.end(), order);
  for (int s : slots) to_Disk(s, true);
}

// Page nr was written to the file or read from it in this run, so that the
// file holds its disk space.
bool Btree::in_file(int32_t nr) const { return (size_t)nr < sound_.size() && sound_[nr]; }

// Writes the page of the cache slot back; `space_taken` when the caller has
// taken its disk space already.
void Btree::to_Disk(int slot, bool space_taken) {
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
    if (!space_taken && !in_file(p->nr)) {
      report_context why("Btree %s: taking the disk space of page %i\n", Bfn, (int)p->nr);
      safe_ut.reserve_fd(Bf, (long)p->nr * page_size, page_size);
    }
    memcpy(map_ + (long)p->nr * page_size, p, page_size);
  } else {
    safe_ut.write_at(Bf, 0, p->nr, page_size, p);
  }
  if (sound_.size() <= (size_t)p->nr) sound_.resize((size_t)p->nr + 1, false);
  sound_[p->nr] = true;
  if (end > file_len_) file_len_ = end;
  p->dirty = 0;
}
