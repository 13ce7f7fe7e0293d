// A second spelling of a generated page: a relative symbolic link.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "runtime/os_env.h"
#include "runtime/safe_uts.h"

void safe_uts::link_to(const char* target, const char* link) {
  if (!target || !link || !*target || !*link) {
    exut.show_str("target", target);
    exut.show_str("link", link);
    errno = err::NULL_pointer;
    exut.fail(__LINE__, "safe_uts_link", "System: link_to() needs two names\n");
  }
  std::string t = target, l = link;
  for (char& c : t)
    if (c == '\\') c = '/';
  for (char& c : l)
    if (c == '\\') c = '/';
  int e0 = errno;
  // On a file system blind to case both spellings are one file already.
  size_t slash = l.rfind('/');
  std::string seen = t[0] == '/' || slash == std::string::npos ? t : l.substr(0, slash + 1) + t;
  struct stat a, b;
  if (os().stat(l.c_str(), &a) == 0 && os().stat(seen.c_str(), &b) == 0 && a.st_ino == b.st_ino &&
      a.st_dev == b.st_dev) {
    errno = e0;
    return;
  }
  os().unlink(l.c_str());
  if (os().symlink(t.c_str(), l.c_str()) != 0) {
    int e = errno;
    exut.show_int("errno", e);
    exut.fail(__LINE__, "safe_uts_link", "System: cannot link %s --> %s\ncurrDir = %s\n", link, target,
              cwd().c_str());
  }
  errno = e0;
}
