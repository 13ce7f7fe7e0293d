// Snapshots in another character set: brought to windows-1252 before they
// are cleaned, since every later stage reads windows-1252.
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <string>

#include "engine/clean_detail.h"
#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

using namespace clean_detail;

namespace {

// Unicode of the bytes 0x80 to 0x9F in windows-1252; 0 where it has none.
const unsigned short cp1252_high[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

// Unicode of the bytes 0x80 to 0xFF in the macintosh character set.
const unsigned short mac_roman_high[128] = {
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1, 0x00E0, 0x00E2, 0x00E4, 0x00E3,
    0x00E5, 0x00E7, 0x00E9, 0x00E8, 0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF, 0x00F1, 0x00F3,
    0x00F2, 0x00F4, 0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC, 0x2020, 0x00B0, 0x00A2, 0x00A3,
    0x00A7, 0x2022, 0x00B6, 0x00DF, 0x00AE, 0x00A9, 0x2122, 0x00B4, 0x00A8, 0x2260, 0x00C6, 0x00D8,
    0x221E, 0x00B1, 0x2264, 0x2265, 0x00A5, 0x00B5, 0x2202, 0x2211, 0x220F, 0x03C0, 0x222B, 0x00AA,
    0x00BA, 0x03A9, 0x00E6, 0x00F8, 0x00BF, 0x00A1, 0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB,
    0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3, 0x00D5, 0x0152, 0x0153, 0x2013, 0x2014, 0x201C, 0x201D,
    0x2018, 0x2019, 0x00F7, 0x25CA, 0x00FF, 0x0178, 0x2044, 0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02,
    0x2021, 0x00B7, 0x201A, 0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1, 0x00CB, 0x00C8, 0x00CD, 0x00CE,
    0x00CF, 0x00CC, 0x00D3, 0x00D4, 0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9, 0x0131, 0x02C6, 0x02DC,
    0x00AF, 0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7};

enum class Charset { keep, utf8, utf16le, utf16be, mac };

// Appends code point `u` in windows-1252, or as a numeric reference.
void put1252(std::string& o, unsigned u) {
  if (u < 0x80 || (u >= 0xA0 && u <= 0xFF)) {
    o += (char)u;
    return;
  }
  for (int k = 0; k < 32; ++k)
    if (cp1252_high[k] == u) {
      o += (char)(0x80 + k);
      return;
    }
  char ref[16];
  snprintf(ref, sizeof ref, "&#%u;", u);
  o += ref;
}

// Where the decoded characters go: in windows-1252, the byte-order mark
// at the very start left out.
struct sink {
  std::string& o;
  bool& first;
  void emit(unsigned u) {
    bool mark = first && u == 0xFEFF;
    first = false;
    if (!mark) put1252(o, u);
  }
  void raw(unsigned char c) {
    first = false;
    o += (char)c;
  }
};

// The code point of the UTF-8 sequence at `s` of `n` continuation bytes
// (which lie before `end`), or -1 when it is no valid sequence.
long utf8_at(const unsigned char* s, const unsigned char* end, int n) {
  if (n <= 0 || end - s <= n) return -1;
  unsigned u = s[0] & (0x3F >> n);
  for (int k = 1; k <= n; ++k) {
    if ((s[k] & 0xC0) != 0x80) return -1;
    u = (u << 6) | (s[k] & 0x3F);
  }
  if ((n == 2 && u < 0x800) || (n == 3 && (u < 0x10000 || u > 0x10FFFF)) ||
      (u >= 0xD800 && u <= 0xDFFF))
    return -1;
  return u;
}

size_t decode_utf8(const unsigned char* p, const unsigned char* end, bool last, sink& out) {
  const unsigned char* s = p;
  while (s < end) {
    unsigned c = *s;
    if (c < 0x80) {
      out.emit(c);
      ++s;
      continue;
    }
    int n = c >= 0xF0 && c <= 0xF4 ? 3 : c >= 0xE0 ? 2 : c >= 0xC2 && c < 0xE0 ? 1 : -1;
    if (n > 0 && end - s <= n && !last) {
      bool ok = true;  // an incomplete but valid start: wait for more
      for (const unsigned char* t = s + 1; t < end; ++t) ok = ok && (*t & 0xC0) == 0x80;
      if (ok) break;
    }
    long u = utf8_at(s, end, n);
    if (u >= 0) {
      out.emit((unsigned)u);
      s += n + 1;
    } else {  // not UTF-8: the byte is taken as it stands
      out.raw((unsigned char)c);
      ++s;
    }
  }
  return s - p;
}

size_t decode_utf16(bool le, const unsigned char* p, const unsigned char* end, bool last,
                    sink& out) {
  auto unit = [le](const unsigned char* q) -> unsigned {
    return le ? q[0] | (q[1] << 8) : (q[0] << 8) | q[1];
  };
  const unsigned char* s = p;
  while (end - s >= 2) {
    unsigned u = unit(s);
    if (u >= 0xD800 && u <= 0xDBFF) {
      if (end - s < 4) {
        if (!last) break;
        out.emit(0xFFFD);
        s += 2;
        continue;
      }
      unsigned w = unit(s + 2);
      if (w >= 0xDC00 && w <= 0xDFFF) {
        out.emit(0x10000 + ((u - 0xD800) << 10) + (w - 0xDC00));
        s += 4;
        continue;
      }
      u = 0xFFFD;
    } else if (u >= 0xDC00 && u <= 0xDFFF) {
      u = 0xFFFD;
    }
    out.emit(u);
    s += 2;
  }
  if (last && s < end) ++s;  // an odd byte at the very end
  return s - p;
}

// Decodes what can be decoded of [p, end) into `o`; returns the bytes
// used.  An incomplete sequence at the end is left for the next block
// unless `last`.
size_t decode(Charset cs, const unsigned char* p, const unsigned char* end, bool last,
              std::string& o, bool& first) {
  sink out{o, first};
  if (cs == Charset::mac) {
    for (const unsigned char* s = p; s < end; ++s)
      out.emit(*s < 0x80 ? *s : mac_roman_high[*s - 0x80]);
    return end - p;
  }
  if (cs == Charset::utf8) return decode_utf8(p, end, last, out);
  return decode_utf16(cs == Charset::utf16le, p, end, last, out);
}

// The value behind "charset=" in the head of `t` (lower case), and where
// it stands.
std::string declared_charset(const std::string& t, size_t* at, size_t* len) {
  size_t body = std::string::npos;
  for (const char* b : {"<body", "<BODY", "<Body"}) body = std::min(body, t.find(b));
  size_t limit = body == std::string::npos ? t.size() : body;
  for (size_t i = 0; i + 8 <= limit; ++i) {
    if ((t[i] == 'c' || t[i] == 'C') && strncasecmp(t.c_str() + i, "charset=", 8) == 0) {
      size_t v = i + 8;
      if (v < t.size() && (t[v] == '"' || t[v] == '\'')) ++v;
      size_t w = v;
      while (w < t.size() && (isalnum((unsigned char)t[w]) || t[w] == '-' || t[w] == '_')) ++w;
      if (at) *at = v;
      if (len) *len = w - v;
      std::string cs = t.substr(v, w - v);
      for (char& c : cs) c = (char)tolower((unsigned char)c);
      return cs;
    }
  }
  return "";
}

// The character set of a file from its first block: a byte-order mark, the
// pattern of zero bytes of UTF-16, or the declaration.  `from` names it;
// `decl` is the declaration when the file is left as it is.
Charset charset_of(const unsigned char* b, int got, std::string& from, std::string& decl) {
  auto is = [&from](const char* name, Charset cs) {
    from = name;
    return cs;
  };
  if (got >= 2 && b[0] == 0xFF && b[1] == 0xFE) return is("utf-16le", Charset::utf16le);
  if (got >= 2 && b[0] == 0xFE && b[1] == 0xFF) return is("utf-16be", Charset::utf16be);
  if (got >= 3 && b[0] == 0xEF && b[1] == 0xBB && b[2] == 0xBF) return is("utf-8", Charset::utf8);
  if (got >= 4 && b[0] && !b[1] && b[2] && !b[3]) return is("utf-16le", Charset::utf16le);
  if (got >= 4 && !b[0] && b[1] && !b[2] && b[3]) return is("utf-16be", Charset::utf16be);
  decl = declared_charset(std::string((const char*)b, got), nullptr, nullptr);
  if (decl == "utf-8" || decl == "utf8") return is("utf-8", Charset::utf8);
  if (decl == "macintosh" || decl == "x-mac-roman" || decl == "mac")
    return is("macintosh", Charset::mac);
  return Charset::keep;
}

}  // namespace

std::string ut_htm::to_windows1252(const char* file) {
  if (!file) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: to_windows1252( NULL )");
  }
  const int block = 1 << 20;
  std::string buf(block, '\0');
  FILE* in = safe_ut.open_FILE(file, "rb");
  int got = safe_ut.read_FILE(in, buf.data(), block);
  const unsigned char* b = reinterpret_cast<const unsigned char*>(buf.data());
  std::string from, decl;
  Charset cs = charset_of(b, got, from, decl);
  if (cs == Charset::keep) {
    safe_ut.close_FILE(&in, SRC, __LINE__);
    return "charset " + (decl.empty() ? std::string("not declared") : decl) + ": left as it is";
  }

  std::string tmp = std::string(file) + ".x1252";
  FILE* out = safe_ut.create(tmp.c_str());
  std::string o;
  int n = got;  // bytes in the block
  bool eof = got < block;
  bool first = true, head = true;
  for (;;) {
    o.clear();
    size_t used = decode(cs, b, b + n, eof, o, first);
    if (head) {  // the declaration stands in the head, in the first block
      head = false;
      size_t at = 0, len = 0;
      if (!declared_charset(o, &at, &len).empty()) o.replace(at, len, "windows-1252");
    }
    put(out, o.data(), (long)o.size());
    if (eof) break;
    n -= (int)used;  // an incomplete sequence waits for the next block
    memmove(buf.data(), buf.data() + used, n);
    int want = block - n;
    int more = safe_ut.read_FILE(in, buf.data() + n, want);
    n += more;
    eof = more < want;
  }
  safe_ut.close_FILE(&in, SRC, __LINE__);
  safe_ut.close_FILE(&out, SRC, __LINE__);
  safe_ut.rename_file(tmp.c_str(), file);
  return from + " converted to windows-1252";
}
