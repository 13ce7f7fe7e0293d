// A page file on a disk that fills: the commit ends in a clear report that
// names the error, the process does not crash while the tree is given up on
// the full disk, and a commit that fails leaves the file as it was.
#include <gtest/gtest.h>

#include <string>

#include "store/Btree.h"
#include "tests/fault_os.h"
#include "tests/test_util.h"

namespace {

void fill(Btree& t, const char* prefix, int n) {
  char k[64], d[64];
  for (int i = 0; i < n; i++) {
    snprintf(k, sizeof k, "%s%07d/%s", prefix, (i * 7919) % n, i % 3 ? "x" : "some longer tail");
    snprintf(d, sizeof d, "value %d", i);
    t.StrIns('e', k, d);
  }
}

}  // namespace

TEST(BtreeFullDisk, CommitEndsInAClearReport) {
  testutil::TempDir dir;
  { Btree t("t.bt", 1); fill(t, "k", 20000); }
  fault_os sys;
  std::string out;
  {
    fault_scope on(sys);  // also while the tree is given up
    Btree t("t.bt", 4);
    fill(t, "n", 20000);
    sys.space = 0;
    out = testutil::failure_of([&] { t.commit(); });
  }
  EXPECT_NE(out.find("No space left on devive (?)"), std::string::npos) << out;
  EXPECT_NE(out.find("28 = errno, cannot reserve"), std::string::npos) << out;
}

// Changes that stay in the cache until the commit: the disk is full when the
// commit wants room for its new pages, so not one page of the file changes,
// neither by the commit nor by the write-back when the tree is given up.
TEST(BtreeFullDisk, FailedCommitLeavesTheFileAsItWas) {
  testutil::TempDir dir;
  { Btree t("t.bt", 1); fill(t, "k", 20000); }
  const std::string good = testutil::read_file("t.bt");
  fault_os sys;
  std::string out;
  {
    fault_scope on(sys);
    Btree t("t.bt", 4);
    fill(t, "n", 2000);
    sys.space = 0;
    out = testutil::failure_of([&] { t.commit(); });
  }
  EXPECT_NE(out.find("cannot reserve"), std::string::npos) << out;
  EXPECT_TRUE(testutil::read_file("t.bt") == good) << "the page file changed";
  Btree again("t.bt", 3);  // read only
  Btree_st st;
  EXPECT_EQ(again.number_of_elements(), 20000);
  EXPECT_EQ(again.Getmin_At(st, "n"), 0u);
}
