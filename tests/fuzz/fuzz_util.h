// What every fuzz target shares: a scratch folder to work in, a quiet console
// and the line between a rejected input and a finding.
//
// A failure report of the tracker (exut.fail, thrown as a const char*) is the
// program refusing an input it cannot go on from: that is an expected answer,
// the tracker is reset and the target goes on.  Everything else is a finding
// for libFuzzer: a sanitizer report, a crash, an exit, another exception
// (uncaught, it ends in std::terminate), or an oracle of the target that
// disagrees (reported with `finding`, which aborts).
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "runtime/exec_ut.h"

namespace fuzz {

// Makes a folder below $TMPDIR (or /tmp) once per process, changes into it
// and lets the program's own temporary files go there too.  Standard output
// goes to the null device unless BRELMOT_FUZZ_VERBOSE is set: libFuzzer
// reports on standard error.  The folder is removed when the process ends
// normally.
inline const std::string& scratch() {
  // Never destroyed: the exit handler below still needs it.
  static const std::string& dir = *[] {
    const char* base = getenv("TMPDIR");
    auto* t = new std::string(std::string(base && *base ? base : "/tmp") + "/brelmot_fuzz.XXXXXX");
    if (!mkdtemp(t->data()) || chdir(t->c_str()) != 0) {
      perror("fuzz scratch folder");
      abort();
    }
    setenv("TMP", t->c_str(), 1);
    if (!getenv("BRELMOT_FUZZ_VERBOSE")) {
      int fd = open("/dev/null", O_WRONLY);
      if (fd >= 0) {
        fflush(stdout);
        dup2(fd, 1);
        close(fd);
      }
    }
    atexit([] {
      std::error_code ec;
      std::filesystem::remove_all(scratch(), ec);
    });
    return t;
  }();
  return dir;
}

// libFuzzer reads its arguments after LLVMFuzzerInitialize: the paths among
// them (corpus folders, the program itself for fork mode, the artifact
// prefix) are made absolute before the change into the scratch folder, and
// findings go to the folder the run started in unless told otherwise.
inline void init(int* argc, char*** argv) {
  static std::vector<std::string> args;
  static std::vector<char*> ptrs;
  namespace fs = std::filesystem;
  const std::string cwd = fs::current_path().string() + "/";
  bool prefix = false;
  for (int i = 0; i < *argc; i++) {
    std::string a = (*argv)[i];
    if (i == 0) {
      if (a.find('/') != std::string::npos) a = fs::absolute(a).string();
    } else if (!a.empty() && a[0] != '-') {
      a = fs::absolute(a).string();
    } else {
      for (const char* flag : {"-artifact_prefix=", "-exact_artifact_path=", "-dict="}) {
        size_t n = strlen(flag);
        if (a.compare(0, n, flag) == 0 && a.size() > n && a[n] != '/') a.insert(n, cwd);
      }
      prefix = prefix || a.rfind("-artifact_prefix=", 0) == 0;
    }
    args.push_back(a);
  }
  if (!prefix) args.push_back("-artifact_prefix=" + cwd);
  for (std::string& a : args) ptrs.push_back(a.data());
  ptrs.push_back(nullptr);
  *argc = (int)args.size();
  *argv = ptrs.data();
  scratch();
}

// Runs fn; true when it returned, false when the tracker refused the input.
template <class F>
bool accepted(F&& fn) {
  try {
    fn();
    return true;
  } catch (const char*) {
    exut.reset_after_failure();
    return false;
  }
}

// An oracle of the target disagrees with the program: report and abort, so
// that libFuzzer keeps the input.
[[noreturn]] inline void finding(const char* what, const std::string& detail = "") {
  fprintf(stderr, "\nFINDING: %s %s\n", what, detail.c_str());
  fflush(stderr);
  abort();
}

inline void write_file(const char* name, const void* data, size_t size) {
  FILE* f = fopen(name, "wb");
  if (!f) finding("cannot write the scratch file", name);
  if (size && fwrite(data, 1, size, f) != size) finding("short write", name);
  fclose(f);
}

inline void write_file(const char* name, const std::string& text) {
  write_file(name, text.data(), text.size());
}

inline std::string read_file(const char* name) {
  std::string r;
  FILE* f = fopen(name, "rb");
  if (!f) return r;
  char buf[65536];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, f)) > 0) r.append(buf, n);
  fclose(f);
  return r;
}

}  // namespace fuzz
