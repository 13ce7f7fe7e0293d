// The built-in commands that work on files: copy, xcopy and cptree, del,
// type and cat, mkdir, rmdir, rm, mv and cp.
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "runtime/builtins_support.h"
#include "runtime/file_ops.h"
#include "runtime/os_env.h"
#include "runtime/os_stream.h"

namespace builtin {

namespace {

// The words of copy: sources joined by "+" (a concatenation) and at most
// one target; false when the words do not have that form.
bool copy_words(const std::vector<std::string>& w, std::vector<std::string>* srcs, std::string* dst,
                bool* concat) {
  srcs->assign(1, w[0]);
  for (size_t k = 1; k < w.size();) {
    if (w[k] == "+") {
      *concat = true;
      if (k + 1 < w.size()) srcs->push_back(w[k + 1]);
      k += 2;
    } else if (k + 1 == w.size()) {
      *dst = w[k++];
    } else {
      return false;
    }
  }
  return true;
}

// Appends one file to `out`: 0, 1 when it cannot be read, -1 when `out`
// cannot be written.
int append_file(const std::string& f, int out) {
  int in = open_read(f);
  if (in < 0) return 1;
  char buf[65536];
  ssize_t n;
  int r = 0;
  while (r == 0 && (n = read_full(in, buf, sizeof buf)) != 0) {
    if (n < 0) r = 1;
    else if (!write_all(out, buf, (size_t)n)) r = -1;
  }
  os().close(in);
  return r;
}

// Concatenation: all sources in order into one file, written whole.
int concatenate(const std::vector<std::string>& files, const std::string& t, io& io) {
  whole_file target;
  int out = target.open(t, false);
  if (out < 0) {
    say(io.err, "copy: cannot create " + t + "\n");
    return 1;
  }
  int status = 0;
  for (const std::string& f : files) {
    int r = append_file(f, out);
    if (r < 0) {
      target.finish(false);
      say(io.err, "copy: cannot write " + t + "\n");
      return 1;
    }
    if (r > 0) {
      say(io.err, "copy: cannot read " + f + "\n");
      status = 1;
    }
  }
  if (target.finish(true) != 0) {
    say(io.err, "copy: cannot write " + t + "\n");
    return 1;
  }
  return status;
}

}  // namespace

int b_copy(const args& a, io& io) {
  std::vector<std::string> w = plain_words(a);
  std::vector<std::string> srcs;
  std::string dst;
  bool concat = false;
  if (w.empty() || !copy_words(w, &srcs, &dst, &concat)) {
    say(io.err, "The syntax of the command is incorrect.\n");
    return 1;
  }
  int status = 0;
  std::vector<std::string> files = files_of_all(srcs, true, io, &status);
  if (files.empty()) return 1;
  std::string to = dst.empty() ? std::string(".") : builtins::path_of(dst);
  bool to_dir = file_ops::is_dir(to) || (!dst.empty() && (dst.back() == '/' || dst.back() == '\\'));
  if (concat || (files.size() > 1 && !to_dir)) {
    std::string t = to_dir ? file_ops::join(strip_slash(to), file_ops::base(files[0])) : to;
    int c = concatenate(files, t, io);
    return c ? c : status;
  }
  for (const std::string& f : files) {
    std::string t = to_dir ? file_ops::join(strip_slash(to), file_ops::base(f)) : to;
    if (!file_ops::copy_file(f, t)) {
      say(io.err, "copy: cannot copy " + f + " --> " + t + ": " + strerror(errno) + "\n");
      status = 1;
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
    for (const std::string& f : files_of_all({word}, false, io, &status)) {
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

}  // namespace builtin
