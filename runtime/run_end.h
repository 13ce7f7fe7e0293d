// The one way a run ends below the entry.  Code that must stop the run
// prints what the run says on its way out and throws `run_end` with the exit
// status; the program's entry catches it and returns that status, so every
// destructor on the way runs: trees are committed, the closing report is
// printed and the run's temporary folder is removed.  Nothing below the
// entry calls exit(); only the signal handlers end the process directly,
// since they must not throw.
//
// `run_end` is not a std::exception, so that no handler for the library's
// exceptions takes it for one; a `catch (...)` that does not rethrow must
// only stand in a destructor.
#pragma once

struct run_end {
  int status;
};

[[noreturn]] inline void end_run(int status) { throw run_end{status}; }
