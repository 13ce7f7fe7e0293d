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
//   driver/registration.cpp    documents walked from last to first; link_pages.cpp,
//                              portal_table.cpp its last steps
//   driver/cards.cpp           the named things of each document; card_marks.cpp
//   driver/link_creation.cpp   the links of each document, handed to split_doc
//   driver/commit.cpp          the web assembled, moved and checked (to come)
// driver/doc_des.cpp holds what the stages share: construction, the
// installation, the closing of the run.
#pragma once

#include <list>
#include <map>
#include <memory>
#include <optional>
#include <set>
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

  // -------------------------------------------------------- registration
  // The build behind the reading: every document's files in xs/<n>, the
  // versions in ndocs, cards, link creation and the section pages, the link
  // pages and the portal's document table (driver/registration.cpp).
  void registration_pass();
  // Link pages seeAlso, code, reuse, testres; link groups of `Links=`.
  void create_more_Links();
  void to_resources(FILE* out);
  // The portal xs/1/1.htm gets the table of xs/docs_R.htm.
  void ersetze_1_htm();
  void BFE_Norm(const std::string& target);
  // True if `word` stands in `file` with no letter or digit on either side.
  static bool found_as_inc(const char* file, const char* word);

  // --------------------------------------------------------------- cards
  // Turns xs's work file "<n>.tm1" into "<n>.tmp", the stream with the
  // marks of cards, titles, figures and typed names (driver/cards.cpp).
  void register_cards(int n);
  // At a heading "<h...": whether it starts a card.
  static bool split_here(const char* pos);
  // The anchors of the configured titles of document `nr`.
  void put_semis(FILE* out, int nr);
  // "p": the date of the file (extension .doc, .rtf, .sum read as .htm);
  // "f": a dated name's first ten characters, else ten blanks.
  static std::string doc_Date(char V, const std::string& path);
  void add_target(Btree& tree, const std::string& target, const std::string& name);
  // In `text`, `word` followed by "<", blank or newline becomes a link to
  // `page`.
  static std::string also_hot(const std::string& text, const std::string& word,
                              const std::string& page);
  static void prune_NL(const char* from, const char* to);
  static void correct_style(const char* from, const char* to);

  // -------------------------------------------------------- link creation
  // Prepares document `n` for the section pass and hands it over
  // (driver/link_creation.cpp).  Mode 1 only collects index/to_docu.
  void href_creator(int mode, Btree& links, int n, FILE* rootFile, FILE* profileFile);

  // The build after the reading (driver/web_build.cpp): the engine's web
  // pass in xs, the installation's files, the open references, the commit;
  // returns the exit status.  `closing_report` prints the report of a
  // build that reached its end and brings the arrows to the web.
  int finish_build(const char* conf);
  void closing_report();
  bool built = false;  // the build reached its end

  // Web assembly and commit (driver/commit.cpp, web_move.cpp).
  void commit(const char* conf);
  void Appender(const char* list);
  void forward_direct_views();
  void correct_1stPage(const char* file);
  void publish_code(const char* file);
  // Builds the code web of `root` through the command runner's built-in
  // j2h (driver/code_publish.cpp); false when this program has none.
  bool run_code_web(const std::string& root);
  void if_noCards();
  // Documentation against UML and code (duc_page.cpp): xs/DUC.htm and
  // xs/check.bat.
  void do_metrics();
  struct duc_marks {
    char mark[3] = {'.', '.', '.'};  // documented, in the model, in the code
    std::string docu, code;          // the section, the code page (below <j2h>)
  };
  // The class lines of a model difference merged into `rows`.
  static void merge_rose_diff(const std::string& text, std::map<std::string, duc_marks>& rows);
  void write_duc(const std::map<std::string, duc_marks>& rows, const std::set<std::string>& uml,
                 const std::set<std::string>& inC);

  // ------------------------------------------------------------- tables
  web_model web;  // what the stages share; the engine works on it too
  bool clean = false, check = false;  // modes of this run
  int card_anchor = 200;  // anchors of cards forced by "[see"

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

  // driver/registration.cpp
  void read_ndocs();
  void write_ndocs();
  void document_files(int i);
  void record_version(int i);
  void picture_files(int i);
  void read_bullets();
  void code_root_pass(FILE* root, FILE* profile);

  // driver/cards.cpp
  void first_card_pass(int n, const char* from, const char* to);
  void second_card_pass(int n, const char* from, const char* to);

  // driver/link_creation.cpp
  void head_pass(int n, const std::string& tmp, FILE* neu, bool write_head);
  void top_line(int n, FILE* neu, const std::string& publish);
  void body_pass(int n, const std::string& tmp, FILE* neu);
  void style_pass(int n);

  // driver/text_pages.cpp
  void install_files();
  void commit_in_xs();
  void picture_pages();
  void presentation_table();
  void portal_end();
  void append_to_previous(const std::string& path);
  void internet_targets();
  void write_iconf(const char* conf);
  std::string portal_topics();
  void move_web();

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
  std::set<std::string> used_lists;  // "@list l<n>:level<k>" met in a body
};
