// The link pages of a web: seeAlso.htm (resources in other webs), code.htm,
// reuse.htm and testres.htm, from the link lines of the configuration and
// the groups of a `Links=` file.
#include <cstdio>
#include <cstring>
#include <map>
#include <string>

#include "driver/des_text.h"
#include "driver/doc_des.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

using namespace des;

namespace {

FILE* link_page(const char* name, const char* title) {
  FILE* f = safe_ut.create(name);
  fprintf(f, "<html><head><LINK REL=stylesheet TYPE='text/css' href=1/1.css><title>%s</title></head>\n"
             "<body><center><h1>%s</h1></center>\n<p class=1>",
          title, title);
  return f;
}

void end_page(FILE** f) {
  fprintf(*f, "\n</p></body></html>\n");
  safe_ut.close_FILE(f, SRC, __LINE__);
}

// The prefix a link target gets: none for "." and "file://", "file://"
// for an absolute path, "http://" for anything else.
const char* target_prefix(const std::string& v) {
  if (begins(v, ".") || begins(v, "file://")) return "";
  // An absolute Linux path counts like one with a drive letter.
  if ((v.size() > 1 && v[1] == ':') || begins(v, "/")) return "file://";
  return "http://";
}

bool is_url_start(const std::string& s) {
  return begins(s, "http:") || begins(s, "www") || begins(s, "=");
}

}  // namespace

void DocDes::create_more_Links() {
  enter("DocDes.create_more_Links");
  FILE* see = link_page("xs/seeAlso.htm", "Resources found in other Webs");
  FILE* code = link_page("xs/code.htm", "Last Product Version: <a href=j2h/1.htm>Code</a> & "
                                        "<a href=testres.htm>Test Result</a>");
  FILE* reuse = link_page("xs/reuse.htm", "Reusable Java Code");
  FILE* test = link_page("xs/testres.htm", "Current Test Reports");
  fprintf(code, "<p class=1><a href=reuse.htm>Reusable Code</a><br><br>");
  if (!web.links_file.empty()) to_resources(see);
  Btree_st st;
  bool first = true;
  for (unsigned ok = web.links.GetFirst(st); ok;) {
    char letter = st.k[0];
    std::string text = strlen(st.k) > 2 ? st.k + 2 : "";
    std::string url = st.c;
    std::string tail;
    if (begins(text, "-")) {
      text = text.substr(1);
      tail = "<br>|";
    }
    char line[3000];
    snprintf(line, sizeof line, "\n%s<a href=\"%s%s\">%s</a>%s", first ? "" : "<br>",
             target_prefix(url), url.c_str(), text.c_str(), tail.c_str());
    first = false;
    fputs(line, letter == 'T' ? test : see);
    if (letter == 'R') fputs(line, reuse);
    if (letter == 'C') fputs(line, code);
    std::string before = st.k + std::min<size_t>(2, strlen(st.k));
    ok = web.links.Next(st);
    if (ok && strncmp(before.c_str(), st.k + std::min<size_t>(2, strlen(st.k)), 3) != 0)
      fputs("<br>|", see);
  }
  for (FILE** f : {&see, &code, &reuse, &test}) end_page(f);
}

// The groups of the `Links=` file: "- <group>" lines, then lines of a text
// and a url ("text = url", "text http://..." or a url alone).  Each group
// is a page xs/L/<i>.htm; `out` gets the links to the groups by name.
void DocDes::to_resources(FILE* out) {
  enter("DocDes.to_resources");
  std::string text = "\n" + safe_ut.read_text(web.links_file.c_str());
  std::map<std::string, std::string> groups;  // name -> page
  FILE* page = nullptr;
  int nr = 0;
  size_t i = 0;
  while (i < text.size()) {
    size_t e = text.find('\n', i + 1);
    if (e == std::string::npos) e = text.size();
    std::string line = rtrim(text.substr(i + 1, e > i ? e - i - 1 : 0));
    i = e;
    if (begins(line, "- ")) {
      if (page) end_page(&page);
      std::string name = trim(line.substr(2));
      safe_ut.ensure_dir("xs/L");
      std::string file = std::to_string(++nr);
      page = link_page(("xs/L/" + file + ".htm").c_str(), name.c_str());
      groups[name] = file;
      continue;
    }
    if (!page || trim(line).empty()) continue;
    std::string t = trim(line), url;
    size_t k = 0;
    while (k < t.size() && !is_url_start(t.substr(k))) k++;
    url = trim(t.substr(k));
    t = trim(t.substr(0, k));
    if (begins(url, "=")) url = trim(url.substr(1));
    if (t.empty()) t = url;
    bool plain = url.find("http://") == std::string::npos && url.find("file://") == std::string::npos &&
                 url.find("ftp://") == std::string::npos;
    fprintf(page, plain ? "\n<br><a href=http://%s>%s</a>" : "\n<br><a href=%s>%s</a>", url.c_str(),
            t.c_str());
  }
  if (page) end_page(&page);
  for (const auto& [name, file] : groups)
    fprintf(out, "\n<br><a href=L/%s.htm>%s</a>", file.c_str(), name.c_str());
}
