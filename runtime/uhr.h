// A stopwatch for durations of the build's stages.
#pragma once

#include <ctime>
#include <string>

class uhr {
 public:
  uhr();
  // "time %u = %5.2f sec": seconds since the call with n == 0.
  const char* lap(unsigned n);
  // "0" stores the current time in a small file for a later run; any other
  // name prints the time passed since then; a name starting with "-" also
  // restarts the clock.
  void start_or_show(const char* name);
  static std::string stamp_file();

 private:
  double started;
  char text[64];
};
