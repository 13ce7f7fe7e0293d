// The PHP page reader: see codeweb/php_reader.h.
#include "codeweb/php_reader.h"

#include <strings.h>

#include <algorithm>
#include <cstring>

#include "engine/escape.h"

namespace {

bool name_char(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         (unsigned char)c >= 0x80;
}
bool blank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

const char* const code_open = "<pre class=c><font size=2>";
const char* const code_close = "</font></pre>";

}  // namespace

bool php_reader::word_is(size_t at, const char* w) const {
  size_t n = strlen(w);
  return at + n <= t_.size() && strncasecmp(t_.c_str() + at, w, n) == 0 &&
         (at + n == t_.size() || !name_char(t_[at + n])) && (at == 0 || !name_char(t_[at - 1]));
}

bool php_reader::first_on_line(size_t at) const {
  while (at > 0 && blank(t_[at - 1])) at--;
  return at == 0 || t_[at - 1] == '\n';
}

std::string php_reader::page_of(const std::string& text, const std::string& path) {
  t_ = text;
  i_ = 0;
  out_.clear();
  line_.clear();
  pending_head_.clear();
  php_ = line_in_php_ = false;
  depth_ = 0;
  class_depth_ = -1;
  class_.clear();
  pending_class_.clear();
  anchors_ = 0;
  globals_.clear();
  members.clear();
  reached.clear();
  std::string shown = html_text(path);
  out_ = page_head + title_head + shown + title_tail + "<a name=top></a>";
  size_t first = t_.find("<?");
  if (first == std::string::npos) first = t_.size();
  if (first > 0) out_ += "<pre><font class=co>" + html_text(t_.substr(0, first)) + "</font></pre>";
  i_ = first;
  while (i_ < t_.size()) {
    if (php_)
      php_part();
    else
      html_part();
  }
  flush_line();
  if (php_) out_ += code_close;
  out_ += "\n<a name=eof></a><font size=2><a href=#top>top</a> . <a href=" + up + "php.htm>PHP</a> . <a href=" + up +
          "phc.htm>PHP Classes</a>\n<br><font size=4>" + shown + "</font>";
  std::string cls = "\1";
  for (auto& m : members) {
    if (m.kind == "class") continue;
    if (m.cls != cls) {
      cls = m.cls;
      out_ += "\n<br><br><b>" + html_text(cls.empty() ? "(global)" : cls) + "</b>";
    }
    out_ += "\n<br><a href=#" + m.anchor + ">" + html_text(m.name) + "</a>";
  }
  return out_ + "\n</font></font></BODY></HTML>\n";
}

// HTML between "?>" and "<?": text, its comments as comments.
void php_reader::html_part() {
  size_t open = t_.find("<?", i_);
  if (open == std::string::npos) open = t_.size();
  std::string piece;
  while (i_ < open) {
    size_t c = t_.find("<!--", i_);
    if (c == std::string::npos || c >= open) c = open;
    piece += html_text(t_.substr(i_, c - i_));
    i_ = c;
    if (c < open) {
      size_t e = t_.find("-->", c);
      e = e == std::string::npos ? t_.size() : e + 3;
      piece += "<font class=co>" + html_text(t_.substr(c, e - c)) + "</font>";
      i_ = e;
      if (e > open) open = std::min(t_.size(), std::max(open, t_.find("<?", e)));
    }
  }
  if (!piece.empty()) out_ += "\n<font class=\"str\"><pre>" + piece + "</pre></font>";
  if (i_ >= t_.size()) return;
  size_t e = i_ + 2;
  if (word_is(e, "php")) e += 3;
  else if (e < t_.size() && t_[e] == '=') e++;
  out_ += code_open;
  line_ += html_text(t_.substr(i_, e - i_));
  line_in_php_ = true;
  php_ = true;
  i_ = e;
}

void php_reader::php_part() {
  while (php_ && i_ < t_.size()) php_step();
}

void php_reader::flush_line() {
  if (!pending_head_.empty()) {
    out_ += line_in_php_ ? std::string(code_close) + pending_head_ + code_open : pending_head_;
    pending_head_.clear();
  }
  out_ += line_;
  line_.clear();
  line_in_php_ = php_;
}

void php_reader::php_step() {
  char c = t_[i_];
  char n = i_ + 1 < t_.size() ? t_[i_ + 1] : 0;
  if (c == '\n') {
    line_ += '\n';
    i_++;
    flush_line();
    return;
  }
  if (c == '?' && n == '>') {
    size_t s = i_ + 2;
    while (s < t_.size() && (blank(t_[s]) || t_[s] == '\n')) s++;
    if (word_is(s + 2, "php") && t_.compare(s, 2, "<?") == 0) {  // a seam: dropped
      i_ = s + 5;
      return;
    }
    line_ += "?&gt;";
    i_ += 2;
    flush_line();
    out_ += code_close;
    php_ = false;
    return;
  }
  if (c == '\'' || c == '"') return string_literal(c);
  if (c == '<' && t_.compare(i_, 3, "<<<") == 0) return heredoc();
  if ((c == '/' && (n == '/' || n == '*')) || (c == '#' && n != '[')) return comment(c == '/' && n == '*');
  if (c == '{') depth_++;
  if (c == '{' && !pending_class_.empty()) {
    class_ = pending_class_;
    class_depth_ = depth_;
    pending_class_.clear();
  }
  if (c == '}') {
    if (depth_ == class_depth_) class_.clear(), class_depth_ = -1;
    if (depth_ > 0) depth_--;
  }
  if (c == '$' && depth_ == 0 && first_on_line(i_) && i_ + 1 < t_.size() && name_char(t_[i_ + 1])) {
    size_t e = i_ + 1;
    while (e < t_.size() && name_char(t_[e])) e++;
    std::string name = t_.substr(i_, e - i_);
    if (std::find(globals_.begin(), globals_.end(), name) == globals_.end()) {
      globals_.push_back(name);
      std::string a = "g" + std::to_string(++anchors_);
      members.push_back({"", name, "global", a});
      line_ += "<a name=" + a + "></a>";
    }
  }
  if (c == '$' && !class_.empty() && depth_ == class_depth_ && i_ + 1 < t_.size() && name_char(t_[i_ + 1]))
    property();
  if (!name_char(c) || (i_ > 0 && (name_char(t_[i_ - 1]) || strchr("$>:\\", t_[i_ - 1])))) {
    line_ += html_text(std::string(1, c));
    i_++;
    return;
  }
  size_t e = i_;
  while (e < t_.size() && name_char(t_[e])) e++;
  if ((word_is(i_, "echo") || word_is(i_, "print")) && e + 1 < t_.size() && t_[e] == ' ' && t_[e + 1] == '"')
    return echo_string(e);
  if ((word_is(i_, "require") || word_is(i_, "include") || word_is(i_, "require_once") ||
       word_is(i_, "include_once")) && first_on_line(i_) && require_line(e))
    return;
  for (const char* k : {"class", "interface", "trait", "function"})
    if (word_is(i_, k)) head(k, e);
  if (word_is(i_, "const") && ((!class_.empty() && depth_ == class_depth_) || depth_ == 0)) constant(e);
  line_ += html_text(t_.substr(i_, e - i_));
  i_ = e;
}

void php_reader::string_literal(char q) {
  size_t p = i_ + 1;
  while (p < t_.size() && t_[p] != q) p += t_[p] == '\\' ? 2 : 1;
  p = std::min(p + 1, t_.size());
  line_ += "<font class=str>" + html_text(t_.substr(i_, p - i_)) + "</font>";
  i_ = p;
}

// "<<<ID", "<<<'ID'", "<<<\"ID\"": to the line that begins (past blanks)
// with ID.
void php_reader::heredoc() {
  size_t p = i_ + 3;
  while (p < t_.size() && blank(t_[p])) p++;
  if (p < t_.size() && (t_[p] == '\'' || t_[p] == '"')) p++;
  size_t b = p;
  while (p < t_.size() && name_char(t_[p])) p++;
  std::string id = t_.substr(b, p - b);
  if (id.empty()) {
    line_ += "&lt;";
    i_++;
    return;
  }
  size_t end = t_.size();
  for (size_t l = t_.find('\n', p); l != std::string::npos; l = t_.find('\n', l + 1)) {
    size_t s = l + 1;
    while (s < t_.size() && blank(t_[s])) s++;
    if (t_.compare(s, id.size(), id) == 0 && (s + id.size() == t_.size() || !name_char(t_[s + id.size()]))) {
      end = s + id.size();
      break;
    }
  }
  line_ += "<font class=str>" + html_text(t_.substr(i_, end - i_)) + "</font>";
  i_ = end;
}

void php_reader::comment(bool block) {
  size_t e;
  if (block) {
    e = t_.find("*/", i_ + 2);
    e = e == std::string::npos ? t_.size() : e + 2;
  } else {  // a line comment ends at the line's end or at "?>"
    e = i_;
    while (e < t_.size() && t_[e] != '\n' && t_.compare(e, 2, "?>") != 0) e++;
  }
  line_ += "<font class=co>" + html_text(t_.substr(i_, e - i_)) + "</font>";
  i_ = e;
}

// "echo \"...\"": the string with its quotes as character references, so
// that no quote of it can end an attribute of the page.
void php_reader::echo_string(size_t word_end) {
  size_t p = word_end + 2;
  while (p < t_.size() && t_[p] != '"') p += t_[p] == '\\' ? 2 : 1;
  p = std::min(p, t_.size());
  std::string inner;
  for (char c : html_text(t_.substr(word_end + 2, p - word_end - 2))) {
    if (c == '"' || c == '\'')
      inner += "&#" + std::to_string((int)c) + ";";
    else
      inner += c;
  }
  line_ += t_.substr(i_, word_end - i_) + " <span class=str>&#34;" + inner + (p < t_.size() ? "&#34;" : "") + "</span>";
  i_ = std::min(p + 1, t_.size());
}

// "require 'lib/x.php';": the last string of the statement names the file;
// its base name links to the file's page.  False when nothing was linked.
bool php_reader::require_line(size_t word_end) {
  size_t end = word_end;
  while (end < t_.size() && t_[end] != ';' && t_[end] != '\n' && t_.compare(end, 2, "?>") != 0) end++;
  size_t q2 = std::string::npos, q1 = std::string::npos;
  for (size_t p = word_end; p < end; p++)
    if (t_[p] == '\'' || t_[p] == '"') {
      size_t c = t_.find(t_[p], p + 1);
      if (c == std::string::npos || c >= end) break;
      q1 = p;
      q2 = c;
      p = c;
    }
  if (q1 == std::string::npos || !resolve) return false;
  std::string name = t_.substr(q1 + 1, q2 - q1 - 1);
  if (name.empty() || name.find('$') != std::string::npos) return false;
  target t = resolve(name);
  if (t.nr <= 0) return false;
  reached.push_back(t.nr);
  size_t slash = name.find_last_of('/');
  size_t base = slash == std::string::npos ? q1 + 1 : q1 + 2 + slash;
  line_ += "<font class=kw>" + html_text(t_.substr(i_, word_end - i_)) + "</font>" +
           html_text(t_.substr(word_end, base - word_end)) + "<a href=" + html_attr(t.href) + ">" +
           html_text(t_.substr(base, q2 - base)) + "</a>" + html_text(t_.substr(q2, end - q2));
  i_ = end;
  return true;
}

// A class or a named function: the section head in front of its line.
void php_reader::head(const char* kind, size_t name_at) {
  size_t n = name_at;
  while (n < t_.size() && blank(t_[n])) n++;
  if (n < t_.size() && t_[n] == '&') n++;
  size_t e = n;
  while (e < t_.size() && name_char(t_[e])) e++;
  if (e == n) return;  // "function (": no name
  std::string name = t_.substr(n, e - n);
  bool is_class = kind[0] != 'f';
  add_head(kind, name, marks_before(i_), is_class ? "" : class_);
  if (is_class) pending_class_ = name;
}

// The start of the line of `at`, looked for at most 200 bytes back: marks
// are short, and a longer line has none.
size_t php_reader::line_start(size_t at) const {
  size_t ls = at;
  while (ls > 0 && t_[ls - 1] != '\n' && at - ls < 200) ls--;
  return ls;
}

bool php_reader::is_modifier(const std::string& word) {
  for (const char* m : {"public", "protected", "private", "static", "var", "final", "abstract", "readonly"})
    if (word == m) return true;
  return false;
}

// The words in front of `at` on its line (public, static, abstract, final,
// a type, ...): the marks of a head, blank-separated.
std::string php_reader::marks_before(size_t at) const {
  size_t ls = line_start(at);
  std::string vis;
  for (size_t p = ls; p < at; p++)
    if (name_char(t_[p]))
      vis += t_[p];
    else if (!vis.empty() && vis.back() != ' ')
      vis += ' ';
  while (!vis.empty() && vis.back() == ' ') vis.pop_back();
  while (!vis.empty() && vis[0] == ' ') vis.erase(0, 1);
  return vis;
}

// The head of a member: its anchor (the kind's first letter and a running
// number), the marks in blue, the kind word and the name in bold.  A
// constant or a property gets its anchor in its line instead, where it
// stands: a class of many would otherwise be cut into as many blocks.
void php_reader::add_head(const std::string& kind, const std::string& name, const std::string& marks,
                          const std::string& cls) {
  std::string a = kind.substr(0, 1) + std::to_string(++anchors_);
  bool is_class = kind == "class" || kind == "interface" || kind == "trait";
  if (kind == "const" || kind == "var") {
    colour_marks();
    line_ += "<a name=" + a + "></a>";
    members.push_back({cls, name, kind, a});
    return;
  }
  pending_head_ += "\n<a name=" + a + "></a>" +
                   (marks.empty() ? "" : "<font color=#0000FF>" + html_text(marks) + "</font> ") +
                   (is_class ? "<font size=+1>" : "<font size=+0>") + kind + " <b>" + html_text(name) +
                   "</b></font>";
  members.push_back({cls, name, is_class ? "class" : kind, a});
}

// The modifier words at the start of this line, in front of the scan
// (public, protected, private, static, var, final, abstract, readonly),
// written as they stand, are put in blue, as a head shows them.
void php_reader::colour_marks() {
  size_t ls = line_start(i_);
  while (ls < i_ && blank(t_[ls])) ls++;
  size_t tail = i_ - ls;
  if (line_.size() < tail || line_.compare(line_.size() - tail, tail, t_, ls, tail) != 0) return;
  size_t e = ls;  // behind the last modifier
  for (size_t w = ls; w < i_;) {
    size_t we = w;
    while (we < i_ && name_char(t_[we])) we++;
    if (!is_modifier(t_.substr(w, we - w)) || we == i_ || !blank(t_[we])) break;
    e = we;
    w = we;
    while (w < i_ && blank(t_[w])) w++;
  }
  if (e == ls) return;
  std::string rest = line_.substr(line_.size() - (i_ - e));
  line_.resize(line_.size() - tail);
  line_ += "<font color=#0000FF>" + t_.substr(ls, e - ls) + "</font>" + rest;
}

// "const NAME = ..." (also with a type before the name), in a class body or
// outside any braces: a constant, listed with its class.
void php_reader::constant(size_t word_end) {
  size_t eq = word_end;
  while (eq < t_.size() && t_[eq] != '=' && t_[eq] != ';' && t_[eq] != '\n') eq++;
  if (eq >= t_.size() || t_[eq] != '=') return;
  size_t e = eq;
  while (e > word_end && blank(t_[e - 1])) e--;
  size_t n = e;
  while (n > word_end && name_char(t_[n - 1])) n--;
  if (n == e) return;
  std::string marks = marks_before(i_);
  add_head("const", t_.substr(n, e - n), marks, class_);
}

// "$name" behind marks only (var, public, static, readonly, a type) in a
// class body: a property of the class.
void php_reader::property() {
  size_t ls = line_start(i_);
  if (ls > 0 && t_[ls - 1] != '\n') return;  // marks are short
  for (size_t p = ls; p < i_; p++)
    if (!name_char(t_[p]) && !blank(t_[p]) && !strchr("?|\\", t_[p])) return;  // code, not marks
  std::string marks = marks_before(i_);
  bool modifier = false;
  for (size_t w = 0; w < marks.size() && !modifier;) {
    size_t we = std::min(marks.find(' ', w), marks.size());
    modifier = is_modifier(marks.substr(w, we - w));
    w = we + 1;
  }
  if (!modifier) return;
  size_t e = i_ + 1;
  while (e < t_.size() && name_char(t_[e])) e++;
  add_head("var", t_.substr(i_, e - i_), marks, class_);
}
