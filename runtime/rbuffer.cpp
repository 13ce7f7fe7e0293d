// The scanner buffer: its life, opening, the text-mode reader, managing the
// window and tracing it.  The searches are in rbuffer_search.cpp, the block
// conversions in rbuffer_convert.cpp.
#include "runtime/rbuffer.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <string>

#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

namespace {
const char* const src = "rbuffer";
const char* const not_open = "is not yet open";
int open_count = 0;  // opens of all scanners, a dot is printed at each tenth

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
  reader_.reset();
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

void rBuffer::copy_rest_aside() {
  static unsigned aside_nr = 0;
  std::string dir = std::string(safe_ut.tmp_dir()) + "/rm_";
  safe_ut.ensure_dir(dir.c_str());
  std::string tmp = dir + "/rm_" + std::to_string(++aside_nr);
  FILE* t = safe_ut.create(tmp.c_str());
  char buf[16384];
  for (;;) {
    long r = reader_.take_raw(buf, sizeof buf);
    if (r <= 0) break;
    safe_ut.write_FILE(t, buf, r);
  }
  safe_ut.close_FILE(&t, src, __LINE__);
  close_file();
  set_name(tmp.c_str());
  f = safe_ut.open_fd(f_name, 'R', 'B');
  if (f < 0) open_fail(f_name);
  delete_at_eof_ = true;
  src_eof_ = false;
  reader_.reset();
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
  reader_.reset();
  delete_at_eof_ = false;
  ateof = true;
  set_name("no file - we want to scan a string");
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

// Delivers up to `want` characters of text through the text-mode reader.
// When the window is filled exactly, the reader looks ahead so that the end
// of the file is known at once.
int rBuffer::read_block(char* dst, int want) {
  if (src_eof_ || want <= 0) return 0;
  long got = reader_.read(dst, (size_t)want);  // a failing read has ended in a report
  src_eof_ = reader_.at_end();
  return (int)got;
}

// After every read: at the end of the file close it, delete a "rm_" file,
// and make the text end in a line feed.
void rBuffer::eof_test() {
  ateof = src_eof_;
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

void rBuffer::write_to(const char* p, FILE* out) {
  int to = (int)(p - z);
  if (to > a) {
    const char* nul = static_cast<const char*>(memchr(z + a, 0, to - a));
    put(out, a, nul ? (int)(nul - z) : to);
  }
  a = to;
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
