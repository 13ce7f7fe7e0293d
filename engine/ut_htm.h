// The document engine: Word HTML in, section pages and all pages derived
// from them out.  It works on the web model that the web builder owns and
// hands it; an engine made without one (for the document commands) has an
// empty model of its own.
//
// Its methods live in one source per stage:
//   engine/clean.cpp        Word HTML cleaning: the two passes, spans
//   engine/clean_tags.cpp   Word HTML cleaning: the tags of pass two
//   engine/para_norm.cpp    a paragraph's layout as margin and bullet
//   engine/charset.cpp      snapshots in other character sets
//   engine/sections.cpp, toc.cpp, hotspots.cpp, glossary.cpp, index.cpp,
//   profile.cpp, topics.cpp, menus.cpp: the stages still to come.
// The document utilities and the link checker are in the base class
// (engine/ut_htmst.h).
//
// The cleaning turns the HTML that a word processor saved into the small
// dialect that all later stages read: plain <p>, <hN>, <a>, <img> and
// <table> tags, pictures pointing into "pic", no hidden, deleted or
// office-only mark-up.  It also brings a snapshot in another character set
// to windows-1252 first, and reduces the layout of one paragraph to a
// margin and a bullet when the document is cut into pages.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "engine/ut_htmst.h"
#include "engine/web_model.h"

class rBuffer;
class str_set;
struct str_el;

class ut_htm : public ut_htmst {
  // Set only when the engine was made without a model; declared ahead of
  // `web`, which may refer to it.
  std::unique_ptr<web_model> own_web_;

 public:
  // An engine on the web of a build.
  explicit ut_htm(web_model& web);
  // An engine with an empty model of its own.
  ut_htm();
  ~ut_htm() override;
  ut_htm(const ut_htm&) = delete;
  ut_htm& operator=(const ut_htm&) = delete;

  // Cleans `file` in place, by way of the work file "x_ers_schmutz".  Pass
  // one copies the body and rebuilds each <span> (hidden and deleted spans
  // go with their contents); pass two removes or rewrites the tags.
  // `textSize` is the caller's idea of the text's size, shown when the
  // result is unexpectedly empty.  `pairs` holds character pairs: a line
  // that starts with the first character of a pair is dropped through the
  // second.  `kind` is the document's kind letter; kind 'a' is left nearly
  // untouched.
  void ers_schmutz(const char* file, long textSize, const char* pairs, int kind);

  // Writes the rest of a paragraph's head.  `p` points behind the class of
  // a "<p class=N" tag, inside the text that ends at `end`; `classMargin`
  // is the class's left margin in points.  Writes the style (margin, text
  // indent, alignment, kept spacing and colour), the closing ">" and a
  // normalised bullet, and returns where the caller goes on copying: behind
  // the bullet that was replaced, at the first character of the text when
  // nothing was, at "</p" of an empty paragraph, at the <img> of a picture.
  // Empty paragraphs get "&nbsp;" while the counter `empties` allows it.
  char* norm_para(FILE* out, char* p, int classMargin, char* end);

  // Reads the style block in front of <body> of `file`.  Heading rules that
  // say "display:none" enter "<hN" into `set` (element number
  // `hidden_heading`), so that such headings are later dropped.  Returns the
  // number of rules without "display:none".
  int hide_styles(str_set& set, const char* file);

  // A CSS length as whole points: "pc" times 12, "pt" as it is, "cm" and
  // "in" converted; truncated.  0 for a number of 0; any other unit fails.
  static int to_points(const char* text);

  // The nesting check is switched off: prints that and returns.
  void htm_check(const char* label, const char* file);

  // Brings a snapshot to windows-1252 in place: UTF-16 with a byte-order
  // mark, UTF-8 (declared or with a mark) and macintosh are converted, a
  // character that windows-1252 lacks becomes "&#NNNN;", and the charset
  // declaration is changed.  windows-1252, iso-8859-1, us-ascii and
  // undeclared files are left alone.  Returns what was done, for the log.
  static std::string to_windows1252(const char* file);

  // Cuts the marked stream `neuFile` of document `docNr` into section pages
  // <root>/<docNr>/<page>.htm.  `run` is 1 (only index/to_docu is
  // collected) or 2; `pageCounter` is the last page written so far and is
  // raised by the pages made; `rootFile` lists the web's pages, `listSlot`
  // is the list style of the document, `titles` the title tree, `profile`
  // the open dated web profile.  Sets doc.firstPage.
  void split_doc(int run, const char* neuFile, const char* root, int& pageCounter,
                 FILE* rootFile, const std::string& listSlot, int docNr, const std::string& title,
                 Btree& titles, FILE* profile, doc_record& doc);

  // Element number of the hidden headings in the stop set of pass two.
  static constexpr int hidden_heading = 99;

  // The model of the web being built.
  web_model& web;

  // State that spans paragraphs.
  bool bold = false;      // inside <b> ... </b>: a "$" gets "<$>" before it
  int empties = 2;        // blank paragraphs still allowed in a row
  int paras_in_cell = 0;  // paragraphs since the last table cell

 private:
  // engine/clean.cpp
  void spans_pass(const char* file, str_set& stops);
  void span_tag(rBuffer& rb, FILE* out);
  void drop_span(rBuffer& rb, int from);
  void drop_through(rBuffer& rb, int skip, const char* token);
  void drop_nested(rBuffer& rb, int skip);
  int tag_end(rBuffer& rb, int from, const char* what);
  void write_picture(rBuffer& rb, FILE* out, int img, const char* lead);
  // engine/clean_tags.cpp
  void tags_pass(const char* file, str_set& stops, const char* pairs, int kind);
  int at_tag(rBuffer& rb, FILE* out, const str_el* el);
  int at_pair_line(rBuffer& rb, FILE* out, int through);
  int at_dropped_tag(rBuffer& rb, int action);
  int at_table_tag(rBuffer& rb, FILE* out);
  int at_li_tag(rBuffer& rb, FILE* out);
  int at_ul_tag(rBuffer& rb);
  int at_hidden_heading(rBuffer& rb);
  int at_pre_tag(rBuffer& rb, FILE* out);
  int at_a(rBuffer& rb, FILE* out);
  int at_b_tag(rBuffer& rb, FILE* out);
  int at_cond_tag(rBuffer& rb, FILE* out);
  int at_comment(rBuffer& rb, FILE* out);
  void at_o_tag(rBuffer& rb);
  int at_v_tag(rBuffer& rb, FILE* out);
  int at_span_tag(rBuffer& rb, FILE* out);
  int at_p_tag(rBuffer& rb, FILE* out);
  void at_semi_title(rBuffer& rb, FILE* out);

  [[noreturn]] void missing(rBuffer& rb, const char* token);
  [[noreturn]] void unknown(rBuffer& rb);
  void make_sets();
  void big_buffer(FILE* out);

  const char* file_ = "";           // the file being cleaned, for failure reports
  std::string scratch_, scratch2_;  // reused text of pass one
  bool drop_ins_class_ = true;      // pass one leaves out "class=msoIns"
  static constexpr int out_buf_size = 1 << 18;
  std::unique_ptr<char[]> out_buf_;  // output buffer of the pass that runs
  // Small search sets, made once: body tags, style block marks, span tags,
  // conditional-comment marks.
  std::unique_ptr<str_set> body_set_, style_set_, span_set_, cond_set_;
};
