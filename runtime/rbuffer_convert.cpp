// The block conversions of the scanner buffer: the German letters between
// code pages and RTF, tabs to blanks, and CR removal, applied to the text
// that a fill brings into the window.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "runtime/exec_ut.h"
#include "runtime/rbuffer.h"

// ------------------------------------------------------------ conversions

namespace {
const char* const src = "rbuffer_convert";

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

// One byte of each conversion into the sink.  `tab_col` counts the blanks
// to the next tab stop; it carries across blocks.
using step = void (*)(unsigned char c, sink& o, const letter_tables& t, int& tab_col);

void two_chars(unsigned char c, sink& o, const letter_tables& t, int&) {
  if (c > 128 && t.two[c])
    o.put(t.two[c]);
  else
    o.put((char)c);
}

void schmutz(unsigned char c, sink& o, const letter_tables& t, int&) {
  if (t.win_to_dos[c])
    o.rtf(c);
  else
    o.put((char)c);
}

void ohne_CR(unsigned char c, sink& o, const letter_tables&, int&) {
  if (c != 13) o.put((char)c);
}

void rtf_chars(unsigned char c, sink& o, const letter_tables& t, int&) {
  if (rtf_common(c, o)) return;
  if (t.win_to_dos[c])
    o.rtf(c);
  else if (t.dos_to_win[c])
    o.rtf(t.dos_to_win[c]);
  else
    printf("Error in Input: ascii( %u ) in rtf code nicht erlaubt\n", c);
}

void mae_to_rtf(unsigned char c, sink& o, const letter_tables& t, int&) {
  if (rtf_common(c, o)) return;
  if (t.dos_to_win[c])
    o.rtf(t.dos_to_win[c]);
  else if (c == 196)
    o.put("\\'ad");
  else if (c == 179 || c == 186)
    o.put("\\'7c");
  else if (c == 205)
    o.put("\\'2d");
  else
    o.put('+');
}

void mae_nach_win(unsigned char c, sink& o, const letter_tables& t, int&) {
  o.put((char)(t.dos_to_win[c] ? t.dos_to_win[c] : c));
}

void mae_to_msHtm(unsigned char c, sink& o, const letter_tables& t, int&) {
  if (c == 160) return;
  if (c == 228)
    o.put((char)132);
  else
    o.put((char)(t.dos_to_win[c] ? t.dos_to_win[c] : c));
}

void win_nach_mae(unsigned char c, sink& o, const letter_tables& t, int&) {
  if (rtf_common(c, o)) return;
  if (t.win_to_dos[c]) {
    o.put((char)t.win_to_dos[c]);
  } else {
    char code[8];
    snprintf(code, sizeof code, "\\%u", c);
    o.put(code);
  }
}

void exp_tabs(unsigned char c, sink& o, const letter_tables&, int& tab_col) {
  if (c == '\t') {
    for (int i = 0; i < tab_col; ++i) o.put(' ');
    tab_col = 4;
  } else {
    o.put((char)c);
    if (c == '\n' || --tab_col == 0) tab_col = 4;
  }
}

struct conversion {
  const char* name;
  step f;
};
const conversion conversions[] = {
    {"two_chars", two_chars},       {"schmutz", schmutz},           {"ohne_CR", ohne_CR},
    {"rtf_chars", rtf_chars},       {"mae_to_rtf", mae_to_rtf},     {"mae_nach_win", mae_nach_win},
    {"mae_to_msHtm", mae_to_msHtm}, {"win_nach_mae", win_nach_mae}, {"exp_tabs", exp_tabs},
};

}  // namespace

int rBuffer::convert_text(const char* name, const char* in, int n, char* out, int room) {
  step f = nullptr;
  for (const conversion& c : conversions)
    if (!strcmp(name, c.name)) f = c.f;
  if (!f) {
    exut.show_str("conv", name);
    exut.fail(__LINE__, src, "System: rBuffer.convert: unknown conversion %s", name);
  }
  const letter_tables& t = tables();
  sink o{out, 0, room};
  const unsigned char* p = reinterpret_cast<const unsigned char*>(in);
  for (const unsigned char* end = p + n; p < end; ++p) f(*p, o, t, tab_col_);
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
