// Stand-ins for the menus of the section pages, which the derived pages
// call: weak, so the real ones replace them when they are linked.  They
// write the least that makes a page: the document's start and nothing of a
// menu.
#include <cstdio>

#include "engine/ut_htm.h"

__attribute__((weak)) void ut_htm::HeaderMenu(FILE* out, int, int, const char*, const char*) {
  if (out) fputs("\n<HTML><head><LINK REL=stylesheet TYPE='text/css' href=1.css></head><body>", out);
}

__attribute__((weak)) void ut_htm::ourMenu(const char*, const char*, FILE*, int, const char*,
                                           const char*, int) {}
