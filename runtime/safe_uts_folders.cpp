// Folders: making and removing them, copying files and trees, backups, and
// the walks that list a tree or run a command for its files.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "runtime/file_ops.h"
#include "runtime/os_env.h"
#include "runtime/safe_uts.h"
#include "runtime/safe_uts_internal.h"

namespace {
const char* const SRC = "safe_uts_folders";
}  // namespace

using toolbox::expanded;
using toolbox::strip_slashes;

// -------------------------------------------------------------- folders

void safe_uts::ensure_dir(const char* path) {
  NN(path);
  if (!*path) return;
  std::string p = strip_slashes(os_name(expanded(path).c_str()));
  unsigned char c0 = (unsigned char)p[0], c1 = p.size() > 1 ? (unsigned char)p[1] : 0;
  if (!(c0 == '.' || c0 == ':' || c0 == '/' || is_name_char(c0) || is_name_char(c1) || c0 >= 128)) {
    exut.show_str("path", path);
    exut.fail(__LINE__, SRC, "System: not a path: %s\n", path);
  }
  int e0 = errno;
  struct stat st;
  if (os().stat(p.c_str(), &st) == 0) {
    // Prove that the folder can be written to.
    std::string probe = p + "/_";
    bool ok;
    if (os().lstat(probe.c_str(), &st) == 0) {
      ok = os().access(p.c_str(), W_OK) == 0;
    } else {
      int fd = os().open(probe.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
      ok = fd >= 0;
      if (ok) {
        os().close(fd);
        os().unlink(probe.c_str());
      } else if (errno == EEXIST) {
        // Another process probes the same folder at this moment (two
        // builds sharing an installation): its probe proves nothing
        // against this one, the access right decides.
        ok = os().access(p.c_str(), W_OK) == 0;
      }
    }
    if (!ok) {
      exut.show_str("path", path);
      exut.fail(__LINE__, SRC, "System: cannot write into folder %s\n", path);
    }
    errno = e0;
    return;
  }
  p += '/';
  for (size_t i = 1; i < p.size(); i++) {
    if (p[i] != '/') continue;
    std::string part = p.substr(0, i);
    if (os().stat(part.c_str(), &st) == 0) continue;
    if (showComm) printf("\nmkdir %s", part.c_str());
    os().mkdir(part.c_str(), 0777);
    errno = 0;
    if (ok_is_a(part.c_str()) != 'd') {
      std::string cd = cwd();
      exut.show_str("cwd", cd.c_str());
      exut.fail(__LINE__, SRC, "cannot create dir( %s )\n", part.c_str());
    }
  }
  errno = e0;
}

namespace {

// Removes an exact path, with the line a command would have shown; a folder
// that stays is said.  The name never passes a command line, so no
// character of it is taken for a separator, a quote or a wildcard.
void remove_exact(const std::string& p) {
  struct stat st;
  if (os().lstat(p.c_str(), &st) != 0) return;
  if (!S_ISDIR(st.st_mode)) {
    os().unlink(p.c_str());
    return;
  }
  printf("\nsystem: rm -rf \"%s\" 2>&1 > NUL\n", p.c_str());
  file_ops::remove_tree(p);
  if (file_ops::exists(p)) printf("\nW a r n i n g :  Cannot delete folder %s\n", p.c_str());
}

}  // namespace

void safe_uts::rm_tree(const char* name) {
  NN(name);
  if (!*name) exut.fail(__LINE__, SRC, "System: rm_tree() of an empty name\n");
  remove_exact(strip_slashes(os_name(expanded(name).c_str())));
  errno = 0;
}

bool safe_uts::rm_tree_below(const char* root, const std::string& path) {
  NN(root);
  if (!file_ops::lies_below(root, path, false)) {
    printf("\nRefused to delete %s: it does not lie below %s\n", path.c_str(), root);
    errno = 0;
    return false;
  }
  remove_exact(path);
  errno = 0;
  return !file_ops::exists(path);
}

int safe_uts::rm_folders_named(const char* root, const char* name) {
  NN(root);
  NN(name);
  std::string r = strip_slashes(os_name(root));
  int n = 0;
  file_ops::wfind(r, true, [&](const std::string& p, bool is_dir) {
    if (is_dir && file_ops::base(p) == name && rm_tree_below(r.c_str(), p)) n++;
  });
  errno = 0;  // what the walk met in folders removed under it is no error
  return n;
}

void safe_uts::rm_and_make_dir(const char* name) {
  NN(name);
  if (!*name) return;
  if (!strcmp(name, ".")) exut.fail(__LINE__, SRC, "System: rm_and_make_dir( . ) would remove the current folder\n");
  rm_tree(name);
  ensure_dir(name);
}

void safe_uts::replace_folder(const char* built, const char* position) {
  NN(built);
  NN(position);
  std::string b = os_name(built), p = os_name(position);
  struct stat st;
  bool old = os().lstat(p.c_str(), &st) == 0;
  if (old && !S_ISDIR(st.st_mode))
    exut.fail(__LINE__, SRC, "User: cannot write the web position %s: it is a file, not a folder\n", position);
  if (old && os().access(p.c_str(), W_OK) != 0)
    exut.fail(__LINE__, SRC, "User: cannot write the web position %s: %s\n", position, strerror(errno));
  if (!old) {
    if (os().rename(b.c_str(), p.c_str()) != 0)
      exut.fail(__LINE__, SRC, "User: cannot write the web position %s: %s\n", position, strerror(errno));
    return;
  }
  if (os().exchange(b.c_str(), p.c_str()) == 0) {
    rm_tree(built);  // the old web, now under the build's name
    return;
  }
  if (errno != EINVAL && errno != ENOSYS)
    exut.fail(__LINE__, SRC, "User: cannot write the web position %s: %s\n", position, strerror(errno));
  // No swap in one step here: the old folder goes aside under a unique name
  // (an empty folder made for it, which the rename replaces).
  std::string aside = p + ".old.XXXXXX";
  if (!os().make_temp_dir(&aside) || os().rename(p.c_str(), aside.c_str()) != 0) {
    int e = errno;
    if (aside.find("XXXXXX") == std::string::npos) os().rmdir(aside.c_str());
    exut.fail(__LINE__, SRC, "User: cannot write the web position %s: %s\n", position, strerror(e));
  }
  if (os().rename(b.c_str(), p.c_str()) != 0) {
    int e = errno;
    os().rename(aside.c_str(), p.c_str());
    exut.fail(__LINE__, SRC, "User: cannot write the web position %s: %s\n", position, strerror(e));
  }
  rm_tree(aside.c_str());
}

bool safe_uts::writable(const char* name) {
  NN(name);
  return os().access(os_name(name).c_str(), W_OK) == 0;
}

bool safe_uts::readable_input(const char* name) {
  NN(name);
  std::string p = os_name(name);
  struct stat st;
  if (os().stat(p.c_str(), &st) != 0 || S_ISDIR(st.st_mode) || !file_ops::readable_input(st)) return false;
  return os().access(p.c_str(), R_OK) == 0;
}

void safe_uts::rm_dir(const char* name) {
  exut.show_str("name", name);
  exut.fail(__LINE__, SRC, "System: rm_dir() is not to be used, use rm_tree()\n");
}

void safe_uts::copy_file(const char* to, const char* from) {
  NN(to);
  NN(from);
  std::string f = os_name(expanded(from).c_str()), t = os_name(expanded(to).c_str());
  if (ok_is_a(f.c_str()) != 'f') {
    exut.show_str("fdos", from);
    exut.fail(__LINE__, SRC, "System: cannot copy: %s --> %s\n", from, to);
  }
  int e0 = errno;
  bool ok = file_ops::copy_file(f, t);
  if (!ok || ok_is_a(t.c_str()) != 'f') exut.fail(__LINE__, SRC, "System: cannot copy: %s --> %s\n", from, to);
  errno = e0;
}

void safe_uts::copy_file_deep(const char* to, const char* from) {
  NN(to);
  std::string dir = file_ops::parent(os_name(to));
  if (dir != "." && dir != "/") ensure_dir(dir.c_str());
  copy_file(to, from);
}

void safe_uts::copy_in(const char* to, const char* from, const char* file) {
  NN(to);
  NN(from);
  NN(file);
  std::string t = std::string(to) + "/" + file, f = std::string(from) + "/" + file;
  copy_file(t.c_str(), f.c_str());
}

void safe_uts::copy_to_dir(const char* to, const char* name, bool make_dir, bool delete_after) {
  NN(to);
  NN(name);
  if (make_dir) ensure_dir(to);
  std::string t = std::string(to) + "/" + file_ops::base(os_name(name));
  copy_file(t.c_str(), name);
  if (delete_after) remove_file(name);
}

void safe_uts::move_file(const char* from, const char* to) {
  NN(from);
  NN(to);
  snprintf(comm_buf, sizeof comm_buf, "copy \"%s\" \"%s\" > NUL", from, to);
  system(comm_buf);
  std::string t = os_name(to);
  if (file_ops::is_dir(t)) t = file_ops::join(t, file_ops::base(os_name(from)));
  if (!file_ops::is_file(t)) exut.fail(__LINE__, SRC, "System: cannot move %s --> %s\n", from, to);
  remove_file(from);
}

void safe_uts::copy_tree(const char* to, const char* from, int mode) {
  if (!to || !from || !*to || !*from) {
    exut.show_str("to", to);
    exut.show_str("from", from);
    exut.fail(__LINE__, SRC, "System: copy_tree() needs two names\n");
  }
  char kind = ok_is_a(from);
  if (kind == 'n') exut.fail(__LINE__, SRC, "not found( %s )\n", from);
  if (kind == 'd') {
    if (mode == 0 && ok_is_a(to) == 'f') exut.fail(__LINE__, SRC, "cannot copy dir to file( %s )\n", to);
    snprintf(comm_buf, sizeof comm_buf, "-xcopy \"%s\" \"%s/\" /S/E/R/K/Y >NUL <NUL", from, to);
    system(comm_buf);
  } else {
    if (ok_is_a(to) == 'd') exut.fail(__LINE__, SRC, "cannot copy file to dir( %s )\n", to);
    copy_file_deep(to, from);
  }
  if (!exists(to)) {
    exut.show_str("from", from);
    exut.show_str("to", to);
    exut.fail(__LINE__, SRC, "System: copy_tree() made nothing\n");
  }
}

void safe_uts::xcopy_tree(const char* to, const char* from) {
  NN(to);
  NN(from);
  if (ok_is_a(from) != 'd') exut.fail(__LINE__, SRC, "System: no such folder: %s", from);
  const char* nt = os().get_env("is_NT");
  const char* opts = nt && !strcmp(nt, "1") ? "/S/E/R/K > NUL" : "/S/E/R/K/Y > NUL < NUL";
  snprintf(comm_buf, sizeof comm_buf, "-xcopy \"%s\" \"%s\"/ %s", from, to, opts);
  system(comm_buf);
}

void safe_uts::back_up(const char* from_dir, const char* to_dir, int keep, const char* name) {
  NN(from_dir);
  NN(to_dir);
  NN(name);
  std::string fd = strip_slashes(os_name(from_dir)), td = strip_slashes(os_name(to_dir));
  if (fd == td) exut.fail(__LINE__, SRC, "User: back_up() into the folder it comes from: %s\n", from_dir);
  if (ok_is_a(td.c_str()) != 'd') exut.fail(__LINE__, SRC, "User: not such dir nch = %s", to_dir);
  int k = keep <= 3 ? 0 : keep == 4 ? 5 : keep == 7 ? 8 : keep > 9 ? 9 : keep;
  std::string target = td;
  if (k > 0) {
    const char* d = today();
    (target += '/').append(d, strnlen(d, (size_t)k));
  }
  if (ok_is_a(fd.c_str()) != 'd') exut.fail(__LINE__, SRC, "User: no such src folder: %s", from_dir);
  std::string src = fd + "/" + name;
  (target += '/') += name;
  if (ok_is_a(src.c_str()) == 'd') {
    snprintf(comm_buf, sizeof comm_buf, "cptree \"%s\" \"%s\"", src.c_str(), target.c_str());
  } else {
    std::string dir = file_ops::parent(target);
    ensure_dir(dir.c_str());
    snprintf(comm_buf, sizeof comm_buf, "copy \"%s\" \"%s\"", src.c_str(), target.c_str());
  }
  system(comm_buf);
  printf("\nsee BackUp = %s", target.c_str());
}

int safe_uts::wfind_list(const char* out, int add_files, const char* dir) {
  NN(dir);
  std::string d = dir[0] == '-' ? dir + 1 : dir;
  d = strip_slashes(os_name(d.c_str()));
  if (ok_is_a(d.c_str()) != 'd') exut.fail(__LINE__, SRC, "System: no such folder: %s", dir);
  std::string name;
  if (out) {
    name = out;
  } else {
    std::string b = file_ops::base(d);
    name = (b.empty() || b == "." || b == ".." || b == "/") ? "wfind.lst" : b + ".lst";
  }
  FILE* f = create(name.c_str());
  int n = file_ops::wfind(d, add_files != 0, [&](const std::string& p, bool) { fprintf(f, "\n%s", p.c_str()); });
  close_FILE(&f, SRC, __LINE__);
  return n;
}

int safe_uts::wfind_do(const char* os, const char* dir, const char* ext, const char* to, const char* pre,
                       bool show_only) {
  NN(os);
  NN(dir);
  NN(ext);
  if (!strchr(os, 'd') && !strchr(os, 'u')) {
    exut.show_str("os", os);
    exut.fail(__LINE__, SRC, "System: wfind_do() needs d or u as the form of paths\n");
  }
  std::string d = strip_slashes(os_name(dir[0] == '-' ? dir + 1 : dir));
  if (ok_is_a(d.c_str()) != 'd') exut.fail(__LINE__, SRC, "System: no such folder: %s", dir);
  std::string e = ext[0] == '.' || !ext[0] ? ext : std::string(".") + ext;
  bool dos = strchr(os, 'd') != nullptr;
  std::vector<std::string> files;
  file_ops::wfind(d, true, [&](const std::string& p, bool is_dir) {
    if (!is_dir && p.size() >= e.size() && strcasecmp(p.c_str() + p.size() - e.size(), e.c_str()) == 0)
      files.push_back(p);
  });
  for (std::string p : files) {
    // A name holding a quote or a backslash would not reach the command as
    // it is: the command line would split it or take "\\" for a separator.
    if (!show_only && p.find_first_of("\"\\") != std::string::npos) {
      printf("\nRefused: the name %s cannot stand on a command line\n", p.c_str());
      continue;
    }
    if (dos)
      for (char& c : p)
        if (c == '/') c = '\\';
    if (show_only) {
      printf("\n%s \"%s\" %s", pre ? pre : "", p.c_str(), to ? to : "");
    } else {
      snprintf(comm_buf, sizeof comm_buf, "%s \"%s\" %s", pre ? pre : "", p.c_str(), to ? to : "");
      system(comm_buf);
    }
  }
  return (int)files.size();
}

std::vector<std::string> safe_uts::list_dir(const char* dir) {
  NN(dir);
  return file_ops::list(os_name(dir));
}

bool safe_uts::name_less(const std::string& a, const std::string& b) { return file_ops::name_less(a, b); }
