// Hotspots: the names themselves.  A typed name with a definition becomes a
// link (into another document with "../<docNr>/" in front); one without
// gets an anchor, the hint "[?]" and a line on the problems page; keywords
// link to their anchor; concept keywords and definitions in running text go
// into the index.
#include <cctype>
#include <cstring>
#include <string>
#include <vector>

#include "engine/hotspot_pass.h"
#include "engine/section_cut.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

namespace {

using cut_text::find_in;
using cut_text::starts;

const char* const place_holder = "1.htm#e4";  // data of the bare prefixes in defs
constexpr int max_typed = 100;                // typed names of one paragraph
constexpr size_t max_marked = 250;            // text of a bold and underlined definition
constexpr int max_pieces = 100;

bool blank(unsigned char c) { return c == ' ' || c == '\n' || c == '\t' || c == '\r' || c == 160; }

// Entities that end a word: quotes, blanks and brackets.
bool ending_entity(const char* p, int n) {
  for (const char* e : {"&nbsp;", "&#160;", "&quot;", "&#147;", "&#148;", "&#132;", "&lt;",
                        "&gt;", "&amp;"})
    if ((int)strlen(e) == n && !strncmp(p, e, n)) return true;
  return false;
}

// The entities over which a concept keyword reaches into a longer word.
const char* const word_entities[] = {"&#228", "&#225", "&#252", "&#173", "&#148",
                                     "&#129", "&#142", "&#153", "&#154"};

// Length of a word character of a concept keyword at `p` (0: none).
int concept_char(const char* p, const char* end) {
  if (p >= end) return 0;
  if (hot_text::is_letter((unsigned char)*p) || isdigit((unsigned char)*p)) return 1;
  for (const char* e : word_entities) {
    int n = (int)strlen(e);
    if (end - p >= n && !strncmp(p, e, n)) return p + n < end && p[n] == ';' ? n + 1 : n;
  }
  return 0;
}

std::string without(std::string s, const char* part) {
  for (size_t k; (k = s.find(part)) != std::string::npos;) s.erase(k, strlen(part));
  return s;
}

}  // namespace

namespace hot_text {

bool is_letter(unsigned char c) { return isalpha(c) || c >= 0xC0; }

int entity_len(const char* p, const char* end) {
  if (p >= end || *p != '&') return 0;
  const char* q = p + 1;
  while (q < end && q - p < 9 && (isalnum((unsigned char)*q) || *q == '#')) q++;
  return q < end && *q == ';' && q > p + 1 ? (int)(q + 1 - p) : 0;
}

const char* word_end(const char* p, const char* end, bool dollar) {
  const char* q = p + (dollar ? 1 : 2);
  while (q < end && q - p < 200) {
    unsigned char c = *q;
    if (is_letter(c) || isdigit(c) || c == '_' || c == '/') {
      q++;
    } else if (int n = entity_len(q, end); n && !ending_entity(q, n)) {
      q += n;
    } else if (dollar && strchr(".:\\-", c) && q + 1 < end &&
               (isalnum((unsigned char)q[1]) || q[1] == '_')) {
      q++;
    } else {
      break;
    }
  }
  while (q > p + 2 && q[-1] == '/') q--;
  return q;
}

std::string plain(const char* p, const char* end) {
  std::string t;
  bool tag = false;
  for (; p < end && t.size() < 250; p++) {
    if (*p == '<') tag = true;
    else if (*p == '>') tag = false;
    else if (!tag && *p != '\n' && *p != '\r' && *p) t += *p;
  }
  return t;
}

}  // namespace hot_text

std::string ut_htm::link_target(const std::string& data, int docNr) const {
  // A target that starts with a page number lies in that page's document.
  int P = atoi(data.c_str());
  if (isdigit((unsigned char)data[0]) && P > 0 && P < (int)page_doc.size()) {
    int d = page_doc[P];
    if (d > 0 && d != docNr) return "../" + std::to_string(d) + "/" + data;
  }
  // The glossary pages lie in the web's root.
  if (starts(data, "glossar")) return "../" + data;
  return data;
}

int hot_pass::at_name(str_el* el) {
  const char* p = rb.z + rb.a;
  const bool dollar = el->k[0] == '$';
  const char* we = hot_text::word_end(p, end(), dollar);
  const char b = before();
  if (b == '-' && !quiet()) {  // a value link
    const char* target = el->v[0] ? el->v : el->k;
    fprintf(out, "<a href=\"%s.htm\">%s</a>", target, el->k);
    return rb.a += el->L, 0;
  }
  bool nbsp = rb.a >= 6 && !strncmp(p - 6, "&nbsp;", 6);
  if (!(b == '>' || blank((unsigned char)b) || nbsp) || quiet()) return (int)(we - p);
  std::string word(p, we);
  const char* behind = we;
  // X_&#147;text&#147;: the prefix and the quoted text are one name.
  if (we - p == 2 && starts(we, "&#147;")) {
    const char* close = find_in(we + 6, std::min(end(), we + 206), "&#14");
    if (close) {
      word += std::string(we + 6, close);
      behind = close + 6;
    }
  }
  if (starts(behind, ".htm") || (dollar && word.size() < 2)) return (int)(behind - p);
  found++;
  auto v = tree_value(ut.defs, word);
  if (v && !(b == '>' && before(2) == '"')) {
    std::string target = ut.link_target(*v, docNr);
    int d = isdigit((unsigned char)(*v)[0]) ? ut.page_doc[std::min<int>(atoi(v->c_str()), (int)ut.page_doc.size() - 1)] : 0;
    if (ut.web.hotspots_off) {
      fputs(word.c_str(), out);
      printf("\n- nop  %s", word.c_str());
    } else if ((d == 0 || d == 1) && *v == place_holder) {
      fputs(word.c_str(), out);
    } else {
      fprintf(out, "<a href=\"%s\">%s</a>", target.c_str(), word.c_str());
      ut.hot_links++;
    }
  } else if (v) {
    fputs(word.c_str(), out);  // the text of a link already
  } else {
    undefined(word, b);
  }
  rb.a = (int)(behind - rb.z);
  return 0;
}

// A typed name without a definition.
void hot_pass::undefined(const std::string& word, char b) {
  bool typed = word.size() > 1 && word[1] == '_';
  if (word.size() < 3 || word.find_first_not_of(' ') == std::string::npos) {
    fputs(word.c_str(), out);  // a bare prefix
    return;
  }
  bool slash = word.find('/') != std::string::npos;
  bool known = ((starts(word, "D_") || starts(word, "A_")) && hot_text::is_letter(word[2])) || slash;
  std::string rest = word.substr(typed ? 2 : 1);
  bool hint = !(known || rest == "_&lt;&gt;" || rest == "..." || rest == "x" ||
                tree_holds(ut.noProblem, word));
  const char* text = !hint ? "" : typed ? ut_htm::hint_text : ut_htm::hint_words;
  if (hint) ut.hints++;
  if (ut.web.hotspots_off) {
    fprintf(out, "%s %s", word.c_str(), text);
    printf("\n- nop  %s", word.c_str());
  } else {
    int n = ++ut.hot_nr;
    fprintf(out, "<a name=e%i></a>%s%s", n, word.c_str(), text);
    ut.word_to_index(pageWords, word, heading, page, n);
  }
  if (starts(word, "S_(") || rest == "..." || safe_uts::is_alnum((unsigned char)b) || known) return;
  std::string name = without(word, "&#173;");
  while (!name.empty() && (unsigned char)name.back() == 160) name.pop_back();
  char key[64];
  snprintf(key, sizeof key, "<a href=%i.htm>%i - </a>", page, page + 10000);
  tree_put(ut.NoSp, key + name);
}

// A keyword: a link to the anchor of its definition.
int hot_pass::at_keyword(str_el* el) {
  const char* p = rb.z + rb.a;
  const char* e = p + el->L;
  bool inside = safe_uts::is_alnum((unsigned char)before()) ||
                (e < end() && safe_uts::is_alnum((unsigned char)*e));
  if (inside || quiet()) return el->L;
  fprintf(out, "<a href=\"%s\">%s</a>", ut.link_target(el->v + 2, docNr).c_str(), el->k);
  rb.a += el->L;
  return 0;
}

// A concept keyword: may stand inside a longer word; the word goes into the
// index under the keyword's concept.
int hot_pass::at_concept(str_el* el) {
  const char* p = rb.z + rb.a;
  const char* e = p + el->L;
  for (int n; (n = concept_char(e, end())) > 0;) e += n;
  // To the left over the same characters, "-" and "uml;" entities, when
  // the keyword starts in lower case; the text there is written already.
  const char* s = p;
  if (islower((unsigned char)*p)) {
    const char* low = rb.z + std::max(rb.a - 150, 0);
    while (s > low) {
      unsigned char c = s[-1];
      if (hot_text::is_letter(c) || isdigit(c) || c == '-') s--;
      else if (c == ';' && s - 6 >= low && s[-6] == '&' && !strncmp(s - 4, "uml", 3)) s -= 6;
      else break;
    }
  }
  std::string word(s, e);
  const std::string name = el->v + 1;
  int n = 0;
  if (hot_text::is_letter((unsigned char)word[0]) && isupper((unsigned char)word[0])) {
    n = ++ut.hot_nr;
  } else {
    // "Kunden- und konto": the word ending in "-" before it is the front.
    const char* q = s;
    const char* low = rb.z + std::max(rb.a - 150, 0);
    while (q > low && (blank((unsigned char)q[-1]) || q[-1] == '>')) {
      if (q[-1] == '>') {
        while (q > low && q[-1] != '<') q--;
        if (q > low) q--;
      } else {
        q--;
      }
    }
    if (q > low && q[-1] == '-') {
      const char* f = q - 1;
      while (f > low && hot_text::is_letter((unsigned char)f[-1])) f--;
      word = std::string(f, q) + word;
      n = ++ut.hot_nr;
    } else {
      std::string around(low, std::min(end(), e + 150) - low);
      printf("\ncokw.ges: %s", around.c_str());
      printf("\ncokw.gef: %s", word.c_str());
    }
  }
  if (n) fprintf(out, "<a name=e%i></a>", n);
  fwrite(p, 1, e - p, out);
  rb.a = (int)(e - rb.z);
  std::string at = std::to_string(page) + ".htm";
  ut.to_index((word + "~" + word + "~1").c_str(),
              (at + "#e" + std::to_string(n) + "\">" + word + "</a> : " + name + " = " + word).c_str());
  ut.to_index((name + "~" + word + "~2").c_str(),
              (at + "\">" + name + "</a> : " + word).c_str());
  return 0;
}

std::vector<std::string> ut_htm::typed_names(const char* p, const char* end) {
  std::vector<std::string> names;
  const char* stop = p;
  for (bool tag = false; stop < end; stop++) {
    if (*stop == '<') tag = true;
    if (tag && *stop == '>') tag = false;
    if (!tag && (starts(stop, "</p") || starts(stop, "In:") || starts(stop, "Out:"))) break;
    if (starts(stop, "</p")) break;
  }
  bool tag = false;
  for (const char* q = p; q < stop && (int)names.size() < max_typed; q++) {
    if (*q == '<') tag = true;
    if (*q == '>') tag = false;
    if (tag || (*q != '_' && *q != '$')) continue;
    const char* s = q;
    while (s > p && (isalnum((unsigned char)s[-1]))) s--;
    for (const char* ending : {"_&lt;&gt;", "_&gt;", "_&lt;"}) {
      size_t n = strlen(ending);
      if (s - p >= (long)n && !strncmp(s - n, ending, n)) s -= n;
    }
    const char* e = q + 1;
    while (e < stop) {
      if (isalnum((unsigned char)*e) || *e == '_') e++;
      else if (int n = hot_text::entity_len(e, stop); n && strncmp(e, "&quot", 5) && strncmp(e, "&#147", 5)) e += n;
      else break;
    }
    std::string name(s, e);
    q = e - 1;
    if (isdigit((unsigned char)name[0]) || starts(name, "YYY") ||
        name.find_first_not_of('_') == std::string::npos || name.size() < 2)
      continue;
    names.push_back(name);
  }
  return names;
}

void ut_htm::word_to_index(Btree& pageWords, const std::string& word, const std::string& heading,
                           int page, int anchor) {
  if (word.empty() || tree_holds(pageWords, word)) return;
  tree_put(pageWords, word);
  size_t from = heading.find_first_not_of("1234567890 .");
  if (from == std::string::npos) return;
  std::string h = heading.substr(from);
  char first = word[0] == '&' && word.size() > 1 ? word[1] : word[0];
  std::string key = std::string(1, first) + word + "~" + h.substr(0, 10) + std::to_string(hot_nr);
  std::string line = std::to_string(page) + ".htm#e" + std::to_string(anchor) + "\">" + word +
                     "</a> : " + h;
  tree_put(web.allIndex, key, line);
}
