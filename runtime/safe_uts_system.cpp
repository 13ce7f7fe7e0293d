// Commands and processes: the command runner behind safe_ut.system with
// its capture files, and the helpers that run commands or stand for the
// window and process work of the original platform.
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "runtime/builtins.h"
#include "runtime/command_line.h"
#include "runtime/command_runner.h"
#include "runtime/file_ops.h"
#include "runtime/os_env.h"
#include "runtime/safe_uts.h"
#include "runtime/safe_uts_internal.h"

namespace {

const char* const SRC = "safe_uts_system";

bool ieq_prefix(const char* s, const char* p) { return strncasecmp(s, p, strlen(p)) == 0; }

}  // namespace

std::string& toolbox::last_capture() {
  static auto* c = new std::string;
  return *c;
}

command_runner& toolbox::runner() {
  static auto* r = new command_runner;
  return *r;
}

using toolbox::last_capture;
using toolbox::runner;

// ------------------------------------------------------------ processes

namespace {

// The output of the last command goes before the next command runs.
void forget_capture() {
  if (!last_capture().empty()) os().unlink(last_capture().c_str());
  last_capture().clear();
}

// A command that opens a note that is missing or empty: nobody opens it.
bool empty_note(const char* comm) {
  const char* np = strstr(comm, "notepad ");
  if (!np) return false;
  const char* a = np + 8;
  while (*a == ' ') a++;
  std::string file;
  if (*a == '"') {
    const char* q = strchr(a + 1, '"');
    file.assign(a + 1, q ? q : a + strlen(a));
  } else {
    file.assign(a, strcspn(a, " \t>|<"));
  }
  std::string p = safe_ut.os_name(file.c_str());
  struct stat st;
  return file.empty() || os().stat(p.c_str(), &st) != 0 || S_ISDIR(st.st_mode) || st.st_size == 0;
}

// What is shown of a command line: without "-", each "/" that does not
// follow a blank appears as "\", so paths look as they did and options stay.
std::string shown_form(const std::string& line, bool raw) {
  std::string shown = line;
  if (!raw)
    for (size_t i = 0; i < shown.size(); i++)
      if (shown[i] == '/' && (i == 0 || shown[i - 1] != ' ')) shown[i] = '\\';
  return shown;
}

// Under showComm: the folder, the line, and where its program was found.
void show_command(const char* comm, const std::string& shown) {
  printf("\n%s", safe_ut.cwd().c_str());
  printf("\nsystem: %s\n", shown.c_str());
  std::string word(comm, strcspn(comm, " \t"));
  command_line probe(word);
  if (probe.commands.empty() || builtins::find(probe.commands[0].stages[0].words)) return;
  std::string where = safe_ut.find_on_path(word.c_str());
  const char* path = os().get_env("PATH");
  if (where.empty() && word.find('.') == std::string::npos)
    printf("\nexe/bat/cmd %s not found on PATH = %s\n", word.c_str(), path ? path : "");
  else if (!where.empty())
    printf("\nexe/bat/cmd %s = %s\n", word.c_str(), where.c_str());
}

// A program that could not be started ends the run with a clear word.
[[noreturn]] void missing_tool() {
  int e = runner().missing_errno;
  printf("\nexit.errno = %i", e);
  printf("\nError: %s", strerror(e));
  printf("\nError: Not on PATH: %s\n", runner().missing.c_str());
  fflush(stdout);
  errno = 0;
  end_run(1);
}

}  // namespace

// The name of the next capture file, "xNUL_<n>"; it lives in the run's own
// temporary folder, never in the user's.
std::string safe_uts::new_capture() {
  std::string name;
  unsigned base = safe_uts::fixed_clock() ? 0u : (unsigned)os().pid();
  do name = "xNUL_" + std::to_string(base + xnul_count++);
  while (file_ops::exists(std::string(tmp_dir()) + "/" + name));
  return name;
}

int safe_uts::system(const char* comm) {
  if (!comm || !strncmp(comm, "cannot ", 7)) {
    exut.show_str("comm", comm);
    if (!comm) errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: no command to run\n");
  }
  if (showComm) exut.show_str("cwd", cwd().c_str());
  if (empty_note(comm)) {
    errno = 0;
    return 0;
  }
  bool ask = *comm == '?';
  if (ask) {
    last_out.clear();
    comm++;
  }
  forget_capture();
  errno = 0;
  // The file that keeps the output away from the console: shown by its
  // name, run by its place.
  std::string name = new_capture();
  std::string capture = std::string(tmp_dir()) + "/" + name;
  const char* redir = strchr(comm, '>') ? " 2> " : " 2>&1 1> ";
  if (*comm == '+')
    comm++;
  else
    printf("\nsystem: %s\n", comm);
  if (int st = quick_command(comm); st >= 0) return st;
  bool trace = *comm == '+';
  if (trace) printf("\n--> %s", ++comm);
  bool raw = *comm == '-';
  if (raw) comm++;
  if (!*comm) exut.fail(__LINE__, SRC, "System: empty command\n");
  std::string line = std::string(comm) + redir + "\"" + capture + "\"";
  std::string shown = shown_form(std::string(comm) + redir + name, raw);
  if (showComm && !strstr(comm, "DONE")) show_command(comm, shown);
  fflush(stdout);
  fflush(stderr);
  int status = runner().run(line);
  if (trace) printf("\n:: %s", shown.c_str());
  if (!runner().missing.empty()) missing_tool();
  if (trace) printf("\n<-- %s", shown.c_str());
  last_capture() = capture;
  echo_errors(capture, ask);
  errno = 0;
  return status;
}

// "DEL" and "copy" run silently with both outputs discarded, "cls" and
// "dir" as they are; -1 for any other command.
int safe_uts::quick_command(const char* comm) {
  if (ieq_prefix(comm, "DEL ") || ieq_prefix(comm, "copy ")) {
    fflush(stdout);
    runner().run(std::string(comm) + " 2>NUL 1>NUL");
    errno = 0;
    return 0;
  }
  if (!strcmp(comm, "cls") || ieq_prefix(comm, "dir ")) {
    fflush(stdout);
    int st = runner().run(comm);
    errno = 0;
    return st < 0 ? 0 : st;
  }
  return -1;
}

// Any line with the word "error" that a tool wrote reaches the console; a
// command that asked for its output gets it as the last output.
void safe_uts::echo_errors(const std::string& capture, bool ask) {
  if (!file_ops::is_file(capture)) return;
  fflush(stdout);
  runner().run("grep error \"" + capture + "\"");
  if (ask) last_out = read_text(capture.c_str());
}

int safe_uts::system_plain(const char* comm) {
  if (!comm || !*comm) {
    exut.show_str("comm", comm);
    if (!comm) errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: system_plain() without a command\n");
  }
  fflush(stdout);
  fflush(stderr);
  int st = runner().run(comm);
  errno = 0;
  return st;
}

// What the commands of the run said, gathered from their capture files in
// the run's temporary folder into "xNUL" in the current folder.
void safe_uts::final_xNUL() {
  FILE* f = create("xNUL");
  close_FILE(&f, SRC, __LINE__);
  std::string all = "\"" + std::string(tmp_dir()) + "/xNUL_*\"";
  system_plain(("cat " + all + " 2>&1 > xNUL").c_str());
  long n = ok_file_len("xNUL");
  if (n > 0) {
    printf("\nxNUL = %u\n\n", (unsigned)n);
    system_plain(("DEL " + all + " 2>&1 > NUL").c_str());
  } else {
    remove_file("xNUL");
  }
}

void safe_uts::attrib_r(const char* dir, const char* comm) {
  NN(dir);
  folder_guard in_dir;
  in_dir.enter(dir);
  system(comm && *comm ? comm : "attrib -r /s");
  in_dir.back();
}

bool safe_uts::tasks_with(const char* name) {
  NN(name);
  system("-tasklist /V > tmp_tasks");
  std::string text = file_ops::is_file("tmp_tasks") ? read_text("tmp_tasks") : std::string();
  return text.find(name) != std::string::npos;
}

void safe_uts::kill_windows(const char* a, const char* titles) {
  NN(titles);
  (void)a;
  system("-tasklist /V > tmp_tasks");
  std::string text = file_ops::is_file("tmp_tasks") ? read_text("tmp_tasks") : std::string();
  // The columns come from the line of "===" groups.
  size_t eq = text.find("\n=");
  if (eq == std::string::npos) return;
  size_t le = text.find('\n', eq + 1);
  std::string rule = text.substr(eq + 1, le == std::string::npos ? std::string::npos : le - eq - 1);
  std::vector<std::pair<size_t, size_t>> cols;
  for (size_t i = 0; i < rule.size();) {
    if (rule[i] != '=') {
      i++;
      continue;
    }
    size_t j = rule.find_first_not_of('=', i);
    if (j == std::string::npos) j = rule.size();
    cols.push_back({i, j - i});
    i = j;
  }
  if (cols.size() < 2) return;
  std::vector<std::string> wanted;
  char sep = strchr(titles, '~') ? '~' : '/';
  for (const char* p = titles; *p;) {
    const char* q = strchr(p, sep);
    std::string t(p, q ? q : p + strlen(p));
    if (!t.empty()) wanted.push_back(t);
    if (!q) break;
    p = q + 1;
  }
  size_t i = le == std::string::npos ? text.size() : le + 1;
  while (i < text.size()) {
    size_t e = text.find('\n', i);
    if (e == std::string::npos) e = text.size();
    std::string row = text.substr(i, e - i);
    i = e + 1;
    if (row.compare(0, 7, "cmd.exe") == 0) continue;
    std::string title = row.size() > cols.back().first ? row.substr(cols.back().first) : "";
    if (title.find("Nicht zutreffend") != std::string::npos) continue;
    for (const std::string& t : wanted) {
      if (title.find(t) == std::string::npos) continue;
      int pid = atoi(row.substr(cols[1].first, cols[1].second).c_str(), SRC, __LINE__);
      printf("\npskill Appwin: %s", title.c_str());
      snprintf(comm_buf, sizeof comm_buf, "pskill %i", pid);
      system(comm_buf);
      break;
    }
  }
}

void safe_uts::taskkill(const char* name) {
  NN(name);
  if (strchr(name, '*'))
    snprintf(comm_buf, sizeof comm_buf, "taskkill /F /T /IM /FI \"WINDOWTITLE eq %s", name);
  else
    snprintf(comm_buf, sizeof comm_buf, "taskkill /F /T /IM %s", name);
  system_plain(comm_buf);
  errno = 0;
}

bool safe_uts::notepad_if(long min, const char* name) {
  NN(name);
  if (!exists(name)) return false;
  if (ok_file_len(name) > min) {
    snprintf(comm_buf, sizeof comm_buf, "notepad %s", name);
    system(comm_buf);
  } else {
    remove_file(name);
  }
  return exists(name);
}

void safe_uts::message_box(const char* text) {
  NN(text);
  printf("\n%s\n", text);
  fflush(stdout);
}

void safe_uts::done_exit(int rc) {
  fflush(stdout);
  fflush(stderr);
  char m[64];
  snprintf(m, sizeof m, "DONE, exit with rc = %i", rc);
  message_box(m);
  end_run(rc);
}

void safe_uts::doAt(const char* dir, const char* comm, const char* out) {
  NN(dir);
  NN(comm);
  folder_guard in_dir;
  if (ok_is_a(dir) != 'd')
    exut.fail(__LINE__, SRC, "System: no such doAt folder: %s\ncurrDir = %s", dir, in_dir.before().c_str());
  in_dir.enter(dir, "doAt");
  std::string c = out ? std::string(comm) + " > " + out : std::string(comm);
  system(c.c_str());
  in_dir.back("before");
}

void safe_uts::del(const char* name) {
  NN(name);
  snprintf(comm_buf, sizeof comm_buf, "DEL \"%s\"", name);
  system(comm_buf);
}

std::string safe_uts::find_on_path(const char* name) {
  NN(name);
  if (!*name) return std::string();
  struct stat st;
  if (strchr(name, '/')) {
    std::string p = os_name(name);
    return os().stat(p.c_str(), &st) == 0 && !S_ISDIR(st.st_mode) ? p : std::string();
  }
  const char* path = os().get_env("PATH");
  if (!path) return std::string();
  int e0 = errno;
  for (const char* p = path;;) {
    const char* q = strchr(p, ':');
    std::string dir(p, q ? q : p + strlen(p));
    std::string cand = (dir.empty() ? std::string(".") : dir) + "/" + name;
    if (os().stat(cand.c_str(), &st) == 0 && !S_ISDIR(st.st_mode)) {
      errno = e0;
      return cand;
    }
    if (!q) break;
    p = q + 1;
  }
  errno = e0;
  return std::string();
}

bool safe_uts::on_path(const char* name, int exit_if_missing, long size) {
  NN(name);
  std::string p = find_on_path(name);
  if (p.empty()) {
    printf("\nError: Not on PATH: %s\n", name);
    fflush(stdout);
    if (exit_if_missing == 1) end_run(1);
    return false;
  }
  if (size != 0 && file_size(p.c_str()) != size) {
    printf("zError: wrong version: %s\n", p.c_str());
    fflush(stdout);
    if (exit_if_missing == 1) end_run(1);
    exut.fail(__LINE__, SRC, "System: wrong version: %s\n", p.c_str());
  }
  return true;
}

std::string safe_uts::path_of_self(const char* name) {
  std::string p = find_on_path(name);
  return p.empty() ? std::string(".") : file_ops::parent(p);
}

void safe_uts::trace_extract(const char* file, const char* out) {
  if (!file) {
    exut.show_str("traceAt", file);
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: trace_extract() without a file\n");
  }
  NN(out);
  if (ok_is_a(file) != 'f') exut.fail(__LINE__, SRC, "User: no such trace file: %s", file);
  std::string text = read_text(file);
  // From the last line that tells "fatal" or "o k - " to the end.
  size_t from = std::string::npos;
  for (const char* mark : {"fatal", "o k - "}) {
    size_t at = text.rfind(mark);
    if (at != std::string::npos && (from == std::string::npos || at > from)) from = at;
  }
  if (from == std::string::npos) from = 0;
  size_t ls = text.rfind('\n', from);
  from = ls == std::string::npos ? 0 : ls + 1;
  write_text(out, text.substr(from));
  snprintf(comm_buf, sizeof comm_buf, "start notepad %s", out);
  system(comm_buf);
}

void safe_uts::run_script(const char* file) {
  NN(file);
  std::string text = "\n" + read_text(file);
  size_t i = 0;
  while ((i = text.find("\n-/", i)) != std::string::npos) {
    i += 3;
    size_t e = text.find('\n', i);
    std::string line = text.substr(i, e == std::string::npos ? std::string::npos : e - i);
    command_line cl(line);
    if (cl.commands.empty()) continue;
    const auto& w = cl.commands[0].stages[0].words;
    const std::string& verb = w[0].text;
    auto arg = [&](size_t k) -> const char* {
      if (k >= w.size()) exut.fail(__LINE__, SRC, "System: run_script() line too short: -/%s\n", line.c_str());
      return w[k].text.c_str();
    };
    if (verb == "cp") {
      copy_file(arg(1), arg(2));
    } else if (verb == "cp_into") {
      std::string to = std::string(arg(2)) + "\\" + file_ops::base(os_name(arg(1)));
      copy_file(to.c_str(), arg(1));
    } else if (verb == "rm") {
      rm_tree(arg(1));
    } else {
      exut.fail(__LINE__, SRC, "System: run_script() does not know -/%s\n", line.c_str());
    }
  }
}
