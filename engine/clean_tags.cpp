// Word HTML cleaning, pass two: the work file of pass one is read back and
// each tag of the stop set is removed, reduced or rewritten.  A document of
// kind 'a' only has its "<pre" tags and comment lines handled.
#include <cstring>
#include <string>

#include "engine/clean_detail.h"
#include "engine/ut_htm.h"
#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"
#include "runtime/str_set.h"

using namespace clean_detail;

namespace {

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

// Whether only tags stand between the "<pre" tag before `a` and `a`.  The
// text read before `a` is still in the window.
bool behind_pre(const rBuffer& rb) {
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

}  // namespace

void ut_htm::tags_pass(const char* file, str_set& stops, const char* pairs, int kind) {
  stops.insert("<pre")->nr = at_pre;
  for (const char* p = pairs; *p; p += 2) {
    char key[3] = {'\n', p[0], 0};
    str_el* el = stops.insert(key);
    el->nr = at_pair;
    el->kind = (unsigned char)p[1];
  }
  if (kind != 'a')
    for (const StopWord& w : stop_words) stops.insert(w.text)->nr = w.action;
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
  switch (el->nr) {
    case at_pre: return at_pre_tag(rb, out);
    case at_pair: return at_pair_line(rb, out, el->kind);
    case at_anchor: return at_a(rb, out);
    case at_ellipsis:
      rb.a += 6;
      return 0;
    case at_dollar:
      if (bold) put(out, "<$>", 3);
      return 1;
    case at_section: case at_meta: case at_ins: case at_ins_end: case at_w_end:
    case at_del: case at_strike: case at_xml: case at_w:
      return at_dropped_tag(rb, el->nr);
    case at_b: return at_b_tag(rb, out);
    case at_b_end:
      bold = false;
      return 4;
    case at_cond: return at_cond_tag(rb, out);
    case at_cond_comment: return at_comment(rb, out);
    case at_o:
      at_o_tag(rb);
      return 0;
    case at_v: return at_v_tag(rb, out);
    case at_table: return at_table_tag(rb, out);
    case at_td:
      paras_in_cell = 0;
      return 3;
    case at_span: return at_span_tag(rb, out);
    case at_li: return at_li_tag(rb, out);
    case at_li_end:
      put(out, "</p>", 4);
      rb.a += 5;
      return 0;
    case at_ul: return at_ul_tag(rb);
    case at_ul_end:
      rb.a += 5;
      return 0;
    case at_img:
      write_picture(rb, out, rb.a, "\n");
      return 0;
    case at_p: return at_p_tag(rb, out);
    case at_font:
      put(out, "Arial", 5);
      rb.a += el->L;
      return 0;
    case at_semi:
      at_semi_title(rb, out);
      return 0;
    case hidden_heading: return at_hidden_heading(rb);
    default: unknown(rb);
  }
}

// A line that starts with the first character of a pair: dropped through
// the pair's second character (a line feed: the line itself).
int ut_htm::at_pair_line(rBuffer& rb, FILE* out, int through) {
  if (through == '\n') {  // the line with the line feed in front of it
    if (!rb.find(1, "\n", nullptr)) rb.a = rb.e;
  } else {
    put(out, "\n", 1);
    drop_through(rb, 1, std::string(1, (char)through).c_str());
  }
  return 0;
}

// Tags that go: some with their contents, the others alone.
int ut_htm::at_dropped_tag(rBuffer& rb, int action) {
  int i = rb.a;
  switch (action) {
    case at_del: drop_through(rb, 4, "</del>"); break;
    case at_strike: drop_through(rb, 7, "</strike>"); break;
    case at_xml: drop_through(rb, 4, "</xml>"); break;
    case at_w:
      if (starts(rb.z + i, "<w:data"))
        drop_through(rb, 7, "</w:data>");
      else  // content controls and the like: the tag goes, the text stays
        rb.a = tag_end(rb, i, "> of <w:") + 1;
      break;
    default: rb.a = tag_end(rb, i, "> of a tag") + 1;
  }
  return 0;
}

// "<table": copied without its "margin-left" declarations.
int ut_htm::at_table_tag(rBuffer& rb, FILE* out) {
  char* z = rb.z;
  int i = rb.a;
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

// "<li": a list item becomes a paragraph with a normalised bullet; "<link"
// of the page head goes.
int ut_htm::at_li_tag(rBuffer& rb, FILE* out) {
  char* z = rb.z;
  int i = rb.a;
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

// "<ul": the tag goes.
int ut_htm::at_ul_tag(rBuffer& rb) {
  char* z = rb.z;
  int i = rb.a;
  char c = z[i + 3];
  if (!(blank(c) || c == '>')) {
    if (z[i + 1] == 'U') return 3;
    unknown(rb);
  }
  rb.a = tag_end(rb, i, "> of <ul") + 1;
  return 0;
}

// A heading whose style says "display:none": dropped with its text.
int ut_htm::at_hidden_heading(rBuffer& rb) {
  char* z = rb.z;
  int i = rb.a;
  char c = z[i + 3];
  if (!(blank(c) || c == '>')) return 3;
  char end_tag[6] = {'<', '/', 'h', z[i + 2], '>', 0};
  drop_through(rb, 3, end_tag);
  return 0;
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
    put(out, z + i, gt - i);
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
  if (q && img) {
    put(out, "\n<p>", 4);
    write_picture(rb, out, (int)(img - z), "\n");
    drop_through(rb, 0, "</p>");
    put(out, "</p>", 4);
    return 0;
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
