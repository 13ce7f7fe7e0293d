// The page frame shared by every page of the code web: the page head, the
// title table around a page's title, the filler of blanks, and the folder
// with its style sheet.  The texts are fixed at construction and never change.
#pragma once

#include <cstdio>
#include <string>
#include <unordered_set>

class ut_web {
 public:
  ut_web();
  virtual ~ut_web() = default;

  // Doctype, link to "j2h.css", body tag and the page font.
  const char* head;
  // Table "Header" opening a centred size 4 font; `title_tail` closes it.
  const char* title_head;
  const char* title_tail;
  // 27 times " &nbsp;": callers take a tail of it (filler + 7*(27-n)).
  const char* filler;

  // Makes sure `dir` exists and holds a "j2h.css"; the style sheet is
  // written only when the file is not there yet.  Each folder is prepared
  // once per build: pages are only ever added to it.
  void dir_with_css(const std::string& dir);
  // The web folder was emptied: every folder is prepared anew.
  void forget_prepared_folders() { css_dirs_.clear(); }
  // Creates `name` (a page) and writes the page head and the title table
  // with `title`.
  FILE* open_page(const std::string& name, const char* title);
  // Writes the title table with `title`.
  void title_table(FILE* f, const char* title);

 private:
  std::unordered_set<std::string> css_dirs_;  // folders this build gave the sheet
};

// Ends a page that open_page began (closes the font and the body) and
// closes `f`.
void close_page(FILE*& f);
