// The frame pages of a code web: the frameset f.htm, the package list of
// frame 1 (packages.htm, pack.htm), the class lists of frame 2 (p<i>.htm,
// classes.htm), the overview docu.htm of frame 3 and the title page 1.htm.
#include <cstring>

#include "codeweb/java2htm.h"
#include "engine/escape.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "frame_pages";

const char* const frameset =
    "<HTML>\n<HEAD>\n<TITLE>%s</TITLE>\n</HEAD>\n"
    "<FRAMESET cols=\"27%%,73%%\">\n"
    "<FRAMESET rows=\"30%%,70%%\">\n"
    "<FRAME src=\"packages.htm\" name=\"frame1\">\n"
    "<FRAME src=\"classes.htm\" name=\"frame2\">\n"
    "</FRAMESET>\n"
    "<FRAME src=\"%s\" name=\"frame3\">\n"
    "<NOFRAMES>\n"
    "<H2>\nFrame Alert</H2>\n\n"
    "<P>\nThis document is designed to be viewed using the frames feature.\n"
    "If you see this message, you are using a non-frame-capable web client.\n"
    "</NOFRAMES>\n"
    "</FRAMESET>\n</HTML>\n";

// The five folders of a generated sample that get a separator row.
const char* const sample_folders[] = {"app/eBean/bmp/DomainValues", "app/eBean/cmp/DomainValues", "app/eBean/pk",
                                      "app/mBean", "app/sBean"};

}  // namespace

void Java2Htm::write_frameset(const std::string& frame3) {
  std::string t = html_text(title.empty() ? root : title);
  FILE* f = safe_ut.create((j2h + "/f.htm").c_str());
  fprintf(f, frameset, t.c_str(), frame3.c_str());
  safe_ut.close_FILE(&f, SRC, __LINE__);
}

// The offset of the common prefix of package names: behind the last dot of
// the first package, and one back for each later package in which the
// character before it is a letter or digit.
int Java2Htm::prefix_cut(int offset, const std::string& package) {
  if (offset > (int)package.size()) offset = (int)package.size();
  while (offset > 0 && safe_uts::is_alnum((unsigned char)package[offset - 1])) offset--;
  return offset;
}

void Java2Htm::phase8_class_lists() {
  Btree_st st;
  std::string package = "\n";
  FILE* p = nullptr;
  long code = 0, comm = 0;
  std::vector<std::string> packages;
  auto close_p = [&]() {
    if (!p) return;
    fprintf(p, "\n<br><br><font size=1>%li neLoCode + %li LoComm</font></BODY></HTML>\n", code, comm);
    safe_ut.close_FILE(&p, SRC, __LINE__);
  };
  for (unsigned ok = javaClasses.GetFirst(st); ok; ok = javaClasses.Next(st)) {
    std::string k(st.k, st.k_L);
    std::vector<std::string> f;
    for (size_t a = 0;;) {
      size_t e = k.find('+', a);
      f.push_back(k.substr(a, e == std::string::npos ? e : e - a));
      if (e == std::string::npos) break;
      a = e + 1;
    }
    if (f[0] != package) {
      close_p();
      package = f[0];
      packages.push_back(package);
      std::string t = html_text(package);
      p = safe_ut.create((j2h + "/p" + std::to_string(packages.size()) + ".htm").c_str());
      fputs(head, p);
      fprintf(p, "<a href=\"docu.htm\" TARGET=\"frame3\">Java Classes and Interfaces in<br>%s</a><br>", t.c_str());
      code = comm = 0;
    }
    fputs(st.c, p);
    if (f.size() >= 4) {
      code += atol(f[f.size() - 2].c_str());
      comm += atol(f[f.size() - 1].c_str());
    }
  }
  close_p();
  write_packages(packages);
}

void Java2Htm::write_packages(const std::vector<std::string>& packages) {
  std::string t = html_text(title.empty() ? "Code" : title);
  std::string pk = head;
  pk += "<a href=\"1.htm\" TARGET=\"_top\">ALL</a> &nbsp; <a href=\"docu.htm\" TARGET=\"frame3\">Overview</a>"
        " &nbsp; <a href=\"classes.htm\" TARGET=\"frame2\">Classes</a> &nbsp; <a href=\"pack.htm\">Folders</a>\n"
        "<br><br><font size=2>Packages and/or Folders:</font><br>";
  int offset = -1;
  for (size_t i = 0; i < packages.size(); i++) {
    const std::string& name = packages[i];
    if (name.empty()) {
      // classes without a package: a row of their own, no part in the cut
    } else if (offset < 0) {
      size_t dot = name.rfind('.');
      offset = dot == std::string::npos ? 0 : (int)dot + 1;
    } else {
      offset = prefix_cut(offset, name);
    }
    std::string shown_name = name.empty() ? "(no package)" : name.substr(std::min((size_t)std::max(offset, 0), name.size()));
    if (shown_name.empty()) shown_name = name;
    char row[64];
    snprintf(row, sizeof row, "\n<br><a href=\"p%zu.htm\" TARGET=\"frame2\">", i + 1);
    pk += row + html_text(shown_name) + "</a>";
  }
  safe_ut.write_text((j2h + "/packages.htm").c_str(), pk + "\n</font></BODY></HTML>\n");
  std::string pack = pk.substr(0, pk.find("Packages and/or")) + "Packages:</font><br>";
  Btree_st st;
  for (unsigned ok = dirsFor.GetFirst(st); ok; ok = dirsFor.Next(st)) {
    std::string folder(st.k, st.k_L);
    if (!folder.empty() && folder[0] == '/') folder.erase(0, 1);
    for (const char* s : sample_folders)
      if (strcasecmp(folder.c_str(), s) == 0) pack += "\n<br>|";
    for (char& c : folder)
      if (c == '/') c = '.';
    pack += "\n<br>" + html_text(folder.empty() ? "." : folder);
  }
  safe_ut.write_text((j2h + "/pack.htm").c_str(), pack + "\n</font></BODY></HTML>\n");
  (void)t;
}

void Java2Htm::phase12_classes() {
  Btree_st st;
  int n = 0;
  std::string rows;
  for (unsigned ok = javaClasses.GetFirst(st); ok; ok = javaClasses.Next(st)) {
    n++;
    rows += st.c;
  }
  char all[600];
  snprintf(all, sizeof all, all_href.c_str(), "1");
  FILE* f = safe_ut.create((j2h + "/classes.htm").c_str());
  fputs(head, f);
  fprintf(f, "<a href=\"%s\" TARGET=\"_top\">ALL</a> &nbsp; <a href=\"1.htm\" TARGET=\"_top\">Code</a> &nbsp; "
             "<a href=\"%s\" TARGET=\"frame3\">Knowhow</a>\n<br><br><font size=2>%i Classes and Interfaces<br>",
          html_attr(all).c_str(), html_attr(knowhow_href).c_str(), n);
  safe_ut.write_FILE(f, rows.data(), (long)rows.size());
  if (slots > 0) {
    fprintf(f, "\n<br>%i Custom Code Slots<br>", slots);
    for (const std::string& c : customised) printf("\ncustomize: %s", c.c_str());
  }
  fprintf(f, "\n%li neLoCode + %li LoComm</font></font></BODY></HTML>\n", neLoCode, LoComm);
  safe_ut.close_FILE(&f, SRC, __LINE__);
}

// The head of docu.htm is packages.htm up to the end of its first link's
// opening tag; the first link must be there.
void Java2Htm::phase17_overview() {
  if (sample) {
    sample_overview();
    return;
  }
  std::string pk = safe_ut.read_text((j2h + "/packages.htm").c_str());
  safe_ut.write_text("__j1", pk);
  size_t a = pk.find("<a ");
  if (a == std::string::npos || pk.find("</a>", a) == std::string::npos)
    exut.fail(__LINE__, SRC, "AppError: no link in %s/packages.htm", j2h.c_str());
  std::string d = pk.substr(0, pk.find('>', a) + 1);
  d += "\n<font size=4>ALL Code " + html_text(title.empty() ? shown_root() : title) +
       "</a>\n<br><br>Views on: </font>\n<a href=alles.htm>Size</a>";
  static const char* const views[][2] = {{"XML", "dep.htm"},   {"JAVA", "packages.htm"}, {"JS", "jscr.htm"},
                                         {"JSP", "jsp.htm"},   {"HTM", "htm.htm"},       {"CSS", "css.htm"},
                                         {"ASP", "asp.htm"},   {"VB", "bas.htm"},        {"UML", "des.htm"},
                                         {"C++", "cpp.htm"},   {"C#", "cs.htm"},       {"PHP", "phc.htm"},
                                         {"COBOL", "cobp.htm"}};
  // C# leads to its menu cs.htm (as C++ to cpp.htm), which links the file
  // list csfs.htm.
  for (auto& v : views) d += std::string("\n, <a href=") + v[1] + ">" + v[0] + "</a>";
  d += "\n<br><br><a href=class.htm>Classes</a>\n, <a href=roots.htm>Roots</a>\n, <a href=types.htm>Types</a>";
  if (safe_ut.ok_is_a((root + "/er1.htm").c_str()) == 'f') copy_er1();
  // The entry shows the page written from our_ERD.a as well as a copied one.
  if (safe_ut.ok_is_a((j2h + "/er1.htm").c_str()) == 'f') d += "\n, <a href=er1.htm>ERD</a>";
  if (safe_ut.ok_is_a("xx_ALL.htm") == 'f') {
    safe_ut.copy_file((j2h + "/UML.htm").c_str(), "xx_ALL.htm");
    d += "\n, <a href=UML.htm>UML</a>, <a href=meter.htm>Metrics</a>";
  }
  if (safe_ut.ok_is_a((root + "/alles_dep").c_str()) == 'f') {
    show_Module_Dependencies();
    d += "\n, <a href=MoDep.htm>Modules</a>";
  }
  // The report pages are written in any case (cpp.htm links them); the
  // overview names only those whose tree a reader made.
  show_DLLs();
  show_Exceptions();
  show_statics();
  if (dlls) d += "\n, <a href=DLLs.htm>DLLs</a>";
  if (exceptions) d += "\n, <a href=exps.htm>Exceptions</a>";
  if (statics) d += "\n, <a href=stat.htm>Statics</a>";
  clock.step("16-17 overview");
  seeAufrufe();
  show_Aufrufe();
  show_notA();
  clock.step("call relation");
  d += "\n<br><br>Calls: <a href=rufA.htm>Callers</a>\n, <a href=rufe.htm>Calls</a>\n, <a href=ALLf.htm>Functions</a>"
       "\n<br><a href=fdep.htm>File Dependencies</a>\n, <a href=trus.htm>Traced</a>\n, <a href=notA.htm>Not Analysed</a>";
  d += "\n</font></BODY></HTML>\n";
  safe_ut.write_text((j2h + "/docu.htm").c_str(), d);
  close_jscr();
  write_title_page();
}

// A generated sample shows its five sample pages and the two remembered
// abstract classes instead of the overview; the call relation is made
// all the same.
void Java2Htm::sample_overview() {
  for (int i = 1; i <= 5; i++) use_sample(i);
  for (int i = 0; i < 2; i++)
    if (!sample_pages[i].empty()) {
      std::string from = j2h + "/" + sample_pages[i] + ".htm";
      if (safe_ut.ok_is_a(from.c_str()) == 'f')
        safe_ut.copy_file((j2h + "/ex" + std::to_string(6 + i) + ".htm").c_str(), from.c_str());
    }
  clock.step("16-17 overview");
  seeAufrufe();
  show_Aufrufe();
  clock.step("call relation");
  close_jscr();
  std::string t = head;
  t += "<center><br><br><font size=6>Sample Enterprise Java Beans</font><br><br>"
       "<a href=\"f.htm\">[ " + html_text(shown_root()) + " ]</a>";
  char line[200];
  snprintf(line, sizeof line, "<br><br>%i Source Files as of %s", nSources, date.c_str());
  t += line;
  t += "<br><br><br><font size=1>coded automatically by TORMEL (tormel.exe)</font></center></font></BODY></HTML>\n";
  safe_ut.write_text((j2h + "/1.htm").c_str(), t);
}

void Java2Htm::write_title_page() {
  std::string sel = selection.empty() ? "" : " : " + html_text(selection);
  std::string t = head;
  t += "<center><br><br><font size=6>All Code</font><br><br>in the tree<br><br>"
       "<a href=\"f.htm\">[ " + html_text(shown_root()) + " ]" + sel + "</a>";
  char line[200];
  snprintf(line, sizeof line, "<br><br>%i Source Files as of %s", nSources, date.c_str());
  t += line;
  for (int i = 0; i < 3; i++)
    if (!titles[i].empty()) t += "<br><br>" + html_text(titles[i]);
  t += "<br><br><br><font size=1>Pages written by " + html_text(exe) +
       " from the sources as they stand: code, comments and the lists of its classes.</font>"
       "</center></font></BODY></HTML>\n";
  safe_ut.write_text((j2h + "/1.htm").c_str(), t);
}
