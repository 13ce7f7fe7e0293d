// The built-in commands of the command runner.  Each writes its output to
// the handle it is given and its complaints to the error handle, and returns
// an exit status; none of them ends the run.
#include "runtime/builtins.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cctype>
#include <cstring>

#include "runtime/builtins_support.h"
#include "runtime/file_ops.h"
#include "runtime/os_env.h"
#include "runtime/safe_uts.h"

namespace builtin {

void say(int fd, const std::string& s) {
  out_buf o(fd);
  o.put(s);
}

int open_read(const std::string& p) {
  struct stat st;
  if (os().stat(p.c_str(), &st) == 0 && !S_ISDIR(st.st_mode) && !file_ops::readable_input(st)) {
    errno = EINVAL;
    return -1;
  }
  return os().open(p.c_str(), O_RDONLY | O_CLOEXEC, 0);
}

bool ieq(const std::string& a, const char* b) { return strcasecmp(a.c_str(), b) == 0; }

bool ends_with_nocase(const std::string& s, const std::string& tail) {
  return s.size() >= tail.size() && strcasecmp(s.c_str() + s.size() - tail.size(), tail.c_str()) == 0;
}

std::vector<std::string> plain_words(const args& a) {
  std::vector<std::string> w;
  for (size_t i = 1; i < a.size(); i++)
    if (!a[i].option) w.push_back(a[i].text);
  return w;
}

bool has_option(const args& a, char letter) {
  for (size_t i = 1; i < a.size(); i++) {
    if (!a[i].option) continue;
    const std::string& t = a[i].text;
    for (size_t k = 0; k + 1 < t.size(); k++)
      if (t[k] == '/' && tolower((unsigned char)t[k + 1]) == tolower(letter) &&
          (k + 2 == t.size() || t[k + 2] == '/'))
        return true;
  }
  return false;
}

flags split_flags(const std::vector<std::string>& w) {
  flags f;
  size_t i = 0;
  for (; i < w.size(); i++) {
    const std::string& t = w[i];
    if (t.size() < 2 || t[0] != '-') break;
    f.letters += t.substr(1);
  }
  f.rest.assign(w.begin() + (long)i, w.end());
  return f;
}

std::string strip_slash(std::string p) {
  while (p.size() > 1 && p.back() == '/') p.pop_back();
  return p;
}

std::vector<std::string> files_of(const std::string& w, bool folder_means_its_files) {
  std::string p = builtins::path_of(w);
  std::vector<std::string> r;
  if (file_ops::has_wild(p)) {
    for (const std::string& m : file_ops::glob(p))
      if (!file_ops::is_dir(m)) r.push_back(m);
  } else if (folder_means_its_files && file_ops::is_dir(p)) {
    for (const std::string& n : file_ops::list(p)) {
      std::string f = file_ops::join(strip_slash(p), n);
      if (!file_ops::is_dir(f)) r.push_back(f);
    }
  } else if (file_ops::is_file(p)) {
    r.push_back(p);
  }
  return r;
}


std::vector<std::string> files_of_all(const std::vector<std::string>& words, bool folder_means_its_files,
                                      io& io, int* status) {
  std::vector<std::string> files;
  for (const std::string& w : words) {
    std::vector<std::string> f = files_of(w, folder_means_its_files);
    if (f.empty()) {
      say(io.err, "The system cannot find the file specified: " + w + "\n");
      *status = 1;
    }
    files.insert(files.end(), f.begin(), f.end());
  }
  return files;
}

}  // namespace builtin

namespace {

using namespace builtin;

// Window and process work, and calls of scripts: nothing happens here.
int b_nothing(const args&, io&) { return 0; }

builtins::code_web_fn registered_code_web = nullptr;

// j2h: the code web of this program.  A failure inside it ends that command
// with status 1 (its report is printed), as a tool that failed would.
int b_j2h(const args& a, io& io) {
  if (!registered_code_web) {
    say(io.err, "j2h: this program has no code web\n");
    return 1;
  }
  std::vector<std::string> words;
  for (size_t i = 1; i < a.size(); i++) words.push_back(a[i].text);
  fflush(stdout);
  int status = 1;
  try {
    status = registered_code_web(words);
  } catch (const char*) {
    exut.reset_after_failure();
  } catch (const run_end& end) {
    status = end.status;
  }
  fflush(stdout);
  return status;
}

struct entry {
  const char* word;
  builtins::fn f;
};
const entry table[] = {
    {"copy", b_copy},       {"xcopy", b_xcopy},     {"cptree", b_xcopy},   {"del", b_del},
    {"erase", b_del},       {"type", b_type},       {"cat", b_type},       {"mkdir", b_mkdir},
    {"md", b_mkdir},        {"rmdir", b_rmdir},     {"rd", b_rmdir},       {"rm", b_rm},
    {"mv", b_mv},           {"cp", b_cp},           {"echo", b_echo},      {"dir", b_dir},
    {"cls", b_nothing},     {"sort", b_sort},       {"grep", b_grep},      {"tail", b_tail},
    {"wfind", b_wfind},     {"diffsm", b_diffsm},   {"bmp2png", b_bmp2png}, {"attrib", b_attrib},
    {"cacls", b_nothing},   {"tasklist", b_nothing}, {"taskkill", b_nothing}, {"pskill", b_nothing},
    {"notepad", b_nothing}, {"start", b_nothing},   {"call", b_nothing},   {"can_stat", b_nothing},
    {"cd", b_cd},           {"chdir", b_cd},           {"j2h", b_j2h},
};

}  // namespace

builtins::fn builtins::find(const args& a) {
  if (a.empty()) return nullptr;
  const std::string& w = a[0].text;
  if (ieq(w, "jaco")) return a.size() > 1 && ieq(a[1].text, "cat") ? b_jaco : nullptr;
  for (const entry& e : table)
    if (ieq(w, e.word)) return e.f;
  return nullptr;
}

void builtins::set_code_web(code_web_fn f) { registered_code_web = f; }
builtins::code_web_fn builtins::code_web() { return registered_code_web; }

bool builtins::optional_tool(const args& a) {
  if (a.empty()) return false;
  const std::string& w = a[0].text;
  std::string b = file_ops::base(path_of(w));
  for (const char* t : {"checkweb", "check_ref", "sdep1", "jaco"})
    if (ieq(b, t)) return true;
  return false;
}

bool builtins::opens_for_person(const std::string& word) {
  static const char* const ext[] = {".htm", ".html", ".bat", ".cmd", ".js",  ".vbs", ".pdf",
                                    ".txt", ".doc",  ".rtf", ".xml", ".png", ".gif", ".jpg"};
  for (const char* e : ext)
    if (ends_with_nocase(word, e)) return true;
  return false;
}

std::string builtins::path_of(const std::string& w) {
  if (ieq(w, "NUL")) return "/dev/null";
  return safe_ut.os_name(w.c_str());
}

std::vector<std::string> builtins::expand(const std::string& w) {
  std::string p = path_of(w);
  if (file_ops::has_wild(p)) {
    std::vector<std::string> m = file_ops::glob(p);
    if (!m.empty()) return m;
  }
  return {p};
}

std::string builtins::fixed_pattern(const std::string& w) {
  std::string r;
  for (size_t i = 0; i < w.size(); i++) {
    if (w[i] == '\\' && i + 1 < w.size() && strchr(".[]*^$\\+?(){}|", w[i + 1])) {
      r += w[++i];
      continue;
    }
    r += w[i];
  }
  return r;
}
