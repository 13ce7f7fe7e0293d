#include "runtime/standard.h"

#include <cerrno>

#include "runtime/exec_ut.h"

standard::standard() : code_(err::not_yet_created), text_("not yet created") {}

void standard::out(const char* name, FILE*) {
  errno = err::no_out_method;
  exut.fail(__LINE__, "standard", "System: no out() method for %s\n", name ? name : "?");
}

void standard::trace(const char* name, FILE*) {
  errno = err::no_trace_method;
  exut.fail(__LINE__, "standard", "System: no trace() method for %s\n", name ? name : "?");
}

void standard::check() {
  errno = err::no_check_method;
  exut.fail(__LINE__, "standard", "System: no check() method\n");
}
