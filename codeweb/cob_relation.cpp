// The COBOL relation completed and closed, and the pages of cursors, of
// file dependencies and of database tables.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <map>

#include "codeweb/cob_rows.h"
#include "codeweb/java2htm.h"
#include "engine/escape.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "cob_relation";

std::string upper(std::string s) {
  for (char& c : s) c = (char)safe_uts::to_upper_char((unsigned char)c);
  return s;
}


// The file number of a page name ".../<a>/<b>.htm[#x]", or -1.
int file_of_page(const std::string& link) {
  size_t h = link.find(".htm");
  if (h == std::string::npos) return -1;
  size_t s2 = link.rfind('/', h);
  if (s2 == std::string::npos || s2 == 0) return -1;
  size_t s1 = link.rfind('/', s2 - 1);
  std::string a = link.substr(s1 == std::string::npos ? 0 : s1 + 1, s2 - (s1 == std::string::npos ? 0 : s1 + 1));
  std::string b = link.substr(s2 + 1, h - s2 - 1);
  if (a.empty() || b.empty() || a.size() > 5 || b.size() > 2 || a.find_first_not_of("0123456789") != std::string::npos ||
      b.find_first_not_of("0123456789") != std::string::npos)
    return -1;
  return std::stoi(a) * 100 + std::stoi(b);
}

}  // namespace

// Rows of tables reached through a synonym go by the synonym ("u .. S") to
// the table; a table name that is a view goes to the view.  Then the
// closure.
void Java2Htm::complete_cobUses() {
  printf("\nanz_elements( %s ) = %i", "cobUses   ", cobUses.number_of_elements());
  Btree_st st;
  for (auto& r : cob::rows_of(cobUses)) {
    std::string b = r.b;
    if (cob::tag_of(b) == 't') {
      std::string t = cob::name_of(b);
      if (synonyms.Get(t.c_str(), st)) {
        b = "u .. " + t;
        tree_put(cobUsesTr, b + "~t .. " + st.c, r.data);
      } else if (cob::tag_of(r.a) != 'v' && cobUses.Getmin_At(st, ("v .. " + t + "~").c_str())) {
        b = "v .. " + t;
      }
    }
    tree_put(cobUsesTr, r.a + "~" + b, r.data);
  }
  cobUsesTr.become_deep_transitive();
  if (add_path_names()) cobUsesTr.become_deep_transitive();
  printf("\nanz_elements( %s ) = %i", "cobUses.tr", cobUsesTr.number_of_elements());
}

// A right side that is a path (a program called by its file name, "p ..
// dir/NAME") also stands for the program named by its last part: the row
// a~p .. NAME is added, its data the path, unless NAME is the left side
// itself.  Returns whether a row was added.
bool Java2Htm::add_path_names() {
  std::vector<std::pair<std::string, std::string>> add;
  cob::for_rows(cobUsesTr, "", [&](const cob::row& r) {
    std::string b = cob::name_of(r.b);
    size_t slash = b.find_last_of("/\\");
    if (slash == std::string::npos || slash + 1 == b.size()) return;
    std::string name = b.substr(slash + 1);
    if (name != cob::name_of(r.a)) add.push_back({r.a + "~p .. " + name, "1~" + b});
  });
  for (auto& [key, data] : add) tree_put(cobUsesTr, key, data);
  return !add.empty();
}

void Java2Htm::DB_Cursors() {
  dir_with_css(j2h + "/curs");
  FILE* f = open_page(j2h + "/curs.htm", "Database Cursors");
  int i = 0, n = 0;
  for (auto& c : cob::rows_of(cursorsTo)) {
    auto users = cob::rows_of(cursorsIn, ("c .. " + c.a + "~").c_str());
    std::string used = "<font color='#FFFFF'>used in</font>";
    if (!users.empty()) {
      FILE* p = open_page(j2h + "/curs/" + std::to_string(++i) + ".htm", "is used in these code:");
      fprintf(p, "\n<br>c .. %s", html_text(c.a).c_str());
      for (auto& u : users)
        fprintf(p, "\n<br>p .. <a href=../%s>%s</a>", html_attr(u.data).c_str(),
                html_text(cob::name_of(u.b)).c_str());
      close_page(p);
      used = "<a href=curs/" + std::to_string(i) + ".htm>used in</a>";
    }
    fprintf(f, "\n<br>%s . <a href=%s>spec</a> .. c .. %s .\n<font size=1><b>%zu</b></font>", used.c_str(),
            html_attr(c.data).c_str(), html_text(c.a).c_str(), users.size());
    n++;
  }
  fprintf(f, "\n<br><br>These are %i database cursors.", n);
  close_page(f);
}

namespace {

struct file_rel {
  std::map<int, int> above, below;  // file -> count of entry points (A, B)
  std::map<int, std::vector<int>> users, used;
};

}  // namespace

void Java2Htm::cob_file_dependencies() {
  auto file_of = [&](const std::string& e) {
    char tag = cob::tag_of(e);
    if (tag != 'p' && tag != 's') return -2;  // tables, synonyms, views, cursors: no file
    int f = file_of_page(cob::def_link(in_index(cob::name_of(e))));
    return f > 0 && f <= cfNr ? f : -1;
  };
  inc_tree rel("cobFiles");
  file_rel fr;
  cob::for_rows(cobUsesTr, "", [&](const cob::row& r) {
    int fa = file_of(r.a), fb = file_of(r.b);
    if (fa == -1) printf("\nno file 1 for[ %s ]", r.a.c_str());
    if (fb == -1) printf("\nno file 2 for[ %s ]", r.b.c_str());
    if (fa < 0 || fb < 0 || fa == fb) return;
    char k[40];
    snprintf(k, sizeof k, "%07i~%07i", fa, fb);
    rel.StrIns('e', k, "1~");
    fr.below[fa]++;
    fr.above[fb]++;
  });
  rel.become_deep_transitive();
  for (auto& r : cob::rows_of(rel)) {
    int a = std::stoi(r.a), b = std::stoi(r.b);
    if (a == b) continue;
    fr.used[a].push_back(b);
    fr.users[b].push_back(a);
  }
  auto page_of = [&](int n) { return std::string(fKind[n] == k_cobol ? "cob/" : "") + nr2(n) + ".htm"; };
  auto path_of = [&](int n) { return html_text(shown(fReal[n].empty() ? fPath[n] : fReal[n])); };
  for (int side = 0; side < 2; side++) {
    auto& m = side ? fr.users : fr.used;
    std::string dir = j2h + (side ? "/cobfA" : "/cobfB");
    dir_with_css(dir);
    for (auto& [n, list] : m) {
      FILE* p = open_page(dir + "/" + std::to_string(n) + ".htm", side ? "is needed for:" : "is application of:");
      fprintf(p, "\n<a href=../%s>%s</a><br>", page_of(n).c_str(), path_of(n).c_str());
      for (int o : list) fprintf(p, "\n<br><a href=../%s>%s</a>", page_of(o).c_str(), path_of(o).c_str());
      close_page(p);
    }
  }
  std::vector<std::pair<std::string, int>> files;
  for (int n = 1; n <= cfNr; n++)
    if (fr.used.count(n) || fr.users.count(n)) files.push_back({fPath[n], n});
  std::sort(files.begin(), files.end());
  FILE* f = open_page(j2h + "/cobfp.htm", "COBOL File Dependencies");
  fputs("<a href=cobsA.htm>sorted by Number of Entry Points in above</a><br>", f);
  const char* blank_a = "<font color='#FFFFF'>above</font>";
  const char* blank_b = "<font color='#FFFFF'>below</font>";
  for (auto& [key, n] : files) {
    std::string a = fr.users.count(n) ? "<a href=cobfA/" + std::to_string(n) + ".htm>above</a>" : blank_a;
    std::string b = fr.used.count(n) ? "<a href=cobfB/" + std::to_string(n) + ".htm>below</a>" : blank_b;
    fprintf(f, "\n<br>%s . %s .. %s <font size=1>: B%i A%i</font>", a.c_str(), b.c_str(), path_of(n).c_str(),
            fr.below[n], fr.above[n]);
  }
  fprintf(f, "\n<br><br>These are %zu files with dependencies.", files.size());
  close_page(f);
  std::vector<std::pair<int, int>> byA;
  for (auto& [key, n] : files)
    if (fr.users.count(n)) byA.push_back({-fr.above[n], n});
  std::stable_sort(byA.begin(), byA.end(), [](auto& x, auto& y) { return x.first < y.first; });
  f = open_page(j2h + "/cobsA.htm", "sorted by Number of Entry Points in above");
  for (auto& [count, n] : byA)
    fprintf(f, "\n<br><a href=cobfA/%i.htm>above </a> &nbsp; %s, <b>A%i</b>", n, path_of(n).c_str(), -count);
  close_page(f);
}

void Java2Htm::cob_data_dependencies() {
  std::map<std::string, std::vector<cob::row>> tables;  // table -> rows of its users
  cob::for_rows(cobUsesTr, "", [&](const cob::row& r) {
    if (cob::tag_of(r.b) == 't') tables[cob::name_of(r.b)].push_back(r);
  });
  dir_with_css(j2h + "/cobtA");
  FILE* f = open_page(j2h + "/cobt.htm", "Database Tables");
  fputs("\n<br><a href=#stat>Statistics for</a> .\n<a href=#unref>Tables not found in the Code</a> .\n"
        "<a href=#contr>Contradictions in Domain Specification</a>\n</center><br>",
        f);
  int i = 0;
  std::set<std::string> used;
  for (auto& [t, users] : tables) {
    used.insert(upper(t));
    FILE* p = open_page(j2h + "/cobtA/" + std::to_string(++i) + ".htm", "is needed for:");
    fprintf(p, "\n<br>t .. %s<br>", html_text(t).c_str());
    for (auto& u : users)
      fprintf(p, "\n<br><a href=../%s>access via</a> .. %s", html_attr(cob::link_of(u.data)).c_str(),
              html_text(u.a).c_str());
    close_page(p);
    fprintf(f, "\n<br><a href=cobtA/%i.htm>above</a> . %s .. %s", i, std::to_string(users.size()).c_str(),
            html_text("t .. " + t).c_str());
  }
  tables_not_in_use(f, used);
  close_page(f);
}

namespace {

// The word at `s` of a line, moving `s` behind it.
std::string word_in(const std::string& line, size_t& s) {
  while (s < line.size() && (line[s] == ' ' || line[s] == '\t')) s++;
  size_t b = s;
  while (s < line.size() && line[s] != ' ' && line[s] != '\t') s++;
  return line.substr(b, s - b);
}

}  // namespace

// Tables of the schema (<root>/tables.er1, lines "-  ec E_<table>") that no
// code refers to, the counts, and the domains (lines " d D_<name> <column>
// <type>") given two different types.
void Java2Htm::tables_not_in_use(FILE* out, const std::set<std::string>& used) {
  fputs("\n<a name=unref></a><br><br>\n<h3>Tables not detected in algorithmic code:</h3>", out);
  std::string file = root + "/tables.er1";
  if (safe_ut.ok_is_a(file.c_str()) != 'f') {
    fprintf(out, "\n<br>Not found: %s", html_text(file).c_str());
    return;
  }
  std::string text = safe_ut.read_text(file.c_str());
  std::set<std::string> schema;
  std::map<std::string, std::vector<std::pair<std::string, std::string>>> domains;  // -> (type, column)
  size_t lineNr = 0;
  for (size_t s = 0; s < text.size();) {
    size_t e = std::min(text.find('\n', s), text.size());
    std::string line = text.substr(s, e - s);
    s = e + 1;
    lineNr++;
    size_t p = 6;
    if (line.compare(0, 6, "-  ec ") == 0) {
      std::string t = upper(word_in(line, p));
      if (t.compare(0, 2, "E_") != 0)
        exut.fail(__LINE__, SRC, "User: c: a table that does not begin with E_: %s in %s, line %zu\n", t.c_str(),
                  file.c_str(), lineNr);
      schema.insert(t);
    } else if (line.compare(0, 3, " d ") == 0) {
      p = 3;
      std::string d = word_in(line, p), column = word_in(line, p);
      while (p < line.size() && (line[p] == ' ' || line[p] == '\t')) p++;
      if (d.compare(0, 2, "D_") == 0) domains[d].push_back({line.substr(p), column});
    }
  }
  std::set<std::string> unused;
  for (auto& t : schema)
    if (!used.count(t)) {
      fprintf(out, "\n<br>t .. %s", html_text(t).c_str());
      unused.insert(t);
    }
  int unref = (int)unused.size();
  std::set<std::string> all(schema);
  all.insert(used.begin(), used.end());
  fprintf(out,
          "\n<a name=stat></a><br>\n<br>Number of Tables: %zu\n<br>Number of Tables in the DB Schema: %zu\n"
          "<br>Number of Tables not referred to from Code: %i\n<br>Number of Tables referred to from Code: %zu<br>",
          all.size(), schema.size(), unref, used.size());
  fputs("\n<a name=contr></a><br>\n<h3>Contradictions in Domain Specifications:</h3>", out);
  for (auto& [d, uses] : domains) {
    std::set<std::string> distinct;
    for (auto& u : uses) distinct.insert(u.first);
    if (distinct.size() < 2) continue;
    bool first = true;
    for (auto& [type, column] : uses) {
      fprintf(out, first ? "\n<br>|<br><b>%s</b> : %s" : "\n<br><b>%s</b> : %s", html_text(d).c_str(),
              html_text(type + " [" + column + "]").c_str());
      first = false;
    }
  }
  tables_in_other_code(out, unused);
}

// The tables no COBOL statement names are looked for, as words in any case,
// in the other code: the concatenations <root>/alles_* hold every file of
// their kind behind a line "file: <path>".  Each file that names such a
// table is listed under it, once.  The files are read a line at a time.
void Java2Htm::tables_in_other_code(FILE* out, const std::set<std::string>& tables) {
  if (tables.empty()) return;
  std::map<std::string, std::set<std::string>> found;  // table -> files naming it
  for (const std::string& name : safe_ut.list_dir(root.c_str())) {
    if (name.compare(0, 6, "alles_") != 0) continue;
    std::string file = root + "/" + name;
    FILE* f = fopen(file.c_str(), "rb");
    if (!f) continue;
    char* line = nullptr;
    size_t cap = 0;
    std::string current = file, word;
    for (ssize_t n; (n = getline(&line, &cap, f)) > 0;) {
      if (n > 6 && strncmp(line, "file: ", 6) == 0) {
        current.assign(line + 6, n - 6);
        while (!current.empty() && (current.back() == '\n' || current.back() == '\r')) current.pop_back();
        continue;
      }
      for (ssize_t k = 0; k <= n; k++) {
        unsigned char c = k < n ? (unsigned char)line[k] : ' ';
        if (isalnum(c) || c == '_') {
          word += (char)safe_uts::to_upper_char(c);
        } else if (!word.empty()) {
          if (tables.count(word)) found[word].insert(current);
          word.clear();
        }
      }
    }
    free(line);
    fclose(f);
  }
  if (found.empty()) return;
  fputs("\n<a name=other></a><br>\n<h3>Tables not detected in COBOL code, named in other code:</h3>", out);
  for (auto& [t, files] : found) {
    fprintf(out, "\n<br>t .. %s", html_text(t).c_str());
    for (auto& file : files) fprintf(out, "\n<br>&nbsp; . %s", html_text(shown(file)).c_str());
  }
}
