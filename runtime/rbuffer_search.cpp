// The searches of the scanner buffer: for a text, for any element of a
// string set, for the end of a tag, past comments, and through include
// lines.  Each copies what it passes over to an output file when given one.
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <string>

#include <stdio_ext.h>

#include "runtime/exec_ut.h"
#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"
#include "runtime/str_set.h"

namespace {
const char* const src = "rbuffer_search";
}  // namespace

// --------------------------------------------------------------- searches

// The slow paths of the loop guard: a search that did not move `a`, and an
// `a` below the window.
void rBuffer::guard_stall(const char* text, int line) {
  if (++guard_count < 8) return;
  if (z) exut.show_mem("z[a..]", z + a, std::max(0, std::min(200, e - a)));
  errno = err::infinite_loop;
  exut.fail(__LINE__, src,
            "System: error: Infinite loop: rBuffer, line %i: ateof = %i, suche [%s]\nf = %s",
            line, (int)ateof, text ? text : "", f_name);
}

void rBuffer::guard_low(int line) {
  dump(stdout, line);
  exut.show_int("a", a);
  exut.show_int("limit", -behind);
  exut.fail(__LINE__, src, "System: rBuffer: a = %i below %i", a, -behind);
}

char* rBuffer::find(int skip, const char* str, FILE* out) {
  ++call_nr;
  if (!str) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, src, "System: rBuffer.find( NULL ) in %s", f_name);
  }
  if (guard(str, 1434)) return nullptr;
  ++find_count;
  const int n = (int)strlen(str);
  if (n == 0 || n >= fill_default) {
    exut.show_int("n", n);
    exut.fail(__LINE__, src, "System: rBuffer.find: search text of %i characters", n);
  }
  if (e <= a) {
    if (ateof) {
      a = e;
      return nullptr;
    }
    printf("\nWARN: e-a = %i, ateof = %i", e - a, (int)ateof);
  }
  if (!ateof && e - a <= skip + n) fill(skip + n);
  s = a + skip;
  const char c0 = str[0];
  for (;;) {
    if (e - s < n) {  // too little text left at s for a hit
      if (ateof) {
        if (a < e) put(out, a, e);
        return nullptr;
      }
      advance(out);
      continue;
    }
    z[e] = c0;  // sentinel: the scan needs no end test
    s = (int)(static_cast<const char*>(memchr(z + s, c0, e - s + 1)) - z);
    if (s == e) {  // only the sentinel: pass the whole window
      advance(out);
      continue;
    }
    if (e - s < n) {  // a candidate running into the window's end
      advance(out);
      if (e - s < n) {
        if (a < e) put(out, a, e);
        a = s = e;
        return nullptr;
      }
    }
    if (memcmp(z + s, str, n) == 0) break;
    ++s;
  }
  put(out, a, s);
  a = s;
  if (!ateof && e - a < look_ahead) fill(look_ahead);
  if (ateof && e == a) return nullptr;
  if (e < a) {
    exut.show_int("a", a);
    exut.show_int("e", e);
    exut.fail(__LINE__, src, "System: rBuffer.find: e = %i < %i = a", e, a);
  }
  return z + a;
}

str_el* rBuffer::find(int skip, str_set& set, FILE* out) {
  ++call_nr;
  ++find_count;
  // Flush the console on every call (a scan may run long), but only when
  // something is pending: this is called once per hit.
  if (__fpending(stdout)) fflush(stdout);
  if (__fpending(stderr)) fflush(stderr);
  const int sentinel = set.top_char();  // begins an element: stops the scan
  if (!sentinel) exut.fail(__LINE__, src, "User: Strset for find() must not be empty.");
  if (e < a) a = e;
  fill(skip + 10);
  s = a + skip;
  if (s >= e) {
    if (!ateof) {
      exut.show_int("s", s);
      exut.show_int("e", e);
      exut.fail(__LINE__, src, "System: rBuffer.find( %s ): skip %i beyond the window",
                set.name, skip);
    }
    put(out, a, e);
    a = e;
    return nullptr;
  }
  str_el* const* first_at = set.first_at;
  while (e != 0) {
    if (guard("out of str_set", 1577)) return nullptr;
    if (e <= s) {
      if (ateof && e - a < 2) return nullptr;
      put(out, a, e);
      a = e;
      fill(fill_default);
    }
    to_candidate(first_at, sentinel, out);
    put(out, a, s);
    a = s;
    if (ateof && e <= s) break;
    if (e - s <= set.maxlen) fill(set.maxlen);
    if (str_el* el = set.match_at(z + s, e - s)) {
      if (!ateof && e - a < look_ahead) fill(look_ahead);
      last_match = 0;
      memcpy(&last_match, el->k, std::min(el->L, (int)sizeof last_match));
      return el;
    }
    ++s;
  }
  if (ateof && a == e) {
    s = e;
    return nullptr;
  }
  exut.show_int("a", a);
  exut.show_int("e", e);
  exut.show_int("s", s);
  exut.fail(__LINE__, src, "System: rBuffer.find( %s ) ends inside the text of %s", set.name,
            f_name);
}

// Moves `s` to the next character that can begin an element, copying what
// it passes over and filling the window on the way; at most to `e`.
void rBuffer::to_candidate(str_el* const* first_at, int sentinel, FILE* out) {
  while (s < e && !first_at[(unsigned char)z[s]]) {
    z[e] = (char)sentinel;  // the scan needs no end test
    const unsigned char* p = reinterpret_cast<const unsigned char*>(z) + s;
    while (!first_at[*p]) ++p;
    s = (int)(reinterpret_cast<const char*>(p) - z);
    if (s >= e) {
      s = e;
      put(out, a, s);
      a = s;
      fill(fill_default);
    }
  }
  if (s > e) s = e;
}

char* rBuffer::s_to_not_Blank(int skip, FILE* out, int c) {
  if (guard("s_to_not_Blank", 1658)) return nullptr;
  if (c == ' ') {
    exut.fail(__LINE__, src, "System: rBuffer.s_to_not_Blank for a blank");
  }
  if (!out) fill(fill_default);
  if (a > e) a = e;
  s = a + skip;
  if (s > e) return nullptr;
  not_at_end();
  if (s >= e) {
    put(out, a, s);
    a = s;
    return nullptr;
  }
  for (;;) {
    while (s < e && z[s] == ' ') ++s;
    if (s < e || ateof) break;
    advance(out);
  }
  advance(out);
  if (s >= e) return nullptr;
  char ch = z[s];
  if (ch == c && c == '\n') return s_to_not_Blank(1, out, c);
  fill(100);
  long kept = s + slid_total_;
  if (!find(0, "\n", nullptr)) a = s = e;
  int k = std::max((int)(kept - slid_total_), low);
  int i = s;
  while (i > k && z[i] != ' ' && z[i] != ch) --i;
  s = i;
  return z + k;
}

const char* rBuffer::value_of(const char* key, const char* if_blank, const char* if_none) {
  a = 0;
  s = 0;
  char* p = find(0, key, nullptr);
  if (!p) return if_none;
  const char* q = p + strlen(key);
  for (;;) {
    if (q >= z + e || !*q || isspace((unsigned char)*q)) return if_blank;
    if (*q == '=') {
      ++q;
      continue;
    }
    return *q == '\'' ? q + 1 : q;
  }
}

char* rBuffer::find3(FILE* out, const char* str1, const char* str2, const char* str3) {
  if (!find(0, str1, nullptr)) {
    exut.show_str("str1", str1);
    exut.fail(__LINE__, src, "System: rBuffer.find3: %s not found in %s", str1, f_name);
  }
  if (!find((int)strlen(str1), str2, nullptr)) {
    exut.show_str("str2", str2);
    exut.fail(__LINE__, src, "System: rBuffer.find3: %s not found in %s", str2, f_name);
  }
  char* p = find((int)strlen(str2), str3, out);
  if (!p) {
    exut.show_str("str3", str3);
    exut.fail(__LINE__, src, "System: rBuffer.find3: %s not found in %s", str3, f_name);
  }
  return p;
}

// Index of the next `str` at or behind `from`, refilling the window when the
// text ends first; -1 at the end of the file.  `from` follows slides.
int rBuffer::locate(int from, const char* str, int len) {
  for (;;) {
    strcpy(z + e, str);  // sentinel: the whole text stands behind the window
    const char* p = z + from;
    for (;;) {
      p = static_cast<const char*>(memchr(p, str[0], z + e + 1 - p));
      if (memcmp(p, str, len) == 0) break;
      ++p;
    }
    int at = (int)(p - z);
    if (at + len <= e) return at;
    if (ateof) return -1;
    long before = slid_total_;
    int keep_from = std::max(from, at);
    fill(e - a);
    from = keep_from - (int)(slid_total_ - before);
  }
}

char* rBuffer::tag_end(int k, char* p, const char* name) {
  int pi = (int)(p - z);
  // The search starts k characters behind p and looks one character back:
  // that whole range must lie in the window.
  if (!name || !*name || pi < low || k < 0 || pi + k <= low || pi + k > e) {
    exut.show_str("str", name);
    exut.fail(__LINE__, src, "System: rBuffer.tag_end outside the window of %s", f_name);
  }
  a = pi + k;
  s = a;
  int L = (int)strlen(name);
  int level = 1;
  int i = a;
  for (;;) {
    int at = locate(i, name, L);
    if (at < 0) {
      exut.show_str("str", name);
      exut.fail(__LINE__, src, "System: rBuffer.tag_end: no end tag of %s in %s", name,
                f_name);
    }
    char before = z[at - 1];
    if (before == '<') {
      ++level;
    } else if (before == '/' && --level == 0) {
      int gt = locate(at + L, ">", 1);
      if (gt < 0) {
        exut.show_str("str", name);
        exut.fail(__LINE__, src, "System: rBuffer.tag_end: end tag of %s not closed in %s",
                  name, f_name);
      }
      return z + gt + 1;
    }
    i = at + L;
  }
}

char* rBuffer::skip_comment(FILE* out) {
  if (!z || a >= e || z[a] != '/') return z + a;
  if (z[a + 1] == '*') {
    if (!find(2, "*/", out)) {
      exut.fail(__LINE__, src, "System: comment not closed in %s", f_name);
    }
    if (out) safe_ut.write_FILE(out, "*/", 2);
    a += 2;
  } else if (z[a + 1] == '/') {
    do {
      if (!find(1, "\n", out)) break;
    } while (a + 2 < e && z[a + 1] == '/' && z[a + 2] == '/');
  }
  return z + a;
}

void rBuffer::include_walk(const char* key, const char* out_name, const char* conv_name) {
  if (!key || !*key || !out_name) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, src, "System: rBuffer.include_walk without key or output");
  }
  FILE* out = safe_ut.create(out_name);
  include_list = std::make_unique<include_record>();
  include_record& list = *include_list;
  int L = (int)strlen(f_name);
  memcpy(list.text, f_name, std::min(L + 1, include_text));
  list.text[include_text - 1] = 0;
  list.offs[0] = 0;
  list.used = std::min(L + 1, include_text);
  list.n = 1;
  include_step(key, out, conv_name, list);
  safe_ut.close_FILE(&out, src, __LINE__);
}

void rBuffer::include_step(const char* key, FILE* out, const char* conv_name,
                           include_record& list) {
  printf("\n-  f %s\n\n", f_name);
  if (conv_name && *conv_name) {
    conv = conv_name;
    s = a;
    convert(conv_name, a);
  }
  int kl = (int)strlen(key);
  while (find(0, key, out)) {
    int w0 = a + kl;
    int w1 = w0;
    while (w1 < e && !isspace((unsigned char)z[w1])) ++w1;
    std::string word(z + w0, w1 - w0);
    put(out, a, w1);
    a = s = w1;
    std::string name = safe_ut.expand_env(word.c_str());
    if (name.empty()) continue;
    bool seen = false;
    for (int i = 0; i < list.n && !seen; ++i) seen = name == list.text + list.offs[i];
    if (seen) continue;
    if (list.n >= max_includes || list.used + (int)name.size() + 1 > include_text) {
      exut.show_int("n", list.n);
      exut.show_int("text", list.used);
      exut.fail(__LINE__, src,
                "System: rBuffer.include_walk: more than %i files or %i characters of names",
                max_includes, include_text);
    }
    list.offs[list.n++] = list.used;
    memcpy(list.text + list.used, name.c_str(), name.size() + 1);
    list.used += (int)name.size() + 1;
    rBuffer inner(name.c_str(), "");
    inner.include_step(key, out, conv_name, list);
    printf("\n-  f %s\n\n", f_name);
  }
}
