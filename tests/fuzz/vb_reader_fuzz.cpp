// The VB page reader on fuzzed sources: a page or the tracker's report,
// never a crash or a hang.  A page is closed, every anchor on it is unique,
// every member's anchor stands on it, and the call anchors are as many as
// the calls the reader reports.
#include <cstdint>
#include <set>
#include <string>

#include "codeweb/vb_reader.h"
#include "tests/fuzz/fuzz_util.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static ut_web frame;
  vb_reader reader(frame);
  std::string page;
  std::string text((const char*)data, size);
  if (!fuzz::accepted([&] { page = reader.page_of(text, 3, "src/F.bas"); })) return 0;
  const std::string end = "</BODY></HTML>\n";
  if (page.size() < end.size() || page.compare(page.size() - end.size(), end.size(), end) != 0)
    fuzz::finding("the page is not closed");
  std::set<std::string> names;
  size_t calls[3] = {};
  for (size_t p = page.find("<a name="); p != std::string::npos; p = page.find("<a name=", p + 1)) {
    size_t e = page.find('>', p);
    std::string n = page.substr(p + 8, e - p - 8);
    if (!names.insert(n).second) fuzz::finding("an anchor twice", n);
    for (int i = 0; i < 3; i++)
      if (n.compare(0, 2, i == 0 ? "mB" : i == 1 ? "cr" : "ex") == 0 && n.size() > 2 &&
          n.find_first_not_of("0123456789", 2) == std::string::npos)
        calls[i]++;
  }
  for (auto& m : reader.members)
    if (!names.count(m.anchor)) fuzz::finding("a member without its anchor", m.decl);
  if (calls[0] != reader.mBoxes.size() || calls[1] != reader.useObjs.size() || calls[2] != reader.execs.size())
    fuzz::finding("call anchors and calls differ");
  return 0;
}
