// What the sources of the Btree share and no other code needs: the source
// name of their failure reports, the trace line of a public operation, and
// the order of keys.  Include it from store/Btree*.cpp only.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "runtime/exec_ut.h"
#include "store/Btree.h"

// Traces the entry into a public operation once the run's call counter has
// passed the point from which tracing was asked for.
#define ENTER(m)                                   \
  do {                                             \
    if ((long)call_nr > (long)show_from) enter(m); \
  } while (0)

namespace btree_impl {

// Appends the formatted words to the failure report being built.
inline void add_to_report(const char* format, va_list ap) {
  char b[1000];
  vsnprintf(b, sizeof b, format, ap);
  exut.add("%s", b);
}

inline const char* const SRC = "Btree";

inline const unsigned char* U(const char* s) { return reinterpret_cast<const unsigned char*>(s); }
inline const char* C(const unsigned char* s) { return reinterpret_cast<const char*>(s); }

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

// The whole key of cell i (stored prefix and key item) into out; returns
// its length.
inline int full_key(const Btree_page* p, int i, unsigned char* out) {
  int sp = btree_file::spare_len(p);
  memcpy(out, btree_file::prefix_at(p), sp);
  const unsigned char* k = btree_file::key_item(p, i);
  memcpy(out + sp, btree_file::key_bytes(k), k[0]);
  return sp + k[0];
}

}  // namespace btree_impl
