// Names found by walks and listings are used exactly as the file system
// gives them ("\" is a character of a name here, not a separator), and what
// a walk below a root deletes or overwrites lies below that root.
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>

#include "runtime/file_ops.h"
#include "runtime/safe_uts.h"
#include "tests/test_util.h"

using testutil::file_exists;
using testutil::read_file;
using testutil::TempDir;
using testutil::write_file;

namespace {
std::string stdout_of(void (*f)()) {
  testing::internal::CaptureStdout();
  f();
  return testing::internal::GetCapturedStdout();
}
}  // namespace

TEST(WalkNames, AListedNameIsUsedAsItIs) {
  TempDir t;
  // "a\b" is one name; "a/b" is another file.
  write_file("a\\b", "literal");
  write_file("a/b", "in a folder");
  EXPECT_EQ(safe_ut.ok_is_a("a\\b"), 'f');
  EXPECT_EQ(safe_ut.read_text("a\\b"), "literal");
  safe_ut.copy_file("copy", "a\\b");
  EXPECT_EQ(read_file("copy"), "literal");
  safe_ut.remove_file("a\\b");
  EXPECT_FALSE(file_exists("a\\b"));
  EXPECT_EQ(read_file("a/b"), "in a folder");
  // A name typed with "\" for a folder still means the folder.
  EXPECT_EQ(safe_ut.read_text("a\\b"), "in a folder");
}

TEST(WalkNames, RemovalsStayBelowTheirRoot) {
  TempDir t;
  // A folder whose name, read with "\" as a separator, leads out of the tree.
  safe_ut.ensure_dir("tree/w");
  write_file("tree/w\\..\\..\\victim/publish/inner", "i");
  write_file("victim/publish/keep", "k");
  write_file("tree/a/publish/x", "x");
  EXPECT_EQ(safe_ut.rm_folders_named("tree", "publish"), 2);
  EXPECT_EQ(read_file("victim/publish/keep"), "k");
  EXPECT_FALSE(file_exists("tree/a/publish"));
  EXPECT_FALSE(file_exists("tree/w\\..\\..\\victim/publish"));
  // A path that resolves outside its root is refused with a word.
  symlink("../victim", "tree/link");
  std::string out = stdout_of([] { safe_ut.rm_tree_below("tree", "tree/link/publish"); });
  EXPECT_NE(out.find("Refused to delete tree/link/publish: it does not lie below tree"), std::string::npos)
      << out;
  EXPECT_EQ(read_file("victim/publish/keep"), "k");
  EXPECT_TRUE(safe_ut.rm_tree_below("tree", "tree/link"));  // the link itself lies below
  EXPECT_TRUE(file_exists("victim/publish/keep"));
}

TEST(WalkNames, TreeCopiesDoNotWriteThroughLinksOut) {
  TempDir t;
  write_file("from/sub/f", "new");
  write_file("from/g", "new g");
  write_file("elsewhere/f", "old");
  safe_ut.ensure_dir("to");
  symlink("../elsewhere", "to/sub");  // planted in the target tree
  std::string err;
  EXPECT_FALSE(file_ops::copy_tree("from", "to", &err));
  EXPECT_NE(err.find("refused: to/sub lies outside to"), std::string::npos) << err;
  EXPECT_EQ(read_file("elsewhere/f"), "old");
  EXPECT_EQ(read_file("to/g"), "new g");
}

TEST(WalkNames, CommandsForWalkedFilesGetTheirExactNames) {
  TempDir t;
  write_file("src/plain.java", "p");
  write_file("src/odd\\..\\x.java", "o");
  safe_ut.ensure_dir("out");
  std::string out;
  testing::internal::CaptureStdout();
  EXPECT_EQ(safe_ut.wfind_do("u", "src", "java", "out", "+copy", false), 2);
  out = testing::internal::GetCapturedStdout();
  EXPECT_NE(out.find("Refused: the name src/odd\\..\\x.java cannot stand on a command line"), std::string::npos)
      << out;
  EXPECT_TRUE(file_exists("out/plain.java"));
  EXPECT_FALSE(file_exists("x.java"));
}
