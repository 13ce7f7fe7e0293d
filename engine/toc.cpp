// Tables of contents: the table of a document's sections on its head page
// (from the per-document tree ourToc, sorted by page thanks to its padded
// key), the deep table of a section with sub-pages, the list of pictures,
// the index lines of section titles, and references by section name
// through the work file "tmp_toc".
#include <cctype>
#include <cstring>
#include <map>
#include <string>

#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"

namespace {

const char* const SRC = "toc";

bool starts(const std::string& s, const char* t) { return s.compare(0, strlen(t), t) == 0; }

// One unit of indent and a string of them, used from its end.
const char* const unit = ".&nbsp;&nbsp;&nbsp;&nbsp;";

std::string indent(int units) {
  std::string r;
  for (int i = 0; i < units && i < 40; i++) r += unit;
  return r;
}

// The parts of an ourToc key "<padded page>.htm[#a]:<level>:<title>".
struct toc_key {
  std::string target, title;
  int level = 0;
};

toc_key split_key(const char* k) {
  toc_key r;
  const char* c1 = strchr(k, ':');
  if (!c1 || !c1[1] || c1[2] != ':') return r;
  std::string t(k, c1);
  size_t z = t.find_first_not_of('0');
  r.target = z == std::string::npos ? t : t.substr(z);
  r.level = c1[1] - '0';
  r.title = c1 + 3;
  return r;
}

// The number part of a title, each part modulo 1000: "1001.2 X" -> "1.2".
std::string number_of(const std::string& t, int& dots) {
  std::string r;
  dots = 0;
  size_t i = 0;
  while (i < t.size() && isdigit((unsigned char)t[i])) {
    size_t j = i;
    while (j < t.size() && isdigit((unsigned char)t[j])) j++;
    r += std::to_string(atoi(t.substr(i, j - i).c_str()) % 1000) + ".";
    i = j;
    if (i < t.size() && t[i] == '.') {
      dots++;
      i++;
    } else {
      break;
    }
  }
  if (!r.empty()) r.pop_back();
  return r;
}

}  // namespace

namespace {

struct toc_row {
  std::string number, target, title;
  int depth;
};

// The document's semi titles above its contents; a typed one defines its
// name for the head page.
void toc_titles(ut_htm& ut, FILE* out, int docNr, int firstPage,
                const std::vector<std::string>& semiTitles) {
  std::string head = std::to_string(firstPage) + ".htm#2";
  for (auto it = semiTitles.rbegin(); it != semiTitles.rend(); ++it) {
    std::string s = *it;
    ut.title_words(s.c_str(), head.c_str());
    ut.title_to_search(s.c_str(), head.c_str(), docNr);
    if (s.size() > 2 && s[1] == '_') {
      std::string t = std::to_string(docNr) + "/" + std::to_string(firstPage) + ".htm";
      tree_put(ut.defs, s, t);
      tree_put(ut.defs, "D_(" + s.substr(2) + ")", t);
      s = s.substr(2);
    }
    fprintf(out, "<p class=1 style='font-size:14.0pt'>%s</p>", s.c_str());
  }
}

// The rows of the contents in page order.  A document whose first section
// has a number below 1000 shows numbers (a section without one counts as a
// sub-section of the last numbered); else the number column stays blank
// and the depth is the heading level.  `minDepth` gets the least depth.
std::vector<toc_row> toc_rows(ut_htm& ut, Btree& ourToc, int docNr, int& minDepth) {
  std::vector<toc_row> rows;
  Btree_st st;
  bool numbered = false, first = true;
  std::string current;
  int curDepth = 0;
  minDepth = 1 << 30;
  for (unsigned s = ourToc.GetFirst(st); s; s = ourToc.GetNext(st)) {
    toc_key k = split_key(st.k);
    std::string title = k.title;
    int dots = 0;
    std::string nr = number_of(title, dots);
    if (first) numbered = !nr.empty() && atoi(title.c_str()) < 1000;
    first = false;
    int depth;
    if (!numbered) {
      depth = k.level - 1;
      nr.clear();
    } else if (!nr.empty()) {
      if (dots > 15) exut.fail(__LINE__, SRC, "System: more than 15 levels in %s", title.c_str());
      depth = dots;
      current = nr;
      curDepth = depth;
    } else {
      nr = current + "." + "1";
      depth = curDepth + 1;
    }
    std::string text = ut_htmst::past_number(title.c_str());
    while (!text.empty() && text.back() == '.') text.pop_back();
    if (!text.empty() && text[0] == '"') text.erase(0, 1);
    if (!text.empty() && text.back() == '"') text.pop_back();
    ut.title_words(text.c_str(), k.target.c_str());
    if (starts(text, "White Paper")) continue;
    if ((starts(text, "Anhang") || starts(text, "Annex") || starts(text, "Appendix") ||
         text.find(':') != std::string::npos))
      tree_put(ut.semis, "D_(More: " + text + ")", std::to_string(docNr) + "/" + k.target);
    if (depth < minDepth) minDepth = depth;
    rows.push_back({nr, k.target, text, depth});
  }
  return rows;
}

// Writes the rows, and their "#_<title>" lines to "tmp_toc".
void toc_write(ut_htm& ut, FILE* out, const std::vector<toc_row>& rows, int width, int minDepth,
               int docNr) {
  FILE* tt = safe_ut.open_FILE("tmp_toc", "w");
  for (const toc_row& r : rows) {
    fprintf(out,
            "\n<tr><td><p class=2>\n<font face=VERDANA size=1>%s</font></p></td>\n<td><p "
            "class=2><b><font size=2>\n</b>%s<b><a href=\"%s\">%s</a></b></font></p></td></tr>",
            r.number.c_str(), indent(width * (r.depth - minDepth)).c_str(), r.target.c_str(),
            r.title.c_str());
    printf("\nxs_:%i <a href='%i/%s'>%s</a>\n", docNr, docNr, r.target.c_str(), r.title.c_str());
    std::string low;
    for (char c : r.title)
      if (isalpha((unsigned char)c)) low += (char)tolower((unsigned char)c);
    fprintf(tt, "\n%i>#_%s", atoi(r.target.c_str()), low.c_str());
    ut.title_to_search(r.title.c_str(), r.target.c_str(), docNr);
  }
  safe_ut.close_FILE(&tt, SRC, __LINE__);
}

}  // namespace

void ut_htm::our_Toc(FILE* out, int width, int pictures, int docNr, int firstPage,
                     const std::vector<std::string>& semiTitles, Btree& localNames, Btree& ourToc) {
  bool menu = width > 0;
  if (width < 0) width = -width;
  if (menu) ourMenu(__LINE__, "our_Toc", out, 2, nullptr, "2", 1);
  fputs("\n</center></center><br/><a--><center>", out);
  toc_titles(*this, out, docNr, firstPage, semiTitles);
  if (pictures)
    fputs("\n<p class=1><font size=1>\n<a href=\"#3\">Pictures</a></font></p>", out);
  fputs("\n</center><!-- ourToc --><a name=\"2\"></a>\n<span><font face=\"ARIAL,VERDANA\" size=2>\n"
        "<b><a href=##>Document</a></b>\n<table><colgroup><col width=85></colgroup><br/><br/>",
        out);
  int minDepth = 0;
  std::vector<toc_row> rows = toc_rows(*this, ourToc, docNr, minDepth);
  toc_write(*this, out, rows, width, minDepth, docNr);
  fputs("\n</table></font></span><!-- end of ourToc --><br/><aaa>", out);
  int calls = 0;
  our_AbbVz(out, localNames, calls);
}

void ut_htm::our_AbbVz(FILE* out, Btree& localNames, int& calls) {
  if (calls++) return;
  std::map<int, std::pair<std::string, std::string>> found;
  Btree_st st;
  for (unsigned s = web.picNames.GetFirst(st); s; s = web.picNames.GetNext(st)) {
    const char* d = st.c[0] == '#' ? st.c + 1 : st.c;
    const char* u = strrchr(d, '_');
    if (strncmp(d, "_pic", 4) || !u) continue;
    int n = atoi(u + 1);
    if (n >= 1024) exut.fail(__LINE__, SRC, "System: more than 1023 pictures in a document");
    if (auto t = tree_value(localNames, d)) found[n] = {st.k, *t};
  }
  if (found.empty()) return;
  fputs("\n<p class=1 align=left style='font-size:10.0pt'>\n<a name=3></a>\nThe List of "
        "Pictures:</p>\n<!-- ourAbbVz --><a name=\"2\"></a>\n<span><font face=\"ARIAL,VERDANA\" "
        "size=2>\n<table><colgroup><col width=85></colgroup>",
        out);
  for (const auto& [n, tt] : found)
    fprintf(out,
            "\n<tr><td><p class=1><font face=VERDANA size=1>Bild %i</font></p></td><td><p "
            "class=1><b><font size=2><a href=\"%s\">%s</a></b></font></p></td></tr>",
            n, tt.second.c_str(), tt.first.c_str());
  fputs("\n</table></font></span><!-- end of ourAbbVz -->", out);
}

void ut_htm::deep_table(FILE* out, Btree& ourToc, const char* K) {
  fputs("\n<a--><a name=\"2\"></a>\n<span><font face=\"ARIAL,VERDANA\" size=2>\n<table><colgroup>"
        "<col width=85></colgroup>",
        out);
  Btree_st st;
  std::string key = tree_key(K);
  if (ourToc.Get(key.c_str(), st)) {
    int level = split_key(st.k).level;
    fputs("\n<tr><td></td><td>&nbsp;|</td></tr>", out);
    std::vector<toc_key> list;
    int minLevel = 1 << 30;
    while (ourToc.GetNext(st)) {
      toc_key k = split_key(st.k);
      if (k.level <= level) break;
      minLevel = std::min(minLevel, k.level);
      list.push_back(k);
    }
    for (const toc_key& k : list)
      fprintf(out,
              "\n<tr><td><p class=1><font size=2></font></p></td><td><p class=1><font "
              "size=2>%s<a href=\"%s\"><b>%s</b></a></font></p></td></tr>",
              indent(k.level - minLevel).c_str(), k.target.c_str(), k.title.c_str());
  }
  fputs("\n</table></font></span><aaa></body>\n", out);
}

bool ut_htm::find_tocTarget(const char* ref, const char* linkText, std::string& result) {
  if (strncmp(ref, "#_", 2) != 0 || !safe_ut.exists("tmp_toc")) return false;
  auto lookup = [&](const std::string& want) {
    rBuffer rb("tmp_toc");
    std::string needle = ">" + want;
    for (char* p = rb.find(0, needle.c_str(), nullptr); p; p = rb.find(1, needle.c_str(), nullptr)) {
      char c = p[needle.size()];
      if (c != '\n' && c != ' ' && c != 0) continue;
      int k = rb.a;
      while (k > rb.low && rb.z[k - 1] != '\n') k--;
      result = std::to_string(atoi(rb.z + k)) + ".htm";
      return true;
    }
    return false;
  };
  std::string low = "#_";
  for (const char* p = ref + 2; *p; p++)
    if (isalpha((unsigned char)*p)) low += (char)tolower((unsigned char)*p);
  if (lookup(low)) return true;
  printf("\nno_ueberschrAnf: %s", ref);
  std::string t = "#_";
  for (const char* p = linkText; p && *p; p++)
    if (isalpha((unsigned char)*p)) t += (char)tolower((unsigned char)*p);
  if (t.size() > 2 && lookup(t)) return true;
  if (strstr(ref, "Daten")) {
    result = "#";
    return true;
  }
  printf("\nno_ueberschrAnf: %s", ref);
  return false;
}

void ut_htm::title_words(const char* title, const char* target) {
  std::string t = title;
  if (t.empty()) return;
  if (strchr("MDPR", t[0]))
    for (const char* s : {"Document Content", "Management Summary", "Reviews so far",
                          "Document History", "Distribution List", "Document Status",
                          "Purpose of this Document"})
      if (starts(t, s)) return;
  if (t == "White Paper") return;
  std::string bare = ut_htmst::past_number(t.c_str());
  std::string initials;
  for (size_t i = 0; i < bare.size(); i++)
    if (isupper((unsigned char)bare[i]) && (i == 0 || bare[i - 1] == ' ')) initials += bare[i];
  for (size_t i = 0; i < bare.size();) {
    if (!(isupper((unsigned char)bare[i]) && (i == 0 || bare[i - 1] == ' '))) {
      i++;
      continue;
    }
    size_t e = i;
    if (starts(bare.substr(i), "White Paper:")) e = i + 11;
    while (e < bare.size() && bare[e] != ' ' && bare.compare(e, 6, "&quot;") &&
           bare.compare(e, 6, "&#147;") && bare.compare(e, 6, "&#148;"))
      e++;
    std::string w = bare.substr(i, e - i);
    i = e;
    if (w.size() < 4 && !(w.size() > 1 && isupper((unsigned char)w[1]))) continue;
    if (w.size() > 250) exut.fail(__LINE__, SRC, "System: a word over 250 characters");
    std::string line = std::string(target) + "\">" + w + "</a> : " + bare;
    if (line.size() > 240) line.resize(240);
    to_index((w.substr(0, 1) + w + initials).c_str(), line.c_str());
  }
}

void ut_htm::print_page(int page, const char* printFile, int docNr) {
  std::string head = "xs/" + std::to_string(docNr) + "/" + std::to_string(page) + ".htm";
  FILE* out = safe_ut.open_FILE(head.c_str(), "w");
  rBuffer rb(printFile);
  if (rb.find(0, "<body", out)) {
    const char* gt = static_cast<const char*>(memchr(rb.z + rb.a, '>', rb.e - rb.a));
    if (gt) rb.write_to(gt + 1, out);
    std::vector<std::string> none;
    page_head(out, none);
    int copy = 0;
    while (rb.find(copy, "src=\"", out)) {
      const char* q = rb.z + rb.a + 5;
      const char* e = static_cast<const char*>(memchr(q, '"', rb.e - rb.a - 5));
      copy = 5;
      if (!e) continue;
      const char* n = e;
      while (n > q && n[-1] != '/' && n[-1] != '\\') n--;
      fputs("src=\"pic/", out);
      rb.a = (int)(n - rb.z);
      copy = 0;
    }
  }
  safe_ut.close_FILE(&out, SRC, __LINE__);
}
