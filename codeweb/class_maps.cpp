// The class maps of Java and C++ classes and the pages around them.
#include "codeweb/java2htm.h"

void Java2Htm::phase14_class_pages() {}
void Java2Htm::phase15_types() {}
void Java2Htm::show_rootClasses() {}
