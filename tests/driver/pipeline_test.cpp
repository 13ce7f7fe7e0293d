// The whole document pipeline, run as a user runs it: registration, cards,
// link creation, the section pages and the pages derived from them, on a
// small web written here and on a web of every real Word snapshot.  Until
// a build ends with the web moved to its position and status 0.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <sstream>
#include <string>

#include "tests/test_util.h"

namespace fs = std::filesystem;
using testutil::read_file;
using testutil::run_brelmot;
using testutil::write_file;

namespace {

using testutil::count_of;
using testutil::has;

const char* const day1 = "SOURCE_DATE_EPOCH=1700000000";  // 2023.11.14
const char* const day2 = "SOURCE_DATE_EPOCH=1700086400";  // 2023.11.15


std::string env(const char* date) {
  std::string dir = fs::path(BRELMOT_EXE).parent_path().string();
  return std::string("PATH=") + dir + ":/usr/bin:/bin LC_ALL=C TZ=UTC " + date;
}

// A build that went through the whole pass: the one-line message, status 2,
// and no failure report of the tracker.
void expect_full_pass(const testutil::RunResult& r) {
  EXPECT_EQ(r.status, 0) << r.out.substr(r.out.size() > 3000 ? r.out.size() - 3000 : 0);
  EXPECT_TRUE(has(r.out, "\no k  -  Web is xs_")) << r.out;
  EXPECT_FALSE(has(r.out, "fatal error")) << r.out;
  EXPECT_FALSE(has(r.out, "error -->")) << r.out;
}

// Every file below `root` with its contents, by relative path.
std::map<std::string, std::string> tree_of(const std::string& root) {
  std::map<std::string, std::string> files;
  for (const auto& e : fs::recursive_directory_iterator(root))
    if (e.is_regular_file())
      files[fs::relative(e.path(), root).string()] = read_file(e.path().string());
  return files;
}

// A snapshot as the word processor saves it, with `body` inside.
std::string snapshot(const std::string& title, const std::string& body) {
  return "<html xmlns:v=\"urn:schemas-microsoft-com:vml\"\n"
         "xmlns:o=\"urn:schemas-microsoft-com:office:office\"\n"
         "xmlns:w=\"urn:schemas-microsoft-com:office:word\"\n"
         "xmlns=\"http://www.w3.org/TR/REC-html40\">\n<head>\n"
         "<meta http-equiv=Content-Type content=\"text/html; charset=windows-1252\">\n"
         "<meta name=ProgId content=Word.Document>\n<title>" +
         title +
         "</title>\n<style>\n<!--\n p.MsoNormal, li.MsoNormal, div.MsoNormal\n"
         "\t{margin:0cm;\n\tmargin-bottom:.0001pt;\n\tfont-size:12.0pt;\n"
         "\tfont-family:\"Times New Roman\";}\n-->\n</style>\n</head>\n"
         "<body lang=EN-GB style='tab-interval:35.4pt'>\n<div class=Section1>\n" +
         body + "\n</div>\n</body>\n</html>\n";
}

// Two Word documents and a text document.  The billing guide has numbered
// headings; the terms have unnumbered ones, a glossary table and a
// reference to the guide's configured title.  `payment` is the text of
// the guide's section "Payment and Dunning", whose heading Word wrapped
// and numbered by a list.
void small_web(const std::string& payment) {
  write_file("w/Billing.rtf", "{\\rtf1 billing}\n");
  write_file("w/Terms.rtf", "{\\rtf1 terms}\n");
  write_file("w/notes.txt", "1 Notes\nThe desk opens at eight.\n");
  write_file("w/publish/Billing.htm",
             snapshot("Billing Guide",
                      "<p class=MsoTitle>Billing Guide</p>\n"
                      "<h1><a name=\"_Toc1\">1 Invoices</a></h1>\n"
                      "<p class=MsoNormal>An invoice goes out with each delivery.</p>\n"
                      "<h2>1.1 Reminders</h2>\n"
                      "<p class=MsoNormal>A reminder follows after thirty days.</p>\n"
                      "<h1><![if !supportLists]><span style='mso-list:Ignore'>2<span\n"
                      "style='font:7.0pt \"Times New Roman\"'>&nbsp;&nbsp;&nbsp; </span></span>"
                      "<![endif]>Payment and\nDunning</h1>\n<p class=MsoNormal>" +
                          payment + "</p>\n"));
  write_file("w/publish/Terms.htm",
             snapshot("Terms", "<h1>Overview</h1>\n"
                               "<p class=MsoNormal>Billing is told in D_( Billing Guide ).</p>\n"
                               "<h1>Glossary</h1>\n"
                               "<table class=MsoTableGrid border=1 cellspacing=0 cellpadding=0>\n"
                               " <tr>\n  <td width=150 valign=top><p class=MsoNormal><b>Invoice</b>"
                               "</p></td>\n  <td width=400 valign=top><p class=MsoNormal>A bill "
                               "sent to a customer.</p></td>\n </tr>\n"
                               " <tr>\n  <td width=150 valign=top><p class=MsoNormal><b>Reminder"
                               "</b></p></td>\n  <td width=400 valign=top><p class=MsoNormal>A "
                               "second bill.</p></td>\n </tr>\n</table>\n"));
  write_file("w/wconf",
             "-w xs_Pipe~Pipeline Web\n-? 1=./\n"
             "-e 1/Billing.rtf\n   Billing Guide\n"
             "-e 1/Terms.rtf\n   Terms\n"
             "-a 1/notes.txt\n   Desk Notes\n--\n");
}

// The first page of document `n`: the number of the lowest page in xs/<n>.
int first_page(int n) {
  int first = 1 << 30;
  for (const auto& e : fs::directory_iterator("xs_Pipe/" + std::to_string(n))) {
    std::string stem = e.path().stem().string();
    if (e.path().extension() == ".htm" && !stem.empty() &&
        stem.find_first_not_of("0123456789") == std::string::npos)
      first = std::min(first, std::stoi(stem));
  }
  return first;
}

// The fixtures web as the output check sets it up: every real snapshot a
// document of one configuration.
int fixtures_web() {
  std::string conf = "-w xs_Fix\n-? 1=./\n";
  int docs = 0;
  for (const auto& e : fs::directory_iterator(testutil::fixtures_dir() + "/word-html")) {
    std::string ext = e.path().extension().string();
    if (ext != ".htm" && ext != ".html") continue;
    std::string stem = e.path().stem().string();
    write_file("d/publish/" + stem + ".htm", read_file(e.path().string()));
    write_file("d/" + stem + ".rtf", "{\\rtf1 x}\n");
    conf += "-e 1/" + stem + ".rtf\n   " + stem + "\n";
    docs++;
  }
  write_file("d/wconf", conf + "--\n");
  return docs;
}

TEST(Pipeline, SmallWebGivesSectionPagesPortalGlossaryAndLists) {
  testutil::TempDir tmp;
  small_web("Payment is due in thirty days.");
  write_file("tmpAppender", "xs_Pipe/9/99.htm of an earlier run\n");
  auto r = run_brelmot("w", env(day1));
  expect_full_pass(r);
  // The list of thin pages is this run's alone.
  EXPECT_FALSE(has(read_file("tmpAppender"), "earlier run"));
  // The portal has pages 1 to 3 and its redirect page; each document's
  // pages follow the redirect page of the one before.
  for (const char* f : {"xs_Pipe/1/1.htm", "xs_Pipe/1/2.htm", "xs_Pipe/1/3.htm", "xs_Pipe/1/4.htm"})
    EXPECT_TRUE(fs::exists(f)) << f;
  EXPECT_TRUE(has(read_file("xs_Pipe/1/2.htm"), "Structure of Project Folder"));
  // Its first two headings keep the anchors that link creation gave them.
  EXPECT_TRUE(has(read_file("xs_Pipe/1/2.htm"), "<a name=\"101\"></a>"));
  EXPECT_TRUE(has(read_file("xs_Pipe/1/3.htm"), "<a name=\"102\"></a>"));
  EXPECT_TRUE(has(read_file("xs_Pipe/1/3.htm"), "Notation &amp; Terminology") ||
              has(read_file("xs_Pipe/1/3.htm"), "Notation & Terminology"));
  EXPECT_EQ(first_page(2), 5);
  std::string guide = read_file("xs_Pipe/2/" + std::to_string(first_page(2)) + ".htm");
  EXPECT_TRUE(has(guide, "Invoices")) << guide;
  EXPECT_TRUE(has(guide, "Reminders")) << guide;  // the contents on the head page
  int terms = first_page(3), notes = first_page(4);
  EXPECT_GT(terms, first_page(2));
  EXPECT_GT(notes, terms);
  // The page before a document's first page sends the browser back to the
  // first page of the document before it.
  std::string redirect = read_file("xs_Pipe/2/" + std::to_string(terms - 1) + ".htm");
  EXPECT_TRUE(has(redirect, "URL=5.htm")) << redirect;
  // A section page's "next" is the page behind it, cut after it.
  EXPECT_TRUE(has(read_file("xs_Pipe/2/6.htm"), "<a href=\"7.htm\"><img src=\"../_next.gif\""));

  // The configured title of the guide resolves to its head page.
  std::string all_terms;
  for (int p = terms; fs::exists("xs_Pipe/3/" + std::to_string(p) + ".htm"); p++)
    all_terms += read_file("xs_Pipe/3/" + std::to_string(p) + ".htm");
  EXPECT_TRUE(has(all_terms, "href=\"../2/5.htm#2\"")) << all_terms;
  EXPECT_FALSE(has(r.out, "Unknown semi title: Billing Guide")) << r.out;

  // The glossary table's terms on their glossary pages, which are complete.
  std::string gloss = read_file("xs_Pipe/glossar" + std::to_string(('I' - 'A') % 10) + ".htm");
  EXPECT_TRUE(has(gloss, "Invoice")) << gloss;
  EXPECT_TRUE(has(gloss, "</html>")) << gloss;

  // The document lists know every document; the profile has the
  // documents with their first pages and their sections.
  std::string listR = read_file("xs_Pipe/docs_R.htm"), listA = read_file("xs_Pipe/docs_A.htm");
  for (const char* t : {"Billing Guide", "Terms", "Desk Notes"}) {
    EXPECT_TRUE(has(listR, t)) << t << listR;
    EXPECT_TRUE(has(listA, t)) << t << listA;
  }
  std::string profile = read_file("xs_Pipe/profs/2023.11.14");
  EXPECT_TRUE(has(profile, "\n--5:Billing Guide|")) << profile;
  EXPECT_TRUE(has(profile, ",Payment and Dunning")) << profile;
  EXPECT_TRUE(fs::exists("xs_Pipe/profs/secLU"));
  EXPECT_TRUE(fs::exists("xs_Pipe/CL.htm"));
}

TEST(Pipeline, GrownSectionGivesAChangeReportThatFindsItsPage) {
  testutil::TempDir tmp;
  small_web("Payment is due in thirty days.");
  expect_full_pass(run_brelmot("w", env(day1)));
  // The web position keeps the profiles for the next build, a day later.
  small_web("Payment is due in thirty days. " + std::string(120, 'x') + " A late payment costs a fee.");
  auto r = run_brelmot("w", env(day2));
  expect_full_pass(r);
  ASSERT_TRUE(fs::exists("xs_Pipe/CL1_2023.11.14.htm")) << r.out;
  std::string report = read_file("xs_Pipe/CL1_2023.11.14.htm");
  EXPECT_TRUE(has(report, "Billing Guide")) << report;
  EXPECT_FALSE(has(report, "Terms")) << report;  // unchanged
  std::string sections = read_file("xs_Pipe/CL2_2023.11.14/2.htm");
  // About 150 characters more: the bar of a change up to 500.
  EXPECT_TRUE(has(sections, "<tr><td>ww</td><td>\n<a href=\"../2/")) << sections;
  EXPECT_TRUE(has(sections, ">Payment and Dunning</a>")) << sections;
  EXPECT_TRUE(has(read_file("xs_Pipe/CL.htm"), "CL1_2023.11.14.htm"));
}

TEST(Pipeline, SameClockGivesTheSameWeb) {
  testutil::TempDir tmp;
  small_web("Payment is due in thirty days.");
  expect_full_pass(run_brelmot("w", env(day1)));
  fs::rename("xs_Pipe", "xs.first");
  expect_full_pass(run_brelmot("w", env(day1)));
  auto first = tree_of("xs.first"), second = tree_of("xs_Pipe");
  ASSERT_EQ(first.size(), second.size());
  for (const auto& [name, text] : first) EXPECT_TRUE(second[name] == text) << name;
}

TEST(Pipeline, CodeRootCutsTwiceAndLeavesWhatOneCutLeaves) {
  testutil::TempDir tmp;
  small_web("Payment is due in thirty days.");
  expect_full_pass(run_brelmot("w", env(day1)));
  fs::rename("xs_Pipe", "xs.plain");
  fs::create_directories("w/src");
  std::string conf = read_file("w/wconf");
  write_file("w/wconf", conf.substr(0, conf.size() - 3) + "-j srcRoot=1/src\n--\n");
  auto r = run_brelmot("w", env(day1));
  expect_full_pass(r);
  EXPECT_TRUE(fs::exists("w/src/index/to_docu")) << r.out;
  // The pages of the second cut are those of a web without code root (the
  // pages' links to the next page included); the profile and the search
  // list hold each document once.
  auto plain = tree_of("xs.plain"), twice = tree_of("xs_Pipe");
  for (int n = 1; n <= 4; n++)
    for (const auto& e : fs::directory_iterator("xs.plain/" + std::to_string(n))) {
      std::string name = std::to_string(n) + "/" + e.path().filename().string();
      EXPECT_TRUE(plain[name] == twice[name]) << name;
    }
  for (const char* f : {"profs/2023.11.14", "profs/search", "docs_R.htm", "glossar4.htm"})
    EXPECT_TRUE(plain[f] == twice[f]) << f;
}

// What a finished build leaves beside the web and says at its end, and the
// web of one document.
TEST(Pipeline, FinishedBuildReportsAndLeavesItsFiles) {
  testutil::TempDir tmp;
  small_web("Payment is due in thirty days.");
  auto r = run_brelmot("testMe.w", env(day1));
  expect_full_pass(r);
  for (const char* text :
       {"\nZiele im Internet:", "\nSomit sind 0 Ziele absolut addressierte Targets im Internet.\n",
        "\n\n        Time needed to create the Pipe web: 0 sec\n", "        Web's portal is: xs_Pipe/1.htm\n",
        "\nCreated ", " <a href=...>\n", "\nNow fetch PATH/ut_brelmot/keep/_*.gif :\n"})
    EXPECT_TRUE(has(r.out, text)) << text;
  EXPECT_EQ(read_file("1.bat"), "\nstart xs_Pipe\\1.htm");
  EXPECT_EQ(read_file("xs_Pipe/profs/wconf.txt"), read_file("w/wconf"));
  EXPECT_TRUE(has(read_file("xs_Pipe/Arch.htm"), "So far Architecture in Pictures does not exist"));
  EXPECT_TRUE(has(read_file("xs_Pipe/Pres.htm"), "No Presentations published"));
  EXPECT_TRUE(fs::is_symlink("xs_Pipe/problems.htm"));
  EXPECT_EQ(read_file("xs_Pipe/problems.htm"), read_file("xs_Pipe/Problems.htm"));
  for (const char* f : {"xs_Pipe/_prev.gif", "xs_Pipe/_next.gif", "xs_Pipe/webRoot.pdf",
                        "xs_Pipe/templates.pdf", "xs_Pipe/context.htm", "xs_Pipe/index.htm",
                        "xs_Pipe/quality.htm"})
    EXPECT_TRUE(fs::exists(f)) << f;
  EXPECT_FALSE(fs::exists("xs"));

  std::string conf = read_file("w/wconf");
  write_file("w/wconf", "-o oneDoc\n" + conf);
  r = run_brelmot("w", env(day1));
  expect_full_pass(r);
  EXPECT_TRUE(has(r.out, "\noneDoc, daher:\nNun ersetze in xs_Pipe Umleitung 1/1.htm durch 2/6.htm.\n"));
  EXPECT_TRUE(has(read_file("xs_Pipe/1/1.htm"), "URL=../2/6.htm"));
}

// A build that fails in the middle of the section pass leaves the web of
// the build before exactly as it was; a web position that is a file is
// refused before anything is built.
TEST(Pipeline, FailedBuildLeavesThePreviousWebAsItWas) {
  testutil::TempDir tmp;
  small_web("Payment is due in thirty days.");
  expect_full_pass(run_brelmot("w", env(day1)));
  auto before = tree_of("xs_Pipe");
  ASSERT_GT(before.size(), 20u);

  std::string terms = read_file("w/publish/Terms.htm"), rules;
  for (int i = 0; i < 420; i++) rules += "p.Rule" + std::to_string(i) + "\n\t{margin:0cm;}\n";
  terms.replace(terms.find(" p.MsoNormal,"), 0, rules);
  write_file("w/publish/Terms.htm", terms);
  auto r = run_brelmot("w", env(day2));
  EXPECT_EQ(r.status, 1) << r.out;
  EXPECT_TRUE(has(r.out, "max_classes")) << r.out;
  auto after = tree_of("xs_Pipe");
  EXPECT_EQ(after.size(), before.size());
  for (const auto& [name, text] : before) EXPECT_TRUE(after[name] == text) << name;
  for (const auto& e : fs::directory_iterator("."))
    EXPECT_FALSE(has(e.path().filename().string(), "xs_Pipe.")) << e.path();

  fs::remove_all("xs_Pipe");
  write_file("xs_Pipe", "a file of the user's\n");
  r = run_brelmot("w", env(day2));
  EXPECT_EQ(r.status, 1) << r.out;
  EXPECT_TRUE(has(r.out, "cannot create dir xs_Pipe")) << r.out;
  EXPECT_EQ(read_file("xs_Pipe"), "a file of the user's\n");
}

TEST(Pipeline, EveryRealSnapshotInOneWebGoesThroughAndBuildsAlike) {
  testutil::TempDir tmp;
  int docs = fixtures_web();
  ASSERT_GT(docs, 0);
  auto r = run_brelmot("d", env(day1));
  expect_full_pass(r);
  int pages = 0;
  for (int n = 2; n <= docs + 1; n++) {
    ASSERT_TRUE(fs::is_directory("xs_Fix/" + std::to_string(n))) << n;
    for (const auto& e : fs::directory_iterator("xs_Fix/" + std::to_string(n)))
      pages += e.path().extension() == ".htm";
  }
  EXPECT_GT(pages, 300);  // the large snapshot alone gives hundreds
  for (const char* f : {"xs_Fix/1/1.htm", "xs_Fix/1/2.htm", "xs_Fix/1/3.htm", "xs_Fix/docs_R.htm", "xs_Fix/docs_A.htm",
                        "xs_Fix/CL.htm", "xs_Fix/profs/secLU", "xs_Fix/profs/ndocs"})
    EXPECT_TRUE(fs::exists(f)) << f;

  // The link check of the finished web finds only pictures that the
  // fixtures lack, the code page of a web without code, the page of all
  // webs that no topic asked for, the "docs" link that closes each card
  // ("<n>/1.htm"), and a link that a snapshot itself holds to a file of
  // its author's ("href=\"1\"").
  auto check = run_brelmot("check xs_Fix");
  std::istringstream lines(check.out);
  for (std::string line; std::getline(lines, line);) {
    size_t arrow = line.find(" -- ");
    if (arrow == std::string::npos) continue;
    std::string target = line.substr(arrow + 4);
    while (!target.empty() && (target.back() == '.' || target.back() == ' ')) target.pop_back();
    bool known = has(target, "/pic/") || has(target, "j2h/1.htm") || has(target, "xs_Fix/s.htm") ||
                 (target.size() > 6 && target.compare(target.size() - 6, 6, "/1.htm") == 0) ||
                 fs::path(target).extension().empty();
    EXPECT_TRUE(known) << line;
  }
  fs::rename("xs_Fix", "xs.first");
  expect_full_pass(run_brelmot("d", env(day1)));
  auto first = tree_of("xs.first"), second = tree_of("xs_Fix");
  ASSERT_EQ(first.size(), second.size());
  int differ = 0;
  for (const auto& [name, text] : first)
    if (second[name] != text && differ++ < 5) ADD_FAILURE() << "differs: " << name;
}

}  // namespace
