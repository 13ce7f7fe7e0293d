// The code tidier on fuzzed text.  It may refuse a text (braces that do not
// balance, a comment or string open at the end) but never crashes or hangs,
// and what it accepts it only reshapes: with white space and braces taken
// out, the output is the input (less "// Method :" lines); every line is
// indented by a multiple of 3; and its output is accepted again.
#include <cstdint>
#include <cstring>
#include <string>

#include "codeweb/code_tidy.h"
#include "tests/fuzz/fuzz_util.h"

namespace {

std::string bare(const std::string& s) {
  std::string r;
  for (char c : s)
    if (c != '\0' && !strchr(" \t\n\r\f\v{}", c)) r += c;
  return r;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string in((const char*)data, size);
  std::string out;
  if (!fuzz::accepted([&] { out = tidy_text(in, "F.java"); })) return 0;
  std::string seen = in;  // a NUL is read as a blank
  for (char& c : seen)
    if (c == '\0') c = ' ';
  if (seen.find("// Method :") == std::string::npos && bare(in) != bare(out))
    fuzz::finding("the tidier changed more than white space and braces");
  size_t b = 0;
  while (b < out.size()) {
    size_t f = out.find_first_not_of(' ', b);
    if (f != std::string::npos && f > b && out[f] != '\n' && (f - b) % 3 != 0)
      fuzz::finding("an indentation that is not a multiple of 3");
    size_t nl = out.find('\n', b);
    b = nl == std::string::npos ? out.size() : nl + 1;
  }
  if (!fuzz::accepted([&] { tidy_text(out, "F.java"); })) fuzz::finding("the tidied text is refused");
  return 0;
}
