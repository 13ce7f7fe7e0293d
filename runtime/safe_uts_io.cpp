// Opening, closing, reading and writing files: streams and handles, records
// at fixed places, whole texts.  Every stream is one of os_stream's, so a
// failing write is caught wherever it happens and reported once.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <string>

#include "runtime/file_ops.h"
#include "runtime/os_env.h"
#include "runtime/os_stream.h"
#include "runtime/safe_uts.h"
#include "runtime/owned_file.h"
#include "runtime/safe_uts_internal.h"
#include "runtime/text_mode.h"

namespace {

const char* const SRC = "safe_uts_io";

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

// A text read whole is held in memory: one of more than this many bytes is
// refused with a report.  The largest documents and listings of real
// projects stay far below it.
constexpr long max_text = 256L << 20;

// Inputs are regular files (or the null device): anything else is refused
// with a report before it is opened, since a device or a socket would never
// end and a pipe might never begin.
void refuse_unless_input(const char* name, const struct stat& st) {
  if (S_ISDIR(st.st_mode) || file_ops::readable_input(st)) return;
  errno = err::such_access_to_file_not_allowed;
  exut.fail(__LINE__, SRC, "User: %s is not a regular file (a device, a pipe or a socket): it is not read\n",
            name);
}

// A file that could not be written: the one report of it.  The file is as
// it was before (a new one is gone).
[[noreturn]] void write_failure(const std::string& name, int e) {
  errno = e;
  exut.fail(__LINE__, SRC, "System: ?zerror: Disk full ??\ncannot write %s: %s (errno %i)\n", name.c_str(),
            strerror(e), e);
}

}  // namespace

using toolbox::count_close;
using toolbox::count_open;
using toolbox::expanded;
using toolbox::not_there;

void toolbox::count_open(const char* what, const void* f, const char* name) {
  if (!showComm) return;
  safe_ut.openfiles++;
  printf("\n_files.%s = %2i, %p c  %s", what, safe_ut.openfiles, f, name);
  if (safe_ut.openfiles > safe_ut.maxopenfiles) {
    exut.show_int("openfiles", safe_ut.openfiles);
    exut.show_int("maxopenfiles", safe_ut.maxopenfiles);
    exut.fail(__LINE__, SRC, "System: too many open files (maxopenfiles)\n");
  }
}

void toolbox::count_close() {
  if (!showComm) return;
  if (--safe_ut.openfiles < 0) {
    exut.show_int("openfiles", safe_ut.openfiles);
    safe_ut.openfiles = 0;
    exut.fail(__LINE__, SRC, "System: more files closed than opened\n");
  }
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
  bool there = os().stat(p.c_str(), &st) == 0;
  if (there && S_ISDIR(st.st_mode)) exut.fail(__LINE__, SRC, "User: Cannot open dir %s as a file.", name);
  if (there && (strchr(mode, 'r') || strchr(mode, '+'))) refuse_unless_input(name, st);
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
  // A stale index companion of the file goes, unless the file lies in a
  // folder made empty by this run.
  if (!below_made_empty(p)) {
    std::string dir = file_ops::parent(p), base = file_ops::base(p);
    std::string indx = (p.find('/') == std::string::npos ? std::string("INDX/") : dir + "/INDX/") + base;
    int e0 = errno;
    os().unlink(indx.c_str());
    errno = e0;
  }
  if (showComm) printf("\nfileno = %i for %s\n", os_stream::fd_of(f), name);
  return f;
}

bool safe_uts::below_made_empty(const std::string& p) const {
  size_t m = empty_dir_.size();
  return m && p.size() > m + 1 && p.compare(0, m, empty_dir_) == 0 && p[m] == '/' &&
         p.find("/..", m) == std::string::npos;
}

void safe_uts::made_empty(const char* dir) {
  NN(dir);
  empty_dir_ = *dir ? os_name(dir) : std::string();
  while (empty_dir_.size() > 1 && empty_dir_.back() == '/') empty_dir_.pop_back();
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
  bool there = os().stat(p.c_str(), &st) == 0;
  if (there && (mode == 'r' || mode == 'R' || mode == 'u')) refuse_unless_input(name, st);
  if (there && S_ISDIR(st.st_mode)) {
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
  // The program has one thread: the stream lock would only cost time.
  size_t w = fwrite_unlocked(data, 1, (size_t)n, f);
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

std::string safe_uts::read_head(const char* name, const char* stop, bool nocase) {
  NN(name);
  NN(stop);
  size_t L = strlen(stop);
  auto find = [&](const std::string& t, size_t from) -> size_t {
    for (size_t i = from; i + L <= t.size(); i++)
      if (nocase ? strncasecmp(t.c_str() + i, stop, L) == 0 : t.compare(i, L, stop) == 0) return i;
    return std::string::npos;
  };
  int fd = open_fd(name, 'r', 't');
  std::string text;
  char buf[65536];
  size_t at = std::string::npos, searched = 0;
  while (at == std::string::npos) {
    int r = read_fd(fd, buf, sizeof buf);
    text.append(buf, (size_t)r);
    at = find(text, searched);
    searched = text.size() >= L ? text.size() - L + 1 : 0;
    if (r < (int)sizeof buf) break;
    if ((long)text.size() > max_text) {
      errno = 0;
      close_fd(&fd, SRC, __LINE__);
      exut.fail(__LINE__, SRC, "User: the head of %s is too large to be read as one text\n", name);
    }
  }
  errno = 0;
  close_fd(&fd, SRC, __LINE__);
  if (at != std::string::npos) text.resize(at);
  return text;
}

// A whole text is read through one handle: opened without waiting (a pipe
// would block an open for reading), looked at, read raw in one piece and
// folded in place.  Whatever is no regular input, and every name that does
// not open, goes through `open_fd`, which reports it as any open does.
std::string safe_uts::read_text(const char* name) {
  NN(name);
  std::string p = os_name(name);
  int e0 = errno;
  int fd = os().open(p.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC, 0);
  struct stat st;
  if (fd >= 0 && (os().fstat(fd, &st) != 0 || !S_ISREG(st.st_mode))) {
    os().close(fd);
    fd = -1;
  }
  if (fd < 0) {
    errno = e0;
    return read_text_slowly(name);
  }
  std::string text = read_open_text(fd, st.st_size, name);
  os().close(fd);
  errno = 0;
  return text;
}

std::string safe_uts::read_open_text(int fd, off_t size, const char* name) {
  if (size > max_text) {
    os().close(fd);
    errno = 0;
    exut.fail(__LINE__, SRC, "User: %s is too large to be read as one text: %lld bytes, at most %ld\n", name,
              (long long)size, max_text);
  }
  // One byte more than the size shows whether the file grew meanwhile.
  std::string raw((size_t)size + 1, '\0');
  size_t got = 0;
  while (true) {
    ssize_t r = read_full(fd, &raw[got], raw.size() - got);
    if (r < 0) {
      os().close(fd);
      exut.fail(__LINE__, SRC, "System: cannot read from file %s (errno %i)\n", name, errno);
    }
    got += (size_t)r;
    if (got < raw.size()) break;
    if (raw.size() > (size_t)max_text) {
      os().close(fd);
      errno = 0;
      exut.fail(__LINE__, SRC, "User: %s is too large to be read as one text: more than %ld bytes\n", name, max_text);
    }
    raw.resize(raw.size() * 2);
  }
  text_fold fold;
  size_t used = 0, n = fold.fold(raw.data(), got, raw.data(), got, &used);
  n += fold.finish(raw.data() + n, got - n);
  raw.resize(n);
  return raw;
}

// The long way for what `read_text` does not open itself: a folder, a
// device, a name that cannot be opened, each with the report of `open_fd`.
std::string safe_uts::read_text_slowly(const char* name) {
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

bool safe_uts::edit_text(const char* name, const std::function<void(std::string&)>& edit) {
  NN(name);
  std::string p = os_name(expanded(name).c_str());
  if (below_made_empty(p)) {
    // A page of this run: one handle reads and rewrites it.  Anything that
    // is not a plain file of one name (a link, a second name) goes the
    // long way, which never writes through to another file.
    int e0 = errno;
    int fd = os().open(p.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0);
    struct stat st;
    if (fd >= 0 && os().fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && st.st_nlink == 1) {
      std::string text = read_open_text(fd, st.st_size, name);
      try {
        edit(text);
      } catch (...) {  // a failure report on the way: the handle goes with it
        os().close(fd);
        throw;
      }
      bool ok = pwrite_all(fd, text.data(), text.size(), 0) && os().truncate(fd, (off_t)text.size()) == 0;
      int e = errno;
      if (os().close(fd) != 0 && ok) {
        ok = false;
        e = errno;
      }
      if (!ok) write_failure(name, e ? e : EIO);
      errno = 0;
      return true;
    }
    if (fd >= 0) os().close(fd);
    errno = e0;
  }
  if (ok_is_a(name) != 'f') return false;
  std::string text = read_text(name);
  edit(text);
  write_text(name, text);
  return true;
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

owned_FILE::~owned_FILE() {
  if (!f) return;
  try {
    safe_ut.close_FILE(&f, SRC, __LINE__);
  } catch (...) {  // a failure is already passing through
  }
}
