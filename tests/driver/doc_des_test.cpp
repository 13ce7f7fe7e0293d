// The web configuration, document intake and the texts made into pages:
// in-process through DocDes where the tables matter, and from the command
// line where the output and the exit status are what a user sees.
#include "driver/doc_des.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "runtime/exec_ut.h"
#include "tests/test_util.h"

namespace fs = std::filesystem;
using testutil::file_exists;
using testutil::read_file;
using testutil::run_brelmot;
using testutil::write_file;

namespace {

using testutil::count_of;
using testutil::has;

const char snapshot[] =
    "<html><head><meta http-equiv=Content-Type content=\"text/html; charset=windows-1252\">\n"
    "<title>T</title>\n<style>\n<!--\nh1\n\t{font-size:16.0pt;}\n-->\n</style></head>\n"
    "<body lang=EN-GB><div class=Section1>\n<h1>1 Intro</h1>\n"
    "<p class=MsoNormal>The desk keeps C_Customer records.</p>\n</div></body></html>\n";

std::string exe_dir() { return fs::path(BRELMOT_EXE).parent_path().string(); }

// A Word document with its snapshot.
void word_doc(const std::string& path) {
  write_file(path, "{\\rtf1 x}\n");
  fs::path p(path);
  write_file((p.parent_path() / "publish" / p.stem()).string() + ".htm", snapshot);
}

// The value of `key` in one of the trees of DocDes, "-" when it is absent.
std::string in(Btree& t, const std::string& key) { return tree_value(t, key).value_or("-"); }



// The installation beside the built program is found through PATH.
class InProcess : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* p = getenv("PATH");
    old_path = p ? p : "";
    setenv("PATH", (exe_dir() + ":" + old_path).c_str(), 1);
  }
  void TearDown() override { setenv("PATH", old_path.c_str(), 1); }
  std::string old_path;
  testutil::TempDir tmp;
};

using ConfLanguage = InProcess;
using Intake = InProcess;
using Enhance = InProcess;

TEST_F(ConfLanguage, ValidLinesFillTheTables) {
  word_doc("a.rtf");
  write_file("docs/b.pdf", "%PDF-1.4\n");
  write_file("notes.txt", "1 Notes\n");
  fs::create_directories("src");
  setenv("BRELMOT_T_ENV", "/reports", 1);
  write_file("wconf",
             "A comment line.\n"
             "-w xs_My Web~The Title~+sub The Subtitle~\n"
             "-? 1=./\n-? 99=./docs\n-? s=file://server/share\n"
             "-o oneDoc\n-o noedit\n-o noCards\n-p 2\n-k Service=S_\n-k Actor\n"
             "-c Checkout?D_( Ordering )\n-H Overview\n-D My Documents\n-m\n-t Customer\n"
             "-F Common\n   . Glossary: glossary\n   .. Terms:\n   .\n"
             "-L s:/x/y.htm\n   Shared page\n-L http://example.org\n"
             "-R http://reuse.example.org\n   Reuse one\n   Reuse two\n"
             "-e 1/a.rtf\n   First Title\n   =Second Title\n   k alias1\n"
             "-e 99/b.pdf\n   Printable\n"
             "-a 1/notes.txt\n   Notes\n   s Changes:\n"
             "-j 1/src\n   The Code\n"
             "-j TestReport=BRELMOT_T_ENV/rep.htm\n"
             "-[\n-x hidden lines are not read\n-]\n"
             "--\n-x behind the end line\n");
  DocDes d;
  EXPECT_EQ(d.read_webConfiguration("wconf", "?", "?"), 1);
  unsetenv("BRELMOT_T_ENV");
  EXPECT_EQ(d.web.errors, 0);
  EXPECT_EQ(d.web.web_pos, "xs_My_Web");
  EXPECT_EQ(d.web.web_name, "My_Web");
  EXPECT_EQ(d.web.web_title, "The Title");
  EXPECT_EQ(d.web.web_subtitle, "The Subtitle");
  EXPECT_TRUE(fs::is_directory("xs_My_Web"));
  EXPECT_EQ(d.web.prefix[99], "docs");
  EXPECT_EQ(d.web.drives['s' - 'a'], "file://server/share");
  EXPECT_EQ(d.web.oneDoc + d.web.noCards, 2);
  EXPECT_EQ(d.web.edit, 0);
  EXPECT_EQ(d.web.hotspots_off, 2);
  EXPECT_EQ(d.web.menu, 0);
  EXPECT_EQ(d.web.k_entries, (std::vector<std::string>{"Service", "S_", "Actor", "Actor"}));
  ASSERT_EQ(d.web.c_pairs.size(), 1u);
  EXPECT_EQ(d.web.c_pairs[0].second, "D_( Ordering )");
  EXPECT_EQ(d.web.docs_title, "My Documents");
  EXPECT_EQ(d.web.topics, std::vector<std::string>{"Customer"});
  EXPECT_EQ(d.web.test_report, "file:///reports/rep.htm");

  // Topic sub-lines: an empty one is skipped, "." marks a continuation.
  ASSERT_EQ(d.web.folders.size(), 2u);
  EXPECT_EQ(*d.web.folders[0].label, "Glossary");
  EXPECT_EQ(d.web.folders[0].phrase, "glossary");
  EXPECT_EQ(d.web.folders[1].mark, '.');
  EXPECT_EQ(d.web.folders[1].phrase, "Terms");
  EXPECT_EQ(in(d.web.topic_tree, "1/"), "Common");

  // Link texts; a path on a mapped drive gets the drive's prefix.
  EXPECT_EQ(in(d.web.links, "L Shared page"), "file://server/share/x/y.htm");
  EXPECT_EQ(in(d.web.links, "L http://example.org"), "http://example.org");
  EXPECT_EQ(in(d.web.links, "R Reuse one") + in(d.web.links, "R Reuse two"),
            "http://reuse.example.orghttp://reuse.example.org");

  // The portal comes first by itself; then the documents in line order.
  ASSERT_EQ(d.web.docs, 6);
  EXPECT_TRUE(d.web.comms[1].src.find("/doc/WebRoot.rtf") != std::string::npos);
  EXPECT_EQ(d.web.comms[1].title, "This Project's Web Portal Page");
  const DocDes::comm& a = d.web.comms[2];
  EXPECT_EQ(a.com, 'e');
  EXPECT_EQ(a.title, "First Title");
  EXPECT_EQ(a.direct, 1);
  EXPECT_EQ(in(d.web.titles, "Second Title"), "2");
  EXPECT_EQ(d.web.aliases, std::vector<std::string>{"2~alias1"});
  EXPECT_TRUE(file_exists("xs/2/doc.htm"));
  EXPECT_TRUE(file_exists("xs/2/xxx.css"));
  EXPECT_EQ(d.web.comms[3].com, 'n');
  EXPECT_EQ(d.web.comms[3].title, "Printable (pdf)");
  EXPECT_TRUE(file_exists("xs/3/b.pdf"));
  EXPECT_EQ(in(d.web.targets, "D_(b.pdf)"), "3/b.pdf");
  EXPECT_EQ(d.web.comms[4].starts, std::list<std::string>{"Changes:"});
  EXPECT_EQ(d.web.comms[5].com, 'j');
  EXPECT_EQ(d.web.comms[5].title, "The Code");
}

TEST_F(ConfLanguage, PortalIsInsertedOnceAndNotInCleanMode) {
  // (Clean mode on a configuration that names the portal itself would find
  // the installation's own snapshot: those are never removed.)
  word_doc("a.rtf");
  write_file("w1", "-w xs_P\n-e 0/doc/WebRoot.rtf\n   Portal\n-e ./a.rtf\n   A\n--\n");
  DocDes d;
  EXPECT_EQ(d.read_webConfiguration("w1", "?", "?"), 1);
  EXPECT_EQ(d.web.docs, 3);
  EXPECT_EQ(d.web.comms[1].title, "Portal");
  EXPECT_EQ(d.web.comms[2].title, "A");

  write_file("w2", "-e ./a.rtf\n   A\n--\n");
  DocDes e;
  EXPECT_EQ(e.read_webConfiguration("w2", "clean", "clean"), 0);
  EXPECT_EQ(e.web.docs, 2);
  EXPECT_FALSE(fs::exists("publish"));
}

TEST(ConfLanguageCli, EveryFaultIsPrintedCountedAndReadingGoesOn) {
  testutil::TempDir tmp;
  word_doc("w/ok.rtf");
  write_file("w/x.vsd", "v");
  write_file("w/noext", "n");
  write_file("w/nosnap.rtf", "r");
  write_file("w/wconf",
             "-w web\n"                         // 1 not xs_
             "-w xs_W\n"
             "-? 0=./\n"                        // 2 prefix 0 is the installation's
             "-? 100=./\n"                      // 3 100 is refused
             "-? 5 ./\n"                        // 4 no "="
             "-? 1=w\n"                         // 5 neither drive nor ".." nor "/"
             "-? 2=./missing\n"                 // 6 no such folder
             "-? q=server\n"                    // 7 not a network drive
             "-? 1=./\n"
             "-x\n"                             // 8 undefined command
             "-c NoQuestionMark\n"              // 9
             "-o sideways\n"                    // 10
             "-e 7/a.rtf\n   A\n"               // 11 prefix 7 not set
             "-e 1/../w:x/a.rtf\n   B\n"        // 12 ":" behind a prefix
             "-e 1/absent.rtf\n   C\n"          // 13 not found
             "-e 1/noext\n   D\n"               // 14 no extension
             "-e 1/x.vsd\n   E\n"               // 15 not yet htm
             "-e 1/nosnap.rtf\n   F\n"          // 16 no snapshot
             "-e 1/ok.rtf\n   F\n"              // 17 title used twice
             "-n 1/ok.rtf\n"                    // not counted: no title
             "-j 7/src\n"                       // 18 unknown prefix
             "-j 1/nosrc\n"                     // 19 no folder, 20 untitled
             "-j Links=1/nolinks\n"             // 21
             "--\n");
  auto r = run_brelmot("w '?'", "PATH=/usr/bin:/bin");
  EXPECT_EQ(r.status, 1) << r.out;
  for (const char* msg :
       {"Web position must be named xs_...", "[1..100] followed by '='. pos = ",
        "-? does not start with \"../\" or a drive letter.", "\nconf Error: not found: w/missing",
        "-? q.. is not a spec of a network drive", "-x is an undefined command.",
        "Path prefix not specified.", "path not correct", "not found: w/absent.rtf",
        "no extension in path w/noext", "Viso file not yet htm:",
        "not found: w/publish/nosnap.htm", "AppError, used more than once: F",
        "No semi title for this file.", "-j 7/src does not use an abbreviation",
        "No such folder: [w/nosrc]", "Untitled code: [w/nosrc]",
        "User's error: does not exist: w/nolinks"})
    EXPECT_TRUE(has(r.out, msg)) << msg << "\n" << r.out;
  EXPECT_EQ(count_of(r.out, "[1..100]"), 3) << r.out;
  // All in one run; the title line missing is said but not counted.
  EXPECT_TRUE(has(r.out, "\n\nStop: Please correct w/wconf,\nit contains 21 errors described above.\n"))
      << r.out;
  // Reading went on behind the faults: the last document was cleaned.
  EXPECT_TRUE(file_exists("xs/6/doc.htm"));

  // A missing include ends the run before any line is read.
  write_file("w/wconf", "-w xs_W\n-i none\n-x\n--\n");
  r = run_brelmot("w '?'");
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "\nAppError: Cannot find include file: none\n")) << r.out;
  EXPECT_FALSE(has(r.out, "undefined command"));
}

// The web position is one folder beside the configuration: a name that
// would reach another folder is refused as a counted fault, and no folder
// is made for it, here or above.
TEST(ConfLanguageCli, WebPositionIsOneFolderName) {
  testutil::TempDir tmp;
  fs::create_directories("a/b/c");
  fs::current_path("a/b/c");
  for (std::string pos : {"xs_../../../X~T", "xs_Y/Z", "xs_Y\\Z", "xs_Y..Z~T~Sub"}) {
    write_file("w/wconf", "-w " + pos + "\n--\n");
    auto r = run_brelmot("w");
    EXPECT_EQ(r.status, 1) << pos << r.out;
    EXPECT_TRUE(has(r.out, "\nApp error: -w " + pos + "\n           Web position must be named xs_...\n"))
        << r.out;
    EXPECT_TRUE(has(r.out, "it contains 1 errors")) << r.out;
  }
  std::vector<std::string> here;
  for (const auto& e : fs::directory_iterator("."))
    if (e.is_directory()) here.push_back(e.path().filename());
  std::sort(here.begin(), here.end());
  EXPECT_EQ(here, (std::vector<std::string>{"w", "xs"}));
  for (const char* dir : {"..", "../..", "../../.."}) {
    int n = 0;
    for (const auto& e : fs::directory_iterator(dir)) n += e.is_directory() ? 1 : 100;
    EXPECT_EQ(n, 1) << dir;
  }
}

TEST(ConfLanguageCli, IncludesTakeTheTextBetweenTheMarks) {
  testutil::TempDir tmp;
  write_file("w/inc", "Preamble with -x inside a line\n-t From Include\n-i nested\n#\n-x behind the stop\n");
  write_file("w/wconf", "-w xs_I\n-i inc\n-t Own\n--\n");
  auto r = run_brelmot("w '?'");
  std::string tmpf = read_file("xs/webConf.tmp");
  EXPECT_TRUE(has(tmpf, "\n-t From Include\n-i nested\n-t Own")) << tmpf;
  EXPECT_FALSE(has(tmpf, "Preamble"));
  EXPECT_FALSE(has(tmpf, "behind the stop"));
  // Includes do not nest: the inner line is an unknown command.
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "-i is an undefined command.")) << r.out;
  EXPECT_TRUE(has(r.out, "it contains 1 errors")) << r.out;
}

TEST(Endings, CleanCheckNoDocumentAndBuild) {
  testutil::TempDir tmp;
  word_doc("w/a.rtf");
  // A snapshot is found by a unique match that differs in case only.
  write_file("w/Mixed.rtf", "{\\rtf1 x}\n");
  write_file("w/publish/MIXED.HTM", snapshot);
  write_file("w/wconf", "-w xs_E\n-? 1=./\n-e 1/a.rtf\n   A\n-e 1/Mixed.rtf\n   M\n--\n");

  auto r = run_brelmot("w '?'");
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "\n\nWeb configuration w/wconf seems  o k :\nall the files meant to be "
                         "published exist.\n"));
  // The configuration's own page under both spellings, and its companions.
  EXPECT_TRUE(has(read_file("xs/webConf.htm"), "Click here for a Command Reference"));
  EXPECT_EQ(read_file("xs/webconf.htm"), read_file("xs/webConf.htm"));
  EXPECT_TRUE(fs::is_symlink("xs/webconf.htm"));
  EXPECT_GT(fs::file_size("xs/commands"), 100u);
  EXPECT_TRUE(file_exists("xs/coref.txt"));
  EXPECT_TRUE(has(read_file("xs/1.htm"), "URL=1/1.htm"));

  r = run_brelmot("w");
  EXPECT_EQ(r.status, 0) << r.out;
  EXPECT_TRUE(has(r.out, "\no k  -  Web is xs_E")) << r.out;

  fs::remove_all("xs_E");
  r = run_brelmot("w/wconf clean");
  EXPECT_EQ(r.status, 0) << r.out;
  EXPECT_TRUE(has(r.out, "\no k  -  all publish folders removed [ w/wconf ]\n"));
  EXPECT_FALSE(fs::exists("w/publish"));
  EXPECT_FALSE(fs::exists("xs_E"));
  EXPECT_TRUE(fs::is_directory("xs"));

  write_file("t/wconf", "-w xs_T\n-? 1=./\n-F Topics\n   . All: a\n--\n");
  r = run_brelmot("t");
  EXPECT_EQ(r.status, 0);
  EXPECT_TRUE(has(r.out, "\no k  -  Now call xs to open your web index\n"));
  // A configuration of topics only gets its topic pages.
  EXPECT_TRUE(fs::exists("xs/Lo_foT.htm"));
  EXPECT_TRUE(fs::exists("xs/context.htm"));
}

TEST_F(Intake, FolderPatternListsItsFilesOnAPage) {
  write_file("pics/a.gif", "GIF");
  write_file("pics/b, c.JPG", "JPG");
  write_file("pics/page.htm", "<html><head><title> Page Title </title></head><body>x</body></html>");
  write_file("pics/skip.xyz", "x");
  write_file("pics/.hidden.gif", "x");
  fs::create_directories("pics/sub.gif");
  write_file("wconf", "-w xs_F\n-? 1=./\n-e 1/pics/*\n   Pictures\n--\n");
  DocDes d;
  EXPECT_EQ(d.read_webConfiguration("wconf", "?", "?"), 1);
  EXPECT_EQ(d.web.errors, 0);
  std::string page = read_file("xs/2/src.htm");
  EXPECT_TRUE(has(page, "<h1><center>Pictures</center></h1>"));
  EXPECT_TRUE(has(page, "\n<br><a href=\"a.gif\">a.gif</a>"));
  EXPECT_TRUE(has(page, "\n<br><a href=\"b_c.JPG\">b, c.JPG</a>"));
  EXPECT_TRUE(has(page, "\n<br><a href=\"page.htm\">Page Title</a>"));
  EXPECT_FALSE(has(page, "skip") || has(page, "hidden") || has(page, "sub.gif"));
  EXPECT_TRUE(file_exists("xs/2/b_c.JPG"));
  EXPECT_EQ(d.web.comms[2].com, 'h');
  EXPECT_TRUE(file_exists("xs/2/doc.htm"));
}

// Names of the files of a pattern are data on its page.
TEST_F(Intake, PatternPageEscapesNamesAndTitle) {
  write_file("pics/<b>&\"x'.gif", "GIF");
  write_file("wconf", "-w xs_F\n-? 1=./\n-e 1/pics/*\n   Q&A <Pictures>\n--\n");
  DocDes d;
  EXPECT_EQ(d.read_webConfiguration("wconf", "?", "?"), 1);
  std::string page = read_file("xs/2/src.htm");
  EXPECT_TRUE(has(page, "<title>Q&amp;A &lt;Pictures&gt;</title>")) << page;
  EXPECT_TRUE(has(page, "<h1><center>Q&amp;A &lt;Pictures&gt;</center></h1>")) << page;
  EXPECT_TRUE(has(page, "\n<br><a href=\"&lt;b&gt;&amp;&quot;x&#39;.gif\">&lt;b&gt;&amp;\"x'.gif</a>"))
      << page;
  EXPECT_FALSE(has(page, "<b>"));
  EXPECT_TRUE(file_exists("xs/2/<b>&\"x'.gif"));
}

TEST_F(Intake, HtmSourceBringsItsClosure) {
  write_file("web/top.htm",
             "<html><body><a href=\"top.htm#x\">me</a> <a HREF=b.html>b</a>\n"
             "<a href='c.PDF'>c</a> <a href=\"http://ext.org/x\">e</a> <a href=\"mailto:m@x\">m</a>\n"
             "<a href=\"missing.htm\">?</a> <a href=\"src.htm\">s</a> <img SRC=\"img/P.GIF\"></body></html>\n");
  write_file("web/b.html", "<html><body><a href=\"top.htm\">back</a> <img src=\"img/P.GIF\"></body></html>\n");
  write_file("web/c.PDF", "%PDF");
  write_file("web/img/P.GIF", "GIF");
  write_file("web/src.htm", "<html><body>s</body></html>");
  write_file("wconf", "-w xs_H\n-? 1=./\n-e 1/web/top.htm\n   Top\n--\n");
  testing::internal::CaptureStdout();
  DocDes d;
  int rc = d.read_webConfiguration("wconf", "?", "?");
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(rc, 1);
  // Two pages, each walked once although they reference each other.
  EXPECT_EQ(count_of(out, "htm_closure: "), 2) << out;
  EXPECT_TRUE(has(out, "\nno_src: ")) << out;
  std::string top = read_file("xs/2/top.htm");
  EXPECT_TRUE(has(top, "href=\"top.htm#x\""));
  EXPECT_TRUE(has(top, "href=\"_2_1.htm\"")) << top;
  EXPECT_TRUE(has(top, "src=\"pic/p.gif\"")) << top;
  EXPECT_TRUE(has(top, "href=\"mailto:m@x\""));
  EXPECT_TRUE(has(top, "href=\"src.htm\""));
  EXPECT_TRUE(has(read_file("xs/2/_2_1.htm"), "href=\"top.htm\""));
  EXPECT_TRUE(file_exists("xs/2/pic/p.gif"));
  EXPECT_TRUE(file_exists("xs/2/_2_2.pdf"));
  EXPECT_FALSE(file_exists("xs/2/src.htm"));
  EXPECT_EQ(in(d.web.internet, "http://ext.org/x"), tmp.path() + "/web/top.htm");
  EXPECT_EQ(d.web.comms[2].com, 'h');
  EXPECT_EQ(fs::current_path().string(), tmp.path());
}

TEST_F(Intake, PageHelpers) {
  DocDes d;
  write_file("p.htm", "<HTML><HEAD><TITLE>x</TITLE></HEAD>\n<BODY><P>Body <B>stays</B></P></BODY></HTML>");
  d.tocMark_htm("p.htm", "q.htm");
  EXPECT_EQ(read_file("q.htm"),
            "<hTML><head><title></title><tITLE>x</tITLE></hEAD>\n<BODY><P>Body <B>stays</B></P></BODY></HTML>");
  write_file("n.htm", "<html>no body</html>");
  EXPECT_THROW(d.tocMark_htm("n.htm", "q.htm"), const char*);
  exut.reset_after_failure();

  write_file("s.htm", "<html><head><style>\n<!--\n p.x\n\t{color:red;}\n h2\n\t{font-size:9pt;}\n-->\n</style>"
                      "</head><body><p>x</p></body></html>");
  d.extract_css("s.css", "s.htm");
  EXPECT_EQ(read_file("s.css"), "\n p.x\n\t{color:red;}\n\np.h2\n\t{font-size:9pt;}\n");
  write_file("t.htm", "<title>  </title>");
  EXPECT_EQ(d.extract_title("dflt", "t.htm"), "dflt");

  d.web.prefix[3] = "/data/docs";
  d.web.prefix_set[3] = true;
  EXPECT_EQ(*d.abs_path("3/a\\b.rtf", d.web.remarks), "/data/docs/a/b.rtf");
  EXPECT_EQ(*d.abs_path("plain/x.rtf", d.web.remarks), "plain/x.rtf");
  EXPECT_FALSE(d.abs_path("3/c:/x.rtf", d.web.remarks));
  EXPECT_FALSE(d.abs_path("4/x.rtf", d.web.remarks));
  EXPECT_EQ(d.web.errors, 2);
  EXPECT_THROW(d.fetch_pics(), const char*);
  exut.reset_after_failure();
}

// Paths, titles and urls longer than a tree key, and a value longer than a
// tree value: the run goes on as with short ones, and no tree speaks.
TEST_F(Intake, LongPathsTitlesAndUrlsPassSilently) {
  std::string seg(120, 'd');
  std::string deep = seg + "/" + seg + "/" + seg;
  std::string title;
  for (int i = 0; i < 40; i++) title += "Title word ";
  title.pop_back();
  std::string url = "http://ext.org/" + std::string(300, 'q');
  std::string huge = "http://huge.org/" + std::string(1100, 'u');
  word_doc(deep + "/long.rtf");
  write_file(deep + "/top.htm", "<html><body><a href=\"" + url + "\">x</a> <a href=\"top.htm\">me</a></body></html>");
  write_file("wconf", "-w xs_L\n-? 1=./\n"
                      "-e 1/" + deep + "/long.rtf\n   " + title + "\n"
                      "-e 1/" + deep + "/long.rtf\n   " + title + "\n"
                      "-e 1/" + deep + "/top.htm\n   Top\n"
                      "-L " + huge + "\n"
                      "-e 7/" + deep + "/none.rtf\n   None\n--\n");
  testing::internal::CaptureStdout();
  {
    DocDes d;
    EXPECT_EQ(d.read_webConfiguration("wconf", "?", "?"), 1);
    EXPECT_EQ(d.web.errors, 2);
    EXPECT_EQ(in(d.web.titles, title), "2");
    EXPECT_EQ(in(d.web.titles, title + " [3]"), "3");
    EXPECT_EQ(in(d.web.internet, url), tmp.path() + "/" + deep + "/top.htm");
    EXPECT_EQ(in(d.visited, tmp.path() + "/" + deep + "/top.htm"), "");
    EXPECT_EQ(in(d.web.links, "L " + huge), huge.substr(0, Btree::max_data));
    EXPECT_EQ(in(d.web.remarks, "-e 7/" + deep + "/none.rtf"), "?Path prefix not specified");
  }
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_TRUE(has(out, "AppError, used more than once: " + title)) << out;
  EXPECT_FALSE(has(out, "Btree") || has(out, "LDataNr") || has(out, "call_nr")) << out;
}

TEST_F(Enhance, TextMarksMakeHeadingsAndParagraphs) {
  write_file("t.txt",
             "preamble\n!!-\ndropped one\n!!+\n"
             "1 First\nText a:\nlower b:\n\n\n2.1 Second\nx <y> \xe1 .\n[?+]\n<b>raw</b>\n[?-]\n"
             "1.5 not ascending\n\nChanges:\n!!-\ndropped two\n");
  DocDes d;
  std::list<std::string> starts{"Changes:"};
  d.enhance_to_htm(&starts, "t.txt", "t.htm", nullptr, true);
  std::string h = read_file("t.htm");
  EXPECT_TRUE(has(h, "\n<body><aa><pre>\n<aa>\n</pre><h2>1 First</h2><pre>")) << h;
  EXPECT_FALSE(has(h, "preamble") || has(h, "dropped"));
  EXPECT_TRUE(has(h, "\n<br><b>Text a:</b><br>")) << h;
  EXPECT_TRUE(has(h, "\n<br>lower b:") && !has(h, "<b>lower"));
  EXPECT_TRUE(has(h, "<br><br>\n</pre><h2>2.1 Second</h2><pre>")) << h;
  EXPECT_TRUE(has(h, "x &lt;y&gt; &beta;.")) << h;
  // Raw text stays; behind a line ending in "." a list line gets a break.
  EXPECT_TRUE(has(h, "\n<b>raw</b><br>\n<br>1.5 not ascending<br>"));
  EXPECT_TRUE(has(h, "<h2>Changes:</h2>"));
  EXPECT_TRUE(has(h, "\n<aa>\n</p></span></font></pre></body></html>\n"));
  EXPECT_TRUE(starts.empty());
}

// Every fixture saved by a word processor passes as the snapshot of a
// document: brought to windows-1252, cleaned, its styles extracted.
TEST(Fixtures, EverySnapshotPassesTheCheck) {
  testutil::TempDir tmp;
  std::string conf = "-w xs_Fix\n-? 1=./\n";
  int n = 0;
  for (const auto& e : fs::directory_iterator(testutil::fixtures_dir() + "/word-html")) {
    std::string ext = e.path().extension().string();
    if (ext != ".htm" && ext != ".html") continue;
    std::string stem = e.path().stem().string();
    fs::create_directories("d/publish");
    fs::copy_file(e.path(), "d/publish/" + stem + ".htm");
    fs::permissions("d/publish/" + stem + ".htm", fs::perms::owner_write, fs::perm_options::add);
    write_file("d/" + stem + ".rtf", "{\\rtf1 x}\n");
    conf += "-e 1/" + stem + ".rtf\n   " + stem + "\n";
    n++;
  }
  ASSERT_GT(n, 10);
  write_file("d/wconf", conf + "--\n");
  auto r = run_brelmot("d '?'");
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "seems  o k")) << r.out.substr(r.out.size() > 3000 ? r.out.size() - 3000 : 0);
  for (int i = 2; i <= n + 1; i++)
    EXPECT_GT(fs::file_size("xs/" + std::to_string(i) + "/doc.htm"), 100u) << i;
}

// A missing snapshot is made by the office suite when it is on PATH; here a
// stand-in that writes what the suite writes.
TEST(IntakeCli, MissingSnapshotIsMadeByTheOfficeSuite) {
  testutil::TempDir tmp;
  write_file("bin/soffice",
             "#!/bin/sh\n"
             "out=\"$5\"; b=$(basename \"$6\"); s=\"${b%.*}\"\n"
             "printf '<html><head><title>m</title></head><body><p>made by the suite</p>"
             "<img src=\"%s_html_1.png\"></body></html>' \"$s\" > \"$out/$s.html\"\n"
             "printf PNG > \"$out/${s}_html_1.png\"\n");
  fs::permissions("bin/soffice", fs::perms::owner_exec, fs::perm_options::add);
  write_file("w/made.rtf", "{\\rtf1 x}\n");
  write_file("w/wconf", "-w xs_M\n-? 1=./\n-e 1/made.rtf\n   Made\n--\n");
  auto r = run_brelmot("w '?'", "PATH=" + tmp.path() + "/bin:/usr/bin:/bin");
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "seems  o k")) << r.out;
  EXPECT_TRUE(has(read_file("w/publish/made.htm"), "made by the suite"));
  EXPECT_TRUE(file_exists("w/publish/made_files/x_scr_html_1.png"));
  EXPECT_TRUE(has(read_file("xs/2/doc.htm"), "made by the suite"));

  // Without the suite the snapshot stays missing: a counted error.
  fs::remove_all("w/publish");
  r = run_brelmot("w '?'", "PATH=/usr/bin:/bin");
  EXPECT_TRUE(has(r.out, "not found: w/publish/made.htm")) << r.out;
  EXPECT_TRUE(has(r.out, "it contains 1 errors"));
}

TEST(IntakeCli, StrangeNamesRunNothing) {
  testutil::TempDir tmp;
  const std::string name = "a b \"q\" $HOME; touch PWNED `touch PWNED2`";
  word_doc("w/" + name + ".rtf");
  write_file("w/wconf", "-w xs_S\n-? 1=./\n-e 1/" + name + ".rtf\n   Strange\n--\n");
  auto r = run_brelmot("w '?'");
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "seems  o k")) << r.out;
  EXPECT_FALSE(file_exists("PWNED") || file_exists("PWNED2") || file_exists("w/PWNED"));
  EXPECT_TRUE(file_exists("xs/2/doc.htm"));
}

TEST(Installation, FoundThroughPathOrBesideTheProgram) {
  testutil::TempDir tmp;
  fs::create_directories("bin");
  fs::copy_file(BRELMOT_EXE, "bin/brelmot");
  write_file("w/wconf", "-w xs_N\n--\n");
  auto r = run_brelmot("w '?'", "PATH=/usr/bin:/bin");
  EXPECT_EQ(r.status, 1);  // beside the program
  EXPECT_TRUE(has(r.out, "seems  o k")) << r.out;

  std::string cmd = "PATH=/usr/bin:/bin ./bin/brelmot w '?' 2>&1";
  FILE* p = popen(cmd.c_str(), "r");
  std::string out;
  char buf[4096];
  size_t k;
  while ((k = fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, k);
  int st = pclose(p);
  EXPECT_EQ(WEXITSTATUS(st), 1);
  EXPECT_TRUE(has(out, "User: Installation folder ut_brelmot is not subfolder of a PATH folder."))
      << out;

  fs::create_directories("inst/ut_brelmot");
  fs::copy(exe_dir() + "/ut_brelmot", "inst/ut_brelmot", fs::copy_options::recursive);
  r = run_brelmot("w '?'", "PATH=/nowhere:" + tmp.path() + "/inst:/usr/bin:/bin");
  EXPECT_TRUE(has(r.out, "\nInstallation path = " + tmp.path() + "/inst\n")) << r.out;
}

TEST(Sample, ConfigurationOfTheExamplePasses) {
  testutil::TempDir tmp;
  auto r = run_brelmot(std::string(BRELMOT_SOURCE_ROOT) + "/examples/sample '?'");
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "seems  o k")) << r.out;
}

}  // namespace
