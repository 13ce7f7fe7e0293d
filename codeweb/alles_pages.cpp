// Pages from the concatenations beside the sources: the make files
// (<root>/alles_mak: maks.htm and bins.htm) and the resource scripts
// (<root>/alles_rc: dialogs.htm).  Each concatenation holds its files one
// behind the other, each after a line "file: <path>".
#include <algorithm>
#include <cstring>
#include <map>
#include <set>

#include "codeweb/java2htm.h"
#include "engine/escape.h"
#include "runtime/safe_uts.h"

namespace {

// The word that ends at `end` (exclusive): back to a blank, a quote, a
// slash, a backslash, a parenthesis, "=" or "~".
std::string word_before(const std::string& t, size_t end) {
  size_t b = end;
  while (b > 0 && !strchr(" \t\r\n\"/\\()=~", t[b - 1])) b--;
  return t.substr(b, end - b);
}

std::string rest_of_line(const std::string& t, size_t at) {
  size_t e = t.find('\n', at);
  std::string r = t.substr(at, e == std::string::npos ? std::string::npos : e - at);
  while (!r.empty() && (r.back() == '\r' || r.back() == ' ' || r.back() == '\t')) r.pop_back();
  return r;
}

}  // namespace

// The object files of each make file, with the project (PROJ=) and the
// target (ALL : "...") they are built for: "%s~%s~%s" rows, one console
// line "comp: <object> = <project>" each.
void Java2Htm::extract_from_mak() {
  std::string file = root + "/alles_mak";
  if (!safe_ut.readable_input(file.c_str())) return;
  for (auto& [obj, project] : mak_rows(safe_ut.read_text(file.c_str()), makRows, makFiles))
    printf("\ncomp: %s = %s", obj.c_str(), project.c_str());
}

std::vector<std::pair<std::string, std::string>> Java2Htm::mak_rows(const std::string& text,
                                                                    std::set<std::string>& rows, int& files) {
  std::vector<std::pair<std::string, std::string>> added;
  std::string project, target;
  size_t at = 0;
  while (at < text.size()) {
    size_t nl = text.find('\n', at);
    size_t end = nl == std::string::npos ? text.size() : nl;
    std::string line = text.substr(at, end - at);
    at = end + 1;
    if (line.compare(0, 6, "file: ") == 0) {
      files++;
      project.clear();
      target.clear();
      continue;
    }
    if (line.empty() || line[0] == '#') continue;
    if (line.compare(0, 5, "PROJ=") == 0) {
      project = rest_of_line(line, 5);
      std::erase(project, '~');  // "~" divides the parts of a row
      continue;
    }
    if (line.compare(0, 7, "ALL : \"") == 0) {
      size_t q = line.find('"', 7);
      target = line.substr(7, q == std::string::npos ? std::string::npos : q - 7);
      std::erase(target, '~');
      continue;
    }
    for (size_t o = line.find(".obj"); o != std::string::npos; o = line.find(".obj", o + 4)) {
      std::string obj = word_before(line, o + 4);
      if (obj.size() <= 4) continue;
      if (rows.insert(obj + "~" + project + "~" + target).second) added.push_back({obj, project});
    }
  }
  return added;
}

// maks.htm: per object file the projects and targets that need it;
// bins.htm: per target the object files it is made of.
void Java2Htm::show_maks() {
  std::set<std::string> objs;
  std::map<std::string, std::set<std::string>> byTarget;
  for (const std::string& r : makRows) {
    size_t a = r.find('~'), b = r.find('~', a + 1);
    objs.insert(r.substr(0, a));
    byTarget[r.substr(b + 1)].insert(r.substr(0, a));
  }
  const char* const sep = "\n<tr><td>____________________</td><td></td></tr>";
  FILE* f = open_page(j2h + "/maks.htm", "Binary Code Structure");
  fputs("Compilation Units (and where we need them)<br>\n<table>", f);
  std::string last;
  for (const std::string& r : makRows) {
    size_t a = r.find('~'), b = r.find('~', a + 1);
    std::string obj = r.substr(0, a);
    if (!last.empty() && obj != last) fputs(obj[0] != last[0] ? "\n<tr><td>|</td><td></td></tr>" : sep, f);
    fprintf(f, "\n<tr><td>%s</td><td>%s</td><td>%s</td></tr>", obj == last ? "" : html_text(obj).c_str(),
            html_text(r.substr(a + 1, b - a - 1)).c_str(), html_text(r.substr(b + 1)).c_str());
    last = obj;
  }
  fprintf(f, "\n</table>\n<font size=1> %i obj files, %i mak files</font>", (int)objs.size(), makFiles);
  close_page(f);
  f = open_page(j2h + "/bins.htm", "Make File Results: DLL, LIB, EXE");
  fputs("<table>", f);
  bool first = true;
  for (auto& [target, list] : byTarget) {
    if (!first) fputs(sep, f);
    first = false;
    bool head = true;
    for (const std::string& obj : list) {
      fprintf(f, "\n<tr><td>%s</td><td>%s</td></tr>", head ? html_text(target).c_str() : "", html_text(obj).c_str());
      head = false;
    }
  }
  fprintf(f, "\n</table>\n<font size=1> %i obj files, %i make files</font>", (int)objs.size(), makFiles);
  close_page(f);
}

// dialogs.htm from <root>/alles_rc.
void Java2Htm::cpp_Dialogs() {
  std::string file = root + "/alles_rc";
  if (!safe_ut.readable_input(file.c_str())) return;
  unsigned n = 0;
  std::string body = dialogs_of(safe_ut.read_text(file.c_str()), n);
  char title[64];
  snprintf(title, sizeof title, "There are %u Dialogs:", n);
  FILE* f = open_page(j2h + "/dialogs.htm", title);
  fputs(body.c_str(), f);
  fprintf(f, "\n<br><font size=1>%i Dialogs</font>", (int)n);
  close_page(f);
}

// Each "IDD_<name> DIALOG" at the start of a line (or the DIALOGEX of later
// resource compilers, read as the same) with its resource text as it
// stands, up to the "END" that closes it: the list of links, then the
// sections.
std::string Java2Htm::dialogs_of(const std::string& t, unsigned& n) {
  std::string list, sections;
  for (size_t at = t.find("IDD_"); at != std::string::npos; at = t.find("IDD_", at + 4)) {
    if (at > 0 && t[at - 1] != '\n') continue;
    size_t nl = t.find('\n', at);
    std::string line = t.substr(at, nl == std::string::npos ? std::string::npos : nl - at);
    size_t d = line.find(" DIALOG");
    if (d == std::string::npos) continue;
    std::string kind = rest_of_line(line, d + 1);
    if (kind.size() > 6 && kind[6] != ' ' && kind.compare(6, 2, "EX") != 0) continue;
    std::string name = line.substr(0, d);
    size_t end = t.find("\nEND", at);
    end = end == std::string::npos ? t.size() : std::min(t.size(), end + 4);
    if (end < at + 4) end = at + 4;
    list += "\nDialog &nbsp; <a href=#" + html_attr(name) + ">" + html_text(name) + "</a><br>";
    sections += "\n<a name=\"" + html_attr(name) + "\"></a><pre>" + html_text(t.substr(at, end - at)) + "</pre>";
    n++;
    at = end - 4;  // the search goes on behind the END
  }
  return list + sections;
}
