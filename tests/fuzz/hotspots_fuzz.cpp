// Fuzz target of the web pass: any bytes as section pages (split into up to
// three pages at the byte 0x01) of two documents, run through definitions,
// hotspots, glossary terms and section references.  A failure report of
// the tracker is an accepted end; a crash, a hang or a read outside the
// window is not.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static std::string dir = [] {
    char tmpl[] = "/tmp/fuzz_hotspots.XXXXXX";
    std::string d = mkdtemp(tmpl);
    std::filesystem::current_path(d);
    return d;
  }();
  std::filesystem::remove_all("xs");
  std::filesystem::create_directories("xs/1");
  std::filesystem::create_directories("xs/2");
  std::string text(reinterpret_cast<const char*>(data), size);
  web_model model;
  model.comms.resize(3);
  model.k_entries = {"konto", "Account"};
  FILE* quiet = freopen("/dev/null", "w", stdout);
  (void)quiet;
  ut_htm ut(model);
  int page = 0;
  for (size_t from = 0; page < 3;) {
    size_t cut = text.find('\x01', from);
    std::string part = text.substr(from, cut == std::string::npos ? std::string::npos : cut - from);
    page++;
    int doc = page == 1 ? 1 : 2;
    std::string name = "xs/" + std::to_string(doc) + "/" + std::to_string(page) + ".htm";
    if (FILE* f = fopen(name.c_str(), "wb")) {
      fwrite(part.data(), 1, part.size(), f);
      fclose(f);
    }
    ut.page_doc[page] = doc;
    ut.page_first[page] = doc == 1 ? 1 : 2;
    ut.page_level[page] = '1';
    if (cut == std::string::npos) break;
    from = cut + 1;
  }
  tree_put(ut.defs, "C_Known", "2.htm#e1");
  tree_put(ut.specs, "Escalation", "=)1.htm#e3");
  tree_put(model.glossTerms, "Invoice", "12/5#G1");
  tree_put(model.docNrs, "Guide", "1");
  tree_put(model.secDates, "1:1. Intro", "2011.09.20:10");
  std::filesystem::current_path("xs");
  try {
    ut.make_pages(page, nullptr);
  } catch (const char*) {
    exut.reset_after_failure();
  }
  std::filesystem::current_path(dir);
  return 0;
}
