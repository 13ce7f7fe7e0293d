// The state of make_hotspots over one page, and its steps.  Only the
// sources of the hotspot pass include this header.
#pragma once

#include <cstdio>
#include <string>

#include "engine/ut_htm.h"
#include "runtime/rbuffer.h"
#include "runtime/str_set.h"

class hot_pass {
 public:
  hot_pass(ut_htm& ut, rBuffer& rb, FILE* out, int page, str_set& hotSet);
  ~hot_pass();
  hot_pass(const hot_pass&) = delete;
  hot_pass& operator=(const hot_pass&) = delete;

  // Copies the page head and the body tag; false for a page without body.
  bool head();
  // The loop over the stop strings up to "</body" or "</html".
  void body();
  int found = 0;  // typed names met

 private:
  // Each returns how many characters at `a` are copied as they are, or -1
  // at the end of the body.
  int at_hit(str_el* el);
  int at_tag(str_el* el);
  int at_entity();
  int at_name(str_el* el);
  int at_keyword(str_el* el);
  int at_concept(str_el* el);
  int at_para();
  int at_secLU();
  int at_heading();
  int at_marked(bool underline);
  void undefined(const std::string& word, char before);
  int through(const char* p, const char* token, bool required);
  // The character `back` places before `a` (the scanner keeps them).
  char before(int back = 1) const { return rb.z[rb.a - back]; }
  const char* end() const { return rb.z + rb.e; }
  bool quiet() const { return in_link || no_links; }

  ut_htm& ut;
  rBuffer& rb;
  FILE* out;
  int page, docNr;
  str_set& hotSet;
  Btree pageWords;        // words indexed on this page
  std::string heading;    // the current section heading, for the index
  bool in_link = false;   // between "<a href" and "</a"
  bool no_links = false;  // inside a heading copied as it stands
  bool marked = false;    // inside a bold and underlined text already indexed
  bool bold_or_head = false;
};

// Text helpers of the hotspot pass.
namespace hot_text {
// The end of the typed word that starts at `p` (its prefix "X_" or "$"
// included): letters, digits, "_", "/" and entities that are no quote,
// blank or bracket; for "$" names also ".", ":", "\" and "-" inside.
const char* word_end(const char* p, const char* end, bool dollar);
// Length of the entity at `p`, 0 if none stands there.
int entity_len(const char* p, const char* end);
bool is_letter(unsigned char c);
// The heading's plain text: tags left out, line ends closed up.
std::string plain(const char* p, const char* end);
}  // namespace hot_text
