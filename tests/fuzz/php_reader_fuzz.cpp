// The PHP page reader on fuzzed sources: a page, never a crash or a hang.
// The page is closed, its code blocks are balanced, every anchor is unique
// and every member's anchor stands on the page.
#include <cstdint>
#include <set>
#include <string>

#include "codeweb/php_reader.h"
#include "tests/fuzz/fuzz_util.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  php_reader reader;
  reader.resolve = [](const std::string& name) {
    php_reader::target t;
    if (name.size() % 2) t = {4, "../0/4.htm"};
    return t;
  };
  std::string page;
  std::string text((const char*)data, size);
  if (!fuzz::accepted([&] { page = reader.page_of(text, "src/f.php"); })) return 0;
  const std::string end = "</BODY></HTML>\n";
  if (page.size() < end.size() || page.compare(page.size() - end.size(), end.size(), end) != 0)
    fuzz::finding("the page is not closed");
  size_t body = page.find("<a name=top>");
  int open = 0;
  for (size_t p = page.find("<pre", body); p != std::string::npos; p = page.find("<pre", p + 1)) open++;
  for (size_t p = page.find("</pre>", body); p != std::string::npos; p = page.find("</pre>", p + 1)) open--;
  if (open != 0) fuzz::finding("code blocks do not balance");
  std::set<std::string> names;
  for (size_t p = page.find("<a name="); p != std::string::npos; p = page.find("<a name=", p + 1)) {
    size_t e = page.find('>', p);
    if (!names.insert(page.substr(p + 8, e - p - 8)).second) fuzz::finding("an anchor twice");
  }
  for (auto& m : reader.members)
    if (!names.count(m.anchor)) fuzz::finding("a member without its anchor", m.name);
  return 0;
}
