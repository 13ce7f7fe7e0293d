// The web profile and "secLU", change reports between profiles of two
// dates, and the document lists.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>

#include "engine/ut_htm.h"
#include "runtime/safe_uts.h"
#include "tests/test_util.h"

namespace {

using testutil::count_of;
using testutil::has;

using testutil::file_exists;
using testutil::read_file;
using testutil::write_file;

// 2011-09-20 00:00 UTC: every date of the run, and of files written now.
class FixedClock {
 public:
  FixedClock() { setenv("SOURCE_DATE_EPOCH", "1316476800", 1); }
  ~FixedClock() { unsetenv("SOURCE_DATE_EPOCH"); }
};


// A web of two documents, "Billing Design" (number 2, pages 5 to 7) and
// "Manual" (number 3, page 9), with their sections as the page cut
// registers them.
void two_documents(web_model& web) {
  web.comms.resize(4);
  web.comms[2].title = "Billing Design";
  web.comms[2].firstPage = 5;
  web.comms[3].title = "Manual";
  web.comms[3].firstPage = 9;
  web.comms[3].target = "doc3.htm";
  tree_put(web.titles, "Billing Design", "2");
  tree_put(web.titles, "Manual", "3");
  tree_put(web.docsecs, "Billing Design|Runs", "6");
  tree_put(web.docsecs, "Billing Design|Rates", "7");
  tree_put(web.docsecs, "Manual|Start", "9");
}

std::string profile(int runs, int rates, int start) {
  return "\n--5:Billing Design|1200.2011.01.02\n- " + std::to_string(runs) + ",Runs\n- " +
         std::to_string(rates) + ",Rates\n- " + std::to_string(runs + rates) + ",doc~\n" +
         "\n--9:Manual|300.2011.01.03\n- " + std::to_string(start) + ",Start\n- " +
         std::to_string(start) + ",doc~\n";
}

TEST(Profile, LinesOfADocumentAndItsPages) {
  testutil::TempDir dir;
  FixedClock clock;
  ut_htm ut;
  write_file("src.htm", std::string(1234, 'x'));
  write_file("xs/2/5.htm",
             "<html><body><p>menu text</p>\n<h2><a name=e1></a>Billing\nRuns</h2>\n"
             "<p>ab c</p><p>d&amp;</p></body></html>\n");
  FILE* f = safe_ut.create("prof");
  ut.profile_doc_line(f, 5, "Billing Design", "src.htm");
  EXPECT_EQ(ut.page_size_line(f, "xs/2/5.htm"), 9u);  // "abc" and "d&amp;"
  ut.profile_doc_end(f, 8);
  safe_ut.close_FILE(&f, __FILE__, __LINE__);
  EXPECT_EQ(read_file("prof"), "\n--5:Billing Design|1234.2011.09.20\n- 9,BillingRuns\n- 8,doc~\n");
}

TEST(Profile, ReadBackInTheOrderOfTheFile) {
  testutil::TempDir dir;
  ut_htm ut;
  write_file("xs/profs/2011.09.20", profile(4000, 50, 9000));
  Btree all, docs;
  prepare_tree(all, "all");
  prepare_tree(docs, "docs");
  EXPECT_EQ(ut.read_profile(all, docs, "xs/profs/2011.09.20", 1), 2);
  Btree_st st;
  std::string order;
  for (unsigned ok = all.GetFirst(st); ok; ok = all.Next(st)) order += std::string(st.k) + "=" + st.c + ";";
  // "Runs" stays ahead of "Rates": the order numbers keep the file's order.
  EXPECT_EQ(order,
            "0000113.Billing Design|Runs=2011.09.20:4000,Runs;"
            "0000114.Billing Design|Rates=2011.09.20:50,Rates;"
            "0000116.Manual|Start=2011.09.20:9000,Start;");
  EXPECT_EQ(tree_value(docs, "0000115.Manual").value_or(""), "2011.09.20:9000");
  // One "w" for each 3000 characters of a document.
  EXPECT_EQ(tree_value(ut.web.profOld, "2011.09.20:Billing Design").value_or("?"), "w");
  EXPECT_EQ(tree_value(ut.web.profOld, "2011.09.20:Manual").value_or("?"), "www");
  empty_tree(all);
  empty_tree(docs);
}

TEST(Profile, SecLUKeepsTheDateOfAnUnchangedSection) {
  testutil::TempDir dir;
  {
    ut_htm ut;
    write_file("xs/profs/2011.09.20", profile(4000, 50, 9000));
    ut.write_secLU("xs/profs/2011.09.20");
  }
  EXPECT_EQ(read_file("xs/profs/secLU"),
            "\n   Web Profile as of 2011.09.20\n   ----------------------------\n\n"
            "   docNr,docName\n\n-D 2,Manual\n-D 1,Billing Design"
            "\n\n   LastVersion:size,docNr:secName\n"
            "\n-s 2011.09.20:50,1:Rates\n-s 2011.09.20:4000,1:Runs\n-s 2011.09.20:9000,2:Start\n-.");
  ut_htm ut;  // a later build: one section grew
  write_file("xs/profs/2011.10.20", profile(4300, 50, 9000));
  ut.write_secLU("xs/profs/2011.10.20");
  std::string lu = read_file("xs/profs/secLU");
  EXPECT_TRUE(has(lu, "\n-s 2011.10.20:4300,1:Runs")) << lu;
  EXPECT_TRUE(has(lu, "\n-s 2011.09.20:50,1:Rates"));
  EXPECT_TRUE(has(lu, "\n-D 1,Billing Design"));  // the numbers stay
}

TEST(Profile, ABrokenSecLULineStopsItsReading) {
  testutil::TempDir dir;
  ut_htm ut;
  write_file("xs/profs/secLU", "\n-D 1,Old\n-s 2010.01.01:5,1:Kept\ngarbage\n-s 2010.01.01:7,1:Lost\n-.");
  write_file("xs/profs/2011.09.20", "");
  testing::internal::CaptureStdout();
  ut.write_secLU("xs/profs/2011.09.20");
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_TRUE(has(out, "W a r n i n g :  broken")) << out;
  std::string lu = read_file("xs/profs/secLU");
  EXPECT_TRUE(has(lu, "1:Kept"));
  EXPECT_FALSE(has(lu, "1:Lost"));
}

TEST(ChangeReport, BarsByThreshold) {
  EXPECT_STREQ(ut_htm::change_bar(0), "");
  EXPECT_STREQ(ut_htm::change_bar(1), "w");
  EXPECT_STREQ(ut_htm::change_bar(50), "w");
  EXPECT_STREQ(ut_htm::change_bar(51), "ww");
  EXPECT_STREQ(ut_htm::change_bar(500), "ww");
  EXPECT_STREQ(ut_htm::change_bar(501), "www");
  EXPECT_STREQ(ut_htm::change_bar(5000), "www");
  EXPECT_STREQ(ut_htm::change_bar(5001), "wwww");
  EXPECT_STREQ(ut_htm::change_bar(50000), "wwww");
  EXPECT_STREQ(ut_htm::change_bar(50001), "wwwwww");
  EXPECT_STREQ(ut_htm::change_bar(-300), "ww");
}

TEST(ChangeReport, ASectionThatGrewSinceAnOlderProfile) {
  testutil::TempDir dir;
  ut_htm ut;
  two_documents(ut.web);
  write_file("xs/profs/2011.09.20", profile(4000, 50, 9000));
  write_file("xs/profs/2011.10.20", profile(4300, 50, 9000));
  testing::internal::CaptureStdout();
  ut.change_log("xs/profs/2011.10.20");
  testing::internal::GetCapturedStdout();
  std::string cl = read_file("xs/CL.htm");
  EXPECT_TRUE(has(cl, "Where, and how thickly, Changes occured since:"));
  EXPECT_TRUE(has(cl, "\n<a href=\"CL1_2011.09.20.htm\">20, Sep 2011</a><br/>")) << cl;
  std::string r = read_file("xs/CL1_2011.09.20.htm");
  EXPECT_TRUE(has(r, "\n<tr><td>ww</td><td>\n<a href=\"CL2_2011.09.20/2.htm\">Billing Design</a></td></tr>"))
      << r;
  EXPECT_FALSE(has(r, "Manual"));  // unchanged
  std::string s = read_file("xs/CL2_2011.09.20/2.htm");
  EXPECT_TRUE(has(s, "\n<tr><td>ww</td><td>\n<a href=\"../2/6.htm\">Runs</a></td></tr>")) << s;
  EXPECT_FALSE(has(s, "Rates"));
  EXPECT_EQ(tree_value(ut.web.clogDocs, "Billing Design").value_or(""), "2011.09.20");
}

TEST(ChangeReport, ShrinkingAndNewDocuments) {
  testutil::TempDir dir;
  ut_htm ut;
  two_documents(ut.web);
  write_file("xs/profs/2011.09.20", "\n--5:Billing Design|1.2011.01.02\n- 4000,Runs\n- 50,Rates\n- 4050,doc~\n");
  write_file("xs/profs/2011.10.20", profile(3990, 50, 9000));
  EXPECT_EQ(ut.change_report(ut.web.profOld, "xs/profs/2011.10.20", "xs/profs/2011.09.20"), 0);
  std::string r = read_file("xs/CL1_2011.09.20.htm");
  EXPECT_TRUE(has(r, "<td>&#150w</td><td>\n<a href=\"CL2_2011.09.20/2.htm\">")) << r;
  EXPECT_TRUE(has(r, "\n<tr><td>+</td><td>\n<a href=\"3/9.htm\">Manual</a></td></tr>"));
  // A report needs an older date.
  EXPECT_EQ(ut.change_report(ut.web.profOld, "xs/profs/2011.09.20", "xs/profs/2011.10.20"), 1);
}

TEST(ChangeReport, NoReportOnTheSameDayAndNoneWithoutChange) {
  testutil::TempDir dir;
  ut_htm ut;
  two_documents(ut.web);
  write_file("xs/profs/2011.10.20", profile(4300, 50, 9000));
  ut.change_log("xs/profs/2011.10.20");  // the only profile: the build of today
  EXPECT_FALSE(has(read_file("xs/CL.htm"), "CL1_"));
  // Two older dates without a change: the later one goes with its profile.
  write_file("xs/profs/2011.01.10", profile(4300, 50, 9000));
  write_file("xs/profs/2011.06.10", profile(4300, 50, 9000));
  ut.change_log("xs/profs/2011.10.20");
  EXPECT_TRUE(has(read_file("xs/CL1_2011.01.10.htm"), "<p class=1>none</p>"));
  EXPECT_TRUE(file_exists("xs/profs/2011.01.10"));
  EXPECT_FALSE(file_exists("xs/profs/2011.06.10"));
  EXPECT_FALSE(has(read_file("xs/CL.htm"), "2011.06.10"));
}

TEST(DocumentLists, ReadingOrderAndAge) {
  testutil::TempDir dir;
  ut_htm ut;
  web_model& web = ut.web;
  web.comms.resize(5);
  const char* titles[] = {"", "", "Billing Design", "Billing Rates --- draft", "Manual//Guides"};
  for (int i = 2; i < 5; i++) {
    web.comms[i].title = titles[i];
    tree_put(web.titles, titles[i], std::to_string(i));
  }
  web.comms[4].target = "doc4.pdf";
  safe_ut.ensure_dir("xs");
  tree_put(web.docDates, "Billing Design", "2011_01_02:          :5");
  tree_put(web.docDates, "Billing Rates --- draft", "2011.05.01:2011.05.09:8");
  tree_put(web.docDates, "Manual//Guides", "2010.12.24:          :0");
  ut.docs_lists();
  std::string r = read_file("xs/docs_R.htm");
  EXPECT_TRUE(has(r, "Sorted by READ FIRST"));
  size_t a = r.find("\n<table>");
  ASSERT_NE(a, std::string::npos);
  EXPECT_TRUE(has(r, "\n<tr>\n<td><font size=1>2011.01.02</font></td>\n<td><font size=1></font></td>"
                     "<td><a href=\"2/5.htm#2\">Billing Design</a></td></tr>"))
      << r;
  EXPECT_TRUE(has(r, "<td><a href=\"3/8.htm#2\">Billing Rates --- <b><font color=#3333FF>draft</font></b></a>"));
  EXPECT_TRUE(has(r, "<td><font size=3><br><b>Guides:</b><br></font></td></tr><tr/>"));
  EXPECT_TRUE(has(r, "<a href=\"4/doc4.pdf\">Manual</a>"));
  std::string g = read_file("xs/docs_A.htm");
  EXPECT_TRUE(has(g, "Sorted by IN WEB SINCE"));
  size_t rates = g.find("Billing Rates"), design = g.find("Billing Design"), manual = g.find(">Manual<");
  EXPECT_LT(rates, design);  // the newest first
  EXPECT_LT(design, manual);
}

TEST(DocumentLists, WarnerMarksAndCutsTitles) {
  EXPECT_EQ(ut_htm::warner("Plain &nbsp;  "), "Plain");
  EXPECT_EQ(ut_htm::warner("Spec --- old"), "Spec --- <b><font color=#3333FF>old</font></b>");
  EXPECT_EQ(ut_htm::warner("Manual // Guides"), "Manual");
}

}  // namespace
