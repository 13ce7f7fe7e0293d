// Helpers of the code web tests: a code web built in-process, and a tree
// listing for comparing two builds.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>

#include "codeweb/java2htm.h"
#include "tests/test_util.h"

namespace cwtest {

// Builds the code web of `root_arg` in-process; returns what it printed.
// `web` receives the object's state before its destructor ran, when given.
inline std::string build(const std::string& root_arg, const char* ourRoot = nullptr,
                         std::function<void(Java2Htm&)> look = nullptr) {
  testing::internal::CaptureStdout();
  try {
    Java2Htm web;
    web.make_htm_dir("j2h", root_arg.c_str(), nullptr, ourRoot);
    if (look) look(web);
  } catch (...) {
    std::string out = testing::internal::GetCapturedStdout();
    exut.reset_after_failure();
    ADD_FAILURE() << "the build failed: " << out;
    return out;
  }
  return testing::internal::GetCapturedStdout();
}

// Every file below `dir`, relative path -> bytes.
inline std::map<std::string, std::string> tree_of(const std::string& dir) {
  std::map<std::string, std::string> m;
  for (auto& e : std::filesystem::recursive_directory_iterator(dir))
    if (e.is_regular_file())
      m[std::filesystem::relative(e.path(), dir).string()] = testutil::read_file(e.path().string());
  return m;
}

// Runs the executable j2h with `args` (a shell word string the test
// controls) in the current folder.
inline testutil::RunResult run_j2h(const std::string& args, const std::string& env = "") {
  testutil::RunResult r;
  std::string cmd = env + (env.empty() ? "" : " ") + "'" + std::string(J2H_EXE) + "' " + args + " 2>&1";
  FILE* p = popen(cmd.c_str(), "r");
  if (!p) return r;
  char buf[4096];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, p)) > 0) r.out.append(buf, n);
  int st = pclose(p);
  r.status = WIFEXITED(st) ? WEXITSTATUS(st) : 128 + WTERMSIG(st);
  return r;
}

}  // namespace cwtest
