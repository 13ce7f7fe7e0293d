// The code web of one source tree: `Java2Htm` walks the tree below a root,
// numbers its files, hands each source to the reader of its language and
// writes the frame pages into <root>/j2h.  One object serves one
// publication: construct, call make_htm_dir once, destroy; the destructor
// writes the closing files (cppsecs, docu_files, the LOC line) and is a
// phase of the run, not a clean-up.
//
// Contract for the readers of a language (they fill the public trees and
// counters below):
//  - paths are kept with "/" separators; keys of the file table are lower
//    case, but every open uses the real spelling a walk found;
//  - a Java folder row has the key "p<4 digits>.<path>", a Java file row
//    "c<4 digits>.<path>"; the first five characters are the page name
//    (c0003 -> <j2h>/c0003.htm);
//  - every tree is in memory for the run; keys are at most 252 bytes
//    (longer keys are cut by `tree_put`).
#pragma once

#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "codeweb/phase_clock.h"
#include "codeweb/ut_web.h"
#include "runtime/str_set.h"
#include "store/Btree.h"

class Java2Htm : public ut_web {
 public:
  // Limits.  max_fNr bounds memory, not work: page names <n/100>/<n%100>
  // keep working up to it, so trees of 100,000 sources build.
  static constexpr int max_fNr = 1000000;
  static constexpr int L_buf = 300000;  // each of the three work buffers
  static constexpr int etoc = 100000;   // entries of a page's contents
  static constexpr int max_tips = 1000; // anzTips stays below
  static constexpr int max_main = 1000; // mNr stays below
  static constexpr int e_doc = 100;     // L pairs of a control file
  static constexpr int e_see = 100;     // s entries of a control file

  // File kinds of the file table.
  enum kind { k_none = 0, k_java = 1, k_jsp = 2, k_asp = 3, k_vb = 4, k_c = 5, k_cobol = 6, k_php = 7 };

  Java2Htm();
  ~Java2Htm() override;
  Java2Htm(const Java2Htm&) = delete;
  Java2Htm& operator=(const Java2Htm&) = delete;

  // Builds <root>/j2h.  `exe` names the tool in messages ("j2h"), `root` is
  // "[title]root[=selection]" or a control file "<folder>.j2h", `opt` is
  // kept for the readers, `ourRoot` non-null selects archive mode.
  void make_htm_dir(const char* exe, const char* root, const char* opt, const char* ourRoot);

  // ------------------------------------------------------ the file table
  // The number of `path` (key form above); a new path gets the next
  // number and keeps `kind`, a known one keeps its old kind.
  int srcfile(int line, const char* path, int kind);

  // ============================= include relation (include_relation.cpp)
  // Names are resolved without search paths, against the tails of the
  // paths the walk registered.  Keys are lower case; files are opened by
  // the real spelling the file table keeps.
  //
  // The tails of a path registered for make_path; called by the walk for
  // every taken file that is not Java.  A tail met a second time loses its
  // path (it is ambiguous from then on).
  void to_incNames(const std::string& path);
  // The HTML that stands on a C or C++ page in place of one "#include"
  // directive of file `fNr` (`directive` is the raw line from "#include"
  // to its end, without the line end).  Records the include edge.
  std::string cpp_include(int fNr, const std::string& directive);
  void show_the_CPP_includes();   // end of phase 13
  void show_the_JSP_includes();   // JSP reader, after its pages
  void show_the_ASP_includes();   // ASP reader, after its pages
  void ADD_inc_structure();       // phase 18
  void show_incsMe_Relation();    // phase 18
  void show_notFound();           // phase 15: notfound.htm
  // The include index keys "=<n>=<path>" and "=<n>=<base name>" of a page
  // that a reader writes (the structure is appended to it in phase 18).
  void inc_index(int fNr);
  // Resolves include `name` of the file `from` (real path): a unique tail,
  // else the folders of `from` upward to the root, else any C or C++ file
  // ending in "/<name>".  `out` gets the lower-case path, or "" when nothing
  // fits (the name then goes to notFound).  A name with a comma is a failure.
  bool make_path(const std::string& from, std::string& out, const std::string& name);
  // "<root>/include/<name>" into `out`; 1 when that is a file.
  int make_path_to_basis(const std::string& base, std::string& out, const std::string& name);
  // The edge includer -> included; none from a file to itself.
  void to_INCs(int included, int includer);
  // " : <a href=../<nr2>.htm>cpp</a>" when an implementation file with the
  // stem of `path` is numbered; "" otherwise or when `shown` names one.
  std::string add_refcpp(const std::string& path, const std::string& shown);
  // The include tree of a JSP or ASP file, nesting level 0..4; returns the
  // deepest level written.  `tree` maps known paths to their page names.
  int put_incs(FILE* out, int depth, const std::string& path, Btree* tree, const char* pattern, const char* kind);
  // The real spelling of a lower-case path key ("" when there is no file).
  std::string real_of(const std::string& key);

  struct inc_tree : Btree {
    explicit inc_tree(const char* n) {
      name = n;
      quiet = 1;
      init(nullptr, 0);
    }
  };
  inc_tree incs{"incs"};          // tail -> lower-case path, "" when ambiguous
  inc_tree incNames{"incNames"};  // "=<n>=<text>", ">%i=%i" includer, included
  inc_tree incsMe{"incsMe"};      // "/<root>=<n>", "><n>=<root>" (numbers)
  inc_tree cppIncludes{"cppIncludes"}, jspIncludes{"jspIncludes"}, aspIncludes{"aspIncludes"};
  inc_tree notFound{"notFound"};  // include names without a file
  // path -> the include structure of that file as put_incs wrote it at
  // level 1, for every later includer of the same file; kept in memory
  // (a file per text in the work folder tempNr cost a file creation per
  // include, most of the time of a large ASP tree), cleared after each
  // language.
  std::map<std::string, std::string> incFiles;
  // The include names of each file read by put_incs, by pattern and path.
  std::unordered_map<std::string, std::vector<std::string>> incNamesOf;
  const std::vector<std::string>& include_names(const std::string& real, const char* pattern, bool cpp);
  int maxDepth = 0;               // deepest include level seen
  // Rows of the include structure beyond this nesting are not expanded:
  // bounds the work of deep chains (a chain of n files would otherwise
  // write n^3 indents).
  static constexpr int max_inc_depth = 64;
 private:
  std::string lastReal;           // real spelling of make_path's last result
  std::unique_ptr<Btree> incVisited;  // paths put_incs has read
  int show_INCs(FILE* out, int root, Btree& seen);
  void show_includes(Btree& tree, const char* kind, const char* title, const char* file);
  void inc_group(FILE* list, const char* kind, int included, const std::vector<int>& users, int pageNr);
  std::string inc_link(int from, int to) const;
  void fdep_above(int n);
  void copy_incsMe();
  void put_incs_of_file(FILE* to, int depth, const std::string& path, Btree* tree, const char* pattern,
                        const char* kind);
 public:
  // ============================= end of include relation
  int cfNr = 0;                      // files known so far
  std::vector<std::string> fPath;    // path (key) by number
  std::vector<std::string> fReal;    // real spelling of the path by number
  std::vector<int> fKind;            // kind by number
  std::vector<int> is_inc_for;       // set once another file includes it

  // "%i/%i" of n/100 and n%100; with a prefix "%s%i/%i".  One shared
  // buffer: copy the result before the next call.
  static const char* nr2(int n);
  static const char* strNr2(int n, const char* prefix);

  // The first step of make_htm_dir alone: the root argument split, the
  // folder checked and a control file read (for tests; nothing is written).
  void root_argument(const char* root_arg) { phase1_args(root_arg); }

  // True when no `s` entry of the control file is part of `path`.
  bool not_selected(const char* path) const;

  // ------------------------------------------------- the root and options
  std::string exe = "j2h";
  std::string root;        // the source root, no trailing "/"
  std::string j2h;         // <root>/j2h
  std::string selection;   // behind "=", empty when none
  std::string opt;
  std::string ourRoot;     // archive mode when not empty
  std::string title;       // "[title]" in front of the root
  std::string titles[4];   // control file lines 0 to 3
  std::string all_href = "../../%s/1.htm";  // control file A
  std::string knowhow_href = "ourDoc.htm";  // control file D
  std::vector<std::pair<std::string, std::string>> docs;  // control file L: href, label
  std::vector<std::string> see;                           // control file s
  int rootLen = 0;
  bool sample = false;     // <root>/our_ERD.txt exists
  bool dotRoot = false;    // the root begins with "."
  bool ended = false;      // phase 22 reached

  // ------------------------------------------ trees the readers fill
  Btree javaClasses;   // "%s+%s+%i+%i" package, class, neLoCode, LoComm -> class list row
  Btree ourPackages;   // package name with dots
  Btree codef;         // entity name -> "p <page>" ...
  Btree javaDefs;      // "%i.%s" running number, name -> "%s~%s" page, package
  Btree javaImports;   // "<imported>/<package>" -> page
  Btree dirsFor;       // folder path -> p key
  Btree nameNr;        // class name (with and without template part) -> number as text
  Btree superClasses;  // "<class>~<super>" -> "-- class" | "-- interface" | "-- abstract class"
  Btree cppsecs;       // class or "<class> :: <method>" -> "c<page>#<anchor>"
  Btree javaKinds;     // full class name -> class kind text
  Btree sizes;         // extension with its dot, lower case -> total bytes (decimal)
  Btree classNames;    // base name of a Java file -> c key
  int nameNrCount = 0; // counter of defNameNr
  int javaDefsCount = 0;

  // Counters, per page in the reader and totalled here.
  long neLoCode = 0;
  long LoComm = 0;
  int slots = 0;                 // custom code slots
  std::vector<std::string> customised;  // "[ %4i LOC ] %3i %s" rows
  int mNr = 0;                   // main methods; stays below max_main
  struct main_entry {
    std::string link, cls, path;  // "%s#m%i", full class name, path
  };
  std::vector<main_entry> mains;

  // Know-how items (tips): titles by number, 1..anzTips.
  int anzTips = 0;
  std::vector<std::string> tipTitles;

  // JScript functions: name -> "-<name>" ('+' once used); users
  // "%s~%s.%s" of function, file, language.
  std::unique_ptr<Btree> jsFunctions;
  std::unique_ptr<Btree> jsUsers;
  int jsShortest = 0;
  void js_functions(const std::string& path);
  void js_user(const char* file, const char* language, const char* text);

  // ============================= C and C++ pages (cpp_pages.cpp)
  // Phase 13: cpp.htm, cs.htm, cpps.htm and a page <nr2>.htm per file of
  // kind 5; ends with show_the_CPP_includes.
  void phase13_cpp();
  // The page of file `fNr` (kind 5); a ".cs" file waits for the C# reader.
  int CPP_to_htm(int fNr);
  // Rows the C and C++ reader enters (page = "<n/100>/<n%100>"):
  //  cppsecs   "<class>" -> "c<page>.htm#<anchor>" at a class head (the
  //            first head wins) and "<class> :: <method>[ . <v>]" ->
  //            "m<page>.htm#<anchor>" at a method head; the class part of a
  //            method key has no "<...>" arguments.
  //  superClasses "<class>~<base>" -> "-- class"; nameNr through defNameNr.
  //  codef     "<function>" -> "p cob/../<page>.htm#<anchor>", the file's
  //            base name -> "p <page>.htm"; cobDefs "p .. <function>" ->
  //            "<page>.htm#<anchor>~<path>".
  Btree defines;       // macro name (" . 2" ...) -> "<page>.htm#<anchor>"
  //  types     typedef name -> "<page>.htm#<anchor>" (the tree of the
  //            class maps below, which adds the classes)
  Btree cobDefs;       // "p .. <name>" -> "<page>.htm#<anchor>~<path>"
  Btree methodRows;    // "<class> :: <method> : <path>~<page>.htm#<anchor>"
  Btree cppMains;      // "<page>.htm#<anchor>" -> "main <entity>"
  // Made on first use; null when the tree has no rows.
  std::unique_ptr<Btree> statics;     // "<name>~<page>.htm#<anchor>"
  std::unique_ptr<Btree> dlls;        // "<NAME>.DLL~<page>.htm#<anchor>"
  std::unique_ptr<Btree> exceptions;  // "<word>(\"<text>\"~<page>.htm#<anchor>"
  std::unique_ptr<Btree> msgMaps;     // "<page>.htm" of a file with a message map
  std::unique_ptr<Btree> ddxFiles;    // "<page>.htm" of a file with DDX code
  long cppNeLoCode = 0;     // neLoCode of the C and C++ pages
  long LoHiddenComm = 0;    // comment lines and ASSERTs left out
  long dialogNeLoCode = 0;  // neLoCode of files with a message map or DDX
  long cppSelected = 0;     // bytes of the files whose path holds the selection
  long cppBytes = 0;        // bytes of all C and C++ files read
  int cppCount = 0;         // C and C++ files read
  std::set<std::string> cppDone;     // lower-case paths already read
  // The trace selection as the pages see it: "+<name>" for each line
  // "+<name>" of <root>/traceUs when phase 13 begins (empty without it).
  // The call relation reads the same file again in phase 17 and makes it
  // from the message-map handlers when it is missing; pages made before
  // that carry no marks.
  std::set<std::string> cppTraceUs;
  void read_cppTraceUs();
  // Made on first use; null when the tree has no rows.
  std::unique_ptr<Btree> traceMarks;  // "<name>~<page>.htm#<anchor>" -> caller
  std::unique_ptr<Btree> uiFiles;     // real path of a C or C++ file whose path holds "/ui_"
  // ============================= end of C and C++ pages

  // ============================= VB pages, SQL and ERD pages (vb_pages.cpp, erd_pages.cpp)
  void phase11_vb();   // bas.htm, a page per VB file, subs.htm, mBox.htm, crOb.htm, exec.htm, case.htm
  void ERD_to_htm();   // <root>/our_ERD.a -> er1.htm
  void SQL_to_htm();   // <root>/our_ERD.sql -> sql.htm
  void copy_er1();     // phase 17: <root>/er1.htm over <j2h>/er1.htm, with UMLDesComp
  // ============================= end of VB, SQL and ERD pages

  // ============================= JSP and ASP pages (jsp_pages.cpp)
  void phase9_jsp();    // jsp.htm, a page per JSP file, uses/, htm.htm, css.htm, JSP includes
  void phase10_asp();   // asp.htm, a page per ASP file, ASP includes
  // The page <nr2>.htm of JSP file `fNr` (kind 2), and asp<n>.htm of an
  // ASP file (kind 3).  A file read before returns 0 at once; otherwise
  // the deepest include level below the file.  An included file that
  // has no page yet is read at once (deeper than `max_read_level` it
  // waits for the end of the list).
  int JSP_to_htm(int fNr);
  int ASP_to_htm(int fNr);
  // uses/00.htm with a page uses/0<i>.htm per class or package the JSP
  // pages use, and htm.htm, css.htm of the text pages of the walk.
  void JSP_uses();
  // Name `name`, used by file `fNr` (shown as `path`) of language `lang`,
  // into javaDefs: "<i>.<name>.<lang>" -> "<page>.htm~<path>".
  void code_uses(const char* lang, int fNr, const std::string& path, const std::string& name);
  inc_tree jspTree{"jspTree"}, aspTree{"aspTree"};  // lower-case path -> file number
  std::set<std::string> serverDone;  // paths of the JSP and ASP pages written
  std::vector<int> serverPending;    // included files left for the end of the list
  // False when file `fNr` is written already, or is too deep to be read
  // now (it then waits in serverPending); otherwise marks it done.
  bool server_enter(int fNr);
  int serverLevel = 0;               // nesting of included files being read
  int jspSyntaxErrors = 0;           // running count of the unbalanced-quote reports
  static constexpr int max_read_level = 32;
 private:
  void server_list(int kind, const char* file, const char* title, const char* links);
  void htm_list(bool css);
  void end_of_language();
 public:
  // ============================= end of JSP and ASP pages

  // ============================= C# pages (cs_pages.cpp)
  // The page of a ".cs" file (kind 5), handed over by CPP_to_htm.
  int CSharp_to_htm(int fNr);
  void ADD_namespaces_to_packages();  // phase 22: C# namespaces in packages.htm
  // Phase 13, after the C and C++ files: csfs.htm lists the C# files, and
  // each goes through CPP_to_htm to CSharp_to_htm.
  void phase13_cs();
  // "<namespace> . <class>~<member>" -> "<page>.htm#<anchor>" ("<member>"
  // empty for the class itself); made on the first namespace.  The page's
  // own list of the same names is kept by the reader for its tail.
  std::unique_ptr<Btree> namespaceList;
  long csNeLoCode = 0;  // neLoCode of the C# pages
  int csCount = 0;      // C# files read
  // ============================= end of C# pages

  // ============================= PHP pages (php_pages.cpp)
  void phase20_php();   // php.htm, a page per PHP file, phc.htm, phpdep.htm
  // Class name (".2", ".3" ... for a name taken) -> "php/<page>.htm#<anchor>";
  // made on the first class.
  std::unique_ptr<Btree> phpClasses;
  // ============================= end of PHP pages

  // ============================= COBOL pages (cob_pages.cpp)
  void phase21_cobol();        // cob.htm, a page per COBOL file, the relation and its pages
  void add_htm_entry_Links();  // phase 22: CALL and COPY names linked through codef
  std::string entry_links_of(const std::string& page);  // one page's text, linked
  // The page of file `fNr` (kind 6); returns the count of its commands.
  int COB_to_htm(int fNr);
  // A definition "p .. <name>" or "s .. <name>" at `page`#`anchor` of the
  // source `relPath` into cobDefs; a second one is kept as
  // "<entity>, redundant?".  `file` names the source in a failure.
  void zu_codef(const std::string& entity, const std::string& relPath, const std::string& page, int anchor);
  // The codef data of `name`, tried as written, upper and lower case; "".
  std::string in_index(const std::string& name);
  void see_EXEC_SQL_sections(const std::string& tablesFile);  // tables.xxx -> cobUses, cursorsTo
  void see_table_synonyms();      // <root>/tables.sch -> synonyms
  void complete_cobUses();        // cobUses -> cobUses.tr, closed
  void cob_entity_pages();        // cobA/, cobB/, cobp.htm, cobs.htm
  bool add_path_names();
  void DB_Cursors();              // curs.htm, curs/
  void cob_file_dependencies();   // cobfA/, cobfB/, cobfp.htm, cobsA.htm
  void cob_data_dependencies();   // cobt.htm, cobtA/
  void tables_not_in_use(FILE* out, const std::set<std::string>& used);
  void tables_in_other_code(FILE* out, const std::set<std::string>& tables);
  void cob_entry_points();        // cobe.htm
  // cobm.htm; returns the pairs (loser, winner) of relative paths.
  std::vector<std::pair<std::string, std::string>> cob_multiples();
  void hide_the_forget_files(const std::vector<std::pair<std::string, std::string>>& pairs);
  void cob_no_sources();          // cobns.htm
  // The list of forgotten sources, <j2h>/forget.lst: read by the walk
  // before <j2h> is made anew; a path on it (relative to the root) is not
  // taken by the walk and stays on the list.
  void read_forget_list();
  bool forgotten(const std::string& path) const;
  std::set<std::string> forgetList;
  inc_tree cobUses{"cobUses"};      // rows of the readers (see cob_reader.h), data "1~<link>"
  inc_tree cobUsesTr{"cobUses.tr"}; // the closure
  inc_tree cursorsTo{"cursorsTo"};  // cursor -> link of its declaration
  inc_tree cursorsIn{"cursorsIn"};  // "c .. <cursor>~p .. <program>" -> link of the program
  inc_tree synonyms{"synonyms"};    // synonym -> table
  std::set<std::string> noSource;   // entities needed but defined nowhere
  std::set<std::string> cobDone;    // paths read (erledigt)
  int cobCalls = 0;                 // COBOL files read
  // ============================= end of COBOL pages

  // The Java stop set, filled in phase 3.
  str_set javaStops;

  // Work files of the Java reader.
  FILE* check_jnt = nullptr;
  std::string sample_pages[2];   // pages of AbstractEntity / AbstractSessio
  std::string samples[5];        // def_sample keys

  // Readers' helpers (defined with the Java page reader).
  int defNameNr(const char* name);
  void check_package_name(const char* path, const char* package);

  // ------------------------------------- lists and paths (code_lists.cpp)
  // The last k+1 elements of file n's path (n beyond cfNr is a failure).
  std::string rest_of_path(int n, int k) const;
  // The last three elements of a path with " : " between them.
  static std::string semiPath(const std::string& path);
  // Drops the last folder of a path; false when none is left.
  static bool shrink_path(std::string& path);
  // Rows of `tree` (key a path, data the text in front) grouped by their
  // first path element: a bar of the groups, then the rows; the rows are
  // removed from the tree as they are written.
  static void show_sorted(FILE* out, Btree& tree, const char* closing);
  // The alphabet bar of the characters at `position` of the keys of `tree`:
  // links "#<c>_<u>" to the anchors a caller writes at each new letter.
  static void make_ABC(FILE* out, Btree& tree, bool center, int position);
  // The bar of make_ABC, then a row per key of `tree` (key, data), with the
  // anchor "<letter>_0" that the bar links in front of each new first letter.
  static void alphabet_list(FILE* out, Btree& tree,
                            const std::function<void(const std::string&, const std::string&)>& row);

  // Puts k -> v into a tree, the key cut to what a tree holds.
  static void tree_put(Btree& t, const std::string& k, const std::string& v);
  // The path shortened by the root's length, for display.
  std::string shown(const std::string& path) const;

  phase_clock clock;  // J2H_PHASE_TIMES: wall time by step

  // Files below the root taken as sources (the "%i Source Files" line).
  int nSources = 0;
  long locTotal = 0;   // LOC of the closing line

  // ============================= call relation (call_relation.cpp)
  // Drawn from text: in <root>/alles_cpp (every implementation file behind
  // a line "file: <path>") a body is found by its braces, and inside a body
  // a name in front of "(" is a call of that name.  A caller is
  // "<class> :: <name>" or "<name>", with "_CLI" behind when its path holds
  // "CLI".  The trees exist once seeAufrufe has found alles_cpp:
  //   aufrufe          "<callee>~<caller>"
  //   callsOf          "<caller's last word>~<callee>" and "<caller>~<callee>"
  //                    -> "<file>~<caller>"
  //   usedNames        names reached from event handlers
  //   traceCandidates  " <name>" of names called, not selected
  //   traceSel         the selected method names (<root>/traceUs)
  //   funcBodies       "<name>~<caller>" -> file, for every body found
  void seeAufrufe();    // phase 17: the call relation from <root>/alles_cpp
  void show_Aufrufe();  // phase 17: the list files and ALLf.htm
  // The path part cut off in front of the file names of alles_cpp (a
  // customer folder); empty: no cut.
  std::string callCut;
  std::unique_ptr<Btree> aufrufe, callsOf, usedNames, traceCandidates, traceSel, funcBodies;
  bool madeTraceUs = false;  // <root>/traceUs was made from ON_COMMAND handlers
  // Reads `alles` (the concatenation) and fills the trees.
  void ALLAufrufe(const std::string& alles);
  // One call of `callee` by `caller` (nothing without a caller).
  void einAufruf(const std::string& caller, const std::string& fileAndCaller, const std::string& callee);
  // "A::f" -> "A :: f": a run of name characters, the rest behind " :: ".
  static std::string norm(const std::string& name);
  // True for the names never entered as callee (keywords and a few
  // library functions).
  static bool excluded_callee(const std::string& word);
  // The page a cppsecs row of `caller` names, relative to <j2h>; empty when
  // it has none.
  std::string code_link(const std::string& caller);
  void show_ALLAufrufe();  // rufe, rufA, rufGUI, rufAPI, trus and their subpages
  // Prints the call tree of `name` two levels deep; returns the count of
  // names printed plus one.
  int callees(FILE* out, const std::string& name, int level, Btree& seen);
  void calls_closing();    // destructor: the traceUs made by this run goes
  // ============================= end of call relation

  // ============================= class maps (class_maps.cpp)
  // Maps are made from three trees: superClasses, cppsecs and nameNr.  A
  // cppsecs row's data is a page link with a type letter in front: `c` for
  // a class head, `m` for a C++ method; a Java page name begins with `c`
  // itself ("c0003.htm#4"), a C++ one is "<a>/<b>.htm" behind the letter.
  // Hierarchies are walked without recursion and end on cycles (A : B,
  // B : A) and at any depth; indents stop growing at the end of their
  // strings.
  void phase14_class_pages();  // m/, funcs.htm, class.htm, ALLMe.htm, ...
  void phase15_types();        // types.htm (and the later report pages)
  void show_rootClasses();     // phase 18: roots.htm
  // The page link of a cppsecs row's data, relative to <j2h>.
  static std::string page_link(const std::string& data);
  // A class name for a page: "X<T>" as "X &lt; T".
  static std::string class_shown(const std::string& name);
  void cash_classComment();
  void create_class_map(const std::string& cls, const std::string& mapPath, const std::string& pageOfClass);
  void show_class_map(FILE* out, const std::string& cls);
  void show_methods(FILE* out, const std::string& cls, int level);
  int show_superClasses(FILE* out, const std::string& cls, int deep);
  unsigned show_subClasses(FILE* out, const std::string& cls, int level);
  void create_subClasses_Relation();
  bool rootClass(const std::string& name);
  void showALLMethods();
  Btree types;                          // type name -> "<page>.htm#<i>", or a class map number
  std::unique_ptr<Btree> classDocs;     // class -> its text in <root>/class_documentation
  std::unique_ptr<Btree> subClasses;    // "<super>~<class>" -> kind, made on first use
  Btree rootClasses;                    // class without superclass -> "?" or the class it was met for
  Btree allMethods;                     // "%c%s~%s" first letter, method, "<class> :: <method>" -> link
  std::unordered_set<std::string> methods_listed;  // cppsecs classes whose rows are in allMethods
  std::string rootTitle;                // the class whose bases are being shown
  FILE* code_mo = nullptr;              // xx_code_mo while the maps are written
  // Appends to a file of the whole run (ALL_ccode, tables.xxx, ...): while
  // a loop holds them, each file keeps one handle until the loop ends.
  void append_text(const std::string& path, const std::string& text);
  struct held_appends {
    Java2Htm& web;
    explicit held_appends(Java2Htm& w) : web(w) { web.holdAppends = true; }
    void release();  // closes the held files; the loop calls it when it is done
    ~held_appends();
  };
  bool holdAppends = false;
  std::map<std::string, FILE*> heldAppends;
  static constexpr int max_map_rows = 20000;  // rows of one hierarchy on one page
  // ============================= end of class maps

  // ============================= report pages (report_lists.cpp)
  // Lists of what the readers collected, each with its title and count
  // line.  A page that a fixed menu links is written even with an empty
  // tree.
  void phase15_reports();                 // cppmains, defines, ddxcode, alles, des
  void show_cppMains();
  void show_defines();
  void show_design();
  void show_DLLs();                       // phase 17
  void show_Exceptions();
  void show_statics();
  void show_notA();
  void create_exe_List(bool shortNames);  // phase 18: exes.htm, exe.htm
  // ----------------------------- metrics (metrics_pages.cpp)
  void code_vs_rose();                    // phase 18, an empty step
  void code_vs_ccom();                    // code_ccom_diff, rose_ccom_diff
  void show_metrics();                    // meter.htm, meter/
  void diff_to_htm(FILE* meter, const std::string& diffFile, const char* label);
  void check_code_rose_diff();            // not_in_code.bat
  static std::string not_in_code_bat(const std::string& diffText);
  std::string roseDiff, ccomDiff;         // names of the differences made, empty when not
  bool dvcAtStart = false;                // "xx_dvc" was there at construction
  // 1234567 as "1.234.567", 0 as "0"; above 999.999.999 the assertion L.
  static std::string dotted_size(long long bytes);
  std::string source_of_page(const std::string& page) const;
  std::vector<std::string> notAnalysed;   // files of no taken kind, for notA.htm
  // ----------------------------- make files and resources (alles_pages.cpp)
  void extract_from_mak();  // phase 7: makRows from <root>/alles_mak
  void show_maks();         // maks.htm, bins.htm
  void cpp_Dialogs();       // phase 18: dialogs.htm from <root>/alles_rc
  // The rows of a concatenation of make files added to `rows`, as (object,
  // project); `files` counts the "file: " heads.
  static std::vector<std::pair<std::string, std::string>> mak_rows(const std::string& text,
                                                                   std::set<std::string>& rows, int& files);
  // The list and the sections of dialogs.htm; `n` counts the dialogs.
  static std::string dialogs_of(const std::string& rc, unsigned& n);
  std::set<std::string> makRows;  // "<object>~<project>~<target>"
  int makFiles = 0;
  // ----------------------------- module_pages.cpp
  struct module_deps {
    std::set<std::string> modules;
    std::map<std::string, std::set<std::string>> uses, usedBy;  // LM -> SMs, SM -> LMs
  };
  static module_deps read_module_deps(const std::string& alles_dep);
  void show_Module_Dependencies();  // phase 17: MoDep.htm
  void show_messMap();              // destructor: messMap
  static std::string message_handlers(const std::string& pageText);
  static std::string html_plain(const std::string& page);
  void see_server_API();            // destructor: "UI: %s"
  void check_imports();             // phase 18: "falsch: %s in %s"
  void List_our_packages();         // destructor: packages.bat
  // ----------------------------- imports (import_pages.cpp), phase 18
  struct importer_row {
    std::string package, page;  // the importing file's package and page
  };
  void show_imports();  // uses/0.htm, uses/<i>.htm
  void the_useOf(const std::map<std::string, std::vector<importer_row>>& byName);  // u/<n>.htm, nn.htm
  void note_not_analysed(const std::string& path);
  // ============================= end of report pages

 private:
  struct walk_state;
  void phase1_args(const char* root_arg);
  void read_control_file(const std::string& file);
  void phase3_listing();
  void phase4_walk();
  void walk_line(walk_state& w, const std::string& path, bool is_dir);
  void count_lines(const std::string& path);
  void count_lines_of(const std::string& text);
  bool archive_mode() const { return !ourRoot.empty(); }
  void create_path_under_ourRoot(const std::string& path, bool is_dir);
  bool roseStream = false;
  void take_java(walk_state& w, const std::string& path);
  void take_other(walk_state& w, const std::string& path, const std::string& ext);
  void htms_page(const std::string& path, const std::string& ext);
  void phase6_documents();
  void phase7_java();
  void phase8_class_lists();
  void phase12_classes();
  void phase16_ourDoc();
  void phase17_overview();
  void sample_overview();
  void phase19_bat();
  void phase22_closing();
  void do_alles(const char* ext);
  void write_frameset(const std::string& frame3);
  std::string Tips_to_htm();
  int split_tips(const std::string& file);
  void show_xml_files(const char* title);
  void open_jscr();
  void close_jscr();
  void def_sample(const std::string& path, const std::string& key);
  void use_sample(int i);
  void create_ourDoc();
  void name_ALL_code_docu_files();
  void write_docu();
  void write_title_page();

  void closing_files();
  void write_packages(const std::vector<std::string>& packages);
  std::string shown_root() const { return root; }
 public:
  // The offset of the common package prefix after `package` (see packages.htm).
  static int prefix_cut(int offset, const std::string& package);
 private:
  Btree fileNrs;       // path key -> number, for srcfile
  std::vector<std::pair<std::string, bool>> listing;  // the walk: path, is a folder
  std::vector<int> htmTags;  // "<" of each htms page, by its number - 1
  bool archive = false;
  std::vector<std::string> ignored;  // extensions printed as ignored
  std::vector<std::pair<std::string, int>> htmList;  // "%s~%i" rows of htms pages
  int htmNr = 0;
  int pNr = 0;          // next p<i>.htm
  FILE* jscr = nullptr;
  std::unique_ptr<Btree> to_docu;
  std::string date;     // "as of" date of the run
  bool have_alles_dep = false;
  bool have_alles_cpp = false;
};

// Writes the page of one Java source `src` (real path) as `page` (e.g.
// "<root>/j2h/c0012.htm"), from the normalised text; fills the trees of
// `web` as a Java reader does.
void java_page(Java2Htm& web, int fNr, const std::string& src, const std::string& page);

// The code web as a command: "j2h [title]root[=selection]" or "j2h root
// ourRoot".  Returns the exit status; prints the usage without arguments.
int j2h_main(const std::vector<std::string>& args);
