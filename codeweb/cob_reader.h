// The reader of one COBOL source (".cob", ".cbl", ".cpy", ".pco", ".lib")
// and the reader of the embedded SQL the COBOL and C readers collect.
//
// cob_reader makes the text of the page cob/<n/100>/<n%100>.htm of one file
// and lists what the code web needs from it: the programs and entry points
// ("p") and the level-01 structures ("s") it defines, the CALL and COPY rows
// of the relation, and the EXEC statements for <root>/tables.xxx.
//
// The text is read in fixed form (a sequence area of digits in columns 1-6,
// an indicator in column 7) and in free form alike.  Key words are known in
// any letter case.  A comment ("*" or "/" as indicator, "*" as the first
// character of a line, "*>" anywhere) is copied as it stands, and so is a
// line with DISPLAY.  String literals are copied without a look inside.
// CALL and COPY are written upper case with their target as a mark that the
// code web later links to the definition.  Names of programs and structures
// are kept upper case in the relation (COBOL names do not depend on case).
//
// Input that ends in the tracker's report (naming the file and line): a
// program, entry or structure name that does not begin with a letter.
// Everything else makes a page; oddities become notes on it.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "codeweb/ut_web.h"

class cob_reader {
 public:
  static constexpr size_t look_ahead = 12000;  // bytes searched for END-EXEC or the end of a COPY

  struct def {
    char tag;          // 'p' program or entry point, 's' storage
    std::string name;  // upper case
    int anchor;
  };
  struct use {
    std::string key;   // "p .. <caller>~p .. <called>" or "p .. <caller>~s .. <book>"
    int anchor;
  };

  explicit cob_reader(const ut_web& frame) : frame_(frame) {}

  // The page of the source `text` of file number `fNr`, shown as `path`
  // (relative to the root).
  std::string page_of(std::string text, int fNr, const std::string& path);

  // What the last page found.
  std::string page;               // "cob/<n/100>/<n%100>.htm"
  std::string stem;               // the file name without its extension
  std::vector<def> defs;          // in page order
  std::vector<use> uses;          // in page order
  std::string sql;                // rows for tables.xxx
  std::vector<std::string> notes; // oddities of the text, for the page and the console
  int commands = 0;               // key words met
  bool quote_missing = false;     // a literal that runs to the line's end

 private:
  void reset(int fNr, const std::string& path);
  void line_start();
  void scan();
  void comp_clause();
  void word();
  void literal();
  void copy_to_eol();
  void emit(size_t from, size_t to);
  void program_id(size_t word_end);
  void entry(size_t word_end);
  void storage(size_t word_end);
  void call_or_copy(const std::string& w, size_t word_end);
  void exec(size_t word_end);
  void section_word(const std::string& w);
  std::string sql_text(size_t from, size_t to) const;
  void define(char tag, std::string name, const char* what, size_t at);
  [[noreturn]] void fail(const char* what, size_t at) const;
  std::string section_list() const;
  size_t eol(size_t from) const;

  const ut_web& frame_;
  std::string t_, u_;   // the text and its upper-case twin
  size_t i_ = 0;
  size_t body_ = 0;     // where the code of the line in hand begins
  bool fixed_ = false;  // the line in hand has a sequence area
  bool first_word_ = false;
  bool procedure_ = false;  // PROCEDURE DIVISION seen
  std::string prev_word_;
  std::string out_;
  std::string path_;
  std::string caller_;
  int anchor_ = 0;
  std::vector<std::pair<int, std::string>> sections_;  // anchor, kept text
};

// The embedded SQL of <root>/tables.xxx: lines " p .. <name> [<link>]" name
// the program the statements behind them belong to.  The rows found:
//   "p .. P~c .. C"  the program fetches from cursor C
//   "c .. C~t .. T"  cursor C reads table T
//   "v .. V~t .. T"  view V is made of table T
//   "p .. P~t .. T"  the program reads or writes table T
// Table names are kept upper case without a schema in front.  A cursor
// without a program, a table name of fewer than 2 characters or a view
// table of fewer than 3 end in the tracker's report, naming `file`.
struct sql_rows {
  std::vector<std::pair<std::string, std::string>> uses;     // key -> "1~<link>"
  std::vector<std::pair<std::string, std::string>> cursors;  // cursor -> link of its declaration
  std::vector<std::string> warnings;                         // console lines
};
void read_exec_sql(const std::string& text, sql_rows& out, const std::string& file);

// From `s`: the next ",", ";", "Where"/"where"/"WHERE" or "ORDER BY" (and the
// ends of a table list that SQL of today has: JOIN, GROUP BY, HAVING, UNION,
// ")").  Behind a WHERE it goes on to the next ";" or a FROM after white
// space, and returns that.  `u` is the upper-case text.
size_t to_end_of_WHERE(const std::string& u, size_t s);
