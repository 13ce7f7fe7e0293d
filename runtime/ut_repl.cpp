#include "runtime/ut_repl.h"

#include <cerrno>
#include <cstring>

#include "runtime/exec_ut.h"
#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "ut_repl";
const char* const WORK = "xx_ersetze_nch";
}  // namespace

int ut_repl::ersetze(const char* aus, const char* ziel, const char* str1, const char* str2) {
  if (!aus) {
    exut.show_str("aus", aus);
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: ersetze() without a file\n");
  }
  if (!str1 || !*str1) {
    exut.show_str("str1", str1);
    exut.fail(__LINE__, SRC, "System: ersetze() without a text to replace\n");
  }
  if (!str2) {
    exut.show_str("str2", str2);
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: ersetze() without a replacement\n");
  }
  const char* target = ziel ? ziel : WORK;
  FILE* out = safe_ut.create(target);
  int n = 0;
  {
    rBuffer rb(aus, "");
    size_t l1 = strlen(str1), l2 = strlen(str2);
    while (rb.find(0, str1, out)) {
      if (l2) safe_ut.write_FILE(out, str2, (long)l2);
      rb.a += (int)l1;
      n++;
    }
  }
  safe_ut.close_FILE(&out, SRC, __LINE__);
  if (!ziel) {
    safe_ut.copy_file(aus, WORK);
    safe_ut.remove_file(WORK);
  }
  return n;
}

void ut_repl::ohne_blanks(const char* aus, const char* ziel) {
  if (!aus) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: ohne_blanks() without a file\n");
  }
  const char* target = ziel ? ziel : WORK;
  FILE* out = safe_ut.create(target);
  {
    rBuffer rb(aus, "");
    while (rb.find(0, " ", out)) {
      // Keep the blank, pass over all white space behind it.
      safe_ut.write_FILE(out, " ", 1);
      rb.a++;
      for (;;) {
        if (rb.a >= rb.e) {
          if (rb.ateof) break;
          rb.fill(-1);
          continue;
        }
        char c = rb.z[rb.a];
        if (c != ' ' && c != '\t' && c != '\n' && c != '\r') break;
        rb.a++;
      }
    }
  }
  safe_ut.close_FILE(&out, SRC, __LINE__);
  if (!ziel) {
    safe_ut.copy_file(aus, WORK);
    safe_ut.remove_file(WORK);
  }
}

void ut_repl::dos_to_win(char* s) {
  if (!s) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: dos_to_win() of NULL\n");
  }
  for (unsigned char* p = (unsigned char*)s; *p; p++) {
    switch (*p) {
      case 132: *p = 228; break;
      case 148: *p = 246; break;
      case 129: *p = 252; break;
      case 142: *p = 196; break;
      case 153: *p = 214; break;
      case 154: *p = 220; break;
      case 225: *p = 223; break;
      default: break;
    }
  }
}

void ut_repl::utf8_to_win(char* s) {
  if (!s) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: utf8_to_win() of NULL\n");
  }
  unsigned char* o = (unsigned char*)s;
  for (unsigned char* p = (unsigned char*)s; *p;) {
    if (p[0] == 195) {
      int c = 0;
      switch (p[1]) {
        case 132: c = 196; break;  // Ä
        case 150: c = 214; break;  // Ö
        case 156: c = 220; break;  // Ü
        case 159: c = 223; break;  // ß
        case 164: c = 228; break;  // ä
        case 182: c = 246; break;  // ö
        case 188: c = 252; break;  // ü
        default: break;
      }
      if (c) {
        *o++ = (unsigned char)c;
        p += 2;
        continue;
      }
    }
    *o++ = *p++;
  }
  *o = 0;
}
