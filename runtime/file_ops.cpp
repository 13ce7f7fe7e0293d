// Plain file and folder work for `safe_uts` and the built-in commands.
#include "runtime/file_ops.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "runtime/os_env.h"
#include "runtime/os_stream.h"

namespace {

inline int fold(int c) {
  c &= 0xFF;
  return (c >= 'A' && c <= 'Z') ? c + 32 : c;
}

// Folded comparison of two byte ranges: <0, 0, >0.
int fold_cmp(const char* a, size_t na, const char* b, size_t nb) {
  size_t n = na < nb ? na : nb;
  for (size_t i = 0; i < n; i++) {
    int d = fold(a[i]) - fold(b[i]);
    if (d) return d;
  }
  return na < nb ? -1 : na > nb ? 1 : 0;
}

std::string real_path(const std::string& p) { return os().realpath(p.c_str()); }

// Copies `from` into `to`, which lies in the target tree `root`.
bool copy_tree_in(const std::string& from, const std::string& to, const std::string& root,
                  const std::string& skip, std::string* err) {
  bool ok = true;
  struct stat st;
  if (os().stat(from.c_str(), &st) != 0) return false;
  if (!file_ops::make_dirs(to)) {
    if (err) *err += "cannot make folder " + to + "\n";
    return false;
  }
  os().chmod(to.c_str(), (st.st_mode & 07777) | S_IRWXU);
  for (const std::string& name : file_ops::list(from)) {
    std::string src = file_ops::join(from, name);
    std::string dst = file_ops::join(to, name);
    struct stat ls;
    if (os().lstat(src.c_str(), &ls) != 0) continue;
    if (!file_ops::lies_below(root, dst, !S_ISLNK(ls.st_mode))) {
      if (err) *err += "refused: " + dst + " lies outside " + root + "\n";
      ok = false;
      continue;
    }
    if (S_ISLNK(ls.st_mode)) {
      char target[PATH_MAX];
      ssize_t n = os().readlink(src.c_str(), target, sizeof target - 1);
      if (n >= 0) {
        target[n] = 0;
        file_ops::remove_tree(dst);
        if (os().symlink(target, dst.c_str()) == 0) continue;
      }
      if (err) *err += "cannot copy link " + src + "\n";
      ok = false;
    } else if (S_ISDIR(ls.st_mode)) {
      if (!skip.empty() && real_path(src) == skip) continue;  // the target itself
      ok = copy_tree_in(src, dst, root, skip, err) && ok;
    } else if (!file_ops::copy_file(src, dst)) {
      if (err) *err += "cannot copy " + src + " --> " + dst + "\n";
      ok = false;
    }
  }
  os().chmod(to.c_str(), st.st_mode & 07777);
  return ok;
}

}  // namespace

bool file_ops::name_less(const std::string& a, const std::string& b) {
  int d = fold_cmp(a.data(), a.size(), b.data(), b.size());
  if (d) return d < 0;
  return a < b;
}

bool file_ops::line_less(const std::string& a, const std::string& b) {
  size_t i = 0, j = 0;
  while (true) {
    bool end_a = i > a.size(), end_b = j > b.size();
    if (end_a || end_b) {
      if (end_a != end_b) return end_a;
      break;
    }
    size_t ea = a.find('/', i), eb = b.find('/', j);
    if (ea == std::string::npos) ea = a.size();
    if (eb == std::string::npos) eb = b.size();
    int d = fold_cmp(a.data() + i, ea - i, b.data() + j, eb - j);
    if (d) return d < 0;
    i = ea + 1;
    j = eb + 1;
  }
  return a < b;
}

bool file_ops::readable_input(const struct stat& st) {
  if (S_ISREG(st.st_mode)) return true;
  struct stat null_dev;
  return S_ISCHR(st.st_mode) && os().stat("/dev/null", &null_dev) == 0 && st.st_rdev == null_dev.st_rdev;
}

bool file_ops::is_dir(const std::string& p) {
  struct stat st;
  return os().stat(p.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool file_ops::is_file(const std::string& p) {
  struct stat st;
  return os().stat(p.c_str(), &st) == 0 && !S_ISDIR(st.st_mode);
}

bool file_ops::exists(const std::string& p) {
  struct stat st;
  return os().lstat(p.c_str(), &st) == 0;
}

std::vector<std::string> file_ops::list(const std::string& dir) {
  std::vector<std::string> names;
  if (os().list(dir.empty() ? "." : dir.c_str(), &names) != 0) names.clear();
  std::sort(names.begin(), names.end(), name_less);
  return names;
}

void file_ops::walk(const std::string& dir,
                    const std::function<void(const std::string&, bool)>& visit,
                    const std::function<bool(const std::string&)>& enter) {
  std::vector<os_env::entry> entries;
  if (os().list_kinds(dir.empty() ? "." : dir.c_str(), &entries) != 0) entries.clear();
  std::sort(entries.begin(), entries.end(),
            [](const os_env::entry& a, const os_env::entry& b) { return name_less(a.name, b.name); });
  for (const os_env::entry& e : entries) {
    std::string p = join(dir, e.name);
    char kind = e.kind;
    if (kind == '?') {
      struct stat ls;
      if (os().lstat(p.c_str(), &ls) != 0) continue;
      kind = S_ISDIR(ls.st_mode) ? 'd' : S_ISLNK(ls.st_mode) ? 'l' : 'f';
    }
    bool d = kind == 'd' || (kind == 'l' && is_dir(p));
    visit(p, d);
    if (kind == 'd' && enter(e.name)) walk(p, visit, enter);
  }
}

int file_ops::wfind(const std::string& dir, bool add_files,
                    const std::function<void(const std::string&, bool)>& visit) {
  int n = 0;
  walk(
      dir,
      [&](const std::string& p, bool is_dir) {
        if (base(p) == "System Volume Information") return;
        if (!is_dir && !add_files) return;
        n++;
        visit(p, is_dir);
      },
      [](const std::string& name) { return name != "j2h" && name != "System Volume Information"; });
  return n;
}

bool file_ops::wild_match(const char* p, const char* s) {
  const char* star = nullptr;
  const char* back = nullptr;
  while (*s) {
    if (*p == '*') {
      star = ++p;
      back = s;
    } else if (*p == '?' || (*p && fold(*p) == fold(*s))) {
      p++;
      s++;
    } else if (star) {
      p = star;
      s = ++back;
    } else {
      return false;
    }
  }
  while (*p == '*') p++;
  return *p == 0;
}

bool file_ops::has_wild(const std::string& s) {
  return s.find_first_of("*?") != std::string::npos;
}

std::vector<std::string> file_ops::glob(const std::string& pattern) {
  std::vector<std::string> steps;
  size_t i = 0;
  bool absolute = !pattern.empty() && pattern[0] == '/';
  while (i <= pattern.size()) {
    size_t e = pattern.find('/', i);
    if (e == std::string::npos) e = pattern.size();
    if (e > i) steps.push_back(pattern.substr(i, e - i));
    i = e + 1;
  }
  std::vector<std::string> cur{absolute ? "/" : ""};
  for (size_t k = 0; k < steps.size(); k++) {
    std::string step = steps[k] == "*.*" ? "*" : steps[k];
    bool last = k + 1 == steps.size();
    std::vector<std::string> next;
    for (const std::string& pre : cur) {
      if (has_wild(step)) {
        for (const std::string& name : list(pre.empty() ? "." : pre)) {
          if (!wild_match(step.c_str(), name.c_str())) continue;
          std::string p = pre.empty() ? name : join(pre, name);
          if (last || is_dir(p)) next.push_back(p);
        }
      } else {
        std::string p = pre.empty() ? step : join(pre, step);
        if (last ? exists(p) : is_dir(p)) next.push_back(p);
      }
    }
    cur.swap(next);
    if (cur.empty()) break;
  }
  if (steps.empty()) cur.clear();
  return cur;
}

bool file_ops::copy_file(const std::string& from, const std::string& to) {
  struct stat fst;
  if (os().stat(from.c_str(), &fst) == 0 && !S_ISDIR(fst.st_mode) && !readable_input(fst)) {
    errno = EINVAL;  // a device or a pipe is no file to copy
    return false;
  }
  int in = os().open(from.c_str(), O_RDONLY | O_CLOEXEC, 0);
  if (in < 0) return false;
  struct stat st, tst;
  if (os().fstat(in, &st) != 0 || S_ISDIR(st.st_mode)) {
    os().close(in);
    if (S_ISDIR(st.st_mode)) errno = EISDIR;
    return false;
  }
  if (os().stat(to.c_str(), &tst) == 0) {
    if (tst.st_dev == st.st_dev && tst.st_ino == st.st_ino) {  // the same file
      os().close(in);
      return true;
    }
    if (S_ISDIR(tst.st_mode)) {
      os().close(in);
      errno = EISDIR;
      return false;
    }
  }
  // The copy is written whole: a failure leaves the old target as it was.
  // A read-only target is replaced.
  whole_file target;
  int out = target.open(to, false);
  if (out < 0 && errno == EACCES) {
    os().unlink(to.c_str());
    out = target.open(to, false);
  }
  if (out < 0) {
    int e = errno;
    os().close(in);
    errno = e;
    return false;
  }
  bool ok = copy_all(in, out);
  int e = ok ? 0 : (errno ? errno : EIO);
  os().close(in);
  if (ok) {
    os().fchmod(out, st.st_mode & 07777);
    struct timespec times[2] = {st.st_atim, st.st_mtim};
    os().set_times(out, times);
  }
  int f = target.finish(ok);
  if (!e) e = f;
  if (e) errno = e;
  return !e;
}

bool file_ops::copy_tree(const std::string& from, const std::string& to, std::string* err) {
  if (!is_dir(from)) return false;
  if (!make_dirs(to)) return false;
  std::string skip = real_path(to);
  if (skip == real_path(from)) return true;
  return copy_tree_in(from, to, to, skip, err);
}

bool file_ops::remove_tree(const std::string& p) {
  struct stat st;
  if (os().lstat(p.c_str(), &st) != 0) return errno == ENOENT || errno == ENOTDIR;
  if (!S_ISDIR(st.st_mode)) return os().unlink(p.c_str()) == 0;
  if ((st.st_mode & S_IRWXU) != S_IRWXU) os().chmod(p.c_str(), st.st_mode | S_IRWXU);
  bool ok = true;
  for (const std::string& name : list(p)) ok = remove_tree(join(p, name)) && ok;
  return os().rmdir(p.c_str()) == 0 && ok;
}

bool file_ops::lies_below(const std::string& root, const std::string& path, bool follow_last) {
  std::string r = real_path(root.empty() ? "." : root);
  std::string b = base(path);
  bool step = b.empty() || b == "." || b == "..";
  std::string full;
  struct stat ls;
  bool there = os().lstat(path.c_str(), &ls) == 0;
  if (step || (follow_last && there)) {
    full = real_path(path);  // empty for a link that leads nowhere: refused
  } else {
    std::string in = real_path(parent(path));
    if (!in.empty()) full = in == "/" ? "/" + b : in + "/" + b;
  }
  if (r.empty() || full.empty()) return false;
  if (r == "/") return full.size() > 1;
  return full.size() > r.size() && full.compare(0, r.size(), r) == 0 && full[r.size()] == '/';
}

bool file_ops::make_dirs(const std::string& p) {
  if (p.empty() || is_dir(p)) return true;
  for (size_t i = 1; i <= p.size(); i++) {
    if (i < p.size() && p[i] != '/') continue;
    std::string part = p.substr(0, i);
    if (os().mkdir(part.c_str(), 0777) != 0 && errno != EEXIST) return false;
  }
  if (!is_dir(p)) {
    errno = ENOTDIR;
    return false;
  }
  return true;
}

std::string file_ops::parent(const std::string& p) {
  size_t e = p.find_last_of('/');
  if (e == std::string::npos) return ".";
  if (e == 0) return "/";
  return p.substr(0, e);
}

std::string file_ops::base(const std::string& p) {
  size_t e = p.find_last_of('/');
  return e == std::string::npos ? p : p.substr(e + 1);
}

std::string file_ops::join(const std::string& dir, const std::string& name) {
  if (dir.empty() || dir == ".") return dir.empty() ? name : "./" + name;
  if (dir.back() == '/') return dir + name;
  return dir + "/" + name;
}
