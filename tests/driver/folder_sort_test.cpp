// "brelmot sort conf nr": the documents that a configuration names below a
// prefix beside those the tree holds, in the byte order of their keys.
#include <gtest/gtest.h>

#include <string>

#include "tests/test_util.h"

using testutil::has;
using testutil::run_brelmot;
using testutil::write_file;

TEST(FolderSort, NamedAndFoundSortedByName) {
  testutil::TempDir tmp;
  write_file("w/docs/guide.doc", "x");
  write_file("w/docs/sub/Zeta.rtf", "x");
  write_file("w/docs/sub/alpha.pdf", "x");
  write_file("w/docs/~$guide.doc", "lock");
  for (const char* aside : {"outdated", "old", "indx", "publish", "docprofiles"})
    write_file(std::string("w/docs/") + aside + "/aside.doc", "x");
  write_file("w/wconf",
             "-w xs_S\n-? 3=./docs/\n-? 13=./other\n"
             "-e 3/guide.doc\n   Guide\n-e 3\\sub\\missing.doc\n   M\n"
             "-e 3/old/aside.doc\n   A\n-e 13/x.doc\n   X\n--\n");
  auto r = run_brelmot("sort w/wconf 3");
  EXPECT_EQ(r.status, 0) << r.out;
  auto line = [](char mark, const std::string& name, const std::string& folder) {
    return "\n" + std::string(1, mark) + " " + name + std::string(40 - name.size(), ' ') + " " +
           std::string(1, mark) + " " + folder;
  };
  EXPECT_EQ(r.out, "\nsystem: wfind w/docs > xxDocs\n"
                   "\nDocs in w/wconf( 3 = w/docs ):\n" +
                       line('-', "Zeta.rtf", "w/docs/sub") + line('-', "alpha.pdf", "w/docs/sub") +
                       line('+', "guide.doc", "w/docs") + line('+', "missing.doc", "w/docs/sub"));
}

TEST(FolderSort, MissingPrefixOrTree) {
  testutil::TempDir tmp;
  write_file("wconf", "-w xs_S\n-? 1=./d\n--\n");
  auto r = run_brelmot("sort wconf 2");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "\nAppError: wconf does not contain a dir spec -? 2=\n");
  r = run_brelmot("sort wconf 1");
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "User: no such dir: ./d")) << r.out;
  EXPECT_EQ(run_brelmot("sort nothing 1").status, 1);
}
