// The web pass, first part: what the pages define.  The words that never
// become hotspots and the names that may stay undefined are set up with the
// engine; then every page gives its link texts (a link text names what its
// target defines) and its anchor names, and references "#name" in `defs`
// are settled to the page that holds the anchor.
#include <cctype>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "engine/section_cut.h"
#include "runtime/exec_ut.h"
#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"

namespace {

using cut_text::find_in;
using cut_text::starts;

const char* const SRC = "hotspot_defs";

// Words that are never hotspots, even with a definition.
const char* const fixed_noHot[] = {
    "ALL",      "TOP",        "TOC",      "Topics",         "Components", "Sections",
    "Services", "Views",      "Reports",  "Actors",         "Processes",  "Business Data",
    "Documents", "see toc",   "toc",      "top",            "docs",       "Index",
    "manual Work", "B_",      "V_",       "S_",             "Purpose of this Document",
    "Remark on Specification Semantics", "Reviews so far:"};

const char* const toc_unit = ".&nbsp;&nbsp;&nbsp;&nbsp;";

bool starts_nocase(const std::string& s, const char* t) {
  return strncasecmp(s.c_str(), t, strlen(t)) == 0;
}

// The text of a link as a definition's key: blanks off, leading
// ".<span ...</span>" runs and indent units passed over, up to the next
// "<", a last blank cut.  Empty when the link defines nothing.
std::string link_text(const char* p, const char* end) {
  for (;;) {
    while (p < end && *p == ' ') p++;
    if (p + 6 < end && p[0] == '.' && starts(p + 1, "<span")) {
      const char* close = find_in(p, end, "/span>");
      if (!close) return "";
      p = close + 6;
      continue;
    }
    if (end - p > 25 && starts(p, toc_unit)) {
      p += strlen(toc_unit);
      continue;
    }
    break;
  }
  const char* lt = static_cast<const char*>(memchr(p, '<', end - p));
  if (!lt || lt - p > 250) return "";
  std::string t(p, lt);
  while (!t.empty() && (t.back() == ' ' || t.back() == '\n')) t.pop_back();
  if (t.empty() || t == "TOC") return "";
  if (t.size() > 1 && t[1] == '_' && strchr("RAPBVCS", t[0])) return "";
  if (starts(t, ".&nbsp;") || starts_nocase(t, "name=") || starts_nocase(t, "id=")) return "";
  if (t.find('\n') != std::string::npos) return "";
  return t;
}

// The value of the attribute whose "=" is at `eq` (quoted or not).
std::string attr_value(const char* eq, const char* end) {
  const char* v = eq + 1;
  char quote = 0;
  if (v < end && (*v == '"' || *v == '\'' || *v == '`')) quote = *v++;
  const char* e = v;
  while (e < end && e - v < 250 && (quote ? *e != quote : (*e != ' ' && *e != '>'))) e++;
  return std::string(v, e);
}

}  // namespace

void ut_htm::init_web_pass(bool build) {
  prepare_tree(glossDefs, "glossDefs");
  ANam.name = "ANam";
  NoSp.name = "NoSp";
  noHot.name = "noHot";
  noProblem.name = "noProblem";
  secTitles.name = "secTitles";
  for (const char* w : fixed_noHot) tree_put(noHot, w);
  // Only the engine of a build reads the names that may stay undefined:
  // the document commands build no web.
  if (!build) return;
  if (safe_ut.ok_is_a("noProblems") != 'f') {
    printf("\nnoProblems: This file does not exist.\n");
    return;
  }
  // Each line's word that starts left of an underscore, up to a blank.
  rBuffer rb("noProblems", "\n");
  for (char* p = rb.find(0, "\n", nullptr); p; p = rb.find(1, "\n", nullptr)) {
    const char* b = rb.z + rb.a + 1;
    const char* e = rb.z + rb.e;
    const char* nl = static_cast<const char*>(memchr(b, '\n', e - b));
    if (!nl) nl = e;
    const char* u = static_cast<const char*>(memchr(b, '_', nl - b));
    if (!u || u == b) continue;
    const char* w = u - 1;
    const char* we = u;
    while (we < nl && *we != ' ' && *we != '\t') we++;
    tree_put(noProblem, std::string(w, we));
  }
}

void ut_htm::collect_defs(int page, Btree& defs) {
  if (page < 1 || page >= (int)page_doc.size()) return;
  std::string file = std::to_string(page_doc[page]) + "/" + std::to_string(page) + ".htm";
  if (safe_ut.ok_is_a(file.c_str()) != 'f') return;
  const std::string here = std::to_string(page) + ".htm#";
  bool cleaning = false;
  rBuffer rb(file.c_str());
  int skip = 0;
  while (rb.find(skip, "<a", nullptr)) {
    skip = 2;
    const char* p = rb.z + rb.a;
    const char* end = rb.z + rb.e;
    if (starts(p, "<aa>")) {  // the page's menu, up to the next "<aa>"
      if (!rb.find(4, "<aa>", nullptr)) break;
      skip = 4;
      continue;
    }
    if (p[2] != ' ') continue;
    const char* gt = static_cast<const char*>(memchr(p, '>', std::min<long>(end - p, 4000)));
    if (!gt) continue;
    std::string tag(p, gt);
    size_t at;
    if ((at = tag.find(" href=")) != std::string::npos) {
      std::string T = attr_value(p + at + 5, gt);
      std::string text = link_text(gt + 1, end);
      if (text.empty() || tree_holds(noHot, text)) continue;
      auto old = tree_value(defs, text);
      if (!old || old->empty() || (*old)[0] == '#') tree_put(defs, text, T);
    } else if ((at = tag.find(" name=")) != std::string::npos ||
               (at = tag.find(" id=")) != std::string::npos) {
      std::string N = attr_value(p + tag.find('=', at), gt);
      if (N.empty() || isdigit((unsigned char)N[0])) continue;
      if (N[0] == '_') cleaning = true;
      if (N == "_") continue;
      auto old = tree_value(ANam, N);
      if (!old) tree_put(ANam, N, here + N);
      else if (*old != here + N) tree_put(ANam, N, "?");
    }
  }
  rb.stop();
  if (cleaning) clean_marked(file);
}

// A page with anchors of the word processor ("_Toc...") loses the texts
// "??$" up to the next "<".
void ut_htm::clean_marked(const std::string& file) {
  std::string tmp = file.substr(0, file.size() - 4) + ".tmp";
  {
    FILE* out = safe_ut.open_FILE(tmp.c_str(), "w");
    rBuffer rb(file.c_str());
    int skip = 0;
    while (rb.find(skip, "??$", out)) {
      const char* lt = find_in(rb.z + rb.a, rb.z + rb.e, "<");
      rb.a = lt ? (int)(lt - rb.z) : rb.e;
      skip = 0;
    }
    safe_ut.close_FILE(&out, SRC, __LINE__);
  }
  safe_ut.remove_file(file.c_str());
  safe_ut.rename_file(tmp.c_str(), file.c_str());
}

// References "#name" in `defs` become the page of the anchor "name".
void ut_htm::settle_defs() {
  std::vector<std::pair<std::string, std::string>> settled;
  Btree_st st;
  for (unsigned s = defs.GetFirst(st); s; s = defs.GetNext(st)) {
    if (st.c[0] != '#') continue;
    auto a = tree_value(ANam, st.c + 1);
    if (a && !a->empty() && (*a)[0] != '?') {
      settled.emplace_back(st.k, *a);
    } else if (strncmp(st.k, "name=", 5) != 0) {
      printf("\ncannot correct %s(%s)", st.k, st.c);
    }
  }
  for (const auto& [k, v] : settled) tree_put(defs, k, v);
}
