// Whether a file can be read, and when not, why: asked before a reader
// that would end the run is given a file that a listing named.  Part of the
// seam to the operating system beside safe_uts; the path goes through
// safe_ut.os_name as every other path does.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "runtime/safe_uts.h"

// Empty when `name` can be opened for reading; else the system's text of
// what failed ("Permission denied").  errno is left as it was.
inline std::string read_problem(const char* name) {
  std::string p = safe_ut.os_name(name);
  int e0 = errno;
  int fd = ::open(p.c_str(), O_RDONLY | O_CLOEXEC);
  std::string why = fd < 0 ? strerror(errno) : "";
  if (fd >= 0) ::close(fd);
  errno = e0;
  return why;
}
