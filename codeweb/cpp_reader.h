// The reader of one C or C++ source: writes the text of its page
// <j2h>/<n/100>/<n%100>.htm and fills the C and C++ rows of the code web's
// trees through a `cpp_sink`.
//
// The page is made in three steps: the scan marks the text up (method and
// class heads, macros, typedefs, statics, strings, comments, includes),
// `pretty` re-indents what lies between "<pre" marks by the braces, and
// `better` tidies the lines.  A file that already holds the body marks
// ("/* p..." line with "LB_(") is taken as prepared: the two later steps are
// skipped, so its own layout stays.
//
// Row forms written through the sink (page = "<n/100>/<n%100>", the page of
// the file in the page folder of the code web):
//   secs      "<class>" -> "c<page>.htm#<anchor>" at a class head (the first
//             head of a class wins), "<class> :: <method>" (" . 2", " . 3"
//             for later definitions) -> "m<page>.htm#<anchor>" at a method
//             head.  The class part of a method key is the class name
//             without its "<...>" arguments, so it meets its class row.
//   supers    "<class>~<base>" -> "-- class" (base without qualifiers and
//             access words)
//   defines   macro name (versioned) -> "<page>.htm#<anchor>"
//   types     typedef name -> "<page>.htm#<anchor>"
//   statics, dlls, exceptions   "<name>~<page>.htm#<anchor>" -> ""
//   msgMaps, ddxFiles           "<page>.htm" -> ""
//   codef     function name -> "p cob/../<page>.htm#<anchor>"; the file's
//             entity -> "p <page>.htm"
//   cobDefs   "p .. <name>" -> "<page>.htm#<anchor>~<path>"
//   methods   "<class> :: <method> : <path>~<page>.htm#<anchor>" -> ""
//   mains     "<page>.htm#<anchor>" -> "main <entity>"
//   traceMarks "<name>~<page>.htm#<anchor>" -> caller ("<class> :: <method>"
//             or the function) at each call of a traced name in a body of
//             an implementation file; the call gets a magenta mark "[]".
//
// A method banner of the house style stands in place of a head:
//   /* public: <return type> <class>::<method>(/
//      text of the banner, shown under the head
//   //---------------------------------------------- */
//      <parameters> )
//   {
// (also "protected:", "private:").  The line up to "(/" names the method,
// the text down to the first "//-" line is shown as the head's banner, the
// "//-" line goes, and the parameters up to ")" are the head's table.  A
// banner without its "//-" line within the look-ahead is a comment.
//
// Today's C++ is read as the nearest form the reader knows: a namespace or
// extern "C" block is not a body (heads inside it are top-level heads), a
// raw string is a string, a digit separator is part of its number, an
// attribute or "constexpr"/"override"/"noexcept" is part of the head text,
// "enum class" is no class, a lambda and "using X = ..." are code.
//
// Input the reader cannot go on from ends in the tracker's report naming the
// file and line: an unbalanced "#if" inside a head, a typedef longer than 250
// bytes, an "EXEC SQL" without ";", a name that cannot be a key.  An open
// string or comment, or braces that do not balance, give a page whose tail
// says so.
#pragma once

#include <string>

#include "codeweb/page_texts.h"
#include <vector>

enum class ctree { secs, supers, defines, types, statics, dlls, exceptions, msgMaps, ddxFiles, codef,
                   cobDefs, methods, mains, traceMarks, count_ };

struct cpp_sink {
  virtual ~cpp_sink() = default;
  virtual void put(ctree tree, const std::string& key, const std::string& data) = 0;
  // False when the key is not there.
  virtual bool get(ctree tree, const std::string& key, std::string* data) = 0;
  // The HTML for one "#include" line (`directive` from "#include" to the end
  // of the line); the sink records the edge.
  virtual std::string include(const std::string& directive) = 0;
  // The number of a class name for its map page m/<n>.htm.
  virtual int name_nr(const std::string& name) = 0;
  // The page ("<a>/<b>.htm", from the page folder) of the implementation
  // file beside a header, or "" when there is none.
  virtual std::string impl_page(const std::string& path) { return ""; }
  // Whether another file includes this one.
  virtual bool included() { return false; }
  // Text for the embedded-SQL stream tables.xxx.
  virtual void sql(const std::string& text) {}
  // Whether calls of `name` are traced: the selection holds "+<name>".
  virtual bool traced(const std::string& name) { return false; }
  // The file's name in failure reports, when it differs from the path the
  // rows show.
  std::string file;

  std::string page_head = page_texts::head;
  std::string title_head = page_texts::title_head;
  std::string title_tail = page_texts::title_tail;

  // Totals over all pages.
  long neLoCode = 0;
  long LoHiddenComm = 0;
  long dialogCode = 0;  // neLoCode of files with a message map or DDX
};

class cpp_reader {
 public:
  static constexpr int look_ahead = 12000;  // a head or a statement is looked for this far
  static constexpr int max_typedef = 250;   // longest typedef text
  static constexpr int max_anchor = 10000;  // posNr: anchors of codef rows stay below

  explicit cpp_reader(cpp_sink& web) : web_(web) {}

  // The page text of the source text `text` of file number `fNr`: `src` is
  // the path shown and used in rows.
  // The text is taken over (move it in): the reader holds one working copy
  // of a page at a time.
  std::string page_of(std::string text, const std::string& src, int fNr);

  // The re-indent step and the line tidy-up (public for tests).
  static std::string pretty(std::string page, const std::string& src);
  static std::string better(std::string page);

  // Stores `data` under `name`, or "<name> . 2", " . 3", ... when the key
  // is taken; "A::f" is keyed "A :: f".  Returns the key used.
  static std::string ourVers(cpp_sink& web, ctree tree, const std::string& name, const std::string& data);

 private:
  struct frame { bool body; };  // one open brace: a body, or a namespace block

  void scan();
  void step();
  void line_start();
  bool top_level() const;
  void newline();
  void string_literal();
  void raw_string(size_t quote);
  void char_literal();
  void line_comment();
  bool dropped_comment_line(size_t at);
  void block_comment();
  void directive();
  void define(size_t end);
  void skip_debug_block();
  void word();
  bool method_head();
  bool head_parts(size_t head, size_t from, size_t paren, std::string* ret, std::string* cls, std::string* name);
  bool class_head();
  void class_bases(const std::string& name, size_t from, size_t end);
  bool typedef_text();
  void static_word();
  void assert_statement(size_t word_start);
  void exception_mark();
  void exec_sql();
  bool banner_method();
  void traced_call(const std::string& word);
  void head_out(const std::string& ret, const std::string& cls, const std::string& name,
                const std::string& params, const std::string& rest, const std::string& banner = "");
  void c_function(const std::string& name);
  void zu_codef(const std::string& entity, int anchor);
  void code(char c);
  void code(const std::string& s);
  void tail();
  [[noreturn]] void fail_input(const char* what, size_t at);
  int line_at(size_t at) const;

  cpp_sink& web_;
  std::string t_;
  size_t i_ = 0;
  std::string out_;
  std::string src_, page_, base_, entity_;
  bool impl_ = false;
  bool prepared_ = false;
  bool dialog_ = false;
  bool msg_ = false, ddx_ = false;
  bool brace_error_ = false;
  bool guard_ = false;  // an include guard "#ifndef" was seen: its "#define" goes
  int anchor_ = 0;
  int fNr_ = 0;
  size_t checked_ = std::string::npos;  // the line start already looked at
  int bodies_ = 0;                      // open frames that are bodies
  long ne_ = 0;
  std::vector<frame> frames_;
  bool pending_namespace_ = false;
  bool pending_body_ = false;
  int body_level_ = -1;  // frame depth of the open method body, -1 when none
  std::string caller_;   // the method or function whose head came last
};
