// The concatenated make files and resource scripts beside the sources,
// read for maks.htm, bins.htm and dialogs.htm: never a crash or a hang;
// every row has its three parts, and every dialog's link has its section.
#include <cstdint>
#include <set>
#include <string>

#include "codeweb/java2htm.h"
#include "tests/fuzz/fuzz_util.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text((const char*)data, size);
  std::set<std::string> rows;
  int files = 0;
  if (!fuzz::accepted([&] { Java2Htm::mak_rows(text, rows, files); })) return 0;
  for (const std::string& r : rows) {
    size_t a = r.find('~');
    if (a == std::string::npos || a == 0 || r.find('~', a + 1) == std::string::npos) fuzz::finding("a row without its parts", r);
  }
  unsigned n = 0;
  std::string page;
  if (!fuzz::accepted([&] { page = Java2Htm::dialogs_of(text, n); })) return 0;
  unsigned links = 0, sections = 0;
  for (size_t p = page.find("\nDialog &nbsp; <a href=#"); p != std::string::npos; p = page.find("\nDialog &nbsp; <a href=#", p + 1)) links++;
  for (size_t p = page.find("\n<a name=\""); p != std::string::npos; p = page.find("\n<a name=\"", p + 1)) sections++;
  if (links != n || sections != n) fuzz::finding("links, sections and the count differ");
  return 0;
}
