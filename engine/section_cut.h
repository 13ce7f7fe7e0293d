// The cut of one document into section pages: the state that lives while
// split_doc runs over one work file, and the steps it takes.  Only the
// sources of the cut include this header.
#pragma once

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "engine/ut_htm.h"

class rBuffer;

// Text helpers the steps of the cut share.
namespace cut_text {
inline bool starts(const char* p, const char* s) { return strncmp(p, s, strlen(s)) == 0; }
inline bool starts(const std::string& s, const char* t) { return s.compare(0, strlen(t), t) == 0; }
// The first `needle` in [from, to), or null.
inline const char* find_in(const char* from, const char* to, const char* needle) {
  if (to <= from) return nullptr;
  return static_cast<const char*>(memmem(from, to - from, needle, strlen(needle)));
}
}  // namespace cut_text

// A semi title as a key of `semiKeys`: lower case, without blanks.
std::string semi_key(const std::string& title);

class doc_splitter {
 public:
  doc_splitter(ut_htm& ut, int run, const char* root, int& page, int docNr, const char* title,
               FILE* profile, doc_record& rec);
  ~doc_splitter();
  doc_splitter(const doc_splitter&) = delete;
  doc_splitter& operator=(const doc_splitter&) = delete;

  // The whole cut of `neuFile`; returns the pages written.
  int run(const char* neuFile);

 private:
  struct css_class {
    int nr = 0, margin = 0;
    std::string name, spec2;
  };

  // engine/sections.cpp
  void prepare(const char* neuFile);
  void class_table();
  void read_class(const std::string& name, const std::string& body, FILE* css);
  void cut(const char* neuFile);
  void cut_plain(const char* neuFile);
  static bool holds_body(const char* neuFile);
  void scan(rBuffer& rb);
  void open_page();
  int at_lt(rBuffer& rb);
  int at_a_tag(rBuffer& rb);
  int at_p_class(rBuffer& rb);
  int at_typed_para(rBuffer& rb);
  int at_img(rBuffer& rb);
  int at_keyword(rBuffer& rb);
  int at_footnote_body(rBuffer& rb);
  int at_install_par(rBuffer& rb);
  int at_semi_mark(rBuffer& rb);
  int at_doc_mark(rBuffer& rb);
  int drop_through(rBuffer& rb, const char* token);
  // engine/section_heads.cpp
  int at_heading(rBuffer& rb);
  int title_line(rBuffer& rb, const char* title, const char* after);
  bool numbered_title(std::string& title, int& level);
  void section_keys(const std::string& full, const std::string& T, int level, rBuffer& rb,
                    const char* after);
  void write_heading(const std::string& T, int level);
  void typed_after_heading(const std::string& T, rBuffer& rb, const char* after);
  int at_page_cut(rBuffer& rb);
  void end_page();
  // engine/section_close.cpp
  void close_doc();
  void contents();
  void our_toc_here(FILE* o, int width = 1);
  void deep_tables();
  void footnotes();
  void resolve_page(int p);
  void resolve_hrefs(const std::string& from, const std::string& to);
  void resolve_semis(const std::string& from, const std::string& to);

  std::string page_file(int p, const char* ext) const;

  ut_htm& ut;
  web_model& web;
  int run_;
  std::string root, dir;  // "xs", "xs/<docNr>"
  int& page;
  int docNr, firstPage = 0;
  std::string title;
  FILE* profile;
  doc_record& rec;
  char kind;

  FILE* out = nullptr;  // the page being written
  Btree localNames, ourToc;
  std::vector<std::string> lastTitle, lastBare;
  std::vector<std::string> semiTitles;
  std::vector<std::string> footnoteList;  // "<page>:<dir>/<id>"
  std::vector<css_class> classes;
  std::string version, bodyTag, lastKey;
  int number = 1000, annex = 0;
  int pictures = 0, picsNoTarget = 0, expected = 0;
  int paras = 0, sections = 0, inst_nr = 0, cond = 0, titleLines = 0;
  bool cell = false, pageStart = false, glossPage = false, typedDoc = false;
  bool discard = false;  // the page holds Word's own contents: it goes
  int pages = 0;
};
