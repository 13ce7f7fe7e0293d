// The model difference meter/code_rose_diff.htm, placed by an outside step,
// read into the script not_in_code.bat: never a crash, and every line of
// the script is its head or a grep of one class name as one word of text; the page of
// classes in documentation, model and code reads it into marked rows.
#include <cstdint>
#include <cstring>
#include <string>

#include "codeweb/java2htm.h"
#include "driver/doc_des.h"
#include "tests/fuzz/fuzz_util.h"

// One word of a script: plain characters, or a quoted text whose quotes
// and "%" inside are doubled and that holds no control character.
static bool one_word(const std::string& w) {
  if (w.empty()) return false;
  if (w.front() != '"') {
    for (char c : w)
      if (!isalnum((unsigned char)c) && !strchr("_$.:-/\\", c)) return false;
    return true;
  }
  if (w.size() < 2 || w.back() != '"') return false;
  std::string in = w.substr(1, w.size() - 2);
  for (size_t i = 0; i < in.size(); i++) {
    unsigned char c = in[i];
    if (c < 32 || c == 127) return false;
    if (c == '"' || c == '%') {
      if (i + 1 >= in.size() || in[i + 1] != (char)c) return false;
      i++;
    }
  }
  return true;
}

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string bat;
  std::string text((const char*)data, size);
  if (!fuzz::accepted([&] { bat = Java2Htm::not_in_code_bat(text); })) return 0;
  const std::string head = "\n: UML Classes not found in Code (?):\n";
  if (bat.compare(0, head.size(), head) != 0) fuzz::finding("the script has no head");
  for (size_t p = head.size(); p < bat.size();) {
    size_t e = bat.find('\n', p + 1);
    std::string line = bat.substr(p, e == std::string::npos ? std::string::npos : e - p);
    const std::string pre = "\n  grep ", post = " ../alles_x";
    if (line.compare(0, pre.size(), pre) != 0 || line.size() <= pre.size() + post.size() ||
        line.compare(line.size() - post.size(), post.size(), post) != 0)
      fuzz::finding("a line that is no grep", line);
    std::string name = line.substr(pre.size(), line.size() - pre.size() - post.size());
    if (!one_word(name)) fuzz::finding("a name that a shell could read", name);
    p = e == std::string::npos ? bat.size() : e;
  }
  // The documentation-against-code page reads the same file: a failure
  // report or rows whose marks are the described ones.
  std::map<std::string, DocDes::duc_marks> rows;
  if (!fuzz::accepted([&] { DocDes::merge_rose_diff(text, rows); })) return 0;
  for (auto& [name, r] : rows)
    if (name.empty() || (r.mark[1] != '.' && r.mark[1] != 'U') || (r.mark[2] != '.' && r.mark[2] != 'C'))
      fuzz::finding("a class row with other marks", name);
  return 0;
}
