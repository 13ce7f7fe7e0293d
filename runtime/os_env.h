// The operating system behind one interface: files and folders, the clock,
// the environment and processes.  The toolbox (safe_uts), the command
// runner, the built-in commands and the file operations reach the system
// through `os()` and nothing else, so that one object decides what the
// system does: the POSIX one in a run, a fault-injecting one in a test.
//
// Contract of every operation: the meaning, the return value and `errno`
// are those of the POSIX call of the same name (-1 and `errno` on failure),
// except where a comment says otherwise.  An implementation may fail any
// operation at any time, as a real system may: a short read or write,
// EINTR, ENOSPC.  Callers that need all bytes use `read_full`, `write_all`,
// `pread_full` and `pwrite_all` below, which retry EINTR and continue after
// a short transfer; a short count from them means the end of the file (a
// read) or a failure with `errno` set (a write).
//
// `install_os` replaces the current implementation (a test installs its own
// and puts the old one back); the object stays owned by the caller.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <ctime>
#include <string>
#include <vector>

class os_env {
 public:
  virtual ~os_env() = default;

  // ------------------------------------------------------------ handles
  virtual int open(const char* path, int flags, mode_t mode) = 0;
  virtual int close(int fd) = 0;
  virtual ssize_t read(int fd, void* buf, size_t n) = 0;
  virtual ssize_t write(int fd, const void* buf, size_t n) = 0;
  virtual ssize_t pread(int fd, void* buf, size_t n, off_t at) = 0;
  virtual ssize_t pwrite(int fd, const void* buf, size_t n, off_t at) = 0;
  virtual off_t seek(int fd, off_t off, int whence) = 0;
  virtual int fstat(int fd, struct stat* st) = 0;
  virtual int truncate(int fd, off_t len) = 0;
  // Takes the disk space for [from, from + len); the file grows when it
  // passes the end.  Returns 0 or an errno value (not -1), as
  // posix_fallocate does; a file system that cannot take space ahead gets
  // the length at least.
  virtual int reserve(int fd, off_t from, off_t len) = 0;
  virtual int fchmod(int fd, mode_t mode) = 0;
  virtual int set_times(int fd, const struct timespec times[2]) = 0;  // futimens
  virtual int dup_above(int fd, int lowest) = 0;  // fcntl F_DUPFD_CLOEXEC
  // A shared view of `len` bytes from the start of the file; null on failure.
  virtual void* map(int fd, size_t len, bool writable) = 0;
  virtual int unmap(void* at, size_t len) = 0;

  // ------------------------------------------------------------- names
  virtual int stat(const char* path, struct stat* st) = 0;
  virtual int lstat(const char* path, struct stat* st) = 0;
  virtual int access(const char* path, int how) = 0;
  virtual int rename(const char* from, const char* to) = 0;
  // Swaps two existing names in one step (renameat2 with RENAME_EXCHANGE);
  // -1 with errno EINVAL or ENOSYS where the file system cannot.
  virtual int exchange(const char* a, const char* b) = 0;
  virtual int unlink(const char* path) = 0;
  virtual int mkdir(const char* path, mode_t mode) = 0;
  virtual int rmdir(const char* path) = 0;
  virtual int chmod(const char* path, mode_t mode) = 0;
  virtual int symlink(const char* target, const char* link) = 0;
  virtual ssize_t readlink(const char* path, char* buf, size_t n) = 0;
  // The names in a folder, "." and ".." left out, in the system's order;
  // -1 when the folder cannot be read.
  virtual int list(const char* dir, std::vector<std::string>* names) = 0;
  // As `list`, with what the folder tells of each entry beside its name:
  // 'd' a folder, 'l' a symbolic link, 'f' anything else, '?' not told (the
  // caller asks `lstat`).  The default tells nothing.
  struct entry {
    std::string name;
    char kind;
  };
  virtual int list_kinds(const char* dir, std::vector<entry>* entries);
  // The resolved absolute path; empty on failure.
  virtual std::string realpath(const char* path) = 0;
  // mkdtemp: `templ` ends in "XXXXXX", which is replaced; false on failure.
  virtual bool make_temp_dir(std::string* templ) = 0;
  virtual int chdir(const char* dir) = 0;
  virtual std::string getcwd() = 0;  // empty on failure

  // -------------------------------------------------------------- clock
  virtual time_t now() = 0;              // the wall clock, time(NULL)
  virtual double steady_seconds() = 0;   // a clock that never goes back

  // -------------------------------------------------------- environment
  virtual const char* get_env(const char* name) = 0;  // null when unset
  virtual int set_env(const char* name, const char* value) = 0;
  virtual char** env_list() = 0;  // "NAME=value" entries, null-terminated

  // ---------------------------------------------------------- processes
  // Starts `file` (looked up on PATH when it holds no "/") with `argv`, its
  // standard handles being `fds[0..2]`, SIGPIPE at its default.  Returns 0
  // or an errno value, as posix_spawnp does.
  virtual int spawn(pid_t* pid, const char* file, char* const argv[], const int fds[3]) = 0;
  virtual pid_t wait(pid_t pid, int* status) = 0;  // waitpid(pid, status, 0)
  virtual pid_t pid() = 0;
};

// The production implementation: the calls of the same name.
class posix_os : public os_env {
 public:
  int open(const char* path, int flags, mode_t mode) override;
  int exchange(const char* a, const char* b) override;
  int close(int fd) override;
  ssize_t read(int fd, void* buf, size_t n) override;
  ssize_t write(int fd, const void* buf, size_t n) override;
  ssize_t pread(int fd, void* buf, size_t n, off_t at) override;
  ssize_t pwrite(int fd, const void* buf, size_t n, off_t at) override;
  off_t seek(int fd, off_t off, int whence) override;
  int fstat(int fd, struct stat* st) override;
  int truncate(int fd, off_t len) override;
  int reserve(int fd, off_t from, off_t len) override;
  int fchmod(int fd, mode_t mode) override;
  int set_times(int fd, const struct timespec times[2]) override;
  int dup_above(int fd, int lowest) override;
  void* map(int fd, size_t len, bool writable) override;
  int unmap(void* at, size_t len) override;
  int stat(const char* path, struct stat* st) override;
  int lstat(const char* path, struct stat* st) override;
  int access(const char* path, int how) override;
  int rename(const char* from, const char* to) override;
  int unlink(const char* path) override;
  int mkdir(const char* path, mode_t mode) override;
  int rmdir(const char* path) override;
  int chmod(const char* path, mode_t mode) override;
  int symlink(const char* target, const char* link) override;
  ssize_t readlink(const char* path, char* buf, size_t n) override;
  int list(const char* dir, std::vector<std::string>* names) override;
  int list_kinds(const char* dir, std::vector<entry>* entries) override;
  std::string realpath(const char* path) override;
  bool make_temp_dir(std::string* templ) override;
  int chdir(const char* dir) override;
  std::string getcwd() override;
  time_t now() override;
  double steady_seconds() override;
  const char* get_env(const char* name) override;
  int set_env(const char* name, const char* value) override;
  char** env_list() override;
  int spawn(pid_t* pid, const char* file, char* const argv[], const int fds[3]) override;
  pid_t wait(pid_t pid, int* status) override;
  pid_t pid() override;
};

// The implementation in use.
os_env& os();
// Makes `e` the implementation in use (null: the production one) and
// returns the one it replaces.
os_env* install_os(os_env* e);

// All of `n` bytes unless the file ends first: returns the count, or -1 on
// an error.  EINTR is retried and a short read continued.
ssize_t read_full(int fd, void* buf, size_t n);
ssize_t pread_full(int fd, void* buf, size_t n, off_t at);
// All of `n` bytes, or false with `errno` set.  EINTR is retried and a
// short write continued.
bool write_all(int fd, const void* buf, size_t n);
bool pwrite_all(int fd, const void* buf, size_t n, off_t at);
// Copies what `in` holds from its position to its end onto `out`; false on
// an error, with `errno` set.
bool copy_all(int in, int out);
// waitpid that retries EINTR.
pid_t wait_for(pid_t pid, int* status);
