// Btree: compaction and splitting of pages.  Compaction rewrites a page
// without its garbage and with a longer shared prefix where the page's keys
// allow it; a split moves the upper part of a full page to a new one and
// gives the father a separator for it, up to the root, which stays page 0.
#include <cstdio>
#include <cstring>

#include "store/Btree.h"
#include "store/Btree_impl.h"

using namespace btree_impl;
namespace bf = btree_file;

namespace {

// Bytes that cell i takes in its page: the cell and its items.
int cell_bytes(const Btree_page* p, int i) {
  const Btree_cell& c = p->cell[i];
  if (p->t) return bf::cell_size + bf::key_item_size(p->c, c.ak);
  return bf::cell_size + bf::key_head + bf::data_head + p->c[c.ak] + (c.ad ? p->c[c.ad] : 0);
}

// The first cell behind the middle of the bytes of cells first .. e - 1.
int middle_by_bytes(const Btree_page* p, int first) {
  int e = p->e, total = 0;
  for (int i = first; i < e; i++) total += cell_bytes(p, i);
  int mid = first, acc = 0;
  while (mid < e - 1) {
    acc += cell_bytes(p, mid);
    mid++;
    if (2 * acc >= total) break;
  }
  return mid;
}

// The shortest text above key A and not above key B (both key items): the
// bytes they share, and one more.  Its length, or 0 when A is not below B.
int separator(const unsigned char* A, const unsigned char* B, unsigned char* sep) {
  const unsigned char *a = bf::key_bytes(A), *b = bf::key_bytes(B);
  int n = common_len(a, A[0], b, B[0]);
  if (n >= B[0] || (n < A[0] && a[n] >= b[n])) return 0;
  memcpy(sep, b, n);
  sep[n] = n == A[0] ? b[n] : (unsigned char)(a[n] + 1);
  return n + 1;
}

}  // namespace

// Puts n bytes below the heap start h of page p and lowers h; the heap must
// stay above the page's first `cells` cells.
void Btree::heap_put(Btree_page* p, int& h, int cells, const void* from, int n, const char* op) {
  h -= n;
  if (h < bf::cell_size * cells) broken(p, __LINE__, "System: Btree %s: %s overflows\n", name, op);
  if (n) memcpy(p->c + h, from, n);
}

// A key item of the kl bytes at k, the same way.
void Btree::heap_put_key(Btree_page* p, int& h, int cells, const unsigned char* k, int kl,
                         const char* op) {
  unsigned char len = (unsigned char)kl;
  heap_put(p, h, cells, k, kl, op);
  heap_put(p, h, cells, &len, bf::key_head, op);
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
  int sp = bf::spare_len(&cp);
  const unsigned char* first = bf::key_item(&cp, 0);
  uspar = usable_spare(p, &cp, e_neu, uspar);
  unsigned char pre[512];
  memcpy(pre, bf::prefix_at(&cp), sp);
  memcpy(pre + sp, bf::key_bytes(first), uspar);
  int nsp = sp + uspar;
  if (nsp > max_k_L) broken(p, __LINE__, "System: Btree %s: prefix too long\n", name);
  int h = bf::heap_top(p);
  if (!root) p->c[spare_pos] = (unsigned char)nsp;
  if (p->t) heap_put(p, h, e_neu, pre, nsp, "reorganize()");
  for (int i = 0; i < e_neu; i++) {
    const unsigned char* k = bf::key_item(&cp, i);
    int kl = k[0] - uspar;
    if (kl < 0) broken(p, __LINE__, "System: Btree %s: key shorter than the new prefix\n", name);
    heap_put_key(p, h, e_neu, bf::key_bytes(k) + uspar, kl, "reorganize()");
    p->cell[i].ak = (uint16_t)h;
    if (p->t) continue;
    if (i == 0) heap_put(p, h, e_neu, pre, nsp, "reorganize()");
    uint16_t ad = cp.cell[i].ad;
    if (ad) {
      heap_put(p, h, e_neu, cp.c + ad, bf::data_item_size(cp.c, ad), "reorganize()");
      p->cell[i].ad = (uint16_t)h;
    }
  }
  p->e = (int16_t)e_neu;
  p->h = (int16_t)h;
  p->dirty = 1;
}

// How many more bytes compaction may move into the prefix of page p (whose
// copy is cp): no more than the first and the last kept key share.
int Btree::usable_spare(Btree_page* p, const Btree_page* cp, int e_neu, int uspar) {
  const unsigned char* first = bf::key_item(cp, 0);
  const unsigned char* last = bf::key_item(cp, e_neu - 1);
  int lim = common_len(bf::key_bytes(first), first[0], bf::key_bytes(last), last[0]);
  if (uspar > lim) {
    if (p->t) broken(p, __LINE__, "System: Btree %s: index keys do not share %i bytes\n", name, uspar);
    if (first[0]) {
      printf("\nEs sollte  *( co.c + xu->ak ) == Len(XY)-spare  sein:");
      trac1_page(p, stdout);
    }
    uspar = lim;
  }
  if (uspar < 0) uspar = 0;
  if (p->nr == 0 && uspar) broken(p, __LINE__, "System: Btree %s: prefix in page 0\n", name);
  return uspar;
}

// Splits the full data page p (at `level`) with the new page neu: the upper
// part moves to neu, whose sentinel becomes the shortest separator between
// the two halves; the separator goes to the father.
void Btree::split_data(int level, Btree_page* p, Btree_page* neu) {
  int e = p->e;
  if (e < 3) broken(p, __LINE__, "System: Btree %s: split_data() of %i cells\n", name, e);
  // Split point: the middle by bytes, at least one key on each side.
  int mid = middle_by_bytes(p, 1);
  if (mid < 2) mid = 2;
  if (mid > e - 1) mid = e - 1;
  int sp = p->c[spare_pos];
  unsigned char full[512];  // the separator with the prefix in front
  memcpy(full, bf::prefix_at(p), sp);
  const unsigned char* B = bf::key_item(p, mid);
  const unsigned char* K0 = bf::key_item(p, 0);
  int sepL = separator(bf::key_item(p, mid - 1), B, full + sp);
  if (!sepL) broken(p, __LINE__, "System: Btree %s: keys out of order at cell %i\n", name, mid);
  int uspar = common_len(bf::key_bytes(K0), K0[0], bf::key_bytes(B), B[0]);
  fill_data_half(p, mid, neu, full, sepL);
  reorganize(p, mid, uspar);
  into_father(level - 1, full, sp + sepL, (uint32_t)neu->nr);
}

// Builds neu from cells mid .. e - 1 of the data page p: first its sentinel
// with the separator (`full`: the prefix, then sepL more bytes), the prefix
// and an empty data item, then the cells with their items as they are.
void Btree::fill_data_half(const Btree_page* p, int mid, Btree_page* neu, const unsigned char* full,
                           int sepL) {
  int e = p->e, sp = p->c[spare_pos];
  int cells = e - mid + 1;
  memset(static_cast<void*>(neu->c), 0, sizeof neu->c);
  neu->t = 0;
  neu->c[spare_pos] = (unsigned char)sp;
  int h = spare_pos;
  static const unsigned char no_data[bf::data_head] = {0, (unsigned char)bf::type_none};
  heap_put_key(neu, h, cells, full + sp, sepL, "split_data()");
  neu->cell[0].ak = (uint16_t)h;
  heap_put(neu, h, cells, full, sp, "split_data()");
  heap_put(neu, h, cells, no_data, bf::data_head, "split_data()");
  neu->cell[0].ad = (uint16_t)h;
  neu->cell[0].surr = 0;
  int j = 1;
  for (int i = mid; i < e; i++, j++) {
    const Btree_cell& c = p->cell[i];
    heap_put(neu, h, cells, p->c + c.ak, bf::key_item_size(p->c, c.ak), "split_data()");
    neu->cell[j].ak = (uint16_t)h;
    neu->cell[j].ad = 0;
    if (c.ad) {
      heap_put(neu, h, cells, p->c + c.ad, bf::data_item_size(p->c, c.ad), "split_data()");
      neu->cell[j].ad = (uint16_t)h;
    }
    neu->cell[j].surr = c.surr;
  }
  neu->e = (int16_t)j;
  neu->h = (int16_t)h;
  neu->dirty = 1;
}

void Btree::insert_icell(Btree_page* p, int pos, const unsigned char* key, int L, uint32_t son) {
  int sp = bf::spare_len(p);
  if (L < sp) {
    exut.show_int("keylen", L);
    exut.show_int("spare", sp);
    exut.show_int("p->nr", p->nr);
    broken(p, __LINE__, "System: Btree %s: separator shorter than the prefix\n", name);
  }
  int kl = L - sp;
  int h = p->h - (kl + bf::key_head);
  if (h < bf::cell_size * (p->e + 1))
    broken(p, __LINE__, "System: Btree %s: index page overflows\n", name);
  p->c[h] = (unsigned char)kl;
  memcpy(p->c + h + bf::key_head, key + sp, kl);
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
  int sp = bf::spare_len(f);
  if (L < sp || (sp && memcmp(key, bf::prefix_at(f), sp))) {
    exut.show_int("keylen", L);
    exut.show_int("spare", sp);
    exut.show_int("p->nr", f->nr);
    broken(f, __LINE__, "System: Btree %s: separator outside the father's prefix\n", name);
  }
  if (f->h - bf::cell_size * f->e >= L + bf::key_head + bf::cell_size)
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
  int mid = middle_by_bytes(P, 0);
  if (mid < 1) mid = 1;
  fill_index_half(P, mid, neu);
  unsigned char first[512];
  int firstL = full_key(neu, 0, first);
  const unsigned char* k0 = bf::key_item(P, 0);
  const unsigned char* km = bf::key_item(P, mid);
  reorganize(P, mid, common_len(bf::key_bytes(k0), k0[0], bf::key_bytes(km), km[0]));
  Btree_page* target = cmp_bytes(key, L, first, firstL) >= 0 ? neu : P;
  put_separator(target, key, L, son);
  into_father(level - 1, first, firstL, (uint32_t)neu->nr);
}

// Builds neu from cells mid .. e - 1 of the index page P, with P's prefix.
void Btree::fill_index_half(const Btree_page* P, int mid, Btree_page* neu) {
  int e = P->e, sp = P->c[spare_pos];
  int cells = e - mid;
  memset(static_cast<void*>(neu->c), 0, sizeof neu->c);
  neu->t = 1;
  neu->c[spare_pos] = (unsigned char)sp;
  int h = spare_pos;
  heap_put(neu, h, cells, bf::prefix_at(P), sp, "split_index()");
  int j = 0;
  for (int i = mid; i < e; i++, j++) {
    const Btree_cell& c = P->cell[i];
    heap_put(neu, h, cells, P->c + c.ak, bf::key_item_size(P->c, c.ak), "split_index()");
    neu->cell[j] = Btree_cell{(uint16_t)h, 0, c.surr};
  }
  neu->e = (int16_t)j;
  neu->h = (int16_t)h;
  neu->dirty = 1;
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
  const int k0 = pos_descr - bf::key_head;  // the root's empty key
  p0->e = 1;
  p0->h = (int16_t)k0;
  p0->c[k0] = 0;
  p0->cell[0] = Btree_cell{(uint16_t)k0, 0, (uint32_t)qnr};
  p0->dirty = 1;
  page[0] = p0;
  pos_m[0].m = 0;
  pos_m[0].r = 1;
  ins_level_++;
  split_index(1, key, L, son);
}
