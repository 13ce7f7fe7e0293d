// The reader of one C# source: the text of its page <j2h>/<n/100>/<n%100>.htm
// and the rows the code web enters for it (class maps, the namespace list,
// entry points, statics).  It needs no web: the rows are collected here and
// the phase (cs_pages.cpp) puts them into the web's trees.
//
// The scan stops at "<", strings and characters, blank-line runs, "#",
// comments, the visibility words, "class"/"interface" (also "struct",
// "record", "enum"), "static", "return", "namespace" and "Main(".
//  - A visibility word becomes its mark: public ".", protected "2",
//    private "3"; "internal", "abstract", "static", "virtual" behind it are
//    skipped.  Then a type head ("class" ...) or a member: the type is the
//    next word (generic arguments included); the rest of the line decides.
//    With "(" or "<" in it the member's name runs to "(" and gets an anchor
//    and a row; without them it is a field (a property too), plain text.
//  - A member without a visibility word is plain text and has no row.
//  - "Main(" (or "main(") is an entry point.
//  - "#region" and "#endregion" are shown bold; "///" summaries are shown
//    as text, "<param" as "par:", "<returns" as "res:".
//
// Today's C# is read as the nearest described form: the modifiers
// "override", "sealed", "readonly", "async", "partial", "new", "unsafe",
// "extern", "const", "volatile", "required", "event", "implicit" and
// "explicit" behind a visibility word are skipped like "static"; a
// visibility word followed by anything but a type and a blank, an operator
// or an indexer head ("this[") is plain text; a property ("{ get; set; }",
// "=> x;") is a field; verbatim, interpolated and raw strings are strings;
// attributes, "where" clauses and lambdas are code.  No input ends the run:
// the reader only ever writes a page.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "codeweb/page_texts.h"

class cs_reader {
 public:
  static constexpr size_t max_head = 400;  // a type or member name is looked for this far

  using row = std::pair<std::string, std::string>;

  // The page text of `text`, file number `fNr`, shown as `src`.
  std::string page_of(const std::string& text, const std::string& src, int fNr);

  std::string page_head = page_texts::head;
  std::string title_head = page_texts::title_head;
  std::string title_tail = page_texts::title_tail;

  // What the last page found, in page order (page = "<n/100>/<n%100>").
  std::vector<row> classes;     // class -> "c<page>.htm#<anchor>"
  std::vector<row> supers;      // class, base
  std::vector<row> members;     // "<class> :: <member>" (or the member) -> "m<page>.htm#<anchor>"
  std::vector<row> namespaces;  // "<namespace> . <class>~<member>" -> "<page>.htm#<anchor>"
  std::vector<row> statics;     // "<name>~<page>.htm#<anchor>"
  std::vector<std::string> mains;  // "<page>.htm#<anchor>" of each entry point
  long neLoCode = 0;

 private:
  struct scope {
    std::string name;
    bool is_class;
    int depth;  // brace depth inside the scope
  };

  void reset();
  void step();
  void newline();
  void string_literal();
  void char_literal();
  void comment();
  void doc_comment();
  void directive();
  bool visibility();
  bool type_head(size_t at, const char* mark);
  void member(size_t name_at, size_t name_end);
  void static_word();
  void entry_point(int anchor);
  bool namespace_line();
  void brace(char c);
  void line_facts();
  size_t type_end(size_t at) const;
  bool word_at(size_t at, const char* w) const;
  bool boundary_before(size_t at) const;
  std::string current(bool is_class) const;
  void code(char c);
  void code(const std::string& s);
  std::string tail() const;

  std::string t_;
  size_t i_ = 0;
  std::string out_;
  std::string src_, page_, entity_;
  int anchor_ = 0;
  int depth_ = 0;
  std::vector<scope> scopes_;
  std::string pending_class_, pending_ns_;
  std::string ns_;  // a file-scoped namespace, or the last namespace read
  // Facts of the line that holds i_: its end, and the last "(", "<" and
  // " class "/" interface " on it.
  size_t line_start_ = std::string::npos, line_end_ = 0, last_paren_ = 0, last_lt_ = 0, last_kw_ = 0;
  bool has_paren_ = false, has_lt_ = false, has_kw_ = false;
  bool legend_ = false;
  std::map<std::string, std::string> tail_;  // "<namespace> . <class>~<member>" -> "<a href=#i>member</a>"
};
