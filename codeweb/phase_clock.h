// Wall time by step of a code web, for the benchmark: with the environment
// variable J2H_PHASE_TIMES set, the steps a run passes are timed and their
// shares printed to the error stream when the run ends; without it nothing
// is measured or printed.
#pragma once

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

class phase_clock {
 public:
  phase_clock() : on_(std::getenv("J2H_PHASE_TIMES") != nullptr), last_(now()) {}

  // Ends the running step, which is charged to `name`.
  void step(const char* name) {
    if (!on_) return;
    double t = now();
    for (auto& s : steps_)
      if (s.first == name) {
        s.second += t - last_;
        last_ = t;
        return;
      }
    steps_.emplace_back(name, t - last_);
    last_ = t;
  }

  void report() const {
    if (!on_) return;
    double all = 0;
    for (const auto& s : steps_) all += s.second;
    fprintf(stderr, "\nj2h steps (wall s, share):\n");
    for (const auto& s : steps_)
      fprintf(stderr, "  %-28s %8.3f %5.1f%%\n", s.first.c_str(), s.second, all > 0 ? 100 * s.second / all : 0.0);
    fprintf(stderr, "  %-28s %8.3f\n", "all", all);
  }

 private:
  static double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
  }
  bool on_;
  double last_;
  std::vector<std::pair<std::string, double>> steps_;
};
