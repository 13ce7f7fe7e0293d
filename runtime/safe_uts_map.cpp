// Views of open files in memory: a reader or writer that jumps about a large
// file of fixed-size records (the Btree page file) copies a record from or to
// memory instead of asking the system for each one.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "runtime/exec_ut.h"
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
  void* at = ::mmap(nullptr, (size_t)len, writable ? PROT_READ | PROT_WRITE : PROT_READ, MAP_SHARED,
                    fd, 0);
  errno = e0;
  return at == MAP_FAILED ? nullptr : at;
}

void safe_uts::unmap_fd(const void* at, long len) {
  if (!at || len <= 0) return;
  int e0 = errno;
  ::munmap(const_cast<void*>(at), (size_t)len);
  errno = e0;
}

void safe_uts::reserve_fd(int fd, long from, long len) {
  int e = ::posix_fallocate(fd, from, len);
  if (e == EINVAL || e == EOPNOTSUPP) {
    // The file system takes no space ahead: the file gets its length at least.
    struct stat st;
    e = 0;
    if (::fstat(fd, &st) != 0)
      e = errno;
    else if (st.st_size < from + len && ::ftruncate(fd, from + len) != 0)
      e = errno;
  }
  if (e) {
    printf("\nNo space left on devive (?) - check all your drives");
    exut.add("%i = errno, cannot reserve %ld bytes at %ld in file %i\n", e, len, from, fd);
    errno = e;
    exut.throw_error(__LINE__, SRC);
  }
}
