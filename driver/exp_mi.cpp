// Include expansion of a web configuration.
#include "driver/exp_mi.h"

#include <cstdio>
#include <string>

#include "runtime/safe_uts.h"

namespace {

const char* const SRC = "exp_mi";

std::string folder_of(const std::string& path) {
  size_t k = path.find_last_of('/');
  return k == std::string::npos ? std::string(".") : path.substr(0, k);
}

// The file an include line names, in its real spelling; empty if none.
std::string include_file(const std::string& name, const std::string& from) {
  if (name.empty()) return "";
  if (name[0] != '/') {
    std::string beside = safe_ut.real_name((folder_of(from) + "/" + name).c_str());
    if (safe_ut.ok_is_a(beside.c_str()) == 'f') return beside;
  }
  std::string plain = safe_ut.real_name(name.c_str());
  return safe_ut.ok_is_a(plain.c_str()) == 'f' ? plain : "";
}

// The part of an included text that is copied: from the start mark up to the
// stop mark.  The text is seen with a line end in front, so that marks that
// begin with "\n" also match in the first line.
std::string include_part(const std::string& text, const char* startMark, const char* stopMark) {
  std::string t = "\n" + text;
  size_t a = 0;
  if (startMark && *startMark) {
    a = t.find(startMark);
    if (a == std::string::npos) return "";
  }
  size_t e = t.size();
  if (stopMark && *stopMark) {
    size_t k = t.find(stopMark, a + 1);
    if (k != std::string::npos) e = k;
  }
  while (e > a && t[e - 1] == '\n') e--;
  return t.substr(a, e - a);
}

bool is_include_line(const std::string& line, std::string* name) {
  if (line.size() < 3 || line[0] != '-' || line[1] != 'i' || (line[2] != ' ' && line[2] != '\t'))
    return false;
  size_t a = line.find_first_not_of(" \t", 2);
  size_t e = line.find_last_not_of(" \t\r");
  *name = a == std::string::npos ? std::string() : line.substr(a, e + 1 - a);
  for (char& c : *name)
    if (c == '\\') c = '/';
  return true;
}

}  // namespace

int exp_mi(const char* from, const char* to, const char* startMark, const char* stopMark,
           const char* archive) {
  if (!from || !to) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: exp_mi( %s, %s ) without a file name\n", from ? from : "(null)",
              to ? to : "(null)");
  }
  std::string text = safe_ut.read_text(from);
  std::string out;
  out.reserve(text.size() + 1024);
  int missing = 0;
  size_t i = 0;
  bool first = true;
  while (i < text.size()) {
    size_t j = text.find('\n', i);
    if (j == std::string::npos) j = text.size();
    std::string line = text.substr(i, j - i);
    i = j + 1;
    std::string name;
    if (!is_include_line(line, &name)) {
      if (!first) out += '\n';
      out += line;
      first = false;
      continue;
    }
    std::string file = include_file(name, from);
    if (file.empty()) {
      printf("\nAppError: Cannot find include file: %s\n", name.c_str());
      missing++;
      continue;
    }
    std::string part = include_part(safe_ut.read_text(file.c_str()), startMark, stopMark);
    // The part begins with its own line end, unless no start mark cut it.
    if (!part.empty() && part[0] == '\n') {
      if (first) part.erase(0, 1);
    } else if (!first) {
      out += '\n';
    }
    out += part;
    first = false;
    if (archive && *archive) {
      std::string dir = folder_of(archive);
      safe_ut.ensure_dir(dir.c_str());
      std::string copy = dir + "/" + std::string(safe_ut.file_part(file.c_str()));
      safe_ut.copy_file(copy.c_str(), file.c_str());
    }
  }
  out += '\n';
  safe_ut.write_text(to, out);
  fflush(stdout);
  return missing ? 1 : 0;
}
