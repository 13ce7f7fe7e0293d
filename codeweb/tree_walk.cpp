// The tree listing and the walk over it: which files are taken, the file
// table and the Java page names, the text pages of HTML, CSS and JS
// sources, the sizes by extension, and the removal of stale code webs.
#include <cstring>
#include <map>
#include <set>

#include "codeweb/java2htm.h"
#include "engine/escape.h"
#include "runtime/file_ops.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "tree_walk";

std::string lower(std::string s) {
  for (char& c : s) c = (char)safe_uts::to_lower_char((unsigned char)c);
  return s;
}

// The extension with its dot: one to four characters behind the last dot
// of the last step, else empty (a longer extension is not noticed at all).
std::string extension_of(const std::string& path) {
  size_t dot = path.rfind('.');
  if (dot == std::string::npos) return "";
  size_t n = path.size() - dot - 1;
  if (n < 1 || n > 4 || path.find('/', dot) != std::string::npos) return "";
  return lower(path.substr(dot));
}

const char* const taken[] = {".jsp", ".asp", ".php", ".bas", ".vbs", ".cpp", ".cxx", ".hxx", ".hpp",
                             ".hil", ".hrc", ".rc",  ".rh",  ".h1",  ".h2",  ".h3",  ".pc",  ".sch",
                             ".c",   ".c1",  ".h",   ".htm", ".html", ".css", ".cat", ".mdl", ".cs",
                             ".js",  ".pco", ".cob", ".cbl", ".cpy", ".lib", ".java",
                             // Platform rule: the other spellings of C and C++ files.
                             ".cc",  ".c++", ".hh",  ".inl", ".ipp"};

bool is_taken(const std::string& ext) {
  for (const char* t : taken)
    if (ext == t) return true;
  return false;
}

// The file kind of a taken extension that is neither Java nor a text page.
int kind_of(const std::string& ext) {
  if (ext.compare(0, 4, ".php") == 0) return Java2Htm::k_php;
  for (const char* c : {".cob", ".cbl", ".cpy", ".pco", ".lib"})
    if (ext == c) return Java2Htm::k_cobol;
  switch (ext[1]) {
    case 'j': return Java2Htm::k_jsp;
    case 'a': return Java2Htm::k_asp;
    case 'b': case 'v': return Java2Htm::k_vb;
    default: return Java2Htm::k_c;  // c h r p s x, and the platform's .inl .ipp
  }
}

bool is_text_page(const std::string& ext) {
  return ext == ".htm" || ext == ".html" || ext == ".css" || ext == ".js";
}

std::string folder_of(const std::string& path) {
  size_t s = path.rfind('/');
  return s == std::string::npos ? "" : path.substr(0, s);
}

}  // namespace

struct Java2Htm::walk_state {
  int counter = 10000;             // Java page names: p/c and 4 digits of counter-10000
  std::string prevFolder = "\n";   // no folder yet
  std::map<std::string, long> sizes;
  std::set<std::string> ignored;
};

void Java2Htm::phase3_listing() {
  file_ops::wfind(root, true, [&](const std::string& p, bool d) {
    if (p.find('\n') != std::string::npos) {
      printf("\nskipped (line end in its name): %s", p.c_str());
      return;
    }
    listing.push_back({p, d});
  });
  std::string j1 = "\n" + root;
  for (auto& e : listing) j1 += "\n" + e.first;
  safe_ut.write_text("__j1", j1);
  // The sources an earlier run chose to forget (duplicates that lost, see
  // hide_the_forget_files): their list lives in <j2h>, so it is read before
  // <j2h> is made anew.
  read_forget_list();
  if (!safe_ut.rm_tree_below(root.c_str(), j2h)) exut.fail(__LINE__, SRC, "System: cannot remove %s", j2h.c_str());
  forget_prepared_folders();
  dir_with_css(j2h);
  safe_ut.made_empty(j2h.c_str());
  safe_ut.ensure_dir((j2h + "/index").c_str());
  ERD_to_htm();
  SQL_to_htm();
  dir_with_css(j2h + "/htms");
  for (const char* s : {"package ", "import ", "class ", "try ", "catch(", "return ", "\r", "\n", "\"", "//", "<",
                        "/*", "abstract ", "public ", "protected ", "private ", "interface ", "extends ",
                        "implements ", "throws ", "void ", "static ", ";import "})
    javaStops.insert(s);
  // Frame 3 opens the overview docu.htm; only a generated sample opens
  // the page the know-how step names ("f.htm" would be the frameset itself).
  std::string frame3 = Tips_to_htm();
  write_frameset(sample ? frame3 : "docu.htm");
  open_jscr();
  safe_ut.write_text((root + "/tables.xxx").c_str(), "");
}

void Java2Htm::phase4_walk() {
  walk_state w;
  if ((long)listing.size() + 2 > max_fNr - 1) exut.fail(__LINE__, SRC, "System: too many files\n");
  for (auto& e : listing) walk_line(w, e.first, e.second);
  for (auto& s : w.sizes) tree_put(sizes, s.first, std::to_string(s.second));
}

void Java2Htm::walk_line(walk_state& w, const std::string& path, bool is_dir) {
  // The skip rules look at the path below the root only, so that a root
  // that itself lies below a folder "bin" keeps working.
  std::string rel = lower(shown(path)) + (is_dir ? "/" : "");
  if (is_dir && rel.size() >= 5 && rel.compare(rel.size() - 5, 5, "/j2h/") == 0) {
    // A code web of an older run inside the tree; a folder of the user's
    // that only has the name is kept.
    if (path != j2h && safe_ut.ok_is_a((path + "/f.htm").c_str()) == 'f' &&
        safe_ut.ok_is_a((path + "/j2h.css").c_str()) == 'f') {
      printf("\nrm -rf %s", path.c_str());
      safe_ut.rm_tree_below(root.c_str(), path);
    }
    return;
  }
  for (const char* skip : {"/publish/", "/j2h/", "/bin/", ".old/", ".alt/"})
    if (rel.find(skip) != std::string::npos) return;
  if (archive_mode()) {
    create_path_under_ourRoot(path, is_dir);
    return;
  }
  if (is_dir) return;
  // A source on the list of forgotten duplicates is not taken (the file
  // itself stays as it is).
  if (forgotten(path)) return;
  std::string ext = extension_of(path);
  if (ext.empty()) {
    note_not_analysed(path);
    return;
  }
  if (ext != ".pdf") w.sizes[ext] += safe_ut.file_size(path.c_str());
  if (!is_taken(ext)) {
    if (w.ignored.insert(ext).second) printf("\nignored: *%s", ext.c_str());
    note_not_analysed(path);
    return;
  }
  // A file that cannot be read to its end (no right to read it, a pipe, a
  // device) is named and passed over.
  if (!safe_ut.readable_input(path.c_str())) {
    printf("\nnot readable, skipped: %s", path.c_str());
    return;
  }
  if (ext == ".java")
    take_java(w, path);
  else
    take_other(w, path, ext);
}

// Java: a row "p<nnnn>.<folder>" for each new folder and "c<nnnn>.<path>"
// for each file, both lower case.  The counter starts at 10000 and is
// raised before each use, so the first name ends in 1 (p0001, then
// c0002).  Beyond 9999 rows the names simply get more digits.
void Java2Htm::take_java(walk_state& w, const std::string& path) {
  std::string folder = folder_of(path);
  if (!see.empty() && not_selected(folder.c_str())) return;
  if (!selection.empty() && path.find(selection) == std::string::npos) return;
  char name[32];
  if (folder != w.prevFolder) {
    snprintf(name, sizeof name, "p%04i.", ++w.counter - 10000);
    srcfile(__LINE__, (name + lower(folder)).c_str(), k_java);
    tree_put(dirsFor, lower(shown(folder)), std::string(name, strlen(name) - 1));
    w.prevFolder = folder;
  }
  snprintf(name, sizeof name, "c%04i.", ++w.counter - 10000);
  std::string key = name + lower(path);
  int n = srcfile(__LINE__, key.c_str(), k_java);
  fReal[n] = path;
  std::string base = path.substr(path.rfind('/') + 1);
  tree_put(classNames, base.substr(0, base.size() - 5), key.substr(0, strlen(name) - 1));
  nSources++;
  count_lines(path);
}

void Java2Htm::take_other(walk_state& w, const std::string& path, const std::string& ext) {
  if (ext == ".js") js_functions(path);
  if (!selection.empty() && path.find(selection) == std::string::npos) return;
  if (ext == ".cat" || ext == ".mdl") {
    // The model stream only.
    std::string text = safe_ut.read_text(path.c_str());
    FILE* f = safe_ut.open_append("xx_ALLRose");
    safe_ut.write_FILE(f, text.data(), (long)text.size());
    safe_ut.close_FILE(&f, SRC, __LINE__);
    roseStream = true;
    return;
  }
  nSources++;
  if (is_text_page(ext)) {
    htms_page(path, ext);
    return;
  }
  count_lines(path);
  to_incNames(path);
  int n = srcfile(__LINE__, lower(path).c_str(), kind_of(ext));
  if (fReal[n] == fPath[n]) fReal[n] = path;
}

void Java2Htm::count_lines(const std::string& path) { count_lines_of(safe_ut.read_text(path.c_str())); }

void Java2Htm::count_lines_of(const std::string& text) {
  for (char c : text)
    if (c == '\n') locTotal++;
  if (!text.empty() && text.back() != '\n') locTotal++;
}

// The source as text: "<" as "&lt;", its count of tags in the footer.
void Java2Htm::htms_page(const std::string& path, const std::string& ext) {
  std::string text = safe_ut.read_text(path.c_str());
  count_lines_of(text);
  std::string out;
  int tags = 0;
  for (char c : text) {
    if (c == '<') {
      out += "&lt;";
      tags++;
    } else {
      out += c;
    }
  }
  int nr = ++htmNr;
  std::string name = html_text(shown(path));
  FILE* f = open_page(j2h + "/htms/" + std::to_string(nr) + ".htm", name.c_str());
  fprintf(f, "<pre>");
  safe_ut.write_FILE(f, out.data(), (long)out.size());
  fprintf(f, "</pre>\n<br><font size=1>%i HTM Commands = <br>%s</font></BODY></HTML>\n", tags, name.c_str());
  safe_ut.close_FILE(&f, SRC, __LINE__);
  htmList.push_back({shown(path), nr});  // htm.htm and css.htm are written with the JSP pages
  htmTags.push_back(tags);
}

// notA.htm lists the files no reader takes, except the files that runs of
// this program write beside the sources (the alles_* concatenations, the
// .xxx files, No_trace_for, the exchange folder index/): a second run must
// list what the first one listed.
void Java2Htm::note_not_analysed(const std::string& path) {
  if (path.compare(0, root.size() + 7, root + "/index/") == 0) return;
  size_t slash = path.rfind('/');
  if (slash == root.size() && path.compare(0, root.size(), root) == 0) {
    std::string name = path.substr(slash + 1);
    if (name.compare(0, 6, "alles_") == 0 || name == "No_trace_for" ||
        (name.size() > 4 && name.compare(name.size() - 4, 4, ".xxx") == 0))
      return;
  }
  notAnalysed.push_back(path);
}

// Archive mode: the tree is re-created under ourRoot, folders made and
// files copied; every target stays below ourRoot.
void Java2Htm::create_path_under_ourRoot(const std::string& path, bool is_dir) {
  std::string rel = shown(path);
  if (rel.find("/../") != std::string::npos) return;
  std::string to = ourRoot + rel;
  if (is_dir)
    safe_ut.ensure_dir(to.c_str());
  else
    safe_ut.copy_file_deep(to.c_str(), path.c_str());
}
