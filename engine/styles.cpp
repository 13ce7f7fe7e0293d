// Style sheets: the reduction of the rules the cut wrote to a document's
// 1.css, and the code pages' sheet j2h.css.
#include <cstring>
#include <string>

#include "engine/css_text.h"
#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

namespace {

const char* const SRC = "styles";

bool dropped_decl(const std::string& d) {
  if (d.compare(0, 11, "text-indent") == 0 || d.compare(0, 13, "text-align:ce") == 0) return false;
  for (const char* p : {"color", "margin-", "mso-", "page-break", "font-size", "page:", "text-"})
    if (d.compare(0, strlen(p), p) == 0) return true;
  return false;
}

// One rule body reduced; empty when the rule is dropped whole.
std::string reduce_rule(const std::string& body, bool& drop) {
  std::string r;
  drop = false;
  each_declaration(body, " \t\n", [&](const std::string&, const std::string& d, bool) {
    if (d.compare(0, 12, "display:none") == 0) drop = true;
    if (!dropped_decl(d)) r += " " + d + ";";
  });
  return r;
}

}  // namespace

// A document's 1.css is small (one short rule per class), so it is read
// whole.
void ut_htm::reduce_css(const char* css) {
  std::string t = safe_ut.read_text(css);
  std::string r;
  size_t i = 0;
  while (i < t.size()) {
    size_t c = t.find("/*", i);
    if (c == std::string::npos) {
      r += t.substr(i);
      break;
    }
    r += t.substr(i, c - i);
    size_t ce = t.find("*/", c);
    if (ce == std::string::npos) break;
    i = ce + 2;
    size_t open = t.find('{', i), next = t.find("/*", i);
    if (open == std::string::npos || (next != std::string::npos && next < open)) continue;
    size_t close = t.find('\n', open);
    size_t brace = t.find('}', open);
    if (brace != std::string::npos && (close == std::string::npos || brace < close)) close = brace;
    if (close == std::string::npos) close = t.size();
    bool drop;
    std::string body = reduce_rule(t.substr(open + 1, close - open - 1), drop);
    if (!drop) r += t.substr(i, open + 1 - i) + body + " font-size:10pt;\n}\n";
    i = close + (close < t.size() && t[close] == '}' ? 1 : 0);
  }
  for (size_t k; (k = r.find(";;")) != std::string::npos;) r.erase(k, 1);
  FILE* out = safe_ut.open_FILE(css, "w");
  fwrite(r.data(), 1, r.size(), out);
  fixed_css(out);
  safe_ut.close_FILE(&out, SRC, __LINE__);
}

void ut_htm::j2h_css(const char* file) {
  const char* slash = strrchr(file, '/');
  if (strcmp(slash ? slash + 1 : file, "j2h.css") != 0) {
    exut.show_str("file", file);
    exut.fail(__LINE__, SRC, "System: the code pages' sheet must be named j2h.css: %s", file);
  }
  if (safe_ut.exists(file)) return;
  FILE* out = safe_ut.open_FILE(file, "w");
  fputs(
      "body { background-color:#FFFFFF; color:#000000; }\n"
      ".Header { color:#000000; background-color:#99FF99; }\n"
      "#Header { color:#000000; background-color:#99FF99; }\n"
      ".ko1 { color:#000000; background-color:#CCFFCC; }\n"
      ".c A:link { color:#FF6600; }\n"
      ".c A:visited { color:#FF6600; }\n"
      ".c PRE { color:#000000; }\n"
      ".c { color:#000000; font-size:180%; }\n"
      "pre { color:#000000; font-size:120%; }\n"
      ".co { color:#008000; }\n"
      ".kw { color:#0000FF; }\n",
      out);
  safe_ut.close_FILE(&out, SRC, __LINE__);
}
