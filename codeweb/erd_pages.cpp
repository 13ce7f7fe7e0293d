// The pages of the data model files of a generated application: the
// entity-relationship description <root>/our_ERD.a as er1.htm and the SQL
// schema <root>/our_ERD.sql as sql.htm.  A missing file writes nothing and
// says nothing.
#include <algorithm>
#include <cstring>

#include "codeweb/erd_reader.h"
#include "codeweb/java2htm.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "erd_pages";

// The text as it stands in a <pre>: only "<" would be read as mark-up.
void copy_text(std::string& out, const std::string& t, size_t from, size_t to) {
  to = std::min(to, t.size());
  while (from < to) {
    // searched within the piece only: a text without "<" is not read to its end each time
    const char* hit = static_cast<const char*>(memchr(t.data() + from, '<', to - from));
    size_t lt = hit ? size_t(hit - t.data()) : to;
    out.append(t, from, lt - from);
    if (lt == to) break;
    out += "&lt;";
    from = lt + 1;
  }
}

// "\n" and the text, as one string made once (a schema may be large).
std::string with_newline(const std::string& text) {
  std::string t;
  t.reserve(text.size() + 1);
  t += '\n';
  t += text;
  return t;
}

std::string escaped(const std::string& s) {
  std::string out;
  copy_text(out, s, 0, s.size());
  return out;
}

bool blank(char c) { return c == ' ' || c == '\t'; }
bool white(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// The next line that opens a section: "\na:" at the margin and white space.
size_t next_section(const std::string& t, size_t from) {
  for (size_t p = t.find("\na:", from); p != std::string::npos; p = t.find("\na:", p + 1))
    if (p + 3 < t.size() && blank(t[p + 3])) return p;
  return std::string::npos;
}

std::string title_table(const ut_web& f, const char* title) {
  return std::string(f.title_head) + title + f.title_tail;
}

}  // namespace

std::string erd_page(const ut_web& frame, const std::string& text, const std::string& file,
                     std::vector<std::string>* titles) {
  const char* const title = "ERD for the Relational Data";
  std::string t = with_newline(text);  // a section on the first line counts
  size_t cur = t.find("\na:");
  if (cur == std::string::npos) {
    exut.show_str("search", "\\na:");
    exut.fail(__LINE__, SRC, "Content error: no section in %s", file.c_str());
  }
  std::string out = std::string(frame.head) +
                    "\n<a name=top></a><br>\n<a href=#sem>Notation Semantics</a>, \n"
                    "<a href=#toc>Table of Contents</a><br><br>\n" +
                    title_table(frame, title) + "<pre class=\"Classes\"><font size=2>";
  std::string rows;
  int n = 0;
  for (;;) {
    size_t next = next_section(t, cur);
    copy_text(out, t, cur, next == std::string::npos ? t.size() : next);
    if (next == std::string::npos) break;
    size_t start = next + 4;
    while (start < t.size() && blank(t[start])) start++;
    // The end is searched from two characters on, but never past the line.
    size_t from = start;
    while (from < t.size() && from < start + 2 && t[from] != '\n') from++;
    size_t end = from;
    while (end < t.size() && !white(t[end])) end++;
    std::string name = t.substr(start, end - start);
    if (name.compare(0, 8, "Notation") == 0) {
      out += "\n</pre><a name=sem></a>\n<font face=\"Verdena,Arial\" size=4>\nERD Notation Semantics:</font><pre>";
      size_t p = t.find("   Prefixes", end);
      if (p == std::string::npos) {
        exut.show_str("search", "   Prefixes");
        exut.fail(__LINE__, SRC, "Content error: notation without prefixes in %s", file.c_str());
      }
      cur = p;
      continue;
    }
    n++;
    std::string nr = std::to_string(n), shown = escaped(name);
    out += "\n</pre><a name=" + nr + "></a>\n<font face=\"Verdena,Arial\" size=4>\n" + escaped(name.substr(0, 1)) +
           "<a href=#toc>_</a>" + escaped(name.substr(std::min<size_t>(1, name.size()))) + "</font><pre>   ";
    rows += "\n<br><a href=#" + nr + ">" + shown + "</a>";
    if (titles) titles->push_back(name);
    cur = end;
  }
  out += "<br><a name=toc></a>\n\n</pre><font face=\"Verdena,Arial\" size=2>"
         "\n<a href=#top>Back to top</a> -\n<a href=#sem>Back to Notation Semantics</a> -\n"
         "<a href=sql.htm#toc><b>goto SQL</b></a><br><br>\n"
         "<font face=\"Verdena,Arial\" size=4>All ERD Sections:</font><br>";
  return out + rows + "\n</font><br><br><br>" + title_table(frame, title) + "\n</font></BODY></HTML>\n";
}

namespace {

// Words between "CREATE" and the kind of object in today's SQL, and
// "IF NOT EXISTS" behind the kind: read as if they were not there.
bool modifier(const std::string& w) {
  for (const char* m : {"OR", "REPLACE", "UNIQUE", "TEMPORARY", "TEMP", "GLOBAL", "LOCAL", "IF", "NOT", "EXISTS"})
    if (strcasecmp(w.c_str(), m) == 0) return true;
  return false;
}

// The word at `p` (after white space) and the position behind it.
std::string word_at(const std::string& t, size_t& p) {
  while (p < t.size() && white(t[p])) p++;
  size_t a = p;
  while (p < t.size() && !white(t[p]) && t[p] != '(' && t[p] != ';') p++;
  return t.substr(a, p - a);
}

}  // namespace

std::string sql_page(const ut_web& frame, const std::string& text, const std::string& file,
                     std::vector<std::string>* names) {
  const char* const title = "SQL Schema";
  const std::string create = "\n   CREATE";
  std::string t = with_newline(text);
  size_t cur = t.find(create);
  if (cur == std::string::npos) {
    exut.show_str("search", "\\n   CREATE");
    exut.fail(__LINE__, SRC, "Content error: no CREATE statement in %s", file.c_str());
  }
  std::string out = std::string(frame.head) + "\n<a name=top></a><br>\n<a href=#toc>Table of Contents</a><br><br>\n" +
                    title_table(frame, title) + "<pre class=\"Classes\"><font size=2>";
  out.reserve(t.size() + t.size() / 4);
  std::string rows;
  int n = 0;
  while (cur != std::string::npos) {
    // 11 characters on, past the kind of object, is the name.
    size_t p = std::min(cur + 11, t.size());
    std::string w;
    do w = word_at(t, p);
    while (modifier(w) && p < t.size());
    while (p < t.size() && white(t[p])) p++;
    size_t start = p;
    std::string name = word_at(t, p);
    while (modifier(name) && p < t.size()) {  // "IF NOT EXISTS"
      while (p < t.size() && white(t[p])) p++;
      start = p;
      name = word_at(t, p);
    }
    n++;
    std::string nr = std::to_string(n), shown = escaped(name);
    out += "\n</pre><a name=" + nr + "></a>" + escaped(t.substr(cur, start - cur)) +
           "&#32;&#32; .\n<font face=\"Verdena,Arial\" size=4>\n<a href=#toc> </a><a href=#toc>" + shown +
           "</a></font><pre> ";
    rows += "\n<br><a href=#" + nr + ">" + shown + "</a>";
    if (names) names->push_back(name);
    size_t next = t.find(create, p);
    copy_text(out, t, p, next == std::string::npos ? t.size() : next);
    cur = next;
  }
  out += "<br><a name=toc></a>\n\n</pre><font face=\"Verdena,Arial\" size=2>"
         "\n<a href=#top>Back to top</a> -\n<a href=er1.htm#toc><b>goto ERD</b></a><br><br>\n"
         "<font face=\"Verdena,Arial\" size=4>All Views and Physical Tables:\n</font><br>";
  return out + rows + "\n</font><br><br><br>" + title_table(frame, title) + "\n</font></BODY></HTML>\n";
}

// ------------------------------------------------------------ the pages

// The control files are found in any letter case (a tree copied from
// Windows may hold OUR_ERD.A).
void Java2Htm::ERD_to_htm() {
  std::string file = safe_ut.real_name((root + "/our_ERD.a").c_str());
  if (safe_ut.ok_is_a(file.c_str()) != 'f') return;
  safe_ut.write_text((j2h + "/er1.htm").c_str(), erd_page(*this, safe_ut.read_text(file.c_str()), file));
}

void Java2Htm::SQL_to_htm() {
  std::string file = safe_ut.real_name((root + "/our_ERD.sql").c_str());
  if (safe_ut.ok_is_a(file.c_str()) != 'f') return;
  safe_ut.write_text((j2h + "/sql.htm").c_str(), sql_page(*this, safe_ut.read_text(file.c_str()), file));
}

// Phase 17: a page er1.htm kept in the root replaces the written one; the
// model components beside it go along.
void Java2Htm::copy_er1() {
  safe_ut.copy_file((j2h + "/er1.htm").c_str(), (root + "/er1.htm").c_str());
  if (safe_ut.ok_is_a("UMLDesComp") != 'd' || j2h.find('"') != std::string::npos) return;
  snprintf(comm_buf, sizeof comm_buf, "cptree UMLDesComp \"%s/UMLDesComp\"", j2h.c_str());
  safe_ut.system(comm_buf);
}
