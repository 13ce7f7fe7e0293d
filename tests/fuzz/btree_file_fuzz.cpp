// A Btree page file whose bytes are fuzzed: opened for reading and for
// update, walked, searched, given a few keys and committed.  Refusing the
// file (a failure report of the store) is a right answer; touching memory
// outside a page, crashing, or losing a key it said it took is not.
#include <string>
#include <vector>

#include "store/Btree.h"
#include "tests/fuzz/fuzz_util.h"

namespace {

const char* const file_name = "f.bt";
constexpr int max_steps = 3000;  // a damaged file may hold a cycle of pages

// The keys a run adds: short, binary, sharing a long prefix, the longest.
std::vector<std::string> new_keys() {
  std::vector<std::string> k = {"a", "zz", "key/0001", std::string("bin\0\xff", 5)};
  for (int i = 0; i < 4; i++) k.push_back(std::string(120, 'p') + std::to_string(i));
  k.push_back(std::string(252, 'q'));
  return k;
}

// Walks both ways and looks up what the walk found.
void read_all(Btree& t) {
  Btree_st s, s2;
  std::vector<std::string> seen;
  int n = 0;
  for (unsigned x = t.GetFirst(s); x && n < max_steps; x = t.Next(s), n++)
    if (n % 16 == 0) seen.emplace_back(s.k, s.k_L);
  n = 0;
  for (unsigned x = t.GetLast(s); x && n < max_steps; x = t.Prev(s), n++) {
  }
  for (const std::string& k : seen) {
    t.Get(k.data(), (int)k.size(), s);
    t.Getmin_GR(s2, k.data(), (int)k.size());
    t.Getmax_LS(s2, k.data(), (int)k.size());
  }
  t.Getmin_GE(s, "m", 1);
  t.Getmax_LE(s, "m", 1);
  t.number_of_elements();
}

void update(Btree& t) {
  read_all(t);
  Btree_st s;
  if (t.GetFirst(s)) t.Rem(s.k, s.k_L);
  for (const std::string& k : new_keys())
    t.Ins('e', k.data(), (int)k.size(), k.data(), (int)(k.size() % 200), 2);
  t.Rem("zz");
  t.commit();
  read_all(t);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::write_file(file_name, data, size);
  fuzz::accepted([&] {
    Btree t(file_name, 3);
    t.quiet = 1;
    read_all(t);
  });
  fuzz::write_file(file_name, data, size);
  bool took = fuzz::accepted([&] {
    Btree t(file_name, 4);
    t.quiet = 1;
    update(t);
  });
  if (!took) return 0;
  // What the store took and committed, it gives back after a new open.
  fuzz::accepted([&] {
    Btree t(file_name, 3);
    Btree_st s;
    for (const std::string& k : new_keys())
      if (k != "zz" && !t.Get(k.data(), (int)k.size(), s))
        fuzz::finding("a committed key is lost:", k.substr(0, 40));
  });
  return 0;
}
