// "brelmot sort conf nr": the documents below the folder of prefix nr, as
// the configuration names them (+) and as the tree holds them (-), sorted
// by name.  Each line shows the mark and then the key of the entry with the
// mark in place of its "+": "<mark> <name, 40 columns> <mark> <folder>".
#include <cstdio>
#include <cstring>
#include <string>

#include "driver/folders.h"
#include "runtime/exec_ut.h"
#include "runtime/file_ops.h"
#include "runtime/safe_uts.h"

namespace folders {

namespace {

const char* const SRC = "folder_sort";

// Folders whose files are never published: snapshots, profiles, indexes and
// what was put aside.
const char* const never_published[] = {"/publish/", "/docprofiles/", "/indx/", "/old/",
                                       "/outdated/"};

std::string trimmed(const std::string& s) {
  size_t b = s.find_first_not_of(" \t\r");
  if (b == std::string::npos) return "";
  size_t e = s.find_last_not_of(" \t\r");
  return s.substr(b, e - b + 1);
}

std::string cut_slashes(std::string p) {
  for (char& c : p)
    if (c == '\\') c = '/';
  while (p.size() > 1 && p.back() == '/') p.pop_back();
  return p;
}

// A relative prefix is a folder seen from the configuration's folder.
std::string seen_from(const std::string& conf_dir, std::string path) {
  bool relative = path == "." || path.compare(0, 2, "./") == 0 || path.compare(0, 2, "..") == 0;
  if (!relative || conf_dir.empty() || conf_dir == ".") return path;
  while (path.compare(0, 2, "./") == 0) path.erase(0, 2);
  if (path == ".") return conf_dir;
  return conf_dir + "/" + path;
}

}  // namespace

bool doc_list::list_line(char mark, const std::string& line) {
  std::string path = cut_slashes(trimmed(line));
  std::string probe = "/" + path;
  for (const char* folder : never_published)
    if (probe.find(folder) != std::string::npos) return false;
  size_t slash = path.rfind('/');
  std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  std::string folder = slash == std::string::npos ? "" : path.substr(0, slash);
  if (name.empty() || name[0] == '~') return false;
  char head[48];
  snprintf(head, sizeof head, "%-40s", "");
  std::string key = name + (name.size() < 40 ? std::string(head, 40 - name.size()) : "");
  size_t at = key.size() + 1;
  key += " + " + folder;
  std::string shown = std::string(1, mark) + " " + key;
  shown[at + 2] = mark;
  return entries.emplace(key, shown).second;
}

bool prefix_of(const std::string& conf_text, int nr, const std::string& conf_dir,
              std::string* path) {
  std::string text = "\n" + conf_text;
  std::string mark = "\n-? " + std::to_string(nr) + "=";
  size_t at = text.find(mark);
  if (at == std::string::npos) return false;
  at += mark.size();
  size_t end = text.find('\n', at);
  *path = seen_from(conf_dir, cut_slashes(trimmed(text.substr(at, end == std::string::npos ? end : end - at))));
  return true;
}

void documents_of(const std::string& conf_text, int nr, const std::string& path,
                  const std::function<void(const std::string&)>& doc) {
  std::string lead = std::to_string(nr) + "/";
  size_t at = 0;
  while (at < conf_text.size()) {
    size_t end = conf_text.find('\n', at);
    if (end == std::string::npos) end = conf_text.size();
    std::string line = conf_text.substr(at, end - at);
    at = end + 1;
    // Document lines only: "-e", "-a", "-A", "-n", "-U".
    if (line.size() < 3 || line[0] != '-' || !line[1] || !strchr("eaAnU", line[1])) continue;
    std::string rest = trimmed(line.substr(2));
    for (char& c : rest)
      if (c == '\\') c = '/';
    if (rest.compare(0, lead.size(), lead) == 0) doc(path + "/" + rest.substr(lead.size()));
  }
}

int sort_conf(const char* conf, int nr) {
  if (!conf) safe_uts::null_pointer(__LINE__, SRC);
  const char* list = "xxDocs";
  if (kind_of(list) != 'n') safe_ut.remove_file(list);
  if (safe_ut.ok_is_a(conf) != 'f') exut.fail(__LINE__, SRC, "User: no such file: %s", conf);
  std::string text = safe_ut.read_text(conf), path;
  if (!prefix_of(text, nr, file_ops::parent(safe_ut.os_name(conf)), &path)) {
    printf("\nAppError: %s does not contain a dir spec -? %i=\n", conf, nr);
    fflush(stdout);
    return 1;
  }
  doc_list docs;
  documents_of(text, nr, path, [&](const std::string& p) { docs.list_line('+', p); });
  list_tree(path.c_str(), list);
  for_each_listed(list, [&](const std::string& p) {
    if (kind_of(p) == 'f') docs.list_line('-', p);
  });
  printf("\nDocs in %s( %i = %s ):\n", conf, nr, path.c_str());
  for (const auto& [key, shown] : docs.entries) printf("\n%s", shown.c_str());
  fflush(stdout);
  return 0;
}

}  // namespace folders
