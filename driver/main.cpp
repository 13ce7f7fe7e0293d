// The program's entry.  A run that ends early below it throws `run_end`
// after printing its last words; ending here, by returning, lets every
// destructor on the way run.
#include <cstdio>

#include "driver/brelmot.h"
#include "runtime/run_end.h"

int main(int argc, char** argv) {
  try {
    return brelmot_main(argc, argv);
  } catch (const run_end& end) {
    fflush(stdout);
    return end.status;
  }
}
