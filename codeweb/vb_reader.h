// The reader of one VB source (".bas", ".vbs"): the text of its page
// bas<n>.htm and what the list pages of the VB sources need from it.
//
// The scan goes line by line.  At the left margin it knows "file:" (a new
// module of a concatenation: its name is the module's title), "Class" and
// "Dim" (a member with the name as anchor; a name already anchored on the
// page gets no second anchor; a name like an anchor of the page's own, say
// "eof" or "mB1", is anchored by a number instead).  As the first word of a statement it knows a
// member head: "Public", "Private", "Global" (and "Friend", read as
// "Public"), "Function", "Sub" and "Property" ("Property Get x" is read as a
// function of that name); a head without a visibility is shown with
// "Public ".  The head gets a numbered anchor, and its name links to the
// module contents at the page's end.  "Case <expression>" as the first word
// is a case label with anchor "c<i>".  Inside a line "'" and "Rem" begin a
// comment (banners "'***" and "'___" are dropped), a string runs to its
// closing quote or the line end and goes on over a line that ends in "_",
// and the words MsgBox, CreateObject and ExecuteFile (in any case, outside
// comments and strings) get the anchors mB<i>, cr<i>, ex<i>.
//
// The only input that ends in the tracker's report (naming the file) is a
// member head longer than `max_head` bytes.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "codeweb/ut_web.h"

class vb_reader {
 public:
  static constexpr size_t max_head = 8000;  // longest member head line

  struct member {
    std::string decl;    // "Public Function x", "Dim y", "Class Z", "Private Sub w"
    std::string anchor;  // the anchor on the page
    std::string module;  // title of the module it stands in
  };
  struct call {
    int nr;              // the page's anchor number (mB<nr>, cr<nr>, ex<nr>)
    std::string where;   // "<module> : <line>"
  };
  struct case_label {
    std::string text, module, anchor;
  };

  explicit vb_reader(const ut_web& frame) : frame_(frame) {}

  // The page of the source text `text`, file number `fNr`, shown as `path`.
  std::string page_of(const std::string& text, int fNr, const std::string& path);

  // What the last page found, in page order.
  std::vector<member> members;
  std::vector<call> mBoxes, useObjs, execs;
  std::vector<case_label> cases;
  int methods = 0;  // functions, subs and properties
  int mains = 0;    // of them named Main

 private:
  void reset();
  void line();
  bool margin_line();
  void module_line();
  void class_line();
  void dim_line();
  bool member_head();
  void write_head(std::string decl, const char* kind, const std::string& w, size_t name_at, size_t name_end);
  void case_label_at(size_t word_end);
  void rest_of_line();
  void comment(size_t from);
  void string_literal();
  void word();
  std::string next_number_anchor() { return std::to_string(++anchors_); }
  size_t line_end(size_t from) const;
  static bool own_anchor(const std::string& name);
  std::string name_anchor(const std::string& name);
  std::string module_table() const;

  const ut_web& frame_;
  std::string t_;
  size_t i_ = 0;
  std::string out_;
  std::string path_;
  std::string module_;      // title of the module in hand
  int line_nr_ = 0;
  int anchors_ = 0;         // numbered anchors of heads, modules, classes
  std::map<std::string, std::string> dims_;  // names of Dim or Class -> their anchor
  // "%s -- %s -- %s" of member, path and module -> index into members
  std::map<std::string, size_t> table_;
};
