// Section pages: what the scan of the cut does at the tags and marks it
// rewrites (anchors, classed paragraphs, typed paragraphs, pictures,
// keywords, footnotes, installation parameters, semi titles, the document
// head).  Each step stands on the "<" it handles and returns how many
// characters at the scanner's `a` are copied unchanged.
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

const char* const SRC = "section_marks";

// The end of the tag that starts at `p`, failing when the window has none.
const char* tag_close(rBuffer& rb, const char* p) {
  const char* gt = find_in(p, rb.z + rb.e, ">");
  if (!gt) {
    safe_ut.show_text("tag", p, 60);
    exut.fail(__LINE__, SRC, "System: a tag without its close");
  }
  return gt;
}

// The value of `attr=` inside [p, gt): quoted or bare.
std::string attr_value(const char* p, const char* gt, const char* attr) {
  const char* v = find_in(p, gt, attr);
  if (!v) return "";
  v += strlen(attr);
  char q = (*v == '"' || *v == '\'') ? *v++ : 0;
  const char* e = v;
  while (e < gt && (q ? *e != q : (*e != ' ' && *e != '>'))) e++;
  return std::string(v, e);
}

}  // namespace

std::string semi_key(const std::string& title) {
  std::string k;
  for (size_t i = 0; i < title.size(); i++) {
    if (title.compare(i, 6, "&nbsp;") == 0) {
      i += 5;
      continue;
    }
    unsigned char c = (unsigned char)title[i];
    if (isspace(c)) continue;
    k += (char)safe_uts::to_lower_char(c);
  }
  return k;
}

int doc_splitter::at_a_tag(rBuffer& rb) {
  const char* p = rb.z + rb.a;
  const char* gt = tag_close(rb, p);
  if (starts(p, "<a name=\"_\"><a>")) return rb.a += 15, 0;
  if (starts(p, "<a name=")) {
    std::string name = attr_value(p, gt, "name=");
    if (docNr == 1 && (name == "101" || name == "102")) {
      // The portal's anchors before its first two headings, placed by link
      // creation for links from outside the web, stay as they are.
      fprintf(out, "<a name=\"%s\">", name.c_str());
    } else if (name.empty() || name[0] == '_' || isdigit((unsigned char)name[0])) {
      // Word's hidden bookmarks and the cards' own page anchors, which
      // every section page writes anew.
      fputs("<a>", out);
    } else {
      int n = ++ut.e_nr;
      fprintf(out, "<a name=\"e%i\">", n);
      tree_put(localNames, name, std::to_string(page) + ".htm#e" + std::to_string(n));
    }
    rb.a = (int)(gt + 1 - rb.z);
    return 0;
  }
  std::string target = attr_value(p, gt, "href=");
  if (!target.empty() && target[0] != '.' && target[0] != '/' &&
      (target.find("http:") != std::string::npos || target.find("ftp:/") != std::string::npos ||
       target.find("www.") != std::string::npos)) {
    int n = ++ut.e_nr;
    fprintf(out, "<a name=\"e%i\"></a>", n);
    std::string line = std::to_string(page) + ".htm#e" + std::to_string(n) + ">Link</a> : " + target;
    ut.to_index("Link", line.c_str());
  }
  return 1;
}

// "<p class=Name" and "<span class=Name": the class by its number in 1.css.
int doc_splitter::at_p_class(rBuffer& rb) {
  char* p = rb.z + rb.a;
  bool para = p[1] == 'p';
  if (starts(p, "<p class=Nachrichtenkopf-Ausdruck")) {
    const char* e = find_in(p, rb.z + rb.e, "</p>");
    if (!e) exut.fail(__LINE__, SRC, "System: </p> missing in docNr %i", docNr);
    rb.a = (int)(e + 4 - rb.z);
    return 0;
  }
  char* name = p + (para ? 9 : 12);
  size_t L = strcspn(name, " >\n");
  std::string cls(name, L);
  int nr = 1, margin = 0;
  for (const css_class& c : classes)
    if (c.name == cls) {
      nr = c.nr;
      margin = c.margin;
      break;
    }
  fprintf(out, "\n<%s class=%i", para ? "p" : "span", nr);
  if (!para) {
    rb.a = (int)(name + L - rb.z);
    return 0;
  }
  paras++;
  char* go = ut.norm_para(out, name + L, margin, rb.z + rb.e);
  rb.a = (int)(go - rb.z);
  if (starts(go, "<b><b>")) rb.a += 3;
  return 0;
}

// A typed paragraph "X<:>_ Name": an anchor, and the name defined there.
int doc_splitter::at_typed_para(rBuffer& rb) {
  char* p = rb.z + rb.a;
  paras++;
  const char* gt = tag_close(rb, p);
  const char* mark = find_in(p, rb.z + rb.e, "<:>_");
  fwrite(p, 1, gt + 1 - p, out);
  int n = ++ut.e_nr;
  fprintf(out, "<a name=\"e%i\"><br>", n);
  fwrite(gt + 1, 1, mark - gt - 1, out);
  fputs("_ ", out);
  const char* w = mark + 4;
  while (*w == ' ') w++;
  const char* we = w;
  while (safe_uts::is_alnum((unsigned char)*we) || *we == '_') we++;
  if (mark > gt + 1) {
    std::string key = std::string(1, mark[-1]) + "_" + std::string(w, we);
    std::string target = std::to_string(page) + ".htm#e" + std::to_string(n);
    tree_put(ut.defs, key, target);
    if (key[0] == 'E') tree_put(ut.defs, "e" + key.substr(1), target);
  }
  rb.a = (int)(w - rb.z);
  return 0;
}

// A picture: centred, with its caption's anchor when the caption is known.
int doc_splitter::at_img(rBuffer& rb) {
  const char* p = rb.z + rb.a;
  const char* gt = tag_close(rb, p);
  const char* pe = find_in(gt, rb.z + rb.e, "</p");
  char cap[256];
  int has = pe ? ut_htmst::caption(gt + 1, pe, cap) : 0;
  if (has == 0 && pe) {
    // Word writes a caption as the paragraph behind the picture's own.
    const char* q = find_in(pe, rb.z + rb.e, ">");
    while (q && ++q < rb.z + rb.e && isspace((unsigned char)*q)) {
    }
    if (q && starts(q, "<p")) {
      const char* qe = find_in(q, rb.z + rb.e, "</p");
      const char* qgt = find_in(q, rb.z + rb.e, ">");
      if (qe && qgt && qgt < qe) has = ut_htmst::caption(qgt + 1, qe, cap);
    }
  }
  std::string anchor;
  if (has > 0) {
    std::string key(cap, strcspn(cap, "(/"));
    while (!key.empty() && key.back() == ' ') key.pop_back();
    if (auto v = tree_value(ut.web.picNames, key)) anchor = !v->empty() && (*v)[0] == '#' ? v->substr(1) : *v;
  }
  fputs("<center>", out);
  fwrite(p, 1, gt - p, out);
  if (!anchor.empty()) {
    pictures++;
    tree_put(localNames, anchor, std::to_string(page) + ".htm#" + anchor);
    fprintf(out, "><a name=\"%s\"></a></center>", anchor.c_str());
  } else {
    fputs("></center>", out);
    if (has > 0) picsNoTarget++;
  }
  expected--;
  rb.a = (int)(gt + 1 - rb.z);
  return 0;
}

// "<a-...>TEXT</a>": a keyword anchor.
int doc_splitter::at_keyword(rBuffer& rb) {
  const char* p = rb.z + rb.a;
  const char* gt = tag_close(rb, p);
  const char* e = find_in(gt, rb.z + rb.e, "</a>");
  if (!e) exut.fail(__LINE__, SRC, "System: </a> missing behind <a- in docNr %i", docNr);
  std::string text(gt + 1, e);
  int n = ++ut.e_nr;
  fprintf(out, "<a name=\"e%i\"></a>%s", n, text.c_str());
  if (!text.empty() && safe_uts::is_alnum((unsigned char)text[0]))
    tree_put(ut.specs, text, "=)" + std::to_string(page) + ".htm#e" + std::to_string(n));
  else
    printf("\nspecs: no keyword in [%s]", text.c_str());
  printf("\nspecs:c = [%s]", text.c_str());
  rb.a = (int)(e + 4 - rb.z);
  return 0;
}

// A footnote's body goes to its own file <dir>/<id>; the page gets it at
// the end of the document.
int doc_splitter::at_footnote_body(rBuffer& rb) {
  const char* p = rb.z + rb.a;
  const char* gt = tag_close(rb, p);
  std::string id = attr_value(p, gt, "id=");
  if (id.empty() || id.find('/') != std::string::npos || id[0] == '.') id = "ftn";
  rb.a = (int)(gt + 1 - rb.z);
  FILE* fn = safe_ut.open_FILE((dir + "/" + id).c_str(), "w");
  if (!rb.find(0, "<p", nullptr) || !rb.find(0, "</div>", fn)) {
    safe_ut.close_FILE(&fn, SRC, __LINE__);
    exut.fail(__LINE__, SRC, "System: </div> missing behind a footnote in docNr %i", docNr);
  }
  safe_ut.close_FILE(&fn, SRC, __LINE__);
  rb.a += 6;
  return 0;
}

// "<$>$name": an installation parameter.
int doc_splitter::at_install_par(rBuffer& rb) {
  const char* p = rb.z + rb.a + 3;
  const char* e = p;
  while (*e == '$' || safe_uts::is_alnum((unsigned char)*e) || (*e && strchr("\\/.:_", *e))) e++;
  std::string name(p, e);
  int n = ++inst_nr;
  fprintf(out, "<a name=instPar%i></a>", n);
  if (tree_holds(ut.defs, name)) printf("\nWarning: %s in bold more than once.", name.c_str());
  tree_put(ut.defs, name,
           "../" + std::to_string(docNr) + "/" + std::to_string(page) + ".htm#instPar" +
               std::to_string(n));
  rb.a += 3;
  return 0;
}

// "<$Dname="--D-(NAME)"></a>": a semi title configured for this document.
int doc_splitter::at_semi_mark(rBuffer& rb) {
  const char* p = rb.z + rb.a;
  const char* open = find_in(p, rb.z + rb.e, "--D-(");
  const char* end = open ? find_in(open, rb.z + rb.e, ")\"></a>") : nullptr;
  if (!end) {
    safe_ut.show_text("mark", p, 60);
    exut.fail(__LINE__, SRC, "System: a semi title mark without its close");
  }
  std::string name(open + 5, end);
  std::string target = std::to_string(docNr) + "/" + std::to_string(firstPage) + ".htm#2";
  tree_put(ut.semis, "D_(" + name + ")", target);
  tree_put(ut.semiKeys, semi_key(name), target);
  semiTitles.push_back(name);
  rb.a = (int)(end + 7 - rb.z);
  return 0;
}

// "<$Doc=A:B:C:TITLE>": the document head.
int doc_splitter::at_doc_mark(rBuffer& rb) {
  const char* p = rb.z + rb.a;
  const char* gt = tag_close(rb, p);
  if (gt - p < 39) {
    safe_ut.show_text("mark", p, 60);
    exut.fail(__LINE__, SRC, "System: a document head mark too short");
  }
  std::string B(p + 17, 10), C(p + 28, 10), T(p + 39, gt);
  std::string b = B;
  while (!b.empty() && b.back() == ' ') b.pop_back();
  if (isdigit((unsigned char)C[0]))
    version = "Frozen on " + C + " , ";
  else
    version = "since " + b + " . ";
  tree_put(ut.web.docDates, T, B + ":" + C + ":" + std::to_string(firstPage));
  rb.a = (int)(gt + 1 - rb.z);
  return 0;
}
