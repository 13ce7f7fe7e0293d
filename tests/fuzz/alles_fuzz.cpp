// The concatenated make files, resource scripts and module dependencies
// beside the sources, read for maks.htm, bins.htm, dialogs.htm and
// MoDep.htm, and the message maps of the pages: never a crash or a hang;
// every row has its parts, every dialog's link has its section, every
// dependency joins two modules, every handler row has its mark.
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
  Java2Htm::module_deps d;
  if (!fuzz::accepted([&] { d = Java2Htm::read_module_deps(text); })) return 0;
  for (auto& [lm, sms] : d.uses)
    for (auto& sm : sms)
      if (!d.modules.count(lm) || !d.modules.count(sm) || !d.usedBy[sm].count(lm)) fuzz::finding("an edge of no module", lm);
  std::string handlers;
  if (!fuzz::accepted([&] { handlers = Java2Htm::message_handlers(Java2Htm::html_plain(text)); })) return 0;
  for (size_t p = handlers.find('\n'); p != std::string::npos; p = handlers.find('\n', p + 1))
    if (p + 1 >= handlers.size() || (handlers[p + 1] != '+' && handlers[p + 1] != '-'))
      fuzz::finding("a handler row without its mark");
  return 0;
}
