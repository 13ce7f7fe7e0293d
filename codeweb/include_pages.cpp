// The pages of the include relation: the per-language include lists with
// their "is included to" pages, fdep.htm with the below/above view of
// every C, C++ and JSP file, notfound.htm, and the nested include tree of
// a JSP or ASP page (put_incs).
#include <cstring>
#include <string>
#include <vector>

#include "codeweb/java2htm.h"
#include "engine/escape.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "include_pages";

// The included and the including number of an edge text "<n>-><m>".
bool edge_of(const char* text, int& included, int& includer) {
  const char* arrow = strstr(text, "->");
  if (!arrow || !isdigit((unsigned char)text[0])) return false;
  included = atoi(text);
  includer = atoi(arrow + 2);
  return true;
}

}  // namespace

// ------------------------------------------------------------ include lists

void Java2Htm::show_the_CPP_includes() { show_includes(cppIncludes, "cpp", "C++ Includes", "incs_cpp.htm"); }
void Java2Htm::show_the_JSP_includes() { show_includes(jspIncludes, "jsp", "JSP Includes", "incs_jsp.htm"); }
void Java2Htm::show_the_ASP_includes() { show_includes(aspIncludes, "asp", "ASP Includes", "incs_asp.htm"); }

// One row of an include list and the page of the group's users: for C++
// "<nr2>u.htm" beside the file's page, for JSP and ASP "inc/<i>.htm".
void Java2Htm::inc_group(FILE* list, const char* kind, int included, const std::vector<int>& users, int pageNr) {
  if (included > cfNr || included < 0) {
    exut.show_int("i", included);
    exut.show_int("cfNr", cfNr);
    exut.fail(__LINE__, SRC, "Assertion: an include edge names no file");
  }
  bool cpp = !strcmp(kind, "cpp"), asp = !strcmp(kind, "asp");
  std::string target = asp ? "asp" + std::to_string(included) : nr2(included);
  std::string label = html_text(rest_of_path(included, 2));
  std::string count = ", " + std::to_string(users.size());
  std::string page;
  if (cpp) {
    fprintf(list, "\n<br>[ <a href=../%su.htm>use</a> ]\n&nbsp; <a href=../%s.htm>%s%s</a>", target.c_str(),
            target.c_str(), label.c_str(), count.c_str());
    page = j2h + "/" + target + "u.htm";
    dir_with_css(page.substr(0, page.rfind('/')));
  } else {
    fprintf(list, "\n<br>[ <a href=%i.htm>use</a> ]\n&nbsp; <a href=../%s.htm>%s%s</a>", pageNr, target.c_str(),
            label.c_str(), count.c_str());
    page = j2h + "/inc/" + std::to_string(pageNr) + ".htm";
  }
  FILE* f = open_page(page, label.c_str());
  fputs("is included to:", f);
  for (int u : users) {
    if (u > cfNr || u < 0) {
      exut.show_int("i", u);
      exut.show_int("cfNr", cfNr);
      exut.fail(__LINE__, SRC, "Assertion: an include edge names no file");
    }
    std::string t = asp ? "asp" + std::to_string(u) : nr2(u);
    std::string label = shown(fReal[u]);
    if (!label.empty() && label[0] == '/') label.erase(0, 1);
    fprintf(f, "\n<br><a href=../%s.htm>%s</a>", t.c_str(), html_text(label).c_str());
  }
  close_page(f);
}

void Java2Htm::show_includes(Btree& tree, const char* kind, const char* title, const char* file) {
  dir_with_css(j2h + "/inc");
  FILE* list = open_page(j2h + "/inc/" + file, title);
  const char* lang = !strcmp(kind, "cpp") ? "C++" : !strcmp(kind, "jsp") ? "JSP" : "ASP";
  fprintf(list, "Depth of %s include relation = %i<br>", lang, maxDepth);
  int groups = 0, uses = 0, current = -1;
  std::vector<int> users;
  Btree_st st;
  for (unsigned ok = tree.GetFirst(st); ok; ok = tree.Next(st)) {
    int included = 0, includer = 0;
    const char* tilde = strrchr(st.k, '~');
    if (!edge_of(st.c[0] ? st.c : tilde ? tilde + 1 : "", included, includer)) continue;
    if (included != current && current >= 0) inc_group(list, kind, current, users, ++groups);
    if (included != current) users.clear();
    current = included;
    users.push_back(includer);
    uses++;
  }
  if (current >= 0) inc_group(list, kind, current, users, ++groups);
  fprintf(list,
          "\n<br><br></font><font face=\"Verdena,Arial\" size=1>\n<font size=4>%s%s%s<br></font>\n"
          "<font size=1>%i %s include files ( used %i times )</font></font>",
          "", title, "", groups, !strcmp(kind, "cpp") ? "cpp" : lang, uses);
  fputs("</BODY></HTML>\n", list);
  safe_ut.close_FILE(&list, SRC, __LINE__);
}

// ------------------------------------------------------------ fdep.htm

// bf/<n>.htm: the files that include n, directly or through others.
void Java2Htm::fdep_above(int n) {
  FILE* f = open_page(j2h + "/bf/" + std::to_string(n) + ".htm", html_text(rest_of_path(n, 2)).c_str());
  fputs("<a href=../asp.htm>ASP</a> . <a href=../jsp.htm>JSP</a> . <a href=../cpp.htm>C++</a><br>\n", f);
  Btree rows;
  rows.quiet = 1;
  rows.init(nullptr, 0);
  std::string prefix = ">" + std::to_string(n) + "=";
  Btree_st st;
  for (unsigned ok = incsMe.Getmin_At(st, prefix.c_str()); ok && !strncmp(st.k, prefix.c_str(), prefix.size());
       ok = incsMe.Next(st)) {
    int r = atoi(st.k + prefix.size());
    if (r == n || r <= 0 || r > cfNr) continue;
    std::string key = rest_of_path(r, 2);
    if (rows.contains(key.c_str())) key += " (" + std::to_string(r) + ")";
    tree_put(rows, key, std::string("[ <a href=../") + nr2(r) + ".htm>code</a> ]");
  }
  show_sorted(f, rows, "");
  close_page(f);
}

void Java2Htm::copy_incsMe() {
  if (j2h.find('"') == std::string::npos) {
    snprintf(comm_buf, sizeof comm_buf, "copy incsMe \"%s\"", j2h.c_str());
    safe_ut.system(comm_buf);
  } else {
    safe_ut.copy_file((j2h + "/incsMe").c_str(), "incsMe");  // a quote cannot be passed as one word
  }
}

void Java2Htm::show_incsMe_Relation() {
  // <j2h>/incsMe keeps the relation of the previous run in this folder;
  // the first run keeps its own, so that two runs over the same sources
  // leave the same web.
  bool previous = safe_ut.ok_is_a("incsMe") == 'f';
  if (previous) copy_incsMe();
  incsMe.to_file("incsMe");
  if (!previous) copy_incsMe();
  safe_ut.ensure_dir((j2h + "/bo").c_str());
  dir_with_css(j2h + "/bf");
  FILE* f = open_page(j2h + "/fdep.htm", "Dependencies via Include Relation");
  Btree rows;
  rows.quiet = 1;
  rows.init(nullptr, 0);
  Btree_st st;
  for (int n = 1; n <= cfNr; n++) {
    if (fKind[n] != k_c && fKind[n] != k_jsp) continue;
    std::string num = std::to_string(n);
    std::string text = incsMe.Getmin_At(st, ("/" + num + "=").c_str())
                           ? std::string("[ <a href=") + nr2(n) + ".htm#eof>below</a> ]"
                           : std::string("[ below ]");
    if (incsMe.Getmin_At(st, (">" + num + "=").c_str())) {
      text += " [ <a href=bf/" + num + ".htm>above</a> ]";
      fdep_above(n);
    } else {
      text += " [ above ]";
    }
    std::string key = rest_of_path(n, 2);
    if (rows.contains(key.c_str())) key += " (" + num + ")";
    tree_put(rows, key, text);
  }
  show_sorted(f, rows, "");
  close_page(f);
}

void Java2Htm::show_notFound() {
  FILE* f = open_page(j2h + "/notfound.htm", "Includes not found ");
  Btree_st st;
  for (unsigned ok = notFound.GetFirst(st); ok; ok = notFound.Next(st))
    fprintf(f, "\n<br>%s", html_text(st.k).c_str());
  close_page(f);
}

// ------------------------------------------------------------ put_incs

int Java2Htm::put_incs(FILE* out, int depth, const std::string& path, Btree* tree, const char* pattern,
                       const char* kind) {
  if (depth > 4) return maxDepth;
  if (depth > maxDepth) maxDepth = depth;
  if (depth == 0 || !incVisited) {
    incVisited = std::make_unique<Btree>();
    incVisited->quiet = 1;
    incVisited->init(nullptr, 0);
  }
  FILE* to = out;
  FILE* cached = nullptr;
  char* text = nullptr;
  size_t textL = 0;
  Btree_st st;
  if (depth == 1) {
    auto known = incFiles.find(path);
    if (known != incFiles.end()) {
      fputs("<br>", out);
      fwrite(known->second.data(), 1, known->second.size(), out);
      return maxDepth;
    }
    cached = to = open_memstream(&text, &textL);
    if (!cached) exut.fail(__LINE__, SRC, "System: no memory for an include structure");
  } else if (depth > 1) {
    fputs("\n<br>", to);
  }
  for (int i = 0; i < depth; i++) fputs(". &nbsp; &nbsp; ", to);
  if (!tree || path.size() > 252 || !tree->Get(path.c_str(), st)) {
    fputs(html_text(semiPath(path)).c_str(), to);
  } else {
    std::string label = html_text(semiPath(path));
    if (!strcmp(kind, "cpp"))
      fprintf(to, "<a href=../%s.htm>%s</a>", nr2(atoi(st.c)), label.c_str());
    else
      fprintf(to, "<a href=%s%s.htm>%s</a>", kind, st.c, label.c_str());
    if (pattern && *pattern && !incVisited->contains(path.c_str())) {
      incVisited->StrIns('e', path.c_str(), "");
      put_incs_of_file(to, depth, path, tree, pattern, kind);
    }
  }
  if (cached) {
    fclose(cached);
    incFiles[path].assign(text, textL);
    free(text);
    put_incs(out, depth, path, tree, pattern, kind);
  }
  return maxDepth;
}

// The include names of one file at each `pattern`, read once per
// language: the structure of every page that includes the file walks them
// again.
const std::vector<std::string>& Java2Htm::include_names(const std::string& real, const char* pattern, bool cpp) {
  auto [it, fresh] = incNamesOf.try_emplace(std::string(pattern) + '\n' + real);
  if (!fresh) return it->second;
  std::string text = safe_ut.read_text(real.c_str());
  size_t L = strlen(pattern);
  // The pattern in any case ("#include" is found by "#INC"), searched in a
  // lower-case copy of the same length.
  std::string low = text, pat = pattern;
  for (char& c : low) c = (char)safe_uts::to_lower_char((unsigned char)c);
  for (char& c : pat) c = (char)safe_uts::to_lower_char((unsigned char)c);
  for (size_t at = low.find(pat); at != std::string::npos; at = low.find(pat, at + L)) {
    // "#" stands behind a blank, or opens a comment: "<!--#include".
    if (pattern[0] == '#' && at > 0 && !isspace((unsigned char)text[at - 1]) && text[at - 1] != '-') continue;
    size_t eol = text.find('\n', at);
    std::string line = text.substr(at + L, eol == std::string::npos ? std::string::npos : eol - at - L);
    size_t a = line.find_first_of(cpp ? "\"<" : "\"");
    if (a == std::string::npos) continue;
    size_t e = line.find_first_of("\">", a + 1);
    std::string name = line.substr(a + 1, e == std::string::npos ? std::string::npos : e - a - 1);
    if (!name.empty()) it->second.push_back(name);
  }
  return it->second;
}

// The includes of one file read at each `pattern`; a known, unvisited
// file goes one level deeper.
void Java2Htm::put_incs_of_file(FILE* to, int depth, const std::string& path, Btree* tree, const char* pattern,
                                const char* kind) {
  std::string real = real_of(path);
  if (real.empty()) return;
  for (const std::string& name : include_names(real, pattern, !strcmp(kind, "cpp"))) {
    std::string found;
    if (!make_path(real, found, name) || found.empty() || incVisited->contains(found.c_str())) continue;
    if (!real_of(found).empty()) put_incs(to, depth + 1, found, tree, pattern, kind);
  }
}
