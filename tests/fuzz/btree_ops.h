// The byte format of the Btree operation sequences: read by the operations
// target, written by the seed maker.  Any byte string is a valid sequence
// (missing bytes read as 0); the format only makes the interesting ones
// short.
//
//   sequence  := flags op*          flags bit 0: a file tree, else in memory
//   op        := code arguments     code % 9 selects:
//     0 put       mode key data     mode % 4 of "ieeu"
//     1 remove    key
//     2 lookups   key               Get, contains, the four range lookups
//                                   and a few steps of Next and Prev
//     3 range     key count         Rem_GE_LE from the first key at or
//                                   above `key` over `count` neighbours
//     4 compare                     full walk in both directions
//     5 bulk      count shape       (count % 128 + 1) * 8 generated keys
//     6 reopen                      file tree: close and open again;
//                                   in memory: compare
//     7 long      key length        a value of 253 to 1022 characters
//     8 commit
//   key       := kind ...           kind / 64 selects:
//     0 a key used before: index byte (a fresh key when there is none)
//     1 raw bytes: kind % 64 + 1 bytes follow
//     2 one of six long shared prefixes (one binary) and a digit tail: tail byte
//     3 a long key of 'a' to 'c': 190 + kind % 64 characters (at most 252)
//   data      := length             length % 40, or 150 to 252 when >= 200
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace btree_ops {

enum Op : uint8_t { put, remove, lookups, range, compare, bulk, reopen, long_value, commit, n_ops };

// Reads the sequence front to back.
class Reader {
 public:
  Reader(const uint8_t* data, size_t size) : p_(data), end_(data + size) {}
  bool done() const { return p_ >= end_; }
  uint8_t byte() { return p_ < end_ ? *p_++ : 0; }
  std::string bytes(size_t n) {
    std::string s;
    while (n-- > 0) s += (char)byte();
    return s;
  }

 private:
  const uint8_t* p_;
  const uint8_t* end_;
};

// The six long prefixes of key kind 2.
inline const std::string& prefix(int i) {
  static const std::vector<std::string> all = [] {
    std::vector<std::string> v;
    for (int k = 0; k < 6; k++) {
      std::string p(40 + 30 * k, (char)('a' + k));
      if (k == 5) p[7] = 0;
      v.push_back(p);
    }
    return v;
  }();
  return all[i % 6];
}

// Key `i` of a bulk insertion of the given shape.
inline std::string bulk_key(int shape, int i) {
  char num[16];
  snprintf(num, sizeof num, "%07d", (i * 7919) % 100003);
  switch (shape % 4) {
    case 0: return std::string("k/") + num;
    case 1: return prefix(shape / 4) + num;
    case 2: return std::string(200, (char)('A' + shape % 26)) + num;
    default: return std::string(1, (char)(i % 256)) + num + std::string(i % 7, '\xff');
  }
}

// Helpers of the seed maker.
struct Writer {
  std::string out;
  Writer& op(Op o) { out += (char)o; return *this; }
  Writer& raw(uint8_t b) { out += (char)b; return *this; }
  // A raw key of 1 to 64 bytes.
  Writer& key(const std::string& k) {
    out += (char)(64 + (int)k.size() - 1);
    out += k;
    return *this;
  }
  Writer& old_key(uint8_t index) { return raw(0).raw(index); }
};

}  // namespace btree_ops
