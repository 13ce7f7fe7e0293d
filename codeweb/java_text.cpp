#include "codeweb/java_text.h"

#include <cctype>
#include <cstdio>
#include <cstring>

#include "codeweb/code_lex.h"

using namespace codelex;

namespace {

bool is_statement_word(const std::string& w) {
  static const char* const words[] = {"return", "else", "new", "throw", "case", "yield", "assert",
                                      "if", "while", "switch", "synchronized", "do", "record",
                                      "catch", "for", "try", "goto", "await"};
  for (const char* k : words)
    if (w == k) return true;
  return false;
}

// From `q` (an index into `l`, the last character of a type) back over a
// type: a word, optionally with "<...>" and "[]" behind it.  Returns the
// index of the type's first character, or npos when there is no type.
size_t type_start(const std::string& l, size_t q) {
  while (true) {
    if (l[q] == ']') {
      size_t k = l.rfind('[', q);
      if (k == std::string::npos || k == 0) return std::string::npos;
      q = k - 1;
    } else if (l[q] == '>') {
      int depth = 0;
      size_t k = q + 1;
      while (k-- > 0) {
        if (l[k] == '>') depth++;
        if (l[k] == '<' && --depth == 0) break;
      }
      if (k == std::string::npos || k == 0 || depth != 0) return std::string::npos;
      q = k - 1;
    } else {
      break;
    }
  }
  if (!is_word_char(l[q])) return std::string::npos;
  size_t b = q + 1;
  while (b > 0 && (is_word_char(l[b - 1]) || l[b - 1] == '.')) b--;
  return b;
}

// Whether one line of code declares a method without visibility.
bool default_vis(const std::string& l) {
  size_t p = l.find('(');
  if (p == std::string::npos || l.find('}') != std::string::npos) return false;
  for (const char* w : {"public ", "protected ", "private ", "for ", "for(", "new ", "catch"})
    if (l.find(w) != std::string::npos) return false;
  // Behind the "(": a name, white space and a type.
  size_t q = p;
  while (q > 0 && is_blank(l[q - 1])) q--;
  size_t ne = q;
  while (q > 0 && is_word_char(l[q - 1])) q--;
  if (q == ne || q == 0 || !is_blank(l[q - 1])) return false;
  std::string name = l.substr(q, ne - q);
  while (q > 0 && is_blank(l[q - 1])) q--;
  if (q == 0) return false;
  size_t ts = type_start(l, q - 1);
  if (ts == std::string::npos) return false;
  if (is_statement_word(name) || is_statement_word(l.substr(ts, q - ts))) return false;
  // The line's own head decides last: behind its first word a letter.
  size_t h = 0;
  while (h < l.size() && is_blank(l[h])) h++;
  if (h < l.size() && l[h] == '@') return false;
  while (h < l.size() && is_word_char(l[h])) h++;
  if (h < l.size() && l[h] == '<') {
    int depth = 0;
    for (; h < l.size(); h++) {
      if (l[h] == '<') depth++;
      if (l[h] == '>' && --depth == 0) break;
    }
    h++;
  }
  while (h < l.size() && (is_blank(l[h]) || l[h] == '[' || l[h] == ']')) h++;
  return h < l.size() && isalpha((unsigned char)l[h]);
}

void skip_state(line_lexer& lex, const std::string& line) {
  bool lead = false;
  lex.braces(line, &lead);
}

}  // namespace

std::string see_default_vis(const std::string& text) {
  std::string out;
  out.reserve(text.size() + 256);
  line_lexer lex;
  size_t b = 0;
  while (b < text.size()) {
    size_t nl = text.find('\n', b);
    if (nl == std::string::npos) nl = text.size();
    std::string line = text.substr(b, nl - b);
    size_t f = line.find_first_not_of(" \t");
    if (!lex.in_comment && !lex.in_block && f != std::string::npos && line.compare(f, 2, "/*") == 0) {
      // A comment that begins a line is copied whole and ends its line.
      size_t close = text.find("*/", b + f + 2);
      if (close == std::string::npos) {
        out.append(text, b, std::string::npos);
        break;
      }
      out.append(text, b, close + 2 - b);
      out += '\n';
      b = close + 2;
      while (b < text.size() && is_blank(text[b])) b++;
      if (b < text.size() && text[b] == '\n') b++;
      continue;
    }
    bool code = !lex.in_comment && !lex.in_block;
    if (code && default_vis(line)) {
      size_t h = line.find_first_not_of(" \t");
      line.insert(h, "public defVis ");
    }
    out += line;
    if (nl < text.size()) out += '\n';
    skip_state(lex, line);
    b = nl + 1;
  }
  return out;
}

namespace {

std::string trim(const std::string& s) {
  size_t b = s.find_first_not_of(" \t");
  if (b == std::string::npos) return "";
  size_t e = s.find_last_not_of(" \t");
  return s.substr(b, e + 1 - b);
}

bool ends_with_nocase(const std::string& s, const char* tail) {
  size_t n = strlen(tail);
  if (s.size() < n) return false;
  for (size_t k = 0; k < n; k++)
    if (tolower((unsigned char)s[s.size() - n + k]) != tail[k]) return false;
  return true;
}

// A comment line without its star prefix, its "/*" head and its trailing
// blanks, stars, "<p>", "<br>" and "<br/>".
std::string comment_line(std::string s, bool first) {
  s = trim(s);
  if (first && s.compare(0, 2, "/*") == 0) s.erase(0, 2);
  size_t k = 0;
  while (k < s.size() && (s[k] == '*' || is_blank(s[k]))) k++;
  s.erase(0, k);
  while (!s.empty() && (s.back() == '*' || is_blank(s.back()))) s.pop_back();
  for (bool cut = true; cut;) {
    cut = false;
    for (const char* tail : {"<p>", "<br>", "<br/>"}) {
      if (ends_with_nocase(s, tail) && s.size() > strlen(tail)) {
        s.resize(s.size() - strlen(tail));
        while (!s.empty() && is_blank(s.back())) s.pop_back();
        cut = true;
      }
    }
  }
  return s;
}

int tip_of(const std::string& s, const std::vector<std::string>& tips) {
  std::string t = trim(s.substr(1));
  while (!t.empty() && (is_blank(t.back()) || t.back() == '.' || t.back() == ',')) t.pop_back();
  for (size_t i = 0; i < tips.size(); i++)
    if (!t.empty() && tips[i] == t) return (int)i + 1;
  return 0;
}

}  // namespace

int do_comment(std::string& out, const std::string& text, bool closed,
               const std::vector<std::string>& tips, int* lines) {
  int blanks = 0;
  bool wrote = false;
  bool para = true;  // the next line begins a paragraph
  size_t b = 0;
  for (bool first = true; b <= text.size(); first = false) {
    size_t nl = text.find('\n', b);
    if (nl == std::string::npos) nl = text.size();
    std::string s = comment_line(text.substr(b, nl - b), first);
    b = nl + 1;
    if (s.empty() || s == "<p>" || s == "<P>") {
      blanks++;
      continue;
    }
    std::string pipes = wrote ? std::string(2 * (blanks < 4 ? blanks : 4), ' ') : "";
    for (size_t k = 0; k < pipes.size(); k += 2) pipes.replace(k, 2, "\n|");
    if (s[0] == '-') {
      if (int tip = tip_of(s, tips)) {
        char buf[64];
        snprintf(buf, sizeof buf, "\n|  -  <a href=tip%i.htm>", tip);
        out += pipes + buf + tips[tip - 1] + "</a>";
        ++*lines;
        wrote = true;
        blanks = 0;
        continue;
      }
    }
    if ((para || blanks > 0) && islower((unsigned char)s[0])) s[0] = (char)toupper((unsigned char)s[0]);
    std::string esc;
    for (char c : s) esc += c == '<' ? std::string("&lt;") : std::string(1, c);
    out += pipes + "\n|" + esc;
    ++*lines;
    wrote = true;
    para = false;
    blanks = 0;
  }
  return closed ? ' ' : 0;
}

namespace {

// A line of comment text: a "|" with only blanks, or the opening of a
// comment, in front of it, and text behind it that is not a know-how link.
bool comment_text_line(const std::string& l) {
  static const std::string co = "<font class=\"co\">";
  size_t p = l.find('|');
  if (p == std::string::npos) return false;
  size_t f = l.find_first_not_of(' ');
  bool opens = p >= co.size() && l.compare(p - co.size(), co.size(), co) == 0;
  if (f != p && !opens) return false;
  std::string rest = l.substr(p + 1);
  return !rest.empty() && rest.compare(0, 5, "  -  ") != 0;
}

std::vector<std::string> lines_of(const std::string& s) {
  std::vector<std::string> v;
  size_t b = 0;
  while (b <= s.size()) {
    size_t nl = s.find('\n', b);
    if (nl == std::string::npos) nl = s.size();
    v.push_back(s.substr(b, nl - b));
    b = nl + 1;
  }
  return v;
}

}  // namespace

std::string shorter(const std::string& page) {
  std::vector<std::string> in = lines_of(page);
  // First pass: the lines of one comment paragraph become one line.
  std::vector<std::string> mid;
  bool joinable = false;
  for (const std::string& l : in) {
    if (joinable && comment_text_line(l) && l.find('|') == l.find_first_not_of(' ')) {
      mid.back() += ' ' + l.substr(l.find('|') + 1);
      continue;
    }
    mid.push_back(l);
    joinable = comment_text_line(l) && mid.back().find("</font>") == std::string::npos &&
               mid.back().find("</FONT>") == std::string::npos;
  }
  // Second pass: a line "{" is joined with the line behind it.
  std::string out;
  out.reserve(page.size());
  for (size_t k = 0; k < mid.size(); k++) {
    std::string l = mid[k];
    while (trim(l) == "{" && k + 1 < mid.size()) {
      size_t n = k + 1;
      while (n + 1 < mid.size() && trim(mid[n]).empty()) {
        std::string after = trim(mid[n + 1]);
        if (after.empty() || (after[0] != '}' && after[0] != '+')) break;
        n++;
      }
      if (trim(mid[n]).empty()) break;
      l += ' ' + trim(mid[n]);
      k = n;
    }
    out += l;
    if (k + 1 < mid.size()) out += '\n';
  }
  return out;
}
