// The VB page reader: see codeweb/vb_reader.h.
#include "codeweb/vb_reader.h"

#include <strings.h>

#include <cstring>

#include "runtime/exec_ut.h"

namespace {
const char* const SRC = "vb_reader";

bool name_char(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         (unsigned char)c >= 0x80;
}
bool blank(char c) { return c == ' ' || c == '\t'; }
bool same(const std::string& a, const char* b) { return strcasecmp(a.c_str(), b) == 0; }

void escape_to(std::string& out, const std::string& s) {
  for (char c : s) {
    if (c == '<')
      out += "&lt;";
    else
      out += c;
  }
}
std::string escaped(const std::string& s) {
  std::string o;
  escape_to(o, s);
  return o;
}

// The word at `p` and the position behind it (empty when no name starts).
std::string word_at(const std::string& t, size_t& p) {
  size_t a = p;
  while (p < t.size() && name_char(t[p])) p++;
  return t.substr(a, p - a);
}
void skip_blanks(const std::string& t, size_t& p) {
  while (p < t.size() && blank(t[p])) p++;
}

std::string base_name(const std::string& path) {
  size_t s = path.find_last_of("/\\");
  return s == std::string::npos ? path : path.substr(s + 1);
}

}  // namespace

// A name that would stand for an anchor of the page's own: the fixed ones,
// numbers, and the anchors of calls and case labels.
bool vb_reader::own_anchor(const std::string& name) {
  for (const char* f : {"top", "eof", "public", "sub"})
    if (name == f) return true;
  size_t d = name.find_first_of("0123456789");
  if (d == std::string::npos || name.find_first_not_of("0123456789", d) != std::string::npos) return false;
  std::string front = name.substr(0, d);
  return front.empty() || front == "mB" || front == "cr" || front == "ex" || front == "c";
}

// The anchor of a Dim or Class name: the name itself, unless the page uses
// it for an anchor of its own.
std::string vb_reader::name_anchor(const std::string& name) {
  return own_anchor(name) ? next_number_anchor() : name;
}

size_t vb_reader::line_end(size_t from) const {
  size_t e = t_.find('\n', from);
  return e == std::string::npos ? t_.size() : e;
}

std::string vb_reader::page_of(const std::string& text, int fNr, const std::string& path) {
  reset();
  t_ = text;
  path_ = path;
  module_ = base_name(path);
  std::string shown = escaped(path);
  out_ = std::string(frame_.head) + frame_.title_head + shown + frame_.title_tail +
         "<a name=top></a><font size=2><pre>";
  while (i_ < t_.size()) line();
  out_ += "</pre>\n</font><a name=eof></a><font face=\"Verdena,Arial\" size=1>\n<font size=4>";
  out_ += std::string(frame_.title_head) + shown + frame_.title_tail;
  out_ += "<br></font>\n<font size=1><br>" + std::to_string(methods) + " Methods = <br>" + shown + "</font>";
  out_ += "\n<font size=2>" + escaped(module_) +
          "<br>&nbsp;<br>Module Contents: Goto <a href=#public>exported Functions</a>, <a href=#top>top</a>, "
          "or <a href=subs.htm>ALL Global VB Environment</a>:<br>";
  out_ += module_table();
  (void)fNr;
  return out_ + "\n</font></font></font></BODY></HTML>\n";
}

// One line from its start up to and with its line end.
void vb_reader::line() {
  line_nr_++;
  if (!margin_line()) {
    size_t p = i_;
    skip_blanks(t_, p);
    out_.append(t_, i_, p - i_);
    i_ = p;
    if (!member_head()) rest_of_line();
  }
  if (i_ < t_.size() && t_[i_] == '\n') {
    out_ += '\n';
    i_++;
  }
}

// "file:", "Class " and "Dim " at the left margin.
bool vb_reader::margin_line() {
  auto at = [&](const char* w) { return strncasecmp(t_.c_str() + i_, w, strlen(w)) == 0; };
  if (t_.compare(i_, 5, "file:") == 0) {
    module_line();
    return true;
  }
  if ((at("class ") || at("class\t")) && (t_[i_] == 'c' || t_[i_] == 'C')) {
    class_line();
    return true;
  }
  if ((at("dim ") || at("dim\t")) && (t_[i_] == 'd' || t_[i_] == 'D')) {
    dim_line();
    return true;
  }
  return false;
}

// A module of a concatenation: its name is the title from here on.
void vb_reader::module_line() {
  size_t e = line_end(i_);
  std::string name = t_.substr(i_ + 5, e - i_ - 5);
  while (!name.empty() && blank(name.front())) name.erase(0, 1);
  while (!name.empty() && blank(name.back())) name.pop_back();
  module_ = base_name(name);
  out_ += "<a name=" + next_number_anchor() + "></a><font class=\"co\">file: " + escaped(name) + "</font>";
  i_ = e;
}

void vb_reader::class_line() {
  size_t p = i_ + 5;
  skip_blanks(t_, p);
  std::string name = word_at(t_, p);
  if (name.empty()) {
    rest_of_line();
    return;
  }
  module_ += ", Class " + name;
  out_ += "<a name=" + next_number_anchor() + "></a><font class=\"co\">" + escaped(module_) + ":</font>\n\n";
  if (!dims_.count(name)) {
    dims_[name] = name_anchor(name);
    out_ += "<a name=" + dims_[name] + "></a>";
  }
  out_ += "<font size=+0><a href=\"#eof\">Class " + name + "</a></font>";
  members.push_back({"Class " + name, dims_[name], module_});
  table_["Class " + name + " -- " + path_ + " -- " + module_] = members.size() - 1;
  i_ = p;
  rest_of_line();
}

// "Dim x": the first Dim of a name anchors it, a later one does not.
void vb_reader::dim_line() {
  size_t p = i_ + 3;
  skip_blanks(t_, p);
  std::string name = word_at(t_, p);
  if (name.empty()) {
    rest_of_line();
    return;
  }
  out_ += "Dim  ";
  if (!dims_.count(name)) {
    dims_[name] = name_anchor(name);
    out_ += "<a name=" + dims_[name] + "></a>";
    members.push_back({"Dim " + name, dims_[name], module_});
    table_["Dim " + name + " -- " + path_ + " -- " + module_] = members.size() - 1;
  }
  out_ += "<font size=+0><a href=\"#eof\">" + name + "</a></font> ";
  i_ = p;
  skip_blanks(t_, i_);
  rest_of_line();
}

namespace {

// The visibility a head begins with, in the spelling of the member list;
// "Friend" is read as "Public".
const char* visibility(const std::string& w) {
  if (same(w, "Public") || same(w, "Friend")) return "Public";
  if (same(w, "Private")) return "Private";
  if (same(w, "Global")) return "Global";
  return nullptr;
}

// Words between the visibility and the kind of member.
bool modifier(const std::string& w) {
  for (const char* m : {"Static", "Shared", "Default", "WithEvents", "ReadOnly", "Overrides", "Overloads"})
    if (same(w, m)) return true;
  return false;
}

const char* kind_word(const std::string& w) {
  for (const char* k : {"Function", "Sub", "Property", "Const", "Declare", "Enum", "Type", "Event", "Dim"})
    if (same(w, k)) return k;
  return nullptr;
}

}  // namespace

// A member head as the first word of a statement: the head is written with
// a numbered anchor in front and its name as a link to the contents.
bool vb_reader::member_head() {
  size_t p = i_;
  std::string w = word_at(t_, p);
  const char* vis = visibility(w);
  std::string decl;
  if (vis) {
    decl = vis;
    skip_blanks(t_, p);
    size_t q = p;
    w = word_at(t_, q);
    while (modifier(w)) {
      p = q;
      skip_blanks(t_, p);
      q = p;
      w = word_at(t_, q);
    }
  } else if (same(w, "Case") && p < t_.size() && blank(t_[p])) {
    case_label_at(p);
    return true;
  } else if (same(w, "Rem") && (p >= t_.size() || blank(t_[p]) || t_[p] == '\n')) {
    comment(i_);
    return true;
  } else if (!same(w, "Function") && !same(w, "Sub") && !same(w, "Property")) {
    return false;
  } else {
    decl = "Public";  // a head without a visibility
    p = i_;
  }
  size_t q = p;
  w = word_at(t_, q);
  const char* kind = kind_word(w);
  if (kind) {
    decl += std::string(" ") + kind;
    p = q;
    skip_blanks(t_, p);
    q = p;
    w = word_at(t_, q);
    // "Property Get x", "Declare Function x": the second word belongs to the kind.
    if ((same(kind, "Property") && (same(w, "Get") || same(w, "Let") || same(w, "Set"))) ||
        (same(kind, "Declare") && (same(w, "Function") || same(w, "Sub")))) {
      decl += " " + w;
      p = q;
      skip_blanks(t_, p);
      q = p;
      w = word_at(t_, q);
    }
  }
  if (w.empty()) return false;  // "Public" alone, or followed by no name
  write_head(decl, kind, w, p, q);
  return true;
}

// The head from the line's first word up to `name_at`, the name `w` up to
// `name_end`, and the rest of the line.
void vb_reader::write_head(std::string decl, const char* kind, const std::string& w, size_t name_at,
                           size_t name_end) {
  size_t p = name_at, q = name_end;
  size_t e = line_end(i_);
  if (e - i_ > max_head) {
    exut.show_int("zz", (int)max_head);
    exut.show_int("z-zz", (int)(e - i_));
    exut.fail(__LINE__, SRC, "Content error: member head too long in %s, line %i", path_.c_str(), line_nr_);
  }
  bool method = kind && (same(kind, "Function") || same(kind, "Sub") || same(kind, "Property"));
  if (method) {
    methods++;
    if (same(w, "Main")) mains++;
  }
  std::string anchor = next_number_anchor();
  out_ += "<a name=" + anchor + "></a>\n<font class=\"co\">" + w + ":</font>\n\n";
  std::string head = t_.substr(i_, p - i_);
  while (!head.empty() && blank(head.back())) head.pop_back();
  size_t z = 0;
  if (!visibility(word_at(head, z))) head = "Public " + head;  // shown as "Public Function x"
  escape_to(out_, head);
  out_ += " <font size=+0><a href=\"#eof\">" + w + "</a></font>  ";
  decl += " " + w;
  members.push_back({decl, anchor, module_});
  table_[decl + " -- " + path_ + " -- " + module_] = members.size() - 1;
  i_ = q;
  skip_blanks(t_, i_);
  rest_of_line();
}

void vb_reader::reset() {
  members.clear();
  mBoxes.clear();
  useObjs.clear();
  execs.clear();
  cases.clear();
  methods = mains = 0;
  i_ = 0;
  out_.clear();
  line_nr_ = anchors_ = 0;
  dims_.clear();
  table_.clear();
}

// "Case <expression>": a label with its anchor; "Case Else" is none.
void vb_reader::case_label_at(size_t word_end) {
  size_t p = word_end;
  skip_blanks(t_, p);
  size_t q = p;
  if (same(word_at(t_, q), "Else") || p >= t_.size() || t_[p] == '\n') {
    rest_of_line();
    return;
  }
  size_t e = line_end(p);
  bool quoted = false;
  size_t c = p;
  for (; c < e; c++) {
    if (t_[c] == '"') quoted = !quoted;
    if (!quoted && (t_[c] == '\'' || t_[c] == ':')) break;
  }
  std::string text = t_.substr(p, c - p);
  while (!text.empty() && blank(text.back())) text.pop_back();
  std::string anchor = "c" + std::to_string(cases.size() + 1);
  out_ += "<a name=" + anchor + "></a>" + t_.substr(i_, word_end - i_);
  cases.push_back({text, module_, anchor});
  i_ = word_end;
  rest_of_line();
}

void vb_reader::rest_of_line() {
  while (i_ < t_.size() && t_[i_] != '\n') {
    char c = t_[i_];
    if (c == '\'') {
      comment(i_);
    } else if (c == '"') {
      string_literal();
    } else if (c == '<') {
      out_ += "&lt;";
      i_++;
    } else if (name_char(c)) {
      word();
    } else {
      out_ += c;
      i_++;
    }
  }
}

// A comment to the end of the line; the banners "'***" and "'___" are
// dropped.
void vb_reader::comment(size_t from) {
  size_t e = line_end(from);
  std::string text = t_.substr(from, e - from);
  if (text.compare(0, 4, "'***") != 0 && text.compare(0, 4, "'___") != 0)
    out_ += "<font class=\"co\">" + escaped(text) + "</font>";
  i_ = e;
}

// A string runs to its closing quote or to the line end; a line that ends
// in "_" carries it on to the next line.
void vb_reader::string_literal() {
  size_t p = i_ + 1, end = t_.size();
  while (p < t_.size()) {
    if (t_[p] == '"') {
      end = p + 1;
      break;
    }
    if (t_[p] == '\n') {
      if (t_[p - 1] == '_' && p + 1 < t_.size()) {
        line_nr_++;
        p++;
        continue;
      }
      end = p;
      break;
    }
    p++;
  }
  out_ += "<font class=\"kw\">" + escaped(t_.substr(i_, end - i_)) + "</font>";
  i_ = end;
}

void vb_reader::word() {
  std::string w = word_at(t_, i_);
  std::string where = escaped(module_) + " : " + std::to_string(line_nr_);
  if (same(w, "MsgBox")) {
    mBoxes.push_back({(int)mBoxes.size() + 1, where});
    out_ += "<a name=mB" + std::to_string(mBoxes.size()) + "></a><a href=mBox.htm>MsgBox</a>";
  } else if (same(w, "CreateObject")) {
    useObjs.push_back({(int)useObjs.size() + 1, where});
    out_ += "<a name=cr" + std::to_string(useObjs.size()) + "></a><a href=crOb.htm>CreateObject</a>";
  } else if (same(w, "ExecuteFile")) {
    execs.push_back({(int)execs.size() + 1, where});
    out_ += "<a name=ex" + std::to_string(execs.size()) + "></a><a href=exec.htm>" + w + "</a>";
  } else {
    out_ += w;
  }
}

// The members in the order of their declarations, "\n<br>|" between the
// groups (the declaration without its name); private members are not links.
std::string vb_reader::module_table() const {
  std::string o, group = "\n";
  bool pub = false, sub = false;
  for (auto& [key, idx] : table_) {
    const member& m = members[idx];
    std::string g = m.decl.substr(0, m.decl.rfind(' ') + 1);
    if (group != "\n" && g != group) o += "\n<br>|";
    group = g;
    if (!pub && m.decl.compare(0, 6, "Public") == 0) {
      o += "\n<a name=public></a>";
      pub = true;
    }
    if (!sub && m.decl.compare(0, 11, "Public Sub ") == 0) {
      o += "\n<a name=sub></a>";
      sub = true;
    }
    if (m.decl.compare(0, 7, "Private") == 0) {
      o += "\n" + m.decl;
    } else if (m.decl.compare(0, 16, "Public Function ") == 0) {
      o += "\n<a href=#" + m.anchor + "><font size=\"+1\">" + m.decl + "</font></a>";
    } else {
      o += "\n<a href=#" + m.anchor + ">" + m.decl + "</a>";
    }
  }
  if (!pub) o += "\n<a name=public></a>";
  return o;
}
