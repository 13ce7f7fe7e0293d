// An in-memory set of strings with a 256-entry table by first character.
// It answers, for a position in a text, whether an element begins there:
// the scanner looks at `first_at[c]` for each character and walks a bucket
// only where a first character matches.  Elements carry a value, a few user
// numbers and up to eight relation lists, so a set also serves as a small
// symbol table.  Texts live in large blocks owned by the set: inserting
// allocates the element only, never the text.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "runtime/standard.h"

class str_set;

struct str_el;
// One relation: the elements it leads to, in the order they were added.
using str_list = std::vector<str_el*>;

struct str_el {
  char* k;        // the string, kept in the set's text blocks
  char* v;        // its value; an empty text unless given
  int L;          // length of k
  str_el* next;   // next element of the same bucket
  int nr;         // free for the user
  int kind;       // free for the user
  int see;        // user number tested by rm_see
  bool mark;      // visited flag of the relation walks
  str_list* rel;  // array of 8 relation lists, made on first use
};

// Result of a relation walk.
struct str_res {
  static constexpr int L_res = 2000;
  str_el* el[L_res];
  int n = 0;   // number of results
  int at = 0;  // a cursor for the caller
};

class str_set : public standard {
 public:
  static constexpr int block_size = 120000;  // one text block, link excluded
  static constexpr int relations = 8;

  struct text_block {
    text_block* older;
    char text[block_size];
  };
  // Header of an item handed out by `raw`: chain link, guard word, size.
  struct raw_item {
    raw_item* prev;
    unsigned guard;
    unsigned size;
  };

  explicit str_set(const char* name);
  ~str_set() override;
  str_set(const str_set&) = delete;
  str_set& operator=(const str_set&) = delete;

  // ------------------------------------------------------------- texts
  char* keep(const char* text);
  int keep(char** copy, const char* text, int n);
  void* raw(int n);
  void check_raw();

  // ----------------------------------------------------------- elements
  str_el* insert(const char* s);
  str_el* insert(const char* s, const char* v);
  str_el* insert(const char* s, const char* v, int n);
  str_el* ensure(const char* s);
  str_el* insert_pair(const char* s, const char* v);
  str_el* find_el(const char* s) const;
  str_el* find_prefix(const char* s, int n) const;
  // The first element of the bucket of p[0] that stands whole at p, where
  // at most `avail` characters are text (the scanner's test).
  str_el* match_at(const char* p, long avail) const {
    unsigned pair = (unsigned char)p[0] << 8 | (unsigned char)p[1];
    if (!(pairs_[pair >> 6] >> (pair & 63) & 1)) return nullptr;
    for (str_el* x = first_at[(unsigned char)*p]; x; x = x->next)
      if (x->L <= avail && match_text(p, x)) return x;
    return nullptr;
  }
  // The highest character (1 to 255) that begins an element, 0 if none:
  // the scanner's sentinel.
  int top_char() const { return top_; }
  int remove(const char* s);
  str_el* unlink(const char* s);
  void clear();

  str_el* first();
  str_el* next();
  int count();
  str_el** elements();
  int rm_see(int from, int to, bool show);

  void trace(const char* name, FILE* stream) override;

  // ------------------------------------------------- numbered entries
  str_el* set_pc(const char** s, const char* name);
  str_el* set_pc(char** s, const char* name) { return set_pc(const_cast<const char**>(s), name); }
  str_el* get_pc(const char** s, const char* name, const char* err);
  str_el* get_pc(char** s, const char* name, const char* err) {
    return get_pc(const_cast<const char**>(s), name, err);
  }

  // ---------------------------------------------------------- relations
  void add_rel(str_el* a, int i, str_el* b);
  void add_rel(const char* a, int i, const char* b) { add_rel(ensure(a), i, ensure(b)); }
  void add_rel(str_el* a, int i, const char* b) { add_rel(a, i, ensure(b)); }
  void add_rel(const char* a, int i, str_el* b) { add_rel(ensure(a), i, b); }
  void closure(int i);
  void direct(str_res& res, str_el* el, int i);
  void deep(str_res& res, str_el* el, int i, int level);

  void add_ascii(int c);

  // Fields, in the order of the data model.
  text_block* blocks = nullptr;  // newest text block
  str_el* at = nullptr;          // cursor of first / next
  str_el* first_at[256];
  int maxlen = 0;  // 1 + length of the longest element inserted so far
  int card = 0;    // number of elements
  int see_count = 0, miss_count = 0, rm_count = 0;
  const char* name;
  int name_len;
  char* block_end = nullptr;  // end of the current block's text
  char* block_pos = nullptr;  // next free byte in it
  const str_set* self;
  str_set* second = nullptr;  // holds the values of insert_pair
  raw_item* last = nullptr;   // newest item handed out by raw
  std::vector<str_el*> elems;

 private:
  void free_buckets();
  int at_c_ = 256;                  // bucket of the cursor; 256 = walk ended
  int top_ = 0;                     // see top_char
  // One bit for each pair of first two characters that can begin an element
  // (all pairs of a one-character element): most candidates of a scan are
  // turned down here without walking their bucket.  Never cleared by
  // removal, so it may only say "maybe".
  uint64_t pairs_[1024] = {};
  bool any_rel_ = false;            // some element has relation lists
  std::vector<str_el*> unlinked_;   // taken out by unlink, freed with the set

  static bool match_text(const char* p, const str_el* x) {
    // Most candidates differ in the first two characters: test those before
    // the whole text.
    const char* k = x->k;
    if (k[0] != p[0]) return false;
    if (x->L < 2) return true;
    return k[1] == p[1] && memcmp(p + 2, k + 2, x->L - 2) == 0;
  }
  void check_self() const;
  char* room(long n, int align);
  void link_in(str_el* el);
  void take_out(str_el* el);
  str_el* new_element(const char* s, int len);
  void free_element(str_el* el);
  void clear_marks();
  void put_res(str_res& res, str_el* el, bool deep_walk);
  str_el* pc_element(long number, const char* name, bool create);
};
