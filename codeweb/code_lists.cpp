// Path display and the two list forms that several report pages share:
// rows grouped by their first folder (show_sorted) and the alphabet bar
// (make_ABC).
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "codeweb/java2htm.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "code_lists";
}

std::string Java2Htm::rest_of_path(int n, int k) const {
  if (n < 0 || n > cfNr) exut.fail(__LINE__, SRC, "Assertion: rest_of_path %i > cfNr = %i", n, cfNr);
  const std::string& p = fReal[n].empty() ? fPath[n] : fReal[n];
  size_t at = p.size();
  for (int i = 0; i <= k; i++) {
    size_t s = at == 0 ? std::string::npos : p.rfind('/', at - 1);
    if (s == std::string::npos) return p;
    at = s;
  }
  return p.substr(at + 1);
}

std::string Java2Htm::semiPath(const std::string& path) {
  size_t at = path.size();
  for (int i = 0; i < 3; i++) {
    size_t s = at == 0 ? std::string::npos : path.rfind('/', at - 1);
    if (s == std::string::npos) {
      at = std::string::npos;
      break;
    }
    at = s;
  }
  std::string t = at == std::string::npos ? path : path.substr(at + 1);
  std::string out;
  for (char c : t) {
    if (c == '/')
      out += " : ";
    else
      out += c;
  }
  return out;
}

bool Java2Htm::shrink_path(std::string& path) {
  size_t s = path.rfind('/');
  if (s == std::string::npos || s == 0) return false;
  path.erase(s);
  return true;
}

void Java2Htm::show_sorted(FILE* out, Btree& tree, const char* closing) {
  struct row {
    std::string key, data;
  };
  std::vector<row> rows;
  Btree_st st;
  for (unsigned ok = tree.GetFirst(st); ok; ok = tree.Next(st)) rows.push_back({st.k, st.c});
  auto group_of = [](const std::string& k) { return k.substr(0, k.find('/')); };
  std::string last(1, '\n');  // no group is a newline
  for (const row& r : rows) {
    std::string g = group_of(r.key);
    if (g == last) continue;
    fprintf(out, "\n<a href=\"#%s\">%s</a><br>", g.c_str(), g.c_str());
    last = g;
  }
  last.assign(1, '\n');
  for (const row& r : rows) {
    std::string g = group_of(r.key);
    if (g != last) fprintf(out, "\n<br>|<a name=\"%s\"></a>", g.c_str());
    last = g;
    std::string rest = g.size() < r.key.size() ? r.key.substr(g.size() + 1) : "";
    fprintf(out, "\n<br>%s <b>%s</b> %s%s", r.data.c_str(), g.c_str(), rest.c_str(), closing);
    tree.Rem(r.key.c_str());
  }
}

// Digits, then upper case, then lower case, with "<br>" between groups.
void Java2Htm::make_ABC(FILE* out, Btree& tree, bool center, int position) {
  if (center) fputs("<br><center>", out);
  bool seen[128] = {};
  Btree_st st;
  for (unsigned ok = tree.GetFirst(st); ok; ok = tree.Next(st))
    if (st.k_L > position) {
      unsigned char c = (unsigned char)st.k[position];
      if (c >= '0' && c <= 'z') seen[c] = true;
    }
  int group = -1;
  for (int c = '0'; c <= 'z'; c++) {
    if (!seen[c] || !isalnum(c)) continue;
    int g = isdigit(c) ? 0 : isupper(c) ? 1 : 2;
    if (group >= 0 && g != group) fputs("\n<br>", out);
    group = g;
    fprintf(out, "\n<a href=\"#%c_%u\">%c</a>", c, (unsigned)position, c);
  }
}

void Java2Htm::alphabet_list(FILE* out, Btree& tree,
                             const std::function<void(const std::string&, const std::string&)>& row) {
  make_ABC(out, tree, true, 0);
  fputs("\n</center>", out);
  char letter = 0;
  Btree_st st;
  for (unsigned ok = tree.GetFirst(st); ok; ok = tree.Next(st)) {
    std::string name(st.k, st.k_L);
    if (name[0] != letter) {
      letter = name[0];
      fprintf(out, "\n<a name=\"%c_%u\"></a>", letter, 0u);
    }
    row(name, st.c);
  }
}
