// The index pages of typed names and semi titles, their detail pages, the
// problems page and the fixed pages, made by create_index from the engine's
// trees in a temporary web folder.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "tests/test_util.h"

namespace {

using testutil::count_of;
using testutil::has;
using testutil::read_file;
using testutil::write_file;

// An engine on a web of three documents whose pages 10..19 belong to
// document 3.
struct index_web {
  ut_htm ut;
  index_web() {
    ut.web.web_name = "Shop";
    ut.web.comms.resize(4);
    for (int p = 10; p < 20; p++) ut.page_doc[p] = 3;
  }
  void put(Btree& t, const std::string& k, const std::string& d) { tree_put(t, k, d); }
  // Runs create_index quietly; returns what it printed.
  std::string index() {
    testing::internal::CaptureStdout();
    ut.create_index();
    return testing::internal::GetCapturedStdout();
  }
};

TEST(IndexPages, TypedNamesGroupedWithDetailPages) {
  testutil::TempDir dir;
  index_web w;
  w.put(w.ut.defs, "C_Customer", "12.htm#e4");
  w.put(w.ut.defs, "C_Order Entry", "13.htm");
  w.put(w.ut.defs, "C_Order Billing", "14.htm");
  w.put(w.ut.defs, "C_...", "1.htm#e4");  // a place holder lists nothing
  w.put(w.ut.defs, "C_lower", "15.htm");  // not a capital: left out
  w.put(w.ut.defs, "A_Clerk", "16.htm");
  std::string log = w.index();
  std::string c = read_file("C_.htm");
  // "C_Customer" enters as itself and as "C_ Customer": one line.
  EXPECT_EQ(count_of(c, ">Customer</a>"), 1) << c;
  EXPECT_TRUE(has(c, "</p><p class=1><a href=\"3/12.htm#e4\">Customer</a>")) << c;
  // The two "Order" names share one line that leads to their detail page.
  EXPECT_TRUE(has(c, "<br/><a href=\"det/1.htm\">Order ...</a>")) << c;
  EXPECT_FALSE(has(c, "Order Entry"));
  EXPECT_FALSE(has(c, ">...</a>"));
  EXPECT_FALSE(has(c, "lower"));
  EXPECT_TRUE(has(c, "Components")) << c;
  std::string det = read_file("det/1.htm");
  EXPECT_TRUE(has(det, "\n<center><h4>Order</h4></center><p><br/>")) << det;
  EXPECT_TRUE(has(det, "\n<br/>Billing : <a href=\"../3/14.htm\">Order Billing</a>")) << det;
  EXPECT_TRUE(has(det, "\n<br/>Entry : <a href=\"../3/13.htm\">Order Entry</a>")) << det;
  // Each kind has its page, also those without entries.
  for (const char* h : {"$_", "D_", "A_", "P_", "C_", "m_", "V_", "B_", "E_", "R_", "S_"})
    EXPECT_TRUE(std::filesystem::exists(std::string(h) + ".htm")) << h;
  EXPECT_TRUE(has(read_file("A_.htm"), ">Clerk</a>"));
  EXPECT_TRUE(has(read_file("index.htm"), "\n<a name=\"3\"></a>"));
  EXPECT_TRUE(has(log, "\ncreate ALL index ..."));
  EXPECT_TRUE(has(log, "\nWWW</p><p class=1><a href=\"3/12.htm#e4\">Customer</a>"));
}

TEST(IndexPages, SemiTitlesParametersAndDocuments) {
  testutil::TempDir dir;
  index_web w;
  w.put(w.ut.semis, "D_(Billing, Rates and Runs of the Shop)", "3/10.htm");
  w.put(w.ut.semis, "D_(Appendix: Tips)", "3/11.htm#2");
  w.put(w.ut.defs, "$PORT", "../3/12.htm#instPar1");
  w.put(w.ut.defs, "Customer Care", "13.htm#e9");  // a link text
  w.put(w.ut.defs, "D_(Flow.- old)", "13.htm");    // marked as left out
  tree_put(w.ut.web.titles, "Shop Manual", "3");
  w.ut.web.comms[3].firstPage = 10;
  w.index();
  std::string d = read_file("D_.htm");
  // One title for each member of the list, the tail kept.
  for (const char* t : {">Billing of the Shop<", ">Rates of the Shop<", ">Runs of the Shop<"})
    EXPECT_TRUE(has(d, t)) << t << d;
  // The word before a colon named as the index groups it, and the rest alone.
  EXPECT_TRUE(has(d, "<a href=\"3/11.htm#2\">Annex: Tips</a>")) << d;
  EXPECT_TRUE(has(d, "<a href=\"3/11.htm#2\">Tips</a>")) << d;
  EXPECT_TRUE(has(d, "<a href=\"3/13.htm#e9\">Customer Care</a>")) << d;
  EXPECT_TRUE(has(d, "<a href=\"../xs_Shop/$_.htm\">Installation Parameters</a>")) << d;
  EXPECT_TRUE(has(d, "<a href=\"3/10.htm#2\">Shop Manual</a>")) << d;
  EXPECT_FALSE(has(d, "Flow"));
  // Letter anchors from "B" on, one per initial.
  EXPECT_EQ(count_of(d, "<a name=\"R\"></a>"), 1) << d;
  EXPECT_FALSE(has(d, "<a name=\"A\"></a>"));
  // A parameter's target is seen from a page folder: from the index it
  // loses "../".
  EXPECT_TRUE(has(read_file("$_.htm"), "<a href=\"3/12.htm#instPar1\">PORT</a>"));
}

TEST(IndexPages, TheDetailPagesHaveALimit) {
  // Two names per group, each group its own detail page.
  auto groups = [](index_web& w, int n) {
    testing::internal::CaptureStdout();  // the tree reports its growth
    for (int g = 1; g <= n; g++) {
      char name[32];
      snprintf(name, sizeof name, "C_G%04i", g);
      w.put(w.ut.defs, std::string(name) + " One", "12.htm");
      w.put(w.ut.defs, std::string(name) + " Two", "13.htm");
    }
    testing::internal::GetCapturedStdout();
  };
  {
    testutil::TempDir dir;
    index_web w;
    groups(w, ut_htm::max_detail_pages - 1);
    w.index();
    EXPECT_TRUE(std::filesystem::exists("det/799.htm"));
    EXPECT_TRUE(has(read_file("det/799.htm"), "One : <a href=\"../3/12.htm\">G0799 One</a>"));
  }
  testutil::TempDir dir;
  index_web w;
  groups(w, ut_htm::max_detail_pages);
  std::string report = testutil::failure_of([&] { w.ut.create_index(); });
  EXPECT_TRUE(has(report, "Array detName[ 800 ] is too short\n")) << report;
  EXPECT_FALSE(std::filesystem::exists("det/800.htm"));
}

TEST(ProblemsPage, UndefinedNamesListedOnce) {
  testutil::TempDir dir;
  index_web w;
  w.put(w.ut.defs, "C_Customer", "12.htm");
  w.put(w.ut.semiKeys, "billingrules", "3/10.htm#2");
  tree_put(w.ut.noProblem, "C_Allowed");
  for (const char* k :
       {"<a href=12.htm>10012 - </a>C_Missing", "<a href=13.htm>10013 - </a>C_Customer",
        "<a href=13.htm>10013 - </a>C_Customer(int)", "<a href=14.htm>10014 - </a>C_Allowed",
        "<a href=14.htm>10014 - </a>C_...", "<a href=15.htm>10015 - </a>D_(Billing Rules)"})
    tree_put(w.ut.NoSp, k);
  std::string log = w.index();
  std::string p = read_file("Problems.htm");
  EXPECT_TRUE(has(p, "<b>The following concepts are referred to but are not yet specified</b>"));
  EXPECT_TRUE(has(p, "\n<br/><a href=\"3/12.htm \">No spec for . .</a> C_Missing")) << p;
  // Known under its name, its bracket-less name, or as a semi title; or
  // allowed to stay open (counted, not listed).
  EXPECT_EQ(count_of(p, "No spec for"), 1) << p;
  EXPECT_TRUE(has(p, "At least 2 lines in the design need correction")) << p;
  EXPECT_TRUE(has(p, "(question marks <font color=#FF3333><b>[?] </b></font> were created"));
  EXPECT_TRUE(has(p, "List of <a href=\"1/3.htm\">UNDEFs</a>"));
  EXPECT_TRUE(has(log, "\nUUUU"));
  // The lower-case spelling is a relative link to the page.
  EXPECT_TRUE(std::filesystem::is_symlink("problems.htm"));
  EXPECT_EQ(std::filesystem::read_symlink("problems.htm").string(), "Problems.htm");
  EXPECT_EQ(read_file("problems.htm"), p);
}

TEST(ProblemsPage, NoProblemsAndTheFixedPages) {
  testutil::TempDir dir;
  index_web w;
  w.put(w.ut.defs, "C_Customer", "12.htm");
  tree_put(w.ut.NoSp, "<a href=12.htm>10012 - </a>C_Customer");
  write_file("team.htm", "our own team page");
  w.ut.web.test_report = "file:///reports/last.htm";
  w.index();
  std::string p = read_file("Problems.htm");
  std::string end = "\nNo formal problems detected.</p></body></html>\n";
  ASSERT_GE(p.size(), end.size());
  EXPECT_EQ(p.substr(p.size() - end.size()), end);
  // A page that exists stays; the others are written once.
  EXPECT_EQ(read_file("team.htm"), "our own team page");
  EXPECT_TRUE(has(read_file("reuse.htm"), "<h1>Reusable Parts</h1><h2>- Those Imported and those Exported -</h2>"));
  EXPECT_TRUE(has(read_file("app/j2h/1.htm"), "<h1>No Code published</h1>"));
  // One level down, the page's links go up one folder.
  EXPECT_TRUE(has(read_file("app/j2h/1.htm"), "href=\"../../context.htm\""));
  for (const char* f : {"glossar0.htm", "context.htm", "pics.htm", "testres.htm", "DUC.htm"})
    EXPECT_TRUE(std::filesystem::exists(f)) << f;
  std::string q = read_file("quality.htm");
  EXPECT_TRUE(has(q, "\n<br/><a href=problems.htm>Formal Problems detected</a>"));
  EXPECT_TRUE(has(q, "<a href=file:///reports/last.htm#end>The latest Test Report</a>")) << q;
}

}  // namespace
