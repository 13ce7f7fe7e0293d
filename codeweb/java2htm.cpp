// The object of one code web: construction, the file table, the root
// argument with its control file, and the order of the phases of
// make_htm_dir.  The phases themselves live in tree_walk.cpp (listing and
// walk), frame_pages.cpp (the frames and lists) and report_pages.cpp (the
// pages of the know-how, XML and JScript, and the closing files).
#include "codeweb/java2htm.h"

#include <cstring>

#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "java2htm";

void open_tree(Btree& t, const char* name) {
  t.name = name;
  t.quiet = 1;
  t.init(nullptr, 0);
}
}  // namespace

Java2Htm::Java2Htm() : javaStops("javaStops") {
  struct {
    Btree* t;
    const char* n;
  } trees[] = {{&javaClasses, "javaClasses"}, {&ourPackages, "ourPackages"}, {&codef, "codef"},
               {&javaDefs, "javaDefs"},       {&javaImports, "javaImports"}, {&dirsFor, "dirsFor"},
               {&nameNr, "nameNr"},           {&superClasses, "superClasses"}, {&cppsecs, "cppsecs"},
               {&javaKinds, "javaKinds"},     {&sizes, "sizes"},           {&classNames, "classNames"},
               {&fileNrs, "fileNrs"}};
  for (auto& e : trees) open_tree(*e.t, e.n);
  fPath.push_back("");
  fReal.push_back("");
  fKind.push_back(0);
  is_inc_for.push_back(0);
  // The work files of the readers, in the working folder, made at once.
  dvcAtStart = safe_ut.ok_is_a("xx_dvc") == 'f';
  for (const char* f : {"xx_src", "xx_code_mo", "xx_ALLRose", "xx_ALLRose.sk", "xx_ALLCode"})
    safe_ut.write_text(f, "");
}

void Java2Htm::tree_put(Btree& t, const std::string& k, const std::string& v) {
  std::string key = k.substr(0, 252);
  if (key.empty()) return;
  std::string val = v.substr(0, std::min(v.size(), (size_t)Btree::max_data));
  t.StrIns('e', key.c_str(), val.c_str());
}

std::string Java2Htm::shown(const std::string& path) const {
  if ((int)path.size() >= rootLen && path.compare(0, rootLen, root) == 0) return path.substr(rootLen);
  return path;
}

// ------------------------------------------------------------ file table

int Java2Htm::srcfile(int line, const char* path, int kind) {
  if (!path) safe_uts::null_pointer(line, SRC);
  std::string key = path;
  Btree_st st;
  std::string k = key.substr(0, 252);
  // Keys longer than a tree holds are told apart by the table itself.
  if (key.size() <= 252 && fileNrs.Get(k.c_str(), st)) return atoi(st.c);
  if (key.size() > 252)
    for (int i = 1; i <= cfNr; i++)
      if (fPath[i] == key) return i;
  if (cfNr + 1 >= max_fNr) {
    exut.show_int("max_fNr", max_fNr);
    exut.show_int("cfNr", cfNr);
    exut.fail(line, SRC, "System: too many files\n");
  }
  cfNr++;
  fPath.push_back(key);
  fReal.push_back(key);
  fKind.push_back(kind);
  is_inc_for.push_back(0);
  if (key.size() <= 252) fileNrs.StrIns('e', k.c_str(), std::to_string(cfNr).c_str());
  return cfNr;
}

const char* Java2Htm::nr2(int n) { return strNr2(n, ""); }

const char* Java2Htm::strNr2(int n, const char* prefix) {
  static char buf[600];
  snprintf(buf, sizeof buf, "%s%i/%i", prefix, n / 100, n % 100);
  return buf;
}

bool Java2Htm::not_selected(const char* path) const {
  std::string p = path;
  for (char& c : p)
    if (c == '\\') c = '/';
  for (const std::string& s : see)
    if (p.find(s) != std::string::npos) return false;
  return true;
}

// ------------------------------------------------------------ the root

// "[title]root[=selection]": the title is cut first, then the selection,
// then trailing slashes; the rest must be a folder.  A folder whose name
// ends in ".j2h" holds the control file "control"; the root is then the
// folder above it.
void Java2Htm::phase1_args(const char* root_arg) {
  std::string r = root_arg ? root_arg : "";
  if (!r.empty() && r[0] == '[') {
    size_t e = r.find(']');
    if (e != std::string::npos) {
      title = r.substr(1, e - 1);
      r = r.substr(e + 1);
    }
  }
  size_t eq = r.find('=');
  if (eq != std::string::npos) {
    selection = r.substr(eq + 1);
    r = r.substr(0, eq);
  }
  for (char& c : r)
    if (c == '\\') c = '/';
  while (r.size() > 1 && r.back() == '/') r.pop_back();
  if (r.empty() || safe_ut.ok_is_a(r.c_str()) != 'd') exut.fail(__LINE__, SRC, "User: No such folder: %s", r.c_str());
  if (r.size() > 4 && r.compare(r.size() - 4, 4, ".j2h") == 0) {
    read_control_file(r + "/control");
    size_t slash = r.rfind('/');
    r = slash == std::string::npos ? "." : slash == 0 ? "/" : r.substr(0, slash);
  }
  root = r;
  rootLen = (int)root.size();
  j2h = root + "/j2h";
}

// Lines "-<letter><text>"; other lines are passed over.
void Java2Htm::read_control_file(const std::string& file) {
  if (safe_ut.ok_is_a(file.c_str()) != 'f') exut.fail(__LINE__, SRC, "User: not found: %s", file.c_str());
  std::string text = safe_ut.read_text(file.c_str());
  std::vector<std::string> lines;
  for (size_t a = 0; a <= text.size();) {
    size_t e = text.find('\n', a);
    if (e == std::string::npos) e = text.size();
    lines.push_back(text.substr(a, e - a));
    a = e + 1;
  }
  for (size_t i = 0; i < lines.size(); i++) {
    const std::string& l = lines[i];
    if (l.size() < 2 || l[0] != '-') continue;
    char c = l[1];
    std::string v = l.substr(2);
    while (!v.empty() && v[0] == ' ') v.erase(0, 1);
    if (c >= '0' && c <= '3') {
      titles[c - '0'] = v;
      if (c == '3') titles[2] = v;  // 3 replaces the title line of 2
    } else if (c == 'A') {
      all_href = v;
    } else if (c == 'D') {
      knowhow_href = v;
    } else if (c == 'L') {
      if ((int)docs.size() >= e_doc) exut.fail(__LINE__, SRC, "e_doc: more than %i L lines in %s", e_doc, file.c_str());
      docs.push_back({v, i + 1 < lines.size() ? lines[++i] : ""});
    } else if (c == 's') {
      if ((int)see.size() >= e_see) exut.fail(__LINE__, SRC, "e_see: more than %i s lines in %s", e_see, file.c_str());
      for (char& ch : v)
        if (ch == '\\') ch = '/';
      see.push_back(v);
    } else {
      exut.show_str("c-2", l.c_str());
      exut.fail(__LINE__, SRC, "User: unknown letter in %s", file.c_str());
    }
  }
}

// The concatenation of all files of one extension into <root>/alles_<ext>.
void Java2Htm::do_alles(const char* ext) {
  if (root.find('"') != std::string::npos) return;  // a quote cannot be passed as one word
  snprintf(comm_buf, sizeof comm_buf, "+jaco cat .%s \"%s\" \"%s/alles_%s\"", ext, root.c_str(), root.c_str(), ext);
  safe_ut.system(comm_buf);
}

// ------------------------------------------------------------ the phases

void Java2Htm::make_htm_dir(const char* exe_, const char* root_arg, const char* opt_, const char* ourRoot_) {
  exe = exe_ ? exe_ : "j2h";
  opt = opt_ ? opt_ : "";
  phase1_args(root_arg);
  if (ourRoot_) {
    ourRoot = ourRoot_;
    if (safe_ut.ok_is_a(ourRoot.c_str()) != 'd') exut.fail(__LINE__, SRC, "User: no such ourRoot: %s", ourRoot.c_str());
  }
  if (ourRoot.empty()) {
    for (const char* e : {"mak", "dsp", "dsw", "cpp", "cat", "mdl", "rc"}) do_alles(e);
    if (root.find('"') == std::string::npos) {
      snprintf(comm_buf, sizeof comm_buf, "+jaco dep \"%s\"", root.c_str());
      safe_ut.system(comm_buf);
    }
  }
  sample = safe_ut.ok_is_a((root + "/our_ERD.txt").c_str()) == 'f';          // phase 2
  dotRoot = root[0] == '.';
  date = safe_ut.today();
  clock.step("1-2 arguments, alles_*");
  phase3_listing();
  phase4_walk();
  clock.step("3-4 listing and walk");
  if (!ourRoot.empty()) {                                                    // phase 5
    printf("\no k  -  Archive = %s\n", ourRoot.c_str());
    archive = true;
    ended = true;
    return;
  }
  phase6_documents();
  phase7_java();
  phase8_class_lists();
  clock.step("6-8 Java");
  phase9_jsp();                                                              // 9 JSP
  phase10_asp();                                                             // 10 ASP
  clock.step("9-10 JSP, ASP");
  phase11_vb();                                                              // 11 VB
  phase12_classes();
  clock.step("11-12 VB, classes");
  phase13_cpp();                                                             // 13 C, C++, C#
  clock.step("13 C and C++ pages");
  phase14_class_pages();                                                     // 14
  phase15_types();                                                           // 15
  show_notFound();
  phase15_reports();
  clock.step("14-15 class maps, types");
  phase16_ourDoc();
  phase17_overview();
  clock.step("16-17 overview");
  cpp_Dialogs();                                                             // 18
  show_imports();
  check_imports();
  ADD_inc_structure();
  clock.step("include relation");
  create_exe_List(true);
  create_exe_List(false);
  show_rootClasses();
  clock.step("18 roots");
  show_incsMe_Relation();
  clock.step("include relation");
  code_vs_rose();
  code_vs_ccom();
  show_metrics();
  phase19_bat();
  phase20_php();                                                             // 20 PHP
  clock.step("20 PHP");
  phase21_cobol();                                                           // 21 COBOL
  clock.step("21 COBOL");
  phase22_closing();
  add_htm_entry_Links();
  ADD_namespaces_to_packages();
  clock.step("19-22 closing");
}

Java2Htm::~Java2Htm() {
  safe_ut.made_empty("");
  if (jscr) safe_ut.close_FILE(&jscr, SRC, __LINE__);
  if (check_jnt) safe_ut.close_FILE(&check_jnt, SRC, __LINE__);
  if (!ended || archive) return;  // a failed run leaves no reports
  try {
    closing_files();
    clock.step("destructor");
    clock.report();
  } catch (const char*) {
    exut.reset_after_failure();
  } catch (...) {
    // A destructor cannot pass on the end of the run that a command asked
    // for (the runner's missing-tool rule): the reports stop here instead.
    exut.reset_after_failure();
  }
}

void Java2Htm::append_text(const std::string& path, const std::string& text) {
  if (!holdAppends) {
    FILE* f = safe_ut.open_append(path.c_str());
    safe_ut.write_FILE(f, text.data(), (long)text.size());
    safe_ut.close_FILE(&f, SRC, __LINE__);
    return;
  }
  FILE*& f = heldAppends[path];
  if (!f) f = safe_ut.open_append(path.c_str());
  safe_ut.write_FILE(f, text.data(), (long)text.size());
}

// The end of the loop: each held file is closed, a failing close reported.
void Java2Htm::held_appends::release() {
  web.holdAppends = false;
  for (auto& [path, f] : web.heldAppends)
    if (f) safe_ut.close_FILE(&f, SRC, __LINE__);
  web.heldAppends.clear();
}

// A loop left by a failure: the run ends with that failure's report, so
// the files are only closed.
Java2Htm::held_appends::~held_appends() {
  if (!web.holdAppends) return;
  web.holdAppends = false;
  for (auto& [path, f] : web.heldAppends)
    if (f) fclose(f);
  web.heldAppends.clear();
}
