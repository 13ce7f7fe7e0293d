// Runs a command line without a shell: each stage is a built-in or a program
// started with posix_spawnp, its arguments as parsed; redirections are made
// with file actions; a pipe between stages goes through a temporary file;
// "&&" runs the next pipeline only after a success.  Every program gets the
// null device as input unless the line gives it one, so nothing can wait
// for a key.
#pragma once

#include <string>
#include <vector>

#include "runtime/command_line.h"

class command_runner {
 public:
  // Runs the line; returns the exit status of the last stage that ran.
  int run(const std::string& line);

  // Set when a program could not be started: its word and the reason.  A
  // tool whose absence never fails a run does not set it.
  std::string missing;
  int missing_errno = 0;

 private:
  int run_pipeline(const command_line::pipeline& p);
  int run_stage(const command_line::stage& s, int in, int out, int err);
  // Starts a program and waits for it; 127 when it cannot be started.
  int run_program(const std::vector<command_line::word>& words, const int fds[3]);
  unsigned pipe_nr_ = 0;
};
