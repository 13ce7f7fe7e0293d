// One class map m/<n>.htm: the class with its methods, its superclasses
// with theirs (indented one step per level), and its subclasses with the
// count line.  Hierarchies come from text heuristics and may hold cycles
// (A : B, B : A) or be deeper than any indent: every walk here keeps its
// own stack instead of recursing, skips a class already on the current
// path, stops growing the indent at the end of its string, and writes at
// most max_map_rows rows of one hierarchy.
#include <cctype>
#include <cstring>
#include <string>
#include <unordered_map>
#include <vector>

#include "codeweb/java2htm.h"
#include "engine/escape.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "class_map_pages";

// ". &nbsp; " 40 times, held from its end: 9 characters per level.
const std::string& dots() {
  static const std::string d = [] {
    std::string s;
    for (int i = 0; i < 40; i++) s += ". &nbsp; ";
    return s;
  }();
  return d;
}

std::string indent_of(int level) {
  size_t n = std::min(dots().size(), (size_t)std::max(level, 0) * 9);
  return dots().substr(dots().size() - n);
}

std::string base_of(const std::string& name) {
  std::string b = name.substr(0, name.find('<'));
  while (!b.empty() && b.back() == ' ') b.pop_back();
  return b;
}

// Key and data of every row of `t` whose key begins with `prefix`.
std::vector<std::pair<std::string, std::string>> rows_at(Btree& t, const std::string& prefix) {
  std::vector<std::pair<std::string, std::string>> r;
  Btree_st st;
  std::string p = prefix.substr(0, 252);
  for (unsigned ok = t.Getmin_GE(st, p.data(), (int)p.size()); ok; ok = t.Next(st)) {
    if (st.k_L < p.size() || memcmp(st.k, p.data(), p.size()) != 0) break;
    r.emplace_back(std::string(st.k, st.k_L), st.c);
  }
  return r;
}

// The names on the path from the top of a walk to the class in hand.
struct walk_path {
  std::vector<std::string> names;
  std::unordered_map<std::string, int> on;
  void cut(size_t n) {
    while (names.size() > n) {
      if (--on[names.back()] == 0) on.erase(names.back());
      names.pop_back();
    }
  }
  void push(const std::string& n) {
    names.push_back(n);
    on[n]++;
  }
  bool has(const std::string& n) const { return on.count(n) != 0; }
};

// One class of a hierarchy still to be shown: its name, its level, and the
// length the path had when it was met.
struct pending {
  std::string name;
  int level;
  size_t depth;
};

}  // namespace

std::string Java2Htm::page_link(const std::string& data) {
  if (data.size() > 1 && (data[0] == 'c' || data[0] == 'm') && isdigit((unsigned char)data[1])) {
    size_t slash = data.find('/'), hash = data.find('#');
    if (slash != std::string::npos && slash < hash) return data.substr(1);
  }
  return data;
}

std::string Java2Htm::class_shown(const std::string& name) {
  size_t lt = name.find('<');
  if (lt == std::string::npos) return html_text(name);
  size_t gt = name.rfind('>');
  std::string inner = name.substr(lt + 1, gt == std::string::npos || gt < lt ? std::string::npos : gt - lt - 1);
  if (inner.size() > 30000) inner.resize(30000);
  return html_text(base_of(name)) + " &lt; " + html_text(inner);
}

bool Java2Htm::rootClass(const std::string& name) { return rows_at(superClasses, base_of(name) + "~").empty(); }

void Java2Htm::create_subClasses_Relation() {
  subClasses = std::make_unique<Btree>();
  subClasses->quiet = 1;
  Btree_st st;
  for (unsigned ok = superClasses.GetFirst(st); ok; ok = superClasses.Next(st)) {
    std::string k(st.k, st.k_L);
    size_t t = k.find('~');
    if (t == std::string::npos) continue;
    std::string super = k.substr(t + 1);
    if (super.find('.') != std::string::npos || super.find('/') != std::string::npos) continue;
    tree_put(*subClasses, base_of(super) + "~" + k.substr(0, t), st.c);
  }
}

// The bases of `cls` as rows of the class list, each with the bases of its
// own one level further in.  A class without any is a root.
int Java2Htm::show_superClasses(FILE* out, const std::string& cls, int deep) {
  snprintf(comm_buf, sizeof comm_buf, "\nshow_superClasses of %s, deep = %i", cls.substr(0, 300).c_str(), deep);
  exut.show_x(comm_buf);  // in the trace only
  walk_path path;
  std::vector<pending> todo{{cls, deep, 0}};
  int rows = 0;
  size_t fill_len = strlen(filler);
  while (!todo.empty() && rows < max_map_rows) {
    pending p = todo.back();
    todo.pop_back();
    path.cut(p.depth);
    if (p.depth > 0) {  // the top class itself is not a row
      size_t n = std::min(fill_len, (size_t)(p.level - 2 + 7) * 7);
      fprintf(out, "\n<br> %s: %s", filler + fill_len - n, class_shown(p.name).c_str());
      rows++;
    }
    std::string b = base_of(p.name);
    if (path.has(b)) continue;  // a cycle: shown once, not entered again
    path.push(b);
    auto supers = rows_at(superClasses, b + "~");
    // A root keeps the class it was first met for.
    if (supers.empty() && !rootClasses.contains(b.substr(0, 252).c_str())) tree_put(rootClasses, b, rootTitle);
    for (size_t i = supers.size(); i-- > 0;)
      todo.push_back({supers[i].first.substr(b.size() + 1), p.level + 2, path.names.size()});
  }
  return rows;
}

// The head of one class and its methods, at `level` steps of indent.
void Java2Htm::show_methods(FILE* out, const std::string& cls, int level) {
  std::string ind = indent_of(level);
  std::string key = base_of(cls);
  Btree_st st;
  bool found = cppsecs.Get(key.substr(0, 252).c_str(), st) || cppsecs.Get(cls.substr(0, 252).c_str(), st);
  // "a . b . C" and "a.b.C": the tails of the name are tried in turn.
  for (size_t dot = key.find('.'); !found && dot != std::string::npos; dot = key.find('.', dot + 1)) {
    std::string tail = key.substr(dot + 1);
    while (!tail.empty() && tail[0] == ' ') tail.erase(0, 1);
    if (!tail.empty() && cppsecs.Get(tail.substr(0, 252).c_str(), st)) {
      found = true;
      key = tail;
    }
  }
  std::string kind;
  Btree_st ks;
  if (javaKinds.Get(cls.substr(0, 252).c_str(), ks) || javaKinds.Get(key.substr(0, 252).c_str(), ks))
    kind = std::string(" ") + ks.c;
  if (!found) {
    fprintf(out, "<br><br>%s%s%s", ind.c_str(), class_shown(cls).c_str(), kind.c_str());
    return;
  }
  key = std::string(st.k, st.k_L);
  fprintf(out, "<br><br>%s<a href=../%s>%s</a>%s", ind.c_str(), page_link(st.c).c_str(), class_shown(cls).c_str(),
          kind.c_str());
  // allMethods takes the rows of a class once: a second map showing it
  // would only put the same rows again.
  bool listed = !methods_listed.insert(key).second;
  for (auto& m : rows_at(cppsecs, key + " ::")) {
    std::string method = m.first.substr(key.size() + 3);
    while (!method.empty() && method[0] == ' ') method.erase(0, 1);
    if (method.empty()) continue;
    std::string link = page_link(m.second);
    fprintf(out, "\n<br>%s<a href=../%s>%s</a>", ind.c_str(), link.c_str(), html_text(method).c_str());
    if (listed) continue;
    char first = (char)toupper((unsigned char)method[0]);
    tree_put(allMethods, std::string(1, first) + method + "~" + m.first, link);
  }
}

// The class, then each superclass with its methods one level further in.
void Java2Htm::show_class_map(FILE* out, const std::string& cls) {
  walk_path path;
  std::vector<pending> todo{{cls, 0, 0}};
  int rows = 0;
  while (!todo.empty() && rows++ < max_map_rows) {
    pending p = todo.back();
    todo.pop_back();
    path.cut(p.depth);
    std::string b = base_of(p.name);
    if (path.has(b)) continue;
    path.push(b);
    show_methods(out, p.name, p.level);
    auto supers = rows_at(superClasses, b + "~");
    for (size_t i = supers.size(); i-- > 0;)
      todo.push_back({supers[i].first.substr(b.size() + 1), p.level + 1, path.names.size()});
  }
}

// The subclasses that have a page, each with its own one level further in;
// returns how many were shown.
unsigned Java2Htm::show_subClasses(FILE* out, const std::string& cls, int level) {
  if (!subClasses) create_subClasses_Relation();
  walk_path path;
  path.push(base_of(cls));
  std::vector<pending> todo;
  auto expand = [&](const std::string& b, int lv) {
    auto subs = rows_at(*subClasses, b + "~");
    for (size_t i = subs.size(); i-- > 0;) todo.push_back({subs[i].first.substr(b.size() + 1), lv, path.names.size()});
  };
  expand(base_of(cls), level);
  unsigned count = 0;
  while (!todo.empty() && count < (unsigned)max_map_rows) {
    pending p = todo.back();
    todo.pop_back();
    path.cut(p.depth);
    std::string b = base_of(p.name);
    Btree_st st;
    bool page = cppsecs.Get(p.name.substr(0, 252).c_str(), st) || cppsecs.Get(b.substr(0, 252).c_str(), st);
    if (!page || path.has(b)) continue;
    fprintf(out, "\n<br>sc %s<a href=../%s>%s</a>", indent_of(p.level + 1).c_str(), page_link(st.c).c_str(),
            class_shown(p.name).c_str());
    count++;
    path.push(b);
    expand(b, p.level + 1);
  }
  return count;
}

void Java2Htm::create_class_map(const std::string& cls, const std::string& mapPath, const std::string& pageOfClass) {
  size_t s1 = mapPath.rfind('/');
  size_t s2 = s1 == std::string::npos || s1 == 0 ? std::string::npos : mapPath.rfind('/', s1 - 1);
  std::string tail = s2 == std::string::npos ? mapPath : mapPath.substr(s2 + 1);
  append_text(j2h + "/index/to_code", "\n~" + cls + "~" + tail + "~");
  if (code_mo) fprintf(code_mo, "\nclass %s", cls.c_str());
  std::string docText, seeAlso;
  Btree_st st;
  std::string key = base_of(cls).substr(0, 252);
  if (classDocs && classDocs->Get(key.c_str(), st)) docText = "<br>" + html_text(st.c);
  if (to_docu && (to_docu->Get(cls.substr(0, 252).c_str(), st) || to_docu->Get(key.c_str(), st)))
    seeAlso = "<br><a href=../../" + html_attr(st.c) + ">See also class documentation.</a>";
  FILE* f = safe_ut.create(mapPath.c_str());
  fprintf(f,
          "%s\n<font size=\"+1\">Class <a href=../%s>%s</a></font><br>\n%s%s%s<br><a href=../cpp.htm>C++</a>\n"
          "Inline methods are not shown here.\nSuperclasses are shown indented,\n"
          "<a href=#sc>subclasses</a> are listed below.<br>\n",
          head, page_link(pageOfClass).c_str(), class_shown(cls).c_str(), docText.c_str(), seeAlso.c_str(), "");
  show_class_map(f, cls);
  fprintf(f,
          "\n<br><br><a href=../class.htm>ALL Class Maps</a><br>\n<a href=../types.htm>ALL Class and Type "
          "Declarations</a><br><br>\n<a name=sc></a><b>Subclasses of %s are:</b><br>",
          class_shown(cls).c_str());
  unsigned n = show_subClasses(f, cls, 0);
  if (n == 0)
    fprintf(f, "\n<br><font size=1>%u subclasses</font>", n);
  else if (n == 1)
    fputs("\n<br><br><font size=1>1 subclass</font>", f);
  else
    fprintf(f, "\n<br><br><font size=1>%u subclasses</font>", n);
  fputs("\n</font></BODY></HTML>\n", f);
  safe_ut.close_FILE(&f, SRC, __LINE__);
}
