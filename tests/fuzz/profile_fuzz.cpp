// Profiles and "secLU" are read back from earlier builds: any bytes there
// must give lines or be passed over, never a crash.  The input is split at
// its first NUL byte: the part before it is the profile, the rest "secLU".
#include <stdlib.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

namespace {

const char* work_dir() {
  static std::string dir;
  if (dir.empty()) {
    char tmpl[] = "/tmp/fuzz_profile.XXXXXX";
    if (!mkdtemp(tmpl)) abort();
    dir = tmpl;
    if (chdir(dir.c_str()) != 0) abort();
    safe_ut.ensure_dir("xs/profs");
  }
  return dir.c_str();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  work_dir();
  const char* d = reinterpret_cast<const char*>(data);
  const char* nul = static_cast<const char*>(memchr(d, 0, size));
  size_t first = nul ? (size_t)(nul - d) : size;
  safe_ut.write_text("xs/profs/2011.09.20", std::string(d, first));
  safe_ut.write_text("xs/profs/secLU", nul ? std::string(nul + 1, d + size) : std::string());
  try {
    ut_htm ut;
    Btree all, docs;
    prepare_tree(all, "all");
    prepare_tree(docs, "docs");
    ut.read_profile(all, docs, "xs/profs/2011.09.20", 1);
    ut.write_secLU("xs/profs/2011.09.20");
    empty_tree(all);
    empty_tree(docs);
  } catch (const char*) {
    // A named limit (a document name over 200 characters) is a failure
    // report, which is the described answer, not a crash.
    exut.reset_after_failure();
  }
  return 0;
}
