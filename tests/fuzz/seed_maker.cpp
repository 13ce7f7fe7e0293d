// Writes the seeds that the store itself makes: valid Btree page files of
// several shapes (for the page file target) and operation sequences (for the
// operations target).  Usage: seed_maker <page file folder> <sequence folder>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <string>

#include "store/Btree.h"
#include "tests/fuzz/btree_ops.h"

namespace fs = std::filesystem;
using btree_ops::Writer;

namespace {

// A page file of `n` keys made by `key`, with some removed again.
template <class KeyOf>
void page_file(const fs::path& to, int n, int removed, KeyOf key) {
  std::string tmp = (to.parent_path() / "seed_maker.tmp").string();
  {
    Btree t(tmp.c_str(), 1);
    t.quiet = 1;
    for (int i = 0; i < n; i++) {
      std::string k = key(i), d = "v" + std::to_string(i);
      t.Ins('e', k.data(), (int)k.size(), d.data(), (int)d.size(), 2);
    }
    for (int i = 0; i < removed; i++) {
      std::string k = key(i * 3);
      t.Rem(k.data(), (int)k.size());
    }
  }
  fs::rename(tmp, to);
}

void page_files(const fs::path& dir) {
  page_file(dir / "empty.bt", 0, 0, [](int) { return std::string(); });
  page_file(dir / "small.bt", 12, 0, [](int i) { return "key/" + std::to_string(i); });
  page_file(dir / "pages.bt", 700, 100, [](int i) { return btree_ops::bulk_key(0, i); });
  page_file(dir / "prefix.bt", 300, 0, [](int i) { return btree_ops::bulk_key(5, i); });
  page_file(dir / "long.bt", 120, 30, [](int i) { return btree_ops::bulk_key(2, i); });
  page_file(dir / "binary.bt", 200, 0, [](int i) { return btree_ops::bulk_key(3, i); });
}

void sequence(const fs::path& to, const Writer& w) {
  std::ofstream(to, std::ios::binary) << w.out;
}

void sequences(const fs::path& dir) {
  for (uint8_t file : {0, 1}) {
    std::string tag = file ? "file_" : "memory_";
    Writer a;  // single keys of every kind, looked up and removed
    a.raw(file);
    for (const std::string& k : std::initializer_list<std::string>{
             "alpha", "beta", "gamma", std::string("n\0ul", 4), "\xff\xfe"})
      a.op(btree_ops::put).raw(1).key(k).raw(12);
    // A key of a long prefix with five digits, and the longest key.
    a.op(btree_ops::put).raw(0).raw(130).raw(4).raw(1).raw(2).raw(3).raw(4).raw(5).raw(210);
    a.op(btree_ops::put).raw(2).raw(255);
    for (int i = 0; i < 252; i++) a.raw(i % 3);
    a.raw(0);
    a.op(btree_ops::lookups).key("b").op(btree_ops::lookups).old_key(2);
    a.op(btree_ops::remove).old_key(1).op(btree_ops::compare);
    a.op(btree_ops::long_value).key("longer").raw(100).op(btree_ops::reopen);
    sequence(dir / (tag + "keys"), a);

    Writer b;  // splits, a range removal that empties pages, more splits
    b.raw(file).op(btree_ops::bulk).raw(120).raw(0).op(btree_ops::bulk).raw(60).raw(2);
    b.op(btree_ops::lookups).key("k/00").op(btree_ops::range).key("k/").raw(250);
    b.op(btree_ops::commit).op(btree_ops::bulk).raw(80).raw(5).op(btree_ops::reopen);
    b.op(btree_ops::range).key("B").raw(200).op(btree_ops::lookups).key("k/5");
    sequence(dir / (tag + "bulk"), b);

    Writer c;  // many long keys: the index pages split too
    c.raw(file).op(btree_ops::bulk).raw(255).raw(2).op(btree_ops::bulk).raw(255).raw(6);
    c.op(btree_ops::lookups).old_key(7).op(btree_ops::remove).old_key(9);
    sequence(dir / (tag + "deep"), c);

    Writer d;  // more pages than the cache holds: a tree in memory moves to a file
    d.raw(file);
    for (uint8_t shape = 2; shape < 40; shape += 4) d.op(btree_ops::bulk).raw(127).raw(shape);
    d.op(btree_ops::range).key("G").raw(255).op(btree_ops::lookups).key("K");
    sequence(dir / (tag + "overflow"), d);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: seed_maker <page file folder> <sequence folder>\n");
    return 2;
  }
  fs::create_directories(argv[1]);
  fs::create_directories(argv[2]);
  page_files(argv[1]);
  sequences(argv[2]);
  errno = 0;  // what the file operations left is no failure of the seeds
  return 0;
}
