// The web model: the tables of one build that several stages share.
//
// The configuration reader fills it; intake, registration, cards, link
// creation and the engine's passes read and extend it; the closing report
// reads what is left.  It is owned by the web builder (DocDes), one per
// run, and handed to the engine by reference, so that the engine knows the
// web without knowing the driver.  Tables that only one stage needs (the
// read position in the configuration, the walk of one HTML closure) stay
// with that stage.
//
// Every key of its trees goes in through tree_key (engine/tree_key.h):
// use tree_put, tree_holds and tree_value below.  Every value is cut to
// Btree::max_data bytes.  The trees live in memory for the run and are
// quiet about refused insertions.
#pragma once

#include <array>
#include <cstdio>
#include <list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "engine/tree_key.h"
#include "store/Btree.h"

// One command of the configuration: a document or a source tree.  Record 0
// of the model stays empty; a document's number is its folder xs/<n>.
struct doc_record {
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
struct topic_record {
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

struct web_model {
  static constexpr int max_folders = 1000;  // records of topic lines
  static constexpr int max_prefixes = 100;  // path prefixes 0..99

  web_model();
  ~web_model();
  web_model(const web_model&) = delete;
  web_model& operator=(const web_model&) = delete;

  // ------------------------------------------------ what the web is made of
  std::vector<doc_record> comms;  // record 0 stays empty
  int docs = 1;                   // number of the next document
  std::vector<topic_record> folders;
  std::array<std::string, max_prefixes> prefix;  // entry 0: the installation
  std::array<bool, max_prefixes> prefix_set{};
  std::array<std::string, 26> drives;  // network drives a..z
  std::string inst;                    // the installation folder
  std::string copy_flags;
  std::string conf_name;
  std::string conf_dir;

  // ------------------------------------------------ what the web is called
  std::string web_pos, web_name, web_title, web_subtitle;  // -w
  std::string today;        // "%Y.%m.%d" of the run's start
  std::string date_banner;  // "2011, Sep 20"

  // ------------------------------------------------------------- settings
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

  // ------------------------------------------------ the registration pass
  int n = 0;                 // number of documents plus 1, once the reading ended
  int max_page = 0;          // page counter: the last section page written so far
  int redundant = 0;         // names that cards defined twice
  int last_code_tree = 0;    // highest document number with com j
  std::array<std::string, 3> bullet_slots;  // list slots of keep/_bullets.htm
  FILE* to_docu = nullptr;   // xs/index/to_docu while link creation writes it

  // ---------------------------------------------------------------- trees
  Btree internet;     // absolute url found in a closure -> the page naming it
  Btree titles;       // title -> document number
  Btree pic_folders;  // picture folders "<stem>_files", "<stem>-Dateien" -> "./<n>_"
  Btree links;        // "<letter> <text>" -> url
  Btree card_names;   // names that cards define; the links of link creation
  Btree topic_tree;   // "<group>/" -> text, "u.<group>/<Web>" -> path
  Btree targets;      // the engine's target tree: "D_(<file>)" -> "<n>/<file>"
  Btree engine_keys;  // "*<n>/<title>" -> file, for the engine
  Btree remarks;      // configuration line -> remark put ahead of it
  Btree ndocs;        // "<size>,<title>" of a document version -> its date
  Btree doc_tree;     // "<date>:<blank>:<n>:<title>" -> path below xs
  Btree picNames;     // picture caption -> "#_pic<n>_<k>"
  Btree defined;      // names defined by cards (stays empty: see add_target)

  // The engine's trees that the derived pages read or write.
  Btree glossTerms;  // glossary term -> "<docNr>/<page>#G<n>"
  Btree allIndex;    // "<initial><word>..." -> "<target>\">WORD</a> : TEXT"
  Btree docDates;    // document title -> "<B>:<C>:<firstPage>"
  Btree docsecs;     // "<doc title>|<section title>" -> page
  Btree typedSecs;   // "<doc title>|<section title>" -> typed name
  Btree secDates;    // "<docNr>:<secName>" -> "<date>:<size>", from "secLU"
  Btree docNrs;      // document name -> its number in "secLU"
  Btree profOld;     // "<date>:<doc>" -> bar of "w"
  Btree clogDocs;    // document -> the oldest date it changed since
  Btree topicHits;   // "<fo>[<n>]+<pr>: <title>" or "<fo>[<n>]-<title>" -> target
};

// Names an in-memory tree for failure reports and makes it quiet about
// refused insertions.
void prepare_tree(Btree& t, const char* name);
// Empties an in-memory tree before it is destroyed: a tree that holds long
// values reports them when destroyed, a check meant for trees kept in
// files.
void empty_tree(Btree& t);

// Sets the value of `k` (a value longer than a tree takes is cut: a dead
// link is better than a failed run); the form without a value enters the
// key alone.
void tree_put(Btree& t, const std::string& k, const std::string& v);
void tree_put(Btree& t, const std::string& k);
bool tree_holds(Btree& t, const std::string& k);
// The value stored under `k`, or nullopt.
std::optional<std::string> tree_value(Btree& t, const std::string& k);
