// Word HTML cleaning: the entry `ers_schmutz`, pass one (the body copied,
// each <span> rebuilt), the style block reader `hide_styles`, and the
// scanning aids that both passes use.  Pass two's handling of the tags is
// in engine/clean_tags.cpp.
#include <cctype>
#include <cerrno>
#include <cstring>
#include <string>

#include "engine/clean_detail.h"
#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"
#include "runtime/str_set.h"

using namespace clean_detail;

namespace {

const char* const page_head =
    "\n<html><head><LINK REL=stylesheet TYPE='text/css' href=1.css> <title></title></head>\n"
    "<body>\n";

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

// One attribute of a span tag, as offsets into the scanner's window.
struct span_attr {
  int from, to;    // the whole attribute
  int vfrom, vto;  // its value without quotes
  char quote;
};
constexpr int max_span_attrs = 24;

// Reads the attributes from `p` up to the tag's ">" at `gt`, at most
// max_span_attrs; returns how many.
int read_attrs(const char* z, int p, int gt, span_attr* attrs) {
  int n = 0;
  while (p < gt && n < max_span_attrs) {
    while (p < gt && blank(z[p])) ++p;
    if (p >= gt) break;
    span_attr& at = attrs[n++];
    at.from = p;
    while (p < gt && !blank(z[p]) && z[p] != '=') ++p;
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
  }
  return n;
}

// The name of an attribute is five letters: "class" or "style".
bool named(const char* z, const span_attr& at, const char* name) {
  const char* p = z + at.from;
  int len = 0;
  while (p + len < z + at.to && !blank(p[len]) && p[len] != '=') ++len;
  return len == 5 && (p[0] | 0x20) == name[0] && strncasecmp(p, name, 5) == 0;
}

// The span tag again: the kept declarations as its style, without the
// attribute `ins`.
void rebuild_span(const char* z, const span_attr* attrs, int n, int style, int ins,
                  std::string& kept, std::string& tag) {
  for (char& k : kept)
    if (k == '\'') k = '"';
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
}

// Whether a style block's rule body [from, to) says "display:none".
bool display_none(const char* from, const char* to) {
  for (const char* d = mem_find(from, to, "display:"); d; d = mem_find(d + 1, to, "display:")) {
    const char* q = d + 8;
    while (q < to && blank(*q)) ++q;
    if (to - q >= 4 && strncmp(q, "none", 4) == 0) return true;
  }
  return false;
}

// Enters "<hN" into `set` for each heading among the selectors of a rule:
// the text behind the last comment, split at commas.
void enter_hidden_headings(str_set& set, std::string sel) {
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
    if (one.size() == 2 && (one[0] == 'h' || one[0] == 'H') && one[1] >= '1' && one[1] <= '6') {
      std::string key = "<h";
      key += one[1];
      if (!set.find_el(key.c_str())) set.insert(key.c_str())->nr = ut_htm::hidden_heading;
    }
    b = comma + 1;
  }
}

}  // namespace

ut_htm::ut_htm(web_model& w) : web(w) {
  init_sections();
  init_web_pass(true);
}
ut_htm::ut_htm() : own_web_(std::make_unique<web_model>()), web(*own_web_) {
  init_sections();
  init_web_pass(false);
}
ut_htm::~ut_htm() { drop_sections(); }

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
    if (in_style) {
      if (!display_none(z + open, close ? close : z + rb.e)) {
        ++plain;
      } else {
        int from = rb.s2 < open ? rb.s2 : open;
        enter_hidden_headings(set, std::string(z + from, open - from));
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
  tags_pass(file, stops, pairs, kind);
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
      put(out.f, ::page_head);
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
  span_attr attrs[max_span_attrs];
  int n = read_attrs(z, i + 5, gt, attrs);
  int style = -1, ins = -1;
  for (int k = 0; k < n; ++k) {
    const char* v = z + attrs[k].vfrom;
    int vl = attrs[k].vto - attrs[k].vfrom;
    if (named(z, attrs[k], "class")) {
      if (vl == 6 && strncasecmp(v, "msoDel", 6) == 0) {
        drop_span(rb, gt + 1);
        return;
      }
      if (drop_ins_class_ && vl == 6 && attrs[k].quote == 0 &&
          (memcmp(v, "msoIns", 6) == 0 || memcmp(v, "MsoIns", 6) == 0))
        ins = k;
    } else if (named(z, attrs[k], "style")) {
      style = k;
    }
  }
  std::string& kept = scratch_;
  kept.clear();
  if (style >= 0) {
    const span_attr& st = attrs[style];
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
  } else {
    rebuild_span(z, attrs, n, style, ins, kept, scratch2_);
    put(out, scratch2_.data(), (long)scratch2_.size());
  }
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
