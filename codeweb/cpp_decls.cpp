// Declarations the C and C++ reader marks on the page: class heads with
// their bases, typedefs, statics, ASSERTs, exceptions and embedded SQL.
#include <cerrno>
#include <cstdio>

#include "codeweb/cpp_lex.h"
#include "codeweb/cpp_reader.h"

using namespace cpplex;
using codelex::fmt;

namespace {

// The index of the first of `stops` at or after `i` outside comments and
// strings, within `limit`; npos when none.
size_t find_code(const std::string& t, size_t i, size_t limit, const char* stops) {
  for (size_t j = i; j < limit && j < t.size(); j++) {
    size_t k = skip_quoted(t, j);
    if (k != j) {
      j = k - 1;
      continue;
    }
    if (strchr(stops, t[j])) return j;
  }
  return std::string::npos;
}

// Behind the "}" that closes the "{" at `open`; npos when it never closes.
size_t block_end(const std::string& t, size_t open) {
  int depth = 0;
  for (size_t j = open; j < t.size(); j++) {
    size_t k = skip_quoted(t, j);
    if (k != j) {
      j = k - 1;
      continue;
    }
    if (t[j] == '{') depth++;
    if (t[j] == '}' && --depth == 0) return j + 1;
  }
  return std::string::npos;
}

// The last name of a declarator list ("Foo, *PFoo" -> "PFoo"), its "[..]"
// left out.
std::string last_name(const std::string& s) {
  size_t e = s.size();
  while (e > 0 && !is_word_char(s[e - 1])) {
    if (s[e - 1] == ']') {
      size_t b = s.rfind('[', e);
      if (b == std::string::npos) break;
      e = b;
      continue;
    }
    e--;
  }
  size_t b = e;
  while (b > 0 && is_word_char(s[b - 1])) b--;
  return s.substr(b, e - b);
}

std::string remove_spaces(const std::string& s) {
  std::string r;
  for (char c : s)
    if (!is_blank(c) && c != '\n') r += c;
  return r;
}

// The name of a class head (the text between "class" and "{"): the last
// word before a ":" of the bases, with its "<...>" arguments; `*colon` is
// that ":" (npos when there are no bases).
std::string to_className(const std::string& head, size_t* colon) {
  int angle = 0;
  for (size_t k = 0; k < head.size(); k++) {
    if (head[k] == '<') angle++;
    else if (head[k] == '>' && angle > 0) angle--;
    else if (head[k] == ':' && angle == 0) {
      if (k + 1 < head.size() && head[k + 1] == ':') {
        k++;
        continue;
      }
      *colon = k;
      break;
    }
  }
  std::string np = trim(head.substr(0, *colon));
  if (np.size() > 6 && np.compare(np.size() - 6, 6, " final") == 0) np = trim(np.substr(0, np.size() - 6));
  size_t k = np.size();
  if (k > 0 && np[k - 1] == '>') {
    int d = 0;
    do {
      d += np[k - 1] == '>' ? 1 : np[k - 1] == '<' ? -1 : 0;
      k--;
    } while (k > 0 && d > 0);
    while (k > 0 && is_blank(np[k - 1])) k--;
  }
  while (k > 0 && is_word_char(np[k - 1])) k--;
  return remove_spaces(np.substr(k));
}

}  // namespace

bool cpp_reader::class_head() {
  std::string before = word_before(t_, i_);
  if (before == "enum") return false;
  size_t limit = std::min(t_.size(), i_ + look_ahead);
  if (before == "friend") {
    size_t semi = find_code(t_, i_, limit, ";");
    if (semi == std::string::npos) return false;
    code(t_.substr(i_, semi - i_));
    i_ = semi;
    return true;
  }
  // A "class" in a template's parameter list or a parameter is no head.
  size_t stop = std::string::npos;
  int angle = 0;
  for (size_t j = i_ + 5; j < limit && stop == std::string::npos; j++) {
    size_t k = skip_quoted(t_, j);
    if (k != j) {
      j = k - 1;
    } else if (t_[j] == '<') {
      angle++;
    } else if (t_[j] == '>') {
      if (angle-- == 0) return false;
    } else if (t_[j] == '(' || t_[j] == ')' || t_[j] == '=') {
      return false;
    } else if (t_[j] == ';' || t_[j] == '{') {
      stop = j;
    }
  }
  if (stop == std::string::npos) return false;
  if (t_[stop] == ';') {  // a forward declaration creates nothing
    code(t_.substr(i_, stop - i_));
    i_ = stop;
    return true;
  }
  std::string head;
  for (size_t j = i_ + 5; j < stop;) {
    size_t k = skip_quoted(t_, j);
    if (k != j) {
      head += ' ';
      j = k;
    } else {
      head += t_[j++];
    }
  }
  size_t colon = std::string::npos;
  std::string name = to_className(head, &colon);
  if (name.empty() || !is_word_char(name[0])) return false;
  int a = ++anchor_;
  int nr = web_.name_nr(name);
  std::string old;
  if (!web_.get(ctree::secs, name.substr(0, 252), &old)) web_.put(ctree::secs, name, "c" + page_ + fmt(".htm#%i", a));
  out_ += fmt("\n</pre><a name=%i></a>", a) + bar() + "class " + fmt("\n<font size=4><a href=../m/%i.htm>", nr) +
          esc2(name) + "</a></font>\n<pre class=c><font size=2><hr>";
  if (colon != std::string::npos) class_bases(name, i_ + 5, stop);
  code("class");
  i_ += 5;
  return true;
}

// The bases behind ":" up to the "{": each word up to a "," that is not
// an access or "virtual" word, its qualifiers left out.
void cpp_reader::class_bases(const std::string& name, size_t from, size_t end) {
  std::string text;
  for (size_t j = from; j < end;) {
    size_t k = skip_quoted(t_, j);
    if (k != j) {
      text += ' ';
      j = k;
    } else if (t_[j] == '#' && first_on_line(t_, j)) {
      j = eol(t_, j);
    } else {
      text += t_[j++];
    }
  }
  size_t colon = text.find(':');
  while (colon != std::string::npos && colon + 1 < text.size() && text[colon + 1] == ':')
    colon = text.find(':', colon + 2);
  if (colon == std::string::npos) return;
  std::string piece;
  int angle = 0;
  auto base = [&](const std::string& p) {
    std::string r;
    for (size_t b = 0; b < p.size();) {
      while (b < p.size() && (is_blank(p[b]) || p[b] == '\n')) b++;
      size_t e = b;
      int d = 0;
      while (e < p.size() && (d > 0 || !(is_blank(p[e]) || p[e] == '\n'))) {
        d += p[e] == '<' ? 1 : p[e] == '>' ? -1 : 0;
        e++;
      }
      std::string w = p.substr(b, e - b);
      if (!w.empty() && w != "public" && w != "protected" && w != "private" && w != "virtual" && w != "isA" &&
          w != "isA_")
        r += (r.empty() ? "" : " ") + w;
      b = e;
    }
    size_t q = std::string::npos;
    int d = 0;
    for (size_t i = 0; i + 1 < r.size(); i++) {
      d += r[i] == '<' ? 1 : r[i] == '>' ? -1 : 0;
      if (d == 0 && r[i] == ':' && r[i + 1] == ':') q = i;
    }
    if (q != std::string::npos) r = r.substr(q + 2);
    if (!r.empty() && is_word_char(r[0])) web_.put(ctree::supers, name + "~" + r, "-- class");
  };
  for (size_t j = colon + 1; j < text.size(); j++) {
    char c = text[j];
    if (c == '<') angle++;
    if (c == '>' && angle > 0) angle--;
    if (c == ',' && angle == 0) {
      base(piece);
      piece.clear();
    } else {
      piece += c;
    }
  }
  base(piece);
}

bool cpp_reader::typedef_text() {
  size_t q = i_ + 7;
  size_t limit = std::min(t_.size(), i_ + look_ahead);
  size_t stop = find_code(t_, q, limit, ";{");
  if (stop == std::string::npos) return false;
  std::string key, type;
  if (t_[stop] == '{') {
    size_t close = block_end(t_, stop);
    if (close == std::string::npos) return false;
    size_t semi = find_code(t_, close, std::min(t_.size(), close + look_ahead), ";");
    if (semi == std::string::npos) return false;
    key = last_name(t_.substr(close, semi - close));
    type = squeeze(t_.substr(q, stop - q)) + " ";
  } else {
    if (stop - q > (size_t)max_typedef) fail_input("a typedef longer than 250 bytes", i_);
    std::string text = squeeze(t_.substr(q, stop - q));
    size_t star = text.find("(*");
    if (star == std::string::npos) star = text.find("( *");
    size_t paren = text.find('(');
    if (star != std::string::npos) {  // a function pointer: the name in "(*name)"
      size_t b = text.find('*', star) + 1;
      while (b < text.size() && is_blank(text[b])) b++;
      size_t e = b;
      while (e < text.size() && is_word_char(text[e])) e++;
      key = text.substr(b, e - b);
      type = trim(text.substr(0, star));
    } else if (paren != std::string::npos) {
      key = last_name(text.substr(0, paren));
      type = trim(text.substr(0, paren - key.size()));
    } else {
      key = last_name(text);
      size_t at = text.rfind(key);
      type = trim(text.substr(0, at)) + text.substr(at + key.size());
    }
  }
  if (key.empty() || !is_word_char(key[0])) return false;
  int a = ++anchor_;
  web_.put(ctree::types, key, page_ + fmt(".htm#%i", a));
  out_ += fmt("\n<a name=%i></a>&nbsp;</pre>", a) + bar() + "\n<font size=2>typedef " + esc2(type) +
          "</font>&nbsp\n<a href=../types.htm><font size=4>" + esc2(key) + "</font></a>\n<pre class=c><font size=2><hr>";
  code("typedef");
  i_ += 7;
  return true;
}

void cpp_reader::static_word() {
  size_t limit = std::min(t_.size(), i_ + look_ahead);
  size_t stop = find_code(t_, i_ + 6, limit, "(;=#{");
  if (stop == std::string::npos || t_[stop] == '#') return;
  size_t k = stop;
  while (k > i_ && is_blank(t_[k - 1])) k--;
  if (k > i_ && t_[k - 1] == ']') {
    size_t b = t_.rfind('[', k);
    if (b != std::string::npos && b > i_) k = b;
  }
  std::string name = word_before(t_, k);
  std::string text = t_.substr(i_, stop - i_);
  if (name.empty() || name == "THIS_FILE" || name == "static" || text.find('/') != std::string::npos) return;
  int a = ++anchor_;
  web_.put(ctree::statics, name + "~" + page_ + fmt(".htm#%i", a), "");
  out_ += fmt("<a name=%i></a><font class=kw>static </font>", a);
  i_ += 7;
  if (t_[stop] == ';' && stop > i_) {
    code(t_.substr(i_, stop - i_));
    i_ = stop;
  }
}

// An ASSERT statement goes, with the empty lines behind it.
void cpp_reader::assert_statement(size_t word_start) {
  size_t open = t_.find('(', word_start);
  int depth = 0;
  size_t close = std::string::npos;
  size_t limit = std::min(t_.size(), word_start + look_ahead);
  for (size_t j = open; j < limit; j++) {
    size_t k = skip_quoted(t_, j);
    if (k != j) {
      j = k - 1;
      continue;
    }
    if (t_[j] == '(') depth++;
    if (t_[j] == ')' && --depth == 0) {
      close = j;
      break;
    }
  }
  if (close == std::string::npos) {  // no end in sight: the word alone goes
    i_ = open;
    return;
  }
  size_t k = close + 1;
  while (k < t_.size() && is_blank(t_[k])) k++;
  if (k < t_.size() && t_[k] == ';') k++;
  web_.LoHiddenComm++;
  while (!out_.empty() && is_blank(out_.back())) out_.pop_back();
  bool alone = out_.empty() || out_.back() == '\n';
  size_t e = k;
  while (e < t_.size() && is_blank(t_[e])) e++;
  if (alone && e < t_.size() && t_[e] == '\n') {
    k = e + 1;
    for (size_t q = k;;) {  // the empty lines behind it
      while (q < t_.size() && is_blank(t_[q])) q++;
      if (q >= t_.size() || t_[q] != '\n') break;
      k = ++q;
    }
  }
  i_ = k;
  checked_ = i_;
}

void cpp_reader::exception_mark() {
  size_t j = i_;
  while (j < t_.size() && is_word_char(t_[j])) j++;
  std::string key = t_.substr(i_, j - i_);
  if (j + 1 < t_.size() && t_[j + 1] == '"') {
    size_t e = t_.find('"', j + 2);
    if (e != std::string::npos && e < eol(t_, j)) key += "(" + t_.substr(j + 1, e - j);
  }
  int a = ++anchor_;
  web_.put(ctree::exceptions, key + "~" + page_ + fmt(".htm#%i", a), "");
  out_ += fmt("<a name=%i></a><font color=#FF00FF><b>[ Exc ]</b></font>", a);
}

void cpp_reader::exec_sql() {
  size_t semi = t_.find(';', i_);
  if (semi == std::string::npos || semi > i_ + look_ahead) fail_input("EXEC SQL without \";\"", i_);
  int a = ++anchor_;
  std::string stmt = t_.substr(i_, semi - i_);
  out_ += fmt("\n<a name=%i></a>\n", a);
  web_.sql("\n p .. " + entity_ + " [" + page_ + fmt(".htm#%i]\n\n", a) + stmt + ";\n\n");
  code(stmt + ";");
  i_ = semi + 1;
}
