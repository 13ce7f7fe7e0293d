// The Java page of the code web: the reader of codeweb/java_reader.h writes
// the page, and its rows go into the trees of the Java2Htm object.
#include <cstdlib>

#include "codeweb/java2htm.h"
#include "codeweb/java_reader.h"

namespace {

// The trees of the object, as the reader sees them; the counters are lent
// to the reader for one page and taken back after it.
struct web_trees : java_trees {
  Java2Htm& web;

  explicit web_trees(Java2Htm& w) : web(w) {
    page_head = web.head;
    title_head = web.title_head;
    title_tail = web.title_tail;
    tips = web.tipTitles;
    dotted_root = web.dotRoot;
    neLoCode = web.neLoCode;
    LoComm = web.LoComm;
    slots = web.slots;
    name_count = web.nameNrCount;
    def_count = web.javaDefsCount;
    customised.swap(web.customised);
    for (auto& m : web.mains) mains.push_back({m.link, m.cls, m.path});
  }

  void give_back() {
    web.neLoCode = neLoCode;
    web.LoComm = LoComm;
    web.slots = slots;
    web.nameNrCount = name_count;
    web.javaDefsCount = def_count;
    web.customised.swap(customised);
    web.mains.clear();
    for (auto& m : mains) web.mains.push_back({m.link, m.cls, m.path});
    web.mNr = (int)web.mains.size();
  }

  Btree& tree(jtree t) {
    switch (t) {
      case jtree::classes: return web.javaClasses;
      case jtree::packages: return web.ourPackages;
      case jtree::defs: return web.javaDefs;
      case jtree::imports: return web.javaImports;
      case jtree::supers: return web.superClasses;
      case jtree::secs: return web.cppsecs;
      case jtree::kinds: return web.javaKinds;
      case jtree::names: break;
    }
    return web.nameNr;
  }

  std::string src;

  void string_used(const std::string& text) override {
    if (web.jsFunctions) web.js_user(src.c_str(), "java", text.c_str());
  }

  void put(jtree t, const std::string& key, const std::string& data) override {
    Java2Htm::tree_put(tree(t), key, data);
  }

  bool get(jtree t, const std::string& key, std::string* data) override {
    Btree_st st;
    if (!tree(t).Get(key.substr(0, 252).c_str(), st)) return false;
    *data = st.c;
    return true;
  }
};

}  // namespace

void java_page(Java2Htm& web, int fNr, const std::string& src, const std::string& page) {
  web_trees trees(web);
  trees.src = web.shown(src.size() > 5 ? src.substr(0, src.size() - 5) : src);  // "<path>.java" in rows
  java_reader reader(trees);
  std::string name = page.substr(page.rfind('/') + 1);
  try {
    reader.run(src, page, name);
  } catch (...) {
    trees.give_back();
    throw;
  }
  trees.give_back();
  (void)fNr;
}

int Java2Htm::defNameNr(const char* name) {
  web_trees trees(*this);
  int n = java_reader(trees).def_name_nr(name);
  trees.give_back();
  return n;
}

void Java2Htm::check_package_name(const char* path, const char* package) {
  if (dotRoot) return;
  std::string dir = path;
  size_t slash = dir.rfind('/');
  if (slash == std::string::npos) return;
  dir.resize(slash);
  // The folder's tail, "/" read as ".", grown backwards until it is the package.
  for (size_t k = dir.size(); k-- > 0;) {
    if (dir[k] != '/' && k != 0) continue;
    std::string tail = dir.substr(dir[k] == '/' ? k + 1 : 0);
    for (char& c : tail)
      if (c == '/') c = '.';
    if (tail == package) {
      tree_put(ourPackages, package, "");
      return;
    }
  }
}
