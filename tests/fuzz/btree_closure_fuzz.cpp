// The deep closure of a relation decoded from the input ("key<TAB>data"
// lines, the first byte choosing a limit of rows in memory), computed on
// the tree alone, in memory, and in memory with a hand-over to the tree in
// the middle of a pass.  Oracle: the three agree on whether the store
// refuses the relation, on the count returned, and on every row, value and
// surrogate of the tree afterwards.
#include <cstdint>
#include <string>
#include <vector>

#include "store/Btree.h"
#include "tests/fuzz/fuzz_util.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  return 0;
}

namespace {

struct outcome {
  bool refused = false;
  int total = 0;
  std::string rows;
};

outcome closure_of(const std::vector<std::pair<std::string, std::string>>& rel, long cap) {
  outcome o;
  Btree t;
  t.quiet = 1;
  t.closure_rows = cap;
  try {
    for (auto& [k, d] : rel) t.StrIns('e', k.c_str(), d.c_str());
    o.total = t.become_deep_transitive();
  } catch (const char*) {
    exut.reset_after_failure();
    o.refused = true;
    return o;
  }
  Btree_st s;
  for (unsigned x = t.GetFirst(s); x; x = t.Next(s))
    o.rows += std::string(s.k, s.k_L) + '\1' + s.c + '\1' + std::to_string(s.surr) + '\n';
  return o;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::scratch();
  if (size < 2) return 0;
  long small_cap = data[0] % 16;
  std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  std::vector<std::pair<std::string, std::string>> rel;
  for (size_t at = 0; at < text.size() && rel.size() < 200;) {
    size_t nl = text.find('\n', at);
    std::string line = text.substr(at, nl == std::string::npos ? std::string::npos : nl - at);
    at = nl == std::string::npos ? text.size() : nl + 1;
    size_t tab = line.find('\t');
    std::string key = line.substr(0, std::min(tab, (size_t)252)).c_str();
    if (key.empty()) continue;
    rel.push_back({key, tab == std::string::npos ? "" : line.substr(tab + 1, 300).c_str()});
  }
  outcome ref = closure_of(rel, 0);
  for (long cap : {1L << 20, (long)rel.size() + small_cap}) {
    outcome got = closure_of(rel, cap);
    if (got.refused != ref.refused || got.total != ref.total || got.rows != ref.rows)
      fuzz::finding("the closure in memory differs from the closure on the tree", std::to_string(cap));
  }
  return 0;
}
