// The executable j2h: the code web of one tree.
#include <cstdio>
#include <string>
#include <vector>

#include "codeweb/java2htm.h"
#include "runtime/exec_ut.h"
#include "runtime/signals.h"

int main(int argc, char** argv) {
  program_name = argv[0];
  install_signal_handlers();
  std::vector<std::string> args(argv + 1, argv + argc);
  try {
    return j2h_main(args);
  } catch (const char*) {
    printf("\n");
    fflush(stdout);
    return 1;
  } catch (const run_end& end) {
    fflush(stdout);
    return end.status;
  }
}
