// Documentation against UML and code: xs/DUC.htm, a row per class with its
// marks in the documentation, the UML model and the code, and xs/check.bat
// with the same marks as entries.  It runs only with a code root whose code
// web holds meter/code_rose_diff.htm (placed there by a step outside this
// program, with the model's class list <j2h>/xx_U).
//
// One layout of a class's data serves both sides, the document splitter's
// docClasses ("D..~<section>~~") and this page: three marks ("D" or "."
// documented, "U" or "." in the model, "C" or "." in the code), "~", the
// section that documents it, "~", the code page, "~".
#include <cctype>
#include <map>
#include <set>

#include "driver/doc_des.h"
#include "engine/escape.h"
#include "engine/ut_htm.h"
#include "runtime/safe_uts.h"
#include "store/Btree.h"

namespace {
const char* const SRC = "duc_page";


// The field of `data` behind its `n`th "~" (n from 1), up to the next one.
std::string field(const std::string& data, int n) {
  size_t at = 0;
  for (int i = 0; i < n; i++) {
    at = data.find('~', at);
    if (at == std::string::npos) return "";
    at++;
  }
  size_t e = data.find('~', at);
  return data.substr(at, e == std::string::npos ? std::string::npos : e - at);
}

}  // namespace

// Each line of the model difference: "<" or ">" in column 0 (in the code
// only, in the model only), a blank, "class ", and the name, plain or as a
// link "<a href=../<page>><name></a>" to the class's page in the code web.
void DocDes::merge_rose_diff(const std::string& t, std::map<std::string, duc_marks>& rows) {
  for (size_t c = t.find(" class "); c != std::string::npos; c = t.find(" class ", c + 7)) {
    size_t bol = t.rfind('\n', c);
    bol = bol == std::string::npos ? 0 : bol + 1;
    char m = t[bol];
    if (m != '<' && m != '>') {
      size_t e = t.find('\n', c);
      exut.show_str("line", t.substr(bol, e == std::string::npos ? std::string::npos : e - bol).c_str());
      exut.fail(__LINE__, SRC, "Content error: a class line of code_rose_diff.htm without its mark < or >");
    }
    size_t s = c + 7, e = s;
    std::string name, page;
    if (s < t.size() && t[s] == '<') {
      size_t href = t.find("href=", s), gt = t.find('>', s), lt = gt == std::string::npos ? gt : t.find('<', gt);
      if (gt == std::string::npos || lt == std::string::npos) continue;
      if (href != std::string::npos && href < gt) {
        page = t.substr(href + 5, gt - href - 5);
        if (page.compare(0, 3, "../") == 0) page.erase(0, 3);
      }
      name = t.substr(gt + 1, lt - gt - 1);
      e = lt;
    } else {
      while (e < t.size() && !isspace((unsigned char)t[e])) e++;
      name = t.substr(s, e - s);
    }
    if (name.empty()) continue;
    duc_marks& r = rows[name];
    if (!page.empty()) r.code = page;
    if (m == '<') r.mark[2] = 'C';
    if (m == '>') r.mark[1] = 'U';
    c = e > c + 7 ? e - 7 : c;
  }
}

void DocDes::do_metrics() {
  if (web.srcRoot.empty()) return;
  std::string j2h = web.srcRoot + "/j2h";
  std::string diff = j2h + "/meter/code_rose_diff.htm";
  if (safe_ut.ok_is_a(diff.c_str()) != 'f') return;
  std::map<std::string, duc_marks> rows;
  Btree_st st;
  for (unsigned ok = ut->docClasses.GetFirst(st); ok; ok = ut->docClasses.Next(st)) {
    duc_marks& r = rows[std::string(st.k, st.k_L)];
    r.mark[0] = st.c[0] == 'D' ? 'D' : '.';
    r.docu = field(st.c, 1);
  }
  merge_rose_diff(safe_ut.read_text(diff.c_str()), rows);
  std::string xxU = j2h + "/xx_U";
  if (safe_ut.ok_is_a(xxU.c_str()) != 'f') exut.fail(__LINE__, SRC, "System: not found: %s", xxU.c_str());
  std::set<std::string> uml;
  {
    Btree u(xxU.c_str(), 3);
    for (unsigned ok = u.GetFirst(st); ok; ok = u.Next(st)) uml.insert(std::string(st.k, st.k_L));
  }
  // Names the code web did not mark C may still stand in C code.
  std::set<std::string> inC;
  std::string all = j2h + "/ALL_ccode";
  if (safe_ut.readable_input(all.c_str())) {
    std::set<std::string> wanted;
    for (auto& [name, r] : rows)
      if (r.mark[2] != 'C') wanted.insert(name);
    std::string t = safe_ut.read_text(all.c_str());
    for (size_t i = 0; i < t.size();) {
      if (!(isalnum((unsigned char)t[i]) || t[i] == '_')) {
        i++;
        continue;
      }
      size_t b = i;
      while (i < t.size() && (isalnum((unsigned char)t[i]) || t[i] == '_')) i++;
      std::string w = t.substr(b, i - b);
      if (wanted.count(w)) inC.insert(w);
    }
  }
  write_duc(rows, uml, inC);
}

namespace {
// A name from the documentation or the model difference is one word of
// text in the script, never a command.
void entry(std::string& bat, const char* mark, const std::string& name) {
  bat += "\n" + std::string(mark) + bat_word(name);
}
}  // namespace

void DocDes::write_duc(const std::map<std::string, duc_marks>& rows, const std::set<std::string>& uml,
                       const std::set<std::string>& inC) {
  folder_guard in_xs;
  in_xs.enter("xs");
  FILE* f = ut->fixed_page(true, 0, "DUC.htm", "Classes in Documentation, UML Model, or Code", "");
  fputs("\n<table><thead><tr>\n<td><center><b>Docu</b><br>&nbsp;</center></td>\n<td><center><b>UML</b><br>&nbsp;"
        "</center></td>\n<td><center><b>Code</b><br>&nbsp;</center></td>\n<td> &nbsp; </td>\n<td><b>Class Name"
        "</b><br>&nbsp;</td></tr></thead><tbody></font>",
        f);
  std::string bat;
  unsigned noDocu = 0, noUml = 0, noCode = 0, code = 0;
  int n = 0;
  for (auto& [name, r] : rows) {
    if (r.mark[0] == 'D') {
      fprintf(f, "\n<tr><td><a href=%s>docu</a></td>", html_attr(r.docu).c_str());
      entry(bat, "D+", name);
    } else {
      fputs("\n<tr><td></td>", f);
      entry(bat, "D-", name);
      noDocu++;
    }
    if (uml.count(name) || r.mark[1] == 'U') {
      fprintf(f, "<td><a href=j2h/UML.htm#%s> UML </a></td>", html_attr(name).c_str());
      entry(bat, "U+", name);
    } else {
      fputs("<td></td>", f);
      entry(bat, "U-", name);
      noUml++;
    }
    if (r.mark[2] == 'C') {
      fprintf(f, "<td><a href=j2h/%s>code</a></td>", html_attr(r.code).c_str());
      entry(bat, "C+", name);
      code++;
    } else if (inC.count(name)) {
      fputs("<td>code</td>", f);
      entry(bat, "C*", name);
      code++;
    } else {
      fputs("<td></td>", f);
      entry(bat, "C-", name);
      noCode++;
    }
    fprintf(f, "<td> &nbsp; </td><td>%s</td></tr>", html_text(name).c_str());
    if (++n == 80) fputs("</table><table>", f);
  }
  fprintf(f,
          "\n</tbody></table>\n<p id=c><font size=1>\n<br>Classes not found in Documentation: %u\n<br>Classes not "
          "found in UML Model: %u\n<br>Classes not found in Code (but found in UML or Docu): %u\n<br>Classes found "
          "in Code: %u\n<br><br></font><font size=2>\nWe see: Class documentation contains at least </font>\n<font "
          "size=4 color=#FF0033><b>&nbsp;%u Contradictions to Code\n</font>.</p></body></html>",
          noDocu, noUml, noCode, code, noCode);
  safe_ut.close_FILE(&f, SRC, __LINE__);
  safe_ut.write_text("check.bat", bat + "\n");
}
