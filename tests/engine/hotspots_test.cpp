// The web pass over section pages: definitions from headings, typed
// paragraphs and link texts, hotspots with links into other documents, the
// "[?]" hint and the problems list with its exceptions, anchors on two
// pages, the hotspot-off option, section references, keywords, glossary
// terms, definitions in running text and the change mark of a section.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>

#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "tests/test_util.h"

namespace {

using testutil::count_of;
using testutil::has;
using testutil::read_file;
using testutil::write_file;

const std::string hint = "<font color=#FF3333><b>[?] </b></font>";

// Keys of a tree, one per line.
std::string keys_of(Btree& t) {
  std::string r;
  Btree_st st;
  for (unsigned s = t.GetFirst(st); s; s = t.GetNext(st)) r += std::string(st.k) + "\n";
  return r;
}

// A small web of hand-written section pages xs/<doc>/<page>.htm, and an
// engine over it.  The engine is made when the first page is written, so a
// test can put a file "noProblems" beside xs before.
struct Pages {
  web_model model;
  std::unique_ptr<ut_htm> ut;
  std::map<int, int> first;  // document -> its first page
  std::string out;

  Pages() { model.comms.resize(4); }
  ut_htm& engine() {
    if (!ut) {
      testing::internal::CaptureStdout();
      ut = std::make_unique<ut_htm>(model);
      out += testing::internal::GetCapturedStdout();
    }
    return *ut;
  }
  void page(int doc, int p, const std::string& body, char level = '1') {
    ut_htm& u = engine();
    if (!first.count(doc)) first[doc] = p;
    write_file("xs/" + std::to_string(doc) + "/" + std::to_string(p) + ".htm",
               "\n<html><head><LINK REL=stylesheet TYPE='text/css' href=1.css></head>\n"
               "<body lang=EN>" + body + "\n<deepToc k></deepToc></font></body></html>");
    u.page_doc[p] = doc;
    u.page_first[p] = first[doc];
    u.page_level[p] = level;
  }
  // Runs the web pass in xs over pages 1 .. maxPage; returns its console.
  std::string run(int maxPage) {
    engine();
    std::filesystem::current_path("xs");
    testing::internal::CaptureStdout();
    ut->make_pages(maxPage, nullptr);
    std::string text = testing::internal::GetCapturedStdout();
    std::filesystem::current_path("..");
    out += text;
    return text;
  }
  static std::string text(int doc, int p) {
    return read_file("xs/" + std::to_string(doc) + "/" + std::to_string(p) + ".htm");
  }
};

// ------------------------------------------------- definitions and links

// A work file as link creation leaves it, cut by the engine itself: a
// typed heading and a typed paragraph define names for the web pass.
std::string marked(const std::string& title, const std::string& cards) {
  return "<html><head></head>\n<body lang=EN>\n<p><a name=\"1\"></a></p><$Doc=2011.09.20:"
         "2011.09.20:          :" + title +
         "><aa><center><p class=1><font size=1><br></font></p></center><aa>\n</center>\n" + cards;
}
std::string card(const std::string& t, const std::string& body) {
  return "<p ></p><h:Doc> <h1>" + t + "</h1><br>\n" + body + "\n";
}

TEST(Hotspots, HeadingsAndTypedParagraphsDefineNamesThatLinkAcrossDocuments) {
  testutil::TempDir dir;
  Pages w;
  ut_htm& ut = w.engine();
  int page = 0;
  auto split = [&](int nr, const std::string& title, const std::string& text) {
    std::filesystem::create_directories("xs/" + std::to_string(nr));
    write_file(std::to_string(nr) + ".neu", text);
    doc_record& r = w.model.comms[nr];
    r.com = 'd';
    r.title = title;
    testing::internal::CaptureStdout();
    ut.split_doc(2, (std::to_string(nr) + ".neu").c_str(), "xs", page, nullptr, nr,
                 title.c_str(), nullptr, r);
    testing::internal::GetCapturedStdout();
  };
  split(1, "Guide", marked("Guide", card("C_Billing", "<p class=1>Runs monthly.</p>") +
                                        card("Usage", "<p class=1>C<:>_ Invoice is sent.</p>"
                                                      "<p class=1>See C_Billing here.</p>")));
  split(2, "Other", marked("Other", card("Intro", "<p class=1>Uses C_Billing and "
                                                  "C_Invoice.</p><table><tr><td><p>C_Billing"
                                                  "</p></td></tr></table>")));
  int billing = atoi(tree_value(ut.defs, "C_Billing").value_or("0").c_str());
  ASSERT_GT(billing, 0);
  ASSERT_TRUE(tree_value(ut.defs, "C_Invoice").has_value());
  w.run(page);
  std::string own = Pages::text(1, billing + 1), other = Pages::text(2, page - 1);
  // In its own document the link is the page; elsewhere it carries
  // "../<docNr>/", also in a table cell.
  EXPECT_TRUE(has(own, "<a href=\"" + std::to_string(billing) + ".htm\">C_Billing</a>")) << own;
  std::string away = "<a href=\"../1/" + std::to_string(billing) + ".htm\">C_Billing</a>";
  EXPECT_EQ(count_of(other, away), 2) << other;
  EXPECT_TRUE(has(other, "<a href=\"../1/" + *tree_value(ut.defs, "C_Invoice") + "\">C_Invoice</a>"));
  EXPECT_FALSE(has(other, hint));
  EXPECT_EQ(ut.NoSp.number_of_elements(), 0);
  // Every page gets the bottom line; no work file stays.
  EXPECT_TRUE(has(other, "<!2a>"));
  EXPECT_FALSE(testutil::file_exists("xs/2/" + std::to_string(page - 1) + ".tmp"));
}

TEST(Hotspots, LinkTextsDefineAndAnchorsSettleReferences) {
  testutil::TempDir dir;
  Pages w;
  w.page(2, 1, "<h1>1. A</h1><p><a href=\"#One\">see one</a> <a href=\"#Dup\">see dup</a> "
               "<a href=\"9.htm\">Index</a> <a href=\"8.htm\">Billing Guide</a></p>");
  w.page(2, 2, "<h1>2. B</h1><p><a name=\"One\"></a><a name=Dup></a>x</p>");
  w.page(2, 3, "<h1>3. C</h1><p><a name=\"Dup\"></a>y</p>");
  std::string out = w.run(3);
  ut_htm& ut = *w.ut;
  EXPECT_EQ(tree_value(ut.defs, "see one").value_or(""), "2.htm#One");
  EXPECT_EQ(tree_value(ut.ANam, "Dup").value_or(""), "?");
  // An anchor on two pages cannot settle a reference to it.
  EXPECT_TRUE(has(out, "\ncannot correct see dup(#Dup)")) << out;
  EXPECT_EQ(tree_value(ut.defs, "Billing Guide").value_or(""), "8.htm");
  // A word that is never a hotspot loses its definition.
  EXPECT_FALSE(tree_holds(ut.defs, "Index"));
}

// ------------------------------------------------- names without definition

TEST(Hotspots, AnUndefinedNameGetsTheHintAnAnchorAndAProblemLine) {
  testutil::TempDir dir;
  Pages w;
  w.page(1, 1, "<h1>1. Start</h1>");
  w.page(2, 2, "<h1>4. Billing Rules</h1><p class=1>Calls C_Missing twice: C_Missing.</p>");
  w.run(2);
  ut_htm& ut = *w.ut;
  std::string t = Pages::text(2, 2);
  EXPECT_TRUE(has(t, "></a>C_Missing" + hint)) << t;
  EXPECT_EQ(count_of(t, hint), 2);
  EXPECT_EQ(ut.hints, 2);
  EXPECT_EQ(keys_of(ut.NoSp), "<a href=2.htm>10002 - </a>C_Missing\n");
  // The name goes into the index once per page, under its heading.
  std::string idx = keys_of(ut.web.allIndex);
  EXPECT_EQ(count_of(idx, "CC_Missing~Billing Ru"), 1) << idx;
}

TEST(Hotspots, PlaceHoldersKnownKindsAndListedNamesStayWithoutProblem) {
  testutil::TempDir dir;
  write_file("noProblems", "the name E_Legacy stays open\n  X_Other too\n");
  Pages w;
  w.page(1, 1, "<h1>1. Start</h1><p class=1>Each C_... is a C_x; D_Manual, A_Clerk, "
               "C_A/C_B, E_Legacy, X_Other and V_ stay without hint.</p>");
  std::string out = w.run(1);
  ut_htm& ut = *w.ut;
  std::string t = Pages::text(1, 1);
  EXPECT_FALSE(has(t, "[?]")) << t;
  EXPECT_TRUE(has(t, "C_...")) << t;
  EXPECT_TRUE(tree_holds(ut.noProblem, "E_Legacy"));
  // Only the names that the index pages sort out later are listed: "C_x"
  // (third character x) and the listed names; none of the known kinds.
  std::string probs = keys_of(ut.NoSp);
  EXPECT_FALSE(has(probs, "C_...")) << probs;
  EXPECT_FALSE(has(probs, "D_Manual"));
  EXPECT_FALSE(has(probs, "A_Clerk"));
  EXPECT_FALSE(has(probs, "C_A/C_B"));
  EXPECT_EQ(ut.hints, 0);
}

TEST(Hotspots, WithoutFileOfListedNamesTheEngineSaysSo) {
  testutil::TempDir dir;
  Pages w;
  w.engine();
  EXPECT_TRUE(has(w.out, "\nnoProblems: This file does not exist.\n"));
}

TEST(Hotspots, AnInstallationParameterWithoutDefinitionIsNotYetSpecified) {
  testutil::TempDir dir;
  Pages w;
  w.page(1, 1, "<h1>1. Setup</h1><p class=1>Set $PORT and US$5.</p>");
  w.run(1);
  std::string t = Pages::text(1, 1);
  EXPECT_TRUE(has(t, "$PORT<font color=#FF3333><b>[?] not yet specified </b></font>")) << t;
  EXPECT_TRUE(has(t, "US$5.")) << t;
}

TEST(Hotspots, WithHotspotsOffNamesAreListedAndNotLinked) {
  testutil::TempDir dir;
  Pages w;
  w.model.hotspots_off = 1;
  w.page(1, 1, "<h1>1. C_Order</h1>");
  w.page(1, 2, "<h1>2. Use</h1><p class=1>See C_Order and C_Gone.</p>");
  w.engine();
  tree_put(w.ut->defs, "C_Order", "1.htm");
  std::string out = w.run(2);
  std::string t = Pages::text(1, 2);
  EXPECT_FALSE(has(t, "<a href=\"1.htm\">C_Order</a>")) << t;
  EXPECT_TRUE(has(t, "C_Gone " + hint)) << t;
  EXPECT_FALSE(has(t, "</a>C_Gone"));
  EXPECT_TRUE(has(out, "\n- nop  C_Gone"));
  EXPECT_TRUE(has(out, "\n- nop  C_Order"));
}

TEST(Hotspots, NamesInsideWordsLinksAndFileNamesStayText) {
  testutil::TempDir dir;
  Pages w;
  w.page(1, 1, "<h1>1. T</h1><p class=1>XC_Order, C_Order.htm, <a href=\"x.htm\">C_Order</a>, "
               "<img src=\"C_pic.png\"></p>");
  w.run(1);
  std::string t = Pages::text(1, 1);
  EXPECT_FALSE(has(t, "[?]")) << t;
  EXPECT_TRUE(has(t, "XC_Order, C_Order.htm, <a href=\"x.htm\">C_Order</a>")) << t;
  EXPECT_EQ(w.ut->NoSp.number_of_elements(), 0);
}

// ------------------------------------------------- references and keywords

TEST(Hotspots, SectionReferencesGoToTheirPageOrToTheHomePage) {
  testutil::TempDir dir;
  Pages w;
  write_file("tmp_toc", "\n7>#_overview\n8>#_details");
  w.page(1, 1, "<h1>1. Home</h1>");
  w.page(3, 7, "<h1>1. Overview</h1>");
  w.page(3, 8, "<p><a href=\"#_Overview\">o</a> <a href=\"#_No_Where\">n</a></p>");
  std::string out = w.run(8);
  std::string t = Pages::text(3, 8);
  EXPECT_TRUE(has(t, "<a href=\"../3/7.htm\">o</a>")) << t;
  EXPECT_TRUE(has(t, "<a href=\"../1/1.htm\">n</a>")) << t;
  EXPECT_TRUE(has(out, "\nnotocp: nowhere"));
}

TEST(Hotspots, KeywordsLinkWholeWordsToTheirAnchor) {
  testutil::TempDir dir;
  Pages w;
  w.page(1, 1, "<h1>1. K</h1><p class=1><a name=e3></a>Escalation</p>");
  w.page(2, 2, "<h1>1. L</h1><p class=1>An Escalation, no Escalations.</p>");
  w.engine();
  tree_put(w.ut->specs, "Escalation", "=)1.htm#e3");
  w.run(2);
  std::string t = Pages::text(2, 2);
  EXPECT_TRUE(has(t, "An <a href=\"../1/1.htm#e3\">Escalation</a>, no Escalations.")) << t;
}

TEST(Hotspots, GlossaryTermsLinkWhereTheyStandAlone) {
  testutil::TempDir dir;
  Pages w;
  w.page(1, 1, "<h1>1. G</h1><p class=1>An Invoice. Invoices. <a href=\"x.htm\">Invoice</a></p>");
  w.engine();
  tree_put(w.model.glossTerms, "Invoice", "12/5#G1");
  tree_put(w.ut->glossDefs, "Invoice", "Bill: a paper");
  w.run(1);
  std::string t = Pages::text(1, 1);
  EXPECT_EQ(count_of(t, "<a href=\"../glossar2.htm#12/5#G1\">Invoice</a>"), 1) << t;
  EXPECT_TRUE(has(t, "Invoices.")) << t;
  // The term goes into the index; its definition's title names it.
  EXPECT_TRUE(tree_holds(w.ut->secTitles, "D_(Bill: Invoice)"));
  EXPECT_TRUE(has(keys_of(w.model.allIndex), "IInvoice~Bill: a paper"));
}

TEST(Hotspots, BoldAndUnderlinedTextIsADefinitionInTheIndex) {
  testutil::TempDir dir;
  Pages w;
  w.page(1, 1, "<h1>1. D</h1><p class=1><b><u>Dunning</u></b> is the reminder run. "
               "<b>Bold</b> alone is not.</p>");
  w.run(1);
  std::string t = Pages::text(1, 1);
  EXPECT_TRUE(has(t, "<a name=e1></a><b>Dunning</b>")) << t;  // the underline goes
  std::string idx = keys_of(w.model.allIndex);
  EXPECT_TRUE(has(idx, "DDunning~Dunning1")) << idx;
  EXPECT_FALSE(has(idx, "Bold"));
}

TEST(Hotspots, TheChangeMarkFindsItsSectionOrCountsIt) {
  testutil::TempDir dir;
  Pages w;
  tree_put(w.model.docNrs, "Guide", "1");
  tree_put(w.model.secDates, "1:1. Intro", "2011.09.20:10");
  w.page(1, 1, "</secLU:doc:Guide><h1>1. Intro</h1><p>a</p>");
  w.page(1, 2, "</secLU:doc:Guide><h1>2. Later</h1><p>b</p>");
  w.page(1, 3, "</secLU:doc:Gone><h1>3. X</h1>");
  std::string out = w.run(3);
  EXPECT_FALSE(has(Pages::text(1, 1), "secLU")) << Pages::text(1, 1);
  EXPECT_TRUE(has(out, "\nsecDs: not in secLU: [1:2. Later]")) << out;
  EXPECT_TRUE(has(out, "\ns-error: docNs: secNotFound: [Gone]\n"));
  EXPECT_FALSE(has(out, "1:1. Intro]"));
  testing::internal::CaptureStdout();
  w.ut->close_check();
  EXPECT_TRUE(has(testing::internal::GetCapturedStdout(),
                  "\n\nW a r n i n g :  1 sections not found in Btree secDates.\n"));
}

// Many uses of a few names and one name defined on many pages: the pass
// stays linear; every use is counted once as a problem place per page.
TEST(Hotspots, ManyNamesOnManyPages) {
  testutil::TempDir dir;
  Pages w;
  std::string body = "<h1>1. Big</h1><p class=1>";
  for (int i = 0; i < 20000; i++) body += " C_Name" + std::to_string(i % 50) + " <a name=A></a>";
  body += "</p>";
  for (int p = 1; p <= 20; p++) w.page(1, p, body);
  w.run(20);
  EXPECT_EQ(w.ut->NoSp.number_of_elements(), 20 * 50);
  EXPECT_EQ(w.ut->hints, 20 * 20000);
  EXPECT_EQ(tree_value(w.ut->ANam, "A").value_or(""), "?");
}

}  // namespace
