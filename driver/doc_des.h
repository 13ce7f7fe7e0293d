// The web builder of one run: it reads the web configuration into its
// tables, brings each document named there into its numbered folder xs/<n>
// and cleans its snapshot, and turns plain texts (the configuration itself,
// text documents) into pages.
#pragma once

#include <array>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "runtime/str_set.h"
#include "store/Btree.h"

class ut_htm;

class DocDes {
 public:
  static constexpr int max_folders = 1000;  // records of topic lines
  static constexpr int max_prefixes = 100;  // path prefixes 0..99
  // What read_webConfiguration returns when the web is to be built.
  static constexpr int build_goes_on = -1;

  // One command of the configuration: a document, a source tree.
  struct comm {
    std::string title = "?";  // first title line; for a source tree its code title
    std::string src;          // absolute path of the source; for -j the tree
    std::string htm;          // the snapshot, or src for .htm sources; empty until set
    std::string docHtm;       // "xs/<n>/doc.htm"
    std::string target;       // "doc<n>.<ext>" or the source's file name
    std::string nr;           // the number as text
    char com = 0;             // e, a, A, n, U, j, and h for .htm sources
    std::list<std::string> starts;  // "s " lines, newest first
    std::string ppt;          // presentation copied to xs/<n>
    std::string pdf;          // pdf copied to xs/<n>
    size_t frag = std::string::npos;  // position of "#" in src
    std::string date;         // "%Y.%m.%d" of the source
    int imgs = 0;
    int firstPage = 0;
    int direct = 0;           // 1: a direct view page is made
  };

  // One topic line (-S, -s, -F, -f) with one of its sub-lines.
  struct folder {
    std::string web_key;  // "<group>/"
    std::string head;
    std::optional<std::string> label;
    std::string phrase;
    std::string web_name;
    std::string web_path;
    int web_number = 0;
    char mark = ' ';
    char letter = 0;
  };

  DocDes();
  ~DocDes();
  DocDes(const DocDes&) = delete;
  DocDes& operator=(const DocDes&) = delete;

  // Reads the configuration `conf`.  `p2` starting with "+" keeps the work
  // files; `p3` "clean" only removes the publish folders, `p3` starting with
  // "?" only checks.  Returns build_goes_on when the web is to be built,
  // else the exit status of the run (the closing message is printed).
  int read_webConfiguration(const char* conf, const char* p2, const char* p3);

  // Expands the configuration into xs/webConf.tmp and writes xs/webConf.scn,
  // xs/webConf.txt, xs/commands and xs/coref.txt.  Returns 0, or the exit
  // status 1 after a missing include or installation.
  int enhance_webDescr(Btree& remarks, const char* conf);
  // Makes a page of the plain text `from`.
  void enhance_to_htm(std::list<std::string>* starts, const char* from, const char* to,
                      const char* startMark, bool wrap);

  // ---------------------------------------------------------- intake
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

  // -------------------------------------------------------- the tables
  std::vector<comm> comms;  // record 0 stays empty
  int docs = 1;             // number of the next document
  std::vector<folder> folders;
  std::array<std::string, max_prefixes> prefix;
  std::array<bool, max_prefixes> prefix_set{};
  std::array<std::string, 26> drives;  // network drives a..z
  std::string inst;                    // the installation folder
  std::string copy_flags;
  std::string conf_name;
  std::string conf_dir;
  std::string web_pos, web_name, web_title, web_subtitle;
  std::vector<std::pair<std::string, std::string>> c_pairs;  // -c
  std::vector<std::string> k_entries;                        // -k, two per line
  std::vector<std::string> H_phrases;                        // -H
  std::vector<std::string> topics;                           // -t
  std::vector<std::string> aliases;                          // "k " lines: "<n>~<alias>"
  std::string docs_title = "Documents";                      // -D
  int menu = 1;                                              // -m clears it
  int hotspots_off = 0;                                      // -p
  int oneDoc = 0, edit = 1, noCards = 0;                     // -o
  int keep = 0;                                              // "+"
  std::string srcRoot, sqlData, links_file, test_report, arch;
  int errors = 0, ppts = 0, pdfs = 0, C_links = 0, R_links = 0;
  bool clean = false, check = false;

  // Trees of the run, all in memory and quiet.  Every key goes in through
  // tree_key, every value is cut to Btree::max_data bytes.
  Btree internet;         // absolute url found in a closure -> the page naming it
  Btree titles;           // title -> document number
  Btree visited;          // pages of a closure
  Btree pic_folders;      // picture folders "<stem>_files", "<stem>-Dateien" -> "./<n>_"
  Btree closure_targets;  // lower-cased file name -> name in the document folder
  Btree links;            // "<letter> <text>" -> url
  Btree card_names;       // names that cards define; the links of href_creator
  Btree topic_tree;       // "<group>/" -> text, "u.<group>/<Web>" -> path
  Btree targets;          // the engine's target tree: "D_(<file>)" -> "<n>/<file>"
  Btree engine_keys;      // "*<n>/<title>" -> file, for the engine
  Btree remarks;          // configuration line -> remark put ahead of it
  str_set stops{"stops"};  // "</tr>", "_"

  // The key under which `k` stands in a tree of DocDes: `k` up to its first
  // NUL, and when that is longer than a Btree key may be, its first 235
  // bytes, "#" and 16 hex digits of a hash of the whole.  So a long path or
  // title never fails a run, and two different long keys stay different.
  static std::string tree_key(const std::string& k);
  // The value stored under `k`, or nullopt.
  static std::optional<std::string> value_in(Btree& t, const std::string& k);

  // The document engine.
  std::unique_ptr<ut_htm> ut;

 private:
  static std::string find_installation();
  int read_lines();
  void command_w(const std::string& rest);
  void command_prefix(const std::string& rest, size_t pos);
  void command_topic(char c, const std::string& rest);
  void command_link(char c, const std::string& rest);
  void command_j(const std::string& line, const std::string& rest, size_t p);
  void command_doc(char c, const std::string& line, const std::string& rest, size_t p);
  bool portal_first(const std::string& rest, size_t p);
  void title_lines(int n, char c, const std::string& line);
  void take_snapshot(int n, char c, const std::string& rest);
  void clean_snapshot(int n, const std::string& htm);
  bool make_snapshot(const std::string& src, const std::string& publish,
                     const std::string& snapshot);
  bool next_line(size_t* ls, size_t* le) const;
  bool sub_line(std::string* text);
  bool dot_line(std::string* text);
  void count_error();
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
