// The index pages of typed names, their detail pages, the problems page and
// the fixed pages.  (Still to come.)
#include "engine/ut_htm.h"

void ut_htm::create_index() {}
