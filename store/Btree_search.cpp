// Btree: the search down the tree and the tree's one position (page, pos_m
// and deepest), which lookups set, iteration moves on, and insertion and
// removal start from.
#include <cerrno>
#include <cstring>

#include "runtime/safe_uts.h"
#include "store/Btree.h"
#include "store/Btree_impl.h"

using namespace btree_impl;
namespace bf = btree_file;

namespace {

// The last cell from `first` on whose key is not above k, or first - 1 when
// there is none; r is 0 when its key equals k and 1 otherwise.  Only the
// bytes behind the page's shared prefix are compared.
int last_not_above(const Btree_page* p, int first, const unsigned char* k, int kL, int& r) {
  int e = p->e;
  r = 1;
  if (e <= first) return first - 1;
  int sp = bf::spare_len(p);
  if (sp) {
    const unsigned char* pre = bf::prefix_at(p);
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
    const unsigned char* q = bf::key_item(p, mid);
    int c = cmp_bytes(k, kL, bf::key_bytes(q), q[0]);
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

// The son of index cell m; 0 stands for page 1.
uint32_t son_of(const Btree_page* p, int m) {
  uint32_t son = p->cell[m].surr;
  return son ? son : 1;
}

}  // namespace

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
    fetch_son(p, m, to_write);
    check_son(deepest);
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

// Makes page[deepest + 1] the son of cell m of page p (at level deepest),
// unless it is that page already.
void Btree::fetch_son(const Btree_page* p, int m, bool to_write) {
  uint32_t son = son_of(p, m);
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
    uint32_t son = son_of(page[l], pos_m[l].m);
    if (l + 1 >= L_Bp) too_deep();
    if (!holds(page[l + 1], son)) visit(l + 1, son);
    check_son(l);
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
  s.k_L = (uint16_t)full_key(p, m, reinterpret_cast<unsigned char*>(s.k));
  s.k[s.k_L] = 0;
  if (c.ad == 0) {
    if (descr->surr == 0) return 0;
    exut.add("deepest.m = %i.%i\n", deepest, m);
    exut.fail(__LINE__, SRC, "System: Btree %s: cell without data\n", name);
  }
  const unsigned char* dp = p->c + c.ad;
  s.c_L = dp[0];
  s.c_T = dp[1];
  memcpy(s.c, dp + bf::data_head, dp[0]);
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
  const unsigned char* kp = bf::key_item(p, m);
  return s.k_L == sp + kp[0] && memcmp(s.k, bf::prefix_at(p), sp) == 0 &&
         memcmp(s.k + sp, bf::key_bytes(kp), kp[0]) == 0;
}
