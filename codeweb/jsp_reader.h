// The readers of server pages: JSP (jsp_reader) and ASP (asp_reader, in
// codeweb/asp_reader.h).  Each makes the text of one page from a source
// text; what needs the web (an include name resolved to a file and read,
// a class entered as used, a string told to the JScript list) goes through
// `server_hooks`, so a reader runs on its own in tests and fuzzing.
//
// JSP: the text is copied with "<" as "&lt;".  Comments "<%-- --%>",
// "<!-- -->", "//" and "/* */" get the class "co"; a comment of the JSP
// generator's protected regions ("<%-- START OF PROTECTED" ...) is
// dropped.  A string runs to its closing quote or the line end; one that
// ends at the line end is an unbalanced quote, reported with the line.
// A directive "<%@ ... %>" (and the tags "<jsp:include page=...>",
// "<jsp:directive.include file=...>", "<jsp:directive.page import=...>")
// links its included file and enters its imports; the string behind
// "code=" (an applet) is a class.  Runs of blank lines are cut to one.
#pragma once

#include <string>
#include <vector>

#include "codeweb/ut_web.h"

// What a page reader asks of the web it writes into.  The defaults are
// those of a web without files: no include resolves.
struct server_hooks {
  virtual ~server_hooks() = default;
  // Include `name` of the page in hand: true with `page` the link target
  // of the file it names (without ".htm") and `depth` the include depth
  // below that file; false when no file has that name.
  virtual bool include(const std::string& name, std::string& page, int& depth) {
    (void)name, (void)page, (void)depth;
    return false;
  }
  // A class or package the page uses ("a.b.*" for a package).
  virtual void uses(const std::string& name) { (void)name; }
  // The text of a string literal (for the JScript functions it calls).
  virtual void string_used(const std::string& text) { (void)text; }
  // The include structure written at the end of a page that includes
  // others (ASP); "" when the web has none.
  virtual std::string structure() { return ""; }
  // Set once another file includes this one (its page links "is_inc_for").
  virtual bool included() { return false; }
};

// The parts the two readers share: the escaped copy, comments, strings
// and the unbalanced-quote report.
class server_reader {
 public:
  server_reader(const ut_web& frame, server_hooks& hooks, int* errors) : frame_(frame), hooks_(hooks), errors_(errors) {}
  virtual ~server_reader() = default;

  // What the last page found.
  struct include_row {
    std::string name;  // as written in the source
    std::string page;  // link target, "" when not found
  };
  std::vector<include_row> includes;
  int depth = 0;          // deepest include level below the page
  int lines = 0;          // lines of the source
  int bad_quotes = 0;     // strings that ended at a line end
  std::string report;     // the console report of those (running count)

 protected:
  void start(const std::string& text, int fNr, const std::string& path);
  bool at(const char* s) const;          // the text at i_ begins with s
  bool at_nocase(const char* s) const;   // the same, ASCII case ignored
  void copy(size_t n);                   // n bytes, escaped, to the page
  // A comment from i_ through `close` (or the end of the text) in a "co"
  // span; `close_out` stands in place of `close`.
  void comment(const char* close, const std::string& close_out, const std::string& open_mark = "");
  void drop_through(const char* close);  // a region left off the page
  void line_comment();                   // "//" to the line end
  // A string at i_; `code_class`: a string behind "code=" names a class.
  void string_literal(bool code_class, bool report_open);
  void blank_lines();
  // A newline or a "/" at i_, as both readers treat them: runs of blank
  // lines, protected regions, block and line comments.
  void newline_or_slash(char c);
  // One include name: the link to its page (`asp` pages are "asp<n>.htm",
  // JSP pages "../<nr2>.htm"), or the name as a keyword when no file has it.
  void include_at(const std::string& name, bool asp);
  static std::string esc(const std::string& s);
  std::string line_of(size_t at) const;
  size_t find_in(char c, size_t from, size_t end) const;  // c in [from, end), or npos
  std::string lines_count() const;

  const ut_web& frame_;
  server_hooks& hooks_;
  int* errors_;           // the running count of reports, shared by pages
  std::string t_;
  size_t i_ = 0;
  std::string out_;
  std::string path_;
  int fNr_ = 0;
  bool head_ = true;  // nothing but blanks and comments so far
};

class jsp_reader : public server_reader {
 public:
  using server_reader::server_reader;
  // The page of source `text`, file number `fNr`, shown as `path`.
  std::string page_of(const std::string& text, int fNr, const std::string& path);
  int commands = 0;  // "<%" elements of the page

 private:
  void scan();
  void lt();
  void directive(size_t end, bool tag);
  void imports(const std::string& list);
  void tail();
  size_t no_close_ = std::string::npos;  // no "%>" at or behind this place
};
