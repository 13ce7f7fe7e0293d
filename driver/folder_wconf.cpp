// "brelmot wconf nr dir" and "brelmot wconf_ADD from pre dir": configuration
// includes written from a folder tree.
//
// The include lists every document of the tree as a line "-e nr/path" with
// a title line, which the configuration reader accepts below "-? nr=dir".
// Two decisions of this program:
//   - A document name seen before gives its own place, then a line with the
//     place where the name was seen first ("nr/path") and "(ERROR:
//     mehrfach)", so both files are named.
//   - The closing "(= %u MB)" figure is the byte count shifted by 20: true
//     megabytes.  Both figures are counted in 64 bits.
#include <sys/stat.h>

#include <cstring>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "driver/folders.h"
#include "runtime/exec_ut.h"
#include "runtime/file_ops.h"
#include "runtime/os_env.h"
#include "runtime/safe_uts.h"

namespace folders {

namespace {

const char* const SRC = "folder_wconf";

bool is_document(const std::string& path) {
  if (path.size() < 4) return false;
  // The last three characters lower-cased: "A.DOC" is a document too.
  std::string tail = path.substr(path.size() - 4);
  for (size_t i = 1; i < 4; i++) tail[i] = (char)safe_uts::to_lower_char((unsigned char)tail[i]);
  for (const char* ext : {".doc", ".rtf", ".ppt", ".pdf", ".vsd", ".htm"})
    if (tail == ext) return true;
  return false;
}

bool ends_doc_htm(const std::string& slash_rest) {
  static const std::string tail = "/doc.htm";
  if (slash_rest.size() < tail.size()) return false;
  std::string t = slash_rest.substr(slash_rest.size() - tail.size());
  for (size_t i = t.size() - 3; i < t.size(); i++)
    t[i] = (char)safe_uts::to_lower_char((unsigned char)t[i]);
  return t == tail;
}

// The title of a document: its folders below the root, each followed by
// ": ", and its name less the extension.
std::string title_of(const std::string& rest) {
  std::string title;
  size_t slash = rest.rfind('/');
  std::string name = slash == std::string::npos ? rest : rest.substr(slash + 1);
  if (slash != std::string::npos) {
    for (char c : rest.substr(0, slash)) {
      if (c == '/')
        title += ": ";
      else
        title += c;
    }
    title += ": ";
  }
  size_t dot = name.rfind('.');
  return title + (dot == std::string::npos ? name : name.substr(0, dot));
}

// The lower-cased extension counts for the name a document is known by.
std::string name_key(const std::string& rest) {
  std::string name = file_ops::base(rest);
  for (size_t i = name.size() >= 3 ? name.size() - 3 : 0; i < name.size(); i++)
    name[i] = (char)safe_uts::to_lower_char((unsigned char)name[i]);
  return name;
}

struct include_writer {
  int nr;
  std::string root;
  FILE* out;
  std::unordered_map<std::string, std::string> seen;  // name -> "nr/path" of its first
  unsigned long long deleted = 0;
  std::unordered_set<std::string> folders;  // the listed paths that are folders
  std::string list_name;                     // the list itself is no file of the tree
  struct stat list_st {};

  bool is_list(const std::string& path) const {
    struct stat st;
    return os().stat(path.c_str(), &st) == 0 && st.st_dev == list_st.st_dev &&
           st.st_ino == list_st.st_ino;
  }

  void web_file(const std::string& path, const std::string& rest) {
    long long size = 0;
    if (folders.count(path) || !ends_doc_htm("/" + rest) || kind_of(path, &size) != 'f') return;
    if (!safe_ut.rm_tree_below(root.c_str(), path)) return;
    deleted += (unsigned long long)size;
    fprintf(out, "\ndeleted: %s", path.c_str());
  }

  void document(const std::string& rest) {
    std::string place = std::to_string(nr) + "/" + rest;
    auto [it, first] = seen.emplace(name_key(rest), place);
    if (first) {
      fprintf(out, "\n-e %s", place.c_str());
      fprintf(out, "\n   %s\n", title_of(rest).c_str());
    } else {
      fprintf(out, "\n   %s", place.c_str());
      fprintf(out, "\n   %s (ERROR: mehrfach)\n", it->second.c_str());
    }
  }

  void line(const std::string& path) {
    if (path.size() <= root.size() + 1 || path.compare(0, root.size(), root) != 0 ||
        path[root.size()] != '/')
      return;
    std::string rest = path.substr(root.size() + 1);
    // A web: only its working copies of documents go, nothing is listed.
    if (rest.find("xs_") != std::string::npos) return web_file(path, rest);
    if (folders.count(path)) return;  // folders are no files
    // The list, and the name it had while it was written, which has gone.
    if (file_ops::base(rest).compare(0, list_name.size(), list_name) == 0 &&
        (is_list(path) || kind_of(path) == 'n'))
      return;
    if (is_document(rest)) {
      // The snapshots are the web's input, not documents of their own.
      if (("/" + rest).find("/publish/") == std::string::npos) document(rest);
      return;
    }
    // A file the configuration does not read: the line has no "-".
    fprintf(out, "\n e %i/%s", nr, rest.c_str());
  }
};

}  // namespace

int wconf_dir(int nr, const char* dir, FILE* out) {
  if (!dir || !out) safe_uts::null_pointer(__LINE__, SRC);
  const char* list = "tmp_wconf";
  include_writer w{nr, listing_root(dir), out, {}, 0, {}, list, {}};
  list_tree(dir, list, &w.folders);
  os().stat(list, &w.list_st);
  for_each_listed(list, [&](const std::string& path) { w.line(path); });
  fprintf(out, "\no k  -  deleted were %llu bytes (= %llu MB)\n", w.deleted, w.deleted >> 20);
  fflush(out);
  return 0;
}

bool add_line(const std::string& line, const std::string& pre, std::string* path,
              std::string* rest) {
  // The list is what "brelmot find" printed, " word: path", or plain paths.
  // A path on this system has no drive letter and ":" is an ordinary
  // character of a name: the path begins where `pre` stands.
  size_t b = line.find_first_not_of(" \t");
  size_t e = line.find_last_not_of(" \t\r");
  if (b == std::string::npos) return false;
  std::string t = line.substr(b, e - b + 1);
  size_t at = t.find(pre);
  if (at == std::string::npos) return false;
  *path = t.substr(at);
  std::string r = path->substr(pre.size());
  for (char& c : r)
    if (c == '\\') c = '/';
  size_t lead = r.find_first_not_of('/');
  if (lead == std::string::npos) return false;
  r.erase(0, lead);
  // Every step must stay inside the target folder.
  for (size_t s = 0; s <= r.size();) {
    size_t n = r.find('/', s);
    if (n == std::string::npos) n = r.size();
    std::string step = r.substr(s, n - s);
    if (step == "..") return false;
    s = n + 1;
  }
  *rest = r;
  return true;
}

namespace {

// One copy of wconf_ADD, done on the names themselves: a name holding a
// quote or a blank is copied like any other.
void copy_listed(const std::string& path, const std::string& to, const std::string& target) {
  if (kind_of(path) != 'f') {
    printf("\nnot found: %s", path.c_str());
    return;
  }
  file_ops::make_dirs(file_ops::parent(to));
  if (!file_ops::lies_below(target, to, true)) {
    printf("\nRefused to write %s: it does not lie below %s\n", to.c_str(), target.c_str());
    return;
  }
  if (!file_ops::copy_file(path, to))
    exut.fail(__LINE__, SRC, "System: cannot copy: %s --> %s\n", path.c_str(), to.c_str());
}

}  // namespace

int wconf_add(const char* from, const char* pre) {
  if (!from || !pre) safe_uts::null_pointer(__LINE__, SRC);
  if (safe_ut.ok_is_a(from) != 'f') exut.fail(__LINE__, SRC, "User: no such file: %s", from);
  // The copies go below the current folder whatever folders `from` names.
  std::string target = "0/" + file_ops::base(safe_ut.os_name(from)) + ".dir";
  if (!file_ops::make_dirs(target)) exut.fail(__LINE__, SRC, "System: cannot create %s", target.c_str());
  std::string text = safe_ut.read_text(from);
  size_t at = 0;
  while (at <= text.size()) {
    size_t end = text.find('\n', at);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(at, end - at), path, rest;
    at = end + 1;
    if (!add_line(line, pre, &path, &rest)) continue;
    std::string to = target + "/" + rest;
    printf("\nsystem: copy \"%s\" \"%s\"\n", path.c_str(), to.c_str());
    copy_listed(path, to, target);
  }
  wconf_dir(0, target.c_str(), stdout);
  printf("\nsystem: copy %s 0\n", from);
  std::string keep = "0/" + file_ops::base(safe_ut.os_name(from));
  if (!file_ops::copy_file(safe_ut.os_name(from), keep))
    exut.fail(__LINE__, SRC, "System: cannot copy: %s --> %s\n", from, keep.c_str());
  return 0;
}

}  // namespace folders
