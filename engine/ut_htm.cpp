// The document engine: cleaning of word-processor HTML, paragraph heads,
// and the charset intake of snapshots.
#include "engine/ut_htm.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "runtime/exec_ut.h"
#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"
#include "runtime/str_set.h"

namespace {

const char* const SRC = "ut_htm";
const char* const work_file = "x_ers_schmutz";
const char* const page_head =
    "\n<html><head><LINK REL=stylesheet TYPE='text/css' href=1.css> <title></title></head>\n"
    "<body>\n";
const char* const wingdings = "<span style='font-family:Wingdings'>&#167;</span>";
const char* const spacer = " &nbsp; &nbsp; &nbsp;";

// clang-format off
// What pass two does at an element of its stop set (the element's `nr`).
enum Action {
  at_pre = 1, at_pair, at_anchor, at_ellipsis, at_dollar, at_section,
  at_del, at_b, at_cond, at_cond_comment, at_o, at_v, at_w, at_w_end, at_meta, at_xml,
  at_table, at_td, at_strike, at_span, at_ins_end, at_ins, at_li, at_ul, at_ul_end,
  at_li_end, at_b_end, at_img, at_p, at_font, at_semi
};

struct StopWord {
  const char* text;
  int action;
};

// The stop set of pass two for every kind but 'a'.  (The class of
// insertions, "class=msoIns", is removed by pass one.)  Besides the forms of
// the older word processors it holds a few that later versions write:
// "<a" with a line break, the "WordSection" division, "</w:" tags of
// content controls, and the upper-case list and picture tags of the
// oldest HTML export.
const StopWord stop_words[] = {
    {"<a ", at_anchor},          {"<a\n", at_anchor},
    {"<A ", at_anchor},          {"<A\n", at_anchor},
    {"&#133;", at_ellipsis},     {"$", at_dollar},
    {"<div class=Section", at_section}, {"<div class=WordSection", at_section},
    {"<del", at_del},            {"<b", at_b},
    {"<![", at_cond},            {"<!--[", at_cond_comment},
    {"<o:", at_o},               {"<v:", at_v},
    {"<w:", at_w},               {"</w:", at_w_end},
    {"<meta", at_meta},          {"<xml", at_xml},
    {"<table", at_table},        {"<td", at_td},
    {"<strike", at_strike},      {"<span", at_span},
    {"</ins", at_ins_end},       {"<ins", at_ins},
    {"<li", at_li},              {"<LI", at_li},
    {"<ul", at_ul},              {"<UL", at_ul},
    {"</ul>", at_ul_end},        {"</UL>", at_ul_end},
    {"</li>", at_li_end},        {"</LI>", at_li_end},
    {"</b>", at_b_end},          {"<img", at_img},
    {"<IMG", at_img},            {"<p ", at_p},
    {"Verdana", at_font},        {"Times New Roman", at_font},
    {"Tahoma", at_font},         {"CG Times", at_font},
    {"FF Info Office", at_font}, {"D_&#147;", at_semi},
    {"D_&#148;", at_semi},
};
// clang-format on

inline bool blank(char c) { return c == ' ' || c == '\n' || c == '\t' || c == '\r'; }

inline bool starts(const char* p, const char* s) { return strncmp(p, s, strlen(s)) == 0; }

// First occurrence of `needle` in [from, to), or null.
const char* mem_find(const char* from, const char* to, const char* needle) {
  if (to <= from) return nullptr;
  return static_cast<const char*>(memmem(from, to - from, needle, strlen(needle)));
}
char* mem_find(char* from, char* to, const char* needle) {
  return const_cast<char*>(mem_find((const char*)from, (const char*)to, needle));
}

// At most `n`, but no more characters than lie from `p` to `end`.
int upto(const char* p, const char* end, int n) { return end - p < n ? (int)(end - p) : n; }

void put(FILE* out, const char* p, long n) {
  if (n > 0) safe_ut.write_FILE(out, p, n);
}
void put(FILE* out, const char* s) { put(out, s, (long)strlen(s)); }

// The picture name of a path: from its last "/" (or "\") on, with the
// slash; a bare name gets one.
std::string pic_tail(const char* from, const char* to) {
  const char* t = to;
  while (t > from && t[-1] != '/' && t[-1] != '\\') --t;
  std::string r = "/";
  r.append(t, to - t);
  return r;
}

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

// Where a style attribute's declarations hide the element: "display"
// followed by "none", or "mso-hide:all".
bool hides(const char* v, const char* end) {
  for (const char* p = v; p + 8 <= end; ++p) {
    if (*p == 'd' && memcmp(p, "display:", 8) == 0) {
      const char* q = p + 8;
      while (q < end && blank(*q)) ++q;
      if (end - q >= 4 && memcmp(q, "none", 4) == 0) return true;
    } else if (*p == 'm' && end - p >= 12 && memcmp(p, "mso-hide:all", 12) == 0) {
      return true;
    }
  }
  return false;
}

// Whether a declaration name [d, colon) has the word `w` at its start or
// behind a "-".
bool has_word(const char* d, const char* colon, const char* w, int n) {
  for (const char* p = d; p + n <= colon; ++p)
    if (*p == *w && (p == d || p[-1] == '-') && memcmp(p, w, n) == 0) return true;
  return false;
}

// The declarations of a span's style that pass one keeps: those whose
// name has the word "font" or "color" (at its start or behind a "-"), each
// closed with ";".  A declaration is kept whole: "mso-bidi-font-size" stays
// what it is, a size the browser ignores, and does not become a second
// "font-size" that would override the first.
void kept_decls(const char* v, const char* end, std::string& kept) {
  kept.clear();
  const char* d = v;
  while (d < end) {
    const char* q = d;
    char quote = 0;
    while (q < end && (quote || *q != ';')) {
      if (*q == '"' || *q == '\'') quote = quote == *q ? 0 : (quote ? quote : *q);
      ++q;
    }
    while (d < q && blank(*d)) ++d;
    const char* colon = static_cast<const char*>(memchr(d, ':', q - d));
    if (colon && (has_word(d, colon, "font", 4) || has_word(d, colon, "color", 5))) {
      const char* t = q;
      while (t > d && blank(t[-1])) --t;
      kept.append(d, t - d);
      kept += ';';
    }
    d = q + 1;
  }
}

// The output file of a pass.  The pass closes it; when a failure leaves
// the pass, this closes it, so that no open file keeps the pass's buffer.
struct Output {
  FILE* f = nullptr;
  Output() = default;
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;
  ~Output() {
    if (!f) return;
    try {
      safe_ut.close_FILE(&f, SRC, __LINE__);
    } catch (...) {
    }
  }
};

}  // namespace

ut_htm::ut_htm() {}
ut_htm::~ut_htm() {}

void ut_htm::make_sets() {
  if (body_set_) return;
  body_set_ = std::make_unique<str_set>("body tags");
  for (const char* t : {"<body", "<BODY", "<Body"}) body_set_->insert(t);
  style_set_ = std::make_unique<str_set>("style block");
  int nr = 0;
  for (const char* t : {"<style", "<STYLE", "</style", "</STYLE", "{", "<body", "<BODY", "<Body"})
    style_set_->insert(t)->nr = ++nr;
  span_set_ = std::make_unique<str_set>("span tags");
  span_set_->insert("<span")->nr = 1;
  span_set_->insert("</span")->nr = 2;
  cond_set_ = std::make_unique<str_set>("conditions");
  cond_set_->insert("[if")->nr = 1;
  cond_set_->insert("[endif")->nr = 2;
}

void ut_htm::htm_check(const char* label, const char* file) {
  printf("\nno htmcheck: not a dir: %s\n", file ? file : "( null )");
}

// ----------------------------------------------------------------- helpers

void ut_htm::missing(rBuffer& rb, const char* token) {
  exut.show_str("missing", token);
  int n = upto(rb.z + rb.a, rb.z + rb.e, 60);
  if (n > 0) safe_ut.show_text("at", rb.z + rb.a, n);
  errno = err::corrupted_data;
  exut.fail(__LINE__, SRC, "System: ers_schmutz( %s ): missing %s, the file seems damaged", file_,
            token);
}

void ut_htm::unknown(rBuffer& rb) {
  int n = upto(rb.z + rb.a, rb.z + rb.e, 10);
  char ten[16];
  snprintf(ten, sizeof ten, "%.*s", n, rb.z + rb.a);
  exut.show_str("tag", ten);
  exut.fail(__LINE__, SRC, "System: ers_schmutz( %s ): tag not known: %s", file_, ten);
}

// Index of the ">" that ends the tag at or after `from`, within the window.
// A quoted attribute value may hold a ">".
int ut_htm::tag_end(rBuffer& rb, int from, const char* what) {
  const char* z = rb.z;
  for (int i = from; i < rb.e; ++i) {
    char c = z[i];
    if (c == '>') return i;
    if ((c == '"' || c == '\'') && i > from && z[i - 1] == '=') {
      const char* q = static_cast<const char*>(memchr(z + i + 1, c, rb.e - i - 1));
      if (!q) break;
      i = (int)(q - z);
    }
  }
  missing(rb, what);
}

// Drops the text from `a` + `skip` through `token`.
void ut_htm::drop_through(rBuffer& rb, int skip, const char* token) {
  rb.a += skip;
  if (!rb.find(0, token, nullptr)) missing(rb, token);
  rb.a += (int)strlen(token);
}

// Drops a conditional block that opened at `a`, counting "[if" and
// "[endif" for nesting, through the ">" of its last "[endif".
void ut_htm::drop_nested(rBuffer& rb, int skip) {
  rb.a += skip;
  int depth = 1;
  while (depth > 0) {
    str_el* el = rb.find(0, *cond_set_, nullptr);
    if (!el) missing(rb, "<![endif]");
    if (el->nr == 1) {
      ++depth;
      rb.a += 3;
    } else {
      --depth;
      rb.a += 6;
    }
  }
  rb.a = tag_end(rb, rb.a, "> of <![endif]") + 1;
}

// Writes the picture tag at `img` as `lead`, the tag up to its "src=", and
// the source pointing into "pic".  Sets `a` behind the tag.
void ut_htm::write_picture(rBuffer& rb, FILE* out, int img, const char* lead) {
  char* z = rb.z;
  int gt = tag_end(rb, img, "> of <img");
  char* src = nullptr;
  for (char* p = z + img + 4; p + 4 <= z + gt; ++p) {
    if ((p[0] == 's' || p[0] == 'S') && strncasecmp(p, "src=", 4) == 0 && blank(p[-1])) {
      src = p;
      break;
    }
  }
  if (!src) {
    rb.a = img;
    missing(rb, "src=");
  }
  char* v = src + 4;
  char* ve;
  if (*v == '"' || *v == '\'') {
    ve = static_cast<char*>(memchr(v + 1, *v, z + gt - v - 1));
    if (!ve) ve = z + gt;
    ++v;
  } else {
    ve = v;
    while (ve < z + gt && !blank(*ve)) ++ve;
  }
  put(out, lead);
  put(out, z + img, src + 4 - (z + img));
  put(out, "\"pic");
  put(out, pic_tail(v, ve).c_str());
  put(out, "\">");
  rb.a = gt + 1;
}

// The passes write many small pieces: a large buffer saves system calls.
void ut_htm::big_buffer(FILE* out) {
  if (!out_buf_) out_buf_ = std::make_unique<char[]>(out_buf_size);
  setvbuf(out, out_buf_.get(), _IOFBF, out_buf_size);
}

// ------------------------------------------------------------ hide_styles

int ut_htm::hide_styles(str_set& set, const char* file) {
  make_sets();
  rBuffer rb(file, "");
  int plain = 0;
  bool in_style = false;
  rb.s2 = 0;
  while (str_el* el = rb.find(0, *style_set_, nullptr)) {
    int nr = el->nr;
    if (nr >= 6) break;  // <body
    if (nr <= 2) {       // <style
      in_style = true;
      rb.a = tag_end(rb, rb.a, "> of <style") + 1;
      rb.s2 = rb.a;
      continue;
    }
    if (nr <= 4) {  // </style
      in_style = false;
      rb.a += 7;
      continue;
    }
    // "{": the selector runs from the end of the rule before.
    int open = rb.a;
    const char* z = rb.z;
    const char* close = static_cast<const char*>(memchr(z + open, '}', rb.e - open));
    const char* body_end = close ? close : z + rb.e;
    if (in_style) {
      bool none = false;
      for (const char* d = mem_find(z + open, body_end, "display:"); d && !none;
           d = mem_find(d + 1, body_end, "display:")) {
        const char* q = d + 8;
        while (q < body_end && blank(*q)) ++q;
        none = body_end - q >= 4 && strncmp(q, "none", 4) == 0;
      }
      if (!none) {
        ++plain;
      } else {
        // The selector: behind the last comment, split at commas.
        int from = rb.s2 < open ? rb.s2 : open;
        std::string sel(z + from, open - from);
        for (const char* mark : {"*/", "<!--"}) {
          size_t c = sel.rfind(mark);
          if (c != std::string::npos) sel.erase(0, c + strlen(mark));
        }
        size_t b = 0;
        while (b <= sel.size()) {
          size_t comma = sel.find(',', b);
          if (comma == std::string::npos) comma = sel.size();
          std::string one = sel.substr(b, comma - b);
          size_t i = 0, j = one.size();
          while (i < j && blank(one[i])) ++i;
          while (j > i && blank(one[j - 1])) --j;
          one = one.substr(i, j - i);
          if (one.size() == 2 && (one[0] == 'h' || one[0] == 'H') && one[1] >= '1' &&
              one[1] <= '6') {
            std::string key = "<h";
            key += one[1];
            if (!set.find_el(key.c_str())) set.insert(key.c_str())->nr = hidden_heading;
          }
          b = comma + 1;
        }
      }
    }
    rb.a = close ? (int)(close - z) + 1 : rb.e;
    rb.s2 = rb.a;
  }
  return plain;
}

// ------------------------------------------------------------ ers_schmutz

void ut_htm::ers_schmutz(const char* file, long textSize, const char* pairs, int kind) {
  if (!file || !pairs) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: ers_schmutz() needs a file and pairs");
  }
  if (strlen(pairs) % 2) {
    exut.show_str("pairs", pairs);
    exut.fail(__LINE__, SRC, "System: ers_schmutz( %s ): pairs of odd length", file);
  }
  htm_check("ers_schmutz", file);
  file_ = file;
  make_sets();
  drop_ins_class_ = kind != 'a';

  str_set stops("ers_schmutz");
  spans_pass(file, stops);

  stops.insert("<pre")->nr = at_pre;
  for (const char* p = pairs; *p; p += 2) {
    char key[3] = {'\n', p[0], 0};
    str_el* el = stops.insert(key);
    el->nr = at_pair;
    el->kind = (unsigned char)p[1];
  }
  if (kind != 'a')
    for (const StopWord& w : stop_words) stops.insert(w.text)->nr = w.action;
  tags_pass(file, stops, pairs);
  safe_ut.remove_file(work_file);

  const char* base = safe_ut.file_part(file);
  if (base && isdigit((unsigned char)*base) && safe_ut.file_size(file) == 0) {
    exut.show_int("textSize", textSize);
    exut.fail(__LINE__, SRC, "System: ers_schmutz( %s ): the cleaned file is empty", file);
  }
  htm_check("ers_schmutz", file);
}

// Pass one: the body is copied to the work file, each <span> rebuilt.
void ut_htm::spans_pass(const char* file, str_set& stops) {
  hide_styles(stops, file);
  Output out;
  bool body = false;
  {
    rBuffer rb(file, work_file, &out.f, "");
    big_buffer(out.f);
    if (rb.find(0, *body_set_, nullptr)) {
      body = true;
      rb.a = tag_end(rb, rb.a, "> of <body") + 1;
      put(out.f, page_head);
      while (rb.find(0, "<span", out.f)) span_tag(rb, out.f);
    }
  }
  safe_ut.close_FILE(&out.f, SRC, __LINE__);
  if (!body) safe_ut.copy_file(work_file, file);
}

// At "<span": a deleted or hidden span goes with its contents; any other
// keeps its attributes but only the font and colour declarations of its
// style.  A double-quoted style that starts with "mso-space" is left for
// pass two, which turns its blanks into fixed spaces.  The class of an
// insertion ("class=msoIns"), which pass two would remove for all kinds
// but 'a', is left out here already: it only stands in span tags, and the
// text of a document is full of "c", which would make pass two stop at
// every one of them.
void ut_htm::span_tag(rBuffer& rb, FILE* out) {
  char* z = rb.z;
  int i = rb.a;
  char c = z[i + 5];
  if (!(blank(c) || c == '>')) {
    put(out, "<span", 5);
    rb.a = i + 5;
    return;
  }
  int gt = tag_end(rb, i, "> of <span");
  struct Attr {
    int from, to;    // the whole attribute
    int vfrom, vto;  // its value without quotes
    char quote;
  };
  Attr attrs[24];
  int n = 0, style = -1, ins = -1;
  int p = i + 5;
  while (p < gt && n < 24) {
    while (p < gt && blank(z[p])) ++p;
    if (p >= gt) break;
    Attr& at = attrs[n];
    at.from = p;
    while (p < gt && !blank(z[p]) && z[p] != '=') ++p;
    int name_end = p;
    at.vfrom = at.vto = p;
    at.quote = 0;
    if (p < gt && z[p] == '=') {
      ++p;
      if (z[p] == '"' || z[p] == '\'') {
        at.quote = z[p];
        const char* q = static_cast<const char*>(memchr(z + p + 1, z[p], gt - p - 1));
        at.vfrom = p + 1;
        at.vto = q ? (int)(q - z) : gt;
        p = q ? at.vto + 1 : gt;
      } else {
        at.vfrom = p;
        while (p < gt && !blank(z[p])) ++p;
        at.vto = p;
      }
    }
    at.to = p;
    if (name_end - at.from == 5) {
      const char* name = z + at.from;
      const char* v = z + at.vfrom;
      int vl = at.vto - at.vfrom;
      if ((name[0] | 0x20) == 'c' && strncasecmp(name, "class", 5) == 0) {
        if (vl == 6 && strncasecmp(v, "msoDel", 6) == 0) {
          drop_span(rb, gt + 1);
          return;
        }
        if (drop_ins_class_ && vl == 6 && at.quote == 0 &&
            (memcmp(v, "msoIns", 6) == 0 || memcmp(v, "MsoIns", 6) == 0))
          ins = n;
      } else if ((name[0] | 0x20) == 's' && strncasecmp(name, "style", 5) == 0) {
        style = n;
      }
    }
    ++n;
  }
  std::string& kept = scratch_;
  kept.clear();
  if (style >= 0) {
    const Attr& st = attrs[style];
    if (hides(z + st.vfrom, z + st.vto)) {
      drop_span(rb, gt + 1);
      return;
    }
    if (st.quote == '"' && starts(z + st.vfrom, "mso-space"))
      style = ins = -1;
    else
      kept_decls(z + st.vfrom, z + st.vto, kept);
  }
  if (style < 0 && ins < 0) {
    put(out, z + i, gt + 1 - i);
    rb.a = gt + 1;
    return;
  }
  for (char& k : kept)
    if (k == '\'') k = '"';
  std::string& tag = scratch2_;
  tag.assign("<span");
  for (int k = 0; k < n; ++k) {
    if (k == style) {
      if (!kept.empty()) {
        tag += " style='";
        tag += kept;
        tag += '\'';
      }
    } else if (k != ins) {
      tag += ' ';
      tag.append(z + attrs[k].from, attrs[k].to - attrs[k].from);
    }
  }
  tag += '>';
  put(out, tag.data(), (long)tag.size());
  rb.a = gt + 1;
}

// Drops a span from behind its start tag through its matching end tag.
void ut_htm::drop_span(rBuffer& rb, int from) {
  rb.a = from;
  int depth = 1;
  while (depth > 0) {
    str_el* el = rb.find(0, *span_set_, nullptr);
    if (!el) missing(rb, "</span>");
    if (el->nr == 1) {
      char c = rb.z[rb.a + 5];
      if (blank(c) || c == '>') ++depth;
      rb.a += 5;
    } else {
      --depth;
      rb.a = tag_end(rb, rb.a, "> of </span") + 1;
    }
  }
}

// --------------------------------------------------------------- pass two

void ut_htm::tags_pass(const char* file, str_set& stops, const char* pairs) {
  Output out;
  {
    // The prefix lets a line-start pair match on the first line as well;
    // it is not copied unless such a line is there.
    rBuffer rb(work_file, file, &out.f, "\n");
    big_buffer(out.f);
    // Nothing was read before the text: looking back finds no tag there.
    memset(rb.z + rb.low, 0, -rb.low);
    bool first_pair = false;
    for (const char* p = pairs; *p; p += 2)
      if (rb.e > 1 && rb.z[1] == p[0]) first_pair = true;
    if (!first_pair) rb.a = 1;
    int copy = 0;
    while (str_el* el = rb.find(copy, stops, out.f)) copy = at_tag(rb, out.f, el);
    if (rb.a < rb.e) rb.copy_rest(out.f);
  }
  safe_ut.close_FILE(&out.f, SRC, __LINE__);
}

// One stop of pass two: `a` stands on the element that was found.  Returns
// how many characters at `a` are to be copied as they are: they go out
// with the text that the next search passes over.
int ut_htm::at_tag(rBuffer& rb, FILE* out, const str_el* el) {
  char* z = rb.z;
  int i = rb.a;
  int arg = el->kind;
  switch (el->nr) {
    case at_pre:
      return at_pre_tag(rb, out);
    case at_pair:
      if (arg == '\n') {  // the line with the line feed in front of it
        if (!rb.find(1, "\n", nullptr)) rb.a = rb.e;
      } else {
        put(out, "\n", 1);
        drop_through(rb, 1, std::string(1, (char)arg).c_str());
      }
      return 0;
    case at_anchor:
      return at_a(rb, out);
    case at_ellipsis:
      rb.a += 6;
      return 0;
    case at_dollar:
      if (!bold) return 1;
      put(out, "<$>", 3);
      return 1;
    case at_section:
    case at_meta:
    case at_ins:
    case at_ins_end:
    case at_w_end:
      rb.a = tag_end(rb, i, "> of a tag") + 1;
      return 0;
    case at_del:
      drop_through(rb, 4, "</del>");
      return 0;
    case at_strike:
      drop_through(rb, 7, "</strike>");
      return 0;
    case at_xml:
      drop_through(rb, 4, "</xml>");
      return 0;
    case at_w:
      if (starts(z + i, "<w:data"))
        drop_through(rb, 7, "</w:data>");
      else  // content controls and the like: the tag goes, the text stays
        rb.a = tag_end(rb, i, "> of <w:") + 1;
      return 0;
    case at_b:
      return at_b_tag(rb, out);
    case at_b_end:
      bold = false;
      return 4;
    case at_cond:
      return at_cond_tag(rb, out);
    case at_cond_comment:
      return at_comment(rb, out);
    case at_o:
      at_o_tag(rb);
      return 0;
    case at_v:
      return at_v_tag(rb, out);
    case at_table: {
      int gt = tag_end(rb, i, "> of <table");
      int p = i;
      for (char* m = mem_find(z + p, z + gt, "margin-left:"); m;
           m = mem_find(z + p, z + gt, "margin-left:")) {
        put(out, z + p, m - (z + p));
        char* q = m;
        while (q < z + gt && *q != ';' && *q != '\'' && *q != '"') ++q;
        if (q < z + gt && *q == ';') ++q;
        p = (int)(q - z);
      }
      rb.a = p;
      return gt + 1 - p;
    }
    case at_td:
      paras_in_cell = 0;
      return 3;
    case at_span:
      return at_span_tag(rb, out);
    case at_li: {
      char c = z[i + 3];
      if (blank(c) || c == '>') {
        put(out, "<p>");
        put(out, wingdings);
        put(out, "<span>");
        put(out, spacer);
        put(out, "</span>");
        rb.a = tag_end(rb, i, "> of <li") + 1;
        return 0;
      }
      if (starts(z + i, "<link")) {
        rb.a = tag_end(rb, i, "> of <link") + 1;
        return 0;
      }
      if (z[i + 1] == 'L') return 3;  // "<LINK" of the page head, and the like
      unknown(rb);
    }
    case at_li_end:
      put(out, "</p>", 4);
      rb.a += 5;
      return 0;
    case at_ul: {
      char c = z[i + 3];
      if (!(blank(c) || c == '>')) {
        if (z[i + 1] == 'U') return 3;
        unknown(rb);
      }
      rb.a = tag_end(rb, i, "> of <ul") + 1;
      return 0;
    }
    case at_ul_end:
      rb.a += 5;
      return 0;
    case at_img:
      write_picture(rb, out, i, "\n");
      return 0;
    case at_p:
      return at_p_tag(rb, out);
    case at_font:
      put(out, "Arial", 5);
      rb.a += el->L;
      return 0;
    case at_semi:
      at_semi_title(rb, out);
      return 0;
    case hidden_heading: {
      char c = z[i + 3];
      if (!(blank(c) || c == '>')) return 3;
      char end_tag[6] = {'<', '/', 'h', z[i + 2], '>', 0};
      drop_through(rb, 3, end_tag);
      return 0;
    }
    default:
      unknown(rb);
  }
}

// "<pre": copied; a "<br/>" right behind it is passed over.  (One behind
// the tags that follow it is passed over where "<b" stops the scan.)
int ut_htm::at_pre_tag(rBuffer& rb, FILE* out) {
  int gt = tag_end(rb, rb.a, "> of <pre");
  put(out, rb.z + rb.a, gt + 1 - rb.a);
  rb.a = gt + 1;
  while (starts(rb.z + rb.a, "<br/>")) rb.a += 5;
  return 0;
}

// Whether only tags stand between the "<pre" tag before `a` and `a`.  The
// text read before `a` is still in the window.
static bool behind_pre(const rBuffer& rb) {
  const char* z = rb.z;
  int floor = rb.a - 1000 > rb.low ? rb.a - 1000 : rb.low;
  int k = rb.a;
  while (k > floor && z[k - 1] == '>') {
    int t = k - 2;
    while (t >= floor && z[t] != '<') --t;
    if (t < floor) return false;
    if (starts(z + t, "<pre")) return true;
    k = t;
  }
  return false;
}

// "<a ": Word's own bookmarks go; others are copied in lower case.
int ut_htm::at_a(rBuffer& rb, FILE* out) {
  char* z = rb.z;
  int i = rb.a;
  bool upper = z[i + 1] == 'A';
  if (!upper && (starts(z + i + 3, "name=\"_Toc") || starts(z + i + 3, "name=\"_Ref") ||
                 starts(z + i + 3, "name=\"_Hlt"))) {
    int gt = tag_end(rb, i, "> of <a");
    if (starts(z + gt + 1, "</a>")) {
      rb.a = gt + 5;
    } else {
      put(out, "<a name=\"_\">");
      rb.a = gt + 1;
    }
    return 0;
  }
  if (!upper && z[i + 2] == ' ') return 3;
  put(out, "<a ", 3);
  rb.a = i + 3;
  if (upper && z[i + 3] == 'H') {
    put(out, "h", 1);
    rb.a += 1;
  }
  return 0;
}

// "<b": bold on at <b>; <br> loses its attributes; the body tag of the
// work file stays; any other <b... tag goes.
int ut_htm::at_b_tag(rBuffer& rb, FILE* out) {
  char* z = rb.z;
  int i = rb.a;
  char c = z[i + 2];
  if (c == '>') {
    bold = true;
    return 3;
  }
  if (c == 'r' && blank(z[i + 3])) {
    put(out, "<br>", 4);
    rb.a = tag_end(rb, i, "> of <br") + 1;
    return 0;
  }
  if (c == 'r' && z[i + 3] == '/' && z[i + 4] == '>' && behind_pre(rb)) {
    rb.a += 5;
    return 0;
  }
  if (c == 'r' && (z[i + 3] == '>' || z[i + 3] == '/')) return 3;
  if (starts(z + i, "<body")) return 5;
  rb.a = tag_end(rb, i, "> of <b") + 1;
  return 0;
}

// "<![": the conditions of downlevel-revealed blocks.
int ut_htm::at_cond_tag(rBuffer& rb, FILE* out) {
  char* z = rb.z;
  int i = rb.a;
  char* p = z + i;
  if (starts(p, "<![if !vml")) {
    char* endif = mem_find(p, z + rb.e, "<![endif]");
    char* img = mem_find(p, endif ? endif : z + rb.e, "<img");
    if (img) {
      put(out, "<br/>");
      write_picture(rb, out, (int)(img - z), "");
    }
    drop_through(rb, 0, "<![endif]");
    rb.a = tag_end(rb, rb.a, "> of <![endif]") + 1;
  } else if (starts(p, "<![if !supportLists") || starts(p, "<![if !mso") || starts(p, "<![endif")) {
    rb.a = tag_end(rb, i, "> of <![") + 1;
  } else if (starts(p, "<![if !support")) {
    if (starts(p, "<![if !supportEmptyParas")) put(out, "&nbsp;");
    drop_through(rb, 3, "<![endif]");
    rb.a = tag_end(rb, rb.a, "> of <![endif]") + 1;
  } else if (starts(p, "<![if")) {  // any other condition: its text is shown
    rb.a = tag_end(rb, i, "> of <![if") + 1;
  } else {
    unknown(rb);
  }
  return 0;
}

// "<!--[": downlevel-hidden blocks.
int ut_htm::at_comment(rBuffer& rb, FILE* out) {
  char* p = rb.z + rb.a;
  if (starts(p, "<!--[if gte mso") && !starts(p, "<!--[if gte mso 9]><xml>")) {
    rb.a += 5;
    if (!rb.find(0, "-->", nullptr)) missing(rb, "-->");
    return 3;  // the "-->" itself is copied
  }
  if (starts(p, "<!--[if")) {
    // "gte vml 1", and the forms of later versions: field codes
    // ("supportFields") and the bookmark data of fields in the text
    // ("gte mso 9" with <xml>), which would otherwise leave a "-->".
    drop_nested(rb, 7);
    return 0;
  }
  unknown(rb);
}

// "<o:": office elements go, with their contents unless they close
// themselves.
void ut_htm::at_o_tag(rBuffer& rb) {
  char* z = rb.z;
  int i = rb.a;
  if (starts(z + i, "<o:p></o:p>")) {
    rb.a += 11;
    return;
  }
  int gt = tag_end(rb, i, "> of <o:");
  if (z[gt - 1] == '/') {
    rb.a = gt + 1;
    return;
  }
  char end_tag[48] = "</o:";
  int n = 4;
  for (int k = i + 3; k < gt && !blank(z[k]) && n < 46; ++k) end_tag[n++] = z[k];
  end_tag[n] = 0;
  rb.a = gt + 1;
  drop_through(rb, 0, end_tag);
  rb.a = tag_end(rb, rb.a, end_tag) + 1;
}

// "<v:": a shape with a picture keeps its head and points into "pic";
// other picture elements go; the rest is copied.
int ut_htm::at_v_tag(rBuffer& rb, FILE* out) {
  char* z = rb.z;
  int i = rb.a;
  int gt = tag_end(rb, i, "> of <v:");
  if (z[gt - 1] == '/') {  // an element of its own: its end is its tag's
    if (!mem_find(z + i + 3, z + gt, "src=")) return 3;
    rb.a = gt + 1;
    return 0;
  }
  char* close = mem_find(z + i + 3, z + rb.e, "</v:");
  char* src = mem_find(z + i + 3, close ? close : z + rb.e, "src=");
  if (!src) return 3;
  if (!close) missing(rb, "</v:");
  if (starts(z + i, "<v:shape") && (blank(z[i + 8]) || z[i + 8] == '>')) {
    int head_end = gt;
    char* v = src + 4;
    char* ve;
    if (*v == '"' || *v == '\'') {
      ve = static_cast<char*>(memchr(v + 1, *v, close - v - 1));
      if (!ve) missing(rb, "the quote of src=");
      ++v;
    } else {
      ve = v;
      while (ve < close && !blank(*ve) && *ve != '>' && *ve != '/') ++ve;
    }
    put(out, z + i, head_end - i);
    put(out, " src=\"pic");
    put(out, pic_tail(v, ve).c_str());
    put(out, "\"/></v:shape>");
    rb.a = gt + 1;
    if (!rb.find(0, "</p>", nullptr)) missing(rb, "</p>");
    return 0;
  }
  rb.a = (int)(close - z);
  rb.a = tag_end(rb, rb.a, "> of </v:") + 1;
  return 0;
}

// "<span" in pass two: empty spans go; runs of blanks become fixed spaces.
int ut_htm::at_span_tag(rBuffer& rb, FILE* out) {
  char* z = rb.z;
  int i = rb.a;
  if (starts(z + i, "<span></span>")) {
    rb.a += 13;
    return 0;
  }
  if (starts(z + i, "<span style=\"mso-space") || starts(z + i, "<span style='mso-space")) {
    int gt = tag_end(rb, i, "> of <span");
    char* close = mem_find(z + gt, z + rb.e, "</span>");
    if (close && !memchr(z + gt + 1, '<', close - (z + gt + 1))) {
      int blanks = 0;
      for (char* p = z + gt + 1; p < close; ++p)
        if (*p == ' ' || *p == '\n') ++blanks;
      for (int k = 0; k < blanks / 2; ++k) put(out, " &nbsp;", 7);
      if (blanks % 2) put(out, "&nbsp;", 6);
      for (char* p = z + gt + 1; p < close; ++p)
        if (*p != ' ' && *p != '\n') put(out, p, 1);
      rb.a = (int)(close - z) + 7;
      return 0;
    }
  }
  return 5;
}

// "<p ": Word's table of contents goes; a paragraph with a picture is
// reduced to the picture; an unclassed paragraph gets class 0.
int ut_htm::at_p_tag(rBuffer& rb, FILE* out) {
  char* z = rb.z;
  int i = rb.a;
  if (starts(z + i, "<p class=MsoToc")) {
    drop_through(rb, 3, "</p>");
    return 0;
  }
  // The first picture before the paragraph's end, if that is in sight.
  char* img = nullptr;
  char* end = z + rb.e;
  char* q = z + i;
  while ((q = static_cast<char*>(memchr(q + 1, '<', end - q - 1)))) {
    if (q[1] == '/' && q[2] == 'p') break;
    if (!img && (q[1] | 0x20) == 'i' && strncasecmp(q, "<img", 4) == 0) img = q;
  }
  if (q) {
    if (img) {
      put(out, "\n<p>", 4);
      write_picture(rb, out, (int)(img - z), "\n");
      drop_through(rb, 0, "</p>");
      put(out, "</p>", 4);
      return 0;
    }
  }
  if (starts(z + i, "<p style")) {
    put(out, "<p class=0 ", 11);
    rb.a += 3;
    return 0;
  }
  ++paras_in_cell;
  return 3;
}

// "D_&#147;" (a typographic quote behind the prefix of a document name):
// rewritten to "D_(name)".
void ut_htm::at_semi_title(rBuffer& rb, FILE* out) {
  char* z = rb.z;
  int i = rb.a;
  char* from = z + i + 8;
  char* to = z + rb.e;
  char* stop = nullptr;
  int skip = 0;
  for (const char* t : {"&#148;", "&#147;", "</p>", "</P>"}) {
    char* h = mem_find(from, stop ? stop : to, t);
    if (h) {
      stop = h;
      skip = t[0] == '&' ? 6 : 0;
    }
  }
  if (!stop) {  // no end in sight: the text stays as it is
    put(out, "D_");
    rb.a += 2;
    return;
  }
  while (from < stop && blank(*from)) ++from;
  put(out, "D_(");
  put(out, from, stop - from);
  put(out, ")");
  rb.a = (int)(stop - z) + skip;
}

// --------------------------------------------------------------- norm_para

char* ut_htm::norm_para(FILE* out, char* p, int classMargin, char* end) {
  if (!out || !p || !end) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: norm_para() without output or text");
  }
  std::string align, top, bottom, color;
  int margin = classMargin;

  // The rest of the tag.
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
      align.assign(v, w - v);
    } else if ((v = decl_at(p, q, "color:"))) {
      color = "color:" + decl_value(v, end);
    } else if ((v = decl_at(p, q, "margin-top:"))) {
      top = "margin-top:" + decl_value(v, end);
    } else if ((v = decl_at(p, q, "margin-bottom:"))) {
      bottom = "margin-bottom:" + decl_value(v, end);
    } else if ((v = decl_at(p, q, "margin-left:"))) {
      margin = to_points(decl_value(v, end).c_str());
    }
  }
  if (q >= end) {
    safe_ut.show_text("tag", p, upto(p, end, 100));
    exut.fail(__LINE__, SRC, "System: norm_para: no end of the paragraph tag");
  }
  char* text = q + 1;

  // Leading tags, blanks and entities: bullets and indentation.
  int steps = 0, halves = 0;
  bool bullet = false, empty = false;
  char* r = text;
  while (r < end) {
    char c = *r;
    if (c == '<') {
      if (starts(r, "</p") || starts(r, "</P")) {
        empty = true;
        break;
      }
      if (starts(r, "<img") || starts(r, "<IMG")) {
        put(out, ">");
        return r;
      }
      if (starts(r, "<b>") || starts(r, "<:>")) break;
      if (starts(r, "<v:shape")) {
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
      char* gt = static_cast<char*>(memchr(r + 1, '>', end - r - 1));
      if (!gt) {
        printf("\nDeadlock");
        safe_ut.show_text("Deadlock", r, upto(r, end, 100));
        exut.fail(__LINE__, SRC, "System: Deadlock");
      }
      if (starts(r, "<span")) {
        for (char* s = r + 5; s < gt; ++s) {
          const char* v = decl_at(r, s, "color:");
          if (v && color.empty()) color = "color:" + decl_value(v, gt);
        }
      }
      r = gt + 1;
      continue;
    }
    if (blank(c)) {
      ++r;
      continue;
    }
    if (c == '&') {
      char* semi = static_cast<char*>(memchr(r, ';', end - r < 10 ? end - r : 10));
      if (!semi) break;
      if (starts(r, "&nbsp;") || bullet)
        ++steps;
      else
        bullet = true;
      r = semi + 1;
      continue;
    }
    if ((unsigned char)c == 160) {
      ++halves;
      ++r;
      continue;
    }
    if (isalnum((unsigned char)c) && r + 1 < end && (r[1] == ')' || (r + 2 < end && r[2] == ')'))) {
      steps = 6;
      halves = 0;
      bullet = true;
    }
    break;
  }

  int A = steps + halves / 2;
  int L = A / 5;
  int M = ((margin + 9) / 18) * 18;
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
    if (bullet && M - 18 * L > 10 && L <= 3) ++k;
    add(std::string("margin-left:") + margins[k]);
    add("text-indent:-.325in");
  } else if (M > 0) {
    int k = M / 18 > 6 ? 6 : M / 18;
    add(std::string("margin-left:") + margins[k]);
  }
  if (!align.empty()) add("text-align:" + align);
  add(top);
  add(bottom);
  add(color);
  if (!style.empty()) {
    put(out, " style='");
    put(out, style.c_str());
    put(out, "'");
  }
  put(out, ">");

  if (empty) {
    if (empties >= 9)
      put(out, ".");
    else if (empties == 1 || empties == 2)
      put(out, "&nbsp;");
    --empties;
    return r;
  }
  empties = 2;
  if (L == 0) return text;
  if (bullet)
    put(out, L == 1 || L == 3 ? wingdings : "&#150;");
  else
    put(out, "&nbsp;&nbsp;");
  put(out, spacer);
  return r;
}

// --------------------------------------------------------------- to_points

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

// ----------------------------------------------------------- charset intake

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

// Decodes what can be decoded of [p, end) into `o`; returns the bytes
// used.  An incomplete sequence at the end is left for the next block
// unless `last`.
size_t decode(Charset cs, const unsigned char* p, const unsigned char* end, bool last,
              std::string& o, bool& first) {
  const unsigned char* s = p;
  auto emit = [&](unsigned u) {
    if (first && u == 0xFEFF) {  // the byte-order mark
      first = false;
      return;
    }
    first = false;
    put1252(o, u);
  };
  if (cs == Charset::mac) {
    for (; s < end; ++s) emit(*s < 0x80 ? *s : mac_roman_high[*s - 0x80]);
    return s - p;
  }
  if (cs == Charset::utf8) {
    while (s < end) {
      unsigned c = *s;
      if (c < 0x80) {
        emit(c);
        ++s;
        continue;
      }
      int n = c >= 0xF0 && c <= 0xF4 ? 3 : c >= 0xE0 ? 2 : c >= 0xC2 && c < 0xE0 ? 1 : -1;
      if (n > 0 && end - s <= n && !last) {
        bool ok = true;  // an incomplete but valid start: wait for more
        for (const unsigned char* t = s + 1; t < end; ++t) ok = ok && (*t & 0xC0) == 0x80;
        if (ok) break;
      }
      unsigned u = 0;
      bool ok = n > 0 && end - s > n;
      if (ok) {
        u = c & (0x3F >> n);
        for (int k = 1; k <= n && ok; ++k) {
          ok = (s[k] & 0xC0) == 0x80;
          u = (u << 6) | (s[k] & 0x3F);
        }
        ok = ok && !(n == 2 && u < 0x800) && !(n == 3 && (u < 0x10000 || u > 0x10FFFF)) &&
             !(u >= 0xD800 && u <= 0xDFFF);
      }
      if (ok) {
        emit(u);
        s += n + 1;
      } else {  // not UTF-8: the byte is taken as it stands
        first = false;
        o += (char)c;
        ++s;
      }
    }
    return s - p;
  }
  bool le = cs == Charset::utf16le;
  auto unit = [le](const unsigned char* q) -> unsigned {
    return le ? q[0] | (q[1] << 8) : (q[0] << 8) | q[1];
  };
  while (end - s >= 2) {
    unsigned u = unit(s);
    if (u >= 0xD800 && u <= 0xDBFF) {
      if (end - s < 4) {
        if (!last) break;
        emit(0xFFFD);
        s += 2;
        continue;
      }
      unsigned w = unit(s + 2);
      if (w >= 0xDC00 && w <= 0xDFFF) {
        emit(0x10000 + ((u - 0xD800) << 10) + (w - 0xDC00));
        s += 4;
        continue;
      }
      u = 0xFFFD;
    } else if (u >= 0xDC00 && u <= 0xDFFF) {
      u = 0xFFFD;
    }
    emit(u);
    s += 2;
  }
  if (last && s < end) ++s;  // an odd byte at the very end
  return s - p;
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

  Charset cs = Charset::keep;
  std::string from;
  if (got >= 2 && b[0] == 0xFF && b[1] == 0xFE) {
    cs = Charset::utf16le;
    from = "utf-16le";
  } else if (got >= 2 && b[0] == 0xFE && b[1] == 0xFF) {
    cs = Charset::utf16be;
    from = "utf-16be";
  } else if (got >= 3 && b[0] == 0xEF && b[1] == 0xBB && b[2] == 0xBF) {
    cs = Charset::utf8;
    from = "utf-8";
  } else if (got >= 4 && b[0] && !b[1] && b[2] && !b[3]) {
    cs = Charset::utf16le;
    from = "utf-16le";
  } else if (got >= 4 && !b[0] && b[1] && !b[2] && b[3]) {
    cs = Charset::utf16be;
    from = "utf-16be";
  } else {
    std::string decl = declared_charset(std::string(buf, 0, got), nullptr, nullptr);
    if (decl == "utf-8" || decl == "utf8") {
      cs = Charset::utf8;
      from = "utf-8";
    } else if (decl == "macintosh" || decl == "x-mac-roman" || decl == "mac") {
      cs = Charset::mac;
      from = "macintosh";
    } else {
      safe_ut.close_FILE(&in, SRC, __LINE__);
      return "charset " + (decl.empty() ? std::string("not declared") : decl) + ": left as it is";
    }
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
