// The two later steps of a C or C++ page: the re-indent by braces and the
// line tidy-up.
#include <cstdio>
#include <string_view>
#include <vector>

#include "codeweb/cpp_lex.h"
#include "codeweb/cpp_reader.h"

using namespace cpplex;

namespace {

constexpr int step = 4;        // blanks per brace level
constexpr int max_levels = 40; // "Bracket Error(+)" beyond this

bool blank_line(std::string_view l) {
  for (char c : l)
    if (!is_blank(c)) return false;
  return true;
}

// The lines of a text one after the other, without copying them.
struct line_reader {
  const std::string& s;
  size_t at = 0;
  bool done = false;
  explicit line_reader(const std::string& t) : s(t) {}
  // The line that follows; false behind the last one.
  bool next(std::string_view* line) {
    if (done) return false;
    size_t e = s.find('\n', at);
    if (e == std::string::npos) done = true, e = s.size();
    *line = std::string_view(s).substr(at, e - at);
    at = e + 1;
    return true;
  }
  std::string_view peek() const {
    if (done) return {};
    size_t e = s.find('\n', at);
    return std::string_view(s).substr(at, (e == std::string::npos ? s.size() : e) - at);
  }
  bool has_next() const { return !done; }
};

// Lines joined by "\n" as they are kept; the last one can be taken back.
struct line_writer {
  std::string r;
  std::vector<size_t> starts;  // where each kept line begins in `r`
  void push(std::string_view l) {
    if (!starts.empty()) r += '\n';
    starts.push_back(r.size());
    r.append(l);
  }
  bool empty() const { return starts.empty(); }
  size_t size() const { return starts.size(); }
  std::string_view back() const { return std::string_view(r).substr(starts.back()); }
  void pop() {
    size_t b = starts.back();
    starts.pop_back();
    r.resize(b == 0 ? 0 : b - 1);
  }
};

struct indenter {
  const std::string& in;
  const std::string& src;
  std::string out;
  int level = 0;
  bool plus = false, minus = false;

  indenter(const std::string& i, const std::string& s) : in(i), src(s) {}

  void indent() { out.append(level, ' '); }
  // "{" and "}" stand on a line of their own.
  void brace(char c) {
    if (c == '}') {
      level -= step;
      if (level < 0) {
        level = 0;
        if (!minus) printf("\nBracket Error(-): %s", src.c_str());
        minus = true;
      }
    }
    while (!out.empty() && is_blank(out.back())) out.pop_back();
    if (!out.empty() && out.back() != '\n') out += '\n';
    indent();
    out += c;
    if (c == '{') {
      level += step;
      if (level > max_levels * step && !plus) {
        printf("\nBracket Error(+): %s", src.c_str());
        plus = true;
      }
    }
  }

  // Copies through `end` (included) from `i`; returns the index behind it.
  size_t through(size_t i, const char* end) {
    size_t e = in.find(end, i);
    e = e == std::string::npos ? in.size() : e + strlen(end);
    out.append(in, i, e - i);
    return e;
  }

  void run(size_t i) {
    while (i < in.size()) {
      char c = in[i];
      if (starts(in, i, "</pre>")) {
        size_t p = in.find("<pre", i + 6);
        if (p == std::string::npos) return (void)out.append(in, i, std::string::npos);
        out.append(in, i, p - i);
        if (starts(in, p, "<pre-")) return (void)out.append(in, p + 5, std::string::npos);
        i = through(p, ">");
      } else if (starts(in, i, "<table")) {
        i = through(i, "</table>");
      } else if (starts(in, i, "<font class=kw>") || starts(in, i, "<font class=co>") ||
                 starts(in, i, "<font class=\"co\">")) {
        i = through(i, "</font>");  // a string or a comment: no brace of it counts
      } else if (starts(in, i, "<pre-")) {
        return (void)out.append(in, i + 5, std::string::npos);
      } else if (c == '<') {
        i = through(i, ">");
      } else if (c == '\n') {
        out += '\n';
        i++;
        if (level == 0) continue;  // text outside braces keeps its own blanks
        while (i < in.size() && is_blank(in[i])) i++;
        if (i < in.size() && in[i] != '\n' && in[i] != '{' && in[i] != '}') indent();
      } else if (starts(in, i, "//")) {
        size_t e = eol(in, i);
        out.append(in, i, e - i);
        i = e;
      } else if (starts(in, i, "/*")) {
        i = through(i, "*/");
      } else if (c == '"') {
        size_t e = i + 1;
        while (e < in.size() && in[e] != '"' && in[e] != '\n' && in[e] != '<') e += in[e] == '\\' ? 2 : 1;
        if (e < in.size() && in[e] == '"') e++;
        e = std::min(e, in.size());
        out.append(in, i, e - i);
        i = e;
      } else if (c == '\'' && i + 2 < in.size() && (in[i + 2] == '\'' || (in[i + 1] == '\\' && i + 3 < in.size()))) {
        size_t e = in[i + 2] == '\'' ? i + 3 : std::min(in.size(), i + 4);
        out.append(in, i, e - i);
        i = e;
      } else if (c == '{' || c == '}') {
        brace(c);
        i++;
      } else {
        out += c;
        i++;
      }
    }
  }
};

}  // namespace

std::string cpp_reader::pretty(std::string page, const std::string& src) {
  // The text up to the mark "\n<pre-" is re-indented; what follows the
  // mark stays as it is.
  size_t mark = page.rfind("\n<pre-");
  std::string after = mark == std::string::npos ? "" : page.substr(mark + 6);
  if (mark != std::string::npos) page.resize(mark);
  size_t p = page.find("<pre");
  if (p == std::string::npos) return page + after;
  indenter ind(page, src);
  ind.out.reserve(page.size() + page.size() / 4);
  ind.out.assign(page, 0, p);
  ind.run(ind.through(p, ">"));
  std::string().swap(page);  // the scan's text is no longer needed
  ind.out += after;
  std::string().swap(after);
  // A blank line before a blank line or a line of ";" alone goes.
  line_reader in(ind.out);
  line_writer kept;
  kept.r.reserve(ind.out.size());  // no second copy while the text grows
  for (std::string_view l; in.next(&l);) {
    if (blank_line(l) && in.has_next()) {
      std::string_view n = in.peek();
      if (blank_line(n) || trim(std::string(n)) == ";") continue;
    }
    kept.push(l);
  }
  return std::move(kept.r);
}

std::string cpp_reader::better(std::string page) {
  line_reader in(page);
  line_writer kept;
  kept.r.reserve(page.size() + page.size() / 8);
  const std::string co = "<font class=co>//";
  size_t column = std::string::npos;  // of the "//" of the last code line
  for (std::string_view view; in.next(&view);) {
    if (blank_line(view)) {
      if (!kept.empty() && blank_line(kept.back())) continue;
      kept.push("");
      continue;
    }
    std::string l(view);
    size_t b = 0;
    while (b < l.size() && is_blank(l[b])) b++;
    if (starts(l, b, "__ ")) l.erase(b, 3);
    if (trim(l)[0] == ',' && kept.size() > 1 && kept.back().empty()) {
      kept.pop();
      kept.r += trim(l);
      continue;
    }
    size_t at = l.find(co);
    if (at == b && column != std::string::npos && column > b) {
      l = std::string(column, ' ') + l.substr(b);  // a comment line under the comment above
    } else if (at != std::string::npos && at > b) {
      column = at;
    } else if (at == std::string::npos) {
      column = std::string::npos;
    }
    kept.push(l);
  }
  return std::move(kept.r);
}
