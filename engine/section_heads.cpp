// Section pages: headings, their numbers and keys, and the page cuts.  The
// first heading behind a page cut is the page's section; any other heading
// is a title line.
#include <cctype>
#include <cstring>
#include <string>

#include "engine/section_cut.h"
#include "runtime/exec_ut.h"
#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"

namespace {

using cut_text::find_in;
using cut_text::starts;

const char* const SRC = "section_heads";

// Word's own contents: a section with such a title removes its page.
bool contents_title(const std::string& t) {
  if (t.empty() || !strchr("AICT", t[0])) return false;
  for (const char* c : {"Abbildungsverzeichnis", "Inhaltsverzeichnis", "Inhalt", "Content",
                        "Table of Contents", "Table of Content"})
    if (t == c) return true;
  return false;
}

// 1 plus the dots that follow a digit before the first blank.
int number_level(const std::string& t) {
  int level = 1;
  for (size_t i = 1; i < t.size() && t[i] != ' '; i++)
    if (t[i] == '.' && isdigit((unsigned char)t[i - 1])) level++;
  return level;
}

}  // namespace

// "<hN": the heading's title decides what it is.
int doc_splitter::at_heading(rBuffer& rb) {
  char* p = rb.z + rb.a;
  char buf[512], anchor[128];
  const char* after = ut.section_title(p, buf, "", rb.z + rb.e, anchor);
  if (!after || !find_in(p, after, "</")) {
    safe_ut.show_text("heading", p, 60);
    exut.fail(__LINE__, SRC, "System: a heading without its close in docNr %i", docNr);
  }
  std::string t = buf;
  if (starts(t, "Abb.") || starts(t, "Fig.")) printf("\nAppErr: Abb. ... is marked to ba a Header\n");
  if (!pageStart) return title_line(rb, buf, after);
  pageStart = false;
  if (cell) {
    fprintf(out, "<p class=1 style='margin-top:12pt'><b>%s</b><br/><br/></p", buf);
    rb.a = (int)(after - 1 - rb.z);
    return 0;
  }
  sections++;
  if (page == 1) fprintf(out, "<a name=\"x1%.8s\">", buf);
  if (starts(t, "Glossar")) glossPage = true;
  if (contents_title(t)) {
    discard = true;
    return 1;
  }
  if (*anchor) {
    int n = ++ut.e_nr;
    fprintf(out, "<a name=\"e%i\"></a>", n);
    if (!isdigit((unsigned char)anchor[0]))
      tree_put(localNames, anchor, std::to_string(page) + ".htm#e" + std::to_string(n));
  }
  if (!t.empty() && isdigit((unsigned char)t[0])) number = 0;
  if (t.empty()) return 1;
  if (t.size() > 250) {
    exut.show_str("title", t.c_str());
    exut.fail(__LINE__, SRC, "System: a title over 250 characters in docNr %i", docNr);
  }
  int level = p[2] - '0';
  bool hadNumber = numbered_title(t, level);
  (void)hadNumber;
  std::string T = ut_htmst::past_number(t.c_str());
  if (T.size() > 2 && T[1] == '_' && T[2] != ' ') T.insert(2, " ");
  section_keys(t, T, level, rb, after);
  write_heading(T, level);
  rb.a = (int)(after - 1 - rb.z);
  return 0;
}

// A heading that is no section: a title line.
int doc_splitter::title_line(rBuffer& rb, const char* title, const char* after) {
  std::string t = title;
  if (starts(t, "Brelmot"))
    fputs("\n<a name=2></a>", out);
  else
    fprintf(out, "\n<a name=\"%s\"></a>", title);
  if (starts(t, "Structure of Project") || starts(t, "Notation"))
    ut.HeaderMenu(out, 0, page, this->title.c_str(), version.c_str());
  if (cell) {
    const char* gt = find_in(rb.z + rb.a, after, ">");
    fputs("<b><p class=0", out);
    fwrite(gt, 1, after - 1 - gt, out);
    fputs("></p></b", out);
  } else {
    fprintf(out, "\n<p align=center><font %s face=ARIAL>%s</font></p",
            titleLines++ == 0 ? "size=24px" : "size=6", title);
  }
  rb.a = (int)(after - 1 - rb.z);
  return 0;
}

// Gives a title without a number its number, and removes the parent's
// repeated title.  `level` comes in as the heading's and goes out as the
// section's.  Returns whether the title had a number of its own.
bool doc_splitter::numbered_title(std::string& t, int& level) {
  bool had = isdigit((unsigned char)t[0]);
  if (!had) {
    int n;
    if (starts(t, "Anhang") || starts(t, "Annex"))
      n = number + ++annex;
    else
      n = ++number;
    t = std::to_string(n) + ". " + t;
    level += 1;
  } else {
    level = number_level(t);
  }
  if (level > 255) level = 255;
  const char* rest = ut_htmst::past_number(t.c_str());
  size_t at = rest - t.c_str();
  const std::string& parent = lastBare[level - 1];
  if (!parent.empty() && t.compare(at, parent.size(), parent) == 0 &&
      (t[at + parent.size()] == ' ' || t[at + parent.size()] == '.')) {
    size_t e = at + parent.size();
    while (e < t.size() && strchr("0123456789. ", t[e])) e++;
    t.erase(at, e - at);
  }
  lastBare[level] = t.substr(at);
  lastTitle[level] = t;
  return had;
}

// The trees a section enters.
void doc_splitter::section_keys(const std::string& full, const std::string& Tin, int level,
                                rBuffer& rb, const char* after) {
  std::string T = Tin;
  tree_put(ut.web.docsecs, ut_htm::section_key(title, ut_htm::section_line(T)), std::to_string(page));
  char key[400];
  snprintf(key, sizeof key, "%010d.htm:%c:%s", page, '0' + level, full.c_str());
  std::string k = key;
  tree_put(ourToc, k, std::to_string(page) + "," + std::to_string(level));
  lastKey = k;
  ut.page_level[page] = '0' + level;
  if (T.size() > 1 && T[1] == '_' && strchr("PABVSCRZ", T[0])) {
    std::string n = T.substr(0, 2);
    size_t i = 2;
    while (i < T.size() && T[i] == ' ') i++;
    n += T.substr(i);
    if (n[0] == 'Z') n[0] = 'R';
    tree_put(ut.defs, n, std::to_string(page) + ".htm");
    return;
  }
  for (const auto& [P, V] : web.c_pairs) {
    if (P.empty() || T.compare(0, P.size(), P) != 0) continue;
    std::string sk = V.size() > 1 && V[1] == '_' ? V + " " + T : "D_(" + V + ": " + T + ")";
    tree_put(ut.semis, sk, std::to_string(docNr) + "/" + std::to_string(page) + ".htm");
    return;
  }
  typed_after_heading(T, rb, after);
}

// "Component: C_Name ..." in the first text behind a heading.
void doc_splitter::typed_after_heading(const std::string& T, rBuffer& rb, const char* after) {
  const char* end = rb.z + rb.e;
  const char* q = after;
  while (q < end && (*q == '<' || isspace((unsigned char)*q))) {
    if (*q == '<') {
      const char* gt = find_in(q, end, ">");
      if (!gt) return;
      q = gt + 1;
    } else {
      q++;
    }
  }
  if (q >= end || !strchr("APC", *q)) return;
  const char* c = q + 1;
  while (c < end && isalpha((unsigned char)*c)) c++;
  if (c >= end || *c != ':') return;
  c++;
  while (c < end && *c == ' ') c++;
  if (end - c < 3 || c[1] != '_' || !isupper((unsigned char)c[0])) return;
  const char* e = c;
  while (e < end && *e != '\n' && *e != '<' && strncmp(e, "&nbsp;", 6) != 0 &&
         strncmp(e, "_>_", 3) != 0 && e - c < 200)
    e++;
  std::string name(c, e);
  tree_put(ut.defs, name, std::to_string(page) + ".htm");
  tree_put(ut.web.typedSecs, ut_htm::section_key(title, ut_htm::section_line(T)), name);
}

void doc_splitter::write_heading(const std::string& T, int level) {
  ut.code_links(out, T.c_str());
  int L = level > 3 ? 3 : level;
  fprintf(out, "<h%i>%s</h%i", L, T.c_str(), L);
  bool klass = starts(T, "Klasse ") || starts(T, "Class ");
  if (!klass) return;
  const char* n = T.c_str() + (T[0] == 'K' ? 7 : 6);
  std::string name;
  while (*n) {
    if (safe_uts::is_alnum((unsigned char)*n)) name += *n++;
    else if (!strncmp(n, "&quot;", 6)) name.append(n, 6), n += 6;
    else if (!strncmp(n, "&#132;", 6)) name.append(n, 6), n += 6;
    else break;
  }
  if (name.empty()) return;
  int e = ++ut.e_nr;
  fprintf(out, "<a name=\"e%i\"></a>", e);
  std::string target = std::to_string(docNr) + "/" + std::to_string(page) + ".htm#e" + std::to_string(e);
  if (web.to_docu) fprintf(web.to_docu, "\n~%s~%s~", name.c_str(), target.c_str());
  // The layout the documentation-against-code page reads: marks, section,
  // code page (empty here).
  tree_put(ut.docClasses, name, "D..~" + target + "~~");
}

// The end of a page: the head page's contents place, the deep table mark.
void doc_splitter::end_page() {
  if (!out) return;
  if (discard) {
    safe_ut.close_FILE(&out, SRC, __LINE__);
    safe_ut.remove_file(page_file(page, "tmp").c_str());
    pages--;
    page--;
    discard = false;
    return;
  }
  if (run_ == 2 && page != 1 && page == firstPage) {
    fputs("\n<a name=\"2\"></a><br/>", out);
    ut.HeaderMenu(out, 0, page, title.c_str(), version.c_str());
    fputs("<++Toc>", out);
    fputs("\n<a name=\"3\"></a><br/>", out);
  }
  fprintf(out, "\n<deepToc %s></deepToc></font></body></html>", lastKey.c_str());
  safe_ut.close_FILE(&out, SRC, __LINE__);
  if (glossPage || title.find("Glossar") != std::string::npos)
    ut.glossar_table(page_file(page, "tmp").c_str());
  glossPage = false;
}

// "<h:TITLE>": a new page.
int doc_splitter::at_page_cut(rBuffer& rb) {
  const char* p = rb.z + rb.a;
  const char* gt = find_in(p, rb.z + rb.e, ">");
  if (!gt) exut.fail(__LINE__, SRC, "System: a page cut without its close in docNr %i", docNr);
  end_page();
  if (page + 1 > ut_htm::max_pages) {
    exut.show_int("ut_htm::max_pages", ut_htm::max_pages);
    exut.fail(__LINE__, SRC, "System: more section pages than max_pages");
  }
  printf("\n<p>%i.pAnz= %i : %s</p>", run_, paras, page_file(page, "htm").c_str());
  if (paras < 2) {
    FILE* app = safe_ut.open_append("tmpAppender");
    fprintf(app, "%s\n", page_file(page, "htm").c_str());
    safe_ut.close_FILE(&app, SRC, __LINE__);
  }
  paras = 0;
  page++;
  open_page();
  pageStart = true;
  ut.HeaderMenu(out, 0, page, title.c_str(), version.c_str());
  rb.a = (int)(gt + 1 - rb.z);
  return 0;
}
