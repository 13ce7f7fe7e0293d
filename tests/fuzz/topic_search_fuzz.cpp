// Files of other webs and of code webs that the index and the topic pages
// read: another web's "profs/search" and a code web's "j2h/docu_files"
// with the page it names.  Any bytes there must give entries and pages or
// be passed over, never a crash, and no page may be written outside the
// web.  The input is split at NUL bytes: the search file, the list
// "docu_files", the code page "p.htm".
#include <stdlib.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

namespace {

const std::string& work_dir() {
  static std::string dir;
  if (dir.empty()) {
    char tmpl[] = "/tmp/fuzz_topic_search.XXXXXX";
    if (!mkdtemp(tmpl)) abort();
    dir = tmpl;
    if (chdir(dir.c_str()) != 0) abort();
  }
  return dir;
}

// The next part of the input, up to a NUL byte or the end.
std::string part(const char*& p, const char* end) {
  const char* nul = static_cast<const char*>(memchr(p, 0, end - p));
  std::string s(p, nul ? nul : end);
  p = nul ? nul + 1 : end;
  return s;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string& dir = work_dir();
  const char* p = reinterpret_cast<const char*>(data);
  const char* end = p + size;
  safe_ut.rm_and_make_dir("xs");
  safe_ut.ensure_dir("xs_other/profs");
  safe_ut.ensure_dir("code/j2h");
  safe_ut.write_text("xs_other/profs/search", part(p, end));
  safe_ut.write_text("code/j2h/docu_files", part(p, end));
  safe_ut.write_text("code/j2h/p.htm", part(p, end));
  try {
    ut_htm ut;
    ut.web.web_name = "Fz";
    ut.web.comms.resize(3);
    ut.web.comms[2].com = 'j';
    ut.web.comms[2].src = dir + "/code";
    topic_record r;
    r.head = "Topics";
    r.phrase = "Billing";
    r.web_number = 1;
    r.web_path = dir + "/xs_other";
    r.web_name = "Other";
    topic_record s = r;
    s.label = "Sub";
    s.phrase = "a";
    s.mark = '.';
    ut.web.folders = {r, s};
    Btree index;
    prepare_tree(index, "index");
    ut.docu_files_index(index);
    empty_tree(index);
    ut.make_topicPages("xs");
  } catch (const char*) {
    // A named limit is a failure report, the described answer.
    exut.reset_after_failure();
  }
  return 0;
}
