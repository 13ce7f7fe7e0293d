// The text operations of the toolbox: character classes, searching and
// comparing, and changing text in place.
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "runtime/safe_uts.h"
#include "runtime/safe_uts_internal.h"

namespace {
const char* const SRC = "safe_uts_text";
}  // namespace

using toolbox::is_space;

void safe_uts::null_pointer(int line, const char* file) {
  errno = err::NULL_pointer;
  exut.fail(line, file, "System: NULL pointer handed to safe_ut\n");
}

// ------------------------------------------------------------------ chars

int safe_uts::umlaut_code(int c) {
  switch (c & 0xFF) {
    case 148: return 2;
    case 132: return 3;
    case 129: return 4;
    case 153: return 5;
    case 142: return 6;
    case 154: return 7;
    case 225: return 8;
    default: return 0;
  }
}

bool safe_uts::is_letter(int c) {
  c &= 0xFF;
  return (c < 128 && isalpha(c)) || umlaut_code(c) != 0;
}

bool safe_uts::is_alnum(int c) {
  c &= 0xFF;
  return (c < 128 && isalnum(c)) || umlaut_code(c) != 0;
}

bool safe_uts::is_name_char(int c) {
  c &= 0xFF;
  return c == '$' || c == '_' || is_alnum(c);
}

// --------------------------------------------------------- search, compare

const char* safe_uts::char_in(int c, const char* s) {
  NN(s);
  if ((c & 0xFF) == 0) return nullptr;
  return strchr(s, c & 0xFF);
}

const char* safe_uts::str_in(const char* needle, const char* hay) {
  NN(needle);
  NN(hay);
  if (!*needle) return hay;
  return strstr(hay, needle);
}

const char* safe_uts::str_in_nocase(const char* needle, const char* hay) {
  NN(needle);
  NN(hay);
  if (!*needle) return hay;
  return strcasestr(hay, needle);
}

const char* safe_uts::str_in_to(const char* needle, const char* hay, int stop) {
  NN(needle);
  NN(hay);
  if (!*needle) return hay;
  size_t n = strlen(needle);
  for (const char* p = hay; *p && *p != (char)stop; p++)
    if (*p == *needle && strncmp(p, needle, n) == 0) {
      // The hit must not reach over the stop character.
      if (memchr(p, stop, n) && stop) return nullptr;
      return p;
    }
  return nullptr;
}

bool safe_uts::same_prefix(const char* a, const char* b) {
  NN(a);
  NN(b);
  while (*a)
    if (*a++ != *b++) return false;
  return true;
}

int safe_uts::common_prefix_len(const char* a, const char* b) {
  NN(a);
  NN(b);
  int n = 0;
  while (a[n] && b[n] && a[n] == b[n]) n++;
  return n;
}

int safe_uts::longest_substring_from_start(const char* a, const char* b) {
  NN(a);
  NN(b);
  int best = 0;
  for (const char* q = b; *q; q++) {
    int n = common_prefix_len(a, q);
    if (n > best) best = n;
  }
  return best;
}

int safe_uts::longest_common_substring(const char* a, const char* b) {
  NN(a);
  NN(b);
  size_t la = strlen(a), lb = strlen(b);
  std::vector<int> prev(lb + 1, 0), cur(lb + 1, 0);
  int best = 0;
  for (size_t i = 1; i <= la; i++) {
    for (size_t j = 1; j <= lb; j++) {
      cur[j] = a[i - 1] == b[j - 1] ? prev[j - 1] + 1 : 0;
      if (cur[j] > best) best = cur[j];
    }
    std::swap(prev, cur);
  }
  return best;
}

bool safe_uts::ends_with(const char* s, const char* tail) {
  NN(s);
  NN(tail);
  size_t n = strlen(s), m = strlen(tail);
  return m <= n && memcmp(s + n - m, tail, m) == 0;
}

const char* safe_uts::last_str_pos(const char* s, const char* t) {
  NN(s);
  NN(t);
  size_t n = strlen(s), m = strlen(t);
  if (m > n) return nullptr;
  for (const char* p = s + n - m;; p--) {
    if (memcmp(p, t, m) == 0) return p;
    if (p == s) break;
  }
  return nullptr;
}

const char* safe_uts::behind_last(const char* s, const char* t) {
  const char* p = last_str_pos(s, t);
  return p ? p + strlen(t) : s;
}

const char* safe_uts::file_part(const char* s) {
  NN(s);
  const char* r = s;
  for (const char* p = s; *p; p++)
    if (*p == '/' || *p == '\\') r = p + 1;
  return r;
}

int safe_uts::count_char(const char* s, int c, int stop) {
  NN(s);
  int n = 0;
  for (; *s && *s != (char)stop; s++)
    if (*s == (char)c) n++;
  return n;
}

bool safe_uts::selected(const char* sel, const char* s) {
  NN(sel);
  NN(s);
  if (strstr(s, sel)) return true;
  if (!strchr(sel, '~')) return false;
  std::string part;
  for (const char* p = sel;; p++) {
    if (*p == '~' || !*p) {
      if (!part.empty() && !strstr(s, part.c_str())) return false;
      part.clear();
      if (!*p) break;
    } else {
      part += *p;
    }
  }
  return true;
}

int safe_uts::words_in(const char* s, const char* t, bool caps_only) {
  NN(s);
  NN(t);
  int n = 0;
  bool first = true;
  const char* p = s;
  while (*p) {
    while (*p == ' ') p++;
    if (!*p) break;
    const char* q = p;
    while (*q && *q != ' ') q++;
    std::string w(p, q);
    if (caps_only && !first) {
      size_t k = 0;
      while (k < w.size() && !isupper((unsigned char)w[k])) k++;
      w = w.substr(k);
    }
    if (!w.empty()) {
      if (!strstr(t, w.c_str())) return 0;
      n++;
    }
    first = false;
    p = q;
  }
  return n;
}

// ------------------------------------------------------- changing in place

int safe_uts::to_upper_char(int c) { return toupper(c & 0xFF); }
// The program never sets a locale, so lower case is that of ASCII.
int safe_uts::to_lower_char(int c) {
  c &= 0xFF;
  return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c;
}

void safe_uts::cut_tail(char* s, int c) {
  NN(s);
  size_t n = strlen(s);
  while (n > 0 && s[n - 1] == (char)c) s[--n] = 0;
}

void safe_uts::one_blank(char* s) {
  NN(s);
  char* o = s;
  bool in_space = false;
  for (char* p = s; *p; p++) {
    if (is_space((unsigned char)*p)) {
      if (!in_space) *o++ = ' ';
      in_space = true;
    } else {
      *o++ = *p;
      in_space = false;
    }
  }
  *o = 0;
}

char* safe_uts::cut_at(char* s, const char* t) {
  NN(s);
  NN(t);
  char* p = strstr(s, t);
  if (!p) return s + strlen(s);
  *p = 0;
  return p;
}

int safe_uts::copy_up_to(char* out, const char* s, const char* t, bool keep) {
  NN(out);
  NN(s);
  NN(t);
  const char* p = strstr(s, t);
  if (!p) {
    *out = 0;
    return 0;
  }
  size_t n = p - s;
  memcpy(out, s, n);
  if (keep) {
    strcpy(out + n, t);
    n += strlen(t);
  }
  out[n] = 0;
  return (int)n;
}

char* safe_uts::replace_all(const char* s, const char* str1, const char* str2, char* out,
                            char* out_end) {
  NN(s);
  NN(str1);
  NN(str2);
  NN(out);
  if (out == s) exut.fail(__LINE__, SRC, "System: replace_all() out must not be the input\n");
  if (!*str1) exut.fail(__LINE__, SRC, "System: replace_all() with an empty text to replace\n");
  if (!out_end) out_end = out + strlen(s);
  size_t l1 = strlen(str1), l2 = strlen(str2);
  char* o = out;
  while (*s) {
    if (*s == *str1 && strncmp(s, str1, l1) == 0) {
      if (o + l2 > out_end) goto full;
      memcpy(o, str2, l2);
      o += l2;
      s += l1;
    } else {
      if (o + 1 > out_end) goto full;
      *o++ = *s++;
    }
  }
  *o = 0;
  return out;
full:
  *o = 0;
  exut.show_str("str1", str1);
  exut.show_str("str2", str2);
  exut.fail(__LINE__, SRC, "System: replace_all() runs out of room\n");
}

char* safe_uts::put_before(char* c, const char* s) {
  NN(c);
  NN(s);
  size_t n = strlen(s);
  memmove(c - n, s, n);
  return c - n;
}

int safe_uts::replace_in_file(const char* file, const char* str1, const char* str2) {
  NN(file);
  NN(str1);
  NN(str2);
  if (!*str1) exut.fail(__LINE__, SRC, "System: replace_in_file() with an empty str1\n");
  std::string text = read_text(file);
  std::string out;
  out.reserve(text.size());
  int n = 0;
  size_t l1 = strlen(str1);
  size_t i = 0;
  while (true) {
    size_t j = text.find(str1, i, l1);
    if (j == std::string::npos) break;
    out.append(text, i, j - i);
    out += str2;
    i = j + l1;
    n++;
  }
  out.append(text, i, std::string::npos);
  write_text("xx_rep", out);
  if (n > 0) {
    remove_file(file);
    rename_file("xx_rep", file);
  } else {
    remove_file("xx_rep");
  }
  return n;
}

void safe_uts::java_name(char* s) {
  NN(s);
  for (char* p = s; *p; p++)
    if (p[1] && is_letter(*p)) p[1] = (char)to_lower_char(p[1]);
  size_t n = strlen(s);
  auto end_is = [&](const char* t) { return n >= strlen(t) && !strcmp(s + n - strlen(t), t); };
  struct Rule {
    const char* end;
    const char* to;
  };
  static const Rule rules[] = {{"Id", "ID"}, {"id", "ID"}, {"Blz", "BLZ"}, {"blz", "BLZ"},
                               {"db", "DB"}, {"Plz", "PLZ"}, {"plz", "PLZ"}, {"ja", "Ja"},
                               {"okz", "Okz"}, {"nr", "Nr"}, {"nein", "Nein"}, {"kz", "Kz"}};
  for (const Rule& r : rules)
    if (end_is(r.end)) {
      memcpy(s + n - strlen(r.end), r.to, strlen(r.to));
      break;
    }
  if (!strncmp(s, "Last", 4) && s[4]) s[4] = (char)to_upper_char(s[4]);
}

void safe_uts::camel_name(char* out, const char* s) {
  NN(out);
  NN(s);
  size_t n = strlen(s);
  for (size_t i = 0; i < n; i++) {
    int c = to_lower_char(s[i]);
    if (i == 0 || !is_letter(s[i - 1])) c = to_upper_char(c);
    if (!is_name_char(c)) c = '@';
    out[i] = (char)c;
  }
  out[n] = 0;
}

unsigned safe_uts::scan_hash(const char* s, const char* stop) {
  uint32_t v = 123456777u;
  size_t sl = stop ? strlen(stop) : 0;
  for (const char* p = s; p && *p; p++) {
    if (sl && strncmp(p, stop, sl) == 0) break;
    v = (v % 77777777u) * ((uint32_t)(unsigned char)*p + 1u) + 1234567u;
  }
  return v;
}

std::string safe_uts::url_decoded(const std::string& s) {
  std::string r;
  for (size_t i = 0; i < s.size(); i++) {
    if (s[i] == '%' && i + 2 < s.size() && isxdigit((unsigned char)s[i + 1]) &&
        isxdigit((unsigned char)s[i + 2])) {
      r += (char)std::stoi(s.substr(i + 1, 2), nullptr, 16);
      i += 2;
    } else {
      r += s[i];
    }
  }
  return r;
}

int safe_uts::random_char(int low, int high) {
  if (low >= high) {
    exut.show_int("low", low);
    exut.show_int("high", high);
    exut.fail(__LINE__, SRC, "System: random_char() with low not below high\n");
  }
  // The classic run-time sequence, independent of the C library's rand().
  random_seed = random_seed * 214013u + 2531011u;
  int r = (int)((random_seed >> 16) & 0x7FFF);
  return low + r % (high - low);
}
