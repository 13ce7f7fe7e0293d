// Web assembly and commit: what happens after the engine's passes.  The
// picture and presentation pages, the portal's last touches, the list of
// thin pages appended to their neighbours, the index configuration, the
// move of the finished web from xs to its position xs_<name>, the link
// check over it.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "driver/des_text.h"
#include "driver/doc_des.h"
#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"
#include "runtime/ut_repl.h"

using namespace des;

namespace {

// The text of `file` up to the first `mark` (all of it without one).
std::string text_up_to(const std::string& text, const char* mark) {
  size_t at = text.find(mark);
  return at == std::string::npos ? text : text.substr(0, at);
}

}  // namespace

// In folder xs: Arch.htm and Pres.htm, the ERD and SQL pages linked.
void DocDes::picture_pages() {
  for (const char* f : {"Arch.htm", "Pres.htm"})
    if (safe_ut.exists(f)) safe_ut.remove_file(f);
  if (!ut->ourERD.empty() && !ut->ourSQL.empty()) ut->cross_link();
  if (safe_ut.ok_is_a("Arch.ppt") == 'f')
    ut->alias("Arch.htm", "Arch.ppt");
  else
    ut->fixed_page(false, 0, "Arch.htm", "So far Architecture in Pictures does not exist", "");
  if (safe_ut.ok_is_a("Pres.ppt") == 'f')
    ut->alias("Pres.htm", "Pres.ppt");
  else
    ut->fixed_page(false, 0, "Pres.htm", "No Presentations published", "");
}

// In folder xs: the table of the web's presentations on Pres.htm.
void DocDes::presentation_table() {
  Btree ppts;
  prepare_tree(ppts, "ppts");
  for (size_t i = 1; i < web.comms.size(); i++) {
    const comm& r = web.comms[i];
    if (r.ppt.empty()) continue;
    std::string name = base_of(r.ppt);
    tree_put(ppts, r.title, r.date + "~" + r.nr + "/" + name);
  }
  if (ppts.number_of_elements() == 0) {
    empty_tree(ppts);
    return;
  }
  std::string page = safe_ut.read_text("Pres.htm");
  std::string out = text_up_to(page, "No Presentations");
  out +=
      "\nPresentations</h1></center><br><p class=1>\n<table><colgroup><col width=80><col "
      "width=80></colgroup>\n<tr><td></td><td></td><td></td></tr>\n<tr><td>Version:</td><td></"
      "td><td></td></tr>";
  Btree_st st;
  for (unsigned ok = ppts.GetFirst(st); ok; ok = ppts.Next(st)) {
    std::string v = st.c, title(st.k, st.k_L);
    size_t t = v.find('~');
    std::string date = v.substr(0, t), target = t == std::string::npos ? "" : v.substr(t + 1);
    out += "\n<tr>\n<td><font size=1>" + date + "</font></td>\n<td><font size=1>" + title +
           "</font></td>\n<td><font size=2pt><a href=\"" + target + "\">" + base_of(target) +
           "</a></font></td></tr>";
  }
  out += "</table></p></body></html>";
  safe_ut.write_text("Pres.htm", out);
  empty_tree(ppts);
}

// In folder xs: a page "doc<n>.doc" that forwards to the first section page
// of each document that has a direct view.
void DocDes::forward_direct_views() {
  for (size_t i = 1; i < web.comms.size(); i++) {
    const comm& r = web.comms[i];
    if (!r.direct) continue;
    std::string from = "doc" + r.nr + ".doc";
    std::string to = r.nr + "/" + std::to_string(r.firstPage) + ".htm";
    ut->alias(from.c_str(), to.c_str());
  }
}

// In folder xs: the portal page ends before the navigation of its bottom
// line, which would lead from the portal to itself.
void DocDes::portal_end() {
  if (safe_ut.ok_is_a("1/1.htm") != 'f') return;
  safe_ut.copy_file("tmp", "1/1.htm");
  std::string page = safe_ut.read_text("tmp");
  size_t at = page.find(". <a href=\"1.htm");
  if (at != std::string::npos) safe_ut.write_text("1/1.htm", page.substr(0, at) + "\n</body></html>");
  safe_ut.remove_file("tmp");
}

// Each page of the list `list` (paths below xs) is appended to the page
// before it: the text of that page up to "<!2a>", then the page's own text
// from its first heading on.  Pages of the portal stay as they are.
void DocDes::Appender(const char* list) {
  if (safe_ut.ok_is_a(list) != 'f') return;
  std::string names = safe_ut.read_text(list);
  size_t i = 0;
  while (i < names.size()) {
    size_t e = names.find('\n', i);
    if (e == std::string::npos) e = names.size();
    std::string line = trim(names.substr(i, e - i));
    i = e + 1;
    size_t xs = line.find("xs/");
    if (xs == std::string::npos || line.compare(xs, 5, "xs/1/") == 0) continue;
    append_to_previous(line.substr(xs, line.find_first_of(" \t", xs) - xs));
  }
  safe_ut.remove_file(list);
}

void DocDes::append_to_previous(const std::string& path) {
  size_t slash = path.rfind('/');
  if (slash == std::string::npos || safe_ut.ok_is_a(path.c_str()) != 'f') return;
  int page = atoi(path.c_str() + slash + 1);
  if (page < 2) return;
  std::string before = path.substr(0, slash + 1) + std::to_string(page - 1) + ".htm";
  if (safe_ut.ok_is_a(before.c_str()) != 'f') return;
  std::string prev = safe_ut.read_text(before.c_str());
  std::string self = safe_ut.read_text(path.c_str());
  size_t h = self.find("<h");
  if (h == std::string::npos) return;
  safe_ut.write_text(before.c_str(), text_up_to(prev, "<!2a>") + self.substr(h));
}

// The targets on the internet that the documents' closures named.
void DocDes::internet_targets() {
  printf("\nZiele im Internet:");
  int n = 0;
  Btree_st st;
  for (unsigned ok = web.internet.GetFirst(st); ok; ok = web.internet.Next(st), n++)
    printf("\nhttrack %.*s", (int)st.k_L, st.k);
  printf("\nSomit sind %i Ziele absolut addressierte Targets im Internet.\n\n", n);
}

// "xs/profs/iconf.txt": the lines "-t", "-H" and "-S" of the configuration,
// each with the lines behind it up to one that begins with "-" or is empty.
void DocDes::write_iconf(const char* conf) {
  std::string text = "\n" + safe_ut.read_text(conf);
  ut_repl::dos_to_win(text.data());
  std::string out;
  bool taking = false;
  size_t i = 1;
  while (i < text.size()) {
    size_t e = text.find('\n', i);
    if (e == std::string::npos) e = text.size();
    std::string line = text.substr(i, e - i);
    i = e + 1;
    if (line.empty() || line[0] == '-') taking = false;
    if (line.size() >= 3 && line[0] == '-' && line[2] == ' ' &&
        (line[1] == 't' || line[1] == 'H' || line[1] == 'S'))
      taking = true;
    if (taking) out += "\n" + line;
  }
  if (!out.empty()) out += "\n";
  safe_ut.write_text("xs/profs/iconf.txt", out);
}

// The portal's title and the topics of the web at its contents mark.
void DocDes::correct_1stPage(const char* file) {
  if (safe_ut.ok_is_a(file) != 'f') return;
  safe_ut.copy_file("xx_correct_1stPage", file);
  std::string page = safe_ut.read_text("xx_correct_1stPage");
  if (web.web_title.empty()) {
    for (size_t at = page.find("SAMPLE"); at != std::string::npos; at = page.find("SAMPLE", at))
      page.replace(at, 6, web.web_name), at += web.web_name.size();
  } else {
    size_t at = page.find("Brelmot");
    if (at != std::string::npos) {
      size_t end = page.find("</p>", at);
      std::string title = web.web_title + "</font></p>";
      if (!web.web_subtitle.empty())
        title += "\n<p align=center><font size=6 face=ARIAL>" + web.web_subtitle + "</font></p>";
      page = page.substr(0, at) + title + (end == std::string::npos ? "" : page.substr(end + 4));
    }
  }
  size_t cs = page.find("C_:S");
  if (cs != std::string::npos) page.insert(cs + 4, portal_topics());
  safe_ut.write_text(file, page);
  safe_ut.remove_file("xx_correct_1stPage");
}

std::string DocDes::portal_topics() {
  std::string t = "\n<br><center><b>";
  for (const std::string& topic : web.topics) {
    int det = ut->first_detail_page(topic);
    if (det >= 0)
      t += "\n<p class=1><a href=\"../det/" + std::to_string(det) + ".htm\">" + topic + "</a></p>";
  }
  t += ut->topic_list();
  t += "\n</b><br><p class=1><font size=1>\n</font></p></center>";
  return t;
}

// With the option noCards the concept index is the portal.
void DocDes::if_noCards() {
  if (!web.noCards || safe_ut.ok_is_a("xs/context.htm") != 'f') return;
  safe_ut.copy_file("xs/context", "xs/context.htm");
  std::string portal = safe_ut.read_text("xs/1/1.htm");
  std::string context = safe_ut.read_text("xs/context.htm");
  size_t a = portal.find("<a href=");
  std::string x = a == std::string::npos ? portal : portal.substr(0, a);
  size_t dollar = context.find('$');
  if (dollar != std::string::npos) {
    size_t from = context.find('\n', dollar);
    size_t to = from == std::string::npos ? std::string::npos : context.find("<br", from);
    if (from != std::string::npos) x += context.substr(from + 1, to == std::string::npos ? to : to - from - 1);
  }
  size_t c = portal.find("</center");
  if (c != std::string::npos) x += portal.substr(c);
  for (size_t at = x.find("../"); at != std::string::npos; at = x.find("../", at)) x.erase(at, 3);
  safe_ut.write_text("xs/x.htm", x);
  for (const char* f : {"xs/context.htm", "xs/docs_R.htm", "xs/docs_A.htm"}) safe_ut.copy_file(f, "xs/x.htm");
  safe_ut.copy_file("xs/1.css", "xs/1/1.css");
  std::string back;
  for (size_t i = 0; i < x.size();) {
    if (x.compare(i, 9, "<a href=\"") == 0) {
      back += "<a href=\"../";
      i += 9;
    } else {
      back += x[i++];
    }
  }
  size_t first = back.find("1/1.htm");
  if (first != std::string::npos) back = back.substr(0, first) + "\n</body></html>";
  safe_ut.write_text("xs/1/1.htm", back);
}
