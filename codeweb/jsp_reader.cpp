// The JSP page reader and the scanning parts it shares with the ASP reader.
#include "codeweb/jsp_reader.h"

#include <cctype>
#include <cstring>

#include "codeweb/code_lex.h"

using codelex::fmt;

namespace {

bool blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v'; }

std::string trim(const std::string& s) {
  size_t a = 0, e = s.size();
  while (a < e && blank(s[a])) a++;
  while (e > a && blank(s[e - 1])) e--;
  return s.substr(a, e - a);
}

std::string lower(std::string s) {
  for (char& c : s) c = (char)tolower((unsigned char)c);
  return s;
}

// A name a page may use as a class or a package (no blanks inside), or
// as an include (blanks allowed): no markup, no expression ("<%= x %>"),
// no control characters, and a length a tree holds.
bool plain_name(const std::string& s, bool blanks = false) {
  if (s.empty() || s.size() > 200) return false;
  for (unsigned char c : s)
    if (c < 0x20 || c == 0x7f || (c == ' ' && !blanks) || c == '<' || c == '>' || c == '"' || c == '%') return false;
  return true;
}

}  // namespace

// ------------------------------------------------------------ shared parts

void server_reader::start(const std::string& text, int fNr, const std::string& path) {
  t_ = text;
  for (char& c : t_)
    if (c == '\0') c = ' ';  // a NUL is a blank
  i_ = 0;
  out_.clear();
  path_ = path;
  fNr_ = fNr;
  head_ = true;
  includes.clear();
  depth = lines = bad_quotes = 0;
  report.clear();
  for (char c : t_) lines += c == '\n';
  if (!t_.empty() && t_.back() != '\n') lines++;
}

bool server_reader::at(const char* s) const { return t_.compare(i_, strlen(s), s) == 0; }

bool server_reader::at_nocase(const char* s) const {
  size_t n = strlen(s);
  if (i_ + n > t_.size()) return false;
  for (size_t k = 0; k < n; k++) {
    unsigned char c = (unsigned char)t_[i_ + k], w = (unsigned char)s[k];
    if (c != w && (c | 0x20) != (w | 0x20)) return false;
    if (c != w && !isalpha(w)) return false;  // only letters differ in case
  }
  return true;
}

// Appends [s, s + n) with "<", ">" and "&" as character references, the
// runs between them in one piece.
static void append_esc(std::string& o, const char* s, size_t n) {
  size_t from = 0;
  for (size_t k = 0; k < n; k++) {
    const char* r = s[k] == '<' ? "&lt;" : s[k] == '>' ? "&gt;" : s[k] == '&' ? "&amp;" : nullptr;
    if (!r) continue;
    o.append(s + from, k - from);
    o += r;
    from = k + 1;
  }
  o.append(s + from, n - from);
}

std::string server_reader::esc(const std::string& s) {
  std::string o;
  o.reserve(s.size());
  append_esc(o, s.data(), s.size());
  return o;
}

void server_reader::copy(size_t n) {
  n = std::min(n, t_.size() - i_);
  if (head_)
    for (size_t k = i_; k < i_ + n; k++)
      if (!blank(t_[k])) {
        head_ = false;
        break;
      }
  append_esc(out_, t_.data() + i_, n);
  i_ += n;
}

void server_reader::comment(const char* close, const std::string& close_out, const std::string& open_mark) {
  size_t e = t_.find(close, i_ + 2);
  size_t body_end = e == std::string::npos ? t_.size() : e;
  out_ += "<font class=\"co\">" + open_mark + esc(t_.substr(i_, body_end - i_));
  if (e != std::string::npos) out_ += close_out;
  out_ += "</font>";
  i_ = e == std::string::npos ? t_.size() : e + strlen(close);
}

void server_reader::drop_through(const char* close) {
  size_t e = t_.find(close, i_);
  i_ = e == std::string::npos ? t_.size() : e + strlen(close);
}

void server_reader::line_comment() {
  size_t e = t_.find('\n', i_);
  if (e == std::string::npos) e = t_.size();
  out_ += "<font class=\"co\">" + esc(t_.substr(i_, e - i_)) + "</font>";
  i_ = e;
}

size_t server_reader::find_in(char c, size_t from, size_t end) const {
  if (from >= end) return std::string::npos;
  const void* p = memchr(t_.data() + from, c, end - from);
  return p ? (size_t)((const char*)p - t_.data()) : std::string::npos;
}

std::string server_reader::line_of(size_t at) const {
  size_t a = at == 0 ? std::string::npos : t_.rfind('\n', at - 1);
  a = a == std::string::npos ? 0 : a + 1;
  size_t e = t_.find('\n', at);
  return t_.substr(a, (e == std::string::npos ? t_.size() : e) - a);
}

void server_reader::string_literal(bool code_class, bool report_open) {
  head_ = false;
  // A character literal '"' holds no string.
  if (i_ > 0 && t_[i_ - 1] == '\'' && i_ + 1 < t_.size() && t_[i_ + 1] == '\'') {
    copy(2);
    return;
  }
  size_t p = i_ + 1;
  for (;;) {
    p = t_.find_first_of("\"\n\\", p);
    if (p == std::string::npos || t_[p] != '\\') break;
    p += p + 1 < t_.size() && t_[p + 1] == '"' ? 2 : 1;
  }
  if (p == std::string::npos || t_[p] == '\n') {
    // The quote is not closed on its line: the string ends there.
    size_t e = p == std::string::npos ? t_.size() : p;
    std::string s = t_.substr(i_, e - i_);
    out_ += "<font class=\"kw\">" + esc(s) + "</font>";
    if (report_open) {
      bad_quotes++;
      int n = errors_ ? ++*errors_ : bad_quotes;
      report += fmt("\n\n%i. Syntax error (unbalanced \" quotes) in %s:\n--------------------------------------\n[\n",
                    n, path_.c_str()) +
                line_of(i_) + "\n]\n";
    }
    i_ = e;
    return;
  }
  std::string text = t_.substr(i_ + 1, p - i_ - 1);
  hooks_.string_used(text);
  if (code_class) {
    // "code=" in front (an applet): the string names a class.
    size_t b = i_;
    while (b > 0 && blank(t_[b - 1])) b--;
    if (b >= 5 && lower(t_.substr(b - 5, 5)) == "code=") {
      std::string cls = trim(text);
      if (cls.size() > 6 && lower(cls.substr(cls.size() - 6)) == ".class") cls.resize(cls.size() - 6);
      if (plain_name(cls)) hooks_.uses(cls);
    }
  }
  out_ += "<font class=\"kw\">" + esc(t_.substr(i_, p - i_)) + "\"</font>";
  i_ = p + 1;
}

void server_reader::newline_or_slash(char c) {
  if (c == '\n') {
    if (at("\n\n\n"))
      blank_lines();
    else
      copy(1);
  } else if (at("/* START OF PROTECTED") || at("/* END OF PROTECTED")) {
    drop_through("*/");
  } else if (at("/*")) {
    comment("*/", "*/");
  } else if (at("//") && (i_ == 0 || t_[i_ - 1] != ':')) {  // "http://" is no comment
    line_comment();
  } else {
    copy(1);
  }
}

void server_reader::blank_lines() {
  out_ += "\n\n";
  while (i_ < t_.size() && t_[i_] == '\n') i_++;
}

void server_reader::include_at(const std::string& raw, bool asp) {
  std::string name = trim(raw), page;
  int d = 0;
  bool found = plain_name(name, true) && hooks_.include(name, page, d);
  includes.push_back({name, found ? page : ""});
  if (!found) {
    out_ += "<font class=\"kw\">\"" + esc(raw) + "\"</font>";
    return;
  }
  depth = std::max(depth, d + 1);
  if (asp)
    out_ += "<a href=asp" + page + ".htm>\"" + esc(raw) + "\"</a>";
  else
    out_ += "<a href=../" + page + ".htm>\"" + esc(raw) + "\"</a>";
}

std::string server_reader::lines_count() const { return std::to_string(lines) + " Lines . "; }

// ------------------------------------------------------------ JSP

std::string jsp_reader::page_of(const std::string& text, int fNr, const std::string& path) {
  start(text, fNr, path);
  commands = 0;
  no_close_ = std::string::npos;
  out_ = std::string(frame_.head) + "<a name=top></a>" + frame_.title_head + esc(path) + " . jsp" +
         frame_.title_tail + "<font size=2><pre>";
  scan();
  tail();
  return std::move(out_);
}

void jsp_reader::scan() {
  while (i_ < t_.size()) {
    size_t p = t_.find_first_of("<\"\n/j", i_);
    if (p == std::string::npos) p = t_.size();
    copy(p - i_);
    if (i_ >= t_.size()) break;
    char c = t_[i_];
    if (c == '<') {
      lt();
    } else if (c == '"') {
      string_literal(true, true);
    } else if (c == '\n' || c == '/') {
      newline_or_slash(c);
    } else if (at("javascript:")) {
      // A script in an attribute without quotes: its calls count as uses.
      size_t e = t_.find_first_of(" \t\n>", i_);
      if (e == std::string::npos) e = t_.size();
      hooks_.string_used(t_.substr(i_ + 11, e - i_ - 11));
      copy(e - i_);
    } else {
      copy(1);
    }
  }
}

void jsp_reader::lt() {
  // Only "<%", "<!" and "<jsp:" open something; any other "<" is text.
  char c1 = i_ + 1 < t_.size() ? t_[i_ + 1] : '\0';
  if (c1 != '%' && c1 != '!' && c1 != 'j' && c1 != 'J') {
    copy(1);
    return;
  }
  if (at("<%-- START OF PROTECTED") || at("<%-- END OF PROTECTED")) {
    drop_through("--%>");
  } else if (at("<%--")) {
    // A comment of several lines before any code is the file's head comment.
    size_t e = t_.find("--%>", i_);
    bool multi = find_in('\n', i_, e == std::string::npos ? t_.size() : e) != std::string::npos;
    bool head = head_ && multi;
    comment("--%>", head ? "--%><br><br>" : "--%>", head ? "|   " : "");
  } else if (at("<!--")) {
    comment("-->", "-->");
  } else if (at("<%@")) {
    commands++;
    // Once a search for the end failed, every later one fails as well.
    size_t e = i_ < no_close_ ? t_.find("%>", i_) : std::string::npos;
    if (e == std::string::npos) {
      no_close_ = std::min(no_close_, i_);
      e = std::min(t_.size(), t_.find('\n', i_));  // not closed: its line
    }
    directive(e, false);
  } else if (at_nocase("<jsp:include") || at_nocase("<jsp:directive.") || at_nocase("<jsp:forward")) {
    size_t e = t_.find('>', i_);  // none: the tag takes the rest of the text
    directive(e == std::string::npos ? t_.size() : e, true);
  } else {
    if (at("<%")) commands++;
    copy(1);
  }
}

// The region [i_, end) of a directive or tag: its quoted values are the
// included file (file=, and page= of a tag), the import list, or strings.
void jsp_reader::directive(size_t end, bool tag) {
  head_ = false;
  size_t from = i_;
  while (i_ < end) {
    size_t q = find_in('"', i_, end);
    if (q == std::string::npos) break;
    // The attribute's name: the word in front of "=" in front of the quote.
    size_t b = q;
    while (b > from && blank(t_[b - 1])) b--;
    std::string attr;
    if (b > from && t_[b - 1] == '=') {
      size_t w = b - 1;
      while (w > from && blank(t_[w - 1])) w--;
      size_t a = w;
      while (a > from && (isalnum((unsigned char)t_[a - 1]) || t_[a - 1] == '_' || t_[a - 1] == '.')) a--;
      attr = lower(t_.substr(a, w - a));
    }
    size_t close = find_in('"', q + 1, end);
    if (close == std::string::npos) break;  // a value without its end: copied as text
    out_ += esc(t_.substr(i_, q - i_));
    std::string value = t_.substr(q + 1, close - q - 1);
    if (attr == "file" || (tag && attr == "page")) {
      include_at(value, false);
    } else if (attr == "import") {
      out_ += "<font class=\"kw\">\"" + esc(value) + "\"</font>";
      imports(value);
    } else {
      hooks_.string_used(value);
      out_ += "<font class=\"kw\">\"" + esc(value) + "\"</font>";
    }
    i_ = close + 1;
  }
  copy(end - i_);
}

// "a.b.*, c.D": an item with ".*" is a package, another a class.
void jsp_reader::imports(const std::string& list) {
  for (size_t a = 0; a <= list.size();) {
    size_t e = list.find_first_of(",;", a);
    if (e == std::string::npos) e = list.size();
    std::string item = trim(list.substr(a, e - a));
    if (plain_name(item)) hooks_.uses(item);
    a = e + 1;
  }
}

void jsp_reader::tail() {
  if (bad_quotes) out_ += "&nbsp;<br><b>There seem to be syntax errors ( at least one missing \" ).</b>";
  std::string inc = hooks_.included() ? fmt("<a href=../bf/%i.htm>is_inc_for</a> . ", fNr_) : "";
  out_ += "\n</pre></font><a name=eof></a><font face=\"Verdena,Arial\">\n<font size=2><a href=#top>top</a> . " + inc +
          "<a href=../jsp.htm>JSP</a>\n<font size=3>" + lines_count() + "end of " + esc(path_) +
          "<br></font>\nInclude structure of<br>" + esc(path_) + "<br><br>";
}
