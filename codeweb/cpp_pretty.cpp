// The two later steps of a C or C++ page: the re-indent by braces and the
// line tidy-up.
#include <cstdio>
#include <vector>

#include "codeweb/cpp_lex.h"
#include "codeweb/cpp_reader.h"

using namespace cpplex;

namespace {

constexpr int step = 4;        // blanks per brace level
constexpr int max_levels = 40; // "Bracket Error(+)" beyond this

std::vector<std::string> lines_of(const std::string& s) {
  std::vector<std::string> r;
  size_t b = 0;
  while (true) {
    size_t e = s.find('\n', b);
    if (e == std::string::npos) {
      r.push_back(s.substr(b));
      return r;
    }
    r.push_back(s.substr(b, e - b));
    b = e + 1;
  }
}

bool blank_line(const std::string& l) {
  for (char c : l)
    if (!is_blank(c)) return false;
  return true;
}

std::string joined(const std::vector<std::string>& lines) {
  std::string r;
  for (size_t i = 0; i < lines.size(); i++) r += (i ? "\n" : "") + lines[i];
  return r;
}

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

std::string cpp_reader::pretty(const std::string& page, const std::string& src) {
  // The text up to the mark "\n<pre-" is re-indented; what follows the
  // mark stays as it is.
  size_t mark = page.rfind("\n<pre-");
  std::string text = page.substr(0, mark);
  std::string after = mark == std::string::npos ? "" : page.substr(mark + 6);
  size_t p = text.find("<pre");
  if (p == std::string::npos) return text + after;
  indenter ind(text, src);
  ind.out.assign(text, 0, p);
  ind.run(ind.through(p, ">"));
  ind.out += after;
  // A blank line before a blank line or a line of ";" alone goes.
  std::vector<std::string> lines = lines_of(ind.out), kept;
  for (size_t i = 0; i < lines.size(); i++) {
    if (blank_line(lines[i]) && i + 1 < lines.size() &&
        (blank_line(lines[i + 1]) || trim(lines[i + 1]) == ";"))
      continue;
    kept.push_back(lines[i]);
  }
  return joined(kept);
}

std::string cpp_reader::better(const std::string& page) {
  std::vector<std::string> lines = lines_of(page), kept;
  const std::string co = "<font class=co>//";
  size_t column = std::string::npos;  // of the "//" of the last code line
  for (auto& l : lines) {
    if (blank_line(l)) {
      if (!kept.empty() && blank_line(kept.back())) continue;
      kept.push_back("");
      continue;
    }
    size_t b = 0;
    while (b < l.size() && is_blank(l[b])) b++;
    if (starts(l, b, "__ ")) l.erase(b, 3);
    if (trim(l)[0] == ',' && kept.size() > 1 && kept.back().empty()) {
      kept.pop_back();
      kept.back() += trim(l);
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
    kept.push_back(l);
  }
  return joined(kept);
}
