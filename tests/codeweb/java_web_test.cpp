// Java pages inside a code web: the rows reach the object's trees and the
// frame pages, and a file the reader refuses ends the run naming it.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/codeweb/codeweb_util.h"

using namespace testutil;
using cwtest::build;

TEST(CodeWebJava, PagesFillTheTreesOfTheWeb) {
  TempDir t;
  write_file("src/org/x/A.java",
             "package org.x;\nimport java.util.List;\n/** the A. */\nclass A extends B {\n"
             "  int f(int a) {\n    return a;\n  }\n  public static void main(String[] s) {\n  }\n}\n");
  write_file("src/org/x/B.java", "package org.x;\npublic class B {\n}\n");
  int mains = 0, b_nr = 0;
  long ne = 0, lo = 0;
  bool super_row = false, import_row = false, member_row = false;
  // Looked at before the destructor runs (the build's console is captured).
  build("src", nullptr, [&](Java2Htm& web) {
    mains = web.mNr;
    ne = web.neLoCode;
    lo = web.LoComm;
    Btree_st st;
    super_row = web.superClasses.Get("A~B", st);
    import_row = web.javaImports.Get("java.util.List/org.x", st);
    member_row = web.cppsecs.Get("A :: f", st);
    b_nr = web.defNameNr("B");

  });
  EXPECT_TRUE(super_row && import_row && member_row);
  EXPECT_EQ(b_nr, 2);
  EXPECT_EQ(mains, 1);
  EXPECT_EQ(lo, 1);
  // The page of A.java: the c page whose title is A.
  std::string a;
  for (auto& e : std::filesystem::directory_iterator("src/j2h")) {
    std::string name = e.path().filename().string();
    if (name[0] != 'c' || !isdigit((unsigned char)name[1])) continue;
    std::string text = read_file(e.path().string());
    if (has(text, "<font size=\"4\">A</font>")) a = text;
  }
  EXPECT_TRUE(has(a, "<font class=\"kw\">p.public</font> int")) << a;
  // The package's class list sums what the two pages count.
  std::string p = read_file("src/j2h/p1.htm");
  EXPECT_TRUE(has(p, "<font size=1>" + std::to_string(ne) + " neLoCode + 1 LoComm</font>")) << p;
}

TEST(CodeWebJava, ARefusedSourceEndsTheRunNamingIt) {
  TempDir t;
  write_file("src/a/Bad.java", "package a;\nclass Bad {\n  void f() {\n}\n");
  auto r = cwtest::run_j2h("src");
  EXPECT_EQ(r.status, 1) << r.out;
  EXPECT_TRUE(has(r.out, "src/a/Bad.java do not balance")) << r.out;
}
