// The page file: what one run leaves behind and the next reads, and how a
// file that is not such a page file is refused.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "runtime/exec_ut.h"
#include "store/Btree.h"
#include "tests/test_util.h"

namespace {

using testutil::failure_of;

uint32_t u32(const std::string& b, size_t at) {
  uint32_t v;
  memcpy(&v, b.data() + at, 4);
  return v;
}
uint16_t u16(const std::string& b, size_t at) {
  uint16_t v;
  memcpy(&v, b.data() + at, 2);
  return v;
}

void fill(Btree& t, int n) {
  char k[64], d[64];
  for (int i = 0; i < n; i++) {
    snprintf(k, sizeof k, "k%07d/%s", (i * 7919) % n, i % 3 ? "x" : "some longer tail");
    snprintf(d, sizeof d, "value %d", i);
    t.StrIns('e', k, d);
  }
}

TEST(BtreeFile, FreshTreeHasTwoPagesAsTheFormatSays) {
  testutil::TempDir dir;
  { Btree t("fresh.bt", 1); }
  std::string b = testutil::read_file("fresh.bt");
  ASSERT_EQ(b.size(), 8200u);
  // Page 0: the root with one cell to page 1 and the descriptor.
  EXPECT_EQ(u32(b, 4088), 0u);
  EXPECT_EQ(u16(b, 4094), 1);
  EXPECT_EQ(u16(b, 4096), 4051);
  EXPECT_EQ(u16(b, 4098), 1);
  EXPECT_EQ(u16(b, 0), 4051);
  EXPECT_EQ(u32(b, 4), 1u);
  EXPECT_EQ((unsigned char)b[4051], 0);
  EXPECT_EQ(u32(b, 4052), 1u);  // last
  EXPECT_EQ(u16(b, 4056), 1);   // next
  EXPECT_EQ(u32(b, 4060), 0u);  // surr
  EXPECT_EQ(u16(b, 4064), 0);   // anz
  EXPECT_EQ(u32(b, 4068), 8u);
  EXPECT_EQ(u32(b, 4072), 8u);
  EXPECT_EQ(u32(b, 4076), 4100u);
  EXPECT_EQ(u32(b, 4080), 4052u);
  EXPECT_EQ((unsigned char)b[4085], 0);
  // Page 1: the data page with its sentinel.
  const size_t p1 = 4100;
  EXPECT_EQ(u32(b, p1 + 4088), 1u);
  EXPECT_EQ(u16(b, p1 + 4094), 1);
  EXPECT_EQ(u16(b, p1 + 4096), 4081);
  EXPECT_EQ(u16(b, p1 + 4098), 0);
  EXPECT_EQ(u16(b, p1 + 0), 4083);
  EXPECT_EQ(u16(b, p1 + 2), 4081);
  EXPECT_EQ(u32(b, p1 + 4), 0u);
}

TEST(BtreeFile, WrittenTreeIsFoundAgainReadOnlyAndForUpdate) {
  testutil::TempDir dir;
  unsigned last;
  {
    Btree t("t.bt", 1);
    fill(t, 60000);
    last = t.descr->last;
    EXPECT_GT(t.anz_pages(), 400);
    EXPECT_EQ(t.descr->surr, 60000u);
    EXPECT_EQ(t.descr->maxkeylen, strlen("k0000000/some longer tail"));
  }
  std::string b = testutil::read_file("t.bt");
  EXPECT_EQ(b.size(), (last + 1) * 4100u);
  EXPECT_EQ(u32(b, 4052), last);
  EXPECT_EQ(u32(b, 4060), 60000u);
  EXPECT_EQ(u16(b, 4064), 60000);
  {
    Btree t("t.bt", 3);
    EXPECT_EQ(t.number_of_elements(), 60000);
    Btree_st s;
    EXPECT_TRUE(t.Get("k0007919/x", s));
    EXPECT_STREQ(s.c, "value 1");
    failure_of([&] { t.StrIns('e', "new", "x"); });
  }
  {
    Btree t("t.bt", 4);
    EXPECT_EQ(t.StrIns('i', "new key", "new value"), 'i');
    EXPECT_EQ(t.surr, 60001u);
    EXPECT_TRUE(t.Rem("k0007919/x"));
  }
  {
    Btree t("t.bt", 5);
    Btree_st s;
    EXPECT_TRUE(t.Get("new key", s));
    EXPECT_STREQ(s.c, "new value");
    EXPECT_FALSE(t.contains("k0007919/x"));
    EXPECT_EQ(t.number_of_elements(), 60000);
  }
}

TEST(BtreeFile, CommitWritesEveryPage) {
  testutil::TempDir dir;
  Btree t("c.bt", 1);
  fill(t, 5000);
  t.commit();
  EXPECT_EQ(testutil::read_file("c.bt").size(), (size_t)t.anz_pages() * 4100);
  Btree m;
  fill(m, 100);
  m.commit();  // nothing to write, and no failure
  EXPECT_EQ(m.Bf, 0);
}

TEST(BtreeFile, ModesTwoAndFive) {
  testutil::TempDir dir;
  testutil::write_file("short.bt", std::string(4099, 'x'));
  {
    Btree t("short.bt", 5);  // too short to be a tree: made new
    t.StrIns('e', "a", "1");
  }
  EXPECT_EQ(testutil::read_file("short.bt").size(), 8200u);
  {
    Btree t("short.bt", 5);  // now it is one
    EXPECT_TRUE(t.contains("a"));
  }
  std::string out = failure_of([] { Btree t("short.bt", 2); });
  EXPECT_NE(out.find("AppError: short.bt exists"), std::string::npos) << out;
  out = failure_of([] { Btree t("x.bt", 7); });
  EXPECT_NE(out.find("do_what"), std::string::npos) << out;
}

TEST(BtreeFile, BadFilesAreRefusedWithAReport) {
  testutil::TempDir dir;
  {
    Btree t("good.bt", 1);
    fill(t, 20000);
  }
  std::string good = testutil::read_file("good.bt");

  std::string other = good;
  uint32_t size = 8192;
  memcpy(&other[4076], &size, 4);
  testutil::write_file("other.bt", other);
  std::string out = failure_of([] { Btree t("other.bt", 3); });
  EXPECT_NE(out.find("page size 8192"), std::string::npos) << out;

  testutil::write_file("text.bt", std::string(20000, 'a'));
  out = failure_of([] { Btree t("text.bt", 4); });
  EXPECT_NE(out.find("not a Btree file"), std::string::npos) << out;

  testutil::write_file("tiny.bt", "hello");
  out = failure_of([] { Btree t("tiny.bt", 3); });
  EXPECT_NE(out.find("not a Btree file"), std::string::npos) << out;

  // Only the first pages survive: the tree opens, and the first missing page
  // is reported when it is needed.
  testutil::write_file("cut.bt", good.substr(0, 4100 * 5));
  out = failure_of([] {
    Btree t("cut.bt", 3);
    t.number_of_elements();
  });
  EXPECT_NE(out.find("behind the end of the file"), std::string::npos) << out;

  // A damaged page: a cell offset beyond the page.
  std::string bad = good;
  uint16_t off = 5000;
  memcpy(&bad[4100 * 3 + 8], &off, 2);
  testutil::write_file("bad.bt", bad);
  out = failure_of([] {
    Btree t("bad.bt", 3);
    t.number_of_elements();
  });
  EXPECT_NE(out.find("damaged"), std::string::npos) << out;

  // Sons that point back up: the search ends at the level limit.
  std::string loop = good;
  for (int i = 0; i < 4; i++) memset(&loop[4 + 8 * i], 0, 4);  // root cells: son 0 means 1
  loop[4100 + 4098] = 1;  // page 1 claims to be an index page
  memset(&loop[4100 + 4], 0, 4);
  testutil::write_file("loop.bt", loop);
  out = failure_of([] {
    Btree t("loop.bt", 3);
    t.contains("k");
  });
  EXPECT_FALSE(out.empty());
}

// A chain of index pages one below the other, deeper than 40 levels.
TEST(BtreeFile, TooDeepTreeIsReported) {
  testutil::TempDir dir;
  const int pages = 43;
  std::string b;
  {
    Btree t("deep.bt", 1);
  }
  std::string fresh = testutil::read_file("deep.bt");
  b = fresh.substr(0, 4100);
  uint32_t last = pages - 1;
  memcpy(&b[4052], &last, 4);
  for (int nr = 1; nr < pages - 1; nr++) {
    std::string p(4100, '\0');
    uint16_t ak = 4084, e = 1, h = 4084, t = 1;
    uint32_t son = nr + 1, n = nr;
    memcpy(&p[0], &ak, 2);
    memcpy(&p[4], &son, 4);
    memcpy(&p[4088], &n, 4);
    memcpy(&p[4094], &e, 2);
    memcpy(&p[4096], &h, 2);
    memcpy(&p[4098], &t, 2);
    b += p;
  }
  std::string data = fresh.substr(4100, 4100);
  memcpy(&data[4088], &last, 4);
  b += data;
  testutil::write_file("deep.bt", b);
  std::string out = failure_of([] {
    Btree t("deep.bt", 3);
    t.contains("x");
  });
  EXPECT_NE(out.find("Btree too deep - augment L_Bp (1) = 40"), std::string::npos) << out;
}

TEST(BtreeFile, MemoryTreeBecomesTemporaryFileAtThe401stPage) {
  testutil::TempDir dir;
  std::string file;
  {
    Btree t;
    char k[300];
    int i = 0;
    while (t.anz_pages() <= 400) {
      ASSERT_EQ(t.Bf, 0);
      snprintf(k, sizeof k, "%06d%0200d", i++, 0);
      t.StrIns('i', k);
    }
    EXPECT_TRUE(t.temporary);
    ASSERT_GT(t.Bf, 0);
    file = t.Bfn;
    EXPECT_TRUE(testutil::file_exists(file));
    EXPECT_EQ(t.number_of_elements(), i);
  }
  EXPECT_FALSE(testutil::file_exists(file));
}

TEST(BtreeFile, LongDataSurvivesReopening) {
  testutil::TempDir dir;
  std::string v(1000, 'x');
  for (size_t i = 0; i < v.size(); i++) v[i] = (char)('a' + i % 26);
  {
    Btree t("long.bt", 1);
    ASSERT_EQ(t.StrIns('i', "key", v.c_str()), 'i');
    t.StrIns('i', "plain", "ends with a colon:");
  }
  Btree t("long.bt", 3);
  Btree_st s;
  ASSERT_TRUE(t.Get("key", s));
  EXPECT_EQ(std::string(s.c), v);
  ASSERT_TRUE(t.Get("plain", s));
  EXPECT_STREQ(s.c, "ends with a colon:");
}

}  // namespace
