// Running a command line without a shell.
#include "runtime/command_runner.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <vector>

#include "runtime/builtins.h"
#include "runtime/file_ops.h"
#include "runtime/os_env.h"
#include "runtime/safe_uts.h"

namespace {

using kind = command_line::redir_kind;

void tell(int fd, const std::string& s) {
  write_all(fd, s.data(), s.size());
}

int dup_high(int fd, int fallback_flags) {
  int d = fd >= 0 ? os().dup_above(fd, 3) : -1;
  if (d < 0) d = os().open("/dev/null", fallback_flags | O_CLOEXEC, 0);
  return d;
}

bool changes_folder(const command_line& cl) {
  for (const auto& p : cl.commands)
    for (const auto& s : p.stages)
      if (!s.words.empty() && (strcasecmp(s.words[0].text.c_str(), "cd") == 0 ||
                               strcasecmp(s.words[0].text.c_str(), "chdir") == 0))
        return true;
  return false;
}

}  // namespace

int command_runner::run(const std::string& line) {
  missing.clear();
  missing_errno = 0;
  command_line cl(line);
  if (!cl.error.empty()) {
    fflush(stdout);
    tell(2, "The syntax of the command is incorrect: " + cl.error + "\n");
    return 1;
  }
  // A change of folder holds for the rest of its line only.
  std::optional<folder_guard> start;
  if (changes_folder(cl)) start.emplace();
  int status = 0;
  for (size_t k = 0; k < cl.commands.size(); k++) {
    if (k > 0 && status != 0) break;
    status = run_pipeline(cl.commands[k]);
    if (!missing.empty()) break;
  }
  if (start && !start->back_quietly()) tell(2, "cannot return to " + start->before() + "\n");
  return status;
}

int command_runner::run_pipeline(const command_line::pipeline& p) {
  std::string prev;
  int status = 0;
  for (size_t i = 0; i < p.stages.size(); i++) {
    bool last = i + 1 == p.stages.size();
    int in = os().open(prev.empty() ? "/dev/null" : prev.c_str(), O_RDONLY | O_CLOEXEC, 0);
    if (in < 0) in = os().open("/dev/null", O_RDONLY | O_CLOEXEC, 0);
    std::string next;
    int out;
    if (last) {
      out = dup_high(1, O_WRONLY);
    } else {
      next = std::string(safe_ut.tmp_dir()) + "/pipe_" + std::to_string(pipe_nr_++);
      out = os().open(next.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
      if (out < 0) out = os().open("/dev/null", O_WRONLY | O_CLOEXEC, 0);
    }
    int err = dup_high(2, O_WRONLY);
    status = run_stage(p.stages[i], in, out, err);
    if (!prev.empty()) os().unlink(prev.c_str());
    prev = next;
    if (!missing.empty()) break;
  }
  if (!prev.empty()) os().unlink(prev.c_str());
  return status;
}

namespace {

// Makes the redirections of a stage on its three handles; false (after a
// word on the error handle) when a target cannot be opened.
bool redirect(const command_line::stage& s, int fds[3]) {
  auto replace = [&](int slot, int fd) {
    if (fds[slot] >= 0) os().close(fds[slot]);
    fds[slot] = fd;
  };
  for (const command_line::redirection& r : s.redirs) {
    if (r.kind == kind::err_to_out) {
      replace(2, dup_high(fds[1], O_WRONLY));
      continue;
    }
    if (r.kind == kind::out_to_err) {
      replace(1, dup_high(fds[2], O_WRONLY));
      continue;
    }
    std::string path = builtins::path_of(r.target);
    struct stat st;
    if (r.kind == kind::in && os().stat(path.c_str(), &st) == 0 && !S_ISDIR(st.st_mode) &&
        !file_ops::readable_input(st)) {
      tell(fds[2], "Not a regular file, not read: " + r.target + "\n");
      return false;
    }
    int slot = r.kind == kind::in ? 0 : (r.kind == kind::out || r.kind == kind::append) ? 1 : 2;
    int flags = slot == 0 ? O_RDONLY
                : (r.kind == kind::append || r.kind == kind::err_append) ? O_WRONLY | O_CREAT | O_APPEND
                                                                        : O_WRONLY | O_CREAT | O_TRUNC;
    int fd = os().open(path.c_str(), flags | O_CLOEXEC, 0666);
    if (fd < 0) {
      tell(fds[2], "The system cannot find the path specified: " + r.target + "\n");
      return false;
    }
    replace(slot, fd);
  }
  return true;
}

// The arguments of a program: paths as the system sees them, options as
// they stand, unquoted wildcards expanded when they match.
std::vector<std::string> program_args(const std::vector<command_line::word>& words) {
  std::vector<std::string> argv{builtins::path_of(words[0].text)};
  for (size_t i = 1; i < words.size(); i++) {
    const command_line::word& w = words[i];
    if (w.option) {
      argv.push_back(w.text);
      continue;
    }
    std::string p = builtins::path_of(w.text);
    std::vector<std::string> m;
    if (!w.quoted && file_ops::has_wild(p)) m = file_ops::glob(p);
    if (m.empty())
      argv.push_back(p);
    else
      argv.insert(argv.end(), m.begin(), m.end());
  }
  return argv;
}

}  // namespace

int command_runner::run_stage(const command_line::stage& s, int in, int out, int err) {
  int fds[3] = {in, out, err};
  bool ok = redirect(s, fds);
  int status = ok ? 0 : 1;
  if (ok && !s.words.empty()) {
    fflush(stdout);
    fflush(stderr);
    if (builtins::fn f = builtins::find(s.words)) {
      builtins::io io{fds[0], fds[1], fds[2]};
      status = f(s.words, io);
    } else if (builtins::opens_for_person(s.words[0].text)) {
      status = 0;  // nothing opens a page, a script or a document for a person here
    } else {
      status = run_program(s.words, fds);
    }
  }
  for (int k = 0; k < 3; k++)
    if (fds[k] >= 0) os().close(fds[k]);
  return status;
}

int command_runner::run_program(const std::vector<command_line::word>& words, const int fds[3]) {
  std::vector<std::string> args = program_args(words);
  std::vector<char*> argv;
  for (std::string& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  pid_t pid = 0;
  int rc = os().spawn(&pid, argv[0], argv.data(), fds);
  if (rc != 0) {
    if (!builtins::optional_tool(words)) {
      missing = words[0].text;
      missing_errno = rc;
    }
    return 127;
  }
  int st = 0;
  wait_for(pid, &st);
  return WIFEXITED(st) ? WEXITSTATUS(st) : 128 + (WIFSIGNALED(st) ? WTERMSIG(st) : 0);
}
