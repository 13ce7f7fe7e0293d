// A PATH entry that may not be searched is passed over, as a shell passes
// over it: the installation behind it is still found.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "driver/doc_des.h"
#include "runtime/safe_uts.h"
#include "tests/fault_os.h"
#include "tests/test_util.h"

namespace fs = std::filesystem;

TEST(InstallationPath, AFolderThatMayNotBeSearchedIsPassedOver) {
  testutil::TempDir tmp;
  fs::create_directories("locked/ut_brelmot");
  std::string exe_dir = fs::path(BRELMOT_EXE).parent_path().string();
  std::string old_path = getenv("PATH");
  fault_os sys;
  sys.unsearchable = tmp.path() + "/locked";
  setenv("PATH", (sys.unsearchable + ":" + exe_dir + ":" + old_path).c_str(), 1);
  std::string inst;
  {
    fault_scope on(sys);
    EXPECT_EQ(safe_ut.ok_is_a((sys.unsearchable + "/ut_brelmot").c_str()), 'n');
    EXPECT_FALSE(safe_ut.exists((sys.unsearchable + "/ut_brelmot").c_str()));
    testing::internal::CaptureStdout();
    try {
      DocDes d;
      inst = d.web.inst;
    } catch (const char*) {
      exut.reset_after_failure();
    }
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out.find("fatal error"), std::string::npos) << out;
    // A denial further up is still reported.
    std::string deep = testutil::failure_of([&] { safe_ut.ok_is_a((sys.unsearchable + "/a/b").c_str()); });
    EXPECT_NE(deep.find("does not return a result (errno 13)"), std::string::npos) << deep;
  }
  setenv("PATH", old_path.c_str(), 1);
  EXPECT_EQ(inst, fs::weakly_canonical(exe_dir + "/ut_brelmot").string());
}
