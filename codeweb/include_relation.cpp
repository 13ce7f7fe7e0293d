// The include relation of C, C++, JSP and ASP files.
#include "codeweb/java2htm.h"
#include "engine/escape.h"

void Java2Htm::to_incNames(const std::string&) {}
std::string Java2Htm::cpp_include(int, const std::string& directive) { return html_text(directive); }
void Java2Htm::show_the_CPP_includes() {}
void Java2Htm::ADD_inc_structure() {}
void Java2Htm::show_incsMe_Relation() {}
