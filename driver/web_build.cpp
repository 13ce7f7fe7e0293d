// The build after the reading: the engine's web pass in folder xs, the
// installation's pictures and documents beside the pages, the open
// references, the commit of the web, and the closing report.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "driver/des_text.h"
#include "driver/doc_des.h"
#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

using namespace des;

namespace {

// The number of "<a " tags in the pages *.htm of the current folder whose
// fourth character is 'h' (links) and of the others (anchors).
void count_anchors(int& names, int& hrefs) {
  names = hrefs = 0;
  for (const std::string& f : safe_ut.list_dir(".")) {
    if (!ends_nocase(f, ".htm") || safe_ut.ok_is_a(f.c_str()) != 'f') continue;
    std::string t = safe_ut.read_text(f.c_str());
    for (size_t at = t.find("<a "); at != std::string::npos; at = t.find("<a ", at + 3))
      (at + 3 < t.size() && t[at + 3] == 'h' ? hrefs : names)++;
  }
}

}  // namespace

int DocDes::finish_build(const char* conf) {
  {
    folder_guard in_xs;
    in_xs.enter("xs");
    ut->make_pages(web.max_page, nullptr);
    // The topic folders and the concept index, from what the index gathered.
    ut->make_topicPages(".");
    printf("\nNow fetch PATH/ut_brelmot/keep/_*.gif :\n");
    install_files();
    ut->close_check();
    commit_in_xs();
  }
  commit(conf);
  built = true;
  if (testMe) {
    int names = 0, hrefs = 0;
    count_anchors(names, hrefs);
    printf("\n\nCreated %8i <a name=...>\nCreated %8i <a href=...>\n", names, hrefs);
  }
  // Opening the web for a person is nothing on this platform: the runner
  // prints the line under showComm and does nothing else.
  safe_ut.system("start 1.bat");
  if (exut.msg[0]) exut.fail(__LINE__, SRC, "see messages");
  return 0;
}

// The arrows of the page navigation, the read-me and the templates of the
// installation, into the current folder (xs).
void DocDes::install_files() {
  for (const std::string& f : safe_ut.list_dir((web.inst + "/keep").c_str())) {
    if (!ends_nocase(f, ".gif")) continue;
    std::string from = web.inst + "/keep/" + f;
    if (safe_ut.ok_is_a(from.c_str()) == 'f') safe_ut.copy_file(f.c_str(), from.c_str());
  }
  for (const char* f : {"webRoot.pdf", "templates.pdf"}) {
    std::string from = web.inst + "/doc/" + f;
    if (safe_ut.ok_is_a(from.c_str()) == 'f') safe_ut.copy_file(f, from.c_str());
  }
  // The pages one folder down (detail pages, the documents' menus) take
  // the fixed style sheet from the web's root.
  if (!safe_ut.exists("1.css")) {
    FILE* css = safe_ut.create("1.css");
    ut_htm::fixed_css(css);
    safe_ut.close_FILE(&css, SRC, __LINE__);
  }
}

// The closing report of a build that reached its end.
void DocDes::closing_report() {
  long secs = (long)(safe_uts::now() - started);
  if (secs < 0) secs = 0;
  const char* name = web.web_name.c_str();
  printf("\n\n        Time needed to create the %s web: %u sec\n\n        %i hints [?] were created "
         "to mark inconsistent text,\n        %i occurrences of typed names became hotspots.\n\n"
         "        Web's portal is: xs_%s/1.htm\n\n        For webs consisting of only one "
         "document the portal is\n        xs_%s/2/6.htm (set oneDoc = TRUE in htm.ic).\n\n",
         name, (unsigned)secs, ut->hints, ut->hot_links, name, name);
  if (web.web_pos.empty()) return;
  // The arrow pictures of the page navigation come from the installation.
  for (const std::string& f : safe_ut.list_dir((web.inst + "/keep").c_str())) {
    if (f.empty() || f[0] != '_' || !ends_nocase(f, ".gif")) continue;
    std::string from = web.inst + "/keep/" + f, to = web.web_pos + "/" + f;
    if (safe_ut.ok_is_a(from.c_str()) == 'f') safe_ut.copy_file(to.c_str(), from.c_str());
  }
  if (web.oneDoc) {
    std::string portal = web.web_pos + "/1/1.htm";
    safe_ut.write_text(portal.c_str(),
                       "<HTML><head><meta http-equiv=\"refresh\" content=\"0; URL=../2/6.htm\"></head></HTML>");
    printf("\noneDoc, daher:");
    printf("\nNun ersetze in xs_%s Umleitung 1/1.htm durch 2/6.htm.\n", name);
  }
  std::string check = "checkweb \"" + web.web_pos + "\"";
  safe_ut.system(check.c_str());
}
