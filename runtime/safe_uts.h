// The toolbox of the system: text operations on NUL-terminated character
// arrays, and every file, folder, environment, clock and process access.
// No other class of the program touches the system: all of it goes through
// the one object `safe_ut`, so a failure is reported once, with the current
// folder and the words of the system.  The toolbox itself reaches the system
// only through `os()` (runtime/os_env.h), and the streams it hands out write
// through it too (runtime/os_stream.h).
#pragma once

#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "runtime/exec_ut.h"

class rBuffer;

class safe_uts {
 public:
  static constexpr int maxopenfiles_default = 20;

  safe_uts();
  ~safe_uts();
  safe_uts(const safe_uts&) = delete;
  safe_uts& operator=(const safe_uts&) = delete;

  // A null pointer handed to the toolbox ends the run (errno 509).
  [[noreturn]] static void null_pointer(int line, const char* file);

  // ---------------------------------------------------------------- chars
  static int umlaut_code(int c);
  static bool is_letter(int c);
  static bool is_alnum(int c);
  static bool is_name_char(int c);

  // ------------------------------------------------------ search, compare
  const char* char_in(int c, const char* s);
  char* char_in(int c, char* s) { return const_cast<char*>(char_in(c, (const char*)s)); }
  const char* str_in(const char* needle, const char* hay);
  char* str_in(const char* needle, char* hay) {
    return const_cast<char*>(str_in(needle, (const char*)hay));
  }
  const char* str_in_nocase(const char* needle, const char* hay);
  const char* str_in_to(const char* needle, const char* hay, int stop);
  bool same_prefix(const char* a, const char* b);
  int common_prefix_len(const char* a, const char* b);
  int longest_substring_from_start(const char* a, const char* b);
  int longest_common_substring(const char* a, const char* b);
  bool ends_with(const char* s, const char* tail);
  const char* last_str_pos(const char* s, const char* t);
  const char* behind_last(const char* s, const char* t);
  const char* file_part(const char* s);
  int count_char(const char* s, int c, int stop);
  bool selected(const char* sel, const char* s);
  int words_in(const char* s, const char* t, bool caps_only);

  // --------------------------------------------------- changing in place
  static int to_upper_char(int c);
  static int to_lower_char(int c);
  void cut_tail(char* s, int c);
  void one_blank(char* s);
  char* cut_at(char* s, const char* t);
  int copy_up_to(char* out, const char* s, const char* t, bool keep);
  char* replace_all(const char* s, const char* str1, const char* str2, char* out,
                    char* out_end);
  char* put_before(char* c, const char* s);
  int replace_in_file(const char* file, const char* str1, const char* str2);
  void java_name(char* s);
  void camel_name(char* out, const char* s);
  static unsigned scan_hash(const char* s, const char* stop);
  // A name as a browser reads it from a link: every "%XX" decoded.
  static std::string url_decoded(const std::string& s);
  int random_char(int low, int high);

  // -------------------------------------------------------------- numbers
  int atoi(const char* s, const char* file, int line);
  static unsigned digits_value(const char* s);
  double parse_decimal(const char* s, int sep);
  double parse_float(const char* s);

  // --------------------------------------------------------------- output
  int Sprintf(char* out, const char* format, ...) __attribute__((format(printf, 3, 4)));
  char* put(char* out, const char* format, long value);

  // --------------------------------------------------------------- syntax
  bool in_set(int c, const char* set, const char* at);
  bool same_text(const char* s, const char* t);
  // Ends the run with a syntax error unless `at` begins with `text`; shows
  // the line of `at`, looking back to its start: a newline or a NUL must
  // stand before it in the caller's buffer (at most 400 bytes back).
  void expected(int line, const char* file, const char* at, const char* text);
  int check_len(int min, int max, const char* s, const char* file, int line);

  // -------------------------------------------- C-family source skipping
  void skip_comment(char** s);
  void skip_blank_comments(char** p);
  static bool odd_backslashes(const char* p);
  void skip_string(char** p, const char* end);
  void skip_char_literal(char** p, const char* end);
  void skip_brackets(char** p, int open, int close);

  // --------------------------------------------------------------- showing
  // Prints at most n characters of the text p (11 for n of 0), never past
  // its end.
  // Prints at most n characters of the text p (11 for n of 0), never past
  // its end.
  void show_text(const char* name, const char* p, int n);

  // ---------------------------------------------------------- date, time
  // The one clock: SOURCE_DATE_EPOCH when set (dates then in UTC), else time().
  static time_t now();
  static bool fixed_clock();
  static struct tm local(time_t t);
  const char* date_time(int level);
  const char* date_time_us(int level);
  const char* stamp();
  const char* today();
  const char* today_de();
  const char* file_date_str(const char* name);
  char* file_date(const char* name, char* out, int level);
  void date_us(char* s);
  void date_ymd(char* s);

  // --------------------------------------------------------- environment
  // An environment variable by its exact name, else by a case-insensitive
  // match (names are case-blind where the program came from); null if unset.
  static const char* env_lookup(const char* name);
  void expand_env(char* out, const char* s);
  std::string expand_env(const char* s);
  const char* getenv_ok(const char* name);
  int value_after(char* out, const char* text, const char* key);
  char* append_path(char* dir, const char* sub);
  void env_set(const char* name, const char* value);
  void env_read(const char* file);
  const char* env_value(const char* file, const char* name);

  // ------------------------------------------------------ what a thing is
  char ok_is_a(const char* name);
  bool exists(const char* name);
  long ok_file_len(const char* name);
  time_t file_time(const char* name);
  long file_size(const char* name);
  // The real spelling of a user-named file: the exact name, else a unique
  // case-insensitive match in its folder, else the name as given.
  std::string real_name(const char* name);

  // ---------------------------------------------------- open, close, I/O
  FILE* open_FILE(const char* name, const char* mode);
  // Creates (or replaces) `name` for writing; a stale index companion
  // "INDX/<name>" beside it goes.
  FILE* create(const char* name);
  // `dir` (as names spell it) was just emptied and made anew by this run:
  // files created below it can have no stale companion, so none is looked
  // for.  "" forgets the mark, and so does every change of the current
  // folder.
  void made_empty(const char* dir);
  FILE* create_in(const char* dir, const char* name);
  FILE* create_deep(const char* name);
  FILE* open_append(const char* name);
  void close_FILE(FILE** f, const char* file, int line);
  void close_fd(int* fd, const char* file, int line);
  int open_fd(const char* name, int mode, int kind);
  long pos(int fd);
  long len(int fd);
  long FILE_len(FILE* f);
  long FILE_pos(FILE* f);
  void seek(FILE* f, long pos, int from);
  void write_at(int fd, long base, long nr, int size, const void* data);
  void read_at(int fd, long base, long nr, int size, void* data);
  int read_fd(int fd, void* data, int n);
  int read_FILE(FILE* f, void* data, int n);
  void write_FILE(FILE* f, const void* data, long n);
  void write_fd(int fd, const void* data, long n);
  void copy_range(const char* to, const char* from, long offset, long len);
  void copy_tail(const char* to, FILE* f, long pos, const char* from);
  // Reads a whole file (text mode: CR LF folded, Ctrl-Z ends) into a string.
  std::string read_text(const char* name);
  // The text of the file `name` in front of the first `stop` (with
  // `nocase`, in any letter case), or the whole text when there is none;
  // reads no further than it must, so a file's head costs what the head is.
  std::string read_head(const char* name, const char* stop, bool nocase);
  void write_text(const char* name, const std::string& text);
  // Replaces the text of the regular file `name` (as read_text gives it) by
  // what `edit` makes of it; false, and nothing touched, when there is no
  // such file.  Below the folder marked by made_empty the file is this
  // run's own and is rewritten in place; elsewhere it is replaced whole.
  bool edit_text(const char* name, const std::function<void(std::string&)>& edit);
  void remove_file(const char* name);
  void rename_file(const char* from, const char* to);

  // -------------------------------------------------------------- folders
  void ensure_dir(const char* path);
  void rm_tree(const char* name);
  // Removes `path`, a name that a walk below `root` found, exactly as the
  // file system names it; refused with a message when it does not lie
  // below `root`.  Returns whether it is gone.
  bool rm_tree_below(const char* root, const std::string& path);
  // Removes every folder named `name` that the walk of wfind_list finds
  // below `root`, each through rm_tree_below; returns how many went.
  int rm_folders_named(const char* root, const char* name);
  void rm_and_make_dir(const char* name);
  // Puts the finished folder `built` in the place of `position`, which
  // need not exist, so that `position` is at every moment either the old
  // folder whole or the new one whole: the two are swapped in one step
  // where the file system can, else the old one is first renamed to a
  // unique name beside it (and renamed back when the new one cannot take
  // its place).  The old folder is removed afterwards.  A position that
  // cannot be replaced fails with a message naming it; nothing is lost.
  void replace_folder(const char* built, const char* position);
  // True when the folder or file `name` may be written by this process.
  bool writable(const char* name);
  // True when `name` is an input that can be read to its end by this
  // process: a readable regular file (not a folder, a pipe or a device).
  bool readable_input(const char* name);
  void rm_dir(const char* name);
  void copy_file(const char* to, const char* from);
  void copy_file_deep(const char* to, const char* from);
  void copy_in(const char* to, const char* from, const char* file);
  void copy_to_dir(const char* to, const char* name, bool make_dir, bool delete_after);
  void move_file(const char* from, const char* to);
  void copy_tree(const char* to, const char* from, int mode);
  void xcopy_tree(const char* to, const char* from);
  void back_up(const char* from_dir, const char* to_dir, int keep, const char* name);
  int wfind_list(const char* out, int add_files, const char* dir);
  int wfind_do(const char* os, const char* dir, const char* ext, const char* to,
               const char* pre, bool show_only);
  // The entries of a folder sorted as the platform rules say: bytes with
  // ASCII letters folded to lower case, ties by raw bytes.
  std::vector<std::string> list_dir(const char* dir);
  static bool name_less(const std::string& a, const std::string& b);
  std::string cwd();
  // Changes the working folder for good; a change for a while goes through
  // `folder_guard`.
  void change_dir(const char* dir);

  // ------------------------------------------------------ temporary names
  const char* tmp_dir();  // the run's own temporary folder, made on first use
  const char* tmp_name(const char* name);
  unsigned next_free_nr(const char* dir);
  FILE* tmp_file(char* name_out, const char* dir);

  // ---------------------------------------------------------- processes
  int system(const char* comm);
  int system_plain(const char* comm);
  void final_xNUL();
  const char* last_output() const { return last_out.c_str(); }
  void attrib_r(const char* dir, const char* comm);
  bool tasks_with(const char* name);
  void kill_windows(const char* a, const char* titles);
  void taskkill(const char* name);
  bool notepad_if(long min, const char* name);
  void message_box(const char* text);
  [[noreturn]] void done_exit(int rc);
  void doAt(const char* dir, const char* comm, const char* out);
  void del(const char* name);
  bool on_path(const char* name, int exit_if_missing, long size);
  std::string find_on_path(const char* name);
  std::string path_of_self(const char* name);
  void trace_extract(const char* file, const char* out);
  void run_script(const char* file);

  // ---- added with the file half: paths and text handles ----
  // A path as the system uses it: "\\" turned into "/", and the drive-like
  // temporary names ("c:/tmp", "c:\\tmp", "R:", "d:/xx") turned into the
  // run's own temporary folder.  A name that exists exactly as given (a
  // name found by a walk or a listing, where "\\" is an ordinary character)
  // is used as it is.
  std::string os_name(const char* name);
  // True when a handle has nothing more to give: its end is reached, or on a
  // text handle byte 26 has ended the text.
  bool eof_fd(int fd);
  // ---- end of the added block ----

  // ---- added for the web builder (task F): a page under a second spelling --
  // Makes `link` a relative symbolic link to `target` (a name seen from the
  // link's folder); an existing entry of that name is replaced.  A failure
  // is reported with both names.  Defined in safe_uts_link.cpp.
  void link_to(const char* target, const char* link);
  // ---- end of the addition -------------------------------------------------

  // ---- added for the Btree page file (task G): a view of a file in memory --
  // Maps `len` bytes of the open file `fd` from its start, shared, so that the
  // view and read_at/write_at see the same bytes; writable when `writable`
  // (the file must be open for update).  `len` may pass the file's end, but
  // only the bytes inside the file may be touched.  Returns null when the file
  // cannot be mapped: the caller then goes on with read_at and write_at.
  void* map_fd(int fd, long len, bool writable);
  void unmap_fd(const void* at, long len);
  // Takes the disk space for `len` bytes at `from`, so that they can be
  // written through a view; the file grows when they pass its end (new bytes
  // read as zeros).  A full disk fails as in write_at.  Defined in
  // safe_uts_map.cpp.
  void reserve_fd(int fd, long from, long len);
  // ---- end of the addition -------------------------------------------------

  // State.
  int openfiles = 0;
  int maxopenfiles = maxopenfiles_default;
  unsigned next_nr = 0;
  int show_count = 0;
  std::string last_out;
  unsigned random_seed = 1;
  static const char* const ACL_hint;

 private:
  std::string empty_dir_;  // see made_empty
  // `read_text` for what it does not open itself (with the reports of
  // `open_fd`).
  std::string read_text_slowly(const char* name);
  // The folded text of the open regular file `fd` of `size` bytes.
  std::string read_open_text(int fd, off_t size, const char* name);
  // Whether the spelled path `p` lies below the folder marked by made_empty.
  bool below_made_empty(const std::string& p) const;
  // Steps of `system`.
  std::string new_capture();
  int quick_command(const char* comm);
  void echo_errors(const std::string& capture, bool ask);

  std::string tmp_base;
  std::vector<std::string> tmps;
  unsigned xnul_count = 0;
  int in_destructor = 0;
  char date_buf[32];
  char date_buf2[40];
};

extern safe_uts safe_ut;

// The working folder changed for a while.  The guard remembers the folder
// it was made in; `enter` goes into another, `back` returns.  When a failure
// passes through before `back`, the destructor returns silently, so that no
// caller further up finds itself in a folder it never chose.
class folder_guard {
 public:
  folder_guard();
  ~folder_guard();
  folder_guard(const folder_guard&) = delete;
  folder_guard& operator=(const folder_guard&) = delete;

  // Goes into `dir`.  A failure is reported as change_dir reports it, or,
  // with `who`, showing `who` and "cannot change to".
  void enter(const char* dir, const char* who = nullptr);
  // Returns to the folder of before.  A failure is reported as change_dir
  // reports it, or, with `who`, showing `who` and "cannot change back to".
  void back(const char* who = nullptr);
  // Returns without a report; false when the folder could not be entered.
  bool back_quietly();
  const std::string& before() const { return before_; }

 private:
  std::string before_;
  bool away_ = false;
};

// The shared command buffer into which commands are formatted.
extern char comm_buf[8000];
