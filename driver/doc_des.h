// The web builder of one run.  It owns the web model (the tables every
// stage shares, engine/web_model.h), the document engine working on it, and
// the tables that only one of its stages needs.
//
// A build runs through its stages in this order; each has its source:
//   driver/conf_reader.cpp     the configuration read into the model
//   driver/conf_documents.cpp  its document and source tree lines
//   driver/text_pages.cpp      the configuration and text documents as pages
//   driver/intake.cpp          sources brought to xs/<n>: paths, closures
//   driver/snapshot.cpp        the Word snapshot found or made, and cleaned
//   driver/registration.cpp    documents walked from last to first (to come)
//   driver/cards.cpp           the named things of each document (to come)
//   driver/link_creation.cpp   the links of each document (to come)
//   driver/commit.cpp          the web assembled, moved and checked (to come)
// driver/doc_des.cpp holds what the stages share: construction, the
// installation, the closing of the run.
#pragma once

#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/web_model.h"
#include "runtime/str_set.h"
#include "store/Btree.h"

class ut_htm;

class DocDes {
 public:
  using comm = doc_record;
  using folder = topic_record;
  // What read_webConfiguration returns when the web is to be built.
  static constexpr int build_goes_on = -1;

  DocDes();
  ~DocDes();
  DocDes(const DocDes&) = delete;
  DocDes& operator=(const DocDes&) = delete;

  // ------------------------------------------------------- configuration
  // Reads the configuration `conf`.  `p2` starting with "+" keeps the work
  // files; `p3` "clean" only removes the publish folders, `p3` starting with
  // "?" only checks.  Returns build_goes_on when the web is to be built,
  // else the exit status of the run (the closing message is printed).
  int read_webConfiguration(const char* conf, const char* p2, const char* p3);

  // ---------------------------------------------------------- text pages
  // Expands the configuration into xs/webConf.tmp and writes xs/webConf.scn,
  // xs/webConf.txt, xs/commands and xs/coref.txt.  Returns 0, or the exit
  // status 1 after a missing include or installation.
  int enhance_webDescr(Btree& remarks, const char* conf);
  // Makes a page of the plain text `from`.
  void enhance_to_htm(std::list<std::string>* starts, const char* from, const char* to,
                      const char* startMark, bool wrap);

  // -------------------------------------------------------------- intake
  // The path with its prefix number replaced; nothing after an error.
  std::optional<std::string> abs_path(const char* path, Btree& remarks);
  std::string ensure_src(int n, const std::string& src, const std::string& titleLine,
                         const std::string& docDir);
  std::string extract_title(const std::string& def, const char* htmFile);
  void files_to_docDir(const std::string& htm, const std::string& to, int n);
  void htm_closure(bool top, int n, const std::string& path);
  void href_correction(const char* htm, const char* prefix);
  std::string fetch_htm_closure(int n, const std::string& src);
  void extract_css(const char* to, const char* from);
  void tocMark_htm(const char* from, const char* to);
  [[noreturn]] void fetch_pics();

  // ------------------------------------------------------------- tables
  web_model web;  // what the stages share; the engine works on it too
  bool clean = false, check = false;  // modes of this run

  // Tables of one HTML closure (intake), in memory and quiet.
  Btree visited;          // pages of a closure
  Btree closure_targets;  // lower-cased file name -> name in the document folder
  str_set stops{"stops"};  // "</tr>", "_"

  // The document engine, on `web`.
  std::unique_ptr<ut_htm> ut;

 private:
  static std::string find_installation();
  void count_error();

  // driver/conf_reader.cpp
  int read_lines();
  void command_line(char c, const std::string& line, const std::string& rest, size_t p);
  void command_o(const std::string& rest);
  void command_k(const std::string& rest);
  void command_c(const std::string& rest);
  int reading_outcome();
  void command_w(const std::string& rest);
  void command_prefix(const std::string& rest, size_t pos);
  void first_prefix_line(const std::string& rest);
  bool command_drive(const std::string& rest);
  void command_topic(char c, const std::string& rest);
  bool topic_web(char c, const std::string& rest, const std::string& key, std::string* head,
                 std::string* path, std::string* wname);
  void topic_sub_lines(char c, int group, const std::string& head, const std::string& path,
                       const std::string& wname);
  void command_link(char c, const std::string& rest);
  bool next_line(size_t* ls, size_t* le) const;
  bool sub_line(std::string* text);
  bool dot_line(std::string* text);

  // driver/conf_documents.cpp
  bool portal_first(const std::string& rest, size_t p);
  void command_j(const std::string& line, const std::string& rest, size_t p);
  void command_j_word(const char* word, const std::string& rest);
  void command_j_sql(const std::string& v, const std::string& full);
  void command_j_tree(const std::string& rest);
  void command_j_links(const std::string& rest);
  void command_doc(char c, const std::string& line, const std::string& rest, size_t p);
  bool document_line(int n, char c, const std::string& line, const std::string& rest, bool is_web);
  bool source_found(int n, char c, const std::string& line, const std::string& rest, bool is_web);
  bool known_extension(int n, char c, const std::string& line, const std::string& rest,
                       bool is_web, std::string* ext);
  void copy_direct_view(int n, const std::string& file, const std::string& lext);
  bool document_kind(int n, char c, const std::string& rest, const std::string& file,
                     const std::string& lext);
  void title_lines(int n, char c, const std::string& line);

  // driver/snapshot.cpp
  void take_snapshot(int n, char c, const std::string& rest);
  void clean_snapshot(int n, const std::string& htm);
  bool make_snapshot(const std::string& src, const std::string& publish,
                     const std::string& snapshot);

  // driver/intake.cpp
  std::string pattern_page(int n, const std::string& src, const std::string& titleLine,
                           const std::string& docDir,
                           std::map<std::string, std::string>* local);
  std::string closure_of(int n, const std::string& src, const std::string& docDir);

  // driver/text_pages.cpp
  void escape_file(const char* from, const char* to);
  void enhance_text(const char* from, const char* to);

  long started = 0;   // start time of the run
  std::string cfg;    // the text being read, with a line end in front
  size_t at = 0;      // read position in cfg: the line end before the next line
  char cur_c = 0;     // letter of the command being read
  std::string cur_line;
  int groups = 0;     // topic groups so far
  int closure_nr = 0;
  bool first_prefix = true;
  bool portal_done = false;
  std::string local_dir;  // the build's folder, while a closure runs elsewhere
};
