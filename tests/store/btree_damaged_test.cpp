// Damaged page files: a page whose items each lie inside the page but
// overlap one another must be refused with a report that names the file,
// before the tree changes a byte of it, whether the page is read for a
// lookup or for a change.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstring>
#include <string>
#include <utility>

#include "runtime/exec_ut.h"
#include "store/Btree.h"
#include "tests/test_util.h"

namespace {

using testutil::failure_of;

const size_t page_bytes = sizeof(Btree_page);

// Copies a fixture into the current folder, writable, under `name`.
std::string copy_fixture(const char* fixture, const char* name) {
  std::string b = testutil::read_file(testutil::fixtures_dir() + "/damaged-btree/" + fixture);
  EXPECT_EQ(b.size(), 2 * page_bytes) << fixture;
  testutil::write_file(name, b);
  chmod(name, 0644);
  return b;
}

// Opens `file` for update and inserts until the tree fails; returns the
// report.  A tree that takes every key without complaint fails the test.
std::string insertions_into(const char* file) {
  return failure_of([&] {
    Btree t(file, 4);
    char k[64];
    for (int i = 0; i < 400; i++) {
      snprintf(k, sizeof k, "inserted key %04d with a tail to fill the page", i);
      t.StrIns('e', k, "and a value of some length");
    }
  });
}

std::string lookup_in(const char* file) {
  return failure_of([&] {
    Btree t(file, 3);
    t.contains("key");
  });
}

void expect_refused(const std::string& report, const char* file) {
  EXPECT_NE(report.find(file), std::string::npos) << report;
  EXPECT_NE(report.find("damaged"), std::string::npos) << report;
}

TEST(BtreeDamaged, OverlappingItemsFromTheFixturesAreRefused) {
  testutil::TempDir dir;
  for (const char* fixture : {"overlapping-items-1.btree", "overlapping-items-2.btree"}) {
    SCOPED_TRACE(fixture);
    std::string before = copy_fixture(fixture, "d.bt");
    expect_refused(insertions_into("d.bt"), "d.bt");
    EXPECT_TRUE(testutil::read_file("d.bt") == before) << "the damaged file was written";
    expect_refused(lookup_in("d.bt"), "d.bt");
  }
}

// A sound file of one data page, written by the store itself.
std::string sound_file() {
  {
    Btree t("sound.bt", 1);
    char k[32], d[64];
    for (int i = 0; i < 30; i++) {
      snprintf(k, sizeof k, "key %02d", i);
      snprintf(d, sizeof d, "value %02d, long enough to be seen", i);
      t.StrIns('i', k, d);
    }
  }
  std::string b = testutil::read_file("sound.bt");
  EXPECT_EQ(b.size(), 2 * page_bytes);
  return b;
}

// The file with its data page changed by `damage`.
std::string damaged(const std::string& sound, void (*damage)(Btree_page&)) {
  Btree_page p;
  memcpy(static_cast<void*>(&p), sound.data() + page_bytes, page_bytes);
  damage(p);
  std::string b = sound;
  memcpy(&b[page_bytes], &p, page_bytes);
  return b;
}

TEST(BtreeDamaged, ItemsThatShareBytesAreRefused) {
  testutil::TempDir dir;
  std::string sound = sound_file();
  void (*damages[])(Btree_page&) = {
      // Two cells share one data item.
      [](Btree_page& p) { p.cell[3].ad = p.cell[4].ad; },
      // A data item begins inside the key item of another cell.
      [](Btree_page& p) { p.cell[5].ad = (uint16_t)(p.cell[6].ak + 1); },
      // A key item overlaps the key item of its neighbour.
      [](Btree_page& p) { p.cell[7].ak = (uint16_t)(p.cell[8].ak + 2); },
      // The shared prefix, stored below the sentinel's key, runs into another
      // item.
      [](Btree_page& p) { p.c[Btree::spare_pos] = 4; },
      // Two keys change places: a search would miss both, and a key inserted
      // between them would be lost to the next lookup.
      [](Btree_page& p) { std::swap(p.cell[9].ak, p.cell[10].ak); },
  };
  for (auto damage : damages) {
    std::string bad = damaged(sound, damage);
    testutil::write_file("bad.bt", bad);
    expect_refused(insertions_into("bad.bt"), "bad.bt");
    EXPECT_TRUE(testutil::read_file("bad.bt") == bad) << "the damaged file was written";
    expect_refused(lookup_in("bad.bt"), "bad.bt");
  }
  // Found damaged by a lookup, a tree opened for update takes no change and
  // no commit afterwards.
  {
    Btree t("bad.bt", 4);
    failure_of([&] { t.contains("key 05"); });
    expect_refused(failure_of([&] { t.StrIns('e', "other key", "x"); }), "bad.bt");
    expect_refused(failure_of([&] { t.commit(); }), "bad.bt");
  }
  EXPECT_TRUE(testutil::read_file("bad.bt") == damaged(sound, damages[4]));
  // The sound file itself takes all insertions, through compaction and splits.
  testutil::write_file("sound.bt", sound);
  {
    Btree t("sound.bt", 4);
    char k[64];
    for (int i = 0; i < 400; i++) {
      snprintf(k, sizeof k, "inserted key %04d with a tail to fill the page", i);
      ASSERT_EQ(t.StrIns('e', k, "and a value of some length"), 'i');
    }
  }
  Btree t("sound.bt", 3);
  EXPECT_EQ(t.number_of_elements(), 430);
}

// A damaged data page among many: a reader meets it where it lies in the view
// of the file, a writer after it has changed other pages, which then stay
// unwritten.
TEST(BtreeDamaged, DamagedPageAmongManyStopsEveryWrite) {
  testutil::TempDir dir;
  {
    Btree t("many.bt", 1);
    char k[32];
    for (int i = 0; i < 3000; i++) {
      snprintf(k, sizeof k, "key %05d", i);
      t.StrIns('i', k, "a value that fills the pages");
    }
  }
  std::string b = testutil::read_file("many.bt");
  size_t pages = b.size() / page_bytes;
  ASSERT_GT(pages, 10u);
  Btree_page p;
  size_t nr = pages - 1;
  memcpy(static_cast<void*>(&p), b.data() + nr * page_bytes, page_bytes);
  ASSERT_EQ(p.t, 0) << "the last page should be a data page";
  p.cell[3].ad = p.cell[4].ad;
  memcpy(&b[nr * page_bytes], &p, page_bytes);
  testutil::write_file("many.bt", b);

  expect_refused(failure_of([] {
                   Btree t("many.bt", 3);
                   t.number_of_elements();
                 }),
                 "many.bt");
  {
    Btree t("many.bt", 4);
    ASSERT_EQ(t.StrIns('e', "key 00001", "changed"), 'u');  // a sound page
    expect_refused(failure_of([&] { t.number_of_elements(); }), "many.bt");
  }
  EXPECT_TRUE(testutil::read_file("many.bt") == b) << "a page of the damaged file was written";
}

// Damage between pages, which no check of a single page sees: every page
// stays sound on its own, but the root hangs a son below the wrong
// separator.  A lookup, a walk and a change each refuse the file, and no
// commit writes it, so that no key is put where no search would find it.
TEST(BtreeDamaged, SonsBelowTheWrongSeparatorAreRefused) {
  testutil::TempDir dir;
  {
    Btree t("two.bt", 1);
    char k[32];
    for (int i = 0; i < 3000; i++) {
      snprintf(k, sizeof k, "key %05d", i);
      t.StrIns('i', k, "a value that fills the pages");
    }
  }
  const std::string sound = testutil::read_file("two.bt");
  Btree_page root;
  memcpy(static_cast<void*>(&root), sound.data(), page_bytes);
  ASSERT_EQ(root.t, 1);
  ASSERT_GE(root.e, 3) << "the root should have three sons at least";
  void (*damages[])(Btree_page&) = {
      // Two sons change places.
      [](Btree_page& p) { std::swap(p.cell[1].surr, p.cell[2].surr); },
      // One son hangs below two separators.
      [](Btree_page& p) { p.cell[2].surr = p.cell[1].surr; },
  };
  for (auto damage : damages) {
    std::string bad = sound;
    Btree_page p = root;
    damage(p);
    memcpy(&bad[0], &p, page_bytes);
    testutil::write_file("bad.bt", bad);
    expect_refused(failure_of([&] {
                     Btree t("bad.bt", 3);
                     Btree_st s;
                     for (unsigned x = t.GetFirst(s); x; x = t.Next(s)) {
                     }
                   }),
                   "bad.bt");
    // Keys between those of the tree, spread over all its sons.
    expect_refused(failure_of([] {
                     Btree t("bad.bt", 4);
                     char k[32];
                     for (int i = 0; i < 3000; i += 7) {
                       snprintf(k, sizeof k, "key %05d+", i);
                       t.StrIns('e', k, "new");
                     }
                     t.commit();
                   }),
                   "bad.bt");
    EXPECT_TRUE(testutil::read_file("bad.bt") == bad) << "the damaged file was written";
  }
  // The sound file passes every check of the descent.
  testutil::write_file("bad.bt", sound);
  Btree t("bad.bt", 4);
  Btree_st s;
  int n = 0;
  for (unsigned x = t.GetFirst(s); x; x = t.Next(s)) n++;
  EXPECT_EQ(n, 3000);
  EXPECT_EQ(t.StrIns('e', "key 00001", "changed"), 'u');
}

}  // namespace

namespace {

// A descriptor that has given out the last surrogate (as a damaged file
// may say) leaves none for a new key: the key would get surrogate 0, which
// reads as "not found".  Insertion is refused and the file stays as it
// was; a key already there can still be looked up.
TEST(BtreeDamaged, NoSurrogateLeftRefusesNewKeys) {
  testutil::TempDir dir;
  std::string sound = sound_file();
  std::string b = sound;
  Btree_page p0;
  memcpy(static_cast<void*>(&p0), b.data(), page_bytes);
  p0.p0.d.surr = UINT32_MAX;
  memcpy(&b[0], &p0, page_bytes);
  testutil::write_file("s.bt", b);
  std::string report = failure_of([&] {
    Btree t("s.bt", 4);
    t.StrIns('e', "a new key", "x");
  });
  EXPECT_NE(report.find("no surrogate left"), std::string::npos) << report;
  EXPECT_TRUE(testutil::read_file("s.bt") == b) << "the damaged file was written";
  Btree t("s.bt", 3);
  EXPECT_TRUE(t.contains("key 07"));
}

}  // namespace
