// Reports on the C and C++ side that read outside lists or the pages
// already written: the module dependencies of <root>/alles_dep (MoDep.htm),
// the message handlers of the pages with a message map (the file
// "messMap"), the user interface headers without implementation ("UI: %s")
// and the Java imports that name no file of the tree ("falsch: %s in %s").
#include <algorithm>
#include <cstring>
#include <map>
#include <set>

#include "codeweb/java2htm.h"
#include "engine/escape.h"
#include "runtime/safe_uts.h"

namespace {

std::string trimmed(std::string s) {
  size_t b = s.find_first_not_of(" \t\r");
  if (b == std::string::npos) return "";
  size_t e = s.find_last_not_of(" \t\r");
  return s.substr(b, e + 1 - b);
}

}  // namespace

// <root>/alles_dep is written by an outside tool.  The shape read here,
// from its first line "+ <module>" on: a line "+ <module>" names a module,
// a line "<SM> < <LM>" says that module LM depends on module SM.
Java2Htm::module_deps Java2Htm::read_module_deps(const std::string& t) {
  module_deps d;
  size_t at = t.compare(0, 2, "+ ") == 0 ? 0 : t.find("\n+ ");
  while (at != std::string::npos && at < t.size()) {
    if (t[at] == '\n') at++;
    size_t nl = t.find('\n', at);
    std::string line = t.substr(at, nl == std::string::npos ? std::string::npos : nl - at);
    at = nl == std::string::npos ? std::string::npos : nl + 1;
    if (line.compare(0, 2, "+ ") == 0) {
      std::string m = trimmed(line.substr(2));
      if (!m.empty()) d.modules.insert(m);
      continue;
    }
    size_t lt = line.find('<');
    if (lt == std::string::npos) continue;
    std::string sm = trimmed(line.substr(0, lt)), lm = trimmed(line.substr(lt + 1));
    if (sm.empty() || lm.empty()) continue;
    d.modules.insert(sm);
    d.modules.insert(lm);
    d.uses[lm].insert(sm);
    d.usedBy[sm].insert(lm);
  }
  return d;
}

void Java2Htm::show_Module_Dependencies() {
  std::string file = root + "/alles_dep";
  if (!safe_ut.readable_input(file.c_str())) return;
  module_deps d = read_module_deps(safe_ut.read_text(file.c_str()));
  FILE* f = open_page(j2h + "/MoDep.htm", "Modules in the Sense of MS Studio");
  fputs("SM &lt; <b>LM</b> means: <b>LM</b> depends on SM<br>\n<b>LM</b> &gt; SM means: <b>LM</b> is needed by SM"
        "<br><br>",
        f);
  std::vector<std::string> cli, others;
  for (const std::string& m : d.modules) (m.find("CLI") != std::string::npos ? cli : others).push_back(m);
  auto entry = [&](const std::string& m) {
    std::string a = html_attr(m);
    fprintf(f, "\n[ <a href=#B%s>&lt;&lt;</a> ] [\n<a href=#U%s>&gt;&gt;</a> ] <a href=#%s>%s</a><br>", a.c_str(),
            a.c_str(), a.c_str(), html_text(m).c_str());
  };
  if (!cli.empty()) {
    fputs("\n<br>Command Line Interface Modules are:<br>", f);
    for (auto& m : cli) entry(m);
  }
  fprintf(f, "\n<br>There are %i Modules in the sense of MS Studio:<br>", (int)others.size());
  for (auto& m : others) entry(m);
  for (const std::string& m : d.modules) {
    std::string a = html_attr(m), n = html_text(m);
    fprintf(f, "\n<br><a name=\"%s\"></a><b>%s</b><br>\n<a name=\"U%s\"></a>", a.c_str(), n.c_str(), a.c_str());
    for (const std::string& sm : d.uses[m])
      fprintf(f, "\n%s <a href=#%s>%s</a><br>", "&lt;", html_attr(sm).c_str(), html_text(sm).c_str());
    fprintf(f, "\n<a name=\"B%s\"></a>", a.c_str());
    for (const std::string& lm : d.usedBy[m])
      fprintf(f, "\n%s <a href=#%s>%s</a><br>", "&gt;", html_attr(lm).c_str(), html_text(lm).c_str());
  }
  fprintf(f, "\n<br><font size=1>%s Modules in total</font><br>", std::to_string(d.modules.size()).c_str());
  close_page(f);
}

// The handlers of ON_COMMAND( and ON_MESSAGE( entries on the pages with a
// message map: "-" for the ids of standard dialogs and menus (IDOK,
// IDCANCEL, _ABOUT, _DEBUG, _HELP, _HILFE, _PREVIEW, _PRINT, _EDIT_), "+"
// for the others; appended to the file "messMap" of the working folder.
void Java2Htm::show_messMap() {
  if (!msgMaps) return;
  std::string rows;
  Btree_st st;
  for (unsigned ok = msgMaps->GetFirst(st); ok; ok = msgMaps->Next(st)) {
    std::string page = j2h + "/" + std::string(st.k, st.k_L);
    if (!safe_ut.readable_input(page.c_str())) continue;
    rows += message_handlers(html_plain(safe_ut.read_text(page.c_str())));
  }
  if (rows.empty()) return;
  FILE* f = safe_ut.open_append("messMap");
  if (!f) return;
  fputs(rows.c_str(), f);
  safe_ut.close_FILE(&f, "module_pages", __LINE__);
}

std::string Java2Htm::message_handlers(const std::string& t) {
  std::string rows;
  for (const char* macro : {"ON_COMMAND(", "ON_MESSAGE("}) {
    size_t n = strlen(macro);
    for (size_t at = t.find(macro); at != std::string::npos; at = t.find(macro, at + n)) {
      size_t close = t.find(')', at), comma = t.find(',', at);
      if (close == std::string::npos || comma == std::string::npos || comma > close) continue;
      std::string id = trimmed(t.substr(at + n, comma - at - n)), handler = trimmed(t.substr(comma + 1, close - comma - 1));
      if (id.empty() || handler.empty() || (id + handler).find('\n') != std::string::npos) continue;
      bool standard = id == "IDOK" || id == "IDCANCEL";
      for (const char* w : {"_ABOUT", "_DEBUG", "_HELP", "_HILFE", "_PREVIEW", "_PRINT", "_EDIT_"})
        standard = standard || id.find(w) != std::string::npos;
      rows += "\n" + std::string(1, standard ? '-' : '+') + handler + "~" + id;
    }
  }
  return rows;
}

// The text of a page without its tags and with its character references
// of "<", ">" and "&" read back.
std::string Java2Htm::html_plain(const std::string& page) {
  std::string out;
  out.reserve(page.size());
  for (size_t i = 0; i < page.size(); i++) {
    if (page[i] == '<') {
      size_t e = page.find('>', i);
      if (e == std::string::npos) break;
      i = e;
    } else if (page.compare(i, 4, "&lt;") == 0) {
      out += '<', i += 3;
    } else if (page.compare(i, 4, "&gt;") == 0) {
      out += '>', i += 3;
    } else if (page.compare(i, 5, "&amp;") == 0) {
      out += '&', i += 4;
    } else {
      out += page[i];
    }
  }
  return out;
}

// The user interface files (paths holding "/ui_"): a header without an
// implementation of the same stem is named, and so is such a header that
// an implementation includes.
void Java2Htm::see_server_API() {
  if (!uiFiles) return;
  std::set<std::string> stems, headers;  // stems of .cpp files; headers by base name
  std::vector<std::string> impls, heads;
  Btree_st st;
  auto stem = [](const std::string& p) { return p.substr(0, p.rfind('.')); };
  auto base = [](const std::string& p) { return p.substr(p.rfind('/') + 1); };
  for (unsigned ok = uiFiles->GetFirst(st); ok; ok = uiFiles->Next(st)) {
    std::string p(st.k, st.k_L);
    if (p.size() > 4 && p.compare(p.size() - 4, 4, ".cpp") == 0) {
      stems.insert(stem(p));
      impls.push_back(p);
    } else if (p.size() > 2 && p.compare(p.size() - 2, 2, ".h") == 0) {
      heads.push_back(p);
    }
  }
  std::set<std::string> lone;  // base names of headers without implementation
  for (const std::string& h : heads)
    if (!stems.count(stem(h))) {
      lone.insert(base(h));
      printf("\nUI: %s", h.c_str());
    }
  for (const std::string& c : impls) {
    if (!safe_ut.readable_input(c.c_str())) continue;
    std::string t = safe_ut.read_text(c.c_str());
    for (size_t at = t.find("#include \""); at != std::string::npos; at = t.find("#include \"", at + 10)) {
      size_t q = t.find('"', at + 10), nl = t.find('\n', at);
      if (q == std::string::npos || (nl != std::string::npos && q > nl)) continue;
      std::string inc = t.substr(at + 10, q - at - 10);
      if (lone.count(base(inc))) printf("\nUI: %s", inc.c_str());
    }
  }
}

// Each import of the Java pages whose package is one of this tree's must
// name a Java file of the tree: the file of its class (the walk's table of
// base names) must be there.  Imports of other libraries cannot be files
// of the tree and are not checked; nor are imports of a whole package.
void Java2Htm::check_imports() {
  Btree_st st, p;
  for (unsigned ok = javaImports.GetFirst(st); ok; ok = javaImports.Next(st)) {
    std::string key(st.k, st.k_L);
    std::string name = key.substr(0, key.rfind('/'));
    size_t dot = name.rfind('.');
    if (name.empty() || name.back() == '*' || dot == std::string::npos) continue;
    if (!ourPackages.Get(name.substr(0, std::min<size_t>(dot, 252)).c_str(), p)) continue;
    if (!classNames.Get(name.substr(dot + 1, 252).c_str(), p)) printf("\nfalsch: %s in %s", name.c_str(), st.c);
  }
}
