// The cut of a marked document into section pages: page numbers over the
// web, numbering of unnumbered documents, contents, semi titles, pictures,
// deep tables and menus; and every real Word snapshot, cleaned, cut
// without a failure.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "tests/test_util.h"

namespace {

bool has(const std::string& t, const std::string& w) { return t.find(w) != std::string::npos; }

// A work file as link creation leaves it: the page head, the document
// line, then one page cut per card.
std::string marked(const std::string& title, const std::string& cards) {
  return "<html><head></head>\n<body lang=EN>\n<p><a name=\"1\"></a></p><$Doc=2011.09.20:"
         "2011.09.20:          :" +
         title + "><aa><center><p class=1><font size=1><br></font></p></center><aa>\n</center>\n" +
         cards;
}

std::string card(char level, const std::string& t, const std::string& body) {
  return "<p ></p><h:Doc> <h" + std::string(1, level) + ">" + t + "</h" + level + "><br>\n" +
         body + "\n";
}

struct Web {
  web_model model;
  ut_htm ut{model};
  int page = 0;
  std::string out;
  Web() {
    std::filesystem::create_directories("xs");
    model.comms.resize(5);
  }
  int split(int nr, const std::string& title, const std::string& text, int run = 2) {
    std::filesystem::create_directories("xs/" + std::to_string(nr));
    std::string neu = std::to_string(nr) + ".neu";
    testutil::write_file(neu, text);
    doc_record& r = model.comms[nr];
    r.com = 'd';
    r.title = title;
    r.nr = std::to_string(nr);
    testing::internal::CaptureStdout();
    int n = ut.split_doc(run, neu.c_str(), "xs", page, nullptr, nr, title.c_str(), nullptr, r);
    out += testing::internal::GetCapturedStdout();
    return n;
  }
  static std::string pageText(int nr, int p) {
    return testutil::read_file("xs/" + std::to_string(nr) + "/" + std::to_string(p) + ".htm");
  }
};

TEST(Sections, PagesRunOverTheWebAndEveryDocumentEndsWithItsRedirect) {
  testutil::TempDir dir;
  Web w;
  w.split(1, "Portal", marked("Portal", card('1', "Structure of Project Folder", "<p>a</p>") +
                                            card('1', "Notation &amp; Terminology", "<p>b</p>")));
  EXPECT_EQ(w.page, 4);
  EXPECT_TRUE(testutil::file_exists("xs/1/1.htm"));
  EXPECT_TRUE(testutil::file_exists("xs/1/3.htm"));
  EXPECT_TRUE(has(Web::pageText(1, 4), "content=\"0;URL=1.htm\""));
  w.split(2, "Second", marked("Second", card('1', "Intro", "<p>x</p>")));
  EXPECT_EQ(w.model.comms[2].firstPage, 5);
  EXPECT_TRUE(testutil::file_exists("xs/2/6.htm"));
  EXPECT_TRUE(has(Web::pageText(2, 7), "URL=5.htm"));
  EXPECT_EQ(w.ut.page_doc[6], 2);
  EXPECT_EQ(w.ut.page_first[6], 5);
  // No work files stay behind.
  EXPECT_FALSE(testutil::file_exists("xs/2/6.tmp"));
  EXPECT_FALSE(testutil::file_exists("xs/2/6.xxx"));
}

TEST(Sections, UnnumberedDocumentCountsFrom1001AndShowsNoNumbers) {
  testutil::TempDir dir;
  Web w;
  w.split(1, "Portal", marked("Portal", card('1', "A", "<p>a</p>")));
  w.split(2, "Plain", marked("Plain", "<p>t</p><++Toc>" + card('1', "Alpha", "<p>a</p>") +
                                          card('2', "Beta", "<p>b</p>")));
  std::string head = Web::pageText(2, w.model.comms[2].firstPage);
  // The number column stays blank; the titles link their pages.
  EXPECT_TRUE(has(head, "<font face=VERDANA size=1></font></p></td>")) << head;
  EXPECT_TRUE(has(head, "Alpha</a>"));
  EXPECT_FALSE(has(head, "1001"));
  std::string alpha = Web::pageText(2, w.model.comms[2].firstPage + 1);
  EXPECT_TRUE(has(alpha, "<h2>Alpha</h2")) << alpha;  // level rises by one
}

TEST(Sections, NumberedTitlesRepeatedParentsAnnexAndDeepTable) {
  testutil::TempDir dir;
  Web w;
  w.split(1, "Portal", marked("Portal", card('1', "A", "<p>a</p>")));
  w.split(2, "Numbered",
          marked("Numbered", "<++Toc>" + card('1', "1 Setup", "<p>a</p>") +
                                 card('2', "1.1 Setup Details", "<p>b</p>") +
                                 card('5', "1.1.1.1.1 Deep", "<p>c</p>") +
                                 card('1', "Anhang Tabellen", "<p>d</p>")));
  int f = w.model.comms[2].firstPage;
  std::string details = Web::pageText(2, f + 2);
  EXPECT_TRUE(has(details, ">Details</h2")) << details;  // parent's title removed
  std::string deep = Web::pageText(2, f + 3);
  EXPECT_TRUE(has(deep, "<h3>Deep</h3")) << deep;  // level 5 written as h3
  std::string setup = Web::pageText(2, f + 1);
  EXPECT_TRUE(has(setup, "&nbsp;|</td>")) << setup;  // the deep table of a section with sub-pages
  EXPECT_TRUE(has(setup, "Details</b></a>"));
  std::string head = Web::pageText(2, f);
  EXPECT_TRUE(has(head, "size=1>1.1</font>")) << head;
  EXPECT_TRUE(has(head, "Anhang Tabellen</a>")) << head;
}

TEST(Sections, WordContentsSectionGoesAndItsNumberIsUsedAgain) {
  testutil::TempDir dir;
  Web w;
  w.split(1, "Portal", marked("Portal", card('1', "A", "<p>a</p>")));
  int before = w.page;
  w.split(2, "D", marked("D", card('1', "Inhaltsverzeichnis", "<p>x</p>") +
                                  card('1', "Contents", "<p>kept</p>") +
                                  card('1', "Real", "<p>y</p>")));
  int f = before + 1;
  EXPECT_TRUE(has(Web::pageText(2, f + 1), "Contents</h2")) << Web::pageText(2, f + 1);
  EXPECT_TRUE(has(Web::pageText(2, f + 2), "Real</h2"));
  EXPECT_TRUE(has(Web::pageText(2, f + 3), "URL="));
}

TEST(Sections, SemiTitlesResolveOnlyConfiguredTitles) {
  testutil::TempDir dir;
  Web w;
  w.split(1, "Portal", marked("Portal", card('1', "A", "<p>a</p>")));
  w.split(2, "Spec",
          marked("Spec", "<$Dname=\"--D-(Billing Rules)\"></a>" + card('1', "Intro", "<p>x</p>")));
  w.split(3, "User", marked("User", card('1', "Refs", "<p>see D_( billing  rules ) and D_(Spec) "
                                                       "and D_(xyz) and D_( ! )</p>")));
  std::string p = Web::pageText(3, w.model.comms[3].firstPage + 1);
  int f2 = w.model.comms[2].firstPage;
  EXPECT_TRUE(has(p, "<a href=\"../2/" + std::to_string(f2) + ".htm#2\"> billing  rules </a>")) << p;
  EXPECT_TRUE(has(p, "D_( Spec )"));  // a document title is no semi title
  EXPECT_TRUE(has(p, "D_(xyz)"));     // left as it stands
  EXPECT_TRUE(has(p, "D_( ... )"));
  EXPECT_TRUE(has(w.out, "Unknown semi title: Spec"));
}

TEST(Sections, PicturesListAsBildAndLocalLinksResolve) {
  testutil::TempDir dir;
  Web w;
  w.split(1, "Portal", marked("Portal", card('1', "A", "<p>a</p>")));
  tree_put(w.ut.web.picNames, "The Flow", "#_pic2_1");
  w.model.comms[2].imgs = 1;
  w.split(2, "Pics",
          marked("Pics", "<++Toc>" + card('1', "Intro", "<p><a href=\"#here\">go</a></p>") +
                             card('1', "Where", "<p><a name=\"here\"></a><img src=\"pic/a.png\">"
                                                "<a href=\"#_pic2_1\">Bild 1: The Flow</a></p>")));
  int f = w.model.comms[2].firstPage;
  std::string head = Web::pageText(2, f);
  EXPECT_TRUE(has(head, ">Bild 1</font>")) << head;
  EXPECT_TRUE(has(head, "<a href=\"#3\">Pictures</a>"));
  EXPECT_TRUE(has(Web::pageText(2, f + 1), "<a href=\"" + std::to_string(f + 2) + ".htm#e"));
  EXPECT_TRUE(has(w.out, "mp_oRef: here"));
}

TEST(Menus, HeaderMenuNeighboursAndPageRank) {
  testutil::TempDir dir;
  Web w;
  w.ut.page_doc[5] = w.ut.page_doc[6] = 2;
  w.ut.page_first[5] = w.ut.page_first[6] = 5;
  w.ut.page_doc[7] = 3;
  char* buf = nullptr;
  size_t n = 0;
  FILE* f = open_memstream(&buf, &n);
  w.ut.HeaderMenu(f, 0, 6, "T", "v");
  fclose(f);
  std::string s(buf, n);
  free(buf);
  // Previous is 5; next wraps to the head page, the next page being
  // another document's.
  EXPECT_TRUE(has(s, "<a href=\"5.htm\"><img src=\"../_prev.gif\"")) << s;
  EXPECT_TRUE(has(s, "<a href=\"5.htm\"><img src=\"../_next.gif\"")) << s;
  EXPECT_TRUE(has(s, "</secLU:doc:T>"));
  EXPECT_EQ(ut_htm::page_rank("R_"), 13);
  EXPECT_EQ(ut_htm::page_rank("?x"), 100);
  EXPECT_EQ(ut_htm::page_rank("More Keywords"), 10);
  EXPECT_EQ(ut_htm::page_rank("m_"), 7);
  ut_htm::j2h_css("j2h.css");
  EXPECT_TRUE(has(testutil::read_file("j2h.css"), ".kw { color:#0000FF; }"));
  testutil::failure_of([] { ut_htm::j2h_css("other.css"); });
}

}  // namespace
