// The pages of PHP sources (phase 20): php.htm lists the files, each file
// gets php/<n/100>/<n%100>.htm from the reader of codeweb/php_reader.h,
// phc.htm lists the classes with their members (and the functions outside
// classes), and phpdep.htm the require and include edges between the
// files.  There is no class relation of PHP, so no page of class
// dependencies is linked.
#include <algorithm>
#include <cctype>
#include <map>
#include <unordered_map>

#include "codeweb/java2htm.h"
#include "codeweb/php_reader.h"
#include "engine/escape.h"
#include "runtime/safe_uts.h"

namespace {

const char* const SRC = "php_pages.cpp";

std::string base_of(const std::string& path) { return path.substr(path.find_last_of('/') + 1); }

std::string lower(std::string s) {
  for (char& c : s) c = (char)tolower((unsigned char)c);
  return s;
}

// "a/b/../c/./d" -> "a/c/d"; false when ".." leaves the root.
bool normal_path(const std::string& path, std::string& out) {
  std::vector<std::string> parts;
  for (size_t a = 0; a <= path.size();) {
    size_t e = path.find('/', a);
    if (e == std::string::npos) e = path.size();
    std::string p = path.substr(a, e - a);
    a = e + 1;
    if (p == "..") {
      if (parts.empty()) return false;
      parts.pop_back();
    } else if (!p.empty() && p != ".") {
      parts.push_back(p);
    }
  }
  // A leading "/" or "./" stays: the walk's file keys begin with the root
  // as it was given.
  out = path.size() && path[0] == '/' ? "/" : path.compare(0, 2, "./") == 0 ? "./" : "";
  for (size_t k = 0; k < parts.size(); k++) out += (k ? "/" : "") + parts[k];
  return true;
}


}  // namespace

void Java2Htm::phase20_php() {
  std::vector<std::pair<std::string, int>> files;
  std::unordered_map<std::string, std::vector<int>> byBase;  // lower-case base name -> kind 7 files
  for (int n = 1; n <= cfNr && n < (int)fKind.size(); n++)
    if (fKind[n] == k_php) {
      files.push_back({fPath[n], n});
      byBase[lower(base_of(fPath[n]))].push_back(n);
    }
  std::sort(files.begin(), files.end());
  FILE* list = open_page(j2h + "/php.htm", "PHP Files");
  fputs("<a href=phc.htm>Classes</a> . <a href=phpdep.htm>Dependencies</a><br>", list);
  std::map<std::string, std::vector<std::string>> classRows;  // phc.htm: class -> rows
  std::vector<std::pair<int, std::vector<int>>> edges;
  php_reader reader;
  reader.page_head = head;
  reader.title_head = title_head;
  reader.title_tail = title_tail;
  for (auto& [key, n] : files) {
    const int from = n;
    // A name is looked for beside the file first, then as the tail of any
    // PHP file's path; the link is relative to the page.
    reader.resolve = [&](const std::string& name) {
      php_reader::target t;
      std::string want = lower(name), dir = fPath[from].substr(0, fPath[from].find_last_of('/') + 1), path;
      if (!want.empty() && want[0] == '/') want.erase(0, 1);
      Btree_st st;
      if (normal_path(dir + want, path) && fileNrs.Get(path.substr(0, 252).c_str(), st) && atoi(st.c) > 0 &&
          atoi(st.c) <= cfNr && fKind[atoi(st.c)] == k_php)
        t.nr = atoi(st.c);
      auto it = byBase.find(base_of(want));
      if (!t.nr && it != byBase.end())
        for (int k : it->second) {
          const std::string& p = fPath[k];
          if (p.size() > want.size() && p.compare(p.size() - want.size(), want.size(), want) == 0 &&
              p[p.size() - want.size() - 1] == '/') {
            t.nr = k;
            break;
          }
        }
      if (t.nr) {
        printf("\nphp_fNr %i = %s", t.nr, fReal[t.nr].c_str());
        t.href = std::string("../") + nr2(t.nr) + ".htm";
      }
      return t;
    };
    std::string real = fReal[n].empty() ? fPath[n] : fReal[n];
    dir_with_css(j2h + "/php/" + std::to_string(n / 100));
    std::string page = reader.page_of(safe_ut.read_text(real.c_str()), shown(real));
    std::string pageName = std::string("php/") + nr2(n) + ".htm";
    safe_ut.write_text((j2h + "/" + pageName).c_str(), page);
    fprintf(list, "\n<br><a href=\"%s\" TARGET=\"frame3\">%s</a>", pageName.c_str(), html_text(shown(real)).c_str());
    if (!reader.reached.empty()) edges.push_back({n, reader.reached});
    for (auto& m : reader.members) {
      std::string link = pageName + "#" + m.anchor;
      if (m.kind == "class") {
        if (!phpClasses) phpClasses = std::make_unique<Btree>();
        std::string k = m.name;
        Btree_st st;
        for (int v = 2; phpClasses->Get(k.substr(0, 252).c_str(), st); v++) k = m.name + "." + std::to_string(v);
        tree_put(*phpClasses, k, link);
        classRows[k].insert(classRows[k].begin(), "\n<br><br><a href=\"" + link + "\" TARGET=\"frame3\"><b>" +
                                                      html_text(k) + "</b></a>");
      } else if (m.kind == "function" || (!m.cls.empty() && (m.kind == "const" || m.kind == "var"))) {
        classRows[m.cls.empty() ? "\1" : m.cls].push_back("\n<br>&nbsp; . <a href=\"" + link + "\" TARGET=\"frame3\">" +
                                                          html_text(m.cls.empty() ? m.name : m.cls + ". " + m.name) + "</a>");
      }
    }
  }
  fprintf(list, "\n<br><br><font size=1>%zu Files</font>", files.size());
  close_page(list);
  FILE* phc = open_page(j2h + "/phc.htm", "PHP Classes");
  fputs("<a href=php.htm>Files</a> . <a href=phpdep.htm>Dependencies</a><br>", phc);
  for (auto& [cls, rows] : classRows) {
    if (cls == "\1") fputs("\n<br><br><b>Functions</b>", phc);
    for (auto& r : rows) fputs(r.c_str(), phc);
  }
  close_page(phc);
  FILE* dep = open_page(j2h + "/phpdep.htm", "PHP Files and what they require or include");
  for (auto& [from, to] : edges) {
    fprintf(dep, "\n<br><br><a href=\"php/%s.htm\" TARGET=\"frame3\">%s</a>", nr2(from),
            html_text(shown(fReal[from])).c_str());
    for (int t : to)
      fprintf(dep, "\n<br>&nbsp; . <a href=\"php/%s.htm\" TARGET=\"frame3\">%s</a>", nr2(t),
              html_text(shown(fReal[t])).c_str());
  }
  close_page(dep);
}
