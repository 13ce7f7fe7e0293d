// Streams over the handles of the system interface (glibc's fopencookie).
#include "runtime/os_stream.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>

#include "runtime/os_env.h"
#include "runtime/text_mode.h"

namespace {

struct cookie {
  int fd = -1;
  std::string name;  // as the caller named it, for messages
  std::unique_ptr<whole_file> whole;  // a file written whole
  int error = 0;                      // the first failed write
  bool reported = false;
  FILE* stream = nullptr;
  int* close_result = nullptr;  // where the close puts what it found
  // Reading text: the reader and the position in the folded text.
  std::unique_ptr<text_reader> text;
  off_t text_pos = 0;
};

// Never destroyed: streams may be closed by the last destructors of a run.
std::map<FILE*, cookie*>& open_streams() {
  static auto* m = new std::map<FILE*, cookie*>;
  return *m;
}

cookie* cookie_of(FILE* f) {
  auto it = open_streams().find(f);
  return it == open_streams().end() ? nullptr : it->second;
}

// ------------------------------------------------------------ binary I/O

ssize_t raw_read(void* c, char* buf, size_t n) {
  int e0 = errno;
  ssize_t r;
  while ((r = os().read(static_cast<cookie*>(c)->fd, buf, n)) < 0 && errno == EINTR) {
  }
  if (r >= 0) errno = e0;  // an interruption that was retried is no error
  return r;
}

// A failed write gives 0, not -1: glibc's stream code takes a count of -1
// for a number of bytes and overruns its buffer.  The stream is marked as
// failed either way, and so is the cookie.
ssize_t raw_write(void* c, const char* buf, size_t n) {
  auto* k = static_cast<cookie*>(c);
  if (!k->error && !write_all(k->fd, buf, n)) k->error = errno ? errno : EIO;
  if (!k->error) return (ssize_t)n;
  errno = k->error;
  return 0;
}

int raw_seek(void* c, off64_t* pos, int whence) {
  off_t r = os().seek(static_cast<cookie*>(c)->fd, (off_t)*pos, whence);
  if (r < 0) return -1;
  *pos = r;
  return 0;
}

// --------------------------------------------------------------- text in

// Gives up to `want` bytes of folded text; a null `out` skips them.
size_t text_take(cookie* k, char* out, size_t want) {
  size_t got = 0;
  char skip[4096];
  while (got < want) {
    size_t ask = want - got;
    char* to = out ? out + got : skip;
    if (!out && ask > sizeof skip) ask = sizeof skip;
    long r = k->text->read(to, ask);
    if (r <= 0) break;
    got += (size_t)r;
    if ((size_t)r < ask) break;
  }
  k->text_pos += (off_t)got;
  return got;
}

ssize_t text_read(void* c, char* out, size_t want) {
  return (ssize_t)text_take(static_cast<cookie*>(c), out, want);
}

// A seek backwards reads again from the start.
int text_seek(void* c, off64_t* pos, int whence) {
  auto* k = static_cast<cookie*>(c);
  off_t to = (off_t)*pos;
  if (whence == SEEK_CUR) {
    to += k->text_pos;
  } else if (whence == SEEK_END) {
    while (text_take(k, nullptr, SIZE_MAX) > 0) {
    }
    to += k->text_pos;
  }
  if (to < 0) return -1;
  if (to < k->text_pos) {
    if (os().seek(k->fd, 0, SEEK_SET) < 0) return -1;
    k->text_pos = 0;
    k->text->reset();
  }
  text_take(k, nullptr, (size_t)(to - k->text_pos));
  *pos = k->text_pos;
  return 0;
}

// ------------------------------------------------------------------ close

int cookie_close(void* c) {
  auto* k = static_cast<cookie*>(c);
  open_streams().erase(k->stream);
  int e = k->error;
  if (k->whole) {
    int f = k->whole->finish(!e);
    if (!e) e = f;
  } else if (os().close(k->fd) != 0 && !e) {
    e = errno ? errno : EIO;
  }
  if (k->close_result) *k->close_result = e;
  delete k;
  if (!e) return 0;
  errno = e;
  return -1;
}

FILE* make_stream(cookie* k, const char* mode, cookie_io_functions_t fns) {
  FILE* f = fopencookie(k, mode, fns);
  if (!f) {
    int e = errno;
    if (k->whole)
      k->whole->finish(false);
    else
      os().close(k->fd);
    delete k;
    errno = e;
    return nullptr;
  }
  k->stream = f;
  open_streams()[f] = k;
  return f;
}

}  // namespace

// ------------------------------------------------------------- whole_file

whole_file::~whole_file() {
  if (fd_ >= 0) finish(false);
}

int whole_file::open(const std::string& path, bool probe) {
  final_ = path;
  temp_.clear();
  // Most names are new (the pages of a web made afresh): an exclusive
  // create makes them in one step.  A name that is taken (a file, a link,
  // even a dangling one) or any other failure goes the long way below,
  // which also gives the error worth reporting.
  fd_ = os().open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
  if (fd_ >= 0) {
    new_file_ = true;
    return fd_;
  }
  struct stat st;
  bool exists = os().lstat(path.c_str(), &st) == 0;  // what a name that is no link names
  if (exists && S_ISLNK(st.st_mode)) {
    std::string to = os().realpath(path.c_str());
    if (!to.empty()) final_ = to;  // a dangling link is written through as it stands
    exists = os().stat(final_.c_str(), &st) == 0;
  }
  if (exists && S_ISREG(st.st_mode)) {
    if (probe) {  // whether the old file may be written decides, as for a write in place
      int p = os().open(final_.c_str(), O_WRONLY | O_CLOEXEC, 0);
      if (p < 0) return -1;
      os().close(p);
    }
    for (int n = 0; n < 100 && fd_ < 0; n++) {
      std::string t = final_ + ".~" + std::to_string(n);
      fd_ = os().open(t.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, st.st_mode & 0777);
      if (fd_ >= 0) {
        os().fchmod(fd_, st.st_mode & 07777);
        temp_ = t;
      } else if (errno != EEXIST) {
        break;  // no sibling can be made here: the file is written in place
      }
    }
  }
  if (fd_ < 0) {
    fd_ = os().open(final_.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    new_file_ = !exists;
  }
  return fd_;
}

int whole_file::finish(bool ok) {
  int e = 0;
  if (fd_ >= 0 && os().close(fd_) != 0) e = errno ? errno : EIO;
  fd_ = -1;
  bool good = ok && !e;
  if (good && !temp_.empty() && os().rename(temp_.c_str(), final_.c_str()) != 0) {
    e = errno ? errno : EIO;
    good = false;
  }
  if (!good && !temp_.empty())
    os().unlink(temp_.c_str());
  else if (!good && new_file_)
    os().unlink(final_.c_str());
  temp_.clear();
  new_file_ = false;
  return e;
}

namespace os_stream {

FILE* over(int fd, const char* mode, const std::string& name) {
  auto* k = new cookie;
  k->fd = fd;
  k->name = name;
  return make_stream(k, mode, {raw_read, raw_write, raw_seek, cookie_close});
}

FILE* text_in(int fd, const std::string& name) {
  auto* k = new cookie;
  k->fd = fd;
  k->name = name;
  k->text = std::make_unique<text_reader>([fd](char* b, size_t n) { return (long)read_full(fd, b, n); });
  return make_stream(k, "r", {text_read, nullptr, text_seek, cookie_close});
}

FILE* whole(const std::string& path, const std::string& name) {
  auto* k = new cookie;
  k->name = name;
  k->whole = std::make_unique<whole_file>();
  k->fd = k->whole->open(path, true);
  if (k->fd < 0) {
    int e = errno;
    delete k;
    errno = e;
    return nullptr;
  }
  return make_stream(k, "w+", {raw_read, raw_write, raw_seek, cookie_close});
}

int fd_of(FILE* f) {
  cookie* k = cookie_of(f);
  return k ? k->fd : -1;
}

int error_of(FILE* f) {
  cookie* k = cookie_of(f);
  return k ? k->error : 0;
}

std::string name_of(FILE* f) {
  cookie* k = cookie_of(f);
  return k ? k->name : std::string();
}

void set_reported(FILE* f) {
  if (cookie* k = cookie_of(f)) k->reported = true;
}

closed close(FILE* f) {
  closed c;
  cookie* k = cookie_of(f);
  if (!k) {  // not ours
    c.error = fclose(f) == 0 ? 0 : (errno ? errno : EIO);
    return c;
  }
  c.name = k->name;
  fflush(f);
  c.reported = k->reported;
  int result = 0;
  k->close_result = &result;
  fclose(f);
  c.error = result;
  return c;
}

void close_all() {
  while (!open_streams().empty()) fclose(open_streams().begin()->first);
}

}  // namespace os_stream
