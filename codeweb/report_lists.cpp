// Report pages that list what the readers collected: the main entry points,
// macros, DDX modules, sizes, DLL loads, exceptions, statics and the files
// that were not analysed.  Each page is the page head, the title table, one
// row per key of its tree in key order, and its count line.  A page that a
// fixed menu links (cpp.htm, docu.htm) is written even when its tree is
// empty, so that the link holds.
#include <algorithm>
#include <cstring>

#include "codeweb/java2htm.h"
#include "engine/escape.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "report_lists";

// "<key>~<link>" as (key, link); a key without "~" has no link.
std::pair<std::string, std::string> key_and_link(const Btree_st& st) {
  std::string k(st.k, st.k_L);
  size_t t = k.rfind('~');
  if (t == std::string::npos) return {k, ""};
  return {k.substr(0, t), k.substr(t + 1)};
}

// The rows of a tree made on demand: none when it was never made.
template <class F>
void each_row(Btree* t, F row) {
  if (!t) return;
  Btree_st st;
  for (unsigned ok = t->GetFirst(st); ok; ok = t->Next(st)) row(st);
}

}  // namespace

std::string Java2Htm::dotted_size(long long bytes) {
  if (bytes < 0 || bytes > 999999999LL) {
    exut.show_int("L", (long)bytes);
    exut.fail(__LINE__, SRC, "Assertion: L: a size of %lld bytes is above 999.999.999", bytes);
  }
  int g[3] = {(int)(bytes / 1000000), (int)(bytes / 1000 % 1000), (int)(bytes % 1000)};
  char out[16];
  if (g[0])
    snprintf(out, sizeof out, "%i.%03i.%03i", g[0], g[1], g[2]);
  else if (g[1])
    snprintf(out, sizeof out, "%i.%03i", g[1], g[2]);
  else
    snprintf(out, sizeof out, "%i", g[2]);
  return out;
}

// Phase 15: the lists of the C and C++ readers, the sizes, and the design
// page (types.htm and notfound.htm have their own writers).
void Java2Htm::phase15_reports() {
  show_cppMains();
  show_defines();
  FILE* f = open_page(j2h + "/ddxcode.htm", "C++ DDX Modules ( for User Interface )");
  each_row(ddxFiles.get(), [&](const Btree_st& st) {
    std::string page(st.k, st.k_L);
    fprintf(f, "\n<br><a href=%s>%s</a>", html_attr(page).c_str(), html_text(source_of_page(page)).c_str());
  });
  close_page(f);
  f = open_page(j2h + "/alles.htm", "Size of ALL Content");
  fputs("<pre>", f);
  Btree_st st;
  for (unsigned ok = sizes.GetFirst(st); ok; ok = sizes.Next(st)) {
    std::string ext(st.k, st.k_L);
    if (!ext.empty() && ext[0] == '.') ext.erase(0, 1);
    fprintf(f, "\nalles_%-5s %12s", html_text(ext).c_str(), dotted_size(atoll(st.c)).c_str());
  }
  fputs("\n</pre>", f);
  close_page(f);
  show_design();
}

// cppmains.htm: the "main <entity>" rows of codef (C, C++ and C# entry
// points), their tag letter and a link to the definition.
void Java2Htm::show_cppMains() {
  FILE* f = open_page(j2h + "/cppmains.htm", "C++ Main Entry Points");
  int n = 0;
  Btree_st st;
  for (unsigned ok = codef.Getmin_GE(st, "main "); ok && st.k_L >= 5 && !memcmp(st.k, "main ", 5);
       ok = codef.Next(st)) {
    std::string name(st.k, st.k_L), data = st.c;
    std::string link = data.size() > 2 ? data.substr(2) : data;
    // "cob/../<page>" (the form codef keeps for COBOL's sake) names a page
    // of this folder; written plainly, the link holds without a cob folder.
    if (link.compare(0, 7, "cob/../") == 0) link.erase(0, 7);
    fprintf(f, "\n<br>%c .. <a href=%s>%s</a>", data.empty() ? '?' : data[0], html_attr(link).c_str(),
            html_text(name).c_str());
    n++;
  }
  fprintf(f, "\n<br><br>These are %i main programs.", n);
  close_page(f);
}

// defines.htm: the macros by name under an alphabet bar; a macro defined
// more than once has its further versions as "NAME . 2", ...
void Java2Htm::show_defines() {
  FILE* f = open_page(j2h + "/defines.htm", "C++ Macros");
  alphabet_list(f, defines, [&](const std::string& name, const std::string& data) {
    fprintf(f, "\n<br><a href=%s>%s</a>", html_attr(data).c_str(), html_text(name).c_str());
  });
  close_page(f);
}

// des.htm: the design pages, in a fixed order; one that this build does
// not write is named without a link.
void Java2Htm::show_design() {
  FILE* f = open_page(j2h + "/des.htm", "Design in UML");
  const bool uml = safe_ut.ok_is_a("xx_ALL.htm") == 'f';
  const bool erd = safe_ut.ok_is_a((j2h + "/er1.htm").c_str()) == 'f' ||
                   safe_ut.ok_is_a((root + "/er1.htm").c_str()) == 'f';
  const struct {
    const char* page;
    const char* text;
    bool there;
  } entries[] = {{"UML.htm", "Class Design in UML", uml},
                 {"er1.htm", "ERD for the Relational Data", erd},
                 {"meter.htm", "Quality Metrics", true}};
  for (auto& e : entries) {
    if (e.there)
      fprintf(f, "\n<br><a href=%s>%s</a>", e.page, e.text);
    else
      fprintf(f, "\n<br>%s", e.text);
  }
  close_page(f);
}

// The source path of a page "<a>/<b>.htm" of this web, or the page name.
std::string Java2Htm::source_of_page(const std::string& page) const {
  size_t s = page.find('/'), h = page.find(".htm");
  if (s == std::string::npos || h == std::string::npos || h < s) return page;
  std::string a = page.substr(0, s), b = page.substr(s + 1, h - s - 1);
  auto digits = [](const std::string& x) {
    return !x.empty() && x.size() < 8 && x.find_first_not_of("0123456789") == std::string::npos;
  };
  if (!digits(a) || !digits(b)) return page;
  size_t n = std::stoul(a) * 100 + std::stoul(b);
  return n < fPath.size() && !fPath[n].empty() ? shown(fPath[n]) : page;
}

// Phase 17: DLLs.htm, exps.htm, stat.htm and notA.htm.
void Java2Htm::show_DLLs() {
  FILE* f = open_page(j2h + "/DLLs.htm", "Where DLLs are loaded");
  int n = 0;
  each_row(dlls.get(), [&](const Btree_st& st) {
    auto [name, link] = key_and_link(st);
    fprintf(f, "\n[ <a href=%s>&lt;&lt;</a> ] %s<br>", html_attr(link).c_str(), html_text(name).c_str());
    n++;
  });
  fprintf(f, "\n<br><font size=1>%i DLL Calls in total:</font>", n);
  close_page(f);
}

void Java2Htm::show_Exceptions() {
  FILE* f = open_page(j2h + "/exps.htm", "Where Exceptions are thrown");
  fputs("Is to show all calls ... Exception( ... in C++<br><br>", f);
  int n = 0, asserts = 0;
  each_row(exceptions.get(), [&](const Btree_st& st) {
    auto [key, link] = key_and_link(st);
    // "<word>" or "<word>(\"<text>\""
    size_t p = key.find('(');
    std::string word = key.substr(0, p), text = p == std::string::npos ? "" : key.substr(p + 1);
    fprintf(f, "\n<a href=%s>%s</a>: %s<br>", html_attr(link).c_str(), html_text(word).c_str(),
            html_text(text).c_str());
    if (word.find("ASSERT") != std::string::npos)
      asserts++;
    else
      n++;
  });
  fprintf(f, "\n<br><font size=1>%i Exceptions thrown, %i Assertions</font>", n, asserts);
  close_page(f);
}

void Java2Htm::show_statics() {
  FILE* f = open_page(j2h + "/stat.htm", "Statics");
  unsigned n = 0;
  each_row(statics.get(), [&](const Btree_st& st) {
    auto [name, link] = key_and_link(st);
    fprintf(f, "\n<br><a href=%s>%s</a>", html_attr(link).c_str(), html_text(name).c_str());
    n++;
  });
  fprintf(f, "\n<br><font size=1>%u Statics</font>", n);
  close_page(f);
}

// notA.htm: the files the walk passed over because no reader takes their
// kind (no extension, an extension not taken, or one too long to be seen).
void Java2Htm::show_notA() {
  FILE* f = open_page(j2h + "/notA.htm", "Files not Analysed");
  std::sort(notAnalysed.begin(), notAnalysed.end());
  for (const std::string& p : notAnalysed) fprintf(f, "\n<br>%s", html_text(shown(p)).c_str());
  close_page(f);
}

// exe.htm with the full class names, exes.htm with the short ones: every
// main() method of the Java pages, by name.
void Java2Htm::create_exe_List(bool shortNames) {
  std::vector<std::pair<std::string, std::string>> rows;  // (name, link)
  for (const main_entry& m : mains) {
    std::string name = m.cls;
    if (shortNames) name = name.substr(name.rfind('.') == std::string::npos ? 0 : name.rfind('.') + 1);
    rows.push_back({name, m.link});
  }
  std::sort(rows.begin(), rows.end());
  char title[64];
  snprintf(title, sizeof title, "The %i main() Methods", (int)rows.size());
  FILE* f = open_page(j2h + (shortNames ? "/exes.htm" : "/exe.htm"), title);
  for (auto& [name, link] : rows)
    fprintf(f, "\n<br><a href=\"%s\" target=frame3>%s.main()</a>", html_attr(link).c_str(),
            html_text(name).c_str());
  close_page(f);
}
