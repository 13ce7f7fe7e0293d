// The reader of one Java source: writes its page c<nnnn>.htm and fills the
// Java rows of the code web's trees (codeweb/java_trees.h).
//
// The source goes through `see_default_vis` and the code tidier first, so
// that the scan can trust its shape: one statement a line, "{" and "}" alone
// on a line, indentation 3 per level (the nesting of classes is read from
// the column).  The scan copies the text and stops at line ends, "<",
// comments, strings and the Java keywords that begin a declaration; what it
// finds becomes marked-up text on the page and entries of the page's table
// of contents, which is appended at the end of the page.
//
// Forms of today's Java are read as the nearest form the reader knows:
// "enum" and "record" are classes, "@interface" is copied as text, generic
// arguments belong to the type they follow ("class A<T> extends B<T>" is A
// extending B), a text block is a string, lambdas and annotations are code,
// and an abstract or interface method ends at its ";".
//
// Input the reader cannot go on from ends in the tracker's report naming the
// file: a line longer than the 8000-byte look-ahead, a string longer than
// 300000 bytes, a comment or string open at the end of the file, braces that
// do not balance, the 1000th main() method, more than `etoc` entries.
#pragma once

#include <string>
#include <vector>

#include "codeweb/java_trees.h"

class java_reader {
 public:
  static constexpr int look_ahead = 8000;   // longest line the scan reads
  static constexpr int max_string = 300000; // longest string literal

  explicit java_reader(java_trees& web) : web_(web) {}

  // Writes the page of the source `src` into the file `page_file`; `page` is
  // the page's name in links ("c0003.htm").
  void run(const std::string& src, const std::string& page_file, const std::string& page);
  // The page text for the source text `text` (what `run` writes).
  std::string page_of(const std::string& text, const std::string& src, const std::string& page);

  // The number of a class name for its pages m/<n>.htm and u/<n>.htm.
  int def_name_nr(const std::string& name);

 private:
  enum entry_kind { e_comment, e_method, e_class, e_slot };
  struct entry {
    entry_kind kind;
    std::string text;  // class: kind text; method: declaration
    std::string name;  // class: full name; method: its name
    std::string cls;   // the class it belongs to
  };

  void reset(const std::string& src, const std::string& page);
  void scan();
  void step();
  void newline();
  void line_comment();
  void block_comment();
  void comment_out(size_t end, bool closed);
  void drop_rest(bool whole_blank_lines);
  void string_literal();
  void char_literal();
  void word();
  bool keyword(const std::string& w);
  void package_line();
  void import_line();
  bool class_header(const std::string& w);
  void class_supers(const std::string& name, const std::string& kind, size_t from);
  void declaration(const std::string& w);
  void method(size_t paren);
  void write_kw(const std::string& w);
  int add_entry(entry_kind kind, const std::string& text, const std::string& name);
  void code(const std::string& s);
  void code(char c);
  void mark(const std::string& s) { out_ += s; }
  std::string toc();
  std::string class_row(size_t i, bool first);
  void check_package_name(const std::string& path, const std::string& package);
  [[noreturn]] void fail_input(const char* what);

  java_trees& web_;
  std::string t_;      // the tidied text
  size_t i_ = 0;
  std::string out_;
  std::string src_;    // path of the source
  std::string page_;   // "c0003.htm"
  std::string cls_;    // the file's base name
  std::string package_;
  bool has_package_ = false;
  std::vector<entry> toc_;
  std::vector<std::string> levels_;  // class names by nesting depth
  int depth_ = -1;
  std::string outer_ = "?";   // full name of the current class
  std::string current_ = "?"; // simple name of the current class
  bool line_code_ = false;    // the line written has code on it
  bool fresh_word_ = false;   // the next word counts as behind white space
  int ne_ = 0;                // neLoCode
  int lo_ = 0;                // LoComm
  int slots_ = 0;
};
