// Document utilities: the number and text helpers of the section split.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "engine/ut_htmst.h"
#include "runtime/exec_ut.h"
#include "tests/test_util.h"

namespace {

TEST(UtHtmstNumbers, DayNumberAndPastNumber) {
  EXPECT_EQ(ut_htmst::day_number("2011.09.20"), 2011L * 365 + 9 * 30 + 20);
  EXPECT_LT(ut_htmst::day_number("2011.09.20"), ut_htmst::day_number("2011.10.01"));
  testing::internal::CaptureStdout();
  EXPECT_THROW(ut_htmst::day_number("20.09.2011"), const char*);
  testing::internal::GetCapturedStdout();
  exut.reset_after_failure();

  EXPECT_STREQ(ut_htmst::past_number("1.2.3 Title"), "Title");
  EXPECT_STREQ(ut_htmst::past_number("4 3D Models"), "3D Models");
  EXPECT_STREQ(ut_htmst::past_number("Title"), "Title");
  EXPECT_STREQ(ut_htmst::past_number2("12.Title"), "Title");
}

TEST(UtHtmstText, SectionTitle) {
  ut_htmst ut;
  char out[256], anchor[128];
  const char* h =
      "<h2><a name=\"_Toc42\"></a><span style='x'>1.2<span>&nbsp;&nbsp; </span></span>"
      "Taking&nbsp;an   Order&#150;</h2>rest";
  const char* behind = ut.section_title(h, out, nullptr, nullptr, anchor);
  EXPECT_STREQ(out, "1.2 Taking an Order");
  EXPECT_STREQ(anchor, "_Toc42");
  EXPECT_STREQ(behind, "rest");
  ut.section_title(h, out, nullptr, nullptr, anchor, 1);
  EXPECT_STREQ(out, "1001.1002 Taking an Order");
  // A control character and the ellipsis byte never reach a title.
  const char* c = "<h1>A\x01\x85 b\xe4</h1>";
  ut.section_title(c, out, nullptr, nullptr, anchor);
  EXPECT_STREQ(out, "A b\xe4");
  std::string longt = "<h1>" + std::string(300, 'x') + "</h1>";
  ut.section_title(longt.c_str(), out, nullptr, nullptr, anchor);
  EXPECT_EQ(strlen(out), 120u);
}

TEST(UtHtmstText, CodePagesAndEntities) {
  char s[] = "\x84\x94\x81\xe1\xa0x";
  ut_htmst::code_page_fix(s);
  EXPECT_STREQ(s, "\xe4\xf6\xfc\xdfx");
  char u[] = "a\\160b\\132c\\999";
  ut_htmst::unescape(u);
  EXPECT_STREQ(u, "ab\x84" "c\\999");
  std::string out;
  int skip = ut_htmst::to_entities("a<b>\x84\n[?+]hidden", out, 0);
  EXPECT_EQ(skip, 1);
  skip = ut_htmst::to_entities("still\n[?-]shown\xc4", out, skip);
  EXPECT_EQ(skip, 0);
  EXPECT_EQ(out, "a&lt;b&gt;&auml;shown-");
  char cc[32];
  ut_htmst::clean_copy(cc, "a\x93q\x94\xe4z", false);
  EXPECT_STREQ(cc, "aq\xe4z");
  ut_htmst::clean_copy(cc, "a\x93q\x94\xe4z", true);
  EXPECT_STREQ(cc, "aqz");
}

TEST(UtHtmstText, CaptionParagraphAndCell) {
  char out[400];
  const char* cap = "<b>Figure 3:</b> The desk &nbsp;overview";
  EXPECT_GT(ut_htmst::caption(cap, cap + strlen(cap), out), 0);
  EXPECT_STREQ(out, "The desk overview");
  const char* nocap = "Some text: here";
  EXPECT_EQ(ut_htmst::caption(nocap, nocap + strlen(nocap), out), 0);

  const char* para = "<span>A long paragraph text</span></p><p>next";
  EXPECT_EQ(ut_htmst::para_text(para, para + strlen(para), nullptr, 0, false), 1);
  ut_htmst::para_text(para, para + strlen(para), out, 6, false);
  EXPECT_STREQ(out, "A long...");
  const char* img = "<img src=x.gif></p>";
  EXPECT_EQ(ut_htmst::para_text(img, img + strlen(img), nullptr, 0, false), 105);
  const char* empty = "<span>&nbsp;</span></p>";
  EXPECT_EQ(ut_htmst::para_text(empty, empty + strlen(empty), nullptr, 0, false), 0);

  const char* cell = "<p><b>Customer</b></p></td><td>x";
  ut_htmst::cell_text(cell, cell + strlen(cell), out, 100);
  EXPECT_STREQ(out, "Customer");
}

TEST(UtHtmstFiles, TabCutKeepsRowsOnly) {
  testutil::TempDir tmp;
  testutil::write_file("in.htm",
                       "<p>x</p><table><tr><td>a</td></tr>\n<tr><td>b</td></tr></table><p>y</p>");
  ut_htmst::tab_cut("in.htm", "out.htm");
  EXPECT_EQ(testutil::read_file("out.htm"), "<tr><td>a</td></tr><tr><td>b</td></tr></table>\n");
}

}  // namespace
