// The texts around a code page that a reader uses when no code web hands
// it the web's own (a reader on its own, in tests and fuzzing): the page
// head and the title table.
#pragma once

namespace page_texts {
inline const char* const head =
    "<!DOCTYPE HTML PUBLIC \"-//W3C//DTD HTML 4.0 Transitional//EN\">\n"
    "<HTML><HEAD><link rel=\"stylesheet\" href=\"j2h.css\" type=\"text/css\"></HEAD>\n"
    "<BODY text=\"#000000\" link=\"#FF3333\" vlink=\"#FF3333\" alink=\"#FF3333\">\n"
    "<font face=\"Arial, Verdana\" size=2>";
inline const char* const title_head =
    "<table id=\"Header\" border=0 cellpadding=0 cellspacing=0 width=\"100%\">"
    "<tr><td align=center><font size=\"4\">";
inline const char* const title_tail = "</font></td></tr></table>";
}  // namespace page_texts
