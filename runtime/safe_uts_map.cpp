// Views of open files in memory: a reader or writer that jumps about a large
// file of fixed-size records (the Btree page file) copies a record from or to
// memory instead of asking the system for each one.
#include <cerrno>
#include <cstdio>

#include "runtime/exec_ut.h"
#include "runtime/os_env.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "safe_uts_map";
}

void* safe_uts::map_fd(int fd, long len, bool writable) {
  if (fd <= 0 || len <= 0) {
    exut.show_int("fd", fd);
    exut.show_int("len", len);
    exut.fail(__LINE__, SRC, "System: map_fd() of file %i with %ld bytes\n", fd, len);
  }
  int e0 = errno;
  void* at = os().map(fd, (size_t)len, writable);
  errno = e0;
  return at;
}

void safe_uts::unmap_fd(const void* at, long len) {
  if (!at || len <= 0) return;
  int e0 = errno;
  os().unmap(const_cast<void*>(at), (size_t)len);
  errno = e0;
}

void safe_uts::reserve_fd(int fd, long from, long len) {
  int e = os().reserve(fd, from, len);
  if (e) {
    printf("\nNo space left on devive (?) - check all your drives");
    exut.add("%i = errno, cannot reserve %ld bytes at %ld in file %i\n", e, len, from, fd);
    errno = e;
    exut.throw_error(__LINE__, SRC);
  }
}
