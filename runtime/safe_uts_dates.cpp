// The one clock of the program and the dates it formats.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "runtime/os_env.h"
#include "runtime/safe_uts.h"
#include "runtime/safe_uts_internal.h"

namespace {
const char* const SRC = "safe_uts_dates";
}  // namespace

// --------------------------------------------------------------- date, time

bool safe_uts::fixed_clock() {
  const char* e = os().get_env("SOURCE_DATE_EPOCH");
  return e && *e;
}

time_t safe_uts::now() {
  const char* e = os().get_env("SOURCE_DATE_EPOCH");
  if (e && *e) return (time_t)strtoll(e, nullptr, 10);
  return os().now();
}

struct tm safe_uts::local(time_t t) {
  struct tm r;
  if (fixed_clock())
    gmtime_r(&t, &r);
  else
    localtime_r(&t, &r);
  return r;
}

namespace {
const char* format_now(char* buf, size_t n, const char* fmt) {
  struct tm t = safe_uts::local(safe_uts::now());
  strftime(buf, n, fmt, &t);
  return buf;
}
}  // namespace

const char* safe_uts::date_time(int level) {
  return format_now(date_buf2, sizeof date_buf2,
                    level == 2 ? "%Y.%m.%d %H:%M" : level == 3 ? "%Y.%m.%d %H:%M:%S" : "%Y.%m.%d");
}

const char* safe_uts::date_time_us(int level) {
  return format_now(date_buf2, sizeof date_buf2,
                    level == 2 ? "%b %d, %Y - %H:%M" : level == 3 ? "%b %d, %Y - %H:%M:%S" : "%b %d, %Y");
}

const char* safe_uts::stamp() { return format_now(date_buf, sizeof date_buf, "%Y.%m.%d_%H.%M"); }
const char* safe_uts::today() { return format_now(date_buf, sizeof date_buf, "%Y.%m.%d"); }
const char* safe_uts::today_de() { return format_now(date_buf, sizeof date_buf, "%d.%m.%Y"); }

const char* safe_uts::file_date_str(const char* name) {
  NN(name);
  struct tm t = local(file_time(name));
  strftime(date_buf, sizeof date_buf, "%Y.%m.%d", &t);
  return date_buf;
}

char* safe_uts::file_date(const char* name, char* out, int level) {
  NN(name);
  NN(out);
  struct tm t = local(file_time(name));
  strftime(out, 40, "%Y.%m.%d %H:%M", &t);
  if (level == 0) {
    char d[40];
    snprintf(d, sizeof d, "%.2s.%.2s.%.4s", out + 8, out + 5, out);
    strcpy(out, d);
  } else if (level == 1) {
    out[10] = 0;
  } else if (level == 2) {
    out[16] = 0;
  }
  return out;
}

void safe_uts::date_us(char* s) {
  NN(s);
  static const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  // year.month.day
  const char* m = strchr(s, '.');
  if (!m) {
    exut.show_str("date", s);
    exut.fail(__LINE__, SRC, "System: not a date\n");
  }
  int month = atoi(m + 1, SRC, __LINE__);
  const char* d = strchr(m + 1, '.');
  if (month < 1 || month > 12 || !d) {
    exut.show_str("date", s);
    exut.fail(__LINE__, SRC, "System: unknown month\n");
  }
  const char* day = d + 1;
  if (*day == '0') day++;
  char buf[40];
  snprintf(buf, sizeof buf, "%s %s", months[month - 1], day);
  strcpy(s, buf);
}

void safe_uts::date_ymd(char* s) {
  NN(s);
  if (strlen(s) >= 10 && isdigit((unsigned char)s[4])) {
    // day.month.year -> year.month.day
    char buf[16];
    snprintf(buf, sizeof buf, "%.4s.%.2s.%.2s", s + 6, s + 3, s);
    memcpy(s, buf, 10);
    return;
  }
  if (strlen(s) >= 8) {
    s[4] = '.';
    s[7] = '.';
  }
}
