// The COBOL page reader and the embedded SQL reader on fuzzed sources: a
// page or the tracker's report, never a crash or a hang.  A page is closed,
// its anchors are unique, every definition and use has its anchor on it;
// the SQL rows the page gives are read again without a finding.
#include <cstdint>
#include <set>
#include <string>

#include "codeweb/cob_reader.h"
#include "tests/fuzz/fuzz_util.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static ut_web frame;
  cob_reader reader(frame);
  std::string page, text((const char*)data, size);
  if (!fuzz::accepted([&] { page = reader.page_of(text, 3, "src/F.cob"); })) return 0;
  const std::string end = "</BODY></HTML>\n";
  if (page.size() < end.size() || page.compare(page.size() - end.size(), end.size(), end) != 0)
    fuzz::finding("the page is not closed");
  std::set<std::string> names;
  for (size_t p = page.find("<a name="); p != std::string::npos; p = page.find("<a name=", p + 1)) {
    size_t e = page.find('>', p);
    if (!names.insert(page.substr(p + 8, e - p - 8)).second) fuzz::finding("an anchor twice");
  }
  for (auto& d : reader.defs)
    if (!names.count(std::to_string(d.anchor))) fuzz::finding("a definition without its anchor", d.name);
  for (auto& u : reader.uses) {
    if (!names.count(std::to_string(u.anchor))) fuzz::finding("a use without its anchor", u.key);
    if (u.key.find('\n') != std::string::npos || u.key.find('"') != std::string::npos)
      fuzz::finding("a quote or line end in a relation key", u.key);
  }
  sql_rows rows;
  fuzz::accepted([&] { read_exec_sql(reader.sql, rows, "tables.xxx"); });
  sql_rows raw;
  fuzz::accepted([&] { read_exec_sql(text, raw, "tables.xxx"); });
  for (auto* r : {&rows, &raw})
    for (auto& [k, d] : r->uses)
      if (k.find('~') == std::string::npos) fuzz::finding("a SQL row without its two sides", k);
  return 0;
}
