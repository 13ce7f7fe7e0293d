// The keyword stops of the Java page: package and import lines, class
// headers, declarations of methods, and the table of contents.
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "codeweb/code_lex.h"
#include "codeweb/java_reader.h"
#include "runtime/exec_ut.h"

using namespace codelex;

namespace {

const char* const SRC = "java_scan.cpp";


bool is_one_of(const std::string& w, std::initializer_list<const char*> words) {
  for (const char* k : words)
    if (w == k) return true;
  return false;
}

// Words that may begin a declaration; the last of them before the name
// reads the declaration.
bool decl_word(const std::string& w) {
  return is_one_of(w, {"public", "protected", "private", "abstract", "static", "void"});
}

bool class_word(const std::string& w) { return is_one_of(w, {"class", "interface", "enum", "record"}); }

// Behind a "<...>" group that begins at i (or i itself).
size_t skip_generics(const std::string& t, size_t i, size_t end) {
  if (i >= end || t[i] != '<') return i;
  int depth = 0;
  for (; i < end; i++) {
    if (t[i] == '<') depth++;
    if (t[i] == '>' && --depth == 0) return i + 1;
    if (t[i] == '\n' || t[i] == ';' || t[i] == '{') return i;
  }
  return i;
}

size_t line_end(const std::string& t, size_t i) {
  size_t nl = t.find('\n', i);
  return nl == std::string::npos ? t.size() : nl;
}

size_t line_begin(const std::string& t, size_t i) {
  size_t nl = i == 0 ? std::string::npos : t.rfind('\n', i - 1);
  return nl == std::string::npos ? 0 : nl + 1;
}

int column(const std::string& t, size_t i) {
  size_t b = line_begin(t, i);
  size_t f = b;
  while (f < t.size() && t[f] == ' ') f++;
  return (int)(f - b);
}

}  // namespace

void java_reader::word() {
  size_t b = i_;
  while (i_ < t_.size() && is_word_char(t_[i_])) i_++;
  std::string w = t_.substr(b, i_ - b);
  bool behind_ws = fresh_word_ || b == 0 || t_[b - 1] == '\n' || is_blank(t_[b - 1]);
  fresh_word_ = false;
  bool stop = i_ < t_.size() && (t_[i_] == ' ' || (w == "catch" && t_[i_] == '('));
  if (behind_ws && stop) {
    size_t n = i_ + 1;
    if (t_[i_] == ' ')
      while (n < t_.size() && is_blank(t_[n])) n++;
    if (n < t_.size() && is_word_char(t_[n])) {
      i_ = b;
      if (keyword(w)) return;
      i_ = b + w.size();
    }
  }
  code(w);
}

bool java_reader::keyword(const std::string& w) {
  if (w == "package") return package_line(), true;
  if (w == "import") return import_line(), true;
  if (class_word(w)) return class_header(w);
  if (is_one_of(w, {"try", "catch", "return", "extends", "implements", "throws"})) return write_kw(w), true;
  if (decl_word(w)) return declaration(w), true;
  return false;
}

void java_reader::write_kw(const std::string& w) {
  i_ += w.size();
  if (t_.compare(i_, 7, " defVis") == 0) {
    i_ += 7;
    code("<font class=\"kw\">p." + w + "</font>");
  } else {
    code("<font class=\"kw\">" + w + "</font>");
  }
}

void java_reader::package_line() {
  size_t nl = line_end(t_, i_);
  size_t semi = t_.rfind(';', nl);
  if (semi == std::string::npos || semi < i_) semi = nl;
  std::string name;
  for (size_t k = i_ + 8; k < semi; k++)
    if (!is_blank(t_[k])) name += t_[k];
  code("<font class=\"kw\">package</font> <a href=#toc>" + lt_escaped(name, "&lt") + "</a>");
  i_ = semi;
  has_package_ = true;
  package_ = name;
  check_package_name(src_, name);
  web_.put(jtree::packages, name, "");
}

void java_reader::import_line() {
  size_t nl = line_end(t_, i_);
  size_t semi = t_.find(';', i_);
  if (semi == std::string::npos || semi > nl) semi = nl;
  std::string name = t_.substr(i_ + 7, semi - i_ - 7);
  while (!name.empty() && is_blank(name.back())) name.pop_back();
  size_t f = name.find_first_not_of(' ');
  name = f == std::string::npos ? "" : name.substr(f);
  if (name.compare(0, 7, "static ") == 0) name.erase(0, name.find_first_not_of(' ', 7));
  if (!name.empty()) web_.put(jtree::imports, name + "/" + package_, page_);
  write_kw("import");
}

bool java_reader::class_header(const std::string& w) {
  size_t n = i_ + w.size();
  while (n < t_.size() && is_blank(t_[n])) n++;
  size_t ns = n;
  while (n < t_.size() && is_word_char(t_[n])) n++;
  if (n == ns) return false;
  size_t ne = n;
  std::string name = t_.substr(ns, ne - ns);
  if (w == "record") {
    size_t a = skip_generics(t_, ne, t_.size());
    while (a < t_.size() && is_blank(t_[a])) a++;
    if (a >= t_.size() || t_[a] != '(') return false;
  }
  size_t lb = line_begin(t_, i_);
  std::string before = t_.substr(lb, i_ - lb);
  std::string kind = w == "interface"                                           ? "interface"
                     : w == "class" && before.find("abstract ") != std::string::npos ? "abstract class"
                                                                                 : "class";
  int d = column(t_, i_) / 3;
  if (d > depth_ + 1) d = depth_ + 1;
  if (d > 63) d = 63;  // nesting beyond this is read as the deepest level
  depth_ = d;
  levels_.resize(d + 1);
  levels_[d] = name;
  outer_.clear();
  for (int k = 0; k <= d; k++) outer_ += (k ? " . " : "") + levels_[k];
  current_ = name;
  write_kw(w);
  int k = add_entry(e_class, kind, outer_);
  mark(fmt("<a name=%i></a>", k));
  code(" <a href=\"#" + outer_ + "\">" + name + "</a>");
  i_ = ne;
  web_.put(jtree::kinds, outer_, "-- " + kind);
  class_supers(name, "-- " + kind, ne);
  return true;
}

// The rest of a class header up to ";" or "{": each word after "extends" or
// "implements" is a superclass or interface of the class.
void java_reader::class_supers(const std::string& name, const std::string& kind, size_t from) {
  bool after = false;
  size_t end = std::min(t_.size(), from + (size_t)look_ahead);
  size_t i = from;
  while (i < end) {
    char c = t_[i];
    if (c == ';' || c == '{') return;
    if (c == '/' && i + 1 < end && t_[i + 1] == '/') {
      i = line_end(t_, i);
    } else if (c == '/' && i + 1 < end && t_[i + 1] == '*') {
      size_t e = t_.find("*/", i + 2);
      if (e == std::string::npos) return;
      i = e + 2;
    } else if (c == '<') {
      i = std::max(skip_generics(t_, i, end), i + 1);
    } else if (c == '(') {  // the components of a record
      size_t e = t_.find(')', i);
      if (e == std::string::npos) return;
      i = e + 1;
    } else if (is_blank(c) || c == '\n' || c == ',') {
      i++;
    } else if (is_word_char(c)) {
      size_t b = i;
      while (i < end && (is_word_char(t_[i]) || t_[i] == '.')) i++;
      std::string w = t_.substr(b, i - b);
      if (w == "extends" || w == "implements") {
        after = true;
      } else if (w == "permits") {
        after = false;
      } else if (after && w != name) {
        web_.put(jtree::supers, name + "~" + w, kind);
      }
    } else {
      return;
    }
  }
}

void java_reader::declaration(const std::string& w) {
  size_t nl = line_end(t_, i_);
  size_t k = i_ + w.size();
  while (k < nl && !strchr("\"{;(=", t_[k])) k++;
  bool method_like = k < nl && t_[k] == '(';
  if (method_like) {
    // A later modifier or a class word reads the declaration.
    for (size_t j = i_ + w.size(); j < k; j++) {
      if (!is_word_char(t_[j]) || !is_blank(t_[j - 1])) continue;
      size_t e = j;
      while (e < k && is_word_char(t_[e])) e++;
      std::string next = t_.substr(j, e - j);
      if ((decl_word(next) || class_word(next)) && e < k && t_[e] == ' ') method_like = false;
      j = e;
    }
  }
  write_kw(w);
  if (method_like) method(k);
}

void java_reader::method(size_t p) {
  size_t q = p;
  while (q > i_ && is_blank(t_[q - 1])) q--;
  size_t ne = q;
  while (q > i_ && is_word_char(t_[q - 1])) q--;
  if (q == ne) return;
  std::string name = t_.substr(q, ne - q);
  bool no_entry = q >= 4 && t_.compare(q - 4, 3, "new") == 0;
  std::string before = t_.substr(i_, q - i_);
  while (!before.empty() && is_blank(before.back())) before.pop_back();
  code(lt_escaped(before, "&lt"));
  // The class a member belongs to is the one a level left of its column.
  int d = column(t_, p) / 3 - 1;
  if (d >= 0 && d <= depth_ && d < (int)levels_.size()) {
    current_ = levels_[d];
    outer_.clear();
    for (int k = 0; k <= d; k++) outer_ += (k ? " . " : "") + levels_[k];
  }
  size_t nl = line_end(t_, p);
  size_t close = t_.find(')', p);
  size_t decl_end = close == std::string::npos || close > nl ? nl : close + 1;
  if (!no_entry) {
    int k = add_entry(e_method, lt_escaped(t_.substr(q, decl_end - q), "&lt;"), name);
    mark(fmt("<a name=%i></a>", k));
  }
  if (name == "main") {
    if ((int)web_.mains.size() + 1 >= java_trees::max_mains) {
      errno = 0;
      exut.fail(__LINE__, SRC, "System: the %ith main() method (mNr) in %s\n", java_trees::max_mains,
                src_.c_str());
    }
    int m = (int)web_.mains.size();
    mark(fmt("<a name=m%i></a>", m));
    // The full class name: package, outer classes, class ("a.b.Outer.Inner").
    std::string full = package_.empty() ? outer_ : package_ + "." + outer_;
    for (size_t d = full.find(" . "); d != std::string::npos; d = full.find(" . ", d + 1)) full.replace(d, 3, ".");
    web_.mains.push_back({page_ + fmt("#m%i", m), full, src_});
  }
  code(" <a href=\"#" + outer_ + "\">" + name + "</a>");
  i_ = ne;
}

std::string java_reader::toc() {
  std::string r;
  bool first = true;
  for (size_t i = 0; i < toc_.size(); i++) {
    const entry& e = toc_[i];
    if (e.kind == e_class) {
      r += class_row(i, first);
      first = false;
    } else if (e.kind == e_method || e.kind == e_slot) {
      r += fmt("\n<br>. &nbsp; <a href=#%i>", (int)i) + e.text + "</a>";
      if (e.kind == e_method && e.cls != "?")
        web_.put(jtree::secs, e.cls + " :: " + e.name, page_ + fmt("#%i", (int)i));
    }
  }
  return r;
}

std::string java_reader::class_row(size_t i, bool first) {
  const entry& e = toc_[i];
  size_t dot = e.name.rfind(" . ");
  std::string simple = dot == std::string::npos ? e.name : e.name.substr(dot + 3);
  int nr = def_name_nr(simple);
  std::string r = "\n<a name=\"" + e.name + "\"></a>";
  r += fmt("\n%s<a href=#top>top</a>,\n<a href=\"u/%i.htm\">use</a>,\n<a href=\"m/%i.htm\">map</a>,\n<a href=#%i>",
           first ? "" : "<br>", nr, nr, (int)i);
  r += e.text + "</a><b><font size+2> " + e.name + "</font></b><br>";
  web_.put(jtree::secs, simple, page_ + fmt("#%i", (int)i));
  web_.put(jtree::defs, fmt("%i.", ++web_.def_count) + simple, page_ + "~" + package_);
  return r;
}

int java_reader::def_name_nr(const std::string& name) {
  size_t lt = name.find('<');
  std::string base = name.substr(0, lt);
  std::string data;
  if (web_.get(jtree::names, base, &data)) return atoi(data.c_str());
  std::string nr = fmt("%i", ++web_.name_count);
  web_.put(jtree::names, base, nr);
  if (lt != std::string::npos) web_.put(jtree::names, name, nr);
  return web_.name_count;
}

void java_reader::check_package_name(const std::string& path, const std::string& package) {
  if (web_.dotted_root) return;
  size_t slash = path.rfind('/');
  if (slash == std::string::npos) return;
  std::string dir = path.substr(0, slash);
  for (size_t k = dir.size(); k-- > 0;) {
    if (dir[k] != '/' && k != 0) continue;
    std::string tail = dir.substr(dir[k] == '/' ? k + 1 : 0);
    for (char& c : tail)
      if (c == '/') c = '.';
    if (tail == package) {
      web_.put(jtree::packages, package, "");
      return;
    }
  }
}
