// What a name is and where it leads: the toolbox's life, the path of a name
// as the system uses it, what a thing is, the working folder and the run's
// temporary names.  Paths accept "/" and "\"; "\" becomes "/" before any
// system call, and the drive-like temporary names of the original layout
// lead into the run's own temporary folder.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "runtime/file_ops.h"
#include "runtime/os_env.h"
#include "runtime/os_stream.h"
#include "runtime/safe_uts.h"
#include "runtime/safe_uts_internal.h"

const char* const safe_uts::ACL_hint =
    "MS Explorer may be in a folder already deleted,\nor you may not have enough permissions "
    "(see the ACL above),\nor the file may be locked by another application, e.g. Adobe Reader";

namespace {

const char* const SRC = "safe_uts_paths";

pid_t tmp_owner = 0;  // the process that made the temporary folder

time_t clamp(time_t t) {
  if (safe_uts::fixed_clock()) {
    time_t n = safe_uts::now();
    if (t > n) return n;
  }
  return t;
}

// A name in a folder that exists but may not be searched (no x permission)
// cannot be reached: for this user it is not there, as a shell's search of
// PATH takes it.  Only the folder directly above the name counts, so that a
// denial deeper up is still reported.
bool hidden_by_its_folder(const std::string& p) {
  std::string dir = file_ops::parent(p);
  struct stat st;
  return os().stat(dir.c_str(), &st) == 0 && S_ISDIR(st.st_mode) && os().access(dir.c_str(), X_OK) != 0;
}

}  // namespace

using toolbox::not_there;

// -------------------------------------------------------- construction

safe_uts::safe_uts() {
  date_buf[0] = 0;
  date_buf2[0] = 0;
}

safe_uts::~safe_uts() {
  if (in_destructor) {  // a destructor must neither throw nor end the process
    printf("\nError in ~safe_uts(), exit\n");
    return;
  }
  in_destructor = 1;
  if (errno) {
    if (exut.alive()) exut.show_int("errno", errno);
    errno = 0;
  }
  os_stream::close_all();  // what the end of the process would do to them
  if (tmp_owner == os().pid()) {
    if (!toolbox::last_capture().empty()) os().unlink(toolbox::last_capture().c_str());
    if (!tmp_base.empty()) file_ops::remove_tree(tmp_base);
  }
  toolbox::last_capture().clear();
  tmp_base.clear();
  errno = 0;
}

std::string safe_uts::os_name(const char* name) {
  NN(name);
  std::string s(name);
  struct stat st;
  if (strchr(name, '\\') && !(isalpha((unsigned char)s[0]) && s[1] == ':') && os().lstat(name, &st) == 0)
    return s;  // the file system's own name: "\\" is a character of it
  for (char& c : s)
    if (c == '\\') c = '/';
  if (s.size() >= 2 && isalpha((unsigned char)s[0]) && s[1] == ':' && (s.size() == 2 || s[2] == '/')) {
    std::string rest = s.substr(2);
    for (const char* t : {"/tmp", "/xx"}) {
      size_t n = strlen(t);
      if (rest.size() >= n && strncasecmp(rest.c_str(), t, n) == 0 && (rest.size() == n || rest[n] == '/')) {
        rest.erase(0, n);
        break;
      }
    }
    s = std::string(tmp_dir()) + rest;
  }
  return s;
}

// ------------------------------------------------------ what a thing is

char safe_uts::ok_is_a(const char* name) {
  NN(name);
  std::string p = os_name(name);
  while (!p.empty() && p.back() == '/') p.pop_back();
  if (p.empty()) return 'd';
  if (name[0] == ':' || name[0] == ' ') return 'n';
  int e0 = errno;
  struct stat st;
  if (os().stat(p.c_str(), &st) == 0) {
    errno = e0;
    return S_ISDIR(st.st_mode) ? 'd' : 'f';
  }
  int e = errno;
  if (not_there(e) || (e == EACCES && hidden_by_its_folder(p))) {
    errno = 0;
    return 'n';
  }
  if (ends_with(name, ".pdf")) {
    errno = 0;
    return 'f';
  }
  std::string cd = cwd();
  printf("\nACL at %s:\n", name);
  printf("stat( %s ) does not return a result (errno %i):\ncurrDir = %s\n%s", name, e, cd.c_str(), ACL_hint);
  errno = e;
  exut.fail(__LINE__, SRC, "System: stat( %s ) does not return a result (errno %i):\ncurrDir = %s\n%s", name,
            e, cd.c_str(), ACL_hint);
}

bool safe_uts::exists(const char* name) {
  NN(name);
  if (!*name || !strcmp(name, "/") || !strcmp(name, "\\")) return true;
  std::string p = os_name(name);
  int e0 = errno;
  struct stat st;
  if (os().stat(p.c_str(), &st) == 0) {
    errno = e0;
    return true;
  }
  int e = errno;
  if (not_there(e) || (e == EACCES && hidden_by_its_folder(p))) {
    errno = 0;
    return false;
  }
  char m[700];
  snprintf(m, sizeof m, "errno %i: file( %s )", e, name);
  exut.ERROR(m);
  errno = e;
  exut.fail(__LINE__, SRC, "System: errno %i: file( %s )\n", e, name);
}

long safe_uts::ok_file_len(const char* name) {
  NN(name);
  std::string p = os_name(name);
  struct stat st;
  if (os().stat(p.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) return -1;
  int fd = os().open(p.c_str(), O_RDONLY | O_CLOEXEC, 0);
  if (fd < 0) exut.fail(__LINE__, SRC, "System: file_len() cannot open the file %s", name);
  off_t n = os().seek(fd, 0, SEEK_END);
  os().close(fd);
  return (long)n;
}

time_t safe_uts::file_time(const char* name) {
  NN(name);
  std::string p = os_name(name);
  struct stat st;
  if (os().stat(p.c_str(), &st) != 0) exut.fail(__LINE__, SRC, "System: not found: %s\n", name);
  return clamp(st.st_mtime);
}

long safe_uts::file_size(const char* name) {
  NN(name);
  std::string p = os_name(name);
  struct stat st;
  if (os().stat(p.c_str(), &st) != 0) {
    exut.show_str("name", name);
    exut.fail(__LINE__, SRC, "System: file_size( %s ): errno %i\n", name, errno);
  }
  return (long)st.st_size;
}

std::string safe_uts::real_name(const char* name) {
  NN(name);
  std::string p = os_name(name);
  struct stat st;
  int e0 = errno;
  if (p.empty() || os().lstat(p.c_str(), &st) == 0) return p;
  errno = e0;
  // Resolve step by step: each step exactly, else by a unique match that
  // differs only in the case of ASCII letters.
  std::string done = p[0] == '/' ? "/" : "";
  size_t i = p[0] == '/' ? 1 : 0;
  while (i <= p.size()) {
    size_t e = p.find('/', i);
    if (e == std::string::npos) e = p.size();
    std::string step = p.substr(i, e - i);
    i = e + 1;
    if (step.empty()) continue;
    std::string cand = done.empty() ? step : file_ops::join(done, step);
    if (done == "/") cand = "/" + step;
    if (os().lstat(cand.c_str(), &st) != 0) {
      std::string found;
      int n = 0;
      for (const std::string& entry : file_ops::list(done.empty() ? "." : done))
        if (strcasecmp(entry.c_str(), step.c_str()) == 0) {
          found = entry;
          n++;
        }
      if (n != 1) {
        errno = e0;
        return p;
      }
      cand = done.empty() ? found : (done == "/" ? "/" + found : file_ops::join(done, found));
    }
    done = cand;
  }
  errno = e0;
  return done;
}

std::string safe_uts::cwd() {
  int e0 = errno;
  std::string here = os().getcwd();
  if (here.empty()) {
    errno = e0;
    return std::string("?");
  }
  return here;
}

void safe_uts::change_dir(const char* dir) {
  NN(dir);
  made_empty("");  // names below the marked folder now mean other files
  std::string p = os_name(dir);
  if (os().chdir(p.c_str()) != 0) {
    std::string cd = cwd();
    exut.fail(__LINE__, SRC, "System: cannot change into folder %s\ncurrDir = %s\n", dir, cd.c_str());
  }
}

folder_guard::folder_guard() : before_(safe_ut.cwd()) {}

folder_guard::~folder_guard() {
  if (away_) back_quietly();
}

void folder_guard::enter(const char* dir, const char* who) {
  safe_ut.made_empty("");
  if (!who) {
    safe_ut.change_dir(dir);
  } else if (os().chdir(safe_ut.os_name(dir).c_str()) != 0) {
    exut.show_str(who, dir);
    exut.fail(__LINE__, SRC, "System: cannot change to %s\ncurrDir = %s\n", dir, before_.c_str());
  }
  away_ = true;
}

void folder_guard::back(const char* who) {
  away_ = false;
  safe_ut.made_empty("");
  if (!who) {
    safe_ut.change_dir(before_.c_str());
  } else if (os().chdir(before_.c_str()) != 0) {
    exut.show_str(who, before_.c_str());
    exut.fail(__LINE__, SRC, "System: cannot change back to %s\ncurrDir = %s\n", before_.c_str(),
              safe_ut.cwd().c_str());
  }
}

bool folder_guard::back_quietly() {
  away_ = false;
  safe_ut.made_empty("");
  int e0 = errno;
  bool ok = os().chdir(before_.c_str()) == 0;
  errno = e0;
  return ok;
}

// ------------------------------------------------------ temporary names

const char* safe_uts::tmp_dir() {
  if (tmp_base.empty()) {
    int e0 = errno;
    const char* cands[3] = {os().get_env("TMP"), os().get_env("TMPDIR"), "/tmp"};
    for (const char* c : cands) {
      if (!c || !*c) continue;
      std::string t = c;
      if (t[0] != '/') t = cwd() + "/" + t;
      t += "/brelmot_XXXXXX";
      if (os().make_temp_dir(&t)) {
        tmp_base = t;
        tmp_owner = os().pid();
        break;
      }
    }
    if (tmp_base.empty()) exut.fail(__LINE__, SRC, "System: cannot make a temporary folder (TMP, TMPDIR, /tmp)\n");
    errno = e0;
  }
  return tmp_base.c_str();
}

const char* safe_uts::tmp_name(const char* name) {
  NN(name);
  std::string t = std::string(tmp_dir()) + "/tmp_" + name;
  for (const std::string& s : tmps)
    if (s == t) return s.c_str();
  // The names count as they would in a short temporary folder ("c:/tmp").
  size_t total = 0;
  for (const std::string& s : tmps) total += s.size() - tmp_base.size() + 7;
  total += t.size() - tmp_base.size() + 7;
  if (total > 999) exut.fail(__LINE__, SRC, "System: too many tmps");
  if (tmps.capacity() < 1000) tmps.reserve(1000);  // handed-out texts never move
  tmps.push_back(t);
  return tmps.back().c_str();
}

unsigned safe_uts::next_free_nr(const char* dir) {
  NN(dir);
  ensure_dir(dir);
  std::string d = os_name(dir);
  for (unsigned n = next_nr;; n++) {
    std::string p = d + "/" + std::to_string(n);
    if (!file_ops::exists(p)) {
      next_nr = n + 1;
      return n;
    }
  }
}
