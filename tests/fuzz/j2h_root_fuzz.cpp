// The root argument of a code web and its control file on fuzzed text.  The
// first line is the argument ("[title]root[=selection]"); the rest is the
// control file t.j2h/control in the scratch folder, so that an argument
// naming t.j2h reads it.  Only the first step runs: no tree is walked and
// nothing is written.
//
// Oracles: the root is a folder without a trailing "/"; the control file's
// lists stay within their limits; selection entries hold no "\".
#include <cstdint>
#include <string>

#include "codeweb/java2htm.h"
#include "runtime/safe_uts.h"
#include "tests/fuzz/fuzz_util.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::scratch();
  std::string text(reinterpret_cast<const char*>(data), size);
  size_t nl = text.find('\n');
  std::string arg = text.substr(0, nl);
  if (arg.find('\0') != std::string::npos) return 0;
  std::filesystem::create_directories("t.j2h");
  std::filesystem::create_directories("src");
  {
    FILE* f = fopen("t.j2h/control", "wb");
    if (!f) return 0;
    if (nl != std::string::npos) fwrite(text.data() + nl + 1, 1, text.size() - nl - 1, f);
    fclose(f);
  }
  try {
    Java2Htm web;
    web.root_argument(arg.c_str());
    if (web.root.empty() || (web.root.size() > 1 && web.root.back() == '/')) fuzz::finding("root", web.root);
    if (safe_ut.ok_is_a(web.root.c_str()) != 'd') fuzz::finding("root is no folder", web.root);
    if ((int)web.docs.size() > Java2Htm::e_doc || (int)web.see.size() > Java2Htm::e_see)
      fuzz::finding("limits", arg);
    for (const std::string& s : web.see)
      if (s.find('\\') != std::string::npos) fuzz::finding("backslash in a selection entry", s);
  } catch (const char*) {
    exut.reset_after_failure();
  }
  return 0;
}
