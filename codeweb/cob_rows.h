// Small helpers of the COBOL relation pages: the rows of a tree as a list,
// and the parts of a relation row "<a>~<b>".
#pragma once

#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "store/Btree.h"

namespace cob {

struct row {
  std::string a, b, data;  // the sides of "<a>~<b>" (b empty without "~"), the data
};

// Calls `f(row)` for each row of `t` in key order, or for those whose key
// begins with `prefix`; one row is held at a time, so a walk over a closed
// relation needs no more memory than its longest row.  `f` must not change
// `t`.
template <class F>
void for_rows(Btree& t, const char* prefix, F f) {
  Btree_st st;
  size_t n = strlen(prefix);
  row r;
  for (unsigned x = *prefix ? t.Getmin_At(st, prefix) : t.GetFirst(st); x; x = t.Next(st)) {
    std::string_view k(st.k, st.k_L);
    if (k.compare(0, n, prefix) != 0) break;
    size_t tilde = k.find('~');
    r.a.assign(k.substr(0, tilde));
    if (tilde == std::string_view::npos)
      r.b.clear();
    else
      r.b.assign(k.substr(tilde + 1));
    r.data.assign(st.c);
    f(r);
  }
}

// All rows of `t` in key order, or those whose key begins with `prefix`.
inline std::vector<row> rows_of(Btree& t, const char* prefix = "") {
  std::vector<row> v;
  for_rows(t, prefix, [&](const row& r) { v.push_back(r); });
  return v;
}

// The tag letter and the name of an entity "x .. name".
inline char tag_of(const std::string& e) { return e.size() > 5 && e.compare(1, 4, " .. ") == 0 ? e[0] : '?'; }
inline std::string name_of(const std::string& e) { return tag_of(e) == '?' ? e : e.substr(5); }

// The link of a relation row's data "<depth>~<link>".
inline std::string link_of(const std::string& data) {
  size_t t = data.find('~');
  return t == std::string::npos ? data : data.substr(t + 1);
}

// The page of a codef data "<tag> <page>[#<anchor>]" ("" for the marks of
// pages still to be improved, "?...").
inline std::string def_link(const std::string& data) {
  return data.size() > 2 && data[0] != '?' && data[1] == ' ' ? data.substr(2) : "";
}

}  // namespace cob
