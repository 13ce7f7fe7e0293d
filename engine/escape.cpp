#include "engine/escape.h"

#include <cstdio>

std::string js_string(std::string_view s) {
  std::string r;
  r.reserve(s.size());
  for (size_t i = 0; i < s.size(); i++) {
    unsigned char c = (unsigned char)s[i];
    switch (c) {
      case '\\': r += "\\\\"; continue;
      case '"': r += "\\\""; continue;
      case '\n': r += "\\n"; continue;
      case '\r': r += "\\r"; continue;
      case '\t': r += "\\t"; continue;
      default: break;
    }
    if (c < 0x20 || c == 0x7F) {
      char hex[8];
      snprintf(hex, sizeof hex, "\\x%02X", c);
      r += hex;
    } else if (c == 0xE2 && i + 2 < s.size() && (unsigned char)s[i + 1] == 0x80 &&
               ((unsigned char)s[i + 2] == 0xA8 || (unsigned char)s[i + 2] == 0xA9)) {
      r += (unsigned char)s[i + 2] == 0xA8 ? "\\u2028" : "\\u2029";
      i += 2;
    } else {
      r += (char)c;
    }
  }
  return r;
}

namespace {

// "&", "<" and ">" as character references, and with `quotes` the double
// and the single quote as well.
std::string html_escaped(std::string_view s, bool quotes) {
  std::string r;
  r.reserve(s.size());
  for (char c : s) {
    switch (c) {
      case '&': r += "&amp;"; continue;
      case '<': r += "&lt;"; continue;
      case '>': r += "&gt;"; continue;
      case '"':
        if (quotes) {
          r += "&quot;";
          continue;
        }
        break;
      case '\'':
        if (quotes) {
          r += "&#39;";
          continue;
        }
        break;
      default: break;
    }
    r += c;
  }
  return r;
}

}  // namespace

std::string html_attr(std::string_view s) { return html_escaped(s, true); }

std::string html_text(std::string_view s) { return html_escaped(s, false); }

std::string bat_word(std::string_view s) {
  static const char plain[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_$.:-/\\";
  if (!s.empty() && s.find_first_not_of(plain) == std::string_view::npos) return std::string(s);
  std::string out = "\"";
  for (char c : s) {
    if (c == '"' || c == '%')
      out.append(2, c);
    else if ((unsigned char)c < 32 || c == 127)
      out += '?';
    else
      out += c;
  }
  return out + "\"";
}
