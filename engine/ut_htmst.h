// The base of the document engine: what needs no web.  The commands
// `unite`, `headers`, `alias` and `publish` (engine/doc_utils.cpp), the
// text helpers of the section split (engine/doc_text.cpp), and the link
// checker (engine/link_check.cpp).
#pragma once

#include <cstdio>
#include <ctime>
#include <functional>
#include <string>

class ut_htmst {
 public:
  ut_htmst();
  virtual ~ut_htmst();

  // Joins <dir>/<name>_*.htm into <dir>/<name>.htm; returns the parts united.
  int unite(const char* dir, const char* name, bool withDocs);
  // Lists the headings of `file` as indented text lines in `out`, and writes
  // the document with a linked list of its headings to "<out>.htm".
  int headers(const char* file, const char* out);
  // Writes `file` as a page that sends the browser on to `target`.
  void alias(const char* file, const char* target);
  // The engine's form: a page that is no file gets a fixed page instead.
  void alias_checked(const char* file, const char* target);
  // The web's root page "<name>.htm", forwarding to htm/1.htm.
  void top_redirect(const char* name);
  // Writes the script `script` that saves every .doc and .rtf of `tree` as
  // publish/<name>.htm and .txt; returns the number of documents.
  int publish(const char* tree, const char* script);
  // The same for a list file of documents; writes and would run "tmp.js".
  int publish_list(const char* list);

  // Plain text of the heading at `start` (or at the first `stop` behind it).
  // Returns the position behind the heading's end tag, or null.
  const char* section_title(const char* start, char* out, const char* stop, const char* end,
                            char* anchor, int number_mode = 0);
  static long day_number(const char* date);
  static const char* past_number(const char* s);
  static const char* past_number2(const char* s);
  static void code_page_fix(char* s);
  static void unescape(char* s);
  static int to_entities(const char* in, std::string& out, int skipping);
  static void clean_copy(char* out, const char* in, bool umlauts_too);
  static int caption(const char* p, const char* end, char* out);
  static int para_text(const char* p, const char* end, char* out, int max, bool cut);
  static int cell_text(const char* p, const char* end, char* out, int max);
  static std::string version_of(const char* file);
  static void tab_cut(const char* in, const char* out);
  static bool is_text_char(int c);

  // ---- link checker (engine/link_check.cpp) --------------------------
  // Each returns the number of broken references.  `reportPage` (null or
  // empty for none) receives the closing lines; `startTime` is when the
  // web's build began.
  int check_file(const char* file);
  int check_tree(const char* dir, const char* reportPage, time_t startTime);
  int check_list(const char* listFile, const char* reportPage, time_t startTime);
  // ---- end of link checker -------------------------------------------

  std::string testres = "testres.htm";  // default name of the test report

 private:
  static void walk_publish(const std::string& dir, FILE* js, int& count);
  // Has `make_list` write the list file `list`, checks it, removes it.
  int check_through(const char* list, const char* reportPage, time_t startTime,
                    const std::function<void(const char*)>& make_list);
};
