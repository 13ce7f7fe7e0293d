// The file half of the toolbox: what a thing is, opening, closing, reading
// and writing, folders, temporary names, settings files and the command
// runner.  Paths accept "/" and "\"; "\" becomes "/" before any system
// call, and the drive-like temporary names of the original layout lead into
// the run's own temporary folder.
#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "runtime/builtins.h"
#include "runtime/command_runner.h"
#include "runtime/file_ops.h"
#include "runtime/os_env.h"
#include "runtime/os_stream.h"
#include "runtime/safe_uts.h"
#include "runtime/text_mode.h"

const char* const safe_uts::ACL_hint =
    "MS Explorer may be in a folder already deleted,\nor you may not have enough permissions "
    "(see the ACL above),\nor the file may be locked by another application, e.g. Adobe Reader";

namespace {

const char* const SRC = "safe_uts_files";

#define NN(p) \
  do {        \
    if (!(p)) safe_uts::null_pointer(__LINE__, SRC); \
  } while (0)

// ------------------------------------------------------------ text reads

// The state below lives on the heap and is never destroyed: `safe_ut` is
// destroyed at the very end, after the objects of this file would be.

// The text-mode reader of each handle opened as text.
std::map<int, std::unique_ptr<text_reader>>& text_fds() {
  static auto* m = new std::map<int, std::unique_ptr<text_reader>>;
  return *m;
}

text_reader* text_of(int fd) {
  auto it = text_fds().find(fd);
  return it == text_fds().end() ? nullptr : it->second.get();
}

// stdio's mode without "t" (text is what "r" alone means) and "b".
std::string plain_mode(const char* mode) {
  std::string m;
  for (const char* c = mode; *c; c++)
    if (*c != 't' && *c != 'b' && *c != 'e') m += *c;
  return m;
}

// Opens a stream over the system interface: "r" reads text, a "w" mode
// writes the file whole, other modes work on the file in place.
FILE* fopen_mode(const std::string& p, const char* mode, const char* name) {
  std::string m = plain_mode(mode);
  bool text = m == "r" && !strchr(mode, 'b');
  if (m[0] == 'w') return os_stream::whole(p, name);
  int flags = m == "r" ? O_RDONLY : m == "r+" ? O_RDWR : m == "a" ? O_WRONLY | O_CREAT | O_APPEND
                                                                     : O_RDWR | O_CREAT | O_APPEND;
  int fd = os().open(p.c_str(), flags | O_CLOEXEC, 0666);
  if (fd < 0) return nullptr;
  return text ? os_stream::text_in(fd, name) : os_stream::over(fd, m.c_str(), name);
}

// ------------------------------------------------------------ run state

pid_t tmp_owner = 0;                          // the process that made the temporary folder
// Folder -> the last xNUL file made there.
std::map<std::string, std::string>& captures() {
  static auto* m = new std::map<std::string, std::string>;
  return *m;
}
command_runner& runner() {
  static auto* r = new command_runner;
  return *r;
}

std::string expanded(const char* name) {
  return strchr(name, '%') ? safe_ut.expand_env(name) : std::string(name);
}

bool not_there(int e) { return e == ENOENT || e == ENOTDIR; }

time_t clamp(time_t t) {
  if (safe_uts::fixed_clock()) {
    time_t n = safe_uts::now();
    if (t > n) return n;
  }
  return t;
}

std::string strip_slashes(std::string p) {
  while (p.size() > 1 && p.back() == '/') p.pop_back();
  return p;
}

void count_open(const char* what, const void* f, const char* name) {
  if (!showComm) return;
  safe_ut.openfiles++;
  printf("\n_files.%s = %2i, %p c  %s", what, safe_ut.openfiles, f, name);
  if (safe_ut.openfiles > safe_ut.maxopenfiles) {
    exut.show_int("openfiles", safe_ut.openfiles);
    exut.show_int("maxopenfiles", safe_ut.maxopenfiles);
    exut.fail(__LINE__, SRC, "System: too many open files (maxopenfiles)\n");
  }
}

void count_close() {
  if (!showComm) return;
  if (--safe_ut.openfiles < 0) {
    exut.show_int("openfiles", safe_ut.openfiles);
    safe_ut.openfiles = 0;
    exut.fail(__LINE__, SRC, "System: more files closed than opened\n");
  }
}

bool ieq_prefix(const char* s, const char* p) { return strncasecmp(s, p, strlen(p)) == 0; }

// A file that could not be written: the one report of it.  The file is as
// it was before (a new one is gone).
[[noreturn]] void write_failure(const std::string& name, int e) {
  errno = e;
  exut.fail(__LINE__, SRC, "System: ?zerror: Disk full ??\ncannot write %s: %s (errno %i)\n", name.c_str(),
            strerror(e), e);
}

}  // namespace

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
    for (const auto& c : captures()) os().unlink(c.second.c_str());
    if (!tmp_base.empty()) file_ops::remove_tree(tmp_base);
  }
  captures().clear();
  tmp_base.clear();
  errno = 0;
}

std::string safe_uts::os_name(const char* name) {
  NN(name);
  std::string s(name);
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
  if (not_there(e)) {
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
  if (not_there(e)) {
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

// ---------------------------------------------------- open, close, I/O

FILE* safe_uts::open_FILE(const char* name, const char* mode) {
  if (!name || !mode || !*name || !*mode) {
    exut.show_str("name", name);
    exut.show_str("mode", mode);
    if (!name || !mode) errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: open_FILE() needs a name and a mode\n");
  }
  std::string p = os_name(name);
  struct stat st;
  int e0 = errno;
  if (os().stat(p.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
    exut.fail(__LINE__, SRC, "User: Cannot open dir %s as a file.", name);
  errno = e0;
  FILE* f = fopen_mode(p, mode, name);
  if (!f && p.find('/') != std::string::npos) f = fopen_mode(p, mode, name);  // a second try
  if (!f) {
    exut.show_str("fN", name);
    int e = errno;
    if (strchr(name, '*')) {
      errno = err::not_a_path;
      exut.fail(__LINE__, SRC, "User: Not a path: %s", name);
    }
    std::string parent = file_ops::parent(p);
    printf("\nACL at %s:\n", parent.c_str());
    exut.show_int("( safe_ut.ok_is_a( xx ) == 'd' )", file_ops::is_dir(parent) ? 1 : 0);
    printf("\n|\nend of ACL at %s", parent.c_str());
    fflush(stdout);
    std::string cd = cwd();
    errno = e;
    exut.fail(__LINE__, SRC, "User: f = %p: cannot fopen %s %s (errno = %i)\ncurrDir = %s\n%s", (void*)f, name,
              mode, e, cd.c_str(), ACL_hint);
  }
  count_open("open", f, name);
  return f;
}

FILE* safe_uts::create(const char* name) {
  NN(name);
  if (!*name || strstr(name, "(null)") || strlen(name) > 500) {
    exut.show_str("name", name);
    exut.fail(__LINE__, SRC, "System: cannot create a file of this name (empty, (null) or above 500 characters)\n");
  }
  std::string p = os_name(expanded(name).c_str());
  FILE* f = os_stream::whole(p, name);
  if (!f) {
    std::string cd = cwd();
    exut.show_str("cwd", cd.c_str());
    char m[700];
    snprintf(m, sizeof m, "cannot create( %s )\n", name);
    exut.ERROR(m);
    exut.fail(__LINE__, SRC, "System: cannot create( %s )\n", name);
  }
  if (fflush(f) != 0) exut.fail(__LINE__, SRC, "System: cannot write to %s\n", name);
  count_open("create", f, name);
  // A stale index companion of the file goes.
  std::string dir = file_ops::parent(p), base = file_ops::base(p);
  std::string indx = (p.find('/') == std::string::npos ? std::string("INDX/") : dir + "/INDX/") + base;
  int e0 = errno;
  os().unlink(indx.c_str());
  errno = e0;
  if (showComm) printf("\nfileno = %i for %s\n", os_stream::fd_of(f), name);
  return f;
}

FILE* safe_uts::create_in(const char* dir, const char* name) {
  NN(name);
  std::string p = std::string(dir && *dir ? dir : ".") + "/" + name;
  return create(p.c_str());
}

FILE* safe_uts::create_deep(const char* name) {
  NN(name);
  size_t n = strlen(name);
  if (!n || name[n - 1] == '/' || name[n - 1] == '\\' || name[n - 1] == ':') {
    exut.show_str("name", name);
    exut.fail(__LINE__, SRC, "System: create_deep() needs a file name: %s\n", name);
  }
  std::string p = os_name(name);
  std::string dir = file_ops::parent(p);
  if (dir != "." && dir != "/") ensure_dir(dir.c_str());
  return create(name);
}

FILE* safe_uts::open_append(const char* name) { return open_FILE(name, "a"); }

void safe_uts::close_FILE(FILE** f, const char* file, int line) {
  if (!f || !*f) exut.fail(__LINE__, SRC, "System: cannot close file %p in line %i of %s", (void*)(f ? *f : nullptr), line, file ? file : "");
  errno = 0;
  bool standard = *f == stdout || *f == stderr;
  if (standard && fflush(*f) != 0) exut.fail(__LINE__, SRC, "System: ?zerror: Disk full ??\n");
  if (showComm) {
    count_close();
    printf("\n_FILE.close  = %2i, %p", openfiles, (void*)*f);
  }
  FILE* s = *f;
  *f = nullptr;
  if (!standard) {
    os_stream::closed c = os_stream::close(s);
    if (c.error && !c.reported) write_failure(c.name, c.error);
  }
  errno = 0;
}

void safe_uts::close_fd(int* fd, const char* file, int line) {
  NN(fd);
  if (errno) {
    exut.show_int("errno", errno);
    exut.fail(__LINE__, SRC, "System: cannot close file %i in line %i of %s", *fd, line, file ? file : "");
  }
  if (*fd == -1) return;
  if (*fd > 1000) exut.fail(__LINE__, SRC, "System: cannot create %s -- do you create it recursively ???", file ? file : "");
  if (*fd == 0 || *fd == 1) return;
  if (showComm) {
    count_close();
    printf("\n_fdes.close  = %2i, %8i", openfiles, *fd);
  }
  text_fds().erase(*fd);
  if (os().close(*fd) != 0) {
    printf("\nerror: errno = %i, cannot close file, disk full ???", errno);
    errno = 0;
  }
  *fd = -1;
}

int safe_uts::open_fd(const char* name, int mode, int kind) {
  NN(name);
  if (kind != 'B' && kind != 't') {
    exut.show_int("kind", kind);
    exut.fail(__LINE__, SRC, "System: open_fd( %s ) kind must be B or t\n", name);
  }
  int flags;
  switch (mode) {
    case 'r':
    case 'R': flags = O_RDONLY; break;
    case 'u': flags = O_RDWR; break;
    case 'c': flags = O_RDWR | O_CREAT | O_TRUNC; break;
    case 'C': flags = O_RDWR | O_CREAT | O_EXCL; break;
    case 'a': flags = O_WRONLY | O_CREAT | O_APPEND; break;
    default:
      exut.show_int("mode", mode);
      exut.fail(__LINE__, SRC, "System: open_fd( %s ) with an unknown mode\n", name);
  }
  std::string p = os_name(name);
  struct stat st;
  int e0 = errno;
  if (os().stat(p.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
    if (mode == 'R') {
      errno = 0;
      return -1;
    }
    exut.fail(__LINE__, SRC, "System: Cannot open dir %s as a file.\n", name);
  }
  errno = e0;
  int fd = os().open(p.c_str(), flags | O_CLOEXEC, 0666);
  if (fd < 0) {
    int e = errno;
    if (mode == 'R') {
      errno = 0;
      return -1;
    }
    if (e == EACCES) {
      printf("\nerror: Cannot open dir %s as a file.\n", name);
      exut.fail(__LINE__, SRC, "\nerror: Cannot open dir %s as a file.\n", name);
    }
    std::string cd = cwd();
    exut.fail(__LINE__, SRC, "System: currWorkDir = %s,\ncannot open( %s, %c, %c )", cd.c_str(), name, mode, kind);
  }
  if (kind == 't')
    text_fds()[fd] = std::make_unique<text_reader>([fd](char* b, size_t n) { return (long)read_full(fd, b, n); });
  else
    text_fds().erase(fd);
  count_open("open_fd", (void*)(long)fd, name);
  return fd;
}

bool safe_uts::eof_fd(int fd) {
  if (text_reader* t = text_of(fd)) return t->at_end();
  int e0 = errno;
  off_t at = os().seek(fd, 0, SEEK_CUR);
  struct stat st;
  bool end = at >= 0 && os().fstat(fd, &st) == 0 && at >= st.st_size;
  errno = e0;
  return end;
}

long safe_uts::pos(int fd) {
  off_t p = os().seek(fd, 0, SEEK_CUR);
  if (p < 0) {
    exut.add("%li, %i = pos, f\n", (long)p, fd);
    exut.fail(__LINE__, SRC, "System: cannot tell the position of a file\n");
  }
  return (long)p;
}

long safe_uts::len(int fd) {
  off_t at = os().seek(fd, 0, SEEK_CUR);
  off_t n = at < 0 ? at : os().seek(fd, 0, SEEK_END);
  if (at < 0 || n < 0 || os().seek(fd, at, SEEK_SET) < 0) {
    exut.add("%li, %i = pos, f\n", (long)n, fd);
    exut.fail(__LINE__, SRC, "System: cannot tell the length of a file\n");
  }
  return (long)n;
}

long safe_uts::FILE_len(FILE* f) {
  NN(f);
  long at = ftell(f);
  if (at < 0 || fseek(f, 0, SEEK_END) != 0) exut.fail(__LINE__, SRC, "System: cannot seek in a stream\n");
  long n = ftell(f);
  fseek(f, at, SEEK_SET);
  if (n < 0) {
    exut.add("%li, %p = pos, f\n", n, (void*)f);
    exut.fail(__LINE__, SRC, "System: cannot tell the length of a stream\n");
  }
  return n;
}

long safe_uts::FILE_pos(FILE* f) {
  NN(f);
  long at = ftell(f);
  if (at < 0) {
    exut.add("%li, %p = pos, f\n", at, (void*)f);
    exut.fail(__LINE__, SRC, "System: cannot tell the position of a stream\n");
  }
  return at;
}

void safe_uts::seek(FILE* f, long to, int from) {
  NN(f);
  if (fseek(f, to, from) != 0) {
    exut.show_int("pos", to);
    exut.show_int("from", from);
    errno = err::seek_failure;
    exut.fail(__LINE__, SRC, "System: seek failure\n");
  }
}

// Record store of fixed-length records: one positioned system call per
// record.  Writing behind the end leaves a gap, which may hold any bytes.
void safe_uts::write_at(int fd, long base, long nr, int size, const void* data) {
  NN(data);
  off_t at = (off_t)base + (off_t)nr * size;
  if (!pwrite_all(fd, data, (size_t)size, at)) {
    int e = errno;
    printf("\nNo space left on devive (?) - check all your drives");
    exut.add("%i = errno, %i = geschr <> sL = %i, at = %u, f = %i\n", e, -1, size, (unsigned)at, fd);
    errno = e ? e : err::disk_full;
    exut.throw_error(__LINE__, SRC);
  }
}

void safe_uts::read_at(int fd, long base, long nr, int size, void* data) {
  NN(data);
  off_t at = (off_t)base + (off_t)nr * size;
  long got = (long)pread_full(fd, data, (size_t)size, at);
  if (got < 0) {
    exut.show_int("at", (long)at);
    exut.fail(__LINE__, SRC, "System: read_at() cannot read file %i at %ld\n", fd, (long)at);
  }
  if (got == 0) {  // beyond the end: the buffer stays as it is
    errno = 0;
    return;
  }
  if (got != size) {  // the record begins inside the file, so all of it must be there
    exut.show_int("read", got);
    exut.show_int("size", size);
    exut.fail(__LINE__, SRC, "System: read_at() reads %ld of %i bytes at %ld\n", got, size, (long)at);
  }
}

int safe_uts::read_fd(int fd, void* data, int n) {
  NN(data);
  if (n < 0) {
    exut.show_int("anz", n);
    exut.fail(__LINE__, SRC, "System: read_fd() of a negative count\n");
  }
  if (n == 0) return 0;
  text_reader* t = text_of(fd);
  long r = t ? t->read((char*)data, (size_t)n) : read_full(fd, (char*)data, n);
  if (r < 0) {
    exut.show_int("f", fd);
    exut.fail(__LINE__, SRC, "System: cannot read from file %i (errno %i)\n", fd, errno);
  }
  return (int)r;
}

int safe_uts::read_FILE(FILE* f, void* data, int n) {
  NN(f);
  NN(data);
  if (n < 0) {
    exut.show_int("anz", n);
    exut.fail(__LINE__, SRC, "System: read_FILE() of a negative count\n");
  }
  if (n == 0) return 0;
  size_t r = fread(data, 1, (size_t)n, f);
  if (r < (size_t)n && ferror(f)) exut.fail(__LINE__, SRC, "System: cannot read from stream %p\n", (void*)f);
  return (int)r;
}

void safe_uts::write_FILE(FILE* f, const void* data, long n) {
  NN(f);
  NN(data);
  if (n < 1) return;
  size_t w = fwrite(data, 1, (size_t)n, f);
  if ((long)w != n) {
    int e = os_stream::error_of(f);
    exut.show_str("WRITE", "");
    char m[200];
    snprintf(m, sizeof m, "rc = %i <> %i = anz, f = %p \n", (int)w, (int)n, (void*)f);
    exut.ERROR(m);
    if (!e) exut.fail(__LINE__, SRC, "System: short write\n");
    os_stream::set_reported(f);
    write_failure(os_stream::name_of(f), e);
  }
}

void safe_uts::write_fd(int fd, const void* data, long n) {
  NN(data);
  if (n < 1) return;
  if (!write_all(fd, data, (size_t)n)) {
    exut.show_str("WRITE", "");
    char m[200];
    snprintf(m, sizeof m, "rc = %i <> %i = anz, f = %i \n", -1, (int)n, fd);
    exut.ERROR(m);
    exut.fail(__LINE__, SRC, "System: short write\n");
  }
}

void safe_uts::copy_range(const char* to, const char* from, long offset, long n) {
  NN(to);
  NN(from);
  int in = open_fd(from, 'r', 'B');
  if (os().seek(in, offset, SEEK_SET) != offset) {
    errno = err::seek_failure;
    exut.fail(__LINE__, SRC, "System: copy_range() cannot reach %ld in %s\n", offset, from);
  }
  FILE* out = create(to);
  static char buf[16384];
  while (n > 0) {
    int r = read_fd(in, buf, n < (long)sizeof buf ? (int)n : (int)sizeof buf);
    if (r <= 0) break;
    write_FILE(out, buf, r);
    n -= r;
  }
  close_FILE(&out, SRC, __LINE__);
  close_fd(&in, SRC, __LINE__);
}

void safe_uts::copy_tail(const char* to, FILE* f, long at, const char* from) {
  NN(to);
  NN(f);
  if (fseek(f, at, SEEK_SET) != 0) {
    exut.show_str("from", from);
    errno = err::seek_failure;
    exut.fail(__LINE__, SRC, "System: copy_tail() cannot reach %ld\n", at);
  }
  FILE* out = create(to);
  static char buf[64000];
  size_t r;
  while ((r = fread(buf, 1, sizeof buf, f)) > 0) write_FILE(out, buf, (long)r);
  close_FILE(&out, SRC, __LINE__);
}

std::string safe_uts::read_text(const char* name) {
  NN(name);
  int fd = open_fd(name, 'r', 't');
  std::string text;
  char buf[65536];
  while (true) {
    int r = read_fd(fd, buf, sizeof buf);
    text.append(buf, (size_t)r);
    if (r < (int)sizeof buf) break;
  }
  errno = 0;
  close_fd(&fd, SRC, __LINE__);
  return text;
}

void safe_uts::write_text(const char* name, const std::string& text) {
  FILE* f = create(name);
  write_FILE(f, text.data(), (long)text.size());
  close_FILE(&f, SRC, __LINE__);
}

void safe_uts::remove_file(const char* name) {
  NN(name);
  std::string p = os_name(name);
  if (os().unlink(p.c_str()) != 0) {
    int e = errno;
    if (not_there(e)) {
      errno = 0;
      return;
    }
    exut.fail(__LINE__, SRC, "System: cannot remove %s (errno %i)\n", name, e);
  }
}

void safe_uts::rename_file(const char* from, const char* to) {
  NN(from);
  NN(to);
  std::string f = os_name(from), t = os_name(to);
  if (os().rename(f.c_str(), t.c_str()) == 0) return;
  int e = errno;
  if (e == EXDEV && file_ops::copy_file(f, t) && os().unlink(f.c_str()) == 0) {
    errno = 0;
    return;
  }
  exut.fail(__LINE__, SRC, "System: cannot rename %s to %s (errno %i)\n", from, to, e);
}

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

void safe_uts::rm_tree(const char* name) {
  NN(name);
  if (!*name) exut.fail(__LINE__, SRC, "System: rm_tree() of an empty name\n");
  std::string p = strip_slashes(os_name(expanded(name).c_str()));
  struct stat st;
  if (os().lstat(p.c_str(), &st) != 0) {
    errno = 0;
    return;
  }
  if (S_ISDIR(st.st_mode)) {
    // A name holding a double quote cannot be quoted on a command line: such a
    // tree is removed directly, with the same line in the log.
    snprintf(comm_buf, sizeof comm_buf, "rm -rf \"%s\" 2>&1 > NUL", p.c_str());
    if (p.find('"') == std::string::npos) {
      system(comm_buf);
    } else {
      printf("\nsystem: %s\n", comm_buf);
      file_ops::remove_tree(p);
    }
    if (file_ops::exists(p)) {
      printf("\nW a r n i n g :  Cannot delete folder %s\n", p.c_str());
      snprintf(comm_buf, sizeof comm_buf, "-rm -rf \"%s/*\" 2>&1 > NUL", p.c_str());
      system(comm_buf);
      snprintf(comm_buf, sizeof comm_buf, "dir %s", p.c_str());
      system(comm_buf);
    }
  } else {
    os().unlink(p.c_str());
  }
  errno = 0;
}

void safe_uts::rm_and_make_dir(const char* name) {
  NN(name);
  if (!*name) return;
  if (!strcmp(name, ".")) exut.fail(__LINE__, SRC, "System: rm_and_make_dir( . ) would remove the current folder\n");
  rm_tree(name);
  ensure_dir(name);
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
  if (k > 0) target += "/" + std::string(today()).substr(0, (size_t)k);
  if (ok_is_a(fd.c_str()) != 'd') exut.fail(__LINE__, SRC, "User: no such src folder: %s", from_dir);
  std::string src = fd + "/" + name;
  target += "/" + std::string(name);
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

FILE* safe_uts::tmp_file(char* name_out, const char* dir) {
  NN(name_out);
  std::string base = tmp_dir();
  if (dir && *dir) base += "/" + os_name(dir);
  ensure_dir(base.c_str());
  name_out[499] = '?';
  for (int i = 0;; i++) {
    snprintf(name_out, 499, "%s/%i", base.c_str(), i);
    if (name_out[499] != '?') {
      errno = err::corrupted_data;
      exut.fail(__LINE__, SRC, "System: tmp_file() name buffer overrun\n");
    }
    int fd = os().open(name_out, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) {
      if (errno == EEXIST) continue;
      exut.fail(__LINE__, SRC, "System: tmp_file() cannot create %s\n", name_out);
    }
    FILE* f = os_stream::over(fd, "w+", name_out);
    if (!f) exut.fail(__LINE__, SRC, "System: tmp_file() cannot open %s\n", name_out);
    errno = 0;
    count_open("tmp", f, name_out);
    return f;
  }
}

// -------------------------------------------------------- settings files

void safe_uts::env_set(const char* name, const char* value) {
  NN(name);
  NN(value);
  int e0 = errno;
  const char* now_set = nullptr;
  if (os().set_env(name, value) == 0) now_set = os().get_env(name);
  if (!now_set || strcmp(now_set, value) != 0) {
    exut.show_str("Value", value);
    exut.fail(__LINE__, SRC, "System: cannot set %s=%s\n", name, value);
  }
  errno = e0;
}

namespace {
// Lines "set NAME=value" of a settings file; the value ends at white space
// or is quoted.
template <class F>
void each_setting(const std::string& text, F f) {
  size_t i = 0;
  while (i < text.size()) {
    size_t e = text.find('\n', i);
    if (e == std::string::npos) e = text.size();
    std::string line = text.substr(i, e - i);
    i = e + 1;
    size_t k = line.find_first_not_of(" \t");
    if (k == std::string::npos || strncasecmp(line.c_str() + k, "set ", 4) != 0) continue;
    k = line.find_first_not_of(" \t", k + 4);
    if (k == std::string::npos) continue;
    size_t eq = line.find('=', k);
    if (eq == std::string::npos || eq == k) continue;
    std::string name = line.substr(k, eq - k);
    while (!name.empty() && (name.back() == ' ' || name.back() == '\t')) name.pop_back();
    if (name.empty() || name.find_first_of(" \t") != std::string::npos) continue;
    std::string value;
    size_t v = eq + 1;
    if (v < line.size() && line[v] == '"') {
      size_t q = line.find('"', v + 1);
      value = line.substr(v + 1, q == std::string::npos ? std::string::npos : q - v - 1);
    } else {
      size_t w = line.find_first_of(" \t\r", v);
      value = line.substr(v, w == std::string::npos ? std::string::npos : w - v);
    }
    if (f(name, value)) return;
  }
}
std::string& env_found() {
  static auto* s = new std::string;
  return *s;
}
}  // namespace

void safe_uts::env_read(const char* file) {
  NN(file);
  std::string text = read_text(file);
  each_setting(text, [&](const std::string& n, const std::string& v) {
    env_set(n.c_str(), v.c_str());
    return false;
  });
}

const char* safe_uts::env_value(const char* file, const char* name) {
  NN(file);
  NN(name);
  std::string text = read_text(file);
  bool found = false;
  each_setting(text, [&](const std::string& n, const std::string& v) {
    if (n != name) return false;
    env_found() = v;
    found = true;
    return true;
  });
  if (!found) exut.fail(__LINE__, SRC, "User: %s not specified in %s", name, file);
  return env_found().c_str();
}

// ------------------------------------------------------------ processes

namespace {
// Removes the files "xNUL..." of the current folder.  The folder is searched
// the first time only; after that the run knows which file it left there.
void del_xnul(const std::string& here) {
  static auto* searched = new std::map<std::string, bool>;
  if (!(*searched)[here]) {
    (*searched)[here] = true;
    for (const std::string& n : file_ops::list("."))
      if (n.compare(0, 4, "xNUL") == 0 && !file_ops::is_dir(n)) os().unlink(n.c_str());
    return;
  }
  auto it = captures().find(here);
  if (it != captures().end()) os().unlink(it->second.c_str());
}
}  // namespace

int safe_uts::system(const char* comm) {
  if (!comm || !strncmp(comm, "cannot ", 7)) {
    exut.show_str("comm", comm);
    if (!comm) errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: no command to run\n");
  }
  if (showComm) exut.show_str("cwd", cwd().c_str());
  // Nobody opens an empty note.
  if (const char* np = strstr(comm, "notepad ")) {
    const char* a = np + 8;
    while (*a == ' ') a++;
    std::string file;
    if (*a == '"') {
      const char* q = strchr(a + 1, '"');
      file.assign(a + 1, q ? q : a + strlen(a));
    } else {
      file.assign(a, strcspn(a, " \t>|<"));
    }
    std::string p = os_name(file.c_str());
    struct stat st;
    if (file.empty() || os().stat(p.c_str(), &st) != 0 || S_ISDIR(st.st_mode) || st.st_size == 0) {
      errno = 0;
      return 0;
    }
  }
  bool ask = false;
  if (*comm == '?') {
    ask = true;
    last_out.clear();
    comm++;
  }
  std::string here = cwd();
  del_xnul(here);
  errno = 0;

  // The file that keeps the output away from the console.
  std::string capture;
  unsigned base = safe_uts::fixed_clock() ? 0u : (unsigned)os().pid();
  do capture = "xNUL_" + std::to_string(base + xnul_count++);
  while (file_ops::exists(capture));
  bool has_out = strchr(comm, '>') != nullptr;
  std::string redir = has_out ? " 2> " + capture : " 2>&1 1> " + capture;

  if (*comm == '+') {
    comm++;
  } else {
    printf("\nsystem: %s\n", comm);
  }
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
    return st;
  }
  bool trace = false;
  if (*comm == '+') {
    printf("\n--> %s", comm + 1);
    trace = true;
    comm++;
  }
  bool raw = false;
  if (*comm == '-') {
    raw = true;
    comm++;
  }
  if (!*comm) exut.fail(__LINE__, SRC, "System: empty command\n");
  std::string line = std::string(comm) + redir;

  // What is shown: without "-", each "/" that does not follow a blank
  // appears as "\", so paths look as they did and options stay.
  std::string shown = line;
  if (!raw)
    for (size_t i = 0; i < shown.size(); i++)
      if (shown[i] == '/' && (i == 0 || shown[i - 1] != ' ')) shown[i] = '\\';
  if (showComm && !strstr(comm, "DONE")) {
    printf("\n%s", cwd().c_str());
    printf("\nsystem: %s\n", shown.c_str());
    std::string word(comm, strcspn(comm, " \t"));
    command_line probe(word);
    if (!probe.commands.empty() && !builtins::find(probe.commands[0].stages[0].words)) {
      std::string where = find_on_path(word.c_str());
      const char* path = os().get_env("PATH");
      if (where.empty() && word.find('.') == std::string::npos)
        printf("\nexe/bat/cmd %s not found on PATH = %s\n", word.c_str(), path ? path : "");
      else if (!where.empty())
        printf("\nexe/bat/cmd %s = %s\n", word.c_str(), where.c_str());
    }
  }

  fflush(stdout);
  fflush(stderr);
  int status = runner().run(line);
  if (trace) printf("\n:: %s", shown.c_str());
  if (!runner().missing.empty()) {
    int e = runner().missing_errno;
    printf("\nexit.errno = %i", e);
    printf("\nError: %s", strerror(e));
    printf("\nError: Not on PATH: %s\n", runner().missing.c_str());
    fflush(stdout);
    errno = 0;
    end_run(1);
  }
  if (trace) printf("\n<-- %s", shown.c_str());

  // Any line with the word "error" that a tool wrote reaches the console.
  captures()[here] = here + "/" + capture;
  if (file_ops::is_file(capture)) {
    fflush(stdout);
    runner().run("grep error \"" + capture + "\"");
  }
  if (ask && file_ops::is_file(capture)) last_out = read_text(capture.c_str());
  errno = 0;
  return status;
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

void safe_uts::final_xNUL() {
  FILE* f = create("xNUL");
  close_FILE(&f, SRC, __LINE__);
  system_plain("cat xNUL_* 2>&1 > xNUL");
  long n = ok_file_len("xNUL");
  if (n > 0) {
    printf("\nxNUL = %u\n\n", (unsigned)n);
    system_plain("DEL xNUL_* 2>&1 > NUL");
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
  system("DEL xNUL_*");
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
