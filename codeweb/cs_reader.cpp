// The C# page reader: see codeweb/cs_reader.h.
#include "codeweb/cs_reader.h"

#include <cstring>

#include "engine/escape.h"

namespace {

bool name_char(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         (unsigned char)c >= 0x80;
}
bool blank(char c) { return c == ' ' || c == '\t'; }
bool white(char c) { return blank(c) || c == '\n' || c == '\r'; }

const char* const type_words[] = {"class", "interface", "struct", "record", "enum"};

std::string trimmed(std::string s) {
  while (!s.empty() && white(s.back())) s.pop_back();
  size_t a = 0;
  while (a < s.size() && white(s[a])) a++;
  return s.substr(a);
}

// A documentation line without its tags; the quoted values of a tag's
// attributes stay (the name of a parameter), each followed by ": ".
std::string untagged(const std::string& s) {
  std::string o;
  for (size_t i = 0; i < s.size(); i++) {
    if (s[i] != '<') {
      o += s[i];
      continue;
    }
    size_t e = s.find('>', i);
    if (e == std::string::npos) {
      o += s.substr(i);
      break;
    }
    for (size_t q = i; q < e; q++) {  // within the tag only: linear in the line
      if (s[q] != '"') continue;
      size_t r = q + 1;
      while (r < e && s[r] != '"') r++;
      if (r >= e) break;
      o += s.substr(q + 1, r - q - 1) + ": ";
      q = r;
    }
    i = e;
  }
  return html_text(trimmed(o));
}

}  // namespace

void cs_reader::reset() {
  classes.clear();
  supers.clear();
  members.clear();
  namespaces.clear();
  statics.clear();
  mains.clear();
  neLoCode = 0;
  i_ = 0;
  out_.clear();
  anchor_ = depth_ = 0;
  scopes_.clear();
  pending_class_.clear();
  pending_ns_.clear();
  ns_.clear();
  line_start_ = std::string::npos;
  line_end_ = 0;
  tail_.clear();
}

std::string cs_reader::page_of(const std::string& text, const std::string& src, int fNr) {
  reset();
  t_ = text;
  src_ = src;
  page_ = std::to_string(fNr / 100) + "/" + std::to_string(fNr % 100);
  size_t slash = src.find_last_of('/');
  entity_ = slash == std::string::npos ? src : src.substr(slash + 1);
  bool seen = false;
  for (char c : t_) {
    if (c == '\n') {
      neLoCode += seen;
      seen = false;
    } else if (!white(c)) {
      seen = true;
    }
  }
  neLoCode += seen;
  out_ = page_head + title_head + html_text(src) + title_tail + "<a name=top></a><pre class=c><font size=2>";
  while (i_ < t_.size()) step();
  return out_ + tail();
}

void cs_reader::code(char c) { out_ += html_text(std::string_view(&c, 1)); }

void cs_reader::code(const std::string& s) { out_ += html_text(s); }

bool cs_reader::word_at(size_t at, const char* w) const {
  size_t n = strlen(w);
  return t_.compare(at, n, w) == 0 && (at + n >= t_.size() || !name_char(t_[at + n]));
}

bool cs_reader::boundary_before(size_t at) const {
  return at == 0 || (!name_char(t_[at - 1]) && t_[at - 1] != '@' && t_[at - 1] != '.');
}

void cs_reader::step() {
  char c = t_[i_];
  char n = i_ + 1 < t_.size() ? t_[i_ + 1] : 0;
  if (c == '\n') return newline();
  if (c == '"' || ((c == '@' || c == '$') && (n == '"' || ((n == '@' || n == '$') && i_ + 2 < t_.size() &&
                                                         t_[i_ + 2] == '"'))))
    return string_literal();
  if (c == '\'') return char_literal();
  if (c == '/' && (n == '/' || n == '*')) return comment();
  if (c == '#') {
    size_t b = i_;
    while (b > 0 && blank(t_[b - 1])) b--;
    if (b == 0 || t_[b - 1] == '\n') return directive();
  }
  if (c == '{' || c == '}') return brace(c);
  if (c == ';' && !pending_class_.empty()) pending_class_.clear();  // record R(int A);
  if (c == ';') pending_ns_.clear();
  if (!name_char(c) || !boundary_before(i_)) {
    code(c);
    i_++;
    return;
  }
  if (c == 'p' && (n == 'r' || n == 'u') && visibility()) return;
  for (const char* w : type_words)
    if (word_at(i_, w) && type_head(i_, nullptr)) return;
  if (word_at(i_, "static") && i_ + 6 < t_.size() && white(t_[i_ + 6]) && i_ > 0 && white(t_[i_ - 1]))
    return static_word();
  if (word_at(i_, "return")) {
    out_ += "<font class=kw>return</font>";
    i_ += 6;
    return;
  }
  if (word_at(i_, "namespace") && namespace_line()) return;
  if ((word_at(i_, "Main") || word_at(i_, "main")) && i_ + 4 < t_.size() && t_[i_ + 4] == '(') {
    out_ += "<a id=" + std::to_string(++anchor_) + "></a>";
    entry_point(anchor_);
  }
  size_t e = i_;
  while (e < t_.size() && name_char(t_[e])) e++;
  code(t_.substr(i_, e - i_));
  i_ = e;
}

// A run of three or more line ends is one blank line.
void cs_reader::newline() {
  size_t e = i_;
  int lines = 0;
  for (size_t p = i_; p < t_.size() && white(t_[p]); p++)
    if (t_[p] == '\n') {
      lines++;
      e = p;
    }
  if (lines >= 3) {
    out_ += "\n\n";
    i_ = e + 1;
    return;
  }
  out_ += '\n';
  i_++;
}

void cs_reader::string_literal() {
  size_t a = i_, p = i_;
  bool verbatim = false, interpolated = false;
  while (t_[p] != '"') {
    verbatim = verbatim || t_[p] == '@';
    interpolated = interpolated || t_[p] == '$';
    p++;
  }
  size_t quotes = 0;
  while (p + quotes < t_.size() && t_[p + quotes] == '"') quotes++;
  if (quotes >= 3) {  // a raw string: up to the same run of quotes
    size_t e = t_.find(std::string(quotes, '"'), p + quotes);
    i_ = e == std::string::npos ? t_.size() : e + quotes;
  } else {
    p++;
    int hole = 0;
    while (p < t_.size()) {
      char c = t_[p];
      if (!verbatim && c == '\n') break;  // an open string ends with its line
      if (interpolated && c == '{') {
        if (hole == 0 && p + 1 < t_.size() && t_[p + 1] == '{') {
          p += 2;
          continue;
        }
        hole++;
      } else if (hole > 0 && c == '}') {
        hole--;
      } else if (hole > 0 && c == '"') {  // a string inside a hole: to its end on this line
        p++;
        while (p < t_.size() && t_[p] != '"' && t_[p] != '\n') p += t_[p] == '\\' ? 2 : 1;
      } else if (c == '\\' && !verbatim) {
        p++;
      } else if (c == '"') {
        if (verbatim && p + 1 < t_.size() && t_[p + 1] == '"') {
          p += 2;
          continue;
        }
        if (hole == 0) {
          p++;
          break;
        }
      }
      p++;
    }
    i_ = p < t_.size() ? p : t_.size();
  }
  out_ += "<font class=kw>" + html_text(t_.substr(a, i_ - a)) + "</font>";
}

void cs_reader::char_literal() {
  size_t e = std::string::npos;
  if (i_ + 2 < t_.size() && t_[i_ + 1] != '\\' && t_[i_ + 2] == '\'') e = i_ + 3;
  else if (i_ + 1 < t_.size() && t_[i_ + 1] == '\\')
    for (size_t p = i_ + 3; p < t_.size() && p < i_ + 12 && t_[p] != '\n'; p++)
      if (t_[p] == '\'') {
        e = p + 1;
        break;
      }
  if (e == std::string::npos || e > t_.size()) {
    code('\'');
    i_++;
    return;
  }
  code(t_.substr(i_, e - i_));
  i_ = e;
}

void cs_reader::comment() {
  if (t_[i_ + 1] == '*') {
    size_t e = t_.find("*/", i_ + 2);
    e = e == std::string::npos ? t_.size() : e + 2;
    out_ += "<font class=co>" + html_text(t_.substr(i_, e - i_)) + "</font>";
    i_ = e;
    return;
  }
  if (t_.compare(i_, 3, "///") == 0 && (i_ + 3 >= t_.size() || t_[i_ + 3] != '/')) return doc_comment();
  size_t e = t_.find('\n', i_);
  if (e == std::string::npos) e = t_.size();
  out_ += "<font class=co>" + html_text(t_.substr(i_, e - i_)) + "</font>";
  i_ = e;
}

// "///": the summary's text, "par:" and "res:" lines; the lines of the
// summary tags themselves go.
void cs_reader::doc_comment() {
  size_t e = t_.find('\n', i_);
  if (e == std::string::npos) e = t_.size();
  std::string line = trimmed(t_.substr(i_ + 3, e - i_ - 3));
  i_ = e;
  std::string shown;
  if (line.compare(0, 9, "<summary>") == 0 || line.compare(0, 10, "</summary>") == 0) {
    shown = untagged(line);
    if (shown.empty()) {  // the whole line goes, and its blanks in front
      while (!out_.empty() && blank(out_.back())) out_.pop_back();
      if (i_ < t_.size()) i_++;
      return;
    }
    shown = "/// " + shown;
  } else if (line.compare(0, 4, "<par") == 0) {
    shown = "/// par: " + untagged(line);
  } else if (line.compare(0, 4, "<ret") == 0) {
    shown = "/// res: " + untagged(line);
  } else {
    shown = "/// " + html_text(line);
  }
  out_ += "<font class=co>" + shown + "</font>";
}

void cs_reader::directive() {
  size_t e = t_.find('\n', i_);
  if (e == std::string::npos) e = t_.size();
  size_t w = i_ + 1;
  while (w < e && blank(t_[w])) w++;
  if (t_.compare(w, 6, "region") == 0 || t_.compare(w, 3, "end") == 0) {
    size_t we = w;
    while (we < e && name_char(t_[we])) we++;
    out_ += "<b><font class=kw size=+1>#" + html_text(t_.substr(w, we - w)) + "</font></b>" +
            html_text(t_.substr(we, e - we));
  } else {
    code(t_.substr(i_, e - i_));
  }
  i_ = e;
}

void cs_reader::brace(char c) {
  code(c);
  i_++;
  if (c == '{') {
    depth_++;
    if (!pending_class_.empty())
      scopes_.push_back({pending_class_, true, depth_});
    else if (!pending_ns_.empty())
      scopes_.push_back({pending_ns_, false, depth_});
    pending_class_.clear();
    pending_ns_.clear();
    return;
  }
  if (!scopes_.empty() && scopes_.back().depth == depth_) scopes_.pop_back();
  if (depth_ > 0) depth_--;
}

std::string cs_reader::current(bool is_class) const {
  for (size_t k = scopes_.size(); k-- > 0;)
    if (scopes_[k].is_class == is_class) return scopes_[k].name;
  return is_class ? "" : ns_;
}
