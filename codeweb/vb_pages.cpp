// The pages of VB sources (phase 11): bas.htm lists the files, each file
// gets bas<n>.htm from the reader of codeweb/vb_reader.h, and the lists
// over all of them follow: subs.htm (the public members), mBox.htm,
// crOb.htm, exec.htm and case.htm.  A web without VB has all these lists,
// empty.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <map>

#include "codeweb/java2htm.h"
#include "codeweb/vb_reader.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "vb_pages";

struct call_row {
  std::string page;  // "<n>.htm"
  vb_reader::call c;
};

struct vb_lists {
  std::vector<call_row> mBoxes, useObjs, execs;
  std::multimap<std::string, std::string> globals;  // declaration -> "<n>.htm#<anchor>"
  std::multimap<std::string, std::string> cases;    // case text -> row
};

std::string escaped(const std::string& s) {
  std::string o;
  for (char c : s) {
    if (c == '<')
      o += "&lt;";
    else
      o += c;
  }
  return o;
}

void collect(vb_lists& l, const vb_reader& r, int fNr) {
  std::string page = std::to_string(fNr) + ".htm";
  for (auto& c : r.mBoxes) l.mBoxes.push_back({page, c});
  for (auto& c : r.useObjs) l.useObjs.push_back({page, c});
  for (auto& c : r.execs) l.execs.push_back({page, c});
  for (auto& m : r.members) {
    // Classes, Dim, and what is public or global reach the global list.
    if (m.decl.empty() || !strchr("PGSDC", m.decl[0]) || m.decl.compare(0, 7, "Private") == 0) continue;
    l.globals.insert({m.decl, page + "#" + m.anchor});
  }
  for (auto& c : r.cases)
    l.cases.insert({c.text, "\n<br>" + escaped(c.text) + " : <a href=bas" + page + "#" + c.anchor + ">" +
                                escaped(c.module) + "</a>"});
}

}  // namespace

namespace {

// mBox.htm, crOb.htm, exec.htm: one row per call, in the order of the files
// and of the calls in them.
void call_page(ut_web& web, const std::string& file, const char* what, const char* anchor,
               const std::vector<call_row>& rows) {
  char title[200];
  snprintf(title, sizeof title, "We have %zu Calls of %s in VB Code:", rows.size(), what);
  FILE* f = web.open_page(file, title);
  for (auto& r : rows)
    fprintf(f, "\n<br><a href=bas%s#%s%i>%s</a> %s", r.page.c_str(), anchor, r.c.nr, what, r.c.where.c_str());
  close_page(f);
}

void case_page(ut_web& web, const std::string& file, const vb_lists& l) {
  FILE* f = web.open_page(file, "Here ALL Case Statements in VB Code:");
  for (auto& [text, row] : l.cases) fputs(row.c_str(), f);
  close_page(f);
}

// The group of a declaration in subs.htm: 0 none, 1 Class, 2 Dim, 3 Public
// Sub, 4 Public Function.
int group_of(const std::string& decl) {
  static const char* const heads[] = {"Class ", "Dim ", "Public Sub ", "Public Function "};
  for (int g = 0; g < 4; g++)
    if (decl.compare(0, strlen(heads[g]), heads[g]) == 0) return g + 1;
  return 0;
}

// The letter under which a member is found: the first of its name, upper
// case; 0 when it is no ASCII letter or digit.
char letter_of(const std::string& decl) {
  size_t s = decl.rfind(' ');
  unsigned char c = (unsigned char)decl[s == std::string::npos ? 0 : s + 1];
  return c < 0x80 && isalnum(c) ? (char)toupper(c) : 0;
}

// The alphabet bar of one group, linking the letter anchors "<c>U"
// (functions) or "<c>sU" (subs).
std::string letter_bar(const vb_lists& l, int group, const char* tail, const char* label) {
  std::string bar, seen;
  for (auto& [decl, at] : l.globals) {
    char c = letter_of(decl);
    if (group_of(decl) != group || !c || seen.find(c) != std::string::npos) continue;
    seen += c;
    bar += std::string("\n<a href=#") + c + tail + ">" + c + "</a>";
  }
  return bar.empty() ? "" : std::string("\n<br>") + label + ":" + bar;
}

void subs_page(ut_web& web, const std::string& file, const vb_lists& l) {
  FILE* f = web.open_page(file,
                          "VB Public: <a href=#cls>Classes</a>, <a href=#dim>Dim</a>, "
                          "<a href=#fun>Functions</a>, <a href=#sub>Subs</a>");
  fputs(letter_bar(l, 4, "U", "Functions").c_str(), f);
  fputs(letter_bar(l, 3, "sU", "Subs").c_str(), f);
  int count[5] = {};
  std::string letters[5];
  // The anchor of each group's first row; the classes share "dim" with Dim.
  static const char* const first_anchor[] = {"", "dim", "dim", "sub", "fun"};
  for (auto& [decl, at] : l.globals) {
    int g = group_of(decl);
    if (g && count[g]++ == 0) fprintf(f, "\n<a name=%s></a>", first_anchor[g]);
    char c = letter_of(decl);
    if (g >= 3 && c && letters[g].find(c) == std::string::npos) {
      letters[g] += c;
      if (g == 4)
        fprintf(f, "\n<a name=\"%c%c\"></a>", c, 'U');
      else
        fprintf(f, "\n<a name=\"%c%s\"></a>", c, "sU");
    }
    char first = decl.compare(0, 6, "Public") == 0 ? 'p' : decl[0];
    fprintf(f, "\n<br><a href=bas%s>%c%s</a>", at.c_str(), first, decl.c_str() + 1);
  }
  fprintf(f, "\n<br><br><font size=1>%i Classes, %i Dim, %i Public Subs, %i Public Functions</font>", count[1],
          count[2], count[3], count[4]);
  close_page(f);
}

}  // namespace

void Java2Htm::phase11_vb() {
  std::vector<std::pair<std::string, int>> files;
  for (int n = 1; n <= cfNr; n++)
    if (fKind[n] == k_vb) files.push_back({fPath[n], n});
  std::sort(files.begin(), files.end());
  FILE* bas = open_page(j2h + "/bas.htm", "VB Modules");
  fputs("<a href=subs.htm>ALL Global VB Environment</a><br>", bas);
  vb_lists lists;
  vb_reader reader(*this);
  for (auto& [key, n] : files) {
    std::string path = fReal[n].empty() ? fPath[n] : fReal[n];
    std::string page = reader.page_of(safe_ut.read_text(path.c_str()), n, shown(path));
    safe_ut.write_text((j2h + "/bas" + std::to_string(n) + ".htm").c_str(), page);
    collect(lists, reader, n);
    fprintf(bas, "\n<br><a href=bas%i.htm>%s</a>", n, escaped(shown(path)).c_str());
  }
  fprintf(bas, "\n<br><br><font size=1>%zu Files</font>", files.size());
  close_page(bas);
  subs_page(*this, j2h + "/subs.htm", lists);
  call_page(*this, j2h + "/mBox.htm", "MsgBox", "mB", lists.mBoxes);
  call_page(*this, j2h + "/crOb.htm", "CreateObject", "cr", lists.useObjs);
  call_page(*this, j2h + "/exec.htm", "ExecuteFile", "ex", lists.execs);
  case_page(*this, j2h + "/case.htm", lists);
}
