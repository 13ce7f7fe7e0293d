// The listing of a tree that every folder command reads: written as the
// built-in "wfind" writes it, read back line by line through rBuffer.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "driver/folders.h"
#include "runtime/exec_ut.h"
#include "runtime/file_ops.h"
#include "runtime/os_env.h"
#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"

namespace folders {

namespace {
const char* const SRC = "folder_list";
}  // namespace

std::string listing_root(const char* dir) {
  // The listing takes a leading "-" of its folder word for an option.
  std::string d = safe_ut.os_name(dir[0] == '-' ? dir + 1 : dir);
  while (d.size() > 1 && d.back() == '/') d.pop_back();
  return d;
}

void need_folder(const char* dir) {
  if (!dir) safe_uts::null_pointer(__LINE__, SRC);
  std::string d = listing_root(dir);
  // A folder that cannot be read would list as empty: it is missing too.
  if (safe_ut.ok_is_a(d.c_str()) != 'd' || os().access(d.c_str(), R_OK | X_OK) != 0)
    exut.fail(__LINE__, SRC, "User: no such dir: %s", dir);
  errno = 0;
}

void list_tree(const char* dir, const char* list, std::unordered_set<std::string>* folders) {
  need_folder(dir);
  printf("\nsystem: wfind %s > %s\n", dir, list);
  if (!folders) {
    safe_ut.wfind_list(list, 1, dir);
    return;
  }
  // What wfind_list writes, with the folders noted on the way.
  FILE* f = safe_ut.create(list);
  file_ops::wfind(listing_root(dir), true, [&](const std::string& p, bool is_dir) {
    fputc('\n', f);
    fwrite(p.data(), 1, p.size(), f);
    if (is_dir) folders->insert(p);
  });
  safe_ut.close_FILE(&f, SRC, __LINE__);
}

void for_each_listed(const char* list, const std::function<void(const std::string&)>& line) {
  rBuffer rb(list, "");
  int skip = 0;
  // Every path stands behind a line end; a hit leaves at least the
  // look-ahead of the window behind it, more than a path can be long.
  while (rb.find(skip, "\n", nullptr)) {
    const char* from = rb.z + rb.a + 1;
    const char* end = rb.z + rb.e;
    const char* to = static_cast<const char*>(memchr(from, '\n', end - from));
    std::string path(from, to ? to : end);
    if (!path.empty()) line(path);
    skip = 1;
  }
}

char kind_of(const std::string& path, long long* size) {
  struct stat st;
  if (os().stat(path.c_str(), &st) != 0) {
    errno = 0;
    return 'n';
  }
  if (size) *size = (long long)st.st_size;
  return S_ISDIR(st.st_mode) ? 'd' : S_ISREG(st.st_mode) ? 'f' : 'o';
}

}  // namespace folders
