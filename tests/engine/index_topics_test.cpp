// Entries of the concept index, and titles filed for the search and under
// the topics of the web.
#include <gtest/gtest.h>

#include <string>

#include "engine/ut_htm.h"
#include "tests/test_util.h"

namespace {

using testutil::read_file;
using testutil::write_file;

TEST(IndexEntries, KeyOfInitialWordAndPage) {
  ut_htm ut;
  ut.to_index("Billing", "12.htm#e4\">Billing&nbsp;</a> : Runs");
  EXPECT_EQ(tree_value(ut.web.allIndex, "BBilling12").value_or(""), "12.htm#e4\">Billing</a> : Runs");
  // The key takes 40 characters of the word.
  ut.to_index(std::string(60, 'x').c_str(), "3.htm\">x</a> : y");
  EXPECT_TRUE(tree_holds(ut.web.allIndex, "x" + std::string(40, 'x') + "3"));
}

TEST(SearchList, TitlesIntoIndexSearchFileAndTopics) {
  testutil::TempDir dir;
  ut_htm ut;
  ut.web.comms.resize(3);
  ut.web.comms[2].firstPage = 5;
  topic_record billing;
  billing.head = "Finance";
  billing.phrase = "Billing";
  topic_record other;
  other.head = "Ops";
  other.label = "Run";
  other.phrase = "Rates";
  ut.web.folders = {billing, other};
  write_file("xs/2/6.tmp", "page");
  ut.title_to_search("The Billing Rates, Monthly", "6.htm#2");
  ut.close_search();
  EXPECT_EQ(read_file("xs/profs/search"), "\n-The Billing Rates, Monthly~2/6.htm#2~");
  // The first word stays out; the others keep the title as their text.
  EXPECT_TRUE(tree_holds(ut.web.allIndex, "BBilling6"));
  EXPECT_TRUE(tree_holds(ut.web.allIndex, "RRates6"));
  EXPECT_TRUE(tree_holds(ut.web.allIndex, "MMonthly6"));
  EXPECT_FALSE(tree_holds(ut.web.allIndex, "TThe6"));
  EXPECT_EQ(tree_value(ut.web.topicHits, "Finance[0]-The Billing Rates, Monthly").value_or(""),
            "2/6.htm#2");
  EXPECT_TRUE(tree_holds(ut.web.topicHits, "Ops[1]+Run: The Billing Rates, Monthly"));
  // A title whose page does not exist is a failure.
  testutil::failure_of([&] { ut.title_to_search("Lost", "7.htm#2", 2); });
}

}  // namespace
