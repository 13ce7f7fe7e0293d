// The page of one COBOL source: see codeweb/cob_reader.h.
#include "codeweb/cob_reader.h"

#include <cerrno>
#include <cstdio>

#include "codeweb/code_lex.h"
#include "engine/escape.h"
#include "runtime/exec_ut.h"

namespace {
const char* const SRC = "cob_reader";

bool is_word(char c) {
  unsigned char u = (unsigned char)c;
  return (u >= 'A' && u <= 'Z') || (u >= 'a' && u <= 'z') || (u >= '0' && u <= '9') || c == '-' || c == '_' ||
         u >= 0x80;
}
bool is_letter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool is_blank(char c) { return c == ' ' || c == '\t'; }
bool is_digit(char c) { return c >= '0' && c <= '9'; }

std::string upper(std::string s) {
  for (char& c : s)
    if (c >= 'a' && c <= 'z') c = (char)(c - 'a' + 'A');
  return s;
}

using codelex::fmt;

}  // namespace

size_t cob_reader::eol(size_t from) const {
  size_t e = t_.find('\n', from);
  return e == std::string::npos ? t_.size() : e;
}

void cob_reader::reset(int fNr, const std::string& path) {
  u_ = t_;
  for (char& c : u_)
    if (c >= 'a' && c <= 'z') c = (char)(c - 'a' + 'A');
  i_ = body_ = 0;
  fixed_ = first_word_ = procedure_ = quote_missing = false;
  prev_word_.clear();
  out_.clear();
  path_ = path;
  anchor_ = commands = 0;
  sections_.clear();
  defs.clear();
  uses.clear();
  sql.clear();
  notes.clear();
  page = fmt("cob/%i/%i.htm", fNr / 100, fNr % 100);
  size_t slash = path.find_last_of('/');
  stem = path.substr(slash == std::string::npos ? 0 : slash + 1);
  size_t dot = stem.rfind('.');
  if (dot != std::string::npos && dot > 0) stem.erase(dot);
  caller_ = upper(stem);
}

std::string cob_reader::page_of(std::string text, int fNr, const std::string& path) {
  // A NUL is a blank, CR LF and a lone CR end a line.
  t_.clear();
  t_.reserve(text.size());
  bool binary = false;
  for (size_t k = 0; k < text.size(); k++) {
    char c = text[k];
    if (c == '\0') {
      c = ' ';
      binary = true;
    }
    if (c == '\r') {
      if (k + 1 < text.size() && text[k + 1] == '\n') continue;
      c = '\n';
    }
    t_ += c;
  }
  std::string().swap(text);
  reset(fNr, path);
  if (binary) notes.push_back("NUL bytes read as blanks");
  scan();
  if (quote_missing) notes.push_back("a literal without its closing quote");
  std::string head = fmt("\n%s<a name=top></a><a href=#eof>meta</a>\n", frame_.head) + frame_.title_head +
                     html_text(path) + frame_.title_tail + "<pre class=\"Classes\"><font size=2>";
  std::string tail = "</pre>\n</font><a name=eof></a><font face=\"Verdena,Arial\" size=1>" + section_list();
  if (quote_missing) tail += "&nbsp;<br><b>There seem to be syntax errors ( at least one missing \" ).</b>";
  for (auto& n : notes) tail += "\n<br>note: " + html_text(n);
  tail += "\n<br><br><a href=#top>top</a> . <a href=../../cobp.htm>ALL Code</a>\n<br>";
  tail += fmt("%i cob Commands = <br>", commands) + html_text(path) + "\n</font></BODY></HTML>\n";
  std::string result = head + out_ + tail;
  out_.clear();
  std::string().swap(t_);
  std::string().swap(u_);
  return result;
}

void cob_reader::emit(size_t from, size_t to) {
  if (from < to) out_ += html_text(std::string_view(t_).substr(from, to - from));
}

void cob_reader::copy_to_eol() {
  size_t e = eol(i_);
  emit(i_, e);
  i_ = e;
}

// At the start of a line: a sequence area of six digits is copied, and an
// indicator "*" or "/" behind it makes the line a comment; so does "*" as
// the first character of a line in free form.
void cob_reader::line_start() {
  size_t e = eol(i_);
  fixed_ = false;
  if (e - i_ >= 6) {
    fixed_ = true;
    for (size_t k = i_; k < i_ + 6; k++) fixed_ = fixed_ && is_digit(t_[k]);
  }
  if (fixed_) {
    emit(i_, i_ + 6);
    i_ += 6;
    if (i_ < e && (t_[i_] == '*' || t_[i_] == '/')) return copy_to_eol();
  }
  size_t k = i_;
  while (k < e && is_blank(t_[k])) k++;
  emit(i_, k);
  i_ = k;
  if (i_ < e && t_[i_] == '*') return copy_to_eol();
  body_ = i_;
  first_word_ = true;
  prev_word_.clear();
}

void cob_reader::scan() {
  line_start();
  while (i_ < t_.size()) {
    char c = t_[i_];
    if (c == '\n') {
      out_ += '\n';
      i_++;
      line_start();
    } else if (c == '"' || c == '\'') {
      literal();
    } else if (c == '*' && i_ + 1 < t_.size() && t_[i_ + 1] == '>') {
      copy_to_eol();
    } else if (is_word(c) && (i_ == 0 || !is_word(t_[i_ - 1]))) {
      word();
    } else {
      if (c == '<') commands++;
      emit(i_, i_ + 1);
      i_++;
    }
  }
}

// A literal runs to its closing quote on the same line; one without it is
// copied to the line's end and noted.
void cob_reader::literal() {
  char q = t_[i_];
  size_t e = eol(i_);
  size_t j = t_.find(q, i_ + 1);
  if (j == std::string::npos || j >= e) {
    quote_missing = true;
    return copy_to_eol();
  }
  emit(i_, j + 1);
  i_ = j + 1;
  first_word_ = false;
}

void cob_reader::word() {
  size_t j = i_;
  while (j < t_.size() && is_word(t_[j])) j++;
  std::string w = u_.substr(i_, j - i_);
  bool first = first_word_;
  first_word_ = false;
  char next = j < t_.size() ? t_[j] : '\0';
  if (w == "DISPLAY") {
    commands++;
    return copy_to_eol();
  }
  if (w == "PROGRAM-ID" && next == '.') return commands++, program_id(j);
  if (w == "ENTRY" && is_blank(next)) return entry(j);
  if (w == "EXEC" && (is_blank(next) || next == '\n')) return commands++, exec(j);
  if (w == "CALL" || w == "COPY") return commands++, call_or_copy(w, j);
  if (w == "01" && first && is_blank(next)) return storage(j);
  if (w == "DIVISION" || w == "SECTION") section_word(w);
  if (w.compare(0, 4, "COMP") == 0 && (w.size() == 4 || w[4] == '-')) return commands++, comp_clause();
  if (w == "PIC" || w == "PICTURE" || w == "INVOKE" || w == "USAGE") commands++;
  emit(i_, j);
  prev_word_ = w;
  i_ = j;
}

// A usage COMP (or COMP-n) and what follows it up to its period are copied
// as they stand.  The copy ends at the line's end, where a clause without a
// period on this line goes on being read word by word, so that sequence
// areas and comment lines below it keep their meaning.
void cob_reader::comp_clause() {
  size_t e = eol(i_), dot = t_.find('.', i_);
  size_t end = dot < e ? dot + 1 : e;
  emit(i_, end);
  prev_word_ = "COMP";
  i_ = end;
}

void cob_reader::fail(const char* what, size_t at) const {
  int line = 1;
  for (size_t k = 0; k < at && k < t_.size(); k++) line += t_[k] == '\n';
  errno = 0;
  exut.fail(__LINE__, SRC, "User: %s in %s, line %i\n", what, path_.c_str(), line);
}

// A program, an entry point or a level-01 structure: its anchor, its row of
// the section list, and for a program the head of its SQL rows.
void cob_reader::define(char tag, std::string name, const char* what, size_t at) {
  // A quote inside a quoted name is no part of it: relation keys hold none.
  std::erase_if(name, [](char c) { return c == '"' || c == '\''; });
  if (name.empty() || !is_letter(name[0])) {
    std::string m = std::string("c: a ") + what + " name that does not begin with a letter: " + name;
    fail(m.c_str(), at);
  }
  int a = ++anchor_;
  out_ += fmt("<a name=%i></a>", a);
  std::string N = upper(name);
  defs.push_back({tag, N, a});
  sections_.push_back({a, std::string(1, tag) + " .. " + N});
  if (tag != 'p') return;
  caller_ = N;
  sql += "\n p .. " + N + " [" + page + fmt("#%i]\n\n", a);
}

// "PROGRAM-ID. name." with the name plain or quoted, on the same line.
void cob_reader::program_id(size_t word_end) {
  size_t e = eol(word_end), k = word_end + 1, s, end, behind;
  while (k < e && is_blank(t_[k])) k++;
  if (k < e && (t_[k] == '"' || t_[k] == '\'')) {
    s = k + 1;
    end = t_.find(t_[k], s);
    if (end == std::string::npos || end > e) end = e;
    behind = end < e ? end + 1 : e;
  } else {
    s = end = k;
    while (end < e && t_[end] != '.' && t_[end] != '"' && t_[end] != '\'' && !is_blank(t_[end])) end++;
    behind = end;
  }
  if (end == s) {  // the name is on a later line: the word stays plain
    emit(i_, word_end + 1);
    i_ = word_end + 1;
    return;
  }
  define('p', t_.substr(s, end - s), "program", s);
  emit(i_, behind);
  i_ = behind;
}

// "ENTRY 'name'": the module's next name, from now on the caller.
void cob_reader::entry(size_t word_end) {
  size_t e = eol(word_end), k = word_end;
  while (k < e && is_blank(t_[k])) k++;
  size_t end = k < e && (t_[k] == '"' || t_[k] == '\'') ? t_.find(t_[k], k + 1) : std::string::npos;
  if (end == std::string::npos || end > e) {
    emit(i_, word_end);
    i_ = word_end;
    return;
  }
  commands++;
  std::string name = t_.substr(k + 1, end - k - 1);
  for (size_t b = 0; b < name.size(); b++)
    if (is_blank(name[b])) name.erase(b);
  define('p', name, "entry", k);
  emit(i_, end + 1);
  i_ = end + 1;
}

// "01 NAME." as the first word of a line: storage.  "01 NAME PIC ..." is not.
void cob_reader::storage(size_t word_end) {
  size_t e = eol(word_end), k = word_end;
  while (k < e && is_blank(t_[k])) k++;
  size_t end = k;
  while (end < e && !is_blank(t_[end])) end++;
  if (end - k < 2 || t_[end - 1] != '.') {
    emit(i_, word_end);
    prev_word_ = "01";
    i_ = word_end;
    return;
  }
  commands++;
  emit(i_, k);
  define('s', t_.substr(k, end - 1 - k), "structure", k);
  emit(k, end);
  i_ = end;
}

// CALL and COPY, upper case, with their target as a mark; a COPY is copied
// on to its period.
void cob_reader::call_or_copy(const std::string& w, size_t word_end) {
  size_t k = word_end;
  while (k < t_.size() && is_blank(t_[k])) k++;
  size_t end = k;
  while (end < t_.size() && (is_word(t_[end]) || t_[end] == '.' || t_[end] == '"' || t_[end] == '\'')) end++;
  while (end > k && t_[end - 1] == '.') end--;
  std::string name;
  for (size_t j = k; j < end; j++)
    if (t_[j] != '"' && t_[j] != '\'') name += t_[j];
  if (w == "COPY")
    for (const char* x : {".CPY", ".COB", ".CBL", ".PCO", ".LIB"})
      if (name.size() > 4 && upper(name.substr(name.size() - 4)) == x) name.erase(name.size() - 4);
  if (name.empty() || name.find('.') != std::string::npos) {
    out_ += w;
    i_ = word_end;
    return;
  }
  int a = ++anchor_;
  out_ += fmt("<a name=%i></a> <a href=#eof><b><font size=4>", a) + w + " " + html_text(name) + "</font></b></a> ";
  sections_.push_back({a, w + " " + name});
  uses.push_back({"p .. " + caller_ + (w == "CALL" ? "~p .. " : "~s .. ") + upper(name), a});
  i_ = end;
  if (w != "COPY") return;
  size_t dot = t_.find('.', i_);
  if (dot == std::string::npos || dot - i_ > look_ahead) return;
  emit(i_, dot + 1);
  i_ = dot + 1;
}

// The text of an EXEC statement for tables.xxx: sequence areas and comment
// lines of fixed form are left out.
std::string cob_reader::sql_text(size_t from, size_t to) const {
  std::string s;
  for (size_t k = from; k < to;) {
    size_t e = std::min(eol(k), to);
    s.append(t_, k, e - k);
    if (e >= to) break;
    s += '\n';
    k = e + 1;
    bool seq = to - k >= 6;
    for (size_t d = k; seq && d < k + 6; d++) seq = is_digit(t_[d]);
    if (seq) k += 6;
    if (seq && k < to && t_[k] == '*') k = std::min(eol(k), to);
  }
  return s;
}

// EXEC ... END-EXEC: an anchor, the statement on the page and in tables.xxx.
// Without END-EXEC in reach the statement ends at the next period.
void cob_reader::exec(size_t word_end) {
  size_t limit = std::min(t_.size(), word_end + look_ahead);
  size_t e = u_.find("END-EXEC", word_end), behind;
  if (e == std::string::npos || e > limit) {
    notes.push_back("EXEC without END-EXEC");
    e = word_end;
    while (e < limit && !(t_[e] == '.' && (e + 1 == t_.size() || t_[e + 1] == ' ' || t_[e + 1] == '\n'))) e++;
    behind = e;
  } else {
    behind = e + 8;
  }
  int a = ++anchor_;
  out_ += fmt("<a name=%i></a>", a);
  sql += "\np .. " + caller_ + " [" + page + fmt("#%i]\n\n", a) + sql_text(i_, e) + ";\n\n";
  emit(i_, behind);
  i_ = behind;
}

void cob_reader::section_word(const std::string& w) {
  if (prev_word_.empty() || !is_letter(prev_word_[0])) return;
  int a = ++anchor_;
  out_ += fmt("<a name=%i></a>", a);
  if (w == "DIVISION") {
    if (prev_word_ == "PROCEDURE") procedure_ = true;
    sections_.push_back({a, prev_word_ + " DIVISION"});
  } else {
    sections_.push_back({a, procedure_ ? "PROC " + prev_word_ : prev_word_ + " SECTION"});
  }
}

std::string cob_reader::section_list() const {
  std::string s;
  for (auto& [a, text] : sections_) {
    bool section = text.size() > 8 && text.compare(text.size() - 8, 8, " SECTION") == 0;
    bool bold = section || text.compare(0, 5, "PROC ") == 0 ||
                (text.size() > 9 && text.compare(text.size() - 9, 9, " DIVISION") == 0);
    const char* prefix = section || text.compare(0, 5, "COPY ") == 0 ? ""
                         : text.compare(0, 5, "s .. ") == 0            ? "STRU "
                                                                       : ". ";
    std::string shown = bold ? "<b>" + html_text(text) + "</b>" : html_text(text);
    s += fmt("\n<br><a href=#%i>", a) + prefix + shown + "</a>";
  }
  return s;
}
