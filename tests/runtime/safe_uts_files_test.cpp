// Files and folders of safe_ut: what a thing is, creating, handles, text
// reads, copies, listings, temporary names and settings files.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "runtime/file_ops.h"
#include "runtime/safe_uts.h"
#include "tests/test_util.h"

using testutil::file_exists;
using testutil::read_file;
using testutil::TempDir;
using testutil::write_file;

namespace {
time_t mtime_of(const char* p) {
  struct stat st;
  return stat(p, &st) == 0 ? st.st_mtime : 0;
}
}  // namespace

TEST(SafeFiles, WhatAThingIs) {
  TempDir t;
  safe_ut.ensure_dir("a");
  write_file("f.txt", "x");
  EXPECT_EQ(safe_ut.ok_is_a(""), 'd');
  EXPECT_EQ(safe_ut.ok_is_a(" x"), 'n');
  EXPECT_EQ(safe_ut.ok_is_a(":x"), 'n');
  EXPECT_EQ(safe_ut.ok_is_a("a\\"), 'd');
  EXPECT_EQ(safe_ut.ok_is_a("a//"), 'd');
  EXPECT_EQ(safe_ut.ok_is_a("f.txt"), 'f');
  EXPECT_EQ(safe_ut.ok_is_a("f.txt/x"), 'n');
  errno = 0;
  EXPECT_EQ(safe_ut.ok_is_a("nothing"), 'n');
  EXPECT_EQ(errno, 0);
  EXPECT_TRUE(safe_ut.exists(""));
  EXPECT_TRUE(safe_ut.exists("/"));
  EXPECT_TRUE(safe_ut.exists("\\"));
  EXPECT_TRUE(safe_ut.exists("a\\"));
  EXPECT_FALSE(safe_ut.exists("nothing"));
  EXPECT_EQ(errno, 0);
  EXPECT_EQ(safe_ut.ok_file_len("a"), -1);
  EXPECT_EQ(safe_ut.ok_file_len("f.txt"), 1);
  // With a fixed clock, times read from disk are not later than "now".
  setenv("SOURCE_DATE_EPOCH", "1000", 1);
  EXPECT_EQ(safe_ut.file_time("f.txt"), 1000);
  unsetenv("SOURCE_DATE_EPOCH");
  EXPECT_GT(safe_ut.file_time("f.txt"), 1000);
}

TEST(SafeFiles, CreateLimitsAndBackslashes) {
  TempDir t;
  // A path of exactly 500 characters works, 501 fails.
  std::string dir;
  while (dir.size() < 400) dir += std::string(99, 'd') + "/";
  safe_ut.ensure_dir(dir.c_str());
  std::string n500 = dir + std::string(500 - dir.size(), 'f');
  ASSERT_EQ(n500.size(), 500u);
  FILE* f = safe_ut.create(n500.c_str());
  safe_ut.close_FILE(&f, "test", __LINE__);
  EXPECT_TRUE(file_exists(n500));
  std::string n501 = n500 + "x";
  EXPECT_THROW(safe_ut.create(n501.c_str()), const char*);
  exut.reset_after_failure();
  EXPECT_THROW(safe_ut.create(""), const char*);
  exut.reset_after_failure();
  // "\" is a separator; the stale index companion goes.
  write_file("sub/INDX/f.txt", "old");
  safe_ut.write_text("sub\\f.txt", "new\n");
  EXPECT_EQ(read_file("sub/f.txt"), "new\n");
  EXPECT_FALSE(file_exists("sub/INDX/f.txt"));
  // Below a folder marked as made empty no companion is looked for; a name
  // that climbs out of it, a folder beside it and a change of folder are
  // not covered by the mark.
  write_file("web/INDX/p.htm", "planted");
  write_file("sub/INDX/g.txt", "old");
  write_file("sub/INDX/h.txt", "old");
  safe_ut.made_empty("web/");
  safe_ut.write_text("web/p.htm", "x");
  EXPECT_TRUE(file_exists("web/INDX/p.htm"));
  safe_ut.write_text("web/../sub/g.txt", "x");
  EXPECT_FALSE(file_exists("sub/INDX/g.txt"));
  write_file("webx/INDX/q.htm", "old");
  safe_ut.write_text("webx/q.htm", "x");
  EXPECT_FALSE(file_exists("webx/INDX/q.htm"));
  {
    folder_guard g;
    g.enter("sub", "test");
    g.back("test");
  }
  write_file("web/INDX/p.htm", "planted");
  safe_ut.write_text("web/p.htm", "x");
  EXPECT_FALSE(file_exists("web/INDX/p.htm"));
  safe_ut.write_text("sub/h.txt", "x");
  EXPECT_FALSE(file_exists("sub/INDX/h.txt"));
}

// An edit reads the text as read_text gives it.  Below the marked folder
// the page is rewritten through its own handle; a page with a second name
// there, and every file elsewhere, is replaced whole, so the other name
// keeps its text.
TEST(SafeFiles, EditsRewriteInPlaceOnlyInTheRunsOwnFolder) {
  TempDir t;
  auto inode = [](const char* p) {
    struct stat st;
    return stat(p, &st) == 0 ? st.st_ino : 0;
  };
  auto shout = [](std::string& s) {
    for (char& c : s) c = (char)toupper((unsigned char)c);
  };
  write_file("web/a.htm", "ab\r\ncd\x1a tail");
  write_file("web/b.htm", "a long text that shrinks");
  write_file("web/c.htm", "kept");
  write_file("out.txt", "out");
  ASSERT_EQ(link("web/c.htm", "other.htm"), 0);
  safe_ut.made_empty("web");
  ino_t a = inode("web/a.htm"), o = inode("out.txt");
  EXPECT_TRUE(safe_ut.edit_text("web/a.htm", shout));
  EXPECT_EQ(read_file("web/a.htm"), "AB\nCD");
  EXPECT_EQ(inode("web/a.htm"), a);
  EXPECT_TRUE(safe_ut.edit_text("web/b.htm", [](std::string& s) { s = "short"; }));
  EXPECT_EQ(read_file("web/b.htm"), "short");
  EXPECT_TRUE(safe_ut.edit_text("web/c.htm", shout));
  EXPECT_EQ(read_file("web/c.htm"), "KEPT");
  EXPECT_EQ(read_file("other.htm"), "kept");
  EXPECT_TRUE(safe_ut.edit_text("out.txt", shout));
  EXPECT_EQ(read_file("out.txt"), "OUT");
  EXPECT_NE(inode("out.txt"), o);
  bool called = false;
  EXPECT_FALSE(safe_ut.edit_text("web/none.htm", [&](std::string&) { called = true; }));
  EXPECT_FALSE(safe_ut.edit_text("web", [&](std::string&) { called = true; }));
  EXPECT_FALSE(called);
  safe_ut.made_empty("");
}

TEST(SafeFiles, HandlesAndRecords) {
  TempDir t;
  safe_ut.ensure_dir("d");
  EXPECT_THROW(safe_ut.open_fd("d", 'r', 'B'), const char*);
  exut.reset_after_failure();
  EXPECT_THROW(safe_ut.open_FILE("d", "r"), const char*);
  exut.reset_after_failure();
  EXPECT_EQ(safe_ut.open_fd("d", 'R', 't'), -1);
  EXPECT_EQ(safe_ut.open_fd("missing", 'R', 't'), -1);
  EXPECT_EQ(errno, 0);
  // Records: writing behind the end extends the file; reading behind it
  // leaves the buffer alone.
  int fd = safe_ut.open_fd("rec", 'c', 'B');
  safe_ut.write_at(fd, 10, 2, 4, "WXYZ");
  EXPECT_EQ(safe_ut.len(fd), 22);
  char buf[5] = "....";
  safe_ut.read_at(fd, 10, 2, 4, buf);
  EXPECT_STREQ(buf, "WXYZ");
  memcpy(buf, "....", 4);
  safe_ut.read_at(fd, 10, 5, 4, buf);
  EXPECT_STREQ(buf, "....");
  safe_ut.close_fd(&fd, "test", __LINE__);
  EXPECT_EQ(fd, -1);
  // Handle 1 stays open and the variable keeps its value.
  int one = 1;
  safe_ut.close_fd(&one, "test", __LINE__);
  EXPECT_EQ(one, 1);
  EXPECT_NE(fcntl(1, F_GETFD), -1);
  int none = -1;
  safe_ut.close_fd(&none, "test", __LINE__);
  EXPECT_EQ(none, -1);
}

TEST(SafeFiles, TextReadsFoldLineEndsAndStopAtCtrlZ) {
  TempDir t;
  write_file("t", "a\r\nb\rc\r\n\r\nd\x1a" "after");
  EXPECT_EQ(safe_ut.read_text("t"), "a\nb\rc\n\nd");
  // A CR LF split across two reads is still folded.
  int fd = safe_ut.open_fd("t", 'r', 't');
  std::string got;
  char c2[2];
  int n;
  while ((n = safe_ut.read_fd(fd, c2, 2)) > 0) got.append(c2, (size_t)n);
  EXPECT_EQ(got, "a\nb\rc\n\nd");
  EXPECT_TRUE(safe_ut.eof_fd(fd));
  errno = 0;
  safe_ut.close_fd(&fd, "test", __LINE__);
  // Binary handles and streams opened for reading text.
  fd = safe_ut.open_fd("t", 'r', 'B');
  char raw[4];
  EXPECT_EQ(safe_ut.read_fd(fd, raw, 3), 3);
  EXPECT_EQ(std::string(raw, 3), "a\r\n");
  safe_ut.close_fd(&fd, "test", __LINE__);
  FILE* f = safe_ut.open_FILE("t", "r");
  char line[20];
  ASSERT_TRUE(fgets(line, sizeof line, f));
  EXPECT_STREQ(line, "a\n");
  safe_ut.close_FILE(&f, "test", __LINE__);
}

TEST(SafeFiles, CopiesKeepTimeAndOverwriteReadOnly) {
  TempDir t;
  write_file("src", "data");
  struct timespec ts[2] = {{1000000000, 0}, {1000000000, 0}};
  utimensat(AT_FDCWD, "src", ts, 0);
  write_file("dst", "old");
  chmod("dst", 0444);
  safe_ut.copy_file("dst", "src");
  EXPECT_EQ(read_file("dst"), "data");
  EXPECT_EQ(mtime_of("dst"), 1000000000);
  safe_ut.copy_file_deep("x/y/z", "src");
  EXPECT_EQ(mtime_of("x/y/z"), 1000000000);
  EXPECT_THROW(safe_ut.copy_file("q", "nothing"), const char*);
  exut.reset_after_failure();
  // Tree copies keep times, dot files and empty folders.
  write_file("tree/.dot", "d");
  utimensat(AT_FDCWD, "tree/.dot", ts, 0);
  safe_ut.ensure_dir("tree/empty");
  safe_ut.copy_tree("copy", "tree", 0);
  EXPECT_EQ(read_file("copy/.dot"), "d");
  EXPECT_EQ(mtime_of("copy/.dot"), 1000000000);
  EXPECT_TRUE(file_ops::is_dir("copy/empty"));
}

TEST(SafeFiles, RemovingTrees) {
  TempDir t;
  errno = 0;
  safe_ut.rm_tree("not_there");
  EXPECT_EQ(errno, 0);
  write_file("t/a/b", "x");
  chmod("t/a/b", 0444);
  safe_ut.rm_tree("t");
  EXPECT_FALSE(file_exists("t"));
  safe_ut.rm_and_make_dir("m");
  EXPECT_TRUE(file_ops::is_dir("m"));
  EXPECT_THROW(safe_ut.rm_and_make_dir("."), const char*);
  exut.reset_after_failure();
}

TEST(SafeFiles, RealNameFindsTheSpelling) {
  TempDir t;
  write_file("Docs/Publish/Main.HTM", "x");
  write_file("Docs/exact.htm", "e");
  write_file("Docs/EXACT.htm", "E");
  EXPECT_EQ(safe_ut.real_name("docs/publish/main.htm"), "Docs/Publish/Main.HTM");
  EXPECT_EQ(safe_ut.real_name("docs\\PUBLISH\\main.htm"), "Docs/Publish/Main.HTM");
  EXPECT_EQ(safe_ut.real_name("Docs/exact.htm"), "Docs/exact.htm");
  // Two spellings: no guess.
  EXPECT_EQ(safe_ut.real_name("Docs/Exact.htm"), "Docs/Exact.htm");
  EXPECT_EQ(safe_ut.real_name("none/x"), "none/x");
}

TEST(SafeFiles, ListingsAreSortedPerFolder) {
  TempDir t;
  for (const char* n : {"b", "B", "a_", "A", "_x", "a", "Z"}) write_file(n, "");
  EXPECT_EQ(safe_ut.list_dir("."), (std::vector<std::string>{"_x", "A", "a", "a_", "B", "b", "Z"}));
  EXPECT_TRUE(file_ops::line_less("a/b", "a-c/x"));
  EXPECT_TRUE(file_ops::line_less("a", "a/b"));
  EXPECT_TRUE(file_ops::line_less("A/x", "a/x"));
  EXPECT_FALSE(file_ops::line_less("b", "A/z"));
  // Wildcards match without regard to case, sorted.
  write_file("p/x.HTM", "");
  write_file("p/y.htm", "");
  write_file("p/z.txt", "");
  EXPECT_EQ(file_ops::glob("p/*.htm"), (std::vector<std::string>{"p/x.HTM", "p/y.htm"}));
  EXPECT_EQ(file_ops::glob("p/*.*").size(), 3u);
}

TEST(SafeFiles, TemporaryNamesStayInTheRunsFolder) {
  TempDir t;
  std::string tmp = safe_ut.tmp_dir();
  EXPECT_TRUE(file_ops::is_dir(tmp));
  EXPECT_EQ(safe_ut.os_name("c:\\tmp\\x"), tmp + "/x");
  EXPECT_EQ(safe_ut.os_name("R:"), tmp);
  EXPECT_EQ(safe_ut.os_name("d:/xx/y"), tmp + "/y");
  safe_ut.ensure_dir("R:/sub");
  EXPECT_TRUE(file_ops::is_dir(tmp + "/sub"));
  EXPECT_FALSE(file_exists("R:"));
  const char* a = safe_ut.tmp_name("one");
  EXPECT_EQ(a, safe_ut.tmp_name("one"));
  EXPECT_EQ(std::string(a), tmp + "/tmp_one");
  char name[500];
  FILE* f = safe_ut.tmp_file(name, "rm_");
  safe_ut.close_FILE(&f, "test", __LINE__);
  EXPECT_EQ(std::string(name), tmp + "/rm_/0");
  safe_ut.ensure_dir("nr");
  write_file("nr/" + std::to_string(safe_ut.next_nr), "");
  unsigned n = safe_ut.next_free_nr("nr");
  EXPECT_FALSE(file_exists("nr/" + std::to_string(n)));
}

TEST(SafeFiles, SettingsFiles) {
  TempDir t;
  write_file("settings", "rem x\nset BRELMOT_T1=abc def\n  set BRELMOT_T2=\"q r\"\r\nset =bad\n");
  safe_ut.env_read("settings");
  EXPECT_STREQ(getenv("BRELMOT_T1"), "abc");
  EXPECT_STREQ(getenv("BRELMOT_T2"), "q r");
  EXPECT_STREQ(safe_ut.env_value("settings", "BRELMOT_T2"), "q r");
  EXPECT_THROW(safe_ut.env_value("settings", "BRELMOT_NONE"), const char*);
  exut.reset_after_failure();
}

TEST(SafeFiles, StreamsAndRanges) {
  TempDir t;
  FILE* f = safe_ut.create("s");
  safe_ut.write_FILE(f, "0123\r\n6789", 10);
  EXPECT_EQ(safe_ut.FILE_len(f), 10);
  safe_ut.close_FILE(&f, "test", __LINE__);
  f = safe_ut.open_append("s");
  safe_ut.write_FILE(f, "AB", 2);
  safe_ut.close_FILE(&f, "test", __LINE__);
  // A text stream folds CR LF; its positions count the text as read.
  f = safe_ut.open_FILE("s", "r");
  EXPECT_EQ(safe_ut.FILE_len(f), 11);
  safe_ut.seek(f, 5, SEEK_SET);
  char buf[20] = {0};
  EXPECT_EQ(safe_ut.read_FILE(f, buf, 19), 6);
  EXPECT_STREQ(buf, "6789AB");
  EXPECT_EQ(safe_ut.FILE_pos(f), 11);
  safe_ut.copy_tail("tail", f, 2, "s");
  safe_ut.close_FILE(&f, "test", __LINE__);
  EXPECT_EQ(read_file("tail"), "23\n6789AB");
  safe_ut.copy_range("range", "s", 3, 4);
  EXPECT_EQ(read_file("range"), "3\r\n6");
  int fd = safe_ut.open_fd("w", 'c', 'B');
  safe_ut.write_fd(fd, "xyz", 3);
  EXPECT_EQ(safe_ut.pos(fd), 3);
  safe_ut.close_fd(&fd, "test", __LINE__);
  EXPECT_THROW(safe_ut.open_fd("w", 'C', 'B'), const char*);  // exclusive
  exut.reset_after_failure();
  EXPECT_THROW(safe_ut.open_fd("w", 'r', 'x'), const char*);
  exut.reset_after_failure();
  EXPECT_THROW(safe_ut.open_FILE("no/such/file", "r"), const char*);
  exut.reset_after_failure();
  safe_ut.rename_file("w", "w2");
  EXPECT_EQ(read_file("w2"), "xyz");
  safe_ut.remove_file("w2");
  safe_ut.remove_file("w2");  // gone already: nothing to do
  EXPECT_EQ(errno, 0);
}

TEST(SafeFiles, FoldersAndDeepFiles) {
  TempDir t;
  write_file("d/_", "mine");
  safe_ut.ensure_dir("d");  // the write test leaves a file "_" alone
  EXPECT_EQ(read_file("d/_"), "mine");
  write_file("plain", "");
  EXPECT_THROW(safe_ut.ensure_dir("plain/sub"), const char*);
  exut.reset_after_failure();
  FILE* f = safe_ut.create_deep("a\\b\\c.txt");
  safe_ut.close_FILE(&f, "test", __LINE__);
  EXPECT_TRUE(file_exists("a/b/c.txt"));
  EXPECT_THROW(safe_ut.create_deep("a/b/"), const char*);
  exut.reset_after_failure();
  f = safe_ut.create_in("a", "in.txt");
  safe_ut.close_FILE(&f, "test", __LINE__);
  EXPECT_TRUE(file_exists("a/in.txt"));
  safe_ut.copy_in("d", "a", "in.txt");
  EXPECT_TRUE(file_exists("d/in.txt"));
  safe_ut.copy_to_dir("new", "a/b/c.txt", true, true);
  EXPECT_TRUE(file_exists("new/c.txt"));
  EXPECT_FALSE(file_exists("a/b/c.txt"));
  safe_ut.xcopy_tree("x", "a");
  EXPECT_TRUE(file_exists("x/in.txt"));
  EXPECT_THROW(safe_ut.copy_tree("plain", "a", 0), const char*);  // a folder onto a file
  exut.reset_after_failure();
  EXPECT_THROW(safe_ut.rm_dir("a"), const char*);
  exut.reset_after_failure();
}

TEST(SafeFiles, WalksAndBackUps) {
  TempDir t;
  write_file("src/B.java", "b");
  write_file("src/a/x.JAVA", "x");
  write_file("src/a/y.txt", "y");
  safe_ut.ensure_dir("out");
  EXPECT_EQ(safe_ut.wfind_do("d", "src", "java", "out", "+copy", false), 2);
  EXPECT_TRUE(file_exists("out/B.java"));
  EXPECT_TRUE(file_exists("out/x.JAVA"));
  EXPECT_THROW(safe_ut.wfind_do("x", "src", "java", "", "", true), const char*);
  exut.reset_after_failure();
  EXPECT_EQ(safe_ut.wfind_list("dirs", 0, "src"), 1);
  EXPECT_EQ(read_file("dirs"), "\nsrc/a");
  // A backup goes into a step named after today's date.
  setenv("SOURCE_DATE_EPOCH", "1000000000", 1);  // 2001.09.09
  safe_ut.ensure_dir("bak");
  safe_ut.back_up("src", "bak", 7, "B.java");
  safe_ut.back_up("src", "bak", 4, "a");
  unsetenv("SOURCE_DATE_EPOCH");
  EXPECT_EQ(read_file("bak/2001.09./B.java"), "b");
  EXPECT_EQ(read_file("bak/2001./a/x.JAVA"), "x");
  EXPECT_THROW(safe_ut.back_up("src", "src", 0, "B.java"), const char*);
  exut.reset_after_failure();
}

TEST(SafeFiles, ScriptsTracesAndThePath) {
  TempDir t;
  write_file("a", "A");
  safe_ut.ensure_dir("dir");
  write_file("script", "text\n-/cp b a\n-/cp_into a dir\n-/rm dir2\n");
  safe_ut.ensure_dir("dir2");
  safe_ut.run_script("script");
  EXPECT_EQ(read_file("b"), "A");
  EXPECT_EQ(read_file("dir/a"), "A");
  EXPECT_FALSE(file_exists("dir2"));
  write_file("bad", "-/frobnicate x\n");
  EXPECT_THROW(safe_ut.run_script("bad"), const char*);
  exut.reset_after_failure();
  write_file("trace", "start\nfatal error 1\nline\no k - done\nlast\n");
  safe_ut.trace_extract("trace", "extract");
  EXPECT_EQ(read_file("extract"), "o k - done\nlast\n");
  EXPECT_THROW(safe_ut.trace_extract("no_trace", "x"), const char*);
  exut.reset_after_failure();
  EXPECT_FALSE(safe_ut.find_on_path("sh").empty());
  EXPECT_TRUE(file_ops::is_dir(safe_ut.path_of_self("sh")));
  EXPECT_EQ(safe_ut.path_of_self("brelmot_none"), ".");
  EXPECT_FALSE(safe_ut.on_path("brelmot_none", 0, 0));
  write_file("note", "12345");
  EXPECT_TRUE(safe_ut.notepad_if(2, "note"));
  EXPECT_FALSE(safe_ut.notepad_if(10, "note"));
  EXPECT_FALSE(file_exists("note"));
}
