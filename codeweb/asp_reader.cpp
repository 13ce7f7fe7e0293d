// The ASP page reader.
#include "codeweb/asp_reader.h"

#include <cctype>
#include <cstring>

std::string asp_reader::page_of(const std::string& text, int fNr, const std::string& path) {
  start(text, fNr, path);
  commands = 0;
  out_ = std::string(frame_.head) + "<a name=top></a>" + frame_.title_head + esc(path) + " . asp" +
         frame_.title_tail + "<font size=2><pre>";
  scan();
  tail();
  return std::move(out_);
}

void asp_reader::scan() {
  while (i_ < t_.size()) {
    size_t p = t_.find_first_of("<\"\n/#", i_);
    if (p == std::string::npos) p = t_.size();
    copy(p - i_);
    if (i_ >= t_.size()) break;
    char c = t_[i_];
    if (c == '<') {
      if (at("<%-- START OF PROTECTED") || at("<%-- END OF PROTECTED")) {
        drop_through("--%>");
      } else if (at("<%--")) {
        comment("--%>", "--%>");
      } else {
        if (at("<%")) commands++;
        copy(1);
      }
    } else if (c == '"') {
      string_literal(false, false);
    } else if (c == '\n' || c == '/') {
      newline_or_slash(c);
    } else if (!(at_nocase("#inc") && include_directive())) {
      copy(1);
    }
  }
}

// "#include", blanks, "file" or "virtual", "=", blanks and a quoted name
// on one line; anything else is copied as it stands.
bool asp_reader::include_directive() {
  size_t p = i_ + 4;
  while (p < t_.size() && isalpha((unsigned char)t_[p])) p++;
  while (p < t_.size() && (t_[p] == ' ' || t_[p] == '\t')) p++;
  size_t w = p;
  while (p < t_.size() && isalpha((unsigned char)t_[p])) p++;
  std::string word = t_.substr(w, p - w);
  for (char& c : word) c = (char)tolower((unsigned char)c);
  if (word != "file" && word != "virtual") return false;
  while (p < t_.size() && (t_[p] == ' ' || t_[p] == '\t')) p++;
  if (p >= t_.size() || t_[p] != '=') return false;
  p++;
  while (p < t_.size() && (t_[p] == ' ' || t_[p] == '\t')) p++;
  if (p >= t_.size() || t_[p] != '"') return false;
  size_t e = t_.find_first_of("\"\n", p + 1);
  if (e == std::string::npos || t_[e] != '"') return false;
  head_ = false;
  out_ += "#INCLUDE " + word + "= ";
  include_at(t_.substr(p + 1, e - p - 1), true);
  i_ = e + 1;
  return true;
}

void asp_reader::tail() {
  size_t slash = path_.rfind('/');
  std::string folder = slash == std::string::npos ? "" : path_.substr(0, slash + 1);
  std::string base = path_.substr(folder.size());
  out_ += "</pre>\n</font><a name=eof></a><font face=\"Verdena,Arial\" size=1>\n<font size=4>" + esc(folder) + "<b>" +
          esc(base) + "</b><br></font>\n<font size=1><br>" + std::to_string(commands) + " asp Commands = <br>" +
          esc(path_) + "</font>";
  bool includes_others = false;
  for (auto& r : includes) includes_others |= !r.page.empty();
  if (includes_others)
    out_ += "\n<font size=2>" + esc(path_) + "<br>&nbsp;<br>Include Structure:<br>" + hooks_.structure() + "</font>";
  out_ += "\n</BODY></HTML>\n";
}
