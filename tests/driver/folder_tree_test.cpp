// "brelmot nopub dir", "brelmot find word dir" and "brelmot update_from
// from": what they touch, and only that.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/test_util.h"

namespace fs = std::filesystem;
using testutil::count_of;
using testutil::file_exists;
using testutil::has;
using testutil::read_file;
using testutil::run_brelmot;
using testutil::write_file;

namespace {
const std::string odd = "a b \"q\" $HOME; touch PWNED `touch PWNED2`";
bool ran_something() { return file_exists("PWNED") || file_exists("PWNED2"); }
}  // namespace

TEST(FolderNopub, OnlyFoldersNamedPublish) {
  testutil::TempDir tmp;
  write_file("d/publish/a.htm", "x");
  write_file("d/keep x/publish/b.htm", "x");
  write_file("d/keep x/kept.doc", "x");
  write_file("d/" + odd + "/publish/c.htm", "x");
  write_file("d/deep/publish/publish/e.htm", "x");
  write_file("d/publishing/a.htm", "x");
  write_file("d/mypublish/a.htm", "x");
  write_file("d/xs_/doc.htm.bak", "x");
  write_file("d/notes/publish", "a file, not a folder");
  auto r = run_brelmot("nopub d");
  EXPECT_EQ(r.status, 0) << r.out;
  EXPECT_TRUE(has(r.out, "\nsystem: -rm -rf d/keep x/publish\n")) << r.out;
  for (const char* gone : {"d/publish", "d/keep x/publish", "d/deep/publish"})
    EXPECT_FALSE(file_exists(gone)) << gone;
  EXPECT_FALSE(file_exists("d/" + odd + "/publish"));
  for (const char* kept : {"d/keep x/kept.doc", "d/publishing/a.htm", "d/mypublish/a.htm",
                           "d/xs_/doc.htm.bak", "d/notes/publish"})
    EXPECT_TRUE(file_exists(kept)) << kept;
  EXPECT_FALSE(ran_something());
  EXPECT_FALSE(file_exists("xx_tmp"));

  r = run_brelmot("nopub d/none");
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "User: no such dir: d/none")) << r.out;
}

TEST(FolderFind, FilesHoldingTheWord) {
  testutil::TempDir tmp;
  write_file("d/exact.txt", "a word here");
  write_file("d/longer.txt", "passwords");  // a part of a longer word is a hit
  write_file("d/none.txt", "Word with a capital");
  // Behind a byte 26 and across the blocks the file is read in.
  write_file("d/bin.doc", std::string("\x1a\r\n", 3) + "wo" + std::string(200000, 'x') + "word");
  write_file("d/edge.dat", std::string(131072 - 2, 'y') + "word");
  write_file("d/" + odd + "/f", "word");
  auto r = run_brelmot("find word d");
  EXPECT_EQ(r.status, 0) << r.out;
  EXPECT_EQ(r.out,
            "\nsystem: wfind d > xxfind\n"
            "\n word: d/" + odd + "/f"
            "\n word: d/bin.doc"
            "\n word: d/edge.dat"
            "\n word: d/exact.txt"
            "\n word: d/longer.txt");
  EXPECT_FALSE(file_exists("xxfind"));
  EXPECT_FALSE(ran_something());
  // The list in the tree searched is not one of its files.
  r = run_brelmot("find xxfind .");
  EXPECT_EQ(count_of(r.out, "xxfind:"), 0) << r.out;

  r = run_brelmot("find word nothing");
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "User: no such dir: nothing"));
}

TEST(FolderUpdateFrom, FilesOfTheCurrentTreeFromAnother) {
  testutil::TempDir tmp;
  write_file("src/a.txt", "new a");
  write_file("src/sub/" + odd, "new odd");
  write_file("src/publish/p.htm", "new p");
  write_file("work/a.txt", "old a");
  write_file("work/sub/" + odd, "old odd");
  write_file("work/publish/p.htm", "old p");
  write_file("work/only.txt", "mine");
  fs::last_write_time("src/a.txt", fs::file_time_type::clock::now() - std::chrono::hours(48));
  fs::current_path("work");
  auto r = run_brelmot("update_from ../src/");
  EXPECT_EQ(r.status, 0) << r.out;
  EXPECT_EQ(read_file("a.txt"), "new a");
  EXPECT_EQ(read_file("sub/" + odd), "new odd");
  EXPECT_EQ(read_file("publish/p.htm"), "old p");
  EXPECT_EQ(read_file("only.txt"), "mine");
  EXPECT_EQ(fs::last_write_time("a.txt"), fs::last_write_time("../src/a.txt"));
  EXPECT_TRUE(has(r.out, "\nnot found: ../src/only.txt")) << r.out;
  EXPECT_FALSE(has(r.out, "src/xxfetch") || file_exists("xxfetch")) << r.out;
  // From the tree onto itself nothing changes.
  r = run_brelmot("update_from .");
  EXPECT_EQ(read_file("only.txt"), "mine");
  EXPECT_EQ(run_brelmot("update_from ../none").status, 1);
  fs::current_path("..");
  EXPECT_FALSE(ran_something() || file_exists("work/PWNED"));
}
