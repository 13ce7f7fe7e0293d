// What the index lists: the definitions of the web (defs, secTitles,
// semis), the alternatives of list-like semi titles, the documents by their
// titles, and the pages that code documents name in "j2h/docu_files".
// Everything goes into one tree, the local "index" of create_index, under
// the key by which an index page lists it.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>
#include <vector>

#include "engine/index_text.h"
#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

namespace {

const char* const SRC = "index_defs";

using index_text::begins;
using index_text::trimmed;

// Enters `k` unless the index has it already.
void put_new(Btree& index, const std::string& k, const std::string& d) {
  if (!tree_holds(index, k)) tree_put(index, k, d);
}

// The common name of the word before a key's colon: appendices, profiles
// and examples of all documents meet under one word each.
std::string colon_word(const std::string& w) {
  for (const char* a : {"Appendix", "Anhang", "Annex"})
    if (w == a) return "Annex";
  if (w == "Profil") return "Profil";
  for (const char* a : {"Beispiel", "Example", "Sample"})
    if (w == a) return "Example";
  return w;
}

// A key with its colon part named as the index groups it; a key ending in
// a colon loses it.  Inside "D_(...)" the text in the brackets counts.
std::string named_key(const std::string& k) {
  size_t from = begins(k, "D_(") ? 3 : 0;
  std::string key = k;
  size_t colon = key.find(':', from);
  if (colon != std::string::npos && colon > from)
    key = key.substr(0, from) + colon_word(key.substr(from, colon - from)) + key.substr(colon);
  if (!key.empty() && key.back() == ':') key.pop_back();
  return key;
}

// The capitalised words of `text` in runs: "How" takes a following "to",
// a leading article is left out.
std::vector<std::string> capital_runs(const std::string& text) {
  std::vector<std::string> runs, words;
  auto flush = [&] {
    static const char* const articles[] = {"The", "Der", "Die", "Das", "Ein", "Eine"};
    size_t first = 0;
    for (const char* a : articles)
      if (!words.empty() && words[0] == a) first = 1;
    std::string run;
    for (size_t i = first; i < words.size(); i++) run += (run.empty() ? "" : " ") + words[i];
    if (!run.empty()) runs.push_back(run);
    words.clear();
  };
  size_t i = 0;
  while (i < text.size()) {
    size_t end = text.find(' ', i);
    if (end == std::string::npos) end = text.size();
    std::string w = text.substr(i, end - i);
    while (!w.empty() && strchr(",.;:)!?\"", w.back())) w.pop_back();
    bool cap = !w.empty() && isupper((unsigned char)w[0]);
    if (cap || (w == "to" && words.size() == 1 && words[0] == "How")) {
      words.push_back(w);
    } else {
      flush();
    }
    i = end + 1;
  }
  flush();
  return runs;
}

}  // namespace

void ut_htm::docu_files_index(Btree& index) {
  for (size_t k = 1; k < web.comms.size(); k++) {
    const doc_record& rec = web.comms[k];
    if (rec.com != 'j' || rec.src.empty()) continue;
    const std::string j2h = rec.src + "/j2h/";
    if (safe_ut.ok_is_a((j2h + "docu_files").c_str()) != 'f') continue;
    const std::string list = safe_ut.read_text((j2h + "docu_files").c_str());
    for (size_t at = list.find("\n- "); at != std::string::npos; at = list.find("\n- ", at + 1)) {
      size_t eol = list.find('\n', at + 1);
      std::string line = list.substr(at + 3, eol == std::string::npos ? eol : eol - at - 3);
      size_t t1 = line.find('~'), t2 = line.find('~', t1 + 1), t3 = line.find('~', t2 + 1);
      if (t1 == std::string::npos || t2 == std::string::npos || t3 == std::string::npos) continue;
      std::string name = line.substr(0, t1), file = line.substr(t1 + 1, t2 - t1 - 1);
      std::string anchor = line.substr(t2 + 1, t3 - t2 - 1);
      // A file name from the list stays inside the code web's folder.
      if (file.empty() || file[0] == '/' || file.find("..") != std::string::npos) continue;
      if (safe_ut.ok_is_a((j2h + file).c_str()) != 'f') continue;
      const std::string page = safe_ut.read_text((j2h + file).c_str());
      const std::string mark = "<a href" + anchor;
      for (size_t p = page.find(mark); p != std::string::npos; p = page.find(mark, p + 1)) {
        size_t from = p + 8;  // behind "<a href="
        size_t gt = page.find('>', from);
        if (gt == std::string::npos) break;
        size_t lt = page.find('<', gt);
        std::string target = page.substr(from, gt - from), text;
        target.erase(std::remove(target.begin(), target.end(), '"'), target.end());
        text = trimmed(page.substr(gt + 1, lt == std::string::npos ? lt : lt - gt - 1));
        if (target.empty() || text.empty()) continue;
        const std::string full = "app" + std::to_string(k) + "/j2h/" + target;
        tree_put(index, "D_(" + name + ": " + text + ")", full);
        for (const std::string& run : capital_runs(text)) {
          std::string l = "\"" + full + "\">" + run + "</a>: " + text;
          to_index(run.c_str(), l.c_str());
        }
      }
    }
  }
}

void ut_htm::index_of_defs(Btree& index) {
  Btree_st st;
  for (Btree* t : {&defs, &secTitles, &semis}) {
    for (unsigned ok = t->GetFirst(st); ok; ok = t->Next(st)) {
      const std::string k(st.k, st.k_L), d(st.c);
      // A target on page 0 of a document is a fault of the cut.  Real
      // documents link addresses such as ".../0.28/": an address with a
      // scheme is no page of the web.
      if (d.find("/0.") != std::string::npos && d.find("://") == std::string::npos) {
        exut.show_str("key", k.c_str());
        exut.show_str("data", d.c_str());
        exut.fail(__LINE__, SRC, "System: index_of_defs: a target on page 0: %s\n", d.c_str());
      }
      tree_put(index, k, d);
      if (k[0] == '$') {
        // Installation parameters: their own list page, and that page as a
        // semi title.
        tree_put(index, "D_(Installation Parameters)", "../xs_" + web.web_name + "/$_.htm");
        if (k.size() > 1) tree_put(index, "$_ " + k.substr(1), d);
        continue;
      }
      if (d.empty() || !isdigit((unsigned char)d[0]) || k.size() < 3 || k[0] == '<') continue;
      const std::string key = named_key(k);
      const char* text = strchr("/\\", key[0]) ? "Installation Parameter: " : "";
      if (key.find("D_(") != std::string::npos) {
        if (key != k) tree_put(index, key, d);
      } else if (key[1] == '_') {
        tree_put(index, key.substr(0, 2) + " " + trimmed(key.substr(2)), d);
      } else {
        tree_put(index, "D_(" + std::string(text) + key + ")", d);
      }
    }
  }
}

void ut_htm::semi_variants(Btree& index, const char* key, const char* data) {
  if (!key || !data) safe_uts::null_pointer(__LINE__, SRC);
  std::string k(key);
  if (!begins(k, "D_(") || k.size() < 5 || k.back() != ')') return;
  const std::string inner = k.substr(3, k.size() - 4);
  size_t colon = inner.find(':');
  if (colon != std::string::npos) {
    std::string rest = trimmed(inner.substr(colon + 1));
    if (!rest.empty()) put_new(index, "D_(" + rest + ")", data);
    return;
  }
  // "A, B and C of x": the members of the list before the tail that the
  // last member's first lower-case word starts.
  std::vector<std::string> members;
  size_t from = 0;
  for (;;) {
    size_t comma = inner.find(", ", from), conj = std::string::npos, len = 0;
    for (const char* c : {" and ", " und ", " or ", " oder "}) {
      size_t p = inner.find(c, from);
      if (p < conj) conj = p, len = strlen(c);
    }
    size_t cut = std::min(comma, conj);
    if (cut == std::string::npos) break;
    members.push_back(trimmed(inner.substr(from, cut - from)));
    from = cut + (cut == comma ? 2 : len);
  }
  if (members.empty()) return;
  std::string last = inner.substr(from), tail;
  for (size_t b = last.find(' '); b != std::string::npos; b = last.find(' ', b + 1)) {
    if (b + 1 < last.size() && islower((unsigned char)last[b + 1])) {
      tail = last.substr(b);
      last.resize(b);
      break;
    }
  }
  members.push_back(trimmed(last));
  for (const std::string& m : members)
    if (!m.empty()) put_new(index, "D_(" + m + tail + ")", data);
}
