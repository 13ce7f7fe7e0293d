#include "codeweb/java_reader.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "codeweb/code_lex.h"
#include "codeweb/code_tidy.h"
#include "codeweb/java_text.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

using namespace codelex;

namespace {

const char* const SRC = "java_reader.cpp";


// A file name as page text.
std::string html_name(const std::string& s) {
  std::string r;
  for (char c : s) {
    switch (c) {
      case '&': r += "&amp;"; break;
      case '<': r += "&lt;"; break;
      case '>': r += "&gt;"; break;
      case '"': r += "&quot;"; break;
      default: r += c;
    }
  }
  return r;
}

bool starts(const std::string& t, size_t i, const char* s) { return t.compare(i, strlen(s), s) == 0; }

// The longest line of a text, in bytes.
size_t longest_line(const std::string& t) {
  size_t most = 0, b = 0;
  while (b < t.size()) {
    size_t nl = t.find('\n', b);
    if (nl == std::string::npos) nl = t.size();
    if (nl - b > most) most = nl - b;
    b = nl + 1;
  }
  return most;
}

bool has_package_line(const std::string& t) {
  for (size_t b = 0; b < t.size();) {
    if (starts(t, b, "package")) return true;
    size_t nl = t.find('\n', b);
    if (nl == std::string::npos) break;
    b = nl + 1;
  }
  return false;
}

}  // namespace

void java_reader::fail_input(const char* what) {
  errno = 0;
  exut.fail(__LINE__, SRC, "User: %s in %s\n", what, src_.c_str());
}

void java_reader::run(const std::string& src, const std::string& page_file, const std::string& page) {
  std::string text = safe_ut.read_text(src.c_str());
  safe_ut.write_text(page_file.c_str(), page_of(text, src, page));
  printf("\ndone(shorter): %s", page_file.c_str());
}

void java_reader::reset(const std::string& src, const std::string& page) {
  src_ = src;
  page_ = page;
  size_t slash = src.find_last_of('/');
  cls_ = src.substr(slash == std::string::npos ? 0 : slash + 1);
  if (cls_.size() > 5 && cls_.compare(cls_.size() - 5, 5, ".java") == 0) cls_.resize(cls_.size() - 5);
  package_.clear();
  has_package_ = false;
  toc_.clear();
  levels_.clear();
  depth_ = -1;
  outer_ = current_ = "?";
  out_.clear();
  i_ = 0;
  ne_ = lo_ = slots_ = 0;
  line_code_ = fresh_word_ = false;
}

std::string java_reader::page_of(const std::string& text, const std::string& src, const std::string& page) {
  reset(src, page);
  std::string raw = text;
  for (char& c : raw) {
    if (c == '\0') c = ' ';   // a NUL is a blank
    if (c == '\r') c = '\n';  // a lone CR ends a line
  }
  if (longest_line(raw) > (size_t)look_ahead) {
    errno = 0;
    exut.fail(__LINE__, SRC, "User: a line of %s is longer than the look-ahead of %i bytes\n", src.c_str(),
              look_ahead);
  }
  std::string marked = see_default_vis(raw);
  std::string tidy = tidy_text(marked, src.c_str());
  if (has_package_line(tidy)) {
    t_ = std::move(tidy);
  } else {
    printf("\nUser's error: no package in %s\n", src.c_str());
    t_ = std::move(marked);
  }
  std::string title = web_.title_head + html_name(cls_) + web_.title_tail;
  out_ = web_.page_head + "<a name=top></a>" + title + "\n<pre class=\"Classes\"><font size=2>";
  scan();
  if (slots_ > 0) {
    web_.customised.push_back(fmt("[ %4i LOC ] %3i %s", ne_, slots_, src.c_str()));
    web_.slots += slots_;
  }
  if (!has_package_) {
    std::string stem = src.size() > 5 ? src.substr(0, src.size() - 5) : src;
    printf("\nW a r n i n g :  No package in %s.java\n", stem.c_str());
  }
  out_ += "<br><a name=toc></a></pre><font face=\"Verdena,Arial\" size=2>";
  out_ += toc();
  out_ += "\n</font><pre></pre>" + title + "\n";
  out_ += fmt("\n<br><font size=1>%i neLoCode\n+ %i LoComm</font></body></HTML>\n", ne_, lo_);
  web_.neLoCode += ne_;
  web_.LoComm += lo_;
  web_.put(jtree::classes, package_ + "+" + cls_ + fmt("+%i+%i", ne_, lo_),
           "\n<br><a href=\"" + page_ + "#toc\"\nTARGET=\"frame3\">" + html_name(cls_) + "</a>");
  return shorter(out_);
}

void java_reader::code(const std::string& s) {
  out_ += s;
  line_code_ = true;
}

void java_reader::code(char c) {
  out_ += c;
  if (!is_blank(c)) line_code_ = true;
}

void java_reader::scan() {
  // Leading empty lines are not shown.
  while (i_ < t_.size() && (t_[i_] == '\n' || is_blank(t_[i_]))) i_++;
  while (i_ < t_.size()) step();
  if (line_code_) ne_++;
  while (!out_.empty() && (out_.back() == '\n' || is_blank(out_.back()))) out_.pop_back();
  out_ += '\n';
}

void java_reader::step() {
  char c = t_[i_];
  if (c == '\n') return newline();
  if (c == '<') {
    i_++;
    return code("&lt");
  }
  if (c == '/' && starts(t_, i_, "//")) return line_comment();
  if (c == '/' && starts(t_, i_, "/*")) return block_comment();
  if (c == '"') return string_literal();
  if (c == '\'') return char_literal();
  if (c == ';' && starts(t_, i_, ";import ")) {
    // Two imports on one line: the second begins a line of its own.
    i_++;
    code(';');
    ne_++;
    line_code_ = false;
    out_ += '\n';
    fresh_word_ = true;
    return;
  }
  if (is_word_char(c)) return word();
  i_++;
  code(c);
}

void java_reader::newline() {
  if (line_code_) ne_++;
  line_code_ = false;
  size_t n = 0;
  while (i_ < t_.size() && t_[i_] == '\n') {
    n++;
    i_++;
  }
  if (i_ >= t_.size()) return;  // trailing newlines are dropped
  out_ += n >= 2 ? "\n\n" : "\n";
}

// Drops the rest of the line from i_; a line with nothing else on it goes
// whole, and with `whole_blank_lines` the empty lines behind it too.
void java_reader::drop_rest(bool whole_blank_lines) {
  size_t nl = t_.find('\n', i_);
  if (nl == std::string::npos) nl = t_.size();
  size_t ls = out_.rfind('\n');
  ls = ls == std::string::npos ? 0 : ls + 1;
  bool alone = out_.find_first_not_of(" \t", ls) == std::string::npos;
  i_ = nl;
  if (!alone) return;
  out_.resize(ls);
  if (i_ < t_.size()) i_++;
  if (whole_blank_lines)
    while (i_ < t_.size() && t_[i_] == '\n') i_++;
}

void java_reader::line_comment() {
  size_t nl = t_.find('\n', i_);
  if (nl == std::string::npos) nl = t_.size();
  std::string text = t_.substr(i_, nl - i_);
  size_t b = text.find_first_not_of(" \t", 2);
  std::string body = b == std::string::npos ? "" : text.substr(b);
  if (body.compare(0, 10, "System.out") == 0) return drop_rest(false);
  // Marks of generated code go, with the empty lines behind them.
  for (const char* gen : {"// HTML //", "// end", "// begin [file=", "//GEN-"})
    if (text.compare(0, strlen(gen), gen) == 0) return drop_rest(true);
  if (starts(text, 0, "// insert custom code")) {
    slots_++;
    size_t r = text.find_first_not_of(' ', 21);
    if (r != std::string::npos && starts(text, r, "[  --")) {
      int k = add_entry(e_slot, "Programmer's Code", "");
      mark(fmt("<a name=%i></a>", k));
    }
  }
  mark("<font class=\"co\">" + lt_escaped(text, "&lt") + "</font>");
  lo_++;
  i_ = nl;
}

void java_reader::block_comment() {
  size_t end = t_.find("*/", i_ + 2);
  bool closed = end != std::string::npos;
  if (!closed) end = t_.size();
  std::string body = t_.substr(i_, end - i_);
  size_t after = closed ? end + 2 : end;
  bool one_line = body.find('\n') == std::string::npos;
  std::string head = body.substr(2);
  size_t w = head.find_first_not_of("* \t\n");
  bool banner = false;
  if (closed && one_line) {
    size_t e = body.find_last_not_of(" \t");
    banner = e >= 4 && body.compare(e - 2, 3, "---") == 0;
  }
  bool copyright = w != std::string::npos && starts(head, w, "Copyright");
  bool protect = starts(body, 0, "/* START OF PROTECTED") || starts(body, 0, "/* END OF PROTECTED");
  if (banner || copyright || protect) {
    i_ = after;
    while (i_ < t_.size() && is_blank(t_[i_])) i_++;
    if (i_ >= t_.size() || t_[i_] == '\n') drop_rest(true);
    return;
  }
  if (w == std::string::npos) {  // "/**/" and the like
    i_ = after;
    return;
  }
  comment_out(end, closed);
}

void java_reader::comment_out(size_t end, bool closed) {
  size_t k = out_.find_last_not_of(" \t\n");
  if (k != std::string::npos && strchr("{;}", out_[k])) mark("<br>");
  int n = add_entry(e_comment, "", "");
  mark(fmt("<a name=%i></a><font class=\"co\">", n));
  std::string text;
  int lines = 0;
  int r = do_comment(text, t_.substr(i_, end - i_), closed, web_.tips, &lines);
  if (!text.empty() && text[0] == '\n') text.erase(0, 1);
  lo_ += lines;
  mark(text + (r ? "</font>\n" : "</FONT>\n"));
  i_ = closed ? end + 2 : end;
  // Up to 2 line ends behind the comment stay; the indentation of the next
  // line too.
  size_t j = i_, last_nl = std::string::npos;
  int nls = 0;
  while (j < t_.size() && (t_[j] == '\n' || is_blank(t_[j]))) {
    if (t_[j] == '\n') {
      nls++;
      last_nl = j;
    }
    j++;
  }
  if (j >= t_.size()) {
    i_ = j;
    return;
  }
  if (last_nl != std::string::npos) {
    if (nls >= 2) out_ += '\n';
    i_ = last_nl + 1;
  }
}

void java_reader::string_literal() {
  if (i_ > 0 && t_[i_ - 1] == '\\') {
    i_++;
    return code('"');
  }
  bool open = false;
  size_t e = quoted_end(t_, i_, &open);
  if (open) fail_input("a string open at the end of the file");
  if (e - i_ > (size_t)max_string) {
    errno = 0;
    exut.fail(__LINE__, SRC, "User: a string of %s is longer than %i bytes: %.20s\n", src_.c_str(),
              max_string, t_.c_str() + i_);
  }
  // The text between the quotes (three for a text block).
  size_t q = starts(t_, i_, "\"\"\"") ? 3 : 1;
  size_t inner_end = e - (e >= i_ + 2 * q && t_[e - 1] == '"' ? q : 0);
  web_.string_used(t_.substr(i_ + q, inner_end > i_ + q ? inner_end - i_ - q : 0));
  std::string s;
  for (size_t k = i_; k < e; k++) {
    char c = t_[k];
    s += c == '<' ? std::string("&lt;") : c == '>' ? std::string("&gt;") : std::string(1, c);
  }
  i_ = e;
  code("<font class=\"str\">" + s + "</font>");
}

void java_reader::char_literal() {
  bool open = false;
  size_t e = quoted_end(t_, i_, &open);
  code(lt_escaped(t_.substr(i_, e - i_), "&lt"));
  i_ = e;
}

int java_reader::add_entry(entry_kind kind, const std::string& text, const std::string& name) {
  if ((int)toc_.size() >= java_trees::etoc) {
    errno = 0;
    exut.fail(__LINE__, SRC, "System: more than %i table-of-contents entries (etoc) in %s\n", java_trees::etoc,
              src_.c_str());
  }
  toc_.push_back({kind, text, name, current_});
  return (int)toc_.size() - 1;
}
