// Where Java classes are imported: uses/0.htm with a page uses/<i>.htm per
// imported name, a page u/<n>.htm per Java class (each class row of a Java
// page links it as "use"), and nn.htm with the classes no file imports.
#include <map>
#include <set>

#include "codeweb/java2htm.h"
#include "engine/escape.h"
#include "runtime/safe_uts.h"

namespace {

// "<imported name>/<package>": the package has no "/", so the last one
// divides.
std::pair<std::string, std::string> split_import(const std::string& key) {
  size_t s = key.rfind('/');
  if (s == std::string::npos) return {key, ""};
  return {key.substr(0, s), key.substr(s + 1)};
}

}  // namespace

void Java2Htm::show_imports() {
  std::map<std::string, std::vector<importer_row>> byName;  // imported name -> its importers
  Btree_st st;
  for (unsigned ok = javaImports.GetFirst(st); ok; ok = javaImports.Next(st)) {
    auto [name, package] = split_import(std::string(st.k, st.k_L));
    byName[name].push_back({package, st.c});
  }
  dir_with_css(j2h + "/uses");
  FILE* f = open_page(j2h + "/uses/0.htm", "Where Java uses ...");
  int i = 0;
  for (auto& [name, users] : byName) {
    fprintf(f, "\n<br><a href=\"%i.htm\">%s</a>", ++i, html_text(name).c_str());
    FILE* p = open_page(j2h + "/uses/" + std::to_string(i) + ".htm", "is imported to:");
    fprintf(p, "\n<b>%s</b><br>", html_text(name).c_str());
    for (const importer_row& u : users)
      fprintf(p, "\n<br><a href=\"../%s\">%s</a>", html_attr(u.page).c_str(), html_text(u.package).c_str());
    close_page(p);
  }
  close_page(f);
  the_useOf(byName);
}

// u/<n>.htm for each Java class of javaDefs: the files that import it by
// its full name or through its package ("a.b.*", shown " as a.b.*").
void Java2Htm::the_useOf(const std::map<std::string, std::vector<importer_row>>& byName) {
  dir_with_css(j2h + "/u");
  std::set<std::string> done;
  std::vector<std::pair<std::string, std::string>> unused;  // (name, page)
  Btree_st st, ns;
  for (unsigned ok = javaDefs.GetFirst(st); ok; ok = javaDefs.Next(st)) {
    std::string key(st.k, st.k_L), data = st.c;
    std::string cls = key.substr(key.find('.') + 1);
    std::string page = data.substr(0, data.find('~'));
    std::string package = data.find('~') == std::string::npos ? "" : data.substr(data.find('~') + 1);
    if (!done.insert(cls).second || !nameNr.Get(cls.substr(0, 252).c_str(), ns)) continue;
    std::string full = package.empty() ? cls : package + "." + cls;
    FILE* f = open_page(j2h + "/u/" + ns.c + ".htm", class_shown(cls).c_str());
    fputs("is imported to:<br>", f);
    int n = 0;
    for (const std::string& via : {full, package + ".*"}) {
      auto it = byName.find(via);
      if (it == byName.end()) continue;
      std::string as = via == full ? "" : " as " + html_text(via);
      for (const importer_row& u : it->second) {
        fprintf(f, "\n<br>. &nbsp; <a href=\"../%s\">%s<a>%s", html_attr(u.page).c_str(),
                html_text(u.package).c_str(), as.c_str());
        n++;
      }
    }
    close_page(f);
    bool jsp = full.find("$jsp") != std::string::npos ||
               (full.size() > 4 && full.compare(full.size() - 4, 4, ".jsp") == 0);
    if (n == 0 && !jsp) unused.push_back({full, page});
  }
  FILE* f = open_page(j2h + "/nn.htm", "Not imported anywhere:");
  for (auto& [name, page] : unused)
    fprintf(f, "\n<br><a href=%s>%s</a>", html_attr(page).c_str(), html_text(name).c_str());
  close_page(f);
}
