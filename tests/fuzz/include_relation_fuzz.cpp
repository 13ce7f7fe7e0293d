// The include relation on a small fuzzed tree.  Each input line that does
// not begin with "#" names a file below "src" (the first few are written
// to disk as well, so that the folder search finds files never walked);
// each line beginning with "#" is a directive of the last file named.
// The names are registered as the walk registers them, every directive
// goes through cpp_include, and then the structure, the lists, fdep.htm
// and notfound.htm are written.
//
// Oracles: no edge from a file to itself, every edge between numbered
// files and its target marked as included; a directive that is not an
// include stands escaped as it came; a tail with a path belongs to that
// path; a resolved name is a numbered file or one on disk.
#include <cstdint>
#include <string>
#include <vector>

#include "codeweb/java2htm.h"
#include "engine/escape.h"
#include "runtime/safe_uts.h"
#include "tests/fuzz/fuzz_util.h"

namespace {

// A relative path below "src" made of the line: no "..", no empty steps,
// no NUL, at most 120 bytes.
std::string file_of(const std::string& line) {
  std::string out = "src";
  size_t a = 0;
  while (a <= line.size() && out.size() < 120) {
    size_t e = line.find('/', a);
    if (e == std::string::npos) e = line.size();
    std::string step = line.substr(a, e - a);
    if (!step.empty() && step != "." && step != ".." && step.find('\0') == std::string::npos) out += "/" + step;
    a = e + 1;
  }
  return out == "src" ? "" : out.substr(0, 120);
}

std::string lower(std::string s) {
  for (char& c : s) c = (char)safe_uts::to_lower_char((unsigned char)c);
  return s;
}

void check(Java2Htm& web) {
  Btree_st st;
  for (unsigned ok = web.incNames.Getmin_At(st, ">"); ok && st.k[0] == '>'; ok = web.incNames.Next(st)) {
    int from = atoi(st.k + 1);
    const char* eq = strchr(st.k, '=');
    int to = eq ? atoi(eq + 1) : 0;
    if (from == to) fuzz::finding("self edge", st.k);
    if (from < 1 || to < 1 || from > web.cfNr || to > web.cfNr) fuzz::finding("edge beyond the table", st.k);
    if (!web.is_inc_for[to]) fuzz::finding("included file not marked", st.k);
  }
  for (unsigned ok = web.incs.GetFirst(st); ok; ok = web.incs.Next(st)) {
    std::string path = st.c, tail = st.k;
    if (!path.empty() && (path.size() <= tail.size() || path.compare(path.size() - tail.size(), tail.size(), tail) ||
                          path[path.size() - tail.size() - 1] != '/'))
      fuzz::finding("tail of another path", tail + " -> " + path);
  }
}

void run(const std::string& text) {
  Java2Htm web;
  web.root_argument("src");
  int last = 0, written = 0, files = 0;
  size_t a = 0;
  while (a < text.size()) {
    size_t e = text.find('\n', a);
    if (e == std::string::npos) e = text.size();
    std::string line = text.substr(a, e - a);
    a = e + 1;
    if (!line.empty() && line[0] == '#') {
      if (!last) continue;
      std::string html = web.cpp_include(last, line);
      if (line.compare(0, 8, "#include") && html != html_text(line)) fuzz::finding("changed text", line);
      continue;
    }
    std::string path = file_of(line);
    if (path.empty()) continue;
    // Every third file is walked and on disk, the next walked only, the
    // next on disk only (outside the selection); a few files on disk.
    int role = files++ % 3;
    if (role != 1 && written < 6) {
      written++;
      std::error_code ec;
      std::filesystem::create_directories(path.substr(0, path.rfind('/')), ec);
      if (FILE* f = fopen(path.c_str(), "wb")) fclose(f);
    }
    if (role == 2) continue;
    web.to_incNames(path);
    last = web.srcfile(__LINE__, lower(path).c_str(), Java2Htm::k_c);
    web.fReal[last] = path;
  }
  std::string out;
  if (last && web.make_path(web.fReal[last], out, "x.h") && web.real_of(out).empty()) {
    bool numbered = false;
    for (int i = 1; i <= web.cfNr; i++) numbered |= web.fPath[i] == out;
    if (!numbered) fuzz::finding("resolved to nothing", out);
  }
  check(web);
  web.show_the_CPP_includes();
  web.ADD_inc_structure();
  web.show_incsMe_Relation();
  web.show_notFound();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::scratch();
  std::error_code ec;
  std::filesystem::remove_all("src", ec);
  std::filesystem::remove_all("tempNr", ec);
  std::filesystem::create_directories("src/j2h", ec);
  try {
    run(std::string(reinterpret_cast<const char*>(data), size));
  } catch (const char*) {
    exut.reset_after_failure();
  }
  return 0;
}
