// STUB, dropped at merge: placeholders for the derived pages that the cut
// calls (glossary tables, index lines, search titles, profile lines).  The
// real ones live in engine/glossary.cpp, index.cpp, topics.cpp and
// profile.cpp with the same declarations.
#include <cstdio>

#include "engine/ut_htm.h"

void ut_htm::glossar_table(const char*) {}
void ut_htm::to_index(const char*, const char*) {}
void ut_htm::title_to_search(const char*, const char*) {}
void ut_htm::title_to_index(const char*, const char*) {}
void ut_htm::profile_doc_line(FILE* profile, int firstPage, const char* title, long size,
                              const char* date) {
  if (profile) fprintf(profile, "\n--%i:%s|%li.%s", firstPage, title, size, date);
}
void ut_htm::page_size_line(FILE* profile, long size, const char* sectionLine) {
  if (profile) fprintf(profile, "\n- %li,%s", size, sectionLine);
}
