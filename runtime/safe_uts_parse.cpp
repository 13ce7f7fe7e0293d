// Reading and writing text by its form: numbers, formatted output, syntax
// checks, skipping C-family source text, and showing text in a trace.
#include <cctype>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <string>

#include "runtime/safe_uts.h"
#include "runtime/safe_uts_internal.h"

namespace {
const char* const SRC = "safe_uts_parse";
}  // namespace

using toolbox::is_space;

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
  end_run(1);
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

unsigned safe_uts::digits_value(const char* s) {
  unsigned v = 0;
  while (s && isdigit((unsigned char)*s)) v = v * 10u + (unsigned)(*s++ - '0');
  return v;
}
