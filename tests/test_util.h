// Helpers shared by the tests: a temporary working folder, file writing and
// reading, and running the built program as a user would.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>

#include "runtime/exec_ut.h"
#include "runtime/run_end.h"

namespace testutil {

// Runs `fn`, which must end in a failure report of the tracker; returns what
// the report printed, and leaves the tracker ready for the next test.
inline std::string failure_of(const std::function<void()>& fn) {
  testing::internal::CaptureStdout();
  bool thrown = false;
  try {
    fn();
  } catch (const char*) {
    thrown = true;
  }
  std::string out = testing::internal::GetCapturedStdout();
  exut.reset_after_failure();
  EXPECT_TRUE(thrown) << "no failure: " << out;
  return out;
}

// Runs `fn`, which must end the run as the program's entry sees it (a
// `run_end`); returns the exit status, and what was printed in `out`.
inline int end_status_of(const std::function<void()>& fn, std::string* out = nullptr) {
  testing::internal::CaptureStdout();
  int status = -1;
  try {
    fn();
  } catch (const run_end& end) {
    status = end.status;
  }
  std::string text = testing::internal::GetCapturedStdout();
  EXPECT_NE(status, -1) << "the run did not end: " << text;
  if (out) *out = text;
  return status;
}

// How often `part` stands in `text`.
// Whether `part` stands in `text`.
inline bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

inline int count_of(const std::string& text, const std::string& part) {
  int n = 0;
  for (size_t k = text.find(part); k != std::string::npos; k = text.find(part, k + 1)) n++;
  return n;
}

// Makes a fresh folder, changes into it, and on destruction changes back and
// removes it with everything in it.
class TempDir {
 public:
  TempDir() {
    const char* base = getenv("TMPDIR");
    std::string tmpl = std::string(base && *base ? base : "/tmp") + "/brelmot_test.XXXXXX";
    std::string buf = tmpl;
    if (!mkdtemp(buf.data())) abort();
    path_ = buf;
    old_ = std::filesystem::current_path();
    std::filesystem::current_path(path_);
  }
  ~TempDir() {
    std::error_code ec;
    std::filesystem::current_path(old_, ec);
    std::filesystem::remove_all(path_, ec);
  }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
  std::filesystem::path old_;
};

// A stream that writes into memory, released however the scope is left
// (also when the code under test throws).
class MemOut {
 public:
  MemOut() : f_(open_memstream(&buf_, &len_)) {
    if (!f_) abort();
  }
  ~MemOut() {
    fclose(f_);
    free(buf_);
  }
  MemOut(const MemOut&) = delete;
  MemOut& operator=(const MemOut&) = delete;
  FILE* get() const { return f_; }
  // What was written so far.
  std::string text() {
    fflush(f_);
    return std::string(buf_, len_);
  }

 private:
  char* buf_ = nullptr;
  size_t len_ = 0;
  FILE* f_;
};

inline void write_file(const std::string& name, const std::string& text) {
  std::filesystem::path p(name);
  if (p.has_parent_path()) std::filesystem::create_directories(p.parent_path());
  std::ofstream f(name, std::ios::binary);
  f << text;
}

inline std::string read_file(const std::string& name) {
  std::ifstream f(name, std::ios::binary);
  std::stringstream ss;
  ss << f.rdbuf();
  return ss.str();
}

inline bool file_exists(const std::string& name) { return std::filesystem::exists(name); }

// Where the shared fixtures lie: <source root>/../shared/fixtures.
inline std::string fixtures_dir() {
  return std::string(BRELMOT_SOURCE_ROOT) + "/../shared/fixtures";
}

struct RunResult {
  int status = -1;
  std::string out;  // standard output and standard error together
};

// Runs the built program with the given argument string (passed to /bin/sh,
// which the test controls) in the current folder, capturing its output.
inline RunResult run_brelmot(const std::string& args, const std::string& env = "") {
  RunResult r;
  std::string cmd = env + (env.empty() ? "" : " ") + "'" + std::string(BRELMOT_EXE) + "' " +
                    args + " 2>&1";
  FILE* p = popen(cmd.c_str(), "r");
  if (!p) return r;
  char buf[4096];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, p)) > 0) r.out.append(buf, n);
  int st = pclose(p);
  r.status = WIFEXITED(st) ? WEXITSTATUS(st) : 128 + WTERMSIG(st);
  return r;
}

}  // namespace testutil
