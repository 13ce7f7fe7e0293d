// The include relation: names resolved against the walked tails, the
// links that stand in place of "#include", the structure appended to each
// page, the include lists, fdep.htm with its below/above pages, and the
// nested JSP include tree.  Files are added as the walk adds them; pages
// are read back from <root>/j2h.
#include <gtest/gtest.h>

#include <filesystem>

#include "runtime/safe_uts.h"
#include "tests/codeweb/codeweb_util.h"

using namespace testutil;
namespace fs = std::filesystem;

namespace {

std::string lower(std::string s) {
  for (char& c : s) c = (char)tolower((unsigned char)c);
  return s;
}

// A code web over "src" whose files are registered one by one.
struct IncWeb {
  TempDir t;
  Java2Htm web;
  std::string said;  // what the last quiet() call printed

  IncWeb() {
    fs::create_directories("src/j2h");
    web.root_argument("src");
  }
  template <class F>
  auto quiet(F f) {
    testing::internal::CaptureStdout();
    auto r = f();
    said = testing::internal::GetCapturedStdout();
    return r;
  }
  // Registers `path`; writes it unless `on_disk` is false (the relation
  // itself reads no file a tail already resolves).
  int add(const std::string& path, int kind = Java2Htm::k_c, const std::string& text = "", bool on_disk = true) {
    if (on_disk) write_file(path, text);
    return quiet([&] {
      web.to_incNames(path);
      int n = web.srcfile(__LINE__, lower(path).c_str(), kind);
      web.fReal[n] = path;
      return n;
    });
  }
  std::string inc(int n, const std::string& d) {
    return quiet([&] { return web.cpp_include(n, d); });
  }
  std::string resolve(const std::string& from, const std::string& name) {
    std::string out;
    quiet([&] { return web.make_path(from, out, name); });
    return out;
  }
  void structure() {
    quiet([&] {
      web.ADD_inc_structure();
      web.show_incsMe_Relation();
      return 0;
    });
  }
  static std::string page(int n) { return read_file(std::string("src/j2h/") + Java2Htm::nr2(n) + ".htm"); }
  bool edge(int from, int to) {
    return web.incNames.contains((">" + std::to_string(from) + "=" + std::to_string(to)).c_str()) != 0;
  }
};

}  // namespace

TEST(IncludeRelation, AmbiguousBaseNameFallsBackToFoldersThenToAnyFileWithTheTail) {
  IncWeb w;
  w.add("src/a/x.h");
  w.add("src/c/x.h");
  w.add("src/b/m.cpp");
  Btree_st st;
  ASSERT_TRUE(w.web.incs.Get("x.h", st));
  EXPECT_STREQ(st.c, "");  // two x.h: no path
  ASSERT_TRUE(w.web.incs.Get("a/x.h", st));
  EXPECT_STREQ(st.c, "src/a/x.h");

  EXPECT_EQ(w.resolve("src/b/m.cpp", "A/X.H"), "src/a/x.h");
  EXPECT_EQ(w.said, "");  // a unique tail: no progress lines

  // The including file's own folder wins over the other x.h.
  EXPECT_EQ(w.resolve("src/c/y.cpp", "x.h"), "src/c/x.h");
  EXPECT_TRUE(has(w.said, "\nno such inc_1: x.h [aus f= src/c/y.cpp]"));
  EXPECT_FALSE(has(w.said, "no such inc_2"));

  // From a folder without one: every file with the tail is a hit, the last stays.
  EXPECT_EQ(w.resolve("src/b/m.cpp", "x.h"), "src/c/x.h");
  EXPECT_TRUE(has(w.said, "\nno such inc_2: x.h [aus f= src/b/m.cpp]"));
  EXPECT_EQ(count_of(w.said, "\ninc doch gefunden: x.h = "), 2);
  EXPECT_TRUE(has(w.said, "\nanzgef= 2: x.h = src/c/x.h"));
}

TEST(IncludeRelation, FolderSearchStaysBelowTheRootAndUsesTheRealSpelling) {
  IncWeb w;
  write_file("top.h", "");  // beside the root, not below it
  write_file("src/d/Extra.H", "");  // on disk, never walked
  int m = w.add("src/d/e/m.cpp");
  EXPECT_EQ(w.resolve("src/d/e/m.cpp", "top.h"), "");
  Btree_st st;
  EXPECT_TRUE(w.web.notFound.Get("top.h", st));

  // A file outside the selection is found in a folder above and numbered.
  std::string html = w.inc(m, "#include \"extra.h\"");
  int n = w.web.cfNr;
  EXPECT_EQ(n, m + 1);
  EXPECT_EQ(w.web.fReal[n], "src/d/Extra.H");
  EXPECT_EQ(w.web.fKind[n], Java2Htm::k_c);
  EXPECT_TRUE(w.edge(m, n));
  EXPECT_TRUE(has(html, "<a href=" + std::to_string(n) + ".htm>\"extra.h</a>")) << html;
}

TEST(IncludeRelation, DirectiveFormsLinksAndNotFound) {
  IncWeb w;
  int h = w.add("src/lib/util.h");
  int c = w.add("src/lib/util.cpp");
  int m = w.add("src/app/main.cpp");
  for (int i = 0; i < 100; i++) w.add("src/gen/f" + std::to_string(i) + ".c");
  int far = w.add("src/app/far.h");
  ASSERT_GE(far, 100);

  // Same hundred: the bare number; the .cpp beside the header linked.
  EXPECT_EQ(w.inc(m, "#include \"util.h\" // helpers"),
            "#include <a href=" + std::to_string(h) + ".htm>\"util.h</a> : <a href=../" +
                Java2Htm::nr2(c) + ".htm>cpp</a>\" // helpers");
  // Another hundred: through the parent folder; no cpp link for a .cpp name.
  std::string to_far = w.inc(m, "#include <far.h>");
  EXPECT_TRUE(has(to_far, std::string("<a href=../") + Java2Htm::nr2(far) + ".htm>&lt;far.h</a>")) << to_far;
  EXPECT_FALSE(has(w.inc(far, "#include \"util.cpp\""), ">cpp</a>"));

  // Not a file: the keyword form, the name noted for notfound.htm.
  EXPECT_EQ(w.inc(m, "#include <stdio.h>"), "#include <font class=\"kw\">&lt;stdio.h\"</font>");
  // Forms that are not taken stand as they are.
  EXPECT_EQ(w.inc(m, "#include MACRO_H"), "#include MACRO_H");
  EXPECT_EQ(w.inc(m, "#include_next <x.h>"), "#include_next &lt;x.h&gt;");

  EXPECT_TRUE(w.edge(m, h));
  EXPECT_TRUE(w.web.is_inc_for[h]);
  // A self-include makes no edge; a name with a comma is refused.
  w.inc(m, "#include \"main.cpp\"");
  EXPECT_FALSE(w.edge(m, m));
  EXPECT_FALSE(w.web.is_inc_for[m]);
  EXPECT_TRUE(has(failure_of([&] { w.web.cpp_include(m, "#include \"a,b.h\""); }), "a,b.h"));
  w.quiet([&] {
    w.web.show_notFound();
    return 0;
  });
  std::string nf = read_file("src/j2h/notfound.htm");
  EXPECT_TRUE(has(nf, "Includes not found "));
  EXPECT_TRUE(has(nf, "\n<br>stdio.h"));
}

TEST(IncludeRelation, StrangeNamesAreDataNotCommands) {
  IncWeb w;
  std::string odd = "src/we ird/$x; touch pwned 'q' `id`.h";
  int h = w.add(odd);
  int m = w.add("src/m.cpp");
  std::string html = w.inc(m, "#include <we ird/$x; touch pwned 'q' `id`.h>");
  EXPECT_TRUE(w.edge(m, h)) << html;
  w.structure();
  EXPECT_FALSE(file_exists("pwned"));
  EXPECT_FALSE(file_exists("src/pwned"));
  EXPECT_TRUE(has(IncWeb::page(m), "$x; touch pwned &#39;q&#39; `id`.h") ||
              has(IncWeb::page(m), "$x; touch pwned 'q' `id`.h"));
}

TEST(IncludeRelation, StructureFdepAndAbovePages) {
  IncWeb w;
  int a = w.add("src/app/a.cpp");
  int b = w.add("src/inc/b.h");
  int c = w.add("src/inc/c.h");
  int lone = w.add("src/inc/lone.h");
  w.inc(a, "#include \"b.h\"");
  w.inc(b, "#include \"c.h\"");
  w.structure();

  std::string pa = IncWeb::page(a);
  EXPECT_TRUE(has(pa, "<a href=../0/2.htm>inc/b.h<br></a>. &nbsp; <a href=../0/3.htm>inc/c.h<br></a>")) << pa;
  EXPECT_TRUE(has(pa, "\n<font size=1><br>2 include files<font size=2><br>\n<a href=#top>top</a> . <a href=../cpp.htm>C++</a>"));
  std::string pc = IncWeb::page(c);
  EXPECT_TRUE(has(pc, "0 include files"));
  EXPECT_TRUE(has(pc, "<a href=../bf/" + std::to_string(c) + ".htm>is_inc_for</a> . "));

  std::string fdep = read_file("src/j2h/fdep.htm");
  EXPECT_TRUE(has(fdep, "Dependencies via Include Relation"));
  EXPECT_TRUE(has(fdep, "[ <a href=0/1.htm#eof>below</a> ] [ above ]"));
  EXPECT_TRUE(has(fdep, "[ below ] [ <a href=bf/3.htm>above</a> ]"));
  EXPECT_TRUE(has(fdep, "[ below ] [ above ] <b>src</b> inc/lone.h")) << fdep;
  (void)lone;
  w.quiet([&] {
    w.web.show_the_CPP_includes();
    return 0;
  });
  std::string list = read_file("src/j2h/inc/incs_cpp.htm");
  EXPECT_TRUE(has(list, "Depth of C++ include relation = 0<br>"));
  EXPECT_TRUE(has(list, "\n<br>[ <a href=../0/2u.htm>use</a> ]\n&nbsp; <a href=../0/2.htm>src/inc/b.h, 1</a>")) << list;
  EXPECT_TRUE(has(list, "2 cpp include files ( used 2 times )"));
  std::string use = read_file("src/j2h/0/3u.htm");
  EXPECT_TRUE(has(use, "is included to:\n<br><a href=../0/2.htm>inc/b.h</a>")) << use;
  // c is included by b directly and by a through b.
  std::string above = read_file("src/j2h/bf/3.htm");
  EXPECT_TRUE(has(above, "ASP</a> . <a href=../jsp.htm>JSP</a> . <a href=../cpp.htm>C++</a>"));
  EXPECT_TRUE(has(above, "app/a.cpp"));
  EXPECT_TRUE(has(above, "inc/b.h"));
  EXPECT_EQ(count_of(above, ">code</a> ]"), 2);
  EXPECT_TRUE(has(read_file("incsMe"), "~/1=3~"));
  EXPECT_FALSE(file_exists("src/j2h/bf/1.htm"));
}

// Cycles, a deep chain and a header with thousands of includers end
// quickly, without deep recursion.
TEST(IncludeRelation, CyclesDeepChainsAndWideFanInEnd) {
  {
    IncWeb w;
    int a = w.add("src/a.h"), b = w.add("src/b.h");
    w.inc(a, "#include \"b.h\"");
    w.inc(b, "#include \"a.h\"");
    w.structure();
    EXPECT_TRUE(has(IncWeb::page(a), ">b.h<br></a>. &nbsp; <a href=../0/1.htm>a.h<br></a>"));
    std::string above = read_file("src/j2h/bf/1.htm");
    EXPECT_TRUE(has(above, "<b>src</b> b.h"));
    EXPECT_EQ(count_of(above, ">code</a> ]"), 1);  // the file itself is left out
  }
  {
    IncWeb w;
    const int N = 1000;
    for (int i = 0; i < N; i++) w.add("src/c" + std::to_string(i) + ".h", Java2Htm::k_c, "", false);
    for (int i = 1; i < N; i++) w.inc(i, "#include \"c" + std::to_string(i) + ".h\"");
    w.structure();
    EXPECT_TRUE(has(IncWeb::page(1), "\n<font size=1><br>64 include files"));
    EXPECT_TRUE(has(IncWeb::page(950), "\n<font size=1><br>50 include files"));
    EXPECT_TRUE(has(IncWeb::page(N), "\n<font size=1><br>0 include files"));
  }
  {
    IncWeb w;
    int h = w.add("src/h.h");
    for (int i = 0; i < 5000; i++) w.inc(w.add("src/u/" + std::to_string(i) + ".c", Java2Htm::k_c, "", false), "#include \"h.h\"");
    w.structure();
    std::string above = read_file("src/j2h/bf/1.htm");
    EXPECT_EQ(count_of(above, ">code</a> ]"), 5000);
    EXPECT_TRUE(w.web.is_inc_for[h]);
  }
}

TEST(IncludeRelation, JspTreeStopsAtLevelFourAndReusesCachedLevels) {
  IncWeb w;
  Btree jsp;
  jsp.quiet = 1;
  jsp.init(nullptr, 0);
  for (int i = 0; i <= 6; i++) {
    std::string p = "src/jsp/j" + std::to_string(i) + ".jsp";
    std::string text = "<html>\n<%@ include file=\"j" + std::to_string(i + 1) + ".jsp\" %>\n</html>\n";
    int n = w.add(p, Java2Htm::k_jsp, text);
    jsp.StrIns('e', p.c_str(), std::to_string(n).c_str());
  }
  auto tree_of = [&](const char* root) {
    FILE* f = fopen("out.htm", "w");
    w.quiet([&] { return w.web.put_incs(f, 0, root, &jsp, "include file=", "jsp"); });
    fclose(f);
    return read_file("out.htm");
  };
  std::string first = tree_of("src/jsp/j0.jsp");
  EXPECT_TRUE(has(first, "<a href=jsp1.htm>src : jsp : j0.jsp</a>")) << first;
  EXPECT_TRUE(has(first, ". &nbsp; &nbsp; . &nbsp; &nbsp; . &nbsp; &nbsp; . &nbsp; &nbsp; <a href=jsp5.htm>"));
  EXPECT_FALSE(has(first, "j5.jsp"));
  EXPECT_EQ(w.web.maxDepth, 4);
  // Level 1 of a second tree is the cached text of the first.
  std::string second = tree_of("src/jsp/j0.jsp");
  EXPECT_TRUE(has(second, "<br>")) << second;
  EXPECT_TRUE(has(second, "j4.jsp"));
  EXPECT_EQ(w.web.incFiles.size(), 1u);
}

// The steps of a whole run write the relation's pages even without C++.
TEST(IncludeRelation, WholeRunWritesTheReportPages) {
  TempDir t;
  write_file("src/x/a.java", "public class A {\n}\n");
  cwtest::build("src");
  EXPECT_TRUE(has(read_file("src/j2h/notfound.htm"), "Includes not found "));
  EXPECT_TRUE(has(read_file("src/j2h/fdep.htm"), "Dependencies via Include Relation"));
  EXPECT_TRUE(file_exists("incsMe"));
  EXPECT_TRUE(file_exists("src/j2h/incsMe"));
  // A later run keeps the relation of the run before it.
  write_file("incsMe", "\n~/1=2~~");
  cwtest::build("src");
  EXPECT_EQ(read_file("src/j2h/incsMe"), "\n~/1=2~~");
  EXPECT_EQ(read_file("incsMe"), "");
}
