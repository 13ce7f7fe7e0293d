// Names escaped for the script or page they are written into.
#include "engine/escape.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Escape, OrdinaryNamesStayAsTheyAre) {
  // Blanks, path steps, letters of other scripts, "%" and "#" need nothing.
  const std::string names[] = {"t/sub/Report 2.doc", "/abs/a-b_c.d.rtf", "Stra\xdf" "e.doc",
                               "\xc3\xa4rger/x%20y.htm#sec", "1/1.htm", ""};
  for (const std::string& n : names) {
    EXPECT_EQ(js_string(n), n);
    EXPECT_EQ(html_attr(n), n);
    EXPECT_EQ(html_text(n), n);
  }
}

TEST(Escape, ScriptStringsCannotBeLeft) {
  EXPECT_EQ(js_string("a\"b"), "a\\\"b");
  EXPECT_EQ(js_string("a\\\"); evil(); (\""), "a\\\\\\\"); evil(); (\\\"");
  EXPECT_EQ(js_string("line\nnext\r\tx"), "line\\nnext\\r\\tx");
  EXPECT_EQ(js_string(std::string("a\x01z\x7f", 4)), "a\\x01z\\x7F");
  EXPECT_EQ(js_string("a\xe2\x80\xa8z\xe2\x80\xa9"), "a\\u2028z\\u2029");
  EXPECT_EQ(js_string("\xe2\x80\xa7"), "\xe2\x80\xa7");  // a neighbour stays
  EXPECT_EQ(js_string("\xe2\x80"), "\xe2\x80");          // cut short at the end
}

TEST(Escape, AttributesAndTextCannotBeLeft) {
  EXPECT_EQ(html_attr("\"><script>x('1')</script>&"),
            "&quot;&gt;&lt;script&gt;x(&#39;1&#39;)&lt;/script&gt;&amp;");
  EXPECT_EQ(html_text("\"a\" <b> & 'c'"), "\"a\" &lt;b&gt; &amp; 'c'");
}

}  // namespace

// A word written into a command script is one word of text: plain words
// stay, all others are quoted with their quotes and "%" doubled.
TEST(Escape, ScriptWordsAreTextNeverCommands) {
  EXPECT_EQ(bat_word("Customer"), "Customer");
  EXPECT_EQ(bat_word("a/b.c$d:e-f\\g_h"), "a/b.c$d:e-f\\g_h");
  EXPECT_EQ(bat_word("two words"), "\"two words\"");
  EXPECT_EQ(bat_word("x;del&y|z>w"), "\"x;del&y|z>w\"");
  EXPECT_EQ(bat_word("q\"%PATH%"), "\"q\"\"%%PATH%%\"");
  EXPECT_EQ(bat_word("line\nbreak\r"), "\"line?break?\"");
  EXPECT_EQ(bat_word(""), "\"\"");
}
