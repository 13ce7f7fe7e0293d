// A system that fails on purpose, for tests: a disk that fills after a
// number of bytes, reads that give a few bytes at a time, calls interrupted
// by a signal, a rename that fails.  Everything else is the real system.
// Install it for a scope with `fault_scope`:
//
//   fault_os sys;
//   sys.space = 1000;           // 1000 more bytes fit on the disk
//   { fault_scope on(sys); ... }
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <cstring>
#include <string>

#include "runtime/os_env.h"

class fault_os : public posix_os {
 public:
  long space = -1;         // bytes that still fit on the disk; -1: no limit
  size_t read_piece = 0;   // a read gives at most this many bytes; 0: what is asked for
  bool interrupt = false;  // every other read and write fails with EINTR first
  int rename_errno = 0;    // rename fails with this errno; 0: it works
  // A folder this user may not search: what lies below it cannot be
  // reached (EACCES), as for a folder without x permission.
  std::string unsearchable;
  long written = 0;        // bytes written to files
  // Every whole file a run wrote: closed after writes that all went
  // through, or put in place by a rename; by its path below the current
  // folder ("./xs/a.txt").  These are the versions a run may leave behind.
  std::map<std::string, std::set<std::string>> put_in_place;
  int interrupts = 0;      // EINTRs given

  ssize_t write(int fd, const void* buf, size_t n) override {
    if (interrupted()) return -1;
    if (!to_file(fd)) return posix_os::write(fd, buf, n);
    size_t k = fits(n);
    (k < n ? broken_ : wrote_).insert(fd);
    if (k == 0) return no_space();
    return count(posix_os::write(fd, buf, k));
  }
  ssize_t pwrite(int fd, const void* buf, size_t n, off_t at) override {
    if (interrupted()) return -1;
    size_t k = fits(n);
    (k < n ? broken_ : wrote_).insert(fd);
    if (k == 0) return no_space();
    return count(posix_os::pwrite(fd, buf, k, at));
  }
  ssize_t read(int fd, void* buf, size_t n) override {
    if (interrupted()) return -1;
    return posix_os::read(fd, buf, piece(n));
  }
  ssize_t pread(int fd, void* buf, size_t n, off_t at) override {
    if (interrupted()) return -1;
    return posix_os::pread(fd, buf, piece(n), at);
  }
  int reserve(int fd, off_t from, off_t len) override {
    struct stat st;
    if (space >= 0 && posix_os::fstat(fd, &st) == 0) {
      long grow = (long)(from + len - st.st_size);
      if (grow > space) return ENOSPC;
      if (grow > 0) space -= grow;
    }
    return posix_os::reserve(fd, from, len);
  }
  int close(int fd) override {
    if (wrote_.count(fd) && !broken_.count(fd)) {
      char path[4096];
      ssize_t n = ::readlink(("/proc/self/fd/" + std::to_string(fd)).c_str(), path, sizeof path - 1);
      if (n > 0) {
        path[n] = 0;
        std::ifstream in(path, std::ios::binary);
        std::ostringstream text;
        text << in.rdbuf();
        put_in_place[below_here(path)].insert(text.str());
      }
    }
    wrote_.erase(fd);
    broken_.erase(fd);
    return posix_os::close(fd);
  }
  int stat(const char* path, struct stat* st) override {
    return hidden(path) ? denied() : posix_os::stat(path, st);
  }
  int lstat(const char* path, struct stat* st) override {
    return hidden(path) ? denied() : posix_os::lstat(path, st);
  }
  int open(const char* path, int flags, mode_t mode) override {
    return hidden(path) ? denied() : posix_os::open(path, flags, mode);
  }
  int access(const char* path, int how) override {
    if (hidden(path) || (!unsearchable.empty() && unsearchable == path && (how & X_OK))) return denied();
    return posix_os::access(path, how);
  }
  int rename(const char* from, const char* to) override {
    if (rename_errno) {
      errno = rename_errno;
      return -1;
    }
    std::ifstream in(from, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    int rc = posix_os::rename(from, to);
    if (rc == 0) put_in_place[below_here(to)].insert(text.str());
    return rc;
  }

 private:
  static std::string below_here(const char* path) {
    namespace fs = std::filesystem;
    return "./" + fs::relative(fs::absolute(path)).lexically_normal().string();
  }
  std::set<int> wrote_, broken_;  // handles written to; of them, those a write failed on
  bool hidden(const char* path) const {
    size_t n = unsearchable.size();
    return n && strncmp(path, unsearchable.c_str(), n) == 0 && path[n] == '/';
  }
  static int denied() {
    errno = EACCES;
    return -1;
  }
  bool to_file(int fd) {
    struct stat st;
    return posix_os::fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
  }
  bool interrupted() {
    if (!interrupt) return false;
    flip_ = !flip_;
    if (!flip_) return false;
    interrupts++;
    errno = EINTR;
    return true;
  }
  size_t fits(size_t n) const { return space < 0 || (long)n <= space ? n : (size_t)space; }
  size_t piece(size_t n) const { return read_piece && n > read_piece ? read_piece : n; }
  ssize_t no_space() {
    errno = ENOSPC;
    return -1;
  }
  ssize_t count(ssize_t w) {
    if (w > 0) {
      written += w;
      if (space >= 0) space -= w;
    }
    return w;
  }
  bool flip_ = false;
};

// Makes a system the one in use for the life of the object.
class fault_scope {
 public:
  explicit fault_scope(os_env& e) : before_(install_os(&e)) {}
  ~fault_scope() { install_os(before_); }
  fault_scope(const fault_scope&) = delete;
  fault_scope& operator=(const fault_scope&) = delete;

 private:
  os_env* before_;
};
