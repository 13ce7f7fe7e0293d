// Section pages: split_doc cuts one cleaned and marked document (the work
// file "<n>.neu" of link creation) into numbered section pages
// <root>/<n>/<page>.htm.  Page numbers run over the whole web.  This source
// holds the preparation, the class table and the scan with its dispatch;
// headings and page cuts are in engine/section_heads.cpp, the closing of a
// document in engine/section_close.cpp.
#include <cctype>
#include <cstring>
#include <string>

#include "engine/css_text.h"
#include "engine/section_cut.h"
#include "runtime/exec_ut.h"
#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"

namespace {

using cut_text::find_in;
using cut_text::starts;

const char* const SRC = "sections";

// The end of the window as a bound for the text helpers.
char* window_end(rBuffer& rb) { return rb.z + rb.e; }

bool is_file(const char* name) { return safe_ut.ok_is_a(name) == 'f'; }

// Properties a class keeps only as part of the fixed sheet.
const char* const dropped_props[] = {"font-family", "font-size", "margin", "text-", "mso-",
                                     "color", "border", "padding", "tab-stops", "background",
                                     "line-", "layout-", "page-break"};

}  // namespace

void ut_htm::init_sections() {
  page_doc.assign(max_pages + 2, 0);
  page_first.assign(max_pages + 2, 0);
  page_level.assign(max_pages + 2, 0);
  for (Btree* t : {&defs, &semis, &semiKeys, &specs, &docClasses, &missRefs, &to_code, &ANam,
                   &NoSp, &noHot, &noProblem, &secTitles, &glossDefs})
    prepare_tree(*t, "engine");
  to_code_loaded = false;
  // The list of thin pages is this run's alone.
  if (safe_ut.exists("tmpAppender")) safe_ut.remove_file("tmpAppender");
  defs.name = "defs";
  semis.name = "semis";
  semiKeys.name = "semiKeys";
}

void ut_htm::drop_sections() {
  for (Btree* t : {&defs, &semis, &semiKeys, &specs, &docClasses, &missRefs, &to_code, &ANam,
                   &NoSp, &noHot, &noProblem, &secTitles, &glossDefs})
    empty_tree(*t);
  to_code_loaded = false;
}

int ut_htm::split_doc(int run, const char* neuFile, const char* root, int& page, FILE* rootFile,
                      int docNr, const char* title, FILE* profile, doc_record& rec) {
  (void)rootFile;
  if (!neuFile || !root || !title) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: split_doc() got a NULL pointer");
  }
  if (strstr(title, "(null)")) {
    exut.show_str("title", title);
    exut.fail(__LINE__, SRC, "System: split_doc: a (null) title");
  }
  // The first of two cuts (with a code root) writes no profile lines: the
  // second writes them, with the pages that stay.
  doc_splitter cut(*this, run, root, page, docNr, title, run == 1 ? nullptr : profile, rec);
  return cut.run(neuFile);
}

doc_splitter::doc_splitter(ut_htm& u, int r, const char* rt, int& pg, int nr, const char* t,
                           FILE* prof, doc_record& rc)
    : ut(u), web(u.web), run_(r), root(rt), page(pg), docNr(nr), title(t), profile(prof),
      rec(rc), kind(rc.com) {
  dir = root + "/" + std::to_string(docNr);
  prepare_tree(localNames, "localNames");
  prepare_tree(ourToc, "ourToc");
  lastTitle.assign(256, "?#");
  lastBare.assign(256, "");
  expected = rc.imgs;
}

doc_splitter::~doc_splitter() {
  if (out) {
    try {
      safe_ut.close_FILE(&out, SRC, __LINE__);
    } catch (...) {
    }
  }
  empty_tree(localNames);
  empty_tree(ourToc);
}

std::string doc_splitter::page_file(int p, const char* ext) const {
  return dir + "/" + std::to_string(p) + "." + ext;
}

int doc_splitter::run(const char* neuFile) {
  prepare(neuFile);
  if (kind != 'a') class_table();
  else {
    FILE* css = safe_ut.open_FILE((dir + "/1.css").c_str(), "w");
    ut_htm::fixed_css(css);
    safe_ut.close_FILE(&css, SRC, __LINE__);
  }
  cut(neuFile);
  close_doc();
  return pages;
}

// Steps before the first page: the ERD and SQL pages, the backup of the
// work file, the document's entry in `defs`, the first page and the
// profile's document line.
void doc_splitter::prepare(const char* neuFile) {
  printf("\ncom: %c = %s\n\n", kind ? kind : '?', rec.src.c_str());
  std::string file = rec.target.empty() ? rec.src : rec.target;
  size_t slash = file.find_last_of("/\\");
  std::string name = slash == std::string::npos ? file : file.substr(slash + 1);
  std::string here = std::to_string(docNr) + "/" + std::to_string(page + 1) + ".htm~" + name;
  if (name.find("er1.") != std::string::npos) ut.ourERD = here;
  if (name.find("sql.") != std::string::npos) ut.ourSQL = here;
  std::string backup(neuFile, strlen(neuFile) - 1);
  if (run_ == 1)
    safe_ut.copy_range(backup.c_str(), neuFile, 0, safe_ut.file_size(neuFile));
  else if (is_file(backup.c_str()))
    safe_ut.copy_range(neuFile, backup.c_str(), 0, safe_ut.file_size(backup.c_str()));
  ut.load_to_code();
  printf("\nsplit docNr %i", docNr);
  tree_put(ut.defs, "D_(" + title + ")", std::to_string(page + 1) + ".htm");
  if (page + 1 > ut_htm::max_pages) {
    exut.show_int("ut_htm::max_pages", ut_htm::max_pages);
    exut.fail(__LINE__, SRC, "System: more section pages than max_pages");
  }
  firstPage = page + 1;
  rec.firstPage = firstPage;
  // Every document cut gets its line in the profile: its section lines
  // follow and belong to it, so that change reports reach every document
  // with pages, the Word documents (kind e) and text documents included.
  if (profile) ut.profile_doc_line(profile, firstPage, title.c_str(), rec.src.c_str());
  version = std::to_string(docNr) + "/" + name;
}

// The class table: each "p." rule of the document's style block becomes a
// class of the page style sheet 1.css; rules that reduce to the same text
// share one number.
void doc_splitter::class_table() {
  std::string cssName = dir + "/1.css", from = dir + "/xxx.css";
  FILE* css = safe_ut.open_FILE(cssName.c_str(), "w");
  if (is_file(from.c_str()) && safe_ut.file_size(from.c_str()) > 0) {
    rBuffer rb(from.c_str(), "\n");
    char* p = rb.find(0, "\np.", nullptr);
    while (p) {
      char* end = window_end(rb);
      const char* open = find_in(p, end, "{");
      const char* close = open ? find_in(open, end, "}") : nullptr;
      if (!close) break;
      std::string name(p + 3, strcspn(p + 3, " \n,{"));
      if (name.size() > (size_t)(open - p)) name.resize(0);
      std::string body(open + 1, close);
      if (name.compare(0, 6, "MsoToc") != 0) read_class(name, body, css);
      rb.a = (int)(close + 1 - rb.z);
      // Blanks and comments; a rule that does not start with "p." ends it.
      for (;;) {
        rb.fill(rb.look_ahead);
        while (rb.a < rb.e && isspace((unsigned char)rb.z[rb.a])) rb.a++;
        if (rb.a < rb.e - 1 && starts(rb.z + rb.a, "/*")) {
          const char* c = find_in(rb.z + rb.a, window_end(rb), "*/");
          rb.a = c ? (int)(c + 2 - rb.z) : rb.e;
          continue;
        }
        break;
      }
      if (rb.a >= rb.e - 2 || !starts(rb.z + rb.a, "p.")) break;
      rb.a--;  // stands on the line end before "p."
      rb.z[rb.a] = '\n';
      p = rb.z + rb.a;
    }
  }
  safe_ut.close_FILE(&css, SRC, __LINE__);
  // With a code root the document is cut twice: the first cut leaves the
  // rules to the second, which removes them.
  if (run_ != 1) safe_ut.remove_file(from.c_str());
  ut.reduce_css(cssName.c_str());
}

void doc_splitter::read_class(const std::string& name, const std::string& body, FILE* css) {
  if ((int)classes.size() + 11 >= ut_htm::max_classes) {
    exut.show_str("class", name.c_str());
    exut.fail(__LINE__, SRC, "System: more paragraph classes than max_classes in %s",
              dir.c_str());
  }
  css_class c;
  c.name = name;
  c.nr = (int)classes.size() + 11;
  fprintf(css, "/*?- %s */", name.c_str());
  std::string spec2 = " font-family:Arial;  margin: 6pt 0pt .0001pt 0pt; ";
  each_declaration(body, " \t\r\n", [&](const std::string& prop, const std::string& pr, bool last) {
    if (pr.compare(0, 11, "margin-left") == 0) {
      size_t colon = pr.find(':');
      if (colon != std::string::npos) {
        std::string v = pr.substr(colon + 1);
        v.erase(0, v.find_first_not_of(' '));
        v = v.substr(0, v.find_first_of(" \n"));
        c.margin = ut_htm::to_points(v.c_str());
      }
    }
    if (pr.compare(0, 17, "text-align:center") == 0) {
      spec2 += "text-align:center;";
      return;
    }
    bool drop = false;
    for (const char* d : dropped_props)
      if (pr.compare(0, strlen(d), d) == 0) drop = true;
    if (!drop) spec2 += prop + (last ? "" : ";");
  });
  c.spec2 = spec2;
  for (const css_class& old : classes)
    if (old.spec2 == spec2) {
      c.nr = old.nr;
      classes.push_back(c);
      return;
    }
  fprintf(css, " p.%i, li.%i, div.%i { %s\n", c.nr, c.nr, c.nr, spec2.c_str());
  classes.push_back(c);
}

// The file head of every page and the document's body tag.
void doc_splitter::open_page() {
  std::string f = page_file(page, "tmp");
  out = safe_ut.open_FILE(f.c_str(), "w");
  fputs("\n<html xmlns:v=\"urn:schemas-microsoftcom:vml\">\n<head><LINK REL=stylesheet "
        "TYPE='text/css' href=1.css>",
        out);
  fputs("\n<style>\nv\\:* {behavior:url(#default#VML);}\n</style>\n", out);
  fputs("</head>\n", out);
  fputs(bodyTag.c_str(), out);
  ut.page_doc[page] = docNr;
  ut.page_first[page] = firstPage;
  ut.page_level[page] = 1000;
  pages++;
}

// The scan: the head of the work file up to its body tag is replaced by
// the page head; then every "<" is looked at.
void doc_splitter::cut(const char* neuFile) {
  if (kind == 'a' && !holds_body(neuFile)) return cut_plain(neuFile);
  rBuffer rb(neuFile);
  char* b = rb.find(0, "<body", nullptr);
  if (!b) b = rb.find(0, "<BODY", nullptr);
  if (!b) {
    exut.show_str("file", neuFile);
    exut.fail(__LINE__, SRC, "System: <body missing in %s", neuFile);
  }
  const char* gt = find_in(b, window_end(rb), ">");
  if (!gt) {
    exut.show_str("body", b);
    exut.fail(__LINE__, SRC, "System: the tag <body has no close in %s", neuFile);
  }
  bodyTag.assign((const char*)b, gt + 1);
  typedDoc = find_in(gt, window_end(rb), "<:>_") != nullptr;
  rb.a = (int)(gt + 1 - rb.z);
  scan(rb);
}

// A plain-text document gets no page head from link creation: its stream
// starts with the document line, and its pages take a plain body tag.
void doc_splitter::cut_plain(const char* neuFile) {
  rBuffer rb(neuFile);
  bodyTag = "<body>";
  typedDoc = find_in(rb.z + rb.a, window_end(rb), "<:>_") != nullptr;
  scan(rb);
}

bool doc_splitter::holds_body(const char* neuFile) {
  for (const char* tag : {"<body", "<BODY"}) {
    rBuffer rb(neuFile);
    if (rb.find(0, tag, nullptr)) return true;
  }
  return false;
}

void doc_splitter::scan(rBuffer& rb) {
  page = firstPage;
  open_page();
  int copy = 0;
  while (rb.find(copy, "<", discard ? nullptr : out)) copy = at_lt(rb);
  end_page();
}

int doc_splitter::drop_through(rBuffer& rb, const char* token) {
  char* p = rb.find(0, token, nullptr);
  if (!p) {
    exut.show_str("token", token);
    exut.fail(__LINE__, SRC, "System: %s missing in docNr %i", token, docNr);
  }
  rb.a += (int)strlen(token);
  return 0;
}

// One "<": decides by the characters behind it.  Returns how many
// characters at `a` are copied as they are.
int doc_splitter::at_lt(rBuffer& rb) {
  const char* p = rb.z + rb.a + 1;
  if (discard) return starts(p, "h:") ? at_page_cut(rb) : 1;
  if (starts(p, "td")) cell = true;
  if (starts(p, "/td")) cell = false;
  if (*p == '/' || *p == 'b') return 1;
  if (starts(p, "font size=5><center>Sample Design")) {
    fputs("<font color=#9966FF>", out);
    return 1;
  }
  if (starts(p, "p ") && typedDoc) {
    const char* close = find_in(p, window_end(rb), "</p>");
    const char* mark = find_in(p, close ? close : window_end(rb), "<:>_");
    if (mark && close) return at_typed_para(rb);
  }
  if (starts(p, "p ")) paras++;
  if (starts(p, "![if") || starts(p, "!--[if")) cond++;
  if (starts(p, "![endif") || starts(p, "!--[endif")) {
    if (cond > 0) {
      cond--;
      return 1;
    }
    return drop_through(rb, ">");
  }
  if (starts(p, "u></u>")) return rb.a += 7, 0;
  if (starts(p, "span></span>")) {
    while (starts(rb.z + rb.a, "<span></span>")) rb.a += 13;
    return 0;
  }
  if (starts(p, "Glossar>")) return glossPage = true, rb.a += 9, 0;
  if ((starts(p, "p class=") && !isdigit((unsigned char)p[8])) || starts(p, "span class="))
    return at_p_class(rb);
  if (starts(p, "a name=")) return at_a_tag(rb);
  if (starts(p, "a href=")) return at_a_tag(rb);
  if (starts(p, "img") || starts(p, "IMG")) return at_img(rb);
  if (starts(p, "a-")) return at_keyword(rb);
  if (*p == 'h' && isdigit((unsigned char)p[1]) && (p[2] == '>' || p[2] == ' '))
    return at_heading(rb);
  if (starts(p, "h:")) return at_page_cut(rb);
  if (starts(p, "del")) return drop_through(rb, "</del>");
  // Word wraps its footnotes in a "footnote-list" block: only the blocks
  // inside it are footnotes.
  if (starts(p, "div style='mso-element:footnote") &&
      !starts(p, "div style='mso-element:footnote-list"))
    return at_footnote_body(rb);
  if (starts(p, "a style='mso-footnote-id:")) {
    const char* id = p + 25;
    {
      std::string name(id, strcspn(id, "'\" >"));
      if ((int)footnoteList.size() >= ut_htm::max_footnotes)
        exut.fail(__LINE__, SRC, "System: more footnotes than max_footnotes in docNr %i",
                  docNr);
      footnoteList.push_back(std::to_string(page) + ":" + dir + "/" + name);
    }
    return 1;
  }
  if (starts(p, "$>")) return at_install_par(rb);
  if (starts(p, ":>")) return rb.a += 3, 0;
  if (starts(p, "$Dname=")) return at_semi_mark(rb);
  if (starts(p, "$Doc=")) return at_doc_mark(rb);
  return 1;
}
