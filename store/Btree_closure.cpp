// Btree: the deep transitive closure of a relation, computed in memory.
//
// The passes on the tree itself (trans_pass in Btree_rel.cpp) search the
// tree three times for every candidate pair.  This computes the same rows in
// the same order with the relation held as numbered names: it reads the rows
// once, and after each pass inserts the rows it added into the tree in the
// order in which they were found.  The tree ends as the passes on the tree
// leave it, surrogates included, and every pass reports the same count.
//
// Order: a row "a~x" splits at its first '~'.  No left part holds a '~', so
// two keys compare as their left parts followed by '~', and then as their
// right parts.  The rows of one left part form a group; a pass visits the
// groups in that order and the rows of a group in the order of their right
// parts, and sees rows added behind the current one, as iteration on the
// tree does.  The rows "b~x" that a step reads are the group of b, as long
// as no right part holds a '~'.
//
// A relation this form cannot mirror byte for byte stays with the tree:
// keys with NUL bytes or without '~', right parts with '~', long data, data
// that does not begin with a short depth.  When the rows in memory reach
// `closure_rows`, the rows found so far go into the tree and the pass goes
// on there from the row it had reached, so memory stays bounded.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory_resource>
#include <string>
#include <unordered_map>
#include <vector>

#include "store/Btree.h"
#include "store/Btree_impl.h"

using namespace btree_impl;

namespace {

// The longest text behind a depth: with a depth of up to eleven characters
// the new value still fits a short value.
constexpr size_t max_text = 240;

struct entry {
  int depth;
  uint32_t text;
};

class deep_closure {
 public:
  deep_closure(Btree& t, long cap) : t_(t), cap_(cap) {}

  // Reads the relation; false when it must stay with the tree.
  bool load();
  // One pass; the rows it added.  When the cap was met on the way, the rows
  // are in the tree and the pass must go on there from resume_key().
  int pass();
  bool handed_over() const { return handed_over_; }
  const std::string& resume_key() const { return resume_; }
  // Puts the rows found into the tree, in the order found.
  void apply();

 private:
  using group = std::pmr::map<uint32_t, entry>;  // rank of the right part -> entry
  struct raw_row {
    uint32_t a, x;
    entry e;
  };

  uint32_t intern(std::unordered_map<std::string, uint32_t>& ids, std::vector<const std::string*>& all,
                  const char* s, size_t n);
  bool read_row(const Btree_st& s, std::vector<raw_row>& rows);
  bool build_groups(const std::vector<raw_row>& rows);
  std::string key_of(size_t g, uint32_t xrank) const;

  Btree& t_;
  long cap_;
  long rows_ = 0;
  bool handed_over_ = false;
  std::string resume_;
  std::unordered_map<std::string, uint32_t> name_ids_, text_ids_;
  std::vector<const std::string*> names_, texts_;
  std::vector<uint32_t> rank_of_x_, x_of_rank_;  // name -> rank of right parts, and back
  std::vector<int> group_of_;                     // name -> group, -1 for none
  std::vector<uint32_t> group_name_;
  std::pmr::monotonic_buffer_resource pool_;
  std::vector<group> groups_;
  std::vector<std::pair<uint32_t, uint32_t>> found_;  // (group, rank) in the order found
  size_t applied_ = 0;
};

uint32_t deep_closure::intern(std::unordered_map<std::string, uint32_t>& ids, std::vector<const std::string*>& all,
                              const char* s, size_t n) {
  auto [it, fresh] = ids.try_emplace(std::string(s, n), (uint32_t)all.size());
  if (fresh) all.push_back(&it->first);
  return it->second;
}

// One row of the tree into `rows`; false for a row the passes in memory
// would not treat exactly as the passes on the tree.
bool deep_closure::read_row(const Btree_st& s, std::vector<raw_row>& rows) {
  if (memchr(s.k, 0, s.k_L)) return false;
  const char* t = static_cast<const char*>(memchr(s.k, '~', s.k_L));
  if (!t || memchr(t + 1, '~', s.k + s.k_L - t - 1)) return false;
  if (s.c_L == 255) return false;
  const char* c = s.c;
  size_t digits = strspn(c, "0123456789");
  if (digits == 0 || digits > 9) return false;
  const char* tilde = strchr(c, '~');
  const char* text = tilde ? tilde + 1 : "";
  size_t textL = strlen(text);
  if (textL > max_text) return false;
  raw_row r;
  r.a = intern(name_ids_, names_, s.k, (size_t)(t - s.k));
  r.x = intern(name_ids_, names_, t + 1, (size_t)(s.k + s.k_L - t - 1));
  r.e = {atoi(c), intern(text_ids_, texts_, text, textL)};
  rows.push_back(r);
  return true;
}

bool deep_closure::load() {
  std::vector<raw_row> rows;
  Btree_st s;
  for (unsigned x = t_.GetFirst(s); x; x = t_.Next(s)) {
    if (!read_row(s, rows) || (long)rows.size() >= cap_) return false;
  }
  rows_ = (long)rows.size();
  return build_groups(rows);
}

// Ranks the names as right parts (bytes) and as left parts (bytes and '~'),
// and fills the groups.  The rows came in key order; they must come out of
// the groups in that order too, or the relation stays with the tree.
bool deep_closure::build_groups(const std::vector<raw_row>& rows) {
  size_t n = names_.size();
  std::vector<uint32_t> ids(n);
  for (uint32_t i = 0; i < n; i++) ids[i] = i;
  std::sort(ids.begin(), ids.end(), [&](uint32_t p, uint32_t q) { return *names_[p] < *names_[q]; });
  rank_of_x_.assign(n, 0);
  x_of_rank_ = ids;
  for (uint32_t r = 0; r < n; r++) rank_of_x_[ids[r]] = r;
  group_of_.assign(n, -1);
  for (auto& r : rows) {
    if (group_of_[r.a] >= 0) continue;
    group_of_[r.a] = (int)group_name_.size();
    group_name_.push_back(r.a);
  }
  groups_.reserve(group_name_.size());
  for (size_t g = 0; g < group_name_.size(); g++) groups_.emplace_back(&pool_);
  long last_g = -1;
  long last_r = -1;
  for (auto& r : rows) {
    long g = group_of_[r.a], rank = rank_of_x_[r.x];
    if (g < last_g || (g == last_g && rank <= last_r)) return false;
    last_g = g;
    last_r = rank;
    groups_[(size_t)g].emplace_hint(groups_[(size_t)g].end(), (uint32_t)rank, r.e);
  }
  return true;
}

std::string deep_closure::key_of(size_t g, uint32_t xrank) const {
  return *names_[group_name_[g]] + "~" + *names_[x_of_rank_[xrank]];
}

int deep_closure::pass() {
  const size_t max_k = (size_t)t_.max_k_L;
  int added = 0;
  for (size_t g = 0; g < groups_.size(); g++) {
    group& G = groups_[g];
    size_t aL = names_[group_name_[g]]->size();
    for (auto it = G.begin(); it != G.end(); ++it) {
      if (rows_ >= cap_) {
        resume_ = key_of(g, it->first);
        handed_over_ = true;
        apply();
        return added;
      }
      uint32_t b = x_of_rank_[it->first];
      int gb = group_of_[b];
      if (gb < 0 || aL + 1 > max_k || names_[b]->size() + 1 > max_k) continue;
      const group& B = groups_[(size_t)gb];
      for (auto jt = B.begin(); jt != B.end(); ++jt) {
        if (aL + 1 + names_[x_of_rank_[jt->first]]->size() > max_k) continue;
        if (!G.try_emplace(jt->first, entry{jt->second.depth + 1, jt->second.text}).second) continue;
        found_.emplace_back((uint32_t)g, jt->first);
        added++;
        rows_++;
      }
    }
  }
  return added;
}

void deep_closure::apply() {
  for (; applied_ < found_.size(); applied_++) {
    auto [g, rank] = found_[applied_];
    const entry& e = groups_[g].at(rank);
    std::string d = std::to_string(e.depth) + "~" + *texts_[e.text];
    t_.StrIns('e', key_of(g, rank).c_str(), d.c_str());
  }
}

}  // namespace

// Passes until one adds nothing, each reported as "anz-anz1"; in memory
// while the relation allows it, on the tree otherwise.
int Btree::become_deep_transitive() {
  ENTER("become_deep_transitive");
  deep_closure mem(*this, closure_rows);
  bool in_memory = mem.load();
  int total = 0;
  for (;;) {
    int added;
    if (in_memory) {
      added = mem.pass();
      mem.apply();  // before the count: a split of the root shows itself
      if (mem.handed_over()) {
        added += trans_pass(true, mem.resume_key());
        in_memory = false;
      }
    } else {
      added = trans_pass(true, {});
    }
    exut.show_int("anz-anz1", added);
    total += added;
    if (!added) return total;
  }
}
