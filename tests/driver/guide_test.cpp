// The guide to the web configuration that the installation ships: it lies
// where the usage text says, is a well-formed document with a snapshot that
// matches it, passes as a document of a configuration, and leaves no command
// of the language out.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "tests/test_util.h"

namespace fs = std::filesystem;
using testutil::read_file;
using testutil::run_brelmot;
using testutil::write_file;

namespace {

using testutil::count_of;
using testutil::has;

std::string installation() {
  return (fs::path(BRELMOT_EXE).parent_path() / "ut_brelmot").string();
}
std::string guide_rtf() { return installation() + "/brelmotWebs.rtf"; }
std::string guide_htm() { return installation() + "/publish/brelmotWebs.htm"; }


// Groups open and close in order, and nothing follows the outermost one.
bool rtf_groups_balance(const std::string& rtf) {
  int depth = 0;
  for (size_t i = 0; i < rtf.size(); i++) {
    char c = rtf[i];
    if (c == '\\') {
      i++;  // an escaped brace or backslash, or the first letter of a word
    } else if (c == '{') {
      depth++;
    } else if (c == '}') {
      if (--depth < 0) return false;
      if (depth == 0) return rtf.find_first_not_of("\r\n", i + 1) == std::string::npos;
    }
  }
  return false;
}

// The page with each run of white space, line ends included, as one blank:
// the word processor breaks its lines wherever a blank stands.
std::string flat(const std::string& page) {
  return std::regex_replace(page, std::regex("[ \\t\\r\\n]+"), " ");
}

// The texts of the <h1> and <h2> headings of a page.
std::vector<std::string> headings(const std::string& page) {
  std::vector<std::string> out;
  std::regex h("<h[12]>([^<]*)</h[12]>");
  for (auto it = std::sregex_iterator(page.begin(), page.end(), h); it != std::sregex_iterator();
       ++it)
    out.push_back((*it)[1]);
  return out;
}

TEST(Guide, ShippedWhereTheUsageTextSays) {
  testutil::TempDir tmp;
  auto r = run_brelmot("");
  ASSERT_TRUE(has(r.out, "explained in ut_brelmot/brelmotWebs.rtf")) << r.out;
  EXPECT_TRUE(fs::is_regular_file(guide_rtf())) << guide_rtf();
  EXPECT_TRUE(fs::is_regular_file(guide_htm())) << guide_htm();
  // The command reference points to the guide as well.
  EXPECT_TRUE(has(read_file(installation() + "/doc/commands"), "ut_brelmot/brelmotWebs.rtf"));
}

TEST(Guide, DocumentIsWellFormedAndItsSnapshotMatchesIt) {
  std::string rtf = read_file(guide_rtf());
  ASSERT_EQ(rtf.rfind("{\\rtf1", 0), 0u);
  EXPECT_TRUE(rtf_groups_balance(rtf));
  for (unsigned char c : rtf) ASSERT_LT(c, 128) << "RTF text is 7-bit, other letters escaped";

  std::string htm = read_file(guide_htm());
  EXPECT_TRUE(has(htm, "<body")) << "a snapshot the cleaner can read";
  auto heads = headings(htm);
  ASSERT_GE(heads.size(), 9u);
  // A snapshot saved from an older state of the document would miss or
  // keep headings.
  for (const std::string& h : heads) EXPECT_TRUE(has(rtf, " " + h + "\\par}")) << h;
  size_t rtf_heads = 0;
  for (const char* style : {"{\\pard\\plain\\s1\\", "{\\pard\\plain\\s2\\"})
    for (size_t k = rtf.find(style); k != std::string::npos; k = rtf.find(style, k + 1)) rtf_heads++;
  EXPECT_EQ(rtf_heads, heads.size());
}

TEST(Guide, PassesAsADocumentOfAConfiguration) {
  testutil::TempDir tmp;
  write_file("g/wconf", "-w xs_Guide\n-? 1=" + installation() +
                            "/\n-e 1/brelmotWebs.rtf\n   Brelmot Webs, the Guide\n--\n");
  auto r = run_brelmot("g '?'");
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "\n\nWeb configuration g/wconf seems  o k :\n"))
      << r.out.substr(r.out.size() > 3000 ? r.out.size() - 3000 : 0);
  // Document 2, behind the portal: cleaned with every section kept.
  std::string doc = read_file("xs/2/doc.htm");
  for (const std::string& h : headings(read_file(guide_htm())))
    EXPECT_TRUE(has(doc, ">" + h + "</h")) << h;
}

// Every command of the configuration language, and every sub-line form, has
// its place in the guide and in the command reference.
TEST(Guide, LeavesNoCommandOut) {
  const std::vector<std::string> commands = {
      "-w", "-?", "-i", "-[", "-]", "--", "-e", "-a", "-A", "-n", "-U", "-j", "-L", "-R",
      "-C", "-T", "-S", "-s", "-F", "-f", "-t", "-H", "-k", "-c", "-p", "-D", "-m", "-o"};
  const std::vector<std::string> words = {"srcRoot=", "sqlData=", "Links=", "TestReport=",
                                          "oneDoc",   "noedit",   "noCards", "showComm.",
                                          "traceMe.", "testMe.",  "clean",   "prune"};
  std::string htm = flat(read_file(guide_htm()));
  std::string ref = read_file(installation() + "/doc/commands");
  // In the snapshot a command stands in its own type face: "-e" is followed
  // by a blank or by the end of the span.
  auto in_htm = [&](const std::string& c) { return has(htm, c + " ") || has(htm, c + "</span>"); };
  for (const std::string& c : commands) {
    EXPECT_TRUE(in_htm(c)) << "guide lacks " << c;
    EXPECT_TRUE(has(ref, "\n" + c)) << "command reference lacks " << c;
  }
  for (const std::string& w : words) EXPECT_TRUE(has(htm, w)) << "guide lacks " << w;
  for (const char* sub : {"=&lt;title&gt;", "k &lt;alias&gt;", "s &lt;start&gt;",
                          ". &lt;label&gt;: &lt;phrase&gt;", ".. &lt;label&gt;"})
    EXPECT_TRUE(has(htm, sub)) << "guide lacks the sub-line " << sub;
}

}  // namespace
