// The heads the C and C++ reader recognises: method and function heads,
// class heads, typedefs, statics, and the words that leave rows (ASSERT,
// exceptions, embedded SQL, message maps).
#include <cerrno>
#include <cstdio>

#include "codeweb/cpp_lex.h"
#include "codeweb/cpp_reader.h"
#include "runtime/exec_ut.h"

using namespace cpplex;
using codelex::fmt;

namespace {

const char* const SRC = "cpp_heads.cpp";

// Words that never open a method head, whatever follows them.
bool schema(const std::string& t, size_t p) {
  if (p >= t.size() || !(is_word_char(t[p]) || t[p] == '~' || t[p] == '[')) return true;
  static const char* const words[] = {
      "if",     "for",    "then",    "else",   "esif",      "while",   "class",      "ok",     "TRY",
      "return", "switch", "case",    "default", "delete",   "TRACE",   "printf",     "interface",
      "ASSERT", "STDMETHOD", "do",   "goto",   "sizeof",    "typedef", "using",      "namespace",
      "public", "private", "protected", "template", "static_assert", "throw", "new", "fErr", "LB_", "LE_"};
  for (const char* w : words) {
    size_t n = strlen(w);
    if (t.compare(p, n, w) == 0 && (p + n >= t.size() || !is_word_char(t[p + n]))) return true;
  }
  for (const char* w : {"CATCH_", "END_", "*printf"})
    if (starts(t, p, w)) return true;
  return false;
}

// The text without its comments.
std::string uncommented(const std::string& s) {
  std::string r;
  for (size_t i = 0; i < s.size();) {
    if (starts(s, i, "//") || starts(s, i, "/*")) {
      i = skip_quoted(s, i);
      r += ' ';
    } else {
      r += s[i++];
    }
  }
  return r;
}

// The position of the last "::" outside "<...>", or npos.
size_t last_scope(const std::string& s) {
  size_t at = std::string::npos;
  int angle = 0;
  for (size_t i = 0; i + 1 < s.size(); i++) {
    if (s[i] == '<') angle++;
    else if (s[i] == '>' && angle > 0) angle--;
    else if (angle == 0 && s[i] == ':' && s[i + 1] == ':') at = i++;
  }
  return at;
}

std::string without_args(const std::string& name) { return trim(name.substr(0, name.find('<'))); }

struct param_row {
  std::string type, name, comment;
};

void split_param(const std::string& text, param_row* row) {
  std::string decl = trim(text), def;
  int depth = 0;
  for (size_t i = 0; i < decl.size(); i++) {
    char c = decl[i];
    if (c == '(' || c == '<' || c == '[') depth++;
    if (c == ')' || c == '>' || c == ']') depth--;
    if (c == '=' && depth == 0) {
      def = trim(decl.substr(i + 1));
      decl = trim(decl.substr(0, i));
      break;
    }
  }
  size_t k = decl.size();
  while (k > 0 && is_word_char(decl[k - 1])) k--;
  row->type = trim(decl.substr(0, k));
  row->name = decl.substr(k);
  if (row->type.empty() || row->type.back() == ':') {  // "int" alone, or "std::string"
    row->type = decl;
    row->name.clear();
  }
  if (!def.empty()) row->name += " = " + def;
}

// The parameters as rows: type, name, comment; comment-only lines are rows
// of their own.
std::vector<param_row> param_rows(const std::string& p) {
  std::vector<param_row> rows;
  std::string cur, comment;
  bool line_seen = false;  // a line end since the last comma
  int depth = 0;
  auto finish = [&] {
    if (trim(cur).empty() && comment.empty()) return;
    param_row r;
    split_param(cur, &r);
    r.comment = comment;
    rows.push_back(r);
    cur.clear();
    comment.clear();
  };
  for (size_t i = 0; i < p.size(); i++) {
    if (starts(p, i, "//") || starts(p, i, "/*")) {
      size_t e = skip_quoted(p, i);
      std::string c = squeeze(p.substr(i, e - i));
      if (!trim(cur).empty()) comment += (comment.empty() ? "" : " ") + c;
      else if (!rows.empty() && !line_seen && comment.empty()) rows.back().comment += (rows.back().comment.empty() ? "" : " ") + c;
      else rows.push_back({"", "", c});
      i = e - 1;
      continue;
    }
    char c = p[i];
    if (c == '\n') line_seen = true;
    if (c == '(' || c == '<') depth++;
    if ((c == ')' || c == '>') && depth > 0) depth--;
    if (c == ',' && depth == 0) {
      finish();
      line_seen = false;
      continue;
    }
    cur += c == '\n' ? ' ' : c;
  }
  finish();
  if (rows.size() == 1 && rows[0].type == "void" && rows[0].name.empty() && rows[0].comment.empty()) rows.clear();
  return rows;
}

// Where the head behind "template <...>" begins (the position itself when
// no template stands there); npos when the parameter list does not close.
size_t behind_template(const std::string& t, size_t p) {
  if (!starts(t, p, "template") || p + 8 >= t.size() || !(t[p + 8] == '<' || is_blank(t[p + 8]))) return p;
  size_t q = t.find('<', p);
  int d = 0;
  for (; q < t.size() && q < p + cpp_reader::look_ahead; q++) {
    if (t[q] == '<') d++;
    if (t[q] == '>' && --d == 0) break;
    if (t[q] == ';' || t[q] == '{') return std::string::npos;
  }
  if (q >= t.size() || d != 0) return std::string::npos;
  for (q++; q < t.size() && (is_blank(t[q]) || t[q] == '\n');) q++;
  return q;
}

// A parameter list of a head holds none of ";|'\"+[", and "." and "-" only
// in "..." and "->".
bool plain_params(const std::string& plain) {
  for (size_t k = 0; k < plain.size(); k++) {
    char c = plain[k];
    if (c == ';' || c == '|' || c == '\'' || c == '"' || c == '+' || c == '[') return false;
    if (c == '.' && !starts(plain, k, "...")) return false;
    if (c == '.') k += 2;
    if (c == '-' && !starts(plain, k, "->")) return false;
  }
  return true;
}

// The "{" of the body behind a banner's parameters, which run from `from`
// to the ")" of their level (`*close`); npos when none stands there.
size_t banner_body(const std::string& t, size_t from, size_t limit, size_t* close) {
  int depth = 0;
  for (size_t j = from; j < limit; j++) {
    size_t past = skip_quoted(t, j);
    char c = t[j];
    if (past != j) {
      j = past - 1;
    } else if (*close == std::string::npos) {
      if (c == '(') depth++;
      if (c == ')' && depth-- == 0) *close = j;
      if (c == ';' || c == '{' || c == '}') break;
    } else if (c == '{') {
      return j;
    } else if (c == ';' || c == '}' || c == '(' || c == ')') {
      break;
    }
  }
  return std::string::npos;
}

}  // namespace

std::string cpp_reader::ourVers(cpp_sink& web, ctree tree, const std::string& name, const std::string& data) {
  std::string n = name;
  size_t cc = n.find("::");
  if (cc != std::string::npos) n = trim(n.substr(0, cc)) + " :: " + trim(n.substr(cc + 2));
  if (n.empty() || !(is_word_char(n[0]) || n[0] == '~')) {
    errno = 0;
    exut.fail(__LINE__, SRC, "Assertion: ourVers: not a name: %.80s\n", n.c_str());
  }
  std::string key = n, old;
  for (int v = 2; web.get(tree, key.substr(0, 252), &old); v++) key = n + " . " + std::to_string(v);
  web.put(tree, key, data);
  return key;
}

bool cpp_reader::method_head() {
  size_t p = behind_template(t_, i_), from = p;
  if (p == std::string::npos) return false;
  if (schema(t_, p)) return false;
  if (starts(t_, p, "STDMETHODIMP_(") || starts(t_, p, "STDMETHOD_(")) {
    size_t c = t_.find(')', p);
    if (c == std::string::npos || c > eol(t_, p)) return false;
    from = c + 1;
  }
  size_t limit = std::min(t_.size(), p + look_ahead);
  size_t paren = std::string::npos, close = std::string::npos, end = std::string::npos;
  int depth = 0, ifs = 0;
  bool directives = false;
  for (size_t j = from; j < limit && end == std::string::npos; j++) {
    char c = t_[j];
    if (starts(t_, j, "//") || starts(t_, j, "/*")) {
      j = skip_quoted(t_, j) - 1;
      continue;
    }
    if (c == '"' || c == '\'') return false;
    if (c == '\n') {
      size_t q = j + 1;
      while (q < t_.size() && is_blank(t_[q])) q++;
      if (depth == 0 && q < t_.size() && t_[q] == '\n') return false;  // a head has no empty line
      if (q >= t_.size() || t_[q] != '#') continue;
      if (depth == 0) return false;
      directives = true;
      if (t_.compare(q + 1, 2, "if") == 0) ifs++;
      if (t_.compare(q + 1, 5, "endif") == 0) ifs--;
      j = eol(t_, q) - 1;
      continue;
    }
    if (c == '(' && depth == 0 && paren == std::string::npos && word_before(t_, j) == "operator") {
      size_t e = t_.find(')', j);  // "operator()" names the method
      if (e == std::string::npos) return false;
      j = e;
      continue;
    }
    if (c == '(') {
      if (depth++ == 0 && paren == std::string::npos) paren = j;
    } else if (c == ')') {
      if (--depth < 0) return false;
      if (depth == 0 && close == std::string::npos) close = j;
    } else if (depth == 0) {
      if (c == '{') end = j;
      if (c == ';' || c == '}' || (c == '=' && paren == std::string::npos)) return false;
    }
  }
  if (end == std::string::npos || paren == std::string::npos || close == std::string::npos) return false;
  if (ifs != 0) fail_input("an unbalanced #if inside a head", paren);
  if (directives) return false;
  std::string params = t_.substr(paren + 1, close - paren - 1);
  if (!plain_params(uncommented(params))) return false;
  std::string rest = t_.substr(close + 1, end - close - 1);
  std::string r = trim(uncommented(rest));
  if (!(r.size() > 0 && r[0] == ':') && r.find_first_of(".|\"") != std::string::npos) return false;
  std::string ret, cls, name;
  if (!head_parts(p, from, paren, &ret, &cls, &name)) return false;
  bool in_header = ret.find("inline") == std::string::npos && ret.find("constexpr") == std::string::npos &&
                   ret.find("static") == std::string::npos;
  if (!impl_ && in_header) return false;
  if (cls.empty() && ret.empty()) return false;
  head_out(ret, cls, name, params, trim(rest));
  pending_body_ = true;
  i_ = end;
  return true;
}

bool cpp_reader::head_parts(size_t head, size_t from, size_t paren, std::string* ret, std::string* cls, std::string* name) {
  std::string np = uncommented(t_.substr(from, paren - from));
  while (!np.empty() && (is_blank(np.back()) || np.back() == '\n')) np.pop_back();
  size_t q = last_scope(np);
  if (q != std::string::npos) {
    *name = trim(np.substr(q + 2));
    size_t k = q;
    while (k > 0) {
      char c = np[k - 1];
      if (is_word_char(c)) {
        k--;
      } else if (c == '>') {
        int d = 0;
        do {
          d += np[k - 1] == '>' ? 1 : np[k - 1] == '<' ? -1 : 0;
          k--;
        } while (k > 0 && d > 0);
      } else if (c == ':' && k > 1 && np[k - 2] == ':') {
        k -= 2;
      } else {
        break;
      }
    }
    std::string chain = np.substr(k, q - k);
    size_t inner = last_scope(chain);
    *cls = inner == std::string::npos ? chain : chain.substr(inner + 2);
    *ret = squeeze(np.substr(0, k));
  } else {
    size_t k = np.size();
    while (k > 0 && (is_word_char(np[k - 1]) || np[k - 1] == '~')) k--;
    *name = np.substr(k);
    *ret = squeeze(np.substr(0, k));
    cls->clear();
  }
  if (from > head) *ret = t_.substr(head, from - head) + (ret->empty() ? "" : " ") + *ret;
  if (name->empty() || !(is_word_char((*name)[0]) || (*name)[0] == '~')) return false;
  if (ret->find_first_of("(){};=,\"") != std::string::npos && from == head) return false;
  return true;
}

void cpp_reader::head_out(const std::string& ret, const std::string& cls, const std::string& name,
                          const std::string& params, const std::string& rest, const std::string& banner) {
  int a = ++anchor_;
  std::string href = "funcs.htm";
  caller_ = cls.empty() ? name : without_args(cls) + " :: " + name;
  if (!cls.empty()) {
    std::string key = ourVers(web_, ctree::secs, without_args(cls) + "::" + name, "m" + page_ + fmt(".htm#%i", a));
    href = fmt("m/%i.htm", web_.name_nr(squeeze(cls)));
    std::string method = key.substr(key.find(" :: ") + 4);
    web_.put(ctree::methods, without_args(cls) + " :: " + method + " : " + src_ + "~" + page_ + fmt(".htm#%i", a), "");
  } else {
    c_function(name);
  }
  out_ += fmt("\n</pre><a name=%i></a>", a) + bar() + esc2(ret) + " " + esc2(cls) + (cls.empty() ? "" : " ::") +
          "\n<font size=4><a href=../" + href + ">" + esc2(name) + "</a></font>" + banner +
          "<hr>\n<pre class=c><font size=2>";
  std::vector<param_row> rows = param_rows(params);
  if (rows.empty()) {
    out_ += "()";
  } else {
    int wt = 0, wn = 0;
    for (auto& r : rows) {
      wt = std::max(wt, (int)esc2(r.type).size());
      wn = std::max(wn, (int)esc2(r.name).size());
    }
    out_ += "(";
    for (auto& r : rows) {
      std::string line = fmt("\n%*s  %*s  ", wt, esc2(r.type).c_str(), wn, esc2(r.name).c_str());
      out_ += line + (r.comment.empty() ? "" : "<font class=co>" + esc2(r.comment) + "</font>");
    }
    out_ += "\n)";
  }
  out_ += "\n" + esc(rest) + "   LB_";
}

// "/* public: <ret> <class>::<method>(/" with its banner text down to the
// first "//-" line, then the parameters to ")" and the body (see the
// header).  False when the comment is no such banner.
bool cpp_reader::banner_method() {
  size_t v = i_ + 3;
  size_t colon = std::string::npos;
  for (const char* w : {"public:", "protected:", "private:"})
    if (starts(t_, v, w)) colon = v + strlen(w);
  if (colon == std::string::npos || !top_level() || body_level_ >= 0) return false;
  size_t e = eol(t_, i_), end = e;
  while (end > colon && is_blank(t_[end - 1])) end--;
  if (end < colon + 2 || t_.compare(end - 2, 2, "(/") != 0 || e >= t_.size()) return false;
  // The banner text runs to the first line that begins "//-".
  size_t limit = std::min(t_.size(), i_ + look_ahead), rule = e + 1;
  while (rule < limit && !(starts(t_, rule, "//") && rule + 2 < t_.size() && t_[rule + 2] == '-')) rule = eol(t_, rule) + 1;
  if (rule >= limit) return false;
  std::string np = trim(t_.substr(colon, end - 2 - colon)), ret, cls, name;
  size_t q = last_scope(np);
  size_t k = q == std::string::npos ? np.size() : q;
  if (q != std::string::npos) {
    while (k > 0 && (is_word_char(np[k - 1]) || np[k - 1] == '>' || np[k - 1] == '<' || np[k - 1] == ':')) k--;
    cls = np.substr(k, q - k);
    name = trim(np.substr(q + 2));
  } else {
    while (k > 0 && (is_word_char(np[k - 1]) || np[k - 1] == '~')) k--;
    name = np.substr(k);
  }
  ret = squeeze(np.substr(0, k));
  if (name.empty() || !(is_word_char(name[0]) || name[0] == '~')) return false;
  std::string text;
  for (size_t l = e + 1; l < rule; l = eol(t_, l) + 1) {
    std::string line = trim(t_.substr(l, eol(t_, l) - l));
    while (!line.empty() && (line[0] == '*' || is_blank(line[0]))) line.erase(0, 1);
    if (!line.empty()) text += (text.empty() ? "" : "<br>") + esc2(line);
  }
  std::string banner = text.empty() ? "" : "\n<br><font class=co>" + text + "</font>";
  // The parameters to the ")" of their level, and the text to the "{".
  size_t from = eol(t_, rule) < t_.size() ? eol(t_, rule) + 1 : t_.size(), close = std::string::npos;
  size_t open = banner_body(t_, from, limit, &close);
  if (open == std::string::npos) {  // no body behind it: the head alone
    head_out(ret, cls, name, "", "", banner);
    out_ += "\n";
    i_ = from;
    checked_ = i_;
    return true;
  }
  head_out(ret, cls, name, t_.substr(from, close - from), trim(t_.substr(close + 1, open - close - 1)), banner);
  pending_body_ = true;
  i_ = open;
  return true;
}

// A call of a traced name: its anchor and mark, and the row naming the
// caller.  Only calls inside a body of an implementation file count.
void cpp_reader::traced_call(const std::string& word) {
  if (!impl_ || body_level_ < 0 || caller_.empty() || !web_.traced(word)) return;
  int a = ++anchor_;
  out_ += fmt("<a name=%i></a><font color=#FF00FF><b>[]</b></font>", a);
  web_.put(ctree::traceMarks, word + "~" + page_ + fmt(".htm#%i", a), caller_);
}

void cpp_reader::c_function(const std::string& fname) {
  std::string name = fname;
  int a = anchor_;
  if (name == "main") {
    std::string folder = src_.substr(0, src_.size() - base_.size());
    if (!folder.empty()) folder.pop_back();
    size_t s = folder.find_last_of('/');
    name = "main " + folder.substr(s == std::string::npos ? 0 : s + 1);
    if (entity_.compare(0, 5, "main ") != 0) entity_ = "main " + entity_;
    web_.put(ctree::mains, page_ + fmt(".htm#%i", a), entity_);
  }
  web_.put(ctree::codef, name, "p cob/../" + page_ + fmt(".htm#%i", a));
  zu_codef("p .. " + name, a);
}

void cpp_reader::zu_codef(const std::string& entity, int anchor) {
  if (entity.size() <= 5) return;
  if (anchor >= max_anchor) fail_input("posNr: an anchor of 10000 or more", i_);
  std::string key = entity, old;
  if (web_.get(ctree::cobDefs, key.substr(0, 252), &old)) {
    printf("\ndoppelt: %s", key.c_str());
    if (key == "p .. main") fail_input("p .. main a second time", i_);
    key += ", redundant?";
  }
  std::string data = page_ + fmt(".htm#%i~", anchor) + src_;
  if (data.size() > 250) fail_input("the data of a code row is longer than 250 bytes", i_);
  web_.put(ctree::cobDefs, key, data);
}

void cpp_reader::word() {
  size_t j = i_;
  while (j < t_.size() && is_word_char(t_[j])) j++;
  std::string w = t_.substr(i_, j - i_);
  char next = j < t_.size() ? t_[j] : '\0';
  bool blank_before = i_ == 0 || is_blank(t_[i_ - 1]) || t_[i_ - 1] == '\n';
  bool blank_after = is_blank(next) || next == '\n';
  if (w == "class" && blank_after && (blank_before || t_[i_ - 1] == '<') && class_head()) return;
  if (w == "typedef" && blank_after && typedef_text()) return;
  if (w == "static" && blank_after && blank_before && (static_word(), i_ != j - 6)) return;
  if (w.size() >= 6 && w.compare(w.size() - 6, 6, "ASSERT") == 0 && next == '(') return assert_statement(i_);
  if (w.size() >= 9 && w.compare(w.size() - 9, 9, "Exception") == 0 && next == '(') exception_mark();
  if ((w == "EXEC" && starts(t_, j, " SQL")) || (w == "exec" && starts(t_, j, " sql"))) return exec_sql();
  if ((w == "COMMENT" && starts(t_, j, " ON ")) || (w == "comment" && starts(t_, j, " on "))) {
    i_ = eol(t_, j);
    return;
  }
  if (w.compare(0, 4, "DDX_") == 0) ddx_ = dialog_ = true;
  if (w.find("MESSAGE_MAP") != std::string::npos) msg_ = dialog_ = true;
  if (w == "namespace" && top_level()) pending_namespace_ = true;
  size_t paren = j;
  while (paren < t_.size() && is_blank(t_[paren])) paren++;
  if (paren < t_.size() && t_[paren] == '(') traced_call(w);
  code(w);
  i_ = j;
}
