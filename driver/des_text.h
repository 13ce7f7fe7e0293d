// Small text and path helpers of the web builder's stages.  Only the
// sources of DocDes include this header.
#pragma once

#include <strings.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

#include "runtime/safe_uts.h"

namespace des {

// Source name of the web builder in failure reports.
inline const char* const SRC = "doc_des";

// Every method of DocDes opens by naming itself.
inline void enter(const char* name) { printf("\n-> %s", name); }

inline std::string trim(const std::string& s) {
  size_t a = s.find_first_not_of(" \t\r\n");
  if (a == std::string::npos) return "";
  size_t e = s.find_last_not_of(" \t\r\n");
  return s.substr(a, e + 1 - a);
}

inline std::string rtrim(const std::string& s) {
  size_t e = s.find_last_not_of(" \t\r\n");
  return e == std::string::npos ? "" : s.substr(0, e + 1);
}

inline std::string lower(std::string s) {
  for (char& c : s) c = (char)tolower((unsigned char)c);
  return s;
}

inline bool begins(const std::string& s, const char* p) { return s.compare(0, strlen(p), p) == 0; }

inline bool begins_nocase(const std::string& s, const char* p) {
  return strncasecmp(s.c_str(), p, strlen(p)) == 0;
}

inline bool ends_nocase(const std::string& s, const char* t) {
  size_t n = strlen(t);
  return s.size() >= n && strcasecmp(s.c_str() + s.size() - n, t) == 0;
}

inline size_t find_nocase(const std::string& s, const char* t, size_t from = 0) {
  size_t n = strlen(t);
  if (!n) return from;
  for (size_t i = from; i + n <= s.size(); i++)
    if (tolower((unsigned char)s[i]) == tolower((unsigned char)t[0]) &&
        strncasecmp(s.c_str() + i, t, n) == 0)
      return i;
  return std::string::npos;
}

inline std::string slashes(std::string s) {
  for (char& c : s)
    if (c == '\\') c = '/';
  return s;
}

inline std::string base_of(const std::string& p) {
  size_t k = p.find_last_of('/');
  return k == std::string::npos ? p : p.substr(k + 1);
}

inline std::string folder_of(const std::string& p) {
  size_t k = p.find_last_of('/');
  if (k == std::string::npos) return ".";
  return k == 0 ? "/" : p.substr(0, k);
}

// The extension of the file part, with its dot; empty if none.
inline std::string ext_of(const std::string& p) {
  std::string b = base_of(p);
  size_t k = b.find_last_of('.');
  return k == std::string::npos || k == 0 ? "" : b.substr(k);
}

// "a/./b/../c" as "a/c", without asking the file system.
inline std::string normal_path(const std::string& p) {
  if (p.empty()) return p;
  std::string n = std::filesystem::path(p).lexically_normal().generic_string();
  while (n.size() > 1 && n.back() == '/') n.pop_back();
  return n.empty() ? "." : n;
}

inline std::string absolute(const std::string& p) {
  if (p.empty() || p[0] == '/') return normal_path(p);
  return normal_path(safe_ut.cwd() + "/" + p);
}

inline bool web_address(const std::string& s) {
  return begins(s, "www.") || begins_nocase(s, "http://") || begins_nocase(s, "https://");
}

// The number that `s` begins with; `*end` is set behind its digits (0 when
// there are none).  The value stops growing at 1000 and more, enough to
// tell a number that is out of range.
inline long leading_number(const std::string& s, size_t* end) {
  size_t k = 0;
  long n = 0;
  while (k < s.size() && isdigit((unsigned char)s[k])) {
    if (n < 1000) n = n * 10 + (s[k] - '0');
    k++;
  }
  *end = k;
  return n;
}

}  // namespace des
