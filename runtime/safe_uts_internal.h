// What the sources of the toolbox share among themselves and nobody else
// uses: the null-pointer check, small path helpers, the open-file counter of
// `showComm`, and the command runner with the capture files it leaves.
// Each source defines `SRC`, the name its failure reports carry, before it
// uses NN.
#pragma once

#include <cerrno>
#include <cstring>
#include <string>

#include "runtime/safe_uts.h"

class command_runner;

#define NN(p)                                       \
  do {                                              \
    if (!(p)) safe_uts::null_pointer(__LINE__, SRC); \
  } while (0)

namespace toolbox {

inline bool is_space(int c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

// A name with "%NAME%" parts of the environment expanded.
inline std::string expanded(const char* name) {
  return strchr(name, '%') ? safe_ut.expand_env(name) : std::string(name);
}

// The errors of `stat` that only mean "not there".
// A name that is too long for the file system cannot be there either.
inline bool not_there(int e) { return e == ENOENT || e == ENOTDIR || e == ENAMETOOLONG; }

inline std::string strip_slashes(std::string p) {
  while (p.size() > 1 && p.back() == '/') p.pop_back();
  return p;
}

// Counts an opened file while `showComm` is set and prints the line of it;
// passing `maxopenfiles` is a failure.  `count_close` counts it off again.
void count_open(const char* what, const void* f, const char* name);
void count_close();

// The runner behind safe_ut.system, and the capture file of the last
// command it ran (in the run's temporary folder; empty before the first).
command_runner& runner();
std::string& last_capture();

}  // namespace toolbox
