// The C# page reader on fuzzed sources: a page, never a crash or a hang.
// The page is closed, every numbered anchor is unique, and every row the
// reader reports points to an anchor that stands on the page.
#include <cstdint>
#include <set>
#include <string>

#include "codeweb/cs_reader.h"
#include "tests/fuzz/fuzz_util.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  cs_reader reader;
  std::string page;
  std::string text((const char*)data, size);
  if (!fuzz::accepted([&] { page = reader.page_of(text, "src/F.cs", 3); })) return 0;
  const std::string end = "</BODY></HTML>\n";
  if (page.size() < end.size() || page.compare(page.size() - end.size(), end.size(), end) != 0)
    fuzz::finding("the page is not closed");
  std::set<std::string> ids;
  for (size_t p = page.find("<a id="); p != std::string::npos; p = page.find("<a id=", p + 1)) {
    size_t e = page.find('>', p);
    std::string n = page.substr(p + 6, e - p - 6);
    if (n[0] != '\'' && !ids.insert(n).second) fuzz::finding("an anchor twice", n);
  }
  auto check = [&](const std::string& link) {
    std::string a = link.substr(link.find('#') + 1);
    if (!ids.count(a)) fuzz::finding("a row without its anchor", link);
  };
  for (auto* rows : {&reader.classes, &reader.members, &reader.namespaces}) {
    for (auto& r : *rows) check(r.second);
  }
  for (auto& m : reader.mains) check(m);
  return 0;
}
