// The include relation of C, C++, JSP and ASP files: names resolved
// against the tails of the walked paths, the edges between file numbers,
// and the include structure appended to each page.  The lists and the
// dependency pages are in include_pages.cpp.
#include <cstring>
#include <string>
#include <vector>

#include "codeweb/java2htm.h"
#include "engine/escape.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "include_relation";

std::string lower(std::string s) {
  for (char& c : s) c = (char)safe_uts::to_lower_char((unsigned char)c);
  return s;
}

std::string base_name(const std::string& p) {
  size_t s = p.rfind('/');
  return s == std::string::npos ? p : p.substr(s + 1);
}

// `path` with its "." and ".." steps resolved; "" when ".." leaves it.
std::string normal_path(const std::string& path) {
  std::vector<std::string> steps;
  for (size_t a = 0; a <= path.size();) {
    size_t e = path.find('/', a);
    if (e == std::string::npos) e = path.size();
    std::string s = path.substr(a, e - a);
    a = e + 1;
    if (s == "..") {
      if (steps.empty()) return "";
      steps.pop_back();
    } else if (s != "." && !(s.empty() && !steps.empty())) {
      steps.push_back(s);
    }
  }
  std::string r;
  for (size_t k = 0; k < steps.size(); k++) r += (k ? "/" : "") + steps[k];
  return r;
}

// `path` resolved, when it lies below `root`; "" otherwise.  The result
// begins with `root` as the caller spells it ("./a/b" for the root "."),
// since the file keys of the walk do.
std::string below_root(const std::string& path, const std::string& root_) {
  std::string r = normal_path(path), root = normal_path(root_);
  if (root.empty()) {  // "." (every relative path that stays inside) or "/"
    bool abs = !root_.empty() && root_[0] == '/';
    if (r.empty() || (r[0] == '/') != abs) return "";
    return abs ? r : root_ + "/" + r;
  }
  if (r.empty() || r.size() <= root.size() || r.compare(0, root.size(), root) || r[root.size()] != '/') return "";
  return root_ + r.substr(root.size());
}

bool has_key(Btree& t, const std::string& k) {
  if (k.empty() || k.size() > 252) return false;
  return t.contains(k.c_str()) != 0;
}
}  // namespace

// ------------------------------------------------------------ names

void Java2Htm::to_incNames(const std::string& path) {
  std::string p = lower(path);
  Btree_st st;
  for (size_t s = p.find('/'); s != std::string::npos; s = p.find('/', s + 1)) {
    std::string tail = p.substr(s + 1);
    if (tail.empty() || tail.size() > 252) continue;
    if (incs.Get(tail.c_str(), st)) {
      if (p == st.c) continue;  // the same file registered again
      incs.StrIns('e', tail.c_str(), "");
      break;  // every shorter tail is ambiguous as well
    }
    incs.StrIns('e', tail.c_str(), p.c_str());
  }
}

std::string Java2Htm::real_of(const std::string& key) {
  Btree_st st;
  if (!key.empty() && key.size() <= 252 && fileNrs.Get(key.c_str(), st)) return fReal[atoi(st.c)];
  if (key == lower(lastReal)) return lastReal;
  std::string r = safe_ut.real_name(key.c_str());
  return safe_ut.ok_is_a(r.c_str()) == 'f' ? r : "";
}

bool Java2Htm::make_path(const std::string& from, std::string& out, const std::string& name_) {
  if (name_.find(',') != std::string::npos) {
    exut.show_str("name", name_.c_str());
    exut.show_str("from", from.c_str());
    exut.fail(__LINE__, SRC, "Assertion: include name with a comma: %s", name_.c_str());
  }
  std::string name = lower(name_);
  for (char& c : name)
    if (c == '\\') c = '/';
  lastReal.clear();
  // 1. The name and each of its tails, longest first, with a unique path.
  Btree_st st;
  for (size_t s = 0;;) {
    std::string tail = name.substr(s);
    if (!tail.empty() && tail.size() <= 252 && incs.Get(tail.c_str(), st) && st.c[0]) {
      out = st.c;
      return true;
    }
    s = name.find('/', s);
    if (s == std::string::npos) break;
    s++;
  }
  printf("\nno such inc_1: %s [aus f= %s]", name.c_str(), from.c_str());
  // 2. The folders of the including file, upward to the root: the name
  // as a path relative to the folder ("../inc/x.inc": files of extensions
  // the walk does not take have no tail), then its base name.
  std::string base = base_name(name), folder = from;
  while (shrink_path(folder) && (int)folder.size() >= rootLen) {
    for (const std::string& rel : {name, base}) {
      if (rel.empty() || (&rel == &base && base == name)) continue;
      std::string cand = below_root(folder + "/" + rel, root);
      if (cand.empty()) continue;
      cand = safe_ut.real_name(cand.c_str());
      if (safe_ut.ok_is_a(cand.c_str()) == 'f') {
        lastReal = cand;
        out = lower(cand);
        return true;
      }
    }
  }
  printf("\nno such inc_2: %s [aus f= %s]", name.c_str(), from.c_str());
  // 3. Any C or C++ file ending in "/<name>"; the last hit stays.
  std::string end = "/" + name;
  int hits = 0;
  out.clear();
  for (int i = 1; i <= cfNr; i++) {
    const std::string& p = fPath[i];
    if (fKind[i] != k_c || p.size() < end.size() || p.compare(p.size() - end.size(), end.size(), end)) continue;
    printf("\ninc doch gefunden: %s = %s", name.c_str(), p.c_str());
    out = p;
    hits++;
  }
  printf("\nanzgef= %i: %s = %s", hits, name.c_str(), out.c_str());
  if (!hits) tree_put(notFound, name, "");
  return hits > 0;
}

int Java2Htm::make_path_to_basis(const std::string& base, std::string& out, const std::string& name) {
  out = base + "/include/" + name;
  return safe_ut.ok_is_a(out.c_str()) == 'f' ? 1 : 0;
}

// ------------------------------------------------------------ edges

void Java2Htm::inc_index(int fNr) {
  if (fNr <= 0 || fNr > cfNr) return;
  tree_put(incNames, "=" + std::to_string(fNr) + "=" + fPath[fNr], "");
  tree_put(incNames, "=" + std::to_string(fNr) + "=" + base_name(fPath[fNr]), "");
}

void Java2Htm::to_INCs(int included, int includer) {
  if (included == includer) return;
  char k[40];
  snprintf(k, sizeof k, ">%i=%i", includer, included);
  incNames.StrIns('e', k, "");
  is_inc_for[included] = 1;
  for (int n : {included, includer}) {
    Btree_st st;
    if (!incNames.Getmin_At(st, ("=" + std::to_string(n) + "=").c_str())) inc_index(n);
  }
}

// The href of page `to` seen from page `from`: within the same hundred
// the bare number, otherwise through the parent folder.
std::string Java2Htm::inc_link(int from, int to) const {
  if (from / 100 == to / 100) return std::to_string(to % 100);
  return std::string("../") + nr2(to);
}

std::string Java2Htm::add_refcpp(const std::string& path, const std::string& shown) {
  if (shown.find(".cpp") != std::string::npos) return "";
  size_t dot = path.rfind('.'), slash = path.rfind('/');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "";
  // Every implementation file counts, not only ".cpp" (C trees have ".c").
  for (const char* ext : {".cpp", ".cc", ".cxx", ".c"}) {
    std::string impl = path.substr(0, dot) + ext;
    Btree_st st;
    if (impl == path || impl.size() > 252 || !fileNrs.Get(impl.c_str(), st)) continue;
    return std::string(" : <a href=../") + nr2(atoi(st.c)) + ".htm>cpp</a>";
  }
  return "";
}

std::string Java2Htm::cpp_include(int fNr, const std::string& d) {
  size_t at = 8;  // behind "#include"
  while (at < d.size() && (d[at] == ' ' || d[at] == '\t')) at++;
  if (d.compare(0, 8, "#include") || at == 8 || at >= d.size() || (d[at] != '<' && d[at] != '"'))
    return html_text(d);
  size_t e = d.find_first_of("\">", at + 1);
  if (e == std::string::npos) e = d.size();
  std::string name = d.substr(at + 1, e - at - 1);
  std::string shown = html_text(d.substr(at, e - at));
  std::string html = html_text(d.substr(0, at));
  std::string rest = e < d.size() ? d.substr(e) : "";
  std::string from = fNr > 0 && fNr <= cfNr ? fReal[fNr] : "";
  std::string path;
  if (!make_path(from, path, name) || path.empty())
    return html + "<font class=\"kw\">" + shown + "\"</font>" + html_text(e < d.size() ? d.substr(e + 1) : "");
  Btree_st st;
  int n = 0;
  if (path.size() <= 252 && fileNrs.Get(path.c_str(), st)) {
    if (!isdigit((unsigned char)st.c[0])) {
      exut.show_str("st.k", st.k);
      exut.show_str("st.c", st.c);
      exut.fail(__LINE__, SRC, "Assertion: no number for an include path");
    }
    n = atoi(st.c);
  } else {
    std::string real = real_of(path);
    if (real.empty())
      return html + "<font class=\"kw\">" + shown + "\"</font>" + html_text(e < d.size() ? d.substr(e + 1) : "");
    n = srcfile(__LINE__, path.c_str(), k_c);  // included from outside the selection
    fReal[n] = real;
  }
  to_INCs(n, fNr);
  html += "<a href=" + inc_link(fNr, n) + ".htm>" + shown + "</a>" + add_refcpp(path, shown) + html_text(rest);
  // The row of the C++ include list: the file's last folders, its first
  // letter doubled in upper case in front so that the list sorts by it.
  std::string tail = rest_of_path(n, 2);
  if (!tail.empty()) {
    std::string key = tail;
    key.insert(key.begin(), (char)safe_uts::to_upper_char((unsigned char)tail[0]));
    std::string edge = std::to_string(n) + "->" + std::to_string(fNr);
    tree_put(cppIncludes, key + "~" + edge, edge);
  }
  return html;
}

// ------------------------------------------------------------ structure

// The rows below `root`, depth first, each file once; returns the number
// of files shown.  An explicit stack: a chain of any length ends without
// deep recursion.
int Java2Htm::show_INCs(FILE* out, int root, Btree& seen) {
  struct level {
    std::string prefix;
    std::string after;  // the last key done at this level
    int depth;
  };
  std::vector<level> stack{{">" + std::to_string(root) + "=", "", 0}};
  int count = 0;
  Btree_st st;
  while (!stack.empty()) {
    level& L = stack.back();
    unsigned ok = L.after.empty() ? incNames.Getmin_At(st, L.prefix.c_str())
                                  : incNames.Getmin_GR(st, L.after.c_str());
    if (!ok || strncmp(st.k, L.prefix.c_str(), L.prefix.size())) {
      stack.pop_back();
      continue;
    }
    L.after = st.k;
    int depth = L.depth;
    int n = atoi(st.k + L.prefix.size());
    std::string nk = "#" + std::to_string(n);
    if (seen.contains(nk.c_str())) continue;
    seen.StrIns('e', nk.c_str(), "");
    Btree_st lab;
    if (!incNames.Getmin_At(lab, ("=" + std::to_string(n) + "=").c_str()) || n > cfNr) {
      exut.show_int("n", n);
      exut.fail(__LINE__, SRC, "Assertion: no include index entry =%i=", n);
    }
    std::string path = fPath[n];
    if (!has_key(seen, path)) {
      count++;
      char k[40];
      snprintf(k, sizeof k, "/%i=%i", root, n);
      incsMe.StrIns('e', k, "");
      snprintf(k, sizeof k, ">%i=%i", n, root);
      incsMe.StrIns('e', k, "");
    }
    for (int i = 0; i < depth; i++) fputs(". &nbsp; ", out);
    std::string label = shown(fReal[n]);
    if (!label.empty() && label[0] == '/') label.erase(0, 1);
    fprintf(out, "<a href=../%s.htm>%s<br></a>", nr2(n), html_text(label).c_str());
    tree_put(seen, path, "");
    if (depth + 1 < max_inc_depth) stack.push_back({">" + std::to_string(n) + "=", "", depth + 1});
  }
  return count;
}

void Java2Htm::ADD_inc_structure() {
  Btree_st st;
  int last = 0;
  std::vector<std::pair<int, bool>> files;  // number, is a JSP file
  for (unsigned ok = incNames.Getmin_At(st, "="); ok && st.k[0] == '='; ok = incNames.Next(st)) {
    int n = atoi(st.k + 1);
    bool jsp = st.k_L > 4 && !strcmp(st.k + st.k_L - 4, ".jsp");
    if (n == last) {
      if (jsp) files.back().second = true;
      continue;
    }
    last = n;
    if (n > 0 && n < max_fNr && n <= cfNr) files.push_back({n, jsp});
  }
  for (auto [n, jsp] : files) {
    std::string page = j2h + "/" + nr2(n) + ".htm";
    dir_with_css(page.substr(0, page.rfind('/')));
    FILE* out = safe_ut.open_append(page.c_str());
    if (!out) exut.fail(__LINE__, SRC, "Assertion: cannot append to %s", page.c_str());
    Btree seen;
    seen.quiet = 1;
    seen.init(nullptr, 0);
    int count = show_INCs(out, n, seen);
    std::string inc_for = is_inc_for[n] ? "<a href=../bf/" + std::to_string(n) + ".htm>is_inc_for</a> . " : "";
    fprintf(out, "\n<font size=1><br>%i include files<font size=2><br>\n<a href=#top>top</a> . %s<a href=../%s</a>",
            count, inc_for.c_str(), jsp ? "jsp.htm>JSP" : "cpp.htm>C++");
    safe_ut.close_FILE(&out, SRC, __LINE__);
  }
}
