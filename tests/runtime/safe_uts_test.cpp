// The text operations of the toolbox: numbers, searching, in-place changes,
// source skipping, dates and the environment.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "runtime/safe_uts.h"
#include "tests/test_util.h"

namespace {

void expect_failure(const std::function<void()>& f) { testutil::failure_of(f); }

TEST(SafeUtsNumbers, Atoi) {
  EXPECT_EQ(safe_ut.atoi("00000000000123", "t", 1), 123);  // leading zeros do not count
  EXPECT_EQ(safe_ut.atoi("  \t-42x", "t", 1), -42);
  EXPECT_EQ(safe_ut.atoi("\n5", "t", 1), 0);
  EXPECT_EQ(safe_ut.atoi("-", "t", 1), 0);
  EXPECT_EQ(safe_ut.atoi("x5", "t", 1), 0);
  EXPECT_EQ(safe_ut.atoi("2147483647", "t", 1), 2147483647);
  expect_failure([] { safe_ut.atoi("12345678901", "t", 1); });
  expect_failure([] { safe_ut.atoi(nullptr, "t", 1); });
}

TEST(SafeUtsNumbers, DecimalsAndFloats) {
  EXPECT_DOUBLE_EQ(safe_ut.parse_decimal(" 1,234.5", '.'), 1234.5);
  EXPECT_DOUBLE_EQ(safe_ut.parse_decimal("-1.234,25", ','), -1234.25);
  EXPECT_DOUBLE_EQ(safe_ut.parse_float("3,5 rest"), 3.5);
  EXPECT_DOUBLE_EQ(safe_ut.parse_float("1.000,5"), 1000.5);
  EXPECT_DOUBLE_EQ(safe_ut.parse_float("2.25"), 2.25);
  EXPECT_DOUBLE_EQ(safe_ut.parse_float("\n2.25"), 0.0);
  expect_failure([] { safe_ut.parse_decimal("1", ';'); });
}

TEST(SafeUtsSearch, EdgeCases) {
  const char* s = "hello world";
  EXPECT_EQ(safe_ut.char_in(0, s), nullptr);
  EXPECT_EQ(safe_ut.char_in('w', s), s + 6);
  EXPECT_EQ(safe_ut.str_in("", s), s);
  EXPECT_EQ(safe_ut.str_in("xyz", s), nullptr);
  EXPECT_EQ(safe_ut.str_in_nocase("WORLD", s), s + 6);
  EXPECT_EQ(safe_ut.str_in_to("world", s, ' '), nullptr);
  EXPECT_EQ(safe_ut.str_in_to("llo", s, ' '), s + 2);
  EXPECT_TRUE(safe_ut.same_prefix("hel", s));
  EXPECT_EQ(safe_ut.common_prefix_len("help", s), 3);
  EXPECT_EQ(safe_ut.longest_substring_from_start("worlds", s), 5);
  EXPECT_EQ(safe_ut.longest_common_substring("xxlo wyy", s), 4);
  EXPECT_TRUE(safe_ut.ends_with(s, "rld"));
  EXPECT_STREQ(safe_ut.file_part("a/b\\c.htm"), "c.htm");
  EXPECT_STREQ(safe_ut.behind_last("a.b.c", "."), "c");
  EXPECT_EQ(safe_ut.count_char("a,b,c;d,e", ',', ';'), 2);
  EXPECT_TRUE(safe_ut.selected("b~d", "abcd"));
  EXPECT_FALSE(safe_ut.selected("b~x", "abcd"));
  EXPECT_EQ(safe_ut.words_in("red green", "a green and red thing", false), 2);
  EXPECT_EQ(safe_ut.words_in("red blue", "a green and red thing", false), 0);
  expect_failure([] { safe_ut.char_in('a', (const char*)nullptr); });
}

TEST(SafeUtsChange, InPlaceOperations) {
  char s[64] = "  many \t  blanks \n here ";
  safe_ut.one_blank(s);
  EXPECT_STREQ(s, " many blanks here ");
  char t[64] = "abc///";
  safe_ut.cut_tail(t, '/');
  EXPECT_STREQ(t, "abc");
  char u[64] = "key=value";
  EXPECT_EQ(safe_ut.cut_at(u, "="), u + 3);
  EXPECT_STREQ(u, "key");
  char out[64];
  EXPECT_EQ(safe_ut.copy_up_to(out, "a.b.c", ".", true), 2);
  EXPECT_STREQ(out, "a.");
  EXPECT_EQ(safe_ut.copy_up_to(out, "abc", ";", true), 0);
  char big[64];
  safe_ut.replace_all("a-b-c", "-", "--", big, big + 60);
  EXPECT_STREQ(big, "a--b--c");
  char small[8];
  expect_failure([&] { safe_ut.replace_all("a-b-c-d-e", "-", "---", small, small + 7); });
  char buf[32] = "0123456789";
  char* start = safe_ut.put_before(buf + 10, "xy");
  EXPECT_EQ(start, buf + 8);
  EXPECT_EQ(std::string(buf, 10), "01234567xy");
}

TEST(SafeUtsChange, NamesAndHash) {
  char j[32] = "KUNDE_ID";
  safe_ut.java_name(j);
  EXPECT_STREQ(j, "Kunde_ID");
  char k[32] = "PLZ";
  safe_ut.java_name(k);
  EXPECT_STREQ(k, "PLZ");
  char out[32];
  safe_ut.camel_name(out, "order line-item");
  EXPECT_STREQ(out, "Order@Line@Item");
  // The page-key hash is fixed: changing it would renumber existing webs.
  EXPECT_EQ(safe_uts::scan_hash("", ""), 123456777u);
  unsigned h = 123456777u;
  h = (h % 77777777u) * ('a' + 1u) + 1234567u;
  EXPECT_EQ(safe_uts::scan_hash("a#rest", "#"), h);
}

TEST(SafeUtsChange, RandomCharFollowsTheClassicSequence) {
  safe_uts& s = safe_ut;
  unsigned saved = s.random_seed;
  s.random_seed = 1;
  // The classic run-time sequence starts 41, 18467, 6334.
  EXPECT_EQ(s.random_char(0, 32768), 41);
  EXPECT_EQ(s.random_char(0, 32768), 18467);
  EXPECT_EQ(s.random_char(0, 32768), 6334);
  s.random_seed = saved;
  expect_failure([] { safe_ut.random_char(5, 5); });
}

TEST(SafeUtsOutput, SprintfNamesTheNullArgument) {
  char out[100];
  safe_ut.Sprintf(out, "%s-%i-%5.1f", "a", 3, 2.5);
  EXPECT_STREQ(out, "a-3-  2.5");
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const char* volatile missing = nullptr;  // hidden from the compiler's format check
  EXPECT_THROW(safe_ut.Sprintf(out, "%s and %s", "x", (const char*)missing), const char*);
  std::string o = testing::internal::GetCapturedStdout();
  testing::internal::GetCapturedStderr();
  exut.reset_after_failure();
  EXPECT_NE(o.find("The 4.th argument of Sprintf() is NULL"), std::string::npos) << o;
}

// The length is a most: a shorter text is shown to its end and no further
// (callers pass 20 to 100 for texts of any length).
TEST(SafeUtsOutput, ShowTextEndsWithTheText) {
  char two[] = "ab";
  char three[] = {'x', 'y', 'z'};  // no NUL: the length bounds the show
  testing::internal::CaptureStdout();
  safe_ut.show_text("s", two, 40);
  safe_ut.show_text("?c", three, 2);
  safe_ut.show_text("n", "0123456789abcdef", 0);
  std::string o = testing::internal::GetCapturedStdout();
  EXPECT_NE(o.find("\ns = ...[ab]... call_nr "), std::string::npos) << o;
  EXPECT_NE(o.find("\n?c = ...[xy]... call_nr "), std::string::npos) << o;
  EXPECT_NE(o.find(" 120 121"), std::string::npos) << o;
  EXPECT_NE(o.find("\nn = ...[0123456789a]... "), std::string::npos) << o;
}

TEST(SafeUtsSyntax, ChecksPrintAndAnswer) {
  testing::internal::CaptureStdout();
  EXPECT_TRUE(safe_ut.in_set('a', "abc", "x"));
  EXPECT_FALSE(safe_ut.in_set('z', "abc", "zebra"));
  EXPECT_TRUE(safe_ut.same_text("include x", "include"));
  EXPECT_FALSE(safe_ut.same_text("inc", "include"));
  EXPECT_EQ(safe_ut.check_len(2, 0, "ab", "f", 1), 0);
  EXPECT_EQ(safe_ut.check_len(3, 5, "ab", "f", 1), 1);
  EXPECT_EQ(safe_ut.check_len(1, 1, "ab", "f", 1), 1);
  EXPECT_EQ(safe_ut.check_len(1, 1, nullptr, "f", 1), 1);
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_NE(out.find("\nSyntax: char( z = 122 ) not in (abc) at ( zebra ... )"), std::string::npos);
  EXPECT_NE(out.find("E r r o r :  String too short at 1.f \n"), std::string::npos);
  EXPECT_NE(out.find("E r r o r :  String too long at 1.f \n"), std::string::npos);
  EXPECT_NE(out.find("E r r o r :  NULL adress at 1.f\n"), std::string::npos);
}

TEST(SafeUtsSource, SkippingStringsAndComments) {
  char src[] = "\"a\\\"b\" rest";
  char* p = src;
  safe_ut.skip_string(&p, src + sizeof src);
  EXPECT_STREQ(p, " rest");
  char open[] = "\"never closed\nnext";
  p = open;
  safe_ut.skip_string(&p, open + sizeof open);
  EXPECT_EQ(p, open + 1);  // recovers right behind the quote
  char com[] = "/* x */  // y\n  z";
  p = com;
  safe_ut.skip_blank_comments(&p);
  EXPECT_STREQ(p, "z");
  char br[] = "f(a, (b), \")\") + 1";
  p = br;
  safe_ut.skip_brackets(&p, '(', ')');
  EXPECT_STREQ(p, " + 1");
  char bad[] = "x";
  p = bad;
  expect_failure([&] { safe_ut.skip_comment(&p); });
}

TEST(SafeUtsDates, FixedClockAndConversions) {
  setenv("SOURCE_DATE_EPOCH", "1316476800", 1);  // 2011-09-20 00:00 UTC
  EXPECT_STREQ(safe_ut.today(), "2011.09.20");
  EXPECT_STREQ(safe_ut.today_de(), "20.09.2011");
  EXPECT_STREQ(safe_ut.date_time(2), "2011.09.20 00:00");
  EXPECT_STREQ(safe_ut.stamp(), "2011.09.20_00.00");
  EXPECT_STREQ(safe_ut.date_time_us(1), "Sep 20, 2011");
  unsetenv("SOURCE_DATE_EPOCH");
  char d[32] = "2001.12.05";
  safe_ut.date_us(d);
  EXPECT_STREQ(d, "Dec 5");
  char e[32] = "05.12.2001";
  safe_ut.date_ymd(e);
  EXPECT_STREQ(e, "2001.12.05");
  char bad[32] = "2001.13.05";
  expect_failure([&] { safe_ut.date_us(bad); });
}

TEST(SafeUtsEnv, ExpandEnv) {
  setenv("BRELMOT_T", "val", 1);
  EXPECT_EQ(safe_ut.expand_env("a%BRELMOT_T%b"), "avalb");
  EXPECT_EQ(safe_ut.expand_env("100% sure"), "100sure");  // "%" and the next character go
  EXPECT_EQ(safe_ut.expand_env("50%"), "50");
  // An unknown name loses its "%"; the closing "%" then has no name and goes too.
  EXPECT_EQ(safe_ut.expand_env("%NO_SUCH_VAR_X%"), "NO_SUCH_VAR_X");
  // Names are looked up exactly, then without regard to case.
  EXPECT_EQ(safe_ut.expand_env("%brelmot_t%"), "val");
  EXPECT_STREQ(safe_ut.getenv_ok("NO_SUCH_VAR_X"), "");
  expect_failure([] { safe_ut.getenv_ok("bad name"); });
  unsetenv("BRELMOT_T");
  char out[600];
  EXPECT_EQ(safe_ut.value_after(out, "x name=Foo_1 y", "name="), 5);
  EXPECT_STREQ(out, "Foo_1");
  EXPECT_EQ(safe_ut.value_after(out, "x", "name="), -1);
  char dir[64] = "a/";
  safe_ut.append_path(dir, "//b");
  EXPECT_STREQ(dir, "a/b");
}

}  // namespace
