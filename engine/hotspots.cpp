// Hotspots: the second pass over every section page.  Authors type names
// such as C_Billing or $PORT and define them somewhere (a heading, a typed
// paragraph, a link text); here every use becomes a link, and a use without
// a definition gets the hint "[?]" and a line on the problems page.  The
// page streams from <page>.htm through the stop set `hotSet` into
// <page>.tmp, and back to <page>.htm through the glossary sub-pass.  The
// tags that matter on the way: kept stretches without links, bold and
// underlined definitions, paragraphs with typed names, the change mark of
// a section, headings and the deep contents.
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>

#include "engine/hotspot_pass.h"
#include "engine/section_cut.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

namespace {

using cut_text::find_in;
using cut_text::starts;

const char* const SRC = "hotspots";
const char* const doctype =
    "<!DOCTYPE HTML PUBLIC \"-//W3C//DTD HTML 4.01 Transitional//EN\">";

bool is_file(const std::string& f) { return safe_ut.ok_is_a(f.c_str()) == 'f'; }

}  // namespace

int ut_htm::make_hotspots(int page, str_set& hotSet, str_set& glossSet) {
  if (page < 1 || page >= (int)page_doc.size() || page_doc[page] < 1) return 0;
  std::string stem = std::to_string(page_doc[page]) + "/" + std::to_string(page);
  std::string htm = stem + ".htm", tmp = stem + ".tmp";
  if (!is_file(htm)) return 0;
  int found = 0;
  {
    FILE* out = safe_ut.open_FILE(tmp.c_str(), "w");
    bool body;
    {
      rBuffer rb(htm.c_str());
      hot_pass pass(*this, rb, out, page, hotSet);
      body = pass.head();
      if (body) {
        pass.body();
        found = pass.found;
        // The bottom line; the last section page of a document also ends
        // the page there.
        bool last = page + 1 >= (int)page_doc.size() || page_doc[page + 1] != page_doc[page] ||
                    page_level[page + 1] == 0;
        bottom_line(out, page, last);
        if (!last) rb.copy_rest(out);
      }
    }
    safe_ut.close_FILE(&out, SRC, __LINE__);
    // A page without body (the redirect behind a document) stays as it is.
    if (!body) return safe_ut.remove_file(tmp.c_str()), 0;
  }
  if (web.glossTerms.number_of_elements() > 0) gloss_pass(tmp.c_str(), htm.c_str(), glossSet);
  else safe_ut.copy_range(htm.c_str(), tmp.c_str(), 0, safe_ut.file_size(tmp.c_str()));
  safe_ut.remove_file(tmp.c_str());
  return found;
}

hot_pass::hot_pass(ut_htm& u, rBuffer& r, FILE* o, int p, str_set& set)
    : ut(u), rb(r), out(o), page(p), docNr(u.page_doc[p]), hotSet(set) {
  prepare_tree(pageWords, "pageWords");
}

hot_pass::~hot_pass() { empty_tree(pageWords); }

bool hot_pass::head() {
  // The text in front of the body, the page's own head, is held aside: the
  // doctype goes before it unless it has one.
  char* buf = nullptr;
  size_t len = 0;
  FILE* mem = open_memstream(&buf, &len);
  if (!mem) exut.fail(__LINE__, SRC, "System: no memory for the head of page %i", page);
  char* b = rb.find(0, "<body", mem);
  fclose(mem);
  std::string pageHead(buf, len);
  free(buf);
  if (!b) return false;
  const char* gt = find_in(b, end(), ">");
  if (!gt) {
    exut.show_str("body", b);
    exut.fail(__LINE__, SRC, "System: the tag <body has no close in page %i", page);
  }
  if (pageHead.find("<!") == std::string::npos) fputs(doctype, out);
  fputc('\n', out);
  fwrite(pageHead.data(), 1, pageHead.size(), out);
  fwrite(b, 1, gt + 1 - b, out);
  rb.a = (int)(gt + 1 - rb.z);
  return true;
}

void hot_pass::body() {
  int copy = 0;
  while (str_el* el = rb.find(copy, hotSet, out)) {
    copy = at_hit(el);
    if (copy < 0) return;
  }
}

int hot_pass::at_hit(str_el* el) {
  if (el->v[0] == '=' && el->v[1] == ')') return at_keyword(el);
  if (el->v[0] == '?') return at_concept(el);
  if (el->k[0] == '<') return at_tag(el);
  if (el->k[0] == '&') return at_entity();
  if (!strcmp(el->k, "deepToc")) return el->L;
  return at_name(el);
}

// Copies from `p` through the end of `token`; a missing token fails when it
// is `required`, else the rest of the window is copied.
int hot_pass::through(const char* p, const char* token, bool required) {
  const char* t = find_in(p, end(), token);
  if (!t) {
    if (!required) return (int)(end() - (rb.z + rb.a));
    safe_ut.show_text("at", p, 80);
    exut.fail(__LINE__, SRC, "System: %s missing in page %i", token, page);
  }
  return (int)(t + strlen(token) - (rb.z + rb.a));
}

int hot_pass::at_tag(str_el* el) {
  const char* p = rb.z + rb.a;
  const char* k = el->k;
  if (!strncasecmp(p, "</body", 6) || !strncasecmp(p, "</html", 6)) return -1;
  if (starts(p, "<a-->")) {
    rb.a += 5;
    rb.find(0, "<aaa>", out);  // copied as it stands
    if (starts(rb.z + rb.a, "<aaa>")) rb.a += 5;
    return 0;
  }
  if (!strcmp(k, "<a ")) {
    if (starts(p, "<a href")) in_link = true;
    return through(p, ">", true);
  }
  if (!strcmp(k, "</a")) {
    in_link = false;
    return 3;
  }
  if (!strcmp(k, "</secLU")) return at_secLU();
  if (!strcmp(k, "<deepToc")) return through(through(p, "</deepToc", true) + p, ">", true);
  bool letter = isalpha((unsigned char)p[2]);
  if ((!strcmp(k, "<b") || !strcmp(k, "<u")) && !letter) return at_marked(k[1] == 'u');
  if (!strcmp(k, "<o:p")) return starts(p, "<o:p></o:p>") ? (rb.a += 11, 0) : 4;
  if (!strcmp(k, "</u")) {
    marked = false;
    const char* gt = find_in(p, end(), ">");
    rb.a = gt ? (int)(gt + 1 - rb.z) : rb.a + 3;
    return 0;
  }
  if (!strcmp(k, "</b") || !strcmp(k, "</h")) {
    bold_or_head = false;
    return 3;
  }
  if (!strcmp(k, "<h")) return isdigit((unsigned char)p[2]) ? at_heading() : 2;
  if (!strcmp(k, "<p")) return p[2] == ' ' || p[2] == '>' ? at_para() : 2;
  return el->L;
}

// "&nbsp;" followed by white space becomes "&nbsp; "; other entities stay.
int hot_pass::at_entity() {
  const char* p = rb.z + rb.a;
  if (!starts(p, "&nbsp;")) return 1;
  const char* q = p + 6;
  if (q >= end() || !isspace((unsigned char)*q)) return 6;
  while (q < end() && isspace((unsigned char)*q)) q++;
  fputs("&nbsp; ", out);
  rb.a = (int)(q - rb.z);
  return 0;
}

// "<b" or "<u": a bold and underlined text is a definition in running text.
int hot_pass::at_marked(bool underline) {
  const char* p = rb.z + rb.a;
  if (!marked && !quiet() && ut.marked_to_index(page, p, end())) {
    marked = true;
    fprintf(out, "<a name=e%i></a>", ut.hot_nr);
  }
  if (!underline) {
    bold_or_head = true;
    return 2;
  }
  const char* gt = find_in(p, end(), ">");
  if (!gt) exut.fail(__LINE__, SRC, "System: > missing behind <u in page %i", page);
  rb.a = (int)(gt + 1 - rb.z);
  return 0;
}

// A paragraph: its typed names into the index, behind one anchor.
int hot_pass::at_para() {
  const char* p = rb.z + rb.a;
  const char* gt = find_in(p, end(), ">");
  if (!gt) exut.fail(__LINE__, SRC, "System: > missing behind <p in page %i", page);
  if (quiet()) return (int)(gt + 1 - p);
  auto names = ut_htm::typed_names(gt + 1, end());
  if (names.empty()) return (int)(gt + 1 - p);
  int n = ++ut.hot_nr;
  fwrite(p, 1, gt - p, out);
  fprintf(out, "><a name=e%i></a>", n);
  for (const std::string& w : names) ut.word_to_index(pageWords, w, heading, page, n);
  rb.a = (int)(gt + 1 - rb.z);
  return 0;
}

// "</secLU:doc:NAME>": the mark goes; the section that follows is looked
// up in secDates.
int hot_pass::at_secLU() {
  const char* p = rb.z + rb.a;
  const char* gt = find_in(p, end(), ">");
  if (!gt) exut.fail(__LINE__, SRC, "System: > missing behind </secLU in page %i", page);
  std::string name = starts(p, "</secLU:doc:") ? std::string(p + 12, gt) : "";
  rb.a = (int)(gt + 1 - rb.z);
  if (ut.web.docNrs.number_of_elements() == 0) return 0;
  auto nr = tree_value(ut.web.docNrs, name);
  if (!nr) {
    ut.sec_errors++;
    printf("\ns-error: docNs: secNotFound: [%s]\n", name.c_str());
    return 0;
  }
  const char* h = gt;
  while ((h = find_in(h + 1, end(), "<h")) && !isdigit((unsigned char)h[2])) {
  }
  if (!h) return 0;
  const char* he = find_in(h, end(), "</h");
  const char* hgt = find_in(h, end(), ">");
  if (!he || !hgt || hgt > he) return 0;
  heading = hot_text::plain(hgt + 1, he);
  std::string key = *nr + ":" + ut_htm::secLU_name(ut_htm::section_line(heading));
  if (!tree_holds(ut.web.secDates, key)) {
    printf("\nsecDs: not in secLU: [%s]", key.c_str());
    ut.secs_not_found++;
  }
  return 0;
}

// A heading is copied as it stands; its text is the current heading.
int hot_pass::at_heading() {
  const char* p = rb.z + rb.a;
  const char* gt = find_in(p, end(), ">");
  const char* he = gt ? find_in(gt, end(), "</h") : nullptr;
  if (!he) {
    safe_ut.show_text("heading", p, 80);
    exut.fail(__LINE__, SRC, "System: a heading without its close in page %i", page);
  }
  heading = hot_text::plain(gt + 1, he);
  bold_or_head = true;
  return (int)(he - p);
}
