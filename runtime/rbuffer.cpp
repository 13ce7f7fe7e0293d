// The scanner buffer: opening, the text-mode reader, window management, the
// searches and the block conversions.
#include "runtime/rbuffer.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <string>

#include <stdio_ext.h>

#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"
#include "runtime/str_set.h"

namespace {
const char* const src = "rbuffer";
const char* const not_open = "is not yet open";
int open_count = 0;  // opens of all scanners, a dot is printed at each tenth

// Text mode: CR LF becomes LF in place, a lone CR stays.  Returns the new length.
int fold_crlf(char* p, int n) {
  char* q = static_cast<char*>(memchr(p, '\r', n));
  if (!q) return n;
  char* end = p + n;
  char* w = q;
  for (char* r = q; r < end; ++r) {
    if (*r == '\r' && r + 1 < end && r[1] == '\n') continue;
    *w++ = *r;
  }
  return (int)(w - p);
}

std::string normal_path(const char* name) {
  std::string p = safe_ut.expand_env(name);
  std::replace(p.begin(), p.end(), '\\', '/');
  while (p.size() > 2 && p[0] == '.' && p[1] == '/') p.erase(0, 2);
  return p;
}
}  // namespace

// ------------------------------------------------------------- life cycle

rBuffer::rBuffer() {
  set_name(not_open);
  created();
}

rBuffer::rBuffer(const char* name, const char* prefix) {
  set_name(not_open);
  open_file(name, prefix);
  created();
}

rBuffer::rBuffer(const char* name, const char* out_name, FILE** out, const char* prefix) {
  set_name(not_open);
  open_file(name, prefix);
  if (!out_name || !out) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, src, "System: rBuffer( %s ) without an output file", f_name);
  }
  // Writing the file that is being read: what is not in the window yet
  // goes to a temporary copy first.
  if (!ateof && normal_path(f_name) == normal_path(out_name)) copy_rest_aside();
  *out = safe_ut.create(out_name);
  created();
}

rBuffer::rBuffer(const char* str1, const char* str2, bool split) {
  set_name(not_open);
  if (!str1 || !str2) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, src, "System: rBuffer( str1, str2 ) with a NULL text");
  }
  allocate();
  reset_counters();
  int L1 = (int)strlen(str1), L2 = (int)strlen(str2);
  int n = L1 + 1 + L2;
  if (n > read_limit) {
    exut.show_int("L1", L1);
    exut.show_int("L2", L2);
    exut.fail(__LINE__, src, "System: rBuffer( str1, str2 ): %i characters, at most %i", n,
              read_limit);
  }
  memcpy(z, str1, L1);
  z[L1] = ' ';
  memcpy(z + L1 + 1, str2, L2);
  e = n;
  z[e] = 0;
  z[e + 1] = 0;
  if (split) {
    for (int i = 0; i < e; ++i) {
      if (z[i] == '\'') {
        char* q = static_cast<char*>(memchr(z + i + 1, '\'', e - i - 1));
        if (q) {
          *q = 0;
          i = (int)(q - z);
          continue;
        }
      }
      if (isspace((unsigned char)z[i])) z[i] = 0;
    }
  }
  pair_ = true;
  ateof = true;
  set_name("str1 str2");
  created();
}

rBuffer::~rBuffer() {
  errno = 0;
  try {
    close_file();
  } catch (...) {
  }
  errno = 0;
}

void rBuffer::set_name(const char* text) {
  snprintf(f_name, sizeof f_name, "%s", text);
}

void rBuffer::allocate() {
  if (raw) return;
  block_.reset(new char[allocation]);
  raw = block_.get();
  z = raw + behind;
  memset(raw, 0, behind + 2);
}

void rBuffer::reset_counters() {
  find_count = 0;
  guard_pos = INT_MIN;
  guard_count = 0;
  last_match = 0;
  tab_col_ = 4;
  a = s = s2 = e = 0;
  low = -behind;
}

// Standard input (handle 0) is never closed and stays the handle.
void rBuffer::close_file() {
  if (f > 0) {
    errno = 0;
    safe_ut.close_fd(&f, src, __LINE__);
  }
  if (f != 0) f = -1;
}

// ---------------------------------------------------------------- opening

void rBuffer::open_file(const char* name, const char* prefix) {
  if (++open_count % 10 == 0) {
    putchar('.');
    fflush(stdout);
  }
  if (showComm) printf("\nopen rB %s", name ? name : "( null )");
  reset_counters();
  close_file();
  allocate();
  pair_ = is_text_ = false;
  delete_at_eof_ = false;
  src_eof_ = false;
  has_carry_ = false;
  any_text_ = false;
  ateof = true;
  if (!prefix) prefix = "";
  int pl = (int)strlen(prefix);
  if (pl >= read_limit) {
    exut.fail(__LINE__, src, "System: rBuffer prefix of %i characters", pl);
  }
  memcpy(z, prefix, pl);
  e = pl;
  if (!name) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, src, "System: rBuffer.open_file( NULL )");
  }
  set_name(safe_ut.expand_env(name).c_str());
  if (strcmp(f_name, "stdin") == 0) {
    f = 0;
  } else {
    char kind = safe_ut.ok_is_a(f_name);
    if (kind != 'f') {
      std::string real = safe_ut.real_name(f_name);
      if (real != f_name && safe_ut.ok_is_a(real.c_str()) == 'f') {
        set_name(real.c_str());
        kind = 'f';
      }
    }
    if (kind != 'f') {
      printf("\nError: not a file: %s\n", f_name);
      safe_ut.done_exit(1);
    }
    f = safe_ut.open_fd(f_name, 'R', 'B');
    if (f < 0) open_fail(f_name);
    delete_at_eof_ = starts_with(f_name, "rm_");
  }
  ateof = false;
  if (corrPos) {
    long pos = corrPos;
    corrPos = 0;
    seek_start(pos);
  }
  int got = read_block(z + e, read_limit - e);
  a = s = s2 = 0;
  e += got;
  if (e > 0) any_text_ = true;
  eof_test();
  if (mae) mae_text(pl);
  if (conv) convert(conv, pl);
  z[e] = 0;
  z[e + 1] = 0;
  low = -behind;
}

// A name that cannot be opened: point out a name outside the 8.3 scheme
// (the usual cause with old configurations), then fail.
void rBuffer::open_fail(const char* name) {
  int count = 0;
  bool odd = false;
  for (int i = (int)strlen(name) - 1; i >= 0 && !odd; --i) {
    char c = name[i];
    if (c == '\\' || c == '/') {
      count = 0;
    } else if (c == '.') {
      odd = count > 3;
      count = 0;
    } else {
      odd = ++count > 8;
    }
  }
  if (odd) exut.show_str("file", name);
  exut.fail(__LINE__, src, "error: cannot open %s\n", name);
}

void rBuffer::seek_start(long pos) {
  long target = pos;
  if (pos < 0) target = f > 0 ? safe_ut.len(f) + pos : -1;
  if (target < 0 || f < 1) {
    int code = errno ? errno : err::seek_failure;
    exut.show_int("corrPos", pos);
    exut.show_int("errno", code);
    errno = code;
    exut.fail(__LINE__, src, "System: rBuffer cannot seek to %li in %s", pos, f_name);
  }
  // Reading forward keeps the handle's position and the text-mode reader
  // in step; a position is used rarely and only near the start or end.
  char buf[16384];
  while (target > 0) {
    int r = raw_read(buf, (int)std::min<long>(target, sizeof buf));
    if (r == 0) {
      src_eof_ = true;
      break;
    }
    target -= r;
  }
}

void rBuffer::copy_rest_aside() {
  static unsigned aside_nr = 0;
  std::string dir = std::string(safe_ut.tmp_dir()) + "/rm_";
  safe_ut.ensure_dir(dir.c_str());
  std::string tmp = dir + "/rm_" + std::to_string(++aside_nr);
  FILE* t = safe_ut.create(tmp.c_str());
  if (has_carry_) safe_ut.write_FILE(t, &carry_, 1);
  has_carry_ = false;
  char buf[16384];
  for (;;) {
    int r = raw_read(buf, sizeof buf);
    if (r == 0) break;
    safe_ut.write_FILE(t, buf, r);
  }
  safe_ut.close_FILE(&t, src, __LINE__);
  close_file();
  set_name(tmp.c_str());
  f = safe_ut.open_fd(f_name, 'R', 'B');
  if (f < 0) open_fail(f_name);
  delete_at_eof_ = true;
  src_eof_ = false;
}

void rBuffer::scan_text(const char* text, int n, const char* prefix) {
  reset_counters();
  close_file();
  allocate();
  if (!prefix) prefix = "";
  int pl = (int)strlen(prefix);
  if (n < 0 || (n > 0 && !text)) {
    errno = err::invalid_parameter;
    exut.fail(__LINE__, src, "System: rBuffer.scan_text( %p, %i )", (const void*)text, n);
  }
  if ((long)pl + n > capacity) exut.fail(__LINE__, src, "anz_chars = %i too large \n", pl + n);
  memcpy(z, prefix, pl);
  if (n) memcpy(z + pl, text, n);
  e = pl + n;
  strcpy(z + e, eof_text);
  z[e] = 0;
  pair_ = false;
  is_text_ = true;
  src_eof_ = true;
  has_carry_ = false;
  delete_at_eof_ = false;
  ateof = true;
  set_name("no file - we want to scan a string");
}

void rBuffer::reopen(const char* old, const char* name, const char* prefix, FILE** out,
                     const char* out_name) {
  if (out && *out) safe_ut.close_FILE(out, src, __LINE__);
  if (old) safe_ut.remove_file(old);
  open_file(name, prefix);
  if (out && out_name) *out = safe_ut.create(out_name);
}

void rBuffer::rewind() {
  if (pair_) return;
  if (is_text_ || f == 0 || !raw) {
    a = s = 0;
    return;
  }
  close_file();
  f = safe_ut.open_fd(f_name, 'R', 'B');
  if (f < 0) open_fail(f_name);
  src_eof_ = has_carry_ = false;
  ateof = false;
  e = read_block(z, read_limit);
  any_text_ = e > 0;
  eof_test();
  a = s = s2 = 0;
  guard_pos = INT_MIN;
  tab_col_ = 4;
  if (mae) mae_text(0);
  if (conv) convert(conv, 0);
  z[e] = 0;
  z[e + 1] = 0;
}

void rBuffer::stop() {
  ateof = true;
  close_file();
}

// ---------------------------------------------------------------- reading

int rBuffer::raw_read(char* buf, int n) {
  if (f < 0 || n <= 0) return 0;
  int r = safe_ut.read_fd(f, buf, n);
  if (r < 0) {
    exut.show_str("gel", f_name);
    exut.show_int("e", e);
    exut.show_int("r", r);
    exut.fail(__LINE__, src, "System: rBuffer cannot read %s", f_name);
  }
  return r;
}

// Delivers up to `want` characters of text: CR LF folded to LF, the text
// ending at byte 26.  The handle is opened in binary kind and the folding
// is done here, in one place, for files and standard input alike.  A CR at the end of a read is held back until the next
// byte shows whether it starts a CR LF pair; when the window is filled
// exactly, one byte is read ahead so that the end of the file is known.
int rBuffer::read_block(char* dst, int want) {
  int got = 0;
  while (got < want && !src_eof_) {
    char* p = dst + got;
    int room = want - got;
    int n = 0;
    if (has_carry_) {
      p[0] = carry_;
      n = 1;
      has_carry_ = false;
    }
    if (room == n) {  // only the carried byte fits
      if (p[0] == 26) {
        src_eof_ = true;
        break;
      }
      if (p[0] == '\r') {
        char c2;
        if (raw_read(&c2, 1) == 0 || c2 == 26)
          src_eof_ = true;
        else if (c2 == '\n')
          p[0] = '\n';
        else {
          carry_ = c2;
          has_carry_ = true;
        }
      }
      got += 1;
      break;
    }
    int r = raw_read(p + n, room - n);
    if (r == 0) src_eof_ = true;
    n += r;
    if (char* ctrl_z = static_cast<char*>(memchr(p, 26, n))) {
      n = (int)(ctrl_z - p);
      src_eof_ = true;
    }
    n = fold_crlf(p, n);
    if (!src_eof_ && n > 0 && p[n - 1] == '\r') {
      carry_ = '\r';
      has_carry_ = true;
      --n;
    }
    got += n;
  }
  if (got == want && !src_eof_ && !has_carry_) {
    char c;
    if (raw_read(&c, 1) == 0 || c == 26) {
      src_eof_ = true;
    } else {
      carry_ = c;
      has_carry_ = true;
    }
  }
  return got;
}

// After every read: at the end of the file close it, delete a "rm_" file,
// and make the text end in a line feed.
void rBuffer::eof_test() {
  ateof = src_eof_ && !has_carry_;
  if (!ateof) return;
  close_file();
  if (delete_at_eof_) {
    delete_at_eof_ = false;
    safe_ut.remove_file(f_name);
  }
  errno = 0;
  if (!any_text_) return;
  char last = e > 0 ? z[e - 1] : z[-1];
  if (last != '\n') z[e++] = '\n';
}

// ----------------------------------------------------------------- window

void rBuffer::slide() {
  int d = a;
  int from = a + low;
  memmove(z + low, z + from, e - from);
  s = std::max(0, s - d);
  s2 = std::max(0, s2 - d);
  e -= d;
  a = 0;
  slid_total_ += d;
}

char* rBuffer::fill(int n) {
  if (n == -1) n = fill_default - (e - a);
  if (ateof || e - a > n) return z + a;
  if (a < -100 || a > e) {
    exut.fail(__LINE__, src, "a,s,e,f = %i, %i, %i, %s", a, s, e, f_name);
  }
  if (a < 1 && e >= read_limit) {
    dump(stdout, __LINE__);
    exut.show_int("a", a);
    exut.show_int("e", e);
    exut.fail(__LINE__, src,
              "System: rBuffer full: %i characters unconsumed, more wanted, in %s", e - a,
              f_name);
  }
  if (a > 0) slide();
  if (e >= read_limit) {
    exut.show_int("a", a);
    exut.show_int("e", e);
    exut.show_int("ateof", ateof);
    exut.fail(__LINE__, src, "System: rBuffer has no room to read into, %s", f_name);
  }
  int old_e = e;
  int got = read_block(z + e, read_limit - e);
  e += got;
  if (got) any_text_ = true;
  guard_pos = INT_MIN;
  eof_test();
  if (mae) mae_text(old_e);
  if (conv) convert(conv, old_e);
  if (a < 0 || a > e) {
    exut.show_int("a", a);
    exut.show_int("s", s);
    exut.show_int("e", e);
    exut.fail(__LINE__, src, "System: rBuffer.fill leaves a outside the text, %s", f_name);
  }
  strcpy(z + e, eof_text);
  z[e] = 0;
  return z + a;
}

char* rBuffer::keep(char** p, int n) {
  long off = *p - z;
  long before = slid_total_;
  fill(n);
  *p = z + off - (slid_total_ - before);
  return z + a;
}

char* rBuffer::advance(FILE* out) {
  if (s < a) {
    exut.show_int("a", a);
    exut.show_int("s", s);
    exut.fail(__LINE__, src, "System: rBuffer.advance: s = %i < %i = a", s, a);
  }
  put(out, a, s);
  a = s;
  if (!ateof) fill(fill_default);
  return z + a;
}

bool rBuffer::more(int n) {
  if (!ateof && e < s + n) fill(fill_default);
  return e - s > n;
}

bool rBuffer::not_at_end() {
  if (!ateof && e <= s) fill(fill_default);
  return a < e;
}

void rBuffer::write_to(const char* p, FILE* out) {
  int to = (int)(p - z);
  if (out && to > a) {
    const char* nul = static_cast<const char*>(memchr(z + a, 0, to - a));
    put(out, a, nul ? (int)(nul - z) : to);
  }
  a = to;
}

char* rBuffer::skip_set(int n, const char* set) {
  a += n;
  while (a < e && z[a] && strchr(set, z[a])) ++a;
  return z + a;
}

int rBuffer::before_a(const char* set) {
  for (int i = a - 1; i >= 0; --i)
    if (!z[i] || !strchr(set, z[i])) return (unsigned char)z[i];
  return 0;
}

long rBuffer::copy_rest(FILE* out) {
  long n = 0;
  while (a < e) {
    const char* nul = static_cast<const char*>(memchr(z + a, 0, e - a));
    int to = nul ? (int)(nul - z) : e;
    put(out, a, to);
    n += to - a;
    a = e;
    fill(fill_default);
  }
  return n;
}

long rBuffer::write_and_rest(const char* text, char* p, FILE* out) {
  a = (int)(p - z);
  long n = 0;
  if (text && *text) {
    n = (long)strlen(text);
    if (out) safe_ut.write_FILE(out, text, n);
  }
  return n + copy_rest(out);
}

int rBuffer::compact(int from) {
  int i = std::max(from, a);
  if (i >= e) return 0;
  char* first = static_cast<char*>(memchr(z + i, 0, e - i));
  if (!first) return 0;
  int w = (int)(first - z);
  for (int r = w; r < e; ++r)
    if (z[r]) z[w++] = z[r];
  int removed = e - w;
  e = w;
  z[e] = 0;
  if (s > e) s = e;
  if (s2 > e) s2 = e;
  return removed;
}

int rBuffer::has_NULL() {
  if (a >= e) return 0;
  const char* p = static_cast<const char*>(memchr(z + a, 0, e - a));
  if (!p) return 0;
  int at = (int)(p - z);
  int from = std::max(a, at - 100);
  printf("\n\nNULL following [%.*s]\n", at - from, z + from);
  exut.show_mem("has_NULL", z + from, 100);
  return at - a;
}

void rBuffer::syntax_error(const char* name, const char* p, const char* q) {
  if (!z || p < z + low || p > z + e || q < p || q > z + e) {
    exut.show_ptr("p", p);
    exut.show_ptr("q", q);
    exut.fail(__LINE__, src, "System: rBuffer.syntax_error( %s ) outside the window of %s",
              name ? name : "", f_name);
  }
  printf("\nSyntax Error( %s ):\n%.*s[?]", name ? name : "", (int)(q - p), p);
  const char* r = q;
  while (r < z + e && *r && *r != '\n') ++r;
  printf("%.*s\n\n", (int)(r - q), q);
}

void rBuffer::put(FILE* out, int from, int to) {
  if (out && to > from) safe_ut.write_FILE(out, z + from, to - from);
}

// ------------------------------------------------------------------ trace

void rBuffer::trace(const char* name, FILE* stream) {
  if (!stream) stream = stdout;
  fprintf(stream, "\n%s - Instanz der Klasse 'rBuffer': \n\n", name ? name : "rBuffer");
  dump(stream, __LINE__);
}

void rBuffer::dump(FILE* stream, int line) {
  if (dumping) return;
  dumping = true;
  fprintf(stream, "\n\nrB at %d: a,s,e,eof = ( %d, %d, %d, %d ) of file( %s )\n%c:(", line,
          a, s, e, (int)ateof, f_name, 'a');
  auto show_at = [&](int pos) {
    if (!z) {
      fprintf(stream, ")\n");
      return;
    }
    if (pos < low) {
      dumping = false;
      printf("\nrBuffer, Line %i: from < z", line);
      exut.fail(__LINE__, src, "System: rBuffer position %i below the window", pos);
    }
    int from = std::max(pos - 4, pos >= 0 ? 0 : low);
    int to = std::min(std::max(e, from), from + 80);
    fprintf(stream, "%.*s)\n", to - from, z + from);
  };
  show_at(a);
  if (a < s && s < e) {
    fprintf(stream, "%c:(", 's');
    show_at(s);
  }
  dumping = false;
}

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
    while (s < e && !first_at[(unsigned char)z[s]]) {
      z[e] = (char)sentinel;
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

// ------------------------------------------------------------ conversions

namespace {
// The German letters: code page 850, code page 1252, two-letter form.
struct letter {
  unsigned char dos, win;
  const char* two;
};
const letter letters[7] = {{132, 228, "ae"}, {148, 246, "oe"}, {129, 252, "ue"},
                           {142, 196, "Ae"}, {153, 214, "Oe"}, {154, 220, "Ue"},
                           {225, 223, "ss"}};

struct letter_tables {
  unsigned char dos_to_win[256] = {};  // 0: not one of the letters
  unsigned char win_to_dos[256] = {};
  const char* two[256] = {};
  letter_tables() {
    for (const letter& l : letters) {
      dos_to_win[l.dos] = l.win;
      win_to_dos[l.win] = l.dos;
      two[l.dos] = l.two;
    }
  }
};
const letter_tables& tables() {
  static const letter_tables t;
  return t;
}

// Output of a conversion into a bounded block.
struct sink {
  char* out;
  int n;
  int room;
  void put(char c) {
    if (n >= room) overflow();
    out[n++] = c;
  }
  void put(const char* t) {
    while (*t) put(*t++);
  }
  void rtf(unsigned char win) {  // RTF form of a code page 1252 byte: \'hh
    static const char hex[] = "0123456789abcdef";
    put('\\');
    put('\'');
    put(hex[win >> 4]);
    put(hex[win & 15]);
  }
  [[noreturn]] void overflow() {
    exut.show_int("room", room);
    exut.fail(__LINE__, src, "System: rBuffer.convert: converted text passes %i characters",
              room);
  }
};

// Control bytes and escapes shared by the RTF conversions.  True when the
// byte was handled.
bool rtf_common(unsigned char c, sink& o) {
  if (c < 32) {
    if (c == '\n')
      o.put('\n');
    else if (c != 13 && c < 26)
      printf("Error in Input: Falsch codierte Umlaute (vi ]:ascii( %u )\n", c);
    return true;
  }
  switch (c) {
    case '\\': o.put("\\\\"); return true;
    case '{': o.put("\\{"); return true;
    case '}': o.put("\\}"); return true;
  }
  if (c < 128) {
    o.put((char)c);
    return true;
  }
  return false;
}
}  // namespace

int rBuffer::convert_text(const char* name, const char* in, int n, char* out, int room) {
  const letter_tables& t = tables();
  sink o{out, 0, room};
  const unsigned char* p = reinterpret_cast<const unsigned char*>(in);
  const unsigned char* end = p + n;
  if (!strcmp(name, "two_chars")) {
    for (; p < end; ++p) {
      if (*p > 128 && t.two[*p])
        o.put(t.two[*p]);
      else
        o.put((char)*p);
    }
  } else if (!strcmp(name, "schmutz")) {
    for (; p < end; ++p) {
      if (t.win_to_dos[*p])
        o.rtf(*p);
      else
        o.put((char)*p);
    }
  } else if (!strcmp(name, "ohne_CR")) {
    for (; p < end; ++p)
      if (*p != 13) o.put((char)*p);
  } else if (!strcmp(name, "rtf_chars")) {
    for (; p < end; ++p) {
      if (rtf_common(*p, o)) continue;
      if (t.win_to_dos[*p])
        o.rtf(*p);
      else if (t.dos_to_win[*p])
        o.rtf(t.dos_to_win[*p]);
      else
        printf("Error in Input: ascii( %u ) in rtf code nicht erlaubt\n", *p);
    }
  } else if (!strcmp(name, "mae_to_rtf")) {
    for (; p < end; ++p) {
      if (rtf_common(*p, o)) continue;
      if (t.dos_to_win[*p])
        o.rtf(t.dos_to_win[*p]);
      else if (*p == 196)
        o.put("\\'ad");
      else if (*p == 179 || *p == 186)
        o.put("\\'7c");
      else if (*p == 205)
        o.put("\\'2d");
      else
        o.put('+');
    }
  } else if (!strcmp(name, "mae_nach_win")) {
    for (; p < end; ++p) o.put((char)(t.dos_to_win[*p] ? t.dos_to_win[*p] : *p));
  } else if (!strcmp(name, "mae_to_msHtm")) {
    for (; p < end; ++p) {
      if (*p == 160) continue;
      if (*p == 228)
        o.put((char)132);
      else
        o.put((char)(t.dos_to_win[*p] ? t.dos_to_win[*p] : *p));
    }
  } else if (!strcmp(name, "win_nach_mae")) {
    for (; p < end; ++p) {
      if (rtf_common(*p, o)) continue;
      if (t.win_to_dos[*p]) {
        o.put((char)t.win_to_dos[*p]);
      } else {
        char code[8];
        snprintf(code, sizeof code, "\\%u", *p);
        o.put(code);
      }
    }
  } else if (!strcmp(name, "exp_tabs")) {
    // tab_col_ counts the blanks to the next stop; it carries across blocks.
    for (; p < end; ++p) {
      if (*p == '\t') {
        for (int i = 0; i < tab_col_; ++i) o.put(' ');
        tab_col_ = 4;
      } else {
        o.put((char)*p);
        if (*p == '\n' || --tab_col_ == 0) tab_col_ = 4;
      }
    }
  } else {
    exut.show_str("conv", name);
    exut.fail(__LINE__, src, "System: rBuffer.convert: unknown conversion %s", name);
  }
  return o.n;
}

void rBuffer::convert(const char* name, int from) {
  if (!name || !*name || from >= e) return;
  if (s > a || s2 > a) {
    exut.show_int("a", a);
    exut.show_int("s", s);
    exut.show_int("s2", s2);
    exut.fail(__LINE__, src, "System: rBuffer.convert( %s ) while s or s2 stand beyond a",
              name);
  }
  if (!scratch_) scratch_.reset(new char[scratch_size]);
  int n = convert_text(name, z + from, e - from, scratch_.get(), scratch_size);
  if (from + n > capacity) {
    exut.show_int("e", from + n);
    exut.show_int("capacity", capacity);
    exut.fail(__LINE__, src, "System: rBuffer.convert( %s ) passes the capacity of %s", name,
              f_name);
  }
  memcpy(z + from, scratch_.get(), n);
  e = from + n;
  z[e] = 0;
}

// Code page 850 to 1252 in place, for the six letters other than sharp s.
void rBuffer::mae_text(int from) {
  const letter_tables& t = tables();
  for (int i = std::max(from, 0); i < e; ++i) {
    unsigned char c = (unsigned char)z[i];
    if (c != 225 && t.dos_to_win[c]) z[i] = (char)t.dos_to_win[c];
  }
}

void rBuffer::mae_in_window() {
  mae = true;
  if (z) mae_text(a);
}
