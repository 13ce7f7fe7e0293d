// Trees far larger than the page cache: pages that come and go through the
// view of the file must leave the same file as pages read and written one by
// one, and positions must survive the file growing under them.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

#include "store/Btree.h"
#include "tests/test_util.h"

namespace {

using Model = std::map<std::string, std::string>;

std::string key_of(const Btree_st& s) { return std::string(s.k, s.k_L); }

// Every key of the model with its value, and nothing else, in order.
void expect_same(Btree& t, const Model& m) {
  Btree_st s;
  for (const auto& [k, v] : m) {
    ASSERT_NE(t.Get(k.data(), (int)k.size(), s), 0u) << k;
    ASSERT_EQ(std::string(s.c), v) << k;
  }
  auto it = m.begin();
  for (unsigned x = t.GetFirst(s); x; x = t.Next(s), ++it) {
    ASSERT_NE(it, m.end());
    ASSERT_EQ(key_of(s), it->first);
  }
  EXPECT_EQ(it, m.end());
}

TEST(BtreeCache, ViewAndSystemCallsLeaveTheSameFile) {
  testutil::TempDir dir;
  Model m;
  {
    Btree a("view.bt", 1), b("plain.bt", 1);
    a.quiet = b.quiet = 1;
    b.no_view = 1;
    std::mt19937 rng(3);
    std::vector<std::string> keys;
    char k[64], d[80];
    for (int i = 0; i < 60000; i++) {
      int len = 8 + (int)(rng() % 30);
      for (int j = 0; j < len; j++) k[j] = (char)('a' + rng() % 26);
      k[len] = 0;
      snprintf(d, sizeof d, "value %u, long enough to fill many pages", (unsigned)(rng() % 1000));
      ASSERT_EQ(a.StrIns('e', k, d), b.StrIns('e', k, d));
      m[k] = d;
      keys.push_back(k);
      const std::string& old = keys[rng() % keys.size()];
      if (i % 5 == 0 && m.erase(old)) {  // removals empty pages now and then
        ASSERT_EQ(a.Rem(old.c_str()), b.Rem(old.c_str()));
      }
      if (i % 3 == 0) {  // lookups read pages where they lie, between changes
        Btree_st s;
        const std::string& q = keys[rng() % keys.size()];
        auto hit = m.find(q);
        ASSERT_EQ(a.Get(q.c_str(), s) != 0, hit != m.end()) << q;
        if (hit != m.end()) {
          ASSERT_EQ(std::string(s.c), hit->second);
        }
      }
      if (i == 30000) a.commit();
    }
    EXPECT_GT(a.anz_pages(), 3 * Btree::L_Cp);
  }
  std::string va = testutil::read_file("view.bt"), pb = testutil::read_file("plain.bt");
  EXPECT_GT(va.size(), 5u << 20) << "the file should outgrow its first view (4 MB)";
  ASSERT_EQ(va.size(), pb.size());
  EXPECT_TRUE(va == pb) << "the two files differ";
  {
    Btree t("view.bt", 3);
    expect_same(t, m);
  }
  // Changes to the reopened file, in pages that were never read before.
  {
    Btree t("view.bt", 4);
    t.quiet = 1;
    int n = 0;
    for (auto it = m.begin(); it != m.end(); n++) {
      if (n % 7 == 0) {
        ASSERT_NE(t.Rem(it->first.c_str()), 0u);
        it = m.erase(it);
      } else {
        it->second += "+";
        ASSERT_EQ(t.StrIns('e', it->first.c_str(), it->second.c_str()), 'u');
        ++it;
      }
    }
  }
  Btree t("view.bt", 3);
  expect_same(t, m);
}

TEST(BtreeCache, PositionsSurviveTheFileGrowingUnderThem) {
  testutil::TempDir dir;
  Btree t("grow.bt", 1);
  t.quiet = 1;
  const int n = 30000;
  char k[64];
  for (int i = 0; i < n; i++) {
    snprintf(k, sizeof k, "m%07d", (i * 7919) % n);
    t.StrIns('i', k, "old value that takes some room on its page");
  }
  int pages = t.anz_pages();
  EXPECT_GT(pages, Btree::L_Cp);
  // Walk the keys while the file grows many times over behind them: every
  // step adds keys after all of them and looks one of them up.
  Btree_st s, g;
  int seen = 0;
  long z = 0;
  for (unsigned x = t.GetFirst(s); x && s.k[0] == 'm'; x = t.Next(s), seen++) {
    snprintf(k, sizeof k, "m%07d", seen);
    ASSERT_EQ(key_of(s), std::string(k));
    for (int j = 0; j < 10; j++) {
      snprintf(k, sizeof k, "z%07ld/%s", z++ * 7919 % 1000003, "a longer tail for more pages");
      ASSERT_EQ(t.StrIns('i', k, "new"), 'i');
    }
    snprintf(k, sizeof k, "m%07d", (seen * 31) % n);
    ASSERT_NE(t.Get(k, g), 0u);
    ASSERT_STREQ(g.c, "old value that takes some room on its page");
  }
  EXPECT_EQ(seen, n);
  EXPECT_GT(t.anz_pages(), 8 * pages);
}

}  // namespace
