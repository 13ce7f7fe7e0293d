// Glossary: the two-column tables of a glossary page become the entries of
// the ten pages xs/glossar<k>.htm, each term on the page its first
// character chooses, and the tree glossTerms from term to entry.
#include <cctype>
#include <cerrno>
#include <cstring>
#include <string>

#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"

namespace {

const char* const SRC = "glossary";

constexpr int max_term = 101;   // a longer first cell is cut to this
constexpr int max_cell = 240;   // a longer first cell ends the reading
constexpr int row_window = 60000;  // what of one row is looked at

// The first `what` in [p, end) that is a tag ("<td" followed by a blank or
// ">"), or null.
const char* tag_in(const char* p, const char* end, const char* what) {
  const size_t n = strlen(what);
  for (; p + n < end; p++) {
    p = (const char*)memchr(p, '<', end - p);
    if (!p || p + n >= end) return nullptr;
    if (!strncasecmp(p, what, n) && (p[n] == ' ' || p[n] == '>')) return p;
  }
  return nullptr;
}

const char* text_in(const char* p, const char* end, const char* what) {
  const size_t n = strlen(what);
  for (; p + n <= end; p++) {
    p = (const char*)memchr(p, what[0], end - p);
    if (!p || p + n > end) return nullptr;
    if (!strncasecmp(p, what, n)) return p;
  }
  return nullptr;
}

// Behind the ">" of the tag at `p`, or `end`.
const char* behind_tag(const char* p, const char* end) {
  const char* gt = (const char*)memchr(p, '>', end - p);
  return gt ? gt + 1 : end;
}

// The term of a first cell: leading no-break spaces (160 and "&nbsp;") and
// white space off, trailing white space off.
std::string trimmed_term(const char* s) {
  for (;;) {
    if ((unsigned char)*s == 160 || isspace((unsigned char)*s)) {
      s++;
    } else if (!strncmp(s, "&nbsp;", 6)) {
      s += 6;
    } else {
      break;
    }
  }
  std::string t(s);
  while (!t.empty() && isspace((unsigned char)t.back())) t.pop_back();
  return t;
}

// The definition: the second cell as it stands, every "<p" as "<p class=G",
// ended by "<br/>".
std::string definition_of(const char* p, const char* end) {
  const char* stop = text_in(p, end, "</td");
  if (!stop) stop = end;
  std::string d;
  while (p < stop) {
    if (p + 2 < stop && p[0] == '<' && (p[1] == 'p' || p[1] == 'P') &&
        (p[2] == ' ' || p[2] == '>')) {
      d += "<p class=G";
      p += 2;
      continue;
    }
    if (*p) d += *p;
    p++;
  }
  return d + "<br/>";
}

// "<root>/<docNr>/<page>.<ext>" -> docNr and page; false if the name has
// another form.
bool page_of_file(const char* file, int& docNr, int& page) {
  std::string f(file);
  size_t slash = f.rfind('/');
  if (slash == std::string::npos || slash == 0) return false;
  size_t prev = f.rfind('/', slash - 1);
  std::string d = f.substr(prev == std::string::npos ? 0 : prev + 1,
                           slash - (prev == std::string::npos ? 0 : prev + 1));
  const char* pg = f.c_str() + slash + 1;
  if (d.empty() || d.find_first_not_of("0123456789") != std::string::npos || !isdigit((unsigned char)*pg))
    return false;
  docNr = atoi(d.c_str());
  page = atoi(pg);
  return true;
}

}  // namespace

int ut_htm::gloss_page(const char* term) {
  // A term goes to page (first character - 'A') % 10.  A first character
  // below 'A' (a digit, a quote, "$", or an empty term) gives a negative
  // remainder in C; it is brought into 0..9 by adding 10, so "1st" goes to
  // page 4 and no term ever indexes outside the ten pages.
  int k = ((unsigned char)term[0] - 'A') % 10;
  return k < 0 ? k + 10 : k;
}

std::string ut_htm::glossRef(const char* data) {
  // The page number is the decimal number from the data's second
  // character on, modulo 10: with a document number below 10 there is none
  // there (the second character is "/") and the page is 0.  This is the
  // rule the hotspot links follow; it need not be the page the term is on.
  unsigned k = safe_uts::digits_value(data[0] ? data + 1 : data) % 10;
  return std::to_string(k) + ".htm#" + data;
}

void ut_htm::open_glossPages(int skip) {
  if (derived_.gloss[0]) return;
  if (skip != 0 && skip != 3) {
    exut.show_int("skip", skip);
    exut.fail(__LINE__, SRC, "System: open_glossPages( %i ): skip is 0 or 3\n", skip);
  }
  const char* dir = skip == 0 ? "xs/" : "";
  derived_.gloss_count = 0;
  for (int k = 0; k < 10; k++) {
    std::string name = std::string(dir) + "glossar" + std::to_string(k) + ".htm";
    FILE* f = safe_ut.create(name.c_str());
    HeaderMenu(f, -1, 0, "Glossary", "");
    ourMenu(__LINE__, "open_glossPages", f, 3, nullptr, nullptr, 0);
    fprintf(f,
            "\n<p class=1 align=center><font size=5><b>\nGlossary Page %i</b></font></p><br/>"
            "\n<p class=1 align=center><font size=1>\n<a href=glossar%i.htm>Next Page</a>"
            "</font></p><br/>",
            k, (k + 1) % 10);
    derived_.gloss[k] = f;
  }
}

void ut_htm::close_glossPages() {
  for (FILE*& f : derived_.gloss) {
    if (!f) continue;
    fputs("\n</body></html>\n", f);
    safe_ut.close_FILE(&f, __FILE__, __LINE__);
    f = nullptr;
  }
}

ut_htm::derived_files::~derived_files() {
  try {
    for (FILE*& f : gloss)
      if (f) {
        fputs("\n</body></html>\n", f);
        safe_ut.close_FILE(&f, __FILE__, __LINE__);
      }
    if (search) safe_ut.close_FILE(&search, __FILE__, __LINE__);
  } catch (const char*) {
    exut.reset_after_failure();
  }
}

void ut_htm::glossar_entry(const char* target, const char* term, const char* definition) {
  if (!target || !term || !definition) safe_uts::null_pointer(__LINE__, SRC);
  const char* hash = strstr(target, "#G");
  if (!hash) {
    exut.show_str("target", target);
    exut.fail(__LINE__, SRC, "System: glossar_entry: target without \"#G\": %s\n", target);
  }
  std::string section(target, hash - target);
  FILE* f = derived_.gloss[gloss_page(term)];
  if (!f) exut.fail(__LINE__, SRC, "System: glossar_entry: the glossary pages are not open\n");
  fprintf(f, "\n<h3><a name=%s></a><a href=%s.htm#G%i>%s</a></h3>", target, section.c_str(),
          atoi(hash + 2), term);
  fputs(definition, f);
  tree_put(web.glossTerms, term, target);
  // The definition as plain text, for the index line of the term.
  std::string text;
  bool tag = false;
  for (const char* p = definition; *p && text.size() < 200; p++) {
    if (*p == '<') tag = true;
    else if (*p == '>') tag = false;
    else if (!tag) text += *p == '\n' ? ' ' : *p;
  }
  text.erase(0, text.find_first_not_of(' '));
  while (!text.empty() && text.back() == ' ') text.pop_back();
  tree_put(glossDefs, term, text);
}

void ut_htm::glossar_table(const char* pageFile) {
  if (!pageFile) safe_uts::null_pointer(__LINE__, SRC);
  int docNr = 0, page = 0;
  if (!page_of_file(pageFile, docNr, page)) {
    exut.show_str("pageFile", pageFile);
    exut.fail(__LINE__, SRC, "System: glossar_table: not a section page: %s\n", pageFile);
  }
  rBuffer rb(pageFile, "");
  for (char* p = rb.find(0, "<tr", nullptr); p; p = rb.find(3, "<tr", nullptr)) {
    rb.fill(row_window);
    const char* row = rb.z + rb.a;
    const char* end = rb.z + rb.e;
    if (row[3] != ' ' && row[3] != '>') continue;  // "<track" and the like
    const char* rend = text_in(row + 3, end, "</tr");
    if (!rend) rend = end;
    const char* cell[3] = {};
    int cells = 0;
    for (const char* c = tag_in(row, rend, "<td"); c && cells < 3; c = tag_in(c + 3, rend, "<td"))
      cell[cells++] = c;
    if (cells >= 3) return;  // a third column: the rest of the table is refused
    if (cells == 0) continue;
    char text[max_cell + 8];
    int n = cell_text(behind_tag(cell[0], rend), rend, text, max_cell + 1);
    if (n > max_cell) return;
    if (strchr(text, '>')) {
      exut.show_str("term", text);
      exut.fail(__LINE__, SRC, "Content error: \">\" in the term of a glossary in %s\n", pageFile);
    }
    std::string term = trimmed_term(text);
    if ((int)term.size() > max_term) term.resize(max_term);
    if (term.size() < 2 || cells != 2 || tree_holds(web.glossTerms, term)) continue;
    open_glossPages(0);
    std::string target = std::to_string(docNr) + "/" + std::to_string(page) + "#G" +
                         std::to_string(++derived_.gloss_count);
    glossar_entry(target.c_str(), term.c_str(),
                  definition_of(behind_tag(cell[1], rend), rend).c_str());
  }
}
