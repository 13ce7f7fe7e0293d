// The readers of the folder commands on fuzzed text: the prefix and the
// document lines of a configuration as "sort" reads them, the lines of a
// listing read back through rBuffer, the lines of a wconf_ADD list and the
// sample text of the command reference.  No tree is walked: a fuzzed prefix
// could name any folder.
//
// Oracles: every entry shows its mark in both places; a wconf_ADD line
// never yields a part that leaves the target folder.
#include <cstdint>
#include <string>

#include "driver/folders.h"
#include "tests/fuzz/fuzz_util.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  return 0;
}

namespace {

void check_entries(const folders::doc_list& l) {
  for (const auto& [key, shown] : l.entries) {
    if (shown.size() != key.size() + 2 || (shown[0] != '+' && shown[0] != '-'))
      fuzz::finding("entry without its mark", shown);
    // The shown line is the key with at most one "+" turned into the mark
    // (a name or a folder may hold " + " of its own).
    int changed = 0;
    for (size_t i = 0; i < key.size(); i++)
      if (shown[i + 2] != key[i]) {
        if (key[i] != '+' || shown[i + 2] != shown[0]) fuzz::finding("key changed", shown);
        changed++;
      }
    if (changed != (shown[0] == '+' ? 0 : 1)) fuzz::finding("mark not in the key's place", shown);
  }
}

void check_add_lines(const std::string& text) {
  size_t nl = text.find('\n');
  std::string pre = text.substr(0, nl == std::string::npos ? 0 : nl);
  size_t at = 0;
  while (at < text.size()) {
    size_t end = text.find('\n', at);
    if (end == std::string::npos) end = text.size();
    std::string path, rest;
    if (folders::add_line(text.substr(at, end - at), pre, &path, &rest)) {
      if (rest.empty() || rest[0] == '/' || ("/" + rest + "/").find("/../") != std::string::npos)
        fuzz::finding("a part that leaves the target folder", rest);
    }
    at = end + 1;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  fuzz::accepted([&] {
    folders::doc_list l;
    for (int nr = 1; nr <= 3; nr++) {
      std::string path;
      if (!folders::prefix_of(text, nr, "conf/dir", &path)) continue;
      folders::documents_of(text, nr, path, [&](const std::string& p) { l.list_line('+', p); });
    }
    fuzz::write_file("list", text);
    folders::for_each_listed("list", [&](const std::string& p) { l.list_line('-', p); });
    check_entries(l);
    check_add_lines(text);
    std::string sample;
    folders::sample_text(text, &sample);
    if (sample.size() > text.size()) fuzz::finding("sample longer than its text");
  });
  return 0;
}
