// Block comments on a Java page, and the tightening of a finished page.
#include <gtest/gtest.h>

#include "codeweb/java_text.h"
#include "tests/codeweb/java_sink.h"

using testutil::failure_of;
using testutil::has;

namespace {

std::string comment(const std::string& text, bool closed = true, int* ret = nullptr, int* lines = nullptr) {
  std::string out;
  int n = 0;
  int r = do_comment(out, text, closed, {"Caching Beans", "Lazy Loading"}, &n);
  if (ret) *ret = r;
  if (lines) *lines = n;
  return out;
}

TEST(JavaComment, StarsGoBlankLinesBecomePipesParagraphsBeginUpperCase) {
  int r = 0, lines = 0;
  std::string out = comment("/**\n * first line.\n * still first <p>\n *\n *\n *  second <b>x</b><br>\n ***", true,
                            &r, &lines);
  EXPECT_EQ(out, "\n|First line.\n|still first\n|\n|\n|Second &lt;b>x&lt;/b>");
  EXPECT_EQ(r, ' ');
  EXPECT_EQ(lines, 3);
  // At most four pipes stand for a run of blank lines.
  out = comment("/* a\n\n\n\n\n\n\nb");
  EXPECT_EQ(out, "\n|A\n|\n|\n|\n|\n|B");
  // A comment the end of the text cut returns 0.
  comment("/* open", false, &r);
  EXPECT_EQ(r, 0);
}

TEST(JavaComment, KnowHowLinesLinkToTheirTipPage) {
  int lines = 0;
  std::string out = comment("/*\n * see:\n * - Lazy Loading.,\n * - Unknown Title\n", true, nullptr, &lines);
  EXPECT_TRUE(has(out, "\n|  -  <a href=tip2.htm>Lazy Loading</a>")) << out;
  EXPECT_TRUE(has(out, "\n|- Unknown Title")) << out;
  EXPECT_EQ(lines, 3);
}

TEST(JavaComment, ShorterJoinsCommentParagraphsAndBraceLines) {
  std::string page =
      "<font class=\"co\">|One\n|two\n|\n|Three\n|  -  <a href=tip1.htm>T</a>\n|four</font>\n"
      "   void f()\n   {\n      x();\n   }\n   {\n\n   }\n";
  EXPECT_EQ(shorter(page),
            "<font class=\"co\">|One two\n|\n|Three\n|  -  <a href=tip1.htm>T</a>\n|four</font>\n"
            "   void f()\n   { x();\n   }\n   { }\n");
}

TEST(JavaComment, OnThePageACommentIsAnAnchoredEntryWithItsLineCount) {
  map_trees web;
  web.tips = {"Caching Beans"};
  std::string page = page_of(web,
                             "package a;\nclass A {\n   int x;\n   /**\n    * the count\n    * of things\n"
                             "    *\n    * - Caching Beans\n    */\n\n\n\n   int y;\n}\n");
  std::string code = code_of(page);
  EXPECT_TRUE(has(code, "<br><a name=1></a><font class=\"co\">|The count of things\n|\n"
                        "|  -  <a href=tip1.htm>Caching Beans</a></font>\n\n   int y;"))
      << code;
  EXPECT_TRUE(has(page, "+ 3 LoComm")) << page;
}

TEST(JavaComment, ACommentOpenAtTheEndOfTheFileIsNamed) {
  map_trees web;
  java_reader reader(web);
  std::string r = failure_of(
      [&] { reader.page_of("package a;\nclass A {\n}\n/** never closed\n", "x/Open.java", "c0001.htm"); });
  EXPECT_TRUE(has(r, "comment open at the end of x/Open.java")) << r;
}

}  // namespace
