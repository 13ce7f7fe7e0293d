// "brelmot wconf nr dir" and "brelmot wconf_ADD from pre dir": the include
// written from a tree, what it deletes in webs, and the copies of a list.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "tests/test_util.h"

namespace fs = std::filesystem;
using testutil::file_exists;
using testutil::has;
using testutil::read_file;
using testutil::run_brelmot;
using testutil::write_file;

namespace {

// A Word document of the tree with its snapshot, a copy of a real one.
void document(const std::string& folder, const std::string& name, const char* fixture) {
  write_file(folder + "/" + name, "{\\rtf1 x}\n");
  std::string stem = name.substr(0, name.rfind('.'));
  fs::create_directories(folder + "/publish");
  std::string snap = folder + "/publish/" + stem + ".htm";
  fs::copy_file(testutil::fixtures_dir() + "/word-html/" + fixture, snap);
  fs::permissions(snap, fs::perms::owner_write, fs::perm_options::add);
}

}  // namespace

// The include of a real tree is a configuration that the reader accepts
// below a "-w" line and the prefix "-? nr=dir".
TEST(FolderWconf, IncludeFitsTheConfigurationReader) {
  testutil::TempDir tmp;
  document("d/guide", "devcon.doc", "word2003-devcon-readme.htm");
  document("d/guide/usb", "IsoUsb.RTF", "word97-isousb-readme.htm");
  document("d", "storport.rtf", "word2010-storport-readme.htm");
  write_file("d/slides/overview.pdf", "%PDF-1.4\n");
  write_file("d/notes.txt", "not a document\n");
  write_file("d/xs_old/3/doc.htm", std::string(3 * 1048576 + 5, 'x'));
  write_file("d/xs_old/3/doc.htm.bak", "kept");
  write_file("d/xs_old/3/1.htm", "kept");
  auto r = run_brelmot("wconf 3 d > inc");
  ASSERT_EQ(r.status, 0) << r.out;
  std::string inc = read_file("inc");
  EXPECT_TRUE(has(inc, "\n-e 3/guide/usb/IsoUsb.RTF\n   guide: usb: IsoUsb\n")) << inc;
  EXPECT_TRUE(has(inc, "\n e 3/notes.txt")) << inc;
  EXPECT_FALSE(has(inc, "publish/")) << inc;
  EXPECT_TRUE(has(inc, "\ndeleted: d/xs_old/3/doc.htm")) << inc;
  EXPECT_TRUE(has(inc, "\no k  -  deleted were 3145733 bytes (= 3 MB)\n")) << inc;
  EXPECT_FALSE(file_exists("d/xs_old/3/doc.htm"));
  EXPECT_TRUE(file_exists("d/xs_old/3/doc.htm.bak") && file_exists("d/xs_old/3/1.htm"));

  write_file("web.conf", "-w xs_Fit\n-? 3=./d\n" + inc + "\n--\n");
  r = run_brelmot("web.conf '?'");
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "\n\nWeb configuration web.conf seems  o k :\n")) << r.out;
  // The portal, then the four documents in the order of the tree.
  EXPECT_TRUE(file_exists("xs/5/doc.htm"));
  EXPECT_TRUE(has(read_file("xs/2/doc.htm"), "devcon")) << read_file("xs/2/doc.htm").substr(0, 300);
}

// The whole output on a small tree: a name seen twice, titles of nested
// folders, files the configuration does not read, folders and snapshots
// not listed.
TEST(FolderWconf, ExactOutput) {
  testutil::TempDir tmp;
  write_file("t/a.doc", "1");
  write_file("t/x/y/a.doc", "2");
  write_file("t/x/y/B.PDF", "3");
  write_file("t/x/publish/a.htm", "4");
  write_file("t/x/read me", "5");
  fs::create_directories("t/empty");
  auto r = run_brelmot("wconf 7 t/");
  // Its own list is no file of the tree.
  EXPECT_FALSE(has(run_brelmot("wconf 7 .").out, " e 7/tmp_wconf"));
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out,
            "\nsystem: wfind t/ > tmp_wconf\n"
            "\n-e 7/a.doc\n   a\n"
            "\n e 7/x/read me"
            "\n   7/x/y/a.doc\n   7/a.doc (ERROR: mehrfach)\n"
            "\n-e 7/x/y/B.PDF\n   x: y: B\n"
            "\no k  -  deleted were 0 bytes (= 0 MB)\n");
}

TEST(FolderWconf, MissingOrUnreadableFolder) {
  testutil::TempDir tmp;
  auto r = run_brelmot("wconf 3 nothing");
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "User: no such dir: nothing")) << r.out;
  EXPECT_EQ(run_brelmot("wconf x3 d").status, 1);
  if (geteuid() == 0) return;  // the superuser reads every folder
  write_file("locked/xs_w/doc.htm", "x");
  fs::permissions("locked", fs::perms::none);
  r = run_brelmot("wconf 3 locked");
  fs::permissions("locked", fs::perms::owner_all);
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "User: no such dir: locked")) << r.out;
  EXPECT_TRUE(file_exists("locked/xs_w/doc.htm"));
}

// The list that "find" writes, with names no command line could carry:
// each is copied as it is and nothing is run.
TEST(FolderWconfAdd, CopiesListedFilesWhateverTheirNames) {
  testutil::TempDir tmp;
  const std::string odd = "a b \"q\" $HOME; touch PWNED `touch PWNED2`";
  write_file("d/" + odd + "/" + odd + ".doc", "word here");
  write_file("d/plain.rtf", "word too");
  write_file("d/other.txt", "nothing");
  ASSERT_EQ(run_brelmot("find word d > hits").status, 0);
  write_file("hits", read_file("hits") + "\n word: d/../../escape.doc\n word: d/gone.doc\n");
  auto r = run_brelmot("wconf_ADD hits d/ d");
  EXPECT_EQ(r.status, 0) << r.out;
  EXPECT_EQ(read_file("0/hits.dir/" + odd + "/" + odd + ".doc"), "word here");
  EXPECT_EQ(read_file("0/hits.dir/plain.rtf"), "word too");
  EXPECT_FALSE(file_exists("0/hits.dir/other.txt"));
  EXPECT_TRUE(has(r.out, "\n-e 0/plain.rtf\n   plain\n")) << r.out;
  EXPECT_TRUE(has(r.out, "\n-e 0/" + odd + "/" + odd + ".doc\n")) << r.out;
  EXPECT_TRUE(has(r.out, "\nnot found: d/gone.doc")) << r.out;
  EXPECT_FALSE(has(r.out, "escape.doc")) << r.out;
  EXPECT_EQ(read_file("0/hits"), read_file("hits"));
  EXPECT_FALSE(file_exists("PWNED") || file_exists("PWNED2") || file_exists("d/PWNED"));
  EXPECT_EQ(run_brelmot("wconf_ADD nolist d/").status, 1);
}
