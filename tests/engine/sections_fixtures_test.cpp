// Every real Word snapshot, cleaned as the intake cleans it, then marked
// the way card registration and link creation mark it (a page cut before
// each heading, the document line behind the body tag), is cut into
// section pages without a failure report.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <string>

#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "tests/test_util.h"

namespace {

// Page cuts before the headings of a cleaned file; the document line.
std::string minimal_marks(const std::string& cleaned) {
  std::string r;
  size_t body = cleaned.find("<body");
  size_t gt = body == std::string::npos ? 0 : cleaned.find('>', body) + 1;
  r = cleaned.substr(0, gt);
  r += "<p><a name=\"1\"></a></p><$Doc=2011.09.20:2011.09.20:          :Fixture><aa><center>"
       "</center><aa>";
  for (size_t i = gt; i < cleaned.size(); i++) {
    if (cleaned[i] == '<' && i + 2 < cleaned.size() && cleaned[i + 1] == 'h' &&
        isdigit((unsigned char)cleaned[i + 2]))
      r += "<h:Fixture> ";
    r += cleaned[i];
  }
  return r;
}

class SectionsFixture : public testing::TestWithParam<const char*> {};

TEST_P(SectionsFixture, CleanedSnapshotIsCutWithoutFailure) {
  std::string from = testutil::fixtures_dir() + "/word-html/" + GetParam();
  ASSERT_TRUE(std::filesystem::exists(from)) << from;
  testutil::TempDir dir;
  std::filesystem::create_directories("xs/2");
  std::filesystem::copy_file(from, "doc.htm");
  std::filesystem::permissions("doc.htm", std::filesystem::perms::owner_write,
                               std::filesystem::perm_options::add);
  web_model model;
  model.comms.resize(3);
  ut_htm ut(model);
  testing::internal::CaptureStdout();
  ut_htm::to_windows1252("doc.htm");
  ut.ers_schmutz("doc.htm", (long)std::filesystem::file_size("doc.htm"), "", 'd');
  testutil::write_file("2.neu", minimal_marks(testutil::read_file("doc.htm")));
  doc_record& r = model.comms[2];
  r.com = 'd';
  r.nr = "2";
  int page = 3;
  int pages = 0;
  bool failed = false;
  try {
    pages = ut.split_doc(2, "2.neu", "xs", page, nullptr, 2, "Fixture", nullptr, r);
  } catch (const char*) {
    failed = true;
  }
  std::string out = testing::internal::GetCapturedStdout();
  if (failed) exut.reset_after_failure();
  ASSERT_FALSE(failed) << out.substr(out.size() > 3000 ? out.size() - 3000 : 0);
  EXPECT_GE(pages, 1);
  EXPECT_EQ(page, 3 + pages + 1);
  for (int p = 4; p <= page; p++)
    EXPECT_TRUE(testutil::file_exists("xs/2/" + std::to_string(p) + ".htm")) << p;
  if (std::string(GetParam()) == "word2013-oasis-sarif-large.htm") {
    EXPECT_GT(pages, 200);
  }
}

INSTANTIATE_TEST_SUITE_P(
    WordSnapshots, SectionsFixture,
    testing::Values("word2000-headings-lists.html", "word2000-tracked-changes-comments.htm",
                    "word2002-filespy-user-guide.htm", "word2002-german-website.htm",
                    "word2003-devcon-readme.htm", "word2007-smscir-readme.htm",
                    "word2010-storport-readme.htm", "word2011mac-charset-macintosh.htm",
                    "word2013-german-protokoll.html", "word2013-oasis-dss-metadata.htm",
                    "word2013-oasis-sarif-large.htm", "word2013-report-numbered-toc.htm",
                    "word2013-utf16-manual.html", "word97-isousb-readme.htm"),
    [](const testing::TestParamInfo<const char*>& info) {
      std::string n = info.param;
      for (char& c : n)
        if (!isalnum((unsigned char)c)) c = '_';
      return n;
    });

}  // namespace
