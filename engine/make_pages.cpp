// The web pass: the engine's run over all section pages once every
// document is cut, in the folder xs.  Definitions of all pages first (in
// ascending order), then hotspots and section references on every page (in
// descending order), the glossary terms into the index, the index pages and
// the home menu.
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "engine/section_cut.h"
#include "runtime/exec_ut.h"
#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"
#include "runtime/str_set.h"
#include "store/StrTrees.h"

namespace {

using cut_text::find_in;

const char* const SRC = "make_pages";

// The stop strings of the hotspot pass: the prefixes of typed names and the
// tags the pass looks at.
const char* const hot_stops[] = {"D_", "A_", "P_", "C_", "m_", "V_", "B_", "E_", "e_", "R_",
                                 "S_", "$", "&#132;", "<a ", "</secLU", "<a-", "<deepToc",
                                 "</body", "</html", "<b", "</BODY", "</HTML", "</a", "<u",
                                 "</u", "</b", "<o:p", "<h", "</h"};
// Bare prefixes: defined, so that they stay plain and create no problem.
const char* const place_holders[] = {"C_", "S_", "m_", "P_", "A_", "D_", "V_", "B_", "$_"};

// Titles of glossary definitions without a blank are names too.
void titles_to_defs(Btree& secTitles, Btree& defs) {
  Btree_st st;
  for (unsigned s = secTitles.GetFirst(st); s; s = secTitles.GetNext(st)) {
    std::string k = st.k;
    if (k.compare(0, 3, "D_(") == 0 && k.back() == ')') k = k.substr(3, k.size() - 4);
    if (k.find(' ') == std::string::npos && !tree_holds(defs, k)) tree_put(defs, k, st.c);
  }
}

}  // namespace

void ut_htm::make_pages(int maxPage, StrTrees* menuTree) {
  if (maxPage <= 0) return;
  if (maxPage >= (int)page_doc.size() - 1) {
    exut.show_int("maxPage", maxPage);
    exut.fail(__LINE__, SRC, "System: make_pages: more pages than max_pages");
  }
  max_page_ = maxPage;
  str_set hotSet("hotSet");
  for (const char* s : hot_stops) hotSet.insert(s);
  titles_to_defs(secTitles, defs);
  Btree_st st;
  int page = 1;
  for (; page <= maxPage; page++) collect_defs(page, defs);
  if (page != maxPage + 1) exut.fail(__LINE__, SRC, "System: make_pages: the pages ended early");
  settle_defs();
  if (traceMe) defs.show("defs", stdout);
  for (unsigned s = noHot.GetFirst(st); s; s = noHot.GetNext(st)) defs.Rem(st.k);
  printf("\nprepare us to create ALL index ...");
  for (unsigned s = specs.GetFirst(st); s; s = specs.GetNext(st)) {
    hotSet.insert(st.k, st.c);
    printf("\nspecs: %s --> %s", st.k, st.c);
  }
  hotSet.insert("deepToc");
  for (const char* h : place_holders) tree_put(defs, h, "1.htm#e4");
  hotSet.insert("<p");
  hotSet.insert("&nbsp; <");
  str_set glossSet("glossSet");
  int terms = 0;
  for (unsigned s = web.glossTerms.GetFirst(st); s; s = web.glossTerms.GetNext(st)) {
    if (strlen(st.k) < 2) continue;
    std::string d = st.c;
    glossSet.insert(st.k, d.substr(0, d.find('.')).c_str());
    terms++;
  }
  glossSet.insert("<");
  if (web.k_entries.size() % 2) {
    exut.show_int("entries", (int)web.k_entries.size());
    exut.fail(__LINE__, SRC, "System: the concept keywords are not pairs");
  }
  for (size_t i = 0; i + 1 < web.k_entries.size(); i += 2)
    if (!web.k_entries[i].empty())
      hotSet.insert(web.k_entries[i].c_str(), ("?" + web.k_entries[i + 1]).c_str());
  int total = 0;
  for (int p = maxPage; p >= 1; p--) {
    total += make_hotspots(p, hotSet, glossSet);
    fix_secRefs(p);
  }
  printf("\n%i typed names found, %i links, %i hints, %i glossary terms", total, hot_links, hints,
         terms);
  if (web.glossTerms.number_of_elements() > 0) {
    // The glossary pages were ended with the last document; they are only
    // made here when no document wrote them.
    if (safe_ut.ok_is_a("glossar0.htm") != 'f') open_glossPages(3);
    gloss_to_index();
  }
  NoSp.Rem("E_DomainValue");
  close_glossPages();
  create_index();
  home_menu(menuTree);
}

// Each glossary term into the index, its definition's title into
// secTitles, and a term without a page into the problems.
void ut_htm::gloss_to_index() {
  std::vector<std::pair<std::string, std::string>> titles;
  Btree_st st;
  for (unsigned s = web.glossTerms.GetFirst(st); s; s = web.glossTerms.GetNext(st)) {
    std::string term = st.k, data = st.c;
    size_t dot = data.find('.');
    std::string cut = data.substr(0, dot);
    std::string ref = glossRef(cut.c_str());
    if (term.size() >= 2 && dot != std::string::npos && dot + 1 == data.size() &&
        term.compare(0, 2, "_x") != 0) {
      char key[600];
      snprintf(key, sizeof key, "<a href=glossar%s>%i - </a>%s", ref.c_str(), 10001, term.c_str());
      tree_put(NoSp, key);
    }
    std::string def = tree_value(glossDefs, term).value_or("");
    to_index((term + "~" + def).c_str(),
             ("glossar" + ref + "\">" + term + "</a> : " + def).c_str());
    size_t colon = def.find(':');
    if (colon != std::string::npos)
      titles.emplace_back("D_(" + def.substr(0, colon) + ": " + term + ")", "glossar" + ref);
  }
  for (const auto& [k, v] : titles) tree_put(secTitles, k, v);
}

// The web's home menu into "1/1.htm" from the string tree, its links from
// `defs`; then the "_" behind the first ">" after each "of : " goes.
void ut_htm::home_menu(StrTrees* menuTree) {
  // Nothing fills a menu tree yet: without one the home page stays as the
  // cut left it.
  if (!menuTree || safe_ut.ok_is_a("1/1.htm") != 'f') return;
  menuTree->sorted();
  menuTree->read_menu();
  FILE* out = safe_ut.open_FILE("1/1.x", "w");
  int id = 0;
  menuTree->write_divs(out, "1/1.htm", &defs, &id);
  {
    rBuffer rb("1/1.htm");
    if (char* b = rb.find(0, "<body", nullptr)) {
      const char* gt = find_in(b, rb.z + rb.e, ">");
      rb.a = gt ? (int)(gt + 1 - rb.z) : rb.a;
      rb.copy_rest(out);
    }
  }
  safe_ut.close_FILE(&out, SRC, __LINE__);
  FILE* o = safe_ut.open_FILE("1/1", "w");
  {
    rBuffer rb("1/1.x");
    int copy = 0;
    while (rb.find(copy, "of : ", o)) {
      const char* gt = find_in(rb.z + rb.a, rb.z + rb.e, ">");
      copy = 5;
      if (gt && gt[1] == '_') {
        rb.write_to(gt + 1, o);
        rb.a++;
        copy = 0;
      }
    }
  }
  safe_ut.close_FILE(&o, SRC, __LINE__);
  safe_ut.remove_file("1/1.x");
  safe_ut.remove_file("1/1.htm");
  safe_ut.rename_file("1/1", "1/1.htm");
}
