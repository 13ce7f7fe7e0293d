// The cleaning on real snapshots saved by Word 97 to 2013: after the charset
// intake and ers_schmutz, no office-only, hidden or deleted mark-up is left,
// every picture points into "pic", the text is still there, and norm_para
// reads every paragraph head without leaving more than two blank lines.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "tests/test_util.h"

namespace {

struct Fixture {
  const char* file;
  std::vector<std::string> kept;     // visible words that must stay
  std::vector<std::string> dropped;  // words of hidden, deleted or Word-only parts
};

// Words in windows-1252, as the cleaned files hold them.
const Fixture fixtures[] = {
    {"word2000-headings-lists.html", {"paragraphs", "numbered points"}, {"Australian Agency"}},
    {"word2000-tracked-changes-comments.htm",
     {"idealized", "registering"},        // inserted
     {"proposes", "WmiMofCk", "[AW1]"}},  // deleted, and a comment anchor
    {"word2002-filespy-user-guide.htm", {"AttachMode", "understanding"}, {}},
    // The text of a paragraph that holds a picture goes with it.
    {"word2002-german-website.htm", {"zahlreichen", "Einkaufsm\xF6glichkeiten"}, {"Bodenfliesen"}},
    {"word2003-devcon-readme.htm", {"ControlCallback", "unnecessarily"}, {}},
    {"word2007-smscir-readme.htm", {"CoInstaller", "validating"}, {}},
    {"word2010-storport-readme.htm", {"CombineVirtDisks", "tracelogoutMP"}, {}},
    {"word2011mac-charset-macintosh.htm", {"zingerbugimages", "doesn\x92t"}, {}},
    {"word2013-german-protokoll.html",
     {"gro\xDF"
      "enteils",
      "durchgef\xFChrt"},
     {}},
    {"word2013-oasis-dss-metadata.htm",
     {"H\xFChnlein", "Acknowledgements"},
     {"MACROBUTTON", "Gitternetztabelle"}},  // a field code, a style name
    {"word2013-oasis-sarif-large.htm", {"D\xFCrst", "weaknesses"}, {"MERGEFORMAT"}},
    {"word2013-report-numbered-toc.htm", {"prot\xE9g\xE9", "widespread"}, {"PAGEREF"}},
    {"word2013-utf16-manual.html", {"Arithmetic", "LT</b> \x96 Replace"}, {}},
    {"word97-isousb-readme.htm", {"Asynchronous", "usefulness"}, {}},
};

bool has(const std::string& t, const std::string& w) { return t.find(w) != std::string::npos; }

bool has_nocase(const std::string& t, const char* w) {
  return strcasestr(t.c_str(), w) != nullptr;  // the files hold no NUL
}

// The longest run of paragraphs that norm_para leaves as blank lines.
int longest_blank_run(const std::string& text) {
  ut_htm ut;
  std::string t = text;
  char* end = t.data() + t.size();
  int run = 0, longest = 0;
  for (char* p = strstr(t.data(), "<p"); p; p = strstr(p + 2, "<p")) {
    if (p[2] != ' ' && p[2] != '>') continue;
    testutil::MemOut out;
    char* rest = ut.norm_para(out.get(), p + 2, 0, end);
    std::string head = out.text();
    bool empty = strncasecmp(rest, "</p", 3) == 0;
    if (!empty)
      run = 0;
    else if (head.size() >= 6 && head.compare(head.size() - 6, 6, "&nbsp;") == 0)
      longest = std::max(longest, ++run);
  }
  return longest;
}

class UtHtmFixture : public testing::TestWithParam<Fixture> {};

TEST_P(UtHtmFixture, CleanedSnapshotKeepsTextAndLosesWordMarkup) {
  const Fixture& fx = GetParam();
  std::string from = testutil::fixtures_dir() + "/word-html/" + fx.file;
  ASSERT_TRUE(std::filesystem::exists(from)) << from;
  testutil::TempDir dir;
  std::filesystem::copy_file(from, fx.file);
  std::filesystem::permissions(fx.file, std::filesystem::perms::owner_write,
                               std::filesystem::perm_options::add);

  std::string did = ut_htm::to_windows1252(fx.file);
  std::string before = testutil::read_file(fx.file);
  if (has(did, "converted")) {
    EXPECT_TRUE(has_nocase(before, "charset=windows-1252")) << did;
  } else {
    EXPECT_EQ(before, testutil::read_file(from)) << "a windows-1252 file is not touched";
  }
  for (const std::string& w : fx.dropped) ASSERT_TRUE(has(before, w)) << w;

  ut_htm ut;
  testing::internal::CaptureStdout();
  ut.ers_schmutz(fx.file, (long)before.size(), "", 'd');
  testing::internal::GetCapturedStdout();
  std::string after = testutil::read_file(fx.file);
  EXPECT_FALSE(std::filesystem::exists("x_ers_schmutz"));

  EXPECT_TRUE(has(after, "<body>\n"));
  for (const char* bad :
       {"<o:p", "<meta", "mso-hide:all", "<del", "msoDel", "<![if", "<!--[if", "<w:", "</w:"})
    EXPECT_FALSE(has_nocase(after, bad)) << bad;
  for (const std::string& w : fx.kept) EXPECT_TRUE(has(after, w)) << w;
  for (const std::string& w : fx.dropped) EXPECT_FALSE(has(after, w)) << w;

  // Every picture points into "pic".
  for (const char* img = strcasestr(after.c_str(), "<img"); img;
       img = strcasestr(img + 4, "<img")) {
    std::string tag(img, strcspn(img, ">"));
    EXPECT_TRUE(has_nocase(tag, "src=\"pic/")) << tag;
  }

  testing::internal::CaptureStdout();
  int run = longest_blank_run(after);
  testing::internal::GetCapturedStdout();
  EXPECT_LE(run, 2);
}

INSTANTIATE_TEST_SUITE_P(WordSnapshots, UtHtmFixture, testing::ValuesIn(fixtures),
                         [](const testing::TestParamInfo<Fixture>& info) {
                           std::string n = info.param.file;
                           for (char& c : n)
                             if (!isalnum((unsigned char)c)) c = '_';
                           return n;
                         });

}  // namespace
