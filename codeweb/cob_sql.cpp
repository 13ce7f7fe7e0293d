// The embedded SQL of tables.xxx read for the relation of programs, cursors,
// views and tables: see codeweb/cob_reader.h.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "codeweb/cob_reader.h"
#include "runtime/exec_ut.h"

namespace {
const char* const SRC = "cob_sql";

bool is_name(char c) {
  unsigned char u = (unsigned char)c;
  return (u >= 'A' && u <= 'Z') || (u >= 'a' && u <= 'z') || (u >= '0' && u <= '9') || c == '_' || c == '-' ||
         c == '$' || c == '#' || c == '.' || c == ':' || c == '"' || u >= 0x80;
}
bool is_space(char c) { return c == ' ' || c == '\t' || c == '\n'; }

bool at(const std::string& u, size_t s, const char* w) { return s <= u.size() && u.compare(s, strlen(w), w) == 0; }

// `w` stands at `s` as a whole word.
bool word_at(const std::string& u, size_t s, const char* w) {
  size_t n = strlen(w);
  return at(u, s, w) && (s == 0 || !is_name(u[s - 1])) && (s + n >= u.size() || !is_name(u[s + n]));
}

struct sql_scan {
  const std::string& t;
  std::string u;  // upper case
  sql_rows& out;
  const std::string& file;
  std::string prog, link;  // the program in hand and its link

  size_t skip_space(size_t s) const {
    while (s < t.size() && is_space(t[s])) s++;
    return s;
  }
  size_t name_end(size_t s) const {
    while (s < t.size() && is_name(t[s])) s++;
    return s;
  }
  [[noreturn]] void fail(const char* what, size_t s) const {
    int line = 1;
    for (size_t k = 0; k < s && k < t.size(); k++) line += t[k] == '\n';
    errno = 0;
    exut.fail(__LINE__, SRC, "User: %s in %s, line %i\n", what, file.c_str(), line);
  }
  void need_program(size_t s) const {
    if (prog.empty()) fail("cursor: a cursor without a program", s);
  }
  void row(const std::string& key) { out.uses.push_back({key, "1~" + link}); }

  // The line " p .. NAME [LINK]".
  size_t program_line(size_t s) {
    size_t e = t.find('\n', s);
    if (e == std::string::npos) e = t.size();
    std::string_view line(t.data() + s, e - s);
    size_t b = line.rfind(" ["), c = line.rfind(']');
    if (b == std::string::npos || b < 5 || c == std::string::npos || c < b) return e;
    prog = std::string(line.substr(5, b - 5));
    link = std::string(line.substr(b + 2, c - b - 2));
    return e;
  }

  // The table name of an item: no schema in front, no quotes, upper case.
  std::string table_of(size_t s, size_t e) const {
    std::string n = u.substr(s, e - s);
    size_t dot = n.rfind('.');
    if (dot != std::string::npos) n.erase(0, dot + 1);
    std::string r;
    for (char c : n)
      if (c != '"') r += c;
    return r;
  }

  // The tables of a FROM list from `s`: "<left>~t .. <table>" each.
  size_t table_list(size_t s, const std::string& left, size_t min_len) {
    for (;;) {
      s = skip_space(s);
      if (s >= t.size() || t[s] == '(') return s;  // a sub-select: its own FROM is read later
      size_t e = name_end(s);
      if (e == s) return s;
      if (u.find(':', s) < e) {
        out.warnings.push_back("WARN: dynamic cursor def " + t.substr(s, 200));
      } else {
        std::string n = table_of(s, e);
        // The limits hold for the statements of COBOL pages; the C reader's
        // statements are today's SQL, where a one-letter table is well formed:
        // it is named on the console and left out.
        if (n.size() < min_len && link.compare(0, 4, "cob/") == 0)
          fail(min_len < 3 ? "a table name of fewer than 2 characters" : "a view table of fewer than 3 characters",
               s);
        if (n.size() < min_len)
          out.warnings.push_back("short table name left out: " + n);
        else
          row(left + "~t .. " + n);
      }
      s = to_end_of_WHERE(u, e);
      if (s >= t.size()) return s;
      if (t[s] == ',') s++;
      else if (word_at(u, s, "JOIN")) s += 4;
      else return s;
    }
  }

  // The next FROM after white space before the statement's ";" (looked
  // for in the first `look_ahead` bytes), or npos.
  size_t from_in_statement(size_t s) const {
    size_t end = std::min(t.size(), s + cob_reader::look_ahead);
    for (size_t f = s; f + 4 < end && t[f] != ';'; f++)
      if (f > 0 && is_space(t[f - 1]) && at(u, f, "FROM") && is_space(t[f + 4])) return f;
    return std::string::npos;
  }

  size_t cursor(size_t s) {
    need_program(s);
    size_t e = s;
    while (e > 0 && is_space(t[e - 1])) e--;
    size_t b = e;
    while (b > 0 && is_name(t[b - 1])) b--;
    if (b == e) return s + 6;
    std::string c = u.substr(b, e - b);
    out.cursors.push_back({c, link});
    size_t f = from_in_statement(s);
    if (f == std::string::npos) return s + 6;
    return table_list(f + 4, "c .. " + c, 2);
  }

  size_t view(size_t s) {
    size_t b = skip_space(s + 4), e = name_end(b);
    if (e == b) return s + 4;
    std::string v = table_of(b, e);
    size_t f = from_in_statement(e);
    if (v.empty() || f == std::string::npos) return e;
    return table_list(f + 4, "v .. " + v, 3);
  }

  size_t fetch(size_t s) {
    size_t b = skip_space(s + 5);
    for (const char* w : {"NEXT", "PRIOR", "FIRST", "LAST", "FROM"})
      if (word_at(u, b, w)) b = skip_space(b + strlen(w));
    size_t e = name_end(b);
    if (e == b || t[b] == ':') return b;
    need_program(s);
    row("p .. " + prog + "~c .. " + u.substr(b, e - b));
    return e;
  }

  // INSERT INTO and UPDATE name one table.
  size_t single_table(size_t s, size_t n) {
    size_t b = skip_space(s + n), e = name_end(b);
    if (e == b || t[b] == ':' || prog.empty()) return b;
    std::string name = table_of(b, e);
    if (name.size() >= 2) row("p .. " + prog + "~t .. " + name);
    return e;
  }

  void run() {
    size_t s = 0;
    while (s < t.size()) {
      bool line_start = s == 0 || t[s - 1] == '\n' || (t[s - 1] == ' ' && (s < 2 || t[s - 2] == '\n'));
      bool space_before = s == 0 || is_space(t[s - 1]);
      if (line_start && at(t, s, "p .. ")) s = program_line(s);
      else if (word_at(u, s, "COMMENT") && at(u, s + 7, " ON ")) s = std::min(t.size(), t.find('\n', s));
      else if (space_before && word_at(u, s, "FETCH")) s = fetch(s);
      else if (space_before && word_at(u, s, "CURSOR")) s = cursor(s);
      else if (word_at(u, s, "VIEW")) s = view(s);
      else if (space_before && (word_at(u, s, "FROM") || word_at(u, s, "JOIN")) && !prog.empty())
        s = table_list(s + 4, "p .. " + prog, 2);
      else if (word_at(u, s, "INTO") && s >= 7 && at(u, s - 7, "INSERT ")) s = single_table(s, 4);
      else if (word_at(u, s, "UPDATE") && !at(u, s > 4 ? s - 4 : 0, "FOR ")) s = single_table(s, 6);
      else s++;
    }
  }
};

}  // namespace

size_t to_end_of_WHERE(const std::string& u, size_t s) {
  for (; s < u.size(); s++) {
    char c = u[s];
    if (c == ',' || c == ';' || c == ')') return s;
    if (c == '(') {  // a function or a list in brackets: passed over
      size_t depth = 0;
      for (; s < u.size() && u[s] != ';'; s++) {
        depth += u[s] == '(';
        if (u[s] == ')' && --depth == 0) break;
      }
      if (s >= u.size() || u[s] == ';') return s;
      continue;
    }
    for (const char* w : {"ORDER BY", "GROUP BY", "HAVING", "UNION", "JOIN"})
      if (word_at(u, s, w)) return s;
    if (word_at(u, s, "WHERE")) {
      for (s += 5; s < u.size() && u[s] != ';'; s++)
        if (is_space(u[s - 1]) && word_at(u, s, "FROM")) return s;
      return s;
    }
  }
  return s;
}

void read_exec_sql(const std::string& text, sql_rows& out, const std::string& file) {
  sql_scan scan{text, text, out, file, "", ""};
  for (char& c : scan.u)
    if (c >= 'a' && c <= 'z') c = (char)(c - 'a' + 'A');
  scan.run();
}
