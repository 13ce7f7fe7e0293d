// The frame pages of a code web: the frameset, the package list and its
// prefix cut, the count lines of the class lists, the text pages of HTML,
// CSS and JS sources, and a build that is the same byte for byte.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/codeweb/codeweb_util.h"

using namespace testutil;
using cwtest::build;

namespace {

void java(const std::string& path, const std::string& package, int lines) {
  std::string t = "package " + package + ";\npublic class X {\n";
  for (int i = 0; i < lines; i++) t += "  int f" + std::to_string(i) + ";\n";
  write_file(path, t + "}\n");
}

long count_before(const std::string& text, const std::string& word) {
  size_t at = text.rfind(word);
  if (at == std::string::npos) return -1;
  size_t b = at - 1;
  while (b > 0 && isdigit((unsigned char)text[b - 1])) b--;
  return atol(text.substr(b, at - b).c_str());
}

}  // namespace

TEST(CodeWebFrames, FramesetHasItsFramesAndTheExactNoFramesTexts) {
  TempDir t;
  java("src/a/A.java", "a", 1);
  build("[Shop]src");
  std::string f = read_file("src/j2h/f.htm");
  EXPECT_TRUE(has(f, "<TITLE>Shop</TITLE>"));
  EXPECT_TRUE(has(f, "<FRAMESET cols=\"27%,73%\">\n<FRAMESET rows=\"30%,70%\">"));
  EXPECT_TRUE(has(f, "<FRAME src=\"packages.htm\" name=\"frame1\">"));
  EXPECT_TRUE(has(f, "<FRAME src=\"classes.htm\" name=\"frame2\">"));
  EXPECT_TRUE(has(f, "<FRAME src=\"docu.htm\" name=\"frame3\">"));
  EXPECT_TRUE(has(f, "Frame Alert"));
  EXPECT_TRUE(has(f, "\nThis document is designed to be viewed using the frames feature.\n"));
  EXPECT_TRUE(has(f, "\nIf you see this message, you are using a non-frame-capable web client.\n"));
  // Frame 3 opens the overview, which begins like packages.htm.
  std::string d = read_file("src/j2h/docu.htm");
  EXPECT_TRUE(has(d, "ALL Code Shop</a>\n<br><br>Views on: </font>\n<a href=alles.htm>Size</a>\n, <a href=dep.htm>XML</a>"));
  std::string p = read_file("src/j2h/packages.htm");
  EXPECT_EQ(d.substr(0, p.find("<a ")), p.substr(0, p.find("<a ")));
  std::string css = read_file("src/j2h/j2h.css");
  EXPECT_TRUE(has(css, "#Header { color:#000000; background-color:#99FF99; }")) << css;
  EXPECT_TRUE(has(css, ".kw { color:#0000FF; }")) << css;
}

TEST(CodeWebFrames, PackageListCutsTheCommonPrefix) {
  EXPECT_EQ(Java2Htm::prefix_cut(9, "com.acme.util"), 9);
  EXPECT_EQ(Java2Htm::prefix_cut(9, "com.other"), 4);
  EXPECT_EQ(Java2Htm::prefix_cut(4, "org"), 0);
  TempDir t;
  java("src/a/A.java", "com.acme.app", 1);
  java("src/b/B.java", "com.acme.util", 1);
  java("src/c/C.java", "com.beta", 1);
  java("src/d/D.java", "com.beta.x", 1);
  build("src");
  std::string p = read_file("src/j2h/packages.htm");
  EXPECT_TRUE(has(p, "<a href=\"p1.htm\" TARGET=\"frame2\">app</a>")) << p;
  EXPECT_TRUE(has(p, "<a href=\"p2.htm\" TARGET=\"frame2\">util</a>"));
  EXPECT_TRUE(has(p, "<a href=\"p3.htm\" TARGET=\"frame2\">beta</a>"));
  EXPECT_TRUE(has(p, "<a href=\"p4.htm\" TARGET=\"frame2\">beta.x</a>"));
  std::string pack = read_file("src/j2h/pack.htm");
  EXPECT_TRUE(has(pack, "Packages:</font><br>\n<br>a\n<br>b\n<br>c\n<br>d")) << pack;
}

// Each p<i>.htm sums its classes; classes.htm sums them all.
TEST(CodeWebFrames, CountLinesSumTheirPages) {
  TempDir t;
  java("src/a/A.java", "a", 3);
  java("src/a/B.java", "a", 5);
  java("src/b/C.java", "b", 7);
  build("src");
  std::string p1 = read_file("src/j2h/p1.htm"), p2 = read_file("src/j2h/p2.htm");
  std::string all = read_file("src/j2h/classes.htm");
  long a = count_before(p1, " neLoCode"), b = count_before(p2, " neLoCode");
  EXPECT_GT(a, 0);
  EXPECT_GT(b, 0);
  EXPECT_EQ(count_before(all, " neLoCode"), a + b) << all;
  EXPECT_TRUE(has(all, "3 Classes and Interfaces"));
  EXPECT_EQ(count_of(all, "TARGET=\"frame3\">"), 4);  // three classes and Knowhow
  EXPECT_TRUE(has(p1, "\n<br><br><font size=1>" + std::to_string(a) + " neLoCode + 0 LoComm</font></BODY></HTML>\n"));
}

TEST(CodeWebFrames, TextPagesOfHtmlCssAndScripts) {
  TempDir t;
  write_file("src/w/a.htm", "<html><b>x</b></html>\n");
  write_file("src/w/b.js", "function go (a) { if (a < 1) return; }\n");
  write_file("src/w/c.css", "p { color: red }\n");
  build("src", nullptr, [](Java2Htm& w) {  // a function on the script's first byte is known
    Btree_st st;
    ASSERT_TRUE(w.jsFunctions);
    EXPECT_TRUE(w.jsFunctions->Get("go", st));
  });
  std::string a = read_file("src/j2h/htms/1.htm");
  EXPECT_TRUE(has(a, "&lt;html>&lt;b>x&lt;/b>&lt;/html>"));
  EXPECT_TRUE(has(a, "4 HTM Commands = <br>/w/a.htm"));
  EXPECT_TRUE(file_exists("src/j2h/htms/j2h.css"));
  EXPECT_TRUE(has(read_file("src/j2h/htm.htm"), "<a href=htms/2.htm>/w/b.js, 39</a>"));
  EXPECT_TRUE(has(read_file("src/j2h/css.htm"), "<a href=htms/3.htm>/w/c.css, 17</a>"));
  EXPECT_TRUE(has(read_file("src/j2h/1.htm"), "3 Source Files as of"));
}

TEST(CodeWebFrames, KnowHowItemsBecomeNumberedPages) {
  TempDir t;
  write_file("src/tips/tips.htm", "<html><body>:::<h2>First tip</h2>one\n:::(b)Bold:::<p>Second</p>two</body></html>");
  write_file("src/cfg/app.xml", "<x/>");
  build("src", nullptr, [](Java2Htm& w) {
    ASSERT_EQ(w.anzTips, 2);
    EXPECT_EQ(w.tipTitles[1], "First tip");
    EXPECT_EQ(w.tipTitles[2], "Second");
  });
  EXPECT_TRUE(has(read_file("src/j2h/tip1.htm"), "<b>Bold"));
  EXPECT_TRUE(has(read_file("src/j2h/tip2.htm"), "<a href=tip1.htm>previous</a>"));
  EXPECT_TRUE(file_exists("src/j2h/tip0.htm") && file_exists("src/j2h/tip3.htm"));
  EXPECT_TRUE(has(read_file("src/j2h/dep.htm"), "<a href=\"cfg/app.xml\" TARGET=\"frame3\">cfg/app.xml</a>"));
  EXPECT_EQ(read_file("src/j2h/cfg/app.xml"), "<x/>");
}

// Two runs with a fixed clock write the same tree, byte for byte.
TEST(CodeWebFrames, FixedClockGivesTheSameTree) {
  TempDir t;
  java("src/a/A.java", "a", 2);
  write_file("src/w/a.htm", "<p>");
  write_file("src/tips/tips.htm", ":::<b>T</b>");
  auto r1 = cwtest::run_j2h("src", "SOURCE_DATE_EPOCH=1700000000");
  ASSERT_EQ(r1.status, 0) << r1.out;
  auto first = cwtest::tree_of("src/j2h");
  auto r2 = cwtest::run_j2h("src", "SOURCE_DATE_EPOCH=1700000000");
  ASSERT_EQ(r2.status, 0);
  EXPECT_EQ(first, cwtest::tree_of("src/j2h"));
  EXPECT_EQ(r1.out.substr(r1.out.find("o k")), r2.out.substr(r2.out.find("o k")));
  EXPECT_TRUE(has(first["1.htm"], "as of 2023.11.14")) << first["1.htm"];
}
