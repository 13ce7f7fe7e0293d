// Cases the differential test does not reach: the empty tree, separators
// that are no keys, long values, paths, positions after changes, limits,
// and the relation operations.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

#include "runtime/exec_ut.h"
#include "store/Btree.h"
#include "tests/test_util.h"

namespace {

using testutil::failure_of;

std::string keys_of(Btree& t) {
  std::string all;
  Btree_st s;
  for (unsigned x = t.GetFirst(s); x; x = t.Next(s)) all += std::string(s.k, s.k_L) + "=" + s.c + ";";
  return all;
}

TEST(BtreeEdge, EmptyTree) {
  Btree t;
  Btree_st s;
  EXPECT_EQ(t.GetFirst(s), 0u);
  EXPECT_EQ(t.GetLast(s), 0u);
  EXPECT_EQ(t.contains(""), 0u);
  EXPECT_EQ(t.Getmin_GE(s, "a"), 0u);
  EXPECT_EQ(t.Getmax_LE(s, "a"), 0u);
  EXPECT_EQ(t.Rem("a"), 0u);
  EXPECT_EQ(t.number_of_elements(), 0);
  testing::internal::CaptureStdout();
  EXPECT_EQ(t.GetPrev(s, "a"), 0u);  // a missing key: a note, no failure
  EXPECT_NE(testing::internal::GetCapturedStdout().find("GetPREV of x, not found: x = a"),
            std::string::npos);
}

TEST(BtreeEdge, KeyAndValueLimits) {
  Btree t;
  std::string k252(252, 'k'), k253(253, 'k');
  EXPECT_EQ(t.StrIns('i', k252.c_str(), "v"), 'i');
  Btree_st s;
  EXPECT_TRUE(t.Get(k252.c_str(), s));
  EXPECT_EQ(s.k_L, 252);
  failure_of([&] { t.StrIns('i', k253.c_str(), "v"); });
  failure_of([&] { t.Get(k253.c_str(), s); });
  failure_of([&] { t.StrIns('e', ""); });
  failure_of([&] { t.StrIns('?', "x"); });  // key-only insertion knows "i" and "e" only
  testing::internal::CaptureStdout();
  EXPECT_EQ(t.StrIns('e', "", "value"), 0);
  EXPECT_NE(testing::internal::GetCapturedStdout().find("W a r n i n g :  Btree ignored empty key"),
            std::string::npos);
  std::string d253(253, 'd');
  failure_of([&] { t.Ins('e', "k", 1, d253.c_str(), 253, 2); });  // only StrIns splits values
  EXPECT_EQ(t.StrIns('i', "dup", "1"), 'i');
  t.quiet = 1;
  EXPECT_EQ(t.StrIns('i', "dup", "2"), 0);
  EXPECT_EQ(errno, 503);
  EXPECT_EQ(t.Ins('u', "nope", 4, "x", 1, 2), 0);
  EXPECT_EQ(errno, 502);
}

TEST(BtreeEdge, LongValuesGoThroughTheCompanionTree) {
  Btree t;
  for (int len : {253, 472, 473, 700, 1022}) {
    std::string v(len, ' ');
    for (int i = 0; i < len; i++) v[i] = (char)('a' + (i * 7 + len) % 26);
    std::string k = "long" + std::to_string(len);
    ASSERT_EQ(t.StrIns('e', k.c_str(), v.c_str()), 'i');
    Btree_st s;
    ASSERT_TRUE(t.Get(k.c_str(), s));
    EXPECT_EQ(std::string(s.c), v) << len;
  }
  ASSERT_NE(t.LData, nullptr);
  int chunks = t.LDataNr;
  Btree_st s;
  t.Get("long700", s);
  EXPECT_EQ(t.StrIns('e', "long700", s.c), 'u');  // the same value writes nothing
  EXPECT_EQ(t.LDataNr, chunks);
  EXPECT_EQ(t.StrIns('e', "long700", "short again"), 'u');
  t.Get("long700", s);
  EXPECT_STREQ(s.c, "short again");
  std::string v1023(1023, 'x');
  std::string out = failure_of([&] { t.StrIns('e', "k", v1023.c_str()); });
  EXPECT_NE(out.find("1023"), std::string::npos);
}

TEST(BtreeEdge, SeparatorsThatAreNoKeysLeadToTheNextKey) {
  Btree t;
  std::set<std::string> keys;
  char k[80];
  for (int i = 0; i < 3000; i++) {
    snprintf(k, sizeof k, "group%03d/member/%05d/with a tail", i % 37, i * 13 % 9973);
    t.StrIns('e', k, "some data to fill the pages faster");
    keys.insert(k);
  }
  // The separators of the root: shortened, most of them no key.
  const Btree_page* root = t.cache[0];
  ASSERT_GT(root->e, 3);
  int no_keys = 0;
  for (int i = 1; i < root->e; i++) {
    const unsigned char* item = root->c + root->cell[i].ak;
    std::string sep(reinterpret_cast<const char*>(item + 1), item[0]);
    if (!keys.count(sep)) no_keys++;
    Btree_st s;
    auto want = keys.lower_bound(sep);
    ASSERT_NE(want, keys.end());
    ASSERT_TRUE(t.Getmin_GE(s, sep.c_str()));
    EXPECT_EQ(std::string(s.k), *want);
    ASSERT_TRUE(t.Getmax_LS(s, sep.c_str()));
    EXPECT_EQ(std::string(s.k), *std::prev(want));
  }
  EXPECT_GT(no_keys, 0);
}

TEST(BtreeEdge, EmptiedPagesArePassedByIteration) {
  Btree t;
  std::set<std::string> keys;
  char k[40];
  for (int i = 0; i < 5000; i++) {
    snprintf(k, sizeof k, "%05d", i);
    t.StrIns('i', k, "0123456789012345678901234567890123456789");
    keys.insert(k);
  }
  EXPECT_EQ(t.Rem_GE_LE("01000", "02999"), 2000);
  EXPECT_EQ(t.Rem_GE_LE("04990", "04999"), 10);  // the last page
  std::string all;
  for (const std::string& x : keys)
    if ((x < "01000" || x > "02999") && x < "04990") all += x + "=0123456789012345678901234567890123456789;";
  EXPECT_EQ(keys_of(t), all);
  Btree_st s;
  ASSERT_TRUE(t.GetLast(s));
  EXPECT_STREQ(s.k, "04989");
  ASSERT_TRUE(t.Getmin_GE(s, "01500"));
  EXPECT_STREQ(s.k, "03000");
  ASSERT_TRUE(t.Prev(s));
  EXPECT_STREQ(s.k, "00999");
}

TEST(BtreeEdge, NextAfterAChange) {
  Btree t;
  for (const char* k : {"a", "c", "e", "g"}) t.StrIns('i', k);
  Btree_st s;
  ASSERT_TRUE(t.GetFirst(s));
  t.StrIns('i', "b");  // the position is gone, the key in s carries the walk
  ASSERT_TRUE(t.Next(s));
  EXPECT_STREQ(s.k, "b");
  t.contains("g");  // another read moves the position
  ASSERT_TRUE(t.Next(s));
  EXPECT_STREQ(s.k, "c");
  ASSERT_EQ(t.Get("d", s), 0u);  // a missing key: Next gives the next greater one
  ASSERT_TRUE(t.Next(s));
  EXPECT_STREQ(s.k, "e");
  Btree_st fresh;
  t.StrIns('i', "f");
  std::string out = failure_of([&] { t.Next(fresh); });  // nothing tells where to go on
  EXPECT_NE(out.find("Please make sure that the Btree was not updated"), std::string::npos);
}

TEST(BtreeEdge, UnchangedValueWritesNothing) {
  testutil::TempDir dir;
  Btree t("u.bt", 1);
  t.StrIns('e', "k", "v");
  t.commit();
  EXPECT_EQ(t.StrIns('e', "k", "v"), 'u');
  EXPECT_EQ(t.page[t.deepest]->dirty, 0);
  EXPECT_EQ(t.StrIns('e', "k", "w"), 'u');
  EXPECT_EQ(t.page[t.deepest]->dirty, 1);
}

TEST(BtreeEdge, PathsOfBinaryKeys) {
  Btree t;
  unsigned c = t.InsPath('i', "/usr/share/doc", "docs");
  ASSERT_NE(c, 0u);
  EXPECT_NE(t.InsPath('i', "/usr/lib", "libs"), 0u);
  Btree_st s;
  EXPECT_EQ(t.GetPath("/usr/share/doc", s), c);
  EXPECT_STREQ(s.c, "docs");
  unsigned share = t.containsPath("/usr/share");
  ASSERT_NE(share, 0u);
  EXPECT_EQ(t.GetPath("/doc", s, share), c);  // from an inner step
  EXPECT_EQ(t.containsPath("/usr/bin"), 0u);
  EXPECT_EQ(t.containsPath("/share/doc"), 0u);
  EXPECT_EQ(t.RemPath("/usr/share/doc"), c);
  EXPECT_EQ(t.containsPath("/usr/share/doc"), 0u);
  EXPECT_NE(t.containsPath("/usr/lib"), 0u);
  failure_of([&] { t.InsPath('i', "no/slash", "x"); });
  EXPECT_EQ(t.InsAtSurr(share, 'e', "at share", 8, 2), 'i');
  EXPECT_EQ(t.GetAtSurr(share, s), t.surr);
  EXPECT_STREQ(s.c, "at share");
}

TEST(BtreeEdge, LookupsByPrefix) {
  Btree t;
  for (const char* k : {"a", "ab", "abd", "b", "ba", "bb"}) t.StrIns('i', k);
  Btree_st s;
  ASSERT_TRUE(t.Getmax_prefix(s, "abc"));
  EXPECT_STREQ(s.k, "ab");
  EXPECT_EQ(t.Getmax_prefix(s, "c"), 0u);
  ASSERT_TRUE(t.Getmin_At(s, "b"));
  EXPECT_STREQ(s.k, "b");
  ASSERT_TRUE(t.Getmax_At(s, "b"));
  EXPECT_STREQ(s.k, "bb");
  ASSERT_TRUE(t.Getmax_At(s, "ab"));
  EXPECT_STREQ(s.k, "abd");
  EXPECT_EQ(t.Getmin_At(s, "c"), 0u);
  unsigned n = t.retNr(0, "new");
  EXPECT_NE(n, 0u);
  EXPECT_EQ(n, t.contains("new"));
  failure_of([&] { t.retNr(1, "missing"); });
  t.StrIns('e', "alias", "the value");
  EXPECT_STREQ(t.retAlias("alias"), "the value");
}

TEST(BtreeRelations, CycleReachesAFixedPoint) {
  Btree t;
  t.StrIns('i', "a~b");
  t.StrIns('i', "b~a");
  EXPECT_EQ(t.become_transitive(), 2);
  EXPECT_EQ(keys_of(t), "a~a=;a~b=;b~a=;b~b=;");
  EXPECT_EQ(t.become_transitive(), 0);
  Btree empty;
  EXPECT_EQ(empty.become_transitive(), 0);
  Btree chain;
  for (int i = 0; i < 30; i++) {
    char k[20];
    snprintf(k, sizeof k, "n%02d~n%02d", i, i + 1);
    chain.StrIns('i', k);
  }
  chain.become_transitive();
  EXPECT_EQ(chain.number_of_elements(), 30 * 31 / 2);
  Btree bad;
  bad.StrIns('i', "no tilde");
  std::string out = failure_of([&] { bad.become_transitive(); });
  EXPECT_NE(out.find("User: Btree is not a str1~str2 relation: st.k = no tilde"), std::string::npos);
}

TEST(BtreeRelations, DeepClosureCountsTheDepth) {
  Btree t;
  t.StrIns('i', "a~b", "1~B");
  t.StrIns('i', "b~c", "1~C");
  t.StrIns('i', "c~d", "1~D");
  EXPECT_EQ(t.become_deep_transitive(), 3);
  Btree_st s;
  ASSERT_TRUE(t.Get("a~c", s));
  EXPECT_STREQ(s.c, "2~C");
  ASSERT_TRUE(t.Get("a~d", s));
  EXPECT_EQ(s.c[1], '~');
  Btree bad;
  bad.StrIns('i', "a~b", "x");
  bad.StrIns('i', "b~c", "no number");
  failure_of([&] { bad.become_deep_transitive(); });
}

TEST(BtreeRelations, EndToEndInvertsAndCounts) {
  Btree t, out;
  t.StrIns('i', "a~b");
  t.StrIns('i', "b~c");
  t.become_end_to_end_transitive(&out);
  EXPECT_EQ(keys_of(t), "a~b=;a~c=;");
  EXPECT_EQ(keys_of(out), "b~a=;c~a=;");

  Btree c;
  for (int i = 0; i < 3; i++) c.count("x");
  Btree_st s;
  c.Get("x", s);
  EXPECT_STREQ(s.c, "3");

  Btree v;
  v.StrIns('i', "k1", "v1");
  v.StrIns('i', "k2", "v1");
  v.StrIns('i', "k3", "");
  testing::internal::CaptureStdout();
  Btree* inv = v.invers();
  EXPECT_NE(testing::internal::GetCapturedStdout().find("ignored empty key"), std::string::npos);
  EXPECT_EQ(keys_of(*inv), "v1=k2;");
  delete inv;

  Btree copy;
  EXPECT_EQ(copy.Ins(&v, 'e'), 3);
  EXPECT_EQ(keys_of(copy), keys_of(v));
}

TEST(BtreeRelations, TextFormRoundTrip) {
  testutil::TempDir dir;
  Btree t;
  t.StrIns('i', "one", "1");
  t.StrIns('i', "two", "");
  std::string longv(600, 'L');
  t.StrIns('i', "three", longv.c_str());
  t.to_file("t.txt");
  EXPECT_EQ(testutil::read_file("t.txt"), "\n~one~1~\n~three~" + longv + "~\n~two~~");
  Btree* back = Btree::from_file("t.txt");
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(keys_of(*back), keys_of(t));
  delete back;
  Btree empty;
  empty.to_file("e.txt");
  EXPECT_EQ(testutil::read_file("e.txt"), "");
  back = Btree::from_file("e.txt");
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->number_of_elements(), 0);
  delete back;
  EXPECT_EQ(Btree::from_file("missing.txt"), nullptr);
}

}  // namespace
