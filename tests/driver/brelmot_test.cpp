// The program from the command line, as a user runs it: usage, exit status,
// the document commands.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/test_util.h"

namespace fs = std::filesystem;
using testutil::read_file;
using testutil::run_brelmot;
using testutil::write_file;

namespace {

TEST(Entry, UsageAndStatus) {
  testutil::TempDir tmp;
  auto r = run_brelmot("");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("--  Syntax 1:"), std::string::npos);
  EXPECT_NE(r.out.find("--  Syntax B:"), std::string::npos);
  EXPECT_NE(r.out.find("Ensure:"), std::string::npos);
  auto q = run_brelmot("'?x'");
  EXPECT_EQ(q.status, 1);
  EXPECT_EQ(q.out, r.out);
  // Prefixes are cut in their order; the usage still answers "?".
  auto p = run_brelmot("'showComm.traceMe.?'");
  EXPECT_EQ(p.status, 1);
  EXPECT_NE(p.out.find("--  Syntax 9:"), std::string::npos);
}

TEST(Entry, WconfNeedsANumberAndAFolder) {
  testutil::TempDir tmp;
  auto w = run_brelmot("wconf abc dir");
  EXPECT_EQ(w.status, 1);
  EXPECT_NE(w.out.find("\nerror: not this Syntax: brelmot wconf dirNr dir\n"), std::string::npos);
  EXPECT_EQ(run_brelmot("wconf 3").status, 1);
}

TEST(Entry, MkrootFailsWithAReport) {
  testutil::TempDir tmp;
  auto r = run_brelmot("mkroot");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("fatal error"), std::string::npos) << r.out;
}

TEST(Commands, Alias) {
  testutil::TempDir tmp;
  auto r = run_brelmot("alias old new/page.htm");
  ASSERT_EQ(r.status, 0) << r.out;
  EXPECT_EQ(read_file("old.htm"),
            "\n<html><head><meta HTTP-EQUIV=\"refresh\"\n content=\"0;URL=new/page.htm\"></meta>"
            "</head><body></body></html>");
  EXPECT_EQ(run_brelmot("alias onlyone").status, 1);
}

// A target is data in the page: it cannot close the attribute and add tags.
TEST(Commands, AliasTargetStaysInItsAttribute) {
  testutil::TempDir tmp;
  auto r = run_brelmot("alias page '\"><script>alert(1)</script>'");
  ASSERT_EQ(r.status, 0) << r.out;
  std::string page = read_file("page.htm");
  EXPECT_EQ(page.find("<script"), std::string::npos) << page;
  EXPECT_NE(page.find(" content=\"0;URL=&quot;&gt;&lt;script&gt;alert(1)&lt;/script&gt;\">"),
            std::string::npos)
      << page;
}

TEST(Commands, HeadersListsTitlesAndLinksThem) {
  testutil::TempDir tmp;
  write_file("doc.htm",
             "<html><body lang=EN>\n<h1>1 Intro&quot;x&quot;</h1><p>t</p>\n"
             "<h2><span>1.1</span> Scope</h2>\n<h3>Deep</h3></body></html>");
  auto r = run_brelmot("headers doc");
  ASSERT_EQ(r.status, 0) << r.out;
  EXPECT_NE(r.out.find("\no k  -  see result in doc.hds\n"), std::string::npos);
  EXPECT_EQ(read_file("doc.hds"), "\n.  Intro\"x\"\n.  .  Scope\n.  .  .  Deep");
  std::string page = read_file("doc.hds.htm");
  EXPECT_NE(page.find("\n<BODY>\n<br/><a href=\"#h1\">Intro\"x\"</a>"), std::string::npos) << page;
  EXPECT_NE(page.find("\n<a name=h2></a><h2>"), std::string::npos);
  EXPECT_NE(run_brelmot("headers missing").status, 0);
}

TEST(Commands, UniteJoinsPartsAndTheirPictures) {
  testutil::TempDir tmp;
  write_file("d/pre_1.htm", "<html><head><title>t</title></head><body>\nONE <img src=\"pre_1_files/a.gif\">\n</body></html>");
  write_file("d/pre_1_files/a.gif", "GIF");
  write_file("d/pre_2.htm", "<html><head><title>u</title></head><BODY lang=x>\nTWO\n</BODY></html>");
  write_file("d/other.htm", "<body>NOT</body>");
  auto r = run_brelmot("unite d pre");
  ASSERT_EQ(r.status, 0) << r.out;
  EXPECT_NE(r.out.find("\nok: 2 documents united to d/pre.htm\n"), std::string::npos) << r.out;
  std::string u = read_file("d/pre.htm");
  EXPECT_EQ(u.find("NOT"), std::string::npos);
  EXPECT_LT(u.find("ONE"), u.find("TWO"));
  EXPECT_EQ(u.find("<title>u"), std::string::npos);  // the second head is left out
  EXPECT_NE(u.find("pre_files/a.gif"), std::string::npos);
  EXPECT_TRUE(fs::exists("d/pre_files/a.gif"));
  EXPECT_EQ(u.substr(u.size() - 16), "\n</body></html>\n");

  // No parts: a warning, and the output does not stay behind.
  write_file("e/x.htm", "old");
  write_file("e/pre.htm", "old");
  auto n = run_brelmot("unite e pre");
  EXPECT_EQ(n.status, 0);
  EXPECT_NE(n.out.find("W a r n i n g :  There are no files e/pre_*.htm"), std::string::npos);
  EXPECT_FALSE(fs::exists("e/pre.htm"));
}

TEST(Commands, UniteInPublishNeedsTheSources) {
  testutil::TempDir tmp;
  write_file("doc/publish/g_1.htm", "<body>A</body>");
  write_file("doc/g_1.rtf", "{\\rtf1}");
  write_file("doc/publish/g_2.htm", "<body>B</body>");
  auto r = run_brelmot("unite doc/publish g");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("\nerror: document not found: "), std::string::npos) << r.out;
  write_file("doc/G_2.DOC", "x");  // found whatever the letter case
  auto ok = run_brelmot("unite doc/publish g");
  EXPECT_EQ(ok.status, 0) << ok.out;
  EXPECT_TRUE(fs::exists("doc/publish/g.sum"));
}

TEST(Commands, PublishWritesTheScript) {
  testutil::TempDir tmp;
  write_file("t/A.doc", "x");
  write_file("t/sub/b.RTF", "x");
  write_file("t/sub/c.txt", "x");
  write_file("t/publish/old.doc", "x");  // snapshots are never sources
  auto r = run_brelmot("publish t");
  ASSERT_EQ(r.status, 0) << r.out;
  EXPECT_NE(r.out.find("the generated script is:  exp_htm.js  (2 docs)."), std::string::npos);
  std::string js = read_file("exp_htm.js");
  EXPECT_EQ(js.find("\nvar app = new ActiveXObject( \"Word.Application.12\" );\napp.Visible = true;\n"), 0u);
  EXPECT_NE(js.find("app.Documents.Open( \"t/A.doc\", 1, 1 );\napp.ActiveDocument.SaveAs( \"t/publish/A.htm\", 8 );"),
            std::string::npos) << js;
  EXPECT_NE(js.find("\"t/sub/b.RTF\""), std::string::npos);
  EXPECT_EQ(js.find("old.doc"), std::string::npos);
  EXPECT_TRUE(fs::is_directory("t/sub/publish"));
  EXPECT_EQ(js.substr(js.size() - 12), "\napp.Quit();");
  EXPECT_EQ(run_brelmot("publish nowhere").status, 1);
}

// The script with the text of its string literals left out, as the script
// language reads them: a backslash escapes the next character; a line end
// inside a literal, which the language refuses, is kept as "!".
std::string outside_strings(const std::string& js) {
  std::string r;
  bool in = false;
  for (size_t i = 0; i < js.size(); i++) {
    char c = js[i];
    if (!in) {
      in = c == '"';
      r += c;
    } else if (c == '\\') {
      i++;
    } else if (c == '"') {
      in = false;
      r += c;
    } else if (c == '\n') {
      r += '!';
    }
  }
  return r;
}

int count_in(const std::string& text, const std::string& part) {
  int n = 0;
  for (size_t k = text.find(part); k != std::string::npos; k = text.find(part, k + 1)) n++;
  return n;
}

// Names of the tree are data in the script: each stays inside its string
// literal, whatever quotes, backslashes or line ends it holds.
TEST(Commands, PublishKeepsStrangeNamesInTheirStrings) {
  testutil::TempDir tmp;
  write_file("t/a\"b.doc", "x");
  write_file("t/c\"); app.Quit(); (\".doc", "x");
  write_file("t/line\nbreak.rtf", "x");
  auto r = run_brelmot("publish t");
  ASSERT_EQ(r.status, 0) << r.out;
  EXPECT_NE(r.out.find("(3 docs)"), std::string::npos) << r.out;
  std::string js = read_file("exp_htm.js");
  EXPECT_NE(js.find("\napp.Documents.Open( \"t/a\\\"b.doc\", 1, 1 );\n"
                    "app.ActiveDocument.SaveAs( \"t/publish/a\\\"b.htm\", 8 );\n"),
            std::string::npos)
      << js;
  EXPECT_NE(js.find("\"t/c\\\"); app.Quit(); (\\\".doc\""), std::string::npos) << js;
  EXPECT_NE(js.find("\"t/line\\nbreak.rtf\""), std::string::npos) << js;
  // Read as the script language reads it: no literal runs over a line end,
  // and outside the literals stand three documents and one quit.
  std::string code = outside_strings(js);
  EXPECT_EQ(code.find('!'), std::string::npos) << js;
  EXPECT_EQ(count_in(code, "app.Documents.Open("), 3) << code;
  EXPECT_EQ(count_in(code, "app.Quit()"), 1) << code;
  EXPECT_EQ(count_in(js, "\n"), 3 + 3 * 5 + 1) << js;
}

TEST(Commands, DirCleanRemovesPublishFoldersOnly) {
  testutil::TempDir tmp;
  write_file("w/wconf", "never read\n");
  write_file("w/a/publish/x.htm", "x");
  write_file("w/b/c/publish/y.htm", "y");
  write_file("w/b/keep.htm", "k");
  auto r = run_brelmot("w clean");
  ASSERT_EQ(r.status, 0) << r.out;
  EXPECT_NE(r.out.find("\no k  -  no publish in w\n"), std::string::npos) << r.out;
  EXPECT_FALSE(fs::exists("w/a/publish"));
  EXPECT_FALSE(fs::exists("w/b/c/publish"));
  EXPECT_TRUE(fs::exists("w/b/keep.htm"));
  EXPECT_FALSE(fs::exists("xx_tmp"));
}

TEST(Commands, PruneDropsLicenceBlocks) {
  testutil::TempDir tmp;
  write_file("w/wconf", "a\n/*\n * The Apache licence\n * more\n */\nb\n/* other */\nc\n");
  auto r = run_brelmot("w prune");
  ASSERT_EQ(r.status, 0) << r.out;
  EXPECT_EQ(read_file("w/wconf.see"), "a\n\nb\n/* other */\nc\n");
  write_file("v/wconf", "a\n/*\n * The Apache licence\nno end\n");
  EXPECT_EQ(run_brelmot("v prune").status, 1);
}

TEST(Commands, NamesWithShellCharactersAreJustNames) {
  testutil::TempDir tmp;
  std::string odd = "a b'c\"$(touch PWNED);x";
  write_file(odd + "/publish/p.htm", "x");
  auto r = run_brelmot("'" + std::string("a b'\\''c\"$(touch PWNED);x") + "' clean");
  EXPECT_EQ(r.status, 0) << r.out;
  EXPECT_FALSE(fs::exists(odd + "/publish"));
  EXPECT_FALSE(fs::exists("PWNED"));
}

}  // namespace
