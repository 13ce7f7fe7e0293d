// The code webs of a build: the code web of the code root, built when the
// documents have no index/to_code yet, and the published components, each
// copied to xs/app<i> and listed on xs/app/j2h/1.htm.  The code web itself
// belongs to a higher layer: it is reached only through the command
// runner's built-in "j2h", which that layer registers at program start.
#include <cstdio>
#include <cstring>
#include <string>

#include "driver/doc_des.h"
#include "engine/escape.h"
#include "runtime/builtins.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "code_publish";

bool ends_nocase(const std::string& s, const char* tail) {
  size_t n = strlen(tail);
  return s.size() >= n && strcasecmp(s.c_str() + s.size() - n, tail) == 0;
}
}  // namespace

bool DocDes::run_code_web(const std::string& root) {
  if (!builtins::code_web()) {
    printf("\nno code web in this program: %s", root.c_str());
    return false;
  }
  if (root.find('"') == std::string::npos) {
    snprintf(comm_buf, sizeof comm_buf, "j2h \"%s\"", root.c_str());
    safe_ut.system(comm_buf);
  } else {
    // A quote cannot stand inside a quoted word of a command line.
    builtins::code_web()({root});
  }
  return true;
}

// The fixed page "No Code published" becomes the list of components: its
// title loses the "No ", and a row per component follows, the highest
// number first.
void DocDes::publish_code(const char* file) {
  if (web.last_code_tree == 0) return;
  const char* const mark = "No Code published";
  std::string page = safe_ut.ok_is_a(file) == 'f' ? safe_ut.read_text(file) : "";
  size_t at = page.find(mark);
  if (at == std::string::npos) exut.fail(__LINE__, SRC, "AppError: \"%s\" not in %s", mark, file);
  size_t end = page.find("</body>", at);
  std::string out = page.substr(0, at) + page.substr(at + 3, end == std::string::npos ? end : end - at - 3);
  while (!out.empty() && out.back() == '\n') out.pop_back();
  out += "<p class=1>";
  for (int i = (int)web.comms.size() - 1; i >= 1; i--) {
    const doc_record& rec = web.comms[i];
    if (rec.com != 'j' || rec.src.empty()) continue;
    printf("\nj2h app%i = %s\n", i, rec.src.c_str());
    run_code_web(rec.src);
    std::string app = "xs/app" + std::to_string(i);
    safe_ut.ensure_dir(app.c_str());
    std::string pics = rec.src + "/tips/pic";
    if (safe_ut.ok_is_a(pics.c_str()) == 'd') safe_ut.copy_tree((app + "/pic").c_str(), pics.c_str(), 0);
    std::string j2h = rec.src + "/j2h";
    if (safe_ut.ok_is_a(j2h.c_str()) == 'd') safe_ut.copy_tree((app + "/j2h").c_str(), j2h.c_str(), 0);
    for (const std::string& name : safe_ut.list_dir(rec.src.c_str())) {
      std::string from = rec.src + "/" + name;
      if ((ends_nocase(name, ".txt") || ends_nocase(name, ".xml")) && safe_ut.ok_is_a(from.c_str()) == 'f')
        safe_ut.copy_file((app + "/" + name).c_str(), from.c_str());
    }
    char row[200];
    snprintf(row, sizeof row, "\n<br>Code for : <a href=\"../../app%i/j2h/1.htm\">", i);
    out += row + html_text(rec.title) + "</a>";
    safe_ut.ensure_dir((app + "/j2h").c_str());
    safe_ut.write_text((app + "/j2h/docu.htm").c_str(),
                       "<HTML><BODY><font face=\"Arial, Verdana\" size=2>No Documents for this Component"
                       "</font></BODY></HTML>\n");
  }
  out += "\n</p></body></HTML>";
  safe_ut.write_text("xs/tmp_codeRoot", out);
  safe_ut.copy_file(file, "xs/tmp_codeRoot");
  safe_ut.remove_file("xs/tmp_codeRoot");
}
