// The class maps of Java and C++ classes and the pages around them:
// class.htm (the list of maps with its alphabet), funcs.htm (functions of
// no class), ALLMe.htm and constructors.htm (the methods the maps showed),
// types.htm and roots.htm.  The maps themselves: class_map_pages.cpp.
#include <cctype>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "codeweb/java2htm.h"
#include "engine/escape.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "class_maps";

std::string upper_first(const std::string& s) {
  std::string r = s;
  if (!r.empty()) r[0] = (char)toupper((unsigned char)r[0]);
  return r;
}

// The page of a link, without its anchor.
std::string page_part(const std::string& link) { return link.substr(0, link.find('#')); }

struct class_row {
  std::string name, nr, link;
};

}  // namespace

// <root>/class_documentation: lines "-c <name> <text>~" give the text shown
// in the head of the class's map (at most 250 characters).
void Java2Htm::cash_classComment() {
  std::string comm = root + "/classComm.htm";
  if (safe_ut.ok_is_a(comm.c_str()) == 'f' && !safe_ut.find_on_path("sdep1").empty() &&
      root.find('"') == std::string::npos) {
    snprintf(comm_buf, sizeof comm_buf, "+sdep1 \"%s/..\"", j2h.c_str());
    safe_ut.system(comm_buf);
  }
  std::string file = root + "/class_documentation";
  if (!safe_ut.readable_input(file.c_str())) return;
  std::string t = "\n" + safe_ut.read_text(file.c_str());
  classDocs = std::make_unique<Btree>();
  classDocs->quiet = 1;
  for (size_t at = t.find("\n-c "); at != std::string::npos; at = t.find("\n-c ", at + 1)) {
    size_t a = at + 4;
    while (a < t.size() && t[a] == ' ') a++;
    size_t e = a;
    while (e < t.size() && !isspace((unsigned char)t[e]) && t[e] != '~') e++;
    if (e == a) continue;
    size_t end = t.find('~', e);
    size_t nl = t.find('\n', e);
    if (end == std::string::npos || (nl != std::string::npos && nl < end && t.compare(nl, 4, "\n-c ") == 0)) end = nl;
    std::string text = t.substr(e, end == std::string::npos ? std::string::npos : end - e);
    while (!text.empty() && isspace((unsigned char)text[0])) text.erase(0, 1);
    tree_put(*classDocs, t.substr(a, e - a), text.substr(0, 250));
  }
}

namespace {

struct cppsecs_walk {
  std::vector<class_row> classes;
  std::set<std::string> names, pages;                       // of the class heads
  std::vector<std::pair<std::string, std::string>> others;  // rows of other letters
};

// The walk over cppsecs in key order.  A row whose data begins with `c` and
// that is not a method of the class before it is a class head; its name is
// the key up to " :: ".  A class without a number in nameNr has no map.
cppsecs_walk walk_cppsecs(Java2Htm& web) {
  cppsecs_walk w;
  std::string prefix = "\1";
  Btree_st st;
  for (unsigned ok = web.cppsecs.GetFirst(st); ok; ok = web.cppsecs.Next(st)) {
    std::string key(st.k, st.k_L), data = st.c;
    if (data.empty() || data[0] != 'c') {
      w.others.emplace_back(key, data);
      continue;
    }
    if (key.compare(0, prefix.size(), prefix) == 0) continue;
    std::string name = key.substr(0, key.find(" :: "));
    while (!name.empty() && name.back() == ' ') name.pop_back();
    prefix = name + " ::";
    if (name.empty() || name[0] == '<') {
      exut.show_str("key", key.c_str());
      exut.fail(__LINE__, SRC, "Assertion: no class name before '<' in cppsecs");
    }
    Btree_st ns;
    if (!web.nameNr.Get(name.substr(0, 252).c_str(), ns) &&
        !web.nameNr.Get(name.substr(0, name.find('<')).c_str(), ns)) {
      if (web.nameNr.number_of_elements() == 0) {
        web.nameNr.trace("nameNr", stdout);
        web.cppsecs.trace("cppsecs", stdout);
        exut.fail(__LINE__, SRC, "Assertion: class %s but no number in nameNr", name.c_str());
      }
      continue;
    }
    std::string link = Java2Htm::page_link(data);
    w.classes.push_back({name, ns.c, link});
    w.names.insert(name);
    w.pages.insert(page_part(link));
  }
  return w;
}

// funcs.htm: rows of other letters whose class has no head and whose page
// holds none; sorted by the name with an upper-cased first letter.
void write_funcs(Java2Htm& web, const cppsecs_walk& w) {
  std::map<std::string, std::string> funcs;
  int i = 0;
  for (auto& [key, data] : w.others) {
    size_t sep = key.find(" :: ");
    std::string cls = sep == std::string::npos ? "" : key.substr(0, sep);
    std::string link = Java2Htm::page_link(data);
    if (!cls.empty() && (w.names.count(cls) || w.pages.count(page_part(link)))) continue;
    std::string name = sep == std::string::npos ? key : key.substr(sep + 4);
    funcs[upper_first(name) + "~" + key] = std::to_string(++i) + "~" + link;
  }
  FILE* f = web.open_page(web.j2h + "/funcs.htm", "ALL Functions");
  for (auto& [key, data] : funcs) {
    size_t t = data.find('~');
    fprintf(f, "\n<br><a name=%s></a><a href=%s>%s</a>", data.substr(0, t).c_str(), data.substr(t + 1).c_str(),
            html_text(key.substr(key.find('~') + 1)).c_str());
  }
  fputs("\n</font></BODY></HTML>\n", f);
  safe_ut.close_FILE(&f, SRC, __LINE__);
}

}  // namespace

// Phase 14: class.htm with a row a class, then a map a class, funcs.htm
// and the lists of methods.
void Java2Htm::phase14_class_pages() {
  for (Btree* t : {&rootClasses, &allMethods, &types}) t->quiet = 1;
  dir_with_css(j2h + "/m");
  cash_classComment();
  cppsecs_walk w = walk_cppsecs(*this);
  Btree side;  // the classes, for the alphabet
  side.quiet = 1;
  for (auto& c : w.classes) tree_put(side, c.name, c.nr);
  FILE* f = open_page(j2h + "/class.htm", "Class Maps");
  fputs("showing superclass and interface names (in Java)\n<br>resp. superclasses (in C++)\n", f);
  make_ABC(f, side, true, 0);
  fputs("\n</center>", f);
  std::map<std::string, std::string> maps;  // "1_<name>~<page>" -> the map's path
  char letter = 0;
  for (auto& c : w.classes) {
    fputs("<br>", f);
    if (c.name[0] != letter) {
      letter = c.name[0];
      fprintf(f, "\n<a name=\"%c_%u\"></a>", letter, 0u);
    }
    fprintf(f, "\n<br>[ <a href=m/%s.htm>toc</a> ] &nbsp; \n<a href=%s>%s</a>", c.nr.c_str(), c.link.c_str(),
            class_shown(c.name).c_str());
    rootTitle = c.name;
    show_superClasses(f, c.name, 0);
    maps["1_" + c.name + "~" + c.link] = j2h + "/m/" + c.nr + ".htm";
    tree_put(types, c.name, c.nr);
  }
  fputs("\n</font></BODY></HTML>\n", f);
  safe_ut.close_FILE(&f, SRC, __LINE__);
  code_mo = safe_ut.open_append("xx_code_mo");
  {
    held_appends hold(*this);  // one handle appends every map's row to index/to_code
    for (auto& m : maps) {
      size_t t = m.first.rfind('~');
      create_class_map(m.first.substr(2, t - 2), m.second, m.first.substr(t + 1));
    }
    hold.release();
  }
  if (code_mo) safe_ut.close_FILE(&code_mo, SRC, __LINE__);
  write_funcs(*this, w);
  showALLMethods();
}

// ALLMe.htm lists the methods the maps showed, without constructors and
// getters and setters; constructors.htm the constructors.
void Java2Htm::showALLMethods() {
  struct row {
    std::string key, link;
  };
  std::vector<row> rows;
  Btree_st st;
  for (unsigned ok = allMethods.GetFirst(st); ok; ok = allMethods.Next(st))
    rows.push_back({std::string(st.k, st.k_L), st.c});
  auto method_of = [](const std::string& k) { return k.substr(1, k.find('~') - 1); };
  auto kept = [&](const std::string& k) {
    std::string m = method_of(k);
    return k.size() > 1 && k[0] != k[1] && m.compare(0, 3, "get") != 0 && m.compare(0, 3, "set") != 0;
  };
  bool letters[26] = {};
  for (auto& r : rows)
    if (kept(r.key) && r.key[0] >= 'A' && r.key[0] <= 'Z') letters[r.key[0] - 'A'] = true;
  FILE* f = open_page(j2h + "/ALLMe.htm", "ALL Methods");
  fputs("excluding <a href='constructors.htm'>Constructors</a>\nand getter/setter methods<br><center>", f);
  for (int c = 0; c < 26; c++)
    if (letters[c]) fprintf(f, "\n<a href='#%c'>%c</a>", 'A' + c, 'A' + c);
  fputs("\n</center>", f);
  char letter = 0;
  for (auto& r : rows) {
    if (!kept(r.key)) continue;
    if (r.key[0] != letter) {
      letter = r.key[0];
      fprintf(f, "\n<a name='%c'></a><br>|", letter);
    }
    fprintf(f, "\n<br><a href=%s>%s</a> -- %s", r.link.c_str(), html_text(method_of(r.key)).c_str(),
            html_text(r.key.substr(r.key.find('~') + 1)).c_str());
  }
  fputs("\n</font></BODY></HTML>\n", f);
  safe_ut.close_FILE(&f, SRC, __LINE__);
  f = open_page(j2h + "/constructors.htm", "ALL Constructors");
  for (auto& r : rows) {
    std::string m = method_of(r.key), owner = r.key.substr(r.key.find('~') + 1);
    if (r.key.size() < 3 || r.key[2] == '_' || owner.compare(0, m.size() + 1, m + " ") != 0) continue;
    fprintf(f, "\n<br><a href=%s>%s</a>", r.link.c_str(), html_text(owner).c_str());
  }
  fputs("\n</font></BODY></HTML>\n", f);
  safe_ut.close_FILE(&f, SRC, __LINE__);
}

// types.htm: every class with a map and every type name the readers found;
// a class links its map, a type its declaration.
void Java2Htm::phase15_types() {
  FILE* f = open_page(j2h + "/types.htm", "ALL Class and Type Declarations");
  alphabet_list(f, types, [&](const std::string& name, const std::string& data) {
    std::string link = data.find('.') == std::string::npos ? "m/" + data + ".htm" : data;
    fprintf(f, "\n<br><a href=%s>%s</a>", link.c_str(), class_shown(name).c_str());
  });
  fputs("\n</font></BODY></HTML>\n", f);
  safe_ut.close_FILE(&f, SRC, __LINE__);
}

// roots.htm: the classes without superclass.  "root_fz" in the working
// folder holds the list of an earlier run ("root[ x ] name" lines, x "?"
// when the name is still to be looked at); the console gets the new list.
void Java2Htm::show_rootClasses() {
  if (safe_ut.readable_input("root_fz")) {
    std::string t = "\n" + safe_ut.read_text("root_fz");
    for (size_t at = t.find("\nroot[ "); at != std::string::npos; at = t.find("\nroot[ ", at + 1)) {
      size_t close = t.find(" ] ", at + 7);
      size_t nl = t.find('\n', at + 1);
      if (close == std::string::npos || (nl != std::string::npos && close > nl)) continue;
      std::string mark = t.substr(at + 7, close - at - 7);
      std::string name = t.substr(close + 3, nl == std::string::npos ? std::string::npos : nl - close - 3);
      while (!name.empty() && isspace((unsigned char)name.back())) name.pop_back();
      if (!name.empty()) tree_put(rootClasses, name, mark == "?" ? "?" : mark);
    }
  }
  FILE* f = open_page(j2h + "/roots.htm", "Most Specific Classes are:");
  int n = 0;
  Btree_st st;
  for (unsigned ok = rootClasses.GetFirst(st); ok; ok = rootClasses.Next(st)) {
    std::string name(st.k, st.k_L);
    fprintf(f, "\n<br>%s", class_shown(name).c_str());
    printf("\nroot[ %s ] %s", st.c, name.c_str());
    n++;
  }
  printf("\n|\nend of new Version of root_fz, %i rootClasses\n\n", n);
  fputs("\n</font></BODY></HTML>\n", f);
  safe_ut.close_FILE(&f, SRC, __LINE__);
}
