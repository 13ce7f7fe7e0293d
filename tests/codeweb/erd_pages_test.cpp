// The pages of the data model files: er1.htm from our_ERD.a and sql.htm
// from our_ERD.sql, each pointing to the other, and their place in the
// overview of the code web.
#include <gtest/gtest.h>

#include "codeweb/erd_reader.h"
#include "tests/codeweb/codeweb_util.h"

using namespace testutil;
using cwtest::build;

namespace {

const char* const erd =
    "Generated model, do not edit\n"
    "a: Notation of this file  \n"
    "   1:n  one to many\n"
    "   Prefixes\n"
    "   t_ table\n"
    "a: Customer  \n"
    "   id, name <key>\n"
    "a: Order  \n"
    "   id, customer\n";

const char* const sql =
    "-- schema of the shop\n"
    "   CREATE TABLE Customer\n"
    "   ( id INT );\n"
    "   CREATE OR REPLACE VIEW Big_Orders AS\n"
    "   SELECT * FROM Orders WHERE n < 3;\n"
    "   CREATE TABLE IF NOT EXISTS Orders (id INT);\n";

}  // namespace

// Text before the first section is not shown; the notation section has
// its own heading and is cut up to "   Prefixes"; every other section has
// a numbered anchor with "_" linking the list, which goes on to sql.htm.
TEST(ErdPages, SectionsHeadingsAndList) {
  ut_web frame;
  std::vector<std::string> titles;
  std::string p = erd_page(frame, erd, "our_ERD.a", &titles);
  EXPECT_EQ(titles, (std::vector<std::string>{"Customer", "Order"}));
  EXPECT_FALSE(has(p, "Generated model"));
  EXPECT_FALSE(has(p, "one to many"));
  EXPECT_TRUE(has(p, "\n</pre><a name=sem></a>\n<font face=\"Verdena,Arial\" size=4>\nERD Notation Semantics:</font>"
                     "<pre>   Prefixes\n   t_ table")) << p;
  EXPECT_TRUE(has(p, "\n</pre><a name=1></a>\n<font face=\"Verdena,Arial\" size=4>\nC<a href=#toc>_</a>ustomer"
                     "</font><pre>     \n   id, name &lt;key>"));
  EXPECT_TRUE(has(p, "<a name=2></a>"));
  EXPECT_TRUE(has(p, "<a href=sql.htm#toc><b>goto SQL</b></a>"));
  EXPECT_TRUE(has(p, "All ERD Sections:</font><br>\n<br><a href=#1>Customer</a>\n<br><a href=#2>Order</a>\n</font>"));
  EXPECT_TRUE(has(p, "ERD for the Relational Data"));
  // Malformed shapes end in the report naming the file.
  EXPECT_TRUE(has(failure_of([&] { erd_page(frame, "no sections here\n", "x/our_ERD.a"); }), "x/our_ERD.a"));
  EXPECT_TRUE(has(failure_of([&] { erd_page(frame, "a: Notation\n", "y/our_ERD.a"); }), "y/our_ERD.a"));
}

// Each CREATE is a heading with the text before its name; today's
// "OR REPLACE" and "IF NOT EXISTS" do not hide the name.
TEST(ErdPages, SqlStatementsAndTheirNames) {
  ut_web frame;
  std::vector<std::string> names;
  std::string p = sql_page(frame, sql, "our_ERD.sql", &names);
  EXPECT_EQ(names, (std::vector<std::string>{"Customer", "Big_Orders", "Orders"}));
  EXPECT_FALSE(has(p, "schema of the shop"));
  EXPECT_TRUE(has(p, "\n</pre><a name=1></a>\n   CREATE TABLE &#32;&#32; .\n<font face=\"Verdena,Arial\" size=4>\n"
                     "<a href=#toc> </a><a href=#toc>Customer</a></font><pre> \n   ( id INT );")) << p;
  EXPECT_TRUE(has(p, "\n   CREATE OR REPLACE VIEW &#32;&#32; ."));
  EXPECT_TRUE(has(p, "<a href=#toc>Big_Orders</a></font><pre>  AS\n   SELECT * FROM Orders WHERE n &lt; 3;"));
  EXPECT_TRUE(has(p, "<a href=er1.htm#toc><b>goto ERD</b></a>"));
  EXPECT_TRUE(has(p, "All Views and Physical Tables:\n</font><br>\n<br><a href=#1>Customer</a>"));
  EXPECT_TRUE(has(failure_of([&] { sql_page(frame, "CREATE TABLE x\n", "z/our_ERD.sql"); }), "z/our_ERD.sql"));
}

// In a web: absent files write nothing and say nothing; the ERD entry of
// the overview follows er1.htm; a page er1.htm in the root replaces it.
TEST(ErdPages, PagesInTheWeb) {
  TempDir t;
  write_file("src/A.java", "class A {\n}\n");
  std::string out = build("src");
  EXPECT_FALSE(file_exists("src/j2h/er1.htm"));
  EXPECT_FALSE(file_exists("src/j2h/sql.htm"));
  EXPECT_FALSE(has(out, "our_ERD"));
  EXPECT_FALSE(has(read_file("src/j2h/docu.htm"), "er1.htm"));

  write_file("src/our_ERD.a", erd);
  build("src");
  EXPECT_TRUE(has(read_file("src/j2h/er1.htm"), "goto SQL"));
  EXPECT_FALSE(file_exists("src/j2h/sql.htm"));  // the link stays broken, as it is
  EXPECT_TRUE(has(read_file("src/j2h/docu.htm"), "\n, <a href=er1.htm>ERD</a>"));

  write_file("src/OUR_ERD.SQL", sql);  // found in any letter case
  write_file("src/er1.htm", "<html>own ERD</html>\n");
  build("src");
  EXPECT_TRUE(has(read_file("src/j2h/sql.htm"), "goto ERD"));
  EXPECT_EQ(read_file("src/j2h/er1.htm"), "<html>own ERD</html>\n");
}
