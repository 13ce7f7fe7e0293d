// The link checker: reads a list of HTML files and tests every reference in
// them (href, src, img) for a target that exists, the way a browser on this
// platform would find it: case-sensitively, relative to the page's folder.
// It needs no knowledge of the web; it works from a text scan of "=".
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <string>

#include "engine/escape.h"
#include "engine/tree_key.h"
#include "engine/ut_htmst.h"
#include "runtime/exec_ut.h"
#include "runtime/file_probe.h"
#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"
#include "store/Btree.h"

namespace {

const char* const SRC = "ut_htmst_check";

// Text of the report page behind which the closing lines are inserted.
const char report_mark[] = "</p></span></font></pre></body>";
// Double line breaks in the report page lose their first four characters.
const char report_cut[] = "<br/>\n<br/>-?";

// Longest text a value may have: longer ones are cut (a reference of 4000
// characters is no file name).  Names and targets enter the trees through
// tree_key, so long ones stay apart.
constexpr size_t max_value = 4000;

bool starts(const char* p, const char* end, const char* lit) {
  size_t n = strlen(lit);
  return (size_t)(end - p) >= n && memcmp(p, lit, n) == 0;
}

bool starts_nocase(const char* p, const char* end, const char* lit) {
  size_t n = strlen(lit);
  return (size_t)(end - p) >= n && strncasecmp(p, lit, n) == 0;
}

bool ends_with(const std::string& s, const char* tail) {
  size_t n = strlen(tail);
  return s.size() >= n && s.compare(s.size() - n, n, tail) == 0;
}

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

void trim_right(std::string& s) {
  while (!s.empty() && is_blank(s.back())) s.pop_back();
}

// The part of a listed path that the report lines show: in a web's folder
// "xs_<name>" (where the check of a build starts) the path from the web's
// name on; any other path whole.
std::string shown_name(const std::string& file) {
  return file.compare(0, 3, "xs_") == 0 ? file.substr(3) : file;
}

// What the checker learns over all files of one list.
struct check_totals {
  Btree missing;  // key of a target that does not exist -> the target; printed at the end
  unsigned pages = 0;
  unsigned refs = 0;
  unsigned broken = 0;
  unsigned unreadable = 0;  // listed pages that could not be read
};

// The scan of one file.
class file_check {
 public:
  file_check(check_totals& totals, const std::string& file) : t_(totals), file_(file) {
    size_t slash = file_.rfind('/');
    if (slash != std::string::npos) folder_ = file_.substr(0, slash + 1);
  }

  void run() {
    {
      rBuffer rb(file_.c_str(), "");
      rb.low = -10;  // the scan looks back four characters at most
      rb.s2 = 4;     // file offset 4 in window terms; slides move it along
      for (char* p = rb.find(0, "=", nullptr); p; p = rb.find(1, "=", nullptr)) at_equals(rb);
    }
    if (bmp_seen_) safe_ut.replace_in_file(file_.c_str(), ".bmp\"", ".png\"");
  }

 private:
  check_totals& t_;
  std::string file_;
  std::string folder_;  // with its final "/", or empty
  Btree anchors_;       // name -> "D-" defined, "-U" used, "DU" both
  Btree_st st_;
  bool bmp_seen_ = false;

  void at_equals(rBuffer& rb) {
    if (rb.a < rb.s2) return;  // fewer than four characters before it
    const char* eq = rb.z + rb.a;
    const char* end = rb.z + rb.e;
    const char* v = eq + 1;
    if (v >= end || *v == ' ') return;
    const char* w4 = eq - 4;
    const char* w3 = eq - 3;
    if (!memcmp(w4, "name", 4) || !memcmp(w4, "NAME", 4)) {
      anchor_defined(name_value(v, end));
    } else if (!memcmp(w4, "href", 4) || !memcmp(w4, "HREF", 4) || !memcmp(w3, "src", 3) ||
               !memcmp(w3, "SRC", 3) || !memcmp(w3, "img", 3) || !memcmp(w3, "IMG", 3)) {
      const char* resume = reference(v, end);
      if (resume) rb.a = (int)(resume - rb.z);
    }
  }

  // The value of name=: in quotes, or up to the end of the tag.
  static std::string name_value(const char* v, const char* end) {
    const char* q;
    std::string r;
    if (*v == '"' || *v == '\'') {
      char quote = *v++;
      q = v;
      while (q < end && *q != quote) q++;
    } else {
      q = v;
      while (q < end && *q != '>') q++;
    }
    r.assign(v, std::min((size_t)(q - v), max_value));
    trim_right(r);
    return r;
  }

  void anchor_defined(const std::string& name) {
    if (name.empty()) return;
    std::string k = tree_key(name);
    if (!anchors_.Get(k.c_str(), st_)) {
      anchors_.StrIns('e', k.c_str(), "D-");
    } else if (st_.c[0] == '-') {
      anchors_.StrIns('e', k.c_str(), "DU");
    } else {
      printf("\nerror: not unique: #%s : %s", name.c_str(), file_.c_str());
    }
  }

  void anchor_used(const char* p, const char* end) {
    const char* q = p;
    while (q < end && !strchr("\"'> \t\n", *q)) q++;
    std::string name(p, std::min((size_t)(q - p), max_value));
    if (name.empty()) return;
    std::string k = tree_key(name);
    if (!anchors_.Get(k.c_str(), st_))
      anchors_.StrIns('e', k.c_str(), "-U");
    else if (!strcmp(st_.c, "D-"))
      anchors_.StrIns('e', k.c_str(), "DU");
  }

  // A reference at v (behind "href=", "src=" or "img=").  Returns the "=" of
  // a later attribute that was taken instead, so the scan goes on behind it.
  const char* reference(const char* v, const char* end) {
    const char* resume = nullptr;
    if (*v == '"') v++;
    if (v < end && *v == '"') {
      printf("\nerror: empty href in %s", file_.c_str());
      return nullptr;
    }
    // Anchors, scripts and quoted oddities are no file: a later src= or
    // img= of the same tag may still name one.
    while (v < end && *v && strchr("#<'\"", *v)) {
      if (*v == '#') anchor_used(v + 1, end);
      const char* gt = static_cast<const char*>(memchr(v, '>', end - v));
      if (!gt) gt = end;
      const char* later = nullptr;
      for (const char* q = v + 1; q + 4 <= gt && !later; q++)
        if (!memcmp(q, "src=", 4) || !memcmp(q, "SRC=", 4) || !memcmp(q, "img=", 4)) later = q;
      if (!later) return resume;
      resume = later + 3;
      v = later + 4;
      if (v < end && *v == '"') v++;
    }
    if (v >= end) return resume;

    static const char* const left_out[] = {"Ftp:",     "Http:", "mailto:", "javascript:",
                                           "nextPage", "&lt;",  "\\",      "self.location"};
    for (const char* lit : left_out)
      if (starts(v, end, lit)) return resume;
    if ((*v == 'h' || *v == 'f' || *v == 'm') &&
        (starts_nocase(v, end, "http:") || starts_nocase(v, end, "file:") ||
         starts_nocase(v, end, "mailto:")))
      return resume;
    if (starts_nocase(v, end, "https:")) return resume;

    std::string target;
    bool absolute = *v == '/' || (v + 1 < end && v[1] == ':');
    const char* q = v;
    if (absolute) {
      while (q < end && *q != '"' && *q != '>') q++;
      target.assign(v, std::min((size_t)(q - v), max_value));
      trim_right(target);
      if (target == "/") return resume;
    } else {
      while (q < end && !strchr("?>#\"'=", *q)) q++;
      target.assign(v, std::min((size_t)(q - v), max_value));
      if (q < end && *q == '=') {
        // The name of the attribute that follows is no part of the value.
        while (!target.empty() && !is_blank(target.back())) target.pop_back();
      }
      trim_right(target);
    }
    for (char& c : target)
      if (c == '\\') c = '/';
    if (!absolute) target = folder_ + target;
    check_target(target);
    return resume;
  }

  void check_target(std::string target) {
    if (ends_with(target, ".bmp")) {
      bmp_seen_ = true;
      std::string png = target.substr(0, target.size() - 4) + ".png";
      if (safe_ut.ok_is_a(target.c_str()) == 'f') {
        const char* q = target.find_first_of(" \"") == std::string::npos ? "" : "\"";
        snprintf(comm_buf, sizeof comm_buf, "bmp2png -9 %s%s%s  &&  del %s%s%s", q,
                 target.c_str(), q, q, target.c_str(), q);
        safe_ut.system(comm_buf);
      }
      if (safe_ut.ok_is_a(png.c_str()) != 'n') target = png;
    }
    char kind = safe_ut.ok_is_a(target.c_str());
    if (kind == 'n' && target.find('%') != std::string::npos) {
      std::string plain = safe_uts::url_decoded(target);
      char k2 = safe_ut.ok_is_a(plain.c_str());
      if (k2 != 'n') kind = k2;
    }
    if (kind == 'n') {
      if (!ends_with(target, ".mso") && !ends_with(target, "filelist.xml")) {
        t_.broken++;
        printf("\n%-13s -- %s", shown_name(file_).c_str(), target.c_str());
        if (!target.empty()) {
          std::string shown = target.substr(0, std::min(target.size(), (size_t)Btree::max_data));
          t_.missing.StrIns('e', tree_key(target).c_str(), shown.c_str());
        }
      }
    } else if (kind != 'f') {
      printf("\nref_?    %s", target.c_str());
    }
    t_.refs++;
  }
};

bool names_checked_file(const std::string& line) {
  static const char* const kinds[] = {".htm", ".HTM", ".asp", ".css", ".inc", ".ASP"};
  bool any = false;
  for (const char* k : kinds)
    if (line.find(k) != std::string::npos) any = true;
  return any && !ends_with(line, "doc.htm") && !ends_with(line, "src.htm");
}

// The closing lines go into the report page, in front of its end.
void report_into_page(const char* page, const check_totals& t, time_t startTime) {
  std::string web = shown_name(page);
  size_t slash = web.find('/');
  if (slash != std::string::npos) web.resize(slash);
  unsigned secs = safe_uts::fixed_clock() ? 0u : (unsigned)(safe_uts::now() - startTime);

  const char* copy = "x_check_htm";
  FILE* out = safe_ut.create(copy);
  {
    rBuffer rb(page, "");
    if (!rb.find(0, report_mark, out)) {
      safe_ut.close_FILE(&out, SRC, __LINE__);
      exut.show_str("page", page);
      exut.fail(__LINE__, SRC, "System: no \"%s\" in the report page %s\n", report_mark, page);
    }
    fprintf(out,
            "\n<br/>  ----------\n<br/>  <a href=1/1.htm>Web %s</a> : %u Pages, %u Hotspots (%u "
            "broken)\n<br/>  Time to create and check this web: %u sec",
            html_text(web).c_str(), t.pages, t.refs, t.broken, secs);
    rb.copy_rest(out);
  }
  safe_ut.close_FILE(&out, SRC, __LINE__);

  out = safe_ut.create(page);
  {
    rBuffer rb(copy, "");
    while (rb.find(0, report_cut, out)) rb.a += 4;
  }
  safe_ut.close_FILE(&out, SRC, __LINE__);
  safe_ut.remove_file(copy);
}

// A null argument is a failure of the caller.
void need(const char* arg, const char* failure) {
  if (arg) return;
  errno = err::NULL_pointer;
  exut.fail(__LINE__, SRC, "%s", failure);
}

}  // namespace

// ------------------------------------------------------------ link checker

int ut_htmst::check_file(const char* file) {
  need(file, "System: check_file() needs a file\n");
  printf("\nCheck for broken links: %s\n", file);
  return check_through("tmp_check_htm_file", nullptr, safe_uts::now(), [file](const char* list) {
    safe_ut.write_text(list, std::string(file) + "\n");
  });
}

int ut_htmst::check_tree(const char* dir, const char* reportPage, time_t startTime) {
  need(dir, "System: check_tree() needs a folder\n");
  if (safe_ut.ok_is_a(dir) != 'd') {
    exut.show_str("dir", dir);
    exut.fail(__LINE__, SRC, "User: not a folder: %s\n", dir);
  }
  printf("\nCheck for broken links: %s/*.htm\n", dir);
  return check_through("check_htm_dir.tmp", reportPage, startTime,
                       [dir](const char* list) { safe_ut.wfind_list(list, 1, dir); });
}

int ut_htmst::check_through(const char* list, const char* reportPage, time_t startTime,
                            const std::function<void(const char*)>& make_list) {
  make_list(list);
  int broken = check_list(list, reportPage, startTime);
  safe_ut.remove_file(list);
  return broken;
}

int ut_htmst::check_list(const char* listFile, const char* reportPage, time_t startTime) {
  need(listFile, "System: check_list() needs a list file\n");
  check_totals t;
  {
    rBuffer lst(listFile, "\n");
    for (char* p = lst.find(0, "\n", nullptr); p; p = lst.find(1, "\n", nullptr)) {
      const char* from = p + 1;
      const char* end = lst.z + lst.e;
      if (from >= end) break;
      const char* nl = static_cast<const char*>(memchr(from, '\n', end - from));
      std::string line(from, nl ? nl : end);
      trim_right(line);
      if (line.empty() || !names_checked_file(line)) continue;
      if (safe_ut.ok_is_a(line.c_str()) != 'f') {
        printf("\nnot a file__: %s", line.c_str());
        continue;
      }
      // A page that cannot be read is said and counted; the others are
      // still checked.
      std::string why = read_problem(line.c_str());
      if (!why.empty()) {
        printf("\nnot readable: %s (%s)", line.c_str(), why.c_str());
        t.unreadable++;
        continue;
      }
      t.pages++;
      file_check(t, line).run();
    }
  }

  printf("\n\n%8sCheck done: %u references, %u broken (see above).\n", "", t.refs, t.broken);
  if (t.unreadable) printf("%8s%u files could not be read (see above).\n", "", t.unreadable);
  if (reportPage && *reportPage) report_into_page(reportPage, t, startTime);

  unsigned n = 0;
  Btree_st st;
  for (unsigned s = t.missing.GetFirst(st); s; s = t.missing.Next(st)) {
    if (!n++) printf("\n\nMissing are the following targets:\n");
    printf("\n%s", st.c);
  }
  printf("\n\nSo you see: %u targets do not exist.\n", n);
  fflush(stdout);
  return (int)t.broken;
}
