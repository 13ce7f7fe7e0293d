// Hotspots: the definitions in running text (bold and underlined), the
// glossary sub-pass that links each glossary term where it is used, and the
// references to a section by its title ("#_Title") resolved through the
// lines of "tmp_toc".
#include <cctype>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "engine/hotspot_pass.h"
#include "engine/section_cut.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

namespace {

using cut_text::find_in;
using cut_text::starts;

const char* const SRC = "hotspot_links";
constexpr size_t max_whole = 250;  // text of a bold and underlined definition
constexpr int max_pieces = 100;    // bold pieces in it
constexpr size_t max_line = 250;   // an index line is cut there
constexpr size_t max_term = 320;

bool tag_is(const char* p, const char* name) {
  size_t n = strlen(name);
  return !strncmp(p, name, n) && !isalpha((unsigned char)p[n]);
}

// A term without leading non-letters and without a last ".", ":" or ";".
std::string term_of(const std::string& piece) {
  size_t s = 0;
  while (s < piece.size() && !hot_text::is_letter((unsigned char)piece[s])) s++;
  std::string t = piece.substr(s);
  if (!t.empty() && strchr(".:;", t.back())) t.pop_back();
  return t;
}

}  // namespace

bool ut_htm::marked_to_index(int page, const char* p, const char* end) {
  int b = 0, u = 0;
  bool sawB = false, sawU = false;
  std::string whole, piece;
  std::vector<std::string> pieces;
  const char* q = p;
  for (; q < end && q - p < 4000; q++) {
    if (*q != '<') {
      if (b > 0 || u > 0) {
        if (whole.size() >= max_whole) return false;
        if (*q != '\n') whole += *q;
        if (b > 0 && *q != '\n') piece += *q;
      }
      continue;
    }
    if (tag_is(q, "<b")) {
      b++, sawB = true;
    } else if (tag_is(q, "<u")) {
      u++, sawU = true;
    } else if (tag_is(q, "</b")) {
      if (u == 0 && !sawU) return false;  // bold alone is no definition
      if (!piece.empty() && (int)pieces.size() < max_pieces) pieces.push_back(piece);
      piece.clear();
      b--;
    } else if (tag_is(q, "</u")) {
      if (--u <= 0) break;
    } else if (tag_is(q, "</p") || tag_is(q, "<p") || tag_is(q, "</td")) {
      return false;
    }
    const char* gt = static_cast<const char*>(memchr(q, '>', end - q));
    if (!gt) return false;
    q = gt;
  }
  if (q >= end || q - p >= 4000 || !sawB || !sawU || whole.empty()) return false;
  if (!piece.empty() && (int)pieces.size() < max_pieces) pieces.push_back(piece);
  hot_nr++;
  if (pieces.empty()) pieces.push_back(whole);
  for (auto it = pieces.rbegin(); it != pieces.rend(); ++it) {
    std::string term = term_of(*it);
    if (term.empty()) continue;
    if (term.size() > max_term) term.resize(max_term);
    std::string rest = whole;
    size_t at = rest.find(term);
    if (at != std::string::npos) {
      size_t e = at + term.size();
      while (e < rest.size() && strchr(" :.,", rest[e])) e++;
      rest.erase(at, e - at);
    }
    std::string line = std::to_string(page) + ".htm#e" + std::to_string(hot_nr) + "\">" + term +
                       "</a> : " + rest;
    if (line.size() > max_line) line.resize(max_line);
    to_index((term + "~" + whole + std::to_string(hot_nr)).c_str(), line.c_str());
  }
  return true;
}

void ut_htm::gloss_pass(const char* from, const char* to, str_set& glossSet) {
  FILE* out = safe_ut.open_FILE(to, "w");
  {
    rBuffer rb(from);
    int copy = 0;
    while (str_el* el = rb.find(copy, glossSet, out)) {
      const char* p = rb.z + rb.a;
      const char* end = rb.z + rb.e;
      if (*p == '<') {
        // Nothing happens inside a link; other tags are copied.
        const char* stop = (p[1] == 'a' || p[1] == 'A') && (p[2] == ' ' || p[2] == '>')
                               ? find_in(p, end, "</a")
                               : p;
        const char* gt = stop ? static_cast<const char*>(memchr(stop, '>', end - stop)) : nullptr;
        copy = gt ? (int)(gt + 1 - p) : 1;
        continue;
      }
      unsigned char b = rb.a > 0 ? (unsigned char)p[-1] : ' ';
      unsigned char a = p + el->L < end ? (unsigned char)p[el->L] : ' ';
      bool word_before = safe_uts::is_alnum(b) || hot_text::is_letter(b);
      bool word_after = islower(a) || a >= 0xC0;
      if (word_before || word_after) {
        copy = 1;
        continue;
      }
      fprintf(out, "<a href=\"../glossar%s\">%s</a>", glossRef(el->v).c_str(), el->k);
      rb.a += el->L;
      copy = 0;
    }
  }
  safe_ut.close_FILE(&out, SRC, __LINE__);
}

int ut_htm::page_of_secRef(const char* key) {
  if (!secRefs_) {
    // The lines "\n<page>>#_<key>" of the last contents written, read once.
    secRefs_ = std::make_unique<std::map<std::string, int>>();
    const char* file = safe_ut.ok_is_a("tmp_toc") == 'f' ? "tmp_toc" : "../tmp_toc";
    if (safe_ut.ok_is_a(file) == 'f') {
      std::string t = safe_ut.read_text(file);
      for (size_t k = 0; k < t.size();) {
        size_t nl = t.find('\n', k);
        if (nl == std::string::npos) nl = t.size();
        std::string line = t.substr(k, nl - k);
        size_t m = line.find(">#_");
        if (m != std::string::npos) secRefs_->emplace(line.substr(m + 3), atoi(line.c_str()));
        k = nl + 1;
      }
    }
  }
  auto it = secRefs_->find(key);
  return it == secRefs_->end() ? 0 : it->second;
}

void ut_htm::fix_secRefs(int page) {
  if (page < 1 || page >= (int)page_doc.size() || page_doc[page] < 1) return;
  std::string stem = std::to_string(page_doc[page]) + "/" + std::to_string(page);
  std::string htm = stem + ".htm", tmp = stem + ".tmp";
  if (safe_ut.ok_is_a(htm.c_str()) != 'f') return;
  {
    rBuffer probe(htm.c_str());
    if (!probe.find(0, "href=\"#_", nullptr)) return;
  }
  FILE* out = safe_ut.open_FILE(tmp.c_str(), "w");
  {
    rBuffer rb(htm.c_str());
    int copy = 0;
    while (rb.find(copy, "href=\"#_", out)) {
      const char* x = rb.z + rb.a + 8;
      const char* q = find_in(x, rb.z + rb.e, "\"");
      if (!q || q - x > 250) {
        copy = 8;
        continue;
      }
      std::string key;
      for (const char* c = x; c < q; c++)
        if (isalpha((unsigned char)*c)) key += (char)tolower((unsigned char)*c);
      int target = page_of_secRef(key.c_str());
      if (!target) {
        printf("\nnotocp: %s", key.c_str());
        target = 1;
      }
      int d = target < (int)page_doc.size() && page_doc[target] > 0 ? page_doc[target] : 1;
      fprintf(out, "href=\"../%i/%i.htm\"", d, target);
      rb.a = (int)(q + 1 - rb.z);
      copy = 0;
    }
  }
  safe_ut.close_FILE(&out, SRC, __LINE__);
  safe_ut.remove_file(htm.c_str());
  safe_ut.rename_file(tmp.c_str(), htm.c_str());
}
