// The code against its class documentation (and a model's class list, when
// an outside step has placed the difference): meter.htm and the pages of
// meter/.  The differences are made by the built-in `diffsm M`, whose
// output has three blocks ("... found in <first>", "... found in <second>",
// "... found in both"), each a line " class <name>" per class, and after
// the third two lines "only <first> = n", "only <second> = n".
#include <cstring>

#include "codeweb/java2htm.h"
#include "engine/escape.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "metrics_pages";
}  // namespace

// The model's class list is made by no step of this program: the step
// keeps its place in the order and its diff name stays empty.
void Java2Htm::code_vs_rose() {
  exut.trace_text("Java2Htm.code_vs_rose");
}

// With <root>/class_documentation: xx_ccom (a line per documented class),
// its difference to the classes of the code and to a model's list.
void Java2Htm::code_vs_ccom() {
  if (!classDocs) return;
  std::string t;
  Btree_st st;
  for (unsigned ok = classDocs->GetFirst(st); ok; ok = classDocs->Next(st))
    t += "\nclass " + std::string(st.k, st.k_L);
  safe_ut.write_text("xx_ccom", t);
  ccomDiff = "code_ccom_diff";
  snprintf(comm_buf, sizeof comm_buf, "+diffsm M %s %s > %s", "xx_code_mo", "xx_ccom", ccomDiff.c_str());
  safe_ut.system(comm_buf);
  snprintf(comm_buf, sizeof comm_buf, "+diffsm M xx_rose %s > rose_ccom_diff", "xx_ccom");
  safe_ut.system(comm_buf);
  safe_ut.remove_file("xx_ccom");
}

// meter.htm "Quality Metrics", with a link per difference made in this run.
void Java2Htm::show_metrics() {
  dir_with_css(j2h + "/meter");
  FILE* f = open_page(j2h + "/meter.htm", "Quality Metrics");
  if (!roseDiff.empty()) diff_to_htm(f, roseDiff, "Class Design in UML");
  if (!ccomDiff.empty()) diff_to_htm(f, ccomDiff, "Class Documentation");
  close_page(f);
  check_code_rose_diff();
}

namespace {

// The end of the line that holds `at`.
size_t line_end(const std::string& t, size_t at) {
  size_t e = t.find('\n', at);
  return e == std::string::npos ? t.size() : e;
}

// Replaces the rest of the line from `at` by `text`; returns the position
// behind it.
size_t replace_line_rest(std::string& t, size_t at, const std::string& text) {
  size_t e = line_end(t, at);
  t.replace(at, e - at, text);
  return at + text.size();
}

}  // namespace

// The block heads named for a reader, and the class names linked to their
// pages where cppsecs knows them.
void Java2Htm::diff_to_htm(FILE* meter, const std::string& diffFile, const char* label) {
  fprintf(meter, "\n<br><a href=meter/%s.htm>Code vs %s</a>", diffFile.c_str(), label);
  std::string t = safe_ut.readable_input(diffFile.c_str()) ? safe_ut.read_text(diffFile.c_str()) : std::string();
  const std::string names[3] = {"found in Code", std::string("found in ") + label, "found in both"};
  size_t at = 0;
  for (int block = 0; block < 3; block++) {
    size_t f = t.find("found in ", at);
    if (f == std::string::npos) break;
    at = replace_line_rest(t, f, names[block]);
    if (block < 2) continue;
    const std::string tails[2] = {"only in Code", std::string("only in ") + label};
    for (auto& tail : tails) {
      size_t o = t.find("only xx", at);
      if (o == std::string::npos) {
        exut.show_str("search", "only xx");
        exut.fail(__LINE__, SRC, "Assertion: no \"only xx\" line in %s", diffFile.c_str());
      }
      at = replace_line_rest(t, o, tail);
    }
  }
  std::string out;
  out.reserve(t.size() + t.size() / 2);
  size_t from = 0;
  for (size_t c = t.find(" class "); c != std::string::npos; c = t.find(" class ", from)) {
    size_t name = c + 7, e = line_end(t, name);
    out += html_text(std::string_view(t).substr(from, name - from));
    std::string cls = t.substr(name, e - name);
    while (!cls.empty() && (cls.back() == ' ' || cls.back() == '\r')) cls.pop_back();
    Btree_st st;
    if (!cls.empty() && cls.size() <= 252 && cppsecs.Get(cls.c_str(), st))  // longer names are no keys
      out += "<a href=../" + html_attr(page_link(st.c)) + ">" + html_text(cls) + "</a>";
    else
      out += html_text(cls);
    from = name + cls.size();
  }
  out += html_text(std::string_view(t).substr(from));
  FILE* f = safe_ut.create((j2h + "/meter/" + diffFile + ".htm").c_str());
  fprintf(f, "\n%s<a name=top></a>%sCode vs %s%s<font size=2><pre>", head, title_head, label, title_tail);
  safe_ut.write_FILE(f, out.data(), (long)out.size());
  fputs("</pre></font>", f);
  close_page(f);
}

// meter/code_rose_diff.htm is placed by a step outside this program.  Its
// accepted line shape, the one both of its readers keep to (this one and
// the documentation-against-code page, DocDes::merge_rose_diff): a line per
// class found in one list only, with its mark in column 0 ("<" in the code
// only, ">" in the model only), a blank, "class ", and from column 8 the
// name, plain or as a link "<a href=../<page>><name></a>":
//   "> class Customer"
//   "< class <a href=../m/3.htm>Order</a>"
// A class line without a mark is refused by the page of DocDes.
// not_in_code.bat gets a grep line for each class of the model only.
void Java2Htm::check_code_rose_diff() {
  std::string diff = j2h + "/meter/code_rose_diff.htm";
  if (!safe_ut.readable_input(diff.c_str())) return;
  safe_ut.write_text((j2h + "/not_in_code.bat").c_str(), not_in_code_bat(safe_ut.read_text(diff.c_str())));
}

// The script text: the head line, and a grep line for each "> class" name.
// The file comes from outside: each name is written as one word of text
// (bat_word), which the script's shell cannot read as a command.
std::string Java2Htm::not_in_code_bat(const std::string& t) {
  std::string bat = "\n: UML Classes not found in Code (?):\n";
  for (size_t at = t.find("> class"); at != std::string::npos; at = t.find("> class", at + 7)) {
    size_t s = at + 8;
    if (s >= t.size() || t[s] == '<') continue;
    size_t e = s;
    while (e < t.size() && !isspace((unsigned char)t[e])) e++;
    if (e > s) bat += "\n  grep " + bat_word(std::string_view(t).substr(s, e - s)) + " ../alles_x";
  }
  return bat;
}
