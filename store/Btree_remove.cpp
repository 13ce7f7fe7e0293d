// Btree: removal.  A removed key leaves its items as garbage; a data page
// that keeps only its sentinel takes over half of its left neighbour when
// it can.  No page is ever given back.
#include <cstdio>
#include <cstring>

#include "runtime/safe_uts.h"
#include "store/Btree.h"
#include "store/Btree_impl.h"

using namespace btree_impl;

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
  if (p->e == 1 && L >= 1) refill_from_left(L);
  surr = res;
  return res;
}

// The data page at level L holds only its sentinel: it takes over half of
// its left neighbour, when the neighbour's prefix fits the range of both.
void Btree::refill_from_left(int L) {
  Btree_page* p = page[L];
  Btree_page* f = page[L - 1];
  int fm = pos_m[L - 1].m;
  if (f->e < 1) broken(f, __LINE__, "System: Btree %s: father without cells\n", name);
  if (fm < 1) return;
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
