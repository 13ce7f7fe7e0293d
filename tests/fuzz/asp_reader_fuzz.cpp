// The ASP page reader on fuzzed sources: a page or the tracker's report,
// never a crash or a hang.  The page is closed and holds no NUL, every
// include found stands as a link, and the include structure stands on the
// page exactly when an include was found.
#include <cstdint>
#include <string>

#include "codeweb/asp_reader.h"
#include "tests/fuzz/fuzz_util.h"

namespace {
// Names of an even length resolve, to a page that tells their length.
struct hooks : server_hooks {
  bool include(const std::string& name, std::string& page, int& depth) override {
    if (name.size() % 2) return false;
    page = std::to_string(name.size());
    depth = (int)name.size() % 3;
    return true;
  }
  std::string structure() override { return "<i>structure</i>"; }
};
}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static ut_web frame;
  hooks h;
  asp_reader reader(frame, h, nullptr);
  std::string page;
  std::string text((const char*)data, size);
  if (!fuzz::accepted([&] { page = reader.page_of(text, 3, "src/F.asp"); })) return 0;
  if (page.find('\0') != std::string::npos) fuzz::finding("a NUL on the page");
  const std::string end = "</BODY></HTML>\n";
  if (page.size() < end.size() || page.compare(page.size() - end.size(), end.size(), end) != 0)
    fuzz::finding("the page is not closed");
  int found = 0, deepest = 0;
  for (auto& r : reader.includes)
    if (!r.page.empty()) {
      found++;
      deepest = std::max(deepest, (int)r.name.size() % 3 + 1);
      if (page.find("<a href=asp" + r.page + ".htm>\"") == std::string::npos) fuzz::finding("an include without its link", r.name);
    }
  if (reader.depth != deepest) fuzz::finding("the depth does not follow the includes");
  if ((page.find("Include Structure:<br><i>structure</i>") != std::string::npos) != (found > 0))
    fuzz::finding("the structure does not follow the includes");
  return 0;
}
