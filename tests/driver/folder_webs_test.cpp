// "brelmot pub_alle" starts this same program for each web of its list;
// "brelmot update" writes the command reference and the executable into the
// installation.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/test_util.h"

namespace fs = std::filesystem;
using testutil::file_exists;
using testutil::has;
using testutil::read_file;
using testutil::run_brelmot;
using testutil::write_file;

TEST(FolderPubAlle, EachWebThroughThisProgram) {
  testutil::TempDir tmp;
  write_file("wconfKOBEL", "-w xs_KOBEL\n-x wrong\n--\n");
  // No "brelmot" on PATH: the program starts itself by its own path.
  auto r = run_brelmot("pub_alle", "PATH=/usr/bin:/bin");
  EXPECT_EQ(r.status, 0) << r.out;
  size_t at = 0;
  for (const char* web : {"Lumerado", "KOBEL", "TARN", "VELT", "oMinz", "J2EE"}) {
    std::string name = web;
    size_t pub = r.out.find("\npub " + name + "\n\nsystem: brelmot wconf" + name + " - > x_" + name +
                                "\n\nsystem: tail -12 x_" + name + "\n",
                            at);
    ASSERT_NE(pub, std::string::npos) << name << r.out;
    size_t ok = r.out.find("\n\no k  -  see results in xs_" + name + "\n", pub);
    ASSERT_NE(ok, std::string::npos) << name;
    at = ok;
    EXPECT_TRUE(file_exists("x_" + name));
  }
  EXPECT_TRUE(has(read_file("x_TARN"), "User's error: no such file: wconfTARN"));
  // The tail of the web's run reaches the console.
  EXPECT_TRUE(has(read_file("x_KOBEL"), "Stop: Please correct wconfKOBEL"));
  EXPECT_TRUE(has(r.out, "-x is an undefined command.")) << r.out;
  EXPECT_TRUE(has(r.out.substr(at), "\nsystem: xs_TARN/1/1.htm\n"));
}

class FolderUpdate : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories("inst/ut_brelmot/doc");
    write_file("wconfMuster_1", "intro\n/* the samples\n   skipped\n-w xs_One\n-e 1/a.doc\n--\nbehind\n");
    write_file("wconfMuster_2", "/*\n\n-w xs_Two\n");
    env = "PATH=" + tmp.path() + "/bin:" + tmp.path() + "/inst:/usr/bin:/bin";
  }
  testutil::TempDir tmp;
  std::string env;
};

TEST_F(FolderUpdate, WithoutPackers) {
  auto r = run_brelmot("update", env);
  EXPECT_EQ(r.status, 0) << r.out;
  std::string inst = tmp.path() + "/inst/ut_brelmot";
  EXPECT_EQ(read_file(inst + "/doc/sample_1"), "-w xs_One\n-e 1/a.doc");
  EXPECT_EQ(read_file(inst + "/doc/sample_2"), "-w xs_Two\n");
  EXPECT_EQ(read_file(inst + "/doc/commands"), "-w xs_One\n-e 1/a.doc-w xs_Two\n");
  EXPECT_EQ(fs::file_size(inst + "/brelmot"), fs::file_size(BRELMOT_EXE));
  EXPECT_TRUE(has(r.out, "\nuses or zipe not on PATH: the sources are not packed\n")) << r.out;
  EXPECT_TRUE(has(r.out, "\no k  -  Installation " + inst + " updated.\n")) << r.out;
  EXPECT_FALSE(file_exists(inst + "/src"));

  fs::remove("wconfMuster_2");
  r = run_brelmot("update", env);
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "User: no such file: wconfMuster_2")) << r.out;
}

TEST_F(FolderUpdate, PackersOnPath) {
  write_file("bin/uses", "#!/bin/sh\necho \"$@\" > used\n");
  write_file("bin/zipe", "#!/bin/sh\necho zip > \"$1.zip\"\n");
  for (const char* t : {"bin/uses", "bin/zipe"})
    fs::permissions(t, fs::perms::owner_exec, fs::perm_options::add);
  auto r = run_brelmot("update", env);
  EXPECT_EQ(r.status, 0) << r.out;
  EXPECT_EQ(read_file("used"), "brelmot sources\n");
  EXPECT_EQ(read_file("inst/ut_brelmot/src/sources.zip"), "zip\n");
  EXPECT_FALSE(has(r.out, "not on PATH")) << r.out;
}
