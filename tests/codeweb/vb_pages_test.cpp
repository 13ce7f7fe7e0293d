// The VB pages: what the reader marks on a page (calls, members, dims,
// strings, comments, modules of a concatenation) and the list pages over
// all VB files of a web.
#include <gtest/gtest.h>

#include "codeweb/vb_reader.h"
#include "tests/codeweb/codeweb_util.h"

using namespace testutil;
using cwtest::build;

namespace {

struct page {
  ut_web frame;
  vb_reader reader{frame};
  std::string text;
  explicit page(const std::string& src) { text = reader.page_of(src, 7, "app/Mod1.bas"); }
};

// The text of the page between the code's start and the module contents.
std::string code_of(const std::string& p) {
  size_t a = p.find("<pre>"), e = p.find("</pre>");
  return p.substr(a + 5, e - a - 5);
}

}  // namespace

// Calls are counted as words outside comments and strings, in any case.
TEST(VbReader, CallsCountOnlyInCode) {
  page p("' MsgBox in a comment\nx = \"MsgBox in a string\"\nmsgbox \"hi\"\n"
         "Set o = CreateObject(\"A.B\")\ny = MsgBoxes + 1\nCall executefile(f) ' MsgBox\n");
  ASSERT_EQ(p.reader.mBoxes.size(), 1u);
  EXPECT_EQ(p.reader.mBoxes[0].where, "Mod1.bas : 3");
  EXPECT_EQ(p.reader.useObjs.size(), 1u);
  ASSERT_EQ(p.reader.execs.size(), 1u);
  std::string c = code_of(p.text);
  EXPECT_TRUE(has(c, "<font class=\"co\">' MsgBox in a comment</font>")) << c;
  EXPECT_TRUE(has(c, "<font class=\"kw\">\"MsgBox in a string\"</font>"));
  EXPECT_TRUE(has(c, "<a name=mB1></a><a href=mBox.htm>MsgBox</a> "));
  EXPECT_TRUE(has(c, "<a name=cr1></a><a href=crOb.htm>CreateObject</a>("));
  EXPECT_TRUE(has(c, "<a name=ex1></a><a href=exec.htm>executefile</a>(f)"));
  EXPECT_TRUE(has(c, "y = MsgBoxes + 1"));
}

// Heads without a visibility are public; the contents list members in
// order with groups, private ones as plain text.
TEST(VbReader, MemberHeadsAndModuleContents) {
  page p("Function Total(a As Integer) As Long\nEnd Function\nSub Main()\n  Exit Sub\nEnd Sub\n"
         "Private Sub Helper()\nEnd Sub\nPublic Property Get Size() As Long\nEnd Property\n"
         "Public Const MAX = 3\n");
  EXPECT_EQ(p.reader.methods, 4);
  EXPECT_EQ(p.reader.mains, 1);
  std::string c = code_of(p.text);
  EXPECT_TRUE(has(c, "<a name=1></a>\n<font class=\"co\">Total:</font>\n\nPublic Function "
                     "<font size=+0><a href=\"#eof\">Total</a></font>  (a As Integer) As Long\n")) << c;
  EXPECT_TRUE(has(c, "Public Sub <font size=+0><a href=\"#eof\">Main</a></font>  ()"));
  EXPECT_TRUE(has(c, "\n  Exit Sub\nEnd Sub"));  // neither is a head
  std::vector<std::string> decls;
  for (auto& m : p.reader.members) decls.push_back(m.decl);
  EXPECT_EQ(decls, (std::vector<std::string>{"Public Function Total", "Public Sub Main", "Private Sub Helper",
                                             "Public Property Get Size", "Public Const MAX"}));
  std::string toc = p.text.substr(p.text.find("Module Contents"));
  EXPECT_TRUE(has(toc, "\nPrivate Sub Helper\n<br>|\n<a name=public></a>\n<a href=#5>Public Const MAX</a>"
                       "\n<br>|\n<a href=#1><font size=\"+1\">Public Function Total</font></a>")) << toc;
  EXPECT_TRUE(has(toc, "\n<br>|\n<a name=sub></a>\n<a href=#2>Public Sub Main</a>"));
}

// Dim at the margin anchors its name once; a string goes on over a line
// ending in "_"; banners are dropped; modules of a concatenation and
// classes name the places of calls and case labels.
TEST(VbReader, DimsStringsModulesAndCases) {
  page p("\nfile: /src/a/One.bas\nDim x As Integer\nDim x\n'*** banner\nText = \"one _\nMsgBox two\" & y\n"
         "file: /src/b/Two.cls\nclass Shape\nSelect Case k\n  Case \"a\": MsgBox 1\n  Case Else\nEnd Select\n");
  std::string c = code_of(p.text);
  EXPECT_EQ(count_of(c, "<a name=x>"), 1) << c;
  EXPECT_TRUE(has(c, "Dim  <a name=x></a><font size=+0><a href=\"#eof\">x</a></font> As Integer\n"));
  EXPECT_TRUE(has(c, "<font class=\"kw\">\"one _\nMsgBox two\"</font> & y"));
  EXPECT_FALSE(has(c, "banner"));
  ASSERT_EQ(p.reader.mBoxes.size(), 1u);
  EXPECT_EQ(p.reader.mBoxes[0].where, "Two.cls, Class Shape : 11");
  ASSERT_EQ(p.reader.cases.size(), 1u);
  EXPECT_EQ(p.reader.cases[0].text, "\"a\"");
  EXPECT_EQ(p.reader.cases[0].module, "Two.cls, Class Shape");
  EXPECT_TRUE(has(c, "<a name=c1></a>Case <font class=\"kw\">\"a\"</font>: "));
  EXPECT_TRUE(has(c, "<font class=\"co\">file: /src/b/Two.cls</font>"));
  EXPECT_TRUE(has(c, "<a name=Shape></a><font size=+0><a href=\"#eof\">Class Shape</a></font>"));
}

// Bytes of every value and a very long concatenation give a page; only an
// over-long member head is refused, naming the file.
TEST(VbReader, BadInputGivesAPageOrTheReport) {
  std::string odd("Sub A(\0)\n\"open\n<\xff\x01 _\n", 20);
  page p(odd);
  EXPECT_TRUE(has(p.text, "</BODY></HTML>\n"));
  std::string big;
  for (int i = 0; i < 1000000; i++) big += i % 1000 == 0 ? "\nfile: m" + std::to_string(i) + ".bas" : "\nx = 1";
  page q(big);
  EXPECT_EQ(count_of(q.text, "<font class=\"co\">file: "), 1000);
  // Names that look like the page's own anchors are anchored by number.
  page names("Dim eof\nDim mB1\nclass c1\nDim 7\nSub s()\n  MsgBox 1\n  Select Case 1\n  Case 1\n");
  for (const char* a : {"<a name=eof>", "<a name=mB1>", "<a name=c1>", "<a name=1>"})
    EXPECT_EQ(count_of(names.text, a), 1) << a << names.text;
  std::string report = failure_of([] { page r("Public Function F(" + std::string(9000, 'a') + ")\n"); });
  EXPECT_TRUE(has(report, "app/Mod1.bas")) << report;
}

// The list pages of a web: bas.htm, subs.htm with its groups and letter
// anchors, and the call and case lists linking into the pages.
TEST(VbWeb, ListPagesLinkIntoThePages) {
  TempDir t;
  write_file("src/a/Util.bas", "Public Function Alpha()\nEnd Function\nSub Beta()\n  MsgBox \"b\"\nEnd Sub\n"
                               "Private Sub Gamma()\nEnd Sub\nDim Count\nSelect Case n\n  Case 2\nEnd Select\n");
  write_file("src/b/run.vbs", "Set x = CreateObject(\"W.S\")\nsub apply()\nend sub\n");
  build("src");
  std::string bas = read_file("src/j2h/bas.htm");
  EXPECT_TRUE(has(bas, "<a href=bas1.htm>/a/Util.bas</a>")) << bas;
  EXPECT_TRUE(has(bas, "<a href=bas2.htm>/b/run.vbs</a>"));
  std::string subs = read_file("src/j2h/subs.htm");
  EXPECT_TRUE(has(subs, "\n<a name=dim></a>\n<br><a href=bas1.htm#Count>Dim Count</a>")) << subs;
  EXPECT_TRUE(has(subs, "\n<a name=fun></a>\n<a name=\"AU\"></a>\n<br><a href=bas1.htm#1>public Function Alpha</a>"));
  EXPECT_TRUE(has(subs, "\n<a name=sub></a>\n<a name=\"BsU\"></a>\n<br><a href=bas1.htm#2>public Sub Beta</a>"
                        "\n<a name=\"AsU\"></a>\n<br><a href=bas2.htm#1>public Sub apply</a>"));
  EXPECT_TRUE(has(subs, "<a href=#AU>A</a>"));
  EXPECT_FALSE(has(subs, "Gamma"));
  EXPECT_TRUE(has(read_file("src/j2h/mBox.htm"), "We have 1 Calls of MsgBox in VB Code:"));
  EXPECT_TRUE(has(read_file("src/j2h/mBox.htm"), "\n<br><a href=bas1.htm#mB1>MsgBox</a> Util.bas : 4"));
  EXPECT_TRUE(has(read_file("src/j2h/crOb.htm"), "\n<br><a href=bas2.htm#cr1>CreateObject</a> run.vbs : 1"));
  EXPECT_TRUE(has(read_file("src/j2h/case.htm"), "\n<br>2 : <a href=bas1.htm#c1>Util.bas</a>"));
  EXPECT_TRUE(has(read_file("src/j2h/bas1.htm"), "<a name=mB1></a>"));
}

TEST(VbWeb, ListPagesStandEmptyWithoutVb) {
  TempDir t;
  write_file("src/A.java", "class A {\n}\n");
  build("src");
  EXPECT_TRUE(has(read_file("src/j2h/bas.htm"), "0 Files"));
  EXPECT_TRUE(has(read_file("src/j2h/mBox.htm"), "We have 0 Calls of MsgBox in VB Code:"));
  EXPECT_TRUE(has(read_file("src/j2h/crOb.htm"), "We have 0 Calls of CreateObject in VB Code:"));
  EXPECT_TRUE(has(read_file("src/j2h/exec.htm"), "We have 0 Calls of ExecuteFile in VB Code:"));
  std::string c = read_file("src/j2h/case.htm");
  EXPECT_TRUE(has(c, "Here ALL Case Statements in VB Code:"));
  EXPECT_FALSE(has(c, "<br>"));
  EXPECT_TRUE(has(read_file("src/j2h/subs.htm"), "VB Public: "));
}
