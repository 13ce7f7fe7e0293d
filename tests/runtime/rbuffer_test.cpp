// The scanner buffer: window invariants at block boundaries, text-mode
// reading, both searches, the loop guard and the block conversions.
#include "runtime/rbuffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "runtime/exec_ut.h"
#include "runtime/str_set.h"
#include "tests/test_util.h"

using testutil::read_file;
using testutil::TempDir;
using testutil::write_file;

namespace {
constexpr int L = rBuffer::read_limit;

// Lines of HTML-ish words, reproducible from the seed.
std::string words_text(size_t size, unsigned seed) {
  static const char* const words[] = {"<p class=MsoNormal>", "</p>", "the", "<a href=\"x.htm\">",
                                      "</a>", "&amp;", "Customer", "<b>", "</b>", "order",
                                      "<span lang=DE>", "item", "C_Customer", "of", "a"};
  std::mt19937 rnd(seed);
  std::string t;
  while (t.size() < size) {
    t += words[rnd() % (sizeof words / sizeof *words)];
    t += rnd() % 9 ? ' ' : '\n';
  }
  t += '\n';
  return t;
}

using testutil::failure_of;

// Finds every `needle` from the start, copying all text to "out"; returns
// the file offsets of the hits.
std::vector<long> find_all(const char* in, const std::string& needle) {
  rBuffer rb(in, "");
  FILE* out = fopen("out", "wb");
  std::vector<long> hits;
  while (rb.find(0, needle.c_str(), out)) {
    EXPECT_EQ(0, memcmp(rb.z + rb.a, needle.data(), needle.size()));
    hits.push_back(ftell(out));
    fwrite(needle.data(), 1, needle.size(), out);
    rb.a += (int)needle.size();
  }
  fclose(out);
  return hits;
}

std::vector<long> positions(const std::string& text, const std::string& needle) {
  std::vector<long> v;
  for (size_t p = text.find(needle); p != std::string::npos; p = text.find(needle, p + needle.size()))
    v.push_back((long)p);
  return v;
}
}  // namespace

// ------------------------------------------------------------ reading

TEST(RBufferRead, EveryTextEndsInALineFeed) {
  TempDir d;
  write_file("a", "one\ntwo");
  rBuffer rb("a", "");
  EXPECT_TRUE(rb.ateof);
  EXPECT_EQ(std::string(rb.z, rb.e), "one\ntwo\n");
  EXPECT_EQ(rb.z[rb.e], 0);

  write_file("empty", "");
  rBuffer r2("empty", "\n");
  EXPECT_TRUE(r2.ateof);
  EXPECT_EQ(r2.e, 1);  // just the prefix, no second line feed
  EXPECT_EQ(r2.z[0], '\n');
}

TEST(RBufferRead, TextModeFoldsCrLfAndStopsAtCtrlZ) {
  TempDir d;
  write_file("a", "a\r\nb\rc\r\r\nd\x1a" "after");
  rBuffer rb("a", "");
  EXPECT_EQ(std::string(rb.z, rb.e), "a\nb\rc\r\nd\n");
}

TEST(RBufferRead, CrLfAcrossTheReadLimitIsFolded) {
  TempDir d;
  // A CR LF pair split by the first read, a lone CR at the second, and a
  // file that fills the window exactly.
  std::string text = words_text(3 * L, 3);
  text[L - 1] = '\r';
  text[L] = '\n';
  text[L + 1000] = '\r';
  text[L + 1001] = 'x';
  std::string want = text;
  want.erase(L - 1, 1);
  write_file("a", text);
  rBuffer rb("a", "");
  FILE* out = fopen("out", "wb");
  rb.copy_rest(out);
  fclose(out);
  EXPECT_EQ(read_file("out"), want);

  write_file("exact", std::string(L - 1, 'x') + "\n");
  rBuffer r2("exact", "");
  EXPECT_TRUE(r2.ateof);  // known without another read
  EXPECT_EQ(r2.e, L);
}

TEST(RBufferRead, ScratchFileIsDeletedAtItsEnd) {
  TempDir d;
  write_file("rm_x", "text\n");
  { rBuffer rb("rm_x", ""); }
  EXPECT_FALSE(testutil::file_exists("rm_x"));
}

TEST(RBufferRead, MissingFileEndsTheRun) {
  TempDir d;
  EXPECT_EQ(testutil::end_status_of([] { rBuffer("no_such_file", ""); }), 1);
}

TEST(RBufferRead, WritingTheFileThatIsRead) {
  TempDir d;
  std::string text = words_text(3 * L, 9);
  write_file("a", text);
  FILE* out = nullptr;
  {
    rBuffer rb("a", "a", &out, "");
    while (rb.find(0, "&amp;", out)) {
      fwrite("&", 1, 1, out);
      rb.a += 5;
    }
  }
  fclose(out);
  std::string want = text;
  for (size_t p = want.find("&amp;"); p != std::string::npos; p = want.find("&amp;", p + 1))
    want.replace(p, 5, "&");
  EXPECT_EQ(read_file("a"), want);
}

TEST(RBufferRead, IncludeWalkCopiesEachFileOnce) {
  TempDir d;
  write_file("main", "top\nCOPY inc1 .\nmiddle\nCOPY inc2\nend\n");
  write_file("inc1", "one\nCOPY inc2 x\n");
  write_file("inc2", "two\nCOPY main\n");  // back to the start: not again
  rBuffer rb("main", "");
  testing::internal::CaptureStdout();
  rb.include_walk("COPY ", "all", nullptr);
  std::string said = testing::internal::GetCapturedStdout();
  EXPECT_EQ(read_file("all"),
            "top\nCOPY inc1one\nCOPY inc2two\nCOPY main\n x\n .\nmiddle\nCOPY inc2\nend\n");
  EXPECT_NE(said.find("\n-  f inc2\n\n"), std::string::npos);
}

TEST(RBufferRead, ValuesAndPairs) {
  rBuffer rb;
  std::string t = "\nname='Smith'\nsize = 12\nempty \n";
  rb.scan_text(t.c_str(), (int)t.size(), "");
  EXPECT_EQ(std::string(rb.value_of("name", "B", "N"), 5), "Smith");
  EXPECT_STREQ(rb.value_of("size", "B", "N"), "B");  // a blank behind the key
  EXPECT_STREQ(rb.value_of("missing", "B", "N"), "N");

  rBuffer pair("a b", "'c d' e", true);
  EXPECT_TRUE(pair.ateof);
  EXPECT_EQ(std::string(pair.z, pair.e + 2), std::string("a\0b\0'c d\0\0e\0\0", 13));
}

// ------------------------------------------------------------- window

TEST(RBufferWindow, LookBehindAndLookAheadAroundHits) {
  TempDir d;
  std::string text = words_text(4 * L, 4);
  // Hits before the first refill, just behind it, and deep in the next
  // windows: each must see 1000 characters back and 8000 ahead.
  std::vector<long> at = {L - 50, L + 10, L + 1000 + 3, 2 * L - 3000, 3 * L};
  for (long p : at) text.replace(p, 5, "@MRK@");
  write_file("a", text);
  rBuffer rb("a", "");
  for (long p : at) {
    ASSERT_TRUE(rb.find(0, "@MRK@", nullptr)) << p;
    ASSERT_GT(rb.e - rb.a, rBuffer::look_ahead);
    EXPECT_EQ(std::string(rb.z + rb.a - 1000, 1000), text.substr(p - 1000, 1000)) << p;
    EXPECT_EQ(std::string(rb.z + rb.a, 8000), text.substr(p, 8000)) << p;
    rb.a += 5;
  }
}

TEST(RBufferWindow, KeepFollowsASlide) {
  TempDir d;
  std::string text = words_text(2 * L, 5);
  write_file("a", text);
  rBuffer rb("a", "");
  rb.a = L - 100;
  char* p = rb.z + rb.a + 10;
  rb.keep(&p, 5000);
  EXPECT_EQ(rb.a, 0);
  EXPECT_EQ(std::string(p, 20), text.substr(L - 90, 20));
}

// ------------------------------------------------------------- search

TEST(RBufferFind, HitStraddlingTheRefillPoint) {
  TempDir d;
  const std::string needle = "<needle>";
  str_set set("stops");
  set.insert("<needle>");
  set.insert("zzz");
  std::string filler;
  while (filler.size() < L + 5000) filler += "<a b>\n";
  for (long p = L - (long)needle.size() - 1; p <= L + 1; ++p) {
    std::string text = filler;
    text.replace(p, needle.size(), needle);
    write_file("a", text);
    EXPECT_EQ(find_all("a", needle), std::vector<long>{p}) << p;
    EXPECT_EQ(read_file("out"), text);

    rBuffer rb("a", "");
    FILE* out = fopen("out2", "wb");
    str_el* el = rb.find(0, set, out);
    ASSERT_TRUE(el) << p;
    EXPECT_STREQ(el->k, "<needle>");
    EXPECT_EQ(ftell(out), p);
    fclose(out);
  }
}

TEST(RBufferFind, StringRoundTripOverALargeFile) {
  TempDir d;
  std::string text = words_text(900000, 6);
  write_file("a", text);
  EXPECT_EQ(find_all("a", "C_Customer"), positions(text, "C_Customer"));
  EXPECT_EQ(read_file("out"), text);
  // A string that never occurs passes everything through.
  EXPECT_TRUE(find_all("a", "nowhere").empty());
  EXPECT_EQ(read_file("out"), text);
}

TEST(RBufferFind, SetRoundTripFollowsBucketOrder) {
  TempDir d;
  std::string text = words_text(700000, 7);
  write_file("a", text);
  str_set set("tags");
  for (const char* k : {"<p", "<p class=", "</p>", "&amp;", "<a ", "<a href", "</a>", "C_"})
    set.insert(k);

  rBuffer rb("a", "");
  FILE* out = fopen("out", "wb");
  std::vector<std::pair<long, std::string>> got, want;
  while (str_el* el = rb.find(0, set, out)) {
    got.emplace_back(ftell(out), el->k);
    fwrite(el->k, 1, el->L, out);
    rb.a += el->L;
  }
  fclose(out);
  EXPECT_EQ(read_file("out"), text);
  for (size_t i = 0; i < text.size();) {
    if (str_el* el = set.find_prefix(text.c_str() + i, 0)) {
      want.emplace_back((long)i, el->k);
      i += el->L;
    } else {
      ++i;
    }
  }
  EXPECT_EQ(got, want);
}

TEST(RBufferFind, SetPicksTheFirstElementOfItsBucket) {
  str_set later("s1");
  later.insert("ab");
  later.insert("abc");
  rBuffer rb;
  rb.scan_text("xxabcx\n", 7, "");
  str_el* el = rb.find(0, later, nullptr);
  ASSERT_TRUE(el);
  EXPECT_STREQ(el->k, "abc");
  EXPECT_EQ(rb.a, 2);
  int want = 0;
  memcpy(&want, "abc", 3);
  EXPECT_EQ(rb.last_match, want);

  // Not always the longest: "a" stands before "ab" here.
  str_set mixed("s2");
  for (const char* k : {"a", "abc", "ab"}) mixed.insert(k);
  rb.scan_text("abx\n", 4, "");
  EXPECT_STREQ(rb.find(0, mixed, nullptr)->k, "a");

  str_set empty("none");
  std::string msg = failure_of([&] { rb.find(0, empty, nullptr); });
  EXPECT_NE(msg.find("User: Strset for find() must not be empty."), std::string::npos);
}

TEST(RBufferFind, SkipBeyondTheTextLeavesA) {
  rBuffer rb;
  rb.scan_text("abc\n", 4, "");
  EXPECT_EQ(rb.find(10, "c", nullptr), nullptr);
  EXPECT_EQ(rb.a, 0);
  // A needle ending exactly at the end of the text is found.
  ASSERT_TRUE(rb.find(1, "c\n", nullptr));
  EXPECT_EQ(rb.a, 2);
}

TEST(RBufferFind, GuardStopsAScanThatDoesNotAdvance) {
  TempDir d;
  write_file("a", "ab\n");
  rBuffer rb("a", "");
  FILE* out = fopen("out", "wb");
  for (int i = 0; i < 8; ++i) EXPECT_EQ(rb.find(0, "abcdef", out), nullptr);
  EXPECT_EQ(rb.a, 0);
  std::string msg = failure_of([&] { rb.find(0, "abcdef", out); });
  fclose(out);
  EXPECT_NE(msg.find("Infinite loop: rBuffer, line 1434: ateof = 1, suche [abcdef]"),
            std::string::npos)
      << msg;
  std::string copies;
  for (int i = 0; i < 8; ++i) copies += "ab\n";
  EXPECT_EQ(read_file("out"), copies);

  // The usual mistake: searching again with skip 0 at the hit.
  rBuffer r2;
  r2.scan_text("x x x\n", 6, "");
  for (int i = 0; i < 8; ++i) ASSERT_TRUE(r2.find(0, "x", nullptr));
  failure_of([&] { r2.find(0, "x", nullptr); });
}

TEST(RBufferFind, TagEndCountsNesting) {
  rBuffer rb;
  std::string t = "<table><tr><table>in</table></tr></table>rest\n";
  rb.scan_text(t.c_str(), (int)t.size(), "");
  char* end = rb.tag_end(6, rb.z, "table");
  EXPECT_EQ(std::string(end, 4), "rest");
}

// A start k characters behind p that lies past the text is refused with a
// report, never searched from.
TEST(RBufferFind, TagEndStartPastTheTextFails) {
  rBuffer rb;
  std::string t = "<table>in</table>\n";
  rb.scan_text(t.c_str(), (int)t.size(), "");
  std::string said = failure_of([&] { rb.tag_end(40, rb.z + rb.e - 2, "table"); });
  EXPECT_NE(said.find("tag_end outside the window"), std::string::npos) << said;
  said = failure_of([&] { rb.tag_end(-1, rb.z, "table"); });
  EXPECT_NE(said.find("tag_end outside the window"), std::string::npos) << said;
  // Up to the end itself is a start: nothing is left to find there.
  said = failure_of([&] { rb.tag_end(2, rb.z + rb.e - 2, "table"); });
  EXPECT_NE(said.find("no end tag of table"), std::string::npos) << said;
}

// -------------------------------------------------------- conversions

TEST(RBufferConvert, TwoCharsAndRtfControlBytes) {
  rBuffer rb;
  std::string t = "\x84\xe1\x80x";  // ae, ss, 128 stays
  rb.scan_text(t.c_str(), (int)t.size(), "");
  rb.convert("two_chars", 0);
  EXPECT_EQ(std::string(rb.z, rb.e), "aess\x80x");

  t = "a\x07" "b\rc\x1b{d}\\\n\xe4\x84\x80";
  rb.scan_text(t.c_str(), (int)t.size(), "");
  testing::internal::CaptureStdout();
  rb.convert("rtf_chars", 0);
  std::string said = testing::internal::GetCapturedStdout();
  EXPECT_EQ(std::string(rb.z, rb.e), "abc\\{d\\}\\\\\n\\'e4\\'e4");
  EXPECT_EQ(said,
            "Error in Input: Falsch codierte Umlaute (vi ]:ascii( 7 )\n"
            "Error in Input: ascii( 128 ) in rtf code nicht erlaubt\n");

  failure_of([&] { rb.convert("no_such_conversion", 0); });
}

TEST(RBufferConvert, ExpTabsCarriesTheColumnAcrossBlocks) {
  TempDir d;
  std::mt19937 rnd(8);
  std::string text;
  while (text.size() < 6 * (size_t)L) {  // long lines: most refills fall inside one
    int r = rnd() % 100;
    text += r < 10 ? '\t' : r == 10 ? '\n' : (char)('a' + r % 26);
  }
  text += '\n';
  std::string want;
  int col = 0;
  for (char c : text) {
    if (c == '\t') {
      do want += ' '; while (++col % 4);
    } else {
      want += c;
      col = c == '\n' ? 0 : col + 1;
    }
  }
  write_file("a", text);
  rBuffer rb;
  rb.conv = "exp_tabs";
  rb.open_file("a", "");
  FILE* out = fopen("out", "wb");
  rb.copy_rest(out);
  fclose(out);
  EXPECT_EQ(read_file("out"), want);
}
