// Titles for the search: every title of the web goes, word by word, into
// the concept index, as a line into "xs/profs/search" (which other webs of
// a group read), and under each topic whose search word it holds.  The
// pages made of them are in engine/topic_pages.cpp.
#include <cctype>
#include <cstring>
#include <string>

#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

namespace {

const char* const SRC = "topics";
constexpr size_t max_index_line = 300;

bool capital(unsigned char c) { return (c >= 'A' && c <= 'Z') || c == 196 || c == 214 || c == 220; }

// True when `word` stands in `text` at the start of a word.
bool at_word_start(const std::string& text, const std::string& word) {
  if (word.empty()) return false;
  for (size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1))
    if (at == 0 || !isalnum((unsigned char)text[at - 1])) return true;
  return false;
}

// The document of page `page`: the one with the highest first page not
// above it; 0 when no document has pages yet.
int doc_of_page(const web_model& web, int page) {
  int best = 0, first = 0;
  for (size_t i = 1; i < web.comms.size(); i++) {
    int f = web.comms[i].firstPage;
    if (f > 0 && f <= page && f >= first) best = (int)i, first = f;
  }
  return best;
}

}  // namespace

void ut_htm::title_to_index(const char* title, const char* target) {
  if (!title || !target) safe_uts::null_pointer(__LINE__, SRC);
  const std::string t(title);
  size_t i = t.find(' ');  // the first word of the title is left out
  while (i != std::string::npos && i < t.size()) {
    while (i < t.size() && t[i] == ' ') i++;
    size_t end = t.find(' ', i);
    std::string word = t.substr(i, end == std::string::npos ? std::string::npos : end - i);
    while (!word.empty() && strchr(",.;:)!?\"", word.back())) word.pop_back();
    if (!word.empty() && capital((unsigned char)word[0])) {
      std::string line = std::string(target) + "\">" + word + "</a> : " + t;
      if (line.size() < max_index_line && line.find("&quot") == std::string::npos)
        to_index(word.c_str(), line.c_str());
    }
    i = end;
  }
}

void ut_htm::title_to_search(const char* title, const char* target, int docNr) {
  if (!title || !target) safe_uts::null_pointer(__LINE__, SRC);
  std::string file(target);  // the target within its document
  if (docNr == 0) {
    size_t slash = file.find('/');
    if (slash != std::string::npos && slash > 0 &&
        file.find_first_not_of("0123456789") == slash) {
      docNr = atoi(file.c_str());
      file = file.substr(slash + 1);
    } else {
      docNr = doc_of_page(web, atoi(file.c_str()));
    }
  }
  // The page the title names must exist: as the page being cut (.tmp) or
  // as a finished one.
  std::string stem = file.substr(0, file.find('#'));
  std::string page = "xs/" + std::to_string(docNr) + "/" + stem;
  size_t dot = stem.rfind('.');
  std::string tmp = page.substr(0, page.size() - (dot == std::string::npos ? 0 : stem.size() - dot)) + ".tmp";
  if (safe_ut.ok_is_a(tmp.c_str()) != 'f' && safe_ut.ok_is_a(page.c_str()) != 'f') {
    exut.show_str("title", title);
    exut.show_str("page", tmp.c_str());
    exut.fail(__LINE__, SRC, "System: title_to_search: no page %s for the title\n", tmp.c_str());
  }
  title_to_index(title, file.c_str());
  if (!derived_.search) {
    safe_ut.ensure_dir("xs/profs");
    derived_.search_name = "xs/profs/search";
    derived_.search = safe_ut.create(derived_.search_name.c_str());
  }
  const std::string full = std::to_string(docNr) + "/" + file;
  fprintf(derived_.search, "\n-%s~%s~", title, full.c_str());
  topic_hits(title, full);
}

void ut_htm::topic_hits(const std::string& title, const std::string& target) {
  for (size_t n = 0; n < web.folders.size(); n++) {
    const topic_record& se = web.folders[n];
    if (!at_word_start(title, se.phrase)) continue;
    char key[1200];
    if (se.label && !se.label->empty())
      snprintf(key, sizeof key, "%s[%i]+%s: %s", se.head.c_str(), (int)n, se.label->c_str(),
               title.c_str());
    else
      snprintf(key, sizeof key, "%s[%i]-%s", se.head.c_str(), (int)n, title.c_str());
    tree_put(web.topicHits, key, target);
  }
}

void ut_htm::close_search() {
  if (derived_.search) safe_ut.close_FILE(&derived_.search, __FILE__, __LINE__);
  derived_.search = nullptr;
}
