// A plain page for a Java source until the Java reader takes its place:
// the text with "<" escaped, its package and its row in the class list,
// so that the frame pages and their links are whole.
#include <cstring>

#include "codeweb/java2htm.h"
#include "engine/escape.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "java_page_stub";

std::string package_of(const std::string& text) {
  for (size_t at = text.find("package"); at != std::string::npos; at = text.find("package", at + 7)) {
    if (at > 0 && text[at - 1] != '\n') continue;
    size_t semi = text.find(';', at);
    size_t eol = text.find('\n', at);
    if (semi == std::string::npos || (eol != std::string::npos && eol < semi)) continue;
    std::string p;
    for (size_t k = at + 7; k < semi; k++)
      if (!isspace((unsigned char)text[k])) p += text[k];
    return p;
  }
  return "";
}
}  // namespace

void java_page(Java2Htm& web, int fNr, const std::string& src, const std::string& page) {
  std::string text = safe_ut.read_text(src.c_str());
  std::string base = src.substr(src.rfind('/') + 1);
  std::string cls = base.substr(0, base.size() - 5);
  std::string package = package_of(text);
  long code = 0;
  std::string out;
  for (size_t i = 0; i < text.size(); i++) {
    char c = text[i];
    if (c == '<') {
      out += "&lt;";
      continue;
    }
    if (c == '\n' && i + 1 < text.size() && text[i + 1] != '\n') code++;
    out += c;
  }
  if (!text.empty() && text[0] != '\n') code++;
  FILE* f = web.open_page(page, html_text(cls).c_str());
  fputs("<pre class=\"Classes\"><font size=2>", f);
  safe_ut.write_FILE(f, out.data(), (long)out.size());
  fprintf(f, "<br><a name=toc></a></pre>\n<br><font size=1>%li neLoCode\n+ %i LoComm</font></body></HTML>\n", code, 0);
  safe_ut.close_FILE(&f, SRC, __LINE__);
  web.neLoCode += code;
  std::string name = page.substr(page.rfind('/') + 1);
  if (!package.empty()) web.check_package_name(src.c_str(), package.c_str());
  std::string row = "\n<br><a href=\"" + name + "#toc\"\nTARGET=\"frame3\">" + html_text(cls) + "</a>";
  Java2Htm::tree_put(web.javaClasses, package + "+" + cls + "+" + std::to_string(code) + "+0", row);
  (void)fNr;
}

int Java2Htm::defNameNr(const char* name) {
  std::string n = name;
  size_t lt = n.find('<');
  if (lt != std::string::npos) n = n.substr(0, lt);
  Btree_st st;
  if (nameNr.Get(n.substr(0, 252).c_str(), st)) return atoi(st.c);
  ++nameNrCount;
  tree_put(nameNr, n, std::to_string(nameNrCount));
  if (n != name) tree_put(nameNr, name, std::to_string(nameNrCount));
  return nameNrCount;
}

void Java2Htm::check_package_name(const char* path, const char* package) {
  if (!dotRoot) tree_put(ourPackages, package, "");
  (void)path;
}
