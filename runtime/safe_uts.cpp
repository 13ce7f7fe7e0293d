// The text half of the toolbox: character classes, searching, changing text
// in place, numbers, formatted output, syntax checks, pointer scanners,
// skipping C-family source text, showing, dates and the environment.
#include "runtime/safe_uts.h"

#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

const char* const SRC = "safe_uts";

#define NN(p) \
  do {        \
    if (!(p)) safe_uts::null_pointer(__LINE__, SRC); \
  } while (0)

bool is_space(int c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v'; }

}  // namespace

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

bool safe_uts::is_name_char_or(int c, const char* extra) {
  if (is_name_char(c)) return true;
  c &= 0xFF;
  return extra && c && strchr(extra, c) != nullptr;
}

bool safe_uts::is_key_char(int c) {
  c &= 0xFF;
  return c == ':' || c == '-' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
         (c >= '0' && c <= '9');
}

bool safe_uts::is_quote(int c) {
  c &= 0xFF;
  return c == '\'' || c == '`' || c == '"';
}

bool safe_uts::in_range(int c, int low, int high) {
  unsigned u = c & 0xFF;
  return u >= (unsigned)(low & 0xFF) && u <= (unsigned)(high & 0xFF);
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

int safe_uts::common_prefix_len_a(const char* a, const char* b) {
  NN(a);
  NN(b);
  int n = 0;
  while (a[n] && a[n] == b[n]) n++;
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

const char* safe_uts::last_char_pos(const char* s, int c) {
  NN(s);
  return strrchr(s, c & 0xFF);
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

bool safe_uts::all_name_chars(const char* s) {
  NN(s);
  for (; *s; s++)
    if (!is_name_char(*s)) return false;
  return true;
}

bool safe_uts::all_name_or_blank(const char* s) {
  NN(s);
  for (; *s; s++)
    if (!is_name_char(*s) && *s != ' ') return false;
  return true;
}

int safe_uts::count_char(const char* s, int c, int stop) {
  NN(s);
  int n = 0;
  for (; *s && *s != (char)stop; s++)
    if (*s == (char)c) n++;
  return n;
}

int safe_uts::cmp_back(const char* a, const char* b, int n) {
  NN(a);
  NN(b);
  for (int i = n - 1; i >= 0; i--)
    if (a[i] != b[i]) return (unsigned char)b[i] - (unsigned char)a[i];
  return 0;
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
int safe_uts::to_lower_char(int c) { return tolower(c & 0xFF); }

void safe_uts::to_upper(char* s) {
  NN(s);
  for (; *s; s++) *s = (char)to_upper_char(*s);
}

void safe_uts::to_lower(char* s) {
  NN(s);
  for (; *s; s++) *s = (char)to_lower_char(*s);
}

void safe_uts::to_upper_n(char* s, int n) {
  NN(s);
  if (n == -1) n = (int)strlen(s);
  for (int i = 0; i < n; i++) s[i] = (char)to_upper_char(s[i]);
}

void safe_uts::to_lower_n(char* s, int n) {
  NN(s);
  if (n == -1) n = (int)strlen(s);
  for (int i = 0; i < n; i++) s[i] = (char)to_lower_char(s[i]);
}

char* safe_uts::copy_upper(char* out, const char* s) {
  NN(out);
  NN(s);
  char* o = out;
  while (*s) *o++ = (char)to_upper_char(*s++);
  *o = 0;
  return out;
}

char* safe_uts::copy_lower(char* out, const char* s) {
  NN(out);
  NN(s);
  char* o = out;
  while (*s) *o++ = (char)to_lower_char(*s++);
  *o = 0;
  return out;
}

void safe_uts::cut_tail(char* s, int c) {
  NN(s);
  size_t n = strlen(s);
  while (n > 0 && s[n - 1] == (char)c) s[--n] = 0;
}

void safe_uts::cut_tail_keep1(char* s, int c) {
  NN(s);
  size_t n = strlen(s);
  while (n > 1 && s[n - 1] == (char)c) s[--n] = 0;
}

int safe_uts::replace_char_any(int c1, int c2, char* s) { return replace_char(s, (char)c1, (char)c2); }

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

void safe_uts::keep_between(const char* file, const char* str1, const char* str2, const char* out) {
  NN(file);
  NN(str1);
  NN(str2);
  NN(out);
  std::string text = read_text(file);
  std::string res;
  size_t i = 0;
  while (true) {
    size_t j = text.find(str1, i);
    if (j == std::string::npos) break;
    size_t k = text.find(str2, j + strlen(str1));
    if (k == std::string::npos) {
      exut.show_str("str2", str2);
      exut.fail(__LINE__, SRC, "System: keep_between() finds no str2\n");
    }
    res.append(text, j, k - j);
    res += str2;
    res += "\n\n";
    i = k + strlen(str2);
  }
  if (!strcmp(out, "-"))
    fwrite(res.data(), 1, res.size(), stdout);
  else
    write_text(out, res);
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

// ------------------------------------------------------------------ numbers

int safe_uts::atoi(const char* s, const char* file, int line) {
  NN(s);
  const char* str = s;
  while (*s == ' ' || *s == '\t') s++;
  if (*s == '\n') return 0;
  int sign = 1;
  if (*s == '-') {
    sign = -1;
    s++;
  }
  while (*s == '0') s++;
  if (!isdigit((unsigned char)*s)) return 0;
  const char* d = s;
  while (isdigit((unsigned char)*d)) d++;
  int nd = (int)(d - s);
  if (nd > 10) {
    exut.show_str("str", str);
    exut.show_str("limit", "2147483647");
    exut.show_str("File", file ? file : "");
    exut.show_int("Line", line);
    exut.fail(__LINE__, SRC, "System: number too large\n");
  }
  uint32_t v = 0;
  for (const char* p = s; p < d; p++) v = v * 10u + (uint32_t)(*p - '0');
  return sign * (int)v;
}

unsigned safe_uts::digits_value(const char* s) {
  unsigned v = 0;
  while (s && isdigit((unsigned char)*s)) v = v * 10u + (unsigned)(*s++ - '0');
  return v;
}

double safe_uts::parse_decimal(const char* s, int sep) {
  NN(s);
  if (sep != '.' && sep != ',') {
    exut.show_int("sep", sep);
    exut.fail(__LINE__, SRC, "System: parse_decimal() needs \".\" or \",\"\n");
  }
  int thousands = sep == '.' ? ',' : '.';
  while (is_space((unsigned char)*s)) s++;
  double sign = 1;
  if (*s == '+' || *s == '-') sign = *s++ == '-' ? -1 : 1;
  double whole = 0;
  for (; isdigit((unsigned char)*s) || *s == thousands; s++)
    if (*s != thousands) whole = whole * 10 + (*s - '0');
  double frac = 0, scale = 1;
  if (*s == sep)
    for (s++; isdigit((unsigned char)*s); s++) {
      frac = frac * 10 + (*s - '0');
      scale *= 10;
    }
  return sign * (whole + frac / scale);
}

double safe_uts::parse_float(const char* s) {
  NN(s);
  while (*s == ' ' || *s == '\t') s++;
  if (*s == '\n') return 0.0;
  int sep = '.';
  for (const char* p = s; *p && !is_space((unsigned char)*p); p++)
    if (*p == ',') {
      sep = ',';
      break;
    }
  if (*s == '"') s++;
  return parse_decimal(s, sep);
}

// ------------------------------------------------------------------- output

int safe_uts::Sprintf(char* out, const char* format, ...) {
  NN(out);
  NN(format);
  va_list ap;
  va_start(ap, format);
  va_list walk;
  va_copy(walk, ap);
  int argno = 3;  // the function's own two arguments count first
  for (const char* p = format; *p; p++) {
    if (*p != '%') continue;
    if (p[1] == '%') {
      p++;
      continue;
    }
    p++;
    while (*p && !isalpha((unsigned char)*p)) p++;
    while (*p == 'l' || *p == 'h' || *p == 'z' || *p == 'j' || *p == 't' || *p == 'L') p++;
    if (!*p) break;
    if (strchr("eEfFgGaA", *p)) {
      (void)va_arg(walk, double);
    } else {
      void* v = va_arg(walk, void*);
      if (*p == 's' && !v) {
        char buf[80];
        snprintf(buf, sizeof buf, "The %i.th argument of Sprintf() is NULL \n", argno);
        va_end(walk);
        va_end(ap);
        exut.ERROR(buf);
        errno = err::NULL_pointer;
        exut.fail(__LINE__, SRC, "%s", buf);
      }
    }
    argno++;
  }
  va_end(walk);
  int n = vsprintf(out, format, ap);
  va_end(ap);
  return n;
}

char* safe_uts::put(char* out, const char* format, long value) {
  NN(out);
  NN(format);
  int n = sprintf(out, format, value);
  return out + n;
}

char* safe_uts::put_text(char* out, const char* s) {
  NN(out);
  NN(s);
  size_t n = strlen(s);
  memcpy(out, s, n + 1);
  return out + n;
}

// ------------------------------------------------------------------- syntax

namespace {
std::string printable_40(const char* at) {
  std::string r;
  for (int i = 0; at && at[i] && i < 40; i++)
    if (isprint((unsigned char)at[i])) r += at[i];
  return r;
}
}  // namespace

bool safe_uts::in_set(int c, const char* set, const char* at) {
  NN(set);
  if ((c & 0xFF) && strchr(set, c & 0xFF)) return true;
  printf("\nSyntax: char( %c = %u ) not in (%s) at ( %s ... )", c & 0xFF, (unsigned)(c & 0xFF), set,
         printable_40(at).c_str());
  return false;
}

bool safe_uts::same_text(const char* s, const char* t) {
  NN(s);
  NN(t);
  if (strncmp(s, t, strlen(t)) == 0) return true;
  printf("\nSyntax: ( %s ... ) not ( %s ... )", s, printable_40(t).c_str());
  return false;
}

void safe_uts::expected(int line, const char* file, const char* at, const char* text) {
  NN(at);
  NN(text);
  if (strncmp(at, text, strlen(text)) == 0) return;
  // The line of `at` and the next one, with NULs shown as blanks.
  const char* start = at;
  int col = 0;
  while (col < 400 && start[-1] != '\n' && start[-1] != 0) {
    start--;
    col++;
  }
  const char* end = at;
  int nl = 0;
  while (*end && nl < 2) {
    if (*end == '\n') nl++;
    end++;
  }
  std::string found(start, end);
  for (char& ch : found)
    if (!ch) ch = ' ';
  printf("\n%i.%s\nSyntax Error in Spalte %i:\n                 expected: [%s]...\n                    found: [%s]",
         line, file ? file : "", col, text, found.c_str());
  fflush(stdout);
  exit(1);
}

int safe_uts::check_len(int min, int max, const char* s, const char* file, int line) {
  char buf[600];
  if (!s) {
    snprintf(buf, sizeof buf, "E r r o r :  NULL adress at %i.%s\n", line, file ? file : "");
    exut.show_x(buf);
    return 1;
  }
  if (max < min) max = min;
  int n = (int)strlen(s);
  if (n < min) {
    snprintf(buf, sizeof buf, "E r r o r :  String too short at %i.%s \n", line, file ? file : "");
    exut.show_x(buf);
    return 1;
  }
  if (n > max) {
    snprintf(buf, sizeof buf, "E r r o r :  String too long at %i.%s \n", line, file ? file : "");
    exut.show_x(buf);
    return 1;
  }
  return 0;
}

void safe_uts::check_size(char* s, int n, const char* file, int line) {
  NN(s);
  if (memchr(s, 0, n)) return;
  s[n - 1] = 0;
  exut.fail(__LINE__, SRC, "Error in at %i.%s: \n%i < strlen( %.60s... )\n", line, file ? file : "", n, s);
}

// --------------------------------------------------------- pointer scanners

void safe_uts::to_char(char** p, int c) {
  char* q = *p;
  while (*q != (char)c) q++;
  *q = 0;
  *p = q;
}

int safe_uts::to_set(char** p, const char* set) {
  char* q = *p;
  while (!strchr(set, *q)) q++;  // the NUL of `set` stops at the end of text
  int c = (unsigned char)*q;
  *q = 0;
  *p = q;
  return c;
}

void safe_uts::to_char_trim(char** p, int c) {
  char* start = *p;
  char* q = start;
  while (*q != (char)c) q++;
  char* t = q;
  while (t > start && is_space((unsigned char)t[-1])) t--;
  *t = 0;
  *p = q;
}

void safe_uts::to_char_blank(char** p, int c, int b) {
  char* start = *p;
  char* q = start;
  while (*q != (char)c) q++;
  char* t = q;
  while (t > start && is_space((unsigned char)t[-1])) t--;
  *t = 0;
  for (char* r = start; r < t; r++)
    if (*r == ' ') *r = (char)b;
  *p = q;
}

void safe_uts::skip_fields(char** p, int offset, int n) {
  char* q = *p + offset;
  for (int i = 0; i < n; i++) {
    while (*q == ' ') q++;
    while (*q && *q != ' ') q++;
  }
  while (*q == ' ') q++;
  *p = q;
}

void safe_uts::to_end_of_line_trim(const char* start, char** p, int c) {
  char* q = *p;
  while (*q && *q != (char)c) q++;
  char* t = q;
  while (t > start && is_space((unsigned char)t[-1])) t--;
  *t = 0;
  *p = q;
}

// ------------------------------------------------- C-family source skipping

void safe_uts::skip_comment(char** s) {
  char* p = *s;
  if (p[0] == '/' && p[1] == '*') {
    char* e = strstr(p + 2, "*/");
    *s = e ? e + 2 : p + strlen(p);
    return;
  }
  if (p[0] == '/' && p[1] == '/') {
    while (*p && *p != '\n') p++;
    *s = p;
    return;
  }
  show_text("s", p, 20);
  exut.fail(__LINE__, SRC, "System: skip_comment() not at a comment\n");
}

void safe_uts::skip_blank_comments(char** p) {
  for (;;) {
    while (is_space((unsigned char)**p)) (*p)++;
    if ((*p)[0] == '/' && ((*p)[1] == '*' || (*p)[1] == '/'))
      skip_comment(p);
    else
      return;
  }
}

bool safe_uts::odd_backslashes(const char* p) {
  int n = 0;
  while (p[-1 - n] == '\\') n++;
  return n % 2;
}

int safe_uts::odd_backslashes_from(const char* p, const char* first_non_backslash) {
  return (int)((p - first_non_backslash) % 2);
}

void safe_uts::skip_string(char** p, const char* end) {
  char* q = *p;
  if (*q == '\'') {
    skip_char_literal(p, end);
    return;
  }
  char* open = q;
  q++;
  for (;;) {
    if (q >= end) {
      show_text("XXX", open, 40);
      exut.show_int("c-e", (long)(q - end));
      exut.show_int("e-c1", (long)(end - open));
      exut.fail(__LINE__, SRC, "System: skip_string() runs past its end\n");
    }
    if (*q == '\n' || *q == 0) {  // unclosed on its line: recover behind the quote
      *p = open + 1;
      return;
    }
    if (*q == '"' && !odd_backslashes(q) && !(q[-1] == '\'' && q[1] == '\'')) {
      *p = q + 1;
      return;
    }
    q++;
  }
}

void safe_uts::skip_char_literal(char** p, const char* end) {
  char* open = *p;
  char* q = open + 1;
  if (q[0] == '"' && q[1] == '\'') {  // '"' as one character
    *p = q + 2;
    return;
  }
  for (;;) {
    if (q >= end) {
      show_text("XXX", open, 40);
      exut.fail(__LINE__, SRC, "System: skip_char_literal() runs past its end\n");
    }
    if (*q == '\n' || *q == 0) {
      *p = open + 1;
      return;
    }
    if (*q == '\'' && !odd_backslashes(q)) {
      *p = q + 1;
      return;
    }
    q++;
  }
}

void safe_uts::skip_strict_string(char** p, const char* end) {
  char* open = *p;
  char* q = open + 1;
  char quote = *open;
  for (;;) {
    if (q >= end || *q == '\n' || *q == 0) {
      show_text("string", open, 40);
      exut.fail(__LINE__, SRC, "System: string not closed on its line\n");
    }
    if (*q == quote && !odd_backslashes(q)) {
      *p = q + 1;
      return;
    }
    q++;
  }
}

namespace {
// The position behind the `close` that matches the first `open` at or behind
// `q`, counting nesting and stepping over strings and character literals;
// null when `end` comes first.
char* bracket_end(safe_uts& su, char* q, int open, int close, const char* end) {
  while (q < end && *q != (char)open) q++;
  int depth = 0;
  while (q < end && *q) {
    if (*q == '"') {
      char* r = q;
      su.skip_string(&r, end);
      q = r;
      continue;
    }
    if (*q == '\'') {
      q += q[1] == '\\' ? 4 : 3;
      continue;
    }
    if (*q == (char)open) {
      depth++;
    } else if (*q == (char)close && --depth == 0) {
      return q + 1;
    }
    q++;
  }
  return nullptr;
}
}  // namespace

void safe_uts::skip_brackets(char** p, int open, int close) {
  if (open == '\'') exut.fail(__LINE__, SRC, "System: skip_brackets() of a single quote\n");
  char* end = *p + strlen(*p);
  char* r = bracket_end(*this, *p, open, close, end + 1);
  *p = r ? r : end;
}

void safe_uts::skip_brackets_to(char** p, int open, int close, const char* end) {
  char* r = bracket_end(*this, *p, open, close, end);
  if (r) {
    *p = r;
    return;
  }
  show_text("xxn", *p, 60);
  exut.fail(__LINE__, SRC, "System: skip_brackets_to() finds no closing bracket\n");
}

void safe_uts::skip_cout(char** s, const char* end) {
  char* q = *s;
  if (strncmp(q, "cout", 4) && strncmp(q, "cerr", 4)) return;
  while (q < end && *q != ';') {
    if (*q == '"') {
      char* r = q;
      skip_string(&r, end);
      q = r;
      continue;
    }
    q++;
  }
  *s = q;
}

int safe_uts::next_word_end(char** p, const char* set) {
  char* q = *p;
  int paren = 0;
  const char* extra = set ? set : "";
  bool nbsp_is_word = strchr(extra, ' ') == nullptr;
  for (;;) {
    unsigned char c = (unsigned char)*q;
    if (!c) break;
    if (!strncmp(q, "_&lt;&gt;_", 10) || !strncmp(q, "_&gt;&lt;_", 10)) {
      q += 10;
      continue;
    }
    if (c == '&') {
      if (!strncmp(q, "&lt;", 4) || !strncmp(q, "&gt;", 4)) break;
      if (!strncmp(q, "&nbsp;", 6) && nbsp_is_word) break;
      char* semi = q + 1;
      while (*semi && (isalnum((unsigned char)*semi) || *semi == '#') && semi - q < 10) semi++;
      if (*semi == ';') {
        q = semi + 1;
        continue;
      }
      break;
    }
    if (c == '(') {
      paren++;
      q++;
      continue;
    }
    if (c == ')' && paren > 0) {
      paren--;
      q++;
      continue;
    }
    if (isalnum(c) || c >= 128 || (c != '_' && strchr(extra, c)) || (paren > 0 && c != '<')) {
      q++;
      continue;
    }
    break;
  }
  // A sentence's full stop is not part of the word.
  if (q > *p && q[-1] == '.' && !(q - *p >= 3 && !strncmp(q - 3, "...", 3))) q--;
  int c = (unsigned char)*q;
  *q = 0;
  *p = q;
  return c;
}

// ------------------------------------------------------------------ showing

void safe_uts::show_text(const char* name, const char* p, int n) {
  if (n == 0) n = 11;
  if (n > 3000) n = 3000;
  std::string copy;
  // `n` is a most: the text may end before (callers pass a fixed length).
  if (p && n > 0) copy.assign(p, strnlen(p, n));
  printf("\n%s = ...[%s]... call_nr %i\n", name ? name : "", copy.c_str(), (int)call_nr);
  if (name && name[0] == '?')
    for (unsigned char ch : copy) printf(" %u", ch);
  show_count++;
}

void safe_uts::otpos(int line, const char* text) {
  otpos_count++;
  if (otpos_count >= otpos_first) printf("\n%i %s\n", line, text ? text : "");
}

void safe_uts::show_around(const char* name, const char* start, const char* p, int n) {
  NN(start);
  NN(p);
  const char* from = p - start > 6000 ? p - 6000 : start;
  std::string t(from, p);
  t += "]+[";
  t.append(p, strnlen(p, n));
  printf("\n%s = ...[%s]... \n", name ? name : "", t.c_str());
}

void safe_uts::ascii_diff(const char* a, const char* s1, const char* b, const char* s2, int n) {
  char buf[200];
  snprintf(buf, sizeof buf, "\n------------- ascii( %s, %s, %i ): \n", a, b, n);
  exut.show_x(buf);
  for (int i = 0; i < n; i++) {
    snprintf(buf, sizeof buf, "%5i:  .%3u .%3u \n", i, (unsigned char)s1[i], (unsigned char)s2[i]);
    exut.show_x(buf);
  }
}

void safe_uts::az_bar(FILE* f, const char* key, const char* prefix, bool small) {
  fprintf(f, "<center>%s", prefix ? prefix : "");
  for (int c = small ? 'a' : 'A'; c <= (small ? 'z' : 'Z'); c++)
    fprintf(f, "\n<a href=\"#%c%s\">%c </a>", c, key ? key : "", c);
  fprintf(f, "</center><br><br>");
}

void safe_uts::az_anchors(FILE* f, int from, int to, const char* key) {
  from = to_upper_char(from);
  to = to_upper_char(to);
  if (from == to) return;
  int lo = from < 'A' ? 'A' : from + 1;
  int hi = to > 'Z' ? 'Z' : to;
  for (int c = lo; c <= hi; c++) fprintf(f, "\n<a name=\"%c%s\"></a>", c, key ? key : "");
}

// --------------------------------------------------------------- date, time

bool safe_uts::fixed_clock() {
  const char* e = getenv("SOURCE_DATE_EPOCH");
  return e && *e;
}

time_t safe_uts::now() {
  const char* e = getenv("SOURCE_DATE_EPOCH");
  if (e && *e) return (time_t)strtoll(e, nullptr, 10);
  return time(nullptr);
}

struct tm safe_uts::local(time_t t) {
  struct tm r;
  if (fixed_clock())
    gmtime_r(&t, &r);
  else
    localtime_r(&t, &r);
  return r;
}

namespace {
const char* format_now(char* buf, size_t n, const char* fmt) {
  struct tm t = safe_uts::local(safe_uts::now());
  strftime(buf, n, fmt, &t);
  return buf;
}
}  // namespace

const char* safe_uts::date_time(int level) {
  return format_now(date_buf2, sizeof date_buf2,
                    level == 2 ? "%Y.%m.%d %H:%M" : level == 3 ? "%Y.%m.%d %H:%M:%S" : "%Y.%m.%d");
}

const char* safe_uts::date_time_us(int level) {
  return format_now(date_buf2, sizeof date_buf2,
                    level == 2 ? "%b %d, %Y - %H:%M" : level == 3 ? "%b %d, %Y - %H:%M:%S" : "%b %d, %Y");
}

const char* safe_uts::stamp() { return format_now(date_buf, sizeof date_buf, "%Y.%m.%d_%H.%M"); }
const char* safe_uts::today() { return format_now(date_buf, sizeof date_buf, "%Y.%m.%d"); }
const char* safe_uts::today_de() { return format_now(date_buf, sizeof date_buf, "%d.%m.%Y"); }

const char* safe_uts::file_date_str(const char* name) {
  NN(name);
  struct tm t = local(file_time(name));
  strftime(date_buf, sizeof date_buf, "%Y.%m.%d", &t);
  return date_buf;
}

char* safe_uts::file_date(const char* name, char* out, int level) {
  NN(name);
  NN(out);
  struct tm t = local(file_time(name));
  strftime(out, 40, "%Y.%m.%d %H:%M", &t);
  if (level == 0) {
    char d[40];
    snprintf(d, sizeof d, "%.2s.%.2s.%.4s", out + 8, out + 5, out);
    strcpy(out, d);
  } else if (level == 1) {
    out[10] = 0;
  } else if (level == 2) {
    out[16] = 0;
  }
  return out;
}

void safe_uts::date_us(char* s) {
  NN(s);
  static const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  // year.month.day
  const char* m = strchr(s, '.');
  if (!m) {
    exut.show_str("date", s);
    exut.fail(__LINE__, SRC, "System: not a date\n");
  }
  int month = atoi(m + 1, SRC, __LINE__);
  const char* d = strchr(m + 1, '.');
  if (month < 1 || month > 12 || !d) {
    exut.show_str("date", s);
    exut.fail(__LINE__, SRC, "System: unknown month\n");
  }
  const char* day = d + 1;
  if (*day == '0') day++;
  char buf[40];
  snprintf(buf, sizeof buf, "%s %s", months[month - 1], day);
  strcpy(s, buf);
}

void safe_uts::date_ymd(char* s) {
  NN(s);
  if (strlen(s) >= 10 && isdigit((unsigned char)s[4])) {
    // day.month.year -> year.month.day
    char buf[16];
    snprintf(buf, sizeof buf, "%.4s.%.2s.%.2s", s + 6, s + 3, s);
    memcpy(s, buf, 10);
    return;
  }
  if (strlen(s) >= 8) {
    s[4] = '.';
    s[7] = '.';
  }
}

// ------------------------------------------------------------- environment

const char* safe_uts::env_lookup(const char* name) {
  if (!name) return nullptr;
  const char* v = getenv(name);
  if (v) return v;
  size_t n = strlen(name);
  for (char** e = environ; e && *e; e++)
    if (strncasecmp(*e, name, n) == 0 && (*e)[n] == '=') return *e + n + 1;
  return nullptr;
}

std::string safe_uts::expand_env(const char* s) {
  NN(s);
  std::string out;
  const char* p = s;
  while (*p) {
    if (*p != '%') {
      out += *p++;
      continue;
    }
    const char* q = p + 1;
    while (is_name_char(*q)) q++;
    if (q - (p + 1) > 500) {
      exut.show_str("s", s);
      exut.fail(__LINE__, SRC, "System: environment name too long\n");
    }
    // The name: letters, digits and "_" (variables such as TRACE_DIR).
    const char* l = p + 1;
    while (l < q && (isalnum((unsigned char)*l) || *l == '_')) l++;
    if (l == p + 1) {  // no name: the "%" and the next character go
      p += *(p + 1) ? 2 : 1;
      continue;
    }
    std::string name(p + 1, l);
    const char* v = env_lookup(name.c_str());
    if (!v) {
      p++;  // only the "%" goes
      continue;
    }
    out += v;
    p = l;
    if (*p == '%') p++;
  }
  if (out.size() >= 500) {
    exut.show_int("len", (long)out.size());
    exut.show_str("in", s);
    exut.show_str("out", out.c_str());
    exut.fail(__LINE__, SRC, "System: expanded text too long\n");
  }
  return out;
}

void safe_uts::expand_env(char* out, const char* s) {
  NN(out);
  std::string r = expand_env(s);
  memcpy(out, r.c_str(), r.size() + 1);
}

const char* safe_uts::getenv_ok(const char* name) {
  if (!name) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: getenv_ok() of NULL\n");
  }
  for (const char* p = name; *p; p++)
    if (!is_name_char(*p)) {
      printf("name = (%s)\n", name);
      exut.fail(__LINE__, SRC, "System: not an environment name: %s\n", name);
    }
  const char* v = env_lookup(name);
  return v ? v : "";
}

int safe_uts::value_after(char* out, const char* text, const char* key) {
  NN(out);
  NN(text);
  NN(key);
  const char* p = strstr(text, key);
  if (!p) {
    *out = 0;
    return -1;
  }
  p += strlen(key);
  int n = 0;
  while (is_name_char(p[n]) && n < 500) {
    out[n] = p[n];
    n++;
  }
  out[n] = 0;
  if (n == 500) {
    exut.show_str("to", out);
    exut.fail(__LINE__, SRC, "to[%s]", out);
  }
  return n;
}

char* safe_uts::append_path(char* dir, const char* sub) {
  NN(dir);
  NN(sub);
  size_t n = strlen(dir);
  // "/" is the separator on this platform; "\\" is still accepted on input.
  if (n == 0 || (dir[n - 1] != '/' && dir[n - 1] != '\\')) dir[n++] = '/';
  while (*sub == '/' || *sub == '\\') sub++;
  strcpy(dir + n, sub);
  return dir;
}
