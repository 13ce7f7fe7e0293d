// The web profile: per document and section the size of the text, in a
// file named by the date of the build, and "secLU" beside it, which keeps
// across builds the date at which each section last changed its size.
//
// A profile holds, in this order for each document:
//   "\n--<first page>:<title>|<size>.<date>"   the document and its source
//   "\n- <size>,<section line>"                 one per section page
//   "\n- <total>,doc~\n"                        the end, with the sum
// Profiles of earlier builds are read back, so every reader here takes
// what it finds: a line of another form is passed over, never trusted.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <map>
#include <string>

#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"

namespace {

const char* const SRC = "profile";

constexpr int max_doc_name = 200;    // a longer document name in a profile fails
constexpr int docNr_limit = 8000;    // numbers of documents in "secLU"
constexpr int first_line_nr = 112;   // first order number of read_profile
constexpr long chars_per_w = 3000;   // one "w" of a document's bar
constexpr int max_bar = 180;

// Calls `fn` with every line of `file` (without its "\n"); stops when `fn`
// returns false.  Streams through the scanner: a line longer than its
// look-ahead is cut there.
template <class F>
void each_line(const char* file, F fn) {
  rBuffer rb(file, "\n");
  for (char* p = rb.find(0, "\n", nullptr); p; p = rb.find(1, "\n", nullptr)) {
    const char* b = rb.z + rb.a + 1;
    const char* end = rb.z + rb.e;
    if (b > end) break;
    const char* nl = static_cast<const char*>(memchr(b, '\n', end - b));
    std::string line(b, nl ? nl : end);
    line.erase(std::find(line.begin(), line.end(), '\0'), line.end());
    if (!fn(line)) break;
  }
}

// "- <size>,<text>": size and text; false for another form.
bool size_line(const std::string& line, unsigned long& size, std::string& text) {
  if (line.size() < 3 || line[0] != '-' || line[1] != ' ' || !isdigit((unsigned char)line[2]))
    return false;
  size_t comma = line.find(',', 2);
  if (comma == std::string::npos) return false;
  if (line.find_first_not_of("0123456789", 2) != comma) return false;
  size = strtoul(line.c_str() + 2, nullptr, 10);
  text = line.substr(comma + 1);
  return true;
}

// "--<page>:<title>|<version>": the title; false for another form.
bool doc_line(const std::string& line, std::string& title) {
  if (line.size() < 3 || line[0] != '-' || line[1] != '-') return false;
  size_t colon = line.find(':', 2);
  size_t bar = line.rfind('|');
  if (colon == std::string::npos || bar == std::string::npos || bar < colon) return false;
  title = line.substr(colon + 1, bar - colon - 1);
  return true;
}

std::string without_160(std::string s) {
  s.erase(std::remove(s.begin(), s.end(), (char)160), s.end());
  return s;
}

// The name of a section as "secLU" keeps it: escapes decoded, only
// printable characters.
std::string sec_name(const std::string& title) {
  std::string t = title;
  ut_htmst::unescape(t.data());
  t.resize(strlen(t.c_str()));
  std::string out;
  for (char c : t)
    if (ut_htmst::is_text_char((unsigned char)c)) out += c;
  return out;
}

std::string order_key(int& nr, int flag, const std::string& key) {
  if (!flag) return key;
  char b[16];
  snprintf(b, sizeof b, "%07i.", nr++);
  return b + key;
}

bool is_date(const std::string& d) {
  if (d.size() != 10 || d[4] != '.' || d[7] != '.') return false;
  for (int i : {0, 1, 2, 3, 5, 6, 8, 9})
    if (!isdigit((unsigned char)d[i])) return false;
  return true;
}

}  // namespace

std::string ut_htm::profile_date(const char* file) {
  size_t n = strlen(file);
  std::string d = n >= 10 ? std::string(file + n - 10) : std::string(file);
  if (!is_date(d)) {
    exut.show_str("profile", file);
    exut.fail(__LINE__, SRC, "System: a profile is named by its date YYYY.MM.DD: %s\n", file);
  }
  return d;
}

void ut_htm::profile_doc_line(FILE* profile, int firstPage, const char* title, const char* source) {
  if (!profile || !title || !source) safe_uts::null_pointer(__LINE__, SRC);
  long size = safe_ut.exists(source) ? safe_ut.file_size(source) : 0;
  const char* date = safe_ut.exists(source) ? safe_ut.file_date_str(source) : safe_ut.today();
  fprintf(profile, "\n--%i:%s|%ld.%s", firstPage, title, size, date);
}

void ut_htm::profile_doc_end(FILE* profile, unsigned long total) {
  if (!profile) safe_uts::null_pointer(__LINE__, SRC);
  fprintf(profile, "\n- %lu,doc~\n", total);
}

unsigned ut_htm::page_size_line(FILE* profile, const char* pageFile) {
  if (!profile || !pageFile) safe_uts::null_pointer(__LINE__, SRC);
  // The section line is the text of the first heading, tags left out and
  // line breaks closed up; the size counts every non-blank character of
  // text behind that heading's end.
  std::string title;
  unsigned size = 0;
  int state = 0;  // 0 before the heading, 1 in it, 2 behind it
  bool in_tag = false;
  rBuffer rb(pageFile, "");
  while (rb.not_at_end()) {
    for (int i = rb.a; i < rb.e; i++) {
      char c = rb.z[i];
      if (in_tag) {
        if (c == '>') in_tag = false;
        continue;
      }
      if (c == '<') {
        in_tag = true;
        const char* t = rb.z + i;
        if (i + 3 < rb.e && (t[1] == 'h' || t[1] == 'H') && isdigit((unsigned char)t[2]) && state == 0)
          state = 1;
        else if (i + 4 < rb.e && t[1] == '/' && (t[2] == 'h' || t[2] == 'H') &&
                 isdigit((unsigned char)t[3]) && state == 1)
          state = 2;
        continue;
      }
      if (state == 1) {
        if (c != '\n' && c != '\r' && c) title += c;
      } else if (state == 2 && c && !isspace((unsigned char)c)) {
        size++;
      }
    }
    rb.a = rb.s = rb.e;
  }
  title = section_line(title);
  fprintf(profile, "\n- %u,%s", size, title.c_str());
  return size;
}

std::string ut_htm::section_line(const std::string& heading) {
  std::string line;
  bool in_tag = false;
  for (char c : heading) {
    if (in_tag) {
      in_tag = c != '>';
    } else if (c == '<') {
      in_tag = true;
    } else if (c != '\n' && c != '\r' && c) {
      line += c;
    }
  }
  size_t b = line.find_first_not_of(" \t");
  if (b == std::string::npos) return "";
  size_t e = line.find_last_not_of(" \t");
  return line.substr(b, e - b + 1);
}

std::string ut_htm::section_key(const std::string& doc, const std::string& line) {
  return without_160(doc + "|" + line);
}

int ut_htm::read_profile(Btree& allLines, Btree& docLines, const char* file, int flag) {
  if (!file) safe_uts::null_pointer(__LINE__, SRC);
  const std::string date = profile_date(file);
  std::string doc, doc_key;
  int nr = first_line_nr, docs = 0;
  each_line(file, [&](const std::string& line) {
    std::string text;
    unsigned long size = 0;
    if (doc_line(line, text)) {
      doc = text;
      doc_key = order_key(nr, flag, doc);
      tree_put(docLines, doc_key, date + ":0");
      docs++;
    } else if (size_line(line, size, text)) {
      if (text == "doc~") {
        if (doc_key.empty()) return true;
        tree_put(docLines, doc_key, date + ":" + std::to_string(size));
        long w = std::min<long>((long)(size / chars_per_w), max_bar);
        tree_put(web.profOld, date + ":" + doc, std::string((size_t)w, 'w'));
      } else {
        std::string key = order_key(nr, flag, section_key(doc, text));
        tree_put(allLines, key, date + ":" + std::to_string(size) + "," + text);
      }
    }
    return true;
  });
  return docs;
}

// Reads "secLU" of the profile folder into secDates and docNrs, and the
// document names by number into `names`.
static void read_secLU(const std::string& file, Btree& secDates, Btree& docNrs,
                       std::map<int, std::string>& names) {
  each_line(file.c_str(), [&](const std::string& line) {
    if (line.empty() || line[0] == ' ' || line == "-.") return true;
    if (line.size() > 3 && !line.compare(0, 3, "-D ")) {
      size_t comma = line.find(',');
      if (comma != std::string::npos) {
        int n = atoi(line.c_str() + 3);
        std::string name = line.substr(comma + 1);
        size_t d = name.find_first_not_of("0123456789");
        if (d != std::string::npos && d > 0 && name[d] == ':') name = name.substr(d + 1);
        if (n > 0 && n < docNr_limit) {
          names[n] = name;
          tree_put(docNrs, name, std::to_string(n));
          return true;
        }
      }
    } else if (line.size() > 3 && !line.compare(0, 3, "-s ")) {
      size_t comma = line.find(',');
      if (comma != std::string::npos && comma > 3) {
        std::string data = line.substr(3, comma - 3), key = line.substr(comma + 1);
        if (tree_holds(secDates, key)) printf("\nW a r n i n g : more than once: %s", key.c_str());
        tree_put(secDates, key, data);
        return true;
      }
    }
    printf("\nW a r n i n g :  broken %s\n", "in secLU");
    safe_ut.show_text("in secLU", line.c_str(), 200);
    return false;
  });
}

std::string ut_htm::secLU_name(const std::string& line) { return sec_name(line); }

void ut_htm::write_secLU(const char* profile) {
  if (!profile) safe_uts::null_pointer(__LINE__, SRC);
  const std::string date = profile_date(profile);
  std::string folder(profile, strlen(profile) - 10);
  const std::string file = folder + "secLU";
  std::map<int, std::string> names;
  if (safe_ut.ok_is_a(file.c_str()) == 'f') read_secLU(file, web.secDates, web.docNrs, names);
  int next = names.empty() ? 1 : names.rbegin()->first + 1;
  int docNr = 0;
  each_line(profile, [&](const std::string& line) {
    std::string text;
    unsigned long size = 0;
    if (doc_line(line, text)) {
      if ((int)text.size() > max_doc_name) {
        exut.show_str("name", text.c_str());
        exut.fail(__LINE__, SRC, "Content error: a document name over %i characters in %s\n",
                  max_doc_name, profile);
      }
      auto known = tree_value(web.docNrs, text);
      if (known) {
        docNr = atoi(known->c_str());
      } else {
        if (next >= docNr_limit)
          exut.fail(__LINE__, SRC, "System: docNrNext reaches %i in %s\n", docNr_limit, file.c_str());
        docNr = next++;
        names[docNr] = text;
        tree_put(web.docNrs, text, std::to_string(docNr));
      }
    } else if (size_line(line, size, text) && text != "doc~") {
      std::string key = std::to_string(docNr) + ":" + sec_name(text);
      auto old = tree_value(web.secDates, key);
      std::string sz = std::to_string(size);
      size_t colon = old ? old->find(':') : std::string::npos;
      if (!old || colon == std::string::npos || old->substr(colon + 1) != sz)
        tree_put(web.secDates, key, date + ":" + sz);
    }
    return true;
  });
  FILE* f = safe_ut.create(file.c_str());
  fprintf(f, "\n   Web Profile as of %s\n   ----------------------------\n\n   docNr,docName\n",
          date.c_str());
  for (auto it = names.rbegin(); it != names.rend(); ++it)
    fprintf(f, "\n-D %i,%s", it->first, it->second.c_str());
  fputs("\n\n   LastVersion:size,docNr:secName\n", f);
  Btree_st st;
  for (unsigned ok = web.secDates.GetFirst(st); ok; ok = web.secDates.Next(st))
    fprintf(f, "\n-s %s,%s", st.c, st.k);
  fputs("\n-.", f);
  safe_ut.close_FILE(&f, __FILE__, __LINE__);
}

const char* ut_htm::change_bar(long n) {
  if (n < 0) n = -n;
  if (n == 0) return "";
  if (n <= 50) return "w";
  if (n <= 500) return "ww";
  if (n <= 5000) return "www";
  if (n <= 50000) return "wwww";
  return "wwwwww";
}

std::string ut_htm::warner(const char* text) {
  if (!text) safe_uts::null_pointer(__LINE__, SRC);
  std::string t(text);
  size_t cut = t.find("//");
  if (cut != std::string::npos) t.resize(cut);
  for (;;) {
    if (!t.empty() && t.back() == ' ') {
      t.pop_back();
    } else if (t.size() >= 6 && !t.compare(t.size() - 6, 6, "&nbsp;")) {
      t.resize(t.size() - 6);
    } else {
      break;
    }
  }
  size_t mark = t.find("--- ");
  if (mark != std::string::npos) {
    t.insert(mark + 4, "<b><font color=#3333FF>");
    t += "</font></b>";
  }
  return t;
}
