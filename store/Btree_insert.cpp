// Btree: insertion and update.  Every form ends in Ins, which searches the
// data page of the key, makes room there (by compaction first, by a split
// when that is not enough) and puts the key and its value into the page.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "runtime/safe_uts.h"
#include "store/Btree.h"
#include "store/Btree_impl.h"

using namespace btree_impl;
namespace bf = btree_file;

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
  return Ins(do_this, k, kL, k, 0, bf::type_none);
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
  return Ins(do_this, k, kL, d, dL, bf::type_text);
}

char Btree::StrIns(char do_this, const char* k, int n) {
  char b[20];
  snprintf(b, sizeof b, "%i", n);
  return StrIns(do_this, k, b);
}

char Btree::StrIns(char do_this, const char* k, int kL, const char* d, int dL) {
  return Ins(do_this, k, kL, d, dL, bf::type_text);
}

unsigned Btree::ensure(const char* k, int kL) {
  ENTER("ensure");
  if (!Ins('e', k, kL, nullptr, 0, bf::type_none)) return 0;
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
  return dp[0] == dL && (dL == 0 || memcmp(dp + bf::data_head, d, dL) == 0);
}

void Btree::not_read_only(const char* what) {
  if (read_only) exut.fail(__LINE__, SRC, "AppError: %s on Btree %s, opened read-only\n", what, name);
  if (damaged_) {
    errno = err::corrupted_data;
    exut.fail(__LINE__, SRC, "System: %s on Btree %s, whose file is damaged\n", what, Bfn);
  }
}

char Btree::Ins(char do_this, const char* k, int kL, const char* d, int dL, int d_T) {
  ENTER("Ins");
  call_nr++;
  if (kL > max_k_L || dL > max_k_L || max_k_L != bf::max_key) {
    exut.show_int("kL", kL);
    exut.show_int("dL", dL);
    if (dL > max_k_L && d_T != bf::type_none) {
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
  if (d_T == bf::type_none) {
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

// The insertion proper, once the arguments are known to be sound.  A split
// changes the path to the key, so the search runs again after each one.
char Btree::ins_core(char do_this, const unsigned char* k, int kL, const unsigned char* d, int dL,
                     int d_T) {
  const char* kc = C(k);
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
    int m = pos_m[L].m;
    if (round == 0 && found && (do_this == 'e' || do_this == 'u') && NoUpd(C(d), dL)) return 'u';
    // Surrogate 0 means "not found": a descriptor that has given out the
    // last one is damaged, and a key entered now could never be found.
    if (!found && descr->surr == UINT32_MAX)
      broken(page[L], __LINE__, "System: Btree %s: no surrogate left for a new key\n", name);
    if (kL > descr->maxkeylen) {
      descr->maxkeylen = (uint16_t)kL;
      cache[0]->dirty = 1;
    }
    if (page[L]->t != 0)
      broken(page[L], __LINE__, "System: Btree %s: insertion into an index page\n", name);
    char mode = resolved_mode(do_this, found, round == 0, kc, kL);
    if (!mode) return 0;
    if (mode == 'u' && d_T == bf::type_keep) return 'u';
    own(L);
    bool insert = mode == 'i';
    int dl = d_T == bf::type_keep ? 0 : dL;
    int dt = d_T == bf::type_keep ? bf::type_none : d_T;
    if (!room_for(L, insert, kL, dl)) continue;
    put_cell(page[L], m, insert, k, kL, d, dl, dt);
    mod_++;
    return mode;
  }
}

// "e" and "?" become "u" for a key that was found and "i" for one that was
// not.  0 for an update of a missing key or an insertion of an existing one,
// with errno saying which.
char Btree::resolved_mode(char do_this, bool found, bool first, const char* kc, int kL) {
  char mode = do_this;
  if (mode == 'e' || mode == '?') {
    if (found && mode == '?' && first) safe_ut.show_text("in Btree already:", kc, kL);
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
  return mode;
}

// Makes room in the data page at level L for a new cell (`insert`) or a new
// data item of dl bytes: by compaction, and when that is not enough by a
// split, after which the caller must search again (false).
bool Btree::room_for(int L, bool insert, int kL, int dl) {
  Btree_page* p = page[L];
  if (!insert) {
    uint16_t ad = p->cell[pos_m[L].m].ad;
    if (ad && dl <= p->c[ad]) return true;  // the old data item takes the new value
  }
  const int cells = bf::cell_size * p->e;
  int need = insert ? kL + dl + bf::key_head + bf::data_head + bf::cell_size + cells
                    : dl + bf::data_head + bf::cell_size + cells;
  if (p->h < need && L >= 1) {
    compact(L);
    mod_++;
  }
  if (p->h >= need) return true;
  if (L == 0) broken(p, __LINE__, "System: Btree %s: split at level 0\n", name);
  ins_level_ = L;
  Btree_page* neu = new_page();
  to_extra(neu);
  split_data(L, p, neu);
  mod_++;
  return false;
}

// Compaction of the data page at level L: it drops garbage and may move
// more of the bytes that all keys of the page share into its prefix.  The
// page's keys lie between its sentinel and the father's next separator.
void Btree::compact(int L) {
  Btree_page* p = page[L];
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
}

// Writes a data item of dL bytes of type dt at offset `at` of page p.
void Btree::put_data(Btree_page* p, int at, const unsigned char* d, int dL, int dt) {
  p->c[at] = (unsigned char)dL;
  p->c[at + 1] = (unsigned char)dt;
  if (dL) memcpy(p->c + at + bf::data_head, d, dL);
}

// Puts key k with its value into page p, which has room: a new cell behind
// cell m (`insert`), or a new value for cell m.
void Btree::put_cell(Btree_page* p, int m, bool insert, const unsigned char* k, int kL,
                     const unsigned char* d, int dL, int dt) {
  if (insert) {
    int pos = m + 1;
    int sp = p->c[spare_pos];
    if (kL < sp || (sp && memcmp(k, bf::prefix_at(p), sp)))
      broken(p, __LINE__, "System: Btree %s: key does not share the page's prefix\n", name);
    memmove(&p->cell[pos + 1], &p->cell[pos], (size_t)(p->e - pos) * sizeof(Btree_cell));
    int kl = kL - sp;
    int h = p->h - (kl + bf::key_head);
    p->c[h] = (unsigned char)kl;
    memcpy(p->c + h + bf::key_head, k + sp, kl);
    Btree_cell& c = p->cell[pos];
    c.ak = (uint16_t)h;
    descr->surr++;
    c.surr = descr->surr;
    surr = descr->surr;
    descr->anz++;
    p->e++;
    h -= dL + bf::data_head;
    put_data(p, h, d, dL, dt);
    c.ad = (uint16_t)h;
    p->h = (int16_t)h;
    if (h < bf::cell_size * p->e) broken(p, __LINE__, "System: Btree %s: heap runs into the cells\n", name);
    cache[0]->dirty = 1;
  } else {
    Btree_cell& c = p->cell[m];
    if (c.ad && dL <= p->c[c.ad]) {
      put_data(p, c.ad, d, dL, dt);
    } else {
      int h = p->h - (dL + bf::data_head);
      if (h < bf::cell_size * p->e) broken(p, __LINE__, "System: Btree %s: heap runs into the cells\n", name);
      put_data(p, h, d, dL, dt);
      c.ad = (uint16_t)h;
      p->h = (int16_t)h;
    }
    surr = c.surr;
  }
  p->dirty = 1;
}
