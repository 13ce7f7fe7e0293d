// A configuration that is, or includes, something other than a regular file
// ends with a clear report and status 1: no hang, no crash.
#include <sys/stat.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/test_util.h"

using testutil::run_brelmot;
using testutil::write_file;

TEST(ConfigurationInput, DevicesAndPipesEndWithAClearReport) {
  testutil::TempDir tmp;
  std::string path = "PATH='" + std::filesystem::path(BRELMOT_EXE).parent_path().string() + "':\"$PATH\"";
  const char refused[] = "is not a regular file (a device, a pipe or a socket): it is not read";
  auto r = run_brelmot("/dev/zero '?'", path + " timeout 120");
  EXPECT_EQ(r.status, 1) << r.out;
  EXPECT_NE(r.out.find(std::string("/dev/zero ") + refused), std::string::npos) << r.out;
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  for (const char* name : {"/dev/zero", "pipe"}) {
    write_file("conf", std::string("-w xs_A\n-i ") + name + "\n--\n");
    r = run_brelmot("conf '?'", path + " timeout 120");
    EXPECT_EQ(r.status, 1) << name << r.out;
    EXPECT_NE(r.out.find(refused), std::string::npos) << name << r.out;
  }
}
