// The web configuration reader on a fuzzed configuration, in check mode
// ("brelmot conf ?"): the configuration stands in a copy of the bundled
// sample, so the documents it names can be found, snapshots taken into xs/
// and cleaned.  The installation is a copy too, the only folder on PATH (no
// program outside is ever started).
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "driver/doc_des.h"
#include "tests/fuzz/fuzz_util.h"

namespace fs = std::filesystem;

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  const std::string& dir = fuzz::scratch();
  const fs::path root(BRELMOT_SOURCE_ROOT);
  fs::create_directories("inst");
  fs::copy(root / "ut_brelmot", "inst/ut_brelmot", fs::copy_options::recursive);
  fs::copy(root / "examples/sample", "sample", fs::copy_options::recursive);
  // What the installation's own sample configuration names beside it.
  fs::create_directories("shared/pictures");
  fs::create_directories("shared/reuse");
  fuzz::write_file("shared/pictures/desk.gif", "GIF89a");
  fuzz::write_file("shared/reuse/index.htm", "<html><body><a href=\"part.htm\">p</a></body></html>\n");
  fuzz::write_file("shared/reuse/part.htm", "<h1>Part</h1>\n");
  setenv("PATH", (dir + "/inst").c_str(), 1);
  setenv("SOURCE_DATE_EPOCH", "1316476800", 1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::write_file("sample/wconf", data, size);
  fuzz::accepted([&] {
    DocDes d;
    d.read_webConfiguration("sample/wconf", "", "?");
  });
  // The intake changes into a document's folder for a while; a refusal
  // there leaves the process in it.
  if (chdir(fuzz::scratch().c_str()) != 0) fuzz::finding("cannot return to the scratch folder");
  return 0;
}
