// Topic folders, the pages over the titles of several webs, and the concept
// index context.htm with its pages by initial.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "engine/ut_htm.h"
#include "tests/test_util.h"

namespace {

using testutil::count_of;
using testutil::has;
using testutil::read_file;
using testutil::write_file;

topic_record record(const char* head, const char* label, const char* phrase, int group,
                    const std::string& path = "", char mark = ' ') {
  topic_record r;
  r.head = head;
  if (label) r.label = label;
  r.phrase = phrase;
  r.web_number = group;
  r.web_key = std::to_string(group) + "/";
  r.web_path = path;
  r.web_name = path.empty() ? "" : "Other";
  r.mark = mark;
  return r;
}

struct topic_web {
  ut_htm ut;
  topic_web() {
    ut.web.web_name = "Shop";
    ut.web.comms.resize(4);
    ut.web.comms[3].firstPage = 10;
    for (int p = 10; p < 20; p++) ut.page_doc[p] = 3;
    std::filesystem::create_directories("xs");
  }
  std::string pages(const char* root = "xs") {
    testing::internal::CaptureStdout();
    ut.make_topicPages(root);
    return testing::internal::GetCapturedStdout();
  }
};

const char* const lo_head =
    "\n</p><br/><center><h1>Topic Folders</h1>\n<p>Topic search configured <a "
    "href=\"profs/iconf.txt\">here</a>\n</center><p class=1>";

TEST(TopicFolders, TitlesOfThisWebByFolder) {
  testutil::TempDir dir;
  topic_web w;
  w.ut.web.folders = {record("Finance", nullptr, "Billing", 1), record("Ops", "Run", "Rates", 2),
                      record("Ops", "Plan", "Rates", 2)};
  write_file("xs/3/12.tmp", "page");
  write_file("xs/3/14.tmp", "page");
  w.ut.title_to_search("The Billing Rates", "12.htm#2");
  w.ut.title_to_search("Rates and Fees", "14.htm", 3);
  w.pages();
  std::string lo = read_file("xs/Lo_foShop.htm");
  EXPECT_TRUE(has(lo, lo_head + std::string("\n<br/>Finance: <a href=\"fo_Finance.htm\">Billing</a>"))) << lo;
  // A record with a label opens a sub-folder of its own.
  EXPECT_TRUE(has(lo, "\n<br/>Ops: <a href=\"fo_Ops_Run.htm\">Run</a>")) << lo;
  EXPECT_TRUE(has(lo, "\n<br/>Ops: <a href=\"fo_Ops_Plan.htm\">Plan</a>")) << lo;
  EXPECT_TRUE(has(lo, "\n<br/><a href=s.htm>All Pages on ...</a>"));
  std::string fin = read_file("xs/fo_Finance.htm");
  EXPECT_TRUE(has(fin, "\n</p><br/><center><h1>Finance: Billing</h1>\n</center><br/><p>")) << fin;
  EXPECT_TRUE(has(fin, "\n<br/>Billing: <a href=\"3/12.htm#2\">The Billing Rates</a>")) << fin;
  EXPECT_FALSE(has(fin, "Rates and Fees"));
  std::string run = read_file("xs/fo_Ops_Run.htm");
  EXPECT_TRUE(has(run, "<a href=\"3/14.htm\">Rates and Fees</a>")) << run;
  EXPECT_EQ(run.substr(run.size() - 20), "\n</p></body></html>\n");
  // No record names a web: no pages over webs.
  EXPECT_FALSE(std::filesystem::exists("xs/s.htm"));
}

TEST(TopicFolders, AWebWithoutRecordsHasOnlyTheLastLink) {
  testutil::TempDir dir;
  topic_web w;
  w.pages();
  std::string lo = read_file("xs/Lo_foShop.htm");
  std::string tail = lo_head + std::string("\n<br/><a href=s.htm>All Pages on ...</a>\n</p></body></html>\n");
  ASSERT_GE(lo.size(), tail.size());
  EXPECT_EQ(lo.substr(lo.size() - tail.size()), tail);
}

TEST(CrossSearch, TitlesOfOtherWebs) {
  testutil::TempDir dir;
  topic_web w;
  const std::string other = dir.path() + "/xs_other";
  write_file(other + "/profs/search",
             "\n-Billing Guide~4/9.htm~\n-Draft Billing~4/10.htm~\n-Rates~4/11.htm~");
  const std::string lost = dir.path() + "/xs_lost";
  w.ut.web.folders = {record("Finance", nullptr, "Billing", 1, other),
                      record("Finance", nullptr, "Rates", 1, other, '.'),
                      record("Lost", nullptr, "Billing", 2, lost),
                      record("Lost", nullptr, "Rates", 2, lost)};
  w.ut.web.H_phrases = {"Draft"};
  write_file("xs/profs/search", "\n-Local Billing~3/12.htm~");
  std::string log = w.pages();
  // The other web's titles go under this web's folders, by their web's path.
  std::string fin = read_file("xs/fo_Finance.htm");
  EXPECT_TRUE(has(fin, "<a href=\"file://" + other + "/4/9.htm\">Billing Guide</a>")) << fin;
  // A web without a search file is reported once.
  EXPECT_EQ(count_of(log, "\nAppErr: not found: " + lost + "/profs/search\n"), 1) << log;
  std::string s = read_file("xs/s.htm");
  EXPECT_TRUE(has(s, "\n<p class=1><a href=../xs_Shop/1.htm>This Web</a>")) << s;
  EXPECT_TRUE(has(s, "\n<a name=1></a><b><br/>\nAll Pages in <a href=\"file://" + other +
                         "/1.htm\">Other</a>\non:<font size=3>Finance</font><br/></b>"))
      << s;
  // The record marked "." goes on with the page of the one before.
  EXPECT_TRUE(has(s, "\n<br/>Finance : <a href=\"fo0.htm\">Billing</a>"));
  EXPECT_TRUE(has(s, "\n<br/>Finance : <a href=\"fo0.htm\">Rates</a>")) << s;
  EXPECT_FALSE(std::filesystem::exists("xs/fo1.htm"));
  std::string fo0 = read_file("xs/fo0.htm");
  EXPECT_TRUE(has(fo0, "<a href=\"s.htm#1\">Billing</a> in their Title</h3>")) << fo0;
  EXPECT_TRUE(has(fo0, "\n<br/><a href=\"file://" + other + "/4/9.htm\">Billing Guide</a>"));
  EXPECT_TRUE(has(fo0, "\n<br/><a href=\"file://" + other + "/4/11.htm\">Rates</a>"));
  // A title that starts with a phrase of the configuration stays out.
  EXPECT_FALSE(has(fo0, "Draft Billing"));
  // Without its own file a web is searched in this web's file.
  std::string fo2 = read_file("xs/fo2.htm");
  EXPECT_TRUE(has(fo2, "<a href=\"file://" + lost + "/3/12.htm\">Local Billing</a>")) << fo2;
  EXPECT_EQ(read_file("xs.bat"), "\nxs_Shop\\s.htm");
}

TEST(ConceptIndex, ContextAndPagesByInitial) {
  testutil::TempDir dir;
  topic_web w;
  w.ut.to_index("Billing", "12.htm#e4\">Billing</a> : Runs");
  w.ut.to_index("Billing", "13.htm\">Billing</a> : Rates");
  w.ut.to_index("Budget", "14.htm\">Budget</a> : Plan");
  w.ut.to_index("Code", "\"app5/j2h/x.htm\">Code</a>: How to Code");
  w.ut.to_index("alpha", "15.htm\">alpha</a> : small");
  w.pages();
  std::string ctx = read_file("xs/context.htm");
  EXPECT_TRUE(has(ctx, "<h1>Where Concepts are Discussed</h1>"));
  EXPECT_TRUE(has(ctx, "<center>\n<a href=\"c66.htm\">&nbsp;B&nbsp;</a>\n<a href=\"c67.htm\">&nbsp;C&nbsp;</a>"
                       "<br/>\n<a href=\"c97.htm\">&nbsp;a&nbsp;</a>"))
      << ctx;
  EXPECT_TRUE(has(ctx, "\n</p><br/><p class=1><center><font size=1>5 entries"));
  EXPECT_TRUE(has(ctx, "\n<br/><p class=1><center>\n<a href=D_.htm>Semi Titles</a></p>"));
  // The first initial's words stand in context.htm and on their own page.
  const std::string b =
      "\n</p><p class=1>\n<a name=\"B66\"></a><br/><br/><font size=8pt>\n<b><a "
      "href=context.htm>B</a></b></font>\n</p><p class=1 style='margin-left:0.65in'>"
      "\n<font size=0.1pt><br/>&nbsp;</font><a href=\"3/12.htm#e4\">Billing</a> : Runs"
      "\n<br/><a href=\"3/13.htm\">Billing</a> : Rates"
      "\n<font size=0.1pt><br/>&nbsp;</font><a href=\"3/14.htm\">Budget</a> : Plan";
  EXPECT_TRUE(has(ctx, b)) << ctx;
  EXPECT_TRUE(has(read_file("xs/c66.htm"), b));
  EXPECT_FALSE(has(ctx, "Code</a>"));
  // A line without a page number keeps its own target, less the quote.
  EXPECT_TRUE(has(read_file("xs/c67.htm"), "<a href=\"app5/j2h/x.htm\">Code</a>: How to Code"));
  EXPECT_TRUE(has(read_file("xs/c97.htm"), "<a href=\"3/15.htm\">alpha</a>"));
}

TEST(ConceptIndex, TheShortWebFromInsideItsFolder) {
  testutil::TempDir dir;
  topic_web w;
  w.ut.web.oneDoc = 1;
  w.ut.web.menu = 0;
  write_file("xs/context.htm", "an old index");
  w.ut.to_index("Billing", "12.htm#e4\">Billing</a> : Runs");
  w.ut.to_index("C_", "12.htm\">C_</a> : a kind");
  std::filesystem::current_path("xs");
  w.pages(".");
  std::filesystem::current_path("..");
  std::string ctx = read_file("xs/context.htm");
  EXPECT_TRUE(has(ctx, "<h1>Stichwortverzeichnis (Index)</h1>"));
  EXPECT_TRUE(has(ctx, "<a href=2/6.htm>TOP<a> . <a href=2/6.htm#2>TOC</a>"));
  EXPECT_TRUE(has(ctx, "1 entries"));
  EXPECT_FALSE(has(ctx, "Semi Titles"));
  EXPECT_FALSE(has(ctx, "a kind"));
  EXPECT_TRUE(std::filesystem::exists("xs/Lo_foShop.htm"));
}

}  // namespace
