// A stream of the toolbox owned by one scope.
#pragma once

#include <cstdio>

// Holds a FILE* that safe_ut handed out and closes it through close_FILE when
// the scope ends, so that a failure passing through leaves no handle open
// (its report is already made: a second failure of the close is dropped).
// A writer that ends normally closes it itself with close_FILE(&x.f, ...),
// which reports a failed write.
class owned_FILE {
 public:
  explicit owned_FILE(FILE* f = nullptr) : f(f) {}
  ~owned_FILE();
  owned_FILE(const owned_FILE&) = delete;
  owned_FILE& operator=(const owned_FILE&) = delete;

  FILE* f;
};
