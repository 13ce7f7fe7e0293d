// The scan of the C and C++ reader: copies the source to the page text and
// stops at line starts, strings, comments, directives, braces and words.
#include "codeweb/cpp_reader.h"

#include <cerrno>
#include <cstdio>

#include "codeweb/cpp_lex.h"
#include "runtime/exec_ut.h"

using namespace cpplex;
using codelex::fmt;

namespace {

const char* const SRC = "cpp_reader.cpp";

// Comment lines of the house style that carry nothing for a reader; each
// is dropped with the "//" lines behind it.
const char* const dropped_lines[] = {
    "// #", "//#", "/// ", "// Microsoft", "//##", "//@@", "// classes", "// interfaces", "// includes",
    "// public", "// private", "// protected", "// Constructor", "// Destructor", "// Query",
    "// precompiled", "// implementation", "// ----- ", "// ===", "//====", "// Additional P",
    "// Additional I", "// Data Members"};

// Lines of code: lines that hold something else than blanks and comments.
long code_lines(const std::string& t) {
  long n = 0;
  bool code = false, in_comment = false;
  for (size_t i = 0; i < t.size(); i++) {
    char c = t[i];
    if (c == '\n') {
      n += code;
      code = false;
    } else if (in_comment) {
      if (c == '*' && i + 1 < t.size() && t[i + 1] == '/') in_comment = false, i++;
    } else if (c == '/' && i + 1 < t.size() && t[i + 1] == '*') {
      in_comment = true, i++;
    } else if (c == '/' && i + 1 < t.size() && t[i + 1] == '/') {
      i = eol(t, i) - 1;
    } else if (!is_blank(c)) {
      code = true;
    }
  }
  return n + code;
}

}  // namespace

void cpp_reader::fail_input(const char* what, size_t at) {
  errno = 0;
  exut.fail(__LINE__, SRC, "User: %s in %s, line %i\n", what, (web_.file.empty() ? src_ : web_.file).c_str(),
            line_at(at));
}

int cpp_reader::line_at(size_t at) const {
  int n = 1;
  for (size_t k = 0; k < at && k < t_.size(); k++) n += t_[k] == '\n';
  return n;
}

std::string cpp_reader::page_of(std::string text, const std::string& src, int fNr) {
  t_ = std::move(text);
  for (char& c : t_) {
    if (c == '\0') c = ' ';   // a NUL is a blank
    if (c == '\r') c = '\n';  // a lone CR ends a line
  }
  src_ = src;
  fNr_ = fNr;
  page_ = fmt("%i/%i", fNr / 100, fNr % 100);
  size_t slash = src.find_last_of('/');
  base_ = src.substr(slash == std::string::npos ? 0 : slash + 1);
  entity_ = base_;
  impl_ = src.size() >= 3 && src[src.size() - 3] == 'c';
  for (const char* e : {".c", ".cc", ".cxx", ".cpp", ".c++", ".C"})
    if (src.size() > strlen(e) && src.compare(src.size() - strlen(e), std::string::npos, e) == 0) impl_ = true;
  prepared_ = dialog_ = msg_ = ddx_ = brace_error_ = guard_ = false;
  anchor_ = 0;
  frames_.clear();
  bodies_ = 0;
  pending_namespace_ = pending_body_ = false;
  body_level_ = -1;
  caller_.clear();
  checked_ = std::string::npos;
  ne_ = code_lines(t_);
  web_.put(ctree::codef, base_, "p " + page_ + ".htm");
  scan();
  tail();
  web_.neLoCode += ne_;
  if (dialog_) web_.dialogCode += ne_;
  if (msg_) web_.put(ctree::msgMaps, page_ + ".htm", "");
  if (ddx_) web_.put(ctree::ddxFiles, page_ + ".htm", "");
  std::string page = std::move(out_);
  std::string().swap(t_);  // the source is no longer needed
  out_.clear();
  size_t mark = page.rfind("\n<pre-");
  if (prepared_) return mark == std::string::npos ? page : page.erase(mark, 6);
  return better(pretty(std::move(page), src_));
}

void cpp_reader::scan() {
  std::string impl = web_.impl_page(src_);
  out_.reserve(t_.size() + t_.size() / 2 + 4096);  // the markup adds to the text
  out_ = web_.page_head + "<a name=top></a>";
  if (!impl.empty()) out_ += "<a href=../" + impl + ">cpp</a>, ";
  out_ += "<a href=#eof>meta</a>, <a href=../cpp.htm>C++</a>\n";
  out_ += web_.title_head + esc2(base_) + web_.title_tail + "\n<pre class=c><font size=2>";
  // A comment at the file's start (its banner) is dropped.
  i_ = 0;
  while (i_ < t_.size() && (is_blank(t_[i_]) || t_[i_] == '\n')) i_++;
  if (starts(t_, i_, "/*")) {
    size_t e = t_.find("*/", i_ + 2);
    i_ = e == std::string::npos ? t_.size() : e + 2;
    web_.LoHiddenComm++;
    while (i_ < t_.size() && is_blank(t_[i_])) i_++;
    if (i_ < t_.size() && t_[i_] == '\n') i_++;
  } else {
    i_ = 0;
  }
  for (size_t i = 0; i < t_.size(); i = eol(t_, i) + 1)
    if (starts(t_, i, "/* p") && t_.substr(i, eol(t_, i) - i).find("LB_(") != std::string::npos) prepared_ = true;
  while (i_ < t_.size()) {
    size_t before = i_;
    step();
    if (i_ <= before) fail_input("the scan does not advance", before);
  }
}

bool cpp_reader::top_level() const { return bodies_ == 0; }

void cpp_reader::code(char c) {
  if (c == '<') out_ += "&lt;";
  else out_ += c;
}

void cpp_reader::code(const std::string& s) { out_ += esc(s); }

void cpp_reader::step() {
  if ((i_ == 0 || t_[i_ - 1] == '\n') && checked_ != i_) {
    checked_ = i_;
    size_t before = i_;
    line_start();
    if (i_ != before || i_ >= t_.size()) return;
  }
  char c = t_[i_];
  switch (c) {
    case '\n': newline(); return;
    case '"': string_literal(); return;
    case '\'': char_literal(); return;
    case '/':
      if (starts(t_, i_, "//")) return line_comment();
      if (starts(t_, i_, "/*")) return block_comment();
      break;
    case '#':
      if (first_on_line(t_, i_)) return directive();
      break;
    case '{':
      frames_.push_back({!pending_namespace_});
      bodies_ += !pending_namespace_;
      pending_namespace_ = false;
      if (pending_body_) body_level_ = (int)frames_.size();
      pending_body_ = false;
      break;
    case '}':
      if (frames_.empty()) {
        brace_error_ = true;
        break;
      }
      if ((int)frames_.size() == body_level_) {
        out_ += "}\n   LE_";
        body_level_ = -1;
        bodies_ -= frames_.back().body;
        frames_.pop_back();
        i_++;
        return;
      }
      bodies_ -= frames_.back().body;
      frames_.pop_back();
      break;
    case ';': pending_namespace_ = false; break;
    default:
      if (is_word_char(c) && (i_ == 0 || !is_word_char(t_[i_ - 1]))) return word();
  }
  code(c);
  i_++;
}

void cpp_reader::line_start() {
  size_t p = i_;
  while (p < t_.size() && is_blank(t_[p])) p++;
  if (p >= t_.size() || !top_level() || p != i_) return;
  if (starts(t_, p, "EJECT")) {  // a listing's page break
    i_ = eol(t_, p);
    return;
  }
  if (starts(t_, p, "__")) {  // "__" or "___" before white space is blanked
    size_t q = p;
    while (q < t_.size() && t_[q] == '_') q++;
    if (q - p <= 3 && q < t_.size() && (is_blank(t_[q]) || t_[q] == '\n')) {
      out_.append(q - p, ' ');
      i_ = q;
      return;
    }
  }
  char c = t_[p];
  if (!(is_word_char(c) || c == '~' || c == ':' || c == '[')) return;
  for (const char* w : {"struct ", "union ", "enum ", "template "}) {
    if (!starts(t_, p, w)) continue;
    size_t stop = t_.find_first_of(";{", p);
    if (stop == std::string::npos || t_[stop] != ';') break;
    // "struct X;": a forward declaration goes; "template" with ";" first too.
    std::string between = trim(t_.substr(p + strlen(w), stop - p - strlen(w)));
    bool one_word = between.find_first_of(" \t\n") == std::string::npos;
    if (w[0] == 't' || (one_word && between.find('(') == std::string::npos)) {
      i_ = eol(t_, stop) < t_.size() ? eol(t_, stop) + 1 : t_.size();
      checked_ = i_;
    }
    return;
  }
  if (starts(t_, p, "extern \"C\"")) {
    pending_namespace_ = true;
    return;
  }
  method_head();
}

void cpp_reader::newline() {
  out_ += '\n';
  i_++;
  // Blank lines in a row count as one.
  size_t p = i_;
  int blank = 0;
  while (true) {
    size_t q = p;
    while (q < t_.size() && is_blank(t_[q])) q++;
    if (q >= t_.size() || t_[q] != '\n') break;
    blank++;
    p = q + 1;
  }
  if (blank >= 2) {
    out_ += '\n';
    i_ = p;
  }
}

void cpp_reader::string_literal() {
  if (i_ > 0 && t_[i_ - 1] == '\'' && i_ + 1 < t_.size() && t_[i_ + 1] == '\'') {
    code('"');  // the character literal '"'
    i_++;
    return;
  }
  if (i_ > 0 && t_[i_ - 1] == 'R' && (i_ < 2 || !is_word_char(t_[i_ - 2]) || t_[i_ - 2] == '8' ||
                                      t_[i_ - 2] == 'L' || t_[i_ - 2] == 'u' || t_[i_ - 2] == 'U'))
    return raw_string(i_);
  size_t j = i_ + 1;
  while (j < t_.size() && t_[j] != '"' && t_[j] != '\n') j += t_[j] == '\\' && j + 1 < t_.size() && t_[j + 1] != '\n' ? 2 : 1;
  bool closed = j < t_.size() && t_[j] == '"';
  std::string text = t_.substr(i_, (closed ? j + 1 : j) - i_);
  std::string inner = closed ? text.substr(1, text.size() - 2) : text.substr(1);
  size_t n = inner.size();
  if (closed && n > 4 && (inner.compare(n - 4, 4, ".dll") == 0 || inner.compare(n - 4, 4, ".DLL") == 0)) {
    inner.replace(n - 4, 4, ".DLL");
    int a = ++anchor_;
    out_ += fmt("<a name=%i></a><font color=#FF00FF><b>[ DLL ]</b></font>", a);
    web_.put(ctree::dlls, inner + "~" + page_ + fmt(".htm#%i", a), "");
  }
  out_ += "<font class=kw>" + esc2(text) + "</font>";
  i_ += text.size();
}

// R"delim( ... )delim" is a string that may run over lines.
void cpp_reader::raw_string(size_t quote) {
  size_t open = t_.find('(', quote);
  size_t nl = eol(t_, quote);
  if (open == std::string::npos || open > nl || open - quote > 17) {
    code('"');
    i_ = quote + 1;
    return;
  }
  std::string close = ")" + t_.substr(quote + 1, open - quote - 1) + "\"";
  size_t e = t_.find(close, open);
  size_t end = e == std::string::npos ? t_.size() : e + close.size();
  out_ += "<font class=kw>" + esc2(t_.substr(quote, end - quote)) + "</font>";
  i_ = end;
}

void cpp_reader::char_literal() {
  // A digit separator (1'000) is part of its number.
  bool digits = i_ > 0 && is_word_char(t_[i_ - 1]) && i_ + 1 < t_.size() && is_word_char(t_[i_ + 1]);
  size_t j = i_ + 1;
  if (!digits) {
    while (j < t_.size() && j < i_ + 12 && t_[j] != '\'' && t_[j] != '\n') j += t_[j] == '\\' ? 2 : 1;
  }
  if (digits || j >= t_.size() || t_[j] != '\'') {
    code('\'');
    i_++;
    return;
  }
  code(t_.substr(i_, j + 1 - i_));
  i_ = j + 1;
}

bool cpp_reader::dropped_comment_line(size_t at) {
  for (const char* d : dropped_lines)
    if (starts(t_, at, d)) return true;
  return starts(t_, at, "TRACE0(");
}

void cpp_reader::line_comment() {
  if (first_on_line(t_, i_) && dropped_comment_line(i_)) {
    // The line goes with the comment lines behind it.
    while (!out_.empty() && is_blank(out_.back())) out_.pop_back();
    size_t p = i_;
    while (true) {
      web_.LoHiddenComm++;
      p = eol(t_, p);
      if (p >= t_.size()) break;
      p++;
      size_t q = p;
      while (q < t_.size() && is_blank(t_[q])) q++;
      if (!starts(t_, q, "//")) break;
      p = q;
    }
    i_ = p;
    checked_ = i_;
    return;
  }
  if (starts(t_, i_, "// All rights reserved")) {
    size_t mfc = t_.find("Microsoft Foundation Classes", i_);
    if (mfc != std::string::npos && mfc <= i_ + 300) {
      size_t p = eol(t_, eol(t_, mfc) + 1);
      while (p < t_.size() && t_[p] == '\n') p++;
      web_.LoHiddenComm++;
      i_ = p;
      checked_ = i_;
      return;
    }
  }
  size_t e = eol(t_, i_);
  out_ += "<font class=co>" + esc(t_.substr(i_, e - i_)) + "</font>";
  i_ = e;
}

void cpp_reader::block_comment() {
  if (first_on_line(t_, i_) && banner_method()) return;
  size_t e = t_.find("*/", i_ + 2);
  size_t end = e == std::string::npos ? t_.size() : e + 2;
  std::string body = t_.substr(i_ + 2, (e == std::string::npos ? t_.size() : e) - i_ - 2);
  long lines = 1;
  for (char c : body) lines += c == '\n';
  for (const char* hidden : {"/* START OF PROTECTED", "/* END OF PROTECTED", "/*@FILE_DOC", "/*........."}) {
    if (!starts(t_, i_, hidden)) continue;
    out_ += "\n</pre></font><pre class=c><font size=2>";
    web_.LoHiddenComm += lines;
    i_ = end;
    return;
  }
  if (starts(t_, i_, "/* Module") || starts(t_, i_, "/**\n * $Log:")) {
    web_.LoHiddenComm += lines;
    i_ = eol(t_, end) < t_.size() ? eol(t_, end) + 1 : t_.size();
    checked_ = i_;
    return;
  }
  if (starts(t_, i_, "/*\n * The Apache Software")) {
    out_ += "<font class=co>/* Apache Software: */</font>";
    web_.LoHiddenComm += lines;
    i_ = end;
    return;
  }
  if (first_on_line(t_, i_) && (starts(t_, i_, "/* ------") || starts(t_, i_, "/*\n"))) {
    out_ += "<font class=co>//" + esc(body) + (e == std::string::npos ? "" : "  ") + "</font>";
  } else {
    out_ += "<font class=\"co\">/*" + esc(body) + (e == std::string::npos ? "" : "*/") + "</font> ";
  }
  i_ = end;
}

void cpp_reader::directive() {
  while (!out_.empty() && is_blank(out_.back())) out_.pop_back();
  size_t hash = i_;
  size_t p = i_ + 1;
  while (p < t_.size() && is_blank(t_[p])) p++;  // "# x" is written "#x"
  size_t w = p;
  while (w < t_.size() && is_word_char(t_[w])) w++;
  std::string word = t_.substr(p, w - p);
  // The line with its continuations.
  size_t e = eol(t_, p);
  while (e < t_.size() && e > 0 && t_[e - 1] == '\\') e = eol(t_, e + 1);
  std::string rest = t_.substr(w, e - w);
  i_ = e;
  if (word == "include") {
    out_ += web_.include("#include" + t_.substr(w, eol(t_, p) - w));
    i_ = eol(t_, p);
    return;
  }
  if (word == "define") {
    if (guard_) {
      guard_ = false;
      out_ += esc("#define" + rest);
      return;
    }
    i_ = w;
    return define(e);
  }
  if (word == "ifdef" && trim(rest).compare(0, 6, "_DEBUG") == 0 &&
      (trim(rest).size() == 6 || !is_word_char(trim(rest)[6]))) {
    i_ = e;
    return skip_debug_block();
  }
  if (word == "ifdef" && starts(t_, w, " AFX_DATA\n#undef AFX_DATA")) {
    i_ = eol(t_, eol(t_, w) + 1);  // both lines go, with the gap behind them
    while (i_ + 1 < t_.size() && t_[i_ + 1] == '\n') i_++;
    return;
  }
  if (word == "if" && starts(t_, hash, "#if _MSC_VER >=")) {
    i_ = std::min(hash + 16, e);  // "#if _MSC_VER >= " goes
    return;
  }
  if (word == "ifndef" && (rest.find("_h__") != std::string::npos || rest.find("_cxx__") != std::string::npos))
    guard_ = true;
  out_ += esc("#" + word + rest);
}

void cpp_reader::define(size_t end) {
  size_t p = i_;
  while (p < end && is_blank(t_[p])) p++;
  size_t n = p;
  while (n < end && is_word_char(t_[n])) n++;
  std::string name = t_.substr(p, n - p);
  size_t len = name.size();
  bool plain = name.empty() || name.compare(0, 4, "AFX_") == 0 || name.compare(0, 4, "MSG_") == 0 ||
               (len > 2 && (name.compare(len - 2, 2, "_H") == 0 || name.compare(len - 2, 2, "_h") == 0));
  if (plain) {
    out_ += esc("#define" + t_.substr(i_, end - i_));
    i_ = end;
    return;
  }
  int a = ++anchor_;
  ourVers(web_, ctree::defines, name, page_ + fmt(".htm#%i", a));
  out_ += fmt("\n#define <a name=%i></a><u>%s</u>", a, esc(name).c_str());
  out_ += esc(t_.substr(n, end - n));
  i_ = end;
}

// "#ifdef _DEBUG" goes with its text up to the "#else" or "#endif" of its
// level, through that line; an "#else" branch stays.
void cpp_reader::skip_debug_block() {
  int level = 0;
  size_t p = i_ < t_.size() ? i_ + 1 : i_;
  while (p < t_.size()) {
    size_t q = p;
    while (q < t_.size() && is_blank(t_[q])) q++;
    size_t e = eol(t_, q);
    if (q < t_.size() && t_[q] == '#') {
      q++;
      while (q < e && is_blank(t_[q])) q++;
      if (starts(t_, q, "if")) {
        level++;
      } else if (starts(t_, q, "endif") || ((starts(t_, q, "else") || starts(t_, q, "elif")) && level == 0)) {
        if (level-- == 0) {
          i_ = e;
          return;
        }
      }
    }
    p = e + 1;
  }
  i_ = t_.size();
}

void cpp_reader::tail() {
  if (!frames_.empty()) brace_error_ = true;
  if (brace_error_) {
    out_ += "&nbsp;<br><b>There seem to be syntax errors ( at least one missing \" ).</b>";
  }
  std::string inc = !brace_error_ && web_.included() ? fmt("<a href=../bf/%i.htm>is_inc_for</a> . ", fNr_) : "";
  std::string folder = src_.substr(0, src_.size() - base_.size());
  out_ += "\n</pre></font><a name=eof></a><font face=\"Verdena,Arial\">\n<font size=2><a href=#top>top</a> . " +
          inc + "<a href=../cpp.htm>C++</a>\n<font size=4>" + esc2(folder) + "<b>" + esc2(base_) +
          "</b><br></font>\nInclude-structure of<br>" + esc2(base_) + "<br><br>";
  out_ += "\n<pre-";
}
