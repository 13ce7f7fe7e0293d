// The POSIX implementation of the system interface, and the helpers that
// make a transfer complete.
#include "runtime/os_env.h"

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

extern char** environ;

int posix_os::open(const char* path, int flags, mode_t mode) { return ::open(path, flags, mode); }
int posix_os::close(int fd) { return ::close(fd); }
ssize_t posix_os::read(int fd, void* buf, size_t n) { return ::read(fd, buf, n); }
ssize_t posix_os::write(int fd, const void* buf, size_t n) { return ::write(fd, buf, n); }
ssize_t posix_os::pread(int fd, void* buf, size_t n, off_t at) { return ::pread(fd, buf, n, at); }
ssize_t posix_os::pwrite(int fd, const void* buf, size_t n, off_t at) {
  return ::pwrite(fd, buf, n, at);
}
off_t posix_os::seek(int fd, off_t off, int whence) { return ::lseek(fd, off, whence); }
int posix_os::fstat(int fd, struct stat* st) { return ::fstat(fd, st); }
int posix_os::truncate(int fd, off_t len) { return ::ftruncate(fd, len); }

int posix_os::reserve(int fd, off_t from, off_t len) {
  int e = ::posix_fallocate(fd, from, len);
  if (e != EINVAL && e != EOPNOTSUPP) return e;
  // The file system takes no space ahead: the file gets its length at least.
  struct stat st;
  if (::fstat(fd, &st) != 0) return errno;
  if (st.st_size < from + len && ::ftruncate(fd, from + len) != 0) return errno;
  return 0;
}

int posix_os::fchmod(int fd, mode_t mode) { return ::fchmod(fd, mode); }
int posix_os::set_times(int fd, const struct timespec times[2]) { return ::futimens(fd, times); }
int posix_os::dup_above(int fd, int lowest) { return ::fcntl(fd, F_DUPFD_CLOEXEC, lowest); }

void* posix_os::map(int fd, size_t len, bool writable) {
  void* at = ::mmap(nullptr, len, writable ? PROT_READ | PROT_WRITE : PROT_READ, MAP_SHARED, fd, 0);
  return at == MAP_FAILED ? nullptr : at;
}

int posix_os::unmap(void* at, size_t len) { return ::munmap(at, len); }
int posix_os::stat(const char* path, struct stat* st) { return ::stat(path, st); }
int posix_os::lstat(const char* path, struct stat* st) { return ::lstat(path, st); }
int posix_os::access(const char* path, int how) { return ::access(path, how); }
int posix_os::rename(const char* from, const char* to) { return ::rename(from, to); }
int posix_os::exchange(const char* a, const char* b) {
  return ::renameat2(AT_FDCWD, a, AT_FDCWD, b, RENAME_EXCHANGE);
}
int posix_os::unlink(const char* path) { return ::unlink(path); }
int posix_os::mkdir(const char* path, mode_t mode) { return ::mkdir(path, mode); }
int posix_os::rmdir(const char* path) { return ::rmdir(path); }
int posix_os::chmod(const char* path, mode_t mode) { return ::chmod(path, mode); }
int posix_os::symlink(const char* target, const char* link) { return ::symlink(target, link); }
ssize_t posix_os::readlink(const char* path, char* buf, size_t n) { return ::readlink(path, buf, n); }

int posix_os::list(const char* dir, std::vector<std::string>* names) {
  DIR* d = ::opendir(dir);
  if (!d) return -1;
  while (struct dirent* e = ::readdir(d)) {
    const char* n = e->d_name;
    if (n[0] == '.' && (n[1] == 0 || (n[1] == '.' && n[2] == 0))) continue;
    names->emplace_back(n);
  }
  ::closedir(d);
  return 0;
}

int os_env::list_kinds(const char* dir, std::vector<entry>* entries) {
  std::vector<std::string> names;
  if (list(dir, &names) != 0) return -1;
  for (std::string& n : names) entries->push_back(entry{std::move(n), '?'});
  return 0;
}

// The kind comes with the entry from most file systems: a walk of a large
// tree needs no `lstat` for each name.
int posix_os::list_kinds(const char* dir, std::vector<entry>* entries) {
  DIR* d = ::opendir(dir);
  if (!d) return -1;
  while (struct dirent* e = ::readdir(d)) {
    const char* n = e->d_name;
    if (n[0] == '.' && (n[1] == 0 || (n[1] == '.' && n[2] == 0))) continue;
    char kind = e->d_type == DT_DIR ? 'd' : e->d_type == DT_LNK ? 'l' : e->d_type == DT_UNKNOWN ? '?' : 'f';
    entries->push_back(entry{n, kind});
  }
  ::closedir(d);
  return 0;
}

std::string posix_os::realpath(const char* path) {
  char buf[PATH_MAX];
  return ::realpath(path, buf) ? std::string(buf) : std::string();
}

bool posix_os::make_temp_dir(std::string* templ) { return ::mkdtemp(templ->data()) != nullptr; }
int posix_os::chdir(const char* dir) { return ::chdir(dir); }

std::string posix_os::getcwd() {
  char buf[PATH_MAX];
  return ::getcwd(buf, sizeof buf) ? std::string(buf) : std::string();
}

time_t posix_os::now() { return ::time(nullptr); }

double posix_os::steady_seconds() {
  struct timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return ts.tv_sec + ts.tv_nsec / 1e9;
}

const char* posix_os::get_env(const char* name) { return ::getenv(name); }
int posix_os::set_env(const char* name, const char* value) { return ::setenv(name, value, 1); }
char** posix_os::env_list() { return environ; }

int posix_os::spawn(pid_t* pid, const char* file, char* const argv[], const int fds[3]) {
  posix_spawn_file_actions_t fa;
  posix_spawn_file_actions_init(&fa);
  for (int k = 0; k < 3; k++) posix_spawn_file_actions_adddup2(&fa, fds[k], k);
  posix_spawnattr_t at;
  posix_spawnattr_init(&at);
  sigset_t def;
  sigemptyset(&def);
  sigaddset(&def, SIGPIPE);
  posix_spawnattr_setsigdefault(&at, &def);
  posix_spawnattr_setflags(&at, POSIX_SPAWN_SETSIGDEF);
  int rc = posix_spawnp(pid, file, &fa, &at, argv, environ);
  posix_spawn_file_actions_destroy(&fa);
  posix_spawnattr_destroy(&at);
  return rc;
}

pid_t posix_os::wait(pid_t pid, int* status) { return ::waitpid(pid, status, 0); }
pid_t posix_os::pid() { return ::getpid(); }

// ------------------------------------------------------------------ choice

namespace {
os_env* current = nullptr;

os_env& production() {
  static auto* p = new posix_os;  // never destroyed: used until the very end
  return *p;
}
}  // namespace

os_env& os() { return current ? *current : production(); }

os_env* install_os(os_env* e) {
  os_env* before = &os();
  current = e;
  return before;
}

// ----------------------------------------------------------------- helpers

namespace {

// Runs `op(done)`, which transfers the part from `done` on, until `n`
// bytes are done; EINTR is retried.  A transfer of 0 bytes is the end of a
// read (`zero_ends`), or a full disk for a write.  Returns the bytes done,
// or -1 with errno set.  An interruption that was retried is no error.
template <class Op>
ssize_t transfer(size_t n, bool zero_ends, Op op) {
  int e0 = errno;
  size_t done = 0;
  while (done < n) {
    ssize_t r = op(done);
    if (r < 0) {
      if (errno == EINTR) continue;
      return -1;
    }
    if (r == 0) {
      if (zero_ends) break;
      errno = ENOSPC;
      return -1;
    }
    done += (size_t)r;
  }
  errno = e0;
  return (ssize_t)done;
}

}  // namespace

ssize_t read_full(int fd, void* buf, size_t n) {
  char* p = static_cast<char*>(buf);
  return transfer(n, true, [&](size_t got) { return os().read(fd, p + got, n - got); });
}

ssize_t pread_full(int fd, void* buf, size_t n, off_t at) {
  char* p = static_cast<char*>(buf);
  return transfer(n, true, [&](size_t got) { return os().pread(fd, p + got, n - got, at + (off_t)got); });
}

bool write_all(int fd, const void* buf, size_t n) {
  const char* p = static_cast<const char*>(buf);
  return transfer(n, false, [&](size_t done) { return os().write(fd, p + done, n - done); }) >= 0;
}

bool pwrite_all(int fd, const void* buf, size_t n, off_t at) {
  const char* p = static_cast<const char*>(buf);
  return transfer(n, false, [&](size_t done) { return os().pwrite(fd, p + done, n - done, at + (off_t)done); }) >= 0;
}

bool copy_all(int in, int out) {
  char buf[65536];
  for (;;) {
    ssize_t n = read_full(in, buf, sizeof buf);
    if (n < 0) return false;
    if (n == 0) return true;
    if (!write_all(out, buf, (size_t)n)) return false;
  }
}

pid_t wait_for(pid_t pid, int* status) {
  int e0 = errno;
  pid_t r;
  while ((r = os().wait(pid, status)) < 0 && errno == EINTR) {
  }
  if (r >= 0) errno = e0;
  return r;
}
