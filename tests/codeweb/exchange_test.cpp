// Code and documents exchange link tables: the documents write
// index/to_docu, the code web reads it and begins index/to_code, and a
// build publishes the code root as xs/j2h and each component as
// xs/app<i>.
#include <gtest/gtest.h>

#include <filesystem>

#include "driver/doc_des.h"
#include "store/Btree.h"
#include "tests/codeweb/codeweb_util.h"

using namespace testutil;
namespace fs = std::filesystem;

namespace {

std::string env() {
  std::string dir = fs::path(BRELMOT_EXE).parent_path().string();
  return "PATH=" + dir + ":/usr/bin:/bin LC_ALL=C TZ=UTC SOURCE_DATE_EPOCH=1700000000";
}

std::string snapshot(const std::string& body) {
  return "<html>\n<head>\n<meta http-equiv=Content-Type content=\"text/html; charset=windows-1252\">\n"
         "<title>Design</title>\n</head>\n<body lang=EN-GB>\n<div class=Section1>\n" +
         body + "\n</div>\n</body>\n</html>\n";
}

// A web of one design document with a heading "Class Invoice", a code
// root and a published component.
void code_web() {
  write_file("w/Design.rtf", "{\\rtf1 design}\n");
  write_file("w/publish/Design.htm", snapshot("<h1>Class Invoice</h1>\n<p class=MsoNormal>An invoice.</p>\n"
                                              "<h1>Other</h1>\n<p class=MsoNormal>Text.</p>\n"));
  write_file("w/src/shop/Invoice.java", "package shop;\npublic class Invoice {\n}\n");
  write_file("w/comp/lib/Tool.java", "package lib;\nclass Tool {\n}\n");
  write_file("w/comp/read me.txt", "notes");
  write_file("w/comp/build.xml", "<project/>");
  write_file("w/wconf", "-w xs_Ex~Exchange\n-? 1=./\n-e 1/Design.rtf\n   Design\n"
                        "-j 1/comp\n   The Tools\n-j srcRoot=1/src\n--\n");
}

}  // namespace

TEST(CodeWebExchange, BuildExchangesIndexFilesAndPublishesCode) {
  TempDir t;
  code_web();
  auto r = run_brelmot("w", env());
  ASSERT_EQ(r.status, 0) << r.out.substr(r.out.size() > 3000 ? r.out.size() - 3000 : 0);
  // The documents' class headings, both in the web and in the code root.
  std::string docu = read_file("xs_Ex/index/to_docu");
  EXPECT_TRUE(has(docu, "\n~Invoice~")) << docu;
  EXPECT_TRUE(has(docu, ".htm#e")) << docu;
  EXPECT_EQ(read_file("w/src/index/to_docu"), docu);
  EXPECT_TRUE(file_exists("w/src/index/to_code"));
  EXPECT_TRUE(file_exists("xs_Ex/index/to_code"));
  // The code web read them and is part of the web.
  EXPECT_EQ(read_file("w/src/j2h/index/to_docu"), docu);
  EXPECT_TRUE(file_exists("xs_Ex/j2h/f.htm"));
  EXPECT_TRUE(file_exists("xs_Ex/j2h/c0002.htm"));
  // The component.
  size_t at = r.out.find("\nj2h app");
  ASSERT_NE(at, std::string::npos) << r.out;
  const std::string n = r.out.substr(at + 8, r.out.find(' ', at + 8) - at - 8);
  EXPECT_TRUE(has(r.out, "\nj2h app" + n + " = w/comp\n"));
  std::string app = read_file("xs_Ex/app/j2h/1.htm");
  EXPECT_TRUE(has(app, "\n<br>Code for : <a href=\"../../app" + n + "/j2h/1.htm\">The Tools</a>")) << app;
  EXPECT_FALSE(has(app, "No Code published"));
  EXPECT_TRUE(has(app, "Code published"));
  EXPECT_TRUE(file_exists("xs_Ex/app" + n + "/j2h/classes.htm"));
  EXPECT_TRUE(has(read_file("xs_Ex/app" + n + "/j2h/docu.htm"), "No Documents for this Component"));
  EXPECT_EQ(read_file("xs_Ex/app" + n + "/read me.txt"), "notes");
  EXPECT_TRUE(file_exists("xs_Ex/app" + n + "/build.xml"));

  // With both index files present the code web is not built again.
  write_file("w/src/j2h/mark", "kept");
  r = run_brelmot("w", env());
  ASSERT_EQ(r.status, 0);
  EXPECT_EQ(read_file("w/src/j2h/mark"), "kept");
  EXPECT_EQ(read_file("xs_Ex/j2h/mark"), "kept");
}

// index/to_web sends the code web to the index folder of another place.
TEST(CodeWebExchange, ToWebNamesTheIndexFolder) {
  TempDir t;
  write_file("src/a/A.java", "package a;\nclass A {\n}\n");
  write_file("src/index/to_web", "something\nweb=other\n");
  write_file("src/index/to_docu", "\n~Mine~1/2.htm#e1~");
  write_file("other/index/to_docu", "\n~Theirs~3/4.htm#e7~\n");
  cwtest::build("src");
  EXPECT_EQ(read_file("src/j2h/index/to_docu"), "\n~Theirs~3/4.htm#e7~\n");
  // to_code is begun empty; the one class map appends its row.
  EXPECT_EQ(read_file("src/j2h/index/to_code"), "\n~A~m/1.htm~");
}

// Documentation against UML and code: with a model difference and the
// model's class list placed in the code web by an outside step, DUC.htm has
// a row per class and check.bat its marks.
TEST(DocsUmlCode, ThePageOfClassesInDocumentationModelAndCode) {
  TempDir t;
  code_web();
  auto r = run_brelmot("w", env());
  ASSERT_EQ(r.status, 0);
  EXPECT_TRUE(has(read_file("xs_Ex/DUC.htm"), "Code or UML not yet published"));
  std::string diff = "< class <a href=../c0002.htm#1>Invoice</a>\n> class Customer\n> class Helper\n";
  for (int i = 0; i < 170; i++) diff += "> class K" + std::to_string(1000 + i) + "\n";
  write_file("w/src/j2h/meter/code_rose_diff.htm", diff);
  write_file("w/src/j2h/ALL_ccode", "\nfile: x.c\nstruct Helper h;\n");
  {
    testing::internal::CaptureStdout();
    Btree u("w/src/j2h/xx_U", 1);
    u.StrIns('e', "Customer", "");
    u.StrIns('e', "Invoice", "");
    u.commit();
    testing::internal::GetCapturedStdout();
  }
  r = run_brelmot("w", env());
  ASSERT_EQ(r.status, 0) << r.out.substr(r.out.size() > 3000 ? r.out.size() - 3000 : 0);
  std::string d = read_file("xs_Ex/DUC.htm");
  EXPECT_TRUE(has(d, "Classes in Documentation, UML Model, or Code"));
  EXPECT_TRUE(has(d, "<td><b>Class Name</b><br>&nbsp;</td></tr></thead><tbody></font>"));
  EXPECT_TRUE(has(d, ".htm#e1>docu</a></td><td><a href=j2h/UML.htm#Invoice>")) << d;  // documented
  EXPECT_TRUE(has(d, "<td><a href=j2h/UML.htm#Invoice> UML </a></td><td><a href=j2h/c0002.htm#1>code</a></td>"
                     "<td> &nbsp; </td><td>Invoice</td></tr>")) << d;
  EXPECT_TRUE(has(d, "\n<tr><td></td><td><a href=j2h/UML.htm#Helper> UML </a></td><td>code</td>"));
  EXPECT_TRUE(has(d, "\n<tr><td></td><td><a href=j2h/UML.htm#Customer> UML </a></td><td></td>"));
  size_t split = d.find("</table><table>");
  ASSERT_NE(split, std::string::npos);
  EXPECT_EQ(d.find("</table><table>", split + 1), std::string::npos);  // once, after row 80
  EXPECT_TRUE(has(d, "\n<br>Classes not found in Documentation: 172\n<br>Classes not found in UML Model: 0\n"
                     "<br>Classes not found in Code (but found in UML or Docu): 171\n<br>Classes found in Code: 2\n"))
      << d.substr(d.size() > 800 ? d.size() - 800 : 0);
  EXPECT_TRUE(has(d, "<b>&nbsp;171 Contradictions to Code\n</font>.</p></body></html>"));
  std::string bat = read_file("xs_Ex/check.bat");
  for (const char* e : {"\nD+Invoice\n", "\nU+Invoice\n", "\nC+Invoice\n", "\nD-Helper\n", "\nC*Helper\n",
                        "\nC-Customer\n", "\nU+Customer\n"})
    EXPECT_TRUE(has(bat, e)) << e;

  // Without the model's class list the run names it and ends.
  fs::remove("w/src/j2h/xx_U");
  r = run_brelmot("w", env());
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "System: not found: w/src/j2h/xx_U")) << r.out.substr(r.out.size() > 2000 ? r.out.size() - 2000 : 0);
}

TEST(DocsUmlCode, AClassLineWithoutItsMarkFails) {
  std::map<std::string, DocDes::duc_marks> rows;
  DocDes::merge_rose_diff("> class A\n< class <a href=../m/1.htm>B</a>\n", rows);
  EXPECT_EQ(rows["A"].mark[1], 'U');
  EXPECT_EQ(rows["B"].mark[2], 'C');
  EXPECT_EQ(rows["B"].code, "m/1.htm");
  std::string r = failure_of([&] { DocDes::merge_rose_diff("  class C\n", rows); });
  EXPECT_TRUE(has(r, "without its mark")) << r;
}
