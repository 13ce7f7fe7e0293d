// Path display and the grouped list shared by the report pages.
#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>

#include "codeweb/java2htm.h"

namespace {

std::string written(const std::function<void(FILE*)>& f) {
  char* buf = nullptr;
  size_t len = 0;
  FILE* out = open_memstream(&buf, &len);
  f(out);
  fclose(out);
  std::string s(buf, len);
  free(buf);
  return s;
}

TEST(CodeLists, PathsShownByTheirLastElements) {
  EXPECT_EQ(Java2Htm::semiPath("/r/src/net/io/x.h"), "net : io : x.h");
  EXPECT_EQ(Java2Htm::semiPath("io/x.h"), "io : x.h");
  std::string p = "/r/a/b";
  EXPECT_TRUE(Java2Htm::shrink_path(p));
  EXPECT_EQ(p, "/r/a");
  std::string q = "x.h";
  EXPECT_FALSE(Java2Htm::shrink_path(q));
}

TEST(CodeLists, ShowSortedGroupsByFirstFolderAndEmptiesTheTree) {
  Btree t;
  t.StrIns('i', "net/io/a.h", "[ x ]");
  t.StrIns('i', "net/b.h", "[ y ]");
  t.StrIns('i', "util/c.h", "[ z ]");
  std::string s = written([&](FILE* f) { Java2Htm::show_sorted(f, t, "!"); });
  EXPECT_EQ(s,
            "\n<a href=\"#net\">net</a><br>\n<a href=\"#util\">util</a><br>"
            "\n<br>|<a name=\"net\"></a>\n<br>[ y ] <b>net</b> b.h!\n<br>[ x ] <b>net</b> io/a.h!"
            "\n<br>|<a name=\"util\"></a>\n<br>[ z ] <b>util</b> c.h!");
  EXPECT_EQ(t.number_of_elements(), 0);
}

TEST(CodeLists, AlphabetBarKeepsDigitsUpperAndLowerApart) {
  Btree t;
  for (const char* k : {"p .. Zeta", "p .. alpha", "p .. 9lives", "p .. Apple"}) t.StrIns('i', k, "");
  std::string s = written([&](FILE* f) { Java2Htm::make_ABC(f, t, false, 5); });
  EXPECT_EQ(s, "\n<a href=\"#9_5\">9</a>\n<br>\n<a href=\"#A_5\">A</a>\n<a href=\"#Z_5\">Z</a>\n<br>\n<a href=\"#a_5\">a</a>");
}

}  // namespace
