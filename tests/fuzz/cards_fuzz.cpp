// Fuzz target: any bytes as the cleaned page of a document go through both
// passes of the cards.  A failure report of the tracker (a thrown report)
// is an accepted end for a page that breaks a structural assumption; a
// crash, a hang or a read outside the window is not.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "driver/doc_des.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static bool ready = [] {
    // The work files of the cards lie in the current folder.  The builder
    // wants its installation folder on PATH: a copy of the repository's, so
    // that nothing the run writes there reaches the source tree.
    namespace fs = std::filesystem;
    fs::path dir = fs::temp_directory_path() / "fuzz_cards";
    fs::create_directories(dir / "inst");
    fs::copy(fs::path(BRELMOT_SOURCE_ROOT) / "ut_brelmot", dir / "inst" / "ut_brelmot",
             fs::copy_options::recursive | fs::copy_options::overwrite_existing);
    std::string path = (dir / "inst").string() + ":" + (getenv("PATH") ? getenv("PATH") : "");
    setenv("PATH", path.c_str(), 1);
    fs::current_path(dir);
    return true;
  }();
  (void)ready;
  std::string page = "<html><head></head>\n<body>\n" +
                     std::string(reinterpret_cast<const char*>(data), size) + "\n</body></html>\n";
  try {
    DocDes d;
    d.web.comms.resize(3);
    d.web.comms[2].nr = "2";
    d.web.comms[2].com = 'e';
    d.web.comms[2].title = "Fuzz";
    safe_ut.write_text("2.tm1", page);
    d.register_cards(2);
  } catch (const char*) {
    exut.reset_after_failure();
  }
  return 0;
}
