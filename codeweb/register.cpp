// Registers the code web with the command runner at program start, so that
// "j2h <root>" in a command line runs it in-process.  Linked as an object
// into every program that has the code web.
#include "codeweb/java2htm.h"
#include "runtime/builtins.h"

namespace {
struct registration {
  registration() { builtins::set_code_web(j2h_main); }
} at_start;
}  // namespace
