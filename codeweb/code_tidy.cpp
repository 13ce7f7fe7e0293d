#include "codeweb/code_tidy.h"

#include "codeweb/code_lex.h"

#include <cstring>
#include <vector>

#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

namespace {

using namespace codelex;

const char* const SRC = "code_tidy.cpp";

// One brace level of pass 1: a brace of the source, or one that pass 1 put
// around a lone statement.  `paren` is the parenthesis depth it began at.
struct frame {
  bool made;
  int paren;
};

class splitter {
 public:
  splitter(const std::string& t, const char* name) : t_(t), name_(name) {}
  std::string run();

 private:
  void step();
  void word();
  void control(const std::string& w);
  void open_brace();
  void close_brace();
  void semicolon();
  void tab();
  void copy_quoted();
  void copy_comment();
  void line_comment();
  void emit(char c);
  void emit(const std::string& s);
  void line_start();
  void close_made();
  size_t next_nonblank(size_t from) const;
  [[noreturn]] void open_at_end(const char* what);

  const std::string& t_;
  const char* name_;
  size_t i_ = 0;
  std::string out_;
  std::vector<frame> frames_;
  int paren_ = 0;
  bool pending_nl_ = false;  // the next text begins a new line
  std::vector<int> ctrl_;    // parenthesis depths of open control groups
  bool after_break_ = false;
};

void splitter::emit(char c) {
  if (pending_nl_) {
    pending_nl_ = false;
    line_start();
  }
  out_ += c;
}

void splitter::emit(const std::string& s) {
  for (char c : s) emit(c);
}

// Cuts trailing blanks and begins a new line unless one is begun.
void splitter::line_start() {
  while (!out_.empty() && is_blank(out_.back())) out_.pop_back();
  if (!out_.empty() && out_.back() != '\n') out_ += '\n';
}

size_t splitter::next_nonblank(size_t from) const {
  while (from < t_.size() && (is_blank(t_[from]) || t_[from] == '\n')) from++;
  return from;
}

void splitter::open_at_end(const char* what) {
  errno = 0;
  exut.fail(__LINE__, SRC, "User: %s open at the end of %s\n", what, name_);
}

std::string splitter::run() {
  while (i_ < t_.size()) step();
  while (!frames_.empty() && frames_.back().made) {
    frames_.pop_back();
    line_start();
    out_ += "}";
  }
  if (!out_.empty() && out_.back() != '\n') out_ += '\n';
  return out_;
}

void splitter::step() {
  char c = t_[i_];
  if (c == '/' && i_ + 1 < t_.size() && t_[i_ + 1] == '/') return line_comment();
  if (c == '/' && i_ + 1 < t_.size() && t_[i_ + 1] == '*') return copy_comment();
  if (c == '"' || c == '\'') return copy_quoted();
  if (is_word_char(c)) return word();
  i_++;
  switch (c) {
    case '\n':
      while (!out_.empty() && is_blank(out_.back())) out_.pop_back();
      out_ += '\n';
      pending_nl_ = false;
      return;
    case ' ':
      if (!pending_nl_) out_ += ' ';
      return;
    case '\t': return tab();
    case '{': return open_brace();
    case '}': return close_brace();
    case ';': return semicolon();
    case '(': paren_++; return emit(c);
    case ')': break;
    case '#': {
      // A "#" line stays whole.
      if (pending_nl_) {
        pending_nl_ = false;
        line_start();
      }
      size_t ls = out_.rfind('\n');
      ls = ls == std::string::npos ? 0 : ls + 1;
      bool head = out_.find_first_not_of(" \t\f\v", ls) == std::string::npos;
      size_t nl = t_.find('\n', i_);
      if (nl == std::string::npos) nl = t_.size();
      emit(c);
      if (head) {
        out_.append(t_, i_, nl - i_);
        i_ = nl;
      }
      return;
    }
    default: return emit(c);
  }
  // ")": may close the group of a control word.
  if (paren_ > 0) paren_--;
  emit(c);
  if (!ctrl_.empty() && ctrl_.back() == paren_) {
    ctrl_.pop_back();
    size_t n = next_nonblank(i_);
    if (n < t_.size() && t_[n] != '{' && t_[n] != ';') {
      emit("\n{");
      frames_.push_back({true, paren_});
      pending_nl_ = true;
    }
  }
}

void splitter::word() {
  size_t b = i_;
  while (i_ < t_.size() && is_word_char(t_[i_])) i_++;
  std::string w = t_.substr(b, i_ - b);
  if (w == "if" || w == "for" || w == "while" || w == "foreach") return control(w);
  if (w == "else") {
    size_t n = next_nonblank(i_);
    emit(w);
    bool chained = n < t_.size() && (t_[n] == '{' || (t_.compare(n, 2, "if") == 0 &&
                                                       (n + 2 >= t_.size() || !is_word_char(t_[n + 2]))));
    if (!chained && n < t_.size()) {
      emit("\n{");
      frames_.push_back({true, paren_});
      pending_nl_ = true;
    }
    return;
  }
  if (w == "break" && next_nonblank(i_) < t_.size() && t_[next_nonblank(i_)] == ';') {
    line_start();
    pending_nl_ = false;
    emit(w);
    after_break_ = true;
    return;
  }
  emit(w);
}

// if, for, while, foreach: a blank before their "(", and the group watched.
void splitter::control(const std::string& w) {
  emit(w);
  size_t n = i_;
  while (n < t_.size() && is_blank(t_[n])) n++;
  if (n >= t_.size() || t_[n] != '(') return;
  emit(' ');
  i_ = n + 1;
  ctrl_.push_back(paren_);
  paren_++;
  emit('(');
}

void splitter::open_brace() {
  line_start();
  pending_nl_ = false;
  out_ += '{';
  frames_.push_back({false, paren_});
  pending_nl_ = true;
}

// The statement that a made brace holds has ended: close it, and the made
// braces around it, up to one whose "if" an "else" goes on.
void splitter::close_made() {
  while (!frames_.empty() && frames_.back().made && frames_.back().paren == paren_) {
    frames_.pop_back();
    line_start();
    out_ += '}';
    pending_nl_ = true;
    size_t n = next_nonblank(i_);
    if (t_.compare(n, 4, "else") == 0 && (n + 4 >= t_.size() || !is_word_char(t_[n + 4]))) break;
  }
}

void splitter::close_brace() {
  // A brace that closes while a made one is open closes that one first.
  while (!frames_.empty() && frames_.back().made) {
    frames_.pop_back();
    line_start();
    out_ += '}';
  }
  if (!frames_.empty()) frames_.pop_back();
  line_start();
  pending_nl_ = false;
  out_ += '}';
  size_t n = i_;
  while (n < t_.size() && is_blank(t_[n])) n++;
  // "});", "}, x", "}.m()" go on in the same statement.
  bool goes_on = n < t_.size() && strchr(";),.", t_[n]);
  if (!goes_on) {
    close_made();
    pending_nl_ = true;
  }
}

void splitter::semicolon() {
  emit(';');
  if (after_break_) {
    after_break_ = false;
    pending_nl_ = true;
  }
  close_made();
}

// A tab is dropped; between two words it is a blank, and behind ")" (blanks
// between) it ends the line.
void splitter::tab() {
  size_t k = out_.size();
  while (k > 0 && is_blank(out_[k - 1])) k--;
  if (k > 0 && out_[k - 1] == ')') {
    line_start();
    return;
  }
  bool between = !out_.empty() && !is_blank(out_.back()) && out_.back() != '\n' && i_ < t_.size() &&
                 !is_blank(t_[i_]) && t_[i_] != '\n';
  if (between && !pending_nl_) out_ += ' ';
}

void splitter::copy_quoted() {
  bool open = false;
  size_t e = quoted_end(t_, i_, &open);
  if (open) open_at_end(t_.compare(i_, 3, "\"\"\"") == 0 ? "a text block" : "a string");
  emit(t_.substr(i_, e - i_));
  i_ = e;
}

void splitter::copy_comment() {
  size_t e = t_.find("*/", i_ + 2);
  if (e == std::string::npos) open_at_end("a comment");
  emit(t_.substr(i_, e + 2 - i_));
  i_ = e + 2;
}

void splitter::line_comment() {
  size_t nl = t_.find('\n', i_);
  if (nl == std::string::npos) nl = t_.size();
  if (t_.compare(i_, 11, "// Method :") == 0) {
    size_t ls = out_.rfind('\n');
    ls = ls == std::string::npos ? 0 : ls + 1;
    bool alone = out_.find_first_not_of(" \t\f\v", ls) == std::string::npos;
    if (alone) {
      out_.resize(ls);
      if (nl < t_.size()) nl++;
    }
    i_ = nl;
    return;
  }
  emit(t_.substr(i_, nl - i_));
  i_ = nl;
}

}  // namespace

std::string tidy_split(const std::string& text, const char* name) {
  std::string t = text;
  for (char& c : t) {
    if (c == '\r') c = '\n';  // a lone CR ends a line
    if (c == '\0') c = ' ';
  }
  return splitter(t, name).run();
}

std::string tidy_indent(const std::string& text, const char* name) {
  std::string out;
  out.reserve(text.size() + text.size() / 4);
  line_lexer lex;
  int k = 0;
  size_t b = 0;
  while (b < text.size()) {
    size_t nl = text.find('\n', b);
    if (nl == std::string::npos) nl = text.size();
    size_t f = b;
    while (f < nl && (is_blank(text[f]) || text[f] == '\r')) f++;
    std::string line = text.substr(f, nl - f);
    b = nl + 1;
    bool inside = lex.in_comment || lex.in_block;
    bool lead = false;
    // A "#" line is copied whole by pass 1: its braces are no braces.
    int net = !inside && !line.empty() && line[0] == '#' ? 0 : lex.braces(line, &lead);
    if (!inside && line == "{}") {
      out += std::string(k + 3, ' ') + "{\n" + std::string(k + 3, ' ') + "}\n";
      continue;
    }
    if (lead) {
      k = k >= 3 ? k - 3 : 0;
      net++;
    }
    if (!line.empty()) out += std::string(k, ' ') + line;
    out += '\n';
    k += 3 * net;
    if (k < 0) k = 0;
  }
  if (k != 0) {
    errno = 0;
    exut.fail(__LINE__, SRC, "User: the braces of %s do not balance: k = %i at the end, see x.tmp\n", name, k);
  }
  return out;
}

std::string tidy_text(const std::string& text, const char* name) {
  return tidy_indent(tidy_split(text, name), name);
}

void to_pretty(const char* from, const char* to) {
  std::string text = safe_ut.read_text(from);
  safe_ut.write_text("x.aus", text);
  std::string split = tidy_split(text, from);
  safe_ut.write_text("x.tmp", split);
  safe_ut.write_text(to, tidy_indent(split, from));
}
