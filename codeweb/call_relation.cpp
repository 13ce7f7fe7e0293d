// The call relation of C and C++ functions, read from <root>/alles_cpp.
//
// There is no parser: a body is what stands between the braces behind a
// head "name(...)" that is not a declaration, and inside a body a name in
// front of "(" is a call.  Strings, character literals, comments and
// preprocessor lines are passed over; a string holding SQL text counts as a
// call of the pseudo callee "SQL".  Pages already processed by the C++
// reader hold the marks "LB_(" and "LE_" around bodies; they are taken as
// braces.  The concatenation is read one source file at a time, and every
// search is bounded, so a huge or malformed file costs linear time.
#include <cstring>
#include <functional>

#include "codeweb/java2htm.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "call_relation";
constexpr size_t look_ahead = 8000;  // longest parameter list or initialiser looked at

bool name_char(char c) { return safe_uts::is_alnum((unsigned char)c) || c == '_'; }
bool blank(char c) { return c == ' ' || c == '\t'; }
bool white(char c) { return blank(c) || c == '\n' || c == '\r'; }
bool starts(const std::string& t, size_t i, const char* s) { return t.compare(i, strlen(s), s) == 0; }

std::unique_ptr<Btree> fresh_tree(const char* name) {
  auto t = std::make_unique<Btree>();
  t->name = name;
  t->quiet = 1;
  t->init(nullptr, 0);
  return t;
}

// Calls `each(path, text)` for every source file of the concatenation
// `alles`: a line "file: <path>" starts the next file.  Line ends are
// folded, byte 26 ends the text.
void for_each_file(const std::string& alles, const std::function<void(const std::string&, const std::string&)>& each) {
  FILE* f = safe_ut.open_FILE(alles.c_str(), "rb");
  if (!f) return;
  std::string path, text;
  bool any = false;
  char* line = nullptr;
  size_t cap = 0;
  ssize_t n;
  bool eof = false;
  while (!eof && (n = getline(&line, &cap, f)) > 0) {
    std::string l(line, (size_t)n);
    size_t z = l.find('\x1a');
    if (z != std::string::npos) {
      l.erase(z);
      eof = true;
    }
    if (l.size() >= 2 && l[l.size() - 2] == '\r' && l.back() == '\n') l.erase(l.size() - 2, 1);
    if (l.compare(0, 6, "file: ") == 0) {
      if (any) each(path, text);
      any = true;
      path = l.substr(6);
      while (!path.empty() && (path.back() == '\n' || path.back() == '\r')) path.pop_back();
      text.clear();
      continue;
    }
    text += l;
  }
  if (any) each(path, text);
  free(line);
  safe_ut.close_FILE(&f, SRC, __LINE__);
}

// Past the string or character literal that opens at `i`; a string ends at
// its quote or, left open, at the end of its line.  A raw string R"d(...)d"
// ends at its own closing.
size_t past_literal(const std::string& t, size_t i) {
  char q = t[i];
  if (q == '"' && i > 0 && t[i - 1] == 'R' && (i < 2 || !name_char(t[i - 2]) || t[i - 2] == '8' || t[i - 2] == 'L' ||
                                               t[i - 2] == 'u' || t[i - 2] == 'U')) {
    size_t open = t.find('(', i);
    if (open != std::string::npos && open - i <= 17) {
      std::string close = ")" + t.substr(i + 1, open - i - 1) + "\"";
      size_t e = t.find(close, open);
      return e == std::string::npos ? t.size() : e + close.size();
    }
  }
  size_t k = i + 1;
  while (k < t.size() && t[k] != q && t[k] != '\n') k += t[k] == '\\' ? 2 : 1;
  if (q == '\'' && (k >= t.size() || t[k] != q || k - i > 8)) return i + 1;  // an apostrophe in text
  return k < t.size() && t[k] == q ? k + 1 : k;
}

// Past a comment opening at `i` ("//" to its line end, "/*" through "*/").
size_t past_comment(const std::string& t, size_t i) {
  if (t[i + 1] == '/') {
    size_t e = t.find('\n', i);
    return e == std::string::npos ? t.size() : e;
  }
  size_t e = t.find("*/", i + 2);
  return e == std::string::npos ? t.size() : e + 2;
}

// Past blanks, line ends and comments.
size_t past_white(const std::string& t, size_t i) {
  while (i < t.size()) {
    if (white(t[i])) {
      i++;
    } else if (t[i] == '/' && i + 1 < t.size() && (t[i + 1] == '/' || t[i + 1] == '*')) {
      i = past_comment(t, i);
    } else {
      break;
    }
  }
  return i;
}

// The position of the bracket closing the one at `i`, within the look-ahead;
// npos when there is none.
size_t closing(const std::string& t, size_t i, char open, char close) {
  int depth = 0;
  size_t end = std::min(t.size(), i + look_ahead);
  for (size_t k = i; k < end;) {
    char c = t[k];
    if (c == '"' || c == '\'') {
      k = past_literal(t, k);
      continue;
    }
    if (c == '/' && k + 1 < t.size() && (t[k + 1] == '/' || t[k + 1] == '*')) {
      k = past_comment(t, k);
      continue;
    }
    if (c == open) depth++;
    if (c == close && --depth == 0) return k;
    k++;
  }
  return std::string::npos;
}

// The word that ends at `e` (exclusive) and where it starts; a leading "~"
// stays with it (a destructor).
size_t word_start(const std::string& t, size_t e) {
  size_t s = e;
  while (s > 0 && name_char(t[s - 1])) s--;
  if (s > 0 && s < e && t[s - 1] == '~') s--;
  return s;
}

// The name in front of the "(" at `i`: a word and, when "::" stands before
// it, the class word too, as "A::f".  Empty when no word stands there.
std::string name_before(const std::string& t, size_t i, bool over_blanks) {
  size_t e = i;
  if (over_blanks)
    while (e > 0 && blank(t[e - 1])) e--;
  size_t s = word_start(t, e);
  if (s == e) return "";
  std::string word = t.substr(s, e - s);
  size_t c = s;
  while (c > 0 && blank(t[c - 1])) c--;
  if (c < 2 || t[c - 1] != ':' || t[c - 2] != ':') return word;
  c -= 2;
  while (c > 0 && blank(t[c - 1])) c--;
  if (c > 0 && t[c - 1] == '>') {  // A<T>::f: the class word before its arguments
    int depth = 0;
    size_t lim = c > 200 ? c - 200 : 0;
    while (c > lim) {
      char x = t[--c];
      if (x == '>') depth++;
      if (x == '<' && --depth == 0) break;
    }
  }
  size_t cs = word_start(t, c);
  return cs == c ? word : t.substr(cs, c - cs) + "::" + word;
}

// Words that may stand between the ")" of a head and its body.
bool qualifier(const std::string& w) {
  for (const char* q : {"const", "override", "final", "noexcept", "volatile", "mutable", "throw", "try"})
    if (w == q) return true;
  return false;
}

// From the ")" of a head: the position of the body's "{" (or of a mark
// "LB_("), npos when a declaration or anything else follows.  Modern forms
// are read as the plain head: qualifiers, "noexcept(...)", a trailing
// return type and a constructor's initialisers are passed over.
size_t body_after(const std::string& t, size_t close) {
  size_t i = past_white(t, close + 1);
  size_t end = std::min(t.size(), close + look_ahead);
  while (i < end) {
    if (t[i] == '{' || starts(t, i, "LB_(")) return i;
    if (name_char(t[i])) {
      size_t e = i;
      while (e < t.size() && name_char(t[e])) e++;
      if (!qualifier(t.substr(i, e - i))) return std::string::npos;
      i = past_white(t, e);
      if (i < t.size() && t[i] == '(') {
        size_t c = closing(t, i, '(', ')');
        if (c == std::string::npos) return c;
        i = past_white(t, c + 1);
      }
      continue;
    }
    if (t[i] == '&') {
      i = past_white(t, i + 1);
      continue;
    }
    if (t[i] == '-' && i + 1 < t.size() && t[i + 1] == '>') {  // trailing return type
      i += 2;
      while (i < end && t[i] != '{' && t[i] != ';' && t[i] != '=') i++;
      continue;
    }
    if (t[i] == ':' && (i + 1 >= t.size() || t[i + 1] != ':')) {  // initialisers
      for (i++; i < end;) {
        char c = t[i];
        if (c == ';') return std::string::npos;
        if (c == '(' || c == '{') {
          size_t p = i;
          while (p > 0 && white(t[p - 1])) p--;
          if (c == '{' && !(p > 0 && (name_char(t[p - 1]) || t[p - 1] == '>'))) return i;
          size_t k = closing(t, i, c, c == '(' ? ')' : '}');
          if (k == std::string::npos) return k;
          i = k + 1;
          continue;
        }
        if (c == '"' || c == '\'') {
          i = past_literal(t, i);
          continue;
        }
        i++;
      }
      return std::string::npos;
    }
    return std::string::npos;
  }
  return std::string::npos;
}

bool contains(const std::string& s, const char* part) { return s.find(part) != std::string::npos; }

// The scan of one source file.
struct call_scan {
  Java2Htm& web;
  const std::string& fn;
  const std::string& t;
  // Searches ahead are bounded: none starts before `no_head_before` (the
  // end of a search that found no ")"), and all of them together read at
  // most `budget` bytes, so that the scan stays linear on any text.
  size_t no_head_before = 0;
  long budget;
  int k = 0;          // brace level
  int k0 = 0;         // level of the current body
  bool event = false; // the body is an event handler
  std::string caller, fileAndCaller;

  call_scan(Java2Htm& w, const std::string& file, const std::string& text)
      : web(w), fn(file), t(text), budget(16 * (long)text.size() + 1000000) {}
  void run();
  size_t head(size_t i);
  void call(size_t i);
  void string_at(size_t i, size_t e);
  void open() { k++; }
  void close() {
    k--;
    if (!caller.empty() && k < k0) caller.clear();
    if (k < 0) k = 0;
  }
};

void call_scan::run() {
  size_t n = t.size();
  for (size_t i = 0; i < n;) {
    char c = t[i];
    if (i == 0 || t[i - 1] == '\n') {  // a preprocessor line goes, with its continuations
      size_t s = i;
      while (s < n && blank(t[s])) s++;
      if (s < n && t[s] == '#') {
        for (i = s; i < n && t[i] != '\n'; i++)
          if (t[i] == '\\' && i + 1 < n && t[i + 1] == '\n') i++;
        continue;
      }
      if (starts(t, s, "LE_") && (s + 3 >= n || !name_char(t[s + 3]))) {
        close();
        size_t e = t.find('\n', s);
        i = e == std::string::npos ? n : e;
        continue;
      }
    }
    if (c == '"' || c == '\'') {
      size_t e = past_literal(t, i);
      if (c == '"') string_at(i, e);
      i = e;
    } else if (c == '/' && i + 1 < n && (t[i + 1] == '/' || t[i + 1] == '*')) {
      i = past_comment(t, i);
    } else if (c == '{') {
      open();
      i++;
    } else if (c == '}') {
      close();
      i++;
    } else if (c == '(') {
      if (caller.empty()) {
        i = head(i);
      } else {
        call(i);
        i++;
      }
    } else if (c == 'L' && starts(t, i, "LB_(") && (i == 0 || !name_char(t[i - 1]))) {
      open();
      i += 4;
    } else {
      i++;
    }
  }
}

void call_scan::string_at(size_t i, size_t e) {
  if (caller.empty()) return;
  std::string s = t.substr(i, e - i);
  for (const char* w : {"SELECT", "UPDATE", "DELETE", "CREATE", "DROP"})
    if (contains(s, w)) {
      web.einAufruf(caller, fileAndCaller, "SQL");
      return;
    }
}

// A "(" outside any body: the head of a function when a body follows its
// parameter list.  Returns where the scan goes on: behind the list, or at
// the body's brace.
size_t call_scan::head(size_t i) {
  if (starts(t, i, "( \"SELECT\", c1 )")) return i + 1;
  if (starts(t, i + 1, "//") || starts(t, i + 1, "/*")) return i + 1;
  if (i < no_head_before || budget < 0) return i + 1;
  size_t close_ = closing(t, i, '(', ')');
  if (close_ == std::string::npos) {
    no_head_before = i + look_ahead;
    budget -= (long)look_ahead;
    return i + 1;
  }
  size_t body = body_after(t, close_);
  budget -= (long)((body == std::string::npos ? std::min(t.size(), close_ + look_ahead) : body) - i);
  if (body == std::string::npos) return close_ + 1;
  // Blanks may stand between the name and its list ("foo (int a)" is the
  // house style of many C trees).
  std::string name = name_before(t, i, true);
  size_t colons = name.rfind("::");
  std::string word = colons == std::string::npos ? name : name.substr(colons + 2);
  if (word.empty()) return body;
  if (isdigit((unsigned char)word[0]) || word == "ASSERT" || word.compare(0, 5, "TRACE") == 0) return body;
  for (const char* w : {"catch", "for", "if", "return", "switch", "static", "void", "while"})
    if (word == w) return body;
  event = word.compare(0, 2, "On") == 0 ||
          (contains(fn, "GP_") && !contains(fn, "View") && !contains(fn, "VW") && !contains(fn, "Dlg") &&
           word.compare(0, 2, "xn") != 0);
  if (event) Java2Htm::tree_put(*web.usedNames, word, "");
  caller = Java2Htm::norm(name);
  if (contains(fn, "CLI")) caller += "_CLI";
  fileAndCaller = fn + "~" + caller;
  k0 = k + 1;
  Java2Htm::tree_put(*web.funcBodies, word + "~" + caller, fn);
  return body;
}

// A "(" inside a body: the name in front of it is called.
void call_scan::call(size_t i) {
  std::string name = name_before(t, i, true);
  // "~" in front of a called name is the complement operator (or an
  // explicit destructor call): the name is called.  So no callee holds "~",
  // which separates the two ends of a call in the keys.
  size_t tilde = name.find('~');
  if (tilde != std::string::npos) name.erase(tilde, 1);
  if (name.empty()) return;
  size_t colons = name.rfind("::");
  std::string word = colons == std::string::npos ? name : name.substr(colons + 2);
  if (event && word.compare(0, 2, "On") != 0) Java2Htm::tree_put(*web.usedNames, word, "");
  if (word.empty() || isdigit((unsigned char)word[0]) || Java2Htm::excluded_callee(word)) return;
  if (!web.traceSel->contains(word.c_str())) Java2Htm::tree_put(*web.traceCandidates, " " + word, "");
  web.einAufruf(caller, fileAndCaller, Java2Htm::norm(name));
}

// The handler names of the message maps: the last word of each
// ON_COMMAND(...), one line "\n+<name>" each.
std::string handlers_of(const std::string& alles) {
  std::string out;
  for_each_file(alles, [&](const std::string&, const std::string& t) {
    for (size_t at = t.find("ON_COMMAND"); at != std::string::npos; at = t.find("ON_COMMAND", at + 10)) {
      size_t open = t.find('(', at);
      if (open == std::string::npos || open - at > 40) continue;
      size_t close = t.find(')', open);
      if (close == std::string::npos || close - open > 1000) continue;
      size_t e = close;
      while (e > open && !name_char(t[e - 1])) e--;
      size_t s = e;
      while (s > open && name_char(t[s - 1])) s--;
      if (s < e) out += "\n+" + t.substr(s, e - s);
    }
  });
  return out;
}

}  // namespace

std::string Java2Htm::norm(const std::string& name) {
  size_t i = 0;
  while (i < name.size() && (name_char(name[i]) || name[i] == '~')) i++;
  if (i == name.size()) return name;
  size_t r = i;
  while (r < name.size() && !name_char(name[r]) && name[r] != '~') r++;
  if (r == name.size()) return name.substr(0, i);
  return name.substr(0, i) + " :: " + name.substr(r);
}

bool Java2Htm::excluded_callee(const std::string& w) {
  auto any = [&](std::initializer_list<const char*> names) {
    for (const char* n : names)
      if (w == n) return true;
    return false;
  };
  switch (w.empty() ? 0 : w[0]) {
    case 'A': return any({"ASSERT"});
    case 'M': return any({"METHOD", "MQTHROW", "MTHROW", "MSGTHROW", "MSGQTHROW"});
    case 'S': return any({"SetLength"});
    case 'T': return any({"Trace"});
    case 'c': return any({"catch"});
    case 'd': return any({"delete"});
    case 'f': return any({"for", "fprintf"});
    case 'i': return any({"if"});
    case 'l': return any({"length"});
    case 'm': return any({"memcpy", "memset"});
    case 'r': return any({"return"});
    case 's': return any({"switch", "strcat", "strcpy", "strlen", "strncpy", "sprintf", "static"});
    case 'w': return any({"while"});
    default: return false;
  }
}

void Java2Htm::einAufruf(const std::string& caller, const std::string& fileAndCaller, const std::string& callee) {
  if (caller.empty()) return;
  if (callee.find("LoadLib") != std::string::npos) printf("\nLoadLib in %s", caller.c_str());
  tree_put(*aufrufe, callee + "~" + caller, "");
  size_t s = caller.size();
  while (s > 0 && (name_char(caller[s - 1]) || caller[s - 1] == '~')) s--;
  std::string last = caller.substr(s);
  tree_put(*callsOf, (last + "~" + callee).substr(0, 250), fileAndCaller);
  if (s > 0) tree_put(*callsOf, (caller + "~" + callee).substr(0, 250), fileAndCaller);
}

void Java2Htm::ALLAufrufe(const std::string& alles) {
  for_each_file(alles, [&](const std::string& path, const std::string& text) {
    std::string fn = path;
    for (char& c : fn)
      if (c == '\\') c = '/';
    if (!callCut.empty()) {
      size_t at = fn.find(callCut);
      if (at != std::string::npos) fn = fn.substr(at + callCut.size());
    }
    call_scan scan(*this, fn, text);
    scan.run();
  });
  // What an event handler reaches is traced; the rest of the candidates
  // are not reached from any handler.
  Btree_st st;
  for (unsigned ok = usedNames->GetFirst(st); ok; ok = usedNames->Next(st))
    traceCandidates->Rem((" " + std::string(st.k, st.k_L)).c_str());
  show_ALLAufrufe();
}

// The selection: <root>/traceUs, made from the message-map handlers when
// the tree has none; without either, every page of the relation is made
// with an empty selection.
void Java2Htm::seeAufrufe() {
  std::string alles = root + "/alles_cpp";
  std::string trace = root + "/traceUs";
  if (!safe_ut.readable_input(alles.c_str())) return;
  aufrufe = fresh_tree("aufrufe");
  callsOf = fresh_tree("callsOf");
  usedNames = fresh_tree("usedNames");
  traceCandidates = fresh_tree("traceCandidates");
  traceSel = fresh_tree("traceUs");
  funcBodies = fresh_tree("funcBodies");
  if (safe_ut.ok_is_a(trace.c_str()) != 'f') {
    safe_ut.write_text(trace.c_str(), handlers_of(alles) + "\n");
    madeTraceUs = true;
  }
  std::string out = "\n traceUs:\n";
  std::string text = safe_ut.read_text(trace.c_str());
  for (size_t at = 0; at < text.size();) {
    size_t e = text.find('\n', at);
    if (e == std::string::npos) e = text.size();
    std::string l = text.substr(at, e - at);
    at = e + 1;
    if (l.empty() || l[0] != '+') continue;
    l.erase(0, 1);
    while (!l.empty() && white(l.back())) l.pop_back();
    if (l.empty() || traceSel->contains(l.c_str())) continue;
    tree_put(*traceSel, l, "");
    out += l + "\n";
  }
  safe_ut.write_text((j2h + "/traceUs").c_str(), out);
  ALLAufrufe(alles);
}

// A <root>/traceUs that this run made from the handlers is removed, so
// that the next run makes it afresh from the code of then.
void Java2Htm::calls_closing() {
  if (madeTraceUs) safe_ut.remove_file((root + "/traceUs").c_str());
}
