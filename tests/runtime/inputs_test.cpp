// What is read must be a regular file: a device, a pipe or a socket is
// refused with a clear report before it is opened (a pipe would block the
// open, a device would never end); the null device is the empty input.
// Lines have a bound.
#include <sys/stat.h>

#include <gtest/gtest.h>

#include <string>

#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"
#include "tests/test_util.h"

using testutil::failure_of;
using testutil::read_file;
using testutil::TempDir;
using testutil::write_file;

namespace {
const char refused[] = "is not a regular file (a device, a pipe or a socket): it is not read";
}

TEST(Inputs, DevicesAndPipesAreRefusedBeforeTheyAreRead) {
  TempDir t;
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  for (const char* name : {"/dev/zero", "pipe"}) {
    std::string n = name;
    EXPECT_NE(failure_of([&] { safe_ut.read_text(n.c_str()); }).find(refused), std::string::npos) << n;
    EXPECT_NE(failure_of([&] { rBuffer rb(n.c_str(), ""); }).find(refused), std::string::npos) << n;
    EXPECT_NE(failure_of([&] { safe_ut.open_FILE(n.c_str(), "r"); }).find(refused), std::string::npos) << n;
    EXPECT_NE(failure_of([&] { safe_ut.open_fd(n.c_str(), 'R', 'B'); }).find(refused), std::string::npos) << n;
    failure_of([&] { safe_ut.copy_file("copy", n.c_str()); });
    EXPECT_FALSE(testutil::file_exists("copy"));
  }
  // The null device reads as nothing; writing to a device is no input.
  EXPECT_EQ(safe_ut.read_text("/dev/null"), "");
  safe_ut.write_text("/dev/null", "gone\n");
}

TEST(Inputs, CommandsRefuseThemToo) {
  TempDir t;
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  EXPECT_EQ(safe_ut.system_plain("grep x /dev/zero 2> err"), 2);
  EXPECT_EQ(read_file("err"), "cannot open /dev/zero: not a regular file\n");
  EXPECT_EQ(safe_ut.system_plain("type pipe > out 2> NUL"), 1);
  EXPECT_EQ(safe_ut.system_plain("sort 2> err < /dev/zero > out"), 1);
  EXPECT_EQ(read_file("err"), "Not a regular file, not read: /dev/zero\n");
  EXPECT_EQ(safe_ut.system_plain("type NUL > empty"), 0);
  EXPECT_EQ(read_file("empty"), "");
}

TEST(Inputs, ALineHasABound) {
  TempDir t;
  write_file("long", "short\n" + std::string((1 << 20) + 10, 'x') + "\nafter\n");
  EXPECT_EQ(safe_ut.system_plain("grep short long > out 2> err"), 2);
  EXPECT_EQ(read_file("out"), "short\n");
  EXPECT_EQ(read_file("err"), "long: a line longer than 1048576 bytes\n");
  write_file("fits", std::string(1 << 20, 'y') + "\n");
  EXPECT_EQ(safe_ut.system_plain("grep y fits > out"), 0);
  EXPECT_EQ(read_file("out").size(), (size_t)(1 << 20) + 1);
}
