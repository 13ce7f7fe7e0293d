// The commit of a build: the steps inside xs, then, from the folder of the
// run, the thin pages, the index configuration, the portal, the move of xs
// to the web position and the link check of the finished web.
#include <cstdio>
#include <cstring>
#include <string>

#include "driver/des_text.h"
#include "driver/doc_des.h"
#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

using namespace des;

// In folder xs.
void DocDes::commit_in_xs() {
  picture_pages();
  presentation_table();
  forward_direct_views();
  portal_end();
}

// From the folder of the run, with xs complete but for these steps.
void DocDes::commit(const char* conf) {
  Appender("tmpAppender");
  internet_targets();
  write_iconf(conf);
  do_metrics();
  if (!ut->ourERD.empty()) {
    // "<docNr>/<page>.htm~<file>": the page of the ERD.
    std::string page = "xs/" + ut->ourERD.substr(0, ut->ourERD.find('~'));
    if (safe_ut.ok_is_a(page.c_str()) == 'f') safe_ut.copy_file("xs/er1.htm", page.c_str());
  }
  safe_ut.copy_file("xs/profs/wconf.txt", conf);
  correct_1stPage("xs/1/1.htm");
  // The documents' "code" links point into xs/j2h: the code root's web.
  if (!web.srcRoot.empty()) {
    std::string code = web.srcRoot + "/j2h";
    if (safe_ut.ok_is_a(code.c_str()) == 'd') safe_ut.copy_tree("xs/j2h", code.c_str(), 0);
  }
  publish_code("xs/app/j2h/1.htm");
  safe_ut.system("del xs/x_*.htm 2>&1 > NUL");
  if (!begins(web.web_pos, "xs_")) {
    printf("\nW a r n i n g :  No web position specified, xs is the web\n");
    return;
  }
  // 1.bat keeps the bytes a Windows user runs; nothing here runs it.
  safe_ut.write_text("1.bat", "\nstart " + web.web_pos + "\\1.htm");
  if (begins(web.web_pos, "xs_found")) safe_ut.system((web.web_pos + "/s.htm").c_str());
  if_noCards();
  move_web();
  if (web.srcRoot.empty()) {
    std::string report = web.web_pos + "/webConf.htm";
    ut->check_tree(web.web_pos.c_str(), report.c_str(), started);
  }
  printf("\no k  -  Web is %s", web.web_pos.c_str());
}

// xs becomes the web position.  Platform: where the description removes the
// old web and a folder "tmp" with a shell command and then moves xs, the
// finished web here takes the place of the old one by renames (a swap in
// one step where the file system allows), so that a build that fails or is
// killed at any point leaves the previous web exactly as it was, and no
// folder of the user's (a plain "tmp") is ever touched.
void DocDes::move_web() {
  safe_ut.replace_folder("xs", web.web_pos.c_str());
}

