// The call relation on fuzzed text: the input is <root>/alles_cpp, the
// concatenation of implementation files behind "file: <path>" lines.  The
// selection is made from its ON_COMMAND handlers.
//
// Oracles: the scan ends, and the pages it promises exist: rufe.htm,
// rufA.htm, trus.htm, ALLf.htm, one rufe/<i>.htm per selected name; every
// call has a callee and a caller; every rufA/<i>.htm link resolves.
#include <cstdint>
#include <string>

#include "codeweb/java2htm.h"
#include "runtime/safe_uts.h"
#include "tests/fuzz/fuzz_util.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  return 0;
}

namespace {
bool exists(const std::string& p) { return safe_ut.ok_is_a(p.c_str()) == 'f'; }
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::scratch();
  std::error_code ec;
  std::filesystem::remove_all("r", ec);
  std::filesystem::create_directories("r/j2h");
  fuzz::write_file("r/alles_cpp", data, size);
  try {
    Java2Htm web;
    web.root = "r";
    web.j2h = "r/j2h";
    web.rootLen = 1;
    web.seeAufrufe();
    web.show_Aufrufe();
    for (const char* page : {"rufe.htm", "rufA.htm", "trus.htm", "ALLf.htm", "rufGUI.htm", "rufAPI.htm", "ALL_funcs"})
      if (!exists(std::string("r/j2h/") + page)) fuzz::finding("page missing", page);
    int n = web.traceSel->number_of_elements();
    for (int i = 1; i <= n; i++)
      if (!exists("r/j2h/rufe/" + std::to_string(i) + ".htm")) fuzz::finding("call tree missing", std::to_string(i));
    Btree_st st;
    for (unsigned ok = web.aufrufe->GetFirst(st); ok; ok = web.aufrufe->Next(st)) {
      std::string k(st.k, st.k_L);
      size_t t = k.find('~');
      if (t == 0 || t == std::string::npos || t + 1 == k.size()) fuzz::finding("call without both ends", k);
    }
    std::string a = safe_ut.read_text("r/j2h/rufA.htm");
    for (size_t at = a.find("<a href=rufA/"); at != std::string::npos; at = a.find("<a href=rufA/", at + 1)) {
      size_t e = a.find('>', at);
      if (!exists("r/j2h/" + a.substr(at + 8, e - at - 8))) fuzz::finding("rufA link unresolved", a.substr(at, 40));
    }
  } catch (const char*) {
    exut.reset_after_failure();
  }
  return 0;
}
