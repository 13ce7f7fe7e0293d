// The JSP page reader on fuzzed sources: a page or the tracker's report,
// never a crash or a hang.  The page has its head and its tail, holds no
// NUL, every include the reader reports as found stands as a link, and
// the report has one entry per unbalanced quote, numbered on.
#include <cstdint>
#include <string>

#include "codeweb/jsp_reader.h"
#include "tests/fuzz/fuzz_util.h"

namespace {
// Names of an even length resolve, to a page that tells their length.
struct hooks : server_hooks {
  bool include(const std::string& name, std::string& page, int& depth) override {
    if (name.size() % 2) return false;
    page = "0/" + std::to_string(name.size());
    depth = 1;
    return true;
  }
};

size_t count(const std::string& s, const std::string& w) {
  size_t n = 0;
  for (size_t p = s.find(w); p != std::string::npos; p = s.find(w, p + 1)) n++;
  return n;
}
}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static ut_web frame;
  hooks h;
  int errors = 7;
  jsp_reader reader(frame, h, &errors);
  std::string page;
  std::string text((const char*)data, size);
  if (!fuzz::accepted([&] { page = reader.page_of(text, 3, "src/F.jsp"); })) return 0;
  if (page.find('\0') != std::string::npos) fuzz::finding("a NUL on the page");
  if (page.compare(0, strlen(frame.head), frame.head) != 0) fuzz::finding("the page has no head");
  const std::string end = "Include structure of<br>src/F.jsp<br><br>";
  if (page.size() < end.size() || page.compare(page.size() - end.size(), end.size(), end) != 0)
    fuzz::finding("the page has no tail");
  if (count(page, "<a name=eof></a>") != 1) fuzz::finding("not one end anchor");
  int found = 0;
  for (auto& r : reader.includes)
    if (!r.page.empty()) {
      found++;
      if (page.find("<a href=../" + r.page + ".htm>\"") == std::string::npos) fuzz::finding("an include without its link", r.name);
    }
  if ((found > 0) != (reader.depth == 2)) fuzz::finding("the depth does not follow the includes");
  if (errors != 7 + reader.bad_quotes) fuzz::finding("the running count is off");
  // One report per unbalanced quote, numbered on from the count before
  // (the line shown in a report may hold any text, a report's head too).
  size_t at = 0;
  for (int n = 8; n < 8 + reader.bad_quotes; n++) {
    std::string h = "\n\n" + std::to_string(n) + ". Syntax error (unbalanced \" quotes) in src/F.jsp:\n-----";
    size_t p = reader.report.find(h, at);
    if (p == std::string::npos || (n == 8 && p != 0)) fuzz::finding("a report missing or out of order");
    at = p + h.size();
  }
  if (!reader.bad_quotes && !reader.report.empty()) fuzz::finding("a report without an unbalanced quote");
  return 0;
}
