// The page of one Java source and the rows it leaves in the code web's trees.
#include <gtest/gtest.h>

#include "codeweb/java_text.h"
#include "runtime/safe_uts.h"
#include "tests/codeweb/java_sink.h"

using testutil::count_of;
using testutil::failure_of;
using testutil::has;

namespace {

TEST(JavaPage, DefaultVisibilityIsMarkedOnlyOnDeclarations) {
  EXPECT_EQ(see_default_vis("  int f(int a) {\n"), "  public defVis int f(int a) {\n");
  EXPECT_EQ(see_default_vis("static List<String> g(int a)\n"), "public defVis static List<String> g(int a)\n");
  for (const char* same : {"f(a b);\n", "X(int a) {\n", "return f(x);\n", "else if (a)\n", "x = f(a);\n",
                           "public int f(int a)\n", "new X(a);\n", "@Anno(x)\n", "/* int f(int a)\n*/\n"})
    EXPECT_EQ(see_default_vis(same), same);
  map_trees web;
  std::string code = code_of(page_of(web, "package a;\nclass A {\nint f(int a) {\n g(a b);\n}\n"
                                          "A(int a) {\n}\n}\n"));
  EXPECT_EQ(count_of(code, "p.public"), 1) << code;
  EXPECT_TRUE(has(code, "<font class=\"kw\">p.public</font> int<a name=1></a> <a href=\"#A\">f</a>(int a)"))
      << code;
  EXPECT_EQ(web[jtree::secs].count("A :: f"), 1u);
  EXPECT_EQ(web[jtree::secs].count("A :: A"), 0u);
}

TEST(JavaPage, ClassesNestedAndBareKeepTheirContentsLine) {
  map_trees web;
  std::string page = page_of(web,
                             "package p.q;\npublic class Outer extends Base implements Api, Outer {\n"
                             "  static class Inner { void run() { } }\n"
                             "  interface Cb extends java.util.EventListener { }\n}\n");
  std::string toc = toc_of(page);
  EXPECT_TRUE(has(toc, "\n<a name=\"Outer\"></a>\n<a href=#top>top</a>,\n<a href=\"u/1.htm\">use</a>,\n"
                       "<a href=\"m/1.htm\">map</a>,\n<a href=#0>class</a><b><font size+2> Outer</font></b><br>"))
      << toc;
  EXPECT_TRUE(has(toc, "\n<a name=\"Outer . Inner\"></a>\n<br><a href=#top>top</a>")) << toc;
  // An interface without methods still has its top/use/map line.
  EXPECT_TRUE(has(toc, "<a href=\"m/3.htm\">map</a>,\n<a href=#3>interface</a><b><font size+2> Outer . Cb"))
      << toc;
  EXPECT_TRUE(has(toc, "<br>. &nbsp; <a href=#2>run()</a>")) << toc;
  EXPECT_EQ(web[jtree::kinds].at("Outer . Inner"), "-- class");
  EXPECT_EQ(web[jtree::secs].at("Inner :: run"), "c0001.htm#2");
  // Rows for extends and implements, none for the class's own name.
  std::map<std::string, std::string> supers(web[jtree::supers].begin(), web[jtree::supers].end());
  EXPECT_EQ(supers, (std::map<std::string, std::string>{{"Outer~Base", "-- class"},
                                                         {"Outer~Api", "-- class"},
                                                         {"Cb~java.util.EventListener", "-- interface"}}));
  EXPECT_EQ(web[jtree::defs].at("2.Inner"), "c0001.htm~p.q");
  EXPECT_EQ(web[jtree::packages].count("p.q"), 1u);
}

TEST(JavaPage, GeneratedMarksBannersCopyrightsAndDebugLinesGo) {
  map_trees web;
  std::string page = page_of(web,
                             "/* Copyright 2001 Someone\n * All rights reserved */\n"
                             "package a;\n/*------------------- */\nclass A {\n"
                             "/* START OF PROTECTED */\nint kept = 1;\n/* END OF PROTECTED */\n"
                             "// System.out.println(\"dbg\");\n//GEN-BEGIN\n// insert custom code [  -- here\n"
                             "int last;\n}\n");
  std::string code = code_of(page);
  for (const char* gone : {"Copyright", "-----", "PROTECTED", "System.out", "GEN-"})
    EXPECT_FALSE(has(code, gone)) << gone << "\n" << code;
  EXPECT_TRUE(has(code, "int kept = 1;")) << code;
  EXPECT_TRUE(has(code, "<a name=1></a><font class=\"co\">// insert custom code [  -- here</font>")) << code;
  EXPECT_TRUE(has(toc_of(page), "<br>. &nbsp; <a href=#1>Programmer's Code</a>")) << page;
  ASSERT_EQ(web.customised.size(), 1u);
  EXPECT_EQ(web.customised[0], "[    6 LOC ]   1 src/a/A.java");
  EXPECT_EQ(web.slots, 1);
}

TEST(JavaPage, FooterCountsMatchThePageAndTheClassList) {
  map_trees web;
  // Code lines as tidied: package, import, import, class, {, int a, m(), {, }, } = 10;
  // comment lines: the trailing note, two of the block, the lone one = 4.
  std::string text =
      "package a;\nimport x.Y;import x.Z;\nclass A {\n  int a; // trailing note\n"
      "  /* one\n     two */\n  // alone\n  void m() {}\n}\n";
  std::string page = page_of(web, text);
  EXPECT_TRUE(has(page, "\n<br><font size=1>10 neLoCode\n+ 4 LoComm</font></body></HTML>\n")) << page;
  EXPECT_EQ(web[jtree::classes].count("a+A+10+4"), 1u);
  EXPECT_EQ(web[jtree::imports].at("x.Z/a"), "c0001.htm");
  page_of(web, text, "src/a/B.java");
  EXPECT_EQ(web.neLoCode, 20);
  EXPECT_EQ(web.LoComm, 8);
  EXPECT_EQ(web[jtree::classes].at("a+B+10+4"), "\n<br><a href=\"c0001.htm#toc\"\nTARGET=\"frame3\">B</a>");
}

TEST(JavaPage, WithoutPackageTheSourceItselfIsShownWithAWarning) {
  map_trees web;
  std::string console;
  std::string page = page_of(web, "class A {\nint f(int a) { if (a) return 1; return 2; }\n}\n", "t/A.java",
                             &console);
  EXPECT_TRUE(has(console, "\nUser's error: no package in t/A.java\n")) << console;
  EXPECT_TRUE(has(console, "\nW a r n i n g :  No package in t/A.java\n")) << console;
  // Not tidied: the one-line method stays on its line.
  EXPECT_TRUE(has(code_of(page), "(int a) { if (a) <font class=\"kw\">return</font> 1;")) << page;
  EXPECT_EQ(web[jtree::classes].count("+A+3+0"), 1u);
}

TEST(JavaPage, MainMethodsAreAnchoredAndCounted) {
  map_trees web;
  std::string code = code_of(page_of(web, "package a;\nclass M {\npublic static void main(String[] s) {}\n}\n"));
  EXPECT_TRUE(has(code, "<a name=1></a><a name=m0></a> <a href=\"#M\">main</a>")) << code;
  ASSERT_EQ(web.mains.size(), 1u);
  EXPECT_EQ(web.mains[0].link, "c0001.htm#m0");
  EXPECT_EQ(web.mains[0].cls, "a.M");  // the full class name
  // The 1000th main of a code web ends the run.
  web.mains.resize(java_trees::max_mains - 1);
  java_reader reader(web);
  std::string r = failure_of([&] {
    reader.page_of("package a;\nclass M {\npublic static void main(String[] s) {}\n}\n", "a/M.java", "c0002.htm");
  });
  EXPECT_TRUE(has(r, "1000th main() method (mNr) in a/M.java")) << r;
}

TEST(JavaPage, LimitsOfOneFileEndInAReportNamingFileAndLimit) {
  map_trees web;
  java_reader reader(web);
  auto fails = [&](const std::string& text) {
    return failure_of([&] { reader.page_of(text, "big/A.java", "c0001.htm"); });
  };
  std::string r = fails("package a;\nclass A { int x; // " + std::string(8000, 'x') + "\n}\n");
  EXPECT_TRUE(has(r, "a line of big/A.java is longer than the look-ahead of 8000 bytes")) << r;
  std::string block;
  for (int i = 0; i < 4000; i++) block += std::string(80, 'y') + "\n";
  r = fails("package a;\nclass A { String s = \"\"\"\n" + block + "\"\"\"; }\n");
  EXPECT_TRUE(has(r, "a string of big/A.java is longer than 300000 bytes: \"\"\"\n   yyyyyyyyyyyyy")) << r;
  std::string many = "package a;\nclass A {\n";
  for (int i = 0; i < java_trees::etoc; i++) many += "/*c*/\n";
  r = fails(many + "}\n");
  EXPECT_TRUE(has(r, "more than 100000 table-of-contents entries (etoc) in big/A.java")) << r;
  r = fails("package a;\nclass A {\n");
  EXPECT_TRUE(has(r, "big/A.java do not balance")) << r;
}

TEST(JavaPage, JavaOfTodayIsReadAsTheNearestKnownForm) {
  map_trees web;
  std::string page = page_of(web,
                             "package a.b;\n@SuppressWarnings(\"x\")\npublic enum Color implements Supplier<String> {\n"
                             "  RED(\"r\"), GREEN(\"g\");\n  @Override public String get() { return \"\"; }\n}\n"
                             "sealed interface Shape permits Sq {}\n@interface Marker { String value() default \"\"; }\n"
                             "record P<T>(int x, T y) implements Comparable<P<T>> { }\n"
                             "class G<K extends Comparable<K>> extends java.util.HashMap<K, String> {\n"
                             "  <R> List<R> map(Function<? super K, R> f) {\n return keys().map(x -> { return f(x); });\n }\n"
                             "  String t() {\n return \"\"\"\n    a { <b>\n    \"\"\";\n }\n"
                             "  void s(int k) {\n switch (k) { case 1 -> { } default -> g(); }\n }\n}\n");
  std::string toc = toc_of(page);
  for (const char* row : {"<a href=#0>class</a><b><font size+2> Color<", "interface</a><b><font size+2> Shape<",
                          "class</a><b><font size+2> P<", "class</a><b><font size+2> G<", ">map(Function&lt;? super K, R> f)</a>",
                          ">get()</a>", ">t()</a>", ">s(int k)</a>"})
    EXPECT_TRUE(has(toc, row)) << row << "\n" << toc;
  EXPECT_TRUE(has(code_of(page), "<font class=\"str\">\"\"\"\n")) << page;
  // Each string's text is offered to the search for script functions.
  EXPECT_EQ(web.strings.front(), "x");
  ASSERT_EQ(web.strings.size(), 6u);
  EXPECT_EQ(web.strings[3], "");
  EXPECT_EQ(web.strings[5], "\n      a { <b>\n      ");  // re-indented with its code
  EXPECT_EQ(web[jtree::supers].count("P~Comparable"), 1u);
  EXPECT_EQ(web[jtree::supers].count("G~java.util.HashMap"), 1u);
  EXPECT_EQ(web[jtree::supers].count("Color~Supplier"), 1u);
  // A module declaration has no package: it gets its page and the warning.
  std::string console;
  page_of(web, "module a.b {\n  requires java.base;\n}\n", "src/module-info.java", &console);
  EXPECT_TRUE(has(console, "no package in src/module-info.java")) << console;
}

TEST(JavaPage, OddBytesGiveAPageAndTheFileIsWritten) {
  testutil::TempDir dir;
  map_trees web;
  EXPECT_TRUE(has(page_of(web, ""), "0 neLoCode"));
  EXPECT_TRUE(has(code_of(page_of(web, "package a;\rclass A {\r int x;\r}\r")), "{ int x;\n}"));
  static const char nul_text[] = "package a;\nclass A { int\0 y; }\n\x1a";
  std::string nul(nul_text, sizeof nul_text - 1);
  EXPECT_TRUE(has(code_of(page_of(web, nul)), "int  y;"));
  // A file name is text on the page, whatever its characters.
  std::string odd = page_of(web, "package a;\nclass A { }\n", "x/A&<b> \"$;`.java");
  EXPECT_TRUE(has(odd, ">A&amp;&lt;b&gt; &quot;$;`</font>")) << odd;
  EXPECT_EQ(web[jtree::classes].count("a+A&<b> \"$;`+4+0"), 1u);
  safe_ut.write_text("A.java", "package a;\nclass A { }\n");
  java_reader reader(web);
  testing::internal::CaptureStdout();
  reader.run("A.java", "c0007.htm", "c0007.htm");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "\ndone(shorter): c0007.htm");
  EXPECT_TRUE(has(safe_ut.read_text("c0007.htm"), "<a href=\"#A\">A</a>"));
}

TEST(JavaPage, ClassNamesAreNumberedOnceWithAndWithoutTheirArguments) {
  map_trees web;
  java_reader reader(web);
  EXPECT_EQ(reader.def_name_nr("Map<K,V>"), 1);
  EXPECT_EQ(reader.def_name_nr("Map"), 1);
  EXPECT_EQ(reader.def_name_nr("List"), 2);
  EXPECT_EQ(web[jtree::names].at("Map<K,V>"), "1");
}

}  // namespace
