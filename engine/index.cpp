// Index: the entries of the concept index, gathered in allIndex while the
// pages are written.  (The index pages themselves come with the web pass.)
#include <cctype>
#include <cstring>
#include <string>

#include "engine/ut_htm.h"
#include "runtime/safe_uts.h"

namespace {
constexpr size_t index_key_cut = 40;  // of the key, for the index key
}

void ut_htm::to_index(const char* key, const char* line) {
  if (!key || !line) safe_uts::null_pointer(__LINE__, "index");
  if (!*key) return;
  // "<first character><key><number at the line's start>": the initial groups
  // the entries by letter, the number keeps a word's places apart.
  std::string k(key, strnlen(key, index_key_cut));
  std::string number;
  for (const char* p = line; isdigit((unsigned char)*p); p++) number += *p;
  std::string text(line);
  size_t nb = text.find("&nbsp;</a>");
  if (nb != std::string::npos) text.erase(nb, 6);
  tree_put(web.allIndex, k.substr(0, 1) + k + number, text);
}
