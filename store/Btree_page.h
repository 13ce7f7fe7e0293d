// The Btree page file, byte by byte.
//
// This header is the one description of what the store writes to disk and
// reads back; the code reads pages through the names defined here.  All
// offsets are in bytes, all numbers little-endian (the host's own order: the
// store reads pages in place, see the assertion at the end).
//
// THE FILE
//   An array of pages of 4100 bytes: page nr lies at byte nr * 4100, and the
//   file holds pages 0 to `last` (see the descriptor); bytes behind them are
//   never read.  Page 0 is the root at all times and holds the tree
//   descriptor; a fresh file has pages 0 and 1.
//   Pages are never given back, and a page on disk is the page as it stood in
//   memory, all 4100 bytes of it.
//
// A PAGE (Btree_page, 4100 bytes)
//   Offset  Size  Type    Field  Meaning
//   0       4088  bytes   c      cells from offset 0 upward, heap from the top down
//   4088    4     int32   nr     this page's number (-1 only in memory: a buffer
//                                that holds no page)
//   4092    2     uint16  dirty  non-zero while the page in memory differs from the
//                                file; written as it stands (1), ignored when read
//   4094    2     int16   e      number of cells, 1 to 511
//   4096    2     int16   h      lowest heap offset in use; 8 * e <= h <= top
//   4098    2     uint16  t      1 index page, 0 data page
//
//   Inside c:
//   0 .. 8*e-1     the cells
//   h .. top-1     the heap: key items, data items, the stored prefix, and
//                  garbage (an item that was replaced stays until the page
//                  is compacted).  top is 4052 in page 0 and 4085 elsewhere.
//   4052 .. 4083   page 0 only: the tree descriptor
//   4084           unused
//   4085           spare (uint8): length of the prefix that all keys of the
//                  page share and that the page stores once; 0 in page 0
//   4086, 4087     unused; no item offset reaches them
//   The items of a sound page lie inside h .. top-1 and share no byte.
//
// A CELL (Btree_cell, 8 bytes, cell i at c[8 * i])
//   Offset  Size  Type    Data page                Index page
//   0       2     uint16  ak: offset of key item   ak: offset of key item
//   2       2     uint16  ad: offset of data item  unused, 0
//   4       4     uint32  surr: the key's          son: page number of the
//                         surrogate, 0 in cell 0   subtree; 0 is read as 1
//   Cells are ordered by key.  Cell 0 of a data page is the sentinel: its key
//   is the page's lower bound (empty in a fresh tree, a shortened separator
//   after a split, which need not be a key of the tree), its data item is
//   empty and its surrogate 0.  The key of an index cell is a separator: a
//   search goes down through the last cell whose key is not above the key
//   searched (below the first cell of a page under the root, through the
//   cell before in the page above).  Cell 0 of the root has the empty key.
//
// A KEY ITEM (at ak)
//   0       1     uint8   L      length of the bytes behind the page's prefix;
//                                spare + L <= 252
//   1       L     bytes          the key without the page's prefix
//   A whole key is the page's stored prefix followed by these bytes.  Keys
//   are byte strings ordered as unsigned bytes, a prefix before its
//   extensions; there is no NUL terminator anywhere in a page.
//
// A DATA ITEM (at ad, data pages only)
//   0       1     uint8   L      length of the value, 0 to 252
//   1       1     uint8   T      type: 0 no data, 2 text (another value is
//                                kept as a caller gave it)
//   2       L     bytes          the value
//
// THE STORED PREFIX (spare bytes)
//   Index page: at c[4085 - spare .. 4085), directly below the spare byte.
//   Data page:  directly below the key item of cell 0, c[ak0 - spare .. ak0).
//   Page 0:     none.
//
// THE TREE DESCRIPTOR (Btree_descr, 32 bytes at offset 4052 of page 0)
//   Offset  Size  Type    Field       Meaning
//   4052    4     uint32  last        highest page number in use
//   4056    2     uint16  next        always 1
//   4058    2     uint16  unused      0
//   4060    4     uint32  surr        highest surrogate given out; the first
//                                     key gets 1, none is used twice
//   4064    2     uint16  anz         keys counted on insertion (not lowered
//                                     by removal), modulo 65536
//   4066    2     uint16  maxkeylen   longest key inserted so far
//   4068    4     uint32  icell_size  always 8
//   4072    4     uint32  dcell_size  always 8
//   4076    4     uint32  page_size   always 4100
//   4080    4     uint32  descr_pos   always 4052
//   A file whose last four words differ is refused when it is opened.
//
// A FRESH TREE
//   Page 0: nr 0, e 1, h 4051, t 1; cell 0 = (ak 4051, 0, son 1); c[4051] = 0
//           (an empty key); the descriptor with last 1, next 1, surr 0,
//           anz 0, maxkeylen 0 and the four constants.
//   Page 1: nr 1, e 1, h 4081, t 0; cell 0 = (ak 4083, ad 4081, surr 0);
//           c[4081 .. 4084] = 0 (an empty data item and an empty key).
//   Both with dirty 1 and spare 0.
//
// LONG VALUES AND THEIR SECOND FILE
//   A value of 253 to 1022 bytes is kept in parts.  Let n be how often 252
//   can be taken from its length while more than 220 remain.  The first
//   length - 252 * n bytes (none when that is below 0) stay in the tree,
//   followed by ":<n1>/<n2>:" (both in decimal) as one text item; the
//   other bytes, in chunks of 252 (the last one may be shorter), are the
//   values of keys "<n1 + 1>" to "<n2>" (decimal) of a companion tree, text
//   items in order.  The companion of the file F is the page file
//   "F_LData", of the format described here; the surr of its descriptor is
//   the last chunk number in use.  A tree in memory or in a temporary file
//   keeps its companion in memory.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

namespace btree_file {
constexpr int page_size = 4100;    // bytes of a page, on disk and in memory
constexpr int area_size = 4088;    // bytes of c: cells and heap
constexpr int cell_size = 8;       // one cell, in both kinds of page
constexpr int max_cells = area_size / cell_size;
constexpr int descr_pos = 4052;    // the descriptor in page 0, the top of its heap
constexpr int spare_pos = 4085;    // the prefix length byte, the top of other heaps
constexpr int end_of_items = 4086;  // no item reaches this offset
constexpr int key_head = 1;        // a key item: its length byte
constexpr int data_head = 2;       // a data item: its length and type bytes
constexpr int max_key = 252;       // longest key, prefix included
constexpr int max_value = 252;     // longest value in a data item
constexpr int type_none = 0;       // data item types
constexpr int type_keep = 1;       // (an argument only: "leave the data alone")
constexpr int type_text = 2;
constexpr uint32_t max_page_nr = 0x7ffffff0u;  // pages a file may have, less one
// Long values.
constexpr int max_long_value = 1022;
constexpr int chunk_size = 252;
constexpr int chunk_rest = 220;    // most bytes that stay in the tree
constexpr const char* companion_suffix = "_LData";
}  // namespace btree_file

// One cell: 8 bytes in both kinds of page.
struct Btree_cell {
  uint16_t ak;    // offset of the key item
  uint16_t ad;    // data page: offset of the data item
  uint32_t surr;  // data page: surrogate; index page: page number of the son
};

// The tree descriptor, 32 bytes at offset 4052 of page 0.
struct Btree_descr {
  uint32_t last;
  uint16_t next;
  uint16_t unused;
  uint32_t surr;
  uint16_t anz;
  uint16_t maxkeylen;
  uint32_t icell_size;
  uint32_t dcell_size;
  uint32_t page_size;
  uint32_t descr_pos;
};

struct Btree_page {
  union {
    unsigned char c[btree_file::area_size];
    Btree_cell cell[btree_file::max_cells];
    struct {
      unsigned char below[btree_file::descr_pos];
      Btree_descr d;
    } p0;
  };
  int32_t nr;
  uint16_t dirty;
  int16_t e;
  int16_t h;
  uint16_t t;
};

static_assert(std::endian::native == std::endian::little,
              "the page file is little-endian and the store reads its pages in place");
static_assert(sizeof(Btree_cell) == btree_file::cell_size, "cell size");
static_assert(sizeof(Btree_descr) == 32, "descriptor size");
static_assert(btree_file::descr_pos + sizeof(Btree_descr) == 4084, "descriptor below byte 4084");
static_assert(sizeof(Btree_page) == btree_file::page_size, "page size");
static_assert(offsetof(Btree_page, nr) == 4088 && offsetof(Btree_page, dirty) == 4092 &&
                  offsetof(Btree_page, e) == 4094 && offsetof(Btree_page, h) == 4096 &&
                  offsetof(Btree_page, t) == 4098,
              "page fields");
static_assert(offsetof(Btree_descr, surr) == 8 && offsetof(Btree_descr, icell_size) == 16 &&
                  offsetof(Btree_descr, descr_pos) == 28,
              "descriptor fields");

// ------------------------------------------------------- reading a page
namespace btree_file {

// The offset above the heap: the descriptor in page 0, the spare byte
// elsewhere.
inline int heap_top(const Btree_page* p) { return p->nr == 0 ? descr_pos : spare_pos; }

// Length of the stored prefix; page 0 has none.
inline int spare_len(const Btree_page* p) { return p->nr == 0 ? 0 : p->c[spare_pos]; }

inline const unsigned char* key_item(const Btree_page* p, int i) { return p->c + p->cell[i].ak; }
inline const unsigned char* data_item(const Btree_page* p, int i) { return p->c + p->cell[i].ad; }

// Where the stored prefix of a page stands.
inline const unsigned char* prefix_at(const Btree_page* p) {
  int sp = p->c[spare_pos];
  return p->t ? p->c + spare_pos - sp : p->c + p->cell[0].ak - sp;
}

// The key bytes of a key item (its length is item[0]), the value bytes of a
// data item (length item[0], type item[1]).
inline const unsigned char* key_bytes(const unsigned char* item) { return item + key_head; }
inline const unsigned char* data_bytes(const unsigned char* item) { return item + data_head; }

// Bytes of the key item and of the data item at offset `at`.
inline int key_item_size(const unsigned char* c, int at) { return key_head + c[at]; }
inline int data_item_size(const unsigned char* c, int at) { return data_head + c[at]; }

}  // namespace btree_file
