// The built-in commands that list or walk folders, or change what is in
// them: dir, wfind, jaco cat, bmp2png, attrib and cd.
#include <fcntl.h>
#include <sys/stat.h>

#include <cctype>
#include <cstdio>

#include "runtime/bmp_png.h"
#include "runtime/builtins_support.h"
#include "runtime/file_ops.h"
#include "runtime/os_env.h"

namespace builtin {

namespace {

std::string wfind_root(std::string d) {
  if (!d.empty() && d[0] == '-') d.erase(0, 1);
  return strip_slash(builtins::path_of(d));
}

}  // namespace

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
// walk order, each behind a line "\nfile: <path>\n".  ".cpp" stands for every
// C and C++ implementation file (.c, .cc, .cxx, .c++, .cpp), so that C trees
// get a call relation too; other extensions are taken as they are.
namespace {
bool takes(const std::string& path, const std::string& ext) {
  if (!ends_with_nocase(path, ext) && ext == ".cpp") {
    for (const char* e : {".c", ".cc", ".cxx", ".c++"})
      if (ends_with_nocase(path, e)) return true;
    return false;
  }
  return ends_with_nocase(path, ext);
}
}  // namespace

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
    if (is_dir || !takes(p, ext)) return;
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
    pat.assign(1, '*');  // the form that does not trip a false warning of the compiler
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

}  // namespace builtin
