// C and C++ pages inside a code web: the lists, the pages and the rows
// reach the object's trees, and a name that is no word runs nothing.
#include <gtest/gtest.h>

#include "tests/codeweb/codeweb_util.h"

using namespace testutil;
using cwtest::build;

TEST(CodeWebCpp, TreeOfCAndCppFilesGetsItsPagesAndLists) {
  TempDir t;
  write_file("src/lib/shape.h", "#ifndef SHAPE_H\n#define SHAPE_H\nclass Shape : public Base {\n"
                                "public:\n  virtual double area() const;\n};\n#endif\n");
  write_file("src/lib/shape.cpp", "#include \"shape.h\"\ndouble Shape::area() const\n{\n  return 0;\n}\n"
                                  "BEGIN_MESSAGE_MAP(Shape, Base)\nEND_MESSAGE_MAP()\n");
  write_file("src/tool/main.c", "#include <stdio.h>\nint main(void)\n{\n  EXEC SQL select a from t;\n"
                                "  return 0;\n}\n");
  write_file("src/tool/it's $x; y.hh", "int v;\n");
  write_file("src/cs/Prog.cs", "class Prog {}\n");
  bool class_row = false, method_row = false, super_row = false, codef_row = false, msg = false;
  std::string tables;
  build("src", nullptr, [&](Java2Htm& web) {
    Btree_st st;
    class_row = web.cppsecs.Get("Shape", st) && std::string(st.c).substr(0, 2) == "c0";
    method_row = web.cppsecs.Get("Shape :: area", st) && std::string(st.c).substr(0, 2) == "m0";
    super_row = web.superClasses.Get("Shape~Base", st);
    codef_row = web.codef.Get("main tool", st);
    msg = web.msgMaps != nullptr;
    tables = read_file("src/tables.xxx");
  });
  EXPECT_TRUE(class_row && method_row && super_row && codef_row && msg);
  std::string cpps = read_file("src/j2h/cpps.htm");
  // Rows by upper-cased base name; the C# file waits for its reader.
  size_t a = cpps.find(">it's $x; y.hh<"), b = cpps.find(">main.c<"), c = cpps.find(">shape.cpp<");
  EXPECT_TRUE(a < b && b < c && c != std::string::npos) << cpps;
  EXPECT_FALSE(has(cpps, "Prog.cs"));
  EXPECT_TRUE(has(cpps, "\n</font><br><br><font face=\"Verdena,Arial\" size=1>\n4 Files = ")) << cpps;
  EXPECT_TRUE(has(cpps, "<br>Dialog Interface Code >= ")) << cpps;
  // Every C and C++ file is in ALL_ccode; SQL went to tables.xxx.
  std::string all = read_file("src/j2h/ALL_ccode");
  EXPECT_TRUE(has(all, "double Shape::area() const") && has(all, "int v;") && !has(all, "Prog"));
  EXPECT_TRUE(has(tables, "\n p .. main main.c [0/")) << tables;
  EXPECT_TRUE(has(read_file("src/j2h/cpp.htm"), "cpps.htm"));
  EXPECT_TRUE(has(read_file("src/j2h/cs.htm"), "csfs.htm"));
}

TEST(CodeWebCpp, TwoRunsWriteTheSamePages) {
  TempDir t;
  write_file("src/a.cpp", "static int n;\nint A::f(int a) { return a; }\n");
  write_file("src/a.h", "class A {\n  int f(int a);\n};\n");
  setenv("SOURCE_DATE_EPOCH", "1700000000", 1);
  build("src");
  auto first = cwtest::tree_of("src/j2h");
  build("src");
  unsetenv("SOURCE_DATE_EPOCH");
  EXPECT_EQ(first, cwtest::tree_of("src/j2h"));
  EXPECT_TRUE(has(first["0/2.htm"], "<a href=../0/1.htm>cpp</a>, ")) << first["0/2.htm"];
}

TEST(CodeWebCpp, AnUnbalancedIfInAHeadEndsTheRunNamingFileAndLine) {
  TempDir t;
  write_file("src/ok.h", "int a;\n");
  write_file("src/bad one.cpp", "int a;\nvoid A::f(int a\n#ifdef X\n , int b\n) {\n}\n");
  auto r = cwtest::run_j2h("src");
  EXPECT_EQ(r.status, 1) << r.out;
  EXPECT_TRUE(has(r.out, "an unbalanced #if inside a head in src/bad one.cpp, line 2")) << r.out;
}

TEST(CodeWebCpp, TheTraceSelectionOfTheRootMarksCallsAndUiFilesAreListed) {
  TempDir t;
  write_file("src/traceUs", "\n+Save  \n-Load\n");
  write_file("src/ui_main/view.cpp", "void View::OnSave()\n{\n  Save(1);\n  Load(2);\n}\n");
  write_file("src/core/doc.cpp", "int Save(int a)\n{\n  return a;\n}\n");
  std::string marks, ui;
  build("src", nullptr, [&](Java2Htm& web) {
    Btree_st st;
    for (unsigned ok = web.traceMarks ? web.traceMarks->GetFirst(st) : 0; ok; ok = web.traceMarks->Next(st))
      marks += std::string(st.k, st.k_L) + "=" + st.c + ";";
    for (unsigned ok = web.uiFiles ? web.uiFiles->GetFirst(st) : 0; ok; ok = web.uiFiles->Next(st))
      ui += std::string(st.k, st.k_L) + ";";
  });
  EXPECT_TRUE(has(marks, "Save~") && has(marks, "=View :: OnSave;") && !has(marks, "Load")) << marks;
  EXPECT_TRUE(has(ui, "ui_main/view.cpp;") && !has(ui, "doc.cpp")) << ui;
}
