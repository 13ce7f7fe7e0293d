// The one rule by which texts become keys of in-memory trees.
#include "engine/tree_key.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(TreeKeys, LongKeysAreCutStablyAndStayApart) {
  EXPECT_EQ(tree_key("D_(a.pdf)"), "D_(a.pdf)");
  std::string edge(252, '\xe4');
  EXPECT_EQ(tree_key(edge), edge);
  EXPECT_EQ(tree_key(std::string("ab\0cd", 5)), "ab");
  // Two paths that differ only behind the part that is kept.
  std::string a = "/" + std::string(300, 'p') + "/a.htm", b = "/" + std::string(300, 'p') + "/b.htm";
  std::string ka = tree_key(a);
  EXPECT_EQ(ka.size(), 252u);
  EXPECT_EQ(ka.compare(0, 235, a, 0, 235), 0);
  EXPECT_EQ(ka, tree_key(a));
  EXPECT_NE(ka, tree_key(b));
  EXPECT_NE(tree_key(edge + "x"), tree_key(edge + "y"));
}

}  // namespace
