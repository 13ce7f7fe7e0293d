// Fuzz target of the cut: any bytes as a marked work file.  A failure
// report of the tracker is an accepted end; a crash, a hang or a read
// outside the window is not.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static std::string dir = [] {
    char tmpl[] = "/tmp/fuzz_sections.XXXXXX";
    std::string d = mkdtemp(tmpl);
    std::filesystem::current_path(d);
    return d;
  }();
  std::filesystem::remove_all("xs");
  std::filesystem::create_directories("xs/2");
  FILE* f = fopen("2.neu", "wb");
  if (!f) return 0;
  fwrite(data, 1, size, f);
  fclose(f);
  web_model model;
  model.comms.resize(3);
  model.comms[2].com = 'd';
  model.comms[2].nr = "2";
  ut_htm ut(model);
  int page = 3;
  FILE* quiet = freopen("/dev/null", "w", stdout);
  (void)quiet;
  try {
    ut.split_doc(2, "2.neu", "xs", page, nullptr, 2, "Fuzz", nullptr, model.comms[2]);
  } catch (const char*) {
    exut.reset_after_failure();
  }
  return 0;
}
