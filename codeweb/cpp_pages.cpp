// The pages of C and C++ sources (phase 13): the lists cpp.htm, cs.htm and
// cpps.htm, and one page per file of kind 5 made by the reader of
// codeweb/cpp_reader.h, whose rows go into the trees of the object.
#include <algorithm>
#include <cctype>

#include "codeweb/code_lex.h"
#include "codeweb/cpp_reader.h"
#include "codeweb/java2htm.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

using codelex::fmt;

namespace {

const char* const SRC = "cpp_pages.cpp";

std::string base_of(const std::string& path) { return path.substr(path.find_last_of('/') + 1); }

std::string upper(std::string s) {
  for (char& c : s) c = (char)toupper((unsigned char)c);
  return s;
}

bool ends_with(const std::string& s, const char* e) {
  size_t n = strlen(e);
  return s.size() >= n && s.compare(s.size() - n, n, e) == 0;
}

// The trees of the object as the reader sees them.
struct web_sink : cpp_sink {
  Java2Htm& web;
  int fNr;
  std::string impl;  // page of the implementation file beside a header

  web_sink(Java2Htm& w, int n) : web(w), fNr(n) {
    page_head = web.head;
    title_head = web.title_head;
    title_tail = web.title_tail;
  }

  Btree* tree(ctree t, bool make) {
    std::unique_ptr<Btree>* lazy = nullptr;
    switch (t) {
      case ctree::secs: return &web.cppsecs;
      case ctree::supers: return &web.superClasses;
      case ctree::defines: return &web.defines;
      case ctree::types: return &web.types;
      case ctree::codef: return &web.codef;
      case ctree::cobDefs: return &web.cobDefs;
      case ctree::methods: return &web.methodRows;
      case ctree::mains: return &web.cppMains;
      case ctree::statics: lazy = &web.statics; break;
      case ctree::dlls: lazy = &web.dlls; break;
      case ctree::exceptions: lazy = &web.exceptions; break;
      case ctree::msgMaps: lazy = &web.msgMaps; break;
      case ctree::ddxFiles: lazy = &web.ddxFiles; break;
      case ctree::traceMarks: lazy = &web.traceMarks; break;
      case ctree::count_: break;
    }
    if (!lazy) return nullptr;
    if (!*lazy && make) *lazy = std::make_unique<Btree>();
    return lazy->get();
  }
  void put(ctree t, const std::string& key, const std::string& data) override {
    Java2Htm::tree_put(*tree(t, true), key, data);
  }
  bool get(ctree t, const std::string& key, std::string* data) override {
    Btree* b = tree(t, false);
    Btree_st st;
    if (!b || !b->Get(key.substr(0, 252).c_str(), st)) return false;
    *data = st.c;
    return true;
  }
  std::string include(const std::string& directive) override { return web.cpp_include(fNr, directive); }
  int name_nr(const std::string& name) override { return web.defNameNr(name.c_str()); }
  std::string impl_page(const std::string&) override { return impl; }
  bool included() override { return fNr < (int)web.is_inc_for.size() && web.is_inc_for[fNr]; }
  bool traced(const std::string& name) override { return web.cppTraceUs.count("+" + name) > 0; }
  void sql(const std::string& text) override {
    web.append_text(web.root + "/tables.xxx", text);
  }
};

// The fixed entries of cpp.htm and cs.htm: page and label.
const char* const cpp_entries[][2] = {
    {"cpps.htm", "Files"},          {"class.htm", "Class Maps"},   {"funcs.htm", "Functions"},
    {"types.htm", "Types"},         {"defines.htm", "Macros"},     {"cppmains.htm", "main()"},
    {"fdep.htm", "Include Dependencies"}, {"inc/incs_cpp.htm", "Includes"}, {"rufA.htm", "Calls"},
    {"DLLs.htm", "DLL Loads"},      {"exps.htm", "Exceptions"},    {"stat.htm", "Statics"}};
const char* const cs_entries[][2] = {
    {"csfs.htm", "Files"}, {"class.htm", "Class Maps"}, {"funcs.htm", "Functions"}};

}  // namespace

int Java2Htm::CPP_to_htm(int fNr) {
  const std::string& real = fReal[fNr];
  if (ends_with(fPath[fNr], ".cs")) return CSharp_to_htm(fNr);
  if (!cppDone.insert(fPath[fNr]).second) return 0;
  std::string text = safe_ut.read_text(real.c_str());
  append_text(j2h + "/ALL_ccode", text);
  if (selection.empty() || real.find(selection) != std::string::npos) cppSelected += (long)text.size();
  cppBytes += (long)text.size();
  if (++cppCount % 100 == 0) printf("\ncode: %5u, %12u", (unsigned)cppCount, (unsigned)cppBytes);
  if (roseStream) {
    append_text("xx_ALLCode", "\n\nfile: " + real + "\n" + text);
  }
  inc_index(fNr);
  if (real.find("/ui_") != std::string::npos) {
    if (!uiFiles) uiFiles = std::make_unique<Btree>();
    tree_put(*uiFiles, real, "");
  }
  web_sink sink(*this, fNr);
  sink.file = real;
  // The implementation file beside a header: same path, another extension.
  std::string stem = fPath[fNr].substr(0, fPath[fNr].find_last_of('.'));
  for (const char* e : {".cpp", ".cc", ".cxx", ".c"}) {
    Btree_st st;
    if (stem + e == fPath[fNr] || !fileNrs.Get((stem + e).c_str(), st)) continue;
    int n = atoi(st.c);
    if (n > 0 && n < (int)fKind.size() && fKind[n] == k_c) sink.impl = std::string(nr2(n)) + ".htm";
    break;
  }
  dir_with_css(j2h + fmt("/%i", fNr / 100));
  cpp_reader reader(sink);
  std::string page = reader.page_of(std::move(text), shown(real), fNr);
  safe_ut.write_text((j2h + "/" + nr2(fNr) + ".htm").c_str(), page);
  cppNeLoCode += sink.neLoCode;
  LoHiddenComm += sink.LoHiddenComm;
  dialogNeLoCode += sink.dialogCode;
  return 0;
}

// The selection of the trace marks.  The reader does not collect the
// names called but not selected (traceCandidates): the call relation
// makes that tree afresh from the same code in phase 17.
void Java2Htm::read_cppTraceUs() {
  cppTraceUs.clear();
  std::string file = root + "/traceUs";
  if (safe_ut.ok_is_a(file.c_str()) != 'f') return;
  std::string text = safe_ut.read_text(file.c_str());
  for (size_t at = 0; at < text.size();) {
    size_t e = text.find('\n', at);
    if (e == std::string::npos) e = text.size();
    std::string l = text.substr(at, e - at);
    at = e + 1;
    while (!l.empty() && isspace((unsigned char)l.back())) l.pop_back();
    if (l.size() > 1 && l[0] == '+') cppTraceUs.insert(l);
  }
}

void Java2Htm::phase13_cpp() {
  read_cppTraceUs();
  for (int which = 0; which < 2; which++) {
    FILE* f = open_page(j2h + (which ? "/cs.htm" : "/cpp.htm"), which ? "C#" : "C and C++");
    auto write = [&](const char* const (*e)[2], size_t n) {
      for (size_t i = 0; i < n; i++)
        fprintf(f, "\n<br><a href=\"%s\" TARGET=\"frame3\">%s</a>", e[i][0], e[i][1]);
    };
    if (which) write(cs_entries, std::size(cs_entries));
    else write(cpp_entries, std::size(cpp_entries));
    fprintf(f, "\n</font></BODY></HTML>\n");
    safe_ut.close_FILE(&f, SRC, __LINE__);
  }
  std::vector<std::pair<std::string, int>> rows;
  for (int n = 1; n <= cfNr && n < (int)fKind.size(); n++)
    if (fKind[n] == k_c && !ends_with(fPath[n], ".cs")) rows.push_back({upper(base_of(fReal[n])), n});
  std::stable_sort(rows.begin(), rows.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  FILE* f = open_page(j2h + "/cpps.htm", "C and C++ Files");
  for (auto& r : rows) {
    std::string name = base_of(fReal[r.second]);
    fprintf(f, "\n<br><a href=\"%s.htm\" TARGET=\"frame3\">%s</a>", nr2(r.second), codelex::lt_escaped(name, "&lt;").c_str());
  }
  {
    held_appends hold(*this);
    for (auto& r : rows) CPP_to_htm(r.second);
    hold.release();
  }
  unsigned percent = (unsigned)(dialogNeLoCode * 100 / (cppNeLoCode < 1 ? 1 : cppNeLoCode));
  fprintf(f,
          "\n</font><br><br><font face=\"Verdena,Arial\" size=1>\n%u Files = %u neLoCode + %u LoHiddenComm\n"
          "<br>Dialog Interface Code >= %u%%\n<br><br>Code selected = %u kB\n</font></BODY></HTML>\n",
          (unsigned)rows.size(), (unsigned)cppNeLoCode, (unsigned)LoHiddenComm, percent,
          (unsigned)((selection.empty() ? cppBytes : cppSelected) / 1000));
  safe_ut.close_FILE(&f, SRC, __LINE__);
  phase13_cs();
  clock.step("13 C and C++ pages");
  show_the_CPP_includes();
  clock.step("include relation");
}
