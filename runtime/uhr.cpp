#include "runtime/uhr.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "runtime/exec_ut.h"
#include "runtime/os_env.h"
#include "runtime/safe_uts.h"

namespace {
// Seconds as the one clock gives them; under a fixed clock every duration is 0.
double seconds_now() {
  if (safe_uts::fixed_clock()) return (double)safe_uts::now();
  return os().steady_seconds();
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
    int fd = safe_ut.open_fd(f.c_str(), 'c', 'B');
    safe_ut.write_fd(fd, &now, 4);
    safe_ut.close_fd(&fd, "uhr", __LINE__);
    return;
  }
  int fd = safe_ut.open_fd(f.c_str(), 'R', 'B');  // silent: -1 when there is none
  if (fd < 0) {
    printf("\ntime 0 undefined");
  } else {
    uint32_t then = 0;
    int r = safe_ut.read_fd(fd, &then, 4);
    safe_ut.close_fd(&fd, "uhr", __LINE__);
    if (r != 4) exut.fail(__LINE__, "uhr", "System: cannot read %s\n", f.c_str());
    printf("\ntime( %s ) = %5.2f sec\n", name ? name : "", (double)(now - then));
  }
  if (name && name[0] == '-') start_or_show("0");
}
