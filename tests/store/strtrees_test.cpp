// String trees: son-father pairs in any order, cycles, the sorted list of
// paths, the menu read from it, and the outline page.
#include <gtest/gtest.h>

#include <string>

#include "runtime/exec_ut.h"
#include "store/StrTrees.h"
#include "tests/test_util.h"

namespace {

using testutil::failure_of;

int count_of(const std::string& s, const std::string& t) {
  int n = 0;
  for (size_t at = s.find(t); at != std::string::npos; at = s.find(t, at + 1)) n++;
  return n;
}

TEST(StrTrees, FathersLevelsAndRoots) {
  StrTrees t;
  t.son("b1", "root");
  t.son("root", "root");  // named as its own father: a root
  t.son("c", "b1");
  t.son("b1", "other");  // a second father later changes nothing
  t.son("lone", nullptr);
  EXPECT_EQ(t.son(nullptr, nullptr), nullptr);
  failure_of([&] { t.son(nullptr, "x"); });
  EXPECT_STREQ(t.father_of("c"), "b1");
  EXPECT_STREQ(t.father_of("b1"), "root");
  EXPECT_EQ(t.father_of("root"), nullptr);
  EXPECT_EQ(t.father_of("nobody"), nullptr);
  EXPECT_EQ(t.set_levels(), 2);
  EXPECT_EQ(t.level("c"), 2);
  EXPECT_EQ(t.level(nullptr), 0);
}

TEST(StrTrees, MenuOrderFromPairsInAnyOrder) {
  testutil::TempDir dir;
  StrTrees t;
  t.son("Zeta", "docs");
  t.son("alpha", "docs");
  t.son("docs", nullptr);
  t.son("sub", "alpha");
  t.son("beta", "Docs2");
  t.son("Docs2", nullptr);
  EXPECT_EQ(t.sorted(), 6);
  EXPECT_FALSE(testutil::file_exists("menu.x1"));
  // Steps compare with letters folded: a folder's children follow it.
  EXPECT_EQ(testutil::read_file("menu.x_sorted"),
            "/docs\n/docs/alpha\n/docs/alpha/sub\n/docs/Zeta\n/Docs2\n/Docs2/beta\n");
  testing::internal::CaptureStdout();
  t.read_menu();
  std::string log = testing::internal::GetCapturedStdout();
  EXPECT_NE(log.find("\nMM     alpha"), std::string::npos) << log;
  ASSERT_EQ(t.anz, 5);
  const char* names[] = {"docs", "alpha", "sub", "Zeta", "Docs2", "beta"};
  int levels[] = {0, 1, 2, 1, 0, 1};
  for (int i = 0; i < 6; i++) {
    EXPECT_STREQ(t.menu[i].name, names[i]);
    EXPECT_EQ(t.menu[i].level, levels[i]);
  }
  EXPECT_EQ(t.menu[6].level, -1);

  Btree hrefs;
  hrefs.StrIns('i', "sub", "sub.htm");
  hrefs.StrIns('i', "docs", "docs.htm");
  int id = 0;
  t.write_divs(nullptr, nullptr, &hrefs, &id);
  std::string page = testutil::read_file("_root.htm");
  EXPECT_EQ(id, 3);
  EXPECT_NE(page.find("\ndiv.2 { margin-left: 12%; }\ndiv.1 { margin-left: 8%; }"), std::string::npos);
  EXPECT_NE(page.find("<b>docs</b> : 4 </div>\n<div ID=1 style=\"display:\"\";\">\n<div class=1><a href=\"docs.htm\">Overview</a></div>"),
            std::string::npos)
      << page;
  EXPECT_NE(page.find("\n<div class=2><a href=\"sub.htm\">sub</a></div>\n</div>\n<div class=1><a href=\"missing.gif\">Zeta</a></div>\n</div>"),
            std::string::npos)
      << page;
  EXPECT_EQ(count_of(page, "<div ID="), count_of(page, "</div>\n") - count_of(page, "</a></div>") - count_of(page, " </div>"));
  EXPECT_NE(page.find("\n</body></HTML>"), std::string::npos);

  FILE* f = fopen("tables.htm", "w");
  t.write_tables(f, nullptr, &hrefs, &id, 20);
  fclose(f);
  page = testutil::read_file("tables.htm");
  EXPECT_NE(page.find("<TD width=0></TD><TD onClick=\"flip('4');\"><b>docs</b> : 4</TD></TR></table>\n<div ID=4 style=\"display:none;\">"),
            std::string::npos)
      << page;
  EXPECT_NE(page.find("<TD width=40></TD><TD><a href=\"sub.htm\">sub</TD></TR></table></a>"), std::string::npos);
}

TEST(StrTrees, CycleIsReported) {
  testutil::TempDir dir;
  StrTrees t;
  t.son("a", "b");
  t.son("b", "a");
  std::string out = failure_of([&] { t.sorted(); });
  EXPECT_NE(out.find("\ncycle:   0 b"), std::string::npos) << out;
  EXPECT_NE(out.find("\ncycle:   1 a"), std::string::npos) << out;
  out = failure_of([&] { t.level("a"); });
  EXPECT_NE(out.find("cycle"), std::string::npos);
}

TEST(StrTrees, MenuLimit) {
  testutil::TempDir dir;
  std::string list;
  for (int i = 0; i < 9999; i++) list += "/n" + std::to_string(100000 + i) + "\n";
  testutil::write_file("menu.x_sorted", list);
  StrTrees t;
  testing::internal::CaptureStdout();
  t.read_menu();
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(t.anz, 9998);
  testutil::write_file("menu.x_sorted", list + "/last\n");
  std::string out = failure_of([&] { t.read_menu(); });
  EXPECT_NE(out.find("Menu has more than 10000 entries"), std::string::npos);
}

}  // namespace
