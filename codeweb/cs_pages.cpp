// The pages of C# sources: csfs.htm lists the files (phase 13), each file
// gets its page <j2h>/<n/100>/<n%100>.htm from the reader of
// codeweb/cs_reader.h, whose rows go into the trees the C and C++ pages
// share (class maps, statics, entry points), and after the closing phase
// the namespaces get their rows in packages.htm.
//
// The menu cs.htm (phase 13) names its file list csfs.htm, and docu.htm
// links the C# view to cs.htm, as it links C++ to cpp.htm: both pages are
// written, so every link of the two resolves.
#include <algorithm>
#include <cctype>

#include "codeweb/code_lex.h"
#include "codeweb/cs_reader.h"
#include "codeweb/java2htm.h"
#include "engine/escape.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

namespace {

const char* const SRC = "cs_pages.cpp";

bool is_cs(const std::string& path) { return path.size() > 3 && path.compare(path.size() - 3, 3, ".cs") == 0; }

std::string base_of(const std::string& path) { return path.substr(path.find_last_of('/') + 1); }

bool has_key(Btree& t, const std::string& key) {
  Btree_st st;
  return t.Get(key.substr(0, 252).c_str(), st);
}

}  // namespace

void Java2Htm::phase13_cs() {
  std::vector<std::pair<std::string, int>> rows;
  for (int n = 1; n <= cfNr && n < (int)fKind.size(); n++)
    if (fKind[n] == k_c && is_cs(fPath[n])) {
      std::string up = base_of(fReal[n]);
      for (char& c : up) c = (char)toupper((unsigned char)c);
      rows.push_back({up, n});
    }
  std::stable_sort(rows.begin(), rows.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  FILE* f = open_page(j2h + "/csfs.htm", "C# Files");
  for (auto& r : rows)
    fprintf(f, "\n<br><a href=\"%s.htm\" TARGET=\"frame3\">%s</a>", nr2(r.second),
            html_text(base_of(fReal[r.second])).c_str());
  {
    held_appends hold(*this);
    for (auto& r : rows) CPP_to_htm(r.second);
    hold.release();
  }
  fprintf(f, "\n</font><br><br><font face=\"Verdena,Arial\" size=1>\n%u Files = %u neLoCode\n</font></BODY></HTML>\n",
          (unsigned)rows.size(), (unsigned)csNeLoCode);
  safe_ut.close_FILE(&f, SRC, __LINE__);
}

int Java2Htm::CSharp_to_htm(int fNr) {
  if (!cppDone.insert(fPath[fNr]).second) return 0;
  const std::string& real = fReal[fNr];
  std::string text = safe_ut.read_text(real.c_str());
  // The concatenation of all C# code, appended in-process.
  append_text(j2h + "/ALL_cscode", text);
  csCount++;
  inc_index(fNr);
  dir_with_css(j2h + codelex::fmt("/%i", fNr / 100));
  cs_reader reader;
  reader.page_head = head;
  reader.title_head = title_head;
  reader.title_tail = title_tail;
  std::string page = nr2(fNr);
  safe_ut.write_text((j2h + "/" + page + ".htm").c_str(), reader.page_of(text, shown(real), fNr));
  csNeLoCode += reader.neLoCode;
  std::string entity = base_of(real);
  tree_put(codef, entity.substr(0, entity.rfind('.')), "p " + page + ".htm");
  for (auto& [cls, link] : reader.classes) {
    if (!has_key(cppsecs, cls)) tree_put(cppsecs, cls, link);  // the first head of a class wins
    defNameNr(cls.substr(0, 252).c_str());
  }
  for (auto& [cls, base] : reader.supers) tree_put(superClasses, cls + "~" + base, "-- class");
  for (auto& [key, link] : reader.members) {
    std::string k = key;
    for (int v = 2; has_key(cppsecs, k); v++) k = key + " . " + std::to_string(v);
    tree_put(cppsecs, k, link);
  }
  if (!reader.namespaces.empty() && !namespaceList) namespaceList = std::make_unique<Btree>();
  for (auto& [key, link] : reader.namespaces) tree_put(*namespaceList, key, link);
  if (!reader.statics.empty() && !statics) statics = std::make_unique<Btree>();
  for (auto& [key, data] : reader.statics) tree_put(*statics, key, data);
  for (auto& at : reader.mains) {
    tree_put(cppMains, at, "main " + entity);
    tree_put(codef, "main " + entity, "p cob/../" + at);
  }
  return 0;
}

// Each namespace of the C# pages gets a row "C# &nbsp;" in packages.htm
// and a page p<i>.htm (the next number no Java package took) that lists
// its classes and their members.
void Java2Htm::ADD_namespaces_to_packages() {
  if (!namespaceList || namespaceList->number_of_elements() == 0) return;
  std::string file = j2h + "/packages.htm";
  std::string pk = safe_ut.read_text(file.c_str());
  size_t end = pk.find("</BODY>");
  if (end == std::string::npos) end = pk.size();
  if (end >= 8 && pk.compare(end - 8, 8, "\n</font>") == 0) end -= 8;
  pk.resize(end);
  FILE* p = nullptr;
  std::string ns, cls;
  auto close_p = [&]() {
    if (p) {
      fputs("\n</font></BODY></HTML>\n", p);
      safe_ut.close_FILE(&p, SRC, __LINE__);
    }
  };
  Btree_st st;
  for (unsigned ok = namespaceList->GetFirst(st); ok; ok = namespaceList->Next(st)) {
    std::string key(st.k, st.k_L), link = st.c;
    size_t dot = key.find(" . "), tilde = key.find('~', dot == std::string::npos ? 0 : dot);
    if (dot == std::string::npos || tilde == std::string::npos) continue;
    std::string n = key.substr(0, dot), c = key.substr(dot + 3, tilde - dot - 3), m = key.substr(tilde + 1);
    if (n != ns || !p) {
      close_p();
      ns = n;
      cls.clear();
      do pNr++;
      while (safe_ut.exists((j2h + "/p" + std::to_string(pNr) + ".htm").c_str()));
      p = safe_ut.create((j2h + "/p" + std::to_string(pNr) + ".htm").c_str());
      fputs(head, p);
      fprintf(p, "<a href=\"docu.htm\" TARGET=\"frame3\">C# Classes and Members in<br>%s</a><br>", html_text(ns).c_str());
      pk += "\n<br>C# &nbsp; <a href=\"p" + std::to_string(pNr) + ".htm\" TARGET=\"frame2\">" + html_text(ns) + "</a>";
    }
    if (c != cls || m.empty()) {
      cls = c;
      fprintf(p, "\n<br><a href=\"%s\" TARGET=\"frame3\">%s</a>", link.c_str(), html_text(c.empty() ? "(no class)" : c).c_str());
      if (m.empty()) continue;
    }
    fprintf(p, "\n<br>&nbsp; . <a href=\"%s\" TARGET=\"frame3\">%s</a>", link.c_str(), html_text(m).c_str());
  }
  close_p();
  safe_ut.write_text(file.c_str(), pk + "\n</font></BODY></HTML>\n");
}
