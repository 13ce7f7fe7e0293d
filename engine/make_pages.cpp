// The web pass: the engine's run over all section pages once every
// document is cut.  (Still to come: definitions, hotspots, glossary terms
// into the index, the home menu.)
#include "engine/ut_htm.h"

void ut_htm::make_pages(int maxPage, StrTrees* menuTree) {
  (void)maxPage;
  (void)menuTree;
}
