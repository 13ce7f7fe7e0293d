// Hard faults end in the tracker's failure path: the handler records the
// signal as an error code, prints the failure report and the entry's closing
// line, and ends the process.  It never throws: unwinding out of a signal
// handler is not safe.
#include "runtime/signals.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstring>

#include "runtime/exec_ut.h"

namespace {

int code_of(int sig) {
  switch (sig) {
    case SIGABRT: return err::abnormal_termination;
    case SIGFPE: return err::floating_point_error;
    case SIGILL: return err::illegal_instruction;
    case SIGSEGV: return err::segmentation_violation;
    case SIGTERM: return err::Ctrl_C_pressed;
    default: return err::unknown_signal;
  }
}

void on_signal(int sig) {
  signal(sig, SIG_IGN);
  errno = code_of(sig);
  char* msg = exut.msg;
  if (!msg[0]) strcpy(msg, "faulty code");
  printf("\n\nfatal error %i.%s, call_nr = %u, errno = %i, %s\n[\n\n%s\n\n]", 27, "signals",
         call_nr, errno, checkpoint ? checkpoint : "", msg);
  msg[0] = 0;
  printf("%s       \n", exut.report());
  fflush(stdout);
  _exit(1);
}

}  // namespace

bool install_signal_handlers() {
  // SIGBUS too: a page file truncated under its mapped view ends in the
  // report (as an unknown signal) rather than a silent core dump.
  const int sigs[] = {SIGABRT, SIGFPE, SIGILL, SIGSEGV, SIGTERM, SIGBUS};
  for (int s : sigs)
    if (signal(s, on_signal) == SIG_ERR) return false;
  signal(SIGPIPE, SIG_IGN);
  return true;
}
