// A paragraph's layout reduced to a class, a left margin and a bullet, when
// a document is cut into pages (`norm_para`), and CSS lengths in points.
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

// Position behind "name:" when `p` holds the declaration name at a word
// start (after a blank, ";", a quote or at `first`); else null.
const char* decl_at(const char* first, const char* p, const char* name) {
  if (p > first && !(blank(p[-1]) || p[-1] == ';' || p[-1] == '\'' || p[-1] == '"')) return nullptr;
  size_t n = strlen(name);
  return strncmp(p, name, n) == 0 ? p + n : nullptr;
}

// The value of a declaration: up to ";", a quote or the end.
std::string decl_value(const char* p, const char* end) {
  const char* q = p;
  while (q < end && *q != ';' && *q != '\'' && *q != '"' && *q != '>') ++q;
  std::string v(p, q - p);
  while (!v.empty() && blank(v.back())) v.pop_back();
  size_t b = 0;
  while (b < v.size() && blank(v[b])) ++b;
  return v.substr(b);
}

// What the paragraph's tag says: the declarations kept, the left margin.
struct para_head {
  std::string align, top, bottom, color;
  int margin = 0;
};

// What stands ahead of the paragraph's text: entities count as a bullet
// and indentation steps, no-break spaces as half steps.
struct para_lead {
  int steps = 0, halves = 0;
  bool bullet = false, empty = false;
  char* r = nullptr;  // the first character of the text, or "</p"
};

// Reads the rest of the tag from `p`; returns its ">".
char* scan_tag(char* p, char* end, para_head& h) {
  char* q = p;
  for (; q < end && *q != '>'; ++q) {
    if (*q == 'f' && starts(q, "font-family")) {
      safe_ut.show_text("tag", p, upto(p, end, (int)(q - p) + 20));
      exut.fail(__LINE__, SRC, "System: norm_para: font-family in a paragraph tag");
    }
    const char* v;
    if ((v = decl_at(p, q, "align="))) {
      if (*v == '"' || *v == '\'') ++v;
      const char* w = v;
      while (w < end && isalpha((unsigned char)*w)) ++w;
      h.align.assign(v, w - v);
    } else if ((v = decl_at(p, q, "color:"))) {
      h.color = "color:" + decl_value(v, end);
    } else if ((v = decl_at(p, q, "margin-top:"))) {
      h.top = "margin-top:" + decl_value(v, end);
    } else if ((v = decl_at(p, q, "margin-bottom:"))) {
      h.bottom = "margin-bottom:" + decl_value(v, end);
    } else if ((v = decl_at(p, q, "margin-left:"))) {
      h.margin = ut_htm::to_points(decl_value(v, end).c_str());
    }
  }
  if (q >= end) {
    safe_ut.show_text("tag", p, upto(p, end, 100));
    exut.fail(__LINE__, SRC, "System: norm_para: no end of the paragraph tag");
  }
  return q;
}

// A paragraph that holds a shape: the shape's head is written, centred
// when it is placed horizontally.  Returns where the caller goes on.
char* shape_para(FILE* out, char* r, char* end, int& empties) {
  put(out, ">");
  empties = 100;
  char* pend = mem_find(r, end, "</p>");
  char* h = mem_find(r, pend ? pend : end, "horizontal:");
  if (h) {
    put(out, r, h + 10 - r);
    put(out, ":center");
    char* w = h + 11;
    while (w < end && *w != ';' && *w != '\'' && *w != '"') ++w;
    return w;
  }
  if (!pend) {
    safe_ut.show_text("shape", r, upto(r, end, 100));
    exut.fail(__LINE__, SRC, "System: norm_para: missing </p> behind <v:shape");
  }
  put(out, r, pend - r);
  return pend;
}

// At a "<" ahead of the text: a picture or a shape ends the paragraph's
// head at once (the position to go on is returned); other tags are passed
// over, a span's colour kept.  `stop` is set where the text begins.
char* lead_tag(FILE* out, char*& r, char* end, para_head& h, para_lead& lead, int& empties,
               bool& stop) {
  if (starts(r, "</p") || starts(r, "</P")) {
    lead.empty = stop = true;
    return nullptr;
  }
  if (starts(r, "<img") || starts(r, "<IMG")) {
    put(out, ">");
    return r;
  }
  if (starts(r, "<b>") || starts(r, "<:>")) {
    stop = true;
    return nullptr;
  }
  if (starts(r, "<v:shape")) return shape_para(out, r, end, empties);
  char* gt = static_cast<char*>(memchr(r + 1, '>', end - r - 1));
  if (!gt) {
    printf("\nDeadlock");
    safe_ut.show_text("Deadlock", r, upto(r, end, 100));
    exut.fail(__LINE__, SRC, "System: Deadlock");
  }
  if (starts(r, "<span")) {
    for (char* s = r + 5; s < gt; ++s) {
      const char* v = decl_at(r, s, "color:");
      if (v && h.color.empty()) h.color = "color:" + decl_value(v, gt);
    }
  }
  r = gt + 1;
  return nullptr;
}

// Scans the tags, blanks and entities ahead of the text.  Returns non-null
// when the paragraph's head is already complete.
char* scan_lead(FILE* out, char* text, char* end, para_head& h, para_lead& lead, int& empties) {
  char* r = text;
  while (r < end) {
    char c = *r;
    if (c == '<') {
      bool stop = false;
      if (char* done = lead_tag(out, r, end, h, lead, empties, stop)) return done;
      if (stop) break;
      continue;
    }
    if (blank(c)) {
      ++r;
      continue;
    }
    if (c == '&') {
      char* semi = static_cast<char*>(memchr(r, ';', end - r < 10 ? end - r : 10));
      if (!semi) break;
      if (starts(r, "&nbsp;") || lead.bullet)
        ++lead.steps;
      else
        lead.bullet = true;
      r = semi + 1;
      continue;
    }
    if ((unsigned char)c == 160) {
      ++lead.halves;
      ++r;
      continue;
    }
    if (isalnum((unsigned char)c) && r + 1 < end && (r[1] == ')' || (r + 2 < end && r[2] == ')'))) {
      lead.steps = 6;
      lead.halves = 0;
      lead.bullet = true;
    }
    break;
  }
  lead.r = r;
  return nullptr;
}

// The style of the paragraph, and its indentation level `L`.
std::string para_style(const para_head& h, const para_lead& lead, int& L) {
  int A = lead.steps + lead.halves / 2;
  L = A / 5;
  int M = ((h.margin + 9) / 18) * 18;
  if (L < M / 18) L = M / 18;
  static const char* const margins[] = {"",      ".325in",  ".65in", ".975in",
                                        "1.3in", "1.625in", "1.95in"};
  std::string style;
  auto add = [&style](const std::string& d) {
    if (d.empty()) return;
    if (!style.empty()) style += ';';
    style += d;
  };
  if (L > 0) {
    int k = L > 6 ? 6 : L;
    if (lead.bullet && M - 18 * L > 10 && L <= 3) ++k;
    add(std::string("margin-left:") + margins[k]);
    add("text-indent:-.325in");
  } else if (M > 0) {
    int k = M / 18 > 6 ? 6 : M / 18;
    add(std::string("margin-left:") + margins[k]);
  }
  if (!h.align.empty()) add("text-align:" + h.align);
  add(h.top);
  add(h.bottom);
  add(h.color);
  return style;
}

}  // namespace

char* ut_htm::norm_para(FILE* out, char* p, int classMargin, char* end) {
  if (!out || !p || !end) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: norm_para() without output or text");
  }
  para_head h;
  h.margin = classMargin;
  char* text = scan_tag(p, end, h) + 1;
  para_lead lead;
  if (char* done = scan_lead(out, text, end, h, lead, empties)) return done;
  int L = 0;
  std::string style = para_style(h, lead, L);
  if (!style.empty()) {
    put(out, " style='");
    put(out, style.c_str());
    put(out, "'");
  }
  put(out, ">");

  if (lead.empty) {
    if (empties >= 9)
      put(out, ".");
    else if (empties == 1 || empties == 2)
      put(out, "&nbsp;");
    --empties;
    return lead.r;
  }
  empties = 2;
  if (L == 0) return text;
  if (lead.bullet)
    put(out, L == 1 || L == 3 ? wingdings : "&#150;");
  else
    put(out, "&nbsp;&nbsp;");
  put(out, spacer);
  return lead.r;
}

int ut_htm::to_points(const char* text) {
  if (!text) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: to_points( NULL )");
  }
  float f = 0;
  int used = 0;
  if (sscanf(text, "%f%n", &f, &used) != 1 || f == 0) return 0;
  const char* u = text + used;
  while (*u && !isalpha((unsigned char)*u)) ++u;
  double v = f;
  switch (*u) {
    case 'p':
      if (u[1] == 'c') v *= 12;
      break;
    case 'g':
      break;
    case 'c':
      v /= 0.035146;
      break;
    case 'i':
      v /= 0.013837;
      break;
    default:
      exut.show_str("length", text);
      exut.fail(__LINE__, SRC, "System: to_points: unit not known in %s", text);
  }
  return (int)v;
}
