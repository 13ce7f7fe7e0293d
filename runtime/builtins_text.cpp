// The built-in text tools: echo, sort, grep, tail and diffsm.  Their input
// is read as text: CR LF folded, Ctrl-Z the end.
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <deque>
#include <iterator>
#include <set>

#include "runtime/builtins_support.h"
#include "runtime/file_ops.h"
#include "runtime/os_env.h"

namespace builtin {

namespace {

// Why an input could not be opened.
std::string why_not(int e) { return e == EINVAL ? "not a regular file" : "No such file or directory"; }

// Reads the lines of one handle into `f`; 2 (after a word on the error
// handle) when a line passes line_reader::max_line.
template <class F>
int lines_of(int fd, const std::string& name, io& io, F& f) {
  line_reader r(fd);
  std::string line;
  while (r.next(line)) f(name, line);
  if (!r.too_long) return 0;
  say(io.err, (name.empty() ? std::string("input") : name) + ": a line longer than " +
                  std::to_string(line_reader::max_line) + " bytes\n");
  return 2;
}

// Input of a text tool: the named files, or the input handle.
template <class F>
int each_line(const std::vector<std::string>& files, io& io, F f) {
  if (files.empty()) return lines_of(io.in, std::string(), io, f);
  int status = 0;
  for (const std::string& name : files) {
    int fd = open_read(name);
    if (fd < 0) {
      say(io.err, "cannot open " + name + ": " + why_not(errno) + "\n");
      status = 2;
      continue;
    }
    if (lines_of(fd, name, io, f)) status = 2;
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

}  // namespace

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

int b_sort(const args& a, io& io) {
  std::vector<std::string> lines;
  int status = each_line(expand_all(plain_words(a)), io,
                         [&](const std::string&, const std::string& l) { lines.push_back(l); });
  std::stable_sort(lines.begin(), lines.end(), file_ops::line_less);
  if (has_option(a, 'r')) std::reverse(lines.begin(), lines.end());
  put_lines(io.out, lines);
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
  put_lines(io.out, last);
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

}  // namespace builtin
