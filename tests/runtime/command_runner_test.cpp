// The command runner: parsing without a shell, the built-ins, the contract
// of safe_ut.system (capture, echo of error lines, read-back, missing tools).
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

#include <gtest/gtest.h>

#include "runtime/command_line.h"
#include "runtime/file_ops.h"
#include "runtime/run_end.h"
#include "runtime/safe_uts.h"
#include "tests/test_util.h"

using testutil::file_exists;
using testutil::read_file;
using testutil::TempDir;
using testutil::write_file;
using kind = command_line::redir_kind;

namespace {

// Runs f with standard output going to a file, and returns what it printed.
std::string stdout_of(const std::function<void()>& f) {
  fflush(stdout);
  int saved = dup(1);
  char name[] = "/tmp/brelmot_out_XXXXXX";
  int fd = mkstemp(name);
  dup2(fd, 1);
  close(fd);
  try {
    f();
  } catch (...) {
    fflush(stdout);
    dup2(saved, 1);
    close(saved);
    unlink(name);
    throw;
  }
  fflush(stdout);
  dup2(saved, 1);
  close(saved);
  std::string out = read_file(name);
  unlink(name);
  return out;
}

// Runs f in a child process; returns its exit status and what it printed.
std::pair<int, std::string> in_child(const std::function<void()>& f) {
  safe_ut.tmp_dir();  // made here, so that this process removes it, not the child
  char name[] = "/tmp/brelmot_child_XXXXXX";
  int fd = mkstemp(name);
  fflush(stdout);
  fflush(stderr);
  pid_t pid = fork();
  if (pid == 0) {
    dup2(fd, 1);
    dup2(fd, 2);
    int status = 99;
    try {  // as the program's entry does
      f();
    } catch (const run_end& end) {
      status = end.status;
    }
    fflush(stdout);
    _exit(status);
  }
  close(fd);
  int st = 0;
  waitpid(pid, &st, 0);
  std::string out = read_file(name);
  unlink(name);
  return {WIFEXITED(st) ? WEXITSTATUS(st) : -100 - WTERMSIG(st), out};
}

std::vector<std::string> texts(const command_line::stage& s) {
  std::vector<std::string> r;
  for (const auto& w : s.words) r.push_back(w.text);
  return r;
}

}  // namespace

TEST(CommandLine, WordsQuotesAndOptions) {
  command_line cl("xcopy \"my dir\\a b\" x\\y /S/E/R/K/Y /tmp \"/S\" a\"b c\"d");
  ASSERT_TRUE(cl.error.empty());
  ASSERT_EQ(cl.commands.size(), 1u);
  const auto& s = cl.commands[0].stages[0];
  EXPECT_EQ(texts(s), (std::vector<std::string>{"xcopy", "my dir\\a b", "x\\y", "/S/E/R/K/Y", "/tmp", "/S",
                                                "ab cd"}));
  EXPECT_TRUE(s.words[1].quoted);
  EXPECT_TRUE(s.words[3].option);
  EXPECT_FALSE(s.words[4].option);  // an existing path stays a path
  EXPECT_FALSE(s.words[5].option);  // quoted: a word
  // Characters a shell would act on are plain text here.
  command_line odd("type x;touch $HOME `id` 'q' &x");
  EXPECT_EQ(texts(odd.commands[0].stages[0]),
            (std::vector<std::string>{"type", "x;touch", "$HOME", "`id`", "'q'", "&x"}));
}

TEST(CommandLine, RedirectionsPipesAndChains) {
  command_line cl("a 1>o 2> e >> ap <in 2>&1 2>>ea | b x>NUL && c \"q>r\"");
  ASSERT_TRUE(cl.error.empty());
  ASSERT_EQ(cl.commands.size(), 2u);
  const auto& a = cl.commands[0].stages[0];
  EXPECT_EQ(texts(a), (std::vector<std::string>{"a"}));
  ASSERT_EQ(a.redirs.size(), 6u);
  EXPECT_EQ(a.redirs[0].kind, kind::out);
  EXPECT_EQ(a.redirs[0].target, "o");
  EXPECT_EQ(a.redirs[1].kind, kind::err);
  EXPECT_EQ(a.redirs[1].target, "e");
  EXPECT_EQ(a.redirs[2].kind, kind::append);
  EXPECT_EQ(a.redirs[3].kind, kind::in);
  EXPECT_EQ(a.redirs[3].target, "in");
  EXPECT_EQ(a.redirs[4].kind, kind::err_to_out);
  EXPECT_EQ(a.redirs[5].kind, kind::err_append);
  const auto& b = cl.commands[0].stages[1];
  EXPECT_EQ(texts(b), (std::vector<std::string>{"b", "x"}));
  EXPECT_EQ(b.redirs[0].target, "NUL");
  EXPECT_EQ(texts(cl.commands[1].stages[0]), (std::vector<std::string>{"c", "q>r"}));
  // A digit inside a word is no handle; a redirection needs a target.
  command_line d("echo a2>f");
  EXPECT_EQ(texts(d.commands[0].stages[0]), (std::vector<std::string>{"echo", "a2"}));
  EXPECT_FALSE(command_line("echo x >").error.empty());
}

TEST(Builtins, CopyWildcardsConcatenationAndDefaults) {
  TempDir t;
  write_file("src/b.txt", "B");
  write_file("src/A.txt", "A");
  write_file("src/c.dat", "C");
  safe_ut.ensure_dir("dst");
  std::string out = stdout_of([] { safe_ut.system("+copy src\\*.txt dst"); });
  EXPECT_EQ(out, "");  // silent
  EXPECT_EQ(read_file("dst/A.txt"), "A");
  EXPECT_EQ(read_file("dst/b.txt"), "B");
  EXPECT_FALSE(file_exists("dst/c.dat"));
  // a + b c concatenates; a wildcard into one file concatenates in sorted order
  safe_ut.system("+copy src/c.dat + src/A.txt cat1");
  EXPECT_EQ(read_file("cat1"), "CA");
  safe_ut.system("+copy src/*.txt all");
  EXPECT_EQ(read_file("all"), "AB");
  // no destination: the current folder
  safe_ut.system("+copy src/c.dat");
  EXPECT_EQ(read_file("c.dat"), "C");
  // del of a pattern leaves the rest
  safe_ut.system("+DEL dst/*.txt");
  EXPECT_FALSE(file_exists("dst/A.txt"));
  EXPECT_TRUE(file_exists("dst"));
}

TEST(Builtins, TypeGrepSortTail) {
  TempDir t;
  write_file("b.htm", "bee\r\n");
  write_file("A.htm", "ant\n");
  write_file("c.htm", "cat");
  safe_ut.system("+type *.htm > all");
  EXPECT_EQ(read_file("all"), "ant\nbee\r\ncat");
  // grep: fixed text, "\." is a dot, several files give "path:" prefixes
  write_file("l1", "a.xml\naxml\n");
  write_file("l2", "b.XML\nc.xml\n");
  safe_ut.system("+grep \\.xml l1 l2 > hits");
  EXPECT_EQ(read_file("hits"), "l1:a.xml\nl2:c.xml\n");
  safe_ut.system("+grep \\.xml l1 > one");
  EXPECT_EQ(read_file("one"), "a.xml\n");
  // sort by "/" steps: a folder's children follow it directly
  write_file("menu", "a-c/x\nB/y\na/b\nb\nA\na\n");
  safe_ut.system("+sort < menu > sorted");
  EXPECT_EQ(read_file("sorted"), "A\na\na/b\na-c/x\nb\nB/y\n");
  write_file("n", "1\n2\n3\n4\n");
  safe_ut.system("+tail -2 n > last");
  EXPECT_EQ(read_file("last"), "3\n4\n");
}

TEST(Builtins, WfindJacoAndPipes) {
  TempDir t;
  write_file("r/b/x.java", "class X {}");
  write_file("r/a.xml", "<a/>");
  write_file("r/B.java", "class B {}");
  write_file("r/j2h/skip.java", "no");
  safe_ut.ensure_dir("r/empty");
  safe_ut.system("+wfind r > list");
  EXPECT_EQ(read_file("list"), "\nr/a.xml\nr/b\nr/b/x.java\nr/B.java\nr/empty\nr/j2h");
  EXPECT_EQ(safe_ut.wfind_list("list2", 1, "-r/"), 6);
  EXPECT_EQ(read_file("list2"), read_file("list"));
  safe_ut.system("+wfind \"r\" | grep \\.java > javas");
  EXPECT_EQ(read_file("javas"), "r/b/x.java\nr/B.java\n");
  safe_ut.system("+jaco cat .java r r/alles_java");
  EXPECT_EQ(read_file("r/alles_java"), "\nfile: r/b/x.java\nclass X {}\nfile: r/B.java\nclass B {}");
}

TEST(Builtins, FolderWorkChainsAndRedirections) {
  TempDir t;
  safe_ut.system("+mkdir deep/er/still");
  EXPECT_TRUE(file_ops::is_dir("deep/er/still"));
  safe_ut.system("+echo one > f && echo two >> f");
  EXPECT_EQ(read_file("f"), "one\ntwo\n");
  // && stops after a failure; a failing built-in is no failure of the run
  safe_ut.system("+grep nothing f && echo ran > g");
  EXPECT_FALSE(file_exists("g"));
  safe_ut.system("+cp f deep/er && mv deep/er/f deep/moved");
  EXPECT_EQ(read_file("deep/moved"), "one\ntwo\n");
  safe_ut.system_plain("cat nosuch > both 2>&1");
  EXPECT_NE(read_file("both").find("nosuch"), std::string::npos);
  safe_ut.system_plain("cat nosuch 2>&1 > both");  // the error went to the console
  EXPECT_EQ(read_file("both"), "");
  safe_ut.system("+xcopy deep copy/ /S/E/R/K/Y");
  EXPECT_TRUE(file_ops::is_dir("copy/er/still"));
  safe_ut.system("+rm -rf deep copy");
  EXPECT_FALSE(file_exists("deep"));
  EXPECT_FALSE(file_exists("copy"));
  write_file("a", "x");
  safe_ut.system("+type a > NUL");
  EXPECT_FALSE(file_exists("NUL"));
}

TEST(Builtins, DiffsmAndBmp2png) {
  TempDir t;
  write_file("l1", "\nclass A\nclass B\nclass C");
  write_file("l2", "\nclass C\nclass A\nclass D\n");
  safe_ut.system("+diffsm M l1 l2 > d");
  EXPECT_EQ(read_file("d"),
            "3 classes found in l1\n class A\n class B\n class C\n"
            "3 classes found in l2\n class A\n class C\n class D\n"
            "2 classes found in both\n class A\n class C\n"
            "only l1 = 1\nonly l2 = 1\n");
  // A 2 x 2 picture of 24 bits, rows padded to 8 bytes, bottom row first.
  auto le = [](uint32_t v, int n) {
    std::string s;
    for (int i = 0; i < n; i++) s += (char)(v >> (8 * i));
    return s;
  };
  std::string bmp = "BM" + le(70, 4) + le(0, 4) + le(54, 4) + le(40, 4) + le(2, 4) + le(2, 4) + le(1, 2) +
                    le(24, 2) + le(0, 4) + le(16, 4) + std::string(16, '\0');
  bmp += std::string("\0\0\xff\0\xff\0\0\0", 8) + std::string("\xff\0\0\xff\xff\xff\0\0", 8);
  write_file("p.bmp", bmp);
  safe_ut.system("+bmp2png -9 p.bmp && del p.bmp");
  std::string png = read_file("p.png");
  ASSERT_GT(png.size(), 33u);
  EXPECT_EQ(png.substr(1, 3), "PNG");
  EXPECT_EQ(png.substr(12, 4), "IHDR");
  EXPECT_EQ(png[19], 2);  // width 2
  EXPECT_FALSE(file_exists("p.bmp"));
}

TEST(SafeSystem, StrangeNamesNeverRunAnything) {
  TempDir t;
  const char* names[] = {"x; touch PWNED", "$(touch PWNED)", "`touch PWNED`", "a \"b\" & touch PWNED"};
  write_file("x; touch PWNED", "1");
  write_file("$(touch PWNED)", "2");
  write_file("`touch PWNED`", "3");
  for (const char* n : names) {
    std::string c = std::string("+copy \"") + n + "\" copied";
    safe_ut.system(c.c_str());
    c = std::string("+type ") + n + " > typed";
    safe_ut.system(c.c_str());
  }
  EXPECT_EQ(read_file("copied"), "3");
  // An outside program gets the name as one argument, no shell between.
  safe_ut.system("+-ls \"x; touch PWNED\" > listed");
  EXPECT_EQ(read_file("listed"), "x; touch PWNED\n");
  EXPECT_FALSE(file_exists("PWNED"));
}

TEST(SafeSystem, CaptureEchoAndReadBack) {
  TempDir t;
  write_file("xNUL_7", "the user's own file");
  // Only lines with "error" reach the console; the rest stays in the file.
  std::string out = stdout_of([] {
    safe_ut.system("echo an error here");
    safe_ut.system("echo fine");
  });
  EXPECT_EQ(out, "\nsystem: echo an error here\nan error here\n\nsystem: echo fine\n");
  // The output went to one xNUL_ file in the run's own temporary folder;
  // the next command clears it first.  The user's folder is left alone.
  auto captures_in = [](const std::string& dir) {
    int n = 0;
    for (const std::string& f : file_ops::list(dir))
      if (f.compare(0, 5, "xNUL_") == 0) n++;
    return n;
  };
  EXPECT_EQ(captures_in(safe_ut.tmp_dir()), 1);
  EXPECT_EQ(file_ops::list("."), std::vector<std::string>{"xNUL_7"});
  EXPECT_EQ(read_file("xNUL_7"), "the user's own file");
  safe_ut.system("?+echo hello");
  EXPECT_EQ(safe_ut.last_output(), std::string("hello\n"));
  // An empty note is not opened, and nothing is printed.
  write_file("empty", "");
  EXPECT_EQ(stdout_of([] { safe_ut.system("notepad empty"); }), "");
  // A program that starts and fails is no failure of the run.
  EXPECT_EQ(safe_ut.system("+false"), 1);
}

TEST(SafeSystem, MissingToolEndsTheRunOnlyWhenRequired) {
  TempDir t;
  auto r = in_child([] { safe_ut.system("+brelmot_no_such_tool arg"); });
  EXPECT_EQ(r.first, 1);
  EXPECT_NE(r.second.find("\nError: Not on PATH: brelmot_no_such_tool\n"), std::string::npos);
  // Optional tools, pages and scripts never end a run.
  r = in_child([] {
    safe_ut.system("+checkweb xs_web");
    safe_ut.system("+jaco dep .");
    safe_ut.system("+start 1.bat");
    safe_ut.system("+call check_ref x\\1.htm");
    safe_ut.system_plain("brelmot_no_such_tool");
  });
  EXPECT_EQ(r.first, 99);
  EXPECT_EQ(r.second.find("Not on PATH"), std::string::npos);
}

TEST(Builtins, ProgramsInPipesAndRedirections) {
  TempDir t;
  write_file("f", "b\na\n");
  safe_ut.system("+tr a-z A-Z < f > up");  // a program reads a file
  EXPECT_EQ(read_file("up"), "B\nA\n");
  safe_ut.system("+type f | tr a-z A-Z > up2");  // built-in into a program
  EXPECT_EQ(read_file("up2"), "B\nA\n");
  safe_ut.system("+tr a-z A-Z < f | sort > up3");  // program into a built-in
  EXPECT_EQ(read_file("up3"), "A\nB\n");
  // Programs get wildcards expanded unless quoted; their input is empty.
  write_file("x1.txt", "");
  write_file("x2.txt", "");
  safe_ut.system("+ls *.txt > l");
  EXPECT_EQ(read_file("l"), "x1.txt\nx2.txt\n");
  safe_ut.system("+ls \"*.txt\" > l 2> NUL");
  EXPECT_EQ(read_file("l"), "");
  safe_ut.system("+wc -c > n");
  EXPECT_EQ(read_file("n"), "0\n");
}

TEST(Builtins, AttributesFoldersAndListings) {
  TempDir t;
  write_file("s/a", "1");
  write_file("s/d/b", "2");
  safe_ut.system("+attrib +r s/a");
  struct stat st;
  stat("s/a", &st);
  EXPECT_EQ(st.st_mode & 0222, 0u);
  safe_ut.attrib_r("s", nullptr);
  stat("s/a", &st);
  EXPECT_NE(st.st_mode & 0200, 0u);
  // A change of folder holds for the rest of its line only.
  std::string here = safe_ut.cwd();
  safe_ut.system("+cd s\\d && echo x > here");
  EXPECT_EQ(read_file("s/d/here"), "x\n");
  EXPECT_EQ(safe_ut.cwd(), here);
  safe_ut.system_plain("dir s > listing");
  std::string l = read_file("listing");
  EXPECT_NE(l.find("<DIR>          d\n"), std::string::npos);
  EXPECT_NE(l.find(" 1 a\n"), std::string::npos);
  EXPECT_EQ(safe_ut.system_plain("rmdir s"), 1);  // not empty
  EXPECT_EQ(safe_ut.system_plain("rmdir s /s /q"), 0);
  EXPECT_FALSE(file_exists("s"));
}

TEST(SafeSystem, PrefixesAndDisplay) {
  TempDir t;
  showComm = 1;
  std::string conv = stdout_of([] { safe_ut.system("+echo a/b /x"); });
  std::string raw = stdout_of([] { safe_ut.system("+-echo a/b /x"); });
  showComm = 0;
  // Paths are shown with "\", options keep their "/"; "-" keeps all.
  EXPECT_NE(conv.find("\nsystem: echo a\\b /x 2>&1 1> xNUL_"), std::string::npos);
  EXPECT_NE(raw.find("\nsystem: echo a/b /x 2>&1 1> xNUL_"), std::string::npos);
  // What runs is the same: the built-in gets "a/b" either way.
  safe_ut.system("?+echo a/b /x");
  EXPECT_EQ(safe_ut.last_output(), std::string("a/b /x\n"));
  // A second "+" traces the command.
  std::string traced = stdout_of([] { safe_ut.system("++echo t"); });
  EXPECT_EQ(traced.find("\n--> echo t"), 0u);
  EXPECT_NE(traced.find("\n<-- echo t"), std::string::npos);
  // "DEL" and "copy" run with both outputs discarded and no capture.
  std::string del = stdout_of([] { safe_ut.system("DEL no_such_file"); });
  EXPECT_EQ(del, "\nsystem: DEL no_such_file\n");
}

TEST(SafeSystem, HelpersAroundTheRunner) {
  TempDir t;
  safe_ut.ensure_dir("sub");
  safe_ut.doAt("sub", "+echo hi", "o");
  EXPECT_EQ(read_file("sub/o"), "hi\n");
  for (const std::string& f : file_ops::list("sub")) EXPECT_NE(f.compare(0, 4, "xNUL"), 0) << f;
  write_file("m", "move me");
  safe_ut.move_file("m", "sub");
  EXPECT_EQ(read_file("sub/m"), "move me");
  EXPECT_FALSE(file_exists("m"));
  safe_ut.del("sub/m");
  EXPECT_FALSE(file_exists("sub/m"));
  EXPECT_FALSE(safe_ut.tasks_with("brelmot"));
  safe_ut.kill_windows(nullptr, "a~b");
  // The runner's files are gathered at the end: kept when they hold text.
  safe_ut.system("+echo left over");
  std::string out = stdout_of([] { safe_ut.final_xNUL(); });
  EXPECT_EQ(out, "\nxNUL = 10\n\n");
  EXPECT_EQ(read_file("xNUL"), "left over\n");
  for (const std::string& f : file_ops::list(".")) EXPECT_NE(f.compare(0, 5, "xNUL_"), 0) << f;
  remove("xNUL");
  stdout_of([] { safe_ut.final_xNUL(); });
  EXPECT_FALSE(file_exists("xNUL"));
}

TEST(Builtins, StatusesAndOptions) {
  TempDir t;
  write_file("f", "Alpha\nbeta\nGamma\n");
  EXPECT_EQ(safe_ut.system_plain("grep -i ALPHA f > o"), 0);
  EXPECT_EQ(read_file("o"), "Alpha\n");
  EXPECT_EQ(safe_ut.system_plain("grep -v a f > o"), 1);  // every line has an "a"
  EXPECT_EQ(safe_ut.system_plain("grep -c a f > o"), 0);
  EXPECT_EQ(read_file("o"), "3\n");
  EXPECT_EQ(safe_ut.system_plain("grep x missing 2> NUL"), 2);
  EXPECT_EQ(safe_ut.system_plain("rm nothing 2> NUL"), 1);
  EXPECT_EQ(safe_ut.system_plain("rm -f nothing"), 0);
  EXPECT_EQ(safe_ut.system_plain("copy f f"), 0);  // onto itself: unchanged
  EXPECT_EQ(read_file("f"), "Alpha\nbeta\nGamma\n");
  write_file("p/a.htm", "a");
  write_file("p/b.txt", "b");
  EXPECT_EQ(safe_ut.system_plain("xcopy p\\*.htm q\\ /Y"), 0);
  EXPECT_EQ(file_ops::list("q"), std::vector<std::string>{"a.htm"});
  EXPECT_EQ(safe_ut.system_plain("copy nothing x 2> NUL"), 1);
  EXPECT_EQ(safe_ut.system_plain("mkdir f 2> NUL"), 1);  // a file of that name
  EXPECT_EQ(safe_ut.system_plain("echo x >"), 1);        // no target
}
