// The page frame of the code web.
#include "codeweb/ut_web.h"

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

const char* const css =
    "body { background-color: #FFFFFF; color: #000000 }\n"
    ".Header { color: #000000; background-color: #99FF99 }\n"
    ".ko1 { color: #000000; background-color: #CCFFCC }\n"
    ".c A:link { color: #FF6600 }\n"
    ".c A:visited { color: #FF6600 }\n"
    ".c PRE { color: #000000 }\n"
    ".c { color: #000000; font-size: 180% }\n"
    "pre { color: #000000; font-size: 120% }\n"
    ".co { color: #008000 }\n"
    ".kw { color: #0000FF }\n";

}  // namespace

ut_web::ut_web() : head(page_head), title_head(table_head), title_tail(table_tail), filler(blanks) {}

const char* ut_web::css_text() { return css; }

void ut_web::dir_with_css(const std::string& dir) {
  safe_ut.ensure_dir(dir.c_str());
  std::string f = dir + "/j2h.css";
  if (safe_ut.ok_is_a(f.c_str()) != 'f') safe_ut.write_text(f.c_str(), css);
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
