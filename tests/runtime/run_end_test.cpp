// The end of a run below the entry: the last words are printed, the status
// reaches the entry, and everything on the way is destroyed, so that a
// changed working folder comes back.
#include <gtest/gtest.h>

#include <string>

#include "runtime/run_end.h"
#include "runtime/safe_uts.h"
#include "tests/test_util.h"

using testutil::end_status_of;
using testutil::TempDir;

TEST(RunEnd, LastWordsThenTheStatus) {
  std::string out;
  EXPECT_EQ(end_status_of([] { safe_ut.done_exit(3); }, &out), 3);
  EXPECT_EQ(out, "\nDONE, exit with rc = 3\n");
  // As in every caller, the text stands in a buffer that has a line start
  // before it: expected() looks back to it.
  static const char buffer[] = "\nabc\ndef";
  EXPECT_EQ(end_status_of([] { safe_ut.expected(7, "x", buffer + 1, "abd"); }, &out), 1);
  EXPECT_NE(out.find("Syntax Error in Spalte 0:"), std::string::npos) << out;
  EXPECT_NE(out.find("found: [abc\ndef]"), std::string::npos) << out;
  TempDir t;
  EXPECT_EQ(end_status_of([] { safe_ut.on_path("brelmot_none", 1, 0); }, &out), 1);
  EXPECT_EQ(out, "\nError: Not on PATH: brelmot_none\n");
}

TEST(RunEnd, AChangedFolderComesBack) {
  TempDir t;
  safe_ut.ensure_dir("sub");
  const std::string here = safe_ut.cwd();
  // A run that ends in a folder entered for a while.
  std::string out;
  EXPECT_EQ(end_status_of([] { safe_ut.doAt("sub", "+brelmot_no_such_tool x", nullptr); }, &out), 1);
  EXPECT_NE(out.find("Not on PATH: brelmot_no_such_tool"), std::string::npos) << out;
  EXPECT_EQ(safe_ut.cwd(), here);
  // The same for a failure report, and for the guard's own failure.
  testutil::failure_of([] {
    folder_guard g;
    g.enter("sub");
    exut.fail(__LINE__, "test", "User: stop here\n");
  });
  EXPECT_EQ(safe_ut.cwd(), here);
  testutil::failure_of([] {
    folder_guard g;
    g.enter("sub");
    g.enter("no_such_folder");
  });
  EXPECT_EQ(safe_ut.cwd(), here);
  // Without a failure the caller goes back itself, and stays back.
  {
    folder_guard g;
    g.enter("sub");
    EXPECT_EQ(safe_ut.cwd(), here + "/sub");
    g.back();
    safe_ut.change_dir("sub");
  }
  EXPECT_EQ(safe_ut.cwd(), here + "/sub");
  safe_ut.change_dir("..");
}
