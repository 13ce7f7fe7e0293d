// Cards, second pass: the marks.  A heading that splits becomes a card
// start "<h:TITLE> <hN>..."; "[see<digits>" forces a card; typed names get
// "<:>"; a figure line behind a picture becomes a caption linked from the
// list of pictures; page one of a document (title, Word's contents) loses
// its tables and old contents.
#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "driver/des_text.h"
#include "driver/doc_des.h"
#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/owned_file.h"
#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"
#include "runtime/str_set.h"

using namespace des;

namespace {

const char* const card_close =
    "</p><p class=1 align=\"right\"><p align=\"right\"><font size=1><a href=\"1.htm\">docs</a>, "
    "<a href=\"#1\">top</a></font></p>";

const char* const marks[] = {"~", "p.MsoToc", "p.MsoHead", "Brelmot", "see toc", "Toc", "Glossar",
                             "center", "Fig.", "Bild", "Abbildung", "<img", "<p", "<h", "<H",
                             "<table", "<td", "</", "[see", "_ ", "<v>_</v>", "ontent", "nhalt"};

int find_in(const rBuffer& rb, int from, const char* s) {
  const char* p = strstr(rb.z + from, s);
  return p && p < rb.z + rb.e ? (int)(p - rb.z) : -1;
}

// The running state of the pass over one document.
struct CardPass {
  DocDes& des;
  web_model& web;
  int n;
  rBuffer& rb;
  FILE* out;
  bool onpage1 = true;
  bool in_cell = false;
  bool first_card = true;
  bool see_toc = true;
  int no_split = 0;  // following headings that do not split
  int center = 0;    // nesting of "center" on page one
  int figure = 0;    // pictures seen; negative right behind a picture
  int pictures = 0;
  bool head_para = false;  // inside a "<p class=Head" paragraph written as <h1>

  bool page_one() const { return onpage1 && n > 1; }
  // True when the scan stands inside a tag (or a mark written as one).
  bool inside_tag() const {
    for (int i = rb.a - 1; i >= rb.low && i >= rb.a - 300; i--) {
      if (rb.z[i] == '>') return false;
      if (rb.z[i] == '<') return true;
    }
    return false;
  }
  int tag_end(int from) {
    int gt = find_in(rb, from, ">");
    if (gt < 0) exut.fail(__LINE__, SRC, "System: a tag without > in document %i\n", n);
    return gt;
  }
  int at_mark(const str_el* el);
  int at_p();
  int at_heading();
  void card_start(const std::string& title, char level);
  int at_figure(const str_el* el);
  int at_see();
  int at_closing();
};

int CardPass::at_mark(const str_el* el) {
  const char* p = rb.z + rb.a;
  const char* k = el->k;
  if (!strcmp(k, "~")) { fputc('_', out); rb.a++; return 0; }
  if (!strcmp(k, "_ ")) {
    bool cap = rb.a > 0 && isupper((unsigned char)p[-1]);
    bool lone = rb.a < 2 || !isalnum((unsigned char)p[-2]);
    if (cap && lone) fputs("<:>", out);
    return 2;
  }
  if (!strcmp(k, "<v>_</v>")) {
    fputs("<:>_", out);
    rb.a += 8;
    while (rb.a < rb.e && rb.z[rb.a] == ' ') rb.a++;
    return 0;
  }
  if (!strcmp(k, "<td")) { in_cell = true; return 3; }
  if (!strcmp(k, "</")) return at_closing();
  if (!strcmp(k, "[see")) return at_see();
  if (!strcmp(k, "<img")) {
    web.comms[n].imgs++;
    figure = -(++pictures);
    return 4;
  }
  if (!strcmp(k, "Fig.") || !strcmp(k, "Bild") || !strcmp(k, "Abbildung")) return at_figure(el);
  if (!strcmp(k, "see toc")) {
    if (!see_toc) return el->L;
    see_toc = false;
    fputs("<a name=\"1\"></a><a href=\"#2\"> see toc </a>", out);
    rb.a += el->L;
    return 0;
  }
  if (!strcmp(k, "Toc")) {
    int back = rb.a - 10;
    if (back >= rb.low && !strncmp(rb.z + back, "<a name=\"_", 10)) {
      // The anchor "<a name="_Toc..."> is dropped; the text before it went out.
      fseek(out, -10, SEEK_CUR);
      rb.a = tag_end(rb.a) + 1;
      if (!strncmp(rb.z + rb.a, "</a>", 4)) rb.a += 4;
      return 0;
    }
    return 3;
  }
  if (!strcmp(k, "Glossar")) {
    // Not inside a tag or a mark: a document title "... Glossary" in a
    // semi-title mark stays as it is.
    char c = rb.a > 0 ? p[-1] : ' ';
    if (c != '=' && !isalpha((unsigned char)c) && !inside_tag()) fputs("<Glossar>", out);
    return el->L;
  }
  if (!strcmp(k, "center")) {
    // Only the tags <center> and </center> nest: Word writes "center" in
    // the alignment of many a paragraph of a title page, which would
    // otherwise keep every heading of the document from starting a card.
    bool open = rb.a > 0 && p[-1] == '<', close = rb.a > 1 && p[-1] == '/' && p[-2] == '<';
    if (onpage1 && (open || close)) center += close ? -1 : 1;
    if (center < 0) center = 0;
    return el->L;
  }
  if (!strcmp(k, "Brelmot") || !strcmp(k, "ontent") || !strcmp(k, "nhalt")) {
    onpage1 = false;
    return el->L;
  }
  if (!strcmp(k, "<p")) return at_p();
  if (!strcmp(k, "<table") && page_one()) {
    // The table may be longer than the look-ahead: it is skipped through
    // the buffer's refills.
    if (!rb.find(0, "</table", nullptr))
      exut.fail(__LINE__, SRC, "System: <table without </table in document %i\n", n);
    rb.a = tag_end(rb.a) + 1;
    return 0;
  }
  if (!strcmp(k, "<h") || !strcmp(k, "<H")) return at_heading();
  return el->L;
}

int CardPass::at_closing() {
  int gt = tag_end(rb.a);
  std::string tag(rb.z + rb.a, gt + 1 - rb.a);
  for (char& c : tag) c = (char)tolower((unsigned char)c);
  if (!strncmp(tag.c_str(), "</td", 4)) in_cell = false;
  if (head_para && tag == "</p>") {
    head_para = false;
    tag = "</h1>";
  }
  fputs(tag.c_str(), out);
  rb.a = gt + 1;
  return 0;
}

// A paragraph of the style "Head" becomes <h1>.  On page one of a document
// above 1, a Word title paragraph is centred, Word's own contents end page
// one and vanish.
int CardPass::at_p() {
  if (!strncmp(rb.z + rb.a, "<p class=Head", 13)) {
    // A paragraph of the author's style "Head" is shown as a heading.
    fputs("<h1", out);
    rb.a += 2;
    head_para = true;
    return 0;
  }
  if (!page_one()) return 2;
  int gt = tag_end(rb.a);
  if (!strncmp(rb.z + rb.a, "<p class=MsoHeading", 19)) {
    int close = find_in(rb, gt, "</p>");
    if (close < 0) return 2;
    std::string text = trim(std::string(rb.z + gt + 1, close - gt - 1));
    char size = rb.z[rb.a + 19] == '8' ? '6' : '5';
    fprintf(out, "\n<p class=1><font size=%c><center>%s</center></font>", size, text.c_str());
    rb.a = close;
    return 0;
  }
  if (!strncmp(rb.z + rb.a, "<p class=MsoToc", 15)) {
    onpage1 = false;
    int close = find_in(rb, gt, "</p>");
    rb.a = close < 0 ? gt + 1 : close + 4;
    return 0;
  }
  const char* t = rb.z + gt + 1;
  if (!strncmp(t, "Table", 5) || !strncmp(t, "Inhalt", 6) || !strncmp(t, "Content", 7)) {
    onpage1 = false;
    int h = find_in(rb, gt, "<h"), toc = find_in(rb, gt, "<p class=MsoToc");
    int stop = h < 0 || (toc >= 0 && toc < h) ? toc : h;
    rb.a = stop < 0 ? rb.e : stop;
    return 0;
  }
  return 2;
}

// "[see<digits>": a card starts here; the number counts the headings
// behind it that stay in this card.
int CardPass::at_see() {
  const char* d = rb.z + rb.a + 4;
  if (!isdigit((unsigned char)*d)) return 4;
  no_split = atoi(d);
  int end = find_in(rb, rb.a, "]");
  int close = find_in(rb, rb.a, "</p>");
  if (end < 0 || (close >= 0 && close < end)) end = close < 0 ? rb.a + 4 : close;
  const char* q = d;
  while (isdigit((unsigned char)*q)) q++;
  // Without "]" and "</p>" the card has no title text: the end then lies at
  // the digits, before q.
  std::string text = rb.z + end > q ? trim(std::string(q, rb.z + end - q)) : std::string();
  fprintf(out, "\n%s<h:><p><a name=\"%i\"></a>%s</p>", first_card ? "<p ></p>" : card_close,
          ++des.card_anchor, text.c_str());
  first_card = false;
  onpage1 = false;
  rb.a = end < rb.e && rb.z[end] == ']' ? end + 1 : end;
  return 0;
}

int CardPass::at_heading() {
  if (!strncasecmp(rb.z + rb.a, "<head", 5)) {
    fputs("<HEAD", out);
    rb.a += 5;
    return 0;
  }
  char level = rb.z[rb.a + 2];
  if (!isdigit((unsigned char)level) || in_cell) return 2;
  int end = find_in(rb, rb.a, "</h");
  if (end < 0) end = find_in(rb, rb.a, "</H");
  if (end < 0) exut.fail(__LINE__, SRC, "System: a heading without its end in document %i\n", n);
  int gt = tag_end(end);
  std::string heading(rb.z + rb.a, gt + 1 - rb.a);
  bool split = false;
  if (no_split > 0) no_split--;
  else if (center == 0) split = DocDes::split_here(heading.c_str());
  if (!split) {
    // A heading that stays inside its card; on page one it is shown plain.
    if (page_one()) fputs("\n<span style='color:black'>", out);
    return 2;
  }
  std::vector<char> buf(heading.size() + 256);
  des.ut->section_title(heading.c_str(), buf.data(), nullptr, nullptr, nullptr, 0);
  std::string title = trim(buf.data());
  while (begins(title, "&") && title.find(';') != std::string::npos)
    title = trim(title.substr(title.find(';') + 1));
  if (!title.empty() && title.back() == ':') title = rtrim(title.substr(0, title.size() - 1));
  rb.a = gt + 1;
  if (title.empty()) return 0;
  card_start(title, level);
  return 0;
}

// "\n<close><h:TITLE> <hN>PREFIX REST</hN><br>", then the blank paragraphs
// behind the heading are skipped.
void CardPass::card_start(const std::string& title, char level) {
  const char* require = begins(title, "Require") ? "R_ " : "";
  std::string two = title.substr(0, std::min<size_t>(2, title.size()));
  std::string rest = title.size() > 2 ? title.substr(2) : "";
  if (two.size() == 2 && two[1] == '_' && !rest.empty() && isalnum((unsigned char)rest[0]))
    two += " ";
  fprintf(out, "\n%s<h:%s> <h%c>%s%s%s%s</h%c><br>", first_card ? "<p ></p>" : card_close,
          web.comms[n].title.c_str(), level, "", require, two.c_str(), rest.c_str(), level);
  first_card = false;
  onpage1 = false;
  if (figure < 0) figure = -figure;
  while (true) {
    while (rb.a < rb.e && isspace((unsigned char)rb.z[rb.a])) rb.a++;
    if (strncmp(rb.z + rb.a, "<p", 2)) break;
    int close = find_in(rb, rb.a, "</p>");
    if (close < 0) break;
    std::string text(rb.z + rb.a, close - rb.a);
    size_t gt = text.find('>');
    std::string body = gt == std::string::npos ? text : text.substr(gt + 1);
    for (const char* blank : {"&nbsp;", "<o:p>", "</o:p>", "<span>", "</span>", " "}) {
      for (size_t k = body.find(blank); k != std::string::npos; k = body.find(blank))
        body.erase(k, strlen(blank));
    }
    if (!trim(body).empty() || text.find("<img") != std::string::npos) break;
    rb.a = close + 4;
  }
}

// "Fig.", "Bild" or "Abbildung" with a number and a colon.  Right behind a
// picture it is the picture's caption; elsewhere, past page one, it gets
// an anchor.
int CardPass::at_figure(const str_el* el) {
  int p = rb.a + el->L;
  // Blanks and, from a number that Word's caption field wrote, the tags
  // around it ("Fig. <span>1</span>:").
  auto skip = [&] {
    while (true) {
      if (rb.z[p] == ' ') p++;
      else if (!strncmp(rb.z + p, "&nbsp;", 6)) p += 6;
      else if (!strncmp(rb.z + p, "<span", 5) || !strncmp(rb.z + p, "</span>", 7)) {
        const char* gt = strchr(rb.z + p, '>');
        if (!gt || gt >= rb.z + rb.e) return;
        p = (int)(gt + 1 - rb.z);
      } else return;
    }
  };
  skip();
  int digits = p;
  while (isdigit((unsigned char)rb.z[p])) p++;
  if (p == digits) return el->L;
  int number = atoi(rb.z + digits);
  skip();
  if (rb.z[p] != ':') return el->L;
  const char* abb = !strcmp(el->k, "Fig.") ? "Abb." : !strcmp(el->k, "Bild") ? "Abb" : el->k;
  if (figure < 0) {
    int close = find_in(rb, p, "</p>");
    if (close < 0) return el->L;
    std::string caption = trim(std::string(rb.z + p + 1, close - p - 1));
    std::string key = trim(caption.substr(0, caption.find_first_of("(/")));
    char value[64];
    snprintf(value, sizeof value, "#_pic%i_%i", n, -figure);
    if (!key.empty()) tree_put(web.picNames, key, value);
    fprintf(out, "<a href=\"%s\"><font face=VERDANA size=1>Bild %i: %s</font></a></p>", value,
            -figure, caption.c_str());
    figure = -figure;
    rb.a = close + 4;
    return 0;
  }
  if (!onpage1) fprintf(out, "<br><a name=Abb%i></a>", number);
  fputs(abb, out);
  rb.a += el->L;
  return 0;
}

}  // namespace

void DocDes::second_card_pass(int n, const char* from, const char* to) {
  owned_FILE out_file(safe_ut.create(to));
  FILE* out = out_file.f;
  {
    rBuffer rb(from);
    str_set set("cards2");
    for (const char* s : marks) set.insert(s);
    CardPass pass{*this, web, n, rb, out};
    int copy = 0;
    while (str_el* el = rb.find(copy, set, out)) {
      if (rb.e - rb.a < rBuffer::look_ahead) rb.fill(rBuffer::look_ahead);
      copy = pass.at_mark(el);
    }
  }
  safe_ut.close_FILE(&out_file.f, SRC, __LINE__);
}
