// The code tidier: its two passes give every later reader one shape.
#include <gtest/gtest.h>

#include "codeweb/code_tidy.h"
#include "runtime/safe_uts.h"
#include "tests/test_util.h"

using testutil::failure_of;
using testutil::has;

namespace {

std::string tidy(const std::string& s) { return tidy_text(s, "T.java"); }

TEST(CodeTidy, LoneStatementsAreWrappedAndIndentedThreePerLevel) {
  EXPECT_EQ(tidy("class A {\nvoid f() {\nif(a) x();\nfor(i=0;i<n;i++) y(i);\n"
                 "while (b) z();\nforeach(e) w(e);\n}\n}\n"),
            "class A\n{\n   void f()\n   {\n      if (a)\n      {\n         x();\n      }\n"
            "      for (i=0;i<n;i++)\n      {\n         y(i);\n      }\n"
            "      while (b)\n      {\n         z();\n      }\n"
            "      foreach (e)\n      {\n         w(e);\n      }\n   }\n}\n");
  // A statement that already has braces, and an empty loop, stay as they are.
  EXPECT_EQ(tidy("while(a) { b(); }\nwhile(c);\n"), "while (a)\n{\n   b();\n}\nwhile (c);\n");
}

TEST(CodeTidy, ElseIsWrappedSplitFromItsBraceAndKeepsItsIf) {
  EXPECT_EQ(tidy("if (a) {\nx();\n}else y();\n"),
            "if (a)\n{\n   x();\n}\nelse\n{\n   y();\n}\n");
  EXPECT_EQ(tidy("if (a) { x(); } else if (b) { y(); }\n"),
            "if (a)\n{\n   x();\n}\nelse if (b)\n{\n   y();\n}\n");
  // The else belongs to the inner if, and the outer wrapping closes after it.
  EXPECT_EQ(tidy("if (a) if (b) x(); else y();\nz();\n"),
            "if (a)\n{\n   if (b)\n   {\n      x();\n   }\n   else\n   {\n      y();\n   }\n}\nz();\n");
}

TEST(CodeTidy, TabsBreakAndMethodMarks) {
  // Indenting tabs go, a tab between words is a blank, a tab behind ")" ends the line.
  EXPECT_EQ(tidy("\t\tint\tx;\nf(a)\tg();\n"), "int x;\nf(a)\ng();\n");
  EXPECT_EQ(tidy("switch (k) { case 1: a(); break; }\n"),
            "switch (k)\n{\n   case 1: a();\n   break;\n}\n");
  EXPECT_EQ(tidy("// Method : f\nint f;\n"), "int f;\n");
}

TEST(CodeTidy, BracesInStringsCharsAndCommentsAreNoBraces) {
  std::string in =
      "class A {\n"
      "String s = \"{ \\\" {\";\n"
      "char c = '{', d = '\\'';\n"
      "// } a comment {\n"
      "/* }\n}\n*/\n"
      "String t = \"\"\"\n  }\n  \"\"\";\n"
      "}\n";
  std::string out = tidy(in);
  EXPECT_TRUE(has(out, "   String s = \"{ \\\" {\";\n")) << out;
  EXPECT_TRUE(has(out, "   char c = '{', d = '\\'';\n")) << out;
  EXPECT_TRUE(has(out, "   // } a comment {\n")) << out;
  EXPECT_TRUE(has(out, "   /* }\n   }\n   */\n")) << out;
  EXPECT_EQ(out.substr(out.size() - 2), "}\n");
  EXPECT_TRUE(has(out, "#x") == false);
  EXPECT_EQ(tidy("#if X {\nint a;\n"), "#if X {\nint a;\n");
}

TEST(CodeTidy, MalformedFilesEndInAReportNamingThem) {
  std::string r = failure_of([] { tidy_text("class A {\nvoid f() {\n}\n", "src/Open.java"); });
  EXPECT_TRUE(has(r, "src/Open.java")) << r;
  EXPECT_TRUE(has(r, "k = 3")) << r;
  r = failure_of([] { tidy_text("class A { /* open\n}\n", "C.java"); });
  EXPECT_TRUE(has(r, "comment open at the end of C.java")) << r;
  r = failure_of([] { tidy_text("class A { String s = \"open", "S.java"); });
  EXPECT_TRUE(has(r, "string open at the end of S.java")) << r;
  r = failure_of([] { tidy_text("class A { String s = \"\"\"\nopen\n}\n", "B.java"); });
  EXPECT_TRUE(has(r, "text block open at the end of B.java")) << r;
}

TEST(CodeTidy, OddBytesNeverHang) {
  EXPECT_EQ(tidy(""), "");
  EXPECT_EQ(tidy("class A {\rint x;\r}\r"), "class A\n{\n   int x;\n}\n");
  EXPECT_EQ(tidy(std::string("int\0x;\n", 7)), "int x;\n");
  // A "#" that a brace pushed to the head of a line is a "#" line at once,
  // so tidying the tidied text again changes nothing.
  std::string once = tidy("a { b(); }# c /* d\n*/\n");
  EXPECT_EQ(once, "a\n{\n   b();\n}\n# c /* d\n*/\n");
  EXPECT_EQ(tidy(once), once);
  // Closing braces in excess stay at column 0 rather than going below it.
  EXPECT_EQ(tidy("}\n}\nx;\n"), "}\n}\nx;\n");
}

TEST(CodeTidy, ToPrettyWorksOnFilesAndKeepsItsInput) {
  testutil::TempDir dir;
  safe_ut.write_text("in.java", "if(a) b();\n");
  to_pretty("in.java", "out.java");
  EXPECT_EQ(safe_ut.read_text("out.java"), "if (a)\n{\n   b();\n}\n");
  EXPECT_EQ(safe_ut.read_text("x.aus"), "if(a) b();\n");
  EXPECT_EQ(safe_ut.read_text("x.tmp"), "if (a)\n{\nb();\n}\n");
}

}  // namespace
