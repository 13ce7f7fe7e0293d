// The string set: bucket order, element walks, texts in blocks, numbered
// entries and relations.
#include "runtime/str_set.h"

#include <gtest/gtest.h>

#include "tests/test_util.h"

#include <functional>
#include <string>
#include <vector>

#include "runtime/exec_ut.h"

namespace {
std::vector<std::string> walk(str_set& set) {
  std::vector<std::string> v;
  for (str_el* x = set.first(); x; x = set.next()) v.push_back(x->k);
  return v;
}

using testutil::failure_of;
}  // namespace

TEST(StrSet, BucketOrderDecidesThePrefixMatch) {
  str_set set("t");
  set.insert("ab");
  set.insert("abc");  // sorts above the head: goes in front
  EXPECT_STREQ(set.find_prefix("abcd", 0)->k, "abc");
  EXPECT_STREQ(set.find_prefix("abx", 0)->k, "ab");

  str_set mixed("m");
  for (const char* k : {"a", "abc", "ab", "aaaa"}) mixed.insert(k);
  // "ab" sorts below "abc" and goes behind the first element not longer
  // than itself; so does "aaaa".
  EXPECT_EQ(walk(mixed), (std::vector<std::string>{"abc", "aaaa", "a", "ab"}));
  EXPECT_STREQ(mixed.find_prefix("abd", 0)->k, "a");
  EXPECT_STREQ(mixed.find_prefix("ab", 2)->k, "abc");
  EXPECT_EQ(mixed.find_prefix("b", 0), nullptr);
  EXPECT_EQ(mixed.maxlen, 5);
  failure_of([&] { mixed.find_prefix("a", -1); });
}

TEST(StrSet, DuplicatesRemovalAndWalks) {
  str_set set("t");
  EXPECT_EQ(set.first(), nullptr);
  set.insert("x", "1");
  set.insert("x", "2");
  set.insert("b")->see = 1;
  set.insert("c")->see = 1;
  set.insert("d")->see = 2;
  EXPECT_EQ(set.count(), 5);
  EXPECT_EQ(set.remove("x"), 1);
  EXPECT_EQ(set.remove("x"), 1);
  EXPECT_EQ(set.remove("x"), 0);
  EXPECT_EQ(set.rm_see(1, 1, false), 2);
  EXPECT_EQ(walk(set), std::vector<std::string>{"d"});
  EXPECT_EQ(set.next(), nullptr);

  // Removing the element the cursor stands on does not break the walk.
  for (const char* k : {"a", "b", "c", "e"}) set.insert(k);
  std::vector<std::string> seen;
  for (str_el* x = set.first(); x; x = set.next()) {
    seen.push_back(x->k);
    if (std::string(x->k) == "b") set.remove("b");
  }
  EXPECT_EQ(seen, (std::vector<std::string>{"a", "b", "c", "d", "e"}));
  str_el** all = set.elements();
  ASSERT_EQ(set.elems.size(), 4u);
  EXPECT_STREQ(all[3]->k, "e");
}

TEST(StrSet, TextsLiveInBlocks) {
  str_set set("t");
  std::vector<char*> kept;
  for (int i = 0; i < 3000; ++i) kept.push_back(set.keep(std::to_string(i * 7919).c_str()));
  std::string big(str_set::block_size - 1, 'x');
  char* b = set.keep(big.c_str());
  for (int i = 0; i < 3000; ++i) ASSERT_EQ(std::string(kept[i]), std::to_string(i * 7919));
  EXPECT_EQ(std::string(b), big);
  std::string too_big(str_set::block_size, 'x');
  failure_of([&] { set.keep(too_big.c_str()); });

  int* r = static_cast<int*>(set.raw(64));
  EXPECT_EQ(r[15], 0);
  set.check_raw();

  str_el* p = set.insert_pair("k", "value");
  EXPECT_STREQ(p->v, "value");
  EXPECT_EQ(set.insert_pair("k", "other"), p);
  EXPECT_STREQ(p->v, "other");
  EXPECT_EQ(set.insert_pair("j", "other")->v, p->v);  // one copy of a value
  failure_of([&] { set.insert_pair("", "v"); });

  set.add_ascii(228);
  EXPECT_STREQ(set.find_el("\xe4")->v, "&#228;");
}

TEST(StrSet, NumberedEntries) {
  str_set set("pc");
  const char* text = "  17 rest";
  str_el* el = set.set_pc(&text, "loop");
  EXPECT_EQ(el->nr, 17);
  EXPECT_STREQ(text, " rest");
  EXPECT_EQ((unsigned char)el->k[0], 17 % 255 + 1);

  const char* ask = "at 17";
  EXPECT_EQ(set.get_pc(&ask, "loop", nullptr), el);
  ask = "0";
  EXPECT_EQ(set.get_pc(&ask, "loop", nullptr), nullptr);
  ask = "x 18";
  testing::internal::CaptureStdout();
  EXPECT_EQ(set.get_pc(&ask, "loop", "wmissing"), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "missing pc( loop.18 )\n");
  EXPECT_EQ(set.miss_count, 1);
  ask = "18";
  failure_of([&] { set.get_pc(&ask, "loop", "emissing"); });
  ask = "00";
  failure_of([&] { set.get_pc(&ask, "loop", nullptr); });
}

TEST(StrSet, RelationsAndClosure) {
  str_set set("r");
  set.add_rel("a", 1, "b");
  set.add_rel("b", 1, "c");
  set.add_rel("c", 1, "a");  // a cycle
  set.add_rel("a", 1, "b");  // not twice
  str_el* a = set.find_el("a");
  ASSERT_EQ(a->rel[1].size(), 1u);
  EXPECT_STREQ(set.find_el("b")->rel[0][0]->k, "a");  // reverse relation

  str_res res;
  set.deep(res, a, 1, 0);
  ASSERT_EQ(res.n, 3);
  EXPECT_STREQ(res.el[2]->k, "c");
  set.closure(0);  // rounded up to 1
  set.direct(res, set.find_el("b"), 1);
  ASSERT_EQ(res.n, 2);  // c, and now a directly
  EXPECT_STREQ(res.el[1]->k, "a");
  failure_of([&] { set.add_rel("a", 8, "b"); });

  str_set chain("long");
  for (int i = 0; i < str_res::L_res; ++i)
    chain.add_rel(std::to_string(i).c_str(), 1, std::to_string(i + 1).c_str());
  failure_of([&] { chain.deep(res, chain.find_el("0"), 1, 0); });
}
