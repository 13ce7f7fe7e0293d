// The problems page: the names that pages use and nothing defines (NoSp,
// filled by the hotspots), less those the index or the semi titles know
// after all and those the web may leave open (noProblem).  And the fixed
// pages: pages the menu links that no other stage wrote.
#include <cctype>
#include <cstring>
#include <string>
#include <vector>

#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/owned_file.h"
#include "runtime/safe_uts.h"

namespace {

const char* const SRC = "problems_page";
const char* const hint = "<font color=#FF3333><b>[?] </b></font>";

// The names of a data model: open in a web that has one.
const char* const model_names[] = {"B_BLOB",         "E_Attribute", "E_Domain",
                                   "E_DomainValue",  "E_Entity",    "E_Is_keyword_for",
                                   "E_Is_related_to"};

// The name of a NoSp key "<a href=<page>.htm><page+10000> - </a><name>".
std::string name_in(const std::string& k) {
  size_t at = k.find("- </a>");
  return at == std::string::npos ? k : k.substr(at + 6);
}

// The page file of a NoSp key: "<page>.htm", or "".
std::string page_in(const std::string& k) {
  if (k.compare(0, 8, "<a href=") != 0) return "";
  size_t end = k.find('>', 8);
  return end == std::string::npos ? "" : k.substr(8, end - 8);
}

// The semiKeys key of a title: lower case, no blanks.
std::string semi_key_of(const std::string& name) {
  std::string t = name, r;
  if (t.compare(0, 3, "D_(") == 0) t = t.substr(3, t.size() - 3 - (t.back() == ')' ? 1 : 0));
  for (char c : t)
    if (c != ' ') r += (char)tolower((unsigned char)c);
  return r;
}

// Names that are no problem to list: place holders, odd forms.
bool never_listed(const std::string& name, Btree& noProblem) {
  if (name.compare(0, 10, "X_Name_of_") == 0 || name == "___" || name == "_" ||
      name == "_&gt;&lt;_")
    return true;
  if (name.empty() || !isalpha((unsigned char)name[0])) return true;
  if (name.size() > 2 && name[2] == 'x') return true;
  return tree_holds(noProblem, name);
}

}  // namespace

int ut_htm::problems_page(Btree& index) {
  owned_FILE out(safe_ut.create("Problems.htm"));
  HeaderMenu(out.f, -1, 0, "Problems", "");
  ourMenu(__LINE__, SRC, out.f, 2, "Problems", nullptr, 0);
  Btree_st st;
  std::vector<std::string> keys;
  for (unsigned ok = NoSp.GetFirst(st); ok; ok = NoSp.Next(st)) {
    std::string k(st.k, st.k_L);
    if (name_in(k) != "C_...") keys.push_back(k);
  }
  if (!keys.empty())
    fputs("\n</p><br/><p class=1> <b>The following concepts are referred to but are not yet "
          "specified</b> <br>or are specified under a different name (you should correct or "
          "complete the corresponding design documents):</p><br/>",
          out.f);
  Btree open;
  prepare_tree(open, "problems");
  int problems = 0;
  bool model = !ourERD.empty() || !web.sqlData.empty();
  for (const std::string& k : keys) {
    const std::string name = name_in(k);
    size_t bracket = name.find('(');
    std::string bare = bracket == std::string::npos ? name : name.substr(0, bracket);
    if (tree_holds(semiKeys, semi_key_of(name)) || tree_holds(index, name) ||
        tree_holds(index, bare))
      continue;
    problems++;
    if (never_listed(name, noProblem)) continue;
    bool of_model = false;
    for (const char* m : model_names) of_model |= model && name == m;
    if (!of_model) tree_put(open, k, "\">No spec for . .</a> " + name);
  }
  printf("\nUUUU");
  for (unsigned ok = open.GetFirst(st); ok; ok = open.Next(st)) {
    std::string page = page_in(std::string(st.k, st.k_L)), doc;
    int p = atoi(page.c_str());
    if (p > 0 && p < (int)page_doc.size() && page_doc[p] > 0) doc = std::to_string(page_doc[p]) + "/";
    fprintf(out.f, "\n%s<a href=\"%s%s %s", "<br/>", doc.c_str(), page.c_str(), st.c);
  }
  if (problems)
    fprintf(out.f,
            "\n<br><br><br><b>To summarize: </b>At least %i lines in the design need correction "
            "or refer to concepts not yet specified (question marks %s were created to mark all "
            "such inconsistent text).</p></body></html>\n",
            problems, hint);
  else
    fputs("\nNo formal problems detected.</p></body></html>\n", out.f);
  safe_ut.close_FILE(&out.f, SRC, __LINE__);
  // The menus link the page in lower case too.
  safe_ut.link_to("Problems.htm", "problems.htm");
  empty_tree(open);
  return problems;
}

void ut_htm::fixed_pages() {
  static const char* const pages[][3] = {
      {"glossar0.htm", "So far there is no Glossary", ""},
      {"context.htm", "Where Concepts are Discussed", ""},
      {"pics.htm", "Pictures and Presentations", ""},
      {"team.htm", "The Project Team", "- Who is responsible for What -"},
      {"reuse.htm", "Reusable Parts", "- Those Imported and those Exported -"},
      {"app/j2h/1.htm", "No Code published", ""},
      {"testres.htm", "No Testreport so far", ""},
      {"DUC.htm", "Code or UML not yet published", ""},
  };
  safe_ut.ensure_dir("app/j2h");
  for (const auto& p : pages) fixed_page(false, 0, p[0], p[1], p[2]);
  owned_FILE q(fixed_page(true, 0, "quality.htm", "Quality Assessment", ""));
  const std::string report = web.test_report.empty() ? testres : web.test_report;
  fprintf(q.f,
          "\n<br/><a href=problems.htm>Formal Problems detected</a>\n<br/><a href=DUC.htm>"
          "Documentation vs UML vs Code</a>\n<br/><a href=%s#end>The latest Test Report</a>",
          report.c_str());
  fputs("\n</body></html>", q.f);
  safe_ut.close_FILE(&q.f, SRC, __LINE__);
}
