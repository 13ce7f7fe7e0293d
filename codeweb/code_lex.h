// Small lexical helpers shared by the tidier and the Java page: word
// characters, the end of a quoted text, and the brace count of a line that
// knows whether it begins inside a block comment or a text block.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <string>

namespace codelex {

inline bool is_word_char(char c) {
  unsigned char u = (unsigned char)c;
  return (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || (u >= '0' && u <= '9') || u == '_' ||
         u == '$' || u >= 0x80;
}

inline bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\f' || c == '\v'; }

// Where a string, a text block or a character literal that begins at `i`
// ends (the index behind it).  A string or literal also ends at a newline
// (which is not part of it); `open` tells that the text ended first.
inline size_t quoted_end(const std::string& t, size_t i, bool* open) {
  *open = false;
  char q = t[i];
  if (q == '"' && t.compare(i, 3, "\"\"\"") == 0) {  // a text block
    for (size_t j = i + 3; j < t.size(); j++) {
      if (t[j] == '\\') {
        j++;
      } else if (t.compare(j, 3, "\"\"\"") == 0) {
        return j + 3;
      }
    }
    *open = true;
    return t.size();
  }
  for (size_t j = i + 1; j < t.size(); j++) {
    if (t[j] == '\\') {
      if (j + 1 < t.size() && t[j + 1] != '\n') j++;
    } else if (t[j] == q) {
      return j + 1;
    } else if (t[j] == '\n') {
      return j;
    }
  }
  *open = q == '"';
  return t.size();
}

// Pass 2's view of one line: where it begins (inside a comment or a text
// block, or in code) and the braces of its code.
struct line_lexer {
  bool in_comment = false;
  bool in_block = false;

  // The net count of the line's braces; `*lead` tells whether the line's
  // code begins with "}".
  int braces(const std::string& l, bool* lead) {
    int net = 0;
    *lead = false;
    bool first = true;
    for (size_t j = 0; j < l.size(); j++) {
      if (in_comment) {
        size_t e = l.find("*/", j);
        if (e == std::string::npos) return net;
        in_comment = false;
        j = e + 1;
        first = false;
        continue;
      }
      if (in_block) {
        size_t e = l.find("\"\"\"", j);
        if (e == std::string::npos) return net;
        in_block = false;
        j = e + 2;
        first = false;
        continue;
      }
      char c = l[j];
      if (c == '/' && j + 1 < l.size() && l[j + 1] == '/') return net;
      if (c == '/' && j + 1 < l.size() && l[j + 1] == '*') {
        in_comment = true;
        j++;
      } else if (c == '"' && l.compare(j, 3, "\"\"\"") == 0) {
        in_block = true;
        j += 2;
      } else if (c == '"' || c == '\'') {
        bool open = false;
        j = quoted_end(l, j, &open) - 1;
      } else if (c == '{') {
        net++;
      } else if (c == '}') {
        if (first) *lead = true;
        net--;
      }
      first = false;
    }
    return net;
  }
};

// printf into a string of at most 511 characters.
inline std::string fmt(const char* format, ...) __attribute__((format(printf, 1, 2)));
inline std::string fmt(const char* format, ...) {
  char buf[512];
  va_list ap;
  va_start(ap, format);
  vsnprintf(buf, sizeof buf, format, ap);
  va_end(ap);
  return buf;
}

// `s` with each "<" written as `lt`.
inline std::string lt_escaped(const std::string& s, const char* lt) {
  std::string r;
  r.reserve(s.size());
  for (char c : s) r += c == '<' ? std::string(lt) : std::string(1, c);
  return r;
}

}  // namespace codelex
