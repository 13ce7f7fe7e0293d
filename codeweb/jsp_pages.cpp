// The pages of JSP and ASP sources (phases 9 and 10).  Each file of kind 2
// gets <nr2>.htm from the reader of codeweb/jsp_reader.h, each of kind 3
// asp<n>.htm from codeweb/asp_reader.h; jsp.htm and asp.htm list them,
// the include lists inc/incs_jsp.htm and inc/incs_asp.htm follow, and the
// JSP phase writes the uses pages (uses/00.htm) and the lists of the text
// pages of the walk (htm.htm, css.htm).
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>

#include "codeweb/asp_reader.h"
#include "codeweb/java2htm.h"
#include "codeweb/jsp_reader.h"
#include "engine/escape.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "jsp_pages";

std::string base_name(const std::string& p) { return p.substr(p.rfind('/') + 1); }

bool ends_with(const std::string& s, const char* e) {
  size_t n = strlen(e);
  return s.size() >= n && s.compare(s.size() - n, n, e) == 0;
}


// The web as the readers see it, for the page of file `fNr`.
struct web_hooks : server_hooks {
  Java2Htm& web;
  int fNr;
  bool asp;
  std::string shown;  // the file's path as pages show it

  web_hooks(Java2Htm& w, int n, bool a) : web(w), fNr(n), asp(a), shown(w.shown(w.fReal[n])) {}

  bool include(const std::string& name, std::string& page, int& depth) override {
    std::string found;
    // A comma is a character of a file name here (a C++ include name with
    // one is refused by make_path): such a name is simply not found.
    bool ok = name.find(',') == std::string::npos && web.make_path(web.fReal[fNr], found, name) && !found.empty();
    int n = ok ? known(found) : 0;
    if (!n) {
      if (asp) printf("\nno-- %s [%s]", name.c_str(), shown.c_str());
      return false;
    }
    std::string edge = std::to_string(n) + "->" + std::to_string(fNr);
    Java2Htm::tree_put(asp ? web.aspIncludes : web.jspIncludes, web.rest_of_path(n, 2) + "~" + edge, edge);
    if (asp) {
      page = std::to_string(n);
      depth = web.ASP_to_htm(n);
    } else {
      web.to_INCs(n, fNr);
      page = Java2Htm::nr2(n);
      depth = web.fKind[n] == Java2Htm::k_jsp ? web.JSP_to_htm(n) : 0;
    }
    return true;
  }

  // The number of the file a resolved path names: known in the language's
  // tree, or a file that gets its number now (0: no file, or one that has
  // no page of this language).
  int known(const std::string& path) {
    Btree& tree = asp ? web.aspTree : web.jspTree;
    int kind = asp ? Java2Htm::k_asp : Java2Htm::k_jsp;
    Btree_st st;
    if (path.size() <= 252 && tree.Get(path.c_str(), st)) return atoi(st.c);
    std::string real = web.real_of(path);
    if (real.empty()) return 0;
    int n = web.srcfile(__LINE__, path.c_str(), kind);
    if (web.fReal[n] == web.fPath[n]) web.fReal[n] = real;
    if (web.fKind[n] != kind) return !asp && web.fKind[n] == Java2Htm::k_c ? n : 0;  // a JSP may link a C page
    Java2Htm::tree_put(tree, path, std::to_string(n));
    return n;
  }

  void uses(const std::string& name) override {
    if (!asp) web.code_uses("jsp", fNr, shown, name);
  }
  void string_used(const std::string& text) override {
    // The row names the file without its extension and then the language.
    std::string file = shown.substr(0, shown.rfind('.') > shown.rfind('/') ? shown.rfind('.') : shown.size());
    if (web.jsFunctions) web.js_user(file.c_str(), asp ? "asp" : "jsp", text.c_str());
  }
  std::string structure() override {
    char* buf = nullptr;
    size_t len = 0;
    FILE* f = open_memstream(&buf, &len);
    if (!f) return "";
    web.put_incs(f, 0, web.fPath[fNr], &web.aspTree, "#INC", "asp");
    fclose(f);
    std::string s(buf, len);
    free(buf);
    return s;
  }
  bool included() override { return !asp && web.is_inc_for[fNr]; }
};

// Counts the files being read inside each other, for the whole call.
struct level_guard {
  int& level;
  explicit level_guard(int& l) : level(l) { level++; }
  ~level_guard() { level--; }
};

}  // namespace

// ------------------------------------------------------------ pages

bool Java2Htm::server_enter(int fNr) {
  if (serverDone.count(fPath[fNr])) return false;
  if (serverLevel >= max_read_level) {
    serverPending.push_back(fNr);
    return false;
  }
  serverDone.insert(fPath[fNr]);
  return true;
}

int Java2Htm::JSP_to_htm(int fNr) {
  if (!server_enter(fNr)) return 0;
  level_guard g(serverLevel);
  // The include index names the page as a JSP page (phase 18 appends the
  // structure and the link back to jsp.htm).
  inc_index(fNr);
  if (!ends_with(fPath[fNr], ".jsp"))
    tree_put(incNames, "=" + std::to_string(fNr) + "=" + base_name(fPath[fNr]) + ".jsp", "");
  web_hooks hooks(*this, fNr, false);
  jsp_reader reader(*this, hooks, &jspSyntaxErrors);
  std::string page = reader.page_of(safe_ut.read_text(fReal[fNr].c_str()), fNr, hooks.shown);
  dir_with_css(j2h + "/" + std::to_string(fNr / 100));
  safe_ut.write_text((j2h + "/" + nr2(fNr) + ".htm").c_str(), page);
  fputs(reader.report.c_str(), stdout);
  return reader.depth;
}

int Java2Htm::ASP_to_htm(int fNr) {
  if (!server_enter(fNr)) return 0;
  level_guard g(serverLevel);
  web_hooks hooks(*this, fNr, true);
  asp_reader reader(*this, hooks, nullptr);
  std::string page = reader.page_of(safe_ut.read_text(fReal[fNr].c_str()), fNr, hooks.shown);
  safe_ut.write_text((j2h + "/asp" + std::to_string(fNr) + ".htm").c_str(), page);
  return reader.depth;
}

void Java2Htm::code_uses(const char* lang, int fNr, const std::string& path, const std::string& name) {
  std::string key = std::to_string(++javaDefsCount) + "." + name + "." + lang;
  if (key.find('"') != std::string::npos) {
    exut.show_str("key", key.c_str());
    exut.fail(__LINE__, SRC, "Assertion: a quote in the name of a used class");
  }
  std::string page = !strcmp(lang, "asp") ? "asp" + std::to_string(fNr) : std::string(nr2(fNr));
  tree_put(javaDefs, key, page + ".htm~" + path);
}

// ------------------------------------------------------------ lists

// jsp.htm or asp.htm: the files of `kind` in path order, read ones and
// those that came in as included files alike.
void Java2Htm::server_list(int kind, const char* file, const char* title, const char* links) {
  std::vector<std::pair<std::string, int>> files;
  for (int n = 1; n <= cfNr; n++)
    if (fKind[n] == kind && serverDone.count(fPath[n])) files.push_back({fPath[n], n});
  std::sort(files.begin(), files.end());
  FILE* f = open_page(j2h + "/" + file, title);
  fputs(links, f);
  for (auto& [key, n] : files) {
    std::string page = kind == k_asp ? "asp" + std::to_string(n) : std::string(nr2(n));
    std::string label = shown(fReal[n]);
    fprintf(f, "\n<br><a href=%s.htm>%s</a>", page.c_str(), html_text(label).c_str());
  }
  fprintf(f, "\n<br><br><font size=1>%zu Files</font>", files.size());
  close_page(f);
}

// Reads the files of `kind` in path order, then those left for later.
static void read_all(Java2Htm& w, int kind, int (Java2Htm::*reader)(int)) {
  std::vector<std::pair<std::string, int>> files;
  for (int n = 1; n <= w.cfNr; n++)
    if (w.fKind[n] == kind) files.push_back({w.fPath[n], n});
  std::sort(files.begin(), files.end());
  Btree& tree = kind == Java2Htm::k_asp ? w.aspTree : w.jspTree;
  for (auto& [key, n] : files) Java2Htm::tree_put(tree, key, std::to_string(n));
  for (auto& [key, n] : files) {
    w.maxDepth = std::max(w.maxDepth, (w.*reader)(n));
    while (!w.serverPending.empty()) {
      int p = w.serverPending.back();
      w.serverPending.pop_back();
      w.maxDepth = std::max(w.maxDepth, (w.*reader)(p));
    }
  }
}

// The cached include texts of a language live in "tempNr" until its lists
// are written.
void Java2Htm::end_of_language() {
  if (safe_ut.ok_is_a("tempNr") == 'd') safe_ut.rm_tree("tempNr");
  incFiles.clear();
  incNamesOf.clear();
}

void Java2Htm::phase9_jsp() {
  safe_ut.ensure_dir("tempNr");
  read_all(*this, k_jsp, &Java2Htm::JSP_to_htm);
  server_list(k_jsp, "jsp.htm", "JSP Pages",
              "<a href=inc/incs_jsp.htm>Includes</a> . <a href=uses/00.htm>Uses</a> . "
              "<a href=fdep.htm>Dependencies</a><br>");
  JSP_uses();
  show_the_JSP_includes();
  end_of_language();
}

void Java2Htm::phase10_asp() {
  safe_ut.ensure_dir("tempNr");
  read_all(*this, k_asp, &Java2Htm::ASP_to_htm);
  server_list(k_asp, "asp.htm", "ASP Pages", "<a href=inc/incs_asp.htm>Includes</a><br>");
  show_the_ASP_includes();
  end_of_language();
}

// ------------------------------------------------------------ uses, htm, css

void Java2Htm::JSP_uses() {
  // "<i>.<name>.jsp" -> "<page>~<path>": the rows by name, each by path.
  std::map<std::string, std::set<std::pair<std::string, std::string>>> used;
  Btree_st st;
  for (unsigned ok = javaDefs.GetFirst(st); ok; ok = javaDefs.Next(st)) {
    std::string k(st.k, st.k_L);
    size_t dot = k.find('.'), last = k.rfind('.');
    if (!ends_with(k, ".jsp") || dot == std::string::npos || last <= dot + 1) continue;
    std::string data = st.c;
    size_t tilde = data.find('~');
    if (tilde == std::string::npos) continue;
    used[k.substr(dot + 1, last - dot - 1)].insert({data.substr(tilde + 1), data.substr(0, tilde)});
  }
  dir_with_css(j2h + "/uses");
  FILE* idx = open_page(j2h + "/uses/00.htm", "Where JSP uses ...");
  int i = 0;
  for (auto& [name, rows] : used) {
    fprintf(idx, "\n<br><a href=\"0%i.htm\">%s</a>", ++i, html_text(name).c_str());
    FILE* f = open_page(j2h + "/uses/0" + std::to_string(i) + ".htm", (html_text(name) + "<br>is used in").c_str());
    std::string folder;
    bool first = true;
    for (auto& [path, page] : rows) {
      std::string dir = path.substr(0, path.rfind('/') + 1);
      fprintf(f, "\n%s<br><a href=\"../%s\">%s</a>", !first && dir != folder ? "<br>|" : "",
              html_attr(page).c_str(), html_text(path).c_str());
      folder = dir;
      first = false;
    }
    close_page(f);
  }
  close_page(idx);
  htm_list(false);
  htm_list(true);
}

// htm.htm ("Static HTML": HTML and script sources) or css.htm ("CSS
// Files"): a row per text page of the walk, with the file's size.
void Java2Htm::htm_list(bool css) {
  FILE* f = open_page(j2h + (css ? "/css.htm" : "/htm.htm"), css ? "CSS Files" : "Static HTML");
  unsigned tags = 0;
  for (auto& [name, nr] : htmList) {
    std::string low = name;
    for (char& c : low) c = (char)safe_uts::to_lower_char((unsigned char)c);
    if (ends_with(low, "css") != css) continue;
    long size = safe_ut.file_size((root + name).c_str());
    fprintf(f, "\n<br><a href=htms/%i.htm>%s, %li</a>", nr, html_text(name).c_str(), size);
    if (nr >= 1 && nr <= (int)htmTags.size()) tags += (unsigned)htmTags[nr - 1];
  }
  fprintf(f, "\n<br><br><font size=1>%u HTM Commands<br>", tags);
  fputs("</font></font></BODY></HTML>\n", f);
  safe_ut.close_FILE(&f, SRC, __LINE__);
}
