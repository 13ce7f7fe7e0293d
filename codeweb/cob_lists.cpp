// The list pages of the COBOL relation: above and below pages of every
// entity (cobA/, cobB/), the entity lists cobp.htm and cobs.htm, the
// definitions cobe.htm, the multiple definitions cobm.htm with the list of
// forgotten sources, and cobns.htm.
#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <set>
#include <string_view>
#include <unordered_map>

#include "codeweb/cob_rows.h"
#include "codeweb/java2htm.h"
#include "engine/escape.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "cob_lists";

std::string lower(std::string s) {
  for (char& c : s) c = (char)safe_uts::to_lower_char((unsigned char)c);
  return s;
}


bool ends_with(const std::string& s, const char* t) {
  size_t n = strlen(t);
  return s.size() >= n && s.compare(s.size() - n, n, t) == 0;
}

const char* const forget_file = "/forget.lst";

}  // namespace

// One page of an entity: its definition as head, then one row per other
// side; "is the source" where that side is defined on the head's page.
namespace {
struct side_page {
  Java2Htm& web;
  std::unordered_map<std::string, std::string> defs;  // entity -> link of its definition, looked up once
  const std::string& def_of(const std::string& entity) {
    auto [at, added] = defs.try_emplace(entity);
    if (added) at->second = cob::def_link(web.in_index(cob::name_of(entity)));
    return at->second;
  }
  void write(const std::string& dir, int nr, const char* title, const std::string& head,
             const std::vector<std::pair<std::string, std::string>>& others) {
    std::string file = dir + "/" + Java2Htm::nr2(nr) + ".htm";
    web.dir_with_css(dir + "/" + std::to_string(nr / 100));
    FILE* p = web.open_page(file, title);
    const std::string& hd = def_of(head);
    std::string headPage = hd.substr(0, hd.find('#'));
    if (hd.empty())
      fprintf(p, "\n%s<br>", html_text(head).c_str());
    else
      fprintf(p, "\n<a href=../../%s>%s</a><br>", html_attr(hd).c_str(), html_text(head).c_str());
    for (auto& [other, data] : others) {
      const std::string& d = def_of(other);
      const char* label = !d.empty() && d.substr(0, d.find('#')) == headPage ? "is the source" : "";
      std::string link = d.empty() ? cob::link_of(data) : d;
      fprintf(p, "\n<br>%s <a href=../../%s> .. %s</a>", label, html_attr(link).c_str(), html_text(other).c_str());
    }
    close_page(p);
  }
};
}  // namespace

// The closed relation is walked twice: first for its entities, then writing
// the below page of each left side as its rows pass by, while the turned
// rows are kept as numbers (entity, entity, data) for the above pages.  So
// no row is held as text twice, however large the closure.
void Java2Htm::cob_entity_pages() {
  std::map<std::string, int> nr;  // entity -> its page number, in name order
  cob::for_rows(cobUsesTr, "", [&](const cob::row& r) {
    if (r.b.empty() || r.a == r.b) return;
    nr.try_emplace(r.a, 0);
    nr.try_emplace(r.b, 0);
  });
  std::vector<const std::string*> entity{nullptr};
  std::unordered_map<std::string_view, int> nr_of;  // the same numbers, for the lookups by row
  nr_of.reserve(nr.size());
  for (auto& e : nr) {
    e.second = (int)entity.size();
    entity.push_back(&e.first);
    nr_of.emplace(e.first, e.second);
  }
  std::vector<char> above(entity.size()), below(entity.size());
  std::unordered_map<std::string, int> dataNr;
  std::vector<const std::string*> datas;
  std::vector<std::array<int, 3>> turned;  // b, a, data
  side_page sp{*this, {}};
  std::string head;
  std::vector<std::pair<std::string, std::string>> list;
  auto flush = [&](const char* dir, const char* title) {
    if (!list.empty()) sp.write(j2h + dir, nr_of.at(head), title, head, list);
    list.clear();
  };
  cob::for_rows(cobUsesTr, "", [&](const cob::row& r) {
    if (r.b.empty() || r.a == r.b) return;
    if (r.a != head) flush("/cobB", "is application of:"), head = r.a;
    list.push_back({r.b, r.data});
    auto d = dataNr.emplace(r.data, (int)datas.size());
    if (d.second) datas.push_back(&d.first->first);
    int a = nr_of.at(r.a), b = nr_of.at(r.b);
    below[a] = above[b] = 1;
    turned.push_back({b, a, d.first->second});
  });
  flush("/cobB", "is application of:");
  // by the right side, each one's rows in the walk's (key) order
  std::stable_sort(turned.begin(), turned.end(), [](auto& x, auto& y) { return x[0] < y[0]; });
  for (auto& [b, a, d] : turned) {
    if (*entity[b] != head) flush("/cobA", "is needed for:"), head = *entity[b];
    list.push_back({*entity[a], *datas[d]});
  }
  flush("/cobA", "is needed for:");
  FILE* p = open_page(j2h + "/cobp.htm", "COBOL Entry Points, Cursors, Tables and Views");
  FILE* s = open_page(j2h + "/cobs.htm", "COBOL Storage");
  fputs("For storage without a below no sources were found:<br>", s);
  char letter[2] = {0, 0};
  int counts[2] = {};
  for (auto& [e, i] : nr) {
    int k = cob::tag_of(e) == 's';
    FILE* f = k ? s : p;
    std::string name = cob::name_of(e), nr2s = nr2(i);
    if (!name.empty() && name[0] != letter[k]) {
      letter[k] = name[0];
      fprintf(f, "\n<a name=\"%c_%u\"></a><br>|", name[0], (unsigned)i);
    }
    bool a = above[i], b = below[i];
    std::string A = a ? "<a href=cobA/" + nr2s + ".htm>above</a>" : "<font color='#FFFFF'>above</font>";
    std::string B = b ? "<a href=cobB/" + nr2s + ".htm>below</a>" : "<font color='#FFFFF'>below</font>";
    fprintf(f, "\n<br>%s . %s .. %s", A.c_str(), B.c_str(), html_text(e).c_str());
    counts[k]++;
    char t = cob::tag_of(e);
    if (a && !b && (t == 'p' || t == 's') && in_index(name).empty()) noSource.insert(e);
  }
  fprintf(p, "\n<br><br>These are %i entry points, cursors, tables and views.", counts[0]);
  fprintf(s, "\n<br><br>These are %i data structures.", counts[1]);
  close_page(p);
  close_page(s);
}

// The definitions of cobDefs made by COBOL pages (and the main programs of
// C), and the entry points called but defined nowhere.
void Java2Htm::cob_entry_points() {
  FILE* f = open_page(j2h + "/cobe.htm", "All COBOL Entry Points\nor Data Structures");
  int n = 0, without = 0;
  for (auto& r : cob::rows_of(cobDefs)) {
    std::string link = r.data.substr(0, r.data.find('~'));
    if (link.compare(0, 4, "cob/") != 0 && cob::name_of(r.a).compare(0, 5, "main ") != 0) continue;
    fprintf(f, "\n<br><a href=%s>%s</a>", html_attr(link).c_str(), html_text(r.a).c_str());
    n++;
  }
  std::set<std::string> called;
  for (auto& r : cob::rows_of(cobUses))
    if (cob::tag_of(r.b) == 'p') called.insert(r.b);
  Btree_st st;
  for (auto& e : called) {
    std::string name = lower(cob::name_of(e));
    if (cobDefs.Get(e.c_str(), st) || !in_index(cob::name_of(e)).empty()) continue;
    bool file = false;
    for (const char* x : {".cob", ".hvr", ".lib", ".pco", ".pc", ".c"}) file = file || ends_with(name, x);
    if (file) continue;
    fprintf(f, "\n<br><font color=black>%s</font>", html_text(e).c_str());
    n++;
    without++;
  }
  fprintf(f, "\n<br><br>These are %i COBOL entry points or data structures\n(%i without source code).", n, without);
  close_page(f);
}

namespace {

bool under(const std::string& path, const char* dir) { return lower(path).find(dir) != std::string::npos; }

// Of two sources of one entity: 0 or 1 for the one to keep, -1 when neither
// is preferred.  A source under /patch/ wins; else one not under /dks/, then
// one not under /kdg/.
int winner_of(const std::string& p0, const std::string& p1) {
  if (under(p0, "/patch/") != under(p1, "/patch/")) return under(p0, "/patch/") ? 0 : 1;
  for (const char* d : {"/dks/", "/kdg/"})
    if (under(p0, d) != under(p1, d)) return under(p0, d) ? 1 : 0;
  return -1;
}

}  // namespace

std::vector<std::pair<std::string, std::string>> Java2Htm::cob_multiples() {
  FILE* f = open_page(j2h + "/cobm.htm", "Multiply specified COBOL Code Sections");
  fputs("To forget code no longer in use, please run j2h.exe twice.<br>", f);
  const std::string mark = ", redundant?";
  std::vector<std::pair<std::string, std::string>> pairs;
  std::set<std::pair<std::string, std::string>> seen;
  int n = 0;
  Btree_st st;
  for (auto& r : cob::rows_of(cobDefs)) {
    if (!ends_with(r.a, mark.c_str())) continue;
    std::string base = r.a.substr(0, r.a.size() - mark.size());
    if (!cobDefs.Get(base.c_str(), st)) continue;
    std::string d0 = st.c;
    std::string path[2], link[2];
    int i = 0;
    for (auto* d : {&d0, &r.data}) {
      size_t t = d->find('~');
      link[i] = d->substr(0, t);
      path[i] = t == std::string::npos ? "" : d->substr(t + 1);
      fprintf(f, "\n<br><a href=%s>%s</a> : %s", html_attr(link[i]).c_str(), html_text(i ? r.a : base).c_str(),
              html_text(path[i]).c_str());
      i++;
    }
    n++;
    int w = winner_of(path[0], path[1]);
    if (w >= 0 && path[0] != path[1] && seen.insert({path[1 - w], path[w]}).second)
      pairs.push_back({path[1 - w], path[w]});
  }
  fprintf(f, "\n<br><br>These are %i multiply specified code sections.", n);
  close_page(f);
  return pairs;
}

// The losing sources are not renamed: they are kept on the list
// <j2h>/forget.lst, which the walk of the next run reads before it makes
// <j2h> anew and whose files it skips, so the second run no longer sees
// them and no source of the tree is touched.
void Java2Htm::hide_the_forget_files(const std::vector<std::pair<std::string, std::string>>& pairs) {
  std::set<std::string> list;
  for (auto& p : forgetList)
    if (safe_ut.ok_is_a((root + p).c_str()) == 'f') list.insert(p);
  for (auto& [loser, winner] : pairs) {
    std::string a = root + loser, b = root + winner;
    if (safe_ut.ok_is_a(a.c_str()) != 'f') continue;
    if (safe_ut.ok_is_a(b.c_str()) != 'f' || a == b) {
      printf("\nNo_forget: %s [%s]", a.c_str(), b.c_str());
      continue;
    }
    printf("\nja_forget: %s", a.c_str());
    printf("\nno_forget: %s", b.c_str());
    list.insert(loser);
  }
  std::string text;
  for (auto& p : list) text += p + "\n";
  if (!text.empty()) safe_ut.write_text((j2h + forget_file).c_str(), text);
}

void Java2Htm::read_forget_list() {
  forgetList.clear();
  std::string file = j2h + forget_file;
  if (safe_ut.ok_is_a(file.c_str()) != 'f') return;
  std::string t = safe_ut.read_text(file.c_str());
  for (size_t s = 0; s < t.size();) {
    size_t e = std::min(t.find('\n', s), t.size());
    if (e > s) forgetList.insert(t.substr(s, e - s));
    s = e + 1;
  }
}

bool Java2Htm::forgotten(const std::string& path) const {
  return !forgetList.empty() && forgetList.count(shown(path));
}

void Java2Htm::cob_no_sources() {
  FILE* f = open_page(j2h + "/cobns.htm", "No Sources found for ...");
  int n = 0;
  for (auto& e : noSource) {
    char t = cob::tag_of(e);
    if (t == 't' || t == 'u' || ends_with(e, ", redundant?")) continue;
    fprintf(f, "\n<br>%s", html_text(e).c_str());
    n++;
  }
  fprintf(f, "\n<br><br>These are %i sections without source code.", n);
  close_page(f);
}
