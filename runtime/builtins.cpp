// The built-in commands of the command runner.  Each writes its output to
// the handle it is given and its complaints to the error handle, and returns
// an exit status; none of them ends the run.
#include "runtime/builtins.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <set>

#include "runtime/bmp_png.h"
#include "runtime/file_ops.h"
#include "runtime/os_env.h"
#include "runtime/safe_uts.h"
#include "runtime/text_mode.h"

namespace {

using args = builtins::args;
using io = builtins::io;

// Buffered writing to a handle.
class out_buf {
 public:
  explicit out_buf(int fd) : fd_(fd) {}
  ~out_buf() { flush(); }
  void put(const char* p, size_t n) {
    buf_.append(p, n);
    if (buf_.size() >= 65536) flush();
  }
  void put(const std::string& s) { put(s.data(), s.size()); }
  void put(const char* s) { put(s, strlen(s)); }
  bool flush() {
    bool ok = write_all(fd_, buf_.data(), buf_.size());
    buf_.clear();
    return ok;
  }

 private:
  int fd_;
  std::string buf_;
};

void say(int fd, const std::string& s) {
  out_buf o(fd);
  o.put(s);
}

// Lines of a handle as text: CR LF folded into LF, byte 26 ends the text.
class line_reader {
 public:
  explicit line_reader(int fd)
      : text_([fd](char* b, size_t n) { return (long)read_full(fd, b, n); }) {}
  bool next(std::string& line) {
    while (true) {
      size_t nl = buf_.find('\n', at_);
      if (nl != std::string::npos) {
        line.assign(buf_, at_, nl - at_);
        at_ = nl + 1;
        return true;
      }
      if (done_) {
        if (at_ < buf_.size()) {
          line.assign(buf_, at_, std::string::npos);
          at_ = buf_.size();
          return true;
        }
        return false;
      }
      fill();
    }
  }

 private:
  void fill() {
    buf_.erase(0, at_);
    at_ = 0;
    char tmp[65536];
    long n = text_.read(tmp, sizeof tmp);
    if (n > 0) buf_.append(tmp, (size_t)n);
    if (n < (long)sizeof tmp) done_ = true;
  }
  text_reader text_;
  std::string buf_;
  size_t at_ = 0;
  bool done_ = false;
};

int open_read(const std::string& p) { return os().open(p.c_str(), O_RDONLY | O_CLOEXEC, 0); }


bool ieq(const std::string& a, const char* b) { return strcasecmp(a.c_str(), b) == 0; }

bool ends_with_nocase(const std::string& s, const std::string& tail) {
  return s.size() >= tail.size() && strcasecmp(s.c_str() + s.size() - tail.size(), tail.c_str()) == 0;
}

// The words behind the command that are not options.
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

// Unix-like flags ("-rf", "-9", "-n") in front of the other words.
struct flags {
  std::string letters;
  std::vector<std::string> rest;
};
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

// Files named by one argument: a pattern's files, a folder's files, or the
// file itself.
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

// ------------------------------------------------------------ file work

int b_copy(const args& a, io& io) {
  std::vector<std::string> w = plain_words(a);
  if (w.empty()) {
    say(io.err, "The syntax of the command is incorrect.\n");
    return 1;
  }
  std::vector<std::string> srcs{w[0]};
  std::string dst;
  bool concat = false;
  for (size_t k = 1; k < w.size();) {
    if (w[k] == "+") {
      concat = true;
      if (k + 1 < w.size()) srcs.push_back(w[k + 1]);
      k += 2;
    } else if (k + 1 == w.size()) {
      dst = w[k++];
    } else {
      say(io.err, "The syntax of the command is incorrect.\n");
      return 1;
    }
  }
  std::vector<std::string> files;
  int status = 0;
  for (const std::string& s : srcs) {
    std::vector<std::string> f = files_of(s, true);
    if (f.empty()) {
      say(io.err, "The system cannot find the file specified: " + s + "\n");
      status = 1;
    }
    files.insert(files.end(), f.begin(), f.end());
  }
  if (files.empty()) return 1;
  std::string to = dst.empty() ? std::string(".") : builtins::path_of(dst);
  bool to_dir = file_ops::is_dir(to) || (!dst.empty() && (dst.back() == '/' || dst.back() == '\\'));
  if (!concat && (files.size() == 1 || to_dir)) {
    for (const std::string& f : files) {
      std::string t = to_dir ? file_ops::join(strip_slash(to), file_ops::base(f)) : to;
      if (!file_ops::copy_file(f, t)) {
        say(io.err, "copy: cannot copy " + f + " --> " + t + ": " + strerror(errno) + "\n");
        status = 1;
      }
    }
    return status;
  }
  // Concatenation: all sources in order into one file.
  std::string t = to_dir ? file_ops::join(strip_slash(to), file_ops::base(files[0])) : to;
  std::string part = t + ".copy~";
  int out = os().open(part.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (out < 0) {
    say(io.err, "copy: cannot create " + t + "\n");
    return 1;
  }
  for (const std::string& f : files) {
    int in = open_read(f);
    if (in < 0 || !copy_all(in, out)) {
      say(io.err, "copy: cannot read " + f + "\n");
      status = 1;
    }
    if (in >= 0) os().close(in);
  }
  os().close(out);
  if (os().rename(part.c_str(), t.c_str()) != 0) {
    os().unlink(t.c_str());
    if (os().rename(part.c_str(), t.c_str()) != 0) {
      os().unlink(part.c_str());
      say(io.err, "copy: cannot write " + t + "\n");
      return 1;
    }
  }
  return status;
}

// xcopy and cptree: a folder is copied with everything in it.
int b_xcopy(const args& a, io& io) {
  std::vector<std::string> w = plain_words(a);
  if (w.empty()) {
    say(io.err, "Invalid number of parameters\n");
    return 1;
  }
  std::string src = strip_slash(builtins::path_of(w[0]));
  std::string dst = w.size() > 1 ? builtins::path_of(w[1]) : ".";
  bool dst_dir = w.size() > 1 && (w[1].back() == '/' || w[1].back() == '\\');
  dst = strip_slash(dst);
  std::string problems;
  if (file_ops::is_dir(src)) {
    if (!file_ops::copy_tree(src, dst, &problems)) {
      say(io.err, problems.empty() ? "cannot copy " + src + " to " + dst + "\n" : problems);
      return 1;
    }
    return 0;
  }
  std::vector<std::string> files = files_of(w[0], false);
  if (files.empty()) {
    say(io.err, "File not found - " + w[0] + "\n");
    return 1;
  }
  int status = 0;
  bool into = dst_dir || file_ops::is_dir(dst) || files.size() > 1;
  file_ops::make_dirs(into ? dst : file_ops::parent(dst));
  for (const std::string& f : files) {
    std::string t = into ? file_ops::join(dst, file_ops::base(f)) : dst;
    if (!file_ops::copy_file(f, t)) {
      say(io.err, "cannot copy " + f + " --> " + t + "\n");
      status = 1;
    }
  }
  return status;
}

int b_del(const args& a, io& io) {
  for (const std::string& w : plain_words(a)) {
    std::string p = builtins::path_of(w);
    std::vector<std::string> files = files_of(w, true);
    if (files.empty() && !file_ops::is_dir(p)) say(io.err, "Could Not Find " + w + "\n");
    for (const std::string& f : files) os().unlink(f.c_str());
  }
  return 0;
}

// type and cat: the bytes of the files in order, a pattern's files sorted.
int b_type(const args& a, io& io) {
  std::vector<std::string> w = plain_words(a);
  if (w.empty()) return copy_all(io.in, io.out) ? 0 : 1;
  int status = 0;
  for (const std::string& word : w) {
    std::vector<std::string> files = files_of(word, false);
    if (files.empty()) {
      say(io.err, "The system cannot find the file specified: " + word + "\n");
      status = 1;
    }
    for (const std::string& f : files) {
      int in = open_read(f);
      if (in < 0 || !copy_all(in, io.out)) status = 1;
      if (in >= 0) os().close(in);
    }
  }
  return status;
}

int b_mkdir(const args& a, io& io) {
  int status = 0;
  for (const std::string& w : split_flags(plain_words(a)).rest) {
    std::string p = strip_slash(builtins::path_of(w));
    if (file_ops::exists(p)) {
      if (file_ops::is_dir(p)) continue;
      say(io.err, "A subdirectory or file " + w + " already exists.\n");
      status = 1;
    } else if (!file_ops::make_dirs(p)) {
      say(io.err, "cannot make folder " + w + ": " + strerror(errno) + "\n");
      status = 1;
    }
  }
  return status;
}

int b_rmdir(const args& a, io& io) {
  bool tree = has_option(a, 's');
  int status = 0;
  for (const std::string& w : plain_words(a)) {
    std::string p = strip_slash(builtins::path_of(w));
    if (!file_ops::is_dir(p)) {
      say(io.err, "The system cannot find the file specified: " + w + "\n");
      status = 1;
    } else if (tree ? !file_ops::remove_tree(p) : os().rmdir(p.c_str()) != 0) {
      say(io.err, "cannot remove folder " + w + "\n");
      status = 1;
    }
  }
  return status;
}

int b_rm(const args& a, io& io) {
  flags f = split_flags(plain_words(a));
  bool recursive = f.letters.find_first_of("rR") != std::string::npos;
  bool force = f.letters.find('f') != std::string::npos;
  int status = 0;
  for (const std::string& w : f.rest) {
    std::vector<std::string> paths = builtins::expand(w);
    for (const std::string& p : paths) {
      struct stat st;
      if (os().lstat(p.c_str(), &st) != 0) {
        if (!force) {
          say(io.err, "rm: cannot remove '" + p + "': No such file or directory\n");
          status = 1;
        }
      } else if (S_ISDIR(st.st_mode)) {
        if (!recursive) {
          say(io.err, "rm: cannot remove '" + p + "': Is a directory\n");
          status = 1;
        } else if (!file_ops::remove_tree(p)) {
          say(io.err, "rm: cannot remove '" + p + "'\n");
          status = 1;
        }
      } else if (os().unlink(p.c_str()) != 0) {
        say(io.err, "rm: cannot remove '" + p + "'\n");
        status = 1;
      }
    }
  }
  return status;
}

// mv and cp: sources into a folder, or one source to a new name.
int move_or_copy(const args& a, io& io, bool move) {
  flags f = split_flags(plain_words(a));
  bool recursive = move || f.letters.find_first_of("rRa") != std::string::npos;
  if (f.rest.size() < 2) {
    say(io.err, std::string(move ? "mv" : "cp") + ": missing file operand\n");
    return 1;
  }
  std::string dst = builtins::path_of(f.rest.back());
  std::vector<std::string> srcs;
  for (size_t i = 0; i + 1 < f.rest.size(); i++) {
    std::vector<std::string> e = builtins::expand(f.rest[i]);
    srcs.insert(srcs.end(), e.begin(), e.end());
  }
  bool into = file_ops::is_dir(dst);
  if (srcs.size() > 1 && !into) {
    say(io.err, "target '" + dst + "' is not a directory\n");
    return 1;
  }
  int status = 0;
  for (const std::string& s0 : srcs) {
    std::string s = strip_slash(s0);
    std::string t = into ? file_ops::join(strip_slash(dst), file_ops::base(s)) : strip_slash(dst);
    struct stat st;
    if (os().lstat(s.c_str(), &st) != 0) {
      say(io.err, "cannot stat '" + s + "': No such file or directory\n");
      status = 1;
      continue;
    }
    bool dir = S_ISDIR(st.st_mode);
    bool ok;
    if (move && os().rename(s.c_str(), t.c_str()) == 0) continue;
    if (move && errno != EXDEV) {
      ok = false;
    } else if (dir) {
      ok = recursive && file_ops::copy_tree(s, t, nullptr);
      if (ok && move) ok = file_ops::remove_tree(s);
    } else {
      ok = file_ops::copy_file(s, t);
      if (ok && move) ok = os().unlink(s.c_str()) == 0;
    }
    if (!ok) {
      say(io.err, std::string(move ? "mv" : "cp") + ": cannot " + (move ? "move '" : "copy '") + s +
                      "' to '" + t + "'\n");
      status = 1;
    }
  }
  return status;
}

int b_mv(const args& a, io& io) { return move_or_copy(a, io, true); }
int b_cp(const args& a, io& io) { return move_or_copy(a, io, false); }

// ------------------------------------------------------------ text tools

int b_echo(const args& a, io& io) {
  std::string s;
  for (size_t i = 1; i < a.size(); i++) {
    if (i > 1) s += ' ';
    s += a[i].text;
  }
  s += '\n';
  say(io.out, s);
  return 0;
}

int b_dir(const args& a, io& io) {
  std::vector<std::string> w = plain_words(a);
  if (w.empty()) w.push_back(".");
  out_buf o(io.out);
  int status = 0;
  for (const std::string& word : w) {
    std::string p = builtins::path_of(word);
    std::vector<std::string> entries;
    if (file_ops::is_dir(p)) {
      for (const std::string& n : file_ops::list(p)) entries.push_back(file_ops::join(strip_slash(p), n));
      o.put("\n Directory of " + p + "\n\n");
    } else {
      entries = builtins::expand(word);
    }
    for (const std::string& e : entries) {
      struct stat st;
      if (os().stat(e.c_str(), &st) != 0) {
        say(io.err, "File Not Found\n");
        status = 1;
        continue;
      }
      char line[64];
      if (S_ISDIR(st.st_mode))
        snprintf(line, sizeof line, "%-14s ", "<DIR>");
      else
        snprintf(line, sizeof line, "%14lld ", (long long)st.st_size);
      o.put(line);
      o.put(file_ops::base(e));
      o.put("\n", 1);
    }
  }
  return status;
}

// Input of a text tool: the named files, or the input handle.
template <class F>
int each_line(const std::vector<std::string>& files, io& io, F f) {
  if (files.empty()) {
    line_reader r(io.in);
    std::string line;
    while (r.next(line)) f(std::string(), line);
    return 0;
  }
  int status = 0;
  for (const std::string& name : files) {
    int fd = open_read(name);
    if (fd < 0) {
      say(io.err, "cannot open " + name + ": No such file or directory\n");
      status = 2;
      continue;
    }
    line_reader r(fd);
    std::string line;
    while (r.next(line)) f(name, line);
    os().close(fd);
  }
  return status;
}

std::vector<std::string> expand_all(const std::vector<std::string>& w) {
  std::vector<std::string> r;
  for (const std::string& x : w) {
    std::vector<std::string> e = builtins::expand(x);
    r.insert(r.end(), e.begin(), e.end());
  }
  return r;
}

int b_sort(const args& a, io& io) {
  std::vector<std::string> lines;
  int status = each_line(expand_all(plain_words(a)), io,
                         [&](const std::string&, const std::string& l) { lines.push_back(l); });
  std::stable_sort(lines.begin(), lines.end(), file_ops::line_less);
  if (has_option(a, 'r')) std::reverse(lines.begin(), lines.end());
  out_buf o(io.out);
  for (const std::string& l : lines) {
    o.put(l);
    o.put("\n", 1);
  }
  return status;
}

int b_grep(const args& a, io& io) {
  flags f = split_flags(plain_words(a));
  if (f.rest.empty()) {
    say(io.err, "usage: grep [-ivclhn] text [file ...]\n");
    return 2;
  }
  bool nocase = f.letters.find('i') != std::string::npos;
  bool invert = f.letters.find('v') != std::string::npos;
  bool count = f.letters.find('c') != std::string::npos;
  bool names = f.letters.find('l') != std::string::npos;
  bool numbers = f.letters.find('n') != std::string::npos;
  std::string pat = builtins::fixed_pattern(f.rest[0]);
  std::vector<std::string> files = expand_all(std::vector<std::string>(f.rest.begin() + 1, f.rest.end()));
  bool prefix = files.size() > 1 && f.letters.find('h') == std::string::npos;
  if (nocase)
    for (char& c : pat) c = (char)tolower((unsigned char)c);
  out_buf o(io.out);
  long found = 0, in_file = 0, line_nr = 0;
  std::string current;
  bool listed = false;
  auto end_file = [&]() {
    if (count) {
      if (prefix) o.put(current + ":");
      o.put(std::to_string(in_file) + "\n");
    }
  };
  std::string low;
  int status = each_line(files, io, [&](const std::string& name, const std::string& line) {
    if (name != current || line_nr == 0) {
      if (line_nr > 0) end_file();
      current = name;
      in_file = 0;
      line_nr = 0;
      listed = false;
    }
    line_nr++;
    const std::string* hay = &line;
    if (nocase) {
      low = line;
      for (char& c : low) c = (char)tolower((unsigned char)c);
      hay = &low;
    }
    bool hit = (hay->find(pat) != std::string::npos) != invert;
    if (!hit) return;
    found++;
    in_file++;
    if (count) return;
    if (names) {
      if (!listed) o.put((name.empty() ? std::string("(standard input)") : name) + "\n");
      listed = true;
      return;
    }
    if (prefix) o.put(name + ":");
    if (numbers) o.put(std::to_string(line_nr) + ":");
    o.put(line);
    o.put("\n", 1);
  });
  if (line_nr > 0) end_file();
  if (status) return status;
  return found ? 0 : 1;
}

int b_tail(const args& a, io& io) {
  std::vector<std::string> w = plain_words(a);
  long n = 10;
  std::vector<std::string> files;
  for (size_t i = 0; i < w.size(); i++) {
    const std::string& t = w[i];
    if (t == "-n" && i + 1 < w.size()) {
      n = atol(w[++i].c_str());
    } else if (t.size() > 1 && (t[0] == '-' || t[0] == '+') && isdigit((unsigned char)t[1])) {
      n = atol(t.c_str() + 1);
    } else {
      files.push_back(t);
    }
  }
  std::deque<std::string> last;
  int status = each_line(expand_all(files), io, [&](const std::string&, const std::string& l) {
    last.push_back(l);
    if ((long)last.size() > n) last.pop_front();
  });
  out_buf o(io.out);
  for (const std::string& l : last) {
    o.put(l);
    o.put("\n", 1);
  }
  return status;
}

std::string wfind_root(std::string d) {
  if (!d.empty() && d[0] == '-') d.erase(0, 1);
  return strip_slash(builtins::path_of(d));
}

int b_wfind(const args& a, io& io) {
  std::vector<std::string> w = plain_words(a);
  std::string d = wfind_root(w.empty() ? "." : w[0]);
  if (!file_ops::is_dir(d)) {
    say(io.err, "System: no such folder: " + d + "\n");
    return 1;
  }
  out_buf o(io.out);
  file_ops::wfind(d, true, [&](const std::string& p, bool) {
    o.put("\n", 1);
    o.put(p);
  });
  return 0;
}

// jaco cat .<ext> <root> <out>: every file of that extension below root, in
// walk order, each behind a line "\nfile: <path>\n".
int b_jaco(const args& a, io& io) {
  std::vector<std::string> w = plain_words(a);
  if (w.size() < 4) {
    say(io.err, "usage: jaco cat .<ext> <root> <out>\n");
    return 1;
  }
  std::string ext = w[1];
  if (ext.empty() || ext[0] != '.') ext = "." + ext;
  std::string root = wfind_root(w[2]);
  std::string out_name = builtins::path_of(w[3]);
  if (!file_ops::is_dir(root)) {
    say(io.err, "jaco: no such folder: " + root + "\n");
    return 1;
  }
  int out = os().open(out_name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (out < 0) {
    say(io.err, "jaco: cannot create " + out_name + "\n");
    return 1;
  }
  struct stat ost;
  os().fstat(out, &ost);
  int status = 0;
  file_ops::wfind(root, true, [&](const std::string& p, bool is_dir) {
    if (is_dir || !ends_with_nocase(p, ext)) return;
    struct stat st;
    if (os().stat(p.c_str(), &st) == 0 && st.st_ino == ost.st_ino && st.st_dev == ost.st_dev) return;
    say(out, "\nfile: " + p + "\n");
    int in = open_read(p);
    if (in < 0 || !copy_all(in, out)) status = 1;
    if (in >= 0) os().close(in);
  });
  os().close(out);
  return status;
}

// diffsm M <a> <b>: which classes of two class lists are in one, in both.
int b_diffsm(const args& a, io& io) {
  std::vector<std::string> w = plain_words(a);
  if (w.size() < 3) {
    say(io.err, "usage: diffsm M <list1> <list2>\n");
    return 1;
  }
  std::set<std::string> sets[2];
  for (int k = 0; k < 2; k++) {
    std::string name = builtins::path_of(w[1 + k]);
    int fd = open_read(name);
    if (fd < 0) {
      say(io.err, "diffsm: no such file: " + name + "\n");
      continue;
    }
    line_reader r(fd);
    std::string line;
    while (r.next(line)) {
      size_t i = line.find_first_not_of(" \t");
      if (i == std::string::npos || line.compare(i, 6, "class ") != 0) continue;
      size_t b = line.find_first_not_of(" \t", i + 6);
      if (b == std::string::npos) continue;
      size_t e = line.find_last_not_of(" \t");
      sets[k].insert(line.substr(b, e + 1 - b));
    }
    os().close(fd);
  }
  std::vector<std::string> both;
  std::set_intersection(sets[0].begin(), sets[0].end(), sets[1].begin(), sets[1].end(),
                        std::back_inserter(both));
  out_buf o(io.out);
  char line[600];
  for (int k = 0; k < 2; k++) {
    snprintf(line, sizeof line, "%i classes found in %s\n", (int)sets[k].size(), w[1 + k].c_str());
    o.put(line);
    for (const std::string& c : sets[k]) o.put(" class " + c + "\n");
  }
  snprintf(line, sizeof line, "%i classes found in both\n", (int)both.size());
  o.put(line);
  for (const std::string& c : both) o.put(" class " + c + "\n");
  for (int k = 0; k < 2; k++) {
    snprintf(line, sizeof line, "only %s = %i\n", w[1 + k].c_str(), (int)(sets[k].size() - both.size()));
    o.put(line);
  }
  return 0;
}

int b_bmp2png(const args& a, io& io) {
  int status = 0;
  bool any = false;
  for (const std::string& w : split_flags(plain_words(a)).rest) {
    for (const std::string& bmp : builtins::expand(w)) {
      any = true;
      std::string png = ends_with_nocase(bmp, ".bmp") ? bmp.substr(0, bmp.size() - 4) + ".png" : bmp + ".png";
      std::string why;
      if (!bmp_png::convert(bmp, png, &why)) {
        say(io.err, "bmp2png: " + bmp + ": " + why + "\n");
        status = 1;
      }
    }
  }
  if (!any) {
    say(io.err, "usage: bmp2png -9 <file.bmp>\n");
    return 1;
  }
  return status;
}

// attrib -r / +r [/s] [pattern]: makes files writable or read-only.
int b_attrib(const args& a, io& io) {
  int change = 0;  // +1 read-only, -1 writable
  std::string pattern = "*";
  for (const std::string& w : plain_words(a)) {
    if (w.size() == 2 && (w[0] == '+' || w[0] == '-')) {
      if (tolower((unsigned char)w[1]) == 'r') change = w[0] == '+' ? 1 : -1;
    } else {
      pattern = builtins::path_of(w);
    }
  }
  if (!change) return 0;
  bool deep = has_option(a, 's');
  std::string dir = pattern.find('/') == std::string::npos ? "." : file_ops::parent(pattern);
  std::string pat = file_ops::base(pattern);
  if (file_ops::is_dir(pattern)) {
    dir = pattern;
    pat = "*";
  }
  auto apply = [&](const std::string& p) {
    struct stat st;
    if (os().stat(p.c_str(), &st) != 0 || S_ISDIR(st.st_mode)) return;
    mode_t m = change < 0 ? (st.st_mode | S_IWUSR) : (st.st_mode & ~(mode_t)(S_IWUSR | S_IWGRP | S_IWOTH));
    os().chmod(p.c_str(), m & 07777);
  };
  auto here = [&](const std::string& d) {
    for (const std::string& n : file_ops::list(d))
      if (file_ops::wild_match(pat.c_str(), n.c_str())) apply(file_ops::join(d, n));
  };
  here(dir);
  if (deep)
    file_ops::walk(
        dir, [&](const std::string& p, bool is_dir) {
          if (is_dir) here(p);
        },
        [](const std::string&) { return true; });
  (void)io;
  return 0;
}

int b_cd(const args& a, io& io) {
  std::vector<std::string> w = plain_words(a);
  if (w.empty()) {
    std::string here = os().getcwd();
    if (!here.empty()) say(io.out, here + "\n");
    return 0;
  }
  std::string p = builtins::path_of(w[0]);
  if (os().chdir(p.c_str()) != 0) {
    say(io.err, "The system cannot find the path specified: " + w[0] + "\n");
    return 1;
  }
  return 0;
}

// Window and process work, and calls of scripts: nothing happens here.
int b_nothing(const args&, io&) { return 0; }

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
    {"cd", b_cd},           {"chdir", b_cd},
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
