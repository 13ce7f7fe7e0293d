// The index pages of typed names: all definitions of the web are gathered
// in one sorted tree (engine/index_defs.cpp), and a walk over it writes one
// page per kind ("R_.htm", "A_.htm", ... "$_.htm"), each opened by its
// header key.  Names that share a first part ("Customer Account",
// "Customer Billing") stand in the index as one line "Customer ..." that
// leads to a detail page det/<n>.htm listing them.  Then the problems page
// and the fixed pages (engine/problems_page.cpp).
#include <cctype>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "engine/index_text.h"
#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/owned_file.h"
#include "runtime/safe_uts.h"

namespace {

const char* const SRC = "index_pages";
const char* const kind_headers[] = {"$_", "D_", "A_", "P_", "C_", "m_", "V_", "B_", "E_", "R_", "S_"};
const char* const page_end = "\n</p></body></html>\n";

using index_text::begins;
using index_text::trimmed;

std::string without_blanks(const std::string& s) {
  std::string r;
  for (char c : s)
    if (c != ' ') r += c;
  return r;
}

bool is_header(const std::string& k) { return k.size() == 2 && k[1] == '_'; }

// The name an index entry shows: the text of "D_(text)", the rest of a
// typed key "C_ Name"; empty for a key that is neither.
std::string name_of(const std::string& k) {
  if (begins(k, "D_(")) {
    std::string n = k.substr(3);
    if (!n.empty() && n.back() == ')') n.pop_back();
    return n;
  }
  if (k.size() > 2 && k[1] == '_') return trimmed(k.substr(2));
  return "";
}

// Where the first part of `name` ends by its own form: behind two
// characters and a colon, at the first of ",:_=" (also a blank when the
// name starts with two capitals), at a colon, or at a blank before a typed
// name or two capitals.  npos when nothing ends it.
size_t part_end(const std::string& name) {
  if (name.size() > 2 && name[2] == ':') return 2;
  bool caps = name.size() > 1 && isupper((unsigned char)name[0]) && isupper((unsigned char)name[1]);
  size_t end = name.find_first_of(caps ? " ,:_=" : ",:_=");
  end = std::min(end, name.find(':'));
  for (size_t b = name.find(' '); b != std::string::npos && b < end; b = name.find(' ', b + 1)) {
    if (b + 2 < name.size() && isupper((unsigned char)name[b + 1]) &&
        (name[b + 2] == '_' || isupper((unsigned char)name[b + 2]))) {
      end = b;
      break;
    }
  }
  return end;
}

// True when `name` begins with `group` followed by a separator: a member
// of that group.
bool member_of(const std::string& name, const std::string& group) {
  return !group.empty() && name.size() > group.size() && begins(name, group.c_str()) &&
         strchr(" ,:_=", name[group.size()]);
}

// The group `name` opens together with the name that follows it, or "":
// the first part of `name` when `next` shares it, else the prefix both
// share, cut back to a blank or comma.
std::string group_of(const std::string& name, const std::string& next) {
  size_t lead = 0;
  for (const char* p : {"How to ", "Reuse "})
    if (begins(name, p)) lead = strlen(p);
  size_t end = part_end(name.substr(lead));
  if (end != std::string::npos && end > 0) {
    std::string part = trimmed(name.substr(0, lead + end));
    if (member_of(name, part) && member_of(next, part)) return part;
  }
  size_t n = 0;
  while (n < name.size() && n < next.size() && name[n] == next[n]) n++;
  if (n == 0) return "";
  size_t cut = name.find_last_of(" ,", n - 1);
  if (cut == std::string::npos) return "";
  std::string common = trimmed(name.substr(0, cut));
  while (!common.empty() && common.back() == ',') common = trimmed(common.substr(0, common.size() - 1));
  return common.size() > 1 && member_of(name, common) && member_of(next, common) ? common : "";
}

struct index_entry {
  std::string key, data;
};

// The walk over the sorted index, writing the pages.
class index_walk {
 public:
  index_walk(ut_htm& ut, FILE* first) : ut_(ut), page_(first) {}
  void run(const std::vector<index_entry>& all);

 private:
  void header(const std::string& key);
  void entry(const std::string& key, const std::string& data, const std::string& next);
  void line(const std::string& target, const std::string& name, char initial);
  void open_detail(const std::string& group);
  void detail_line(const std::string& name, const std::string& key, const std::string& data);
  void close_detail();
  std::string target_of(const std::string& key, const std::string& data) const;

  ut_htm& ut_;
  owned_FILE page_;
  owned_FILE det_;
  bool first_ = true;         // no line on the page yet
  bool letters_ = false;      // letter anchors (on the page of semi titles)
  char last_letter_ = 'A';    // the initial anchored last
  std::set<std::string> bare_;  // the keys listed, blanks taken off
  std::string group_;         // the group of the open detail page
  int det_nr_ = 0;            // detail pages made
};

void index_walk::run(const std::vector<index_entry>& all) {
  for (size_t i = 0; i < all.size(); i++) {
    const index_entry& e = all[i];
    printf("\nNAM %s --> %s", e.key.c_str(), e.data.c_str());
    if (is_header(e.key)) {
      header(e.key);
      continue;
    }
    if (e.key.size() < 2 || (e.key[1] != '_' && !begins(e.key, "D_("))) continue;
    entry(e.key, e.data, i + 1 < all.size() ? name_of(all[i + 1].key) : "");
  }
  close_detail();
  fputs(page_end, page_.f);
  safe_ut.close_FILE(&page_.f, SRC, __LINE__);
}

void index_walk::header(const std::string& key) {
  close_detail();
  fputs(page_end, page_.f);
  safe_ut.close_FILE(&page_.f, SRC, __LINE__);
  page_.f = safe_ut.create((key + ".htm").c_str());
  ut_.HeaderMenu(page_.f, -1, 0, key.c_str(), "");
  ut_.ourMenu(__LINE__, SRC, page_.f, 2, key.c_str(), nullptr, 0);
  first_ = true;
  letters_ = key == "D_";
  last_letter_ = 'A';
}

void index_walk::entry(const std::string& key, const std::string& data, const std::string& next) {
  const std::string name = name_of(key);
  if (name.empty()) return;
  // Place holders "C_..." list nothing.
  if (name == "..." && strchr("RAPBVCS", key[0])) return;
  if (!bare_.insert(without_blanks(key)).second) return;
  if (isalpha((unsigned char)name[0]) && !isupper((unsigned char)name[0])) return;
  if (det_.f && member_of(name, group_)) {
    detail_line(name, key, data);
    return;
  }
  close_detail();
  std::string group = group_of(name, next);
  if (group.empty()) {
    line(target_of(key, data), name, name[0]);
    return;
  }
  open_detail(group);
  line("det/" + std::to_string(det_nr_) + ".htm", group + " ...", name[0]);
  detail_line(name, key, data);
}

std::string index_walk::target_of(const std::string& key, const std::string& data) const {
  std::string t = data;
  // An installation parameter's target is seen from a page folder.
  if (key[0] == '$' && begins(t, "../")) t = t.substr(3);
  size_t digits = 0;
  while (digits < t.size() && isdigit((unsigned char)t[digits])) digits++;
  if (digits && digits < t.size() && t[digits] == '.') {
    int page = atoi(t.c_str());
    if (page > 0 && page < (int)ut_.page_doc.size() && ut_.page_doc[page] > 0)
      t = std::to_string(ut_.page_doc[page]) + "/" + t;
  }
  return t;
}

void index_walk::line(const std::string& target, const std::string& name, char initial) {
  std::string anchor;
  if (letters_ && initial > last_letter_) {
    anchor = std::string("<a name=\"") + initial + "\"></a>";
    last_letter_ = initial;
  }
  char buf[3000];
  snprintf(buf, sizeof buf, "%s%s<a href=\"%s%s\">%s</a>", first_ ? "</p><p class=1>" : "<br/>",
           anchor.c_str(), "", target.c_str(), ut_htm::warner(name.c_str()).c_str());
  first_ = false;
  fputs(buf, page_.f);
  printf("\nWWW%s", buf);
}

void index_walk::open_detail(const std::string& group) {
  if (++det_nr_ >= ut_htm::max_detail_pages) {
    printf("Array detName[ %i ] is too short\n", ut_htm::max_detail_pages);
    exut.show_str("group", group.c_str());
    exut.fail(__LINE__, SRC, "Array detName[ %i ] is too short\n", ut_htm::max_detail_pages);
  }
  group_ = group;
  if ((int)ut_.detName.size() <= det_nr_) ut_.detName.resize(det_nr_ + 1);
  ut_.detName[det_nr_] = group;
  det_.f = safe_ut.create(("det/" + std::to_string(det_nr_) + ".htm").c_str());
  ut_.HeaderMenu(det_.f, 1, 0, group.c_str(), "");
  ut_.ourMenu(__LINE__, SRC, det_.f, 2, nullptr, nullptr, 1);
  fprintf(det_.f, "\n<center><h4>%s</h4></center><p><br/>", group.c_str());
}

void index_walk::detail_line(const std::string& name, const std::string& key,
                             const std::string& data) {
  std::string rest = trimmed(name.substr(group_.size()));
  while (!rest.empty() && strchr(",:_=", rest[0])) rest = trimmed(rest.substr(1));
  std::string shown = name;
  if (shown.size() > 5 && !shown.compare(shown.size() - 5, 5, "(...)")) shown.resize(shown.size() - 5);
  std::string target = target_of(key, data);
  // A code web's frame names the document it shows.
  if (target.find("frame.htm") != std::string::npos) {
    size_t slash = target.rfind('/', target.find("frame.htm"));
    if (slash != std::string::npos && slash > 0) {
      size_t before = target.rfind('/', slash - 1);
      shown = target.substr(before == std::string::npos ? 0 : before + 1,
                            slash - (before == std::string::npos ? 0 : before + 1));
    }
  }
  fprintf(det_.f, "\n%s%s : <a href=\"../%s%s\">%s</a>", "<br/>", rest.c_str(), "", target.c_str(),
          ut_htm::warner(shown.c_str()).c_str());
}

void index_walk::close_detail() {
  if (!det_.f) return;
  fputs(page_end, det_.f);
  safe_ut.close_FILE(&det_.f, SRC, __LINE__);
  group_.clear();
}

// The documents of the web under their titles: the head page's contents,
// or the file of a document without pages.
void documents_into(web_model& web, Btree& index) {
  Btree_st st;
  for (unsigned ok = web.titles.GetFirst(st); ok; ok = web.titles.Next(st)) {
    int n = atoi(st.c);
    if (n < 1 || n >= (int)web.comms.size()) continue;
    const doc_record& rec = web.comms[n];
    std::string target;
    if (rec.firstPage > 0)
      target = std::to_string(n) + "/" + std::to_string(rec.firstPage) + ".htm#2";
    else if (!rec.target.empty())
      target = std::to_string(n) + "/" + rec.target;
    else
      continue;
    tree_put(index, "D_(" + std::string(st.k, st.k_L) + ")", target);
  }
}

}  // namespace

void ut_htm::create_index() {
  owned_FILE first(safe_ut.create("index.htm"));
  fputs("\n<a name=\"3\"></a>", first.f);
  safe_ut.ensure_dir("det");
  Btree index;
  prepare_tree(index, "index");
  docu_files_index(index);
  index_of_defs(index);
  index.show("index", stdout);
  Btree_st st;
  for (unsigned ok = semis.GetFirst(st); ok; ok = semis.Next(st))
    semi_variants(index, std::string(st.k, st.k_L).c_str(), st.c);
  documents_into(web, index);
  // Entries that a document marked as left out.
  std::vector<std::string> dropped;
  for (unsigned ok = index.GetFirst(st); ok; ok = index.Next(st))
    if (strstr(st.k, ".- ")) dropped.emplace_back(st.k, st.k_L);
  for (const std::string& k : dropped) index.Rem(k.c_str());
  for (const char* h : kind_headers) tree_put(index, h, "");
  std::vector<index_entry> all;
  for (unsigned ok = index.GetFirst(st); ok; ok = index.Next(st))
    all.push_back(index_entry{std::string(st.k, st.k_L), std::string(st.c)});
  printf("\ncreate ALL index ...");
  index_walk walk(*this, first.f);
  first.f = nullptr;
  walk.run(all);
  problems_page(index);
  if (traceMe) {
    NoSp.show("NoSp", stdout);
    defs.show("defs", stdout);
    ANam.show("ANam", stdout);
  }
  fixed_pages();
  empty_tree(index);
}
