// The scanner buffer: a sliding window over a file (or a text held in
// memory) through which nearly all text processing runs.  `a` is the start
// of the unconsumed text, `s` the search position and `e` the end of the
// valid text, all indices into `z`.  Callers read and write the window
// directly (z[a], z[s], cutting text with a NUL they put back later), so the
// window invariants are the real interface:
//   - z[e] is NUL after an open or a fill, or a search sentinel after find;
//     after a fill the guard text `eof_text` stands from z[e + 1] on;
//   - a >= low (-1000); after a slide the 1000 characters before `a` are
//     still readable;
//   - after a hit of find, at least 8000 characters lie behind `a` unless
//     the file ends before;
//   - every line read from a file ends in "\n" (one is added at the end of
//     a file that lacks it).
// Files are read in text mode (runtime/text_mode.h): CR LF becomes LF (a lone CR stays) and byte
// 26 ends the text.  The block is allocated at the first open and reused.
#pragma once

#include <climits>
#include <cstdio>
#include <memory>

#include "runtime/standard.h"
#include "runtime/text_mode.h"

class str_set;
struct str_el;

class rBuffer : public standard {
 public:
  static constexpr int allocation = 369004;
  static constexpr int behind = 1000;         // readable before `a` after a slide
  static constexpr int read_limit = 184320;   // `e` never passes this by reading
  static constexpr int fill_default = 61440;  // the usual amount wanted ahead
  static constexpr int look_ahead = 8000;     // valid behind a hit of find
  static constexpr int scratch_size = 368640; // work block of convert
  static constexpr int max_includes = 200;
  static constexpr int include_text = 8000;

  rBuffer();
  explicit rBuffer(const char* name, const char* prefix = "");
  rBuffer(const char* name, const char* out_name, FILE** out, const char* prefix = "");
  rBuffer(const char* str1, const char* str2, bool split);
  ~rBuffer() override;
  rBuffer(const rBuffer&) = delete;
  rBuffer& operator=(const rBuffer&) = delete;

  // ------------------------------------------------------------ opening
  void open_file(const char* name, const char* prefix = "");
  void scan_text(const char* text, int n, const char* prefix = "");
  void stop();

  // ------------------------------------------------------------- window
  char* fill(int n);
  char* keep(char** p, int n);
  char* advance(FILE* out);
  bool more(int n);
  bool not_at_end();
  long copy_rest(FILE* out);
  // Writes the window from `a` up to `p` (a point inside it, at or behind
  // `a`; a NUL ends the text written) to `out` (null writes nothing), and
  // sets `a` to `p`.
  void write_to(const char* p, FILE* out);
  void syntax_error(const char* name, const char* p, const char* q);
  void syntax_error(const char* name, const char* p) { syntax_error(name, p, p); }
  void trace(const char* name, FILE* stream) override;

  // ------------------------------------------------------------- search
  char* find(int skip, const char* str, FILE* out);
  str_el* find(int skip, str_set& set, FILE* out);
  char* s_to_not_Blank(int skip, FILE* out, int c);
  const char* value_of(const char* key, const char* if_blank, const char* if_none);
  char* find3(FILE* out, const char* str1, const char* str2, const char* str3);
  // Behind the ">" of the end tag "</name" that closes the tag at p, with
  // nested "<name" counted; the search starts at p + k, which must lie in
  // the window (p + k up to `e`).  No end tag fails.
  // Behind the ">" of the end tag "</name" that closes the tag at p, with
  // nested "<name" counted; the search starts at p + k, which must lie in
  // the window (p + k up to `e`).  No end tag fails.
  char* tag_end(int k, char* p, const char* name);
  char* skip_comment(FILE* out);
  void include_walk(const char* key, const char* out_name, const char* conv_name);

  // -------------------------------------------------------- conversions
  void convert(const char* name, int from);

  // Fields, in the order of the data model.
  int find_count = 0;
  char f_name[4096];
  int f = -1;
  bool mae = false;
  const char* conv = nullptr;
  bool ateof = true;
  int a = 0;
  int e = 0;
  int s = 0;
  int s2 = 0;
  int low = -behind;
  char* raw = nullptr;
  char* z = nullptr;
  // The first four bytes of the text of the element that the last set
  // search found, as an int (zero-padded), so a caller can switch on it.
  int last_match = 0;
  bool dumping = false;
  int guard_pos = INT_MIN;
  int guard_count = 0;
  int capacity = 367872;
  const char* eof_text = " \n EOF = {[(.)]}/\\-_' \" ";
  struct include_record {
    int n = 0;
    int offs[max_includes];
    int used = 0;
    char text[include_text];
  };
  std::unique_ptr<include_record> include_list;

 private:
  // Every search starts here.  True: nothing is left, the caller returns
  // null.  A search that does not move `a` is counted; the ninth in a row at
  // the same `a` is a scanning loop that would never end, and fails.
  bool guard(const char* text, int line) {
    if (a == e && ateof) return true;
    if (a == guard_pos) {
      guard_stall(text, line);
    } else {
      guard_count = 0;
      guard_pos = a;
      if (a < -behind) guard_low(line);
    }
    return false;
  }
  void guard_stall(const char* text, int line);
  [[noreturn]] void guard_low(int line);
  void dump(FILE* stream, int line);
  void put(FILE* out, int from, int to);
  void allocate();
  void reset_counters();
  void close_file();
  int read_block(char* dst, int want);
  void eof_test();
  void open_fail(const char* name);
  void copy_rest_aside();
  int convert_text(const char* name, const char* in, int n, char* out, int room);
  void mae_text(int from);
  void set_name(const char* text);
  void slide();
  int raw_read(char* buf, int n);
  int locate(int from, const char* str, int len);
  void to_candidate(str_el* const* first_at, int sentinel, FILE* out);
  void include_step(const char* key, FILE* out, const char* conv_name, include_record& list);

  // The text-mode reader of the open file.
  text_reader reader_{[this](char* buf, size_t n) { return (long)raw_read(buf, (int)n); }};
  bool src_eof_ = false;  // the file has nothing more to give
  bool delete_at_eof_ = false;
  bool any_text_ = false;  // something was read since the open
  bool pair_ = false;      // holds a pair of strings
  bool is_text_ = false;   // holds a text given by scan_text
  int tab_col_ = 4;        // blanks to the next tab stop (exp_tabs)
  long slid_total_ = 0;    // sum of all slides: keeps remembered positions valid
  std::unique_ptr<char[]> scratch_;  // work block of convert, made on first use
  std::unique_ptr<char[]> block_;    // owns `raw`
};
