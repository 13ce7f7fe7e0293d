// Btree: values longer than a data item.  Their tail goes, in chunks, into
// a companion tree (for a file tree the page file "<file>_LData"), and the
// tree keeps the head with the numbers of the chunks; a read puts the value
// together again.  The layout is described in Btree_page.h.
#include <cstdio>
#include <cstring>
#include <string>

#include "runtime/safe_uts.h"
#include "store/Btree.h"
#include "store/Btree_impl.h"

using namespace btree_impl;
namespace bf = btree_file;

namespace {

// Reads the decimal number that ends at c[i] backwards into n; returns the
// index before its first digit, or -2 when there is no digit at i or the
// number has more than nine digits.
int number_before(const char* c, int i, long& n) {
  n = 0;
  long f = 1;
  if (i < 0 || !(c[i] >= '0' && c[i] <= '9')) return -2;
  while (i >= 0 && c[i] >= '0' && c[i] <= '9') {
    n += (c[i] - '0') * f;
    f *= 10;
    i--;
    if (f > 1000000000L) return -2;
  }
  return i;
}

}  // namespace

std::string Btree::ldata_name() const { return std::string(Bfn) + bf::companion_suffix; }

// The companion tree: opened when its file exists, made when `create`.
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
  if (kL < 1 || kL > max_k_L) return Ins(do_this, k, kL, "", 0, bf::type_text);
  Btree_st old;
  bool found = Get(k, kL, old) != 0;
  if (do_this == 'u' && !found) return Ins('u', k, kL, "", 0, bf::type_text);
  if (do_this == 'i' && found) return Ins('i', k, kL, "", 0, bf::type_text);
  if (found && (do_this == 'e' || do_this == 'u') && (int)strlen(old.c) == dL &&
      !memcmp(old.c, d, dL))
    return 'u';
  Btree* L = ldata(true);
  int n = 0;
  for (int rest = dL; rest > bf::chunk_rest; rest -= bf::chunk_size) n++;
  int r0 = dL - bf::chunk_size * n;
  if (r0 < 0) r0 = 0;
  int first = LDataNr;
  for (int at = r0; at < dL; at += bf::chunk_size) {
    int cl = dL - at < bf::chunk_size ? dL - at : bf::chunk_size;
    char num[20];
    int nl = snprintf(num, sizeof num, "%i", ++LDataNr);
    if (!L->Ins('i', num, nl, d + at, cl, bf::type_text)) {
      exut.show_int("LDataNr", LDataNr);
      exut.fail(__LINE__, SRC, "System: Btree %s: chunk %i of long data exists already\n", name,
                LDataNr);
    }
  }
  char v[300];
  int vl = snprintf(v, sizeof v, "%.*s:%i/%i:", r0, d, first, LDataNr);
  return Ins(do_this, k, kL, v, vl, bf::type_text);
}

// A value of the form "<rest>:<n1>/<n2>:" is the rest of a long text whose
// other parts are chunks n1 + 1 to n2 of LData.
void Btree::expand_long(Btree_st& s) {
  long n2, n1;
  int i = number_before(s.c, s.c_L - 2, n2);
  if (i < 1 || s.c[i] != '/') return;
  i = number_before(s.c, i - 1, n1);
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
