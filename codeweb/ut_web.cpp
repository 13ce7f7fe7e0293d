// The page frame of the code web.
#include "codeweb/ut_web.h"

#include <unordered_set>

#include "engine/ut_htm.h"
#include "runtime/file_ops.h"
#include "runtime/safe_uts.h"

namespace {

const char* const page_head =
    "<!DOCTYPE HTML PUBLIC \"-//W3C//DTD HTML 4.0 Transitional//EN\">\n"
    "<HTML><HEAD><link rel=stylesheet type=\"text/css\" href=\"j2h.css\"></HEAD>\n"
    "<BODY text=\"#000000\" link=\"#FF3333\" vlink=\"#FF3333\" alink=\"#FF3333\">"
    "<font face=\"Arial, Verdana\" size=2>\n";

const char* const table_head =
    "\n<table id=\"Header\" border=0 cellpadding=0 cellspacing=0 width=\"100%\">"
    "<tr><td class=\"Header\" align=center><font size=\"4\">";

const char* const table_tail = "</font></td></tr></table>\n";

const char* const blanks =
    " &nbsp; &nbsp; &nbsp; &nbsp; &nbsp; &nbsp; &nbsp; &nbsp; &nbsp; &nbsp; &nbsp; &nbsp; &nbsp;"
    " &nbsp; &nbsp; &nbsp; &nbsp; &nbsp; &nbsp; &nbsp; &nbsp; &nbsp; &nbsp; &nbsp; &nbsp; &nbsp;"
    " &nbsp;";

}  // namespace

ut_web::ut_web() : head(page_head), title_head(table_head), title_tail(table_tail), filler(blanks) {}

void ut_web::dir_with_css(const std::string& dir) {
  // Called for every page: a folder this build has prepared costs nothing.
  // The set belongs to the build, so a later build in the same process
  // (whose web was removed in between) prepares its folders anew.
  if (css_dirs_.count(dir)) return;
  safe_ut.ensure_dir(dir.c_str());
  // One sheet for all code pages, the web's own included.
  ut_htm::j2h_css((dir + "/j2h.css").c_str());
  css_dirs_.insert(dir);
}

void ut_web::title_table(FILE* f, const char* title) {
  fprintf(f, "%s%s%s", title_head, title, title_tail);
}

FILE* ut_web::open_page(const std::string& name, const char* title) {
  FILE* f = safe_ut.create(name.c_str());
  fputs(head, f);
  title_table(f, title);
  return f;
}

void close_page(FILE*& f) {
  fputs("\n</font></BODY></HTML>\n", f);
  safe_ut.close_FILE(&f, "ut_web", __LINE__);
}
