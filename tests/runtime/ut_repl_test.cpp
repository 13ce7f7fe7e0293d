// Replacing in files and the conversions of whole texts.
#include <gtest/gtest.h>

#include <string>

#include "runtime/safe_uts.h"
#include "runtime/ut_repl.h"
#include "tests/test_util.h"

namespace {

TEST(UtRepl, ErsetzeInPlaceAndToAnotherFile) {
  testutil::TempDir tmp;
  // Long enough that hits straddle the scanner's refills.
  std::string text;
  for (int i = 0; i < 60000; i++) text += "ab-old-cd ";
  testutil::write_file("in.txt", text);
  EXPECT_EQ(ut_repl::ersetze("in.txt", "out.txt", "old", "brand-new"), 60000);
  std::string want;
  for (int i = 0; i < 60000; i++) want += "ab-brand-new-cd ";
  EXPECT_EQ(testutil::read_file("out.txt"), want + "\n");
  EXPECT_EQ(ut_repl::ersetze("in.txt", nullptr, "-", ""), 120000);
  EXPECT_EQ(testutil::read_file("in.txt").substr(0, 20), "aboldcd aboldcd abol");
  EXPECT_FALSE(testutil::file_exists("xx_ersetze_nch"));
  testing::internal::CaptureStdout();
  EXPECT_THROW(ut_repl::ersetze("in.txt", "o", "", "x"), const char*);
  testing::internal::GetCapturedStdout();
  exut.reset_after_failure();
}

TEST(UtRepl, OhneBlanksKeepsOneBlank) {
  testutil::TempDir tmp;
  testutil::write_file("in.txt", "a  \t b\n c   \n\nd\n");
  ut_repl::ohne_blanks("in.txt", "out.txt");
  EXPECT_EQ(testutil::read_file("out.txt"), "a b\n c d\n");
}

TEST(UtRepl, CodePageConversions) {
  char dos[] = "\x84\x94\x81\x8e\x99\x9a\xe1!";
  ut_repl::dos_to_win(dos);
  EXPECT_STREQ(dos, "\xe4\xf6\xfc\xc4\xd6\xdc\xdf!");
  char u[] = "M\xc3\xbc" "ller \xc3\x9f \xc3\xa9 \xc3";
  ut_repl::utf8_to_win(u);
  EXPECT_STREQ(u, "M\xfcller \xdf \xc3\xa9 \xc3");  // other pairs stay as they are
}

}  // namespace

#include "runtime/uhr.h"

namespace {

TEST(Uhr, StampSurvivesForALaterShowAndDurationsAreZeroOnAFixedClock) {
  testutil::TempDir tmp;
  setenv("TMPDIR", tmp.path().c_str(), 1);
  setenv("SOURCE_DATE_EPOCH", "1700000000", 1);
  uhr u;
  EXPECT_STREQ(u.lap(0), "time 0 =  0.00 sec");
  EXPECT_STREQ(u.lap(3), "time 3 =  0.00 sec");
  testing::internal::CaptureStdout();
  u.start_or_show("later");  // nothing stored yet
  u.start_or_show("0");
  u.start_or_show("later");
  std::string out = testing::internal::GetCapturedStdout();
  unsetenv("SOURCE_DATE_EPOCH");
  unsetenv("TMPDIR");
  EXPECT_EQ(out, "\ntime 0 undefined\ntime( later ) =  0.00 sec\n");
}

}  // namespace
