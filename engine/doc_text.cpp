// Text helpers of the section split: plain text of headings, paragraphs,
// cells and captions, the character conversions of the code page, and
// small readers of numbers and dates.
#include <cctype>
#include <cerrno>
#include <cstring>
#include <string>

#include "engine/ut_htmst.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

namespace {

const char* const SRC = "ut_htmst";

// The value of a `name=` in the tag text [from, to), quoted or not, into
// `anchor` (at most 119 characters); `anchor` stays as it is without one.
void anchor_of(const char* from, const char* to, char* anchor) {
  std::string tag(from, to);
  size_t n = tag.find("name=");
  if (n == std::string::npos) return;
  size_t b = n + 5;
  if (b < tag.size() && (tag[b] == '"' || tag[b] == '\'')) b++;
  size_t e = b;
  while (e < tag.size() && tag[e] != '"' && tag[e] != '\'' && tag[e] != ' ' && tag[e] != '>') e++;
  snprintf(anchor, 120, "%s", tag.substr(b, e - b).c_str());
}

// The text of a heading from `q` (behind its start tag) up to its end tag,
// tags left out and blanks folded; returns the position behind it.  The
// first `name=` of an inner tag is kept when the heading had none.
const char* heading_text(const char* q, const char* end, char* anchor, std::string& t) {
  while (q < end && *q) {
    if (*q == '<') {
      if ((q[1] == '/' && (q[2] == 'h' || q[2] == 'H') && isdigit((unsigned char)q[3]))) {
        const char* gt = (const char*)memchr(q, '>', end - q);
        return gt ? gt + 1 : end;
      }
      const char* gt = (const char*)memchr(q, '>', end - q);
      if (!gt) break;
      if (anchor && !*anchor) anchor_of(q, gt, anchor);
      q = gt + 1;
      continue;
    }
    if (*q == '&') {
      if (!strncmp(q, "&nbsp;", 6)) {  // a blank, folded like any other
        if (!t.empty() && t.back() != ' ') t += ' ';
        q += 6;
        continue;
      }
      if (!strncmp(q, "&#150;", 6) || !strncmp(q, "&#167;", 6)) {
        q += 6;
        continue;
      }
    }
    unsigned char c = (unsigned char)*q++;
    if (c == '>') continue;
    if (c == '\n' || c == '\r' || c == '\t') c = ' ';
    if (c != ' ' && !ut_htmst::is_text_char(c)) continue;
    if (c == ' ' && (t.empty() || t.back() == ' ')) continue;
    t += (char)c;
  }
  return q;
}

// "1.2.3 Title" -> "1001.1002.1003 Title": numbers that sort as text.
void number_sort_form(std::string& t) {
  size_t i = 0;
  std::string num;
  while (i < t.size() && (isdigit((unsigned char)t[i]) || t[i] == '.')) {
    size_t j = i;
    while (j < t.size() && isdigit((unsigned char)t[j])) j++;
    if (j > i) num += std::to_string(1000 + atoi(t.substr(i, j - i).c_str())) + ".";
    i = j;
    if (i < t.size() && t[i] == '.') i++;
  }
  if (!num.empty()) {
    num.back() = ' ';
    while (i < t.size() && t[i] == ' ') i++;
    t = num + t.substr(i);
  }
}

}  // namespace

bool ut_htmst::is_text_char(int c) {
  c &= 0xFF;
  switch (c) {
    case 196: case 214: case 220: case 223: case 228: case 246: case 252:
      return true;
    case 133:
      return false;
    default:
      return !(c < 32 || c > 159);
  }
}

const char* ut_htmst::section_title(const char* start, char* out, const char* stop,
                                    const char* end, char* anchor, int number_mode) {
  if (!start || !out) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: section_title() got a NULL pointer\n");
  }
  *out = 0;
  if (anchor) *anchor = 0;
  const char* p = start;
  if (stop && *stop) {
    p = strstr(start, stop);
    if (!p || (end && p >= end)) return nullptr;
  } else if (!(p[0] == '<' && (p[1] == 'h' || p[1] == 'H'))) {
    safe_ut.show_text("start", start, 40);
    exut.fail(__LINE__, SRC, "System: section_title() not at a heading\n");
  }
  if (!end) end = p + strlen(p);
  // Behind the heading's own start tag.
  const char* q = (const char*)memchr(p, '>', end - p);
  if (!q) return nullptr;
  if (anchor) anchor_of(p, q, anchor);
  std::string t;
  q = heading_text(q + 1, end, anchor, t);
  while (!t.empty() && t.back() == ' ') t.pop_back();
  if (number_mode && !t.empty() && isdigit((unsigned char)t[0])) number_sort_form(t);
  if (t.size() > 120) t.resize(120);
  memcpy(out, t.c_str(), t.size() + 1);
  return q;
}

// ------------------------------------------------------------ small helpers

long ut_htmst::day_number(const char* date) {
  if (!date || strlen(date) < 10 || !isdigit((unsigned char)date[0]) || date[4] != '.' ||
      date[7] != '.' || !isdigit((unsigned char)date[5]) || !isdigit((unsigned char)date[8])) {
    exut.show_str("date", date);
    exut.fail(__LINE__, SRC, "System: not a date of the form YYYY.MM.DD: %s\n", date ? date : "( null )");
  }
  long y = atol(date), m = atol(date + 5), d = atol(date + 8);
  return y * 365 + m * 30 + d;
}

const char* ut_htmst::past_number(const char* s) {
  const char* q = s;
  while (*q && strchr(". 0123456789", *q)) q++;
  if (!*q || q == s) return q;
  while (q > s && q[-1] != ' ') q--;
  return q;
}

const char* ut_htmst::past_number2(const char* s) {
  const char* q = s;
  while (*q && strchr("0123456789. ", *q)) q++;
  if (!*q || q == s) return q;
  while (q > s && q[-1] != ' ' && q[-1] != '.') q--;
  return q;
}

void ut_htmst::code_page_fix(char* s) {
  // Code page 850 letters to their windows-1252 forms; a no-break space goes.
  char* o = s;
  for (char* p = s; *p; p++) {
    unsigned char c = (unsigned char)*p;
    switch (c) {
      case 129: c = 252; break;
      case 142: c = 196; break;
      case 148: c = 246; break;
      case 153: c = 214; break;
      case 154: c = 220; break;
      case 225: c = 223; break;
      case 132: c = 228; break;
      case 160: continue;
      default: break;
    }
    *o++ = (char)c;
  }
  *o = 0;
}

void ut_htmst::unescape(char* s) {
  char* o = s;
  for (char* p = s; *p;) {
    if (*p == '\\' && isdigit((unsigned char)p[1]) && isdigit((unsigned char)p[2]) &&
        isdigit((unsigned char)p[3])) {
      int v = (p[1] - '0') * 100 + (p[2] - '0') * 10 + (p[3] - '0');
      if (v == 160) {
        p += 4;
        continue;
      }
      if (v == 225 || v == 132 || v == 148 || v == 129 || v == 142 || v == 153 || v == 154) {
        *o++ = (char)v;
        p += 4;
        continue;
      }
    }
    *o++ = *p++;
  }
  *o = 0;
}

int ut_htmst::to_entities(const char* in, std::string& out, int skipping) {
  for (const char* p = in; *p; p++) {
    if (*p == '\n' && !strncmp(p, "\n[?+]", 5)) {
      skipping = 1;
      p += 4;
      continue;
    }
    if (skipping) {
      if (*p == '\n' && !strncmp(p, "\n[?-]", 5)) {
        skipping = 0;
        p += 4;
      }
      continue;
    }
    unsigned char c = (unsigned char)*p;
    switch (c) {
      case 16: case '>': out += "&gt;"; break;
      case 17: case '<': out += "&lt;"; break;
      case 225: out += "&beta;"; break;
      case 132: out += "&auml;"; break;
      case 148: out += "&ouml;"; break;
      case 129: out += "&uuml;"; break;
      case 142: out += "&Auml;"; break;
      case 153: out += "&Ouml;"; break;
      case 154: out += "&Uuml;"; break;
      case 30: out += "&#923;"; break;
      case 31: out += 'V'; break;
      case 218: case 191: case 192: case 217: case 201: case 187: case 200: case 188:
      case 195: case 180: case 194: case 193: case 197:
        out += '+';
        break;
      case 196: out += '-'; break;
      case 179: out += '|'; break;
      default: out += (char)c;
    }
  }
  return skipping;
}

void ut_htmst::clean_copy(char* out, const char* in, bool umlauts_too) {
  static const unsigned char drop[] = {130, 133, 132, 147, 145, 146, 148, 150, 151, 167, 173, 183};
  static const unsigned char drop2[] = {223, 228, 246, 252, 196, 214, 220};
  char* o = out;
  for (const char* p = in; *p; p++) {
    unsigned char c = (unsigned char)*p;
    if (memchr(drop, c, sizeof drop)) continue;
    if (umlauts_too && memchr(drop2, c, sizeof drop2)) continue;
    *o++ = (char)c;
  }
  *o = 0;
}

namespace {
// Text of HTML between p and end with tags left out and blanks folded.
std::string plain_text(const char* p, const char* end, bool* has_img) {
  std::string t;
  while (p < end && *p) {
    if (*p == '<') {
      if (has_img && !strncasecmp(p, "<img", 4)) *has_img = true;
      const char* gt = (const char*)memchr(p, '>', end - p);
      p = gt ? gt + 1 : end;
      continue;
    }
    if (!strncmp(p, "&nbsp;", 6)) {
      if (!t.empty() && t.back() != ' ') t += ' ';
      p += 6;
      continue;
    }
    char c = *p++;
    if (c == '\n' || c == '\r' || c == '\t') c = ' ';
    if (c == ' ' && (t.empty() || t.back() == ' ')) continue;
    t += c;
  }
  while (!t.empty() && t.back() == ' ') t.pop_back();
  return t;
}
}  // namespace

int ut_htmst::caption(const char* p, const char* end, char* out) {
  std::string t = plain_text(p, end, nullptr);
  *out = 0;
  if (t.empty() || !strchr("FBA", t[0])) return 0;
  size_t colon = t.find(':');
  size_t blank = t.find(' ');
  if (colon == std::string::npos) return 0;
  // The word and its number may stand before the colon ("Figure 3:").
  if (blank != std::string::npos && blank < colon) {
    size_t second = t.find(' ', blank + 1);
    if (second != std::string::npos && second < colon) return 0;
  }
  size_t b = colon + 1;
  while (b < t.size() && t[b] == ' ') b++;
  std::string c = t.substr(b, 250);
  memcpy(out, c.c_str(), c.size() + 1);
  return (int)c.size();
}

int ut_htmst::para_text(const char* p, const char* end, char* out, int max, bool cut) {
  const char* stop = p;
  while (stop < end && *stop && strncasecmp(stop, "</p", 3)) stop++;
  bool img = false;
  std::string t = plain_text(p, stop, &img);
  if (max == 0) {
    if (!t.empty()) return 1;
    return img ? 105 : 0;
  }
  if (t.empty() && img) {
    if (out) *out = 0;
    return 105;
  }
  if ((int)t.size() > max) {
    t.resize(max);
    if (cut) {
      size_t b = t.rfind(' ');
      if (b != std::string::npos && b > (size_t)max / 2) t.resize(b);
    }
    t += "...";
  }
  if (out) memcpy(out, t.c_str(), t.size() + 1);
  return (int)t.size();
}

int ut_htmst::cell_text(const char* p, const char* end, char* out, int max) {
  const char* stop = p;
  while (stop < end && *stop && strncasecmp(stop, "</td", 4)) stop++;
  std::string t = plain_text(p, stop, nullptr);
  if (max > 0 && (int)t.size() > max) t.resize(max);
  memcpy(out, t.c_str(), t.size() + 1);
  return (int)t.size();
}

std::string ut_htmst::version_of(const char* file) {
  char buf[64];
  snprintf(buf, sizeof buf, "%u.%u", (unsigned)safe_ut.file_size(file),
           (unsigned)safe_ut.file_time(file));
  return buf;
}

void ut_htmst::tab_cut(const char* in, const char* out) {
  std::string text = safe_ut.read_text(in);
  std::string res;
  size_t i = 0;
  while (i < text.size()) {
    size_t tr = text.find("<tr", i), te = text.find("</table>", i);
    if (tr == std::string::npos && te == std::string::npos) break;
    if (te < tr) {
      res += "</table>\n";
      i = te + 8;
      continue;
    }
    size_t end = text.find("</tr>", tr);
    if (end == std::string::npos) break;
    res.append(text, tr, end + 5 - tr);
    i = end + 5;
  }
  safe_ut.write_text(out, res);
}
