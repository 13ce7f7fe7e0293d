// Change reports and document lists: the web against the dated profiles of
// its earlier builds ("xs/CL.htm", "xs/CL1_<date>.htm", the folders
// "xs/CL2_<date>"), and the documents in reading order and by age
// ("xs/docs_R.htm", "xs/docs_A.htm").
#include <cctype>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

namespace {

const char* const SRC = "change_log";

constexpr int max_dates = 1000;
const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                              "Jul", "Aug", "Sep", "Oct", "Nov", "Dez"};

// "2011.09.20" -> "20, Sep 2011".
std::string date_text(const std::string& d) {
  int m = atoi(d.c_str() + 5);
  const char* name = m >= 1 && m <= 12 ? months[m - 1] : "?";
  return d.substr(8, 2) + ", " + name + " " + d.substr(0, 4);
}

bool is_profile_name(const std::string& n) {
  if (n.size() != 10 || n[0] != '2' || n[4] != '.' || n[7] != '.') return false;
  for (int i : {0, 1, 2, 3, 5, 6, 8, 9})
    if (!isdigit((unsigned char)n[i])) return false;
  return true;
}

// The key of read_profile without its order number "<n>.".
std::string unordered(const char* k) {
  const char* dot = strchr(k, '.');
  return dot ? dot + 1 : k;
}

// The number part of "<date>:<size>[,<text>]".
long size_of(const char* data) {
  const char* colon = strchr(data, ':');
  return colon ? atol(colon + 1) : 0;
}

const char* page_end = "\n</body></html>\n";

}  // namespace

// The head of a page of the change log or the document lists in xs (ups 0)
// or one folder below it (ups 1).
static void derived_head(ut_htm& ut, FILE* f, const char* name, int ups) {
  ut.HeaderMenu(f, ups ? 1 : -1, 0, name, "");
  ut.ourMenu(__LINE__, "derived_head", f, 3, nullptr, nullptr, ups);
}

int ut_htm::change_report(Btree& profOld, const char* current, const char* older) {
  if (!current || !older) safe_uts::null_pointer(__LINE__, SRC);
  (void)profOld;  // filled by read_profile through the web model
  const std::string cd = profile_date(current), od = profile_date(older);
  if (!(od < cd)) return 1;
  Btree cur, curDocs, old, oldDocs;
  for (Btree* t : {&cur, &curDocs, &old, &oldDocs}) prepare_tree(*t, "change_report");
  read_profile(cur, curDocs, current, 1);
  read_profile(old, oldDocs, older, 0);
  const std::string since = date_text(od);
  safe_ut.ensure_dir(("xs/CL2_" + od).c_str());
  Btree rows;  // document title -> row, so the rows come sorted by name
  prepare_tree(rows, "change_rows");
  Btree_st d;
  for (unsigned ok = curDocs.GetFirst(d); ok; ok = curDocs.Next(d)) {
    std::string doc = unordered(d.k);
    auto nr = tree_value(web.titles, doc);
    int docNr = nr ? atoi(nr->c_str()) : 0;
    int first = docNr > 0 && docNr < (int)web.comms.size() ? web.comms[docNr].firstPage : 0;
    std::string title = warner(doc.c_str());
    auto before = tree_value(oldDocs, doc);
    if (!before) {
      char row[2048];
      snprintf(row, sizeof row, "\n<tr><td>%s</td><td>\n<a href=\"%i/%i.htm\">%s</a></td></tr>",
               "+", docNr, first, title.c_str());
      tree_put(rows, doc, row);
      continue;
    }
    long diff = size_of(d.c) - size_of(before->c_str());
    int changed = 0;
    change_sections(cur, old, d.k, docNr, od, since, changed);
    if (diff == 0 && !changed) continue;
    if (!tree_holds(web.clogDocs, doc)) tree_put(web.clogDocs, doc, od);
    char row[2048];
    snprintf(row, sizeof row, "\n<tr><td>%s%s</td><td>\n<a href=\"CL2_%s/%i.htm\">%s</a></td></tr>",
             diff < 0 ? "&#150" : "", change_bar(diff), od.c_str(), docNr, title.c_str());
    tree_put(rows, doc, row);
  }
  FILE* f = safe_ut.create(("xs/CL1_" + od + ".htm").c_str());
  derived_head(*this, f, "Change Report", 0);
  fprintf(f,
          "\n<br/><center><h1>Documents Added to or Changed in <a href=\"1/1.htm\">This Web</a>"
          "</h1><h2>since %s</h2></center><br/>",
          since.c_str());
  int none = rows.number_of_elements() == 0;
  if (none) {
    fputs("<p class=1>none</p>", f);
  } else {
    fputs("\n<table>", f);
    Btree_st r;
    for (unsigned ok = rows.GetFirst(r); ok; ok = rows.Next(r)) fputs(r.c, f);
    fputs("\n</table>", f);
  }
  fputs(page_end, f);
  safe_ut.close_FILE(&f, __FILE__, __LINE__);
  empty_tree(rows);
  for (Btree* t : {&cur, &curDocs, &old, &oldDocs}) empty_tree(*t);
  return none;
}

// The sections of the document `docKey` (its key in the current profile)
// that grew, shrank or are new since `date`, as the page
// "xs/CL2_<date>/<docNr>.htm"; `changed` counts them.  `cur` holds the
// sections in the order of the current profile, so the document's sections
// follow its own order number.
void ut_htm::change_sections(Btree& cur, Btree& old, const std::string& docKey, int docNr,
                             const std::string& date, const std::string& text, int& changed) {
  std::string lines;
  const std::string doc = unordered(docKey.c_str());
  const std::string head = doc + "|";
  Btree_st s;
  for (unsigned ok = cur.Getmin_GR(s, docKey.c_str()); ok; ok = cur.Next(s)) {
    std::string key = unordered(s.k);
    if (key.compare(0, head.size(), head)) break;
    std::string title = key.substr(head.size());
    auto before = tree_value(old, key);
    long diff = before ? size_of(s.c) - size_of(before->c_str()) : size_of(s.c);
    if (before && diff == 0) continue;
    if (title.size() >= 3 && !title.compare(title.size() - 3, 3, "...")) continue;
    const char* sign = !before ? "+" : diff < 0 ? "&#150" : "";
    std::string bar = change_bar(diff);
    auto page = tree_value(web.docsecs, key);
    if (!page) page = tree_value(web.typedSecs, key);
    if (!page && title.empty() && docNr > 0 && docNr < (int)web.comms.size())
      page = std::to_string(web.comms[docNr].firstPage);  // the head page has no heading
    char row[2048];
    if (!page) {
      snprintf(row, sizeof row, "\n<tr><td>%s%s</td><td>(?) %s</td></tr>", sign, bar.c_str(),
               title.c_str());
      printf("\nNot found in docsecs:\n%s\n%s\n", doc.c_str(), title.c_str());
      exut.show_str("section", key.c_str());
      exut.fail(__LINE__, SRC, "AppError: a section of the profile is not in the web: %s\n",
                key.c_str());
    }
    snprintf(row, sizeof row, "\n<tr><td>%s%s</td><td>\n<a href=\"../%i/%s.htm\">%s</a></td></tr>",
             sign, bar.c_str(), docNr, page->c_str(), title.empty() ? doc.c_str() : title.c_str());
    lines += row;
    changed++;
  }
  FILE* f = safe_ut.create(("xs/CL2_" + date + "/" + std::to_string(docNr) + ".htm").c_str());
  derived_head(*this, f, "Change Report", 1);
  fprintf(f, "\n<br/><center><h1>Sections Added to or Changed in</h1><h2>%s</h2></center><br/>",
          warner(doc.c_str()).c_str());
  fputs("\n<table>", f);
  if (lines.empty()) fprintf(f, "\n<tr><td>No changes since:</td><td>%s</td></tr>", text.c_str());
  fputs(lines.c_str(), f);
  fputs("\n</table>", f);
  fputs(page_end, f);
  safe_ut.close_FILE(&f, __FILE__, __LINE__);
}

void ut_htm::change_log(const char* currentProfile) {
  if (!currentProfile) safe_uts::null_pointer(__LINE__, SRC);
  write_secLU(currentProfile);
  const std::string cd = profile_date(currentProfile);
  const std::string folder(currentProfile, strlen(currentProfile) - 10);
  // The older profiles, thinning out towards the past: a date is used when
  // it lies at least a tenth of the way from the last used one to today.
  const long today = day_number(cd.c_str());
  long last = day_number("2002.00.00");
  std::vector<std::pair<std::string, int>> used;  // date, 1 for "none"
  bool had_none = false;
  for (const std::string& name : safe_ut.list_dir(folder.empty() ? "." : folder.c_str())) {
    if (!is_profile_name(name) || name == cd || (int)used.size() >= max_dates) continue;
    long dn = day_number(name.c_str());
    if (dn < last + (today - last) / 10) continue;
    last = dn;
    int none = change_report(web.profOld, currentProfile, (folder + name).c_str());
    if (none && had_none) {
      // Nothing changed since an older date either: this profile says no
      // more than that one, and goes with its report.
      safe_ut.remove_file((folder + name).c_str());
      safe_ut.remove_file(("xs/CL1_" + name + ".htm").c_str());
      safe_ut.rm_tree(("xs/CL2_" + name).c_str());
      continue;
    }
    had_none = had_none || none;
    used.emplace_back(name, none);
  }
  FILE* f = safe_ut.create("xs/CL.htm");
  derived_head(*this, f, "Change Log", 0);
  fputs("\n<br/><center><h1>Where, and how thickly, Changes occured since:</h1></center><br/>"
        "\n<p class=1>",
        f);
  for (auto it = used.rbegin(); it != used.rend(); ++it)
    fprintf(f, "\n<a href=\"CL1_%s.htm\">%s</a><br/>", it->first.c_str(),
            date_text(it->first).c_str());
  fputs("\n</p><br/><p class=1>Note: a report lists the documents whose text grew or shrank"
        " since its date, and in each of them the sections; the bar says how thickly:"
        " w up to 50 characters, ww up to 500, www up to 5000, wwww up to 50000, wwwwww more."
        " The documents of the web and their sources are listed in the"
        " <a href=\"webconf.htm\">configuration of this web</a>.</p>",
        f);
  fputs(page_end, f);
  safe_ut.close_FILE(&f, __FILE__, __LINE__);
  docs_lists();
}

// ------------------------------------------------------ the document lists

namespace {

struct doc_row {
  std::string date, frozen, link, title;
};

// The row of a document of docDates ("<B>:<C>:<firstPage>"): its date with
// "_" made ".", the frozen date, the link to its head page, or to its file
// when it has no pages.
doc_row row_of(web_model& web, const std::string& title, const std::string& data) {
  doc_row r;
  r.title = title;
  r.date = data.substr(0, 10);
  for (char& c : r.date)
    if (c == '_') c = '.';
  r.frozen = data.size() > 11 ? data.substr(11, 10) : "";
  while (!r.frozen.empty() && r.frozen.back() == ' ') r.frozen.pop_back();
  size_t colon = data.rfind(':');
  int first = colon == std::string::npos ? 0 : atoi(data.c_str() + colon + 1);
  auto nr = tree_value(web.titles, title);
  int docNr = nr ? atoi(nr->c_str()) : 0;
  std::string target;
  if (first > 0) {
    target = std::to_string(docNr) + "/" + std::to_string(first) + ".htm";
  } else if (docNr > 0 && docNr < (int)web.comms.size() && !web.comms[docNr].target.empty()) {
    target = std::to_string(docNr) + "/" + web.comms[docNr].target;
  } else {
    target = std::to_string(docNr) + "/" + title + ".htm";
  }
  if (target.size() > 4 && !target.compare(target.size() - 4, 4, ".htm")) target += "#2";
  r.link = "<a href=\"" + target + "\">" + ut_htm::warner(title.c_str()) + "</a>";
  return r;
}

void put_row(FILE* f, const std::string& a, const std::string& b, const std::string& c) {
  fprintf(f, "\n<tr>\n<td><font size=1>%s</font></td>\n<td><font size=1>%s</font></td><td>%s</td></tr>",
          a.c_str(), b.c_str(), c.c_str());
}

std::string first_word(const std::string& t) { return t.substr(0, t.find(' ')); }

}  // namespace

void ut_htm::docs_lists() {
  std::map<std::string, doc_row> rows;  // by title
  Btree docAge;  // "<B>:<C>:<firstPage>:<title>", oldest first
  prepare_tree(docAge, "docAge");
  Btree_st st;
  for (unsigned ok = web.docDates.GetFirst(st); ok; ok = web.docDates.Next(st)) {
    rows[st.k] = row_of(web, st.k, st.c);
    // Dates written "2011_01_02" sort among the others as "2011.01.02".
    std::string age = std::string(st.c) + ":" + st.k;
    for (size_t i = 0; i < 10 && i < age.size(); i++)
      if (age[i] == '_') age[i] = '.';
    tree_put(docAge, age);
  }
  // By age: newest first, a rank for each new date.
  Btree ranked;
  prepare_tree(ranked, "docs_A");
  int rank = 1000;
  std::string last_date;
  for (unsigned ok = docAge.GetLast(st); ok; ok = docAge.Prev(st)) {
    const char* k = st.k;
    const char* title = k;
    for (int colons = 0; *title && colons < 3; title++)
      if (*title == ':') colons++;
    auto it = rows.find(title);
    if (it == rows.end()) continue;
    if (it->second.date != last_date) rank++, last_date = it->second.date;
    const doc_row& r = it->second;
    tree_put(ranked, std::to_string(rank) + " " + r.title, r.date + "~" + r.frozen + "~" + r.link);
  }
  FILE* f = safe_ut.create("xs/docs_A.htm");
  derived_head(*this, f, "Documents", 0);
  fprintf(f, "\n<br/><center><h1>%s</h1><h3>Sorted by IN WEB SINCE</h3></center><br/>\n<table>",
          web.docs_title.c_str());
  for (unsigned ok = ranked.GetFirst(st); ok; ok = ranked.Next(st)) {
    std::string v = st.c;
    size_t a = v.find('~'), b = v.find('~', a + 1);
    put_row(f, v.substr(0, a), v.substr(a + 1, b - a - 1), v.substr(b + 1));
  }
  fputs("\n</table>", f);
  fputs(page_end, f);
  safe_ut.close_FILE(&f, __FILE__, __LINE__);
  // In the order of the configuration, from document 2 on.
  f = safe_ut.create("xs/docs_R.htm");
  derived_head(*this, f, "Documents", 0);
  fprintf(f, "\n<br/><center><h1>%s</h1><h3>Sorted by READ FIRST</h3></center><br/>\n<table>",
          web.docs_title.c_str());
  std::string prev;
  for (size_t i = 2; i < web.comms.size(); i++) {
    auto it = rows.find(web.comms[i].title);
    if (it == rows.end()) continue;
    const std::string& t = it->first;
    size_t group = t.find("//");
    if (group != std::string::npos)
      fprintf(f,
              "\n<tr>\n<td><font size=1/></td>\n<td><font size=3><br><b>%s:</b><br></font></td>"
              "</tr><tr/>",
              t.substr(group + 2).c_str());
    else if (!prev.empty() && first_word(prev) != first_word(t))
      put_row(f, "", "", "|");
    prev = t;
    put_row(f, it->second.date, it->second.frozen, it->second.link);
  }
  fputs("\n</table>", f);
  fputs(page_end, f);
  safe_ut.close_FILE(&f, __FILE__, __LINE__);
  empty_tree(docAge);
  empty_tree(ranked);
}
