// The reader of one PHP source: the text of its page <j2h>/php/<n/100>/<n%100>.htm
// and the classes, functions and "require"/"include" edges of the file.
//
// The page is a mix of code blocks and text: what stands before the first
// "<?" is shown as a comment, the PHP parts are code blocks ("<pre>"), the
// HTML parts between "?>" and "<?" are text (their "<!-- -->" comments as
// comments).  A seam "?>" + "<?php" with only white space between is
// dropped.  In the code:
//  - strings ('...', "...", heredoc and nowdoc "<<<ID") and comments ("//",
//    "#", "/* */") are shown as such; a "?>" inside them changes nothing;
//  - "echo \"" and "print \"" show their string with each quote as "&#34;";
//  - "class", "interface", "trait" and "function <name>" get a section head
//    in front of their line, with an anchor of the kind word's first letter
//    and a running number (c<i>, i<i>, t<i>, f<i>) and the words in front of
//    the kind word (public, static, abstract, final, ...) as its marks, in
//    blue; "const NAME =" in a class body or outside braces (c<i>) and a
//    property "$name" behind marks only (var, public, static, ...) in a
//    class body (v<i>) are members with an anchor in their line, their
//    marks in blue;
//  - "$name" at the start of a line outside any braces is a global (g<i>);
//  - "require" and "include" (also "_once", any case) as the first word of
//    a line link the file the last string of the statement names, when the
//    `resolve` callback finds it.
// Braces are counted to know where a class ends.  No input ends the run: the
// reader only ever writes a page.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "codeweb/page_texts.h"

class php_reader {
 public:
  struct member {
    std::string cls;     // the enclosing class, "" outside
    std::string name;
    std::string kind;    // "class", "function", "const", "var", "global"
    std::string anchor;  // on the page
  };
  struct target {
    int nr = 0;          // file number, 0 when not found
    std::string href;    // link relative to the page
  };

  // The page text of `text`, shown as `path`.
  std::string page_of(const std::string& text, const std::string& path);

  std::function<target(const std::string& name)> resolve;
  std::string page_head = page_texts::head;
  std::string title_head = page_texts::title_head;
  std::string title_tail = page_texts::title_tail;
  std::string up = "../../";  // from the page to the web's folder

  std::vector<member> members;  // in page order
  std::vector<int> reached;     // file numbers reached by require/include

 private:
  void php_part();
  void html_part();
  void php_step();
  void flush_line();
  void string_literal(char q);
  void heredoc();
  void comment(bool block);
  void echo_string(size_t word_end);
  bool require_line(size_t word_end);
  void head(const char* kind, size_t name_at);
  size_t line_start(size_t at) const;
  static bool is_modifier(const std::string& word);
  std::string marks_before(size_t at) const;
  void add_head(const std::string& kind, const std::string& name, const std::string& marks, const std::string& cls);
  void constant(size_t word_end);
  void property();
  void colour_marks();
  bool word_is(size_t at, const char* w) const;
  bool first_on_line(size_t at) const;

  std::string t_;
  size_t i_ = 0;
  std::string out_, line_, pending_head_;
  bool php_ = false;
  bool line_in_php_ = false;  // the line began inside a code block
  int depth_ = 0;
  int class_depth_ = -1;
  std::string class_, pending_class_;
  int anchors_ = 0;
  std::vector<std::string> globals_;
};
