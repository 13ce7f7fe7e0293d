// A page file on a disk that fills: the commit ends in a clear report that
// names the error, and the process does not crash while the tree is given
// up on the full disk.
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
