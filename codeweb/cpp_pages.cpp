// The pages of C and C++ sources (phase 13).
#include "codeweb/java2htm.h"

void Java2Htm::phase13_cpp() { show_the_CPP_includes(); }
