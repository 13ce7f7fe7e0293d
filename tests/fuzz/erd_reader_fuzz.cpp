// The ERD and SQL page writers on fuzzed text: a page or the tracker's
// report, never a crash or a hang.  The same text goes through both.  A
// page is closed, has a numbered anchor and a list row for every section
// or statement it reports, and no anchor that the text brought in.
#include <cstdint>
#include <string>
#include <vector>

#include "codeweb/erd_reader.h"
#include "tests/fuzz/fuzz_util.h"

namespace {

void check(const std::string& page, const std::vector<std::string>& names) {
  const std::string end = "</BODY></HTML>\n";
  if (page.size() < end.size() || page.compare(page.size() - end.size(), end.size(), end) != 0)
    fuzz::finding("the page is not closed");
  for (size_t i = 1; i <= names.size(); i++) {
    std::string n = std::to_string(i);
    if (page.find("<a name=" + n + ">") == std::string::npos) fuzz::finding("no anchor", n);
    if (page.find("\n<br><a href=#" + n + ">") == std::string::npos) fuzz::finding("no row", n);
  }
  // Anchors come only from the writer: top, toc, the notation's and one
  // per name; a "<" of the text is escaped.
  size_t anchors = 0, sem = 0;
  for (size_t p = page.find("<a name="); p != std::string::npos; p = page.find("<a name=", p + 1)) {
    anchors++;
    sem += page.compare(p, 12, "<a name=sem>") == 0;
  }
  if (anchors - sem != names.size() + 2) fuzz::finding("anchors that the writer did not make");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static ut_web frame;
  std::string text((const char*)data, size);
  std::vector<std::string> names;
  std::string page;
  if (fuzz::accepted([&] { page = erd_page(frame, text, "our_ERD.a", &names); })) check(page, names);
  names.clear();
  if (fuzz::accepted([&] { page = sql_page(frame, text, "our_ERD.sql", &names); })) check(page, names);
  return 0;
}
