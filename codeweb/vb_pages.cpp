// The pages of VB sources (phase 11) and their lists.
#include "codeweb/java2htm.h"

void Java2Htm::phase11_vb() {}
