// Glossary pages from small two-column tables: which page a term goes to,
// the entry and its definition, and the rows the reading refuses.
#include <gtest/gtest.h>

#include <string>

#include "engine/ut_htm.h"
#include "tests/test_util.h"

namespace {

using testutil::read_file;
using testutil::write_file;

std::string row(const std::string& a, const std::string& b) {
  return "<tr><td><p class=1>" + a + "</p></td><td><p class=1>" + b + "</p></td></tr>\n";
}

// Writes a section page xs/<doc>/<page>.tmp holding `rows` in a table, reads
// it as a glossary and closes the pages.
void read_glossary(ut_htm& ut, const std::string& rows, const char* page = "xs/4/17.tmp") {
  write_file(page, "<html><body><h2>Glossary</h2>\n<table>\n" + rows + "</table></body></html>\n");
  testing::internal::CaptureStdout();
  ut.glossar_table(page);
  testing::internal::GetCapturedStdout();
}

TEST(Glossary, TermsGoToThePageOfTheirFirstCharacter) {
  EXPECT_EQ(ut_htm::gloss_page("Alpha"), 0);
  EXPECT_EQ(ut_htm::gloss_page("Kappa"), 0);  // 'K' - 'A' = 10
  EXPECT_EQ(ut_htm::gloss_page("Billing"), 1);
  EXPECT_EQ(ut_htm::gloss_page("account"), 2);  // 'a' - 'A' = 32
  // Below 'A' the C remainder is negative: the page still lies in 0..9.
  for (const char* t : {"1st", "$PORT", "\"quoted\"", " ", "!", ""}) {
    int k = ut_htm::gloss_page(t);
    EXPECT_GE(k, 0) << t;
    EXPECT_LE(k, 9) << t;
  }
  EXPECT_EQ(ut_htm::gloss_page("1st"), 4);  // ('1' - 'A') % 10 = -6, + 10
  EXPECT_EQ(ut_htm::gloss_page("\xFCml"), (0xFC - 'A') % 10);  // bytes above 127 count unsigned
}

TEST(Glossary, EntriesWithDefinitionsOnCompletePages) {
  testutil::TempDir dir;
  ut_htm ut;
  read_glossary(ut, row("Billing", "The <b>monthly</b> run.") + row("Customer", "Who pays.") +
                        row("&nbsp; Account ", "A ledger."));
  ut.close_glossPages();
  std::string b = read_file("xs/glossar1.htm");
  EXPECT_NE(b.find("\nGlossary Page 1</b></font></p><br/>"), std::string::npos);
  EXPECT_NE(b.find("<a href=glossar2.htm>Next Page</a>"), std::string::npos);
  EXPECT_NE(b.find("\n<h3><a name=4/17#G1></a><a href=4/17.htm#G1>Billing</a></h3>"
                   "<p class=G class=1>The <b>monthly</b> run.</p><br/>"),
            std::string::npos)
      << b;
  EXPECT_EQ(b.substr(b.size() - 16), "\n</body></html>\n");
  // "C" is page 2, the trimmed "Account" page 0; the counter runs over both.
  EXPECT_NE(read_file("xs/glossar2.htm").find("<a href=4/17.htm#G2>Customer</a>"), std::string::npos);
  EXPECT_NE(read_file("xs/glossar0.htm").find("<a name=4/17#G3></a>"), std::string::npos);
  EXPECT_EQ(ut.web.glossTerms.number_of_elements(), 3);
  EXPECT_EQ(tree_value(ut.web.glossTerms, "Account").value_or(""), "4/17#G3");
  // Every page of the ten exists and ends, also those without entries.
  for (int k = 0; k < 10; k++)
    EXPECT_NE(read_file("xs/glossar" + std::to_string(k) + ".htm").find("</body></html>"),
              std::string::npos);
}

TEST(Glossary, RowsThatGiveNoEntry) {
  testutil::TempDir dir;
  ut_htm ut;
  read_glossary(ut, row("X", "too short a term") + row("Billing", "first") +
                        row("Billing", "second, same term") + "<tr><td>Lonely</td></tr>\n" +
                        row("Delta", "kept"));
  ut.close_glossPages();
  EXPECT_EQ(ut.web.glossTerms.number_of_elements(), 2);
  std::string b = read_file("xs/glossar1.htm");
  EXPECT_EQ(b.find("second, same term"), std::string::npos);
  EXPECT_NE(read_file("xs/glossar3.htm").find(">Delta<"), std::string::npos);
}

TEST(Glossary, AThirdColumnRefusesTheRestOfTheTable) {
  testutil::TempDir dir;
  ut_htm ut;
  read_glossary(ut, row("Alpha", "read") +
                        "<tr><td>Beta</td><td>b</td><td>third column</td></tr>\n" +
                        row("Gamma", "not read any more"));
  ut.close_glossPages();
  EXPECT_TRUE(tree_holds(ut.web.glossTerms, "Alpha"));
  EXPECT_FALSE(tree_holds(ut.web.glossTerms, "Beta"));
  EXPECT_FALSE(tree_holds(ut.web.glossTerms, "Gamma"));
}

TEST(Glossary, APageWithoutGlossaryRowsOpensNoPages) {
  testutil::TempDir dir;
  ut_htm ut;
  read_glossary(ut, "<tr><td>A</td><td>one letter</td></tr>\n");
  ut.close_glossPages();
  EXPECT_FALSE(testutil::file_exists("xs/glossar0.htm"));
}

TEST(Glossary, LinkPartOfATerm) {
  EXPECT_EQ(ut_htm::glossRef("12/34#G5"), "2.htm#12/34#G5");
  // Below document 10 the second character is "/": page 0.
  EXPECT_EQ(ut_htm::glossRef("4/17#G3"), "0.htm#4/17#G3");
}

}  // namespace
