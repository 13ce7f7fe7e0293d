// Small text helpers of the C and C++ reader.
#pragma once

#include <cstring>
#include <string>

#include "codeweb/code_lex.h"

namespace cpplex {

using codelex::is_blank;
using codelex::is_word_char;

// The navigation in front of each head on a C or C++ page.
inline const char* bar() { return "<font size=1><a href=#top>top</a> <a href=#eof>eof</a></font> "; }

// False when `i` lies beyond the text: a scan may look one step past its end.
inline bool starts(const std::string& t, size_t i, const char* s) {
  return i <= t.size() && t.compare(i, strlen(s), s) == 0;
}

// "<" as "&lt;" (the code text of a page).
inline std::string esc(const std::string& s) { return codelex::lt_escaped(s, "&lt;"); }

// "<" and ">" escaped (strings and heads).
inline std::string esc2(const std::string& s) {
  std::string r;
  r.reserve(s.size());
  for (char c : s) {
    if (c == '<') r += "&lt;";
    else if (c == '>') r += "&gt;";
    else r += c;
  }
  return r;
}

inline std::string trim(const std::string& s) {
  size_t b = 0, e = s.size();
  while (b < e && (is_blank(s[b]) || s[b] == '\n')) b++;
  while (e > b && (is_blank(s[e - 1]) || s[e - 1] == '\n')) e--;
  return s.substr(b, e - b);
}

// Runs of white space as one blank.
inline std::string squeeze(const std::string& s) {
  std::string r;
  bool gap = false;
  for (char c : s) {
    if (is_blank(c) || c == '\n') {
      gap = true;
      continue;
    }
    if (gap && !r.empty()) r += ' ';
    gap = false;
    r += c;
  }
  return r;
}

// The index of the line end at or after `i` (the size when none).
inline size_t eol(const std::string& t, size_t i) {
  size_t n = t.find('\n', i);
  return n == std::string::npos ? t.size() : n;
}

// True when only blanks stand between the line's start and `i`.
inline bool first_on_line(const std::string& t, size_t i) {
  while (i > 0 && is_blank(t[i - 1])) i--;
  return i == 0 || t[i - 1] == '\n';
}

// The word that ends just before `i` (blanks skipped).
inline std::string word_before(const std::string& t, size_t i) {
  while (i > 0 && is_blank(t[i - 1])) i--;
  size_t e = i;
  while (i > 0 && is_word_char(t[i - 1])) i--;
  return t.substr(i, e - i);
}

// Behind a comment, a string or a character literal that begins at `i`;
// `i` itself when none begins there.
inline size_t skip_quoted(const std::string& t, size_t i) {
  if (starts(t, i, "//")) return eol(t, i);
  if (starts(t, i, "/*")) {
    size_t e = t.find("*/", i + 2);
    return e == std::string::npos ? t.size() : e + 2;
  }
  if (t[i] == '"' || t[i] == '\'') {
    bool open = false;
    return codelex::quoted_end(t, i, &open);
  }
  return i;
}

}  // namespace cpplex
