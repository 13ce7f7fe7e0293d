// Page menus and headers: the top line with its navigation (HeaderMenu),
// the web's menu (ourMenu), the head of pages with semi titles, fixed
// pages, the bottom line, and the style sheets: the fixed sheet of the
// section pages, the reduction of a document's classes, and j2h.css of
// the code pages.
#include <cstring>
#include <string>

#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"
#include "runtime/ut_repl.h"

namespace {

const char* const SRC = "menus";

const char* const style_head =
    "\n<HTML><a name=\"top\"></a><style type=\"text/css\"><!--\n\n   h1    { font-size:18pt; }\n"
    "   h2    { font-size:14pt; }\n   h3    { font-size:12pt; }\n   p     { font-size:10pt; }\n"
    "   table { font-size:10pt; }\n\n  #H     { background.color: #CCCCFF }\n"
    "  .G     { margin: 0pt 0pt 6pt 50pt; }\n\n--></style>%s<font face=\"ARIAL,VERDANA\" "
    "size=10pt>";

// The title of the index page of a typed name's prefix, or null.
const char* list_title(const char* name) {
  static const char* const titles[][2] = {
      {"R_", "Requirements"}, {"D_", "Semi Titles"}, {"A_", "Actors"},
      {"P_", "Processes"},    {"C_", "Components"},  {"S_", "Services"},
      {"V_", "Views"},        {"B_", "Business Data"}, {"$_", "Installation Parameters"}};
  if (!name) return nullptr;
  for (const auto& t : titles)
    if (!strcmp(name, t[0])) return t[1];
  return nullptr;
}

}  // namespace

bool ut_htm::one_doc_web() const { return web.oneDoc || web.comms.size() <= 2; }

void ut_htm::HeaderMenu(FILE* out, int head, int page, const char* title, const char* version) {
  if (head) {
    std::string css = head > 0 ? "<LINK REL=stylesheet TYPE='text/css' href=../1.css>" : "";
    fprintf(out, style_head, css.c_str());
    fputs("<body bgcolor=\"#FFFFFF\" text=\"#000000\" link=\"#FF3333\">", out);
  }
  fputs("<font face=\"ARIAL,VERDANA\" size=2><p align=right><font face=\"ARIAL,VERDANA\" size=1>",
        out);
  if (page == 0) return;
  if (page < 0) {
    fprintf(out, "\n%s%s<a href=\"1.htm\">ALL </a> ", title ? title : "", version ? version : "");
    return;
  }
  std::string t = title ? title : "";
  ut_htmst::code_page_fix(t.data());
  std::string mark = "</secLU:doc:" + t + ">";
  int first = page < (int)page_first.size() ? page_first[page] : page;
  int prev = page == first ? first : page - 1;
  // A page not cut yet (0) belongs to no other document: every section page
  // is followed by a page of its own document, the last by the redirect page.
  int following = page + 1 < (int)page_doc.size() ? page_doc[page + 1] : -1;
  int next = following == 0 || following == page_doc[page] ? page + 1 : first;
  if (one_doc_web()) {
    fprintf(out, "%s<!1a><a href=\"../context.htm\">Index</a> ", mark.c_str());
  } else {
    fprintf(out, "<a href=\"../1/1.htm\">%s</a> . %s%s", web.web_name.c_str(),
            version ? version : "", mark.c_str());
    fputs("<!1a><a href=\"../context.htm\">Index</a> <a href=\"../docs_R.htm\">DOCs </a> ", out);
  }
  fprintf(out,
          "<a href=\"%i.htm\"><img src=\"../_prev.gif\" border=0></a><a href=\"%i.htm\">TOP</a> "
          "<a href=\"%i.htm#2\">TOC</a> </font><a href=\"%i.htm\"><img src=\"../_next.gif\" "
          "border=0></a></p>",
          prev, first, first, next);
}

void ut_htm::ourMenu(int line, const char* file, FILE* out, int kind, const char* name,
                     const char* anchor, int ups) {
  printf("\nourMenu = HeaderMenu aus %i.%s", line, file ? file : "");
  FILE* own = nullptr;
  if (name && *name && kind != 2) {
    own = safe_ut.open_FILE((std::string(name) + ".htm").c_str(), "w");
    out = own;
    if (name[1] == '_') kind = 2;
  }
  if (anchor && *anchor) fprintf(out, "\n<a name=\"%s\"></a>", anchor);
  std::string a = "<a href=\"";
  for (int i = 0; i < ups; i++) a += "../";
  if (name && !strcmp(name, "Problems")) {
    fprintf(out, "\n<p align=center><a name=\"%i\"></a><br/>\n<font size=5><b> %s <a href=\"1/3.htm\">%s</a>\n</b></font></p>",
            page_rank(name), "List of", "UNDEFs");
  } else if (const char* title = list_title(name)) {
    // An index page of typed names: its kind as the title, the web's
    // terms page as the link.
    fprintf(out, "\n<p align=center><a name=\"%i\"></a><br/>\n<font size=5><b> %s <a href=\"1/3.htm\">%s</a>\n</b></font></p>",
            page_rank(name), title, web.web_name.empty() ? "Home" : web.web_name.c_str());
  }
  std::string home = web.web_name.empty() ? "Home" : web.web_name;
  std::string erd = "";
  if (kind == 33) {
    if (own) safe_ut.close_FILE(&own, SRC, __LINE__);
    return;
  }
  if (web.menu) {
    const char* rows =
        "<aa><p class=1 align=\"center\"><font face=ARIAL size=1><br/>%sR_.htm\">Requirements</a> . "
        "%sA_.htm\">Actors</a> . %sP_.htm\">Processes</a> . %sB_.htm\">Business Data</a> . "
        "%sV_.htm\">Views</a> . %sC_.htm\">Components</a> . %sS_.htm\">Services</a> . "
        "%steam.htm\">TEAM</a> . %scode.htm\">CODE</a> . %sreuse.htm\">REUSE</a> . "
        "%squality.htm\">Quality</a> . ";
    const char* s = a.c_str();
    fprintf(out, rows, s, s, s, s, s, s, s, s, s, s, s);
  } else {
    fputs("<aa><p class=1 align=\"center\"><font size=1><br/>", out);
  }
  fprintf(out,
          "%s1.htm\">%s</a> [ %s ] . %sdocs_R.htm\">Documents</a> . %sPres.htm\">Presentations</a> . "
          "%s%scontext.htm\">Index</a> . %sseeAlso.htm\">Resources</a> . %sProblems.htm\">UNDEFs</a>%s<!1e>",
          a.c_str(), home.c_str(), web.date_banner.c_str(), a.c_str(), a.c_str(), erd.c_str(),
          a.c_str(), a.c_str(), a.c_str(), "");
  fputs("</font></p><br/><aa>", out);
  if (own) safe_ut.close_FILE(&own, SRC, __LINE__);
}

void ut_htm::page_head(FILE* out, const std::vector<std::string>& semiTitles) {
  fputs("><a--><font face=ARIAL><center>", out);
  ourMenu(__LINE__, "page_head", out, 2, nullptr, nullptr, 1);
  for (const std::string& s : semiTitles)
    fprintf(out, "<p class=1 style='font-size:14.0pt'>%s</p>", s.c_str());
  fputs("\n<aaa></center></font>", out);
}

FILE* ut_htm::fixed_page(bool keepOpen, int ups, const char* file, const char* title,
                         const char* subtitle) {
  if (!keepOpen && safe_ut.exists(file)) return nullptr;
  int slashes = 0;
  for (const char* p = file; *p; p++) slashes += *p == '/';
  (void)ups;
  FILE* out = safe_ut.open_FILE(file, "w");
  HeaderMenu(out, slashes ? 1 : -1, 0, title, "");
  ourMenu(__LINE__, "fixed_page", out, 3, nullptr, nullptr, slashes);
  fprintf(out, "\n<br/><center><h1>%s</h1><h2>%s</h2></center><br/>", title, subtitle);
  if (keepOpen) {
    fputs("\n<p class=1>", out);
    return out;
  }
  fputs("\n</body></html>", out);
  safe_ut.close_FILE(&out, SRC, __LINE__);
  return nullptr;
}

int ut_htm::page_rank(const char* name) {
  if (!name || !*name) return 0;
  if (name[0] == '?') return 100;
  if (!strcmp(name, "More Keywords")) return 10;
  switch (name[0]) {
    case 'A': return 4;
    case 'B': return 9;
    case 'C': return 6;
    case 'D': return 8;
    case 'P': return 5;
    case 'R': return 13;
    case 'S': return 12;
    case 'V': return 11;
    case 'm': return 7;
    default: return 0;
  }
}

void ut_htm::bottom_line(FILE* out, int page, bool lastOfDoc) {
  int first = page_first[page];
  fputs("<!2a><p class=1 align=\"right\"><font face=\"ARIAL\" size=1 >", out);
  if (!one_doc_web()) fprintf(out, "<a href=\"../1/1.htm\">%s</a> . ", web.web_name.c_str());
  fputs("<a href=\"../context.htm\">Index</a> . ", out);
  if (!one_doc_web()) fputs("<a href=\"../docs_R.htm\">DOCs</a> . ", out);
  int next = page_doc[page + 1] == page_doc[page] ? page + 1 : first;
  fprintf(out,
          "<a href=\"%i.htm#2\">TOC</a> </font><a href=\"%i.htm\"><img src=\"../_next.gif\" "
          "border=0></a></p><!2e>",
          first, next);
  if (lastOfDoc)
    fprintf(out,
            "\n<br><br><p class=1 align=center><font face=\"ARIAL\" size=1 ><a href=\"%i.htm\"> End "
            "of Document ...</a> &nbsp;&nbsp;&nbsp; </font></p>\n</body></html>",
            first);
}

void ut_htm::fixed_css(FILE* out) {
  fputs(
      "\nbody { color:#000000; background-color:#FFFFFF; font-family:Arial; font-size:10px;"
      " tab-interval:.325in; padding:18pt; }\n"
      "a:link { color:#FF3333; }\na:visited { color:#FF3333; }\na:active { color:#FF0000; }\n"
      "pre { font-family:\"Courier New\"; font-size:12px; }\n"
      "h1, h2, h3 { font-family:Arial; font-size:20px; }\n"
      ".bullet { font-family:Wingdings; font-size:16px; }\n"
      ".snr { font-family:Verdana; font-size:8px; }\n"
      ".co2 { color:#6633FF; }\n"
      ".einger { padding-left:10%; }\n"
      " p.0, li.0, div.0 { font-family:Arial; font-size:10pt; margin:12pt 0pt 0pt 20pt; }\n"
      " p.1, li.1, div.1 { font-family:Arial; font-size:10pt; margin:2pt 0pt 0pt 20pt; }\n"
      " p.2, li.2, div.2 { font-family:Arial; font-size:10pt; margin:0pt 0pt 0pt 20pt; }\n",
      out);
}
