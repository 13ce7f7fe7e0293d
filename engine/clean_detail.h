// Pieces shared by the sources of the Word HTML cleaning (engine/clean.cpp,
// engine/clean_tags.cpp, engine/para_norm.cpp); no other source includes
// this header.
#pragma once

#include <cstdio>
#include <cstring>
#include <string>

#include "runtime/owned_file.h"
#include "runtime/safe_uts.h"

namespace clean_detail {

// Source name of the cleaning in failure reports.
inline const char* const SRC = "ut_htm";
// The work file of the two passes.
inline const char* const work_file = "x_ers_schmutz";
// A normalised bullet and the blanks behind it.
inline const char* const wingdings = "<span style='font-family:Wingdings'>&#167;</span>";
inline const char* const spacer = " &nbsp; &nbsp; &nbsp;";

inline bool blank(char c) { return c == ' ' || c == '\n' || c == '\t' || c == '\r'; }

inline bool starts(const char* p, const char* s) { return strncmp(p, s, strlen(s)) == 0; }

// First occurrence of `needle` in [from, to), or null.
inline const char* mem_find(const char* from, const char* to, const char* needle) {
  if (to <= from) return nullptr;
  return static_cast<const char*>(memmem(from, to - from, needle, strlen(needle)));
}
inline char* mem_find(char* from, char* to, const char* needle) {
  return const_cast<char*>(mem_find((const char*)from, (const char*)to, needle));
}

// At most `n`, but no more characters than lie from `p` to `end`.
inline int upto(const char* p, const char* end, int n) { return end - p < n ? (int)(end - p) : n; }

inline void put(FILE* out, const char* p, long n) {
  if (n > 0) safe_ut.write_FILE(out, p, n);
}
inline void put(FILE* out, const char* s) { put(out, s, (long)strlen(s)); }

// The picture name of a path: from its last "/" (or "\") on, with the
// slash; a bare name gets one.
inline std::string pic_tail(const char* from, const char* to) {
  const char* t = to;
  while (t > from && t[-1] != '/' && t[-1] != '\\') --t;
  std::string r = "/";
  r.append(t, to - t);
  return r;
}

// The output file of a pass.  The pass closes it; when a failure leaves
// the pass, this closes it, so that no open file keeps the pass's buffer.
using Output = owned_FILE;  // the output of the pass that runs

}  // namespace clean_detail
