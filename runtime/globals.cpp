// The process-wide objects, defined in one unit so that their order of
// construction is fixed: first the tracker, then the toolbox that uses it.
// Destruction runs in the reverse order.
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

ExecUt exut("brelmot");
safe_uts safe_ut;
char comm_buf[8000];
