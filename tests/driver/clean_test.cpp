// "brelmot <dir> clean" removes the publish folders of a tree, and only
// those: a folder whose name would lead out of the tree if its "\" were
// taken for separators is a folder of the tree.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/test_util.h"

namespace fs = std::filesystem;
using testutil::file_exists;
using testutil::run_brelmot;
using testutil::write_file;

TEST(Clean, PublishFoldersOfTheTreeOnly) {
  testutil::TempDir tmp;
  fs::create_directories("base/tree/w");
  write_file("base/tree/w\\..\\..\\..\\victim/publish/inner.htm", "i");
  write_file("victim/publish/keep.htm", "k");
  write_file("base/tree/doc/publish/doc.htm", "d");
  fs::current_path("base");
  auto r = run_brelmot("tree clean");
  fs::current_path("..");
  EXPECT_EQ(r.status, 0) << r.out;
  EXPECT_NE(r.out.find("o k  -  no publish in tree"), std::string::npos) << r.out;
  EXPECT_TRUE(file_exists("victim/publish/keep.htm"));
  EXPECT_FALSE(file_exists("base/tree/doc/publish"));
  EXPECT_FALSE(file_exists("base/tree/w\\..\\..\\..\\victim/publish"));
  EXPECT_TRUE(file_exists("base/tree/w\\..\\..\\..\\victim"));
}
