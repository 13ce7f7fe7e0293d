// The Java page reader on fuzzed sources: a page or the tracker's report,
// never a crash or a hang.  An accepted source gives one class list row whose
// counts are the page's footer counts, and a page that is closed.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>

#include "codeweb/java_reader.h"
#include "tests/fuzz/fuzz_util.h"

namespace {

struct map_trees : java_trees {
  std::map<std::string, std::string> t[8];
  void put(jtree tree, const std::string& key, const std::string& data) override { t[(int)tree][key] = data; }
  bool get(jtree tree, const std::string& key, std::string* data) override {
    auto it = t[(int)tree].find(key);
    if (it == t[(int)tree].end()) return false;
    *data = it->second;
    return true;
  }
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  map_trees web;
  web.tips = {"Know How One", "Lazy Loading"};
  java_reader reader(web);
  std::string page;
  std::string text((const char*)data, size);
  if (!fuzz::accepted([&] { page = reader.page_of(text, "src/a/F.java", "c0001.htm"); })) return 0;
  const std::string end = "</body></HTML>\n";
  if (page.size() < end.size() || page.compare(page.size() - end.size(), end.size(), end) != 0)
    fuzz::finding("the page is not closed");
  if (web.t[(int)jtree::classes].size() != 1) fuzz::finding("not one class list row");
  const std::string& key = web.t[(int)jtree::classes].begin()->first;
  char counts[64];
  snprintf(counts, sizeof counts, "+%ld+%ld", web.neLoCode, web.LoComm);
  if (key.size() < strlen(counts) || key.compare(key.size() - strlen(counts), std::string::npos, counts) != 0)
    fuzz::finding("the class list row does not carry the page's counts", key);
  snprintf(counts, sizeof counts, "%ld neLoCode\n+ %ld LoComm", web.neLoCode, web.LoComm);
  if (page.find(counts) == std::string::npos) fuzz::finding("the footer does not show the counts");
  return 0;
}
