// The C# page reader, its heads: visibility marks, type heads, members,
// statics, entry points, namespaces and the page's tail.
#include <cstring>

#include "codeweb/cs_reader.h"
#include "engine/escape.h"

namespace {

bool name_char(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         (unsigned char)c >= 0x80;
}
bool blank(char c) { return c == ' ' || c == '\t'; }

const char* const type_words[] = {"class", "interface", "struct", "record", "enum"};

const char* const modifiers[] = {"internal", "abstract", "static",   "virtual", "override", "sealed",
                                 "readonly", "async",    "partial",  "new",     "unsafe",   "extern",
                                 "const",    "volatile", "required", "event",   "implicit", "explicit",
                                 "protected", "delegate"};

const char* const legend =
    "<font class=kw>./2/3 = public/protected/private (default = 3, resp . for enums and interface "
    "members)</font>\n\n<font class=kw>namespace</font> ";

std::string trimmed_end(std::string s) {
  while (!s.empty() && blank(s.back())) s.pop_back();
  return s;
}

}  // namespace

// The facts of the line that holds i_, gathered once per line, so that a
// line full of visibility words is still read in linear time.
void cs_reader::line_facts() {
  if (line_start_ != std::string::npos && i_ <= line_end_) return;
  line_start_ = i_;
  line_end_ = t_.find('\n', i_);
  if (line_end_ == std::string::npos) line_end_ = t_.size();
  has_paren_ = has_lt_ = has_kw_ = false;
  for (size_t p = i_; p < line_end_; p++) {
    char c = t_[p];
    if (c == '(') has_paren_ = true, last_paren_ = p;
    if (c == '<') has_lt_ = true, last_lt_ = p;
    if (c == ' ' && (t_.compare(p, 7, " class ") == 0 || t_.compare(p, 11, " interface ") == 0))
      has_kw_ = true, last_kw_ = p;
  }
}

// The end of a type at `at`: a name with dots, "?", "[]", "*" and generic
// arguments (blanks and commas allowed inside "<...>"); the position of the
// blank or "(" behind it, or npos when something else ends it or it runs
// beyond max_head.
size_t cs_reader::type_end(size_t at) const {
  int angle = 0, square = 0;
  size_t limit = std::min(t_.size(), at + max_head);
  for (size_t p = at; p < limit; p++) {
    char c = t_[p];
    if (name_char(c) || c == '.' || c == '?' || c == '*' || c == ':') continue;
    if (c == '<') angle++;
    else if (c == '>' && angle > 0) angle--;
    else if (c == '[') square++;
    else if (c == ']' && square > 0) square--;
    else if ((angle || square) && (blank(c) || c == ',')) continue;
    else if (!angle && !square && (blank(c) || c == '(')) return p == at ? std::string::npos : p;
    else return std::string::npos;
  }
  return std::string::npos;
}

// "public", "protected", "private" with a blank behind: the mark, the
// modifiers, and a type head or a member or a field.  False: plain text.
bool cs_reader::visibility() {
  static const char* const words[][2] = {{"public", "."}, {"protected", "2"}, {"private", "3"}};
  const char* mark = nullptr;
  size_t p = i_;
  for (auto& w : words)
    if (word_at(i_, w[0]) && i_ + strlen(w[0]) < t_.size() && blank(t_[i_ + strlen(w[0])])) {
      mark = w[1];
      p = i_ + strlen(w[0]);
    }
  if (!mark) return false;
  int count = 0;
  for (bool more = true; more;) {
    while (p < t_.size() && blank(t_[p])) p++;
    if (++count > 16) return false;  // a run of modifiers this long is no head
    more = false;
    for (const char* m : modifiers)
      if (word_at(p, m) && p + strlen(m) < t_.size() && blank(t_[p + strlen(m)])) {
        p += strlen(m);
        more = true;
      }
  }
  for (const char* w : type_words)
    if (word_at(p, w)) {
      out_ += std::string("<font class=kw>") + mark + "</font> ";
      i_ = p;
      return true;
    }
  size_t e = type_end(p);
  if (e == std::string::npos) return false;
  size_t name_at = p;
  std::string type;
  if (t_[e] != '(') {  // "(" right behind the word: a constructor, no type
    type = t_.substr(p, e - p);
    name_at = e;
    while (name_at < t_.size() && blank(t_[name_at])) name_at++;
  }
  i_ = name_at;
  line_facts();
  bool head = (has_paren_ && last_paren_ >= name_at) || (has_lt_ && last_lt_ >= name_at) ||
              (has_kw_ && last_kw_ + 1 >= name_at);
  // The name runs over letters, digits, blanks and one "<...>" group to "(".
  size_t q = name_at;
  int angle = 0;
  size_t limit = std::min(line_end_, name_at + max_head);
  while (head && q < limit && t_[q] != '(') {
    char c = t_[q];
    if (c == '<') angle++;
    else if (c == '>' && angle > 0) angle--;
    else if (!name_char(c) && !blank(c) && !(angle && (c == ',' || c == '.'))) break;
    q++;
  }
  std::string name = head && q < limit && t_[q] == '(' ? trimmed_end(t_.substr(name_at, q - name_at)) : "";
  if (type == "operator" || name.compare(0, 8, "operator") == 0 || name.find(" operator") != std::string::npos)
    name.clear();  // an operator is plain text
  if (type.empty() && name.empty()) {
    i_ = p;
    return false;
  }
  out_ += std::string("<font class=kw>") + mark + (type.empty() ? "" : " " + html_text(type)) + "</font> ";
  if (!name.empty()) member(name_at, name_at + name.size());
  return true;
}

// A member head's name: anchor, link to the tail, rows.
void cs_reader::member(size_t name_at, size_t name_end) {
  std::string name = t_.substr(name_at, name_end - name_at);
  std::string a = std::to_string(++anchor_);
  out_ += "<a id=" + a + "></a><a href=#eof>" + html_text(name) + "</a>";
  i_ = name_end;
  std::string cls = current(true), ns = current(false);
  members.push_back({cls.empty() ? name : cls + " :: " + name, "m" + page_ + ".htm#" + a});
  if (!ns.empty()) {
    std::string key = ns + " . " + cls + "~" + name;
    namespaces.push_back({key, page_ + ".htm#" + a});
    tail_[key] = "<a href=#" + a + ">" + html_text(name) + "</a>";
  }
  if (name == "Main" || name == "main") entry_point(anchor_);
}

void cs_reader::entry_point(int anchor) { mains.push_back(page_ + ".htm#" + std::to_string(anchor)); }

// "class", "interface", "struct", "record" (the heads of class maps) and
// "enum": the name is shown and kept as the current class until its body
// closes; the bases behind ":" are rows.
bool cs_reader::type_head(size_t at, const char* /*mark*/) {
  size_t k = at;
  while (k > 0 && (blank(t_[k - 1]) || t_[k - 1] == '\n')) k--;
  if (k > 0 && (t_[k - 1] == ':' || t_[k - 1] == ',' || t_[k - 1] == '<' || t_[k - 1] == '(' ||
                t_[k - 1] == '.'))
    return false;  // "where T : class", "typeof(...)" and the like
  size_t we = at;
  while (we < t_.size() && name_char(t_[we])) we++;
  std::string word = t_.substr(at, we - at);
  size_t n = we;
  while (n < t_.size() && blank(t_[n])) n++;
  if (word == "record" && (word_at(n, "class") || word_at(n, "struct"))) {  // "record class X"
    n += t_[n] == 'c' ? 5 : 6;
    while (n < t_.size() && blank(t_[n])) n++;
  }
  if (n == we || n >= t_.size() || !(name_char(t_[n]) || t_[n] == '@') || (t_[n] >= '0' && t_[n] <= '9'))
    return false;
  size_t ne = n + 1;
  while (ne < t_.size() && name_char(t_[ne])) ne++;
  std::string name = t_.substr(n, ne - n);
  if (name[0] == '@') name.erase(0, 1);
  std::string a = std::to_string(++anchor_);
  out_ += "<a id=" + a + "></a>";
  code(t_.substr(at, n - at));
  out_ += "<b><font size=+1><a href=#eof>" + html_text(name) + "</a></font></b>";
  i_ = ne;
  if (word == "enum") return true;
  pending_class_ = name;
  classes.push_back({name, "c" + page_ + ".htm#" + a});
  std::string ns = current(false);
  if (!ns.empty()) namespaces.push_back({ns + " . " + name + "~", page_ + ".htm#" + a});
  // The bases: past generic arguments and a record's parameters, behind ":".
  size_t p = ne, limit = std::min(t_.size(), ne + max_head);
  int depth = 0;
  for (; p < limit; p++) {
    char c = t_[p];
    if (c == '<' || c == '(') depth++;
    else if ((c == '>' || c == ')') && depth > 0) depth--;
    else if (!depth && (c == ':' || c == '{' || c == ';')) break;
  }
  if (p >= limit || t_[p] != ':') return true;
  for (p++; p < limit;) {
    while (p < limit && (blank(t_[p]) || t_[p] == '\n' || t_[p] == '\r')) p++;
    size_t b = p;
    while (p < limit && (name_char(t_[p]) || t_[p] == '.')) p++;
    std::string base = t_.substr(b, p - b);
    if (base.empty() || base == "where") break;
    size_t dot = base.rfind('.');
    supers.push_back({name, dot == std::string::npos ? base : base.substr(dot + 1)});
    for (depth = 0; p < limit && (depth || t_[p] == '<' || t_[p] == '(' || blank(t_[p])); p++) {
      if (t_[p] == '<' || t_[p] == '(') depth++;
      else if ((t_[p] == '>' || t_[p] == ')') && depth > 0) depth--;
    }
    if (p >= limit || t_[p] != ',') break;
    p++;
  }
  return true;
}

// "static" with white space on both sides: the name in front of the first
// of "(;={", and a row; "#" or a "/" in it leaves it plain.
void cs_reader::static_word() {
  size_t limit = std::min(t_.size(), i_ + max_head), p = i_ + 6;
  while (p < limit && !strchr("(;=#{", t_[p])) p++;
  size_t e = p;
  while (e > i_ + 6 && (blank(t_[e - 1]) || t_[e - 1] == '\n' || t_[e - 1] == '\r')) e--;
  size_t b = e;
  while (b > i_ + 6 && (name_char(t_[b - 1]) || t_[b - 1] == '.')) b--;
  std::string name = t_.substr(b, e - b);
  bool is_using = out_.size() >= 6 && out_.compare(out_.size() - 6, 6, "using ") == 0;
  if (p >= limit || t_[p] == '#' || name.empty() || is_using) {
    out_ += "static";
    i_ += 6;
    return;
  }
  std::string a = std::to_string(++anchor_);
  statics.push_back({name + "~" + page_ + ".htm#" + a, ""});
  out_ += "<a id=" + a + "></a><font class=kw>static</font>";
  i_ += 6;
}

// "namespace" at a line's start: the legend, the word, the name; a name
// followed by ";" holds for the rest of the file.
bool cs_reader::namespace_line() {
  size_t b = i_;
  while (b > 0 && blank(t_[b - 1])) b--;
  if (b > 0 && t_[b - 1] != '\n') return false;
  size_t n = i_ + 9;
  while (n < t_.size() && blank(t_[n])) n++;
  size_t e = n;
  while (e < t_.size() && (name_char(t_[e]) || t_[e] == '.')) e++;
  if (e == n) return false;
  std::string name = t_.substr(n, e - n), outer = current(false);
  if (!outer.empty()) name = outer + "." + name;
  out_ += legend;
  out_ += html_text(t_.substr(n, e - n));
  i_ = e;
  size_t s = e;
  while (s < t_.size() && (blank(t_[s]) || t_[s] == '\r')) s++;
  if (s < t_.size() && t_[s] == ';')
    ns_ = name;
  else
    pending_ns_ = name;
  return true;
}

// The end of the page: links, and the members by namespace and class.
std::string cs_reader::tail() const {
  std::string o = "\n</font></pre><a name=eof></a><font face=\"Verdena,Arial\">\n<font size=2><a href=#top>top</a> . "
                  "<a href=../cs.htm>C#</a>\n<font size=4>" + html_text(src_) + "<br></font>\n";
  std::string group;
  for (auto& [key, link] : tail_) {
    size_t t = key.find('~');
    std::string g = key.substr(0, t);
    if (g != group) {
      if (!group.empty()) o += "\n|<br>";
      group = g;
      std::string id = g;
      id.replace(id.find(" . "), 3, ".");
      o += "\n<a id='" + html_attr(id) + "'></a><b>" + html_text(g) + "</b><br>";
    }
    std::string cls = g.substr(g.find(" . ") + 3);
    o += "\n" + html_text(cls) + " . " + link + "<br>";
  }
  return o + "\n</font></font></BODY></HTML>\n";
}
