// The JSP and ASP pages: what the readers mark on a page on their own
// (strings, comments, directives, the unbalanced-quote report, includes),
// and whole code webs over small trees (includes resolved and not found,
// an include cycle, the include structure cut at level 4, the uses pages).
#include <gtest/gtest.h>

#include <filesystem>

#include "codeweb/asp_reader.h"
#include "codeweb/jsp_reader.h"
#include "tests/codeweb/codeweb_util.h"

using namespace testutil;
using cwtest::build;
namespace fs = std::filesystem;

namespace {

// Hooks that resolve the names of a fixed list and record what is used.
struct test_hooks : server_hooks {
  std::map<std::string, std::string> files;  // include name -> page
  int below = 0;                             // depth below each included file
  std::vector<std::string> used, strings;
  bool include(const std::string& name, std::string& page, int& depth) override {
    auto it = files.find(name);
    if (it == files.end()) return false;
    page = it->second;
    depth = below;
    return true;
  }
  void uses(const std::string& name) override { used.push_back(name); }
  void string_used(const std::string& text) override { strings.push_back(text); }
  std::string structure() override { return "<i>tree</i>"; }
};

std::string code_of(const std::string& p) {
  size_t a = p.find("<pre>"), e = p.find("</pre>");
  return p.substr(a + 5, e - a - 5);
}

}  // namespace

// ------------------------------------------------------------ JSP reader

TEST(JspReader, PlainHtmlIsCopiedAndShowsItsLineCount) {
  ut_web frame;
  test_hooks h;
  jsp_reader r(frame, h, nullptr);
  std::string p = r.page_of("<html>\n<body>a & b</body>\n\n\n\n</html>", 4, "/web/plain.jsp");
  EXPECT_EQ(r.lines, 6);
  EXPECT_TRUE(has(p, "<font size=3>6 Lines . end of /web/plain.jsp<br></font>")) << p;
  EXPECT_EQ(code_of(p), "&lt;html&gt;\n&lt;body&gt;a &amp; b&lt;/body&gt;\n\n&lt;/html&gt;\n");  // blank lines cut
  EXPECT_EQ(r.bad_quotes, 0);
  EXPECT_FALSE(has(p, "syntax errors"));
  EXPECT_TRUE(has(p, "<a name=eof></a>"));
  EXPECT_TRUE(has(p, "Include structure of<br>/web/plain.jsp<br><br>"));
}

// The report numbers unbalanced quotes over all pages; a character
// literal and an escaped quote are no fault.
TEST(JspReader, UnbalancedQuotesAreReportedWithARunningCount) {
  ut_web frame;
  test_hooks h;
  int errors = 0;
  jsp_reader r(frame, h, &errors);
  std::string ok = r.page_of("<% char q = '\"'; String s = \"a\\\"b\"; %>\n", 1, "ok.jsp");
  EXPECT_EQ(r.bad_quotes, 0);
  EXPECT_TRUE(r.report.empty());
  EXPECT_TRUE(has(ok, "<font class=\"kw\">\"a\\\"b\"</font>")) << ok;
  std::string bad = r.page_of("<p>24\" screen</p>\nnext \"line\"\n", 2, "/a/bad.jsp");
  EXPECT_EQ(r.report,
            "\n\n1. Syntax error (unbalanced \" quotes) in /a/bad.jsp:\n--------------------------------------\n"
            "[\n<p>24\" screen</p>\n]\n");
  EXPECT_TRUE(has(bad, "There seem to be syntax errors ( at least one missing \" ).")) << bad;
  EXPECT_TRUE(has(code_of(bad), "24<font class=\"kw\">\" screen&lt;/p&gt;</font>\nnext <font class=\"kw\">\"line\"</font>"));
  r.page_of("x\"\ny\"", 3, "/a/two.jsp");
  EXPECT_EQ(r.bad_quotes, 2);
  EXPECT_TRUE(has(r.report, "\n\n2. Syntax error (unbalanced \" quotes) in /a/two.jsp:"));
  EXPECT_TRUE(has(r.report, "\n\n3. Syntax error (unbalanced \" quotes) in /a/two.jsp:"));
  EXPECT_EQ(errors, 3);
}

// Directives and tags: includes link or show the name, imports are read
// item by item (".*" a package), an applet's code= string is a class.
TEST(JspReader, DirectivesIncludesImportsAndApplets) {
  ut_web frame;
  test_hooks h;
  h.files = {{"head.jsp", "0/7"}, {"../foot.jsp", "1/3"}};
  h.below = 2;
  jsp_reader r(frame, h, nullptr);
  std::string p = r.page_of(
      "<%@ page import=\"a.b.*, c.D ,e.F\" %>\n<%@ include file=\"head.jsp\" %>\n<jsp:include page=\"../foot.jsp\"/>\n"
      "<%@ include file=\"gone.jsp\" %>\n<applet code=\"x.Chart.class\">\n<a href=\"javascript:go(1)\">",
      5, "p.jsp");
  std::string c = code_of(p);
  EXPECT_TRUE(has(c, "&lt;%@ page import=<font class=\"kw\">\"a.b.*, c.D ,e.F\"</font> %&gt;")) << c;
  EXPECT_TRUE(has(c, "&lt;%@ include file=<a href=../0/7.htm>\"head.jsp\"</a> %&gt;"));
  EXPECT_TRUE(has(c, "&lt;jsp:include page=<a href=../1/3.htm>\"../foot.jsp\"</a>/&gt;"));
  EXPECT_TRUE(has(c, "&lt;%@ include file=<font class=\"kw\">\"gone.jsp\"</font> %&gt;"));
  EXPECT_EQ(h.used, (std::vector<std::string>{"a.b.*", "c.D", "e.F", "x.Chart"}));
  EXPECT_EQ(r.includes.size(), 3u);
  EXPECT_EQ(r.includes[2].page, "");
  EXPECT_EQ(r.depth, 3);  // one level here, two below the included files
  EXPECT_EQ(r.commands, 3);
  EXPECT_TRUE(std::find(h.strings.begin(), h.strings.end(), "javascript:go(1)") != h.strings.end());
}

TEST(JspReader, CommentsAndProtectedRegions) {
  ut_web frame;
  test_hooks h;
  jsp_reader r(frame, h, nullptr);
  std::string c = code_of(r.page_of(
      "<%--\n the head\n--%>\n<%-- START OF PROTECTED x --%>gen<%-- END OF PROTECTED --%>\n"
      "<!-- a \"quote -->\n<% // note \"\n/* START OF PROTECTED */<%-- one --%> http://x.org\n/* b\n*/",
      1, "c.jsp"));
  EXPECT_TRUE(has(c, "<font class=\"co\">|   &lt;%--\n the head\n--%><br><br></font>")) << c;
  EXPECT_TRUE(has(c, "\ngen\n"));
  EXPECT_FALSE(has(c, "PROTECTED"));
  EXPECT_TRUE(has(c, "<font class=\"co\">&lt;!-- a \"quote --></font>"));
  EXPECT_TRUE(has(c, "<font class=\"co\">// note \"</font>"));
  EXPECT_TRUE(has(c, "<font class=\"co\">&lt;%-- one --%></font> http://x.org"));  // not the head any more
  EXPECT_TRUE(has(c, "<font class=\"co\">/* b\n*/</font>"));
  EXPECT_EQ(r.bad_quotes, 0);
}

// Broken text still makes a whole page: open comments, directives, tags
// and strings end with the text; a NUL is a blank.
TEST(JspReader, BrokenTextEndsThePageAllTheSame) {
  ut_web frame;
  test_hooks h;
  int errors = 0;
  jsp_reader r(frame, h, &errors);
  for (std::string t : std::vector<std::string>{"<%@ include file=\"a.jsp", "<%-- open", "<jsp:include page=\"x", "<%@ page import=\"a,",
                        std::string("a\0b\"c", 5), "/*", "\"", "<", "<%@", "javascript:"}) {
    std::string p = r.page_of(t, 1, "b.jsp");
    EXPECT_TRUE(has(p, "<a href=../jsp.htm>JSP</a>")) << t;
    EXPECT_EQ(p.find('\0'), std::string::npos);
  }
  EXPECT_TRUE(h.used.empty() || h.used == std::vector<std::string>{"a"});
}

// ------------------------------------------------------------ ASP reader

TEST(AspReader, IncludeFormsLinksAndStructure) {
  ut_web frame;
  test_hooks h;
  h.files = {{"inc/a.asp", "4"}, {"/inc/b.asp", "5"}};
  asp_reader r(frame, h, nullptr);
  std::string p = r.page_of(
      "<!-- #include file=\"inc/a.asp\" -->\n<!--#INCLUDE VIRTUAL=\"/inc/b.asp\"-->\n"
      "<!-- #include file=\"no.asp\" -->\n#include <x.h>\n<% x = \"1\" %>\n",
      2, "/site/default.asp");
  std::string c = code_of(p);
  EXPECT_TRUE(has(c, "&lt;!-- #INCLUDE file= <a href=asp4.htm>\"inc/a.asp\"</a> --&gt;")) << c;
  EXPECT_TRUE(has(c, "&lt;!--#INCLUDE virtual= <a href=asp5.htm>\"/inc/b.asp\"</a>--&gt;"));
  EXPECT_TRUE(has(c, "#INCLUDE file= <font class=\"kw\">\"no.asp\"</font>"));
  EXPECT_TRUE(has(c, "\n#include &lt;x.h&gt;\n"));  // no include form: as it stands
  EXPECT_EQ(r.depth, 1);
  EXPECT_TRUE(has(p, "<font size=4>/site/<b>default.asp</b><br></font>\n<font size=1><br>1 asp Commands = <br>"
                     "/site/default.asp</font>\n<font size=2>/site/default.asp<br>&nbsp;<br>Include Structure:<br>"
                     "<i>tree</i></font>\n</BODY></HTML>\n")) << p;
  // Without an include that resolves, no structure.
  std::string q = r.page_of("<!-- #include file=\"no.asp\" -->", 3, "x.asp");
  EXPECT_FALSE(has(q, "Include Structure"));
  EXPECT_EQ(r.depth, 0);
}

// ------------------------------------------------------------ whole webs

namespace {

std::string page_of_nr(int n) { return read_file("src/j2h/" + std::to_string(n / 100) + "/" + std::to_string(n % 100) + ".htm"); }

}  // namespace

TEST(JspWeb, IncludesAreResolvedThroughTheTailsAndTheFolders) {
  TempDir t;
  write_file("src/app/a.jsp", "<%@ include file=\"../common/h.jsp\" %>\n<%@ include file=\"menu.html\" %>\n"
                              "<%@ include file=\"nowhere.jsp\" %>\n<jsp:include page=\"x $y;z.jsp\"/>\n"
                              "<%@ include file=\"`touch pwned`\" %>\n");
  write_file("src/app/menu.html", "<div>menu</div>\n");
  write_file("src/common/h.jsp", "<html>\n");
  write_file("src/app/x $y;z.jsp", "odd\n");
  std::string out = build("src");
  // Files in path order: app/a.jsp 1, app/x $y;z.jsp 2, common/h.jsp 3; the
  // HTML file gets its number as an included file.
  std::string a = page_of_nr(1);
  EXPECT_TRUE(has(a, "include file=<a href=../0/3.htm>\"../common/h.jsp\"</a>")) << a;
  EXPECT_TRUE(has(a, "include file=<a href=../0/4.htm>\"menu.html\"</a>"));
  EXPECT_TRUE(has(a, "include file=<font class=\"kw\">\"nowhere.jsp\"</font>"));
  EXPECT_TRUE(has(a, "page=<a href=../0/2.htm>\"x $y;z.jsp\"</a>"));
  EXPECT_TRUE(has(page_of_nr(4), "&lt;div&gt;menu&lt;/div&gt;"));
  EXPECT_TRUE(has(read_file("src/j2h/notfound.htm"), "nowhere.jsp"));
  EXPECT_FALSE(file_exists("pwned"));
  EXPECT_FALSE(file_exists("src/pwned"));
  std::string incs = read_file("src/j2h/inc/incs_jsp.htm");
  EXPECT_TRUE(has(incs, "Depth of JSP include relation = 1<br>")) << incs;
  EXPECT_TRUE(has(incs, "&nbsp; <a href=../0/3.htm>src/common/h.jsp, 1</a>"));
  EXPECT_TRUE(has(incs, "3 JSP include files ( used 3 times )"));
  // Phase 18 appends the structure; the included page links back.
  EXPECT_TRUE(has(a, "<a href=../0/3.htm>common/h.jsp<br></a>"));
  EXPECT_TRUE(has(page_of_nr(3), "<a href=../bf/3.htm>is_inc_for</a> . <a href=../jsp.htm>JSP</a>"));
  std::string list = read_file("src/j2h/jsp.htm");
  EXPECT_TRUE(has(list, "\n<br><a href=0/4.htm>/app/menu.html</a>"));
  EXPECT_TRUE(has(list, "4 Files"));
}

// Built with the root "." (the usual command line): a name found in two
// folders is looked for in the including file's folder first.
TEST(JspWeb, IncludesResolveWhenTheRootIsTheCurrentFolder) {
  TempDir t;
  write_file("a/p.jsp", "<%@ include file=\"h.jsp\" %>\n");
  write_file("a/h.jsp", "A\n");
  write_file("b/h.jsp", "B\n");
  std::string out = build(".");
  std::string p = read_file("j2h/0/2.htm");
  EXPECT_TRUE(has(p, "include file=<a href=../0/1.htm>\"h.jsp\"</a>")) << p;
  EXPECT_FALSE(has(out, "no such inc_2")) << out;
}

TEST(JspWeb, ImportsAndAppletsMakeTheUsesPages) {
  TempDir t;
  write_file("src/a/one.jsp", "<%@ page import=\"shop.model.*, shop.util.Money\" %>\n");
  write_file("src/b/two.jsp", "<%@ page import=\"shop.model.*\" %>\n<applet code=\"shop.Chart.class\"></applet>\n");
  write_file("src/b/three.jsp", "<%@ page import=\"shop.model.*\" %>\n");
  build("src");
  std::string idx = read_file("src/j2h/uses/00.htm");
  EXPECT_TRUE(has(idx, "Where JSP uses ..."));
  EXPECT_TRUE(has(idx, "\n<br><a href=\"01.htm\">shop.Chart</a>\n<br><a href=\"02.htm\">shop.model.*</a>"
                       "\n<br><a href=\"03.htm\">shop.util.Money</a>")) << idx;
  std::string pkg = read_file("src/j2h/uses/02.htm");
  EXPECT_TRUE(has(pkg, "shop.model.*<br>is used in"));
  EXPECT_TRUE(has(pkg, "\n<br><a href=\"../0/1.htm\">/a/one.jsp</a>\n<br>|<br><a href=\"../0/2.htm\">/b/three.jsp</a>"
                       "\n<br><a href=\"../0/3.htm\">/b/two.jsp</a>")) << pkg;
}

// a.asp and b.asp include each other: each is read once, the run ends.
TEST(AspWeb, AnIncludeCycleEnds) {
  TempDir t;
  write_file("src/a.asp", "<!-- #include file=\"b.asp\" -->\nA\n");
  write_file("src/b.asp", "<!-- #include file=\"a.asp\" -->\nB\n");
  std::string out = build("src");
  std::string a = read_file("src/j2h/asp1.htm"), b = read_file("src/j2h/asp2.htm");
  EXPECT_TRUE(has(a, "#INCLUDE file= <a href=asp2.htm>\"b.asp\"</a>")) << a;
  EXPECT_TRUE(has(b, "#INCLUDE file= <a href=asp1.htm>\"a.asp\"</a>"));
  EXPECT_TRUE(has(a, "Include Structure:<br><a href=asp1.htm>src : a.asp</a><br>. &nbsp; &nbsp; "
                     "<a href=asp2.htm>src : b.asp</a>"));
  std::string incs = read_file("src/j2h/inc/incs_asp.htm");
  EXPECT_TRUE(has(incs, "2 ASP include files ( used 2 times )")) << incs;
  EXPECT_TRUE(has(read_file("src/j2h/asp.htm"), "2 Files"));
  EXPECT_FALSE(file_exists("tempNr"));
}

// A chain a0 -> a1 -> ... -> a6: the structure of a0 shows levels 0 to 4.
TEST(AspWeb, TheIncludeStructureStopsAfterLevelFour) {
  TempDir t;
  for (int i = 0; i <= 6; i++)
    write_file("src/a" + std::to_string(i) + ".asp", "<!-- #include file=\"a" + std::to_string(i + 1) + ".asp\" -->\n");
  std::string out = build("src");
  std::string a0 = read_file("src/j2h/asp1.htm");
  std::string tree = a0.substr(a0.find("Include Structure:"));
  EXPECT_TRUE(has(tree, ". &nbsp; &nbsp; . &nbsp; &nbsp; . &nbsp; &nbsp; . &nbsp; &nbsp; <a href=asp5.htm>src : a4.asp</a>"))
      << tree;
  EXPECT_FALSE(has(tree, "a5.asp"));
  EXPECT_TRUE(has(a0, "a1.asp")) << a0;
  EXPECT_TRUE(has(out, "no-- a7.asp [/a6.asp]"));
  // Every file of the chain has its page.
  for (int i = 1; i <= 7; i++) EXPECT_TRUE(file_exists("src/j2h/asp" + std::to_string(i) + ".htm")) << i;
}

// The example trees build from the command line.
TEST(JspWeb, ExampleTreesBuild) {
  for (const char* tree : {"jsp", "asp"}) {
    TempDir t;
    fs::copy(std::string(BRELMOT_SOURCE_ROOT) + "/examples/trees/" + tree, "tree", fs::copy_options::recursive);
    auto r = cwtest::run_j2h("tree");
    EXPECT_EQ(r.status, 0) << r.out;
    EXPECT_TRUE(has(r.out, "o k  -  see 1.bat")) << tree;
    EXPECT_TRUE(file_exists(std::string("tree/j2h/") + tree + ".htm"));
  }
}
