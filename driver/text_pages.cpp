// Plain texts made into pages: the web configuration (expanded, with the
// remarks of the reading in front of its lines, and escaped) and the text
// documents of "-a" lines, by the marks at the start of their lines.
#include <algorithm>
#include <cerrno>
#include <list>
#include <string>

#include "driver/des_text.h"
#include "driver/doc_des.h"
#include "driver/exp_mi.h"
#include "engine/escape.h"
#include "engine/ut_htm.h"
#include "engine/ut_htmst.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

using namespace des;

namespace {

// The head of the configuration's page, with the web's name.
std::string configuration_head(const std::string& name) {
  return "\n\n[?+]<a href=\"commands\"><p><center>\n<font face=ARIAL,VERDANA size=1>\n"
         "Click here for a Command Reference</a><br></font></p>\n<h2>Web Configuration " +
         name + "</h2></center>\n<font size=2>\n[?-]";
}

// The lines of the expanded configuration `t` as its page shows them, up to
// the end line: blocks "-[" ... "-]" left out, topic lines and the lines
// behind a command whole, command lines trimmed with their remark ahead.
std::string configuration_lines(const std::string& t, Btree& remarks) {
  std::string scn;
  bool hidden = false;
  size_t i = 1;
  while (i <= t.size()) {
    size_t j = t.find('\n', i);
    if (j == std::string::npos) j = t.size();
    std::string line = rtrim(t.substr(i, j - i));
    i = j + 1;
    if (hidden) {
      if (begins(line, "-]")) hidden = false;
      continue;
    }
    if (begins(line, "-[")) {
      hidden = true;
      continue;
    }
    if (begins(line, "--")) {
      scn += "\n--";
      break;
    }
    if (begins(line, "-s") || (!line.empty() && isspace((unsigned char)line[0]))) {
      scn += "\n" + line;
      continue;
    }
    std::string l = trim(line);
    std::optional<std::string> rem = tree_value(remarks, l);
    scn += "\n" + (rem ? *rem : std::string()) + l;
  }
  return scn + "\n";
}

// The folder of the pictures of placeholders: the first folder "pic" up
// the path of `from`; empty if none.
std::string picture_folder(const char* from) {
  for (std::string d = folder_of(slashes(from));; d = folder_of(d)) {
    std::string cand = d + "/pic";
    if (safe_ut.ok_is_a(cand.c_str()) == 'd') return cand;
    if (d == "." || d == "/" || d.empty()) return "";
  }
}

// Where the text of a text document begins: at its first mark "!!-" (what
// stands ahead is for its authors; the configuration's own page has none),
// and behind `startMark` when that is given.
size_t text_start(const std::string& t, const char* to, const char* startMark) {
  size_t pos = 0;
  if (strcasecmp(base_of(slashes(to)).c_str(), "webConf.htm") != 0) {
    size_t k = t.find("\n!!-");
    if (k != std::string::npos) pos = k;
  }
  if (startMark && *startMark) {
    size_t k = t.find(startMark, pos);
    if (k != std::string::npos) pos = k + strlen(startMark);
  }
  return pos;
}

// The lines of an escaped text turned into the body of a page.
class text_page {
 public:
  text_page(const std::string& t, std::list<std::string>* starts, const std::string& pic)
      : t_(t), starts_(starts), pic_(pic) {}

  // Writes the lines from `i` on into `out`.
  void run(size_t i, std::string& out);

 private:
  bool raw_line(const std::string& line);
  void blank_run();
  int mark_line(const std::string& text, size_t f, size_t& i);
  bool placeholder(const std::string& text);
  bool heading_line(const std::string& text, size_t f);
  void plain_line(std::string text, size_t f);

  const std::string& t_;
  std::list<std::string>* starts_;
  std::string pic_;
  std::string* out_ = nullptr;
  bool raw_ = false, heading_ = false, blank_ = true, dot_before_ = false;
  int empties_ = 0;
  std::string last_number_;
};

void text_page::run(size_t i, std::string& out) {
  out_ = &out;
  if (i < t_.size() && t_[i] == '\n') i++;
  while (i < t_.size()) {
    size_t j = t_.find('\n', i);
    if (j == std::string::npos) j = t_.size();
    std::string line = t_.substr(i, j - i);
    i = j + 1;
    if (raw_line(line)) continue;
    size_t f = line.find_first_not_of(" \t\r");
    if (f == std::string::npos) {
      empties_++;
      continue;
    }
    blank_run();
    std::string text = rtrim(line);
    if (starts_ && (text[f] == '.' || text[f] == '-' || dot_before_)) out += "<br>";
    dot_before_ = !text.empty() && text.back() == '.';
    int mark = mark_line(text, f, i);
    if (mark == 2) break;
    if (mark == 1 || placeholder(text) || heading_line(text, f)) continue;
    plain_line(text, f);
  }
}

// Raw text between the marks "[?+]" and "[?-]"; text behind the opening
// mark on its line belongs to the raw block.
bool text_page::raw_line(const std::string& line) {
  if (raw_) {
    if (begins(line, "[?-]"))
      raw_ = false;
    else
      *out_ += "\n" + line;
    return true;
  }
  if (!begins(line, "[?+]")) return false;
  raw_ = true;
  if (line.size() > 4) *out_ += "\n" + line.substr(4);
  return true;
}

// A run of empty lines before this one: up to four breaks, none behind a
// heading.
void text_page::blank_run() {
  if (!empties_) return;
  blank_ = true;
  if (!heading_) *out_ += std::string("<br><br><br><br>").substr(0, 4 * std::min(empties_, 4));
  empties_ = 0;
}

// The marks "EJECT", "!!-" (dropped up to the line of "!!+"; without it the
// page ends here) and "!!=toc".  Returns 1 for a line that is done, 2 at
// the end of the page, else 0.
int text_page::mark_line(const std::string& text, size_t f, size_t& i) {
  if (!text.compare(f, 5, "EJECT")) {
    *out_ += "\n<br>";
    heading_ = false;
    blank_ = false;
    return 1;
  }
  if (!text.compare(f, 3, "!!-")) {
    size_t k = t_.find("!!+", i);
    *out_ += "\n<aa>";
    if (k == std::string::npos) return 2;
    size_t le = t_.find('\n', k);
    i = le == std::string::npos ? t_.size() : le + 1;
    return 1;
  }
  if (!text.compare(f, 6, "!!=toc")) {
    *out_ += "\n<br><aa><br>";
    return 1;
  }
  return 0;
}

// A placeholder names a ".bmp" picture: taken from the picture folder to
// xs/pic.  True when the line became the picture.
bool text_page::placeholder(const std::string& text) {
  size_t ph = text.find("&lt;&lt; Platzhalter");
  if (ph == std::string::npos) return false;
  size_t b = find_nocase(text, ".bmp", ph);
  if (b == std::string::npos) return false;
  size_t a = text.find_last_of(" \t", b);
  std::string name = text.substr(a == std::string::npos ? 0 : a + 1, b + 4 - (a + 1));
  std::string file = pic_.empty() ? "" : safe_ut.real_name((pic_ + "/" + name).c_str());
  if (!file.empty() && safe_ut.ok_is_a(file.c_str()) == 'f') {
    safe_ut.ensure_dir("xs/pic");
    safe_ut.copy_file(("xs/pic/" + name).c_str(), file.c_str());
    *out_ += "\n<img src=\"../pic/" + html_attr(name) + "\">";
    return true;
  }
  printf("\nW a r n i n g : cannot find picture %s", name.c_str());
  printf("\ngrep %s alles", name.c_str());
  return false;
}

// A heading: a first line behind a blank run that matches a start of the
// list, or a section number above the last one.  True when written so.
bool text_page::heading_line(const std::string& text, size_t f) {
  std::string number;
  if (isdigit((unsigned char)text[f])) {
    size_t k = f;
    while (k < text.size() && (isdigit((unsigned char)text[k]) || text[k] == '.')) k++;
    number = text.substr(f, k - f);
    if (k >= text.size() || text[k] != ' ') number.clear();
  }
  bool is_heading = false;
  if (blank_ && starts_) {
    std::string whole = trim(text);
    for (const std::string& s : *starts_)
      if (!s.empty() && (s.back() == ':' ? whole == s : begins(whole, s.c_str()))) {
        is_heading = true;
        break;
      }
  }
  if (!is_heading && !number.empty() && number > last_number_) {
    is_heading = true;
    last_number_ = number;
  }
  blank_ = false;
  heading_ = is_heading;
  if (is_heading) *out_ += "\n</pre><h2>" + trim(text) + "</h2><pre>";
  return is_heading;
}

// Any other line: a line ending in ":" is bold unless it starts in lower
// case; a blank before a closing ":", "." or "," goes.
void text_page::plain_line(std::string text, size_t f) {
  if (text.size() >= 2 && text[text.size() - 2] == ' ' &&
      (text.back() == ':' || text.back() == '.' || text.back() == ',')) {
    char last = text.back();
    text = rtrim(text.substr(0, text.size() - 1)) + last;
  }
  bool bold = text.back() == ':' && !islower((unsigned char)text[f]);
  *out_ += "\n<br>";
  if (bold) *out_ += "<b>";
  *out_ += text;
  if (bold) *out_ += "</b>";
  if (bold && starts_) *out_ += "<br>";
}

}  // namespace

// The escape step: "<", ">" and the letters of the DOS code page become
// entities, box drawing becomes plain lines; "[?+]" ... "[?-]" blocks are
// copied as they stand, marks included.
void DocDes::escape_file(const char* from, const char* to) {
  std::string t = safe_ut.read_text(from);
  std::string out;
  out.reserve(t.size() + t.size() / 8);
  size_t i = 0;
  while (true) {
    size_t r = t.find("\n[?+]", i);
    std::string chunk = t.substr(i, r == std::string::npos ? std::string::npos : r - i);
    ut_htmst::to_entities(chunk.c_str(), out, 0);
    if (r == std::string::npos) break;
    size_t e = t.find("\n[?-]", r + 1);
    if (e == std::string::npos) {
      out.append(t, r, std::string::npos);
      break;
    }
    size_t le = t.find('\n', e + 1);
    if (le == std::string::npos) le = t.size();
    out.append(t, r, le - r);
    i = le;
  }
  safe_ut.write_text(to, out);
}

// The escape step and the cleaning of a text that becomes part of the web.
void DocDes::enhance_text(const char* from, const char* to) {
  escape_file(from, to);
  ut->ers_schmutz(to, safe_ut.file_size(to), "#\n/-", '-');
}

int DocDes::enhance_webDescr(Btree& remarks, const char* conf) {
  enter("DocDes.enhance_webDescr");
  if (!conf) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: enhance_webDescr() without a configuration\n");
  }
  std::string in = find_installation();
  if (in.empty()) {
    printf("\nApp_error: Cannot find installation PATH/ut_brelmot\n");
    return 1;
  }
  if (exp_mi(conf, "xs/webConf.tmp", "\n-", "\n#", nullptr)) return 1;
  std::string t = "\n" + safe_ut.read_text("xs/webConf.tmp");
  if (t.find("\n-") == std::string::npos) {
    errno = err::corrupted_data;
    exut.fail(__LINE__, SRC, "User: no command line \"-...\" in %s\n", conf);
  }
  std::string name;
  size_t w = t.find("\n-w xs_");
  if (w != std::string::npos)
    for (size_t k = w + 7; k < t.size() && isalnum((unsigned char)t[k]); k++) name += t[k];
  safe_ut.copy_file("xs/commands", (in + "/doc/commands").c_str());
  safe_ut.write_text("xs/webConf.scn", configuration_head(name) + configuration_lines(t, remarks));
  enhance_text("xs/webConf.scn", "xs/webConf.txt");
  enhance_text((in + "/doc/sample_1").c_str(), "xs/coref.txt");
  return 0;
}

void DocDes::enhance_to_htm(std::list<std::string>* starts, const char* from, const char* to,
                            const char* startMark, bool wrap) {
  enter("DocDes.enhance_to_htm");
  escape_file(from, "x_escape");
  std::string t = safe_ut.read_text("x_escape");
  safe_ut.remove_file("x_escape");
  size_t pos = text_start(t, to, startMark);
  std::string pic = picture_folder(from);
  printf("\nFind pictures for document %s", from);

  std::string out;
  out.reserve(t.size() * 2);
  if (wrap) out += "\n<body><aa><pre>";
  text_page(t, starts, pic).run(pos, out);
  out += "\n</p></span></font></pre></body></html>\n";
  safe_ut.write_text(to, out);
  if (starts) starts->clear();
}
