// Drives a Btree and a std::map with the same long random sequence of
// insertions, updates, removals and range lookups, and compares every answer
// and a full iteration in both directions after each phase.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "runtime/exec_ut.h"
#include "store/Btree.h"
#include "tests/test_util.h"

namespace {

using Model = std::map<std::string, std::string>;

std::string key_of(const Btree_st& s) { return std::string(s.k, s.k_L); }

class Driver {
 public:
  Driver(Btree& t, unsigned seed) : t_(t), rng_(seed) {
    for (int i = 0; i < 6; i++) {
      // Long shared prefixes, one of them binary.
      std::string p(40 + 30 * i, 'a' + i);
      if (i == 5) p[7] = 0;
      prefixes_.push_back(p);
    }
  }

  std::string random_key() {
    std::string k;
    switch (pick(10)) {
      case 8:
      case 9: {  // small groups of long keys that differ late: long separators
        k += (char)('A' + pick(26));
        k += (char)('A' + pick(26));
        k += std::string(190, '-');
        int n = 1 + pick(6);
        for (int i = 0; i < n; i++) k += (char)('0' + pick(10));
        break;
      }
      case 0:
      case 1:
      case 2: {  // long shared prefix and a varying tail
        k = prefixes_[pick(prefixes_.size())];
        int n = 1 + pick(12);
        for (int i = 0; i < n; i++) k += (char)('0' + pick(10));
        break;
      }
      case 3: {  // binary, with NUL and 0xFF bytes
        int n = 1 + pick(30);
        for (int i = 0; i < n; i++) k += (char)(pick(4) == 0 ? (pick(2) ? 0 : 0xFF) : pick(256));
        break;
      }
      case 4: {  // up to the longest key
        int n = 200 + pick(53);
        for (int i = 0; i < n; i++) k += (char)('a' + pick(3));
        break;
      }
      default: {  // short printable
        int n = 1 + pick(10);
        for (int i = 0; i < n; i++) k += (char)('!' + pick(94));
      }
    }
    if (k.size() > 252) k.resize(252);
    return k;
  }

  std::string random_data() {
    int n = pick(5) == 0 ? 0 : pick(4) == 0 ? 150 + pick(103) : pick(30);
    std::string d;
    for (int i = 0; i < n; i++) d += (char)('A' + pick(26));
    return d;
  }

  std::string some_key() {
    if (!keys_.empty() && pick(3) == 0) return keys_[pick(keys_.size())];
    return random_key();
  }

  void insert_or_update() {
    std::string k = some_key(), d = random_data();
    char mode = "ieeu"[pick(4)];
    bool had = model_.count(k);
    unsigned before = t_.descr->surr;
    char r = t_.Ins(mode, k.data(), (int)k.size(), d.data(), (int)d.size(), 2);
    if (mode == 'i' && had) {
      ASSERT_EQ(r, 0);
      return;
    }
    if (mode == 'u' && !had) {
      ASSERT_EQ(r, 0);
      return;
    }
    ASSERT_EQ(r, had ? 'u' : 'i') << "mode " << mode;
    if (!had) {
      ASSERT_EQ(t_.surr, before + 1);
      surr_[k] = t_.surr;
      keys_.push_back(k);
    } else {
      ASSERT_EQ(t_.surr, surr_[k]);
    }
    model_[k] = d;
  }

  void remove() {
    std::string k = some_key();
    auto it = model_.find(k);
    unsigned r = t_.Rem(k.data(), (int)k.size());
    if (it == model_.end()) {
      ASSERT_EQ(r, 0u);
    } else {
      ASSERT_EQ(r, surr_[k]);
      model_.erase(it);
    }
  }

  // Removes a range of neighbouring keys, which empties whole pages.
  void remove_range() {
    if (model_.empty()) return;
    auto from = model_.lower_bound(some_key());
    if (from == model_.end() || from->first.find('\0') != std::string::npos) return;
    auto to = from;
    for (int n = pick(300); n > 0 && std::next(to) != model_.end(); n--) ++to;
    if (to->first.find('\0') != std::string::npos) return;
    int want = (int)std::distance(from, to) + 1;
    std::string lo = from->first, hi = to->first;
    ASSERT_EQ(t_.Rem_GE_LE(lo.c_str(), hi.c_str()), want);
    model_.erase(from, std::next(to));
  }

  void expect_hit(unsigned x, const Btree_st& s, Model::const_iterator it, const char* what) {
    if (it == model_.end()) {
      ASSERT_EQ(x, 0u) << what << " found " << key_of(s).size() << " bytes";
      return;
    }
    ASSERT_NE(x, 0u) << what;
    ASSERT_EQ(key_of(s), it->first) << what;
    ASSERT_EQ(std::string(s.c, s.c_L), it->second) << what;
    ASSERT_EQ(x, surr_[it->first]) << what;
  }

  void lookups() {
    std::string k = pick(2) ? some_key() : random_key();
    // A neighbour of an existing key: shorter, or one byte changed.
    if (pick(3) == 0 && k.size() > 1) k.resize(k.size() - 1 - pick(k.size() - 1));
    Btree_st s;
    const char* kc = k.data();
    int kL = (int)k.size();
    auto ge = model_.lower_bound(k);
    auto gr = model_.upper_bound(k);
    unsigned x = t_.Get(kc, kL, s);
    auto hit = model_.find(k);
    expect_hit(x, s, hit, "Get");
    ASSERT_EQ(t_.contains(kc, kL), hit == model_.end() ? 0u : surr_[k]);
    x = t_.Getmin_GE(s, kc, kL);
    expect_hit(x, s, ge, "Getmin_GE");
    // Next walks on from the hit of a range lookup.
    auto it = ge;
    for (int i = 0; i < 3 && x; i++) {
      ++it;
      x = t_.Next(s);
      expect_hit(x, s, it, "Next after Getmin_GE");
    }
    x = t_.Getmin_GR(s, kc, kL);
    expect_hit(x, s, gr, "Getmin_GR");
    x = t_.Getmax_LE(s, kc, kL);
    expect_hit(x, s, gr == model_.begin() ? model_.end() : std::prev(gr), "Getmax_LE");
    if (x) {
      auto back = std::prev(gr);
      for (int i = 0; i < 3 && x; i++) {
        x = t_.Prev(s);
        expect_hit(x, s, back == model_.begin() ? model_.end() : --back, "Prev after Getmax_LE");
      }
    }
    x = t_.Getmax_LS(s, kc, kL);
    expect_hit(x, s, ge == model_.begin() ? model_.end() : std::prev(ge), "Getmax_LS");
  }

  void full_compare() {
    Btree_st s;
    auto it = model_.begin();
    for (unsigned x = t_.GetFirst(s); x; x = t_.Next(s), ++it) {
      ASSERT_NE(it, model_.end()) << "more keys in the tree than in the model";
      ASSERT_EQ(key_of(s), it->first);
      ASSERT_EQ(std::string(s.c, s.c_L), it->second);
      ASSERT_EQ(x, surr_[it->first]);
    }
    ASSERT_EQ(it, model_.end()) << "fewer keys in the tree than in the model";
    auto rit = model_.rbegin();
    for (unsigned x = t_.GetLast(s); x; x = t_.Prev(s), ++rit) {
      ASSERT_NE(rit, model_.rend());
      ASSERT_EQ(key_of(s), rit->first);
    }
    ASSERT_EQ(rit, model_.rend());
    ASSERT_EQ(t_.number_of_elements(), (int)model_.size());
  }

  Model model_;

 private:
  int pick(size_t n) { return (int)(rng_() % n); }
  Btree& t_;
  std::mt19937 rng_;
  std::vector<std::string> prefixes_;
  std::vector<std::string> keys_;
  std::map<std::string, unsigned> surr_;
};

void run_phases(Btree& t, unsigned seed) {
  t.quiet = 1;
  Driver d(t, seed);
  for (int i = 0; i < 90000; i++) {
    d.insert_or_update();
    if (i % 8 == 0) d.lookups();
    if (::testing::Test::HasFatalFailure()) return;
  }
  d.full_compare();
  if (::testing::Test::HasFatalFailure()) return;
  EXPECT_GT(t.anz_pages(), Btree::L_Cp);
  EXPECT_GE(t.max_deepest, 3) << "the root should have split several times";
  for (int i = 0; i < 30000; i++) {
    d.remove();
    if (i % 300 == 0) d.remove_range();
    if (i % 2 == 0) d.lookups();
    if (i % 3 == 0) d.insert_or_update();
    if (::testing::Test::HasFatalFailure()) return;
  }
  d.full_compare();
  if (::testing::Test::HasFatalFailure()) return;
  for (int i = 0; i < 20000; i++) {
    d.insert_or_update();
    d.lookups();
    if (::testing::Test::HasFatalFailure()) return;
  }
  d.full_compare();
}

TEST(BtreeDifferential, MemoryTreeOverflowsIntoTemporaryFile) {
  testutil::TempDir dir;
  std::string file;
  {
    Btree t;
    run_phases(t, 7);
    EXPECT_TRUE(t.temporary);
    EXPECT_GT(t.Bf, 0);
    file = t.Bfn;
    EXPECT_TRUE(testutil::file_exists(file));
  }
  EXPECT_FALSE(testutil::file_exists(file)) << "the temporary file stays behind";
}

TEST(BtreeDifferential, FileTree) {
  testutil::TempDir dir;
  Btree t("diff.bt", 1);
  run_phases(t, 11);
}

TEST(BtreeDifferential, AscendingAndDescendingKeys) {
  Btree t;
  Model m;
  char k[40];
  for (int i = 0; i < 20000; i++) {
    int n = i % 2 ? 20000 - i : i;  // from both ends towards the middle
    snprintf(k, sizeof k, "key/%08d", n);
    ASSERT_EQ(t.StrIns('i', k, "v"), 'i');
    m[k] = "v";
  }
  Btree_st s;
  auto it = m.begin();
  for (unsigned x = t.GetFirst(s); x; x = t.Next(s), ++it) ASSERT_EQ(key_of(s), it->first);
  EXPECT_EQ(it, m.end());
}

}  // namespace
