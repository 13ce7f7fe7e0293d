// The C and C++ page reader on fuzzed sources: a page or the tracker's
// report, never a crash or a hang.  An accepted source gives a page with its
// tail and without the mark of the re-indent step, and method rows and class
// rows of their own forms.
#include <cstdint>
#include <map>
#include <string>

#include "codeweb/cpp_reader.h"
#include "tests/fuzz/fuzz_util.h"

namespace {

struct map_sink : cpp_sink {
  std::map<std::string, std::string> t[(int)ctree::count_];
  std::map<std::string, int> names;
  void put(ctree tree, const std::string& key, const std::string& data) override { t[(int)tree][key] = data; }
  bool get(ctree tree, const std::string& key, std::string* data) override {
    auto it = t[(int)tree].find(key);
    if (it == t[(int)tree].end()) return false;
    *data = it->second;
    return true;
  }
  std::string include(const std::string& d) override { return "[" + std::to_string(d.size()) + "]"; }
  int name_nr(const std::string& name) override { return names.emplace(name, (int)names.size() + 1).first->second; }
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  map_sink web;
  std::string text((const char*)data, size);
  // The first byte chooses a header or an implementation file.
  const char* src = size > 0 && (data[0] & 1) ? "src/a/F.h" : "src/a/F.cpp";
  std::string page;
  if (!fuzz::accepted([&] { page = cpp_reader(web).page_of(text, src, 1234); })) return 0;
  if (page.find("Include-structure of<br>F.") == std::string::npos) fuzz::finding("the page has no tail");
  if (page.find("\n<pre-") != std::string::npos) fuzz::finding("the mark of the re-indent step stayed");
  for (auto& [key, value] : web.t[(int)ctree::secs]) {
    bool method = key.find(" :: ") != std::string::npos;
    if (value.compare(0, 8, method ? "m12/34.h" : "c12/34.h") != 0) fuzz::finding("a row of the wrong form", key);
  }
  return 0;
}
