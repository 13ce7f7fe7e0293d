// The walk of a source tree: which files are taken, the names of the Java
// pages, the selection, the control file and the removal of stale code
// webs.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>

#include "tests/codeweb/codeweb_util.h"

using namespace testutil;
using cwtest::build;
namespace fs = std::filesystem;

namespace {

void java(const std::string& path, const std::string& package) {
  write_file(path, (package.empty() ? "" : "package " + package + ";\n") + "public class X {\n}\n");
}

}  // namespace

TEST(CodeWebWalk, TreeWithoutSourcesGivesACompleteWebWithEmptyLists) {
  TempDir t;
  fs::create_directories("src/empty");
  auto r = cwtest::run_j2h("src");
  EXPECT_EQ(r.status, 0) << r.out;
  EXPECT_TRUE(has(r.out, "o k  -  see 1.bat")) << r.out;
  for (const char* f : {"f.htm", "packages.htm", "pack.htm", "classes.htm", "docu.htm", "1.htm", "ourDoc.htm",
                        "docu_files", "cppsecs", "j2h.css", "dep.htm", "jscr.htm", "htm.htm", "css.htm"})
    EXPECT_TRUE(file_exists(std::string("src/j2h/") + f)) << f;
  EXPECT_TRUE(has(read_file("src/j2h/classes.htm"), "0 Classes"));
  EXPECT_TRUE(has(read_file("src/j2h/1.htm"), "0 Source Files as of"));
  EXPECT_TRUE(file_exists("1.bat"));
  // The run's marks beside the sources are gone again.
  EXPECT_FALSE(file_exists("src/tables.xxx"));
  EXPECT_FALSE(file_exists("src/alles_cpp"));
}

TEST(CodeWebWalk, UsageAndMissingRoot) {
  TempDir t;
  auto r = cwtest::run_j2h("");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(count_of(r.out, "\n"), 1) << r.out;
  EXPECT_TRUE(has(r.out, "usage: j2h"));
  r = cwtest::run_j2h("'[T]nowhere=x'");
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "User: No such folder: nowhere")) << r.out;
}

TEST(CodeWebWalk, ExtensionsTakenIgnoredOnceOrNotNoticed) {
  TempDir t;
  java("src/a/A.java", "a");
  write_file("src/a/r.xyz", "1");
  write_file("src/b/R.XYZ", "22");
  write_file("src/b/s.longer", "333");
  write_file("src/b/page.htm", "<p>x</p>");
  write_file("src/c/m.cpp", "int main() {}\n");
  write_file("src/c/t.INL", "inline\n");
  write_file("src/c/r.mdl", "model\n");
  std::string out = build("src", nullptr, [](Java2Htm& w) {
    // The C++ files concatenated for the readers; kinds by extension, none
    // for text pages and the model stream.
    EXPECT_EQ(read_file("src/alles_cpp"), "\nfile: src/c/m.cpp\nint main() {}\n");
    std::vector<std::pair<std::string, int>> rows;
    for (int n = 1; n <= w.cfNr; n++) rows.push_back({w.fPath[n], w.fKind[n]});
    std::vector<std::pair<std::string, int>> want = {
        {"p0001.src/a", 1}, {"c0002.src/a/a.java", 1}, {"src/c/m.cpp", 5}, {"src/c/t.inl", 5}};
    EXPECT_EQ(rows, want);
    EXPECT_EQ(read_file("xx_ALLRose"), "model\n");
    Btree_st st;
    ASSERT_TRUE(w.sizes.Get(".xyz", st));
    EXPECT_STREQ(st.c, "3");
    EXPECT_FALSE(w.sizes.Get(".longer", st));
  });
  EXPECT_EQ(count_of(out, "\nignored: *.xyz"), 1) << out;
  EXPECT_FALSE(has(out, "longer"));
  EXPECT_TRUE(file_exists("src/j2h/htms/1.htm"));
}

TEST(CodeWebWalk, SkippedPlacesAndStaleCodeWebs) {
  TempDir t;
  java("src/report.old/Old.java", "x");
  java("src/bin/Bin.java", "x");
  java("src/ok/Ok.java", "ok");
  fs::create_directories("src/folder.java");
  // A code web of an older run, a look-alike, and a user's folder "j2h".
  write_file("src/sub/j2h/f.htm", "old");
  write_file("src/sub/j2h/j2h.css", "old");
  write_file("src/j2h_old/f.htm", "keep");
  write_file("src/mine/j2h/notes.txt", "keep");
  write_file("src/j2h/stale.htm", "from before");
  build("src", nullptr, [](Java2Htm& w) {
    int java = 0;
    for (int n = 1; n <= w.cfNr; n++)
      if (w.fPath[n][0] == 'c') java++;
    EXPECT_EQ(java, 1);
  });
  EXPECT_FALSE(file_exists("src/sub/j2h"));
  EXPECT_TRUE(file_exists("src/j2h_old/f.htm"));
  EXPECT_TRUE(file_exists("src/mine/j2h/notes.txt"));
  EXPECT_FALSE(file_exists("src/j2h/stale.htm"));
  EXPECT_TRUE(file_exists("src/j2h/f.htm"));
}

// Page names come from the sorted walk: the same tree written in any order
// gets the same names; two paths that differ only in case are two files;
// the last file of the listing is taken.
TEST(CodeWebWalk, NumberingFollowsTheSortedWalk) {
  std::vector<std::string> keys[2];
  for (int round = 0; round < 2; round++) {
    TempDir t;
    std::vector<std::string> files = {"src/b/B.java", "src/a/Z.java", "src/a/z.java", "src/a/M.java", "src/zz/Last.java"};
    if (round == 1) std::reverse(files.begin(), files.end());
    for (auto& f : files) java(f, "p");
    build("src", nullptr, [&](Java2Htm& w) {
      for (int n = 1; n <= w.cfNr; n++) keys[round].push_back(w.fPath[n] + " " + w.fReal[n].substr(w.fReal[n].rfind('/') + 1));
    });
    EXPECT_TRUE(file_exists("src/j2h/c0008.htm"));
  }
  EXPECT_EQ(keys[0], keys[1]);
  ASSERT_EQ(keys[0].size(), 8u);
  EXPECT_EQ(keys[0][0].substr(0, 11), "p0001.src/a");
  EXPECT_EQ(keys[0][1], "c0002.src/a/m.java M.java");
  EXPECT_EQ(keys[0][2], "c0003.src/a/z.java Z.java");
  EXPECT_EQ(keys[0][3], "c0004.src/a/z.java z.java");
  EXPECT_EQ(keys[0][7], "c0008.src/zz/last.java Last.java");
}

TEST(CodeWebWalk, SelectionFiltersEveryFileSeeEntriesOnlyJavaFolders) {
  TempDir t;
  java("src/keep/K.java", "keep");
  java("src/drop/D.java", "drop");
  write_file("src/keep/k.htm", "x");
  write_file("src/drop/d.htm", "x");
  build("src=keep", nullptr, [](Java2Htm& w) {
    EXPECT_EQ(w.cfNr, 2);
    EXPECT_EQ(w.selection, "keep");
  });
  EXPECT_TRUE(file_exists("src/j2h/htms/1.htm"));
  EXPECT_FALSE(file_exists("src/j2h/htms/2.htm"));

  // "s" entries of a control file: Java folders only; the other files stay.
  write_file("src/web.j2h/control", "-s keep\n-0 Zero\n-2 Two\n-3 Three\n-L http://x/y\nLabel\n-D know.htm\n");
  build("src/web.j2h", nullptr, [](Java2Htm& w) {
    EXPECT_EQ(w.root, "src");
    EXPECT_EQ(w.cfNr, 2);
    EXPECT_EQ(w.titles[2], "Three");
  });
  EXPECT_TRUE(file_exists("src/j2h/htms/2.htm"));
  std::string title = read_file("src/j2h/1.htm");
  EXPECT_TRUE(has(title, "Zero") && has(title, "Three") && !has(title, "Two")) << title;
  EXPECT_TRUE(has(read_file("src/j2h/ourDoc.htm"), "<a href=\"http://x/y\" TARGET=\"frame3\">Label</a>"));
  EXPECT_TRUE(has(read_file("src/j2h/classes.htm"), "href=\"know.htm\""));

  write_file("src/web.j2h/control", "-Q what\n");
  std::string out = failure_of([] {
    Java2Htm w;
    w.make_htm_dir("j2h", "src/web.j2h", nullptr, nullptr);
  });
  EXPECT_TRUE(has(out, "-Q what")) << out;
}

// Names from the file system are data: they get pages, nothing runs.
TEST(CodeWebWalk, StrangeNamesGetPagesAndRunNothing) {
  TempDir t;
  const std::string odd = "src/a b \"q\" $HOME ;touch pwned; `touch pwned2`/-lead.java";
  java(odd, "");
  write_file("src/x;y/-s $x.htm", "<b>");
  fs::create_symlink("..", "src/loop");
  std::string out = build("src");
  EXPECT_TRUE(file_exists("src/j2h/c0002.htm"));
  EXPECT_TRUE(file_exists("src/j2h/htms/1.htm"));
  EXPECT_TRUE(has(read_file("src/j2h/htm.htm"), "-s $x.htm"));
  EXPECT_FALSE(file_exists("pwned"));
  EXPECT_FALSE(file_exists("pwned2"));
  EXPECT_FALSE(file_exists("src/pwned"));
}

// A pipe, binary text, CR-only line ends, Ctrl-Z and empty files: named or
// shown, never a hang or a failure.
TEST(CodeWebWalk, OddInputsAreShownOrNamed) {
  TempDir t;
  fs::create_directories("src/w");
  ASSERT_EQ(mkfifo("src/w/pipe.htm", 0644), 0);
  write_file("src/w/bin.htm", std::string("a\0b<\x01\xff", 6));
  write_file("src/w/cr.css", "a\rb\rc\r");
  write_file("src/w/z.js", "x\x1ay<");
  write_file("src/w/empty.js", "");
  std::string out = build("src");
  EXPECT_TRUE(has(out, "not readable, skipped: src/w/pipe.htm")) << out;
  EXPECT_EQ(read_file("src/j2h/htms/1.htm").find(std::string("a\0b&lt;", 6)) != std::string::npos, true);
  EXPECT_TRUE(has(read_file("src/j2h/htms/2.htm"), "a\rb\rc\r"));
  EXPECT_FALSE(has(read_file("src/j2h/htms/4.htm"), "y&lt;"));  // Ctrl-Z ends the text
  EXPECT_TRUE(file_exists("src/j2h/htms/3.htm"));
}

TEST(CodeWebWalk, ArchiveModeCopiesTheTreeOnly) {
  TempDir t;
  java("src/a/A.java", "a");
  write_file("src/a/notes.txt", "n");
  java("src/a.old/B.java", "b");
  fs::create_directories("arch");
  std::string out = build("src", "arch");
  EXPECT_TRUE(has(out, "o k  -  Archive = arch")) << out;
  EXPECT_EQ(read_file("arch/a/notes.txt"), "n");
  EXPECT_TRUE(file_exists("arch/a/A.java"));
  EXPECT_FALSE(file_exists("arch/a.old"));
  EXPECT_FALSE(file_exists("src/j2h/classes.htm"));
}

TEST(CodeWebWalk, FileTableKeepsTheFirstKind) {
  Java2Htm w;
  int a = w.srcfile(__LINE__, "x/a.c", Java2Htm::k_c);
  EXPECT_EQ(w.srcfile(__LINE__, "x/b.jsp", Java2Htm::k_jsp), a + 1);
  EXPECT_EQ(w.srcfile(__LINE__, "x/a.c", Java2Htm::k_php), a);
  EXPECT_EQ(w.fKind[a], Java2Htm::k_c);
  std::string longer(300, 'x');
  int l = w.srcfile(__LINE__, longer.c_str(), Java2Htm::k_c);
  EXPECT_EQ(w.srcfile(__LINE__, longer.c_str(), Java2Htm::k_c), l);
  EXPECT_STREQ(Java2Htm::nr2(12345), "123/45");
  EXPECT_STREQ(Java2Htm::strNr2(7, "cob/"), "cob/0/7");
}
