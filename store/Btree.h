// The system's one database: an ordered map from byte-string keys of up to
// 252 bytes to short values, each key with a surrogate number.  A B+-tree of
// fixed 4100-byte pages with the prefix common to a page's keys stored once
// and shortened separators in the index pages.  A tree lives in memory until
// it outgrows its page cache (then it continues in a temporary file) or it is
// kept in a file of pages that the next run reads again.
//
// The page file and every byte of it: Btree_page.h.
//
// Pages of a file tree: the cache holds up to 400 of them, page 0 always, and
// every page that is changed lives there until it is written back (when its
// slot is needed, on commit and on destruction).  Once the tree reads from its
// file, the file is also seen through a shared view in memory: a page comes
// into the cache by a copy from the view, goes back by a copy into it, and a
// data page that a lookup or an iteration only reads is used where it lies in
// the view, taking no slot.  A tree that outgrew its cache into a temporary
// file has no view: its pages come and go by reads and writes, so that the
// process holds no more of it than its cache, however large it grows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "runtime/standard.h"
#include "store/Btree_page.h"

// The result record: owned by the caller, filled by every read.
struct Btree_st {
  uint32_t surr = 0;    // surrogate of the hit
  uint8_t c_L = 0;      // data length (255 for a long value: then see strlen(c))
  uint8_t c_T = 0;      // data type
  char c[1024] = {};    // data, NUL-terminated
  char k[256] = {};     // key, whole, NUL-terminated
  uint16_t k_L = 0;     // key length
  int flag = 0;
};

class Btree : public standard {
 public:
  static constexpr int page_size = btree_file::page_size;
  static constexpr int pos_descr = btree_file::descr_pos;
  static constexpr int spare_pos = btree_file::spare_pos;
  static constexpr int L_Cp = 400;     // pages in the cache
  static constexpr int L_Bp = 40;      // levels
  static constexpr int L_extra = 120;  // pages touched by one insertion
  static constexpr int max_data = btree_file::max_long_value;  // longest value of StrIns(do_this, k, d)

  Btree();
  Btree(const char* name, int do_what);
  ~Btree() override;
  Btree(const Btree&) = delete;
  Btree& operator=(const Btree&) = delete;

  void init(const char* name, int do_what);
  void commit();
  int anz_pages() const { return (int)descr->last + 1; }

  // --------------------------------------------------------- insertion
  char StrIns(const char* k);
  char StrIns(char do_this, const char* k);
  char StrIns(char do_this, const char* k, const char* d);
  char StrIns(char do_this, const char* k, int n);
  char StrIns(char do_this, const char* k, int kL, const char* d, int dL);
  char Ins(char do_this, const char* k, int kL, const char* d, int dL, int d_T);
  int Ins(Btree* t, char do_this);
  unsigned InsPath(char do_this, const char* path, int L, const char* d, int dL, int d_T,
                   unsigned root = 0);
  unsigned InsPath(char do_this, const char* path, const char* d = "", unsigned root = 0);
  char InsAtSurr(unsigned s, char do_this, const char* d, int dL, int d_T);
  char Update(Btree_st& st);
  bool NoUpd(const char* d, int dL);
  unsigned ensure(const char* k, int kL);

  // --------------------------------------------------------- retrieval
  bool locate(const char* k, int kL);
  unsigned Get(const char* k, Btree_st& st);
  unsigned Get(const char* k, int kL, Btree_st& st);
  unsigned Get(int nr, Btree_st& st);
  unsigned GetAtSurr(unsigned s, Btree_st& st);
  unsigned GetPath(const char* path, Btree_st& st, unsigned root = 0);
  unsigned GetPath(const char* path, int L, Btree_st& st, unsigned root);
  unsigned containsPath(const char* path, unsigned root = 0);
  unsigned contains(const char* k);
  unsigned contains(const char* k, int kL);
  unsigned contains(const Btree_st& st);
  unsigned GetFirst(Btree_st& st);
  unsigned GetLast(Btree_st& st);
  unsigned Next(Btree_st& st);
  unsigned GetNext(Btree_st& st);
  unsigned GetNext(Btree_st& st, const char* k);
  unsigned GetNext(Btree_st& st, const char* k, int kL);
  unsigned Prev(Btree_st& st);
  unsigned GetPrev(Btree_st& st);
  unsigned GetPrev(Btree_st& st, const char* k);
  unsigned GetPrev(Btree_st& st, const char* k, int kL);
  unsigned Getmin_GE(Btree_st& st, const char* k);
  unsigned Getmin_GE(Btree_st& st, const char* k, int kL);
  unsigned Getmin_GR(Btree_st& st, const char* k);
  unsigned Getmin_GR(Btree_st& st, const char* k, int kL);
  unsigned Getmax_LE(Btree_st& st, const char* k);
  unsigned Getmax_LE(Btree_st& st, const char* k, int kL);
  unsigned Getmax_LS(Btree_st& st, const char* k);
  unsigned Getmax_LS(Btree_st& st, const char* k, int kL);
  unsigned Getmin_At(Btree_st& st, const char* prefix);
  unsigned Getmax_At(Btree_st& st, const char* prefix);
  unsigned Getmax_prefix(Btree_st& st, const char* k);
  int number_of_elements();
  unsigned retNr(int must_exist, const char* k);
  const char* retAlias(const char* k);

  // ----------------------------------------------------------- removal
  unsigned Rem(const char* k);
  unsigned Rem(const char* k, int kL);
  unsigned Rem(int nr);
  unsigned Rem(const Btree_st& st);
  unsigned RemPath(const char* path, unsigned root = 0);
  int Rem_GE_LE(const char* from, const char* to);
  unsigned postfix(const char* k, const char* text);

  // ------------------------------------------------ relations, reports
  Btree* invers();
  int become_transitive();
  int become_deep_transitive();
  int become_trans(const char* a, const char* b);
  int become_deep_trans(const char* a, const char* b);
  void become_end_to_end_transitive(Btree* out);
  void count(const char* k);
  void to_file(const char* name);
  static Btree* from_file(const char* name);
  void check_Btree(const char* file, int line);
  void show(const char* name, FILE* stream);
  void trace(const char* name, FILE* stream) override;
  void traceAbs(const char* name, FILE* stream);
  void traceAt(const char* prefix, const char* name, FILE* stream);
  void trac1_page(const Btree_page* p, FILE* stream);
  void check_page(const Btree_page* p);

  // --------------------------------------------------------- fields
  const char* name = "";
  int treeID = 0;
  int max_k_L = btree_file::max_key;
  Btree* LData = nullptr;
  int LDataNr = 0;
  Btree_descr* descr = nullptr;
  Btree_page* cache[L_Cp] = {};
  int e_cache = 0;
  Btree_page* extra[L_extra] = {};
  int e_extra = 0;
  Btree_page* page[L_Bp] = {};
  struct pos_rec {
    int m = 0;
    int r = 0;
    int w = 0;
  };
  pos_rec pos_m[L_Bp];
  int deepest = 0;
  int max_deepest = 0;  // statistics: deepest level reached
  int Bf = 0;           // file handle, 0 for a tree in memory
  char Bfn[600] = {};
  int read_only = 0;
  int temporary = 0;
  int quiet = 0;  // no show of a refused insertion or update
  // Rows of a deep closure held in memory; beyond them its passes go on in
  // the tree (see Btree_closure.cpp).
  long closure_rows = 500000;
  int no_view = 0;  // pages only through read_at and write_at, never a view
  unsigned surr = 0;
  Btree_st st;

 private:
  // Opening, the view of the file, writing back (Btree_file.cpp).
  void clear_all();
  void take_name(const char* nm, int do_what);
  void open_existing(bool ro);
  void start_fresh(int do_what);
  void build_fresh();
  void create_file();
  void to_memory_overflow();
  void close_file(bool write);
  void write_dirty();
  void to_Disk(int slot, bool space_taken);
  bool in_file(int32_t nr) const;
  void read_page(uint32_t nr, Btree_page* p);
  bool view(long end);
  void unmap();

  // The cache (Btree_cache.cpp).
  Btree_page* alloc_page();
  int slot_of(uint32_t nr) const;
  void get_page(int i, uint32_t nr);
  Btree_page* load_page(int i, uint32_t nr);
  void check_once(const Btree_page* p);
  void visit(int i, uint32_t nr);
  bool holds(const Btree_page* q, uint32_t nr) const;
  bool in_view(const Btree_page* q) const;
  void own(int i);
  Btree_page* new_page();
  int evict(int i);
  bool pinned(const Btree_page* p) const;
  void touch(const Btree_page* p);
  void to_extra(Btree_page* p);

  // Checks of what a file gives (Btree_check.cpp).
  void check_descr();
  const char* page_fault(const Btree_page* p) const;
  void validate_loaded(const Btree_page* p);
  void check_son(int l);

  // Search and position (Btree_search.cpp), retrieval (Btree_get.cpp).
  bool seek(const char* k, int kL, bool to_write);
  void fetch_son(const Btree_page* p, int m, bool to_write);
  void ipos(const Btree_page* p, const unsigned char* k, int kL, int& m, int& r);
  void dpos(const Btree_page* p, const unsigned char* k, int kL, int& m, int& r);
  bool pos_step(bool back);
  bool descend(int l, bool to_last);
  [[noreturn]] void too_deep();
  bool position_ok(const Btree_st& s) const;
  unsigned located_key_and_data(Btree_st& st, int line);
  unsigned near(Btree_st& st, const char* k, int kL, bool back, bool or_k);
  unsigned near_of(const char* op, Btree_st& st, const char* k, int kL, bool back, bool or_k);
  unsigned step_read(Btree_st& st, bool back);
  int key_len(const char* k, const char* op);
  void need_key(const char* k, int kL, const char* op);
  void miss_into(Btree_st& st, const char* k, int kL);

  // Insertion (Btree_insert.cpp), compaction and splits (Btree_split.cpp),
  // removal (Btree_remove.cpp).
  char ins_core(char do_this, const unsigned char* k, int kL, const unsigned char* d, int dL,
                int d_T);
  char resolved_mode(char do_this, bool found, bool first, const char* kc, int kL);
  bool room_for(int L, bool insert, int kL, int dl);
  void compact(int L);
  void put_cell(Btree_page* p, int m, bool insert, const unsigned char* k, int kL,
                const unsigned char* d, int dL, int dt);
  void put_data(Btree_page* p, int at, const unsigned char* d, int dL, int dt);
  void heap_put(Btree_page* p, int& h, int cells, const void* from, int n, const char* op);
  void heap_put_key(Btree_page* p, int& h, int cells, const unsigned char* k, int kl,
                    const char* op);
  void reorganize(Btree_page* p, int e_neu, int uspar);
  int usable_spare(Btree_page* p, const Btree_page* cp, int e_neu, int uspar);
  void split_data(int level, Btree_page* p, Btree_page* neu);
  void fill_data_half(const Btree_page* p, int mid, Btree_page* neu, const unsigned char* full,
                      int sepL);
  void into_father(int level, const unsigned char* key, int L, uint32_t son);
  void split_index(int level, const unsigned char* key, int L, uint32_t son);
  void fill_index_half(const Btree_page* P, int mid, Btree_page* neu);
  void split_root(const unsigned char* key, int L, uint32_t son);
  void insert_icell(Btree_page* p, int pos, const unsigned char* key, int L, uint32_t son);
  void put_separator(Btree_page* f, const unsigned char* key, int L, uint32_t son);
  void refill_from_left(int L);
  void not_read_only(const char* what);

  // Long values (Btree_long.cpp).
  char long_ins(char do_this, const char* k, int kL, const char* d, int dL);
  Btree* ldata(bool create);
  void expand_long(Btree_st& st);
  std::string ldata_name() const;

  // Paths (Btree_path.cpp).
  void check_path(const char* path, int L, unsigned root);
  int step_key(unsigned char* out, unsigned parent, const char* step, int n);
  bool path_to_last(const char* path, int L, unsigned root, bool make, unsigned char* key, int& kl);

  // Relations (Btree_rel.cpp).
  // One pass over the relation, from the first key at or above `from`.
  int trans_pass(bool deep, const std::string& from);
  int trans_step(const char* a, const char* b, bool deep);

  static void enter(const char* method);
  [[noreturn]] void broken(const Btree_page* p, int line, const char* format, ...)
      __attribute__((format(printf, 4, 5)));

  std::vector<int32_t> slot_of_;  // file trees: page number -> cache slot, -1 if absent
  std::vector<bool> sound_;       // pages in the file that were written or checked
  uint8_t ref_[L_Cp] = {};        // recent use of each slot (clock replacement)
  int hand_ = 1;                  // the clock's hand
  long file_len_ = 0;             // bytes of the file that hold pages
  unsigned char* map_ = nullptr;  // the view of the file, or null
  long map_len_ = 0;              // bytes of the view (may pass the file's end)
  bool map_off_ = false;          // the file cannot be mapped: read_at, write_at
  int ins_level_ = 0;             // level of the data page that a split starts from
  unsigned long mod_ = 0;         // counts changes; a position is valid for one value
  unsigned long pos_mod_ = 0;     // value of mod_ when the position was read
  bool memory_ = true;            // pages live at cache[nr]
  bool damaged_ = false;          // a page of the file was found damaged: no more writes
  bool spilled_ = false;          // the file is this tree's own overflow: every page in it was written here
};
