#include "runtime/uhr.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

namespace {
// Seconds as the one clock gives them; under a fixed clock every duration is 0.
double seconds_now() {
  if (safe_uts::fixed_clock()) return (double)safe_uts::now();
  struct timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return ts.tv_sec + ts.tv_nsec / 1e9;
}
}  // namespace

uhr::uhr() : started(seconds_now()) { text[0] = 0; }

const char* uhr::lap(unsigned n) {
  double t = seconds_now();
  if (n == 0) started = t;
  snprintf(text, sizeof text, "time %u = %5.2f sec", n, t - started);
  return text;
}

// The stamp lives beside the system's temporary files so that a later run
// finds it; the original kept it at the root of the first drive.
std::string uhr::stamp_file() {
  const char* t = safe_uts::env_lookup("TMPDIR");
  return std::string(t && *t ? t : "/tmp") + "/x_tfbat";
}

void uhr::start_or_show(const char* name) {
  std::string f = stamp_file();
  uint32_t now = (uint32_t)safe_uts::now();
  if (name && !strcmp(name, "0")) {
    FILE* out = fopen(f.c_str(), "wb");
    if (!out) {
      printf("\ncannot create %s\n", f.c_str());
      exut.fail(__LINE__, "uhr", "System: cannot create %s\n", f.c_str());
    }
    size_t w = fwrite(&now, 1, 4, out);
    fclose(out);
    if (w != 4) exut.fail(__LINE__, "uhr", "System: cannot write %s\n", f.c_str());
    return;
  }
  FILE* in = fopen(f.c_str(), "rb");
  if (!in) {
    printf("\ntime 0 undefined");
  } else {
    uint32_t then = 0;
    size_t r = fread(&then, 1, 4, in);
    fclose(in);
    if (r != 4) exut.fail(__LINE__, "uhr", "System: cannot read %s\n", f.c_str());
    printf("\ntime( %s ) = %5.2f sec\n", name ? name : "", (double)(now - then));
  }
  if (name && name[0] == '-') start_or_show("0");
}
