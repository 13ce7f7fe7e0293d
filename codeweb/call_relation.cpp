// The call relation of C and C++ functions, read from <root>/alles_cpp.
#include "codeweb/java2htm.h"

void Java2Htm::seeAufrufe() {}
void Java2Htm::show_Aufrufe() {}
