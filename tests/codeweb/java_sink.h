// The trees of a Java page held in maps, and the page of a text.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "codeweb/java_reader.h"
#include "tests/test_util.h"

struct map_trees : java_trees {
  std::map<std::string, std::string> t[8];
  void put(jtree tree, const std::string& key, const std::string& data) override { t[(int)tree][key] = data; }
  bool get(jtree tree, const std::string& key, std::string* data) override {
    auto it = t[(int)tree].find(key);
    if (it == t[(int)tree].end()) return false;
    *data = it->second;
    return true;
  }
  std::vector<std::string> strings;  // texts of the string literals seen
  void string_used(const std::string& text) override { strings.push_back(text); }
  const std::map<std::string, std::string>& operator[](jtree tree) { return t[(int)tree]; }
};

// The page of `text` as the source `src`; what the console got goes to `*console`.
inline std::string page_of(map_trees& web, const std::string& text, const std::string& src = "src/a/A.java",
                           std::string* console = nullptr) {
  java_reader reader(web);
  testing::internal::CaptureStdout();
  std::string page = reader.page_of(text, src, "c0001.htm");
  std::string out = testing::internal::GetCapturedStdout();
  if (console) *console = out;
  return page;
}

// The code part of a page: between its "<pre" and its table of contents.
inline std::string code_of(const std::string& page) {
  size_t b = page.find("<pre class=\"Classes\"><font size=2>");
  size_t e = page.find("<a name=toc>");
  return b == std::string::npos || e == std::string::npos ? "" : page.substr(b + 34, e - b - 34);
}

inline std::string toc_of(const std::string& page) {
  size_t b = page.find("<a name=toc>");
  return b == std::string::npos ? "" : page.substr(b);
}
