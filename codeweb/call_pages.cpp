// The pages and lists of the call relation: rufe.htm with a call tree per
// selected method, rufA.htm with the callers of every name called,
// rufGUI.htm and rufAPI.htm (the selection split), trus.htm, ALLf.htm with
// the bodies of each function name, and the lists ALL_funcs, aufrufe,
// traceUs and No_trace_for.
#include <cstring>
#include <set>
#include <vector>

#include "codeweb/java2htm.h"
#include "engine/escape.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "call_pages";

const char* const page_end = "\n</font></BODY></HTML>\n";

// The keys of `tree` that begin with `prefix`, without it, in key order.
std::vector<std::string> rows_after(Btree& tree, const std::string& prefix) {
  std::vector<std::string> out;
  Btree_st st;
  for (unsigned ok = tree.Getmin_GE(st, prefix.c_str()); ok; ok = tree.Next(st)) {
    std::string k(st.k, st.k_L);
    if (k.compare(0, prefix.size(), prefix) != 0) break;
    out.push_back(k.substr(prefix.size()));
  }
  return out;
}

std::string class_of(const std::string& caller) {
  size_t at = caller.find(" :: ");
  return at == std::string::npos ? "" : caller.substr(0, at);
}

std::string method_of(const std::string& caller) {
  size_t at = caller.rfind(" :: ");
  return at == std::string::npos ? caller : caller.substr(at + 4);
}

// GUI code: a handler "On..." of a view class.  The three handlers every
// window has are in neither list.
enum side { api, gui, none };
side side_of(const std::string& method, const std::string& cls) {
  if (method == "OnCancel" || method == "OnAbout" || method == "OnPaint") return none;
  if (method.compare(0, 2, "On") != 0) return api;
  bool view = cls.find("View") != std::string::npos || cls.find("VW") != std::string::npos ||
              cls.compare(0, 5, "CSDPW") == 0 || cls.compare(0, 12, "CSecUserInfo") == 0;
  return view ? gui : api;
}

}  // namespace

// A cppsecs row names a page relative to <j2h>.  The Java reader writes the
// page itself ("c0003.htm#5"); the C++ reader writes a kind letter in front
// of a page below a number folder ("m3/7.htm#5", "c3/7.htm#2").
std::string Java2Htm::code_link(const std::string& caller) {
  std::string key = caller;
  if (key.size() > 4 && key.compare(key.size() - 4, 4, "_CLI") == 0) key.erase(key.size() - 4);
  Btree_st st;
  if (!cppsecs.Get(key.c_str(), st) && !cppsecs.Get(caller.c_str(), st)) return "";
  std::string d = st.c;
  size_t hash = d.find('#');
  if (d.size() > 1 && isalpha((unsigned char)d[0]) && d.substr(0, hash).find('/') != std::string::npos) d.erase(0, 1);
  return d;
}

int Java2Htm::callees(FILE* out, const std::string& name, int level, Btree& seen) {
  if (level > 1) return 1;
  if (seen.contains(name.c_str())) {
    if (level == 0) exut.fail(__LINE__, SRC, "Assertion: callees of %s seen at level 0", name.c_str());
    return 0;
  }
  tree_put(seen, name, "");
  int n = 0;
  for (const std::string& callee : rows_after(*callsOf, name + "~")) {
    for (int i = 0; i <= level; i++) fputs(". &nbsp ", out);
    fprintf(out, "%s<br>", html_text(callee).c_str());
    n += callees(out, callee, level + 1, seen);
  }
  return n + 1;
}

namespace {

// A selected method with the callers whose bodies define it ("A :: f" names
// one class, "f" every class).
struct chosen_method {
  std::string name;
  std::vector<std::string> callers;
};

std::vector<chosen_method> chosen_methods(Java2Htm& w) {
  std::vector<chosen_method> out;
  Btree_st st;
  for (unsigned ok = w.traceSel->GetFirst(st); ok; ok = w.traceSel->Next(st)) {
    std::string name(st.k, st.k_L);
    std::vector<std::string> callers;
    for (const std::string& c : rows_after(*w.funcBodies, method_of(name) + "~"))
      if (name.find(" :: ") == std::string::npos || c == name || c == name + "_CLI") callers.push_back(c);
    out.push_back({name, callers});
  }
  return out;
}

// The rows of one selected method on rufAPI.htm or rufGUI.htm, one per
// class that defines it.
void split_rows(Java2Htm& w, const chosen_method& s, const std::string& nr, FILE* split[2], int counts[2]) {
  std::string method = method_of(s.name);
  std::vector<std::string> defs = s.callers.empty() ? std::vector<std::string>{s.name} : s.callers;
  for (const std::string& c : defs) {
    std::string cls = class_of(c);
    side d = side_of(method, cls);
    if (d == none) continue;
    Btree_st b;
    std::string file = w.funcBodies->Get((method + "~" + c).c_str(), b) ? b.c : "";
    fprintf(split[d], "\n<a href=rufe/%s.htm>%s</a><font size=1> %s, %s</font><br>", nr.c_str(),
            html_text(s.name).c_str(), html_text(cls).c_str(), html_text(w.shown(file)).c_str());
    counts[d]++;
  }
}

// rufA/<nr>.htm: the callers of `callee`.
void callers_page(Java2Htm& w, const std::string& nr, const std::string& callee, const std::vector<std::string>& callers) {
  FILE* f = w.open_page(w.j2h + "/rufA/" + nr + ".htm", "is called in");
  for (const std::string& c : callers) {
    std::string link = w.code_link(c);
    if (link.empty())
      fprintf(f, "\n<br>%s", html_text(c).c_str());
    else
      fprintf(f, "\n<br><a href=../%s>%s</a>", html_attr(link).c_str(), html_text(c).c_str());
  }
  fprintf(f, "\n<br><br><font size=1>Only these %i Methods call</font>\n<br><b>%s</b>%s", (int)callers.size(),
          html_text(callee).c_str(), page_end);
  safe_ut.close_FILE(&f, SRC, __LINE__);
}

// rufA.htm: every name called; a name with a body (or a cppsecs row) links
// to the page of its callers, a name defined in no implementation file
// stands plain.
void called_pages(Java2Htm& w) {
  FILE* rufA = w.open_page(w.j2h + "/rufA.htm", "Methods actually called are:");
  int called = 0, pages = 0;
  std::string last;
  std::vector<std::string> callers;
  auto flush = [&]() {
    if (last.empty()) return;
    called++;
    std::string method = method_of(last);
    if (rows_after(*w.funcBodies, method + "~").empty() && w.code_link(last).empty()) {
      fprintf(rufA, "\n<br>%s", html_text(last).c_str());
      return;
    }
    std::string nr = std::to_string(++pages);
    fprintf(rufA, "\n<br><a href=rufA/%s.htm>%s</a>", nr.c_str(), html_text(last).c_str());
    callers_page(w, nr, last, callers);
  };
  Btree_st st;
  for (unsigned ok = w.aufrufe->GetFirst(st); ok; ok = w.aufrufe->Next(st)) {
    std::string k(st.k, st.k_L);
    size_t tilde = k.find('~');
    std::string callee = k.substr(0, tilde);
    if (callee != last) {
      flush();
      last = callee;
      callers.clear();
    }
    callers.push_back(k.substr(tilde + 1));
  }
  flush();
  fprintf(rufA, "\n<br><br><font size=1>%i Functions actually called</font>%s", called, page_end);
  safe_ut.close_FILE(&rufA, SRC, __LINE__);
}

}  // namespace

// rufe.htm with a call tree rufe/<i>.htm per selected method, trus.htm,
// rufAPI.htm and rufGUI.htm; then rufA.htm.
void Java2Htm::show_ALLAufrufe() {
  dir_with_css(j2h + "/rufe");
  dir_with_css(j2h + "/rufA");
  std::vector<chosen_method> chosen = chosen_methods(*this);
  FILE* trus = open_page(j2h + "/trus.htm", "Selected Methods");
  FILE* rufe = open_page(j2h + "/rufe.htm", "Calls done by Selected Methods");
  fputs("\n<a href=rufGUI.htm>Sort GUI Methods</a> &nbsp; <a href=rufAPI.htm>Sort API Methods</a><br><br>", rufe);
  FILE* split[2] = {open_page(j2h + "/rufAPI.htm", "API Methods"), open_page(j2h + "/rufGUI.htm", "GUI Methods")};
  int counts[2] = {0, 0};
  for (size_t i = 0; i < chosen.size(); i++) {
    const chosen_method& s = chosen[i];
    std::string nr = std::to_string(i + 1);
    std::string name = html_text(s.name);
    FILE* f = open_page(j2h + "/rufe/" + nr + ".htm", ("<a href=../trus.htm>Calls done by</a> " + name).c_str());
    fprintf(f, "\nCalls done by <b>%s</b> :<br><br>\n", name.c_str());
    auto seen = std::make_unique<Btree>();
    seen->quiet = 1;
    seen->init(nullptr, 0);
    callees(f, s.name, 0, *seen);
    fputs(page_end, f);
    safe_ut.close_FILE(&f, SRC, __LINE__);
    fprintf(trus, "\n<a href=rufe/%s.htm>%s</a><br>", nr.c_str(), name.c_str());
    std::string where;
    for (const std::string& c : s.callers) where += (where.empty() ? "" : " ") + c;
    fprintf(rufe, "\n<a href=rufe/%s.htm>%s</a><font size=1>, %s</font><br>", nr.c_str(), name.c_str(),
            html_text(where).c_str());
    split_rows(*this, s, nr, split, counts);
  }
  fprintf(rufe, "\n<br><font size=1>%i Selected Methods</font>%s", (int)chosen.size(), page_end);
  fprintf(split[api], "\n<br><font size=1>%i API Methods</font>%s", counts[api], page_end);
  fprintf(split[gui], "\n<br><font size=1>%i GUI Methods</font>%s", counts[gui], page_end);
  fputs(page_end, trus);
  for (FILE** f : {&trus, &rufe, &split[0], &split[1]}) safe_ut.close_FILE(f, SRC, __LINE__);
  called_pages(*this);
}

void Java2Htm::show_Aufrufe() {
  if (!aufrufe) return;  // no alles_cpp: no call relation
  safe_ut.ensure_dir((j2h + "/aufr").c_str());
  std::string t = "\n No trace for:\n";
  Btree_st st;
  for (unsigned ok = traceCandidates->GetFirst(st); ok; ok = traceCandidates->Next(st))
    t += std::string(st.k, st.k_L) + "\n";
  safe_ut.write_text((root + "/No_trace_for").c_str(), t);
  FILE* calls = safe_ut.create((j2h + "/aufrufe").c_str());
  for (unsigned ok = aufrufe->GetFirst(st); ok; ok = aufrufe->Next(st)) {
    fputc('\n', calls);
    fwrite(st.k, 1, st.k_L, calls);
  }
  fputc('\n', calls);
  safe_ut.close_FILE(&calls, SRC, __LINE__);

  // Every body found, grouped by its function name.
  std::set<std::string> methods;
  FILE* allf = open_page(j2h + "/ALLf.htm", "Function Bodies");
  dir_with_css(j2h + "/ALLf");
  std::string last;
  FILE* sub = nullptr;
  int nr = 0;
  for (unsigned ok = funcBodies->GetFirst(st); ok; ok = funcBodies->Next(st)) {
    std::string k(st.k, st.k_L);
    size_t tilde = k.find('~', 1);  // a destructor's name begins with "~"
    std::string name = k.substr(0, tilde), caller = k.substr(tilde + 1);
    methods.insert(caller);
    if (name != last || !sub) {
      if (sub) {
        fputs(page_end, sub);
        safe_ut.close_FILE(&sub, SRC, __LINE__);
      }
      last = name;
      std::string n = std::to_string(++nr);
      fprintf(allf, "\n<a href=ALLf/%s.htm>%s</a><br>", n.c_str(), html_text(name).c_str());
      sub = open_page(j2h + "/ALLf/" + n + ".htm", html_text(name).c_str());
    }
    std::string link = code_link(caller);
    if (link.empty())
      fprintf(sub, "\n%s<br>", html_text(caller).c_str());
    else
      fprintf(sub, "\n<a href=../%s>%s</a><br>", html_attr(link).c_str(), html_text(caller).c_str());
  }
  if (sub) {
    fputs(page_end, sub);
    safe_ut.close_FILE(&sub, SRC, __LINE__);
  }
  fputs(page_end, allf);
  safe_ut.close_FILE(&allf, SRC, __LINE__);
  t = "\n ALL Methods:\n";
  for (const std::string& m : methods) t += " " + m + "\n";
  safe_ut.write_text((j2h + "/ALL_funcs").c_str(), t);
}
