// The marks that cards leave in a document's stream: card starts, forced
// cards, typed names, captions, page one; and the versions that the
// registration pass keeps in ndocs from one build to the next.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "driver/doc_des.h"
#include "tests/test_util.h"

namespace fs = std::filesystem;
using testutil::read_file;
using testutil::run_brelmot;
using testutil::write_file;

namespace {

using testutil::count_of;
using testutil::has;

std::string exe_dir() { return fs::path(BRELMOT_EXE).parent_path().string(); }



class Cards : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* p = getenv("PATH");
    old_path = p ? p : "";
    setenv("PATH", (exe_dir() + ":" + old_path).c_str(), 1);
  }
  void TearDown() override { setenv("PATH", old_path.c_str(), 1); }

  // Document 2 of a web, titled "Guide", with the body `body`; returns
  // its marked stream.
  std::string marked(DocDes& d, const std::string& body) {
    d.web.comms.resize(3);
    DocDes::comm& r = d.web.comms[2];
    r.nr = "2";
    r.com = 'e';
    r.title = "Guide";
    write_file("2.tm1", "<html><head><title></title></head>\n<body>\n" + body + "\n</body></html>\n");
    d.register_cards(2);
    return read_file("2.tmp");
  }
  std::string old_path;
  testutil::TempDir tmp;
};

TEST_F(Cards, HeadingsStartCardsUnlessTheyBeginWithADash) {
  DocDes d;
  std::string s = marked(d,
                         "<h1>1 Intro</h1>\n<p>&nbsp;</p>\n<p>Text one.</p>\n"
                         "<h2>- aside</h2>\n<p>Still card one.</p>\n"
                         "<h2>1.1 Scope</h2>\n<p>Text two.</p>");
  // The first card has the empty closing text, the blank paragraph behind
  // the heading is skipped.
  EXPECT_TRUE(has(s, "\n<p ></p><h:Guide> <h1>1 Intro</h1><br>")) << s;
  EXPECT_FALSE(has(s, "&nbsp;")) << s;
  EXPECT_EQ(count_of(s, "<h:Guide>"), 2) << s;
  EXPECT_TRUE(has(s, "<a href=\"#1\">top</a></font></p><h:Guide> <h2>1.1 Scope</h2><br>")) << s;
  EXPECT_TRUE(has(s, "<h2>- aside</h2>")) << s;
}

// Forms of real title pages and captions: a centred paragraph is no
// <center> nesting, a title table longer than the look-ahead is dropped
// whole, a caption numbered by Word's field keeps its number, and a
// document title with "Glossar" in a mark is no glossary start.
TEST_F(Cards, TitlePagesAndCaptionsAsWordWritesThem) {
  DocDes d;
  d.web.comms.resize(3);
  d.web.comms[2].title = "Order Desk Glossary";
  tree_put(d.web.titles, "Order Desk Glossary", "2");
  std::string table = "<table><tr><td>" + std::string(20000, 'v') + "</td></tr></table>";
  std::string s = marked(d,
                         "<p class=MsoNormal align=center style='text-align:center'>Version 2</p>" +
                             table + "<p class=MsoToc1>1 Intro</p>"
                             "<h1>1 Intro</h1><p><img src=\"pic/a.gif\"></p>\n"
                             "<p class=MsoCaption>Fig. <span style='x'>1</span>: The desk</p>"
                             "<h1>2 Terms</h1><p>t</p>");
  EXPECT_EQ(count_of(s, "<h:Guide>"), 2) << s;
  EXPECT_FALSE(has(s, "vvvv")) << s;
  EXPECT_TRUE(has(s, "Bild 1: The desk</font></a></p>")) << s;
  EXPECT_TRUE(has(s, "--D-(Order Desk Glossary)")) << s;
  EXPECT_FALSE(has(s, "<Glossar>")) << s;
}

TEST_F(Cards, ParagraphsOfTheStyleHeadAreShownAsHeadings) {
  DocDes d;
  std::string s = marked(d,
                         "<h1>1 Intro</h1><p class=Head style='x'>Overview</p><p>Text.</p>");
  EXPECT_TRUE(has(s, "<h1 class=Head style='x'>Overview</h1>")) << s;
  EXPECT_TRUE(has(s, "<p>Text.</p>")) << s;
}

TEST_F(Cards, ForcedCardsKeepTheirFollowingHeadings) {
  DocDes d;
  std::string s = marked(d,
                         "<h1>1 Intro</h1><p>x</p>\n<p>[see2 Overview]</p>\n"
                         "<h2>1.1 Kept</h2><p>y</p><h2>1.2 Kept too</h2><p>z</p>"
                         "<h2>1.3 Split</h2><p>w</p>");
  EXPECT_TRUE(has(s, "<h:><p><a name=\"201\"></a>Overview</p>")) << s;
  EXPECT_FALSE(has(s, "<h:Guide> <h2>1.1")) << s;
  EXPECT_FALSE(has(s, "<h:Guide> <h2>1.2")) << s;
  EXPECT_TRUE(has(s, "<h:Guide> <h2>1.3 Split</h2>")) << s;
}

TEST_F(Cards, TypedNamesTitlesAndSemiTitles) {
  DocDes d;
  tree_put(d.web.titles, "Guide", "2");
  tree_put(d.web.titles, "Other", "3");
  std::string s = marked(d,
                         "<h1>C_Billing</h1><p>The C_ x and A<v>_</v>  Actor; AB_ no.</p>"
                         "<h1>Requirements</h1><p>r</p>");
  // A typed title shows its type letter apart from its name.
  EXPECT_TRUE(has(s, "<h1>C_ Billing</h1>")) << s;
  EXPECT_TRUE(has(s, "<h1>R_ Requirements</h1>")) << s;
  EXPECT_TRUE(has(s, "The C<:>_ x")) << s;
  EXPECT_TRUE(has(s, "A<:>_Actor")) << s;
  EXPECT_TRUE(has(s, "AB_ no")) << s;  // a letter two back: no type
  EXPECT_TRUE(has(s, "<$Dname=\"--D-(Guide)\"></a>")) << s;
  EXPECT_FALSE(has(s, "--D-(Other)")) << s;
}

TEST_F(Cards, CaptionsBehindPicturesOnly) {
  DocDes d;
  std::string s = marked(d,
                         "<h1>1 Intro</h1><p><img src=\"pic/a.gif\"></p>\n"
                         "<p>Fig. 1: The desk (front)</p>\n<p>See Fig. 2: later</p><p>Fig. 3 no colon</p>");
  EXPECT_TRUE(has(s, "<a href=\"#_pic2_1\"><font face=VERDANA size=1>Bild 1: The desk (front)"
                     "</font></a></p>"))
      << s;
  EXPECT_EQ(tree_value(d.web.picNames, "The desk").value_or("-"), "#_pic2_1");
  // Not behind a picture: an anchor; without a colon: plain text.
  EXPECT_TRUE(has(s, "See <br><a name=Abb2></a>Abb. 2: later")) << s;
  EXPECT_TRUE(has(s, "Fig. 3 no colon")) << s;
  EXPECT_EQ(d.web.comms[2].imgs, 1);
}

TEST_F(Cards, PageOneLosesTablesAndWordsContents) {
  DocDes d;
  std::string s = marked(d,
                         "<p class=MsoTitle>Guide</p><table><tr><td>v1</td></tr></table>\n"
                         "<p>Table of Contents</p><p>1 Intro ...... 1</p>\n"
                         "<h1>1 Intro</h1><p>x</p><table><tr><td>kept</td></tr></table>");
  EXPECT_FALSE(has(s, "v1")) << s;
  EXPECT_FALSE(has(s, "Intro ......")) << s;
  EXPECT_TRUE(has(s, "<h:Guide> <h1>1 Intro</h1>")) << s;
  EXPECT_TRUE(has(s, "kept")) << s;
}

// ------------------------------------------------------------ registration

void small_web(const std::string& notes) {
  write_file("w/notes.txt", notes);
  write_file("w/wconf",
             "-w xs_Reg~Registration\n-? 1=./\n"
             "-a 1/notes.txt\n   Notes\n--\n");
}

std::string version_line(const std::string& ndocs, const std::string& title) {
  size_t k = ndocs.find("," + title);
  if (k == std::string::npos) return "-";
  size_t b = ndocs.rfind("\n-s ", k);
  return ndocs.substr(b + 4, k - b - 4);
}

TEST(Registration, VersionsKeepTheirDateUntilTheSizeChanges) {
  testutil::TempDir tmp;
  std::string path = "PATH=" + exe_dir() + ":/usr/bin:/bin";
  small_web("1 Notes\nfirst text\n");
  auto r = run_brelmot("w", path + " SOURCE_DATE_EPOCH=1700000000");
  EXPECT_EQ(r.status, 0) << r.out;
  std::string first = read_file("xs_Reg/profs/ndocs");
  EXPECT_TRUE(has(first, "\n   Web Profile as of 2023.11.14\n   ----------------------------\n\n"
                         "   LastVersion:size,docName\n"))
      << first;
  EXPECT_EQ(version_line(first, "Notes"), "2023.11.14:" + std::to_string(fs::file_size("w/notes.txt")));
  for (const char* f : {"xs_Reg/j2h.css", "xs_Reg/root.bat", "xs_Reg/seeAlso.htm", "xs_Reg/code.htm", "xs_Reg/reuse.htm",
                        "xs_Reg/testres.htm", "xs_Reg/alles_doc_htm", "xs_Reg/profs/2023.11.14", "xs_Reg/1/1.htm"})
    EXPECT_TRUE(fs::exists(f)) << f;

  // The web position keeps the profile for the next build, a day later.
  r = run_brelmot("w", path + " SOURCE_DATE_EPOCH=1700086400");
  std::string second = read_file("xs_Reg/profs/ndocs");
  EXPECT_EQ(version_line(second, "Notes"), version_line(first, "Notes")) << second;

  small_web("1 Notes\nfirst text, grown\n");
  r = run_brelmot("w", path + " SOURCE_DATE_EPOCH=1700172800");
  std::string third = read_file("xs_Reg/profs/ndocs");
  EXPECT_TRUE(has(third, "\n-s 2023.11.16:" + std::to_string(fs::file_size("w/notes.txt")) + ",Notes"))
      << third;
  // The old version stays listed with its own date.
  EXPECT_TRUE(has(third, "\n-s " + version_line(first, "Notes") + ",Notes")) << third;
}

}  // namespace

// A page the cards refuse ends with the tracker's report and leaves no file
// open behind it: a run that goes on (a test, a fuzzing run) keeps its
// handles.
TEST_F(Cards, RefusedPageLeavesNoFileOpen) {
  auto open_handles = [] {
    int n = 0;
    for (auto it = fs::directory_iterator("/proc/self/fd"); it != fs::directory_iterator(); ++it) n++;
    return n;
  };
  DocDes d;
  d.web.comms.resize(3);
  d.web.comms[2].nr = "2";
  d.web.comms[2].com = 'e';
  write_file("2.tm1", "<html><head></head>\nno body here\n</html>\n");
  int before = open_handles();
  for (int i = 0; i < 3; i++) {
    EXPECT_THROW(d.register_cards(2), const char*);
    exut.reset_after_failure();
  }
  EXPECT_EQ(open_handles(), before);
}

// A forced card whose line has neither "]" nor "</p>" gets no title text and
// the pass goes on behind it.
TEST_F(Cards, ForcedCardWithoutItsEndHasNoTitle) {
  DocDes d;
  std::string s = marked(d, "<h1>1 Intro</h1><p>x</p>\n[see12 and nothing closes it");
  EXPECT_TRUE(has(s, "<h:><p><a name=")) << s;
  EXPECT_TRUE(has(s, "and nothing closes it")) << s;
}
