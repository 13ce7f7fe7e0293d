// Btree: retrieval and iteration.  Every operation that finds a key fills
// the caller's record and returns the key's surrogate, so that 0 always
// means that there is no such key.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "store/Btree.h"
#include "store/Btree_impl.h"

using namespace btree_impl;

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

// The public form of near: operation `op` of a key that must be given.
unsigned Btree::near_of(const char* op, Btree_st& s, const char* k, int kL, bool back, bool or_k) {
  ENTER(op);
  need_key(k, kL, op);
  return near(s, k, kL, back, or_k);
}

// The position moved one key on (or with `back` one key back), read.
unsigned Btree::step_read(Btree_st& s, bool back) {
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
  return step_read(s, false);
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
  return step_read(s, true);
}

unsigned Btree::Next(Btree_st& s) {
  ENTER("Next");
  if (!position_ok(s)) return GetNext(s, s.k, s.k_L);
  return step_read(s, false);
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
  if (position_ok(s)) return step_read(s, true);
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
  return step_read(s, true);
}

// The four range lookups: the smallest key at or above k (GE) or above it
// (GR), the largest at or below k (LE) or below it (LS).
unsigned Btree::Getmin_GE(Btree_st& s, const char* k) { return Getmin_GE(s, k, key_len(k, "Getmin_GE")); }
unsigned Btree::Getmin_GR(Btree_st& s, const char* k) { return Getmin_GR(s, k, key_len(k, "Getmin_GR")); }
unsigned Btree::Getmax_LE(Btree_st& s, const char* k) { return Getmax_LE(s, k, key_len(k, "Getmax_LE")); }
unsigned Btree::Getmax_LS(Btree_st& s, const char* k) { return Getmax_LS(s, k, key_len(k, "Getmax_LS")); }

unsigned Btree::Getmin_GE(Btree_st& s, const char* k, int kL) {
  return near_of("Getmin_GE", s, k, kL, false, true);
}

unsigned Btree::Getmin_GR(Btree_st& s, const char* k, int kL) {
  return near_of("Getmin_GR", s, k, kL, false, false);
}

unsigned Btree::Getmax_LS(Btree_st& s, const char* k, int kL) {
  return near_of("Getmax_LS", s, k, kL, true, false);
}

unsigned Btree::Getmax_LE(Btree_st& s, const char* k, int kL) {
  unsigned x = near_of("Getmax_LE", s, k, kL, true, true);
  if (kL > max_k_L) kL = max_k_L;
  if (x && cmp_bytes(U(s.k), s.k_L, U(k), kL) > 0) {
    trace("Btree", stdout);
    exut.fail(__LINE__, SRC, "System: Btree %s: Getmax_LE() found a greater key\n", name);
  }
  return x;
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
    x = Getmax_LS(s, C(up), L);
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
