// The bundled sample web, built as a user builds it: its Word snapshots
// (saved by three versions of the word processor), its plain-text notes and
// its listed-only price list must come through the pipeline as section
// pages with their contents, glossary pages, resolved references and
// footnotes, the same on every build with the same clock.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>

#include "tests/test_util.h"

namespace fs = std::filesystem;
using testutil::has;
using testutil::read_file;
using testutil::run_brelmot;

namespace {

// A copy of examples/sample in the current folder, built once.
testutil::RunResult build_sample() {
  fs::copy(std::string(BRELMOT_SOURCE_ROOT) + "/examples/sample", "sample",
           fs::copy_options::recursive);
  fs::remove_all("code");
  fs::copy(std::string(BRELMOT_SOURCE_ROOT) + "/examples/code", "code", fs::copy_options::recursive);
  std::string dir = fs::path(BRELMOT_EXE).parent_path().string();
  return run_brelmot("sample", "PATH=" + dir + ":/usr/bin:/bin LC_ALL=C TZ=UTC " +
                                   "SOURCE_DATE_EPOCH=1700000000");
}

// The section pages of document n in page order, by number.
std::map<int, std::string> pages_of(int n) {
  std::map<int, std::string> pages;
  for (const auto& e : fs::directory_iterator("xs_Sample/" + std::to_string(n))) {
    std::string stem = e.path().stem().string();
    if (e.path().extension() == ".htm" && stem.find_first_not_of("0123456789") == std::string::npos)
      pages[std::stoi(stem)] = read_file(e.path().string());
  }
  return pages;
}

// The one page of document n that holds `text`, or "" (with a failure).
std::string page_with(int n, const std::string& text) {
  std::string found;
  int count = 0;
  for (const auto& [nr, page] : pages_of(n))
    if (has(page, text)) found = page, count++;
  EXPECT_EQ(count, 1) << "pages of document " << n << " with " << text;
  return found;
}

TEST(SampleWeb, EveryDocumentBecomesLinkedSectionPages) {
  testutil::TempDir tmp;
  auto r = build_sample();
  EXPECT_EQ(r.status, 0) << r.out.substr(r.out.size() > 3000 ? r.out.size() - 3000 : 0);
  EXPECT_TRUE(has(r.out, "\no k  -  Web is xs_Sample")) << r.out;
  EXPECT_FALSE(has(r.out, "fatal error")) << r.out;
  EXPECT_FALSE(has(r.out, "error -->")) << r.out;
  EXPECT_FALSE(has(r.out, "Unknown semi title: Order Desk")) << r.out;

  // Guide (2), glossary (3), components (4): a head page, a page per
  // heading and the redirect page; the notes (5) are cut at their numbered
  // lines and at "Changes:".  The price list (6) is only listed.
  const std::map<int, size_t> pages = {{2, 9}, {3, 4}, {4, 8}, {5, 5}};
  for (const auto& [n, count] : pages) EXPECT_EQ(pages_of(n).size(), count) << n;
  EXPECT_TRUE(pages_of(6).empty());
  int guide = pages_of(2).begin()->first;

  // The guide's head page has the contents with the outline numbers; Word's
  // own contents and its bookmarks are gone from every page.
  std::string head = pages_of(2).begin()->second;
  EXPECT_TRUE(has(head, ">1.1</font>")) << head;
  EXPECT_TRUE(has(head, ">Checking the Customer</a>")) << head;
  for (const auto& [nr, page] : pages_of(2)) EXPECT_FALSE(has(page, "_Toc")) << nr;

  // Typed headings and class headings of the components.
  page_with(4, "<h2>C_ Billing</h2");
  page_with(4, "<h3>Class StockItem</h3");

  // The reference to the guide by its configured title, from a later
  // document, leads to the guide's head page.
  std::string link = "<a href=\"../2/" + std::to_string(guide) + ".htm#2\"> Order Desk Guide </a>";
  page_with(3, link);
  page_with(4, link);
  page_with(5, link);

  // Every term of the glossary table has its entry on its glossary page.
  for (const char* term : {"Backorder", "Customer", "Dunning", "Invoice", "Order Number"}) {
    std::string gloss = read_file("xs_Sample/glossar" + std::to_string((term[0] - 'A') % 10) + ".htm");
    EXPECT_TRUE(has(gloss, std::string(">") + term + "</a></h3>")) << term << gloss;
  }

  // Pictures point into the document's own folder, which holds them.
  EXPECT_TRUE(fs::exists("xs_Sample/2/pic/image002.png"));
  page_with(2, "src=\"pic/image002.png\"");
  // A footnote closes the page that refers to it (the heading links the
  // glossary term "Customer").
  std::string checking = page_with(2, "<h2>Checking the ");
  EXPECT_TRUE(has(checking, "<p>___________________</p>")) << checking;
  EXPECT_TRUE(has(checking, "may order on account or pays in advance.")) << checking;
}

TEST(SampleWeb, SameClockGivesTheSameWeb) {
  testutil::TempDir tmp;
  ASSERT_EQ(build_sample().status, 0);
  fs::rename("xs_Sample", "xs.first");
  fs::remove_all("sample");
  ASSERT_EQ(build_sample().status, 0);
  std::map<std::string, std::string> first;
  for (const auto& e : fs::recursive_directory_iterator("xs.first"))
    if (e.is_regular_file()) first[e.path().lexically_relative("xs.first").string()] = read_file(e.path());
  size_t second = 0;
  for (const auto& e : fs::recursive_directory_iterator("xs_Sample"))
    if (e.is_regular_file()) {
      second++;
      std::string name = e.path().lexically_relative("xs_Sample").string();
      EXPECT_TRUE(first.count(name) && first[name] == read_file(e.path())) << name;
    }
  EXPECT_EQ(first.size(), second);
}

// Word's own forms: a caption is its own paragraph behind the picture's,
// and the footnotes stand in a "footnote-list" block; the head pages list
// the pictures, and the first footnote reaches its page.
TEST(SampleWeb, PictureListsAndTheFirstFootnote) {
  testutil::TempDir tmp;
  ASSERT_EQ(build_sample().status, 0);
  for (int n : {2, 4}) {
    std::string head = pages_of(n).begin()->second;
    EXPECT_TRUE(has(head, "The List of Pictures:")) << n << head;
  }
  std::string guide = pages_of(2).begin()->second;
  EXPECT_TRUE(has(guide, ">The order form</a>")) << guide;
  std::string hours = page_with(2, ">Opening Hours</h2");
  EXPECT_TRUE(has(hours, "open until 13:00.")) << hours;
}

}  // namespace

// A documented class and a C++ class of the code root find each other: the
// section page of "Class Customer" links to the class map in the code web,
// and the map links back to that section page.
TEST(SampleWeb, DocumentedClassAndItsClassMapLinkEachOther) {
  testutil::TempDir tmp;
  auto r = build_sample();
  ASSERT_EQ(r.status, 0) << r.out.substr(r.out.size() > 3000 ? r.out.size() - 3000 : 0);
  std::string section = page_with(4, "\">Customer</a></h3");
  size_t code = section.find("[<a href=../j2h/m/");
  ASSERT_NE(code, std::string::npos) << section;
  ASSERT_TRUE(has(section.substr(code, 200), "Customer")) << section;
  std::string map = section.substr(code + 16, section.find(">", code) - code - 16);
  std::string mapPage = read_file("xs_Sample/j2h/" + map);
  EXPECT_TRUE(has(mapPage, ">Customer</a></font>")) << mapPage;
  size_t back = mapPage.find(">See also class documentation.</a>");
  ASSERT_NE(back, std::string::npos) << mapPage;
  size_t href = mapPage.rfind("<a href=../../4/", back);
  ASSERT_NE(href, std::string::npos) << mapPage;
  std::string target = mapPage.substr(href + 16, mapPage.find('#', href) - href - 16);
  EXPECT_TRUE(has(read_file("xs_Sample/4/" + target), "Customer")) << target;
  // The base class in another folder is on the map, one level in.
  EXPECT_TRUE(has(mapPage, "<br><br>. &nbsp; <a href=../")) << mapPage;
}
