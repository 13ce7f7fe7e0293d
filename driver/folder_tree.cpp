// The folder commands that walk a tree and act on its files: "nopub",
// "find" and "update_from".
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <unordered_set>
#include <vector>

#include "driver/folders.h"
#include "runtime/exec_ut.h"
#include "runtime/file_ops.h"
#include "runtime/os_env.h"
#include "runtime/safe_uts.h"

namespace folders {

namespace {

const char* const SRC = "folder_tree";

bool same_file(const std::string& a, const std::string& b) {
  struct stat sa, sb;
  return os().stat(a.c_str(), &sa) == 0 && os().stat(b.c_str(), &sb) == 0 &&
         sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
}

void drop_list(const char* list) {
  if (kind_of(list) != 'n') safe_ut.remove_file(list);
}

// Reads the open file in blocks and looks for `word`; errno is set when a
// read fails.
bool contains(int fd, const std::string& word) {
  const size_t block = 1 << 17, keep = word.size() - 1;
  std::vector<char> buf(block + keep);
  size_t have = 0;
  errno = 0;
  for (;;) {
    ssize_t n = read_full(fd, buf.data() + have, block);
    if (n < 0) return false;
    have += (size_t)n;
    if (memmem(buf.data(), have, word.data(), word.size())) return true;
    if ((size_t)n < block) return false;
    // The last bytes may begin the word: they stay for the next block.
    size_t k = have < keep ? have : keep;
    memmove(buf.data(), buf.data() + have - k, k);
    have = k;
  }
}

// Whether the file holds `word` as bytes, wherever it stands (also inside a
// longer word).  The file is read as it is, with no text folding: a
// document file holds any byte.  Only plain files are read (a pipe opened
// without waiting is let go), and never the list file `skip`.  A file that
// cannot be read ends the command; one that has gone since the listing
// holds nothing.
bool holds(const std::string& path, const std::string& word, const struct stat& skip) {
  int fd = os().open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC, 0);
  if (fd < 0) {
    if (errno == ENOENT || errno == ELOOP) return false;
    exut.fail(__LINE__, SRC, "System: cannot read %s\n", path.c_str());
  }
  struct stat st;
  if (os().fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) ||
      (st.st_dev == skip.st_dev && st.st_ino == skip.st_ino)) {
    os().close(fd);
    return false;
  }
  bool found = word.empty() || contains(fd, word);
  os().close(fd);
  if (found == false && errno) exut.fail(__LINE__, SRC, "System: cannot read %s\n", path.c_str());
  return found;
}

}  // namespace

int no_publish(const char* dir) {
  const char* list = "xx_tmp";
  list_tree(dir, list);
  std::string root = listing_root(dir);
  for_each_listed(list, [&](const std::string& path) {
    static const std::string tail = "/publish";
    if (path.size() <= tail.size() || path.compare(path.size() - tail.size(), tail.size(), tail))
      return;
    // A folder inside one that went is gone with it.
    if (kind_of(path) != 'd') return;
    // The line that the command would show; the removal itself takes the
    // path as a whole, so "keep x/publish" never touches "keep".
    if (!file_ops::lies_below(root, path, false)) {
      printf("\nRefused to delete %s: it does not lie below %s\n", path.c_str(), root.c_str());
      return;
    }
    printf("\nsystem: -rm -rf %s\n", path.c_str());
    file_ops::remove_tree(path);
    if (file_ops::exists(path)) printf("\nW a r n i n g :  Cannot delete folder %s\n", path.c_str());
  });
  drop_list(list);
  return 0;
}

int find_word(const char* word, const char* dir) {
  if (!word) safe_uts::null_pointer(__LINE__, SRC);
  const char* list = "xxfind";
  need_folder(dir);
  drop_list(list);
  std::unordered_set<std::string> folders;
  list_tree(dir, list, &folders);
  struct stat self {};
  os().stat(list, &self);
  std::string w = word;
  for_each_listed(list, [&](const std::string& path) {
    if (!folders.count(path) && holds(path, w, self)) printf("\n %s: %s", word, path.c_str());
  });
  drop_list(list);
  return 0;
}

int update_from(const char* from) {
  if (!from) safe_uts::null_pointer(__LINE__, SRC);
  need_folder(from);
  std::string src = listing_root(from) + "/";
  const char* list = "xxfetch";
  list_tree(".", list);
  for_each_listed(list, [&](const std::string& path) {
    // "./<rest>": the source is <from>/<rest>.
    if (path.size() < 3 || path.compare(0, 2, "./") != 0) return;
    if (path.find("publish/") != std::string::npos) return;
    if (kind_of(path) != 'f' || same_file(path, list)) return;
    std::string there = src + path.substr(2);
    if (kind_of(there) != 'f') {
      printf("\nnot found: %s", there.c_str());
      return;
    }
    // From a tree onto itself there is nothing to do (and a copy would
    // empty the file it reads).
    if (same_file(there, path)) return;
    if (!file_ops::lies_below(".", path, true)) {
      printf("\nRefused to write %s: it does not lie below %s\n", path.c_str(), ".");
      return;
    }
    if (!file_ops::copy_file(there, path))
      exut.fail(__LINE__, SRC, "System: cannot copy: %s --> %s\n", there.c_str(), path.c_str());
  });
  drop_list(list);
  return 0;
}

}  // namespace folders
