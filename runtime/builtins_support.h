// What the built-in commands share among themselves: buffered output to a
// handle, text lines of a handle, and the reading of their arguments.  Only
// the sources of the built-ins include this.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "runtime/builtins.h"
#include "runtime/os_env.h"
#include "runtime/text_mode.h"

namespace builtin {

using args = builtins::args;
using io = builtins::io;

// Buffered writing to a handle.
class out_buf {
 public:
  explicit out_buf(int fd) : fd_(fd) {}
  ~out_buf() { flush(); }
  void put(const char* p, size_t n) {
    buf_.append(p, n);
    if (buf_.size() >= 65536) flush();
  }
  void put(const std::string& s) { put(s.data(), s.size()); }
  void put(const char* s) { put(s, strlen(s)); }
  bool flush() {
    bool ok = write_all(fd_, buf_.data(), buf_.size());
    buf_.clear();
    return ok;
  }

 private:
  int fd_;
  std::string buf_;
};

void say(int fd, const std::string& s);

// Lines of a handle as text: CR LF folded into LF, byte 26 ends the text.
class line_reader {
 public:
  // A line longer than this ends the reading: the text tools hold a line
  // in memory, and no text a build reads has lines near this long.
  static constexpr size_t max_line = 1 << 20;

  explicit line_reader(int fd)
      : text_([fd](char* b, size_t n) { return (long)read_full(fd, b, n); }) {}
  // The next line without its line feed; false at the end, or at a line
  // longer than max_line (then `too_long` is set).
  bool next(std::string& line) {
    while (true) {
      size_t nl = buf_.find('\n', at_);
      if ((nl == std::string::npos ? buf_.size() : nl) - at_ > max_line) {
        too_long = true;
        return false;
      }
      if (nl != std::string::npos) {
        line.assign(buf_, at_, nl - at_);
        at_ = nl + 1;
        return true;
      }
      if (done_) {
        if (at_ < buf_.size()) {
          line.assign(buf_, at_, std::string::npos);
          at_ = buf_.size();
          return true;
        }
        return false;
      }
      fill();
    }
  }
  bool too_long = false;

 private:
  void fill() {
    buf_.erase(0, at_);
    at_ = 0;
    char tmp[65536];
    long n = text_.read(tmp, sizeof tmp);
    if (n > 0) buf_.append(tmp, (size_t)n);
    if (n < (long)sizeof tmp) done_ = true;
  }
  text_reader text_;
  std::string buf_;
  size_t at_ = 0;
  bool done_ = false;
};

// Opens an input: -1 with errno set when it cannot be opened, EINVAL when
// it is no regular file (a device, a pipe, a socket; the null device is
// the empty input).
int open_read(const std::string& p);
bool ieq(const std::string& a, const char* b);
bool ends_with_nocase(const std::string& s, const std::string& tail);
// The words behind the command that are not options.
std::vector<std::string> plain_words(const args& a);
// An option "/x" among the words, without regard to case.
bool has_option(const args& a, char letter);
// Unix-like flags ("-rf", "-9", "-n") in front of the other words.
struct flags {
  std::string letters;
  std::vector<std::string> rest;
};
flags split_flags(const std::vector<std::string>& w);
std::string strip_slash(std::string p);
// Files named by one argument: a pattern's files, a folder's files, or the
// file itself.
std::vector<std::string> files_of(const std::string& w, bool folder_means_its_files);
// The files of all the words; a word that names none is said on the error
// handle and sets `*status` to 1.
std::vector<std::string> files_of_all(const std::vector<std::string>& words, bool folder_means_its_files,
                                      io& io, int* status);
// Lines to a handle, each with its line feed.
template <class Lines>
void put_lines(int fd, const Lines& lines) {
  out_buf o(fd);
  for (const std::string& l : lines) {
    o.put(l);
    o.put("\n", 1);
  }
}

// The commands.
int b_copy(const args& a, io& io);
int b_xcopy(const args& a, io& io);  // xcopy and cptree
int b_del(const args& a, io& io);
int b_type(const args& a, io& io);  // type and cat
int b_mkdir(const args& a, io& io);
int b_rmdir(const args& a, io& io);
int b_rm(const args& a, io& io);
int b_mv(const args& a, io& io);
int b_cp(const args& a, io& io);
int b_echo(const args& a, io& io);
int b_sort(const args& a, io& io);
int b_grep(const args& a, io& io);
int b_tail(const args& a, io& io);
int b_diffsm(const args& a, io& io);
int b_dir(const args& a, io& io);
int b_wfind(const args& a, io& io);
int b_jaco(const args& a, io& io);
int b_bmp2png(const args& a, io& io);
int b_attrib(const args& a, io& io);
int b_cd(const args& a, io& io);

}  // namespace builtin
