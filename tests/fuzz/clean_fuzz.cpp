// The cleaning of word-processor HTML on a fuzzed snapshot: the character
// set brought to windows-1252, both passes of the cleaning, and the
// paragraph heads of the result as the page cutter reads them.  A snapshot
// the cleaner cannot read on is refused with a failure report.
#include <cstring>
#include <string>

#include "engine/ut_htm.h"
#include "tests/fuzz/fuzz_util.h"

namespace {

const char* const file_name = "doc.htm";

// The page cutter's reading of every paragraph head of the cleaned text.
void paragraphs(ut_htm& ut, std::string text) {
  FILE* out = fopen("/dev/null", "wb");
  char* end = text.data() + text.size();
  int n = 0;
  for (char* p = strstr(text.data(), "<p"); p && n < 200; p = strstr(p + 2, "<p"), n++) {
    if (p[2] != ' ' && p[2] != '>') continue;
    if (!fuzz::accepted([&] { ut.norm_para(out, p + 2, 0, end); })) break;
  }
  fclose(out);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::write_file(file_name, data, size);
  // The document's kind: nearly every snapshot is cleaned as 'e'; kind 'a'
  // keeps most of the mark-up.
  int kind = size % 7 == 3 ? 'a' : 'e';
  ut_htm ut;
  bool cleaned = fuzz::accepted([&] {
    ut_htm::to_windows1252(file_name);
    ut.ers_schmutz(file_name, (long)size, size % 5 == 1 ? "#\n" : "", kind);
  });
  if (cleaned) paragraphs(ut, fuzz::read_file(file_name));
  return 0;
}
