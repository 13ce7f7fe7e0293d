// The deep closure computed in memory against the passes on the tree: the
// same rows, values and surrogates, the same count per pass, also when the
// rows in memory reach their limit in the middle of a pass and when the
// relation holds forms that stay with the tree.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "store/Btree.h"

namespace {

struct outcome {
  int total = 0;
  std::string printed, rows;
};

// Names whose order as left parts ("a~") differs from their order as right
// parts: '}' and DEL lie on both sides of '~', and one name is empty.
const std::vector<std::string> names = {"",   "a",     "a!",   "a}", "a\x7f", "a\xff", "ab",
                                        "b",  "b c",   "p .. MAIN", "p .. SUB", "t .. T1", "c"};

outcome closure_of(const std::vector<std::pair<std::string, std::string>>& rel, long cap) {
  Btree t;
  t.quiet = 1;
  t.closure_rows = cap;
  for (auto& [k, d] : rel) t.StrIns('e', k.c_str(), d.c_str());
  outcome o;
  testing::internal::CaptureStdout();
  o.total = t.become_deep_transitive();
  o.printed = testing::internal::GetCapturedStdout();
  Btree_st s;
  for (unsigned x = t.GetFirst(s); x; x = t.Next(s))
    o.rows += std::string(s.k, s.k_L) + "=" + s.c + "#" + std::to_string(s.surr) + ";";
  return o;
}

std::vector<std::pair<std::string, std::string>> random_relation(std::mt19937& rng, int n) {
  std::vector<std::pair<std::string, std::string>> rel;
  for (int i = 0; i < n; i++) {
    std::string a = names[rng() % names.size()], b = names[rng() % names.size()];
    std::string d = std::to_string(1 + rng() % 3) + "~link" + std::to_string(rng() % 5) + ".htm";
    if (rng() % 7 == 0) d = std::to_string(rng() % 4);  // a depth without a text
    rel.push_back({a + "~" + b, d});
  }
  return rel;
}

void expect_same(const outcome& ref, const outcome& got, const char* what) {
  EXPECT_EQ(ref.total, got.total) << what;
  EXPECT_EQ(ref.printed, got.printed) << what;
  EXPECT_EQ(ref.rows, got.rows) << what;
}

TEST(BtreeClosure, InMemoryPassesMatchThePassesOnTheTree) {
  std::mt19937 rng(7);
  for (int round = 0; round < 60; round++) {
    auto rel = random_relation(rng, 3 + round % 25);
    outcome ref = closure_of(rel, 0);  // a limit of 0 keeps every pass on the tree
    expect_same(ref, closure_of(rel, 500000), "in memory");
    expect_same(ref, closure_of(rel, (long)rel.size() + 1 + round % 9), "handed over within a pass");
    if (HasFailure()) {
      ADD_FAILURE() << "round " << round;
      return;
    }
  }
}

TEST(BtreeClosure, FormsThatStayWithTheTree) {
  std::string long_text(245, 'x');
  std::vector<std::vector<std::pair<std::string, std::string>>> cases = {
      {{"a~b~c", "1~x"}, {"b~c", "1~y"}, {"c~d", "1~z"}, {"x~a", "1~w"}},  // '~' in a right part
      {{"a~b", "1~" + long_text}, {"b~c", "1~y"}},                          // text too long to mirror
      {{"a~b", "1234567890~x"}, {"b~c", "1~y"}, {"c~d", "2~z"}},            // depth of ten digits
  };
  for (auto& rel : cases) expect_same(closure_of(rel, 0), closure_of(rel, 500000), rel[0].first.c_str());
}

TEST(BtreeClosure, DepthsGrowAlongAChain) {
  outcome o = closure_of({{"p~q", "1~q.htm"}, {"q~r", "1~r.htm"}, {"r~s", "4~s.htm"}}, 500000);
  EXPECT_EQ(o.total, 3);
  EXPECT_NE(o.printed.find("anz-anz1 = 3"), std::string::npos) << o.printed;  // two passes: 3, then 0
  EXPECT_NE(o.rows.find("p~r=2~r.htm"), std::string::npos);
  EXPECT_NE(o.rows.find("p~s=5~s.htm"), std::string::npos);  // through p~r, added earlier in the same pass
  EXPECT_NE(o.rows.find("q~s=5~s.htm"), std::string::npos);
}

}  // namespace
