// Small text helpers of the index pages.
#pragma once

#include <cstring>
#include <string>

namespace index_text {

inline bool begins(const std::string& s, const char* p) { return s.compare(0, strlen(p), p) == 0; }

// `s` without the blanks at both ends.
inline std::string trimmed(const std::string& s) {
  size_t a = s.find_first_not_of(' ');
  if (a == std::string::npos) return "";
  return s.substr(a, s.find_last_not_of(' ') - a + 1);
}

}  // namespace index_text
